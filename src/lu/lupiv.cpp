// src/lu/lupiv.cpp: Markowitz search with threshold pivoting, and the elimination step.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>

#include "lu/ludat.h"

namespace vlr {

namespace {

constexpr int32_t kNil = -1;

// Largest absolute value of column j over the active rows; -1.0 marks it unknown.
double lu_colmax(LuFactor* lu, int32_t j, int64_t* work) {
  if (lu->cmax[j] != -1.0) return lu->cmax[j];
  double m = 0.0;
  const int32_t beg = lu->ufirc[j];
  const int32_t end = beg + lu->uusec[j];
  for (int32_t k = beg; k < end; ++k)
    m = std::max(m, std::fabs(lu->valr[lu->posr[k]]));
  *work += end - beg;
  lu->cmax[j] = m;
  return m;
}

// Plain largest absolute value of row i.
double lu_rowmax(LuFactor* lu, int32_t i, int64_t* work) {
  if (lu->rmax[i] != -1.0) return lu->rmax[i];
  double m = 0.0;
  const int32_t beg = lu->ufirr[i];
  const int32_t end = beg + lu->uuser[i];
  for (int32_t k = beg; k < end; ++k)
    m = std::max(m, std::fabs(lu->valr[k]));
  *work += end - beg;
  lu->rmax[i] = m;
  return m;
}

void lu_dropempty(PrQue* pq) {
  while (pq->count > 0 && VLR_pq_getminp(pq) == 0)
    VLR_pq_remove(pq, pq->head[0]);
}

struct Search {
  bool found = false;
  int64_t best = std::numeric_limits<int64_t>::max();
  int32_t r = 0, c = 0;
  int32_t examined = 0;
  void take(int32_t i, int32_t j, int64_t merit) {
    if (!found || merit < best) {
      found = true;
      best = merit;
      r = i;
      c = j;
    }
  }
  bool stop(int32_t limit, int64_t bound) const {
    return found && (examined >= limit || best <= bound);
  }
};

// One pass over the columns of count cc; method 2 also asks for u times the row maximum.
void lu_scancols(LuFactor* lu, int32_t cc, int32_t k, int64_t bound, bool both, Search* s,
                 int64_t* work) {
  PrQue* cq = lu->colq;
  int32_t j = cq->head[cc];
  while (j != kNil) {
    const int32_t nxt = cq->next[j];
    const double mx = lu_colmax(lu, j, work);
    if (mx < lu->abstol) {
      VLR_pq_remove(cq, j);
      j = nxt;
      continue;
    }
    const double t = std::max(lu->reltol * mx, lu->abstol);
    const int32_t beg = lu->ufirc[j];
    const int32_t end = beg + lu->uusec[j];
    for (int32_t p = beg; p < end; ++p) {
      const int32_t i = lu->subi[p];
      const double v = std::fabs(lu->valr[lu->posr[p]]);
      if (v < t) continue;
      if (both && (lu->uuser[i] < k || v < lu->reltol * lu_rowmax(lu, i, work))) continue;
      s->take(i, j, static_cast<int64_t>(cc - 1) * (lu->uuser[i] - 1));
    }
    *work += 2 + (end - beg);
    ++s->examined;
    if (s->stop(lu->searchlim, bound)) return;
    j = nxt;
  }
}

// One pass over the rows of count rc; entries in columns of count at most k were seen already.
void lu_scanrows(LuFactor* lu, int32_t rc, int32_t k, int64_t bound, bool both, Search* s,
                 int64_t* work) {
  PrQue* rq = lu->rowq;
  const PrQue* cq = lu->colq;
  int32_t i = rq->head[rc];
  while (i != kNil) {
    const int32_t nxt = rq->next[i];
    const int32_t beg = lu->ufirr[i];
    const int32_t end = beg + lu->uuser[i];
    double rmx = 0.0;
    double t = lu->abstol;
    if (both) {
      rmx = lu_rowmax(lu, i, work);
      if (rmx < lu->abstol) {
        VLR_pq_remove(rq, i);
        i = nxt;
        continue;
      }
      t = std::max(lu->reltol * rmx, lu->abstol);
    }
    int32_t gone = 0;
    double seen = 0.0;
    for (int32_t p = beg; p < end; ++p) {
      const int32_t j = lu->subj[p];
      if (!VLR_pq_isin(cq, j)) {
        ++gone;
        continue;
      }
      const double v = std::fabs(lu->valr[p]);
      seen = std::max(seen, v);
      const int32_t cj = lu->uusec[j];
      if (cj <= k || v < t) continue;
      const int64_t merit = static_cast<int64_t>(cj - 1) * (rc - 1);
      if (s->found && merit >= s->best) continue;
      if (v >= lu->reltol * lu_colmax(lu, j, work)) s->take(i, j, merit);
    }
    *work += 2 + (end - beg);
    if (gone == end - beg) {
      VLR_pq_remove(rq, i);
      i = nxt;
      continue;
    }
    ++s->examined;
    if (seen < lu->abstol) VLR_pq_remove(rq, i);
    if (s->stop(lu->searchlim, bound)) return;
    i = nxt;
  }
}

}  // namespace

void VLR_lu_choosepiv(LuFactor* lu, int32_t* r, int32_t* c, int32_t* f) {
  const int32_t nrow = lu->nrow;
  const int32_t ncol = lu->ncol;
  const bool both = lu->pivmethod == 2;
  PrQue* cq = lu->colq;
  PrQue* rq = lu->rowq;
  *r = nrow;
  *c = ncol;
  *f = 1;
  int64_t work = 0;
  lu_dropempty(cq);
  if (cq->count == 0) return;
  if (!both && VLR_pq_getminp(cq) == 1) {
    // Column singletons: a pivot at the front with no L.
    for (int32_t j = cq->head[1]; j != kNil; j = cq->next[j]) {
      const int32_t p = lu->ufirc[j];
      work += 2;
      if (std::fabs(lu->valr[lu->posr[p]]) >= lu->abstol) {
        *r = lu->subi[p];
        *c = j;
        lu_addwork(lu, kTaskSearch, work);
        return;
      }
    }
  }
  lu_dropempty(rq);
  if (rq->count == 0) return;
  if (!both && VLR_pq_getminp(rq) == 1) {
    // Row singletons: a pivot at the back, where the column's other entries stay in U.
    int32_t i = rq->head[1];
    while (i != kNil) {
      const int32_t nxt = rq->next[i];
      const int32_t p = lu->ufirr[i];
      const int32_t j = lu->subj[p];
      work += 2;
      if (!VLR_pq_isin(cq, j)) {
        VLR_pq_remove(rq, i);
      } else if (std::fabs(lu->valr[p]) >= lu->abstol) {
        *r = i;
        *c = j;
        *f = 0;
        lu_addwork(lu, kTaskSearch, work);
        return;
      }
      i = nxt;
    }
  }
  Search s;
  int32_t cc = VLR_pq_getminp(cq);
  int32_t rc = VLR_pq_getminp(rq);
  int32_t k = std::min(cc, rc);
  const int32_t nact = nrow - lu->stpf - lu->stpb;
  while (cq->count > 0 && rq->count > 0 && (cc <= nrow || rc <= ncol)) {
    for (; cc <= k && cc <= nrow; ++cc) {
      const int64_t bound = static_cast<int64_t>(cc - 1) * (rc - 1);
      if (s.found && (bound >= s.best || s.examined >= lu->searchlim)) goto done;
      lu_scancols(lu, cc, k, bound, both, &s, &work);
      if (s.stop(lu->searchlim, bound)) goto done;
    }
    if (s.found && cc > nact) goto done;
    for (; rc <= k && rc <= ncol; ++rc) {
      const int64_t bound = static_cast<int64_t>(cc - 1) * (rc - 1);
      if (s.found && (bound >= s.best || s.examined >= lu->searchlim)) goto done;
      lu_scanrows(lu, rc, k, bound, both, &s, &work);
      if (s.stop(lu->searchlim, bound)) goto done;
    }
    ++k;
  }
done:
  lu_addwork(lu, kTaskSearch, work);
  if (s.found) {
    *r = s.r;
    *c = s.c;
    *f = 1;
  }
}

int32_t VLR_lu_dopivot(LuFactor* lu, int32_t r, int32_t c, int32_t f) {
  const int32_t nrow = lu->nrow;
  const bool both = lu->pivmethod == 2;
  const int32_t a = lu->uuser[r];
  const int32_t b = lu->uusec[c];
  const bool elim = b > 1 && f == 1;
  int64_t work = a + b;
  lu->info.merit += static_cast<double>(std::max(a, 1) - 1) * (std::max(b, 1) - 1);

  // The rows of the pivot column; the column leaves the column file.
  int32_t nr = 0;
  for (int32_t p = lu->ufirc[c]; p < lu->ufirc[c] + b; ++p) {
    const int32_t i = lu->subi[p];
    lu->posc[lu->posr[p]] = -1;
    if (i != r) lu->rlist[nr++] = i;
    if (both) lu->rmax[i] = -1.0;
  }
  lu->uusec[c] = 0;
  VLR_lu_resizecol(lu, c, 0);

  // The pivot row leaves the column file; with elimination it is scattered and marked.
  int32_t nlist = 0;
  int32_t kp = -1;
  for (int32_t p = lu->ufirr[r]; p < lu->ufirr[r] + a; ++p) {
    const int32_t j = lu->subj[p];
    if (j == c) {
      kp = p;
      continue;
    }
    if (lu->posc[p] >= 0) {
      VLR_lu_delcolentry(lu, j, lu->posc[p]);
      lu->posc[p] = -1;
    }
    lu->cmax[j] = -1.0;
    if (elim) {
      lu->dwork[j] = lu->valr[p];
      lu->cmark[j] = 1;
    }
    lu->clist[nlist++] = j;
  }
  if (kp < 0) VLR_sysenv_stopdbg(lu->sys, VLR_HERE, "pivot %d %d is not in its row", r, c);
  const double pv = lu->valr[kp];
  lu->diag[r] = pv;
  lu->q[r] = c;
  lu->invq[c] = r;
  {
    const int32_t pos = f == 1 ? lu->stpf++ : nrow - ++lu->stpb;
    const int32_t pi = lu->iseq[r];
    const int32_t other = lu->seq[pos];
    lu->seq[pi] = other;
    lu->iseq[other] = pi;
    lu->seq[pos] = r;
    lu->iseq[r] = pos;
  }
  VLR_lu_delrowentry(lu, r, kp);
  if (lu->dropu) {
    lu->droppedu += lu->uuser[r];
    lu->uuser[r] = 0;
    VLR_lu_resizerow(lu, r, 0);
  }

  if (elim) {
    const int32_t len = b - 1;
    lu->info.nzl += len;
    if (!lu->dropl && (lu->uendr + len > lu->lbeg || lu->uendc + len > lu->lbeg)) {
      int32_t st = VLR_lu_garcol(lu);
      if (st != kLuOk) return st;
      if (lu->uendr + len > lu->lbeg || lu->uendc + len > lu->lbeg) {
        st = VLR_lu_handlewfull(lu);
        if (st != kLuOk) return st;
      }
    }
    if (!lu->dropl) {
      lu->lbeg -= len;
      lu->lfir[r] = lu->lbeg;
      lu->llen[r] = 0;
    } else {
      lu->droppedl += len;
    }
    for (int32_t t = 0; t < nr; ++t) {
      const int32_t i = lu->rlist[t];
      const int32_t stamp = i + 2;
      double mult = 0.0;
      for (int32_t p = lu->ufirr[i]; p < lu->ufirr[i] + lu->uuser[i]; ++p) {
        if (lu->subj[p] == c) {
          mult = -lu->valr[p] / pv;
          VLR_lu_delrowentry(lu, i, p);
          break;
        }
      }
      if (!lu->dropl) {
        const int32_t at = lu->lfir[r] + lu->llen[r]++;
        lu->subj[at] = i;
        lu->valr[at] = mult;
      }
      int32_t hits = 0;
      int32_t p = lu->ufirr[i];
      while (p < lu->ufirr[i] + lu->uuser[i]) {
        const int32_t j = lu->subj[p];
        if (lu->cmark[j] == 0) {
          ++p;
          continue;
        }
        lu->cmark[j] = stamp;
        ++hits;
        const double nv = lu->valr[p] + mult * lu->dwork[j];
        if (std::fabs(nv) <= lu->droptol) {
          if (lu->posc[p] >= 0) VLR_lu_delcolentry(lu, j, lu->posc[p]);
          VLR_lu_delrowentry(lu, i, p);
          continue;
        }
        lu->valr[p] = nv;
        ++p;
      }
      work += lu->uuser[i] + nlist;
      const int32_t nfill = nlist - hits;
      if (nfill > 0 && lu->uuser[i] + nfill > lu->uszer[i]) {
        int32_t st = VLR_lu_resizerow(lu, i, lu->uuser[i] + nfill);
        if (st == kLuWorkAreaFull) {
          st = VLR_lu_handlewfull(lu);
          if (st == kLuOk) st = VLR_lu_resizerow(lu, i, lu->uuser[i] + nfill);
        }
        if (st != kLuOk) return st;
      }
      for (int32_t m = 0; m < nlist && nfill > 0; ++m) {
        const int32_t j = lu->clist[m];
        if (lu->cmark[j] == stamp) continue;
        const double nv = mult * lu->dwork[j];
        if (std::fabs(nv) <= lu->droptol) continue;
        const bool incol = lu->invq[j] == nrow;
        if (incol && lu->uusec[j] >= lu->uszec[j]) {
          int32_t st = VLR_lu_resizecol(lu, j, lu->uusec[j] + 1);
          if (st == kLuWorkAreaFull) {
            st = VLR_lu_handlewfull(lu);
            if (st == kLuOk) st = VLR_lu_resizecol(lu, j, lu->uusec[j] + 1);
          }
          if (st != kLuOk) return st;
        }
        const int32_t pr = lu->ufirr[i] + lu->uuser[i]++;
        lu->subj[pr] = j;
        lu->valr[pr] = nv;
        lu->posc[pr] = -1;
        if (incol) {
          const int32_t pc = lu->ufirc[j] + lu->uusec[j]++;
          lu->subi[pc] = i;
          lu->posr[pc] = pr;
          lu->posc[pr] = pc;
        }
      }
      VLR_pq_putp(lu->rowq, i, lu->uuser[i]);
    }
  }

  for (int32_t m = 0; m < nlist; ++m) {
    const int32_t j = lu->clist[m];
    lu->cmark[j] = 0;
    lu->dwork[j] = 0.0;
    if (lu->invq[j] == nrow) VLR_pq_putp(lu->colq, j, lu->uusec[j]);
  }
  VLR_pq_remove(lu->rowq, r);
  VLR_pq_remove(lu->colq, c);
  lu->info.nzu += lu->uuser[r];
  lu_addwork(lu, kTaskPivot, work);
  return kLuOk;
}

}  // namespace vlr
