#!/bin/sh
# broken-driver.sh PYTHON CONFORMANCE INTERFACES: zentor-conformance against a
# driver that answers wrongly in six ways; it must name each fault, and end
# with status 1, not crash or hang.
. "$(dirname "$0")/lib.sh"
python=$1 conformance_exe=$2 interfaces=$3
here=$(cd "$(dirname "$0")" && pwd)

start broken "$python" "$here/broken-driver.py" --bus-name org.zentor.Test.Broken --interfaces "$interfaces"
wait_for_name org.zentor.Test.Broken
conformance broken --bus-name org.zentor.Test.Broken --yes --move-timeout 3
[ $status -eq 1 ] || fail "the broken driver gave status $status, not 1"
# wrong types
expect_line '^FAIL  introspection of /org/zentor/Microscope/1 -- .*method NosepiecePosition answers .i. where the file says .n.'
expect_line "^FAIL  NosepiecePosition\(\) -- .*NosepiecePosition answered type 'i' where the interface says 'n'"
# missing members
expect_line '^FAIL  introspection of /org/zentor/Microscope/1 -- .*missing method FilterNames'
expect_line '^FAIL  the filter cube table -- .*FilterNames error 80070057: org.freedesktop.DBus.Error.UnknownMethod'
# an event text without a colon
expect_line "^FAIL  event \"AppNosepiecePosition[0-9]\" -- .*got: has no ':' between a name and a value"
# a move that never ends
expect_line '^FAIL  setZDriveZPosition\([0-9]+\), one step -- .*no answer within 3 s: the call never ended'
expect_line '^FAIL  putting back .*Z drive: left alone, its move did not end'
# a value outside the limits it reported
expect_line '^FAIL  FilterBlockCassettePosition\(\) -- expected: a value within the limits 1 to 6 .*got: 9'
# a snapshot that disagrees with the single reads, or holds a wrong type
expect_line '^FAIL  Snapshot\(\) of /org/zentor/Microscope/1 -- .*ZDriveZPosition \(type s, not i\)'
expect_line '^PASS  Snapshot\(\) of /org/zentor/Microscope -- '
expect_line '^[0-9]+ checks: [0-9]+ passed, [0-9]+ failed, [0-9]+ skipped$'

# Each fault alone fails the run too, and nothing else does.
for fault in wrong-type missing no-colon never-ends out-of-limits bad-snapshot; do
  stop_all
  start "alone-$fault" "$python" "$here/broken-driver.py" --bus-name org.zentor.Test.Broken --interfaces "$interfaces" "$fault"
  wait_for_name org.zentor.Test.Broken
  conformance "alone-$fault" --bus-name org.zentor.Test.Broken --yes --move-timeout 3
  [ $status -eq 1 ] || fail "the fault $fault alone gave status $status, not 1"
done
# Alone, the snapshot's nosepiece place is a value that disagrees with the read.
expect_line '^FAIL  Snapshot\(\) of /org/zentor/Microscope/1 -- .*NosepiecePosition: [0-9] in the snapshot, [0-9] from the single read'
echo PASS
