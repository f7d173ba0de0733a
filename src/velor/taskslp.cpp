// src/velor/taskslp.cpp: the task's linear problem in the simplex's form.
// SPDX-License-Identifier: Apache-2.0
#include "velor/taskslp.h"

#include <algorithm>

#include "velor/probdata.h"

namespace vlr {

void VLR_taskprslvuser(const Task* task, PrslvUser* user) {
  const int32_t* ip = task->iparam;
  const double* dp = task->dparam;
  user->lindep = ip[VLR_IPAR_PRESOLVE_LINDEP_USE];
  user->lindepworklim = ip[VLR_IPAR_PRESOLVE_LINDEP_WORK_LIM];
  user->eliminator = ip[VLR_IPAR_PRESOLVE_ELIMINATOR_USE];
  user->elimtries = ip[VLR_IPAR_PRESOLVE_ELIMINATOR_MAX_NUM_TRIES];
  user->elimfill = ip[VLR_IPAR_PRESOLVE_ELIM_FILL];
  user->tolx = dp[VLR_DPAR_PRESOLVE_TOL_X];
  user->tols = dp[VLR_DPAR_PRESOLVE_TOL_S];
  user->tolaij = dp[VLR_DPAR_PRESOLVE_TOL_AIJ];
  user->tollindep = dp[VLR_DPAR_PRESOLVE_TOL_LIN_DEP];
}

int32_t VLR_tasksimlp(Task* task, TaskSimLp* out) {
  TaskData* data = task->data;
  const int32_t m = data->numcon, n = data->numvar, nt = m + n;
  SysEnv* sys = task->sys;
  const MemAllocator<int64_t> al(sys);
  // The matrix by columns.
  TaskVec<int64_t>& abeg = out->abeg;
  abeg.assign(static_cast<size_t>(n) + 1, 0);
  TaskVec<int64_t> aend(static_cast<size_t>(n) + 1, 0, al);
  int64_t nz = 0;
  if (data->a != nullptr && n > 0) {
    if (VLR_sprmat_getsize(data->a, &nz) != 0) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  TaskVec<int32_t>& aidx = out->aidx;
  aidx.assign(static_cast<size_t>(std::max<int64_t>(nz, 1)), 0);
  TaskVec<double>& aval = out->aval;
  aval.assign(static_cast<size_t>(std::max<int64_t>(nz, 1)), 0.0);
  if (nz > 0) {
    int64_t surplus = nz;
    const int32_t r = VLR_sprmat_getcolslice(data->a, 0, n, nz, &surplus, abeg.data(), aend.data(),
                                             aidx.data(), aval.data());
    if (r != 0) return VLR_SPRRES(task, r);
    // Pack in place without explicit zeros: the slice gives start and end of each column, and a
    // column never starts before the packed entries of the ones before it.
    int64_t at = 0;
    for (int32_t j = 0; j < n; ++j) {
      const int64_t b = abeg[static_cast<size_t>(j)], e = aend[static_cast<size_t>(j)];
      abeg[static_cast<size_t>(j)] = at;
      for (int64_t k = b; k < e; ++k) {
        if (aval[static_cast<size_t>(k)] == 0.0) continue;
        aidx[static_cast<size_t>(at)] = aidx[static_cast<size_t>(k)];
        aval[static_cast<size_t>(at)] = aval[static_cast<size_t>(k)];
        ++at;
      }
    }
    abeg[static_cast<size_t>(n)] = at;
  } else {
    std::fill(abeg.begin(), abeg.end(), 0);
  }

  // A maximisation is solved as the minimisation of -c.
  const bool maximize = data->objsense == VLR_OBJECTIVE_SENSE_MAXIMIZE ||
                        (data->objsense != VLR_OBJECTIVE_SENSE_MINIMIZE &&
                         task->iparam[VLR_IPAR_OBJECTIVE_SENSE] == VLR_OBJECTIVE_SENSE_MAXIMIZE);
  const double sense = maximize ? -1.0 : 1.0;
  TaskVec<double>& c = out->c;
  c.assign(static_cast<size_t>(std::max(n, 1)), 0.0);
  for (int32_t j = 0; j < n; ++j)
    c[static_cast<size_t>(j)] = sense * data->c[j];
  TaskVec<int32_t>& bk = out->bk;
  bk.assign(static_cast<size_t>(std::max(nt, 1)), 0);
  TaskVec<double>& bl = out->bl;
  bl.assign(static_cast<size_t>(std::max(nt, 1)), 0.0);
  TaskVec<double>& bu = out->bu;
  bu.assign(static_cast<size_t>(std::max(nt, 1)), 0.0);
  for (int32_t i = 0; i < m; ++i) {
    bk[static_cast<size_t>(i)] = data->bkc[i];
    bl[static_cast<size_t>(i)] = data->blc[i];
    bu[static_cast<size_t>(i)] = data->buc[i];
  }
  for (int32_t j = 0; j < n; ++j) {
    bk[static_cast<size_t>(m + j)] = data->bkx[j];
    bl[static_cast<size_t>(m + j)] = data->blx[j];
    bu[static_cast<size_t>(m + j)] = data->bux[j];
  }
  SimLp& lp = out->lp;
  out->sense = sense;
  lp.m = m;
  lp.n = n;
  lp.abeg = abeg.data();
  lp.aidx = aidx.data();
  lp.aval = aval.data();
  lp.c = c.data();
  lp.cfix = sense * data->cfix;
  lp.bk = bk.data();
  lp.bl = bl.data();
  lp.bu = bu.data();

  return VLR_RES_OK;
}

int32_t VLR_putsimsol(Task* task, int32_t whichsol, const SimLp& lp, const SimSol& sol,
                      int32_t prosta, int32_t solsta, double sense) {
  const int32_t m = lp.m, n = lp.n, nt = m + n;
  const int32_t* bk = lp.bk;
  const int32_t* sk = sol.sk;
  const double *x = sol.x, *y = sol.y, *d = sol.d;
  const int32_t rr = VLR_makesolution(task, whichsol);
  if (rr != VLR_RES_OK) return rr;
  SolRec& s = task->sols->sol[whichsol];
  s.defined = 1;
  s.prosta = prosta;
  s.solsta = solsta;
  int32_t* skc = VLR_solkeyptr(task, whichsol, VLR_ACC_CON);
  int32_t* skx = VLR_solkeyptr(task, whichsol, VLR_ACC_VAR);
  double* xc = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_XC);
  double* xx = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_XX);
  double* yy = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_Y);
  double* slc = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SLC);
  double* suc = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SUC);
  double* slx = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SLX);
  double* sux = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SUX);
  const bool certificate =
      solsta == VLR_SOL_STA_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_NEAR_PRIM_INFEAS_CER;
  const bool ray =
      solsta == VLR_SOL_STA_DUAL_INFEAS_CER || solsta == VLR_SOL_STA_NEAR_DUAL_INFEAS_CER;
  // A certificate keeps its sign; the duals of a solution follow the sense.
  const double dsign = certificate ? 1.0 : sense;
  for (int32_t k = 0; k < nt; ++k) {
    const auto sk_ = static_cast<size_t>(k);
    const int32_t key = bk[sk_];
    const bool haslo = key == VLR_BK_LO || key == VLR_BK_FX || key == VLR_BK_RA;
    const bool hasup = key == VLR_BK_UP || key == VLR_BK_FX || key == VLR_BK_RA;
    const double dk = d[sk_];
    const double sl = dk > 0.0 && haslo ? dk : 0.0;
    const double su = dk < 0.0 && hasup ? -dk : 0.0;
    const double xv = certificate ? 0.0 : x[sk_];
    if (k < m) {
      skc[k] = ray || certificate ? VLR_SK_UNK : sk[sk_];
      xc[k] = xv;
      yy[k] = ray ? 0.0 : dsign * y[sk_];
      slc[k] = ray ? 0.0 : dsign * sl;
      suc[k] = ray ? 0.0 : dsign * su;
    } else {
      skx[k - m] = ray || certificate ? VLR_SK_UNK : sk[sk_];
      xx[k - m] = xv;
      slx[k - m] = ray ? 0.0 : dsign * sl;
      sux[k - m] = ray ? 0.0 : dsign * su;
    }
  }
  if (certificate) {
    // Keep the basis: a re-solve after a change starts from it.
    for (int32_t i = 0; i < m; ++i)
      skc[i] = sk[static_cast<size_t>(i)];
    for (int32_t j = 0; j < n; ++j)
      skx[j] = sk[static_cast<size_t>(m + j)];
  }

  return VLR_RES_OK;
}

}  // namespace vlr
