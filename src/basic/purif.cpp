// src/basic/purif.cpp: the driver of basis identification: the power-of-two scaling of the
// problem, the crash basis from the most interior variables, the pushes, the checks and the
// clean-up, and the summary of the run.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <new>

#include "basic/purifdat.h"
#include "pivot/pivot.h"
#include "velor.h"

namespace vlr {

void VLR_prf_setdefaults(PrfParam* par) {
  *par = PrfParam{};
}

Prf::Prf(SysEnv* s)
    : sys(s),
      cbeg(MemAllocator<int64_t>(s)),
      rbeg(MemAllocator<int64_t>(s)),
      cidx(MemAllocator<int32_t>(s)),
      ridx(MemAllocator<int32_t>(s)),
      cval(MemAllocator<double>(s)),
      rval(MemAllocator<double>(s)),
      rs(MemAllocator<double>(s)),
      cs(MemAllocator<double>(s)),
      lo(MemAllocator<double>(s)),
      up(MemAllocator<double>(s)),
      cost(MemAllocator<double>(s)),
      bas(MemAllocator<int32_t>(s)),
      pos(MemAllocator<int32_t>(s)),
      x(MemAllocator<double>(s)),
      y(MemAllocator<double>(s)),
      d(MemAllocator<double>(s)),
      iwork(MemAllocator<int32_t>(s)),
      marker(MemAllocator<int32_t>(s)),
      pattern(MemAllocator<int32_t>(s)),
      rwork(MemAllocator<double>(s)),
      spike(MemAllocator<double>(s)),
      w1(MemAllocator<double>(s)),
      w2(MemAllocator<double>(s)),
      w3(MemAllocator<double>(s)),
      list(MemAllocator<int32_t>(s)),
      map(MemAllocator<int32_t>(s)),
      sin(MemAllocator<double>(s)),
      sw(MemAllocator<double>(s)),
      ipattern(MemAllocator<int32_t>(s)),
      opattern(MemAllocator<int32_t>(s)) {}

Prf::~Prf() {
  VLR_lu_delete(&lu);
}

void prf_log(const Prf& w, const char* format, ...) {
  if (w.cb == nullptr || w.cb->text == nullptr || w.par->loglevel <= 0) return;
  char line[512];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(line, sizeof line, format, ap);
  va_end(ap);
  w.cb->text(w.cb->handle, line);
}

bool prf_stop(Prf* w, int32_t code) {
  if (!w->stopped && w->cb != nullptr && w->cb->stop != nullptr) {
    w->stopped = w->cb->stop(w->cb->handle, code) != 0;
  }
  return w->stopped;
}

bool prf_atbound(const Prf& w, int32_t k, double tol, int32_t* side) {
  const auto s = static_cast<size_t>(k);
  const double v = w.x[s], l = w.lo[s], u = w.up[s];
  *side = 0;
  const double dl = l > -kPrfInf ? v - l : kPrfInf;
  const double du = u < kPrfInf ? u - v : kPrfInf;
  if (dl <= du && dl < kPrfInf && dl <= tol * (1.0 + std::fabs(l))) {
    *side = -1;
    return true;
  }
  if (du < dl && du <= tol * (1.0 + std::fabs(u))) {
    *side = 1;
    return true;
  }
  return false;
}

void prf_addcol(const Prf& w, int32_t k, double s, double* v) {
  if (k < w.m) {
    v[k] -= s;
    return;
  }
  const auto j = static_cast<size_t>(k - w.m);
  for (int64_t p = w.cbeg[j]; p < w.cbeg[j + 1]; ++p)
    v[w.cidx[static_cast<size_t>(p)]] += s * w.cval[static_cast<size_t>(p)];
}

double prf_dotcol(const Prf& w, int32_t k, const double* v) {
  if (k < w.m) return -v[k];
  const auto j = static_cast<size_t>(k - w.m);
  double t = 0.0;
  for (int64_t p = w.cbeg[j]; p < w.cbeg[j + 1]; ++p)
    t += w.cval[static_cast<size_t>(p)] * v[w.cidx[static_cast<size_t>(p)]];
  return t;
}

bool prf_factor(Prf* w, int32_t* nart) {
  *nart = 0;
  const int32_t m = w->m;
  const auto isz = static_cast<int32_t>(w->iwork.size());
  const auto rsz = static_cast<int32_t>(w->rwork.size());
  // Room for the updates that follow: a work area of several times the basis's entries, or
  // what the updates asked for when they ran out of it.
  int64_t bnz = m;
  for (int32_t p = 0; p < m; ++p) {
    const int32_t k = w->bas[static_cast<size_t>(p)];
    if (k >= m && k < m + w->n)  // beyond the matrix: an empty column
      bnz += w->cbeg[static_cast<size_t>(k - m) + 1] - w->cbeg[static_cast<size_t>(k - m)];
  }
  const int64_t want = std::max(w->wsze, 8 * bnz + 1000);
  if (VLR_lu_getwsze(w->lu) < want || VLR_lu_getstate(w->lu) == kLuStateNone) {
    if (VLR_lu_newwsze(w->lu, static_cast<int32_t>(std::min<int64_t>(want, 2147483000))) != kLuOk) {
      return false;
    }
  }
  const int32_t r =
      VLR_pivlp_factor2(w->sys, w->lu, m, w->n, w->cbeg.data(), w->cidx.data(), w->cval.data(),
                        w->bas.data(), isz, w->iwork.data(), rsz, w->rwork.data());
  if (r != kLuOk) return false;
  // On a short rank each unpivoted position takes the slack of an unpivoted row.
  int32_t* map = w->map.data();
  if (VLR_pivlp_insart(w->lu, m, w->bas.data(), map, isz, w->iwork.data(), nart) != kLuOk) {
    return false;
  }
  std::fill(w->pos.begin(), w->pos.end(), -1);
  for (int32_t p = 0; p < m; ++p)
    w->pos[static_cast<size_t>(w->bas[static_cast<size_t>(p)])] = p;
  w->sinceupd = 0;
  return true;
}

bool prf_exchange(Prf* w, int32_t p, int32_t k) {
  const int32_t m = w->m;
  const auto sp = static_cast<size_t>(p);
  w->pos[static_cast<size_t>(w->bas[sp])] = -1;
  w->bas[sp] = k;
  w->pos[static_cast<size_t>(k)] = p;
  int32_t nz = 0;
  if (k < m) {
    w->spike[static_cast<size_t>(k)] = -1.0;
    w->pattern[0] = k;
    nz = 1;
  } else {
    const auto j = static_cast<size_t>(k - m);
    for (int64_t q = w->cbeg[j]; q < w->cbeg[j + 1]; ++q) {
      const int32_t i = w->cidx[static_cast<size_t>(q)];
      w->spike[static_cast<size_t>(i)] = w->cval[static_cast<size_t>(q)];
      w->pattern[static_cast<size_t>(nz++)] = i;
    }
  }
  const int32_t r = VLR_lu_supd(
      w->lu, p, p, &nz, w->spike.data(), w->pattern.data(), static_cast<int32_t>(w->iwork.size()),
      w->iwork.data(), m, w->marker.data(), static_cast<int32_t>(w->rwork.size()), w->rwork.data());
  ++w->sinceupd;
  if (r == kLuOk) return true;
  // The factor is made again; when the update ran out of room the work area doubles first.
  if (r == kLuUpdateNoRoom || VLR_lu_incwsze(w->lu) != 0)
    w->wsze = 2 * static_cast<int64_t>(VLR_lu_getwsze(w->lu));
  // Refused, out of room or due for a new factor: factor the new basis whole; a column that
  // turned out dependent gives way to a slack.
  int32_t nart = 0;
  const bool ok = prf_factor(w, &nart);
  return ok;
}

void prf_ftrancol(Prf* w, int32_t k, double* out) {
  double* rhs = w->w1.data();
  std::fill(rhs, rhs + w->m, 0.0);
  prf_addcol(*w, k, 1.0, rhs);
  VLR_lu_ftran(w->lu, rhs, out);
}

int32_t prf_ftrancols(Prf* w, int32_t k, double* out, int32_t* pat) {
  double* in = w->sin.data();
  int32_t* ip = w->ipattern.data();
  int32_t nz = 0;
  if (k < w->m) {
    in[k] = -1.0;
    ip[nz++] = k;
  } else {
    const auto j = static_cast<size_t>(k - w->m);
    for (int64_t q = w->cbeg[j]; q < w->cbeg[j + 1]; ++q) {
      const int32_t i = w->cidx[static_cast<size_t>(q)];
      in[i] = w->cval[static_cast<size_t>(q)];
      ip[nz++] = i;
    }
  }
  int32_t onz = 0;
  VLR_lu_putsolveslot(w->lu, 0);
  VLR_lu_ftrans(w->lu, nz, in, ip, &onz, out, pat, static_cast<int32_t>(w->iwork.size()),
                w->iwork.data(), static_cast<int32_t>(w->marker.size()), w->marker.data(),
                kPrfDropTol, kPrfDropTol);
  return onz;
}

int32_t prf_btranrow(Prf* w, int32_t p, double* out, int32_t* pat) {
  double* in = w->sin.data();
  int32_t* ip = w->ipattern.data();
  in[p] = 1.0;
  ip[0] = p;
  int32_t onz = 0;
  VLR_lu_putsolveslot(w->lu, 1);
  VLR_lu_btrans(w->lu, 1, in, ip, &onz, out, pat, w->marker.data(),
                static_cast<int32_t>(w->iwork.size()), w->iwork.data(), kPrfDropTol, kPrfDropTol);
  in[p] = 0.0;
  return onz;
}

void prf_formxb(Prf* w) {
  const int32_t m = w->m;
  double* rhs = w->w1.data();
  std::fill(rhs, rhs + m, 0.0);
  for (int32_t k = 0; k < w->nt; ++k) {
    const double v = w->x[static_cast<size_t>(k)];
    if (w->pos[static_cast<size_t>(k)] < 0 && v != 0.0) prf_addcol(*w, k, -v, rhs);
  }
  double* out = w->w2.data();
  VLR_lu_ftran(w->lu, rhs, out);
  for (int32_t p = 0; p < m; ++p)
    w->x[static_cast<size_t>(w->bas[static_cast<size_t>(p)])] = out[p];
}

void prf_formyb(Prf* w) {
  const int32_t m = w->m;
  double* cb = w->w1.data();
  for (int32_t p = 0; p < m; ++p)
    cb[p] = w->cost[static_cast<size_t>(w->bas[static_cast<size_t>(p)])];
  VLR_lu_btran(w->lu, cb, w->y.data());
  for (int32_t k = 0; k < w->nt; ++k) {
    const auto s = static_cast<size_t>(k);
    w->d[s] = w->pos[s] >= 0 ? 0.0 : w->cost[s] - prf_dotcol(*w, k, w->y.data());
  }
}

namespace {

double prf_pow2(double q) {
  // 1 / 2^ceil(log2 q) for q >= 1, 2^ceil(-log2 q) below: the power of two nearest under 1/q.
  if (q <= 1e-12) return 1.0;
  if (q >= 1.0) return std::ldexp(1.0, -static_cast<int>(std::ceil(std::log2(q))));
  return std::ldexp(1.0, static_cast<int>(std::ceil(-std::log2(q))));
}

// The scaled copy of lp, the row-wise copy, the work of the factor and the solves.
bool prf_setup(Prf* w, const SimLp& lp, const SimSol& itr) {
  const int32_t m = lp.m, n = lp.n, nt = m + n;
  w->m = m;
  w->n = n;
  w->nt = nt;
  const auto sm = static_cast<size_t>(m), sn = static_cast<size_t>(n),
             snt = static_cast<size_t>(nt);
  const int64_t nz = lp.abeg[n];
  w->rs.assign(sm, 1.0);
  w->cs.assign(sn, 1.0);
  if (w->par->scale != 0) {
    PrfVec<double>& rn = w->w3;
    rn.assign(sm, 0.0);
    for (int64_t p = 0; p < nz; ++p) {
      const auto i = static_cast<size_t>(lp.aidx[p]);
      rn[i] = std::max(rn[i], std::fabs(lp.aval[p]));
    }
    for (size_t i = 0; i < sm; ++i)
      w->rs[i] = prf_pow2(std::sqrt(std::max(rn[i], 1.0)));
    for (int32_t j = 0; j < n; ++j) {
      double mx = 0.0;
      for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
        mx = std::max(mx, std::fabs(lp.aval[p]) * w->rs[static_cast<size_t>(lp.aidx[p])]);
      w->cs[static_cast<size_t>(j)] = prf_pow2(std::sqrt(mx));
    }
  }
  w->cbeg.assign(lp.abeg, lp.abeg + n + 1);
  w->cidx.assign(lp.aidx, lp.aidx + nz);
  w->cval.resize(static_cast<size_t>(nz));
  for (int32_t j = 0; j < n; ++j)
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      w->cval[static_cast<size_t>(p)] =
          lp.aval[p] * w->rs[static_cast<size_t>(lp.aidx[p])] * w->cs[static_cast<size_t>(j)];
  // Row-wise copy.
  w->rbeg.assign(sm + 1, 0);
  for (int64_t p = 0; p < nz; ++p)
    ++w->rbeg[static_cast<size_t>(lp.aidx[p]) + 1];
  for (size_t i = 0; i < sm; ++i)
    w->rbeg[i + 1] += w->rbeg[i];
  w->ridx.resize(static_cast<size_t>(nz));
  w->rval.resize(static_cast<size_t>(nz));
  w->list.assign(std::max<size_t>(snt, 1), 0);
  for (size_t i = 0; i < sm; ++i)
    w->list[i] = static_cast<int32_t>(w->rbeg[i]);
  for (int32_t j = 0; j < n; ++j) {
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
      const auto i = static_cast<size_t>(lp.aidx[p]);
      const auto q = static_cast<size_t>(w->list[i]++);
      w->ridx[q] = j;
      w->rval[q] = w->cval[static_cast<size_t>(p)];
    }
  }
  // Bounds, costs and the interior solution, scaled.
  w->lo.resize(snt);
  w->up.resize(snt);
  w->cost.assign(snt, 0.0);
  w->x.resize(snt);
  w->d.resize(snt);
  w->y.resize(std::max<size_t>(sm, 1));
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    const double f = k < m ? w->rs[s] : 1.0 / w->cs[s - sm];
    w->lo[s] = VLR_opt_lower(lp, k) * f;
    w->up[s] = VLR_opt_upper(lp, k) * f;
    w->x[s] = itr.x[k] * f;
    w->d[s] = itr.d[k] / f;
    if (k >= m) w->cost[s] = lp.c[k - m] * w->cs[s - sm];
  }
  for (size_t i = 0; i < sm; ++i)
    w->y[i] = itr.y[i] / w->rs[i];
  // The factor and its work.
  w->bas.assign(std::max<size_t>(sm, 1), 0);
  w->pos.assign(snt, -1);
  int32_t fi = 0, fr = 0, si = 0, sr = 0;
  VLR_lu_getfactorspace(m, m, &fi, &fr);
  VLR_lu_getsolvespace(m, &si, &sr);
  w->iwork.assign(static_cast<size_t>(std::max({fi, si, 3 * m + 3})), 0);
  w->rwork.assign(static_cast<size_t>(std::max({fr, sr, 2 * m + 2})), 0.0);
  w->marker.assign(sm + 1, 0);
  w->map.assign(sm + 1, 0);
  w->sin.assign(sm + 1, 0.0);
  w->sw.assign(sm + 1, 0.0);
  w->ipattern.assign(sm + 1, 0);
  w->opattern.assign(sm + 1, 0);
  w->pattern.assign(sm + 1, 0);
  w->spike.assign(sm + 1, 0.0);
  w->w1.assign(sm + 1, 0.0);
  w->w2.assign(sm + 1, 0.0);
  w->w3.assign(snt + 1, 0.0);
  if (VLR_lu_make(w->sys, std::max(m, 1), std::max(m, 1), &w->lu) != kLuOk) return false;
  w->wsze = 0;
  VLR_lu_puttol(w->lu, kLuTolRelPiv, std::max(w->par->tolrpiv, 0.01));
  VLR_lu_puttol(w->lu, kLuTolAbsPiv, std::max(w->par->tolapiv, kPrfAbsPiv));
  return true;
}

