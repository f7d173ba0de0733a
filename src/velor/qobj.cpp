// src/velor/qobj.cpp: quadratic terms of the objective and the constraints, lower triangles in
// one shared pool with a range per owner.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstring>

#include "velor/probdata.h"

namespace vlr {

namespace {

int64_t q_top(const TaskData* d) {
  return d->maxnumqnz - d->qfree;
}

// Scratch of one merge: per-row counts, the elements sorted by row, a mark per column.
struct QWork {
  int64_t* start;  // [numvar + 1]
  int32_t *si, *sj;
  double* sv;
  int64_t* mark;  // [numvar] position + 1 of (row, j) in the output; 0: none
};

void q_freework(Task* task, QWork* w) {
  VLR_taskfree(task, w->start);
  VLR_taskfree(task, w->si);
  VLR_taskfree(task, w->sj);
  VLR_taskfree(task, w->sv);
  VLR_taskfree(task, w->mark);
  *w = QWork{};
}

bool q_allocwork(Task* task, int64_t nz, QWork* w) {
  const int32_t n = task->data->numvar;
  *w = QWork{};
  w->start = static_cast<int64_t*>(VLR_taskalloc(task, int64_t{n} + 1, sizeof(int64_t)));
  w->si = static_cast<int32_t*>(VLR_taskalloc(task, nz, sizeof(int32_t)));
  w->sj = static_cast<int32_t*>(VLR_taskalloc(task, nz, sizeof(int32_t)));
  w->sv = static_cast<double*>(VLR_taskalloc(task, nz, sizeof(double)));
  w->mark = static_cast<int64_t*>(VLR_taskalloc(task, n, sizeof(int64_t)));
  const bool ok = w->start != nullptr && (nz == 0 || (w->si && w->sj && w->sv)) &&
                  (n == 0 || w->mark != nullptr);
  if (!ok) q_freework(task, w);
  return ok;
}

// Writes checked elements (lower triangle) as the range [*b, *e): tiny values are dropped and
// repeated (i, j) summed. The pool grows when the range does not fit; on failure nothing changed.
int32_t q_write(Task* task, int64_t* b, int64_t* e, int64_t nz, const int32_t* subi,
                const int32_t* subj, const double* val) {
  TaskData* d = task->data;
  const double tol = VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_QIJ);
  int64_t cnt = 0;
  for (int64_t k = 0; k < nz; ++k)
    cnt += std::fabs(val[k]) > tol;
  QWork w;
  if (!q_allocwork(task, cnt, &w)) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  if (cnt > *e - *b && cnt > d->qfree) {
    const int32_t r = VLR_chgqnz(task, 1, cnt);
    if (r != VLR_RES_OK) {
      q_freework(task, &w);
      return r;
    }
  }
  VLR_makestatusunknown(task);
  // Sort by row with a counting pass.
  for (int64_t k = 0; k < nz; ++k) {
    if (std::fabs(val[k]) > tol) ++w.start[subi[k] + 1];
  }
  for (int32_t i = 0; i < d->numvar; ++i)
    w.start[i + 1] += w.start[i];
  for (int64_t k = 0; k < nz; ++k) {
    if (std::fabs(val[k]) <= tol) continue;
    const int64_t p = w.start[subi[k]]++;
    w.si[p] = subi[k];
    w.sj[p] = subj[k];
    w.sv[p] = val[k];
  }
  if (cnt > *e - *b) {  // the old range is abandoned; the new one starts at the top
    *b = q_top(d);
    *e = *b;
  }
  int64_t pos = *b, k = 0;
  while (k < cnt) {
    const int64_t rowstart = pos;
    const int32_t i = w.si[k];
    for (; k < cnt && w.si[k] == i; ++k) {
      const int32_t j = w.sj[k];
      if (w.mark[j] != 0) {
        d->qval[w.mark[j] - 1] += w.sv[k];
        continue;
      }
      d->qsubi[pos] = i;
      d->qsubj[pos] = j;
      d->qval[pos] = w.sv[k];
      w.mark[j] = ++pos;
    }
    for (int64_t p = rowstart; p < pos; ++p)
      w.mark[d->qsubj[p]] = 0;
  }
  // A range rewritten in place leaves its tail as a hole; one at the top moves the top.
  if (pos > q_top(d)) d->qfree = d->maxnumqnz - pos;
  *e = pos;
  q_freework(task, &w);
  return VLR_RES_OK;
}

// Element checks shared by the objective and the constraints.
int32_t q_checkobj(Task* task, int64_t nz, const int32_t* subi, const int32_t* subj,
                   const double* val) {
  const int32_t n = task->data->numvar;
  if (nz < 0)
    return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_SMALL, static_cast<int>(nz), "numqonz");
  if (nz > 0 && (subi == nullptr || subj == nullptr || val == nullptr)) {
    return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, "qosubi, qosubj or qoval");
  }
  for (int64_t k = 0; k < nz; ++k) {
    const auto pos = static_cast<int32_t>(k);
    if (subi[k] < 0)
      return VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_SMALL, subi[k], "qosubi", pos, 0);
    if (subi[k] >= n)
      return VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE, subi[k], "qosubi", pos, n);
    if (subj[k] < 0)
      return VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_SMALL, subj[k], "qosubj", pos, 0);
    if (subj[k] >= n)
      return VLR_RAISE(task, VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE, subj[k], "qosubj", pos, n);
    if (subj[k] > subi[k])
      return VLR_RAISE(task, VLR_RES_ERR_QOBJ_UPPER_TRIANGLE, subi[k], subj[k]);
    if (std::isnan(val[k])) return VLR_RAISE(task, VLR_RES_ERR_INV_QOBJ_VAL, val[k], pos);
  }
  return VLR_RES_OK;
}

