// src/order/ordheap.h: the queue of the orderings: the node of least score first, and among
// equal scores the one queued last.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace vlr {

// An indexed binary heap over nodes 0..n-1, on integer work the caller owns.
struct OrdHeap {
  static constexpr int64_t kInts = 4;  // integers per node
  int32_t size;
  int32_t stamp;  // counts insertions; a later one wins a tie
  int32_t* heap;  // [n] nodes in heap order
  int32_t* pos;   // [n] position in heap; -1 when not queued
  int32_t* key;   // [n] score; kept for nodes outside the queue too
  int32_t* when;  // [n] stamp of the last insertion
};

// Cuts the arrays from iwork (kInts * n integers) and empties the queue.
void VLR_ordheap_init(OrdHeap* h, int32_t n, int32_t* iwork);
// Queues node i with the key, or moves it there when queued already.
void VLR_ordheap_put(OrdHeap* h, int32_t i, int32_t key);
// Takes i out; nothing when it is not queued.
void VLR_ordheap_remove(OrdHeap* h, int32_t i);
// Takes out and returns the first node; the queue must not be empty.
int32_t VLR_ordheap_popmin(OrdHeap* h);

}  // namespace vlr
