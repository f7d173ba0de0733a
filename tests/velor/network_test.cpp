// tests/velor/network_test.cpp: the network optimiser through the interface: generated networks
// solved by it and by the dual simplex with equal objectives, the network start of the simplex,
// certificates, the extraction, bad arguments, the callback and allocation failures.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "fixture.h"
#include "netopt/netgen.h"
#include "taskdump.h"

namespace {

using vlrtest::MakeEnv;
using vlrtest::MakeTask;

void Load(VLRtask_t task, const netgen::Problem& p, bool maximize = false) {
  netgen::Lp lp = netgen::ToLp(p, VLR_BK_FX, VLR_BK_LO, VLR_BK_RA);
  if (maximize) {
    for (double& c : lp.c)
      c = -c;
  }
  ASSERT_EQ(
      VLR_inputdata(task, lp.m, lp.n, lp.m, lp.n, lp.c.data(), 0.0, lp.aptrb.data(),
                    lp.aptre.data(), lp.asub.data(), lp.aval.data(), lp.bkc.data(), lp.blc.data(),
                    lp.buc.data(), lp.bkx.data(), lp.blx.data(), lp.bux.data()),
      VLR_RES_OK);
  ASSERT_EQ(
      VLR_putobjsense(task, maximize ? VLR_OBJECTIVE_SENSE_MAXIMIZE : VLR_OBJECTIVE_SENSE_MINIMIZE),
      VLR_RES_OK);
}

double Objective(VLRtask_t task, int32_t* solsta) {
  int32_t prosta = 0;
  EXPECT_EQ(VLR_getsolutionstatus(task, VLR_SOL_BAS, &prosta, solsta), VLR_RES_OK);
  double obj = 0.0;
  EXPECT_EQ(VLR_getprimalobj(task, VLR_SOL_BAS, &obj), VLR_RES_OK);
  return obj;
}

int32_t IntInf(VLRtask_t task, int32_t item) {
  int32_t v = -1;
  EXPECT_EQ(VLR_getintinf(task, item, &v), VLR_RES_OK);
  return v;
}

netgen::Spec Family(int32_t kind, int32_t nodes, int32_t arcs, uint64_t seed) {
  netgen::Spec s;
  s.kind = kind;
  s.nodes = nodes;
  s.arcs = arcs;
  s.sources = std::max(2, nodes / 10);
  s.sinks = std::max(2, nodes / 10);
  s.supply = 40LL * nodes;
  s.seed = seed;
  return s;
}

// The three families, twice each, minimised and maximised (the maximum of -c is minus the
// minimum of c): the network optimiser and the dual simplex agree.
TEST(Network, GeneratedFamiliesAgreeWithTheDualSimplex) {
  auto env = MakeEnv();
  for (int32_t kind : {netgen::kTransship, netgen::kTransport, netgen::kAssign}) {
    for (uint64_t seed = 1; seed <= 2; ++seed) {
      const netgen::Problem p = netgen::Generate(Family(kind, 120, 1500, seed));
      for (bool maximize : {false, true}) {
        SCOPED_TRACE(::testing::Message()
                     << "kind " << kind << " seed " << seed << " max " << maximize);
        auto net = MakeTask(env.get());
        ASSERT_EQ(VLR_putintparam(net.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
        Load(net.get(), p, maximize);
        ASSERT_EQ(VLR_netoptimize(net.get()), VLR_RES_OK);
        int32_t solsta = 0;
        const double objnet = Objective(net.get(), &solsta);
        EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
        EXPECT_GT(IntInf(net.get(), VLR_IINF_SIM_NETWORK_PRIMAL_ITER), 0);

        auto lp = MakeTask(env.get());
        ASSERT_EQ(VLR_putintparam(lp.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
        ASSERT_EQ(VLR_putintparam(lp.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX),
                  VLR_RES_OK);
        Load(lp.get(), p, maximize);
        ASSERT_EQ(VLR_optimize(lp.get()), VLR_RES_OK);
        const double objlp = Objective(lp.get(), &solsta);
        EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
        EXPECT_NEAR(objnet, objlp, 1e-9 * (1.0 + std::fabs(objlp)));
        EXPECT_EQ(maximize ? -objnet : objnet, std::round(objnet < 0 ? -objnet : objnet));
      }
    }
  }
}

// With the network start on, the simplex starts from the tree's basis and ends at once.
TEST(Network, NetworkStartLeavesTheSimplexNothingToDo) {
  auto env = MakeEnv();
  const netgen::Problem p = netgen::Generate(Family(netgen::kTransship, 200, 3000, 7));
  for (int32_t optimizer : {VLR_OPTIMIZER_DUAL_SIMPLEX, VLR_OPTIMIZER_PRIMAL_SIMPLEX}) {
    auto task = MakeTask(env.get());
    ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
    Load(task.get(), p);
    ASSERT_EQ(VLR_optimize(task.get()), VLR_RES_OK);
    int32_t solsta = 0;
    const double objref = Objective(task.get(), &solsta);
    ASSERT_EQ(VLR_deletesolution(task.get(), VLR_SOL_BAS), VLR_RES_OK);
    ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_OPTIMIZER, optimizer), VLR_RES_OK);
    ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_SIM_NETWORK_DETECT, 0), VLR_RES_OK);
    ASSERT_EQ(VLR_optimize(task.get()), VLR_RES_OK);
    EXPECT_EQ(Objective(task.get(), &solsta), objref);
    EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
    EXPECT_GT(IntInf(task.get(), VLR_IINF_SIM_NETWORK_PRIMAL_ITER), 0);
    EXPECT_EQ(IntInf(task.get(), VLR_IINF_SIM_DUAL_ITER), 0);
    EXPECT_EQ(IntInf(task.get(), VLR_IINF_SIM_PRIMAL_ITER), 0);
  }
}

// Supply beyond what the arcs can carry, and a negative cycle without capacity: both optimisers
// give the same status, each with a certificate.
TEST(Network, InfeasibleAndUnboundedNetworksGiveCertificates) {
  auto env = MakeEnv();
  for (bool unbounded : {false, true}) {
    netgen::Problem p = netgen::Generate(Family(netgen::kTransship, 60, 500, 3));
    if (unbounded) {
      // A cycle of three transshipment nodes with a negative total cost.
      const int32_t a = 10, b = 11, c = 12;
      netgen::AddArc(&p, a, b, -5, HUGE_VAL);
      netgen::AddArc(&p, b, c, 1, HUGE_VAL);
      netgen::AddArc(&p, c, a, 1, HUGE_VAL);
    } else {
      // Every arc capacitated at 1: the supplies cannot leave their sources.
      for (double& u : p.cap)
        u = 1.0;
    }
    const int32_t want = unbounded ? VLR_SOL_STA_DUAL_INFEAS_CER : VLR_SOL_STA_PRIM_INFEAS_CER;
    // The network optimiser, the dual simplex, and the dual simplex from the network's basis.
    for (int32_t road : {0, 1, 2}) {
      const bool net = road == 0;
      auto task = MakeTask(env.get());
      ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
      ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX),
                VLR_RES_OK);
      ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_SIM_NETWORK_DETECT, road == 2 ? 0 : 101),
                VLR_RES_OK);
      Load(task.get(), p);
      ASSERT_EQ(net ? VLR_netoptimize(task.get()) : VLR_optimize(task.get()), VLR_RES_OK);
      int32_t prosta = 0, solsta = 0;
      ASSERT_EQ(VLR_getsolutionstatus(task.get(), VLR_SOL_BAS, &prosta, &solsta), VLR_RES_OK);
      EXPECT_EQ(solsta, want) << "road " << road;
    }
  }
}

