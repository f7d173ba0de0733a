// src/simplex/bsimplex.cpp: the basis of the pivoting optimisers: its LU, the solves with it,
// and the values, duals and reduced costs computed from scratch.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>

#include "simplex/simdat.h"
#include "velor.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kDropTol = 1e-14;  // entries of solves at or below this are dropped

// Column supply of the LU: position j holds head[j]; a slack gives -1 at its row.
int32_t simplex_lugeta(void* handle, int32_t room, int32_t j, int32_t* nz, int32_t* rows,
                       double* values) {
  const auto* e = static_cast<const SimEngine*>(handle);
  const int32_t k = e->head[static_cast<size_t>(j)];
  if (k < e->m) {
    if (room < 1) return 0;
    rows[0] = k;
    values[0] = -1.0;
    *nz = 1;
    return 1;
  }
  const int32_t c = k - e->m;
  const int64_t b = e->abeg[c];
  const auto len = static_cast<int32_t>(e->abeg[c + 1] - b);
  if (len > room) return 0;
  for (int32_t t = 0; t < len; ++t) {
    rows[t] = e->aidx[b + t];
    values[t] = e->aval[b + t];
  }
  *nz = len;
  return 1;
}

}  // namespace

SimEngine::SimEngine(SysEnv* s)
    : sys(s),
      arbeg(MemAllocator<int64_t>(s)),
      arlen(MemAllocator<int32_t>(s)),
      aridx(MemAllocator<int32_t>(s)),
      arval(MemAllocator<double>(s)),
      arent(MemAllocator<int64_t>(s)),
      aroff(MemAllocator<int32_t>(s)),
      cost(MemAllocator<double>(s)),
      costorg(MemAllocator<double>(s)),
      lb(MemAllocator<double>(s)),
      ub(MemAllocator<double>(s)),
      lborg(MemAllocator<double>(s)),
      uborg(MemAllocator<double>(s)),
      artmark(MemAllocator<int8_t>(s)),
      head(MemAllocator<int32_t>(s)),
      pos(MemAllocator<int32_t>(s)),
      nstat(MemAllocator<int8_t>(s)),
      x(MemAllocator<double>(s)),
      d(MemAllocator<double>(s)),
      y(MemAllocator<double>(s)),
      w(MemAllocator<double>(s)),
      infeas(MemAllocator<double>(s)),
      inflist(MemAllocator<int32_t>(s)),
      infat(MemAllocator<int32_t>(s)),
      infkey(MemAllocator<double>(s)),
      heapdirty(MemAllocator<int32_t>(s)),
      heapmark(MemAllocator<int8_t>(s)),
      ray(MemAllocator<double>(s)),
      iwork(MemAllocator<int32_t>(s)),
      marker(MemAllocator<int32_t>(s)),
      rwork(MemAllocator<double>(s)),
      rho(s),
      col(s),
      tau(s),
      in(s),
      spike(s),
      alpha(MemAllocator<double>(s)),
      alphaidx(MemAllocator<int32_t>(s)),
      alphamark(MemAllocator<int8_t>(s)),
      cand(MemAllocator<int32_t>(s)),
      candratio(MemAllocator<double>(s)),
      candabs(MemAllocator<double>(s)),
      candrelax(MemAllocator<double>(s)),
      candmin(MemAllocator<double>(s)),
      candorder(MemAllocator<int32_t>(s)),
      flips(MemAllocator<int32_t>(s)),
      pw(MemAllocator<double>(s)),
      pref(MemAllocator<int8_t>(s)),
      bporder(MemAllocator<int32_t>(s)),
      bppos(MemAllocator<int32_t>(s)),
      bpt(MemAllocator<double>(s)),
      bptr(MemAllocator<double>(s)),
      bprate(MemAllocator<double>(s)),
      bpup(MemAllocator<int8_t>(s)),
      que(MemAllocator<int32_t>(s)),
      inque(MemAllocator<int8_t>(s)),
      quework(MemAllocator<std::pair<double, int32_t>>(s)) {}

SimEngine::~SimEngine() {
  VLR_lu_delete(&lu);
}

double SimEngine::random01() {
  // xorshift64*: the engine's own sequence, so that runs repeat exactly.
  rng ^= rng >> 12;
  rng ^= rng << 25;
  rng ^= rng >> 27;
  const uint64_t r = rng * 0x2545f4914f6cdd1dULL;
  return static_cast<double>(r >> 11) * (1.0 / 9007199254740992.0);
}

int32_t SimEngine::setup(const SimLp& lp) {
  const int32_t r = setupcore(lp);
  if (r == kSimOk) setupwork();
  return r;
}

