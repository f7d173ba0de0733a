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

// The eliminator substitutes columns with at most this many living entries.
constexpr int32_t kElimMaxCol = 4;
// and, when they have other rows to go into, an equation of at most this many.
constexpr int32_t kElimMaxRow = 64;

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
  for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
    if (p->colalive[p->row.idx[k]]) --p->varnz[p->row.idx[k]];
  }
}

// Takes column j out at value v: its share moves into the row bounds and the constant.
void prslv_removecol(prslv* p, int32_t j, double v) {
  p->colalive[j] = 0;
  p->xfix[j] = v;
  p->cfix += p->c[j] * v;
  for (int64_t k = p->col.beg[j]; k < VLR_prslv_lineend(p->col, j); ++k) {
    const int32_t i = p->col.idx[k];
    if (!p->rowalive[i]) continue;
    --p->connz[i];
    const double s = p->col.val[k] * v;
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

// Narrows [*nl, *nu] by the implied [lo, hi] where that is tighter, flagging each side that
// moved. False when the two cross beyond the primal tolerance; within it both sides meet at the
// column's own bound, and the side that moved keeps its flag (its source may take the column's
// dual in postsolve).
bool prslv_narrow(const PrslvParam& param, double lo, double hi, double* nl, double* nu,
                  int32_t* flags) {
  if (lo > *nl + prslv_tight(*nl)) {
    *nl = lo;
    *flags |= kPrslvSinLower;
  }
  if (hi < *nu - prslv_tight(*nu)) {
    *nu = hi;
    *flags |= kPrslvSinUpper;
  }
  if (*nl > *nu) {
    if (prslv_isinfeasible(param, *nl, *nu)) return false;
    if (*flags & kPrslvSinLower) {
      *nl = *nu;
    } else {
      *nu = *nl;
    }
  }
  return true;
}

// A row with one living entry a x_j becomes bounds of x_j. A side is taken from the row only
// where it is tighter than the column's own; crossing bounds within the tolerance meet at the
// column's own bound.
int32_t prslv_consin(const PrslvParam& param, prslv* p, int32_t i, int32_t kind, PrslvStat* stat) {
  int32_t j = -1;
  double a = 0.0;
  for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
    if (p->colalive[p->row.idx[k]]) {
      j = p->row.idx[k];
      a = p->row.val[k];
    }
  }
  // A tiny coefficient would turn a modest row bound into a huge column bound: leave the row.
  if (j < 0 || std::fabs(a) < 1e-7) return kPrslvOk;
  const double lo = a > 0 ? p->rl[i] / a : p->ru[i] / a;
  const double hi = a > 0 ? p->ru[i] / a : p->rl[i] / a;
  int32_t flags = 0;
  double nl = p->cl[j], nu = p->cu[j];
  if (!prslv_narrow(param, lo, hi, &nl, &nu, &flags)) {
    prslv_infeasible(stat);
    return kPrslvOk;
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
  for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
    const int32_t j = p->row.idx[k];
    if (!p->colalive[j]) continue;
    const double a = p->row.val[k];
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
  for (int64_t e = p->row.beg[i]; e < VLR_prslv_lineend(p->row, i); ++e) {
    const int32_t j = p->row.idx[e];
    if (!p->colalive[j]) continue;
    const double a = p->row.val[e];
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

int32_t prslv_doubleton(const PrslvParam& param, prslv* p, int32_t i, PrslvStat* stat,
                        int32_t* changed);

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
  if (p->connz[i] == 2 && p->rl[i] == p->ru[i] && param.eliminatortries != 0) {
    const int32_t r = prslv_doubleton(param, p, i, stat, changed);
    if (r != kPrslvOk || !p->rowalive[i] || stat->prosta != 0) return r;
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

// Bounds on the duals that every dual feasible y meets: y >= 0 for a row with a lower side only,
// y <= 0 with an upper side only, and from each column with one living entry a in row i, which
// needs c - a y_i >= 0 without an upper bound and <= 0 without a lower one.
void prslv_dualbounds(const PrslvParam& param, const prslv* p, double* ylo, double* yup) {
  for (int32_t i = 0; i < p->numcon; ++i) {
    const bool haslo = p->rl[i] > -kInf, hasup = p->ru[i] < kInf;
    ylo[i] = haslo && !hasup ? 0.0 : -kInf;
    yup[i] = hasup && !haslo ? 0.0 : kInf;
  }
  for (int32_t j = 0; j < p->numvar; ++j) {
    if (!p->colalive[j] || p->varnz[j] != 1) continue;
    int32_t i = -1;
    double a = 0.0;
    for (int64_t k = p->col.beg[j]; k < VLR_prslv_lineend(p->col, j); ++k) {
      if (p->rowalive[p->col.idx[k]]) {
        i = p->col.idx[k];
        a = p->col.val[k];
        break;
      }
    }
    if (i < 0 || std::fabs(a) <= param.tolaij) continue;
    const double t = p->c[j] / a;
    // a y_i <= c without an upper bound, a y_i >= c without a lower one.
    if (p->cu[j] == kInf)
      (a > 0 ? yup[i] : ylo[i]) = a > 0 ? std::min(yup[i], t) : std::max(ylo[i], t);
    if (p->cl[j] == -kInf)
      (a > 0 ? ylo[i] : yup[i]) = a > 0 ? std::max(ylo[i], t) : std::min(yup[i], t);
  }
}

// With the duals in [ylo, yup] (null: the bounds of the rows' sides alone): when every dual
// allowed makes the reduced cost of column j positive, x_j sits at its lower bound in every
// optimum; negative, at its upper. A singleton column's own bound is not used on itself.
int32_t prslv_dominated(const PrslvParam& param, prslv* p, int32_t j, const double* ylo,
                        const double* yup, PrslvStat* stat, int32_t* changed) {
  double sumlo = 0.0, sumup = 0.0;  // least and greatest of a_j'y
  bool lovalid = true, upvalid = true;
  const bool single = p->varnz[j] == 1;
  for (int64_t k = p->col.beg[j]; k < VLR_prslv_lineend(p->col, j) && (lovalid || upvalid); ++k) {
    const int32_t i = p->col.idx[k];
    if (!p->rowalive[i]) continue;
    const double a = p->col.val[k];
    if (std::fabs(a) <= param.tolaij) continue;
    double lo = ylo != nullptr ? ylo[i] : 0.0, up = yup != nullptr ? yup[i] : 0.0;
    if (single || ylo == nullptr) {
      const bool haslo = p->rl[i] > -kInf, hasup = p->ru[i] < kInf;
      lo = haslo && !hasup ? 0.0 : -kInf;
      up = hasup && !haslo ? 0.0 : kInf;
    }
    const double l = a > 0 ? a * lo : a * up, u = a > 0 ? a * up : a * lo;
    lovalid = lovalid && l > -kInf;
    upvalid = upvalid && u < kInf;
    if (lovalid) sumlo += l;
    if (upvalid) sumup += u;
  }
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

// The living entry of column j in row i, or zero.
double prslv_aij(const prslv* p, int32_t i, int32_t j) {
  const int64_t at = VLR_prslv_findentry(p->row, i, j);
  return at >= 0 ? p->row.val[at] : 0.0;
}

// Bounds row i, rl <= a x_j + rest <= ru, implies on x_j over the range the rest can take; only
// the sides asked for (wantlo, wanthi), the others infinite.
void prslv_impliedbounds(const prslv* p, int32_t i, int32_t j, double a, bool wantlo, bool wanthi,
                         double* lo, double* hi) {
  // a x_j in [rl - maxrest, ru - minrest]; divided by a, the sides swap when a < 0. The row's
  // lower side needs the rest's greatest value, its upper side the least: once the ones asked
  // for are infinite, the row implies nothing more.
  const bool needmax = p->rl[i] > -kInf && (a > 0 ? wantlo : wanthi);
  const bool needmin = p->ru[i] < kInf && (a > 0 ? wanthi : wantlo);
  double minrest = 0.0, maxrest = 0.0;
  int32_t nlo = 0, nup = 0;
  for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
    if ((!needmax || nup > 0) && (!needmin || nlo > 0)) break;
    const int32_t q = p->row.idx[k];
    if (q == j || !p->colalive[q]) continue;
    const double aq = p->row.val[k];
    const double forlo = aq > 0 ? p->cl[q] : p->cu[q], forup = aq > 0 ? p->cu[q] : p->cl[q];
    if (std::isinf(forlo)) {
      ++nlo;
    } else {
      minrest += aq * forlo;
    }
    if (std::isinf(forup)) {
      ++nup;
    } else {
      maxrest += aq * forup;
    }
  }
  const double axlo = needmax && nup == 0 ? p->rl[i] - maxrest : -kInf;
  const double axhi = needmin && nlo == 0 ? p->ru[i] - minrest : kInf;
  if (a > 0) {
    *lo = std::isinf(axlo) ? -kInf : axlo / a;
    *hi = std::isinf(axhi) ? kInf : axhi / a;
  } else {
    *lo = std::isinf(axhi) ? -kInf : axhi / a;
    *hi = std::isinf(axlo) ? kInf : axlo / a;
  }
}

// Whether the rows of column j keep x_j inside its own bounds for every value the rest of each
// row can take: then the column's bounds may be dropped and it counts as free.
bool prslv_impliedfree(const prslv* p, int32_t j) {
  const double l = p->cl[j], u = p->cu[j];
  bool lo = l == -kInf, up = u == kInf;
  for (int64_t k = p->col.beg[j]; k < VLR_prslv_lineend(p->col, j) && !(lo && up); ++k) {
    const int32_t i = p->col.idx[k];
    if (!p->rowalive[i]) continue;
    double ilo = -kInf, ihi = kInf;
    prslv_impliedbounds(p, i, j, p->col.val[k], !lo, !up, &ilo, &ihi);
    lo = lo || ilo >= l - prslv_tight(l);
    up = up || ihi <= u + prslv_tight(u);
  }
  return lo && up;
}

int32_t prslv_addtoentry(const PrslvParam& param, prslv* p, int32_t s, int32_t j, double delta);

// A free (or implied free) column j of an equation i, a x_j + rest = b, with at most
// kElimMaxCol - 1 other entries a_rj in rows r: x_j = (b - rest) / a, so row i and the column go,
// the column's cost moves onto the row's other columns, and each row r takes row i times
// -a_rj / a in place of its entry of x_j. Row i's pivot must be of a reasonable size among its
// entries and against each a_rj, and the substitution may add at most param.elimfill entries to
// the matrix beyond those it removes (row i and column j). The record keeps the costs and, per
// row r, the entries it changes:
//   ints [i j nq q1..q_nq nr (r how1..how_nq) per r],
//   doubles [a cj b c1..c_nq (a_rj old1..old_nq) per r].
int32_t prslv_elimination(const PrslvParam& param, prslv* p, int32_t j, PrslvStat* stat,
                          int32_t* changed) {
  int32_t rows[kElimMaxCol];
  double vals[kElimMaxCol];
  int32_t found = 0;
  for (int64_t k = p->col.beg[j]; k < VLR_prslv_lineend(p->col, j); ++k) {
    if (!p->rowalive[p->col.idx[k]]) continue;
    if (found == kElimMaxCol) return kPrslvOk;
    rows[found] = p->col.idx[k];
    vals[found++] = p->col.val[k];
  }
  if (found == 0) return kPrslvOk;
  // The pivot row: an equation that implies the column's bounds, the shorter one first.
  int32_t pick = -1;
  for (int32_t t = 0; t < found; ++t) {
    const int32_t i = rows[t];
    if (p->rl[i] != p->ru[i] || std::isinf(p->rl[i])) continue;
    double other = 0.0;
    for (int32_t s = 0; s < found; ++s)
      if (s != t) other = std::max(other, std::fabs(vals[s]));
    if (other > 10.0 * std::fabs(vals[t])) continue;
    if (pick < 0 || p->connz[i] < p->connz[rows[pick]]) pick = t;
  }
  if (pick < 0) return kPrslvOk;
  const int32_t i = rows[pick];
  // Substituted into other rows, a long equation makes them long too.
  if (found > 1 && p->connz[i] > kElimMaxRow) return kPrslvOk;
  const double a = vals[pick];
  double amax = 0.0;
  for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
    if (p->colalive[p->row.idx[k]]) amax = std::max(amax, std::fabs(p->row.val[k]));
  }
  if (std::fabs(a) < 0.001 * amax || !prslv_impliedfree(p, j)) return kPrslvOk;
  // The other rows in the order of the column, the pivot row taken out.
  rows[pick] = rows[found - 1];
  vals[pick] = vals[found - 1];
  const int32_t nr = found - 1;
  const int32_t nq = p->connz[i] - 1;
  if (nr > 0) {
    // Fill: columns of row i that a row r lacks; each needs a place in row r and in its column.
    int32_t fill = 0;
    for (int32_t s = 0; s < nr; ++s) {
      int32_t rowfill = 0;
      for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
        const int32_t q = p->row.idx[k];
        if (q != j && p->colalive[q] && VLR_prslv_findentry(p->row, rows[s], q) < 0) ++rowfill;
      }
      fill += rowfill;
      if (fill > param.elimfill + nq + 1 + nr) return kPrslvOk;
      if (!VLR_prslv_makeroom(p->sys, &p->row, rows[s], rowfill)) return kPrslvNoSpace;
    }
    for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
      const int32_t q = p->row.idx[k];
      if (q != j && p->colalive[q] && !VLR_prslv_makeroom(p->sys, &p->col, q, nr)) {
        return kPrslvNoSpace;
      }
    }
  }
  const double cj = p->c[j], b = p->rl[i];
  const int32_t size = 4 + nq + nr * (1 + nq);
  int32_t* is = nullptr;
  double* ds = nullptr;
  const int32_t res = VLR_prslv_beginpushstk(p, kPrslvElimination, size, size - 1, &is, &ds);
  if (res != kPrslvOk) return res;
  is[0] = i;
  is[1] = j;
  is[2] = nq;
  is[3 + nq] = nr;
  ds[0] = a;
  ds[1] = cj;
  ds[2] = b;
  // The part of the record of the column's s-th other row.
  auto rint = [&](int32_t s) { return is + 4 + nq + s * (1 + nq); };
  auto rdbl = [&](int32_t s) { return ds + 3 + nq + s * (1 + nq); };
  int32_t at = 0;
  for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
    const int32_t q = p->row.idx[k];
    if (q == j || !p->colalive[q]) continue;
    is[3 + at] = q;
    ds[3 + at] = p->c[q];
    for (int32_t s = 0; s < nr; ++s) {
      rdbl(s)[1 + at] = prslv_aij(p, rows[s], q);
      rint(s)[1 + at] = prslv_addtoentry(param, p, rows[s], q, -(vals[s] / a) * p->row.val[k]);
    }
    ++at;
  }
  for (int32_t s = 0; s < nr; ++s) {
    const int32_t r = rows[s];
    rint(s)[0] = r;
    rdbl(s)[0] = vals[s];
    const double mult = vals[s] / a;
    --p->connz[r];  // its entry of column j goes with the column
    if (p->rl[r] > -kInf) p->rl[r] -= mult * b;
    if (p->ru[r] < kInf) p->ru[r] -= mult * b;
  }
  VLR_prslv_endpushstk(p);
  if (cj != 0.0) {
    for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
      const int32_t q = p->row.idx[k];
      if (q != j && p->colalive[q]) p->c[q] -= cj * p->row.val[k] / a;
    }
    p->cfix += cj * b / a;
  }
  prslv_removerow(p, i);
  p->colalive[j] = 0;
  ++stat->numeliminated;
  *changed = 1;
  return kPrslvOk;
}

