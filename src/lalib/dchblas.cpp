// src/lalib/dchblas.cpp: the update C -= A D B' in packed panels with a register-blocked core,
// built twice: for the SSE2 of every x86-64 (or the instruction set of the build), and, where the
// build does not already assume it, for AVX2 with fused multiply-add, taken when the processor
// has it. The choice is made once per process, so a run repeats bit for bit on one machine.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "lalib/lalib.h"

namespace vlr {

namespace {

namespace portable {
#define VLR_KERN_ATTR
#if defined(__AVX__)
constexpr int32_t kLanes = 4;
#else
constexpr int32_t kLanes = 2;
#endif
constexpr int32_t kNr = 4;
#include "lalib/dchblaskern.h"
#undef VLR_KERN_ATTR
}  // namespace portable

#if defined(__x86_64__) && !defined(__AVX2__) && defined(__GNUC__)
#define VLR_LALIB_DISPATCH 1
namespace avx2 {
#define VLR_KERN_ATTR __attribute__((target("avx2,fma")))
#define VLR_KERN_BROADCAST(p) reinterpret_cast<vreg>(_mm256_broadcast_sd(p))
constexpr int32_t kLanes = 4;
constexpr int32_t kNr = 6;
#include "lalib/dchblaskern.h"
#undef VLR_KERN_BROADCAST
#undef VLR_KERN_ATTR
}  // namespace avx2

bool dchblas_useavx2() {
  static const bool yes = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  return yes;
}
#endif

}  // namespace

int64_t VLR_lalib_worksize() {
#ifdef VLR_LALIB_DISPATCH
  return portable::kWork > avx2::kWork ? portable::kWork : avx2::kWork;
#else
  return portable::kWork;
#endif
}

void VLR_chdblas3_oa(int32_t m, int32_t n, int32_t k, const double* a, int32_t lda, const double* d,
                     const double* b, int32_t ldb, double* c, int32_t ldc, bool lower,
                     double* work) {
#ifdef VLR_LALIB_DISPATCH
  if (dchblas_useavx2()) {
    avx2::update(m, n, k, a, lda, d, b, ldb, c, ldc, lower, work);
    return;
  }
#endif
  portable::update(m, n, k, a, lda, d, b, ldb, c, ldc, lower, work);
}

}  // namespace vlr
