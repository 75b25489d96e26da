#!/usr/bin/env bash
# What the tray app costs while it sits in the tray with no window open and the service holds the limit:
# wake-ups a minute (voluntary context switches of all its threads), resident memory, and the file
# operations a minute with the paths they touch. The real service, unprivileged, on a private system bus
# against a simulated battery at the limit; the app on its own display (Xvfb) and session bus, where a
# small StatusNotifierWatcher stands in for the desktop's tray host.
#
#   bench/app_idle.sh TORVEL DAEMON SIMBATTERY [SECONDS]     (default window: 120 s)
#
# Prints one line per figure and exits 1 when a figure is over its budget: the two timers the app needs
# (the 30 s status poll and the 15 s battery safety net) and some slack, 36 MB, and per tick no file beyond
# status.json and the battery's.
set -euo pipefail

torvel_exe=$1 daemon_exe=$2 simbattery_exe=$3 window=${4:-120}
python=/usr/bin/python3
work=$(mktemp -d /tmp/torvel-app-idle.XXXXXX)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    [ -n "${TORVEL_BENCH_KEEP:-}" ] || rm -rf "$work"
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
field() { $python -c 'import json,sys; print(json.load(open(sys.argv[1])).get(sys.argv[2]))' "$@" 2>/dev/null; }
# Voluntary switches of every thread, one "tid count" line each: Qt's bus and render threads wake as well as
# the main loop.
switches() {
    for task in /proc/"$1"/task/*; do
        echo "${task##*/} $(awk '/^voluntary_ctxt_switches/ { print $2 }' "$task/status" 2>/dev/null)"
    done
}
# The switches between two samples, over the threads alive at the second (a thread started in between counts
# from zero).
moved() { awk 'NR == FNR { before[$1] = $2; next } { n += $2 - before[$1] } END { print n + 0 }' "$1" "$2"; }

bus() {
    dbus-daemon --session --nofork --print-address=3 3>"$work/$1.address" >/dev/null 2>&1 &
    pids+=($!)
    wait_for 5 "[ -s '$work/$1.address' ]"
}
bus system
bus session
export DBUS_SYSTEM_BUS_ADDRESS=$(head -n 1 "$work/system.address")
export DBUS_SESSION_BUS_ADDRESS=$(head -n 1 "$work/session.address")

# The tray host: a watcher that says a host is there and takes every item that registers.
cat >"$work/watcher.py" <<'EOF'
import dbus, dbus.service, dbus.mainloop.glib
from gi.repository import GLib
dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
IFACE = "org.kde.StatusNotifierWatcher"
# Qt reads the host property through introspection, so the document names it.
XML = """<node><interface name="org.kde.StatusNotifierWatcher">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
<property name="ProtocolVersion" type="i" access="read"/>
<property name="RegisteredStatusNotifierItems" type="as" access="read"/>
<signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
</interface></node>"""
class Watcher(dbus.service.Object):
    items = []
    @dbus.service.method(IFACE, in_signature="s", sender_keyword="sender")
    def RegisterStatusNotifierItem(self, service, sender=None):
        self.items.append(service if not service.startswith("/") else sender + service)
        self.StatusNotifierItemRegistered(self.items[-1])
    @dbus.service.method(IFACE, in_signature="s")
    def RegisterStatusNotifierHost(self, service):
        pass
    @dbus.service.signal(IFACE, signature="s")
    def StatusNotifierItemRegistered(self, service):
        pass
    @dbus.service.method(dbus.INTROSPECTABLE_IFACE, out_signature="s")
    def Introspect(self):
        return XML
    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        return self.GetAll(interface)[name]
    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return {"IsStatusNotifierHostRegistered": True, "ProtocolVersion": dbus.Int32(0),
                "RegisteredStatusNotifierItems": dbus.Array(self.items, signature="s")}