// The crash basis: the variables the interior solution leaves furthest inside their bounds
// against their reduced costs, most interior first, as many as there are rows; the factor keeps
// an independent set of them and the rows left over take their slacks.
bool VLR_prf_crashbasis(Prf* w, PrfInfo* info) {
  const int32_t m = w->m, nt = w->nt;
  double* score = w->w3.data();
  int32_t ncand = 0;
  int32_t* cand = w->list.data();
  for (int32_t k = 0; k < nt; ++k) {
    const auto s = static_cast<size_t>(k);
    const double l = w->lo[s], u = w->up[s], v = w->x[s];
    if (l == u) continue;
    double dist = kPrfInf;
    if (l > -kPrfInf) dist = std::min(dist, v - l);
    if (u < kPrfInf) dist = std::min(dist, u - v);
    dist = std::max(dist, 0.0);
    const double dk = std::fabs(w->d[s]);
    double sc = 0.0;
    if (dist == kPrfInf) {
      sc = 3.0;  // free variables belong in the basis
    } else if (dist > 0.0) {
      sc = dist / (dist + dk);
      if (sc <= 0.5) continue;    // at its bound by the complementarity of the pair
      sc += dist / (1.0 + dist);  // among the interior ones, the further from a bound first
    } else {
      continue;
    }
    score[s] = sc;
    cand[ncand++] = k;
  }
  std::stable_sort(cand, cand + ncand, [score](int32_t a, int32_t b) {
    return score[static_cast<size_t>(a)] > score[static_cast<size_t>(b)];
  });
  const int32_t take = std::min(ncand, m);
  const int32_t empty = w->nt;  // an index beyond the matrix: an empty column
  for (int32_t p = 0; p < m; ++p)
    w->bas[static_cast<size_t>(p)] = p < take ? cand[p] : empty;
  int32_t nart = 0;
  // The crash basis is factored with a large smallest pivot: a column that is nearly dependent
  // on those before it gives way to a slack and is pushed to a bound later. Taken in, it leaves
  // a badly conditioned basis that spreads the interior point's residual over the values (on
  // pilot87 bound violations up to 1e6 before any push, and a clean-up of thousands of
  // iterations).
  VLR_lu_puttol(w->lu, kLuTolAbsPiv, kPrfCrashPiv);
  const bool ok = prf_factor(w, &nart);
  VLR_lu_puttol(w->lu, kLuTolAbsPiv, std::max(w->par->tolapiv, kPrfAbsPiv));
  if (!ok) return false;
  info->nart = nart;
  info->ncrash = take - std::max(0, nart - (m - take));
  prf_log(*w, "Crash basis: %d rows, %d of %d interior variables, %d slacks inserted.\n", m,
          info->ncrash, ncand, nart);
  std::fill(w->w3.begin(), w->w3.end(), 0.0);
  return true;
}

