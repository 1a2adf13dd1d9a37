#!/bin/sh
# startup-round-trips.sh SERVICE_EXE ZENTOR_EXE DESCRIPTIONS_DIR
# The calls the real panel makes to the microscope service from its start to
# its connected caption, counted by a bus monitor on a private bus (run inside
# dbus-run-session with nothing activatable; this script starts the service).
# With the service's Snapshot the panel needs at most 5 of them (the fiber
# illuminator's service is counted apart); against a service started without
# Snapshot (a driver written before it) it still opens, one read at a time.
set -u
service_exe=$1
zentor_exe=$2
descriptions=$3
home=${ZENTOR_TEST_HOME:-$PWD}
mkdir -p "$home"
pids=""
fail() {
  echo "FAIL: $*" >&2
  for p in $pids; do kill -9 "$p" 2>/dev/null; done
  exit 1
}

# wait_for FILE PATTERN TENTHS: true once the file has a line matching.
wait_for() {
  i=0
  while [ $i -lt "$3" ]; do
    grep -q "$2" "$1" 2>/dev/null && return 0
    sleep 0.1
    i=$((i + 1))
  done
  return 1
}

# count MONITOR_FILE: the panel's calls to the microscope service after the
# probe, up to its first call to the fiber illuminator (which follows the
# caption), one line each.
calls_before_fiber() {
  awk -F '\t' '
    $1 == "mc" && $8 == "Ping" && !started { started = 1; next }
    !started { next }
    $1 == "mc" && $6 == "/org/zentor/Fiber" { exit }
    $1 == "mc" && index($6, "/org/zentor/Microscope") == 1 { print $6 " " $8 }
  ' "$1"
}

fiber_calls() {
  awk -F '\t' '$1 == "mc" && $6 == "/org/zentor/Fiber" { print $8 }' "$1"
}

# run MODE [SERVICE OPTIONS]: the service serves one stand, the full system,
# which the panel opens at once (a list of one); leaves the calls in
# $home/calls-MODE.txt.
run() {
  mode=$1
  shift
  "$service_exe" --stand "$descriptions/full-system.json" --speed 0 --state-file "$home/state-$mode.json" "$@" \
    2>"$home/service-$mode.log" &
  service_pid=$!
  pids="$service_pid"
  wait_for "$home/service-$mode.log" "serving org.zentor.Fiber" 200 || fail "the service did not start: $(cat "$home/service-$mode.log")"

  dbus-monitor --session --profile >"$home/monitor-$mode.txt" 2>/dev/null &
  monitor_pid=$!
  pids="$pids $monitor_pid"
  # The monitor is in place once it has seen a call made after its start.
  i=0
  while [ $i -lt 100 ]; do
    dbus-send --session --print-reply --dest=org.zentor.Microscope /org/zentor/Microscope \
      org.zentor.Microscope.Manager.Ping >/dev/null 2>&1
    grep -q 'Ping$' "$home/monitor-$mode.txt" && break
    sleep 0.1
    i=$((i + 1))
  done
  grep -q 'Ping$' "$home/monitor-$mode.txt" || fail "the bus monitor saw nothing"

  QT_QPA_PLATFORM=offscreen ZENTOR_PRINT_CAPTION=1 "$zentor_exe" 2>"$home/zentor-$mode.stderr" &
  zentor_pid=$!
  pids="$pids $zentor_pid"
  wait_for "$home/zentor-$mode.stderr" 'caption: Zentor  \[ Q7s Full System \]' 600 ||
    fail "[$mode] no connected caption: $(cat "$home/zentor-$mode.stderr")"
  # The quiet look for the fiber illuminator follows the caption.
  wait_for "$home/monitor-$mode.txt" '/org/zentor/Fiber' 100 || fail "[$mode] the panel never asked the illuminator"
  sleep 0.5
  kill -TERM "$zentor_pid"
  wait "$zentor_pid"
  rc=$?
  [ $rc -eq 0 ] || fail "[$mode] zentor exit code $rc after SIGTERM"
  kill "$monitor_pid" "$service_pid" 2>/dev/null
  wait "$monitor_pid" "$service_pid" 2>/dev/null
  pids=""
  calls_before_fiber "$home/monitor-$mode.txt" >"$home/calls-$mode.txt"
  fiber_calls "$home/monitor-$mode.txt" >"$home/fiber-$mode.txt"
  if grep -q '^box:' "$home/zentor-$mode.stderr"; then
    fail "[$mode] the panel showed a box: $(cat "$home/zentor-$mode.stderr")"
  fi
}

run snapshot
snapshot=$(grep -c '' "$home/calls-snapshot.txt")
echo "with Snapshot: $snapshot calls to the microscope service before the caption:"
sed 's/^/  /' "$home/calls-snapshot.txt"
echo "  and $(grep -c '' "$home/fiber-snapshot.txt") to the fiber illuminator's service after it"
[ "$snapshot" -le 5 ] || fail "$snapshot calls before the caption; at most 5 belong there"
grep -q ' Snapshot$' "$home/calls-snapshot.txt" || fail "the panel did not ask for a Snapshot"

run without --interface-version 1.0
without=$(grep -c '' "$home/calls-without.txt")
echo "against a service without Snapshot: $without calls before the caption"
[ "$without" -gt 100 ] || fail "only $without calls one value at a time; the count does not see the reads"
# Both openings read the same: the same boxes (none) and the same caption.
grep 'caption:' "$home/zentor-snapshot.stderr" | head -n 1 >"$home/caption-snapshot.txt"
grep 'caption:' "$home/zentor-without.stderr" | head -n 1 >"$home/caption-without.txt"
cmp -s "$home/caption-snapshot.txt" "$home/caption-without.txt" || fail "the captions differ"
echo "PASS"
