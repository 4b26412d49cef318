#!/bin/sh
# One calvorin per user: a second start hands its files to the running one
# and exits 0 at once; the running one opens them and hands the companion
# the time that is now the earliest. A start without files while one runs
# changes nothing else. Stopping: "calvorin --quit" closes the windows, and
# with no set left the companion holds no time.
# Arguments: the folder of the programs, the source folder.
. "$(dirname "$0")/lib/common.sh"

now=$(date +%s)
make_set "$work/first.calvorin" $((now + 7200))
make_set "$work/second.calvorin" $((now + 3600))

cd "$work"
# (timeout bounds the run; $first is the timeout's pid, and its status
# is calvorin's.)
timeout 60 "$app" first.calvorin > "$work/first.out" 2> "$work/first.err" &
first=$!
wait_for '[ -S "$app_socket" ] && [ "$(wakeup_line | cut -d" " -f3)" = "$((now + 7200))" ]' 20 ||
    fail "the first calvorin did not come up and hand over its time: $(wakeup_line); $(cat "$work/first.err")"
[ -n "$(companion_pid)" ] || fail "the companion does not run"

# The second start, with a relative name: handed over, exit 0.
timeout 20 "$app" second.calvorin > "$work/second.out" 2> "$work/second.err"
status=$?
[ "$status" -eq 0 ] || fail "the second calvorin exited $status: $(cat "$work/second.err")"
[ "$(own_pids_of "$app" | wc -l)" -eq 1 ] || fail "more than one calvorin runs: $(own_pids_of "$app")"
wait_for '[ "$(wakeup_line | cut -d" " -f3)" = "$((now + 3600))" ]' 10 ||
    fail "the handed-over set is not taking part: $(wakeup_line)"

# A file that does not exist costs the running one an alert, the second
# start still ends at once with 0.
timeout 20 "$app" "$work/missing.calvorin" 2> "$work/third.err" || fail "a start with a missing file failed"
wait_for 'grep -q "Attempt to open event set $work/missing.calvorin failed" "$work/first.err"' 10 ||
    fail "no alert for the missing file: $(cat "$work/first.err")"

# Without files: nothing changes, still one instance.
timeout 20 "$app" 2> "$work/fourth.err" || fail "a start without files failed"
[ "$(own_pids_of "$app" | wc -l)" -eq 1 ] || fail "a start without files left another calvorin"

"$app" --quit > "$work/quit.out" || fail "--quit failed"
grep -q "asked to quit" "$work/quit.out" || fail "--quit: $(cat "$work/quit.out")"
wait "$first"
status=$?
[ "$status" -eq 0 ] || fail "calvorin ended with $status: $(cat "$work/first.err")"
[ ! -e "$app_socket" ] || fail "the application's socket was left behind"
# The sets went with their windows: nothing is left to deliver.
[ "$(wakeup_line)" = "next wake-up: none" ] || fail "after quitting: $(wakeup_line)"
[ -n "$(companion_pid)" ] || fail "quitting to the background stopped the companion"

echo "$test_name: ok"
