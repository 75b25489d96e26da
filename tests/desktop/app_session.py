#!/usr/bin/python3
"""torvel in a desktop session of its own: a private session bus with a tray host's watcher on it.

The first copy takes the app id's name and registers its tray item with a named symbolic icon and a menu; a
second launch hands its switches to the first and leaves with status 0; --version answers without a display.
"""
import os
import subprocess
import sys
import tempfile
import time

import dbus

torvel = sys.argv[1]
work = tempfile.mkdtemp(prefix="torvel-session.")
failures = []


def check(what, ok, detail=""):
    print(("ok   " if ok else "FAIL ") + what + (f": {detail}" if detail and not ok else ""))
    if not ok:
        failures.append(what)


def wait_for(condition, seconds=15):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        try:
            if condition():
                return True
        except dbus.DBusException:
            pass
        time.sleep(0.1)
    return False


# A display of its own: Qt puts a tray item on the bus only on a real windowing system.
xvfb = subprocess.Popen(["Xvfb", "-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"],
                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
display = ":" + xvfb.stdout.readline().strip()
bus_daemon = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address"],
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
address = bus_daemon.stdout.readline().strip()
env = dict(os.environ, DBUS_SESSION_BUS_ADDRESS=address,
           DBUS_SYSTEM_BUS_ADDRESS="unix:path=" + os.path.join(work, "no-system-bus"),
           DISPLAY=display, QT_QPA_PLATFORM="xcb", XDG_CONFIG_HOME=os.path.join(work, "config"),
           XDG_DATA_HOME=os.path.join(work, "data"), XDG_RUNTIME_DIR=work, TORVEL_SYSFS=os.path.join(work, "sysfs"),
           TORVEL_UNIT_STATE="enabled")
env.pop("TORVEL_ROOT", None)
os.makedirs(env["TORVEL_SYSFS"])
children = []
try:
    version = subprocess.run([torvel, "--version"], env=env, capture_output=True, text=True, timeout=30)
    check("--version", version.returncode == 0 and version.stdout.startswith("torvel "), version.stderr)

    # The tray host's side: a watcher that says a host is there and keeps the items registered with it.
    watcher = subprocess.Popen(["/usr/bin/python3", "-m", "dbusmock", "org.kde.StatusNotifierWatcher",
                                "/StatusNotifierWatcher", "org.kde.StatusNotifierWatcher"], env=env,
                               stdout=subprocess.DEVNULL)
    children.append(watcher)
    bus = dbus.bus.BusConnection(address)
    wait_for(lambda: bus.name_has_owner("org.kde.StatusNotifierWatcher"))
    mock = dbus.Interface(bus.get_object("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher"),
                          "org.freedesktop.DBus.Mock")
    mock.AddMethod("", "RegisterStatusNotifierItem", "s", "", "")
    mock.AddMethod("", "RegisterStatusNotifierHost", "s", "", "")
    mock.AddProperties("", {"IsStatusNotifierHostRegistered": True, "ProtocolVersion": dbus.Int32(0),
                            "RegisteredStatusNotifierItems": dbus.Array([], signature="s")})

    first = subprocess.Popen([torvel], env=env)
    children.append(first)
    check("the first copy takes the app id", wait_for(lambda: bus.name_has_owner("com.torvel.Torvel")))
    registered = []
    check("the tray item registers with the host",
          wait_for(lambda: registered.extend(mock.GetMethodCalls("RegisterStatusNotifierItem")) or registered))
    if registered:
        service = str(registered[0][1][0])
        owner = service
        item = dbus.Interface(bus.get_object(owner, "/StatusNotifierItem"), "org.freedesktop.DBus.Properties")
        icon = str(item.Get("org.kde.StatusNotifierItem", "IconName"))
        check("the tray icon is the named symbolic one", icon == "com.torvel.Torvel-symbolic", icon)
        menu_path = item.Get("org.kde.StatusNotifierItem", "Menu")
        menu = dbus.Interface(bus.get_object(owner, menu_path), "com.canonical.dbusmenu")
        _, layout = menu.GetLayout(0, -1, dbus.Array([], signature="s"))
        labels = [str(child[1].get("label", "")) for child in layout[2]]
        check("the tray menu opens the app and quits it",
              "Open Torvel" in labels and "Quit Torvel" in labels, labels)

    second = subprocess.run([torvel, "--settings", "mac"], env=env, capture_output=True, text=True, timeout=30)
    check("a second launch hands over and leaves", second.returncode == 0, second.stderr)
    check("the first copy keeps running", first.poll() is None)
    refused = subprocess.run([torvel, "--settings"], env=env, capture_output=True, text=True, timeout=30)
    check("a switch without its value is refused before anything starts", refused.returncode == 2)
finally:
    for child in children:
        child.terminate()
        try:
            child.wait(10)
        except subprocess.TimeoutExpired:
            child.kill()
    for daemon in (bus_daemon, xvfb):
        daemon.terminate()
        daemon.wait()
    subprocess.run(["rm", "-rf", work])

sys.exit(1 if failures else 0)
