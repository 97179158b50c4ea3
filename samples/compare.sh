#!/bin/sh
# Makes the samples in a new directory and compares them with those of the source tree, where
# somebody may have left the CSV files of a conversion.
# Usage: compare.sh <makeSamples> <samples directory>
set -eu
made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
"$1" "$made"
for directory in two-module-truck single-module-truck damaged; do
    diff -r --exclude='*.csv' "$made/$directory" "$2/$directory" ||
        { echo "run script/generate"; exit 1; }
done
