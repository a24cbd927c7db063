"""Reload and shutdown of the agent: what stays and what goes."""

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
            assert len(switch.chmctl_json("inventory")) * 15 == len(rows)
            assert switch.control.stat().st_mode & 0o777 == 0o600
            assert [name for _, name in switch.walk(MODULE_NAMES)].count("entity_mib") == 26
        assert switch.descriptors() == descriptors


def test_shutdown_is_clean():
    with Switch("small") as switch:
        switch.reload()
        assert switch.stop() == 0
        assert not switch.control.exists()
