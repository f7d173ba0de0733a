// src/order/ndpart.cpp: nested dissection by multilevel vertex separators, giving each node a
// priority so that the constrained ordering takes the parts first and each separator after
// the parts it divides.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "order/order.h"
#include "order/ordpart.h"

namespace vlr {

namespace {

// The work of one partition: the symmetric adjacency and the per-node arrays.
struct PartCtx {
  SysEnv* sys;
  int32_t n;
  const int64_t* xadj;  // [n+1]
  const int32_t* adj;
  int32_t* nodes;  // [n] nodes of the pending ranges
  int32_t* mark;   // [n] range stamp of a node while its range is worked
  int32_t* level;  // [n] BFS level within the range; the side after the split
  int32_t* queue;  // [n]
  int32_t* depth;  // [n] separator depth of a node; -1 for a part's node
  int32_t* stack;  // [3 n] pending ranges: lo, hi, depth
  int32_t stamp;
};

constexpr int32_t kBelow = 0, kSep = 1, kAbove = 2;

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

// Splits the range [lo, hi): a range not connected into its components, at the same depth; a
// connected one by the multilevel bisection, its sides pushed as ranges one deeper. A range
// that no separator divides stays a part.
int32_t part_split(PartCtx* c, int32_t lo, int32_t hi, int32_t d, int32_t* top, double balance,
                   int32_t flat) {
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
    return kOrderOk;
  }
  // The range as a graph of its own, bisected.
  for (int32_t k = lo; k < hi; ++k)
    c->level[c->nodes[k]] = k - lo;
  int64_t m = 0;
  for (int32_t k = lo; k < hi; ++k) {
    const int32_t v = c->nodes[k];
    for (int64_t q = c->xadj[v]; q < c->xadj[v + 1]; ++q)
      m += c->mark[c->adj[q]] == c->stamp;
  }
  SysBuf<int64_t> lx(c->sys, VLR_HERE, int64_t{total} + 1);
  SysBuf<int32_t> la(c->sys, VLR_HERE, std::max<int64_t>(m, 1));
  SysBuf<int32_t> lw(c->sys, VLR_HERE, total);
  if (!lx || !la || !lw) return kOrderNoSpace;
  int64_t p = 0;
  for (int32_t k = lo; k < hi; ++k) {
    const int32_t v = c->nodes[k];
    lx[k - lo] = p;
    for (int64_t q = c->xadj[v]; q < c->xadj[v + 1]; ++q)
      if (c->mark[c->adj[q]] == c->stamp) la[p++] = c->level[c->adj[q]];
  }
  lx[total] = p;
  const int32_t r = VLR_ordpart_bisect(c->sys, total, lx.get(), la.get(), balance, flat, lw.get());
  if (r != kOrderOk) return r;
  int32_t nsep = 0, nabove = 0;
  for (int32_t k = lo; k < hi; ++k) {
    c->level[c->nodes[k]] = lw[k - lo];
    nsep += lw[k - lo] == kSep;
    nabove += lw[k - lo] == kAbove;
  }
  if (nsep == 0 && nabove == 0) return kOrderOk;  // no balanced separator: a part
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
  return kOrderOk;
}

}  // namespace

int32_t VLR_ordpart_dissect(SysEnv* sys, const OrderGraph& g, int32_t minpart, double balance,
                            int32_t flat, int32_t* pri) {
  const int32_t n = g.n;
  int64_t nnz = 0;
  for (int32_t i = 0; i < n; ++i)
    nnz += 2 * static_cast<int64_t>(g.len[i]);
  SysBuf<int64_t> xadj(sys, VLR_HERE, int64_t{n} + 1);
  SysBuf<int32_t> adj(sys, VLR_HERE, std::max<int64_t>(nnz, 1));
  SysBuf<int32_t> ints(sys, VLR_HERE, 8 * int64_t{n} + 3);
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
  for (int32_t i = 0; i < n; ++i) {
    c.nodes[i] = i;
    c.mark[i] = 0;
    c.depth[i] = -1;
  }
  int32_t top = 0, maxdepth = 0;
  c.stack[top++] = 0, c.stack[top++] = n, c.stack[top++] = 0;
  while (top > 0) {
    const int32_t d = c.stack[--top], hi = c.stack[--top], lo = c.stack[--top];
    if (hi - lo <= minpart) continue;
    maxdepth = std::max(maxdepth, d);
    const int32_t r = part_split(&c, lo, hi, d, &top, balance, flat);
    if (r != kOrderOk) return r;
  }
  // Parts first; then separators, the deepest first, so that each comes after what it divides.
  for (int32_t i = 0; i < n; ++i)
    pri[i] = c.depth[i] < 0 ? 0 : maxdepth - c.depth[i] + 1;
  return kOrderOk;
}

}  // namespace vlr
