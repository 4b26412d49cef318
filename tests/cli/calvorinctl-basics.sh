#!/bin/sh
# calvorinctl's global options, exit statuses and the date and schedule
# commands (parse-date, eval, next), run as a user would run them.
# $1: the folder holding calvorinctl, $2: the source tree.
set -u

bin="$1/calvorinctl"
src="$2"
work=$(mktemp -d "${TMPDIR:-/tmp}/calvorinctl-basics.XXXXXX") || exit 1
trap 'rm -rf "$work"' EXIT INT TERM

# Wednesday 21 March 2001 10:15:00 UTC.
now=@985169700
TZ=UTC
export TZ

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# run EXPECTED-STATUS ARGS...: runs calvorinctl, keeps stdout and stderr.
run() {
    expected="$1"
    shift
    "$bin" "$@" >"$work/out" 2>"$work/err" </dev/null
    status=$?
    [ "$status" -eq "$expected" ] ||
        fail "calvorinctl $* exited $status, expected $expected; stderr: $(cat "$work/err")"
}

# A failure is explained in exactly one line that starts with "calvorinctl: ".
one_line_error() {
    [ "$(wc -l <"$work/err")" -eq 1 ] || fail "$1: expected one line on stderr, got: $(cat "$work/err")"
    grep -q '^calvorinctl: ' "$work/err" || fail "$1: stderr lacks the prefix: $(cat "$work/err")"
}

expect_out() {
    grep -q -- "$1" "$work/out" || fail "expected \"$1\" in the output: $(cat "$work/out")"
}

expect_err() {
    grep -q -- "$1" "$work/err" || fail "expected \"$1\" on stderr: $(cat "$work/err")"
}

out_is() {
    [ "$(cat "$work/out")" = "$1" ] || fail "expected \"$1\", got: $(cat "$work/out")"
}

# --- Help and version -------------------------------------------------------
run 0 --help
expect_out '^Usage: calvorinctl'
for command in eval next parse-date; do
    grep -q "^  $command" "$work/out" || fail "--help does not list $command"
done
# Commands are listed sorted by name.
grep '^  [a-z]' "$work/out" | sed 's/^  \([^ ]*\).*/\1/' >"$work/listed"
sort "$work/listed" | cmp -s - "$work/listed" || fail "--help does not sort the commands: $(cat "$work/listed")"
run 0 -h
expect_out 'parse-date TEXT'
run 0 eval --help
expect_out '^Usage: calvorinctl eval'

run 0 --version
grep -qE '^calvorinctl [0-9]+\.[0-9]+\.[0-9]+$' "$work/out" || fail "--version printed: $(cat "$work/out")"

# --- Usage errors -----------------------------------------------------------
run 2
one_line_error "no command"
run 2 frobnicate
one_line_error "unknown command"
expect_err 'frobnicate'
run 2 --frobnicate
one_line_error "unknown option"
run 2 parse-date
one_line_error "parse-date without text"
run 2 --now
one_line_error "--now without a value"
run 2 --now banana parse-date today
one_line_error "--now not understood"
run 2 --now @99999999999 parse-date today
one_line_error "--now beyond 32 bits"
run 2 eval one.json two.json
one_line_error "eval with two files"
run 2 next --count 0 "$src/data/samples/standup.json"
one_line_error "next --count 0"
run 2 next --count x "$src/data/samples/standup.json"
run 2 next --sideways "$src/data/samples/standup.json"
one_line_error "next with an unknown option"

# --- parse-date ---------------------------------------------------------------
run 0 --now "$now" parse-date tomorrow 9am
out_is "985251600 2001-03-22 09:00:00 time"
run 0 --now "$now" parse-date "Jan 5 2001"
out_is "978652800 2001-01-05 00:00:00 date"
# A typed midnight is a time of day.
run 0 --now "$now" parse-date "Jan 5 2001 0:00"
out_is "978652800 2001-01-05 00:00:00 time"
# --now takes date texts too, and options may follow the command.
run 0 parse-date "next friday" --now "Mar 21 2001 10:15"
out_is "985910400 2001-03-30 00:00:00 date"
run 0 --json --now "$now" parse-date "+2 hours"
expect_out '"Time": 985176900'
expect_out '"HasTime": true'
# An offset that starts with "-" is text, not an option.
run 0 --now "$now" parse-date -- -1 week
out_is "984528000 2001-03-14 00:00:00 date"

run 1 --now "$now" parse-date banana
one_line_error "parse-date banana"
[ "$(cat "$work/err")" = "calvorinctl: not understood: banana" ] || fail "parse-date banana said: $(cat "$work/err")"
run 1 --now "$now" parse-date "Jan 32"

