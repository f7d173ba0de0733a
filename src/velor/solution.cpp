// src/velor/solution.cpp: the three solutions of a task: storage that follows the capacities,
// status downgrades as the problem changes under a solution, and the put and get family.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstring>

#include "velor/probdata.h"

namespace vlr {

namespace {

int32_t sol_numitems(int32_t whichsol) {
  return whichsol == VLR_SOL_ITR ? 8 : whichsol == VLR_SOL_BAS ? 7 : 2;
}

bool sol_isvaritem(int32_t item) {
  return item == VLR_SOL_ITEM_XX || item == VLR_SOL_ITEM_SLX || item == VLR_SOL_ITEM_SUX ||
         item == VLR_SOL_ITEM_SNX;
}

// Place of an item in the data array: xc, xx, y, slc, suc, slx, sux, snx.
int64_t sol_itemoffset(int64_t m, int64_t n, int32_t item) {
  static constexpr int32_t kCons[8] = {0, 1, 1, 2, 3, 4, 4, 4};  // constraint items before it
  static constexpr int32_t kVars[8] = {0, 0, 1, 1, 1, 1, 2, 3};  // variable items before it
  return kCons[item] * m + kVars[item] * n;
}

int64_t sol_datasize(int32_t whichsol, int64_t m, int64_t n) {
  return whichsol == VLR_SOL_ITR ? 4 * m + 4 * n : whichsol == VLR_SOL_BAS ? 4 * m + 3 * n : m + n;
}

int64_t sol_keysize(int32_t whichsol, int64_t m, int64_t n, int64_t k) {
  return m + n + (whichsol == VLR_SOL_ITR ? k : 0);
}

bool sol_isinfeasprosta(int32_t prosta) {
  return prosta == VLR_PRO_STA_PRIM_INFEAS || prosta == VLR_PRO_STA_DUAL_INFEAS ||
         prosta == VLR_PRO_STA_PRIM_AND_DUAL_INFEAS || prosta == VLR_PRO_STA_ILL_POSED ||
         prosta == VLR_PRO_STA_PRIM_INFEAS_OR_UNBOUNDED;
}

// The statuses after a change that may cost primal feasibility (a tightened bound).
void sol_fallprimal(SolRec* s) {
  switch (s->prosta) {
    case VLR_PRO_STA_PRIM_AND_DUAL_INFEAS:
      s->prosta = VLR_PRO_STA_PRIM_INFEAS;
      break;
    case VLR_PRO_STA_DUAL_INFEAS:
    case VLR_PRO_STA_ILL_POSED:
    case VLR_PRO_STA_PRIM_FEAS:
    case VLR_PRO_STA_NEAR_PRIM_FEAS:
      s->prosta = VLR_PRO_STA_UNKNOWN;
      break;
    case VLR_PRO_STA_PRIM_AND_DUAL_FEAS:
      s->prosta = VLR_PRO_STA_DUAL_FEAS;
      break;
    case VLR_PRO_STA_NEAR_PRIM_AND_DUAL_FEAS:
      s->prosta = VLR_PRO_STA_NEAR_DUAL_FEAS;
      break;
    default:
      break;
  }
  switch (s->solsta) {
    case VLR_SOL_STA_OPTIMAL:
    case VLR_SOL_STA_PRIM_AND_DUAL_FEAS:
      s->solsta = VLR_SOL_STA_DUAL_FEAS;
      break;
    case VLR_SOL_STA_NEAR_OPTIMAL:
    case VLR_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS:
      s->solsta = VLR_SOL_STA_NEAR_DUAL_FEAS;
      break;
    case VLR_SOL_STA_PRIM_FEAS:
    case VLR_SOL_STA_NEAR_PRIM_FEAS:
    case VLR_SOL_STA_DUAL_INFEAS_CER:
    case VLR_SOL_STA_NEAR_DUAL_INFEAS_CER:
    case VLR_SOL_STA_INTEGER_OPTIMAL:
    case VLR_SOL_STA_NEAR_INTEGER_OPTIMAL:
      s->solsta = VLR_SOL_STA_UNKNOWN;
      break;
    default:
      break;
  }
}

// The mirror: a change that may cost dual feasibility (a change of c). An integer solution stays
// feasible but is no longer known to be optimal.
void sol_falldual(SolRec* s) {
  switch (s->prosta) {
    case VLR_PRO_STA_PRIM_AND_DUAL_INFEAS:
      s->prosta = VLR_PRO_STA_DUAL_INFEAS;
      break;
    case VLR_PRO_STA_PRIM_INFEAS:
    case VLR_PRO_STA_ILL_POSED:
    case VLR_PRO_STA_DUAL_FEAS:
    case VLR_PRO_STA_NEAR_DUAL_FEAS:
      s->prosta = VLR_PRO_STA_UNKNOWN;
      break;
    case VLR_PRO_STA_PRIM_AND_DUAL_FEAS:
      s->prosta = VLR_PRO_STA_PRIM_FEAS;
      break;
    case VLR_PRO_STA_NEAR_PRIM_AND_DUAL_FEAS:
      s->prosta = VLR_PRO_STA_NEAR_PRIM_FEAS;
      break;
    default:
      break;
  }
  switch (s->solsta) {
    case VLR_SOL_STA_OPTIMAL:
    case VLR_SOL_STA_PRIM_AND_DUAL_FEAS:
    case VLR_SOL_STA_INTEGER_OPTIMAL:
      s->solsta = VLR_SOL_STA_PRIM_FEAS;
      break;
    case VLR_SOL_STA_NEAR_OPTIMAL:
    case VLR_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS:
    case VLR_SOL_STA_NEAR_INTEGER_OPTIMAL:
      s->solsta = VLR_SOL_STA_NEAR_PRIM_FEAS;
      break;
    case VLR_SOL_STA_DUAL_FEAS:
    case VLR_SOL_STA_NEAR_DUAL_FEAS:
    case VLR_SOL_STA_PRIM_INFEAS_CER:
    case VLR_SOL_STA_NEAR_PRIM_INFEAS_CER:
      s->solsta = VLR_SOL_STA_UNKNOWN;
      break;
    default:
      break;
  }
}

void sol_free(Task* task, SolRec* s) {
  VLR_taskfree(task, s->keys);
  VLR_taskfree(task, s->data);
  *s = SolRec{};
}

// Copies the entries of the present items from one layout to another.
void sol_copy(int32_t whichsol, const SolRec& from, SolRec* to, int32_t numcon, int32_t numvar,
              int32_t numcone) {
  auto copyint = [](const int32_t* a, int32_t* b, int32_t n) {
    if (n > 0) std::memcpy(b, a, sizeof(int32_t) * size_t(n));
  };
  copyint(from.keys, to->keys, numcon);
  copyint(from.keys + from.m, to->keys + to->m, numvar);
  if (whichsol == VLR_SOL_ITR)
    copyint(from.keys + from.m + from.n, to->keys + to->m + to->n, numcone);
  for (int32_t item = 0; item < sol_numitems(whichsol); ++item) {
    const int32_t n = sol_isvaritem(item) ? numvar : numcon;
    if (n > 0) {
      std::memcpy(to->data + sol_itemoffset(to->m, to->n, item),
                  from.data + sol_itemoffset(from.m, from.n, item), sizeof(double) * size_t(n));
    }
  }
}

bool sol_alloc(Task* task, int32_t whichsol, int32_t m, int32_t n, int32_t k, SolRec* s) {
  *s = SolRec{};
  s->m = m;
  s->n = n;
  s->k = k;
  const int64_t nk = sol_keysize(whichsol, m, n, k), nd = sol_datasize(whichsol, m, n);
  s->keys = static_cast<int32_t*>(VLR_taskalloc(task, nk, sizeof(int32_t)));
  s->data = static_cast<double*>(VLR_taskalloc(task, nd, sizeof(double)));
  if ((nk > 0 && s->keys == nullptr) || (nd > 0 && s->data == nullptr)) {
    sol_free(task, s);
    return false;
  }
  s->made = 1;
  return true;
}

int32_t sol_checkkeys(Task* task, const int32_t* sk, int32_t n, int32_t code) {
  for (int32_t k = 0; sk != nullptr && k < n; ++k) {
    if (sk[k] < VLR_SK_UNK || sk[k] > VLR_SK_INF) return VLR_RAISE(task, code, k);
  }
  return VLR_RES_OK;
}

}  // namespace

double VLR_gettau(int32_t solsta) {
  const bool cer = solsta == VLR_SOL_STA_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_DUAL_INFEAS_CER ||
                   solsta == VLR_SOL_STA_NEAR_PRIM_INFEAS_CER ||
                   solsta == VLR_SOL_STA_NEAR_DUAL_INFEAS_CER;
  return cer ? 0.0 : 1.0;
}

int32_t VLR_checkwhichsol(Task* task, int32_t whichsol) {
  if (whichsol < VLR_SOL_ITR || whichsol > VLR_SOL_ITG) {
    return VLR_RAISE(task, VLR_RES_ERR_WHICHSOL, whichsol);
  }
  return VLR_RES_OK;
}

int32_t VLR_checksolitem(Task* task, int32_t whichsol, int32_t solitem) {
  if (solitem < 0 || solitem >= sol_numitems(whichsol)) {
    return VLR_RAISE(task, VLR_RES_ERR_SOLITEM, solitem, whichsol);
  }
  return VLR_RES_OK;
}

double* VLR_solitemptr(const Task* task, int32_t whichsol, int32_t item) {
  const SolRec& s = task->sols->sol[whichsol];
  if (!s.made || item < 0 || item >= sol_numitems(whichsol) || s.data == nullptr) return nullptr;
  return s.data + sol_itemoffset(s.m, s.n, item);
}

int32_t* VLR_solkeyptr(const Task* task, int32_t whichsol, int32_t accmode) {
  const SolRec& s = task->sols->sol[whichsol];
  if (!s.made || s.keys == nullptr) return nullptr;
  if (accmode == VLR_ACC_CON) return s.keys;
  if (accmode == VLR_ACC_VAR) return s.keys + s.m;
  return whichsol == VLR_SOL_ITR ? s.keys + s.m + s.n : nullptr;
}

int32_t VLR_makesolution(Task* task, int32_t whichsol) {
  SolRec& s = task->sols->sol[whichsol];
  if (s.made) return VLR_RES_OK;
  const TaskData* d = task->data;
  if (!sol_alloc(task, whichsol, d->maxnumcon, d->maxnumvar, d->maxnumcone, &s)) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  return VLR_RES_OK;
}

void VLR_deletesolutions(Task* task) {
  if (task->sols == nullptr) return;
  for (SolRec& s : task->sols->sol)
    sol_free(task, &s);
}

int32_t VLR_resizesolution(Task* task, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone) {
  const TaskData* d = task->data;
  SolRec fresh[3] = {};
  for (int32_t w = 0; w < 3; ++w) {
    if (!task->sols->sol[w].made) continue;
    if (!sol_alloc(task, w, maxnumcon, maxnumvar, maxnumcone, &fresh[w])) {
      for (SolRec& f : fresh)
        sol_free(task, &f);
      return VLR_RAISE(task, VLR_RES_ERR_SPACE);
    }
  }
  for (int32_t w = 0; w < 3; ++w) {
    SolRec& s = task->sols->sol[w];
    if (!s.made) continue;
    sol_copy(w, s, &fresh[w], d->numcon, d->numvar, std::min(d->numcone, maxnumcone));
    fresh[w].prosta = s.prosta;
    fresh[w].solsta = s.solsta;
    fresh[w].defined = s.defined;
    sol_free(task, &s);
    s = fresh[w];
  }
  return VLR_RES_OK;
}

int32_t VLR_solutiondefrec(const Task* task, int32_t whichsol) {
  const SolRec& s = task->sols->sol[whichsol];
  return s.made && s.defined ? 1 : 0;
}

void VLR_makestatusunknown(Task* task) {
  for (SolRec& s : task->sols->sol) {
    if (!s.made || !s.defined) continue;
    s.prosta = VLR_PRO_STA_UNKNOWN;
    s.solsta = VLR_SOL_STA_UNKNOWN;
  }
}

void VLR_soldowngrade(SolRec* s, bool primal, bool dual) {
  if (primal) sol_fallprimal(s);
  if (dual) sol_falldual(s);
}

void VLR_updsolstafterbndchg(Task* task, int32_t accmode, int32_t i, int32_t oldbk, double oldbl,
                             double oldbu) {
  int32_t bk = 0;
  double bl = 0, bu = 0;
  VLRP_getbound(task, accmode, i, &bk, &bl, &bu);
  for (int32_t w = 0; w < 3; ++w) {
    SolRec& s = task->sols->sol[w];
    if (!s.made || !s.defined) continue;
    const double tol =
        VLRP_getdouparam(task, w == VLR_SOL_BAS ? VLR_DPAR_BASIS_TOL_X : VLR_DPAR_DATA_TOL_X);
    const double x =
        VLR_solitemptr(task, w, accmode == VLR_ACC_CON ? VLR_SOL_ITEM_XC : VLR_SOL_ITEM_XX)[i];
    // A side tightens when it is new or has moved inward by more than tol.
    const bool lowtight = VLR_bkhaslow(bk) && (!VLR_bkhaslow(oldbk) || bl > oldbl + tol);
    const bool upptight = VLR_bkhasupp(bk) && (!VLR_bkhasupp(oldbk) || bu < oldbu - tol);
    const bool hit = (lowtight && bl - tol > x) || (upptight && bu + tol < x);
    if (hit || sol_isinfeasprosta(s.prosta)) sol_fallprimal(&s);
  }
}

void VLR_updsolstaftercchg(Task* task, int32_t) {
  for (SolRec& s : task->sols->sol) {
    if (s.made && s.defined) sol_falldual(&s);
  }
}

void VLR_updsolstafterachg(Task* task, int32_t) {
  for (SolRec& s : task->sols->sol) {
    if (s.made && s.defined) VLR_soldowngrade(&s, true, true);
  }
}

void VLR_updsolstafterappend(Task* task, int32_t accmode, int32_t i) {
  for (int32_t w = 0; w < 3; ++w) {
    if (!task->sols->sol[w].made) continue;
    VLR_solkeyptr(task, w, accmode)[i] = VLR_SK_UNK;
    for (int32_t item = 0; item < sol_numitems(w); ++item) {
      if (sol_isvaritem(item) == (accmode == VLR_ACC_VAR)) VLR_solitemptr(task, w, item)[i] = 0.0;
    }
  }
}

void VLR_solpermute(Task* task, int32_t accmode, const int32_t* perm, int32_t count) {
  auto move = [&](auto* a) {
    for (int32_t i = 0; i < count; ++i) {
      if (perm[i] >= 0) a[perm[i]] = a[i];
    }
  };
  for (int32_t w = 0; w < 3; ++w) {
    if (!task->sols->sol[w].made) continue;
    move(VLR_solkeyptr(task, w, accmode));
    for (int32_t item = 0; item < sol_numitems(w); ++item) {
      if (sol_isvaritem(item) == (accmode == VLR_ACC_VAR)) move(VLR_solitemptr(task, w, item));
    }
  }
}

}  // namespace vlr

