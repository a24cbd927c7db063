"""The tables of entities and sensors: rows, order, where walks end, and what chmctl shows."""

import pytest

from lab import DESCR, ENT_PHYSICAL_ENTRY, NAME, Switch

MAIN, ASSET = "1.3.6.1.4.1.32473.9", "1.3.6.1.4.1.99999.9.92.1.1.1.11"
VALUE, MEASURED, THRESHOLD = (
    f"{MAIN}.91.1.{column}" for column in ("1.1.1.4", "1.1.1.8", "2.1.1.4"))
FIRST, LAST = 25813, 287957  # where the rows of the transceivers' sensors may be
# In the order of their indexes, with the thousandths of the unit that chmctl shows.
QUANTITIES = {"voltage": ("(volt)", 1000), "bias-current": ("(ampere)", 1),
              "temperature": ("(celsius)", 1000), "receive-power": ("(Rx-dBm)", 1000),
              "transmit-power": ("(Tx-dBm)", 1000)}


@pytest.fixture(scope="module", params=["ten-slot", "small", "eighteen-slot"])
def switch(request):
    with Switch(request.param) as switch:
        switch.name, ports = request.param, with_readings(switch)
        for transceiver in ports[::len(ports) // 3]:  # before the library keeps what it reads
            for quantity, value in zip(QUANTITIES, ("3.301", "37", "41.5", "-2.676", "-1.871")):
                switch.order("set", transceiver["port"], quantity, value)
        yield switch


def with_readings(switch):
    return [one for one in switch.order("transceivers") if one["readings"]]


def row(oid):
    return int(oid.rpartition(".")[2])


def column(oid, rows):
    """What a walk of a column shows of rows that are (index, value)."""
    return [(f".{oid}.{index}", str(value)) for index, value in rows]


def test_the_physical_table_has_entities_and_transceivers_sensors(switch):
    inventory = switch.order("inventory")
    names = {entity["index"]: entity["name"] for entity in inventory} | {
        reading["index"]: transceiver["port"] + QUANTITIES[reading["quantity"]][0]
        for transceiver in switch.order("transceivers") for reading in transceiver["readings"]}
    table = switch.walk(ENT_PHYSICAL_ENTRY[:-2])
    assert [oid for oid, _ in table] == [
        f".{ENT_PHYSICAL_ENTRY}.{number}.{index}" for number in range(2, 17)
        for index in sorted(names)]
    assert switch.walk(NAME) == column(NAME, sorted(names.items()))
    assert min(names) < 21589 and any(FIRST <= index <= LAST for index in names)
    served = dict(table)
    for entity in inventory:
        descr, vendor_type, parent = (
            served[f".{ENT_PHYSICAL_ENTRY}.{number}.{entity['index']}"] for number in (2, 3, 4))
        assert (descr, parent) == (entity["description"], str(entity["parent"]))
        assert vendor_type.startswith(".1.3.6.1.4.1.32473.12.3.1.") and vendor_type.count(".") == 12
    # Container, class and position, which no two have in common.
    assert len({tuple(served[f".{ENT_PHYSICAL_ENTRY}.{number}.{entity['index']}"]
                      for number in (4, 5, 6)) for entity in inventory}) == len(inventory)
    assert switch.order("units", "--failed") == []
    if switch.name != "eighteen-slot":  # where that takes 100,000 requests
        assert switch.walk(ENT_PHYSICAL_ENTRY[:-2], tool="snmpwalk") == table

    for oid in (f"{DESCR}.999999", f"{DESCR}.1.2", f"{DESCR}.25813", f"{ENT_PHYSICAL_ENTRY}.1.1"):
        assert "No Such" in switch.get(oid), oid
    # The sub-identifiers after the index of a GETNEXT do not count.
    after = switch.snmp("snmpgetnext", f"{NAME}.1.7").stdout
    assert after == switch.snmp("snmpgetnext", f"{NAME}.1").stdout
    # A column without the transceivers' sensors has all other rows.
    assert switch.walk(ASSET) == column(ASSET, [
        (entity["index"], entity["clei-code"]) for entity in inventory])
    # The empty tables are stepped over, to the one scalar behind them.
    assert switch.snmp("snmpgetnext", table[-1][0]).stdout.startswith(".1.3.6.1.2.1.47.1.4.1.0 ")


def test_sensor_tables_list_the_same_sensors(switch):
    readings = [(reading, QUANTITIES[quantity][1]) for transceiver in with_readings(switch)
                for quantity in QUANTITIES for reading in transceiver["readings"]
                if reading["quantity"] == quantity]
    assert len(readings) == {"ten-slot": 405, "small": 15, "eighteen-slot": 5760}[switch.name]
    listed = [sensor["index"] for sensor in switch.order("sensors")] + [
        reading["index"] for reading, _ in readings]
    assert listed == sorted(set(listed))
    served = switch.walk(VALUE)
    assert [row(oid) for oid, _ in served] == listed
    assert switch.walk(MEASURED) == column(MEASURED, zip(listed, listed))
    held = column(VALUE, [(reading["index"], round(reading["value"] * scale))
                          for reading, scale in readings if reading["by-hand"]])
    assert len(held) >= 15 and set(held) <= set(served)
    order = ("high-alarm", "high-warning", "low-alarm", "low-warning")
    assert [(oid, value) for oid, value in switch.walk(THRESHOLD)
            if int(oid.split(".")[-2]) >= FIRST] == column(THRESHOLD, [
                (f"{reading['index']}.{number}", round(limit["value"] * scale))
                for reading, scale in readings
                for number, limit in enumerate(sorted(
                    reading["thresholds"], key=lambda one: order.index(one["limit"])), 1)])
    assert {one["reads"] for one in with_readings(switch)} == {1}
