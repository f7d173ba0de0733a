// src/basic/purifdat.h: the work record of basis identification, private to src/basic: the
// problem scaled by powers of two with a row-wise copy of A, the basis with its LU, and the
// values, duals and reduced costs as the pushes move them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "basic/basic.h"
#include "lu/lu.h"

namespace vlr {

template <class T>
using PrfVec = std::vector<T, MemAllocator<T>>;

constexpr double kPrfInf = std::numeric_limits<double>::infinity();
// A ratio test takes no pivot below this part of the largest entry of its column or row.
constexpr double kPrfRelPiv = 1e-7;
// Values of the sparse solves at or below this are dropped.
constexpr double kPrfDropTol = 1e-14;
// Smallest pivot of the factors (on the scaled problem).
constexpr double kPrfAbsPiv = 1e-7;
// Smallest pivot of the crash basis's factor (on the scaled problem, whose entries are near 1).
constexpr double kPrfCrashPiv = 0.03;
// Pushes between two asks of the stop callback.
constexpr int64_t kPrfStopEvery = 32;

struct Prf {
  explicit Prf(SysEnv* s);
  ~Prf();
  Prf(const Prf&) = delete;
  Prf& operator=(const Prf&) = delete;

  SysEnv* sys;
  const PrfParam* par = nullptr;
  const PrfCallbacks* cb = nullptr;
  int32_t m = 0, n = 0, nt = 0;
  // The scaled problem: column j of A is cbeg/cidx/cval, row i is rbeg/ridx (column)/rval.
  PrfVec<int64_t> cbeg, rbeg;
  PrfVec<int32_t> cidx, ridx;
  PrfVec<double> cval, rval;
  PrfVec<double> rs, cs;  // row and column factors: A' = diag(rs) A diag(cs)
  PrfVec<double> lo, up;  // [nt] sides, +-inf where the key has none
  PrfVec<double> cost;    // [nt] 0 for row variables
  // The basis: bas[p] is the variable at position p, pos[k] its position or -1.
  PrfVec<int32_t> bas, pos;
  PrfVec<double> x, y, d;  // [nt], [m], [nt]
  // The factor and its work.
  LuFactor* lu = nullptr;
  PrfVec<int32_t> iwork, marker, pattern;
  PrfVec<double> rwork, spike;
  PrfVec<double> w1, w2, w3;  // dense work of m (two) and nt (w3)
  PrfVec<int32_t> list;       // work of nt
  PrfVec<int32_t> map;        // [m] the positions a repaired factor gave to slacks
  PrfVec<double> sin, sw;     // [m] sparse solves: their input and their result, zero between
  PrfVec<int32_t> ipattern, opattern;
  int64_t sinceupd = 0;  // updates since the last factor
  int64_t stuck = 0;     // dual pushes that could neither finish nor exchange
  bool stopped = false;  // the stop callback asked the run to end
  int64_t wsze = 0;      // the least work area of the factor, doubled when updates run out
};

// Bound of variable k taken as value: true when x(k) lies within tol (relative) of one side;
// *side gets -1 lower, +1 upper, 0 free.
bool prf_atbound(const Prf& w, int32_t k, double tol, int32_t* side);
// Factors the basis bas; on a short rank the unpivoted positions take slacks. Returns false
// when the factor fails for want of space.
bool prf_factor(Prf* w, int32_t* nart);
// Replaces the variable at position p by k, updating the factor (or factoring again).
bool prf_exchange(Prf* w, int32_t p, int32_t k);
// x of the basic variables from the non-basic ones: B x_B = - N x_N.
void prf_formxb(Prf* w);
// y from the costs of the basic variables, and every reduced cost.
void prf_formyb(Prf* w);
// out (column space, positions) = B^-1 col(k).
void prf_ftrancol(Prf* w, int32_t k, double* out);
// The same by the sparse solve: out zero on entry, its pattern in pat; returns the count.
int32_t prf_ftrancols(Prf* w, int32_t k, double* out, int32_t* pat);
// out (row space) = B^-T e(p) by the sparse solve: out zero on entry; returns the count.
int32_t prf_btranrow(Prf* w, int32_t p, double* out, int32_t* pat);
// Adds s col(k) to the row-space vector v.
void prf_addcol(const Prf& w, int32_t k, double s, double* v);
// col(k)' v for a row-space v.
double prf_dotcol(const Prf& w, int32_t k, const double* v);
void prf_log(const Prf& w, const char* format, ...) __attribute__((format(printf, 2, 3)));
// Asks the stop callback (once stopped, always stopped); code is the callback's event.
bool prf_stop(Prf* w, int32_t code);

// The pushes: primal (superbasic variables onto a bound or into the basis) and dual (reduced
// costs of basic variables to zero, or out of the basis). Each returns false when out of space,
// and ends early with w->stopped set when the stop callback asks.
bool VLR_prf_primallp(Prf* w, PrfInfo* info);
bool VLR_prf_duallp(Prf* w, PrfInfo* info);
// Measures of the basic solution: bound violations of x (count, largest, sum, relative to the
// bound) and sign errors of d.
void VLR_prf_priinflp(const Prf& w, int32_t* num, double* maxv, double* sumv);
double VLR_prf_duainflp(const Prf& w);
// The basic solution of the record, unscaled, into bas.
void prf_writebasis(const Prf& w, SimSol* bas);
// The checks; when they fail, the clean-up by the simplex on lp from the basis. Fills bas and
// the statuses of info; returns info->resp.
int32_t VLR_prf_clean(Prf* w, const SimLp& lp, SimSol* bas, PrfInfo* info);

}  // namespace vlr
