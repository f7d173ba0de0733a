// src/simplex/detectnet.cpp: network structure in a linear problem: whether the whole problem is
// a network once some rows are multiplied by -1, and otherwise a large part that is.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include "simplex/simplex.h"
#include "velor.h"

namespace vlr {

namespace {

template <class T>
using DetVec = std::vector<T, MemAllocator<T>>;

// An entry counts as +-1 within this distance of 1 in absolute value.
constexpr double kDetectTolOne = 1e-12;

inline bool detectnet_isone(double a) {
  return std::fabs(std::fabs(a) - 1.0) <= kDetectTolOne;
}

inline int32_t detectnet_sgn(double a) {
  return a >= 0.0 ? 1 : -1;
}

// The entries of the columns that take part, in the rows that take part, both ways: by column
// (at most two are kept, with a count of all) and by row.
struct DetectGraph {
  DetVec<int32_t> r1, r2;  // [n] first and second row, -1 when missing
  DetVec<double> v1, v2;   // [n] their entries
  DetVec<int32_t> cnt;     // [n] entries in rows that take part
  DetVec<uint8_t> unit;    // [n] all of them +-1
  DetVec<int64_t> rowbeg;  // [m + 1]
  DetVec<int32_t> rowcol;  // columns of each row, among those with at most two entries
  explicit DetectGraph(SysEnv* sys)
      : r1(MemAllocator<int32_t>(sys)),
        r2(MemAllocator<int32_t>(sys)),
        v1(MemAllocator<double>(sys)),
        v2(MemAllocator<double>(sys)),
        cnt(MemAllocator<int32_t>(sys)),
        unit(MemAllocator<uint8_t>(sys)),
        rowbeg(MemAllocator<int64_t>(sys)),
        rowcol(MemAllocator<int32_t>(sys)) {}
};

bool detectnet_colin(const SimLp& lp, int32_t j) {
  return lp.bk[lp.m + j] != VLR_BK_FX;
}

// Fills g for the rows with rowin[i] != 0 and the columns that are not fixed.
void detectnet_graph(const SimLp& lp, const uint8_t* rowin, DetectGraph* g) {
  const int32_t m = lp.m, n = lp.n;
  const auto sn = static_cast<size_t>(n);
  g->r1.assign(sn, -1);
  g->r2.assign(sn, -1);
  g->v1.assign(sn, 0.0);
  g->v2.assign(sn, 0.0);
  g->cnt.assign(sn, 0);
  g->unit.assign(sn, 1);
  g->rowbeg.assign(static_cast<size_t>(m) + 1, 0);
  for (int32_t j = 0; j < n; ++j) {
    if (!detectnet_colin(lp, j)) continue;
    const auto sj = static_cast<size_t>(j);
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
      const int32_t i = lp.aidx[p];
      if (rowin[i] == 0 || lp.aval[p] == 0.0) continue;
      const int32_t c = g->cnt[sj]++;
      if (!detectnet_isone(lp.aval[p])) g->unit[sj] = 0;
      if (c == 0) g->r1[sj] = i, g->v1[sj] = lp.aval[p];
      if (c == 1) g->r2[sj] = i, g->v2[sj] = lp.aval[p];
    }
    if (g->cnt[sj] <= 2) {
      if (g->r1[sj] >= 0) ++g->rowbeg[static_cast<size_t>(g->r1[sj]) + 1];
      if (g->r2[sj] >= 0) ++g->rowbeg[static_cast<size_t>(g->r2[sj]) + 1];
    }
  }
  for (int32_t i = 0; i < m; ++i)
    g->rowbeg[static_cast<size_t>(i) + 1] += g->rowbeg[static_cast<size_t>(i)];
  g->rowcol.assign(static_cast<size_t>(std::max<int64_t>(g->rowbeg[static_cast<size_t>(m)], 1)), 0);
  DetVec<int64_t> at(g->rowbeg.begin(), g->rowbeg.end() - 1, g->rowbeg.get_allocator());
  for (int32_t j = 0; j < n; ++j) {
    const auto sj = static_cast<size_t>(j);
    if (!detectnet_colin(lp, j) || g->cnt[sj] > 2) continue;
    if (g->r1[sj] >= 0) g->rowcol[static_cast<size_t>(at[static_cast<size_t>(g->r1[sj])]++)] = j;
    if (g->r2[sj] >= 0) g->rowcol[static_cast<size_t>(at[static_cast<size_t>(g->r2[sj])]++)] = j;
  }
}

// The sign row `other` needs so that column j comes out an arc, given the sign of row `i`.
inline int32_t detectnet_othersign(const DetectGraph& g, int32_t j, int32_t i, int32_t si,
                                   int32_t* other) {
  const auto sj = static_cast<size_t>(j);
  const bool first = g.r1[sj] == i;
  *other = first ? g.r2[sj] : g.r1[sj];
  const double vi = first ? g.v1[sj] : g.v2[sj];
  const double vo = first ? g.v2[sj] : g.v1[sj];
  return -si * detectnet_sgn(vi) * detectnet_sgn(vo);
}

// Signs rows from the columns in order; each new sign travels through its row's columns by a
// queue before the next column. A column whose rows already have signs that do not suit is
// refused (strict: the answer is no network at all; otherwise the column stays out). Columns
// taken get colin[j] = 1.
bool detectnet_sign(const SimLp& lp, const DetectGraph& g, bool strict, int32_t* sign,
                    uint8_t* colin, DetVec<int32_t>* queue) {
  const int32_t n = lp.n;
  auto usable = [&](int32_t j) {
    const auto sj = static_cast<size_t>(j);
    return detectnet_colin(lp, j) && g.cnt[sj] <= 2 && g.unit[sj] != 0;
  };
  // A column whose ends are both signed: it is an arc when their signed entries differ.
  auto suits = [&](int32_t j) {
    const auto sj = static_cast<size_t>(j);
    if (g.r2[sj] < 0) return true;
    return sign[g.r1[sj]] * detectnet_sgn(g.v1[sj]) != sign[g.r2[sj]] * detectnet_sgn(g.v2[sj]);
  };
  for (int32_t j0 = 0; j0 < n; ++j0) {
    if (!usable(j0) || colin[j0] != 0) continue;
    const auto sj0 = static_cast<size_t>(j0);
    if (g.r1[sj0] < 0) {
      colin[j0] = 1;  // no entry in the network's rows: a loop at the root
      continue;
    }
    const int32_t i0 = g.r1[sj0];
    if (sign[i0] == 0) sign[i0] = detectnet_sgn(g.v1[sj0]);
    size_t head = 0;
    queue->clear();
    queue->push_back(i0);
    while (head < queue->size()) {
      const int32_t i = (*queue)[head++];
      for (int64_t p = g.rowbeg[static_cast<size_t>(i)]; p < g.rowbeg[static_cast<size_t>(i) + 1];
           ++p) {
        const int32_t j = g.rowcol[static_cast<size_t>(p)];
        if (colin[j] != 0 || !usable(j)) continue;
        int32_t other = -1;
        const int32_t want = detectnet_othersign(g, j, i, sign[i], &other);
        if (other >= 0 && sign[other] == 0) {
          sign[other] = want;
          queue->push_back(other);
        }
        if (!suits(j)) {
          if (strict) return false;
          continue;
        }
        colin[j] = 1;
      }
    }
  }
  return true;
}

}  // namespace

