// tests/prslv/prslv_test.cpp: presolve, a solve of what is left and postsolve, against a plain
// solve of the same problem: the same optimum, and a solution that passes primal, dual and
// complementarity tests recomputed here on the problem as given, with m basic keys.
// SPDX-License-Identifier: Apache-2.0
#include "prslv/prslv.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "failalloc.h"
#include "simplex/simplex.h"
#include "velor.h"

namespace {

constexpr double kInf = 1e30;

// A linear problem held in vectors, in the simplex's form.
struct Lp {
  int32_t m = 0, n = 0;
  std::vector<int64_t> beg{0};
  std::vector<int32_t> idx;
  std::vector<double> val, c, bl, bu;
  std::vector<int32_t> bk;
  double cfix = 0.0;

  void AddCol(double cost, int32_t key, double l, double u,
              const std::vector<std::pair<int32_t, double>>& entries) {
    for (const auto& [i, a] : entries) {
      idx.push_back(i);
      val.push_back(a);
    }
    beg.push_back(static_cast<int64_t>(idx.size()));
    c.push_back(cost);
    colbk.push_back(key);
    colbl.push_back(l);
    colbu.push_back(u);
    ++n;
  }
  void AddRow(int32_t key, double l, double u) {
    rowbk.push_back(key);
    rowbl.push_back(l);
    rowbu.push_back(u);
    ++m;
  }
  vlr::SimLp View() {
    bk = rowbk;
    bk.insert(bk.end(), colbk.begin(), colbk.end());
    bl = rowbl;
    bl.insert(bl.end(), colbl.begin(), colbl.end());
    bu = rowbu;
    bu.insert(bu.end(), colbu.begin(), colbu.end());
    idx.push_back(0);  // keeps data() valid when A is empty
    val.push_back(0.0);
    idx.pop_back();
    val.pop_back();
    vlr::SimLp lp;
    lp.m = m;
    lp.n = n;
    lp.abeg = beg.data();
    lp.aidx = idx.data();
    lp.aval = val.data();
    lp.c = c.data();
    lp.cfix = cfix;
    lp.bk = bk.data();
    lp.bl = bl.data();
    lp.bu = bu.data();
    return lp;
  }
  std::vector<int32_t> rowbk, colbk;
  std::vector<double> rowbl, rowbu, colbl, colbu;
};

struct Sol {
  std::vector<int32_t> sk;
  std::vector<double> x, y, d;
  vlr::SimSol View() { return vlr::SimSol{sk.data(), x.data(), y.data(), d.data()}; }
  Sol(int32_t m, int32_t n) : sk(m + n + 1), x(m + n + 1), y(m + 1), d(m + n + 1) {}
};

vlr::SimInfo Solve(vlr::SysEnv* sys, const vlr::SimLp& lp, Sol* sol, int32_t starthot = 0) {
  vlr::SimParam par;
  vlr::VLR_simplex_initparam(&par);
  par.loglevel = 0;
  const vlr::SimCallbacks cb;
  vlr::SimInfo info;
  vlr::SimSol s = sol->View();
  vlr::VLR_simplex_optimize(sys, par, cb, lp, starthot, &s, &info);
  return info;
}

double Low(const vlr::SimLp& lp, int32_t k) {
  const int32_t b = lp.bk[k];
  return b == VLR_BK_LO || b == VLR_BK_FX || b == VLR_BK_RA ? lp.bl[k] : -kInf;
}
double Upp(const vlr::SimLp& lp, int32_t k) {
  const int32_t b = lp.bk[k];
  if (b == VLR_BK_FX) return lp.bl[k];
  return b == VLR_BK_UP || b == VLR_BK_RA ? lp.bu[k] : kInf;
}

// Recomputes everything from the data: activities, reduced costs, bounds, signs of the
// multipliers against the side each variable rests on, and the objective.
void CheckOptimal(const vlr::SimLp& lp, const Sol& sol, double objective, const std::string& what,
                  double rel, double dualrel) {
  const int32_t m = lp.m, n = lp.n;
  std::vector<double> act(static_cast<size_t>(m), 0.0), red(static_cast<size_t>(n), 0.0);
  double obj = lp.cfix;
  for (int32_t j = 0; j < n; ++j) {
    const double xj = sol.x[m + j];
    red[j] = lp.c[j];
    obj += lp.c[j] * xj;
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k) {
      act[lp.aidx[k]] += lp.aval[k] * xj;
      red[j] -= lp.aval[k] * sol.y[lp.aidx[k]];
    }
  }
  int32_t basic = 0;
  for (int32_t k = 0; k < m + n; ++k) {
    const double v = k < m ? act[k] : sol.x[k];
    const double dk = k < m ? sol.y[k] : red[k - m];
    const double l = Low(lp, k), u = Upp(lp, k);
    const double tol = rel * (1.0 + std::fabs(v));
    EXPECT_GE(v, l - tol) << what << " variable " << k;
    EXPECT_LE(v, u + tol) << what << " variable " << k;
    const bool atl = l > -kInf && v <= l + tol, atu = u < kInf && v >= u - tol;
    const double dtol = dualrel * (1.0 + std::fabs(dk));
    if (!atl) {
      EXPECT_LE(dk, dtol) << what << " multiplier of " << k;
    }
    if (!atu) {
      EXPECT_GE(dk, -dtol) << what << " multiplier of " << k;
    }
    // The basis's own multipliers: zero on basic variables; nonbasic ones rest at their side.
    const int32_t sk = sol.sk[k];
    if (sk == VLR_SK_BAS) {
      EXPECT_LE(std::fabs(dk), dtol) << what << " basic multiplier of " << k;
    } else if (sk == VLR_SK_LOW || sk == VLR_SK_FIX) {
      EXPECT_NEAR(v, l, tol) << what << " nonbasic at lower " << k;
    } else if (sk == VLR_SK_UPR) {
      EXPECT_NEAR(v, u, tol) << what << " nonbasic at upper " << k;
    }
    basic += sk == VLR_SK_BAS;
  }
  EXPECT_NEAR(obj, objective, 1e-7 * (1.0 + std::fabs(objective))) << what;
  EXPECT_EQ(basic, m) << what;
}

