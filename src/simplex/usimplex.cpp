// src/simplex/usimplex.cpp: kernels the pivoting optimisers share for their start: a maximum
// transversal of a set of columns, the triangular placement of columns in place of slacks, the
// side a ranged row's slack takes when it leaves, and the crash that puts them together.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "pivot/pivot.h"
#include "simplex/simdat.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// Puts structural k in the basis at position p in place of the slack there, which leaves for
// the side of its range chosen below.
void simplex_placeslack(SimEngine& e, int32_t p, int32_t k) {
  const int32_t old = e.head[static_cast<size_t>(p)];
  e.head[static_cast<size_t>(p)] = k;
  e.pos[static_cast<size_t>(k)] = p;
  e.nstat[static_cast<size_t>(k)] = kNbBasic;
  e.setnonbasic(old, VLR_simplex_chooseranged(e, old));
}

}  // namespace

int32_t VLR_simplex_maxtransversal(SysEnv* sys, int32_t m, const int64_t* beg, const int32_t* idx,
                                   int32_t ncol, const int32_t* cols, int32_t* rmatch) {
  if (m <= 0 || ncol <= 0) {
    std::fill(rmatch, rmatch + std::max(m, 0), -1);
    return 0;
  }
  const auto sm = static_cast<size_t>(m);
  SimVec<int32_t> inew(sm, 0, MemAllocator<int32_t>(sys));
  for (int32_t i = 0; i < m; ++i)
    inew[static_cast<size_t>(i)] = i;
  SimVec<int32_t> rowperm(sm, 0, MemAllocator<int32_t>(sys));
  SimVec<int32_t> colperm(static_cast<size_t>(ncol), 0, MemAllocator<int32_t>(sys));
  SimVec<int32_t> rbeg(sm + 2, 0, MemAllocator<int32_t>(sys));
  SimVec<int32_t> cbeg(sm + 2, 0, MemAllocator<int32_t>(sys));
  SimVec<int32_t> iwork(7 * sm + 7, 0, MemAllocator<int32_t>(sys));
  BasordSet set{m, beg, idx, m, inew.data(), nullptr, ncol, cols};
  BasordBlocks blk{rowperm.data(), colperm.data(), rbeg.data(), cbeg.data(), 0, 0};
  std::fill(rmatch, rmatch + m, -1);
  VLR_basord_blkupr(sys, &set, rmatch, static_cast<int32_t>(iwork.size()), iwork.data(), &blk);
  return blk.rank;
}

int8_t VLR_simplex_chooseranged(const SimEngine& e, int32_t k) {
  const auto s = static_cast<size_t>(k);
  const double l = e.lb[s], u = e.ub[s];
  if (l > -kInf && u < kInf && l != u) {
    // Both sides finite: the one nearer zero keeps the basic values small.
    return std::fabs(l) <= std::fabs(u) ? kNbLower : kNbUpper;
  }
  return e.boundstatus(k, e.cost[s]);
}

