// src/basic/purifdua.cpp: the dual push: each basic variable with a reduced cost brings it to
// zero by a move of y along its row of the basis inverse; a non-basic variable whose reduced
// cost would take the wrong sign blocks, and takes the basic one's place when that one sits at
// a bound.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "basic/purifdat.h"
#include "velor.h"

namespace vlr {

namespace {

// The side of a non-basic variable: -1 lower, +1 upper, 2 fixed, 0 free (off its bounds).
int32_t prf_nbside(const Prf& w, int32_t k) {
  const auto s = static_cast<size_t>(k);
  if (w.lo[s] == w.up[s]) return 2;
  if (w.x[s] == w.lo[s]) return -1;
  if (w.x[s] == w.up[s]) return 1;
  return 0;
}

// Allowed change of d(j) - t rate: the largest t before the sign rule of its side breaks by
// more than tols (infinite when it never does).
double prf_dratio(double dj, double rate, int32_t side, double tols) {
  if (side == 2) return kPrfInf;
  // d(t) = dj - t rate.
  if (rate > 0.0 && side <= 0) return std::max(0.0, dj + tols) / rate;   // d must stay >= -tols
  if (rate < 0.0 && side >= 0) return std::max(0.0, tols - dj) / -rate;  // d must stay <= tols
  if (side == 0 && rate != 0.0) return std::max(0.0, tols + std::fabs(dj)) / std::fabs(rate);
  return kPrfInf;
}

}  // namespace

bool VLR_prf_duallp(Prf* w, PrfInfo* info) {
  const int32_t m = w->m;
  const double tols = w->par->tols;
  // Reduced costs consistent with y on the scaled problem.
  for (int32_t k = 0; k < w->nt; ++k) {
    const auto s = static_cast<size_t>(k);
    w->d[s] = w->cost[s] - prf_dotcol(*w, k, w->y.data());
  }
  double* alpha = w->w3.data();  // [nt], zero outside the touched list
  int32_t* touched = w->list.data();
  double* rho = w->sw.data();  // zero outside each solve's pattern
  for (int32_t p = 0; p < m; ++p) {
    if (p % kPrfStopEvery == 0 && prf_stop(w, VLR_CALLBACK_IM_DUAL_BI)) return true;
    const int32_t k = w->bas[static_cast<size_t>(p)];
    const auto sk = static_cast<size_t>(k);
    const double dk = w->d[sk];
    if (std::fabs(dk) <= tols) continue;
    // Only a variable on a bound (the side its reduced cost asks for) can leave; on any other
    // the reduced cost is the interior point's residual, which the duals of the basis drop.
    int32_t side = 0;
    const bool atb = prf_atbound(*w, k, w->par->tolx, &side);
    const bool canleave =
        atb && (w->lo[sk] == w->up[sk] || (side < 0 && dk > 0.0) || (side > 0 && dk < 0.0));
    if (!canleave) {
      ++w->stuck;
      continue;
    }
    // rho = B^-T e(p); alpha(j) = col(j)' rho over the non-basic variables.
    int32_t* rpat = w->opattern.data();
    const int32_t rnz = prf_btranrow(w, p, rho, rpat);
    int32_t ntch = 0;
    for (int32_t ti = 0; ti < rnz; ++ti) {
      const int32_t i = rpat[ti];
      const double r = rho[i];
      if (r == 0.0) continue;
      if (w->pos[static_cast<size_t>(i)] < 0) {
        alpha[i] = -r;
        touched[ntch++] = i;
      }
      for (int64_t q = w->rbeg[static_cast<size_t>(i)]; q < w->rbeg[static_cast<size_t>(i) + 1];
           ++q) {
        const int32_t j = m + w->ridx[static_cast<size_t>(q)];
        const auto sj = static_cast<size_t>(j);
        if (w->pos[sj] >= 0) continue;
        if (alpha[sj] == 0.0) touched[ntch++] = j;
        alpha[sj] += r * w->rval[static_cast<size_t>(q)];
        if (alpha[sj] == 0.0) alpha[sj] = 1e-300;  // keep it marked as touched
      }
    }
    ++info->duaiter;
    // d(j) - t sigma alpha(j) for t in [0, |dk|]: Harris's two passes on the non-basic ones.
    double amax = 0.0;
    for (int32_t q = 0; q < ntch; ++q)
      amax = std::max(amax, std::fabs(alpha[static_cast<size_t>(touched[q])]));
    const double tolpiv = std::max(w->par->tolapiv, kPrfRelPiv * amax);
    const double sigma = dk > 0.0 ? 1.0 : -1.0;
    const double tmax = std::fabs(dk);
    double trelax = tmax;
    for (int32_t t = 0; t < ntch; ++t) {
      const auto sj = static_cast<size_t>(touched[t]);
      const double a = alpha[sj];
      if (std::fabs(a) <= tolpiv) continue;
      trelax = std::min(trelax, prf_dratio(w->d[sj], sigma * a, prf_nbside(*w, touched[t]), tols));
    }
    int32_t enter = -1;
    double step = tmax;
    if (trelax < tmax) {
      double bestpiv = 0.0;
      for (int32_t t = 0; t < ntch; ++t) {
        const auto sj = static_cast<size_t>(touched[t]);
        const double a = alpha[sj];
        if (std::fabs(a) <= tolpiv) continue;
        const double r = prf_dratio(w->d[sj], sigma * a, prf_nbside(*w, touched[t]), 0.0);
        if (r <= trelax && std::fabs(a) > bestpiv) {
          bestpiv = std::fabs(a);
          enter = touched[t];
          step = std::min(r, tmax);
        }
      }
    }
    const double t = enter >= 0 ? step : tmax;
    for (int32_t ti = 0; ti < rnz; ++ti) {
      const int32_t i = rpat[ti];
      w->y[static_cast<size_t>(i)] += sigma * t * rho[i];
      rho[i] = 0.0;
    }
    for (int32_t q = 0; q < ntch; ++q) {
      const auto sj = static_cast<size_t>(touched[q]);
      w->d[sj] -= sigma * t * alpha[sj];
      alpha[sj] = 0.0;
    }
    w->d[sk] -= sigma * t;
    if (enter < 0) {
      w->d[sk] = 0.0;
      continue;
    }
    w->d[static_cast<size_t>(enter)] = 0.0;
    w->x[sk] = side < 0 ? w->lo[sk] : w->up[sk];
    ++info->duamoves;
    if (!prf_exchange(w, p, enter)) return false;
  }
  const double before = VLR_prf_duainflp(*w);
  prf_formxb(w);
  prf_formyb(w);
  prf_log(*w,
          "Dual push: %lld left with a reduced cost; dual infeasibility %.1e, %.1e after the basis "
          "duals.\n",
          static_cast<long long>(w->stuck), before, VLR_prf_duainflp(*w));
  return true;
}

}  // namespace vlr
