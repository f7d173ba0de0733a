// src/velor/cone.cpp: quadratic cones with their member checks, integer marks, branching data
// and the nonlinear callbacks.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstring>

#include "velor/probdata.h"

namespace vlr {

namespace {

const char* cone_typename(int32_t type) {
  return type == VLR_CT_QUAD ? "VLR_CT_QUAD" : "VLR_CT_RQUAD";
}

// Checks a member list for cone k (an existing cone's own members are no overlap).
int32_t cone_check(Task* task, int32_t k, int32_t type, int32_t nummem, const int32_t* submem) {
  TaskData* d = task->data;
  if (type != VLR_CT_QUAD && type != VLR_CT_RQUAD) {
    return VLR_RAISE(task, VLR_RES_ERR_CONE_TYPE, type);
  }
  const int32_t least = type == VLR_CT_QUAD ? 1 : 2;
  if (nummem < least) return VLR_RAISE(task, VLR_RES_ERR_CONE_SIZE, least, cone_typename(type));
  if (submem == nullptr) return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, "submem");
  for (int32_t p = 0; p < nummem; ++p) {
    if (submem[p] < 0) {
      return VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_SMALL, submem[p], "submem", p, 0);
    }
    if (submem[p] >= d->numvar) {
      return VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE, submem[p], "submem", p, d->numvar);
    }
  }
  char b1[32], b2[32], b3[32];
  for (int32_t p = 0; p < nummem; ++p) {
    const int32_t j = submem[p];
    const int32_t other = d->varcone != nullptr ? d->varcone[j] - 1 : -1;
    if (other >= 0 && other != k) {
      return VLR_RAISE(task, VLR_RES_ERR_CONE_OVERLAP, VLR_getnamex(task, VLR_PI_VAR, j, b1), j,
                       VLR_getnamex(task, VLR_PI_CONE, other, b2), other,
                       k < d->numcone ? VLR_getnamex(task, VLR_PI_CONE, k, b3) : "", k);
    }
  }
  int32_t r = VLR_RES_OK;
  auto* mark = static_cast<int32_t*>(VLR_getbufdbg(VLR_HERE, task, d->numvar, 4, 1, &r));
  if (r != VLR_RES_OK) return r;
  int32_t p = 0;
  for (; p < nummem; ++p) {
    if (mark[submem[p]]) {
      r = VLR_RAISE(task, VLR_RES_ERR_CONE_REP_VAR, VLR_getnamex(task, VLR_PI_VAR, submem[p], b1),
                    submem[p], k < d->numcone ? VLR_getnamex(task, VLR_PI_CONE, k, b2) : "", k);
      break;
    }
    mark[submem[p]] = 1;
  }
  for (int32_t q = 0; q < p; ++q)
    mark[submem[q]] = 0;
  VLR_putbuf(task, 4, 1, reinterpret_cast<void**>(&mark));
  return r;
}

// Packs the member pool so that all free slots are at its end.
void cone_compress(TaskData* d) {
  int32_t pos = 0;
  for (int32_t k = 0; k < d->numcone; ++k) {
    const int32_t len = d->conee[k] - d->coneb[k];
    if (len > 0 && d->coneb[k] != pos) {
      std::memmove(d->conesub + pos, d->conesub + d->coneb[k], sizeof(int32_t) * size_t(len));
    }
    d->coneb[k] = pos;
    pos += len;
    d->conee[k] = pos;
  }
  d->conefree = d->maxnumvar - pos;
}

void cone_setmembers(TaskData* d, int32_t k, int32_t type, double par, int32_t nummem,
                     const int32_t* submem) {
  const int32_t at = d->maxnumvar - d->conefree;
  std::memcpy(d->conesub + at, submem, sizeof(int32_t) * size_t(nummem));
  d->coneb[k] = at;
  d->conee[k] = at + nummem;
  d->conefree -= nummem;
  d->conetype[k] = type;
  d->conepar[k] = par;
  for (int32_t p = 0; p < nummem; ++p)
    d->varcone[submem[p]] = k + 1;
}

}  // namespace

