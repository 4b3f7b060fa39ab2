#!/usr/bin/env python3
"""A small functional-test station in Python: three simulated units, one of
which fails its battery test.  Each unit is started, tested, checked, ended
and committed through Bramblekit, and its verdict printed.

Needs the station files under /vault (see the README for a sandbox run).
"""

from __future__ import annotations

import random
import sys
import warnings

import bramblekit as bk

LOWER, UPPER = 3.6, 4.2


def measure_battery(serial: str) -> float:
    """The simulated measurement; the third unit's cell is flat."""
    rng = random.Random(serial)
    return 3.2 if serial.endswith("3") else round(rng.uniform(3.8, 4.1), 3)


def test_unit(serial: str) -> bk.Verdict:
    with bk.Session() as uut:
        uut.add_attribute("serialnumber", serial)
        uut.add_attribute("softwarename", "FT-python-example")
        uut.add_attribute("softwareversion", "1.0.0")
        uut.am_i_okay()  # station and unit may be tested here

        volts = measure_battery(serial)
        battery = bk.Verdict.PASS if LOWER <= volts <= UPPER else bk.Verdict.FAIL
        uut.add_result("Battery", "Voltage", value=volts, lower=LOWER, upper=UPPER,
                       units="V", result=battery,
                       message="" if battery == bk.Verdict.PASS else "below limit")
        uut.add_result("Boot", result=bk.Verdict.PASS)
        uut.add_blob_data("battery.txt", f"{serial} {volts} V\n".encode())

        verdict = battery
        uut.done()
        uut.commit(verdict)
        document = uut.results()
        print(f"{serial}: {verdict.name}  (battery {volts} V, "
              f"{len(document['results'])} results committed)")
        return verdict


def main() -> int:
    # A passive fault is worth a line on the console, not a stop of the line.
    warnings.simplefilter("always", bk.BramblekitWarning)
    verdicts = [test_unit(f"C0212PY000{n}") for n in (1, 2, 3)]
    failed = sum(v == bk.Verdict.FAIL for v in verdicts)
    print(f"{len(verdicts)} units tested, {failed} failed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