// A problem that is not a pure network is refused by the network optimiser, and the extraction
// finds its network part; a side constraint over many columns stays outside.
TEST(Network, ExtractionFindsThePartAndTheOptimiserRefusesIt) {
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
  const netgen::Problem p = netgen::Generate(Family(netgen::kTransport, 40, 300, 5));
  Load(task.get(), p);
  const int32_t m = p.nodes, n = static_cast<int32_t>(p.tail.size());
  std::vector<int32_t> netcon(static_cast<size_t>(m) + 1), netvar(static_cast<size_t>(n));
  std::vector<double> scal(size_t(m) + 1);
  int32_t nc = -1, nv = -1;
  ASSERT_EQ(VLR_netextraction(task.get(), &nc, &nv, netcon.data(), netvar.data(), scal.data()),
            VLR_RES_OK);
  EXPECT_EQ(nc, m);
  EXPECT_EQ(nv, n);
  // A side row: a budget on the first 100 arcs.
  {
    std::vector<int32_t> sub;
    std::vector<double> val;
    for (int32_t j = 0; j < 100; ++j)
      sub.push_back(j), val.push_back(1.0 + (j % 3));
    const int32_t b = 0, e = 100, bk = VLR_BK_UP;
    const double bl = -1e30, bu = 500.0;
    ASSERT_EQ(VLR_appendcons(task.get(), 1, &b, &e, sub.data(), val.data(), &bk, &bl, &bu),
              VLR_RES_OK);
  }
  const std::string before = vlrtest::Dump(task.get());
  EXPECT_EQ(VLR_netoptimize(task.get()), VLR_RES_ERR_INV_PROBLEM);
  EXPECT_EQ(vlrtest::Dump(task.get()), before);
  for (int32_t method :
       {VLR_NETWORK_DETECT_FREE, VLR_NETWORK_DETECT_SIMPLE, VLR_NETWORK_DETECT_ADVANCED}) {
    ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_SIM_NETWORK_DETECT_METHOD, method), VLR_RES_OK);
    ASSERT_EQ(VLR_netextraction(task.get(), &nc, &nv, netcon.data(), netvar.data(), scal.data()),
              VLR_RES_OK);
    EXPECT_EQ(nc, m) << method;  // every node row, not the budget
    EXPECT_GE(nv, n - 100) << method;
    for (int32_t k = 0; k < nc; ++k)
      EXPECT_EQ(std::fabs(scal[size_t(k)]), 1.0);
  }
  // The network start on the part, in the primal form for the primal simplex and the dual form
  // for the others: the simplex finishes from it at the optimum of a start without it.
  int32_t solsta = 0;
  ASSERT_EQ(VLR_optimize(task.get()), VLR_RES_OK);
  const double obj = Objective(task.get(), &solsta);
  EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_SIM_NETWORK_DETECT, 50), VLR_RES_OK);
  for (int32_t optimizer :
       {VLR_OPTIMIZER_FREE_SIMPLEX, VLR_OPTIMIZER_PRIMAL_SIMPLEX, VLR_OPTIMIZER_DUAL_SIMPLEX}) {
    ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_OPTIMIZER, optimizer), VLR_RES_OK);
    ASSERT_EQ(VLR_deletesolution(task.get(), VLR_SOL_BAS), VLR_RES_OK);
    ASSERT_EQ(VLR_optimize(task.get()), VLR_RES_OK);
    EXPECT_NEAR(Objective(task.get(), &solsta), obj, 1e-9 * (1.0 + std::fabs(obj))) << optimizer;
    EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
    EXPECT_GT(IntInf(task.get(), VLR_IINF_SIM_NETWORK_PRIMAL_ITER), 0);
  }
}

