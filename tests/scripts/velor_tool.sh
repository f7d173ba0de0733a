#!/bin/sh
# tests/scripts/velor_tool.sh: the exit status, the error text and the summary line of the velor
# tool, and each of its options, as a script that calls it sees them.
# Usage: velor_tool.sh VELOR DATADIR SCRATCHDIR
# SPDX-License-Identifier: Apache-2.0
velor="$1"
data="$2"
tmp="$3/velor_tool"
example="$(dirname "$0")/../../examples/transport.mps"
mkdir -p "$tmp" || exit 2
bad=0
input=/dev/null  # standard input of the next runs

# expect STATUS ARGS...: runs the tool, checks its status, and on a failure checks that standard
# error says something (also under -q).
expect() {
  want="$1"
  shift
  "$velor" "$@" < "$input" > "$tmp/out" 2> "$tmp/err"
  got=$?
  if [ "$got" != "$want" ]; then
    echo "velor $*: exit status $got, expected $want"
    sed 's/^/  stderr: /' "$tmp/err" | head -5
    bad=1
  fi
  if [ "$want" != 0 ] && [ ! -s "$tmp/err" ]; then
    echo "velor $*: failed without a word on standard error"
    bad=1
  fi
}

# says FILE PATTERN: the last run wrote a line matching the extended regular expression to FILE.
says() {
  if ! grep -Eq -e "$2" "$1"; then
    echo "velor: no line matching '$2' in $1:"
    tail -3 "$1" | sed 's/^/  /'
    bad=1
  fi
}

# The summary line of a solve, with its fields as --help tells them.
secs='time [0-9]+[.][0-9]{2}'
optimal="^velor: status OPTIMAL objective 2[.]7500000000e[+]02 $secs response VLR_RES_OK\$"

expect 0 --version
says "$tmp/out" '^velor [0-9]+[.][0-9]+[.][0-9]+[.][0-9]+ [(].*[)]$'
expect 0 -h
says "$tmp/out" 'velor: status STATUS objective VALUE time SECONDS response CODE'
expect 0 -q "$example"
says "$tmp/out" "$optimal"

# Each optimiser by its short name: the simplex ones and the interior-point one (to its relative
# gap) solve, the others end in their codes.
for o in free free-simplex dual primal primal-dual; do
  expect 0 -q --optimizer "$o" "$example"
  says "$tmp/out" "$optimal"
done
# The concurrent optimiser's answer is its winner's: the interior point's or a simplex's.
for o in intpnt concurrent; do
  expect 0 -q --optimizer "$o" "$example"
  says "$tmp/out" '^velor: status OPTIMAL objective 2[.]7(49999|50000)[0-9]*e[+]02 .* response VLR_RES_OK$'
done
for o in conic qcone mixed-int; do
  expect 1 -q --optimizer "$o" "$example"
  says "$tmp/out" '^velor: status UNKNOWN objective nan time .* response VLR_RES_ERR_INV_OPTIMIZER$'
done
expect 1 -q --optimizer nonconvex "$example"
says "$tmp/out" 'response VLR_RES_ERR_MIO_NOT_LOADED$'

# Presolve on and off show in the log; threads and a generous time limit change no answer.
expect 0 --presolve on "$example"
says "$tmp/out" '^Presolve summary'
expect 0 --presolve off "$example"
if grep -q '^Presolve summary' "$tmp/out"; then
  echo "velor --presolve off: the log shows a presolve"
  bad=1
fi
expect 0 -q --presolve free --threads 0 --time-limit 100 "$example"
says "$tmp/out" "$optimal"
expect 0 -q --threads 4 --time-limit 0.5 "$example"

# The log file gets the log and the summary line, also under -q.
rm -f "$tmp/run.log"
expect 0 -q --log "$tmp/run.log" "$example"
says "$tmp/run.log" '^Interior-point optimizer started'
says "$tmp/run.log" '^Basis identification started'
says "$tmp/run.log" '^  Basis identification time'
says "$tmp/run.log" "$optimal"
expect 1 -q --log "$tmp/no/such/dir/run.log" "$example"