# Without TZ the tool finds the system's zone itself.
env -u TZ "$bin" --now "$now" parse-date now >"$work/out" 2>"$work/err" || fail "parse-date without TZ: $(cat "$work/err")"
grep -q '^985169700 ' "$work/out" || fail "parse-date now without TZ: $(cat "$work/out")"

# --- eval -------------------------------------------------------------------
run 0 --now "$now" eval "$src/data/samples/team-lunch.json"
expect_out '"ActualEventTime": 985955400'
expect_out '"NextEventTime": 985955400'
expect_out '"Fri, Mar 30 2001, 12:30 PM"'
expect_out '"Status": 1'

# From standard input, with a prewarning that is still ahead.
cat >"$work/event.json" <<'JSON'
{"Name": "Call the bank", "PeriodType": 0, "EventTime": 985255200, "ApplyTime": true,
 "TimeToApply": 36000, "ApplyPrewarn": true, "PrewarnTime": 2, "PrewarnType": 3,
 "Comment": null}
JSON
"$bin" --now "$now" eval - <"$work/event.json" >"$work/out" 2>"$work/err" || fail "eval from stdin: $(cat "$work/err")"
expect_out '"Status": 0'
expect_out '"NextEventTime": 985248000'
expect_out '"Waiting for prewarning"'

# Once in the past: done, no next time.
echo '{"PeriodType": 0, "EventTime": 985000000}' >"$work/past.json"
run 0 --now "$now" eval "$work/past.json"
expect_out '"Status": 3'
expect_out '"NextEventTime": 0'
expect_out '"None"'

# Fields are taken as given, without the setters' side effects: a SubDaily
# event keeps ApplyTime false and a weekly one keeps its timing type 0.
echo '{"PeriodType": 11, "ApplyTime": false, "MultiStartTime": 985165200, "Multiple": 1}' >"$work/raw.json"
run 0 --now "$now" eval "$work/raw.json"
expect_out '"ApplyTime": false'
echo '{"PeriodType": 3, "TimingType": 0, "SavedTimingType": 2, "DayOfWeek": 5}' >"$work/raw.json"
run 0 --now "$now" eval "$work/raw.json"
expect_out '"TimingType": 0'
expect_out '"SavedTimingType": 2'

# What eval prints reads back as the same event.
run 0 --now "$now" eval "$src/data/samples/birthday.json"
cp "$work/out" "$work/first.json"
run 0 --now "$now" eval "$work/first.json"
cmp -s "$work/out" "$work/first.json" || fail "eval output does not read back the same: $(diff "$work/first.json" "$work/out")"
expect_out '"PrewarnMessage": "One week to go: order a present."'
expect_out '"Comment": "She likes dark chocolate and crime novels."'

# Wrong input: the key is named in one line, the status is 1.
for case in '"Bogus"|{"Name": "x", "Bogus": 1}' '"PeriodType"|{"Name": "x", "PeriodType": 12}' \
    '"Active"|{"Active": "yes"}' '"EventTime"|{"EventTime": 4294967296}' \
    '"Name"|{"Name": "a\u0000b"}' '"WindowFrame"|{"WindowFrame": [1, 2, 3]}'; do
    printf '%s\n' "${case#*|}" >"$work/bad.json"
    run 1 --now "$now" eval "$work/bad.json"
    one_line_error "eval naming ${case%%|*}"
    expect_err "${case%%|*}"
done
printf '{"Name": "x",\n "Active": tru }' >"$work/bad.json"
run 1 --now "$now" eval "$work/bad.json"
one_line_error "eval of malformed JSON"
expect_err 'line 2, column'
run 1 --now "$now" eval "$work/missing.json"
one_line_error "eval of a missing file"
expect_err 'missing.json'

# --- next -------------------------------------------------------------------
run 0 --now "$now" next "$src/data/samples/standup.json" --count 3
expect_out '^Stand-up meeting'
[ "$(grep -c '^  ' "$work/out")" -eq 3 ] || fail "next --count 3 listed: $(cat "$work/out")"
expect_out 'Thu, Mar 22 2001, 09:30 AM'
expect_out 'Fri, Mar 23 2001, 09:30 AM'
expect_out 'Mon, Mar 26 2001, 09:30 AM'
grep -q 'Sat, Mar 24' "$work/out" && fail "a weekday event fell on a Saturday: $(cat "$work/out")"

run 0 --now "$now" --json next "$src/data/samples/team-lunch.json" --count 2
expect_out '"ActualEventTime": 985955400'
expect_out '"Fri, Apr 27 2001, 12:30 PM"'

# A one-off event has one occurrence, then none.
run 0 --now "$now" next "$work/event.json"
[ "$(grep -c '^  ' "$work/out")" -eq 1 ] || fail "next of a one-off event: $(cat "$work/out")"
run 0 --now "$now" next "$work/past.json"
expect_out 'no further occurrences'

echo "calvorinctl basics: all checks passed"
