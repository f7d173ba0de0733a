// src/prslv/prslv.cpp: the presolve object, its loop of reductions, the reduced problem it
// leaves, and the summary.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <initializer_list>
#include <limits>

#include "prslv/prslvdat.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// Passes over rows and columns stop when one changes nothing, and after this many at most.
constexpr int32_t kPrslvMaxPasses = 100;

template <class T>
T* prslv_alloc(SysEnv* sys, int64_t n) {
  return static_cast<T*>(VLR_sysenv_callocdbg(sys, VLR_HERE, n > 0 ? n : 1, sizeof(T)));
}

bool prslv_haslow(int32_t bk) {
  return bk == VLR_BK_LO || bk == VLR_BK_FX || bk == VLR_BK_RA;
}
bool prslv_hasupp(int32_t bk) {
  return bk == VLR_BK_UP || bk == VLR_BK_FX || bk == VLR_BK_RA;
}

int32_t prslv_key(double l, double u) {
  const bool lo = l > -kInf, up = u < kInf;
  if (lo && up) return l == u ? VLR_BK_FX : VLR_BK_RA;
  if (lo) return VLR_BK_LO;
  return up ? VLR_BK_UP : VLR_BK_FR;
}

// A missing side in the reduced problem holds the library's infinite value, as in the task.
double prslv_finite(double b) {
  return std::isinf(b) ? (b > 0 ? 1e30 : -1e30) : b;
}

void prslv_freereduced(prslv* p) {
  for (void* block :
       {static_cast<void*>(p->rowmap), static_cast<void*>(p->colmap), static_cast<void*>(p->redbeg),
        static_cast<void*>(p->redidx), static_cast<void*>(p->redval), static_cast<void*>(p->redc),
        static_cast<void*>(p->redbk), static_cast<void*>(p->redbl), static_cast<void*>(p->redbu)}) {
    VLR_sysenv_freedbg(p->sys, VLR_HERE, block);
  }
  p->rowmap = p->colmap = nullptr;
  p->redbeg = nullptr;
  p->redidx = nullptr;
  p->redval = p->redc = p->redbl = p->redbu = nullptr;
  p->redbk = nullptr;
  p->redm = p->redn = 0;
}

// A by columns, copied from the caller, and by rows, filled in column order so that each row is
// sorted by column. connz and varnz count the entries.
bool prslv_makelines(prslv* p, const SimLp& lp) {
  const int32_t m = p->numcon, n = p->numvar;
  for (int32_t j = 0; j < n; ++j) {
    p->varnz[j] = static_cast<int32_t>(lp.abeg[j + 1] - lp.abeg[j]);
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
      ++p->connz[lp.aidx[k]];
  }
  if (!VLR_prslv_makelines(p->sys, &p->col, n, p->varnz) ||
      !VLR_prslv_makelines(p->sys, &p->row, m, p->connz)) {
    return false;
  }
  for (int32_t j = 0; j < n; ++j) {
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k) {
      VLR_prslv_appendentry(&p->col, j, lp.aidx[k], lp.aval[k]);
      VLR_prslv_appendentry(&p->row, lp.aidx[k], j, lp.aval[k]);
    }
  }
  return true;
}

void prslv_countkeys(const prslv* p, int32_t which, PrslvStat* stat) {
  for (int32_t i = 0; i < p->numcon; ++i) {
    if (p->rowalive[i]) ++stat->rowbykey[which][prslv_key(p->rl[i], p->ru[i])];
  }
  for (int32_t j = 0; j < p->numvar; ++j) {
    if (p->colalive[j]) ++stat->colbykey[which][prslv_key(p->cl[j], p->cu[j])];
  }
}

