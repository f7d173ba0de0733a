// src/netopt/net.cpp: the network optimiser's frame: the network read from a problem in the
// simplex's form, the start tree of slacks and artificial arcs, the phases, and the basis, values,
// duals and certificates written back for the whole problem.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <new>

#include "netopt/netdat.h"
#include "velor.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// Where a column outside the network stays: its lower bound, else its upper, else zero.
double net_restvalue(const SimLp& lp, int32_t k) {
  const double l = VLR_opt_lower(lp, k);
  if (l > -kInf) return l;
  const double u = VLR_opt_upper(lp, k);
  return u < kInf ? u : 0.0;
}

void net_putarc(NetRec* r, int32_t a, int32_t tail, int32_t head, int32_t var, double c, double l,
                double u) {
  NetArc& arc = r->arc[a];
  int8_t& st = r->state[a];
  arc.tail = tail;
  arc.head = head;
  r->var[a] = var;
  arc.cost = c;
  r->lo[a] = l;
  r->up[a] = u;
  if (l > -kInf) {
    r->flow[a] = l;
    st = l == u ? kArcFixed : kArcLower;
  } else if (u < kInf) {
    r->flow[a] = u;
    st = kArcUpper;
  } else {
    r->flow[a] = 0.0;
    st = kArcFree;
  }
}

// The arcs: a column of the network joins the rows where its signed entries are +1 (tail) and
// -1 (head), the root standing in for a missing end; the slack of a row with sign +1 runs from
// the root into its node, of a row with sign -1 out of it, so that the flows are the problem's
// own values. The other columns' values enter the nodes as supplies.
void net_setuparcs(NetRec* r, const SimLp& lp, const int32_t* rowsign, const uint8_t* colin,
                   const int32_t* node, NetVec<double>* supply, int32_t* slackof) {
  const int32_t m = lp.m, n = lp.n, root = r->root;
  int32_t a = 0;
  for (int32_t j = 0; j < n; ++j) {
    const int32_t k = m + j;
    int32_t tail = root, head = root;
    bool arc = colin[j] != 0 && lp.bk[k] != VLR_BK_FX;
    for (int64_t p = lp.abeg[j]; arc && p < lp.abeg[j + 1]; ++p) {
      const int32_t i = lp.aidx[p];
      if (rowsign[i] == 0) continue;
      const double v = rowsign[i] * lp.aval[p];
      if (v > 0.0 && tail == root)
        tail = node[i];
      else if (v < 0.0 && head == root)
        head = node[i];
      else
        arc = false;  // not an arc after all: held like the columns outside
    }
    if (arc) {
      net_putarc(r, a++, tail, head, k, lp.c[j], VLR_opt_lower(lp, k), VLR_opt_upper(lp, k));
      continue;
    }
    const double xv = net_restvalue(lp, k);
    if (xv == 0.0) continue;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
      const int32_t i = lp.aidx[p];
      if (rowsign[i] != 0) (*supply)[static_cast<size_t>(node[i])] -= rowsign[i] * lp.aval[p] * xv;
    }
  }
  for (int32_t i = 0; i < m; ++i) {
    if (rowsign[i] == 0) continue;
    const int32_t v = node[i];
    slackof[v] = a;
    net_putarc(r, a++, rowsign[i] > 0 ? root : v, rowsign[i] > 0 ? v : root, i, 0.0,
               VLR_opt_lower(lp, i), VLR_opt_upper(lp, i));
  }
  r->nsearch = a;
}

