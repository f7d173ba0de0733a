// src/prslv/prslvpost.cpp: postsolve: the undo stack read from the top brings values, duals and
// status keys of the reduced problem back to the problem as given.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>

#include "prslv/prslvdat.h"

namespace vlr {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

bool prslvpost_haslow(int32_t bk) {
  return bk == VLR_BK_LO || bk == VLR_BK_FX || bk == VLR_BK_RA;
}
bool prslvpost_hasupp(int32_t bk) {
  return bk == VLR_BK_UP || bk == VLR_BK_FX || bk == VLR_BK_RA;
}
bool prslvpost_nonbasic(int32_t sk) {
  return sk == VLR_SK_LOW || sk == VLR_SK_UPR || sk == VLR_SK_FIX;
}

// The reduced cost of column j under the duals known so far; rows whose record has not been
// undone yet still hold y = 0, which is what they held when the record was pushed.
double prslvpost_redcost(const prslv* p, const SimSol& sol, int32_t j) {
  double d = p->lp->c[j];
  for (int64_t k = p->colbeg[j]; k < p->colbeg[j + 1]; ++k)
    d -= p->colval[k] * sol.y[p->colidx[k]];
  return d;
}

// A row singleton moved bounds from row i to column j. When the column rests, nonbasic, on a
// side that came from the row, and its reduced cost asks for that side, the row takes the
// column's place at the bound: y_i = d_j / a makes d_j zero and the column basic. Otherwise the
// row's slack is basic with y_i = 0. Either way one more basic variable, for one more row.
void prslvpost_undoconsin(const prslv* p, const int32_t* is, const double* ds, SimSol* sol) {
  const int32_t m = p->numcon;
  const int32_t i = is[0], j = is[1], flags = is[2];
  const double a = ds[0];
  int32_t& skj = sol->sk[m + j];
  sol->sk[i] = VLR_SK_BAS;
  sol->y[i] = 0.0;
  if (!prslvpost_nonbasic(skj)) return;
  const double d = prslvpost_redcost(p, *sol, j);
  // Which side of the column the value rests on, and which the reduced cost asks for.
  const bool atlo = skj == VLR_SK_LOW || (skj == VLR_SK_FIX && d >= 0.0);
  const bool atup = skj == VLR_SK_UPR || (skj == VLR_SK_FIX && d < 0.0);
  const bool fromrow = (atlo && (flags & kPrslvSinLower)) || (atup && (flags & kPrslvSinUpper));
  if (!fromrow || d == 0.0) return;
  if ((atlo && d < 0.0) || (atup && d > 0.0)) return;  // not an optimal side: leave it
  sol->y[i] = d / a;
  skj = VLR_SK_BAS;
  // The column's lower side is the row's lower for a > 0, its upper for a < 0.
  const bool rowlow = atlo == (a > 0);
  const int32_t rowbk = p->lp->bk[i];
  sol->sk[i] = rowbk == VLR_BK_FX ? VLR_SK_FIX : rowlow ? VLR_SK_LOW : VLR_SK_UPR;
}

// A forcing row fixed its columns at the bounds that meet the row's side. The columns come back
// nonbasic; the row's dual is the largest step (side 0, row at its lower bound, y >= 0) or the
// smallest (side 1, upper, y <= 0) that keeps every column's reduced cost of the right sign. The
// column that sets it turns basic and the row rests at its bound; with y = 0 the row's slack is
// basic.
void prslvpost_undoconforce(const prslv* p, const int32_t* is, const double* ds, SimSol* sol) {
  const int32_t m = p->numcon;
  const int32_t i = is[0], side = is[1], k = is[2];
  for (int32_t q = 0; q < k; ++q) {
    const int32_t j = is[3 + q];
    sol->x[m + j] = ds[q];
    const int32_t bk = p->lp->bk[m + j];
    sol->sk[m + j] = bk == VLR_BK_FX ? VLR_SK_FIX : VLR_SK_SUPBAS;  // set below by the side
  }
  sol->y[i] = 0.0;
  double best = 0.0;
  int32_t arg = -1;
  for (int64_t e = p->rowbeg[i]; e < p->rowbeg[i + 1]; ++e) {
    const int32_t j = p->rowidx[e];
    const double a = p->rowval[e];
    int32_t q = 0;
    while (q < k && is[3 + q] != j)
      ++q;
    if (q == k) continue;  // a column removed before the row was forcing
    if (sol->sk[m + j] != VLR_SK_FIX) {
      sol->sk[m + j] = (side == 1) == (a > 0) ? VLR_SK_LOW : VLR_SK_UPR;
    } else {
      continue;  // a fixed column takes a reduced cost of either sign
    }
    const double ratio = prslvpost_redcost(p, *sol, j) / a;
    if ((side == 1 && ratio < best) || (side == 0 && ratio > best)) {
      best = ratio;
      arg = j;
    }
  }
  if (arg < 0) {
    sol->sk[i] = VLR_SK_BAS;
    return;
  }
  sol->y[i] = best;
  sol->sk[m + arg] = VLR_SK_BAS;
  sol->sk[i] = p->lp->bk[i] == VLR_BK_FX ? VLR_SK_FIX : side == 1 ? VLR_SK_UPR : VLR_SK_LOW;
}

// x_j of a substituted free column from its equation, over the row as given: the other columns
// hold their final values or, removed before, the values they were removed at. The column is
// basic and the equation rests at its value.
void prslvpost_undoelimination(const prslv* p, const int32_t* is, const double* ds, SimSol* sol) {
  const SimLp& lp = *p->lp;
  const int32_t m = p->numcon;
  const int32_t i = is[0], j = is[1];
  double s = lp.bl[i];
  double a = ds[0];
  for (int64_t k = p->rowbeg[i]; k < p->rowbeg[i + 1]; ++k) {
    if (p->rowidx[k] == j) {
      a = p->rowval[k];
    } else {
      s -= p->rowval[k] * sol->x[m + p->rowidx[k]];
    }
  }
  sol->x[m + j] = s / a;
  sol->sk[m + j] = VLR_SK_BAS;
  sol->sk[i] = VLR_SK_FIX;
}

// Nonbasic keys made to agree with the bounds of the problem as given and the value.
int32_t prslvpost_key(int32_t sk, int32_t bk, double l, double u, double x, double d) {
  if (sk == VLR_SK_BAS) return sk;
  if (bk == VLR_BK_FX) return VLR_SK_FIX;
  const bool lo = prslvpost_haslow(bk), up = prslvpost_hasupp(bk);
  const bool atlo = lo && x == l, atup = up && x == u;
  if (atlo && atup) return d >= 0.0 ? VLR_SK_LOW : VLR_SK_UPR;
  if (atlo) return VLR_SK_LOW;
  if (atup) return VLR_SK_UPR;
  return VLR_SK_SUPBAS;
}

}  // namespace

