"""Reload and shutdown of the agent: what stays and what goes."""

import re

import os
import select
import socket

import pytest

from lab import ALIAS, OPERATOR, Switch

MODULE_NAMES = "1.3.6.1.4.1.8072.1.2.1.1.4"  # of the subtrees registered with the agent


def test_a_reload_keeps_the_switch_and_leaks_nothing():
    with Switch() as switch:
        assert switch.set(f"{ALIAS}.1", "s", "kept") is None
        rows = switch.walk("1.3.6.1.2.1.47.1.1")
        descriptors = switch.descriptors()
        for _ in range(5):
            switch.reload()
            assert switch.walk("1.3.6.1.2.1.47.1.1") == rows
            assert switch.get(f"{ALIAS}.1", auth=OPERATOR) == "kept"
            assert len(switch.physical_rows()) * 15 == len(rows)
            assert switch.control.stat().st_mode & 0o777 == 0o600
            assert [name for _, name in switch.walk(MODULE_NAMES)].count("entity_mib") == 26
        assert switch.descriptors() == descriptors
        # The agent has a table or two of its own that it registers twice.
        assert not re.search(r"duplicate registration: .*_mib\b", switch.log())


def test_unloaded_modules_leave_nothing_behind():
    with Switch("small") as switch:
        configuration = switch.state / "snmpd.conf"
        lines = configuration.read_text().splitlines(keepends=True)
        configuration.write_text("".join(line for line in lines if "libchmsnmp" not in line))
        switch.reload()
        assert "libchmsnmp" not in switch.memory_map()
        assert not any(name.endswith("_mib") for _, name in switch.walk(MODULE_NAMES))
        assert switch.chmctl("announce").returncode == 0  # an event that nobody handles
        assert len(switch.walk("1.3.6.1.2.1.47")) <= 1  # the word that there is none


def test_shutdown_is_clean():
    with Switch("small") as switch:
        switch.reload()
        assert switch.stop() == 0
        assert not switch.control.exists()


@pytest.mark.parametrize("name", ["@chm-{}", "/tmp/chm-{}.notify"])
def test_a_service_manager_hears_that_the_agent_lives(name):
    address = name.format(os.getpid())
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.settimeout(10)
        manager.bind(address.replace("@", "\0"))
        try:
            with Switch("small", under=["env", f"NOTIFY_SOCKET={address}"]) as switch:
                messages = [manager.recv(100).strip() for _ in range(2)]
                assert messages == [b"READY=1", b"WATCHDOG=1"]
                switch.reload()
                while select.select([manager], [], [], 0)[0]:
                    manager.recv(100)  # from before the reload
                assert manager.recv(100) == b"WATCHDOG=1"
        finally:
            if address[0] == "/":
                os.unlink(address)
