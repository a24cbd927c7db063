"""The command that brings up a lab switch, from start to Ctrl-C."""

import os
import re
import signal
import socket
import subprocess

import pytest

from lab import (
    ALIAS, BUILD, DESCR, ENT_CONFIG_CHANGE, ENVIRONMENT, OPERATOR, READER, SOURCE, WRITER, TrapReceiver,
    free_port, needs_terminal, run, wait_for)

ENGINE_BOOTS = "1.3.6.1.6.3.10.2.1.2.0"


@pytest.fixture
def runtime(tmp_path):
    (tmp_path / "run").mkdir()
    return tmp_path / "run"


@pytest.fixture
def bring_up(runtime, tmp_path):
    """bring_up(OPTION...) starts the command on a port of its own, from another directory."""
    started = []

    def start(*options, port=None):
        started.append(subprocess.Popen(
            [SOURCE / "run", "--build-dir", BUILD, "--port", str(port or free_port()), *options],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, cwd=tmp_path,
            env={**ENVIRONMENT, "XDG_RUNTIME_DIR": str(runtime)}, start_new_session=True))
        return started[-1]

    yield start
    for process in started:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.communicate()


@pytest.fixture
def ready(bring_up, runtime):
    """ready(OPTION...) waits until the command is ready, and gives its state directory too."""
    def start(*options, **more):
        process = bring_up(*options, **more)
        assert any("Ctrl-C" in line for line in process.stdout), process.stderr.read()
        state, = runtime.iterdir()
        return process, state

    return start


def refusal(process):
    """The one line with which a start was refused."""
    _, err = process.communicate(timeout=60)
    assert process.returncode != 0 and err.count("\n") == 1, err
    return err


