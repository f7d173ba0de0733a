// src/prslv/prslvdup.cpp: duplicate rows and columns. Lines are hashed over their living entries
// scaled by the entry of the smallest index, sorted by hash, and lines of equal hash compared
// entry by entry; a row that is a multiple of another gives its bounds to the other and goes, a
// column that is a multiple of another, with the cost in the same ratio, merges into it.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "prslv/prslvdat.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// Two entries agree when they differ by at most this much relative to their size.
constexpr double kDupTol = 1e-12;

uint64_t prslvdup_mix(uint64_t x) {
  x ^= x >> 33;
  x *= 0xff51afd7ed558ccdULL;
  x ^= x >> 33;
  x *= 0xc4ceb9fe1a85ec53ULL;
  x ^= x >> 33;
  return x;
}

// The living entries of a line: count, the entry of the smallest index, and a hash that does
// not depend on the order of the entries nor on a common factor (values are quantised after
// scaling, so lines that differ in the last digits may hash apart and are then not found).
struct LineKey {
  int32_t line;
  int32_t count;
  uint64_t hash;
  double ref;
  double ratio;  // columns: cost over ref, which duplicates share; rows: 0
};

LineKey prslvdup_key(const PrslvLines& l, int32_t q, const int8_t* alive) {
  LineKey key{q, 0, 0, 0.0, 0.0};
  int32_t first = std::numeric_limits<int32_t>::max();
  for (int64_t k = l.beg[q]; k < VLR_prslv_lineend(l, q); ++k) {
    const int32_t o = l.idx[k];
    if (!alive[o]) continue;
    ++key.count;
    if (o < first) {
      first = o;
      key.ref = l.val[k];
    }
  }
  for (int64_t k = l.beg[q]; k < VLR_prslv_lineend(l, q) && key.count > 0; ++k) {
    const int32_t o = l.idx[k];
    if (!alive[o]) continue;
    const auto quant = static_cast<int64_t>(std::llround(l.val[k] / key.ref * 1048576.0));
    key.hash += prslvdup_mix(static_cast<uint64_t>(o) * 0x9e3779b97f4a7c15ULL ^
                             prslvdup_mix(static_cast<uint64_t>(quant)));
  }
  return key;
}

bool prslvdup_less(const LineKey& a, const LineKey& b) {
  if (a.count != b.count) return a.count < b.count;
  if (a.hash != b.hash) return a.hash < b.hash;
  if (a.ratio != b.ratio) return a.ratio < b.ratio;
  return a.line < b.line;
}

// Whether line r is lambda times line i over the living entries, both of `count` entries.
// scatter holds line i's values at their indices and is zero elsewhere.
bool prslvdup_multiple(const PrslvLines& l, int32_t r, const int8_t* alive, const double* scatter,
                       double lambda) {
  for (int64_t k = l.beg[r]; k < VLR_prslv_lineend(l, r); ++k) {
    const int32_t o = l.idx[k];
    if (!alive[o]) continue;
    const double want = lambda * scatter[o];
    if (std::fabs(l.val[k] - want) > kDupTol * std::fabs(l.val[k])) return false;
  }
  return true;
}

void prslvdup_scatter(const PrslvLines& l, int32_t q, const int8_t* alive, double* scatter,
                      double factor) {
  for (int64_t k = l.beg[q]; k < VLR_prslv_lineend(l, q); ++k) {
    if (alive[l.idx[k]]) scatter[l.idx[k]] = factor * l.val[k];
  }
}

