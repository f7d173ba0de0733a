# python/tests/test_netlib.py: Netlib problems read by the task, solved by velor.linprog and by
# scipy.optimize.linprog: objectives against the reference optima, statuses, and duals that prove
# the optimum (feasible in sign, with the dual objective equal to the primal one).
# SPDX-License-Identifier: Apache-2.0
import csv

import numpy as np
import pytest

import velor

scipy_optimize = pytest.importorskip("scipy.optimize")
scipy_sparse = pytest.importorskip("scipy.sparse")

FEASIBLE = ["afiro", "sc50a", "sc50b", "adlittle", "blend", "kb2", "sc105", "share2b", "recipe",
            "scagr7", "stocfor1", "boeing2"]
INFEASIBLE = ["itest2", "itest6", "galenet", "bgprtr"]


def optima(data_dir):
    with open(data_dir / "netlib" / "OPTIMA.csv") as f:
        rows = csv.DictReader(line for line in f if not line.startswith("#"))
        return {r["name"]: float(r["optimal_objective"]) for r in rows if r["optimal_objective"]}


def linprog_form(path):
    """The file's problem in linprog's form: lower row sides become <= rows of -A, equations go
    to A_eq, free rows are dropped. Returns the arguments and the objective's constant."""
    with velor.Task() as task:
        task.params["VLR_IPAR_LOG"] = 0
        task.read(path)
        lp = task.get_lp()
    assert lp.sense == "min"
    A = scipy_sparse.csr_matrix(lp.A)
    eq = lp.blc == lp.buc
    up = ~eq & np.isfinite(lp.buc)
    lo = ~eq & np.isfinite(lp.blc)
    args = dict(c=lp.c, A_ub=scipy_sparse.vstack([A[up], -A[lo]]).tocsr(),
                b_ub=np.concatenate([lp.buc[up], -lp.blc[lo]]), A_eq=A[eq], b_eq=lp.blc[eq],
                bounds=list(zip(lp.blx, lp.bux)))
    args["bounds"] = [(None if np.isinf(lo) else lo, None if np.isinf(hi) else hi)
                      for lo, hi in args["bounds"]]
    return args, lp.cfix


def assert_duals_prove_the_optimum(res, p):
    """Recomputed from the data: the marginals have linprog's signs, c equals A'y plus the bound
    marginals, and the dual objective equals res.fun."""
    scale = 1 + abs(res.fun)
    y_ub, y_eq = res.ineqlin.marginals, res.eqlin.marginals
    zl, zu = res.lower.marginals, res.upper.marginals
    assert (y_ub <= 1e-9).all() and (zl >= -1e-9).all() and (zu <= 1e-9).all()
    lb = np.array([-np.inf if lo is None else lo for lo, _ in p["bounds"]])
    ub = np.array([np.inf if hi is None else hi for _, hi in p["bounds"]])
    assert not zl[np.isinf(lb)].any() and not zu[np.isinf(ub)].any()
    residual = p["c"] - p["A_ub"].T @ y_ub - p["A_eq"].T @ y_eq - zl - zu
    np.testing.assert_allclose(residual, 0, atol=1e-7 * scale)
    dual = (p["b_ub"] @ y_ub + p["b_eq"] @ y_eq + np.where(zl != 0, lb, 0) @ zl +
            np.where(zu != 0, ub, 0) @ zu)
    assert dual == pytest.approx(res.fun, rel=1e-8, abs=1e-8 * scale)


@pytest.mark.parametrize("name", FEASIBLE)
def test_feasible_problem_reaches_the_reference_optimum(name, data_dir):
    p, cfix = linprog_form(data_dir / "netlib" / f"{name}.mps.gz")
    want = optima(data_dir)[name]
    ref = scipy_optimize.linprog(method="highs", **p)
    assert ref.status == 0
    for method in ("free", "primal"):
        got = velor.linprog(method=method, **p)
        assert got.status == 0, got.message
        # The reference table has eight digits or so (scagr7 is off by 2e-7); the peer is closer.
        assert got.fun + cfix == pytest.approx(want, rel=1e-6, abs=1e-6)
        assert got.fun == pytest.approx(ref.fun, rel=1e-8, abs=1e-8)
        assert_duals_prove_the_optimum(got, p)


@pytest.mark.parametrize("name", INFEASIBLE)
def test_infeasible_problem_is_status_2_as_in_scipy(name, data_dir):
    p, _ = linprog_form(data_dir / "netlib-infeas" / f"{name}.mps.gz")
    assert scipy_optimize.linprog(method="highs", **p).status == 2
    got = velor.linprog(**p)
    assert got.status == 2 and got.x is None and "infeasible" in got.message
