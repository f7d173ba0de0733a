// src/optimize/optslv.cpp: the interior-point pipeline: crossed bounds, presolve, the standard
// form and its scaling, the homogeneous optimiser, the way back, postsolve and the check of the
// answer on the problem as given.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "optimize/optdat.h"
#include "prslv/prslv.h"
#include "velor.h"

namespace vlr {

void VLR_opt_setdefaults(optpar* par) {
  *par = optpar{};
}

void VLR_optdef_optresp2str(int32_t resp, char* buf, size_t size) {
  const char* text = "UNKNOWN ERROR";
  switch (resp) {
    case 0:
      text = "NORMAL";
      break;
    case 1:
      text = "OUT OF SPACE";
      break;
    case 2:
      text = "OUT OF REAL WORKSPACE";
      break;
    case 3:
      text = "OUT OF INTEGER WORK SPACE";
      break;
    case 4:
      text = "MAX ITERATIONS";
      break;
    case 5:
      text = "MAX TIME";
      break;
    case 6:
      text = "USER BREAK";
      break;
    case 7:
      text = "TERMINATED BY USER CALLBACK";
      break;
    case 8:
      text = "STALLED";
      break;
    case 9:
      text = "NUMERICAL INSTABILITY";
      break;
    case 10:
      text = "FACTOR ERROR";
      break;
    case 11:
      text = "FUNCTION EVALUATION ERROR";
      break;
    case 12:
      text = "ERROR";
      break;
    case 15:
      text = "OPTIMAL OBJECTIVE VALUE IS OUTSIDE ITS RANGE";
      break;
    case 18:
      text = "MODEL ERROR";
      break;
    case 26:
      text = "SINGULAR BASIS";
      break;
    case 33:
      text = "STOPPED BY USER CALLBACK";
      break;
    default:
      break;
  }
  std::snprintf(buf, size, "%s [%d]", text, resp);
}

namespace {

void opt_text(const OptIpmCallbacks& cb, const char* line) {
  if (cb.text != nullptr) cb.text(cb.handle, line);
}

void opt_prslvlog(void* handle, const char* text) {
  opt_text(*static_cast<const OptIpmCallbacks*>(handle), text);
}

void opt_homtext(void* handle, const char* text) {
  opt_text(*static_cast<const OptIpmCallbacks*>(handle), text);
}

int32_t opt_homiter(void* handle, const HomIter& it) {
  const auto* cb = static_cast<const OptIpmCallbacks*>(handle);
  return cb->iter != nullptr ? cb->iter(cb->handle, it) : 0;
}

void opt_homparam(const optpar& par, HomParam* hp) {
  VLR_hs_setdefaults(hp);
  hp->maxiter = par.maxiter;
  hp->stepfac = par.stepfac;
  hp->tolpfeas = par.tolpfeas;
  hp->toldfeas = par.toldfeas;
  hp->tolgfeas = par.tolgfeas;
  hp->tolrelgap = par.tolrelgap;
  hp->tolmured = par.tolmured;
  hp->tolinfeas = par.tolinfeas;
  hp->tolstepsize = par.tolstepsize;
  hp->tolpath = par.tolpath;
  hp->meritbal = par.meritbal;
  hp->psafe = par.tolpsafe;
  hp->dsafe = par.toldsafe;
  hp->maxnumcor = par.maxnumcor;
  hp->diffstep = par.diffstep;
  hp->regularize = 1;
  hp->startpoint = par.startpoint;
  hp->wantbasis = par.basismode != 0 ? 1 : 0;
  hp->ordermethod = par.ordermethod;
  hp->offcoltrh = par.offcoltrh;
  hp->tolrefine = par.tolrefine1;
  hp->loglevel = par.loglevel;
}

// Solves lp in its standard form into sol (sized for lp); the statuses and measures go to info.
void opt_solvestd(SysEnv* sys, const optpar& par, const SimLp& lp, const OptIpmCallbacks& cb,
                  SimSol* sol, slvi* info) {
  odat d;
  if (!VLR_opt_prepare(sys, lp, &d)) {
    info->resp = 1;
    return;
  }
  VLR_opt_scale(sys, &d, par.scalemode);
  HomLp hl;
  hl.nrow = d.nrow;
  hl.ncol = d.ncol;
  hl.nup = d.nbup;
  hl.abeg = d.abeg;
  hl.asub = d.asub;
  hl.aval = d.aval;
  hl.b = d.b;
  hl.c = d.cx;
  hl.ub = d.ub;
  hl.cfix = d.cfix;
  hl.objscale = d.objscale;
  info->nrow = d.nrow;
  info->ncol = d.ncol;
  SysBuf<double> block(sys, VLR_HERE, 2 * int64_t{d.ncol} + d.nbup + d.nrow + 1);
  if (!block) {
    VLR_opt_deldat(sys, &d);
    info->resp = 1;
    return;
  }
  HomSol hs;
  hs.x = block.get();
  hs.s = hs.x + d.ncol;
  hs.su = hs.s + d.ncol;
  hs.y = hs.su + d.nbup;
  HomParam hp;
  opt_homparam(par, &hp);
  HomCallbacks hcb;
  hcb.handle = const_cast<OptIpmCallbacks*>(&cb);
  hcb.text = opt_homtext;
  hcb.iter = opt_homiter;
  HomInfo hi;
  VLR_hs_optlp(sys, hp, hl, hcb, &hs, &hi);
  info->resp = hi.resp;
  info->iterations += hi.iter;
  info->prosta = hi.prosta;
  info->solsta = hi.solsta;
  info->kapdivtau = hi.kapdivtau;
  info->nnzL = hi.nnzL;
  info->fflops = hi.fflops;
  info->ordtime = hi.ordtime;
  info->ndense = hi.ndense;
  if (hi.started) {
    VLR_opt_reverse(lp, d, hs, hi.solsta, sol);
  } else {
    info->prosta = VLR_PRO_STA_UNKNOWN;
    info->solsta = VLR_SOL_STA_UNKNOWN;
  }
  VLR_opt_deldat(sys, &d);
}

bool opt_infeasible(int32_t solsta) {
  return solsta == VLR_SOL_STA_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_DUAL_INFEAS_CER ||
         solsta == VLR_SOL_STA_NEAR_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_NEAR_DUAL_INFEAS_CER;
}

// Bounds that no point meets: the variables' keys say so and their duals are the certificate.
bool opt_checkfeas(const optpar& par, const SimLp& lp, SimSol* sol, slvi* info) {
  const int32_t nt = lp.m + lp.n;
  bool bad = false;
  for (int32_t k = 0; k < nt; ++k)
    bad = bad || (lp.bk[k] == VLR_BK_RA && lp.bu[k] < lp.bl[k] - par.prslvtolx);
  if (!bad) return false;
  for (int32_t k = 0; k < nt; ++k) {
    const bool crossed = lp.bk[k] == VLR_BK_RA && lp.bu[k] < lp.bl[k] - par.prslvtolx;
    sol->sk[k] = crossed ? VLR_SK_INF : VLR_SK_UNK;
    sol->x[k] = 0.0;
    sol->d[k] = 0.0;
  }
  std::fill(sol->y, sol->y + lp.m, 0.0);
  info->prosta = VLR_PRO_STA_PRIM_INFEAS;
  info->solsta = VLR_SOL_STA_PRIM_INFEAS_CER;
  return true;
}

void opt_prslvparam(const optpar& par, const OptIpmCallbacks* cb, PrslvParam* pp) {
  VLR_prslv_initparam(pp);
  pp->loglevel = par.loglevel;
  pp->lindep = par.lindep;
  pp->lindepworklim = par.lindepworklim;
  pp->eliminatortries = par.eliminator ? par.elimtries : 0;
  pp->elimfill = par.elimfill;
  pp->tolx = par.prslvtolx;
  pp->tols = par.prslvtols;
  pp->tolaij = par.prslvtolaij;
  pp->tollindep = par.prslvtollindep;
  pp->loghandle = const_cast<OptIpmCallbacks*>(cb);
  pp->log = cb->text != nullptr ? opt_prslvlog : nullptr;
}

}  // namespace

void VLR_opt_ipmslv(SysEnv* sys, const optpar& par, const SimLp& lp, const OptIpmCallbacks& cb,
                    SimSol* itr, slvi* info) {
  *info = slvi{};
  const int32_t nt = lp.m + lp.n;
  info->prosta = VLR_PRO_STA_UNKNOWN;
  info->solsta = VLR_SOL_STA_UNKNOWN;
  std::fill(itr->sk, itr->sk + nt, VLR_SK_UNK);
  std::fill(itr->x, itr->x + nt, 0.0);
  std::fill(itr->d, itr->d + nt, 0.0);
  std::fill(itr->y, itr->y + lp.m, 0.0);
  if (opt_checkfeas(par, lp, itr, info)) return;
  prslv* p = nullptr;
  PrslvParam pp;
  opt_prslvparam(par, &cb, &pp);
  PrslvStat stat;
  if (par.presolve != 0) {
    if (VLR_prslv_make(sys, lp, &p) != kPrslvOk || VLR_prslv_reduce(pp, p, &stat) != kPrslvOk) {
      VLR_prslv_delete(&p);
      info->resp = 1;
      return;
    }
    info->prslvtime = stat.time;
    info->prslvlindeptime = stat.timelindep;
    if (par.loglevel > 0) VLR_prslv_problemsummary(pp, stat);
    // Infeasibility that presolve proves is a status only: the certificate comes from the
    // problem as given.
    if (stat.prosta != VLR_PRO_STA_UNKNOWN) VLR_prslv_delete(&p);
  }
  if (p != nullptr) {
    SimLp rl;
    VLR_prslv_getreduced(p, &rl);
    info->presolved = 1;
    info->prslvnumcon = rl.m;
    info->prslvnumvar = rl.n;
    const int32_t rt = rl.m + rl.n;
    SysBuf<int32_t> rsk(sys, VLR_HERE, std::max(rt, 1));
    SysBuf<double> rdb(sys, VLR_HERE, 2 * int64_t{rt} + rl.m + 1);
    if (!rsk || !rdb) {
      VLR_prslv_delete(&p);
      info->resp = 1;
      return;
    }
    SimSol rs;
    rs.sk = rsk.get();
    rs.x = rdb.get();
    rs.d = rs.x + rt;
    rs.y = rs.d + rt;
    if (rt > 0) {
      opt_solvestd(sys, par, rl, cb, &rs, info);
    } else {
      info->prosta = VLR_PRO_STA_PRIM_AND_DUAL_FEAS;
      info->solsta = VLR_SOL_STA_OPTIMAL;
    }
    const bool again = opt_infeasible(info->solsta) || info->resp == 1;
    if (!again) {
      if (VLR_prslv_postsolve(pp, p, rs, itr) != kPrslvOk) info->resp = 1;
      if (info->resp != 0) {
        info->prosta = VLR_PRO_STA_UNKNOWN;
        info->solsta = VLR_SOL_STA_UNKNOWN;
      }
    }
    VLR_prslv_unreduce(pp, p);
    VLR_prslv_delete(&p);
    if (!again || info->resp == 1) {
      if (info->resp == 0 || info->resp == 4 || info->resp == 8) {
        double po, dobj;
        VLR_opt_checksolution(sys, lp, itr, &info->chkpviol, &info->chkdviol, &po, &dobj);
        info->pobj = po;
        info->dobj = dobj;
      }
      return;
    }
    info->presolved = 0;
    opt_text(cb,
             "Presolved problem is infeasible; the problem as given is solved for its "
             "certificate.\n");
  }
  opt_solvestd(sys, par, lp, cb, itr, info);
  if (info->resp != 0) {
    info->prosta = VLR_PRO_STA_UNKNOWN;
    info->solsta = VLR_SOL_STA_UNKNOWN;
  }
  if (!opt_infeasible(info->solsta)) {
    double po, dobj;
    VLR_opt_checksolution(sys, lp, itr, &info->chkpviol, &info->chkdviol, &po, &dobj);
    info->pobj = po;
    info->dobj = dobj;
  }
}

}  // namespace vlr
