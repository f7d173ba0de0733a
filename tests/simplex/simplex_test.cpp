// tests/simplex/simplex_test.cpp: the pivoting optimisers on problems small enough to follow by
// hand: pinned iteration counts and bases, a problem that cycles under naive pivoting, a start
// basis that is singular, a start that has lost primal feasibility, and the bound-swap ratio
// test that passes several break points in one iteration.
// SPDX-License-Identifier: Apache-2.0
#include "simplex/simplex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "velor.h"

namespace {

constexpr double kInf = 1e30;

// A problem in the simplex's form, held in vectors: rows first, then columns.
struct Lp {
  std::vector<int64_t> beg{0};
  std::vector<int32_t> idx;
  std::vector<double> val, c, bl, bu;
  std::vector<int32_t> bk;
  int32_t m = 0, n = 0;

  void Row(int32_t key, double l, double u) {
    bk.insert(bk.begin() + m, key);
    bl.insert(bl.begin() + m, l);
    bu.insert(bu.begin() + m, u);
    ++m;
  }
  void Col(double cost, int32_t key, double l, double u,
           const std::vector<std::pair<int32_t, double>>& entries) {
    for (const auto& [i, a] : entries) {
      idx.push_back(i);
      val.push_back(a);
    }
    beg.push_back(static_cast<int64_t>(idx.size()));
    c.push_back(cost);
    bk.push_back(key);
    bl.push_back(l);
    bu.push_back(u);
    ++n;
  }
  vlr::SimLp View() const {
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
};

struct Outcome {
  vlr::SimInfo info;
  std::vector<int32_t> sk;
  std::vector<double> x, y, d;
  std::string log;  // with SimplexTest::keeplog_
  int64_t Iters() const { return info.iter[0] + info.iter[1] + info.iter[2] + info.iter[3]; }
};

class SimplexTest : public ::testing::TestWithParam<int32_t> {
 protected:
  void SetUp() override { sys_ = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr); }
  void TearDown() override { EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), 0); }

  // Solves from the slack basis, or from keys when given; the slot is the test's parameter.
  Outcome Solve(const Lp& lp, const std::vector<int32_t>& start = {}, bool dualize = false) {
    vlr::SimParam par;
    vlr::VLR_simplex_initparam(&par);
    par.loglevel = keeplog_ ? 1 : 0;
    par.slot = GetParam();
    par.solveform = dualize ? vlr::kSimFormDual : vlr::kSimFormPrimal;
    par.dualcrash = crash_;
    par.confirm = confirm_ ? 1 : 0;
    if (crash_ > 0) par.scaling = 1;  // the crash's choice of pivots on the data as given
    Outcome r;
    const auto nt = static_cast<size_t>(lp.m + lp.n);
    r.sk = start.empty() ? std::vector<int32_t>(nt, 0) : start;
    r.x.assign(nt, 0.0);
    r.d.assign(nt, 0.0);
    r.y.assign(static_cast<size_t>(lp.m) + 1, 0.0);
    vlr::SimSol sol{r.sk.data(), r.x.data(), r.y.data(), r.d.data()};
    vlr::SimCallbacks cb;
    if (keeplog_) {
      cb.handle = &r.log;
      cb.log = [](void* h, const char* text) { static_cast<std::string*>(h)->append(text); };
    }
    vlr::VLR_simplex_optimize(sys_, par, cb, lp.View(), start.empty() ? 0 : 1, &sol, &r.info);
    return r;
  }

  // Optimality recomputed from the data: bounds and rows, the signs of the reduced costs against
  // the side each variable rests on, and m basic keys.
  static void ExpectOptimal(const Lp& lp, const Outcome& r, double objective) {
    ASSERT_EQ(r.info.solsta, VLR_SOL_STA_OPTIMAL);
    const int32_t m = lp.m;
    double obj = 0.0;
    int32_t basic = 0;
    for (int32_t k = 0; k < m + lp.n; ++k) {
      const int32_t key = lp.bk[k];
      const double l = key == VLR_BK_UP || key == VLR_BK_FR ? -kInf : lp.bl[k];
      const double u = key == VLR_BK_LO || key == VLR_BK_FR ? kInf
                       : key == VLR_BK_FX                   ? lp.bl[k]
                                                            : lp.bu[k];
      double v = r.x[k], dk = k < m ? r.y[k] : lp.c[k - m];
      if (k >= m) {
        obj += lp.c[k - m] * v;
        for (int64_t e = lp.beg[k - m]; e < lp.beg[k - m + 1]; ++e)
          dk -= lp.val[e] * r.y[lp.idx[e]];
      } else {
        v = 0.0;
        for (int32_t j = 0; j < lp.n; ++j) {
          for (int64_t e = lp.beg[j]; e < lp.beg[j + 1]; ++e)
            if (lp.idx[e] == k) v += lp.val[e] * r.x[m + j];
        }
      }
      EXPECT_GE(v, l - 1e-9) << k;
      EXPECT_LE(v, u + 1e-9) << k;
      if (v > l + 1e-9) {
        EXPECT_LE(dk, 1e-9) << k;
      }
      if (v < u - 1e-9) {
        EXPECT_GE(dk, -1e-9) << k;
      }
      basic += r.sk[k] == VLR_SK_BAS;
    }
    EXPECT_NEAR(obj, objective, 1e-9);
    EXPECT_EQ(basic, m);
  }

  vlr::SysEnv* sys_ = nullptr;
  int32_t crash_ = 0;     // percent of rows the crash of the dual start may claim
  bool keeplog_ = false;  // the run's log into Outcome::log
  bool confirm_ = false;  // the start is expected optimal (a postsolved basis)
};

