// src/simplex/simnet.cpp: the network start of the pivoting optimisers: find the network part,
// solve it with the network simplex and hand its tree to the simplex as the start basis.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdio>
#include <new>
#include <vector>

#include "netopt/netopt.h"
#include "simplex/simplex.h"

namespace vlr {

namespace {

struct SimNetHandle {
  const SimCallbacks* cb;
};

void simnet_log(void* handle, const char* text) {
  const SimCallbacks* cb = static_cast<SimNetHandle*>(handle)->cb;
  if (cb->log != nullptr) cb->log(cb->handle, text);
}

int32_t simnet_progress(void* handle, int64_t iterations, double obj) {
  const SimCallbacks* cb = static_cast<SimNetHandle*>(handle)->cb;
  return cb->progress != nullptr ? cb->progress(cb->handle, iterations, obj, obj) : 0;
}

}  // namespace

bool VLR_simplex_netoptimize(SysEnv* sys, const SimParam& par, const SimCallbacks& cb,
                             const SimLp& lp, int32_t starthot, SimSol* sol, SimInfo* info) {
  const int32_t p = starthot != 0 ? std::max(par.netdetect, par.netdetecthot) : par.netdetect;
  if (info->nettried != 0 || info->response != kSimOk || p >= 101) return false;
  info->nettried = 1;
  const int32_t m = lp.m, n = lp.n;
  try {
    std::vector<int32_t, MemAllocator<int32_t>> sign(static_cast<size_t>(std::max(m, 1)), 0,
                                                     MemAllocator<int32_t>(sys));
    std::vector<uint8_t, MemAllocator<uint8_t>> colin(static_cast<size_t>(std::max(n, 1)), 0,
                                                      MemAllocator<uint8_t>(sys));
    int32_t numcon = 0, numvar = 0, flag = 0;
    if (VLR_simplex_detectnet(sys, lp, par.netmethod, sign.data(), colin.data(), &numcon, &numvar,
                              &flag) != kSimOk) {
      info->response = kSimNoSpace;
      return false;
    }
    info->netflag = flag;
    info->netnumcon = numcon;
    info->netnumvar = numvar;
    const double pct = m > 0 ? 100.0 * numcon / m : 100.0;
    char line[160];
    if (par.loglevel > 0 && cb.log != nullptr) {
      std::snprintf(line, sizeof line,
                    "Network detection: %s, %d of %d rows (%.1f%%), %d of %d columns.\n",
                    flag == 1 ? "pure network" : (flag == 2 ? "network part" : "no network"),
                    numcon, m, pct, numvar, n);
      cb.log(cb.handle, line);
    }
    if (flag == 0 || numcon == 0 || numvar == 0) return false;
    if (flag == 2 && pct < p) return false;
    NetParam npar;
    npar.loglevel = par.loglevel;
    npar.logfreq = par.netlogfreq;
    npar.maxiter = par.maxiter;
    npar.tolx = par.tolx;
    npar.tols = par.tols;
    // A caller's basis starts the tree. A part of the problem that the dual simplex goes on with
    // is solved in the dual form: the columns outside it end on the side their reduced costs
    // ask for, so that the dual starts as near dual feasible as the bounds allow.
    npar.hotstart = starthot != 0 ? 1 : 0;
    npar.dualform = flag == 2 && par.slot != kSimSlotPrimal ? 1 : 0;
    SimNetHandle h{&cb};
    NetCallbacks ncb;
    ncb.handle = &h;
    ncb.log = simnet_log;
    ncb.progress = simnet_progress;
    NetInfo ni;
    VLR_net_optimize(sys, npar, ncb, lp, sign.data(), colin.data(), sol, &ni);
    info->iter[kSimSlotNetwork] += ni.iter;
    info->netdegiter += ni.degiter;
    info->netinfiter += ni.infiter;
    info->nettime += ni.time;
    if (ni.response == kNetNoSpace) {
      info->response = kSimNoSpace;
      return false;
    }
    if (ni.response == kNetInterrupted) {
      info->response = kSimInterrupted;
      return false;
    }
    if (par.loglevel > 0 && cb.log != nullptr) {
      std::snprintf(line, sizeof line,
                    "Network simplex (%s form%s): %lld iterations, %.2f s; its basis starts the "
                    "simplex.\n",
                    npar.dualform != 0 ? "dual" : "primal", npar.hotstart != 0 ? ", hot start" : "",
                    static_cast<long long>(ni.iter), ni.time);
      cb.log(cb.handle, line);
    }
    return true;
  } catch (const std::bad_alloc&) {
    info->response = kSimNoSpace;
    return false;
  }
}

}  // namespace vlr
