"""A lab switch of one's own, on a free loopback port, and the tools that talk to it."""

import json
import os
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time
from contextlib import ExitStack
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("CHM_BUILD_DIR", SOURCE / "build" / "release"))
# A command that runs each agent, such as valgrind.
UNDER = os.environ.get("CHM_UNDER", "").split()
# No configuration of the machine or of its user reaches the tools.
ENVIRONMENT = {**os.environ, "MIBS": "", "SNMPCONFPATH": "/nonexistent", "LC_ALL": "C"}
READER, WRITER = ("-v2c", "-c", "public"), ("-v2c", "-c", "private")
OPERATOR = ("-v3", "-l", "authPriv", "-u", "operator", "-a", "SHA", "-A", "lab-authentication",
            "-x", "AES", "-X", "lab-encryption")

ENT_PHYSICAL_ENTRY = "1.3.6.1.2.1.47.1.1.1.1"
DESCR, NAME, SERIAL_NUM, ALIAS = (f"{ENT_PHYSICAL_ENTRY}.{column}" for column in (2, 7, 11, 14))
UPTIME = "1.3.6.1.2.1.1.3.0"
LINK_DOWN, LINK_UP = ".1.3.6.1.6.3.1.1.5.3", ".1.3.6.1.6.3.1.1.5.4"
LAST_CHANGE_TIME = "1.3.6.1.2.1.47.1.4.1.0"
ENT_CONFIG_CHANGE = ".1.3.6.1.2.1.47.2.0.1"

# What the modules serve, by name, as the build lists it.
SERVED = {name: oid for table, name, oid, *_ in map(
    str.split, (BUILD / "share/chmsnmp/served-objects").read_text().splitlines())
    if table != "notification"}

# A shell's background job ignores SIGINT and hands that on; what is started here must not.
signal.signal(signal.SIGINT, signal.default_int_handler)


def module_root(oid):
    """The root of the module that an OID is of."""
    return ".".join(oid.split(".")[:7 if oid.startswith("1.3.6.1.2.1.") else 9])


def free_port(following=0):
    """A free port that has as many free ones after it."""
    while True:
        with ExitStack() as probes:
            port = 0
            try:
                for number in range(following + 1):
                    probe = probes.enter_context(socket.socket(socket.AF_INET, socket.SOCK_DGRAM))
                    probe.bind(("127.0.0.1", port and port + number))
                    port = port or probe.getsockname()[1]
                return port
            except (OSError, OverflowError):
                pass


def needs(program):
    return pytest.mark.skipif(not shutil.which(program), reason=f"{program} is not installed")


def run(*command, **options):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True,
                          env=ENVIRONMENT, timeout=60, **options)


needs_terminal = pytest.mark.skipif(run("script", "-qec", "true", "/dev/null").returncode != 0,
                                    reason="no pseudo-terminals")


def wait_for(condition, what, seconds=20):
    """Polls until condition() holds, and returns what it gave."""
    deadline = time.monotonic() + seconds
    while not (outcome := condition()):
        assert time.monotonic() < deadline, f"no {what} within {seconds} s"
        time.sleep(0.02)
    return outcome


def quick_chassis(directory):
    """The ten-slot chassis with modules that start in a second."""
    file = directory / "quick.toml"
    file.write_text((SOURCE / "chassis/ten-slot.toml").read_text().replace(
        "[chassis]\n", "[chassis]\nstart-seconds = 1\n"))
    return file


class Daemon:
    """A child process with a state directory, which goes when the daemon goes."""

    def __init__(self):
        # Not pytest's tmp_path: a Unix socket's path may have 107 bytes.
        self.state = Path(tempfile.mkdtemp(prefix="chm-"))
        self.process = None

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if self.process and self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        shutil.rmtree(self.state)

    def log(self):
        log = self.state / f"{self.program}.log"
        return log.read_text(errors="replace") if log.exists() else ""

    def spawn(self, command):
        """Starts command(port) on a free port. A pid file says that the port is open."""
        for _ in range(5):
            self.port = free_port()
            words = [str(word) for word in command(self.port)]
            self.process = subprocess.Popen(words, env=ENVIRONMENT)
            pid_file = self.state / f"{self.program}.pid"
            wait_for(lambda: pid_file.exists() or self.process.poll() is not None, self.program)
            if self.process.poll() is None:
                return
            if "opening specified endpoint" not in self.log():
                break
        raise RuntimeError(f"{self.program} did not start:\n{self.log()}")

    def stop(self):
        self.process.terminate()
        return self.process.wait(timeout=20)


