#!/bin/sh
# "Full quit" stops the companion as well; it works too when the companion
# is not running. Without a display calvorin refuses to open windows with
# a clear message, while "-background" runs without one.
# Arguments: the folder of the programs, the source folder.
. "$(dirname "$0")/lib/common.sh"

timeout 60 "$app" > "$work/app.out" 2> "$work/app.err" &
first=$!
wait_for '[ -S "$app_socket" ] && [ -n "$(companion_pid)" ]' 20 ||
    fail "calvorin and its companion did not come up: $(cat "$work/app.err")"
companion_was=$(companion_pid)
"$app" --full-quit | grep -q "full quit" || fail "--full-quit was not taken"
wait "$first"
status=$?
[ "$status" -eq 0 ] || fail "calvorin ended with $status after a full quit"
wait_for '[ "$(companion_line)" = "companion: not running" ]' 10 || fail "the companion still runs"
wait_for '! kill -0 "$companion_was" 2>/dev/null' 10 || fail "the companion process is still there"

# Again, with the companion gone before the full quit.
timeout 60 "$app" > /dev/null 2> "$work/again.err" &
second=$!
wait_for '[ -S "$app_socket" ] && [ -n "$(companion_pid)" ]' 20 || fail "calvorin did not come up again"
"$ctl" companion-quit > /dev/null
wait_for '[ "$(companion_line)" = "companion: not running" ]' 10 || fail "companion-quit failed"
"$app" --full-quit > /dev/null || fail "--full-quit failed"
wait "$second"
status=$?
[ "$status" -eq 0 ] || fail "a full quit without companion ended with $status: $(cat "$work/again.err")"
[ "$(companion_line)" = "companion: not running" ] || fail "the full quit started the companion"

# No display: windows are refused, a background run goes ahead.
env -u QT_QPA_PLATFORM timeout 20 "$app" > /dev/null 2> "$work/nodisplay.err"
status=$?
[ "$status" -eq 1 ] || fail "without a display calvorin exited $status"
grep -q "no display" "$work/nodisplay.err" || fail "unclear message: $(cat "$work/nodisplay.err")"
env -u QT_QPA_PLATFORM timeout 30 "$app" -background > /dev/null 2> "$work/nodisplay-bg.err"
status=$?
[ "$status" -eq 0 ] || fail "-background without a display exited $status: $(cat "$work/nodisplay-bg.err")"

echo "$test_name: ok"
