"""SNMP clients other than the agent's own tools, as docs/clients.md tells to use them."""

import re
import shutil
import socket
import subprocess
import urllib.request
from pathlib import Path

import pytest

from lab import (
    ALIAS, ENT_CONFIG_CHANGE, ENVIRONMENT, NAME, OPERATOR, SERIAL_NUM, SOURCE, Switch, free_port,
    run, wait_for)

INTEGRATIONS, NPM = SOURCE / "integrations", SOURCE / "build/npm"
CHECK_SNMP = "/usr/lib/nagios/plugins/check_snmp"
MAIN = "1.3.6.1.4.1.32473.9"


def needs(program):
    return pytest.mark.skipif(not shutil.which(program), reason=f"{program} is not installed")


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
    assert ask("set", f"{ALIAS}.1", f"by {client} {protocol}").returncode == 0
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


@needs("prometheus-snmp-exporter")
def test_metrics_of_the_exporter(switch):
    port = free_port()
    url = f"http://127.0.0.1:{port}/snmp?module=switch&target=127.0.0.1:{switch.port}"
    with subprocess.Popen(["prometheus-snmp-exporter",
                           f"--config.file={INTEGRATIONS / 'snmp-exporter.yml'}",
                           f"--web.listen-address=127.0.0.1:{port}"],
                          stderr=subprocess.DEVNULL) as exporter:
        try:
            wait_for(lambda: not socket.socket().connect_ex(("127.0.0.1", port)), "exporter")
            switch.order("fail", "1003")
            metrics = urllib.request.urlopen(url, timeout=20).read().decode()
        finally:
            exporter.kill()
    series = re.findall(r"^(\w+)(\{.*\})? (\S+)$", metrics, re.M)
    assert {
        ("qefcModuleOperationalStatus", '{entity="1003",slot="3",unit="Module 3"}', "4"),
        ("qefcFanTrayStatus", '{entity="3002",unit="Fan tray 2"}', "2"),
        ("qefcFRUPowerDrawnWatts", '{entity="1003",unit="Module 3"}', "0"),
        ("qefcPowerDrawnWatts", '{group="1"}', "4700"),
        ("qRFActiveSlot", "", "5"),
        ("entPhysicalClass_info",
         '{container="Module 3",description="Ethernet port",entPhysicalClass="port",'
         'entity="303007",model="",name="Ethernet3/7",position="7",serial=""}', "1"),
    } <= set(series)
    sensors = [labels for name, labels, _ in series if name == "entSensorValue"]
    assert len(sensors) == len(switch.walk(f"{MAIN}.91.1.1.1.1.1"))
    assert all('sensor="' in labels for labels in sensors)


@needs(CHECK_SNMP)
def test_a_monitoring_plugin_judges_the_modules(switch):
    for verb, status, word in (("repair", 0, "OK"), ("fail", 2, "CRITICAL")):
        switch.order(verb, "1002")
        answer = run(CHECK_SNMP, "-H", "127.0.0.1", "-p", switch.port, "-P", "3", "-L",
                     "authNoPriv", "-U", "monitor", "-a", "SHA", "-A", "lab-authentication",
                     "-o", f"{MAIN}.117.1.2.1.1.2.1002", "-c", "2:2")
        assert (answer.returncode, answer.stdout.split(" ")[1]) == (status, word)
