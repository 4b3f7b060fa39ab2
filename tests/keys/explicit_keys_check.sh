#!/usr/bin/env bash
# Configures tests/keys with explicit key cache variables and checks that the
# library would embed exactly those keys; a pass phrase table size that does
# not open the results key must stop the configure.
# usage: explicit_keys_check.sh SOURCE_ROOT WORK_DIR
set -euo pipefail
root="$1"
work="$2"
rm -rf "$work"
mkdir -p "$work/given"
given="$work/given"

# Table size 100: the pass phrase is "%x" of 100*99/2 = 4950, "1356".
openssl genrsa -out "$given/station_private.pem" 1024 2>/dev/null
openssl rsa -in "$given/station_private.pem" -pubout -out "$given/station_public.pem" 2>/dev/null
openssl genrsa -out "$given/plain.pem" 1024 2>/dev/null
openssl rsa -in "$given/plain.pem" -traditional -des3 -passout pass:1356 \
  -out "$given/results_private.pem" 2>/dev/null

configure() {
  cmake -S "$root/tests/keys" -B "$work/build-$1" -DBK_ROOT="$root" \
    -DBK_STATION_INFO_PUBLIC_KEY="$given/station_public.pem" \
    -DBK_RESULTS_PRIVATE_KEY="$given/results_private.pem" -DBK_PASSPHRASE_TABLE_SIZE="$1"
}

configure 100 >"$work/configure-100.log" 2>&1 || { cat "$work/configure-100.log"; exit 1; }
cmake --build "$work/build-100" >/dev/null
generated="$work/build-100/generated/signature/EmbeddedKeys.cpp"
grep -qF "$(sed -n 2p "$given/station_public.pem")" "$generated" || { echo "station key not embedded"; exit 1; }
grep -qF "$(sed -n 5p "$given/results_private.pem")" "$generated" || { echo "results key not embedded"; exit 1; }
grep -q 'BK_DEV_STATION_PRIVATE_KEY ""' "$work/build-100/generated/DevelopmentKeys.h" ||
  { echo "a station private key is claimed for a deployment key"; exit 1; }
if ls "$work/build-100/keys" | grep -q private; then echo "a private key was generated"; exit 1; fi
# The derived public results key matches the given private key.
cmp <(openssl rsa -in "$given/results_private.pem" -passin pass:1356 -pubout 2>/dev/null) \
  "$work/build-100/keys/results_public_deployment.pem"

if configure 101 >"$work/configure-101.log" 2>&1; then
  echo "a table size whose pass phrase does not open the key was accepted"
  exit 1
fi
echo "explicit key variables: ok"