int32_t q_checkcon(Task* task, int64_t nz, const int32_t* subk, const int32_t* subi,
                   const int32_t* subj, const double* val) {
  const int32_t n = task->data->numvar, m = task->data->numcon;
  if (nz < 0)
    return VLR_RAISE(task, VLR_RES_ERR_INDEX_IS_TOO_SMALL, static_cast<int>(nz), "numqcnz");
  if (nz > 0 && (subi == nullptr || subj == nullptr || val == nullptr)) {
    return VLR_RAISE(task, VLR_RES_ERR_NULL_POINTER, "qcsubi, qcsubj or qcval");
  }
  for (int64_t k = 0; k < nz; ++k) {
    const auto pos = static_cast<int32_t>(k);
    if (subk != nullptr && (subk[k] < 0 || subk[k] >= m)) {
      return VLR_RAISE(task, VLR_RES_ERR_INV_QCON_SUBK, subk[k], pos);
    }
    if (subi[k] < 0) return VLR_RAISE(task, VLR_RES_ERR_QCON_SUBI_TOO_SMALL, subi[k], pos, 0);
    if (subi[k] >= n) return VLR_RAISE(task, VLR_RES_ERR_QCON_SUBI_TOO_LARGE, subi[k], pos, n);
    if (subj[k] < 0 || subj[k] >= n)
      return VLR_RAISE(task, VLR_RES_ERR_INV_QCON_SUBJ, subj[k], pos);
    if (subj[k] > subi[k]) {
      return VLR_RAISE(task, VLR_RES_ERR_QCON_UPPER_TRIANGLE, subi[k], subj[k],
                       subk != nullptr ? subk[k] : 0);
    }
    if (std::isnan(val[k])) return VLR_RAISE(task, VLR_RES_ERR_INV_QCON_VAL, val[k], pos);
  }
  return VLR_RES_OK;
}

// The per-constraint ranges exist from the first constraint term on, for maxnumcon.
int32_t q_makeconranges(Task* task) {
  TaskData* d = task->data;
  if (d->qconb != nullptr || d->maxnumcon == 0) return VLR_RES_OK;
  d->qconb = static_cast<int64_t*>(VLR_taskalloc(task, d->maxnumcon, sizeof(int64_t)));
  d->qcone = static_cast<int64_t*>(VLR_taskalloc(task, d->maxnumcon, sizeof(int64_t)));
  if (d->qconb == nullptr || d->qcone == nullptr) {
    VLR_taskfree(task, d->qconb);
    VLR_taskfree(task, d->qcone);
    d->qconb = d->qcone = nullptr;
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  return VLR_RES_OK;
}

template <class P>
int32_t q_copyout(Task* task, int64_t b, int64_t e, P maxnz, P* nz, int32_t* subi, int32_t* subj,
                  double* val) {
  const TaskData* d = task->data;
  if (nz != nullptr) *nz = static_cast<P>(e - b);
  if (subi == nullptr && subj == nullptr && val == nullptr) return VLR_RES_OK;
  if (e - b > static_cast<int64_t>(maxnz)) return VLR_RAISE(task, VLR_RES_ERR_NEGATIVE_SURPLUS);
  for (int64_t k = b; k < e; ++k) {
    if (subi != nullptr) subi[k - b] = d->qsubi[k];
    if (subj != nullptr) subj[k - b] = d->qsubj[k];
    if (val != nullptr) val[k - b] = d->qval[k];
  }
  return VLR_RES_OK;
}

}  // namespace

