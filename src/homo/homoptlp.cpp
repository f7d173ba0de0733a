// src/homo/homoptlp.cpp: the homogeneous and self-dual predictor-corrector: start, measures,
// termination and certificates, acceptance of steps, correctors, step cut-backs and the levels of
// regularisation.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "homo/homdat.h"
#include "velor.h"

namespace vlr {

namespace {

// Step cut-backs, tried in turn when a step fails its tests.
constexpr double GLOBAL_CUTBACKS[12] = {1.0, 0.9999, 0.999, 0.99, 0.9, 0.8,
                                        0.7, 0.5,    0.4,   0.3,  0.2, 0.1};

// xn := A' ym, by columns.
void hom_atxcol(const HomLp& lp, const double* ym, double* xn) {
  for (int32_t j = 0; j < lp.ncol; ++j) {
    double t = 0.0;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      t += lp.aval[p] * ym[lp.asub[p]];
    xn[j] = t;
  }
}

double hom_infnorm(const double* v, int32_t n) {
  double r = 0.0;
  for (int32_t i = 0; i < n; ++i)
    r = std::max(r, std::fabs(v[i]));
  return r;
}
double hom_sumsq(const double* v, int32_t n) {
  double r = 0.0;
  for (int32_t i = 0; i < n; ++i)
    r += v[i] * v[i];
  return r;
}

void hom_copy(const hom* h, const HomVec& from, HomVec* to) {
  std::copy(from.x, from.x + h->n, to->x);
  std::copy(from.s, from.s + h->n, to->s);
  std::copy(from.xu, from.xu + h->nup, to->xu);
  std::copy(from.su, from.su + h->nup, to->su);
  std::copy(from.y, from.y + h->m, to->y);
  to->tau = from.tau;
  to->kappa = from.kappa;
}

// A start from the data: x the shortest solution of A x = b, y and s the least-squares duals of
// c, each part then pushed inside its cone by what its most negative entry lacks and centred by
// half the mean product. One factor of A A'. False (the iterate untouched) when the factor fails
// or the point is not finite. It is the start of VLR_STARTING_POINT_GUESS: measured on Netlib it
// takes 4 % fewer iterations in geometric mean than the constant start, but up to twice as many on
// some problems (bnl1, pilot, stair), so the free choice keeps the constant one.
constexpr double kStartFloor = 0.1;  // no entry below this share of its part's mean

bool hom_computedstart(hom* h) {
  const HomLp& lp = *h->lp;
  const int32_t n = h->n, m = h->m, nlo = h->nlo, nup = h->nup;
  if (m == 0 || n == 0) return false;
  std::fill(h->theta, h->theta + n, 1.0);
  if (VLR_kktfac_numfac(h->kkt, h->theta, 0.0) != kKktOk) return false;
  HomVec& w = h->dd;  // the trial point
  // x = A' (A A')^-1 b; an upper-bounded column's slack is what its bound leaves.
  std::copy(lp.b, lp.b + m, h->tm);
  VLR_kktfac_solve(h->kkt, h->tm);
  hom_atxcol(lp, h->tm, w.x);
  for (int32_t u = 0; u < nup; ++u)
    w.xu[u] = lp.ub[u] - w.x[nlo + u];
  // y = (A A')^-1 A c, s = c - A'y; on an upper-bounded column a negative s goes to su.
  std::fill(h->tm, h->tm + m, 0.0);
  for (int32_t j = 0; j < n; ++j)
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      h->tm[lp.asub[p]] += lp.aval[p] * lp.c[j];
  VLR_kktfac_solve(h->kkt, h->tm);
  std::copy(h->tm, h->tm + m, w.y);
  hom_atxcol(lp, w.y, w.s);
  for (int32_t j = 0; j < n; ++j)
    w.s[j] = lp.c[j] - w.s[j];
  for (int32_t u = 0; u < nup; ++u) {
    const int32_t j = nlo + u;
    w.su[u] = std::max(-w.s[j], 0.0);
    w.s[j] = std::max(w.s[j], 0.0);
  }
  double xmin = 0.0, smin = 0.0;
  for (int32_t j = 0; j < n; ++j) {
    xmin = std::min(xmin, w.x[j]);
    smin = std::min(smin, w.s[j]);
  }
  for (int32_t u = 0; u < nup; ++u) {
    xmin = std::min(xmin, w.xu[u]);
    smin = std::min(smin, w.su[u]);
  }
  // Never closer to the boundary than a tenth of the constant start's values.
  const double dx = std::max(-1.5 * xmin, 0.1 * h->par.psafe);
  const double ds = std::max(-1.5 * smin, 0.1 * h->par.dsafe);
  double xs = 0.0, xsum = 0.0, ssum = 0.0;
  for (int32_t j = 0; j < n; ++j) {
    xs += (w.x[j] + dx) * (w.s[j] + ds);
    xsum += w.x[j] + dx;
    ssum += w.s[j] + ds;
  }
  for (int32_t u = 0; u < nup; ++u) {
    xs += (w.xu[u] + dx) * (w.su[u] + ds);
    xsum += w.xu[u] + dx;
    ssum += w.su[u] + ds;
  }
  const double px = dx + 0.5 * xs / ssum, ps = ds + 0.5 * xs / xsum;
  if (!std::isfinite(px) || !std::isfinite(ps) || !std::isfinite(xs)) return false;
  // No entry far below the mean of its part: a pair near the boundary shortens every early step.
  const double k = n + nup;
  const double xfloor = kStartFloor * (xsum / k + px - dx),
               sfloor = kStartFloor * (ssum / k + ps - ds);
  HomVec& v = h->v;
  for (int32_t j = 0; j < n; ++j) {
    v.x[j] = std::max(w.x[j] + px, xfloor);
    v.s[j] = std::max(w.s[j] + ps, sfloor);
  }
  for (int32_t u = 0; u < nup; ++u) {
    v.xu[u] = std::max(w.xu[u] + px, xfloor);
    v.su[u] = std::max(w.su[u] + ps, sfloor);
  }
  std::copy(w.y, w.y + m, v.y);
  v.tau = 1.0;
  v.kappa = xs / h->k;
  return true;
}

// Norms of the data, the starting point and the correctors' count.
void hom_start(hom* h) {
  const HomLp& lp = *h->lp;
  const HomParam& par = h->par;
  const int32_t n = h->n, m = h->m;
  double amax = 0.0;
  for (int64_t p = lp.abeg[0]; p < lp.abeg[n]; ++p)
    amax = std::max(amax, std::fabs(lp.aval[p]));
  h->nrma = m > 0 ? std::max(1.0, amax) : amax;
  h->nrmc = hom_infnorm(lp.c, n);
  const double nrmbi = hom_infnorm(lp.b, m), nrmui = hom_infnorm(lp.ub, h->nup);
  h->nrmb = std::max(nrmbi, nrmui);
  h->anorm = std::max(1.0, h->nrmb);
  double c1 = 0.0, b1 = 0.0, u1 = 0.0;
  bool cnonneg = true;
  for (int32_t j = 0; j < n; ++j) {
    c1 += std::fabs(lp.c[j]);
    cnonneg = cnonneg && lp.c[j] >= 0.0;
  }
  for (int32_t i = 0; i < m; ++i)
    b1 += std::fabs(lp.b[i]);
  for (int32_t u = 0; u < h->nup; ++u)
    u1 += std::fabs(lp.ub[u]);
  double psafe = par.psafe, dsafe = par.dsafe;
  hom_printf(h, "Sp. type: %d Sp. gam: %e\n", par.startpoint, par.startgam);
  hom_printf(h, "nrmci: %e nrmbi: %e nrmui: %e\n", h->nrmc, nrmbi, nrmui);
  hom_printf(h, "nrmc1: %e nrmb1: %e nrmu1: %e\n", c1, b1, u1);
  if (par.startpoint != 2 && cnonneg && n > 0) {
    // Costs all of one sign: slacks of their size make the first steps balanced.
    const double avgc = c1 / n;
    const double cap = avgc >= h->nrmc / 100.0 ? 1000.0 : avgc >= h->nrmc / 1000.0 ? 100.0 : 10.0;
    dsafe = std::max(par.dsafe, std::min(std::max(dsafe, avgc), cap));
    hom_printf(h, "Possible increase dsafe. avg(c): %e\n", avgc);
  }
  if (par.startpoint != 2 && std::sqrt(h->nrmb) >= 100.0 * psafe) {
    psafe = std::sqrt(h->nrmb);
    hom_printf(h, "Increase psafe to : %e\n", psafe);
  }
  HomVec& v = h->v;
  std::fill(v.x, v.x + n, psafe);
  std::fill(v.s, v.s + n, dsafe);
  std::fill(v.xu, v.xu + h->nup, psafe);
  std::fill(v.su, v.su + h->nup, dsafe);
  std::fill(v.y, v.y + m, 0.0);
  v.tau = 1.0;
  v.kappa = psafe * dsafe;
  const bool useconst = par.startpoint != 1 || !hom_computedstart(h);
  hom_printf(h, "useconst: %d psafe: %e dsafe: %e\n", useconst ? 1 : 0, psafe, dsafe);
  // Correctors by their cost against a factor: each costs a solve.
  KktInfo ki;
  VLR_kktfac_getinfo(h->kkt, &ki);
  const double nnza = static_cast<double>(lp.abeg[n] - lp.abeg[0]);
  const double fflops = ki.fflops;
  const double sflops =
      3.0 * (2.0 * nnza) + 3.0 * ki.sflops + 6.0 * (14.0 * n + 4.0 * m + 18.0 * h->nup);
  const double r = sflops / std::max(fflops + sflops, 1.0);
  int32_t maxncor = r > 0.7    ? 0
                    : r > 0.6  ? 1
                    : r > 0.3  ? 2
                    : r > 0.2  ? 3
                    : r > 0.1  ? 5
                    : r > 0.05 ? 7
                               : 10;
  if (par.maxnumcor >= 0) maxncor = par.maxnumcor;
  h->maxnumcor = maxncor;
  hom_printf(h, "tflops: %e dflops: %e maxncor: %d\n", fflops + sflops, sflops, maxncor);
}

// The pair target band of the correctors: products are pulled into [beta mu, mu / beta].
constexpr double kCorBand = 0.1;

// Correctors that pull the products of the trial point at a slightly longer step into the
// band, kept while each lengthens the step by 1 % at least.
void hom_mulcor(hom* h, double gamma, double* alpha) {
  const double mut = gamma * h->cgapf / h->k;
  const double bmin = kCorBand * mut, bmax = mut / kCorBand;
  HomVec& dd = h->dd;
  HomVec& dc = h->dc;
  for (int32_t t = 0; t < h->maxnumcor && *alpha < 0.99999; ++t) {
    const double at = std::min(1.0, *alpha + 0.2);
    const HomVec& v = h->v;
    auto target = [&](double p) {
      if (p < bmin) return bmin - p;
      if (p > bmax) return std::max(bmax - p, -bmax);
      return 0.0;
    };
    for (int32_t j = 0; j < h->n; ++j)
      h->rcx[j] = target((v.x[j] + at * dd.x[j]) * (v.s[j] + at * dd.s[j]));
    for (int32_t u = 0; u < h->nup; ++u)
      h->rcu[u] = target((v.xu[u] + at * dd.xu[u]) * (v.su[u] + at * dd.su[u]));
    h->rck = target((v.tau + at * dd.tau) * (v.kappa + at * dd.kappa));
    hom_direction(h, 0.0, &dc);
    // The trial direction dd + dc, into dc.
    for (int32_t j = 0; j < h->n; ++j) {
      dc.x[j] += dd.x[j];
      dc.s[j] += dd.s[j];
    }
    for (int32_t u = 0; u < h->nup; ++u) {
      dc.xu[u] += dd.xu[u];
      dc.su[u] += dd.su[u];
    }
    for (int32_t i = 0; i < h->m; ++i)
      dc.y[i] += dd.y[i];
    dc.tau += dd.tau;
    dc.kappa += dd.kappa;
    double ap, ad;
    hom_maxstepsize(h, dc, &ap, &ad);
    const double anew = std::min(ap, ad);
    if (!(anew >= 1.01 * *alpha)) break;
    std::swap(dd, dc);
    *alpha = anew;
  }
}

// A step along dd that passes the gap and neighbourhood tests, shortened through the cut-backs;
// 0 when none passes above tolstepsize.
double hom_stepsize(hom* h, double gamma, int32_t cutidx) {
  double ap, ad;
  hom_maxstepsize(h, h->dd, &ap, &ad);
  const double f = h->par.stepfac * GLOBAL_CUTBACKS[cutidx];
  const double a0 = std::min(ap, ad) * f;
  double w1 = h->dd.tau * h->v.kappa + h->v.tau * h->dd.kappa, w2 = h->dd.tau * h->dd.kappa;
  for (int32_t j = 0; j < h->n; ++j) {
    w1 += h->v.s[j] * h->dd.x[j] + h->v.x[j] * h->dd.s[j];
    w2 += h->dd.x[j] * h->dd.s[j];
  }
  for (int32_t u = 0; u < h->nup; ++u) {
    w1 += h->v.su[u] * h->dd.xu[u] + h->v.xu[u] * h->dd.su[u];
    w2 += h->dd.xu[u] * h->dd.su[u];
  }
  const double nbhd = std::sqrt(h->par.tolpath) / 100.0;
  double a = a0;
  for (int32_t i = 0;; ++i) {
    a = i < 12 ? a0 * GLOBAL_CUTBACKS[i] : a * 0.1;
    if (a <= h->par.tolstepsize) return 0.0;
    if (h->cgapf > 1e-8 && (w1 + a * w2) / h->cgapf > -0.5 * (1.0 - gamma)) {
      hom_printf(h, "!!!! Decrease in GAP failure %e > %e a: %e dxds: %e xdssdx: %e\n",
                 (w1 + a * w2) / h->cgapf, -0.5 * (1.0 - gamma), a, w2, w1);
      continue;
    }
    if (hom_nbhdat(h, h->dd, a) < nbhd) continue;
    return a;
  }
}

// The direction and its step: the corrector with the predictor's second-order term when dx'ds
// is trustworthy, the further correctors, and the cut-backs; when the step with the corrector is
// too short, once more without it. Returns the step (0 when none passes) and gamma.
double hom_searchstep(hom* h, double alpha, int32_t* cutidx, double* gamma) {
  const HomParam& par = h->par;
  const HomVec& v = h->v;
  double w = h->dp.tau * h->dp.kappa;
  for (int32_t j = 0; j < h->n; ++j)
    w += h->dp.x[j] * h->dp.s[j];
  for (int32_t u = 0; u < h->nup; ++u)
    w += h->dp.xu[u] * h->dp.su[u];
  bool corrector = true;
  if (std::fabs(w) >= 2.0 * h->cgapf) {
    hom_printf(h, "Warning: Large dx'ds. Relative error: %e.\n", std::fabs(w) / h->cgapf);
    corrector = false;
    if (h->regulevel > 0 || std::fabs(w) >= 100.0 * h->cgapf) h->incregu = 2;
  }
  double step = 0.0;
  for (int32_t loop = 0; loop < 2; ++loop) {
    *gamma = std::max(1e-14, par.gammafloor * (1.0 - alpha) * (1.0 - alpha));
    if (!corrector) {
      *cutidx = std::min(*cutidx + 2, 4);
      *gamma = std::max(*gamma, par.gammafloor);
    }
    const double mut = *gamma * h->cgapf / h->k;
    for (int32_t j = 0; j < h->n; ++j)
      h->rcx[j] = mut - v.x[j] * v.s[j] - (corrector ? h->dp.x[j] * h->dp.s[j] : 0.0);
    for (int32_t u = 0; u < h->nup; ++u)
      h->rcu[u] = mut - v.xu[u] * v.su[u] - (corrector ? h->dp.xu[u] * h->dp.su[u] : 0.0);
    h->rck = mut - v.tau * v.kappa - (corrector ? h->dp.tau * h->dp.kappa : 0.0);
    hom_direction(h, 1.0 - *gamma, &h->dd);
    if (corrector && h->regulevel == 0 && h->maxnumcor > 0) {
      double a1, a2;
      hom_maxstepsize(h, h->dd, &a1, &a2);
      double acur = std::min(a1, a2);
      hom_mulcor(h, *gamma, &acur);
    }
    step = hom_stepsize(h, *gamma, *cutidx);
    if (corrector && (step < par.tolstepsize || step < 0.25 * alpha)) {
      corrector = false;
      continue;
    }
    break;
  }
  return step;
}

}  // namespace

void hom_printf(const hom* h, const char* format, ...) {
  // The solver's own lines are for a log level above the default 4; the iteration table is not.
  if (h->cb.text == nullptr || h->par.loglevel < 5) return;
  char line[512];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(line, sizeof line, format, ap);
  va_end(ap);
  h->cb.text(h->cb.handle, line);
}

// Residuals and measures of the iterate, recomputed from the data.
void hom_inititer(hom* h) {
  const HomLp& lp = *h->lp;
  const int32_t n = h->n, m = h->m, nlo = h->nlo;
  const HomVec& v = h->v;
  // rp = b tau - A x, and A x alone for the ray's residual.
  std::fill(h->tm, h->tm + m, 0.0);
  for (int32_t j = 0; j < n; ++j)
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      h->tm[lp.asub[p]] += lp.aval[p] * v.x[j];
  for (int32_t i = 0; i < m; ++i)
    h->rp[i] = lp.b[i] * v.tau - h->tm[i];
  double pinf = hom_infnorm(h->tm, m);
  for (int32_t u = 0; u < h->nup; ++u) {
    h->rpu[u] = lp.ub[u] * v.tau - v.x[nlo + u] - v.xu[u];
    pinf = std::max(pinf, std::fabs(v.x[nlo + u] + v.xu[u]));
  }
  double dinf = 0.0, cx = 0.0, by = 0.0;
  for (int32_t j = 0; j < n; ++j) {
    double t = v.s[j];
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      t += lp.aval[p] * v.y[lp.asub[p]];
    if (j >= nlo) t -= v.su[j - nlo];
    h->rd[j] = lp.c[j] * v.tau - t;
    dinf = std::max(dinf, std::fabs(t));
    cx += lp.c[j] * v.x[j];
  }
  for (int32_t i = 0; i < m; ++i)
    by += lp.b[i] * v.y[i];
  for (int32_t u = 0; u < h->nup; ++u)
    by -= lp.ub[u] * v.su[u];
  h->cx = cx;
  h->by = by;
  h->rg = v.kappa + cx - by;
  h->pfeasf = std::max(hom_infnorm(h->rp, m), hom_infnorm(h->rpu, h->nup));
  h->dfeasf = hom_infnorm(h->rd, n);
  h->gfeasf = std::fabs(h->rg);
  h->meritfeas = std::sqrt(hom_sumsq(h->rp, m) + hom_sumsq(h->rpu, h->nup) + hom_sumsq(h->rd, n) +
                           h->rg * h->rg);
  double gap = v.tau * v.kappa;
  for (int32_t j = 0; j < n; ++j)
    gap += v.x[j] * v.s[j];
  for (int32_t u = 0; u < h->nup; ++u)
    gap += v.xu[u] * v.su[u];
  h->cgapf = gap;
  h->mu = gap / h->k;
  h->pobj = cx / v.tau + lp.cfix;
  h->dobj = by / v.tau + lp.cfix;
  h->relgap = std::min(gap / (v.tau * v.tau), std::fabs(cx - by) / v.tau) /
              (std::max(1.0, std::fabs(by / v.tau)) + 1.0 / std::fabs(lp.objscale));
  // What the residuals may move the objectives by: a dual residual of many columns, each small
  // against the costs, can still add up to a large error in the objective.
  double objerr = 0.0;
  for (int32_t j = 0; j < n; ++j)
    objerr += std::fabs(h->rd[j]) * v.x[j];
  for (int32_t i = 0; i < m; ++i)
    objerr += std::fabs(h->rp[i] * v.y[i]);
  for (int32_t u = 0; u < h->nup; ++u)
    objerr += std::fabs(h->rpu[u]) * v.su[u];
  h->objerr = objerr / (v.tau * v.tau) /
              (std::max(1.0, std::fabs(by / v.tau)) + 1.0 / std::fabs(lp.objscale));
  h->pfeasinff = pinf;
  h->dfeasinff = dinf;
  h->xnrm = std::max(hom_infnorm(v.x, n), hom_infnorm(v.xu, h->nup));
  h->ynrm = std::max({hom_infnorm(v.y, m), hom_infnorm(v.s, n), hom_infnorm(v.su, h->nup)});
}

// The status of the iterate under the termination tests, relaxed (positive arguments) or
// tightened (negative) by a factor of 100.
bool hom_terminatelo(hom* h, int32_t relaxrelgap, int32_t relaxing) {
  const double g = relaxrelgap < 0 ? 0.01 : relaxrelgap > 0 ? 100.0 : 1.0;
  const double f = relaxing < 0 ? 0.01 : relaxing > 0 ? 100.0 : 1.0;
  const HomVec& v = h->v;
  // Each residual against the data it answers to: the primal's against the right-hand side and
  // the bounds, the dual's against the costs (held to the primal's limit, a problem with a large
  // right-hand side and small costs ended with duals of the wrong sign far beyond the costs' size).
  const double limit = std::max((1.0 + h->anorm) * h->par.tolpfeas * v.tau, 1e-12) * f;
  const double limitd = std::max((1.0 + h->nrmc) * h->par.toldfeas * v.tau, 1e-12) * f;
  if (h->pfeasf <= limit && h->dfeasf < limitd &&
      (h->relgap <= g * h->par.tolrelgap || h->mu <= 1e-16) &&
      (h->objerr <= 10.0 * g * h->par.tolrelgap || h->mu <= 1e-16)) {
    h->prosta = VLR_PRO_STA_PRIM_AND_DUAL_FEAS;
    h->solsta = VLR_SOL_STA_OPTIMAL;
    return true;
  }
  const double eps = h->par.tolinfeas, r = std::sqrt(eps);
  int32_t dinf = 0, pinf = 0;  // 1 certificate, 2 near certificate
  // Beyond the tests below, a certificate must solve its own equations to eps of its size: with
  // data of very different sizes the scale t alone can pass the starting point, and a small tau
  // alone can pass a point far from a certificate.
  const bool rayok = h->pfeasinff <= eps * h->xnrm * std::max(1.0, h->nrma);
  const bool farkasok = h->dfeasinff <= eps * h->ynrm * std::max(1.0, h->nrma);
  if (h->cx < 0.0 && rayok) {
    double t = h->nrmc / std::max({1.0, h->nrma, h->nrmb});
    if (relaxing < 0) t = std::max(1.0, t);
    if (relaxing > 0) t = std::min(1.0, t);
    if (eps * -h->cx > h->pfeasinff * t) {
      dinf = 1;
    } else if (eps * f >= v.tau && -h->cx >= std::sqrt(eps * f) * v.tau * h->nrmc) {
      dinf = 1;
    } else if (relaxing > 1 && r * -h->cx >= t * h->pfeasinff) {
      dinf = 2;
    }
  }
  if (h->by > 0.0 && farkasok) {
    double t = h->nrmb / std::max({1.0, h->nrma, h->nrmc});
    if (relaxing < 0) t = std::max(1.0, t);
    if (relaxing > 0) t = std::min(1.0, t);
    hom_printf(h,
               "Primal infeasibility check: by: %e  eps: %e. dfeasinff: %e rtemp: %e Checking: "
               "%e by*eps >= dfeasinff*rtemp: %e\n",
               h->by, eps, h->dfeasinff, t, h->by * eps, h->dfeasinff * t);
    if (eps * h->by >= h->dfeasinff * t) {
      pinf = 1;
    } else if (eps * f >= v.tau && h->by >= std::sqrt(eps * f) * v.tau * h->nrmb) {
      pinf = 1;
    } else if (relaxing > 1 && r * h->by >= t * h->dfeasinff) {
      pinf = 2;
    }
  }
  if (pinf && dinf) {
    if (h->pfeasinff / -h->cx > h->dfeasinff / h->by) {
      dinf = 0;
    } else {
      pinf = 0;
    }
  }
  if (dinf) {
    h->prosta = VLR_PRO_STA_DUAL_INFEAS;
    h->solsta = dinf == 1 ? VLR_SOL_STA_DUAL_INFEAS_CER : VLR_SOL_STA_NEAR_DUAL_INFEAS_CER;
    if (dinf == 2) {
      hom_printf(h, "A nearly dual infeasible certificate has been computed.\n");
      hom_printf(h, "Relaxing: %d Relaxed eps: %e\n", relaxing, eps * f);
    }
  } else if (pinf) {
    h->prosta = VLR_PRO_STA_PRIM_INFEAS;
    h->solsta = pinf == 1 ? VLR_SOL_STA_PRIM_INFEAS_CER : VLR_SOL_STA_NEAR_PRIM_INFEAS_CER;
  } else {
    return false;
  }
  hom_printf(h, "New solution status: %d\n", h->solsta);
  return true;
}

void VLR_hom_optlp(hom* h) {
  const HomParam& par = h->par;
  const int32_t limitlevel = par.regularize ? 8 : 0;
  hom_start(h);
  h->prosta = VLR_PRO_STA_UNKNOWN;
  h->solsta = VLR_SOL_STA_UNKNOWN;
  int32_t cutidx = 0;
  bool fastconv = false;
  (void)fastconv;
  for (h->iter = 0;; ++h->iter) {
    hom_inititer(h);
    if (h->iter == 0) {
      h->cgap0 = h->cgapf;
      h->mu0 = h->mu;
    }
    // Accept the last step, or go back to the last accepted point with more regularisation.
    const double meritfloor = 1e-10 * (1.0 + h->anorm + h->nrmc) * h->v.tau;
    const bool accept = h->iter == 0 || ((h->meritfeas <= std::max(h->meritfeast, meritfloor)) &&
                                         (h->cgapf <= h->cgapt || h->cgapf <= 1e-12 * h->cgap0));
    if (accept) {
      hom_copy(h, h->v, &h->saved);
    } else {
      hom_printf(h, "New solution is NOT accepted.\n");
      if (h->cgapf > h->cgapt) {
        hom_printf(h, "Gap is not ok (cgapf=%e>%e=cgapt) \n", h->cgapf, h->cgapt);
      } else {
        hom_printf(h, "Merit is not ok. (meritfeas=%e>%e=meritfeast) \n", h->meritfeas,
                   h->meritfeast);
      }
      hom_copy(h, h->saved, &h->v);
      hom_inititer(h);
      h->incregu = std::max(h->incregu, 1);
    }
    if (h->incregu) {
      if (par.regularize) ++h->regulevel;
      hom_printf(h, "Increase the regulevel to %d. incregu: %d\n", h->regulevel, h->incregu);
      h->incregu = 0;
    }
    if (h->regulevel > limitlevel) h->resp = 8;
    if (h->cgapf <= 1e-14 * h->cgap0) {
      hom_printf(h, "Set delay to zero due to small mu.\n");
      h->delay = 0;
    }
    const int32_t e = h->regulevel;
    const int32_t relaxing = e > 2 && !h->delay ? 1 : 0;
    const int32_t relaxrelgap = e > limitlevel / 2 && limitlevel > 0 ? 1 : 0;
    if (h->resp == 0 && hom_terminatelo(h, relaxrelgap, relaxing)) {
      hom_printf(h, "Normal termination. relaxrelgap: %d relaxing: %d delay: %d regulevel: %d \n",
                 relaxrelgap, relaxing, h->delay, h->regulevel);
      break;
    }
    if (h->resp == 8) {
      if (hom_terminatelo(h, 1, 1)) {
        hom_printf(h, "Normal termination in the stalled case.\n");
        h->resp = 0;
      }
      break;
    }
    if (h->iter >= par.maxiter) {
      h->resp = 4;
      break;
    }
    if (h->cb.iter != nullptr) {
      HomIter it;
      it.iter = h->iter;
      it.pfeas = h->pfeasf / h->v.tau;
      it.dfeas = h->dfeasf / h->v.tau;
      it.gfeas = h->gfeasf / h->v.tau;
      it.pobj = h->pobj * h->lp->objscale;
      it.dobj = h->dobj * h->lp->objscale;
      it.mu = h->mu;
      it.kapdivtau = h->v.kappa / h->v.tau;
      const int32_t r = h->cb.iter(h->cb.handle, it);
      if (r != 0) {
        h->resp = r;
        break;
      }
    }
    h->regu = h->regulevel == 0 ? 0.0 : 4e-7 * std::pow(10.0, h->regulevel - 2);
    if (const int32_t fr = hom_factor(h); fr != kKktOk) {
      h->resp = fr == kKktStopped ? 7 : 1;  // a stop asked within the factor, or no space
      break;
    }
    // The predictor: the Newton direction to the solution of the embedding.
    const HomVec& v = h->v;
    for (int32_t j = 0; j < h->n; ++j)
      h->rcx[j] = -v.x[j] * v.s[j];
    for (int32_t u = 0; u < h->nup; ++u)
      h->rcu[u] = -v.xu[u] * v.su[u];
    h->rck = -v.tau * v.kappa;
    hom_direction(h, 1.0, &h->dp);
    double ap, ad;
    hom_maxstepsize(h, h->dp, &ap, &ad);
    const double alpha = std::min(ap, ad);
    if (alpha > 0.8) {
      cutidx = 0;
    } else if (alpha > 0.5) {
      cutidx = std::max(cutidx - 1, 0);
    }
    double gamma = 0.0;
    const double step = hom_searchstep(h, alpha, &cutidx, &gamma);
    if (step <= 0.0) {
      ++h->failrow;
      h->incregu = std::max(h->incregu, 1);
      h->cgapt = h->cgapf;
      h->meritfeast = h->meritfeas;
      continue;
    }
    h->failrow = 0;
    h->cgapt = (1.0 - step * (1.0 - gamma) * 0.5) * h->cgapf;
    h->meritfeast = std::max(1.0 - 0.1 * (1.0 - gamma) * step, 0.5) * h->meritfeas;
    // Delay: the model has not yet decided between a solution and a certificate.
    const double K = std::sqrt(par.tolinfeas);
    const double dr = h->dd.tau / v.tau - h->dd.kappa / v.kappa;
    const bool undecided = !(K * v.kappa < v.tau) && !(v.tau < K * K * K * v.kappa);
    h->delay = (step > 0.1 && step < 0.8 && undecided) ||
               (step > 0.1 && K * v.kappa >= v.tau && dr >= -0.5);
    hom_axpy(h, h->dd, step);
  }
  h->iter = std::min(h->iter, par.maxiter);
  if (h->resp == 8 || h->resp == 9) {
    if (hom_terminatelo(h, 0, 0)) h->resp = 0;
  }
}

}  // namespace vlr
