// src/velor/names.cpp: names of variables, constraints and cones in one pool per task, generic
// names for the unnamed, and the hash maps that find an item by its name.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "velor/probdata.h"

namespace vlr {

namespace {

const char* const kClassName[3] = {"variable", "constraint", "cone"};
const char kGenericPrefix[3] = {'x', 'c', 'k'};

int32_t names_count(const TaskData* d, int32_t whichitem) {
  return whichitem == VLR_PI_VAR ? d->numvar : whichitem == VLR_PI_CON ? d->numcon : d->numcone;
}

int32_t names_capacity(const TaskData* d, int32_t whichitem) {
  return whichitem == VLR_PI_VAR   ? d->maxnumvar
         : whichitem == VLR_PI_CON ? d->maxnumcon
                                   : d->maxnumcone;
}

int32_t names_checkitem(Task* task, int32_t whichitem) {
  if (whichitem < VLR_PI_VAR || whichitem > VLR_PI_CONE) {
    return VLR_RAISE(task, VLR_RES_ERR_PRO_ITEM, whichitem);
  }
  return VLR_RES_OK;
}

bool names_isblank(const char* s) {
  for (; *s != '\0'; ++s) {
    if (*s != ' ' && *s != '\t') return false;
  }
  return true;
}

// Appends a string to the pool (position 0 holds the empty name) and gives its offset.
int32_t names_append(Task* task, const char* name, int64_t* off) {
  TaskData* d = task->data;
  const auto len = static_cast<int64_t>(std::strlen(name)) + 1;
  if (d->namepool_use + len > d->namepool_size) {
    const int64_t size = std::max(2 * d->namepool_size, d->namepool_use + len + 64);
    void* pool = d->namepool;
    if (VLR_regrow(task, &pool, d->namepool_use, size, 1) != VLR_RES_OK) {
      return VLR_RAISE(task, VLR_RES_ERR_SPACE);
    }
    d->namepool = static_cast<char*>(pool);
    if (d->namepool_use == 0) d->namepool_use = 1;  // the empty name
    d->namepool_size = size;
  }
  *off = d->namepool_use;
  std::memcpy(d->namepool + d->namepool_use, name, static_cast<size_t>(len));
  d->namepool_use += len;
  return VLR_RES_OK;
}

// Copies a name out: the length always, the text cut to the buffer; a short buffer is an error.
int32_t names_copyout(Task* task, const char* name, int64_t maxlen, int64_t* len, char* out) {
  const auto n = static_cast<int64_t>(std::strlen(name));
  if (len != nullptr) *len = n;
  if (out == nullptr) return VLR_RES_OK;
  if (maxlen > 0) std::snprintf(out, static_cast<size_t>(maxlen), "%s", name);
  if (n >= maxlen) {
    return VLR_RAISE(task, VLR_RES_ERR_NAME_MAX_LEN, name, static_cast<int>(n),
                     static_cast<int>(maxlen));
  }
  return VLR_RES_OK;
}

}  // namespace

uint64_t VLR_strhash(const char* s) {
  uint64_t h = 1469598103934665603ULL;  // FNV-1a
  for (; *s != '\0'; ++s) {
    h ^= static_cast<unsigned char>(*s);
    h *= 1099511628211ULL;
  }
  return h;
}

HashTbl* VLR_htbl_make(SysEnv* sys, int32_t size, int32_t load) {
  auto* tbl = static_cast<HashTbl*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(HashTbl)));
  if (tbl == nullptr) return nullptr;
  int64_t nheads = 2;
  while (nheads < 4 * int64_t{size} * load)
    nheads *= 2;
  tbl->size = size;
  tbl->nheads = static_cast<int32_t>(nheads);
  tbl->heads = static_cast<int32_t*>(VLR_sysenv_callocdbg(sys, VLR_HERE, nheads, sizeof(int32_t)));
  tbl->next = static_cast<int32_t*>(
      VLR_sysenv_callocdbg(sys, VLR_HERE, std::max(size, 1), sizeof(int32_t)));
  if (tbl->heads == nullptr || tbl->next == nullptr) {
    VLR_htbl_delete(sys, &tbl);
    return nullptr;
  }
  std::fill(tbl->heads, tbl->heads + nheads, size);
  return tbl;
}

