#!/bin/sh
# Checks the manual page: its form, and that it tells of every option and message.
# Usage: manual.sh PAGE TOOL RECIPE
set -eu
page=$1 tool=$2 recipe=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mandoc -Tlint -Wwarning "$page"
mandoc -Tascii -Owidth=1000 "$page" | col -b -x >"$work/text"

status=0
expect() {
    if ! grep -qE -e "$1" "$work/text"; then
        echo "The manual page does not say: $1"
        status=1
    fi
}
for option in '-a, --all' '--detail' '-d, --dynamicInfo' '-s, --soc' '-w, --wide' \
    '--startdate date' '--starttime time' '--enddate date' '--endtime time' \
    '-h, --help' '-v, --version'; do
    expect "^ +$option *$"
done
for message in 'Reading: path' 'Sorting path' 'Converting: path' \
    'Unable to open path for reading\.' 'Unable to read path to its end\.' \
    'Unable to list path to its end\.' \
    'Cannot process both path and path' 'option needs a value' \
    '--starttime must be used with --startdate' '--endtime must be used with --enddate' \
    "$(cd "$work" && "$tool" --version)"; do
    expect "^ +$message$"
done
for csv in wide.csv dynamicInfo.csv soc.csv detail.csv log.detail.csv synopsis.csv; do
    expect "^ +(directory/)?$csv$"
done

# The recipe it shows is the one that is tested, character by character.
sed -n '/^ *#!\/bin\/sh$/,/detail\.csv$/p' "$work/text" | sed 's/^           //' >"$work/shown"
diff "$recipe" "$work/shown" || status=1
exit $status
