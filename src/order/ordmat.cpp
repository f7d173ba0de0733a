// src/order/ordmat.cpp: symbolic counts of a factor under a permutation, the choice between a
// kept and a new ordering, and permutation checks.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "order/order.h"
#include "order/ordpart.h"

namespace vlr {

int32_t VLR_perm_check(int32_t n, const int32_t* perm, int32_t* iwork) {
  std::fill(iwork, iwork + n, 0);
  for (int32_t k = 0; k < n; ++k) {
    const int32_t j = perm[k];
    if (j < 0 || j >= n || iwork[j] != 0) return 0;
    iwork[j] = 1;
  }
  return 1;
}

int32_t VLR_ordmat_symcount(SysEnv* sys, const OrderGraph& g, const int32_t* perm,
                            int32_t* parentout, int32_t* colcount, OrderCount* count) {
  const int32_t n = g.n;
  *count = OrderCount{};
  int64_t nnz = 0;
  for (int32_t i = 0; i < n; ++i)
    nnz += g.len[i];
  // Row lists of the permuted lower triangle: row i holds the columns j < i.
  SysBuf<int32_t> ints(sys, VLR_HERE, 5 * static_cast<int64_t>(n) + 1);
  SysBuf<int32_t> cols(sys, VLR_HERE, std::max<int64_t>(nnz, 1));
  if (!ints || !cols) return kOrderNoSpace;
  int32_t* invp = ints.get();
  int32_t* parent = invp + n;
  int32_t* anc = parent + n;
  int32_t* cc = anc + n;
  int32_t* rbeg = cc + n;  // [n+1]
  for (int32_t k = 0; k < n; ++k)
    invp[perm[k]] = k;
  std::fill(rbeg, rbeg + n + 1, 0);
  for (int32_t u = 0; u < n; ++u) {
    for (int64_t k = g.start[u]; k < g.start[u] + g.len[u]; ++k) {
      const int32_t i = invp[u], j = invp[g.adj[k]];
      if (i != j) ++rbeg[std::max(i, j) + 1];
    }
  }
  for (int32_t i = 0; i < n; ++i)
    rbeg[i + 1] += rbeg[i];
  std::copy(rbeg, rbeg + n, cc);
  for (int32_t u = 0; u < n; ++u) {
    for (int64_t k = g.start[u]; k < g.start[u] + g.len[u]; ++k) {
      const int32_t i = invp[u], j = invp[g.adj[k]];
      if (i != j) cols[cc[std::max(i, j)]++] = std::min(i, j);
    }
  }
  // Elimination tree, with path compression through the ancestors.
  for (int32_t i = 0; i < n; ++i) {
    parent[i] = -1;
    anc[i] = -1;
    for (int32_t k = rbeg[i]; k < rbeg[i + 1]; ++k) {
      int32_t r = cols[k];
      while (anc[r] != -1 && anc[r] != i) {
        const int32_t t = anc[r];
        anc[r] = i;
        r = t;
      }
      if (anc[r] == -1) {
        anc[r] = i;
        parent[r] = i;
      }
    }
  }
  // Row i of L is the union of the tree paths from its entries up to i.
  int32_t* mark = anc;
  std::fill(cc, cc + n, 1);
  for (int32_t i = 0; i < n; ++i) {
    mark[i] = i;
    for (int32_t k = rbeg[i]; k < rbeg[i + 1]; ++k) {
      for (int32_t r = cols[k]; mark[r] != i; r = parent[r]) {
        ++cc[r];
        mark[r] = i;
      }
    }
  }
  for (int32_t j = 0; j < n; ++j) {
    count->lsize += cc[j];
    count->flops += static_cast<double>(cc[j]) * cc[j];
  }
  if (colcount != nullptr) std::copy(cc, cc + n, colcount);
  if (parentout != nullptr) std::copy(parent, parent + n, parentout);
  return kOrderOk;
}

namespace {

// The flops of the factor for each entry of the graph below which the free choice does not
// try a dissection.
constexpr double kDissectFlops = 1000.0;

}  // namespace

int32_t VLR_amf_gp_sorder(SysEnv* sys, double balance1, double balance2, const OrderGraph& g,
                          int32_t mode, const OrderCount* prev, int32_t* perm, int32_t* invperm,
                          OrderCount* count, void* handle, OrderCallback callback) {
  (void)balance2;
  const int32_t n = g.n;
  int64_t half = 0;
  for (int32_t i = 0; i < n; ++i)
    half += g.len[i];
  const double s = n + 2.0 * half, m = mode;
  int32_t r = kOrderOk;
  if (prev != nullptr && 2.0 * prev->lsize >= m * s &&
      (2.0 * prev->lsize >= 1e7 || m * s <= prev->lsize)) {
    // The kept ordering fills much, but a new run would not do much better.
    *count = *prev;
  } else {
    r = VLR_amf_sorder(sys, g, -1, perm, count, handle, callback);
    if (r != kOrderOk) return r;
    // No score wins everywhere: the degree and the local fill each beat the fill score on
    // some graphs. The smaller factor is kept, and the fewer flops among equals.
    SysBuf<int32_t> alt(sys, VLR_HERE, 2 * static_cast<int64_t>(std::max(n, 1)));
    if (!alt) return kOrderNoSpace;
    auto keep_better = [&](const OrderCount& c) {
      if (c.lsize < count->lsize || (c.lsize == count->lsize && c.flops < count->flops)) {
        std::copy(alt.get(), alt.get() + n, perm);
        *count = c;
      }
    };
    for (int32_t ordtype = 0; ordtype < 2; ++ordtype) {
      OrderCount c{};
      r = VLR_symord_minlocf(sys, g, ordtype, alt.get(), &c, handle, callback);
      if (r != kOrderOk) return r;
      keep_better(c);
    }
    // Dissection pays when the fill is large against the matrix, and for middle sizes.
    const double l = static_cast<double>(count->lsize);
    const bool much = 2.0 * l >= m * s;
    // A graph with a tenth of all possible edges has no small separators.
    const bool dense = 2.0 * static_cast<double>(half) > 0.1 * n * static_cast<double>(n);
    // The two dissections cost about as much as a thousand flops of the factor for each entry
    // of the graph, and seldom save more than a fifth of the factor's flops: below that many
    // flops they cannot pay back in the few dozen factors an interior-point run makes.
    const bool worth = count->flops >= kDissectFlops * s;
    if (!dense && worth && ((much && n >= 500) || (!much && n >= 500 && n <= 10000))) {
      // Two dissections: by multilevel bisection, which suits the irregular graphs, and with
      // the separators found on each part directly, which suits regular meshes better.
      int32_t* pri = alt.get() + n;
      for (int32_t flat = 0; flat < 2; ++flat) {
        // The dissection itself does not ask whether to stop: it is asked before each.
        if (callback != nullptr && callback(1, handle, 0.5) != 0) return kOrderStopped;
        r = VLR_ordpart_dissect(sys, g, 100, balance1, flat, pri);
        if (r != kOrderOk) return r;
        // Separators that hold a third of the nodes leave parts too small to pay for the
        // constrained run, which is then slow as well.
        int32_t nsep = 0;
        for (int32_t i = 0; i < n; ++i)
          nsep += pri[i] > 0;
        if (3 * static_cast<int64_t>(nsep) > n) continue;
        OrderCount c{};
        r = VLR_amf_sorder_pri(sys, g, pri, -1, alt.get(), &c, handle, callback);
        if (r != kOrderOk) return r;
        keep_better(c);
      }
    }
  }
  for (int32_t k = 0; k < n; ++k)
    invperm[perm[k]] = k;
  return r;
}

}  // namespace vlr
