"""Fixtures for the binding's tests: they run inside tests/launcher/bk-hermetic
against a built library, which BRAMBLEKIT_LIBRARY names."""

from __future__ import annotations

import os
import shutil
import sys
from pathlib import Path
from typing import Callable

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parent))
import stationfiles  # noqa: E402

# Loading the library writes under /vault and /tmp: never outside the sandbox.
if not stationfiles.in_sandbox():
    pytest.exit("run these tests inside tests/launcher/bk-hermetic (see tests/CMakeLists.txt)", 2)


def _tools() -> tuple[str, str]:
    tool = os.environ.get("BK_SIGN_STATION_INFO")
    key = os.environ.get("BK_STATION_PRIVATE_KEY")
    if tool and key:
        return tool, key
    build = os.environ.get("BK_BUILD_DIR")
    if not build:
        pytest.exit("set BK_SIGN_STATION_INFO and BK_STATION_PRIVATE_KEY, or BK_BUILD_DIR", 2)
    return stationfiles.tools_of(build)


@pytest.fixture
def station() -> Callable[..., None]:
    """Fresh signed station files and an empty session tree; call it again
    with ksinfo=/lifeline= entries to replace the files."""
    shutil.rmtree(stationfiles.UUT_DATA, ignore_errors=True)
    tool, key = _tools()

    def write(**overrides: dict) -> None:
        stationfiles.write_signed(tool, key, stationfiles.station_info(**overrides))

    write()
    return write


def sessions() -> list[str]:
    """Names of the session directories under uut_data."""
    if not stationfiles.UUT_DATA.exists():
        return []
    return sorted(entry.name for entry in stationfiles.UUT_DATA.iterdir())
