// src/simplex/psimplex.cpp: the primal simplex loop from a primal feasible basis: largest
// reduced-cost pricing, a Harris ratio test with bound flips of the entering variable. The
// frame runs it to remove the few wrong reduced costs left when the true costs come back after
// perturbation.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>

#include "simplex/simdat.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

}  // namespace

int32_t SimEngine::primalloop() {
  bool needfactor = false;
  bool fresh = true;
  int32_t badevents = 0;
  int64_t sincecheck = 0;
  for (;;) {
    if (needfactor || (updates > 0 && VLR_lu_factornow(lu) != 0)) {
      if (!refresh()) return kLoopStopped;
      needfactor = false;
      fresh = true;
      int32_t pc = 0;
      primalinf(&pc);
      if (pc > 0) return kLoopInfeasible;  // lost primal feasibility: back to the dual loop
    }
    if (!withinlimits(&sincecheck)) return kLoopStopped;
    logline(3, false);

    // Price: the largest dual infeasibility.
    int32_t q = -1;
    double best = tols;
    for (int32_t k = 0; k < nt; ++k) {
      const auto s = static_cast<size_t>(k);
      double v = 0.0;
      switch (nstat[s]) {
        case kNbLower:
          v = -d[s];
          break;
        case kNbUpper:
          v = d[s];
          break;
        case kNbZero:
          v = std::fabs(d[s]);
          break;
        default:
          continue;
      }
      if (v > best) {
        best = v;
        q = k;
      }
    }
    if (q < 0) {
      if (!fresh) {
        needfactor = true;
        continue;
      }
      return kLoopOptimal;
    }
    const auto sq = static_cast<size_t>(q);
    const double dir = d[sq] < 0.0 ? 1.0 : -1.0;  // x(q) moves up when its cost falls that way

    ftrancol(q);
    // Harris: the largest step within the relaxed bounds, then the largest pivot among the
    // rows that block before it.
    // Rate of change of the basic variable at position pp and its room to the bound it moves
    // to; false when it does not block.
    auto blocks = [&](int32_t pp, double* rate, double* room) {
      *rate = -dir * col.val[static_cast<size_t>(pp)];
      if (std::fabs(*rate) <= tolpiv) return false;
      const auto k = static_cast<size_t>(head[static_cast<size_t>(pp)]);
      *room = std::max(*rate < 0.0 ? x[k] - lb[k] : ub[k] - x[k], 0.0);
      return *room < kInf;
    };
    double bound = kInf;
    for (int32_t t = 0; t < col.nz; ++t) {
      double rate = 0.0, room = 0.0;
      if (blocks(col.idx[static_cast<size_t>(t)], &rate, &room)) {
        bound = std::min(bound, (room + tolx) / std::fabs(rate));
      }
    }
    int32_t p = -1;
    double pa = 0.0, step = kInf;
    if (bound < kInf) {
      for (int32_t t = 0; t < col.nz; ++t) {
        const int32_t pp = col.idx[static_cast<size_t>(t)];
        double rate = 0.0, room = 0.0;
        if (!blocks(pp, &rate, &room)) continue;
        const double ratio = room / std::fabs(rate);
        if (ratio <= bound && std::fabs(rate) > pa) {
          pa = std::fabs(rate);
          p = pp;
          step = ratio;
        }
      }
    }
    const double range = ub[sq] - lb[sq];
    const bool flipq = range < kInf && range <= step;
    if (p < 0 && !flipq) {
      spike.clear();
      info->response = kSimNumTrouble;  // unbounded along q: not expected from a clean-up
      return kLoopStopped;
    }
    if (flipq) {
      // The entering variable reaches its other bound first: no change of basis.
      spike.clear();
      for (int32_t t = 0; t < col.nz; ++t) {
        const int32_t pp = col.idx[static_cast<size_t>(t)];
        x[static_cast<size_t>(head[static_cast<size_t>(pp)])] -=
            dir * range * col.val[static_cast<size_t>(pp)];
      }
      setnonbasic(q, nstat[sq] == kNbLower ? kNbUpper : kNbLower);
      ++info->iter[par->slot];
      continue;
    }

    const int32_t leave = head[static_cast<size_t>(p)];
    const auto sl = static_cast<size_t>(leave);
    const double alphac = col.val[static_cast<size_t>(p)];
    btranrow(p);
    formrow();
    const double alphar = alpha[sq];
    if (std::fabs(alphac - alphar) > 1e-7 * (1.0 + std::fabs(alphac))) {
      spike.clear();
      ++info->numsetbacks;
      if (++badevents > par->maxsetbacks) {
        info->response = kSimSetbacks;
        return kLoopStopped;
      }
      needfactor = true;
      continue;
    }
    const bool tolower = -dir * alphac < 0.0;
    for (int32_t t = 0; t < col.nz; ++t) {
      const int32_t pp = col.idx[static_cast<size_t>(t)];
      x[static_cast<size_t>(head[static_cast<size_t>(pp)])] -=
          dir * step * col.val[static_cast<size_t>(pp)];
    }
    x[sq] += dir * step;
    if (step == 0.0) ++info->degiter;
    const double thetad = d[sq] / alphar;
    for (int32_t t = 0; t < alphanz; ++t) {
      const auto k = static_cast<size_t>(alphaidx[static_cast<size_t>(t)]);
      if (pos[k] < 0) d[k] -= thetad * alpha[k];
    }
    const int32_t lr = updatelu(p);
    head[static_cast<size_t>(p)] = q;
    pos[sq] = p;
    nstat[sq] = kNbBasic;
    d[sq] = 0.0;
    const double target = tolower ? lb[sl] : ub[sl];
    setnonbasic(leave, lb[sl] == ub[sl] ? kNbFixed : (tolower ? kNbLower : kNbUpper));
    x[sl] = target;
    d[sl] = -thetad;
    w[static_cast<size_t>(p)] = 1.0;
    ++info->iter[par->slot];
    fresh = false;
    if (lr == kLuNoSpace) {
      info->response = kSimNoSpace;
      return kLoopStopped;
    }
    if (lr != kLuOk) needfactor = true;
  }
}

}  // namespace vlr
