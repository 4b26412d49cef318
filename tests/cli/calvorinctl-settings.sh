#!/bin/sh
# calvorinctl's settings commands in a private configuration folder:
# remember keeps full paths once each and in order, forget takes one out,
# remembered and settings show them; wrong input is refused with a clear
# line and changes nothing; a damaged store is reported and replaced.
# Arguments: the folder holding calvorinctl, the source folder.
set -u

bin=$(cd "$1" && pwd)
ctl="$bin/calvorinctl"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' INT TERM HUP
export HOME="$work/home" XDG_CONFIG_HOME="$work/config" XDG_RUNTIME_DIR="$work/run"
mkdir -p "$HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"

fail() {
    echo "calvorinctl-settings.sh: $*" >&2
    exit 1
}

# Runs calvorinctl, expecting exit status $1; output in $work/out, $work/err.
expect() {
    want=$1
    shift
    "$ctl" "$@" > "$work/out" 2> "$work/err"
    got=$?
    [ "$got" -eq "$want" ] || fail "calvorinctl $*: exit $got, expected $want: $(cat "$work/err")"
}

cd "$work"
"$ctl" new a.calvorin > /dev/null && "$ctl" new b.calvorin > /dev/null || fail "calvorinctl new failed"

# A fresh store: nothing remembered, the defaults.
expect 0 remembered
[ ! -s "$work/out" ] || fail "a fresh store remembers: $(cat "$work/out")"
expect 0 settings
grep -qx "SelectedSetHandling: 1 (If no other sets are opened)" "$work/out" || fail "settings: $(cat "$work/out")"
grep -qx "WhichEventsToDeliver: 1 (Open sets and remembered sets)" "$work/out" || fail "settings: $(cat "$work/out")"
grep -qx "ColumnWidth: 35 190 150 150 60 115" "$work/out" || fail "settings: $(cat "$work/out")"

# Relative names are kept as full paths; a second remember changes nothing.
expect 0 remember b.calvorin
grep -qx "Remembered: $work/b.calvorin" "$work/out" || fail "remember: $(cat "$work/out")"
expect 0 remember "./sub/../a.calvorin"
expect 0 remember "$work/b.calvorin"
grep -qx "Already remembered: $work/b.calvorin" "$work/out" || fail "remember again: $(cat "$work/out")"
expect 0 remembered
printf '%s\n%s\n' "$work/b.calvorin" "$work/a.calvorin" | cmp -s - "$work/out" ||
    fail "remembered: $(cat "$work/out")"
expect 0 --json remembered
tr -d ' \n' < "$work/out" | grep -qF "[\"$work/b.calvorin\",\"$work/a.calvorin\"]" ||
    fail "remembered --json: $(cat "$work/out")"
expect 0 --json settings
tr -d ' \n' < "$work/out" | grep -qF '"NumberOfUserIcons":0' || fail "settings --json: $(cat "$work/out")"

# Wrong input: named, refused, nothing changes.
expect 1 remember missing.calvorin
grep -q "missing.calvorin: no such event set file" "$work/err" || fail "unclear: $(cat "$work/err")"
expect 1 remember "$work"
expect 2 remember
expect 2 remember a.calvorin b.calvorin
expect 1 forget missing.calvorin
grep -q "is not remembered" "$work/err" || fail "unclear: $(cat "$work/err")"
expect 0 remembered
[ "$(wc -l < "$work/out")" -eq 2 ] || fail "wrong input changed the list: $(cat "$work/out")"

expect 0 forget b.calvorin
grep -qx "Forgotten: $work/b.calvorin" "$work/out" || fail "forget: $(cat "$work/out")"
expect 0 remembered
[ "$(cat "$work/out")" = "$work/a.calvorin" ] || fail "after forget: $(cat "$work/out")"

# A damaged store: said once, moved aside, the defaults from then on.
printf 'not a settings store' > "$XDG_CONFIG_HOME/calvorin/settings.sqlite"
expect 0 remembered
[ -s "$work/err" ] || fail "a damaged store was not reported"
[ ! -s "$work/out" ] || fail "a damaged store still remembers: $(cat "$work/out")"
expect 0 remember a.calvorin
expect 0 remembered
[ "$(cat "$work/out")" = "$work/a.calvorin" ] || fail "the replaced store: $(cat "$work/out")"
[ ! -s "$work/err" ] || fail "the replaced store is reported again: $(cat "$work/err")"

echo "calvorinctl-settings: ok"
