// src/simplex/psimplex.cpp: the primal simplex: a composite first phase on the sum of
// infeasibilities with a long-step ratio test, a Harris ratio test with a randomised stable
// choice, devex, partial and full pricing, bound perturbation against degeneracy with kicks,
// and the return to the true bounds at the end.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>

#include "simplex/simdat.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kMaxWeight = 1e20;
// A reduced cost below this is rounding of the duals when its variable wants straight back into
// the basis it just left.
constexpr double kCycleTol = 1e-6;
// Iterations the candidate queue serves between full refills: a full scan every so often costs
// little against the iterations it serves, and keeps the choice close to a full pricing.
constexpr int64_t kQueueServes = 50;

// Pricing rules.
enum PrimalPricing : int32_t {
  kPricePartial = 1,
  kPriceFull = 2,
  kPriceAse = 3,
  kPriceSe = 4,
  kPriceDevex = 5,
};

const char* primal_pricingname(int32_t rule) {
  switch (rule) {
    case kPricePartial:
      return "partial";
    case kPriceFull:
      return "full";
    case kPriceDevex + 4:
      return "devex over the candidate queue";
    default:
      return "devex";
  }
}

}  // namespace

void SimEngine::devexreset() {
  // The framework is the non-basic set of now; every weight starts at 1.
  pw.assign(static_cast<size_t>(nt), 1.0);
  pref.assign(static_cast<size_t>(nt), 0);
  for (int32_t k = 0; k < nt; ++k)
    pref[static_cast<size_t>(k)] = pos[static_cast<size_t>(k)] < 0 ? 1 : 0;
}

void SimEngine::primalchoosepricing(bool hot) {
  int32_t fixed = 0;
  for (int32_t k = m; k < nt; ++k)
    fixed += lborg[static_cast<size_t>(k)] == uborg[static_cast<size_t>(k)] ? 1 : 0;
  // Aspect ratio: wide problems have many more candidates than rows, and a partial scan finds
  // a good one at a fraction of the cost of a full one.
  const double g = (n - fixed + 1.5 * m) / std::max(m, 1);
  switch (par->primalselection) {
    case 1:
      pricing = ifpricing = kPriceFull;
      break;
    case 5:
      pricing = ifpricing = kPricePartial;
      break;
    case 2:
    case 3:
    case 4:
      // The steepest-edge rules run on the devex reference weights, which approximate them
      // without the second solve.
      pricing = ifpricing = kPriceDevex;
      break;
    default:
      pricing = ifpricing = g >= 30.0 && !hot ? kPricePartial : kPriceDevex + 4;
      break;
  }
  log("%-20s: %d\n", "select_method", pricing);
  log("%-20s: %d\n", "selectifmethod", ifpricing);
}

int32_t SimEngine::primalsetphase() {
  int32_t count = 0;
  for (int32_t p = 0; p < m; ++p) {
    const auto k = static_cast<size_t>(head[static_cast<size_t>(p)]);
    count += x[k] < lb[k] - tolx || x[k] > ub[k] + tolx ? 1 : 0;
  }
  ninf = count;
  if (count == 0) {
    cost = costorg;
  } else {
    std::fill(cost.begin(), cost.end(), 0.0);
    for (int32_t p = 0; p < m; ++p) {
      const auto k = static_cast<size_t>(head[static_cast<size_t>(p)]);
      cost[k] = x[k] < lb[k] - tolx ? -1.0 : (x[k] > ub[k] + tolx ? 1.0 : 0.0);
    }
  }
  computedual();
  return count == 0 ? 2 : 1;
}

