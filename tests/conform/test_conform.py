"""chm-conform: nothing to say of a healthy switch, and the name of each fault and mistake."""

import json
import os
import re
import subprocess
import tempfile
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("CHM_BUILD_DIR", SOURCE / "build" / "release"))
HERE = BUILD / "tests/conform"
CHASSIS = sorted((SOURCE / "chassis").glob("*.toml"))
STARTER, MISTAKEN = HERE / "libstarter.so", HERE / "libmistakes.so"
SMALL = SOURCE / "chassis/small.toml"


def conform(*words, mistake="", platform="", status=None):
    """The findings. status: the exit status, by default as they say."""
    command = [str(word) for word in (BUILD / "bin/chm-conform", "--json", *words)]
    answer = subprocess.run(command, capture_output=True, text=True, timeout=200,
                            env={**os.environ, "MISTAKE": mistake, "PLATFORM": platform})
    result = json.loads(answer.stdout)
    assert answer.returncode == ((result["failures"] > 0) if status is None else status), \
        answer.stderr
    return result["findings"]


def bad(findings):
    """The checks that failed, and those that took too long."""
    return {one["check"] for one in findings if one["verdict"] in ("FAILED", "warning")}


def without_times(checks):
    return {check for check in checks if not check.startswith("time.")}


def lab(*words, chassis=SMALL, commands=(), at="--prepare"):
    """The findings about the simulated switch, with commands of chmctl."""
    with tempfile.TemporaryDirectory(prefix="chm-") as state:
        chmctl = f"{BUILD}/bin/chmctl --socket {state}/control"
        if commands:
            words += ("--line", f"chmControl {state}/control", at,
                      " && ".join(f"{chmctl} {command}" for command in commands) + " >&2")
        return conform("--lab", "--chassis", chassis, *words)


@pytest.mark.parametrize("chassis", CHASSIS, ids=lambda file: file.stem)
def test_a_healthy_switch_has_nothing_to_say(chassis):
    findings = lab("--write", "--event-time", "0.3", chassis=chassis, at="--trigger", commands=[
        'pull "Power supply 1"', 'insert "Power supply bay 1"', "announce-change",
        "set Ethernet1/1 temperature 90"])
    assert without_times(bad(findings)) == set()
    assert {one["verdict"] for one in findings if one["check"].startswith("events.")} == {"ok"}
    rows = {one["check"]: one["came"] for one in findings}
    assert re.fullmatch("[1-9][0-9]+ rows", rows["physical-entity.order"])
    assert re.fullmatch("[1-9][0-9]* ports", rows["ports.order"])


def listed(pattern, file):
    return re.findall(pattern, (SOURCE / file).read_text())


REQUESTS = listed(r'Request<\w+> \w+\{\s*"([a-z-]+)"', "chm/wire/requests.h")
PORT_REQUESTS = {"port-configuration": "pm_cmi_get_port_config",
                 "next-port": "pm_get_next_port_fcot_info_with_ddm",
                 "transceiver-information": "pm_cmi_get_fcot_info",
                 "transceiver-diagnostics": "pm_get_sfp_diag_info"}


AMOUNTS = {"fail": "5", "nothing": "", "short": "1", "long": "4", "delay": "25"}
EFFECTS = listed(r'{"(\w+)", FaultEffect::', "platform/sim/model/fault.h")


@pytest.mark.parametrize("effect", EFFECTS)
@pytest.mark.parametrize("request_name", [*REQUESTS, *PORT_REQUESTS])
def test_each_fault_is_named(request_name, effect):
    port_call = PORT_REQUESTS.get(request_name)
    if port_call and effect in ("short", "long"):
        pytest.skip("the port manager's blocks have no length")
    fault = f"inject-fault {request_name} {effect} {AMOUNTS[effect]}"
    found = bad(lab("--event-time", "0", commands=[fault]))
    own = {check for check in found if check.startswith(
        ("ports.", f"time.{port_call}") if port_call else
        (f"{request_name}.", f"time.cmi_req_resp {request_name} "))}
    if request_name == "next-port" and effect != "delay":
        own |= found & {"physical-entity.change-over"}  # it has no port to lead over to
    assert own, found
    if effect != "delay":
        assert without_times(found) == without_times(own)


