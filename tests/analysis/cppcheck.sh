#!/bin/sh
# Runs cppcheck over the sources of the tool.
# Usage: cppcheck.sh <source directory>
set -eu
cd "$1"
exec cppcheck --quiet --std=c++20 --language=c++ -I src --error-exitcode=1 \
    --enable=warning,style,performance,portability \
    --suppressions-list=tests/analysis/cppcheck.suppressions \
    -D 'CONVERTQUORVLOGS_VERSION=""' src
