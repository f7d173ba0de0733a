// src/netopt/netopt.h: the primal network simplex on a spanning tree, for the part of a linear
// problem in the simplex's form whose rows, each multiplied by +1 or -1, make its columns arcs.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"
#include "optimize/optimize.h"

namespace vlr {

// Internal responses of the network optimiser (the numbering of the pivoting optimisers).
enum NetResponse : int32_t {
  kNetOk = 0,
  kNetNoSpace = 1,
  kNetMaxIter = 4,
  kNetInterrupted = 7,
  kNetTreeBroken = 31,  // the check of the tree failed (only with NetParam::debug)
};

struct NetParam {
  int32_t loglevel = 1;
  int32_t logfreq = 50;  // iterations between log lines (and at least a second between them)
  int64_t maxiter = 10000000;
  double tolx = 1e-7;  // primal feasibility; capped at 1e-7
  double tols = 1e-7;  // dual feasibility; capped at 1e-7
  int32_t debug = 0;   // above 0: the whole tree is checked after every pivot (slow; for tests)
  // 1: sol->sk holds a basis on entry (VLR_SK_* keys of rows, then columns): its basic arcs start
  // the tree, and its non-basic variables start on the bounds their keys name.
  int32_t hotstart = 0;
  // 1: the dual form, for a part of a problem that the dual simplex goes on with: at the end the
  // columns outside the network go to the bound their reduced cost under the network's duals
  // asks for, and the basic values follow. 0: they stay where they started.
  int32_t dualform = 0;
};

// Text and progress of a run; both may be null.
struct NetCallbacks {
  void* handle = nullptr;
  void (*log)(void* handle, const char* text) = nullptr;
  // Called every kNetProgressEvery iterations; a non-zero result stops the run (response 7).
  int32_t (*progress)(void* handle, int64_t iterations, double obj) = nullptr;
};

constexpr int64_t kNetProgressEvery = 1000;

struct NetInfo {
  int32_t response = kNetOk;
  int32_t prosta = 0;  // VLR_PRO_STA_* of the network part
  int32_t solsta = 0;  // VLR_SOL_STA_* of the network part
  int64_t iter = 0;
  int64_t degiter = 0;  // pivots with a step of zero
  int64_t infiter = 0;  // pivots of the phases that price artificial arcs (big cost, then flow)
  int32_t numnode = 0, numarc = 0;
  int32_t numartificial = 0;  // artificial arcs left in the final tree, swapped for slacks
  double pobj = 0.0;          // c'x + cfix of the whole problem at the returned point
  double time = 0.0;
};

// Solves the network part of lp. Rows with rowsign[i] = +1 or -1 are its nodes; a column with
// colin[j] != 0 must have, in those rows, one entry of +-1, or two whose signs differ after the
// rows are multiplied by their signs; the caller guarantees it (VLR_simplex_detectnet). Other
// columns stay at a bound (lower, else upper, else 0; with a hot start the bound of their key)
// and rows with sign 0 are basic. sol (sized
// for lp) gets a basis of lp with its values, duals (0 on rows outside the part) and reduced costs;
// on a network infeasible or unbounded in itself, a Farkas vector in sol->y or a ray in sol->x as
// the statuses say. Returns info->response.
int32_t VLR_net_optimize(SysEnv* sys, const NetParam& par, const NetCallbacks& cb, const SimLp& lp,
                         const int32_t* rowsign, const uint8_t* colin, SimSol* sol, NetInfo* info);

}  // namespace vlr
