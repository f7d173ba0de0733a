// src/velor/amat.cpp: the constraint matrix of a task: elements, rows and columns, slices, and
// the whole-problem loads.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "velor/probdata.h"

namespace vlr {

namespace {

// NaN is an error, huge an error, large a warning; tiny values count as zeros.
int32_t amat_checkvalue(Task* task, int32_t i, int32_t j, double x, bool warn = true) {
  char bi[32], bj[32];
  if (std::isnan(x)) {
    return VLR_RAISE(task, VLR_RES_ERR_NAN_IN_AIJ, VLR_getnamex(task, VLR_PI_CON, i, bi), i,
                     VLR_getnamex(task, VLR_PI_VAR, j, bj), j);
  }
  const double ax = std::fabs(x);
  if (ax >= VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_AIJ_HUGE)) {
    return VLR_RAISE(task, VLR_RES_ERR_HUGE_AIJ, x, VLR_getnamex(task, VLR_PI_CON, i, bi), i,
                     VLR_getnamex(task, VLR_PI_VAR, j, bj), j);
  }
  if (warn && ax >= VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_AIJ_LARGE)) {
    return VLR_RAISE(task, VLR_RES_WRN_LARGE_AIJ, x, VLR_getnamex(task, VLR_PI_CON, i, bi), i,
                     VLR_getnamex(task, VLR_PI_VAR, j, bj), j);
  }
  return VLR_RES_OK;
}

int32_t amat_checkaccmode(Task* task, int32_t accmode) {
  if (accmode != VLR_ACC_VAR && accmode != VLR_ACC_CON) {
    return VLR_RAISE(task, VLR_RES_ERR_INVALID_ACCMODE, accmode);
  }
  return VLR_RES_OK;
}

int32_t amat_checkslice(Task* task, int32_t accmode, int32_t first, int32_t last) {
  int32_t r = amat_checkaccmode(task, accmode);
  if (r != VLR_RES_OK) return r;
  const int32_t n = accmode == VLR_ACC_CON ? task->data->numcon : task->data->numvar;
  if (first < 0) return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_SMALL, first, "first");
  if (last > n) return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_LARGE, last, "last");
  if (first > last) return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_LARGE, first, "first");
  return VLR_RES_OK;
}

int32_t amat_logged(Task* task, int64_t before, int32_t code) {
  if (code != kSprOk) return VLR_SPRRES(task, code);
  const int64_t after = VLR_sprmat_getmaxsize(task->data->a);
  if (after != before) {
    VLR_logexpand(task, "maximum number of A nonzeros", before, after);
  }
  return VLR_RES_OK;
}

template <class P>
int32_t amat_putaveclist(Task* task, int32_t accmode, int32_t num, const int32_t* sub,
                         const P* ptrb, const P* ptre, const int32_t* asub, const double* aval) {
  if (num < 0) return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_SMALL, num, "num");
  if (num > 0 && (sub == nullptr || ptrb == nullptr || ptre == nullptr)) {
    return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, sub == nullptr ? "sub" : "ptrb or ptre");
  }
  // Every vector is checked before any is written.
  for (int32_t k = 0; k < num; ++k) {
    if (ptre[k] < ptrb[k] || ptrb[k] < 0) return VLR_RAISE(task, VLR_RES_ERR_INV_APTRE, k);
    const int32_t r = VLRP_checkavec(task, accmode, sub[k], static_cast<int64_t>(ptre[k] - ptrb[k]),
                                     asub + ptrb[k], aval + ptrb[k]);
    if (r != VLR_RES_OK) return r;
  }
  for (int32_t k = 0; k < num; ++k) {
    const int32_t r = VLRP_putavec(task, accmode, sub[k], static_cast<int64_t>(ptre[k] - ptrb[k]),
                                   asub + ptrb[k], aval + ptrb[k]);
    if (r != VLR_RES_OK) return r;
  }
  return VLR_RES_OK;
}

