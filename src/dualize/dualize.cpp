// src/dualize/dualize.cpp: the explicit dual of a problem in the simplex's form, its size, and
// the maps of basic solutions, rays and Farkas vectors between the two forms.
// SPDX-License-Identifier: Apache-2.0
//
// The primal is  min c'x + cfix,  A x - xc = 0,  bl <= (xc, x) <= bu.  Its dual is, with
// d = cost - [-I A]'y split into d = zl - zu on the finite sides,
//
//   max  sum_k bl(k) zl(k) - bu(k) zu(k) + cfix.
//
// The dual that is formed here keeps of that only what carries information:
// - Every column j has a reference value beta(j) (its lower bound for keys LO and FX, its upper
//   bound for UP and RA, 0 for FR). With s = A beta the objective becomes linear in y up to the
//   ranged pieces, and the primal column is read back as x(j) = beta(j) - (dual row's dual).
// - A column keeps a dual row  r(j) = a(j)'y (+ w(j))  whose row variable carries the sign of
//   d(j): r <= c(j) for LO, r >= c(j) for UP, r = c(j) for FR. A ranged column adds a slack
//   w(j) = zl(j) >= 0 with r >= c(j), and its upper side is what r - c(j) pays.
// - A fixed column has no sign condition: it only moves costs, and drops out.
// - A row i gives one dual column y(i): >= 0 for LO, <= 0 for UP, free for FX; a free row forces
//   y(i) = 0 and gives none; a ranged row gives y(i) = p(i) - q(i) with p, q >= 0.
// - A singleton column of key LO or UP bounds y(i) of its row from one side. When that side is the
//   side the row itself bounds (from below for rows LO and FX, from above for UP), the column
//   folds into the bound of y(i), so no dual row is needed; the tightest of them sets the bound,
//   and that member is the one that goes basic when y(i) sits at it. Folding only one side keeps
//   the bounds from crossing.
// The dual is minimised, so its costs are the negated profits: cost y(i) = s(i) - ref(i), p(i):
// s(i) - bl(i), q(i): bu(i) - s(i), w(j): bu(j) - bl(j), and cfix' = -(cfix + beta'c).
//
// Every dual basic variable stands for one primal nonbasic variable, and every folded or fixed
// column is nonbasic except the folded member that is active, so m' dual basics give exactly
// m primal basics.
#include "dualize/dualize.h"

#include <algorithm>

#include "velor.h"

