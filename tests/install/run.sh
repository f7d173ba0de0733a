#!/bin/sh
# tests/install/run.sh: install the built library into a scratch prefix, then build and run a
# consumer through find_package and through pkg-config, and import the Python package installed
# beside the library.
# SPDX-License-Identifier: Apache-2.0
set -e
build="$1"
here="$2"
work="$build/install_smoke"
rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/prefix" > "$work/install.log"
lib=$(ls -d "$work"/prefix/lib*/ | head -n 1)
cmake -S "$here" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix" > "$work/consumer.log"
cmake --build "$work/consumer" >> "$work/consumer.log"
LD_LIBRARY_PATH="$lib" "$work/consumer/consumer"
PKG_CONFIG_PATH="$lib/pkgconfig" cc -std=c99 -o "$work/consumer_pc" "$here/consumer.c" \
  $(PKG_CONFIG_PATH="$lib/pkgconfig" pkg-config --cflags --libs velor)
LD_LIBRARY_PATH="$lib" "$work/consumer_pc"
# The Python package finds the library it was installed beside, with no path given.
if /usr/bin/python3 -c "import numpy" 2> /dev/null; then
  (cd "$work" && env -u VELOR_LIBRARY PYTHONPATH="$lib/python3/dist-packages" \
    PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -c "import sys, velor
found = velor._lib.lib._name
print('python: velor', velor.version(), 'from', found)
sys.exit(0 if found.startswith(sys.argv[1]) else 1)" "$lib")
fi
