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

// Where a column outside the network starts: its lower bound, else its upper, else zero; with a
// hot start key VLR_SK_UPR its upper bound when it has one.
double net_restvalue(const SimLp& lp, int32_t k, const int32_t* hotsk) {
  const double l = VLR_opt_lower(lp, k), u = VLR_opt_upper(lp, k);
  if (hotsk != nullptr && hotsk[k] == VLR_SK_UPR && u < kInf) return u;
  if (l > -kInf) return l;
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

// Puts arc a on its upper bound when a hot start's key asks for it.
void net_hotbound(NetRec* r, int32_t a, const int32_t* hotsk) {
  const auto sa = static_cast<size_t>(a);
  if (hotsk == nullptr || hotsk[r->var[sa]] != VLR_SK_UPR) return;
  if (r->up[sa] < kInf && r->lo[sa] < r->up[sa]) {
    r->flow[sa] = r->up[sa];
    r->state[sa] = kArcUpper;
  }
}

// The arcs: a column of the network joins the rows where its signed entries are +1 (tail) and
// -1 (head), the root standing in for a missing end; the slack of a row with sign +1 runs from
// the root into its node, of a row with sign -1 out of it, so that the flows are the problem's
// own values. The other columns' values (restx, NaN for arcs) enter the nodes as supplies.
void net_setuparcs(NetRec* r, const SimLp& lp, const int32_t* rowsign, const uint8_t* colin,
                   const int32_t* node, const int32_t* hotsk, NetVec<double>* supply,
                   int32_t* slackof, double* restx) {
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
      net_putarc(r, a, tail, head, k, lp.c[j], VLR_opt_lower(lp, k), VLR_opt_upper(lp, k));
      net_hotbound(r, a++, hotsk);
      restx[j] = std::numeric_limits<double>::quiet_NaN();
      continue;
    }
    const double xv = net_restvalue(lp, k, hotsk);
    restx[j] = xv;
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
    net_putarc(r, a, rowsign[i] > 0 ? root : v, rowsign[i] > 0 ? v : root, i, 0.0,
               VLR_opt_lower(lp, i), VLR_opt_upper(lp, i));
    net_hotbound(r, a++, hotsk);
  }
  r->nsearch = a;
}

// The artificial arc of node v, oriented to carry e (out of v when e >= 0): in the tree it
// carries |e| without a bound, out of it it is held at zero.
void net_artificial(NetRec* r, int32_t v, double e, bool intree) {
  const auto art = static_cast<size_t>(r->artbeg + v);
  r->arc[art] = e >= 0.0 ? NetArc{0.0, v, r->root} : NetArc{0.0, r->root, v};
  r->var[art] = -1;
  r->state[art] = kArcFixed;
  r->lo[art] = 0.0;
  r->up[art] = intree ? kInf : 0.0;
  r->flow[art] = intree ? std::fabs(e) : 0.0;
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
    const bool byslack = need >= l && need <= u && towardroom;
    net_artificial(r, v, excess[sv], !byslack);
    if (byslack) {
      r->flow[ss] = need;
      r->state[ss] = kArcFixed;
    } else {
      a = r->artbeg + v;
    }
    nd[v] = NetNode{root, a, v > 0 ? v - 1 : root, 1, v, r->arc[a].tail == v ? 1 : 0};
    th[v] = v + 1 < nn ? v + 1 : root;
  }
}

