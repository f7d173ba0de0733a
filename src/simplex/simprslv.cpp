// src/simplex/simprslv.cpp: the presolve step of the simplex road: presolve, a solve of what is
// left, postsolve, and a run on the problem as given from the basis that comes back.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "prslv/prslv.h"
#include "simplex/simdat.h"
#include "velor.h"

namespace vlr {

namespace {

void simprslv_add(const SimInfo& from, SimInfo* to) {
  for (int32_t s = 0; s < 4; ++s)
    to->iter[s] += from.iter[s];
  to->degiter += from.degiter;
  to->infiter += from.infiter;
  to->numfactor += from.numfactor;
  to->numartificial += from.numartificial;
  to->numcrashed += from.numcrashed;
  to->numsetbacks += from.numsetbacks;
  to->dualized = std::max(to->dualized, from.dualized);
  to->perturbed = std::max(to->perturbed, from.perturbed);
  VLR_simplex_addtiming(to, from);
}

struct SimPrslvGuard {
  prslv** p;
  ~SimPrslvGuard() { VLR_prslv_delete(p); }
};

}  // namespace

bool VLR_simplex_presolveandsolve(SysEnv* sys, const SimParam& par, const SimCallbacks& cb,
                                  const SimLp& lp, SimSol* sol, SimInfo* info) {
  prslv* p = nullptr;
  if (VLR_prslv_make(sys, lp, &p) != kPrslvOk) {
    info->response = kSimNoSpace;
    return true;
  }
  const SimPrslvGuard guard{&p};
  PrslvParam pp;
  VLR_prslv_initparam(&pp);
  VLR_prslv_takeuser(par.prslv, &pp);
  if (par.loglevel > 0) {
    pp.log = cb.log;
    pp.loghandle = cb.handle;
  }
  pp.stop = cb.stop;
  pp.stophandle = cb.handle;
  PrslvStat stat;
  if (const int32_t r = VLR_prslv_reduce(pp, p, &stat); r != kPrslvOk) {
    info->response = r == kPrslvStopped ? kSimInterrupted : kSimNoSpace;
    info->prosta = VLR_PRO_STA_UNKNOWN;
    info->solsta = VLR_SOL_STA_UNKNOWN;
    return true;
  }
  VLR_prslv_problemsummary(pp, stat);
  info->prslvnumcon = stat.numcon[1];
  info->prslvnumvar = stat.numvar[1];
  info->prslvnumanz = stat.numanz[1];
  info->prslvtime = stat.time;
  info->prslvlindeptime = stat.timelindep;
  // An infeasibility presolve proves has no certificate here: the problem as given gives one.
  if (stat.prosta != VLR_PRO_STA_UNKNOWN) return false;
  // Nothing removed: the problem as given is solved once, not twice.
  if (stat.numcon[1] == stat.numcon[0] && stat.numvar[1] == stat.numvar[0]) return false;

  SimLp red;
  VLR_prslv_getreduced(p, &red);
  const auto rnt = static_cast<size_t>(std::max(red.m + red.n, 1));
  SimVec<int32_t> rsk(rnt, 0, MemAllocator<int32_t>(sys));
  SimVec<double> rx(rnt, 0.0, MemAllocator<double>(sys));
  SimVec<double> rd(rnt, 0.0, MemAllocator<double>(sys));
  SimVec<double> ry(static_cast<size_t>(std::max(red.m, 1)), 0.0, MemAllocator<double>(sys));
  SimSol rsol{rsk.data(), rx.data(), ry.data(), rd.data()};
  SimParam rpar = par;
  rpar.presolve = 0;
  if (red.m + red.n > 0) {
    SimInfo rinfo;
    VLR_simplex_optimize(sys, rpar, cb, red, 0, &rsol, &rinfo);
    simprslv_add(rinfo, info);
    if (rinfo.response == kSimNoSpace) {
      info->response = kSimNoSpace;
      return true;
    }
    if (rinfo.response != kSimOk && rinfo.response != kSimMaxIter &&
        rinfo.response != kSimInterrupted && rinfo.response != kSimObjRange) {
      return false;  // numerical trouble on the reduced problem: solve the problem as given
    }
    if (rinfo.response != kSimOk) {
      // Stopped by a limit: the values as they stand, with unknown statuses.
      VLR_prslv_postsolve(pp, p, rsol, sol);
      info->response = rinfo.response;
      info->prosta = VLR_PRO_STA_UNKNOWN;
      info->solsta = VLR_SOL_STA_UNKNOWN;
      return true;
    }
    if (rinfo.solsta != VLR_SOL_STA_OPTIMAL) return false;
  }
  if (VLR_prslv_postsolve(pp, p, rsol, sol) != kPrslvOk ||
      VLR_prslv_postsolvebasis(pp, p, rsol, sol) != kPrslvOk) {
    info->response = kSimNoSpace;
    return true;
  }
  // The postsolved basis is optimal for the problem as given when postsolve got every dual
  // right; this run confirms it, and cleans up what small infeasibilities are left.
  SimInfo cinfo;
  rpar.confirm = 1;
  VLR_simplex_optimize(sys, rpar, cb, lp, 1, sol, &cinfo);
  simprslv_add(cinfo, info);
  // A basis the run cannot confirm (it found it too far from optimal to mend) is dropped: the
  // problem as given is then solved from scratch, so presolve never costs an answer.
  if (cinfo.response == kSimOk && cinfo.solsta != VLR_SOL_STA_OPTIMAL) return false;
  info->response = cinfo.response;
  info->prosta = cinfo.prosta;
  info->solsta = cinfo.solsta;
  info->pobj = cinfo.pobj;
  info->dobj = cinfo.dobj;
  info->cleaned = cinfo.cleaned;
  info->hotstart = cinfo.hotstart;
  info->hotstartlu = cinfo.hotstartlu;
  info->presolved = 1;
  return true;
}

}  // namespace vlr