void SimEngine::setupwork() {
  const auto snt = static_cast<size_t>(nt);
  const auto sm = static_cast<size_t>(m);
  // Row-wise copy by a counting pass.
  arbeg.assign(sm + 1, 0);
  for (int64_t k = 0; k < abeg[n]; ++k)
    ++arbeg[static_cast<size_t>(aidx[k]) + 1];
  for (size_t i = 0; i < sm; ++i)
    arbeg[i + 1] += arbeg[i];
  aridx.assign(static_cast<size_t>(abeg[n]), 0);
  arval.assign(static_cast<size_t>(abeg[n]), 0.0);
  arent.assign(static_cast<size_t>(abeg[n]), 0);
  aroff.assign(static_cast<size_t>(abeg[n]), 0);
  arlen.assign(sm, 0);
  {
    SimVec<int64_t> fill(arbeg.begin(), arbeg.end() - 1, MemAllocator<int64_t>(sys));
    for (int32_t j = 0; j < n; ++j) {
      for (int64_t k = abeg[j]; k < abeg[j + 1]; ++k) {
        const auto i = static_cast<size_t>(aidx[k]);
        const auto t = static_cast<size_t>(fill[i]++);
        aridx[t] = j;
        arval[t] = aval[k];
        arent[t] = k;
        aroff[static_cast<size_t>(k)] = static_cast<int32_t>(static_cast<int64_t>(t) - arbeg[i]);
      }
    }
    for (size_t i = 0; i < sm; ++i)
      arlen[i] = static_cast<int32_t>(arbeg[i + 1] - arbeg[i]);
    arnbnz = abeg[n];
  }
  alpha.assign(snt, 0.0);
  alphaidx.assign(snt, 0);
  alphamark.assign(snt, 0);
  cand.assign(snt, 0);
  candratio.assign(snt, 0.0);
  candabs.assign(snt, 0.0);
  candrelax.assign(snt, 0.0);
  candmin.assign(snt, 0.0);
  candorder.assign(snt, 0);
  flips.assign(snt, 0);
}

int32_t SimEngine::setupcore(const SimLp& lp) {
  m = lp.m;
  n = lp.n;
  nt = m + n;
  abeg = lp.abeg;
  mkeyset = false;
  aidx = lp.aidx;
  aval = lp.aval;
  const auto snt = static_cast<size_t>(nt);
  const auto sm = static_cast<size_t>(m);
  cost.assign(snt, 0.0);
  costorg.assign(snt, 0.0);
  for (int32_t j = 0; j < n; ++j)
    cost[static_cast<size_t>(m + j)] = costorg[static_cast<size_t>(m + j)] = lp.c[j];
  lborg.assign(snt, -kInf);
  uborg.assign(snt, kInf);
  for (size_t k = 0; k < snt; ++k) {
    const int32_t key = lp.bk[k];
    if (key == VLR_BK_LO || key == VLR_BK_FX || key == VLR_BK_RA) lborg[k] = lp.bl[k];
    if (key == VLR_BK_UP || key == VLR_BK_FX || key == VLR_BK_RA) uborg[k] = lp.bu[k];
    if (key == VLR_BK_FX) uborg[k] = lborg[k];
  }
  lb = lborg;
  ub = uborg;
  head.assign(sm, 0);
  pos.assign(snt, -1);
  nstat.assign(snt, kNbLower);
  x.assign(snt, 0.0);
  d.assign(snt, 0.0);
  y.assign(sm, 0.0);
  w.assign(sm, 1.0);
  infeas.assign(sm, 0.0);
  inflist.assign(sm, 0);
  infat.assign(sm, -1);
  infkey.assign(sm, 0.0);
  heapdirty.assign(sm, 0);
  heapmark.assign(sm, 0);
  numdirty = 0;
  numinf = 0;
  for (SimHVec* v : {&rho, &col, &tau, &in, &spike})
    v->setup(std::max(m, 1));
  if (m > 0) {
    int32_t is = 0, rs = 0, is2 = 0, rs2 = 0;
    VLR_lu_getfactorspace(m, m, &is, &rs);
    VLR_lu_getsolvespace(m, &is2, &rs2);
    iwork.assign(static_cast<size_t>(std::max({is, is2, 3 * m + 3})), 0);
    rwork.assign(static_cast<size_t>(std::max({rs, rs2, 2 * m + 2})), 0.0);
    marker.assign(sm + 1, 0);
    if (VLR_lu_make(sys, m, m, &lu) != kLuOk) return kSimNoSpace;
    VLR_lu_puttol(lu, kLuTolRelPiv, par->lurelpiv);
    if (par->refactorfreq > 0) VLR_lu_puttrh(lu, kLuTrhUpdates, par->refactorfreq);
    VLR_lu_putgeta(lu, this, simplex_lugeta);
  }
  tolx = par->tolx;
  tols = par->tols;
  tolpiv = par->tolpiv;
  return kSimOk;
}

int8_t SimEngine::boundstatus(int32_t k, double dk) const {
  const auto s = static_cast<size_t>(k);
  const bool hl = lb[s] > -kInf, hu = ub[s] < kInf;
  if (hl && hu) {
    if (lb[s] == ub[s]) return kNbFixed;
    return dk >= 0.0 ? kNbLower : kNbUpper;
  }
  if (hl) return kNbLower;
  if (hu) return kNbUpper;
  return kNbZero;
}

void SimEngine::setnonbasic(int32_t k, int8_t st) {
  const auto s = static_cast<size_t>(k);
  nstat[s] = st;
  pos[s] = -1;
  switch (st) {
    case kNbLower:
    case kNbFixed:
      x[s] = lb[s];
      break;
    case kNbUpper:
      x[s] = ub[s];
      break;
    default:
      x[s] = 0.0;
      break;
  }
}

void SimEngine::slackbasis() {
  for (int32_t i = 0; i < m; ++i) {
    head[static_cast<size_t>(i)] = i;
    pos[static_cast<size_t>(i)] = i;
    nstat[static_cast<size_t>(i)] = kNbBasic;
  }
  for (int32_t j = m; j < nt; ++j)
    setnonbasic(j, boundstatus(j, cost[static_cast<size_t>(j)]));
  std::fill(w.begin(), w.end(), 1.0);
}

