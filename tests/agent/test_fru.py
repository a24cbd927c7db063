"""Modules, power and fans in a real agent: tables, writes and notifications that agree."""

import pytest

from lab import ALIAS, ENT_CONFIG_CHANGE, Switch, notifications, run, wait_for, watch

FRU = "1.3.6.1.4.1.32473.9.117"
GROUP, POWER, VALUES, MODULE, FAN, PHYSICAL = (
    f"{FRU}.1.{table}.1" for table in ("1.1", "1.2", "1.4", "2.1", "4.1", "5.1"))
MAX_IN_LINE_POWER, ENABLE = f"{FRU}.1.1.3.0", f"{FRU}.1.3.1.0"
(MODULE_STATUS, POWER_STATUS, INSERTED, REMOVED, UNRECOGNIZED, FAN_STATUS, OUTPUT) = (
    f".{FRU}.2.0.{number}" for number in range(1, 8))
UNIT_STATUS = ".1.3.6.1.4.1.99999.9.116.0.1"
UNIT_STATUS_VALUE = ".1.3.6.1.4.1.99999.9.116.1.1.0"
ENT_PHYSICAL = ".1.3.6.1.2.1.47.1.1.1.1"
MODULE_3, SLOT_3 = 1003, 103
# Runs a command that sees a /mnt of its own, empty and mounted as the next word says.
OWN_MNT = ("unshare", "--mount", "sh", "-c", 'mount -t tmpfs -o "$0" none /mnt && exec "$@"')


def names(news):
    return [name for name, _ in news]


def test_a_walk_serves_every_column_of_every_row(switch):
    units = switch.chmctl_json("units")
    rows = {
        GROUP: ["1"],
        POWER: [str(unit["index"]) for unit in units if unit["type"] != "power-supply"],
        VALUES: [],
        MODULE: [str(unit["index"]) for unit in units if unit["type"] == "module"],
        FAN: [str(unit["index"]) for unit in units if unit["type"] == "fan-tray"],
        # The walk of a table that has no transceivers' sensors ends where those begin.
        PHYSICAL: [str(entity["index"]) for entity in switch.chmctl_json("inventory")
                   if entity["index"] < 25813],
    }
    columns = {GROUP: (1, 2, 3, 4), POWER: (1, 2, 3), MODULE: (1, 2, 3, 4, 5, 6, 8), FAN: (1,),
               PHYSICAL: (1,)}
    for tool in ("snmpwalk", "snmpbulkwalk"):
        expected = {f".{table}.{column}.{row}" for table, numbers in columns.items()
                    for column in numbers for row in rows[table]}
        expected |= {f".{MAX_IN_LINE_POWER}", f".{ENABLE}"}
        assert {oid for oid, _ in switch.walk(FRU, tool)} == expected
    assert all(value == "2" for _, value in switch.walk(f"{PHYSICAL}.1"))
    assert switch.get(f"{PHYSICAL}.1.301001") == "2"


def test_pulling_and_inserting_a_module(watched):
    switch, news = watched
    assert switch.set(f"{ALIAS}.{MODULE_3}", "s", "spare") is None
    assert names(news(1)) == [ENT_CONFIG_CHANGE]
    before = switch.walk("1.3.6.1.2.1.47.1.1")
    parts = ([row for row in switch.chmctl_json("inventory") if row["parent"] == MODULE_3]
             + [reading for transceiver in switch.chmctl_json("transceivers")
                if transceiver["port"].startswith("Ethernet3/")
                for reading in transceiver["readings"]])

    assert switch.chmctl("pull", str(MODULE_3)).returncode == 0
    for column in (f"{ENT_PHYSICAL[1:]}.2", f"{PHYSICAL}.1", f"{MODULE}.2", f"{POWER}.2"):
        assert f".{column}.{MODULE_3}" not in dict(switch.walk(column))
    pulled = news(5)
    assert names(pulled) == [POWER_STATUS, UNIT_STATUS, MODULE_STATUS, REMOVED, ENT_CONFIG_CHANGE]
    assert pulled[0][1] == [(f".{POWER}.2.{MODULE_3}", "3"), (f".{POWER}.1.{MODULE_3}", "1")]
    assert pulled[1][1] == [(UNIT_STATUS_VALUE, "3")]  # what is left is well
    assert [oid for oid, _ in pulled[2][1]] == [f".{MODULE}.2.{MODULE_3}",
                                                f".{MODULE}.4.{MODULE_3}"]
    removed = [(f"{ENT_PHYSICAL}.4.{MODULE_3}", str(SLOT_3)),
               (f"{ENT_PHYSICAL}.2.{MODULE_3}", "Line card, 16 x 40G"),
               (f"{ENT_PHYSICAL}.7.{SLOT_3}", "Slot 3")]
    assert pulled[3][1] == removed
    assert len(parts) > 32
    assert len(switch.walk("1.3.6.1.2.1.47.1.1")) == len(before) - 15 * (len(parts) + 1)

    assert switch.chmctl("insert", "Slot 3").returncode == 0
    assert switch.get(f"{MODULE}.2.{MODULE_3}") == "5"
    inserted = news(5)
    assert names(inserted) == [INSERTED, ENT_CONFIG_CHANGE, POWER_STATUS, UNIT_STATUS,
                               MODULE_STATUS]
    assert inserted[0][1] == removed
    assert inserted[3][1] == [(UNIT_STATUS_VALUE, "4")]  # it is still starting
    started = news(2)
    assert names(started) == [UNIT_STATUS, MODULE_STATUS]
    assert started[0][1] == [(UNIT_STATUS_VALUE, "3")]
    assert started[1][1][0] == (f".{MODULE}.2.{MODULE_3}", "2")
    assert switch.walk("1.3.6.1.2.1.47.1.1") == before  # the label too


