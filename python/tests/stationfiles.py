"""Signed station files for sessions in the test sandbox.

The station info file is signed by the project's own tool
(tools/sign_station_info) with the development station key of the build.
Run as a script it writes the files for a build directory:

    python3 python/tests/stationfiles.py BUILD_DIR
"""

from __future__ import annotations

import json
import os
import re
import subprocess
import sys
import time
from pathlib import Path
from typing import Any

CONFIG_DIR = Path("/vault/data_collection/test_station_config")
INFO_PATH = CONFIG_DIR / "ks_station_info.json"
HEALTH_PATH = CONFIG_DIR / "station_health_check.json"
UUT_DATA = Path("/vault/data_collection/uut_data")

# Every fault a sample station treats as ACTIVE.
ACTIVE_MESSAGES = (
    "BK_MSG_ERROR_API_UNHANDLED",
    "BK_MSG_ERROR_UNIT_ID_INVALID",
    "BK_MSG_ERROR_UNIMPLEMENTED",
    "BK_MSG_ERROR_API_SYNTAX",
    "BK_MSG_ERROR_API_NO_ATTRIBUTE",
    "BK_MSG_ERROR_MARTEN_NOT_RUNNING",
    "BK_MSG_ERROR_FILESYSTEM",
    "BK_MSG_ERROR_INVALID_SERIAL_NUMBER",
    "BK_MSG_ERROR_KESTREL_NOT_RESPONDING",
    "BK_MSG_ERROR_NETWORK_NOT_RESPONDING",
    "BK_MSG_ERROR_ETHERNET_NOT_RESPONDING",
    "BK_MSG_ERROR_UNIT_OUT_OF_PROCESS",
    "BK_MSG_ERROR_INVALID_DATA_FORMAT",
    "BK_MSG_ERROR_SFC_QUERY_UNIT",
    "BK_MSG_ERROR_CANOPY_AMIOKAY",
)


def in_sandbox() -> bool:
    """True inside tests/launcher/bk-hermetic, whose /vault is a private tmpfs."""
    with open("/proc/self/mountinfo", encoding="utf-8") as mounts:
        return any(" /vault " in line and " bk-vault " in line for line in mounts)


def station_info(ksinfo: dict[str, Any] | None = None, lifeline: dict[str, Any] | None = None):
    """A station info file's content; entries given override the sample's."""
    info = {
        "ksinfo": {
            "SITE": "PYTS",
            "PRODUCT": "P42",
            "BUILD_STAGE": "EVT",
            "LINE_NUMBER": "L03",
            "STATION_NUMBER": "2",
            "STATION_TYPE": "FUNCTIONAL-TEST",
            "STATION_ID": "PYTS_L03_FUNCTIONAL-TEST_2",
            "STATION_DISPLAY_NAME": "Python functional test 2",
            "MAC": "02:00:00:00:00:02",
            "SFC_URL": "http://sfc.invalid/query",
            "SFC_QUERY_UNIT_ON_OFF": "OFF",
            "SFC_TIMEOUT": 15,
            "KSSI_LASTUPDATE_TIMEOUT": 45,
            "MARTEN_NOT_RUNNING_TIMEOUT": -1,
            "NETWORK_NOT_OK_TIMEOUT": -1,
            "PDATA_TO_SEND_TO_TRAX": [],
            "SIGNATURE_VERSION": "1",
            "SIGNATURE_EXPIRATION": int(time.time()) + 86400,
        },
        "lifeline": {name: 1 for name in ACTIVE_MESSAGES},
        "swversions": {"bramblekit": "00112233445566778899aabbccddeeff"},
        "controlbits": {
            "CONTROL_BITS_TO_CHECK": ["0x0001", "0x0002"],
            "STATION_FAIL_COUNT_ALLOWED": 5,
        },
    }
    info["ksinfo"].update(ksinfo or {})
    info["lifeline"].update(lifeline or {})
    return info


def health() -> dict[str, Any]:
    now = int(time.time())
    return {
        "network_ok": 1,
        "network_last_check_timestamp_int": now,
        "network_last_successful_check_int": now,
        "ethernet_ok": 1,
        "kssi_ok": 1,
        "kssi_last_successful_check": now - 0.5,
    }


def write_signed(sign_tool: str, key: str, info: dict[str, Any] | None = None) -> None:
    """Writes both station files; the info file signed by the signing tool."""
    CONFIG_DIR.mkdir(parents=True, exist_ok=True)
    # The library's own writer style: tabs and " : ".
    text = json.dumps(info or station_info(), indent="\t", separators=(",", " : ")) + "\n"
    INFO_PATH.write_text(text, encoding="utf-8")
    HEALTH_PATH.write_text(json.dumps(health(), indent="\t") + "\n", encoding="utf-8")
    subprocess.run([sign_tool, key, str(INFO_PATH), "1"], check=True)


def tools_of(build_dir: str) -> tuple[str, str]:
    """The signing tool and the development station key of a build directory."""
    header = Path(build_dir, "generated", "DevelopmentKeys.h").read_text(encoding="utf-8")
    found = re.search(r'#define BK_DEV_STATION_PRIVATE_KEY "(.*)"', header)
    if not found or not found.group(1):
        raise SystemExit("this build embeds deployment keys; signing needs the development keys")
    return os.path.join(build_dir, "tools", "sign_station_info"), found.group(1)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        raise SystemExit("usage: stationfiles.py BUILD_DIR")
    if not in_sandbox():
        raise SystemExit("stationfiles.py: run inside tests/launcher/bk-hermetic")
    write_signed(*tools_of(sys.argv[1]))
