#!/usr/bin/env bash
# torvel-daemon under the faults a laptop meets, measured on the real executable against a simulated battery:
#
#   flood  16 connections of `nobody` send 64 KiB settings messages as fast as the bus takes them, on a bus run
#          with Debian's system.conf and our policy (polkit answers no, as it does to a user without a
#          session): the service's peak resident memory, root's own ApplySettings call time, the oldest
#          status.json seen meanwhile.
#   leap   with 30 days kept and 21 day files, the wall clock leaps 31 days ahead for 25 s and comes back: the
#          day files kept, and any file dated after today.
#   cut    a forced discharge that never takes hold, with the wall clock set back a day as it starts: how long
#          the status says "discharge".
#
#   bench/service_faults.sh DAEMON SIMBATTERY SHIFT [flood|leap|cut|all]       (default: all; needs root)
#
# SHIFT is the build's tests/libtorvel_wall_clock_shift.so: preloaded into the service alone, it moves the
# wall clock and leaves the monotonic and boot clocks alone, as a real change of the system time does.
set -euo pipefail

daemon_exe=$(realpath "$1") simbattery_exe=$(realpath "$2") shift_lib=$(realpath "$3") what=${4:-all}
policy=$(realpath "$(dirname "$0")/../packaging/linux/com.torvel.Daemon.conf")
python=/usr/bin/python3
work=$(mktemp -d /tmp/torvel-faults.XXXXXX)
chmod 755 "$work"
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    [ -n "${KEEP_WORK:-}" ] && echo "kept $work" || rm -rf "$work"
}
trap cleanup EXIT

wait_for() {
    local seconds=$1
    shift
    local end=$((SECONDS + seconds))
    until eval "$@"; do
        [ $SECONDS -lt $end ] || return 1
        sleep 0.1
    done
}
field() { $python -c 'import json,sys; print(json.load(open(sys.argv[1])).get(sys.argv[2]))' "$@" 2>/dev/null || true; }

# A bus configured as Debian's system bus (its limits and default policy), listening in $work, with our
# policy and leave for root to own the mock authorities' names.
start_bus() {
    $python - /usr/share/dbus-1/system.conf "$work/system.conf" "$work/bus" "$policy" <<'PY'
import re, sys
source, target, socket, policy = sys.argv[1:]
text = open(source).read()
for pattern in (r'<user>.*?</user>', r'<fork/>', r'<pidfile>.*?</pidfile>', r'<syslog/>',
                r'<servicehelper>.*?</servicehelper>', r'<standard_system_servicedirs/>',
                r'<includedir>.*?</includedir>', r'<include[^>]*>.*?</include>'):
    text = re.sub(pattern, '', text)
text = re.sub(r'<listen>.*?</listen>', f'<listen>unix:path={socket}</listen>', text)
extra = (f'<include>{policy}</include>\n<policy user="root"><allow own="org.freedesktop.PolicyKit1"/>'
         '<allow own="org.freedesktop.login1"/><allow send_destination="*"/></policy>\n')
open(target, 'w').write(text.replace('</busconfig>', extra + '</busconfig>'))
PY
    # One bus per measure: the last one's goes first.
    if [ -n "${bus_pid:-}" ]; then
        kill "$bus_pid" 2>/dev/null || true
        wait "$bus_pid" 2>/dev/null || true
    fi
    rm -f "$work/bus" "$work/bus.address"
    dbus-daemon --config-file="$work/system.conf" --nofork --print-address=3 3>"$work/bus.address" 2>/dev/null &
    bus_pid=$!
    pids+=($!)
    wait_for 5 '[ -s "$work/bus.address" ]'
    export DBUS_SYSTEM_BUS_ADDRESS=$(head -n 1 "$work/bus.address")
}

