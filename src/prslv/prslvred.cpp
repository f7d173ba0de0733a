// src/prslv/prslvred.cpp: the reductions: free, empty and singleton rows, redundant row sides,
// forcing rows, fixed, empty and dominated columns, and the infeasibility they reveal. Each
// pushes its undo record before it changes the problem.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>

#include "prslv/prslvdat.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// Tests that keep the problem exact: a side is redundant, or a row forcing, only when the
// activity bound reaches it within this relative margin, far inside the primal tolerance.
double prslv_tight(double b) {
  return std::isinf(b) ? 0.0 : 1e-9 * (1.0 + std::fabs(b));
}

// a - b beyond the primal tolerance, relative to the size of b.
bool prslv_isinfeasible(const PrslvParam& param, double a, double b) {
  return a - b > param.tolx * (1.0 + std::fabs(b));
}

int32_t prslv_push(prslv* p, int32_t kind, std::initializer_list<int32_t> ints,
                   std::initializer_list<double> doubles) {
  int32_t* is = nullptr;
  double* ds = nullptr;
  const int32_t r = VLR_prslv_beginpushstk(p, kind, static_cast<int64_t>(ints.size()),
                                           static_cast<int64_t>(doubles.size()), &is, &ds);
  if (r != kPrslvOk) return r;
  int64_t k = 0;
  for (int32_t v : ints)
    is[k++] = v;
  k = 0;
  for (double v : doubles)
    ds[k++] = v;
  VLR_prslv_endpushstk(p);
  return kPrslvOk;
}

void prslv_removerow(prslv* p, int32_t i) {
  p->rowalive[i] = 0;
  for (int64_t k = p->rowbeg[i]; k < p->rowbeg[i + 1]; ++k) {
    if (p->colalive[p->rowidx[k]]) --p->varnz[p->rowidx[k]];
  }
}

// Takes column j out at value v: its share moves into the row bounds and the constant.
void prslv_removecol(prslv* p, int32_t j, double v) {
  p->colalive[j] = 0;
  p->xfix[j] = v;
  p->cfix += p->c[j] * v;
  for (int64_t k = p->colbeg[j]; k < p->colbeg[j + 1]; ++k) {
    const int32_t i = p->colidx[k];
    if (!p->rowalive[i]) continue;
    --p->connz[i];
    const double s = p->colval[k] * v;
    if (p->rl[i] > -kInf) p->rl[i] -= s;
    if (p->ru[i] < kInf) p->ru[i] -= s;
  }
}

int32_t prslv_freerow(prslv* p, int32_t i, int32_t kind) {
  const int32_t r = prslv_push(p, kind, {i}, {});
  if (r == kPrslvOk) prslv_removerow(p, i);
  return r;
}

int32_t prslv_fixcol(prslv* p, int32_t j, double v, int32_t kind) {
  const int32_t r = prslv_push(p, kind, {j}, {v});
  if (r == kPrslvOk) prslv_removecol(p, j, v);
  return r;
}

void prslv_infeasible(PrslvStat* stat) {
  if (stat->prosta == 0) stat->prosta = VLR_PRO_STA_PRIM_INFEAS;
}

// A row with one living entry a x_j becomes bounds of x_j. A side is taken from the row only
// where it is tighter than the column's own; crossing bounds within the tolerance meet at the
// column's own bound.
int32_t prslv_consin(const PrslvParam& param, prslv* p, int32_t i, int32_t kind, PrslvStat* stat) {
  int32_t j = -1;
  double a = 0.0;
  for (int64_t k = p->rowbeg[i]; k < p->rowbeg[i + 1]; ++k) {
    if (p->colalive[p->rowidx[k]]) {
      j = p->rowidx[k];
      a = p->rowval[k];
    }
  }
  // A tiny coefficient would turn a modest row bound into a huge column bound: leave the row.
  if (j < 0 || std::fabs(a) < 1e-7) return kPrslvOk;
  const double lo = a > 0 ? p->rl[i] / a : p->ru[i] / a;
  const double hi = a > 0 ? p->ru[i] / a : p->rl[i] / a;
  int32_t flags = 0;
  double nl = p->cl[j], nu = p->cu[j];
  if (lo > nl + prslv_tight(nl)) {
    nl = lo;
    flags |= kPrslvSinLower;
  }
  if (hi < nu - prslv_tight(nu)) {
    nu = hi;
    flags |= kPrslvSinUpper;
  }
  if (nl > nu) {
    if (prslv_isinfeasible(param, nl, nu)) {
      prslv_infeasible(stat);
      return kPrslvOk;
    }
    // Within the tolerance: both sides meet at the column's own bound where there is one.
    if (flags & kPrslvSinLower) {
      nl = nu;
      flags &= ~kPrslvSinLower;
    } else {
      nu = nl;
      flags &= ~kPrslvSinUpper;
    }
  }
  const int32_t r = prslv_push(p, kind, {i, j, flags}, {a, p->cl[j], p->cu[j]});
  if (r != kPrslvOk) return r;
  p->cl[j] = nl;
  p->cu[j] = nu;
  prslv_removerow(p, i);
  ++stat->numconsin;
  return kPrslvOk;
}

