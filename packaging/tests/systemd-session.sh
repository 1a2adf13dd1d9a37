#!/bin/sh
# systemd-session.sh PREFIX HOME RUNTIME_DIR LOGDIR
# A desktop session's systemd user manager, as the operator (started by
# systemd-sandbox.sh). PREFIX is an installation in HOME/.local, where the user
# manager and the session bus look. Checks that the bus has the manager start
# zentor-service.service, that systemctl and journalctl show it with its log
# levels, that starting it twice or running a second service changes nothing,
# that a damaged stand of the user's is logged as a warning naming its file,
# that a crash leaves the unit failed and the next call starts it afresh, and
# that the fiber illuminator's unit starts alone.
. "$(dirname "$0")/lib.sh"
prefix=$1 home=$2 run=$3 logs=$4

# The manager finds the units in ~/.local/share/systemd/user and starts the
# session bus (dbus.socket), which reads ~/.local/share/dbus-1/services.
# Its own messages go to the journal, as a desktop's manager's do.
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME="$home" XDG_RUNTIME_DIR="$run" LANG=C.UTF-8 SYSTEMD_LOG_TARGET=journal \
  /lib/systemd/systemd --user >"$logs/manager.log" 2>&1 &
manager=$!
trap 'kill "$manager" 2>/dev/null; wait "$manager" 2>/dev/null; rm -rf "$scratch"' EXIT
export HOME="$home" XDG_RUNTIME_DIR="$run" DBUS_SESSION_BUS_ADDRESS="unix:path=$run/bus"
i=0
until systemctl --user is-active --quiet dbus.socket 2>/dev/null; do
  i=$((i + 1))
  [ $i -lt 200 ] || fail "the user manager did not start: $(cat "$logs/manager.log"; journalctl --no-pager -q _PID=$manager | tail -n 20)"
  sleep 0.1
done
systemctl --user cat zentor-service.service >/dev/null 2>&1 \
  || fail "the user manager does not find zentor-service.service: $(systemctl --user cat zentor-service.service 2>&1)"

microscope() {
  busctl --user --timeout=60 call org.zentor.Microscope /org/zentor/Microscope org.zentor.Microscope.Manager "$@"
}
main_pid() { systemctl --user show -P MainPID zentor-service.service; }

# The first call: the bus asks the manager, which starts the unit.
systemctl --user is-active --quiet zentor-service.service && fail "zentor-service runs before anyone asked for it"
names=$(microscope GetDeviceNames) || fail "the call did not reach the service: $names"
case "$names" in "as "[1-9]*) ;; *) fail "no device names: $names" ;; esac
systemctl --user is-active --quiet zentor-service.service \
  || fail "the bus did not start the unit: $(systemctl --user status zentor-service 2>&1)"
status=$(systemctl --user status zentor-service 2>&1)
echo "$status" >"$logs/status.txt"
pid=$(main_pid)
echo "$status" | grep -q "Main PID: $pid" || fail "systemctl --user status does not show the service: $status"
[ "$(cat /proc/"$pid"/comm)" = zentor-service ] || fail "the unit's main process is $(cat /proc/"$pid"/comm)"

# Its log, with levels, in the journal.
i=0
until journalctl --user -u zentor-service --no-pager -q 2>/dev/null | grep -q 'serving org.zentor.Microscope'; do
  i=$((i + 1))
  [ $i -lt 100 ] || fail "journalctl --user -u zentor-service shows no log: $(journalctl --user --no-pager -q 2>&1 | tail -n 20)"
  sleep 0.1
done
journalctl --user -u zentor-service --no-pager -q -o verbose >"$logs/journal.txt" 2>&1
grep -q 'PRIORITY=6' "$logs/journal.txt" || fail "the service's messages carry no info level: $(cat "$logs/journal.txt")"
grep -q 'MESSAGE=zentor-service:' "$logs/journal.txt" && fail "the journal lines repeat the program's name: $(cat "$logs/journal.txt")"

