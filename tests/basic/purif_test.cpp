// tests/basic/purif_test.cpp: basis identification on small problems whose interior solutions
// are written by hand: a face of optima gives a vertex, a degenerate vertex with many duals
// gives one basis, a vertex needs no push, and a poor interior point is mended by the clean-up.
// Every result is checked from the data: one basic variable a row, the non-basic ones on the
// bounds their keys name, A x = xc, the bounds, d = c - A'y zero on the basis and of the sign
// its key asks for elsewhere.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "basic/basic.h"
#include "velor.h"

namespace {

constexpr double kInf = 1e30;

// A dense problem made into a SimLp, with an interior solution to start from.
struct Problem {
  int32_t m = 0, n = 0;
  std::vector<int64_t> beg;
  std::vector<int32_t> idx;
  std::vector<double> val, c, bl, bu;
  std::vector<int32_t> bk;
  // The interior solution: x (rows first) and y; d follows from them.
  std::vector<double> x, y;

  Problem(int32_t rows, const std::vector<std::vector<double>>& a, std::vector<double> cost)
      : m(rows), n(int32_t(cost.size())), c(std::move(cost)) {
    beg.push_back(0);
    for (int32_t j = 0; j < n; ++j) {
      for (int32_t i = 0; i < m; ++i) {
        if (a[size_t(i)][size_t(j)] == 0.0) continue;
        idx.push_back(i);
        val.push_back(a[size_t(i)][size_t(j)]);
      }
      beg.push_back(int64_t(idx.size()));
    }
  }
  // Bounds of variable k (rows first); a side of kInf is missing.
  void Bound(int32_t k, double l, double u) {
    if (bk.empty()) {
      bk.assign(size_t(m + n), VLR_BK_FR);
      bl.assign(size_t(m + n), -kInf);
      bu.assign(size_t(m + n), kInf);
    }
    const bool hl = l > -kInf, hu = u < kInf;
    bk[size_t(k)] = hl && hu ? (l == u ? VLR_BK_FX : VLR_BK_RA)
                    : hl     ? VLR_BK_LO
                    : hu     ? VLR_BK_UP
                             : VLR_BK_FR;
    bl[size_t(k)] = l;
    bu[size_t(k)] = u;
  }
  vlr::SimLp Lp() const {
    vlr::SimLp lp;
    lp.m = m;
    lp.n = n;
    lp.abeg = beg.data();
    lp.aidx = idx.data();
    lp.aval = val.data();
    lp.c = c.data();
    lp.bk = bk.data();
    lp.bl = bl.data();
    lp.bu = bu.data();
    return lp;
  }
  double Col(int32_t k, int32_t i) const {  // entry i of the column of variable k
    if (k < m) return k == i ? -1.0 : 0.0;
    for (int64_t p = beg[size_t(k - m)]; p < beg[size_t(k - m) + 1]; ++p)
      if (idx[size_t(p)] == i) return val[size_t(p)];
    return 0.0;
  }
  double Cost(int32_t k) const { return k < m ? 0.0 : c[size_t(k - m)]; }
};

struct Result {
  std::vector<int32_t> sk;
  std::vector<double> x, y, d;
  vlr::PrfInfo info;
  int32_t resp = -1;
};

Result Identify(const Problem& pb, const vlr::PrfCallbacks& cb = vlr::PrfCallbacks{}) {
  const int32_t nt = pb.m + pb.n;
  std::vector<int32_t> isk(size_t(nt), VLR_SK_BAS);
  std::vector<double> ix = pb.x, iy = pb.y, id(size_t(nt), 0.0);
  for (int32_t k = 0; k < nt; ++k) {
    double dk = pb.Cost(k);
    for (int32_t i = 0; i < pb.m; ++i)
      dk -= pb.Col(k, i) * pb.y[size_t(i)];
    id[size_t(k)] = dk;
  }
  vlr::SimSol itr{isk.data(), ix.data(), iy.data(), id.data()};
  Result r;
  r.sk.assign(size_t(nt), -1);
  r.x.assign(size_t(nt), 0.0);
  r.y.assign(size_t(std::max(pb.m, 1)), 0.0);
  r.d.assign(size_t(nt), 0.0);
  vlr::SimSol bas{r.sk.data(), r.x.data(), r.y.data(), r.d.data()};
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
  vlr::PrfParam par;
  vlr::VLR_prf_setdefaults(&par);
  par.loglevel = 0;
  r.resp = vlr::VLR_prf_puriflp(sys, par, cb, pb.Lp(), itr, &bas, &r.info);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), 0) << "memory left behind";
  return r;
}

