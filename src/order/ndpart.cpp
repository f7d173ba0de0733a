// src/order/ndpart.cpp: nested dissection by level-structure separators, giving each node a
// priority so that the constrained ordering takes the parts first and each separator after
// the parts it divides.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "order/order.h"
#include "order/ordheap.h"
#include "order/ordpart.h"

namespace vlr {

namespace {

// The work of one partition: the symmetric adjacency and the per-node arrays.
struct PartCtx {
  SysEnv* sys;
  int32_t n;
  const int64_t* xadj;  // [n+1]
  const int32_t* adj;
  int32_t* nodes;    // [n] nodes of the pending ranges
  int32_t* mark;     // [n] range stamp of a node while its range is worked
  int32_t* level;    // [n] BFS level within the range; the side after the split
  int32_t* queue;    // [n]
  int32_t* depth;    // [n] separator depth of a node; -1 for a part's node
  int32_t* stack;    // [3 n] pending ranges: lo, hi, depth
  int32_t* na;       // [n] a separator node's neighbours below
  int32_t* nb;       // [n] and above
  int32_t* log;      // [2 n] moves of a refinement pass, for the roll-back
  int32_t* lock;     // [n] pass stamp of a node moved in this pass
  OrdHeap toa, tob;  // separator nodes by the gain of a move below / above (key: -gain)
  int32_t stamp, pass;
};

constexpr int32_t kBelow = 0, kSep = 1, kAbove = 2;

// Counts the neighbours of separator node v on each side and queues its two moves.
void fm_queue(PartCtx* c, int32_t v) {
  int32_t a = 0, b = 0;
  for (int64_t q = c->xadj[v]; q < c->xadj[v + 1]; ++q) {
    const int32_t w = c->adj[q];
    if (c->mark[w] != c->stamp) continue;
    a += c->level[w] == kBelow;
    b += c->level[w] == kAbove;
  }
  c->na[v] = a, c->nb[v] = b;
  if (c->lock[v] == c->pass) return;
  VLR_ordheap_put(&c->toa, v, b - 1);  // moving below pulls the nodes above into the separator
  VLR_ordheap_put(&c->tob, v, a - 1);
}

// A neighbour of separator node w changed side: one more (+1) or fewer (-1) on side.
void fm_count(PartCtx* c, int32_t w, int32_t side, int32_t step) {
  if (side == kBelow) {
    c->na[w] += step;
  } else {
    c->nb[w] += step;
  }
  if (c->lock[w] == c->pass) return;
  VLR_ordheap_put(&c->toa, w, c->nb[w] - 1);
  VLR_ordheap_put(&c->tob, w, c->na[w] - 1);
}

// Improves the separator of the range by moves of separator nodes to a side, each pulling its
// neighbours on the other side into the separator, in Fiduccia and Mattheyses' manner: a pass
// moves greedily, uphill too, and rolls back to the smallest separator it saw that keeps at
// least minside nodes on each side.
void fm_refine(PartCtx* c, int32_t lo, int32_t hi, int32_t minside) {
  int32_t size[3] = {0, 0, 0};
  for (int32_t k = lo; k < hi; ++k)
    ++size[c->level[c->nodes[k]]];
  for (int32_t pass = 0; pass < 4; ++pass) {
    ++c->pass;
    c->toa.size = c->tob.size = 0;
    for (int32_t k = lo; k < hi; ++k) {
      const int32_t v = c->nodes[k];
      c->toa.pos[v] = c->tob.pos[v] = -1;
    }
    for (int32_t k = lo; k < hi; ++k)
      if (c->level[c->nodes[k]] == kSep) fm_queue(c, c->nodes[k]);
    const int32_t start = size[kSep];
    int32_t best = start, bestat = 0, nlog = 0, since = 0;
    const int32_t maxlog = 2 * (hi - lo);
    while (since < 100) {
      // Into the smaller side; the move of the larger gain there.
      const int32_t to = size[kBelow] <= size[kAbove] ? kBelow : kAbove;
      OrdHeap* h = to == kBelow ? &c->toa : &c->tob;
      if (h->size == 0) break;
      const int32_t v = h->heap[0];
      const int32_t expect = to == kBelow ? c->nb[v] : c->na[v];
      const int32_t other = kBelow + kAbove - to;
      if (size[other] - expect < minside || nlog + 2 + expect > maxlog) break;
      VLR_ordheap_remove(&c->toa, v);
      VLR_ordheap_remove(&c->tob, v);
      c->lock[v] = c->pass;
      c->level[v] = to;
      --size[kSep], ++size[to];
      int32_t pulled = 0;
      // Pulled nodes enter the separator; the counts of the separator nodes next to v and to
      // them follow the change.
      for (int64_t q = c->xadj[v]; q < c->xadj[v + 1]; ++q) {
        const int32_t u = c->adj[q];
        if (c->mark[u] != c->stamp) continue;
        if (c->level[u] == kSep) {
          fm_count(c, u, to, +1);
        } else if (c->level[u] == other) {
          c->level[u] = kSep;
          --size[other], ++size[kSep];
          c->log[nlog++] = u;
          ++pulled;
          for (int64_t r = c->xadj[u]; r < c->xadj[u + 1]; ++r) {
            const int32_t w = c->adj[r];
            if (w != v && c->mark[w] == c->stamp && c->level[w] == kSep) fm_count(c, w, other, -1);
          }
          fm_queue(c, u);
        }
      }
      c->log[nlog++] = v;
      c->log[nlog++] = pulled;
      if (pulled != expect) VLR_sysenv_stopdbg(c->sys, VLR_HERE, "p error");
      if (size[kSep] < best) {
        best = size[kSep], bestat = nlog, since = 0;
      } else {
        ++since;
      }
    }
    // Roll back the moves after the best point, last first.
    while (nlog > bestat) {
      const int32_t pulled = c->log[nlog - 1], v = c->log[nlog - 2];
      const int32_t to = c->level[v], other = kBelow + kAbove - to;
      nlog -= 2 + pulled;
      for (int32_t k = 0; k < pulled; ++k)
        c->level[c->log[nlog + k]] = other;
      size[other] += pulled, size[kSep] -= pulled;
      c->level[v] = kSep;
      ++size[kSep], --size[to];
    }
    if (best >= start) break;  // no gain in this pass
  }
}

// Breadth-first levels over the range's nodes from root; returns the node count reached and
// sets *height to the number of levels and *last to a node of least degree in the last level.
int32_t part_bfs(PartCtx* c, int32_t root, int32_t* height, int32_t* last) {
  int32_t head = 0, tail = 0;
  c->queue[tail++] = root;
  c->level[root] = 0;
  const int32_t seen = -c->stamp - 1;  // reached in this search
  c->mark[root] = seen;
  int32_t h = 0;
  while (head < tail) {
    const int32_t v = c->queue[head++];
    h = c->level[v];
    for (int64_t k = c->xadj[v]; k < c->xadj[v + 1]; ++k) {
      const int32_t w = c->adj[k];
      if (c->mark[w] != c->stamp) continue;
      c->mark[w] = seen;
      c->level[w] = h + 1;
      c->queue[tail++] = w;
    }
  }
  *height = h + 1;
  int32_t best = c->queue[tail - 1];
  for (int32_t k = tail - 1; k >= 0 && c->level[c->queue[k]] == h; --k) {
    const int32_t v = c->queue[k];
    if (c->xadj[v + 1] - c->xadj[v] < c->xadj[best + 1] - c->xadj[best]) best = v;
  }
  *last = best;
  for (int32_t k = 0; k < tail; ++k)  // back in the range for the next search
    c->mark[c->queue[k]] = c->stamp;
  return tail;
}

// Splits the range [lo, hi): a part not connected is cut into its first component and the
// rest; a connected one gets a level separator, thinned to the nodes that touch both sides,
// and its sides are pushed as ranges one deeper. A range that no level divides stays a part.
void part_split(PartCtx* c, int32_t lo, int32_t hi, int32_t d, int32_t* top, double balance) {
  ++c->stamp;
  for (int32_t k = lo; k < hi; ++k)
    c->mark[c->nodes[k]] = c->stamp;
  const int32_t total = hi - lo;
  int32_t height = 0, root = c->nodes[lo], far = root;
  int32_t reached = part_bfs(c, root, &height, &far);
  if (reached < total) {
    // The components are independent: each goes on at the same depth. Label them all in one
    // sweep (a component per search), then order the range by label.
    int32_t ncomp = 0;
    for (int32_t k = lo; k < hi; ++k) {
      const int32_t v = c->nodes[k];
      if (c->mark[v] != c->stamp) continue;
      int32_t h = 0, f = v;
      const int32_t got = part_bfs(c, v, &h, &f);
      for (int32_t q = 0; q < got; ++q) {
        c->mark[c->queue[q]] = -1;
        c->level[c->queue[q]] = ncomp;
      }
      ++ncomp;
    }
    std::stable_sort(c->nodes + lo, c->nodes + hi,
                     [&](int32_t x, int32_t y) { return c->level[x] < c->level[y]; });
    for (int32_t s = lo; s < hi;) {
      int32_t e = s;
      while (e < hi && c->level[c->nodes[e]] == c->level[c->nodes[s]])
        ++e;
      c->stack[(*top)++] = s, c->stack[(*top)++] = e, c->stack[(*top)++] = d;
      s = e;
    }
    return;
  }
  // A pseudo-peripheral root: search again from a far node while the height grows.
  for (int32_t tries = 0; tries < 4; ++tries) {
    int32_t h2 = 0, far2 = far;
    part_bfs(c, far, &h2, &far2);
    if (h2 <= height) {
      part_bfs(c, root, &height, &far);  // the levels of the best root
      break;
    }
    root = far, height = h2, far = far2;
  }
  if (height < 3) return;  // no level parts it: a part of its own
  // Level sizes, and the smallest level with at least balance of the nodes on each side.
  int32_t* cnt = c->stack + *top;  // free room above the pending ranges
  std::fill(cnt, cnt + height, 0);
  for (int32_t k = 0; k < total; ++k)
    ++cnt[c->level[c->queue[k]]];
  int32_t best = -1, below = cnt[0];
  for (int32_t l = 1; l + 1 < height; ++l) {
    const int32_t above = total - below - cnt[l];
    if (std::min(below, above) >= balance * total && (best < 0 || cnt[l] < cnt[best])) best = l;
    below += cnt[l];
  }
  if (best < 0) {  // none balanced: the median level
    below = 0;
    for (best = 0; best + 1 < height && below + cnt[best] < total / 2; ++best)
      below += cnt[best];
    best = std::clamp(best, 1, height - 2);
  }
  // Sides: 0 below, 2 above, 1 the separator; a separator node without a neighbour on one side
  // joins the other.
  for (int32_t k = lo; k < hi; ++k) {
    const int32_t v = c->nodes[k];
    c->level[v] = c->level[v] < best ? 0 : c->level[v] > best ? 2 : 1;
  }
  for (int32_t k = lo; k < hi; ++k) {
    const int32_t v = c->nodes[k];
    if (c->level[v] != 1) continue;
    bool a = false, b = false;
    for (int64_t q = c->xadj[v]; q < c->xadj[v + 1]; ++q) {
      const int32_t w = c->adj[q];
      if (c->mark[w] != c->stamp) continue;
      a = a || c->level[w] == 0;
      b = b || c->level[w] == 2;
    }
    if (!b) {
      c->level[v] = 0;
    } else if (!a) {
      c->level[v] = 2;
    }
  }
  fm_refine(c, lo, hi, static_cast<int32_t>(0.5 * balance * total));
  auto rank = [&](int32_t v) { return c->level[v] == 0 ? 0 : c->level[v] == 2 ? 1 : 2; };
  std::stable_sort(c->nodes + lo, c->nodes + hi, [&](int32_t x, int32_t y) {
    return rank(x) < rank(y);
  });  // below, above, separator
  int32_t na = 0, nb = 0;
  for (int32_t k = lo; k < hi; ++k) {
    const int32_t s = c->level[c->nodes[k]];
    na += s == 0, nb += s == 2;
    if (s == 1) c->depth[c->nodes[k]] = d;
  }
  if (na > 0) c->stack[(*top)++] = lo, c->stack[(*top)++] = lo + na, c->stack[(*top)++] = d + 1;
  if (nb > 0) {
    c->stack[(*top)++] = lo + na, c->stack[(*top)++] = lo + na + nb;
    c->stack[(*top)++] = d + 1;
  }
}

}  // namespace

int32_t VLR_ordpart_dissect(SysEnv* sys, const OrderGraph& g, int32_t minpart, double balance,
                            int32_t* pri) {
  const int32_t n = g.n;
  int64_t nnz = 0;
  for (int32_t i = 0; i < n; ++i)
    nnz += 2 * static_cast<int64_t>(g.len[i]);
  SysBuf<int64_t> xadj(sys, VLR_HERE, int64_t{n} + 1);
  SysBuf<int32_t> adj(sys, VLR_HERE, std::max<int64_t>(nnz, 1));
  SysBuf<int32_t> ints(sys, VLR_HERE, 8 * int64_t{n} + 3 + (5 + 2 * OrdHeap::kInts) * int64_t{n});
  if (nnz > 2000000000 || !xadj || !adj || !ints) return kOrderNoSpace;
  // The doubled adjacency without self loops and repeats.
  std::fill(xadj.get(), xadj.get() + n + 1, 0);
  for (int32_t i = 0; i < n; ++i)
    for (int64_t k = g.start[i]; k < g.start[i] + g.len[i]; ++k)
      if (g.adj[k] != i) ++xadj[i + 1], ++xadj[g.adj[k] + 1];
  for (int32_t i = 0; i < n; ++i)
    xadj[i + 1] += xadj[i];
  int32_t* pos = ints.get();
  std::copy(xadj.get(), xadj.get() + n, pos);  // n fits: positions below nnz of int32 lists
  for (int32_t i = 0; i < n; ++i) {
    for (int64_t k = g.start[i]; k < g.start[i] + g.len[i]; ++k) {
      const int32_t j = g.adj[k];
      if (j == i) continue;
      adj[pos[i]++] = j;
      adj[pos[j]++] = i;
    }
  }
  PartCtx c{};
  c.sys = sys;
  c.n = n;
  c.xadj = xadj.get();
  c.adj = adj.get();
  c.nodes = ints.get();
  c.mark = c.nodes + n;
  c.level = c.mark + n;
  c.queue = c.level + n;
  c.depth = c.queue + n;
  c.stack = c.depth + n;  // 3 n + 3
  c.na = c.stack + 3 * int64_t{n} + 3;
  c.nb = c.na + n;
  c.log = c.nb + n;  // 2 n
  c.lock = c.log + 2 * int64_t{n};
  VLR_ordheap_init(&c.toa, n, c.lock + n);
  VLR_ordheap_init(&c.tob, n, c.lock + n + OrdHeap::kInts * n);
  for (int32_t i = 0; i < n; ++i) {
    c.nodes[i] = i;
    c.mark[i] = 0;
    c.depth[i] = -1;
    c.lock[i] = 0;
  }
  int32_t top = 0, maxdepth = 0;
  c.stack[top++] = 0, c.stack[top++] = n, c.stack[top++] = 0;
  while (top > 0) {
    const int32_t d = c.stack[--top], hi = c.stack[--top], lo = c.stack[--top];
    if (hi - lo <= minpart) continue;
    maxdepth = std::max(maxdepth, d);
    part_split(&c, lo, hi, d, &top, balance);
  }
  // Parts first; then separators, the deepest first, so that each comes after what it divides.
  for (int32_t i = 0; i < n; ++i)
    pri[i] = c.depth[i] < 0 ? 0 : maxdepth - c.depth[i] + 1;
  return kOrderOk;
}

}  // namespace vlr