# The simulated battery and the service over a fresh root; extra arguments go to the simulator.
# SHIFT_FILE set: the service's wall clock is moved by the seconds written in that file.
start_service() {
    local root=$work/root-$1
    shift
    export TORVEL_ROOT=$root TORVEL_SYSFS=$root/sys
    mkdir -p "$root/var/lib/torvel"
    printf '%s' "$config" >"$root/var/lib/torvel/config.json"
    status=$root/var/lib/torvel/status.json
    history=$root/var/lib/torvel/history
    [ -z "${days_before:-}" ] || make_days "$days_before"
    "$simbattery_exe" --dir "$root/sys" --speed 1 --commands "$root/sim.fifo" "$@" </dev/null 2>/dev/null &
    pids+=($!)
    sim=$!
    wait_for 5 '[ -p "$root/sim.fifo" ] && [ -f "$root/sys/BAT0/capacity" ]'
    if [ -n "${SHIFT_FILE:-}" ]; then
        LD_PRELOAD=$shift_lib TORVEL_WALL_CLOCK_SHIFT=$SHIFT_FILE "$daemon_exe" 2>/dev/null &
    else
        "$daemon_exe" 2>/dev/null &
    fi
    daemon=$!
    pids+=($daemon)
    wait_for 10 '[ -f "$status" ]'
}

# $1 day files, today's and the days before it, one reading each.
make_days() {
    mkdir -p "$history"
    $python - "$history" "$1" <<'PY'
import sys, time
directory, count = sys.argv[1], int(sys.argv[2])
now = time.time()
for back in range(count):
    at = now - back * 86400
    day = time.strftime('%Y-%m-%d', time.localtime(at))
    with open(f'{directory}/{day}.jsonl', 'a') as out:
        out.write('{"t":%d,"p":80,"s":"hold","g":true}\n' % int(at - 3600 if back == 0 else at))
PY
}

count_days() { find "$history" -maxdepth 1 -name '????-??-??.jsonl' | wc -l; }
future_days() {
    local today
    today=$(date +%F)
    find "$history" -maxdepth 1 -name '????-??-??.jsonl' -printf '%f\n' | awk -v t="$today.jsonl" '$0 > t' | wc -l
}

measure_flood() {
    start_bus
    $python -m dbusmock --system --template polkitd >/dev/null 2>&1 &
    pids+=($!)
    wait_for 10 'busctl --address="$DBUS_SYSTEM_BUS_ADDRESS" status org.freedesktop.PolicyKit1 >/dev/null 2>&1'
    config='{"limit":80}' start_service flood --percent 80
    wait_for 10 '[ "$(field "$status" state)" = hold ]'

    cat >"$work/flood.py" <<'PY'
import sys, time, dbus, dbus.lowlevel
address, connections, size, seconds = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), float(sys.argv[4])
body = '{"limit":60,"pad":"' + 'x' * (size - 22) + '"}'
buses = [dbus.bus.BusConnection(address) for _ in range(connections)]
end = time.time() + seconds
sent = 0
while time.time() < end:
    for bus in buses:
        call = dbus.lowlevel.MethodCallMessage('com.torvel.Daemon', '/com/torvel/Daemon',
                                               'com.torvel.Daemon1', 'ApplySettings')
        call.append(body, signature='s')
        bus.send_message(call)
        sent += 1
    for bus in buses:
        bus.flush()
print(sent)
PY
    cat >"$work/root_call.py" <<'PY'
