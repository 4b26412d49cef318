#!/bin/sh
# How late a "Command" event's command starts after its due second (not
# run by "make test"), measured by the command itself (date +%s.%N), so
# the figure covers the companion's wake-up, the 'DelE' hand-over, finding
# the due event, the handler and starting the shell and date:
# - running: calvorin runs with windows; each trial opens a new set whose
#   one event is due two seconds later;
# - cold: calvorin is not running; each trial remembers a new set, hands
#   its time to the companion with "calvorin -background", and the
#   companion starts calvorin at the due time.
# Usage: bench/delivery-lateness.sh BUILD/bin [TRIALS]   (default 10)
# Everything runs in a private HOME and runtime folder (the end-to-end
# tests' own set-up), and every process it starts is ended on the way out.
lib="$(cd "$(dirname "$0")/.." && pwd)/tests/e2e/lib"
. "$lib/common.sh"
. "$lib/delivery.sh"
trials=${2:-10}

median() { sort -n | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
maximum() { sort -n | tail -1; }
# Milliseconds, to a tenth, from the due second $2 to the start in $1.
late() { head -1 "$1" | awk -v due="$2" '{ printf "%.1f\n", ($1 - due) * 1000 }'; }

# A new set $1 whose one event, due at $2, writes its start to $3.
make_trial_set() {
    "$ctl" new "$1" > /dev/null || fail "calvorinctl new $1 failed"
    add_command_event "$1" Trial 0 "$2" "$3"
}

# --- cold: the companion starts calvorin ----------------------------------
cold="$work/cold.ms"
: > "$cold"
previous=""
for trial in $(seq 1 "$trials"); do
    set_file="$work/cold-$trial.calvorin"
    stamp="$work/cold-$trial.out"
    due=$(( $(date +%s) + 2 ))
    make_trial_set "$set_file" "$due" "$stamp"
    [ -n "$previous" ] && "$ctl" forget "$previous" > /dev/null
    "$ctl" remember "$set_file" > /dev/null || fail "calvorinctl remember failed"
    previous=$set_file
    timeout 30 "$app" -background 2> /dev/null || fail "calvorin -background failed"
    [ "$(date +%s)" -lt "$due" ] || fail "trial $trial: calvorin -background ran into the due time"
    wait_for '[ -s "$stamp" ]' 10 || fail "trial $trial: the command did not run"
    late "$stamp" "$due" >> "$cold"
    wait_for '[ -z "$(own_pids_of "$app")" ]' 10 || fail "trial $trial: calvorin did not quit"
done
"$ctl" forget "$previous" > /dev/null

# --- running: calvorin runs with a window ------------------------------------
timeout 600 "$app" > /dev/null 2> "$work/running.err" &
wait_for '[ -S "$app_socket" ] && [ -n "$(companion_pid)" ]' 20 || fail "calvorin did not come up"
running="$work/running.ms"
: > "$running"
for trial in $(seq 1 "$trials"); do
    set_file="$work/running-$trial.calvorin"
    stamp="$work/running-$trial.out"
    due=$(( $(date +%s) + 2 ))
    make_trial_set "$set_file" "$due" "$stamp"
    timeout 20 "$app" "$set_file" || fail "trial $trial: the set was not handed to calvorin"
    wait_for '[ "$(wakeup_line | cut -d" " -f3)" = "$due" ]' 10 ||
        fail "trial $trial: the companion holds $(wakeup_line), not $due"
    wait_for '[ -s "$stamp" ]' 10 || fail "trial $trial: the command did not run"
    late "$stamp" "$due" >> "$running"
done

echo "delivery lateness, due second to the command's start, $trials trials each:"
echo "running: median $(median < "$running") ms, max $(maximum < "$running") ms (target median <= 50 ms)"
echo "cold:    median $(median < "$cold") ms, max $(maximum < "$cold") ms (target median <= 500 ms)"
echo "running, each: $(tr '\n' ' ' < "$running")"
echo "cold, each:    $(tr '\n' ' ' < "$cold")"
