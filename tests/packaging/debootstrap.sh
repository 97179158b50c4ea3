#!/bin/sh
# Installs the Debian package by apt, with everything that it depends on, into a fresh Debian, and
# runs the tool there.
# Usage: debootstrap.sh BUILD
set -eu
# shellcheck source=tests/packaging/freshDebian.sh
. "$(dirname "$0")/freshDebian.sh"
cpack --config "$1/CPackConfig.cmake" -G DEB -B "$work/made" >log 2>&1

$as cp made/*.deb root/tmp/convertquorvlogs.deb
$as chroot root apt-get install -y --no-install-recommends /tmp/convertquorvlogs.deb >log 2>&1
# shellcheck disable=SC2016 # expanded in the new root
$as chroot root sh -euc '
    cp -r /usr/share/doc/convertquorvlogs/examples/samples /tmp/samples
    for truck in /tmp/samples/*/; do
        cd "$truck"
        convertquorvlogs --all >/dev/null
        [ "$(wc -l <wide.csv)" -gt 1 ]
    done
    apt-get purge -qq -y convertquorvlogs >/dev/null
    [ -z "$(find /usr /etc /var/lib/dpkg/info -name "*convertquorvlogs*")" ]'
