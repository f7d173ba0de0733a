// src/velor/bound.cpp: bounds with their rule of infinity and size warnings, and the linear
// objective.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdio>
#include <initializer_list>

#include "velor/probdata.h"

namespace vlr {

namespace {

// Rewrites the key when a side lies beyond the infinity tolerance; the numbers stay as stored.
int32_t bound_chgboundinf(int32_t bk, bool lowinf, bool upinf) {
  switch (bk) {
    case VLR_BK_LO:
      return lowinf ? VLR_BK_FR : bk;
    case VLR_BK_UP:
      return upinf ? VLR_BK_FR : bk;
    case VLR_BK_FX:
    case VLR_BK_RA:
      if (lowinf && upinf) return VLR_BK_FR;
      if (lowinf) return VLR_BK_UP;
      if (upinf) return VLR_BK_LO;
      return bk;
    default:
      return bk;
  }
}

int32_t bound_checkaccmode(Task* task, int32_t accmode) {
  if (accmode != VLR_ACC_VAR && accmode != VLR_ACC_CON) {
    return VLR_RAISE(task, VLR_RES_ERR_INVALID_ACCMODE, accmode);
  }
  return VLR_RES_OK;
}

// Stores a checked bound by its key, applies the rule of infinity and tells the solutions.
void bound_store(Task* task, int32_t accmode, int32_t i, int32_t bk, double bl, double bu) {
  TaskData* d = task->data;
  const bool con = accmode == VLR_ACC_CON;
  int32_t* pbk = con ? &d->bkc[i] : &d->bkx[i];
  double* pbl = con ? &d->blc[i] : &d->blx[i];
  double* pbu = con ? &d->buc[i] : &d->bux[i];
  const int32_t oldbk = *pbk;
  const double oldbl = *pbl, oldbu = *pbu;
  switch (bk) {
    case VLR_BK_FX:
      *pbl = *pbu = bl;
      break;
    case VLR_BK_RA:
      *pbl = bl;
      *pbu = bu;
      break;
    case VLR_BK_LO:
      *pbl = bl;
      *pbu = kInfinity;
      break;
    case VLR_BK_UP:
      *pbl = -kInfinity;
      *pbu = bu;
      break;
    default:
      *pbl = -kInfinity;
      *pbu = kInfinity;
      break;
  }
  const double tinf = VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_BOUND_INF);
  *pbk = bound_chgboundinf(bk, -tinf >= *pbl, *pbu >= tinf);
  VLR_updsolstafterbndchg(task, accmode, i, oldbk, oldbl, oldbu);
}

int32_t bound_warnlow(Task* task, int32_t accmode, int32_t i, double value) {
  char buf[32];
  return VLR_RAISE(task, VLR_RES_WRN_LARGE_LO_BOUND, value,
                   accmode == VLR_ACC_CON ? "constraint" : "variable",
                   VLR_getnamex(task, accmode == VLR_ACC_CON ? VLR_PI_CON : VLR_PI_VAR, i, buf), i);
}

int32_t bound_warnupp(Task* task, int32_t accmode, int32_t i, double value) {
  char buf[32];
  return VLR_RAISE(task, VLR_RES_WRN_LARGE_UP_BOUND, value,
                   accmode == VLR_ACC_CON ? "constraint" : "variable",
                   VLR_getnamex(task, accmode == VLR_ACC_CON ? VLR_PI_CON : VLR_PI_VAR, i, buf), i);
}

int32_t bound_checkslice(Task* task, int32_t first, int32_t last, int32_t n) {
  if (first < 0) return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_SMALL, first, "first");
  if (last > n) return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_LARGE, last, "last");
  if (first > last) return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_LARGE, first, "first");
  return VLR_RES_OK;
}

// Checks one objective coefficient: index, then huge (an error) and large (a warning).
int32_t bound_checkcj(Task* task, int32_t j, double cj, const char* what) {
  int32_t r = VLR_checkindexdbg(VLR_HERE, task, j, task->data->numvar, what);
  if (r != VLR_RES_OK) return r;
  char buf[32];
  if (std::isnan(cj)) {
    return VLR_RAISE(task, VLR_RES_ERR_NAN_IN_C, VLR_getnamex(task, VLR_PI_VAR, j, buf), j);
  }
  if (std::fabs(cj) > VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_C_HUGE)) {
    return VLR_RAISE(task, VLR_RES_ERR_HUGE_C, cj, VLR_getnamex(task, VLR_PI_VAR, j, buf), j);
  }
  if (std::fabs(cj) > VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_CJ_LARGE)) {
    r = VLR_RAISE(task, VLR_RES_WRN_LARGE_CJ, cj, VLR_getnamex(task, VLR_PI_VAR, j, buf), j);
  }
  return r;
}

}  // namespace

