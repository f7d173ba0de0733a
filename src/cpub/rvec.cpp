// src/cpub/rvec.cpp: the real vector kernels shared by every optimiser, and aligned workspace
// slices. SPDX-License-Identifier: Apache-2.0
#include "cpub/rvec.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace vlr {
namespace {

constexpr int kDense = 8;     // unroll depth of loops over contiguous data
constexpr int kIndexed = 16;  // deeper for gathers, whose loads wait on the index list

// Runs f(k) for k in [lo, hi): blocks of U in a fully unrolled body, then a remainder loop. f is
// applied in increasing k, so order-dependent kernels (compaction, first maximum) stay correct.
template <int U, class I, class F>
inline void unrolled(I lo, I hi, F f) {
  I k = lo;
  for (; hi - k >= U; k += U) {
#pragma GCC unroll 16
    for (int u = 0; u < U; ++u)
      f(k + u);
  }
  for (; k < hi; ++k)
    f(k);
}

// Folds f(k) over [lo, hi) with U independent partials, which breaks the dependency chain of a
// single accumulator. The partials are combined in a fixed order, so a result repeats exactly.
template <int U, class I, class F, class Op>
inline double unrolled_fold(I lo, I hi, double init, F f, Op op) {
  double acc[static_cast<size_t>(U)];
  for (int u = 0; u < U; ++u)
    acc[u] = init;
  I k = lo;
  for (; hi - k >= U; k += U) {
#pragma GCC unroll 16
    for (int u = 0; u < U; ++u)
      acc[u] = op(acc[u], f(k + u));
  }
  double r = init;
  for (; k < hi; ++k)
    r = op(r, f(k));
  for (int u = 0; u < U; ++u)
    r = op(r, acc[u]);
  return r;
}

inline double add(double s, double v) {
  return s + v;
}
inline double maxof(double s, double v) {
  return v > s ? v : s;
}
inline double minof(double s, double v) {
  return v < s ? v : s;
}

template <int U, class I, class F>
inline double unrolled_sum(I lo, I hi, F f) {
  return unrolled_fold<U>(lo, hi, 0.0, f, add);
}

// y(k) += a x(k) with the fast paths for a = 0, 1 and -1.
template <int U, class I, class X, class Y>
inline void axpy_kernel(I lo, I hi, double a, X x, Y y) {
  if (a == 0.0) return;
  if (a == 1.0) {
    unrolled<U>(lo, hi, [&](I k) { y(k) += x(k); });
  } else if (a == -1.0) {
    unrolled<U>(lo, hi, [&](I k) { y(k) -= x(k); });
  } else {
    unrolled<U>(lo, hi, [&](I k) { y(k) += a * x(k); });
  }
}

// y(k) = a x(k); a = 0 clears without reading x, so a NaN in x does not leak into y.
template <int U, class I, class X, class Y>
inline void axy_kernel(I lo, I hi, double a, X x, Y y) {
  if (a == 0.0) {
    unrolled<U>(lo, hi, [&](I k) { y(k) = 0.0; });
  } else if (a == 1.0) {
    unrolled<U>(lo, hi, [&](I k) { y(k) = x(k); });
  } else if (a == -1.0) {
    unrolled<U>(lo, hi, [&](I k) { y(k) = -x(k); });
  } else {
    unrolled<U>(lo, hi, [&](I k) { y(k) = a * x(k); });
  }
}

// One walk of the step length on the negated step an: a position whose step would turn x
// negative shortens it to x / d.
inline double stepwalk(double an, double x, double d) {
  return an * d > x ? x / d : an;
}

constexpr double kInf = std::numeric_limits<double>::infinity();

}  // namespace

// ---- y = y + a x ----------------------------------------------------------------------------

void VLR_GENERIC_CPU_rvec_axpy(int32_t n, double a, const double* x, double* y) {
  axpy_kernel<kDense>(
      0, n, a, [x](int32_t k) { return x[k]; }, [y](int32_t k) -> double& { return y[k]; });
}

void VLR_GENERIC_CPU_rvec_axpyi(int32_t nz, const int32_t* sub, double a, const double* x,
                                double* y) {
  VLR_GENERIC_CPU_rvec_axpyio(0, nz, sub, a, x, y);
}

void VLR_GENERIC_CPU_rvec_axpyio(int32_t first, int32_t last, const int32_t* sub, double a,
                                 const double* x, double* y) {
  axpy_kernel<kIndexed>(
      first, last, a, [x](int32_t k) { return x[k]; },
      [y, sub](int32_t k) -> double& { return y[sub[k]]; });
}

