"""The switch as any manager sees it: identity, interfaces, and what it remembers."""

import os
import re
import time

import pytest

from lab import (
    ALIAS, DESCR, LINK_DOWN, LINK_UP, SOURCE, WRITER, Switch, quick_chassis, run, wait_for)

MAIN, ALT = "1.3.6.1.4.1.32473.9", "1.3.6.1.4.1.99999"
SYSTEM, IF_NUMBER, IF, IF_X = (
    f"1.3.6.1.2.1.{end}" for end in ("1", "2.1.0", "2.2.1", "31.1.1.1"))
TABLE_LAST_CHANGE = "1.3.6.1.2.1.31.1.5.0"
CONTACT, NAME, LOCATION = (f"{SYSTEM}.{number}.0" for number in (4, 5, 6))
ADMIN, STATUS = f"{IF}.7", f"{IF}.8"
OCTETS_IN, NOTIFIES, IF_ALIAS = (f"{IF_X}.{column}" for column in (6, 14, 18))
MODULE, POWER, PHYSICAL = (f"{MAIN}.117.1.{table}.1" for table in ("2.1", "1.2", "5.1"))
UP, DOWN, NOT_PRESENT = "1", "2", "6"


def port(slot, number):
    """The interface index of a port as the switch numbers it."""
    return 0x1a000000 + 0x10000 * (slot - 1) + 0x100 * (number - 1)


# What a walk of everything may show, and why.
SUBTREES = {
    SYSTEM: "identity", "1.3.6.1.2.1.2": "interfaces", "1.3.6.1.2.1.31": "interfaces",
    "1.3.6.1.2.1.11": "statistics of SNMP", "1.3.6.1.2.1.47": "inventory",
    MAIN: "the switch's modules", f"{ALT}.2.9": "terminal message", f"{ALT}.9": "assets",
    "1.3.6.1.6.3": "SNMP engine, users, access, targets and notifications"}


@pytest.mark.parametrize("chassis, number", [("ten-slot", 10), ("small", 8), ("eighteen-slot", 18)])
def test_a_walk_shows_a_switch_and_nothing_of_the_machine(chassis, number):
    with Switch(chassis) as switch:
        every = [(oid, value) for oid, value in switch.walk("1.3", options=("-Cr50",))
                 if oid.startswith(".1.3.")]  # not the second line of a long value
        seen = set()
        for oid, _ in every:
            root = next((root for root in SUBTREES if oid.startswith(f".{root}.")), None)
            assert root, oid
            seen.add(root)
        assert seen == set(SUBTREES)
        values = "\n".join(value for _, value in every)
        machine = os.uname()
        for trace in (machine.nodename, machine.release, "Linux", str(SOURCE), "1.4.1.8072"):
            assert not re.search(rf"(?<![\w.-]){re.escape(trace)}(?![\w-])", values), trace
        system = dict(every)
        assert system[f".{SYSTEM}.2.0"] == f".1.3.6.1.4.1.32473.12.3.1.3.{number}"
        assert system[f".{SYSTEM}.1.0"].startswith("Example Networks QX-")
        assert system[f".{SYSTEM}.7.0"] == "2"
        rows = sum(oid.startswith(f".{IF}.1.") for oid, _ in every)
        assert str(rows) == system[f".{IF_NUMBER}"]
        addresses = [value for oid, value in every if oid.startswith(f".{IF}.6.")]
        assert len(set(addresses)) == rows
        # The rows of the other tables over the physical entities are whole.
        physical = {oid.rpartition(".")[2] for oid, _ in every if oid.startswith(f".{DESCR}.")}
        assert {oid.rpartition(".")[2] for oid, _ in every if oid.startswith(f".{PHYSICAL}.1.")
                } == {index for index in physical if not 25813 <= int(index) < 287958}
    with Switch(chassis, options=["--host-mibs"]) as switch:
        assert switch.walk("1.3.6.1.2.1.25.1") and switch.walk(f"{IF_X}.1") == [
            (oid, value) for oid, value in every if oid.startswith(f".{IF_X}.1.")]