int64_t VLR_qused(const TaskData* d) {
  int64_t used = d->qobje - d->qobjb;
  for (int32_t i = 0; d->qconb != nullptr && i < d->numcon; ++i)
    used += d->qcone[i] - d->qconb[i];
  return used;
}

int32_t VLR_chgqnz(Task* task, int32_t relative, int64_t n) {
  TaskData* d = task->data;
  const int64_t used = VLR_qused(d);
  const int64_t cap = relative ? used + n : n;
  if (!relative && n < used) return VLR_RAISE(task, VLR_RES_ERR_MAXNUMQNZ);
  auto* si = static_cast<int32_t*>(VLR_taskalloc(task, cap, sizeof(int32_t)));
  auto* sj = static_cast<int32_t*>(VLR_taskalloc(task, cap, sizeof(int32_t)));
  auto* sv = static_cast<double*>(VLR_taskalloc(task, cap, sizeof(double)));
  if (cap > 0 && (si == nullptr || sj == nullptr || sv == nullptr)) {
    VLR_taskfree(task, si);
    VLR_taskfree(task, sj);
    VLR_taskfree(task, sv);
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  // Compact: the objective first, then constraint by constraint, so the pool has no holes.
  int64_t pos = 0;
  auto move = [&](int64_t* b, int64_t* e) {
    const int64_t len = *e - *b;
    for (int64_t k = 0; k < len; ++k) {
      si[pos + k] = d->qsubi[*b + k];
      sj[pos + k] = d->qsubj[*b + k];
      sv[pos + k] = d->qval[*b + k];
    }
    *b = pos;
    pos += len;
    *e = pos;
  };
  move(&d->qobjb, &d->qobje);
  for (int32_t i = 0; d->qconb != nullptr && i < d->numcon; ++i)
    move(&d->qconb[i], &d->qcone[i]);
  VLR_taskfree(task, d->qsubi);
  VLR_taskfree(task, d->qsubj);
  VLR_taskfree(task, d->qval);
  d->qsubi = si;
  d->qsubj = sj;
  d->qval = sv;
  d->maxnumqnz = cap;
  d->qfree = cap - used;
  return VLR_RES_OK;
}

int32_t VLRP_putqobj(Task* task, int64_t nz, const int32_t* subi, const int32_t* subj,
                     const double* val) {
  const int32_t r = q_checkobj(task, nz, subi, subj, val);
  if (r != VLR_RES_OK) return r;
  return q_write(task, &task->data->qobjb, &task->data->qobje, nz, subi, subj, val);
}

int32_t VLRP_putqconk(Task* task, int32_t k, int64_t nz, const int32_t* subi, const int32_t* subj,
                      const double* val) {
  int32_t r = VLR_checkindexdbg(VLR_HERE, task, k, task->data->numcon, "k");
  if (r == VLR_RES_OK) r = q_checkcon(task, nz, nullptr, subi, subj, val);
  if (r == VLR_RES_OK) r = q_makeconranges(task);
  if (r != VLR_RES_OK) return r;
  return q_write(task, &task->data->qconb[k], &task->data->qcone[k], nz, subi, subj, val);
}

}  // namespace vlr

int32_t VLR_putqobj(VLRtask_t task, int32_t numqonz, const int32_t* qosubi, const int32_t* qosubj,
                    const double* qoval) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putqobj(t, numqonz, qosubi, qosubj, qoval);
  });
}

int32_t VLR_putqconk(VLRtask_t task, int32_t k, int32_t numqcnz, const int32_t* qcsubi,
                     const int32_t* qcsubj, const double* qcval) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    return vlr::VLRP_putqconk(t, k, numqcnz, qcsubi, qcsubj, qcval);
  });
}

