// tests/netopt/netgen.h: generated minimum-cost-flow problems in the manner of NETGEN: sources,
// sinks and transshipment nodes, a skeleton of chains from every source through random nodes to
// random sinks without capacity (so every problem is feasible), and random arcs to the count
// asked, a share of them capacitated. Transportation and assignment are the bipartite cases.
// Used by the tests and the benchmark; the same seed gives the same problem on every machine.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

namespace netgen {

enum Kind : int32_t { kTransship = 0, kTransport = 1, kAssign = 2 };

struct Spec {
  int32_t kind = kTransship;
  int32_t nodes = 100;  // all nodes (transport, assignment: sources + sinks)
  int32_t arcs = 1000;
  int32_t sources = 10, sinks = 10;
  int64_t supply = 1000;  // total supply (assignment: one per source)
  int32_t cmin = 1, cmax = 100;
  int32_t capmin = 10, capmax = 1000;
  int32_t pcap = 30;  // percent of the random arcs with a capacity
  uint64_t seed = 1;
};

// Nodes 0 .. nodes-1; supply b(v) > 0 at sources, < 0 at sinks, summing to zero. An arc's
// capacity is +inf when it has none. Conservation: out - in = b(v).
struct Problem {
  int32_t nodes = 0;
  std::vector<int32_t> tail, head;
  std::vector<double> cost, cap, supply;
};

struct Lcg {
  uint64_t s;
  uint32_t Next() {
    s = s * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<uint32_t>(s >> 33);
  }
  int32_t In(int32_t lo, int32_t hi) {  // uniform in [lo, hi]
    return lo + static_cast<int32_t>(Next() % static_cast<uint32_t>(hi - lo + 1));
  }
};

inline void AddArc(Problem* p, int32_t t, int32_t h, double c, double u) {
  p->tail.push_back(t);
  p->head.push_back(h);
  p->cost.push_back(c);
  p->cap.push_back(u);
}

inline Problem Generate(const Spec& s) {
  const double inf = std::numeric_limits<double>::infinity();
  Lcg rng{s.seed * 0x9e3779b97f4a7c15ULL + 12345};
  Problem p;
  p.nodes = s.nodes;
  p.supply.assign(static_cast<size_t>(s.nodes), 0.0);
  const int32_t ns = s.kind == kTransship ? s.sources : s.nodes / 2;
  const int32_t nt = s.kind == kTransship ? s.sinks : s.nodes - ns;
  const int32_t sink0 = s.nodes - nt;  // sinks are the last nt nodes
  // Transshipment: supplies split at random among sources and demands among sinks. Bipartite
  // problems: the same supply at every source and demand at every sink (one each for assignment),
  // so that the skeleton's matching carries them.
  if (s.kind == kTransship) {
    auto split = [&](int32_t first, int32_t count, double sign) {
      const int64_t chunk = s.supply / (4 * count) + 1;
      for (int64_t u = 0; u < s.supply; u += chunk) {
        const int64_t amount = std::min<int64_t>(s.supply - u, chunk);
        p.supply[static_cast<size_t>(first + rng.In(0, count - 1))] +=
            sign * static_cast<double>(amount);
      }
    };
    split(0, ns, 1.0);
    split(sink0, nt, -1.0);
  } else {
    const int32_t pairs = std::min(ns, nt);
    const double each = s.kind == kAssign ? 1.0 : static_cast<double>(s.supply / pairs);
    for (int32_t k = 0; k < pairs; ++k) {
      p.supply[static_cast<size_t>(k)] = each;
      p.supply[static_cast<size_t>(sink0 + k)] = -each;
    }
  }
  if (s.kind == kTransship) {
    // Skeleton: a chain from every source through random transshipment nodes to a hub, and an
    // arc from the hub to every sink, none with a capacity: every supply reaches every sink.
    const int32_t ntr = s.nodes - ns - nt;
    const int32_t hub = ns;
    for (int32_t src = 0; src < ns; ++src) {
      int32_t at = src;
      const int32_t len = ntr > 1 ? rng.In(0, std::min(ntr - 1, 3)) : 0;
      for (int32_t k = 0; k < len; ++k) {
        const int32_t next = ns + 1 + rng.In(0, ntr - 2);
        if (next == at) continue;
        AddArc(&p, at, next, rng.In(s.cmin, s.cmax), inf);
        at = next;
      }
      AddArc(&p, at, hub, rng.In(s.cmin, s.cmax), inf);
    }
    for (int32_t k = 0; k < nt; ++k)
      AddArc(&p, hub, sink0 + k, rng.In(s.cmin, s.cmax), inf);
  } else {
    // Bipartite: source k to sink k, then each further sink from some source.
    for (int32_t k = 0; k < std::max(ns, nt); ++k)
      AddArc(&p, k % ns, sink0 + k % nt, rng.In(s.cmin, s.cmax), inf);
  }
  while (static_cast<int32_t>(p.tail.size()) < s.arcs) {
    int32_t t = 0, h = 0;
    if (s.kind == kTransship) {
      t = rng.In(0, sink0 - 1);  // sinks only receive
      h = rng.In(ns, s.nodes - 1);
      if (t == h) continue;
    } else {
      t = rng.In(0, ns - 1);
      h = sink0 + rng.In(0, nt - 1);
    }
    const bool capped = s.kind == kTransship && rng.In(1, 100) <= s.pcap;
    AddArc(&p, t, h, rng.In(s.cmin, s.cmax), capped ? rng.In(s.capmin, s.capmax) : inf);
  }
  return p;
}

// The problem as a linear program by columns: one equation per node (out - in = b), one column
// per arc with bounds [0, cap]. Arrays for VLR_inputdata.
struct Lp {
  int32_t m = 0, n = 0;
  std::vector<int32_t> aptrb, aptre, asub, bkc, bkx;
  std::vector<double> aval, c, blc, buc, blx, bux;
};

inline Lp ToLp(const Problem& p, int32_t bkfx, int32_t bklo, int32_t bkra) {
  Lp lp;
  lp.m = p.nodes;
  lp.n = static_cast<int32_t>(p.tail.size());
  for (int32_t v = 0; v < lp.m; ++v) {
    lp.bkc.push_back(bkfx);
    lp.blc.push_back(p.supply[static_cast<size_t>(v)]);
    lp.buc.push_back(p.supply[static_cast<size_t>(v)]);
  }
  for (int32_t a = 0; a < lp.n; ++a) {
    const auto sa = static_cast<size_t>(a);
    lp.aptrb.push_back(static_cast<int32_t>(lp.asub.size()));
    lp.asub.push_back(p.tail[sa]);
    lp.aval.push_back(1.0);
    lp.asub.push_back(p.head[sa]);
    lp.aval.push_back(-1.0);
    lp.aptre.push_back(static_cast<int32_t>(lp.asub.size()));
    lp.c.push_back(p.cost[sa]);
    const bool capped = p.cap[sa] < std::numeric_limits<double>::infinity();
    lp.bkx.push_back(capped ? bkra : bklo);
    lp.blx.push_back(0.0);
    lp.bux.push_back(capped ? p.cap[sa] : 1e30);
  }
  return lp;
}

}  // namespace netgen