void VLRP_getbound(const Task* task, int32_t accmode, int32_t i, int32_t* bk, double* bl,
                   double* bu) {
  const TaskData* d = task->data;
  const bool con = accmode == VLR_ACC_CON;
  const int32_t key = con ? d->bkc[i] : d->bkx[i];
  if (bk != nullptr) *bk = key;
  // Which side is finite is told by the key alone.
  if (bl != nullptr) *bl = VLR_bkhaslow(key) ? (con ? d->blc[i] : d->blx[i]) : -kInfinity;
  if (bu != nullptr) *bu = VLR_bkhasupp(key) ? (con ? d->buc[i] : d->bux[i]) : kInfinity;
}

int32_t VLRP_checkboundvalue(Task* task, int32_t accmode, int32_t i, int32_t bk, double bl,
                             double bu) {
  const bool con = accmode == VLR_ACC_CON;
  if (bk < 0 || bk > VLR_BK_RA) {
    return VLR_RAISE(task, con ? VLR_RES_ERR_INV_BKC : VLR_RES_ERR_INV_BKX, bk,
                     con ? "bkc" : "bkx");
  }
  // A NaN on a side the key uses is refused here; one on an unused side is never read.
  const bool low = VLR_bkhaslow(bk), upp = VLR_bkhasupp(bk);
  if ((low && std::isnan(bl)) || (upp && std::isnan(bu))) {
    char buf[32];
    const bool nanlow = low && std::isnan(bl);
    const int32_t code = con ? (nanlow ? VLR_RES_ERR_NAN_IN_BLC : VLR_RES_ERR_NAN_IN_BUC)
                             : (nanlow ? VLR_RES_ERR_NAN_IN_BLX : VLR_RES_ERR_NAN_IN_BUX);
    return VLR_RAISE(task, code, VLR_getnamex(task, con ? VLR_PI_CON : VLR_PI_VAR, i, buf), i);
  }
  if (bk == VLR_BK_FX && bl != bu) return VLR_RAISE(task, VLR_RES_ERR_FIXED_BOUND_VALUES, bl, bu);
  return VLR_RES_OK;
}

int32_t VLRP_checkbound(Task* task, int32_t accmode, int32_t i, int32_t bk, double bl, double bu) {
  int32_t r = bound_checkaccmode(task, accmode);
  if (r != VLR_RES_OK) return r;
  const bool con = accmode == VLR_ACC_CON;
  r = VLR_checkindexdbg(VLR_HERE, task, i, con ? task->data->numcon : task->data->numvar, "i");
  if (r == VLR_RES_OK) r = VLRP_checkboundvalue(task, accmode, i, bk, bl, bu);
  if (r != VLR_RES_OK) return r;
  const bool low = VLR_bkhaslow(bk), upp = VLR_bkhasupp(bk);
  const double w = VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_BOUND_WRN);
  const double tinf = VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_BOUND_INF);
  const bool biglow = std::fabs(bl) >= w && bl >= -tinf;
  const bool bigupp = std::fabs(bu) >= w && tinf >= bu;
  // A fixed constraint warns once, a fixed variable twice: once for each side.
  if (con && bk == VLR_BK_FX && biglow) {
    char buf[32];
    return VLR_RAISE(task, VLR_RES_WRN_LARGE_CON_FX, VLR_getnamex(task, VLR_PI_CON, i, buf), i, bl);
  }
  if (low && biglow) r = bound_warnlow(task, accmode, i, bl);
  if (r == VLR_RES_OK && upp && bigupp) r = bound_warnupp(task, accmode, i, bu);
  return r;
}

int32_t VLRP_putbound(Task* task, int32_t accmode, int32_t i, int32_t bk, double bl, double bu) {
  const int32_t r = VLRP_checkbound(task, accmode, i, bk, bl, bu);
  if (r != VLR_RES_OK) return r;
  bound_store(task, accmode, i, bk, bl, bu);
  return VLR_RES_OK;
}