int32_t detectnet_pure(SysEnv* sys, const SimLp& lp, int32_t* sign, uint8_t* colin, int32_t* numcon,
                       int32_t* numvar) {
  const int32_t m = lp.m, n = lp.n;
  std::fill(sign, sign + m, 0);
  std::fill(colin, colin + n, uint8_t{0});
  *numcon = *numvar = 0;
  DetVec<uint8_t> rowin(static_cast<size_t>(std::max(m, 1)), 0, MemAllocator<uint8_t>(sys));
  for (int32_t i = 0; i < m; ++i)
    rowin[static_cast<size_t>(i)] = lp.bk[i] != VLR_BK_FR ? 1 : 0;
  // The shape test first: it answers most problems that are not networks in one pass.
  for (int32_t j = 0; j < n; ++j) {
    if (!detectnet_colin(lp, j)) continue;
    int32_t cnt = 0;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
      if (rowin[static_cast<size_t>(lp.aidx[p])] == 0 || lp.aval[p] == 0.0) continue;
      if (++cnt > 2 || !detectnet_isone(lp.aval[p])) return 0;
    }
  }
  // Rows written as flow out minus flow in need no search: try every sign +1 in one pass.
  bool plain = true;
  for (int32_t j = 0; j < n && plain; ++j) {
    if (!detectnet_colin(lp, j)) continue;
    int32_t plus = 0, minus = 0;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
      if (rowin[static_cast<size_t>(lp.aidx[p])] == 0 || lp.aval[p] == 0.0) continue;
      (lp.aval[p] > 0.0 ? plus : minus)++;
    }
    plain = plus <= 1 && minus <= 1;
    colin[j] = 1;
  }
  if (plain) {
    for (int32_t i = 0; i < m; ++i) {
      sign[i] = rowin[static_cast<size_t>(i)];
      *numcon += sign[i];
    }
    for (int32_t j = 0; j < n; ++j)
      *numvar += colin[j];
    return 1;
  }
  std::fill(colin, colin + n, uint8_t{0});
  DetectGraph g(sys);
  detectnet_graph(lp, rowin.data(), &g);
  DetVec<int32_t> queue{MemAllocator<int32_t>(sys)};
  queue.reserve(static_cast<size_t>(std::max(m, 1)));
  if (!detectnet_sign(lp, g, true, sign, colin, &queue)) {
    std::fill(sign, sign + m, 0);
    std::fill(colin, colin + n, uint8_t{0});
    return 0;
  }
  // Rows no column reaches are nodes of their own.
  for (int32_t i = 0; i < m; ++i) {
    if (rowin[static_cast<size_t>(i)] != 0 && sign[i] == 0) sign[i] = 1;
    *numcon += sign[i] != 0 ? 1 : 0;
  }
  for (int32_t j = 0; j < n; ++j)
    *numvar += colin[j];
  return 1;
}

