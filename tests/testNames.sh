#!/bin/sh
# Checks that the tests' names and parameters read well and are the same in every run: no bytes or
# addresses in place of a parameter, and no number in place of its name.
# Usage: testNames.sh PROGRAM...
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

status=0
for program; do
    "$program" --gtest_list_tests >first
    "$program" --gtest_list_tests >second
    cmp first second || status=1
    if grep -nE '[0-9]-byte object <|0x[0-9a-f]|^  [^#]*/[0-9]+( |$)' first; then
        echo "^ in $program: the parameter needs a PrintTo, and the suite names for its tests"
        status=1
    fi
done
exit $status
