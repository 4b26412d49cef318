#!/bin/sh
# The help document stands on its own and keeps up with the programs: it
# loads nothing from outside (no images, style sheets or scripts by
# reference), every link inside it leads to a heading that exists, and it
# names every command of calvorinctl. The build tree has a current copy
# beside the programs, where the application looks for it.
# Arguments: the build folder, the source folder.
set -u

build=$(cd "$1" && pwd)
manual="$2/data/manual/Calvorin documentation.html"
status=0

fail() {
    echo "manual: $*" >&2
    status=1
}

[ -f "$manual" ] || { echo "manual: $manual is missing" >&2; exit 1; }

grep -n -i -E '<(img|script|link|iframe|object|embed)[ >]|[ "]src=|@import|url\(' "$manual" > /dev/null &&
    fail "it refers to outside resources: $(grep -n -i -E '<(img|script|link|iframe|object|embed)[ >]|[ "]src=|@import|url\(' "$manual" | head -3)"

ids=$(grep -o ' id="[^"]*"' "$manual" | sed 's/ id="\(.*\)"/\1/' | sort)
dupes=$(echo "$ids" | uniq -d)
[ -z "$dupes" ] || fail "ids used twice: $dupes"
for target in $(grep -o 'href="#[^"]*"' "$manual" | sed 's/href="#\(.*\)"/\1/' | sort -u); do
    echo "$ids" | grep -qx "$target" || fail "a link leads to #$target, which does not exist"
done

help=$("$build/bin/calvorinctl" --help) || fail "calvorinctl --help failed"
for command in $(echo "$help" | sed -n '/^Commands:/,$p' | sed -n 's/^  \([a-z][a-z-]*\).*/\1/p'); do
    grep -q "<code>$command[ <]" "$manual" || fail "the manual does not mention calvorinctl $command"
done

copy="$build/bin/Calvorin documentation.html"
cmp -s "$manual" "$copy" || fail "the copy beside the programs is missing or out of date: $copy"

[ "$status" -eq 0 ] && echo "manual: ok"
exit "$status"
