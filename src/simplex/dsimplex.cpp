// src/simplex/dsimplex.cpp: the dual simplex: dual steepest-edge pricing, a long-step ratio
// test that swaps boxed variables to their other bound, cost perturbation against degeneracy,
// and a first phase on a boxed auxiliary problem.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "simplex/simdat.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kMinWeight = 1e-4;
constexpr int32_t kProgressEvery = 100;  // iterations between calls of the progress function
constexpr int32_t kStopEvery = 10;       // iterations between asks of the caller's stop alone
constexpr int32_t kLogClockEvery = 64;   // iterations between looks at the clock for the log
constexpr double kLogSeconds = 2.0;      // wall clock after which a log line is due anyway
// Iterations within which a second mismatch of the pivot counts as a set-back.
constexpr int64_t kMismatchWindow = 10;
// Relative disagreement of the pivot's two values beyond which an updated factor is renewed.
constexpr double kRelMismatch = 1e-7;

}  // namespace

bool SimEngine::badevent(int32_t* count, bool tighten) {
  ++info->numsetbacks;
  if (++*count > par->maxsetbacks) {
    log("Too many (%d) bad events\n", *count);
    info->response = kSimSetbacks;
    return false;
  }
  if (tighten) {
    VLR_lu_putpivotmethod(lu, kLuPivotRowAndColumn);
    VLR_lu_puttol(lu, kLuTolRelPiv, std::min(0.5, VLR_lu_gettol(lu, kLuTolRelPiv) * 10.0));
    tolpiv = std::min(tolpiv * 10.0, 1e-4);
  }
  return true;
}

// On a factor with updates a lone mismatch is rounding that the factor mends; on a fresh factor,
// or when they come close together, the run is in trouble: a set-back, and on a fresh factor
// the pivots are then chosen more strictly. Over a long run of a degenerate problem the lone
// ones would otherwise add up to the limit of set-backs (qap15 with the primal-dual simplex).
bool SimEngine::mismatch(int32_t* count, int64_t* last, bool fresh) {
  const int64_t it = iterations();
  const bool close = it - *last <= kMismatchWindow;
  *last = it;
  if (!fresh && !close) return true;
  return badevent(count, fresh);
}

// On an updated factor the two values must also agree relative to their size: a small pivot
// whose values differ in the seventh digit is mostly rounding, and taking it leaves a basis that
// the next factor finds singular (qap12: 30 of its 32 singular bases). A fresh factor decides.
bool SimEngine::badpivot(double alphac, double alphar, bool fresh) const {
  const double diff = std::fabs(alphac - alphar);
  if (diff > 1e-7 * (1.0 + std::fabs(alphac)) || std::fabs(alphac) <= tolpiv) return true;
  return !fresh && diff > kRelMismatch * std::min(std::fabs(alphac), std::fabs(alphar));
}

bool SimEngine::refresh() {
  const int32_t r = factor();
  if (r != kSimOk) {
    info->response = r;
    return false;
  }
  computexb();
  computedual();
  return true;
}

bool SimEngine::withinlimits(int64_t* sincecheck) {
  if (iterations() >= par->maxiter) {
    info->response = kSimMaxIter;
    return false;
  }
  if (++*sincecheck >= kProgressEvery) {
    *sincecheck = 0;
    if (progress()) {
      info->response = kSimInterrupted;
      return false;
    }
  } else if (*sincecheck % kStopEvery == 0 && cb != nullptr && cb->stop != nullptr &&
             cb->stop(cb->handle) != 0) {
    // A race's stop, asked more often than the user's callback: it is a load of a flag.
    info->response = kSimInterrupted;
    return false;
  }
  return true;
}

bool SimEngine::progress() {
  if (cb == nullptr || cb->progress == nullptr) return false;
  return cb->progress(cb->handle, iterations(), objective(), objective()) != 0;
}

void SimEngine::logline(int32_t phase, bool force) {
  if (par->loglevel <= 0) return;
  const int64_t it = iterations();
  // A line every logfreq iterations, and on a slow run also when kLogSeconds passed without
  // one. The clock decides only whether a line is written, never a step of the run.
  bool due = force || it - lastlog >= par->logfreq;
  if (!due && it % kLogClockEvery == 0) {
    const double now = VLR_sysenv_getwctime(sys);
    if (lastlogtime == 0.0) lastlogtime = now;
    due = now - lastlogtime >= kLogSeconds;
  }
  if (!due) return;
  lastlog = it;
  lastlogtime = VLR_sysenv_getwctime(sys);
  int32_t pc = 0, dc = 0;
  const double pinf = primalinf(&pc);
  const double dinf = dualinf(&dc);
  log("%-10lld %-6d %-14.6e %-6d %-14.6e %-22.12e %-8.2f\n", static_cast<long long>(it),
      phase == 1 ? 1 : 2, pinf, pc, dinf, objective(), lastlogtime - info->starttime);
}

