# Sourced after common.sh by the scripts that deliver "Command" events: an
# event whose command appends the moment it ran (date +%s.%N) to a file of
# its own (or an "Act on file" event whose program does), how late that
# was, and one field of a saved event.

# Adds to set $1 an event named $2 of period type $3 (0 once, 4 daily) due
# at the second $4, whose command appends its start time to file $5.
# $6: "deliver if missed" (true/false, default true); $7: ask before
# running (default false: no alert).
add_command_event() {
    _tod=$(date -d "@$4" '+%H %M %S' | awk '{ print $1 * 3600 + $2 * 60 + $3 }')
    # (ctl_now: "--now @SECONDS" to add the event as at an earlier time.)
    "$ctl" ${ctl_now:-} add "$1" "{\"Name\": \"$2\", \"PeriodType\": $3, \"EventTime\": $4,
        \"ApplyTime\": true, \"TimeToApply\": $_tod, \"DeliverIfMissed\": ${6:-true},
        \"Handler\": \"Command\",
        \"HandlerData\": {\"Command\": \"date +%s.%N >> '$5'\", \"Verify\": ${7:-false}}}" \
        > /dev/null || fail "calvorinctl add $2 to $1 failed"
}

# Adds to set $1 a one-time event named $2 due at $3 of the "Act on file"
# handler, without asking, on a new executable script that appends its
# start time to file $4.
add_program_event() {
    _program="$4.sh"
    printf '#!/bin/sh\ndate +%%s.%%N >> "%s"\n' "$4" > "$_program"
    chmod 755 "$_program"
    "$ctl" add "$1" "{\"Name\": \"$2\", \"PeriodType\": 0, \"EventTime\": $3,
        \"ApplyTime\": true, \"Handler\": \"Act on file\",
        \"HandlerData\": {\"File\": \"$_program\", \"Verify\": false}}" > /dev/null ||
        fail "calvorinctl add $2 to $1 failed"
}

# How many times the command writing to $1 has run.
runs() {
    if [ -f "$1" ]; then wc -l < "$1" | tr -d ' '; else echo 0; fi
}

# Milliseconds from the due second $2 to the first start recorded in $1.
lateness_ms() {
    head -1 "$1" | awk -v due="$2" '{ printf "%d\n", ($1 - due) * 1000 }'
}

# Fails unless the command writing to $1 started in the second $2 is due or
# within the second after it (never before).
check_on_time() {
    [ -s "$1" ] || fail "$(basename "$1"): the command did not run"
    _late=$(lateness_ms "$1" "$2")
    [ "$_late" -ge 0 ] || fail "$(basename "$1"): ran ${_late} ms before its time"
    [ "$_late" -lt 1000 ] || fail "$(basename "$1"): ran ${_late} ms after its due second"
    echo "$test_name: $(basename "$1" .out) ran ${_late} ms after its due second"
}

# Field $3 of event $2 (1 for the first) of the set $1, as the saved file
# has it (numbers and flags as written by calvorinctl --json dump).
event_field() {
    "$ctl" --json dump "$1" 2>/dev/null |
        awk -v n="$2" -v key="\"$3\":" '
            /^    \{$/ { event++ }
            event == n && $1 == key { value = $2; sub(/,$/, "", value); print value; exit }'
}
