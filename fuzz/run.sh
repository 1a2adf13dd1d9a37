#!/bin/sh
# fuzz/run.sh [SECONDS] [BUILD_DIR]
# Builds the libFuzzer targets with clang in a build dir of their own, every
# library instrumented with AddressSanitizer and UndefinedBehaviorSanitizer
# (ZENTOR_SANITIZE), and runs each target for SECONDS (default 60) on its
# corpus. Exits non-zero when a target finds a crash or a sanitizer report;
# the findings stay in BUILD_DIR/findings.
# With ZENTOR_FUZZ_SUITE=1 it first builds everything in that dir and runs
# the whole test suite there (scripts/test does this: one instrumented build
# serves the sanitizer run of the suite and the fuzz targets).
set -eu
seconds=${1:-60}
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=${2:-$root/build-fuzz}
jobs=${JOBS:-$(nproc)}
launcher=""
if command -v ccache >/dev/null; then launcher="-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"; fi

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja $launcher \
  -DZENTOR_FUZZ=ON -DZENTOR_SANITIZE=ON -DZENTOR_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link" >"$build.configure.log" 2>&1 ||
  { cat "$build.configure.log"; exit 1; }

export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
if [ "${ZENTOR_FUZZ_SUITE:-0}" = 1 ]; then
  cmake --build "$build" -j "$jobs" >"$build/suite.build.log" 2>&1 ||
    { echo "sanitizer build failed (see $build/suite.build.log)"; tail -30 "$build/suite.build.log"; exit 1; }
  # Leaks of the toolkit's own statics at exit are not this program's: the
  # suite runs without the leak checker, the fuzz targets with it.
  (cd "$build" && ASAN_OPTIONS=detect_leaks=0 ctest --output-on-failure -j"$jobs" --timeout 600) ||
    { echo "the test suite failed under AddressSanitizer and UndefinedBehaviorSanitizer"; exit 1; }
fi

targets=$(cd "$here" && sed -n 's/^ *zentor_add_fuzzer(\([a-z_]*\) .*/\1/p' CMakeLists.txt)
built=""
for t in $targets; do
  if cmake --build "$build" --target "$t" -j "$jobs" >"$build/$t.build.log" 2>&1; then
    built="$built $t"
  elif grep -q "unknown target" "$build/$t.build.log"; then
    echo "fuzz: $t is not built here (its library is missing)"
  else
    echo "fuzz: $t did not build (see $build/$t.build.log)"
    tail -20 "$build/$t.build.log"
    exit 1
  fi
done