namespace vlr {

struct DualizeRec {
  SysEnv* sys;
  int32_t m, n, keep;
  int32_t mdual, ndual;
  int64_t nzdual;
  // The dual's data, handed out through the SimLp of VLR_dualize_formdual.
  int64_t* abeg;  // [ndual + 1]
  int32_t* aidx;  // [nzdual]
  double* aval;   // [nzdual]
  double* c;      // [ndual]
  int32_t* bk;    // [mdual + ndual]
  double* bl;     // [mdual + ndual]
  double* bu;     // [mdual + ndual]
  // The maps.
  int32_t* colplan;  // [n] a DualizePlan
  int32_t* colrow;   // [n] dual row of column j, or -1
  int32_t* colw;     // [n] dual column of the slack of a ranged column, or -1
  int32_t* rowcol;   // [m] dual column of y(i) (ranged: of p(i), q(i) follows it), or -1
  int32_t* rowsrc;   // [m] what sets the finite bound of y(i): -1 the row, j a folded column,
                     //     -2 nothing (y(i) free or absent)
};

namespace {

constexpr double kInf = 1e30;

enum BoundKey : int32_t { kBkLo = 0, kBkUp = 1, kBkFx = 2, kBkFr = 3, kBkRa = 4 };

enum DualizePlan : int32_t {
  kPlanRow = 0,   // the column keeps a dual row
  kPlanFold = 1,  // a singleton folded into the bound of its row's dual variable
  kPlanCost = 2,  // a fixed column: only costs move
};

// Where column or row k's part of the objective is measured from.
double dualize_ref(const SimLp& lp, int32_t k) {
  switch (lp.bk[k]) {
    case kBkLo:
    case kBkFx:
      return lp.bl[k];
    case kBkUp:
    case kBkRa:
      return lp.bu[k];
    default:
      return 0.0;
  }
}

int32_t dualize_colplan(const SimLp& lp, int32_t keep, int32_t j) {
  if (keep != 0) return kPlanRow;
  const int32_t key = lp.bk[lp.m + j];
  if (key == kBkFx) return kPlanCost;
  if (key != kBkLo && key != kBkUp) return kPlanRow;
  if (lp.abeg[j + 1] - lp.abeg[j] != 1) return kPlanRow;
  const int64_t k = lp.abeg[j];
  const double a = lp.aval[k];
  if (a == 0.0) return kPlanRow;
  const int32_t rk = lp.bk[lp.aidx[k]];
  const bool below = (key == kBkLo) == (a < 0.0);  // the column bounds y(i) from below
  if (below && (rk == kBkLo || rk == kBkFx)) return kPlanFold;
  if (!below && rk == kBkUp) return kPlanFold;
  return kPlanRow;
}

// Dual columns that stand for row i.
int32_t dualize_rowwidth(const SimLp& lp, int32_t keep, int32_t i) {
  switch (lp.bk[i]) {
    case kBkRa:
      return 2;
    case kBkFr:
      return keep != 0 ? 1 : 0;
    default:
      return 1;
  }
}

// Status key of a nonbasic variable of bound key `key`; `upper` picks the side of a range.
int32_t dualize_nbkey(int32_t key, bool upper) {
  switch (key) {
    case kBkLo:
      return VLR_SK_LOW;
    case kBkUp:
      return VLR_SK_UPR;
    case kBkFx:
      return VLR_SK_FIX;
    case kBkRa:
      return upper ? VLR_SK_UPR : VLR_SK_LOW;
    default:
      return VLR_SK_SUPBAS;
  }
}

// Value of a nonbasic variable with status key sk (free ones sit at 0).
double dualize_nbvalue(const SimLp& lp, int32_t k, int32_t sk) {
  if (sk == VLR_SK_UPR) return lp.bu[k];
  if (sk == VLR_SK_LOW || sk == VLR_SK_FIX) return lp.bl[k];
  return 0.0;
}

bool dualize_atbound(int32_t sk) {
  return sk == VLR_SK_LOW || sk == VLR_SK_UPR || sk == VLR_SK_FIX;
}

// y(i) read from the dual's column values (0 for a free row without a column).
double dualize_yvalue(const DualizeRec* rec, const SimLp& lp, const double* dx, int32_t i) {
  const int32_t kk = rec->rowcol[i];
  if (kk < 0) return 0.0;
  const double v = dx[rec->mdual + kk];
  return lp.bk[i] == kBkRa ? v - dx[rec->mdual + kk + 1] : v;
}

// d = cost - [-I A]'y over all variables; with withcost 0 the costs count as 0.
void dualize_reduced(const SimLp& lp, const double* y, bool withcost, double* d) {
  for (int32_t i = 0; i < lp.m; ++i)
    d[i] = y[i];
  for (int32_t j = 0; j < lp.n; ++j) {
    double s = withcost ? lp.c[j] : 0.0;
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
      s -= lp.aval[k] * y[lp.aidx[k]];
    d[lp.m + j] = s;
  }
}

// The row activities xc = A x into x[0, m).
void dualize_activity(const SimLp& lp, double* x) {
  std::fill(x, x + lp.m, 0.0);
  for (int32_t j = 0; j < lp.n; ++j)
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
      x[lp.aidx[k]] += lp.aval[k] * x[lp.m + j];
}

// Bounds, keys and costs of the dual's row and column variables.
void dualize_formbounds(const SimLp& lp, DualizeRec* r, const double* s) {
  const int32_t m = lp.m, md = r->mdual;
  std::fill(r->bl, r->bl + md + r->ndual, -kInf);
  std::fill(r->bu, r->bu + md + r->ndual, kInf);
  for (int32_t j = 0; j < lp.n; ++j) {
    const int32_t row = r->colrow[j];
    if (row < 0) continue;
    const int32_t key = lp.bk[m + j];
    const double cj = lp.c[j];
    switch (key) {
      case kBkLo:  // d(j) >= 0
        r->bk[row] = kBkUp, r->bu[row] = cj;
        break;
      case kBkFr:  // d(j) = 0
        r->bk[row] = kBkFx, r->bl[row] = r->bu[row] = cj;
        break;
      case kBkFx:  // kept: d(j) free
        r->bk[row] = kBkFr;
        break;
      default:  // UP: d(j) <= 0; RA: r = a'y + w >= c
        r->bk[row] = kBkLo, r->bl[row] = cj;
        break;
    }
    if (r->colw[j] >= 0) {
      const int32_t kw = r->colw[j];
      r->bk[md + kw] = kBkLo, r->bl[md + kw] = 0.0;
      r->c[kw] = lp.bu[m + j] - lp.bl[m + j];
    }
  }
  for (int32_t i = 0; i < m; ++i) {
    const int32_t kk = r->rowcol[i];
    r->rowsrc[i] = -2;
    if (kk < 0) continue;
    const int32_t key = lp.bk[i], v = md + kk;
    if (key == kBkRa) {
      r->bk[v] = r->bk[v + 1] = kBkLo;
      r->bl[v] = r->bl[v + 1] = 0.0;
      r->c[kk] = s[i] - lp.bl[i];
      r->c[kk + 1] = lp.bu[i] - s[i];
      continue;
    }
    r->c[kk] = s[i] - dualize_ref(lp, i);
    if (key == kBkLo) r->bl[v] = 0.0, r->rowsrc[i] = -1;
    if (key == kBkUp) r->bu[v] = 0.0, r->rowsrc[i] = -1;
    if (key == kBkFr) r->bl[v] = r->bu[v] = 0.0, r->rowsrc[i] = -1;
  }
  // The folded singletons tighten the one side their row bounds.
  for (int32_t j = 0; j < lp.n; ++j) {
    if (r->colplan[j] != kPlanFold) continue;
    const int64_t k = lp.abeg[j];
    const int32_t i = lp.aidx[k], v = md + r->rowcol[i];
    const double t = lp.c[j] / lp.aval[k];
    if (lp.bk[i] == kBkUp) {
      if (t < r->bu[v]) r->bu[v] = t, r->rowsrc[i] = j;
    } else if (t > r->bl[v]) {
      r->bl[v] = t, r->rowsrc[i] = j;
    }
  }
  for (int32_t i = 0; i < m; ++i) {
    const int32_t kk = r->rowcol[i];
    if (kk < 0 || lp.bk[i] == kBkRa) continue;
    const int32_t v = md + kk;
    const bool lo = r->bl[v] > -kInf, up = r->bu[v] < kInf;
    r->bk[v] = lo && up ? kBkFx : lo ? kBkLo : up ? kBkUp : kBkFr;
  }
}

// The dual's matrix: column y(i) holds a(i, j) in the dual row of every column j with one,
// q(i) the negated entries, w(j) a 1 in its row. pos is work of ndual entries.
void dualize_formmatrix(const SimLp& lp, DualizeRec* r, int64_t* pos) {
  const int32_t nd = r->ndual;
  std::fill(r->abeg, r->abeg + nd + 1, 0);
  for (int32_t j = 0; j < lp.n; ++j) {
    if (r->colrow[j] < 0) continue;
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k) {
      const int32_t kk = r->rowcol[lp.aidx[k]];
      if (lp.aval[k] == 0.0 || kk < 0) continue;
      ++r->abeg[kk + 1];
      if (lp.bk[lp.aidx[k]] == kBkRa) ++r->abeg[kk + 2];
    }
    if (r->colw[j] >= 0) ++r->abeg[r->colw[j] + 1];
  }
  for (int32_t kk = 0; kk < nd; ++kk) {
    r->abeg[kk + 1] += r->abeg[kk];
    pos[kk] = r->abeg[kk];
  }
  for (int32_t j = 0; j < lp.n; ++j) {
    const int32_t row = r->colrow[j];
    if (row < 0) continue;
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k) {
      const int32_t i = lp.aidx[k], kk = r->rowcol[i];
      if (lp.aval[k] == 0.0 || kk < 0) continue;
      r->aidx[pos[kk]] = row, r->aval[pos[kk]++] = lp.aval[k];
      if (lp.bk[i] == kBkRa) r->aidx[pos[kk + 1]] = row, r->aval[pos[kk + 1]++] = -lp.aval[k];
    }
    if (r->colw[j] >= 0) {
      const int32_t kw = r->colw[j];
      r->aidx[pos[kw]] = row, r->aval[pos[kw]++] = 1.0;
    }
  }
}