struct Outcome {
  vlr::SimInfo plain, reduced;
  vlr::PrslvStat stat;
  int64_t cleanupiter = 0;
};

// Plain solve and presolve-solve-postsolve of the same problem; the postsolved basis is then
// handed back to the simplex on the problem as given, which must find it optimal at once.
// rel: the relative tolerance of the checks, 1e-7 for the small problems made here; real data
// gets the simplex's own dual tolerance on its scaled form, and twice that on the multipliers:
// a reduced cost within the tolerance on the scaled problem can pass it once unscaled (etamacro's
// postsolved multipliers reach 1.6e-6 on some paths of the dual).
Outcome Compare(vlr::SysEnv* sys, Lp* prob, const std::string& what, double rel = 1e-7,
                int32_t eliminatortries = -1, double dualrel = 0.0) {
  Outcome out;
  const vlr::SimLp lp = prob->View();
  Sol plain(lp.m, lp.n);
  out.plain = Solve(sys, lp, &plain);
  vlr::prslv* p = nullptr;
  EXPECT_EQ(vlr::VLR_prslv_make(sys, lp, &p), vlr::kPrslvOk);
  vlr::PrslvParam param;
  vlr::VLR_prslv_initparam(&param);
  param.eliminatortries = eliminatortries;
  param.slackcols = eliminatortries != 0;
  EXPECT_EQ(vlr::VLR_prslv_reduce(param, p, &out.stat), vlr::kPrslvOk) << what;
  if (out.stat.prosta != 0) {
    // Presolve's proof must agree with the plain solve.
    EXPECT_NE(out.plain.solsta, VLR_SOL_STA_OPTIMAL)
        << what << " presolve status " << out.stat.prosta;
    vlr::VLR_prslv_delete(&p);
    return out;
  }
  vlr::SimLp red;
  vlr::VLR_prslv_getreduced(p, &red);
  Sol rsol(red.m, red.n);
  if (red.m + red.n > 0) {
    out.reduced = Solve(sys, red, &rsol);
  } else {
    out.reduced.solsta = VLR_SOL_STA_OPTIMAL;
    out.reduced.prosta = VLR_PRO_STA_PRIM_AND_DUAL_FEAS;
  }
  EXPECT_EQ(out.reduced.solsta == VLR_SOL_STA_OPTIMAL, out.plain.solsta == VLR_SOL_STA_OPTIMAL)
      << what;
  if (out.plain.solsta == VLR_SOL_STA_OPTIMAL && out.reduced.solsta == VLR_SOL_STA_OPTIMAL) {
    // Kept for a second walk, which must give exactly what the first gave.
    EXPECT_EQ(vlr::VLR_prslv_keepreduced(p), vlr::kPrslvOk);
    Sol first(lp.m, lp.n);
    vlr::SimSol fs1 = first.View();
    EXPECT_EQ(vlr::VLR_prslv_postsolve(param, p, rsol.View(), &fs1), vlr::kPrslvOk);
    Sol full(lp.m, lp.n);
    vlr::SimSol fs = full.View();
    EXPECT_EQ(vlr::VLR_prslv_postsolve(param, p, rsol.View(), &fs), vlr::kPrslvOk);
    EXPECT_EQ(vlr::VLR_prslv_postsolvebasis(param, p, rsol.View(), &fs), vlr::kPrslvOk);
    EXPECT_TRUE(first.sk == full.sk && first.x == full.x && first.y == full.y) << what;
    CheckOptimal(lp, full, out.plain.pobj, what, rel, dualrel > 0.0 ? dualrel : rel);
    const vlr::SimInfo again = Solve(sys, lp, &full, 1);
    EXPECT_EQ(again.solsta, VLR_SOL_STA_OPTIMAL) << what << " response " << again.response;
    out.cleanupiter = again.iter[0] + again.iter[1] + again.iter[2] + again.iter[3];
  }
  vlr::VLR_prslv_unreduce(param, p);
  vlr::VLR_prslv_delete(&p);
  EXPECT_EQ(p, nullptr);
  return out;
}