// Row r = lambda row i: its bounds divided by lambda narrow row i's, and row r goes. The flags
// tell which side of row i came from row r.
int32_t prslvdup_mergerows(const PrslvParam& param, prslv* p, int32_t i, int32_t r, double lambda,
                           PrslvStat* stat) {
  double lo = lambda > 0 ? p->rl[r] / lambda : p->ru[r] / lambda;
  double hi = lambda > 0 ? p->ru[r] / lambda : p->rl[r] / lambda;
  if (std::isinf(p->rl[r])) (lambda > 0 ? lo : hi) = lambda > 0 ? -kInf : kInf;
  if (std::isinf(p->ru[r])) (lambda > 0 ? hi : lo) = lambda > 0 ? kInf : -kInf;
  int32_t flags = 0;
  double nl = p->rl[i], nu = p->ru[i];
  if (lo > nl) {
    nl = lo;
    flags |= kPrslvSinLower;
  }
  if (hi < nu) {
    nu = hi;
    flags |= kPrslvSinUpper;
  }
  if (nl > nu) {
    if (nl - nu > param.tolx * (1.0 + std::fabs(nu))) {
      if (stat->prosta == 0) stat->prosta = VLR_PRO_STA_PRIM_INFEAS;
      return kPrslvOk;
    }
    if (flags & kPrslvSinLower) {
      nl = nu;
    } else {
      nu = nl;
    }
  }
  int32_t* is = nullptr;
  double* ds = nullptr;
  const int32_t res = VLR_prslv_beginpushstk(p, kPrslvDupCon, 3, 3, &is, &ds);
  if (res != kPrslvOk) return res;
  is[0] = r;
  is[1] = i;
  is[2] = flags;
  ds[0] = lambda;
  ds[1] = p->rl[i];
  ds[2] = p->ru[i];
  VLR_prslv_endpushstk(p);
  p->rl[i] = nl;
  p->ru[i] = nu;
  p->rowalive[r] = 0;
  for (int64_t k = p->row.beg[r]; k < VLR_prslv_lineend(p->row, r); ++k) {
    if (p->colalive[p->row.idx[k]]) --p->varnz[p->row.idx[k]];
  }
  ++stat->numdupcon;
  return kPrslvOk;
}

// Column k = lambda column j with c_k = lambda c_j: x_j + lambda x_k acts as one column, which
// keeps j's place with the sum of the two ranges.
int32_t prslvdup_mergecols(prslv* p, int32_t j, int32_t k, double lambda, PrslvStat* stat) {
  const double lk = lambda > 0 ? p->cl[k] : p->cu[k], uk = lambda > 0 ? p->cu[k] : p->cl[k];
  const double nl = std::isinf(p->cl[j]) || std::isinf(lk) ? -kInf : p->cl[j] + lambda * lk;
  const double nu = std::isinf(p->cu[j]) || std::isinf(uk) ? kInf : p->cu[j] + lambda * uk;
  int32_t* is = nullptr;
  double* ds = nullptr;
  const int32_t res = VLR_prslv_beginpushstk(p, kPrslvDupVar, 2, 5, &is, &ds);
  if (res != kPrslvOk) return res;
  is[0] = k;
  is[1] = j;
  ds[0] = lambda;
  ds[1] = p->cl[j];
  ds[2] = p->cu[j];
  ds[3] = p->cl[k];
  ds[4] = p->cu[k];
  VLR_prslv_endpushstk(p);
  p->cl[j] = nl;
  p->cu[j] = nu;
  p->colalive[k] = 0;
  for (int64_t e = p->col.beg[k]; e < VLR_prslv_lineend(p->col, k); ++e) {
    if (p->rowalive[p->col.idx[e]]) --p->connz[p->col.idx[e]];
  }
  ++stat->numdupvar;
  return kPrslvOk;
}

// Sorted keys of the living lines of one view with at least two entries; returns their number.
// With costs (columns), lines of one pattern come in the order of their cost ratio.
int32_t prslvdup_keys(const PrslvLines& l, const int8_t* linealive, const int8_t* otheralive,
                      const double* cost, LineKey* keys) {
  int32_t nk = 0;
  for (int32_t q = 0; q < l.num; ++q) {
    if (!linealive[q]) continue;
    LineKey key = prslvdup_key(l, q, otheralive);
    if (cost != nullptr && key.count > 0) key.ratio = cost[q] / key.ref;
    if (!std::isfinite(key.ratio)) key.ratio = 0.0;  // keeps the sort's order strict
    if (key.count >= 2) keys[nk++] = key;
  }
  std::sort(keys, keys + nk, prslvdup_less);
  return nk;
}

}  // namespace

