# python/velor/_task.py: environments and tasks as Python objects: context managers that free
# them, parameters by name, problem files, the log to a callable, a linear problem in and out
# as arrays, and the solutions as NumPy arrays.
# SPDX-License-Identifier: Apache-2.0
import ctypes
import dataclasses

import numpy as np

from ._lib import (INFINITY, MAX_STR_LEN, STREAMFUNC, VelorError, check_env, check_task,
                   codename, const, lib)

_SOLUTIONS = {"bas": "VLR_SOL_BAS", "itr": "VLR_SOL_ITR", "itg": "VLR_SOL_ITG"}


def _dptr(a):
    return a.ctypes.data_as(ctypes.POINTER(ctypes.c_double))


def _iptr(a):
    return a.ctypes.data_as(ctypes.POINTER(ctypes.c_int32))


def _keys(lower, upper):
    """Bound keys, lower and upper sides of items from sides where +-inf (or beyond the library's
    infinity) means none."""
    lower = np.asarray(lower, dtype=float)
    upper = np.asarray(upper, dtype=float)
    if np.isnan(lower).any() or np.isnan(upper).any():
        raise ValueError("a bound is NaN")
    haslo = lower > -INFINITY
    hasup = upper < INFINITY
    bk = np.full(lower.shape, const("VLR_BK_FR"), dtype=np.int32)
    bk[haslo & ~hasup] = const("VLR_BK_LO")
    bk[~haslo & hasup] = const("VLR_BK_UP")
    bk[haslo & hasup] = const("VLR_BK_RA")
    bk[haslo & hasup & (lower == upper)] = const("VLR_BK_FX")
    bl = np.where(haslo, lower, -INFINITY)
    bu = np.where(hasup, upper, INFINITY)
    return bk, np.ascontiguousarray(bl), np.ascontiguousarray(bu)


def _sides(bk, bl, bu):
    """The inverse of _keys: a side the key does not use becomes -inf or +inf."""
    haslo = np.isin(bk, [const("VLR_BK_LO"), const("VLR_BK_FX"), const("VLR_BK_RA")])
    hasup = np.isin(bk, [const("VLR_BK_UP"), const("VLR_BK_FX"), const("VLR_BK_RA")])
    return np.where(haslo, bl, -np.inf), np.where(hasup, bu, np.inf)


def _csc(a, m, n):
    """Column pointers, row indices and values of a dense or scipy.sparse m x n matrix."""
    if a is None:
        return np.zeros(n + 1, np.int32), np.zeros(0, np.int32), np.zeros(0)
    if hasattr(a, "tocsc"):
        csc = a.tocsc()
        csc.sum_duplicates()
        csc.eliminate_zeros()
        if csc.shape != (m, n):
            raise ValueError(f"A is {csc.shape[0]} x {csc.shape[1]}, expected {m} x {n}")
        return (csc.indptr.astype(np.int32), csc.indices.astype(np.int32),
                csc.data.astype(float))
    dense = np.asarray(a, dtype=float).reshape(m, n) if m * n else np.zeros((m, n))
    j, i = np.nonzero(dense.T)  # column by column, rows in order within each
    ptr = np.zeros(n + 1, np.int32)
    np.cumsum(np.bincount(j, minlength=n), out=ptr[1:])
    return ptr, i.astype(np.int32), dense[i, j].astype(float)


@dataclasses.dataclass
class Solution:
    """One solution of a task. Arrays are indexed by constraint (xc, y, slc, suc, skc) or by
    variable (x, slx, sux, reduced_costs, skx). Duals are None for an integer solution."""
    which: str  # "bas", "itr" or "itg"
    prosta: str  # problem status, e.g. "PRIMAL_AND_DUAL_FEASIBLE"
    solsta: str  # solution status, e.g. "OPTIMAL", "PRIMAL_INFEASIBLE_CER"
    primal_obj: float
    dual_obj: float
    x: np.ndarray  # variable values
    xc: np.ndarray  # constraint activities, A x
    y: np.ndarray  # constraint duals, slc - suc
    slc: np.ndarray  # duals of the constraints' lower sides
    suc: np.ndarray  # duals of the constraints' upper sides
    slx: np.ndarray  # duals of the variables' lower bounds
    sux: np.ndarray  # duals of the variables' upper bounds
    reduced_costs: np.ndarray  # slx - sux
    skc: np.ndarray  # status keys of the constraints (VLR_SK_*)
    skx: np.ndarray  # status keys of the variables


@dataclasses.dataclass
class LinearProblem:
    """A linear problem as arrays: minimise or maximise c'x + cfix subject to
    blc <= A x <= buc and blx <= x <= bux, with -inf and +inf for a missing side."""
    c: np.ndarray
    A: object  # scipy.sparse.csc_matrix when SciPy is there, else a dense ndarray
    blc: np.ndarray
    buc: np.ndarray
    blx: np.ndarray
    bux: np.ndarray
    sense: str = "min"
    cfix: float = 0.0


