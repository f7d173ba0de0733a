// src/prslv/prslvstk.cpp: the undo stack of presolve: records staged by a reduction, appended
// to one growing byte store, read back from the top by postsolve.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "prslv/prslvdat.h"

namespace vlr {

namespace {

// Grows a block to hold at least `need` elements (doubling); false when out of space, with the
// old block kept.
template <class T>
bool prslvstk_grow(SysEnv* sys, T** block, int64_t* capacity, int64_t need) {
  if (need <= *capacity) return true;
  int64_t cap = *capacity > 0 ? *capacity : 16;
  while (cap < need)
    cap *= 2;
  auto* fresh = static_cast<T*>(VLR_sysenv_callocdbg(sys, VLR_HERE, cap, sizeof(T)));
  if (fresh == nullptr) return false;
  if (*block != nullptr && *capacity > 0) {
    std::memcpy(fresh, *block, sizeof(T) * static_cast<size_t>(*capacity));
  }
  VLR_sysenv_freedbg(sys, VLR_HERE, *block);
  *block = fresh;
  *capacity = cap;
  return true;
}

// Bytes of a record in the store: the integers padded to 8 bytes, then the doubles.
int64_t prslvstk_bytes(int64_t numint, int64_t numdouble) {
  return (numint * 4 + 7) / 8 * 8 + numdouble * 8;
}

}  // namespace

int32_t VLR_prslv_beginpushstk(prslv* p, int32_t kind, int64_t numint, int64_t numdouble,
                               int32_t** intstage, double** doublestage) {
  VLR_sysenv_assertdbg(p->sys, VLR_HERE, p->stackready == 1);
  *intstage = nullptr;
  *doublestage = nullptr;
  // The per-record arrays grow together: kinds and offsets by one a record, sizes by two.
  if (p->numrecords + 1 >= p->kindcapacity) {
    const int64_t want = 2 * p->kindcapacity + 16;
    auto* kinds = static_cast<int32_t*>(VLR_sysenv_callocdbg(p->sys, VLR_HERE, want, 4));
    auto* beg = static_cast<int64_t*>(VLR_sysenv_callocdbg(p->sys, VLR_HERE, want + 1, 8));
    auto* sizes = static_cast<int64_t*>(VLR_sysenv_callocdbg(p->sys, VLR_HERE, 2 * want, 8));
    if (kinds == nullptr || beg == nullptr || sizes == nullptr) {
      VLR_sysenv_freedbg(p->sys, VLR_HERE, kinds);
      VLR_sysenv_freedbg(p->sys, VLR_HERE, beg);
      VLR_sysenv_freedbg(p->sys, VLR_HERE, sizes);
      return kPrslvNoSpace;
    }
    const auto nr = static_cast<size_t>(p->numrecords);
    if (nr > 0) {
      std::memcpy(kinds, p->kinds, 4 * nr);
      std::memcpy(beg, p->recbeg, 8 * nr);
      std::memcpy(sizes, p->recsizes, 16 * nr);
    }
    VLR_sysenv_freedbg(p->sys, VLR_HERE, p->kinds);
    VLR_sysenv_freedbg(p->sys, VLR_HERE, p->recbeg);
    VLR_sysenv_freedbg(p->sys, VLR_HERE, p->recsizes);
    p->kinds = kinds;
    p->recbeg = beg;
    p->recsizes = sizes;
    p->kindcapacity = want;
  }
  if (!prslvstk_grow(p->sys, &p->intstage, &p->intcapacity, numint + 1) ||
      !prslvstk_grow(p->sys, &p->doublestage, &p->doublecapacity, numdouble + 1) ||
      !prslvstk_grow(p->sys, &p->store, &p->storecapacity,
                     p->storesize + prslvstk_bytes(numint, numdouble))) {
    return kPrslvNoSpace;
  }
  p->kinds[p->numrecords] = kind;
  p->curints = numint;
  p->curdoubles = numdouble;
  p->stackready = 0;
  *intstage = p->intstage;
  *doublestage = p->doublestage;
  return kPrslvOk;
}

void VLR_prslv_endpushstk(prslv* p) {
  VLR_sysenv_assertdbg(p->sys, VLR_HERE, p->stackready == 0);
  const int64_t r = p->numrecords;
  // Room was reserved by the begin: this append cannot fail.
  char* at = p->store + p->storesize;
  const auto ni = static_cast<size_t>(p->curints), nd = static_cast<size_t>(p->curdoubles);
  if (ni > 0) std::memcpy(at, p->intstage, 4 * ni);
  if (nd > 0) {
    std::memcpy(at + prslvstk_bytes(p->curints, 0), p->doublestage, 8 * nd);
  }
  p->recbeg[r] = p->storesize;
  p->recsizes[2 * r] = p->curints;
  p->recsizes[2 * r + 1] = p->curdoubles;
  p->storesize += prslvstk_bytes(p->curints, p->curdoubles);
  p->numrecords = r + 1;
  p->stackready = 1;
}

void VLR_prslv_initpopstk(prslv* p) {
  p->poprecord = p->numrecords;
}

int32_t VLR_prslv_popstk(prslv* p, int32_t* kind, const int32_t** ints, int64_t* numint,
                         const double** doubles, int64_t* numdouble) {
  if (p->poprecord <= 0) return 0;
  const int64_t r = --p->poprecord;
  const char* at = p->store + p->recbeg[r];
  *kind = p->kinds[r];
  *numint = p->recsizes[2 * r];
  *numdouble = p->recsizes[2 * r + 1];
  // Records start on 8 bytes and their doubles too, so both may be read in place.
  *ints = reinterpret_cast<const int32_t*>(at);
  *doubles = reinterpret_cast<const double*>(at + prslvstk_bytes(*numint, 0));
  return 1;
}

void VLR_prslv_getrecord(const prslv* p, int64_t r, int32_t* kind, const int32_t** ints,
                         const double** doubles) {
  const char* at = p->store + p->recbeg[r];
  *kind = p->kinds[r];
  *ints = reinterpret_cast<const int32_t*>(at);
  *doubles = reinterpret_cast<const double*>(at + prslvstk_bytes(p->recsizes[2 * r], 0));
}

void VLR_prslv_emptystk(prslv* p) {
  p->numrecords = 0;
  p->storesize = 0;
  p->poprecord = 0;
}

int64_t VLR_prslv_getnumred(const prslv* p) {
  return p->numrecords;
}

}  // namespace vlr
