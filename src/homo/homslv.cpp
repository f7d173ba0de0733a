// src/homo/homslv.cpp: the homogeneous optimiser's frame: its record and arrays from one block,
// the factor's set-up, the run, and the solution or certificate read off the embedding.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "homo/homdat.h"
#include "velor.h"

namespace vlr {

void VLR_hs_setdefaults(HomParam* par) {
  *par = HomParam{};
}

namespace {

// Cuts a HomVec from the block at *p.
void hom_cut(const hom* h, double** p, HomVec* v) {
  v->x = *p;
  v->s = v->x + h->n;
  v->xu = v->s + h->n;
  v->su = v->xu + h->nup;
  v->y = v->su + h->nup;
  *p = v->y + h->m;
  v->tau = v->kappa = 0.0;
}

// The answer of the run in the problem's own terms.
void hom_output(const hom* h, HomSol* sol, HomInfo* info) {
  const HomLp& lp = *h->lp;
  const HomVec& v = h->v;
  const int32_t n = h->n, m = h->m, nup = h->nup;
  double fx = 0.0, fy = 0.0;
  if (h->solsta == VLR_SOL_STA_PRIM_INFEAS_CER || h->solsta == VLR_SOL_STA_NEAR_PRIM_INFEAS_CER) {
    fy = h->by > 0.0 ? 1.0 / h->by : 0.0;  // b'y - u'su = 1
  } else if (h->solsta == VLR_SOL_STA_DUAL_INFEAS_CER ||
             h->solsta == VLR_SOL_STA_NEAR_DUAL_INFEAS_CER) {
    fx = h->cx < 0.0 ? -1.0 / h->cx : 0.0;  // c'x = -1
  } else {
    fx = fy = 1.0 / v.tau;
  }
  for (int32_t j = 0; j < n; ++j) {
    sol->x[j] = v.x[j] * fx;
    sol->s[j] = v.s[j] * fy;
  }
  for (int32_t u = 0; u < nup; ++u)
    sol->su[u] = v.su[u] * fy;
  for (int32_t i = 0; i < m; ++i)
    sol->y[i] = v.y[i] * fy;
  info->resp = h->resp;
  info->iter = h->iter;
  info->prosta = h->prosta;
  info->solsta = h->solsta;
  info->pobj = h->pobj * lp.objscale;
  info->dobj = h->dobj * lp.objscale;
  info->pfeas = h->pfeasf / v.tau;
  info->dfeas = h->dfeasf / v.tau;
  info->mu = h->mu;
  info->kapdivtau = v.kappa / v.tau;
  info->maxnumcor = h->maxnumcor;
  info->regulevel = h->regulevel;
}

// The ordering's progress callback: the caller's stop.
int32_t homslv_orderstop(int32_t /*code*/, void* handle, double /*progress*/) {
  const auto* cb = static_cast<const HomCallbacks*>(handle);
  return cb->stop(cb->handle);
}

}  // namespace

void VLR_hs_optlp(SysEnv* sys, const HomParam& par, const HomLp& lp, const HomCallbacks& cb,
                  HomSol* sol, HomInfo* info) {
  *info = HomInfo{};
  hom h{};
  h.sys = sys;
  h.lp = &lp;
  h.par = par;
  h.cb = cb;
  h.m = lp.nrow;
  h.n = lp.ncol;
  h.nup = lp.nup;
  h.nlo = lp.ncol - lp.nup;
  h.k = h.n + h.nup + 1;
  const int64_t vecsize = 2 * int64_t{h.n} + 2 * int64_t{h.nup} + h.m;
  // Five points, the residuals, and the system's arrays: one block.
  const int64_t total =
      5 * vecsize + (h.m + h.nup + h.n) + 5 * int64_t{h.n} + 2 * int64_t{h.m} + int64_t{h.nup} + 8;
  SysBuf<double> block(sys, VLR_HERE, total);
  if (!block) {
    info->resp = 1;
    return;
  }
  double* p = block.get();
  hom_cut(&h, &p, &h.v);
  hom_cut(&h, &p, &h.saved);
  hom_cut(&h, &p, &h.dp);
  hom_cut(&h, &p, &h.dd);
  hom_cut(&h, &p, &h.dc);
  h.rp = p;
  h.rpu = h.rp + h.m;
  h.rd = h.rpu + h.nup;
  h.theta = h.rd + h.n;
  h.chat = h.theta + h.n;
  h.dx2 = h.chat + h.n;
  h.rcx = h.dx2 + h.n;
  h.tn = h.rcx + h.n;
  h.v2 = h.tn + h.n;
  h.tm = h.v2 + h.m;
  h.rcu = h.tm + h.m;

  int32_t r = VLR_kktfac_make(sys, h.m, h.n, 1, &h.kkt);
  if (r == kKktOk && cb.stop != nullptr) {
    VLR_kktfac_putcallback(h.kkt, const_cast<HomCallbacks*>(&cb), homslv_orderstop);
  }
  if (r == kKktOk) {
    VLR_kktfac_ordtpe(h.kkt, par.ordermethod);
    VLR_kktfac_densecol(h.kkt, par.offcoltrh);
    VLR_kktfac_tolrefine(h.kkt, par.tolrefine);
    r = VLR_kktfac_autosetup(h.kkt, lp.abeg, lp.asub, lp.aval);
  }
  if (r != kKktOk) {
    info->resp = r == kKktTooLarge ? 6 : r == kKktStopped ? 7 : 1;
    VLR_kktfac_delete(&h.kkt);
    return;
  }
  KktInfo ki;
  VLR_kktfac_getinfo(h.kkt, &ki);
  VLR_hom_optlp(&h);
  hom_output(&h, sol, info);
  info->started = 1;
  info->nnzL = ki.nnzL;
  info->fflops = ki.fflops;
  info->ordtime = ki.ordtime;
  info->ndense = ki.ndense;
  VLR_kktfac_delete(&h.kkt);
}

}  // namespace vlr
