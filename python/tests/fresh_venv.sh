#!/usr/bin/env bash
# Installs the package into a fresh virtual environment the way the README
# tells a user to (offline: Debian's setuptools and wheel, no package index),
# then runs ten_lines.py in it against velkport-phone.
#   fresh_venv.sh PYTHON SOURCE_DIR WORK_DIR PHONE
# PYTHON is Debian's python3 (it has python3-venv, -setuptools and -wheel);
# the library is the one VELKPORT_LIBRARY names.
set -euo pipefail
python=$1 source_dir=$2 work=$3 phone=$4
tests=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work"
mkdir -p "$work"
# pip builds in the tree it is given: a copy keeps the sources clean.
cp -r "$source_dir/python" "$work/python"
rm -rf "$work/python/tests"
cd "$work"
"$python" -m venv --system-site-packages v
PIP_DISABLE_PIP_VERSION_CHECK=1 v/bin/pip install --quiet --no-build-isolation ./python
# The script runs from a directory without the sources, so only the
# installed package can be imported.
mkdir run
cd run
"$tests/with_phone.sh" "$phone" ../v/bin/python "$tests/ten_lines.py" @DEVICE@
