# python/tests/test_linprog.py: velor.linprog beside scipy.optimize.linprog on random feasible,
# infeasible and unbounded problems: statuses, objectives, points and duals with their signs.
# SPDX-License-Identifier: Apache-2.0
import numpy as np
import pytest

import velor

scipy_optimize = pytest.importorskip("scipy.optimize")
scipy_sparse = pytest.importorskip("scipy.sparse")

SIMPLEX = ["free", "dual", "primal"]


def random_lp(seed, m_ub=8, m_eq=3, n=12):
    """A feasible, bounded problem of general position: every kind of bound, rows of both kinds.
    Feasible through a point x0 inside the bounds; bounded because c is A'y + d for a y and a d
    that are dual feasible (y <= 0 on the <= rows, d >= 0 on lower-only, <= 0 on upper-only and
    0 on free variables)."""
    rng = np.random.default_rng(seed)
    A_ub = rng.normal(size=(m_ub, n)) * (rng.random((m_ub, n)) < 0.6)
    A_eq = rng.normal(size=(m_eq, n)) * (rng.random((m_eq, n)) < 0.6)
    kind = rng.integers(0, 4, size=n)  # 0 boxed, 1 lower only, 2 upper only, 3 free
    kind[:4] = [0, 1, 2, 3]
    lo = rng.uniform(-5, 0, size=n)
    hi = lo + rng.uniform(1, 6, size=n)
    x0 = rng.uniform(lo, hi)
    bounds = [(lo[j] if kind[j] in (0, 1) else None, hi[j] if kind[j] in (0, 2) else None)
              for j in range(n)]
    b_ub = A_ub @ x0 + rng.uniform(0.1, 2, size=m_ub)
    b_eq = A_eq @ x0
    d = rng.uniform(0.1, 1, size=n) * np.select([kind == 1, kind == 2, kind == 3], [1, -1, 0],
                                                 rng.choice([-1.0, 1.0], size=n))
    c = A_ub.T @ -rng.uniform(0, 1, size=m_ub) + A_eq.T @ rng.normal(size=m_eq) + d
    return dict(c=c, A_ub=A_ub, b_ub=b_ub, A_eq=A_eq, b_eq=b_eq, bounds=bounds)


def infeasible_lp(seed):
    """A random problem with one more <= row: a non-negative combination of the others with its
    side lowered, so that no point meets them all (a Farkas certificate exists)."""
    p = random_lp(seed)
    rng = np.random.default_rng(seed + 1000)
    w = rng.uniform(0.5, 1.5, size=p["b_ub"].size)
    p["A_ub"] = np.vstack([p["A_ub"], -(w @ p["A_ub"])])
    p["b_ub"] = np.append(p["b_ub"], -(w @ p["b_ub"]) - 1.0)
    return p


def unbounded_lp(seed):
    """A random feasible problem with a ray d: x0 + t d stays feasible for every t >= 0 and the
    cost falls along it. d moves the lower-only variables up, the rows are bent so that
    A_eq d = 0 and A_ub d <= 0, and c d = -1."""
    p = random_lp(seed)
    rng = np.random.default_rng(seed + 2000)
    n = p["c"].size
    lower_only = np.array([lo is not None and hi is None for lo, hi in p["bounds"]])
    d = np.where(lower_only, rng.uniform(0.5, 1.5, size=n), 0.0)
    dd = d @ d
    x0 = np.array([lo if lo is not None else (hi if hi is not None else 0.0)
                   for lo, hi in p["bounds"]])
    p["A_eq"] = p["A_eq"] - np.outer(p["A_eq"] @ d, d) / dd
    p["A_ub"] = p["A_ub"] - np.outer(np.maximum(p["A_ub"] @ d, 0), d) / dd
    p["b_eq"] = p["A_eq"] @ x0
    p["b_ub"] = p["A_ub"] @ x0 + 1.0
    p["c"] = p["c"] - (p["c"] @ d + 1.0) * d / dd
    return p


def reference(p):
    return scipy_optimize.linprog(method="highs", **p)


