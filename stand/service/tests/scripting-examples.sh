#!/usr/bin/env bash
# scripting-examples.sh PYTHON EXAMPLES_DIR
# Runs the commands of the scripting guide (docs/scripting.md) and its Python
# example against the service, on a bus that starts the service on demand.
set -uo pipefail
python=$1
examples=$2
guide=$examples/../scripting.md
failures=0

check() {   # check DESCRIPTION EXPECTED-TEXT COMMAND...
  local what=$1 expect=$2; shift 2
  local out
  if ! grep -qF -- "$*" "$guide"; then
    echo "FAIL: the guide does not show: $*"; failures=$((failures + 1)); return
  fi
  if ! out=$("$@" 2>&1); then
    echo "FAIL: $what: $* -> $out"; failures=$((failures + 1)); return
  fi
  if [ -n "$expect" ] && ! grep -qF -- "$expect" <<<"$out"; then
    echo "FAIL: $what: no \"$expect\" in: $out"; failures=$((failures + 1)); return
  fi
  echo "ok: $what"
}

M="org.zentor.Microscope /org/zentor/Microscope"
D="org.zentor.Microscope /org/zentor/Microscope/0 org.zentor.Microscope.Device"
check "busctl lists the microscopes" 'as ' busctl --user call $M org.zentor.Microscope.Manager GetDeviceNames
check "busctl opens microscope 0" '/org/zentor/Microscope/0' \
  busctl --user call $M org.zentor.Microscope.Manager Connect n 0
check "busctl reads the nosepiece" 'n ' busctl --user call $D NosepiecePosition
check "busctl reads the stage" 'i ' busctl --user call $D XYDriveXPosition

# Events while busctl and gdbus move the nosepiece.
monitor_out=$(mktemp)
gdbus monitor --session --dest org.zentor.Microscope --object-path /org/zentor/Microscope/0 >"$monitor_out" 2>&1 &
monitor=$!
sleep 1
check "busctl moves the nosepiece" '' busctl --user call $D setNosepiecePosition n 3
check "busctl reads the new address" 'n 3' busctl --user call $D NosepiecePosition
check "gdbus moves the nosepiece" '' gdbus call --session --dest org.zentor.Microscope --object-path /org/zentor/Microscope/0 --method org.zentor.Microscope.Device.setNosepiecePosition 2
check "gdbus reads the nosepiece" '(int16 2,)' gdbus call --session --dest org.zentor.Microscope --object-path /org/zentor/Microscope/0 --method org.zentor.Microscope.Device.NosepiecePosition
check "gdbus lists the microscopes" '([' gdbus call --session --dest org.zentor.Microscope --object-path /org/zentor/Microscope --method org.zentor.Microscope.Manager.GetDeviceNames
sleep 0.5
kill "$monitor" 2>/dev/null; wait "$monitor" 2>/dev/null
if grep -qF "AppNosepiecePosition:3" "$monitor_out" && grep -qF "AppNosepiecePosition:2" "$monitor_out"; then
  echo "ok: gdbus monitor shows the events"
else
  echo "FAIL: gdbus monitor showed: $(cat "$monitor_out")"; failures=$((failures + 1))
fi
rm -f "$monitor_out"
grep -qF "gdbus monitor --session --dest org.zentor.Microscope --object-path /org/zentor/Microscope/0" "$guide" ||
  { echo "FAIL: the guide does not show the gdbus monitor command"; failures=$((failures + 1)); }

# A refusal carries its code.
out=$(busctl --user call $D setNosepiecePosition n 99 2>&1) && {
  echo "FAIL: address 99 was taken"; failures=$((failures + 1)); }
if grep -q "800404BE\|80070057" <<<"$out"; then echo "ok: a refusal carries its code"; else
  echo "FAIL: refusal without code: $out"; failures=$((failures + 1)); fi

check "busctl introspects" 'setNosepiecePosition' busctl --user introspect org.zentor.Microscope /org/zentor/Microscope/0
check "gdbus introspects" 'OnPropertyChanged' gdbus introspect --session --dest org.zentor.Microscope --object-path /org/zentor/Microscope/0

if out=$("$python" "$examples/microscope.py" 0 2>&1); then
  echo "ok: the Python example"; echo "$out" | sed 's/^/    /'
else
  echo "FAIL: the Python example: $out"; failures=$((failures + 1))
fi

echo "$failures failure(s)"
[ "$failures" -eq 0 ]