int32_t VLRP_putmaxnumcone(Task* task, int32_t n) {
  TaskData* d = task->data;
  n = std::min(n, d->maxnumvar);  // each cone needs a variable of its own
  if (n < d->numcone) return VLR_RAISE(task, VLR_RES_ERR_MAXNUMCONE, n);
  if (n == d->maxnumcone) return VLR_RES_OK;
  if (d->conesub == nullptr && n > 0) {
    d->conesub = static_cast<int32_t*>(VLR_taskalloc(task, d->maxnumvar, sizeof(int32_t)));
    d->varcone = static_cast<int32_t*>(VLR_taskalloc(task, d->maxnumvar, sizeof(int32_t)));
    if (d->conesub == nullptr || d->varcone == nullptr) {
      VLR_taskfree(task, d->conesub);
      VLR_taskfree(task, d->varcone);
      d->conesub = d->varcone = nullptr;
      return VLR_RAISE(task, VLR_RES_ERR_SPACE);
    }
    d->conefree = d->maxnumvar;
  }
  void* arrays[5] = {d->coneb, d->conee, d->conetype, d->conepar, d->names[VLR_PI_CONE].off};
  const size_t width[5] = {4, 4, 4, 8, 8};
  void* fresh[5] = {};
  bool ok = true;
  for (int32_t a = 0; a < 5; ++a) {
    fresh[a] = VLR_taskalloc(task, n, width[a]);
    ok = ok && (n == 0 || fresh[a] != nullptr);
  }
  int32_t r = ok ? VLR_resizesolution(task, d->maxnumcon, d->maxnumvar, n) : VLR_RES_ERR_SPACE;
  if (r != VLR_RES_OK) {
    for (void* p : fresh)
      VLR_taskfree(task, p);
    return r == VLR_RES_ERR_SPACE && !ok ? VLR_RAISE(task, r) : r;
  }
  VLR_deletenamemap(task, VLR_PI_CONE);
  for (int32_t a = 0; a < 5; ++a) {
    if (d->numcone > 0) std::memcpy(fresh[a], arrays[a], width[a] * size_t(d->numcone));
    VLR_taskfree(task, arrays[a]);
  }
  d->coneb = static_cast<int32_t*>(fresh[0]);
  d->conee = static_cast<int32_t*>(fresh[1]);
  d->conetype = static_cast<int32_t*>(fresh[2]);
  d->conepar = static_cast<double*>(fresh[3]);
  d->names[VLR_PI_CONE].off = static_cast<int64_t*>(fresh[4]);
  d->maxnumcone = n;
  if (n == 0) {
    VLR_taskfree(task, d->conesub);
    VLR_taskfree(task, d->varcone);
    d->conesub = d->varcone = nullptr;
    d->conefree = 0;
  }
  return VLR_RES_OK;
}

int32_t VLRP_appendcone(Task* task, int32_t type, double par, int32_t nummem,
                        const int32_t* submem) {
  TaskData* d = task->data;
  int32_t r = cone_check(task, d->numcone, type, nummem, submem);
  if (r != VLR_RES_OK) return r;
  if (d->numcone == d->maxnumcone) {
    r = VLRP_putmaxnumcone(task, std::max(d->maxnumcone + 1, 2 * d->maxnumcone));
    if (r != VLR_RES_OK) return r;
  }
  if (d->conefree < nummem) cone_compress(d);
  const int32_t k = d->numcone++;
  d->names[VLR_PI_CONE].off[k] = 0;
  cone_setmembers(d, k, type, par, nummem, submem);
  for (int32_t w = 0; w < 3; ++w) {
    int32_t* skn = VLR_solkeyptr(task, w, 2);
    if (skn != nullptr) skn[k] = VLR_SK_UNK;
  }
  VLR_makestatusunknown(task);
  return VLR_RES_OK;
}

int32_t VLRP_checkvartype(Task* task, int32_t j, int32_t type) {
  const int32_t r = VLR_checkindexdbg(VLR_HERE, task, j, task->data->numvar, "j");
  if (r != VLR_RES_OK) return r;
  if (type != VLR_VAR_TYPE_CONT && type != VLR_VAR_TYPE_INT) {
    char buf[32];
    return VLR_RAISE(task, VLR_RES_ERR_INV_VAR_TYPE, type, VLR_getnamex(task, VLR_PI_VAR, j, buf),
                     j, "vartype");
  }
  return VLR_RES_OK;
}

