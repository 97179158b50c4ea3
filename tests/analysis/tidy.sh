#!/bin/sh
# Runs clang-tidy over every file that the build directory compiles. The sources of the tool get the
# checks of .clang-tidy in full; the others go without the path-following ones, which take longer
# over a test program than over the whole tool.
# Usage: tidy.sh <source directory> <build directory>
set -eu
source=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# A file that belongs to several targets is looked at once.
python3 - "$2/compile_commands.json" "$scratch" <<'END'
import json, sys
commands = {command["file"]: command for command in json.load(open(sys.argv[1]))}
json.dump(list(commands.values()), open(sys.argv[2] + "/compile_commands.json", "w"))
print("\n".join(sorted(commands)), file=open(sys.argv[2] + "/files", "w"))
END

# The compile commands are g++'s, and clang doesn't know all of its warnings and options. Standard
# error has only the count of findings in the system's headers.
tidy() {
    xargs -P "$(nproc)" -n 1 clang-tidy -quiet -p "$scratch" \
        --extra-arg=-Wno-unknown-warning-option --extra-arg=-Wno-ignored-optimization-argument \
        "$@" 2>/dev/null
}
status=0
grep "^$source/src/" "$scratch/files" | tidy || status=1
grep "^$source/" "$scratch/files" | grep -v "^$source/src/" | tidy --checks=-clang-analyzer-* ||
    status=1
exit $status