name = dbus.service.BusName(IFACE, dbus.SessionBus())
Watcher(dbus.SessionBus(), "/StatusNotifierWatcher")
GLib.MainLoop().run()
EOF
$python "$work/watcher.py" &
pids+=($!)
wait_for 5 "dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner \
    string:org.kde.StatusNotifierWatcher 2>/dev/null | grep -q true"

display=:$((90 + RANDOM % 100))
Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp 2>/dev/null &
pids+=($!)
wait_for 5 "[ -e /tmp/.X11-unix/X${display#:} ]"

export TORVEL_ROOT=$work/root TORVEL_SYSFS=$work/sys
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
export XDG_CACHE_HOME=$work/home/.cache XDG_RUNTIME_DIR=$work/runtime
# The service runs outside systemd here: the app takes it as installed. The first run is behind the user.
export TORVEL_UNIT_STATE=enabled
mkdir -p "$work/root/var/lib/torvel" "$XDG_CONFIG_HOME/Torvel" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
printf '[General]\nonboardingSeen=true\n' >"$XDG_CONFIG_HOME/Torvel/Torvel.conf"
# At the limit, plugged in: the battery holds and nothing moves.
printf '{"limit":80}' >"$work/root/var/lib/torvel/config.json"
"$simbattery_exe" --dir "$work/sys" --speed 1 --percent 80 --commands "$work/sim.fifo" </dev/null 2>/dev/null &
pids+=($!)
wait_for 5 '[ -p "$work/sim.fifo" ] && [ -f "$work/sys/BAT0/capacity" ]'
"$daemon_exe" 2>/dev/null &
pids+=($!)
status=$work/root/var/lib/torvel/status.json
wait_for 10 '[ "$(field "$status" state)" = hold ]'

DISPLAY=$display QT_QPA_PLATFORM=xcb "$torvel_exe" 2>"$work/torvel.err" &
app=$!
pids+=($app)
# Let the start-up settle (the first status read, the tray's registration, the history's first load).
sleep 20
[ -z "${TORVEL_BENCH_PROBE:-}" ] || { DISPLAY=$display xwininfo -root -tree | grep -i torvel; cat "$work/torvel.err"; exit 0; }
kill -0 "$app" 2>/dev/null || { cat "$work/torvel.err" >&2; echo "torvel exited" >&2; exit 1; }

switches "$app" >"$work/switches.before"
sleep "$window"
switches "$app" >"$work/switches.after"
rss_kb=$(awk '/^VmRSS/ { print $2 }' "/proc/$app/status")

# Second window, traced (tracing adds switches of its own, hence the two windows): what it opens, lists and
# looks at.
files='openat,open,stat,lstat,newfstatat,statx,access,faccessat,faccessat2,getdents64,readlink,readlinkat'
timeout "$window" strace -f -qq -e trace="$files" -o "$work/strace.out" -p "$app" 2>/dev/null || true

per_minute() { $python -c "print(round($1 * 60 / $window, 1))"; }
wakeups=$(per_minute "$(moved "$work/switches.before" "$work/switches.after")")
operations=$(grep -cE '^[0-9]+ +[a-z]' "$work/strace.out" || true)
rss_mb=$($python -c "print(round($rss_kb / 1024, 1))")
echo "window: $window s"
echo "wake-ups per minute: $wakeups"
echo "resident memory: $rss_mb MB"
echo "file operations per minute: $(per_minute "$operations")"
# Which paths, most touched first: anything beyond status.json and the battery's files is a file read the
# idle app does not need.
grep -oE '"[^"]+"' "$work/strace.out" | sort | uniq -c | sort -rn | head -n 12 | sed 's/^/  /'
beyond=$(grep -oE '"[^"]+"' "$work/strace.out" | grep -vE 'status\.json|/sys/|"/proc/self' | wc -l || true)
echo "operations on other files per minute: $(per_minute "$beyond")"
$python -c "import sys; sys.exit(0 if $wakeups <= 8 and $rss_mb <= 36 and $beyond == 0 else 1)"
