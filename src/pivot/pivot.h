// src/pivot/pivot.h: factor, repair and extend a basis given as a list of variables, for code
// outside the simplex.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "lu/lu.h"

namespace vlr {

// Column-wise m x n matrix, borrowed (must outlive the call).
struct PivMat {
  int32_t m, n;
  const int64_t* beg;  // [n+1] start of column j
  const int32_t* idx;  // row indices
  const double* val;   // values
};

// Factors the basis bas[0..m): an index i < m is the slack of row i (the column -e(i)), m + j
// is column j, and an index at or beyond m + n gives an empty column. The work area doubles on
// kLuWorkAreaFull or kLuTooManyGarCols. The work is that of VLR_lu_getfactorspace(m, m). Returns
// the LU status; a short rank is kLuOk with VLR_lu_getrank below m. A negative index stops.
int32_t VLR_pivlp_factor1(LuFactor* lu, const PivMat* a, const int32_t* bas, int32_t isize,
                          int32_t* iwork, int32_t rsize, double* rwork);
// Repairs a rank-deficient factor of bas: each unpivoted position takes the slack of an
// unpivoted row, in bas as well. *nart is the number of slacks put in; map has m entries.
int32_t VLR_pivlp_insart(LuFactor* lu, int32_t m, int32_t* bas, int32_t* map, int32_t isize,
                         int32_t* iwork, int32_t* nart);
// Completes the nbas variables of list to a full non-singular basis bas[0..m) with slacks:
// those of list that are dependent on the others are replaced as well. Needs a factor object
// for m x m; returns the LU status.
int32_t VLR_pivlp_extendbasis(LuFactor* lu, const PivMat* a, int32_t nbas, const int32_t* list,
                              int32_t* bas, int32_t isize, int32_t* iwork, int32_t rsize,
                              double* rwork);

}  // namespace vlr