bool SimEngine::dualrefresh() {
  // Recomputed duals drift from the updated ones; small wrong signs are cleaned by a
  // shift of the cost, a boxed variable by a swap.
  if (!refresh()) return false;
  bool swapped = false;
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    const int8_t st = nstat[s];
    if (st == kNbBasic || st == kNbFixed) continue;
    const double dk = d[s];
    const bool bad = (st == kNbLower && dk < 0.0) || (st == kNbUpper && dk > 0.0) ||
                     (st == kNbZero && dk != 0.0);
    if (!bad) continue;
    if (lb[s] > -kInf && ub[s] < kInf && std::fabs(dk) > tols) {
      setnonbasic(k, st == kNbLower ? kNbUpper : kNbLower);
      swapped = true;
    } else {
      cost[s] -= dk;
      d[s] = 0.0;
      costshifted = 1;
    }
  }
  if (swapped) computexb();
  return true;
}

int32_t SimEngine::dualprice() {
  heapsettle();
  // The leaving row: the largest squared infeasibility over its weight (the first position
  // among equals).
  return heaptop();
}

int32_t SimEngine::dualratio(double sgn, double delta) {
  // Candidates: non-basic variables whose reduced cost bounds the dual step, each with |alpha|,
  // its ratio and its ratio relaxed by the dual tolerance (Harris).
  int32_t nc = 0;
  double bound = kInf;
  const int32_t* ai = alphaidx.data();
  const double* al = alpha.data();
  const int8_t* st = nstat.data();
  const double* dd = d.data();
  int32_t* cc = cand.data();
  double* ca = candabs.data();
  double* cr = candratio.data();
  double* cx = candrelax.data();
  const double tp = tolpiv, ts = tols;
  // Branch-free: every entry is written at the end of the list, and kept by advancing the
  // count when it bounds the step. A variable at its lower bound bounds it by d/alpha when
  // alpha (turned by the leaving direction) is positive, one at its upper bound when it is
  // negative, a free one either way; basic and fixed ones never do.
  constexpr double kSide[5] = {0.0, 1.0, -1.0, 0.0, 0.0};
  auto take = [&](int32_t k) {
    const double as = sgn * al[k];
    const int8_t sk = st[k];
    const double side = sk == kNbZero ? std::copysign(1.0, as) : kSide[sk];
    const double a = side * as;
    const double dk = side * dd[k];
    cc[nc] = k;
    ca[nc] = a;
    cr[nc] = dk;
    nc += a > tp ? 1 : 0;
  };
  const int32_t nnz = alphanz;
  for (int32_t t = 0; t < nnz; ++t)
    take(ai[t]);
  // A whole row is walked in order; its zeros never pass the test, and its non-zeros are
  // counted for the log's density.
  alpharownz = nnz;
  if (alphawhole) {
    int32_t nzc = 0;
    for (int32_t k = m; k < nt; ++k) {
      uint64_t bits = 0;
      std::memcpy(&bits, al + k, sizeof(bits));
      nzc += (bits << 1) != 0 ? 1 : 0;
      take(k);
    }
    alpharownz += nzc;
    notedensefill(static_cast<double>(nzc) / (nt - m));
  }
  // The Harris bound, the least relaxed ratio (d + tol) / |alpha|: a candidate lowers it only
  // when d + tol < bound |alpha|, which after the first few is rare, so that few divide.
  for (int32_t c = 0; c < nc; ++c) {
    if (cr[c] + ts < bound * ca[c]) bound = (cr[c] + ts) / ca[c];
  }
  numflips = 0;
  if (nc == 0) return -1;

  // The bound of the next group: the smallest relaxed ratio of the candidates left.
  double nextbound = kInf;
  // Long step: pass break points in Harris groups, the candidates with a ratio within the
  // smallest relaxed ratio of those left; the boxed variables of a group swap bounds while the
  // slope of the dual objective stays positive. The pivot is the largest |alpha| of the last
  // group, the smaller index among equals. The first group comes from one pass; only when it
  // swaps are the others sorted by ratio, so that each later group is a run of that order.
  double slope = std::fabs(delta);
  auto better = [&](size_t c, int32_t gq, double gbest) {
    return candabs[c] > gbest || (candabs[c] == gbest && cand[c] < gq);
  };
  {
    double gslope = 0.0, gbest = 0.0;
    int32_t gq = -1, g = 0;
    for (int32_t c = 0; c < nc; ++c) {
      const auto sc = static_cast<size_t>(c);
      if (cr[c] > bound * ca[c]) continue;  // its ratio lies beyond the bound
      ++g;
      const auto k = static_cast<size_t>(cand[sc]);
      gslope += candabs[sc] * (ub[k] - lb[k]);  // inf for a variable that is not boxed
      if (better(sc, gq, gbest)) gbest = candabs[sc], gq = cand[sc];
    }
    if (!(slope - gslope > 0.0 && g < nc)) return slope - gslope > tolx ? -1 : gq;
    // The group swaps; the rest go to the front in order of ratio, with their ratios and
    // relaxed ratios.
    int32_t left = 0;
    for (int32_t c = 0; c < nc; ++c) {
      const auto sc = static_cast<size_t>(c);
      if (cr[c] > bound * ca[c]) {
        candorder[static_cast<size_t>(left++)] = c;
      } else {
        flips[static_cast<size_t>(numflips++)] = cand[sc];
      }
    }
    for (int32_t t = 0; t < left; ++t) {
      const int32_t c = candorder[static_cast<size_t>(t)];
      const double dk = cr[c], inv = 1.0 / ca[c];
      cr[c] = dk * inv;
      cx[c] = (dk + ts) * inv;
      nextbound = std::min(nextbound, cx[c]);
    }
    slope -= gslope;
    nc = left;
  }
  // Later groups: most rows stop after one or two more, so the first few are found by scans of
  // the candidates left (those within the bound moved to the front, the next bound from the
  // others).
  // Past those, the candidates left are put in order of ratio as far as the groups reach: the
  // smallest ones sorted, a prefix grown by doubling, with the smallest relaxed ratio of each
  // suffix. Either way a group is taken in the order of ratio, ties by index, so the path does
  // not depend on which way found it.
  int32_t* order = candorder.data();
  auto before = [&](int32_t u, int32_t v) {
    const double ru = candratio[static_cast<size_t>(u)], rv = candratio[static_cast<size_t>(v)];
    return ru < rv || (ru == rv && cand[static_cast<size_t>(u)] < cand[static_cast<size_t>(v)]);
  };
  // Sorts order[sorted, want) as the next smallest; candmin[t] is then the smallest relaxed
  // ratio of order[t, nc), the bound of a group that starts at t.
  int32_t sorted = -1, sortfrom = 0;
  auto extend = [&](int32_t want) {
    want = std::min(want, nc);
    if (want < nc) std::nth_element(order + sorted, order + want, order + nc, before);
    std::sort(order + sorted, order + want, before);
    double run = kInf;
    for (int32_t t = want; t < nc; ++t)
      run = std::min(run, candrelax[static_cast<size_t>(order[t])]);
    for (int32_t t = want - 1; t >= sorted; --t) {
      run = std::min(run, candrelax[static_cast<size_t>(order[t])]);
      candmin[static_cast<size_t>(t)] = run;
    }
    sorted = want;
  };
  constexpr int32_t kScanGroups = 4;
  for (int32_t first = 0, round = 0; first < nc; ++round) {
    double gbound = kInf;
    int32_t last = first;
    if (round < kScanGroups) {
      // One pass: the group to the front, and the bound of the next one from the rest.
      gbound = nextbound;
      nextbound = kInf;
      for (int32_t t = first; t < nc; ++t) {
        const auto sc = static_cast<size_t>(order[t]);
        if (candratio[sc] <= gbound) {
          std::swap(order[t], order[last++]);
        } else {
          nextbound = std::min(nextbound, candrelax[sc]);
        }
      }
      std::sort(order + first, order + last, before);
    } else {
      if (sorted < 0) {
        sorted = sortfrom = first;
        extend(first + std::max(64, (nc - first) / 16));
      }
      if (first == sorted) extend(sortfrom + 2 * (sorted - sortfrom));
      gbound = candmin[static_cast<size_t>(first)];
      for (; last < nc; ++last) {
        if (last == sorted) extend(sortfrom + 2 * (sorted - sortfrom));
        if (candratio[static_cast<size_t>(order[last])] > gbound) break;
      }
    }
    double gslope = 0.0, gbest = 0.0;
    int32_t gq = -1;
    for (int32_t t = first; t < last; ++t) {
      const auto sc = static_cast<size_t>(order[t]);
      const auto k = static_cast<size_t>(cand[sc]);
      gslope += candabs[sc] * (ub[k] - lb[k]);
      if (better(sc, gq, gbest)) gbest = candabs[sc], gq = cand[sc];
    }
    if (slope - gslope > 0.0 && last < nc) {
      for (int32_t t = first; t < last; ++t)
        flips[static_cast<size_t>(numflips++)] = cand[static_cast<size_t>(order[t])];
      slope -= gslope;
      first = last;
      continue;
    }
    // All candidates swap and the row stays infeasible: the dual is unbounded.
    return slope - gslope > tolx ? -1 : gq;
  }
  return -1;
}