int32_t SimEngine::primalprice(int32_t rule) {
  if (rule == kPricePartial) {
    // Blocks scanned round-robin; the first block with an attractive candidate gives its
    // largest violation.
    const int32_t block = std::max(1000, nt / 8);
    for (int32_t scanned = 0; scanned < nt; scanned += block) {
      int32_t q = -1;
      double best = tols;
      const int32_t end = std::min(scanned + block, nt);
      for (int32_t t = scanned; t < end; ++t) {
        int32_t k = partialnext + t;
        if (k >= nt) k -= nt;
        const auto sk = static_cast<size_t>(k);
        if (nstat[sk] == kNbBasic || nstat[sk] == kNbFixed) continue;
        // The reduced costs are not updated under partial pricing: each is formed from the
        // duals when its block is scanned.
        d[sk] = reducedcost(k);
        const double v = dualviolation(k);
        if (v > best) {
          best = v;
          q = k;
        }
      }
      if (q >= 0) {
        partialnext += end;
        while (partialnext >= nt)
          partialnext -= nt;
        return q;
      }
    }
    return -1;
  }
  const int32_t base = rule > kPriceDevex ? rule - 4 : rule;
  if (rule <= kPriceDevex) {
    int32_t q = -1;
    double best = 0.0;
    for (int32_t k = 0; k < nt; ++k) {
      const double v = dualviolation(k);
      if (v <= tols) continue;
      const double merit = base == kPriceFull ? v * v : v * v / pw[static_cast<size_t>(k)];
      if (merit > best) {
        best = merit;
        q = k;
      }
    }
    return q;
  }
  // The queue: its best member, dropping those no longer attractive; a full refill when it
  // runs dry or has served long enough.
  if (quelen > 0 && iterations() - querefill < kQueueServes) {
    int32_t q = -1;
    double best = 0.0;
    for (int32_t t = 0; t < quelen; ++t) {
      const int32_t k = que[static_cast<size_t>(t)];
      const double v = dualviolation(k);
      if (v <= tols) {
        inque[static_cast<size_t>(k)] = 0;
        que[static_cast<size_t>(t--)] = que[static_cast<size_t>(--quelen)];
        continue;
      }
      const double merit = base == kPriceFull ? v * v : v * v / pw[static_cast<size_t>(k)];
      if (merit > best) {
        best = merit;
        q = k;
      }
    }
    if (q >= 0) return q;
  }
  return querefillselect(base);
}

int32_t SimEngine::querefillselect(int32_t base) {
  const auto snt = static_cast<size_t>(nt);
  if (inque.size() != snt) {
    inque.assign(snt, 0);
    que.assign(snt, 0);
    quework.resize(snt);
  }
  for (int32_t t = 0; t < quelen; ++t)
    inque[static_cast<size_t>(que[static_cast<size_t>(t)])] = 0;
  quelen = 0;
  int32_t nc = 0;
  for (int32_t k = 0; k < nt; ++k) {
    const double v = dualviolation(k);
    if (v <= tols) continue;
    const double merit = base == kPriceFull ? v * v : v * v / pw[static_cast<size_t>(k)];
    quework[static_cast<size_t>(nc++)] = {merit, k};
  }
  querefill = iterations();
  if (nc == 0) return -1;
  // Room for a tenth of the candidates, at least 500, within the size of the problem.
  quecap = std::max(10, std::min({std::max(nc / 5, 1000), 20000, (4 * nt) / 5}));
  const auto greater = [](const std::pair<double, int32_t>& u,
                          const std::pair<double, int32_t>& v) {
    return u.first > v.first || (u.first == v.first && u.second < v.second);
  };
  if (nc > quecap) {
    std::nth_element(quework.begin(), quework.begin() + quecap, quework.begin() + nc, greater);
    nc = quecap;
  }
  int32_t q = -1;
  double best = 0.0;
  for (int32_t t = 0; t < nc; ++t) {
    const auto& [merit, k] = quework[static_cast<size_t>(t)];
    que[static_cast<size_t>(quelen++)] = k;
    inque[static_cast<size_t>(k)] = 1;
    if (merit > best) {
      best = merit;
      q = k;
    }
  }
  return q;
}

void SimEngine::queinsert(int32_t k) {
  const auto s = static_cast<size_t>(k);
  if (quelen >= quecap || inque.size() != static_cast<size_t>(nt) || inque[s] != 0) return;
  if (dualviolation(k) <= tols) return;
  inque[s] = 1;
  que[static_cast<size_t>(quelen++)] = k;
}

