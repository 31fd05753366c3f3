#!/usr/bin/env bash
# The module as cmake --install lays it out: installed into a scratch
# prefix, imported from there by python3 (no sources on the path), it reads
# the tone information from velkport-phone with the installed library.
#   installed_module.sh PYTHON BUILD_DIR PHONE
set -euo pipefail
python=$1 build=$2 phone=$3
tests=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null
module_dir=$(sed -n 's/^VELK_PYTHON_DIR:STRING=//p' "$build/CMakeCache.txt")
library=$(find "$work/prefix" -name libvelkport.so.1 | head -1)
[ -f "$work/prefix/$module_dir/velkport/py.typed" ] || { echo "no py.typed installed" >&2; exit 1; }
cd "$work"
PYTHONPATH="$work/prefix/$module_dir" VELKPORT_LIBRARY="$library" PYTHONDONTWRITEBYTECODE=1 \
    "$tests/with_phone.sh" "$phone" "$python" -c '
import sys, velkport, velkport.aio
assert velkport.__file__.startswith(sys.argv[2]), velkport.__file__
with velkport.Phone(sys.argv[1]) as phone:
    print(velkport.library_version(), phone.tone_info())
' @DEVICE@ "$work/prefix"
