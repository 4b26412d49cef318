#!/bin/sh
# CalvorinBackground end to end, in a private HOME and runtime folder: one
# instance only; it holds the wake-up time handed to it and shows it to
# `calvorinctl status`; at that time it starts the application (here a
# stand-in script named by CALVORIN_APP_EXECUTABLE that notes the time);
# a time already past fires at once; a missing application costs one line
# on stderr; it ends on the quit request and on SIGTERM, leaving nothing
# behind.
# Arguments: the folder holding calvorinctl and CalvorinBackground.
set -u

bin=$(cd "$1" && pwd)
ctl="$bin/calvorinctl"
work=$(mktemp -d)
started_pid=""

fail() {
    echo "companion.sh: $*" >&2
    exit 1
}

# Whatever happens, no CalvorinBackground of this test stays behind.
cleanup() {
    if [ -n "$started_pid" ]; then
        kill "$started_pid" 2>/dev/null
    fi
    pid=$(companion_pid)
    if [ -n "$pid" ]; then
        kill "$pid" 2>/dev/null
    fi
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM HUP

export HOME="$work/home"
export XDG_RUNTIME_DIR="$work/run"
export XDG_CONFIG_HOME="$work/config"
mkdir -p "$HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
socket="$XDG_RUNTIME_DIR/calvorin/application_x-vnd.QZ-CalvorinBackground"

# The pid the running companion reports, or nothing.
companion_pid() {
    "$ctl" --json status 2>/dev/null | sed -n 's/^ *"pid": \([0-9][0-9]*\).*/\1/p'
}

# Waits up to 10 s for a condition (a command line).
wait_for() {
    i=0
    while ! eval "$1"; do
        i=$((i + 1))
        [ "$i" -gt 200 ] && return 1
        sleep 0.05
    done
    return 0
}

stamps="$work/stamps"
export STAMPS="$stamps"
cat > "$work/calvorin-stand-in" <<'EOF'
#!/bin/sh
echo "$(date +%s.%N) $*" >> "$STAMPS"
EOF
chmod 700 "$work/calvorin-stand-in"

# --- one instance --------------------------------------------------------
CALVORIN_APP_EXECUTABLE="$work/calvorin-stand-in" "$bin/CalvorinBackground" 2> "$work/first.err" &
started_pid=$!
wait_for '[ "$(companion_pid)" = "$started_pid" ]' || fail "CalvorinBackground did not come up"
"$bin/CalvorinBackground" 2> "$work/second.err" || fail "a second start did not exit 0"
[ "$(companion_pid)" = "$started_pid" ] || fail "the first instance is not the one running"

# --- a wake-up time, shown and delivered -----------------------------------
due=$(( $(date +%s) + 2 ))
"$ctl" companion-set "$due" | grep -q "has the request" || fail "companion-set did not reach it"
"$ctl" status > "$work/status" || fail "status failed"
grep -qx "companion: running (pid $started_pid)" "$work/status" || fail "status: $(cat "$work/status")"
grep -q "^next wake-up: $due (.*)\$" "$work/status" || fail "status shows no wake-up: $(cat "$work/status")"
"$ctl" --json status | grep -q "\"wakeUpTime\": $due" || fail "status --json shows no wake-up time"

wait_for '[ -s "$stamps" ]' || fail "the application was not started at the wake-up time"
fired=$(sed -n '1s/ .*//p' "$stamps")
awk -v t="$fired" -v d="$due" 'BEGIN { exit !(t >= d && t < d + 1) }' ||
    fail "started at $fired, not within the second $due"
grep -q -- "--launch-message-fd=3" "$stamps" || fail "the application got no launch message"
"$ctl" status | grep -qx "next wake-up: none" || fail "the used time is still held"

# --- a time already past fires at once -------------------------------------
"$ctl" companion-set $(( $(date +%s) - 60 )) > /dev/null || fail "companion-set (past) failed"
wait_for '[ "$(wc -l < "$stamps")" -eq 2 ]' || fail "a past time did not fire"

# --- none: nothing is held --------------------------------------------------
"$ctl" companion-set $(( $(date +%s) + 3600 )) > /dev/null
"$ctl" companion-set none > /dev/null || fail "companion-set none failed"
"$ctl" status | grep -qx "next wake-up: none" || fail "none did not clear the time"

# --- the quit request ------------------------------------------------------
"$ctl" companion-quit | grep -q "asked to quit" || fail "companion-quit failed"
wait "$started_pid"
status=$?
started_pid=""
[ "$status" -eq 0 ] || fail "CalvorinBackground ended with status $status"
[ ! -e "$socket" ] || fail "the socket was left behind"
[ ! -s "$work/first.err" ] || fail "unexpected messages: $(cat "$work/first.err")"
"$ctl" status | grep -qx "companion: not running" || fail "status after quitting"

# --- a missing application -------------------------------------------------
CALVORIN_APP_EXECUTABLE="$work/no-such-program" "$bin/CalvorinBackground" 2> "$work/missing.err" &
started_pid=$!
wait_for '[ "$(companion_pid)" = "$started_pid" ]' || fail "CalvorinBackground did not come up again"
"$ctl" companion-set $(( $(date +%s) - 1 )) > /dev/null
wait_for '[ -s "$work/missing.err" ]' || fail "a failed start was not reported"
"$ctl" status | grep -q "^companion: running" || fail "CalvorinBackground did not survive a failed start"
[ "$(wc -l < "$work/missing.err")" -eq 1 ] || fail "expected one line: $(cat "$work/missing.err")"
grep -q "could not start Calvorin ($work/no-such-program)" "$work/missing.err" ||
    fail "unclear report: $(cat "$work/missing.err")"
kill -TERM "$started_pid"
wait "$started_pid"
status=$?
started_pid=""
[ "$status" -eq 0 ] || fail "SIGTERM: ended with status $status"
[ ! -e "$socket" ] || fail "SIGTERM: the socket was left behind"

# --- started through the roster, with its launch message -------------------
due=$(( $(date +%s) + 3600 ))
"$ctl" companion-set "$due" | grep -q "was started" || fail "companion-set did not start it"
"$ctl" --json status | grep -q "\"wakeUpTime\": $due" || fail "the launch message was not handled"
pid=$(companion_pid)
[ -n "$pid" ] || fail "no pid"
"$ctl" companion-quit > /dev/null
wait_for '! kill -0 "$pid" 2>/dev/null' || fail "the launched CalvorinBackground did not quit"
[ -z "$(companion_pid)" ] || fail "a CalvorinBackground is still running"

echo "companion: ok"