// The start tree: every node hangs from the root by its slack where the slack can carry the
// node's balance with room to send more towards the root (the tree is then strongly feasible),
// otherwise by an artificial arc oriented to carry it.
void net_setuptree(NetRec* r, const NetVec<double>& supply, const int32_t* slackof) {
  const int32_t nn = r->nnode, root = r->root;
  NetVec<double> excess(supply);  // what a node must still send out
  for (int32_t a = 0; a < r->nsearch; ++a) {
    const NetArc& arc = r->arc[static_cast<size_t>(a)];
    const double f = r->flow[static_cast<size_t>(a)];
    if (f == 0.0) continue;
    if (arc.tail != root) excess[static_cast<size_t>(arc.tail)] -= f;
    if (arc.head != root) excess[static_cast<size_t>(arc.head)] += f;
  }
  NetNode* nd = r->node;
  // The root, then every node as a leaf under it: the thread runs root, 0, 1, ..., nn - 1.
  int32_t* th = r->thread;
  nd[root] = NetNode{-1, -1, nn > 0 ? nn - 1 : root, nn + 1, nn > 0 ? nn - 1 : root, 0};
  th[root] = nn > 0 ? 0 : root;
  for (int32_t v = nn - 1; v >= 0; --v) {
    const auto sv = static_cast<size_t>(v);
    const int32_t s = slackof[v];
    const auto ss = static_cast<size_t>(s);
    NetArc& sl = r->arc[ss];
    // Take the slack off its start value, then ask what it would carry.
    const double f0 = r->flow[ss];
    const double e = excess[sv] + (sl.tail == v ? f0 : -f0);
    const double need = sl.tail == v ? e : -e;
    const double l = r->lo[ss], u = r->up[ss];
    const bool towardroom = sl.tail == v ? need < u : need > l;
    int32_t a = s;
    // The node's artificial arc, out of the tree at zero unless it carries the balance.
    const int32_t art = r->artbeg + v;
    NetArc& aa = r->arc[art];
    aa.cost = 0.0;
    aa.tail = excess[sv] >= 0.0 ? v : root;
    aa.head = excess[sv] >= 0.0 ? root : v;
    r->var[art] = -1;
    r->state[art] = kArcFixed;
    r->lo[art] = 0.0;
    if (need >= l && need <= u && towardroom) {
      r->flow[ss] = need;
      r->state[ss] = kArcFixed;
      r->flow[art] = 0.0;
      r->up[art] = 0.0;
    } else {
      a = art;
      r->flow[art] = std::fabs(excess[sv]);
      r->up[art] = kInf;
    }
    nd[v] = NetNode{root, a, v > 0 ? v - 1 : root, 1, v, r->arc[a].tail == v ? 1 : 0};
    th[v] = v + 1 < nn ? v + 1 : root;
  }
}

// Costs of a phase: 0 the problem's with a cost on artificial arcs above that of any path
// without them, 1 the artificial flow alone, 2 the problem's with artificial arcs held at zero.
void net_setphase(NetRec* r, int32_t phase) {
  double cmax = 0.0;
  for (int32_t j = 0; j < r->lp->n; ++j)
    cmax = std::max(cmax, std::fabs(r->lp->c[j]));
  const double big = 1.0 + cmax * (r->nnode + 1.0);
  for (int32_t a = 0; a < r->nsearch; ++a)
    r->arc[a].cost = phase == 1 ? 0.0 : net_cost(*r, a);
  for (int32_t a = r->artbeg; a < r->narc; ++a) {
    const auto sa = static_cast<size_t>(a);
    r->arc[sa].cost = phase == 0 ? big : (phase == 1 ? 1.0 : 0.0);
    if (phase == 2) {
      r->flow[sa] = 0.0;
      r->up[sa] = 0.0;
    }
  }
  pnet_calcduals(r);
}

double net_artificialflow(const NetRec& r) {
  double f = 0.0;
  for (int32_t a = r.artbeg; a < r.narc; ++a)
    f = std::max(f, r.flow[static_cast<size_t>(a)]);
  return f;
}

