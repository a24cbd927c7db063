"""Lab switches behind another agent: several by context, one as a sub-agent."""

import json
import os
import signal
import subprocess

import pytest

from lab import (
    ALIAS, BUILD, ENT_CONFIG_CHANGE, ENVIRONMENT, OPERATOR, SERIAL_NUM, SOURCE, UNDER, WRITER,
    Daemon, Switch, TrapReceiver, free_port, run, wait_for)

SYS_NAME, ENGINE_ID = "1.3.6.1.2.1.1.5.0", "1.3.6.1.6.3.10.2.1.1.0"
LABEL, MODEL = f"{ALIAS}.1", "1.3.6.1.2.1.47.1.1.1.1.13.1"
ADDRESS = f"1.3.6.1.2.1.2.2.1.6.{5 << 24}"  # of the management port
IN_OCTETS = f"1.3.6.1.2.1.31.1.1.1.6.{0x1a000800}"  # of a port without a load in the chassis file
TERMINAL_TEXT = "1.3.6.1.4.1.99999.2.9.7.0"
GUEST = ("-v3", "-l", "noAuthNoPriv", "-u", "guest")
FLEET = f"""
[[switch]]
name = "edge-%"
count = 2
chassis = "{SOURCE}/chassis/small.toml"
state = "edge-%.toml"

[[switch]]
name = "core"
chassis = "{SOURCE}/chassis/ten-slot.toml"
serial = "CORE-7"
load = 50
"""
NAMES = {"edge-1": "QX-108F", "edge-2": "QX-108F", "core": "QX-9010"}


@pytest.fixture(scope="module")
def receiver():
    with TrapReceiver([f"authCommunity log public@{name}" for name in NAMES]) as receiver:
        yield receiver