// Keys of the basic solution, by the side each non-basic variable sits on.
int32_t prf_key(const Prf& w, int32_t k) {
  const auto s = static_cast<size_t>(k);
  if (w.pos[s] >= 0) return VLR_SK_BAS;
  if (w.lo[s] == w.up[s]) return VLR_SK_FIX;
  int32_t side = 0;
  if (prf_atbound(w, k, 1e-9, &side)) return side < 0 ? VLR_SK_LOW : VLR_SK_UPR;
  return VLR_SK_SUPBAS;
}

// The log line of a step: its pushes and exchanges, and the bound violations it leaves.
void prf_logstep(const Prf& w, const char* step, int64_t pushes, int64_t moves) {
  int32_t num = 0;
  double mx = 0.0, sum = 0.0;
  VLR_prf_priinflp(w, &num, &mx, &sum);
  prf_log(w, "%s push: %lld pushes, %lld exchanges; %d bound violations (max %.1e).\n", step,
          static_cast<long long>(pushes), static_cast<long long>(moves), num, mx);
}

}  // namespace

void prf_writebasis(const Prf& w, SimSol* bas) {
  const auto sm = static_cast<size_t>(w.m);
  for (int32_t k = 0; k < w.nt; ++k) {
    const auto s = static_cast<size_t>(k);
    const double f = k < w.m ? w.rs[s] : 1.0 / w.cs[s - sm];
    bas->sk[k] = prf_key(w, k);
    bas->x[k] = w.x[s] / f;
    bas->d[k] = w.d[s] * f;
  }
  for (size_t i = 0; i < sm; ++i)
    bas->y[i] = w.y[i] * w.rs[i];
}