// Phases: the big cost first; flow left on artificial arcs (or an unbounded cycle, which proves
// nothing while the flow is not feasible) sends the run to the first phase proper, then the
// problem's costs. Returns the end of the last loop; *infeasible when artificial flow remains.
int32_t net_phases(NetRec* r, bool* infeasible) {
  *infeasible = false;
  int32_t end = kNetLoopOptimal;
  if (net_artificialflow(*r) > 0.0) {
    net_setphase(r, 0);
    end = pnet_loop(r, 0);
    if (end == kNetLoopStopped) return end;
    if (end == kNetLoopUnbounded || net_artificialflow(*r) > r->tolx) {
      net_setphase(r, 1);
      end = pnet_loop(r, 1);
      if (end == kNetLoopStopped) return end;
      if (net_artificialflow(*r) > r->tolx) {
        *infeasible = true;
        return kNetLoopOptimal;
      }
    }
  }
  net_setphase(r, 2);
  return pnet_loop(r, 2);
}

// The ray of an unbounded cycle: one unit pushed round it, as values of the problem's variables;
// rows outside the network follow the columns.
void net_ray(const NetRec& r, const SimLp& lp, const int32_t* rowsign, SimSol* sol) {
  const int32_t m = lp.m, nt = lp.m + lp.n;
  std::fill(sol->x, sol->x + nt, 0.0);
  const NetArc& ea = r.arc[static_cast<size_t>(r.rayarc)];
  sol->x[r.var[static_cast<size_t>(r.rayarc)]] = r.raydir;
  int32_t u = r.raydir > 0 ? ea.tail : ea.head;
  int32_t v = r.raydir > 0 ? ea.head : ea.tail;
  auto put = [&](int32_t w, double along) {
    const auto a = static_cast<size_t>(r.node[static_cast<size_t>(w)].pred);
    if (r.var[a] >= 0) sol->x[r.var[a]] += r.arc[a].tail == w ? along : -along;
  };
  while (u != v) {
    if (r.node[static_cast<size_t>(u)].succ < r.node[static_cast<size_t>(v)].succ) {
      put(u, -1.0);
      u = r.node[static_cast<size_t>(u)].parent;
    } else {
      put(v, 1.0);
      v = r.node[static_cast<size_t>(v)].parent;
    }
  }
  for (int32_t j = 0; j < lp.n; ++j) {
    const double xj = sol->x[m + j];
    if (xj == 0.0) continue;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      if (rowsign[lp.aidx[p]] == 0) sol->x[lp.aidx[p]] += lp.aval[p] * xj;
  }
}

int32_t net_restkey(const SimLp& lp, int32_t k) {
  const double l = VLR_opt_lower(lp, k), u = VLR_opt_upper(lp, k);
  if (l == u) return VLR_SK_FIX;
  if (l > -kInf) return VLR_SK_LOW;
  return u < kInf ? VLR_SK_UPR : VLR_SK_SUPBAS;
}

// The basis, values, duals and reduced costs of the whole problem from the tree. A tree arc that
// is artificial (at zero flow after the phases) joins its node to the root as the node's slack
// does, so the slack takes its place in the basis. With a certificate the costs count as zero.
void net_solution(const NetRec& r, const SimLp& lp, const int32_t* rowsign, const int32_t* node,
                  const int32_t* slackof, bool certificate, SimSol* sol) {
  const int32_t m = lp.m, n = lp.n;
  for (int32_t j = 0; j < n; ++j) {
    sol->sk[m + j] = net_restkey(lp, m + j);
    sol->x[m + j] = net_restvalue(lp, m + j);
  }
  for (int32_t a = 0; a < r.nsearch; ++a) {
    const int32_t st = r.state[static_cast<size_t>(a)];
    const int32_t var = r.var[static_cast<size_t>(a)];
    const double f = r.flow[static_cast<size_t>(a)];
    const double l = r.lo[static_cast<size_t>(a)], u = r.up[static_cast<size_t>(a)];
    int32_t key = VLR_SK_SUPBAS;
    if (l == u)
      key = VLR_SK_FIX;
    else if (st == kArcLower || (st != kArcFree && f == l))
      key = VLR_SK_LOW;
    else if (st == kArcUpper || (st != kArcFree && f == u))
      key = VLR_SK_UPR;
    sol->sk[var] = key;
    sol->x[var] = f;
  }
  for (int32_t v = 0; v < r.nnode; ++v) {
    const int32_t a = r.node[static_cast<size_t>(v)].pred;
    const int32_t b = a >= r.artbeg ? slackof[v] : a;
    sol->sk[r.var[static_cast<size_t>(b)]] = VLR_SK_BAS;
  }
  for (int32_t i = 0; i < m; ++i) {
    sol->y[i] = rowsign[i] != 0 ? rowsign[i] * r.pi[static_cast<size_t>(node[i])] : 0.0;
    sol->d[i] = sol->y[i];
    if (rowsign[i] == 0) {
      sol->sk[i] = VLR_SK_BAS;
      sol->x[i] = 0.0;
    }
  }
  for (int32_t j = 0; j < n; ++j) {
    double dj = certificate ? 0.0 : lp.c[j];
    const double xj = sol->x[m + j];
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
      const int32_t i = lp.aidx[p];
      dj -= lp.aval[p] * sol->y[i];
      if (rowsign[i] == 0) sol->x[i] += lp.aval[p] * xj;
    }
    sol->d[m + j] = dj;
  }
}

