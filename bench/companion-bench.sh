#!/bin/sh
# Measures CalvorinBackground and a delivery run of calvorin (not run by
# "make test"): the companion's memory while idle, that it does not wake
# while it waits, how late it is at the wake-up time, and how long
# "calvorin -background" takes from start to exit with one remembered set.
# Usage: bench/companion-bench.sh BUILD/bin [TRIALS]
# Everything runs in a private HOME and runtime folder; every process the
# script starts is ended on the way out.
set -u

bin=$(cd "${1:?usage: companion-bench.sh BUILD/bin [TRIALS]}" && pwd -P)
trials=${2:-20}
ctl="$bin/calvorinctl"
companion="$bin/CalvorinBackground"
app="$bin/calvorin"
work=$(mktemp -d "${TMPDIR:-/tmp}/calvorin-bench.XXXXXX")
export HOME="$work/home" XDG_RUNTIME_DIR="$work/run" XDG_CONFIG_HOME="$work/config"
export XDG_DATA_HOME="$work/data" QT_QPA_PLATFORM=offscreen
unset DISPLAY WAYLAND_DISPLAY
mkdir -p "$HOME" "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME" "$XDG_DATA_HOME"
chmod 700 "$XDG_RUNTIME_DIR"

own_pids() {
    for dir in /proc/[0-9]*; do
        exe=$(readlink "$dir/exe" 2>/dev/null) || continue
        [ "$exe" = "$app" ] || [ "$exe" = "$companion" ] || continue
        tr '\0' '\n' < "$dir/environ" 2>/dev/null |
            grep -qxF "XDG_RUNTIME_DIR=$XDG_RUNTIME_DIR" && echo "${dir#/proc/}"
    done
}
cleanup() {
    pids=$(own_pids)
    [ -n "$pids" ] && kill -9 $pids 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM HUP

companion_pid() {
    "$ctl" status 2>/dev/null | sed -n 's/^companion: running (pid \([0-9]*\))$/\1/p'
}
wait_for() {
    i=0
    while ! eval "$1"; do
        i=$((i + 1))
        [ "$i" -gt "${2:-100}" ] && return 1
        sleep 0.05
    done
}
median() { sort -n | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
maximum() { sort -n | tail -1; }

# The application is a stand-in that notes when it was started.
stamps="$work/stamps"
cat > "$work/stand-in" <<EOF
#!/bin/sh
date +%s.%N >> "$stamps"
EOF
chmod 700 "$work/stand-in"
export CALVORIN_APP_EXECUTABLE="$work/stand-in"

"$ctl" companion-set none > /dev/null
wait_for '[ -n "$(companion_pid)" ]' || { echo "the companion did not start" >&2; exit 1; }
pid=$(companion_pid)

# --- idle memory and wake-ups, holding a time an hour ahead ---------------
"$ctl" companion-set $(( $(date +%s) + 3600 )) > /dev/null
sleep 1
rss=$(sed -n 's/^VmRSS:[[:space:]]*\([0-9]*\) kB/\1/p' "/proc/$pid/status")
switches_before=$(sed -n 's/^voluntary_ctxt_switches:[[:space:]]*//p' "/proc/$pid/status")
sleep 5
switches_after=$(sed -n 's/^voluntary_ctxt_switches:[[:space:]]*//p' "/proc/$pid/status")
wakeups=$((switches_after - switches_before))

# --- lateness at the wake-up time --------------------------------------------
: > "$stamps"
lateness="$work/lateness"
: > "$lateness"
for trial in $(seq 1 "$trials"); do
    when=$(( $(date +%s) + 1 ))
    "$ctl" companion-set "$when" > /dev/null
    wait_for "[ \$(wc -l < '$stamps') -ge $trial ]" 100 || { echo "trial $trial did not fire" >&2; exit 1; }
    fired=$(sed -n "${trial}p" "$stamps")
    awk -v f="$fired" -v w="$when" 'BEGIN { printf "%.3f\n", (f - w) * 1000 }' >> "$lateness"
done
late_median=$(median < "$lateness")
late_max=$(maximum < "$lateness")

# --- calvorin -background, start to exit -------------------------------------
unset CALVORIN_APP_EXECUTABLE
"$ctl" companion-quit > /dev/null
"$ctl" new "$work/Bench.calvorin" > /dev/null
"$ctl" add "$work/Bench.calvorin" "{\"Name\": \"Later\", \"PeriodType\": 0, \"EventTime\": $(( $(date +%s) + 86400 )), \"ApplyTime\": true, \"Handler\": \"Do nothing\"}" > /dev/null
"$ctl" remember "$work/Bench.calvorin" > /dev/null
"$app" -background 2> /dev/null  # the first run starts the companion
startup="$work/startup"
: > "$startup"
for trial in $(seq 1 10); do
    start=$(date +%s%N)
    "$app" -background 2> /dev/null
    end=$(date +%s%N)
    echo $(( (end - start) / 1000000 )) >> "$startup"
done
start_median=$(median < "$startup")
start_max=$(maximum < "$startup")

# The same on an X display (Xvfb), when there is one to start.
x_line=""
if command -v xvfb-run > /dev/null; then
    xstartup="$work/xstartup"
    : > "$xstartup"
    env -u QT_QPA_PLATFORM xvfb-run -a -s "-screen 0 1024x768x24" sh -c '
        for trial in 1 2 3 4 5 6 7 8 9 10; do
            start=$(date +%s%N)
            "$1" -background 2> /dev/null
            end=$(date +%s%N)
            echo $(( (end - start) / 1000000 )) >> "$2"
        done' sh "$app" "$xstartup"
    if [ -s "$xstartup" ]; then
        x_line="calvorin -background on Xvfb:   median $(median < "$xstartup") ms, max $(maximum < "$xstartup") ms start to exit"
    fi
fi

echo "companion idle RSS:            ${rss} kB (target <= 3072 kB)"
echo "companion wake-ups while idle: ${wakeups} voluntary context switches in 5 s (target 0)"
echo "wake-up lateness, $trials trials:  median ${late_median} ms, max ${late_max} ms (target median <= 5 ms)"
echo "calvorin -background, 10 runs: median ${start_median} ms, max ${start_max} ms start to exit (target <= 300 ms to ready)"
[ -n "$x_line" ] && echo "$x_line"
exit 0