// The reduced problem: living rows and columns, renumbered in order, with their present bounds.
bool prslv_final(prslv* p, PrslvStat* stat) {
  prslv_freereduced(p);
  const int32_t m = p->numcon, n = p->numvar;
  p->rowmap = prslv_alloc<int32_t>(p->sys, m);
  p->colmap = prslv_alloc<int32_t>(p->sys, n);
  if (p->rowmap == nullptr || p->colmap == nullptr) return false;
  int64_t nz = 0;
  for (int32_t i = 0; i < m; ++i)
    p->rowmap[i] = p->rowalive[i] ? p->redm++ : -1;
  for (int32_t j = 0; j < n; ++j) {
    p->colmap[j] = p->colalive[j] ? p->redn++ : -1;
    if (p->colalive[j]) nz += p->varnz[j];
  }
  const int32_t rm = p->redm, rn = p->redn;
  p->redbeg = prslv_alloc<int64_t>(p->sys, rn + 1);
  p->redidx = prslv_alloc<int32_t>(p->sys, nz);
  p->redval = prslv_alloc<double>(p->sys, nz);
  p->redc = prslv_alloc<double>(p->sys, rn);
  p->redbk = prslv_alloc<int32_t>(p->sys, rm + rn);
  p->redbl = prslv_alloc<double>(p->sys, rm + rn);
  p->redbu = prslv_alloc<double>(p->sys, rm + rn);
  if (p->redbeg == nullptr || p->redidx == nullptr || p->redval == nullptr || p->redc == nullptr ||
      p->redbk == nullptr || p->redbl == nullptr || p->redbu == nullptr) {
    return false;
  }
  int64_t at = 0;
  for (int32_t j = 0; j < n; ++j) {
    if (!p->colalive[j]) continue;
    const int32_t jj = p->colmap[j];
    p->redbeg[jj] = at;
    for (int64_t k = p->col.beg[j]; k < VLR_prslv_lineend(p->col, j); ++k) {
      const int32_t i = p->col.idx[k];
      if (!p->rowalive[i]) continue;
      p->redidx[at] = p->rowmap[i];
      p->redval[at] = p->col.val[k];
      ++at;
    }
    p->redc[jj] = p->c[j];
    p->redbk[rm + jj] = prslv_key(p->cl[j], p->cu[j]);
    p->redbl[rm + jj] = prslv_finite(p->cl[j]);
    p->redbu[rm + jj] = prslv_finite(p->cu[j]);
  }
  p->redbeg[rn] = at;
  for (int32_t i = 0; i < m; ++i) {
    if (!p->rowalive[i]) continue;
    const int32_t ii = p->rowmap[i];
    p->redbk[ii] = prslv_key(p->rl[i], p->ru[i]);
    p->redbl[ii] = prslv_finite(p->rl[i]);
    p->redbu[ii] = prslv_finite(p->ru[i]);
  }
  stat->numcon[1] = rm;
  stat->numvar[1] = rn;
  stat->numanz[1] = at;
  prslv_countkeys(p, 1, stat);
  stat->solved = stat->prosta == 0 && rm == 0 && rn == 0;
  return true;
}

void prslv_print(const PrslvParam& param, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
void prslv_print(const PrslvParam& param, const char* format, ...) {
  if (param.log == nullptr) return;
  char text[256];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(text, sizeof text, format, ap);
  va_end(ap);
  param.log(param.loghandle, text);
}

const char* prslv_prostaname(int32_t prosta) {
  switch (prosta) {
    case VLR_PRO_STA_PRIM_INFEAS:
      return "PRIMAL_INFEASIBLE";
    case VLR_PRO_STA_DUAL_INFEAS:
      return "DUAL_INFEASIBLE";
    default:
      return "UNKNOWN";
  }
}

}  // namespace

void VLR_prslv_initparam(PrslvParam* param) {
  *param = PrslvParam();
}

void VLR_prslv_takeuser(const PrslvUser& user, PrslvParam* param) {
  param->tolx = user.tolx;
  param->tols = user.tols;
  param->tolaij = user.tolaij;
  param->tollindepfloor = user.tollindep;
  param->lindep = user.lindep;
  param->lindepworklim = user.lindepworklim;
  param->eliminatortries = user.eliminator == 0 ? 0 : user.elimtries;
  param->elimfill = user.elimfill;
}

