"""Sensors of the chassis and of transceivers in a real agent: the three tables list the same ones
and tell what chmctl shows, and a crossed threshold is told once."""

import pytest

from lab import DESCR, ENT_PHYSICAL_ENTRY, NAME, Switch, run

SENSORS = "1.3.6.1.4.1.32473.9.91"
VALUE, UPDATE_RATE, MEASURED = (f"{SENSORS}.1.1.1.1.{column}" for column in (4, 7, 8))
THRESHOLD, ENABLE = (f"{SENSORS}.1.2.1.1.{column}" for column in (4, 6))
CROSSED = f".{SENSORS}.2.0.1"
# In the order of their indexes, with the thousandths of the unit that chmctl shows.
QUANTITIES = {"voltage": ("(volt)", 1000), "bias-current": ("(ampere)", 1),
              "temperature": ("(celsius)", 1000), "receive-power": ("(Rx-dBm)", 1000),
              "transmit-power": ("(Tx-dBm)", 1000)}
LIMITS = ("high-alarm", "high-warning", "low-alarm", "low-warning")
FIRST, LAST = 25813, 287957


def indexes(pairs):
    return [int(oid.rpartition(".")[2]) for oid, _ in pairs]


def hold(switch, port, values):
    for quantity, value in zip(QUANTITIES, values):
        done = switch.chmctl("transceiver-reading", port, quantity, value)
        assert done.returncode == 0, done.stderr


def walk_of(switch, transceivers):
    """(name, index, value, thresholds) of every reading that walks have to list, in order."""
    for transceiver in transceivers:
        readings = {reading["quantity"]: reading for reading in transceiver["readings"]}
        for quantity, (suffix, scale) in QUANTITIES.items():
            reading = readings[quantity]
            limits = {limit["limit"]: limit["value"] for limit in reading["thresholds"]}
            yield (transceiver["port"] + suffix, reading["index"],
                   str(round(reading["value"] * scale)),
                   [str(round(limits[limit] * scale)) for limit in LIMITS])


@pytest.mark.parametrize("chassis, sensors", [("ten-slot", 405), ("small", 15),
                                              ("eighteen-slot", 5760)])
def test_the_tables_list_the_same_sensors(chassis, sensors):
    held = ("3.301", "37", "41.5", "-2.676", "-1.871")
    with Switch(chassis) as switch:
        told = [t for t in switch.chmctl_json("transceivers") if t["readings"]]
        for transceiver in told[::len(told) // 3]:
            hold(switch, transceiver["port"], held)
        told = [t for t in switch.chmctl_json("transceivers") if t["readings"]]
        expected = list(walk_of(switch, told))
        own = [sensor["index"] for sensor in switch.chmctl_json("sensors")]
        listed = [index for _, index, _, _ in expected]
        assert len(listed) == sensors and listed == sorted(set(listed))

        names = switch.walk(NAME)
        assert indexes(names) == switch.physical_rows()
        assert [name for (_, name), row in zip(names, indexes(names))
                if FIRST <= row <= LAST] == [name for name, _, _, _ in expected]
        values = switch.walk(VALUE)
        assert indexes(values) == own + listed == indexes(switch.walk(UPDATE_RATE, "snmpwalk"))
        assert [value for _, value in switch.walk(MEASURED)] == [str(i) for i in own + listed]
        served = {int(oid.rpartition(".")[2]): value for oid, value in values}
        by_hand = {r["index"] for t in told for r in t["readings"] if r["by-hand"]}
        assert len(by_hand) >= 15
        for _, index, value, _ in expected:
            if index in by_hand:
                assert served[index] == value

        thresholds = [(oid, value) for oid, value in switch.walk(THRESHOLD)
                      if FIRST <= int(oid.split(".")[-2]) <= LAST]
        assert thresholds == [
            (f".{THRESHOLD}.{index}.{number}", value)
            for _, index, _, limits in expected for number, value in enumerate(limits, 1)]
        assert {t["reads"] for t in switch.chmctl_json("transceivers") if t["readings"]} == {1}


def test_a_crossed_threshold_is_told_once(watched):
    switch, news = watched
    # By chmctl, whose second reading is further beyond the same threshold.
    for port, verb, beyond in (("Ethernet1/1", "transceiver-reading", ("76", "77")),
                               ("Chassis inlet", "reading", ("36", "37"))):
        words = (port, "temperature") if verb == "transceiver-reading" else (port,)
        for value in beyond:
            assert switch.chmctl(verb, *words, value).returncode == 0
    transceiver = [(f".{THRESHOLD}.25821.{number}", value)
                   for number, value in ((1, "75000"), (2, "70000"))]
    crossings = news(3)
    assert [name for name, _ in crossings] == [CROSSED] * 3
    assert sorted(bindings[0] for _, bindings in crossings[:2]) == transceiver
    assert all(bindings[1] == (f".{VALUE}.25821", "76000") for _, bindings in crossings[:2])
    assert crossings[2][1][0][0] == f".{THRESHOLD}.21589.1"

    assert switch.set(f"{ENABLE}.21589.2", "i", "2") is None
    assert switch.get(f"{ENABLE}.21589.2") == "2"
    assert switch.chmctl("reading", "Chassis inlet", "50").returncode == 0
    assert news(0) == []
    assert switch.set(f"{ENABLE}.25821.1", "i", "2") == "noSuchName"
    assert switch.set(f"{ENABLE}.21589.2", "i", "3") == "wrongValue"


def test_a_transceiver_comes_and_goes(watched):
    switch, news = watched
    row = f"{DESCR}.25816"
    assert switch.get(row) == "Ethernet1/1(volt)"
    assert switch.chmctl("unplug", "Ethernet1/1").returncode == 0
    assert "No Such" in switch.get(row)
    assert indexes([switch.walk(f"{ENT_PHYSICAL_ENTRY}.7")[77]]) == [25832]
    assert switch.chmctl("plug", "Ethernet1/1").returncode == 0
    assert switch.get(row) == "Ethernet1/1(volt)"
    assert len(news(2)) == 2
