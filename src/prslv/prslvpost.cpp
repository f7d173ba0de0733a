// src/prslv/prslvpost.cpp: postsolve: the undo stack read from the top brings values, duals and
// status keys of the reduced problem back to the problem as given.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
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

// The reduced cost of column j in the problem as the walk has brought it back: the column's
// present cost and entries. Rows not brought back yet hold y = 0.
double prslvpost_redcost(const prslv* p, const SimSol& sol, int32_t j) {
  double d = p->c[j];
  for (int64_t k = p->col.beg[j]; k < VLR_prslv_lineend(p->col, j); ++k)
    d -= p->col.val[k] * sol.y[p->col.idx[k]];
  return d;
}

// A row singleton moved bounds from row i to column j. When the column rests, nonbasic, on a
// side that came from the row, the row takes the column's place at the bound: y_i = d_j / a
// makes d_j zero and the column basic. Otherwise the row's slack is basic with y_i = 0. Either
// way one more basic variable, for one more row.
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
  // The column's side exists only through the row: the row rests there in its place, also with
  // a reduced cost of zero, or of the wrong sign (which the clean-up then mends).
  if (!fromrow) return;
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
  for (int64_t e = p->row.beg[i]; e < VLR_prslv_lineend(p->row, i); ++e) {
    const int32_t j = p->row.idx[e];
    const double a = p->row.val[e];
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

// b less row i's terms over the columns living at the walk's point, column j left out: a x_j
// of a column substituted from (or acting as the slack of) equation i.
double prslvpost_rest(const prslv* p, int32_t i, int32_t j, double b, const SimSol& sol) {
  const int32_t m = p->numcon;
  for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
    const int32_t q = p->row.idx[k];
    if (q != j && p->colalive[q]) b -= p->row.val[k] * sol.x[m + q];
  }
  return b;
}

// Puts entry (s, j) back to what it was before a substitution changed it.
void prslvpost_restoreentry(prslv* p, int32_t s, int32_t j, int32_t how, double old) {
  if (how == kPrslvEntryKept) return;
  if (how == kPrslvEntryCancelled) {
    VLR_prslv_appendentry(&p->row, s, j, old);
    VLR_prslv_appendentry(&p->col, j, s, old);
    return;
  }
  const int64_t rat = VLR_prslv_findentry(p->row, s, j);
  const int64_t cat = VLR_prslv_findentry(p->col, j, s);
  if (how == kPrslvEntryAdded) {
    VLR_prslv_removeentry(&p->row, s, rat);
    VLR_prslv_removeentry(&p->col, j, cat);
  } else {
    p->row.val[rat] = old;
    p->col.val[cat] = old;
  }
}

// x_j of a substituted free column from its equation as it stood, over the columns living
// then; the costs the substitution moved and the entries of the other rows come back, and
// y_i = d_j / a (with y_i = 0 in d_j) makes the column's reduced cost zero. The column is basic
// and the equation rests at its value.
void prslvpost_undoelimination(prslv* p, const int32_t* is, const double* ds, SimSol* sol) {
  const int32_t m = p->numcon;
  const int32_t i = is[0], j = is[1], nq = is[2], nr = is[3 + nq];
  const double a = ds[0];
  for (int32_t t = 0; t < nq; ++t)
    p->c[is[3 + t]] = ds[3 + t];
  for (int32_t s = 0; s < nr; ++s) {
    const int32_t* ris = is + 4 + nq + s * (1 + nq);
    const double* rds = ds + 3 + nq + s * (1 + nq);
    for (int32_t t = 0; t < nq; ++t)
      prslvpost_restoreentry(p, ris[0], is[3 + t], ris[1 + t], rds[1 + t]);
  }
  p->c[j] = ds[1];
  const double s = prslvpost_rest(p, i, j, ds[2], *sol);
  p->rowalive[i] = 1;
  p->colalive[j] = 1;
  sol->x[m + j] = s / a;
  sol->y[i] = 0.0;
  sol->y[i] = prslvpost_redcost(p, *sol, j) / a;
  sol->sk[m + j] = VLR_SK_BAS;
  sol->sk[i] = VLR_SK_FIX;
}

