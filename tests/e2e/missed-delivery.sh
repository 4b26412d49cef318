#!/bin/sh
# The companion dies before the due time, so nothing wakes calvorin; the
# next "calvorin -background" (as the login autostart runs it) delivers
# what was missed by each event's "deliver if missed" flag. An event late
# by no more than the minute of grace counts as on time and runs whatever
# its flag; one missed by more runs only with the flag set, and says that
# it was missed; without the flag it is skipped and moved on to its next
# occurrence.
# Arguments: the folder of the programs, the source folder.
. "$(dirname "$0")/lib/common.sh"
. "$(dirname "$0")/lib/delivery.sh"

now=$(date +%s)
due=$((now + 5))
late_set="$work/Late.calvorin"
"$ctl" new "$late_set" > /dev/null || fail "calvorinctl new failed"
add_command_event "$late_set" LateIfMissed 0 "$due" "$work/late-if-missed.out" true
add_command_event "$late_set" LateNotIfMissed 0 "$due" "$work/late-not-if-missed.out" false
"$ctl" remember "$late_set" > /dev/null || fail "calvorinctl remember failed"

timeout 30 "$app" -background > /dev/null 2> "$work/first.err"
status=$?
[ "$status" -eq 0 ] || fail "calvorin -background exited $status: $(cat "$work/first.err")"
[ "$(wakeup_line | cut -d' ' -f3)" = "$due" ] || fail "the companion holds $(wakeup_line), not $due"
kill -9 "$(companion_pid)"
wait_for '[ "$(companion_line)" = "companion: not running" ]' 10 || fail "the companion did not die"
[ "$(date +%s)" -lt "$due" ] || fail "the companion was killed only after the due time (machine too slow)"

# Meanwhile: a set whose events came due two minutes ago, added as they
# were three minutes before that, with nothing running since.
missed_due=$((now - 120))
missed_set="$work/Missed.calvorin"
"$ctl" new "$missed_set" > /dev/null || fail "calvorinctl new failed"
ctl_now="--now @$((now - 300))"
# Asks before it runs: the question says that the event was missed (and,
# with no display, is answered with its default button, "OK").
add_command_event "$missed_set" MissedIfMissed 0 "$missed_due" "$work/missed-if-missed.out" true true
add_command_event "$missed_set" MissedNotIfMissed 4 "$missed_due" "$work/missed-not-if-missed.out" false
ctl_now=
"$ctl" remember "$missed_set" > /dev/null || fail "calvorinctl remember failed"
[ "$(event_field "$missed_set" 2 NextEventTime)" = "$missed_due" ] ||
    fail "the missed daily event is not pending at $missed_due"

# The due time passes with nobody to deliver.
wait_for '[ "$(date +%s)" -ge "$((due + 2))" ]' 15 || fail "the clock does not move"
[ -z "$(own_pids_of "$app")" ] || fail "calvorin was started without its companion"
[ "$(runs "$work/late-if-missed.out")" -eq 0 ] || fail "a command ran without the companion"

# The login start delivers, then quits once the commands have ended.
timeout 30 "$app" -background > /dev/null 2> "$work/login.err"
status=$?
[ "$status" -eq 0 ] || fail "the login start exited $status: $(cat "$work/login.err")"
wait_for '[ -z "$(own_pids_of "$app")" ]' 10 || fail "the login start did not quit"

[ "$(runs "$work/late-if-missed.out")" -eq 1 ] ||
    fail "LateIfMissed ran $(runs "$work/late-if-missed.out") times"
[ "$(runs "$work/late-not-if-missed.out")" -eq 1 ] ||
    fail "LateNotIfMissed, late within the grace, ran $(runs "$work/late-not-if-missed.out") times"
[ "$(runs "$work/missed-if-missed.out")" -eq 1 ] ||
    fail "MissedIfMissed ran $(runs "$work/missed-if-missed.out") times"
[ "$(runs "$work/missed-not-if-missed.out")" -eq 0 ] || fail "MissedNotIfMissed ran"

# Only the event missed by more than the grace was told as missed.
[ "$(grep -c "The event was missed." "$work/login.err")" -eq 1 ] &&
    grep -q "Calvorin event:  MissedIfMissed$" "$work/login.err" ||
    fail "the missed wording is not (only) in MissedIfMissed's question: $(cat "$work/login.err")"

# Saved: the one-time events done, the skipped daily one moved to tomorrow;
# that is what the companion, started again, now holds.
for event in 1 2; do
    [ "$(event_field "$late_set" "$event" Status)" = "3" ] ||
        fail "late event $event saved with status $(event_field "$late_set" "$event" Status)"
done
[ "$(event_field "$missed_set" 1 Status)" = "3" ] ||
    fail "MissedIfMissed saved with status $(event_field "$missed_set" 1 Status)"
[ "$(event_field "$missed_set" 2 Status)" = "1" ] &&
    [ "$(event_field "$missed_set" 2 NextEventTime)" = "$((missed_due + 86400))" ] ||
    fail "MissedNotIfMissed saved with next time $(event_field "$missed_set" 2 NextEventTime)"
[ "$(wakeup_line | cut -d' ' -f3)" = "$((missed_due + 86400))" ] ||
    fail "after the login start the companion holds $(wakeup_line)"

echo "$test_name: ok"