int32_t VLR_prslv_make(SysEnv* sys, const SimLp& lp, prslv** pp) {
  *pp = nullptr;
  auto* p = prslv_alloc<prslv>(sys, 1);
  if (p == nullptr) return kPrslvNoSpace;
  p->sys = sys;
  p->lp = &lp;
  p->stackready = 1;
  const int32_t m = lp.m, n = lp.n;
  p->numcon = m;
  p->numvar = n;
  p->rl = prslv_alloc<double>(sys, m);
  p->ru = prslv_alloc<double>(sys, m);
  p->cl = prslv_alloc<double>(sys, n);
  p->cu = prslv_alloc<double>(sys, n);
  p->xfix = prslv_alloc<double>(sys, n);
  p->c = prslv_alloc<double>(sys, n);
  p->rowalive = prslv_alloc<int8_t>(sys, m);
  p->colalive = prslv_alloc<int8_t>(sys, n);
  p->connz = prslv_alloc<int32_t>(sys, m);
  p->varnz = prslv_alloc<int32_t>(sys, n);
  p->list = prslv_alloc<int32_t>(sys, m);
  p->inlist = prslv_alloc<int8_t>(sys, m);
  p->rowmark = prslv_alloc<int64_t>(sys, m);
  if (p->rl == nullptr || p->ru == nullptr || p->cl == nullptr || p->cu == nullptr ||
      p->xfix == nullptr || p->c == nullptr || p->rowalive == nullptr || p->colalive == nullptr ||
      p->connz == nullptr || p->varnz == nullptr || p->list == nullptr || p->inlist == nullptr ||
      p->rowmark == nullptr || !prslv_makelines(p, lp)) {
    VLR_prslv_delete(&p);
    return kPrslvNoSpace;
  }
  for (int32_t k = 0; k < m + n; ++k) {
    const bool row = k < m;
    double& l = row ? p->rl[k] : p->cl[k - m];
    double& u = row ? p->ru[k] : p->cu[k - m];
    l = prslv_haslow(lp.bk[k]) ? lp.bl[k] : -kInf;
    u = prslv_hasupp(lp.bk[k]) ? lp.bu[k] : kInf;
    if (lp.bk[k] == VLR_BK_FX) u = l;
  }
  for (int32_t i = 0; i < m; ++i) {
    p->rowalive[i] = 1;
    p->rowmark[i] = -1;
  }
  for (int32_t j = 0; j < n; ++j) {
    p->c[j] = lp.c[j];
    p->colalive[j] = 1;
  }
  p->cfix = lp.cfix;
  *pp = p;
  return kPrslvOk;
}

void VLR_prslv_delete(prslv** pp) {
  prslv* p = *pp;
  if (p == nullptr) return;
  prslv_freereduced(p);
  VLR_prslv_dropkept(p);
  SysEnv* sys = p->sys;
  VLR_prslv_freelines(sys, &p->col);
  VLR_prslv_freelines(sys, &p->row);
  for (void* block :
       {static_cast<void*>(p->intstage), static_cast<void*>(p->doublestage),
        static_cast<void*>(p->kinds), static_cast<void*>(p->recbeg),
        static_cast<void*>(p->recsizes), static_cast<void*>(p->store),
        static_cast<void*>(p->rowmark), static_cast<void*>(p->rl), static_cast<void*>(p->ru),
        static_cast<void*>(p->cl), static_cast<void*>(p->cu), static_cast<void*>(p->xfix),
        static_cast<void*>(p->c), static_cast<void*>(p->rowalive), static_cast<void*>(p->colalive),
        static_cast<void*>(p->connz), static_cast<void*>(p->varnz), static_cast<void*>(p->list),
        static_cast<void*>(p->inlist)}) {
    VLR_sysenv_freedbg(sys, VLR_HERE, block);
  }
  VLR_sysenv_freedbg(sys, VLR_HERE, p);
  *pp = nullptr;
}

