// src/lu/lufslv.cpp: dense solves with the factor: FTRAN, BTRAN and the bounded FTRAN.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "lu/ludat.h"

namespace vlr {

namespace {

// L, then the row etas in order, on a dense row-space vector.
void lu_denselfw(LuFactor* lu, double* x) {
  const int32_t nrow = lu->nrow;
  int64_t work = nrow;
  for (int32_t p = 0; p < lu->lseqlen; ++p) {
    const int32_t r = lu->lseq[p];
    const double v = x[r];
    if (v == 0.0) continue;
    const int32_t beg = lu->lfir[r];
    const int32_t end = beg + lu->llen[r];
    for (int32_t k = beg; k < end; ++k)
      x[lu->subi[k]] += lu->valc[k] * v;
    work += end - beg;
  }
  lu_addwork(lu, kTaskDenseLfw, work);
  int64_t ework = 0;
  for (int32_t e = 0; e < lu->lupds; ++e) {
    double s = 0.0;
    for (int32_t k = lu->etab[e + 1]; k < lu->etab[e]; ++k)
      s += lu->valr[k] * x[lu->subj[k]];
    x[lu->etarow[e]] += s;
    ework += lu->etab[e] - lu->etab[e + 1];
  }
  lu_addwork(lu, kTaskEtaFw, ework);
}

int32_t lu_ftranbody(LuFactor* lu, double* x, double* out, bool safe, double bound) {
  if (lu->state != 3) return kLuNoFactor;
  lu_denselfw(lu, x);
  std::fill(out, out + lu->ncol, 0.0);
  const int32_t nil = lu->nrow;
  int64_t work = lu->nrow;
  for (int32_t i = lu->tail; i != nil; i = lu->iseq[i]) {
    double v = x[i];
    x[i] = 0.0;
    const int32_t beg = lu->ufirr[i];
    const int32_t end = beg + lu->uuser[i];
    for (int32_t k = beg; k < end; ++k)
      v -= lu->valr[k] * out[lu->subj[k]];
    work += end - beg;
    if (safe && std::fabs(v) >= bound * std::fabs(lu->diag[i])) {
      lu_addwork(lu, kTaskDenseUfw, work);
      return kLuGrowthBound;
    }
    out[lu->q[i]] = v / lu->diag[i];
  }
  lu_addwork(lu, kTaskDenseUfw, work);
  return kLuOk;
}

}  // namespace

int32_t VLR_lu_ftran(LuFactor* lu, double* x, double* out) {
  return lu_ftranbody(lu, x, out, false, 0.0);
}

int32_t VLR_lu_ftransafe(LuFactor* lu, double* x, double* out, double bound) {
  return lu_ftranbody(lu, x, out, true, bound);
}

int32_t VLR_lu_btran(LuFactor* lu, double* x, double* out) {
  if (lu->state != 3) return kLuNoFactor;
  const int32_t nrow = lu->nrow;
  const int32_t nil = nrow;
  int64_t work = nrow;
  for (int32_t i = lu->head; i != nil; i = lu->seq[i]) {
    const int32_t j = lu->q[i];
    const double v = x[j] / lu->diag[i];
    x[j] = 0.0;
    out[i] = v;
    if (v == 0.0) continue;
    const int32_t beg = lu->ufirr[i];
    const int32_t end = beg + lu->uuser[i];
    for (int32_t k = beg; k < end; ++k)
      x[lu->subj[k]] -= lu->valr[k] * v;
    work += end - beg;
  }
  lu_addwork(lu, kTaskDenseUbw, work);
  int64_t ework = 0;
  for (int32_t e = lu->lupds - 1; e >= 0; --e) {
    const double v = out[lu->etarow[e]];
    if (v == 0.0) continue;
    for (int32_t k = lu->etab[e + 1]; k < lu->etab[e]; ++k)
      out[lu->subj[k]] += lu->valr[k] * v;
    ework += lu->etab[e] - lu->etab[e + 1];
  }
  lu_addwork(lu, kTaskEtaBw, ework);
  work = nrow;
  for (int32_t p = lu->lseqlen - 1; p >= 0; --p) {
    const int32_t r = lu->lseq[p];
    const int32_t beg = lu->lfir[r];
    const int32_t end = beg + lu->llen[r];
    double s = 0.0;
    for (int32_t k = beg; k < end; ++k)
      s += lu->valc[k] * out[lu->subi[k]];
    out[r] += s;
    work += end - beg;
  }
  lu_addwork(lu, kTaskDenseLbw, work);
  // Columns outside the basis (ncol > nrow) are not part of the system.
  for (int32_t j = 0; j < lu->ncol; ++j)
    x[j] = 0.0;
  return kLuOk;
}

}  // namespace vlr
