#!/bin/sh
# Without GoogleTest, Google Benchmark or Python the presets build the tool alone and CMake says so; once all
# are there, the tests join in, in the same build directory.
# Usage: testsLeftOut.sh SOURCE
set -eu
work=$(mktemp -d)
trap '[ $? -eq 0 ] || cat "$work/log"; rm -rf "$work"' EXIT
cd "$1"

# expect yes|no [OPTION...]: whether the build has the tests
expect() {
    tests=$1
    shift
    cmake --preset release -B "$work/build" "$@" >"$work/log" 2>&1
    grep -q 'convertquorvlogs: ' "$work/build/build.ninja"
    built=no said=no
    if grep -q '^build unitTests: ' "$work/build/build.ninja"; then built=yes; fi
    if grep -q 'the tool is built without its tests$' "$work/log"; then said=yes; fi
    case "$tests $built $said" in
    'yes yes no' | 'no no yes') ;;
    *)
        echo "$*: tests $built, said $said"
        exit 1
        ;;
    esac
}
expect no -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON
expect no -DCMAKE_DISABLE_FIND_PACKAGE_GTest=OFF -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON
expect no -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=OFF -DCMAKE_DISABLE_FIND_PACKAGE_Python3=ON
expect yes -DCMAKE_DISABLE_FIND_PACKAGE_Python3=OFF
