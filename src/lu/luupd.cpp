// src/lu/luupd.cpp: replace one column of the factored basis by a row-eta update of U, and
// decide from the work done when a refactorisation pays.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>

#include "lu/ludat.h"

namespace vlr {

namespace {

__extension__ typedef __int128 lu_int128;

// Work-based refactorisation rule, called after update number k. Only work units decide, so
// two runs on the same data refactor at the same update.
void lu_refactorrule(LuFactor* lu) {
  const int64_t k = lu->lupds;
  if (lu->trh > 0) {
    lu->factornow = k >= lu->trh ? 1 : 0;
    return;
  }
  int64_t s = 0;
  for (int32_t t = kTaskUpdInit; t <= kTaskSparseUfw; ++t)
    s += lu->wcur[t];
  if (k == 1) {
    int64_t f = 0;
    for (int32_t t = kTaskInput; t <= kTaskFinalize; ++t)
      f += lu->wcur[t];
    lu->rulef = f;
    lu->ruleb = 1;
    lu->rulet = f + s;
  } else if (static_cast<lu_int128>(lu->rulet) * k >
             static_cast<lu_int128>(lu->rulef + s) * lu->ruleb) {
    // The average cost per update, factor included, is the lowest so far.
    lu->ruleb = k;
    lu->rulet = lu->rulef + s;
  }
  const int32_t slot = static_cast<int32_t>(k % kLuRingSize);
  const int64_t old = k >= kLuRingSize ? lu->ring[slot] : 0;
  lu->ring[slot] = s;
  const int64_t d = s - old;
  // Refactor once the recent work per update reaches 1.01 times the best average cost.
  lu->factornow =
      k >= 10 && static_cast<lu_int128>(100) * d * lu->ruleb >=
                     static_cast<lu_int128>(101) * lu->rulet * std::min<int64_t>(k, kLuRingSize)
          ? 1
          : 0;
}

void lu_clearspike(int32_t* nz, double* spike, const int32_t* pattern) {
  for (int32_t k = 0; k < *nz; ++k)
    spike[pattern[k]] = 0.0;
  *nz = 0;
}

// Puts entry (i, jin, v) into the row and the column file, growing both slots first.
int32_t lu_insertspike(LuFactor* lu, int32_t i, int32_t jin, double v) {
  if (lu->uuser[i] >= lu->uszer[i]) {
    const int32_t st = VLR_lu_resizerow(lu, i, lu->uuser[i] + 1);
    if (st != kLuOk) return st;
  }
  if (lu->uusec[jin] >= lu->uszec[jin]) {
    const int32_t st = VLR_lu_resizecol(lu, jin, lu->uusec[jin] + 1);
    if (st != kLuOk) return st;
  }
  const int32_t pr = lu->ufirr[i] + lu->uuser[i]++;
  const int32_t pc = lu->ufirc[jin] + lu->uusec[jin]++;
  lu->subj[pr] = jin;
  lu->valr[pr] = v;
  lu->posc[pr] = pc;
  lu->subi[pc] = i;
  lu->valc[pc] = v;
  lu->posr[pc] = pr;
  return kLuOk;
}

}  // namespace

void VLR_lu_initupdate(LuFactor* lu) {
  lu->factornow = 0;
  lu->ruleb = 0;
  lu->rulet = 0;
  std::fill(lu->ring, lu->ring + kLuRingSize, 0);
}

int32_t VLR_lu_supdl(LuFactor* lu, int32_t jout, int32_t jin, int32_t* nz, double* spike,
                     int32_t* pattern, int32_t isize, int32_t* iwork, int32_t msize,
                     int32_t* marker, int32_t rsize, double* rwork) {
  const int32_t nrow = lu->nrow;
  if (lu->state != 3) {
    lu_clearspike(nz, spike, pattern);
    return kLuNoFactor;
  }
  if (jout < 0 || jout >= lu->ncol || jin < 0 || jin >= lu->ncol || lu->invq[jout] >= nrow ||
      (jin != jout && lu->invq[jin] < nrow)) {
    lu_clearspike(nz, spike, pattern);
    return kLuIndexRange;
  }
  const int32_t r = lu->invq[jout];
  if (lu->q[r] != jout || lu->lupds > lu->mlu) {
    VLR_sysenv_stopdbg(lu->sys, VLR_HERE, "update: q[%d]=%d jout=%d lupds=%d mlu=%d", r, lu->q[r],
                       jout, lu->lupds, lu->mlu);
  }
  if (isize < 3 * nrow || msize < nrow || rsize < 2 * nrow) {
    VLR_sysenv_stopdbg(lu->sys, VLR_HERE, "Space. demand: %d supply: %d", 3 * nrow,
                       std::min({isize, msize, rsize}));
  }
  const double t0 = lu->dotiming ? VLR_sysenv_gettime(lu->sys) : 0.0;
  lu_addcall(lu, kTaskUpdate);
  double* w = rwork;
  double* ev = rwork + nrow;
  int32_t* eidx = iwork;

  // Row r of U, eliminated by the rows after it in topological order, gives the eta.
  const int32_t rbeg = lu->ufirr[r];
  const int32_t rlen = lu->uuser[r];
  int64_t work = rlen;
  int32_t* list = iwork + nrow;
  int32_t first = nrow;
  {
    int32_t* stack = iwork;
    int32_t top = 0;
    for (int32_t s = 0; s < rlen; ++s) {
      const int32_t root = lu->invq[lu->subj[rbeg + s]];
      if (marker[root] != 0) continue;
      marker[root] = 1;
      stack[top++] = root;
      while (top > 0) {
        const int32_t node = stack[top - 1];
        const int32_t t = marker[node] - 1;
        if (t < lu->uuser[node]) {
          ++marker[node];
          const int32_t ch = lu->invq[lu->subj[lu->ufirr[node] + t]];
          if (marker[ch] == 0) {
            marker[ch] = 1;
            stack[top++] = ch;
          }
        } else {
          --top;
          list[--first] = node;
          work += lu->uuser[node];
        }
      }
    }
  }
  // The work need not be clean on entry: clear the reach, then scatter row r.
  for (int32_t p = first; p < nrow; ++p)
    w[list[p]] = 0.0;
  for (int32_t k = rbeg; k < rbeg + rlen; ++k)
    w[lu->invq[lu->subj[k]]] = lu->valr[k];
  lu_addwork(lu, kTaskUpdInit, work);
  work = 0;
  int32_t ne = 0;
  double etanorm = 0.0;
  for (int32_t p = first; p < nrow; ++p) {
    const int32_t i = list[p];
    marker[i] = 0;
    double v = w[i];
    w[i] = 0.0;
    if (std::fabs(v) <= kLuUpdateTiny) continue;
    v /= lu->diag[i];
    if (std::fabs(v) <= kLuUpdateTiny) continue;
    eidx[ne] = i;
    ev[ne] = v;
    ++ne;
    etanorm = std::max(etanorm, std::fabs(v));
    const int32_t beg = lu->ufirr[i];
    const int32_t end = beg + lu->uuser[i];
    for (int32_t k = beg; k < end; ++k)
      w[lu->invq[lu->subj[k]]] -= v * lu->valr[k];
    work += end - beg;
  }

  // The new diagonal and its stability; a refusal leaves the factor of the old basis.
  double d = spike[r];
  for (int32_t t = 0; t < ne; ++t)
    d -= ev[t] * spike[eidx[t]];
  double spikenorm = 0.0;
  for (int32_t k = 0; k < *nz; ++k)
    spikenorm = std::max(spikenorm, std::fabs(spike[pattern[k]]));
  work += ne + *nz;
  lu_addwork(lu, kTaskUpdFactors, work);
  // |d| exactly at the tolerance is refused: the test is "at most", not "below".
  if (std::fabs(d) <= std::max(lu->abstol, lu->droptol) ||
      std::fabs(d) <= kLuUpdateTiny * spikenorm * etanorm) {
    lu_clearspike(nz, spike, pattern);
    return kLuUpdateRefused;
  }
  if (lu->lupds == lu->mlu) {
    lu_clearspike(nz, spike, pattern);
    return kLuUpdateNoRoom;
  }

  // Column jout and row r leave U; the spike becomes column jin.
  for (int32_t k = rbeg; k < rbeg + rlen; ++k) {
    VLR_lu_delcolentry(lu, lu->subj[k], lu->posc[k]);
  }
  lu->uuser[r] = 0;
  for (int32_t k = lu->ufirc[jout] + lu->uusec[jout] - 1; k >= lu->ufirc[jout]; --k) {
    VLR_lu_delrowentry(lu, lu->subi[k], lu->posr[k]);
  }
  lu->uusec[jout] = 0;
  lu->invq[jout] = nrow;
  lu->q[r] = jin;
  lu->invq[jin] = r;
  lu->diag[r] = d;
  int32_t st = kLuOk;
  for (int32_t k = 0; k < *nz && st == kLuOk; ++k) {
    const int32_t i = pattern[k];
    if (i == r || std::fabs(spike[i]) <= lu->droptol) continue;
    st = lu_insertspike(lu, i, jin, spike[i]);
  }
  lu_clearspike(nz, spike, pattern);
  if (st == kLuOk && (lu->uendr + ne > lu->lbeg || lu->uendc + ne > lu->lbeg)) {
    st = VLR_lu_garcol(lu);
    if (st == kLuOk && (lu->uendr + ne > lu->lbeg || lu->uendc + ne > lu->lbeg)) {
      st = kLuWorkAreaFull;
    }
  }
  if (st != kLuOk) {
    // The factor is spoiled: the caller refactors, with a larger area unless the work of the
    // updates had already asked for a new factor.
    lu->state = 0;
    lu->incwsze = lu->factornow == 0 ? 1 : 0;
    return kLuUpdateNoRoom;
  }
  lu->lbeg -= ne;
  for (int32_t t = 0; t < ne; ++t) {
    lu->subj[lu->lbeg + t] = eidx[t];
    lu->valr[lu->lbeg + t] = -ev[t];
  }
  lu->etarow[lu->lupds] = r;
  ++lu->lupds;
  lu->etab[lu->lupds] = lu->lbeg;
  VLR_lu_movetotail(lu, r);
  ++lu->info.numupd;
  lu_refactorrule(lu);
  if (lu->dotiming) {
    const double t = VLR_sysenv_gettime(lu->sys) - t0;
    lu->tcur[kTaskUpdate] += t;
    lu->ttot[kTaskUpdate] += t;
  }
  return lu->factornow ? kLuRefactorSoon : kLuOk;
}

int32_t VLR_lu_supd(LuFactor* lu, int32_t jout, int32_t jin, int32_t* nz, double* spike,
                    int32_t* pattern, int32_t isize, int32_t* iwork, int32_t msize, int32_t* marker,
                    int32_t rsize, double* rwork) {
  const int32_t r = VLR_lu_ftranl(lu, nz, spike, pattern, marker, isize, iwork);
  if (r != kLuOk) {
    lu_clearspike(nz, spike, pattern);
    return r;
  }
  return VLR_lu_supdl(lu, jout, jin, nz, spike, pattern, isize, iwork, msize, marker, rsize, rwork);
}

}  // namespace vlr