status=0
export ASAN_OPTIONS=detect_leaks=1
export LSAN_OPTIONS="suppressions=$here/lsan.supp:print_suppressions=0"
# The INI writes sync their file; on a memory file system that costs nothing.
scratch_root=/tmp
if [ -d /dev/shm ] && [ -w /dev/shm ]; then scratch_root=/dev/shm; fi
TMPDIR=$(mktemp -d "$scratch_root/zentor-fuzz-run.XXXXXX")
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
for t in $built; do
  corpus="$build/corpus/$t"
  findings="$build/findings/$t"
  mkdir -p "$corpus" "$findings"
  # Seed the corpus with what the program really reads.
  case $t in
    fuzz_ini_file) cp "$root/core/settings/Camera.ini" "$corpus/seed-camera.ini" ;;
    fuzz_filter_color_file)
      i=1; : >"$corpus/seed-filter-color.txt"
      while [ $i -le 249 ]; do
        printf '%d,16777215,16777215,0,0\r\n' $i >>"$corpus/seed-filter-color.txt"; i=$((i + 1))
      done ;;
    fuzz_stand_description) cp "$root"/stand/descriptions/*.json "$corpus/" ;;
    fuzz_state_file)
      printf '{"format": "zentor-service memory", "version": 1, "stands": {"0 Simulated": {"methods": [%s]}, "3 Far": {"methods": []}}}' \
        "$(i=7; while [ $i -le 12 ]; do [ $i -gt 7 ] && printf ','
             printf '{"observation": %d, "name": "M%d", "positions": [3,1,2,6,3,2,3,4,4,2,13], "apertureStop": [0,0,0,0,7.5,0,0,0,0], "fieldStop": [0,0,0,0,0,0,0,0,0], "nd": [0,0,0,0,0,0,0,0,0]}' $i $i
             i=$((i + 1)); done)" >"$corpus/seed-state.json" ;;
    fuzz_raw_command)
      for c in rOPR1 rOPR012 rXPR3 rSPR cGAS1000 cOPS2 rXPR999 cGAS-5; do printf '%s' "$c" >"$corpus/seed-$c"; done ;;
    fuzz_property_event)
      for e in AppNosepiecePosition:3 AppZDriveZPosition:12345 AppXYDriveXPosition:-500 AppLampControlVoltage:6.5 \
               AppObservationMode:9 AppShutterIsOpened:1 AppZoomZoom:2.5 AppNDFilterTransmission:50; do
        printf '%s' "$e" >"$corpus/seed-$(echo "$e" | tr ':.' '__')"; done ;;
    fuzz_service_call)
      # Calls as fuzz_service_call reads them (see its head): an options byte
      # (1: the service with fault injection), then per call a path selector
      # (2 the manager, 3 the fiber illuminator, 7 microscope 0), the interface
      # and the member spelled out, 0 (arguments of the method's signature)
      # and the argument bytes (little endian).
      mgr=org.zentor.Microscope.Manager dev=org.zentor.Microscope.Device ctl=org.zentor.StandControl
      call() { printf "\\$(printf %03o "$1")\\000\\$(printf %03o ${#2})%s\\000\\$(printf %03o ${#3})%s\\000" "$2" "$3"
               printf "$4"; }
      { printf '\000'; call 2 $mgr GetDeviceNames ''; call 2 $mgr Connect '\000\000'; } >"$corpus/seed-connect"
      { printf '\000'; call 7 $dev setNosepiecePosition '\003\000'; call 7 $dev NosepiecePosition ''; } \
        >"$corpus/seed-nosepiece"
      { printf '\000'; call 7 $dev XYDriveMove '\364\001\000\000\014\376\377\377'
        call 7 $dev setLampControlVoltage '\000\000\000\000\000\000\032\100'; } >"$corpus/seed-move-lamp"
      { printf '\000'; call 7 $dev SendCommand '\005rOPR1'
        call 7 $dev setObservationPosition '\007\000'"$(i=0; while [ $i -lt 11 ]; do printf '\\001\\000\\000\\000'; i=$((i + 1)); done)"
        call 7 $dev setObservationName '\007\000\004Mine'; } >"$corpus/seed-command-observation"
      { printf '\001'; call 7 $ctl KillUnit '\001\000'; call 7 $dev DeviceStatus '\001\000'
        call 7 $ctl EmitEvents '\015AppLampIsOn:1\012\000\000\000'; } >"$corpus/seed-faults"
      { printf '\001'; call 3 org.zentor.Fiber Connect '\350\003\000\000'
        call 3 org.zentor.Fiber ShutterOpenTimed '\000\000\000\000\000\000\340\077'
        call 3 org.zentor.Fiber.Control SetSensor '\020Interlock_Status\000\000'; } >"$corpus/seed-fiber"
      { printf '\000'; call 7 org.freedesktop.DBus.Introspectable Introspect ''; } >"$corpus/seed-introspect" ;;
    fuzz_snapshot_reply)
      # Snapshot replies as fuzz_snapshot_reply reads them (see its head): a
      # form byte, eight bytes of sequence, the values (key selector, type,
      # bytes), the failures (key, code, text) and the events around it.
      seq='\005\000\000\000\000\000\000\000'
      { printf '\000'"$seq"'\003\000\001\001\000\000\000\004\000\003\000\006\004\002\001a\001b'
        printf '\001\005\005\100\000\200\004dead\002\000\200\000\0041234\000\0041240'; } >"$corpus/seed-plain"
      { printf '\000'"$seq"'\002\004\000\003\000\004\000\004\000\001\000\001\000\000\000\000'; } >"$corpus/seed-twice"
      { printf '\360'"$seq"'\003abc'; } >"$corpus/seed-wrong-form"
      { printf '\000'"$seq"'\377'; } >"$corpus/seed-too-many" ;;
  esac
  bin=$(find "$build" -type f -name "$t" -perm -u+x | head -n 1)
  echo "fuzz: $t for $seconds s"
  if "$bin" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
       -artifact_prefix="$findings/" -print_final_stats=1 "$corpus" >"$build/$t.log" 2>&1; then
    runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$build/$t.log" | grep -o '[0-9]*$')
    echo "fuzz: $t: no crash, no sanitizer report ($runs runs, $((runs / seconds)) a second)"
  else
    echo "fuzz: $t FAILED, see $build/$t.log and $findings"
    grep -E 'ERROR|runtime error|SUMMARY' "$build/$t.log" | head -20
    status=1
  fi
done
exit $status
