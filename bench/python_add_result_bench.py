"""Cost of Session.add_result from Python against the same call from C++.

Both add the same parametric results to a session of N results, in
alternating rounds in one process tree, so machine noise falls on both; the
report gives the median nanoseconds per call of each and their ratio.  Run it
in the sandbox (it writes to /vault):

    cmake --build <build-dir> --target run-bench-python
"""

from __future__ import annotations

import argparse
import statistics
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "python" / "tests"))
import stationfiles  # noqa: E402


def python_round(count: int) -> float:
    import bramblekit as bk

    with bk.Session() as uut:
        begin = time.perf_counter_ns()
        for i in range(count):
            uut.add_result("Rail", str(i), value=3.3 + (i % 17) * 0.001, lower="3.1",
                           upper="3.5", units="V", priority=bk.Priority.P1)
        elapsed = time.perf_counter_ns() - begin
        uut.cancel()
    return elapsed / count


def cxx_round(program: str, count: int) -> float:
    run = subprocess.run([program, str(count)], check=True, capture_output=True, text=True)
    return float(run.stdout.split()[-1])


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", required=True, help="build directory")
    parser.add_argument("--results", type=int, default=5000, help="results per session")
    parser.add_argument("--rounds", type=int, default=7)
    arguments = parser.parse_args()
    if not stationfiles.in_sandbox():
        raise SystemExit("run inside tests/launcher/bk-hermetic")
    stationfiles.write_signed(*stationfiles.tools_of(arguments.build))
    program = str(Path(arguments.build, "bench", "add_result_loop"))

    python_ns, cxx_ns = [], []
    for _ in range(arguments.rounds):
        cxx_ns.append(cxx_round(program, arguments.results))
        python_ns.append(python_round(arguments.results))
    python_median, cxx_median = statistics.median(python_ns), statistics.median(cxx_ns)
    print(f"add_result, {arguments.results} results per session, "
          f"median of {arguments.rounds} rounds:")
    print(f"  C++    {cxx_median / 1000:8.2f} us per call")
    print(f"  Python {python_median / 1000:8.2f} us per call")
    print(f"  ratio  {python_median / cxx_median:8.2f} (target: at most 3)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