void SimEngine::keybasis(const int32_t* sk) {
  int32_t nb = 0;
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    if (sk[s] == 1 && nb < m) {  // VLR_SK_BAS
      head[static_cast<size_t>(nb)] = k;
      pos[s] = nb++;
      nstat[s] = kNbBasic;
      continue;
    }
    int8_t st = boundstatus(k, 0.0);
    if (st == kNbLower || st == kNbUpper) {
      const bool boxed = lb[s] > -kInf && ub[s] < kInf;
      if (sk[s] == VLR_SK_UPR && ub[s] < kInf)
        st = kNbUpper;
      else if (sk[s] == VLR_SK_LOW && lb[s] > -kInf)
        st = kNbLower;
      else if (boxed)
        st = std::fabs(lb[s]) <= std::fabs(ub[s]) ? kNbLower : kNbUpper;
    }
    setnonbasic(k, st);
  }
  // Too few basic variables: fill with slacks of rows not yet covered by a basic slack. The
  // factor repairs what remains singular.
  for (int32_t i = 0; i < m && nb < m; ++i) {
    if (pos[static_cast<size_t>(i)] >= 0) continue;
    head[static_cast<size_t>(nb)] = i;
    pos[static_cast<size_t>(i)] = nb++;
    nstat[static_cast<size_t>(i)] = kNbBasic;
  }
  std::fill(w.begin(), w.end(), 1.0);
}

struct SimSavedLu {
  LuFactor* lu;
  uint64_t key;  // the working matrix and the basis order the factor belongs to
  int32_t m;
  int32_t updates;
  int32_t* head;  // [m]
  double* w;      // [m]
};

void VLR_simplex_freesavedlu(SysEnv* sys, SimSavedLu** saved) {
  if (saved == nullptr || *saved == nullptr) return;
  VLR_lu_delete(&(*saved)->lu);
  VLR_sysenv_free(sys, (*saved)->head);
  VLR_sysenv_free(sys, (*saved)->w);
  VLR_sysenv_free(sys, *saved);
  *saved = nullptr;
}

uint64_t SimEngine::matrixkey() {
  if (mkeyset) return mkey;
  uint64_t h = 0xcbf29ce484222325ULL;
  auto mix = [&h](uint64_t v) { h = (h ^ v) * 0x100000001b3ULL; };
  mix(static_cast<uint64_t>(m));
  mix(static_cast<uint64_t>(n));
  for (int32_t j = 0; j <= n; ++j)
    mix(static_cast<uint64_t>(abeg[j]));
  for (int64_t t = 0; t < abeg[n]; ++t) {
    uint64_t bits = 0;
    std::memcpy(&bits, &aval[t], sizeof(bits));
    mix(bits ^ (static_cast<uint64_t>(aidx[t]) << 1));
  }
  mkey = h;
  mkeyset = true;
  return h;
}

bool SimEngine::adoptsavedlu(SimSavedLu* saved) {
  if (saved == nullptr || saved->lu == nullptr || saved->m != m || m == 0) return false;
  // The same basic variables, in any order.
  for (int32_t p = 0; p < m; ++p) {
    const int32_t k = saved->head[p];
    if (k < 0 || k >= nt || pos[static_cast<size_t>(k)] < 0) return false;
  }
  if (saved->key != matrixkey()) return false;
  for (int32_t p = 0; p < m; ++p) {
    const int32_t k = saved->head[p];
    head[static_cast<size_t>(p)] = k;
    pos[static_cast<size_t>(k)] = p;
    w[static_cast<size_t>(p)] = saved->w[p];
  }
  VLR_lu_delete(&lu);
  lu = saved->lu;
  saved->lu = nullptr;
  // The factor asks this engine for columns from now on, with this run's tolerances.
  VLR_lu_puttol(lu, kLuTolRelPiv, par->lurelpiv);
  if (par->refactorfreq > 0) VLR_lu_puttrh(lu, kLuTrhUpdates, par->refactorfreq);
  VLR_lu_putgeta(lu, this, simplex_lugeta);
  updates = saved->updates;
  return true;
}

void SimEngine::keepsavedlu(SimSavedLu** saved) {
  if (m == 0 || lu == nullptr) return;
  SimSavedLu* s = *saved;
  if (s != nullptr && s->m != m) VLR_simplex_freesavedlu(sys, saved);
  s = *saved;
  if (s == nullptr) {
    // Out of memory here only means that nothing is kept.
    s = static_cast<SimSavedLu*>(VLR_sysenv_calloc(sys, 1, sizeof(SimSavedLu)));
    if (s == nullptr) return;
    s->head = static_cast<int32_t*>(VLR_sysenv_calloc(sys, m, sizeof(int32_t)));
    s->w = static_cast<double*>(VLR_sysenv_calloc(sys, m, sizeof(double)));
    s->m = m;
    *saved = s;
    if (s->head == nullptr || s->w == nullptr) {
      VLR_simplex_freesavedlu(sys, saved);
      return;
    }
  }
  VLR_lu_delete(&s->lu);
  s->lu = lu;
  lu = nullptr;
  s->key = matrixkey();
  s->updates = updates;
  for (int32_t p = 0; p < m; ++p) {
    s->head[p] = head[static_cast<size_t>(p)];
    s->w[p] = w[static_cast<size_t>(p)];
  }
}

