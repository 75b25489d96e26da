#!/bin/bash
# The install helpers as the build lays them beside the daemon, run against a private root with a fake
# systemctl and busctl that only note what they were asked:
#   service_helpers.sh DIRECTORY-OF-THE-HELPERS
set -euo pipefail

helpers=$1
# A build tree as its owner makes it: only they may change it.
umask 022
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TORVEL_ROOT=$work/root
mkdir -p "$work/bin" "$TORVEL_ROOT"
for tool in systemctl busctl; do
  printf '#!/bin/sh\necho "%s $*" >>"%s/asked"\n' "$tool" "$work" >"$work/bin/$tool"
  chmod +x "$work/bin/$tool"
done
export PATH="$work/bin:$PATH"

failures=0
check() {  # check WHAT COMMAND...
  local what=$1
  shift
  if ! "$@"; then
    echo "FAILED: $what" >&2
    failures=$((failures + 1))
  fi
}
unit=$TORVEL_ROOT/etc/systemd/system/torvel-daemon.service

# A development build: the service runs root's own copy of it, never the build tree's files.
mkdir -p "$work/home/ana/build"
build=$work/home/ana/build
cp "$helpers"/install-service "$helpers"/uninstall-service "$helpers"/*.in "$helpers"/com.torvel.* "$build/"
daemon=$build/torvel-daemon
printf '#!/bin/sh\necho "torvel-daemon $*" >>"%s/asked"\n' "$work" >"$daemon" && chmod +x "$daemon"
check "install succeeds" "$build/install-service" >/dev/null
local=$TORVEL_ROOT/usr/local/libexec/torvel
check "the unit runs root's copy, and hands back through it" \
  bash -c "grep -qx 'ExecStart=/usr/local/libexec/torvel/torvel-daemon' '$unit' &&
           grep -qx 'ExecStopPost=/usr/local/libexec/torvel/torvel-daemon --hand-back' '$unit'"
check "every file the unit runs or the bus reads is root's and only root's to change" \
  bash -c "cmp -s '$daemon' '$local/torvel-daemon' && cd '$TORVEL_ROOT' &&
           ! find etc usr -type f \\( ! -user 0 -o -perm /022 \\) | grep -q ."
# systemd checks the commands exist, so a copy of the unit runs them where the test root has them.
sed "s| /usr/local/| $TORVEL_ROOT/usr/local/|; s|=/usr/local/|=$TORVEL_ROOT/usr/local/|" "$unit" >"$work/torvel-daemon.service"
check "the unit verifies" systemd-analyze verify --man=no "$work/torvel-daemon.service"
check "bus policy, activation and polkit actions placed" test -f "$TORVEL_ROOT/usr/share/dbus-1/system.d/com.torvel.Daemon.conf" \
  -a -f "$TORVEL_ROOT/usr/share/dbus-1/system-services/com.torvel.Daemon.service" \
  -a -f "$TORVEL_ROOT/usr/share/polkit-1/actions/com.torvel.daemon.policy"
check "thresholds recorded, then enabled and restarted" \
  bash -c "grep -A9 'torvel-daemon --record-thresholds' '$work/asked' | grep -q 'systemctl restart torvel-daemon.service'"

refused() {  # refused WHAT-THE-ERROR-SAYS: installing from the build tree is refused, saying so
  ! "$build/install-service" 2>"$work/err" >/dev/null && grep -q "$1" "$work/err"
}
check "a missing daemon is refused, naming it" \
  bash -c "! '$helpers/install-service' '$work/nowhere' 2>'$work/err' && grep -qx 'install-service: no executable at $work/nowhere' '$work/err'"
chmod o+w "$daemon"
check "a daemon others can change is refused" refused "torvel-daemon can be changed by other users"
chmod o-w "$daemon"
sed -i 's|^ExecStart=.*|&\nExecStartPre=/tmp/evil|' "$build/torvel-daemon.service.in"
check "a unit template running anything but the service is refused" refused "runs something other than the service"
check "the unit in place stays" grep -qx 'ExecStart=/usr/local/libexec/torvel/torvel-daemon' "$unit"
cp "$helpers/torvel-daemon.service.in" "$build/"

# Replacing a helper's unit that hides the package's: the package's own files stay, and so does the data.
mkdir -p "$TORVEL_ROOT/lib/systemd/system" "$TORVEL_ROOT/var/lib/torvel/history"
echo "ExecStart=/usr/libexec/torvel/torvel-daemon" >"$TORVEL_ROOT/lib/systemd/system/torvel-daemon.service"
echo '{}' >"$TORVEL_ROOT/var/lib/torvel/config.json"
: >"$work/asked"
check "uninstall --keep-data succeeds" "$helpers/uninstall-service" --keep-data >/dev/null
check "the helper's unit is gone" test ! -e "$unit"
check "a package's thresholds record is left to the package" bash -c "! grep -q restore-thresholds '$work/asked'"
check "the package's bus policy stays" test -f "$TORVEL_ROOT/usr/share/dbus-1/system.d/com.torvel.Daemon.conf"
check "the data stays" test -f "$TORVEL_ROOT/var/lib/torvel/config.json"
check "charging was released, nothing purged" \
  bash -c "grep -q ReleaseCharge '$work/asked' && ! grep -q PurgeAllData '$work/asked'"

# Without a package, removal takes everything it placed and, without --keep-data, the data.
rm -rf "$TORVEL_ROOT/lib"
"$build/install-service" >/dev/null
check "uninstall succeeds" "$build/uninstall-service" >/dev/null
check "the thresholds that stood were put back" grep -q "torvel-daemon --restore-thresholds" "$work/asked"
check "root's copy of the service is gone" test ! -e "$TORVEL_ROOT/usr/local/libexec/torvel"
check "the bus policy is gone" test ! -e "$TORVEL_ROOT/usr/share/dbus-1/system.d/com.torvel.Daemon.conf"
check "the data is gone" test ! -e "$TORVEL_ROOT/var/lib/torvel"
check "an unknown option is refused" bash -c "'$helpers/uninstall-service' --force 2>/dev/null; test \$? -eq 2"

if [ "$failures" -ne 0 ]; then
  exit 1
fi
echo "service helpers: all checks passed"