namespace {

// The checks every reader of a solution runs: the type, then that the solution is defined.
int32_t sol_checkdefined(vlr::Task* t, int32_t whichsol) {
  int32_t r = vlr::VLR_checkwhichsol(t, whichsol);
  if (r != VLR_RES_OK) return r;
  if (!vlr::VLR_solutiondefrec(t, whichsol)) {
    return VLR_RAISE(t, VLR_RES_ERR_UNDEF_SOLUTION, whichsol);
  }
  return VLR_RES_OK;
}

int32_t sol_itemcount(const vlr::TaskData* d, int32_t item) {
  return vlr::sol_isvaritem(item) ? d->numvar : d->numcon;
}

}  // namespace

int32_t VLR_putsolution(VLRtask_t task, int32_t whichsol, const int32_t* skc, const int32_t* skx,
                        const int32_t* skn, const double* xc, const double* xx, const double* y,
                        const double* slc, const double* suc, const double* slx, const double* sux,
                        const double* snx) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    int32_t r = vlr::VLR_checkwhichsol(t, whichsol);
    if (r == VLR_RES_OK) r = vlr::sol_checkkeys(t, skc, d->numcon, VLR_RES_ERR_INV_SKC);
    if (r == VLR_RES_OK) r = vlr::sol_checkkeys(t, skx, d->numvar, VLR_RES_ERR_INV_SKX);
    if (r == VLR_RES_OK && whichsol == VLR_SOL_ITR) {
      r = vlr::sol_checkkeys(t, skn, d->numcone, VLR_RES_ERR_INV_SKN);
    }
    if (r == VLR_RES_OK) r = vlr::VLR_makesolution(t, whichsol);
    if (r != VLR_RES_OK) return r;
    auto copykeys = [](const int32_t* from, int32_t* to, int32_t n) {
      if (from != nullptr && n > 0) std::memcpy(to, from, sizeof(int32_t) * size_t(n));
    };
    copykeys(skc, vlr::VLR_solkeyptr(t, whichsol, VLR_ACC_CON), d->numcon);
    copykeys(skx, vlr::VLR_solkeyptr(t, whichsol, VLR_ACC_VAR), d->numvar);
    if (whichsol == VLR_SOL_ITR) copykeys(skn, vlr::VLR_solkeyptr(t, whichsol, 2), d->numcone);
    const double* items[8] = {xc, xx, y, slc, suc, slx, sux, snx};
    for (int32_t item = 0; item < vlr::sol_numitems(whichsol); ++item) {
      const int32_t n = sol_itemcount(d, item);
      if (items[item] != nullptr && n > 0) {
        std::memcpy(vlr::VLR_solitemptr(t, whichsol, item), items[item],
                    sizeof(double) * size_t(n));
      }
    }
    t->sols->sol[whichsol].defined = 1;
    if (whichsol == VLR_SOL_BAS) {
      int32_t nbas = 0;
      const int32_t* keys = vlr::VLR_solkeyptr(t, whichsol, VLR_ACC_CON);
      for (int32_t i = 0; i < d->numcon; ++i)
        nbas += keys[i] == VLR_SK_BAS;
      keys = vlr::VLR_solkeyptr(t, whichsol, VLR_ACC_VAR);
      for (int32_t j = 0; j < d->numvar; ++j)
        nbas += keys[j] == VLR_SK_BAS;
      if (nbas < d->numcon) return VLR_RAISE(t, VLR_RES_WRN_TOO_FEW_BASIS_VARS, nbas, d->numcon);
      if (nbas > d->numcon) return VLR_RAISE(t, VLR_RES_WRN_TOO_MANY_BASIS_VARS, nbas, d->numcon);
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_getsolution(VLRtask_t task, int32_t whichsol, int32_t* prosta, int32_t* solsta,
                        int32_t* skc, int32_t* skx, int32_t* skn, double* xc, double* xx, double* y,
                        double* slc, double* suc, double* slx, double* sux, double* snx) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    const int32_t r = sol_checkdefined(t, whichsol);
    if (r != VLR_RES_OK) return r;
    const vlr::SolRec& s = t->sols->sol[whichsol];
    if (prosta != nullptr) *prosta = s.prosta;
    if (solsta != nullptr) *solsta = s.solsta;
    auto copykeys = [](const int32_t* from, int32_t* to, int32_t n) {
      if (to != nullptr && n > 0) std::memcpy(to, from, sizeof(int32_t) * size_t(n));
    };
    copykeys(vlr::VLR_solkeyptr(t, whichsol, VLR_ACC_CON), skc, d->numcon);
    copykeys(vlr::VLR_solkeyptr(t, whichsol, VLR_ACC_VAR), skx, d->numvar);
    if (whichsol == VLR_SOL_ITR) copykeys(vlr::VLR_solkeyptr(t, whichsol, 2), skn, d->numcone);
    double* items[8] = {xc, xx, y, slc, suc, slx, sux, snx};
    for (int32_t item = 0; item < vlr::sol_numitems(whichsol); ++item) {
      const int32_t n = sol_itemcount(d, item);
      if (items[item] != nullptr && n > 0) {
        std::memcpy(items[item], vlr::VLR_solitemptr(t, whichsol, item),
                    sizeof(double) * size_t(n));
      }
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_getsolutionslice(VLRtask_t task, int32_t whichsol, int32_t solitem, int32_t first,
                             int32_t last, double* values) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::VLR_checkwhichsol(t, whichsol);
    if (r == VLR_RES_OK) r = vlr::VLR_checksolitem(t, whichsol, solitem);
    if (r == VLR_RES_OK) r = sol_checkdefined(t, whichsol);
    if (r != VLR_RES_OK) return r;
    const int32_t n = sol_itemcount(d, solitem);
    if (first < 0) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_SMALL, first, "first");
    if (last > n) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_LARGE, last, "last");
    if (first > last) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_LARGE, first, "first");
    if (values == nullptr && first < last) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "values");
    const double* src = vlr::VLR_solitemptr(t, whichsol, solitem);
    for (int32_t k = first; k < last; ++k)
      values[k - first] = src[k];
    return VLR_RES_OK;
  });
}

