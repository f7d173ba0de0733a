// src/velor/lpwrite.cpp: the LP format writer: the objective with every variable in order, the
// constraints by rows, bounds, integer marks, with names checked and quoted where needed.
// SPDX-License-Identifier: Apache-2.0
#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "velor/lpfile.h"
#include "velor/probdata.h"

namespace vlr {

namespace {

struct LpWriter {
  Task* task;
  SysFile* f;
  int32_t generic;
  int32_t io;         // first generic index
  int32_t prec;       // digits after the point of "%e"
  int32_t width;      // a line is broken before a term would pass this column
  int32_t termsline;  // a line is broken after this many terms; 0: no limit
  bool quote;         // refused names are written between double quotes
  bool cfix;          // the constant objective term goes out as the variable "CFIX"
  char* nb[2];        // [namecap] texts of two names in use at once
  int64_t namecap;
  int64_t col;      // bytes on the current line
  int32_t terms;    // terms on the current line
  int32_t res;      // first failure of a name
  int64_t* rowb;    // [numcon + 1] rows of A, gathered from its columns
  int32_t* rowsub;  // [numanz]
  double* rowval;   // [numanz]
};

void lw_printf(LpWriter* w, const char* format, ...) VLR_PRINTF(2, 3);
void lw_printf(LpWriter* w, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  char buf[512];
  va_list copy;
  va_copy(copy, ap);
  const int n = std::vsnprintf(buf, sizeof buf, format, copy);
  va_end(copy);
  VLR_sysenv_vfprintf(w->f, format, ap);  // a failure is sticky and shows at the close
  va_end(ap);
  const char* nl =
      n >= 0 && static_cast<size_t>(n) < sizeof buf ? std::strrchr(buf, '\n') : nullptr;
  if (nl != nullptr) {
    w->col = static_cast<int64_t>(std::strlen(nl + 1));
    w->terms = 0;
  } else {
    w->col += n > 0 ? n : 0;
  }
}

bool lw_namechar(int32_t c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         (c > 0 && std::strchr("!#$%&/(),.;?@_`'{}|~", c) != nullptr);
}

// A name that reads back as itself: not empty, not starting like a number, an exponent or a
// division, no character outside the name set, and no keyword.
bool check_name(const char* name) {
  const char c = name[0];
  if (c == '\0' || c == 'e' || c == 'E' || c == '.' || c == '/' || (c >= '0' && c <= '9')) {
    return false;
  }
  for (const char* p = name; *p != '\0'; ++p) {
    if (!lw_namechar(static_cast<unsigned char>(*p))) return false;
  }
  // "subj" and "subject" are keywords only before "to", but a name may stand before a "to".
  return VLR_lpkeyword(name) < 0 && strcasecmp(name, "subj") != 0 &&
         strcasecmp(name, "subject") != 0;
}

// The text of a refused name between double quotes in out; false when it cannot be quoted.
bool quote_lp_name(const char* name, char* out) {
  if (name[0] == '\0' || std::strchr(name, '"') != nullptr) return false;
  // Line ends, tabs and other control characters read back as something else even in quotes.
  for (const char* p = name; *p != '\0'; ++p) {
    const auto c = static_cast<unsigned char>(*p);
    if (c < 0x20 || c == 0x7f) return false;
  }
  std::sprintf(out, "\"%s\"", name);
  return true;
}

// The text written for item i of a kind (VLR_PI_VAR or VLR_PI_CON; -1 for the objective), made
// in name buffer `slot`. A name that cannot be written records its error.
const char* lw_name(LpWriter* w, int32_t kind, int32_t i, int32_t slot) {
  char* buf = w->nb[slot];
  const TaskData* d = w->task->data;
  if (kind < 0) {
    if (w->generic || d->objname == nullptr || d->objname[0] == '\0') return "obj";
  } else if (w->generic) {
    std::snprintf(buf, 32, "%c%lld", kind == VLR_PI_VAR ? 'x' : 'c',
                  static_cast<long long>(i) + w->io);
    return buf;
  }
  const char* name = "";
  if (kind < 0) {
    name = d->objname;
  } else if (d->names[kind].off[i] != 0) {
    name = d->namepool + d->names[kind].off[i];
  }
  if (check_name(name)) return name;
  if (w->quote && quote_lp_name(name, buf)) return buf;
  if (w->res == VLR_RES_OK) {
    w->res = VLR_RAISE(
        w->task,
        kind == VLR_PI_VAR ? VLR_RES_ERR_LP_INVALID_VAR_NAME : VLR_RES_ERR_LP_INVALID_CON_NAME,
        name);
  }
  return name;
}

// One term " + name", " - 2.5e+00 name" or " + 0 name", then tail and name2 (" * y" or " ^ 2").
// A line ends after the number of terms per line, or before a term that would pass the width.
void lw_term(LpWriter* w, double v, const char* name, const char* tail = "",
             const char* name2 = "") {
  char text[96];
  const char sign = v < 0.0 ? '-' : '+';
  if (std::fabs(std::fabs(v) - 1.0) <= 1e-15) {
    std::snprintf(text, sizeof text, " %c ", sign);
  } else if (v == 0.0) {
    std::snprintf(text, sizeof text, " + 0 ");
  } else {
    std::snprintf(text, sizeof text, " %c %.*e ", sign, w->prec, std::fabs(v));
  }
  const auto len = static_cast<int64_t>(std::strlen(text) + std::strlen(name) + std::strlen(tail) +
                                        std::strlen(name2));
  if (w->terms > 0 && ((w->termsline > 0 && w->terms >= w->termsline) || w->col + len > w->width)) {
    lw_printf(w, "\n    ");
  }
  lw_printf(w, "%s%s%s%s", text, name, tail, name2);
  ++w->terms;
}

// Text after the terms of a row (its relation and side), on a new line when it would pass the
// width.
void lw_tail(LpWriter* w, const char* text) {
  if (w->terms > 0 && w->col + static_cast<int64_t>(std::strlen(text)) > w->width) {
    lw_printf(w, "\n    ");
  }
  lw_printf(w, "%s\n", text);
}

void lw_number(const LpWriter* w, double v, char* buf) {
  std::snprintf(buf, 64, "%.*e", w->prec, v);
}

// A Q block between " + [" and " ]/2": squares with their coefficient, products with twice theirs,
// merged and sorted in a copy so that writing leaves the task's storage alone.
int32_t lw_quad(LpWriter* w, int64_t b, int64_t e) {
  if (e <= b) return VLR_RES_OK;
  Task* task = w->task;
  const TaskData* d = task->data;
  SysBuf<int64_t> perm(task->sys, VLR_HERE, e - b);
  if (!perm) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  for (int64_t k = b; k < e; ++k)
    perm[k - b] = k;
  std::sort(perm.get(), perm.get() + (e - b), [d](int64_t x, int64_t y) {
    return d->qsubi[x] != d->qsubi[y] ? d->qsubi[x] < d->qsubi[y] : d->qsubj[x] < d->qsubj[y];
  });
  lw_printf(w, " + [");
  for (int64_t p = 0; p < e - b;) {
    const int64_t k = perm[p];
    double v = d->qval[k];
    for (++p; p < e - b && d->qsubi[perm[p]] == d->qsubi[k] && d->qsubj[perm[p]] == d->qsubj[k];
         ++p)
      v += d->qval[perm[p]];
    const char* a = lw_name(w, VLR_PI_VAR, d->qsubi[k], 0);
    if (d->qsubi[k] == d->qsubj[k]) {
      lw_term(w, v, a, " ^ 2");
    } else {
      lw_term(w, 2.0 * v, a, " * ", lw_name(w, VLR_PI_VAR, d->qsubj[k], 1));
    }
  }
  lw_printf(w, " ]/2");
  return VLR_RES_OK;
}

int32_t write_section_objective(LpWriter* w) {
  const TaskData* d = w->task->data;
  lw_printf(w, "%s\n", d->objsense == VLR_OBJECTIVE_SENSE_MAXIMIZE ? "maximize" : "minimize");
  lw_printf(w, " %s: ", lw_name(w, -1, 0, 0));
  for (int32_t j = 0; j < d->numvar; ++j)
    lw_term(w, d->c[j], lw_name(w, VLR_PI_VAR, j, 0));
  if (w->cfix) lw_term(w, d->cfix, "CFIX");
  const int32_t r = lw_quad(w, d->qobjb, d->qobje);
  lw_printf(w, "\n");
  return r != VLR_RES_OK ? r : w->res;
}

// The rows of A into w->rowb, rowsub and rowval, gathered from its columns in two passes: column
// order inside each row.
int32_t lw_rows(LpWriter* w) {
  Task* task = w->task;
  const TaskData* d = task->data;
  SysBuf<int32_t> sub(task->sys, VLR_HERE, d->numcon);
  SysBuf<double> val(task->sys, VLR_HERE, d->numcon);
  if (!sub || !val) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  int64_t* b = w->rowb;
  int32_t r = kSprOk;
  for (int pass = 0; pass < 2; ++pass) {
    for (int32_t j = 0; j < d->numvar; ++j) {
      int32_t nz = 0;
      r = VLR_sprmat_getcolj(d->a, j, &nz, sub.get(), val.get());
      if (r != kSprOk) return VLR_SPRRES(task, r);
      for (int32_t k = 0; k < nz; ++k) {
        if (pass == 0) {
          ++b[sub[k] + 1];
        } else {
          const int64_t p = b[sub[k]]++;
          w->rowsub[p] = j;
          w->rowval[p] = val[k];
        }
      }
    }
    if (pass == 0) {
      for (int32_t i = 0; i < d->numcon; ++i)
        b[i + 1] += b[i];
    } else {
      for (int32_t i = d->numcon; i > 0; --i)
        b[i] = b[i - 1];
      b[0] = 0;
    }
  }
  return VLR_RES_OK;
}

int32_t write_section_constraints(LpWriter* w) {
  const TaskData* d = w->task->data;
  lw_printf(w, "subject to\n");
  char bl[64], bu[64];
  for (int32_t i = 0; i < d->numcon; ++i) {
    const int32_t bk = d->bkc[i];
    const char* name = lw_name(w, VLR_PI_CON, i, 1);
    lw_number(w, d->blc[i], bl);
    lw_number(w, d->buc[i], bu);
    if (bk == VLR_BK_RA) {
      lw_printf(w, " %s:: %s <= ", name, bl);
    } else {
      lw_printf(w, " %s: ", name);
    }
    for (int64_t p = w->rowb[i]; p < w->rowb[i + 1]; ++p)
      lw_term(w, w->rowval[p], lw_name(w, VLR_PI_VAR, w->rowsub[p], 0));
    if (d->qconb != nullptr) {
      const int32_t r = lw_quad(w, d->qconb[i], d->qcone[i]);
      if (r != VLR_RES_OK) return r;
    }
    char tail[80];
    const bool lo = bk == VLR_BK_FX || bk == VLR_BK_LO, up = bk == VLR_BK_UP || bk == VLR_BK_RA;
    std::snprintf(tail, sizeof tail, " %s %s",
                  bk == VLR_BK_FX ? "="
                  : lo            ? ">="
                                  : "<=",
                  lo   ? bl
                  : up ? bu
                       : "+infinity");
    lw_tail(w, tail);
    if (w->res != VLR_RES_OK) return w->res;
  }
  return VLR_RES_OK;
}

int32_t write_section_bounds(LpWriter* w) {
  const TaskData* d = w->task->data;
  lw_printf(w, "bounds\n");
  char bl[64], bu[64];
  for (int32_t j = 0; j < d->numvar; ++j) {
    const char* name = lw_name(w, VLR_PI_VAR, j, 0);
    lw_number(w, d->blx[j], bl);
    lw_number(w, d->bux[j], bu);
    switch (d->bkx[j]) {
      case VLR_BK_FR:
        lw_printf(w, " %s free\n", name);
        break;
      case VLR_BK_LO:
        if (d->blx[j] != 0.0) lw_printf(w, " %s <= %s <= +infinity\n", bl, name);
        break;
      case VLR_BK_UP:
        lw_printf(w, " -infinity <= %s <= %s\n", name, bu);
        break;
      case VLR_BK_FX:
        lw_printf(w, " %s = %s\n", name, bl);
        break;
      default:
        lw_printf(w, " %s <= %s <= %s\n", bl, name, bu);
        break;
    }
  }
  if (w->cfix) lw_printf(w, " 1 <= CFIX <= 1\n");
  return w->res;
}

int32_t write_section_integer(LpWriter* w) {
  const TaskData* d = w->task->data;
  if (d->vartype == nullptr || d->numintvar == 0) return VLR_RES_OK;
  lw_printf(w, "general\n");
  for (int32_t j = 0; j < d->numvar; ++j) {
    if (d->vartype[j] != VLR_VAR_TYPE_INT) continue;
    const char* name = lw_name(w, VLR_PI_VAR, j, 0);
    if (w->terms > 0 && (w->terms >= std::max(w->termsline, 1) ||
                         w->col + static_cast<int64_t>(std::strlen(name)) + 1 > w->width)) {
      lw_printf(w, "\n");
    }
    lw_printf(w, " %s", name);
    ++w->terms;
  }
  lw_printf(w, "\n");
  return w->res;
}

void write_section_end(LpWriter* w) {
  lw_printf(w, "end\n");
}

size_t lw_longestname(const TaskData* d) {
  size_t n = d->objname != nullptr ? std::strlen(d->objname) : 0;
  for (int32_t w = VLR_PI_VAR; w <= VLR_PI_CON; ++w) {
    const int32_t count = w == VLR_PI_VAR ? d->numvar : d->numcon;
    for (int32_t i = 0; i < count; ++i) {
      if (d->names[w].off[i] != 0) n = std::max(n, std::strlen(d->namepool + d->names[w].off[i]));
    }
  }
  return n;
}

// Problem types the format holds: linear and quadratic; cones only when they may be left out.
int32_t lw_checktype(LpWriter* w) {
  Task* task = w->task;
  const int32_t type = VLRP_getprobtype(task);
  const bool ignore = VLRP_getintparam(task, VLR_IPAR_LP_WRITE_IGNORE_INCOMPATIBLE_ITEMS) == 1;
  if (ignore) return VLR_RES_OK;
  if (task->data->nlgetsp != nullptr) {
    return VLR_RAISE(task, VLR_RES_ERR_LP_WRITE_GECO_PROBLEM, "general convex");
  }
  if (type == VLR_PROBTYPE_CONIC || type == VLR_PROBTYPE_MIXED) {
    return VLR_RAISE(task, VLR_RES_ERR_LP_WRITE_CONIC_PROBLEM, "conic");
  }
  return VLR_RES_OK;
}

}  // namespace

int32_t VLR_writelpfile(Task* task, int32_t generic, SysFile* file) {
  const TaskData* d = task->data;
  LpWriter w{};
  w.task = task;
  w.f = file;
  w.generic = generic;
  w.io = VLRP_getintparam(task, VLR_IPAR_WRITE_GENERIC_NAMES_IO);
  w.prec = std::clamp(VLRP_getintparam(task, VLR_IPAR_WRITE_PRECISION), 0, 30);
  w.width = VLRP_getintparam(task, VLR_IPAR_WRITE_LP_LINE_WIDTH);
  w.termsline = VLRP_getintparam(task, VLR_IPAR_WRITE_LP_TERMS_PER_LINE);
  const bool strict = VLRP_getintparam(task, VLR_IPAR_WRITE_LP_STRICT_FORMAT) != 0;
  w.quote = !strict && VLRP_getintparam(task, VLR_IPAR_WRITE_LP_QUOTED_NAMES) != 0;
  if (d->cfix != 0.0) {
    int32_t j = -1;
    if (!generic) VLR_getnameindexrec(task, VLR_PI_VAR, "CFIX", &j);
    if (j >= 0) {
      const int32_t r = VLR_RAISE(task, VLR_RES_WRN_WRITE_DISCARDED_CFIX);
      if (r != VLR_RES_OK) return r;
    } else {
      w.cfix = true;
    }
  }
  const size_t longest = lw_longestname(d);
  if (strict && longest >= 256) {
    return VLR_RAISE(task, VLR_RES_ERR_WRITE_LP_FORMAT, "a name of 256 characters or more");
  }
  if (d->numvar == 0 || d->numcon == 0) return VLR_RAISE(task, VLR_RES_ERR_LP_EMPTY);
  int32_t r = lw_checktype(&w);
  if (r != VLR_RES_OK) return r;
  w.namecap = std::max<int64_t>(static_cast<int64_t>(longest) + 3, 32);
  SysBuf<char> names(task->sys, VLR_HERE, 2 * w.namecap);
  if (!names) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  w.nb[0] = names.get();
  w.nb[1] = names.get() + w.namecap;
  // Every name is checked before anything is written.
  for (int32_t j = 0; j < d->numvar && w.res == VLR_RES_OK; ++j)
    lw_name(&w, VLR_PI_VAR, j, 0);
  for (int32_t i = 0; i < d->numcon && w.res == VLR_RES_OK; ++i)
    lw_name(&w, VLR_PI_CON, i, 0);
  if (w.res == VLR_RES_OK) lw_name(&w, -1, 0, 0);
  if (w.res != VLR_RES_OK) return w.res;
  int64_t anz = 0;
  r = VLR_sprmat_getsize(d->a, &anz);
  if (r != kSprOk) return VLR_SPRRES(task, r);
  SysBuf<int64_t> rowb(task->sys, VLR_HERE, int64_t{d->numcon} + 1);
  SysBuf<int32_t> rowsub(task->sys, VLR_HERE, anz);
  SysBuf<double> rowval(task->sys, VLR_HERE, anz);
  if (!rowb || (anz > 0 && (!rowsub || !rowval))) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  w.rowb = rowb.get();
  w.rowsub = rowsub.get();
  w.rowval = rowval.get();
  r = lw_rows(&w);
  if (r != VLR_RES_OK) return r;
  lw_printf(&w, "\\ Created by VELOR version %i.%i.%i.%i\n", kVersionMajor, kVersionMinor,
            kVersionBuild, kVersionRevision);
  r = write_section_objective(&w);
  if (r == VLR_RES_OK) r = write_section_constraints(&w);
  if (r == VLR_RES_OK) r = write_section_bounds(&w);
  if (r == VLR_RES_OK) r = write_section_integer(&w);
  if (r == VLR_RES_OK) write_section_end(&w);
  return r;
}

}  // namespace vlr
