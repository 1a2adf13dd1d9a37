# Helpers of the zentor-conformance tests, sourced by each; they run on a
# private session bus of their own (dbus-run-session) in a fresh home.
set -u
home=${ZENTOR_TEST_HOME:-$PWD}
started=""
fail() {
  echo "FAIL: $*" >&2
  stop_all
  exit 1
}
# Ends, by their ids, the processes this test started.
stop_all() {
  for p in $started; do kill "$p" 2>/dev/null; done
  for p in $started; do wait "$p" 2>/dev/null; done
  started=""
}
trap stop_all EXIT
# start NAME COMMAND...: runs COMMAND in the background, its output in $home/NAME.log.
start() {
  name=$1; shift
  "$@" >"$home/$name.log" 2>&1 &
  started="$started $!"
}
# wait_for_name BUSNAME: until the name has an owner on the bus (20 s at most).
wait_for_name() {
  i=0
  until busctl --user status "$1" >/dev/null 2>&1; do
    i=$((i + 1))
    [ $i -lt 200 ] || fail "nobody took $1 on the bus: $(cat "$home"/*.log 2>/dev/null)"
    sleep 0.1
  done
}
# conformance OUTPUT-NAME ARGS...: runs the program; its status in $status,
# its output in $home/OUTPUT-NAME.txt (and on this test's output).
conformance() {
  out=$home/$1.txt; shift
  "$conformance_exe" "$@" </dev/null >"$out" 2>&1
  status=$?
  sed 's/^/    /' "$out"
  [ $status -lt 128 ] || fail "zentor-conformance ended by signal $((status - 128))"
}
# expect_line PATTERN: the last output holds a line matching the extended regex.
expect_line() {
  grep -Eq -- "$1" "$out" || fail "no line matching '$1' in $out"
}
