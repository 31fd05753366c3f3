#!/usr/bin/env bash
# Builds Velkport and runs the whole test suite. Non-zero exit on any failure.
#   scripts/test.sh                 plain build in build/
#   BUILD_DIR=dir VELK_SANITIZE=address,undefined scripts/test.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
build=${BUILD_DIR:-$root/build}
jobs=${JOBS:-$(nproc)}
cmake -S "$root" -B "$build" -DVELK_SANITIZE="${VELK_SANITIZE:-}" ${CMAKE_ARGS:-} >/dev/null
cmake --build "$build" -j "$jobs"
cd "$build"
ctest --output-on-failure -j "$jobs" --timeout 300
