#!/usr/bin/env bash
# Configures and builds the whole tree in ./build (or $ZENTOR_BUILD_DIR).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${ZENTOR_BUILD_DIR:-$root/build}
launcher=()
# ccache, where the set-up installed it, makes rebuilds of unchanged files free.
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE:-RelWithDebInfo} "${launcher[@]}" "$@" >/dev/null
cmake --build "$build" -j"$(nproc)"