// After a change of costs the network optimiser, and the network start of the simplex, go on
// from the last basis: the same optimum as a start without it, in far fewer pivots.
TEST(Network, AChangeOfCostsStartsFromTheLastTree) {
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
  const netgen::Problem p = netgen::Generate(Family(netgen::kTransship, 400, 5000, 11));
  Load(task.get(), p);
  ASSERT_EQ(VLR_netoptimize(task.get()), VLR_RES_OK);
  const auto n = static_cast<int32_t>(p.tail.size());
  int32_t solsta = 0;
  for (int32_t round = 0; round < 2; ++round) {
    for (int32_t j = round; j < n; j += 8)
      ASSERT_EQ(VLR_putcj(task.get(), j, p.cost[size_t(j)] + 30.0), VLR_RES_OK);
    if (round == 0) {
      ASSERT_EQ(VLR_netoptimize(task.get()), VLR_RES_OK);
    } else {
      ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX),
                VLR_RES_OK);
      ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_SIM_NETWORK_DETECT, 0), VLR_RES_OK);
      ASSERT_EQ(VLR_optimize(task.get()), VLR_RES_OK);
      EXPECT_EQ(IntInf(task.get(), VLR_IINF_SIM_DUAL_ITER), 0);
    }
    const double objhot = Objective(task.get(), &solsta);
    EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
    const int32_t ithot = IntInf(task.get(), VLR_IINF_SIM_NETWORK_PRIMAL_ITER);
    EXPECT_EQ(IntInf(task.get(), VLR_IINF_SIM_NETWORK_PRIMAL_INF_ITER), 0);
    ASSERT_EQ(VLR_deletesolution(task.get(), VLR_SOL_BAS), VLR_RES_OK);
    ASSERT_EQ(VLR_netoptimize(task.get()), VLR_RES_OK);
    EXPECT_EQ(Objective(task.get(), &solsta), objhot) << "round " << round;
    EXPECT_LT(ithot, IntInf(task.get(), VLR_IINF_SIM_NETWORK_PRIMAL_ITER) / 2) << "round " << round;
  }
}

