#!/usr/bin/env python3
# tools/gentables.py: writes the constants, code, parameter, information-item and symbol tables
# of the interface from the data files in tools/tables/.
# SPDX-License-Identifier: Apache-2.0
"""Generate the vocabulary of the interface from tools/tables/*.txt.

Outputs:
  include/velor.h            the block between BEGIN/END GENERATED CONSTANTS and the block of
                             name-to-value declarations between BEGIN/END GENERATED NAMETOVALUE
  src/velor/tables.h         the block of enumeration indices between BEGIN/END GENERATED
  src/velor/rescodetab.cpp   response codes
  src/velor/partab.cpp       parameter names, kinds, defaults and limits
  src/velor/inftab.cpp       information item and callback code names
  src/velor/symcontab.cpp    enumerations, the table of all symbolic constants, and the
                             exported <enum>nametovalue functions
  src/velor/privinf.h        the indices of the private information items

Usage: gentables.py [--root DIR] [--check]
  --check  write nothing; exit 1 and name each output that differs from what would be written.
"""

import argparse
import os
import re
import sys

INT32_MIN = -(2**31)
INT32_MAX = 2**31 - 1
INFINITY_TEXT = "1.0e30"

KINDS = {"lower": "kParLower", "upper": "kParUpper", "free": "kParFree", "range": "kParRange"}


class TableError(Exception):
    pass


class Enum:
    """One enumeration: type name, prefix after "VLR_", and (full name, value) pairs."""

    def __init__(self, name, prefix, where):
        self.name = name
        self.prefix = prefix
        self.where = where
        self.values = []

    def add(self, full, value, where):
        head = "VLR_" + self.prefix
        if not full.startswith(head) or len(full) == len(head):
            raise TableError(f"{where}: {full} does not start with {head} plus a name")
        self.values.append((full, value))

    @property
    def short_type(self):
        return self.name[len("VLR_"):]

    @property
    def index_name(self):
        return "kEnum" + self.short_type[0].upper() + self.short_type[1:]

    def short(self, full):
        return full[len("VLR_" + self.prefix):]


# ---- Reading ---------------------------------------------------------------------------------


def data_lines(path):
    """Yields (line number, text) of the lines that are not blank or comments; a '#' after
    the data starts a trailing comment unless it is inside quotes."""
    with open(path, encoding="utf-8") as f:
        for num, raw in enumerate(f, 1):
            text = raw.rstrip("\n")
            if not text.strip() or text.lstrip().startswith("#"):
                continue
            yield num, strip_comment(text).rstrip()


def strip_comment(text):
    quoted = False
    for i, c in enumerate(text):
        if c == '"':
            quoted = not quoted
        elif c == "#" and not quoted:
            return text[:i]
    return text


def parse_enum_head(text, where):
    parts = text.split()
    if len(parts) != 3 or parts[0] != "enum":
        raise TableError(f"{where}: expected 'enum <type> <prefix>'")
    prefix = "" if parts[2] == "-" else parts[2]
    return Enum(parts[1], prefix, where)


def read_enums(path):
    enums = []
    cur = None
    for num, text in data_lines(path):
        where = f"{os.path.basename(path)}:{num}"
        if text.startswith("enum "):
            cur = parse_enum_head(text, where)
            enums.append(cur)
            continue
        parts = text.split()
        if cur is None or len(parts) != 2:
            raise TableError(f"{where}: expected '<name> <value>' inside an enumeration")
        cur.add(parts[0], int(parts[1]), where)
    return enums


def read_list(path):
    """An enumeration whose values are the positions of its names."""
    lines = list(data_lines(path))
    if not lines:
        raise TableError(f"{path}: empty")
    num, text = lines[0]
    e = parse_enum_head(text, f"{os.path.basename(path)}:{num}")
    for num, text in lines[1:]:
        parts = text.split()
        if len(parts) != 1:
            raise TableError(f"{os.path.basename(path)}:{num}: expected one name")
        e.add(parts[0], len(e.values), f"{os.path.basename(path)}:{num}")
    return e