// The slice readers fill sub and val from maxnumnz - surplus on: a surplus outside
// [0, maxnumnz] would write before the caller's arrays, and is refused before anything is read.
int32_t amat_checksurplus(Task* task, int64_t maxnumnz, int64_t surplus, bool arrays) {
  if (surplus < 0) return VLR_RAISE(task, VLR_RES_ERR_NEGATIVE_SURPLUS);
  if (maxnumnz < 0 || surplus > maxnumnz) return VLR_RAISE(task, VLR_RES_ERR_INVALID_SURPLUS);
  if (!arrays && surplus > 0) return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, "sub or val");
  return VLR_RES_OK;
}

template <class P>
int32_t amat_getaslice(Task* task, int32_t accmode, int32_t first, int32_t last, P maxnumnz,
                       P* surplus, P* ptrb, P* ptre, int32_t* sub, double* val) {
  int32_t r = amat_checkslice(task, accmode, first, last);
  if (r != VLR_RES_OK) return r;
  if (surplus == nullptr) return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, "surplus");
  r = amat_checksurplus(task, static_cast<int64_t>(maxnumnz), static_cast<int64_t>(*surplus),
                        sub != nullptr && val != nullptr);
  if (r != VLR_RES_OK) return r;
  sprmat* a = task->data->a;
  if constexpr (sizeof(P) == 8) {
    r = accmode == VLR_ACC_CON
            ? VLR_sprmat_getrowslice(a, first, last, maxnumnz, surplus, ptrb, ptre, sub, val)
            : VLR_sprmat_getcolslice(a, first, last, maxnumnz, surplus, ptrb, ptre, sub, val);
  } else {
    r = accmode == VLR_ACC_CON
            ? VLR_sprmat_getrowslice32(a, first, last, maxnumnz, surplus, ptrb, ptre, sub, val)
            : VLR_sprmat_getcolslice32(a, first, last, maxnumnz, surplus, ptrb, ptre, sub, val);
  }
  if (r == kSprSurplus) return VLR_RAISE(task, VLR_RES_ERR_NEGATIVE_SURPLUS);
  return r == kSprOk ? VLR_RES_OK : VLR_SPRRES(task, r);
}

template <class P>
int32_t amat_getaslicenumnz(Task* task, int32_t accmode, int32_t first, int32_t last, P* numnz) {
  int32_t r = amat_checkslice(task, accmode, first, last);
  if (r != VLR_RES_OK) return r;
  if (numnz == nullptr) return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, "numnz");
  int64_t total = 0;
  for (int32_t k = first; k < last; ++k) {
    int32_t nz = 0;
    r = accmode == VLR_ACC_CON ? VLR_sprmat_getrownzi(task->data->a, k, &nz)
                               : VLR_sprmat_getcolnzj(task->data->a, k, &nz);
    if (r != kSprOk) return VLR_SPRRES(task, r);
    total += nz;
  }
  if constexpr (sizeof(P) == 8) {
    *numnz = total;
    return VLR_RES_OK;
  } else {
    return VLR_int64to32dbg(task, VLR_HERE, numnz, total);
  }
}

// The numbers of a whole-problem load that can be checked before the old problem goes: costs,
// the constant and the bounds. Size warnings come later, as the items are stored.
int32_t amat_checkinput(Task* task, int32_t numcon, int32_t numvar, const double* c, double cfix,
                        const int32_t* bkc, const double* blc, const double* buc,
                        const int32_t* bkx, const double* blx, const double* bux) {
  if (!std::isfinite(cfix)) return VLR_RAISE(task, VLR_RES_ERR_NAN_IN_DOUBLE_DATA, "cfix");
  const double huge = VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_C_HUGE);
  char buf[32];
  for (int32_t j = 0; c != nullptr && j < numvar; ++j) {
    if (std::isnan(c[j])) {
      return VLR_RAISE(task, VLR_RES_ERR_NAN_IN_C, VLR_getnamex(task, VLR_PI_VAR, j, buf), j);
    }
    if (std::fabs(c[j]) > huge) {
      return VLR_RAISE(task, VLR_RES_ERR_HUGE_C, c[j], VLR_getnamex(task, VLR_PI_VAR, j, buf), j);
    }
  }
  int32_t r = VLR_RES_OK;
  for (int32_t i = 0; i < numcon && r == VLR_RES_OK; ++i)
    r = VLRP_checkboundvalue(task, VLR_ACC_CON, i, bkc[i], blc[i], buc[i]);
  for (int32_t j = 0; j < numvar && r == VLR_RES_OK; ++j)
    r = VLRP_checkboundvalue(task, VLR_ACC_VAR, j, bkx[j], blx[j], bux[j]);
  return r;
}

