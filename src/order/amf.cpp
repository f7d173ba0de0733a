// src/order/amf.cpp: approximate minimum fill ordering on the quotient graph.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "order/order.h"
#include "order/ordheap.h"

namespace vlr {

namespace {

constexpr int32_t kEmpty = -1;
constexpr int32_t kDense = -2;  // elen of a node set aside as dense
constexpr double kScoreMax = 2147483645.0;

// Scores: approximate minimum fill, or the order types of the minimum local fill ordering:
// the degree; sqrt(d (d - 1) - m (m - 1)) with m the largest adjacent element; and that over
// the weight plus one.
constexpr int32_t kScoreFill = 0;
constexpr int32_t kScoreDegree = 1;
constexpr int32_t kScoreLocal = 2;
constexpr int32_t kScoreLocalWeighted = 3;

inline int32_t flip(int32_t i) {
  return -i - 2;
}

// The quotient graph of one run and its work arrays, all cut from one block of integers.
struct OrderCtx {
  SysEnv* sys;
  void* handle;  // the caller's stop: asked again after every kAmfPollWork units of work
  OrderCallback callback;
  int32_t n;
  int32_t* iw;  // [iwsize] the shared list area
  int64_t iwsize;
  int32_t pfree;    // first free entry of iw
  int32_t* ifir;    // [n] start of a list; flip(x) once absorbed into x, kEmpty when empty
  int32_t* ilen;    // [n] list length
  int32_t* elen;    // [n] elements at the head of a variable's list; flip(..) for an element
  int32_t* nv;      // [n] supervariable weight; 0 once merged; negative while in the pivot
  int32_t* w;       // [n] marks; 0 for a dead element
  int32_t* adeg;    // [n] approximate external degree (element size while an element)
  int32_t* hhead;   // [n] hash bucket heads
  int32_t* hnext;   // [n] next in a hash bucket
  int32_t* hval;    // [n] hash of a variable of the pivot's element
  int32_t* into;    // [n] the variable or pivot a node was merged into; kEmpty for a pivot
  int32_t* otime;   // [n] elimination step of a pivot
  int32_t* pri;     // [n] priority (all 0 without priorities)
  int32_t* byprio;  // [n] nodes sorted by priority, the source of the next band
  double* esum;     // [n] over a variable's elements: the sum of s (s - 1), s their external
                    // sizes (the fill score), or the largest s (the local fill scores)
  OrdHeap heap;
  int32_t scoretype;  // kScoreFill, or a minimum local fill order type plus one
  int32_t useweight;
  int32_t prihi;   // the open priority band is [0, prihi]; bands open one value at a time
  int32_t bandat;  // next position of byprio to open
  int32_t wflg;
  int32_t nel, ndense;
  OrderCount count;
};

int32_t amf_clearflag(OrderCtx* c, int32_t wflg) {
  if (wflg < 2 || wflg >= 2000000000) {
    for (int32_t x = 0; x < c->n; ++x)
      if (c->w[x] != 0) c->w[x] = 1;
    wflg = 2;
  }
  return wflg;
}

// The score of a variable of degree d and weight w whose elements give es (see esum), with sme
// the external size of the newest element. The fill score 0.5 (D (D - 1) - sum s (s - 1)) is
// the count of edges elimination adds if the elements were disjoint. Computed in double so
// that it cannot overflow, stored clipped.
int32_t amf_score(const OrderCtx* c, double d, double es, double sme, int32_t weight) {
  double s;
  if (c->scoretype == kScoreFill) {
    s = 0.5 * (d * (d - 1.0) - es - sme * (sme - 1.0));
    if (s < 0.0) s = 0.0;
    if (c->useweight) s /= std::sqrt(weight + 1.0);
  } else if (c->scoretype == kScoreDegree) {
    s = d;
  } else {
    const double m = std::max(es, sme);
    s = std::floor(std::sqrt(std::max(0.0, d * (d - 1.0) - m * (m - 1.0))));
    if (c->scoretype == kScoreLocalWeighted) s = std::floor(s / (weight + 1.0));
  }
  return s > kScoreMax ? static_cast<int32_t>(kScoreMax) : static_cast<int32_t>(s);
}

// Moves the live lists to the front of iw, keeping their order. Each live list's first entry
// is parked in ifir and replaced by the flipped owner, so that a sweep finds the heads.
void compress_oa(OrderCtx* c) {
  int32_t* iw = c->iw;
  for (int32_t j = 0; j < c->n; ++j) {
    if (c->ifir[j] >= 0 && c->ilen[j] > 0) {
      const int32_t p = c->ifir[j];
      c->ifir[j] = iw[p];
      iw[p] = flip(j);
    }
  }
  int32_t pdst = 0, psrc = 0;
  while (psrc < c->pfree) {
    const int32_t j = flip(iw[psrc++]);
    if (j < 0) continue;  // an entry of a dead list
    iw[pdst] = c->ifir[j];
    c->ifir[j] = pdst++;
    for (int32_t k = 1; k < c->ilen[j]; ++k)
      iw[pdst++] = iw[psrc++];
  }
  c->pfree = pdst;
}

// Room for need more entries at pfree: compress, and grow the area by a tenth plus the need
// when that is not enough. false when out of space.
bool amf_room(OrderCtx* c, int64_t need) {
  if (c->pfree + need <= c->iwsize) return true;
  compress_oa(c);
  if (c->pfree + need <= c->iwsize) return true;
  const int64_t grown = c->iwsize + c->iwsize / 10 + need;
  void* p = VLR_sysenv_reallocdbg(c->sys, VLR_HERE, c->iw, c->iwsize * sizeof(int32_t),
                                  grown * sizeof(int32_t));
  if (p == nullptr) return false;
  c->iw = static_cast<int32_t*>(p);
  c->iwsize = grown;
  return true;
}

// Opens the next priority band: every live variable of the next priority value enters the
// queue with its current score.
bool amf_openband(OrderCtx* c) {
  while (c->bandat < c->n) {
    const int32_t i = c->byprio[c->bandat];
    if (c->nv[i] > 0 && c->elen[i] >= 0) break;
    ++c->bandat;  // merged, eliminated or dense
  }
  if (c->bandat >= c->n) return false;
  c->prihi = c->pri[c->byprio[c->bandat]];
  for (; c->bandat < c->n && c->pri[c->byprio[c->bandat]] == c->prihi; ++c->bandat) {
    const int32_t i = c->byprio[c->bandat];
    if (c->nv[i] > 0 && c->elen[i] >= 0) VLR_ordheap_put(&c->heap, i, c->heap.key[i]);
  }
  return true;
}

// Forms the new element of pivot me from its own variables and those of its elements, which
// it absorbs. Returns false when out of space.
bool find_clique_x(OrderCtx* c, int32_t me, int32_t* pme1, int32_t* pme2, int32_t* degme) {
  int32_t* iw = c->iw;
  const int32_t elenme = c->elen[me];
  if (elenme == 0) {  // no elements: the new one is built in place
    *pme1 = c->ifir[me];
    *pme2 = *pme1 - 1;
    for (int32_t p = *pme1; p < *pme1 + c->ilen[me]; ++p) {
      const int32_t i = iw[p], nvi = c->nv[i];
      if (nvi <= 0) continue;
      *degme += nvi;
      c->nv[i] = -nvi;
      iw[++*pme2] = i;
      VLR_ordheap_remove(&c->heap, i);
    }
    return true;
  }
  // The element holds at most what the lists it is made of hold, and at most as many
  // supervariables as weight is left.
  int64_t need = c->ilen[me] - elenme;
  for (int32_t p = c->ifir[me]; p < c->ifir[me] + elenme; ++p)
    need += c->ilen[iw[p]];
  if (!amf_room(c, std::min<int64_t>(need, c->n - c->nel) + 1)) return false;
  iw = c->iw;
  int32_t p = c->ifir[me];
  *pme1 = c->pfree;
  for (int32_t k1 = 0; k1 <= elenme; ++k1) {
    int32_t e, pj, ln;
    if (k1 == elenme) {
      e = me, pj = p, ln = c->ilen[me] - elenme;
    } else {
      e = iw[p++], pj = c->ifir[e], ln = c->ilen[e];
    }
    for (int32_t k2 = 0; k2 < ln; ++k2) {
      const int32_t i = iw[pj++], nvi = c->nv[i];
      if (nvi <= 0) continue;
      *degme += nvi;
      c->nv[i] = -nvi;
      iw[c->pfree++] = i;
      VLR_ordheap_remove(&c->heap, i);
    }
    if (e != me) {  // element absorption
      c->ifir[e] = flip(me);
      c->w[e] = 0;
    }
  }
  *pme2 = c->pfree - 1;
  return true;
}

// For each element e next to the new one, w[e] - wflg becomes |Le \ Lme|.
void amf_extsizes(OrderCtx* c, int32_t pme1, int32_t pme2) {
  const int32_t wflg = c->wflg;
  for (int32_t pme = pme1; pme <= pme2; ++pme) {
    const int32_t i = c->iw[pme], eln = c->elen[i];
    if (eln <= 0) continue;
    const int32_t nvi = -c->nv[i], wnvi = wflg - nvi;
    for (int32_t p = c->ifir[i]; p < c->ifir[i] + eln; ++p) {
      const int32_t e = c->iw[p];
      int32_t we = c->w[e];
      if (we >= wflg) {
        we -= nvi;
      } else if (we != 0) {
        we = c->adeg[e] + wnvi;
      }
      c->w[e] = we;
    }
  }
}

// Prunes the lists of the new element's variables, absorbs elements inside it (aggressive
// absorption), eliminates variables left with it alone (mass elimination) and hashes the rest
// for the search of indistinguishable ones.
void update_for_x(OrderCtx* c, int32_t me, int32_t pme1, int32_t pme2, int32_t* degme,
                  int32_t* nvpiv) {
  int32_t* iw = c->iw;
  for (int32_t pme = pme1; pme <= pme2; ++pme) {
    const int32_t i = iw[pme];
    const int32_t p1 = c->ifir[i], p2 = p1 + c->elen[i];
    int32_t pn = p1;
    uint32_t hash = 0;
    int32_t deg = 0;
    double es = 0.0;
    for (int32_t p = p1; p < p2; ++p) {
      const int32_t e = iw[p], we = c->w[e];
      if (we == 0) continue;
      const int32_t dext = we - c->wflg;
      if (dext > 0) {
        deg += dext;
        es = c->scoretype == kScoreFill ? es + dext * (dext - 1.0)
                                        : std::max(es, static_cast<double>(dext));
        iw[pn++] = e;
        hash += static_cast<uint32_t>(e);
      } else {  // Le inside Lme: absorbed
        c->ifir[e] = flip(me);
        c->w[e] = 0;
      }
    }
    c->elen[i] = pn - p1 + 1;
    const int32_t p3 = pn, p4 = p1 + c->ilen[i];
    for (int32_t p = p2; p < p4; ++p) {
      const int32_t j = iw[p], nvj = c->nv[j];
      if (nvj <= 0) continue;
      deg += nvj;
      iw[pn++] = j;
      hash += static_cast<uint32_t>(j);
    }
    if (c->elen[i] == 1 && p3 == pn && c->pri[i] <= c->prihi) {
      // Only the new element is left: i goes with the pivot.
      c->ifir[i] = flip(me);
      c->into[i] = me;
      const int32_t nvi = -c->nv[i];
      *degme -= nvi;
      *nvpiv += nvi;
      c->nel += nvi;
      c->nv[i] = 0;
      c->elen[i] = kEmpty;
    } else {
      c->adeg[i] = std::min(c->adeg[i], deg);
      c->esum[i] = es;
      // The new element goes first; a slot is free because me, or an element it absorbed,
      // has left the list.
      iw[pn] = iw[p3];
      iw[p3] = iw[p1];
      iw[p1] = me;
      c->ilen[i] = pn - p1 + 1;
      const int32_t h = static_cast<int32_t>(hash % static_cast<uint32_t>(c->n));
      c->hnext[i] = c->hhead[h];
      c->hhead[h] = i;
      c->hval[i] = h;
    }
  }
}

// Merges the variables of the new element whose lists are equal (indistinguishable nodes).
void find_snode(OrderCtx* c, int32_t pme1, int32_t pme2) {
  int32_t* iw = c->iw;
  for (int32_t pme = pme1; pme <= pme2; ++pme) {
    int32_t i = iw[pme];
    if (c->nv[i] >= 0) continue;
    const int32_t h = c->hval[i];
    i = c->hhead[h];
    if (i == kEmpty) continue;
    c->hhead[h] = kEmpty;
    for (; i != kEmpty && c->hnext[i] != kEmpty; i = c->hnext[i]) {
      const int32_t ln = c->ilen[i], eln = c->elen[i];
      for (int32_t p = c->ifir[i] + 1; p < c->ifir[i] + ln; ++p)
        c->w[iw[p]] = c->wflg;
      int32_t jlast = i;
      for (int32_t j = c->hnext[i]; j != kEmpty;) {
        bool same = c->ilen[j] == ln && c->elen[j] == eln && c->pri[j] == c->pri[i];
        for (int32_t p = c->ifir[j] + 1; same && p < c->ifir[j] + ln; ++p)
          same = c->w[iw[p]] == c->wflg;
        if (same) {
          c->ifir[j] = flip(i);
          c->into[j] = i;
          c->nv[i] += c->nv[j];  // both are negative while in the element
          c->nv[j] = 0;
          c->elen[j] = kEmpty;
          j = c->hnext[j];
          c->hnext[jlast] = j;
        } else {
          jlast = j;
          j = c->hnext[j];
        }
      }
      ++c->wflg;
    }
  }
}

// Puts nodes of very high degree aside for the end: only on large graphs, in at most two
// passes with a lower limit in the second when the first found none.
void init_degree(OrderCtx* c, int64_t total, int64_t cutoff) {
  const int32_t n = c->n;
  if (cutoff >= 0) {  // one given limit
    for (int32_t i = 0; i < n; ++i) {
      if (c->adeg[i] <= cutoff) continue;
      c->elen[i] = kDense;
      c->nv[i] = 0;
      c->ifir[i] = kEmpty;
      ++c->ndense;
    }
    return;
  }
  if (n <= 100000 || n - c->nel <= 10000) return;
  for (int32_t k = 0; k < 2 && c->ndense == 0; ++k) {
    const int64_t lim = std::max<int64_t>(
        std::min<int64_t>((10 - 5 * k) * (total / (4 * static_cast<int64_t>(n)) + 1), n), 100);
    for (int32_t i = 0; i < n; ++i) {
      if (c->adeg[i] < lim) continue;
      c->elen[i] = kDense;
      c->nv[i] = 0;
      c->ifir[i] = kEmpty;
      ++c->ndense;
    }
  }
}

// Finishes the pivot: degrees and scores of the new element's variables, the element compacted,
// and the pivot's supernode added to the counts.
void do_pivotx(OrderCtx* c, int32_t me, int32_t elenme, int32_t pme1, int32_t pme2, int32_t degme,
               int32_t nvpiv) {
  int32_t* iw = c->iw;
  c->adeg[me] = degme;
  const int32_t nleft = c->n - c->ndense - c->nel;
  int32_t p = pme1;
  for (int32_t pme = pme1; pme <= pme2; ++pme) {
    const int32_t i = iw[pme], nvi = -c->nv[i];
    if (nvi <= 0) continue;
    c->nv[i] = nvi;
    const int32_t d = std::min(c->adeg[i] + degme - nvi, nleft - nvi);
    c->adeg[i] = d;
    c->heap.key[i] = amf_score(c, d, c->esum[i], degme - nvi, nvi);
    if (c->pri[i] <= c->prihi) VLR_ordheap_put(&c->heap, i, c->heap.key[i]);
    iw[p++] = i;
  }
  c->nv[me] = nvpiv;
  c->ilen[me] = p - pme1;
  if (c->ilen[me] == 0) {
    c->ifir[me] = kEmpty;
    c->w[me] = 0;
  }
  if (elenme != 0) c->pfree = p;
  // A supernode of w columns over d rows below it.
  const double w = nvpiv, dd = degme;
  c->count.lsize +=
      static_cast<int64_t>(degme) * nvpiv + nvpiv + static_cast<int64_t>(nvpiv) * (nvpiv - 1) / 2;
  const double top = dd + w, bot = dd;
  c->count.flops += (top * (top + 1) * (2 * top + 1) - bot * (bot + 1) * (2 * bot + 1)) / 6.0;
}

// Work between two questions to the caller whether to stop: a pivot counts its degree and one.
constexpr int64_t kAmfPollWork = int64_t{1} << 16;

// Eliminates until every live node is ordered; kOrderOk, kOrderNoSpace, or kOrderStopped when
// the caller's callback asked for a stop.
int32_t do_amf(OrderCtx* c, int32_t* order, int32_t* npivout) {
  int32_t lemax = 0, npiv = 0;
  const int32_t nlive = c->n - c->ndense;
  int64_t work = 0, poll = kAmfPollWork;
  while (c->nel < nlive) {
    if (work >= poll && c->callback != nullptr) {
      poll = work + kAmfPollWork;
      if (c->callback(1, c->handle, static_cast<double>(c->nel) / nlive) != 0) {
        *npivout = npiv;
        return kOrderStopped;
      }
    }
    if (c->heap.size == 0 && !amf_openband(c)) {
      VLR_sysenv_stopdbg(c->sys, VLR_HERE, "No nodes available");
    }
    if (c->heap.size == 0) continue;
    const int32_t me = VLR_ordheap_popmin(&c->heap);
    c->otime[me] = npiv;
    order[npiv++] = me;
    int32_t nvpiv = c->nv[me];
    c->nel += nvpiv;
    c->nv[me] = -nvpiv;
    int32_t degme = 0, pme1 = 0, pme2 = -1;
    const int32_t elenme = c->elen[me];
    if (!find_clique_x(c, me, &pme1, &pme2, &degme)) return kOrderNoSpace;
    c->ifir[me] = pme1;
    c->ilen[me] = pme2 - pme1 + 1;
    c->elen[me] = flip(nvpiv + degme);  // me is an element from here on
    c->wflg = amf_clearflag(c, c->wflg);
    amf_extsizes(c, pme1, pme2);
    update_for_x(c, me, pme1, pme2, &degme, &nvpiv);
    lemax = std::max(lemax, degme);
    c->wflg = amf_clearflag(c, c->wflg + lemax);
    find_snode(c, pme1, pme2);
    do_pivotx(c, me, elenme, pme1, pme2, degme, nvpiv);
    work += degme + 1;
  }
  *npivout = npiv;
  return kOrderOk;
}

// Orders the nodes: pivots by their step, each followed by the nodes merged into it; the nodes
// set aside as dense last.
void amf_perm(OrderCtx* c, const int32_t* order, int32_t npiv, int32_t* perm) {
  const int32_t n = c->n;
  int32_t* root = c->hhead;  // free now
  int32_t* cnt = c->hnext;   // [npiv] first position of each pivot's group
  for (int32_t j = 0; j < n; ++j) {
    int32_t r = j;
    while (c->into[r] != kEmpty)
      r = c->into[r];
    root[j] = r;
  }
  std::fill(cnt, cnt + npiv, 0);
  for (int32_t j = 0; j < n; ++j)
    if (c->elen[root[j]] != kDense) ++cnt[c->otime[root[j]]];
  for (int32_t k = 0, s = 0; k < npiv; ++k) {
    const int32_t t = cnt[k];
    cnt[k] = s;
    s += t;
  }
  for (int32_t k = 0; k < npiv; ++k)
    perm[cnt[k]++] = order[k];
  for (int32_t j = 0; j < n; ++j) {
    if (c->elen[root[j]] == kDense || root[j] == j) continue;
    perm[cnt[c->otime[root[j]]]++] = j;
  }
  int32_t k = n - c->ndense;
  for (int32_t j = 0; j < n; ++j)
    if (c->elen[j] == kDense) perm[k++] = j;
}

// Builds the doubled, de-duplicated lists in iw; returns the total length.
int64_t amf_buildlists(OrderCtx* c, const OrderGraph& g) {
  const int32_t n = c->n;
  int32_t* cnt = c->ilen;
  std::fill(cnt, cnt + n, 0);
  for (int32_t i = 0; i < n; ++i) {
    for (int64_t k = g.start[i]; k < g.start[i] + g.len[i]; ++k) {
      const int32_t j = g.adj[k];
      if (j == i) continue;
      ++cnt[i], ++cnt[j];
    }
  }
  int64_t p = 0;
  for (int32_t i = 0; i < n; ++i) {
    c->ifir[i] = static_cast<int32_t>(p);
    p += cnt[i];
    cnt[i] = 0;
  }
  for (int32_t i = 0; i < n; ++i) {
    for (int64_t k = g.start[i]; k < g.start[i] + g.len[i]; ++k) {
      const int32_t j = g.adj[k];
      if (j == i) continue;
      c->iw[c->ifir[i] + cnt[i]++] = j;
      c->iw[c->ifir[j] + cnt[j]++] = i;
    }
  }
  // Drop repeats; the lists only shrink, so the front of each stays where it is.
  int64_t total = 0;
  for (int32_t i = 0; i < n; ++i) {
    const int32_t p0 = c->ifir[i];
    int32_t q = p0;
    for (int32_t k = p0; k < p0 + cnt[i]; ++k) {
      const int32_t j = c->iw[k];
      if (c->w[j] == i + 1) continue;
      c->w[j] = i + 1;
      c->iw[q++] = j;
    }
    cnt[i] = q - p0;
    total += cnt[i];
  }
  c->pfree = static_cast<int32_t>(p);
  return total;
}

// The quotient-graph elimination under one score. cutoff >= 0 sets aside the nodes of a
// larger degree; -2 takes five times the average degree plus five; -1 leaves it to
// init_degree's own rule.
int32_t amf_run(SysEnv* sys, const OrderGraph& g, const int32_t* pri, int32_t useweight,
                int32_t scoretype, int32_t cutoff, int32_t* perm, OrderCount* count, void* handle,
                OrderCallback callback) {
  const int32_t n = g.n;
  *count = OrderCount{};
  if (callback != nullptr && callback(0, handle, 1.0) != 0) return kOrderStopped;
  if (n == 0) return kOrderOk;
  int64_t nnz = 0;  // entries of the doubled lists
  for (int32_t i = 0; i < n; ++i)
    nnz += 2 * static_cast<int64_t>(g.len[i]);
  // Half again as much as the lists, so that compressions are rare, and room for a pivot.
  const int64_t iwsize = nnz + nnz / 2 + n + 1;
  if (iwsize > 2000000000) return kOrderNoSpace;
  constexpr int64_t kInts = 16;
  SysBuf<int32_t> ints(sys, VLR_HERE, kInts * n + OrdHeap::kInts * static_cast<int64_t>(n));
  SysBuf<double> esum(sys, VLR_HERE, n);
  if (!ints || !esum) return kOrderNoSpace;
  OrderCtx c{};
  c.sys = sys;
  c.handle = handle;
  c.callback = callback;
  c.n = n;
  c.iw = static_cast<int32_t*>(VLR_sysenv_callocdbg(sys, VLR_HERE, iwsize, sizeof(int32_t)));
  if (c.iw == nullptr) return kOrderNoSpace;
  c.iwsize = iwsize;
  int32_t* cut = ints.get();
  int32_t** slices[] = {&c.ifir,  &c.ilen, &c.elen, &c.nv,    &c.w,   &c.adeg,  &c.hhead,
                        &c.hnext, &c.hval, &c.into, &c.otime, &c.pri, &c.byprio};
  for (int32_t** s : slices) {
    *s = cut;
    cut += n;
  }
  int32_t* order = cut;
  cut += n;
  VLR_ordheap_init(&c.heap, n, cut);
  c.esum = esum.get();
  std::fill(c.w, c.w + n, 0);
  const int64_t total = amf_buildlists(&c, g);
  if (useweight < 0) useweight = n > 5000 && 100 * static_cast<int64_t>(n) > n + total;
  c.useweight = useweight;
  c.scoretype = scoretype;
  for (int32_t i = 0; i < n; ++i) {
    c.elen[i] = 0;
    c.nv[i] = 1;
    c.w[i] = 1;
    c.adeg[i] = c.ilen[i];
    c.hhead[i] = kEmpty;
    c.into[i] = kEmpty;
    c.pri[i] = pri != nullptr ? pri[i] : 0;
    c.byprio[i] = i;
  }
  c.wflg = 2;
  if (cutoff == -2) cutoff = static_cast<int32_t>(std::min<int64_t>(n, 5 * (total / n) + 5));
  init_degree(&c, total, cutoff);
  std::stable_sort(c.byprio, c.byprio + n,
                   [&](int32_t a, int32_t b) { return c.pri[a] < c.pri[b]; });
  for (int32_t i = 0; i < n; ++i) {
    const double d = c.adeg[i];
    c.heap.key[i] = amf_score(&c, d, 0.0, 0.0, 1);
  }
  c.prihi = -1;
  c.bandat = 0;
  amf_openband(&c);
  int32_t npiv = 0;
  const int32_t done = do_amf(&c, order, &npiv);
  VLR_sysenv_free(sys, c.iw);
  if (done != kOrderOk) return done;
  amf_perm(&c, order, npiv, perm);
  *count = c.count;
  if (c.ndense > 0) {
    // The pivots' degrees did not see the dense nodes: count again, exactly.
    const int32_t r = VLR_ordmat_symcount(sys, g, perm, nullptr, nullptr, count);
    if (r != kOrderOk) return r;
  }
  return kOrderOk;
}

}  // namespace

int32_t VLR_amf_sorder_pri(SysEnv* sys, const OrderGraph& g, const int32_t* pri, int32_t useweight,
                           int32_t* perm, OrderCount* count, void* handle, OrderCallback callback) {
  return amf_run(sys, g, pri, useweight, kScoreFill, -1, perm, count, handle, callback);
}

int32_t VLR_amf_sorder(SysEnv* sys, const OrderGraph& g, int32_t useweight, int32_t* perm,
                       OrderCount* count, void* handle, OrderCallback callback) {
  return amf_run(sys, g, nullptr, useweight, kScoreFill, -1, perm, count, handle, callback);
}

int32_t VLR_symord_minlocf(SysEnv* sys, const OrderGraph& g, int32_t ordtype, int32_t* perm,
                           OrderCount* count, void* handle, OrderCallback callback) {
  // Nodes of more than five times the average degree, plus five, are numbered last.
  return amf_run(sys, g, nullptr, 0, kScoreDegree + std::clamp(ordtype, 0, 2), -2, perm, count,
                 handle, callback);
}

}  // namespace vlr
