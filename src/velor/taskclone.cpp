// src/velor/taskclone.cpp: the deep copy of a task: problem, names, parameters and solutions.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "velor/probdata.h"

namespace vlr {

namespace {

template <class T>
void clone_copy(T* to, const T* from, int32_t n) {
  if (n > 0) std::memcpy(to, from, sizeof(T) * size_t(n));
}

// Linear data as stored, so that the copy warns about nothing the source already accepted.
int32_t clone_linear(Task* s, Task* c) {
  TaskData* sd = s->data;
  TaskData* cd = c->data;
  int32_t r = VLRP_putmaxnumanz(c, VLR_sprmat_getmaxsize(sd->a));
  if (r == VLR_RES_OK) r = VLR_core_append(c, VLR_ACC_VAR, sd->numvar, nullptr);
  if (r == VLR_RES_OK) r = VLR_core_append(c, VLR_ACC_CON, sd->numcon, nullptr);
  if (r != VLR_RES_OK) return r;
  clone_copy(cd->c, sd->c, sd->numvar);
  clone_copy(cd->bkx, sd->bkx, sd->numvar);
  clone_copy(cd->blx, sd->blx, sd->numvar);
  clone_copy(cd->bux, sd->bux, sd->numvar);
  clone_copy(cd->bkc, sd->bkc, sd->numcon);
  clone_copy(cd->blc, sd->blc, sd->numcon);
  clone_copy(cd->buc, sd->buc, sd->numcon);
  clone_copy(cd->conaux, sd->conaux, sd->numcon);
  cd->cfix = sd->cfix;
  cd->objsense = sd->objsense;
  int64_t *ptrb = nullptr, *ptre = nullptr;
  int32_t* sub = nullptr;
  double* val = nullptr;
  r = VLR_sprmat_getacolwise(sd->a, &ptrb, &ptre, &sub, &val);
  if (r != kSprOk) return VLR_SPRRES(s, r);
  for (int32_t j = 0; j < sd->numvar && r == kSprOk; ++j)
    r = VLR_sprmat_putcolj(cd->a, j, ptre[j] - ptrb[j], sub + ptrb[j], val + ptrb[j]);
  VLR_sprmat_puta(sd->a, 0, ptrb, ptre, sub, val);
  return r == kSprOk ? VLR_RES_OK : VLR_SPRRES(c, r);
}

int32_t clone_names(Task* s, Task* c) {
  const TaskData* sd = s->data;
  const int32_t counts[3] = {sd->numvar, sd->numcon, sd->numcone};
  int32_t r = VLR_RES_OK;
  for (int32_t w = VLR_PI_VAR; w <= VLR_PI_CONE && r == VLR_RES_OK; ++w) {
    for (int32_t i = 0; i < counts[w] && r == VLR_RES_OK; ++i) {
      if (sd->names[w].off[i] != 0) r = VLRP_putname(c, w, i, sd->namepool + sd->names[w].off[i]);
    }
  }
  if (r == VLR_RES_OK && sd->objname != nullptr) {
    c->data->objname = VLR_sysenv_strdupdbg(c->sys, VLR_HERE, sd->objname);
    if (c->data->objname == nullptr) r = VLR_RAISE(c, VLR_RES_ERR_SPACE);
  }
  return r;
}

int32_t clone_extras(Task* s, Task* c) {
  const TaskData* sd = s->data;
  int32_t r = VLRP_putqobj(c, sd->qobje - sd->qobjb, sd->qsubi + sd->qobjb, sd->qsubj + sd->qobjb,
                           sd->qval + sd->qobjb);
  for (int32_t i = 0; sd->qconb != nullptr && i < sd->numcon && r == VLR_RES_OK; ++i) {
    if (sd->qcone[i] > sd->qconb[i]) {
      r = VLRP_putqconk(c, i, sd->qcone[i] - sd->qconb[i], sd->qsubi + sd->qconb[i],
                        sd->qsubj + sd->qconb[i], sd->qval + sd->qconb[i]);
    }
  }
  if (r == VLR_RES_OK && sd->maxnumcone > 0) r = VLRP_putmaxnumcone(c, sd->maxnumcone);
  for (int32_t k = 0; k < sd->numcone && r == VLR_RES_OK; ++k) {
    r = VLRP_appendcone(c, sd->conetype[k], sd->conepar[k], sd->conee[k] - sd->coneb[k],
                        sd->conesub + sd->coneb[k]);
  }
  for (int32_t j = 0; sd->vartype != nullptr && j < sd->numvar && r == VLR_RES_OK; ++j)
    r = VLRP_putvartype(c, j, sd->vartype[j]);
  for (int32_t j = 0; sd->branchpri != nullptr && j < sd->numvar && r == VLR_RES_OK; ++j)
    r = VLRP_putvarbranchorder(c, j, sd->branchpri[j], sd->branchdir[j]);
  return r;
}

}  // namespace

// Solutions last: the data puts above have made any solution of the clone unknown.
int32_t VLR_copysolutions(Task* s, Task* c) {
  const TaskData* sd = s->data;
  for (int32_t w = 0; w < 3; ++w) {
    if (!VLR_solutiondefrec(s, w)) {
      if (c->sols != nullptr) c->sols->sol[w].defined = 0;
      continue;
    }
    const int32_t r = VLR_makesolution(c, w);
    if (r != VLR_RES_OK) return r;
    const int32_t nitems = w == VLR_SOL_ITR ? 8 : w == VLR_SOL_BAS ? 7 : 2;
    for (int32_t item = 0; item < nitems; ++item) {
      const bool var = item == VLR_SOL_ITEM_XX || item == VLR_SOL_ITEM_SLX ||
                       item == VLR_SOL_ITEM_SUX || item == VLR_SOL_ITEM_SNX;
      clone_copy(VLR_solitemptr(c, w, item), VLR_solitemptr(s, w, item),
                 var ? sd->numvar : sd->numcon);
    }
    clone_copy(VLR_solkeyptr(c, w, VLR_ACC_CON), VLR_solkeyptr(s, w, VLR_ACC_CON), sd->numcon);
    clone_copy(VLR_solkeyptr(c, w, VLR_ACC_VAR), VLR_solkeyptr(s, w, VLR_ACC_VAR), sd->numvar);
    if (w == VLR_SOL_ITR) clone_copy(VLR_solkeyptr(c, w, 2), VLR_solkeyptr(s, w, 2), sd->numcone);
    const SolRec& from = s->sols->sol[w];
    SolRec& to = c->sols->sol[w];
    to.prosta = from.prosta;
    to.solsta = from.solsta;
    to.defined = from.defined;
  }
  return VLR_RES_OK;
}

}  // namespace vlr

