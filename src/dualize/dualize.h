// src/dualize/dualize.h: the explicit dual of a linear problem in the simplex's form, and the
// maps that bring the dual's basic solution back to the primal.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"
#include "optimize/optimize.h"

namespace vlr {

// What a SimSol holds, for the mapping between the forms.
enum DualizeSolKind : int32_t {
  kDualizeBasic = 0,      // a basic solution (optimal or not)
  kDualizePrimalRay = 1,  // the dual problem's primal ray (its dual infeasibility certificate)
  kDualizeDualRay = 2,    // the dual problem's Farkas vector (its primal infeasibility certificate)
  kDualizeInterior = 3,   // an interior solution: values and duals, no status keys
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
// Farkas vector (y, d; status keys untouched); for kDualizeDualRay the primal's ray (x); for
// kDualizeInterior the primal's values, duals and reduced costs from the dual's values and duals
// alone (status keys untouched).
// Returns 0, or 1 when memory ran out.
int32_t VLR_dualize_getprimal(DualizeRec* rec, const SimLp& lp, int32_t kind, const SimSol& dualsol,
                              SimSol* primalsol);

// Frees the record and the dual's arrays; null accepted; nulls the pointer.
void VLR_dualize_delete(DualizeRec** rec);

}  // namespace vlr
