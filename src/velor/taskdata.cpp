// src/velor/taskdata.cpp: the task's problem store: made and deleted with the task, capacities
// that grow by doubling, append and remove, the problem type and the NaN check.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstring>

#include "velor/probdata.h"

namespace vlr {

namespace {

// A set of per-item arrays that move to a new capacity together: all are allocated first, and
// only when every one succeeded are the old ones replaced.
struct GrowSet {
  static constexpr int kMax = 12;
  void** ptr[kMax];
  size_t width[kMax];
  void* fresh[kMax];
  int n = 0;

  void add(void** p, size_t w) {
    ptr[n] = p;
    width[n] = w;
    fresh[n] = nullptr;
    ++n;
  }
  bool alloc(Task* task, int64_t newcap) {
    for (int k = 0; k < n; ++k) {
      fresh[k] = VLR_taskalloc(task, newcap, width[k]);
      if (newcap > 0 && fresh[k] == nullptr) {
        abort(task);
        return false;
      }
    }
    return true;
  }
  void abort(Task* task) {
    for (int k = 0; k < n; ++k) {
      VLR_taskfree(task, fresh[k]);
      fresh[k] = nullptr;
    }
  }
  void commit(Task* task, int64_t count) {
    for (int k = 0; k < n; ++k) {
      if (count > 0) std::memcpy(fresh[k], *ptr[k], width[k] * static_cast<size_t>(count));
      VLR_taskfree(task, *ptr[k]);
      *ptr[k] = fresh[k];
    }
  }
};

// Cone members live in a pool of maxnumvar slots; a new capacity packs them into a new pool.
void data_packcones(TaskData* d, int32_t* pool, int32_t newcap) {
  int32_t pos = 0;
  for (int32_t k = 0; k < d->numcone; ++k) {
    const int32_t len = d->conee[k] - d->coneb[k];
    if (len > 0) std::memmove(pool + pos, d->conesub + d->coneb[k], sizeof(int32_t) * size_t(len));
    d->coneb[k] = pos;
    pos += len;
    d->conee[k] = pos;
  }
  d->conefree = newcap - pos;
}

void data_newcon(TaskData* d, int32_t i) {
  d->bkc[i] = VLR_BK_FR;
  d->blc[i] = -kInfinity;
  d->buc[i] = kInfinity;
  d->conaux[i] = 0.0;
  d->names[VLR_PI_CON].off[i] = 0;
  if (d->qconb != nullptr) d->qconb[i] = d->qcone[i] = 0;
}

// A new variable is fixed at zero and continuous: it has no effect until its bounds are put.
void data_newvar(TaskData* d, int32_t j) {
  d->bkx[j] = VLR_BK_FX;
  d->blx[j] = 0.0;
  d->bux[j] = 0.0;
  d->c[j] = 0.0;
  d->names[VLR_PI_VAR].off[j] = 0;
  if (d->vartype != nullptr) d->vartype[j] = VLR_VAR_TYPE_CONT;
  if (d->branchpri != nullptr) d->branchpri[j] = d->branchdir[j] = 0;
  if (d->varcone != nullptr) d->varcone[j] = 0;
}

template <class T>
void data_compact(T* a, const int32_t* perm, int32_t count) {
  if (a == nullptr) return;
  for (int32_t i = 0; i < count; ++i) {
    if (perm[i] >= 0) a[perm[i]] = a[i];
  }
}

// Drops the Q elements of removed variables and renumbers the others, range by range.
void data_qrenumber(TaskData* d, const int32_t* perm, int64_t* b, int64_t* e) {
  int64_t to = *b;
  for (int64_t k = *b; k < *e; ++k) {
    const int32_t i = perm[d->qsubi[k]], j = perm[d->qsubj[k]];
    if (i < 0 || j < 0) continue;
    // A permutation that keeps the order keeps the lower triangle.
    d->qsubi[to] = i;
    d->qsubj[to] = j;
    d->qval[to] = d->qval[k];
    ++to;
  }
  *e = to;
}

}  // namespace

void* VLR_taskalloc(Task* task, int64_t n, size_t width) {
  if (n <= 0) return nullptr;
  return VLR_sysenv_callocdbg(task->sys, VLR_HERE, n, width);
}

void VLR_taskfree(Task* task, void* p) {
  VLR_sysenv_freedbg(task->sys, VLR_HERE, p);
}

int32_t VLR_regrow(Task* task, void** p, int64_t count, int64_t newcap, size_t width) {
  void* fresh = VLR_taskalloc(task, newcap, width);
  if (newcap > 0 && fresh == nullptr) return VLR_RES_ERR_SPACE;
  const int64_t keep = std::min(count, newcap);
  if (keep > 0) std::memcpy(fresh, *p, width * static_cast<size_t>(keep));
  VLR_taskfree(task, *p);
  *p = fresh;
  return VLR_RES_OK;
}

int32_t VLR_convertsprmatrespdbg(const char* file, int line, Task* task, int32_t code) {
  switch (code) {
    case kSprOk:
      return VLR_RES_OK;
    case kSprRowsFull:
      return VLR_exceptiontaskdbg(file, line, "", task, VLR_RES_ERR_INTERNAL, "append rows");
    case kSprMaxsizeSmall:
      return VLR_exceptiontaskdbg(file, line, "", task, VLR_RES_ERR_INTERNAL,
                                  " maxsize is too small");
    case kSprNoSpace:
      return VLR_exceptiontaskdbg(file, line, "", task, VLR_RES_ERR_SPACE);
    case kSprSurplus:
      return VLR_RES_ERR_NEGATIVE_SURPLUS;
    default:
      VLR_stoptask(task, file, line, "sprmat: %d\n", code);
  }
}

int32_t VLR_makeprobdata(Task* task, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone,
                         int64_t maxnumanz, int64_t maxnumqnz) {
  SysEnv* sys = task->sys;
  task->data = static_cast<TaskData*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(TaskData)));
  task->sols = static_cast<SolStore*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(SolStore)));
  if (task->data == nullptr || task->sols == nullptr) return VLR_RES_ERR_SPACE;
  TaskData* d = task->data;
  d->objsense = VLR_OBJECTIVE_SENSE_MINIMIZE;
  d->maxnumcon = maxnumcon;
  d->maxnumvar = maxnumvar;
  d->maxnumanz = maxnumanz;
  d->c = static_cast<double*>(VLR_taskalloc(task, maxnumvar, sizeof(double)));
  d->bkx = static_cast<int32_t*>(VLR_taskalloc(task, maxnumvar, sizeof(int32_t)));
  d->blx = static_cast<double*>(VLR_taskalloc(task, maxnumvar, sizeof(double)));
  d->bux = static_cast<double*>(VLR_taskalloc(task, maxnumvar, sizeof(double)));
  d->names[VLR_PI_VAR].off = static_cast<int64_t*>(VLR_taskalloc(task, maxnumvar, 8));
  d->conaux = static_cast<double*>(VLR_taskalloc(task, maxnumcon, sizeof(double)));
  d->bkc = static_cast<int32_t*>(VLR_taskalloc(task, maxnumcon, sizeof(int32_t)));
  d->blc = static_cast<double*>(VLR_taskalloc(task, maxnumcon, sizeof(double)));
  d->buc = static_cast<double*>(VLR_taskalloc(task, maxnumcon, sizeof(double)));
  d->names[VLR_PI_CON].off = static_cast<int64_t*>(VLR_taskalloc(task, maxnumcon, 8));
  if (maxnumvar > 0 && (d->c == nullptr || d->bkx == nullptr || d->blx == nullptr ||
                        d->bux == nullptr || d->names[VLR_PI_VAR].off == nullptr)) {
    return VLR_RES_ERR_SPACE;
  }
  if (maxnumcon > 0 && (d->conaux == nullptr || d->bkc == nullptr || d->blc == nullptr ||
                        d->buc == nullptr || d->names[VLR_PI_CON].off == nullptr)) {
    return VLR_RES_ERR_SPACE;
  }
  if (VLR_sprmat_make(sys, maxnumcon, maxnumvar, &d->a) != kSprOk) return VLR_RES_ERR_SPACE;
  VLR_sprmat_putoverhead(d->a, maxnumcon);
  if (VLR_sprmat_putmaxsize(d->a, maxnumanz) != kSprOk) return VLR_RES_ERR_SPACE;
  int32_t r = VLR_RES_OK;
  if (maxnumcone > 0) r = VLRP_putmaxnumcone(task, maxnumcone);
  if (r == VLR_RES_OK && maxnumqnz > 0) r = VLR_chgqnz(task, 0, maxnumqnz);
  return r;
}