QUOTED = re.compile(r'"((?:[^"\\]|\\.)*)"')


def unquote(text, where):
    m = QUOTED.fullmatch(text)
    if not m:
        raise TableError(f"{where}: expected a quoted string, got {text!r}")
    return re.sub(r"\\(.)", r"\1", m.group(1))


def read_rescodes(path):
    lines = list(data_lines(path))
    num, text = lines[0]
    e = parse_enum_head(text, f"{os.path.basename(path)}:{num}")
    codes = []
    line_re = re.compile(r'(-?\d+)\s+(\S+)\s+("(?:[^"\\]|\\.)*")\s+(same|"(?:[^"\\]|\\.)*")$')
    for num, text in lines[1:]:
        where = f"{os.path.basename(path)}:{num}"
        m = line_re.match(text)
        if not m:
            raise TableError(f"{where}: expected '<code> <name> \"<desc>\" \"<msg>\"|same'")
        code, name = int(m.group(1)), m.group(2)
        desc = unquote(m.group(3), where)
        msg = desc if m.group(4) == "same" else unquote(m.group(4), where)
        e.add(name, code, where)
        codes.append((code, name, desc, msg))
    return e, codes


def read_params(path, has_values):
    lines = list(data_lines(path))
    num, text = lines[0]
    e = parse_enum_head(text, f"{os.path.basename(path)}:{num}")
    params = []
    for num, text in lines[1:]:
        where = f"{os.path.basename(path)}:{num}"
        parts = text.split()
        want = 6 if has_values else 5
        if len(parts) != want:
            raise TableError(f"{where}: expected {want} fields")
        name, dflt, kind, lo, hi = parts[:5]
        if kind not in KINDS:
            raise TableError(f"{where}: unknown kind {kind}")
        values = parts[5] if has_values and parts[5] != "-" else None
        e.add(name, len(e.values), where)
        params.append({"name": name, "dflt": dflt, "kind": kind, "min": lo, "max": hi,
                       "values": values, "where": where})
    return e, params


def read_strparams(path):
    lines = list(data_lines(path))
    num, text = lines[0]
    e = parse_enum_head(text, f"{os.path.basename(path)}:{num}")
    params = []
    for num, text in lines[1:]:
        where = f"{os.path.basename(path)}:{num}"
        name, _, rest = text.partition(" ")
        e.add(name, len(e.values), where)
        params.append((name, unquote(rest.strip(), where)))
    return e, params


def read_privinf(path):
    items = {"dou": [], "int": [], "lint": []}
    for num, text in data_lines(path):
        where = f"{os.path.basename(path)}:{num}"
        parts = text.split()
        if len(parts) != 2 or parts[0] not in items or not re.fullmatch(r"[A-Z][A-Z0-9_]*", parts[1]):
            raise TableError(f"{where}: expected '<dou|int|lint> <NAME>'")
        items[parts[0]].append(parts[1])
    return items


# ---- Checks ----------------------------------------------------------------------------------


def order_key(name):
    """Alphabetical with '_' before every letter and digit, the order of the parameter tables."""
    return [(0, c) if c == "_" else (1, c) for c in name]


def check_sorted(e):
    names = [n for n, _ in e.values]
    for a, b in zip(names, names[1:]):
        if order_key(a) >= order_key(b):
            raise TableError(f"{e.where}: {b} is out of order after {a}")


def int_limit(text, where):
    if text == "+inf":
        return INT32_MAX
    if text == "-inf":
        return INT32_MIN
    try:
        return int(text)
    except ValueError:
        raise TableError(f"{where}: {text!r} is not an integer") from None


def dou_limit(text, where):
    if text in ("+inf", "-inf"):
        return float(text[0] + INFINITY_TEXT)
    try:
        return float(text)
    except ValueError:
        raise TableError(f"{where}: {text!r} is not a number") from None


def cxx_double(text):
    if text in ("+inf", "-inf"):
        return ("-" if text[0] == "-" else "") + INFINITY_TEXT
    return text if re.search(r"[.eE]", text) else text + ".0"


