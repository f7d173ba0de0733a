// src/optimize/optchk.cpp: the tests of what a solution of a linear problem proves: optimality,
// primal infeasibility (a Farkas vector), dual infeasibility (a ray), recomputed from the data.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>

#include "optimize/optimize.h"
#include "velor.h"

namespace vlr {

namespace {
constexpr double kInf = std::numeric_limits<double>::infinity();
}  // namespace

double VLR_opt_lower(const SimLp& lp, int32_t k) {
  const int32_t key = lp.bk[k];
  return key == VLR_BK_LO || key == VLR_BK_FX || key == VLR_BK_RA ? lp.bl[k] : -kInf;
}

double VLR_opt_upper(const SimLp& lp, int32_t k) {
  const int32_t key = lp.bk[k];
  if (key == VLR_BK_FX) return lp.bl[k];
  return key == VLR_BK_UP || key == VLR_BK_RA ? lp.bu[k] : kInf;
}

// Violations of the solution on the problem as given: bounds and rows (primal), signs of the
// reduced costs recomputed from y (dual).
bool VLR_opt_checksolution(SysEnv* sys, const SimLp& lp, SimSol* sol, double* pviol, double* dviol,
                           double* pobj, double* dobj) {
  const int32_t m = lp.m, n = lp.n;
  double pv = 0.0, dv = 0.0, po = lp.cfix, dob = lp.cfix;
  for (int32_t j = 0; j < n; ++j) {
    double dj = lp.c[j];
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
      dj -= lp.aval[k] * sol->y[lp.aidx[k]];
    sol->d[m + j] = dj;
    po += lp.c[j] * sol->x[m + j];
  }
  for (int32_t i = 0; i < m; ++i)
    sol->d[i] = sol->y[i];
  SysBuf<double> ax(sys, VLR_HERE, std::max(m, 1));
  if (!ax) {
    *pviol = *dviol = kInf;  // unchecked: never taken for a good solution
    *pobj = *dobj = 0.0;
    return false;
  }
  for (int32_t j = 0; j < n; ++j) {
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
      ax[lp.aidx[k]] += lp.aval[k] * sol->x[m + j];
  }
  for (int32_t i = 0; i < m; ++i)
    pv = std::max(pv, std::fabs(ax[i] - sol->x[i]));
  for (int32_t k = 0; k < m + n; ++k) {
    const double l = VLR_opt_lower(lp, k), u = VLR_opt_upper(lp, k);
    pv = std::max({pv, l - sol->x[k], sol->x[k] - u});
    const double dk = sol->d[k];
    // A basic variable should have d = 0; a non-basic one the sign of its bound.
    double viol = 0.0;
    switch (sol->sk[k]) {
      case VLR_SK_BAS:
        viol = std::fabs(dk);
        break;
      case VLR_SK_LOW:
        viol = std::max(0.0, -dk);
        break;
      case VLR_SK_UPR:
        viol = std::max(0.0, dk);
        break;
      case VLR_SK_FIX:
        break;
      default:
        viol = std::fabs(dk);
        break;
    }
    dv = std::max(dv, viol);
    if (dk > 0.0)
      dob += (l > -kInf ? l : 0.0) * dk;
    else if (dk < 0.0)
      dob += (u < kInf ? u : 0.0) * dk;
  }
  *pviol = pv;
  *dviol = dv;
  *pobj = po;
  *dobj = dob;
  return true;
}

// The Farkas test of a primal infeasibility certificate held in sol->y: d = -A'y on the columns
// and y on the rows, and the bound expression positive. Entries that would meet an infinite
// bound must be below the noise level.
bool VLR_opt_checkfarkas(const SimLp& lp, SimSol* sol) {
  const int32_t m = lp.m, n = lp.n;
  double ymax = 0.0;
  for (int32_t i = 0; i < m; ++i)
    ymax = std::max(ymax, std::fabs(sol->y[i]));
  if (ymax == 0.0) return false;
  for (int32_t i = 0; i < m; ++i)
    sol->d[i] = sol->y[i];
  double amax = 0.0;
  for (int32_t j = 0; j < n; ++j) {
    double dj = 0.0;
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k) {
      dj -= lp.aval[k] * sol->y[lp.aidx[k]];
      amax = std::max(amax, std::fabs(lp.aval[k]));
    }
    sol->d[m + j] = dj;
  }
  const double noise = 1e-9 * ymax * std::max(1.0, amax);
  double value = 0.0, scale = 0.0;
  for (int32_t k = 0; k < m + n; ++k) {
    double dk = sol->d[k];
    const double l = VLR_opt_lower(lp, k), u = VLR_opt_upper(lp, k);
    if ((dk > 0.0 && l == -kInf) || (dk < 0.0 && u == kInf)) {
      if (std::fabs(dk) > noise) return false;
      dk = 0.0;
    }
    sol->d[k] = dk;
    if (dk > 0.0)
      value += l * dk, scale += std::fabs(l * dk);
    else if (dk < 0.0)
      value += u * dk, scale += std::fabs(u * dk);
  }
  return value > 1e-9 * std::max(1.0, scale) && value > 0.0;
}

// The test of a primal ray held in sol->x: A x - xc = 0, every variable inside the recession
// cone of its bounds, and c'x < 0, all against the size of the ray.
bool VLR_opt_checkray(SysEnv* sys, const SimLp& lp, const SimSol& sol) {
  const int32_t m = lp.m, n = lp.n;
  double xmax = 0.0, amax = 0.0, cx = 0.0, cmax = 0.0;
  for (int32_t k = 0; k < m + n; ++k)
    xmax = std::max(xmax, std::fabs(sol.x[k]));
  if (xmax == 0.0) return false;
  SysBuf<double> ax(sys, VLR_HERE, std::max(m, 1));
  if (!ax) return false;  // unchecked: not taken for a certificate
  for (int32_t j = 0; j < n; ++j) {
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k) {
      ax[lp.aidx[k]] += lp.aval[k] * sol.x[m + j];
      amax = std::max(amax, std::fabs(lp.aval[k]));
    }
    cx += lp.c[j] * sol.x[m + j];
    cmax = std::max(cmax, std::fabs(lp.c[j]));
  }
  const double noise = 1e-9 * xmax * std::max(1.0, amax);
  for (int32_t i = 0; i < m; ++i) {
    if (std::fabs(ax[i] - sol.x[i]) > noise) return false;
  }
  for (int32_t k = 0; k < m + n; ++k) {
    const double l = VLR_opt_lower(lp, k), u = VLR_opt_upper(lp, k);
    if ((l > -kInf && sol.x[k] < -noise) || (u < kInf && sol.x[k] > noise)) return false;
  }
  return cx < -1e-9 * xmax * std::max(1.0, cmax);
}

}  // namespace vlr
