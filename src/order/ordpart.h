// src/order/ordpart.h: the nested dissection partition behind the free choice of ordering.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "order/order.h"

namespace vlr {

// Dissects g recursively until parts have at most minpart nodes, each separator a level of a
// breadth-first search from a pseudo-peripheral node leaving at least balance of the nodes on
// each side. pri[i] becomes 0 for a part's node and, for a separator's, one more the shallower
// the separator. Returns kOrderOk or kOrderNoSpace.
int32_t VLR_ordpart_dissect(SysEnv* sys, const OrderGraph& g, int32_t minpart, double balance,
                            int32_t* pri);

}  // namespace vlr
