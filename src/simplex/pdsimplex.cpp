// src/simplex/pdsimplex.cpp: the primal-dual simplex. It works on restricted subproblems of the
// columns: a dual run on the most attractive columns gives a start, then each round releases the
// columns whose reduced costs price out best and the primal loop takes the primal feasible basis
// to the optimum of the larger subproblem, until no column outside prices out. The columns
// outside a subproblem are held at their bounds (fixed in the working and the problem's bounds,
// so that no perturbation or reset of the loops moves them).
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>

#include "simplex/simdat.h"
#include "velor.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// Rounds of subproblems before the rest is left to the primal loop on the whole problem.
constexpr int32_t kPdMaxRounds = 30;

// The subproblem's size by the shape of the problem: the columns of a subproblem beyond the
// basic ones, and the least number of columns a round releases.
void pdsimplex_subproblemsize(int32_t m, int32_t n, int32_t* count, int32_t* minshare) {
  const double ratio = static_cast<double>(n) / std::max(m, 1);
  double f = 0.2, g = 0.1;
  if (ratio > 200.0) {
    f = 0.01, g = 0.005;
  } else if (ratio > 100.0) {
    f = 0.05, g = 0.02;
  } else if (ratio > 50.0) {
    f = 0.1, g = 0.06;
  } else if (ratio > 10.0) {
    f = 0.15, g = 0.05;
  }
  *count = std::max(10, static_cast<int32_t>(f * n));
  *minshare = std::max(1, static_cast<int32_t>(g * n));
}

struct PdState {
  SimEngine* e;
  SimVec<int8_t> held;   // 1 for a column held outside the subproblem
  SimVec<int8_t> home;   // the status a held column returns to
  SimVec<double> lsave;  // the problem's bounds of a held column
  SimVec<double> usave;
  SimVec<int32_t> rank;  // the rank of each column in the last choice
  int32_t numheld = 0;
  explicit PdState(SimEngine* eng)
      : e(eng),
        held(MemAllocator<int8_t>(eng->sys)),
        home(MemAllocator<int8_t>(eng->sys)),
        lsave(MemAllocator<double>(eng->sys)),
        usave(MemAllocator<double>(eng->sys)),
        rank(MemAllocator<int32_t>(eng->sys)) {}
};

// How far the reduced cost of structural k lies on the wrong side for the status it has (or,
// when held, returns to).
double pdsimplex_violation(const PdState& st, int32_t k) {
  const SimEngine& e = *st.e;
  const auto s = static_cast<size_t>(k);
  const int8_t status = st.held[s] != 0 ? st.home[s] : e.nstat[s];
  switch (status) {
    case kNbLower:
      return -e.d[s];
    case kNbUpper:
      return e.d[s];
    case kNbZero:
      return std::fabs(e.d[s]);
    default:
      return -kInf;  // basic or fixed by the problem: never a candidate
  }
}

// Holds structural k at its value: its bounds of both kinds become that value.
void pdsimplex_hold(PdState* st, int32_t k) {
  SimEngine& e = *st->e;
  const auto s = static_cast<size_t>(k);
  st->held[s] = 1;
  st->home[s] = e.nstat[s];
  st->lsave[s] = e.lborg[s];
  st->usave[s] = e.uborg[s];
  e.lb[s] = e.ub[s] = e.lborg[s] = e.uborg[s] = e.x[s];
  e.nstat[s] = kNbFixed;
  ++st->numheld;
}

void pdsimplex_release(PdState* st, int32_t k) {
  SimEngine& e = *st->e;
  const auto s = static_cast<size_t>(k);
  st->held[s] = 0;
  e.lb[s] = e.lborg[s] = st->lsave[s];
  e.ub[s] = e.uborg[s] = st->usave[s];
  e.nstat[s] = st->home[s];
  --st->numheld;
}

