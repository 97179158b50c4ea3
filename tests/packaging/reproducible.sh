#!/bin/sh
# The source archive, unpacked in directories of different names with different umasks, time zones
# and languages, gives packages of the same bytes: the Debian package, the binary archive, and the
# source archive itself.
# Usage: reproducible.sh BUILD VERSION
set -eu
work=$(mktemp -d)
trap '[ $? -eq 0 ] || cat "$work/log"; rm -rf "$work"' EXIT
cd "$work"
source=$work/source/convertquorvlogs-$2.tar.gz
cpack --config "$1/CPackSourceConfig.cmake" -B "$work/source" >log 2>&1

# build DIRECTORY UMASK
build() {
    mkdir -p "$work/$1"
    cd "$work/$1"
    umask "$2"
    tar --extract --strip-components=1 --no-same-permissions --file="$source"
    cmake --preset release -DCONVERTQUORVLOGS_TESTS=OFF
    cmake --build --preset release --target convertquorvlogs
    umask 022
    cpack --config build/release/CPackConfig.cmake -B build/packages
    cpack --config build/release/CPackSourceConfig.cmake -B build/packages
    rm -r build/packages/_CPack_Packages
}
export LC_ALL=C TZ=UTC
build one 022 >>"$work/log" 2>&1
export LC_ALL=C.UTF-8 TZ=Asia/Tokyo
build another/and+deeper 077 >>"$work/log" 2>&1

cd "$work"
[ "$(find one/build/packages -type f | wc -l)" -eq 3 ]
diff -r one/build/packages another/and+deeper/build/packages
cmp "$source" "one/build/packages/${source##*/}"