// A column j with one entry a, in an equation i, a x_j + rest = b, acts as the row's slack: the
// column goes, the row's bounds become the range rest takes as x_j runs over its own, and the
// column's cost moves onto the row's other columns. The record keeps the costs it changes:
//   ints [i j nq q1..q_nq], doubles [a cj b c1..c_nq].
int32_t prslv_slackcol(prslv* p, int32_t j, PrslvStat* stat, int32_t* changed) {
  int32_t i = -1;
  double a = 0.0;
  for (int64_t k = p->col.beg[j]; k < VLR_prslv_lineend(p->col, j); ++k) {
    if (p->rowalive[p->col.idx[k]]) {
      i = p->col.idx[k];
      a = p->col.val[k];
    }
  }
  if (i < 0 || p->rl[i] != p->ru[i] || std::isinf(p->rl[i]) || p->connz[i] < 2) return kPrslvOk;
  double amax = 0.0;
  for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
    if (p->colalive[p->row.idx[k]]) amax = std::max(amax, std::fabs(p->row.val[k]));
  }
  if (std::fabs(a) < 0.01 * amax) return kPrslvOk;
  const double cj = p->c[j], b = p->rl[i], l = p->cl[j], u = p->cu[j];
  // rest = b - a x_j: its least value comes from x_j's upper bound when a > 0.
  const double fromu = std::isinf(u) ? (a > 0 ? -kInf : kInf) : b - a * u;
  const double froml = std::isinf(l) ? (a > 0 ? kInf : -kInf) : b - a * l;
  const int32_t nq = p->connz[i] - 1;
  int32_t* is = nullptr;
  double* ds = nullptr;
  const int32_t res = VLR_prslv_beginpushstk(p, kPrslvSlackCol, 3 + nq, 3 + nq, &is, &ds);
  if (res != kPrslvOk) return res;
  is[0] = i;
  is[1] = j;
  is[2] = nq;
  ds[0] = a;
  ds[1] = cj;
  ds[2] = b;
  int32_t at = 0;
  for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
    const int32_t q = p->row.idx[k];
    if (q == j || !p->colalive[q]) continue;
    is[3 + at] = q;
    ds[3 + at] = p->c[q];
    ++at;
  }
  VLR_prslv_endpushstk(p);
  if (cj != 0.0) {
    for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
      const int32_t q = p->row.idx[k];
      if (q != j && p->colalive[q]) p->c[q] -= cj * p->row.val[k] / a;
    }
    p->cfix += cj * b / a;
  }
  p->rl[i] = a > 0 ? fromu : froml;
  p->ru[i] = a > 0 ? froml : fromu;
  p->colalive[j] = 0;
  --p->connz[i];
  ++stat->numslackcol;
  *changed = 1;
  return kPrslvOk;
}