// max 3 x0 + 2 x1 (as min -3 x0 - 2 x1) over x0 + x1 <= 4, x0 + 3 x1 <= 7, x0 <= 3: the optimum
// (3, 1) has x0 at its bound and x1 and row 1's slack basic. The counts of iterations are
// pinned: a change of pricing or ratio test shows here first.
TEST_P(SimplexTest, SmallProblemPinsItsBasisAndIterations) {
  Lp lp;
  lp.Row(VLR_BK_UP, -kInf, 4);
  lp.Row(VLR_BK_UP, -kInf, 7);
  lp.Col(-3, VLR_BK_RA, 0, 3, {{0, 1}, {1, 1}});
  lp.Col(-2, VLR_BK_LO, 0, kInf, {{0, 1}, {1, 3}});
  const Outcome r = Solve(lp);
  ExpectOptimal(lp, r, -11.0);
  EXPECT_EQ(r.sk[0], VLR_SK_UPR);  // row 0 at its bound
  EXPECT_EQ(r.sk[1], VLR_SK_BAS);  // row 1 at 6 below its 7
  EXPECT_EQ(r.sk[2], VLR_SK_UPR);  // x0 at 3
  EXPECT_EQ(r.sk[3], VLR_SK_BAS);
  // Counts of this build's pricing and ratio tests, one road each.
  EXPECT_EQ(r.Iters(), GetParam() != vlr::kSimSlotPrimal ? 2 : 1);
}

// Beale's example cycles under the textbook rule; every road must end at -1.25.
TEST_P(SimplexTest, DegenerateCyclingExampleEndsOptimal) {
  Lp lp;
  lp.Row(VLR_BK_UP, -kInf, 0);
  lp.Row(VLR_BK_UP, -kInf, 0);
  lp.Row(VLR_BK_UP, -kInf, 1);
  lp.Col(-0.75, VLR_BK_LO, 0, kInf, {{0, 0.25}, {1, 0.5}});
  lp.Col(20, VLR_BK_LO, 0, kInf, {{0, -8}, {1, -12}});
  lp.Col(-0.5, VLR_BK_LO, 0, kInf, {{0, -1}, {1, -0.5}, {2, 1}});
  lp.Col(6, VLR_BK_LO, 0, kInf, {{0, 9}, {1, 3}});
  for (bool dualize : {false, true}) {
    const Outcome r = Solve(lp, {}, dualize);
    ExpectOptimal(lp, r, -1.25);
    EXPECT_LT(r.Iters(), 50);
  }
}