TEST(Network, BadHandlesAndArgumentsAreRefused) {
  int32_t nc = 0, nv = 0, con = 0, var = 0;
  double scal = 0.0;
  EXPECT_NE(VLR_netoptimize(nullptr), VLR_RES_OK);
  EXPECT_NE(VLR_netextraction(nullptr, &nc, &nv, &con, &var, &scal), VLR_RES_OK);
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
  EXPECT_EQ(VLR_netextraction(task.get(), nullptr, &nv, &con, &var, &scal),
            VLR_RES_ERR_NULL_POINTER);
  EXPECT_EQ(VLR_netextraction(task.get(), &nc, nullptr, &con, &var, &scal),
            VLR_RES_ERR_NULL_POINTER);
  EXPECT_EQ(VLR_netextraction(task.get(), &nc, &nv, nullptr, &var, &scal),
            VLR_RES_ERR_NULL_POINTER);
  EXPECT_EQ(VLR_netextraction(task.get(), &nc, &nv, &con, nullptr, &scal),
            VLR_RES_ERR_NULL_POINTER);
  EXPECT_EQ(VLR_netextraction(task.get(), &nc, &nv, &con, &var, nullptr), VLR_RES_ERR_NULL_POINTER);
  // An empty task is a network with nothing in it.
  EXPECT_EQ(VLR_netextraction(task.get(), &nc, &nv, &con, &var, &scal), VLR_RES_OK);
  EXPECT_EQ(nc + nv, 0);
  EXPECT_EQ(VLR_netoptimize(task.get()), VLR_RES_OK);
  // A quadratic objective is no network.
  const int32_t b = 0, bk = VLR_BK_LO;
  const double c = 1.0, bl = 0.0, bu = 1e30;
  ASSERT_EQ(VLR_appendvars(task.get(), 1, &c, &b, &b, nullptr, nullptr, &bk, &bl, &bu), VLR_RES_OK);
  const int32_t i = 0;
  const double q = 1.0;
  ASSERT_EQ(VLR_putqobj(task.get(), 1, &i, &i, &q), VLR_RES_OK);
  EXPECT_EQ(VLR_netoptimize(task.get()), VLR_RES_ERR_INV_PROBLEM);
  EXPECT_EQ(VLR_netextraction(task.get(), &nc, &nv, &con, &var, &scal), VLR_RES_ERR_INV_PROBLEM);
}

int32_t StopAtOnce(VLRtask_t, void* handle, int32_t code) {
  auto* seen = static_cast<std::vector<int32_t>*>(handle);
  seen->push_back(code);
  return code == VLR_CALLBACK_UPDATE_NETWORK_PRIMAL_SIMPLEX ? 1 : 0;
}

TEST(Network, TheCallbackStopsTheRun) {
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
  Load(task.get(), netgen::Generate(Family(netgen::kTransship, 1000, 20000, 9)));
  std::vector<int32_t> seen;
  ASSERT_EQ(VLR_putcallbackfunc(task.get(), StopAtOnce, &seen), VLR_RES_OK);
  EXPECT_EQ(VLR_netoptimize(task.get()), VLR_RES_TRM_USER_CALLBACK);
  EXPECT_EQ(IntInf(task.get(), VLR_IINF_SIM_NETWORK_PRIMAL_ITER), 1000);
  ASSERT_FALSE(seen.empty());
  EXPECT_EQ(seen.front(), VLR_CALLBACK_BEGIN_OPTIMIZER);
  EXPECT_EQ(seen.back(), VLR_CALLBACK_END_OPTIMIZER);
  bool began = false, ended = false;
  for (int32_t c : seen) {
    began = began || c == VLR_CALLBACK_BEGIN_NETWORK_PRIMAL_SIMPLEX;
    ended = ended || c == VLR_CALLBACK_END_NETWORK_PRIMAL_SIMPLEX;
  }
  EXPECT_TRUE(began && ended);
}

