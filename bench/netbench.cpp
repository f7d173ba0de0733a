// bench/netbench.cpp: the network simplex on generated minimum-cost-flow families (transshipment
// with capacities, transportation, assignment), beside the dual simplex on the same problems and,
// when LEMON is installed, LEMON's network simplex (a peer for comparison, linked into this program
// only). Prints one line per problem (processor seconds, the least of a few runs) and the
// geometric means of the time ratios.
// Usage: vlr_bench_net [--quick] [--nodual] [--only K] [--reps R]
// --only K runs the K-th problem of the list alone (from 0), --reps R takes the least of R runs
// (for a profiler).
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include "netopt/netgen.h"
#include "velor.h"

#ifdef VLR_HAVE_LEMON
#include <lemon/network_simplex.h>
#include <lemon/smart_graph.h>
#endif

namespace {

// Processor time of this thread: on a shared machine it does not count the time others hold the
// processor.
double Now() {
  timespec ts{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

struct Family {
  const char* name;
  netgen::Spec spec;
  bool dual;  // small enough for the dual simplex
};

netgen::Spec Make(int32_t kind, int32_t nodes, int32_t arcs, int32_t terminals, uint64_t seed) {
  netgen::Spec s;
  s.kind = kind;
  s.nodes = nodes;
  s.arcs = arcs;
  s.sources = terminals;
  s.sinks = terminals;
  s.supply = 100LL * nodes;
  s.cmin = 1;
  s.cmax = 1000;
  s.capmin = 10;
  s.capmax = 500;
  s.pcap = 40;
  s.seed = seed;
  return s;
}

void Load(VLRtask_t task, const netgen::Problem& p) {
  const netgen::Lp lp = netgen::ToLp(p, VLR_BK_FX, VLR_BK_LO, VLR_BK_RA);
  VLR_inputdata(task, lp.m, lp.n, lp.m, lp.n, lp.c.data(), 0.0, lp.aptrb.data(), lp.aptre.data(),
                lp.asub.data(), lp.aval.data(), lp.bkc.data(), lp.blc.data(), lp.buc.data(),
                lp.bkx.data(), lp.blx.data(), lp.bux.data());
}

// Solves with the network optimiser (net) or the dual simplex; time of the optimise call.
double Ours(VLRenv_t env, const netgen::Problem& p, bool net, double maxtime, double* obj,
            int32_t* iter) {
  VLRtask_t task = nullptr;
  VLR_maketask(env, 0, 0, &task);
  VLR_putintparam(task, VLR_IPAR_LOG, 0);
  VLR_putintparam(task, VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX);
  VLR_putdouparam(task, VLR_DPAR_OPTIMIZER_MAX_TIME, maxtime);
  Load(task, p);
  const double t0 = Now();
  const int32_t r = net ? VLR_netoptimize(task) : VLR_optimize(task);
  const double t = Now() - t0;
  int32_t prosta = 0, solsta = 0;
  VLR_getsolutionstatus(task, VLR_SOL_BAS, &prosta, &solsta);
  *obj = std::numeric_limits<double>::quiet_NaN();
  if (r == VLR_RES_OK && solsta == VLR_SOL_STA_OPTIMAL) VLR_getprimalobj(task, VLR_SOL_BAS, obj);
  VLR_getintinf(task, net ? VLR_IINF_SIM_NETWORK_PRIMAL_ITER : VLR_IINF_SIM_DUAL_ITER, iter);
  if (net && std::getenv("VLR_BENCH_SPLIT") != nullptr) {
    double tsolve = 0.0;
    VLR_getdouinf(task, VLR_DINF_SIM_NETWORK_TIME, &tsolve);
    std::fprintf(stderr, "  network simplex itself %.5f s of %.5f s\n", tsolve, t);
  }
  VLR_deletetask(&task);
  return r == VLR_RES_OK ? t : -1.0;
}

#ifdef VLR_HAVE_LEMON
double Lemon(const netgen::Problem& p, double* obj) {
  using Graph = lemon::SmartDigraph;
  Graph g;
  std::vector<Graph::Node> node;
  g.reserveNode(p.nodes);
  g.reserveArc(static_cast<int>(p.tail.size()));
  for (int32_t v = 0; v < p.nodes; ++v)
    node.push_back(g.addNode());
  Graph::ArcMap<int64_t> cost(g), cap(g);
  Graph::NodeMap<int64_t> sup(g);
  for (int32_t v = 0; v < p.nodes; ++v)
    sup[node[size_t(v)]] = static_cast<int64_t>(p.supply[size_t(v)]);
  for (size_t a = 0; a < p.tail.size(); ++a) {
    const Graph::Arc arc = g.addArc(node[size_t(p.tail[a])], node[size_t(p.head[a])]);
    cost[arc] = static_cast<int64_t>(p.cost[a]);
    cap[arc] =
        std::isinf(p.cap[a]) ? std::numeric_limits<int64_t>::max() : static_cast<int64_t>(p.cap[a]);
  }
  const double t0 = Now();
  lemon::NetworkSimplex<Graph, int64_t, int64_t> ns(g);
  ns.upperMap(cap).costMap(cost).supplyMap(sup);
  const auto r = ns.run();
  const double t = Now() - t0;
  *obj = r == lemon::NetworkSimplex<Graph, int64_t, int64_t>::OPTIMAL
             ? static_cast<double>(ns.totalCost())
             : std::numeric_limits<double>::quiet_NaN();
  return t;
}
#endif

}  // namespace

int main(int argc, char** argv) {
  bool quick = false, dual = true;
  int only = -1, reps0 = 0;
  for (int k = 1; k < argc; ++k) {
    if (std::strcmp(argv[k], "--quick") == 0) quick = true;
    if (std::strcmp(argv[k], "--nodual") == 0) dual = false;
    if (std::strcmp(argv[k], "--only") == 0 && k + 1 < argc) only = std::atoi(argv[++k]);
    if (std::strcmp(argv[k], "--reps") == 0 && k + 1 < argc) reps0 = std::atoi(argv[++k]);
  }
  std::vector<Family> fam = {
      {"transship", Make(netgen::kTransship, 1000, 10000, 50, 1), true},
      {"transship", Make(netgen::kTransship, 5000, 50000, 200, 2), true},
      {"transship", Make(netgen::kTransship, 20000, 200000, 500, 3), true},
      {"transship", Make(netgen::kTransship, 50000, 1000000, 1000, 4), false},
      {"transport", Make(netgen::kTransport, 400, 20000, 0, 5), true},
      {"transport", Make(netgen::kTransport, 2000, 200000, 0, 6), true},
      {"transport", Make(netgen::kTransport, 4000, 1000000, 0, 7), false},
      {"assign", Make(netgen::kAssign, 1000, 20000, 0, 8), true},
      {"assign", Make(netgen::kAssign, 4000, 200000, 0, 9), true},
      {"assign", Make(netgen::kAssign, 10000, 1000000, 0, 10), false},
  };
  if (quick) fam.resize(2);
  if (only >= 0 && only < static_cast<int>(fam.size())) fam = {fam[static_cast<size_t>(only)]};
  VLRenv_t env = nullptr;
  VLR_makeenv(&env, nullptr, nullptr, nullptr, nullptr);
  VLR_initenv(env);
#ifdef VLR_HAVE_LEMON
  const bool lemon = true;
#else
  const bool lemon = false;
#endif
  std::printf("%-10s %8s %8s | %9s %8s | %9s | %9s %8s | %s\n", "family", "nodes", "arcs",
              "net (s)", "iter", "LEMON (s)", "dual (s)", "iter", "objectives");
  double lognl = 0.0, lognd = 0.0;
  int32_t cntl = 0, cntd = 0;
  for (const Family& f : fam) {
    const netgen::Problem p = netgen::Generate(f.spec);
    double objn = 0, objl = std::numeric_limits<double>::quiet_NaN(), objd = objl;
    int32_t itn = 0, itd = 0;
    // The least of a few runs: the machine may be shared. Small problems take milliseconds, so
    // they get more runs.
    const auto arcs = static_cast<int>(p.tail.size());
    const int reps = reps0 > 0 ? reps0 : (arcs > 300000 ? 2 : std::clamp(1000000 / arcs, 5, 50));
    double tn = 1e30, tl = 1e30, td = -1.0;
    for (int rep = 0; rep < reps; ++rep) {
      tn = std::min(tn, Ours(env, p, true, -1.0, &objn, &itn));
#ifdef VLR_HAVE_LEMON
      tl = std::min(tl, Lemon(p, &objl));
#endif
    }
    if (!lemon) tl = -1.0;
    if (dual && f.dual) td = Ours(env, p, false, 600.0, &objd, &itd);
    const bool agree = (std::isnan(objl) || objl == objn) && (std::isnan(objd) || objd == objn);
    std::printf("%-10s %8d %8zu | %9.4f %8d | ", f.name, p.nodes, p.tail.size(), tn, itn);
    if (lemon)
      std::printf("%9.4f | ", tl);
    else
      std::printf("%9s | ", "-");
    if (td >= 0)
      std::printf("%9.4f %8d | ", td, itd);
    else
      std::printf("%9s %8s | ", "-", "-");
    std::printf("%s %.0f\n", agree ? "equal" : "DIFFER", objn);
    std::fflush(stdout);
    if (tl > 0 && tn > 0) lognl += std::log(tn / tl), ++cntl;
    if (td > 0 && tn > 0) lognd += std::log(td / tn), ++cntd;
  }
  if (cntl > 0) {
    std::printf("geometric mean of net / LEMON time: %.3f over %d problems\n",
                std::exp(lognl / cntl), cntl);
  }
  if (cntd > 0) {
    std::printf("geometric mean of dual / net time: %.1f over %d problems\n",
                std::exp(lognd / cntd), cntd);
  }
  VLR_deleteenv(&env);
  return 0;
}
