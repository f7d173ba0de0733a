# python/velor/_linprog.py: linprog with the arguments, result fields and sign conventions of
# scipy.optimize.linprog, solved by a VELOR task.
# SPDX-License-Identifier: Apache-2.0
import warnings

import numpy as np

from ._task import Task

# Short optimiser names, as the velor tool takes them.
METHODS = {
    "free": "VLR_OPTIMIZER_FREE",
    "free-simplex": "VLR_OPTIMIZER_FREE_SIMPLEX",
    "dual": "VLR_OPTIMIZER_DUAL_SIMPLEX",
    "primal": "VLR_OPTIMIZER_PRIMAL_SIMPLEX",
    "primal-dual": "VLR_OPTIMIZER_PRIMAL_DUAL_SIMPLEX",
    "intpnt": "VLR_OPTIMIZER_INTPNT",
    "conic": "VLR_OPTIMIZER_CONIC",
    "concurrent": "VLR_OPTIMIZER_CONCURRENT",
}

_MESSAGES = {
    0: "Optimization terminated successfully.",
    1: "Iteration limit reached.",
    2: "The problem is infeasible.",
    3: "The problem is unbounded.",
    4: "The optimizer stopped without a definite answer.",
}

try:
    from scipy.optimize import OptimizeResult, OptimizeWarning
except ImportError:  # NumPy alone is enough; the result is then a plain attribute dict
    class OptimizeResult(dict):
        def __getattr__(self, name):
            try:
                return self[name]
            except KeyError as e:
                raise AttributeError(name) from e

        __setattr__ = dict.__setitem__

    class OptimizeWarning(UserWarning):
        pass


def _rows(A, b, n, what):
    """A (dense, list or scipy.sparse) and b as a matrix of shape (len(b), n) and a vector."""
    if A is None and b is None:
        return None, np.zeros(0)
    if A is None or b is None:
        raise ValueError(f"A_{what} and b_{what} go together")
    b = np.atleast_1d(np.asarray(b, dtype=float)).ravel()
    if not hasattr(A, "tocsc"):
        A = np.asarray(A, dtype=float)
        A = A.reshape(b.size, n) if A.size == 0 else np.atleast_2d(A)
    if A.shape != (b.size, n):
        raise ValueError(f"A_{what} is {A.shape[0]} x {A.shape[1]}; b_{what} and c ask for "
                         f"{b.size} x {n}")
    return A, b


def _stack(A_ub, A_eq, n):
    """The rows of A_ub above those of A_eq, sparse when either is."""
    parts = [a for a in (A_ub, A_eq) if a is not None]
    if not parts:
        return None
    if any(hasattr(a, "tocsc") for a in parts):
        import scipy.sparse
        return scipy.sparse.vstack([scipy.sparse.csr_matrix(a) for a in parts]).tocsc()
    return np.vstack(parts)


def _bounds(bounds, n):
    """Lower and upper bounds of the variables from linprog's forms: None (all (0, inf)), one
    pair for all, or one pair per variable; None in a pair means no bound."""
    if bounds is None:
        return np.zeros(n), np.full(n, np.inf)
    b = np.array(bounds, dtype=object)
    if b.shape == (2,) and not isinstance(bounds[0], (tuple, list, np.ndarray)):
        b = np.array([bounds] * n, dtype=object)
    elif b.shape == (1, 2):
        b = np.array([tuple(b[0])] * n, dtype=object)
    if b.shape != (n, 2):
        raise ValueError(f"bounds must be a pair or {n} pairs")
    lb = np.array([-np.inf if v is None else float(v) for v in b[:, 0]])
    ub = np.array([np.inf if v is None else float(v) for v in b[:, 1]])
    return lb, ub


