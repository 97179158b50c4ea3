#!/bin/sh
# Installs the Debian package by apt, with everything that it depends on, into a fresh Debian, and
# runs the tool there. The Debian is the release of this machine, from the archive that this machine
# uses; only root can make it.
# Usage: debootstrap.sh BUILD
set -eu
work=$(mktemp -d)
as=
[ "$(id -u)" -eq 0 ] || as=sudo
trap '[ $? -eq 0 ] || cat "$work/log"; $as rm -rf --one-file-system "$work"' EXIT
cd "$work"
cpack --config "$1/CPackConfig.cmake" -G DEB -B "$work/made" >log 2>&1

# shellcheck disable=SC2016 # apt fills these in
apt-get indextargets --format '$(CODENAME) $(REPO_URI)' 'Created-By: Packages' 'Component: main' \
    >archives
read -r release uri <archives
$as debootstrap --variant=minbase "$release" root "$uri" >log 2>&1
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
