"""Redundancy, asset and extension data, and the terminal message in a real agent."""

import pytest

from lab import SOURCE, WRITER, Switch, wait_for

RF = "1.3.6.1.4.1.32473.9.176"
ACTIVE, STANDBY = f"{RF}.1.1.1.0", f"{RF}.1.1.3.0"
ADMIN_ACTION = f"{RF}.1.2.11.0"
RUNNING_CONFIG_OPERATION = "1.3.6.1.4.1.32473.9.198.1.1.6.0"
SWITCHOVER, UP_TIME = f".{RF}.2.0.1", ".1.3.6.1.2.1.1.3.0"
LED = "1.3.6.1.4.1.32473.9.195.1.3.1.2"
SECOND_SERIAL_NUM = "1.3.6.1.4.1.32473.9.195.1.4.1.1"
CLEI_CODE = "1.3.6.1.4.1.99999.9.92.1.1.1.11"
TERMINAL = "1.3.6.1.4.1.99999.2.9"
INTERVAL, DURATION, TEXT, SEND = (f"{TERMINAL}.{number}.0" for number in (5, 6, 7, 9))


def roles(switch):
    """What all of the switch says of who is in charge."""
    record = switch.get(ACTIVE), switch.get(STANDBY)
    active = next(unit["index"] for unit in switch.chmctl_json("units") if unit["active"])
    leds = {led: switch.get(f"{LED}.{led}") for led in ("1005.2", "1006.2")}
    return record, active, leds


FIRST = (("5", "6"), 1005, {"1005.2": "2", "1006.2": "3"})
SECOND = (("6", "5"), 1006, {"1005.2": "3", "1006.2": "2"})


def test_a_switchover_swaps_the_roles_and_is_notified(trap_receiver):
    with Switch(lines=[f"trap2sink 127.0.0.1:{trap_receiver.port} public"]) as switch:
        assert roles(switch) == FIRST
        assert switch.get(RUNNING_CONFIG_OPERATION) == "1"

        assert switch.chmctl("switchover", "--reason", "5").returncode == 0
        assert roles(switch) == SECOND
        wait_for(lambda: trap_receiver.received(SWITCHOVER), "notification")
        assert switch.set(ADMIN_ACTION, "i", "1") is None
        assert roles(switch) == FIRST
        assert switch.get(ADMIN_ACTION) == "1"
        wait_for(lambda: len(trap_receiver.received(SWITCHOVER)) == 2, "second notification")

        lines = [line for line in trap_receiver.log().splitlines() if SWITCHOVER in line]
        for line, slot, reason in zip(lines, "65", "73"):
            names, values = zip(*(pair.split(" ") for pair in line.partition("|")[2].split("\t")))
            assert names == (UP_TIME, ".1.3.6.1.6.3.1.1.4.1.0",  # the agent's own two, then ours
                             f".{ACTIVE}", UP_TIME, f".{RF}.1.1.8.0")
            assert (values[2], values[4]) == (slot, reason)

        # One supervisor alone has nobody to hand over to.
        assert switch.chmctl("pull", "1006").returncode == 0
        assert switch.get(RUNNING_CONFIG_OPERATION) == "5"
        assert switch.set(ADMIN_ACTION, "i", "1") == "genError"
        assert switch.get(ADMIN_ACTION) == "1"
        assert switch.chmctl("supervisor-state", "2").returncode == 0
        assert switch.get(RUNNING_CONFIG_OPERATION) == "1"


@pytest.mark.parametrize("oid, kind, value, error", [
    (ADMIN_ACTION, "i", "4", "wrongValue"),
    (ADMIN_ACTION, "s", "1", "wrongType"),
    (ACTIVE, "i", "6", "notWritable"),
    (DURATION, "i", "0", "wrongValue"),
    (TEXT, "s", "x" * 257, "wrongLength"),
    (f"{SECOND_SERIAL_NUM}.1", "s", "x" * 33, "wrongLength"),
    (f"{SECOND_SERIAL_NUM}.1", "i", "1", "wrongType"),
    (f"{SECOND_SERIAL_NUM}.999999", "s", "x", "notWritable"),
    (f"{CLEI_CODE}.1", "s", "x", "notWritable"),
    (f"{LED}.1.1", "i", "1", "notWritable"),
])
def test_a_refused_write_changes_nothing(switch, oid, kind, value, error):
    roots = [RF, TERMINAL, SECOND_SERIAL_NUM, CLEI_CODE, LED]
    before = [switch.walk(root) for root in roots]
    assert switch.set(oid, kind, value) == error
    assert [switch.walk(root) for root in roots] == before


def test_a_message_of_one_request_appears_once(switch):
    words = (TEXT, "s", "maintenance at noon", DURATION, "i", "30", INTERVAL, "i", "5",
             SEND, "i", "2")
    assert switch.snmp("snmpset", *words, auth=WRITER).returncode == 0
    assert switch.set(TEXT, "s", "the next one") is None
    messages = [{key: message[key] for key in ("text", "duration", "interval")}
                for message in switch.chmctl_json("terminals")]
    assert messages == [{"text": "maintenance at noon", "duration": 30, "interval": 5}]
    assert switch.get(TEXT) == "the next one"


def test_every_entity_has_its_asset_and_second_serial_number(switch):
    assert switch.set(f"{SECOND_SERIAL_NUM}.1003", "s", "x" * 32) is None
    # The walk of a table that has no transceivers' sensors ends where those begin.
    inventory = [row for row in switch.chmctl_json("inventory") if row["index"] < 25813]
    for column, field in ((CLEI_CODE, "clei-code"), (SECOND_SERIAL_NUM, "second-serial")):
        for tool in ("snmpwalk", "snmpbulkwalk"):
            assert switch.walk(column, tool) == [
                (f".{column}.{entity['index']}", entity[field]) for entity in inventory]


def test_leds_follow_their_units_unless_set_by_hand(switch):
    shown = [(f".{LED}.{led['index']}.{led['led']}", str(led["value"]))
             for led in switch.chmctl_json("leds")]
    assert switch.walk(LED) == shown
    assert switch.chmctl("fail", "2001").returncode == 0
    assert (switch.get(f"{LED}.2001.1"), switch.get(f"{LED}.1.1")) == ("4", "4")
    assert switch.chmctl("led", "2001", "1", "amber").returncode == 0
    assert switch.get(f"{LED}.2001.1") == "3"
    for words in (("led", "2001", "1", "auto"), ("repair", "2001")):
        assert switch.chmctl(*words).returncode == 0
    assert switch.walk(LED) == shown
    refused = switch.chmctl("led", "2001", "9", "red")
    assert (refused.returncode, refused.stderr) == (1, "chmctl: Power supply 1 has no LED 9\n")


def test_one_walk_serves_every_object_in_order_and_ends(switch):
    """Every object with an instance, by the list of those that have none."""
    objects = {}
    for line in (SOURCE / "scripts/served-objects").read_text().splitlines():
        if line and not line.startswith("#"):
            _, name, oid, *empty = line.split()
            objects[oid] = (name, not empty)
    for root in ("1.3.6.1.2.1.47", "1.3.6.1.4.1"):
        oids = [oid[1:] for oid, _ in switch.walk(root, options=("-Cr50",))]
        numbers = [[int(part) for part in oid.split(".")] for oid in oids]
        assert all(one < other for one, other in zip(numbers, numbers[1:]))
        for oid, (name, has_instances) in objects.items():
            if oid.startswith(root):
                served = any(instance.startswith(f"{oid}.") for instance in oids)
                assert served == has_instances, name