// The result checked from the data alone; returns the objective.
double ExpectOptimalBasis(const Problem& pb, const Result& r) {
  constexpr double tol = 1e-9;
  const int32_t nt = pb.m + pb.n;
  EXPECT_EQ(r.resp, 0);
  EXPECT_EQ(r.info.solsta, VLR_SOL_STA_OPTIMAL);
  int32_t nbas = 0;
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = size_t(k);
    const double l = pb.bl[s], u = pb.bu[s], v = r.x[s];
    EXPECT_GE(v, l - tol) << "variable " << k;
    EXPECT_LE(v, u + tol) << "variable " << k;
    switch (r.sk[s]) {
      case VLR_SK_BAS:
        ++nbas;
        EXPECT_NEAR(r.d[s], 0.0, tol) << "basic variable " << k;
        break;
      case VLR_SK_LOW:
        EXPECT_EQ(v, l) << "variable " << k;
        EXPECT_GE(r.d[s], -tol) << "variable " << k;
        break;
      case VLR_SK_UPR:
        EXPECT_EQ(v, u) << "variable " << k;
        EXPECT_LE(r.d[s], tol) << "variable " << k;
        break;
      case VLR_SK_FIX:
        EXPECT_EQ(v, l) << "variable " << k;
        break;
      default:
        ADD_FAILURE() << "variable " << k << " has key " << r.sk[s];
    }
    double dk = pb.Cost(k);
    for (int32_t i = 0; i < pb.m; ++i)
      dk -= pb.Col(k, i) * r.y[size_t(i)];
    EXPECT_NEAR(r.d[s], dk, tol) << "reduced cost of " << k;
  }
  EXPECT_EQ(nbas, pb.m) << "one basic variable a row";
  double obj = 0;
  for (int32_t i = 0; i < pb.m; ++i) {
    double ax = 0;
    for (int32_t k = pb.m; k < nt; ++k)
      ax += pb.Col(k, i) * r.x[size_t(k)];
    EXPECT_NEAR(ax, r.x[size_t(i)], tol) << "row " << i;
  }
  for (int32_t j = 0; j < pb.n; ++j)
    obj += pb.c[size_t(j)] * r.x[size_t(pb.m + j)];
  return obj;
}

// min -x1 - x2 with x1 + x2 <= 1 and both in [0, 1]: every point of the edge x1 + x2 = 1 is
// optimal, and the interior point is its middle. A vertex comes out, by a primal push of the
// column the basis has no room for, without the simplex.
TEST(Purif, AFaceOfOptimaGivesAVertex) {
  Problem pb(1, {{1, 1}}, {-1, -1});
  pb.Bound(0, -kInf, 1);
  pb.Bound(1, 0, 1);
  pb.Bound(2, 0, 1);
  pb.x = {1, 0.5, 0.5};
  pb.y = {-1};
  const Result r = Identify(pb);
  EXPECT_NEAR(ExpectOptimalBasis(pb, r), -1.0, 1e-12);
  EXPECT_EQ(r.info.nsuper, 1);
  EXPECT_GE(r.info.priiter, 1);
  EXPECT_EQ(r.info.cleaned, 0);
  // A vertex: of x1 and x2 one sits on a bound.
  EXPECT_TRUE(r.sk[1] != VLR_SK_BAS || r.sk[2] != VLR_SK_BAS);
}

