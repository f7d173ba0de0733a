// src/homo/homsrch.cpp: the Newton system of the homogeneous embedding reduced to the normal
// equations, the longest step inside the cone, the gap along a direction, and the update.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>

#include "homo/homdat.h"

namespace vlr {

namespace {

// y := A' x (n) and x := A t (m) by columns.
void hom_atx(const HomLp& lp, const double* ym, double* xn) {
  for (int32_t j = 0; j < lp.ncol; ++j) {
    double t = 0.0;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      t += lp.aval[p] * ym[lp.asub[p]];
    xn[j] = t;
  }
}
void hom_ax(const HomLp& lp, const double* xn, double* ym) {
  std::fill(ym, ym + lp.nrow, 0.0);
  for (int32_t j = 0; j < lp.ncol; ++j) {
    const double t = xn[j];
    if (t == 0.0) continue;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      ym[lp.asub[p]] += lp.aval[p] * t;
  }
}

}  // namespace

// The scaling of the iterate, its factor, and the part of every direction that does not depend
// on the right-hand side: v2 and dx2 with the homogeneous row's coefficient k1 of dtau.
int32_t hom_factor(hom* h) {
  const HomLp& lp = *h->lp;
  const int32_t n = h->n, m = h->m, nlo = h->nlo;
  const HomVec& v = h->v;
  for (int32_t j = 0; j < n; ++j) {
    double t = v.s[j] / v.x[j] + h->regu;
    h->chat[j] = lp.c[j];
    if (j >= nlo) {
      const int32_t u = j - nlo;
      t += v.su[u] / v.xu[u];
      h->chat[j] -= v.su[u] * lp.ub[u] / v.xu[u];
    }
    h->theta[j] = 1.0 / t;
  }
  int32_t r = VLR_kktfac_numfac(h->kkt, h->theta, h->regu);
  if (r != kKktOk) return r;
  for (int32_t j = 0; j < n; ++j)
    h->tn[j] = h->theta[j] * h->chat[j];
  hom_ax(lp, h->tn, h->v2);
  for (int32_t i = 0; i < m; ++i)
    h->v2[i] += lp.b[i];
  VLR_kktfac_solve(h->kkt, h->v2);
  hom_atx(lp, h->v2, h->dx2);
  double k1 = v.kappa / v.tau;
  for (int32_t i = 0; i < m; ++i)
    k1 += lp.b[i] * h->v2[i];
  for (int32_t j = 0; j < n; ++j) {
    h->dx2[j] = h->theta[j] * (h->dx2[j] - h->chat[j]);
    // The homogeneous row meets dx through c and through u'dsu: c + u su / xu = 2 c - chat.
    k1 -= (2.0 * lp.c[j] - h->chat[j]) * h->dx2[j];
  }
  for (int32_t u = 0; u < h->nup; ++u)
    k1 += lp.ub[u] * lp.ub[u] * v.su[u] / v.xu[u];
  h->k1 = k1;
  return kKktOk;
}

// The direction that takes each residual to (1 - eta) of itself and the complementarity rows
// to rcx, rcu and rck:
//   A dx - b dtau = eta rp,   dx + dxu - u dtau = eta rpu,   A'dy + ds - dsu - c dtau = eta rd,
//   b'dy - u'dsu - c'dx - dkappa = eta rg,   s dx + x ds = rcx, su dxu + xu dsu = rcu,
//   kappa dtau + tau dkappa = rck.
// Eliminating ds, dxu, dsu and dkappa leaves dx = D (A'dy - chat dtau - q3) and
// A D A' dy = eta rp + A D q3 + (b + A D chat) dtau; dtau comes from the homogeneous row.
void hom_direction(hom* h, double eta, HomVec* d) {
  const HomLp& lp = *h->lp;
  const int32_t n = h->n, m = h->m, nlo = h->nlo;
  const HomVec& v = h->v;
  double* q3 = d->s;  // the dual slack's space holds q3 until the end
  double k0 = -h->rck / v.tau;
  for (int32_t j = 0; j < n; ++j) {
    double q = eta * h->rd[j] - h->rcx[j] / v.x[j];
    if (j >= nlo) {
      const int32_t u = j - nlo;
      const double t = (h->rcu[u] - v.su[u] * eta * h->rpu[u]) / v.xu[u];
      q += t;
      k0 -= lp.ub[u] * t;
    }
    q3[j] = q;
    h->tn[j] = h->theta[j] * q;
  }
  hom_ax(lp, h->tn, d->y);
  for (int32_t i = 0; i < m; ++i)
    d->y[i] += eta * h->rp[i];
  VLR_kktfac_solve(h->kkt, d->y);
  hom_atx(lp, d->y, d->x);
  for (int32_t i = 0; i < m; ++i)
    k0 += lp.b[i] * d->y[i];
  for (int32_t j = 0; j < n; ++j) {
    d->x[j] = h->theta[j] * (d->x[j] - q3[j]);
    k0 -= (2.0 * lp.c[j] - h->chat[j]) * d->x[j];
  }
  const double dtau = (eta * h->rg - k0) / h->k1;
  d->tau = dtau;
  for (int32_t i = 0; i < m; ++i)
    d->y[i] += h->v2[i] * dtau;
  for (int32_t j = 0; j < n; ++j) {
    d->x[j] += h->dx2[j] * dtau;
    d->s[j] = (h->rcx[j] - v.s[j] * d->x[j]) / v.x[j];
  }
  for (int32_t u = 0; u < h->nup; ++u) {
    const int32_t j = nlo + u;
    d->xu[u] = eta * h->rpu[u] - d->x[j] + lp.ub[u] * dtau;
    d->su[u] = (h->rcu[u] - v.su[u] * d->xu[u]) / v.xu[u];
  }
  d->kappa = (h->rck - v.kappa * dtau) / v.tau;
}

// The longest steps that keep the primal (x, xu, tau) and the dual (s, su, kappa) parts
// non-negative; at most 1.
void hom_maxstepsize(const hom* h, const HomVec& d, double* ap, double* ad) {
  const HomVec& v = h->v;
  double a = 1.0, b = 1.0;
  for (int32_t j = 0; j < h->n; ++j) {
    if (d.x[j] < 0.0) a = std::min(a, -v.x[j] / d.x[j]);
    if (d.s[j] < 0.0) b = std::min(b, -v.s[j] / d.s[j]);
  }
  for (int32_t u = 0; u < h->nup; ++u) {
    if (d.xu[u] < 0.0) a = std::min(a, -v.xu[u] / d.xu[u]);
    if (d.su[u] < 0.0) b = std::min(b, -v.su[u] / d.su[u]);
  }
  if (d.tau < 0.0) a = std::min(a, -v.tau / d.tau);
  if (d.kappa < 0.0) b = std::min(b, -v.kappa / d.kappa);
  *ap = a;
  *ad = b;
}

double hom_gapat(const hom* h, const HomVec& d, double a) {
  const HomVec& v = h->v;
  double g = (v.tau + a * d.tau) * (v.kappa + a * d.kappa);
  for (int32_t j = 0; j < h->n; ++j)
    g += (v.x[j] + a * d.x[j]) * (v.s[j] + a * d.s[j]);
  for (int32_t u = 0; u < h->nup; ++u)
    g += (v.xu[u] + a * d.xu[u]) * (v.su[u] + a * d.su[u]);
  return g;
}

// The smallest pair product at step a over the mean product.
double hom_nbhdat(const hom* h, const HomVec& d, double a) {
  const HomVec& v = h->v;
  double g = (v.tau + a * d.tau) * (v.kappa + a * d.kappa), lo = g;
  for (int32_t j = 0; j < h->n; ++j) {
    const double p = (v.x[j] + a * d.x[j]) * (v.s[j] + a * d.s[j]);
    g += p;
    lo = std::min(lo, p);
  }
  for (int32_t u = 0; u < h->nup; ++u) {
    const double p = (v.xu[u] + a * d.xu[u]) * (v.su[u] + a * d.su[u]);
    g += p;
    lo = std::min(lo, p);
  }
  return g > 0.0 ? lo / (g / h->k) : 0.0;
}

void hom_axpy(hom* h, const HomVec& d, double a) {
  HomVec& v = h->v;
  for (int32_t j = 0; j < h->n; ++j) {
    v.x[j] += a * d.x[j];
    v.s[j] += a * d.s[j];
  }
  for (int32_t u = 0; u < h->nup; ++u) {
    v.xu[u] += a * d.xu[u];
    v.su[u] += a * d.su[u];
  }
  for (int32_t i = 0; i < h->m; ++i)
    v.y[i] += a * d.y[i];
  v.tau += a * d.tau;
  v.kappa += a * d.kappa;
  // Round-off must not put a pair on the boundary: the next scaling divides by it.
  const double floor = std::numeric_limits<double>::min() * 1e10;
  for (int32_t j = 0; j < h->n; ++j) {
    v.x[j] = std::max(v.x[j], floor);
    v.s[j] = std::max(v.s[j], floor);
  }
  for (int32_t u = 0; u < h->nup; ++u) {
    v.xu[u] = std::max(v.xu[u], floor);
    v.su[u] = std::max(v.su[u], floor);
  }
  v.tau = std::max(v.tau, floor);
  v.kappa = std::max(v.kappa, floor);
}

}  // namespace vlr
