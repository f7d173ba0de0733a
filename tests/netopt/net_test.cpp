// tests/netopt/net_test.cpp: the network simplex on generated and small hand-made networks; every
// answer is checked on the problem itself: an optimal basis by its bound, row and sign violations
// and a zero gap, a certificate by its own test.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "cpub/sysenv.h"
#include "failalloc.h"
#include "netopt/netgen.h"
#include "netopt/netopt.h"
#include "velor.h"

namespace vlr {
namespace {

constexpr double kBig = 1e30;

// A problem in the simplex's form with its arrays, rows first in bk/bl/bu.
struct TestLp {
  int32_t m = 0, n = 0;
  std::vector<int64_t> abeg{0};
  std::vector<int32_t> aidx, bk;
  std::vector<double> aval, c, bl, bu;
  double cfix = 0.0;
  void Row(int32_t key, double l, double u) {
    bk.insert(bk.begin() + m, key);
    bl.insert(bl.begin() + m, l);
    bu.insert(bu.begin() + m, u);
    ++m;
  }
  void Col(std::vector<std::pair<int32_t, double>> entries, double cost, int32_t key, double l,
           double u) {
    for (auto [i, v] : entries)
      aidx.push_back(i), aval.push_back(v);
    abeg.push_back(static_cast<int64_t>(aidx.size()));
    c.push_back(cost);
    bk.push_back(key);
    bl.push_back(l);
    bu.push_back(u);
    ++n;
  }
  SimLp Lp() const {
    SimLp lp;
    lp.m = m;
    lp.n = n;
    lp.abeg = abeg.data();
    lp.aidx = aidx.data();
    lp.aval = aval.data();
    lp.c = c.data();
    lp.cfix = cfix;
    lp.bk = bk.data();
    lp.bl = bl.data();
    lp.bu = bu.data();
    return lp;
  }
};

TestLp FromGen(const netgen::Problem& p) {
  const netgen::Lp g = netgen::ToLp(p, VLR_BK_FX, VLR_BK_LO, VLR_BK_RA);
  TestLp t;
  for (int32_t i = 0; i < g.m; ++i)
    t.Row(g.bkc[size_t(i)], g.blc[size_t(i)], g.buc[size_t(i)]);
  for (int32_t j = 0; j < g.n; ++j) {
    std::vector<std::pair<int32_t, double>> e;
    for (int32_t k = g.aptrb[size_t(j)]; k < g.aptre[size_t(j)]; ++k)
      e.emplace_back(g.asub[size_t(k)], g.aval[size_t(k)]);
    t.Col(e, g.c[size_t(j)], g.bkx[size_t(j)], g.blx[size_t(j)], g.bux[size_t(j)]);
  }
  return t;
}

struct NetRun {
  std::vector<int32_t> sk;
  std::vector<double> x, y, d;
  SimSol sol;
  NetInfo info;
};

class NetTest : public ::testing::Test {
 protected:
  void SetUp() override { sys_ = VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr); }
  void TearDown() override { EXPECT_EQ(VLR_sysenv_delete(&sys_), 0); }

  // Solves t with the given row signs (all +1 when empty) and every column in the network.
  // With hot, the run starts from that basis; dualform asks for the dual form.
  NetRun Solve(const TestLp& t, std::vector<int32_t> sign = {}, std::vector<uint8_t> colin = {},
               const std::vector<int32_t>* hot = nullptr, bool dualform = false) {
    if (sign.empty()) sign.assign(size_t(t.m), 1);
    if (colin.empty()) colin.assign(size_t(t.n), 1);
    sign.push_back(0);
    colin.push_back(0);
    NetRun r;
    const auto nt = size_t(t.m + t.n) + 1;
    r.sk.assign(nt, -1);
    if (hot != nullptr) std::copy(hot->begin(), hot->end(), r.sk.begin());
    r.x.assign(nt, 0.0);
    r.y.assign(size_t(t.m) + 1, 0.0);
    r.d.assign(nt, 0.0);
    r.sol = SimSol{r.sk.data(), r.x.data(), r.y.data(), r.d.data()};
    NetParam par;
    par.loglevel = 0;
    par.debug = 1;  // the whole tree checked after every pivot
    par.hotstart = hot != nullptr ? 1 : 0;
    par.dualform = dualform ? 1 : 0;
    EXPECT_EQ(VLR_net_optimize(sys_, par, NetCallbacks(), t.Lp(), sign.data(), colin.data(), &r.sol,
                               &r.info),
              kNetOk);
    return r;
  }

