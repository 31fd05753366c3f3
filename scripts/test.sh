#!/usr/bin/env bash
# Builds Velkport and runs the whole test suite. Non-zero exit on any failure.
#   scripts/test.sh                 plain build in build/
#   BUILD_DIR=dir VELK_SANITIZE=address,undefined scripts/test.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
build=${BUILD_DIR:-$root/build}
jobs=${JOBS:-$(nproc)}
# The tests are asked for: without GoogleTest the configure fails, rather
# than the suite passing with nothing in it.
cmake -S "$root" -B "$build" -DVELK_BUILD_TESTS=ON -DVELK_SANITIZE="${VELK_SANITIZE:-}" \
  ${CMAKE_ARGS:-} >/dev/null
cmake --build "$build" -j "$jobs"
cd "$build"
ctest --output-on-failure -j "$jobs" --timeout 300
