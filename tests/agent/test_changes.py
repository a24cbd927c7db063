"""What happens to the switch, as its tables and its notifications tell of it."""

import re
import time
from unittest.mock import ANY

import pytest

from lab import (
    ALIAS, DESCR, ENT_CONFIG_CHANGE, ENT_PHYSICAL_ENTRY, LAST_CHANGE_TIME, UPTIME, Switch, quick_chassis,
    run)

MAIN = "1.3.6.1.4.1.32473.9"
POWER, MODULE, FAN, PHYSICAL = (
    f"{MAIN}.117.1.{table}.1" for table in ("1.2", "2.1", "4.1", "5.1"))
ENABLE, LED = f"{MAIN}.117.1.3.1.0", f"{MAIN}.195.1.3.1.2"
SENSORS, CROSSED = f"{MAIN}.91.1", f".{MAIN}.91.2.0.1"
RF, RUNNING_CONFIG_OPERATION = f"{MAIN}.176", f"{MAIN}.198.1.1.6.0"
ACTIVE, STANDBY, ADMIN_ACTION = f"{RF}.1.1.1.0", f"{RF}.1.1.3.0", f"{RF}.1.2.11.0"
MODULE_STATUS, POWER_STATUS, INSERTED, REMOVED, FAN_STATUS = (
    f".{MAIN}.117.2.0.{number}" for number in (1, 2, 3, 4, 6))
UNIT_STATUS, UNIT_STATUS_VALUE = (f".1.3.6.1.4.1.99999.9.116.{end}" for end in ("0.1", "1.1.0"))
# Runs a command that sees a /mnt of its own, empty and mounted as the next word says.
OWN_MNT = ("unshare", "--mount", "sh", "-c", 'mount -t tmpfs -o "$0" none /mnt && exec "$@"')


def physical(column, index, value):
    return f".{ENT_PHYSICAL_ENTRY}.{column}.{index}", value


def power(status):
    return POWER_STATUS, [(f".{POWER}.2.1003", status), (f".{POWER}.1.1003", "1")]


def unit(status):
    return UNIT_STATUS, [(UNIT_STATUS_VALUE, status)]


def module(status):
    return MODULE_STATUS, [(f".{MODULE}.2.1003", status), (f".{MODULE}.4.1003", ANY)]


def switchover(slot, reason):
    return f".{RF}.2.0.1", [(f".{ACTIVE}", slot), (f".{UPTIME}", ANY), (f".{RF}.1.1.8.0", reason)]


CHANGED = (ENT_CONFIG_CHANGE, [])
SLOT_3 = [physical(4, 1003, "103"), physical(2, 1003, "Line card, 16 x 40G"),
          physical(7, 103, "Slot 3")]
PULLED = [power("3"), unit("3"), module("3")]  # what is left is well
OFF = [power("3"), unit("4"), module("3")]
ON = [power("2"), unit("4"), module("5"), unit("3"), module("2")]
FIRST, SECOND = ({ACTIVE: slots[0], STANDBY: slots[1], f"{LED}.1005.2": leds[0],
                  f"{LED}.1006.2": leds[1]} for slots, leds in (("56", "23"), ("65", "32")))
# Words for chmctl, or an OID and the number or text to write; the notifications that follow; and
# what is served then.
STORY = [
    ((f"{ALIAS}.1003", "spare"), [CHANGED], {f"{ALIAS}.1003": "spare"}),
    (("pull", "1003"), PULLED + [(REMOVED, SLOT_3), CHANGED],
     {f"{column}.1003": "No Such Instance" for column in (DESCR, f"{PHYSICAL}.1", f"{MODULE}.2")}),
    (("insert", "Slot 3"), [(INSERTED, SLOT_3), CHANGED] + ON, {f"{ALIAS}.1003": "spare"}),
    ((f"{MODULE}.1.1003", 2), OFF, {
        f"{MODULE}.2.1003": "3", f"{PHYSICAL}.1.1003": "3", f"{POWER}.2.1003": "3",
        f"{MODULE}.6.1003": "switched off by the administrator", f"{MODULE}.8.1003": "0"}),
    ((f"{MODULE}.1.1003", 1), ON, {
        f"{MODULE}.2.1003": "2", f"{PHYSICAL}.1.1003": "2", f"{POWER}.2.1003": "2"}),
    (("fail", "Fan 2/1"), [unit("3"), (FAN_STATUS, [(f".{FAN}.1.3002", "4")])],
     {f"{FAN}.1.3002": "4"}),
    (("set", "Ethernet1/1", "temperature", "71"),
     [(CROSSED, [(f".{SENSORS}.2.1.1.4.25821.2", "70000"),
                 (f".{SENSORS}.1.1.1.4.25821", "71000")])], {}),
    (("pull", "Ethernet1/1"), [CHANGED], {f"{DESCR}.25816": "No Such Instance"}),
    (("set", "1", "supervisor-state", "auto"), [], FIRST | {RUNNING_CONFIG_OPERATION: "1"}),
    (("switchover", "--reason", "5"), [switchover("6", "7")], SECOND),
    ((ADMIN_ACTION, 1), [switchover("5", "3")], FIRST | {ADMIN_ACTION: "1"}),
    ((ENABLE, 2), [], {ENABLE: "2"}),
    # One supervisor alone has nobody to hand over to.
    (("pull", "1006"), [CHANGED], {RUNNING_CONFIG_OPERATION: "5"}),
    (("set", "1", "supervisor-state", "2"), [], {RUNNING_CONFIG_OPERATION: "1", STANDBY: "0"}),
    ((ENABLE, 1), [], {}),
    (("announce-change",), [CHANGED], {}),
]


def test_changes_are_served_and_told(receiver, tmp_path):
    with Switch(quick_chassis(tmp_path), sink=receiver) as switch:
        for words, told, served in STORY:
            dated = int(switch.get(LAST_CHANGE_TIME))
            time.sleep(0.02)
            if words[0][0].isdigit():
                kind = "s" if isinstance(words[1], str) else "i"
                assert switch.set(words[0], kind, words[1]) is None, words
            else:
                switch.order(*words)
            assert receiver.news(len(told)) == told, words
            assert (int(switch.get(LAST_CHANGE_TIME)) > dated) == (CHANGED in told)
            for oid, value in served.items():
                assert switch.get(oid).startswith(value), oid
        assert switch.set(ADMIN_ACTION, "i", "1") == "genError"
        before = switch.walk(f"{MAIN}.117")
        switch.reload()
        receiver.news(0)
        assert switch.walk(f"{MAIN}.117") == before
        switch.order("announce-change")
        assert CHANGED in receiver.news(1)


@pytest.mark.skipif(run(*OWN_MNT, "rw", "true").returncode != 0, reason="needs the right to mount")
def test_the_marker_adds_the_unit_status_to_power_events(receiver):
    with Switch(sink=receiver, under=(*OWN_MNT, "rw")) as switch:
        switch.order("marker-file", "on")
        assert switch.order("status")["marker"]
        switch.order("pull", "1003")
        assert receiver.news(6) == [unit("3")] + PULLED + [(REMOVED, SLOT_3), CHANGED]
        # Three for each unit status of a healthy switch.
        assert switch.order("status")["heartbeats"] == 6
        switch.order("marker-file", "off")
        assert not switch.order("status")["marker"]
        switch.order("insert", "Slot 3")
        assert receiver.news(5)[2:] == ON[:3]
    with Switch(under=(*OWN_MNT, "ro")) as switch:
        assert re.fullmatch("chmctl: .*Read-only.*\n", switch.chmctl("marker-file", "on").stderr)