void SimEngine::primalratio(int32_t q, double dir, int32_t* p, double* step, bool* toupper,
                            bool* flip) {
  const auto sq = static_cast<size_t>(q);
  *p = -1;
  *step = 0.0;
  *flip = false;
  // Pass one: the largest step that keeps every basic variable within its bound relaxed by
  // the tolerance; the candidates are the rows whose exact ratio lies within it.
  double bound = kInf;
  int32_t nc = 0;
  for (int32_t t = 0; t < col.nz; ++t) {
    const int32_t pp = col.idx[static_cast<size_t>(t)];
    const double a = -dir * col.val[static_cast<size_t>(pp)];
    if (std::fabs(a) <= tolpiv) continue;
    const auto k = static_cast<size_t>(head[static_cast<size_t>(pp)]);
    double room = 0.0;
    if (a < 0.0) {
      if (lb[k] == -kInf) continue;
      room = x[k] - lb[k];
    } else {
      if (ub[k] == kInf) continue;
      room = ub[k] - x[k];
    }
    if (room < -tolx) continue;  // outside its bounds: not a blocker in this phase
    const double aa = std::fabs(a);
    bound = std::min(bound, std::max(room + tolx, 0.0) / aa);
    cand[static_cast<size_t>(nc)] = pp;
    candratio[static_cast<size_t>(nc)] = std::max(room, 0.0) / aa;
    ++nc;
  }
  const double range = ub[sq] - lb[sq];
  if (range < kInf && range <= bound + 1e-12) {
    *flip = true;
    *step = std::max(range, 0.0);
    return;
  }
  if (nc == 0) return;  // unbounded along q
  // Pass two: among the rows within the bound, a stable pivot, chosen from a random start in
  // a random direction so that ties do not repeat.
  const double limit = std::max(bound, 1e-18);
  int32_t kept = 0;
  for (int32_t c = 0; c < nc; ++c) {
    if (candratio[static_cast<size_t>(c)] > limit) continue;
    cand[static_cast<size_t>(kept)] = cand[static_cast<size_t>(c)];
    candratio[static_cast<size_t>(kept)] = candratio[static_cast<size_t>(c)];
    ++kept;
  }
  const auto start = static_cast<int32_t>(random01() * kept) % std::max(kept, 1);
  const int32_t way = random01() < 0.5 ? 1 : -1;
  int32_t win = -1, big = -1;
  double winabs = 0.0, bigabs = 0.0, wincount = 1.0;
  for (int32_t s = 0; s < kept; ++s) {
    int32_t c = start + way * s;
    if (c < 0) c += kept;
    if (c >= kept) c -= kept;
    const int32_t pp = cand[static_cast<size_t>(c)];
    const double aa = std::fabs(col.val[static_cast<size_t>(pp)]);
    const int32_t k = head[static_cast<size_t>(pp)];
    const double count =
        k < m ? 1.0 : std::max(1.0, static_cast<double>(abeg[k - m + 1] - abeg[k - m]));
    if (aa > bigabs) {
      bigabs = aa;
      big = c;
    }
    if (win < 0 ||
        (random01() / 0.1 + 1.0) * (0.2 * (wincount / count) + 0.8 * (winabs / aa)) < 5.0) {
      win = c;
      winabs = aa;
      wincount = count;
    }
  }
  if ((winabs < 1e-3 && bigabs > 1.1 * winabs) || bigabs > 2.0 * winabs) win = big;
  *p = cand[static_cast<size_t>(win)];
  *step = std::max(candratio[static_cast<size_t>(win)], 0.0);
  *toupper = -dir * col.val[static_cast<size_t>(*p)] > 0.0;
}