import sys, time, dbus
bus = dbus.bus.BusConnection(sys.argv[1])
daemon = bus.get_object('com.torvel.Daemon', '/com/torvel/Daemon', introspect=False)
start = time.monotonic()
ok, message = daemon.ApplySettings('{"limit":80}', dbus_interface='com.torvel.Daemon1', timeout=120)
print('%.3f' % (time.monotonic() - start))
PY
    local hwm_before
    hwm_before=$(awk '/^VmHWM/ { print $2 }' "/proc/$daemon/status")
    setpriv --reuid=nobody --regid=nogroup --clear-groups $python "$work/flood.py" "$DBUS_SYSTEM_BUS_ADDRESS" \
        16 65536 20 >"$work/flood.sent" 2>"$work/flood.err" &
    local flood=$!
    pids+=($flood)
    # The status beat, looked at twice a second while the flood lasts.
    (
        oldest=0
        while kill -0 "$flood" 2>/dev/null; do
            age=$($python -c 'import json,sys,time; print(int(time.time() - json.load(open(sys.argv[1]))["ts"]))' "$status" 2>/dev/null || echo 0)
            [ "$age" -gt "$oldest" ] && oldest=$age
            echo "$oldest" >"$work/oldest"
            sleep 0.5
        done
    ) &
    local watcher=$!
    local calls=()
    sleep 2
    while kill -0 "$flood" 2>/dev/null; do
        calls+=("$($python "$work/root_call.py" "$DBUS_SYSTEM_BUS_ADDRESS" 2>/dev/null || echo failed)")
        sleep 1
    done
    wait "$flood" || true
    wait "$watcher" || true
    local hwm
    hwm=$(awk '/^VmHWM/ { print $2 }' "/proc/$daemon/status")
    echo "flood: $(cat "$work/flood.sent") messages of 64 KiB from 16 connections of nobody in 20 s"
    echo "flood: peak resident memory $((hwm_before / 1024)) MB before the flood, $($python -c "print(round($hwm / 1024, 1))") MB after it"
    echo "flood: root's ApplySettings call times (s): ${calls[*]}"
    echo "flood: oldest status.json seen during the flood: $(cat "$work/oldest" 2>/dev/null || echo '?') s"
    kill "$daemon" 2>/dev/null && wait "$daemon" 2>/dev/null || true
}

measure_leap() {
    start_bus
    export SHIFT_FILE=$work/leap.time
    echo 0 >"$SHIFT_FILE"
    days_before=21 config='{"limit":80,"historyDays":30}' start_service leap --percent 80
    wait_for 10 '[ "$(field "$status" state)" = hold ]'
    sleep 6
    local before
    before=$(count_days)
    echo $((31 * 86400)) >"$SHIFT_FILE"
    # A power-supply change makes the service look at once, under the leapt clock.
    echo unplug >"$TORVEL_ROOT/sim.fifo"
    sleep 12
    echo plug >"$TORVEL_ROOT/sim.fifo"
    sleep 13
    echo 0 >"$SHIFT_FILE"
    echo unplug >"$TORVEL_ROOT/sim.fifo"
    sleep 12
    echo "leap: day files $before before, $(count_days) after a 31-day leap ahead and back; $(future_days) dated after today"
    kill "$daemon" 2>/dev/null && wait "$daemon" 2>/dev/null || true
    unset SHIFT_FILE days_before
}

measure_cut() {
    start_bus
    export SHIFT_FILE=$work/cut.time
    echo 0 >"$SHIFT_FILE"
    config='{"limit":60,"discharge":true}' start_service cut --percent 95 --no-cut
    wait_for 20 '[ "$(field "$status" state)" = discharge ]'
    echo -86400 >"$SHIFT_FILE"
    local start=$SECONDS
    wait_for 90 '[ "$(field "$status" state)" != discharge ]' || true
    echo "cut: a cut that never took hold said \"discharge\" for $((SECONDS - start)) s after the clock went back a day" \
        "(dischargeFailed: $(field "$status" dischargeFailed))"
    kill "$daemon" 2>/dev/null && wait "$daemon" 2>/dev/null || true
    unset SHIFT_FILE
}

[ "$(id -u)" = 0 ] || { echo "run as root: the flood comes from another user" >&2; exit 2; }
case $what in
    flood) measure_flood ;;
    leap) measure_leap ;;
    cut) measure_cut ;;
    all) measure_flood; measure_leap; measure_cut ;;
    *) echo "unknown measure: $what" >&2; exit 2 ;;
esac
