"""Loading of libbramblekit and the C prototypes of its exported functions."""

from __future__ import annotations

import ctypes
import ctypes.util
import os
from typing import TYPE_CHECKING, Any

LIBRARY_VARIABLE = "BRAMBLEKIT_LIBRARY"

_handle = ctypes.c_void_p
_text = ctypes.c_char_p
_size = ctypes.c_size_t


def _locate() -> str:
    """The path or loader name of the library, or ImportError saying how to give it."""
    explicit = os.environ.get(LIBRARY_VARIABLE)
    if explicit:
        return explicit
    found = ctypes.util.find_library("bramblekit")
    if found:
        return found
    raise ImportError(
        "bramblekit: libbramblekit not found. Set the environment variable "
        f"{LIBRARY_VARIABLE} to the path of libbramblekit.so, or install the library "
        "where ctypes.util.find_library('bramblekit') finds it (a directory the "
        "dynamic loader searches, e.g. /usr/local/lib after ldconfig)."
    )


# Functions with C++ linkage are looked up under their mangled names: the
# parameter types are part of the symbol.
_CXX_NAMES = {
    "BK_addModuleHistory": "_Z19BK_addModuleHistoryPvPKcS1_S1_S1_S1_S1_",
    "BK_sendStationFailureReport": "_Z27BK_sendStationFailureReportPvPKcS1_",
    "BK_isStationOK": "_Z14BK_isStationOKPc",
    "BK_isUUTOK": "_Z10BK_isUUTOKPv",
    "BK_isEtherNetOK": "_Z15BK_isEtherNetOKPvS_",
    "BK_isNetWorkOK": "_Z14BK_isNetWorkOKPvS_",
    "BK_isKestrelOK": "_Z14BK_isKestrelOKPvS_",
    "BK_isMartenRunning": "_Z18BK_isMartenRunningPvS_",
    "BK_isStationSWVersionOK": "_Z23BK_isStationSWVersionOKPvS_",
    "BK_isMartenVersionOK": "_Z20BK_isMartenVersionOKPvS_",
    "BK_isOtterVersionOK": "_Z19BK_isOtterVersionOKPvS_",
    "BK_isSignatureOK": "_Z16BK_isSignatureOKPv",
    "BK_isSigExpOK": "_Z13BK_isSigExpOKPv",
    "BK_isSFCQueryUnitOK": "_Z19BK_isSFCQueryUnitOKPvS_PKc",
    "BK_isUnitOutOfProcess": "_Z21BK_isUnitOutOfProcessPvS_PKc",
}

