// src/velor/mpswrite.cpp: the MPS writer: fixed-column sections, one entry a line, integrality
// in BOUNDS, Q and cone sections, the parameter comment block, and the number text of writers.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "velor/datafile.h"
#include "velor/probdata.h"
#include "velor/tables.h"

namespace vlr {

namespace {

struct MpsWriter {
  Task* task;
  SysFile* f;
  int32_t generic;
  int32_t prec;
  int32_t io;      // first generic index
  bool freecon;    // free constraints are written as N rows
  bool intbounds;  // integrality goes to BOUNDS
  char* nb[3];     // [namecap] each: the texts of up to three names used at once
  bool quoted;     // VLR_IPAR_WRITE_MPS_QUOTED_NAMES in effect (never in the strict form)
  bool fixed;      // every name fits its eight columns: the file reads in the fixed form
  int64_t namecap;
  const char* objname;
  int32_t res;  // first failure of a name
};

void wr_printf(MpsWriter* w, const char* format, ...) VLR_PRINTF(2, 3);
void wr_printf(MpsWriter* w, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  VLR_sysenv_vfprintf(w->f, format, ap);  // a failure is sticky and shows at the close
  va_end(ap);
}

// Whether a name can be written so that it reads back as itself. Lines end at a line feed, so a
// tab, a line end or another control character in a name is refused, as is the empty name. In
// free form blanks separate fields; a name with a blank reads back only from the fixed form,
// when every name of the file fits its eight columns and the blank is not a trailing one (fixed
// fields drop trailing blanks), and only when quoted names are off: with them on, the writer's
// rule refuses a blank name (and the quotes it would put around one that holds a double quote
// could not be read back: the reader has no escape for it). A name that begins with a double
// quote would be taken for a quoted one by a free-form reader, and is refused.
bool wr_writablename(const MpsWriter* w, const char* name) {
  if (name[0] == '\0' || name[0] == '"') return false;
  bool blank = false;
  size_t n = 0;
  for (const char* p = name; *p != '\0'; ++p, ++n) {
    const auto c = static_cast<unsigned char>(*p);
    if (c < 0x20 || c == 0x7f) return false;
    blank = blank || c == ' ';
  }
  if (!blank) return true;
  return !w->quoted && w->fixed && name[n - 1] != ' ';
}

// The name written for item i of a kind (0 variable, 1 constraint, 2 cone), made in name buffer
// `slot`; a name that cannot be written records VLR_RES_ERR_WRITE_MPS_INVALID_NAME.
const char* VLR_getmpsname(MpsWriter* w, int32_t kind, int32_t i, int32_t slot) {
  static const char kPrefix[3] = {'x', 'c', 'k'};
  char* buf = w->nb[slot];
  if (w->generic) {
    std::snprintf(buf, 32, "%c%lld", kPrefix[kind], static_cast<long long>(i) + w->io);
    return buf;
  }
  const TaskData* d = w->task->data;
  const int64_t off = d->names[kind].off[i];
  const char* name = off != 0 ? d->namepool + off : "";
  if (!wr_writablename(w, name) && w->res == VLR_RES_OK) {
    w->res = VLR_RAISE(w->task, VLR_RES_ERR_WRITE_MPS_INVALID_NAME, name);
  }
  return name;
}

const char* wr_num(const MpsWriter* w, double x, char* buf) {
  VLR_realtostr(x, w->prec, buf, 64);
  return buf;
}

void wr_head(MpsWriter* w) {
  Task* task = w->task;
  if (w->generic || task->name == nullptr || task->name[0] == '\0') {
    wr_printf(w, "NAME\n");
  } else {
    wr_printf(w, "%-14s %-s\n", "NAME", task->name);
  }
  wr_printf(w, "* Written by VELOR version %d.%d.%d.%d\n", kVersionMajor, kVersionMinor,
            kVersionBuild, kVersionRevision);
  const int32_t sense = task->data->objsense;
  if (VLRP_getintparam(task, VLR_IPAR_WRITE_MPS_OBJ_SENSE) == 0) {
    wr_printf(w, "* Objective sense: %s",
              sense == VLR_OBJECTIVE_SENSE_MAXIMIZE   ? " maximize\n"
              : sense == VLR_OBJECTIVE_SENSE_MINIMIZE ? "minimize\n"
                                                      : "undefined\n");
  } else if (sense == VLR_OBJECTIVE_SENSE_MAXIMIZE || sense == VLR_OBJECTIVE_SENSE_MINIMIZE) {
    wr_printf(w, "OBJSENSE\n%4s%s\n", "", sense == VLR_OBJECTIVE_SENSE_MAXIMIZE ? "MAX" : "MIN");
  }
}

bool wr_conwritten(const MpsWriter* w, int32_t i) {
  return w->freecon || w->task->data->bkc[i] != VLR_BK_FR;
}

void wr_rows(MpsWriter* w) {
  const TaskData* d = w->task->data;
  wr_printf(w, "ROWS\n N  %-s\n", w->objname);
  for (int32_t i = 0; i < d->numcon; ++i) {
    if (!wr_conwritten(w, i)) continue;
    const int32_t bk = d->bkc[i];
    const char c = bk == VLR_BK_FX ? 'E' : bk == VLR_BK_UP ? 'L' : bk == VLR_BK_FR ? 'N' : 'G';
    wr_printf(w, " %c  %-8s\n", c, VLR_getmpsname(w, 1, i, 0));
  }
}

int32_t wr_columns(MpsWriter* w) {
  Task* task = w->task;
  const TaskData* d = task->data;
  SysBuf<int32_t> sub(task->sys, VLR_HERE, d->numcon);
  SysBuf<double> val(task->sys, VLR_HERE, d->numcon);
  if (d->numcon > 0 && (!sub || !val)) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  wr_printf(w, "COLUMNS\n");
  char bn[64];
  for (int32_t j = 0; j < d->numvar; ++j) {
    const char* name = VLR_getmpsname(w, 0, j, 0);
    wr_printf(w, "    %-8s  %-8s  %-s\n", name, w->objname, wr_num(w, d->c[j], bn));
    int32_t nz = 0;
    const int32_t r = VLR_sprmat_getcolj(d->a, j, &nz, sub.get(), val.get());
    if (r != kSprOk) return VLR_SPRRES(task, r);
    for (int32_t k = 0; k < nz; ++k) {
      if (!wr_conwritten(w, sub[k])) continue;
      wr_printf(w, "    %-8s  %-8s  %-s\n", name, VLR_getmpsname(w, 1, sub[k], 1),
                wr_num(w, val[k], bn));
    }
  }
  return VLR_RES_OK;
}

void wr_rhsranges(MpsWriter* w) {
  const TaskData* d = w->task->data;
  char bn[64];
  wr_printf(w, "RHS\n");
  if (d->cfix != 0.0) {
    wr_printf(w, "    %-8s  %-8s  %-s\n", "rhs", w->objname, wr_num(w, -d->cfix, bn));
  }
  for (int32_t i = 0; i < d->numcon; ++i) {
    const int32_t bk = d->bkc[i];
    const double v = bk == VLR_BK_UP ? d->buc[i] : bk == VLR_BK_FR ? 0.0 : d->blc[i];
    if (v == 0.0) continue;
    wr_printf(w, "    %-8s  %-8s  %-s\n", "rhs", VLR_getmpsname(w, 1, i, 0), wr_num(w, v, bn));
  }
  wr_printf(w, "RANGES\n");
  for (int32_t i = 0; i < d->numcon; ++i) {
    if (d->bkc[i] != VLR_BK_RA) continue;
    wr_printf(w, "    %-8s  %-8s  %-s\n", "ran", VLR_getmpsname(w, 1, i, 0),
              wr_num(w, d->buc[i] - d->blc[i], bn));
  }
}

void wr_bound(MpsWriter* w, const char* type, const char* name, const char* value) {
  if (value == nullptr) {
    wr_printf(w, " %s %-8s  %-8s\n", type, "bound", name);
  } else {
    wr_printf(w, " %s %-8s  %-8s  %-s\n", type, "bound", name, value);
  }
}

void wr_bounds(MpsWriter* w) {
  const TaskData* d = w->task->data;
  char bl[64], bu[64];
  wr_printf(w, "BOUNDS\n");
  for (int32_t j = 0; j < d->numvar; ++j) {
    const char* name = VLR_getmpsname(w, 0, j, 0);
    const double l = d->blx[j], u = d->bux[j];
    const bool isint = w->intbounds && d->vartype != nullptr && d->vartype[j] == VLR_VAR_TYPE_INT;
    const bool binary = l == 0.0 && u == 1.0;
    switch (d->bkx[j]) {
      case VLR_BK_FR:
        if (isint) wr_bound(w, "LI", name, "0");
        wr_bound(w, isint ? "MI" : "FR", name, nullptr);
        break;
      case VLR_BK_LO:
        if (isint) {
          wr_bound(w, "LI", name, wr_num(w, l, bl));
        } else if (l != 0.0) {
          wr_bound(w, "LO", name, wr_num(w, l, bl));
        }
        break;
      case VLR_BK_UP:
        wr_bound(w, "MI", name, nullptr);
        wr_bound(w, isint ? "UI" : "UP", name, wr_num(w, u, bu));
        break;
      case VLR_BK_FX:
      case VLR_BK_RA:
        if (isint && binary) {
          wr_bound(w, "BV", name, nullptr);
        } else if (isint) {
          wr_bound(w, "LI", name, wr_num(w, l, bl));
          wr_bound(w, "UI", name, wr_num(w, u, bu));
        } else if (d->bkx[j] == VLR_BK_FX) {
          wr_bound(w, "FX", name, wr_num(w, l, bl));
        } else {
          if (l != 0.0) wr_bound(w, "LO", name, wr_num(w, l, bl));
          wr_bound(w, "UP", name, wr_num(w, u, bu));
        }
        break;
      default:
        break;
    }
  }
}

// One Q block, merged and sorted by (i, j) in a copy: writing leaves the task's storage alone.
int32_t wr_qblock(MpsWriter* w, int64_t b, int64_t e) {
  Task* task = w->task;
  const TaskData* d = task->data;
  SysBuf<int64_t> perm(task->sys, VLR_HERE, e - b);
  if (e > b && !perm) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  for (int64_t k = b; k < e; ++k)
    perm[k - b] = k;
  std::sort(perm.get(), perm.get() + (e - b), [d](int64_t x, int64_t y) {
    return d->qsubi[x] != d->qsubi[y] ? d->qsubi[x] < d->qsubi[y] : d->qsubj[x] < d->qsubj[y];
  });
  char bn[64];
  for (int64_t p = 0; p < e - b;) {
    const int64_t k = perm[p];
    double v = d->qval[k];
    for (++p; p < e - b && d->qsubi[perm[p]] == d->qsubi[k] && d->qsubj[perm[p]] == d->qsubj[k];
         ++p)
      v += d->qval[perm[p]];
    wr_printf(w, "    %-8s  %-8s  %-s\n", VLR_getmpsname(w, 0, d->qsubi[k], 0),
              VLR_getmpsname(w, 0, d->qsubj[k], 1), wr_num(w, v, bn));
  }
  return VLR_RES_OK;
}

int32_t wr_quadratic(MpsWriter* w) {
  const TaskData* d = w->task->data;
  bool any = d->qobje > d->qobjb;
  for (int32_t i = 0; !any && d->qconb != nullptr && i < d->numcon; ++i)
    any = d->qcone[i] > d->qconb[i];
  if (!any) return VLR_RES_OK;
  wr_printf(w, "%-14s%-s\n", "QSECTION", w->objname);
  int32_t r = wr_qblock(w, d->qobjb, d->qobje);
  for (int32_t i = 0; r == VLR_RES_OK && d->qconb != nullptr && i < d->numcon; ++i) {
    if (d->qcone[i] == d->qconb[i] || !wr_conwritten(w, i)) continue;
    wr_printf(w, "%-14s%-8s\n", "QSECTION", VLR_getmpsname(w, 1, i, 0));
    r = wr_qblock(w, d->qconb[i], d->qcone[i]);
  }
  return r;
}

void wr_cones(MpsWriter* w) {
  const TaskData* d = w->task->data;
  char bn[64];
  for (int32_t k = 0; k < d->numcone; ++k) {
    wr_printf(w, "%-14s%-8s", "CSECTION", VLR_getmpsname(w, 2, k, 0));
    wr_printf(w, "  %-12s   %s\n", wr_num(w, d->conepar[k], bn),
              d->conetype[k] == VLR_CT_RQUAD ? "RQUAD" : "QUAD");
    for (int32_t p = d->coneb[k]; p < d->conee[k]; ++p)
      wr_printf(w, "    %-8s\n", VLR_getmpsname(w, 0, d->conesub[p], 1));
  }
}

void wr_params(MpsWriter* w) {
  const Task* task = w->task;
  wr_printf(w, "*\n*BEGIN VELOR\n*\n");
  for (int32_t k = 0; k < kNumIntParams; ++k)
    wr_printf(w, "*%-33s %-18d\n", kIntParams[k].name, task->iparam[k]);
  wr_printf(w, "*\n");
  for (int32_t k = 0; k < kNumDouParams; ++k)
    wr_printf(w, "*%-33s %-18.8e\n", kDouParams[k].name, task->dparam[k]);
  wr_printf(w, "*\n");
  for (int32_t k = 0; k < kNumStrParams; ++k)
    wr_printf(w, "*%-33s %s\n", kStrParams[k].name, task->sparam[k]);
  wr_printf(w, "*END VELOR\n*\n");
}

size_t wr_longestname(const TaskData* d) {
  size_t n = d->objname != nullptr ? std::strlen(d->objname) : 0;
  const int32_t count[3] = {d->numvar, d->numcon, d->numcone};
  for (int32_t w = 0; w < 3; ++w) {
    for (int32_t i = 0; i < count[w]; ++i) {
      if (d->names[w].off[i] != 0) n = std::max(n, std::strlen(d->namepool + d->names[w].off[i]));
    }
  }
  return n;
}

}  // namespace

void VLR_realtostr(double x, int32_t prec, char* buf, size_t size) {
  if (x == 0.0) {
    std::snprintf(buf, size, "0");
    return;
  }
  // Digits past 17 carry nothing of a double; the cap keeps the text in a small buffer.
  prec = std::clamp(prec, 0, 30);
  const double ax = std::fabs(x);
  if (ax <= 0.1 || ax > 100.0) {
    std::snprintf(buf, size, "%-.*e", prec, x);
  } else {
    std::snprintf(buf, size, "%-.*g", prec, x);
  }
  const char* dot = std::strchr(buf, '.');
  if (dot == nullptr) return;
  char* end = std::strpbrk(buf, "eE");
  if (end == nullptr) end = buf + std::strlen(buf);
  char* p = end;
  while (p > dot + 1 && p[-1] == '0')
    --p;
  std::memmove(p, end, std::strlen(end) + 1);
}

int32_t VLR_writemps(Task* task, int32_t generic, SysFile* file) {
  const TaskData* d = task->data;
  MpsWriter w{};
  w.task = task;
  w.f = file;
  w.generic = generic;
  w.prec = VLRP_getintparam(task, VLR_IPAR_WRITE_PRECISION);
  w.io = VLRP_getintparam(task, VLR_IPAR_WRITE_GENERIC_NAMES_IO);
  w.freecon = VLRP_getintparam(task, VLR_IPAR_WRITE_FREE_CON) != 0;
  w.intbounds = VLRP_getintparam(task, VLR_IPAR_WRITE_MPS_INT) != 0;
  w.quoted = VLRP_getintparam(task, VLR_IPAR_WRITE_MPS_STRICT) == 0 &&
             VLRP_getintparam(task, VLR_IPAR_WRITE_MPS_QUOTED_NAMES) != 0;
  w.fixed = wr_longestname(d) <= 8;
  // Four buffers: three for names in one line, one for the objective's name.
  w.namecap = std::max<int64_t>(static_cast<int64_t>(wr_longestname(d)) + 3, 32);
  SysBuf<char> names(task->sys, VLR_HERE, 4 * w.namecap);
  if (!names) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  for (int32_t k = 0; k < 3; ++k)
    w.nb[k] = names.get() + k * w.namecap;
  w.objname = generic || d->objname == nullptr ? "obj" : d->objname;
  if (!generic && !wr_writablename(&w, w.objname)) {
    return VLR_RAISE(task, VLR_RES_ERR_WRITE_MPS_INVALID_NAME, w.objname);
  }
  wr_head(&w);
  wr_rows(&w);
  int32_t r = w.res;
  if (r == VLR_RES_OK) r = wr_columns(&w);
  if (r == VLR_RES_OK) r = w.res;
  if (r != VLR_RES_OK) return r;
  wr_rhsranges(&w);
  wr_bounds(&w);
  r = wr_quadratic(&w);
  if (r != VLR_RES_OK) return r;
  wr_cones(&w);
  wr_printf(&w, "ENDATA\n");
  if (VLRP_getintparam(task, VLR_IPAR_WRITE_DATA_PARAM) != 0) wr_params(&w);
  return w.res;
}

}  // namespace vlr