def _apply_options(task, method, options):
    if method not in METHODS:
        raise ValueError(f"method {method!r} is not one of {', '.join(METHODS)}")
    task.set_param("VLR_IPAR_OPTIMIZER", METHODS[method])
    task.set_param("VLR_IPAR_LOG", 0)
    unknown = []
    for key, value in (options or {}).items():
        if key == "maxiter":
            task.set_param("VLR_IPAR_SIM_MAX_ITERATIONS", int(value))
            task.set_param("VLR_IPAR_INTPNT_MAX_ITERATIONS", int(value))
        elif key == "time_limit":
            task.set_param("VLR_DPAR_OPTIMIZER_MAX_TIME", float(value))
        elif key == "presolve":
            task.set_param("VLR_IPAR_PRESOLVE_USE",
                           "VLR_PRESOLVE_MODE_ON" if value else "VLR_PRESOLVE_MODE_OFF")
        elif key == "disp":
            if value:
                task.set_param("VLR_IPAR_LOG", 10)
                task.set_log(lambda text: print(text, end=""))
        elif key == "log":
            task.set_param("VLR_IPAR_LOG", 10)
            task.set_log(value)
        elif key.startswith("VLR_"):
            task.set_param(key, value)
        else:
            unknown.append(key)
    if unknown:
        warnings.warn(f"Unrecognized options detected: {dict((k, options[k]) for k in unknown)}."
                      " These will be passed to VELOR verbatim only if they are parameter names",
                      OptimizeWarning, stacklevel=3)


def _status(trm, solsta):
    if trm in ("VLR_RES_TRM_MAX_ITERATIONS", "VLR_RES_TRM_MAX_TIME"):
        return 1
    return {"OPTIMAL": 0, "PRIMAL_INFEASIBLE_CER": 2, "DUAL_INFEASIBLE_CER": 3}.get(solsta, 4)


def linprog(c, A_ub=None, b_ub=None, A_eq=None, b_eq=None, bounds=None, method="free",
            options=None):
    """Minimises c @ x subject to A_ub @ x <= b_ub, A_eq @ x == b_eq and the bounds, with the
    arguments and result of scipy.optimize.linprog. method is a VELOR optimiser: "free" (the
    default), "dual", "primal", "free-simplex", and the names of those not yet in this build,
    which raise VelorError. options: maxiter, time_limit (seconds), presolve (bool), disp
    (bool), log (a callable taking each line), or any VELOR parameter by its full name.

    The result has x, fun, slack, con, status (0 optimal, 1 iteration or time limit,
    2 infeasible, 3 unbounded, 4 other), message, nit, success, and the duals as
    ineqlin/eqlin/lower/upper with residual and marginals: the partial derivatives of the
    optimal objective with respect to b_ub, b_eq and the bounds."""
    c = np.asarray(c, dtype=float).ravel()
    n = c.size
    A_ub, b_ub = _rows(A_ub, b_ub, n, "ub")
    A_eq, b_eq = _rows(A_eq, b_eq, n, "eq")
    lb, ub = _bounds(bounds, n)
    mub, meq = b_ub.size, b_eq.size
    blc = np.concatenate([np.full(mub, -np.inf), b_eq])
    buc = np.concatenate([b_ub, b_eq])
    with Task() as task:
        _apply_options(task, method, options)
        task.load_lp(c, _stack(A_ub, A_eq, n), blc, buc, lb, ub)
        trm = task.optimize()
        nit = sum(task.info(f"VLR_IINF_SIM_{k}_ITER") for k in ("PRIMAL", "DUAL", "PRIMAL_DUAL"))
        sol = task.solution() if task.solution_defined("bas") or task.solution_defined(
            "itr") else None
    status = _status(trm, sol.solsta if sol is not None else "UNKNOWN")
    res = OptimizeResult(status=status, success=status == 0, nit=nit)
    res.message = (f"{_MESSAGES[status]} (VELOR: solution status "
                   f"{sol.solsta if sol is not None else 'UNKNOWN'}, {trm})")
    if status == 1 and trm == "VLR_RES_TRM_MAX_TIME":
        res.message = res.message.replace("Iteration limit", "Time limit")
    point = sol is not None and status in (0, 1)
    x = sol.x if point else None

    def marginals(residual, duals):
        return OptimizeResult(residual=residual if point else None,
                              marginals=duals if point else None)

    res.x = x
    res.fun = float(c @ x) if point else None
    res.slack = b_ub - sol.xc[:mub] if point else None
    res.con = b_eq - sol.xc[mub:] if point else None
    res.ineqlin = marginals(res.slack, sol.y[:mub] if point else None)
    res.eqlin = marginals(res.con, sol.y[mub:] if point else None)
    res.lower = marginals(x - lb if point else None, sol.slx if point else None)
    res.upper = marginals(ub - x if point else None, -sol.sux if point else None)
    return res