// Column j was the slack of equation i, whose range it became. The costs come back and x_j
// follows from the row. The reduced problem's dual of the row, y', gives y_i = y' + c_j / a and
// d_j = -a y': a basic row made x_j basic, a row at a side puts x_j at the matching bound.
void prslvpost_undoslackcol(prslv* p, const int32_t* is, const double* ds, SimSol* sol) {
  const int32_t m = p->numcon;
  const int32_t i = is[0], j = is[1], nq = is[2];
  const double a = ds[0], cj = ds[1];
  for (int32_t t = 0; t < nq; ++t)
    p->c[is[3 + t]] = ds[3 + t];
  p->c[j] = cj;
  const double s = prslvpost_rest(p, i, j, ds[2], *sol);
  p->colalive[j] = 1;
  const double xj = s / a;
  sol->x[m + j] = xj;
  const int32_t ski = sol->sk[i];
  sol->y[i] += cj / a;
  sol->sk[i] = VLR_SK_FIX;
  const SimLp& lp = *p->lp;
  const int32_t bk = lp.bk[m + j];
  if (ski == VLR_SK_BAS) {
    sol->sk[m + j] = VLR_SK_BAS;
  } else if (bk == VLR_BK_FX) {
    sol->sk[m + j] = VLR_SK_FIX;
  } else {
    // The row's lower side is x_j's upper bound when a > 0.
    const bool rowlow = ski == VLR_SK_LOW || (ski == VLR_SK_FIX && sol->y[i] - cj / a >= 0.0);
    sol->sk[m + j] = rowlow == (a > 0) ? VLR_SK_UPR : VLR_SK_LOW;
  }
}

// A doubleton equation a_ij x_j + a_ik x_k = b had x_k substituted. Column j and its cost come
// back; x_k follows from the equation. When x_j rests, nonbasic, on a side that came from x_k,
// x_k takes that bound and x_j turns basic, with d_k = -d_j a_ik / a_ij; otherwise x_k is basic
// with d_k = 0. y_i then makes d_k what it must be.
void prslvpost_undoconpiv(prslv* p, const int32_t* is, const double* ds, SimSol* sol) {
  const int32_t m = p->numcon;
  const int32_t i = is[0], k = is[1], j = is[2], flags = is[3], cnt = is[4];
  const double aik = ds[0], aij = ds[1], b = ds[2];
  const double dj = prslvpost_redcost(p, *sol, j);
  for (int32_t t = 0; t < cnt; ++t)
    prslvpost_restoreentry(p, is[5 + t], j, is[5 + cnt + t], ds[6 + t]);
  p->c[j] = ds[3];
  p->rowalive[i] = 1;
  p->colalive[k] = 1;
  sol->x[m + k] = (b - aij * sol->x[m + j]) / aik;
  int32_t& skj = sol->sk[m + j];
  const bool atlo = skj == VLR_SK_LOW || (skj == VLR_SK_FIX && dj >= 0.0);
  const bool atup = skj == VLR_SK_UPR || (skj == VLR_SK_FIX && dj < 0.0);
  const bool fromk = (atlo && (flags & kPrslvSinLower)) || (atup && (flags & kPrslvSinUpper));
  double dk = 0.0;
  sol->sk[m + k] = VLR_SK_BAS;
  if (prslvpost_nonbasic(skj) && fromk) {
    dk = -dj * aik / aij;
    skj = VLR_SK_BAS;
    // x_j's lower side is x_k's upper when a_ij / a_ik > 0.
    const bool kup = atlo == (aij / aik > 0);
    sol->sk[m + k] = p->lp->bk[m + k] == VLR_BK_FX ? VLR_SK_FIX : kup ? VLR_SK_UPR : VLR_SK_LOW;
  }
  sol->y[i] = 0.0;
  sol->y[i] = (prslvpost_redcost(p, *sol, k) - dk) / aik;
  sol->sk[i] = VLR_SK_FIX;
}