int32_t VLR_getsolutionstatuskeyslice(VLRtask_t task, int32_t accmode, int32_t whichsol,
                                      int32_t first, int32_t last, int32_t* sk) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = sol_checkdefined(t, whichsol);
    if (r != VLR_RES_OK) return r;
    if (accmode != VLR_ACC_VAR && accmode != VLR_ACC_CON) {
      return VLR_RAISE(t, VLR_RES_ERR_INVALID_ACCMODE, accmode);
    }
    const int32_t n = accmode == VLR_ACC_CON ? d->numcon : d->numvar;
    if (first < 0) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_SMALL, first, "first");
    if (last > n) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_LARGE, last, "last");
    if (first > last) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_LARGE, first, "first");
    if (sk == nullptr && first < last) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "sk");
    const int32_t* keys = vlr::VLR_solkeyptr(t, whichsol, accmode);
    for (int32_t k = first; k < last; ++k)
      sk[k - first] = keys[k];
    return VLR_RES_OK;
  });
}

int32_t VLR_getsolutionstatus(VLRtask_t task, int32_t whichsol, int32_t* prosta, int32_t* solsta) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    const int32_t r = sol_checkdefined(t, whichsol);
    if (r != VLR_RES_OK) return r;
    if (prosta != nullptr) *prosta = t->sols->sol[whichsol].prosta;
    if (solsta != nullptr) *solsta = t->sols->sol[whichsol].solsta;
    return VLR_RES_OK;
  });
}

