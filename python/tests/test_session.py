"""The binding against the built library: sessions, reply mapping, lifetime."""

from __future__ import annotations

import datetime
import decimal
import os
import subprocess
import sys
import time
import warnings
from pathlib import Path

import pytest

import bramblekit as bk
from conftest import sessions
from stationfiles import HEALTH_PATH, UUT_DATA

SERIAL = "C0212000001"


def start_unit() -> bk.Session:
    uut = bk.Session()
    uut.add_attribute("serialnumber", SERIAL)
    uut.add_attribute("softwarename", "FT")
    uut.add_attribute("softwareversion", "1.0")
    return uut


def test_session_to_verified_commit(station, tmp_path, capfd):
    log = tmp_path / "station.log"
    log.write_text("boot ok\n" * 50)
    values = [  # (given, text in the document)
        ("3.91", "3.91"),
        (42, "42"),
        (0.1, "0.1"),  # repr, not "%f" or str(float32)
        (1e-07, "1e-07"),
        (decimal.Decimal("3.910"), "3.910"),  # trailing zero kept
    ]
    with warnings.catch_warnings():
        warnings.simplefilter("error")  # a clean session warns of nothing
        with start_unit() as uut:
            assert uut.station_info("STATION_ID") == "PYTS_L03_FUNCTIONAL-TEST_2"
            assert uut.station_info(bk.StationKey.SITE) == "PYTS"
            for index, (given, _) in enumerate(values):
                uut.add_result("Rail", str(index), value=given, lower=decimal.Decimal("0.0"),
                               upper=5.5, units="V", priority=bk.Priority.P2)
            uut.add_result("Boot", result=bk.Verdict.FAIL, message="no prompt")
            uut.add_result("Fan", result=bk.Verdict.FAIL, message="noisy", info_only=True)
            uut.add_blob(log)
            uut.add_blob_data("trace.bin", bytes(range(256)), policy=bk.BlobPolicy.KEEP_360)
            uut.fixture_position(3, 2)
            uut.set_start_time(datetime.datetime(2026, 1, 2, 3, 4, 5))
            assert uut.is_ethernet_ok() and uut.is_signature_ok()
            uut.am_i_okay()
            uut.done()
            uut.commit(bk.Verdict.FAIL)
            document = uut.results()
        assert uut.closed
    # Replies without a text are read silently: nothing reaches the console.
    assert "Someone is retrieving" not in capfd.readouterr().out

    parametric = [r for r in document["results"] if r["test"] == "Rail"]
    assert [r["value"] for r in parametric] == [text for _, text in values]
    assert {(r["lower_limit"], r["upper_limit"], r["priority"]) for r in parametric} == {
        ("0.0", "5.5", 2)
    }
    pass_fail = {r["test"]: (r["result"], r["message"]) for r in document["results"]
                 if r.get("test_type") == "PF"}
    assert pass_fail == {"Boot": ("fail", "no prompt"), "Fan": ("info_only", "noisy")}
    assert [(b["display_name"], b["retention_policy"]) for b in document["blobs"]] == [
        ("station.log", 30),
        ("trace.bin", 360),
    ]
    attributes = document["test_attributes"]
    assert (attributes["unit_serial_number"], attributes["test_result"]) == (SERIAL, "FAIL")
    assert attributes["uut_start"] == "2026-01-02 03:04:05"

    (committed,) = sessions()
    assert committed.endswith(".commit")
    verifier = os.environ.get("BK_VERIFY_RESULTS")
    if verifier:
        subprocess.run([verifier, os.environ["BK_RESULTS_PUBLIC_KEY"],
                        str(UUT_DATA / committed / "results.Json")], check=True)


def test_failed_replies_raise_with_the_whole_status(station):
    with bk.Session() as uut:
        calls = [  # (call, message, text)
            (uut.results, bk.Message.ERROR_API_SYNTAX,
             "Invalid state, can only be called after calling BK_UUTCommit api"),
            (uut.is_uut_ok, bk.Message.ERROR_UNIMPLEMENTED, "isUUTOK API unimplemented"),
            (lambda: uut.add_result("T", value="1,5"), bk.Message.ERROR_INVALID_DATA_FORMAT, None),
        ]
        for call, message, text in calls:
            with pytest.raises(bk.BramblekitError) as caught:
                call()
            error = caught.value
            assert error.status == 0x80000000 | (bk.MessageClass.API_ERROR << 20) | message
            assert (error.message, error.error_class) == (message, bk.MessageClass.API_ERROR)
            assert error.text and (text is None or error.text == text)
        with pytest.raises(TypeError):
            uut.add_result("T", value=True)  # a bool is no measurement


