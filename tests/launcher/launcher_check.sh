#!/usr/bin/env bash
# Checks bk-hermetic from the outside. It runs inside a sandbox of its own
# (see tests/CMakeLists.txt), so the "host" it inspects is that sandbox's
# /vault, /tmp and /usr/local/lib, and the real host is never written.
#
# usage: launcher_check.sh PATH_TO_BK_HERMETIC
set -uo pipefail

launcher="$1"
failures=0
check() { # check DESCRIPTION COMMAND...
  local description="$1"
  shift
  if "$@"; then
    echo "ok: $description"
  else
    echo "FAILED: $description"
    failures=$((failures + 1))
  fi
}
absent() { [[ ! -e "$1" ]]; }

# Something the sandboxed command must not see.
echo host > /vault/host-file
echo host > /tmp/host-file
echo host > /usr/local/lib/libBKSFCPost.dylib

# Writes inside stay inside, and host files are hidden.
(cd / && "$launcher" -- sh -c '
  test -z "$(find /vault /tmp /usr/local/lib -mindepth 1)" || exit 3
  touch /vault/inside /tmp/inside /usr/local/lib/inside')
check "sandbox starts with empty /vault, /tmp and /usr/local/lib" test $? -eq 0
check "/vault write stays inside" absent /vault/inside
check "/tmp write stays inside" absent /tmp/inside
check "/usr/local/lib write stays inside" absent /usr/local/lib/inside
check "host files survive" grep -q host /vault/host-file /tmp/host-file

"$launcher" -- sh -c 'exit 42'
check "exit status is the command's" test $? -eq 42

"$launcher" -- sh -c 'test "$TMPDIR" = /tmp'
check "TMPDIR is /tmp" test $? -eq 0

# A build tree under /tmp keeps its absolute path, is writable, and the
# command may be given relative to the working directory.
tree=/tmp/ci-clone/repo
mkdir -p "$tree/build/bin" "$tree/src"
echo source > "$tree/src/data"
printf '#!/bin/sh\ncat %s/src/data > %s/build/out\nls -A /tmp\n' "$tree" "$tree" > "$tree/build/bin/run"
chmod +x "$tree/build/bin/run"
listing=$(cd "$tree/build" && BK_HERMETIC_KEEP="$tree/src" "$launcher" -- bin/run)
check "kept tree under /tmp runs and writes through" grep -q source "$tree/build/out"
check "only the kept path shows in the sandbox's /tmp" test "$listing" = ci-clone

printf 'fake client\n' > "$tree/build/client.so"
"$launcher" --sfc-client "$tree/build/client.so" -- \
  sh -c 'grep -q "fake client" /usr/local/lib/libBKSFCPost.dylib'
check "--sfc-client installs the client inside" test $? -eq 0
check "--sfc-client leaves the host's client alone" grep -q host /usr/local/lib/libBKSFCPost.dylib

"$launcher" --keep-usr-local-lib -- grep -q host /usr/local/lib/libBKSFCPost.dylib
check "--keep-usr-local-lib shows the host's directory" test $? -eq 0

"$launcher" --sfc-client /nonexistent.so -- true 2>/dev/null
check "a missing client is refused" test $? -eq 125

"$launcher" 2>/dev/null
check "a missing command is refused" test $? -eq 125

if ((failures)); then
  echo "$failures launcher check(s) failed"
  exit 1
fi
