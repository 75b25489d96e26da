#!/bin/bash
# The real charge service against a simulated battery on a private bus, driven through torvelctl: a change of
# limit reaches the thresholds and every file; unplugging, heat, a top-up and a calibration run are followed;
# a SIGKILL in the middle of a run loses nothing and leaves nothing half-written.
#
# usage: service_e2e.sh TORVEL_DAEMON TORVEL_SIMBATTERY TORVELCTL
set -u

daemon_exe=$1 simbattery_exe=$2 torvelctl_exe=$3
work=$(mktemp -d "${TMPDIR:-/tmp}/torvel-e2e.XXXXXX")
data=$work/root/var/lib/torvel
sysfs=$work/sysfs
bat=$sysfs/BAT0
bus_pid='' sim_pid='' daemon_pid=''

cleanup() {
    for pid in $daemon_pid $sim_pid $bus_pid; do kill "$pid" 2>/dev/null; done
    wait 2>/dev/null
    if [ "${failed:-0}" = 0 ]; then rm -rf "$work"; else echo "kept for a look: $work" >&2; fi
}
trap cleanup EXIT

fail() {
    failed=1
    echo "FAIL: $*" >&2
    echo "--- thresholds $(cat "$bat"/charge_control_start_threshold "$bat"/charge_control_end_threshold 2>/dev/null | tr '\n' ' ')" \
        "behaviour: $(cat "$bat"/charge_behaviour 2>/dev/null)" >&2
    echo "--- status.json: $(cat "$data"/status.json 2>/dev/null)" >&2
    echo "--- daemon.log:" >&2
    tail -n 15 "$work"/root/var/log/torvel/daemon.log >&2 2>/dev/null
    echo "--- simulator:" >&2
    tail -n 5 "$work"/sim.err >&2
    exit 1
}
step() { echo "== $*"; }

# Polls a shell condition for up to $1 seconds (the service looks at the battery every 5 s).
wait_for() {
    local seconds=$1
    shift
    local deadline=$((SECONDS + seconds))
    until eval "$@"; do
        [ $SECONDS -ge $deadline ] && return 1
        sleep 0.2
    done
}

# One value of a JSON file, as Python prints it ("True", "80", "None"); "unreadable" when it does not parse.
json_get() {
    python3 - "$1" "$2" <<'PY' 2>/dev/null || echo unreadable
import json, sys
value = json.load(open(sys.argv[1]))
for key in sys.argv[2].split("."):
    value = value.get(key) if isinstance(value, dict) else None
print(value)
PY
}
is() { [ "$(json_get "$1" "$2")" = "$3" ]; }
attr() { cat "$bat/$1" 2>/dev/null; }
behaviour() { attr charge_behaviour | sed -n 's/.*\[\(.*\)\].*/\1/p'; }
sim() { echo "$*" >"$work/sim.fifo"; }
ctl() { "$torvelctl_exe" "$@" >>"$work/ctl.out" 2>&1; }

start_daemon() {
    "$daemon_exe" 2>>"$work/daemon.err" &
    daemon_pid=$!
}

# Every file the service shares is whole: JSON objects, and journal lines each a complete JSON object.
files_whole() {
    python3 - "$data" <<'PY'
import json, pathlib, sys
data = pathlib.Path(sys.argv[1])
for name in ("config.json", "status.json"):
    if not isinstance(json.loads((data / name).read_text()), dict):
        sys.exit(f"{name} is not an object")
for day in sorted((data / "history").glob("*.jsonl")):
    text = day.read_text()
    if text and not text.endswith("\n"):
        sys.exit(f"{day.name} ends in a partial line")
    for line in text.splitlines():
        sample = json.loads(line)
        if not {"t", "p", "s"} <= sample.keys():
            sys.exit(f"{day.name}: a line without t, p or s: {line}")
PY
}

step "a private bus, a battery at 60 % on mains, and the service"
mkdir -p "$data" "$sysfs"
dbus-daemon --session --nofork --print-address=3 3>"$work/bus.address" 2>/dev/null &
bus_pid=$!
wait_for 5 '[ -s "$work/bus.address" ]' || fail "dbus-daemon gave no address"
export DBUS_SYSTEM_BUS_ADDRESS=$(head -n 1 "$work/bus.address")
export TORVEL_ROOT=$work/root TORVEL_SYSFS=$sysfs
"$simbattery_exe" --dir "$sysfs" --speed 60 --percent 60 --commands "$work/sim.fifo" 2>"$work/sim.err" &
sim_pid=$!
wait_for 5 '[ -p "$work/sim.fifo" ] && [ -f "$bat/capacity" ]' || fail "the simulated battery did not appear"
start_daemon
wait_for 5 'is "$data/status.json" state allow' || fail "the service published no status"

