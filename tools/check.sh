#!/bin/sh
# tools/check.sh: the whole test run: house checks, an optimised build with -Werror and its tests,
# then an address/undefined-sanitizer build whose tests run once without and once with the memory
# tracker, a thread-sanitizer build for the tests on threads, and a short fuzzing run of each
# reader when clang is there. Installs what it needs when it is missing.
# SPDX-License-Identifier: Apache-2.0
set -eu
cd "$(dirname "$0")/.."
jobs=$(nproc 2>/dev/null || echo 2)

need=""
command -v cmake >/dev/null 2>&1 || need="$need cmake"
command -v g++ >/dev/null 2>&1 || need="$need g++"
command -v clang-format >/dev/null 2>&1 || need="$need clang-format"
command -v pkg-config >/dev/null 2>&1 || need="$need pkg-config"
command -v python3 >/dev/null 2>&1 || need="$need python3"
[ -f /usr/include/zlib.h ] || need="$need zlib1g-dev"
[ -d /usr/include/gtest ] || need="$need libgtest-dev"
# The Python package's tests run with Debian's interpreter and its NumPy, SciPy and pytest.
/usr/bin/python3 -c "import numpy, scipy, pytest" > /dev/null 2>&1 ||
  need="$need python3 python3-numpy python3-scipy python3-pytest"
# The performance profile of the benchmark is drawn with Debian's matplotlib.
/usr/bin/python3 -c "import matplotlib" > /dev/null 2>&1 || need="$need python3-matplotlib"
if [ -n "$need" ]; then
  as_root=""
  [ "$(id -u)" = 0 ] || as_root="sudo"  # a root shell in a container has no sudo
  echo "installing:$need"
  $as_root apt-get update -qq
  $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $need
fi

echo "== every exported function inside the fence"
python3 tests/scripts/fence.py .

echo "== release build with -Werror"
cmake -S . -B build/ci -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVLR_WERROR=ON > /dev/null
cmake --build build/ci -j "$jobs"
(cd build/ci && ctest -j "$jobs" --output-on-failure -LE "slow|determinism")

echo "== address and undefined-behaviour sanitizers"
cmake -S . -B build/ci-asan -DCMAKE_BUILD_TYPE=Debug -DVLR_SANITIZE=address,undefined > /dev/null
cmake --build build/ci-asan -j "$jobs"
(cd build/ci-asan && ctest -j "$jobs" --output-on-failure -L "unit|api|memfail|instance" -LE slow)

echo "== the same tests with every block tracked"
(cd build/ci-asan && VLR_TEST_TRACK=1 ctest -j "$jobs" --output-on-failure -L "unit|memfail" -LE slow)

echo "== thread sanitizer on the tests that delete and run tasks from many threads, and the gzip reader"
cmake --preset tsan > /dev/null
cmake --build build/tsan -j "$jobs" --target vlr_velor_tests vlr_cpub_tests
(cd build/tsan && ctest -j "$jobs" --output-on-failure -L thread)

# Each reader under libFuzzer with the address and undefined-behaviour sanitizers, for a short
# time from the seeds in tests/data/fuzz; only clang builds the targets.
if command -v clang++ >/dev/null 2>&1 && command -v clang >/dev/null 2>&1; then
  echo "== fuzzing the readers"
  CC=clang CXX=clang++ cmake -S . -B build/ci-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null
  cmake --build build/ci-fuzz -j "$jobs" --target vlr_fuzz_mps vlr_fuzz_freemps vlr_fuzz_lp
  (cd build/ci-fuzz && ctest -j "$jobs" --output-on-failure -L fuzz)
fi
