import pytest

from lab import Switch, TrapReceiver


@pytest.fixture(scope="module")
def receiver():
    with TrapReceiver() as receiver:
        yield receiver


@pytest.fixture(scope="module")
def switch():
    with Switch() as switch:
        yield switch
