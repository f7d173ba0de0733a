// tests/order/amf_test.cpp: the approximate minimum fill ordering: permutations, counts checked
// by an elimination done here, priorities, dense nodes, stops and allocation failure.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <set>
#include <vector>

#include "failalloc.h"
#include "order/order.h"
#include "order/ordpart.h"

namespace {

// A graph as the orderings take it: lists of the strict lower triangle.
struct Graph {
  int32_t n = 0;
  std::vector<int32_t> len, adj;
  std::vector<int64_t> start;
  vlr::OrderGraph view() const { return {n, len.data(), start.data(), adj.data()}; }
};

Graph FromEdges(int32_t n, const std::vector<std::pair<int32_t, int32_t>>& edges) {
  std::vector<std::vector<int32_t>> lists(n);
  for (auto [i, j] : edges)
    lists[std::max(i, j)].push_back(std::min(i, j));
  Graph g;
  g.n = n;
  for (int32_t i = 0; i < n; ++i) {
    g.start.push_back(static_cast<int64_t>(g.adj.size()));
    g.len.push_back(static_cast<int32_t>(lists[i].size()));
    g.adj.insert(g.adj.end(), lists[i].begin(), lists[i].end());
  }
  return g;
}

Graph Grid(int32_t nx, int32_t ny, int32_t nz) {
  std::vector<std::pair<int32_t, int32_t>> e;
  auto id = [&](int32_t x, int32_t y, int32_t z) { return x + nx * (y + ny * z); };
  for (int32_t z = 0; z < nz; ++z)
    for (int32_t y = 0; y < ny; ++y)
      for (int32_t x = 0; x < nx; ++x) {
        if (x + 1 < nx) e.push_back({id(x, y, z), id(x + 1, y, z)});
        if (y + 1 < ny) e.push_back({id(x, y, z), id(x, y + 1, z)});
        if (z + 1 < nz) e.push_back({id(x, y, z), id(x, y, z + 1)});
      }
  return FromEdges(nx * ny * nz, e);
}

// Random edges, repeats and self loops included, and some nodes of high degree.
Graph RandomGraph(std::mt19937* rng, int32_t n, int32_t m, int32_t ndense) {
  std::uniform_int_distribution<int32_t> u(0, n - 1);
  std::vector<std::pair<int32_t, int32_t>> e;
  for (int32_t k = 0; k < m; ++k)
    e.push_back({u(*rng), u(*rng)});
  for (int32_t k = 0; k < ndense; ++k) {
    const int32_t d = u(*rng);
    for (int32_t j = 0; j < n; j += 2)
      e.push_back({d, j});
  }
  return FromEdges(n, e);
}

// Elimination on explicit sets: each node in turn takes its live neighbours as its column and
// makes them a clique.
vlr::OrderCount Eliminate(const Graph& g, const std::vector<int32_t>& perm) {
  std::vector<std::set<int32_t>> nb(g.n);
  for (int32_t i = 0; i < g.n; ++i)
    for (int64_t k = g.start[i]; k < g.start[i] + g.len[i]; ++k)
      if (g.adj[k] != i) nb[i].insert(g.adj[k]), nb[g.adj[k]].insert(i);
  vlr::OrderCount c{};
  for (int32_t v : perm) {
    const std::vector<int32_t> live(nb[v].begin(), nb[v].end());
    c.lsize += static_cast<int64_t>(live.size()) + 1;
    c.flops += (live.size() + 1.0) * (live.size() + 1.0);
    for (int32_t a : live) {
      nb[a].erase(v);
      for (int32_t b : live)
        if (a != b) nb[a].insert(b);
    }
  }
  return c;
}

class AmfTest : public ::testing::Test {
 protected:
  void SetUp() override { sys_ = vlr::VLR_sysenv_make(0, 0, nullptr, nullptr, nullptr); }
  void TearDown() override { EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), vlr::kSysOk); }
  // Orders g, checks the permutation and returns the counts.
  vlr::OrderCount Order(const Graph& g, std::vector<int32_t>* perm, const int32_t* pri = nullptr) {
    perm->assign(g.n, -1);
    vlr::OrderCount c{};
    EXPECT_EQ(vlr::VLR_amf_sorder_pri(sys_, g.view(), pri, -1, perm->data(), &c, nullptr, nullptr),
              vlr::kOrderOk);
    std::vector<int32_t> iwork(g.n);
    EXPECT_EQ(vlr::VLR_perm_check(g.n, perm->data(), iwork.data()), 1);
    return c;
  }
  vlr::SysEnv* sys_ = nullptr;
};