@pytest.mark.parametrize("policy", [0, 1])
def test_marten_fault_warns_when_passive_and_raises_when_active(station, policy):
    # The forwarding agent counts as gone once the health file is older than
    # the time-out.
    station(ksinfo={"MARTEN_NOT_RUNNING_TIMEOUT": 10},
            lifeline={"BK_MSG_ERROR_MARTEN_NOT_RUNNING": policy})
    old = time.time() - 100
    os.utime(HEALTH_PATH, (old, old))
    status = (bk.MessageClass.PROCESS_CONTROL << 20) | bk.Message.ERROR_MARTEN_NOT_RUNNING
    with bk.Session() as uut:
        if policy == 1:
            with pytest.raises(bk.BramblekitError) as caught:
                uut.am_i_okay()
            assert caught.value.status == 0x80000000 | status
            assert caught.value.error_class == bk.MessageClass.PROCESS_CONTROL
            return
        with pytest.warns(bk.BramblekitWarning) as recorded:
            uut.am_i_okay()
            assert uut.is_marten_running() is False
        am_i_okay, probe = (w.message for w in recorded)
        assert (am_i_okay.status, am_i_okay.function) == (0, "BK_amIOkay")
        assert am_i_okay.text.startswith("[Station_Health_Check file is [")
        assert (probe.status, probe.message) == (status, bk.Message.ERROR_MARTEN_NOT_RUNNING)
        # The warning points at the station script's line, not the binding.
        assert all(w.filename == __file__ for w in recorded)


def test_leaving_by_an_exception_cancels_unless_committed(station):
    with pytest.raises(RuntimeError):
        with start_unit() as uut:
            uut.add_result("Boot")
            assert len(sessions()) == 1
            raise RuntimeError("fixture jammed")
    assert uut.closed and sessions() == []
    with pytest.raises(ValueError):
        uut.done()  # a closed session refuses calls instead of passing a freed handle

    with pytest.raises(RuntimeError):
        with start_unit() as uut:
            uut.add_result("Boot")
            uut.done()
            uut.commit(bk.Verdict.PASS)
            raise RuntimeError("after the hand-over")
    (committed,) = sessions()
    assert committed.endswith(".commit")


LIBRARY = os.environ.get("BRAMBLEKIT_LIBRARY", "")


@pytest.mark.parametrize(
    "environment, expected",
    [
        ({}, "BRAMBLEKIT_LIBRARY"),
        ({"BRAMBLEKIT_LIBRARY": "/nonexistent/libbramblekit.so"}, "/nonexistent/libbramblekit.so"),
        ({"LD_LIBRARY_PATH": os.path.dirname(LIBRARY)}, None),  # found by find_library
    ],
)
def test_library_lookup(environment, expected):
    env = {k: v for k, v in os.environ.items()
           if k not in ("BRAMBLEKIT_LIBRARY", "LD_LIBRARY_PATH")}
    env.update(environment)
    env["PYTHONPATH"] = str(Path(bk.__file__).resolve().parent.parent)
    # Under the leak check, a child interpreter's own leftovers would change its status.
    env["ASAN_OPTIONS"] = "detect_leaks=0"
    script = "import bramblekit; print(bramblekit.library_path())"
    run = subprocess.run([sys.executable, "-c", script], env=env, capture_output=True, text=True)
    if expected is None:
        assert run.returncode == 0, run.stderr
        assert "bramblekit" in run.stdout
    else:
        assert run.returncode == 1
        last = run.stderr.strip().splitlines()[-1]
        assert last.startswith("ImportError: bramblekit:") and expected in last
        if not environment:
            assert "find_library" in last


def test_station_example_commits_three_units(station):
    example = Path(__file__).resolve().parents[2] / "examples" / "python" / "station.py"
    env = dict(os.environ, ASAN_OPTIONS="detect_leaks=0")
    run = subprocess.run([sys.executable, str(example)], env=env, capture_output=True, text=True)
    assert run.returncode == 0, run.stderr
    verdicts = [line.split()[1] for line in run.stdout.splitlines() if line.startswith("C0212PY")]
    assert verdicts == ["PASS", "PASS", "FAIL"]
    assert len([name for name in sessions() if name.endswith(".commit")]) == 3