void SimEngine::primalratioinf(int32_t q, double dir, int32_t* p, double* step, bool* toupper,
                               bool* flip) {
  const auto sq = static_cast<size_t>(q);
  *p = -1;
  *step = 0.0;
  *flip = false;
  // Break points: a feasible variable leaves its bounds at the one it moves to; an infeasible
  // one moving the right way becomes feasible at its near bound and infeasible again at its
  // far one. At each the slope of the sum of infeasibilities rises by |a|.
  int32_t nb = 0;
  auto add = [&](int32_t pp, double te, double tr, double rate, bool up) {
    const auto b = static_cast<size_t>(nb);
    bppos[b] = pp;
    bpt[b] = std::max(te, 0.0);
    bptr[b] = std::max(tr, 0.0);
    bprate[b] = rate;
    bpup[b] = up ? 1 : 0;
    bporder[b] = nb;
    ++nb;
  };
  for (int32_t t = 0; t < col.nz; ++t) {
    const int32_t pp = col.idx[static_cast<size_t>(t)];
    const double a = -dir * col.val[static_cast<size_t>(pp)];
    if (std::fabs(a) <= tolpiv) continue;
    const auto k = static_cast<size_t>(head[static_cast<size_t>(pp)]);
    const double aa = std::fabs(a);
    if (x[k] < lb[k] - tolx) {
      if (a < 0.0) continue;
      add(pp, (lb[k] - x[k]) / aa, (lb[k] - x[k] + tolx) / aa, aa, false);
      if (ub[k] < kInf) add(pp, (ub[k] - x[k]) / aa, (ub[k] - x[k] + tolx) / aa, aa, true);
    } else if (x[k] > ub[k] + tolx) {
      if (a > 0.0) continue;
      add(pp, (x[k] - ub[k]) / aa, (x[k] - ub[k] + tolx) / aa, aa, true);
      if (lb[k] > -kInf) add(pp, (x[k] - lb[k]) / aa, (x[k] - lb[k] + tolx) / aa, aa, false);
    } else if (a < 0.0 && lb[k] > -kInf) {
      add(pp, (x[k] - lb[k]) / aa, (x[k] - lb[k] + tolx) / aa, aa, false);
    } else if (a > 0.0 && ub[k] < kInf) {
      add(pp, (ub[k] - x[k]) / aa, (ub[k] - x[k] + tolx) / aa, aa, true);
    }
  }
  // Pass the break points in the order of their ratios, taken from a heap so that only the
  // ones passed are ordered.
  const auto later = [&](int32_t u, int32_t v) {
    const double tu = bpt[static_cast<size_t>(u)], tv = bpt[static_cast<size_t>(v)];
    return tu > tv || (tu == tv && u > v);
  };
  std::make_heap(bporder.begin(), bporder.begin() + nb, later);
  const double range = ub[sq] - lb[sq];
  double slope = std::fabs(d[sq]);
  int32_t left = nb;  // bporder[0, left) is the heap of the break points not yet passed
  int32_t stop = -1;  // the break point where the slope turns
  while (left > 0) {
    const int32_t b = bporder[0];
    if (bpt[static_cast<size_t>(b)] > range) break;
    std::pop_heap(bporder.begin(), bporder.begin() + left, later);
    --left;
    slope -= bprate[static_cast<size_t>(b)];
    if (slope <= 0.0) {
      stop = b;
      break;
    }
  }
  if (stop < 0) {
    if (range < kInf) {
      *flip = true;
      *step = std::max(range, 0.0);
      return;
    }
    if (nb == 0) return;
    stop = bporder[static_cast<size_t>(left)];  // the last one passed
  }
  // Among the break points the step may end at within the tolerance, the largest |a|.
  const double tstop = bpt[static_cast<size_t>(stop)];
  double limit = bptr[static_cast<size_t>(stop)];
  for (int32_t o = 0; o < left; ++o)
    limit = std::min(limit, bptr[static_cast<size_t>(bporder[static_cast<size_t>(o)])]);
  int32_t best = -1;
  double bestabs = 0.0;
  for (int32_t b = 0; b < nb; ++b) {
    const auto sb = static_cast<size_t>(b);
    if (bpt[sb] > limit || bptr[sb] < tstop) continue;
    if (bprate[sb] > bestabs || (bprate[sb] == bestabs && b == stop)) {
      bestabs = bprate[sb];
      best = b;
    }
  }
  if (best < 0) best = stop;
  const auto b = static_cast<size_t>(best);
  *p = bppos[b];
  *step = bpt[b];
  *toupper = bpup[b] != 0;
}

void SimEngine::primalcostupdate(bool lazy) {
  in.nz = 0;
  for (int32_t t = 0; t < col.nz; ++t) {
    const int32_t pp = col.idx[static_cast<size_t>(t)];
    const auto k = static_cast<size_t>(head[static_cast<size_t>(pp)]);
    const double c = x[k] < lb[k] - tolx ? -1.0 : (x[k] > ub[k] + tolx ? 1.0 : 0.0);
    if (c == cost[k]) continue;
    ninf += (c != 0.0 ? 1 : 0) - (cost[k] != 0.0 ? 1 : 0);
    in.val[static_cast<size_t>(pp)] = c - cost[k];
    in.idx[static_cast<size_t>(in.nz++)] = pp;
    cost[k] = c;
  }
  if (in.nz == 0) return;
  VLR_lu_putsolveslot(lu, kSolveSwaps);  // a purpose of its own, as rare as the swaps
  rho.clear();
  VLR_lu_btrans(lu, in.nz, in.val.data(), in.idx.data(), &rho.nz, rho.val.data(), rho.idx.data(),
                marker.data(), static_cast<int32_t>(iwork.size()), iwork.data(), 1e-14, 1e-14);
  in.nz = 0;
  for (int32_t t = 0; t < rho.nz; ++t) {
    const auto i = static_cast<size_t>(rho.idx[static_cast<size_t>(t)]);
    y[i] += rho.val[i];
  }
  if (lazy) return;
  formrow(false);
  for (int32_t t = 0; t < alphanz; ++t) {
    const auto k = static_cast<size_t>(alphaidx[static_cast<size_t>(t)]);
    if (pos[k] >= 0) continue;
    d[k] -= alpha[k];
    queinsert(static_cast<int32_t>(k));
  }
}

