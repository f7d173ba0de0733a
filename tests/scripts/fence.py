#!/usr/bin/env python3
# tests/scripts/fence.py: every function velor.h exports runs its body inside the exception fence,
# and every one that changes a task refuses while an optimizer runs on it.
# SPDX-License-Identifier: Apache-2.0
"""Usage: fence.py ROOT

A definition passes when its body starts with `return vlr::api_guard...(` (or the pointer and
void forms), when a variadic body opens its argument list and then enters the fence, or when the
whole body is one `return VLR_x(...)` that hands the call to another exported function. A call
that changes a task (a name below CHANGES, taking a task first) must also name the refusal:
VLR_PUTPROLOGUE, VLR_TASK_PUTPROLOGUE or VLR_checktaskidle. Exits 1 and lists each failure."""

import glob
import os
import re
import sys

CHANGES = re.compile(r"^VLR_(put|append|remove|chg|input|read|resize|optimize|undef|commit|"
                     r"deletesolution|deletetask|setdefaults|copyparam|makesolutionstatusunknown)")
# Changes of how a task talks to its caller, and reports: allowed from a callback.
CALLER_LINKS = {"VLR_putcallbackfunc", "VLR_putresponsefunc", "VLR_readsummary",
                "VLR_optimizersummary"}
IDLE_MARKS = ("VLR_PUTPROLOGUE", "VLR_TASK_PUTPROLOGUE", "VLR_checktaskidle")
FENCES = ("return vlr::api_guard(", "return vlr::api_guardval<", "vlr::api_guardvoid(")


def exported(header):
    text = open(header).read()
    decls = re.findall(r"VLR_API\s+([\w\s\*]+?)\b(VLR_\w+)\s*\(\s*(\w+)\s*(\*?)", text)
    return {name: (first, star) for _, name, first, star in decls}


def definitions(root, names):
    found = {}
    for path in sorted(glob.glob(os.path.join(root, "src", "**", "*.cpp"), recursive=True)):
        lines = open(path).read().split("\n")
        for i, line in enumerate(lines):
            m = re.match(r"^[\w\*]+\s+\**(VLR_\w+)\(", line)
            if not m or m.group(1) not in names:
                continue
            j = i
            while not lines[j].rstrip().endswith("{"):
                j += 1
            k = j + 1
            while lines[k] != "}":
                k += 1
            found[m.group(1)] = (path, i + 1, [l.strip() for l in lines[j + 1:k]])
    return found


def fenced(body, names):
    if not body:
        return False
    if any(body[0].startswith(f) for f in FENCES):
        return True
    # One statement that hands the call on to another exported function.
    m = re.match(r"(?:return )?(VLR_\w+)\(", body[0])
    if m and m.group(1) in names and "".join(body).count(";") == 1:
        return True
    # A variadic body opens its list first; the fence comes right after.
    if body[0] == "va_list ap;" and len(body) > 2 and "api_guard" in body[2]:
        return True
    return False


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else "."
    names = exported(os.path.join(root, "include", "velor.h"))
    defs = definitions(root, names)
    failures = []
    for name in sorted(names):
        if name not in defs:
            failures.append(f"{name}: declared in velor.h, no definition found under src/")
            continue
        path, line, body = defs[name]
        where = f"{os.path.relpath(path, root)}:{line}: {name}"
        if not fenced(body, names):
            failures.append(f"{where}: body does not enter the fence (vlr::api_guard)")
        first, star = names[name]
        # A body that hands the work to another exported call that changes the task is refused
        # there.
        text = "\n".join(body)
        delegates = any(re.search(rf"\b{other}\(", text) for other in names
                        if other != name and CHANGES.match(other))
        if (CHANGES.match(name) and first == "VLRtask_t" and name not in CALLER_LINKS and
                not delegates and not any(m in text for m in IDLE_MARKS)):
            failures.append(f"{where}: changes the task but is not refused while an optimizer runs")
    for f in failures:
        print(f)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
