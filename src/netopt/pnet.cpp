// src/netopt/pnet.cpp: the pivots of the primal network simplex: block pricing over a candidate
// queue, the ratio test on the cycle closed by the entering arc, and the update of flows, tree and
// potentials that touches only the cycle and the subtree cut off by the leaving arc.
// SPDX-License-Identifier: Apache-2.0
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

// How attractive arc a is: its reduced cost signed so that below zero it improves the cost
// (at lower as it is, at upper negated, free by its size); 0 for arcs that do not move.
inline double pnet_value(const NetArc& a, const double* pi) {
  const double d = a.cost - pi[a.tail] + pi[a.head];
  return a.state == kArcFree ? -std::fabs(d) : static_cast<double>(a.state) * d;
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
  const NetArc* arcs = r->arc.data();
  const double* pi = r->pi.data();
  int32_t* cand = r->cand.data();
  const double tol = -r->tols;
  int32_t keep = 0;
  for (int32_t q = 0; q < r->ncand; ++q) {
    const int32_t a = cand[q];
    if (pnet_value(arcs[a], pi) < tol) cand[keep++] = a;
  }
  r->ncand = keep;
  if (keep < r->qmax - 1 || keep == 0) {
    const int32_t nsearch = r->nsearch;
    int32_t pos = r->pos;
    int32_t worst = -1;  // place of the worst queued arc once the queue is full
    double worstv = 0.0;
    int32_t inblock = 0;
    for (int32_t scanned = 0; scanned < nsearch; ++scanned) {
      const double v = pnet_value(arcs[pos], pi);
      if (v < tol) {
        if (r->ncand < r->qmax) {
          cand[r->ncand++] = pos;
          worst = -1;
        } else {
          if (worst < 0) {
            worst = 0;
            worstv = pnet_value(arcs[cand[0]], pi);
            for (int32_t q = 1; q < r->ncand; ++q) {
              const double w = pnet_value(arcs[cand[q]], pi);
              if (w > worstv) worstv = w, worst = q;
            }
          }
          if (v < worstv) {
            cand[worst] = pos;
            worst = -1;
          }
        }
      }
      if (++pos == nsearch) pos = 0;
      if (++inblock == r->block) {
        inblock = 0;
        if (r->ncand > 0) break;
      }
    }
    r->pos = pos;
  }
  if (r->ncand == 0) return -1;
  int32_t best = 0;
  double bestv = pnet_value(arcs[cand[0]], pi);
  for (int32_t q = 1; q < r->ncand; ++q) {
    const double v = pnet_value(arcs[cand[q]], pi);
    if (v < bestv) bestv = v, best = q;
  }
  const int32_t e = cand[best];
  cand[best] = cand[--r->ncand];
  return e;
}

inline void pnet_detach(NetRec* r, int32_t w) {
  int32_t* son = r->son.data();
  int32_t* brother = r->brother.data();
  int32_t* sister = r->sister.data();
  const int32_t b = brother[w], s = sister[w];
  if (s >= 0)
    brother[s] = b;
  else
    son[r->parent[static_cast<size_t>(w)]] = b;
  if (b >= 0) sister[b] = s;
}

inline void pnet_attach(NetRec* r, int32_t w, int32_t p) {
  int32_t* son = r->son.data();
  const int32_t first = son[p];
  r->brother[static_cast<size_t>(w)] = first;
  r->sister[static_cast<size_t>(w)] = -1;
  if (first >= 0) r->sister[static_cast<size_t>(first)] = w;
  son[p] = w;
  r->parent[static_cast<size_t>(w)] = p;
}

// Adds sigma to the potentials of the subtree of top and sets its depths, in preorder through
// the child lists.
void pnet_updateduals(NetRec* r, int32_t top, double sigma) {
  const int32_t* son = r->son.data();
  const int32_t* brother = r->brother.data();
  const int32_t* parent = r->parent.data();
  int32_t* depth = r->depth.data();
  double* pi = r->pi.data();
  pi[top] += sigma;
  depth[top] = depth[parent[top]] + 1;
  int32_t x = son[top];
  while (x >= 0) {
    pi[x] += sigma;
    depth[x] = depth[parent[x]] + 1;
    if (son[x] >= 0) {
      x = son[x];
      continue;
    }
    while (x != top && brother[x] < 0)
      x = parent[x];
    if (x == top) break;
    x = brother[x];
  }
}

