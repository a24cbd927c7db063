"""Inventory changes on their way to a trap receiver."""

import time

import pytest

from lab import ALIAS, ENT_CONFIG_CHANGE, LAST_CHANGE_TIME, Switch, wait_for

CHANNELS = {
    "v2c trap": ("trap2sink 127.0.0.1:{} public", "SNMP v2c, community public"),
    "v3 inform": ("trapsess -Ci -v 3 -l authPriv -u operator -a SHA -A lab-authentication -x AES "
                  "-X lab-encryption 127.0.0.1:{}", "SNMP v3, user operator"),
}


@pytest.fixture(params=CHANNELS)
def channel(request, trap_receiver):
    line, sender = CHANNELS[request.param]
    with Switch("small", [line.format(trap_receiver.port)]) as switch:
        yield switch, trap_receiver, sender


def config_changes(receiver, count):
    """The notifications, once count of them are there and no more have followed."""
    wait_for(lambda: len(receiver.received(ENT_CONFIG_CHANGE)) >= count, "notification")
    time.sleep(0.3)
    return receiver.received(ENT_CONFIG_CHANGE)


def test_every_change_is_notified_once_and_dated(channel):
    switch, receiver, sender = channel
    changes = [
        lambda: switch.chmctl_json("announce"),
        lambda: switch.set(f"{ALIAS}.1", "s", "renamed"),
        lambda: switch.chmctl("set", "1", "alias", "renamed again"),
    ]
    for count, change in enumerate(changes, start=1):
        before = int(switch.get(LAST_CHANGE_TIME))
        time.sleep(0.02)
        change()
        notifications = config_changes(receiver, count)
        assert len(notifications) == count
        how, bindings = notifications[-1]
        assert sender in how
        assert list(bindings) == [".1.3.6.1.2.1.1.3.0", ".1.3.6.1.6.3.1.1.4.1.0"]
        assert before < int(switch.get(LAST_CHANGE_TIME)) <= int(bindings[".1.3.6.1.2.1.1.3.0"])


def test_what_changes_nothing_is_not_notified(channel):
    switch, receiver, _ = channel
    switch.set(f"{ALIAS}.1", "s", "renamed")
    dated = switch.get(LAST_CHANGE_TIME)
    switch.set(f"{ALIAS}.1", "s", "renamed")
    switch.set(f"{ALIAS}.1", "s", "x" * 33)
    switch.chmctl("set", "1", "alias", "renamed")
    assert len(config_changes(receiver, 1)) == 1
    assert switch.get(LAST_CHANGE_TIME) == dated


def test_notifications_survive_a_reload(channel):
    switch, receiver, _ = channel
    switch.reload()
    switch.chmctl_json("announce")
    assert len(config_changes(receiver, 1)) == 1