void SimEngine::primalperturb() {
  // Bounds that many variables share make the primal degenerate; move the repeated ones
  // outward by small random amounts, so that the feasible region only grows.
  int32_t fixed = 0, used = 0;
  SimVec<int32_t> list{MemAllocator<int32_t>(sys)};  // 2k for a lower bound, 2k+1 for an upper
  list.reserve(2 * static_cast<size_t>(nt));
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    if (lb[s] == ub[s]) {
      if (k >= m) ++fixed;
      continue;
    }
    if (lb[s] > -kInf) list.push_back(2 * k), ++used;
    if (ub[s] < kInf) list.push_back(2 * k + 1), ++used;
  }
  auto value = [&](int32_t e) {
    const auto s = static_cast<size_t>(e / 2);
    return (e & 1) != 0 ? ub[s] : lb[s];
  };
  std::sort(list.begin(), list.end(), [&](int32_t u, int32_t v) {
    const double a = value(u), b = value(v);
    return a < b || (a == b && u < v);
  });
  int32_t distinct = 0;
  for (size_t t = 0; t < list.size(); ++t) {
    if (t == 0 || value(list[t]) - value(list[t - 1]) > tolx) ++distinct;
  }
  const double v = static_cast<double>(list.size());
  double e = 0.0;
  if (v > 0.2 * used && 0.8 * v > distinct) {
    e = fixed < 0.3 * std::max(n, 1) ? 100.0 * tolx : 10.0 * tolx;
    e = std::min(e, 1e-3);
  } else if (0.5 * used > distinct) {
    e = 0.01 * tolx;
  }
  if (e == 0.0) return;
  if (par->degen == kSimDegenAggressive) e *= 10.0;
  int32_t moved = 0;
  for (size_t t = 0; t < list.size();) {
    size_t g = t + 1;
    while (g < list.size() && value(list[g]) - value(list[t]) <= tolx)
      ++g;
    // The first and last of a group of ties stay; the ones between move.
    for (size_t u = t + 1; u + 1 < g; ++u) {
      const int32_t el = list[u];
      const auto s = static_cast<size_t>(el / 2);
      if (std::fabs(value(el)) >= 1e6) continue;
      const double r = random01() * e * (1.0 + 1e-3 * std::fabs(value(el)));
      if ((el & 1) != 0)
        ub[s] += r;
      else
        lb[s] -= r;
      ++moved;
    }
    t = g;
  }
  if (moved == 0) return;
  boundsmoved = true;
  info->perturbed = 1;
  for (int32_t k = 0; k < nt; ++k) {
    if (pos[static_cast<size_t>(k)] < 0) setnonbasic(k, nstat[static_cast<size_t>(k)]);
  }
  computexb();
  log("Perturbed %d bounds by up to %.1e.\n", moved, e);
}

void SimEngine::primalkick(int32_t level) {
  double e = 0.0, h = 0.0;
  switch (level) {
    case 3:
      e = 0.05 * std::min(1e-6, tolx);
      h = tolx;
      break;
    case 2:
      e = 0.01 * std::min(1e-7, tolx);
      h = std::min(0.1 * tolx, 1e-7);
      break;
    default:
      e = 0.005 * 1e-7;
      h = 0.01 * tolx;
      break;
  }
  if (par->degen == kSimDegenAggressive) e *= 5.0;
  int32_t moved = 0;
  for (int32_t p = 0; p < m; ++p) {
    const auto k = static_cast<size_t>(head[static_cast<size_t>(p)]);
    if (lb[k] > -kInf && x[k] - lb[k] <= h) {
      lb[k] -= random01() * e;
      ++moved;
    } else if (ub[k] < kInf && ub[k] - x[k] <= h) {
      ub[k] += random01() * e;
      ++moved;
    }
  }
  if (moved > 0) {
    kicked = true;
    boundsmoved = true;
    info->perturbed = 1;
  }
}

int32_t SimEngine::primalresetbounds() {
  int32_t moved = 0;
  lb = lborg;
  ub = uborg;
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    if (pos[s] >= 0) continue;
    const double old = x[s];
    int8_t st = nstat[s];
    if (lb[s] == ub[s]) st = kNbFixed;
    setnonbasic(k, st);
    if (x[s] != old) ++moved;
  }
  boundsmoved = false;
  computexb();
  return moved;
}

// Degeneracy is measured over blocks of iterations: the share of zero steps since blockdeg
// picks a kick level by the kick mode; the deepest level also lengthens the next block.
void SimEngine::primalkickblock(int64_t* blocksize, int64_t blockdeg) {
  const double f = static_cast<double>(info->degiter - blockdeg) / static_cast<double>(*blocksize);
  int32_t level = 0;
  switch (kickmode) {
    case 3:
      level = f > 0.5 ? 3 : (f > 0.3 ? 2 : (f > 0.2 ? 1 : 0));
      break;
    case 2:
      level = f > 0.7 && kicked ? 3 : (f > 0.4 ? 2 : (f > 0.3 ? 1 : 0));
      break;
    default:
      level = f > 0.9 && kicked ? 3 : (f > 0.7 && kicked ? 2 : (f > 0.4 ? 1 : 0));
      break;
  }
  if (f > 0.05 && level > 0) primalkick(level);
  if (level == 3) *blocksize += 300;
}

