#!/usr/bin/env bash
# Makes the Debian package of a build as "cpack -G DEB" does and looks into
# it: its name, the dependencies dpkg-shlibdeps found, every file the install
# rules name (install_manifest.txt), the udev rule shipped inactive. Then the
# unpacked tree passes the install check (an application built through
# pkg-config and find_package, the programs, the pages), and the poll
# example and the README's minimal program build against it, the example
# running against the package's velkport-phone.
#   debian_package.sh BUILD SOURCE_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
source_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "debian package: $*" >&2; exit 1; }
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
deb="$work/velkport_${version}_$(dpkg --print-architecture).deb"

# cpack installs into its own staging tree and lists what it installed, as
# the system will have it, in the build's install_manifest.txt.
(cd "$build" && cpack -G DEB -B "$work" >"$work/cpack.log" 2>&1) ||
  fail "cpack -G DEB failed: $(tail -n 5 "$work/cpack.log")"
cp "$build/install_manifest.txt" "$work/manifest"
test -f "$deb" || fail "no $(basename "$deb"); cpack made: $(ls "$work"/*.deb 2>/dev/null)"

dpkg-deb -f "$deb" Package Version Depends >"$work/control"
grep -qx "Package: velkport" "$work/control" || fail "the package is not named velkport"
grep -qx "Version: $version" "$work/control" || fail "the package's version is not $version"
depends=$(sed -n 's/^Depends: //p' "$work/control")
for library in libc6 libstdc++6; do
  [[ ",$depends" == *", $library ("* || ",$depends" == *",$library ("* ]] ||
    fail "Depends does not name $library (dpkg-shlibdeps): $depends"
done

# Every file installed is in the package, at its place under the root.
root="$work/root"
dpkg -x "$deb" "$root"
[ "$(wc -l <"$work/manifest")" -ge 15 ] || fail "install_manifest.txt is short: $(cat "$work/manifest")"
while read -r file || [ -n "$file" ]; do
  [ -e "$root$file" ] || [ -L "$root$file" ] || fail "$file is installed but not in the package"
done <"$work/manifest"

# The udev rule does nothing until a user copies it and takes out a "#".
rule="$root/usr/share/velkport/udev/60-velkport-no-modemmanager.rules"
test -s "$rule" || fail "the package holds no udev rule"
! grep -qv '^\(#.*\)\?$' "$rule" || fail "the udev rule is active as shipped"
grep -q '^#ACTION=.*ATTRS{idVendor}==.*ENV{ID_MM_DEVICE_IGNORE}="1"$' "$rule" ||
  fail "the udev rule has no rule by vendor and product to take up"
! find "$root" -path '*udev/rules.d*' | grep -q . || fail "the package puts a rule where udev reads it"

# What an application's build and a user meet in the unpacked tree.
"$source_dir/tests/packaging/install_check.sh" "$build" "$root/usr"
libdir="$root/usr/lib"
cc -std=c99 -Wall -Werror "$source_dir/examples/poll_example.c" -o "$work/poll_example" \
  $(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs velkport)
# The README's minimal program, which poll_example.c grows from.
sed -n '/^A minimal program/,/^```$/{/^```c$/,/^```$/{/^```/!p}}' "$source_dir/README.md" >"$work/minimal.c"
grep -q velk_ReadMidInfo "$work/minimal.c" || fail "README.md shows no minimal program"
cc -std=c99 -Wall -Werror -pedantic "$work/minimal.c" -o "$work/minimal" \
  $(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs velkport) ||
  fail "the README's minimal program does not build"
LD_LIBRARY_PATH="$libdir" ldd "$work/poll_example" | grep -q "libvelkport.so.1 => $libdir/" ||
  fail "the poll example does not load the package's library"
LD_LIBRARY_PATH="$libdir" "$source_dir/tests/examples/run_example.sh" \
  "$root/usr/bin/velkport-phone" "$work/poll_example" || fail "the poll example failed"
echo "debian package check passed"
