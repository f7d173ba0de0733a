// src/order/order.h: fill-reducing orderings of a symmetric graph, and the symbolic counts of
// the factor a permutation gives.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"

namespace vlr {

// Status numbers of the orderings.
enum OrderStatus : int32_t {
  kOrderOk = 0,
  kOrderNoSpace = 1,  // allocation failed; the permutation is not to be used
  kOrderStopped = 5,  // the callback asked for a stop
};

// Progress: called with (0, handle, 1.0) at the start; a non-zero result stops the run.
using OrderCallback = int32_t (*)(int32_t code, void* handle, double progress);

// The graph: node i's neighbours are adj[start[i] .. start[i] + len[i]). Each edge may be given
// once (either triangle) or twice; self loops and repeats are ignored. Borrowed for the call.
struct OrderGraph {
  int32_t n;
  const int32_t* len;    // [n]
  const int64_t* start;  // [n]
  const int32_t* adj;
};

// What an ordering reports: non-zeros of L with its diagonal, and the sum over the columns of
// L of their squared lengths (diagonal included).
struct OrderCount {
  int64_t lsize;
  double flops;
};

// Approximate minimum fill on the quotient graph: supervariables, element absorption,
// aggressive absorption, mass elimination, and nodes of very high degree set aside and ordered
// last. perm[k] is the node eliminated k-th. useweight: 1 divides a score by the square root of
// the weight plus one, 0 not, -1 lets the size of the graph decide. Returns kOrderOk,
// kOrderNoSpace or kOrderStopped.
int32_t VLR_amf_sorder(SysEnv* sys, const OrderGraph& g, int32_t useweight, int32_t* perm,
                       OrderCount* count, void* handle, OrderCallback callback);
// The same with a priority per node: a node is ordered only after every node of a smaller
// priority value (null: all equal).
int32_t VLR_amf_sorder_pri(SysEnv* sys, const OrderGraph& g, const int32_t* pri, int32_t useweight,
                           int32_t* perm, OrderCount* count, void* handle, OrderCallback callback);

// Minimum local fill on the same quotient graph, by order type: 0 the degree, 1 the square root
// of d (d - 1) - m (m - 1) with m the largest adjacent element, 2 that over the weight plus one.
// Nodes of a degree above five times the average plus five are numbered last.
int32_t VLR_symord_minlocf(SysEnv* sys, const OrderGraph& g, int32_t ordtype, int32_t* perm,
                           OrderCount* count, void* handle, OrderCallback callback);

// The choice between a kept ordering and a new one (mode 2 or 3): a previous permutation of
// size prev->lsize (prev null: none) is kept while a new run would not pay; otherwise a new
// approximate minimum fill ordering. perm is in-out (the previous permutation on entry when
// prev is given); invperm is filled. A new ordering is the best in fill of approximate minimum
// fill and two minimum local fill runs.
int32_t VLR_amf_gp_sorder(SysEnv* sys, double balance1, double balance2, const OrderGraph& g,
                          int32_t mode, const OrderCount* prev, int32_t* perm, int32_t* invperm,
                          OrderCount* count, void* handle, OrderCallback callback);

// Exact symbolic counts of the factor of P A P' (perm[k] the k-th node) from the elimination
// tree and the row subtrees. In the permuted order, parent gets the elimination tree (-1 at a
// root) and colcount each column's length, diagonal included; either may be null. Returns
// kOrderOk or kOrderNoSpace.
int32_t VLR_ordmat_symcount(SysEnv* sys, const OrderGraph& g, const int32_t* perm, int32_t* parent,
                            int32_t* colcount, OrderCount* count);

// 1 when perm[0..n) is a permutation of 0..n-1; iwork holds n integers.
int32_t VLR_perm_check(int32_t n, const int32_t* perm, int32_t* iwork);

}  // namespace vlr