int32_t SimEngine::factor() {
  const double t0 = VLR_sysenv_getwctime(sys);
  const int32_t r = factorbasis();
  if (r == kSimOk) rowcopysplit();
  VLR_simplex_inctimeofopr(sys, info, kSimOpFactor, t0);
  return r;
}

int32_t SimEngine::factorbasis() {
  if (m == 0) return kSimOk;
  int64_t nz = 0;
  for (int32_t p = 0; p < m; ++p) {
    const int32_t k = head[static_cast<size_t>(p)];
    nz += k < m ? 1 : abeg[k - m + 1] - abeg[k - m];
  }
  int64_t room = std::max<int64_t>(4 * nz, 3 * static_cast<int64_t>(m) + 1);
  // An update that ran out of room before the work of the updates asked for a new factor asks
  // for more: the updates of a basis whose factor fills in (qap12: 4.3 times the basis) would
  // otherwise end each factor after some 90 updates instead of when their work says so.
  if (VLR_lu_incwsze(lu) != 0) room = std::max<int64_t>(room, 2 * int64_t{VLR_lu_getwsze(lu)});
  const auto want = static_cast<int32_t>(std::min<int64_t>(room, 2000000000));
  if (VLR_lu_getwsze(lu) < want) {
    if (VLR_lu_newwsze(lu, want) != kLuOk) return kSimNoSpace;
  }
  int32_t r = kLuOk;
  for (int32_t t = 0; t < 30; ++t) {
    VLR_lu_init(lu);
    r = VLR_lu_factor(lu, static_cast<int32_t>(iwork.size()), iwork.data(),
                      static_cast<int32_t>(rwork.size()), rwork.data());
    if (r != kLuWorkAreaFull && r != kLuTooManyGarCols) break;
    int32_t prop = 0;
    VLR_lu_getwszeproposal(lu, &prop);
    prop = std::max(prop, 2 * VLR_lu_getwsze(lu));
    if (VLR_lu_newwsze(lu, prop) != kLuOk) return kSimNoSpace;
  }
  if (r == kLuNoSpace) return kSimNoSpace;
  if (r == kLuWorkAreaFull || r == kLuTooManyGarCols) return kSimLuSpace;
  if (r == kLuStopped) return kSimInterrupted;
  if (r != kLuOk) return kSimLuFault;
  ++info->numfactor;
  {
    int64_t nl = 0, nu = 0;
    VLR_lu_getnnz(lu, &nl, &nu);
    info->fillsum +=
        static_cast<double>(nl + nu + m) / static_cast<double>(std::max<int64_t>(nz, 1));
  }
  updates = 0;
  if (VLR_lu_getrank(lu) < m) {
    // A short rank: each unpivoted position takes the slack of an unpivoted row; the
    // displaced variable goes to a bound.
    SimVec<int32_t> map(static_cast<size_t>(m), 0, MemAllocator<int32_t>(sys));
    r = VLR_lu_insart(lu, map.data(), static_cast<int32_t>(iwork.size()), iwork.data(), -1.0);
    if (r != kLuOk) return kSimLuFault;
    int32_t count = 0;
    for (int32_t p = 0; p < m; ++p) {
      const int32_t i = map[static_cast<size_t>(p)];
      if (i >= m) continue;
      const int32_t old = head[static_cast<size_t>(p)];
      if (pos[static_cast<size_t>(old)] == p) {
        setnonbasic(old, boundstatus(old, d[static_cast<size_t>(old)]));
        d[static_cast<size_t>(old)] = 0.0;
      }
    }
    for (int32_t p = 0; p < m; ++p) {
      const int32_t i = map[static_cast<size_t>(p)];
      if (i >= m) continue;
      head[static_cast<size_t>(p)] = i;
      pos[static_cast<size_t>(i)] = p;
      nstat[static_cast<size_t>(i)] = kNbBasic;
      d[static_cast<size_t>(i)] = 0.0;
      w[static_cast<size_t>(p)] = 1.0;
      ++count;
    }
    info->numartificial += count;
    log("Inserted %d artificials into the basis.\n", count);
  }
  return kSimOk;
}

void SimEngine::loadcolumn(int32_t k, SimHVec* v) const {
  if (k < m) {
    v->val[static_cast<size_t>(k)] = -1.0;
    v->idx[0] = k;
    v->nz = 1;
    return;
  }
  const int32_t c = k - m;
  int32_t nz = 0;
  for (int64_t t = abeg[c]; t < abeg[c + 1]; ++t) {
    v->val[static_cast<size_t>(aidx[t])] = aval[t];
    v->idx[static_cast<size_t>(nz++)] = aidx[t];
  }
  v->nz = nz;
}

void SimEngine::computexb() {
  if (m == 0) return;
  double* rhs = in.val.data();
  for (int32_t k = 0; k < nt; ++k) {
    const double v = x[static_cast<size_t>(k)];
    if (pos[static_cast<size_t>(k)] >= 0 || v == 0.0) continue;
    if (k < m) {
      rhs[k] -= v;
    } else {
      for (int64_t t = abeg[k - m]; t < abeg[k - m + 1]; ++t)
        rhs[aidx[t]] += aval[t] * v;
    }
  }
  double* out = col.val.data();
  VLR_lu_ftran(lu, rhs, out);
  for (int32_t p = 0; p < m; ++p) {
    x[static_cast<size_t>(head[static_cast<size_t>(p)])] = -out[p];
    out[p] = 0.0;
    rhs[p] = 0.0;
  }
  in.nz = 0;
  col.nz = 0;
  allinfeas();
}

