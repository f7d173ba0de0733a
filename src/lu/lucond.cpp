// src/lu/lucond.cpp: estimate of the one-norm of the basis inverse by Hager's method.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "lu/ludat.h"

namespace vlr {

int32_t VLR_lu_onenormestimate(LuFactor* lu, double* estimate, int32_t rsize, double* rwork) {
  *estimate = -1.0;
  if (lu->nrow != lu->ncol) return kLuNotSquare;
  if (lu->state != 3) return kLuNoFactor;
  const int32_t n = lu->nrow;
  if (rsize < 5 * n) return kLuRworkShort;
  if (n == 0) {
    *estimate = 0.0;
    return kLuOk;
  }
  double* v = rwork;          // the current vector, row space
  double* x = rwork + n;      // a copy the solves may destroy
  double* y = rwork + 2 * n;  // B^-1 v, column space
  double* s = rwork + 3 * n;  // signs of y
  double* z = rwork + 4 * n;  // B^-T s, row space
  std::fill(v, v + n, 1.0 / n);
  std::fill(s, s + n, 0.0);
  double g = 0.0;
  double gprev = -1.0;
  for (int32_t round = 0; round <= 4; ++round) {
    std::copy(v, v + n, x);
    if (VLR_lu_ftransafe(lu, x, y, 1e24) == kLuGrowthBound) return kLuEstimateFailed;
    g = 0.0;
    bool changed = false;
    for (int32_t j = 0; j < n; ++j) {
      g += std::fabs(y[j]);
      const double sj = y[j] > 0.0 ? 1.0 : (y[j] < 0.0 ? -1.0 : 0.0);
      if (std::fabs(sj - s[j]) > 1e-14) changed = true;
      s[j] = sj;
    }
    if (g <= gprev || !changed) break;
    gprev = g;
    std::copy(s, s + n, x);
    VLR_lu_btran(lu, x, z);
    int32_t jmax = 0;
    for (int32_t i = 1; i < n; ++i) {
      if (std::fabs(z[i]) > std::fabs(z[jmax])) jmax = i;
    }
    if (std::fabs(z[jmax]) <= g && round > 0) break;
    std::fill(v, v + n, 0.0);
    v[jmax] = 1.0;
  }
  *estimate = std::max(g, gprev);
  return kLuOk;
}

}  // namespace vlr