// Bounds that x_j = (beta - x_k) / r takes from l <= x_k <= u (r the ratio a_ij / a_ik).
void prslv_boundsthrough(double beta, double r, double l, double u, double* lo, double* hi) {
  const double fromu = std::isinf(u) ? (r > 0 ? -kInf : kInf) : (beta - u) / r;
  const double froml = std::isinf(l) ? (r > 0 ? kInf : -kInf) : (beta - l) / r;
  *lo = r > 0 ? fromu : froml;
  *hi = r > 0 ? froml : fromu;
}

// Change of an entry (s, j) by delta, in both views; the kind of change for the undo record.
int32_t prslv_addtoentry(const PrslvParam& param, prslv* p, int32_t s, int32_t j, double delta) {
  const int64_t rat = VLR_prslv_findentry(p->row, s, j);
  if (rat < 0) {
    if (std::fabs(delta) <= param.tolaij) return kPrslvEntryKept;
    VLR_prslv_appendentry(&p->row, s, j, delta);
    VLR_prslv_appendentry(&p->col, j, s, delta);
    ++p->connz[s];
    ++p->varnz[j];
    return kPrslvEntryAdded;
  }
  const int64_t cat = VLR_prslv_findentry(p->col, j, s);
  const double old = p->row.val[rat], v = old + delta;
  if (std::fabs(v) <=
      std::max(param.relzero * std::max(std::fabs(old), std::fabs(delta)), param.tolaij)) {
    VLR_prslv_removeentry(&p->row, s, rat);
    VLR_prslv_removeentry(&p->col, j, cat);
    --p->connz[s];
    --p->varnz[j];
    return kPrslvEntryCancelled;
  }
  p->row.val[rat] = v;
  p->col.val[cat] = v;
  return kPrslvEntryUpdated;
}