// min x1 + x2 at (0.5, 0.5), where three rows meet in the plane (x1 + x2 >= 1, x1 - x2 = 0,
// x1 + 2 x2 >= 1.5): the duals form a segment, and the interior point's lies inside it. The
// basis holds both columns and one slack at its bound; the dual push takes that slack's reduced
// cost to zero, so the duals come out at an end of the segment.
TEST(Purif, ADegenerateVertexGivesOneBasisAndAVertexOfTheDuals) {
  Problem pb(3, {{1, 1}, {1, -1}, {1, 2}}, {1, 1});
  pb.Bound(0, 1, kInf);
  pb.Bound(1, 0, 0);
  pb.Bound(2, 1.5, kInf);
  pb.Bound(3, 0, 10);
  pb.Bound(4, 0, 10);
  pb.x = {1, 0, 1.5, 0.5, 0.5};
  pb.y = {0.5, 1.0 / 6, 1.0 / 3};
  const Result r = Identify(pb);
  EXPECT_NEAR(ExpectOptimalBasis(pb, r), 1.0, 1e-12);
  EXPECT_EQ(r.info.cleaned, 0);
  EXPECT_TRUE(std::fabs(r.y[0]) < 1e-12 || std::fabs(r.y[2]) < 1e-12)
      << "y = " << r.y[0] << " " << r.y[1] << " " << r.y[2];
}

// At a vertex already, with strictly complementary duals, nothing is pushed.
TEST(Purif, AVertexNeedsNoPush) {
  Problem pb(2, {{1, 0}, {0, 1}}, {1, 2});
  pb.Bound(0, 1, kInf);
  pb.Bound(1, -kInf, 3);
  pb.Bound(2, 0, 10);
  pb.Bound(3, -5, 5);
  pb.x = {1, -5, 1, -5};
  pb.y = {1, 0};  // row 1 is slack: its value -5 lies inside
  pb.x[1] = -5;
  const Result r = Identify(pb);
  ExpectOptimalBasis(pb, r);
  EXPECT_EQ(r.info.nsuper, 0);
  EXPECT_EQ(r.info.priiter, 0);
  EXPECT_EQ(r.info.cleaned, 0);
}

// A point far from optimal (inside the feasible set, duals that prove nothing): the pushes give
// a basis that is not optimal, and the clean-up by the simplex finishes from it.
TEST(Purif, APoorInteriorPointIsMendedByTheCleanUp) {
  Problem pb(2, {{1, 1, 1}, {1, -1, 0}}, {-1, -2, 0.5});
  pb.Bound(0, -kInf, 4);
  pb.Bound(1, -1, 1);
  pb.Bound(2, 0, 3);
  pb.Bound(3, 0, 3);
  pb.Bound(4, 0, 3);
  pb.x = {2.0, 0.0, 0.6, 0.6, 0.8};
  pb.y = {0.1, 0.1};
  const Result r = Identify(pb);
  // The optimum: x3 = 0, and x2 = x1 + 1 with x1 + x2 = 4, so x = (1.5, 2.5, 0).
  EXPECT_NEAR(ExpectOptimalBasis(pb, r), -6.5, 1e-9);
  EXPECT_EQ(r.info.cleaned, 1);
}

// One row: the scaling takes powers of two whatever the entries, so values and duals come back
// to the problem's own units exactly.
TEST(Purif, ScaledValuesComeBackExactly) {
  Problem pb(1, {{1000.0, 3e-3}}, {2000.0, 1.0});
  pb.Bound(0, 3000, 3000);
  pb.Bound(1, 0, 10);
  pb.Bound(2, 0, 1e6);
  pb.x = {3000, 2.5, 1e5 / 6};  // 1000 * 2.5 + 3e-3 * 1e5 / 6 = 3000
  pb.y = {1.9};                 // d = (2000 - 1900, 1 - 0.0057) > 0: both want their lower bound
  const Result r = Identify(pb);
  const double obj = ExpectOptimalBasis(pb, r);
  EXPECT_NEAR(obj, 6000.0, 1e-9) << "x1 = 3 carries the row at 2000 a unit";
  EXPECT_EQ(r.x[1], 3.0);
}