TEST_F(AmfTest, CountsEqualAnEliminationDoneHere) {
  std::mt19937 rng(1);
  std::vector<Graph> graphs = {Grid(12, 9, 1),
                               Grid(5, 6, 7),
                               RandomGraph(&rng, 300, 700, 0),
                               RandomGraph(&rng, 400, 300, 3),
                               RandomGraph(&rng, 50, 1000, 1),
                               FromEdges(1, {}),
                               FromEdges(2, {{0, 1}, {1, 0}, {1, 1}})};
  for (int32_t k = 0; k < 20; ++k)
    graphs.push_back(RandomGraph(&rng, 20 + 13 * k, 2 * (20 + 13 * k), k % 3));
  for (const Graph& g : graphs) {
    std::vector<int32_t> perm;
    const vlr::OrderCount c = Order(g, &perm);
    const vlr::OrderCount ref = Eliminate(g, perm);
    EXPECT_EQ(c.lsize, ref.lsize) << "n = " << g.n;
    EXPECT_DOUBLE_EQ(c.flops, ref.flops) << "n = " << g.n;
    vlr::OrderCount sym{};
    std::vector<int32_t> cc(g.n);
    ASSERT_EQ(vlr::VLR_ordmat_symcount(sys_, g.view(), perm.data(), nullptr, cc.data(), &sym),
              vlr::kOrderOk);
    EXPECT_EQ(sym.lsize, ref.lsize);
    EXPECT_DOUBLE_EQ(sym.flops, ref.flops);
  }
}

// The minimum local fill order types on the same graphs, with the degree cut-off at five times
// the average plus five: the nodes above it are last.
TEST_F(AmfTest, MinimumLocalFillCountsAndCutOff) {
  std::mt19937 rng(6);
  std::vector<Graph> graphs = {Grid(9, 8, 3), RandomGraph(&rng, 300, 600, 2),
                               RandomGraph(&rng, 120, 900, 0), FromEdges(3, {})};
  for (const Graph& g : graphs) {
    for (int32_t ordtype = 0; ordtype < 3; ++ordtype) {
      std::vector<int32_t> perm(g.n), iwork(g.n);
      vlr::OrderCount c{};
      ASSERT_EQ(vlr::VLR_symord_minlocf(sys_, g.view(), ordtype, perm.data(), &c, nullptr, nullptr),
                vlr::kOrderOk);
      ASSERT_EQ(vlr::VLR_perm_check(g.n, perm.data(), iwork.data()), 1);
      const vlr::OrderCount ref = Eliminate(g, perm);
      EXPECT_EQ(c.lsize, ref.lsize) << "n = " << g.n << " type " << ordtype;
      EXPECT_DOUBLE_EQ(c.flops, ref.flops);
    }
  }
  // A star's centre has degree n - 1, far above the cut-off.
  std::vector<std::pair<int32_t, int32_t>> star;
  for (int32_t i = 1; i < 50; ++i)
    star.push_back({0, i});
  const Graph g = FromEdges(50, star);
  std::vector<int32_t> perm(g.n);
  vlr::OrderCount c{};
  ASSERT_EQ(vlr::VLR_symord_minlocf(sys_, g.view(), 1, perm.data(), &c, nullptr, nullptr), 0);
  EXPECT_EQ(perm[49], 0);
  EXPECT_EQ(c.lsize, 99);
}

// On a 2-D grid a minimum fill order stays far below a band order's fill.
TEST_F(AmfTest, GridFillIsFarBelowTheNaturalOrder) {
  const Graph g = Grid(40, 40, 1);
  std::vector<int32_t> perm, natural(g.n);
  const vlr::OrderCount c = Order(g, &perm);
  for (int32_t i = 0; i < g.n; ++i)
    natural[i] = i;
  vlr::OrderCount nat{};
  ASSERT_EQ(vlr::VLR_ordmat_symcount(sys_, g.view(), natural.data(), nullptr, nullptr, &nat), 0);
  EXPECT_LT(c.lsize, nat.lsize * 2 / 3);
}

TEST_F(AmfTest, EmptyAndEdgelessGraphs) {
  std::vector<int32_t> perm;
  vlr::OrderCount c = Order(FromEdges(0, {}), &perm);
  EXPECT_EQ(c.lsize, 0);
  c = Order(FromEdges(9, {}), &perm);  // a diagonal matrix: every score 0
  EXPECT_EQ(c.lsize, 9);
  EXPECT_EQ(c.flops, 9.0);
}

