#!/bin/sh
# Both changelogs begin with the version that is built, and the Debian one is well-formed.
# Usage: changelogs.sh CHANGELOG.md DEBIAN-CHANGELOG VERSION
set -eu
newest=$(sed -n 's/^## \([^ ]*\).*/\1/p' "$1" | head -n 1)
debian=$(dpkg-parsechangelog --file "$2" --show-field Version)
if [ "$newest" != "$3" ] || [ "$debian" != "$3" ]; then
    echo "CHANGELOG.md begins with '$newest', the Debian changelog with '$debian', not with '$3'."
    exit 1
fi
[ -z "$(dpkg-parsechangelog --file "$2" 2>&1 >/dev/null)" ]
