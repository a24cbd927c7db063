"""What the agent survives: many clients and events at once, bad packets, kills, reloads, its module
table.

CHM_ENDURANCE gives the number of requests, which is small unless it is set."""

import json
import os
import random
import re
import select
import socket
import threading
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest

from lab import ALIAS, BUILD, DESCR, NAME, OPERATOR, SERVED, SOURCE, UNDER, Switch, module_root

REQUESTS = int(os.environ.get("CHM_ENDURANCE", 10_000))
GET, GETNEXT, SET, GETBULK = 0xa0, 0xa1, 0xa3, 0xa5
ROOTS = sorted(set(map(module_root, SERVED.values())))
BEFORE_READINGS = SERVED["entSensorValue"] + ".25812"  # of transceivers
BAD_COMMUNITIES, PARSE_ERRORS = "1.3.6.1.2.1.11.4.0", "1.3.6.1.2.1.11.6.0"
MODULE_STATUS = "1.3.6.1.4.1.2021.13.14.2.1.5"  # of the agent's loaded modules
MODULE_NAMES = "1.3.6.1.4.1.8072.1.2.1.1.4"  # of the subtrees registered with the agent


@pytest.fixture(scope="module")
def switch():
    with Switch("small") as switch:
        yield switch


def ber(tag, *parts):
    body = b"".join(parts)
    size = len(body)
    return bytes([tag, size] if size < 128 else [tag, 0x82, size >> 8, size & 0xff]) + body


