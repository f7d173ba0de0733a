// src/cpub/ivec.cpp: kernels over 32- and 64-bit integer vectors, byte flags and shorts.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <climits>
#include <cstring>

#include "cpub/rvec.h"

namespace vlr {
namespace {

constexpr int kDense = 8;
constexpr int kIndexed = 16;

// Runs f(k) for k in [lo, hi) in increasing order: unrolled blocks of U, then the remainder.
template <int U, class I, class F>
inline void unrolled(I lo, I hi, F f) {
  I k = lo;
  for (; hi - k >= U; k += U) {
#pragma GCC unroll 16
    for (int u = 0; u < U; ++u)
      f(static_cast<I>(k + u));
  }
  for (; k < hi; ++k)
    f(k);
}

template <class T, class I>
void copy_bytes(I n, const T* x, T* y) {
  if (n > 0) std::memcpy(y, x, static_cast<size_t>(n) * sizeof(T));
}

template <class T, class I>
void zero_bytes(I n, T* x) {
  if (n > 0) std::memset(x, 0, static_cast<size_t>(n) * sizeof(T));
}

template <class T, class I>
void swap_kernel(I n, T* x, T* y) {
  unrolled<kDense>(I{0}, n, [&](I k) { std::swap(x[k], y[k]); });
}

template <class T>
void permute_kernel(int32_t n, const int32_t* perm, T* x, T* work) {
  unrolled<kIndexed>(0, n, [&](int32_t k) { work[k] = x[perm[k]]; });
  copy_bytes(n, work, x);
}

// Numerical Recipes' 32-bit linear congruential step: cheap, and enough to shuffle orderings.
inline uint32_t lcg(uint32_t* seed) {
  *seed = *seed * 1664525u + 1013904223u;
  return *seed;
}

}  // namespace

// ---- ivec -----------------------------------------------------------------------------------

void VLR_ivec_rand(int32_t n, uint32_t* seed, int32_t* x) {
  for (int32_t k = 0; k < n; ++k)
    x[k] = k;
  // Fisher-Yates; the high bits of the generator are the better ones, hence the multiply-shift.
  for (int32_t k = n - 1; k > 0; --k) {
    const uint64_t r = (static_cast<uint64_t>(lcg(seed)) * static_cast<uint64_t>(k + 1)) >> 32;
    std::swap(x[k], x[static_cast<int32_t>(r)]);
  }
}

void VLR_ivec_zero(int32_t n, int32_t* x) {
  zero_bytes(n, x);
}

void VLR_ivec_zeros(int32_t nz, const int32_t* sub, int32_t* x) {
  VLR_ivec_fills(nz, sub, 0, x);
}

int32_t VLR_ivec_count(int32_t n, int32_t value, const int32_t* x) {
  int32_t c = 0;
  unrolled<kDense>(0, n, [&](int32_t k) { c += x[k] == value; });
  return c;
}

void VLR_ivec_fill(int32_t n, int32_t a, int32_t* x) {
  unrolled<kDense>(0, n, [&](int32_t k) { x[k] = a; });
}

void VLR_ivec_fills(int32_t nz, const int32_t* sub, int32_t a, int32_t* x) {
  unrolled<kIndexed>(0, nz, [&](int32_t k) { x[sub[k]] = a; });
}

void VLR_ivec_inc(int32_t n, int32_t a, int32_t* x) {
  unrolled<kDense>(0, n, [&](int32_t k) { x[k] += a; });
}

void VLR_ivec_incs(int32_t nz, const int32_t* sub, int32_t a, int32_t* x) {
  unrolled<kIndexed>(0, nz, [&](int32_t k) { x[sub[k]] += a; });
}

int64_t VLR_ivec_sum(int32_t n, const int32_t* x) {
  int64_t s = 0;
  unrolled<kDense>(0, n, [&](int32_t k) { s += x[k]; });
  return s;
}

void VLR_ivec_swap(int32_t n, int32_t* x, int32_t* y) {
  swap_kernel(n, x, y);
}

int32_t VLR_ivec_max(int32_t n, const int32_t* x) {
  int32_t m = INT32_MIN;
  unrolled<kDense>(0, n, [&](int32_t k) { m = std::max(m, x[k]); });
  return m;
}

int32_t VLR_ivec_min(int32_t n, const int32_t* x) {
  int32_t m = INT32_MAX;
  unrolled<kDense>(0, n, [&](int32_t k) { m = std::min(m, x[k]); });
  return m;
}

void VLR_ivec_copy(int32_t n, const int32_t* x, int32_t* y) {
  copy_bytes(n, x, y);
}

void VLR_ivec_copysafe(int32_t n, const int32_t* x, int32_t* y) {
  if (n > 0) std::memmove(y, x, static_cast<size_t>(n) * sizeof(int32_t));
}

void VLR_ivec_copy64(int64_t n, const int32_t* x, int32_t* y) {
  copy_bytes(n, x, y);
}

int32_t VLR_ivec_ipos(int32_t n, int32_t value, const int32_t* x) {
  for (int32_t k = 0; k < n; ++k) {
    if (x[k] == value) return k;
  }
  return -1;
}

void VLR_ivec_sort(int32_t n, int32_t* x) {
  if (n > 1) std::sort(x, x + n);
}

bool VLR_ivec_zerochk(int32_t n, const int32_t* x) {
  int32_t nonzero = 0;
  unrolled<kDense>(0, n, [&](int32_t k) { nonzero |= x[k]; });
  return nonzero == 0;
}

void VLR_ivec_fsort(int32_t n, int32_t* x, int32_t nvals, int32_t* count) {
  unrolled<kIndexed>(0, n, [&](int32_t k) { ++count[x[k]]; });
  int32_t k = 0;
  for (int32_t v = 0; v < nvals && k < n; ++v) {
    for (int32_t c = count[v]; c > 0; --c)
      x[k++] = v;
    count[v] = 0;
  }
}

void VLR_ivec_rotateright(int32_t n, int32_t* x) {
  if (n < 2) return;
  const int32_t last = x[n - 1];
  VLR_ivec_copysafe(n - 1, x, x + 1);
  x[0] = last;
}

void VLR_ivec_permute(int32_t n, const int32_t* perm, int32_t* x, int32_t* work) {
  permute_kernel(n, perm, x, work);
}

// ---- ivec64 ---------------------------------------------------------------------------------

int64_t* VLR_ivec64_allocdbg(SysEnv* sys, const char* file, int line, int64_t n) {
  return static_cast<int64_t*>(VLR_sysenv_callocdbg(sys, file, line, n, sizeof(int64_t)));
}

void VLR_ivec64_freedbg(SysEnv* sys, const char* file, int line, int64_t** x) {
  VLR_sysenv_freedbg(sys, file, line, *x);
  *x = nullptr;
}

void VLR_ivec64_copy(int64_t n, const int64_t* x, int64_t* y) {
  copy_bytes(n, x, y);
}

void VLR_ivec64_incs(int64_t nz, const int64_t* sub, int64_t a, int64_t* x) {
  unrolled<kIndexed>(int64_t{0}, nz, [&](int64_t k) { x[sub[k]] += a; });
}

void VLR_ivec64_zero(int64_t n, int64_t* x) {
  zero_bytes(n, x);
}

int64_t VLR_ivec64_max(int64_t n, const int64_t* x) {
  int64_t m = INT64_MIN;
  unrolled<kDense>(int64_t{0}, n, [&](int64_t k) { m = std::max(m, x[k]); });
  return m;
}

int64_t VLR_ivec64_sum(int64_t n, const int64_t* x) {
  int64_t s = 0;
  unrolled<kDense>(int64_t{0}, n, [&](int64_t k) { s += x[k]; });
  return s;
}

void VLR_ivec64_swap(int64_t n, int64_t* x, int64_t* y) {
  swap_kernel(n, x, y);
}

// ---- bvec -----------------------------------------------------------------------------------

int32_t VLR_bvec_compress(int32_t n, const uint8_t* x, int32_t* sub) {
  int32_t nz = 0;
  unrolled<kDense>(0, n, [&](int32_t k) {
    if (x[k] != 0) sub[nz++] = k;
  });
  return nz;
}

void VLR_bvec_swap(int32_t n, uint8_t* x, uint8_t* y) {
  swap_kernel(n, x, y);
}

void VLR_bvec_fill(int32_t n, uint8_t a, uint8_t* x) {
  if (n > 0) std::memset(x, a, static_cast<size_t>(n));
}

void VLR_bvec_zero(int32_t n, uint8_t* x) {
  zero_bytes(n, x);
}

void VLR_bvec_zerof(int32_t nz, const int32_t* sub, uint8_t* x) {
  unrolled<kIndexed>(0, nz, [&](int32_t k) { x[sub[k]] = 0; });
}

// ---- svec -----------------------------------------------------------------------------------

int16_t* VLR_svec_allocdbg(SysEnv* sys, const char* file, int line, int64_t n) {
  return static_cast<int16_t*>(VLR_sysenv_callocdbg(sys, file, line, n, sizeof(int16_t)));
}

void VLR_svec_freedbg(SysEnv* sys, const char* file, int line, int16_t** x) {
  VLR_sysenv_freedbg(sys, file, line, *x);
  *x = nullptr;
}

void VLR_svec_copy(int32_t n, const int16_t* x, int16_t* y) {
  copy_bytes(n, x, y);
}

void VLR_svec_fill(int32_t n, int16_t a, int16_t* x) {
  unrolled<kDense>(0, n, [&](int32_t k) { x[k] = a; });
}

void VLR_svec_permute(int32_t n, const int32_t* perm, int16_t* x, int16_t* work) {
  permute_kernel(n, perm, x, work);
}

}  // namespace vlr
