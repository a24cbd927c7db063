"""SNMP writes: what is kept, what is refused and how, and who may."""

import pytest

from lab import ALIAS, ASSET_ID, DESCR, OPERATOR, READER, SERIAL_NUM, WRITER

CHASSIS = 1


def entity(switch, index):
    return next(row for row in switch.chmctl_json("inventory") if row["index"] == index)


@pytest.mark.parametrize("column, field", [(ALIAS, "alias"), (ASSET_ID, "asset-id")])
@pytest.mark.parametrize("text", ["front row", "x" * 32, ""])
def test_a_written_text_is_read_back(switch, column, field, text):
    assert switch.set(f"{column}.{CHASSIS}", "s", "before") is None
    assert switch.set(f"{column}.{CHASSIS}", "s", text) is None
    assert switch.get(f"{column}.{CHASSIS}") == text
    assert entity(switch, CHASSIS)[field] == text


def sensor(switch):
    rows = [row["index"] for row in switch.chmctl_json("inventory")]
    return next(row for row in rows if 21589 <= row <= 25685)


@pytest.mark.parametrize("column, row, kind, value, error", [
    (ALIAS, CHASSIS, "s", "x" * 33, "wrongLength"),
    (ASSET_ID, CHASSIS, "s", "x" * 33, "wrongLength"),
    (ALIAS, CHASSIS, "i", "7", "wrongType"),
    (ASSET_ID, CHASSIS, "i", "7", "wrongType"),
    (SERIAL_NUM, CHASSIS, "s", "S1", "notWritable"),
    (DESCR, CHASSIS, "s", "new", "notWritable"),
    (ALIAS, 999999, "s", "nobody", "noSuchName"),
    (ALIAS, 25813, "s", "no transceiver", "noSuchName"),
    (ALIAS, sensor, "s", "fixed", "genError"),
])
def test_a_refused_write_says_why_and_changes_nothing(switch, column, row, kind, value, error):
    row = row(switch) if callable(row) else row
    before = switch.walk("1.3.6.1.2.1.47")
    assert switch.set(f"{column}.{row}", kind, value) == error
    assert switch.walk("1.3.6.1.2.1.47") == before


def test_who_may_read_and_write(switch):
    assert switch.set(f"{ALIAS}.{CHASSIS}", "s", "reader", auth=READER) == "noAccess"
    for text, auth in (("writer", WRITER), ("operator", OPERATOR)):
        assert switch.set(f"{ALIAS}.{CHASSIS}", "s", text, auth=auth) is None
        for reader in (READER, WRITER, OPERATOR):
            assert switch.get(f"{ALIAS}.{CHASSIS}", auth=reader) == text


@pytest.mark.parametrize("user, level, refusal", [
    ("guest", "noAuthNoPriv", "noAccess"), ("monitor", "authNoPriv", "noAccess"),
    ("monitor", "noAuthNoPriv", "authorizationError"),
    ("operator", "authNoPriv", "authorizationError")])
def test_other_users_read_at_most_and_no_terminal_message(switch, user, level, refusal):
    auth = ("-v3", "-l", level, "-u", user, "-a", "SHA", "-A", "lab-authentication")
    label, message = f"{ALIAS}.{CHASSIS}", "1.3.6.1.4.1.99999.2.9.7.0"
    assert switch.set(label, "s", user, auth=auth) == refusal
    seen = switch.snmp("snmpget", label, message, auth=auth).stdout.splitlines()
    if refusal == "noAccess":
        assert len(seen) == 2 and switch.get(label) in seen[0] and "No Such" in seen[1]
    else:
        assert not seen
