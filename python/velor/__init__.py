# python/velor/__init__.py: the VELOR library from Python, through ctypes over libvelor.so.
# SPDX-License-Identifier: Apache-2.0
"""VELOR from Python.

    import velor
    res = velor.linprog(c, A_ub=A, b_ub=b)          # as scipy.optimize.linprog

    with velor.Task() as task:                       # the library's own objects
        task.read("model.mps.gz")
        task.params["VLR_IPAR_OPTIMIZER"] = "VLR_OPTIMIZER_DUAL_SIMPLEX"
        task.set_log(print)
        task.optimize()
        sol = task.solution()                        # sol.x, sol.y, sol.reduced_costs, ...

The library is looked for at VELOR_LIBRARY, beside the installed package, then in the build
trees of a source checkout.
"""
import ctypes

from ._lib import INFINITY, VelorError, codename, const, lib
from ._linprog import METHODS, linprog
from ._task import Env, LinearProblem, Solution, Task


def version():
    """The library's version, "major.minor.build.revision"."""
    buf = ctypes.create_string_buffer(64)
    lib.VLR_getversionstring(len(buf), buf)
    return buf.value.decode()


__all__ = ["Env", "Task", "Solution", "LinearProblem", "VelorError", "linprog", "METHODS",
           "INFINITY", "codename", "const", "version"]