int32_t VLR_ensuredata(Task* task) {
  if (task->data != nullptr) return VLR_RES_OK;
  VLR_deleteprobdata(task);
  const int32_t r = VLR_makeprobdata(task, 0, 0, 0, 0, 0);
  if (r != VLR_RES_OK) VLR_deleteprobdata(task);
  return r;
}

void VLR_deleteprobdata(Task* task) {
  VLR_deletesolutions(task);
  VLR_taskfree(task, task->sols);
  task->sols = nullptr;
  TaskData* d = task->data;
  if (d == nullptr) return;
  for (int32_t w = 0; w < 3; ++w) {
    VLR_htbl_delete(task->sys, &d->names[w].map);
    VLR_taskfree(task, d->names[w].off);
  }
  void* arrays[] = {d->c,       d->conaux,  d->bkc,      d->blc,     d->buc,       d->bkx,
                    d->blx,     d->bux,     d->namepool, d->objname, d->qsubi,     d->qsubj,
                    d->qval,    d->qconb,   d->qcone,    d->coneb,   d->conee,     d->conetype,
                    d->conepar, d->conesub, d->varcone,  d->vartype, d->branchpri, d->branchdir};
  for (void* p : arrays)
    VLR_taskfree(task, p);
  VLR_sprmat_delete(&d->a);
  VLR_taskfree(task, d);
  task->data = nullptr;
}

