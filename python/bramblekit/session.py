"""One unit under test: the Session class and the reading of replies."""

from __future__ import annotations

import ctypes
import datetime
import decimal
import json
import os
import types
import warnings
import weakref
from typing import Any, Union

from ._library import Library, load
from .enums import BlobPolicy, Priority, StationKey, Verdict
from .errors import FAIL_BIT, BramblekitError, BramblekitWarning

_lib: Library = load()

# Texts that successful replies carry when nothing went wrong; any other text
# on a success reports a PASSIVE fault.
CLEAN_TEXTS = frozenset(
    {
        "",
        # done: the station file's signature, under version 1 and 2
        "Digital signature verified OK",
        "ks_station_info SIGNATURE_VERSION == 2",
        # am I okay: every check ran, or the station alone without a serial number
        "FATAL ERROR FOUND: NONE",
        " Called wihtout the serial number, no UOP/SFC_QUERY_UNIT for now.",
        # blobs on a station that keeps them local by its own setting
        "Not sending blob to TRAX, [BLOBS_TO_SEND_TO_TRAX_ON_OFF] feature is OFF in "
        "ks_station_info.json file.",
    }
)

Number = Union[str, int, float, decimal.Decimal]
Time = Union[datetime.datetime, int, float]


def _read(reply: int | None, function: str) -> tuple[int, str]:
    """Status word and text of a reply, which is freed whatever happens."""
    if not reply:
        raise BramblekitError(function, FAIL_BIT, "the library returned no reply")
    try:
        status = _lib.BK_reply_getStatus(reply)
        text = _lib.BK_reply_getText(reply).decode("utf-8", "replace")
    finally:
        _lib.BK_reply_destroy(reply)
    return status, text


def _judge(
    function: str, status: int, text: str, check_text: bool = True, stacklevel: int = 4
) -> None:
    """Raises on the fail bit; warns on a success that reports a fault.

    ``stacklevel`` makes the warning point at the station script's line: by
    default two frames (a helper and the method) lie between.
    """
    if status & FAIL_BIT:
        raise BramblekitError(function, status, text)
    if status != 0 or (check_text and text not in CLEAN_TEXTS):
        warnings.warn(BramblekitWarning(function, status, text), stacklevel=stacklevel)


def _finish(reply: int | None, function: str) -> str:
    status, text = _read(reply, function)
    _judge(function, status, text)
    return text


def _bytes(text: str, what: str) -> bytes:
    if not isinstance(text, str):
        raise TypeError(f"{what} must be a str, not {type(text).__name__}")
    return text.encode("utf-8")


def _number(value: Number, what: str) -> bytes:
    """The text of a value or limit; a float by repr() so it is rounded once only."""
    if isinstance(value, str):
        return value.encode("utf-8")
    if isinstance(value, bool) or not isinstance(value, (int, float, decimal.Decimal)):
        raise TypeError(f"{what} must be str, int, float or Decimal, not {type(value).__name__}")
    if isinstance(value, float):
        return repr(value).encode("ascii")
    return str(value).encode("ascii")


def _epoch(when: Time) -> int:
    if isinstance(when, datetime.datetime):
        # A naive datetime is local time, as the library writes its stamps.
        return int(when.timestamp())
    if isinstance(when, bool) or not isinstance(when, (int, float)):
        raise TypeError(f"a time must be a datetime or epoch seconds, not {type(when).__name__}")
    return int(when)


def version() -> str:
    """The library's version text."""
    return _lib.BK_getVersion().decode("ascii")


def library_path() -> str:
    """The path or loader name from which the library was loaded."""
    return _lib.path


def is_station_ok(station_identifier: str) -> None:
    """BK_isStationOK: not implemented by the library; raises or warns accordingly."""
    _finish(_lib.BK_isStationOK(_bytes(station_identifier, "station_identifier")), "BK_isStationOK")


def _destroy_session(handle: int, scratch: int | None) -> None:
    if scratch:
        _lib.BK_reply_destroy(scratch)
    _lib.BK_UID_destroy(handle)