int32_t VLR_prf_puriflp(SysEnv* sys, const PrfParam& par, const PrfCallbacks& cb, const SimLp& lp,
                        const SimSol& itr, SimSol* bas, PrfInfo* info) {
  *info = PrfInfo{};
  const double t0 = VLR_sysenv_getwctime(sys);
  try {
    Prf w(sys);
    w.par = &par;
    w.cb = &cb;
    prf_log(w, "Basis identification started.\n");
    if (par.loglevel > 1) {
      prf_log(w, "  tolx: %.2e tols: %.2e tolapiv: %.2e tollurpiv: %.2e\n", par.tolx, par.tols,
              par.tolapiv, par.tollurpiv);
    }
    // The steps; a stop between them, or within a push, ends the run without a basis.
    [&]() {
      const auto stopped = [&w, info]() {
        if (w.stopped) info->resp = 7;
        return w.stopped;
      };
      if (prf_stop(&w, VLR_CALLBACK_BEGIN_BI) && stopped()) return;
      if (!prf_setup(&w, lp, itr)) {
        info->resp = 1;
        return;
      }
      double t = VLR_sysenv_getwctime(sys);
      if (!VLR_prf_crashbasis(&w, info)) {
        info->resp = 1;
        return;
      }
      prf_formxb(&w);
      info->crashtime = VLR_sysenv_getwctime(sys) - t;
      prf_logstep(w, "Crash", 0, 0);
      if (prf_stop(&w, VLR_CALLBACK_BEGIN_PRIMAL_BI) && stopped()) return;
      t = VLR_sysenv_getwctime(sys);
      if (!VLR_prf_primallp(&w, info)) {
        info->resp = 1;
        return;
      }
      info->pritime = VLR_sysenv_getwctime(sys) - t;
      if (stopped()) return;
      prf_logstep(w, "Primal", info->priiter, info->primoves);
      if (prf_stop(&w, VLR_CALLBACK_BEGIN_DUAL_BI) && stopped()) return;
      t = VLR_sysenv_getwctime(sys);
      if (!VLR_prf_duallp(&w, info)) {
        info->resp = 1;
        return;
      }
      info->duatime = VLR_sysenv_getwctime(sys) - t;
      if (stopped()) return;
      prf_logstep(w, "Dual", info->duaiter, info->duamoves);
      if (prf_stop(&w, VLR_CALLBACK_BEGIN_SIMPLEX_BI) && stopped()) return;
      VLR_prf_clean(&w, lp, bas, info);
    }();
  } catch (const std::bad_alloc&) {
    info->resp = 1;
  }
  info->time = VLR_sysenv_getwctime(sys) - t0;
  if (cb.stop != nullptr) cb.stop(cb.handle, 30);
  VLR_prf_prista(cb, info->resp == 1 ? PrfInfo{} : *info);
  return info->resp;
}