// Loads a whole linear problem: every column is checked before anything of the task changes.
template <class P>
int32_t amat_inputdata(VLRtask_t handle, Task* task, int32_t maxnumcon, int32_t maxnumvar,
                       int32_t numcon, int32_t numvar, const double* c, double cfix, const P* aptrb,
                       const P* aptre, const int32_t* asub, const double* aval, const int32_t* bkc,
                       const double* blc, const double* buc, const int32_t* bkx, const double* blx,
                       const double* bux) {
  if (numcon < 0) return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_SMALL, numcon, "numcon");
  if (numvar < 0) return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_SMALL, numvar, "numvar");
  if ((numcon > 0 && (bkc == nullptr || blc == nullptr || buc == nullptr)) ||
      (numvar > 0 && (bkx == nullptr || blx == nullptr || bux == nullptr || aptrb == nullptr ||
                      aptre == nullptr))) {
    return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, "bounds or aptrb/aptre");
  }
  int32_t r = VLR_RES_OK;
  auto* mark = static_cast<int32_t*>(VLR_getbufdbg(VLR_HERE, task, numcon, 4, 1, &r));
  if (r != VLR_RES_OK) return r;
  int64_t total = 0;
  for (int32_t j = 0; j < numvar && r == VLR_RES_OK; ++j) {
    if (aptre[j] < aptrb[j]) {
      r = VLR_RAISE(task, VLR_RES_ERR_INV_APTRE, j);
      break;
    }
    for (P k = aptrb[j]; k < aptre[j]; ++k) {
      const int32_t i = asub[k];
      const auto pos = static_cast<int32_t>(k);
      if (i < 0) {
        r = VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_SMALL, i, "asub", pos, 0);
      } else if (i >= numcon) {
        r = VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE, i, "asub", pos, numcon);
      } else if (mark[i] == j + 1) {
        r = VLR_RAISE(task, VLR_RES_ERR_MUL_A_ELEMENT, i, j);
      }
      if (r == VLR_RES_OK) r = amat_checkvalue(task, i, j, aval[k], false);
      if (r != VLR_RES_OK) break;
      mark[i] = j + 1;
    }
    total += static_cast<int64_t>(aptre[j] - aptrb[j]);
  }
  // The marks are column numbers, so they are cleared by one pass over the column's rows.
  for (int32_t j = 0; j < numvar; ++j) {
    for (P k = aptrb[j]; k < aptre[j]; ++k) {
      if (asub[k] >= 0 && asub[k] < numcon) mark[asub[k]] = 0;
    }
  }
  VLR_putbuf(task, 4, 1, reinterpret_cast<void**>(&mark));
  if (r != VLR_RES_OK) return r;
  r = amat_checkinput(task, numcon, numvar, c, cfix, bkc, blc, buc, bkx, blx, bux);
  if (r != VLR_RES_OK) return r;
  r = VLR_resizetask64(handle, std::max(maxnumcon, numcon), std::max(maxnumvar, numvar), 0, total,
                       0);
  if (r == VLR_RES_OK) r = VLR_core_append(task, VLR_ACC_CON, numcon, nullptr);
  if (r == VLR_RES_OK) r = VLR_core_append(task, VLR_ACC_VAR, numvar, nullptr);
  if (r == VLR_RES_OK) r = VLRP_putcfix(task, cfix);
  for (int32_t j = 0; j < numvar && r == VLR_RES_OK; ++j)
    r = VLRP_putcj(task, j, c != nullptr ? c[j] : 0.0);
  for (int32_t i = 0; i < numcon && r == VLR_RES_OK; ++i)
    r = VLRP_putbound(task, VLR_ACC_CON, i, bkc[i], blc[i], buc[i]);
  for (int32_t j = 0; j < numvar && r == VLR_RES_OK; ++j)
    r = VLRP_putbound(task, VLR_ACC_VAR, j, bkx[j], blx[j], bux[j]);
  for (int32_t j = 0; j < numvar && r == VLR_RES_OK; ++j) {
    r = VLRP_putavec(task, VLR_ACC_VAR, j, static_cast<int64_t>(aptre[j] - aptrb[j]),
                     asub + aptrb[j], aval + aptrb[j]);
  }
  return r;
}