void VLR_logexpand(Task* task, const char* what, int64_t from, int64_t to) {
  if (from == to) return;
  ++task->data->numexpand;
  if (to > from && VLRP_getintparam(task, VLR_IPAR_LOG) != 0 &&
      VLRP_getintparam(task, VLR_IPAR_LOG_STORAGE) != 0) {
    VLRP_echotask(task, VLR_STREAM_MSG, "Expanding %s from %lld to %lld.\n", what,
                  static_cast<long long>(from), static_cast<long long>(to));
  }
}

int32_t VLRP_putmaxnumcon(Task* task, int32_t n) {
  TaskData* d = task->data;
  if (n == d->maxnumcon) return VLR_RES_OK;
  if (n < d->numcon) return VLR_RAISE(task, VLR_RES_ERR_MAXNUMCON, n, d->numcon);
  VLR_deletenamemap(task, VLR_PI_CON);
  if (n > d->maxnumcon) {
    int32_t r = VLR_sprmat_putmaxnumrow(d->a, n);
    if (r != kSprOk) return VLR_SPRRES(task, r);
    VLR_sprmat_putoverhead(d->a, n);
  }
  GrowSet g;
  g.add(reinterpret_cast<void**>(&d->conaux), sizeof(double));
  g.add(reinterpret_cast<void**>(&d->bkc), sizeof(int32_t));
  g.add(reinterpret_cast<void**>(&d->blc), sizeof(double));
  g.add(reinterpret_cast<void**>(&d->buc), sizeof(double));
  g.add(reinterpret_cast<void**>(&d->names[VLR_PI_CON].off), sizeof(int64_t));
  if (d->qconb != nullptr) {
    g.add(reinterpret_cast<void**>(&d->qconb), sizeof(int64_t));
    g.add(reinterpret_cast<void**>(&d->qcone), sizeof(int64_t));
  }
  if (!g.alloc(task, n)) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  const int32_t r = VLR_resizesolution(task, n, d->maxnumvar, d->maxnumcone);
  if (r != VLR_RES_OK) {
    g.abort(task);
    return r;
  }
  g.commit(task, d->numcon);
  VLR_logexpand(task, "maximum number of constraints", d->maxnumcon, n);
  d->maxnumcon = n;
  return VLR_RES_OK;
}