int32_t VLRP_putcj(Task* task, int32_t j, double cj) {
  const int32_t r = bound_checkcj(task, j, cj, "j");
  if (r != VLR_RES_OK) return r;
  if (task->data->c[j] == cj) return VLR_RES_OK;
  VLR_updsolstaftercchg(task, j);
  task->data->c[j] = cj;
  return VLR_RES_OK;
}

int32_t VLRP_putcfix(Task* task, double cfix) {
  if (!std::isfinite(cfix)) return VLR_RAISE(task, VLR_RES_ERR_NAN_IN_DOUBLE_DATA, "cfix");
  task->data->cfix = cfix;
  return VLR_RES_OK;
}

// Bounds no point can meet are found here, before any optimiser runs. A side with a value at or
// beyond the infinity tolerance on the wrong side (a lower bound of +inf) cannot be worked with:
// VLR_RES_ERR_INFINITE_BOUND. A lower bound above the upper one is a proof of infeasibility by
// itself: y = 0 and a unit multiplier on both sides of the item give a Farkas certificate whose
// bound side is the gap, which is written as the basic solution.
int32_t VLR_checkcrossedbounds(Task* task, int32_t* decided) {
  *decided = 0;
  const TaskData* d = task->data;
  const double tinf = VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_BOUND_INF);
  int32_t crossed = -1;  // the first crossed item: rows first, then columns at numcon + j
  for (int32_t k = 0; k < d->numcon + d->numvar; ++k) {
    const bool con = k < d->numcon;
    const int32_t i = con ? k : k - d->numcon;
    const int32_t bk = con ? d->bkc[i] : d->bkx[i];
    const double bl = con ? d->blc[i] : d->blx[i], bu = con ? d->buc[i] : d->bux[i];
    const bool low = VLR_bkhaslow(bk), upp = VLR_bkhasupp(bk);
    if ((low && bl >= tinf) || (upp && bu <= -tinf)) {
      return VLR_RAISE(task, VLR_RES_ERR_INFINITE_BOUND);
    }
    if (crossed < 0 && low && upp && bl > bu) crossed = k;
  }
  if (crossed < 0) return VLR_RES_OK;
  const bool con = crossed < d->numcon;
  const int32_t i = con ? crossed : crossed - d->numcon;
  const int32_t r = VLR_makesolution(task, VLR_SOL_BAS);
  if (r != VLR_RES_OK) return r;
  SolRec& s = task->sols->sol[VLR_SOL_BAS];
  s.defined = 1;
  s.prosta = VLR_PRO_STA_PRIM_INFEAS;
  s.solsta = VLR_SOL_STA_PRIM_INFEAS_CER;
  for (int32_t acc : {VLR_ACC_CON, VLR_ACC_VAR}) {
    int32_t* sk = VLR_solkeyptr(task, VLR_SOL_BAS, acc);
    const int32_t count = acc == VLR_ACC_CON ? d->numcon : d->numvar;
    for (int32_t k = 0; k < count; ++k)
      sk[k] = VLR_SK_UNK;
  }
  for (int32_t item : {VLR_SOL_ITEM_XC, VLR_SOL_ITEM_Y, VLR_SOL_ITEM_SLC, VLR_SOL_ITEM_SUC}) {
    double* v = VLR_solitemptr(task, VLR_SOL_BAS, item);
    for (int32_t k = 0; k < d->numcon; ++k)
      v[k] = 0.0;
  }
  for (int32_t item : {VLR_SOL_ITEM_XX, VLR_SOL_ITEM_SLX, VLR_SOL_ITEM_SUX}) {
    double* v = VLR_solitemptr(task, VLR_SOL_BAS, item);
    for (int32_t k = 0; k < d->numvar; ++k)
      v[k] = 0.0;
  }
  VLR_solitemptr(task, VLR_SOL_BAS, con ? VLR_SOL_ITEM_SLC : VLR_SOL_ITEM_SLX)[i] = 1.0;
  VLR_solitemptr(task, VLR_SOL_BAS, con ? VLR_SOL_ITEM_SUC : VLR_SOL_ITEM_SUX)[i] = 1.0;
  char buf[32];
  VLRP_echotask(task, VLR_STREAM_LOG,
                "The %s '%s' (%d) has a lower bound above its upper bound: the problem is "
                "primal infeasible.\n",
                con ? "constraint" : "variable",
                VLR_getnamex(task, con ? VLR_PI_CON : VLR_PI_VAR, i, buf), i);
  *decided = 1;
  return VLR_RES_OK;
}

}  // namespace vlr

