#!/bin/sh
# tests/scripts/velor_tool.sh: the exit status and the error text of the velor tool, as a script
# that calls it sees them. Usage: velor_tool.sh VELOR DATADIR SCRATCHDIR
# SPDX-License-Identifier: Apache-2.0
velor="$1"
data="$2"
tmp="$3/velor_tool"
mkdir -p "$tmp" || exit 2
bad=0

# expect STATUS QUIETFAILS ARGS...: runs the tool, checks its status, and on a failure checks that
# standard error says something (also under -q).
expect() {
  want="$1"
  shift
  "$velor" "$@" > "$tmp/out" 2> "$tmp/err"
  got=$?
  if [ "$got" != "$want" ]; then
    echo "velor $*: exit status $got, expected $want"
    bad=1
  fi
  if [ "$want" != 0 ] && [ ! -s "$tmp/err" ]; then
    echo "velor $*: failed without a word on standard error"
    bad=1
  fi
}

afiro="$data/netlib/afiro.mps.gz"
if [ ! -f "$afiro" ]; then
  echo "velor_tool: no data at $data; skipped"
  exit 0
fi
printf 'NAME bad\nROWS\n N obj\n L r1\nCOLUMNS\n x r1 notanumber\nENDATA\n' > "$tmp/bad.mps"
printf 'BEGIN VELOR_PARAMETER_FILE\nVLR_IPAR_LOG 0\nEND VELOR_PARAMETER_FILE\n' > "$tmp/good.par"

expect 0 -q "$afiro"
expect 0 -q -n "$afiro"
expect 0 -q -p "$tmp/good.par" "$afiro"
expect 0 -q "$data/netlib-infeas/bgdbg1.mps.gz"  # proven infeasible: a definite answer
expect 1 -q -p "$tmp/missing.par" "$afiro"
expect 1 -p "$tmp/missing.par" "$afiro"
expect 1 -q "$tmp/missing.mps"
expect 1 -q "$tmp/bad.mps"
expect 1 -q --no-such-option "$afiro"
expect 1 -q
expect 1 -q -p VLR_IPAR_NO_SUCH_PARAMETER=1 "$afiro"
expect 1 -q -p VLR_IPAR_LOG=notanumber "$afiro"
expect 2 -q -p VLR_IPAR_SIM_MAX_ITERATIONS=1 -p VLR_IPAR_PRESOLVE_USE=VLR_PRESOLVE_MODE_OFF "$afiro"
expect 1 -q -w "$tmp/no/such/dir/out.mps" "$afiro"
expect 0 -h
exit $bad
