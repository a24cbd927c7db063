import pytest

from lab import Switch, TrapReceiver, watch


@pytest.fixture(scope="module")
def switch():
    with Switch() as switch:
        yield switch


@pytest.fixture
def trap_receiver():
    with TrapReceiver() as receiver:
        yield receiver


@pytest.fixture
def watched(trap_receiver):
    with watch(trap_receiver) as (switch, news):
        yield switch, news