class Switch(Daemon):
    program = "snmpd"

    def __init__(self, chassis="ten-slot", lines=(), under=(), sink=None, options=()):
        """lines: more of the agent's configuration. under: a command that runs the agent.
        sink: the receiver of its notifications. options: of scripts/agent."""
        super().__init__()
        self.control = self.state / "control"
        self.chassis = SOURCE / f"chassis/{chassis}.toml" if isinstance(chassis, str) else chassis
        self.lines, self.under, self.sink, self.options = list(lines), under, sink, options
        if sink:
            self.lines.append(f"trap2sink 127.0.0.1:{sink.port} public")

    def start(self):
        self.spawn(lambda port: [*UNDER, *self.under, SOURCE / "scripts/agent", *self.options, BUILD,
                                 self.state, port, self.chassis, *self.lines])
        assert "dlopen" not in self.log(), self.log()
        self.get(UPTIME)  # until it answers, it forgets a SIGHUP
        if self.sink:
            assert [name for name, _ in self.sink.news(1)] == [".1.3.6.1.6.3.1.1.5.1"]

    def snmp(self, tool, *words, auth=READER, options=()):
        """words: OIDs, or for snmpset OID, TYPE, VALUE. Values come bare, OIDs as numbers."""
        return run(tool, *auth, "-t", "5", "-Onqet", *options, f"127.0.0.1:{self.port}", *words)

    def get(self, oid, **options):
        answer = self.snmp("snmpget", oid, **options)
        assert answer.returncode == 0, answer.stderr
        return answer.stdout.split(" ", 1)[1].strip().strip('"')

    def set(self, oid, kind, value, auth=WRITER):
        """None when the agent accepted the value, else the name of the error."""
        answer = self.snmp("snmpset", oid, kind, value, auth=auth)
        if answer.returncode == 0:
            return None
        return re.search(r"Reason: \(?(\w+)", answer.stderr)[1]

    def walk(self, root, tool="snmpbulkwalk", **options):
        """(OID, value) of everything below root, in the order of the walk."""
        answer = self.snmp(tool, root, **options)
        assert answer.returncode == 0, answer.stderr
        pairs = (line.partition(" ")[::2] for line in answer.stdout.splitlines())
        return [(oid, value.strip('"')) for oid, value in pairs if oid != f".{root}"]

    def chmctl(self, *words):
        return run(BUILD / "bin" / "chmctl", "--socket", self.control, *words)

    def order(self, *words):
        """What chmctl answers to a command that must succeed."""
        answer = self.chmctl("--json", *words)
        assert answer.returncode == 0, answer.stderr
        return json.loads(answer.stdout)

    def reload(self):
        """SIGHUP: the agent unloads its modules and reads its configuration anew.

        It logs the restart before it has read the configuration, but answers only after that."""
        restarts = self.log().count("restarted")
        self.process.send_signal(signal.SIGHUP)
        wait_for(lambda: self.get(UPTIME) and self.log().count("restarted") > restarts, "restart")
        self.get(UPTIME)


class TrapReceiver(Daemon):
    program = "snmptrapd"

    def __init__(self, lines=()):
        """lines: more of its configuration."""
        super().__init__()
        self.lines, self.seen = lines, 0

    def start(self):
        (self.state / "conf").write_text("\n".join([
            "authCommunity log public", "authUser log operator priv",
            "createUser operator SHA lab-authentication AES lab-encryption", *self.lines, ""]))
        self.spawn(lambda port: [
            "env", f"SNMP_PERSISTENT_DIR={self.state}", "snmptrapd", "-f", "-C",
            "-c", self.state / "conf", "-Onqt", "-F", "%P|%v\n",
            "-Lf", self.state / "snmptrapd.log", "-p", self.state / "snmptrapd.pid",
            f"udp:127.0.0.1:{port}"])

    def notifications(self, name=None):
        """(how it came, name, bindings) of all so far, or of those of a name. The two bindings that
        every one begins with are left out: when, and the name."""
        found = []
        for line in self.log().splitlines():
            how, _, bindings = line.partition("|")
            pairs = [pair.partition(" ")[::2] for pair in bindings.split("\t") if pair]
            if pairs and name in (None, pairs[1][1]):
                bindings = [(oid, value.strip('"')) for oid, value in pairs[2:]]
                found.append((how, pairs[1][1], bindings))
        return found

    def wait_for(self, name, count=1):
        """The notifications of a name, once there are so many."""
        wait_for(lambda: len(self.notifications(name)) >= count, f"notification {name}")
        return self.notifications(name)

    def news(self, count):
        """(name, bindings) of those that came since the last call, once there are so many, but
        linkDown and linkUp, which go to self.links as (name, values of ifTable)."""
        def fresh():
            return [(name, bindings) for _, name, bindings in self.notifications()[self.seen:]]

        def platform():
            return [one for one in fresh() if one[0] not in (LINK_DOWN, LINK_UP)]

        wait_for(lambda: len(platform()) >= count, "notifications")
        time.sleep(0.1)  # for those that should not come
        found, every = platform(), fresh()
        self.links = [(name, [value for _, value in bindings[:3]])
                      for name, bindings in every if (name, bindings) not in found]
        self.seen += len(every)
        return found