def test_switching_a_module_off_and_on_by_snmp(watched):
    switch, news = watched
    status = [f"{MODULE}.2.{MODULE_3}", f"{PHYSICAL}.1.{MODULE_3}", f"{POWER}.2.{MODULE_3}"]
    assert switch.set(f"{MODULE}.1.{MODULE_3}", "i", "2") is None
    assert [switch.get(oid) for oid in status] == ["3", "3", "3"]
    assert switch.get(f"{MODULE}.6.{MODULE_3}") == "switched off by the administrator"
    assert switch.get(f"{MODULE}.8.{MODULE_3}") == "0"
    assert names(news(3)) == [POWER_STATUS, UNIT_STATUS, MODULE_STATUS]
    assert switch.set(f"{MODULE}.1.{MODULE_3}", "i", "1") is None
    wait_for(lambda: switch.get(status[0]) == "2", "module in service")
    assert [switch.get(oid) for oid in status] == ["2", "2", "2"]
    uptime, changed = (int(switch.get(oid)) for oid in
                       ("1.3.6.1.2.1.1.3.0", f"{MODULE}.4.{MODULE_3}"))
    assert 0 < changed <= uptime < changed + 500


def test_supplies_and_fans_that_fail(watched):
    switch, news = watched
    name = [(f"{ENT_PHYSICAL}.7.2001", "Power supply 1"), (f"{ENT_PHYSICAL}.13.2001", "QX-PS3000")]
    output = f".{FRU}.1.6.2.1.2.2001"
    for words, watts, status in ((("fail", "2001"), "0", "4"), (("repair", "2001"), "3000", "2"),
                                 (("output", "2001", "1500"), "1500", "2")):
        assert switch.chmctl(*words).returncode == 0
        assert switch.get(f"{PHYSICAL}.1.2001") == status
        assert news(1) == [(OUTPUT, name + [(output, watts)])]
    for verb, status in (("fail", "4"), ("repair", "2")):
        assert switch.chmctl(verb, "Fan 2/1").returncode == 0
        assert switch.get(f"{FAN}.1.3002") == status
        fan = news(2)
        assert fan == [(UNIT_STATUS, [(UNIT_STATUS_VALUE, "3")]),  # all have their power
                       (FAN_STATUS, [(f".{FAN}.1.3002", status)])]


def test_a_unit_that_the_switch_does_not_recognize(watched):
    switch, news = watched
    assert switch.chmctl("plug-unknown", "Slot 4").returncode == 0
    unrecognized, changed = news(2)
    assert changed == (ENT_CONFIG_CHANGE, [])
    assert unrecognized[0] == UNRECOGNIZED
    assert [oid for oid, _ in unrecognized[1]] == [
        f"{ENT_PHYSICAL}.{column}.1004" for column in (5, 3, 7, 13)] + [f".{PHYSICAL}.1.1004"]
    for oid, value in unrecognized[1]:
        assert switch.get(oid[1:]) == value
    assert switch.chmctl("pull", "1004").returncode == 0
    assert names(news(2)) == [REMOVED, ENT_CONFIG_CHANGE]