// Hangs the subtree of uout from vin through arc e entering at uin (a node of that subtree):
// the parent links on the stem from uin up to uout turn round.
void pnet_updatebasis(NetRec* r, int32_t e, int32_t uin, int32_t vin, int32_t uout) {
  int32_t w = uin, newp = vin, newpred = e;
  for (;;) {
    const int32_t oldp = r->parent[static_cast<size_t>(w)];
    const int32_t oldpred = r->pred[static_cast<size_t>(w)];
    pnet_detach(r, w);
    pnet_attach(r, w, newp);
    r->pred[static_cast<size_t>(w)] = newpred;
    if (w == uout) break;
    newp = w;
    newpred = oldpred;
    w = oldp;
  }
}

// One pivot on entering arc e. The flow is pushed along e from `first` to `second` and back
// through the tree. The leaving arc is the last blocking arc met walking the cycle in the flow's
// direction from the join, which keeps the tree strongly feasible (no cycling on degenerate
// pivots). Returns false when nothing bounds the step.
bool pnet_pivot(NetRec* r, int32_t e, int32_t dir, double* step) {
  NetArc* arcs = r->arc.data();
  const double* lo = r->lo.data();
  const double* up = r->up.data();
  double* flow = r->flow.data();
  const int32_t* parent = r->parent.data();
  const int32_t* pred = r->pred.data();
  const int32_t* depth = r->depth.data();
  const int32_t first = dir > 0 ? arcs[e].tail : arcs[e].head;
  const int32_t second = dir > 0 ? arcs[e].head : arcs[e].tail;
  const double de = up[e] - lo[e];
  double m1 = kInf, m2 = kInf;
  int32_t u1 = -1, u2 = -1;
  int32_t u = first, v = second;
  while (u != v) {
    const int32_t du = depth[u], dv = depth[v];
    if (du >= dv) {
      const int32_t a = pred[u];
      const double res = arcs[a].tail == u ? flow[a] - lo[a] : up[a] - flow[a];
      if (res < m1) m1 = res, u1 = u;
      u = parent[u];
    }
    if (dv >= du) {
      const int32_t a = pred[v];
      const double res = arcs[a].tail == v ? up[a] - flow[a] : flow[a] - lo[a];
      if (res <= m2) m2 = res, u2 = v;
      v = parent[v];
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
    for (int32_t w = first; w != join; w = parent[w]) {
      const int32_t a = pred[w];
      flow[a] += arcs[a].tail == w ? -delta : delta;
    }
    for (int32_t w = second; w != join; w = parent[w]) {
      const int32_t a = pred[w];
      flow[a] += arcs[a].tail == w ? delta : -delta;
    }
  }
  if (side == 0) {
    // The entering arc goes to its other bound; the tree stays.
    flow[e] = dir > 0 ? up[e] : lo[e];
    arcs[e].state = -arcs[e].state;
    return true;
  }
  const int32_t uout = side == 1 ? u1 : u2;
  const int32_t aout = pred[uout];
  // The leaving arc sits exactly on the bound it reached.
  const bool down = (side == 1) == (arcs[aout].tail == uout);
  flow[aout] = down ? lo[aout] : up[aout];
  arcs[aout].state = lo[aout] == up[aout] ? kArcFixed : (down ? kArcLower : kArcUpper);
  const int32_t uin = side == 1 ? first : second;
  const int32_t vin = side == 1 ? second : first;
  double* pi = r->pi.data();
  const double d = arcs[e].cost - pi[arcs[e].tail] + pi[arcs[e].head];
  arcs[e].state = kArcFixed;
  pnet_updatebasis(r, e, uin, vin, uout);
  pnet_updateduals(r, uin, uin == arcs[e].tail ? d : -d);
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
    obj += r.cost[static_cast<size_t>(a)] * r.flow[static_cast<size_t>(a)];
  return obj;
}

void pnet_calcduals(NetRec* r) {
  const int32_t* son = r->son.data();
  const int32_t* brother = r->brother.data();
  const int32_t* parent = r->parent.data();
  const int32_t* pred = r->pred.data();
  const NetArc* arcs = r->arc.data();
  double* pi = r->pi.data();
  const int32_t root = r->root;
  pi[root] = 0.0;
  int32_t x = son[root];
  while (x >= 0) {
    const NetArc& a = arcs[pred[x]];
    // The tree arc's reduced cost is zero.
    pi[x] = a.tail == x ? a.cost + pi[parent[x]] : pi[parent[x]] - a.cost;
    if (son[x] >= 0) {
      x = son[x];
      continue;
    }
    while (x != root && brother[x] < 0)
      x = parent[x];
    if (x == root) break;
    x = brother[x];
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
    NetArc& a = r->arc[static_cast<size_t>(e)];
    int32_t dir = a.state;
    if (dir == kArcFree) {
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
    pnet_logline(r, phase, false);
  }
}

}  // namespace vlr
