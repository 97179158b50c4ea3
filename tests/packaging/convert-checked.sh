#!/bin/sh
# The recipe convert-checked: silent about nothing that is missing, and about nothing else.
# Usage: convert-checked.sh RECIPE TOOL SAMPLES
set -eu
recipe=$1 tool=$2 samples=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/bin"

# Each case runs the recipe with a tool of its own: the commands that stand after the run of the
# real one, if any, do to the outputs what a failing disk does.
expect() {
    wanted=$1 logs=$2 damage=$3
    shift 3
    printf '#!/bin/sh\n"%s" "$@"\n%s\n' "$tool" "$damage" >"$work/bin/convertquorvlogs"
    chmod +x "$work/bin/convertquorvlogs"
    rm -rf "$work/out"
    status=0
    PATH="$work/bin:$PATH" "$recipe" "$logs" "$work/out" "$@" >"$work/said" 2>&1 || status=$?
    # shellcheck disable=SC2254 # a pattern
    case "$status $(cat "$work/said")" in
    $wanted) ;;
    *)
        echo "'$damage' gives '$status $(cat "$work/said")', not '$wanted'"
        exit 1
        ;;
    esac
}

for truck in two-module-truck single-module-truck damaged; do
    expect '0 complete: *' "$samples/$truck" ''
done
truck=$samples/two-module-truck
expect '0 complete: 0 lines*' "$truck" '' --startdate 2032-01-01

expect '1 *detail files of the logs: *' "$truck" 'sed -i 2d detail.csv'
expect '1 *detail files of the logs: *' "$truck" 'sed -i 2d 20220309.LOG.detail.csv'
expect '1 dynamicInfo.csv: *' "$truck" 'sed -i 2d dynamicInfo.csv'
expect '1 soc.csv: *' "$truck" 'sed -i 2d soc.csv'
expect '1 wide.csv: *' "$truck" 'sed -i 2d wide.csv'
expect '1 wide.csv: the last line is cut off' "$truck" 'truncate -s -1 wide.csv'
expect '1 wide.csv: the last line is cut off' "$truck" ': >wide.csv'
expect '[12] *wide.csv*' "$truck" 'rm wide.csv'
expect '1 Unable to open ./Z.LOG for reading.' "$truck" 'echo "Unable to open ./Z.LOG for reading." >&2'
expect '1 *is cut off' "$truck" ': >detail.csv
: >dynamicInfo.csv
: >soc.csv
: >wide.csv
rm ./*.LOG.detail.csv'

# A real limit: no file may grow beyond 100 blocks, and the tool is not told by a signal.
printf '#!/bin/sh\ntrap "" XFSZ\nulimit -f 100\nexec "%s" "$@"\n' "$tool" \
    >"$work/bin/convertquorvlogs"
if PATH="$work/bin:$PATH" "$recipe" "$truck" "$work/limited"; then
    echo "A limit on the size of files is not noticed."
    exit 1
fi
