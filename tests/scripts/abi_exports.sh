#!/bin/sh
# tests/scripts/abi_exports.sh: the shared library exports exactly the functions velor.h declares.
# SPDX-License-Identifier: Apache-2.0
header="$1"
lib="$2"
tmp=${TMPDIR:-/tmp}/vlr_abi.$$
sed -n 's/^VLR_API[^(]*[ *]\(VLR_[A-Za-z0-9_]*\)(.*/\1/p' "$header" | sort -u > "$tmp.declared"
nm -D --defined-only "$lib" | awk '$2 ~ /^[TW]$/ {print $3}' | sort -u > "$tmp.exported"
status=0
if ! cmp -s "$tmp.declared" "$tmp.exported"; then
  echo "declared in velor.h but not exported (<) / exported but not declared (>):"
  diff "$tmp.declared" "$tmp.exported" | grep '^[<>]'
  status=1
fi
echo "$(wc -l < "$tmp.declared") functions declared"
rm -f "$tmp.declared" "$tmp.exported"
exit $status