void VLR_GENERIC_CPU_rvec_axpys(int32_t nz, const int32_t* sub, double a, const double* x,
                                double* y) {
  VLR_GENERIC_CPU_rvec_axpyso(0, nz, sub, a, x, y);
}

void VLR_GENERIC_CPU_rvec_axpyso(int32_t first, int32_t last, const int32_t* sub, double a,
                                 const double* x, double* y) {
  axpy_kernel<kIndexed>(
      first, last, a, [x, sub](int32_t k) { return x[sub[k]]; },
      [y, sub](int32_t k) -> double& { return y[sub[k]]; });
}

void VLR_GENERIC_CPU_rvec_axpys0(int32_t nz, const int32_t* sub, double a, double* x, double* y) {
  VLR_GENERIC_CPU_rvec_axpys(nz, sub, a, x, y);
  VLR_GENERIC_CPU_rvec_zeros(nz, sub, x);
}

void VLR_GENERIC_CPU_rvec_axpys0mc(int32_t nz, const int32_t* sub, double a, double* x, double* y,
                                   int32_t* mark, int32_t offset, int32_t* list, int32_t* nlist) {
  VLR_GENERIC_CPU_rvec_axpys(nz, sub, a, x, y);
  int32_t* out = list + *nlist;
  unrolled<kIndexed>(0, nz, [&](int32_t k) {
    const int32_t j = sub[k];
    x[j] = 0.0;
    mark[j] = 0;
    out[k] = j + offset;
  });
  *nlist += nz;
}

void VLR_GENERIC_CPU_rvec_axty(int32_t n, double a, const double* x, double* y) {
  if (a == 0.0) {
    VLR_GENERIC_CPU_rvec_zero(n, y);
  } else if (a == 1.0) {
    unrolled<kDense>(0, n, [&](int32_t k) { y[k] *= x[k]; });
  } else if (a == -1.0) {
    unrolled<kDense>(0, n, [&](int32_t k) { y[k] *= -x[k]; });
  } else {
    unrolled<kDense>(0, n, [&](int32_t k) { y[k] *= a * x[k]; });
  }
}

// ---- y = a x --------------------------------------------------------------------------------

void VLR_GENERIC_CPU_rvec_axy(int32_t n, double a, const double* x, double* y) {
  axy_kernel<kDense>(
      0, n, a, [x](int32_t k) { return x[k]; }, [y](int32_t k) -> double& { return y[k]; });
}

void VLR_GENERIC_CPU_rvec_axyi(int32_t nz, const int32_t* sub, double a, const double* x,
                               double* y) {
  axy_kernel<kIndexed>(
      0, nz, a, [x](int32_t k) { return x[k]; },
      [y, sub](int32_t k) -> double& { return y[sub[k]]; });
}

void VLR_GENERIC_CPU_rvec_axys(int32_t nz, const int32_t* sub, double a, const double* x,
                               double* y) {
  VLR_GENERIC_CPU_rvec_axyso(0, nz, sub, a, x, y);
}

void VLR_GENERIC_CPU_rvec_axyso(int32_t first, int32_t last, const int32_t* sub, double a,
                                const double* x, double* y) {
  axy_kernel<kIndexed>(
      first, last, a, [x, sub](int32_t k) { return x[sub[k]]; },
      [y, sub](int32_t k) -> double& { return y[sub[k]]; });
}

// ---- Copies ---------------------------------------------------------------------------------

void VLR_GENERIC_CPU_rvec_copy(int32_t n, const double* x, double* y) {
  if (n > 0) std::memcpy(y, x, static_cast<size_t>(n) * sizeof(double));
}

void VLR_GENERIC_CPU_rvec_copy64(int64_t n, const double* x, double* y) {
  if (n > 0) std::memcpy(y, x, static_cast<size_t>(n) * sizeof(double));
}

void VLR_GENERIC_CPU_rvec_copys(int32_t nz, const int32_t* sub, const double* x, double* y) {
  VLR_GENERIC_CPU_rvec_axyso(0, nz, sub, 1.0, x, y);
}

void VLR_GENERIC_CPU_rvec_copyso(int32_t first, int32_t last, const int32_t* sub, const double* x,
                                 double* y) {
  VLR_GENERIC_CPU_rvec_axyso(first, last, sub, 1.0, x, y);
}

void VLR_GENERIC_CPU_rvec_mcopy(int32_t n, const double* x, double* y) {
  VLR_GENERIC_CPU_rvec_axy(n, -1.0, x, y);
}

void VLR_GENERIC_CPU_rvec_mcopys(int32_t nz, const int32_t* sub, const double* x, double* y) {
  VLR_GENERIC_CPU_rvec_axyso(0, nz, sub, -1.0, x, y);
}

