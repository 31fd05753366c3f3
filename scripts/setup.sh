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
# Debian's python3 with what the Python package's tests and its offline
# install into a virtual environment need.
py_need() { /usr/bin/python3 -c "import $1" 2>/dev/null || need+=("$2"); }
if [ -x /usr/bin/python3 ]; then
  py_need ensurepip python3-venv
  py_need setuptools python3-setuptools
  py_need wheel python3-wheel
  py_need pytest python3-pytest
else
  need+=(python3 python3-venv python3-setuptools python3-wheel python3-pytest)
fi
# The GLib and Qt examples that the tests build and run, and what makes and
# checks the Debian package (dpkg-shlibdeps finds its dependencies).
[ -f /usr/include/glib-2.0/glib-unix.h ] || need+=(libglib2.0-dev)
dpkg -s qtbase5-dev >/dev/null 2>&1 || need+=(qtbase5-dev)
command -v dpkg-shlibdeps >/dev/null || need+=(dpkg-dev)
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