// Row r, a multiple lambda of row i, gave row i its bounds. When row i rests, nonbasic with a
// dual, on a side that came from row r, row r takes the dual (y_r = y_i / lambda) and the side,
// and row i turns basic; otherwise row r is basic with y_r = 0.
void prslvpost_undodupcon(prslv* p, const int32_t* is, const double* ds, SimSol* sol) {
  const int32_t r = is[0], i = is[1], flags = is[2];
  const double lambda = ds[0];
  p->rowalive[r] = 1;
  sol->sk[r] = VLR_SK_BAS;
  sol->y[r] = 0.0;
  const int32_t ski = sol->sk[i];
  const double y = sol->y[i];
  if (!prslvpost_nonbasic(ski)) return;
  const bool atlo = ski == VLR_SK_LOW || (ski == VLR_SK_FIX && y >= 0.0);
  const bool atup = ski == VLR_SK_UPR || (ski == VLR_SK_FIX && y < 0.0);
  if (!((atlo && (flags & kPrslvSinLower)) || (atup && (flags & kPrslvSinUpper)))) return;
  sol->y[r] = y / lambda;
  sol->y[i] = 0.0;
  sol->sk[i] = VLR_SK_BAS;
  const bool rlow = atlo == (lambda > 0);
  sol->sk[r] = p->lp->bk[r] == VLR_BK_FX ? VLR_SK_FIX : rlow ? VLR_SK_LOW : VLR_SK_UPR;
}