// Appends num items and loads them one by one; a failure keeps the items loaded before it.
template <class P>
int32_t amat_appendload(Task* task, int32_t accmode, int32_t num, const double* c, const P* aptrb,
                        const P* aptre, const int32_t* asub, const double* aval, const int32_t* bk,
                        const double* bl, const double* bu) {
  if (num < 0) return VLR_RAISE(task, VLR_RES_ERR_IN_ARGUMENT, "num");
  if (num > 0 &&
      (aptrb == nullptr || aptre == nullptr || bk == nullptr || bl == nullptr || bu == nullptr)) {
    return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, "aptrb, aptre, bk, bl or bu");
  }
  int32_t first = 0;
  int32_t r = VLR_core_append(task, accmode, num, &first);
  for (int32_t k = 0; k < num && r == VLR_RES_OK; ++k) {
    if (c != nullptr) r = VLRP_putcj(task, first + k, c[k]);
    if (r == VLR_RES_OK) r = VLRP_putbound(task, accmode, first + k, bk[k], bl[k], bu[k]);
    if (r == VLR_RES_OK && aptre[k] < aptrb[k]) r = VLR_RAISE(task, VLR_RES_ERR_INV_APTRE, k);
    if (r == VLR_RES_OK) {
      r = VLRP_putavec(task, accmode, first + k, static_cast<int64_t>(aptre[k] - aptrb[k]),
                       asub + aptrb[k], aval + aptrb[k]);
    }
  }
  return r;
}

}  // namespace

int32_t VLRP_checkaij(Task* task, int32_t i, int32_t j, double aij) {
  const TaskData* d = task->data;
  int32_t r = VLR_checkindexdbg(VLR_HERE, task, i, d->numcon, "i");
  if (r == VLR_RES_OK) r = VLR_checkindexdbg(VLR_HERE, task, j, d->numvar, "j");
  if (r == VLR_RES_OK) r = amat_checkvalue(task, i, j, aij);
  return r;
}

int32_t VLRP_putaij(Task* task, int32_t i, int32_t j, double aij) {
  TaskData* d = task->data;
  int32_t r = VLRP_checkaij(task, i, j, aij);
  if (r != VLR_RES_OK) return r;
  // A tiny value is stored as 0, which the cache turns into a removal.
  if (std::fabs(aij) < VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_AIJ)) aij = 0.0;
  const int64_t before = VLR_sprmat_getmaxsize(d->a);
  r = amat_logged(task, before, VLR_sprmat_putaij(d->a, i, j, aij));
  if (r == VLR_RES_OK) VLR_updsolstafterachg(task, j);
  return r;
}

int32_t VLRP_checkavec(Task* task, int32_t accmode, int32_t i, int64_t nz, const int32_t* sub,
                       const double* val) {
  const TaskData* d = task->data;
  int32_t r = amat_checkaccmode(task, accmode);
  if (r != VLR_RES_OK) return r;
  const bool row = accmode == VLR_ACC_CON;
  const int32_t n = row ? d->numvar : d->numcon;
  const char* what = row ? "subj" : "subi";
  r = VLR_checkindexdbg(VLR_HERE, task, i, row ? d->numcon : d->numvar, "i");
  if (r != VLR_RES_OK) return r;
  if (nz < 0) return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_SMALL, static_cast<int>(nz), "nzi");
  if (nz > 0 && (sub == nullptr || val == nullptr)) {
    return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, sub == nullptr ? what : "val");
  }
  for (int64_t k = 0; k < nz; ++k) {
    const auto pos = static_cast<int32_t>(k);
    if (sub[k] < 0)
      return VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_SMALL, sub[k], what, pos, 0);
    if (sub[k] >= n) {
      return VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE, sub[k], what, pos, n);
    }
    r = amat_checkvalue(task, row ? i : sub[k], row ? sub[k] : i, val[k]);
    if (r != VLR_RES_OK) return r;
  }
  return VLR_RES_OK;
}

