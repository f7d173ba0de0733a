// src/netopt/pnet.cpp: the pivots of the primal network simplex: block pricing over a candidate
// queue, the ratio test on the cycle closed by the entering arc, and the update of flows, tree and
// potentials that touches only the cycle and the subtree cut off by the leaving arc.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>

#include "netopt/netdat.h"
#include "velor.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// Seconds at least between two log lines; the clock decides only whether a line is written.
constexpr double kNetLogSeconds = 1.0;

// How attractive an arc is: its reduced cost signed so that below zero it improves the cost (at
// lower as it is, at upper negated, free by its size); 0 for arcs that do not move.
inline double pnet_value(const NetArc& a, int32_t st, const double* pi) {
  const double d = a.cost - pi[a.tail] + pi[a.head];
  return st == kArcFree ? -std::fabs(d) : static_cast<double>(st) * d;
}

void pnet_log(NetRec* r, const char* format, ...) __attribute__((format(printf, 2, 3)));
void pnet_log(NetRec* r, const char* format, ...) {
  if (r->cb == nullptr || r->cb->log == nullptr) return;
  char line[256];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(line, sizeof line, format, ap);
  va_end(ap);
  r->cb->log(r->cb->handle, line);
}

// The entering arc, or -1 when none is attractive. The queue is refreshed first (its arcs'
// values changed with the potentials); while it is nearly as full as it was filled it gives the
// next arc without a scan. Otherwise blocks of arcs are scanned, wrapping round, each attractive
// arc taking a place in the queue or that of its worst; the scan stops at the end of the first
// block that leaves the queue non-empty, or after a whole turn.
int32_t pnet_partialprice(NetRec* r) {
  const NetArc* arcs = r->arc;
  const int8_t* state = r->state;
  const double* pi = r->pi;
  int32_t* cand = r->cand;
  double* cval = r->cval;  // the queued arcs' values, as of this call
  const double tol = -r->tols;
  int32_t keep = 0;
  for (int32_t q = 0; q < r->ncand; ++q) {
    const int32_t a = cand[q];
    const double v = pnet_value(arcs[a], state[a], pi);
    if (v < tol) cand[keep] = a, cval[keep++] = v;
  }
  int32_t nc = keep;
  if (keep < r->qmax - 1 || keep == 0) {
    const int32_t nsearch = r->nsearch, qmax = r->qmax;
    int32_t pos = r->pos;
    int32_t worst = -1;  // place of the worst queued arc once the queue is full
    double worstv = 0.0;
    // Stretches of arcs that neither wrap round nor cross the end of a block.
    int32_t inblock = 0;
    for (int32_t scanned = 0; scanned < nsearch;) {
      const int32_t len = std::min(std::min(r->block - inblock, nsearch - pos), nsearch - scanned);
      for (int32_t a = pos, end = pos + len; a < end; ++a) {
        const double v = pnet_value(arcs[a], state[a], pi);
        if (!(v < tol)) continue;
        if (nc < qmax) {
          cand[nc] = a;
          cval[nc++] = v;
          continue;
        }
        if (worst < 0) {
          worst = 0;
          for (int32_t q = 1; q < nc; ++q)
            if (cval[q] > cval[worst]) worst = q;
          worstv = cval[worst];
        }
        if (v < worstv) {
          cand[worst] = a;
          cval[worst] = v;
          worst = -1;
        }
      }
      pos += len;
      if (pos == nsearch) pos = 0;
      scanned += len;
      inblock += len;
      if (inblock == r->block) {
        inblock = 0;
        if (nc > 0) break;
      }
    }
    r->pos = pos;
  }
  if (nc == 0) {
    r->ncand = 0;
    return -1;
  }
  int32_t best = 0;
  for (int32_t q = 1; q < nc; ++q)
    if (cval[q] < cval[best]) best = q;
  const int32_t e = cand[best];
  cand[best] = cand[--nc];
  r->ncand = nc;
  return e;
}

inline void pnet_link(NetNode* nd, int32_t* th, int32_t x, int32_t y) {
  th[x] = y;
  nd[y].rthread = x;
}

// Adds sigma to the potentials of the subtree of top: a stretch of the thread.
void pnet_updateduals(const NetNode* nd, const int32_t* th, double* pi, int32_t top, double sigma) {
  int32_t x = top;
  for (int32_t k = nd[top].succ; k > 0; --k) {
    pi[x] += sigma;
    x = th[x];
  }
}