// The thread, its inverse, subtree sizes and last nodes of the tree that the parent and pred
// links of every node but the root give; `order` is work space.
void net_threadtree(NetRec* r, NetVec<int32_t>* order) {
  const int32_t nn = r->nnode, root = r->root;
  const auto nodes = static_cast<size_t>(nn) + 1;
  NetNode* nd = r->node;
  const MemAllocator<int32_t> ai(r->sys);
  NetVec<int32_t> cbeg(nodes + 1, 0, ai), child(static_cast<size_t>(std::max(nn, 1)), 0, ai);
  for (int32_t v = 0; v < nn; ++v)
    ++cbeg[static_cast<size_t>(nd[v].parent) + 1];
  for (size_t k = 0; k < nodes; ++k)
    cbeg[k + 1] += cbeg[k];
  NetVec<int32_t> fill(cbeg.begin(), cbeg.end() - 1, ai);
  for (int32_t v = 0; v < nn; ++v)
    child[static_cast<size_t>(fill[static_cast<size_t>(nd[v].parent)]++)] = v;
  // Preorder by a stack: a node's children go on in reverse, so the first comes off first.
  order->clear();
  NetVec<int32_t>& stack = fill;
  stack.clear();
  stack.push_back(root);
  while (!stack.empty()) {
    const int32_t x = stack.back();
    stack.pop_back();
    order->push_back(x);
    for (int32_t k = cbeg[static_cast<size_t>(x) + 1]; k > cbeg[static_cast<size_t>(x)]; --k)
      stack.push_back(child[static_cast<size_t>(k) - 1]);
  }
  int32_t* th = r->thread;
  for (size_t k = 0; k < nodes; ++k) {
    const int32_t x = (*order)[k], y = (*order)[(k + 1) % nodes];
    th[x] = y;
    nd[y].rthread = x;
    nd[x].succ = 1;
  }
  for (size_t k = nodes; k-- > 1;) {
    const int32_t x = (*order)[k];
    nd[nd[x].parent].succ += nd[x].succ;
  }
  // The subtree of the node at place k of the preorder ends at place k + succ - 1.
  NetVec<int32_t>& at = cbeg;
  for (size_t k = 0; k < nodes; ++k)
    at[static_cast<size_t>((*order)[k])] = static_cast<int32_t>(k);
  for (int32_t x = 0; x <= nn; ++x) {
    const auto k = static_cast<size_t>(at[static_cast<size_t>(x)] + nd[x].succ - 1);
    nd[x].last = (*order)[k];
    nd[x].up = x != root && r->arc[nd[x].pred].tail == x ? 1 : 0;
  }
  nd[root].parent = -1;
  nd[root].pred = -1;
}

