"""Lab switches behind another agent: several by context, one as a sub-agent."""

import subprocess

import pytest

from lab import (
    ALIAS, BUILD, ENT_CONFIG_CHANGE, ENVIRONMENT, OPERATOR, SERIAL_NUM, SOURCE, WRITER, Daemon,
    Switch, TrapReceiver, free_port, run, wait_for)

SYS_NAME, ENGINE_ID = "1.3.6.1.2.1.1.5.0", "1.3.6.1.6.3.10.2.1.1.0"
LABEL, MODEL = f"{ALIAS}.1", "1.3.6.1.2.1.47.1.1.1.1.13.1"
TERMINAL_TEXT = "1.3.6.1.4.1.99999.2.9.7.0"
GUEST = ("-v3", "-l", "noAuthNoPriv", "-u", "guest")


@pytest.fixture(scope="module")
def receiver():
    with TrapReceiver([f"authCommunity log public@switch{number}" for number in "123"]) as receiver:
        yield receiver


@pytest.fixture(scope="module")
def fleet(receiver, tmp_path_factory):
    """The port of an agent in front of three switches."""
    port = free_port(following=3)
    state = tmp_path_factory.mktemp("fleet")
    with subprocess.Popen(
            [SOURCE / "scripts/fleet", "--build-dir", BUILD, "--port", str(port),
             "--trap-sink", f"127.0.0.1:{receiver.port}",
             *(SOURCE / f"chassis/{name}.toml" for name in ("small", "ten-slot", "small"))],
            env={**ENVIRONMENT, "XDG_RUNTIME_DIR": str(state), "TMPDIR": str(state)},
            stdout=subprocess.PIPE, text=True) as process:
        assert any("Ctrl-C" in line for line in process.stdout)
        yield port
        outputs = [output.read_text() for output in state.glob("*/switch?")]
        process.terminate()
        assert process.wait(timeout=20) == 0
        # What the switches showed once they were ready is kept nowhere.
        assert len(outputs) == 3 and "entConfigChange" not in "".join(outputs)


def ask(port, tool, auth, *words):
    answer = run(tool, "-t5", "-Oqv", *auth, f"127.0.0.1:{port}", *words)
    return answer.stdout.splitlines() or answer.stderr


def test_each_switch_of_a_fleet_is_reached_by_its_context_or_community(fleet, receiver):
    for number, model in enumerate(("QX-108F", "QX-9010", "QX-108F"), start=1):
        name = f"switch{number}"
        engine = f"80 00 1F 88 04 {name.encode().hex(' ').upper()} "
        identity = [f'"{text}"' for text in (name, engine, model)]
        for auth in (("-v2c", "-c", f"public@{name}"), (*OPERATOR, "-n", name)):
            assert ask(fleet, "snmpget", auth, SYS_NAME, ENGINE_ID, MODEL) == identity
        ask(fleet, "snmpset", ("-v2c", "-c", f"private@{name}"), LABEL, "s", "first")
        assert ask(fleet, "snmpset", (*OPERATOR, "-n", name), LABEL, "s", name) == identity[:1]
    for number in (1, 2, 3):  # what came later did not reach the ones before
        assert ask(fleet + number, "snmpget", WRITER, LABEL) == [f'"switch{number}"']
    told = receiver.wait_for(ENT_CONFIG_CHANGE, 6)
    assert {how.split("community ")[1] for how, *_ in told} == {
        f"public@switch{number}" for number in (1, 2, 3)}


def test_the_agent_in_front_guards_what_the_switches_would(fleet):
    context = (*GUEST, "-n", "switch1")
    assert "No Such Object" in ask(fleet, "snmpget", context, TERMINAL_TEXT)[0]
    for auth in (context, ("-v2c", "-c", "public@switch1")):
        assert "noAccess" in ask(fleet, "snmpset", auth, LABEL, "s", "refused")
    for auth in ((*OPERATOR, "-n", "switch4"), WRITER):
        assert "Timeout" in ask(fleet, "snmpget", (*auth, "-r0", "-t1"), MODEL)


class Master(Daemon):
    """The master agent of integrations/agentx-master.conf, but for its port, socket and sink."""

    program = "snmpd"

    def __init__(self, sink):
        super().__init__()
        self.socket, self.sink = self.state / "agentx", sink

    def start(self):
        text = (SOURCE / "integrations/agentx-master.conf").read_text()

        def command(port):
            (self.state / "conf").write_text(
                text.replace("1161", str(port)).replace("1162", str(self.sink))
                .replace("/tmp/chm-agentx", str(self.socket)))
            return ["env", f"SNMP_PERSISTENT_DIR={self.state}", "snmpd", "-f", "-C",
                    "-c", self.state / "conf", "-I", "-smux,dlmod",
                    "-Lf", self.state / "snmpd.log", "-p", self.state / "snmpd.pid"]

        self.spawn(command)


class SubAgent(Switch):
    def __init__(self, master):
        super().__init__()
        self.master = master

    def start(self):
        self.spawn(lambda _: [SOURCE / "scripts/agent", BUILD, self.state,
                              f"agentx:{self.master.socket}", self.chassis])
        self.port = self.master.port
        wait_for(lambda: self.walk(MODEL.rpartition(".")[0]), "registration with the master")


def test_a_sub_agent_serves_what_an_agent_does(switch, receiver):
    with Master(receiver.port) as master, SubAgent(master) as sub_agent:
        assert sub_agent.walk("1.3.6.1.2.1.47.1.1") == switch.walk("1.3.6.1.2.1.47.1.1")
        for root in ("1.3.6.1.4.1.32473", "1.3.6.1.4.1.99999"):
            assert ([oid for oid, _ in sub_agent.walk(root)] ==
                    [oid for oid, _ in switch.walk(root)] != [])
        before = len(receiver.notifications(ENT_CONFIG_CHANGE))
        assert sub_agent.set(LABEL, "s", "by way of a master") is None
        assert sub_agent.get(LABEL) == "by way of a master"
        assert sub_agent.set(f"{SERIAL_NUM}.1", "s", "new") == "notWritable"
        receiver.wait_for(ENT_CONFIG_CHANGE, before + 1)