// The iteration after the choice of p (leaving towards target) and q: the dual step, the swaps
// of the boxed variables the ratio test passed, the primal step, the dual steepest-edge weights
// and the exchange in the basis and the factor. False (response set) when the factor is out of
// space; *needfactor when it asks to be made again.
bool SimEngine::dualupdate(int32_t p, int32_t q, double sgn, double target, bool tolower,
                           int32_t phase, bool* needfactor) {
  const auto sq = static_cast<size_t>(q);
  const int32_t leave = head[static_cast<size_t>(p)];
  const auto sl = static_cast<size_t>(leave);
  const double alphac = col.val[static_cast<size_t>(p)];
  const double alphar = alpha[sq];
  // The dual step; a reduced cost that lies on the wrong side within the tolerance is
  // shifted to zero so that the step never goes backwards.
  double thetad = d[sq] / alphar;
  if (thetad * sgn < 0.0) {
    cost[sq] -= d[sq];
    d[sq] = 0.0;
    thetad = 0.0;
    costshifted = 1;
  }

  // Swaps of the passed boxed variables: xB -= B^-1 (sum of a(k) dx(k)).
  if (numflips > 0) {
    // Gather sum a(k) dx(k) straight into the solve's input. An entry that cancels to zero
    // keeps a tiny value so that it never enters the pattern twice.
    auto add = [&](int32_t i, double v) {
      double& e = in.val[static_cast<size_t>(i)];
      if (e == 0.0) in.idx[static_cast<size_t>(in.nz++)] = i;
      e += v;
      if (e == 0.0) e = 1e-300;
    };
    in.nz = 0;
    for (int32_t f = 0; f < numflips; ++f) {
      const int32_t k = flips[static_cast<size_t>(f)];
      const auto s = static_cast<size_t>(k);
      const double dx = nstat[s] == kNbLower ? ub[s] - lb[s] : lb[s] - ub[s];
      setnonbasic(k, nstat[s] == kNbLower ? kNbUpper : kNbLower);
      if (k < m) {
        add(k, -dx);
      } else {
        for (int64_t t = abeg[k - m]; t < abeg[k - m + 1]; ++t)
          add(aidx[t], aval[t] * dx);
      }
    }
    const double t0 = VLR_sysenv_getwctime(sys);
    VLR_lu_putsolveslot(lu, kSolveSwaps);
    tau.clear();
    VLR_lu_ftrans(lu, in.nz, in.val.data(), in.idx.data(), &tau.nz, tau.val.data(), tau.idx.data(),
                  static_cast<int32_t>(iwork.size()), iwork.data(),
                  static_cast<int32_t>(marker.size()), marker.data(), 1e-14, 1e-14);
    in.nz = 0;
    VLR_simplex_inctimeofopr(sys, info, kSimOpFtran, t0);
    for (int32_t t = 0; t < tau.nz; ++t) {
      const int32_t pp = tau.idx[static_cast<size_t>(t)];
      x[static_cast<size_t>(head[static_cast<size_t>(pp)])] -= tau.val[static_cast<size_t>(pp)];
      setinfeas(pp);
    }
  }

  ftrantau();
  info->denstau += static_cast<double>(tau.nz) / m;

  // Primal step: the leaving variable goes to its bound, the entering one takes its place.
  const double thetap = (x[sl] - target) / alphac;
  for (int32_t t = 0; t < col.nz; ++t) {
    const int32_t pp = col.idx[static_cast<size_t>(t)];
    x[static_cast<size_t>(head[static_cast<size_t>(pp)])] -=
        thetap * col.val[static_cast<size_t>(pp)];
    setinfeas(pp);
  }
  x[sq] += thetap;

  // Dual step over the pivot row.
  if (thetad != 0.0) {
    // The row's pattern holds non-basic variables only; a whole row is zero on the basic ones.
    const int32_t* ai = alphaidx.data();
    const double* al = alpha.data();
    double* dd = d.data();
    for (int32_t t = 0; t < alphanz; ++t)
      dd[ai[t]] -= thetad * al[ai[t]];
    if (alphawhole) {
      for (int32_t k = m; k < nt; ++k)
        dd[k] -= thetad * al[k];
    }
  } else {
    ++info->degiter;
  }
  d[sq] = 0.0;

  // Dual steepest-edge weights.
  {
    const double wp = w[static_cast<size_t>(p)];
    for (int32_t t = 0; t < col.nz; ++t) {
      const int32_t pp = col.idx[static_cast<size_t>(t)];
      if (pp == p) continue;
      const double r = col.val[static_cast<size_t>(pp)] / alphac;
      double& wi = w[static_cast<size_t>(pp)];
      wi = std::max(wi + r * (r * wp - 2.0 * tau.val[static_cast<size_t>(pp)]), kMinWeight);
      heapfix(pp);
    }
    w[static_cast<size_t>(p)] = std::max(wp / (alphac * alphac), kMinWeight);
  }

  // The exchange.
  const int32_t lr = updatelu(p);
  head[static_cast<size_t>(p)] = q;
  pos[sq] = p;
  nstat[sq] = kNbBasic;
  setnonbasic(leave, lb[sl] == ub[sl] ? kNbFixed : (tolower ? kNbLower : kNbUpper));
  rowcopyexchange(q, leave);
  x[sl] = target;
  setinfeas(p);
  d[sl] = -thetad;
  ++info->iter[par->slot];
  if (phase == 1) ++info->infiter;
  if (lr == kLuNoSpace) {
    info->response = kSimNoSpace;
    return false;
  }
  if (lr != kLuOk) *needfactor = true;  // kLuRefactorSoon included
  return true;
}

