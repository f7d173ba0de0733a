// src/basic/purifcle.cpp: the checks of the basic solution the pushes leave, and its clean-up by
// the simplex from that basis when it is not optimal within the tolerances.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "basic/purifdat.h"
#include "simplex/simplex.h"
#include "velor.h"

namespace vlr {

namespace {

// The clean-up simplex's callbacks, through the run's own: its log lines, and its asks whether
// to stop.
void prf_cleanlog(void* handle, const char* text) {
  const auto* cb = static_cast<const PrfCallbacks*>(handle);
  if (cb->text != nullptr) cb->text(cb->handle, text);
}

int32_t prf_cleanstop(void* handle) {
  const auto* cb = static_cast<const PrfCallbacks*>(handle);
  return cb->stop != nullptr ? cb->stop(cb->handle, VLR_CALLBACK_IM_SIMPLEX_BI) : 0;
}

}  // namespace

void VLR_prf_priinflp(const Prf& w, int32_t* num, double* maxv, double* sumv) {
  *num = 0;
  *maxv = 0.0;
  *sumv = 0.0;
  for (int32_t p = 0; p < w.m; ++p) {
    const auto b = static_cast<size_t>(w.bas[static_cast<size_t>(p)]);
    const double v = std::max({w.lo[b] - w.x[b], w.x[b] - w.up[b], 0.0});
    if (v <= w.par->tolx) continue;
    ++*num;
    *maxv = std::max(*maxv, v);
    *sumv += v;
  }
}

double VLR_prf_duainflp(const Prf& w) {
  double worst = 0.0;
  for (int32_t k = 0; k < w.nt; ++k) {
    const auto s = static_cast<size_t>(k);
    if (w.pos[s] >= 0 || w.lo[s] == w.up[s]) continue;
    const double dk = w.d[s];
    double v = 0.0;
    if (w.x[s] == w.lo[s]) {
      v = -dk;
    } else if (w.x[s] == w.up[s]) {
      v = dk;
    } else {
      v = std::fabs(dk);
    }
    worst = std::max(worst, v);
  }
  return worst;
}

namespace {

int32_t prf_cleanslot(const PrfParam& par, bool primalfeasible, bool dualfeasible) {
  switch (par.cleanopt) {
    case 1:
      return kSimSlotPrimal;
    case 2:
      return kSimSlotDual;
    case 3:
      return kSimSlotPd;
    default:
      // Only a basis whose values are feasible and whose reduced costs are not goes on with the
      // primal simplex. The pushes leave the reduced costs of the basis close to feasible even
      // when the values are not (a badly conditioned basis spreads the interior point's residual
      // over its values), so a basis that is neither is nearer the end by the dual simplex.
      return primalfeasible && !dualfeasible ? kSimSlotPrimal : kSimSlotDual;
  }
}

}  // namespace

int32_t VLR_prf_clean(Prf* w, const SimLp& lp, SimSol* bas, PrfInfo* info) {
  const PrfParam& par = *w->par;
  VLR_prf_priinflp(*w, &info->numbi, &info->maxbi, &info->sumbi);
  info->maxdi = std::max(VLR_prf_duainflp(*w), 0.0);
  prf_writebasis(*w, bas);
  double big = 1.0;
  for (int32_t k = 0; k < w->nt; ++k)
    big = std::max(big, std::fabs(w->x[static_cast<size_t>(k)]));
  const double tols = std::max(par.tols, par.relpivs * big);
  const bool primalok = info->maxbi <= par.tolx;
  const bool dualok = info->maxdi <= tols;
  if (primalok && dualok) {
    info->prosta = VLR_PRO_STA_PRIM_AND_DUAL_FEAS;
    info->solsta = VLR_SOL_STA_OPTIMAL;
    double po = lp.cfix, dob = lp.cfix;
    for (int32_t j = 0; j < lp.n; ++j)
      po += lp.c[j] * bas->x[lp.m + j];
    for (int32_t k = 0; k < lp.m + lp.n; ++k) {
      const double l = VLR_opt_lower(lp, k), u = VLR_opt_upper(lp, k), dk = bas->d[k];
      if (dk > 0.0 && l > -kPrfInf) dob += dk * l;
      if (dk < 0.0 && u < kPrfInf) dob += dk * u;
    }
    info->pobj = po;
    info->dobj = dob;
    return 0;
  }
  // Clean-up: the simplex from this basis on the problem itself (it scales on its own).
  prf_log(*w,
          "Purification clean: %d primal infeasibilities (max %.1e), dual infeasibility %.1e.\n",
          info->numbi, info->maxbi, info->maxdi);
  const double t0 = VLR_sysenv_getwctime(w->sys);
  SimParam sp;
  VLR_simplex_initparam(&sp);
  sp.loglevel = par.loglevel > 1 ? 1 : 0;
  sp.slot = prf_cleanslot(par, primalok, dualok);
  sp.maxiter = par.maxiter;
  sp.presolve = 0;
  sp.hotstart = 1;
  SimCallbacks scb;
  if (w->cb != nullptr) {
    scb.handle = const_cast<PrfCallbacks*>(w->cb);
    scb.log = w->cb->text != nullptr ? prf_cleanlog : nullptr;
    scb.stop = w->cb->stop != nullptr ? prf_cleanstop : nullptr;
  }
  SimInfo si;
  VLR_simplex_initinfo(&si);
  VLR_simplex_optimize(w->sys, sp, scb, lp, 1, bas, &si);
  info->cleaned = 1;
  info->cleanpriiter = si.iter[kSimSlotPrimal];
  info->cleanduaiter = si.iter[kSimSlotDual];
  info->cleanpditer = si.iter[kSimSlotPd];
  info->cleantime = VLR_sysenv_getwctime(w->sys) - t0;
  info->prosta = si.prosta;
  info->solsta = si.solsta;
  info->pobj = si.pobj;
  info->dobj = si.dobj;
  switch (si.response) {
    case kSimOk:
      info->resp = 0;
      break;
    case kSimNoSpace:
    case kSimLuSpace:
      info->resp = 1;
      break;
    case kSimMaxIter:
      info->resp = 4;
      break;
    case kSimInterrupted:
      info->resp = 7;
      break;
    case kSimSingular:
      info->resp = 26;
      break;
    default:
      info->resp = 9;
      break;
  }
  return info->resp;
}

}  // namespace vlr