// The ray of an unbounded problem along entering q moving by dir: q moves by dir and the basic
// variables with it.
void SimEngine::primalray(int32_t q, double dir) {
  ray.assign(static_cast<size_t>(nt), 0.0);
  ray[static_cast<size_t>(q)] = dir;
  for (int32_t t = 0; t < col.nz; ++t) {
    const int32_t pp = col.idx[static_cast<size_t>(t)];
    ray[static_cast<size_t>(head[static_cast<size_t>(pp)])] =
        -dir * col.val[static_cast<size_t>(pp)];
  }
}

// q reaches its other bound before any basic variable leaves: the values move by the signed
// step along the column, q swaps its bound, and the basis stays.
void SimEngine::primalflip(int32_t q, double move, int32_t phase, bool lazy) {
  spike.clear();
  for (int32_t t = 0; t < col.nz; ++t) {
    const int32_t pp = col.idx[static_cast<size_t>(t)];
    x[static_cast<size_t>(head[static_cast<size_t>(pp)])] -=
        move * col.val[static_cast<size_t>(pp)];
  }
  setnonbasic(q, nstat[static_cast<size_t>(q)] == kNbLower ? kNbUpper : kNbLower);
  ++info->iter[par->slot];
  if (phase == 1) {
    ++info->infiter;
    primalcostupdate(lazy);
  }
}

// The pivot row of position p: rho by a solve with the transposed basis, and its entry in
// column q, from the row formed over the non-basic variables, or alone under partial pricing.
double SimEngine::primalpivotrow(int32_t p, int32_t q, bool lazy) {
  btranrow(p);
  const auto sq = static_cast<size_t>(q);
  double alphar = 0.0;
  if (lazy) {
    if (q < m) {
      alphar = -rho.val[sq];
    } else {
      for (int64_t t = abeg[q - m]; t < abeg[q - m + 1]; ++t)
        alphar += aval[t] * rho.val[static_cast<size_t>(aidx[t])];
    }
  } else {
    formrow(false);
    alphar = alpha[sq];
  }
  return alphar;
}

// The exchange of q (moving by dir times step) for the variable at p, which lands on its upper
// bound when toupper: values, duals and reduced costs over the pivot row, devex weights, the
// basis and its factor. Returns the LU's status of the update.
int32_t SimEngine::primalupdate(int32_t p, int32_t q, double dir, double step, bool toupper,
                                double alphar, int32_t phase, bool lazy) {
  const auto sq = static_cast<size_t>(q);
  const int32_t leave = head[static_cast<size_t>(p)];
  const auto sl = static_cast<size_t>(leave);
  // Values: q moves by the step, the basic variables with it; the leaving one lands on its
  // bound.
  const double target = toupper ? ub[sl] : lb[sl];
  for (int32_t t = 0; t < col.nz; ++t) {
    const int32_t pp = col.idx[static_cast<size_t>(t)];
    x[static_cast<size_t>(head[static_cast<size_t>(pp)])] -=
        dir * step * col.val[static_cast<size_t>(pp)];
  }
  x[sq] += dir * step;
  if (step == 0.0) ++info->degiter;

  // Duals and reduced costs over the pivot row.
  const double thetad = d[sq] / alphar;
  for (int32_t t = 0; t < alphanz && !lazy; ++t) {
    const auto k = static_cast<size_t>(alphaidx[static_cast<size_t>(t)]);
    if (pos[k] < 0) d[k] -= thetad * alpha[k];
  }
  for (int32_t t = 0; t < rho.nz; ++t) {
    const auto i = static_cast<size_t>(rho.idx[static_cast<size_t>(t)]);
    y[i] += thetad * rho.val[i];
  }

  // Devex weights: the norm of each column's edge restricted to the reference framework;
  // the entering column's is measured, and a weight that drifted far from it restarts the
  // framework.
  if (!lazy) {
    double exact = pref[sq] != 0 ? 1.0 : 0.0;
    for (int32_t t = 0; t < col.nz; ++t) {
      const int32_t pp = col.idx[static_cast<size_t>(t)];
      if (pref[static_cast<size_t>(head[static_cast<size_t>(pp)])] == 0) continue;
      const double v = col.val[static_cast<size_t>(pp)];
      exact += v * v;
    }
    const double wq = std::max(pw[sq], 1.0);
    if (wq > 3.0 * std::max(exact, 1.0)) {
      devexreset();
    } else {
      const double r2 = std::max(exact, 1.0) / (alphar * alphar);
      for (int32_t t = 0; t < alphanz; ++t) {
        const auto k = static_cast<size_t>(alphaidx[static_cast<size_t>(t)]);
        if (pos[k] >= 0 || k == sq) continue;
        pw[k] = std::min(std::max(pw[k], alpha[k] * alpha[k] * r2), kMaxWeight);
        queinsert(static_cast<int32_t>(k));
      }
      pw[sl] = std::max(r2, 1.0);
    }
  }

  const int32_t lr = updatelu(p);
  head[static_cast<size_t>(p)] = q;
  pos[sq] = p;
  nstat[sq] = kNbBasic;
  d[sq] = 0.0;
  setnonbasic(leave, lb[sl] == ub[sl] ? kNbFixed : (toupper ? kNbUpper : kNbLower));
  rowcopyexchange(q, leave);
  x[sl] = target;
  d[sl] = -thetad;
  if (phase == 1) {
    // The leaving variable was priced by its composite cost; as a non-basic one it has none.
    d[sl] -= cost[sl];
    if (cost[sl] != 0.0) --ninf;
    cost[sl] = 0.0;
    ++info->infiter;
  }
  return lr;
}