def test_rows_are_those_of_ports():
    with Switch("small") as switch:
        def row(root, index, columns):
            return [switch.get(f"{root}.{column}.{index}") for column in columns]

        first, core, management = port(1, 1), port(1, 7), 0x05000000
        assert [oid.rpartition(".")[2] for oid, _ in switch.walk(f"{IF}.1")] == [
            str(index) for index in (management, *(port(1, number) for number in range(1, 9)))]
        assert row(IF, core, (1, 2, 3, 4, 5, 7, 8, 22)) == [
            str(core), "Ethernet1/7", "6", "1500", "4294967295", UP, UP, ".0.0"]
        assert row(IF_X, core, (1, 14, 15, 16, 17, 18)) == [
            "Ethernet1/7", "1", "10000", "2", "1", "to the core"]
        assert row(IF_X, management, (1, 15)) == ["mgmt0", "1000"]
        assert switch.get(f"{STATUS}.{port(1, 8)}") == NOT_PRESENT
        refused = [
            (f"{ADMIN}.{first}", "i", "3", "wrongValue"),
            (f"{ADMIN}.{first}", "s", "up", "wrongType"),
            (f"{ADMIN}.77", "i", "1", "noCreation"),
            (f"{IF}.3.{first}", "i", "6", "notWritable"),
            (f"{IF_ALIAS}.{first}", "s", "x" * 65, "wrongLength"),
            (f"{NOTIFIES}.{first}", "i", "0", "wrongValue"),
            (f"{SYSTEM}.1.0", "s", "mine", "notWritable")]
        for oid, kind, value, error in refused:
            assert switch.set(oid, kind, value) == error, oid
        # Nothing of a refused SET is done.
        both = switch.snmp("snmpset", f"{IF_ALIAS}.{first}", "s", "a", f"{ADMIN}.{first}", "i", "9",
                           auth=WRITER)
        assert both.returncode != 0 and switch.get(f"{IF_ALIAS}.{first}") == ""
        for oid in (f"{IF}.23.{first}", f"{IF}.2.{first}.1", f"{IF}.2.{first + 1}"):
            assert "No Such" in switch.get(oid), oid
        assert int(switch.get(f"{OCTETS_IN}.{core}")) > 0
        assert switch.get(f"{OCTETS_IN}.{first}") == "0"
        switch.order("load", "Ethernet1/1", "2.5G", "10M", "--errors", "1000")
        time.sleep(0.05)
        shown = next(one for one in switch.order("interfaces") if one["if-index"] == first)
        assert int(switch.get(f"{OCTETS_IN}.{first}")) >= shown["in"]["octets"] > 1e6
        assert int(switch.get(f"{IF}.14.{first}")) >= shown["in"]["errors"] > 0
        assert "10000 Mbit/s" in switch.chmctl("load", "Ethernet1/1", "20G", "0").stderr


LIT, OPTIC, SPARE = port(3, 1), port(1, 1), port(1, 48)
# Words for chmctl, or an OID and a number to write; linkDown and linkUp by interface, and what is
# served then, of interfaces and of everything else.
STORY = [
    (("set", "Ethernet1/1", "receive-power", "-14"), {OPTIC: LINK_DOWN},
     {f"{STATUS}.{OPTIC}": DOWN, f"{ADMIN}.{OPTIC}": UP, f"{PHYSICAL}.1.5101": "2"}),
    (("set", "Ethernet1/1", "receive-power", "auto"), {OPTIC: LINK_UP},
     {f"{STATUS}.{OPTIC}": UP}),
    (("pull", "Ethernet1/1"), {OPTIC: LINK_DOWN},
     {f"{STATUS}.{OPTIC}": NOT_PRESENT, f"{DESCR}.25816": "No Such Instance"}),
    ((f"{ADMIN}.{OPTIC}", 2), {}, {f"{STATUS}.{OPTIC}": NOT_PRESENT}),
    (("insert", "Ethernet1/1"), {}, {f"{STATUS}.{OPTIC}": DOWN}),
    ((f"{ADMIN}.{OPTIC}", 1), {OPTIC: LINK_UP}, {f"{STATUS}.{OPTIC}": UP}),
    ((f"{ADMIN}.{SPARE}", 1), {SPARE: LINK_UP}, {f"{STATUS}.{SPARE}": UP}),
    ((f"{NOTIFIES}.{SPARE}", 2), {}, {}),
    ((f"{ADMIN}.{SPARE}", 2), {}, {f"{STATUS}.{SPARE}": DOWN}),
    ((f"{MODULE}.1.1003", 2), {LIT: LINK_DOWN},
     {f"{STATUS}.{LIT}": DOWN, f"{STATUS}.{port(3, 16)}": NOT_PRESENT, f"{MODULE}.2.1003": "3",
      f"{PHYSICAL}.1.5301": "3", f"{MAIN}.195.1.3.1.2.1003.1": "1"}),
    ((f"{MODULE}.1.1003", 1), {LIT: LINK_UP}, {f"{STATUS}.{LIT}": UP, f"{PHYSICAL}.1.5301": "2"}),
    ((f"{MODULE}.1.1003", 4), {LIT: LINK_DOWN}, {f"{STATUS}.{LIT}": DOWN, f"{MODULE}.2.1003": "2"}),
    ((f"{MODULE}.1.1003", 1), {LIT: LINK_UP}, {}),
    (("fail", "Module 3"), {LIT: LINK_DOWN}, {f"{STATUS}.{LIT}": DOWN, f"{MODULE}.2.1003": "4"}),
    (("repair", "Module 3"), {LIT: LINK_UP}, {f"{STATUS}.{LIT}": UP}),
    (("pull", "Fan tray 1"), {}, {IF_NUMBER: "181"}),
    (("pull", "Module 3"), {LIT: LINK_DOWN},
     {f"{STATUS}.{LIT}": "No Such Instance", IF_NUMBER: "165"}),
    (("insert", "Slot 3"), {LIT: LINK_UP}, {f"{STATUS}.{LIT}": UP, IF_NUMBER: "181"}),
]