// The member of row i's group that the dual's keys make basic: -3 none (y(i) is basic, or the
// row is ranged or has no dual column), -1 the row variable, j a folded column.
int32_t dualize_active(const DualizeRec* rec, const SimLp& lp, const int32_t* dsk, int32_t i) {
  const int32_t kk = rec->rowcol[i];
  if (lp.bk[i] == kBkRa) return -3;
  if (kk < 0) return -1;
  const int32_t sk = dsk[rec->mdual + kk];
  if (sk == VLR_SK_BAS) return -3;
  if (dualize_atbound(sk) && rec->rowsrc[i] != -2) return rec->rowsrc[i];
  return -1;
}

// A basic solution of the primal from a basic solution of the dual.
void dualize_basic(const DualizeRec* rec, const SimLp& lp, const SimSol& ds, SimSol* ps) {
  const int32_t m = lp.m, n = lp.n, md = rec->mdual;
  const int32_t* dsk = ds.sk;
  int32_t* sk = ps->sk;
  double* x = ps->x;
  for (int32_t j = 0; j < n; ++j) {
    const int32_t key = lp.bk[m + j], row = rec->colrow[j], v = m + j;
    if (row < 0) {  // fixed or folded: at its bound unless its group makes it basic below
      sk[v] = dualize_nbkey(key, false);
    } else if (key == kBkRa && dsk[md + rec->colw[j]] == VLR_SK_BAS) {
      sk[v] = VLR_SK_LOW;
    } else if (dsk[row] == VLR_SK_BAS) {
      sk[v] = dualize_nbkey(key, true);
    } else {
      sk[v] = VLR_SK_BAS;
      x[v] = dualize_ref(lp, v) - ds.y[row];
      continue;
    }
    x[v] = dualize_nbvalue(lp, v, sk[v]);
  }
  for (int32_t i = 0; i < m; ++i) {
    const int32_t key = lp.bk[i], kk = rec->rowcol[i];
    if (key == kBkRa) {
      sk[i] = dsk[md + kk] == VLR_SK_BAS       ? VLR_SK_LOW
              : dsk[md + kk + 1] == VLR_SK_BAS ? VLR_SK_UPR
                                               : VLR_SK_BAS;
      continue;
    }
    const int32_t act = dualize_active(rec, lp, dsk, i);
    sk[i] = act == -1 ? VLR_SK_BAS : dualize_nbkey(key, false);
    if (act >= 0) sk[m + act] = VLR_SK_BAS, x[m + act] = 0.0;
  }
  // Row activities with the pending folded basics at 0; each of those closes its row.
  dualize_activity(lp, x);
  for (int32_t i = 0; i < m; ++i) {
    if (sk[i] == VLR_SK_BAS || sk[i] == VLR_SK_SUPBAS) continue;
    const double target = dualize_nbvalue(lp, i, sk[i]);
    const int32_t src = rec->rowsrc[i];
    if (src >= 0 && rec->colplan[src] == kPlanFold && sk[m + src] == VLR_SK_BAS) {
      const int64_t k = lp.abeg[src];
      x[m + src] = (target - x[i]) / lp.aval[k];
    }
    x[i] = target;
  }
  for (int32_t i = 0; i < m; ++i)
    ps->y[i] = dualize_yvalue(rec, lp, ds.x, i);
  dualize_reduced(lp, ps->y, true, ps->d);
  for (int32_t k = 0; k < m + n; ++k)
    if (sk[k] == VLR_SK_BAS) ps->d[k] = 0.0;
}