int32_t SimEngine::primalloop() {
  const auto sm = static_cast<size_t>(m);
  if (pw.size() != static_cast<size_t>(nt)) devexreset();
  if (bpt.size() < 2 * sm + 2) {
    bporder.assign(2 * sm + 2, 0);
    bppos.assign(2 * sm + 2, 0);
    bpt.assign(2 * sm + 2, 0.0);
    bptr.assign(2 * sm + 2, 0.0);
    bprate.assign(2 * sm + 2, 0.0);
    bpup.assign(2 * sm + 2, 0);
  }
  bool needfactor = false;
  bool fresh = true;
  int32_t badevents = 0;
  int64_t lastbad = std::numeric_limits<int64_t>::min() / 2;  // the last mismatch of the pivot
  int64_t sincecheck = 0;
  int32_t phase = primalsetphase();
  int64_t lastdual = iterations();
  int32_t lastleave = -1;  // the variable the last iteration took out of the basis
  // Degeneracy is measured over blocks of iterations.
  int64_t blockstart = iterations(), blockdeg = info->degiter, blocksize = 500;
  for (;;) {
    if (needfactor || (updates > 0 && VLR_lu_factornow(lu) != 0)) {
      const int32_t r = factor();
      if (r != kSimOk) {
        info->response = r;
        return kLoopStopped;
      }
      computexb();
      phase = primalsetphase();
      lastdual = iterations();
      needfactor = false;
      fresh = true;
    }
    if (!withinlimits(&sincecheck)) return kLoopStopped;
    logline(phase, false);
    if (phase == 1 && ninf == 0) {
      // Feasible: the true costs come back.
      phase = primalsetphase();
      lastdual = iterations();
      if (phase == 2 && par->loglevel > 5) log("Recompute yb because solution got feasible\n");
    }
    if (iterations() - lastdual >= std::max<int64_t>(m / 10, 500)) {
      computedual();
      lastdual = iterations();
    }
    if (kickmode != 0 && iterations() - blockstart >= blocksize) {
      primalkickblock(&blocksize, blockdeg);
      blockstart = iterations();
      blockdeg = info->degiter;
    }

    const int32_t rule = phase == 1 ? ifpricing : pricing;
    const bool lazy = rule == kPricePartial;  // reduced costs formed when priced, not updated
    const double tp = VLR_sysenv_getwctime(sys);
    const int32_t q = primalprice(rule);
    VLR_simplex_inctimeofopr(sys, info, kSimOpPrice, tp);
    if (q < 0) {
      if (!fresh) {  // confirm on a fresh factor
        needfactor = true;
        continue;
      }
      if (phase == 1) {
        // No way to reduce the infeasibility: the phase-one duals prove it.
        certfromy = true;
        return kLoopInfeasible;
      }
      return kLoopOptimal;
    }
    const auto sq = static_cast<size_t>(q);
    if (q == lastleave && std::fabs(d[sq]) < kCycleTol) {
      // The variable that just left wants back in on a reduced cost at the level of the
      // duals' rounding: the two would swap places for ever. Its cost takes the reduced cost.
      cost[sq] -= d[sq];
      d[sq] = 0.0;
      costshifted = 1;
      lastleave = -1;
      continue;
    }
    const double dir = d[sq] < 0.0 ? 1.0 : -1.0;  // x(q) moves the way its cost falls

    // The reduced cost of q from the maintained duals must agree with the updated one.
    {
      const double s2 = reducedcost(q);
      const double s1 = d[sq];
      if (std::fabs(s1) > 0.01 && std::fabs(s2 - s1) / (std::fabs(s2) + 1.0) > 1e-2) {
        if (iterations() - lastdual >= 11 || fresh) {
          computedual();
          lastdual = iterations();
        } else {
          needfactor = true;
        }
        continue;
      }
    }

    ftrancol(q);
    int32_t p = -1;
    double step = 0.0;
    bool toupper = false, flip = false;
    if (phase == 1)
      primalratioinf(q, dir, &p, &step, &toupper, &flip);
    else
      primalratio(q, dir, &p, &step, &toupper, &flip);

    if (p < 0 && !flip) {
      spike.clear();
      if (!fresh) {
        needfactor = true;
        continue;
      }
      if (phase == 1) {
        // The sum of infeasibilities cannot fall without end: the column is wrong, not the
        // factor.
        if (!badevent(&badevents, false)) return kLoopStopped;
        d[sq] = 0.0;
        continue;
      }
      primalray(q, dir);
      return kLoopUnbounded;
    }

    if (flip) {
      primalflip(q, dir * step, phase, lazy);
      continue;
    }

    const double alphac = col.val[static_cast<size_t>(p)];
    const double alphar = primalpivotrow(p, q, lazy);
    if (badpivot(alphac, alphar, fresh)) {
      spike.clear();
      if (!mismatch(&badevents, &lastbad, fresh)) return kLoopStopped;
      needfactor = true;
      continue;
    }

    lastleave = head[static_cast<size_t>(p)];
    const int32_t lr = primalupdate(p, q, dir, step, toupper, alphar, phase, lazy);
    ++info->iter[par->slot];
    fresh = false;
    if (lr == kLuNoSpace) {
      info->response = kSimNoSpace;
      return kLoopStopped;
    }
    if (lr != kLuOk && lr != kLuRefactorSoon) {
      needfactor = true;
      continue;
    }
    if (lr == kLuRefactorSoon) needfactor = true;
    if (phase == 1) primalcostupdate(lazy);
  }
}