int32_t VLR_clonetask(VLRtask_t task, VLRtask_t* clonedtask) {
  return vlr::api_guard([&]() -> int32_t {
    // A failed clone leaves no stale handle behind; the source's own handle is never cleared.
    if (clonedtask != nullptr && *clonedtask != task) *clonedtask = nullptr;
    VLR_PROLOGUE(task);
    if (clonedtask == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "clonedtask");
    if (*clonedtask == task) return VLR_RAISE(t, VLR_RES_ERR_IDENTICAL_TASKS);
    if (d->nlgetsp != nullptr || d->nlgetva != nullptr) {
      return VLR_RAISE(t, VLR_RES_ERR_CANNOT_CLONE_NL);
    }
    *clonedtask = nullptr;
    VLRtask_t clone = nullptr;
    int32_t r = VLR_maketask(vlr::VLR_envhandle(t->env), d->maxnumcon, d->maxnumvar, &clone);
    if (r != VLR_RES_OK) return VLR_RAISE(t, r);
    vlr::Task* c = vlr::VLR_taskcast(clone);
    if (t->name != nullptr) r = VLR_puttaskname(clone, t->name);
    if (r == VLR_RES_OK) r = VLR_copyparam(clone, task);
    if (r == VLR_RES_OK) r = vlr::clone_linear(t, c);
    if (r == VLR_RES_OK) r = vlr::clone_extras(t, c);
    if (r == VLR_RES_OK) r = vlr::clone_names(t, c);  // after the cones, which have names too
    if (r == VLR_RES_OK && d->maxnumqnz > c->data->maxnumqnz) {
      r = vlr::VLR_chgqnz(c, 0, d->maxnumqnz);
    }
    if (r == VLR_RES_OK) r = vlr::VLR_copysolutions(t, c);
    if (r != VLR_RES_OK) {
      VLR_deletetask(&clone);
      return VLR_RAISE(t, r);
    }
    *clonedtask = clone;
    return VLR_RES_OK;
  });
}