void net_optimize(SysEnv* sys, const NetParam& par, const NetCallbacks& cb, const SimLp& lp,
                  const int32_t* rowsign, const uint8_t* colin, SimSol* sol, NetInfo* info) {
  const int32_t m = lp.m, n = lp.n;
  NetRec r(sys);
  r.par = &par;
  r.cb = &cb;
  r.info = info;
  r.lp = &lp;
  r.tolx = std::min(par.tolx, 1e-7);
  r.tols = std::min(par.tols, 1e-7);
  r.starttime = VLR_sysenv_getwctime(sys);
  NetVec<int32_t> node(static_cast<size_t>(std::max(m, 1)), -1, MemAllocator<int32_t>(sys));
  int32_t nn = 0;
  for (int32_t i = 0; i < m; ++i)
    if (rowsign[i] != 0) node[static_cast<size_t>(i)] = nn++;
  r.nnode = nn;
  r.root = nn;
  // Pricing: a queue that grows with the problem, blocks of about the square root of the arcs.
  int32_t ncol = 0;
  for (int32_t j = 0; j < n; ++j)
    ncol += colin[j] != 0 ? 1 : 0;
  const int32_t nsearch = ncol + nn;  // an upper bound until the arcs are made
  r.qmax = nsearch >= 100000 ? 25 : (nsearch >= 10000 ? 15 : 10);
  if (!net_alloc(&r, ncol + 2 * nn, nn, r.qmax)) {
    info->response = kNetNoSpace;
    return;
  }
  const auto nodes = static_cast<size_t>(nn) + 1;
  std::fill(r.pi, r.pi + nodes, 0.0);
  NetVec<double> supply(nodes, 0.0, MemAllocator<double>(sys));
  NetVec<int32_t> slackof(nodes, -1, MemAllocator<int32_t>(sys));
  net_setuparcs(&r, lp, rowsign, colin, node.data(), &supply, slackof.data());
  r.artbeg = r.nsearch;
  r.narc = r.nsearch + nn;
  r.block = std::max(100, static_cast<int32_t>(2.0 * std::sqrt(static_cast<double>(r.nsearch))));
  net_setuptree(&r, supply, slackof.data());
  info->numnode = nn;
  info->numarc = r.nsearch;
  if (par.loglevel > 0 && cb.log != nullptr) {
    char line[160];
    std::snprintf(line, sizeof line, "Network nodes: %d, arcs: %d\n", nn, r.nsearch);
    cb.log(cb.handle, line);
    std::snprintf(line, sizeof line, "%-10s %-6s %-10s %-14s %-22s %-8s\n", "ITER", "PHASE",
                  "DEGITER(%)", "ARTFLOW", "POBJ", "TIME");
    cb.log(cb.handle, line);
  }
  bool infeasible = false;
  const int32_t end = net_phases(&r, &infeasible);
  pnet_logline(&r, infeasible ? 1 : 2, true);
  for (int32_t v = 0; v < nn; ++v)
    info->numartificial += r.node[static_cast<size_t>(v)].pred >= r.artbeg ? 1 : 0;
  net_solution(r, lp, rowsign, node.data(), slackof.data(), infeasible, sol);
  info->pobj = lp.cfix;
  for (int32_t j = 0; j < n; ++j)
    info->pobj += lp.c[j] * sol->x[m + j];
  if (end == kNetLoopStopped) {
    info->prosta = VLR_PRO_STA_UNKNOWN;
    info->solsta = VLR_SOL_STA_UNKNOWN;
  } else if (infeasible) {
    info->prosta = VLR_PRO_STA_PRIM_INFEAS;
    info->solsta = VLR_SOL_STA_PRIM_INFEAS_CER;
  } else if (end == kNetLoopUnbounded) {
    net_ray(r, lp, rowsign, sol);
    info->prosta = VLR_PRO_STA_DUAL_INFEAS;
    info->solsta = VLR_SOL_STA_DUAL_INFEAS_CER;
  } else {
    info->prosta = VLR_PRO_STA_PRIM_AND_DUAL_FEAS;
    info->solsta = VLR_SOL_STA_OPTIMAL;
  }
}

}  // namespace