int32_t VLRP_putmaxnumvar(Task* task, int32_t n) {
  TaskData* d = task->data;
  if (n == d->maxnumvar) return VLR_RES_OK;
  if (n < d->numvar) return VLR_RAISE(task, VLR_RES_ERR_MAXNUMVAR, n, d->numvar);
  VLR_deletenamemap(task, VLR_PI_VAR);
  if (n > d->maxnumvar) {
    int32_t r = VLR_sprmat_putmaxnumcol(d->a, n);
    if (r != kSprOk) return VLR_SPRRES(task, r);
  }
  GrowSet g;
  g.add(reinterpret_cast<void**>(&d->c), sizeof(double));
  g.add(reinterpret_cast<void**>(&d->bkx), sizeof(int32_t));
  g.add(reinterpret_cast<void**>(&d->blx), sizeof(double));
  g.add(reinterpret_cast<void**>(&d->bux), sizeof(double));
  g.add(reinterpret_cast<void**>(&d->names[VLR_PI_VAR].off), sizeof(int64_t));
  if (d->vartype != nullptr) g.add(reinterpret_cast<void**>(&d->vartype), sizeof(int32_t));
  if (d->branchpri != nullptr) {
    g.add(reinterpret_cast<void**>(&d->branchpri), sizeof(int32_t));
    g.add(reinterpret_cast<void**>(&d->branchdir), sizeof(int32_t));
  }
  if (d->varcone != nullptr) g.add(reinterpret_cast<void**>(&d->varcone), sizeof(int32_t));
  if (!g.alloc(task, n)) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  int32_t* pool = nullptr;
  if (d->conesub != nullptr) pool = static_cast<int32_t*>(VLR_taskalloc(task, n, sizeof(int32_t)));
  if (d->conesub != nullptr && n > 0 && pool == nullptr) {
    g.abort(task);
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  const int32_t r = VLR_resizesolution(task, d->maxnumcon, n, d->maxnumcone);
  if (r != VLR_RES_OK) {
    g.abort(task);
    VLR_taskfree(task, pool);
    return r;
  }
  g.commit(task, d->numvar);
  if (d->conesub != nullptr) {
    data_packcones(d, pool, n);
    VLR_taskfree(task, d->conesub);
    d->conesub = pool;
  }
  VLR_logexpand(task, "maximum number of variables", d->maxnumvar, n);
  d->maxnumvar = n;
  return VLR_RES_OK;
}

int32_t VLRP_putmaxnumanz(Task* task, int64_t n) {
  TaskData* d = task->data;
  if (n < 0) return VLR_RAISE(task, VLR_RES_ERR_TOO_SMALL_MAXNUMANZ, static_cast<int>(n));
  int64_t size = 0;
  int32_t r = VLR_sprmat_getsize(d->a, &size);
  if (r != kSprOk) return VLR_SPRRES(task, r);
  if (n < size) return VLR_RAISE(task, VLR_RES_ERR_TOO_SMALL_MAXNUMANZ, static_cast<int>(n));
  const int64_t old = VLR_sprmat_getmaxsize(d->a);
  r = VLR_sprmat_putmaxsize(d->a, n);
  if (r != kSprOk) return VLR_SPRRES(task, r);
  d->maxnumanz = n;
  VLR_logexpand(task, "maximum number of A nonzeros", old, n);
  return VLR_RES_OK;
}

int32_t VLR_core_append(Task* task, int32_t accmode, int32_t num, int32_t* first) {
  TaskData* d = task->data;
  if (accmode != VLR_ACC_VAR && accmode != VLR_ACC_CON) {
    return VLR_RAISE(task, VLR_RES_ERR_INVALID_ACCMODE, accmode);
  }
  if (num < 0) return VLR_RAISE(task, VLR_RES_ERR_NEGATIVE_APPEND, num);
  const bool con = accmode == VLR_ACC_CON;
  const int32_t count = con ? d->numcon : d->numvar;
  if (first != nullptr) *first = count;
  if (num == 0) return VLR_RES_OK;
  // Indices are 32-bit: a count past INT32_MAX cannot be held whatever the memory.
  if (int64_t{count} + num > INT32_MAX) {
    return VLR_RAISE(task, con ? VLR_RES_ERR_NUMCONLIM : VLR_RES_ERR_NUMVARLIM);
  }
  const int32_t cap = con ? d->maxnumcon : d->maxnumvar;
  if (static_cast<int64_t>(count) + num > cap) {
    const int64_t want = std::max<int64_t>(2 * int64_t{cap}, int64_t{count} + num);
    const int32_t newcap = static_cast<int32_t>(std::min<int64_t>(want, INT32_MAX));
    const int32_t r = con ? VLRP_putmaxnumcon(task, newcap) : VLRP_putmaxnumvar(task, newcap);
    if (r != VLR_RES_OK) return r;
  }
  const int32_t r = con ? VLR_sprmat_appendrows(d->a, num) : VLR_sprmat_appendcols(d->a, num);
  if (r != kSprOk) return VLR_SPRRES(task, r);
  for (int32_t k = count; k < count + num; ++k) {
    if (con) {
      data_newcon(d, k);
    } else {
      data_newvar(d, k);
    }
  }
  if (con) {
    d->numcon += num;
  } else {
    d->numvar += num;
  }
  for (int32_t k = count; k < count + num; ++k)
    VLR_updsolstafterappend(task, accmode, k);
  return VLR_RES_OK;
}

int32_t VLRP_remove(Task* task, int32_t accmode, int32_t num, const int32_t* sub) {
  TaskData* d = task->data;
  if (accmode != VLR_ACC_VAR && accmode != VLR_ACC_CON) {
    return VLR_RAISE(task, VLR_RES_ERR_INVALID_ACCMODE, accmode);
  }
  if (num < 1) return VLR_RES_OK;
  if (sub == nullptr) return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, "sub");
  const bool con = accmode == VLR_ACC_CON;
  const int32_t count = con ? d->numcon : d->numvar;
  for (int32_t k = 0; k < num; ++k) {
    if (sub[k] < 0) return VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_SMALL, sub[k], "sub", k, 0);
    if (sub[k] >= count) {
      return VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE, sub[k], "sub", k, count);
    }
    if (!con && d->varcone != nullptr && d->varcone[sub[k]] != 0) {
      char b1[32], b2[32];
      const int32_t cone = d->varcone[sub[k]] - 1;
      return VLR_RAISE(task, VLR_RES_ERR_REMOVE_CONE_VARIABLE, sub[k],
                       VLR_getnamex(task, VLR_PI_VAR, sub[k], b1), cone,
                       VLR_getnamex(task, VLR_PI_CONE, cone, b2));
    }
  }
  int32_t r = VLR_RES_OK;
  auto* perm = static_cast<int32_t*>(VLR_getbufdbg(VLR_HERE, task, count, 4, 0, &r));
  if (r != VLR_RES_OK) return r;
  auto* gone = static_cast<int32_t*>(VLR_getbufdbg(VLR_HERE, task, num, 4, 0, &r));
  if (r != VLR_RES_OK) {
    VLR_putbuf(task, 4, 0, reinterpret_cast<void**>(&perm));
    return r;
  }
  for (int32_t i = 0; i < count; ++i)
    perm[i] = 0;
  int32_t ngone = 0;
  for (int32_t k = 0; k < num; ++k) {
    if (perm[sub[k]] == 0) gone[ngone++] = sub[k];
    perm[sub[k]] = -1;
  }
  int32_t newcount = 0;
  for (int32_t i = 0; i < count; ++i)
    perm[i] = perm[i] < 0 ? -1 : newcount++;
  if (con) {
    r = VLR_sprmat_makereadyforpermute(d->a);
    if (r == kSprOk) r = VLR_sprmat_permuteandremoverows(d->a, perm, newcount);
  } else {
    r = VLR_sprmat_deletecols(d->a, ngone, gone);
  }
  VLR_putbuf(task, 4, 0, reinterpret_cast<void**>(&gone));
  if (r != kSprOk) {
    VLR_putbuf(task, 4, 0, reinterpret_cast<void**>(&perm));
    return VLR_SPRRES(task, r);
  }
  VLR_deletenamemap(task, con ? VLR_PI_CON : VLR_PI_VAR);
  // Each removed item is put to its neutral state first, so that the solutions see the change.
  for (int32_t i = 0; i < count; ++i) {
    if (perm[i] >= 0) continue;
    if (con) {
      VLRP_putbound(task, accmode, i, VLR_BK_FR, -kInfinity, kInfinity);
    } else {
      VLRP_putbound(task, accmode, i, VLR_BK_FX, 0.0, 0.0);
      if (d->vartype != nullptr && d->vartype[i] == VLR_VAR_TYPE_INT) --d->numintvar;
    }
  }
  VLR_solpermute(task, accmode, perm, count);
  if (con) {
    data_compact(d->bkc, perm, count);
    data_compact(d->blc, perm, count);
    data_compact(d->buc, perm, count);
    data_compact(d->conaux, perm, count);
    data_compact(d->names[VLR_PI_CON].off, perm, count);
    data_compact(d->qconb, perm, count);
    data_compact(d->qcone, perm, count);
    d->numcon = newcount;
  } else {
    data_compact(d->c, perm, count);
    data_compact(d->bkx, perm, count);
    data_compact(d->blx, perm, count);
    data_compact(d->bux, perm, count);
    data_compact(d->names[VLR_PI_VAR].off, perm, count);
    data_compact(d->vartype, perm, count);
    data_compact(d->branchpri, perm, count);
    data_compact(d->branchdir, perm, count);
    data_compact(d->varcone, perm, count);
    for (int32_t k = 0; k < d->numcone; ++k) {
      for (int32_t p = d->coneb[k]; p < d->conee[k]; ++p)
        d->conesub[p] = perm[d->conesub[p]];
    }
    if (d->qsubi != nullptr) {
      data_qrenumber(d, perm, &d->qobjb, &d->qobje);
      for (int32_t i = 0; d->qconb != nullptr && i < d->numcon; ++i)
        data_qrenumber(d, perm, &d->qconb[i], &d->qcone[i]);
    }
    d->numvar = newcount;
  }
  VLR_putbuf(task, 4, 0, reinterpret_cast<void**>(&perm));
  return VLR_RES_OK;
}

