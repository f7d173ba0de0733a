// src/lalib/densefac.cpp: LDL' of a column panel, by columns or in blocks of 64, and the dense
// triangular solves.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "lalib/lalib.h"

// The loops here are left to the vectoriser; on x86-64 each is built for AVX2 as well and the
// processor's best is taken when the library loads (a run repeats bit for bit on one machine).
// Not under a sanitizer: the loader runs the choice before the sanitizer's own start, and the
// thread sanitizer's instrumented code then fails.
#if defined(__x86_64__) && !defined(__AVX2__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
#define VLR_LALIB_CLONES __attribute__((target_clones("arch=x86-64-v3", "default")))
#else
#define VLR_LALIB_CLONES
#endif

namespace vlr {

namespace {

// a'b in four running sums (a sum of one chain waits on each addition; four keep the adder busy
// and let the compiler use whole registers), added in a fixed order, so the result repeats.
inline double densefac_dot(int32_t n, const double* a, const double* b) {
  double s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
  int32_t i = 0;
  for (; i + 4 <= n; i += 4) {
    s0 += a[i] * b[i];
    s1 += a[i + 1] * b[i + 1];
    s2 += a[i + 2] * b[i + 2];
    s3 += a[i + 3] * b[i + 3];
  }
  for (; i < n; ++i)
    s0 += a[i] * b[i];
  return (s0 + s1) + (s2 + s3);
}

// Block width of the panel factor; narrower panels take the column loop whole.
constexpr int32_t kBlock = 64;

// Left-looking column loop over the panel P (m x n) whose pivots are k0.. in the caller's count:
// each column takes the updates of the columns before it in the panel, is pivoted and scaled.
VLR_LALIB_CLONES void densefac_cols(int32_t m, int32_t n, double* p, int32_t lda, double* d,
                                    PivotFunc pivot, void* handle, int32_t k0) {
  for (int32_t j = 0; j < n; ++j) {
    double* pj = p + static_cast<int64_t>(j) * lda;
    for (int32_t t = 0; t < j; ++t) {
      const double* pt = p + static_cast<int64_t>(t) * lda;
      const double f = d[t] * pt[j];
      if (f == 0.0) continue;
      for (int32_t i = j; i < m; ++i)
        pj[i] -= pt[i] * f;
    }
    const double dj = pivot(handle, k0 + j, pj[j]);
    d[j] = dj;
    pj[j] = 1.0;
    const double inv = 1.0 / dj;
    for (int32_t i = j + 1; i < m; ++i)
      pj[i] *= inv;
  }
}

}  // namespace

void VLR_upd_idenseL(int32_t m, int32_t n, double* p, int32_t lda, double* d, PivotFunc pivot,
                     void* handle, double* work) {
  if (n < kBlock) {
    densefac_cols(m, n, p, lda, d, pivot, handle, 0);
    return;
  }
  for (int32_t kb = 0; kb < n; kb += kBlock) {
    const int32_t bw = std::min(kBlock, n - kb);
    double* pk = p + kb + static_cast<int64_t>(kb) * lda;
    densefac_cols(m - kb, bw, pk, lda, d + kb, pivot, handle, kb);
    const int32_t r = kb + bw;  // first row and column of the trailing part
    if (r >= n) break;
    VLR_chdblas3_oa(m - r, n - r, bw, pk + bw, lda, d + kb, pk + bw, lda,
                    p + r + static_cast<int64_t>(r) * lda, lda, true, work);
  }
}

VLR_LALIB_CLONES void VLR_lalib_lsolve(int32_t n, const double* l, int32_t lda, double* x) {
  for (int32_t j = 0; j < n; ++j) {
    const double xj = x[j];
    if (xj == 0.0) continue;
    const double* lj = l + static_cast<int64_t>(j) * lda;
    for (int32_t i = j + 1; i < n; ++i)
      x[i] -= lj[i] * xj;
  }
}

VLR_LALIB_CLONES void VLR_lalib_ltsolve(int32_t n, const double* l, int32_t lda, double* x) {
  for (int32_t j = n - 1; j >= 0; --j) {
    const double* lj = l + static_cast<int64_t>(j) * lda;
    x[j] -= densefac_dot(n - j - 1, lj + j + 1, x + j + 1);
  }
}

VLR_LALIB_CLONES void VLR_lalib_gemvsub(int32_t m, int32_t n, const double* a, int32_t lda,
                                        const double* x, double* y) {
  for (int32_t j = 0; j < n; ++j) {
    const double xj = x[j];
    if (xj == 0.0) continue;
    const double* aj = a + static_cast<int64_t>(j) * lda;
    for (int32_t i = 0; i < m; ++i)
      y[i] -= aj[i] * xj;
  }
}

VLR_LALIB_CLONES void VLR_lalib_gemvtsub(int32_t m, int32_t n, const double* a, int32_t lda,
                                         const double* y, double* x) {
  for (int32_t j = 0; j < n; ++j)
    x[j] -= densefac_dot(m, a + static_cast<int64_t>(j) * lda, y);
}

}  // namespace vlr
