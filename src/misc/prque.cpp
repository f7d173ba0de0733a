// src/misc/prque.cpp: bucket priority queue with O(1) insert, remove and priority steps.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "misc/misc.h"

namespace vlr {

namespace {

constexpr int32_t kNil = -1;

void pq_check(const PrQue* pq, int32_t e, int32_t p) {
  if (e < 0 || e >= pq->n || p < 0 || p > pq->maxp) {
    VLR_sysenv_stopdbg(pq->sys, VLR_HERE, "0 <= e=%d <= maxe=%d  && 0 <= p=%d <= maxp=%d", e,
                       pq->n - 1, p, pq->maxp);
  }
}

void pq_unlink(PrQue* pq, int32_t e) {
  const int32_t p = pq->prio[e];
  if (pq->cursor == e) pq->cursor = pq->next[e];
  if (pq->prev[e] != kNil) {
    pq->next[pq->prev[e]] = pq->next[e];
  } else {
    pq->head[p] = pq->next[e];
  }
  if (pq->next[e] != kNil) pq->prev[pq->next[e]] = pq->prev[e];
  pq->prio[e] = pq->maxp + 1;
  pq->next[e] = kNil;
  pq->prev[e] = kNil;
  --pq->count;
}

void pq_link(PrQue* pq, int32_t e, int32_t p) {
  pq->prio[e] = p;
  pq->prev[e] = kNil;
  pq->next[e] = pq->head[p];
  if (pq->head[p] != kNil) pq->prev[pq->head[p]] = e;
  pq->head[p] = e;
  if (p < pq->minp) pq->minp = p;
  ++pq->count;
}

}  // namespace

PrQue* VLR_pq_make2(SysEnv* sys) {
  auto* pq = static_cast<PrQue*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(PrQue)));
  if (pq == nullptr) return nullptr;
  pq->sys = sys;
  pq->cursor = kNil;
  return pq;
}

void VLR_pq_delete(PrQue** pq) {
  if (pq == nullptr || *pq == nullptr) return;
  VLR_sysenv_freedbg((*pq)->sys, VLR_HERE, *pq);
  *pq = nullptr;
}

int32_t VLR_pq_setup(PrQue* pq, int32_t n, int32_t maxp, int32_t isize, int32_t* iwork) {
  if (n < 0 || maxp < 0) return 0;
  if (static_cast<int64_t>(maxp) + 3 * static_cast<int64_t>(n) + 1 > isize) return 0;
  pq->n = n;
  pq->maxp = maxp;
  pq->head = iwork;
  pq->prio = pq->head + maxp + 1;
  pq->next = pq->prio + n;
  pq->prev = pq->next + n;
  VLR_pq_clear(pq);
  return 1;
}

void VLR_pq_clear(PrQue* pq) {
  std::fill(pq->head, pq->head + pq->maxp + 1, kNil);
  std::fill(pq->prio, pq->prio + pq->n, pq->maxp + 1);
  std::fill(pq->next, pq->next + pq->n, kNil);
  std::fill(pq->prev, pq->prev + pq->n, kNil);
  pq->cursor = kNil;
  pq->minp = pq->maxp + 1;
  pq->count = 0;
}

void VLR_pq_putp(PrQue* pq, int32_t e, int32_t p) {
  pq_check(pq, e, p);
  if (pq->prio[e] == p) return;
  if (pq->prio[e] <= pq->maxp) pq_unlink(pq, e);
  pq_link(pq, e, p);
}

void VLR_pq_remove(PrQue* pq, int32_t e) {
  pq_check(pq, e, 0);
  if (pq->prio[e] <= pq->maxp) pq_unlink(pq, e);
}

void VLR_pq_decp(PrQue* pq, int32_t e) {
  pq_check(pq, e, 0);
  const int32_t p = pq->prio[e];
  if (p > pq->maxp) return;
  pq_check(pq, e, p - 1);
  pq_unlink(pq, e);
  pq_link(pq, e, p - 1);
}