int32_t VLR_prslv_reduce(const PrslvParam& param, prslv* p, PrslvStat* stat) {
  const double t0 = VLR_sysenv_getwctime(p->sys);
  *stat = PrslvStat();
  stat->numcon[0] = p->numcon;
  stat->numvar[0] = p->numvar;
  stat->numanz[0] = p->lp->abeg[p->numvar];
  prslv_countkeys(p, 0, stat);
  if (param.loglevel > 1) {
    prslv_print(param, "%-27s: %d\n", "Use presolve", param.use);
    prslv_print(param, "%-27s: %d\n", "Update primal", param.updateprimal);
    prslv_print(param, "%-27s: %d\n", "Update dual", param.updatedual);
    prslv_print(param, "%-27s: %d\n", "Relax bounds", param.relax);
  }
  // The row bounds and the objective at entry: the object keeps the caller's problem, so the two
  // records carry no data, but they mark the bottom of the stack.
  int32_t* ints = nullptr;
  double* doubles = nullptr;
  for (int32_t kind : {kPrslvStoreConBnd, kPrslvStoreCcAndCx}) {
    if (VLR_prslv_beginpushstk(p, kind, 0, 0, &ints, &doubles) != kPrslvOk) return kPrslvNoSpace;
    VLR_prslv_endpushstk(p);
  }
  int32_t r = kPrslvOk;
  // Each group adds its wall-clock time to its field of the statistics.
  double mark = VLR_sysenv_getwctime(p->sys);
  auto lap = [&](double* field) {
    const double now = VLR_sysenv_getwctime(p->sys);
    *field += now - mark;
    mark = now;
  };
  // The caller's stop, asked between groups of reductions.
  auto stopped = [&]() { return param.stop != nullptr && param.stop(param.stophandle) != 0; };
  if (param.use > 0) r = stopped() ? kPrslvStopped : VLR_prslv_init(param, p, stat);
  lap(&stat->timeinit);
  bool lindepdone = false;
  // Passes of the simple reductions until one changes nothing; then duplicate rows and columns,
  // and the simple reductions again while the duplicates find something.
  for (int32_t pass = 0; r == kPrslvOk && param.use > 0 && stat->prosta == 0; ++pass) {
    int32_t changed = 0;
    if (stopped()) {
      r = kPrslvStopped;
      break;
    }
    r = VLR_prslv_checkproblem(param, p, stat, &changed);
    ++stat->numpasses;
    lap(&stat->timecheck);
    if (pass + 1 >= kPrslvMaxPasses) break;
    if (changed || r != kPrslvOk || stat->prosta != 0) continue;
    if (stopped()) {
      r = kPrslvStopped;
      break;
    }
    r = VLR_prslv_checkdupcon(param, p, stat, &changed);
    lap(&stat->timedupcon);
    if (r == kPrslvOk && stat->prosta == 0 && !param.updateprimal) {
      r = VLR_prslv_checkdupvar(param, p, stat, &changed);
      lap(&stat->timedupvar);
    }
    // The dependency check once, when the cheaper reductions have done what they can.
    if (r == kPrslvOk && stat->prosta == 0 && !changed && !lindepdone && param.lindep != 0 &&
        !param.updateprimal && !param.updatedual) {
      lindepdone = true;
      if (stopped()) {
        r = kPrslvStopped;
        break;
      }
      r = VLR_prslv_chklinblkcon(param, p, stat, &changed);
      lap(&stat->timelindep);
    }
    if (!changed) break;
  }
  if (r != kPrslvOk) return r;
  if (!prslv_final(p, stat)) return kPrslvNoSpace;
  lap(&stat->timefinal);
  stat->numrecords = VLR_prslv_getnumred(p);
  stat->finished = 1;
  stat->time = VLR_sysenv_getwctime(p->sys) - t0;
  return kPrslvOk;
}

void VLR_prslv_getreduced(const prslv* p, SimLp* reduced) {
  *reduced = SimLp();
  reduced->m = p->redm;
  reduced->n = p->redn;
  reduced->abeg = p->redbeg;
  reduced->aidx = p->redidx;
  reduced->aval = p->redval;
  reduced->c = p->redc;
  reduced->cfix = p->cfix;
  reduced->bk = p->redbk;
  reduced->bl = p->redbl;
  reduced->bu = p->redbu;
}