// An equation a_ij x_j + a_ik x_k = b: x_k = (b - a_ij x_j) / a_ik goes into every other row of
// column k and into the objective, the bounds of x_k become bounds of x_j, and the row and
// column k go. Of the two columns the one eliminated is the shorter among those whose entry is
// at least a tenth of the other's, so the multiplier stays at most 10.
int32_t prslv_doubleton(const PrslvParam& param, prslv* p, int32_t i, PrslvStat* stat,
                        int32_t* changed) {
  int32_t c2[2] = {-1, -1};
  double a2[2] = {0.0, 0.0};
  int32_t found = 0;
  for (int64_t e = p->row.beg[i]; e < VLR_prslv_lineend(p->row, i) && found < 2; ++e) {
    if (!p->colalive[p->row.idx[e]]) continue;
    c2[found] = p->row.idx[e];
    a2[found++] = p->row.val[e];
  }
  if (found < 2) return kPrslvOk;
  bool ok[2];
  for (int32_t t = 0; t < 2; ++t)
    ok[t] = std::fabs(a2[t]) >= 0.1 * std::fabs(a2[1 - t]);
  int32_t pick = ok[0] ? 0 : 1;
  if (ok[0] && ok[1] && p->varnz[c2[1]] < p->varnz[c2[0]]) pick = 1;
  const int32_t k = c2[pick], j = c2[1 - pick];
  const double aik = a2[pick], aij = a2[1 - pick], b = p->rl[i];
  const double ratio = aij / aik, beta = b / aik;
  double lo = 0, hi = 0;
  prslv_boundsthrough(beta, ratio, p->cl[k], p->cu[k], &lo, &hi);
  int32_t flags = 0;
  double nl = p->cl[j], nu = p->cu[j];
  if (!prslv_narrow(param, lo, hi, &nl, &nu, &flags)) {
    prslv_infeasible(stat);
    return kPrslvOk;
  }
  // Rows of column k other than i, and room for the fill in them and in column j.
  int32_t cnt = 0;
  for (int64_t e = p->col.beg[k]; e < VLR_prslv_lineend(p->col, k); ++e) {
    const int32_t s = p->col.idx[e];
    if (s != i && p->rowalive[s]) ++cnt;
  }
  if (!VLR_prslv_makeroom(p->sys, &p->col, j, cnt)) return kPrslvNoSpace;
  for (int64_t e = p->col.beg[k]; e < VLR_prslv_lineend(p->col, k); ++e) {
    const int32_t s = p->col.idx[e];
    if (s != i && p->rowalive[s] && !VLR_prslv_makeroom(p->sys, &p->row, s, 1)) {
      return kPrslvNoSpace;
    }
  }
  int32_t* is = nullptr;
  double* ds = nullptr;
  const int32_t r = VLR_prslv_beginpushstk(p, kPrslvConPiv, 5 + 2 * cnt, 6 + cnt, &is, &ds);
  if (r != kPrslvOk) return r;
  is[0] = i;
  is[1] = k;
  is[2] = j;
  is[3] = flags;
  is[4] = cnt;
  ds[0] = aik;
  ds[1] = aij;
  ds[2] = b;
  ds[3] = p->c[j];
  ds[4] = p->cl[j];
  ds[5] = p->cu[j];
  int32_t at = 0;
  for (int64_t e = p->col.beg[k]; e < VLR_prslv_lineend(p->col, k); ++e) {
    const int32_t s = p->col.idx[e];
    if (s == i || !p->rowalive[s]) continue;
    const double ask = p->col.val[e];
    is[5 + at] = s;
    ds[6 + at] = prslv_aij(p, s, j);
    is[5 + cnt + at] = prslv_addtoentry(param, p, s, j, -ask * ratio);
    --p->connz[s];  // the entry of column k goes with the column
    const double shift = ask * beta;
    if (p->rl[s] > -kInf) p->rl[s] -= shift;
    if (p->ru[s] < kInf) p->ru[s] -= shift;
    ++at;
  }
  VLR_prslv_endpushstk(p);
  p->cfix += p->c[k] * beta;
  p->c[j] -= p->c[k] * ratio;
  p->cl[j] = nl;
  p->cu[j] = nu;
  prslv_removerow(p, i);
  p->colalive[k] = 0;
  ++stat->numdoubleton;
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
  // Dominated columns by the dual bounds of the problem as it stands: one sweep before the
  // substitutions below change what the bounds were derived from. Fixing a column keeps them
  // true of this problem, whose optima all lie on the sides found; a dual that postsolve then
  // leaves outside a fixed column's sign is mended by the simplex from the postsolved basis.
  const bool dual = !param.updateprimal && !param.updatedual;
  if (dual && r == kPrslvOk && stat->prosta == 0) {
    SysBuf<double> ylo(p->sys, VLR_HERE, p->numcon), yup(p->sys, VLR_HERE, p->numcon);
    if (!ylo || !yup) return kPrslvNoSpace;
    prslv_dualbounds(param, p, ylo.get(), yup.get());
    for (int32_t j = 0; j < p->numvar && r == kPrslvOk && stat->prosta == 0; ++j) {
      if (p->colalive[j] && p->cl[j] < p->cu[j] && p->varnz[j] > 0)
        r = prslv_dominated(param, p, j, ylo.get(), yup.get(), stat, changed);
    }
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
    } else if (p->varnz[j] <= kElimMaxCol && param.eliminatortries != 0) {
      const int32_t before = stat->numeliminated;
      r = prslv_elimination(param, p, j, stat, changed);
      const int32_t slackbefore = stat->numslackcol;
      if (r == kPrslvOk && stat->numeliminated == before && p->varnz[j] == 1 &&
          param.slackcols != 0) {
        r = prslv_slackcol(p, j, stat, changed);
      }
      if (r == kPrslvOk && stat->numeliminated == before && stat->numslackcol == slackbefore &&
          dual) {
        r = prslv_dominated(param, p, j, nullptr, nullptr, stat, changed);
      }
    } else if (dual) {
      r = prslv_dominated(param, p, j, nullptr, nullptr, stat, changed);
    }
  }
  return r;
}

}  // namespace vlr