void VLR_pq_incp(PrQue* pq, int32_t e) {
  pq_check(pq, e, 0);
  const int32_t p = pq->prio[e];
  if (p > pq->maxp) return;
  pq_check(pq, e, p + 1);
  pq_unlink(pq, e);
  pq_link(pq, e, p + 1);
}

int32_t VLR_pq_getminp(PrQue* pq) {
  if (pq->count == 0) {
    pq->minp = pq->maxp + 1;
    return pq->minp;
  }
  while (pq->head[pq->minp] == kNil)
    ++pq->minp;
  return pq->minp;
}

void VLR_pq_toe(PrQue* pq, int32_t e) {
  pq_check(pq, e, pq->prio[e] <= pq->maxp ? pq->prio[e] : -1);
  pq->cursor = e;
}

int32_t VLR_pq_tomin(PrQue* pq) {
  const int32_t p = VLR_pq_getminp(pq);
  if (p > pq->maxp) {
    pq->cursor = kNil;
    return 0;
  }
  pq->cursor = pq->head[p];
  return 1;
}

int32_t VLR_pq_top(PrQue* pq, int32_t p) {
  if (p < 0 || p > pq->maxp) {
    VLR_sysenv_stopdbg(pq->sys, VLR_HERE, "0 <= e=%d <= maxe=%d  && 0 <= p=%d <= maxp=%d", 0,
                       pq->n - 1, p, pq->maxp);
  }
  pq->cursor = pq->head[p];
  return pq->cursor != kNil ? 1 : 0;
}

int32_t VLR_pq_tonext(PrQue* pq) {
  if (pq->cursor == kNil) return 0;
  const int32_t e = pq->cursor;
  if (pq->next[e] != kNil) {
    pq->cursor = pq->next[e];
    return 1;
  }
  for (int32_t p = pq->prio[e] + 1; p <= pq->maxp; ++p) {
    if (pq->head[p] != kNil) {
      pq->cursor = pq->head[p];
      return 1;
    }
  }
  pq->cursor = kNil;
  return 0;
}

int32_t VLR_pq_tonextp(PrQue* pq) {
  if (pq->cursor == kNil) return 0;
  pq->cursor = pq->next[pq->cursor];
  return pq->cursor != kNil ? 1 : 0;
}

int32_t VLR_pq_gettonextp(PrQue* pq, int32_t* e, int32_t* p) {
  if (VLR_pq_get(pq, e, p) == 0) return 0;
  pq->cursor = pq->next[pq->cursor];
  return 1;
}

int32_t VLR_pq_get(const PrQue* pq, int32_t* e, int32_t* p) {
  if (pq->cursor == kNil) return 0;
  *e = pq->cursor;
  *p = pq->prio[pq->cursor];
  return 1;
}

void VLR_misc_sortidx(int32_t n, int32_t* idx, double* val) {
  // Insertion sort for the short lists of a factor's rows; a heap sort above that.
  if (n < 32) {
    for (int32_t a = 1; a < n; ++a) {
      const int32_t ki = idx[a];
      const double kv = val != nullptr ? val[a] : 0.0;
      int32_t b = a - 1;
      while (b >= 0 && idx[b] > ki) {
        idx[b + 1] = idx[b];
        if (val != nullptr) val[b + 1] = val[b];
        --b;
      }
      idx[b + 1] = ki;
      if (val != nullptr) val[b + 1] = kv;
    }
    return;
  }
  auto sift = [&](int32_t root, int32_t end) {
    while (2 * root + 1 < end) {
      int32_t child = 2 * root + 1;
      if (child + 1 < end && idx[child + 1] > idx[child]) ++child;
      if (idx[root] >= idx[child]) return;
      std::swap(idx[root], idx[child]);
      if (val != nullptr) std::swap(val[root], val[child]);
      root = child;
    }
  };
  for (int32_t s = n / 2 - 1; s >= 0; --s)
    sift(s, n);
  for (int32_t end = n - 1; end > 0; --end) {
    std::swap(idx[0], idx[end]);
    if (val != nullptr) std::swap(val[0], val[end]);
    sift(0, end);
  }
}

}  // namespace vlr
