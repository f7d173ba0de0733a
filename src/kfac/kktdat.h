// src/kfac/kktdat.h: the record of the interior-point system solver, shared by kktfack1.cpp and
// symschur.cpp.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "kfac/kfac.h"

namespace vlr {

// The Schur part: the dense columns V and the rows whose pivots were lost (unit columns with
// the negated amount added), U = [V E], kept apart from the sparse factor F of A_s D_s A_s' + E:
// (F + U W U')^-1 = F^-1 - Z Q^-1 U' F^-1 with Z = F^-1 U and Q = W^-1 + U' Z.
struct KktSchur {
  int32_t kmax;   // room for columns of U
  int32_t k;      // columns in use: the dense ones first, then the lost rows
  int32_t* urow;  // [kmax] for a lost row its row number, -1 for a dense column
  double* w;      // [kmax] weight of each column (d of a dense column, -added of a row)
  double* z;      // [numrow x kmax] Z by columns, in the scaled numbering
  double* q;      // [kmax x kmax] LU of Q with partial pivoting, by columns
  int32_t* qpiv;  // [kmax] row exchanges of the LU
  double* t;      // [kmax] work of a solve
};

struct kktfac {
  SysEnv* sys;
  int32_t numrow, numcol, factype;
  int32_t ordtpe;    // VLR_ORDER_METHOD_ value
  int32_t densecol;  // threshold of a dense column; 0 none
  double tolpiv, tolrefine;
  void* cbhandle;
  OrderCallback callback;
  int32_t state;  // 0 made, 1 set up, 2 factored
  // A by columns, borrowed; each column's entries in row order in the copy csub, cval (the
  // values taken again at each factor).
  const int64_t* abeg;
  const int32_t* asub;
  const double* aval;
  int32_t* csub;  // [nnz(A)] rows of each column in ascending order
  int64_t* cidx;  // [nnz(A)] where that entry sits in asub / aval
  double* cval;   // [nnz(A)] its value
  // The sparse columns by rows: entry p of row i is column rcol[p] whose rows from rpos[p] on
  // (in the ordered copy) are at or below i.
  int64_t* rbeg;  // [numrow + 1]
  int32_t* rcol;
  int64_t* rpos;
  int32_t ndense;
  int32_t* dcol;   // [ndense] the dense columns
  int32_t* dmark;  // [numcol] 1 for a dense column
  bool resbym;     // residuals through the lower triangle and the dense columns, not through A
  // The lower triangle of A_s A_s' by columns (the diagonal first).
  int64_t* mbeg;  // [numrow + 1]
  int32_t* msub;
  double* mval;
  sfk* fac;
  double* scale;  // [numrow] 1 / sqrt of the diagonal of A D A' + regu I
  double* d;      // [numcol] the last D
  double regu;
  double* work;  // [numrow] scatter space of the values, zero between uses
  double* res;   // [numrow] residual of a refinement
  double* cor;   // [numrow] its correction
  double* rhs0;  // [numrow] the right-hand side as given
  KktSchur sc;
  KktInfo info;
  double ordtime;  // seconds in the orderings of the last set-up, for the log only
};

// The Schur part (symschur.cpp). VLR_sc_create sizes it for kmax columns; VLR_sc_calschur forms
// Z and the LU of Q after the sparse factor; VLR_sc_solve applies the correction to x, a solve
// with F already done, in the scaled numbering.
int32_t VLR_sc_create(kktfac* obj, int32_t kmax);
void VLR_sc_destroy(kktfac* obj);
void VLR_sc_calschur(kktfac* obj);
void VLR_sc_solve(kktfac* obj, double* x);

}  // namespace vlr
