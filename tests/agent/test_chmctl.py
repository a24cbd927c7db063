"""The control socket and its command: good and bad use, faults, scenarios, exports, completion."""

import json
import os
import pty
import re
import select
import shlex
import signal
import socket
import subprocess

import pytest

from lab import BUILD, DESCR, ENVIRONMENT, SOURCE, Switch, needs_terminal, run, wait_for

ENTITY = "physical-entity"
MODULE_ADMIN_STATUS = "1.3.6.1.4.1.32473.9.117.1.2.1.1.1.1003"


def send(switch, data):
    """The switch's line in answer to these bytes, or what came of it until it closed."""
    answer = b""
    with socket.socket(socket.AF_UNIX) as client:
        client.settimeout(10)
        client.connect(str(switch.control))
        try:
            client.sendall(data)
            while not answer.endswith(b"\n") and (chunk := client.recv(65536)):
                answer += chunk
        except ConnectionError:
            pass
    return answer.replace(b" ", b"")


def test_nonsense_oversized_and_half_requests_do_no_harm(switch):
    for data in [b"\x00\xff{]", b"", b"[]", b"7", b"{}", b'{"verb": 5}', b'{"verb": "fly"}',
                 b"[" * 60000, b'{"verb": "set", "entity": {}, "field": [], "value": null}']:
        assert b'"ok":false' in send(switch, data + b"\n"), data
    assert b'"ok":true' not in send(switch, b"x" * 1_000_000)
    clients = [socket.socket(socket.AF_UNIX) for _ in range(40)]
    for client in clients:
        client.connect(str(switch.control))
        client.sendall(b'{"verb": "inven')
    assert "No Such" not in switch.get(f"{DESCR}.1")
    for client in clients:
        client.close()
    switch.order("status")


def connects(path, user):
    """Whether a process of a user's connects to a socket."""
    connect = "import socket, sys; socket.socket(socket.AF_UNIX).connect(sys.argv[1])"
    answer = run("/usr/bin/python3", "-c", connect, path, user=user)
    assert answer.returncode == 0 or "PermissionError" in answer.stderr, answer.stderr
    return answer.returncode == 0


@pytest.mark.skipif(os.geteuid() != 0, reason="needs the right to become another user")
def test_the_control_socket_is_its_users_alone():
    with Switch("small") as switch:
        switch.state.chmod(0o711)  # so that the socket's own mode decides
        status = switch.control.stat()
        assert (status.st_uid, status.st_mode & 0o777) == (os.geteuid(), 0o600)
        assert connects(switch.control, os.geteuid()) and not connects(switch.control, 65534)
        switch.control.chmod(0o666)
        assert connects(switch.control, 65534)


def test_a_control_socket_without_a_path_is_refused():
    with Switch("small", ['chmControl ""']) as switch:
        assert re.search("snmpd.conf: line [0-9]+: Error: '' is empty", switch.log())
        assert "@@@@" not in open("/proc/net/unix").read()  # an address for everybody
        switch.order("status")  # at the path of the line before


