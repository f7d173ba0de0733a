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

// One arc, as the pricing reads it: 16 bytes, scanned in order. tail == head == root for a
// column without an entry in the network's rows (a loop: its own range decides its step).
struct NetArc {
  double cost;  // cost of the current phase
  int32_t tail, head;
};

// One node of the tree: the links a pivot reads or writes of a node lie in one record. The
// potentials lie apart, densely, for the pricing's random reads. The thread runs through all nodes
// in preorder (round from the root), so that the subtree of x is the stretch of the thread from x
// to last, of succ nodes.
struct NetNode {
  int32_t parent, pred;  // parent node and the arc to it; -1 at the root
  int32_t rthread;       // previous node in preorder (the next is in NetRec::thread)
  int32_t succ;          // nodes in the subtree, itself included
  int32_t last;          // last node of the subtree in preorder
  int32_t up;            // 1 when the node is the tail of its tree arc (it points to the parent)
};

// How a loop of pivots ended.
enum NetLoopEnd : int32_t {
  kNetLoopOptimal = 0,
  kNetLoopUnbounded = 1,  // the entering arc's cycle has no bound: the ray in `rayarc`
  kNetLoopStopped = 2,    // a limit or the callback: info->response says which
};

constexpr int32_t kNetArrays = 11;

// The working arrays of a run, asked for once the sizes are known and not cleared: setup writes
// every entry that is read.
struct NetRec {
  SysEnv* sys = nullptr;
  const NetParam* par = nullptr;
  const NetCallbacks* cb = nullptr;
  NetInfo* info = nullptr;
  const SimLp* lp = nullptr;  // the problem: its costs stand for the arcs' own
  double tolx = 1e-7, tols = 1e-7;

  int32_t nnode = 0;    // nodes of the network rows; the root is node nnode
  int32_t root = 0;     // == nnode
  int32_t narc = 0;     // all arcs: columns, then slacks, then one artificial per node
  int32_t nsearch = 0;  // arcs [0, nsearch) are priced; artificial arcs never come back
  int32_t artbeg = 0;   // first artificial arc; artificial arc of node v is artbeg + v

  void* mem[kNetArrays] = {};  // owns every array below
  NetArc* arc = nullptr;       // [narc]
  int8_t* state = nullptr;     // [narc] a NetArcState
  int32_t* var = nullptr;      // [narc] the problem's variable (row variables first); -1 artificial
  double* lo = nullptr;        // [narc] bounds; -inf / +inf where missing
  double* up = nullptr;        // [narc]
  double* flow = nullptr;      // [narc]
  NetNode* node = nullptr;     // [nnode + 1] the tree, rooted at `root`
  int32_t* thread = nullptr;   // [nnode + 1] next node in preorder, apart for the walks along it
  double* pi = nullptr;  // [nnode + 1] potentials: reduced cost of a is cost - pi[tail] + pi[head]

  // Pricing: a queue of attractive arcs kept between iterations, refilled by scanning blocks of
  // arcs from where the last scan stopped.
  int32_t* cand = nullptr;  // [qmax]
  double* cval = nullptr;   // [qmax] their values while the pricing runs
  int32_t ncand = 0, qmax = 10, block = 100, pos = 0;

  int32_t rayarc = -1, raydir = 0;  // the entering arc of an unbounded cycle, and its direction
  int64_t lastlog = 0;
  double lastlogtime = 0.0;
  double starttime = 0.0;  // wall clock at the start, for the log's TIME column

  explicit NetRec(SysEnv* s) : sys(s) {}
  NetRec(const NetRec&) = delete;
  NetRec& operator=(const NetRec&) = delete;
  ~NetRec() {
    for (void* p : mem)
      if (p != nullptr) VLR_sysenv_freedbg(sys, VLR_HERE, p);
  }
};

// The arrays of r for narc arcs, nnode + 1 nodes and a queue of qmax; false when the space
// cannot be had (what was had is freed with r).
bool net_alloc(NetRec* r, int32_t narc, int32_t nnode, int32_t qmax);
// The problem's cost of arc a: 0 for slacks and artificial arcs.
inline double net_cost(const NetRec& r, int32_t a) {
  const int32_t k = r.var[a] - r.lp->m;
  return k >= 0 ? r.lp->c[k] : 0.0;
}

// Potentials of the whole tree from its arcs' costs, by a walk from the root.
void pnet_calcduals(NetRec* r);
// Pivots until no arc is attractive (phase: 0 big cost on artificial arcs, 1 their flow alone,
// 2 the problem's costs); returns a NetLoopEnd.
int32_t pnet_loop(NetRec* r, int32_t phase);
// Whether the tree is whole: the thread a preorder of all nodes with its inverse, sizes and last
// successors that match the parent links, tree arcs that join a node to its parent with a reduced
// cost of zero. O(nodes); for tests.
bool pnet_debugtree(const NetRec& r);
// The log line of the current iteration (forced, or when due).
void pnet_logline(NetRec* r, int32_t phase, bool force);
// The cost c'x of the arcs' flows with the problem's costs.
double pnet_primalobj(const NetRec& r);

}  // namespace vlr