void VLR_GENERIC_CPU_rvec_mcopyso(int32_t first, int32_t last, const int32_t* sub, const double* x,
                                  double* y) {
  VLR_GENERIC_CPU_rvec_axyso(first, last, sub, -1.0, x, y);
}

// ---- Inner products -------------------------------------------------------------------------

double VLR_GENERIC_CPU_rvec_dot(int32_t n, const double* x, const double* y) {
  return unrolled_sum<kDense>(0, n, [&](int32_t k) { return x[k] * y[k]; });
}

double VLR_GENERIC_CPU_rvec_doti(int32_t nz, const int32_t* sub, const double* x, const double* y) {
  return VLR_GENERIC_CPU_rvec_dotio(0, nz, sub, x, y);
}

double VLR_GENERIC_CPU_rvec_dotio(int32_t first, int32_t last, const int32_t* sub, const double* x,
                                  const double* y) {
  return unrolled_sum<kIndexed>(first, last, [&](int32_t k) { return x[k] * y[sub[k]]; });
}

double VLR_GENERIC_CPU_rvec_dots(int32_t nz, const int32_t* sub, const double* x, const double* y) {
  return VLR_GENERIC_CPU_rvec_dotso(0, nz, sub, x, y);
}

double VLR_GENERIC_CPU_rvec_dotso(int32_t first, int32_t last, const int32_t* sub, const double* x,
                                  const double* y) {
  return unrolled_sum<kIndexed>(first, last, [&](int32_t k) { return x[sub[k]] * y[sub[k]]; });
}

// ---- Set and clear --------------------------------------------------------------------------

void VLR_GENERIC_CPU_rvec_fill(int32_t n, double a, double* x) {
  unrolled<kDense>(0, n, [&](int32_t k) { x[k] = a; });
}

void VLR_GENERIC_CPU_rvec_fills(int32_t nz, const int32_t* sub, double a, double* x) {
  unrolled<kIndexed>(0, nz, [&](int32_t k) { x[sub[k]] = a; });
}

void VLR_GENERIC_CPU_rvec_zero(int32_t n, double* x) {
  if (n > 0) std::memset(x, 0, static_cast<size_t>(n) * sizeof(double));
}

void VLR_GENERIC_CPU_rvec_zerou(int32_t n, double* x) {
  unrolled<kDense>(0, n, [&](int32_t k) { x[k] = 0.0; });
}

void VLR_GENERIC_CPU_rvec_zeros(int32_t nz, const int32_t* sub, double* x) {
  VLR_GENERIC_CPU_rvec_fills(nz, sub, 0.0, x);
}

void VLR_GENERIC_CPU_rvec_zerosm(int32_t nz, const int32_t* sub, double* x, int32_t* mark) {
  unrolled<kIndexed>(0, nz, [&](int32_t k) {
    x[sub[k]] = 0.0;
    mark[sub[k]] = 0;
  });
}

bool VLR_GENERIC_CPU_rvec_zerochk(int32_t n, const double* x) {
  // Counting, not branching, keeps the unrolled body free of early exits.
  int32_t nonzero = 0;
  unrolled<kDense>(0, n, [&](int32_t k) { nonzero += x[k] != 0.0; });
  return nonzero == 0;
}

// ---- Gather and scatter ---------------------------------------------------------------------

void VLR_GENERIC_CPU_rvec_gthr(int32_t nz, const int32_t* sub, const double* y, double* x) {
  unrolled<kIndexed>(0, nz, [&](int32_t k) { x[k] = y[sub[k]]; });
}

void VLR_GENERIC_CPU_rvec_gthrz(int32_t nz, const int32_t* sub, double* y, double* x) {
  unrolled<kIndexed>(0, nz, [&](int32_t k) {
    x[k] = y[sub[k]];
    y[sub[k]] = 0.0;
  });
}

void VLR_GENERIC_CPU_rvec_sctr(int32_t nz, const int32_t* sub, const double* x, double* y) {
  unrolled<kIndexed>(0, nz, [&](int32_t k) { y[sub[k]] = x[k]; });
}

// ---- Extremes -------------------------------------------------------------------------------

double VLR_GENERIC_CPU_rvec_absmax(int32_t n, const double* x) {
  return unrolled_fold<kDense>(
      0, n, 0.0, [&](int32_t k) { return std::fabs(x[k]); }, maxof);
}

int32_t VLR_GENERIC_CPU_rvec_iabsmax(int32_t n, const double* x) {
  int32_t best = n > 0 ? 0 : -1;
  double big = n > 0 ? std::fabs(x[0]) : 0.0;
  unrolled<kDense>(1, n, [&](int32_t k) {
    const double v = std::fabs(x[k]);
    if (v > big) {  // strictly larger: the first of equal maxima wins
      big = v;
      best = k;
    }
  });
  return best;
}

