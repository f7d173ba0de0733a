// src/lu/lufac.cpp: factor a basis: input, singleton passes, the pivot loop, finalising, and
// completing a short rank with artificial unit columns.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "lu/ludat.h"

namespace vlr {

namespace {

inline bool lu_active(const LuFactor* lu, int32_t i) {
  const int32_t p = lu->iseq[i];
  return p >= lu->stpf && p < lu->nrow - lu->stpb;
}

// Puts row i at sequence position p, swapping with the row there.
inline void lu_seqswap(LuFactor* lu, int32_t i, int32_t p) {
  const int32_t pi = lu->iseq[i];
  const int32_t other = lu->seq[p];
  lu->seq[pi] = other;
  lu->iseq[other] = pi;
  lu->seq[p] = i;
  lu->iseq[i] = p;
}

void lu_placepivot(LuFactor* lu, int32_t i, int32_t j, double v, bool front) {
  lu->diag[i] = v;
  lu->q[i] = j;
  lu->invq[j] = i;
  if (front) {
    lu_seqswap(lu, i, lu->stpf++);
  } else {
    lu_seqswap(lu, i, lu->nrow - lu->stpb - 1);
    ++lu->stpb;
  }
}

// Sorts the nz appended entries (column in posr) into columns in place by counting, following
// cycles, and sums duplicates. stamp has nrow entries.
int32_t lu_sortinput(LuFactor* lu, int32_t* next, int32_t* stamp) {
  const int32_t ncol = lu->ncol;
  const int32_t nz = lu->nzin;
  std::fill(lu->uusec, lu->uusec + ncol, 0);
  for (int32_t k = 0; k < nz; ++k)
    ++lu->uusec[lu->posr[k]];
  int32_t pos = 0;
  for (int32_t j = 0; j < ncol; ++j) {
    lu->ufirc[j] = pos;
    next[j] = pos;
    pos += lu->uusec[j];
  }
  for (int32_t j = 0; j < ncol; ++j) {
    const int32_t end = lu->ufirc[j] + lu->uusec[j];
    while (next[j] < end) {
      const int32_t k = next[j];
      const int32_t c = lu->posr[k];
      if (c == j) {
        ++next[j];
        continue;
      }
      const int32_t t = next[c]++;
      std::swap(lu->subi[k], lu->subi[t]);
      std::swap(lu->valc[k], lu->valc[t]);
      std::swap(lu->posr[k], lu->posr[t]);
    }
  }
  // Sum duplicates and close the gaps.
  std::fill(stamp, stamp + lu->nrow, -1);
  int32_t w = 0;
  for (int32_t j = 0; j < ncol; ++j) {
    const int32_t beg = lu->ufirc[j];
    const int32_t end = beg + lu->uusec[j];
    lu->ufirc[j] = w;
    for (int32_t k = beg; k < end; ++k) {
      const int32_t i = lu->subi[k];
      if (stamp[i] >= lu->ufirc[j]) {
        lu->valc[stamp[i]] += lu->valc[k];
        continue;
      }
      stamp[i] = w;
      lu->subi[w] = i;
      lu->valc[w] = lu->valc[k];
      ++w;
    }
    lu->uusec[j] = w - lu->ufirc[j];
  }
  return w;
}

// Column input through the caller's function; kLuTooManyGarCols when a column does not fit.
int32_t lu_getainput(LuFactor* lu, int32_t* nzout) {
  int32_t pos = 0;
  for (int32_t j = 0; j < lu->ncol; ++j) {
    int32_t nz = 0;
    const int32_t room = lu->wsze - pos;
    if (lu->getafn(lu->getahandle, room, j, &nz, lu->subi + pos, lu->valc + pos) == 0 ||
        nz > room) {
      return kLuTooManyGarCols;
    }
    int32_t w = pos;
    for (int32_t k = pos; k < pos + nz; ++k) {
      const int32_t i = lu->subi[k];
      if (i < 0 || i >= lu->nrow) return kLuIndexRange;
      if (std::fabs(lu->valc[k]) <= lu->droptol) continue;
      lu->subi[w] = i;
      lu->valc[w] = lu->valc[k];
      ++w;
    }
    lu->ufirc[j] = pos;
    lu->uusec[j] = w - pos;
    pos = w;
  }
  *nzout = pos;
  return kLuOk;
}

// Column singletons: a pivot at the front, no L.
void lu_colsingletons(LuFactor* lu, int32_t* ccnt, int32_t* stack) {
  const int32_t nrow = lu->nrow;
  int64_t work = 0;
  if (lu->pivmethod == 1) {
    // Quick pass in natural row order.
    for (int32_t i = 0; i < nrow; ++i) {
      if (!lu_active(lu, i)) continue;
      const int32_t beg = lu->ufirr[i];
      const int32_t end = beg + lu->uuser[i];
      for (int32_t k = beg; k < end; ++k) {
        const int32_t j = lu->subj[k];
        if (ccnt[j] == 1 && lu->invq[j] == nrow && std::fabs(lu->valr[k]) > lu->abstol) {
          lu_placepivot(lu, i, j, lu->valr[k], true);
          for (int32_t k2 = beg; k2 < end; ++k2)
            --ccnt[lu->subj[k2]];
          break;
        }
      }
      work += end - beg;
    }
    lu_addwork(lu, kTaskQuickSingletons, work);
  }
  int32_t top = 0;
  for (int32_t j = 0; j < lu->ncol; ++j) {
    if (ccnt[j] == 1 && lu->invq[j] == nrow) stack[top++] = j;
  }
  work = 0;
  while (top > 0) {
    const int32_t j = stack[--top];
    if (ccnt[j] != 1 || lu->invq[j] != nrow) continue;
    int32_t i = nrow;
    double v = 0.0;
    for (int32_t k = lu->ufirc[j]; k < lu->ufirc[j] + lu->uusec[j]; ++k) {
      if (lu_active(lu, lu->subi[k])) {
        i = lu->subi[k];
        v = lu->valc[k];
        break;
      }
    }
    work += lu->uusec[j];
    if (i == nrow || std::fabs(v) < lu->abstol) continue;
    const int32_t beg = lu->ufirr[i];
    const int32_t end = beg + lu->uuser[i];
    if (lu->pivmethod == 2) {
      double rowmax = 0.0;
      for (int32_t k = beg; k < end; ++k)
        rowmax = std::max(rowmax, std::fabs(lu->valr[k]));
      if (std::fabs(v) < lu->reltol * rowmax) continue;
    }
    lu_placepivot(lu, i, j, v, true);
    for (int32_t k = beg; k < end; ++k) {
      const int32_t j2 = lu->subj[k];
      if (--ccnt[j2] == 1 && lu->invq[j2] == nrow) stack[top++] = j2;
    }
    work += end - beg;
  }
  lu_addwork(lu, kTaskColTriang, work);
}

// The one unpivoted column of row i, with its value; false if there is none.
bool lu_rowsingle(const LuFactor* lu, int32_t i, int32_t* j, double* v) {
  for (int32_t k = lu->ufirr[i]; k < lu->ufirr[i] + lu->uuser[i]; ++k) {
    if (lu->invq[lu->subj[k]] == lu->nrow) {
      *j = lu->subj[k];
      *v = lu->valr[k];
      return true;
    }
  }
  return false;
}

// Row singletons: at the front with an L column (back = false, threshold u), or, with method 1
// at the end, at the back with no L (back = true, absolute tolerance only). Returns the L size.
int64_t lu_rowsingletons(LuFactor* lu, int32_t* rcnt, int32_t* stack, bool back) {
  const int32_t nrow = lu->nrow;
  int32_t top = 0;
  for (int32_t p = lu->stpf; p < nrow - lu->stpb; ++p) {
    if (rcnt[lu->seq[p]] == 1) stack[top++] = lu->seq[p];
  }
  int64_t lsize = 0;
  int64_t work = 0;
  while (top > 0) {
    const int32_t i = stack[--top];
    if (!lu_active(lu, i) || rcnt[i] != 1) continue;
    int32_t j = 0;
    double v = 0.0;
    if (!lu_rowsingle(lu, i, &j, &v) || std::fabs(v) < lu->abstol) continue;
    const int32_t cbeg = lu->ufirc[j];
    const int32_t cend = cbeg + lu->uusec[j];
    work += cend - cbeg + lu->uuser[i];
    if (!back) {
      int32_t count = 0;
      double cmax = 0.0;
      for (int32_t k = cbeg; k < cend; ++k) {
        if (!lu_active(lu, lu->subi[k])) continue;
        ++count;
        cmax = std::max(cmax, std::fabs(lu->valc[k]));
      }
      if (count < 1 || std::fabs(v) < lu->reltol * cmax) continue;
      lsize += count - 1;
    }
    lu_placepivot(lu, i, j, v, !back);
    for (int32_t k = cbeg; k < cend; ++k) {
      const int32_t i2 = lu->subi[k];
      if (lu_active(lu, i2) && --rcnt[i2] == 1) stack[top++] = i2;
    }
  }
  lu_addwork(lu, back ? kTaskColTriangEnd : kTaskRowTriang, work);
  return lsize;
}

// Rebuilds the row file after the singleton passes: a row keeps the entries in columns that are
// unpivoted or pivoted after it; the others are L entries or the pivot itself.
void lu_setupu(LuFactor* lu) {
  const int32_t nrow = lu->nrow;
  int32_t w = 0;
  int64_t nzu = 0;
  for (int32_t i = 0; i < nrow; ++i) {
    const int32_t beg = lu->ufirr[i];
    const int32_t end = beg + lu->uuser[i];
    const int32_t pi = lu->iseq[i];
    const bool pivoted = !lu_active(lu, i);
    int32_t n = 0;
    for (int32_t k = beg; k < end; ++k) {
      const int32_t j = lu->subj[k];
      if (j == lu->q[i]) continue;
      const int32_t r = lu->invq[j];
      if (r != nrow && lu->iseq[r] < pi) continue;
      lu->subj[w + n] = j;
      lu->valr[w + n] = lu->valr[k];
      lu->posc[w + n] = -1;
      ++n;
    }
    if (pivoted) nzu += n + 1;
    if (pivoted && lu->dropu) {
      lu->droppedu += n;
      n = 0;
    }
    int32_t lg = 0;
    lu->ufirr[i] = w;
    lu->uuser[i] = n;
    lu->uszer[i] = VLR_lu_computesize(n, lu->ncol, &lg);
    w += lu->uszer[i];
  }
  lu->uendr = w;
  lu->info.sngu = static_cast<int32_t>(nzu);
  lu_addwork(lu, kTaskSetupU, w);
}

// L columns of the front row singletons at sequence positions [pbeg, pend), from the input
// column copy; entries of later rows only.
int32_t lu_setupl(LuFactor* lu, int32_t pbeg, int32_t pend) {
  int64_t nzl = 0;
  for (int32_t p = pbeg; p < pend; ++p) {
    const int32_t r = lu->seq[p];
    const int32_t c = lu->q[r];
    int32_t len = 0;
    for (int32_t k = lu->ufirc[c]; k < lu->ufirc[c] + lu->uusec[c]; ++k) {
      if (lu->iseq[lu->subi[k]] > p) ++len;
    }
    nzl += len;
    if (lu->dropl) {
      lu->droppedl += len;
      continue;
    }
    if (lu->lbeg - len < lu->uendr) return kLuWorkAreaFull;
    lu->lbeg -= len;
    lu->lfir[r] = lu->lbeg;
    lu->llen[r] = len;
    int32_t w = lu->lbeg;
    const double piv = lu->diag[r];
    for (int32_t k = lu->ufirc[c]; k < lu->ufirc[c] + lu->uusec[c]; ++k) {
      if (lu->iseq[lu->subi[k]] <= p) continue;
      lu->subj[w] = lu->subi[k];
      lu->valr[w] = -lu->valc[k] / piv;
      ++w;
    }
  }
  lu->info.sngl = static_cast<int32_t>(nzl);
  lu_addwork(lu, kTaskSetupL, nzl);
  return kLuOk;
}

int32_t lu_setup(LuFactor* lu, int32_t isize, int32_t* iwork, int32_t rsize) {
  if (lu->state != 1) return kLuNoFactor;
  const int32_t nrow = lu->nrow;
  const int32_t ncol = lu->ncol;
  if (isize < ncol + nrow + std::max(ncol, nrow)) return kLuIworkShort;
  if (rsize < ncol) return kLuRworkShort;
  int32_t* ccnt = iwork;
  int32_t* rcnt = iwork + ncol;
  int32_t* stack = rcnt + nrow;

  // Input into contiguous columns of the column arrays.
  int32_t nz = 0;
  if (lu->getafn != nullptr) {
    const int32_t r = lu_getainput(lu, &nz);
    if (r != kLuOk) return r;
  } else {
    nz = lu_sortinput(lu, ccnt, rcnt);
  }
  lu->info.nzin = nz;
  lu_addwork(lu, kTaskSetupInit, nz);

  // Transpose into the row file.
  std::fill(lu->uuser, lu->uuser + nrow, 0);
  for (int32_t k = 0; k < nz; ++k)
    ++lu->uuser[lu->subi[k]];
  int64_t pos = 0;
  for (int32_t i = 0; i < nrow; ++i) {
    int32_t lg = 0;
    lu->ufirr[i] = static_cast<int32_t>(pos);
    lu->uszer[i] = VLR_lu_computesize(lu->uuser[i], ncol, &lg);
    pos += lu->uszer[i];
    rcnt[i] = lu->uuser[i];
    lu->uuser[i] = 0;
  }
  if (pos > lu->wsze) return kLuWorkAreaFull;
  lu->uendr = static_cast<int32_t>(pos);
  for (int32_t j = 0; j < ncol; ++j) {
    for (int32_t k = lu->ufirc[j]; k < lu->ufirc[j] + lu->uusec[j]; ++k) {
      const int32_t i = lu->subi[k];
      const int32_t p = lu->ufirr[i] + lu->uuser[i]++;
      lu->subj[p] = j;
      lu->valr[p] = lu->valc[k];
      lu->posc[p] = k;
      lu->posr[k] = p;
    }
    ccnt[j] = lu->uusec[j];
  }
  lu_addwork(lu, kTaskSetupTranspose, nz);
  for (int32_t p = 0; p < nrow; ++p) {
    lu->seq[p] = p;
    lu->iseq[p] = p;
  }
  lu->state = 2;

  lu_colsingletons(lu, ccnt, stack);
  const int32_t rowbeg = lu->stpf;
  int64_t lsize = lu_rowsingletons(lu, rcnt, stack, false);
  const int32_t rowend = lu->stpf;
  if (lu->pivmethod == 1) lsize += lu_rowsingletons(lu, rcnt, stack, true);
  (void)lsize;
  lu_setupu(lu);
  const int32_t r = lu_setupl(lu, rowbeg, rowend);
  if (r != kLuOk) return r;
  VLR_lu_resetufre(lu->rfree, lu->wsze);
  VLR_lu_resetufre(lu->cfree, lu->wsze);
  lu->uendc = 0;
  std::fill(lu->uusec, lu->uusec + ncol, 0);
  std::fill(lu->uszec, lu->uszec + ncol, 0);
  return kLuOk;
}

int32_t lu_progress(LuFactor* lu, int32_t code, int32_t count) {
  if (lu->progfn == nullptr) return 0;
  return lu->progfn(lu->proghandle, code, count, 0);
}

void lu_printprogress(LuFactor* lu, int64_t work) {
  if (lu->printlevel <= 0) return;
  VLR_sysenv_printf(
      lu->sys,
      "left: %-8d  work: %-16lld  maxwork: %-16lld   Num. gar. cols.: %-6d   Num. bld. "
      "cols.: %-6lld   #row resizes   : %-6d   #col resizes   : %-6d\n",
      lu->nrow - lu->stpf - lu->stpb, static_cast<long long>(work),
      static_cast<long long>(lu->maxwork), lu->ngc,
      static_cast<long long>(lu->ncall[kTaskBuildCol]), lu->nrowresize, lu->ncolresize);
}

}  // namespace

int32_t VLR_lu_init(LuFactor* lu) {
  if (lu->valr == nullptr) return kLuWorkAreaFull;
  const int32_t nrow = lu->nrow;
  const int32_t ncol = lu->ncol;
  lu->state = 1;
  lu->stpf = 0;
  lu->stpb = 0;
  lu->uendr = 0;
  lu->uendc = 0;
  lu->nzin = 0;
  lu->lupds = 0;
  lu->lbeg = lu->wsze;
  lu->lend = lu->wsze;
  lu->ngc = 0;
  lu->nrowresize = 0;
  lu->ncolresize = 0;
  lu->info.lastgarcol = 0;
  lu->factornow = 0;
  lu->incwsze = 0;
  std::fill(lu->q, lu->q + nrow, ncol);
  std::fill(lu->invq, lu->invq + ncol, nrow);
  std::fill(lu->uuser, lu->uuser + nrow, 0);
  std::fill(lu->uszer, lu->uszer + nrow, 0);
  std::fill(lu->uusec, lu->uusec + ncol, 0);
  std::fill(lu->uszec, lu->uszec + ncol, 0);
  std::fill(lu->diag, lu->diag + nrow, 0.0);
  std::fill(lu->lfir, lu->lfir + nrow, 0);
  std::fill(lu->llen, lu->llen + nrow, 0);
  VLR_lu_resettaskinfo(lu);
  lu->dropl = lu->dropl0;
  lu->dropu = lu->dropu0;
  lu->droplforced = 0;
  lu->dropuforced = 0;
  lu->droppedl = 0;
  lu->droppedu = 0;
  return kLuOk;
}

int32_t VLR_lu_inaij(LuFactor* lu, int32_t i, int32_t j, double value) {
  if (lu->state != 1) return kLuNoFactor;
  if (i < 0 || i >= lu->nrow || j < 0 || j >= lu->ncol) return kLuIndexRange;
  if (std::fabs(value) <= lu->droptol) return kLuOk;
  if (lu->nzin >= lu->wsze) return kLuWorkAreaFull;
  lu->subi[lu->nzin] = i;
  lu->posr[lu->nzin] = j;
  lu->valc[lu->nzin] = value;
  ++lu->nzin;
  return kLuOk;
}

int32_t VLR_lu_inak(LuFactor* lu, int32_t j, int32_t nz, const int32_t* sub, const double* val) {
  for (int32_t k = 0; k < nz; ++k) {
    const int32_t r = VLR_lu_inaij(lu, sub[k], j, val[k]);
    if (r != kLuOk) return r;
  }
  return kLuOk;
}

int32_t VLR_lu_inaj2(LuFactor* lu, int32_t j, int32_t nz, const double* val, const int32_t* sub,
                     int32_t limit, const int32_t* map) {
  for (int32_t k = 0; k < nz; ++k) {
    const int32_t i = map != nullptr ? map[sub[k]] : sub[k];
    if (i >= limit) continue;
    if (i >= lu->nrow) return kLuIndexRange;
    const int32_t r = VLR_lu_inaij(lu, i, j, val[k]);
    if (r != kLuOk) return r;
  }
  return kLuOk;
}

int32_t VLR_lu_factor(LuFactor* lu, int32_t isize, int32_t* iwork, int32_t rsize, double* rwork) {
  const double t0 = lu->dotiming ? VLR_sysenv_gettime(lu->sys) : 0.0;
  lu_addcall(lu, kTaskFactor);
  if (lu_progress(lu, 0, 0) != 0) return kLuStopped;
  const int32_t nrow = lu->nrow;
  const int32_t ncol = lu->ncol;
  int32_t need = 0, rneed = 0;
  VLR_lu_getfactorspace(nrow, ncol, &need, &rneed);
  if (isize < need) return kLuIworkShort;
  if (rsize < rneed) return kLuRworkShort;
  int32_t r = lu_setup(lu, isize, iwork, rsize);
  if (r != kLuOk) {
    lu->state = 0;
    return r;
  }
  if (lu->stpf + lu->stpb == nrow) ++lu->info.numtriangular;
  if (lu->stpf + lu->stpb < nrow) {
    r = VLR_lu_buildcoldbg(VLR_HERE, lu);
    if (r != kLuOk) return r;
  }
  int32_t* w = iwork;
  VLR_pq_setup(lu->rowq, nrow, ncol, ncol + 3 * nrow + 1, w);
  w += ncol + 3 * nrow + 1;
  VLR_pq_setup(lu->colq, ncol, nrow, nrow + 3 * ncol + 1, w);
  w += nrow + 3 * ncol + 1;
  lu->cmark = w;
  lu->clist = w + ncol;
  lu->rlist = w + 2 * ncol;
  lu->cmax = rwork;
  lu->rmax = rwork + ncol;
  lu->dwork = rwork + ncol + nrow;
  std::fill(lu->cmark, lu->cmark + ncol, 0);
  for (int32_t p = lu->stpf; p < nrow - lu->stpb; ++p) {
    const int32_t i = lu->seq[p];
    lu->rmax[i] = -1.0;
    if (lu->uuser[i] > 0) VLR_pq_putp(lu->rowq, i, lu->uuser[i]);
  }
  for (int32_t j = 0; j < ncol; ++j) {
    lu->cmax[j] = -1.0;
    lu->dwork[j] = 0.0;
    if (lu->invq[j] == nrow && lu->uusec[j] > 0) VLR_pq_putp(lu->colq, j, lu->uusec[j]);
  }
  if (lu->printlevel > 0) {
    VLR_sysenv_printf(lu->sys, "%-8s: %-10d %-8s: %-10d %-8s: %-10d\n", "nrow", nrow, "stpf",
                      lu->stpf, "stpb", lu->stpb);
  }
  lu->nextprint = 100000;
  while (lu->stpf + lu->stpb < nrow) {
    const int64_t work = lu->wcur[kTaskPivot] + lu->wcur[kTaskSearch];
    if (lu->maxwork > 0 && work > lu->maxwork) {
      lu->state = 0;
      return kLuWorkLimit;
    }
    if (work >= lu->nextprint) {
      lu->nextprint += 100000;
      lu_printprogress(lu, work);
      if (lu_progress(lu, 2, lu->stpf + lu->stpb) != 0) {
        lu->state = 0;
        return kLuStopped;
      }
    }
    int32_t pr = nrow, pc = ncol, pf = 1;
    VLR_lu_choosepiv(lu, &pr, &pc, &pf);
    if (pr == nrow) break;
    r = VLR_lu_dopivot(lu, pr, pc, pf);
    if (r != kLuOk) {
      if (lu->state == 2) lu->state = 0;
      return r;
    }
  }
  if (lu->droplforced || lu->dropuforced) r = kLuWorkAreaFull;
  if (r == kLuOk && lu->stpf + lu->stpb == nrow) r = VLR_lu_finalizefactor(lu);
  ++lu->info.numfac;
  if (lu->dotiming) {
    const double t = VLR_sysenv_gettime(lu->sys) - t0;
    lu->tcur[kTaskFactor] += t;
    lu->ttot[kTaskFactor] += t;
  }
  if (lu_progress(lu, 3, lu->stpf + lu->stpb) != 0 && r == kLuOk) r = kLuStopped;
  return r;
}

int32_t VLR_lu_finalizefactor(LuFactor* lu) {
  if (lu->state != 2 || lu->stpf + lu->stpb != lu->nrow) return kLuNotComplete;
  const int32_t nrow = lu->nrow;
  for (int32_t p = 0; p < nrow; ++p) {
    lu->pseq[p] = lu->seq[p];
    lu->ipseq[lu->seq[p]] = p;
  }
  // Pack the L columns, in pivot order, from the row arrays to the top of the column arrays.
  int32_t top = lu->wsze;
  int64_t nzl = 0;
  for (int32_t p = 0; p < nrow; ++p) {
    const int32_t r = lu->pseq[p];
    const int32_t len = lu->dropl ? 0 : lu->llen[r];
    const int32_t src = lu->lfir[r];
    top -= len;
    for (int32_t k = 0; k < len; ++k) {
      lu->subi[top + k] = lu->subj[src + k];
      lu->valc[top + k] = lu->valr[src + k];
    }
    lu->lfir[r] = top;
    lu->llen[r] = len;
    nzl += len;
  }
  // The transposed L in the row arrays of the same region.
  std::fill(lu->ltlen, lu->ltlen + nrow, 0);
  for (int32_t k = top; k < lu->wsze; ++k)
    ++lu->ltlen[lu->subi[k]];
  int32_t pos = top;
  for (int32_t i = 0; i < nrow; ++i) {
    lu->ltfir[i] = pos;
    pos += lu->ltlen[i];
    lu->ltlen[i] = 0;
  }
  for (int32_t p = 0; p < nrow; ++p) {
    const int32_t r = lu->pseq[p];
    for (int32_t k = lu->lfir[r]; k < lu->lfir[r] + lu->llen[r]; ++k) {
      const int32_t i = lu->subi[k];
      const int32_t t = lu->ltfir[i] + lu->ltlen[i]++;
      lu->subj[t] = r;
      lu->valr[t] = lu->valc[k];
    }
  }
  lu->ltsze = nzl;
  lu->lseqlen = lu->ltseqlen = 0;
  for (int32_t p = 0; p < nrow; ++p) {
    const int32_t r = lu->pseq[p], rt = lu->pseq[nrow - 1 - p];
    if (lu->llen[r] > 0) lu->lseq[lu->lseqlen++] = r;
    if (lu->ltlen[rt] > 0) lu->ltseq[lu->ltseqlen++] = rt;
  }
  lu_addwork(lu, kTaskFinalizeL, 2 * nzl);
  // The sequence becomes the linked U order.
  const int32_t nil = nrow;
  for (int32_t p = 0; p < nrow; ++p) {
    const int32_t r = lu->pseq[p];
    lu->seq[r] = p + 1 < nrow ? lu->pseq[p + 1] : nil;
    lu->iseq[r] = p > 0 ? lu->pseq[p - 1] : nil;
    lu->uord[p] = r;
    lu->uordat[r] = p;
  }
  lu->uordlen = nrow;
  lu->head = nrow > 0 ? lu->pseq[0] : nil;
  lu->tail = nrow > 0 ? lu->pseq[nrow - 1] : nil;
  lu->lupds = 0;
  lu->lbeg = top;
  lu->lend = top;
  lu->etab[0] = top;
  lu->state = 3;
  VLR_lu_resetufre(lu->rfree, lu->wsze);
  const int32_t r = VLR_lu_buildcoldbg(VLR_HERE, lu);
  if (r != kLuOk) {
    lu->incwsze = 1;
    lu->state = 0;
    return r;
  }
  int64_t nzu = 0;
  for (int32_t i = 0; i < nrow; ++i)
    nzu += lu->uuser[i];
  lu->info.nzl = static_cast<int32_t>(nzl);
  lu->info.nzu = static_cast<int32_t>(nzu);
  lu->facmethod = lu->pivmethod;
  lu->facreltol = lu->reltol;
  lu->facabstol = lu->abstol;
  lu->rulef = 0;
  lu->ruleb = 0;
  lu->rulet = 0;
  lu_addwork(lu, kTaskFinalize, nrow);
  return kLuOk;
}

int32_t VLR_lu_insart(LuFactor* lu, int32_t* map, int32_t isize, int32_t* iwork, double value) {
  (void)iwork;
  if (lu->state != 2) return kLuNoFactor;
  const int32_t nrow = lu->nrow;
  const int32_t ncol = lu->ncol;
  if (isize < nrow) return kLuIworkShort;
  if (lu->droplforced || lu->dropuforced || lu->dropl || lu->dropu) return kLuWorkAreaFull;
  // Entries in the columns that stay unpivoted leave U, so that each such column becomes
  // exactly value times its unit vector.
  for (int32_t i = 0; i < nrow; ++i) {
    int32_t w = lu->ufirr[i];
    for (int32_t k = lu->ufirr[i]; k < lu->ufirr[i] + lu->uuser[i]; ++k) {
      if (lu->invq[lu->subj[k]] >= nrow) continue;
      lu->subj[w] = lu->subj[k];
      lu->valr[w] = lu->valr[k];
      lu->posc[w] = -1;
      ++w;
    }
    lu->uuser[i] = w - lu->ufirr[i];
  }
  std::fill(map, map + ncol, ncol);
  int32_t j = 0;
  int32_t pairs = 0;
  for (int32_t i = 0; i < nrow; ++i) {
    if (lu->q[i] < ncol) continue;
    while (j < ncol && lu->invq[j] < nrow)
      ++j;
    if (j == ncol) break;
    lu->diag[i] = value;
    lu->q[i] = j;
    lu->invq[j] = i;
    map[j] = i;
    ++pairs;
  }
  lu->stpf += pairs;
  if (lu->stpf + lu->stpb != nrow) return kLuNotComplete;
  return VLR_lu_finalizefactor(lu);
}

}  // namespace vlr
