#!/bin/sh
# end-to-end-window.sh ZENTOR_EXE
# The real panel against the real service process: run inside a private
# session bus that activates the built service, and under an X server
# (cmake/run-under-xvfb.sh). Waits for the connected caption, keeps a screenshot in the
# test's home, closes the window with SIGTERM (an orderly close), and checks
# what the unload wrote.
exe=$1
home=${ZENTOR_TEST_HOME:-$PWD}
fail() { echo "FAIL: $*" >&2; [ -n "${pid:-}" ] && kill -9 "$pid" 2>/dev/null; exit 1; }

ZENTOR_PRINT_CAPTION=1 "$exe" /SIM 2>"$home/zentor.stderr" &
pid=$!

caption=""
i=0
while [ $i -lt 300 ]; do
  caption=$(xwininfo -root -tree 2>/dev/null | grep -o '"Zentor  \[ [^"]* \]"' | head -n 1)
  [ -n "$caption" ] && break
  kill -0 "$pid" 2>/dev/null || fail "zentor ended before it was connected: $(cat "$home/zentor.stderr")"
  sleep 0.1
  i=$((i + 1))
done
[ -n "$caption" ] || fail "no connected caption within 30 s"
echo "caption: $caption"
grep -q 'caption: Zentor  \[ ' "$home/zentor.stderr" || fail "the panel did not report its caption"

sleep 1   # let the panel draw its present values
import -window root "$home/zentor-window.png" || fail "screenshot failed"
[ -s "$home/zentor-window.png" ] || fail "empty screenshot"

kill -TERM "$pid"
wait "$pid"
rc=$?
[ $rc -eq 0 ] || fail "zentor exit code $rc after SIGTERM"

ini="$XDG_DATA_HOME/Korvu/MavrelTools/Zentor.ini"
[ -f "$ini" ] || fail "no Zentor.ini after unload"
for key in Top Left Height Width Menu Open; do
  grep -q "^$key=" "$ini" || fail "Form_Position has no $key"
done
grep -q '^\[Zentor  \[ .* \]\]' "$ini" || fail "no section of the window's caption"
grep -q '^Show=True' "$ini" || fail "the window's Show entry is missing"
grep -q '^ControlMax=' "$ini" || fail "the focus control limits were not written"
[ "$(grep -c '' "$XDG_DATA_HOME/Korvu/MavrelTools/FilterColor.txt")" -eq 249 ] || fail "FilterColor.txt is not 249 lines"
echo "PASS"