def test_the_starter_is_a_platform():
    findings = conform(MISTAKEN, STARTER, "--write", "--event-time", "1.3", platform=STARTER)
    assert without_times(bad(findings)) == set()
    verdicts = {one["check"]: one["verdict"] for one in findings}
    assert verdicts["physical-entity.order"] == verdicts["events.payload"] == "ok"
    assert verdicts["module.order"] == verdicts["ports.order"] == "absent"


PE = "physical-entity"
MISTAKES = [
    ("index-in-host-order", f"{PE}.numbers"), ("class-in-host-order", f"{PE}.numbers"),
    ("fru-big-endian", f"{PE}.numbers"), ("fru-0-and-1", f"{PE}.numbers"),
    ("text-without-nul", f"{PE}.texts"), ("long-vendor-type", f"{PE}.vendor-type"),
    ("vendor-type-in-host-order", f"{PE}.vendor-type"),
    ("no-such-container", f"{PE}.containment"), ("row-among-transceivers", f"{PE}.range"),
    ("short-record", f"{PE}.size"), ("long-record", f"{PE}.size"),
    ("block-shorter-than-length", f"{PE}.blocks"), ("static-block", f"{PE}.blocks"),
    ("same-block-again", f"{PE}.blocks"), ("platform-frees-too", f"{PE}.blocks"),
    ("success-without-a-block", f"{PE}.blocks"), ("length-not-set", f"{PE}.length"),
    ("length-kept-on-failure", f"{PE}.length"), ("payload-changed", f"{PE}.payload"),
    ("unsorted", f"{PE}.order"), ("never-ends", f"{PE}.order"), ("starts-over", f"{PE}.order"),
    ("getnext-is-get", f"{PE}.unknown"), ("get-is-getnext", f"{PE}.get"),
    ("next-only-after-rows", f"{PE}.gaps"), ("end-is-a-failure", f"{PE}.end"),
    ("unknown-is-not-writable", f"{PE}.unknown"), ("unknown-is-empty", f"{PE}.unknown"),
    ("change-over-without-ports", f"{PE}.change-over"),
    ("crash", PE), ("abort", PE), ("exit", PE), ("hang", PE),
    ("slow", f"time.cmi_req_resp {PE} GETNEXT"),
    ("set-lost", f"{PE}.write-entPhysicalAlias"), ("set-refused", f"{PE}.write-entPhysicalAlias"),
    ("set-of-another-field", f"{PE}.write-entPhysicalAlias"),
    ("set-of-any-row", f"{PE}.write-unknown"), ("set-with-a-response", f"{PE}.write-unknown"),
    ("event-on-a-thread", "events.thread"), ("event-within-a-request", "events.from-loop"),
    ("first-handler-stays", "events.replace"), ("registration-refused", "events.register"),
    ("nothing-to-unregister-is-success", "events.unregister"),
    ("short-payload", "events.payload"), ("no-payload", "events.payload"),
    ("payload-in-host-order", "events.numbers"),
    ("value-not-copied", "build_varbind.copies"), ("name-not-copied", "build_varbind.copies"),
    ("binding-not-linked", "build_varbind.links"), ("one-byte-integers", "build_varbind.integers"),
    ("copy-beyond-capacity", "bounded-copy.bytes"), ("copy-without-nul", "bounded-copy.texts"),
    ("no-text-of-a-result", "result-texts"), ("uptime-in-milliseconds", "uptime"),
]
PORT_MISTAKES = [
    ("slots-decoded-from-1", "if-index.codec"), ("long-name", "if-index.name"),
    ("module-information-too-long", "database.modules"), ("first-port-again", "ports.order"),
    ("short-configuration", "ports.blocks"), ("static-configuration", "ports.blocks"),
    ("configuration-without-transceiver", "ports.configuration"), ("no-lanes", "ports.lanes"),
    ("more-lanes-than-read", "ports.blocks"), ("volts-in-millivolts", "ports.units"),
    ("temperature-in-degrees", "ports.units"), ("current-in-microamperes", "ports.units"),
    ("calibration-0", "ports.units"), ("thresholds-reversed", "ports.thresholds"),
    ("vendor-text-too-long", "ports.vendor-texts"), ("no-change-over", f"{PE}.change-over"),
    ("starts-over-after-transceivers", f"{PE}.order"),
]