int32_t SimEngine::dualloop(int32_t phase) {
  bool needfactor = false;
  bool fresh = true;  // the factor has no updates since the last recomputation
  int32_t badevents = 0;
  int64_t lastbad = std::numeric_limits<int64_t>::min() / 2;  // the last mismatch of the pivot
  int64_t sincecheck = 0;
  // Degeneracy is measured over blocks of iterations.
  int64_t blockstart = iterations(), blockdeg = info->degiter, blocksize = 500;
  for (;;) {
    if (phase == 2 && dualkickmode != 0 && iterations() - blockstart >= blocksize) {
      dualkickblock(&blocksize, blockdeg);
      blockstart = iterations();
      blockdeg = info->degiter;
    }
    if (needfactor || (updates > 0 && VLR_lu_factornow(lu) != 0)) {
      if (!dualrefresh()) return kLoopStopped;
      needfactor = false;
      fresh = true;
    }
    if (!withinlimits(&sincecheck)) return kLoopStopped;
    logline(phase, false);

    const double tp = VLR_sysenv_getwctime(sys);
    const int32_t p = dualprice();
    VLR_simplex_inctimeofopr(sys, info, kSimOpPrice, tp);
    if (p < 0) {
      if (!fresh) {  // confirm on a fresh factor
        needfactor = true;
        continue;
      }
      return kLoopOptimal;
    }
    const int32_t leave = head[static_cast<size_t>(p)];
    const auto sl = static_cast<size_t>(leave);
    const bool tolower = x[sl] < lb[sl];
    const double target = tolower ? lb[sl] : ub[sl];
    const double delta = x[sl] - target;
    const double sgn = delta > 0.0 ? 1.0 : -1.0;

    btranrow(p);
    {
      double wp = 0.0;
      for (int32_t t = 0; t < rho.nz; ++t) {
        const double r = rho.val[static_cast<size_t>(rho.idx[static_cast<size_t>(t)])];
        wp += r * r;
      }
      w[static_cast<size_t>(p)] = std::max(wp, kMinWeight);
      heapfix(p);
    }
    formrow(true);

    double t0 = VLR_sysenv_getwctime(sys);
    const int32_t q = dualratio(sgn, delta);
    VLR_simplex_inctimeofopr(sys, info, kSimOpRatio, t0);
    if (q < 0) {
      if (!fresh) {
        needfactor = true;
        continue;
      }
      // The dual is unbounded along this row: keep the row as the certificate.
      certsgn = sgn;
      certfromy = false;
      return kLoopInfeasible;
    }
    const auto sq = static_cast<size_t>(q);

    ftrancol(q);
    const double alphac = col.val[static_cast<size_t>(p)];
    const double alphar = alpha[sq];
    if (badpivot(alphac, alphar, fresh)) {
      spike.clear();
      if (!mismatch(&badevents, &lastbad, fresh)) return kLoopStopped;
      needfactor = true;
      continue;
    }

    info->densrho += static_cast<double>(rho.nz) / m;
    info->densrow += static_cast<double>(alpharownz) / nt;
    info->denscol += static_cast<double>(col.nz) / m;
    ++info->denscount;
    // The update's own time, without the solves it makes (counted as FTRAN).
    t0 = VLR_sysenv_getwctime(sys);
    const double ftran0 = info->optime[kSimOpFtran];
    if (!dualupdate(p, q, sgn, target, tolower, phase, &needfactor)) return kLoopStopped;
    VLR_simplex_inctimeofopr(sys, info, kSimOpUpdate, t0);
    info->optime[kSimOpUpdate] -= info->optime[kSimOpFtran] - ftran0;
    fresh = false;
  }
}