// Hangs the subtree T of uout from vin through arc e entering at uin (a node of T), where join
// is the join of the pivot's cycle. On the stem w0 = uin, w1, ..., wk = uout the parent links
// turn round. T's new preorder is S(w0), then for each i > 0 the part of S(wi) before S(wi-1)
// (wi and its earlier subtrees) and the part after it: stretches of the old thread, so the
// thread is spliced once per stem node; T then leaves its place for the first child's place
// under vin. Subtree sizes change on the stem and on the two paths up to the join only.
// eup: whether uin is the tail of e.
void pnet_updatebasis(NetNode* nd, int32_t* th, int32_t e, int32_t eup, int32_t uin, int32_t vin,
                      int32_t uout, int32_t join) {
  const int32_t tsize = nd[uout].succ;
  const int32_t oldlast = nd[uout].last;
  const int32_t before = nd[uout].rthread;
  const int32_t after = th[oldlast];
  const int32_t pout = nd[uout].parent;
  // T's new thread, piece by piece; `tail` is the end of what is laid so far.
  int32_t tail = nd[uin].last;
  int32_t prev = uin, prevrth = nd[uin].rthread, prevsucc = nd[uin].succ, prevlast = tail;
  int32_t prevafter = th[tail];  // the old thread after S(prev), read before any splice
  while (prev != uout) {
    const int32_t w = nd[prev].parent;
    const int32_t wrth = nd[w].rthread, wsucc = nd[w].succ, wlast = nd[w].last;
    const int32_t bbeg = prevafter;
    // After S(w): the same as after S(prev) when S(prev) ends S(w), else not yet spliced.
    const int32_t wafter = wlast == prevlast ? prevafter : th[wlast];
    pnet_link(nd, th, tail, w);
    tail = prevrth;  // the end of w and its subtrees before S(prev)
    if (wlast != prevlast) {
      pnet_link(nd, th, tail, bbeg);
      tail = wlast;
    }
    nd[w].succ = tsize - prevsucc;
    prev = w;
    prevrth = wrth;
    prevsucc = wsucc;
    prevlast = wlast;
    prevafter = wafter;
  }
  nd[uin].succ = tsize;
  const int32_t newlast = tail;
  // T out of its old place, and in after vin.
  pnet_link(nd, th, before, after);
  const int32_t vnext = th[vin];
  pnet_link(nd, th, vin, uin);
  pnet_link(nd, th, newlast, vnext);
  for (int32_t a = pout; a >= 0 && nd[a].last == oldlast; a = nd[a].parent)
    nd[a].last = before;
  for (int32_t a = vin; a >= 0 && nd[a].last == vin; a = nd[a].parent)
    nd[a].last = newlast;
  for (int32_t a = pout; a != join; a = nd[a].parent)
    nd[a].succ -= tsize;
  for (int32_t a = vin; a != join; a = nd[a].parent)
    nd[a].succ += tsize;
  // The stem turns round.
  // A stem node's new tree arc is its child's old one, seen from the other end.
  int32_t w = uin, newp = vin, newpred = e, newup = eup;
  for (;;) {
    const int32_t oldp = nd[w].parent;
    const int32_t oldpred = nd[w].pred;
    const int32_t oldup = nd[w].up;
    nd[w].parent = newp;
    nd[w].pred = newpred;
    nd[w].up = newup;
    nd[w].last = newlast;
    if (w == uout) break;
    newp = w;
    newpred = oldpred;
    newup = 1 - oldup;
    w = oldp;
  }
}

