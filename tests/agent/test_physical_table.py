"""The physical table, whole: rows, columns, order, and where the walk ends."""

import pytest

from lab import DESCR, ENT_PHYSICAL_ENTRY, NAME, Switch


@pytest.fixture(scope="module", params=["ten-slot", "small", "eighteen-slot"])
def walked(request):
    with Switch(request.param) as switch:
        yield switch, switch.walk("1.3.6.1.2.1.47.1.1.1"), switch.chmctl_json("inventory")


def test_every_column_has_one_value_per_row_in_index_order(walked):
    switch, values, _ = walked
    rows = switch.physical_rows()
    assert len(rows) > 10
    expected = [f".{ENT_PHYSICAL_ENTRY}.{column}.{row}" for column in range(2, 17) for row in rows]
    assert [oid for oid, _ in values] == expected


def test_columns_hold_what_the_inventory_says(walked):
    _, values, inventory = walked
    served = dict(values)
    for entity in inventory:
        descr, vendor_type, contained_in, name = (
            served[f".{ENT_PHYSICAL_ENTRY}.{column}.{entity['index']}"] for column in (2, 3, 4, 7))
        assert (descr, name) == (entity["description"], entity["name"])
        assert contained_in == str(entity["parent"])
        assert vendor_type.startswith(".1.3.6.1.4.1.32473.12.3.1.") and vendor_type.count(".") == 12


def test_rows_lie_below_within_and_above_the_transceiver_range(walked):
    _, values, _ = walked
    rows = [int(oid.rpartition(".")[2]) for oid, _ in values if oid.startswith(f".{DESCR}.")]
    assert min(rows) < 21589 and any(21589 <= row <= 25685 for row in rows) and max(rows) > 287958
    assert any(25813 <= row <= 287957 for row in rows)


def test_getnext_and_getbulk_walks_agree(walked):
    switch, values, _ = walked
    assert switch.walk("1.3.6.1.2.1.47.1.1.1", tool="snmpwalk") == values


def test_single_requests(walked):
    switch, values, _ = walked
    assert switch.get(f"{DESCR}.1") == values[0][1]
    for oid in (f"{DESCR}.999999", f"{DESCR}.1.2", f"{DESCR}.25813", f"{ENT_PHYSICAL_ENTRY}.1.1"):
        assert "No Such" in switch.get(oid), oid
    # The sub-identifiers after the index of a GETNEXT do not count.
    after = switch.snmp("snmpgetnext", f"{NAME}.1.7").stdout
    assert after == switch.snmp("snmpgetnext", f"{NAME}.1").stdout
    # The empty tables are stepped over, to the one scalar behind them.
    assert switch.snmp("snmpgetnext", values[-1][0]).stdout.startswith(".1.3.6.1.2.1.47.1.4.1.0 ")