void VLR_htbl_delete(SysEnv* sys, HashTbl** tbl) {
  if (*tbl == nullptr) return;
  VLR_sysenv_freedbg(sys, VLR_HERE, (*tbl)->heads);
  VLR_sysenv_freedbg(sys, VLR_HERE, (*tbl)->next);
  VLR_sysenv_freedbg(sys, VLR_HERE, *tbl);
  *tbl = nullptr;
}

int32_t VLR_htbl_find(const HashTbl* tbl, const int64_t* off, const char* pool, const char* name) {
  const auto h = static_cast<int32_t>(VLR_strhash(name) & uint64_t(tbl->nheads - 1));
  for (int32_t k = tbl->heads[h]; k != tbl->size; k = tbl->next[k]) {
    if (std::strcmp(pool + off[k], name) == 0) return k;
  }
  return -1;
}

int32_t VLR_htbl_assign(HashTbl* tbl, const int64_t* off, const char* pool, int32_t i) {
  const char* name = pool + off[i];
  if (VLR_htbl_find(tbl, off, pool, name) >= 0) return 0;
  const auto h = static_cast<int32_t>(VLR_strhash(name) & uint64_t(tbl->nheads - 1));
  tbl->next[i] = tbl->heads[h];
  tbl->heads[h] = i;
  return 1;
}

void VLR_htbl_unassign(HashTbl* tbl, const int64_t* off, const char* pool, int32_t i) {
  const auto h = static_cast<int32_t>(VLR_strhash(pool + off[i]) & uint64_t(tbl->nheads - 1));
  for (int32_t* at = &tbl->heads[h]; *at != tbl->size; at = &tbl->next[*at]) {
    if (*at == i) {
      *at = tbl->next[i];
      return;
    }
  }
}

const char* VLR_getnamex(const Task* task, int32_t whichitem, int32_t i, char* buf) {
  const TaskData* d = task->data;
  const int64_t* off = d->names[whichitem].off;
  // Messages may name an item that does not exist (yet): it gets the generic name.
  const int32_t count = whichitem == VLR_PI_CON   ? d->numcon
                        : whichitem == VLR_PI_VAR ? d->numvar
                                                  : d->numcone;
  if (off != nullptr && i >= 0 && i < count && off[i] != 0) return d->namepool + off[i];
  std::snprintf(buf, 32, "%c%d", kGenericPrefix[whichitem], i);
  return buf;
}

void VLR_deletenamemap(Task* task, int32_t whichitem) {
  VLR_htbl_delete(task->sys, &task->data->names[whichitem].map);
}

// Builds the map over the named items. A duplicate (possible when names were put without a map)
// leaves no map, and lookups fall back on a scan.
int32_t VLR_makenamemap(Task* task, int32_t whichitem) {
  TaskData* d = task->data;
  NameList& nl = d->names[whichitem];
  if (nl.map != nullptr) return VLR_RES_OK;
  nl.map = VLR_htbl_make(task->sys, std::max(names_capacity(d, whichitem), 1), 1);
  if (nl.map == nullptr) return VLR_RES_ERR_SPACE;
  const int32_t n = names_count(d, whichitem);
  for (int32_t k = 0; k < n; ++k) {
    if (nl.off[k] == 0) continue;
    if (!VLR_htbl_assign(nl.map, nl.off, d->namepool, k)) {
      VLR_deletenamemap(task, whichitem);
      return VLR_RES_ERR_DUP_NAME;
    }
  }
  return VLR_RES_OK;
}

int32_t VLR_reservenames(Task* task, int64_t bytes) {
  TaskData* d = task->data;
  const int64_t need = std::max<int64_t>(d->namepool_use, 1) + bytes;
  if (need <= d->namepool_size) return VLR_RES_OK;
  void* pool = d->namepool;
  if (VLR_regrow(task, &pool, d->namepool_use, need, 1) != VLR_RES_OK) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  d->namepool = static_cast<char*>(pool);
  if (d->namepool_use == 0) d->namepool_use = 1;  // the empty name
  d->namepool_size = need;
  return VLR_RES_OK;
}