// The primal's ray from the dual's Farkas vector y': x(j) = -y'(row of j); what a row's dual
// column demands of its activity goes to the member that sets the bound it certifies.
void dualize_ray(const DualizeRec* rec, const SimLp& lp, const SimSol& ds, SimSol* ps) {
  const int32_t m = lp.m;
  double* x = ps->x;
  for (int32_t j = 0; j < lp.n; ++j)
    x[m + j] = rec->colrow[j] >= 0 ? -ds.y[rec->colrow[j]] : 0.0;
  dualize_activity(lp, x);
  for (int32_t i = 0; i < m; ++i) {
    const int32_t src = rec->rowsrc[i];
    if (lp.bk[i] == kBkRa || src < 0) continue;
    x[m + src] = -x[i] / lp.aval[lp.abeg[src]];
    x[i] = 0.0;
  }
}

// The primal's values from an interior solution of the dual: x(j) = beta(j) - (dual row's dual)
// where the column keeps a row. A folded column sits at beta(j), except the member that sets the
// bound of y(i): the dual's reduced cost of y(i) is what row i's activity exceeds its side by with
// the group at beta, and when the member's bound is the one y(i) presses, the member takes that
// excess up and the row sits at its side.
void dualize_interior(const DualizeRec* rec, const SimLp& lp, const SimSol& ds, SimSol* ps) {
  const int32_t m = lp.m, n = lp.n, md = rec->mdual;
  double* x = ps->x;
  for (int32_t j = 0; j < n; ++j) {
    const int32_t row = rec->colrow[j];
    x[m + j] = dualize_ref(lp, m + j) - (row >= 0 ? ds.y[row] : 0.0);
  }
  for (int32_t i = 0; i < m; ++i) {
    const int32_t src = rec->rowsrc[i], kk = rec->rowcol[i];
    if (src < 0 || kk < 0 || rec->colplan[src] != kPlanFold) continue;
    x[m + src] -= ds.d[md + kk] / lp.aval[lp.abeg[src]];
  }
  dualize_activity(lp, x);
  for (int32_t i = 0; i < m; ++i)
    ps->y[i] = dualize_yvalue(rec, lp, ds.x, i);
  dualize_reduced(lp, ps->y, true, ps->d);
}

}  // namespace

