// src/optimize/optdat.cpp: the standard form of the interior-point pipeline: rows to equalities
// with slack columns, columns shifted and flipped to a zero lower bound, free ones split; the
// geometric scaling and the objective's scale; and the way back to the problem as given.
// SPDX-License-Identifier: Apache-2.0
#include "optimize/optdat.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "velor.h"

namespace vlr {

namespace {

template <class T>
void opt_free(SysEnv* sys, T*& p) {
  if (p != nullptr) VLR_sysenv_free(sys, p);
  p = nullptr;
}

// The standard columns of variable k: their count, and whether they carry an upper bound.
int32_t opt_ncols(const SimLp& lp, int32_t k, bool* upper) {
  const int32_t key = lp.bk[k];
  *upper = key == VLR_BK_RA;
  if (key == VLR_BK_FX) return 0;
  if (key == VLR_BK_FR) return k < lp.m ? 0 : 2;  // a free row is dropped
  return 1;
}

}  // namespace

void VLR_opt_deldat(SysEnv* sys, odat* d) {
  opt_free(sys, d->cx);
  opt_free(sys, d->b);
  opt_free(sys, d->ub);
  opt_free(sys, d->abeg);
  opt_free(sys, d->asub);
  opt_free(sys, d->aval);
  opt_free(sys, d->idx);
  opt_free(sys, d->sgn);
  opt_free(sys, d->shift);
  opt_free(sys, d->rinv);
  opt_free(sys, d->rs);
  opt_free(sys, d->cs);
  *d = odat{};
}

bool VLR_opt_prepare(SysEnv* sys, const SimLp& lp, odat* d) {
  const int32_t m = lp.m, n = lp.n, nt = m + n;
  *d = odat{};
  int32_t nrow = 0, nlo = 0, nup = 0;
  int64_t nnz = 0;
  SysBuf<int32_t> rinv(sys, VLR_HERE, std::max(m, 1));
  if (!rinv) return false;
  for (int32_t i = 0; i < m; ++i)
    rinv[i] = lp.bk[i] == VLR_BK_FR ? -1 : nrow++;
  for (int32_t k = 0; k < nt; ++k) {
    bool upper;
    const int32_t c = opt_ncols(lp, k, &upper);
    (upper ? nup : nlo) += c;
    if (k < m) {
      nnz += c;
    } else {
      int64_t len = 0;
      for (int64_t p = lp.abeg[k - m]; p < lp.abeg[k - m + 1]; ++p)
        len += rinv[lp.aidx[p]] >= 0 ? 1 : 0;
      nnz += c * len;
    }
  }
  const int32_t ncol = nlo + nup;
  d->nrow = nrow;
  d->ncol = ncol;
  d->nblo = nlo;
  d->nbup = nup;
  d->rinv = rinv.release();
  d->cx = static_cast<double*>(VLR_sysenv_calloc(sys, std::max(ncol, 1), sizeof(double)));
  d->b = static_cast<double*>(VLR_sysenv_calloc(sys, std::max(nrow, 1), sizeof(double)));
  d->ub = static_cast<double*>(VLR_sysenv_calloc(sys, std::max(nup, 1), sizeof(double)));
  d->abeg = static_cast<int64_t*>(VLR_sysenv_calloc(sys, int64_t{ncol} + 1, sizeof(int64_t)));
  d->asub = static_cast<int32_t*>(VLR_sysenv_calloc(sys, std::max<int64_t>(nnz, 1), 4));
  d->aval = static_cast<double*>(VLR_sysenv_calloc(sys, std::max<int64_t>(nnz, 1), 8));
  d->idx = static_cast<int32_t*>(VLR_sysenv_calloc(sys, std::max(ncol, 1), sizeof(int32_t)));
  d->sgn = static_cast<double*>(VLR_sysenv_calloc(sys, std::max(ncol, 1), sizeof(double)));
  d->shift = static_cast<double*>(VLR_sysenv_calloc(sys, std::max(nt, 1), sizeof(double)));
  d->rs = static_cast<double*>(VLR_sysenv_calloc(sys, std::max(nrow, 1), sizeof(double)));
  d->cs = static_cast<double*>(VLR_sysenv_calloc(sys, std::max(ncol, 1), sizeof(double)));
  if (!d->cx || !d->b || !d->ub || !d->abeg || !d->asub || !d->aval || !d->idx || !d->sgn ||
      !d->shift || !d->rs || !d->cs) {
    VLR_opt_deldat(sys, d);
    return false;
  }
  // Columns: the lower-only ones first, then those with an upper bound.
  int32_t at[2] = {0, nlo};
  for (int32_t k = 0; k < nt; ++k) {
    const int32_t key = lp.bk[k];
    const double bl = lp.bl[k], bu = lp.bu[k];
    bool upper;
    const int32_t c = opt_ncols(lp, k, &upper);
    double sgn = 1.0, shift = 0.0;
    switch (key) {
      case VLR_BK_FX:
        shift = bl;
        break;
      case VLR_BK_LO:
        shift = bl;
        break;
      case VLR_BK_UP:
        shift = bu, sgn = -1.0;
        break;
      case VLR_BK_RA:
        // Flipped when the upper side is the nearer to zero: the shift stays small.
        if (std::fabs(bu) < std::fabs(bl)) {
          shift = bu, sgn = -1.0;
        } else {
          shift = bl;
        }
        break;
      default:
        break;
    }
    d->shift[k] = shift;
    for (int32_t t = 0; t < c; ++t) {
      const int32_t col = at[upper ? 1 : 0]++;
      d->idx[col] = k;
      d->sgn[col] = t == 0 ? sgn : -sgn;
      if (upper) d->ub[col - nlo] = bu - bl;
    }
  }
  // Values column by column, the right-hand side from the shifts, and the costs.
  d->cfix = lp.cfix;
  for (int32_t j = 0; j < n; ++j) {
    const double sh = d->shift[m + j];
    d->cfix += lp.c[j] * sh;
    if (sh == 0.0) continue;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      if (d->rinv[lp.aidx[p]] >= 0) d->b[d->rinv[lp.aidx[p]]] -= lp.aval[p] * sh;
  }
  for (int32_t i = 0; i < m; ++i)
    if (d->rinv[i] >= 0) d->b[d->rinv[i]] += d->shift[i];
  int64_t e = 0;
  for (int32_t col = 0; col < ncol; ++col) {
    d->abeg[col] = e;
    const int32_t k = d->idx[col];
    const double sg = d->sgn[col];
    if (k < m) {
      d->asub[e] = d->rinv[k];
      d->aval[e++] = -sg;
      d->cx[col] = 0.0;
      continue;
    }
    d->cx[col] = sg * lp.c[k - m];
    for (int64_t p = lp.abeg[k - m]; p < lp.abeg[k - m + 1]; ++p) {
      const int32_t r = d->rinv[lp.aidx[p]];
      if (r < 0) continue;
      d->asub[e] = r;
      d->aval[e++] = sg * lp.aval[p];
    }
  }
  d->abeg[ncol] = e;
  std::fill(d->rs, d->rs + std::max(nrow, 1), 1.0);
  std::fill(d->cs, d->cs + std::max(ncol, 1), 1.0);
  return true;
}

void VLR_opt_scale(SysEnv* sys, odat* d, int32_t scalemode) {
  if (scalemode == 0) return;
  const int32_t m = d->nrow, n = d->ncol;
  constexpr double kInf = std::numeric_limits<double>::infinity();
  // Without room for the smallest entries of the rows the problem runs unscaled.
  SysBuf<double> rlo(sys, VLR_HERE, std::max(m, 1));
  if (!rlo) return;
  // One geometric pass over the rows, then one over the columns; factors are not rounded.
  double* rmax = d->rs;  // the row factors are formed in place
  double* cs = d->cs;
  std::fill(rmax, rmax + m, 0.0);
  std::fill(rlo.get(), rlo.get() + m, kInf);
  for (int32_t j = 0; j < n; ++j)
    for (int64_t p = d->abeg[j]; p < d->abeg[j + 1]; ++p) {
      const double a = std::fabs(d->aval[p]);
      const int32_t i = d->asub[p];
      rmax[i] = std::max(rmax[i], a);
      rlo[i] = std::min(rlo[i], a);
    }
  for (int32_t i = 0; i < m; ++i) {
    const double hi = rmax[i], lo = rlo[i] == kInf ? 0.0 : rlo[i];
    const double f =
        lo > 1e-12 && lo >= 0.1 * hi ? std::sqrt(lo * hi) : std::sqrt(std::max(lo, 1.0) * hi);
    d->rs[i] = f >= 1e-16 && (f <= 0.9 || f >= 1.1) ? f : 1.0;
  }
  for (int32_t j = 0; j < n; ++j) {
    const bool upper = j >= d->nblo;
    double hi = upper ? 1.0 : 0.0, lo = upper ? 1.0 : kInf;
    for (int64_t p = d->abeg[j]; p < d->abeg[j + 1]; ++p) {
      const double a = std::fabs(d->aval[p]) / d->rs[d->asub[p]];
      hi = std::max(hi, a);
      lo = std::min(lo, a);
    }
    if (lo == kInf) lo = 0.0;
    const double f = std::sqrt(std::max(lo, 1.0) * hi);
    cs[j] = f > 1e-14 && (f < 0.9 || f > 1.1) ? f : 1.0;
  }
  for (int32_t i = 0; i < m; ++i)
    d->b[i] /= d->rs[i];
  for (int32_t j = 0; j < n; ++j) {
    d->cx[j] /= cs[j];
    if (j >= d->nblo) d->ub[j - d->nblo] *= cs[j];
    for (int64_t p = d->abeg[j]; p < d->abeg[j + 1]; ++p)
      d->aval[p] /= d->rs[d->asub[p]] * cs[j];
  }
  // The objective's scale: costs of a large and even size are brought to about one.
  double sumc = 0.0;
  int32_t nzc = 0;
  for (int32_t j = 0; j < n; ++j) {
    if (d->cx[j] == 0.0) continue;
    sumc += std::fabs(d->cx[j]);
    ++nzc;
  }
  const double avgc = sumc / (1.0 + nzc);
  int32_t nin = 0;
  double cmax = 0.0;
  for (int32_t j = 0; j < n; ++j) {
    const double a = std::fabs(d->cx[j]);
    cmax = std::max(cmax, a);
    if (a != 0.0 && a >= avgc / 1000.0 && a <= avgc * 1000.0) ++nin;
  }
  if (4 * nin >= nzc && avgc >= 10000.0) {
    const double o = std::max(1.0, cmax);
    for (int32_t j = 0; j < n; ++j)
      d->cx[j] /= o;
    d->cfix /= o;
    d->objscale *= o;
  }
}

void VLR_opt_reverse(const SimLp& lp, const odat& d, const HomSol& hs, int32_t solsta,
                     SimSol* sol) {
  const int32_t m = lp.m, n = lp.n, nt = m + n;
  const bool pcert =
      solsta == VLR_SOL_STA_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_NEAR_PRIM_INFEAS_CER;
  const bool ray =
      solsta == VLR_SOL_STA_DUAL_INFEAS_CER || solsta == VLR_SOL_STA_NEAR_DUAL_INFEAS_CER;
  // Values: the shift (not for a ray or a certificate) and the columns unscaled.
  for (int32_t k = 0; k < nt; ++k)
    sol->x[k] = ray || pcert ? 0.0 : d.shift[k];
  if (!pcert) {
    for (int32_t col = 0; col < d.ncol; ++col)
      sol->x[d.idx[col]] += d.sgn[col] * hs.x[col] / d.cs[col];
  }
  // Free rows take their activity; so do all rows of a ray, whose residual is then in the
  // cone test of the rows rather than in A x = xc.
  for (int32_t i = 0; i < m; ++i)
    if (d.rinv[i] < 0 || ray) sol->x[i] = 0.0;
  for (int32_t j = 0; j < n; ++j)
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      if (d.rinv[lp.aidx[p]] < 0 || ray) sol->x[lp.aidx[p]] += lp.aval[p] * sol->x[m + j];
  // Duals: y unscaled, the reduced costs recomputed from it (with cost 0 for a certificate).
  for (int32_t i = 0; i < m; ++i) {
    const int32_t r = d.rinv[i];
    sol->y[i] = ray || r < 0 ? 0.0 : hs.y[r] * d.objscale / d.rs[r];
    sol->d[i] = sol->y[i];
  }
  for (int32_t j = 0; j < n; ++j) {
    double dj = ray ? 0.0 : pcert ? 0.0 : lp.c[j];
    if (!ray) {
      for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
        dj -= lp.aval[p] * sol->y[lp.aidx[p]];
    }
    sol->d[m + j] = dj;
  }
  VLR_opt_interiorkeys(lp, sol);
}

void VLR_opt_interiorkeys(const SimLp& lp, SimSol* sol) {
  const int32_t m = lp.m, nt = lp.m + lp.n;
  // Keys of an interior point: at a bound when the distance to it is below its dual's size.
  for (int32_t k = 0; k < nt; ++k) {
    const int32_t key = lp.bk[k];
    const double x = sol->x[k], dk = sol->d[k];
    const bool haslo = key == VLR_BK_LO || key == VLR_BK_RA;
    const bool hasup = key == VLR_BK_UP || key == VLR_BK_RA;
    int32_t sk = VLR_SK_BAS;
    if (key == VLR_BK_FX) {
      sk = VLR_SK_FIX;
    } else if (haslo && dk > 0.0 && x - lp.bl[k] <= dk) {
      sk = VLR_SK_LOW;
    } else if (hasup && dk < 0.0 && lp.bu[k] - x <= -dk) {
      sk = VLR_SK_UPR;
    } else if (key == VLR_BK_FR && k >= m) {
      sk = VLR_SK_SUPBAS;
    }
    sol->sk[k] = sk;
  }
}

}  // namespace vlr
