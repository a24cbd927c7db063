import pytest

from lab import Switch, TrapReceiver


@pytest.fixture(scope="module")
def switch():
    with Switch() as switch:
        yield switch


@pytest.fixture
def trap_receiver():
    with TrapReceiver() as receiver:
        yield receiver