// The shape of the dual depends on the bound keys and the pattern (and the signs of singleton
// entries) alone, not on the start status.
void VLR_dualize_getdualsize(const SimLp& lp, int32_t keep, int32_t startstatus, int32_t* mdual,
                             int32_t* ndual, int64_t* nzdual, int32_t* numfree, int32_t* numfixed) {
  (void)startstatus;
  int32_t md = 0, nd = 0, nfree = 0, nfixed = 0;
  int64_t nz = 0;
  for (int32_t i = 0; i < lp.m; ++i)
    nd += dualize_rowwidth(lp, keep, i);
  for (int32_t j = 0; j < lp.n; ++j) {
    const int32_t key = lp.bk[lp.m + j];
    if (key == kBkFr) ++nfree;
    if (key == kBkFx) ++nfixed;
    if (dualize_colplan(lp, keep, j) != kPlanRow) continue;
    ++md;
    if (key == kBkRa) ++nd, ++nz;
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
      if (lp.aval[k] != 0.0) nz += dualize_rowwidth(lp, keep, lp.aidx[k]);
  }
  *mdual = md, *ndual = nd, *nzdual = nz, *numfree = nfree, *numfixed = nfixed;
}

int32_t VLR_dualize_formdual(SysEnv* sys, const SimLp& lp, int32_t keep, DualizeRec** rec,
                             SimLp* dual) {
  *rec = nullptr;
  const int32_t m = lp.m, n = lp.n;
  int32_t md = 0, nd = 0, nfree = 0, nfixed = 0;
  int64_t nz = 0;
  VLR_dualize_getdualsize(lp, keep, 0, &md, &nd, &nz, &nfree, &nfixed);
  // One spare entry each, so that empty arrays are real blocks too.
  SysBuf<DualizeRec> r(sys, VLR_HERE, 1);
  SysBuf<int64_t> abeg(sys, VLR_HERE, nd + 1), pos(sys, VLR_HERE, nd + 1);
  SysBuf<int32_t> aidx(sys, VLR_HERE, nz + 1), bk(sys, VLR_HERE, md + nd + 1);
  SysBuf<double> aval(sys, VLR_HERE, nz + 1), c(sys, VLR_HERE, nd + 1);
  SysBuf<double> bl(sys, VLR_HERE, md + nd + 1), bu(sys, VLR_HERE, md + nd + 1);
  SysBuf<int32_t> colplan(sys, VLR_HERE, n + 1), colrow(sys, VLR_HERE, n + 1);
  SysBuf<int32_t> colw(sys, VLR_HERE, n + 1), rowcol(sys, VLR_HERE, m + 1);
  SysBuf<int32_t> rowsrc(sys, VLR_HERE, m + 1);
  SysBuf<double> s(sys, VLR_HERE, m + 1);
  if (!r || !abeg || !pos || !aidx || !bk || !aval || !c || !bl || !bu || !colplan || !colrow ||
      !colw || !rowcol || !rowsrc || !s)
    return 1;
  DualizeRec* p = r.get();
  *p = DualizeRec{sys,          m,          n,
                  keep,         md,         nd,
                  nz,           abeg.get(), aidx.get(),
                  aval.get(),   c.get(),    bk.get(),
                  bl.get(),     bu.get(),   colplan.get(),
                  colrow.get(), colw.get(), rowcol.get(),
                  rowsrc.get()};
  // Number the dual rows (columns that keep one), then the dual columns: rows first, then the
  // slacks of ranged columns.
  int32_t nrow = 0, ncol = 0;
  for (int32_t j = 0; j < n; ++j) {
    p->colplan[j] = dualize_colplan(lp, keep, j);
    p->colrow[j] = p->colplan[j] == kPlanRow ? nrow++ : -1;
  }
  for (int32_t i = 0; i < m; ++i) {
    const int32_t w = dualize_rowwidth(lp, keep, i);
    p->rowcol[i] = w > 0 ? ncol : -1;
    ncol += w;
  }
  for (int32_t j = 0; j < n; ++j)
    p->colw[j] = p->colrow[j] >= 0 && lp.bk[m + j] == kBkRa ? ncol++ : -1;
  VLR_sysenv_assertdbg(sys, VLR_HERE, nrow == md && ncol == nd);
  // s = A beta and the constant beta'c.
  double cfix = lp.cfix;
  for (int32_t j = 0; j < n; ++j) {
    const double beta = dualize_ref(lp, m + j);
    if (beta == 0.0) continue;
    cfix += beta * lp.c[j];
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
      s[lp.aidx[k]] += lp.aval[k] * beta;
  }
  dualize_formbounds(lp, p, s.get());
  dualize_formmatrix(lp, p, pos.get());
  *dual = SimLp{md, nd, p->abeg, p->aidx, p->aval, p->c, -cfix, p->bk, p->bl, p->bu};
  abeg.release(), aidx.release(), aval.release(), c.release(), bk.release(), bl.release();
  bu.release(), colplan.release(), colrow.release(), colw.release(), rowcol.release();
  rowsrc.release();
  *rec = r.release();
  return 0;
}

