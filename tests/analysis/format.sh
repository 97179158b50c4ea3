#!/bin/sh
# Fails if clang-format would change one of the project's C++ files.
# Usage: format.sh <source directory>
set -eu
cd "$1"
find src tests samples bench fuzz \( -name '*.cpp' -o -name '*.h' \) \
    -exec clang-format --dry-run -Werror {} +
