"""SNMP clients other than the agent's own tools, as docs/clients.md shows."""

import re
import shutil
import socket
import subprocess
import urllib.request
from pathlib import Path

import pytest

from lab import (
    ALIAS, BUILD, ENT_CONFIG_CHANGE, ENVIRONMENT, NAME, OPERATOR, SERIAL_NUM, SOURCE, UPTIME, Switch,
    TrapReceiver, free_port, needs, run, wait_for)

INTEGRATIONS, NPM = SOURCE / "integrations", SOURCE / "build/npm"
PLUGINS = "/usr/lib/nagios/plugins"
MAIN = "1.3.6.1.4.1.32473.9"


@pytest.fixture(scope="module")
def node():
    installed = run(SOURCE / "scripts/npm-net-snmp", NPM)
    assert installed.returncode == 0, installed.stderr
    return ["env", f"NODE_PATH={NPM}/node_modules", "node", INTEGRATIONS / "net-snmp-client.js"]


@pytest.fixture
def pysnmp():
    python = "/usr/bin/python3"
    if run(python, "-c", "import pysnmp").returncode:
        pytest.skip("pysnmp is not installed")
    return [python, INTEGRATIONS / "pysnmp-client.py"]


@pytest.mark.parametrize("protocol", ["v2c", "v3"])
@pytest.mark.parametrize("client", [pytest.param("node", marks=needs("npm")), "pysnmp"])
def test_a_client_walks_and_writes(request, switch, client, protocol):
    def ask(*words):
        return run(*request.getfixturevalue(client), protocol, f"127.0.0.1:{switch.port}", *words)

    walk = [tuple(line.split(" ", 1)) for line in ask("walk", NAME).stdout.splitlines()]
    assert [(f".{oid}", value) for oid, value in walk] == switch.walk(NAME)
    written = ask("set", f"{ALIAS}.1", f"by {client} {protocol}")
    assert written.stdout == f"{ALIAS}.1 by {client} {protocol}\n" and written.returncode == 0
    assert switch.get(f"{ALIAS}.1") == f"by {client} {protocol}"
    assert "otwritable" in ask("set", f"{SERIAL_NUM}.1", "new").stderr.lower()


@needs("npm")
@pytest.mark.parametrize("protocol, sink", [
    ("v2c", "trap2sink 127.0.0.1:{} public"),
    ("v3", " ".join(["trapsess", *OPERATOR, "127.0.0.1:{}"]))])
def test_a_client_receives_notifications(node, protocol, sink):
    port = free_port()
    with Switch("small", [sink.format(port)]) as switch, subprocess.Popen(
            [*map(str, node), protocol, f"127.0.0.1:{port}", "receive"], env=ENVIRONMENT,
            stdout=subprocess.PIPE, text=True) as receiver:
        wait_for(lambda: f":{port:04X} " in Path("/proc/net/udp").read_text(), "receiver")
        switch.order("announce-change")
        # Before it may come the agent's own cold start.
        line = next(line for line in receiver.stdout if "1.3.6.1.6.3.1.1.5." not in line)
        receiver.kill()
    assert f"1.3.6.1.6.3.1.1.4.1.0 {ENT_CONFIG_CHANGE[1:]}" in line


@needs("snmptt")
def test_snmptt_knows_the_notifications(tmp_path):
    file, configuration, log = INTEGRATIONS / "snmptt.conf", tmp_path / "ini", tmp_path / "log"
    served = {tuple(line.split()[1:]) for line in (
        BUILD / "share/chmsnmp/served-objects").read_text().splitlines()
        if line.startswith("notification ")}
    assert served < set(re.findall(r"^EVENT (\w+) \.(\S+)", file.read_text(), re.M))
    configuration.write_text(
        f"[General]\nmode = standalone\n[Logging]\nlog_enable = 1\nlog_file = {log}\n"
        f"[TrapFiles]\nsnmptt_conf_files = <<END\n{file}\nEND\n")
    with TrapReceiver(["disableAuthorization yes",
                       f"traphandle default {shutil.which('snmptt')} --ini={configuration}"]
                      ) as receiver, Switch(sink=receiver) as switch:
        switch.order("fail", "Fan 1/2")
        switch.order("pull", "Power supply 2")
        for line in ('Major "Fans" localhost - Fan tray 3001 has status 4',
                     'Normal "Switch" localhost - The switch as a whole is ok',
                     'Major "Power" localhost - Power supply 2 delivers nothing',
                     'Minor "Inventory" localhost - Power supply bay 2: removed'):
            wait_for(lambda: log.exists() and line in log.read_text(), line)