def cxx_int(value):
    if value == INT32_MAX:
        return "INT32_MAX"
    if value == INT32_MIN:
        return "INT32_MIN"
    return str(value)


def cstr(s):
    return '"' + s.replace("\\", "\\\\").replace('"', '\\"') + '"'


def cstr_wrapped(s, indent, width=100):
    """A string literal that fits the width, as adjacent literals cut after blanks, on lines
    indented by `indent`; the last line leaves room for a closing "},"."""
    room = width - indent - 4
    pieces = []
    while len(cstr(s)) > room:
        cut = s.rfind(" ", 0, room - 2)
        if cut <= 0:
            break
        pieces.append(s[:cut + 1])
        s = s[cut + 1:]
    pieces.append(s)
    return ("\n" + " " * indent).join(cstr(p) for p in pieces)


class Tables:
    def __init__(self, root):
        t = os.path.join(root, "tools", "tables")
        self.small = read_enums(os.path.join(t, "enums.txt"))
        self.res_enum, self.rescodes = read_rescodes(os.path.join(t, "rescodes.txt"))
        self.ipar_enum, self.ipar = read_params(os.path.join(t, "iparams.txt"), True)
        self.dpar_enum, self.dpar = read_params(os.path.join(t, "dparams.txt"), False)
        self.spar_enum, self.spar = read_strparams(os.path.join(t, "sparams.txt"))
        self.dinf = read_list(os.path.join(t, "dinfitems.txt"))
        self.iinf = read_list(os.path.join(t, "iinfitems.txt"))
        self.liinf = read_list(os.path.join(t, "liinfitems.txt"))
        self.cb = read_list(os.path.join(t, "callbacks.txt"))
        self.priv = read_privinf(os.path.join(t, "privinf.txt"))
        big = [self.res_enum, self.ipar_enum, self.dpar_enum, self.spar_enum,
               self.dinf, self.iinf, self.liinf, self.cb]
        self.enums = sorted(self.small + big, key=lambda e: e.name)
        self.check()

    def enum(self, name):
        for e in self.enums:
            if e.name == name:
                return e
        raise KeyError(name)

    def check(self):
        seen_types = set()
        symbols = {}
        for e in self.enums:
            if e.name in seen_types:
                raise TableError(f"{e.where}: enumeration {e.name} defined twice")
            seen_types.add(e.name)
            for full, value in e.values:
                if full in symbols:
                    raise TableError(f"{e.where}: {full} is also in {symbols[full]}")
                symbols[full] = e.name
                if not INT32_MIN <= value <= INT32_MAX:
                    raise TableError(f"{e.where}: {full} is out of the int32 range")
        codes = [c for c, _, _, _ in self.rescodes]
        if codes != sorted(set(codes)):
            raise TableError("rescodes.txt: codes must be unique and ascending")
        for e in (self.ipar_enum, self.dpar_enum, self.spar_enum, self.dinf, self.iinf,
                  self.liinf, self.cb):
            check_sorted(e)
        for p in self.ipar:
            self.resolve_ipar(p)
        for p in self.dpar:
            lo, hi = dou_limit(p["min"], p["where"]), dou_limit(p["max"], p["where"])
            dou_limit(p["dflt"], p["where"])
            if lo > hi:
                raise TableError(f"{p['where']}: minimum above maximum")
        for kind, names in self.priv.items():
            if len(set(names)) != len(names) or not names:
                raise TableError(f"privinf.txt: {kind} items must be unique and not empty")

    def resolve_ipar(self, p):
        where = p["where"]
        lo, hi = int_limit(p["min"], where), int_limit(p["max"], where)
        if lo > hi:
            raise TableError(f"{where}: minimum above maximum")
        venum = self.enum(p["values"]) if p["values"] else None
        dflt = p["dflt"]
        if re.fullmatch(r"-?\d+", dflt):
            value = int(dflt)
        else:
            if venum is None or dflt not in dict(venum.values):
                raise TableError(f"{where}: default {dflt} is not a value of {p['values']}")
            value = dict(venum.values)[dflt]
        return value, lo, hi, venum


# ---- Writing ---------------------------------------------------------------------------------

