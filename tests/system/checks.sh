#!/bin/bash
# Runs inside the booted Debian of scripts/system-test, as its test unit: installs the package with apt and
# proves the service's installation, polkit, hand-back and removal under the real systemd, dbus and polkitd.
#   checks.sh RESULTS-DIRECTORY    writes RESULTS/output (everything printed) and RESULTS/summary
set -u
results=$1
mkdir -p "$results"
exec >"$results/output" 2>&1
export DEBIAN_FRONTEND=noninteractive PATH=/usr/sbin:/usr/bin:/sbin:/bin
sys=${TORVEL_SYSFS:?}
bat=$sys/BAT0
failures=0
step() { echo; echo "== $*"; }
pass() { echo "ok: $*"; }
fail() { echo "FAILED: $*"; failures=$((failures + 1)); }
check() {  # check WHAT COMMAND...
  local what=$1
  shift
  if "$@"; then pass "$what"; else fail "$what"; fi
}
wait_for() {  # wait_for SECONDS CONDITION
  local deadline=$((SECONDS + $1))
  until eval "$2"; do
    [ "$SECONDS" -ge "$deadline" ] && return 1
    sleep 0.2
  done
}
attr() { cat "$bat/$1" 2>/dev/null; }
behaviour() { sed -n 's/.*\[\([a-z-]*\)\].*/\1/p' "$bat/charge_behaviour" 2>/dev/null; }
thresholds() { echo "$(attr charge_control_start_threshold)/$(attr charge_control_end_threshold)"; }
as_ana() { runuser -u ana -- "$@"; }
finish() {
  if [ "$failures" -eq 0 ]; then echo "passed" >"$results/summary"; else echo "failed: $failures checks" >"$results/summary"; fi
  sync
  exit 0
}

step "the simulated battery at 60 %, on mains, with thresholds 40/90 standing before the install"
wait_for 20 '[ -f "$bat/capacity" ]' || { fail "the simulated battery did not appear"; finish; }
echo 40 >"$bat/charge_control_start_threshold"
echo 90 >"$bat/charge_control_end_threshold"
check "thresholds stand at 40/90" wait_for 5 '[ "$(thresholds)" = 40/90 ]'

step "1. apt-get install ./torvel_*.deb: the unit enabled, active, verified and hardened"
apt-get install -y /root/torvel_*.deb 2>&1 | tail -n 3
check "the package installed" dpkg-query -W torvel
check "enabled" systemctl is-enabled torvel-daemon.service
check "active" wait_for 20 '[ "$(systemctl is-active torvel-daemon.service)" = active ]'
systemd-analyze verify /lib/systemd/system/torvel-daemon.service
check "systemd-analyze verify passes on the packaged unit" test $? -eq 0
exposure=$(systemd-analyze security torvel-daemon.service 2>&1 | sed -n 's/.*Overall exposure level for torvel-daemon.service: \([0-9.]*\).*/\1/p')
echo "exposure: $exposure"
check "exposure $exposure is at most 1.5" python3 -c "import sys; sys.exit(not float('${exposure:-99}') <= 1.5)"
check "the thresholds that stood were recorded" grep -q '"start":40,"end":90' /var/lib/torvel/thresholds-before.json
systemctl stop torvel-daemon.service
busctl introspect com.torvel.Daemon /com/torvel/Daemon >/dev/null 2>&1
check "a bus call starts the stopped service (activation)" \
  wait_for 10 '[ "$(systemctl is-active torvel-daemon.service)" = active ]'

step "2. settings over the system bus: ana through polkit, admin-only changes refused to her, root's pass"
as_ana torvelctl set limit=70
check "ana's limit=70 is accepted" test $? -eq 0
check "the end threshold lands at 70" wait_for 10 '[ "$(attr charge_control_end_threshold)" = 70 ]'
as_ana torvelctl set enabled=false
check "ana's enabled=false (admin only) is refused" test $? -ne 0
check "the limit still holds" test "$(attr charge_control_end_threshold)" = 70
torvelctl set limit=75
check "root's limit=75 is accepted" test $? -eq 0
check "the end threshold lands at 75" wait_for 10 '[ "$(attr charge_control_end_threshold)" = 75 ]'

step "3. forced discharge, SIGKILL: ExecStopPost hands back before the restart; Restart and reload"
torvelctl set limit=50 discharge=on
check "forced discharge running" wait_for 20 '[ "$(behaviour)" = force-discharge ]'
pid_before=$(systemctl show -p MainPID --value torvel-daemon.service)
systemctl kill -s KILL torvel-daemon.service
check "charge_behaviour is auto before the restart" \
  wait_for 4 '[ "$(behaviour)" = auto ] && [ "$(systemctl show -p MainPID --value torvel-daemon.service)" = 0 ]'
