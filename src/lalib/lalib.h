// src/lalib/lalib.h: dense kernels of the symmetric factorisation: the update C -= A D B', the
// LDL' of a column panel and the triangular solves, all column-major with a leading dimension.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace vlr {

// The kernels never allocate: the callers size one work block with VLR_lalib_worksize and hand
// it in. They are plain double precision; the update uses fused multiply-adds on a processor with
// AVX2 (chosen once per process), so a run repeats bit for bit on one machine. A tuned BLAS can be
// put under the same three calls later: the update is a dgemm/dsyrk with a diagonal scaling of B,
// the panel a dsytrf without pivoting.

// Doubles of work the update needs for any shape (the packed panels of A and B).
int64_t VLR_lalib_worksize();

// C -= A diag(d) B', with A m x k (lda), B n x k (ldb), d[k] (null: the identity), C m x n
// (ldc). With lower set only the entries C(i, j) with i >= j are formed and written.
// work holds VLR_lalib_worksize() doubles.
void VLR_chdblas3_oa(int32_t m, int32_t n, int32_t k, const double* a, int32_t lda, const double* d,
                     const double* b, int32_t ldb, double* c, int32_t ldc, bool lower,
                     double* work);

// Decides the pivot of column k of the panel from its updated diagonal v; returns the value D
// takes. The caller's rules (signs, replacement of tiny pivots) live behind it.
using PivotFunc = double (*)(void* handle, int32_t k, double v);

// LDL' of the panel P (m x n, m >= n, lda): P = [L11; L21] D L11' on the first n rows, with
// L11 unit lower. On return the strict lower part holds L, the diagonal 1.0, and d[n] holds D.
// The strict upper part of the top block is left as it was. Widths under 64 run one column
// loop; wider panels go in blocks of 64 columns with the trailing update by VLR_chdblas3_oa.
// work holds VLR_lalib_worksize() doubles.
void VLR_upd_idenseL(int32_t m, int32_t n, double* p, int32_t lda, double* d, PivotFunc pivot,
                     void* handle, double* work);

// x := L^-1 x and x := L'^-1 x for the unit lower n x n block L (lda).
void VLR_lalib_lsolve(int32_t n, const double* l, int32_t lda, double* x);
void VLR_lalib_ltsolve(int32_t n, const double* l, int32_t lda, double* x);
// y -= A x and x -= A' y for A m x n (lda).
void VLR_lalib_gemvsub(int32_t m, int32_t n, const double* a, int32_t lda, const double* x,
                       double* y);
void VLR_lalib_gemvtsub(int32_t m, int32_t n, const double* a, int32_t lda, const double* y,
                        double* x);

}  // namespace vlr