# name: (result type, argument types)
_PROTOTYPES: dict[str, tuple[object, list[object]]] = {
    "BK_getVersion": (_text, []),
    "BK_reply_getStatus": (ctypes.c_uint32, [_handle]),
    "BK_reply_getText": (_text, [_handle]),
    "BK_reply_destroy": (None, [_handle]),
    "BK_UUTStart": (_handle, [ctypes.POINTER(_handle)]),
    "BK_UUTCancel": (_handle, [_handle]),
    "BK_UID_destroy": (None, [_handle]),
    "BK_UUTDone": (_handle, [_handle]),
    "BK_UUTCommit": (_handle, [_handle, ctypes.c_int]),
    "BK_addAttribute": (_handle, [_handle, _text, _text]),
    "BK_addResult": (_handle, [_handle, _handle, _handle]),
    "BK_testSpec_create": (_handle, []),
    "BK_testSpec_destroy": (None, [_handle]),
    "BK_testSpec_setTestName": (ctypes.c_bool, [_handle, _text, _size]),
    "BK_testSpec_setSubTestName": (ctypes.c_bool, [_handle, _text, _size]),
    "BK_testSpec_setSubSubTestName": (ctypes.c_bool, [_handle, _text, _size]),
    "BK_testSpec_setUnits": (ctypes.c_bool, [_handle, _text, _size]),
    "BK_testSpec_setLimits": (ctypes.c_bool, [_handle, _text, _size, _text, _size]),
    "BK_testSpec_setPriority": (ctypes.c_bool, [_handle, ctypes.c_int]),
    "BK_testSpec_setAsNonTestItem": (ctypes.c_bool, [_handle]),
    "BK_testResult_create": (_handle, []),
    "BK_testResult_destroy": (None, [_handle]),
    "BK_testResult_setResult": (ctypes.c_bool, [_handle, ctypes.c_int]),
    "BK_testResult_setValue": (ctypes.c_bool, [_handle, _text, _size]),
    "BK_testResult_setMessage": (ctypes.c_bool, [_handle, _text, _size]),
    "BK_setDUTPos": (_handle, [_handle, _text, _text]),
    "BK_setDUTPosition": (_handle, [_handle, ctypes.c_int32, ctypes.c_int32]),
    "BK_addBlob": (_handle, [_handle, _text, _text]),
    "BK_addBlobData": (_handle, [_handle, _text, _text, ctypes.c_long]),
    "BK_addBlobWithPolicy": (_handle, [_handle, ctypes.c_int, _text, _text]),
    "BK_addBlobDataWithPolicy": (
        _handle,
        [_handle, ctypes.c_int, _text, _text, ctypes.c_long],
    ),
    "BK_validateSerialNumber": (_handle, [_handle, _text]),
    "BK_amIOkay": (_handle, [_handle, _text]),
    "BK_getKSStationInfo": (
        _handle,
        [
            _handle,
            ctypes.c_int,
            ctypes.POINTER(ctypes.c_char_p),
            ctypes.POINTER(ctypes.c_ulonglong),
        ],
    ),
    "BK_setStartTime": (_handle, [_handle, ctypes.c_long]),
    "BK_setStopTime": (_handle, [_handle, ctypes.c_long]),
    "BK_getJsonResultsObj": (_handle, [_handle]),
    "BK_addModuleHistory": (_handle, [_handle, _text, _text, _text, _text, _text, _text]),
    "BK_sendStationFailureReport": (_handle, [_handle, _text, _text]),
    "BK_isStationOK": (_handle, [_text]),
    "BK_isUUTOK": (_handle, [_handle]),
    "BK_isEtherNetOK": (ctypes.c_bool, [_handle, _handle]),
    "BK_isNetWorkOK": (ctypes.c_bool, [_handle, _handle]),
    "BK_isKestrelOK": (ctypes.c_bool, [_handle, _handle]),
    "BK_isMartenRunning": (ctypes.c_bool, [_handle, _handle]),
    "BK_isStationSWVersionOK": (ctypes.c_bool, [_handle, _handle]),
    "BK_isMartenVersionOK": (ctypes.c_bool, [_handle, _handle]),
    "BK_isOtterVersionOK": (ctypes.c_bool, [_handle, _handle]),
    "BK_isSignatureOK": (ctypes.c_bool, [_handle]),
    "BK_isSigExpOK": (ctypes.c_bool, [_handle]),
    "BK_isSFCQueryUnitOK": (ctypes.c_bool, [_handle, _handle, _text]),
    "BK_isUnitOutOfProcess": (ctypes.c_bool, [_handle, _handle, _text]),
}


class Library:
    """The exported functions of libbramblekit, with their C prototypes set."""

    def __init__(self, path: str) -> None:
        try:
            cdll = ctypes.CDLL(path)
        except OSError as error:
            raise ImportError(
                f"bramblekit: cannot load {path!r} ({error}); {LIBRARY_VARIABLE} or "
                "ctypes.util.find_library('bramblekit') must name libbramblekit.so"
            ) from error
        self.path = path
        for name, (restype, argtypes) in _PROTOTYPES.items():
            try:
                function = getattr(cdll, _CXX_NAMES.get(name, name))
            except AttributeError as error:
                raise ImportError(
                    f"bramblekit: {path!r} lacks {name}; it is older than this binding"
                ) from error
            function.restype = restype
            function.argtypes = argtypes
            setattr(self, name, function)

    if TYPE_CHECKING:
        # The functions are set per name above; to a type checker each is a
        # ctypes function.
        def __getattr__(self, name: str) -> Any: ...


def load() -> Library:
    """Loads the library that BRAMBLEKIT_LIBRARY or find_library names."""
    return Library(_locate())
