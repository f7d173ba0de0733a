// src/kfac/sfksym.cpp: the symbolic step: elimination tree in postorder, column counts,
// supernodes with relaxed amalgamation, row lists, the map from A to L and the work sizes.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "kfac/sfkdat.h"
#include "lalib/lalib.h"

namespace vlr {

namespace {

// Entries of the lower trapezoid of a supernode of k columns over m rows.
inline int64_t trap(int64_t k, int64_t m) {
  return k * m - k * (k - 1) / 2;
}

// Relaxed amalgamation: merging a child into its parent's supernode pays while the zeros it
// stores stay a small part; narrow supernodes may take more, since their updates are slow.
bool sfk_merge_pays(int64_t k, int64_t zeros, int64_t total) {
  const double z = static_cast<double>(zeros) / static_cast<double>(std::max<int64_t>(total, 1));
  if (k <= 4) return true;
  if (k <= 16) return z < 0.8;
  if (k <= 48) return z < 0.1;
  return z < 0.05;
}

// Postorder of the forest: children before parents, each subtree's nodes contiguous. post[k]
// is the k-th node; iwork holds 3 n integers.
void sfk_postorder(int32_t n, const int32_t* parent, int32_t* post, int32_t* iwork) {
  int32_t* fchild = iwork;
  int32_t* sib = iwork + n;
  int32_t* stack = iwork + 2 * static_cast<int64_t>(n);
  std::fill(fchild, fchild + n, -1);
  for (int32_t j = n - 1; j >= 0; --j) {
    if (parent[j] < 0) continue;
    sib[j] = fchild[parent[j]];
    fchild[parent[j]] = j;
  }
  int32_t k = 0;
  for (int32_t root = 0; root < n; ++root) {
    if (parent[root] >= 0) continue;
    int32_t top = 0;
    stack[0] = root;
    while (top >= 0) {
      const int32_t j = stack[top];
      const int32_t c = fchild[j];
      if (c < 0) {
        post[k++] = j;
        --top;
      } else {
        fchild[j] = sib[c];  // the next child waits under this one
        stack[++top] = c;
      }
    }
  }
}

// Supernode partition of the postordered tree: fundamental chains, then relaxed merges from the
// top down. super gets the first columns, returns the count; rows[s] the row count of each.
int32_t sfk_supernodes(int32_t n, const int32_t* parent, const int32_t* cc, int32_t* super,
                       int32_t* rows, int32_t* iwork, int64_t* lwork) {
  int32_t* nchild = iwork;
  int32_t* fsnode = iwork + n;               // fundamental supernode of a column
  int32_t* rep = iwork + 2 * int64_t{n};     // group of a fundamental supernode
  int32_t* fsuper = iwork + 3 * int64_t{n};  // [n+1]
  int64_t* truenz = lwork;                   // per group: entries of L proper
  int64_t* stored = lwork + n;               // per group: entries stored
  std::fill(nchild, nchild + n, 0);
  for (int32_t j = 0; j < n; ++j)
    if (parent[j] >= 0) ++nchild[parent[j]];
  int32_t nfs = 0;
  for (int32_t j = 0; j < n; ++j) {
    const bool chain = j > 0 && parent[j - 1] == j && cc[j] == cc[j - 1] - 1 && nchild[j] == 1;
    if (!chain) fsuper[nfs++] = j;
    fsnode[j] = nfs - 1;
  }
  fsuper[nfs] = n;
  // Group statistics live at the group's representative: columns, rows of its first column.
  int32_t* gk = nchild;  // reused: counts are no longer needed
  for (int32_t s = 0; s < nfs; ++s) {
    const int32_t k = fsuper[s + 1] - fsuper[s];
    gk[s] = k;
    rows[s] = cc[fsuper[s]];
    truenz[s] = 0;
    for (int32_t j = fsuper[s]; j < fsuper[s + 1]; ++j)
      truenz[s] += cc[j];
    stored[s] = trap(k, rows[s]);
    rep[s] = s;
  }
  for (int32_t s = nfs - 2; s >= 0; --s) {
    const int32_t p = parent[fsuper[s + 1] - 1];
    if (p < 0) continue;
    const int32_t g = rep[s + 1];
    if (rep[fsnode[p]] != g) continue;  // the parent is not in the group that follows
    const int64_t k = gk[s] + gk[g], m = gk[s] + int64_t{rows[g]};
    const int64_t total = trap(k, m), nz = truenz[s] + truenz[g];
    if (!sfk_merge_pays(k, total - nz, total)) continue;
    rep[s] = g;
    gk[g] = static_cast<int32_t>(k);
    rows[g] = static_cast<int32_t>(m);
    truenz[g] = nz;
    stored[g] = total;
  }
  int32_t ns = 0;
  for (int32_t s = 0; s < nfs; ++s) {
    if (s > 0 && rep[s] == rep[s - 1]) continue;
    super[ns] = fsuper[s];
    rows[ns] = rows[rep[s]];
    ++ns;
  }
  super[ns] = n;
  return ns;
}

}  // namespace

int32_t VLR_sfk_setupL(sfk* obj) {
  if (obj->state < 2) return kSfkBadInput;
  VLR_sfk_freeL(obj);
  obj->state = 2;
  SysEnv* sys = obj->sys;
  const int32_t n = obj->n;
  const int64_t nnz = obj->abeg[n];
  SysBuf<int32_t> tmp(sys, VLR_HERE, 8 * int64_t{n} + 2);
  SysBuf<int64_t> ltmp(sys, VLR_HERE, 2 * int64_t{n} + 2);
  SysBuf<int32_t> ent(sys, VLR_HERE, std::max<int64_t>(nnz, 1));
  if (!tmp || !ltmp || !ent) return kSfkNoSpace;
  int32_t* parent = tmp.get();
  int32_t* cc = parent + n;
  int32_t* post = cc + n;
  int32_t* iwork = post + n;  // 5 n + 2
  OrderCount cnt{};
  const OrderGraph g{n, obj->alen, obj->abeg, obj->asub};
  if (VLR_ordmat_symcount(sys, g, obj->perm, parent, cc, &cnt) != kOrderOk) return kSfkNoSpace;
  // Refine the ordering to a postorder of its tree: the fill stays, and chains of the tree
  // become runs of columns that supernodes can take.
  sfk_postorder(n, parent, post, iwork);
  int32_t* ipost = iwork;
  for (int32_t k = 0; k < n; ++k)
    ipost[post[k]] = k;
  int32_t* p2 = iwork + n;
  int32_t* c2 = iwork + 2 * int64_t{n};
  for (int32_t k = 0; k < n; ++k) {
    const int32_t j = post[k];
    p2[k] = parent[j] < 0 ? -1 : ipost[parent[j]];
    c2[k] = cc[j];
    iwork[3 * int64_t{n} + k] = obj->perm[j];
  }
  std::copy(iwork + 3 * int64_t{n}, iwork + 4 * int64_t{n}, obj->perm);
  for (int32_t k = 0; k < n; ++k)
    obj->invperm[obj->perm[k]] = k;
  std::copy(p2, p2 + n, parent);
  std::copy(c2, c2 + n, cc);
  // Supernodes; post is free and takes the row counts.
  SysBuf<int32_t> super(sys, VLR_HERE, int64_t{n} + 1);
  SysBuf<int32_t> snode(sys, VLR_HERE, std::max(n, 1));
  if (!super || !snode) return kSfkNoSpace;
  int32_t* rows = post;
  const int32_t ns = sfk_supernodes(n, parent, cc, super.get(), rows, iwork, ltmp.get());
  for (int32_t s = 0; s < ns; ++s)
    for (int32_t j = super[s]; j < super[s + 1]; ++j)
      snode[j] = s;
  SysBuf<int64_t> lpi(sys, VLR_HERE, int64_t{ns} + 1);
  SysBuf<int64_t> lpx(sys, VLR_HERE, int64_t{ns} + 1);
  if (!lpi || !lpx) return kSfkNoSpace;
  lpi[0] = lpx[0] = 0;
  int64_t nnzl = 0;
  double fflops = 0.0;
  for (int32_t s = 0; s < ns; ++s) {
    const int64_t k = super[s + 1] - super[s], m = rows[s];
    lpi[s + 1] = lpi[s] + m;
    lpx[s + 1] = lpx[s] + k * m;
    nnzl += trap(k, m);
    for (int64_t t = 0; t < k; ++t)
      fflops += static_cast<double>(m - t) * static_cast<double>(m - t);
  }
  SysBuf<int32_t> ls(sys, VLR_HERE, std::max<int64_t>(lpi[ns], 1));
  SysBuf<int64_t> amap(sys, VLR_HERE, std::max<int64_t>(nnz, 1));
  SysBuf<int32_t> erow(sys, VLR_HERE, std::max<int64_t>(nnz, 1));
  if (!ls || !amap || !erow) return kSfkNoSpace;
  // A's entries by permuted column min(i, j), with their permuted rows max(i, j).
  int32_t* cbeg = iwork;  // [n+1]
  std::fill(cbeg, cbeg + n + 1, 0);
  for (int32_t j = 0; j < n; ++j)
    for (int64_t e = obj->abeg[j]; e < obj->abeg[j + 1]; ++e)
      ++cbeg[std::min(obj->invperm[j], obj->invperm[obj->asub[e]]) + 1];
  for (int32_t c = 0; c < n; ++c)
    cbeg[c + 1] += cbeg[c];
  int32_t* fill = iwork + n + 1;  // [n]
  std::copy(cbeg, cbeg + n, fill);
  for (int32_t j = 0; j < n; ++j) {
    for (int64_t e = obj->abeg[j]; e < obj->abeg[j + 1]; ++e) {
      const int32_t a = obj->invperm[j], b = obj->invperm[obj->asub[e]];
      const int32_t k = fill[std::min(a, b)]++;
      ent[k] = static_cast<int32_t>(e);
      erow[k] = std::max(a, b);
    }
  }
  // Row lists: a supernode's columns, then the union of its entries of A below them and of its
  // children's rows below them. Children come earlier, so their lists are ready.
  int32_t* mark = fill;
  int32_t* chead = parent;  // the tree is no longer needed: children lists of supernodes
  int32_t* cnext = cc;
  std::fill(mark, mark + n, -1);
  std::fill(chead, chead + ns, -1);
  for (int32_t s = 0; s < ns; ++s) {
    const int32_t f = super[s], l = super[s + 1];
    int64_t q = lpi[s];
    for (int32_t j = f; j < l; ++j)
      ls[q++] = j;
    for (int32_t k = cbeg[f]; k < cbeg[l]; ++k) {
      const int32_t r = erow[k];
      if (r >= l && mark[r] != s) {
        mark[r] = s;
        ls[q++] = r;
      }
    }
    for (int32_t c = chead[s]; c >= 0; c = cnext[c]) {
      for (int64_t p = lpi[c]; p < lpi[c + 1]; ++p) {
        const int32_t r = ls[p];
        if (r >= l && mark[r] != s) {
          mark[r] = s;
          ls[q++] = r;
        }
      }
    }
    if (q != lpi[s + 1]) {
      VLR_sysenv_stopdbg(sys, VLR_HERE, "Data violation: supernode %d has %lld rows, not %lld", s,
                         static_cast<long long>(q - lpi[s]),
                         static_cast<long long>(lpi[s + 1] - lpi[s]));
    }
    std::sort(ls.get() + lpi[s] + (l - f), ls.get() + q);
    if (q > lpi[s] + (l - f)) {  // the parent holds the first row below
      const int32_t sp = snode[ls[lpi[s] + (l - f)]];
      cnext[s] = chead[sp];
      chead[sp] = s;
    }
  }
  // The map from A's entries into the value blocks.
  int32_t* relpos = mark;
  for (int32_t s = 0; s < ns; ++s) {
    const int32_t f = super[s], l = super[s + 1];
    const int64_t m = lpi[s + 1] - lpi[s];
    for (int64_t p = lpi[s]; p < lpi[s + 1]; ++p)
      relpos[ls[p]] = static_cast<int32_t>(p - lpi[s]);
    for (int32_t c = f; c < l; ++c)
      for (int32_t k = cbeg[c]; k < cbeg[c + 1]; ++k)
        amap[ent[k]] = lpx[s] + (c - f) * m + relpos[erow[k]];
  }
  // The largest update one supernode sends to another: rows from the target's first on, by the
  // rows that fall inside the target.
  int64_t maxcsize = 1;
  for (int32_t d = 0; d < ns; ++d) {
    const int32_t* rd = ls.get() + lpi[d];
    const int32_t md = static_cast<int32_t>(lpi[d + 1] - lpi[d]);
    int32_t p1 = super[d + 1] - super[d];
    while (p1 < md) {
      const int32_t t = snode[rd[p1]];
      int32_t pe = p1;
      while (pe < md && rd[pe] < super[t + 1])
        ++pe;
      maxcsize = std::max(maxcsize, int64_t{md - p1} * (pe - p1));
      p1 = pe;
    }
  }
  // Numerical space: values, the kernels' packing, one update, D, s and the solve vector; the
  // integer lists of the left-looking factor.
  const int64_t dwork = VLR_lalib_worksize() + maxcsize + 3 * int64_t{n} + 1;
  SysBuf<double> lx(sys, VLR_HERE, std::max<int64_t>(lpx[ns], 1));
  SysBuf<double> work(sys, VLR_HERE, dwork);
  SysBuf<int32_t> iw(sys, VLR_HERE, int64_t{n} + 3 * int64_t{ns} + 1);
  if (!lx || !work || !iw) return kSfkNoSpace;
  obj->nsuper = ns;
  obj->super = super.release();
  obj->snode = snode.release();
  obj->lpi = lpi.release();
  obj->ls = ls.release();
  obj->lpx = lpx.release();
  obj->lx = lx.release();
  obj->amap = amap.release();
  obj->work = work.release();
  obj->cbuf = obj->work + VLR_lalib_worksize();
  obj->diag = obj->cbuf + maxcsize;
  obj->sdiag = obj->diag + n;
  obj->xbuf = obj->sdiag + n;
  obj->relpos = iw.release();
  obj->head = obj->relpos + n;
  obj->next = obj->head + ns;
  obj->dnext = obj->next + ns;
  obj->maxcsize = maxcsize;
  obj->nnzl = nnzl;
  obj->fflops = fflops;
  obj->state = 3;
  return kSfkOk;
}

}  // namespace vlr