int32_t VLR_putbound(VLRtask_t task, int32_t accmode, int32_t i, int32_t bk, double bl, double bu) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putbound(t, accmode, i, bk, bl, bu);
  });
}

int32_t VLR_putboundlist(VLRtask_t task, int32_t accmode, int32_t num, const int32_t* sub,
                         const int32_t* bk, const double* bl, const double* bu) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    if (num < 0) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_SMALL, num, "num");
    if (num > 0 && (sub == nullptr || bk == nullptr || bl == nullptr || bu == nullptr)) {
      return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, sub == nullptr ? "sub" : "bk, bl or bu");
    }
    // All entries are checked before any is stored.
    for (int32_t k = 0; k < num; ++k) {
      const int32_t r = vlr::VLRP_checkbound(t, accmode, sub[k], bk[k], bl[k], bu[k]);
      if (r != VLR_RES_OK) return r;
    }
    for (int32_t k = 0; k < num; ++k)
      vlr::bound_store(t, accmode, sub[k], bk[k], bl[k], bu[k]);
    return VLR_RES_OK;
  });
}

int32_t VLR_putboundslice(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                          const int32_t* bk, const double* bl, const double* bu) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    if (first < last && (bk == nullptr || bl == nullptr || bu == nullptr)) {
      return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "bk, bl or bu");
    }
    // All entries are checked before any is stored.
    for (int32_t i = first; i < last; ++i) {
      const int32_t r =
          vlr::VLRP_checkbound(t, accmode, i, bk[i - first], bl[i - first], bu[i - first]);
      if (r != VLR_RES_OK) return r;
    }
    for (int32_t i = first; i < last; ++i)
      vlr::bound_store(t, accmode, i, bk[i - first], bl[i - first], bu[i - first]);
    return VLR_RES_OK;
  });
}

int32_t VLR_getbound(VLRtask_t task, int32_t accmode, int32_t i, int32_t* bk, double* bl,
                     double* bu) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::bound_checkaccmode(t, accmode);
    if (r != VLR_RES_OK) return r;
    r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, accmode == VLR_ACC_CON ? d->numcon : d->numvar, "i");
    if (r != VLR_RES_OK) return r;
    vlr::VLRP_getbound(t, accmode, i, bk, bl, bu);
    return VLR_RES_OK;
  });
}

