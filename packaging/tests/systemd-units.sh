#!/bin/sh
# systemd-units.sh BUILD
# The service under systemd where there is a systemd user instance, and
# without one where there is none:
# - the installed user units pass `systemd-analyze verify`, and the bus
#   activation files name them;
# - on a bus without systemd (dbus-daemon as dbus-run-session starts it) the
#   activation files still start the service themselves (Exec=);
# - where the machine allows (root, not booted with systemd, namespaces), a
#   journal and a real systemd user manager in namespaces of their own, seen
#   by nothing else (systemd-sandbox.sh); elsewhere that part is said skipped.
. "$(dirname "$0")/lib.sh"
build=$1
home="$scratch/home of the operator"
prefix="$home/.local"
install_into "$build" "$prefix"
check_units "" "$prefix"

units="$(user_unit_dir "$prefix")"
# The runtime folder holds the bus's socket: a short path without spaces.
run="$scratch/run"
mkdir -p "$run"
chmod 700 "$run"
verify=$(MANPATH="$prefix/share/man:" XDG_RUNTIME_DIR="$run" \
         systemd-analyze --user verify "$units/zentor-service.service" "$units/zentor-fiber.service" 2>&1)
[ $? -eq 0 ] && [ -z "$verify" ] || fail "systemd-analyze verify: $verify"

# Without systemd: the bus runs Exec= itself.
sed -e "s|@ZENTOR_SERVICE_DIR@|$prefix/share/dbus-1/services|" -e "s|@ZENTOR_STANDARD_DIRS@||" \
  "$ZENTOR_SOURCE_DIR/packaging/dbus/session-bus.conf.in" >"$scratch/bus.conf"
names=$(dbus-run-session --config-file="$scratch/bus.conf" -- busctl --user --timeout=60 call \
          org.zentor.Microscope /org/zentor/Microscope org.zentor.Microscope.Manager GetDeviceNames \
          2>"$ZENTOR_TEST_HOME/plain-bus.log") \
  || fail "without systemd the bus does not start the installed service: $(cat "$ZENTOR_TEST_HOME/plain-bus.log")"
case "$names" in "as "[1-9]*) ;; *) fail "without systemd: no device names: $names" ;; esac

# With a systemd user manager, where the machine allows one for a test.
if [ "$(id -u)" -ne 0 ]; then
  echo "SKIP (not root): the part under a systemd user manager"; echo "PASS"; exit 0
fi
if [ -d /run/systemd/system ]; then
  # A machine booted with systemd has user managers of its own; a test does
  # not start another beside them.
  echo "SKIP (booted with systemd): the part under a systemd user manager"; echo "PASS"; exit 0
fi
[ -x /lib/systemd/systemd ] && [ -x /lib/systemd/systemd-journald ] \
  || { echo "SKIP (no systemd installed): the part under a systemd user manager"; echo "PASS"; exit 0; }
[ -f /usr/lib/systemd/user/dbus.socket ] \
  || fail "no session bus for a systemd user manager (dbus-user-session, which scripts/deps.sh installs)"

# The operator: a user id the machine does not know, for the namespace alone.
uid=4242
while getent passwd "$uid" >/dev/null || getent group "$uid" >/dev/null; do uid=$((uid + 1)); done
logs="$scratch/logs"
mkdir -p "$logs"
chmod 755 "$scratch"
chown -R "$uid:$uid" "$home" "$run" "$logs" || fail "cannot give the operator their home"

# A cgroup of this test's own in each hierarchy, so that the manager sees
# only its own processes (the sandbox mounts them as its root).
roots=''
for h in /sys/fs/cgroup/systemd /sys/fs/cgroup/unified /sys/fs/cgroup; do
  [ -f "$h/cgroup.procs" ] && roots="$roots $h"
done
[ -n "$roots" ] || { echo "SKIP (no cgroup hierarchy): the part under a systemd user manager"; echo "PASS"; exit 0; }
before="$scratch/cgroups-before"
for h in $roots; do ls "$h"; done >"$before"
cgroups=''
leave_cgroups() {
  for h in $cgroups; do
    echo $$ >"$h/cgroup.procs" 2>/dev/null
    find "$h/zentor-test.$$" -depth -type d -exec rmdir {} \; 2>/dev/null
  done
  cgroups=''
}
leave() {
  cp -r "$logs" "$ZENTOR_TEST_HOME/systemd" 2>/dev/null
  leave_cgroups
  rm -rf "$scratch"
}
trap leave EXIT
for h in $roots; do
  mkdir "$h/zentor-test.$$" || fail "cannot make a cgroup in $h"
  cgroups="$cgroups $h"
  echo $$ >"$h/zentor-test.$$/cgroup.procs" || fail "cannot enter a cgroup of its own in $h"
done

if ! unshare -m -C true 2>/dev/null; then
  echo "SKIP (no mount and cgroup namespaces): the part under a systemd user manager"; echo "PASS"; exit 0
fi
unshare -m -C --propagation private "$here/systemd-sandbox.sh" "$uid" "$prefix" "$home" "$run" "$logs" \
  "zentor-test.$$" $roots
rc=$?
leave_cgroups
# Nothing of the session may reach the machine's own cgroups.
for h in $roots; do ls "$h"; done | cmp -s - "$before" \
  || fail "the session changed the machine's cgroups: $(for h in $roots; do ls "$h"; done | diff "$before" -)"
[ $rc -eq 0 ] || exit 1
echo "PASS"
