#!/bin/sh
# The Debian package: lintian accepts it, it installs into an empty root, its tool converts its
# samples, and it goes without a trace.
# Usage: debian.sh BUILD
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cpack --config "$1/CPackConfig.cmake" -G DEB -B "$work/made" >log 2>&1 || { cat log; exit 1; }
package=$(echo made/*.deb)

lintian --allow-root --fail-on error,warning "$package"
depends=$(dpkg-deb --field "$package" Depends)
case $depends in
*libc6*libstdc++6*) ;;
*) echo "Depends: $depends"; exit 1 ;;
esac

# The root is empty but for what dpkg itself needs, and stays so. Nothing in it can satisfy the
# dependencies: the tool runs with the libraries of this machine.
mkdir -p root/var/lib/dpkg/info root/var/lib/dpkg/updates root/tmp
: >root/var/lib/dpkg/status
inDpkg() {
    fakeroot dpkg --root="$work/root" --log="$work/dpkg.log" --force-depends --force-not-root \
        --path-include='/usr/share/*' "$@" >>dpkg.out 2>&1 || { cat dpkg.out; exit 1; }
}
contents() { find root -path root/var/lib/dpkg -prune -o -print | sort; }
contents >before
inDpkg --install "$package"
[ "$(root/usr/bin/convertquorvlogs --version)" = \
    "convertquorvlogs version $(dpkg-deb --field "$package" Version)" ]
readelf --sections --wide root/usr/bin/convertquorvlogs >sections
if grep -q '\.symtab' sections; then echo "The tool is not stripped."; exit 1; fi
for page in root/usr/share/man/man1/convertquorvlogs.1.gz \
    root/usr/share/doc/convertquorvlogs/changelog.gz; do
    gzip -t "$page"
done
for sample in root/usr/share/doc/convertquorvlogs/examples/samples/*/; do
    cp -r "$sample" converted
    root/usr/bin/convertquorvlogs converted >console
    [ "$(wc -l <converted/wide.csv)" -gt 1 ]
    rm -r converted
done

# Purged, it leaves nothing, neither in the tree nor in dpkg's lists.
inDpkg --purge convertquorvlogs
contents >after
diff before after
if grep -r convertquorvlogs root/var/lib/dpkg/info root/var/lib/dpkg/status; then exit 1; fi
[ -z "$(find root/var/lib/dpkg/info -name 'convertquorvlogs*')" ]