TEST_F(AmfTest, PrioritiesOrderBandsOneAfterAnother) {
  std::mt19937 rng(4);
  const Graph g = RandomGraph(&rng, 500, 1500, 1);
  std::vector<int32_t> pri(g.n), perm;
  for (int32_t i = 0; i < g.n; ++i)
    pri[i] = (i * 7) % 4;
  const vlr::OrderCount c = Order(g, &perm, pri.data());
  for (int32_t k = 1; k < g.n; ++k)
    ASSERT_LE(pri[perm[k - 1]], pri[perm[k]]) << "position " << k;
  EXPECT_EQ(c.lsize, Eliminate(g, perm).lsize);
}

// Above 100000 nodes a node of very high degree is set aside: it is ordered last, and the
// counts still hold with it.
TEST_F(AmfTest, DenseNodeOfALargeGraphIsOrderedLast) {
  const int32_t n = 100500, hub = 777;
  std::vector<std::pair<int32_t, int32_t>> e;
  for (int32_t i = 0; i + 1 < n; ++i)
    e.push_back({i, i + 1});
  for (int32_t i = 0; i < n; i += 3)
    if (i != hub) e.push_back({hub, i});
  const Graph g = FromEdges(n, e);
  std::vector<int32_t> perm;
  const vlr::OrderCount c = Order(g, &perm);
  EXPECT_EQ(perm[n - 1], hub);
  vlr::OrderCount sym{};
  ASSERT_EQ(vlr::VLR_ordmat_symcount(sys_, g.view(), perm.data(), nullptr, nullptr, &sym), 0);
  EXPECT_EQ(c.lsize, sym.lsize);
  EXPECT_LT(c.lsize, 4 * int64_t{n});
}

TEST_F(AmfTest, CallbackStopsTheRun) {
  const Graph g = Grid(5, 5, 1);
  std::vector<int32_t> perm(g.n);
  vlr::OrderCount c{};
  auto stop = [](int32_t code, void*, double progress) -> int32_t {
    return code == 0 && progress == 1.0 ? 1 : 0;
  };
  EXPECT_EQ(vlr::VLR_amf_sorder(sys_, g.view(), 0, perm.data(), &c, nullptr, stop),
            vlr::kOrderStopped);
  // During the elimination it is asked again after a count of work, so a stop set while the
  // run goes (a race's loser) ends it before the last pivot: on a grid of 90000 nodes it is
  // asked a few times, and the first answer of 1 ends the run.
  const Graph big = Grid(300, 300, 1);
  perm.assign(big.n, 0);
  struct Polls {
    int32_t asked = 0;
    double progress = 0.0;
  } polls;
  auto later = [](int32_t code, void* handle, double progress) -> int32_t {
    auto* p = static_cast<Polls*>(handle);
    if (code == 0) return 0;
    ++p->asked;
    p->progress = progress;
    return 1;
  };
  EXPECT_EQ(vlr::VLR_amf_sorder(sys_, big.view(), 0, perm.data(), &c, &polls, later),
            vlr::kOrderStopped);
  EXPECT_EQ(polls.asked, 1);
  EXPECT_GT(polls.progress, 0.0);
  EXPECT_LT(polls.progress, 1.0);
  // Never stopped, it is asked a few times and orders the whole graph.
  auto never = [](int32_t code, void* handle, double) -> int32_t {
    if (code != 0) ++static_cast<Polls*>(handle)->asked;
    return 0;
  };
  polls.asked = 0;
  EXPECT_EQ(vlr::VLR_amf_sorder(sys_, big.view(), 0, perm.data(), &c, &polls, never),
            vlr::kOrderOk);
  EXPECT_GT(polls.asked, 1);
}