bool net_alloc(NetRec* r, int32_t narc, int32_t nnode, int32_t qmax) {
  // One block per array: a small problem's arrays then come from memory the allocator has at
  // hand, where one block of them all is fresh memory each run, whose first touch cost more
  // than the pivots of a network of 10^4 arcs.
  const auto na = static_cast<size_t>(std::max(narc, 1));
  const auto nn = static_cast<size_t>(nnode) + 1;
  const auto nq = static_cast<size_t>(std::max(qmax, 1));
  const size_t sizes[kNetArrays] = {
      na * sizeof(double),  na * sizeof(double),  na * sizeof(double),  nn * sizeof(double),
      nq * sizeof(double),  na * sizeof(NetArc),  nn * sizeof(NetNode), na * sizeof(int32_t),
      nn * sizeof(int32_t), nq * sizeof(int32_t), na * sizeof(int8_t)};
  for (int32_t k = 0; k < kNetArrays; ++k) {
    r->mem[k] = VLR_sysenv_mallocdbg(r->sys, VLR_HERE, sizes[k]);
    if (r->mem[k] == nullptr) return false;
  }
  r->lo = static_cast<double*>(r->mem[0]);
  r->up = static_cast<double*>(r->mem[1]);
  r->flow = static_cast<double*>(r->mem[2]);
  r->pi = static_cast<double*>(r->mem[3]);
  r->cval = static_cast<double*>(r->mem[4]);
  r->arc = static_cast<NetArc*>(r->mem[5]);
  r->node = static_cast<NetNode*>(r->mem[6]);
  r->var = static_cast<int32_t*>(r->mem[7]);
  r->thread = static_cast<int32_t*>(r->mem[8]);
  r->cand = static_cast<int32_t*>(r->mem[9]);
  r->state = static_cast<int8_t*>(r->mem[10]);
  return true;
}

int32_t VLR_net_optimize(SysEnv* sys, const NetParam& par, const NetCallbacks& cb, const SimLp& lp,
                         const int32_t* rowsign, const uint8_t* colin, SimSol* sol, NetInfo* info) {
  *info = NetInfo();
  const double t0 = VLR_sysenv_getwctime(sys);
  try {
    net_optimize(sys, par, cb, lp, rowsign, colin, sol, info);
  } catch (const std::bad_alloc&) {
    info->response = kNetNoSpace;
  }
  info->time = VLR_sysenv_getwctime(sys) - t0;
  return info->response;
}

}  // namespace vlr