// The start tree of a given basis: its basic arcs as far as they close no cycle, each part left
// apart hung from the root by the artificial arc of a node. A tree arc carries what its subtree
// must send; one whose flow would leave its bounds stays on the bound it passes, and its subtree
// hangs from the root by its top node's artificial arc, which carries the rest for the first
// phase to remove.
void net_setuptreehot(NetRec* r, const NetVec<double>& supply, const int32_t* sk) {
  const int32_t nn = r->nnode, root = r->root;
  const auto nodes = static_cast<size_t>(nn) + 1;
  const MemAllocator<int32_t> ai(r->sys);
  NetVec<int32_t> comp(nodes, 0, ai), adjbeg(nodes + 1, 0, ai);
  for (size_t v = 0; v < nodes; ++v)
    comp[v] = static_cast<int32_t>(v);
  auto find = [&comp](int32_t v) {
    while (comp[static_cast<size_t>(v)] != v) {
      comp[static_cast<size_t>(v)] = comp[static_cast<size_t>(comp[static_cast<size_t>(v)])];
      v = comp[static_cast<size_t>(v)];
    }
    return v;
  };
  NetVec<uint8_t> intree(static_cast<size_t>(std::max(r->nsearch, 1)), 0,
                         MemAllocator<uint8_t>(r->sys));
  int32_t ntree = 0;
  for (int32_t a = 0; a < r->nsearch; ++a) {
    const NetArc& arc = r->arc[a];
    if (sk[r->var[a]] != VLR_SK_BAS || arc.tail == arc.head) continue;
    const int32_t cu = find(arc.tail), cv = find(arc.head);
    if (cu == cv) continue;
    comp[static_cast<size_t>(cu)] = cv;
    intree[static_cast<size_t>(a)] = 1;
    ++adjbeg[static_cast<size_t>(arc.tail) + 1];
    ++adjbeg[static_cast<size_t>(arc.head) + 1];
    ++ntree;
  }
  for (size_t k = 0; k < nodes; ++k)
    adjbeg[k + 1] += adjbeg[k];
  NetVec<int32_t> adj(static_cast<size_t>(std::max(2 * ntree, 1)), 0, ai);
  NetVec<int32_t>& fill = comp;
  std::copy(adjbeg.begin(), adjbeg.end() - 1, fill.begin());
  NetVec<double> excess(supply);  // what a node must still send out
  for (int32_t a = 0; a < r->nsearch; ++a) {
    const NetArc& arc = r->arc[a];
    if (intree[static_cast<size_t>(a)] != 0) {
      adj[static_cast<size_t>(fill[static_cast<size_t>(arc.tail)]++)] = a;
      adj[static_cast<size_t>(fill[static_cast<size_t>(arc.head)]++)] = a;
      continue;
    }
    excess[static_cast<size_t>(arc.tail)] -= r->flow[a];
    excess[static_cast<size_t>(arc.head)] += r->flow[a];
  }
  // Parents by a search from the root, then from each node not yet reached, which hangs from the
  // root by its artificial arc.
  NetNode* nd = r->node;
  for (int32_t v = 0; v < nn; ++v) {
    nd[v].parent = -2;
    net_artificial(r, v, 0.0, false);
  }
  NetVec<int32_t> order(ai);
  order.reserve(nodes);
  order.push_back(root);
  for (int32_t v = -1, q = 0; v < nn; ++v) {
    if (v >= 0) {
      if (nd[v].parent != -2) continue;
      nd[v].parent = root;
      nd[v].pred = r->artbeg + v;
      order.push_back(v);
    }
    for (; q < static_cast<int32_t>(order.size()); ++q) {
      const int32_t x = order[static_cast<size_t>(q)];
      for (int32_t k = adjbeg[static_cast<size_t>(x)]; k < adjbeg[static_cast<size_t>(x) + 1];
           ++k) {
        const int32_t a = adj[static_cast<size_t>(k)];
        const int32_t y = r->arc[a].tail == x ? r->arc[a].head : r->arc[a].tail;
        if (y == root || nd[y].parent != -2) continue;
        nd[y].parent = x;
        nd[y].pred = a;
        order.push_back(y);
      }
    }
  }
  // Flows from the leaves up: every node's children come after it in the search's order.
  for (size_t k = order.size(); k-- > 1;) {
    const int32_t v = order[k];
    int32_t a = nd[v].pred;
    double e = excess[static_cast<size_t>(v)];
    if (a < r->artbeg) {
      const bool out = r->arc[a].tail == v;
      const double f = out ? e : -e;
      const double l = r->lo[a], u = r->up[a];
      const int32_t p = nd[v].parent;
      if (f >= l && f <= u) {
        r->flow[a] = f;
        r->state[a] = kArcFixed;
        excess[static_cast<size_t>(p)] += e;
        continue;
      }
      const double b = f < l ? l : u;
      r->flow[a] = b;
      r->state[a] = l == u ? kArcFixed : (b == l ? kArcLower : kArcUpper);
      const double sent = out ? b : -b;
      excess[static_cast<size_t>(p)] += sent;
      e -= sent;
      a = r->artbeg + v;
      nd[v].parent = root;
      nd[v].pred = a;
    }
    net_artificial(r, v, e, true);
  }
  net_threadtree(r, &order);
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

// The key of a column outside the network at value x.
int32_t net_restkey(const SimLp& lp, int32_t k, double x) {
  const double l = VLR_opt_lower(lp, k), u = VLR_opt_upper(lp, k);
  if (l == u) return VLR_SK_FIX;
  if (x == l) return VLR_SK_LOW;
  return x == u ? VLR_SK_UPR : VLR_SK_SUPBAS;
}

// The dual form's end: each column outside the network goes to the bound its reduced cost under
// the network's duals asks for, where it has that bound; the change of the nodes' supplies runs
// up the tree, whose arcs take it on whatever their bounds. A tree arc that is artificial gives
// its place to the node's slack, which joins the same two nodes at the same cost, so that the
// values that follow are those of the basis handed on.
void net_dualform(NetRec* r, const SimLp& lp, const int32_t* rowsign, const int32_t* node,
                  const int32_t* slackof, double* restx) {
  const int32_t m = lp.m, nn = r->nnode, root = r->root;
  NetNode* nd = r->node;
  for (int32_t v = 0; v < nn; ++v) {
    if (nd[v].pred < r->artbeg) continue;
    const int32_t s = slackof[v];
    r->flow[nd[v].pred] = 0.0;
    nd[v].pred = s;
    nd[v].up = r->arc[s].tail == v ? 1 : 0;
    r->state[s] = kArcFixed;
  }
  const MemAllocator<double> ad(r->sys);
  NetVec<double> excess(static_cast<size_t>(nn) + 1, 0.0, ad);
  bool moved = false;
  for (int32_t j = 0; j < lp.n; ++j) {
    const double x0 = restx[j];
    if (std::isnan(x0)) continue;
    double dj = lp.c[j];
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
      const int32_t i = lp.aidx[p];
      if (rowsign[i] != 0) dj -= lp.aval[p] * rowsign[i] * r->pi[node[i]];
    }
    const double l = VLR_opt_lower(lp, m + j), u = VLR_opt_upper(lp, m + j);
    double x1 = x0;
    if (dj > r->tols && l > -kInf) x1 = l;
    if (dj < -r->tols && u < kInf) x1 = u;
    if (x1 == x0) continue;
    restx[j] = x1;
    moved = true;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
      const int32_t i = lp.aidx[p];
      if (rowsign[i] != 0)
        excess[static_cast<size_t>(node[i])] -= rowsign[i] * lp.aval[p] * (x1 - x0);
    }
  }
  if (!moved) return;
  // Children before parents: the thread backwards from the root.
  for (int32_t v = nd[root].rthread; v != root; v = nd[v].rthread) {
    const double e = excess[static_cast<size_t>(v)];
    if (e == 0.0) continue;
    const int32_t a = nd[v].pred;
    r->flow[a] += nd[v].up != 0 ? e : -e;
    excess[static_cast<size_t>(nd[v].parent)] += e;
  }
}