// Activity bounds of row i over its living columns, with the counts of infinite contributions.
void prslv_activity(const prslv* p, int32_t i, double* minact, double* maxact, int32_t* nlo,
                    int32_t* nup) {
  *minact = *maxact = 0.0;
  *nlo = *nup = 0;
  for (int64_t k = p->rowbeg[i]; k < p->rowbeg[i + 1]; ++k) {
    const int32_t j = p->rowidx[k];
    if (!p->colalive[j]) continue;
    const double a = p->rowval[k];
    const double l = p->cl[j], u = p->cu[j];
    const double forlo = a > 0 ? l : u, forup = a > 0 ? u : l;
    if (std::isinf(forlo)) {
      ++*nlo;
    } else {
      *minact += a * forlo;
    }
    if (std::isinf(forup)) {
      ++*nup;
    } else {
      *maxact += a * forup;
    }
  }
}

// A row whose least activity is its upper bound (side 1), or whose greatest is its lower bound
// (side 0), holds every column at the bound that gives it: the columns are fixed there and the
// row goes. One record holds the row, the columns and their values.
int32_t prslv_conforce(prslv* p, int32_t i, int32_t side, PrslvStat* stat) {
  int32_t* is = nullptr;
  double* ds = nullptr;
  const int32_t k = p->connz[i];
  const int32_t r = VLR_prslv_beginpushstk(p, kPrslvConForce, 3 + k, k, &is, &ds);
  if (r != kPrslvOk) return r;
  is[0] = i;
  is[1] = side;
  is[2] = k;
  int32_t at = 0;
  for (int64_t e = p->rowbeg[i]; e < p->rowbeg[i + 1]; ++e) {
    const int32_t j = p->rowidx[e];
    if (!p->colalive[j]) continue;
    const double a = p->rowval[e];
    is[3 + at] = j;
    ds[at] = (side == 1) == (a > 0) ? p->cl[j] : p->cu[j];
    ++at;
  }
  VLR_prslv_endpushstk(p);
  prslv_removerow(p, i);
  for (int32_t q = 0; q < k; ++q)
    prslv_removecol(p, is[3 + q], ds[q]);
  ++stat->numforcing;
  return kPrslvOk;
}

// One row of the pass, by its count of living entries.
int32_t prslv_checkcon(const PrslvParam& param, prslv* p, int32_t i, PrslvStat* stat,
                       int32_t* changed) {
  if (p->connz[i] == 0) {
    if (prslv_isinfeasible(param, p->rl[i], 0.0) || prslv_isinfeasible(param, 0.0, p->ru[i])) {
      prslv_infeasible(stat);
      return kPrslvOk;
    }
    ++stat->numemptycon;
    *changed = 1;
    return prslv_freerow(p, i, kPrslvConRelaxFree);
  }
  if (p->connz[i] == 1) {
    const int32_t before = stat->numconsin;
    const int32_t r = prslv_consin(param, p, i, kPrslvConSin, stat);
    if (stat->numconsin != before) *changed = 1;
    return r;
  }
  double minact = 0, maxact = 0;
  int32_t nlo = 0, nup = 0;
  prslv_activity(p, i, &minact, &maxact, &nlo, &nup);
  const double l = p->rl[i], u = p->ru[i];
  if ((nlo == 0 && prslv_isinfeasible(param, minact, u)) ||
      (nup == 0 && prslv_isinfeasible(param, l, maxact))) {
    prslv_infeasible(stat);
    return kPrslvOk;
  }
  if (nlo == 0 && u < kInf && minact >= u - prslv_tight(u)) {
    *changed = 1;
    return prslv_conforce(p, i, 1, stat);
  }
  if (nup == 0 && l > -kInf && maxact <= l + prslv_tight(l)) {
    *changed = 1;
    return prslv_conforce(p, i, 0, stat);
  }
  const bool droplo = l > -kInf && nlo == 0 && minact >= l - prslv_tight(l);
  const bool dropup = u < kInf && nup == 0 && maxact <= u + prslv_tight(u);
  if (droplo && dropup) {
    *changed = 1;
    ++stat->numfreecon;
    return prslv_freerow(p, i, kPrslvConRelaxFree);
  }
  if (droplo && u < kInf) {
    *changed = 1;
    ++stat->numrelaxlo;
    const int32_t r = prslv_push(p, kPrslvConRelaxLo, {i}, {l});
    if (r == kPrslvOk) p->rl[i] = -kInf;
    return r;
  }
  if (dropup && l > -kInf) {
    *changed = 1;
    ++stat->numrelaxup;
    const int32_t r = prslv_push(p, kPrslvConRelaxUp, {i}, {u});
    if (r == kPrslvOk) p->ru[i] = kInf;
    return r;
  }
  return kPrslvOk;
}