int32_t VLR_putsolutioni(VLRtask_t task, int32_t accmode, int32_t i, int32_t whichsol, int32_t sk,
                         double x, double sl, double su, double sn) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    int32_t r = sol_checkdefined(t, whichsol);
    if (r != VLR_RES_OK) return r;
    if (accmode != VLR_ACC_VAR && accmode != VLR_ACC_CON) {
      return VLR_RAISE(t, VLR_RES_ERR_INVALID_ACCMODE, accmode);
    }
    const bool con = accmode == VLR_ACC_CON;
    r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, con ? d->numcon : d->numvar, "i");
    if (r != VLR_RES_OK) return r;
    if (sk < VLR_SK_UNK || sk > VLR_SK_INF) return VLR_RAISE(t, VLR_RES_ERR_INV_SK, sk);
    vlr::VLR_solkeyptr(t, whichsol, accmode)[i] = sk;
    vlr::VLR_solitemptr(t, whichsol, con ? VLR_SOL_ITEM_XC : VLR_SOL_ITEM_XX)[i] = x;
    if (whichsol != VLR_SOL_ITG) {
      vlr::VLR_solitemptr(t, whichsol, con ? VLR_SOL_ITEM_SLC : VLR_SOL_ITEM_SLX)[i] = sl;
      vlr::VLR_solitemptr(t, whichsol, con ? VLR_SOL_ITEM_SUC : VLR_SOL_ITEM_SUX)[i] = su;
    }
    if (whichsol == VLR_SOL_ITR && !con) vlr::VLR_solitemptr(t, whichsol, VLR_SOL_ITEM_SNX)[i] = sn;
    return VLR_RES_OK;
  });
}