// A start basis whose two basic columns are equal is singular: the factor puts a slack in for
// the rank it lacks, and the run still ends optimal.
TEST_P(SimplexTest, SingularStartBasisIsRepaired) {
  Lp lp;
  lp.Row(VLR_BK_LO, 2, kInf);
  lp.Row(VLR_BK_LO, 1, kInf);
  lp.Col(1, VLR_BK_LO, 0, kInf, {{0, 1}, {1, 1}});
  lp.Col(2, VLR_BK_LO, 0, kInf, {{0, 1}, {1, 1}});  // the same column, dearer
  lp.Col(3, VLR_BK_LO, 0, kInf, {{1, 1}});
  const std::vector<int32_t> start = {VLR_SK_LOW, VLR_SK_LOW, VLR_SK_BAS, VLR_SK_BAS, VLR_SK_LOW};
  // Also when the start is expected optimal (a postsolved basis): the check does not take it.
  for (bool confirm : {false, true}) {
    confirm_ = confirm;
    const Outcome r = Solve(lp, start);
    ExpectOptimal(lp, r, 2.0);
    EXPECT_GE(r.info.numartificial + r.info.numsetbacks + r.Iters(), 1);
  }
}

// max 3 x0 + 2 x1 over x0 + x1 <= 4, x0 + 3 x1 <= 6, x0 <= 3: optimum (3, 1).
Lp TwoRowProblem() {
  Lp lp;
  lp.Row(VLR_BK_UP, -kInf, 4);
  lp.Row(VLR_BK_UP, -kInf, 6);
  lp.Col(-3, VLR_BK_RA, 0, 3, {{0, 1}, {1, 1}});
  lp.Col(-2, VLR_BK_LO, 0, kInf, {{0, 1}, {1, 3}});
  return lp;
}

// The optimal basis of a problem is handed back after a bound moved so that a basic variable
// lies outside it: primal feasibility is lost, and the run regains it from there.
TEST_P(SimplexTest, StartThatLostPrimalFeasibilityRecovers) {
  Lp lp = TwoRowProblem();
  const Outcome first = Solve(lp);
  ASSERT_EQ(first.info.solsta, VLR_SOL_STA_OPTIMAL);
  lp.bu[0] = 2;  // row 0 now caps x0 + x1 at 2: x1 = 1 with x0 = 3 no longer fits
  // Also when the start is expected optimal: the check finds it infeasible and the run goes on.
  for (bool confirm : {false, true}) {
    confirm_ = confirm;
    const Outcome again = Solve(lp, first.sk);
    // x0 = 2, x1 = 0 (x0 is worth 3 a unit, x1 2).
    ExpectOptimal(lp, again, -6.0);
    EXPECT_GE(again.Iters(), 1);
    EXPECT_LE(again.Iters(), 4);
  }
}

// A start expected to be optimal is checked after one factor and reported as it is when it
// passes; one that is short of basic variables or not dual feasible is run on as any other.
TEST_P(SimplexTest, ConfirmedStartIsTakenAsItIsOnlyWhenOptimal) {
  const Lp lp = TwoRowProblem();
  const Outcome first = Solve(lp);
  ExpectOptimal(lp, first, -11.0);
  confirm_ = true;
  const Outcome same = Solve(lp, first.sk);
  ExpectOptimal(lp, same, -11.0);
  EXPECT_EQ(same.Iters(), 0);
  EXPECT_EQ(same.info.numfactor, 1);
  EXPECT_EQ(same.sk, first.sk);
  // x0 at its lower bound instead: primal feasible, but its reduced cost has the wrong sign.
  std::vector<int32_t> wrongside = first.sk;
  wrongside[2] = VLR_SK_LOW;
  ExpectOptimal(lp, Solve(lp, wrongside), -11.0);
  // Too few basic variables.
  std::vector<int32_t> short1 = first.sk;
  short1[3] = VLR_SK_LOW;
  ExpectOptimal(lp, Solve(lp, short1), -11.0);
}