# Started twice: the second start changes nothing.
systemctl --user start zentor-service.service || fail "a second start of the unit fails"
[ "$(main_pid)" = "$pid" ] || fail "a second start replaced the service ($pid, now $(main_pid))"
# A second service beside it: refused with a message, at the error level; the unit goes on.
"$prefix/bin/zentor-service" --speed 0 >"$logs/second.out" 2>"$logs/second.err"
[ $? -eq 2 ] || fail "a second zentor-service did not refuse to start: $(cat "$logs/second.err")"
grep -q "error: .*org.zentor.Microscope: process $pid owns it" "$logs/second.err" \
  || fail "the second service does not say why: $(cat "$logs/second.err")"
systemctl --user is-active --quiet zentor-service.service && [ "$(main_pid)" = "$pid" ] \
  || fail "a second service disturbed the unit"

# A bad stand in the user's folder: said in the journal at the warning level
# with its file, and the others served.
mkdir -p "$home/.config/zentor/stands"
printf '{ "name": ' >"$home/.config/zentor/stands/broken.json"
systemctl --user restart zentor-service.service || fail "the unit does not restart"
microscope GetDeviceNames >/dev/null || fail "the restarted service does not answer"
i=0
until journalctl --user -u zentor-service --no-pager -q -p warning 2>/dev/null | grep -q 'broken.json'; do
  i=$((i + 1))
  [ $i -lt 100 ] || fail "the damaged stand is not in the journal at the warning level: $(journalctl --user -u zentor-service --no-pager -q -o verbose | tail -n 40)"
  sleep 0.1
done
journalctl --user -u zentor-service --no-pager -q -p err | grep -q 'broken.json' \
  && fail "a damaged stand is logged as an error, not a warning"
rm "$home/.config/zentor/stands/broken.json"

# A crash: the unit is failed, and says how it ended; the next call starts it afresh.
# A service built with the address sanitizer catches SEGV itself and exits
# with a code; an abort it leaves to the system, so that one stands in.
crash=SEGV crash_number=11
if grep -q AddressSanitizer "$prefix/bin/zentor-service"; then crash=ABRT crash_number=6; fi
pid=$(main_pid)
kill -"$crash" "$pid"
i=0
until systemctl --user is-failed --quiet zentor-service.service; do
  i=$((i + 1))
  [ $i -lt 100 ] || fail "a crashed service is not failed: $(systemctl --user status zentor-service 2>&1)"
  sleep 0.1
done
result=$(systemctl --user show -P Result zentor-service.service)
case "$result" in core-dump|signal) ;; *) fail "the crashed unit's result is '$result'" ;; esac
systemctl --user status zentor-service >"$logs/failed-status.txt" 2>&1
grep -q "signal=$crash" "$logs/failed-status.txt" || fail "systemctl --user status does not tell the crash: $(cat "$logs/failed-status.txt")"
i=0
until journalctl --user -u zentor-service --no-pager -q | grep -q "status=$crash_number/$crash"; do
  i=$((i + 1))
  [ $i -lt 100 ] || fail "the journal does not tell the crash: $(journalctl --user -u zentor-service --no-pager -q | tail -n 5)"
  sleep 0.1
done
microscope GetDeviceNames >/dev/null || fail "after the crash the next call does not start the service again"
systemctl --user is-active --quiet zentor-service.service || fail "after the crash the unit is not running again"
[ "$(main_pid)" != "$pid" ] || fail "the crashed process is still the unit's"

# The fiber illuminator's unit: with the microscope service stopped, a call
# to org.zentor.Fiber starts zentor-fiber.service.
systemctl --user stop zentor-service.service
busctl --user --timeout=60 call org.zentor.Fiber /org/zentor/Fiber org.freedesktop.DBus.Peer Ping \
  || fail "the call to org.zentor.Fiber did not start its service"
systemctl --user is-active --quiet zentor-fiber.service \
  || fail "the bus did not start zentor-fiber.service: $(systemctl --user status zentor-fiber 2>&1)"
systemctl --user stop zentor-fiber.service
echo "PASS: under the systemd user manager"