// The choice between a kept ordering and a new run.
TEST_F(AmfTest, KeptOrderingStaysWhileANewRunWouldNotPay) {
  const Graph g = Grid(10, 10, 1);
  std::vector<int32_t> perm(g.n), inv(g.n);
  for (int32_t i = 0; i < g.n; ++i)
    perm[i] = g.n - 1 - i;
  vlr::OrderCount prev{int64_t{100000000}, 1e9}, c{};
  ASSERT_EQ(vlr::VLR_amf_gp_sorder(sys_, 0.25, 0.25, g.view(), 3, &prev, perm.data(), inv.data(),
                                   &c, nullptr, nullptr),
            vlr::kOrderOk);
  EXPECT_EQ(perm[0], g.n - 1);
  EXPECT_EQ(c.lsize, prev.lsize);
  prev.lsize = 10;  // small fill: ordered again
  ASSERT_EQ(vlr::VLR_amf_gp_sorder(sys_, 0.25, 0.25, g.view(), 3, &prev, perm.data(), inv.data(),
                                   &c, nullptr, nullptr),
            vlr::kOrderOk);
  EXPECT_EQ(c.lsize, Eliminate(g, perm).lsize);
  for (int32_t k = 0; k < g.n; ++k)
    EXPECT_EQ(inv[perm[k]], k);
}

// The free choice tries the dissections (it asks whether to stop before each, at progress one
// half) only where the factor's flops are large against the graph: not on a 2-D grid of 900
// nodes, whose factor is cheap, but on a 3-D grid of 4096.
TEST_F(AmfTest, FreeChoiceDissectsOnlyACostlyFactor) {
  auto stopatdissection = [](int32_t code, void*, double progress) -> int32_t {
    return code == 1 && progress == 0.5 ? 1 : 0;
  };
  for (const auto& [g, dissects] : {std::pair{Grid(30, 30, 1), false}, {Grid(16, 16, 16), true}}) {
    std::vector<int32_t> perm(g.n), inv(g.n);
    vlr::OrderCount c{};
    EXPECT_EQ(vlr::VLR_amf_gp_sorder(sys_, 0.25, 0.25, g.view(), 3, nullptr, perm.data(),
                                     inv.data(), &c, nullptr, stopatdissection),
              dissects ? vlr::kOrderStopped : vlr::kOrderOk)
        << g.n;
  }
}

// The dissection of a grid: without the separators (priority above 0) no part holds more than
// the part limit, and each separator comes after the parts it divides. The free choice then
// keeps the better of the orders it tried, with its exact count.
TEST_F(AmfTest, DissectionSeparatesGridsAndTheFreeChoiceKeepsTheBest) {
  for (const Graph& g : {Grid(40, 40, 1), Grid(12, 12, 12)}) {
    std::vector<int32_t> pri(g.n);
    ASSERT_EQ(vlr::VLR_ordpart_dissect(sys_, g.view(), 100, 0.25, 0, pri.data()), vlr::kOrderOk);
    // Parts: components of the nodes of priority 0.
    std::vector<std::vector<int32_t>> nb(g.n);
    for (int32_t i = 0; i < g.n; ++i)
      for (int64_t k = g.start[i]; k < g.start[i] + g.len[i]; ++k)
        nb[i].push_back(g.adj[k]), nb[g.adj[k]].push_back(i);
    std::vector<int32_t> comp(g.n, -1);
    int32_t largest = 0, nsep = 0;
    for (int32_t s = 0; s < g.n; ++s) {
      nsep += pri[s] > 0;
      if (pri[s] > 0 || comp[s] >= 0) continue;
      std::vector<int32_t> q{s};
      comp[s] = s;
      for (size_t h = 0; h < q.size(); ++h)
        for (int32_t w : nb[q[h]])
          if (pri[w] == 0 && comp[w] < 0) comp[w] = s, q.push_back(w);
      largest = std::max(largest, static_cast<int32_t>(q.size()));
    }
    EXPECT_LE(largest, 100);
    EXPECT_LT(nsep, g.n / 3);
    std::vector<int32_t> perm(g.n), inv(g.n), amf(g.n);
    vlr::OrderCount c{}, a{};
    ASSERT_EQ(vlr::VLR_amf_gp_sorder(sys_, 0.25, 0.25, g.view(), 3, nullptr, perm.data(),
                                     inv.data(), &c, nullptr, nullptr),
              vlr::kOrderOk);
    ASSERT_EQ(vlr::VLR_amf_sorder(sys_, g.view(), -1, amf.data(), &a, nullptr, nullptr), 0);
    EXPECT_LE(c.lsize, a.lsize);
    EXPECT_EQ(c.lsize, Eliminate(g, perm).lsize);
  }
}