// Structural columns replace slacks, free columns first (a free variable out of the basis is
// dual feasible only at a zero reduced cost) and then columns without a cost into the equations
// (whose slacks, fixed at zero, would leave at once; a column with a cost would move the duals
// and spoil the signs of other reduced costs). Each pivots on the largest entry it has in a row
// still open, and only when that entry is close to the largest of its column; the other rows of
// the column then close, so that the basis stays triangular. At most percent of the rows take
// a structural.
int32_t VLR_simplex_triangulize(SimEngine& e, int32_t percent) {
  const int32_t m = e.m, n = e.n;
  const int64_t limit = static_cast<int64_t>(m) * std::min(percent, 100) / 100;
  if (limit <= 0) return 0;
  SimVec<int8_t> closed{static_cast<size_t>(m), int8_t{0}, MemAllocator<int8_t>(e.sys)};
  SimVec<std::pair<int64_t, int32_t>> order{MemAllocator<std::pair<int64_t, int32_t>>(e.sys)};
  for (int32_t i = 0; i < m; ++i) {
    const auto si = static_cast<size_t>(i);
    if (e.lb[si] == -kInf && e.ub[si] == kInf) closed[si] = 1;  // a free row keeps its slack
  }
  // Free columns first, then the others that are not fixed; sparser ones first in each class.
  for (int32_t j = 0; j < n; ++j) {
    const auto sk = static_cast<size_t>(m + j);
    if (e.lb[sk] == e.ub[sk]) continue;
    const bool free = e.lb[sk] == -kInf && e.ub[sk] == kInf;
    if (!free && e.cost[sk] != 0.0) continue;
    order.emplace_back((free ? 0 : int64_t{1} << 40) + (e.abeg[j + 1] - e.abeg[j]), j);
  }
  std::sort(order.begin(), order.end());
  int32_t placed = 0;
  for (const auto& [key, j] : order) {
    if (placed >= limit) break;
    const bool free = key < (int64_t{1} << 40);
    double amax = 0.0, best = 0.0;
    int32_t row = -1;
    for (int64_t t = e.abeg[j]; t < e.abeg[j + 1]; ++t) {
      const int32_t i = e.aidx[t];
      const double a = std::fabs(e.aval[t]);
      amax = std::max(amax, a);
      const auto si = static_cast<size_t>(i);
      if (closed[si] != 0) continue;
      if (!free && e.lb[si] != e.ub[si]) continue;  // beyond the free columns, equations only
      if (a > best) best = a, row = i;
    }
    if (row < 0 || best < 0.9 * amax) continue;
    for (int64_t t = e.abeg[j]; t < e.abeg[j + 1]; ++t)
      closed[static_cast<size_t>(e.aidx[t])] = 1;
    const int32_t k = m + j;
    e.head[static_cast<size_t>(row)] = k;
    e.pos[static_cast<size_t>(k)] = row;
    e.nstat[static_cast<size_t>(k)] = kNbBasic;
    e.setnonbasic(row, e.boundstatus(row, e.cost[static_cast<size_t>(row)]));
    ++placed;
  }
  return placed;
}

int32_t VLR_simplex_crash(SimEngine& e, int32_t percent, bool widen) {
  const int32_t m = e.m;
  int32_t placed = VLR_simplex_triangulize(e, percent);
  if (widen && m > 0) {
    // Up to the same share of the rows, the free columns the triangular pass left out join the
    // structurals of the basis when a maximum transversal of the two together matches them to
    // rows; each row left unmatched keeps its slack. The factor that follows repairs a
    // numerically short rank.
    SimVec<int32_t> cols{MemAllocator<int32_t>(e.sys)};
    for (int32_t p = 0; p < m; ++p) {
      const int32_t k = e.head[static_cast<size_t>(p)];
      if (k >= m) cols.push_back(k - m);
    }
    const auto basic = static_cast<int32_t>(cols.size());
    const int64_t limit = static_cast<int64_t>(m) * std::min(percent, 100) / 100;
    for (int32_t j = 0; j < e.n && static_cast<int64_t>(cols.size()) < limit; ++j) {
      const auto sk = static_cast<size_t>(m + j);
      if (e.pos[sk] < 0 && e.lb[sk] == -kInf && e.ub[sk] == kInf) cols.push_back(j);
    }
    const auto ncol = static_cast<int32_t>(cols.size());
    if (ncol > basic) {
      SimVec<int32_t> rmatch(static_cast<size_t>(m), -1, MemAllocator<int32_t>(e.sys));
      const int32_t rank =
          VLR_simplex_maxtransversal(e.sys, m, e.abeg, e.aidx, ncol, cols.data(), rmatch.data());
      if (rank > basic) {
        // The matched columns by their rows, the slacks elsewhere.
        e.slackbasis();
        placed = 0;
        for (int32_t i = 0; i < m; ++i) {
          const int32_t c = rmatch[static_cast<size_t>(i)];
          if (c < 0) continue;
          simplex_placeslack(e, i, m + cols[static_cast<size_t>(c)]);
          ++placed;
        }
      }
    }
  }
  return placed;
}

}  // namespace vlr