@pytest.mark.parametrize("words, status, text", [
    (["set", "no such entity", "alias", "x"], 1, "no such entity"),
    (["set", "1", "alias", "x" * 33], 1, "alias"),
    (["set", "2001", "role-led", "red"], 1, "Power supply 1 has no 'role-led'"),
    (["inject-fault", "led", "delay"], 1, "amount"),
    (["inject-fault", "led", "nothing", "3"], 1, "amount"),
    (["inject-fault", "1", "nothing"], 1, "not the opcode"),
    (["inject-fault", "fan", "nothing"], 1, "fan-tray-status"),
    (["clear-faults", "999"], 1, "999"),
    (["check", "/nonexistent.toml"], 1, "/nonexistent.toml"),
    (["PULL"], 2, "no verb 'PULL'; did you mean 'pull'?"),
    (["pull", "Module", "3"], 2, 'quoted: "Module 3"'),
    (["units", "--fail"], 2, "no option '--fail'; did you mean '--failed'?"),
    (["pull", "module 33"], 1, "no entity named 'module 33'"),
    (["set", "1"], 2, ""),
    (["check", "--json", SOURCE / "chassis/small.toml"], 2, "check prints no JSON"),
    (["watch", "--every", "0"], 2, "--every: '0' is not a number from 0.1 to 3600\n"),
    (["watch", "--count", "0"], 2, "--count: '0' is not a positive number\n"),
    (["history", "--last", "x"], 2, "--last does not take 'x'\n"),
    (["history", "--last"], 2, "--last needs a value\n"),
    (["load", "Ethernet1/1", "x", "1"], 2, "IN: 'x' is neither a number nor a unit; units are "),
    (["trace", "all", "x" * 100_000], 2, "STATE: "),
    (["trace", "all", "maybe"], 2, "STATE: 'maybe' is none of on,off\n"),
    (["--socket", "/nonexistent/control", "status"], 3, "/nonexistent/control"),
    (["--socket", "", "status"], 3, "'' is empty"),
])
def test_errors_of_the_command_are_one_line(switch, words, status, text):
    answer = run(BUILD / "bin/chmctl", *words) if "--socket" in words else switch.chmctl(*words)
    assert (answer.returncode, answer.stdout) == (status, "")
    assert re.fullmatch(r"chmctl: .+\n", answer.stderr) and text in answer.stderr


def test_the_chassis_of_the_documentation_is_good(tmp_path):
    sample = tmp_path / "sample.toml"
    page = (SOURCE / "docs/chassis-file.md").read_text()
    sample.write_text(page.split("```toml\n")[1].split("```")[0])
    assert "good, 168 entities" in run(BUILD / "bin/chmctl", "check", sample).stdout
    sample.write_text('[[step]]\nat = 1\ndo = ["pul", "3"]\n[[step]]\nat = 2.5\ndo = ["units"]')
    assert "3: there is no verb 'pul'; did you" in run(BUILD / "bin/chmctl", "check", sample).stderr
    sample.write_text('[[step]]\nat = 2.5\ndo = ["pull", "3"]')
    assert "scenario of 1 steps in 2.5 s" in run(BUILD / "bin/chmctl", "check", sample).stdout


def test_lists_show_what_is_asked_for(switch):
    switch.order("fail", "fan 1/2")
    switch.order("set", "ethernet1/1", "receive-power", "none")
    assert [unit["name"] for unit in switch.order("units", "--failed")] == ["Fan tray 1"]
    switch.order("repair", "Fan tray 1")
    assert switch.order("units", "--failed") == []
    port, = switch.order("transceivers", "Ethernet1/1", "--beyond-threshold")
    assert [port["port"], *(one["quantity"] for one in port["readings"])] == [
        "Ethernet1/1", "receive-power"]
    switch.order("set", "ethernet1/1", "receive-power", "auto")
    assert switch.order("transceivers", "Ethernet1/1", "--beyond-threshold") == []
    assert {one["name"] for one in switch.order("sensors", "Module 1")} < {
        one["name"] for one in switch.order("sensors")}
    assert {one["led"] for one in switch.order("leds", "Module 5")} == {"status-led", "role-led"}
    switch.order("pull", "Module 2")
    complaint = switch.chmctl("pull", "module 2").stderr
    assert complaint == "chmctl: 'module 2' was pulled: Slot 2 is empty\n"
    switch.order("insert", "Slot 2")


def test_traces_go_where_they_are_switched_on(switch):
    def traced():
        texts = [record["text"] for record in switch.order("history")]
        return (sum("header_entPhysicalTable" in text for text in texts),
                switch.log().count("header_entPhysicalTable"))

    for words, history, debug in [(("all", "off"), False, False), (("history", "on"), True, False),
                                  (("debug", "on"), True, True), (("history", "off"), False, True),
                                  (("debug", "off"), False, False)]:
        switch.order("trace", *words)
        before = traced()
        switch.get(f"{DESCR}.1")
        assert [now > then for now, then in zip(traced(), before)] == [history, debug], words


