// src/optimize/optimize.h: what every continuous optimiser shares below it: the linear problem
// in the simplex's form with its solution, the tests that decide what a solution proves, and the
// choice of road for an optimise.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"

namespace vlr {

// A linear problem in the form the pivoting optimisers work on:
//
//   minimise   c'x + cfix   subject to   A x - xc = 0,   bl <= (xc, x) <= bu,
//
// with one row variable xc(i) per constraint. Variable k < m is the row variable of row k (its
// column in [-I A] is -e(k)); variable m + j is column j. Bounds and keys are indexed the same
// way, rows first. Keys: VLR_BK_LO 0 (bl only), VLR_BK_UP 1 (bu only), VLR_BK_FX 2, VLR_BK_FR 3,
// VLR_BK_RA 4. A side that the key does not use is ignored (it may hold any value, also inf).
// All arrays are borrowed.
struct SimLp {
  int32_t m = 0;                  // rows
  int32_t n = 0;                  // columns
  const int64_t* abeg = nullptr;  // [n + 1] start of column j in aidx / aval
  const int32_t* aidx = nullptr;  // row indices, no duplicates within a column
  const double* aval = nullptr;   // values
  const double* c = nullptr;      // [n] cost of the columns (row variables cost nothing)
  double cfix = 0.0;              // constant term of the objective
  const int32_t* bk = nullptr;    // [m + n] bound keys
  const double* bl = nullptr;     // [m + n] lower bounds
  const double* bu = nullptr;     // [m + n] upper bounds
};

// A solution of a SimLp, indexed as the variables. The reduced cost of variable k is
// d(k) = cost(k) - col(k)' y, so d(i) = y(i) for a row variable and d(m + j) = c(j) - a(j)' y.
// At an optimal basis: d = 0 on basic variables, d >= 0 at a lower bound, d <= 0 at an upper.
// A certificate of primal infeasibility is held in y and d with cost taken as 0 (so
// d(m + j) = -a(j)' y) and sum over k of bl(k) max(d(k), 0) - bu(k) max(-d(k), 0) > 0.
// A certificate of dual infeasibility (a ray) is held in x: A x - xc = 0 within the recession
// cone of the bounds and c'x < 0.
struct SimSol {
  int32_t* sk = nullptr;  // [m + n] status keys, the task's VLR_SK_* values
  double* x = nullptr;    // [m + n] values: xc, then x
  double* y = nullptr;    // [m] row duals
  double* d = nullptr;    // [m + n] reduced costs
};

// Sides of variable k (rows first) by its key: -inf or +inf where the key has no side.
double VLR_opt_lower(const SimLp& lp, int32_t k);
double VLR_opt_upper(const SimLp& lp, int32_t k);

// Violations of a solution on the problem as given: the largest bound and row violation
// (*pviol), the largest sign error of the reduced costs recomputed from y against the keys
// (*dviol), and both objectives. Fills sol->d. False, with infinite violations, when out of space.
bool VLR_opt_checksolution(SysEnv* sys, const SimLp& lp, SimSol* sol, double* pviol, double* dviol,
                           double* pobj, double* dobj);
// The Farkas test of a primal infeasibility certificate held in sol->y (sets sol->d).
bool VLR_opt_checkfarkas(const SimLp& lp, SimSol* sol);
// The test of a primal ray held in sol.x: a certificate of dual infeasibility. False when out of
// space.
bool VLR_opt_checkray(SysEnv* sys, const SimLp& lp, const SimSol& sol);

// The roads of an optimise.
enum OptRoad : int32_t {
  kOptRoadSimplex = 0,       // the simplex framework, with the slot of the choice
  kOptRoadMixedInteger = 1,  // the mixed-integer library
  kOptRoadConcurrent = 2,    // the race of optimisers
  kOptRoadInvalid = 3,       // no optimiser for this choice and problem: VLR_RES_ERR_INV_OPTIMIZER
  kOptRoadMixedProblem = 4,  // cones with quadratic terms: VLR_RES_ERR_MIXED_PROBLEM
};

// What the choice of road depends on, read once from the task by the optimise entry.
struct OptChoice {
  int32_t optimizer = 0;  // VLR_IPAR_OPTIMIZER
  int32_t probtype = 0;   // VLR_PROBTYPE_*
  int32_t numintvar = 0;
  int32_t numcone = 0;
  int32_t miomode = 0;     // VLR_IPAR_MIO_MODE
  int32_t qoseparate = 0;  // VLR_IPAR_QO_SEPARABLE_REFORMULATION
};

// The road for a choice: a pure function of the record, so that it is decided in one place.
int32_t VLR_opt_chooseroad(const OptChoice& choice);

}  // namespace vlr
