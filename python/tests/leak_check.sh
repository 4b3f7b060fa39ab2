#!/usr/bin/env bash
# Runs the binding's tests against an AddressSanitizer build of the library
# with the leak checker on, and fails if any leaked block was allocated with
# libbramblekit on its stack: a reply, record or session the binding forgot to
# free.  The interpreter is not instrumented and leaves memory behind at exit
# by design; those reports never pass through the library and are not counted.
#
# Inside the sandbox, with the environment of the pytest test
# (BRAMBLEKIT_LIBRARY naming the ASan build's library):
#   leak_check.sh PRELOAD PYTHON TESTS_DIR
# PRELOAD (for LD_PRELOAD) names the shared runtime libasan.so, which has to
# come before the interpreter's own libraries, and libstdc++, which has to be
# there when the runtime starts so that C++ exceptions can be intercepted.
set -uo pipefail

preload="$1"
python="$2"
tests="$3"
logs="$(mktemp -d)"
trap 'rm -rf "$logs"' EXIT

# Unsymbolized frames name their module, so a leak through the library shows
# as such.  Leaks end the process with status 23; the tests' own verdict is read from
# their summary line, since that status replaces pytest's.
output="$(LD_PRELOAD="$preload" ASAN_OPTIONS="detect_leaks=1:symbolize=0:exitcode=23:log_path=$logs/asan" \
  "$python" -m pytest -q -p no:cacheprovider "$tests" 2>&1)"
status=$?
echo "$output"
summary="$(tail -n 1 <<<"$output")"
if ! [[ "$summary" =~ ^[0-9]+\ passed\ in ]]; then
  echo "leak_check: the tests did not all pass (status $status)"
  exit 1
fi
if ((status != 0 && status != 23)); then
  echo "leak_check: pytest ended with status $status"
  exit 1
fi
shopt -s nullglob
reports=("$logs"/asan.*)
if grep -l "ERROR: AddressSanitizer" "${reports[@]}" /dev/null; then
  echo "leak_check: AddressSanitizer reported an error"
  exit 1
fi
# One report block per leak, from "Direct/Indirect leak" to the blank line.
library_leaks="$(cat "${reports[@]}" /dev/null | awk '
  /^(Direct|Indirect) leak/ { block = $0; next }
  block != "" && /^$/ { if (block ~ /libbramblekit/) print block "\n"; block = ""; next }
  block != "" { block = block "\n" $0 }')"
if [[ -n "$library_leaks" ]]; then
  echo "$library_leaks"
  echo "leak_check: memory allocated by libbramblekit was never freed"
  exit 1
fi
leaks=$(cat "${reports[@]}" /dev/null | grep -cE '^(Direct|Indirect) leak' || true)
echo "leak_check: no leak through libbramblekit (${leaks} interpreter leak reports ignored)"