HEAD_NOTE = "// Generated by tools/gentables.py from tools/tables/; edit the tables, not this file."


def file_head(path, purpose):
    return f"// {path}: {purpose}\n// SPDX-License-Identifier: Apache-2.0\n{HEAD_NOTE}\n"


def gen_constants(t):
    out = ["/* clang-format off */",
           "#define VLR_INFINITY 1.0e30",
           ""]
    for e in t.enums:
        width = max(len(n) for n, _ in e.values)
        out.append(f"enum {e.name}_enum {{")
        for full, value in e.values:
            out.append(f"  {full:<{width}} = {value},")
        out.append("};")
        out.append(f"typedef int32_t {e.name};")
        out.append("")
    out.append("/* clang-format on */")
    return "\n".join(out) + "\n"


def example(e):
    return e.values[0][0]


def gen_nametovalue_decls(t):
    out = ["/* clang-format off */"]
    out += ["/// The name-to-value functions, one for each enumeration. Each looks up a symbolic",
            '/// name such as "VLR_BK_LO": it must be "VLR_", the prefix of the enumeration and',
            "/// one of its value names, exactly. They return 1 and set *value (when value is not",
            "/// null) if the name is found, otherwise 0: a truth value, not a response code.",
            "/// The name is borrowed; a null name is not found.", ""]
    for e in t.enums:
        out.append(f'/// The value of a name of {e.name}, such as "{example(e)}".')
        out.append("/// @param name  the symbolic name; borrowed")
        out.append("/// @param value receives the value; may be null")
        decl = f"VLR_API int32_t {e.name}nametovalue(const char* name, {e.name}* value);"
        if len(decl) > 100:
            decl = (f"VLR_API int32_t {e.name}nametovalue(const char* name,\n" +
                    " " * len(f"VLR_API int32_t {e.name}nametovalue(") + f"{e.name}* value);")
        out.append(decl)
    out.append("/* clang-format on */")
    return "\n".join(out) + "\n"


def gen_enum_index(t):
    out = ["// clang-format off",
           "// Positions of the enumerations in kEnums, in the order of their type names.",
           "enum EnumIndex : int32_t {"]
    width = max(len(e.index_name) for e in t.enums)
    for i, e in enumerate(t.enums):
        out.append(f"  {e.index_name:<{width}} = {str(i) + ',':<3}  // {e.name}")
    out.append("};")
    out.append(f"constexpr int32_t kNumEnumIndex = {len(t.enums)};")
    out.append("// clang-format on")
    return "\n".join(out) + "\n"


def gen_rescodetab(t):
    out = [file_head("src/velor/rescodetab.cpp",
                     "the response codes with their descriptions and message formats."),
           '#include "velor/tables.h"', "", "namespace vlr {", "", "// clang-format off",
           "const ResCodeInfo kResCodes[] = {"]
    for code, name, desc, msg in t.rescodes:
        out.append(f"    {{{code}, {cstr(name)},\n     {cstr_wrapped(desc, 5)},\n"
                   f"     {cstr_wrapped(msg, 5)}}},")
    out += ["};", "// clang-format on",
            f"const int32_t kNumResCodes = {len(t.rescodes)};", "", "}  // namespace vlr", ""]
    return "\n".join(out)