int32_t SimEngine::impliedbounds() {
  int32_t count = 0;
  // Widened so that it never binds where the rows hold: a variable cannot end at it.
  auto widen = [](double v, double dir) { return v + dir * 1e-3 * (1.0 + std::fabs(v)); };
  for (int32_t i = 0; i < m; ++i) {
    const double rl = lborg[static_cast<size_t>(i)], ru = uborg[static_cast<size_t>(i)];
    if (rl <= -kInf && ru >= kInf) continue;
    // The least and greatest activity of the row, and the entries that make each infinite.
    double amin = 0.0, amax = 0.0;
    int32_t nmin = 0, nmax = 0;
    for (int64_t t = arbeg[static_cast<size_t>(i)]; t < arbeg[static_cast<size_t>(i) + 1]; ++t) {
      const auto k = static_cast<size_t>(m + aridx[static_cast<size_t>(t)]);
      const double a = arval[static_cast<size_t>(t)];
      const double lo = a > 0.0 ? lborg[k] : uborg[k], hi = a > 0.0 ? uborg[k] : lborg[k];
      if (std::fabs(lo) < kInf)
        amin += a * lo;
      else
        ++nmin;
      if (std::fabs(hi) < kInf)
        amax += a * hi;
      else
        ++nmax;
    }
    const bool fromu = ru < kInf && nmin == 0, froml = rl > -kInf && nmax == 0;
    if (!fromu && !froml) continue;
    for (int64_t t = arbeg[static_cast<size_t>(i)]; t < arbeg[static_cast<size_t>(i) + 1]; ++t) {
      const int32_t k = m + aridx[static_cast<size_t>(t)];
      const auto sk = static_cast<size_t>(k);
      const double a = arval[static_cast<size_t>(t)];
      if (std::fabs(a) < 1e-9) continue;
      // Activity at most ru: a x_k <= ru - (the rest at its least); at least rl likewise.
      for (int32_t side = 0; side < 2; ++side) {
        if (side == 0 ? !fromu : !froml) continue;
        const double own = side == 0 ? a * (a > 0.0 ? lborg[sk] : uborg[sk])
                                     : a * (a > 0.0 ? uborg[sk] : lborg[sk]);
        const double v = ((side == 0 ? ru - amin : rl - amax) + own) / a;
        const bool upper = (side == 0) == (a > 0.0);
        if (!std::isfinite(v) || std::fabs(v) > kImpliedMax) continue;
        if (upper && uborg[sk] >= kInf) {
          const double nb = widen(v, 1.0);
          if (nb < lb[sk]) continue;  // a row that leaves the column no room: not ours to judge
          if (artmark[sk] == 0) ++count;
          ub[sk] = artmark[sk] != 0 && ub[sk] < kInf ? std::min(ub[sk], nb) : nb;
          artmark[sk] = 1;
        } else if (!upper && lborg[sk] <= -kInf) {
          const double nb = widen(v, -1.0);
          if (nb > ub[sk]) continue;
          if (artmark[sk] == 0) ++count;
          lb[sk] = artmark[sk] != 0 && lb[sk] > -kInf ? std::max(lb[sk], nb) : nb;
          artmark[sk] = 1;
        }
      }
    }
  }
  return count;
}