int32_t VLR_dualize_getdual(DualizeRec* rec, const SimLp& lp, const SimSol& primalsol,
                            SimSol* dualsol) {
  const int32_t m = lp.m, n = lp.n, md = rec->mdual, nd = rec->ndual;
  const int32_t* sk = primalsol.sk;
  int32_t* dsk = dualsol->sk;
  const int32_t* dbk = rec->bk;
  for (int32_t k = 0; k < md + nd; ++k)
    dsk[k] = dualize_nbkey(dbk[k], dbk[k] == kBkUp);
  // A basic column leaves its dual row at its bound; a nonbasic one makes the row, or the slack
  // of a range held at its lower side, basic.
  for (int32_t j = 0; j < n; ++j) {
    const int32_t row = rec->colrow[j];
    if (row < 0 || sk[m + j] == VLR_SK_BAS) continue;
    if (rec->colw[j] >= 0 && sk[m + j] != VLR_SK_UPR) {
      if (sk[m + j] == VLR_SK_LOW || sk[m + j] == VLR_SK_FIX) dsk[md + rec->colw[j]] = VLR_SK_BAS;
      continue;
    }
    dsk[row] = VLR_SK_BAS;
  }
  // A row's dual column is basic when no member of its group is; a ranged row's p or q when the
  // row sits at its lower or upper side.
  for (int32_t i = 0; i < m; ++i) {
    const int32_t kk = rec->rowcol[i];
    if (kk < 0) continue;
    if (lp.bk[i] == kBkRa) {
      if (sk[i] == VLR_SK_LOW) dsk[md + kk] = VLR_SK_BAS;
      if (sk[i] == VLR_SK_UPR) dsk[md + kk + 1] = VLR_SK_BAS;
    } else if (sk[i] != VLR_SK_BAS) {
      dsk[md + kk] = VLR_SK_BAS;
    }
  }
  for (int32_t j = 0; j < n; ++j) {
    if (rec->colplan[j] != kPlanFold || sk[m + j] != VLR_SK_BAS) continue;
    const int32_t v = md + rec->rowcol[lp.aidx[lp.abeg[j]]];
    dsk[v] = dualize_nbkey(dbk[v], dbk[v] == kBkUp);
  }
  // A primal basis with a basic fixed column, or with two basic members of one group, leaves
  // the dual short: make row variables basic until the count is right; the factor repairs what
  // that leaves singular.
  int32_t nbas = 0;
  for (int32_t k = 0; k < md + nd; ++k)
    nbas += dsk[k] == VLR_SK_BAS;
  for (int32_t k = 0; k < md && nbas < md; ++k)
    if (dsk[k] != VLR_SK_BAS) dsk[k] = VLR_SK_BAS, ++nbas;
  for (int32_t k = md + nd - 1; k >= 0 && nbas > md; --k)
    if (dsk[k] == VLR_SK_BAS) dsk[k] = dualize_nbkey(dbk[k], dbk[k] == kBkUp), --nbas;
  // Values: y(i) gives the dual's columns, the distance of x from beta its row duals.
  if (dualsol->x != nullptr && primalsol.y != nullptr) {
    double* dx = dualsol->x;
    std::fill(dx, dx + md + nd, 0.0);
    for (int32_t i = 0; i < m; ++i) {
      const int32_t kk = rec->rowcol[i];
      if (kk < 0) continue;
      const double yi = primalsol.y[i];
      if (lp.bk[i] == kBkRa) {
        dx[md + kk] = std::max(yi, 0.0), dx[md + kk + 1] = std::max(-yi, 0.0);
      } else {
        dx[md + kk] = yi;
      }
    }
    for (int32_t j = 0; j < n; ++j) {
      if (rec->colw[j] < 0) continue;
      double dj = lp.c[j];
      for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
        dj -= lp.aval[k] * primalsol.y[lp.aidx[k]];
      dx[md + rec->colw[j]] = std::max(dj, 0.0);
    }
    for (int32_t kk = 0; kk < nd; ++kk)
      for (int64_t k = rec->abeg[kk]; k < rec->abeg[kk + 1]; ++k)
        dx[rec->aidx[k]] += rec->aval[k] * dx[md + kk];
  }
  if (dualsol->y != nullptr && primalsol.x != nullptr) {
    for (int32_t j = 0; j < n; ++j)
      if (rec->colrow[j] >= 0)
        dualsol->y[rec->colrow[j]] = dualize_ref(lp, m + j) - primalsol.x[m + j];
    if (dualsol->d != nullptr) {
      for (int32_t k = 0; k < md; ++k)
        dualsol->d[k] = dualsol->y[k];
      for (int32_t kk = 0; kk < nd; ++kk) {
        double dk = rec->c[kk];
        for (int64_t k = rec->abeg[kk]; k < rec->abeg[kk + 1]; ++k)
          dk -= rec->aval[k] * dualsol->y[rec->aidx[k]];
        dualsol->d[md + kk] = dk;
      }
    }
  }
  return 0;
}

