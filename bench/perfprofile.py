#!/usr/bin/python3
# bench/perfprofile.py: a performance profile of the simplex roads and clp from the CSV of
# vlr_bench_simplex, drawn as SVG and PNG.
# SPDX-License-Identifier: Apache-2.0
"""Draws the performance profile of the solvers in a CSV written by vlr_bench_simplex --csv.

    ./build/bench/vlr_bench_simplex --optimizer dual --optimizer primal --csv netlib.csv
    /usr/bin/python3 bench/perfprofile.py netlib.csv -o netlib-profile

writes netlib-profile.svg and netlib-profile.png. For each solver s the curve is
rho_s(tau) = (problems p with r(p, s) <= tau) / (all problems), with the ratio
r(p, s) = (t(p, s) + shift) / (min over solvers of t(p, s') + shift): the fraction of problems
that s solved within a factor tau of the fastest. A problem counts as solved by a solver when its
status is OPT, PINF or DINF and, where the objective has a reference, the relative error is at
most --tol; an unsolved one never enters the curve. The shift (0.01 s by default, as in the
benchmark's own summary) keeps problems solved in no time from dominating: clp reports its time
in milliseconds. Needs matplotlib (Debian: python3-matplotlib)."""

import argparse
import csv
import sys

SOLVED = {"OPT", "PINF", "DINF"}


def read(path, tol):
    """{problem: {solver: time or None}} and the solvers in the order they first appear."""
    times, solvers = {}, []
    with open(path, newline="") as f:
        for row in csv.DictReader(f):
            solver = row["solver"]
            if solver not in solvers:
                solvers.append(solver)
            ok = row["status"] in SOLVED and row["time"] != ""
            if ok and row["objerr"] != "":
                ok = float(row["objerr"]) <= tol
            times.setdefault(row["problem"], {})[solver] = float(row["time"]) if ok else None
    return times, solvers


def ratios(times, solvers, shift):
    """{solver: sorted ratios of the problems it solved}; a problem no solver solved is left
    out of the ratios but still counts in the total."""
    out = {s: [] for s in solvers}
    for per in times.values():
        solved = [t for t in per.values() if t is not None]
        if not solved:
            continue
        best = min(solved) + shift
        for s in solvers:
            t = per.get(s)
            if t is not None:
                out[s].append((t + shift) / best)
    for r in out.values():
        r.sort()
    return out


def draw(rat, total, prefix, title):
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    import matplotlib.ticker

    top = max([r[-1] for r in rat.values() if r] + [1.0])
    taumax = max(2.0, top * 1.25)
    fig, ax = plt.subplots(figsize=(7, 4.5))
    for s, r in rat.items():
        # A step up at each ratio, flat to the right end.
        xs = [1.0] + r + [taumax]
        ys = [0.0] + [(k + 1) / total for k in range(len(r))] + [len(r) / total]
        ax.step(xs, ys, where="post", label=f"{s} ({len(r)}/{total})", linewidth=1.6)
    ax.set_xscale("log", base=2)
    ax.xaxis.set_major_formatter(matplotlib.ticker.FuncFormatter(lambda x, _: f"{x:g}"))
    ax.set_xlim(1.0, taumax)
    ax.set_ylim(0.0, 1.02)
    ax.set_xlabel("tau: within this factor of the fastest")
    ax.set_ylabel("fraction of problems solved")
    ax.set_title(title)
    ax.grid(True, which="both", alpha=0.3)
    ax.legend(loc="lower right")
    fig.tight_layout()
    for ext in ("svg", "png"):
        fig.savefig(f"{prefix}.{ext}", dpi=120)
    plt.close(fig)


def main(argv):
    p = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    p.add_argument("csv", help="the file of vlr_bench_simplex --csv")
    p.add_argument("-o", "--output", default="perfprofile", help="prefix of the .svg and .png")
    p.add_argument("--solvers", help="comma-separated solvers to draw (default: all in the file)")
    p.add_argument("--shift", type=float, default=0.01, help="seconds added to every time")
    p.add_argument("--tol", type=float, default=1e-6, help="largest relative objective error")
    p.add_argument("--title", default=None)
    a = p.parse_args(argv)
    times, solvers = read(a.csv, a.tol)
    if a.solvers:
        want = a.solvers.split(",")
        missing = [s for s in want if s not in solvers]
        if missing:
            sys.exit(f"perfprofile: no solver {', '.join(missing)} in {a.csv}")
        solvers = want
    if not times:
        sys.exit(f"perfprofile: no results in {a.csv}")
    rat = ratios(times, solvers, a.shift)
    total = len(times)
    title = a.title or f"Performance profile, {total} problems (times + {a.shift:g} s)"
    draw(rat, total, a.output, title)
    for s in solvers:
        r = rat[s]
        best = sum(1 for x in r if x <= 1.0 + 1e-12)
        within2 = sum(1 for x in r if x <= 2.0)
        print(f"{s:10s} solved {len(r):4d}/{total}  fastest {best:4d}  within 2x {within2:4d}")
    print(f"wrote {a.output}.svg and {a.output}.png")


if __name__ == "__main__":
    main(sys.argv[1:])
