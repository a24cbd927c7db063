"""SNMP writes: what is kept, what is refused and how, and who may."""

import pytest

from lab import ALIAS, OPERATOR, SERIAL_NUM, WRITER

FRU, RF, SENSORS = (f"1.3.6.1.4.1.32473.9.{module}" for module in (117, 176, 91))
EXTENSION, ASSETS, TERMINAL = ("1.3.6.1.4.1.32473.9.195.1", "1.3.6.1.4.1.99999.9.92.1.1.1",
                               "1.3.6.1.4.1.99999.2.9")
ROOTS = ("1.3.6.1.2.1.47", f"{FRU}.1", RF, EXTENSION, ASSETS, TERMINAL, f"{SENSORS}.1.2.1.1.6")
INTERVAL, DURATION, TEXT, SEND = (f"{TERMINAL}.{number}.0" for number in (5, 6, 7, 9))


def test_a_refused_write_says_why_and_changes_nothing(switch):
    """Objects that may not be written at all are test_mibs.py's."""
    before = [switch.walk(root) for root in ROOTS]
    for oid, kind, value, error in [
            (f"{ALIAS}.1", "s", "x" * 33, "wrongLength"),
            (f"{ALIAS}.25813", "s", "no transceiver", "noSuchName"),
            (f"{ALIAS}.21589", "s", "a sensor", "genError"),
            (f"{FRU}.1.2.1.1.1.1005", "i", "2", "notWritable"),  # the active supervisor
            (f"{FRU}.1.2.1.1.1.1003", "i", "5", "wrongValue"),
            (f"{FRU}.1.1.4.1.1.1", "i", "1", "notWritable"),
            (f"{SENSORS}.1.2.1.1.6.25821.1", "i", "2", "noSuchName"),
            (f"{EXTENSION}.4.1.1.999999", "s", "x", "notWritable")]:
        assert switch.set(oid, kind, value) == error, oid
    assert [switch.walk(root) for root in ROOTS] == before


@pytest.mark.parametrize("refused, others_take_effect", [
    ((f"{FRU}.1.2.1.1.1.1005", "i", "2"), True),  # by the switch: the active supervisor
    ((f"{ALIAS}.21589", "s", "a sensor"), True),
    ((f"{ALIAS}.999999", "s", "nothing"), True),  # for want of a row
    ((f"{FRU}.1.2.1.1.1.1003", "i", "5"), False),  # for its value, type and access
    ((f"{FRU}.1.2.1.1.1.1003", "s", "1"), False),
    ((f"{SERIAL_NUM}.1", "s", "S1"), False)])
def test_a_set_of_several_is_not_undone(switch, refused, others_take_effect):
    first, last = (f"{ALIAS}.1", f"{FRU}.1.1.3.0")
    assert switch.set(first, "s", "before") is switch.set(last, "i", "1") is None
    words = first, "s", "written", *refused, last, "i", "2"
    answer = switch.snmp("snmpset", *words, auth=WRITER)
    assert f"Failed object: .{refused[0]}\n" in answer.stderr
    assert [switch.get(first), switch.get(last)] == (
        ["written", "2"] if others_take_effect else ["before", "1"])


@pytest.mark.parametrize("scalar", [f"{FRU}.1.1.3", f"{FRU}.1.3.1"])
def test_a_set_of_any_instance_writes_a_scalar_of_the_fru_module(switch, scalar):
    for value, instance in enumerate(("", ".7", ".0.5", ".0")):
        value = str(value % 2 + 1)
        assert switch.set(scalar + instance, "i", value) is None
        assert switch.get(f"{scalar}.0") == value
        assert instance == ".0" or "No Such" in switch.get(scalar + instance)
    assert switch.set(f"{scalar}.0", "i", "1") is None


def test_a_message_of_one_request_appears_once(switch):
    words = (TEXT, "s", "at noon", DURATION, "i", "30", INTERVAL, "i", "5", SEND, "i", "2")
    assert switch.snmp("snmpset", *words, auth=WRITER).returncode == 0
    assert switch.set(TEXT, "s", "the next one") is None
    message, = switch.order("terminals")
    assert {**message, "time": 0} == {"text": "at noon", "duration": 30, "interval": 5, "time": 0}
    assert switch.get(TEXT) == "the next one"


@pytest.mark.parametrize("user, level, refusal", [
    ("public", None, "noAccess"), ("private", None, None),
    ("operator", "authPriv", None), ("operator", "authNoPriv", "authorizationError"),
    ("monitor", "authNoPriv", "noAccess"), ("monitor", "noAuthNoPriv", "authorizationError"),
    ("guest", "noAuthNoPriv", "noAccess")])
def test_who_may_read_and_write(switch, user, level, refusal):
    auth = (*OPERATOR, "-l", level, "-u", user) if level else ("-v2c", "-c", user)
    label = f"{ALIAS}.1"
    assert switch.set(label, "s", f"by {user}", auth=auth) == refusal
    seen = switch.snmp("snmpget", label, TEXT, auth=auth).stdout.splitlines()
    if refusal == "authorizationError":
        assert not seen
    else:
        assert switch.get(label) in seen[0] and (f"by {user}" in seen[0]) == (refusal is None)
        # The message to terminals is not for everybody.
        assert ("No Such" in seen[1]) == (user in ("monitor", "guest"))
