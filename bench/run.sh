#!/usr/bin/env bash
# Builds and runs every benchmark; each prints its figures and its ratio to a
# baseline measured in the same run.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/build.sh"
build=${ZENTOR_BUILD_DIR:-$root/build}
for b in $(find "$build/bench" -maxdepth 2 -type f -executable -name 'bench_*' | sort); do
  echo "== $(basename "$b")"
  QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} "$b"
done