def gen_partab(t):
    out = [file_head("src/velor/partab.cpp",
                     "names, kinds, defaults and limits of all parameters."),
           "#include <cstdint>", "", '#include "velor.h"', '#include "velor/tables.h"', "",
           "namespace vlr {", "", "// clang-format off", "const IntParInfo kIntParams[] = {"]
    for p in t.ipar:
        value, lo, hi, venum = t.resolve_ipar(p)
        venum_text = venum.index_name if venum else "-1"
        # A symbolic default is written by its name, which the compiler then checks.
        dflt = str(value) if re.fullmatch(r"-?\d+", p["dflt"]) else p["dflt"]
        line = (f"    {{{cstr(p['name'])}, {KINDS[p['kind']]}, {dflt}, {cxx_int(lo)}, "
                f"{cxx_int(hi)}, {venum_text}}},")
        if len(line) > 100:
            line = line.replace(", ", ",\n     ", 1)
        out.append(line)
    out += ["};", "", "const DouParInfo kDouParams[] = {"]
    for p in t.dpar:
        out.append(f"    {{{cstr(p['name'])}, {KINDS[p['kind']]}, {cxx_double(p['dflt'])}, "
                   f"{cxx_double(p['min'])}, {cxx_double(p['max'])}}},")
    out += ["};", "", "const StrParInfo kStrParams[] = {"]
    for name, dflt in t.spar:
        out.append(f"    {{{cstr(name)}, {cstr(dflt)}}},")
    out += ["};", "// clang-format on", "",
            f"const int32_t kNumIntParams = {len(t.ipar)};",
            f"const int32_t kNumDouParams = {len(t.dpar)};",
            f"const int32_t kNumStrParams = {len(t.spar)};", "", "}  // namespace vlr", ""]
    return "\n".join(out)


def name_array(decl, names):
    out = [f"{decl} = {{"]
    out += [f"    {cstr(n)}," for n in names]
    out.append("};")
    return out


PRIV_PREFIX = {"dou": "VLR_DINF_PRIVATE_", "int": "VLR_IINF_PRIVATE_",
               "lint": "VLR_LIINF_PRIVATE_"}


def gen_inftab(t):
    out = [file_head("src/velor/inftab.cpp",
                     "names of the information items and callback codes."),
           '#include "velor/tables.h"', "", "namespace vlr {", "", "// clang-format off"]
    for arr, e in (("kDouInfNames", t.dinf), ("kIntInfNames", t.iinf),
                   ("kLintInfNames", t.liinf), ("kCallbackNames", t.cb)):
        out += name_array(f"const char* const {arr}[]", [n for n, _ in e.values]) + [""]
    for arr, kind in (("kPrivDouInfNames", "dou"), ("kPrivIntInfNames", "int"),
                      ("kPrivLintInfNames", "lint")):
        out += name_array(f"const char* const {arr}[]",
                          [PRIV_PREFIX[kind] + n for n in t.priv[kind]]) + [""]
    out += ["// clang-format on",
            f"const int32_t kNumDouInf = {len(t.dinf.values)};",
            f"const int32_t kNumIntInf = {len(t.iinf.values)};",
            f"const int32_t kNumLintInf = {len(t.liinf.values)};",
            f"const int32_t kNumCallbackCodes = {len(t.cb.values)};",
            f"const int32_t kNumPrivDouInf = {len(t.priv['dou'])};",
            f"const int32_t kNumPrivIntInf = {len(t.priv['int'])};",
            f"const int32_t kNumPrivLintInf = {len(t.priv['lint'])};", "",
            "}  // namespace vlr", ""]
    return "\n".join(out)


def values_array(e):
    s = e.short_type
    return "k" + s[0].upper() + s[1:] + "Values"


def gen_symcontab(t):
    out = [file_head("src/velor/symcontab.cpp",
                     "enumerations, all symbolic constants, name-to-value lookups."),
           '#include "velor.h"', '#include "velor/tables.h"', '#include "velor/task.h"', "",
           "namespace vlr {", "", "// clang-format off", "namespace {", ""]
    for e in t.enums:
        out.append(f"const EnumValue {values_array(e)}[] = {{")
        out += [f"    {{{cstr(e.short(n))}, {v}}}," for n, v in e.values]
        out += ["};", ""]
    out += ["}  // namespace", "", "const EnumInfo kEnums[] = {"]
    for e in t.enums:
        out.append(f"    {{{cstr(e.name)}, {cstr(e.prefix)}, {values_array(e)}, "
                   f"{len(e.values)}}},")
    out += ["};", f"const int32_t kNumEnums = {len(t.enums)};", "",
            "// Sorted by strcmp of the names, for binary search.",
            "const SymCon kSymCons[] = {"]
    allsym = sorted((n, v) for e in t.enums for n, v in e.values)
    out += [f"    {{{cstr(n)}, {v}}}," for n, v in allsym]
    out += ["};", f"const int32_t kNumSymCons = {len(allsym)};", "// clang-format on", "",
            "}  // namespace vlr", "", "// clang-format off"]
    for e in t.enums:
        out.append(f"int32_t {e.name}nametovalue(const char* name, {e.name}* value) {{")
        out.append("  return vlr::api_guard(")
        out.append(f"      [&] {{ return vlr::VLR_enumnametovalue(vlr::{e.index_name}, name, "
                   "value); });")
        out.append("}")
    out += ["// clang-format on", ""]
    return "\n".join(out)


