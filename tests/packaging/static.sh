#!/bin/sh
# The preset "static" gives a tool that needs no shared library and converts a log.
# Usage: static.sh SOURCES
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$1"
cmake --preset static -B "$work/build" >/dev/null
cmake --build "$work/build" >"$work/log" || { cat "$work/log"; exit 1; }

tool=$work/build/convertquorvlogs
readelf --program-headers --dynamic --wide "$tool" >"$work/elf"
if grep -E 'INTERP|NEEDED' "$work/elf"; then exit 1; fi
ldd "$tool" 2>&1 | grep -qE 'not a dynamic executable|statically linked'

cp -r samples/two-module-truck "$work/truck"
cd "$work"
env -i "$tool" truck >console
[ "$(wc -l <truck/wide.csv)" -gt 1 ]