int32_t SimEngine::dualphaseone(double big, int32_t* boxed) {
  *boxed = 0;
  // A cold start first gives the columns the bounds their rows imply: a boxed variable is
  // swapped between its bounds where it would otherwise enter the basis.
  int32_t implied = 0;
  if (big > 0.0) {
    if (artmark.size() != static_cast<size_t>(nt)) artmark.assign(static_cast<size_t>(nt), 0);
    implied = impliedbounds();
    if (implied > 0) {
      log("Implied bounds on %d variables.\n", implied);
      // A free column now has a bound to rest on; one that sat on a bound keeps it, and the
      // swaps below put each boxed one on the side its reduced cost asks for.
      for (int32_t k = m; k < nt; ++k) {
        const auto s = static_cast<size_t>(k);
        if (artmark[s] != 0 && nstat[s] == kNbZero) setnonbasic(k, boundstatus(k, 0.0));
      }
    }
  }
  computedual();
  int32_t bad = 0;
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    if (nstat[s] == kNbBasic) continue;
    const bool hl = lb[s] > -kInf, hu = ub[s] < kInf;
    const double dk = d[s];
    if (hl && hu) {
      if (lb[s] == ub[s]) continue;
      if (nstat[s] == kNbLower && dk < -tols)
        setnonbasic(k, kNbUpper);
      else if (nstat[s] == kNbUpper && dk > tols)
        setnonbasic(k, kNbLower);
      continue;
    }
    if ((!hl && !hu && std::fabs(dk) > tols) || (hl && !hu && dk < -tols) ||
        (!hl && hu && dk > tols)) {
      ++bad;
    }
  }
  if (bad > 0 && big > 0.0) {
    // Box each of them: a free variable around zero, a one-sided one from its bound.
    for (int32_t k = 0; k < nt; ++k) {
      const auto s = static_cast<size_t>(k);
      if (nstat[s] == kNbBasic) continue;
      const bool hl = lb[s] > -kInf, hu = ub[s] < kInf;
      const double dk = d[s];
      const bool wantup = dk<-tols, wantlow = dk> tols;
      if ((hl && hu) || ((!wantup || hu) && (!wantlow || hl))) continue;
      if (!hl) lb[s] = (hu ? ub[s] : 0.0) - big;
      if (!hu) ub[s] = (hl ? lb[s] : 0.0) + big;
      artmark[s] = 1;
      setnonbasic(k, wantup ? kNbUpper : kNbLower);
    }
    log("Artificial bounds on %d variables.\n", bad);
    *boxed = bad;
    bad = 0;
  }
  *boxed += implied;
  if (bad == 0) {
    computexb();
    return kPhaseOneFeasible;
  }
  log("Dual phase one: %d reduced costs with the wrong sign.\n", bad);
  // The auxiliary problem: every variable boxed in a small box around zero; its optimal basis
  // is dual feasible for the problem when the dual infeasibility can be removed.
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    const bool hl = lborg[s] > -kInf, hu = uborg[s] < kInf;
    if (hl && hu)
      lb[s] = ub[s] = 0.0;
    else if (hl)
      lb[s] = 0.0, ub[s] = 1.0;
    else if (hu)
      lb[s] = -1.0, ub[s] = 0.0;
    else
      lb[s] = -1000.0, ub[s] = 1000.0;
    if (nstat[s] != kNbBasic) setnonbasic(k, boundstatus(k, d[s]));
  }
  computexb();
  const int32_t end = dualloop(1);
  // The auxiliary solution lies in the recession cone of the bounds; with a negative cost it
  // is a ray along which the objective falls without end.
  ray = x;
  lb = lborg;
  ub = uborg;
  if (end == kLoopStopped) return kPhaseOneStopped;
  // Back to the true bounds, each non-basic variable at the bound its reduced cost wants.
  computedual();
  bad = 0;
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    if (nstat[s] == kNbBasic) continue;
    const int8_t st = boundstatus(k, d[s]);
    setnonbasic(k, st);
    if ((st == kNbLower && d[s] < -tols) || (st == kNbUpper && d[s] > tols) ||
        (st == kNbZero && std::fabs(d[s]) > tols)) {
      ++bad;
    }
  }
  computexb();
  if (bad > 0) log("Dual phase one left %d reduced costs with the wrong sign.\n", bad);
  return bad == 0 ? kPhaseOneFeasible : kPhaseOneInfeasible;
}