  // Optimal: m basic variables, the violations tiny and no gap.
  void ExpectOptimal(const TestLp& t, NetRun* r, double obj) {
    ASSERT_EQ(r->info.solsta, VLR_SOL_STA_OPTIMAL);
    int32_t nb = 0;
    for (int32_t k = 0; k < t.m + t.n; ++k)
      nb += r->sk[size_t(k)] == VLR_SK_BAS ? 1 : 0;
    EXPECT_EQ(nb, t.m);
    double pv = 0, dv = 0, pobj = 0, dobj = 0;
    const SimLp lp = t.Lp();
    ASSERT_TRUE(VLR_opt_checksolution(sys_, lp, &r->sol, &pv, &dv, &pobj, &dobj));
    EXPECT_LE(pv, 1e-9);
    EXPECT_LE(dv, 1e-9);
    EXPECT_NEAR(pobj, dobj, 1e-9 * (1.0 + std::fabs(pobj)));
    EXPECT_NEAR(pobj, obj, 1e-9 * (1.0 + std::fabs(obj)));
    EXPECT_NEAR(r->info.pobj, obj, 1e-9 * (1.0 + std::fabs(obj)));
  }

  SysEnv* sys_ = nullptr;
};

TEST_F(NetTest, GeneratedFamiliesEndOptimalWithZeroGap) {
  // Objectives from the dual simplex on the same problems (tests/velor/network_test.cpp checks
  // the two optimisers against each other on more).
  for (int32_t kind : {netgen::kTransship, netgen::kTransport, netgen::kAssign}) {
    for (uint64_t seed = 1; seed <= 4; ++seed) {
      netgen::Spec s;
      s.kind = kind;
      s.nodes = kind == netgen::kTransship ? 60 : 40;
      s.arcs = 400;
      s.sources = 8;
      s.sinks = 8;
      s.seed = seed;
      const TestLp t = FromGen(netgen::Generate(s));
      NetRun r = Solve(t);
      SCOPED_TRACE(::testing::Message() << "kind " << kind << " seed " << seed);
      double pv = 0, dv = 0, pobj = 0, dobj = 0;
      const SimLp lp = t.Lp();
      ASSERT_EQ(r.info.solsta, VLR_SOL_STA_OPTIMAL);
      ASSERT_TRUE(VLR_opt_checksolution(sys_, lp, &r.sol, &pv, &dv, &pobj, &dobj));
      EXPECT_LE(pv, 1e-9);
      EXPECT_LE(dv, 1e-9);
      EXPECT_EQ(pobj, dobj);  // integer data: flows and potentials are exact
      if (kind == netgen::kAssign) {
        EXPECT_GT(r.info.degiter, 0);
      }
    }
  }
}

// Larger networks with every other row multiplied by -1 and the sources' rows turned into
// inequalities (a source may keep some of its supply): slacks enter the start tree and the
// pivots; the tree is checked after each.
TEST_F(NetTest, FlippedRowsAndInequalitiesOnLargerNetworks) {
  for (uint64_t seed = 1; seed <= 3; ++seed) {
    netgen::Spec s;
    s.nodes = 400;
    s.arcs = 4000;
    s.sources = 40;
    s.sinks = 40;
    s.seed = seed;
    TestLp t = FromGen(netgen::Generate(s));
    std::vector<int32_t> sign(size_t(t.m), 1);
    for (int32_t i = 0; i < t.m; ++i) {
      const auto si = size_t(i);
      if (t.bl[si] > 0) t.bk[si] = VLR_BK_UP;  // out - in <= supply
      if (i % 2 == 0) continue;
      sign[si] = -1;
      const double l = t.bl[si], u = t.bu[si];
      t.bl[si] = -u;
      t.bu[si] = -l;
      if (t.bk[si] == VLR_BK_UP) t.bk[si] = VLR_BK_LO;
    }
    for (size_t k = 0; k < t.aidx.size(); ++k)
      if (t.aidx[k] % 2 == 1) t.aval[k] = -t.aval[k];
    NetRun r = Solve(t, sign);
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    ASSERT_EQ(r.info.solsta, VLR_SOL_STA_OPTIMAL);
    double pv = 0, dv = 0, pobj = 0, dobj = 0;
    const SimLp lp = t.Lp();
    ASSERT_TRUE(VLR_opt_checksolution(sys_, lp, &r.sol, &pv, &dv, &pobj, &dobj));
    EXPECT_LE(pv, 1e-9);
    EXPECT_LE(dv, 1e-9);
    EXPECT_EQ(pobj, dobj);
  }
}

TEST_F(NetTest, RowsOfEitherSignInequalitiesAndFreeRows) {
  // Two sources (supply at most 4 and 6), three sinks (demand 3, 4, 2 exactly), arcs from
  // each source to each sink; the second source's row is multiplied by -1 and its arcs' entries
  // turned with it; a free row sums all flows.
  TestLp t;
  t.Row(VLR_BK_UP, -kBig, 4);  // s1: out <= 4
  t.Row(VLR_BK_LO, -6, kBig);  // -(s2 out) >= -6
  t.Row(VLR_BK_FX, -3, -3);    // sinks: -in = -demand
  t.Row(VLR_BK_FX, -4, -4);
  t.Row(VLR_BK_FX, -2, -2);
  t.Row(VLR_BK_FR, -kBig, kBig);  // the total, any coefficients
  const double cost[2][3] = {{4, 1, 3}, {2, 5, 1}};
  for (int32_t s = 0; s < 2; ++s)
    for (int32_t k = 0; k < 3; ++k)
      t.Col({{s, s == 0 ? 1.0 : -1.0}, {2 + k, -1.0}, {5, 2.5}}, cost[s][k], VLR_BK_LO, 0, kBig);
  // Optimum: s1 sends 4 to sink 2 (cost 4); s2 sends 3 to sink 1 and 2 to sink 3 (6 + 2).
  NetRun r = Solve(t, {1, -1, 1, 1, 1, 0});
  ExpectOptimal(t, &r, 12.0);
  EXPECT_EQ(r.sk[5], VLR_SK_BAS);
  EXPECT_DOUBLE_EQ(r.x[5], 2.5 * 9);
  EXPECT_EQ(r.y[5], 0.0);
}

TEST_F(NetTest, FixedArcsStayAndFreeArcsGoBelowZero) {
  // Supply 5 at node 0, demand 5 at node 2. A fixed column carries 2 of it directly 0 -> 2, a
  // ranged column with equal bounds 1 on 0 -> 1 (never priced), a cheap arc the rest to node 1,
  // and a free arc 2 -> 1 with cost -3 takes it on to node 2 by going below zero.
  TestLp t;
  t.Row(VLR_BK_FX, 5, 5);
  t.Row(VLR_BK_FX, 0, 0);
  t.Row(VLR_BK_FX, -5, -5);
  t.Col({{0, 1}, {2, -1}}, 10, VLR_BK_FX, 2, 2);
  t.Col({{0, 1}, {1, -1}}, 7, VLR_BK_RA, 1, 1);
  t.Col({{0, 1}, {1, -1}}, 1, VLR_BK_LO, 0, kBig);
  t.Col({{2, 1}, {1, -1}}, -3, VLR_BK_FR, -kBig, kBig);
  NetRun r = Solve(t);
  ExpectOptimal(t, &r, 20.0 + 7.0 + 2.0 + 9.0);
  EXPECT_EQ(r.sk[3], VLR_SK_FIX);
  EXPECT_EQ(r.sk[4], VLR_SK_FIX);
  EXPECT_DOUBLE_EQ(r.x[3], 2.0);
  EXPECT_DOUBLE_EQ(r.x[4], 1.0);
  EXPECT_DOUBLE_EQ(r.x[6], -3.0);
}

TEST_F(NetTest, WithoutRowsOnlyBoundFlips) {
  TestLp t;
  t.Col({}, 1, VLR_BK_RA, 0, 5);
  t.Col({}, -1, VLR_BK_RA, 0, 5);
  t.Col({}, -2, VLR_BK_UP, -kBig, 3);
  NetRun r = Solve(t);
  ExpectOptimal(t, &r, -11.0);
  EXPECT_EQ(r.info.iter, 1);  // the second column flips; the third starts at its upper bound
  EXPECT_EQ(r.sk[1], VLR_SK_UPR);
}

TEST_F(NetTest, InfeasibleGivesAFarkasVector) {
  // Supply 5 at node 0, demand 5 at node 2, through node 1 with capacity 3 and a direct arc of 1.
  TestLp t;
  t.Row(VLR_BK_FX, 5, 5);
  t.Row(VLR_BK_FX, 0, 0);
  t.Row(VLR_BK_FX, -5, -5);
  t.Col({{0, 1}, {1, -1}}, 1, VLR_BK_RA, 0, 3);
  t.Col({{1, 1}, {2, -1}}, 1, VLR_BK_LO, 0, kBig);
  t.Col({{0, 1}, {2, -1}}, 9, VLR_BK_RA, 0, 1);
  NetRun r = Solve(t);
  ASSERT_EQ(r.info.solsta, VLR_SOL_STA_PRIM_INFEAS_CER);
  EXPECT_TRUE(VLR_opt_checkfarkas(t.Lp(), &r.sol));
}

TEST_F(NetTest, NegativeCycleWithoutCapacityGivesARay) {
  TestLp t;
  t.Row(VLR_BK_FX, 1, 1);
  t.Row(VLR_BK_FX, 0, 0);
  t.Row(VLR_BK_FX, -1, -1);
  t.Col({{0, 1}, {1, -1}}, 1, VLR_BK_LO, 0, kBig);
  t.Col({{1, 1}, {2, -1}}, 1, VLR_BK_LO, 0, kBig);
  t.Col({{2, 1}, {1, -1}}, -3, VLR_BK_LO, 0, kBig);
  NetRun r = Solve(t);
  ASSERT_EQ(r.info.solsta, VLR_SOL_STA_DUAL_INFEAS_CER);
  EXPECT_TRUE(VLR_opt_checkray(sys_, t.Lp(), r.sol));
}

TEST_F(NetTest, PartOfTheProblemLeavesTheOtherRowsBasic) {
  // Rows 0..2 a path network; row 3 a side constraint over two columns with other coefficients;
  // a column outside the network at its lower bound 1 feeds row 1.
  TestLp t;
  t.Row(VLR_BK_FX, 4, 4);
  t.Row(VLR_BK_FX, 0, 0);
  t.Row(VLR_BK_FX, -5, -5);
  t.Row(VLR_BK_UP, -kBig, 10);
  t.Col({{0, 1}, {1, -1}, {3, 2}}, 1, VLR_BK_LO, 0, kBig);
  t.Col({{1, 1}, {2, -1}, {3, 3}}, 1, VLR_BK_LO, 0, kBig);
  t.Col({{1, 1.5}, {3, 1}}, 0, VLR_BK_LO, 1, kBig);
  // 1.5 enters row 1 from the outside column (at 1): the path carries 4 then 5.5? Row 2 needs 5
  // in: 4 + 1.5 = 5.5 is too much, so the network part is infeasible; the basis still serves.
  NetRun r = Solve(t, {1, 1, 1, 0}, {1, 1, 0});
  int32_t nb = 0;
  for (int32_t k = 0; k < t.m + t.n; ++k)
    nb += r.sk[size_t(k)] == VLR_SK_BAS ? 1 : 0;
  EXPECT_EQ(nb, t.m);
  EXPECT_EQ(r.sk[3], VLR_SK_BAS);
  EXPECT_EQ(r.sk[t.m + 2], VLR_SK_LOW);
  EXPECT_EQ(r.info.solsta, VLR_SOL_STA_PRIM_INFEAS_CER);
}

// A start from the optimal basis of a problem with other costs or other supplies, and from keys
// that make no tree at all (every variable basic: cycles, and flows beyond the bounds): each
// ends at the optimum of a cold start. From other costs the tree is feasible and few pivots
// remain; from other supplies flows that leave their bounds go to the artificial arcs.
TEST_F(NetTest, HotStartsFromOtherBasesEndAtTheColdOptimum) {
  for (uint64_t seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    netgen::Spec s;
    s.nodes = 300;
    s.arcs = 3000;
    s.sources = 30;
    s.sinks = 30;
    s.pcap = 60;
    s.seed = seed;
    const TestLp t = FromGen(netgen::Generate(s));
    NetRun r0 = Solve(t);
    ASSERT_EQ(r0.info.solsta, VLR_SOL_STA_OPTIMAL);
    const std::vector<int32_t> sk0(r0.sk.begin(), r0.sk.end() - 1);

    TestLp tc = t;  // a tenth of the costs raised
    for (int32_t j = 0; j < tc.n; j += 10)
      tc.c[size_t(j)] += 40.0;
    NetRun cold = Solve(tc);
    NetRun hot = Solve(tc, {}, {}, &sk0);
    ASSERT_EQ(cold.info.solsta, VLR_SOL_STA_OPTIMAL);
    ExpectOptimal(tc, &hot, cold.info.pobj);
    EXPECT_EQ(hot.info.infiter, 0);  // the old tree is feasible
    EXPECT_LT(hot.info.iter, cold.info.iter / 2);

    TestLp ts = t;  // supply moved between the first source and the first sink
    int32_t src = -1, snk = -1;
    for (int32_t i = 0; i < ts.m; ++i) {
      if (src < 0 && ts.bl[size_t(i)] > 0) src = i;
      if (snk < 0 && ts.bl[size_t(i)] < 0) snk = i;
    }
    ASSERT_GE(src, 0);
    ASSERT_GE(snk, 0);
    const double move = std::min(ts.bl[size_t(src)], -ts.bl[size_t(snk)]) / 2;
    ts.bl[size_t(src)] -= move, ts.bu[size_t(src)] -= move;
    ts.bl[size_t(snk)] += move, ts.bu[size_t(snk)] += move;
    cold = Solve(ts);
    hot = Solve(ts, {}, {}, &sk0);
    ASSERT_EQ(cold.info.solsta, VLR_SOL_STA_OPTIMAL);
    ExpectOptimal(ts, &hot, cold.info.pobj);

    const std::vector<int32_t> allbasic(sk0.size(), VLR_SK_BAS);
    hot = Solve(t, {}, {}, &allbasic);
    ExpectOptimal(t, &hot, r0.info.pobj);
  }
}

// Keys at upper on arcs with a finite upper bound start there; an infeasible network still gets
// its certificate from a hot start.
TEST_F(NetTest, HotStartKeysAtUpperAndAnInfeasibleNetwork) {
  TestLp t;  // node 0 sends 5 to node 1 over two parallel arcs of capacity 3
  t.Row(VLR_BK_FX, 5, 5);
  t.Row(VLR_BK_FX, -5, -5);
  t.Col({{0, 1}, {1, -1}}, 1, VLR_BK_RA, 0, 3);
  t.Col({{0, 1}, {1, -1}}, 2, VLR_BK_RA, 0, 3);
  const std::vector<int32_t> keys = {VLR_SK_FIX, VLR_SK_FIX, VLR_SK_UPR, VLR_SK_BAS};
  NetRun r = Solve(t, {}, {}, &keys);
  ExpectOptimal(t, &r, 3 * 1 + 2 * 2);
  EXPECT_EQ(r.info.iter, 0);  // the start is the optimum
  t.bu[2] = 1;                // now at most 4 can go
  r = Solve(t, {}, {}, &keys);
  ASSERT_EQ(r.info.solsta, VLR_SOL_STA_PRIM_INFEAS_CER);
  EXPECT_TRUE(VLR_opt_checkfarkas(t.Lp(), &r.sol));
}

// A part of a problem in the dual form: the column outside the network whose reduced cost under
// the network's duals is negative ends at its upper bound (at its lower in the primal form), and
// the basic values follow it, so that every row's value is its activity.
TEST_F(NetTest, TheDualFormPutsTheOtherColumnsOnTheirCheaperSide) {
  TestLp t;
  t.Row(VLR_BK_FX, 4, 4);
  t.Row(VLR_BK_FX, 0, 0);
  t.Row(VLR_BK_FX, -4, -4);
  t.Row(VLR_BK_UP, -kBig, 10);
  t.Col({{0, 1}, {1, -1}, {3, 2}}, 1, VLR_BK_LO, 0, kBig);
  t.Col({{1, 1}, {2, -1}, {3, 3}}, 1, VLR_BK_LO, 0, kBig);
  t.Col({{1, 1.5}, {3, 1}}, -5, VLR_BK_RA, 0, 2);
  t.Col({{0, 1}, {3, 1}}, 3, VLR_BK_RA, 0, 1);
  for (bool dual : {false, true}) {
    SCOPED_TRACE(dual ? "dual form" : "primal form");
    NetRun r = Solve(t, {1, 1, 1, 0}, {1, 1, 0, 0}, nullptr, dual);
    ASSERT_EQ(r.info.solsta, VLR_SOL_STA_OPTIMAL);
    int32_t nb = 0;
    for (int32_t k = 0; k < t.m + t.n; ++k)
      nb += r.sk[size_t(k)] == VLR_SK_BAS ? 1 : 0;
    EXPECT_EQ(nb, t.m);
    EXPECT_EQ(r.sk[size_t(t.m + 2)], dual ? VLR_SK_UPR : VLR_SK_LOW);
    EXPECT_EQ(r.x[size_t(t.m + 2)], dual ? 2.0 : 0.0);
    EXPECT_EQ(r.sk[size_t(t.m + 3)], VLR_SK_LOW);  // its reduced cost is positive
    std::vector<double> act(size_t(t.m), 0.0);
    for (int32_t j = 0; j < t.n; ++j)
      for (int64_t p = t.abeg[size_t(j)]; p < t.abeg[size_t(j) + 1]; ++p)
        act[size_t(t.aidx[size_t(p)])] += t.aval[size_t(p)] * r.x[size_t(t.m + j)];
    for (int32_t i = 0; i < t.m; ++i)
      EXPECT_NEAR(act[size_t(i)], r.x[size_t(i)], 1e-12) << "row " << i;
  }
}

TEST(NetMemfail, EveryFailureIsNoSpaceWithNothingLeft) {
  netgen::Spec spec;
  spec.nodes = 30;
  spec.arcs = 120;
  const TestLp t = FromGen(netgen::Generate(spec));
  std::vector<int32_t> sign(size_t(t.m), 1);
  std::vector<uint8_t> colin(size_t(t.n), 1);
  std::vector<int32_t> sk(size_t(t.m + t.n));
  std::vector<double> x(sk.size()), y(size_t(t.m)), d(sk.size());
  SimSol sol{sk.data(), x.data(), y.data(), d.data()};
  NetParam par;
  par.loglevel = 0;
  for (int64_t k = 0;; ++k) {
    vlrtest::FailAlloc fa;
    SysEnv* sys = VLR_sysenv_make(0, 10, &fa, vlrtest::FailMalloc, vlrtest::FailFree);
    ASSERT_NE(sys, nullptr);
    NetInfo info;
    fa.failat = k;
    const int32_t r =
        VLR_net_optimize(sys, par, NetCallbacks(), t.Lp(), sign.data(), colin.data(), &sol, &info);
    fa.failat = -1;
    EXPECT_EQ(VLR_sysenv_delete(&sys), 0) << "k = " << k;
    if (r == kNetOk) {
      EXPECT_GE(k, 5);  // the allocations of setup each failed once
      break;
    }
    ASSERT_EQ(r, kNetNoSpace) << "k = " << k;
  }
}

}  // namespace
}  // namespace vlr
