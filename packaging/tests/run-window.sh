#!/bin/bash
# run-window.sh 'EXEC': on the bus and display given, runs the command line
# EXEC (quoted as in a desktop entry's Exec key, which the menu runs) with
# /SIM, waits for its connected caption, keeps a screenshot, closes it with
# SIGTERM.
. "$(dirname "$0")/lib.sh"
eval "set -- $1"
bus() { dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus /org/freedesktop/DBus "org.freedesktop.DBus.$1" "${@:2}"; }
bus ListActivatableNames | grep -qw org.zentor.Microscope || fail "the bus cannot start the installed service"
bus NameHasOwner string:org.zentor.Microscope | grep -q true && fail "the service runs before anyone asked for it"
# No accessibility bus on this private bus: accessibility forced on must
# fall back quietly.
# Emptied here, not only by the redirection below: that runs in the
# background job, so the wait could otherwise read an earlier run's caption.
: >"$ZENTOR_TEST_HOME/zentor.stderr"
QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 ZENTOR_PRINT_CAPTION=1 "$@" /SIM 2>"$ZENTOR_TEST_HOME/zentor.stderr" &
pid=$!
i=0
while [ $i -lt 300 ]; do
  grep -q 'caption: Zentor  \[ ' "$ZENTOR_TEST_HOME/zentor.stderr" && break
  kill -0 "$pid" 2>/dev/null || fail "zentor ended before it was connected: $(cat "$ZENTOR_TEST_HOME/zentor.stderr")"
  sleep 0.1
  i=$((i + 1))
done
grep -q 'caption: Zentor  \[ ' "$ZENTOR_TEST_HOME/zentor.stderr" || { kill -9 "$pid"; fail "no connected caption within 30 s"; }
grep 'caption:' "$ZENTOR_TEST_HOME/zentor.stderr" | tail -n 1
sleep 1
import -window root "$ZENTOR_TEST_HOME/installed-window.png" 2>/dev/null || echo "no screenshot" >&2
kill -TERM "$pid"
wait "$pid"
rc=$?
[ $rc -eq 0 ] || fail "zentor exit code $rc after SIGTERM"
