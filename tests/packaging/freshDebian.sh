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

# shellcheck disable=SC2016 # apt fills these in
apt-get indextargets --format '$(CODENAME) $(REPO_URI)' 'Created-By: Packages' 'Component: main' \
    >archives
read -r release uri <archives
$as debootstrap --variant=minbase "$release" root "$uri" >log 2>&1
