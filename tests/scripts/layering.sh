#!/bin/sh
# tests/scripts/layering.sh: a folder includes only the public headers of the others.
# SPDX-License-Identifier: Apache-2.0
top="$1"
cd "$top/src" || exit 2
public() {  # the headers other folders may include
  case "$1" in
    cpub) echo "cpub/sysenv.h cpub/stream.h cpub/sprmat.h cpub/rvec.h cpub/stkbuf.h" ;;
    velor) echo "velor/task.h" ;;
    *) echo "$1/$1.h" ;;
  esac
}
bad=0
for dir in */; do
  folder=${dir%/}
  for f in "$folder"/*.h "$folder"/*.cpp; do
    [ -f "$f" ] || continue
    for inc in $(sed -n 's/^#include "\([a-z0-9_]*\/[a-z0-9_]*\.h\)".*/\1/p' "$f"); do
      other=${inc%%/*}
      [ "$other" = "$folder" ] && continue
      case " $(public "$other") " in
        *" $inc "*) ;;
        *) echo "$f includes $inc, a header private to $other"; bad=1 ;;
      esac
    done
  done
done
exit $bad
