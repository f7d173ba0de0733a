#!/bin/sh
# tests/install/run.sh: install the built library into a scratch prefix, then build and run a
# consumer and the C examples of examples/ through find_package and through pkg-config (checking
# what each example prints), and import the Python package installed beside the library.
# Usage: run.sh BUILDDIR THISDIR [DATADIR]
# SPDX-License-Identifier: Apache-2.0
set -e
build="$1"
here="$2"
data="$3"
examples="$here/../../examples"
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

# The examples, strictly C99, both ways.
strict="-std=c99 -pedantic -Wall -Wextra -Werror"
cmake -S "$examples" -B "$work/examples" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_C_FLAGS="$strict" > "$work/examples.log"
cmake --build "$work/examples" >> "$work/examples.log"
mkdir -p "$work/examples_pc"
for e in lpbuild solvefile progress infeasible; do
  cc $strict -o "$work/examples_pc/$e" "$examples/$e.c" \
    $(PKG_CONFIG_PATH="$lib/pkgconfig" pkg-config --cflags --libs velor)
done

# example STATUS DIR NAME PATTERN ARGS...: runs DIR/NAME with ARGS; it must exit with STATUS and
# print a line matching the extended regular expression PATTERN.
example() {
  want="$1" dir="$2" name="$3" pattern="$4"
  shift 4
  got=0
  LD_LIBRARY_PATH="$lib" "$dir/$name" "$@" > "$work/example.out" 2>&1 || got=$?
  if [ "$got" != "$want" ] || ! grep -Eq -e "$pattern" "$work/example.out"; then
    echo "example $dir/$name $*: exit status $got (expected $want), output:"
    sed 's/^/  /' "$work/example.out" | head -20
    echo "  (no line matching '$pattern' or wrong status)"
    exit 1
  fi
}
for dir in "$work/examples" "$work/examples_pc"; do
  example 0 "$dir" lpbuild '^objective: 275$'
  example 0 "$dir" lpbuild '^ship X23  8$'
  example 0 "$dir" solvefile '^objective: 2[.]7500000000e[+]02$' "$examples/transport.mps" 10
  example 1 "$dir" solvefile 'solvefile: .*no-such-file' "$work/no-such-file.mps"
  example 0 "$dir" infeasible '^certificate: max [|]A.y [+] slx - sux[|] = .*: checked$'
  if [ -f "$data/netlib/25fv47.mps.gz" ]; then
    example 2 "$dir" solvefile '^response: VLR_RES_TRM_MAX_TIME$' "$data/netlib/25fv47.mps.gz" 0
    example 0 "$dir" progress '^stopped by the callback at iteration [3-9][0-9]{2} ' \
      "$data/netlib/25fv47.mps.gz" 300
  fi
done
echo "examples: lpbuild, solvefile, progress, infeasible built and checked both ways"
# The Python package finds the library it was installed beside, with no path given.
if /usr/bin/python3 -c "import numpy" 2> /dev/null; then
  (cd "$work" && env -u VELOR_LIBRARY PYTHONPATH="$lib/python3/dist-packages" \
    PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -c "import sys, velor
found = velor._lib.lib._name
print('python: velor', velor.version(), 'from', found)
sys.exit(0 if found.startswith(sys.argv[1]) else 1)" "$lib")
fi
