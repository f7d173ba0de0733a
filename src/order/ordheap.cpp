// src/order/ordheap.cpp: indexed binary heap of node scores.
// SPDX-License-Identifier: Apache-2.0
#include "order/ordheap.h"

#include <algorithm>

namespace vlr {

namespace {

inline bool ordheap_before(const OrdHeap* h, int32_t a, int32_t b) {
  return h->key[a] < h->key[b] || (h->key[a] == h->key[b] && h->when[a] > h->when[b]);
}

void ordheap_up(OrdHeap* h, int32_t k) {
  const int32_t i = h->heap[k];
  while (k > 0) {
    const int32_t up = (k - 1) / 2;
    if (!ordheap_before(h, i, h->heap[up])) break;
    h->heap[k] = h->heap[up];
    h->pos[h->heap[k]] = k;
    k = up;
  }
  h->heap[k] = i;
  h->pos[i] = k;
}

void ordheap_down(OrdHeap* h, int32_t k) {
  const int32_t i = h->heap[k];
  for (;;) {
    int32_t c = 2 * k + 1;
    if (c >= h->size) break;
    if (c + 1 < h->size && ordheap_before(h, h->heap[c + 1], h->heap[c])) ++c;
    if (!ordheap_before(h, h->heap[c], i)) break;
    h->heap[k] = h->heap[c];
    h->pos[h->heap[k]] = k;
    k = c;
  }
  h->heap[k] = i;
  h->pos[i] = k;
}

}  // namespace

void VLR_ordheap_init(OrdHeap* h, int32_t n, int32_t* iwork) {
  h->size = 0;
  h->stamp = 0;
  h->heap = iwork;
  h->pos = iwork + n;
  h->key = iwork + 2 * static_cast<int64_t>(n);
  h->when = iwork + 3 * static_cast<int64_t>(n);
  std::fill(h->pos, h->pos + n, -1);
}

void VLR_ordheap_put(OrdHeap* h, int32_t i, int32_t key) {
  h->key[i] = key;
  h->when[i] = ++h->stamp;
  if (h->pos[i] < 0) {
    h->heap[h->size] = i;
    h->pos[i] = h->size++;
    ordheap_up(h, h->pos[i]);
    return;
  }
  ordheap_up(h, h->pos[i]);
  ordheap_down(h, h->pos[i]);
}

void VLR_ordheap_remove(OrdHeap* h, int32_t i) {
  const int32_t k = h->pos[i];
  if (k < 0) return;
  h->pos[i] = -1;
  if (--h->size == k) return;
  const int32_t moved = h->heap[h->size];
  h->heap[k] = moved;
  h->pos[moved] = k;
  ordheap_up(h, k);
  ordheap_down(h, h->pos[moved]);
}

int32_t VLR_ordheap_popmin(OrdHeap* h) {
  const int32_t i = h->heap[0];
  VLR_ordheap_remove(h, i);
  return i;
}

}  // namespace vlr