@pytest.mark.parametrize("mistake, check", MISTAKES)
def test_each_mistake_is_named(mistake, check):
    seconds = "1.3" if check.startswith("events.") else "0"
    found = bad(conform(MISTAKEN, STARTER, "--write", "--limit", "3", "--event-time", seconds,
                        mistake=mistake, platform=STARTER))
    assert check in found


def test_what_was_written_is_restored_after_a_crash():
    findings = conform(MISTAKEN, STARTER, "--write", "--event-time", "0", platform=STARTER,
                       mistake="crash-after-a-set")
    came = [(one["check"], one["came"]) for one in findings]
    crash = came.index((f"{PE}.write-entPhysicalAlias", "SIGABRT"))
    assert came[crash + 1] == (f"{PE}.restore", "restored")


@pytest.mark.parametrize("mistake, check", PORT_MISTAKES)
def test_each_mistake_with_ports_is_named(mistake, check):
    found = bad(conform(MISTAKEN, "--lab", "--chassis", SMALL, "--event-time", "0",
                        mistake=mistake, platform=BUILD / "lib/libchmplatform.so"))
    assert check in found


def test_all_missing_symbols_are_named_at_once():
    findings = conform(HERE / "libincomplete.so", "--event-time", "0")
    symbols, = (one for one in findings if one["check"] == "symbols")
    assert re.findall(r"\w+_\w+", symbols["came"]) == ["if_index_get_type", "hactl_supstate_get",
                                                     "ipcx_response_q"]
    skipped = {one["check"]: one["came"] for one in findings if one["verdict"] == "skipped"}
    assert skipped["further-calls"] == "no hactl_supstate_get"
    assert skipped["module"] == skipped["ports"] == "no ipcx_response_q"
    assert bad(findings) == {"symbols"}


def names(option, library):
    listed = subprocess.run(["nm", "-D", option, library], capture_output=True, text=True)
    return {line.split()[-1] for line in listed.stdout.splitlines()}


def test_the_symbols_are_those_that_the_modules_import():
    """Of a library that defines none, all are missing."""
    findings = conform("libc.so.6", "--event-time", "0")
    missing = next(one["came"] for one in findings if one["check"] == "symbols")
    imported = names("--undefined-only", BUILD / "lib/libchmsnmp.so")
    assert set(missing.removeprefix("missing: ").split(", ")) == \
        imported & names("--defined-only", BUILD / "lib/libchmplatform.so")


@pytest.mark.parametrize("words, status, text", [
    ([], 2, "LIBRARY or --lab is required"), (["--fly"], 2, "--fly"),
    (["--lab", "--limit", "0"], 2, "--limit"),
    (["--lab", "--chassis", "/nonexistent.toml"], 2, "/nonexistent.toml")])
def test_wrong_usage(words, status, text):
    answer = subprocess.run([BUILD / "bin/chm-conform", *words], capture_output=True, text=True)
    assert (answer.returncode, answer.stdout) == (status, "") and text in answer.stderr


def test_a_library_that_cannot_be_loaded_is_named():
    finding, = conform("/nonexistent.so", status=3)
    assert finding["check"] == "load" and "/nonexistent.so" in finding["came"]
