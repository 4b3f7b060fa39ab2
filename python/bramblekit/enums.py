"""Mirrors of the public header's enumerations."""

from __future__ import annotations

import enum


class Verdict(enum.IntEnum):
    """A test's or a unit's verdict, as the station declares it."""

    FAIL = 0
    PASS = 1
    NA = 2


class Priority(enum.IntEnum):
    """How a result goes to the parametric-data server."""

    AU = -2
    P0 = 0
    P1 = 1
    P2 = 2
    P3 = 3
    P4 = 4


class BlobPolicy(enum.IntEnum):
    """How many days the servers keep a blob."""

    KEEP_0 = 1
    KEEP_30 = 2
    KEEP_60 = 3
    KEEP_90 = 4
    KEEP_180 = 5
    KEEP_270 = 6
    KEEP_360 = 7


class MessageClass(enum.IntEnum):
    """Message classes: bit masks, stored from bit 20 of the status word."""

    UNCLASSIFIED = 0
    API_ERROR = 1
    COMM_ERR = 2
    QUERY = 4
    QUERY_RESPONSE = 8
    QUERY_DELAYED_RESPONSE = 16
    PROCESS_CONTROL = 32


class Message(enum.IntEnum):
    """Message numbers: the low bits of the status word.

    The names are the header's without the leading ``BK_MSG_``; number 22
    keeps its odd ``STR_`` prefix there, so it is ``STR_ERROR_INVALID_SIGNATURE``.
    """

    ERROR_API_UNHANDLED = 0
    ERROR_UNIT_ID_INVALID = 1
    ERROR_UNIMPLEMENTED = 2
    ERROR_API_VERSION = 3
    ERROR_API_SYNTAX = 4
    ERROR_API_NO_ATTRIBUTE = 5
    ERROR_MARTEN_NOT_RUNNING = 6
    ERROR_FILESYSTEM = 7
    ERROR_NETWORK = 8
    ERROR_INVALID_SERIAL_NUMBER = 9
    ERROR_DCS_NOT_RESPONDING = 10
    ERROR_TRAX_NOT_RESPONDING = 11
    ERROR_KESTREL_NOT_RESPONDING = 12
    ERROR_NETWORK_NOT_RESPONDING = 13
    ERROR_ETHERNET_NOT_RESPONDING = 14
    ERROR_UNIT_OUT_OF_PROCESS = 15
    ERROR_INVALID_STATION_TYPE = 16
    ERROR_INVALID_SW_VERSION = 17
    ERROR_INVALID_BK_VERSION = 18
    ERROR_INVALID_MARTEN_VERSION = 19
    ERROR_INVALID_KSSTATIONINFO_VALUE = 20
    ERROR_INVALID_DATA_FORMAT = 21
    STR_ERROR_INVALID_SIGNATURE = 22
    UNIT_GOLDEN_UNIT = 23
    UNIT_OUTLIER = 24
    UNIT_ESCAPE = 25
    UNIT_FORCE_FAIL = 26
    UNIT_RECALL = 27
    UNIT_HOLD = 28
    UNIT_NOT_IN_SFC = 29
    STATION_SW_MISMATCH = 30
    ERROR_INVALID_SIGNATURE = 31
    ERROR_INVALID_ATTRIBUTE = 32
    ERROR_SFC_QUERY_UNIT = 33
    ERROR_CANOPY_AMIOKAY = 34


class StationKey(enum.IntEnum):
    """Keys of the station info file that ``Session.station_info`` reads."""

    SITE = 1
    PRODUCT = 2
    BUILD_STAGE = 3
    BUILD_SUBSTAGE = 4
    REMOTE_ADDR = 5
    LOCATION = 6
    LINE_NUMBER = 7
    STATION_NUMBER = 8
    STATION_TYPE = 9
    SCREEN_COLOR = 10
    STATION_IP = 11
    DCS_IP = 12
    TRAX_IP = 13
    HERON_IP = 14
    MAGPIE_IP = 15
    FUSING_IP = 16
    DROPBOX_IP = 17
    SFC_IP = 18
    SFC_URL = 19
    PROV_IP = 20
    DATE_TIME = 21
    STATION_ID = 22
    KESTREL_IP = 23
    MAC = 24
    SAVE_BRICKS = 25
    LOCAL_CSV = 26
    REALTIME_PARAMETRIC = 27
    SINGLE_CSV_UUT = 28
    STATION_DISPLAY_NAME = 29
    URI_CONFIG_PATH = 30
    SFC_QUERY_UNIT_ON_OFF = 31
    STATION_SET_CONTROL_BIT_ON_OFF = 36
    CONTROL_BITS_TO_CHECK_ON_OFF = 37
    CONTROL_BITS_TO_CLEAR_ON_PASS_ON_OFF = 38
    CONTROL_BITS_TO_CLEAR_ON_FAIL_ON_OFF = 39
    ACTIVATION_IP = 40
    LINE_MANAGER_IP = 41
    GDADMIN = 42
    SKIFF_LINE = 43
    USB_STORAGE = 44
    FIREWALL = 45
    UNIT_PROCESS_REQUIRE_OCELOT = 46
    KESTREL_STARTED = 47
    LAST_RESTORED = 48
