#!/usr/bin/env bash
# Builds the benchmarks in a tree of their own (Release) and prints one table
# of every measure with its target: own time per command against the bare
# stop-and-wait client, efficiency at 115200 baud, start and stop, CPU, and
# the reply path alone.
#
#   scripts/bench.sh            all parts (about a minute and a half)
#   scripts/bench.sh --peers    also gammu and gsmlib side by side, installed
#                               from Debian's packages when missing
#   scripts/bench.sh --quick    short transfers and a short idle span
#   scripts/bench.sh --flow xonxoff
#                               the library's line with XON/XOFF flow
#                               (--flow rtscts, the default, otherwise)
#
# VELK_BENCH_BUILD names the build tree (default: build-bench).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${VELK_BENCH_BUILD:-$root/build-bench}
peers=0
link_options=()
while [ $# -gt 0 ]; do
  case $1 in
    --peers) peers=1 ;;
    --flow=*|--flow)
      # The same option and values as velkport's.
      if [ "$1" = --flow ]; then flow=${2:-}; shift; else flow=${1#--flow=}; fi
      case $flow in
        xonxoff) link_options+=(--xon-xoff) ;;
        rtscts) ;;
        *) echo "bench.sh: --flow is rtscts or xonxoff, not \"$flow\"" >&2; exit 2 ;;
      esac ;;
    --quick) link_options+=(--frames 3 --tone-bytes 2000 --idle-seconds 2 --starts 3) ;;
    -h|--help) sed -n '2,15p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) echo "bench.sh: unknown option $1" >&2; exit 2 ;;
  esac
  shift
done

if [ "$peers" = 1 ]; then
  missing=()
  for package in gammu gsm-utils; do
    dpkg -s "$package" >/dev/null 2>&1 || missing+=("$package")
  done
  if [ ${#missing[@]} -gt 0 ]; then
    echo "bench.sh: installing ${missing[*]}" >&2
    as_root=()
    [ "$(id -u)" = 0 ] || as_root=(sudo)
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y --no-install-recommends "${missing[@]}" >&2
  fi
  link_options+=(--peers)
fi

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DVELK_BUILD_TESTS=OFF \
  -DVELK_BUILD_TOOLS=ON -DVELK_BUILD_BENCH=ON >/dev/null
cmake --build "$build" --target velk-bench-link velk-bench-replies -j2 >/dev/null

cpu=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)
echo "Machine: ${cpu:-unknown CPU}, $(nproc) cores, Linux $(uname -r)," \
  "load average $(cut -d ' ' -f 1-3 /proc/loadavg) at start, $(date -u '+%Y-%m-%d %H:%M UTC')"
echo
"$build/bench/velk-bench-link" "${link_options[@]}"
"$build/bench/velk-bench-replies" --no-header
