#!/bin/sh
# script/bootstrap with a dpkg-query, apt-get and sudo that only write down what they are asked: which
# packages a set has, that only what is missing is installed, and what is said before. And every other
# script asks for a set that there is.
# Usage: bootstrap.sh SOURCE
set -eu
source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir bin
PATH=$work/bin:$PATH
export PATH work
unset DEBIAN_FRONTEND

program() {
    { echo '#!/bin/sh' && cat; } >"bin/$1"
    chmod +x "bin/$1"
}
fail() {
    echo "$1"
    exit 1
}
# Lines of the file "installed" are packages and their states.
program dpkg-query <<'END'
for package; do :; done
sed -n "s/^$package //p" "$work/installed" | grep .
END
program apt-get <<'END'
echo "${DEBIAN_FRONTEND-}: $*" >>"$work/calls"
case " $* " in
*' --assume-no -o APT::Get::Assume-Yes=false '*) # else a machine may be configured to say "yes"
    echo 'The following NEW packages will be installed:'
    echo '0 upgraded, 9 newly installed, 0 to remove and 0 not upgraded.'
    echo 'Need to get 7 MB of archives.'
    echo 'After this operation, 8 MB of additional disk space will be used.'
    echo 'Do you want to continue? [Y/n] N'
    exit 1
    ;;
*' -y '*)
    cp "$work/said" "$work/saidBefore"
    [ ! -e "$work/fails" ]
    ;;
esac
END
program sudo <<'END'
echo sudo >>"$work/sudos"
exec env -u DEBIAN_FRONTEND "$@" # as sudo does by default
END
program id <<'END'
echo "$user"
END
user=0
export user
: >installed

# bootstrap [SET]: leaves in $status how it ended, and in the files "said", "errors", "calls" and
# "sudos" what it said, what it complained of, and what it asked of apt-get and of sudo.
bootstrap() {
    : >calls
    : >said
    : >sudos
    status=0
    "$source/script/bootstrap" "$@" >said 2>errors || status=$?
}
# The packages that the last call installed, one per line, sorted.
packages() { sed -n 's/.* -y -qq //p' calls | tr ' ' '\n' | sort; }

refused() {
    bootstrap "$@"
    [ "$status" -eq 2 ] || fail "'$*' ends with status $status"
    [ "$(cat errors)" = 'Usage: script/bootstrap [demo|test|all]' ] || fail "'$*': $(cat errors)"
    [ -z "$(cat calls said)" ] || fail "'$*' is not refused: $(cat calls said)"
}
refused --all
refused tests
refused Demo
refused ''
refused demo test

for set in demo test all; do
    bootstrap $set
    [ "$status" -eq 0 ] || fail "$set ends with status $status: $(cat errors)"
    packages >$set
    repeated=$(uniq -d $set)
    [ -z "$repeated" ] || fail "listed more than once: $repeated"
    if grep -vxE '[a-z0-9][a-z0-9.+-]+' $set; then fail "$set: not the name of a package"; fi
done
printf '%s\n' cmake g++ ninja-build | cmp - demo || fail 'the tool needs a compiler, CMake and Ninja only'
[ -z "$(comm -23 demo test)$(comm -23 test all)" ] || fail 'a set lacks what the smaller one has'
[ -n "$(comm -13 test all)" ] || fail 'all adds nothing'
bootstrap
packages | cmp - test || fail 'without a word it is not the set for the tests'

# All is said before anything is installed, and nobody is asked.
bootstrap demo
printf '%s\n' 'Installing: cmake g++ ninja-build' \
    '0 upgraded, 9 newly installed, 0 to remove and 0 not upgraded.' 'Need to get 7 MB of archives.' \
    'After this operation, 8 MB of additional disk space will be used.' | cmp - said
cmp said saidBefore || fail 'it installs before it has said how much'
if grep ' install ' calls | grep -v '^noninteractive: '; then fail 'apt-get may ask'; fi
[ ! -s sudos ] || fail 'root needs no sudo'

# What is there is not installed again; a package that was removed and left its configuration is not
# there.
sed 's/$/ install ok installed/' all >installed
for set in demo test all; do
    bootstrap $set
    [ "$status" -eq 0 ] || fail "$set ends with status $status though nothing is missing"
    [ -z "$(cat said calls)" ] || fail "$set: $(cat said calls)"
done
sed -i -e '/^fish /d' -e 's/^cmake .*/cmake deinstall ok config-files/' installed
bootstrap demo
[ "$(packages)" = cmake ] || fail "instead of cmake alone: $(packages)"
bootstrap test
[ "$(packages | tr '\n' ' ')" = 'cmake fish ' ] || fail "instead of cmake and fish: $(packages)"

# Somebody who is not root needs sudo, which clears the environment.
user=1000
bootstrap demo
[ "$(grep -c . sudos)" -eq "$(grep -c . calls)" ] || fail "apt-get without sudo: $(cat calls)"
[ "$(packages)" = cmake ] || fail "as a user: $(packages)"
if grep ' install ' calls | grep -v '^noninteractive: '; then fail 'apt-get may ask a user'; fi

touch fails
bootstrap demo
[ "$status" -ne 0 ] || fail 'an installation that fails goes unnoticed'

# The other scripts, but for the one that makes the docs from a table.
cd "$source/script"
known='(^|[./"])script/bootstrap"?,? "?(demo|test|all)\>'
for script in *; do
    case $script in
    bootstrap | columns | *.*) ;;
    test) # whose set depends on --all
        grep -qE '^packages=test ' test || fail 'script/test'
        ;;
    *) grep -qE "$known" "$script" || fail "script/$script does not install what it needs" ;;
    esac
done
