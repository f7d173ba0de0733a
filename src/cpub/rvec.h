// src/cpub/rvec.h: vector kernels over doubles, 32- and 64-bit integers, flags and shorts.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "cpub/sysenv.h"

// Argument order throughout: the count (n, or nz with the index list sub), the scalar a, the
// inputs, then the outputs. Suffixes:
//   i  x is packed: y[sub[k]] pairs with x[k], k < nz;
//   s  x and y are dense and only the listed positions are touched: y[sub[k]] with x[sub[k]];
//   o  k runs over [first, last) of sub instead of [0, nz);
//   m  (prefix) the negated copy.
// Dense loops are unrolled by 8, indexed ones by 16. Index lists are free of duplicates unless a
// kernel says otherwise.

namespace vlr {

// ---- rvec: y = y + a x. a = 0 does nothing; 1 and -1 skip the multiplication. ---------------

void VLR_GENERIC_CPU_rvec_axpy(int32_t n, double a, const double* x, double* y);
void VLR_GENERIC_CPU_rvec_axpyi(int32_t nz, const int32_t* sub, double a, const double* x,
                                double* y);
void VLR_GENERIC_CPU_rvec_axpyio(int32_t first, int32_t last, const int32_t* sub, double a,
                                 const double* x, double* y);
void VLR_GENERIC_CPU_rvec_axpys(int32_t nz, const int32_t* sub, double a, const double* x,
                                double* y);
void VLR_GENERIC_CPU_rvec_axpyso(int32_t first, int32_t last, const int32_t* sub, double a,
                                 const double* x, double* y);
// As axpys, and x[sub[k]] = 0 afterwards (also when a = 0).
void VLR_GENERIC_CPU_rvec_axpys0(int32_t nz, const int32_t* sub, double a, double* x, double* y);
// As axpys0, and for each listed j: mark[j] = 0 and list[(*nlist)++] = j + offset. list must
// have room for nz more entries.
void VLR_GENERIC_CPU_rvec_axpys0mc(int32_t nz, const int32_t* sub, double a, double* x, double* y,
                                   int32_t* mark, int32_t offset, int32_t* list, int32_t* nlist);

// y[k] = a x[k] y[k].
void VLR_GENERIC_CPU_rvec_axty(int32_t n, double a, const double* x, double* y);

// ---- y = a x; a = 0 clears y whatever x holds. ------------------------------------------------

void VLR_GENERIC_CPU_rvec_axy(int32_t n, double a, const double* x, double* y);
void VLR_GENERIC_CPU_rvec_axyi(int32_t nz, const int32_t* sub, double a, const double* x,
                               double* y);
void VLR_GENERIC_CPU_rvec_axys(int32_t nz, const int32_t* sub, double a, const double* x,
                               double* y);
void VLR_GENERIC_CPU_rvec_axyso(int32_t first, int32_t last, const int32_t* sub, double a,
                                const double* x, double* y);

// ---- Copies: y = x, or y = -x for the m forms. x and y must not overlap. --------------------

void VLR_GENERIC_CPU_rvec_copy(int32_t n, const double* x, double* y);
void VLR_GENERIC_CPU_rvec_copy64(int64_t n, const double* x, double* y);
void VLR_GENERIC_CPU_rvec_copys(int32_t nz, const int32_t* sub, const double* x, double* y);
void VLR_GENERIC_CPU_rvec_copyso(int32_t first, int32_t last, const int32_t* sub, const double* x,
                                 double* y);
void VLR_GENERIC_CPU_rvec_mcopy(int32_t n, const double* x, double* y);
void VLR_GENERIC_CPU_rvec_mcopys(int32_t nz, const int32_t* sub, const double* x, double* y);
void VLR_GENERIC_CPU_rvec_mcopyso(int32_t first, int32_t last, const int32_t* sub, const double* x,
                                  double* y);

// ---- Inner products. doti: sum of x[k] y[sub[k]]; dots: sum of x[sub[k]] y[sub[k]]. ----------

double VLR_GENERIC_CPU_rvec_dot(int32_t n, const double* x, const double* y);
double VLR_GENERIC_CPU_rvec_doti(int32_t nz, const int32_t* sub, const double* x, const double* y);
double VLR_GENERIC_CPU_rvec_dotio(int32_t first, int32_t last, const int32_t* sub, const double* x,
                                  const double* y);
double VLR_GENERIC_CPU_rvec_dots(int32_t nz, const int32_t* sub, const double* x, const double* y);
double VLR_GENERIC_CPU_rvec_dotso(int32_t first, int32_t last, const int32_t* sub, const double* x,
                                  const double* y);

// ---- Set and clear. -------------------------------------------------------------------------

void VLR_GENERIC_CPU_rvec_fill(int32_t n, double a, double* x);
void VLR_GENERIC_CPU_rvec_fills(int32_t nz, const int32_t* sub, double a, double* x);
void VLR_GENERIC_CPU_rvec_zero(int32_t n, double* x);  // through memset
// Clears with a plain loop: cheaper than zero for the short vectors of inner loops.
void VLR_GENERIC_CPU_rvec_zerou(int32_t n, double* x);
void VLR_GENERIC_CPU_rvec_zeros(int32_t nz, const int32_t* sub, double* x);
// Clears x[sub[k]] and mark[sub[k]]; sub may hold duplicates.
void VLR_GENERIC_CPU_rvec_zerosm(int32_t nz, const int32_t* sub, double* x, int32_t* mark);
// True when every x[k] is zero (n = 0 included).
bool VLR_GENERIC_CPU_rvec_zerochk(int32_t n, const double* x);

// ---- Gather and scatter between a dense y and a packed x. -----------------------------------

void VLR_GENERIC_CPU_rvec_gthr(int32_t nz, const int32_t* sub, const double* y, double* x);
// Gathers and then clears y[sub[k]].
void VLR_GENERIC_CPU_rvec_gthrz(int32_t nz, const int32_t* sub, double* y, double* x);
void VLR_GENERIC_CPU_rvec_sctr(int32_t nz, const int32_t* sub, const double* x, double* y);

// ---- Extremes. An empty absmax is 0, an empty max -inf, an empty min or absmin +inf. --------

double VLR_GENERIC_CPU_rvec_absmax(int32_t n, const double* x);
// Position of the first largest |x[k]|; -1 when n = 0.
int32_t VLR_GENERIC_CPU_rvec_iabsmax(int32_t n, const double* x);
double VLR_GENERIC_CPU_rvec_absmin(int32_t n, const double* x);
double VLR_GENERIC_CPU_rvec_max(int32_t n, const double* x);
double VLR_GENERIC_CPU_rvec_maxs(int32_t nz, const int32_t* sub, const double* x);
double VLR_GENERIC_CPU_rvec_min(int32_t n, const double* x);
double VLR_GENERIC_CPU_rvec_mins(int32_t nz, const int32_t* sub, const double* x);

// ---- Norms and sums; sumos is the sum of squares. The s forms read x[sub[k]]. ---------------

double VLR_GENERIC_CPU_rvec_nrm1(int32_t n, const double* x);
double VLR_GENERIC_CPU_rvec_nrm1s(int32_t nz, const int32_t* sub, const double* x);
double VLR_GENERIC_CPU_rvec_nrm2(int32_t n, const double* x);
double VLR_GENERIC_CPU_rvec_nrm2s(int32_t nz, const int32_t* sub, const double* x);
double VLR_GENERIC_CPU_rvec_nrmi(int32_t n, const double* x);
double VLR_GENERIC_CPU_rvec_nrmis(int32_t nz, const int32_t* sub, const double* x);
double VLR_GENERIC_CPU_rvec_sum(int32_t n, const double* x);
double VLR_GENERIC_CPU_rvec_sums(int32_t nz, const int32_t* sub, const double* x);
double VLR_GENERIC_CPU_rvec_sumos(int32_t n, const double* x);
double VLR_GENERIC_CPU_rvec_sumoss(int32_t nz, const int32_t* sub, const double* x);
double VLR_GENERIC_CPU_rvec_sumosso(int32_t first, int32_t last, const int32_t* sub,
                                    const double* x);

// ---- x = a x. a = 1 does nothing, a = 0 clears. ---------------------------------------------

void VLR_GENERIC_CPU_rvec_scal(int32_t n, double a, double* x);
void VLR_GENERIC_CPU_rvec_scals(int32_t nz, const int32_t* sub, double a, double* x);

// Drops the listed positions with |x[j]| <= tol: clears x[j] (and mark[j] unless mark is null),
// and compacts sub in order, setting *nz to the entries kept.
void VLR_GENERIC_CPU_rvec_cleans(int32_t* nz, int32_t* sub, double tol, double* x, int32_t* mark);

// Largest step t <= a with x + t d >= 0 at every position (all of [0, n), or sub[0..n) when sub
// is not null); x >= 0 and a >= 0 are assumed. Internally the walk runs on the negated step.
double VLR_GENERIC_CPU_rvec_psteplen(int32_t n, const int32_t* sub, double a, const double* x,
                                     const double* d);
// Two such walks in one pass: *ax for (x, dx) and *az for (z, dz), both in-out.
void VLR_GENERIC_CPU_rvec_psteplen2(int32_t n, const int32_t* sub, const double* x,
                                    const double* dx, const double* z, const double* dz, double* ax,
                                    double* az);

void VLR_GENERIC_CPU_rvec_swap(int32_t n, double* x, double* y);
// x[k] = old x[perm[k]]; work has n entries.
void VLR_GENERIC_CPU_rvec_permute(int32_t n, const int32_t* perm, double* x, double* work);
// Stops with the position of the first NaN.
void VLR_GENERIC_CPU_rvec_checkdbg(SysEnv* sys, const char* file, int line, int32_t n,
                                   const double* x);

// ---- Aligned slices of one workspace ------------------------------------------------------

// Doubles in one alignment unit (16 bytes). Give each slice that much slack when sizing the
// workspace.
constexpr size_t VLR_GENERIC_CPU_rvec_numaligned() {
  return 2;
}
// Cuts the next slicesize doubles from work, starting at the first 16-byte boundary at or after
// work[*use], and advances *use past it. Stops when the slice does not fit.
std::span<double> VLR_GENERIC_CPU_rvec_cutaligneddbg(SysEnv* sys, const char* file, int line,
                                                     std::span<double> work, size_t* use,
                                                     size_t slicesize);
double* VLR_GENERIC_CPU_rvec_cutaligneddbg(SysEnv* sys, const char* file, int line, double* work,
                                           size_t size, size_t* use, size_t slicesize);
#define VLR_GENERIC_CPU_rvec_cutaligned(sys, ...) \
  ::vlr::VLR_GENERIC_CPU_rvec_cutaligneddbg(sys, VLR_HERE, __VA_ARGS__)

// ---- ivec: 32-bit integers ------------------------------------------------------------------

// A random permutation of 0..n-1 from the in-out seed; no clock is read, so runs repeat.
void VLR_ivec_rand(int32_t n, uint32_t* seed, int32_t* x);
void VLR_ivec_zero(int32_t n, int32_t* x);
void VLR_ivec_zeros(int32_t nz, const int32_t* sub, int32_t* x);
int32_t VLR_ivec_count(int32_t n, int32_t value, const int32_t* x);  // entries equal to value
void VLR_ivec_fill(int32_t n, int32_t a, int32_t* x);
void VLR_ivec_fills(int32_t nz, const int32_t* sub, int32_t a, int32_t* x);
void VLR_ivec_inc(int32_t n, int32_t a, int32_t* x);  // x[k] += a
void VLR_ivec_incs(int32_t nz, const int32_t* sub, int32_t a, int32_t* x);
int64_t VLR_ivec_sum(int32_t n, const int32_t* x);
void VLR_ivec_swap(int32_t n, int32_t* x, int32_t* y);
int32_t VLR_ivec_max(int32_t n, const int32_t* x);  // INT32_MIN when n = 0
int32_t VLR_ivec_min(int32_t n, const int32_t* x);  // INT32_MAX when n = 0
void VLR_ivec_copy(int32_t n, const int32_t* x, int32_t* y);
void VLR_ivec_copysafe(int32_t n, const int32_t* x, int32_t* y);  // x and y may overlap
void VLR_ivec_copy64(int64_t n, const int32_t* x, int32_t* y);
int32_t VLR_ivec_ipos(int32_t n, int32_t value, const int32_t* x);  // first match, or -1
void VLR_ivec_sort(int32_t n, int32_t* x);                          // ascending
bool VLR_ivec_zerochk(int32_t n, const int32_t* x);
// Counting sort of values in [0, nvals), ascending; count [nvals] must be zero and is left so.
void VLR_ivec_fsort(int32_t n, int32_t* x, int32_t nvals, int32_t* count);
// Moves x[n-1] to the front and the others one place right.
void VLR_ivec_rotateright(int32_t n, int32_t* x);
// x[k] = old x[perm[k]]; work has n entries.
void VLR_ivec_permute(int32_t n, const int32_t* perm, int32_t* x, int32_t* work);

// ---- ivec64: 64-bit integers ----------------------------------------------------------------

// A zeroed array of n from sys; null when out of space.
int64_t* VLR_ivec64_allocdbg(SysEnv* sys, const char* file, int line, int64_t n);
void VLR_ivec64_freedbg(SysEnv* sys, const char* file, int line, int64_t** x);  // nulls *x
void VLR_ivec64_copy(int64_t n, const int64_t* x, int64_t* y);
void VLR_ivec64_incs(int64_t nz, const int64_t* sub, int64_t a, int64_t* x);
void VLR_ivec64_zero(int64_t n, int64_t* x);
int64_t VLR_ivec64_max(int64_t n, const int64_t* x);  // INT64_MIN when n = 0
int64_t VLR_ivec64_sum(int64_t n, const int64_t* x);
void VLR_ivec64_swap(int64_t n, int64_t* x, int64_t* y);

// ---- bvec: byte flags -----------------------------------------------------------------------

// Writes the positions of the set flags to sub in increasing order; returns their count.
int32_t VLR_bvec_compress(int32_t n, const uint8_t* x, int32_t* sub);
void VLR_bvec_swap(int32_t n, uint8_t* x, uint8_t* y);
void VLR_bvec_fill(int32_t n, uint8_t a, uint8_t* x);
void VLR_bvec_zero(int32_t n, uint8_t* x);
// Clears only the listed flags: cleaning a marker array costs its use, not its length.
void VLR_bvec_zerof(int32_t nz, const int32_t* sub, uint8_t* x);

// ---- svec: 16-bit integers ------------------------------------------------------------------

int16_t* VLR_svec_allocdbg(SysEnv* sys, const char* file, int line, int64_t n);
void VLR_svec_freedbg(SysEnv* sys, const char* file, int line, int16_t** x);  // nulls *x
void VLR_svec_copy(int32_t n, const int16_t* x, int16_t* y);
void VLR_svec_fill(int32_t n, int16_t a, int16_t* x);
void VLR_svec_permute(int32_t n, const int32_t* perm, int16_t* x, int16_t* work);

}  // namespace vlr