class PrslvTest : public ::testing::Test {
 protected:
  void SetUp() override { sys_ = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr); }
  void TearDown() override { EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), 0); }
  vlr::SysEnv* sys_ = nullptr;
};

// Each reduction on a problem built to need it, solved by hand:
// min x0 + 2 x1 - x2 + x3 - x4
//  r0: x0 + x1 >= 2          (x1 fixed at 1 by its bounds: r0 becomes a singleton, x0 >= 1)
//  r1: x2 + x3 <= 4          (x2 <= 3, x3 in [1, 5]: least activity 1 + ... forcing? no)
//  r2: free row x0 + x2      (removed)
//  r3: x3 - x4 in [0, 0]     (x4 in [0, 2])
//  x5 empty with cost 3 >= -1 (goes to its lower bound)
TEST_F(PrslvTest, EachReductionKeepsTheOptimum) {
  Lp lp;
  lp.AddRow(VLR_BK_LO, 2, kInf);
  lp.AddRow(VLR_BK_UP, -kInf, 4);
  lp.AddRow(VLR_BK_FR, -kInf, kInf);
  lp.AddRow(VLR_BK_FX, 0, 0);
  lp.AddCol(1, VLR_BK_LO, 0, kInf, {{0, 1}, {2, 1}});
  lp.AddCol(2, VLR_BK_FX, 1, 1, {{0, 1}});
  lp.AddCol(-1, VLR_BK_RA, 0, 3, {{1, 1}, {2, 1}});
  lp.AddCol(1, VLR_BK_RA, 1, 5, {{1, 1}, {3, 1}});
  lp.AddCol(-1, VLR_BK_RA, 0, 2, {{3, -1}});
  lp.AddCol(3, VLR_BK_LO, -1, kInf, {});
  const Outcome o = Compare(sys_, &lp, "hand");
  ASSERT_EQ(o.plain.solsta, VLR_SOL_STA_OPTIMAL);
  // x0 = 1, x1 = 1, x2 = 3, x3 = 1, x4 = 1, x5 = -1: 1 + 2 - 3 + 1 - 1 - 3 = -3.
  EXPECT_NEAR(o.plain.pobj, -3.0, 1e-9);
  EXPECT_GT(o.stat.numrecords, 3);
  EXPECT_LT(o.stat.numcon[1], 4);
  EXPECT_EQ(o.cleanupiter, 0);
}

