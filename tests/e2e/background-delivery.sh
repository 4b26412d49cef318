#!/bin/sh
# The road of one reminder without windows: a remembered set, "calvorin
# -background" hands the companion its event's time and quits; at that
# time the companion starts calvorin with 'DelE', which delivers the event
# (the set is saved with the event done), opens no window, hands over that
# nothing is left, and quits by itself.
# Arguments: the folder of the programs, the source folder.
. "$(dirname "$0")/lib/common.sh"

set_file="$work/Reminders.calvorin"
due=$(( $(date +%s) + 6 ))
make_set "$set_file" "$due"
"$ctl" remember "$set_file" > /dev/null || fail "calvorinctl remember failed"
[ "$("$ctl" remembered)" = "$set_file" ] || fail "remembered: $("$ctl" remembered)"

timeout 30 "$app" -background > "$work/background.out" 2> "$work/background.err"
status=$?
[ "$status" -eq 0 ] || fail "calvorin -background exited $status: $(cat "$work/background.err")"
[ -z "$(own_pids_of "$app")" ] || fail "calvorin -background did not quit"
[ -n "$(companion_pid)" ] || fail "the companion was not started"
[ "$(wakeup_line | cut -d' ' -f3)" = "$due" ] || fail "the companion holds $(wakeup_line), not $due"
[ "$(event_status "$set_file")" = "1" ] || fail "the event changed before its time"
# The application owns the settings only while it runs.
"$ctl" remembered > /dev/null || fail "the settings are still held"

# At the time: started with 'DelE', delivered, saved, gone.
wait_for '[ "$(event_status "$set_file")" = "3" ]' 30 ||
    fail "the event was not delivered (status $(event_status "$set_file"))"
wait_for '[ -z "$(own_pids_of "$app")" ]' 20 || fail "the delivery run did not quit (no window should be open)"
[ "$(wakeup_line)" = "next wake-up: none" ] || fail "after the delivery: $(wakeup_line)"
[ ! -e "$app_socket" ] || fail "the application's socket was left behind"
[ "$("$ctl" remembered)" = "$set_file" ] || fail "the set is no longer remembered"

echo "$test_name: ok"