namespace {

void prf_out(const PrfCallbacks& cb, const char* format, ...) __attribute__((format(printf, 2, 3)));
void prf_out(const PrfCallbacks& cb, const char* format, ...) {
  char line[256];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(line, sizeof line, format, ap);
  va_end(ap);
  cb.text(cb.handle, line);
}

}  // namespace

void VLR_prf_prista(const PrfCallbacks& cb, const PrfInfo& info) {
  if (cb.text == nullptr) return;
  prf_out(cb, "%s\n", "Basis identification terminated.");
  prf_out(cb, "%-12s\n", "Summary");
  prf_out(cb, "  %-20s: %s\n", "Problem status",
          info.prosta == VLR_PRO_STA_PRIM_AND_DUAL_FEAS ? "PRIMAL_AND_DUAL_FEASIBLE" : "UNKNOWN");
  prf_out(cb, "  %-20s: %s\n", "Solution status",
          info.solsta == VLR_SOL_STA_OPTIMAL ? "OPTIMAL" : "UNKNOWN");
  prf_out(cb, "  %-8s %-8s %-10s %-10s %-8s\n", "Step", "Time", "Iter.", "Moves", "Infeas.");
  prf_out(cb, "  %-8s %-8.2f %-10lld %-10lld %-8s\n", "Primal", info.pritime,
          static_cast<long long>(info.priiter), static_cast<long long>(info.primoves), "-");
  prf_out(cb, "  %-8s %-8.2f %-10lld %-10lld %-8s\n", "Dual", info.duatime,
          static_cast<long long>(info.duaiter), static_cast<long long>(info.duamoves), "-");
  prf_out(cb, "  %-8s %-8.2f %-10lld %-10s %-8s\n", "Clean", info.cleantime,
          static_cast<long long>(info.cleanpriiter + info.cleanduaiter + info.cleanpditer), "-",
          "-");
  prf_out(cb, "  %-8s %-8s %-10s %-10s\n", "Set", "num(bi)", "Max(bi)", "Sum(bi)");
  prf_out(cb, "  %-8s %-8d %-10.2e %-10.2e\n", "Basis", info.numbi, info.maxbi, info.sumbi);
  prf_out(cb, "  %-20s: %-.12e\n", "Obj", info.pobj);
  prf_out(cb, "  %-20s: %-.2f\n", "Time", info.time);
}

}  // namespace vlr
