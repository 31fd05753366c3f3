#!/usr/bin/env bash
# The long soak: the library against the simulated phone for many operations
# of all six kinds, on healthy, refusing, silent and hanging-up phones, noisy
# or sending their replies in pieces, then many cancels at random moments.
# Prints the figures: operations and their outcomes, phones by fault, the
# heap in use and the resident memory after the first phone and at the end.
#
#   scripts/soak.sh [OPERATIONS [CANCELS [SEED]]]     (default 1000 200)
#
#   SOAK_BUILD_DIR   the build tree (default: build-soak at the top)
#   SANITIZE         e.g. address,undefined: a sanitizer build (its own tree)
#   JOBS             build jobs (default 2)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
operations=${1:-1000}
cancels=${2:-200}
seed=${3:-20261123}
jobs=${JOBS:-2}
sanitize=${SANITIZE:-}
build=${SOAK_BUILD_DIR:-$root/build-soak${sanitize:+-${sanitize//,/-}}}

if [ ! -f "$build/CMakeCache.txt" ]; then
    cmake -S "$root" -B "$build" -DVELK_BUILD_TOOLS=ON ${sanitize:+-DVELK_SANITIZE=$sanitize} >/dev/null
fi
cmake --build "$build" --target test_soak -j "$jobs" >/dev/null

export VELK_SOAK_OPERATIONS=$operations VELK_SOAK_CANCELS=$cancels VELK_SOAK_SEED=$seed
exec "$build/tests/soak/test_soak" --gtest_filter='Soak*.*'
