#!/bin/sh
# Fails if the tool's binary lacks one of the protections of cmake/hardening.cmake. Two of them
# leave no certain trace in a binary; they are looked up in the commands that compiled it.
# Usage: hardening.sh <binary> <build directory>
set -eu
export LC_ALL=C
status=0
# expect <what> <pattern> <command>: the command's output has a line with the pattern
expect() {
    what=$1
    pattern=$2
    shift 2
    "$@" | grep -Eq -e "$pattern" && return
    echo "missing: $what"
    status=1
}
commands() { grep -E '"command":.* -o CMakeFiles/convertquorvlogs(_core)?\.dir/' "$1/compile_commands.json"; }

expect 'position-independent executable' 'FLAGS_1.*\bPIE\b' readelf -dW "$1"
expect 'read-only relocations' 'GNU_RELRO' readelf -lW "$1"
expect 'binding at start, so that all relocations are read-only' 'FLAGS_1.*\bNOW\b' readelf -dW "$1"
expect 'stack that is not executable' 'GNU_STACK.* RW ' readelf -lW "$1"
expect 'stack protector' '__stack_chk_fail' readelf -W --dyn-syms "$1"
for option in -D_FORTIFY_SOURCE=[23] -fstack-clash-protection -fstack-protector-strong; do
    expect "a command that compiles the tool's sources" . commands "$2"
    if commands "$2" | grep -Evq -e "$option"; then
        echo "not compiled with $option: $(commands "$2" | grep -Ev -e "$option")"
        status=1
    fi
done
exit $status