// min sum x_j over 0 <= x_j <= 1 and sum x_j >= 3.5 with costs 1, 2, 3, 4, 5: the dual simplex
// passes the cheapest three break points in one ratio test (the first three columns swap to
// their upper bounds) and takes the fourth in; one iteration.
TEST_P(SimplexTest, BoundSwapRatioTestPassesSeveralBreakPoints) {
  Lp lp;
  lp.Row(VLR_BK_LO, 3.5, kInf);
  for (int32_t j = 0; j < 5; ++j)
    lp.Col(j + 1.0, VLR_BK_RA, 0, 1, {{0, 1}});
  const Outcome r = Solve(lp);
  ExpectOptimal(lp, r, 1 + 2 + 3 + 0.5 * 4);
  EXPECT_EQ(r.x[1], 1.0);
  EXPECT_EQ(r.x[2], 1.0);
  EXPECT_EQ(r.x[3], 1.0);
  EXPECT_NEAR(r.x[4], 0.5, 1e-12);
  if (GetParam() != vlr::kSimSlotPrimal) {
    EXPECT_EQ(r.Iters(), 1);
  }
}

// A knapsack row over 300 boxed columns whose ratios c_j / a_j come in tied groups, and two
// columns with only a lower bound among the expensive ones: the long step passes group after
// group in one iteration (the first few found by scans, the rest through an order by ratio grown
// past a hundred columns), taking the cheapest ratios first (the fractional knapsack), and stops
// at the last column it needs. With a demand above what the
// boxed columns can give, every one of them swaps and the cheaper unbounded column enters.
TEST_P(SimplexTest, LongStepPassesTiedGroupsInOrderOfRatio) {
  for (const double demand : {400.0, 1e4}) {
    Lp lp;
    lp.Row(VLR_BK_LO, demand, kInf);
    std::vector<std::pair<double, double>> ratio;  // (c / a, a) of the boxed columns
    uint32_t seed = 12345;
    double supply = 0.0;
    for (int32_t j = 0; j < 300; ++j) {
      seed = seed * 1103515245u + 12345u;
      const double a = 1.0 + (seed >> 16) % 7;
      const double r = 1.0 + (seed >> 8) % 40;  // 40 distinct ratios: groups of ties
      lp.Col(r * a, VLR_BK_RA, 0, 1, {{0, a}});
      ratio.emplace_back(r, a);
      supply += a;
    }
    lp.Col(500.0, VLR_BK_LO, 0, 0, {{0, 1.0}});
    lp.Col(600.0, VLR_BK_LO, 0, 0, {{0, 1.0}});
    const Outcome r = Solve(lp);
    if (demand > supply + 1e3) {
      // The two unbounded columns make any demand reachable: optimal at a high price.
      ExpectOptimal(lp, r, [&] {
        double obj = 0.0;
        for (const auto& [q, a] : ratio)
          obj += q * a;
        return obj + 500.0 * (demand - supply);
      }());
    } else {
      std::sort(ratio.begin(), ratio.end());
      double left = demand, obj = 0.0;
      for (const auto& [q, a] : ratio) {
        const double take = std::min(left, a);
        obj += q * take;
        left -= take;
      }
      ExpectOptimal(lp, r, obj);
    }
    if (GetParam() == vlr::kSimSlotDual) {
      EXPECT_EQ(r.Iters(), 1) << demand;
    }
  }
}