int32_t VLR_resizenames(Task* task, int32_t whichitem, int32_t count, int32_t newcap) {
  VLR_deletenamemap(task, whichitem);
  void* p = task->data->names[whichitem].off;
  const int32_t r = VLR_regrow(task, &p, count, newcap, sizeof(int64_t));
  if (r == VLR_RES_OK) task->data->names[whichitem].off = static_cast<int64_t*>(p);
  return r;
}

void VLR_swapname(Task* task, int32_t whichitem, int32_t i, int32_t j) {
  NameList& nl = task->data->names[whichitem];
  const char* pool = task->data->namepool;
  if (nl.map != nullptr) {
    if (nl.off[i] != 0) VLR_htbl_unassign(nl.map, nl.off, pool, i);
    if (nl.off[j] != 0) VLR_htbl_unassign(nl.map, nl.off, pool, j);
  }
  std::swap(nl.off[i], nl.off[j]);
  if (nl.map != nullptr) {
    if (nl.off[i] != 0) VLR_htbl_assign(nl.map, nl.off, pool, i);
    if (nl.off[j] != 0) VLR_htbl_assign(nl.map, nl.off, pool, j);
  }
}

int32_t VLRP_putname(Task* task, int32_t whichitem, int32_t i, const char* name) {
  int32_t r = names_checkitem(task, whichitem);
  if (r != VLR_RES_OK) return r;
  TaskData* d = task->data;
  r = VLR_checkindexdbg(VLR_HERE, task, i, names_count(d, whichitem), "i");
  if (r != VLR_RES_OK) return r;
  if (name == nullptr) return VLR_RAISE(task, VLR_RES_ERR_NAME_IS_NULL);
  if (names_isblank(name)) return VLR_RAISE(task, VLR_RES_ERR_BLANK_NAME);
  NameList& nl = d->names[whichitem];
  if (nl.off[i] != 0 && std::strcmp(d->namepool + nl.off[i], name) == 0) return VLR_RES_OK;
  // The map is built by the first put, so that every later put can refuse a duplicate.
  if (nl.map == nullptr) VLR_makenamemap(task, whichitem);
  if (nl.map != nullptr && VLR_htbl_find(nl.map, nl.off, d->namepool, name) >= 0) {
    return VLR_RAISE(task, VLR_RES_ERR_DUP_NAME, name, kClassName[whichitem]);
  }
  int64_t off = 0;
  r = names_append(task, name, &off);
  if (r != VLR_RES_OK) return r;
  // The old name stays in the pool, unused.
  if (nl.map != nullptr && nl.off[i] != 0) VLR_htbl_unassign(nl.map, nl.off, d->namepool, i);
  nl.off[i] = off;
  if (nl.map != nullptr) VLR_htbl_assign(nl.map, nl.off, d->namepool, i);
  return VLR_RES_OK;
}

int32_t VLR_getnameindexrec(Task* task, int32_t whichitem, const char* name, int32_t* index) {
  TaskData* d = task->data;
  NameList& nl = d->names[whichitem];
  if (nl.map == nullptr) VLR_makenamemap(task, whichitem);
  if (nl.map != nullptr) {
    *index = VLR_htbl_find(nl.map, nl.off, d->namepool, name);
    return VLR_RES_OK;
  }
  *index = -1;
  const int32_t n = names_count(d, whichitem);
  for (int32_t k = 0; k < n; ++k) {
    if (nl.off[k] != 0 && std::strcmp(d->namepool + nl.off[k], name) == 0) {
      *index = k;
      break;
    }
  }
  return VLR_RES_OK;
}

}  // namespace vlr

int32_t VLR_putname(VLRtask_t task, int32_t whichitem, int32_t i, const char* name) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putname(t, whichitem, i, name);
  });
}

int32_t VLR_putobjname(VLRtask_t task, const char* objname) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    if (objname == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NAME_IS_NULL);
    char* copy = vlr::VLR_sysenv_strdupdbg(t->sys, VLR_HERE, objname);
    if (copy == nullptr) return VLR_RAISE(t, VLR_RES_ERR_SPACE);
    vlr::VLR_taskfree(t, d->objname);
    d->objname = copy;
    return VLR_RES_OK;
  });
}