// The subproblem: the basic columns, and of the others the count that rank first by the
// violation of their reduced costs (the most attractive first); the rest is held. With cover
// set, each row that is not free also keeps at least two of its columns, its best ranked ones,
// so that the first subproblem is seldom infeasible for want of columns. Returns the number of
// held columns released that price out by more than the tolerance.
int32_t pdsimplex_choosesubproblem(PdState* st, int32_t count, double tol, bool cover) {
  SimEngine& e = *st->e;
  const int32_t m = e.m;
  int32_t nr = 0;
  SimVec<std::pair<double, int32_t>> order(MemAllocator<std::pair<double, int32_t>>(e.sys));
  order.reserve(static_cast<size_t>(e.n));
  for (int32_t k = m; k < e.nt; ++k) {
    const auto s = static_cast<size_t>(k);
    if (e.pos[s] >= 0) continue;
    const bool fixed = st->held[s] != 0 ? st->lsave[s] == st->usave[s] : e.nstat[s] == kNbFixed;
    if (fixed) continue;
    order.emplace_back(-pdsimplex_violation(*st, k), k);
    ++nr;
  }
  std::sort(order.begin(), order.end());
  // want[k]: 1 for a column the subproblem takes; key[j] the rank of column j (-1: basic or
  // fixed, never held).
  SimVec<int8_t> want(static_cast<size_t>(e.nt), 0, MemAllocator<int8_t>(e.sys));
  SimVec<int32_t>& rankof = st->rank;
  std::fill(rankof.begin(), rankof.end(), -1);
  for (int32_t t = 0; t < nr; ++t) {
    const int32_t k = order[static_cast<size_t>(t)].second;
    rankof[static_cast<size_t>(k - m)] = t;
    if (t < count) want[static_cast<size_t>(k)] = 1;
  }
  if (cover) {
    for (int32_t i = 0; i < m; ++i) {
      const auto si = static_cast<size_t>(i);
      if (e.lborg[si] == -kInf && e.uborg[si] == kInf) continue;
      const int64_t beg = e.arbeg[si], end = e.arbeg[si + 1];
      for (int32_t need = 2; need > 0;) {
        int32_t have = 0, best = -1;
        for (int64_t t = beg; t < end; ++t) {
          const int32_t j = e.aridx[static_cast<size_t>(t)];
          const int32_t r = rankof[static_cast<size_t>(j)];
          if (r < 0 || want[static_cast<size_t>(m + j)] != 0) {
            ++have;  // basic, fixed or already taken
          } else if (best < 0 || r < rankof[static_cast<size_t>(best)]) {
            best = j;
          }
        }
        if (have >= need || best < 0) break;
        want[static_cast<size_t>(m + best)] = 1;
      }
    }
  }
  int32_t released = 0;
  for (int32_t t = 0; t < nr; ++t) {
    const int32_t k = order[static_cast<size_t>(t)].second;
    const auto s = static_cast<size_t>(k);
    if (want[s] != 0) {
      if (st->held[s] != 0) {
        if (-order[static_cast<size_t>(t)].first > tol) ++released;
        pdsimplex_release(st, k);
      }
    } else if (st->held[s] == 0) {
      pdsimplex_hold(st, k);
    }
  }
  return released;
}

// Every held column back to its bounds and status; the values do not move.
void pdsimplex_releaseall(PdState* st) {
  for (int32_t k = st->e->m; k < st->e->nt; ++k)
    if (st->held[static_cast<size_t>(k)] != 0) pdsimplex_release(st, k);
}

}  // namespace

