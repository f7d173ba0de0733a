// src/prslv/prslvmat.cpp: the matrix of presolve, by columns and by rows, each line in a slot of
// a pool. Substitutions change entries, add fill and cancel entries; the slots make that cheap.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>
#include <initializer_list>

#include "prslv/prslvdat.h"

namespace vlr {

namespace {

// Room a fresh pool keeps behind its lines, for lines that move to its end.
int64_t prslvmat_spare(int64_t used) {
  return used / 4 + 16;
}

template <class T>
T* prslvmat_alloc(SysEnv* sys, int64_t n) {
  return static_cast<T*>(VLR_sysenv_callocdbg(sys, VLR_HERE, n > 0 ? n : 1, sizeof(T)));
}

// Copies every line into a new pool of `capacity` entries, packed in line order with its slot
// size kept. False when out of space; the old pool is then kept.
bool prslvmat_repack(SysEnv* sys, PrslvLines* l, int64_t capacity) {
  auto* idx = prslvmat_alloc<int32_t>(sys, capacity);
  auto* val = prslvmat_alloc<double>(sys, capacity);
  if (idx == nullptr || val == nullptr) {
    VLR_sysenv_freedbg(sys, VLR_HERE, idx);
    VLR_sysenv_freedbg(sys, VLR_HERE, val);
    return false;
  }
  int64_t at = 0;
  for (int32_t q = 0; q < l->num; ++q) {
    const auto len = static_cast<size_t>(l->len[q]);
    if (len > 0) {
      std::memcpy(idx + at, l->idx + l->beg[q], len * sizeof(int32_t));
      std::memcpy(val + at, l->val + l->beg[q], len * sizeof(double));
    }
    l->beg[q] = at;
    at += l->cap[q];
  }
  VLR_sysenv_freedbg(sys, VLR_HERE, l->idx);
  VLR_sysenv_freedbg(sys, VLR_HERE, l->val);
  l->idx = idx;
  l->val = val;
  l->used = at;
  l->capacity = capacity;
  return true;
}

}  // namespace

bool VLR_prslv_makelines(SysEnv* sys, PrslvLines* l, int32_t num, const int32_t* len) {
  *l = PrslvLines();
  l->num = num;
  l->beg = prslvmat_alloc<int64_t>(sys, num);
  l->len = prslvmat_alloc<int32_t>(sys, num);
  l->cap = prslvmat_alloc<int32_t>(sys, num);
  if (l->beg == nullptr || l->len == nullptr || l->cap == nullptr) return false;
  int64_t used = 0;
  for (int32_t q = 0; q < num; ++q) {
    l->beg[q] = used;
    l->cap[q] = len[q];
    used += len[q];
  }
  l->used = used;
  l->capacity = used + prslvmat_spare(used);
  l->idx = prslvmat_alloc<int32_t>(sys, l->capacity);
  l->val = prslvmat_alloc<double>(sys, l->capacity);
  return l->idx != nullptr && l->val != nullptr;
}

void VLR_prslv_freelines(SysEnv* sys, PrslvLines* l) {
  for (void* block :
       {static_cast<void*>(l->beg), static_cast<void*>(l->len), static_cast<void*>(l->cap),
        static_cast<void*>(l->idx), static_cast<void*>(l->val)}) {
    VLR_sysenv_freedbg(sys, VLR_HERE, block);
  }
  *l = PrslvLines();
}

bool VLR_prslv_copylines(SysEnv* sys, const PrslvLines& from, PrslvLines* to) {
  *to = PrslvLines();
  to->num = from.num;
  to->used = from.used;
  to->capacity = from.capacity;
  to->beg = prslvmat_alloc<int64_t>(sys, from.num);
  to->len = prslvmat_alloc<int32_t>(sys, from.num);
  to->cap = prslvmat_alloc<int32_t>(sys, from.num);
  to->idx = prslvmat_alloc<int32_t>(sys, from.capacity);
  to->val = prslvmat_alloc<double>(sys, from.capacity);
  if (to->beg == nullptr || to->len == nullptr || to->cap == nullptr || to->idx == nullptr ||
      to->val == nullptr) {
    return false;
  }
  return VLR_prslv_restorelines(from, to);
}

bool VLR_prslv_restorelines(const PrslvLines& from, PrslvLines* to) {
  if (from.num != to->num || from.capacity != to->capacity) return false;
  const auto num = static_cast<size_t>(from.num);
  const auto used = static_cast<size_t>(from.used);
  std::memcpy(to->beg, from.beg, num * sizeof(int64_t));
  std::memcpy(to->len, from.len, num * sizeof(int32_t));
  std::memcpy(to->cap, from.cap, num * sizeof(int32_t));
  std::memcpy(to->idx, from.idx, used * sizeof(int32_t));
  std::memcpy(to->val, from.val, used * sizeof(double));
  to->used = from.used;
  return true;
}

bool VLR_prslv_makeroom(SysEnv* sys, PrslvLines* l, int32_t q, int32_t extra) {
  const int32_t need = l->len[q] + extra;
  if (need <= l->cap[q]) return true;
  // A line that must move gets twice its need, so a line that keeps growing moves rarely.
  const int32_t cap = need < (1 << 29) ? 2 * need : need;
  if (l->used + cap > l->capacity) {
    const int64_t live = l->used - l->cap[q];
    if (!prslvmat_repack(sys, l, live + l->cap[q] + cap + prslvmat_spare(live + cap))) return false;
  }
  const auto len = static_cast<size_t>(l->len[q]);
  const int64_t at = l->used;
  if (len > 0) {
    std::memmove(l->idx + at, l->idx + l->beg[q], len * sizeof(int32_t));
    std::memmove(l->val + at, l->val + l->beg[q], len * sizeof(double));
  }
  l->beg[q] = at;
  l->cap[q] = cap;
  l->used = at + cap;
  return true;
}

int64_t VLR_prslv_findentry(const PrslvLines& l, int32_t q, int32_t other) {
  const int64_t end = l.beg[q] + l.len[q];
  for (int64_t k = l.beg[q]; k < end; ++k) {
    if (l.idx[k] == other) return k;
  }
  return -1;
}

void VLR_prslv_appendentry(PrslvLines* l, int32_t q, int32_t other, double v) {
  const int64_t at = l->beg[q] + l->len[q]++;
  l->idx[at] = other;
  l->val[at] = v;
}

void VLR_prslv_removeentry(PrslvLines* l, int32_t q, int64_t at) {
  const int64_t end = l->beg[q] + l->len[q];
  for (int64_t k = at; k + 1 < end; ++k) {
    l->idx[k] = l->idx[k + 1];
    l->val[k] = l->val[k + 1];
  }
  --l->len[q];
}

}  // namespace vlr
