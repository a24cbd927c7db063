"""The alert rules, from the switches through the exporter and Prometheus to Alertmanager."""

import json
import re
import signal
import subprocess
import urllib.request
from contextlib import ExitStack, contextmanager, suppress

import yaml

from lab import BUILD, ENVIRONMENT, SOURCE, Switch, free_port, needs, run, wait_for

CONFIGURATION = SOURCE / "integrations/prometheus"
RULES = yaml.safe_load((CONFIGURATION / "rules.yml").read_text())
ALERTS = {rule["alert"] for group in RULES["groups"] for rule in group["rules"] if "alert" in rule}
# The first line of a scenario names the alerts that fire while it plays.
SCENARIOS = {file: set(re.match("# Alerts: (.*)", file.read_text())[1].split())
             for file in (SOURCE / "scenarios").glob("*.toml")}
HUNG = {"SwitchNotAnswering"}
MINUTE = 3  # seconds, in place of each minute of the rules


@needs("prometheus-snmp-generator")
def test_the_exporters_configurations_are_current(tmp_path):
    made = run(CONFIGURATION / "generate", BUILD, tmp_path)
    assert made.returncode == 0, made.stderr
    for name in ("snmp.yml", "snmp-flat.yml"):
        assert (tmp_path / name).read_text() == (CONFIGURATION / name).read_text()


@needs("promtool")
def test_each_rule_by_itself():
    file = SOURCE / "tests/agent/alert-rules.yml"
    tested = run("promtool", "test", "rules", file)
    assert tested.returncode == 0, tested.stdout + tested.stderr
    assert {case["alertname"] for test in yaml.safe_load(file.read_text())["tests"]
            for case in test["alert_rule_test"] if case.get("exp_alerts")} == ALERTS


def chassis_file(directory):
    """The ten-slot chassis with fewer optics, which are most of what Prometheus reads and judges."""
    text = (SOURCE / "chassis/ten-slot.toml").read_text()
    for optics, others in (
            ('"1-16", type = "sr"', '"1", type = "sr" }, { ports = "2-16", type = "copper"'),
            ('"1-6,9", type = "sr4"', '"1-6,9", type = "copper-40"')):
        assert optics in text
        text = text.replace(optics, others)
    file = directory / "chassis.toml"
    file.write_text(text)
    return file


def shortened(text):
    """A configuration with every duration as short as the test needs it."""
    seconds = {"s": 1 / 60, "m": 1, "h": 60, "d": 1440}
    return re.sub(r"\b(\d+)([smhd])\b", lambda found:
                  f"{max(1, round(int(found[1]) * seconds[found[2]] * MINUTE))}s", text)


def ask(address, path):
    return urllib.request.urlopen(f"http://{address}/{path}", timeout=20).read()


def is_ready(address):
    try:
        return ask(address, "-/ready")
    except OSError:
        return False


@contextmanager
def server(directory, program, configuration, *options):
    """Runs one of Prometheus's programs, and gives its address."""
    address = f"127.0.0.1:{free_port()}"
    file, log = directory / f"{program}.yml", directory / f"{program}.log"
    file.write_text(configuration)
    with log.open("w") as output, subprocess.Popen(
            [program, f"--config.file={file}", f"--web.listen-address={address}", *options],
            cwd=directory, env=ENVIRONMENT, stderr=output) as process:
        try:
            wait_for(lambda: is_ready(address), program)
            yield address
        finally:
            process.kill()


@contextmanager
def alertmanager(directory, targets):
    """Runs what is between the switches and the operator; gives the address of Alertmanager."""
    with ExitStack() as servers:
        def start(*words):
            return servers.enter_context(server(directory, *words))

        (directory / "rules.yml").write_text(shortened((CONFIGURATION / "rules.yml").read_text()))
        exporter = start("prometheus-snmp-exporter", (CONFIGURATION / "snmp-flat.yml").read_text())
        manager = start("prometheus-alertmanager", (CONFIGURATION / "alertmanager.yml").read_text(),
                        "--cluster.listen-address=", "--storage.path=alerts")
        text = (CONFIGURATION / "prometheus.yml").read_text()
        for sample, here in (("127.0.0.1:9116", exporter), ("127.0.0.1:9093", manager),
                             ('"127.0.0.1:1161"', json.dumps(targets)[1:-1])):
            assert sample in text
            text = text.replace(sample, here)
        configuration = yaml.safe_load(shortened(text))
        configuration["global"] = {"evaluation_interval": f"{MINUTE}s"}
        for job in configuration["scrape_configs"]:  # each reading takes a good part of a second
            job["scrape_interval"] = job["scrape_timeout"] = f"{2 * MINUTE}s"
        prometheus = start("prometheus", yaml.safe_dump(configuration),
                           "--storage.tsdb.path=samples")
        wait_for(lambda: len(json.loads(ask(prometheus, "api/v1/query?query=up==1"))
                             ["data"]["result"]) == len(targets), "scrapes")
        yield manager


@needs("prometheus")
@needs("prometheus-alertmanager")
@needs("prometheus-snmp-exporter")
def test_each_scenario_makes_its_alerts_fire_and_clear(tmp_path, receiver):
    assert set.union(HUNG, *SCENARIOS.values()) == ALERTS
    with ExitStack() as stack:
        chassis = chassis_file(tmp_path)
        hung, *others = [stack.enter_context(Switch(chassis, sink=receiver))
                         for _ in range(1 + len(SCENARIOS))]
        expected = {f"127.0.0.1:{switch.port}": alerts
                    for switch, alerts in zip([hung, *others], [HUNG, *SCENARIOS.values()])}
        seen, firing = {instance: set() for instance in expected}, []
        manager = stack.enter_context(alertmanager(tmp_path, list(expected)))
        plays = [stack.enter_context(subprocess.Popen(
            [BUILD / "bin/chmctl", "--socket", switch.control, "play", scenario],
            stdout=subprocess.DEVNULL)) for switch, scenario in zip(others, SCENARIOS)]
        hung.process.send_signal(signal.SIGSTOP)

        def all_clear():
            firing[:] = [alert["labels"] for alert in json.loads(ask(manager, "api/v2/alerts"))]
            for labels in firing:
                seen[labels["instance"]].add(labels["alertname"])
            if HUNG <= seen[f"127.0.0.1:{hung.port}"]:
                hung.process.send_signal(signal.SIGCONT)
            return not firing and all(play.poll() == 0 for play in plays) and all(
                expected[instance] <= seen[instance] for instance in expected)

        try:
            with suppress(AssertionError):  # what is missing or remains is shown below
                wait_for(all_clear, "end", seconds=240)
        finally:
            for play in plays:
                play.kill()
    assert (seen, firing) == (expected, [])
