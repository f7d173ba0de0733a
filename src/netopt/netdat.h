// src/netopt/netdat.h: the working state of the network simplex: arcs, the rooted spanning tree
// with its potentials, and the candidate queue of the pricing. Private to src/netopt.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "netopt/netopt.h"

namespace vlr {

template <class T>
using NetVec = std::vector<T, MemAllocator<T>>;

// Arc states. A tree arc and a non-basic arc that cannot move (equal bounds, an artificial arc
// after the first phase) both have state 0, so the pricing passes over them without a test.
enum NetArcState : int32_t {
  kArcUpper = -1,  // at its upper bound: may decrease
  kArcFixed = 0,   // in the tree, or never moves
  kArcLower = 1,   // at its lower bound: may increase
  kArcFree = 2,    // no bound: held where it is, may move either way
};

// One arc; the fields the pricing reads lie together. tail == head == root for a column without
// an entry in the network's rows (a loop: its own range decides its step).
struct NetArc {
  int32_t tail, head;
  int32_t state;  // a NetArcState
  int32_t var;    // the variable of the problem (row variables first); -1 for an artificial arc
  double cost;    // cost of the current phase
};

// How a loop of pivots ended.
enum NetLoopEnd : int32_t {
  kNetLoopOptimal = 0,
  kNetLoopUnbounded = 1,  // the entering arc's cycle has no bound: the ray in `rayarc`
  kNetLoopStopped = 2,    // a limit or the callback: info->response says which
};

struct NetRec {
  SysEnv* sys = nullptr;
  const NetParam* par = nullptr;
  const NetCallbacks* cb = nullptr;
  NetInfo* info = nullptr;
  double tolx = 1e-7, tols = 1e-7;

  int32_t nnode = 0;    // nodes of the network rows; the root is node nnode
  int32_t root = 0;     // == nnode
  int32_t narc = 0;     // all arcs: columns, then slacks, then one artificial per node
  int32_t nsearch = 0;  // arcs [0, nsearch) are priced; artificial arcs never come back
  int32_t artbeg = 0;   // first artificial arc; artificial arc of node v is artbeg + v

  NetVec<NetArc> arc;     // [narc]
  NetVec<double> lo, up;  // [narc] bounds; -inf / +inf where missing
  NetVec<double> flow;    // [narc]
  NetVec<double> cost;    // [narc] the problem's costs (0 for slacks and artificial arcs)

  // The tree, rooted at `root`: parent and the arc to it, children as a list from `son`
  // through `brother` (next) and `sister` (previous), depth from the root; -1 ends a list.
  NetVec<int32_t> parent, pred, son, brother, sister, depth;  // [nnode + 1]
  NetVec<double> pi;  // [nnode + 1] potentials: reduced cost of arc a is cost - pi[tail] + pi[head]

  // Pricing: a queue of attractive arcs kept between iterations, refilled by scanning blocks of
  // arcs from where the last scan stopped.
  NetVec<int32_t> cand;  // [qmax]
  int32_t ncand = 0, qmax = 10, block = 100, pos = 0;

  int32_t rayarc = -1, raydir = 0;  // the entering arc of an unbounded cycle, and its direction
  int64_t lastlog = 0;
  double lastlogtime = 0.0;
  double starttime = 0.0;  // wall clock at the start, for the log's TIME column

  explicit NetRec(SysEnv* s)
      : sys(s),
        arc(MemAllocator<NetArc>(s)),
        lo(MemAllocator<double>(s)),
        up(MemAllocator<double>(s)),
        flow(MemAllocator<double>(s)),
        cost(MemAllocator<double>(s)),
        parent(MemAllocator<int32_t>(s)),
        pred(MemAllocator<int32_t>(s)),
        son(MemAllocator<int32_t>(s)),
        brother(MemAllocator<int32_t>(s)),
        sister(MemAllocator<int32_t>(s)),
        depth(MemAllocator<int32_t>(s)),
        pi(MemAllocator<double>(s)),
        cand(MemAllocator<int32_t>(s)) {}
};

// Potentials of the whole tree from its arcs' costs, by a walk from the root.
void pnet_calcduals(NetRec* r);
// Pivots until no arc is attractive (phase: 0 big cost on artificial arcs, 1 their flow alone,
// 2 the problem's costs); returns a NetLoopEnd.
int32_t pnet_loop(NetRec* r, int32_t phase);
// The log line of the current iteration (forced, or when due).
void pnet_logline(NetRec* r, int32_t phase, bool force);
// The cost c'x of the arcs' flows with the problem's costs.
double pnet_primalobj(const NetRec& r);

}  // namespace vlr
