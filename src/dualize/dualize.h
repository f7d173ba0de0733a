// src/dualize/dualize.h: a linear problem in the simplex's form, its explicit dual, and the
// maps that bring the dual's basic solution back to the primal.
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

// What a SimSol holds, for the mapping between the forms.
enum DualizeSolKind : int32_t {
  kDualizeBasic = 0,      // a basic solution (optimal or not)
  kDualizePrimalRay = 1,  // the dual problem's primal ray (its dual infeasibility certificate)
  kDualizeDualRay = 2,    // the dual problem's Farkas vector (its primal infeasibility certificate)
};

struct DualizeRec;  // the maps of a formed dual; private to src/dualize

// Sizes of the dual that VLR_dualize_formdual would make. keep non-zero keeps every variable
// (no folding of singleton columns). startstatus is the start status of the caller (0 for a
// start from scratch). Returns m' (rows of the dual), n' (its columns), its non-zeros, the count
// of free primal columns and of fixed primal columns. Needs no memory. The dual's shape depends
// on the bound keys, the pattern and the signs of singleton entries only; startstatus does not
// change it. Rows: one per column that is neither fixed nor a folded singleton (keep: one per
// column). Columns: one per row of key LO, UP or FX (free rows: none, kept: one), two per ranged
// row, one more per ranged column that keeps a row. A singleton column of key LO or UP folds into
// the bound of its row's dual variable when it bounds it from the side the row does (from below
// for rows LO and FX, from above for UP).
void VLR_dualize_getdualsize(const SimLp& lp, int32_t keep, int32_t startstatus, int32_t* mdual,
                             int32_t* ndual, int64_t* nzdual, int32_t* numfree, int32_t* numfixed);

// Makes the dual problem. *dual receives a SimLp whose arrays are owned by *rec (valid until
// VLR_dualize_delete); minimising it solves the primal. Returns 0, or 1 when memory ran out
// (then *rec is null and nothing is left allocated).
int32_t VLR_dualize_formdual(SysEnv* sys, const SimLp& lp, int32_t keep, DualizeRec** rec,
                             SimLp* dual);

// Start values for the dual from a primal solution with status keys: fills dualsol (sized for
// the dual) with status keys that form a basis of the dual when the primal keys form one, and,
// where given, values (from primalsol's y), row duals and reduced costs (from its x). A primal
// basis with a basic fixed column, or with two basic members among a row and the singletons
// folded into it, has no complementary dual basis: the count is then made up with dual row
// variables, and the factor's repair handles any rank it lacks. Returns 0, or 1 when memory ran
// out.
int32_t VLR_dualize_getdual(DualizeRec* rec, const SimLp& lp, const SimSol& primalsol,
                            SimSol* dualsol);

// The primal solution from the dual's: for kind kDualizeBasic a basic solution of the primal
// (m basic keys) with values, duals and reduced costs; for kDualizePrimalRay the primal's
// Farkas vector (y, d; status keys untouched); for kDualizeDualRay the primal's ray (x).
// Returns 0, or 1 when memory ran out.
int32_t VLR_dualize_getprimal(DualizeRec* rec, const SimLp& lp, int32_t kind, const SimSol& dualsol,
                              SimSol* primalsol);

// Frees the record and the dual's arrays; null accepted; nulls the pointer.
void VLR_dualize_delete(DualizeRec** rec);

}  // namespace vlr
