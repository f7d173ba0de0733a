// src/pivot/pivot.h: block-triangular ordering of a set of rows and columns; factor, repair and
// extend a basis given as a list of variables, for code outside the simplex.
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

// ---- Block-triangular ordering --------------------------------------------------------------

// A set of rows and columns of a column-wise matrix (only the pattern is read). Borrowed (must
// outlive the call).
struct BasordSet {
  int32_t norw;           // rows of the matrix
  const int64_t* beg;     // [ncol+1] start of column j; only the columns in cols are read
  const int32_t* idx;     // row indices in [0, norw)
  int32_t nrowc;          // rows in the set
  const int32_t* inew;    // [norw] position of row i in the set, or nrowc for a row outside it
  const int32_t* rowsta;  // [nrowc] 0 free, 1 paired by the caller, 2 already placed; null: 0
  int32_t csze;           // columns in the set, at most nrowc
  const int32_t* cols;    // [csze] matrix column of each column position
};

// An ordering in blocks; the arrays are the caller's. Rows and columns are named by their
// positions in the set. Block k holds rows rowperm[rbeg[k]..rbeg[k+1]) and columns
// colperm[cbeg[k]..cbeg[k+1]). The square blocks hold the pairs, row rowperm[rbeg[k]+t] with
// column colperm[cbeg[k]+t]. The unpaired rows form one block with no column and the unpaired
// columns one with no row; either is left out when empty.
struct BasordBlocks {
  int32_t* rowperm;  // [nrowc]
  int32_t* colperm;  // [csze]
  int32_t* rbeg;     // [nrowc+2]
  int32_t* cbeg;     // [nrowc+2]
  int32_t nblk;      // out: blocks
  int32_t rank;      // out: pairs, the structural rank of the set under the caller's pairs
};

// Orders a set in block-upper form: every entry lies in its row's diagonal block or right of it.
// Rows of status 1 keep the column rmatch[p] the caller gives, rows of status 0 get a maximum
// matching around them, rows of status 2 stay unpaired; rmatch [nrowc] returns each row's column,
// -1 when unpaired. The square blocks are the strongly connected parts of the graph of the
// pairs, so none can be split. The unpaired rows come first, the unpaired columns last.
// Ties: the searches start from the columns in increasing position and go through each column's
// entries in stored order; a block's pairs go by increasing column position, the unpaired rows
// and columns by increasing position. So a matrix already in block-upper form keeps its block
// order, and a triangular one its whole order. Stops on isize < 7 nrowc, on more columns than
// rows and on a row index outside the matrix or a position beyond nrowc.
void VLR_basord_blkupr(SysEnv* sys, const BasordSet* set, int32_t* rmatch, int32_t isize,
                       int32_t* iwork, BasordBlocks* blk);
// As blkupr, and writes the block of each row (rblk [nrowc]) and each column (cblk [csze]),
// for a caller that asks where a given row or column went.
void VLR_basord_blkupr2(SysEnv* sys, const BasordSet* set, int32_t* rmatch, int32_t isize,
                        int32_t* iwork, BasordBlocks* blk, int32_t* rblk, int32_t* cblk);
// As blkupr in block-lower form: every entry lies in its row's diagonal block or to the left of
// it. The unpaired columns come first and the unpaired rows last. The blocks are searched from
// the columns in decreasing position, so that here too a matrix already in the form keeps it.
void VLR_basord_blklwr(SysEnv* sys, const BasordSet* set, int32_t* rmatch, int32_t isize,
                       int32_t* iwork, BasordBlocks* blk);

// ---- Factor, repair and extend a basis ---------------------------------------------------------

// Factors the basis bas[0..m): an index i < m is the slack of row i (the column -e(i)), m + j
// is column j, and an index at or beyond m + n gives an empty column. The work area doubles on
// kLuWorkAreaFull or kLuTooManyGarCols. The work is that of VLR_lu_getfactorspace(m, m). Returns
// the LU status; a short rank is kLuOk with VLR_lu_getrank below m. A negative index stops.
int32_t VLR_pivlp_factor1(LuFactor* lu, const PivMat* a, const int32_t* bas, int32_t isize,
                          int32_t* iwork, int32_t rsize, double* rwork);
// As factor1 with A as plain column-wise arrays (beg [n+1], idx, val) and sys for the index
// stop. When isize or rsize is below what VLR_lu_getfactorspace(m, m) gives, the work for the
// call is taken from sys (kLuNoSpace if that fails), so iwork and rwork may be null. sys is
// borrowed and must not be null.
int32_t VLR_pivlp_factor2(SysEnv* sys, LuFactor* lu, int32_t m, int32_t n, const int64_t* beg,
                          const int32_t* idx, const double* val, const int32_t* bas, int32_t isize,
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
