#!/usr/bin/env bash
# Builds the libFuzzer targets (with clang, in a tree of their own) and runs
# one of them.
#
#   scripts/fuzz.sh TARGET SECONDS [libFuzzer options...]
#       TARGET: line_path, builder, command_parser or transfer. Runs the
#       regression inputs of fuzz/regressions/TARGET once each, then fuzzes
#       for SECONDS from the
#       seeds of fuzz/corpus/TARGET. New inputs go to the build tree, never to
#       the seeds; a crashing input is saved under the build tree's artifacts/.
#   scripts/fuzz.sh --build
#       Only builds.
#
#   FUZZ_BUILD_DIR   the fuzz tree (default: build-fuzz at the top)
#   JOBS             build jobs (default 2)
#
# Exits 77 when clang is missing, so that a test suite can skip the runs.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${FUZZ_BUILD_DIR:-$root/build-fuzz}
jobs=${JOBS:-2}

if ! command -v clang >/dev/null || ! command -v clang++ >/dev/null; then
    echo "fuzz.sh: clang is not installed; the fuzz targets are skipped" >&2
    exit 77
fi

# Several test suites may share the tree: one build at a time.
build_fuzzers() {
    mkdir -p "$build"
    exec 9>"$build/.build-lock"
    command -v flock >/dev/null && flock 9
    if [ ! -f "$build/CMakeCache.txt" ]; then
        CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DVELK_BUILD_FUZZ=ON \
            -DVELK_BUILD_TESTS=OFF -DVELK_BUILD_TOOLS=OFF >/dev/null
    fi
    cmake --build "$build" --target "$@" -j "$jobs" >/dev/null
    exec 9>&-
}

if [ "${1:-}" = "--build" ]; then
    build_fuzzers velk_fuzzers
    exit 0
fi
if [ $# -lt 2 ]; then
    echo "usage: scripts/fuzz.sh TARGET SECONDS [libFuzzer options...] | --build" >&2
    exit 2
fi
target=$1
seconds=$2
shift 2
case "$target" in
    line_path) max_len=12000 ;;  # room for a line beyond the 8192-byte buffer
    builder) max_len=600 ;;
    command_parser) max_len=700 ;;  # the longest command a form allows, and more
    transfer) max_len=4096 ;;
    *) echo "fuzz.sh: unknown target '$target' (line_path, builder, command_parser, transfer)" >&2; exit 2 ;;
esac

build_fuzzers "${target}_fuzzer"
binary="$build/fuzz/${target}_fuzzer"
work="$build/fuzz-work/$target"
mkdir -p "$work/corpus" "$work/artifacts"

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:halt_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}

regressions=("$root/fuzz/regressions/$target"/*)
if [ -e "${regressions[0]}" ]; then
    "$binary" -timeout=30 "${regressions[@]}"
fi

"$binary" -max_total_time="$seconds" -timeout=30 -max_len="$max_len" \
    -artifact_prefix="$work/artifacts/" -print_final_stats=1 "$@" \
    "$work/corpus" "$root/fuzz/corpus/$target"