int32_t VLRP_putvartype(Task* task, int32_t j, int32_t type) {
  TaskData* d = task->data;
  const int32_t r = VLRP_checkvartype(task, j, type);
  if (r != VLR_RES_OK) return r;
  if (d->vartype == nullptr) {
    if (type == VLR_VAR_TYPE_CONT) return VLR_RES_OK;  // continuous needs no array
    d->vartype = static_cast<int32_t*>(VLR_taskalloc(task, d->maxnumvar, sizeof(int32_t)));
    if (d->vartype == nullptr) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  if (d->vartype[j] != type) d->numintvar += type == VLR_VAR_TYPE_INT ? 1 : -1;
  d->vartype[j] = type;
  return VLR_RES_OK;
}

int32_t VLRP_putvarbranchorder(Task* task, int32_t j, int32_t pri, int32_t dir) {
  TaskData* d = task->data;
  int32_t r = VLR_checkindexdbg(VLR_HERE, task, j, d->numvar, "j");
  if (r != VLR_RES_OK) return r;
  if (pri < 0) return VLR_RAISE(task, VLR_RES_ERR_INVALID_BRANCH_PRIORITY, pri);
  if (dir < VLR_BRANCH_DIR_FREE || dir > VLR_BRANCH_DIR_DOWN) {
    return VLR_RAISE(task, VLR_RES_ERR_INVALID_BRANCH_DIRECTION, dir);
  }
  if (d->branchpri == nullptr) {
    d->branchpri = static_cast<int32_t*>(VLR_taskalloc(task, d->maxnumvar, sizeof(int32_t)));
    d->branchdir = static_cast<int32_t*>(VLR_taskalloc(task, d->maxnumvar, sizeof(int32_t)));
    if (d->branchpri == nullptr || d->branchdir == nullptr) {
      VLR_taskfree(task, d->branchpri);
      VLR_taskfree(task, d->branchdir);
      d->branchpri = d->branchdir = nullptr;
      return VLR_RAISE(task, VLR_RES_ERR_SPACE);
    }
  }
  d->branchpri[j] = pri;
  d->branchdir[j] = dir;
  return VLR_RES_OK;
}

}  // namespace vlr

int32_t VLR_putmaxnumcone(VLRtask_t task, int32_t maxnumcone) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putmaxnumcone(t, maxnumcone);
  });
}

int32_t VLR_appendcone(VLRtask_t task, int32_t conetype, double conepar, int32_t nummem,
                       const int32_t* submem) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_appendcone(t, conetype, conepar, nummem, submem);
  });
}

int32_t VLR_putcone(VLRtask_t task, int32_t k, int32_t conetype, double conepar, int32_t nummem,
                    const int32_t* submem) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    int32_t r = vlr::VLR_checkindexdbg(VLR_HERE, t, k, d->numcone, "k");
    if (r == VLR_RES_OK) r = vlr::cone_check(t, k, conetype, nummem, submem);
    if (r != VLR_RES_OK) return r;
    for (int32_t p = d->coneb[k]; p < d->conee[k]; ++p)
      d->varcone[d->conesub[p]] = 0;
    // The old slot is reused when the new list fits; otherwise the members go to the pool's end.
    if (nummem <= d->conee[k] - d->coneb[k]) {
      std::memcpy(d->conesub + d->coneb[k], submem, sizeof(int32_t) * size_t(nummem));
      d->conee[k] = d->coneb[k] + nummem;
      d->conetype[k] = conetype;
      d->conepar[k] = conepar;
      for (int32_t p = 0; p < nummem; ++p)
        d->varcone[submem[p]] = k + 1;
    } else {
      d->conee[k] = d->coneb[k];
      if (d->conefree < nummem) vlr::cone_compress(d);
      vlr::cone_setmembers(d, k, conetype, conepar, nummem, submem);
    }
    vlr::VLR_makestatusunknown(t);
    return VLR_RES_OK;
  });
}

int32_t VLR_removecone(VLRtask_t task, int32_t k) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    const int32_t r = vlr::VLR_checkindexdbg(VLR_HERE, t, k, d->numcone, "k");
    if (r != VLR_RES_OK) return r;
    for (int32_t p = d->coneb[k]; p < d->conee[k]; ++p)
      d->varcone[d->conesub[p]] = 0;
    vlr::VLR_deletenamemap(t, VLR_PI_CONE);
    for (int32_t q = k; q + 1 < d->numcone; ++q) {
      d->coneb[q] = d->coneb[q + 1];
      d->conee[q] = d->conee[q + 1];
      d->conetype[q] = d->conetype[q + 1];
      d->conepar[q] = d->conepar[q + 1];
      vlr::VLR_swapname(t, VLR_PI_CONE, q, q + 1);
      for (int32_t p = d->coneb[q]; p < d->conee[q]; ++p)
        d->varcone[d->conesub[p]] = q + 1;
      for (int32_t w = 0; w < 3; ++w) {
        int32_t* skn = vlr::VLR_solkeyptr(t, w, 2);
        if (skn != nullptr) skn[q] = skn[q + 1];
      }
    }
    --d->numcone;
    vlr::VLR_makestatusunknown(t);
    return VLR_RES_OK;
  });
}

int32_t VLR_getconeinfo(VLRtask_t task, int32_t k, int32_t* conetype, double* conepar,
                        int32_t* nummem) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    const int32_t r = vlr::VLR_checkindexdbg(VLR_HERE, t, k, d->numcone, "k");
    if (r != VLR_RES_OK) return r;
    if (conetype != nullptr) *conetype = d->conetype[k];
    if (conepar != nullptr) *conepar = d->conepar[k];
    if (nummem != nullptr) *nummem = d->conee[k] - d->coneb[k];
    return VLR_RES_OK;
  });
}

