"""Bramblekit for Python: record a unit's test results through libbramblekit.

::

    import bramblekit as bk

    with bk.Session() as uut:
        uut.add_attribute("serialnumber", sn)
        uut.add_attribute("softwarename", "FT")
        uut.add_attribute("softwareversion", "1.0")
        uut.add_result("Battery", "Voltage", value="3.91", lower="3.6", upper="4.2",
                       units="V", result=bk.Verdict.PASS)
        uut.am_i_okay()
        uut.done()
        uut.commit(bk.Verdict.PASS)
        document = uut.results()

The library is loaded from the path in the environment variable
BRAMBLEKIT_LIBRARY, else from where ctypes.util.find_library("bramblekit")
finds it.
"""

from .enums import BlobPolicy, Message, MessageClass, Priority, StationKey, Verdict
from .errors import BramblekitError, BramblekitWarning
from .session import CLEAN_TEXTS, Session, is_station_ok, library_path, version

__all__ = [
    "BlobPolicy",
    "BramblekitError",
    "BramblekitWarning",
    "CLEAN_TEXTS",
    "Message",
    "MessageClass",
    "Priority",
    "Session",
    "StationKey",
    "Verdict",
    "is_station_ok",
    "library_path",
    "version",
]

__version__ = "1.1.71"
