#!/bin/sh
# tests/scripts/format.sh: every source file is formatted as .clang-format says.
# SPDX-License-Identifier: Apache-2.0
top="$1"
cf="$2"
cd "$top" || exit 2
files=$(find src tests include app bench -name '*.cpp' -o -name '*.h' -o -name '*.c' 2>/dev/null | sort)
[ -n "$files" ] || exit 0
exec "$cf" --dry-run -Werror $files
