// bench/mcfgen.cpp: multicommodity-flow problems. A directed graph (a two-way ring for
// connectivity, and two random arcs per node) carries K commodities, each from its source to its
// sink; the arcs have costs and a capacity that all commodities share. Rows: one conservation
// equation per node and commodity, one capacity row per arc. Each commodity also has a costly
// direct arc without capacity, so every problem of the family is feasible.
// SPDX-License-Identifier: Apache-2.0
#include "mcfgen.h"

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

struct Size {
  int32_t nodes, commodities;
};

constexpr Size kSizes[kMcfLevels] = {{60, 12},  {100, 20}, {160, 30},
                                     {250, 45}, {400, 70}, {600, 100}};

// A small linear congruential sequence: the problems are the same on every machine.
struct Lcg {
  uint64_t s;
  uint32_t Next() {
    s = s * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<uint32_t>(s >> 33);
  }
  int32_t Below(int32_t n) { return static_cast<int32_t>(Next() % static_cast<uint32_t>(n)); }
};

}  // namespace

int32_t McfWrite(VLRenv_t env, int level, const std::string& path, std::string* name) {
  if (level < 1 || level > kMcfLevels) return VLR_RES_ERR_INDEX_IS_TOO_LARGE;
  const Size sz = kSizes[level - 1];
  const int32_t nn = sz.nodes, nk = sz.commodities;
  Lcg rng{0x5eed0000ULL + static_cast<uint64_t>(level)};

  std::vector<int32_t> tail, head;
  for (int32_t v = 0; v < nn; ++v) {
    tail.push_back(v), head.push_back((v + 1) % nn);
    tail.push_back((v + 1) % nn), head.push_back(v);
    for (int r = 0; r < 2; ++r) {
      int32_t w = rng.Below(nn);
      if (w == v) w = (w + 1) % nn;
      tail.push_back(v), head.push_back(w);
    }
  }
  const auto na = static_cast<int32_t>(tail.size());
  std::vector<int32_t> src(static_cast<size_t>(nk)), snk(static_cast<size_t>(nk));
  std::vector<double> demand(static_cast<size_t>(nk));
  double total = 0.0;
  for (int32_t k = 0; k < nk; ++k) {
    src[size_t(k)] = rng.Below(nn);
    snk[size_t(k)] = (src[size_t(k)] + 1 + rng.Below(nn - 1)) % nn;
    demand[size_t(k)] = 1 + rng.Below(10);
    total += demand[size_t(k)];
  }

  VLRtask_t task = nullptr;
  int32_t r = VLR_maketask(env, 0, 0, &task);
  if (r != VLR_RES_OK) return r;
  char buf[64];
  std::snprintf(buf, sizeof buf, "mcf%d", level);
  *name = buf;
  r = VLR_puttaskname(task, buf);

  // Rows: conservation of commodity k at node v is row k nn + v; capacity of arc a is nn nk + a.
  const int32_t nrow = nn * nk + na;
  std::vector<int32_t> bk(static_cast<size_t>(nrow), VLR_BK_FX);
  std::vector<double> bl(static_cast<size_t>(nrow), 0.0), bu(static_cast<size_t>(nrow), 0.0);
  for (int32_t k = 0; k < nk; ++k) {
    const int32_t s = k * nn + src[size_t(k)], t = k * nn + snk[size_t(k)];
    bl[size_t(s)] = bu[size_t(s)] = demand[size_t(k)];
    bl[size_t(t)] = bu[size_t(t)] = -demand[size_t(k)];
  }
  // A commodity's path takes about log2(nodes) arcs, so the mean load of an arc is about
  // total log2(nodes) / arcs; capacities between a fifth of that and its whole bind on many arcs.
  const double load = total * std::log2(static_cast<double>(nn)) / na;
  for (int32_t a = 0; a < na; ++a) {
    const auto i = static_cast<size_t>(nn * nk + a);
    bk[i] = VLR_BK_UP;
    bl[i] = 0.0;
    bu[i] = std::floor(load * (0.2 + 0.8 * rng.Below(1000) / 1000.0)) + 1.0;
  }
  std::vector<int32_t> rowbeg(static_cast<size_t>(nrow), 0);
  if (r == VLR_RES_OK) {
    r = VLR_appendcons(task, nrow, rowbeg.data(), rowbeg.data(), nullptr, nullptr, bk.data(),
                       bl.data(), bu.data());
  }

  // Columns: the flow of commodity k on arc a, then each commodity's direct arc.
  std::vector<double> cost(static_cast<size_t>(na));
  for (auto& c : cost)
    c = 1 + rng.Below(20);
  std::vector<int32_t> beg, end, sub, cbk;
  std::vector<double> val, c, cbl, cbu;
  for (int32_t k = 0; k < nk; ++k) {
    for (int32_t a = 0; a < na; ++a) {
      beg.push_back(static_cast<int32_t>(sub.size()));
      sub.push_back(k * nn + tail[size_t(a)]), val.push_back(1.0);
      sub.push_back(k * nn + head[size_t(a)]), val.push_back(-1.0);
      sub.push_back(nn * nk + a), val.push_back(1.0);
      end.push_back(static_cast<int32_t>(sub.size()));
      c.push_back(cost[size_t(a)]);
    }
    beg.push_back(static_cast<int32_t>(sub.size()));
    sub.push_back(k * nn + src[size_t(k)]), val.push_back(1.0);
    sub.push_back(k * nn + snk[size_t(k)]), val.push_back(-1.0);
    end.push_back(static_cast<int32_t>(sub.size()));
    c.push_back(1000.0);
  }
  const auto ncol = static_cast<int32_t>(c.size());
  cbk.assign(static_cast<size_t>(ncol), VLR_BK_LO);
  cbl.assign(static_cast<size_t>(ncol), 0.0);
  cbu.assign(static_cast<size_t>(ncol), 0.0);
  if (r == VLR_RES_OK) {
    r = VLR_appendvars(task, ncol, c.data(), beg.data(), end.data(), sub.data(), val.data(),
                       cbk.data(), cbl.data(), cbu.data());
  }
  if (r == VLR_RES_OK) r = VLR_writedata(task, path.c_str());
  VLR_deletetask(&task);
  return r;
}