int32_t VLR_simplex_primaldualoptimizer(SimEngine& e, bool perturb) {
  // The caller has factored the start (the slack or crash basis, or the given one).
  e.log("The basis is factorized.(pdsimplex 1)\n");
  // A start from a given basis is near its end already, and the subproblems cannot be formed
  // around it: the dual road on the whole problem goes on from it.
  if (!perturb) {
    e.log("Hotstart Implement\n");
    return VLR_simplex_dualroad(e, perturb);
  }
  if (e.n == 0) return VLR_simplex_dualroad(e, perturb);
  PdState st(&e);
  const auto snt = static_cast<size_t>(e.nt);
  st.held.assign(snt, 0);
  st.home.assign(snt, kNbLower);
  st.lsave.assign(snt, 0.0);
  st.usave.assign(snt, 0.0);
  st.rank.assign(static_cast<size_t>(e.n), 0);
  int32_t count = 0, minshare = 0;
  pdsimplex_subproblemsize(e.m, e.n, &count, &minshare);
  e.log("Primal-dual subproblem: %d of %d columns, at least %d released a round.\n", count, e.n,
        minshare);
  // The start: the dual on the columns whose costs are the most attractive. A subproblem found
  // dual infeasible loses its costs in the dual road's test for a ray; they come back from here.
  const SimVec<double> costs(e.costorg);
  // The start's keys: when the first subproblem is infeasible, the whole problem starts over
  // from them.
  SimVec<int32_t> startkeys(snt, VLR_SK_LOW, MemAllocator<int32_t>(e.sys));
  for (size_t s = 0; s < snt; ++s) {
    const int8_t status = e.nstat[s];
    startkeys[s] = status == kNbBasic ? VLR_SK_BAS : status == kNbUpper ? VLR_SK_UPR : VLR_SK_LOW;
  }
  e.computedual();
  pdsimplex_choosesubproblem(&st, count, e.tols, true);
  int32_t end = VLR_simplex_dualroad(e, true);
  if (end == kLoopInfeasible)
    e.log("Primal-dual start: the first subproblem is infeasible after %lld iterations.\n",
          static_cast<long long>(e.iterations()));
  e.primalchoosepricing(true);
  // A subproblem that is infeasible says nothing of the whole; one that is unbounded is so with
  // the held columns at their values too.
  for (int32_t round = 0; round < kPdMaxRounds && end == kLoopOptimal; ++round) {
    e.computedual();
    int32_t violated = 0;
    for (int32_t k = e.m; k < e.nt; ++k)
      if (st.held[static_cast<size_t>(k)] != 0 && pdsimplex_violation(st, k) > e.tols) ++violated;
    if (violated == 0) break;
    // The subproblem grows by what prices out, at least the least share.
    int32_t nonbasicin = 0;
    for (int32_t k = e.m; k < e.nt; ++k) {
      const auto s = static_cast<size_t>(k);
      if (e.pos[s] < 0 && st.held[s] == 0) ++nonbasicin;
    }
    const int32_t size = std::max(count, nonbasicin + std::max(minshare, violated));
    const int32_t released = pdsimplex_choosesubproblem(&st, std::min(size, e.n), e.tols, false);
    e.log("Primal-dual round %d: %d columns price out, %d released, %d held.\n", round + 1,
          violated, released, st.numheld);
    e.computexb();
    end = e.primalloop();
  }
  pdsimplex_releaseall(&st);
  if (end == kLoopInfeasible) {
    e.cost = costs;
    e.costorg = costs;
  }
  if (end == kLoopInfeasible || end == kLoopOptimal) {
    // The whole problem from the subproblem's basis: its values are primal feasible after an
    // optimum; after an infeasible subproblem the dual road takes over.
    e.computexb();
    e.computedual();
    int32_t pinf = 0;
    e.primalinf(&pinf);
    if (pinf == 0) {
      int32_t dinf = 0;
      e.dualinf(&dinf);
      if (dinf > 0) end = e.primalloop();
    } else if (end == kLoopInfeasible) {
      // The first subproblem lacked the columns to be feasible, and its basis is neither
      // primal nor dual feasible for the whole: the dual road takes the whole problem from the
      // start, perturbed as the dual optimiser's is. (Going on from the subproblem's basis
      // without the perturbation, a degenerate problem such as qap15 ran past a million
      // iterations.)
      e.keybasis(startkeys.data());
      e.costshifted = 0;
      e.dualkicked = false;
      e.rng = SimEngine::kSeed;
      const int32_t r = e.factor();
      if (r != kSimOk) {
        e.info->response = r;
        return kLoopStopped;
      }
      e.computexb();
      e.computedual();
      end = VLR_simplex_dualroad(e, true);
    } else {
      end = VLR_simplex_dualroad(e, false);
    }
  }
  return end;
}

}  // namespace vlr