@pytest.mark.parametrize("words, operation, outcomes", [
    (["1029", "fail", "5", "--operation", "set", "--count", "2"], "set", ["genError"] * 2 + [None]),
    (["module", "nothing", "--count", "1"], "set", [None]),
    ([ENTITY, "fail", "1", "--operation", "get"], "get", ["No Such Instance"] * 3),
    ([ENTITY, "short", "2780", "--count", "1", "--operation", "get"], "get", ["", "Line"]),
    ([ENTITY, "long", "20"], "get", ["Line"] * 2),
    ([ENTITY, "delay", "50", "--count", "1"], "get", ["Line"] * 2),
    ([ENTITY, "fail", "1", "--operation", "set"], "get", ["Line"]),
])
def test_faults_strike_as_often_as_they_should(switch, words, operation, outcomes):
    fault = switch.order("inject-fault", *words)
    for outcome in outcomes:
        if operation == "set":
            assert switch.set(MODULE_ADMIN_STATUS, "i", 1) == outcome
        else:
            assert switch.get(f"{DESCR}.1003").startswith(outcome)
    left = [one["number"] for one in switch.order("faults")]
    assert left == ([] if "--count" in words else [fault["number"]])
    assert switch.order("clear-faults") == []


def test_export_gives_the_same_switch(tmp_path):
    """That it exports all there is the unit tests see to."""
    with Switch() as switch:
        for words in (["set", "Slot 3", "alias", 'row "4"'], ["pull", "Module 3"],
                      ["insert", "Slot 8", "--type", "line-card-48"],
                      ["insert", "Slot 9", "--unknown"],
                      ["pull", "Ethernet2/1"], ["insert", "Ethernet2/1", "--type", "lr"]):
            switch.order(*words)
        wait_for(lambda: "starting" not in switch.chmctl("units").stdout, "module in service")
        exported, inventory = switch.chmctl("export").stdout, switch.order("inventory")
    file = tmp_path / "exported.toml"
    file.write_text(exported)
    with Switch(chassis=file) as switch:
        assert switch.chmctl("export").stdout == exported
        assert switch.order("inventory") == inventory


def test_scenarios_play_and_notify(switch, tmp_path):
    for file in sorted((SOURCE / "scenarios").glob("*.toml")):
        if "storm" in file.name:  # the list of notifications would have no room for others
            continue
        assert switch.chmctl("play", file, "--speed", "100").returncode == 0, file
    # What it prints can be typed.
    words = ["set", "Module 3", "alias", """a "b" $c's \\ d!"""]
    (tmp_path / "quotes.toml").write_text(f"[[step]]\nat = 0\ndo = {json.dumps(words)}")
    line = switch.chmctl("play", tmp_path / "quotes.toml").stdout.strip()
    assert shlex.split(line) == ["0.0", "s", *words] and 's  set "Module 3" alias ' in line
    sent = switch.order("notifications")
    names = {one["name"] for one in sent}
    assert {"qefcFanTrayStatusChange", "qefcFRURemoved", "qRFSwitchover",
            "entSensorThresholdNotification"} <= names
    fan = next(one for one in sent if one["name"] == "qefcFanTrayStatusChange")
    assert (fan["about"], fan["bindings"]) == (
        "Fan tray 1", [{"name": "qefcFanTrayStatus.3001", "value": "4"}])
    assert ("linkDown", "Ethernet") in {(one["name"], one["about"][:8]) for one in sent}
    command = [BUILD / "bin/chmctl", "--socket", switch.control, "notifications", "--follow"]
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as following:
        changes = (line for line in following.stdout if "  entConfigChange" in line)
        for _ in filter(lambda one: one["name"] == "entConfigChange", sent):
            next(changes)
        switch.order("announce-change")
        assert next(changes)
        following.kill()
    view = switch.chmctl("watch", "--once").stdout
    assert all(text in view for text in ("Module 1 ", "Hottest", "no light", "qRFSwitchover"))
    assert "\x1b" not in view