// A square system of equations in free variables, lower triangular once its columns are taken
// in order of length, with a few inequalities and bounded columns around it. The dual start's
// crash puts every free column in place of an equation's slack: a nonsingular basis that is
// already optimal for the free part, so the dual road needs fewer iterations than from the
// slack basis, and both roads end at the same optimum with or without the crash. A crash limited
// to a tenth of the rows places no more than that.
TEST_P(SimplexTest, DualCrashStartsFromATriangularBasis) {
  Lp lp;
  const int32_t k = 12;
  for (int32_t i = 0; i < k; ++i)
    lp.Row(VLR_BK_FX, 1.0 + i, 1.0 + i);
  lp.Row(VLR_BK_UP, -kInf, 40.0);
  lp.Row(VLR_BK_LO, 2.0, kInf);
  // Free column j has 2 in row j and -1 in rows j - 1 and k (the inequality): column 0 is the
  // shortest, and each pivots on its largest entry, in the row the one before left open.
  for (int32_t j = 0; j < k; ++j) {
    std::vector<std::pair<int32_t, double>> e = {{j, 2.0}};
    if (j > 0) e.emplace_back(j - 1, -1.0);
    e.emplace_back(k, 0.5);
    lp.Col(1.0 + 0.1 * j, VLR_BK_FR, -kInf, kInf, e);
  }
  lp.Col(1.0, VLR_BK_RA, 0, 5, {{k, 1.0}, {k + 1, 1.0}});
  lp.Col(2.0, VLR_BK_LO, 0, kInf, {{k + 1, 1.0}, {0, 1.0}});
  std::vector<Outcome> runs;
  for (const int32_t crash : {0, 90, 10}) {
    crash_ = crash;
    runs.push_back(Solve(lp));
  }
  double obj = 0.0;
  for (int32_t j = 0; j < lp.n; ++j)
    obj += lp.c[j] * runs[0].x[lp.m + j];
  for (const Outcome& r : runs) {
    ExpectOptimal(lp, r, obj);
    EXPECT_EQ(r.info.numartificial, 0);
  }
  EXPECT_EQ(runs[0].info.numcrashed, 0);
  if (GetParam() != vlr::kSimSlotPrimal) {
    EXPECT_EQ(runs[1].info.numcrashed, k);
    EXPECT_EQ(runs[2].info.numcrashed, 1);  // a tenth of 14 rows
  }
  if (GetParam() != vlr::kSimSlotPrimal) {
    EXPECT_LT(runs[1].Iters(), runs[0].Iters());
  }
}

// An assignment problem with costs of three values is dual degenerate throughout. Started hot
// from the slack basis the dual keeps the true costs, stalls, and is kicked; the kicks leave the
// optimum as it is.
TEST_P(SimplexTest, AStallingHotStartIsKickedAndEndsAtTheSameOptimum) {
  if (GetParam() == vlr::kSimSlotPrimal) GTEST_SKIP() << "kicks move the dual's costs";
  const int32_t k = 150;
  Lp lp;
  for (int32_t i = 0; i < 2 * k; ++i)
    lp.Row(VLR_BK_FX, 1.0, 1.0);
  uint32_t seed = 12345;
  for (int32_t a = 0; a < k; ++a) {
    for (int32_t b = 0; b < k; ++b) {
      seed = seed * 1664525u + 1013904223u;
      lp.Col(1.0 + (seed >> 16) % 3, VLR_BK_LO, 0.0, kInf, {{a, 1.0}, {k + b, 1.0}});
    }
  }
  keeplog_ = true;
  const Outcome cold = Solve(lp);
  std::vector<int32_t> slack(static_cast<size_t>(lp.m + lp.n), VLR_SK_LOW);
  for (int32_t i = 0; i < lp.m; ++i)
    slack[static_cast<size_t>(i)] = VLR_SK_BAS;
  const Outcome hot = Solve(lp, slack);
  // The primal-dual road says that its start is factored, and that a given basis goes to the
  // dual road on the whole problem.
  const bool pd = GetParam() == vlr::kSimSlotPd;
  EXPECT_EQ(cold.log.find("The basis is factorized.(pdsimplex 1)") != std::string::npos, pd);
  EXPECT_EQ(hot.log.find("The basis is factorized.(pdsimplex 1)") != std::string::npos, pd);
  EXPECT_EQ(cold.log.find("Hotstart Implement") != std::string::npos, false);
  EXPECT_EQ(hot.log.find("Hotstart Implement") != std::string::npos, pd);
  double obj = 0.0;
  for (int32_t j = 0; j < lp.n; ++j)
    obj += lp.c[j] * cold.x[lp.m + j];
  ExpectOptimal(lp, cold, obj);
  ExpectOptimal(lp, hot, obj);
  EXPECT_EQ(hot.info.hotstart, 1);
  EXPECT_EQ(hot.info.perturbed, 1);
  // Without kicks the run takes about 6100 iterations, almost all degenerate; with them 1300.
  EXPECT_LT(hot.Iters(), 3000) << hot.info.degiter << " degenerate";
}

