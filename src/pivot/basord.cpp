// src/pivot/basord.cpp: block-triangular ordering of a set of rows and columns: a maximum
// matching of rows to columns, then the strongly connected parts of the graph of the pairs.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "pivot/pivot.h"

namespace vlr {

namespace {

// Integer work asked for per row of the set. The searches use six arrays of csze <= nrowc
// integers: the row of each column, the part of each column and four of scratch.
constexpr int64_t kWorkPerRow = 7;

// Stops on a set that cannot be ordered: short work, more columns than rows, a row index
// outside the matrix or a row position outside the set, a bad status, a bad caller's pair.
void basord_check(SysEnv* sys, const BasordSet* set, const int32_t* rmatch, int32_t isize) {
  const int32_t nrowc = set->nrowc;
  if (static_cast<int64_t>(isize) < kWorkPerRow * nrowc) {
    VLR_sysenv_stopdbg(sys, VLR_HERE, "Work space");
  }
  if (nrowc < set->csze) VLR_sysenv_stopdbg(sys, VLR_HERE, "norwc<csze");
  for (int32_t c = 0; c < set->csze; ++c) {
    const int32_t j = set->cols[c];
    for (int64_t k = set->beg[j]; k < set->beg[j + 1]; ++k) {
      const int32_t i = set->idx[k];
      if (i < 0 || i >= set->norw) {
        VLR_sysenv_stopdbg(sys, VLR_HERE,
                           "\nnorw=%d  i=%d  inew[i]=%d  nrowc=%d\ni outside the matrix", set->norw,
                           i, -1, nrowc);
      }
      const int32_t p = set->inew[i];
      if (p < 0 || p > nrowc) {
        VLR_sysenv_stopdbg(sys, VLR_HERE, "\nnorw=%d  i=%d  inew[i]=%d  nrowc=%d\ninew[i]>nrowc",
                           set->norw, i, p, nrowc);
      }
    }
  }
  for (int32_t p = 0; set->rowsta != nullptr && p < nrowc; ++p) {
    const int32_t s = set->rowsta[p];
    if (s < 0 || s > 2) VLR_sysenv_stopdbg(sys, VLR_HERE, "Row status %d of row %d", s, p);
    if (s == 1 && (rmatch[p] < 0 || rmatch[p] >= set->csze)) {
      VLR_sysenv_stopdbg(sys, VLR_HERE, "Row %d is paired with column %d of %d", p, rmatch[p],
                         set->csze);
    }
  }
}

// Pairs rows with columns: the caller's pairs of status 1 rows are kept as they are, and the
// rows of status 0 are matched by augmenting paths around them, which gives a matching of
// maximum size under that constraint. Each column first looks ahead for a free row (the pointer
// look[c] only moves forward, since a matched row stays matched), then searches depth first
// through the columns of its matched rows. work holds 4 csze integers.
void basord_match(SysEnv* sys, const BasordSet* set, int32_t* rmatch, int32_t* cmatch,
                  int32_t* work) {
  const int32_t nrowc = set->nrowc, csze = set->csze;
  const int64_t* beg = set->beg;
  const int32_t *idx = set->idx, *inew = set->inew, *cols = set->cols, *sta = set->rowsta;
  int32_t* visited = work;  // [csze] the root of the last search that reached column c
  int32_t* look = work + csze;
  int32_t* dptr = work + 2 * static_cast<int64_t>(csze);
  int32_t* stk = work + 3 * static_cast<int64_t>(csze);
  std::fill(cmatch, cmatch + csze, -1);
  for (int32_t p = 0; p < nrowc; ++p) {
    if (sta == nullptr || sta[p] != 1) {
      rmatch[p] = -1;
      continue;
    }
    if (cmatch[rmatch[p]] >= 0) {
      VLR_sysenv_stopdbg(sys, VLR_HERE, "Rows %d and %d are paired with column %d",
                         cmatch[rmatch[p]], p, rmatch[p]);
    }
    cmatch[rmatch[p]] = p;
  }
  // A row takes part in the search when it is in the set and free to be paired again.
  auto eligible = [&](int32_t p) { return p < nrowc && (sta == nullptr || sta[p] == 0); };
  std::fill(visited, visited + csze, -1);
  std::fill(look, look + csze, 0);
  for (int32_t c0 = 0; c0 < csze; ++c0) {
    if (cmatch[c0] >= 0) continue;
    int32_t top = 0;
    stk[0] = c0;
    visited[c0] = c0;
    dptr[c0] = 0;
    while (top >= 0) {
      const int32_t c = stk[top];
      const int64_t b = beg[cols[c]];
      const auto len = static_cast<int32_t>(beg[cols[c] + 1] - b);
      int32_t hit = -1;
      while (look[c] < len && hit < 0) {
        const int32_t p = inew[idx[b + look[c]++]];
        if (eligible(p) && rmatch[p] < 0) hit = p;
      }
      if (hit >= 0) {
        // Each column of the path takes the row through which the search left the one before.
        for (int32_t t = top; t >= 0; --t) {
          const int32_t prev = cmatch[stk[t]];
          cmatch[stk[t]] = hit;
          rmatch[hit] = stk[t];
          hit = prev;
        }
        break;
      }
      int32_t next = -1;
      while (dptr[c] < len && next < 0) {
        const int32_t p = inew[idx[b + dptr[c]++]];
        if (eligible(p) && rmatch[p] >= 0 && visited[rmatch[p]] != c0) next = rmatch[p];
      }
      if (next < 0) {
        --top;
        continue;
      }
      visited[next] = c0;
      dptr[next] = 0;
      stk[++top] = next;
    }
  }
}

// Strongly connected parts of the graph on the paired columns with an arc c -> d when column c
// has an entry in the row paired with d: that entry must lie in d's block or above it, so the
// parts come out in block-upper order. Iterative, so a long chain does not deepen the C stack.
// Roots are taken in increasing column position, or decreasing when descending. Returns the
// number of parts and leaves the part of column c, in the order found, in part[c]. work holds
// 4 csze integers.
int32_t basord_scc(const BasordSet* set, const int32_t* rmatch, const int32_t* cmatch,
                   bool descending, int32_t* part, int32_t* work) {
  const int32_t nrowc = set->nrowc, csze = set->csze;
  const int64_t* beg = set->beg;
  const int32_t *idx = set->idx, *inew = set->inew, *cols = set->cols;
  int32_t* num = work;  // [csze] visit number; -1 not yet seen, csze once placed in a part
  int32_t* sstk = work + csze;
  int32_t* cstk = work + 2 * static_cast<int64_t>(csze);
  int32_t* eptr = work + 3 * static_cast<int64_t>(csze);
  int32_t* low = part;  // the lowest visit number reachable; the part once placed
  const int32_t placed = csze;
  std::fill(num, num + csze, -1);
  int32_t count = 0, nscc = 0, sp = 0;
  for (int32_t r = 0; r < csze; ++r) {
    const int32_t root = descending ? csze - 1 - r : r;
    if (cmatch[root] < 0 || num[root] >= 0) continue;
    int32_t cs = 0;
    cstk[0] = root;
    num[root] = low[root] = count++;
    sstk[sp++] = root;
    eptr[root] = 0;
    while (cs >= 0) {
      const int32_t v = cstk[cs];
      const int64_t b = beg[cols[v]];
      const auto len = static_cast<int32_t>(beg[cols[v] + 1] - b);
      int32_t w = -1;
      while (eptr[v] < len && w < 0) {
        const int32_t p = inew[idx[b + eptr[v]++]];
        if (p == nrowc || rmatch[p] < 0 || rmatch[p] == v) continue;
        const int32_t d = rmatch[p];
        if (num[d] < 0) {
          w = d;
        } else if (num[d] < placed) {
          low[v] = std::min(low[v], num[d]);
        }
      }
      if (w >= 0) {
        num[w] = low[w] = count++;
        sstk[sp++] = w;
        eptr[w] = 0;
        cstk[++cs] = w;
        continue;
      }
      // v is done: hand its low number to the caller in the search before v's part may
      // overwrite it.
      --cs;
      if (cs >= 0) low[cstk[cs]] = std::min(low[cstk[cs]], low[v]);
      if (low[v] != num[v]) continue;
      int32_t u = -1;
      while (u != v) {
        u = sstk[--sp];
        num[u] = placed;
        part[u] = nscc;
      }
      ++nscc;
    }
  }
  return nscc;
}

// Orders the set in block-upper (upper) or block-lower form; rblk and cblk may be null.
void basord_order(SysEnv* sys, const BasordSet* set, int32_t* rmatch, int32_t isize, int32_t* iwork,
                  BasordBlocks* blk, bool upper, int32_t* rblk, int32_t* cblk) {
  basord_check(sys, set, rmatch, isize);
  const int32_t nrowc = set->nrowc, csze = set->csze;
  int32_t* cmatch = iwork;
  int32_t* part = iwork + csze;
  int32_t* work = iwork + 2 * static_cast<int64_t>(csze);
  basord_match(sys, set, rmatch, cmatch, work);
  const int32_t nscc = basord_scc(set, rmatch, cmatch, !upper, part, work);
  int32_t rank = 0;
  for (int32_t c = 0; c < csze; ++c)
    rank += cmatch[c] >= 0 ? 1 : 0;

  int32_t *rowperm = blk->rowperm, *colperm = blk->colperm, *rbeg = blk->rbeg, *cbeg = blk->cbeg;
  int32_t nblk = 0, rpos = 0, cpos = 0;
  // The unpaired rows may have entries in any column and the unpaired columns in any row, so
  // they go where every entry lies on the allowed side of their block: rows above and columns
  // to the right in the upper form, the other way round in the lower.
  auto rowblock = [&]() {
    if (rank == nrowc) return;
    rbeg[nblk] = rpos;
    cbeg[nblk++] = cpos;
    for (int32_t p = 0; p < nrowc; ++p)
      if (rmatch[p] < 0) rowperm[rpos++] = p;
  };
  auto colblock = [&]() {
    if (rank == csze) return;
    rbeg[nblk] = rpos;
    cbeg[nblk++] = cpos;
    for (int32_t c = 0; c < csze; ++c)
      if (cmatch[c] < 0) colperm[cpos++] = c;
  };
  if (upper) {
    rowblock();
  } else {
    colblock();
  }
  // The square blocks, by a counting pass over the parts: a block's pairs keep the increasing
  // order of their columns. The lower form takes the parts in the reverse of the order found.
  const int32_t shift = rpos - cpos;  // rows of a square block sit this far from its columns
  int32_t* next = work;               // [nscc] next free place of each block
  std::fill(next, next + nscc, 0);
  for (int32_t c = 0; c < csze; ++c) {
    if (cmatch[c] < 0) continue;
    part[c] = upper ? part[c] : nscc - 1 - part[c];
    ++next[part[c]];
  }
  for (int32_t b = 0; b < nscc; ++b) {
    const int32_t size = next[b];
    rbeg[nblk] = rpos;
    cbeg[nblk++] = cpos;
    next[b] = cpos;
    rpos += size;
    cpos += size;
  }
  for (int32_t c = 0; c < csze; ++c) {
    if (cmatch[c] < 0) continue;
    const int32_t at = next[part[c]]++;
    colperm[at] = c;
    rowperm[at + shift] = cmatch[c];
  }
  if (upper) {
    colblock();
  } else {
    rowblock();
  }
  rbeg[nblk] = rpos;
  cbeg[nblk] = cpos;
  blk->nblk = nblk;
  blk->rank = rank;
  if (rblk == nullptr || cblk == nullptr) return;
  for (int32_t b = 0; b < nblk; ++b) {
    for (int32_t t = rbeg[b]; t < rbeg[b + 1]; ++t)
      rblk[rowperm[t]] = b;
    for (int32_t t = cbeg[b]; t < cbeg[b + 1]; ++t)
      cblk[colperm[t]] = b;
  }
}

}  // namespace

void VLR_basord_blkupr(SysEnv* sys, const BasordSet* set, int32_t* rmatch, int32_t isize,
                       int32_t* iwork, BasordBlocks* blk) {
  basord_order(sys, set, rmatch, isize, iwork, blk, true, nullptr, nullptr);
}

void VLR_basord_blkupr2(SysEnv* sys, const BasordSet* set, int32_t* rmatch, int32_t isize,
                        int32_t* iwork, BasordBlocks* blk, int32_t* rblk, int32_t* cblk) {
  basord_order(sys, set, rmatch, isize, iwork, blk, true, rblk, cblk);
}

void VLR_basord_blklwr(SysEnv* sys, const BasordSet* set, int32_t* rmatch, int32_t isize,
                       int32_t* iwork, BasordBlocks* blk) {
  basord_order(sys, set, rmatch, isize, iwork, blk, false, nullptr, nullptr);
}

}  // namespace vlr
