#!/usr/bin/env bash
# Installs the built tree into a scratch prefix and builds a small C program
# against it twice, the ways an application's build would: through
# pkg-config, and through find_package(Velkport) in a CMake project. Then
# looks at what a user of a package finds beside the files: the programs
# and their version, the manual pages, bash completion, the licence and the
# changes.
set -euo pipefail
build=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libvelkport.so' | head -1)")
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")

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

fail() { echo "install check: $*" >&2; exit 1; }

# The library's page and the documents, always.
man -l "$prefix/share/man/man3/velkport.3" 2>&1 | grep -q "velk_BeginThread" ||
  fail "man -l velkport.3 does not render"
for file in LICENSE CHANGELOG.md; do
  test -s "$prefix/share/doc/velkport/$file" || fail "missing share/doc/velkport/$file"
done
grep -q "^## $version\$" "$prefix/share/doc/velkport/CHANGELOG.md" ||
  fail "CHANGELOG.md has no entry for $version"

# The programs, their version, their pages and their completion, beside the
# library when they were built.
for tool in velkport velkport-phone; do
  [ -e "$build/tools/$tool/$tool" ] || continue
  test -x "$prefix/bin/$tool" || fail "missing bin/$tool"
  [ "$("$prefix/bin/$tool" --version)" = "$tool $version" ] ||
    fail "$tool --version does not say $version"
  man -l "$prefix/share/man/man1/$tool.1" 2>&1 | grep -q "^SYNOPSIS" ||
    fail "man -l $tool.1 does not render"
  bash -n "$prefix/share/bash-completion/completions/$tool" ||
    fail "missing or broken share/bash-completion/completions/$tool"
done
echo "install check passed"
