#!/bin/sh
# tests/scripts/perfprofile.sh: the simplex benchmark's CSV on three small Netlib problems, and
# the performance profile drawn from it; exit status 77 (skipped) without matplotlib or the data.
# Usage: perfprofile.sh BENCH PYTHON SCRIPT DATADIR SCRATCHDIR
# SPDX-License-Identifier: Apache-2.0
bench="$1"
py="$2"
script="$3"
data="$4"
tmp="$5/perfprofile"
if [ ! -f "$data/netlib/afiro.mps.gz" ]; then
  echo "perfprofile: no data at $data; skipped"
  exit 77
fi
rm -rf "$tmp" && mkdir -p "$tmp" || exit 2
"$bench" --optimizer dual --optimizer primal-np --no-clp --csv "$tmp/r.csv" afiro blend kb2 \
  > "$tmp/table" || exit 1
bad=0
# A head and one line per problem and road, each solved to the reference.
if [ "$(head -n 1 "$tmp/r.csv")" != "problem,rows,cols,solver,status,optimal,time,iterations,objerr,wall" ] ||
  [ "$(grep -c ',OPT,1,' "$tmp/r.csv")" != 6 ] || [ "$(wc -l < "$tmp/r.csv")" != 7 ] ||
  ! grep -Eq '^blend,74,83,primal-np,OPT,1,[0-9.]+,[0-9]+,[0-9.]+e-[0-9]+,[0-9.]+$' "$tmp/r.csv" ||
  [ -e "$tmp/r.csv.part" ]; then
  echo "perfprofile: unexpected CSV:"
  sed 's/^/  /' "$tmp/r.csv"
  bad=1
fi
if ! "$py" -c "import matplotlib" 2> /dev/null; then
  echo "perfprofile: $py has no matplotlib (Debian: python3-matplotlib); plot skipped"
  [ "$bad" = 0 ] && exit 77
  exit 1
fi
# A problem the primal road did not solve counts for the dual alone.
sed 's/^kb2,43,41,primal-np,OPT,1/kb2,43,41,primal-np,ITER,0/' "$tmp/r.csv" > "$tmp/s.csv"
PYTHONDONTWRITEBYTECODE=1 "$py" "$script" "$tmp/s.csv" -o "$tmp/profile" > "$tmp/out" || exit 1
grep -Eq '^dual +solved +3/3 ' "$tmp/out" && grep -Eq '^primal-np +solved +2/3 ' "$tmp/out" || {
  echo "perfprofile: unexpected counts:"
  cat "$tmp/out"
  bad=1
}
for ext in svg png; do
  [ -s "$tmp/profile.$ext" ] || { echo "perfprofile: no $tmp/profile.$ext"; bad=1; }
done
grep -q '<svg' "$tmp/profile.svg" || bad=1
exit $bad