double VLR_GENERIC_CPU_rvec_absmin(int32_t n, const double* x) {
  return unrolled_fold<kDense>(
      0, n, kInf, [&](int32_t k) { return std::fabs(x[k]); }, minof);
}

double VLR_GENERIC_CPU_rvec_max(int32_t n, const double* x) {
  return unrolled_fold<kDense>(
      0, n, -kInf, [&](int32_t k) { return x[k]; }, maxof);
}

double VLR_GENERIC_CPU_rvec_maxs(int32_t nz, const int32_t* sub, const double* x) {
  return unrolled_fold<kIndexed>(
      0, nz, -kInf, [&](int32_t k) { return x[sub[k]]; }, maxof);
}

double VLR_GENERIC_CPU_rvec_min(int32_t n, const double* x) {
  return unrolled_fold<kDense>(
      0, n, kInf, [&](int32_t k) { return x[k]; }, minof);
}

double VLR_GENERIC_CPU_rvec_mins(int32_t nz, const int32_t* sub, const double* x) {
  return unrolled_fold<kIndexed>(
      0, nz, kInf, [&](int32_t k) { return x[sub[k]]; }, minof);
}

// ---- Norms and sums -------------------------------------------------------------------------

double VLR_GENERIC_CPU_rvec_nrm1(int32_t n, const double* x) {
  return unrolled_sum<kDense>(0, n, [&](int32_t k) { return std::fabs(x[k]); });
}

double VLR_GENERIC_CPU_rvec_nrm1s(int32_t nz, const int32_t* sub, const double* x) {
  return unrolled_sum<kIndexed>(0, nz, [&](int32_t k) { return std::fabs(x[sub[k]]); });
}

double VLR_GENERIC_CPU_rvec_nrm2(int32_t n, const double* x) {
  return std::sqrt(VLR_GENERIC_CPU_rvec_sumos(n, x));
}

double VLR_GENERIC_CPU_rvec_nrm2s(int32_t nz, const int32_t* sub, const double* x) {
  return std::sqrt(VLR_GENERIC_CPU_rvec_sumoss(nz, sub, x));
}

double VLR_GENERIC_CPU_rvec_nrmi(int32_t n, const double* x) {
  return VLR_GENERIC_CPU_rvec_absmax(n, x);
}

double VLR_GENERIC_CPU_rvec_nrmis(int32_t nz, const int32_t* sub, const double* x) {
  return unrolled_fold<kIndexed>(
      0, nz, 0.0, [&](int32_t k) { return std::fabs(x[sub[k]]); }, maxof);
}

double VLR_GENERIC_CPU_rvec_sum(int32_t n, const double* x) {
  return unrolled_sum<kDense>(0, n, [&](int32_t k) { return x[k]; });
}

double VLR_GENERIC_CPU_rvec_sums(int32_t nz, const int32_t* sub, const double* x) {
  return unrolled_sum<kIndexed>(0, nz, [&](int32_t k) { return x[sub[k]]; });
}

double VLR_GENERIC_CPU_rvec_sumos(int32_t n, const double* x) {
  return unrolled_sum<kDense>(0, n, [&](int32_t k) { return x[k] * x[k]; });
}

double VLR_GENERIC_CPU_rvec_sumoss(int32_t nz, const int32_t* sub, const double* x) {
  return VLR_GENERIC_CPU_rvec_sumosso(0, nz, sub, x);
}

double VLR_GENERIC_CPU_rvec_sumosso(int32_t first, int32_t last, const int32_t* sub,
                                    const double* x) {
  return unrolled_sum<kIndexed>(first, last, [&](int32_t k) { return x[sub[k]] * x[sub[k]]; });
}

// ---- Scaling, cleaning, step lengths --------------------------------------------------------

void VLR_GENERIC_CPU_rvec_scal(int32_t n, double a, double* x) {
  if (a == 1.0) return;
  if (a == 0.0) {
    VLR_GENERIC_CPU_rvec_zero(n, x);
  } else if (a == -1.0) {
    unrolled<kDense>(0, n, [&](int32_t k) { x[k] = -x[k]; });
  } else {
    unrolled<kDense>(0, n, [&](int32_t k) { x[k] *= a; });
  }
}

