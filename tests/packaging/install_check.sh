#!/usr/bin/env bash
# Installs the built tree into a scratch prefix and builds a small C program
# against it twice, the ways an application's build would: through
# pkg-config, and through find_package(Velkport) in a CMake project.
set -euo pipefail
build=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libvelkport.so' | head -1)")

# pkg-config, with the .pc file relocated along with the prefix.
PKG_CONFIG_PATH="$libdir/pkgconfig" cc -std=c99 -Wall -Werror \
  "$source_dir/app/app.c" -o "$work/app-pc" \
  $(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs velkport) \
  -Wl,-rpath,"$libdir"
"$work/app-pc"

# find_package(Velkport) from a CMake project.
cmake -S "$source_dir/app" -B "$work/app-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/app-build" >/dev/null
"$work/app-build/app"

# The programs are installed beside the library.
for tool in velkport velkport-phone; do
  if [ -e "$build/tools/$tool/$tool" ]; then
    test -x "$prefix/bin/$tool" || { echo "missing bin/$tool" >&2; exit 1; }
  fi
done
echo "install check passed"
