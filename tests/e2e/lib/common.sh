# Sourced by the scripts of tests/e2e: a private HOME, configuration, data
# and runtime folder per test, the programs' paths, helpers that wait with a
# limit, and a trap that kills every process the test started (also those
# started through each other, detached) and removes its folder.
# The script's first argument is the folder holding the programs.
set -u

bin=$(cd "$1" && pwd -P)
app="$bin/calvorin"
ctl="$bin/calvorinctl"
companion="$bin/CalvorinBackground"
test_name=$(basename "$0" .sh)
work=$(mktemp -d "${TMPDIR:-/tmp}/calvorin-e2e.XXXXXX")

export HOME="$work/home"
export XDG_RUNTIME_DIR="$work/run"
export XDG_CONFIG_HOME="$work/config"
export XDG_DATA_HOME="$work/data"
export QT_QPA_PLATFORM=offscreen
unset DISPLAY WAYLAND_DISPLAY CALVORIN_APP_EXECUTABLE
mkdir -p "$HOME" "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME" "$XDG_DATA_HOME"
chmod 700 "$XDG_RUNTIME_DIR"
sockets="$XDG_RUNTIME_DIR/calvorin"
app_socket="$sockets/application_x-vnd.QZ-Calvorin"
companion_socket="$sockets/application_x-vnd.QZ-CalvorinBackground"

fail() {
    echo "$test_name: $*" >&2
    exit 1
}

# The pids of calvorin and CalvorinBackground processes that run with this
# test's runtime folder.
own_pids() {
    for dir in /proc/[0-9]*; do
        exe=$(readlink "$dir/exe" 2>/dev/null) || continue
        [ "$exe" = "$app" ] || [ "$exe" = "$companion" ] || continue
        tr '\0' '\n' < "$dir/environ" 2>/dev/null |
            grep -qxF "XDG_RUNTIME_DIR=$XDG_RUNTIME_DIR" && echo "${dir#/proc/}"
    done
}

# The same for one program.
own_pids_of() {
    for pid in $(own_pids); do
        [ "$(readlink "/proc/$pid/exe" 2>/dev/null)" = "$1" ] && echo "$pid"
    done
}

cleanup() {
    pids=$(own_pids)
    [ -n "$pids" ] && kill -9 $pids 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM HUP

# Waits up to $2 seconds (default 10) for a condition (a command line).
wait_for() {
    limit=$(( ${2:-10} * 10 ))
    i=0
    while ! eval "$1"; do
        i=$((i + 1))
        [ "$i" -gt "$limit" ] && return 1
        sleep 0.1
    done
    return 0
}

# What `calvorinctl status` says, line by line.
companion_line() { "$ctl" status 2>/dev/null | sed -n 1p; }
wakeup_line() { "$ctl" status 2>/dev/null | sed -n 2p; }
companion_pid() { companion_line | sed -n 's/^companion: running (pid \([0-9]*\))$/\1/p'; }

# A set file with one event of the "Do nothing" handler, once, at $2.
make_set() {
    "$ctl" new "$1" > /dev/null || fail "calvorinctl new $1 failed"
    "$ctl" add "$1" "{\"Name\": \"Check\", \"PeriodType\": 0, \"EventTime\": $2,
        \"ApplyTime\": true, \"Handler\": \"Do nothing\"}" > /dev/null ||
        fail "calvorinctl add $1 failed"
}

# The status of the set's first event (0..3).
event_status() {
    "$ctl" --json dump "$1" 2>/dev/null | tr -d ' \n' | grep -o '"Status":[0-9]' | head -1 |
        sed 's/.*://'
}
