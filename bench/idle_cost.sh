#!/usr/bin/env bash
# What torvel-daemon costs while it holds the limit and nothing changes: wake-ups a minute (context
# switches of the service's process over the window) and resident memory, then how fast it still acts on a
# power-supply change. The real service, unprivileged, on a private bus against a simulated battery that
# sits at the limit.
#
#   bench/idle_cost.sh DAEMON SIMBATTERY [SECONDS]     (default window: 120 s)
#
# Prints one line per figure and exits 1 when a figure is over its budget (4 wake-ups a minute, 6 MB).
set -euo pipefail

daemon_exe=$1 simbattery_exe=$2 window=${3:-120}
work=$(mktemp -d /tmp/torvel-idle.XXXXXX)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

wait_for() {
    local seconds=$1; shift
    local end=$((SECONDS + seconds))
    until eval "$@"; do
        [ $SECONDS -lt $end ] || return 1
        sleep 0.1
    done
}
field() { python3 -c 'import json,sys; print(json.load(open(sys.argv[1])).get(sys.argv[2]))' "$@" 2>/dev/null; }
switches() { awk -v kind="^$2_ctxt_switches" '$0 ~ kind { print $2 }' "/proc/$1/status"; }

dbus-daemon --session --nofork --print-address=3 3>"$work/bus.address" 2>/dev/null &
pids+=($!)
wait_for 5 '[ -s "$work/bus.address" ]'
export DBUS_SYSTEM_BUS_ADDRESS=$(head -n 1 "$work/bus.address")
export TORVEL_ROOT=$work/root TORVEL_SYSFS=$work/sys
mkdir -p "$work/root/var/lib/torvel"
# At the limit, plugged in: the battery holds and nothing moves.
printf '{"limit":80}' >"$work/root/var/lib/torvel/config.json"
"$simbattery_exe" --dir "$work/sys" --speed 1 --percent 80 --commands "$work/sim.fifo" </dev/null 2>/dev/null &
pids+=($!)
wait_for 5 '[ -p "$work/sim.fifo" ] && [ -f "$work/sys/BAT0/capacity" ]'
"$daemon_exe" 2>/dev/null &
daemon=$!
pids+=($daemon)
status=$work/root/var/lib/torvel/status.json
wait_for 10 '[ "$(field "$status" state)" = hold ]'
# Let the start-up settle (the gate check, the first journal line) before counting.
sleep 20

# First window: context switches, untraced. Voluntary ones are the loop's wake-ups plus any write that
# waited for the disk; involuntary ones come from other programs on a busy machine.
voluntary_before=$(switches "$daemon" voluntary)
involuntary_before=$(switches "$daemon" nonvoluntary)
oldest_ts_age=0
end=$((SECONDS + window))
while [ $SECONDS -lt $end ]; do
    sleep 1
    age=$(python3 -c 'import json,sys,time; print(int(time.time() - json.load(open(sys.argv[1]))["ts"]))' "$status")
    [ "$age" -gt "$oldest_ts_age" ] && oldest_ts_age=$age
done
voluntary_after=$(switches "$daemon" voluntary)
involuntary_after=$(switches "$daemon" nonvoluntary)
rss_kb=$(awk '/^VmRSS/ { print $2 }' "/proc/$daemon/status")

# Second window, when strace is there: the loop's own wake-ups, its returns from epoll_wait (tracing adds
# switches of its own, hence the two windows).
if command -v strace >/dev/null; then
    timeout "$window" strace -qq -e trace=epoll_wait -o "$work/strace.out" -p "$daemon" 2>/dev/null || true
fi

start=$(date +%s.%N)
echo unplug >"$work/sim.fifo"
wait_for 5 '[ "$(field "$status" plugged)" = False ]'
reacted=$(python3 -c "import time; print(round(time.time() - $start, 2))")

per_minute() { python3 -c "print(round($1 * 60 / $window, 1))"; }
voluntary=$(per_minute "$((voluntary_after - voluntary_before))")
involuntary=$(per_minute "$((involuntary_after - involuntary_before))")
if [ -s "$work/strace.out" ]; then
    wakeups=$(per_minute "$(grep -c 'epoll_wait.*= [1-9]' "$work/strace.out")")
else
    wakeups=$voluntary
fi
rss_mb=$(python3 -c "print(round($rss_kb / 1024, 2))")
echo "window: $window s"
echo "wake-ups per minute: $wakeups"
echo "context switches per minute: $voluntary voluntary, $involuntary involuntary"
echo "resident memory: $rss_mb MB"
echo "oldest status.json seen: $oldest_ts_age s"
echo "unplug seen after: $reacted s"
python3 -c "import sys; sys.exit(0 if $wakeups <= 4 and $rss_mb <= 6 and $oldest_ts_age <= 60 else 1)"
