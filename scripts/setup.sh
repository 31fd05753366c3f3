#!/usr/bin/env bash
# Installs what building, testing and reading Velkport's manual pages needs,
# when it is missing.
set -euo pipefail
need=()
command -v cmake >/dev/null || need+=(cmake)
command -v g++ >/dev/null || need+=(g++)
command -v pkg-config >/dev/null || need+=(pkg-config)
[ -f /usr/include/gtest/gtest.h ] || need+=(libgtest-dev)
[ -f /usr/include/gmock/gmock.h ] || need+=(libgmock-dev)
# The pictures of velkport image-get/image-put (.png, .gif).
[ -f /usr/include/png.h ] || need+=(libpng-dev)
[ -f /usr/include/gif_lib.h ] || need+=(libgif-dev)
# The pictures test writes and reads its PNG files by hand in Python.
command -v python3 >/dev/null || need+=(python3)
# What renders the manual pages (man -l), which the install check looks at.
command -v man >/dev/null || need+=(man-db)
command -v groff >/dev/null || need+=(groff-base)
if [ "${VELK_NEED_BENCH:-0}" = 1 ] && [ ! -f /usr/include/benchmark/benchmark.h ]; then
  need+=(libbenchmark-dev)
fi
if [ ${#need[@]} -gt 0 ]; then
  echo "setup: installing ${need[*]}" >&2
  SUDO=""
  [ "$(id -u)" = 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${need[@]}"
fi