TEST(NetworkMemfail, EveryFailureIsSpaceAndTheTaskStaysAsItWas) {
  using vlrtest::g_left;
  using vlrtest::g_live;
  g_left = -1;
  VLRenv_t env = nullptr;
  ASSERT_EQ(
      VLR_makeenv(&env, nullptr, vlrtest::FailingMalloc, vlrtest::CountingFree, vlrtest::DbgFile()),
      VLR_RES_OK);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  VLRtask_t task = nullptr;
  ASSERT_EQ(VLR_maketask(env, 0, 0, &task), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(task, VLR_IPAR_LOG, 0), VLR_RES_OK);
  Load(task, netgen::Generate(Family(netgen::kTransship, 30, 150, 2)));
  const std::string before = vlrtest::Dump(task);
  for (int pass = 0; pass < 2; ++pass) {
    int64_t failures = 0;
    for (int64_t k = 0;; ++k) {
      int32_t nc = 0, nv = 0;
      std::vector<int32_t> con(40), var(200);
      std::vector<double> scal(40);
      g_left = k;
      const int32_t r =
          pass == 0 ? VLR_netoptimize(task)
                    : VLR_netextraction(task, &nc, &nv, con.data(), var.data(), scal.data());
      g_left = -1;
      if (r == VLR_RES_OK) break;
      ++failures;
      ASSERT_EQ(r, VLR_RES_ERR_SPACE) << "pass " << pass << " k = " << k;
      ASSERT_EQ(VLR_deletesolution(task, VLR_SOL_BAS), VLR_RES_OK);
      ASSERT_EQ(vlrtest::Dump(task), before) << "pass " << pass << " k = " << k;
    }
    EXPECT_GT(failures, 5) << pass;
  }
  ASSERT_EQ(VLR_deletetask(&task), VLR_RES_OK);
  ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
  EXPECT_EQ(g_live, 0);
}

// Large networks (the slow label): 10^5 arcs against the dual simplex, 10^6 arcs checked on the
// solution the interface gives back.
TEST(NetworkLarge, HundredThousandArcsAgreeWithTheDualSimplex) {
  if (std::getenv("VLR_TEST_SLOW") == nullptr) GTEST_SKIP() << "VLR_TEST_SLOW not set";
  auto env = MakeEnv();
  const netgen::Problem p = netgen::Generate(Family(netgen::kTransship, 5000, 100000, 11));
  auto net = MakeTask(env.get());
  ASSERT_EQ(VLR_putintparam(net.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
  Load(net.get(), p);
  ASSERT_EQ(VLR_netoptimize(net.get()), VLR_RES_OK);
  int32_t solsta = 0;
  const double objnet = Objective(net.get(), &solsta);
  EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
  auto lp = MakeTask(env.get());
  ASSERT_EQ(VLR_putintparam(lp.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(lp.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX), VLR_RES_OK);
  Load(lp.get(), p);
  ASSERT_EQ(VLR_optimize(lp.get()), VLR_RES_OK);
  EXPECT_EQ(objnet, Objective(lp.get(), &solsta));
}

TEST(NetworkLarge, MillionArcsEndOptimal) {
  if (std::getenv("VLR_TEST_SLOW") == nullptr) GTEST_SKIP() << "VLR_TEST_SLOW not set";
  auto env = MakeEnv();
  const netgen::Problem p = netgen::Generate(Family(netgen::kTransship, 50000, 1000000, 13));
  auto net = MakeTask(env.get());
  ASSERT_EQ(VLR_putintparam(net.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
  Load(net.get(), p);
  ASSERT_EQ(VLR_netoptimize(net.get()), VLR_RES_OK);
  int32_t prosta = 0, solsta = 0;
  double pobj = 0, maxpbi = 0, maxpcni = 0, maxpeqi = 0, maxinti = 0, dobj = 0, maxdbi = 0,
         maxdcni = 0, maxdeqi = 0;
  ASSERT_EQ(VLR_getsolutioninf(net.get(), VLR_SOL_BAS, &prosta, &solsta, &pobj, &maxpbi, &maxpcni,
                               &maxpeqi, &maxinti, &dobj, &maxdbi, &maxdcni, &maxdeqi),
            VLR_RES_OK);
  EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_EQ(pobj, dobj);
  EXPECT_LE(std::max({maxpbi, maxpeqi, maxdbi, maxdeqi}), 1e-9);
}

}  // namespace