def assert_same_answer(got, want, dual=True):
    """The same status, objective and point; with dual, the same marginals as well."""
    assert got.status == want.status, (got.message, want.message)
    assert got.success == want.success
    if want.status != 0:
        assert got.x is None and got.fun is None
        return
    scale = 1 + abs(want.fun)
    assert got.fun == pytest.approx(want.fun, rel=1e-9, abs=1e-9 * scale)
    np.testing.assert_allclose(got.x, want.x, atol=1e-7 * scale)
    np.testing.assert_allclose(got.slack, want.ineqlin.residual, atol=1e-7 * scale)
    np.testing.assert_allclose(got.con, want.eqlin.residual, atol=1e-7 * scale)
    if dual:
        for part in ("ineqlin", "eqlin", "lower", "upper"):
            np.testing.assert_allclose(got[part].marginals, want[part].marginals,
                                       atol=1e-7 * scale, err_msg=part)


@pytest.mark.parametrize("method", SIMPLEX)
class TestRandomProblems:
    def test_feasible_problems_have_scipys_optimum_and_duals(self, method):
        for seed in range(25):
            p = random_lp(seed)
            got = velor.linprog(method=method, **p)
            assert got.status == 0, (seed, got.message)
            assert_same_answer(got, reference(p))

    def test_infeasible_problems_are_status_2(self, method):
        for seed in range(10):
            p = infeasible_lp(seed)
            assert_same_answer(velor.linprog(method=method, **p), reference(p))
            assert reference(p).status == 2

    def test_unbounded_problems_are_status_3(self, method):
        for seed in range(10):
            p = unbounded_lp(seed)
            assert reference(p).status == 3
            assert_same_answer(velor.linprog(method=method, **p), reference(p))


class TestArguments:
    def test_sparse_and_dense_matrices_give_one_answer(self):
        p = random_lp(7, m_ub=20, m_eq=5, n=30)
        dense = velor.linprog(**p)
        for fmt in (scipy_sparse.csr_matrix, scipy_sparse.csc_matrix, scipy_sparse.coo_matrix):
            q = dict(p, A_ub=fmt(p["A_ub"]), A_eq=fmt(p["A_eq"]))
            assert_same_answer(velor.linprog(**q), dense)
        assert_same_answer(dense, reference(p))

    def test_bounds_in_every_form_and_rows_of_one_kind(self):
        c = [-1.0, -2.0, 0.5]
        A = [[1, 1, 1], [1, -1, 2]]
        b = [4, 3]
        for bounds in (None, (0, 3), [(0, 3)], [(0, 3), (None, 2), (-1, None)],
                       np.array([[0, 3], [0, 2], [-1, 5]])):
            for rows in (dict(A_ub=A, b_ub=b), dict(A_eq=A, b_eq=b)):
                p = dict(c=c, bounds=bounds, **rows)
                assert_same_answer(velor.linprog(**p), reference(p))
        p = dict(c=[1.0, 1.0], bounds=[(1, 2), (-3, 4)])  # no rows at all
        assert_same_answer(velor.linprog(**p), reference(p))

    def test_options_and_bad_arguments(self):
        p = random_lp(3, m_ub=30, m_eq=10, n=40)
        limited = velor.linprog(options={"maxiter": 1, "presolve": False}, **p)
        assert limited.status == 1 and not limited.success
        assert "Iteration limit" in limited.message
        lines = []
        velor.linprog(options={"log": lines.append, "VLR_IPAR_PRESOLVE_USE": 0}, **p)
        assert any("optimizer started" in s for s in lines)
        with pytest.warns(scipy_optimize.OptimizeWarning):
            velor.linprog(options={"no_such_option": 1}, **p)
        with pytest.raises(ValueError):
            velor.linprog(method="highs", **p)
        with pytest.raises(ValueError):
            velor.linprog([1, 2], A_ub=[[1, 2, 3]], b_ub=[1])
        with pytest.raises(ValueError):
            velor.linprog([1, 2], A_ub=[[1, 2]])
        with pytest.raises(ValueError):
            velor.linprog([1, 2], bounds=[(0, 1)] * 3)
