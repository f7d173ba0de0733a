// src/prslv/prslvlin.cpp: the dependency check on equations. The living equations are factored
// as rows of a matrix over the living columns; rows the factor leaves unpivoted are candidates.
// For each, the factor completed with unit columns gives z with z'A = 0 over the pivoted rows
// and z_i = 1; when z'A vanishes over every column the row is a combination of the others, and
// it goes if z'b vanishes too (the problem is infeasible when only z'b does not).
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>

#include "lu/lu.h"
#include "prslv/prslvdat.h"

namespace vlr {

namespace {

// Owns an LU factor for the length of the check.
struct LinLu {
  LuFactor* lu = nullptr;
  ~LinLu() { VLR_lu_delete(&lu); }
};

}  // namespace

int32_t VLR_prslv_chklinblkcon(const PrslvParam& param, prslv* p, PrslvStat* stat,
                               int32_t* changed) {
  const int32_t m = p->numcon, n = p->numvar;
  // Equations with two entries or more, numbered 0.. in the factor; living columns likewise.
  SysBuf<int32_t> rowof(p->sys, VLR_HERE, m), colof(p->sys, VLR_HERE, n);
  if (!rowof || !colof) return kPrslvNoSpace;
  int32_t ne = 0, nc = 0;
  int64_t nz = 0;
  for (int32_t i = 0; i < m; ++i) {
    rowof[i] = -1;
    if (p->rowalive[i] && p->rl[i] == p->ru[i] && p->connz[i] >= 2) {
      rowof[i] = ne++;
      nz += p->connz[i];
    }
  }
  for (int32_t j = 0; j < n; ++j)
    colof[j] = -1;
  for (int32_t i = 0; i < m; ++i) {
    if (rowof[i] < 0) continue;
    for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
      const int32_t j = p->row.idx[k];
      if (p->colalive[j] && colof[j] < 0) colof[j] = nc++;
    }
  }
  // The factor wants at least as many columns as rows; with fewer the rows are dependent for
  // certain, but which ones is left to the simplex. A work limit keeps the check cheap.
  if (ne < 2 || nc < ne || (param.lindepworklim > 0 && ne > 1000 && nz > 50LL * ne)) {
    return kPrslvOk;
  }
  SysBuf<int32_t> colrow(p->sys, VLR_HERE, nc);  // the living column of each factor column
  if (!colrow) return kPrslvNoSpace;
  for (int32_t j = 0; j < n; ++j) {
    if (colof[j] >= 0) colrow[colof[j]] = j;
  }
  LinLu f;
  if (VLR_lu_make(p->sys, ne, nc, &f.lu) != kLuOk) return kPrslvNoSpace;
  // Threshold pivoting against rows and columns, so that a small pivot means a short rank.
  VLR_lu_putpivotmethod(f.lu, kLuPivotRowAndColumn);
  VLR_lu_puttol(f.lu, kLuTolRelPiv, 0.1);
  int32_t isize = 0, rsize = 0;
  VLR_lu_getfactorspace(ne, nc, &isize, &rsize);
  SysBuf<int32_t> iwork(p->sys, VLR_HERE, isize);
  SysBuf<double> rwork(p->sys, VLR_HERE, std::max(rsize, nc));
  SysBuf<int32_t> sub(p->sys, VLR_HERE, ne);
  SysBuf<double> val(p->sys, VLR_HERE, ne);
  if (!iwork || !rwork || !sub || !val) return kPrslvNoSpace;
  const auto want = static_cast<int32_t>(std::min<int64_t>(4 * nz + 3LL * ne + 1, 2000000000));
  if (VLR_lu_newwsze(f.lu, want) != kLuOk) return kPrslvNoSpace;
  int32_t r = kLuOk;
  for (int32_t t = 0; t < 30; ++t) {
    VLR_lu_init(f.lu);
    for (int32_t c = 0; c < nc && r == kLuOk; ++c) {
      const int32_t j = colrow[c];
      int32_t cnt = 0;
      for (int64_t k = p->col.beg[j]; k < VLR_prslv_lineend(p->col, j); ++k) {
        const int32_t e = rowof[p->col.idx[k]];
        if (e < 0 || !p->rowalive[p->col.idx[k]]) continue;
        sub[cnt] = e;
        val[cnt++] = p->col.val[k];
      }
      r = VLR_lu_inak(f.lu, c, cnt, sub.get(), val.get());
    }
    if (r == kLuOk) r = VLR_lu_factor(f.lu, isize, iwork.get(), rsize, rwork.get());
    if (r != kLuWorkAreaFull && r != kLuTooManyGarCols) break;
    // Fill beyond a few times the input means a dense block: the check is not worth its cost.
    int32_t prop = 0;
    VLR_lu_getwszeproposal(f.lu, &prop);
    prop = std::max(prop, 2 * VLR_lu_getwsze(f.lu));
    if (prop > 8LL * want) return kPrslvOk;
    r = VLR_lu_newwsze(f.lu, prop);
    if (r != kLuOk) break;
    r = kLuWorkAreaFull;
  }
  if (r == kLuNoSpace) return kPrslvNoSpace;
  if (r != kLuOk || VLR_lu_getrank(f.lu) >= ne) return kPrslvOk;  // trouble in the factor: skip
  // Each unpivoted row gets a unit column: map[c] names its row.
  SysBuf<int32_t> map(p->sys, VLR_HERE, nc);
  SysBuf<double> z(p->sys, VLR_HERE, ne);
  if (!map || !z) return kPrslvNoSpace;
  if (VLR_lu_insart(f.lu, map.get(), isize, iwork.get(), 1.0) != kLuOk) return kPrslvOk;
  SysBuf<int32_t> eqrow(p->sys, VLR_HERE, ne);  // the row of each factor row
  SysBuf<double> acc(p->sys, VLR_HERE, nc);     // z'A by factor column, zero between uses
  SysBuf<int32_t> touched(p->sys, VLR_HERE, nc);
  if (!eqrow || !acc || !touched) return kPrslvNoSpace;
  double amax = 0.0;
  for (int32_t i = 0; i < m; ++i) {
    if (rowof[i] < 0) continue;
    eqrow[rowof[i]] = i;
    for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
      if (p->colalive[p->row.idx[k]]) amax = std::max(amax, std::fabs(p->row.val[k]));
    }
  }
  const double tolz = std::max(param.tollindep * amax, 1e-12);
  int64_t work = 0;
  for (int32_t c = 0; c < nc && stat->prosta == 0; ++c) {
    if (map[c] >= ne) continue;
    const int32_t i0 = eqrow[map[c]];
    double* x = rwork.get();
    for (int32_t q = 0; q < nc; ++q)
      x[q] = 0.0;
    x[c] = 1.0;
    if (VLR_lu_btran(f.lu, x, z.get()) != kLuOk || std::fabs(z[map[c]] - 1.0) > 1e-9) continue;
    // z'A over the columns of the rows z uses, and z'b, against the size of the terms. The work
    // of all candidates together is limited to a few passes over the equations.
    double zmax = 0.0, zb = 0.0, bsize = 0.0;
    int32_t ntouched = 0;
    bool usesdead = false;  // a row an earlier dependency took out
    for (int32_t e = 0; e < ne; ++e) {
      if (z[e] == 0.0) continue;
      const int32_t row = eqrow[e];
      usesdead = usesdead || !p->rowalive[row];
      zmax = std::max(zmax, std::fabs(z[e]));
      zb += z[e] * p->rl[row];
      bsize = std::max(bsize, std::fabs(z[e] * p->rl[row]));
      for (int64_t k = p->row.beg[row]; k < VLR_prslv_lineend(p->row, row); ++k) {
        const int32_t q = colof[p->row.idx[k]];
        if (q < 0 || !p->colalive[p->row.idx[k]]) continue;
        if (acc[q] == 0.0) touched[ntouched++] = q;
        acc[q] += z[e] * p->row.val[k];
        if (acc[q] == 0.0) acc[q] = 1e-300;  // stays on the touched list once
      }
      work += p->row.len[row];
    }
    work += ne + nc;  // the solve and the reset of its input
    bool dependent = zmax < 1e8 && !usesdead;
    for (int32_t t = 0; t < ntouched; ++t) {
      const int32_t q = touched[t];
      dependent = dependent && std::fabs(acc[q]) <= tolz * zmax;
      acc[q] = 0.0;
    }
    if (work > 20 * nz + 10000000) break;
    if (!dependent) continue;
    // The right-hand sides agree within the check's tolerance, never tighter than the primal one.
    const double tolb = std::max(param.tollindepfloor, param.tolx) * (1.0 + bsize);
    if (std::fabs(zb) > tolb) {
      // A combination of the equations reads 0 = z'b, far from zero: no point meets them.
      if (std::fabs(zb) > 1e3 * tolb) stat->prosta = VLR_PRO_STA_PRIM_INFEAS;
      continue;
    }
    // Any row of the combination can go. The one with the most entries goes: on a network
    // that is a hub, whose slack would have stayed basic in the simplex anyway, and the trees
    // the bases form below it stay shallow, with sparse rows of their inverse.
    int32_t i = i0;
    for (int32_t e = 0; e < ne; ++e) {
      const int32_t row = eqrow[e];
      if (std::fabs(z[e]) >= 0.1 * zmax && p->connz[row] > p->connz[i]) i = row;
    }
    int32_t* is = nullptr;
    double* ds = nullptr;
    // A dependent equation goes as a free row does: postsolve makes its slack basic, y_i = 0.
    const int32_t res = VLR_prslv_beginpushstk(p, kPrslvConRelaxFree, 1, 0, &is, &ds);
    if (res != kPrslvOk) return res;
    is[0] = i;
    VLR_prslv_endpushstk(p);
    p->rowalive[i] = 0;
    for (int64_t k = p->row.beg[i]; k < VLR_prslv_lineend(p->row, i); ++k) {
      if (p->colalive[p->row.idx[k]]) --p->varnz[p->row.idx[k]];
    }
    ++stat->numlindep;
    *changed = 1;
  }
  return kPrslvOk;
}

}  // namespace vlr