double SimEngine::squaredinfeas(int32_t k) const {
  const auto s = static_cast<size_t>(k);
  double v = 0.0;
  if (x[s] < lb[s] - tolx)
    v = lb[s] - x[s];
  else if (x[s] > ub[s] + tolx)
    v = x[s] - ub[s];
  return v * v;
}

void SimEngine::setinfeas(int32_t p) {
  infeas[static_cast<size_t>(p)] = squaredinfeas(head[static_cast<size_t>(p)]);
  heapfix(p);
}

bool SimEngine::infbefore(int32_t a, int32_t b) const {
  const double ka = infkey[static_cast<size_t>(a)], kb = infkey[static_cast<size_t>(b)];
  return ka > kb || (ka == kb && a < b);
}

void SimEngine::heapup(int32_t at) {
  const int32_t p = inflist[static_cast<size_t>(at)];
  while (at > 0) {
    const int32_t up = (at - 1) / 2;
    const int32_t q = inflist[static_cast<size_t>(up)];
    if (!infbefore(p, q)) break;
    inflist[static_cast<size_t>(at)] = q;
    infat[static_cast<size_t>(q)] = at;
    at = up;
  }
  inflist[static_cast<size_t>(at)] = p;
  infat[static_cast<size_t>(p)] = at;
}

void SimEngine::heapdown(int32_t at) {
  const int32_t p = inflist[static_cast<size_t>(at)];
  for (;;) {
    int32_t child = 2 * at + 1;
    if (child >= numinf) break;
    if (child + 1 < numinf &&
        infbefore(inflist[static_cast<size_t>(child + 1)], inflist[static_cast<size_t>(child)])) {
      ++child;
    }
    const int32_t q = inflist[static_cast<size_t>(child)];
    if (!infbefore(q, p)) break;
    inflist[static_cast<size_t>(at)] = q;
    infat[static_cast<size_t>(q)] = at;
    at = child;
  }
  inflist[static_cast<size_t>(at)] = p;
  infat[static_cast<size_t>(p)] = at;
}

void SimEngine::heapfix(int32_t p) {
  // The heap keeps the keys it was ordered by until it is settled; the position only goes on
  // the list of those to place, once however often it changes.
  const auto sp = static_cast<size_t>(p);
  if (heapmark[sp] != 0) return;
  heapmark[sp] = 1;
  heapdirty[static_cast<size_t>(numdirty++)] = p;
}

void SimEngine::heapsettle() {
  if (numdirty == 0) return;
  const double lg = std::log2(static_cast<double>(numinf) + 2.0);
  if (heapordered && static_cast<double>(numdirty) * lg <= 2.0 * static_cast<double>(numinf)) {
    // Few changes: each one sifted into place in a heap that is otherwise in order.
    for (int32_t t = 0; t < numdirty; ++t) {
      const int32_t p = heapdirty[static_cast<size_t>(t)];
      heapmark[static_cast<size_t>(p)] = 0;
      heapplace(p);
    }
  } else {
    // Many: the membership brought up to date, then the heap built again bottom up.
    for (int32_t t = 0; t < numdirty; ++t) {
      const int32_t p = heapdirty[static_cast<size_t>(t)];
      const auto sp = static_cast<size_t>(p);
      heapmark[sp] = 0;
      const int32_t at = infat[sp];
      if (infeas[sp] > 0.0) {
        infkey[sp] = infeas[sp] / w[sp];
        if (at < 0) {
          infat[sp] = numinf;
          inflist[static_cast<size_t>(numinf++)] = p;
        }
      } else if (at >= 0) {
        const int32_t last = inflist[static_cast<size_t>(--numinf)];
        inflist[static_cast<size_t>(at)] = last;
        infat[static_cast<size_t>(last)] = at;
        infat[sp] = -1;
      }
    }
    // Few changes to an unordered list: the heap is built again, so that the next ones can be
    // sifted; many: the list stays unordered.
    heapordered = static_cast<double>(numdirty) * lg <= 2.0 * static_cast<double>(numinf);
    if (heapordered) {
      for (int32_t at = numinf / 2 - 1; at >= 0; --at)
        heapdown(at);
    }
  }
  numdirty = 0;
}

int32_t SimEngine::heaptop() const {
  if (numinf == 0) return -1;
  if (heapordered) return inflist[0];
  int32_t best = inflist[0];
  for (int32_t t = 1; t < numinf; ++t) {
    const int32_t p = inflist[static_cast<size_t>(t)];
    if (infbefore(p, best)) best = p;
  }
  return best;
}

void SimEngine::heapplace(int32_t p) {
  const auto sp = static_cast<size_t>(p);
  int32_t at = infat[sp];
  if (infeas[sp] > 0.0) {
    infkey[sp] = infeas[sp] / w[sp];
    if (at < 0) {
      at = numinf++;
      inflist[static_cast<size_t>(at)] = p;
      infat[sp] = at;
    }
    heapup(at);
    heapdown(infat[sp]);
  } else if (at >= 0) {
    const int32_t last = inflist[static_cast<size_t>(--numinf)];
    infat[sp] = -1;
    if (last != p) {
      inflist[static_cast<size_t>(at)] = last;
      infat[static_cast<size_t>(last)] = at;
      heapup(at);
      heapdown(infat[static_cast<size_t>(last)]);
    }
  }
}