int32_t VLR_putsolutionyi(VLRtask_t task, int32_t i, int32_t whichsol, double y) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    int32_t r = sol_checkdefined(t, whichsol);
    if (r == VLR_RES_OK) r = vlr::VLR_checksolitem(t, whichsol, VLR_SOL_ITEM_Y);
    if (r == VLR_RES_OK) r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, d->numcon, "i");
    if (r != VLR_RES_OK) return r;
    vlr::VLR_solitemptr(t, whichsol, VLR_SOL_ITEM_Y)[i] = y;
    return VLR_RES_OK;
  });
}

int32_t VLR_getsolutioni(VLRtask_t task, int32_t accmode, int32_t i, int32_t whichsol, int32_t* sk,
                         double* x, double* sl, double* su, double* sn) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = sol_checkdefined(t, whichsol);
    if (r != VLR_RES_OK) return r;
    if (accmode != VLR_ACC_VAR && accmode != VLR_ACC_CON) {
      return VLR_RAISE(t, VLR_RES_ERR_INVALID_ACCMODE, accmode);
    }
    const bool con = accmode == VLR_ACC_CON;
    r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, con ? d->numcon : d->numvar, "i");
    if (r != VLR_RES_OK) return r;
    if (sk != nullptr) *sk = vlr::VLR_solkeyptr(t, whichsol, accmode)[i];
    if (x != nullptr)
      *x = vlr::VLR_solitemptr(t, whichsol, con ? VLR_SOL_ITEM_XC : VLR_SOL_ITEM_XX)[i];
    const bool dual = whichsol != VLR_SOL_ITG;
    if (sl != nullptr) {
      *sl =
          dual ? vlr::VLR_solitemptr(t, whichsol, con ? VLR_SOL_ITEM_SLC : VLR_SOL_ITEM_SLX)[i] : 0;
    }
    if (su != nullptr) {
      *su =
          dual ? vlr::VLR_solitemptr(t, whichsol, con ? VLR_SOL_ITEM_SUC : VLR_SOL_ITEM_SUX)[i] : 0;
    }
    if (sn != nullptr) {
      *sn = whichsol == VLR_SOL_ITR && !con ? vlr::VLR_solitemptr(t, whichsol, VLR_SOL_ITEM_SNX)[i]
                                            : 0.0;
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_getreducedcosts(VLRtask_t task, int32_t whichsol, int32_t first, int32_t last,
                            double* redcosts) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = sol_checkdefined(t, whichsol);
    if (r == VLR_RES_OK) r = vlr::VLR_checksolitem(t, whichsol, VLR_SOL_ITEM_SLX);
    if (r != VLR_RES_OK) return r;
    if (first < 0) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_SMALL, first, "first");
    if (last > d->numvar) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_LARGE, last, "last");
    if (first > last) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_LARGE, first, "first");
    if (redcosts == nullptr && first < last) {
      return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "redcosts");
    }
    const double* slx = vlr::VLR_solitemptr(t, whichsol, VLR_SOL_ITEM_SLX);
    const double* sux = vlr::VLR_solitemptr(t, whichsol, VLR_SOL_ITEM_SUX);
    for (int32_t j = first; j < last; ++j)
      redcosts[j - first] = slx[j] - sux[j];
    return VLR_RES_OK;
  });
}