// The basis, values, duals and reduced costs of the whole problem from the tree. A tree arc that
// is artificial (at zero flow after the phases) joins its node to the root as the node's slack
// does, so the slack takes its place in the basis. With a certificate the costs count as zero.
void net_solution(const NetRec& r, const SimLp& lp, const int32_t* rowsign, const int32_t* node,
                  const int32_t* slackof, const double* restx, bool certificate, SimSol* sol) {
  const int32_t m = lp.m, n = lp.n;
  for (int32_t j = 0; j < n; ++j) {
    if (std::isnan(restx[j])) continue;  // an arc's, written below
    sol->sk[m + j] = net_restkey(lp, m + j, restx[j]);
    sol->x[m + j] = restx[j];
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
  NetVec<double> restx(static_cast<size_t>(std::max(n, 1)), 0.0, MemAllocator<double>(sys));
  const int32_t* hotsk = par.hotstart != 0 ? sol->sk : nullptr;
  net_setuparcs(&r, lp, rowsign, colin, node.data(), hotsk, &supply, slackof.data(), restx.data());
  r.artbeg = r.nsearch;
  r.narc = r.nsearch + nn;
  r.block = std::max(100, static_cast<int32_t>(2.0 * std::sqrt(static_cast<double>(r.nsearch))));
  if (hotsk != nullptr)
    net_setuptreehot(&r, supply, hotsk);
  else
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
  if (par.dualform != 0 && end == kNetLoopOptimal && !infeasible)
    net_dualform(&r, lp, rowsign, node.data(), slackof.data(), restx.data());
  net_solution(r, lp, rowsign, node.data(), slackof.data(), restx.data(), infeasible, sol);
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