def test_the_notification_switch(watched):
    switch, news = watched
    assert switch.get(ENABLE) == "1"
    assert switch.set(ENABLE, "i", "2") is None
    assert switch.chmctl("pull", str(MODULE_3)).returncode == 0
    assert names(news(1)) == [ENT_CONFIG_CHANGE]
    assert switch.set(ENABLE, "i", "1") is None
    assert switch.chmctl("fail", "2001").returncode == 0
    assert names(news(1)) == [OUTPUT]


@pytest.mark.skipif(run(*OWN_MNT, "rw", "true").returncode != 0, reason="needs the right to mount")
def test_the_marker_adds_the_unit_status_to_power_events(trap_receiver):
    def status(key):
        return switch.chmctl_json("status")[key]

    with watch(trap_receiver, under=(*OWN_MNT, "rw")) as (switch, news):
        assert switch.chmctl("marker", "on").stdout.split() == ["marker", "on"] and status("marker")
        assert switch.chmctl("pull", str(MODULE_3)).returncode == 0
        assert names(news(6)) == [UNIT_STATUS, POWER_STATUS, UNIT_STATUS, MODULE_STATUS, REMOVED,
                                  ENT_CONFIG_CHANGE]
        assert status("heartbeats") == 6  # three for each unit status of a healthy switch
        assert switch.chmctl("marker", "off").returncode == 0 and not status("marker")
        assert switch.chmctl("insert", str(SLOT_3)).returncode == 0
        assert names(news(5))[2:] == [POWER_STATUS, UNIT_STATUS, MODULE_STATUS]
    with Switch(under=(*OWN_MNT, "ro")) as switch:
        refused = switch.chmctl("marker", "on")
        assert (refused.returncode, refused.stderr.count("\n")) == (1, 1)
        assert "Read-only" in refused.stderr and not status("marker")


def test_a_reload_keeps_all_of_it(watched):
    switch, news = watched
    assert switch.set(f"{MODULE}.1.{MODULE_3}", "i", "4") is None
    assert switch.set(MAX_IN_LINE_POWER, "i", "0") is None
    before = [entry for entry in switch.walk(FRU)]
    switch.reload()
    assert [entry for entry in switch.walk(FRU)] == before
    assert switch.chmctl("fail", "2001").returncode == 0
    wait_for(lambda: OUTPUT in names(news(1)), "notification")


@pytest.mark.parametrize("oid, kind, value, error", [
    (f"{MODULE}.1.1005", "i", "2", "notWritable"),  # the active supervisor
    (f"{POWER}.1.1005", "i", "2", "notWritable"),
    (f"{MODULE}.1.1003", "i", "5", "wrongValue"),
    (f"{MODULE}.1.1003", "s", "1", "wrongType"),
    (f"{MODULE}.1.1004", "i", "1", "noSuchName"),  # an empty slot
    (f"{MODULE}.2.1003", "i", "2", "notWritable"),
    (f"{FAN}.1.3001", "i", "2", "notWritable"),
    (f"{VALUES}.1.1", "i", "1", "notWritable"),
    (MAX_IN_LINE_POWER, "i", "12501", "wrongValue"),
])
def test_a_refused_write_changes_nothing(switch, oid, kind, value, error):
    before = switch.walk(FRU)
    assert switch.set(oid, kind, value) == error
    assert switch.walk(FRU) == before


def test_a_redundancy_mode_must_leave_enough_power():
    with Switch() as switch:
        mode, available, drawn = f"{GROUP}.1.1", f"{GROUP}.3.1", f"{GROUP}.4.1"
        assert switch.set(mode, "i", "3") is None
        assert (switch.get(available), switch.get(mode)) == ("6000", "3")
        assert switch.set(mode, "i", "1") is None
        for supply in ("2001", "2002"):
            assert switch.chmctl("fail", supply).returncode == 0
        assert int(switch.get(drawn)) > 3000
        assert switch.set(mode, "i", "3") == "notWritable"
        assert (switch.get(available), switch.get(mode)) == ("6000", "1")
        assert switch.get(f"{GROUP}.2.1") == "4 power supplies of 6 bays, 6000 W"


def test_chmctl_refuses_what_cannot_be(switch):
    for words, complaint in ((("pull", "1005"), "Module 5 is the active supervisor"),
                             (("pull", "1"), "Chassis cannot be pulled"),
                             (("insert", "Slot 1"), "Slot 1 is not empty"),
                             (("output", "1001", "5"), "Module 1 is no power supply"),
                             (("fail", "999"), "there is no entity 999")):
        refused = switch.chmctl(*words)
        assert (refused.returncode, refused.stderr) == (1, f"chmctl: {complaint}\n")