int32_t VLR_removeall(Task* task, int32_t accmode) {
  const int32_t count = accmode == VLR_ACC_CON ? task->data->numcon : task->data->numvar;
  if (count == 0) return VLR_RES_OK;
  int32_t r = VLR_RES_OK;
  auto* sub = static_cast<int32_t*>(VLR_getbufdbg(VLR_HERE, task, count, 4, 0, &r));
  if (r != VLR_RES_OK) return r;
  for (int32_t i = 0; i < count; ++i)
    sub[i] = count - 1 - i;
  r = VLRP_remove(task, accmode, count, sub);
  VLR_putbuf(task, 4, 0, reinterpret_cast<void**>(&sub));
  return r;
}

int32_t VLRP_getprobtype(const Task* task) {
  const TaskData* d = task->data;
  const bool q = d->qobje > d->qobjb;
  bool qc = false;
  for (int32_t i = 0; d->qconb != nullptr && i < d->numcon && !qc; ++i)
    qc = d->qcone[i] > d->qconb[i];
  const bool nl = d->nlgetsp != nullptr;
  const bool k = d->numcone > 0;
  if (k && (q || qc || nl)) return VLR_PROBTYPE_MIXED;
  if (k) return VLR_PROBTYPE_CONIC;
  if (nl) return VLR_PROBTYPE_GECO;
  if (qc) return VLR_PROBTYPE_QCQO;
  if (q) return VLR_PROBTYPE_QO;
  return VLR_PROBTYPE_LO;
}

}  // namespace vlr