# Standard input, plain or gzip, in the format --format gives.
input="$example"
expect 0 -q -
says "$tmp/out" "$optimal"
gzip -c "$example" > "$tmp/transport.mps.gz"
input="$tmp/transport.mps.gz"
expect 0 -q --format mps -
says "$tmp/out" "$optimal"
"$velor" -q -n -w "$tmp/transport.lp" "$example" > /dev/null
input="$tmp/transport.lp"
expect 0 -q --format lp -
says "$tmp/out" "$optimal"
expect 1 -q -  # LP text read as MPS
says "$tmp/err" 'cannot read standard input'
input=/dev/null
expect 1 -q --format lp -
expect 1 -q --format lp "$example"  # the format wins over the name

# Bad values and missing values: exit status 1 and a message on standard error.
expect 1 -q --optimizer network "$example"
says "$tmp/err" "--optimizer 'network' is not one of"
expect 1 -q --time-limit -1 "$example"
expect 1 -q --time-limit 10s "$example"
expect 1 -q --time-limit nan "$example"
expect 1 -q --threads -1 "$example"
expect 1 -q --threads 2.5 "$example"
expect 1 -q --threads 99999999999 "$example"
expect 1 -q --presolve yes "$example"
expect 1 -q --format opf "$example"
expect 1 -q "$example" --time-limit
expect 1 -q "$example" --log

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
says "$tmp/out" '^velor: status OPTIMAL objective -4[.]647531428[0-9]e[+]02 '
expect 0 -q -p VLR_IPAR_OPTIMIZER=VLR_OPTIMIZER_INTPNT --optimizer dual "$afiro"  # the option wins
expect 1 -q -p "$tmp/missing.par" "$afiro"
expect 1 -p "$tmp/missing.par" "$afiro"
expect 1 -q "$tmp/missing.mps"
expect 1 -q "$tmp/bad.mps"
expect 1 -q --no-such-option "$afiro"
expect 1 -q
expect 1 -q -p VLR_IPAR_NO_SUCH_PARAMETER=1 "$afiro"
expect 1 -q -p VLR_IPAR_LOG=notanumber "$afiro"
expect 2 -q --optimizer dual -p VLR_IPAR_SIM_MAX_ITERATIONS=1 -p VLR_IPAR_PRESOLVE_USE=VLR_PRESOLVE_MODE_OFF "$afiro"
expect 1 -q -w "$tmp/no/such/dir/out.mps" "$afiro"
# A time limit that every run passes stops it with status 2.
expect 2 -q --time-limit 0 "$data/netlib/25fv47.mps.gz"
says "$tmp/out" '^velor: status [A-Z_]+ objective [^ ]+ time [0-9.]+ response VLR_RES_TRM_MAX_TIME$'
# Progress on a long run: with a log frequency no run reaches, the log still gets an iteration
# line every 2 seconds of wall clock, besides the last one; the run (qap15 takes minutes) is
# stopped after 5.
expect 2 --time-limit 5 --optimizer dual -p VLR_IPAR_LOG_SIM_FREQ=1000000000 "$data/netlib/qap15.mps.gz"
lines=$(grep -Ec '^[0-9]+ +[12] +[-+0-9.e]+ +[0-9]+ ' "$tmp/out")
if [ "$lines" -lt 2 ]; then
  echo "velor: $lines iteration lines in a 5-second run with no lines by count"
  bad=1
fi
expect 0 -q "$data/netlib-infeas/bgdbg1.mps.gz"  # proven infeasible: a definite answer
says "$tmp/out" "^velor: status PRIMAL_INFEASIBLE_CER objective nan $secs response VLR_RES_OK\$"
exit $bad