int32_t VLR_getcone(VLRtask_t task, int32_t k, int32_t* conetype, double* conepar, int32_t* nummem,
                    int32_t* submem) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_getconeinfo(task, k, conetype, conepar, nummem);
    if (r != VLR_RES_OK) return r;
    const vlr::TaskData* d = vlr::VLR_taskcast(task)->data;
    const int32_t n = d->conee[k] - d->coneb[k];
    if (submem != nullptr && n > 0) {
      std::memcpy(submem, d->conesub + d->coneb[k], sizeof(int32_t) * size_t(n));
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_getnumconemem(VLRtask_t task, int32_t k, int32_t* nummem) {
  return VLR_getconeinfo(task, k, nullptr, nullptr, nummem);
}

int32_t VLR_putvartype(VLRtask_t task, int32_t j, int32_t vartype) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putvartype(t, j, vartype);
  });
}

int32_t VLR_putvartypelist(VLRtask_t task, int32_t num, const int32_t* subj,
                           const int32_t* vartype) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    if (num < 0) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_SMALL, num, "num");
    if (num > 0 && (subj == nullptr || vartype == nullptr)) {
      return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, subj == nullptr ? "subj" : "vartype");
    }
    // Every entry is checked before any is stored.
    for (int32_t k = 0; k < num; ++k) {
      const int32_t r = vlr::VLRP_checkvartype(t, subj[k], vartype[k]);
      if (r != VLR_RES_OK) return r;
    }
    // The list is read from its last element backwards.
    for (int32_t k = num - 1; k >= 0; --k) {
      const int32_t r = vlr::VLRP_putvartype(t, subj[k], vartype[k]);
      if (r != VLR_RES_OK) return r;
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_getvartype(VLRtask_t task, int32_t j, int32_t* vartype) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    const int32_t r = vlr::VLR_checkindexdbg(VLR_HERE, t, j, d->numvar, "j");
    if (r != VLR_RES_OK) return r;
    if (vartype == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "vartype");
    *vartype = d->vartype != nullptr ? d->vartype[j] : VLR_VAR_TYPE_CONT;
    return VLR_RES_OK;
  });
}

int32_t VLR_getvartypelist(VLRtask_t task, int32_t num, const int32_t* subj, int32_t* vartype) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    if (num > 0 && (subj == nullptr || vartype == nullptr)) {
      return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, subj == nullptr ? "subj" : "vartype");
    }
    const int32_t r = vlr::VLR_checkindiciesdbg(VLR_HERE, t, subj, num, d->numvar, "subj");
    if (r != VLR_RES_OK) return r;
    for (int32_t k = 0; k < num; ++k)
      vartype[k] = d->vartype != nullptr ? d->vartype[subj[k]] : VLR_VAR_TYPE_CONT;
    return VLR_RES_OK;
  });
}

int32_t VLR_putvarbranchorder(VLRtask_t task, int32_t j, int32_t priority, int32_t direction) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putvarbranchorder(t, j, priority, direction);
  });
}

int32_t VLR_getvarbranchorder(VLRtask_t task, int32_t j, int32_t* priority, int32_t* direction) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    const int32_t r = vlr::VLR_checkindexdbg(VLR_HERE, t, j, d->numvar, "j");
    if (r != VLR_RES_OK) return r;
    if (priority != nullptr) *priority = d->branchpri != nullptr ? d->branchpri[j] : 0;
    if (direction != nullptr) *direction = d->branchdir != nullptr ? d->branchdir[j] : 0;
    return VLR_RES_OK;
  });
}

int32_t VLR_getvarbranchpri(VLRtask_t task, int32_t j, int32_t* priority) {
  return VLR_getvarbranchorder(task, j, priority, nullptr);
}

int32_t VLR_getvarbranchdir(VLRtask_t task, int32_t j, int32_t* direction) {
  return VLR_getvarbranchorder(task, j, nullptr, direction);
}

int32_t VLR_putnlfunc(VLRtask_t task, void* nlhandle, VLRnlgetspfunc nlgetsp,
                      VLRnlgetvafunc nlgetva) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    d->nlhandle = nlhandle;
    d->nlgetsp = nlgetsp;
    d->nlgetva = nlgetva;
    vlr::VLR_makestatusunknown(t);
    return VLR_RES_OK;
  });
}

int32_t VLR_getnlfunc(VLRtask_t task, void** nlhandle, VLRnlgetspfunc* nlgetsp,
                      VLRnlgetvafunc* nlgetva) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    if (nlhandle != nullptr) *nlhandle = d->nlhandle;
    if (nlgetsp != nullptr) *nlgetsp = d->nlgetsp;
    if (nlgetva != nullptr) *nlgetva = d->nlgetva;
    return VLR_RES_OK;
  });
}