@pytest.mark.parametrize("text, complaint", [
    ("a = ", "1: .+"), ("", "1: there is no [[step]]"),
    ("step = [1]", "1: 'step' is not a table"),
    ('[[step]]\nat = 1\ndo = ["pull"]', "3: UNIT is required"),
    ('[[step]]\nat = 1\ndo = ["fly", "x"]', "3: there is no verb 'fly'; see chmctl --help"),
    ("[[step]]\nat = 1\ndo = []", "3: 'do' is not a list of the words of a command"),
    ("[[step]]\nat = 1", "1: a step has no 'do'"),
    ('[[step]]\ndo = ["announce-change"]', "1: there is no 'at'"),
    ('[[step]]\nat = 2\ndo = ["announce-change"]\n[[step]]\nat = 1\ndo = ["announce-change"]',
     "4: this step is before the one above it"),
    ('[[step]]\nat = 0\ndo = ["pull", "Module 99"]', "3: there is no entity named 'Module 99'"),
])
def test_bad_scenarios_name_the_line(switch, tmp_path, text, complaint):
    (tmp_path / "bad.toml").write_text(text)
    answer = switch.chmctl("play", tmp_path / "bad.toml")
    complaint = complaint if complaint.endswith("+") else re.escape(complaint)
    assert answer.returncode == 1
    assert re.fullmatch(f"chmctl: .+/bad.toml:{complaint}\n", answer.stderr), answer.stderr


class Shell:
    """An interactive bash that completes the words of chmctl, set up as its help says."""

    def __init__(self, switch):
        pid, self.terminal = pty.fork()
        if pid == 0:
            os.execvpe("bash", ["bash", "--norc", "--noprofile", "-i"], {
                **ENVIRONMENT, "PATH": f"{BUILD}/bin:{os.environ['PATH']}", "TERM": "dumb",
                "CHM_SOCKET": str(switch.control)})
        self.bash = pid
        usage = run(BUILD / "bin/chmctl", "completion", "--help").stdout
        setup = re.search("Example:\n(.*)", usage)
        self.type(rf"""bind '"\C-y": insert-completions'; {setup[1]}"""
                  + r""";bind -x '"\C-t": printf "{%s}" "$READLINE_LINE"'""" + "\n")
        self.type("\x14", "{}")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.kill(self.bash, signal.SIGKILL)
        os.waitpid(self.bash, 0)
        os.close(self.terminal)

    def type(self, keys, until=""):
        """Types, and gives what the terminal shows up to a pattern."""
        os.write(self.terminal, keys.encode())
        shown = ""
        while not (found := re.search(until, shown, re.S)):
            assert select.select([self.terminal], [], [], 10)[0], shown
            shown += os.read(self.terminal, 65536).decode()
        return found

    def completed(self, typed):
        """The line that a tab makes of what is typed, or with a star at its end all completions."""
        line = self.type(typed.rstrip("*") + "\t\x19"[typed.endswith("*")] + "\x14", "{(.*)}")[1]
        self.type("\x01\x0b")
        return line