int32_t SimEngine::dualartrestore() {
  int32_t active = 0;
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    if (artmark[s] == 0) continue;
    artmark[s] = 0;
    const int8_t st = nstat[s];
    const bool atart =
        (st == kNbLower && lb[s] != lborg[s]) || (st == kNbUpper && ub[s] != uborg[s]);
    lb[s] = lborg[s];
    ub[s] = uborg[s];
    if (st == kNbBasic) continue;
    if (atart) ++active;
    setnonbasic(k, boundstatus(k, d[s]));
  }
  return active;
}

// Moves the costs of the non-basic variables away from the side where their reduced costs turn
// wrong, by random amounts, so that ties in the ratio test become rare. Costs that take few
// distinct values (assignment and staircase models, where whole faces of the dual are
// degenerate) move far more than varied ones; denser columns and larger costs move more.
void SimEngine::perturbcost() {
  SimVec<double> cs{MemAllocator<double>(sys)};
  cs.reserve(static_cast<size_t>(n));
  double cmax = 0.0;
  for (int32_t k = m; k < nt; ++k) {
    const auto sk = static_cast<size_t>(k);
    const double c = std::fabs(costorg[sk]);
    cmax = std::max(cmax, c);
    if (c > 0.0 && lborg[sk] < uborg[sk]) cs.push_back(c);
  }
  std::sort(cs.begin(), cs.end());
  size_t distinct = 0;
  for (size_t t = 0; t < cs.size(); ++t) {
    if (t == 0 || cs[t] > cs[t - 1] * (1.0 + 1e-9)) ++distinct;
  }
  const bool repeats = !cs.empty() && cs.size() > 10 * distinct;
  double rel = repeats ? 5e-4 : 5e-6;
  if (par->degen == kSimDegenAggressive) rel *= 10.0;
  if (par->degen == kSimDegenMinimum) rel *= 0.01;
  // Larger costs take larger moves, but the move stays small against the cost itself.
  const double base = rel * (cmax > 100.0 ? std::sqrt(std::sqrt(cmax)) : 1.0);
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    if (nstat[s] == kNbBasic || nstat[s] == kNbFixed || nstat[s] == kNbZero) continue;
    const double r = random01();
    double amount = 1e-7 * (1.0 + r);
    if (k >= m) {
      const auto count = static_cast<double>(abeg[k - m + 1] - abeg[k - m]);
      amount = base * (1.0 + std::fabs(costorg[s])) * (1.0 + r) * std::sqrt(std::max(1.0, count));
    }
    cost[s] += nstat[s] == kNbLower ? amount : -amount;
    d[s] += nstat[s] == kNbLower ? amount : -amount;
  }
  info->perturbed = 1;
}

