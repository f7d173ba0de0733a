#!/bin/sh
# tests/install/run.sh: install the built library into a scratch prefix, then build and run a
# consumer through find_package and through pkg-config.
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