int32_t VLR_putqcon(VLRtask_t task, int32_t numqcnz, const int32_t* qcsubk, const int32_t* qcsubi,
                    const int32_t* qcsubj, const double* qcval) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    if (numqcnz > 0 && qcsubk == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "qcsubk");
    int32_t r = vlr::q_checkcon(t, numqcnz, qcsubk, qcsubi, qcsubj, qcval);
    if (r == VLR_RES_OK) r = vlr::q_makeconranges(t);
    if (r == VLR_RES_OK && numqcnz > d->qfree) r = vlr::VLR_chgqnz(t, 1, numqcnz);
    if (r != VLR_RES_OK) return r;
    for (int32_t i = 0; d->qconb != nullptr && i < d->numcon; ++i)
      d->qconb[i] = d->qcone[i] = 0;
    vlr::VLR_makestatusunknown(t);
    // Constraint by constraint, each group gathered in one pass over the input.
    auto* sel = static_cast<int32_t*>(vlr::VLR_taskalloc(t, numqcnz, sizeof(int32_t)));
    auto* gi = static_cast<int32_t*>(vlr::VLR_taskalloc(t, numqcnz, sizeof(int32_t)));
    auto* gj = static_cast<int32_t*>(vlr::VLR_taskalloc(t, numqcnz, sizeof(int32_t)));
    auto* gv = static_cast<double*>(vlr::VLR_taskalloc(t, numqcnz, sizeof(double)));
    if (numqcnz > 0 && (sel == nullptr || gi == nullptr || gj == nullptr || gv == nullptr)) {
      r = VLR_RAISE(t, VLR_RES_ERR_SPACE);
    }
    for (int32_t k = 0; k < numqcnz && r == VLR_RES_OK; ++k)
      sel[k] = k;
    std::stable_sort(sel, sel + (r == VLR_RES_OK ? numqcnz : 0),
                     [&](int32_t a, int32_t b) { return qcsubk[a] < qcsubk[b]; });
    for (int32_t p = 0; p < numqcnz && r == VLR_RES_OK;) {
      const int32_t kc = qcsubk[sel[p]];
      int32_t n = 0;
      for (; p < numqcnz && qcsubk[sel[p]] == kc; ++p, ++n) {
        gi[n] = qcsubi[sel[p]];
        gj[n] = qcsubj[sel[p]];
        gv[n] = qcval[sel[p]];
      }
      r = vlr::q_write(t, &d->qconb[kc], &d->qcone[kc], n, gi, gj, gv);
    }
    for (void* p : {static_cast<void*>(sel), static_cast<void*>(gi), static_cast<void*>(gj),
                    static_cast<void*>(gv)})
      vlr::VLR_taskfree(t, p);
    return r;
  });
}

int32_t VLR_putqobjij(VLRtask_t task, int32_t i, int32_t j, double qoij) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    int32_t r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, d->numvar, "i");
    if (r == VLR_RES_OK) r = vlr::VLR_checkindexdbg(VLR_HERE, t, j, d->numvar, "j");
    if (r != VLR_RES_OK) return r;
    if (std::isnan(qoij)) return VLR_RAISE(t, VLR_RES_ERR_INV_QOBJ_VAL, qoij, 0);
    if (j > i) std::swap(i, j);
    int64_t found = -1;
    for (int64_t k = d->qobjb; k < d->qobje && found < 0; ++k) {
      if (d->qsubi[k] == i && d->qsubj[k] == j) found = k;
    }
    const double tol = vlr::VLRP_getdouparam(t, VLR_DPAR_DATA_TOL_QIJ);
    if (std::fabs(qoij) <= tol) {  // a small value removes the element
      if (found >= 0) {
        vlr::VLR_makestatusunknown(t);
        const int64_t last = --d->qobje;
        d->qsubi[found] = d->qsubi[last];
        d->qsubj[found] = d->qsubj[last];
        d->qval[found] = d->qval[last];
      }
      return VLR_RES_OK;
    }
    if (found >= 0) {
      vlr::VLR_makestatusunknown(t);
      d->qval[found] = qoij;
      return VLR_RES_OK;
    }
    const int64_t len = d->qobje - d->qobjb;
    const bool attop = d->qobje == vlr::q_top(d);
    const int64_t need = attop ? 1 : len + 1;
    if (need > d->qfree) {
      const int64_t used = vlr::VLR_qused(d);
      r = vlr::VLR_chgqnz(t, 1, used + vlr::VLRP_getintparam(t, VLR_IPAR_ALLOC_ADD_QNZ) + 1);
      if (r != VLR_RES_OK) return r;
    }
    vlr::VLR_makestatusunknown(t);
    if (d->qobje != vlr::q_top(d)) {  // move the range to the top, where it can grow
      const int64_t top = vlr::q_top(d);
      for (int64_t k = 0; k < len; ++k) {
        d->qsubi[top + k] = d->qsubi[d->qobjb + k];
        d->qsubj[top + k] = d->qsubj[d->qobjb + k];
        d->qval[top + k] = d->qval[d->qobjb + k];
      }
      d->qobjb = top;
      d->qobje = top + len;
      d->qfree -= len;
    }
    d->qsubi[d->qobje] = i;
    d->qsubj[d->qobje] = j;
    d->qval[d->qobje] = qoij;
    ++d->qobje;
    --d->qfree;
    return VLR_RES_OK;
  });
}