// A column without living entries goes to the bound its cost favours; a favoured side that is
// missing makes the problem dual infeasible (unbounded when it is feasible at all).
int32_t prslv_emptycol(prslv* p, int32_t j, PrslvStat* stat) {
  const double c = p->c[j], l = p->cl[j], u = p->cu[j];
  // Even a tiny cost towards a missing side is left to the solve of the problem as given.
  if ((c > 0.0 && l == -kInf) || (c < 0.0 && u == kInf)) {
    if (stat->prosta == 0) stat->prosta = VLR_PRO_STA_DUAL_INFEAS;
    return kPrslvOk;
  }
  ++stat->numemptyvar;
  if (c > 0.0 && l > -kInf) return prslv_fixcol(p, j, l, kPrslvVarFixLo);
  if (c < 0.0 && u < kInf) return prslv_fixcol(p, j, u, kPrslvVarFixUp);
  if (l > -kInf) return prslv_fixcol(p, j, l, kPrslvVarFixLo);
  if (u < kInf) return prslv_fixcol(p, j, u, kPrslvVarFixUp);
  return prslv_fixcol(p, j, 0.0, kPrslvVarFixZero);
}

// The duals of the rows are bounded by the rows' sides: y >= 0 for a row with a lower side only,
// y <= 0 with an upper side only. When every dual those bounds allow makes the reduced cost of
// column j positive, x_j sits at its lower bound in every optimum; negative, at its upper.
int32_t prslv_dominated(const PrslvParam& param, prslv* p, int32_t j, PrslvStat* stat,
                        int32_t* changed) {
  double sumlo = 0.0, sumup = 0.0;  // least and greatest of a_j'y
  bool lovalid = true, upvalid = true;
  for (int64_t k = p->colbeg[j]; k < p->colbeg[j + 1] && (lovalid || upvalid); ++k) {
    const int32_t i = p->colidx[k];
    if (!p->rowalive[i]) continue;
    const double a = p->colval[k];
    if (std::fabs(a) <= param.tolaij) continue;
    const bool haslo = p->rl[i] > -kInf, hasup = p->ru[i] < kInf;
    // y in [ylo, yup]: [0, inf) with a lower side only, (-inf, 0] with an upper side only.
    const bool ylofinite = haslo && !hasup, yupfinite = hasup && !haslo;
    if (a > 0) {
      lovalid = lovalid && ylofinite;
      upvalid = upvalid && yupfinite;
    } else {
      lovalid = lovalid && yupfinite;
      upvalid = upvalid && ylofinite;
    }
  }
  // With both finite dual bounds 0, the sums are 0 when valid.
  const double c = p->c[j];
  const double dmax = c - sumlo, dmin = c - sumup;
  if (upvalid && dmin > param.tols) {
    if (p->cl[j] == -kInf) {
      if (stat->prosta == 0) stat->prosta = VLR_PRO_STA_DUAL_INFEAS;
      return kPrslvOk;
    }
    *changed = 1;
    ++stat->numdominated;
    return prslv_fixcol(p, j, p->cl[j], kPrslvVarFixLo);
  }
  if (lovalid && dmax < -param.tols) {
    if (p->cu[j] == kInf) {
      if (stat->prosta == 0) stat->prosta = VLR_PRO_STA_DUAL_INFEAS;
      return kPrslvOk;
    }
    *changed = 1;
    ++stat->numdominated;
    return prslv_fixcol(p, j, p->cu[j], kPrslvVarFixUp);
  }
  return kPrslvOk;
}