int32_t SimEngine::primalsimplex(bool hot) {
  primalchoosepricing(hot);
  log("%-20s: %d\n", "deblev", par->loglevel);
  log("%-20s: %d\n", "hotstart", hot ? 1 : 0);
  log("%-20s: %d\n", "log freq", par->logfreq);
  log("%-20s: %lld\n", "max iterations", static_cast<long long>(par->maxiter));
  log("%-20s: %e\n", "tolx", tolx);
  log("%-20s: %e\n", "tols", tols);
  log("Primal pricing: %s.\n", primal_pricingname(pricing));
  devexreset();
  computexb();
  const bool room = par->maxiter - iterations() >= 40;
  kickmode = 0;
  if (par->degen != kSimDegenNone && room) {
    if (hot) {
      kickmode = 2;
    } else {
      kickmode = par->degen == kSimDegenMinimum ? 2 : 3;
      primalperturb();
    }
  }
  int32_t end = kLoopStopped;
  for (int32_t round = 0; round < 6; ++round) {
    if (round >= 4) kickmode = 0;  // the last rounds run on the true bounds alone
    end = primalloop();
    if (pricing == kPricePartial) pricedual();
    if (end == kLoopUnbounded && boundsmoved) {
      // A ray does not depend on where the bounds lie, only on which are finite.
      primalresetbounds();
      break;
    }
    if (end != kLoopOptimal || !boundsmoved) break;
    const int32_t moved = primalresetbounds();
    int32_t bad = 0;
    primalinf(&bad);
    if (bad == 0) break;
    log("Bounds restored: %d values moved, %d basic variables outside their bounds.\n", moved, bad);
    if (moved <= 5 || iterations() > 10 * static_cast<int64_t>(m)) {
      // A few values moved: the basis stays dual feasible, and the dual loop restores primal
      // feasibility in few steps.
      cost = costorg;
      computedual();
      end = dualloop(2);
      if (end != kLoopOptimal) break;
      cost = costorg;
      computedual();
      int32_t dbad = 0;
      dualinf(&dbad);
      if (dbad == 0) break;
    }
    kickmode = 0;
  }
  return end;
}

}  // namespace vlr
