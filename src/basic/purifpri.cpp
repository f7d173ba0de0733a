// src/basic/purifpri.cpp: the primal push: each superbasic variable (off its bounds and not in
// the basis) moves to its nearest bound, the basic variables absorbing the change; a basic
// variable that reaches a bound first leaves at it and the moving one takes its place.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "basic/purifdat.h"
#include "velor.h"

namespace vlr {

namespace {

// The ratio test of a move of x(k) by theta in direction sigma over at most tmax, on the column
// alpha = B^-1 col(k): the basic values change by -sigma theta alpha. Two passes: the largest
// step with the bounds relaxed by tolx, then among the positions that block within it, the
// largest pivot. A basic variable already beyond the bound it moves to does not block: snapping
// it would move the point off A x = xc, which the basis then spreads; the clean-up mends it.
// Returns the blocking position or -1, and the step in *theta.
int32_t prf_pstepsize(const Prf& w, const double* alpha, const int32_t* pat, int32_t nz,
                      double sigma, double tmax, double* theta) {
  // A pivot small against the column's largest entry would leave a basis near singular.
  double amax = 0.0;
  for (int32_t t = 0; t < nz; ++t)
    amax = std::max(amax, std::fabs(alpha[pat[t]]));
  const double tolx = w.par->tolx, tolpiv = std::max(w.par->tolapiv, kPrfRelPiv * amax);
  double trelax = tmax;
  for (int32_t t = 0; t < nz; ++t) {
    const int32_t p = pat[t];
    const double a = alpha[p];
    if (std::fabs(a) <= tolpiv) continue;
    const auto b = static_cast<size_t>(w.bas[static_cast<size_t>(p)]);
    const double rate = -sigma * a;
    if (rate < 0.0 && w.lo[b] > -kPrfInf && w.x[b] - w.lo[b] >= -tolx) {
      trelax = std::min(trelax, (w.x[b] - w.lo[b] + tolx) / -rate);
    } else if (rate > 0.0 && w.up[b] < kPrfInf && w.up[b] - w.x[b] >= -tolx) {
      trelax = std::min(trelax, (w.up[b] - w.x[b] + tolx) / rate);
    }
  }
  *theta = tmax;
  if (trelax >= tmax) return -1;
  int32_t best = -1;
  double bestpiv = 0.0, bestratio = 0.0;
  for (int32_t t = 0; t < nz; ++t) {
    const int32_t p = pat[t];
    const double a = alpha[p];
    if (std::fabs(a) <= tolpiv) continue;
    const auto b = static_cast<size_t>(w.bas[static_cast<size_t>(p)]);
    const double rate = -sigma * a;
    double r = kPrfInf;
    if (rate < 0.0 && w.lo[b] > -kPrfInf && w.x[b] - w.lo[b] >= -tolx) {
      r = std::max(0.0, (w.x[b] - w.lo[b]) / -rate);
    } else if (rate > 0.0 && w.up[b] < kPrfInf && w.up[b] - w.x[b] >= -tolx) {
      r = std::max(0.0, (w.up[b] - w.x[b]) / rate);
    }
    if (r <= trelax && std::fabs(a) > bestpiv) {
      best = p;
      bestpiv = std::fabs(a);
      bestratio = r;
    }
  }
  if (best >= 0) *theta = std::min(bestratio, tmax);
  return best;
}

// One pass over the superbasic variables, most interior first. False when out of space.
bool prf_primalpass(Prf* w, PrfInfo* info, double tolx, bool first) {
  const int32_t nt = w->nt;
  int32_t* list = w->list.data();
  double* dist = w->w3.data();
  int32_t ns = 0;
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    if (w->pos[s] >= 0) continue;
    const double l = w->lo[s], u = w->up[s], v = w->x[s];
    if (l == u) {
      w->x[s] = l;
      continue;
    }
    int32_t side = 0;
    if (prf_atbound(*w, k, tolx, &side)) {
      // At a bound already: it takes the bound's value.
      w->x[s] = side < 0 ? l : u;
      continue;
    }
    double dk = kPrfInf;
    if (l > -kPrfInf) dk = std::min(dk, v - l);
    if (u < kPrfInf) dk = std::min(dk, u - v);
    if (dk == kPrfInf) dk = std::fabs(v);
    if (dk == 0.0) continue;
    dist[s] = dk;
    list[ns++] = k;
  }
  if (first) info->nsuper = ns;
  if (ns == 0) return true;
  std::stable_sort(list, list + ns, [dist](int32_t a, int32_t b) {
    return dist[static_cast<size_t>(a)] > dist[static_cast<size_t>(b)];
  });
  if (ns > 0) prf_formxb(w);
  double* alpha = w->sw.data();  // zero outside each solve's pattern
  for (int32_t t = 0; t < ns; ++t) {
    if (t % kPrfStopEvery == 0 && prf_stop(w, VLR_CALLBACK_IM_PRIMAL_BI)) return true;
    const int32_t k = list[t];
    const auto s = static_cast<size_t>(k);
    if (w->pos[s] >= 0) continue;
    const double l = w->lo[s], u = w->up[s], v = w->x[s];
    double target = 0.0;
    if (l > -kPrfInf && u < kPrfInf) {
      target = v - l <= u - v ? l : u;
    } else if (l > -kPrfInf) {
      target = l;
    } else if (u < kPrfInf) {
      target = u;
    }
    const double delta = target - v;
    if (delta == 0.0) continue;
    const double sigma = delta > 0.0 ? 1.0 : -1.0;
    int32_t* pat = w->opattern.data();
    const int32_t nz = prf_ftrancols(w, k, alpha, pat);
    double theta = 0.0;
    const int32_t p = prf_pstepsize(*w, alpha, pat, nz, sigma, std::fabs(delta), &theta);
    ++info->priiter;
    for (int32_t t2 = 0; t2 < nz; ++t2) {
      const int32_t q = pat[t2];
      w->x[static_cast<size_t>(w->bas[static_cast<size_t>(q)])] -= sigma * theta * alpha[q];
    }
    const double rate = p >= 0 ? -sigma * alpha[p] : 0.0;
    for (int32_t t2 = 0; t2 < nz; ++t2)
      alpha[pat[t2]] = 0.0;
    if (p < 0) {
      w->x[s] = target;
      continue;
    }
    // The blocking variable leaves at the bound it reached; the moving one enters.
    w->x[s] = v + sigma * theta;
    const auto b = static_cast<size_t>(w->bas[static_cast<size_t>(p)]);
    w->x[b] = rate < 0.0 ? w->lo[b] : w->up[b];
    ++info->primoves;
    if (!prf_exchange(w, p, k)) return false;
    if (w->pos[s] < 0) prf_formxb(w);  // the factor replaced it by a slack
  }
  return true;
}

}  // namespace

bool VLR_prf_primallp(Prf* w, PrfInfo* info) {
  const int32_t nt = w->nt;
  const double tolx = w->par->tolx;
  // A variable that entered the basis can be put out again when a new factor finds it
  // dependent; it is pushed in the next pass.
  for (int32_t pass = 0; pass < 3; ++pass) {
    if (!prf_primalpass(w, info, tolx, pass == 0)) return false;
    if (w->stopped) return true;
  }
  std::fill(w->w3.begin(), w->w3.end(), 0.0);
  prf_formxb(w);
  int32_t left = 0;
  for (int32_t k = 0; k < nt; ++k) {
    int32_t side = 0;
    const auto s = static_cast<size_t>(k);
    if (w->pos[s] < 0 && w->lo[s] != w->up[s] && !prf_atbound(*w, k, 1e-9, &side) &&
        w->x[s] != 0.0) {
      ++left;
    }
  }
  if (left > 0) prf_log(*w, "Primal push: superbasic variables left: %d\n", left);
  return true;
}

}  // namespace vlr