// A column of three rows, implied free by its equation, goes into the other two:
// min x0 + x1 + x2 + 2 x3
//  r0: x3 - x0 - x1 = 1   (x3 = 1 + x0 + x1 >= 1: its lower bound is implied)
//  r1: x3 + x2 >= 3       (becomes x0 + x1 + x2 >= 2)
//  r2: x3 - x0 - x2 <= 2  (becomes x1 - x2 <= 1: the entry of x0 cancels)
// Optimum x2 = 2, x3 = 1, the rest 0: objective 4.
TEST_F(PrslvTest, AnImpliedFreeColumnOfThreeRowsGoesIntoTheOtherTwo) {
  Lp lp;
  lp.AddRow(VLR_BK_FX, 1, 1);
  lp.AddRow(VLR_BK_LO, 3, kInf);
  lp.AddRow(VLR_BK_UP, -kInf, 2);
  // x3 first, before x1 can become r0's slack.
  lp.AddCol(2, VLR_BK_LO, 0, kInf, {{0, 1}, {1, 1}, {2, 1}});
  lp.AddCol(1, VLR_BK_LO, 0, kInf, {{0, -1}, {2, -1}});
  lp.AddCol(1, VLR_BK_LO, 0, kInf, {{0, -1}});
  lp.AddCol(1, VLR_BK_LO, 0, kInf, {{1, 1}, {2, -1}});
  const Outcome o = Compare(sys_, &lp, "three rows");
  ASSERT_EQ(o.plain.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(o.plain.pobj, 4.0, 1e-9);
  EXPECT_GE(o.stat.numeliminated, 1);
  EXPECT_LE(o.stat.numcon[1], 2);
  EXPECT_EQ(o.cleanupiter, 0);
}

// A forcing row: x0 + x1 <= 0 with x >= 0 holds both at 0; the other rows then fall too and
// presolve leaves nothing: the solution comes from postsolve alone.
TEST_F(PrslvTest, ForcingRowAndAProblemPresolveSolvesEntirely) {
  Lp lp;
  lp.AddRow(VLR_BK_UP, -kInf, 0);
  lp.AddRow(VLR_BK_RA, -1, 6);
  lp.AddCol(-1, VLR_BK_LO, 0, kInf, {{0, 1}, {1, 1}});
  lp.AddCol(-2, VLR_BK_LO, 0, kInf, {{0, 1}, {1, 2}});
  lp.AddCol(1, VLR_BK_RA, -2, 2, {{1, 1}});
  const Outcome o = Compare(sys_, &lp, "forcing");
  ASSERT_EQ(o.plain.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(o.plain.pobj, -1.0, 1e-9);  // x2 = -1 on r1's lower side
  EXPECT_EQ(o.stat.numforcing, 1);
  EXPECT_TRUE(o.stat.solved);
  EXPECT_EQ(o.cleanupiter, 0);
}

// An infeasible singleton and an unbounded empty column are found by presolve, which leaves
// the certificate to the solve of the problem as given.
TEST_F(PrslvTest, InfeasibleAndUnboundedAreLeftToThePlainSolve) {
  Lp inf;
  inf.AddRow(VLR_BK_LO, 5, kInf);
  inf.AddCol(1, VLR_BK_RA, 0, 2, {{0, 1}});
  EXPECT_EQ(Compare(sys_, &inf, "infeasible").stat.prosta, VLR_PRO_STA_PRIM_INFEAS);
  Lp unb;
  unb.AddRow(VLR_BK_LO, 1, kInf);
  unb.AddCol(1, VLR_BK_LO, 0, kInf, {{0, 1}});
  unb.AddCol(-1, VLR_BK_LO, 0, kInf, {});
  EXPECT_EQ(Compare(sys_, &unb, "unbounded").stat.prosta, VLR_PRO_STA_DUAL_INFEAS);
}

// Three equations, the third the sum of the first two, over boxed columns that no simpler
// reduction takes: the dependency check drops one when the right-hand sides agree, and proves
// the problem infeasible when they do not.
TEST_F(PrslvTest, DependentEquationsGoOrProveInfeasibility) {
  for (const double rhs2 : {9.0, 10.0}) {
    Lp lp;
    lp.AddRow(VLR_BK_FX, 4, 4);
    lp.AddRow(VLR_BK_FX, 5, 5);
    lp.AddRow(VLR_BK_FX, rhs2, rhs2);
    // Row 0: x0 + x1 + 2 x2 + x3, row 1: x0 - x1 + x2 + 3 x3, row 2 = row 0 + row 1.
    lp.AddCol(1, VLR_BK_RA, 0, 4, {{0, 1}, {1, 1}, {2, 2}});
    lp.AddCol(-1, VLR_BK_RA, 0, 4, {{0, 1}, {1, -1}});
    lp.AddCol(2, VLR_BK_RA, 0, 4, {{0, 2}, {1, 1}, {2, 3}});
    lp.AddCol(1, VLR_BK_RA, 0, 4, {{0, 1}, {1, 3}, {2, 4}});
    // Column 1's entries sum to zero in row 2: it has none there.
    const Outcome o = Compare(sys_, &lp, "dependent " + std::to_string(rhs2), 1e-7, 0);
    if (rhs2 == 9.0) {
      ASSERT_EQ(o.plain.solsta, VLR_SOL_STA_OPTIMAL);
      EXPECT_EQ(o.stat.numlindep, 1);
      EXPECT_EQ(o.cleanupiter, 0);
    } else {
      EXPECT_EQ(o.stat.prosta, VLR_PRO_STA_PRIM_INFEAS);
    }
  }
}

// Two dependencies that share rows: row 2 = row 0 + row 1 and row 3 = row 0 - row 1, row 0 the
// densest. Whichever row of a combination the check drops, the rest must still describe the
// same set, and postsolve must give the plain optimum; a row on a balanced transport problem's
// supply and demand sides (their sums agree) goes too.
TEST_F(PrslvTest, OverlappingDependenciesAndABalancedTransportKeepTheOptimum) {
  for (const double rhs3 : {-1.0, -1.5}) {
    Lp lp;
    lp.AddRow(VLR_BK_FX, 6, 6);
    lp.AddRow(VLR_BK_FX, 7, 7);
    lp.AddRow(VLR_BK_FX, 13, 13);
    lp.AddRow(VLR_BK_FX, rhs3, rhs3);
    // Row 0: x0 + x1 + x2 + x3 + x4, row 1: 2 x0 - x1 + x2 + 3 x3 - x4.
    const double r0[5] = {1, 1, 1, 1, 1}, r1[5] = {2, -1, 1, 3, -1};
    for (int32_t j = 0; j < 5; ++j) {
      lp.AddCol(1.0 + 0.5 * j, VLR_BK_RA, 0, 5,
                {{0, r0[j]}, {1, r1[j]}, {2, r0[j] + r1[j]}, {3, r0[j] - r1[j]}});
    }
    const Outcome o = Compare(sys_, &lp, "overlap " + std::to_string(rhs3), 1e-7, 0);
    if (rhs3 == -1.0) {
      ASSERT_EQ(o.plain.solsta, VLR_SOL_STA_OPTIMAL);
      EXPECT_GE(o.stat.numlindep, 1);
      EXPECT_EQ(o.cleanupiter, 0);
    } else {
      EXPECT_EQ(o.stat.prosta, VLR_PRO_STA_PRIM_INFEAS);
    }
  }
  // 4 sources with supplies 5, 7, 3, 9 and 3 sinks with demands 8, 8, 8; every arc, costs by
  // position.
  Lp t;
  const double supply[4] = {5, 7, 3, 9}, demand[3] = {8, 8, 8};
  for (const double v : supply)
    t.AddRow(VLR_BK_FX, v, v);
  for (const double v : demand)
    t.AddRow(VLR_BK_FX, v, v);
  for (int32_t a = 0; a < 4; ++a) {
    for (int32_t b = 0; b < 3; ++b)
      t.AddCol(1.0 + (a * 7 + b * 3) % 5, VLR_BK_LO, 0, kInf, {{a, 1.0}, {4 + b, 1.0}});
  }
  const Outcome o = Compare(sys_, &t, "transport", 1e-7, 0);
  ASSERT_EQ(o.plain.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_EQ(o.stat.numlindep, 1);
  EXPECT_EQ(o.cleanupiter, 0);
}

// min x0 + 3 x1 - x2 + 2 s, r0: x0 + x1 + s = 5, r1: x1 + x2 <= 4, r2: x0 + x2 >= 1. The
// singleton s (no upper bound, cost 2) caps the equation's dual at 2, and r1's dual is at most
// 0, so x1's reduced cost is at least 3 - 2 = 1 for every dual feasible y: x1 rests at 0 in every
// optimum, which the rows' sides alone (r0's dual free) do not show.
TEST_F(PrslvTest, ADualBoundFromASingletonColumnShowsAColumnDominated) {
  Lp lp;
  lp.AddRow(VLR_BK_FX, 5, 5);
  lp.AddRow(VLR_BK_UP, -kInf, 4);
  lp.AddRow(VLR_BK_LO, 1, kInf);
  lp.AddCol(1, VLR_BK_RA, 0, 10, {{0, 1}, {2, 1}});
  lp.AddCol(3, VLR_BK_RA, 0, 10, {{0, 1}, {1, 1}});
  lp.AddCol(-1, VLR_BK_RA, 0, 3, {{1, 1}, {2, 1}});
  lp.AddCol(2, VLR_BK_LO, 0, kInf, {{0, 1}});
  const Outcome o = Compare(sys_, &lp, "dual bound", 1e-7, 0);
  ASSERT_EQ(o.plain.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_GE(o.stat.numdominated, 1);
  EXPECT_EQ(o.cleanupiter, 0);
}

// Without rows there is nothing to reduce but the columns, and nothing to run out of.
TEST_F(PrslvTest, AProblemWithoutRowsReducesToItsColumns) {
  Lp lp;
  lp.AddCol(1, VLR_BK_RA, -1, 2, {});
  lp.AddCol(-1, VLR_BK_LO, 0, kInf, {});
  const vlr::SimLp view = lp.View();
  vlr::prslv* p = nullptr;
  ASSERT_EQ(vlr::VLR_prslv_make(sys_, view, &p), vlr::kPrslvOk);
  vlr::PrslvParam param;
  vlr::VLR_prslv_initparam(&param);
  vlr::PrslvStat stat;
  EXPECT_EQ(vlr::VLR_prslv_reduce(param, p, &stat), vlr::kPrslvOk);
  EXPECT_EQ(stat.prosta, VLR_PRO_STA_DUAL_INFEAS);  // the second column runs off to infinity
  vlr::VLR_prslv_delete(&p);
}

// The use switch at 0 keeps the problem whole, and postsolve still maps the solution.
TEST_F(PrslvTest, UseOffKeepsTheProblemAndPostsolveStillWorks) {
  Lp lp;
  lp.AddRow(VLR_BK_LO, 1, kInf);
  lp.AddCol(1, VLR_BK_LO, 0, kInf, {{0, 1}});
  const vlr::SimLp view = lp.View();
  vlr::prslv* p = nullptr;
  ASSERT_EQ(vlr::VLR_prslv_make(sys_, view, &p), vlr::kPrslvOk);
  vlr::PrslvParam param;
  param.use = 0;
  vlr::PrslvStat stat;
  ASSERT_EQ(vlr::VLR_prslv_reduce(param, p, &stat), vlr::kPrslvOk);
  EXPECT_EQ(stat.numcon[1], 1);
  EXPECT_EQ(stat.numvar[1], 1);
  EXPECT_EQ(stat.numrecords, 2);  // only the two records of the entry
  vlr::VLR_prslv_delete(&p);
}

// Thousands of small random problems, many degenerate, with every kind of bound, some
// infeasible or unbounded: presolve never changes the answer.
// A small random LP with a known feasible point, drawn from rng; trial picks the extras: every
// 13th has a crossed ranged row, every third a row that is a multiple of another, every sixth a
// column that is a multiple of another with its cost in the same ratio.
Lp RandomLp(std::mt19937& rng, int32_t trial) {
  auto pick = [&](int32_t lo, int32_t hi) {
    return std::uniform_int_distribution<int32_t>(lo, hi)(rng);
  };
  Lp lp;
  const int32_t m = pick(1, 8), n = pick(1, 10);
  std::vector<double> x0(static_cast<size_t>(n));
  std::vector<std::vector<std::pair<int32_t, double>>> cols(static_cast<size_t>(n));
  for (int32_t i = 0; i < m; ++i) {
    for (int32_t j = 0; j < n; ++j) {
      if (pick(0, 9) < 3) cols[j].push_back({i, static_cast<double>(pick(-3, 3) | 1)});
    }
  }
  // Every third problem gets a row that is a multiple of another, and every other one of those
  // a column that is a multiple of another, with its cost in the same ratio.
  double dupcost = std::nan("");
  if (trial % 3 == 1 && m >= 2) {
    const double lambda = pick(0, 1) ? -2.0 : 0.5;
    for (auto& col : cols) {
      col.erase(std::remove_if(col.begin(), col.end(), [](const auto& e) { return e.first == 1; }),
                col.end());
      for (const auto& [i, a] : std::vector<std::pair<int32_t, double>>(col)) {
        if (i == 0) col.push_back({1, lambda * a});
      }
    }
  }
  if (trial % 6 == 1 && n >= 2) {
    cols[1] = cols[0];
    for (auto& e : cols[1])
      e.second *= -3.0;
    dupcost = -3.0;
  }
  // Every fifth has three equations, the last the sum of the first two: dependent, and
  // inconsistent (infeasible) when the fifth is also a tenth.
  const bool dependent = trial % 5 == 2 && m >= 3;
  if (dependent) {
    for (auto& col : cols) {
      col.erase(std::remove_if(col.begin(), col.end(), [](const auto& e) { return e.first == 2; }),
                col.end());
      double sum = 0.0;
      for (const auto& [i, a] : col) {
        if (i < 2) sum += a;
      }
      if (sum != 0.0) col.push_back({2, sum});
    }
  }
  std::vector<double> act(static_cast<size_t>(m), 0.0);
  for (int32_t j = 0; j < n; ++j) {
    x0[j] = pick(-2, 3);
    for (const auto& [i, a] : cols[j])
      act[i] += a * x0[j];
  }
  for (int32_t i = 0; i < m; ++i) {
    const double a = act[i], lo = a - pick(0, 2), hi = a + pick(0, 2);
    if (dependent && i < 3) {
      const double shift = i == 2 && trial % 10 == 7 ? 1.0 : 0.0;
      lp.AddRow(VLR_BK_FX, a + shift, a + shift);
      continue;
    }
    switch (pick(0, 5)) {
      case 0:
        lp.AddRow(VLR_BK_LO, lo, kInf);
        break;
      case 1:
        lp.AddRow(VLR_BK_UP, -kInf, hi);
        break;
      case 2:
        lp.AddRow(VLR_BK_FX, a, a);
        break;
      case 3:
        lp.AddRow(VLR_BK_FR, -kInf, kInf);
        break;
      case 4:
        lp.AddRow(VLR_BK_RA, lo - 5 * (trial % 13 == 0), hi);  // sometimes crossed: infeasible
        break;
      default:
        lp.AddRow(VLR_BK_RA, lo, hi);
        break;
    }
  }
  double cost0 = 0.0;
  for (int32_t j = 0; j < n; ++j) {
    const double v = x0[j];
    double cost = pick(-3, 3);
    if (j == 0) cost0 = cost;
    if (j == 1 && !std::isnan(dupcost)) cost = dupcost * cost0;
    switch (pick(0, 5)) {
      case 0:
        lp.AddCol(cost, VLR_BK_LO, v - pick(0, 2), kInf, cols[j]);
        break;
      case 1:
        lp.AddCol(cost, VLR_BK_UP, -kInf, v + pick(0, 2), cols[j]);
        break;
      case 2:
        lp.AddCol(cost, VLR_BK_FX, v, v, cols[j]);
        break;
      case 3:
        lp.AddCol(cost, VLR_BK_FR, -kInf, kInf, cols[j]);
        break;
      default:
        lp.AddCol(cost, VLR_BK_RA, v - pick(0, 2), v + pick(0, 2), cols[j]);
        break;
    }
  }
  return lp;
}

TEST_F(PrslvTest, RandomProblemsKeepTheirOptimum) {
  std::mt19937 rng(20261124);
  int32_t optimal = 0, reduced = 0, cleaned = 0, eliminated = 0, forcing = 0, dominated = 0,
          doubleton = 0, dupcon = 0, dupvar = 0, lindep = 0, slack = 0;
  for (int32_t trial = 0; trial < 3000; ++trial) {
    Lp lp = RandomLp(rng, trial);
    // Every other problem without the substitutions, which would take most rows first.
    const Outcome o =
        Compare(sys_, &lp, "trial " + std::to_string(trial), 1e-7, trial % 2 == 0 ? -1 : 0);
    if (HasFatalFailure() || HasNonfatalFailure()) {
      ADD_FAILURE() << "first failing trial " << trial;
      break;
    }
    optimal += o.plain.solsta == VLR_SOL_STA_OPTIMAL;
    reduced += o.stat.numcon[1] < o.stat.numcon[0] || o.stat.numvar[1] < o.stat.numvar[0];
    cleaned += o.cleanupiter > 0;
    eliminated += o.stat.numeliminated > 0;
    forcing += o.stat.numforcing > 0;
    dominated += o.stat.numdominated > 0;
    doubleton += o.stat.numdoubleton > 0;
    dupcon += o.stat.numdupcon > 0;
    dupvar += o.stat.numdupvar > 0;
    lindep += o.stat.numlindep > 0;
    slack += o.stat.numslackcol > 0;
  }
  std::printf(
      "optimal %d reduced %d cleaned %d eliminated %d forcing %d dominated %d doubleton %d "
      "dupcon %d dupvar %d lindep %d slack %d\n",
      optimal, reduced, cleaned, eliminated, forcing, dominated, doubleton, dupcon, dupvar, lindep,
      slack);
  // Every reduction met often enough to count.
  EXPECT_GT(eliminated, 50);
  EXPECT_GT(forcing, 30);
  EXPECT_GT(doubleton, 200);
  EXPECT_GT(dupcon, 100);
  EXPECT_GT(dupvar, 20);
  EXPECT_GT(lindep, 0);
  EXPECT_GT(slack, 50);
  EXPECT_GT(dominated, 50);
  EXPECT_GT(optimal, 1000);
  EXPECT_GT(reduced, 2000);
  // Every postsolved basis is optimal as it stands.
  EXPECT_EQ(cleaned, 0);
}

// Allocation failure at every step of make, reduce and postsolve, on random problems that meet
// every reduction: each failure is kPrslvNoSpace with nothing leaked, and a run that gets its
// memory reduces to the same problem as a run that never failed.
TEST(PrslvMemfail, EveryFailureIsCleanAndChangesNothing) {
  std::mt19937 rng(7);
  int32_t kinds = 0;
  for (int32_t trial = 0; trial < 200; ++trial) {
    Lp prob = RandomLp(rng, trial);
    const vlr::SimLp lp = prob.View();
    vlr::PrslvParam param;
    vlr::VLR_prslv_initparam(&param);
    vlr::PrslvStat want;
    for (int64_t k = 0;; ++k) {
      vlrtest::FailAlloc fa;
      vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 10, &fa, vlrtest::FailMalloc, vlrtest::FailFree);
      ASSERT_NE(sys, nullptr);
      fa.failat = k;
      vlr::prslv* p = nullptr;
      int32_t r = vlr::VLR_prslv_make(sys, lp, &p);
      vlr::PrslvStat stat;
      if (r == vlr::kPrslvOk) r = vlr::VLR_prslv_reduce(param, p, &stat);
      const bool reduced = r == vlr::kPrslvOk;
      if (reduced && stat.prosta == 0) {
        // The reduced problem's solution is all zeros: postsolve only needs to run.
        vlr::SimLp red;
        vlr::VLR_prslv_getreduced(p, &red);
        Sol rsol(red.m, red.n), full(lp.m, lp.n);
        vlr::SimSol fs = full.View();
        r = vlr::VLR_prslv_keepreduced(p);
        if (r == vlr::kPrslvOk) r = vlr::VLR_prslv_postsolve(param, p, rsol.View(), &fs);
      }
      fa.failat = -1;
      if (r != vlr::kPrslvOk) {
        EXPECT_EQ(r, vlr::kPrslvNoSpace) << "trial " << trial << " k " << k;
      }
      vlr::VLR_prslv_delete(&p);
      // Tracked blocks: a leak makes the delete report it.
      ASSERT_EQ(vlr::VLR_sysenv_delete(&sys), 0) << "trial " << trial << " k " << k;
      if (r == vlr::kPrslvOk && reduced) {
        if (k == 0 || want.finished == 0) want = stat;
        EXPECT_EQ(stat.numcon[1], want.numcon[1]) << "trial " << trial << " k " << k;
        EXPECT_EQ(stat.numvar[1], want.numvar[1]) << "trial " << trial << " k " << k;
        EXPECT_EQ(stat.numrecords, want.numrecords) << "trial " << trial << " k " << k;
        kinds |= (stat.numdoubleton > 0) | (stat.numdupcon > 0) << 1 | (stat.numdupvar > 0) << 2 |
                 (stat.numforcing > 0) << 3 | (stat.numeliminated > 0) << 4;
        break;
      }
    }
  }
  EXPECT_EQ(kinds, 31);  // doubletons, duplicates, forcing rows and substitutions all met
}

// Netlib through presolve, a solve of what is left and postsolve: the same optimum as a plain
// solve, a postsolved solution that passes the checks above on the problem as given, and a
// basis the simplex accepts at once or after a handful of clean-up pivots. The files exist only
// for the instance run (VLR_TEST_INSTANCE=1); PRSLV_NETLIB=name,name picks some by hand, large
// ones too.
bool TakeLp(VLRtask_t task, Lp* lp) {
  int32_t m = 0, n = 0, sense = 0, nz = 0;
  VLR_getnumcon(task, &m);
  VLR_getnumvar(task, &n);
  VLR_getobjsense(task, &sense);
  if (VLR_getaslicenumnz(task, VLR_ACC_VAR, 0, n, &nz) != VLR_RES_OK) return false;
  const double sgn = sense == VLR_OBJECTIVE_SENSE_MAXIMIZE ? -1.0 : 1.0;
  std::vector<int32_t> bk(static_cast<size_t>(m + n) + 1), ptrb(static_cast<size_t>(n) + 1),
      ptre(static_cast<size_t>(n) + 1), sub(static_cast<size_t>(nz) + 1);
  std::vector<double> bl(static_cast<size_t>(m + n) + 1), bu(static_cast<size_t>(m + n) + 1),
      c(static_cast<size_t>(n) + 1), val(static_cast<size_t>(nz) + 1);
  int32_t surp = nz;
  if (VLR_getboundslice(task, VLR_ACC_CON, 0, m, bk.data(), bl.data(), bu.data()) != VLR_RES_OK ||
      VLR_getboundslice(task, VLR_ACC_VAR, 0, n, bk.data() + m, bl.data() + m, bu.data() + m) !=
          VLR_RES_OK ||
      VLR_getcslice(task, 0, n, c.data()) != VLR_RES_OK ||
      VLR_getaslice(task, VLR_ACC_VAR, 0, n, nz, &surp, ptrb.data(), ptre.data(), sub.data(),
                    val.data()) != VLR_RES_OK) {
    return false;
  }
  VLR_getcfix(task, &lp->cfix);
  lp->cfix *= sgn;
  for (int32_t i = 0; i < m; ++i)
    lp->AddRow(bk[i], bl[i], bu[i]);
  for (int32_t j = 0; j < n; ++j) {
    std::vector<std::pair<int32_t, double>> e;
    for (int32_t k = ptrb[j]; k < ptre[j]; ++k)
      e.push_back({sub[k], val[k]});
    lp->AddCol(sgn * c[j], bk[m + j], bl[m + j], bu[m + j], e);
  }
  return true;
}

std::vector<std::string> NetlibCases() {
  std::vector<std::string> out;
  const std::string dir = std::string(VLR_DATA_DIR) + "/netlib";
  if (const char* pick = std::getenv("PRSLV_NETLIB")) {
    std::string list = pick;
    for (size_t at = 0; at <= list.size();) {
      const size_t end = std::min(list.find(',', at), list.size());
      if (end > at) out.push_back(dir + "/" + list.substr(at, end - at) + ".mps.gz");
      at = end + 1;
    }
    return out;
  }
  const char* on = std::getenv("VLR_TEST_INSTANCE");
  if (on == nullptr || on[0] != '1') return out;
  std::error_code ec;
  for (const auto& e : std::filesystem::directory_iterator(dir, ec)) {
    const std::string f = e.path().string();
    // Files of more than 100 kB are the slow ones (about 20000 non-zeros and up).
    if (f.size() > 7 && f.substr(f.size() - 7) == ".mps.gz" &&
        std::filesystem::file_size(e.path(), ec) < 100000) {
      out.push_back(f);
    }
  }
  std::sort(out.begin(), out.end());
  return out;
}

class NetlibPresolve : public ::testing::TestWithParam<std::string> {};

TEST_P(NetlibPresolve, SolvesToTheSameOptimumThroughPostsolve) {
  VLRenv_t env = nullptr;
  ASSERT_EQ(VLR_makeenv(&env, nullptr, nullptr, nullptr, nullptr), VLR_RES_OK);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  VLRtask_t task = nullptr;
  ASSERT_EQ(VLR_maketask(env, 0, 0, &task), VLR_RES_OK);
  VLR_putintparam(task, VLR_IPAR_LOG, 0);
  ASSERT_EQ(VLR_readdata(task, GetParam().c_str()), VLR_RES_OK) << GetParam();
  Lp lp;
  ASSERT_TRUE(TakeLp(task, &lp));
  VLR_deletetask(&task);
  VLR_deleteenv(&env);
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 0, nullptr, nullptr, nullptr);
  const Outcome o = Compare(sys, &lp, GetParam(), 1e-6, -1, 2e-6);
  EXPECT_EQ(o.plain.solsta, VLR_SOL_STA_OPTIMAL) << GetParam();
  // A postsolved basis may need some clean-up pivots where presolve's tolerances met the data's
  // own degeneracy; never as many as a solve from scratch.
  const int64_t plainiter = o.plain.iter[0] + o.plain.iter[1] + o.plain.iter[2] + o.plain.iter[3];
  EXPECT_LE(o.cleanupiter, std::max<int64_t>(10, plainiter / 5)) << GetParam();
  std::printf("%s: rows %d -> %d, columns %d -> %d, clean-up %lld of %lld\n", GetParam().c_str(),
              o.stat.numcon[0], o.stat.numcon[1], o.stat.numvar[0], o.stat.numvar[1],
              static_cast<long long>(o.cleanupiter), static_cast<long long>(plainiter));
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), 0);
}

INSTANTIATE_TEST_SUITE_P(Data, NetlibPresolve, ::testing::ValuesIn(NetlibCases()));
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibPresolve);

}  // namespace