@needs_terminal
def test_words_are_completed():
    with Switch("small") as switch, Shell(switch) as shell:
        for words in (["pull", "Power supply 2"], ["fail", "Fan 1/2"], ["pull", "Ethernet1/7"],
                      ["inject-fault", "led", "nothing"], ["set", "Module 1", "alias", "x"]):
            switch.order(*words)
        supply = r"Power\ supply"
        for typed, line in [
                ("comp", "completion "), ("PU", "pull "), ("--json --po", "--json --port "),
                ("sensors --b", "sensors --beyond-threshold "), ("status *", "status "),
                ("pull *", rf"pull Ethernet1/1 Ethernet1/2 {supply}\ 1 "),
                ("insert *", rf"insert Ethernet1/7 Ethernet1/8 {supply}\ bay\ 2 "),
                ("insert ethernet1/7 --type *", "insert ethernet1/7 --type lr sr "),
                ("insert --unknown 'pow", "insert --unknown 'Power supply bay 2' "),
                ("insert Ethernet1/8 --type=l", "insert Ethernet1/8 --type=lr "),
                (r"fail fan\ *", r"fail Fan\ 1/1 Fan\ tray\ 1 "),
                ('fail "fan 1', 'fail "Fan 1/1" '), ("repair *", r"repair Fan\ 1/2 Fan\ tray\ 1 "),
                ('set "module 1" *', 'set "module 1" alias asset-id description second-serial '
                 'status-led role-led '),
                ("set Module\\ 1 role-led *", "set Module\\ 1 role-led amber auto blinking-green "
                 "green off red "),
                ("set 'Module 1' alias *", "set 'Module 1' alias "),
                ("set Ethernet1/1 transmit-power *", "set Ethernet1/1 transmit-power auto none "),
                ("load M", "load mgmt0 "), ("inject-fault fru", "inject-fault fru-power-status "),
                ("inject-fault led s", "inject-fault led short "),
                ("inject-fault --operation get-", "inject-fault --operation get-next "),
                ("trace h", "trace history "), ("trace all *", "trace all off on "),
                ("clear-faults ", "clear-faults 1 "), ("units --failed mod*", "units --failed mod"),
                ("leds --json slo", "leds --json Slot\\ 1 "),
                ("--socket /nonexistent pull *", "--socket /nonexistent pull "),
                (f"--socket {switch.control} load m", f"--socket {switch.control} load mgmt0 "),
                (f"check {SOURCE}/chassis/sm", f"check {SOURCE}/chassis/small.toml "),
                (f"--socket {switch.control}", f"--socket {switch.control} "),
                (f"export >{SOURCE}/READ", f"export >{SOURCE}/README.md ")]:
            done = shell.completed(f"chmctl {typed}").removeprefix("chmctl ")
            assert sorted(done.split(" ")) == sorted(line.split(" ")), typed
        inventory = switch.order("inventory")
        shell.completed("chmctl pull Ethernet1/1 *")
        assert switch.order("inventory") == inventory  # completing runs nothing


@needs_terminal
def test_the_view_fits_its_window(tmp_path):
    chassis = tmp_path / "wide.toml"
    chassis.write_text((SOURCE / "chassis/ten-slot.toml").read_text().replace(
        'name = "Chassis"', f'name = "{"箱" * 8}"'))
    with Switch(chassis=chassis) as switch:
        switch.order("set", f"{'箱' * 8} outlet", "reading", "99")
        switch.order("fail", "Fan 1/2")

        def tmux(*words):
            return run("tmux", "-u", "-S", switch.state / "tmux", "-f", "/dev/null", *words).stdout

        def shows(pattern):
            return wait_for(lambda: re.search(pattern, tmux("capture-pane", "-p"), re.S), pattern)

        watch = f"TERM=screen {BUILD}/bin/chmctl --socket {switch.control} watch --every"
        tmux("new-session", "-d", "env", "sh", "-c", f"""trap : INT; while read -r seconds; do
            mode=$(stty -g); {watch} $seconds; echo "status $?"
            test "$mode" = "$(stty -g)" && echo same; done""")
        try:
            for seconds, end, status in [(3600, lambda: tmux("send-keys", "q"), 0),
                                         (3600, lambda: tmux("send-keys", "C-c"), 130),
                                         (0.1, switch.stop, 1)]:
                tmux("send-keys", seconds, "Enter")
                for columns, rows, picture in [
                        (80, 24, "Units: 13 of 14 ok, [^\n]* W\n.* standby .*\nLast.*\nHott.*\nWorst"),
                        (200, 60, "Units[^\n]* W +Hottest.* standby .*Last.*Worst"),
                        (40, 10, r"Units.*  Fan tray 1 +failed.* active .*\nLast.*…  Fan tray 1\nHott.*\n"
                         r"  箱+ outlet  99 °C \*\nWorst[^\n]*\n[^\n]*no light\n$")]:
                    tmux("resize-window", "-x", columns, "-y", rows)
                    shows(rf"^lab-switch  wide\.toml\n{picture}")
                end()
                shows(f"status {status}\nsame\n")
        finally:
            tmux("kill-server")


def test_every_verb_has_an_example():
    chmctl = BUILD / "bin/chmctl"
    listed = re.findall(r"^  ([a-z][a-z-]+) {2,}[A-Z]", run(chmctl, "--help").stdout, re.M)
    assert len(listed) > 25
    for verb in listed:
        assert "Example:\n" in run(chmctl, verb, "--help").stdout, verb