class Env:
    """A VELOR environment. Use it in a with-statement, or call close(); tasks made from it must
    be closed first."""

    def __init__(self):
        h = ctypes.c_void_p()
        check_env(lib.VLR_makeenv(ctypes.byref(h), None, None, None, None))
        r = lib.VLR_initenv(h)
        if r != 0:
            lib.VLR_deleteenv(ctypes.byref(h))
            check_env(r)
        self._h = h

    def task(self):
        """A new empty task of this environment."""
        return Task(self)

    def close(self):
        if self._h is not None and self._h.value is not None:
            check_env(lib.VLR_deleteenv(ctypes.byref(self._h)))
        self._h = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        if getattr(self, "_h", None) is not None and self._h.value is not None:
            lib.VLR_deleteenv(ctypes.byref(self._h))


class _Params:
    """task.params[name]: parameters by their full names with Python values."""

    def __init__(self, task):
        self._task = task

    def __getitem__(self, name):
        return self._task.get_param(name)

    def __setitem__(self, name, value):
        self._task.set_param(name, value)


class Task:
    """A VELOR task: a problem with its parameters and solutions. Made from an Env, or with an
    environment of its own when env is None. Use it in a with-statement, or call close()."""

    def __init__(self, env=None):
        self._ownenv = env is None
        self._env = Env() if env is None else env
        h = ctypes.c_void_p()
        check_env(lib.VLR_maketask(self._env._h, 0, 0, ctypes.byref(h)))
        self._h = h
        self._log = None  # the ctypes function linked to the log stream, kept alive
        self._callback_error = None
        self.params = _Params(self)

    # -- life ---------------------------------------------------------------------------------

    def close(self):
        if self._h is not None:
            r = lib.VLR_deletetask(ctypes.byref(self._h))
            self._h = None
            self._log = None
            if self._ownenv:
                self._env.close()
            check_env(r)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        if getattr(self, "_h", None) is not None:
            lib.VLR_deletetask(ctypes.byref(self._h))
            self._h = None

    def _call(self, fname, *args):
        """Calls the library on this task; a failure raises VelorError, and an exception raised
        by the log function during the call is raised again here."""
        r = getattr(lib, fname)(self._h, *args)
        err, self._callback_error = self._callback_error, None
        if err is not None:
            raise err
        check_task(self._h, r)
        return r

    # -- parameters and information items -----------------------------------------------------

    def _which(self, name):
        ptype, index = ctypes.c_int32(0), ctypes.c_int32(0)
        self._call("VLR_whichparam", name.encode(), ctypes.byref(ptype), ctypes.byref(index))
        return ptype.value, index.value

    def set_param(self, name, value):
        """Sets a parameter by its full name: an int, a bool or a symbolic name such as
        "VLR_OPTIMIZER_DUAL_SIMPLEX" for an integer parameter, a number for a double one, a str
        for a string one."""
        ptype, index = self._which(name)
        if ptype == const("VLR_PAR_INT_TYPE") and isinstance(value, (bool, int, np.integer)):
            self._call("VLR_putintparam", index, int(value))
        elif ptype == const("VLR_PAR_DOU_TYPE") and isinstance(value, (int, float, np.number)):
            self._call("VLR_putdouparam", index, float(value))
        elif ptype == const("VLR_PAR_STR_TYPE") and isinstance(value, str):
            self._call("VLR_putstrparam", index, value.encode())
        elif isinstance(value, str) or ptype == const("VLR_PAR_INVALID_TYPE"):
            # symbolic values, and the library's own message for a name it does not know
            self._call("VLR_putparam", name.encode(), str(value).encode())
        else:
            raise TypeError(f"{name} does not take a {type(value).__name__}")

    def get_param(self, name):
        """The value of a parameter by its full name: int, float or str."""
        ptype, index = self._which(name)
        if ptype == const("VLR_PAR_INT_TYPE"):
            v = ctypes.c_int32(0)
            self._call("VLR_getintparam", index, ctypes.byref(v))
            return v.value
        if ptype == const("VLR_PAR_DOU_TYPE"):
            v = ctypes.c_double(0.0)
            self._call("VLR_getdouparam", index, ctypes.byref(v))
            return v.value
        if ptype == const("VLR_PAR_STR_TYPE"):
            buf = ctypes.create_string_buffer(MAX_STR_LEN)
            self._call("VLR_getstrparam", index, MAX_STR_LEN, None, buf)
            return buf.value.decode()
        self._call("VLR_putparam", name.encode(), b"")  # raises the library's error
        raise KeyError(name)

    def info(self, name):
        """An information item by its full name, e.g. "VLR_DINF_OPTIMIZER_TIME"."""
        if name.startswith("VLR_DINF_"):
            v = ctypes.c_double(0.0)
            self._call("VLR_getnadouinf", name.encode(), ctypes.byref(v))
        else:
            v = ctypes.c_int32(0)
            self._call("VLR_getnaintinf", name.encode(), ctypes.byref(v))
        return v.value

    # -- the log ------------------------------------------------------------------------------

    def set_log(self, func):
        """Sends the log, line by line as str, to func(text); None stops it. An exception func
        raises ends the library call that logged, and is raised from it."""
        stream = const("VLR_STREAM_LOG")
        if func is None:
            self._call("VLR_unlinkfuncfromtaskstream", stream)
            self._log = None
            return

        def deliver(_handle, text):
            if self._callback_error is not None:
                return
            try:
                func(text.decode("utf-8", errors="replace"))
            except BaseException as e:  # a callback must not unwind through the C frames
                self._callback_error = e

        log = STREAMFUNC(deliver)
        self._call("VLR_linkfunctotaskstream", stream, None, log)
        self._log = log

    # -- files --------------------------------------------------------------------------------

    def read(self, path):
        """Reads a problem file (MPS, free MPS as .fmps, LP; .gz compressed), replacing the
        problem. VLR_IPAR_READ_DATA_FORMAT overrides the format the name gives."""
        self._call("VLR_readdata", str(path).encode())

    def write(self, path):
        """Writes the problem; the name gives the format (.mps, .lp, and .gz)."""
        self._call("VLR_writedata", str(path).encode())

    def write_solution(self, path, which=None):
        self._call("VLR_writesolution", self._whichsol(which), str(path).encode())

    def read_solution(self, path, which="bas"):
        """Reads a file of write_solution (or of the velor tool's -o) into the solution which of
        the same problem. A file that does not fit the problem raises VelorError and leaves the
        solutions as they were."""
        self._call("VLR_readsolution", self._whichsol(which), str(path).encode())

    def read_params(self, path):
        self.set_param("VLR_SPAR_PARAM_READ_FILE_NAME", str(path))
        self._call("VLR_readparamfile")

    def write_params(self, path):
        self._call("VLR_writeparamfile", str(path).encode())

    # -- a linear problem as arrays -----------------------------------------------------------

    @property
    def numcon(self):
        v = ctypes.c_int32(0)
        self._call("VLR_getnumcon", ctypes.byref(v))
        return v.value

    @property
    def numvar(self):
        v = ctypes.c_int32(0)
        self._call("VLR_getnumvar", ctypes.byref(v))
        return v.value

    def load_lp(self, c, A, blc, buc, blx, bux, sense="min", cfix=0.0):
        """Replaces the problem by a linear one (see LinearProblem). A is dense or
        scipy.sparse; +-inf (or beyond +-1e30) marks a missing side."""
        c = np.ascontiguousarray(c, dtype=float).ravel()
        n = c.size
        bkc, blc, buc = _keys(blc, buc)
        bkx, blx, bux = _keys(blx, bux)
        m = bkc.size
        if bkx.size != n:
            raise ValueError(f"{bkx.size} variable bounds for {n} variables")
        ptr, sub, val = _csc(A, m, n)
        self._call("VLR_inputdata", m, n, m, n, _dptr(c), float(cfix), _iptr(ptr[:-1].copy()),
                   _iptr(ptr[1:].copy()), _iptr(sub), _dptr(val), _iptr(bkc), _dptr(blc),
                   _dptr(buc), _iptr(bkx), _dptr(blx), _dptr(bux))
        name = {"min": "VLR_OBJECTIVE_SENSE_MINIMIZE", "max": "VLR_OBJECTIVE_SENSE_MAXIMIZE"}
        if sense not in name:
            raise ValueError(f"sense is 'min' or 'max', not {sense!r}")
        self._call("VLR_putobjsense", const(name[sense]))

    def get_lp(self):
        """The task's problem as a LinearProblem (linear part only)."""
        m, n = self.numcon, self.numvar
        c = np.zeros(n)
        cfix = ctypes.c_double(0.0)
        if n:
            self._call("VLR_getcslice", 0, n, _dptr(c))
        self._call("VLR_getcfix", ctypes.byref(cfix))
        sides = []
        for acc, k in (("VLR_ACC_CON", m), ("VLR_ACC_VAR", n)):
            bk, bl, bu = np.zeros(k, np.int32), np.zeros(k), np.zeros(k)
            if k:
                self._call("VLR_getboundslice", const(acc), 0, k, _iptr(bk), _dptr(bl),
                           _dptr(bu))
            sides += _sides(bk, bl, bu)
        nnz = ctypes.c_int32(0)
        self._call("VLR_getnumanz", ctypes.byref(nnz))
        ptrb, ptre = np.zeros(n, np.int32), np.zeros(n, np.int32)
        sub, val = np.zeros(nnz.value, np.int32), np.zeros(nnz.value)
        if n:
            surp = ctypes.c_int32(nnz.value)
            self._call("VLR_getaslice", const("VLR_ACC_VAR"), 0, n, nnz.value,
                       ctypes.byref(surp), _iptr(ptrb), _iptr(ptre), _iptr(sub), _dptr(val))
        cols = np.repeat(np.arange(n), ptre - ptrb)
        keep = np.concatenate([np.arange(b, e) for b, e in zip(ptrb, ptre)] or [[]]).astype(int)
        try:
            import scipy.sparse
            A = scipy.sparse.csc_matrix((val[keep], (sub[keep], cols)), shape=(m, n))
        except ImportError:
            A = np.zeros((m, n))
            np.add.at(A, (sub[keep], cols), val[keep])
        sense = ctypes.c_int32(0)
        self._call("VLR_getobjsense", ctypes.byref(sense))
        maximize = sense.value == const("VLR_OBJECTIVE_SENSE_MAXIMIZE")
        return LinearProblem(c, A, *sides, sense="max" if maximize else "min",
                             cfix=cfix.value)

    # -- optimise and the solutions -----------------------------------------------------------

    def optimize(self):
        """Optimises. Returns the symbolic name of how the optimiser ended: "VLR_RES_OK" or a
        stop such as "VLR_RES_TRM_MAX_ITERATIONS"; an error raises VelorError."""
        trm = ctypes.c_int32(0)
        self._call("VLR_optimizetrm", ctypes.byref(trm))
        return codename(trm.value)

    def _whichsol(self, which):
        if which is None:
            for w in ("bas", "itr", "itg"):
                if self.solution_defined(w):
                    return const(_SOLUTIONS[w])
            return const("VLR_SOL_BAS")
        if which not in _SOLUTIONS:
            raise ValueError(f"which is 'bas', 'itr' or 'itg', not {which!r}")
        return const(_SOLUTIONS[which])

    def solution_defined(self, which):
        d = ctypes.c_int32(0)
        self._call("VLR_solutiondef", const(_SOLUTIONS[which]), ctypes.byref(d))
        return d.value != 0

    def _slice(self, whichsol, item, k):
        a = np.zeros(k)
        if k:
            self._call("VLR_getsolutionslice", whichsol, const(item), 0, k, _dptr(a))
        return a

    def _keyslice(self, whichsol, acc, k):
        a = np.zeros(k, np.int32)
        if k:
            self._call("VLR_getsolutionstatuskeyslice", const(acc), whichsol, 0, k, _iptr(a))
        return a

    def solution(self, which=None):
        """A solution as a Solution of NumPy arrays; which is "bas", "itr", "itg", or None for
        the first defined of them. An undefined solution raises VelorError."""
        w = self._whichsol(which)
        m, n = self.numcon, self.numvar
        prosta, solsta = ctypes.c_int32(0), ctypes.c_int32(0)
        self._call("VLR_getsolutionstatus", w, ctypes.byref(prosta), ctypes.byref(solsta))
        texts = []
        for f, v in (("VLR_prostatostr", prosta), ("VLR_solstatostr", solsta)):
            buf = ctypes.create_string_buffer(MAX_STR_LEN)
            self._call(f, v.value, buf)
            texts.append(buf.value.decode())
        pobj, dobj = ctypes.c_double(0.0), ctypes.c_double(np.nan)
        self._call("VLR_getprimalobj", w, ctypes.byref(pobj))
        integer = w == const("VLR_SOL_ITG")
        if not integer:
            self._call("VLR_getdualobj", w, ctypes.byref(dobj))
        dual = {}
        for key, item, k in (("y", "Y", m), ("slc", "SLC", m), ("suc", "SUC", m),
                             ("slx", "SLX", n), ("sux", "SUX", n)):
            dual[key] = None if integer else self._slice(w, "VLR_SOL_ITEM_" + item, k)
        return Solution(
            which=next(k for k, v in _SOLUTIONS.items() if const(v) == w),
            prosta=texts[0], solsta=texts[1], primal_obj=pobj.value, dual_obj=dobj.value,
            x=self._slice(w, "VLR_SOL_ITEM_XX", n), xc=self._slice(w, "VLR_SOL_ITEM_XC", m),
            reduced_costs=None if integer else dual["slx"] - dual["sux"],
            skc=self._keyslice(w, "VLR_ACC_CON", m), skx=self._keyslice(w, "VLR_ACC_VAR", n),
            **dual)


__all__ = ["Env", "Task", "Solution", "LinearProblem", "VelorError"]
