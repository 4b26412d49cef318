#!/bin/sh
# Two "Command" events and an "Act on file" event (a program) of a
# remembered set fall due in the same second while calvorin runs with the
# set's window open: the companion's 'DelE' reaches the running calvorin,
# which runs each command and the program once (not twice) within the
# second after their due second, hands the daily event's next time
# (tomorrow) to the companion, and goes on running with its window.
# Arguments: the folder of the programs, the source folder.
. "$(dirname "$0")/lib/common.sh"
. "$(dirname "$0")/lib/delivery.sh"

set_file="$work/Commands.calvorin"
due=$(( $(date +%s) + 6 ))
"$ctl" new "$set_file" > /dev/null || fail "calvorinctl new failed"
add_command_event "$set_file" Once 0 "$due" "$work/once.out"
add_command_event "$set_file" Daily 4 "$due" "$work/daily.out"
add_program_event "$set_file" Program "$due" "$work/program.out"
"$ctl" remember "$set_file" > /dev/null || fail "calvorinctl remember failed"

# Without files: the remembered set opens in its window.
timeout 60 "$app" > "$work/app.out" 2> "$work/app.err" &
wait_for '[ -S "$app_socket" ] && [ "$(wakeup_line | cut -d" " -f3)" = "$due" ]' 20 ||
    fail "calvorin did not come up and hand over $due: $(wakeup_line); $(cat "$work/app.err")"
[ "$(date +%s)" -lt "$due" ] || fail "calvorin took until the due time to start (machine too slow)"
running=$(own_pids_of "$app")
[ "$(runs "$work/once.out")" -eq 0 ] || fail "a command ran before its time"

wait_for '[ -s "$work/once.out" ] && [ -s "$work/daily.out" ] && [ -s "$work/program.out" ]' 20 ||
    fail "the commands did not run (once: $(runs "$work/once.out"), daily: $(runs "$work/daily.out"),
        program: $(runs "$work/program.out")); $(cat "$work/app.err")"
check_on_time "$work/once.out" "$due"
check_on_time "$work/daily.out" "$due"
check_on_time "$work/program.out" "$due"
wait_for '[ "$(wakeup_line | cut -d" " -f3)" = "$((due + 86400))" ]' 10 ||
    fail "after the delivery the companion holds $(wakeup_line)"

# Still there with its window, a while after the commands have ended.
sleep 2
[ "$(own_pids_of "$app")" = "$running" ] || fail "calvorin quit after the delivery"
[ "$(runs "$work/once.out")" -eq 1 ] || fail "the one-time command ran $(runs "$work/once.out") times"
[ "$(runs "$work/daily.out")" -eq 1 ] || fail "the daily command ran $(runs "$work/daily.out") times"
[ "$(runs "$work/program.out")" -eq 1 ] || fail "the program ran $(runs "$work/program.out") times"
grep -q "Calvorin error\|Calvorin recoverable error" "$work/app.err" &&
    fail "calvorin reported a problem: $(cat "$work/app.err")"

echo "$test_name: ok"