// A wide problem (ten columns a row, a few of them free) from a fixed sequence: the primal-dual
// road works on subproblems of it, a free column's crash joins the start; every road ends at the
// same optimum, and an added column that makes it unbounded gives a ray on every road.
TEST_P(SimplexTest, WideProblemWithFreeColumnsEndsAtTheSameOptimumOnEveryRoad) {
  Lp lp;
  const int32_t m = 30, n = 300;
  uint32_t seed = 7;
  auto next = [&seed]() {
    seed = seed * 1103515245u + 12345u;
    return static_cast<double>((seed >> 8) % 1000) / 1000.0;
  };
  for (int32_t i = 0; i < m; ++i)
    lp.Row(i % 3 == 0 ? VLR_BK_FX : VLR_BK_RA, 1.0 + i % 3, i % 3 == 0 ? 1.0 : 5.0 + i % 3);
  for (int32_t j = 0; j < n; ++j) {
    std::vector<std::pair<int32_t, double>> e;
    for (int32_t i = 0; i < m; ++i)
      if (next() < 0.15 || i == j % m) e.emplace_back(i, 0.5 + next());
    const bool free = j % 50 == 7;
    lp.Col(free ? 0.0 : 1.0 + next(), free ? VLR_BK_FR : VLR_BK_RA, free ? -kInf : 0.0,
           free ? kInf : 4.0, e);
  }
  crash_ = 90;
  const Outcome r = Solve(lp);
  ASSERT_EQ(r.info.solsta, VLR_SOL_STA_OPTIMAL);
  double obj = 0.0;
  for (int32_t j = 0; j < n; ++j)
    obj += lp.c[j] * r.x[m + j];
  ExpectOptimal(lp, r, obj);
  // The optimum itself, against the dual road's (on the primal and dual roads this restates the
  // run above).
  ::testing::Message msg;
  msg << "slot " << GetParam();
  static double reference = 0.0;
  if (GetParam() == vlr::kSimSlotDual) reference = obj;
  if (reference != 0.0) {
    EXPECT_NEAR(obj, reference, 1e-7 * std::max(1.0, std::fabs(reference))) << msg;
  }
  // A free column with a cost along which every row stays put: unbounded.
  lp.Col(-1.0, VLR_BK_FR, -kInf, kInf, {});
  const Outcome u = Solve(lp);
  EXPECT_EQ(u.info.solsta, VLR_SOL_STA_DUAL_INFEAS_CER) << msg;
}

// The dual's cold start bounds the columns: by what a row implies where it can (x1 <= 3 below),
// and by an artificial box where a column's cost wants a bound no row gives (x0, whose row
// holds the unbounded x2). On the first problem the box stays inactive and no first phase runs;
// on the second the optimum lies beyond it (x0 + x1 = 5e6 against a box of 1e6), the run ends
// at the box and goes on with the true bounds. Both end at the true optimum on every road.
TEST_P(SimplexTest, ImpliedAndArtificialBoundsSpareTheFirstPhaseUnlessABoxEndsActive) {
  keeplog_ = true;
  const bool dual = GetParam() == vlr::kSimSlotDual;
  Lp inside;  // min -x0 - 2 x1 + 2 x2: x0 + x1 - x2 <= 4, x1 <= 3
  inside.Row(VLR_BK_UP, -kInf, 4.0);
  inside.Row(VLR_BK_UP, -kInf, 3.0);
  inside.Col(-1.0, VLR_BK_LO, 0.0, kInf, {{0, 1.0}});
  inside.Col(-2.0, VLR_BK_LO, 0.0, kInf, {{0, 1.0}, {1, 1.0}});
  inside.Col(2.0, VLR_BK_LO, 0.0, kInf, {{0, -1.0}});
  const Outcome a = Solve(inside);
  ExpectOptimal(inside, a, -7.0);
  if (dual) {
    EXPECT_NE(a.log.find("Implied bounds on 1 variables"), std::string::npos) << a.log;
    EXPECT_NE(a.log.find("Artificial bounds on 1 variables"), std::string::npos) << a.log;
    EXPECT_EQ(a.log.find("Dual phase one"), std::string::npos) << a.log;
    EXPECT_EQ(a.log.find("active at the end"), std::string::npos) << a.log;
  }

  Lp beyond;  // min -x0 - x1 + 10 x2: x0 + x1 - x2 <= 5e6, x0 - x1 <= 1
  beyond.Row(VLR_BK_UP, -kInf, 5e6);
  beyond.Row(VLR_BK_UP, -kInf, 1.0);
  beyond.Col(-1.0, VLR_BK_LO, 0.0, kInf, {{0, 1.0}, {1, 1.0}});
  beyond.Col(-1.0, VLR_BK_LO, 0.0, kInf, {{0, 1.0}, {1, -1.0}});
  beyond.Col(10.0, VLR_BK_LO, 0.0, kInf, {{0, -1.0}});
  const Outcome b = Solve(beyond);
  ExpectOptimal(beyond, b, -5e6);
  if (dual) {
    EXPECT_NE(b.log.find("active at the end"), std::string::npos) << b.log;
  }
}

