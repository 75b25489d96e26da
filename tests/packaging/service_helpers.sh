#!/bin/bash
# The install helpers as the build lays them beside the daemon, run against a private root with a fake
# systemctl and busctl that only note what they were asked:
#   service_helpers.sh DIRECTORY-OF-THE-HELPERS
set -euo pipefail

helpers=$1
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

# A development build: the unit runs it where it is.
mkdir -p "$work/home/ana/build"
daemon=$work/home/ana/build/torvel-daemon
printf '#!/bin/sh\n' >"$daemon" && chmod +x "$daemon"
check "install succeeds" "$helpers/install-service" "$daemon" >/dev/null
check "the unit runs this copy's daemon" grep -qx "ExecStart=$daemon" "$unit"
check "a build outside /home keeps its home hidden" grep -qx "ProtectHome=yes" "$unit"
check "bus policy placed" test -f "$TORVEL_ROOT/usr/share/dbus-1/system.d/com.torvel.Daemon.conf"
check "polkit actions placed" test -f "$TORVEL_ROOT/usr/share/polkit-1/actions/com.torvel.daemon.policy"
check "enabled and restarted" grep -q "systemctl restart torvel-daemon.service" "$work/asked"

check "a missing daemon is refused, naming it" \
  bash -c "! '$helpers/install-service' '$work/nowhere' 2>'$work/err' && grep -qx 'install-service: no executable at $work/nowhere' '$work/err'"

# Replacing a helper's unit that hides the package's: the package's own files stay, and so does the data.
mkdir -p "$TORVEL_ROOT/lib/systemd/system" "$TORVEL_ROOT/var/lib/torvel/history"
echo "ExecStart=/usr/libexec/torvel/torvel-daemon" >"$TORVEL_ROOT/lib/systemd/system/torvel-daemon.service"
echo '{}' >"$TORVEL_ROOT/var/lib/torvel/config.json"
: >"$work/asked"
check "uninstall --keep-data succeeds" "$helpers/uninstall-service" --keep-data >/dev/null
check "the helper's unit is gone" test ! -e "$unit"
check "the package's bus policy stays" test -f "$TORVEL_ROOT/usr/share/dbus-1/system.d/com.torvel.Daemon.conf"
check "the data stays" test -f "$TORVEL_ROOT/var/lib/torvel/config.json"
check "charging was released, nothing purged" \
  bash -c "grep -q ReleaseCharge '$work/asked' && ! grep -q PurgeAllData '$work/asked'"

# Without a package, removal takes everything it placed and, without --keep-data, the data.
rm -rf "$TORVEL_ROOT/lib"
"$helpers/install-service" "$daemon" >/dev/null
check "uninstall succeeds" "$helpers/uninstall-service" >/dev/null
check "the bus policy is gone" test ! -e "$TORVEL_ROOT/usr/share/dbus-1/system.d/com.torvel.Daemon.conf"
check "the data is gone" test ! -e "$TORVEL_ROOT/var/lib/torvel"
check "an unknown option is refused" bash -c "'$helpers/uninstall-service' --force 2>/dev/null; test \$? -eq 2"

if [ "$failures" -ne 0 ]; then
  exit 1
fi
echo "service helpers: all checks passed"