int32_t VLR_solutiondef(VLRtask_t task, int32_t whichsol, int32_t* isdef) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    const int32_t r = vlr::VLR_checkwhichsol(t, whichsol);
    if (r != VLR_RES_OK) return r;
    if (isdef == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "isdef");
    *isdef = vlr::VLR_solutiondefrec(t, whichsol);
    return VLR_RES_OK;
  });
}

int32_t VLR_undefsolution(VLRtask_t task, int32_t whichsol) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    const int32_t r = vlr::VLR_checkwhichsol(t, whichsol);
    if (r != VLR_RES_OK) return r;
    t->sols->sol[whichsol].defined = 0;  // the arrays stay for the next optimise
    return VLR_RES_OK;
  });
}

int32_t VLR_deletesolution(VLRtask_t task, int32_t whichsol) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    const int32_t r = vlr::VLR_checkwhichsol(t, whichsol);
    if (r != VLR_RES_OK) return r;
    vlr::sol_free(t, &t->sols->sol[whichsol]);
    return VLR_RES_OK;
  });
}

int32_t VLR_makesolutionstatusunknown(VLRtask_t task, int32_t whichsol) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    int32_t r = vlr::VLR_checkwhichsol(t, whichsol);
    if (r == VLR_RES_OK) r = vlr::VLR_makesolution(t, whichsol);
    if (r != VLR_RES_OK) return r;
    vlr::SolRec& s = t->sols->sol[whichsol];
    s.prosta = VLR_PRO_STA_UNKNOWN;
    s.solsta = VLR_SOL_STA_UNKNOWN;
    s.defined = 1;
    const int64_t nk = vlr::sol_keysize(whichsol, s.m, s.n, s.k);
    const int64_t nd = vlr::sol_datasize(whichsol, s.m, s.n);
    if (nk > 0) std::fill(s.keys, s.keys + nk, VLR_SK_UNK);
    if (nd > 0) std::fill(s.data, s.data + nd, 0.0);
    return VLR_RES_OK;
  });
}

int32_t VLR_putprosta(VLRtask_t task, int32_t whichsol, int32_t prosta) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    const int32_t r = sol_checkdefined(t, whichsol);
    if (r != VLR_RES_OK) return r;
    if (prosta < VLR_PRO_STA_UNKNOWN || prosta > VLR_PRO_STA_PRIM_INFEAS_OR_UNBOUNDED) {
      return VLR_RAISE(t, VLR_RES_ERR_IN_ARGUMENT, "prosta");
    }
    t->sols->sol[whichsol].prosta = prosta;
    return VLR_RES_OK;
  });
}

int32_t VLR_putsolsta(VLRtask_t task, int32_t whichsol, int32_t solsta) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    const int32_t r = sol_checkdefined(t, whichsol);
    if (r != VLR_RES_OK) return r;
    if (solsta < VLR_SOL_STA_UNKNOWN || solsta > VLR_SOL_STA_NEAR_INTEGER_OPTIMAL || solsta == 7) {
      return VLR_RAISE(t, VLR_RES_ERR_IN_ARGUMENT, "solsta");
    }
    t->sols->sol[whichsol].solsta = solsta;
    return VLR_RES_OK;
  });
}