namespace {

// A part of the rows, by the method: simple takes the rows whose entries are all +-1; advanced
// starts from every row that is not free and drops, a few times over, rows most of whose columns
// have more than two entries among the rows kept.
void detectnet_rows(const SimLp& lp, int32_t method, DetectGraph* g, DetVec<uint8_t>* rowin) {
  const int32_t m = lp.m, n = lp.n;
  for (int32_t i = 0; i < m; ++i)
    (*rowin)[static_cast<size_t>(i)] = lp.bk[i] != VLR_BK_FR ? 1 : 0;
  DetVec<int32_t> len(static_cast<size_t>(m), 0, g->r1.get_allocator());
  DetVec<int32_t> blame(static_cast<size_t>(m), 0, len.get_allocator());
  for (int32_t j = 0; j < n; ++j) {
    if (!detectnet_colin(lp, j)) continue;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
      const auto si = static_cast<size_t>(lp.aidx[p]);
      ++len[si];
      if (method == VLR_NETWORK_DETECT_SIMPLE && !detectnet_isone(lp.aval[p])) (*rowin)[si] = 0;
    }
  }
  if (method == VLR_NETWORK_DETECT_ADVANCED) {
    for (int32_t pass = 0; pass < 4; ++pass) {
      std::fill(blame.begin(), blame.end(), 0);
      for (int32_t j = 0; j < n; ++j) {
        if (!detectnet_colin(lp, j)) continue;
        int32_t cnt = 0;
        bool unit = true;
        for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
          if ((*rowin)[static_cast<size_t>(lp.aidx[p])] == 0) continue;
          ++cnt;
          unit = unit && detectnet_isone(lp.aval[p]);
        }
        if (cnt <= 2 && unit) continue;
        // The culprits: rows with entries other than +-1, else the column's longest rows (side
        // constraints are mostly longer than a node's row).
        int32_t longest = 0;
        for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
          const auto si = static_cast<size_t>(lp.aidx[p]);
          if ((*rowin)[si] != 0) longest = std::max(longest, len[si]);
        }
        for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
          const auto si = static_cast<size_t>(lp.aidx[p]);
          if ((*rowin)[si] == 0) continue;
          if (unit ? len[si] == longest : !detectnet_isone(lp.aval[p])) ++blame[si];
        }
      }
      bool dropped = false;
      for (int32_t i = 0; i < m; ++i) {
        const auto si = static_cast<size_t>(i);
        if ((*rowin)[si] != 0 && 2 * blame[si] > len[si]) (*rowin)[si] = 0, dropped = true;
      }
      if (!dropped) break;
    }
  }
  detectnet_graph(lp, rowin->data(), g);
}

}  // namespace

int32_t VLR_simplex_detectnet(SysEnv* sys, const SimLp& lp, int32_t method, int32_t* sign,
                              uint8_t* colin, int32_t* numcon, int32_t* numvar, int32_t* flag) {
  *flag = 0;
  *numcon = *numvar = 0;
  try {
    if (detectnet_pure(sys, lp, sign, colin, numcon, numvar) == 1) {
      *flag = 1;
      return kSimOk;
    }
    const int32_t m = lp.m, n = lp.n;
    DetVec<int32_t> bestsign(sign, sign + m, MemAllocator<int32_t>(sys));
    DetVec<uint8_t> bestcol(colin, colin + n, MemAllocator<uint8_t>(sys));
    DetVec<uint8_t> rowin(static_cast<size_t>(std::max(m, 1)), 0, MemAllocator<uint8_t>(sys));
    DetVec<int32_t> queue{MemAllocator<int32_t>(sys)};
    queue.reserve(static_cast<size_t>(std::max(m, 1)));
    DetectGraph g(sys);
    int32_t bestrows = -1, bestcols = -1;
    for (int32_t meth = VLR_NETWORK_DETECT_SIMPLE; meth <= VLR_NETWORK_DETECT_ADVANCED; ++meth) {
      if (method != VLR_NETWORK_DETECT_FREE && meth != method) continue;
      detectnet_rows(lp, meth, &g, &rowin);
      std::fill(sign, sign + m, 0);
      std::fill(colin, colin + n, uint8_t{0});
      detectnet_sign(lp, g, false, sign, colin, &queue);
      int32_t rows = 0, cols = 0;
      for (int32_t i = 0; i < m; ++i)
        rows += sign[i] != 0 ? 1 : 0;
      for (int32_t j = 0; j < n; ++j)
        cols += colin[j];
      if (rows > bestrows || (rows == bestrows && cols > bestcols)) {
        bestrows = rows, bestcols = cols;
        std::copy(sign, sign + m, bestsign.begin());
        std::copy(colin, colin + n, bestcol.begin());
      }
    }
    std::copy(bestsign.begin(), bestsign.end(), sign);
    std::copy(bestcol.begin(), bestcol.end(), colin);
    *numcon = std::max(bestrows, 0);
    *numvar = std::max(bestcols, 0);
    *flag = *numcon > 0 ? 2 : 0;
    return kSimOk;
  } catch (const std::bad_alloc&) {
    return kSimNoSpace;
  }
}

}  // namespace vlr