// Column k = lambda column j was merged into x_j + lambda x_k. The merged value is split: at a
// side of the merged range both columns take the matching sides; otherwise column k rests at a
// bound that leaves x_j inside its own, and x_j keeps the merged column's status (when no bound
// of k will do, x_j rests at its bound and x_k takes the status).
void prslvpost_undodupvar(prslv* p, const int32_t* is, const double* ds, SimSol* sol) {
  const int32_t m = p->numcon;
  const int32_t k = is[0], j = is[1];
  const double lambda = ds[0], lj = ds[1], uj = ds[2];
  // The bounds of k that pair with j's lower and upper.
  const double lk = lambda > 0 ? ds[3] : ds[4], uk = lambda > 0 ? ds[4] : ds[3];
  const int32_t sklk = lambda > 0 ? VLR_SK_LOW : VLR_SK_UPR;
  const int32_t skuk = lambda > 0 ? VLR_SK_UPR : VLR_SK_LOW;
  p->colalive[k] = 1;
  const double v = sol->x[m + j];
  const int32_t skj = sol->sk[m + j];
  const double tol = 1e-9 * (1.0 + std::fabs(v));
  double xj = v, xk = 0.0;
  int32_t newskj = skj, newskk = VLR_SK_SUPBAS;
  if (!std::isinf(lj) && !std::isinf(lk) && std::fabs(v - (lj + lambda * lk)) <= tol &&
      skj != VLR_SK_BAS) {
    xj = lj;
    xk = lk;
    newskj = VLR_SK_LOW;
    newskk = sklk;
  } else if (!std::isinf(uj) && !std::isinf(uk) && std::fabs(v - (uj + lambda * uk)) <= tol &&
             skj != VLR_SK_BAS) {
    xj = uj;
    xk = uk;
    newskj = VLR_SK_UPR;
    newskk = skuk;
  } else if (!std::isinf(lk) && v - lambda * lk >= lj - tol && v - lambda * lk <= uj + tol) {
    xk = lk;
    xj = v - lambda * lk;
    newskk = sklk;
  } else if (!std::isinf(uk) && v - lambda * uk >= lj - tol && v - lambda * uk <= uj + tol) {
    xk = uk;
    xj = v - lambda * uk;
    newskk = skuk;
  } else if (!std::isinf(lj) || !std::isinf(uj)) {
    // x_j at the bound the value leaves it nearest; x_k takes the rest and the status.
    xj = !std::isinf(lj) && (std::isinf(uj) || v - lj < uj - v) ? lj : uj;
    xk = (v - xj) / lambda;
    newskk = skj;
    newskj = xj == lj ? VLR_SK_LOW : VLR_SK_UPR;
  }
  sol->x[m + j] = xj;
  sol->x[m + k] = xk;
  sol->sk[m + j] = newskj;
  sol->sk[m + k] = newskk;
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

int32_t VLR_prslv_keepreduced(prslv* p) {
  if (p->postsolved || p->kept) return p->kept ? kPrslvOk : kPrslvOrder;
  SysEnv* sys = p->sys;
  const int32_t m = p->numcon, n = p->numvar;
  p->keepc = static_cast<double*>(VLR_sysenv_callocdbg(sys, VLR_HERE, std::max(n, 1), 8));
  p->keeprowalive = static_cast<int8_t*>(VLR_sysenv_callocdbg(sys, VLR_HERE, std::max(m, 1), 1));
  p->keepcolalive = static_cast<int8_t*>(VLR_sysenv_callocdbg(sys, VLR_HERE, std::max(n, 1), 1));
  if (p->keepc == nullptr || p->keeprowalive == nullptr || p->keepcolalive == nullptr ||
      !VLR_prslv_copylines(sys, p->col, &p->keepcol) ||
      !VLR_prslv_copylines(sys, p->row, &p->keeprow)) {
    VLR_prslv_dropkept(p);
    return kPrslvNoSpace;
  }
  std::copy(p->c, p->c + n, p->keepc);
  std::copy(p->rowalive, p->rowalive + m, p->keeprowalive);
  std::copy(p->colalive, p->colalive + n, p->keepcolalive);
  p->kept = 1;
  return kPrslvOk;
}

void VLR_prslv_dropkept(prslv* p) {
  SysEnv* sys = p->sys;
  VLR_prslv_freelines(sys, &p->keepcol);
  VLR_prslv_freelines(sys, &p->keeprow);
  VLR_sysenv_freedbg(sys, VLR_HERE, p->keepc);
  VLR_sysenv_freedbg(sys, VLR_HERE, p->keeprowalive);
  VLR_sysenv_freedbg(sys, VLR_HERE, p->keepcolalive);
  p->keepc = nullptr;
  p->keeprowalive = nullptr;
  p->keepcolalive = nullptr;
  p->kept = 0;
}

int32_t VLR_prslv_postsolve(const PrslvParam&, prslv* p, const SimSol& reducedsol, SimSol* sol) {
  if (p->postsolved) {
    // A further walk starts from the kept reduced problem.
    if (p->kept == 0 || !VLR_prslv_restorelines(p->keepcol, &p->col) ||
        !VLR_prslv_restorelines(p->keeprow, &p->row)) {
      return kPrslvOrder;
    }
    std::copy(p->keepc, p->keepc + p->numvar, p->c);
    std::copy(p->keeprowalive, p->keeprowalive + p->numcon, p->rowalive);
    std::copy(p->keepcolalive, p->keepcolalive + p->numvar, p->colalive);
  }
  p->postsolved = 1;
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
  // The walk brings rows and columns back as it undoes the records that took them, so that at
  // each record the object holds the problem as that reduction saw it.
  VLR_prslv_initpopstk(p);
  int32_t kind = 0;
  const int32_t* is = nullptr;
  const double* ds = nullptr;
  int64_t ni = 0, nd = 0;
  while (VLR_prslv_popstk(p, &kind, &is, &ni, &ds, &nd) != 0) {
    switch (kind) {
      case kPrslvConRelaxFree:
      case kPrslvInitialFreeCon:
        p->rowalive[is[0]] = 1;
        sol->sk[is[0]] = VLR_SK_BAS;
        sol->y[is[0]] = 0.0;
        break;
      case kPrslvConSin:
      case kPrslvInitialConSin:
        p->rowalive[is[0]] = 1;
        prslvpost_undoconsin(p, is, ds, sol);
        break;
      case kPrslvConForce:
        p->rowalive[is[0]] = 1;
        for (int32_t q = 0; q < is[2]; ++q)
          p->colalive[is[3 + q]] = 1;
        prslvpost_undoconforce(p, is, ds, sol);
        break;
      case kPrslvElimination:
        prslvpost_undoelimination(p, is, ds, sol);
        break;
      case kPrslvConPiv:
        prslvpost_undoconpiv(p, is, ds, sol);
        break;
      case kPrslvDupCon:
        prslvpost_undodupcon(p, is, ds, sol);
        break;
      case kPrslvSlackCol:
        prslvpost_undoslackcol(p, is, ds, sol);
        break;
      case kPrslvDupVar:
        prslvpost_undodupvar(p, is, ds, sol);
        break;
      case kPrslvVarFix:
      case kPrslvInitialVarFix:
        p->colalive[is[0]] = 1;
        sol->x[m + is[0]] = ds[0];
        sol->sk[m + is[0]] = VLR_SK_FIX;
        break;
      case kPrslvVarFixLo:
      case kPrslvVarFixUp:
      case kPrslvVarFixZero:
        p->colalive[is[0]] = 1;
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
