"""The MIB files against what the agent serves and sends."""

import re

import pytest

from lab import BUILD, READER, SERVED, SOURCE, Switch, module_root, run

FILES = sorted((BUILD / "share/snmp/mibs").rglob("*.mib"))
KINDS = {"INTEGER": "i", "Integer32": "i", "OCTET": "s", "TimeTicks": "t", "OBJECT": "o",
         "Gauge32": "u"}
# What becomes of an object that may be written and is given the value that it has.
REFUSED = {"entPhysicalSerialNum": "notWritable", "tsMsgText": "wrongLength",
           "tsMsgSend": "wrongValue"}


def with_mibs(*command):
    return run(SOURCE / "scripts/with-mibs", BUILD, *command)


def is_served(oid):
    """Whether a module that the agent serves has this."""
    return module_root(oid) in map(module_root, SERVED.values())


@pytest.fixture(scope="module")
def definitions():
    """Name to OID and text of everything that the files define."""
    pairs = re.findall(r'"(\w+)"\s+"([\d.]+)"', with_mibs("snmptranslate", "-Tz").stdout)
    oids = dict(pair for pair in pairs if pair[1].startswith(("1.3.6.1.4.1.", "1.3.6.1.2.1.47")))
    told = with_mibs("snmptranslate", "-Td", *oids.values()).stdout
    texts = re.split(r"(?m)^[\w-]+::(\w+)$", told)[1:]
    return {name: (oids[name], text) for name, text in zip(texts[::2], texts[1::2])}


def told(definition, word):
    """What follows a word of a definition, up to the end of its line."""
    found = re.search(rf"^  {word}\s+(.*)", definition[1], re.M)
    return found[1] if found else ""


@pytest.mark.parametrize("file", FILES, ids=lambda file: file.stem)
def test_the_files_are_in_order(file):
    answer = with_mibs("smilint", "-s", "-l", "6", "-i", "type-unref", file)
    assert answer.stdout + answer.stderr == ""


def test_the_table_of_objects_is_current():
    assert run(SOURCE / "scripts/list-objects", BUILD).stdout == (
        SOURCE / "docs/objects.md").read_text()


def test_the_files_have_what_is_served(definitions):
    assert SERVED == {name: text[0] for name, text in definitions.items()
                      if told(text, "MAX-ACCESS").startswith("read") and is_served(text[0])}


def test_every_instance_has_name_index_and_type(switch, definitions):
    rows = {oid: (oid, text) for oid, text in definitions.values() if "\n  INDEX" in text}
    for root in sorted(set(map(module_root, SERVED.values()))):
        answer = with_mibs("snmpbulkwalk", *READER, "-OX", f"127.0.0.1:{switch.port}", root)
        assert (answer.returncode, answer.stderr) == (0, "")
        for line in answer.stdout.splitlines():
            found = re.fullmatch(r"[\w-]+::(\w+)(\.0|(?:\[\d+\])+) = (?!Wrong Type)(.*)", line)
            assert found and found[1] in SERVED, line
            row = rows.get(SERVED[found[1]].rpartition(".")[0])
            indexes = told(row, "INDEX").count(",") + 1 if row else 0
            assert found[2].count("[") == indexes, line
            if "{" in told(definitions[found[1]], "SYNTAX"):
                assert re.search(r"\w\(\d+\)$", found[3]), line


@pytest.mark.parametrize("chassis", ["ten-slot", "small", "eighteen-slot"])
def test_vendor_types_have_names(chassis):
    with Switch(chassis) as switch:
        types = set(with_mibs("snmpbulkwalk", *READER, "-Oqv", f"127.0.0.1:{switch.port}",
                              "entPhysicalVendorType").stdout.split())
    assert len(types) > 9 and not [name for name in types if "." in name]


def test_who_may_write_what(switch, definitions):
    for name, oid in SERVED.items():
        kind = KINDS[told(definitions[name], "SYNTAX").split()[0]]
        writable = told(definitions[name], "MAX-ACCESS") == "read-write"
        for instance, value in switch.walk(oid)[:1]:
            assert switch.set(instance, kind, value) == (
                REFUSED.get(name) if writable else "notWritable"), name


def test_notifications_carry_what_the_files_say(receiver, definitions):
    names = {f".{oid}.": name for name, (oid, _) in definitions.items()}
    names[".1.3.6.1.2.1.1.3."] = "sysUpTime"
    with Switch(sink=receiver) as switch:
        for change in (["pull", "Module 3"], ["insert", "Slot 3"], ["fail", "Fan 1/1"],
                       ["fail", "Power supply 1"], ["insert", "Slot 4", "--unknown"],
                       ["switchover"], ["set", "Chassis inlet", "reading", "50"]):
            switch.order(*change)
        for name, definition in definitions.items():
            oid, text = definition
            if "NOTIFICATION-TYPE" in text and (is_served(oid) or name == "connUnitStatusChange"):
                _, _, bindings = receiver.wait_for(f".{oid}")[0]
                sent = [names[max((oid for oid in names if binding.startswith(oid)), key=len)]
                        for binding, _ in bindings]
                assert sent == re.findall(r"\w+", told(definition, "OBJECTS")), name
