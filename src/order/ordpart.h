// src/order/ordpart.h: the nested dissection partition behind the free choice of ordering.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "order/order.h"

namespace vlr {

// Dissects g recursively into connected components and by VLR_ordpart_bisect until parts have
// at most minpart nodes. pri[i] becomes 0 for a part's node and, for a separator's, one more the
// shallower the separator. Returns kOrderOk or kOrderNoSpace.
int32_t VLR_ordpart_dissect(SysEnv* sys, const OrderGraph& g, int32_t minpart, double balance,
                            int32_t flat, int32_t* pri);

// Bisects the connected graph of t nodes (both triangles in xadj, adj) by a vertex separator:
// where[v] becomes 0 or 2 for the sides and 1 for the separator. The start is the lightest level
// with balance of the weight on each side (the most balanced level when none has), and the
// moves after it keep half of balance on each side; all 0 when no graph of the hierarchy has
// three levels. With flat set the graph is not coarsened: the start is found on it directly,
// which suits regular meshes better. Returns
// kOrderOk or kOrderNoSpace.
int32_t VLR_ordpart_bisect(SysEnv* sys, int32_t t, const int64_t* xadj, const int32_t* adj,
                           double balance, int32_t flat, int32_t* where);

}  // namespace vlr
