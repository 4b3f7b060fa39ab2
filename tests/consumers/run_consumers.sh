#!/usr/bin/env bash
# Builds stations the way a station's build would and runs one unit each to a
# verified commit: a C station through pkg-config and a C++ station through
# find_package(Bramblekit), both against a fresh install prefix; the same C++
# project with the source tree added by add_subdirectory() (which must bring
# no tests); and, given the Debian packages, the C station against their
# unpacked files.  Prints "consumer NAME: ok" or "consumer NAME: FAILED" per
# case.  Runs inside tests/launcher/bk-hermetic: it writes /vault and /tmp.
#
# usage: run_consumers.sh SOURCE_ROOT BUILD_DIR [DEB_DIR]
set -uo pipefail
root="$1"
build="$2"
debs="${3:-}"
here="$root/tests/consumers"
work="$(mktemp -d /tmp/consumers.XXXXXX)"
station_id=DEMO_L01_FUNCTIONAL-TEST_1  # as tests/support/write_station_files.sh writes it
failed=0

# key_path BUILD_DIR MACRO: a development key path that BUILD_DIR generated.
key_path() { sed -n "s/^#define $2 \"\(.*\)\"$/\1/p" "$1/generated/DevelopmentKeys.h"; }

# run_unit TOOLS_DIR KEYS_BUILD_DIR COMMAND...: signed station files for the
# keys of KEYS_BUILD_DIR, then COMMAND, then exactly one committed session
# whose results signatures verify.
run_unit() {
  local tools="$1" keys="$2"
  shift 2
  rm -rf /vault/data_collection
  bash "$root/tests/support/write_station_files.sh" "$tools/bramblekit-sign-station-info" \
    "$(key_path "$keys" BK_DEV_STATION_PRIVATE_KEY)" || return 1
  "$@" || return 1
  local committed=(/vault/data_collection/uut_data/*.commit)
  if [[ ${#committed[@]} -ne 1 || ! -d "${committed[0]}" ]]; then
    echo "expected one committed session: ${committed[*]}"
    return 1
  fi
  "$tools/bramblekit-verify-results" "$(key_path "$keys" BK_DEV_RESULTS_PUBLIC_KEY)" \
    "${committed[0]}/results.Json"
}

# c_station PKG_CONFIG_DIR OUTPUT: the C station, built with what pkg-config says.
c_station() {
  local flags libdir
  flags="$(PKG_CONFIG_PATH="$1" pkg-config --cflags --libs bramblekit)" || return 1
  libdir="$(PKG_CONFIG_PATH="$1" pkg-config --variable=libdir bramblekit)"
  # shellcheck disable=SC2086
  cc -std=c11 -Wall -Wextra -Werror "$here/station.c" -o "$2" $flags -Wl,-rpath,"$libdir"
}

# cxx_project BUILD_DIR CMAKE_ARGS...: configures and builds tests/consumers/cxx.
cxx_project() {
  local dir="$1"
  shift
  local launcher=()
  if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
  cmake -S "$here/cxx" -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" "$@" &&
    cmake --build "$dir" -j2
}

# check NAME COMMAND...: runs one case in a subshell, its output kept quiet
# unless it fails.
check() {
  local name="$1"
  shift
  if ("$@") >"$work/$name.log" 2>&1; then
    echo "consumer $name: ok"
  else
    echo "consumer $name: FAILED"
    sed 's/^/  | /' "$work/$name.log"
    failed=1
  fi
}

prefix="$work/prefix"
install_ok() { cmake --install "$build" --prefix "$prefix"; }
pkg_config_case() {
  c_station "$prefix/lib/pkgconfig" "$work/c-station" &&
    run_unit "$prefix/bin" "$build" "$work/c-station" "$station_id"
}
find_package_case() {
  cxx_project "$work/cxx-find" -DCMAKE_PREFIX_PATH="$prefix" &&
    run_unit "$prefix/bin" "$build" "$work/cxx-find/cxx_station"
}
add_subdirectory_case() {
  local dir="$work/cxx-sub"
  cxx_project "$dir" -DBRAMBLEKIT_SOURCE_DIR="$root" || return 1
  if [[ -e "$dir/bramblekit/tests" ]] || find "$dir" -name '*gtest*' | grep -q .; then
    echo "the sub-project built tests"
    return 1
  fi
  # The library of this build embeds its own development keys.
  run_unit "$prefix/bin" "$dir/bramblekit" "$dir/cxx_station"
}
deb_case() {
  local tree="$work/deb-tree" deb
  local found=("$debs"/*.deb)
  if ((${#found[@]} != 3)); then
    echo "expected three packages in $debs: ${found[*]}"
    return 1
  fi
  for deb in "${found[@]}"; do dpkg-deb -x "$deb" "$tree" || return 1; done
  c_station "$tree/usr/lib/pkgconfig" "$work/deb-station" &&
    run_unit "$tree/usr/bin" "$build" "$work/deb-station" "$station_id"
}

check install install_ok
check pkg-config pkg_config_case
check find_package find_package_case
check add_subdirectory add_subdirectory_case
if [[ -n "$debs" ]]; then
  check debian-packages deb_case
fi
exit "$failed"