// The multilevel bisection gives a true separator (no edge joins the two sides) that leaves
// each side of a grid its share, and on a 2-D grid one close to a grid line.
TEST_F(AmfTest, BisectionSeparatesAndKeepsTheBalance) {
  std::mt19937 rng(12);
  for (const Graph& g : {Grid(60, 60, 1), Grid(15, 15, 15), RandomGraph(&rng, 3000, 6000, 0)}) {
    std::vector<std::vector<int32_t>> nb(g.n);
    for (int32_t i = 0; i < g.n; ++i)
      for (int64_t k = g.start[i]; k < g.start[i] + g.len[i]; ++k)
        if (g.adj[k] != i) nb[i].push_back(g.adj[k]), nb[g.adj[k]].push_back(i);
    // The largest component, as its own graph.
    std::vector<int32_t> comp(g.n, -1), best;
    for (int32_t s = 0; s < g.n; ++s) {
      if (comp[s] >= 0) continue;
      std::vector<int32_t> q{s};
      comp[s] = s;
      for (size_t h = 0; h < q.size(); ++h)
        for (int32_t w : nb[q[h]])
          if (comp[w] < 0) comp[w] = s, q.push_back(w);
      if (q.size() > best.size()) best = q;
    }
    const int32_t t = static_cast<int32_t>(best.size());
    std::vector<int32_t> local(g.n, -1), adj;
    std::vector<int64_t> xadj{0};
    for (int32_t k = 0; k < t; ++k)
      local[best[k]] = k;
    for (int32_t v : best) {
      for (int32_t w : nb[v])
        adj.push_back(local[w]);
      xadj.push_back(static_cast<int64_t>(adj.size()));
    }
    std::vector<int32_t> where(t, -1);
    ASSERT_EQ(vlr::VLR_ordpart_bisect(sys_, t, xadj.data(), adj.data(), 0.25, 0, where.data()),
              vlr::kOrderOk);
    int32_t size[3] = {0, 0, 0};
    for (int32_t v = 0; v < t; ++v) {
      ASSERT_TRUE(where[v] >= 0 && where[v] <= 2);
      ++size[where[v]];
      for (int64_t k = xadj[v]; k < xadj[v + 1]; ++k)
        ASSERT_FALSE(where[v] == 0 && where[adj[k]] == 2) << "an edge crosses the separator";
    }
    EXPECT_GT(size[1], 0);
    EXPECT_GT(std::min(size[0], size[2]), 0);
    if (g.n != 3000) {  // a random graph has no balanced level to start from
      EXPECT_GE(std::min(size[0], size[2]), t / 8);
    }
    if (g.n == 3600) {
      EXPECT_LE(size[1], 90);
    }
  }
}

using vlrtest::FailAlloc;
using vlrtest::FailFree;
using vlrtest::FailMalloc;

TEST(AmfMemfail, EveryFailedAllocationIsNoSpaceWithNothingLeft) {
  FailAlloc fa;
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 10, &fa, FailMalloc, FailFree);
  ASSERT_NE(sys, nullptr);
  std::mt19937 rng(9);
  const Graph g = RandomGraph(&rng, 200, 600, 2);
  const int64_t base = vlr::VLR_sysenv_numblocks(sys);
  std::vector<int32_t> perm(g.n);
  int64_t k = 0;
  for (;; ++k) {
    fa.calls = 0, fa.failat = k;
    vlr::OrderCount c{};
    const int32_t r = vlr::VLR_amf_sorder(sys, g.view(), -1, perm.data(), &c, nullptr, nullptr);
    fa.failat = -1;
    EXPECT_EQ(vlr::VLR_sysenv_numblocks(sys), base);
    if (r == vlr::kOrderOk) break;
    EXPECT_EQ(r, vlr::kOrderNoSpace);
  }
  EXPECT_GE(k, 3);
  // The free choice on a graph where it also dissects.
  const Graph grid = Grid(16, 16, 16);
  std::vector<int32_t> p(grid.n), inv(grid.n);
  // Every one of the first allocations fails in turn, then one in a growing stride: the
  // dissection makes thousands.
  for (k = 0;; k += k < 100 ? 1 : k / 8) {
    fa.calls = 0, fa.failat = k;
    vlr::OrderCount c{};
    const int32_t r = vlr::VLR_amf_gp_sorder(sys, 0.25, 0.25, grid.view(), 3, nullptr, p.data(),
                                             inv.data(), &c, nullptr, nullptr);
    fa.failat = -1;
    EXPECT_EQ(vlr::VLR_sysenv_numblocks(sys), base);
    if (r == vlr::kOrderOk) break;
    EXPECT_EQ(r, vlr::kOrderNoSpace);
  }
  EXPECT_GE(k, 1000);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysOk);
}

}  // namespace