@pytest.mark.parametrize("goodbye", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_it_leaves_nothing_behind(bring_up, ready, runtime, goodbye):
    port = free_port()
    process, state = ready(port=port)
    assert f"already runs on port {port}" in refusal(bring_up(port=port))
    assert state.stat().st_mode & 0o777 == 0o700
    os.killpg(process.pid, goodbye)
    process.communicate(timeout=20)
    assert process.returncode == 0 and not os.listdir(runtime)
    with pytest.raises(ProcessLookupError):
        os.killpg(process.pid, 0)


def test_what_a_killed_one_left_is_no_obstacle(bring_up, ready, runtime):
    port = free_port()
    process, state = ready(port=port)
    agent = (state / "snmpd.pid").read_text().strip()
    process.kill()
    wait_for(lambda: not os.path.exists(f"/proc/{agent}/exe"), "end of the agent")
    assert state.exists()
    assert bring_up("--check", port=port).communicate(timeout=60)[1] == ""
    assert not os.listdir(runtime)


def test_it_shows_notifications_by_name_and_the_death_of_its_agent(ready, runtime):
    run(SOURCE / "scripts/with-mibs", BUILD, "true")  # has the base modules installed
    process, state = ready()
    agent = int((state / "snmpd.pid").read_text())
    for words in ("set", "Module 3", "description", "\x1b[2J"), ("pull", "Module 3"):
        run(BUILD / "bin/chmctl", "--socket", state / "control", *words)
    assert " coldStart " in next(process.stdout)
    shown = next(line for line in process.stdout if " qefcFRURemoved " in line)
    assert re.fullmatch(r"[\d:]{8} qefcFRURemoved \| entPhysicalContainedIn.1003 = 103 \| "
                        r"entPhysicalDescr.1003 = \?\[2J \| entPhysicalName.103 = Slot 3\n", shown)
    os.kill(agent, signal.SIGHUP)
    assert any(" nsNotifyRestart " in line for line in process.stdout)
    os.kill(agent, signal.SIGKILL)
    _, err = process.communicate(timeout=20)
    assert process.returncode == 1 and "snmpd has ended by itself" in err
    assert not os.listdir(runtime)


def test_chmctl_finds_the_running_switches(ready, runtime):
    def chmctl(*words):
        return run("env", f"XDG_RUNTIME_DIR={runtime}", BUILD / "bin/chmctl", *words)

    assert "no switch of yours runs; ./run" in chmctl("status").stderr
    first, second = free_port(), free_port()
    ready(port=first)
    assert chmctl("status").returncode == 0
    other = runtime / f"chm-lab-{os.geteuid()}-{second}"
    other.mkdir()
    with socket.socket(socket.AF_UNIX) as listener, socket.socket(socket.AF_UNIX) as queue:
        listener.bind(str(other / "control"))
        listener.listen(0)
        queue.connect(str(other / "control"))  # is full now, as that of a hung switch
        assert f"? ({second})" in chmctl("status").stderr  # test_fleet.py has the whole line
        assert chmctl("--port", first, "status").returncode == 0
    assert chmctl("status").returncode == 0  # the other one is dead
    missing = chmctl("--port", "1", "status")
    assert missing.returncode == 3 and f"running: lab-switch-{first} ({first})" in missing.stderr
    assert chmctl("--port", first, "--socket", "x", "status").returncode == 2


def test_a_hung_agent_starts_again(ready, tmp_path):
    port = free_port()
    process, state = ready("--state", tmp_path / "memory", port=port)
    words = f"127.0.0.1:{port}", f"{ALIAS}.1003"
    assert run("snmpset", *WRITER, *words, "s", "kept").returncode == 0
    hung = int((state / "snmpd.pid").read_text())
    os.kill(hung, signal.SIGSTOP)
    assert any(line == "run: the agent has not responded for 10 seconds; starting it again\n"
               for line in process.stdout)
    wait_for(lambda: "kept" in run("snmpget", *READER, *words).stdout, "agent")
    assert int((state / "snmpd.pid").read_text()) != hung


def test_its_logs_do_not_grow_for_ever(ready):
    run(SOURCE / "scripts/with-mibs", BUILD, "true")  # has the base modules installed
    port = free_port()
    process, state = ready(port=port)
    logs = [state / "snmpd.log", state / "notifications.log"]
    for log in logs:
        with log.open("a") as lines:
            lines.write("long\n" * 1_000_000)
    wait_for(lambda: all(log.stat().st_size < 1_000_000 for log in logs), "shorter logs")
    assert all((state / f"{log.name}.1").read_text().endswith("long\n") for log in logs)

    # What comes after that is at the new end, and shown.
    for words in ("trace", "debug", "on"), ("pull", "Module 3"):
        run(BUILD / "bin/chmctl", "--socket", state / "control", *words)
    assert any(" qefcFRURemoved " in line for line in process.stdout)
    run("snmpget", *READER, f"127.0.0.1:{port}", f"{DESCR}.1")
    for log, text in zip(logs, ("header_entPhysicalTable", "qefcFRURemoved")):
        wait_for(lambda: text in log.read_text(), text)
        assert log.stat().st_size < 1_000_000


@pytest.mark.parametrize("options, complaint", [
    (["--load", "101"], "101 is not a load of 0 to 100 percent (see"),
    (["--serial", 28 * "7"], "is not a serial number of 1 to 27 bytes"),
    (["--chassis", "missing.toml"], "missing.toml"),
    (["--chassis", "broken.toml"], "broken.toml:2: "),
    (["--port", "0"], "run: "), (["--port", "65536"], "run: "), (["--fly"], "run: "),
    (["word"], "run: "), (["--trap-sink", "nowhere"], "run: "), (["--name", "two words"], "run: "),
    (["--build-dir", "/nonexistent"], "run: ")])
def test_wrong_usage_is_one_line(bring_up, runtime, tmp_path, options, complaint):
    (tmp_path / "broken.toml").write_text("[chassis]\nnonsense = 1\n")
    assert complaint in refusal(bring_up(*options))
    assert not os.listdir(runtime)


def test_a_taken_port_is_named(bring_up, runtime):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as taken:
        taken.bind(("127.0.0.1", 0))
        port = taken.getsockname()[1]
        assert f"UDP port {port} is taken" in refusal(bring_up(port=port))
    assert not os.listdir(runtime)


def test_users_alone_see_an_engine_that_only_grows_older(ready):
    port, engine, boots = free_port(), b"core-1".hex(), 0
    user = f"createUser -e 0x80001f8804{engine} operator SHA lab-authentication AES lab-encryption"
    with TrapReceiver([user]) as receiver:
        for start in (1, 2):
            process, state = ready("--v3-only", "--name", "core-1", "--trap-sink",
                                   f"127.0.0.1:{receiver.port}", port=port)
            words = "-Oqv", f"127.0.0.1:{port}", "1.3.6.1.2.1.1.5.0", ENGINE_BOOTS
            name, engine_boots = run("snmpget", *OPERATOR, *words).stdout.splitlines()
            assert name == '"core-1"' and boots <= int(engine_boots) != 1
            boots = int(engine_boots)
            assert "Timeout" in run("snmpget", *READER, "-r0", "-t0.5", *words).stderr
            chmctl = run(BUILD / "bin/chmctl", "--socket", state / "control", "announce-change")
            assert chmctl.returncode == 0
            receiver.wait_for(ENT_CONFIG_CHANGE, start)
            os.killpg(process.pid, signal.SIGINT)
            process.communicate(timeout=20)


@pytest.mark.parametrize("name", ["small", "eighteen-slot"])
def test_the_check_shows_every_row(bring_up, tmp_path, name):
    chassis = tmp_path / f"{name} with blanks.toml"
    chassis.write_bytes((SOURCE / f"chassis/{name}.toml").read_bytes())
    process = bring_up("--check", "--chassis", chassis)
    out, err = process.communicate(timeout=120)
    assert (process.returncode, err) == (0, "")
    assert "\n0 of the served objects came back empty" in out
    announced = int(re.search(r"^entPhysicalTable: (\d+) rows$", out, re.M)[1])
    shown = re.findall(r"^\d+(?= )", out[out.index("entPhysicalTable: "):out.index("entLogicalTable: 0")], re.M)
    assert announced == len(shown) == len(set(shown)) > 10


@needs_terminal
def test_the_check_of_a_bare_chassis_fits_the_window(bring_up, tmp_path):
    chassis = tmp_path / "bare.toml"
    chassis.write_text('[chassis]\nserial = "S1"\nslots = 1\n[[module]]\nslot = 1\n')
    out, _ = bring_up("--check", "--chassis", chassis).communicate(timeout=60)
    assert re.search(r"^Without rows:\n(  ent|  q)", out, re.M)
    assert "\n  entSensorValueTable\n" in out and "\n0 of the served" in out
    narrow = run("script", "-qec", f"stty cols 90; {SOURCE}/run --check --build-dir {BUILD} "
                 f"--port {free_port()} --chassis {chassis}", "/dev/null").stdout.splitlines()
    assert max(map(len, narrow)) <= 90 and len(narrow) > out.count("\n")