def gen_privinf(t):
    out = [file_head("src/velor/privinf.h",
                     "indices of the private information items of a task."),
           "#pragma once", "", "#include <cstdint>", "", "namespace vlr {", ""]
    for kind, ename, pre in (("dou", "PrivDouInf", "kPdinf"), ("int", "PrivIntInf", "kPiinf"),
                             ("lint", "PrivLintInf", "kPliinf")):
        out.append(f"enum {ename} : int32_t {{")
        for i, n in enumerate(t.priv[kind]):
            camel = "".join(w.capitalize() for w in n.lower().split("_"))
            out.append(f"  {pre}{camel} = {i},")
        out += ["};", ""]
    out += ["}  // namespace vlr", ""]
    return "\n".join(out)


def replace_block(text, begin, end, body, path):
    """Replaces what lies between the line that starts with `begin` and the line `end`."""
    i = text.find(begin)
    if i < 0:
        raise TableError(f"{path}: no line starting with {begin!r}")
    i = text.index("\n", i) + 1
    j = text.find(end, i)
    if j < 0:
        raise TableError(f"{path}: no {end!r} after {begin!r}")
    return text[:i] + body + text[j:]


BLOCKS = {
    "include/velor.h": [("/* BEGIN GENERATED CONSTANTS", "/* END GENERATED CONSTANTS */",
                         gen_constants),
                        ("/* BEGIN GENERATED NAMETOVALUE", "/* END GENERATED NAMETOVALUE */",
                         gen_nametovalue_decls)],
    "src/velor/tables.h": [("// BEGIN GENERATED ENUM INDEX", "// END GENERATED ENUM INDEX",
                            gen_enum_index)],
}
FILES = {
    "src/velor/rescodetab.cpp": gen_rescodetab,
    "src/velor/partab.cpp": gen_partab,
    "src/velor/inftab.cpp": gen_inftab,
    "src/velor/symcontab.cpp": gen_symcontab,
    "src/velor/privinf.h": gen_privinf,
}


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("--root", default=os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    ap.add_argument("--check", action="store_true", help="compare only; exit 1 on a difference")
    args = ap.parse_args()
    try:
        t = Tables(args.root)
        stale = []
        for rel, blocks in BLOCKS.items():
            path = os.path.join(args.root, rel)
            # Read, replace and write at once: other parts of these files are edited by hand.
            with open(path, encoding="utf-8") as f:
                old = f.read()
            new = old
            for begin, end, gen in blocks:
                new = replace_block(new, begin, end, gen(t), rel)
            if new != old:
                stale.append(rel)
                if not args.check:
                    with open(path, "w", encoding="utf-8") as f:
                        f.write(new)
        for rel, gen in FILES.items():
            path = os.path.join(args.root, rel)
            new = gen(t)
            old = open(path, encoding="utf-8").read() if os.path.exists(path) else None
            if new != old:
                stale.append(rel)
                if not args.check:
                    with open(path, "w", encoding="utf-8") as f:
                        f.write(new)
    except (TableError, OSError, KeyError) as err:
        print(f"gentables: {err}", file=sys.stderr)
        return 2
    if args.check and stale:
        for rel in stale:
            print(f"gentables: {rel} is not up to date with tools/tables/", file=sys.stderr)
        print("gentables: run python3 tools/gentables.py", file=sys.stderr)
        return 1
    if not args.check:
        print(f"gentables: {len(stale)} file(s) written" if stale else "gentables: up to date")
    return 0


if __name__ == "__main__":
    sys.exit(main())
