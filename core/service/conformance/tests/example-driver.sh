#!/bin/sh
# example-driver.sh PYTHON CONFORMANCE EXAMPLES INTERFACES: the example driver
# of docs/examples on its emulated controller passes zentor-conformance for
# the devices it has, with the controller's real timing; served as interface
# version 1.0 (a driver written before Snapshot) it passes too, Snapshot skipped.
. "$(dirname "$0")/lib.sh"
python=$1 conformance_exe=$2 examples=$3 interfaces=$4

# serve NAME [DRIVER OPTIONS]: a controller on a fresh pty and the driver on it.
serve() {
  which=$1; shift
  start "controller-$which" "$python" "$examples/stand-controller.py"
  i=0
  until grep -q '^PORT ' "$home/controller-$which.log" 2>/dev/null; do
    i=$((i + 1)); [ $i -lt 100 ] || fail "the controller gave no port: $(cat "$home/controller-$which.log")"; sleep 0.1
  done
  port=$(sed -n 's/^PORT //p' "$home/controller-$which.log")
  start "driver-$which" "$python" "$examples/stand-driver.py" --port "$port" --interfaces "$interfaces" "$@"
  wait_for_name org.zentor.Microscope
}

serve current

conformance example --yes
[ $status -eq 0 ] || fail "the example driver did not pass: status $status"
expect_line '^PASS  setNosepiecePosition\([0-9]+\), one step -- .*event AppNosepiecePosition:[0-9]+ seen'
expect_line '^PASS  setFilterBlockCassettePosition\(7\), beyond the turret'
expect_line '^PASS  setZDriveZPosition\('
expect_line '^SKIP  XY stage -- IsMounted\(11\) answered 0'
expect_line '^SKIP  observation methods'
expect_line '^PASS  Snapshot\(\) of /org/zentor/Microscope/1 -- '
expect_line '^[0-9]+ checks: [0-9]+ passed, 0 failed, [0-9]+ skipped$'
# The devices are where they were found.
[ "$(busctl --user call org.zentor.Microscope /org/zentor/Microscope/1 org.zentor.Microscope.Device NosepiecePosition)" = "n 1" ] ||
  fail "the nosepiece was not put back"

stop_all
serve older --interface-version 1.0
conformance older --yes --no-moves
[ $status -eq 0 ] || fail "the example driver as version 1.0 did not pass: status $status"
expect_line '^PASS  InterfaceVersion\(\) -- .*"1.0"'
expect_line '^PASS  introspection of /org/zentor/Microscope/1 -- .*at version 1.0'
expect_line '^SKIP  Snapshot\(\) -- the service serves interface version 1.0'
echo PASS
