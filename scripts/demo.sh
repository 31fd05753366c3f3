#!/usr/bin/env bash
# Builds Velkport and runs its demonstration.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
build=${BUILD_DIR:-$root/build}
cmake -S "$root" -B "$build" >/dev/null
cmake --build "$build" -j "$(nproc)"
exec "$build/tools/selfcheck/velkport-selfcheck"
