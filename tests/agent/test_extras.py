"""Faults, exports, scenarios and views of the switch, and the completion of commands."""

import re

import pytest

from lab import BUILD, DESCR, SOURCE, Switch, run, wait_for

MODULE_ADMIN_STATUS = "1.3.6.1.4.1.32473.9.117.1.2.1.1.1.1003"
RECEIVE_POWER = "1.3.6.1.4.1.32473.9.91.1.1.1.1.4.25827"  # of Ethernet1/1


@pytest.mark.parametrize("words, operation, outcomes", [
    (["module", "fail", "5", "--operation", "set", "--count", "2"], "set", ["genError"] * 2 + [None]),
    (["1029", "nothing", "--count", "1"], "set", [None]),
    (["physical-entity", "fail", "1", "--operation", "get"], "get", ["No Such Instance"] * 3),
    (["physical-entity", "short", "2780", "--count", "1", "--operation", "get"], "get", ["", "Line"]),
    (["physical-entity", "long", "20"], "get", ["Line"] * 2),
    (["physical-entity", "delay", "50", "--count", "1"], "get", ["Line"] * 2),
    (["physical-entity", "fail", "1", "--operation", "set"], "get", ["Line"]),
])
def test_faults_strike_as_often_as_they_should(switch, words, operation, outcomes):
    fault = switch.chmctl_json("fault", *words)
    for outcome in outcomes:
        if operation == "set":
            assert switch.set(MODULE_ADMIN_STATUS, "i", 1) == outcome
        else:
            assert switch.get(f"{DESCR}.1003").startswith(outcome)
    left = [one["number"] for one in switch.chmctl_json("faults")]
    assert left == ([] if "--count" in words else [fault["number"]])
    assert switch.chmctl_json("clear-faults") == []


def test_port_manager_has_faults_too(switch):
    switch.chmctl_json("fault", "port-configuration", "fail", "7")
    assert "No Such" in switch.get(RECEIVE_POWER)
    switch.chmctl_json("clear-faults")
    assert int(switch.get(RECEIVE_POWER)) < 0


@pytest.mark.parametrize("words, text", [
    (["led", "delay"], "amount"), (["led", "delay", "10001"], "10000"), (["led", "nothing", "3"], "amount"),
    (["17", "nothing"], "17"), (["fan", "nothing"], "fan-tray-status"),
])
def test_bad_faults_are_refused(switch, words, text):
    answer = switch.chmctl("fault", *words)
    assert answer.returncode == 1 and text in answer.stderr
    assert switch.chmctl("clear-faults", "999").returncode == 1


def test_export_gives_the_same_switch(tmp_path):
    with Switch() as switch:
        for words in (
                ["set", "Slot 3", "alias", 'row "4"'], ["set", "Ethernet1/2", "description", "core"],
                ["set", "Ethernet3/1", "alias", "gone with its module"], ["pull", "Module 3"],
                ["fail", "Fan 1/2"], ["fail", "Power supply 2"], ["unplug", "Ethernet1/3"],
                ["insert", "Slot 8", "--type", "line-card-48"], ["plug-unknown", "Slot 9"],
                ["reading", "Module 1 outlet", "75.5"], ["unplug", "Ethernet2/1"],
                ["plug", "Ethernet2/1", "--type", "lr"], ["chassis-type", "19"], ["switchover"],
                ["transceiver-reading", "Ethernet1/5", "receive-power", "none"]):
            assert switch.chmctl(*words).returncode == 0, words
        switch.set("1.3.6.1.4.1.32473.9.117.1.2.1.1.1.1007", "i", 2)
        switch.set("1.3.6.1.4.1.32473.9.91.1.2.1.1.6.21589.1", "i", 2)
        wait_for(lambda: "starting" not in switch.chmctl("units").stdout, "module in service")
        exported = switch.chmctl("export").stdout
        views = ["inventory"], ["sensors"], ["transceivers"], ["redundancy"]
        shown = [switch.chmctl_json(*view) for view in views]
    file = tmp_path / "exported.toml"
    file.write_text(exported)
    with Switch(chassis=file) as switch:
        assert switch.chmctl("export").stdout == exported
        again = [switch.chmctl_json(*view) for view in views]
        assert again[0] == shown[0] and again[3]["active"] == shown[3]["active"]
        for now, before in zip(again[1] + again[2], shown[1] + shown[2]):
            # What moves has moved meanwhile.
            assert (now["status"], now.get("by-hand"), now.get("type"), now.get("serial")) == (
                before["status"], before.get("by-hand"), before.get("type"), before.get("serial"))
        assert switch.chmctl("insert", "Slot 3").returncode == 0
        names = {entity["name"]: entity["alias"] for entity in switch.chmctl_json("inventory")}
        assert names["Ethernet3/1"] == "gone with its module"


def test_scenarios_play_and_notify(switch):
    for file in sorted((SOURCE / "scenarios").glob("*.toml")):
        assert switch.chmctl("play", file, "--speed", "100").returncode == 0, file
    names = {one["name"] for one in switch.chmctl_json("notifications")}
    assert {"qefcFanTrayStatusChange", "qefcFRURemoved", "qRFSwitchover",
            "entSensorThresholdNotification"} <= names
    view = switch.chmctl("watch", "--once").stdout
    for text in ("Module 1 ", "Hottest", "no light", "qRFSwitchover"):
        assert text in view
    assert "\x1b" not in view


@pytest.mark.parametrize("text, line, complaint", [
    ('x = 1', 1, "'x'"), ('[[step]]\nat = 1\ndo = ["pull"]', 3, "UNIT"), ("a = ", 1, ""),
    ('[[step]]\nat = 1\ndo = []', 1, "do"), ('[[step]]\ndo = ["announce"]', 1, "at"),
    ('[[step]]\nat = 2\ndo = ["announce"]\n[[step]]\nat = 1\ndo = ["announce"]', 4, "before"),
    ('[[step]]\nat = 0\ndo = ["pull", "Module 99"]', 3, "Module 99"),
])
def test_bad_scenarios_name_the_line(switch, tmp_path, text, line, complaint):
    (tmp_path / "bad.toml").write_text(text)
    answer = switch.chmctl("play", tmp_path / "bad.toml")
    assert answer.returncode == 1 and re.search(f"bad.toml:{line}: .*{complaint}", answer.stderr)


@pytest.mark.parametrize("words, found", [
    (["comp"], ["completion"]), (["pull", '"Module 1'], ["Module\\ 1", "Module\\ 10"]),
    (["fault", "led", "s"], ["short"]), (["fault", "led", "short", "--op"], ["--operation"]),
    (["fault", "--operation", "get-"], ["get-next"]), (["trace", "h"], ["history"]),
])
def test_words_are_completed(switch, words, found):
    answer = switch.chmctl("complete", "--", *words).stdout.split("\n")[:-1]
    assert [word for word in answer if "inlet" not in word and "outlet" not in word and
            "12" not in word] == found


def test_every_verb_has_an_example():
    listed = re.findall(r"^  ([a-z][a-z-]+) {2,}[A-Z]", run(BUILD / "bin/chmctl", "--help").stdout, re.M)
    assert len(listed) > 30
    for verb in listed:
        assert "Example:\n" in run(BUILD / "bin/chmctl", verb, "--help").stdout, verb
