#!/bin/sh
# "cmake --install" puts every file where the file hierarchy standard wants it, and it works there.
# Usage: install.sh BUILD
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cmake --install "$1" --prefix "$work/usr" >/dev/null

doc=usr/share/doc/convertquorvlogs
for file in usr/bin/convertquorvlogs usr/share/man/man1/convertquorvlogs.1 \
    usr/share/bash-completion/completions/convertquorvlogs \
    usr/share/zsh/site-functions/_convertquorvlogs \
    usr/share/fish/vendor_completions.d/convertquorvlogs.fish \
    $doc/copyright $doc/CHANGELOG.md $doc/examples/recipes/convert-checked \
    $doc/examples/samples/two-module-truck/20220304.LOG; do
    [ -s "$file" ] || { echo "$file is missing"; exit 1; }
done
# Nothing else, above all no sources and no build files.
find usr -type f ! -path "$doc/*" >files
[ "$(wc -l <files)" -eq 5 ] || { cat files; exit 1; }
if find usr -name '*.cpp' -o -name CMakeLists.txt -o -name '*.in' | grep .; then exit 1; fi

PATH=$work/usr/bin:$PATH
export PATH
[ "$(convertquorvlogs --help | head -n 1)" = \
    'Usage: convertquorvlogs [ <filename> | <directory> ] [ <options> ]' ]
$doc/examples/recipes/convert-checked $doc/examples/samples/two-module-truck out
# man-db finds the page by the path of the program.
manual=$(MANPATH='' man --where convertquorvlogs)
[ "$manual" = "$work/usr/share/man/man1/convertquorvlogs.1" ] || { echo "man: $manual"; exit 1; }