int32_t VLR_prslv_checkdupcon(const PrslvParam& param, prslv* p, PrslvStat* stat,
                              int32_t* changed) {
  const int32_t m = p->numcon;
  SysBuf<LineKey> keys(p->sys, VLR_HERE, m);
  SysBuf<double> scatter(p->sys, VLR_HERE, p->numvar);
  if (!keys || !scatter) return kPrslvNoSpace;
  const int32_t nk = prslvdup_keys(p->row, p->rowalive, p->colalive, nullptr, keys.get());
  for (int32_t g = 0; g < nk && stat->prosta == 0;) {
    int32_t end = g + 1;
    while (end < nk && keys[end].count == keys[g].count && keys[end].hash == keys[g].hash)
      ++end;
    // Each row of the group against the first living one before it.
    for (int32_t a = g; a < end && stat->prosta == 0; ++a) {
      const int32_t i = keys[a].line;
      if (!p->rowalive[i]) continue;
      prslvdup_scatter(p->row, i, p->colalive, scatter.get(), 1.0);
      for (int32_t b = a + 1; b < end && stat->prosta == 0; ++b) {
        const int32_t r = keys[b].line;
        const double lambda = keys[b].ref / keys[a].ref;
        if (!p->rowalive[r] || !prslvdup_multiple(p->row, r, p->colalive, scatter.get(), lambda)) {
          continue;
        }
        const int32_t res = prslvdup_mergerows(param, p, i, r, lambda, stat);
        if (res != kPrslvOk) return res;
        *changed = 1;
      }
      prslvdup_scatter(p->row, i, p->colalive, scatter.get(), 0.0);
    }
    g = end;
  }
  return kPrslvOk;
}

int32_t VLR_prslv_checkdupvar(const PrslvParam& param, prslv* p, PrslvStat* stat,
                              int32_t* changed) {
  const int32_t n = p->numvar;
  SysBuf<LineKey> keys(p->sys, VLR_HERE, n);
  SysBuf<double> scatter(p->sys, VLR_HERE, p->numcon);
  if (!keys || !scatter) return kPrslvNoSpace;
  const int32_t nk = prslvdup_keys(p->col, p->colalive, p->rowalive, p->c, keys.get());
  for (int32_t g = 0; g < nk;) {
    int32_t end = g + 1;
    while (end < nk && keys[end].count == keys[g].count && keys[end].hash == keys[g].hash)
      ++end;
    for (int32_t a = g; a < end; ++a) {
      const int32_t j = keys[a].line;
      // Columns of one pattern may be many (one per period or product) with costs of their
      // own: those whose cost ratio lies apart are never compared.
      const double near = 1e-6 * (1.0 + std::fabs(keys[a].ratio));
      int32_t last = a + 1;
      while (last < end && keys[last].ratio - keys[a].ratio <= near)
        ++last;
      if (!p->colalive[j] || last == a + 1) continue;
      prslvdup_scatter(p->col, j, p->rowalive, scatter.get(), 1.0);
      for (int32_t b = a + 1; b < last; ++b) {
        const int32_t k = keys[b].line;
        const double lambda = keys[b].ref / keys[a].ref;
        if (!p->colalive[k] || p->cl[k] == p->cu[k] || p->cl[j] == p->cu[j]) continue;
        // Only columns whose costs are in the same ratio merge; the others are left alone.
        const double ck = p->c[k], want = lambda * p->c[j];
        if (std::fabs(ck - want) > param.tols * 1e-3 * (1.0 + std::fabs(ck))) continue;
        if (!prslvdup_multiple(p->col, k, p->rowalive, scatter.get(), lambda)) continue;
        const int32_t res = prslvdup_mergecols(p, j, k, lambda, stat);
        if (res != kPrslvOk) return res;
        *changed = 1;
      }
      prslvdup_scatter(p->col, j, p->rowalive, scatter.get(), 0.0);
    }
    g = end;
  }
  return kPrslvOk;
}

}  // namespace vlr
