"""The control socket and its command, used well and badly."""

import re
import socket

import pytest

from lab import BUILD, DESCR, SOURCE, run


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
    return answer


def assert_well(switch):
    assert switch.chmctl("status").returncode == 0
    assert "No Such" not in switch.get(f"{DESCR}.1")


@pytest.mark.parametrize("data", [
    b"\x00\xff{]", b"", b"[]", b"7", b"{}", b'{"verb": 5}', b'{"verb": "fly"}', b"[" * 60000,
    b'{"verb": "set", "entity": {}, "field": [], "value": null}',
])
def test_nonsense_is_answered_with_an_error(switch, data):
    assert b'"ok":false' in send(switch, data + b"\n").replace(b" ", b"")
    assert_well(switch)


def test_oversized_and_half_requests_do_no_harm(switch):
    assert b'"ok":true' not in send(switch, b"x" * 1_000_000).replace(b" ", b"")
    clients = [socket.socket(socket.AF_UNIX) for _ in range(40)]
    for client in clients:
        client.connect(str(switch.control))
        client.sendall(b'{"verb": "inven')
    assert "No Such" not in switch.get(f"{DESCR}.1")
    for client in clients:
        client.close()
    assert_well(switch)


@pytest.mark.parametrize("words, status, text", [
    (["set", "999999", "alias", "x"], 1, "999999"),
    (["set", "no such entity", "alias", "x"], 1, "no such entity"),
    (["set", "1", "alias", "x" * 33], 1, "alias"),
    (["set", "1", "colour", "red"], 1, "colour"),
    (["check", "/nonexistent.toml"], 1, "/nonexistent.toml"),
    (["fly"], 2, ""),
    (["set", "1"], 2, ""),
    (["--socket", "/nonexistent/control", "status"], 3, "/nonexistent/control"),
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


def test_traces_go_where_they_are_switched_on(switch):
    def history():
        texts = [record["text"] for record in switch.chmctl_json("history")]
        return sum("header_entPhysicalTable" in text for text in texts)

    def debug():
        return switch.log().count("header_entPhysicalTable")

    def trace(*words):
        assert switch.chmctl("trace", *words).returncode == 0
        before = history(), debug()
        switch.get(f"{DESCR}.1")
        return history() > before[0], debug() > before[1]

    assert trace("all", "off") == (False, False)
    assert trace("history", "on") == (True, False)
    assert trace("debug", "on") == (True, True)
    assert trace("history", "off") == (False, True)
    assert trace("debug", "off") == (False, False)
