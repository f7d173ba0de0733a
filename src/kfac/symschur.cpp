// src/kfac/symschur.cpp: the dense columns of the normal equations, and the rows whose pivots
// were lost, taken back through a small Schur complement.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "kfac/kktdat.h"

namespace vlr {

int32_t VLR_sc_create(kktfac* obj, int32_t kmax) {
  KktSchur& sc = obj->sc;
  const int64_t m = obj->numrow, k = std::max(kmax, 1);
  SysBuf<int32_t> ints(obj->sys, VLR_HERE, 2 * k);
  SysBuf<double> dbl(obj->sys, VLR_HERE, 2 * k + m * k + k * k);
  if (!ints || !dbl) return kKktNoSpace;
  VLR_sc_destroy(obj);
  sc.kmax = kmax;
  sc.k = 0;
  sc.urow = ints.release();
  sc.qpiv = sc.urow + k;
  sc.w = dbl.release();
  sc.t = sc.w + k;
  sc.z = sc.t + k;
  sc.q = sc.z + m * k;
  return kKktOk;
}

void VLR_sc_destroy(kktfac* obj) {
  KktSchur& sc = obj->sc;
  if (sc.urow != nullptr) VLR_sysenv_free(obj->sys, sc.urow);
  if (sc.w != nullptr) VLR_sysenv_free(obj->sys, sc.w);
  sc = KktSchur{};
}

namespace {

// Column c of U in the scaled numbering, dense in x (zero elsewhere on entry).
void sc_scatter(const kktfac* obj, int32_t c, double* x) {
  const KktSchur& sc = obj->sc;
  if (sc.urow[c] >= 0) {
    x[sc.urow[c]] = 1.0;
    return;
  }
  const int32_t j = obj->dcol[c];
  for (int64_t p = obj->abeg[j]; p < obj->abeg[j + 1]; ++p)
    x[obj->asub[p]] += obj->aval[p] * obj->scale[obj->asub[p]];
}

// U(:, c)' x in the scaled numbering.
double sc_dot(const kktfac* obj, int32_t c, const double* x) {
  const KktSchur& sc = obj->sc;
  if (sc.urow[c] >= 0) return x[sc.urow[c]];
  const int32_t j = obj->dcol[c];
  double s = 0.0;
  for (int64_t p = obj->abeg[j]; p < obj->abeg[j + 1]; ++p)
    s += obj->aval[p] * obj->scale[obj->asub[p]] * x[obj->asub[p]];
  return s;
}

}  // namespace

void VLR_sc_calschur(kktfac* obj) {
  KktSchur& sc = obj->sc;
  const int32_t m = obj->numrow;
  // The dense columns first, then the rows whose pivots were replaced, as room allows; a row
  // that does not fit keeps its added diagonal as a regularisation that refinement works off.
  sc.k = 0;
  for (int32_t c = 0; c < obj->ndense; ++c) {
    sc.urow[sc.k] = -1;
    sc.w[sc.k++] = obj->d[obj->dcol[c]];
  }
  if (obj->ndense > 0) {
    for (int32_t i = 0; i < m && sc.k < sc.kmax; ++i) {
      const double added = VLR_sfk_getadded(obj->fac, i);
      if (added == 0.0) continue;
      sc.urow[sc.k] = i;
      sc.w[sc.k++] = -added;
    }
  }
  const int32_t k = sc.k;
  for (int32_t c = 0; c < k; ++c) {
    double* zc = sc.z + static_cast<int64_t>(c) * m;
    std::fill(zc, zc + m, 0.0);
    sc_scatter(obj, c, zc);
    VLR_sfk_solve(obj->fac, zc);
  }
  // Q = W^-1 + U' Z, then its LU with partial pivoting; a pivot lost here (a dependent row of
  // the whole matrix) becomes 1, so that its part of the correction is left out.
  for (int32_t c = 0; c < k; ++c) {
    const double* zc = sc.z + static_cast<int64_t>(c) * m;
    for (int32_t r = 0; r < k; ++r)
      sc.q[c * k + r] = sc_dot(obj, r, zc);
    sc.q[c * k + c] += 1.0 / sc.w[c];
  }
  double qmax = 0.0;
  for (int32_t e = 0; e < k * k; ++e)
    qmax = std::max(qmax, std::fabs(sc.q[e]));
  for (int32_t c = 0; c < k; ++c) {
    int32_t p = c;
    for (int32_t r = c + 1; r < k; ++r)
      if (std::fabs(sc.q[c * k + r]) > std::fabs(sc.q[c * k + p])) p = r;
    sc.qpiv[c] = p;
    // The exchange leaves the multipliers of earlier columns where they are, so that the solve
    // applies each exchange just before its column, as the factor did.
    if (p != c) {
      for (int32_t cc = c; cc < k; ++cc)
        std::swap(sc.q[cc * k + c], sc.q[cc * k + p]);
    }
    double& piv = sc.q[c * k + c];
    if (std::fabs(piv) <= 1e-14 * qmax) {
      piv = 1.0;
      for (int32_t r = c + 1; r < k; ++r)
        sc.q[c * k + r] = 0.0;
    }
    for (int32_t r = c + 1; r < k; ++r)
      sc.q[c * k + r] /= piv;
    for (int32_t cc = c + 1; cc < k; ++cc) {
      const double f = sc.q[cc * k + c];
      if (f == 0.0) continue;
      for (int32_t r = c + 1; r < k; ++r)
        sc.q[cc * k + r] -= f * sc.q[c * k + r];
    }
  }
}

void VLR_sc_solve(kktfac* obj, double* x) {
  KktSchur& sc = obj->sc;
  const int32_t k = sc.k, m = obj->numrow;
  if (k == 0) return;
  double* t = sc.t;
  for (int32_t c = 0; c < k; ++c)
    t[c] = sc_dot(obj, c, x);
  for (int32_t c = 0; c < k; ++c) {
    std::swap(t[c], t[sc.qpiv[c]]);
    for (int32_t r = c + 1; r < k; ++r)
      t[r] -= sc.q[c * k + r] * t[c];
  }
  for (int32_t c = k - 1; c >= 0; --c) {
    t[c] /= sc.q[c * k + c];
    for (int32_t r = 0; r < c; ++r)
      t[r] -= sc.q[c * k + r] * t[c];
  }
  for (int32_t c = 0; c < k; ++c) {
    const double* zc = sc.z + static_cast<int64_t>(c) * m;
    const double tc = t[c];
    if (tc == 0.0) continue;
    for (int32_t i = 0; i < m; ++i)
      x[i] -= zc[i] * tc;
  }
}

}  // namespace vlr
