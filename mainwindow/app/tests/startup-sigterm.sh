#!/bin/sh
# startup-sigterm.sh ZENTOR_EXE
# SIGTERM while the panel is still starting ends it in order: on a private bus
# without the microscope service the panel's load shows "Get Device_Name
# Error" before its window shows; a SIGTERM then lets the box go, and the
# panel closes as at any other time (exit code 0, its settings written).
set -u
exe=$1
home=${ZENTOR_TEST_HOME:-$PWD}
mkdir -p "$home"
fail() { echo "FAIL: $*" >&2; [ -n "${pid:-}" ] && kill -9 "$pid" 2>/dev/null; exit 1; }

ini="$XDG_DATA_HOME/Korvu/MavrelTools/Zentor.ini"
rm -f "$ini"
QT_QPA_PLATFORM=offscreen ZENTOR_PRINT_CAPTION=1 "$exe" 2>"$home/zentor.stderr" &
pid=$!
i=0
while [ $i -lt 300 ]; do
  grep -q '^box: Get Device_Name Error' "$home/zentor.stderr" && break
  kill -0 "$pid" 2>/dev/null || fail "zentor ended before its box: $(cat "$home/zentor.stderr")"
  sleep 0.1
  i=$((i + 1))
done
grep -q '^box: Get Device_Name Error' "$home/zentor.stderr" || fail "no box while starting: $(cat "$home/zentor.stderr")"
grep -q '^caption:' "$home/zentor.stderr" && fail "the window had its caption already"

kill -TERM "$pid"
i=0
while kill -0 "$pid" 2>/dev/null && [ $i -lt 200 ]; do sleep 0.1; i=$((i + 1)); done
kill -0 "$pid" 2>/dev/null && fail "zentor did not end within 20 s of SIGTERM"
wait "$pid"
rc=$?
[ $rc -eq 0 ] || fail "zentor exit code $rc after SIGTERM (143 is death by the signal)"
[ -f "$ini" ] || fail "no Zentor.ini: the close did not run"
for key in Top Left Height Width Menu Open; do
  grep -q "^$key=" "$ini" || fail "Form_Position has no $key"
done
echo "PASS"
