#!/bin/sh
# fuzz/run.sh [SECONDS] [BUILD_DIR]
# Builds the libFuzzer targets with clang in a build dir of their own, every
# library instrumented with AddressSanitizer and UndefinedBehaviorSanitizer,
# and runs each target for SECONDS (default 60). Exits non-zero when a target
# finds a crash or a sanitizer report; the findings stay in BUILD_DIR/findings.
set -eu
seconds=${1:-60}
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=${2:-$root/build-fuzz}
jobs=${JOBS:-2}

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja \
  -DZENTOR_FUZZ=ON -DZENTOR_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined" \
  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" >"$build.configure.log" 2>&1 ||
  { cat "$build.configure.log"; exit 1; }

targets=$(cd "$here" && sed -n 's/^ *zentor_add_fuzzer(\([a-z_]*\) .*/\1/p' CMakeLists.txt)
built=""
for t in $targets; do
  if cmake --build "$build" --target "$t" -j "$jobs" >"$build/$t.build.log" 2>&1; then
    built="$built $t"
  else
    echo "fuzz: $t did not build (see $build/$t.build.log)"
    tail -20 "$build/$t.build.log"
    exit 1
  fi
done

status=0
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export ASAN_OPTIONS=detect_leaks=1
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
  # Seed the corpus with the files the program really reads.
  case $t in
    fuzz_ini_file) cp "$root/core/settings/Camera.ini" "$corpus/seed-camera.ini" ;;
    fuzz_filter_color_file)
      i=1; : >"$corpus/seed-filter-color.txt"
      while [ $i -le 249 ]; do
        printf '%d,16777215,16777215,0,0\r\n' $i >>"$corpus/seed-filter-color.txt"; i=$((i + 1))
      done ;;
    fuzz_profile_file)
      seed="$corpus/seed-profile.txt"; : >"$seed"
      for n in 1 2 3 4 5 6; do printf '%d,User%d,%d,1,1,1,0,0,0,0,0,0,0,0,1,1,1,0,0,0\r\n' $n $n $((n + 6)) >>"$seed"; done
      printf 'Custom Value\r\n' >>"$seed"
      for k in AS FS ND; do for n in 1 2 3 4 5 6; do printf '%s %d,0,2.5,0,0,0,0,0\r\n' $k $n >>"$seed"; done; done ;;
  esac
  bin=$(find "$build" -type f -name "$t" -perm -u+x | head -n 1)
  echo "fuzz: $t for $seconds s"
  if "$bin" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
       -artifact_prefix="$findings/" -print_final_stats=1 "$corpus" >"$build/$t.log" 2>&1; then
    echo "fuzz: $t: no crash, no sanitizer report ($(grep -o 'stat::number_of_executed_units: *[0-9]*' "$build/$t.log" | grep -o '[0-9]*$') runs)"
  else
    echo "fuzz: $t FAILED, see $build/$t.log and $findings"
    grep -E 'ERROR|runtime error|SUMMARY' "$build/$t.log" | head -20
    status=1
  fi
done
exit $status
