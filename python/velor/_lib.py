# python/velor/_lib.py: find and load libvelor.so, declare the C calls the package makes, and
# turn response codes into exceptions.
# SPDX-License-Identifier: Apache-2.0
import ctypes
import ctypes.util
import os
import pathlib

INFINITY = 1.0e30  # the library's infinite bound
MAX_STR_LEN = 1024  # capacity of every text buffer the library fills

_NAMES = ("libvelor.so", "libvelor.so.6")


def _candidates():
    """Paths to try, in order: VELOR_LIBRARY (a file or a directory), the package's own
    directory and its parents (the library installed beside the package), then the build trees
    of a source checkout."""
    given = os.environ.get("VELOR_LIBRARY")
    if given:
        p = pathlib.Path(given)
        if p.is_dir():
            yield from (p / n for n in _NAMES)
        else:
            yield p
        return
    here = pathlib.Path(__file__).resolve().parent
    for d in [here, *here.parents[:4]]:
        yield from (d / n for n in _NAMES)
    root = here.parent.parent  # python/velor -> the source tree
    for build in ("build/release", "build/dev", "build"):
        yield from (root / build / n for n in _NAMES)


def _load():
    tried = []
    for p in _candidates():
        tried.append(str(p))
        if p.is_file():
            return ctypes.CDLL(str(p))
    if not os.environ.get("VELOR_LIBRARY"):
        found = ctypes.util.find_library("velor")
        if found:
            return ctypes.CDLL(found)
    raise ImportError(
        "velor: libvelor.so not found; build it (sh tools/setup.sh) or set VELOR_LIBRARY to "
        "its path. Tried: " + ", ".join(tried))


lib = _load()

_i32 = ctypes.c_int32
_i64 = ctypes.c_int64
_dbl = ctypes.c_double
_ptr = ctypes.c_void_p
_str = ctypes.c_char_p
_pi32 = ctypes.POINTER(_i32)
_pdbl = ctypes.POINTER(_dbl)

STREAMFUNC = ctypes.CFUNCTYPE(None, _ptr, _str)

# Argument types of every call the package makes; all return a response code.
_PROTOTYPES = {
    "VLR_makeenv": [ctypes.POINTER(_ptr), _ptr, _ptr, _ptr, _str],
    "VLR_initenv": [_ptr],
    "VLR_deleteenv": [ctypes.POINTER(_ptr)],
    "VLR_maketask": [_ptr, _i32, _i32, ctypes.POINTER(_ptr)],
    "VLR_deletetask": [ctypes.POINTER(_ptr)],
    "VLR_getversionstring": [_i32, _str],
    "VLR_getcodedesc": [_i32, _str, _str],
    "VLR_getlasterror": [_ptr, _pi32, _i32, _pi32, _str],
    "VLR_symnamtovalue": [_str, _str],
    "VLR_whichparam": [_ptr, _str, _pi32, _pi32],
    "VLR_putintparam": [_ptr, _i32, _i32],
    "VLR_getintparam": [_ptr, _i32, _pi32],
    "VLR_putdouparam": [_ptr, _i32, _dbl],
    "VLR_getdouparam": [_ptr, _i32, _pdbl],
    "VLR_putstrparam": [_ptr, _i32, _str],
    "VLR_getstrparam": [_ptr, _i32, _i32, _pi32, _str],
    "VLR_putparam": [_ptr, _str, _str],
    "VLR_getnadouinf": [_ptr, _str, _pdbl],
    "VLR_getnaintinf": [_ptr, _str, _pi32],
    "VLR_linkfunctotaskstream": [_ptr, _i32, _ptr, STREAMFUNC],
    "VLR_unlinkfuncfromtaskstream": [_ptr, _i32],
    "VLR_readdata": [_ptr, _str],
    "VLR_writedata": [_ptr, _str],
    "VLR_writesolution": [_ptr, _i32, _str],
    "VLR_readsolution": [_ptr, _i32, _str],
    "VLR_readparamfile": [_ptr],
    "VLR_writeparamfile": [_ptr, _str],
    "VLR_inputdata": [_ptr, _i32, _i32, _i32, _i32, _pdbl, _dbl, _pi32, _pi32, _pi32, _pdbl,
                      _pi32, _pdbl, _pdbl, _pi32, _pdbl, _pdbl],
    "VLR_putobjsense": [_ptr, _i32],
    "VLR_getobjsense": [_ptr, _pi32],
    "VLR_getnumcon": [_ptr, _pi32],
    "VLR_getnumvar": [_ptr, _pi32],
    "VLR_getnumanz": [_ptr, _pi32],
    "VLR_getcslice": [_ptr, _i32, _i32, _pdbl],
    "VLR_getcfix": [_ptr, _pdbl],
    "VLR_getboundslice": [_ptr, _i32, _i32, _i32, _pi32, _pdbl, _pdbl],
    "VLR_getaslice": [_ptr, _i32, _i32, _i32, _i32, _pi32, _pi32, _pi32, _pi32, _pdbl],
    "VLR_optimizetrm": [_ptr, _pi32],
    "VLR_solutiondef": [_ptr, _i32, _pi32],
    "VLR_getsolutionstatus": [_ptr, _i32, _pi32, _pi32],
    "VLR_getsolutionslice": [_ptr, _i32, _i32, _i32, _i32, _pdbl],
    "VLR_getsolutionstatuskeyslice": [_ptr, _i32, _i32, _i32, _i32, _pi32],
    "VLR_getprimalobj": [_ptr, _i32, _pdbl],
    "VLR_getdualobj": [_ptr, _i32, _pdbl],
    "VLR_solstatostr": [_ptr, _i32, _str],
    "VLR_prostatostr": [_ptr, _i32, _str],
}
for _name, _args in _PROTOTYPES.items():
    _f = getattr(lib, _name)
    _f.argtypes = _args
    _f.restype = _i32


def const(name):
    """The value of one of the library's symbolic constants, e.g. const("VLR_SOL_BAS")."""
    buf = ctypes.create_string_buffer(MAX_STR_LEN)
    if lib.VLR_symnamtovalue(name.encode(), buf) != 1:
        raise KeyError(name)
    return int(buf.value)


def codename(code):
    """The symbolic name of a response code, e.g. "VLR_RES_ERR_FILE_OPEN"."""
    name = ctypes.create_string_buffer(MAX_STR_LEN)
    lib.VLR_getcodedesc(code, name, None)
    return name.value.decode()


class VelorError(RuntimeError):
    """A call of the library that failed: the response code, its symbolic name and the
    library's message."""

    def __init__(self, code, message=""):
        self.code = code
        self.name = codename(code)
        self.message = message
        super().__init__(f"{self.name} ({code}): {message}" if message else
                         f"{self.name} ({code})")


def check_env(code):
    """Raises VelorError for a failed call that has no task to tell its message."""
    if code != 0:
        desc = ctypes.create_string_buffer(MAX_STR_LEN)
        lib.VLR_getcodedesc(code, None, desc)
        raise VelorError(code, desc.value.decode(errors="replace"))


def check_task(task, code):
    """Raises VelorError for a failed call on a task, with the task's last message."""
    if code != 0:
        msg = ctypes.create_string_buffer(MAX_STR_LEN)
        last = _i32(0)
        lib.VLR_getlasterror(task, ctypes.byref(last), MAX_STR_LEN, None, msg)
        text = msg.value.decode(errors="replace") if last.value == code else ""
        if not text:
            check_env(code)
        raise VelorError(code, text)