check "restarted, and clean" \
  wait_for 20 '[ "$(systemctl is-active torvel-daemon.service)" = active ] && [ "$(systemctl show -p MainPID --value torvel-daemon.service)" != "$pid_before" ]'
echo "restarts: $(systemctl show -p NRestarts --value torvel-daemon.service)"
check "the limit holds again after the restart" wait_for 20 '[ "$(attr charge_control_end_threshold)" = 50 ]'
pid=$(systemctl show -p MainPID --value torvel-daemon.service)
busctl call com.torvel.Daemon /com/torvel/Daemon com.torvel.Daemon1 Restart
check "the bus call Restart starts the binary afresh" \
  wait_for 20 '[ "$(systemctl show -p MainPID --value torvel-daemon.service)" != "$pid" ] && [ "$(systemctl is-active torvel-daemon.service)" = active ]'
pid=$(systemctl show -p MainPID --value torvel-daemon.service)
torvelctl set discharge=off >/dev/null
python3 -c 'import json; p="/var/lib/torvel/config.json"; c=json.load(open(p)); c["limit"]=65; json.dump(c, open(p, "w"))'
systemctl reload torvel-daemon.service
check "systemctl reload reads config.json again, in the same process" \
  wait_for 10 '[ "$(attr charge_control_end_threshold)" = 65 ] && [ "$(systemctl show -p MainPID --value torvel-daemon.service)" = "$pid" ]'
journalctl -u torvel-daemon.service --no-pager -o cat | grep -iE "error|fail|refus" | tail -n 5

step "5. apt-get remove hands charging back and puts back 40/90; purge leaves no file of the package"
files=$(dpkg -L torvel | sort)
apt-get remove -y torvel 2>&1 | tail -n 2
check "charge_behaviour auto after remove" test "$(behaviour)" = auto
echo "thresholds after remove: $(thresholds)"
check "the thresholds that stood before the install are back" test "$(thresholds)" = 40/90
check "the service is gone" bash -c '! systemctl is-active -q torvel-daemon.service'
apt-get purge -y torvel 2>&1 | tail -n 2
left=$(for f in $files; do [ -e "$f" ] && [ ! -d "$f" ] && echo "$f"; done
  for d in /var/lib/torvel /var/log/torvel /usr/share/torvel /usr/libexec/torvel /usr/share/doc/torvel; do
    [ -e "$d" ] && echo "$d"
  done)
echo "left after purge: ${left:-nothing}"
check "purge leaves no file of the package" test -z "$left"

step "4. torvelctl install from a copy of the build tree, and uninstall"
echo 40 >"$bat/charge_control_start_threshold"
echo 90 >"$bat/charge_control_end_threshold"
SUDO_UID=$(id -u bob) /home/ana/torvel-build/cli/torvelctl install
check "a build tree owned by another user than the one asking is refused" test $? -ne 0
SUDO_UID=$(id -u ana) /home/ana/torvel-build/cli/torvelctl install
check "torvelctl install succeeds" test $? -eq 0
unit=/etc/systemd/system/torvel-daemon.service
grep '^Exec' "$unit"
# The man page went with the package; a build tree has none to offer.
systemd-analyze verify --man=no "$unit"
check "the written unit verifies" test $? -eq 0
check "active" wait_for 20 '[ "$(systemctl is-active torvel-daemon.service)" = active ]'
owned=$(for f in $(grep -oE '/[^ ]*torvel[^ ]*' "$unit" | sort -u) "$unit" /usr/share/dbus-1/system.d/com.torvel.Daemon.conf \
  /usr/share/polkit-1/actions/com.torvel.daemon.policy; do stat -c '%U %A %n' "$f"; done)
echo "$owned"
check "the unit, what it runs and the policies are root's and writable by no one else" \
  bash -c "! grep -vE '^root -r.xr-xr-x|^root -rw-r--r--' <<<'$owned' | grep -q ."
/home/ana/torvel-build/cli/torvelctl set limit=72 >/dev/null
check "the service holds the limit" wait_for 10 '[ "$(attr charge_control_end_threshold)" = 72 ]'
/home/ana/torvel-build/cli/torvelctl uninstall
check "torvelctl uninstall succeeds" test $? -eq 0
check "the unit is gone" test ! -e "$unit"
check "charging handed back: auto and 40/90" test "$(behaviour)/$(thresholds)" = auto/40/90
# The app's installer: the same helper through pkexec, as ana.
as_ana pkexec /home/ana/torvel-build/daemon/install-service /home/ana/torvel-build/daemon/torvel-daemon
check "the helper through pkexec installs from ana's own tree" \
  wait_for 20 '[ "$(systemctl is-active torvel-daemon.service)" = active ]'
as_ana pkexec /usr/local/libexec/torvel/uninstall-service
check "and its root-owned uninstaller through pkexec removes it" test ! -e "$unit"

finish
