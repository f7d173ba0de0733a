// src/misc/misc.h: bucket priority queue over small integer priorities, and sorting helpers.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"

namespace vlr {

// Bucket priority queue over the items 0..n-1 with priorities 0..maxp. Its arrays are cut from
// integer work the caller owns (VLR_pq_setup), so one record serves many factorisations.
// An item outside the queue has the priority maxp+1. Insertion puts an item at the head of its
// bucket, so the newest item of a priority is seen first.
struct PrQue {
  SysEnv* sys;     // for the fatal stop on bad input
  int32_t n;       // item count
  int32_t maxp;    // largest priority
  int32_t* head;   // [maxp+1] first item of each bucket; -1 when empty
  int32_t* prio;   // [n] priority of each item; maxp+1 when not queued
  int32_t* next;   // [n] next item in the bucket; -1 at its end
  int32_t* prev;   // [n] previous item in the bucket; -1 at its head
  int32_t cursor;  // item under the cursor; -1 when nil
  int32_t minp;    // no bucket below minp holds an item; moved up lazily
  int32_t count;   // items in the queue
};

// Allocates an empty queue record from sys (borrows sys, which must outlive it); null when out
// of space. The record has no arrays until VLR_pq_setup.
PrQue* VLR_pq_make2(SysEnv* sys);
// Frees the record (null accepted) and nulls the pointer; the integer work stays the caller's.
void VLR_pq_delete(PrQue** pq);
// Cuts the arrays from iwork (borrows; must outlive the use) for n items and priorities up to
// maxp, and empties the queue. Needs maxp + 3 n + 1 integers: returns 0 if isize is short, else 1.
int32_t VLR_pq_setup(PrQue* pq, int32_t n, int32_t maxp, int32_t isize, int32_t* iwork);
// Empties the queue.
void VLR_pq_clear(PrQue* pq);
// Puts item e with priority p, moving it if it is queued already.
void VLR_pq_putp(PrQue* pq, int32_t e, int32_t p);
// Takes e out of the queue (nothing if it is not in). A cursor on e moves on first.
void VLR_pq_remove(PrQue* pq, int32_t e);
// Lowers / raises the priority of a queued item by one; nothing for an item not queued.
void VLR_pq_decp(PrQue* pq, int32_t e);
void VLR_pq_incp(PrQue* pq, int32_t e);
// Priority of e (maxp+1 when not queued) and whether it is queued.
inline int32_t VLR_pq_getp(const PrQue* pq, int32_t e) {
  return pq->prio[e];
}
inline bool VLR_pq_isin(const PrQue* pq, int32_t e) {
  return pq->prio[e] <= pq->maxp;
}
// Lowest non-empty priority, or maxp+1 when the queue is empty.
int32_t VLR_pq_getminp(PrQue* pq);
// Cursor to e (which must be queued).
void VLR_pq_toe(PrQue* pq, int32_t e);
// Cursor to the first item of the lowest bucket; 0 when the queue is empty, else 1.
int32_t VLR_pq_tomin(PrQue* pq);
// Cursor to the first item of bucket p; 0 (cursor nil) when that bucket is empty.
int32_t VLR_pq_top(PrQue* pq, int32_t p);
// Cursor to the next item, crossing into higher buckets; 0 at the end.
int32_t VLR_pq_tonext(PrQue* pq);
// Cursor to the next item of the same bucket; 0 (cursor nil) at its end.
int32_t VLR_pq_tonextp(PrQue* pq);
// Item and priority under the cursor, then the cursor to the next of the same bucket; 0 at nil.
int32_t VLR_pq_gettonextp(PrQue* pq, int32_t* e, int32_t* p);
// Item and priority under the cursor; 0 at nil.
int32_t VLR_pq_get(const PrQue* pq, int32_t* e, int32_t* p);

// Sorts idx[0..n) ascending with val permuted alongside (val may be null).
void VLR_misc_sortidx(int32_t n, int32_t* idx, double* val);

}  // namespace vlr
