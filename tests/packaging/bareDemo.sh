#!/bin/sh
# script/demo in a fresh Debian, which has neither a compiler nor git: it says how much it installs,
# builds the tool, leaves the CSV files of every sample, and takes at most 600 MB of disk in all:
# packages, apt's lists and caches, sources and build.
# Usage: bareDemo.sh SOURCE
set -eu
# shellcheck source=tests/packaging/freshDebian.sh
. "$(dirname "$0")/freshDebian.sh"
megabytes() { echo "$(($($as du -sx --block-size=1 "root/$1" | cut -f 1) / 1000000))"; }
used() {
    echo "$(megabytes .) MB, of these apt's lists $(megabytes var/lib/apt/lists)," \
        "its caches $(megabytes var/cache/apt)"
}

before=$(megabytes .)
echo "before: $(used)"
$as mkdir root/convertquorvlogs
tar --create --exclude=./build --exclude=./out --exclude=./.git --directory "$1" . |
    $as tar --extract --no-same-owner --directory root/convertquorvlogs
$as chroot root env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin /convertquorvlogs/script/demo >demo 2>log ||
    { cat demo; exit 1; }
after=$(megabytes .)
echo "after: $(used)"

fail() {
    echo "$1"
    cat demo
    exit 1
}
grep -q '^Installing: .' demo || fail 'It does not say what it installs.'
grep -qE '^After this operation, [0-9]+ MB of additional disk space will be used\.$' demo ||
    fail 'It does not say how much it installs.'
for sample in "$1"/samples/*/; do
    converted=root/convertquorvlogs/build/demo/$(basename "$sample")
    for csv in wide dynamicInfo soc detail; do
        [ "$(wc -l <"$converted/$csv.csv")" -gt 1 ] || fail "$converted: no rows in $csv.csv"
    done
done
[ $((after - before)) -le 600 ] || fail "It takes $((after - before)) MB."