int32_t VLR_getname64(VLRtask_t task, int32_t whichitem, int32_t i, int64_t maxlen, int64_t* len,
                      char* name) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::names_checkitem(t, whichitem);
    if (r == VLR_RES_OK) {
      r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, vlr::names_count(d, whichitem), "i");
    }
    if (r != VLR_RES_OK) return r;
    char buf[32];
    return vlr::names_copyout(t, vlr::VLR_getnamex(t, whichitem, i, buf), maxlen, len, name);
  });
}

int32_t VLR_getname(VLRtask_t task, int32_t whichitem, int32_t i, int32_t maxlen, int32_t* len,
                    char* name) {
  return vlr::api_guard([&]() -> int32_t {
    int64_t n = 0;
    const int32_t r = VLR_getname64(task, whichitem, i, maxlen, &n, name);
    if (len != nullptr && (r == VLR_RES_OK || r == VLR_RES_ERR_NAME_MAX_LEN)) {
      *len = static_cast<int32_t>(n);
    }
    return r;
  });
}

int32_t VLR_getnamelen64(VLRtask_t task, int32_t whichitem, int32_t i, int64_t* len) {
  return VLR_getname64(task, whichitem, i, 0, len, nullptr);
}

int32_t VLR_getvarname64(VLRtask_t task, int32_t j, int64_t maxlen, char* name) {
  return VLR_getname64(task, VLR_PI_VAR, j, maxlen, nullptr, name);
}

int32_t VLR_getvarname(VLRtask_t task, int32_t j, int32_t maxlen, char* name) {
  return VLR_getname64(task, VLR_PI_VAR, j, maxlen, nullptr, name);
}

int32_t VLR_getconname64(VLRtask_t task, int32_t i, int64_t maxlen, char* name) {
  return VLR_getname64(task, VLR_PI_CON, i, maxlen, nullptr, name);
}

int32_t VLR_getconname(VLRtask_t task, int32_t i, int32_t maxlen, char* name) {
  return VLR_getname64(task, VLR_PI_CON, i, maxlen, nullptr, name);
}

int32_t VLR_getobjname64(VLRtask_t task, int64_t maxlen, int64_t* len, char* objname) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    return vlr::names_copyout(t, d->objname != nullptr ? d->objname : "", maxlen, len, objname);
  });
}

int32_t VLR_getobjname(VLRtask_t task, int32_t maxlen, int32_t* len, char* objname) {
  return vlr::api_guard([&]() -> int32_t {
    int64_t n = 0;
    const int32_t r = VLR_getobjname64(task, maxlen, &n, objname);
    if (len != nullptr && r == VLR_RES_OK) *len = static_cast<int32_t>(n);
    return r;
  });
}

int32_t VLR_gettaskname64(VLRtask_t task, int64_t maxlen, int64_t* len, char* taskname) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    return vlr::names_copyout(t, t->name != nullptr ? t->name : "", maxlen, len, taskname);
  });
}

int32_t VLR_getnameindex(VLRtask_t task, int32_t whichitem, const char* name, int32_t* asgn,
                         int32_t* index) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::names_checkitem(t, whichitem);
    if (r != VLR_RES_OK) return r;
    if (name == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NAME_IS_NULL);
    if (name[0] == '\0') return VLR_RAISE(t, VLR_RES_ERR_BLANK_NAME);
    int32_t k = -1;
    r = vlr::VLR_getnameindexrec(t, whichitem, name, &k);
    if (asgn != nullptr) *asgn = k >= 0 ? 1 : 0;
    if (index != nullptr) *index = k >= 0 ? k : 0;
    return r;
  });
}

int32_t VLR_getmaxnamelen(VLRtask_t task, int32_t* maxlen) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    if (maxlen == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "maxlen");
    size_t m = std::max(d->objname != nullptr ? std::strlen(d->objname) : 0,
                        t->name != nullptr ? std::strlen(t->name) : 0);
    char buf[32];
    for (int32_t w = VLR_PI_VAR; w <= VLR_PI_CONE; ++w) {
      const int32_t n = vlr::names_count(d, w);
      for (int32_t i = 0; i < n; ++i)
        m = std::max(m, std::strlen(vlr::VLR_getnamex(t, w, i, buf)));
    }
    *maxlen = static_cast<int32_t>(m);
    return VLR_RES_OK;
  });
}