@needs("prometheus-snmp-exporter")
def test_metrics_of_the_exporter(switch):
    port = free_port()

    def series(module):
        url = f"http://127.0.0.1:{port}/snmp?module={module}&target=127.0.0.1:{switch.port}"
        metrics = urllib.request.urlopen(url, timeout=20).read().decode()
        return {(name, labels): value for name, labels, value in re.findall(
            r"^(?!snmp_)(\w+)(\{.*\})? (\S+)$", metrics, re.M)}

    with subprocess.Popen(["prometheus-snmp-exporter",
                           f"--config.file={INTEGRATIONS / 'prometheus/snmp-flat.yml'}",
                           f"--web.listen-address=127.0.0.1:{port}"],
                          stderr=subprocess.DEVNULL) as exporter:
        try:
            wait_for(lambda: not socket.socket().connect_ex(("127.0.0.1", port)), "exporter")
            switch.order("fail", "1003")
            chassis, interfaces, both = map(series, ("chassis", "interfaces", "switch"))
        finally:
            exporter.kill()
    assert both.keys() == chassis.keys() | interfaces.keys() and interfaces
    module_3 = 'entPhysicalContainedIn="Slot 3",entPhysicalIndex="1003",entPhysicalName="Module 3"'
    port_48 = 'ifAlias="spare",ifIndex="436219648",ifName="Ethernet1/48"'
    assert {
        ("qefcModuleOperationalStatus", f"{{{module_3}}}"): "4",
        ("entPhysicalClass_info", f'{{entPhysicalClass="module",{module_3}}}'): "1",
        ("qRFStatus1", ""): "5",
        ("ifOperStatus", f"{{{port_48}}}"): "2",
        ("ifHighSpeed", f"{{{port_48}}}"): "10000",
    }.items() <= both.items()
    load = next(key for key in both if key[0] == "ifHCInOctets" and '"Ethernet1/1"' in key[1])
    assert float(both[load]) > float(interfaces[load]) > 0
    sensors = [labels for name, labels in both if name == "entSensorValue"]
    assert len(sensors) == len(switch.walk(f"{MAIN}.91.1.1.1.1.1"))
    assert all('entPhysicalName="' in labels for labels in sensors)


@needs(f"{PLUGINS}/check_ifoperstatus")
@pytest.mark.skipif(run("perl", "-MNet::SNMP", "-e1").returncode != 0, reason="no Net::SNMP")
def test_monitoring_plugins_see_interfaces(switch):
    where = ("-H", "127.0.0.1", "-p", switch.port, "-v", "2", "-C", "public")
    for name, status, words in (("Ethernet1/2", 0, "is up"), ("Ethernet1/25", 2, "is down"),
                                ("Ethernet1/48", 1, "administratively down")):
        answer = run(f"{PLUGINS}/check_ifoperstatus", *where, "-d", name)
        assert (answer.returncode, words in answer.stdout) == (status, True), answer.stdout
    answer = run(f"{PLUGINS}/check_ifstatus", *where)
    assert answer.returncode == 2 and "down: " in answer.stdout


GETBULK = """
use Net::SNMP;
my ($port, $size, $repetitions) = @ARGV;
my ($session, $error) = Net::SNMP->session(
    -hostname => "127.0.0.1", -port => $port, -version => "snmpv3", -username => "guest",
    -maxmsgsize => $size, -timeout => 2, -retries => 0);
die $error unless $session;
my $found = $session->get_bulk_request(
    -maxrepetitions => $repetitions, -varbindlist => ["1.3.6.1.2.1.47.1.1.1.1.2"]);
print $found ? scalar keys %$found : $session->error;"""


@pytest.mark.skipif(run("perl", "-MNet::SNMP", "-MCrypt::DES", "-e1").returncode != 0,
                    reason="no Net::SNMP with SNMPv3")
def test_the_agent_hangs_on_an_answer_that_exceeds_the_clients_message_size():
    """A fault of the agent, without any part of ours in it; docs/robustness.md warns of it."""
    with Switch("small") as switch:
        def bulk(size, repetitions):
            return run("perl", "-e", GETBULK, switch.port, size, repetitions).stdout

        assert (bulk(1472, 10), bulk(484, 3)) == ("10", "3")
        bulk(484, 50)
        if switch.snmp("snmpget", UPTIME, options=("-r0", "-t2")).returncode == 0:
            pytest.skip("this agent does not have the fault")


@needs("collectd")
def test_collectd_reads_every_table(switch, tmp_path):
    configuration = tmp_path / "collectd.conf"
    configuration.write_text((INTEGRATIONS / "collectd.conf").read_text().replace(
        ":1161", f":{switch.port}").replace('"stdout"', f'"{tmp_path}"'))
    served = {what: len(switch.walk(column)) for what, column in (
        ("if_octets-*", "1.3.6.1.2.1.31.1.1.1.6"),
        ("gauge-reading-*", f"{MAIN}.91.1.1.1.1.4"),
        ("gauge-status-*", f"{MAIN}.117.1.2.1.1.2"),
        ("gauge-power-*", f"{MAIN}.117.1.1.1.1.4"))}
    assert all(served.values()), served
    with subprocess.Popen(["collectd", "-f", "-C", configuration], stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL) as collectd:
        try:
            wait_for(lambda: {what: len(list(tmp_path.glob(f"lab-switch/snmp/{what}")))
                              for what in served} == served, f"files of {served}")
        finally:
            collectd.terminate()


@needs(f"{PLUGINS}/check_snmp")
def test_the_commands_for_nagios(switch):
    text = (INTEGRATIONS / "nagios.cfg").read_text()
    commands = dict(re.findall(r"command_name +(\S+)\n +command_line +(.*)", text))

    def judge(check):
        name, *arguments = check.split("!")
        line = commands[name]
        for macro, value in (("USER1", PLUGINS), ("HOSTADDRESS", "127.0.0.1"),
                             ("_HOSTSNMPPORT", switch.port),
                             *((f"ARG{n}", value) for n, value in enumerate(arguments, start=1))):
            line = line.replace(f"${macro}$", str(value))
        return run(*line.split()).returncode

    checks = re.findall(r"check_command +(.*)", text)
    for verb, reading, light, statuses in (("repair", "45", "auto", [0, 0, 0, 0, 0]),
                                           ("fail", "66", "none", [0, 2, 2, 1, 2])):
        for words in ([verb, "1003"], [verb, "Fan 1/1"], ["set", "21654", "reading", reading],
                      ["set", "Ethernet1/1", "receive-power", light]):
            switch.order(*words)
        wait_for(lambda: [judge(check) for check in checks] == statuses, f"verdicts {statuses}")
