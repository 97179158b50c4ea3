#!/bin/sh
# Converts copies of the sample logs, the damaged ones among them, under valgrind: no invalid access,
# no use of a value that was never set, no leak.
# Usage: memcheck.sh <tool> <samples directory>
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
for logs in "$2"/*/; do
    cp "$logs"/*.LOG "$scratch"
done
cd "$scratch"
valgrind --quiet --leak-check=full --error-exitcode=99 "$1" --all
