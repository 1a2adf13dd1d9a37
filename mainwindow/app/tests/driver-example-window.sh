#!/bin/sh
# driver-example-window.sh PYTHON ZENTOR CONFORMANCE EXAMPLES INTERFACES ATSPI_HELPERS
# The example stand driver of docs/examples, on its emulated controller,
# driven by the real panel in a real window (under an X server of its own, on this test's
# private bus, with an accessibility bus of its own) and judged by
# zentor-conformance: both pass for the devices the stand has.
python=$1 zentor=$2 conformance=$3 examples=$4 interfaces=$5 helpers=$6
home=${ZENTOR_TEST_HOME:-$PWD}
pids=""
stop() { for p in $pids; do kill "$p" 2>/dev/null; done; for p in $pids; do wait "$p" 2>/dev/null; done; }
fail() { echo "FAIL: $*" >&2; stop; exit 1; }
trap stop EXIT

launcher=""
for l in /usr/libexec/at-spi-bus-launcher /usr/lib/at-spi2-core/at-spi-bus-launcher; do
  [ -x "$l" ] && launcher=$l && break
done
[ -n "$launcher" ] || fail "at-spi2-core is not installed (scripts/deps.sh installs it)"
"$launcher" --launch-immediately >"$home/atspi.log" 2>&1 &
pids="$pids $!"

"$python" "$examples/stand-controller.py" >"$home/controller.log" 2>&1 &
pids="$pids $!"
i=0
until grep -q '^PORT ' "$home/controller.log"; do
  i=$((i + 1)); [ $i -lt 100 ] || fail "the controller gave no port: $(cat "$home/controller.log")"; sleep 0.1
done
"$python" "$examples/stand-driver.py" --port "$(sed -n 's/^PORT //p' "$home/controller.log")" \
  --interfaces "$interfaces" >"$home/driver.log" 2>&1 &
pids="$pids $!"
i=0
until busctl --user status org.zentor.Microscope >/dev/null 2>&1 &&
      dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus org.a11y.Bus.GetAddress >/dev/null 2>&1; do
  i=$((i + 1)); [ $i -lt 200 ] || fail "the driver or the accessibility bus did not start: $(cat "$home/driver.log" "$home/atspi.log")"
  sleep 0.1
done

"$python" "$(dirname "$0")/driver-example-window.py" "$zentor" "$helpers" "$home/driver-example-window.png" ||
  fail "the panel on the example driver"
"$conformance" --yes </dev/null >"$home/conformance.txt" 2>&1
status=$?
sed 's/^/    /' "$home/conformance.txt"
[ $status -eq 0 ] || fail "zentor-conformance on the example driver: status $status"
echo PASS