// One pivot on entering arc e. The flow is pushed along e from `first` to `second` and back
// through the tree. The leaving arc is the last blocking arc met walking the cycle in the flow's
// direction from the join, which keeps the tree strongly feasible (no cycling on degenerate
// pivots). Returns false when nothing bounds the step.
bool pnet_pivot(NetRec* r, int32_t e, int32_t dir, double* step) {
  NetArc* arcs = r->arc;
  int8_t* state = r->state;
  const double* lo = r->lo;
  const double* up = r->up;
  double* flow = r->flow;
  NetNode* nd = r->node;
  const int32_t first = dir > 0 ? arcs[e].tail : arcs[e].head;
  const int32_t second = dir > 0 ? arcs[e].head : arcs[e].tail;
  const double de = up[e] - lo[e];
  double m1 = kInf, m2 = kInf;
  int32_t u1 = -1, u2 = -1;
  int32_t u = first, v = second;
  // Up from the side with the smaller subtree, which cannot hold the other end.
  while (u != v) {
    if (nd[u].succ < nd[v].succ) {
      const int32_t a = nd[u].pred;
      const double res = nd[u].up != 0 ? flow[a] - lo[a] : up[a] - flow[a];
      if (res < m1) m1 = res, u1 = u;
      u = nd[u].parent;
    } else {
      const int32_t a = nd[v].pred;
      const double res = nd[v].up != 0 ? up[a] - flow[a] : flow[a] - lo[a];
      if (res <= m2) m2 = res, u2 = v;
      v = nd[v].parent;
    }
  }
  const int32_t join = u;
  double delta = de < m1 ? de : m1;
  if (m2 <= delta) delta = m2;
  if (delta == kInf) return false;
  int32_t side = 0;  // 0: e itself (a bound flip), 1 first side, 2 second side
  if (u2 >= 0 && m2 == delta)
    side = 2;
  else if (de != delta)
    side = 1;
  *step = delta;
  if (delta > 0.0) {
    flow[e] += dir * delta;
    for (int32_t w = first; w != join; w = nd[w].parent) {
      const int32_t a = nd[w].pred;
      flow[a] += nd[w].up != 0 ? -delta : delta;
    }
    for (int32_t w = second; w != join; w = nd[w].parent) {
      const int32_t a = nd[w].pred;
      flow[a] += nd[w].up != 0 ? delta : -delta;
    }
  }
  if (side == 0) {
    // The entering arc goes to its other bound; the tree stays.
    flow[e] = dir > 0 ? up[e] : lo[e];
    state[e] = static_cast<int8_t>(-state[e]);
    return true;
  }
  const int32_t uout = side == 1 ? u1 : u2;
  const int32_t aout = nd[uout].pred;
  // The leaving arc sits exactly on the bound it reached.
  const bool down = (side == 1) == (nd[uout].up != 0);
  flow[aout] = down ? lo[aout] : up[aout];
  state[aout] = lo[aout] == up[aout] ? kArcFixed : (down ? kArcLower : kArcUpper);
  const int32_t uin = side == 1 ? first : second;
  const int32_t vin = side == 1 ? second : first;
  double* pi = r->pi;
  const double d = arcs[e].cost - pi[arcs[e].tail] + pi[arcs[e].head];
  state[e] = kArcFixed;
  int32_t* th = r->thread;
  pnet_updatebasis(nd, th, e, arcs[e].tail == uin ? 1 : 0, uin, vin, uout, join);
  pnet_updateduals(nd, th, pi, uin, uin == arcs[e].tail ? d : -d);
  return true;
}

bool pnet_progress(NetRec* r) {
  if (r->cb == nullptr || r->cb->progress == nullptr) return false;
  return r->cb->progress(r->cb->handle, r->info->iter, pnet_primalobj(*r)) != 0;
}

}  // namespace

double pnet_primalobj(const NetRec& r) {
  double obj = 0.0;
  for (int32_t a = 0; a < r.artbeg; ++a)
    obj += net_cost(r, a) * r.flow[a];
  return obj;
}

void pnet_calcduals(NetRec* r) {
  NetNode* nd = r->node;
  const NetArc* arcs = r->arc;
  const int32_t root = r->root;
  double* pi = r->pi;
  pi[root] = 0.0;
  // Preorder: a parent's potential is known before its children's.
  const int32_t* th = r->thread;
  for (int32_t x = th[root]; x != root; x = th[x]) {
    const NetArc& a = arcs[nd[x].pred];
    const double pp = pi[nd[x].parent];
    // The tree arc's reduced cost is zero.
    pi[x] = a.tail == x ? a.cost + pp : pp - a.cost;
  }
  r->ncand = 0;
}

