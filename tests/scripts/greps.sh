#!/bin/sh
# tests/scripts/greps.sh: the source rules no compiler checks: no throw, no bare allocation
# outside the memory manager and its large blocks, no iostream in the library. Comments and
# string literals are stripped before the search.
# SPDX-License-Identifier: Apache-2.0
cd "$1/src" || exit 2
code() {  # file name and code text of every line, without comments and strings
  for f in $(find . -name '*.cpp' -o -name '*.h' | sort); do
    sed -e 's/"\([^"\\]\|\\.\)*"/""/g' -e 's://.*$::' "$f" | awk -v f="$f" '{print f ":" NR ": " $0}'
  done
}
all=$(code)
bad=0
hits=$(echo "$all" | grep -aE '\bthrow\b' | grep -v '^./cpub/sysenv.h:.*throw std::bad_alloc()')
[ -n "$hits" ] && { echo "throw outside the allocator adapter:"; echo "$hits"; bad=1; }
hits=$(echo "$all" | grep -aE '(\bnew\s+[A-Za-z_:<(]|\bmalloc\s*\(|make_unique|make_shared|\brealloc\s*\()' |
  grep -v '^./cpub/\(memman\|bigmem\)')
[ -n "$hits" ] && { echo "allocation outside the memory manager:"; echo "$hits"; bad=1; }
hits=$(echo "$all" | grep -a '#include <iostream>')
[ -n "$hits" ] && { echo "iostream in the library:"; echo "$hits"; bad=1; }
exit $bad