void SimEngine::allinfeas() {
  // Every infeasibility anew, then the heap built bottom up.
  for (int32_t t = 0; t < numdirty; ++t)
    heapmark[static_cast<size_t>(heapdirty[static_cast<size_t>(t)])] = 0;
  numdirty = 0;
  for (int32_t t = 0; t < numinf; ++t)
    infat[static_cast<size_t>(inflist[static_cast<size_t>(t)])] = -1;
  numinf = 0;
  for (int32_t p = 0; p < m; ++p) {
    const auto sp = static_cast<size_t>(p);
    infeas[sp] = squaredinfeas(head[sp]);
    if (infeas[sp] > 0.0) {
      infkey[sp] = infeas[sp] / w[sp];
      infat[sp] = numinf;
      inflist[static_cast<size_t>(numinf++)] = p;
    }
  }
  for (int32_t at = numinf / 2 - 1; at >= 0; --at)
    heapdown(at);
  heapordered = true;
}

void SimEngine::refinexb() {
  if (m == 0) return;
  // The residual r = -(A x) of all rows, rows taking -1 at their own variable, and one solve
  // B dx = r that corrects the basic values.
  double* rhs = in.val.data();
  for (int32_t k = 0; k < nt; ++k) {
    const double v = x[static_cast<size_t>(k)];
    if (v == 0.0) continue;
    if (k < m) {
      rhs[k] += v;
    } else {
      for (int64_t t = abeg[k - m]; t < abeg[k - m + 1]; ++t)
        rhs[aidx[t]] -= aval[t] * v;
    }
  }
  double* out = col.val.data();
  VLR_lu_ftran(lu, rhs, out);
  for (int32_t p = 0; p < m; ++p) {
    x[static_cast<size_t>(head[static_cast<size_t>(p)])] += out[p];
    out[p] = 0.0;
    rhs[p] = 0.0;
  }
  allinfeas();
  in.nz = 0;
  col.nz = 0;
}

void SimEngine::refinedual() {
  if (m == 0) return;
  // The residual of the basic reduced costs, c_B - B'y, one solve B'dy = r, and the reduced
  // costs again from the corrected y.
  double* rhs = in.val.data();
  for (int32_t p = 0; p < m; ++p) {
    rhs[p] = reducedcost(head[static_cast<size_t>(p)]);
  }
  double* out = rho.val.data();
  VLR_lu_btran(lu, rhs, out);
  for (int32_t i = 0; i < m; ++i) {
    y[static_cast<size_t>(i)] += out[i];
    out[i] = 0.0;
    rhs[i] = 0.0;
  }
  in.nz = 0;
  rho.nz = 0;
  pricedual();
}

void SimEngine::computedual() {
  if (m > 0) {
    double* cbv = in.val.data();
    for (int32_t p = 0; p < m; ++p)
      cbv[p] = cost[static_cast<size_t>(head[static_cast<size_t>(p)])];
    double* out = rho.val.data();
    VLR_lu_btran(lu, cbv, out);
    for (int32_t i = 0; i < m; ++i) {
      y[static_cast<size_t>(i)] = out[i];
      out[i] = 0.0;
      cbv[i] = 0.0;
    }
    in.nz = 0;
    rho.nz = 0;
  }
  pricedual();
}

double SimEngine::reducedcost(int32_t k) const {
  double r = cost[static_cast<size_t>(k)];
  if (k < m) return r + y[static_cast<size_t>(k)];
  for (int64_t t = abeg[k - m]; t < abeg[k - m + 1]; ++t)
    r -= aval[t] * y[static_cast<size_t>(aidx[t])];
  return r;
}

void SimEngine::pricedual() {
  for (int32_t k = 0; k < nt; ++k)
    d[static_cast<size_t>(k)] = reducedcost(k);
  for (int32_t p = 0; p < m; ++p)
    d[static_cast<size_t>(head[static_cast<size_t>(p)])] = 0.0;
}

void SimEngine::btranrow(int32_t p) {
  const double t0 = VLR_sysenv_getwctime(sys);
  VLR_lu_putsolveslot(lu, kSolveRow);
  rho.clear();
  in.val[static_cast<size_t>(p)] = 1.0;
  in.idx[0] = p;
  VLR_lu_btrans(lu, 1, in.val.data(), in.idx.data(), &rho.nz, rho.val.data(), rho.idx.data(),
                marker.data(), static_cast<int32_t>(iwork.size()), iwork.data(), kDropTol,
                kDropTol);
  in.nz = 0;
  VLR_simplex_inctimeofopr(sys, info, kSimOpBtran, t0);
}

void SimEngine::ftrancol(int32_t q) {
  const double t0 = VLR_sysenv_getwctime(sys);
  VLR_lu_putsolveslot(lu, kSolveColumn);
  col.clear();
  spike.clear();
  loadcolumn(q, &in);
  VLR_lu_ftranl(lu, &in.nz, in.val.data(), in.idx.data(), marker.data(),
                static_cast<int32_t>(iwork.size()), iwork.data());
  for (int32_t t = 0; t < in.nz; ++t) {
    const int32_t i = in.idx[static_cast<size_t>(t)];
    spike.val[static_cast<size_t>(i)] = in.val[static_cast<size_t>(i)];
    spike.idx[static_cast<size_t>(t)] = i;
  }
  spike.nz = in.nz;
  VLR_lu_ftranus(lu, in.nz, in.val.data(), in.idx.data(), &col.nz, col.val.data(), col.idx.data(),
                 static_cast<int32_t>(iwork.size()), iwork.data(),
                 static_cast<int32_t>(marker.size()), marker.data(), kDropTol, kDropTol);
  in.nz = 0;
  VLR_simplex_inctimeofopr(sys, info, kSimOpFtran, t0);
}

