#!/bin/sh
# A program that was killed leaves its socket behind; the next start finds
# it stale and takes its place, for the companion and for calvorin alike,
# and the settings commands, refused while calvorin runs, work again.
# Arguments: the folder of the programs, the source folder.
. "$(dirname "$0")/lib/common.sh"

later=$(( $(date +%s) + 3600 ))
"$ctl" companion-set "$later" | grep -q "was started" || fail "companion-set did not start it"
wait_for '[ -n "$(companion_pid)" ]' 10 || fail "the companion did not come up"
kill -9 "$(companion_pid)"
wait_for '[ "$(companion_line)" = "companion: not running" ]' 10 || fail "a killed companion still answers"
[ -S "$companion_socket" ] || fail "the killed companion left no socket (nothing to test)"
"$ctl" companion-set "$((later + 60))" | grep -q "was started" || fail "a stale socket kept the companion from starting"
wait_for '[ "$(wakeup_line | cut -d" " -f3)" = "$((later + 60))" ]' 10 || fail "the new companion: $(wakeup_line)"

timeout 60 "$app" > /dev/null 2> "$work/first.err" &
first=$!
wait_for '[ -S "$app_socket" ]' 20 || fail "calvorin did not come up"
"$ctl" remembered > "$work/refused.out" 2> "$work/refused.err" && fail "the settings were read while calvorin runs"
grep -q "Calvorin is running" "$work/refused.err" || fail "unclear refusal: $(cat "$work/refused.err")"
kill -9 $(own_pids_of "$app")
wait "$first" 2>/dev/null
[ -S "$app_socket" ] || fail "the killed calvorin left no socket (nothing to test)"

timeout 60 "$app" > /dev/null 2> "$work/second.err" &
second=$!
wait_for '[ "$(own_pids_of "$app" | wc -l)" -eq 1 ] && "$app" --quit | grep -q "asked to quit"' 20 ||
    fail "calvorin did not take over the stale socket: $(cat "$work/second.err")"
wait "$second"
status=$?
[ "$status" -eq 0 ] || fail "the second calvorin ended with $status"
"$ctl" remembered > /dev/null || fail "the settings are refused after calvorin quit"

echo "$test_name: ok"