int32_t VLR_getqobjij(VLRtask_t task, int32_t i, int32_t j, double* qoij) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, d->numvar, "i");
    if (r == VLR_RES_OK) r = vlr::VLR_checkindexdbg(VLR_HERE, t, j, d->numvar, "j");
    if (r != VLR_RES_OK) return r;
    if (qoij == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "qoij");
    double s = 0.0;
    for (int64_t k = d->qobjb; k < d->qobje; ++k) {
      if ((d->qsubi[k] == i && d->qsubj[k] == j) || (d->qsubi[k] == j && d->qsubj[k] == i)) {
        s += d->qval[k];
      }
    }
    *qoij = s;
    return VLR_RES_OK;
  });
}

int32_t VLR_getqobj64(VLRtask_t task, int64_t maxnumqonz, int64_t* numqonz, int32_t* qosubi,
                      int32_t* qosubj, double* qoval) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    return vlr::q_copyout(t, d->qobjb, d->qobje, maxnumqonz, numqonz, qosubi, qosubj, qoval);
  });
}

int32_t VLR_getqobj(VLRtask_t task, int32_t maxnumqonz, int32_t* numqonz, int32_t* qosubi,
                    int32_t* qosubj, double* qoval) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    return vlr::q_copyout(t, d->qobjb, d->qobje, maxnumqonz, numqonz, qosubi, qosubj, qoval);
  });
}

int32_t VLR_getqconk64(VLRtask_t task, int32_t k, int64_t maxnumqcnz, int64_t* numqcnz,
                       int32_t* qcsubi, int32_t* qcsubj, double* qcval) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    const int32_t r = vlr::VLR_checkindexdbg(VLR_HERE, t, k, d->numcon, "k");
    if (r != VLR_RES_OK) return r;
    if (d->qconb == nullptr)
      return vlr::q_copyout(t, 0, 0, maxnumqcnz, numqcnz, qcsubi, qcsubj, qcval);
    return vlr::q_copyout(t, d->qconb[k], d->qcone[k], maxnumqcnz, numqcnz, qcsubi, qcsubj, qcval);
  });
}

int32_t VLR_getqconk(VLRtask_t task, int32_t k, int32_t maxnumqcnz, int32_t* numqcnz,
                     int32_t* qcsubi, int32_t* qcsubj, double* qcval) {
  return vlr::api_guard([&]() -> int32_t {
    int64_t n = 0;
    const int32_t r = VLR_getqconk64(task, k, maxnumqcnz, &n, qcsubi, qcsubj, qcval);
    if (numqcnz != nullptr) *numqcnz = static_cast<int32_t>(n);
    return r;
  });
}

int32_t VLR_getnumqobjnz64(VLRtask_t task, int64_t* numqonz) {
  return VLR_getqobj64(task, 0, numqonz, nullptr, nullptr, nullptr);
}

int32_t VLR_getnumqobjnz(VLRtask_t task, int32_t* numqonz) {
  return VLR_getqobj(task, 0, numqonz, nullptr, nullptr, nullptr);
}

int32_t VLR_getnumqconknz64(VLRtask_t task, int32_t k, int64_t* numqcnz) {
  return VLR_getqconk64(task, k, 0, numqcnz, nullptr, nullptr, nullptr);
}

int32_t VLR_getnumqconknz(VLRtask_t task, int32_t k, int32_t* numqcnz) {
  return VLR_getqconk(task, k, 0, numqcnz, nullptr, nullptr, nullptr);
}

int32_t VLR_putmaxnumqnz64(VLRtask_t task, int64_t maxnumqnz) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    if (maxnumqnz < 0) return VLR_RAISE(t, VLR_RES_ERR_MAXNUMQNZ);
    return vlr::VLR_chgqnz(t, 0, maxnumqnz);
  });
}

int32_t VLR_putmaxnumqnz(VLRtask_t task, int32_t maxnumqnz) {
  return VLR_putmaxnumqnz64(task, maxnumqnz);
}

int32_t VLR_getmaxnumqnz64(VLRtask_t task, int64_t* maxnumqnz) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    if (maxnumqnz == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "maxnumqnz");
    *maxnumqnz = d->maxnumqnz;
    return VLR_RES_OK;
  });
}

int32_t VLR_getmaxnumqnz(VLRtask_t task, int32_t* maxnumqnz) {
  return vlr::api_guard([&]() -> int32_t {
    int64_t n = 0;
    const int32_t r = VLR_getmaxnumqnz64(task, &n);
    if (r != VLR_RES_OK) return r;
    return vlr::VLR_int64to32dbg(vlr::VLR_taskcast(task), VLR_HERE, maxnumqnz, n);
  });
}