using vlr::TaskData;

namespace {

// Counts and capacities read through one template: the getter functions differ only in the field.
template <class T, class F>
int32_t data_getcount(VLRtask_t task, T* out, const char* name, F field) {
  VLR_PROLOGUE(task);
  if (out == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, name);
  *out = field(d);
  return VLR_RES_OK;
}

}  // namespace

int32_t VLR_getnumcon(VLRtask_t task, int32_t* numcon) {
  return vlr::api_guard([&]() -> int32_t {
    return data_getcount(task, numcon, "numcon", [](const TaskData* d) { return d->numcon; });
  });
}
int32_t VLR_getnumvar(VLRtask_t task, int32_t* numvar) {
  return vlr::api_guard([&]() -> int32_t {
    return data_getcount(task, numvar, "numvar", [](const TaskData* d) { return d->numvar; });
  });
}
int32_t VLR_getnumcone(VLRtask_t task, int32_t* numcone) {
  return vlr::api_guard([&]() -> int32_t {
    return data_getcount(task, numcone, "numcone", [](const TaskData* d) { return d->numcone; });
  });
}
int32_t VLR_getnumintvar(VLRtask_t task, int32_t* numintvar) {
  return vlr::api_guard([&]() -> int32_t {
    return data_getcount(task, numintvar, "numintvar",
                         [](const TaskData* d) { return d->numintvar; });
  });
}
int32_t VLR_getmaxnumcon(VLRtask_t task, int32_t* maxnumcon) {
  return vlr::api_guard([&]() -> int32_t {
    return data_getcount(task, maxnumcon, "maxnumcon",
                         [](const TaskData* d) { return d->maxnumcon; });
  });
}
int32_t VLR_getmaxnumvar(VLRtask_t task, int32_t* maxnumvar) {
  return vlr::api_guard([&]() -> int32_t {
    return data_getcount(task, maxnumvar, "maxnumvar",
                         [](const TaskData* d) { return d->maxnumvar; });
  });
}
int32_t VLR_getmaxnumcone(VLRtask_t task, int32_t* maxnumcone) {
  return vlr::api_guard([&]() -> int32_t {
    return data_getcount(task, maxnumcone, "maxnumcone",
                         [](const TaskData* d) { return d->maxnumcone; });
  });
}