// A free column j with one entry a, in an equation i: x_j = (b - sum a_ik x_k) / a, so the row
// and the column go, and the column's cost moves onto the row's other columns. Only a pivot of
// a reasonable size among its row's entries is taken, to keep the substitution stable.
int32_t prslv_elimination(prslv* p, int32_t j, PrslvStat* stat, int32_t* changed) {
  int32_t i = -1;
  double a = 0.0;
  for (int64_t k = p->colbeg[j]; k < p->colbeg[j + 1]; ++k) {
    if (p->rowalive[p->colidx[k]]) {
      i = p->colidx[k];
      a = p->colval[k];
    }
  }
  if (i < 0 || p->rl[i] != p->ru[i] || std::isinf(p->rl[i])) return kPrslvOk;
  double amax = 0.0;
  for (int64_t k = p->rowbeg[i]; k < p->rowbeg[i + 1]; ++k) {
    if (p->colalive[p->rowidx[k]]) amax = std::max(amax, std::fabs(p->rowval[k]));
  }
  if (std::fabs(a) < 0.01 * amax) return kPrslvOk;
  const double cj = p->c[j];
  const int32_t r = prslv_push(p, kPrslvElimination, {i, j}, {a, cj});
  if (r != kPrslvOk) return r;
  if (cj != 0.0) {
    for (int64_t k = p->rowbeg[i]; k < p->rowbeg[i + 1]; ++k) {
      const int32_t q = p->rowidx[k];
      if (q != j && p->colalive[q]) p->c[q] -= cj * p->rowval[k] / a;
    }
    p->cfix += cj * p->rl[i] / a;
  }
  prslv_removerow(p, i);
  p->colalive[j] = 0;
  ++stat->numeliminated;
  *changed = 1;
  return kPrslvOk;
}

}  // namespace

int32_t VLR_prslv_init(const PrslvParam& param, prslv* p, PrslvStat* stat) {
  for (int32_t i = 0; i < p->numcon; ++i) {
    if (prslv_isinfeasible(param, p->rl[i], p->ru[i])) prslv_infeasible(stat);
  }
  for (int32_t j = 0; j < p->numvar; ++j) {
    if (prslv_isinfeasible(param, p->cl[j], p->cu[j])) prslv_infeasible(stat);
  }
  if (stat->prosta != 0) return kPrslvOk;
  int32_t r = kPrslvOk;
  for (int32_t i = 0; i < p->numcon && r == kPrslvOk; ++i) {
    if (p->rl[i] == -kInf && p->ru[i] == kInf) {
      ++stat->numfreecon;
      r = prslv_freerow(p, i, kPrslvInitialFreeCon);
    }
  }
  for (int32_t j = 0; j < p->numvar && r == kPrslvOk; ++j) {
    if (p->cl[j] == p->cu[j]) {
      ++stat->numfixedvar;
      r = prslv_fixcol(p, j, p->cl[j], kPrslvInitialVarFix);
    }
  }
  for (int32_t i = 0; i < p->numcon && r == kPrslvOk && stat->prosta == 0; ++i) {
    if (p->rowalive[i] && p->connz[i] == 1) {
      r = prslv_consin(param, p, i, kPrslvInitialConSin, stat);
    }
  }
  return r;
}

int32_t VLR_prslv_checkproblem(const PrslvParam& param, prslv* p, PrslvStat* stat,
                               int32_t* changed) {
  *changed = 0;
  int32_t r = kPrslvOk;
  for (int32_t i = 0; i < p->numcon && r == kPrslvOk && stat->prosta == 0; ++i) {
    if (p->rowalive[i]) r = prslv_checkcon(param, p, i, stat, changed);
  }
  for (int32_t j = 0; j < p->numvar && r == kPrslvOk && stat->prosta == 0; ++j) {
    if (!p->colalive[j]) continue;
    if (p->cl[j] == p->cu[j]) {
      *changed = 1;
      ++stat->numfixedvar;
      r = prslv_fixcol(p, j, p->cl[j], kPrslvVarFix);
    } else if (p->varnz[j] == 0) {
      *changed = 1;
      r = prslv_emptycol(p, j, stat);
    } else if (p->varnz[j] == 1 && p->cl[j] == -kInf && p->cu[j] == kInf &&
               param.eliminatortries != 0) {
      r = prslv_elimination(p, j, stat, changed);
    } else if (!param.updateprimal && !param.updatedual) {
      r = prslv_dominated(param, p, j, stat, changed);
    }
  }
  return r;
}

}  // namespace vlr
