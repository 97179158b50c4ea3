#!/bin/sh
# The files made from docs/columns.tsv are those that a fresh generation gives, and the manual page
# with them has no fault of form.
# Usage: files.sh SOURCE PYTHON PAGE
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$2" -B "$1/script/columns" "$work"
for file in docs/columns.md docs/columns.mdoc docs/datapackage.json recipes/split-detail; do
    cmp "$1/$file" "$work/${file#*/}" || { echo "run script/generate"; exit 1; }
done
"$2" -m json.tool "$1/docs/datapackage.json" /dev/null
mandoc -Tlint -Wwarning "$3"