// Two interior columns that are nearly parallel: the crash keeps one and gives the row of the
// other a slack rather than a basis a thousand times worse conditioned; the push then exchanges
// the slack of the fixed row for the column, and the vertex comes out without the simplex.
TEST(Purif, ANearlyDependentColumnGivesWayToASlackInTheCrash) {
  Problem pb(2, {{1, 1}, {1, 1.001}}, {1, 1});
  pb.Bound(0, 3, 3);
  pb.Bound(1, 3.002, 3.002);
  pb.Bound(2, 0, 4);
  pb.Bound(3, 0, 4);
  pb.x = {3, 3.002, 1, 2};
  pb.y = {1, 0};
  const Result r = Identify(pb);
  EXPECT_NEAR(ExpectOptimalBasis(pb, r), 3.0, 1e-9);
  EXPECT_EQ(r.info.nart, 1);
  EXPECT_EQ(r.info.cleaned, 0);
  EXPECT_EQ(r.sk[2], VLR_SK_BAS);
  EXPECT_EQ(r.sk[3], VLR_SK_BAS);
}

// A stop callback that says stop from its k-th ask on (never when k is 0), and records the
// events it is asked at.
struct StopAt {
  int32_t k = 0;
  std::vector<int32_t> asks;
  static int32_t Ask(void* handle, int32_t code) {
    auto* s = static_cast<StopAt*>(handle);
    s->asks.push_back(code);
    return s->k > 0 && int32_t(s->asks.size()) >= s->k ? 1 : 0;
  }
  vlr::PrfCallbacks Callbacks() {
    vlr::PrfCallbacks cb;
    cb.handle = this;
    cb.stop = Ask;
    return cb;
  }
};

// A run is asked whether to stop between its steps, within the pushes and within the clean-up
// simplex; whichever ask says stop, the run ends there with response 7, asks once more at its
// end, and leaves nothing behind. The problem: 40 rows of random entries over 120 columns in
// [0, 10], from the middle of the box (feasible, far from optimal), so that the pushes are many
// and the clean-up takes many iterations.
TEST(Purif, AStopAtAnyAskEndsTheRunThere) {
  constexpr int32_t m = 40, n = 120;
  uint64_t seed = 12345;
  auto next = [&seed]() {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    return double(seed >> 11) / double(1ULL << 53);
  };
  std::vector<std::vector<double>> a(size_t(m), std::vector<double>(size_t(n), 0.0));
  std::vector<double> c(static_cast<size_t>(n));
  for (int32_t j = 0; j < n; ++j) {
    c[size_t(j)] = std::floor(21 * next()) - 10;
    for (int32_t i = 0; i < m; ++i)
      if (next() < 0.2) a[size_t(i)][size_t(j)] = std::floor(9 * next()) + 1;
  }
  Problem pb(m, a, c);
  pb.x.assign(size_t(m + n), 5.0);
  for (int32_t i = 0; i < m; ++i) {
    double ax = 0;
    for (int32_t j = 0; j < n; ++j)
      ax += 5.0 * a[size_t(i)][size_t(j)];
    pb.x[size_t(i)] = ax;
    pb.Bound(i, ax - 20, ax + 20);
  }
  for (int32_t j = 0; j < n; ++j)
    pb.Bound(m + j, 0, 10);
  pb.y.assign(size_t(m), 0.0);

  StopAt whole;
  const Result full = Identify(pb, whole.Callbacks());
  ExpectOptimalBasis(pb, full);
  ASSERT_EQ(full.info.cleaned, 1);
  ASSERT_GE(full.info.cleanpriiter + full.info.cleanduaiter, 10);
  auto asked = [&whole](int32_t code) {
    return std::count(whole.asks.begin(), whole.asks.end(), code);
  };
  EXPECT_GE(asked(VLR_CALLBACK_IM_PRIMAL_BI), 2);
  EXPECT_GE(asked(VLR_CALLBACK_IM_DUAL_BI), 2);
  EXPECT_GE(asked(VLR_CALLBACK_IM_SIMPLEX_BI), 1);
  // The last ask is the end's, whose answer is not taken.
  const auto total = int32_t(whole.asks.size());
  for (int32_t k = 1; k < total; ++k) {
    StopAt stop;
    stop.k = k;
    const Result r = Identify(pb, stop.Callbacks());
    EXPECT_EQ(r.resp, 7) << "stop at ask " << k;
    EXPECT_EQ(int32_t(stop.asks.size()), k + 1) << "stop at ask " << k;
  }
}

}  // namespace
