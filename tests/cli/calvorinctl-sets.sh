#!/bin/sh
# calvorinctl's event set commands on real files: new, add, list, dump,
# remove, update and resave, and the refusal of files it cannot read.
#   calvorinctl-sets.sh BIN_DIR SOURCE_DIR
set -u

bin="$1/calvorinctl"
work=$(mktemp -d "${TMPDIR:-/tmp}/calvorin-sets.XXXXXX") || exit 1
trap 'rm -rf "$work"' EXIT
failures=0

fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

# expect STATUS DESCRIPTION COMMAND...: runs the command, keeping its output
# in $work/out and $work/err, and checks the exit status.
expect() {
    want=$1
    what=$2
    shift 2
    "$@" >"$work/out" 2>"$work/err"
    got=$?
    if [ "$got" -ne "$want" ]; then
        fail "$what: exit $got, expected $want"
        sed 's/^/    /' "$work/err"
    fi
}

contains() {
    grep -qF -- "$2" "$work/$1" || fail "$3: '$2' not in $1: $(cat "$work/$1")"
}

# The values of one key in the JSON output, in order, one per line.
values() {
    tr -d ' \n' <"$work/out" | grep -o "\"$1\":[^,}]*" | sed 's/^[^:]*://'
}

set_file="$work/Work.calvorin"
now="--now @1700000000"

# A new set is the empty set with the shipped layout: 127 bytes.
expect 0 "new" "$bin" new "$set_file"
size=$(wc -c <"$set_file")
[ "$size" -eq 127 ] || fail "a new set has $size bytes, not 127"
expect 1 "new over an existing file" "$bin" new "$set_file"
contains err "already exists" "new over an existing file"

# Three events: one from a file, one from the command line, one on stdin.
cat >"$work/dentist.json" <<'EOF'
{"Name": "Dentist", "Handler": "Command", "HandlerData": {"Command": "echo hi", "Verify": true}}
EOF
expect 0 "add from a file" "$bin" $now add "$set_file" "$work/dentist.json"
expect 0 "add inline" "$bin" $now add "$set_file" '{"Name": "Standup", "PeriodType": 5, "HandlerData": {"Message": "Daily standup"}}'
echo '{"Name": "Notes", "Handler": "Act on file", "HandlerData": {"File": "/etc/hostname"}}' >"$work/notes.json"
expect 0 "add from stdin" sh -c "'$bin' $now add '$set_file' - <'$work/notes.json'"

expect 0 "list" "$bin" list "$set_file"
[ "$(wc -l <"$work/out")" -eq 4 ] || fail "list: expected a heading and three lines: $(cat "$work/out")"
head -n 1 "$work/out" | grep -q '^#  *Name  *Event time  *Next message time  *Handler  *Status$' ||
    fail "list heading: $(head -n 1 "$work/out")"
contains out "Dentist" "list"
contains out "Act on file" "list"
contains out "Waiting for event" "list"
# The columns line up: every line has "Handler" column text at the same place.
col=$(awk 'NR==1 {print index($0, "Handler")}' "$work/out")
awk -v c="$col" 'NR==3 && substr($0, c, 7) != "Message" {exit 1}' "$work/out" ||
    fail "list columns are not aligned: $(cat "$work/out")"

expect 0 "dump" "$bin" dump "$set_file"
contains out '"Version": "1.2"' "dump"
contains out '"ByteOrder": "little"' "dump"
[ "$(grep -o '"Handler": "[^"]*"' "$work/out" | tr '\n' ',')" = '"Handler": "Command","Handler": "Message","Handler": "Act on file",' ] ||
    fail "dump: the events' handlers in order: $(grep '"Handler"' "$work/out")"
contains out '"Command": "echo hi"' "dump"
contains out '"Verify": true' "dump"
contains out '"Message": "Daily standup"' "dump"
contains out '"File": "/etc/hostname"' "dump"
tr -d ' \n' <"$work/out" | grep -qF '"ColumnShown":[true,true,true,false,true,true]' || fail "dump: shown columns"
tr -d ' \n' <"$work/out" | grep -qF '"NumberOfKeys":1,"SortKeys":[2,0,0,0,0]' || fail "dump: sort keys"

# update brings every event up to the given time.
expect 0 "update" "$bin" --now @1800000000 update "$set_file"
expect 0 "dump after update" "$bin" dump "$set_file"
[ "$(values Status | head -n 1)" = "3" ] || fail "update: a passed one-off event is done"
[ "$(values NextEventTime | head -n 1)" = "0" ] || fail "update: nothing further for a done event"
[ "$(values NextEventTime | sed -n 2p)" -ge 1800000000 ] || fail "update: the weekday event moved on"

# remove takes the number that list shows.
expect 0 "remove" "$bin" remove "$set_file" 1
expect 0 "list after remove" "$bin" list "$set_file"
[ "$(wc -l <"$work/out")" -eq 3 ] || fail "remove: two events should be left"
grep -q Dentist "$work/out" && fail "remove: the first event is still there"
expect 1 "remove beyond the end" "$bin" remove "$set_file" 9
expect 2 "remove without a number" "$bin" remove "$set_file"

# resave writes the same bytes, to the same file or another one.
cp "$set_file" "$work/before"
expect 0 "resave" "$bin" resave "$set_file"
cmp -s "$set_file" "$work/before" || fail "resave changed the file"
expect 0 "resave to another file" "$bin" resave "$set_file" "$work/Other.calvorin"
cmp -s "$set_file" "$work/Other.calvorin" || fail "resave to another file differs"

# Bad JSON changes nothing.
expect 1 "add with an unknown field" "$bin" add "$set_file" '{"Nmae": "x"}'
expect 1 "add with an unknown handler" "$bin" add "$set_file" '{"Handler": "Fax"}'
cmp -s "$set_file" "$work/before" || fail "a refused add changed the file"

# A set written by a newer version is refused in the program's words.
printf '\0001.3\0\0\0\0\0' >"$work/Future.calvorin"
expect 1 "unknown version" "$bin" list "$work/Future.calvorin"
contains err "The EventSet file $work/Future.calvorin was written by an unknown version of Calvorin.  It was written by version 1.3, and the current version is 1.2." "unknown version"

expect 1 "missing file" "$bin" dump "$work/Nothing.calvorin"
contains err "Calvorin: Attempt to open event set $work/Nothing.calvorin failed." "missing file"

head -c 150 "$set_file" >"$work/Cut.calvorin"
expect 1 "cut file" "$bin" list "$work/Cut.calvorin"
contains err "Calvorin: Attempt to read event set $work/Cut.calvorin failed because a file error occurred.  The file may be corrupted." "cut file"
expect 1 "update of a cut file" "$bin" update "$work/Cut.calvorin"
[ "$(wc -c <"$work/Cut.calvorin")" -eq 150 ] || fail "update wrote to a file it could not read"

# No temporary files are left beside the sets.
leftovers=$(find "$work" -name '.*' -type f)
[ -z "$leftovers" ] || fail "temporary files left: $leftovers"

if [ "$failures" -ne 0 ]; then
    echo "$failures check(s) failed"
    exit 1
fi
echo "calvorinctl set commands: all checks passed"
