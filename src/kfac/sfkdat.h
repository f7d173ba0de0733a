// src/kfac/sfkdat.h: the factor object's record, shared by the files of src/kfac.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "kfac/kfac.h"

namespace vlr {

struct sfk {
  SysEnv* sys;
  int32_t n;
  int32_t numthreads;  // slices of the factor; they run in turn on the caller's thread
  int32_t state;       // 0 empty, 1 pattern, 2 ordered, 3 analysed, 4 values in, 5 factored
  // The matrix as given.
  int64_t* abeg;  // [n+1] column starts of the pattern
  int32_t* asub;  // [abeg[n]] rows
  int32_t* alen;  // [n] column lengths, for the orderings
  // The ordering.
  int32_t* perm;     // [n] row eliminated k-th
  int32_t* invperm;  // [n] step of row i
  OrderCount orinfo;
  int32_t haveorinfo;  // orinfo belongs to perm
  double ordtime;      // seconds, for the log only
  uint16_t* dtype;     // [n] pivot flags by the matrix's rows
  double tolpiv, tolpiveff, sqrttolpiv, adddiag, spread;
  double normrepl;  // replacement of a lost pivot of a normal-equations row; 0: its diagonal
  // Supernodes, in the elimination order.
  int32_t nsuper;
  int32_t* super;  // [nsuper+1] first column of each
  int32_t* snode;  // [n] supernode of a column
  int64_t* lpi;    // [nsuper+1] start of a supernode's rows in ls
  int32_t* ls;     // [lpi[nsuper]] rows, ascending; the first ones are its own columns
  int64_t* lpx;    // [nsuper+1] start of a supernode's values: nrow x ncol by columns
  double* lx;      // [lpx[nsuper]]
  int64_t* amap;   // [abeg[n]] where each entry of A goes in lx
  double* sdiag;   // [n] diagonal before the updates (the pivot rules' s)
  double* diag;    // [n] D
  int32_t nrdef;   // pivots replaced in the last factor
  // Work of the numerical factor and the solves, cut from one block.
  double* work;     // the kernels' packing space
  double* cbuf;     // [maxcsize] one descendant's update
  double* xbuf;     // [n] the solves' permuted vector
  int32_t* relpos;  // [n] row to position in the current supernode
  int32_t* head;    // [nsuper] descendants waiting for a supernode
  int32_t* next;    // [nsuper] link in those lists
  int32_t* dnext;   // [nsuper] position in a descendant's rows of its next target
  int64_t maxcsize;
  int64_t nnzl;  // entries of L's lower trapezoids, diagonal included
  double fflops;
};

// Frees the analysis and its work (the pattern and ordering stay).
void VLR_sfk_freeL(sfk* obj);

}  // namespace vlr