int32_t VLR_getboundslice(VLRtask_t task, int32_t accmode, int32_t first, int32_t last, int32_t* bk,
                          double* bl, double* bu) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::bound_checkaccmode(t, accmode);
    if (r == VLR_RES_OK) {
      r = vlr::bound_checkslice(t, first, last, accmode == VLR_ACC_CON ? d->numcon : d->numvar);
    }
    if (r != VLR_RES_OK) return r;
    for (int32_t i = first; i < last; ++i) {
      vlr::VLRP_getbound(t, accmode, i, bk != nullptr ? bk + (i - first) : nullptr,
                         bl != nullptr ? bl + (i - first) : nullptr,
                         bu != nullptr ? bu + (i - first) : nullptr);
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_chgbound(VLRtask_t task, int32_t accmode, int32_t i, int32_t lower, int32_t finite,
                     double value) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    int32_t r = vlr::bound_checkaccmode(t, accmode);
    if (r != VLR_RES_OK) return r;
    r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, accmode == VLR_ACC_CON ? d->numcon : d->numvar, "i");
    if (r != VLR_RES_OK) return r;
    if (finite != 0 && std::isnan(value)) {
      char buf[32];
      const bool con = accmode == VLR_ACC_CON;
      const int32_t code = con ? (lower ? VLR_RES_ERR_NAN_IN_BLC : VLR_RES_ERR_NAN_IN_BUC)
                               : (lower ? VLR_RES_ERR_NAN_IN_BLX : VLR_RES_ERR_NAN_IN_BUX);
      return VLR_RAISE(t, code, vlr::VLR_getnamex(t, con ? VLR_PI_CON : VLR_PI_VAR, i, buf), i);
    }
    const double tinf = vlr::VLRP_getdouparam(t, VLR_DPAR_DATA_TOL_BOUND_INF);
    const double w = vlr::VLRP_getdouparam(t, VLR_DPAR_DATA_TOL_BOUND_WRN);
    int32_t bk = 0;
    double bl = 0, bu = 0;
    vlr::VLRP_getbound(t, accmode, i, &bk, &bl, &bu);
    // A side is taken as finite only when it really is.
    const bool fin = finite != 0 && (lower ? value > -tinf : tinf > value);
    const int32_t keep = lower ? VLR_BK_UP : VLR_BK_LO;  // the key that has only the other side
    int32_t nbk = bk;
    if (!fin) {
      const bool other = bk == VLR_BK_RA || bk == VLR_BK_FX || bk == keep;
      nbk = other ? keep : VLR_BK_FR;
      (lower ? bl : bu) = lower ? -vlr::kInfinity : vlr::kInfinity;
    } else {
      if (std::fabs(value) >= w) {
        r = lower ? vlr::bound_warnlow(t, accmode, i, value)
                  : vlr::bound_warnupp(t, accmode, i, value);
        if (r != VLR_RES_OK) return r;
      }
      const int32_t own = lower ? VLR_BK_LO : VLR_BK_UP;  // the key that has only this side
      const double old = lower ? bl : bu;
      if ((bk == own || bk == VLR_BK_FX) && old == value) return VLR_RES_OK;
      if (bk == own || bk == VLR_BK_FR) {
        nbk = own;
      } else {
        nbk = VLR_BK_RA;
      }
      (lower ? bl : bu) = value;
      if (nbk == VLR_BK_RA && bl == bu) nbk = VLR_BK_FX;
    }
    vlr::bound_store(t, accmode, i, nbk, bl, bu);
    return VLR_RES_OK;
  });
}

int32_t VLR_putcj(VLRtask_t task, int32_t j, double cj) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putcj(t, j, cj);
  });
}

int32_t VLR_putclist(VLRtask_t task, int32_t num, const int32_t* subj, const double* val) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    if (num < 0) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_SMALL, num, "num");
    if (num > 0 && (subj == nullptr || val == nullptr)) {
      return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, subj == nullptr ? "subj" : "val");
    }
    // All elements are checked before any is stored.
    for (int32_t k = 0; k < num; ++k) {
      const int32_t r = vlr::bound_checkcj(t, subj[k], val[k], "subj");
      if (r != VLR_RES_OK) return r;
    }
    for (int32_t k = 0; k < num; ++k) {
      if (d->c[subj[k]] == val[k]) continue;
      vlr::VLR_updsolstaftercchg(t, subj[k]);
      d->c[subj[k]] = val[k];
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_getcslice(VLRtask_t task, int32_t first, int32_t last, double* c) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    const int32_t r = vlr::bound_checkslice(t, first, last, d->numvar);
    if (r != VLR_RES_OK) return r;
    if (c == nullptr && first < last) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "c");
    for (int32_t j = first; j < last; ++j)
      c[j - first] = d->c[j];
    return VLR_RES_OK;
  });
}

int32_t VLR_getc(VLRtask_t task, double* c) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    return VLR_getcslice(task, 0, vlr::VLR_taskcast(task)->data->numvar, c);
  });
}

int32_t VLR_putcfix(VLRtask_t task, double cfix) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putcfix(t, cfix);
  });
}

int32_t VLR_getcfix(VLRtask_t task, double* cfix) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    if (cfix == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "cfix");
    *cfix = d->cfix;
    return VLR_RES_OK;
  });
}

int32_t VLR_putobjsense(VLRtask_t task, int32_t sense) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    if (sense < VLR_OBJECTIVE_SENSE_UNDEFINED || sense > VLR_OBJECTIVE_SENSE_MAXIMIZE) {
      char text[16];
      std::snprintf(text, sizeof text, "%d", sense);
      return VLR_RAISE(t, VLR_RES_ERR_INVALID_OBJECTIVE_SENSE, text);
    }
    if (d->objsense != sense) vlr::VLR_makestatusunknown(t);
    d->objsense = sense;
    return VLR_RES_OK;
  });
}

int32_t VLR_getobjsense(VLRtask_t task, int32_t* sense) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    if (sense == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "sense");
    *sense = d->objsense;
    return VLR_RES_OK;
  });
}