void SimEngine::ftrantau() {
  const double t0 = VLR_sysenv_getwctime(sys);
  VLR_lu_putsolveslot(lu, kSolveTau);
  tau.clear();
  for (int32_t t = 0; t < rho.nz; ++t) {
    const int32_t i = rho.idx[static_cast<size_t>(t)];
    in.val[static_cast<size_t>(i)] = rho.val[static_cast<size_t>(i)];
    in.idx[static_cast<size_t>(t)] = i;
  }
  in.nz = rho.nz;
  // The weights' update reads tau on the pattern of the entering column alone: the solve for
  // those entries (and the rows of U they need) is far smaller when tau fills in, the whole
  // solve when tau stays sparse. The selected solve runs when its recent results were less
  // than half the whole solve's (rounding differs between the two, and a degenerate problem
  // such as qap12 can take another path for it: 106503 iterations one way, 470000 the other),
  // and each is tried every so many iterations, so that its record stays current.
  bool sel = tausel < 0.5 * taufull;
  if (taufull < 0.0 || tausel < 0.0) sel = taufull >= 0.0;
  if (iterations() % kTauProbe == 0) sel = !sel;
  const auto isize = static_cast<int32_t>(iwork.size());
  const auto msize = static_cast<int32_t>(marker.size());
  if (sel) {
    VLR_lu_ftransel(lu, in.nz, in.val.data(), in.idx.data(), col.nz, col.idx.data(), &tau.nz,
                    tau.val.data(), tau.idx.data(), isize, iwork.data(), msize, marker.data(),
                    kDropTol, kDropTol);
  } else {
    VLR_lu_ftrans(lu, in.nz, in.val.data(), in.idx.data(), &tau.nz, tau.val.data(), tau.idx.data(),
                  isize, iwork.data(), msize, marker.data(), kDropTol, kDropTol);
  }
  double& rec = sel ? tausel : taufull;
  const double dens = static_cast<double>(tau.nz) / m;
  rec = rec < 0.0 ? dens : 0.8 * rec + 0.2 * dens;
  in.nz = 0;
  VLR_simplex_inctimeofopr(sys, info, kSimOpFtran, t0);
}

void SimEngine::formrow(bool whole) {
  const double t0 = VLR_sysenv_getwctime(sys);
  double* al = alpha.data();
  int8_t* mk = alphamark.data();
  int32_t* ai = alphaidx.data();
  // Clear the last row: by its pattern, or whole when that is a large part of it.
  if (alphawhole || alphanz > nt / 8) {
    std::fill(al, al + nt, 0.0);
    std::fill(mk, mk + nt, int8_t{0});
  } else {
    for (int32_t t = 0; t < alphanz; ++t) {
      al[ai[t]] = 0.0;
      mk[ai[t]] = 0;
    }
  }
  alphawhole = false;
  int32_t nz = 0;
  int64_t rowwork = 0;
  const int32_t* ri = rho.idx.data();
  const double* rv = rho.val.data();
  const int32_t* ps = pos.data();
  const int32_t* rl = arlen.data();
  for (int32_t t = 0; t < rho.nz; ++t) {
    const int32_t i = ri[t];
    rowwork += rl[i];
    if (ps[i] >= 0) continue;
    al[i] = -rv[i];
    mk[i] = 1;
    ai[nz++] = i;
  }
  // Row-wise through the non-basic part of the rows of rho's pattern, or column by column over
  // the non-basic columns, whichever touches fewer entries; a scattered entry of the row-wise
  // form costs more than a gathered one of the column-wise form. A row-wise product that
  // touches many columns adds up without marks and collects its pattern in one ordered pass,
  // which also gives the ratio test and the update an ordered walk.
  const int64_t* rb = arbeg.data();
  const int32_t* cidx = aridx.data();
  const double* cval = arval.data();
  const int32_t mm = m;
  if (static_cast<double>(rowwork) < 0.6 * static_cast<double>(arnbnz)) {
    double* alc = al + mm;
    if (rowwork > n / 4) {
      for (int32_t t = 0; t < rho.nz; ++t) {
        const int32_t i = ri[t];
        const double r = rv[i];
        const int64_t end = rb[i] + rl[i];
        for (int64_t s = rb[i]; s < end; ++s)
          alc[cidx[s]] += r * cval[s];
      }
      // A caller that walks the whole row in order (the dual's ratio test and update) is spared
      // the pass that collects its pattern while such rows have lately been more than half full
      // (osa-14's, four fifths: 10% faster); on sparser ones the walk over every column costs
      // more than the pass (cre-b's, a third full). Otherwise the pass is branch-free: about
      // half the entries are non-zero here, a branch would be a coin toss. The test is on the
      // bits, the sign shifted out (-0 is zero too), which spares the floating-point compare its
      // care for NaN.
      if (whole && densefill > 0.5) {
        alphawhole = true;
      } else {
        const int32_t nn = n;
        for (int32_t j = 0; j < nn; ++j) {
          uint64_t bits = 0;
          std::memcpy(&bits, alc + j, sizeof(bits));  // one load; a cast would break aliasing
          ai[nz] = mm + j;
          nz += (bits << 1) != 0 ? 1 : 0;
        }
        notedensefill(static_cast<double>(nz) / std::max(n, 1));
      }
    } else {
      int8_t* mkc = mk + mm;
      for (int32_t t = 0; t < rho.nz; ++t) {
        const int32_t i = ri[t];
        const double r = rv[i];
        const int64_t end = rb[i] + rl[i];
        for (int64_t s = rb[i]; s < end; ++s) {
          const int32_t j = cidx[s];
          if (mkc[j] == 0) {
            mkc[j] = 1;
            ai[nz++] = mm + j;
          }
          alc[j] += r * cval[s];
        }
      }
    }
  } else {
    const int64_t* cbeg = abeg;
    const int32_t* ci = aidx;
    const double* cv = aval;
    for (int32_t j = 0; j < n; ++j) {
      const int32_t k = mm + j;
      if (ps[k] >= 0) continue;
      double s = 0.0;
      for (int64_t t = cbeg[j]; t < cbeg[j + 1]; ++t)
        s += rv[ci[t]] * cv[t];
      if (s != 0.0) {
        al[k] = s;
        mk[k] = 1;
        ai[nz++] = k;
      }
    }
  }
  alphanz = nz;
  VLR_simplex_inctimeofopr(sys, info, kSimOpRow, t0);
}