void SimEngine::dualkick(int32_t level) {
  double e = level >= 3 ? 1e-5 : (level == 2 ? 1e-6 : 1e-8);
  if (par->degen == kSimDegenAggressive) e *= 5.0;
  const double h = 0.01 * e, g = std::min(10.0 * e, 1e-4);
  int32_t moved = 0;
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    const int8_t st = nstat[s];
    if (st != kNbLower && st != kNbUpper) continue;  // basic, fixed and free stay
    if (std::fabs(d[s]) >= 1e-4) continue;
    const double r = random01() + 0.5;
    const double amount = std::clamp(r * (1.0 + 1.0 / level) * e, r * h, r * g);
    cost[s] += st == kNbLower ? amount : -amount;
    d[s] += st == kNbLower ? amount : -amount;
    ++moved;
  }
  if (moved > 0) {
    dualkicked = true;
    costshifted = 1;  // the true costs come back at the end
    info->perturbed = 1;
  }
  if (par->loglevel > 5) log("Kick at level %d moved %d costs.\n", level, moved);
}

void SimEngine::dualkickblock(int64_t* blocksize, int64_t blockdeg) {
  const double f = static_cast<double>(info->degiter - blockdeg) / static_cast<double>(*blocksize);
  int32_t level = 0;
  if (dualkickmode == 3)
    level = f > 0.5 ? 3 : (f > 0.3 ? 2 : (f > 0.2 ? 1 : 0));
  else
    level = f > 0.7 && dualkicked ? 3 : (f > 0.4 ? 2 : (f > 0.3 ? 1 : 0));
  if (f > 0.05 && level > 0) dualkick(level);
  if (level == 3) *blocksize += 300;
}

void SimEngine::removeperturbation() {
  cost = costorg;
  costshifted = 0;
}

}  // namespace vlr
