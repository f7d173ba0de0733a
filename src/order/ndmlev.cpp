// src/order/ndmlev.cpp: multilevel vertex bisection: the graph coarsened by heavy-edge
// matching, a separator found on the coarsest graph from several level structures, and
// improved on every level on the way back by separator moves.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "order/ordheap.h"
#include "order/ordpart.h"

namespace vlr {

namespace {

constexpr int32_t kBelow = 0, kSep = 1, kAbove = 2;
constexpr int32_t kMaxLevels = 40;
constexpr int32_t kCoarsest = 120;  // nodes at which coarsening stops

struct Level {
  int32_t t;
  int64_t* xadj;   // [t+1]
  int32_t* adj;    // [xadj[t]]
  int32_t* ew;     // [xadj[t]] edge weights
  int32_t* vw;     // [t] node weights
  int32_t* cmap;   // [t] node of the next coarser level
  int32_t* where;  // [t] kBelow, kSep or kAbove
};

void level_free(SysEnv* sys, Level* l) {
  for (void* p :
       {static_cast<void*>(l->xadj), static_cast<void*>(l->adj), static_cast<void*>(l->ew),
        static_cast<void*>(l->vw), static_cast<void*>(l->cmap), static_cast<void*>(l->where)})
    if (p != nullptr) VLR_sysenv_free(sys, p);
  *l = Level{};
}

bool level_alloc(SysEnv* sys, Level* l, int32_t t, int64_t m) {
  *l = Level{};
  l->t = t;
  l->xadj = static_cast<int64_t*>(VLR_sysenv_calloc(sys, int64_t{t} + 1, sizeof(int64_t)));
  l->adj = static_cast<int32_t*>(VLR_sysenv_calloc(sys, std::max<int64_t>(m, 1), sizeof(int32_t)));
  l->ew = static_cast<int32_t*>(VLR_sysenv_calloc(sys, std::max<int64_t>(m, 1), sizeof(int32_t)));
  l->vw = static_cast<int32_t*>(VLR_sysenv_calloc(sys, std::max(t, 1), sizeof(int32_t)));
  l->cmap = static_cast<int32_t*>(VLR_sysenv_calloc(sys, std::max(t, 1), sizeof(int32_t)));
  l->where = static_cast<int32_t*>(VLR_sysenv_calloc(sys, std::max(t, 1), sizeof(int32_t)));
  return l->xadj && l->adj && l->ew && l->vw && l->cmap && l->where;
}

// Heavy-edge matching of f into c (allocated here). Nodes heavier together than maxvw stay
// single, so that no coarse node outweighs a side.
bool mlev_coarsen(SysEnv* sys, Level* f, Level* c, int64_t maxvw) {
  int32_t* match = f->where;  // free until the way back
  std::fill(match, match + f->t, -1);
  for (int32_t v = 0; v < f->t; ++v) {
    if (match[v] >= 0) continue;
    int32_t best = -1, bw = 0;
    for (int64_t k = f->xadj[v]; k < f->xadj[v + 1]; ++k) {
      const int32_t u = f->adj[k];
      if (match[u] >= 0 || u == v || int64_t{f->vw[v]} + f->vw[u] > maxvw) continue;
      if (f->ew[k] > bw) best = u, bw = f->ew[k];
    }
    match[v] = best < 0 ? v : best;
    if (best >= 0) match[best] = v;
  }
  int32_t cnt = 0;
  for (int32_t v = 0; v < f->t; ++v)
    if (match[v] >= v) f->cmap[v] = f->cmap[match[v]] = cnt++;
  if (!level_alloc(sys, c, cnt, f->xadj[f->t])) {
    level_free(sys, c);
    return false;
  }
  int32_t* slot = c->where;  // position of a coarse neighbour in the list being built
  std::fill(slot, slot + cnt, -1);
  int64_t pos = 0;
  for (int32_t v = 0; v < f->t; ++v) {
    if (match[v] < v) continue;
    const int32_t cv = f->cmap[v];
    const int64_t start = pos;
    c->xadj[cv] = start;
    c->vw[cv] = f->vw[v] + (match[v] != v ? f->vw[match[v]] : 0);
    for (int32_t x : {v, match[v]}) {
      for (int64_t k = f->xadj[x]; k < f->xadj[x + 1]; ++k) {
        const int32_t cu = f->cmap[f->adj[k]];
        if (cu == cv) continue;
        if (slot[cu] >= 0 && slot[cu] >= start && c->adj[slot[cu]] == cu) {
          c->ew[slot[cu]] += f->ew[k];
        } else {
          slot[cu] = static_cast<int32_t>(pos);
          c->adj[pos] = cu;
          c->ew[pos++] = f->ew[k];
        }
      }
      if (match[v] == v) break;
    }
  }
  c->xadj[cnt] = pos;
  return true;
}

// The work of the separator moves on one level.
struct Fm {
  int32_t *na, *nb, *lock, *log;
  OrdHeap toa, tob;
  int32_t pass;
};

void fm_key(Level* l, Fm* m, int32_t v) {
  if (m->lock[v] == m->pass) return;
  VLR_ordheap_put(&m->toa, v, m->nb[v] - l->vw[v]);  // the weight the move adds, less v's
  VLR_ordheap_put(&m->tob, v, m->na[v] - l->vw[v]);
}

void fm_count(Level* l, Fm* m, int32_t v) {
  int32_t a = 0, b = 0;
  for (int64_t k = l->xadj[v]; k < l->xadj[v + 1]; ++k) {
    const int32_t u = l->adj[k];
    a += l->where[u] == kBelow ? l->vw[u] : 0;
    b += l->where[u] == kAbove ? l->vw[u] : 0;
  }
  m->na[v] = a, m->nb[v] = b;
  fm_key(l, m, v);
}

// Separator nodes with no neighbour on one side join the other.
void mlev_thin(Level* l) {
  for (int32_t v = 0; v < l->t; ++v) {
    if (l->where[v] != kSep) continue;
    bool a = false, b = false;
    for (int64_t k = l->xadj[v]; k < l->xadj[v + 1]; ++k) {
      a = a || l->where[l->adj[k]] == kBelow;
      b = b || l->where[l->adj[k]] == kAbove;
    }
    if (!b) {
      l->where[v] = kBelow;
    } else if (!a) {
      l->where[v] = kAbove;
    }
  }
}

// Passes of moves of separator nodes into the lighter side, each pulling its neighbours on the
// other side into the separator; uphill moves too, rolled back to the lightest separator seen
// that leaves minside on each side.
void mlev_fm(Level* l, Fm* m, int64_t minside) {
  int64_t size[3] = {0, 0, 0};
  for (int32_t v = 0; v < l->t; ++v)
    size[l->where[v]] += l->vw[v];
  for (int32_t pass = 0; pass < 6; ++pass) {
    ++m->pass;
    m->toa.size = m->tob.size = 0;
    std::fill(m->toa.pos, m->toa.pos + l->t, -1);
    std::fill(m->tob.pos, m->tob.pos + l->t, -1);
    for (int32_t v = 0; v < l->t; ++v)
      if (l->where[v] == kSep) fm_count(l, m, v);
    const int64_t start = size[kSep];
    int64_t best = start;
    int32_t bestat = 0, nlog = 0, since = 0;
    const int32_t maxlog = 3 * l->t;
    while (since < 150) {
      const int32_t to = size[kBelow] <= size[kAbove] ? kBelow : kAbove;
      OrdHeap* h = to == kBelow ? &m->toa : &m->tob;
      if (h->size == 0) break;
      const int32_t v = h->heap[0];
      const int32_t other = kBelow + kAbove - to;
      const int32_t expect = to == kBelow ? m->nb[v] : m->na[v];
      if (size[other] - expect < minside || nlog + 2 + l->t > maxlog) break;
      VLR_ordheap_remove(&m->toa, v);
      VLR_ordheap_remove(&m->tob, v);
      m->lock[v] = m->pass;
      l->where[v] = to;
      size[kSep] -= l->vw[v], size[to] += l->vw[v];
      int32_t pulled = 0;
      for (int64_t k = l->xadj[v]; k < l->xadj[v + 1]; ++k) {
        const int32_t u = l->adj[k];
        if (l->where[u] == kSep) {
          (to == kBelow ? m->na[u] : m->nb[u]) += l->vw[v];
          fm_key(l, m, u);
        } else if (l->where[u] == other) {
          l->where[u] = kSep;
          size[other] -= l->vw[u], size[kSep] += l->vw[u];
          m->log[nlog++] = u;
          ++pulled;
          for (int64_t q = l->xadj[u]; q < l->xadj[u + 1]; ++q) {
            const int32_t w = l->adj[q];
            if (w == v || l->where[w] != kSep) continue;
            (other == kBelow ? m->na[w] : m->nb[w]) -= l->vw[u];
            fm_key(l, m, w);
          }
          fm_count(l, m, u);
        }
      }
      m->log[nlog++] = v;
      m->log[nlog++] = pulled;
      if (size[kSep] < best) {
        best = size[kSep], bestat = nlog, since = 0;
      } else {
        ++since;
      }
    }
    while (nlog > bestat) {  // roll back, last move first
      const int32_t pulled = m->log[nlog - 1], v = m->log[nlog - 2];
      const int32_t to = l->where[v], other = kBelow + kAbove - to;
      nlog -= 2 + pulled;
      for (int32_t k = 0; k < pulled; ++k) {
        const int32_t u = m->log[nlog + k];
        l->where[u] = other;
        size[other] += l->vw[u], size[kSep] -= l->vw[u];
      }
      l->where[v] = kSep;
      size[kSep] += l->vw[v], size[to] -= l->vw[v];
    }
    if (best >= start) break;
  }
}

// A separator of the coarsest level: of several level structures, each from a far node of a
// different start, the balanced level of least weight, thinned and moved; the lightest kept.
// false when every structure has fewer than three levels.
bool mlev_initial(Level* l, Fm* m, int32_t tries, double balance, int64_t minside, int32_t* queue,
                  int32_t* dist, int64_t* lw, int32_t* best) {
  int64_t total = 0;
  for (int32_t v = 0; v < l->t; ++v)
    total += l->vw[v];
  int64_t bestw = -1;
  auto bfs = [&](int32_t root) {  // levels in dist; returns the last node reached
    std::fill(dist, dist + l->t, -1);
    int32_t head = 0, tail = 0;
    queue[tail++] = root;
    dist[root] = 0;
    while (head < tail) {
      const int32_t v = queue[head++];
      for (int64_t k = l->xadj[v]; k < l->xadj[v + 1]; ++k)
        if (dist[l->adj[k]] < 0) dist[l->adj[k]] = dist[v] + 1, queue[tail++] = l->adj[k];
    }
    return queue[tail - 1];
  };
  for (int32_t tr = 0; tr < tries; ++tr) {
    const int32_t root = bfs(bfs(static_cast<int32_t>(int64_t{l->t} * tr / tries)));
    bfs(root);
    int32_t height = 0;
    for (int32_t v = 0; v < l->t; ++v)
      height = std::max(height, dist[v] + 1);
    if (height < 3) continue;
    // Level weights, cumulated from the root: the lightest balanced level, else the most
    // balanced one.
    std::fill(lw, lw + height, 0);
    for (int32_t v = 0; v < l->t; ++v)
      lw[dist[v]] += l->vw[v];
    int64_t below = lw[0], fairest = -1;
    int32_t cut = -1, fair = -1;
    int64_t cutw = 0;
    for (int32_t h = 1; h + 1 < height; ++h) {
      const int64_t w = lw[h];
      const int64_t low = std::min(below, total - below - w);
      if (low >= balance * total && (cut < 0 || w < cutw)) cut = h, cutw = w;
      if (low > fairest) fairest = low, fair = h;
      below += w;
    }
    if (cut < 0) cut = fair;
    if (cut < 0) continue;
    for (int32_t v = 0; v < l->t; ++v)
      l->where[v] = dist[v] < cut ? kBelow : dist[v] > cut ? kAbove : kSep;
    mlev_thin(l);
    mlev_fm(l, m, minside);
    int64_t sw = 0;
    for (int32_t v = 0; v < l->t; ++v)
      sw += l->where[v] == kSep ? l->vw[v] : 0;
    if (bestw < 0 || sw < bestw) {
      bestw = sw;
      std::copy(l->where, l->where + l->t, best);
    }
  }
  if (bestw < 0) return false;
  std::copy(best, best + l->t, l->where);
  return true;
}

}  // namespace

int32_t VLR_ordpart_bisect(SysEnv* sys, int32_t t, const int64_t* xadj, const int32_t* adj,
                           double balance, int32_t flat, int32_t* where) {
  Level lev[kMaxLevels] = {};
  int32_t nlev = 1;
  int32_t status = kOrderNoSpace;
  SysBuf<int32_t> work(sys, VLR_HERE, (7 + 2 * OrdHeap::kInts) * int64_t{t} + 1);
  SysBuf<int64_t> lw(sys, VLR_HERE, int64_t{t} + 1);  // weight of each level of a search
  if (work && lw && level_alloc(sys, &lev[0], t, xadj[t])) {
    std::copy(xadj, xadj + t + 1, lev[0].xadj);
    std::copy(adj, adj + xadj[t], lev[0].adj);
    std::fill(lev[0].ew, lev[0].ew + xadj[t], 1);
    std::fill(lev[0].vw, lev[0].vw + t, 1);
    const int64_t maxvw = std::max<int64_t>(1, 3 * int64_t{t} / (2 * kCoarsest));
    bool ok = true;
    while (!flat && nlev < kMaxLevels && lev[nlev - 1].t > kCoarsest) {
      if (!mlev_coarsen(sys, &lev[nlev - 1], &lev[nlev], maxvw)) {
        ok = false;
        break;
      }
      ++nlev;
      if (lev[nlev - 1].t * 5 > lev[nlev - 2].t * 4) break;  // matching stalls
    }
    if (ok) {
      Fm m{};
      int32_t* w = work.get();
      m.na = w, m.nb = w + t, m.lock = w + 2 * int64_t{t}, m.log = w + 3 * int64_t{t};  // log: 3 t
      int32_t* best = w + 6 * int64_t{t};
      std::fill(m.lock, m.lock + t, 0);
      VLR_ordheap_init(&m.toa, t, w + 7 * int64_t{t});
      VLR_ordheap_init(&m.tob, t, w + (7 + OrdHeap::kInts) * int64_t{t});
      const int64_t minside = static_cast<int64_t>(0.5 * balance * t);
      // The initial searches' queue and levels borrow na and nb, free between the passes. A
      // coarse graph too shallow for a level separator passes the search to a finer one.
      int32_t top = nlev - 1;
      while (top >= 0 &&
             !mlev_initial(&lev[top], &m, 5, balance, minside, m.na, m.nb, lw.get(), best))
        --top;
      if (top < 0) {
        std::fill(lev[0].where, lev[0].where + t, kBelow);
        top = 0;
      }
      for (int32_t k = top - 1; k >= 0; --k) {
        Level* f = &lev[k];
        for (int32_t v = 0; v < f->t; ++v)
          f->where[v] = lev[k + 1].where[f->cmap[v]];
        mlev_thin(f);
        mlev_fm(f, &m, minside);
      }
      std::copy(lev[0].where, lev[0].where + t, where);
      status = kOrderOk;
    }
  }
  for (int32_t k = 0; k < kMaxLevels; ++k)
    level_free(sys, &lev[k]);
  return status;
}

}  // namespace vlr
