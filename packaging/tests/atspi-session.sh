#!/bin/sh
# atspi-session.sh PYTHON ZENTOR_EXE: runs atspi-session.py with an accessibility
# bus of its own on the private session bus this test runs in (the bus has
# no standard services, so the bus launcher is started here).
. "$(dirname "$0")/lib.sh"
launcher=""
for l in /usr/libexec/at-spi-bus-launcher /usr/lib/at-spi2-core/at-spi-bus-launcher; do
  [ -x "$l" ] && launcher=$l && break
done
[ -n "$launcher" ] || fail "at-spi2-core is not installed (scripts/deps.sh installs it)"
"$launcher" --launch-immediately >"$ZENTOR_TEST_HOME/atspi.log" 2>&1 &
launcher_pid=$!
i=0
until dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus org.a11y.Bus.GetAddress >/dev/null 2>&1; do
  i=$((i + 1))
  [ $i -lt 100 ] || { kill "$launcher_pid"; fail "the accessibility bus did not start: $(cat "$ZENTOR_TEST_HOME/atspi.log")"; }
  sleep 0.1
done
"$1" "$here/atspi-session.py" "$2"
rc=$?
kill "$launcher_pid" 2>/dev/null
exit $rc
