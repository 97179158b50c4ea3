#!/bin/sh
# Runs shellcheck over every shell script.
# Usage: shellcheck.sh <source directory>
set -eu
cd "$1"
find . \( -name .git -o -name build -o -name out \) -prune -o -type f \
    -exec sh -c 'head -n 1 "$1" | grep -Eq "^#!/(usr/)?bin/(env )?(ba)?sh"' sh {} \; \
    -exec shellcheck {} +