def test_one_story(receiver, tmp_path):
    with Switch(quick_chassis(tmp_path), sink=receiver) as switch:
        for words, links, served in STORY:
            changed = switch.get(TABLE_LAST_CHANGE)
            if words[0][0].isdigit():
                assert switch.set(words[0], "i", words[1]) is None, words
            else:
                switch.order(*words)
            heard = {}

            def hear():
                receiver.news(0)
                heard.update({int(index): name for name, (index, _, _) in receiver.links})
                assert all((name == LINK_UP) == (status == UP)
                           for name, (_, _, status) in receiver.links)
                return links.keys() <= heard.keys()

            wait_for(hear, f"links of {words}")
            assert {index: heard[index] for index in heard if index in (OPTIC, SPARE, LIT)
                    } == links, words
            for oid, value in served.items():
                assert switch.get(oid).startswith(value), (words, oid)
            came_or_went = words in (("pull", "Module 3"), ("insert", "Slot 3"))
            assert (switch.get(TABLE_LAST_CHANGE) != changed) == came_or_went, words
        last_change = switch.get(f"{IF}.9.{OPTIC}")
        assert "0:0:00:00.00" != last_change == switch.get(f"{IF}.9.{OPTIC}")


def test_what_operators_write_outlives_a_kill(tmp_path):
    memory = tmp_path / "state of a switch.toml"
    kept = {f"{ALIAS}.1003": "uplinks", CONTACT: "me", NAME: "core-1", LOCATION: "in the cellar",
            f"{IF_ALIAS}.{OPTIC}": "to the north", f"{ADMIN}.{OPTIC}": "2",
            f"{STATUS}.{OPTIC}": "2", f"{NOTIFIES}.{LIT}": "2", f"{MODULE}.1.1007": "2",
            f"{MODULE}.2.1007": "3", f"{POWER}.1.3002": "4", f"{ALIAS}.1": "northern"}
    boots = []
    with Switch(options=["--memory", memory], lines=[
            "psysname lab", "engineID lab", "oldEngineID 0x80001f88046c6162"]) as switch:
        assert switch.get(NAME) == "lab"
        for oid, value in kept.items():
            if not oid.startswith((f"{STATUS}.", f"{MODULE}.2.")):
                assert switch.set(oid, "i" if value.isdigit() else "s", value) is None, oid
        for again in ("kill", "reload", "kill"):
            if again == "reload":
                switch.reload()
            else:
                switch.process.kill()
                switch.process.wait()
                (switch.state / "snmpd.pid").unlink()
                switch.start()
                boots.append(int(switch.get("1.3.6.1.6.3.10.2.1.2.0")))
            for oid, value in kept.items():
                assert switch.get(oid) == value, (again, oid)
        assert boots == sorted(set(boots))
        assert memory.stat().st_mode & 0o777 == 0o600
        # What is as the chassis file says is not kept.
        assert switch.set(f"{ALIAS}.1", "s", "") is None
        assert "northern" not in memory.read_text()
    before = memory.read_text()
    for chassis, more, error in (
            ("small", "", "this is the state of the chassis with serial number 'EX9100007'"),
            ("ten-slot", '\n[interface.83886080]\nadmin-status = "sideways"\n', "does not fit")):
        memory.write_text(before + more)
        with Switch(chassis, options=["--memory", memory]) as switch:
            assert len(re.findall(f"{memory}: .*{error}", switch.log())) == 1, switch.log()
            assert switch.set(f"{ALIAS}.1", "s", "not kept") is None
            assert switch.get(NAME) != "core-1"
        assert memory.read_text() == before + more
    refused = run(SOURCE / "run", "--build-dir", "/nonexistent", "--state", tmp_path / "no" / "file")
    assert refused.returncode == 2 and "no directory" in refused.stderr