INSTANTIATE_TEST_SUITE_P(Roads, SimplexTest,
                         ::testing::Values(vlr::kSimSlotDual, vlr::kSimSlotPrimal, vlr::kSimSlotPd),
                         [](const ::testing::TestParamInfo<int32_t>& p) {
                           return std::string(p.param == vlr::kSimSlotDual     ? "dual"
                                              : p.param == vlr::kSimSlotPrimal ? "primal"
                                                                               : "pd");
                         });

// Maximum transversals of small patterns: a permuted diagonal, a set one short of full rank, and
// one where the first greedy choice must be undone by an augmenting path.
TEST(SimplexKernels, MaxTransversalMatchesRowsToColumns) {
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
  struct Pattern {
    int32_t m;
    std::vector<int64_t> beg;
    std::vector<int32_t> idx;
    int32_t rank;
  };
  const Pattern cases[] = {
      {3, {0, 1, 2, 3}, {2, 0, 1}, 3},             // columns on rows 2, 0, 1
      {3, {0, 2, 4, 6}, {0, 1, 0, 1, 0, 1}, 2},    // three columns in two rows
      {2, {0, 2, 3}, {0, 1, 0}, 2},                // column 0 must give row 0 up
      {3, {0, 0, 1}, {1}, 1},                      // an empty column
      {4, {0, 3, 4, 5, 6}, {0, 1, 2, 0, 0, 3}, 3}  // columns 1 and 2 compete for row 0
  };
  for (const Pattern& p : cases) {
    const auto ncol = static_cast<int32_t>(p.beg.size()) - 1;
    std::vector<int32_t> cols(static_cast<size_t>(ncol)), rmatch(static_cast<size_t>(p.m), -7);
    for (int32_t c = 0; c < ncol; ++c)
      cols[static_cast<size_t>(c)] = c;
    const int32_t rank = vlr::VLR_simplex_maxtransversal(sys, p.m, p.beg.data(), p.idx.data(), ncol,
                                                         cols.data(), rmatch.data());
    EXPECT_EQ(rank, p.rank);
    // Each matched row holds an entry of its column, and no column is matched twice.
    std::vector<int32_t> used(static_cast<size_t>(ncol), 0);
    int32_t matched = 0;
    for (int32_t i = 0; i < p.m; ++i) {
      const int32_t c = rmatch[static_cast<size_t>(i)];
      ASSERT_GE(c, -1);
      if (c < 0) continue;
      ++matched;
      EXPECT_EQ(++used[static_cast<size_t>(c)], 1) << "column " << c;
      bool entry = false;
      for (int64_t t = p.beg[static_cast<size_t>(c)]; t < p.beg[static_cast<size_t>(c) + 1]; ++t)
        entry = entry || p.idx[static_cast<size_t>(t)] == i;
      EXPECT_TRUE(entry) << "row " << i << " column " << c;
    }
    EXPECT_EQ(matched, p.rank);
  }
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), 0);
}

}  // namespace
