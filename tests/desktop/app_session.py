#!/usr/bin/python3
"""torvel in a desktop session of its own: a private session bus, a window manager, and a tray host's watcher.

Without a tray host a start opens no window. With one, the first copy takes the app id's name and registers its
tray item with a named symbolic icon and a menu; a click on the item opens the popup with the keyboard in it, and
Escape, a click on another window, or the focus going elsewhere close it; a second launch hands its switches to
the first and leaves with status 0, and the window it opened steps through its sections from the keyboard;
--version answers without a display.
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


def windows(*criteria):
    found = subprocess.run(["xdotool", "search", "--onlyvisible", *criteria], env=env, capture_output=True,
                           text=True).stdout.split()
    return [int(w) for w in found]


def active_window():
    answer = subprocess.run(["xdotool", "getactivewindow"], env=env, capture_output=True, text=True).stdout
    return int(answer) if answer.strip() else None


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
# A user past the first run: what opens at start is then only what the desktop calls for.
os.makedirs(os.path.join(env["XDG_CONFIG_HOME"], "Torvel"))
with open(os.path.join(env["XDG_CONFIG_HOME"], "Torvel", "Torvel.conf"), "w") as conf:
    conf.write("[General]\nonboardingSeen=true\n")
children = []
try:
    # Focus, activation and a click elsewhere mean what they mean on a desktop only under a window manager.
    wm = subprocess.Popen(["openbox", "--sm-disable"], env=env, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL)
    children.append(wm)
    bus = dbus.bus.BusConnection(address)

    # As on a desktop that shows no tray icons, started at login: the app works in the background.
    background = subprocess.Popen([torvel], env=env)
    wait_for(lambda: bus.name_has_owner("com.torvel.Torvel"))
    time.sleep(2)
    shown = windows("--pid", str(background.pid))
    check("without a tray host a start opens no window", background.poll() is None and not shown, shown)
    background.terminate()
    background.wait(10)

    version = subprocess.run([torvel, "--version"], env=env, capture_output=True, text=True, timeout=30)
    check("--version", version.returncode == 0 and version.stdout.startswith("torvel "), version.stderr)

    # The tray host's side: a watcher that says a host is there and keeps the items registered with it.
    watcher = subprocess.Popen(["/usr/bin/python3", "-m", "dbusmock", "org.kde.StatusNotifierWatcher",
                                "/StatusNotifierWatcher", "org.kde.StatusNotifierWatcher"], env=env,
                               stdout=subprocess.DEVNULL)
    children.append(watcher)
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

        # The popup, as a user meets it: a click on the flame opens it with the keyboard inside, and whatever
        # turns the user elsewhere closes it.
        flame = dbus.Interface(bus.get_object(owner, "/StatusNotifierItem"), "org.kde.StatusNotifierItem")
        other = subprocess.Popen(["xmessage", "-geometry", "+40+40", "elsewhere"], env=env)
        children.append(other)
        wait_for(lambda: windows("--class", "^Xmessage$"))
        elsewhere = windows("--class", "^Xmessage$")[0]
        ways_out = [
            ("Escape", ["key", "Escape"]),
            ("a click on another window", ["mousemove", "--window", str(elsewhere), "20", "20", "click", "1"]),
            ("the focus going to another window", ["windowactivate", str(elsewhere)]),
            ("a second click on the flame", None),
        ]
        for what, action in ways_out:
            time.sleep(0.5)  # past the moment where a click on the flame is taken for the closing one
            flame.Activate(dbus.Int32(640), dbus.Int32(0))
            popup = []
            opened = wait_for(lambda: popup.extend(windows("--pid", str(first.pid), "--name", "^Torvel$")) or popup)
            check(f"the popup opens ({what})", opened)
            if not opened:
                continue
            check(f"the popup has the keyboard ({what})", wait_for(lambda: active_window() == popup[0], 5),
                  active_window())
            if action:
                subprocess.run(["xdotool", *action], env=env)
            else:
                flame.Activate(dbus.Int32(640), dbus.Int32(0))
            check(f"the popup closes on {what}",
                  wait_for(lambda: not windows("--pid", str(first.pid), "--name", "^Torvel$"), 5))

    second = subprocess.run([torvel, "--settings", "mac"], env=env, capture_output=True, text=True, timeout=30)
    check("a second launch hands over and leaves", second.returncode == 0, second.stderr)
    check("the first copy keeps running", first.poll() is None)

    # The window the handed-over switches opened, stepped through its sections from the keyboard as in the
    # desktop's other tabbed windows; its title names the section.
    def shows(section):
        return windows("--pid", str(first.pid), "--name", f" {section}$")
    check("the handed-over section opens", wait_for(lambda: shows("This laptop")))
    if shows("This laptop"):
        subprocess.run(["xdotool", "windowactivate", "--sync", str(shows("This laptop")[0])], env=env)
        for keys, section in [("ctrl+Tab", "Long memory"), ("ctrl+Next", "Calibration"), ("ctrl+Tab", "Today"),
                              ("ctrl+shift+Tab", "Calibration"), ("ctrl+Prior", "Long memory")]:
            subprocess.run(["xdotool", "key", keys], env=env)
            check(f"{keys} steps to {section}", wait_for(lambda: shows(section), 5))
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
