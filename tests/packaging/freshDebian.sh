#!/bin/sh
# Sourced by the tests that need a machine with nothing on it: makes the scratch directory $work and
# in it "root", a minimal Debian of the release of this machine, from the archive that this machine
# uses. Only root can; $as is sudo for everybody else. "log" is shown when the test fails.
set -eu
work=$(mktemp -d)
as=
[ "$(id -u)" -eq 0 ] || as=sudo
trap '[ $? -eq 0 ] || cat "$work/log"; $as rm -rf --one-file-system "$work"' EXIT
cd "$work"

# The components count on Ubuntu, whose "main" has no Ninja.
# shellcheck disable=SC2016 # apt fills these in
apt-get indextargets --format '$(CODENAME) $(REPO_URI) $(COMPONENT)' 'Created-By: Packages' >archives
read -r release uri _ <archives
components=$(sed -n "s|^$release $uri ||p" archives | sort -u | paste -s -d ,)
$as debootstrap --variant=minbase --components="$components" "$release" root "$uri" \
    >log 2>&1