step "torvelctl set moves the window down, then up"
ctl set limit=70 hysteresis=4 || fail "torvelctl set limit=70 failed: $(tail -n 1 "$work/ctl.out")"
wait_for 3 '[ "$(attr charge_control_end_threshold)" = 70 ] && [ "$(attr charge_control_start_threshold)" = 66 ]' ||
    fail "thresholds did not follow limit 70"
is "$data/config.json" limit 70 && is "$data/config.json" hysteresis 4 || fail "config.json does not hold limit 70"
ctl set limit=85 || fail "torvelctl set limit=85 failed"
wait_for 3 '[ "$(attr charge_control_end_threshold)" = 85 ] && [ "$(attr charge_control_start_threshold)" = 81 ]' ||
    fail "thresholds did not follow limit 85"
wait_for 3 'is "$data/status.json" nativeFloor None' || fail "a limit the battery took is reported as a floor"
is "$data/config.json" limit 85 || fail "config.json does not hold limit 85"
ls "$data"/history/*.jsonl >/dev/null 2>&1 || fail "no journal file"
files_whole || fail "a file is not whole"

step "a bad value is refused before anything is sent"
ctl set limit=5 && fail "limit=5 was accepted"
ctl set colour=red && fail "an unknown key was accepted"
is "$data/config.json" limit 85 || fail "a refused value reached config.json"

step "unplugged, then plugged in again"
sim unplug
wait_for 8 'is "$data/status.json" plugged False' || fail "status.json still says plugged in"
sim plug
wait_for 8 'is "$data/status.json" plugged True' || fail "status.json still says on battery"

step "heat pauses charging"
ctl set thermal=on thermalLimit=35 || fail "torvelctl set thermal failed"
sim heat 20
wait_for 8 'is "$data/status.json" hot True && is "$data/status.json" state hold' || fail "no heat pause"
sim heat 0
ctl set thermal=off || fail "torvelctl set thermal=off failed"
wait_for 8 'is "$data/status.json" hot False' || fail "the heat pause did not end"

step "a top-up charges to full and ends on unplug"
ctl topup on || fail "torvelctl topup on failed"
wait_for 3 '[ "$(attr charge_control_end_threshold)" = 100 ]' || fail "the top-up did not open the window to 100"
wait_for 3 'is "$data/status.json" topUp True' || fail "status.json shows no top-up"
sim unplug
wait_for 8 'is "$data/config.json" topUp False && is "$data/status.json" topUp False' ||
    fail "the top-up did not end on unplug"
sim plug
wait_for 8 '[ "$(attr charge_control_end_threshold)" = 85 ]' || fail "the limit did not return after the top-up"

step "a calibration run, killed with SIGKILL while it drains"
sim speed 1200
ctl calibrate start || fail "torvelctl calibrate start failed"
wait_for 20 'is "$data/status.json" cal.phase drain && [ "$(behaviour)" = force-discharge ]' ||
    fail "the run did not reach its drain"
config_before=$(cat "$data/config.json")
started_before=$(json_get "$data/status.json" startedAt)
kill -9 "$daemon_pid"
wait "$daemon_pid" 2>/dev/null
files_whole || fail "a file was left half-written by the kill"
[ "$(cat "$data/config.json")" = "$config_before" ] || fail "config.json changed under the kill"

step "a restart picks the run up"
sim speed 60
start_daemon
wait_for 8 '! is "$data/status.json" startedAt "$started_before"' || fail "the restarted service published nothing"
is "$data/config.json" calibrate True && is "$data/config.json" limit 85 || fail "settings were lost in the restart"
phase=$(json_get "$data/status.json" cal.phase)
case $phase in drain | refill) ;; *) fail "the run was lost in the restart (phase $phase)" ;; esac
files_whole || fail "a file is not whole after the restart"

step "stopping the run and the service hands charging back"
ctl calibrate stop || fail "torvelctl calibrate stop failed"
wait_for 8 'is "$data/status.json" cal.phase idle' || fail "the run did not stop"
wait_for 8 '[ "$(behaviour)" = auto ] && [ "$(attr charge_control_end_threshold)" = 85 ]' ||
    fail "charging did not return to the limit after the run"
kill -TERM "$daemon_pid"
wait "$daemon_pid" 2>/dev/null
daemon_pid=''
[ "$(behaviour)" = auto ] || fail "the service left charge_behaviour at $(behaviour)"
files_whole || fail "a file is not whole after the stop"

step "without the service, set writes config.json itself"
ctl set limit=75 || fail "torvelctl set without a service failed: $(tail -n 2 "$work/ctl.out")"
is "$data/config.json" limit 75 || fail "the fallback write did not reach config.json"
grep -q "The charge service isn’t reachable." "$work/ctl.out" || fail "torvelctl did not say the service was away"

echo "all steps passed in $SECONDS s"