int32_t VLRP_putavec(Task* task, int32_t accmode, int32_t i, int64_t nz, const int32_t* sub,
                     const double* val) {
  TaskData* d = task->data;
  int32_t r = VLRP_checkavec(task, accmode, i, nz, sub, val);
  if (r != VLR_RES_OK) return r;
  const bool row = accmode == VLR_ACC_CON;
  const int32_t n = row ? d->numvar : d->numcon;
  const double tiny = VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_AIJ);
  int64_t nsmall = 0;
  for (int64_t k = 0; k < nz; ++k) {
    if (std::fabs(val[k]) <= tiny) ++nsmall;
  }
  // Gather in a dense array, summing repeated indices, and write the distinct ones.
  int32_t r1 = VLR_RES_OK, r2 = VLR_RES_OK, r3 = VLR_RES_OK;
  auto* dense = static_cast<double*>(VLR_getbufdbg(VLR_HERE, task, n, 8, 1, &r1));
  auto* list = static_cast<int32_t*>(VLR_getbufdbg(VLR_HERE, task, nz, 4, 0, &r2));
  auto* mark = static_cast<int32_t*>(VLR_getbufdbg(VLR_HERE, task, n, 4, 1, &r3));
  if (r1 != VLR_RES_OK || r2 != VLR_RES_OK || r3 != VLR_RES_OK) {
    VLR_putbuf(task, 8, 1, reinterpret_cast<void**>(&dense));
    VLR_putbuf(task, 4, 0, reinterpret_cast<void**>(&list));
    VLR_putbuf(task, 4, 1, reinterpret_cast<void**>(&mark));
    return r1 != VLR_RES_OK ? r1 : (r2 != VLR_RES_OK ? r2 : r3);
  }
  int64_t nlist = 0;
  for (int64_t k = 0; k < nz; ++k) {
    if (std::fabs(val[k]) <= tiny) continue;
    if (!mark[sub[k]]) {
      mark[sub[k]] = 1;
      list[nlist++] = sub[k];
    }
    dense[sub[k]] += val[k];
  }
  const int64_t before = VLR_sprmat_getmaxsize(d->a);
  const int32_t code = row ? VLR_sprmat_gatherrowi(d->a, i, nlist, list, dense)
                           : VLR_sprmat_gathercolj(d->a, i, nlist, list, dense);
  // A change of A downgrades every solution whichever column it touches: one call serves a row.
  if (code == kSprOk) VLR_updsolstafterachg(task, row ? 0 : i);
  for (int64_t k = 0; k < nlist; ++k) {
    dense[list[k]] = 0.0;
    mark[list[k]] = 0;
  }
  VLR_putbuf(task, 8, 1, reinterpret_cast<void**>(&dense));
  VLR_putbuf(task, 4, 0, reinterpret_cast<void**>(&list));
  VLR_putbuf(task, 4, 1, reinterpret_cast<void**>(&mark));
  r = amat_logged(task, before, code);
  if (r == VLR_RES_OK && nsmall > 0) {
    char buf[32];
    r = VLR_RAISE(task, row ? VLR_RES_WRN_ZEROS_IN_SPARSE_ROW : VLR_RES_WRN_ZEROS_IN_SPARSE_COL,
                  static_cast<long long>(nsmall),
                  VLR_getnamex(task, row ? VLR_PI_CON : VLR_PI_VAR, i, buf), i, "A");
  }
  return r;
}

}  // namespace vlr