def integer(number):
    return ber(2, number.to_bytes(number.bit_length() // 8 + 1, "big"))


def name(oid):
    first, second, *rest = (int(word) for word in oid.strip(".").split("."))
    encoded = [40 * first + second]
    for word in rest:
        groups = [word & 0x7f]
        while word := word >> 7:
            groups.insert(0, word & 0x7f | 0x80)
        encoded += groups
    return ber(6, bytes(encoded))


def packet(kind, oid, number=70_000, community=b"public", value=b"\5\0", repetitions=0):
    binding = ber(0x30, ber(0x30, name(oid), value))
    return ber(0x30, integer(1), ber(4, community),
               ber(kind, integer(number), integer(0), integer(repetitions), binding))


class Client:
    def __init__(self, switch):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.settimeout(60)
        self.socket.connect(("127.0.0.1", switch.port))

    def error(self, request, number=70_000):
        """The error status of the answer to a request."""
        self.socket.send(request)
        _, _, rest = self.socket.recv(65536).partition(integer(number))
        assert rest, "an answer to another request"
        return rest[2]


def instances(switch):
    return [oid for root in ROOTS for oid, _ in switch.walk(root)]


def requests_for(oids):
    """(packet, its number, the errors that may come of it)"""
    for number, oid in enumerate(oids, start=70_000):
        yield packet(GET, oid, number), number, {0}
        yield packet(GETNEXT, oid, number), number, {0}
        yield packet(GETBULK, oid, number, repetitions=10), number, {0}
        yield packet(SET, oid, number, value=integer(1)), number, {6}
        if oid.startswith(f".{ALIAS}."):  # a unit may be out, and a sensor has none
            yield packet(SET, oid, number, b"private", ber(4, b"same")), number, {0, 2, 5}


def change_switch(switch, done):
    """Units and transceivers go and come as fast as they can. Gives the number of orders."""
    orders = [("pull", "Power supply 1"), ("pull", "Ethernet1/1"), ("announce-change", None),
              ("insert", "Ethernet1/1"), ("insert", "Power supply bay 1")]
    rounds = 0
    with socket.socket(socket.AF_UNIX) as control:
        control.connect(str(switch.control))
        answers = control.makefile()
        while not done.is_set():
            for verb, entity in orders:
                control.sendall(json.dumps({"verb": verb, "entity": entity}).encode() + b"\n")
                assert json.loads(answers.readline())["ok"]
            rounds += 1
    return rounds * len(orders)


def ask(switch, requests, seed, count):
    choose, client = random.Random(seed), Client(switch)
    for _ in range(count):
        request, number, errors = choose.choice(requests)
        assert client.error(request, number) in errors, request


def process(switch, file):
    return Path(f"/proc/{switch.process.pid}/{file}")


def test_many_clients_at_once_while_the_switch_changes():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sink:
        sink.bind(("127.0.0.1", 0))
        line = f"trap2sink 127.0.0.1:{sink.getsockname()[1]} public"
        with Switch("small", [line]) as switch, ThreadPoolExecutor() as pool:
            oids = instances(switch)
            requests, resident, done = list(requests_for(oids)), [], threading.Event()
            changes = pool.submit(change_switch, switch, done)
            try:
                for half in range(2):
                    list(pool.map(lambda client: ask(switch, requests, f"{half} {client}",
                                                     REQUESTS // 8), range(4)))
                    pages = int(process(switch, "statm").read_text().split()[1])
                    resident.append(pages * os.sysconf("SC_PAGE_SIZE") // 1024)
            finally:
                done.set()
            print(f"{REQUESTS} requests, {changes.result()} orders, {resident} kB")
            assert changes.result() > 0
            assert UNDER or resident[1] < resident[0] + 1000
            assert instances(switch) == oids
            assert switch.stop() == 0


def test_bad_packets_are_counted_and_not_answered(switch):
    client, chance = Client(switch), random.Random(1)
    good = packet(GET, f"{DESCR}.1")
    before = switch.walk("1.3.6.1.2.1.47")
    bad_communities, parse_errors = (int(switch.get(oid))
                                     for oid in (BAD_COMMUNITIES, PARSE_ERRORS))
    for size in range(1, len(good)):
        client.socket.send(good[:size])
    for _ in range(100):
        client.socket.send(packet(GET, f"{DESCR}.1", community=b"wrong"))
    assert int(switch.get(BAD_COMMUNITIES)) == bad_communities + 100
    assert not select.select([client.socket], [], [], 0)[0]  # nothing has been answered
    assert int(switch.get(PARSE_ERRORS)) >= parse_errors + len(good) // 2
    for _ in range(5000):
        damaged = bytearray(good)
        damaged[chance.randrange(len(good))] = chance.randrange(256)
        Client(switch).socket.send(bytes(damaged))
    assert switch.walk("1.3.6.1.2.1.47") == before


def test_kills_reloads_and_unloaded_modules():
    unload, load = 5, 4
    loaded = (BUILD / "share/chmsnmp/modules.conf").read_text().count("\ndlmod ")
    modules = range(2, 2 + loaded)  # the first is the switch itself
    with Switch("small", options=["--host-mibs"]) as switch:
        for _ in range(2):
            switch.process.kill()
            switch.process.wait()
            (switch.state / "snmpd.pid").unlink()
            switch.start()
            switch.order("status")  # the dead one's socket is taken over
            assert switch.get(f"{NAME}.1") == "Small switch"

        assert switch.set(f"{ALIAS}.1", "s", "kept") is None
        oids, descriptors = instances(switch), len(list(process(switch, "fd").iterdir()))
        for _ in range(3):
            for module in modules:
                assert switch.set(f"{MODULE_STATUS}.{module}", "i", unload) is None
            assert "libchmsnmp" not in process(switch, "maps").read_text()
            assert not any(name.endswith("_mib") for _, name in switch.walk(MODULE_NAMES))
            switch.order("announce-change")  # an event that nobody handles
            for module in modules:
                assert switch.set(f"{MODULE_STATUS}.{module}", "i", load) is None
            assert instances(switch) == oids
        for _ in range(3):
            switch.reload()
            assert instances(switch) == oids
            assert switch.get(f"{ALIAS}.1", auth=OPERATOR) == "kept"
            assert switch.control.stat().st_mode & 0o777 == 0o600
            assert [name for _, name in switch.walk(MODULE_NAMES)].count("entity_mib") == 26
        assert len(list(process(switch, "fd").iterdir())) == descriptors
        # The agent has a table or two of its own that it registers twice.
        assert not re.search(r"duplicate registration: .*_mib\b", switch.log())
        assert switch.stop() == 0
        assert not switch.control.exists()


@pytest.mark.parametrize("name", ["@chm-{}", "/tmp/chm-{}.notify"])
def test_a_service_manager_hears_that_the_agent_lives(name, tmp_path):
    chassis = tmp_path / "slow.toml"
    chassis.write_text((SOURCE / "chassis/small.toml").read_text().replace(
        "[chassis]\n", "[chassis]\ndiagnostics-delay-ms = 1000\n"))
    address = name.format(os.getpid())
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.settimeout(10)
        manager.bind(address.replace("@", "\0"))

        def heard():
            """What came since the last look."""
            messages = []
            while select.select([manager], [], [], 0)[0]:
                messages.append(manager.recv(100))
            return messages

        try:
            with Switch(chassis, under=["env", f"NOTIFY_SOCKET={address}"]) as switch:
                assert [manager.recv(100).strip() for _ in range(2)] == [b"READY=1", b"WATCHDOG=1"]
                switch.reload()
                heard()
                assert manager.recv(100) == b"WATCHDOG=1"
                heard()
                # One request that reads three slow transceivers.
                rows = switch.snmp("snmpbulkget", BEFORE_READINGS, options=("-t", "30", "-Cr15"))
                assert rows.stdout.count("\n") == 15
                assert heard().count(b"WATCHDOG=1") >= 3
        finally:
            Path(address).unlink(missing_ok=True)