int32_t VLR_getnumanz64(VLRtask_t task, int64_t* numanz) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    if (numanz == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "numanz");
    const int32_t r = vlr::VLR_sprmat_getsize(d->a, numanz);
    return r == vlr::kSprOk ? VLR_RES_OK : VLR_SPRRES(t, r);
  });
}

int32_t VLR_getnumanz(VLRtask_t task, int32_t* numanz) {
  return vlr::api_guard([&]() -> int32_t {
    int64_t n = 0;
    const int32_t r = VLR_getnumanz64(task, &n);
    if (r != VLR_RES_OK) return r;
    if (numanz == nullptr)
      return VLR_RAISE(vlr::VLR_taskcast(task), VLR_RES_ERR_NULL_POINTER, "numanz");
    return vlr::VLR_int64to32dbg(vlr::VLR_taskcast(task), VLR_HERE, numanz, n);
  });
}

int32_t VLR_getmaxnumanz64(VLRtask_t task, int64_t* maxnumanz) {
  return vlr::api_guard([&]() -> int32_t {
    return data_getcount(task, maxnumanz, "maxnumanz",
                         [](const TaskData* d) { return vlr::VLR_sprmat_getmaxsize(d->a); });
  });
}

int32_t VLR_getmaxnumanz(VLRtask_t task, int32_t* maxnumanz) {
  return vlr::api_guard([&]() -> int32_t {
    int64_t n = 0;
    const int32_t r = VLR_getmaxnumanz64(task, &n);
    if (r != VLR_RES_OK) return r;
    if (maxnumanz == nullptr) {
      return VLR_RAISE(vlr::VLR_taskcast(task), VLR_RES_ERR_NULL_POINTER, "maxnumanz");
    }
    return vlr::VLR_int64to32dbg(vlr::VLR_taskcast(task), VLR_HERE, maxnumanz, n);
  });
}

