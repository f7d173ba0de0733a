// src/lu/lusto.cpp: storage of the row and column files: slots, free lists, collections.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "lu/ludat.h"

namespace vlr {

namespace {

int32_t slotlog(int32_t size) {
  int32_t lg = 0;
  while ((int64_t{1} << lg) < size)
    ++lg;
  return lg;
}

// Rows and columns that belong to the column file: while factoring the active rows and the
// unpivoted columns only; once factored all of them.
inline bool lu_rowincol(const LuFactor* lu, int32_t i) {
  if (lu->state == 3) return true;
  const int32_t p = lu->iseq[i];
  return p >= lu->stpf && p < lu->nrow - lu->stpb;
}

inline bool lu_colincol(const LuFactor* lu, int32_t j) {
  return lu->state == 3 || lu->invq[j] >= lu->nrow;
}

}  // namespace

int32_t VLR_lu_computesize(int32_t s, int32_t cap, int32_t* lg) {
  if (s <= 0) {
    *lg = -1;
    return 0;
  }
  int32_t l = 0;
  int64_t sz = 1;
  while (sz < s) {
    sz <<= 1;
    ++l;
  }
  *lg = l;
  return static_cast<int32_t>(std::min<int64_t>(sz, std::max(cap, s)));
}

void VLR_lu_resetufre(int32_t* heads, int32_t empty) {
  std::fill(heads, heads + kLuNumLogs, empty);
}

void VLR_lu_delrowentry(LuFactor* lu, int32_t i, int32_t k) {
  const int32_t last = lu->ufirr[i] + lu->uuser[i] - 1;
  if (k != last) {
    lu->subj[k] = lu->subj[last];
    lu->valr[k] = lu->valr[last];
    lu->posc[k] = lu->posc[last];
    if (lu->posc[k] >= 0) lu->posr[lu->posc[k]] = k;
  }
  --lu->uuser[i];
}

void VLR_lu_delcolentry(LuFactor* lu, int32_t j, int32_t k) {
  const int32_t last = lu->ufirc[j] + lu->uusec[j] - 1;
  if (k != last) {
    lu->subi[k] = lu->subi[last];
    lu->valc[k] = lu->valc[last];
    lu->posr[k] = lu->posr[last];
    lu->posc[lu->posr[k]] = k;
  }
  --lu->uusec[j];
}

int32_t VLR_lu_resizerow(LuFactor* lu, int32_t i, int32_t size) {
  int32_t lg = 0;
  const int32_t newsz = VLR_lu_computesize(size, lu->ncol, &lg);
  if (newsz == lu->uszer[i]) return kLuOk;
  int32_t pos = lu->wsze;
  if (newsz > 0) {
    if (lu->rfree[lg] != lu->wsze) {
      pos = lu->rfree[lg];
      lu->rfree[lg] = lu->posc[pos];
    } else {
      if (lu->uendr + newsz > lu->lbeg) {
        const int32_t r = VLR_lu_garcol(lu);
        if (r != kLuOk) return r;
        if (lu->uszer[i] == newsz) return kLuOk;
        if (lu->uendr + newsz > lu->lbeg) return kLuWorkAreaFull;
      }
      pos = lu->uendr;
      lu->uendr += newsz;
    }
    ++lu->nrowresize;
  }
  const int32_t old = lu->ufirr[i];
  const int32_t n = lu->uuser[i];
  lu_addwork(lu, lu->state == 3 ? kTaskUpdMoveRow : kTaskMoveRow, n);
  for (int32_t k = 0; k < n; ++k) {
    lu->subj[pos + k] = lu->subj[old + k];
    lu->valr[pos + k] = lu->valr[old + k];
    lu->posc[pos + k] = lu->posc[old + k];
    if (lu->posc[pos + k] >= 0) lu->posr[lu->posc[pos + k]] = pos + k;
  }
  if (lu->uszer[i] > 0) {
    const int32_t ol = slotlog(lu->uszer[i]);
    lu->posc[old] = lu->rfree[ol];
    lu->rfree[ol] = old;
  }
  lu->ufirr[i] = newsz > 0 ? pos : 0;
  lu->uszer[i] = newsz;
  return kLuOk;
}

int32_t VLR_lu_resizecol(LuFactor* lu, int32_t j, int32_t size) {
  int32_t lg = 0;
  const int32_t newsz = VLR_lu_computesize(size, lu->nrow, &lg);
  if (newsz == lu->uszec[j]) return kLuOk;
  int32_t pos = lu->wsze;
  if (newsz > 0) {
    if (lu->cfree[lg] != lu->wsze) {
      pos = lu->cfree[lg];
      lu->cfree[lg] = lu->posr[pos];
    } else {
      if (lu->uendc + newsz > lu->lbeg) {
        const int32_t r = VLR_lu_buildcoldbg(VLR_HERE, lu);
        if (r != kLuOk) return r;
        if (lu->uszec[j] == newsz) return kLuOk;
        if (lu->uendc + newsz > lu->lbeg) return kLuWorkAreaFull;
      }
      pos = lu->uendc;
      lu->uendc += newsz;
    }
    ++lu->ncolresize;
  }
  const int32_t old = lu->ufirc[j];
  const int32_t n = lu->uusec[j];
  lu_addwork(lu, lu->state == 3 ? kTaskUpdMoveCol : kTaskMoveCol, n);
  for (int32_t k = 0; k < n; ++k) {
    lu->subi[pos + k] = lu->subi[old + k];
    lu->valc[pos + k] = lu->valc[old + k];
    lu->posr[pos + k] = lu->posr[old + k];
    lu->posc[lu->posr[pos + k]] = pos + k;
  }
  if (lu->uszec[j] > 0) {
    const int32_t ol = slotlog(lu->uszec[j]);
    lu->posr[old] = lu->cfree[ol];
    lu->cfree[ol] = old;
  }
  lu->ufirc[j] = newsz > 0 ? pos : 0;
  lu->uszec[j] = newsz;
  return kLuOk;
}

int32_t VLR_lu_buildcoldbg(const char* file, int line, LuFactor* lu) {
  (void)file;
  (void)line;
  const int32_t nrow = lu->nrow;
  const int32_t ncol = lu->ncol;
  int32_t* uusec = lu->uusec;
  lu_addcall(lu, kTaskBuildCol);
  std::fill(uusec, uusec + ncol, 0);
  int64_t work = 0;
  for (int32_t i = 0; i < nrow; ++i) {
    const int32_t end = lu->ufirr[i] + lu->uuser[i];
    const bool inrow = lu_rowincol(lu, i);
    for (int32_t k = lu->ufirr[i]; k < end; ++k) {
      lu->posc[k] = -1;
      if (inrow && lu_colincol(lu, lu->subj[k])) ++uusec[lu->subj[k]];
    }
    work += lu->uuser[i];
  }
  int64_t pos = 0;
  for (int32_t j = 0; j < ncol; ++j) {
    int32_t lg = 0;
    lu->ufirc[j] = static_cast<int32_t>(pos);
    lu->uszec[j] = VLR_lu_computesize(uusec[j], nrow, &lg);
    pos += lu->uszec[j];
    uusec[j] = 0;
  }
  if (pos > lu->lbeg) {
    std::fill(lu->uszec, lu->uszec + ncol, 0);
    lu->state = 0;
    return kLuWorkAreaFull;
  }
  const bool values = lu->state == 3;
  for (int32_t i = 0; i < nrow; ++i) {
    if (!lu_rowincol(lu, i)) continue;
    const int32_t end = lu->ufirr[i] + lu->uuser[i];
    for (int32_t k = lu->ufirr[i]; k < end; ++k) {
      const int32_t j = lu->subj[k];
      if (!lu_colincol(lu, j)) continue;
      const int32_t p = lu->ufirc[j] + uusec[j]++;
      lu->subi[p] = i;
      lu->posr[p] = k;
      lu->posc[k] = p;
      if (values) lu->valc[p] = lu->valr[k];
    }
  }
  lu->uendc = static_cast<int32_t>(pos);
  VLR_lu_resetufre(lu->cfree, lu->wsze);
  lu_addwork(lu, kTaskBuildCol, work + ncol);
  return kLuOk;
}

int32_t VLR_lu_garcol(LuFactor* lu) {
  if (lu->state == 2 && lu->ngc >= lu->gclimit) {
    lu->state = 0;
    lu->gclimit *= 2;
    return kLuTooManyGarCols;
  }
  ++lu->ngc;
  ++lu->info.numgarcol;
  ++lu->info.lastgarcol;
  const int32_t nrow = lu->nrow;
  const int32_t nil = nrow;
  // Rows in sequence order: the array while factoring, the linked list once factored.
  auto first = [&]() { return lu->state == 3 ? lu->head : (nrow > 0 ? lu->seq[0] : nil); };
  int32_t at = 0;
  auto next = [&](int32_t i) {
    if (lu->state == 3) return lu->seq[i];
    ++at;
    return at < nrow ? lu->seq[at] : nil;
  };
  int64_t pos = 0;
  int32_t i = first();
  int32_t lg = 0;
  while (i != nil && lu->ufirr[i] == pos &&
         lu->uszer[i] == VLR_lu_computesize(lu->uuser[i], lu->ncol, &lg)) {
    pos += lu->uszer[i];
    i = next(i);
  }
  const int32_t restfirst = i;
  const int32_t restat = at;
  int64_t total = pos;
  for (int32_t r = restfirst; r != nil; r = next(r)) {
    total += VLR_lu_computesize(lu->uuser[r], lu->ncol, &lg);
  }
  if (total > lu->lbeg) {
    lu->state = 0;
    return kLuWorkAreaFull;
  }
  // Stage the rest in the column arrays, which are rebuilt below anyway.
  int64_t s = 0;
  at = restat;
  for (int32_t r = restfirst; r != nil; r = next(r)) {
    const int32_t f = lu->ufirr[r];
    for (int32_t k = 0; k < lu->uuser[r]; ++k) {
      lu->subi[s + k] = lu->subj[f + k];
      lu->valc[s + k] = lu->valr[f + k];
    }
    s += lu->uuser[r];
  }
  s = 0;
  at = restat;
  for (int32_t r = restfirst; r != nil; r = next(r)) {
    lu->ufirr[r] = static_cast<int32_t>(pos);
    lu->uszer[r] = VLR_lu_computesize(lu->uuser[r], lu->ncol, &lg);
    for (int32_t k = 0; k < lu->uuser[r]; ++k) {
      lu->subj[pos + k] = lu->subi[s + k];
      lu->valr[pos + k] = lu->valc[s + k];
      lu->posc[pos + k] = -1;
    }
    s += lu->uuser[r];
    pos += lu->uszer[r];
  }
  lu->uendr = static_cast<int32_t>(pos);
  VLR_lu_resetufre(lu->rfree, lu->wsze);
  lu_addwork(lu, lu->state == 3 ? kTaskUpdMoveRow : kTaskMoveRow, s);
  return VLR_lu_buildcoldbg(VLR_HERE, lu);
}

int32_t VLR_lu_handlewfull(LuFactor* lu) {
  if (lu->state != 2) return kLuWorkAreaFull;
  if (!lu->dropl) {
    // Forget L: the rest of the factor gives the rank only, and the area gains the L region.
    lu->dropl = 1;
    lu->droplforced = 1;
    lu->droppedl += lu->wsze - lu->lbeg;
    lu->lbeg = lu->wsze;
    return kLuOk;
  }
  if (!lu->dropu) {
    lu->dropu = 1;
    lu->dropuforced = 1;
    for (int32_t p = 0; p < lu->nrow; ++p) {
      if (p >= lu->stpf && p < lu->nrow - lu->stpb) continue;
      const int32_t i = lu->seq[p];
      lu->droppedu += lu->uuser[i];
      lu->uuser[i] = 0;
      VLR_lu_resizerow(lu, i, 0);
    }
  }
  return VLR_lu_garcol(lu);
}

}  // namespace vlr
