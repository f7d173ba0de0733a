#!/bin/sh
# tools/setup.sh: make a fresh Debian machine ready: install the packages the build and the tests
# need, build the library and the velor tool in Release, and solve the bundled example with it.
# Works as root (no sudo there) and as a user who has sudo.
# SPDX-License-Identifier: Apache-2.0
set -eu
cd "$(dirname "$0")/.."
jobs=$(nproc 2>/dev/null || echo 2)

# The build needs cmake, make, g++, zlib and pkg-config; the tests add GoogleTest, clang-format
# and Debian's Python with NumPy, SciPy and pytest for the Python package, and matplotlib for the
# benchmark's performance profile.
packages="cmake make g++ zlib1g-dev pkg-config libgtest-dev clang-format python3 python3-numpy
python3-scipy python3-pytest python3-matplotlib"
missing=""
for p in $packages; do
  dpkg-query -W -f='${Status}\n' "$p" 2>/dev/null | grep -q "ok installed" || missing="$missing $p"
done
if [ -n "$missing" ]; then
  if [ "$(id -u)" = 0 ]; then
    as_root=""
  elif command -v sudo >/dev/null 2>&1; then
    as_root="sudo"
  else
    echo "setup: installing$missing needs root or sudo" >&2
    exit 1
  fi
  echo "setup: installing$missing"
  # A machine without a reachable index may still have the packages in its cache.
  $as_root apt-get update -qq || echo "setup: apt-get update failed; trying the cached index" >&2
  $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $missing
fi

echo "setup: building in build/release"
cmake --preset release > /dev/null
cmake --build build/release -j "$jobs"

echo "setup: solving examples/transport.mps"
./build/release/app/velor -q examples/transport.mps
