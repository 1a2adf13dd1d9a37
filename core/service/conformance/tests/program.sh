#!/bin/sh
# program.sh CONFORMANCE SERVICE DESCRIPTIONS: zentor-conformance against
# Zentor's own service, as a lab runs it: every check passes with the moves,
# the moves are asked for and left out without a terminal, and its options
# and exit statuses are those of its manual page.
. "$(dirname "$0")/lib.sh"
conformance_exe=$1 service=$2 descriptions=$3

start service "$service" --descriptions-dir "$descriptions" --speed 20 --no-fiber
wait_for_name org.zentor.Microscope

conformance full --yes --microscope 1
[ $status -eq 0 ] || fail "microscope 1 (the full system) did not pass: status $status"
expect_line '^PASS  InterfaceVersion\(\)'
expect_line '^PASS  introspection of /org/zentor/Microscope/1 -- .*got: it agrees'
expect_line '^PASS  setNosepiecePosition\([0-9]+\), one step -- .*event AppNosepiecePosition:[0-9]+ seen'
expect_line '^PASS  setZDriveZPosition\('
expect_line '^PASS  XYDriveMove\('
expect_line '^PASS  setNosepiecePosition\(7\), beyond the turret'
expect_line '^PASS  putting back '
expect_line '^PASS  every OnPropertyChanged text of the run'
expect_line '^[0-9]+ checks: [0-9]+ passed, 0 failed, [0-9]+ skipped$'

# Another stand, with devices missing: what it lacks is skipped, saying so.
index=$(ls "$descriptions"/*.json | sort | grep -n 'no-condenser-elmk.json' | cut -d: -f1)
conformance partial --yes --microscope "$index"
[ $status -eq 0 ] || fail "the stand without condenser did not pass: status $status"
expect_line '^SKIP  condenser -- IsMounted\(4\) answered 0: not on this stand'

# Without a terminal to ask on and without --yes, nothing moves.
conformance unasked --microscope 1
[ $status -eq 3 ] || fail "declined moves gave status $status, not 3"
expect_line '^No terminal to ask on: the moves are left out'
expect_line '^SKIP  moves -- declined'
if grep -q '^[A-Z]*  set.*, one step' "$out"; then fail "a device was moved without being asked"; fi

conformance still --no-moves --microscope 1
[ $status -eq 0 ] || fail "--no-moves gave status $status"

# Interrupted during the moves (Ctrl+C), it stops, puts back what it moved
# and says so. A slow stand: the moves take their time.
stop_all
start slow "$service" --descriptions-dir "$descriptions" --speed 0.5 --no-fiber
wait_for_name org.zentor.Microscope
out=$home/interrupted.txt
"$conformance_exe" --yes --microscope 1 </dev/null >"$out" 2>&1 &
run=$!
i=0
until grep -q ', one step -- ' "$out"; do
  i=$((i + 1)); [ $i -lt 600 ] || { kill "$run"; fail "no move within 60 s: $(cat "$out")"; }; sleep 0.1
done
kill -INT "$run"
wait "$run"
status=$?
sed 's/^/    /' "$out"
[ $status -eq 1 ] || fail "an interrupted run gave status $status, not 1"
expect_line '^FAIL  the run -- .*stopped on request'
expect_line '^PASS  putting back '
[ "$(busctl --user call org.zentor.Microscope /org/zentor/Microscope/1 org.zentor.Microscope.Device NosepiecePosition)" = "n 1" ] ||
  fail "the nosepiece was not put back"

conformance nobody --bus-name org.zentor.Nobody
[ $status -eq 2 ] || fail "a name without a service gave status $status, not 2"
expect_line '^FAIL  finding org.zentor.Nobody on the bus'

conformance bad --microscope x
[ $status -eq 2 ] || fail "a bad index gave status $status, not 2"
conformance badtime --move-timeout 0
[ $status -eq 2 ] || fail "a time-out of 0 gave status $status, not 2"
echo PASS