int32_t VLR_dualize_getprimal(DualizeRec* rec, const SimLp& lp, int32_t kind, const SimSol& dualsol,
                              SimSol* primalsol) {
  switch (kind) {
    case kDualizeBasic:
      dualize_basic(rec, lp, dualsol, primalsol);
      break;
    case kDualizeInterior:
      dualize_interior(rec, lp, dualsol, primalsol);
      break;
    case kDualizePrimalRay:  // the dual's ray is a Farkas vector of the primal
      for (int32_t i = 0; i < lp.m; ++i)
        primalsol->y[i] = dualize_yvalue(rec, lp, dualsol.x, i);
      dualize_reduced(lp, primalsol->y, false, primalsol->d);
      break;
    default:  // the dual's Farkas vector is a ray of the primal
      dualize_ray(rec, lp, dualsol, primalsol);
      break;
  }
  return 0;
}

void VLR_dualize_delete(DualizeRec** rec) {
  if (rec == nullptr || *rec == nullptr) return;
  DualizeRec* r = *rec;
  SysEnv* sys = r->sys;
  void* blocks[] = {r->abeg, r->aidx,    r->aval,   r->c,    r->bk,     r->bl,
                    r->bu,   r->colplan, r->colrow, r->colw, r->rowcol, r->rowsrc};
  for (void* b : blocks)
    VLR_sysenv_freedbg(sys, VLR_HERE, b);
  VLR_sysenv_freedbg(sys, VLR_HERE, r);
  *rec = nullptr;
}

}  // namespace vlr