void SimEngine::rowcopysplit() {
  arnbnz = 0;
  for (int32_t i = 0; i < m; ++i) {
    const int64_t beg = arbeg[static_cast<size_t>(i)];
    int64_t lo = beg, hi = arbeg[static_cast<size_t>(i) + 1];
    // Non-basic entries to the front, basic ones to the back.
    while (lo < hi) {
      if (pos[static_cast<size_t>(m + aridx[static_cast<size_t>(lo)])] < 0) {
        ++lo;
        continue;
      }
      rowcopyswap(beg, lo, --hi);
    }
    arlen[static_cast<size_t>(i)] = static_cast<int32_t>(lo - beg);
    arnbnz += lo - beg;
  }
}

void SimEngine::rowcopyswap(int64_t beg, int64_t at, int64_t to) {
  const auto a = static_cast<size_t>(at), b = static_cast<size_t>(to);
  std::swap(aridx[a], aridx[b]);
  std::swap(arval[a], arval[b]);
  std::swap(arent[a], arent[b]);
  aroff[static_cast<size_t>(arent[a])] = static_cast<int32_t>(at - beg);
  aroff[static_cast<size_t>(arent[b])] = static_cast<int32_t>(to - beg);
}

void SimEngine::rowcopymove(int32_t k, bool entering) {
  if (k < m) return;
  const int32_t j = k - m;
  for (int64_t e = abeg[j]; e < abeg[j + 1]; ++e) {
    const auto i = static_cast<size_t>(aidx[e]);
    const int64_t beg = arbeg[i];
    const int64_t at = beg + aroff[static_cast<size_t>(e)];
    // The boundary entry: the last non-basic one (entering) or the first basic one (leaving).
    rowcopyswap(beg, at, entering ? beg + arlen[i] - 1 : beg + arlen[i]);
    arlen[i] += entering ? -1 : 1;
  }
  arnbnz += entering ? -(abeg[j + 1] - abeg[j]) : abeg[j + 1] - abeg[j];
}

int32_t SimEngine::updatelu(int32_t p) {
  const int32_t r = VLR_lu_supdl(lu, p, p, &spike.nz, spike.val.data(), spike.idx.data(),
                                 static_cast<int32_t>(iwork.size()), iwork.data(),
                                 static_cast<int32_t>(marker.size()), marker.data(),
                                 static_cast<int32_t>(rwork.size()), rwork.data());
  if (r == kLuOk || r == kLuRefactorSoon) ++updates;
  return r;
}

double SimEngine::primalinf(int32_t* count) const {
  double sum = 0.0;
  int32_t c = 0;
  for (int32_t p = 0; p < m; ++p) {
    const auto k = static_cast<size_t>(head[static_cast<size_t>(p)]);
    const double v =
        x[k] < lb[k] - tolx ? lb[k] - x[k] : (x[k] > ub[k] + tolx ? x[k] - ub[k] : 0.0);
    if (v > 0.0) {
      sum += v;
      ++c;
    }
  }
  if (count != nullptr) *count = c;
  return sum;
}

double SimEngine::dualviolation(int32_t k) const {
  const auto s = static_cast<size_t>(k);
  switch (nstat[s]) {
    case kNbLower:
      return -d[s];
    case kNbUpper:
      return d[s];
    case kNbZero:
      return std::fabs(d[s]);
    default:
      return 0.0;
  }
}

double SimEngine::dualinf(int32_t* count) const {
  double sum = 0.0;
  int32_t c = 0;
  for (int32_t k = 0; k < nt; ++k) {
    const double v = dualviolation(k);
    if (v > tols) {
      sum += v;
      ++c;
    }
  }
  if (count != nullptr) *count = c;
  return sum;
}

double SimEngine::objective() const {
  double s = 0.0;
  for (int32_t k = m; k < nt; ++k)
    s += cost[static_cast<size_t>(k)] * x[static_cast<size_t>(k)];
  return s;
}

void SimEngine::log(const char* format, ...) {
  if (cb == nullptr || cb->log == nullptr || par->loglevel <= 0) return;
  char buf[512];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(buf, sizeof(buf), format, ap);
  va_end(ap);
  cb->log(cb->handle, buf);
}

}  // namespace vlr