void pnet_logline(NetRec* r, int32_t phase, bool force) {
  if (r->par->loglevel <= 0) return;
  const int64_t it = r->info->iter;
  if (!force) {
    if (it - r->lastlog < r->par->logfreq) return;
    const double now = VLR_sysenv_getwctime(r->sys);
    if (now - r->lastlogtime < kNetLogSeconds) return;
  }
  r->lastlog = it;
  r->lastlogtime = VLR_sysenv_getwctime(r->sys);
  double inf = 0.0;
  for (int32_t v = 0; v < r->nnode; ++v)
    inf += r->flow[static_cast<size_t>(r->artbeg + v)];
  const double deg =
      it > 0 ? 100.0 * static_cast<double>(r->info->degiter) / static_cast<double>(it) : 0.0;
  pnet_log(r, "%-10lld %-6d %-10.2f %-14.6e %-22.12e %-8.2f\n", static_cast<long long>(it),
           phase == 2 ? 2 : 1, deg, inf, pnet_primalobj(*r), r->lastlogtime - r->starttime);
}

int32_t pnet_loop(NetRec* r, int32_t phase) {
  NetInfo* info = r->info;
  for (;;) {
    if (info->iter >= r->par->maxiter) {
      info->response = kNetMaxIter;
      return kNetLoopStopped;
    }
    const int32_t e = pnet_partialprice(r);
    if (e < 0) return kNetLoopOptimal;
    int32_t dir = r->state[static_cast<size_t>(e)];
    if (dir == kArcFree) {
      const NetArc& a = r->arc[static_cast<size_t>(e)];
      const double d =
          a.cost - r->pi[static_cast<size_t>(a.tail)] + r->pi[static_cast<size_t>(a.head)];
      dir = d < 0.0 ? 1 : -1;
    }
    double step = 0.0;
    if (!pnet_pivot(r, e, dir, &step)) {
      r->rayarc = e;
      r->raydir = dir;
      return kNetLoopUnbounded;
    }
    ++info->iter;
    if (step == 0.0) ++info->degiter;
    if (phase != 2) ++info->infiter;
    if (info->iter % kNetProgressEvery == 0 && pnet_progress(r)) {
      info->response = kNetInterrupted;
      return kNetLoopStopped;
    }
    if (r->par->debug > 0 && !pnet_debugtree(*r)) {
      info->response = kNetTreeBroken;
      return kNetLoopStopped;
    }
    pnet_logline(r, phase, false);
  }
}

bool pnet_debugtree(const NetRec& r) {
  const int32_t nn = r.nnode + 1, root = r.root;
  const NetNode* nd = r.node;
  const int32_t* th = r.thread;
  const MemAllocator<int32_t> al(r.sys);
  NetVec<int32_t> order(al), at(static_cast<size_t>(nn), -1, al);
  for (int32_t x = root, k = 0; k < nn; ++k, x = th[x]) {
    if (x < 0 || x >= nn || at[static_cast<size_t>(x)] >= 0) return false;
    if (nd[th[x]].rthread != x) return false;
    at[static_cast<size_t>(x)] = k;
    order.push_back(x);
  }
  if (th[order.back()] != root || nd[root].parent != -1) return false;
  NetVec<int32_t> size(static_cast<size_t>(nn), 1, al);
  for (int32_t k = nn - 1; k > 0; --k) {
    const int32_t x = order[static_cast<size_t>(k)], p = nd[x].parent;
    // A parent comes first in preorder, and the subtree is the stretch up to its last node.
    if (p < 0 || at[static_cast<size_t>(p)] >= k) return false;
    size[static_cast<size_t>(p)] += size[static_cast<size_t>(x)];
    const NetArc& a = r.arc[static_cast<size_t>(nd[x].pred)];
    if (!((a.tail == x && a.head == p) || (a.tail == p && a.head == x))) return false;
    if (nd[x].up != (a.tail == x ? 1 : 0)) return false;
    const double d = a.cost - r.pi[static_cast<size_t>(a.tail)] + r.pi[static_cast<size_t>(a.head)];
    if (std::fabs(d) > 1e-9 * (1.0 + std::fabs(a.cost))) return false;
  }
  for (int32_t k = 0; k < nn; ++k) {
    const int32_t x = order[static_cast<size_t>(k)];
    if (nd[x].succ != size[static_cast<size_t>(x)]) return false;
    if (at[static_cast<size_t>(nd[x].last)] != k + nd[x].succ - 1) return false;
  }
  return true;
}

}  // namespace vlr
