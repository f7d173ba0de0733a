// src/optimize/optdat.h: the prepared standard form of the interior-point pipeline, shared by
// optdat.cpp and optslv.cpp.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "optimize/optimize.h"

namespace vlr {

// The standard form of a SimLp: minimise cx'x + cfix, A x = b, x >= 0, x(k) <= ub(k - nblo)
// for k >= nblo. Every variable of the SimLp (rows first) stands as shift(k) + sum of sgn times
// its standard columns: a free one as the difference of two, a fixed one as its value alone.
// Free rows are dropped.
struct odat {
  int32_t isdual = 0, isscaled = 0;
  int32_t nrow = 0, ncol = 0;
  int32_t kind = 1;
  int32_t nblo = 0, nbup = 0, nfree = 0;  // lower-only columns; upper-bounded ones; free ones
  double cfix = 0.0;
  double* cx = nullptr;     // [ncol]
  double* b = nullptr;      // [nrow]
  double* ub = nullptr;     // [nbup]
  int64_t* abeg = nullptr;  // [ncol + 1]
  int32_t* asub = nullptr;
  double* aval = nullptr;
  int32_t* idx = nullptr;   // [ncol] the SimLp variable of a standard column
  double* sgn = nullptr;    // [ncol] +1 or -1
  double* shift = nullptr;  // [m + n] the part of each SimLp variable outside its columns
  int32_t* rinv = nullptr;  // [m] standard row of a SimLp row, -1 for a free one
  double* rs = nullptr;     // [nrow] row factors of the scaling (1 when unscaled)
  double* cs = nullptr;     // [ncol] column factors
  double objscale = 1.0;    // the objective's factor
};

// Builds the standard form of lp. False when out of space (d left empty).
bool VLR_opt_prepare(SysEnv* sys, const SimLp& lp, odat* d);
// Geometric scaling of rows and columns, and the objective's scale, applied to d in place.
void VLR_opt_scale(SysEnv* sys, odat* d, int32_t scalemode);
void VLR_opt_deldat(SysEnv* sys, odat* d);
// A solution, certificate or ray of the scaled standard form back on lp, into sol (values,
// duals, reduced costs and keys; sol->d is filled from y).
void VLR_opt_reverse(const SimLp& lp, const odat& d, const HomSol& hs, int32_t solsta, SimSol* sol);
// Status keys of an interior point from its values and reduced costs: a variable is at a bound
// when its distance to it is below its dual's size.
void VLR_opt_interiorkeys(const SimLp& lp, SimSol* sol);

}  // namespace vlr