class Fleet:
    """A running fleet, on `port` and the next ones."""

    def __init__(self, state, *words):
        self.port, self.state, self.words = free_port(following=3), state, words

    def __enter__(self):
        self.process = subprocess.Popen(
            [*UNDER, SOURCE / "scripts/fleet", "--build-dir", BUILD, "--port", str(self.port),
             *self.words],
            env={**ENVIRONMENT, "XDG_RUNTIME_DIR": str(self.state)},
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        assert any("Ctrl-C" in line for line in self.process.stdout), self.process.stderr.read()
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate(timeout=20)

    def chmctl(self, *words):
        return run("env", f"XDG_RUNTIME_DIR={self.state}", BUILD / "bin/chmctl", *words)

    def processes(self):
        """The process of each switch."""
        switches = json.loads(self.chmctl("--json", "fleet").stdout)
        return {one["name"]: one["pid"] for one in switches if "pid" in one}

    def is_gone(self):
        runs = run("pgrep", "-f", f"{self.state}/chm-lab").stdout
        return not runs and not list(self.state.glob("chm-lab*"))


@pytest.fixture(scope="module")
def fleet(receiver, tmp_path_factory):
    state = tmp_path_factory.mktemp("fleet")
    file = state / "fleet.toml"
    file.write_text(FLEET)
    with Fleet(state, "--restart", "--trap-sink", f"127.0.0.1:{receiver.port}", file) as fleet:
        yield fleet


def ask(place, tool, auth, *words):
    answer = run(tool, "-t5", "-Oqv", *auth, place, *words)
    return answer.stdout.splitlines() or answer.stderr


def test_each_switch_of_a_fleet_is_reached_in_three_ways_and_has_an_identity(fleet, receiver):
    front, addresses, read = f"127.0.0.1:{fleet.port}", set(), ("-v2c", "-c", "public")
    for number, (name, model) in enumerate(NAMES.items(), start=1):
        engine = f"80 00 1F 88 04 {name.encode().hex(' ').upper()} "
        serial = "CORE-7" if name == "core" else name
        identity = [f'"{text}"' for text in (name, engine, model, serial, f"{serial}-1001")]
        oids = SYS_NAME, ENGINE_ID, MODEL, f"{SERIAL_NUM}.1", f"{SERIAL_NUM}.1001"
        for place, auth in ((f"127.0.0.1:{fleet.port + number}", read),
                            (f"127.1.0.{number}:{fleet.port}", read),
                            (front, ("-v2c", "-c", f"public@{name}")),
                            (front, (*OPERATOR, "-n", name))):
            assert ask(place, "snmpget", auth, *oids) == identity
        addresses.update(ask(front, "snmpget", (*OPERATOR, "-n", name), ADDRESS))
        ask(front, "snmpset", ("-v2c", "-c", f"private@{name}"), LABEL, "s", "first")
        assert ask(front, "snmpset", (*OPERATOR, "-n", name), LABEL, "s", name) == identity[:1]
    assert len(addresses) == 3
    assert int(ask(front, "snmpget", ("-v2c", "-c", "public@core"), IN_OCTETS)[0]) > 0
    for number, name in enumerate(NAMES, start=1):  # what came later did not reach the ones before
        assert ask(f"127.1.0.{number}:{fleet.port}", "snmpget", WRITER, LABEL) == [f'"{name}"']
    told = receiver.wait_for(ENT_CONFIG_CHANGE, 6)
    assert {how.split("community ")[1] for how, *_ in told} == {f"public@{name}" for name in NAMES}


def test_the_agent_in_front_guards_what_the_switches_would(fleet):
    context, front = (*GUEST, "-n", "core"), f"127.0.0.1:{fleet.port}"
    assert "No Such Object" in ask(front, "snmpget", context, TERMINAL_TEXT)[0]
    for auth in (context, ("-v2c", "-c", "public@core")):
        assert "noAccess" in ask(front, "snmpset", auth, LABEL, "s", "refused")
    for auth in ((*OPERATOR, "-n", "edge-3"), WRITER):
        assert "Timeout" in ask(front, "snmpget", (*auth, "-r0", "-t1"), MODEL)


def test_chmctl_finds_the_switches_of_a_fleet_by_name(fleet):
    assert list(fleet.processes()) == list(NAMES)
    assert fleet.chmctl("--switch", "edge-2", "fail", "Fan 1/1").returncode == 0
    table = [line.split() for line in fleet.chmctl("fleet").stdout.splitlines()]
    assert [(line[0], line[2], line[5]) for line in table[1:]] == [
        ("edge-1", "small.toml", "0"), ("edge-2", "small.toml", "1"), ("core", "ten-slot.toml", "0")]
    listed = ", ".join(f"{name} ({fleet.port + n})" for n, name in enumerate(NAMES, start=1))
    completed = fleet.chmctl("complete", "chmctl --switch e", "e").stdout.split()
    assert set(completed) == {name for name in fleet.processes() if name[0] == "e"} != set()
    for words, error in ((["units"], "several switches run; choose one with --switch or --port: "),
                         (["--switch", "edge-3", "units"], "no switch named edge-3; running: ")):
        refused = fleet.chmctl(*words)
        assert (refused.returncode, refused.stderr) == (3, f"chmctl: {error}{listed}\n")


def test_a_switch_that_was_killed_or_hangs_starts_again(fleet):
    before = fleet.processes()
    os.kill(before["edge-1"], signal.SIGKILL)
    os.kill(before["core"], signal.SIGSTOP)
    reports = [fleet.process.stderr.readline() for _ in range(4)]
    assert reports == [
        "fleet: edge-1 was ended by signal Killed; starting it again\n",
        "fleet: edge-1 runs again\n",
        "fleet: core has not responded for 10 seconds; starting it again\n",
        "fleet: core runs again\n"]
    after = wait_for(lambda: len(now := fleet.processes()) == 3 and now, "answers")
    assert [name for name in NAMES if after[name] == before[name]] == ["edge-2"]
    # Its state file has brought the label back.
    assert ask(f"127.1.0.1:{fleet.port}", "snmpget", WRITER, LABEL) == ['"edge-1"']


@pytest.mark.parametrize("victim, goodbye, status", [
    ("outer", signal.SIGINT, 0), ("outer", signal.SIGHUP, 0), ("outer", signal.SIGKILL, -9),
    ("inner", signal.SIGKILL, 1)])
def test_a_fleet_leaves_nothing_behind(tmp_path, victim, goodbye, status):
    with Fleet(tmp_path, "--count", "2", "--reach", "address") as fleet:
        assert "127.0.0.1" not in fleet.chmctl("fleet").stdout
        inner = run("pgrep", "-P", fleet.process.pid).stdout
        os.kill(fleet.process.pid if victim == "outer" else int(inner), goodbye)
        assert fleet.process.wait(timeout=20) == status
        wait_for(fleet.is_gone, "end of all switches")


def test_a_fleet_ends_after_its_last_switch(tmp_path):
    with Fleet(tmp_path, "--count", "2") as fleet:
        for process in fleet.processes().values():
            os.kill(process, signal.SIGKILL)
        assert fleet.process.wait(timeout=20) == 1
        assert fleet.process.stderr.readlines()[2:] == ["fleet: no switch is left\n"]
        wait_for(fleet.is_gone, "end of the front agent")


@pytest.mark.parametrize("text, error", [
    ('name = "a b"', ":2: 'a b' is not a name of"),
    ('name = "a"', ":3: there is no chassis file "),
    ('name = "a"\ncount = 2', ":2: 'name' of 2 switches has no %"),
    ('name = "a"\nload = 101', ":3: 'load' is 101, not within 0 to 100"),
    ('name = "a"\nname-of = "b"', ":3: unknown key 'name-of'"),
    ('name = "a"\nstate = "missing/a.toml"', ":3: there is no directory for "),
    ('name = "a"\nserial = "7\\u001b"', ":3: '7?' is not a serial number of "),
    ('name = "a%"\ncount = 501', ":3: 'count' is 501, not within 1 to 500"),
    ('name = "a"\n[[switch]]\nchassis = "c"\nname = "a"', ":6: 'a' is that of another switch"),
    ('name = "a"\nserial = "%"\n[[switch]]\nchassis = "c"\nname = "1"',
     ":7: '1' is that of another switch")])
def test_an_error_of_a_fleet_file_is_reported_with_its_line(tmp_path, text, error):
    file = tmp_path / "fleet.toml"
    words = text.split("\n")
    words.insert(next((n for n, word in enumerate(words) if word[0] == "["), len(words)),
                 'chassis = "c"')
    file.write_text("\n".join(["[[switch]]", *words]))
    refused = run(SOURCE / "scripts/fleet", "--build-dir", BUILD, file)
    assert refused.returncode == 1 and f"fleet: {file}{error}" in refused.stderr


class Master(Daemon):
    """The master agent of integrations/agentx-master.conf, but for its sink."""

    program = "snmpd"

    def __init__(self, sink):
        super().__init__()
        self.socket, self.sink = self.state / "agentx", sink

    def start(self):
        text = (SOURCE / "integrations/agentx-master.conf").read_text()

        def command(port):
            (self.state / "conf").write_text(
                text.replace("127.0.0.1:1162", f"127.0.0.1:{self.sink}"))
            return ["env", f"SNMP_PERSISTENT_DIR={self.state}", "snmpd", "-f", "-C",
                    "-c", self.state / "conf", "-x", self.socket, "-I", "-smux,dlmod",
                    "-Lf", self.state / "snmpd.log", "-p", self.state / "snmpd.pid",
                    f"udp:127.0.0.1:{port}"]

        self.spawn(command)


class SubAgent(Switch):
    def __init__(self, master):
        super().__init__()
        self.master = master

    def start(self):
        self.spawn(lambda _: [*UNDER, SOURCE / "scripts/agent", BUILD, self.state,
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