int32_t VLR_putmaxnumcon(VLRtask_t task, int32_t maxnumcon) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putmaxnumcon(t, maxnumcon);
  });
}

int32_t VLR_putmaxnumvar(VLRtask_t task, int32_t maxnumvar) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putmaxnumvar(t, maxnumvar);
  });
}

int32_t VLR_putmaxnumanz64(VLRtask_t task, int64_t maxnumanz) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putmaxnumanz(t, maxnumanz);
  });
}

int32_t VLR_putmaxnumanz(VLRtask_t task, int32_t maxnumanz) {
  return VLR_putmaxnumanz64(task, maxnumanz);
}

int32_t VLR_append(VLRtask_t task, int32_t accmode, int32_t num) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLR_core_append(t, accmode, num, nullptr);
  });
}

int32_t VLR_remove(VLRtask_t task, int32_t accmode, int32_t num, const int32_t* sub) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_remove(t, accmode, num, sub);
  });
}

int32_t VLR_commitchanges(VLRtask_t task) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    const int32_t r = vlr::VLR_sprmat_flushcache(d->a);
    return r == vlr::kSprOk ? VLR_RES_OK : VLR_SPRRES(t, r);
  });
}

int32_t VLR_getprobtype(VLRtask_t task, int32_t* probtype) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    if (probtype == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "probtype");
    *probtype = vlr::VLRP_getprobtype(t);
    return VLR_RES_OK;
  });
}

int32_t VLR_checkdata(VLRtask_t task) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    // The name is made only for the message of a failure: the scan itself is a pass over the
    // arrays.
    char buf[32];
    for (int32_t i = 0; i < d->numcon; ++i) {
      const bool nanl = vlr::VLR_bkhaslow(d->bkc[i]) && std::isnan(d->blc[i]);
      const bool nanu = vlr::VLR_bkhasupp(d->bkc[i]) && std::isnan(d->buc[i]);
      if (!nanl && !nanu) continue;
      const char* name = vlr::VLR_getnamex(t, VLR_PI_CON, i, buf);
      return nanl ? VLR_RAISE(t, VLR_RES_ERR_NAN_IN_BLC, name, i)
                  : VLR_RAISE(t, VLR_RES_ERR_NAN_IN_BUC, name, i);
    }
    for (int32_t j = 0; j < d->numvar; ++j) {
      const bool nanc = std::isnan(d->c[j]);
      const bool nanl = vlr::VLR_bkhaslow(d->bkx[j]) && std::isnan(d->blx[j]);
      const bool nanu = vlr::VLR_bkhasupp(d->bkx[j]) && std::isnan(d->bux[j]);
      if (!nanc && !nanl && !nanu) continue;
      const char* name = vlr::VLR_getnamex(t, VLR_PI_VAR, j, buf);
      if (nanc) return VLR_RAISE(t, VLR_RES_ERR_NAN_IN_C, name, j);
      return nanl ? VLR_RAISE(t, VLR_RES_ERR_NAN_IN_BLX, name, j)
                  : VLR_RAISE(t, VLR_RES_ERR_NAN_IN_BUX, name, j);
    }
    return VLR_RES_OK;
  });
}
