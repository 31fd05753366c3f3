#!/usr/bin/env bash
# Installs the built tree into a scratch prefix and builds a small C program
# against it twice, the ways an application's build would: through
# pkg-config, and through find_package(Velkport) in a CMake project. Asks
# the installed library its version and why a start or an operation failed.
# Then looks at what a user of a package finds beside the files: the
# programs and their version, the manual pages, bash completion, the licence
# and the changes.
#   install_check.sh BUILD [TREE]
# With TREE (an unpacked package's usr/) that tree is checked instead of a
# fresh install of BUILD.
set -euo pipefail
build=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
phone_pid=
finish() {
  [ -z "$phone_pid" ] || { kill "$phone_pid" && wait "$phone_pid"; } 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
fail() { echo "install check: $*" >&2; exit 1; }
prefix=${2:-$work/prefix}
[ $# -ge 2 ] || cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libvelkport.so' | head -1)")
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")

# pkg-config, with the .pc file relocated along with the prefix.
cc -std=c99 -Wall -Werror "$source_dir/app/app.c" -o "$work/app-pc" \
  $(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs velkport) \
  -Wl,-rpath,"$libdir"
[ "$("$work/app-pc" version)" = "$version" ] || fail "velk_GetVersion does not say $version"

# find_package(Velkport) from a CMake project.
cmake -S "$source_dir/app" -B "$work/app-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/app-build" >/dev/null
[ "$("$work/app-build/app" version)" = "$version" ] || fail "the app built by find_package failed"

# velk_GetLastError after a start on a missing device, on one that is no
# terminal, on one that a link of another process holds, and after the
# phone's refusal with an error number.
expect_cause() {
  local want=$1 said
  shift
  said=$("$work/app-pc" "$@") || fail "app $* failed: $said"
  [ "$said" = "$want" ] || fail "app $*: velk_GetLastError said \"$said\", not \"$want\""
}
expect_cause "ENOENT the device does not exist" start "$work/no-such-tty"
expect_cause "ENOTTY the device is no serial port (not a terminal)" start /dev/null
if [ -x "$prefix/bin/velkport-phone" ]; then
  "$prefix/bin/velkport-phone" --refuse 'AT+IMGINF=+CME ERROR: 22' >"$work/phone" &
  phone_pid=$!
  for _ in $(seq 100); do
    device=$(head -n 1 "$work/phone")
    [ -n "$device" ] && break
    sleep 0.05
  done
  [ -n "$device" ] || fail "velkport-phone printed no device"
  expect_cause "EBUSY the device is in use: another program holds it" busy "$device"
  expect_cause "22 +CME ERROR: 22" refused "$device"
fi

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