class Session:
    """One unit under test, from BK_UUTStart to BK_UID_destroy.

    Use it as a context manager::

        with bramblekit.Session() as uut:
            uut.add_attribute("serialnumber", sn)
            ...
            uut.done()
            uut.commit(bramblekit.Verdict.PASS)
            document = uut.results()

    Leaving the block by an exception cancels the session (its directory is
    deleted) unless it was already committed: a committed unit has been handed
    over and is not taken back.  Leaving it in any way destroys the handle.
    Without ``with``, call ``close()``; a forgotten session is destroyed when
    it is garbage-collected.

    A reply with the fail bit raises BramblekitError.  A successful reply
    that still reports a fault (a PASSIVE one under the station's fail policy)
    emits a BramblekitWarning and the call returns normally.
    """

    def __init__(self) -> None:
        """Starts the session (BK_UUTStart); raises if the station files are missing."""
        handle = ctypes.c_void_p()
        reply = _lib.BK_UUTStart(ctypes.byref(handle))
        if not reply:
            if handle.value:
                _lib.BK_UID_destroy(handle.value)
            raise BramblekitError("BK_UUTStart", FAIL_BIT, "the library returned no reply")
        status = _lib.BK_reply_getStatus(reply)
        text = _lib.BK_reply_getText(reply).decode("utf-8", "replace")
        if status & FAIL_BIT or not handle.value:
            _lib.BK_reply_destroy(reply)
            if handle.value:
                _lib.BK_UID_destroy(handle.value)
            raise BramblekitError("BK_UUTStart", status, text)
        self._handle: int | None = handle.value
        # The start reply is kept as the reply that the probes fill: the
        # library exports no other way to make an empty one.
        self._scratch: int | None = reply
        self._serial_number: str | None = None
        self._committed = False
        self._finalizer = weakref.finalize(self, _destroy_session, handle.value, reply)
        _judge("BK_UUTStart", status, text, stacklevel=3)

    # -- lifetime ---------------------------------------------------------

    def __enter__(self) -> Session:
        """The session itself: it was started by the constructor."""
        return self

    def __exit__(
        self,
        exc_type: type[BaseException] | None,
        exc: BaseException | None,
        traceback: types.TracebackType | None,
    ) -> None:
        """Cancels the session if the block raised before a commit; destroys the handle."""
        try:
            if exc is not None and self._handle is not None and not self._committed:
                try:
                    self.cancel()
                except BramblekitError as error:
                    exc.add_note(f"bramblekit: cancelling the session failed too: {error}")
        finally:
            self.close()

    def close(self) -> None:
        """Destroys the handle (BK_UID_destroy); later calls raise. Safe to repeat."""
        self._handle = None
        self._scratch = None
        self._finalizer()

    @property
    def closed(self) -> bool:
        """True once the handle is destroyed."""
        return self._handle is None

    @property
    def committed(self) -> bool:
        """True once commit() returned without an error."""
        return self._committed

    def _live(self) -> int:
        if self._handle is None:
            raise ValueError("the session is closed")
        return self._handle

    # -- the session's steps ----------------------------------------------

    def cancel(self) -> None:
        """Deletes the session's current directory (BK_UUTCancel)."""
        _finish(_lib.BK_UUTCancel(self._live()), "BK_UUTCancel")

    def add_attribute(self, name: str, value: str) -> None:
        """Adds an attribute (BK_addAttribute).

        "serialnumber", "softwarename" and "softwareversion" are required
        before done(); the serial number given here is what am_i_okay() uses.
        """
        _finish(
            _lib.BK_addAttribute(self._live(), _bytes(name, "name"), _bytes(value, "value")),
            "BK_addAttribute",
        )
        if name == "serialnumber":
            self._serial_number = value

    def add_result(
        self,
        test: str,
        sub_test: str = "",
        sub_sub_test: str = "",
        *,
        value: Number | None = None,
        lower: Number | None = None,
        upper: Number | None = None,
        units: str = "",
        priority: Priority | int = Priority.P1,
        result: Verdict | int = Verdict.PASS,
        message: str = "",
        info_only: bool = False,
    ) -> None:
        """Adds one test result (BK_addResult).

        With a ``value`` it is a parametric result, with limits and units;
        without one a pass/fail result.  Values and limits may be str, int,
        float or Decimal; a float is written with repr().  The verdict is the
        station's: the library compares nothing with the limits.  An
        ``info_only`` item's failure is recorded as information only.
        """
        handle = self._live()
        lib = _lib
        spec = lib.BK_testSpec_create()
        record = lib.BK_testResult_create()
        try:
            for setter, text, what in (
                (lib.BK_testSpec_setTestName, test, "test"),
                (lib.BK_testSpec_setSubTestName, sub_test, "sub_test"),
                (lib.BK_testSpec_setSubSubTestName, sub_sub_test, "sub_sub_test"),
                (lib.BK_testSpec_setUnits, units, "units"),
                (lib.BK_testResult_setMessage, message, "message"),
            ):
                if text:
                    data = _bytes(text, what)
                    target = record if what == "message" else spec
                    if not setter(target, data, len(data)):
                        raise ValueError(f"{what} must not hold a NUL character")
            if lower is not None or upper is not None:
                low = None if lower is None else _number(lower, "lower")
                high = None if upper is None else _number(upper, "upper")
                lib.BK_testSpec_setLimits(
                    spec,
                    low,
                    0 if low is None else len(low),
                    high,
                    0 if high is None else len(high),
                )
            if value is not None:
                data = _number(value, "value")
                if not lib.BK_testResult_setValue(record, data, len(data)):
                    raise ValueError("value must not hold a NUL character")
            if info_only:
                lib.BK_testSpec_setAsNonTestItem(spec)
            lib.BK_testSpec_setPriority(spec, int(priority))
            lib.BK_testResult_setResult(record, int(result))
            reply = lib.BK_addResult(handle, spec, record)
        finally:
            lib.BK_testResult_destroy(record)
            lib.BK_testSpec_destroy(spec)
        _finish(reply, "BK_addResult")

    def add_blob(
        self,
        path: str | os.PathLike[str],
        name: str | None = None,
        *,
        policy: BlobPolicy | None = None,
    ) -> None:
        """Adds a file as a blob (BK_addBlob); ``name`` defaults to the file's name."""
        path = os.fspath(path)
        blob_name = _bytes(os.path.basename(path) if name is None else name, "name")
        if policy is None:
            reply = _lib.BK_addBlob(self._live(), blob_name, _bytes(path, "path"))
        else:
            reply = _lib.BK_addBlobWithPolicy(
                self._live(), int(policy), blob_name, _bytes(path, "path")
            )
        _finish(reply, "BK_addBlob")

    def add_blob_data(
        self, name: str, data: bytes | bytearray | memoryview, *, policy: BlobPolicy | None = None
    ) -> None:
        """Adds a memory block as a blob (BK_addBlobData)."""
        block = bytes(data)
        if policy is None:
            reply = _lib.BK_addBlobData(self._live(), _bytes(name, "name"), block, len(block))
        else:
            reply = _lib.BK_addBlobDataWithPolicy(
                self._live(), int(policy), _bytes(name, "name"), block, len(block)
            )
        _finish(reply, "BK_addBlobData")

    def validate_serial_number(self, serial_number: str) -> None:
        """Checks a serial number's form (BK_validateSerialNumber)."""
        _finish(
            _lib.BK_validateSerialNumber(self._live(), _bytes(serial_number, "serial_number")),
            "BK_validateSerialNumber",
        )

    def am_i_okay(self, serial_number: str | None = None) -> None:
        """Runs the station and unit checks (BK_amIOkay).

        Without an argument it uses the serial number attribute added before;
        with neither only the station is checked.
        """
        number = self._serial_number if serial_number is None else serial_number
        data = None if number is None else _bytes(number, "serial_number")
        _finish(_lib.BK_amIOkay(self._live(), data), "BK_amIOkay")

    def done(self) -> None:
        """Ends the testing of the unit (BK_UUTDone)."""
        _finish(_lib.BK_UUTDone(self._live()), "BK_UUTDone")

    def commit(self, verdict: Verdict | int) -> None:
        """Writes, signs and hands over the results (BK_UUTCommit)."""
        _finish(_lib.BK_UUTCommit(self._live(), int(verdict)), "BK_UUTCommit")
        self._committed = True

    def results(self) -> dict[str, Any]:
        """The committed results document as a dict (BK_getJsonResultsObj)."""
        status, text = _read(_lib.BK_getJsonResultsObj(self._live()), "BK_getJsonResultsObj")
        _judge("BK_getJsonResultsObj", status, text, check_text=False, stacklevel=3)
        try:
            document = json.loads(text)
        except ValueError:
            document = None
        if not isinstance(document, dict):
            # A refusal that the fail policy let pass carries no document.
            raise BramblekitError("BK_getJsonResultsObj", status, text)
        return document

    # -- further session data ---------------------------------------------

    def set_start_time(self, when: Time) -> None:
        """Sets "uut_start" (BK_setStartTime): a datetime or epoch seconds."""
        _finish(_lib.BK_setStartTime(self._live(), _epoch(when)), "BK_setStartTime")

    def set_stop_time(self, when: Time) -> None:
        """Sets "uut_stop" (BK_setStopTime); done() then keeps it."""
        _finish(_lib.BK_setStopTime(self._live(), _epoch(when)), "BK_setStopTime")

    def fixture_position(self, fixture: int | str, head: int | str) -> None:
        """Records the fixture and head of the unit.

        Two ints go as numbers (BK_setDUTPosition, fixture 1 to 10, head 1 to
        6); anything else as texts (BK_setDUTPos).
        """
        if isinstance(fixture, int) and isinstance(head, int):
            reply = _lib.BK_setDUTPosition(self._live(), fixture, head)
            _finish(reply, "BK_setDUTPosition")
        else:
            reply = _lib.BK_setDUTPos(
                self._live(), _bytes(str(fixture), "fixture"), _bytes(str(head), "head")
            )
            _finish(reply, "BK_setDUTPos")

    def add_module_history(
        self,
        module_sn: str,
        vendor_code: str,
        date_code: str,
        part_number: str,
        description: str,
        lot_code: str,
    ) -> None:
        """Records a module built into the unit (BK_addModuleHistory)."""
        texts = (module_sn, vendor_code, date_code, part_number, description, lot_code)
        names = ("module_sn", "vendor_code", "date_code", "part_number", "description", "lot_code")
        arguments = [_bytes(text, what) for text, what in zip(texts, names)]
        _finish(_lib.BK_addModuleHistory(self._live(), *arguments), "BK_addModuleHistory")

    def station_failure_report(self, step: str, reason: str) -> None:
        """Reports a failure of the station itself (BK_sendStationFailureReport)."""
        _finish(
            _lib.BK_sendStationFailureReport(
                self._live(), _bytes(step, "step"), _bytes(reason, "reason")
            ),
            "BK_sendStationFailureReport",
        )

    def station_info(self, key: StationKey | int | str) -> str:
        """One setting of the station info file (BK_getKSStationInfo).

        ``key`` is a StationKey, its number or its name.  A key missing from
        the file reads "NOTFOUND", as the library answers.
        """
        if isinstance(key, str):
            try:
                key = StationKey[key]
            except KeyError:
                raise ValueError(f"no such station info key: {key!r}") from None
        handle = self._live()
        length = ctypes.c_ulonglong(0)
        status, text = _read(
            _lib.BK_getKSStationInfo(handle, int(key), None, ctypes.byref(length)),
            "BK_getKSStationInfo",
        )
        _judge("BK_getKSStationInfo", status, text, check_text=False, stacklevel=3)
        if length.value == 0:
            # Refused, and the fail policy let the refusal pass.
            warnings.warn(BramblekitWarning("BK_getKSStationInfo", status, text), stacklevel=2)
            return ""
        buffer = ctypes.create_string_buffer(length.value + 1)
        pointer = ctypes.cast(buffer, ctypes.c_char_p)
        status, text = _read(
            _lib.BK_getKSStationInfo(handle, int(key), ctypes.byref(pointer), ctypes.byref(length)),
            "BK_getKSStationInfo",
        )
        _judge("BK_getKSStationInfo", status, text, check_text=False, stacklevel=3)
        if length.value == 0:
            warnings.warn(BramblekitWarning("BK_getKSStationInfo", status, text), stacklevel=2)
            return ""
        return buffer.value.decode("utf-8", "replace")

    def is_uut_ok(self) -> None:
        """BK_isUUTOK: not implemented by the library; raises or warns accordingly."""
        _finish(_lib.BK_isUUTOK(self._live()), "BK_isUUTOK")

    # -- probes: each fills a reply the session keeps -----------------------

    def _probe(self, name: str, *extra: bytes | None, session: bool = True) -> bool:
        handle = self._live()
        scratch = self._scratch
        # A probe leaves the reply alone on some passing roads, so what an
        # earlier probe wrote is cleared first.  The version placeholder is
        # the one exported call that resets a reply.
        if _lib.BK_reply_getStatus(scratch) != 0 or _lib.BK_reply_getText(scratch):
            _lib.BK_isStationSWVersionOK(handle, scratch)
        function = getattr(_lib, name)
        answer = bool(function(handle, scratch, *extra) if session else function(scratch))
        status = _lib.BK_reply_getStatus(scratch)
        text = _lib.BK_reply_getText(scratch).decode("utf-8", "replace")
        _judge(name, status, text, check_text=False)
        return answer

    def is_ethernet_ok(self) -> bool:
        """The Ethernet report of the health file (BK_isEtherNetOK)."""
        return self._probe("BK_isEtherNetOK")

    def is_network_ok(self) -> bool:
        """Whether the last network check is recent enough (BK_isNetWorkOK)."""
        return self._probe("BK_isNetWorkOK")

    def is_kestrel_ok(self) -> bool:
        """Whether the station info agent reported recently (BK_isKestrelOK)."""
        return self._probe("BK_isKestrelOK")

    def is_marten_running(self) -> bool:
        """Whether the forwarding agent keeps the health file fresh (BK_isMartenRunning)."""
        return self._probe("BK_isMartenRunning")

    def is_station_sw_version_ok(self) -> bool:
        """Placeholder of the library: always true (BK_isStationSWVersionOK)."""
        return self._probe("BK_isStationSWVersionOK")

    def is_marten_version_ok(self) -> bool:
        """Placeholder of the library: always true (BK_isMartenVersionOK)."""
        return self._probe("BK_isMartenVersionOK")

    def is_otter_version_ok(self) -> bool:
        """Placeholder of the library: always true (BK_isOtterVersionOK)."""
        return self._probe("BK_isOtterVersionOK")

    def is_signature_ok(self) -> bool:
        """Whether the station info file's signature holds (BK_isSignatureOK)."""
        return self._probe("BK_isSignatureOK", session=False)

    def is_signature_current(self) -> bool:
        """Whether the station info file's signature has not expired (BK_isSigExpOK)."""
        return self._probe("BK_isSigExpOK", session=False)

    def is_sfc_query_unit_ok(self, serial_number: str = "") -> bool:
        """Whether the shop floor answered the unit check in time (BK_isSFCQueryUnitOK)."""
        return self._probe("BK_isSFCQueryUnitOK", _bytes(serial_number, "serial_number"))

    def is_unit_out_of_process(self, serial_number: str = "") -> bool:
        """True when the shop floor said the unit is out of process (BK_isUnitOutOfProcess)."""
        return self._probe("BK_isUnitOutOfProcess", _bytes(serial_number, "serial_number"))
