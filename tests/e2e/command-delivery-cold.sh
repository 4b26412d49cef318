#!/bin/sh
# Two "Command" events of a remembered set fall due in the same second
# while calvorin is not running: "calvorin -background" hands the time to
# the companion and quits; at that time the companion starts calvorin,
# which runs each command once (not twice), within the second after their
# due second, saves the set with both events moved on (the one-time event
# done, the daily one to tomorrow), hands tomorrow's time to the companion
# and quits by itself.
# Arguments: the folder of the programs, the source folder.
. "$(dirname "$0")/lib/common.sh"
. "$(dirname "$0")/lib/delivery.sh"

set_file="$work/Commands.calvorin"
due=$(( $(date +%s) + 6 ))
"$ctl" new "$set_file" > /dev/null || fail "calvorinctl new failed"
add_command_event "$set_file" Once 0 "$due" "$work/once.out"
add_command_event "$set_file" Daily 4 "$due" "$work/daily.out"
"$ctl" remember "$set_file" > /dev/null || fail "calvorinctl remember failed"

timeout 30 "$app" -background > "$work/background.out" 2> "$work/background.err"
status=$?
[ "$status" -eq 0 ] || fail "calvorin -background exited $status: $(cat "$work/background.err")"
[ "$(date +%s)" -lt "$due" ] || fail "calvorin -background took until the due time (machine too slow)"
[ -z "$(own_pids_of "$app")" ] || fail "calvorin -background did not quit"
[ "$(wakeup_line | cut -d' ' -f3)" = "$due" ] || fail "the companion holds $(wakeup_line), not $due"
[ "$(runs "$work/once.out")" -eq 0 ] || fail "a command ran before its time"

# The companion starts calvorin at the due time.
wait_for '[ -s "$work/once.out" ] && [ -s "$work/daily.out" ]' 20 ||
    fail "the commands did not run (once: $(runs "$work/once.out"), daily: $(runs "$work/daily.out"))"
check_on_time "$work/once.out" "$due"
check_on_time "$work/daily.out" "$due"
wait_for '[ -z "$(own_pids_of "$app")" ]' 20 || fail "the delivery run did not quit"

# Gone: nothing else can run them again today.
[ "$(runs "$work/once.out")" -eq 1 ] || fail "the one-time command ran $(runs "$work/once.out") times"
[ "$(runs "$work/daily.out")" -eq 1 ] || fail "the daily command ran $(runs "$work/daily.out") times"
[ "$(event_field "$set_file" 1 Status)" = "3" ] ||
    fail "the one-time event was saved with status $(event_field "$set_file" 1 Status)"
[ "$(event_field "$set_file" 2 Status)" = "1" ] &&
    [ "$(event_field "$set_file" 2 NextEventTime)" = "$((due + 86400))" ] ||
    fail "the daily event was saved with next time $(event_field "$set_file" 2 NextEventTime)"
[ "$(wakeup_line | cut -d' ' -f3)" = "$((due + 86400))" ] ||
    fail "after the delivery the companion holds $(wakeup_line)"
[ ! -e "$app_socket" ] || fail "the application's socket was left behind"

echo "$test_name: ok"