void VLR_GENERIC_CPU_rvec_scals(int32_t nz, const int32_t* sub, double a, double* x) {
  if (a == 1.0) return;
  if (a == 0.0) {
    VLR_GENERIC_CPU_rvec_zeros(nz, sub, x);
  } else if (a == -1.0) {
    unrolled<kIndexed>(0, nz, [&](int32_t k) { x[sub[k]] = -x[sub[k]]; });
  } else {
    unrolled<kIndexed>(0, nz, [&](int32_t k) { x[sub[k]] *= a; });
  }
}

void VLR_GENERIC_CPU_rvec_cleans(int32_t* nz, int32_t* sub, double tol, double* x, int32_t* mark) {
  // Writes go to kept <= k, so compaction in place never overwrites an unread entry.
  int32_t kept = 0;
  unrolled<kIndexed>(0, *nz, [&](int32_t k) {
    const int32_t j = sub[k];
    if (std::fabs(x[j]) <= tol) {  // at the tolerance counts as zero
      x[j] = 0.0;
      if (mark != nullptr) mark[j] = 0;
    } else {
      sub[kept++] = j;
    }
  });
  *nz = kept;
}

double VLR_GENERIC_CPU_rvec_psteplen(int32_t n, const int32_t* sub, double a, const double* x,
                                     const double* d) {
  double an = -a;
  if (sub == nullptr) {
    unrolled<kDense>(0, n, [&](int32_t k) { an = stepwalk(an, x[k], d[k]); });
  } else {
    unrolled<kIndexed>(0, n, [&](int32_t k) { an = stepwalk(an, x[sub[k]], d[sub[k]]); });
  }
  return -an;
}

void VLR_GENERIC_CPU_rvec_psteplen2(int32_t n, const int32_t* sub, const double* x,
                                    const double* dx, const double* z, const double* dz, double* ax,
                                    double* az) {
  double anx = -*ax;
  double anz = -*az;
  if (sub == nullptr) {
    unrolled<kDense>(0, n, [&](int32_t k) {
      anx = stepwalk(anx, x[k], dx[k]);
      anz = stepwalk(anz, z[k], dz[k]);
    });
  } else {
    unrolled<kIndexed>(0, n, [&](int32_t k) {
      const int32_t j = sub[k];
      anx = stepwalk(anx, x[j], dx[j]);
      anz = stepwalk(anz, z[j], dz[j]);
    });
  }
  *ax = -anx;
  *az = -anz;
}

// ---- Exchange, permutation, checks ----------------------------------------------------------

void VLR_GENERIC_CPU_rvec_swap(int32_t n, double* x, double* y) {
  unrolled<kDense>(0, n, [&](int32_t k) {
    const double t = x[k];
    x[k] = y[k];
    y[k] = t;
  });
}

void VLR_GENERIC_CPU_rvec_permute(int32_t n, const int32_t* perm, double* x, double* work) {
  VLR_GENERIC_CPU_rvec_gthr(n, perm, x, work);
  VLR_GENERIC_CPU_rvec_copy(n, work, x);
}

void VLR_GENERIC_CPU_rvec_checkdbg(SysEnv* sys, const char* file, int line, int32_t n,
                                   const double* x) {
  for (int32_t k = 0; k < n; ++k) {
    if (std::isnan(x[k]))
      VLR_sysenv_stopdbg(sys, file, line, "%s(%d): n=%d x[%d]=%e\n", file, line, n, k, x[k]);
  }
}

// ---- Aligned slices -------------------------------------------------------------------------

double* VLR_GENERIC_CPU_rvec_cutaligneddbg(SysEnv* sys, const char* file, int line, double* work,
                                           size_t size, size_t* use, size_t slicesize) {
  constexpr size_t kAlign = VLR_GENERIC_CPU_rvec_numaligned() * sizeof(double);
  const size_t misalign = reinterpret_cast<uintptr_t>(work + *use) % kAlign;
  const size_t add = misalign == 0 ? 0 : (kAlign - misalign) / sizeof(double);
  if (*use + add + slicesize > size) {
    VLR_sysenv_stopdbg(sys, file, line, "use[0]+add+slicesize>size %llu %llu %llu %llu",
                       static_cast<unsigned long long>(*use), static_cast<unsigned long long>(add),
                       static_cast<unsigned long long>(slicesize),
                       static_cast<unsigned long long>(size));
  }
  double* slice = work + *use + add;
  *use += add + slicesize;
  return slice;
}

std::span<double> VLR_GENERIC_CPU_rvec_cutaligneddbg(SysEnv* sys, const char* file, int line,
                                                     std::span<double> work, size_t* use,
                                                     size_t slicesize) {
  return {
      VLR_GENERIC_CPU_rvec_cutaligneddbg(sys, file, line, work.data(), work.size(), use, slicesize),
      slicesize};
}

}  // namespace vlr