int32_t VLR_putaij(VLRtask_t task, int32_t i, int32_t j, double aij) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putaij(t, i, j, aij);
  });
}

int32_t VLR_putaijlist(VLRtask_t task, int32_t num, const int32_t* subi, const int32_t* subj,
                       const double* valij) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    if (num < 0) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_SMALL, num, "num");
    if (num > 0 && (subi == nullptr || subj == nullptr || valij == nullptr)) {
      return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "subi, subj or valij");
    }
    // Every element is checked before any is written.
    for (int32_t k = 0; k < num; ++k) {
      const int32_t r = vlr::VLRP_checkaij(t, subi[k], subj[k], valij[k]);
      if (r != VLR_RES_OK) return r;
    }
    for (int32_t k = 0; k < num; ++k) {
      const int32_t r = vlr::VLRP_putaij(t, subi[k], subj[k], valij[k]);
      if (r != VLR_RES_OK) return r;
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_getaij(VLRtask_t task, int32_t i, int32_t j, double* aij) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, d->numcon, "i");
    if (r == VLR_RES_OK) r = vlr::VLR_checkindexdbg(VLR_HERE, t, j, d->numvar, "j");
    if (r != VLR_RES_OK) return r;
    if (aij == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "aij");
    r = vlr::VLR_sprmat_getaij(d->a, i, j, aij);
    return r == vlr::kSprOk ? VLR_RES_OK : VLR_SPRRES(t, r);
  });
}

int32_t VLR_putavec64(VLRtask_t task, int32_t accmode, int32_t i, int64_t nzi, const int32_t* asub,
                      const double* aval) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putavec(t, accmode, i, nzi, asub, aval);
  });
}

int32_t VLR_putavec(VLRtask_t task, int32_t accmode, int32_t i, int32_t nzi, const int32_t* asub,
                    const double* aval) {
  return VLR_putavec64(task, accmode, i, nzi, asub, aval);
}

int32_t VLR_putaveclist(VLRtask_t task, int32_t accmode, int32_t num, const int32_t* sub,
                        const int32_t* ptrb, const int32_t* ptre, const int32_t* asub,
                        const double* aval) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::amat_putaveclist(t, accmode, num, sub, ptrb, ptre, asub, aval);
  });
}

int32_t VLR_putaveclist64(VLRtask_t task, int32_t accmode, int32_t num, const int32_t* sub,
                          const int64_t* ptrb, const int64_t* ptre, const int32_t* asub,
                          const double* aval) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::amat_putaveclist(t, accmode, num, sub, ptrb, ptre, asub, aval);
  });
}

int32_t VLR_getavecnumnz(VLRtask_t task, int32_t accmode, int32_t i, int32_t* nzi) {
  return VLR_getavec(task, accmode, i, nzi, nullptr, nullptr);
}

int32_t VLR_getavec(VLRtask_t task, int32_t accmode, int32_t i, int32_t* nzi, int32_t* subi,
                    double* vali) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::amat_checkaccmode(t, accmode);
    if (r != VLR_RES_OK) return r;
    r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, accmode == VLR_ACC_CON ? d->numcon : d->numvar, "i");
    if (r != VLR_RES_OK) return r;
    if (nzi == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "nzi");
    r = accmode == VLR_ACC_CON ? vlr::VLR_sprmat_getrowi(d->a, i, nzi, subi, vali)
                               : vlr::VLR_sprmat_getcolj(d->a, i, nzi, subi, vali);
    return r == vlr::kSprOk ? VLR_RES_OK : VLR_SPRRES(t, r);
  });
}

int32_t VLR_getaslice64(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                        int64_t maxnumnz, int64_t* surp, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                        double* val) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    return vlr::amat_getaslice(t, accmode, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
  });
}

int32_t VLR_getaslice(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                      int32_t maxnumnz, int32_t* surp, int32_t* ptrb, int32_t* ptre, int32_t* sub,
                      double* val) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    return vlr::amat_getaslice(t, accmode, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
  });
}

int32_t VLR_getaslicenumnz64(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                             int64_t* numnz) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    return vlr::amat_getaslicenumnz(t, accmode, first, last, numnz);
  });
}