void VLR_prslv_unreduce(const PrslvParam&, prslv* p) {
  VLR_prslv_emptystk(p);
  prslv_freereduced(p);
}

void VLR_prslv_problemsummary(const PrslvParam& param, const PrslvStat& stat) {
  prslv_print(param, "Presolve summary\n");
  prslv_print(param, "          Constraints         Variables\n");
  prslv_print(param, "         Before    After   Before    After\n");
  static const char* const names[] = {"Lower", "Upper", "Fixed", "Free", "Ranged"};
  static const int32_t order[] = {VLR_BK_FX, VLR_BK_RA, VLR_BK_LO, VLR_BK_UP, VLR_BK_FR};
  for (int32_t bk : order) {
    prslv_print(param, "%-6s %8d %8d %8d %8d\n", names[bk], stat.rowbykey[0][bk],
                stat.rowbykey[1][bk], stat.colbykey[0][bk], stat.colbykey[1][bk]);
  }
  prslv_print(param, "%-6s %8d %8d %8d %8d\n", "Active", stat.numcon[0], stat.numcon[1],
              stat.numvar[0], stat.numvar[1]);
  prslv_print(param, "%-14s: %-s\n", "Reduce status", stat.finished ? "FINISHED" : "UNFINISHED");
  prslv_print(param, "%-14s: %-s\n", "Problem status", prslv_prostaname(stat.prosta));
  prslv_print(param, "Reductions\n");
  prslv_print(param, "%-40s: %-8d\n", "Number of constraint singletons", stat.numconsin);
  prslv_print(param, "%-40s: %-8d\n", "Number of relaxed lower bounds", stat.numrelaxlo);
  prslv_print(param, "%-40s: %-8d\n", "Number of relaxed upper bounds", stat.numrelaxup);
  prslv_print(param, "%-40s: %-8d\n", "Number of forcing constraints", stat.numforcing);
  prslv_print(param, "%-40s: %-8d\n", "Number of free or empty constraints",
              stat.numfreecon + stat.numemptycon);
  prslv_print(param, "%-40s: %-8d\n", "Number of fixed or empty variables",
              stat.numfixedvar + stat.numemptyvar);
  prslv_print(param, "%-40s: %-8d\n", "Number of dominated variables", stat.numdominated);
  prslv_print(param, "%-40s: %-8d\n", "Number of duplicate cons.", stat.numdupcon);
  prslv_print(param, "%-40s: %-8d\n", "Number of duplicate vars.", stat.numdupvar);
  prslv_print(param, "%-40s: %-8d\n", "Number of dependent cons.", stat.numlindep);
  prslv_print(param, "%-40s: %-8d\n", "Number of cons. rem. by dou.", stat.numdoubleton);
  prslv_print(param, "%-40s: %-8d\n", "Number of eliminations", stat.numeliminated);
  prslv_print(param, "%-40s: %-8d\n", "Number of slack columns", stat.numslackcol);
  prslv_print(param, "%-40s: %-8lld\n", "Total", static_cast<long long>(stat.numrecords));
  prslv_print(param, "%-40s: %-8d\n", "Passes over rows and columns", stat.numpasses);
  prslv_print(param, "%-40s: %.2f\n", "Presolve time", stat.time);
  if (param.timinglevel > 0) {
    prslv_print(param, "Timing results\n");
    const struct {
      const char* label;
      double t;
    } rows[] = {{"Total", stat.time},          {"Ini. var. fix.", stat.timeinit},
                {"Check pro", stat.timecheck}, {"Dup. con", stat.timedupcon},
                {"Dup. var", stat.timedupvar}, {"Lin. dep.", stat.timelindep},
                {"Summary", stat.timefinal}};
    for (const auto& row : rows) {
      prslv_print(param, "%-16s : %-6.2f  (%.1f%%)\n", row.label, row.t,
                  stat.time > 0 ? 100.0 * row.t / stat.time : 0.0);
    }
  }
}

}  // namespace vlr