int32_t VLR_prslv_postsolve(const PrslvParam&, prslv* p, const SimSol& reducedsol, SimSol* sol) {
  const SimLp& lp = *p->lp;
  const int32_t m = p->numcon, n = p->numvar, rm = p->redm;
  for (int32_t i = 0; i < m; ++i) {
    const int32_t ii = p->rowmap != nullptr ? p->rowmap[i] : -1;
    sol->y[i] = ii >= 0 ? reducedsol.y[ii] : 0.0;
    sol->sk[i] = ii >= 0 ? reducedsol.sk[ii] : VLR_SK_BAS;
  }
  for (int32_t j = 0; j < n; ++j) {
    const int32_t jj = p->colmap != nullptr ? p->colmap[j] : -1;
    sol->x[m + j] = jj >= 0 ? reducedsol.x[rm + jj] : p->xfix[j];
    sol->sk[m + j] = jj >= 0 ? reducedsol.sk[rm + jj] : VLR_SK_SUPBAS;
  }
  // The dual of an equation that a substitution took away is fixed by the substituted cost:
  // y_i = c_j / a. Set before the walk, so that every reduced cost the walk computes sees the
  // costs as the later reductions saw them.
  for (int64_t r = 0; r < VLR_prslv_getnumred(p); ++r) {
    int32_t k = 0;
    const int32_t* ri = nullptr;
    const double* rd = nullptr;
    VLR_prslv_getrecord(p, r, &k, &ri, &rd);
    if (k == kPrslvElimination) sol->y[ri[0]] = rd[1] / rd[0];
  }
  VLR_prslv_initpopstk(p);
  int32_t kind = 0;
  const int32_t* is = nullptr;
  const double* ds = nullptr;
  int64_t ni = 0, nd = 0;
  while (VLR_prslv_popstk(p, &kind, &is, &ni, &ds, &nd) != 0) {
    switch (kind) {
      case kPrslvConRelaxFree:
      case kPrslvInitialFreeCon:
        sol->sk[is[0]] = VLR_SK_BAS;
        sol->y[is[0]] = 0.0;
        break;
      case kPrslvConSin:
      case kPrslvInitialConSin:
        prslvpost_undoconsin(p, is, ds, sol);
        break;
      case kPrslvConForce:
        prslvpost_undoconforce(p, is, ds, sol);
        break;
      case kPrslvElimination:
        prslvpost_undoelimination(p, is, ds, sol);
        break;
      case kPrslvVarFix:
      case kPrslvInitialVarFix:
        sol->x[m + is[0]] = ds[0];
        sol->sk[m + is[0]] = VLR_SK_FIX;
        break;
      case kPrslvVarFixLo:
      case kPrslvVarFixUp:
      case kPrslvVarFixZero:
        sol->x[m + is[0]] = ds[0];
        sol->sk[m + is[0]] = kind == kPrslvVarFixLo   ? VLR_SK_LOW
                             : kind == kPrslvVarFixUp ? VLR_SK_UPR
                                                      : VLR_SK_SUPBAS;
        break;
      default:  // dropped sides and the entry records change no value
        break;
    }
  }
  // Activities and reduced costs from the data; keys made to agree with the bounds as given.
  for (int32_t i = 0; i < m; ++i)
    sol->x[i] = 0.0;
  for (int32_t j = 0; j < n; ++j) {
    double d = lp.c[j];
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k) {
      sol->x[lp.aidx[k]] += lp.aval[k] * sol->x[m + j];
      d -= lp.aval[k] * sol->y[lp.aidx[k]];
    }
    sol->d[m + j] = d;
  }
  for (int32_t i = 0; i < m; ++i)
    sol->d[i] = sol->y[i];
  for (int32_t k = 0; k < m + n; ++k) {
    const double l = prslvpost_haslow(lp.bk[k]) ? lp.bl[k] : -kInf;
    const double u = prslvpost_hasupp(lp.bk[k]) ? lp.bu[k] : kInf;
    // A row's activity is recomputed and may differ from its bound in the last digits: a row
    // nonbasic at a side keeps that side as its key.
    if (k < m && (sol->sk[k] == VLR_SK_LOW || sol->sk[k] == VLR_SK_UPR)) continue;
    sol->sk[k] = prslvpost_key(sol->sk[k], lp.bk[k], l, u, sol->x[k], sol->d[k]);
  }
  return kPrslvOk;
}

int32_t VLR_prslv_postsolvebasis(const PrslvParam&, prslv*, const SimSol&, SimSol*) {
  // The walk of VLR_prslv_postsolve sets the keys with the values, since the two depend on each
  // other (a row's dual decides which of the row and a column is basic): each removed row adds
  // exactly one basic variable, so m' basic keys of the reduced problem give m.
  return kPrslvOk;
}

}  // namespace vlr