int32_t VLR_getaslicenumnz(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                           int32_t* numnz) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    return vlr::amat_getaslicenumnz(t, accmode, first, last, numnz);
  });
}

int32_t VLR_getaslicetrip(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                          int32_t maxnumnz, int32_t* surp, int32_t* subi, int32_t* subj,
                          double* val) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::amat_checkslice(t, accmode, first, last);
    if (r != VLR_RES_OK) return r;
    if (surp == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "surp");
    r = vlr::amat_checksurplus(t, maxnumnz, *surp,
                               subi != nullptr && subj != nullptr && val != nullptr);
    if (r != VLR_RES_OK) return r;
    int64_t s = *surp;
    r = accmode == VLR_ACC_CON
            ? vlr::VLR_sprmat_getrowslicetrip(d->a, first, last, maxnumnz, &s, subi, subj, val)
            : vlr::VLR_sprmat_getcolslicetrip(d->a, first, last, maxnumnz, &s, subi, subj, val);
    if (r == vlr::kSprSurplus) return VLR_RAISE(t, VLR_RES_ERR_NEGATIVE_SURPLUS);
    if (r != vlr::kSprOk) return VLR_SPRRES(t, r);
    *surp = static_cast<int32_t>(s);
    return VLR_RES_OK;
  });
}

int32_t VLR_getapiecenumnz(VLRtask_t task, int32_t firsti, int32_t lasti, int32_t firstj,
                           int32_t lastj, int32_t* numnz) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::amat_checkslice(t, VLR_ACC_CON, firsti, lasti);
    if (r == VLR_RES_OK) r = vlr::amat_checkslice(t, VLR_ACC_VAR, firstj, lastj);
    if (r != VLR_RES_OK) return r;
    if (numnz == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "numnz");
    int64_t n = 0;
    r = vlr::VLR_sprmat_getpiecesize(d->a, firsti, lasti, firstj, lastj, &n);
    if (r != vlr::kSprOk) return VLR_SPRRES(t, r);
    return vlr::VLR_int64to32dbg(t, VLR_HERE, numnz, n);
  });
}

int32_t VLR_appendvars(VLRtask_t task, int32_t num, const double* cval, const int32_t* aptrb,
                       const int32_t* aptre, const int32_t* asub, const double* aval,
                       const int32_t* bkx, const double* blx, const double* bux) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::amat_appendload(t, VLR_ACC_VAR, num, cval, aptrb, aptre, asub, aval, bkx, blx, bux);
  });
}

int32_t VLR_appendcons(VLRtask_t task, int32_t num, const int32_t* aptrb, const int32_t* aptre,
                       const int32_t* asub, const double* aval, const int32_t* bkc,
                       const double* blc, const double* buc) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::amat_appendload(t, VLR_ACC_CON, num, nullptr, aptrb, aptre, asub, aval, bkc, blc,
                                buc);
  });
}

int32_t VLR_inputdata(VLRtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t numcon,
                      int32_t numvar, const double* c, double cfix, const int32_t* aptrb,
                      const int32_t* aptre, const int32_t* asub, const double* aval,
                      const int32_t* bkc, const double* blc, const double* buc, const int32_t* bkx,
                      const double* blx, const double* bux) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::amat_inputdata(task, t, maxnumcon, maxnumvar, numcon, numvar, c, cfix, aptrb, aptre,
                               asub, aval, bkc, blc, buc, bkx, blx, bux);
  });
}

int32_t VLR_inputdata64(VLRtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t numcon,
                        int32_t numvar, const double* c, double cfix, const int64_t* aptrb,
                        const int64_t* aptre, const int32_t* asub, const double* aval,
                        const int32_t* bkc, const double* blc, const double* buc,
                        const int32_t* bkx, const double* blx, const double* bux) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::amat_inputdata(task, t, maxnumcon, maxnumvar, numcon, numvar, c, cfix, aptrb, aptre,
                               asub, aval, bkc, blc, buc, bkx, blx, bux);
  });
}
