// src/kfac/symface.cpp: the factor object: life cycle, the pattern, the choice of ordering and
// the small accessors.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "kfac/sfkdat.h"
#include "velor.h"

namespace vlr {

namespace {

template <class T>
void sfk_free(SysEnv* sys, T*& p) {
  if (p != nullptr) VLR_sysenv_free(sys, p);
  p = nullptr;
}

OrderGraph sfk_graph(const sfk* obj) {
  return {obj->n, obj->alen, obj->abeg, obj->asub};
}

}  // namespace

void VLR_sfk_freeL(sfk* obj) {
  SysEnv* sys = obj->sys;
  sfk_free(sys, obj->super);
  sfk_free(sys, obj->snode);
  sfk_free(sys, obj->lpi);
  sfk_free(sys, obj->ls);
  sfk_free(sys, obj->lpx);
  sfk_free(sys, obj->lx);
  sfk_free(sys, obj->amap);
  sfk_free(sys, obj->work);
  sfk_free(sys, obj->relpos);
  obj->diag = obj->sdiag = obj->cbuf = obj->xbuf = nullptr;
  obj->head = obj->next = obj->dnext = nullptr;
  obj->nsuper = 0;
  obj->maxcsize = 0;
  obj->nnzl = 0;
  obj->fflops = 0.0;
}

int32_t VLR_sfk_create(SysEnv* sys, int32_t n, int32_t numthreads, sfk** obj) {
  *obj = nullptr;
  SysBuf<sfk> rec(sys, VLR_HERE, 1);
  SysBuf<int32_t> ints(sys, VLR_HERE, 3 * static_cast<int64_t>(n) + 1);
  SysBuf<uint16_t> dtype(sys, VLR_HERE, n + 1);
  SysBuf<int64_t> abeg(sys, VLR_HERE, n + 1);
  if (!rec || !ints || !dtype || !abeg) return kSfkNoSpace;
  sfk* s = rec.get();
  s->sys = sys;
  s->n = n;
  s->numthreads = numthreads;
  s->perm = ints.release();
  s->invperm = s->perm + n;
  s->alen = s->invperm + n;
  s->dtype = dtype.release();
  s->abeg = abeg.release();
  s->tolpiv = 1e-15;
  s->normrepl = 1.0;
  for (int32_t i = 0; i < n; ++i)
    s->perm[i] = s->invperm[i] = i;
  *obj = rec.release();
  return kSfkOk;
}

void VLR_sfk_destroy(sfk** obj) {
  if (obj == nullptr || *obj == nullptr) return;
  sfk* s = *obj;
  SysEnv* sys = s->sys;
  VLR_sfk_freeL(s);
  sfk_free(sys, s->perm);
  sfk_free(sys, s->dtype);
  sfk_free(sys, s->abeg);
  sfk_free(sys, s->asub);
  VLR_sysenv_free(sys, s);
  *obj = nullptr;
}

int32_t VLR_sfk_inasub(sfk* obj, const int64_t* beg, const int32_t* sub) {
  const int32_t n = obj->n;
  for (int32_t j = 0; j < n; ++j) {
    if (beg[j + 1] < beg[j]) return kSfkBadInput;
    for (int64_t k = beg[j]; k < beg[j + 1]; ++k)
      if (sub[k] < 0 || sub[k] >= n) return kSfkBadInput;
  }
  const int64_t nnz = beg[n] - beg[0];
  SysBuf<int32_t> asub(obj->sys, VLR_HERE, std::max<int64_t>(nnz, 1));
  if (!asub) return kSfkNoSpace;
  std::copy(sub + beg[0], sub + beg[n], asub.get());
  VLR_sfk_freeL(obj);
  sfk_free(obj->sys, obj->asub);
  obj->asub = asub.release();
  for (int32_t j = 0; j <= n; ++j)
    obj->abeg[j] = beg[j] - beg[0];
  for (int32_t j = 0; j < n; ++j)
    obj->alen[j] = static_cast<int32_t>(beg[j + 1] - beg[j]);
  obj->state = 1;
  obj->haveorinfo = 0;
  return kSfkOk;
}

int32_t VLR_sfk_order(sfk* obj, double balance1, double balance2, int32_t method, int32_t flag,
                      void* handle, OrderCallback callback) {
  if (obj->state < 1) return kSfkBadInput;
  const int32_t n = obj->n;
  const double t0 = VLR_sysenv_gettime(obj->sys);
  bool offdiag = false;
  for (int32_t j = 0; j < n && !offdiag; ++j)
    for (int64_t k = obj->abeg[j]; k < obj->abeg[j + 1] && !offdiag; ++k)
      offdiag = obj->asub[k] != j;
  if (!offdiag) method = VLR_ORDER_METHOD_NONE;
  const OrderGraph g = sfk_graph(obj);
  OrderCount count{};
  int32_t r = kOrderOk;
  switch (method) {
    case VLR_ORDER_METHOD_NONE:
      for (int32_t k = 0; k < n; ++k)
        obj->perm[k] = k;
      count = {100, 100.0};
      break;
    case VLR_ORDER_METHOD_APPMINLOC1:
      r = VLR_symord_minlocf(obj->sys, g, 1, obj->perm, &count, handle, callback);
      break;
    case VLR_ORDER_METHOD_APPMINLOC2:
      r = VLR_amf_sorder(obj->sys, g, -1, obj->perm, &count, handle, callback);
      break;
    case VLR_ORDER_METHOD_GRAPHPAR2:
      if (flag == 0) {  // the permutation in place stays, on purpose
        count = obj->orinfo;
        break;
      }
      [[fallthrough]];
    case VLR_ORDER_METHOD_FREE:
      r = VLR_amf_gp_sorder(obj->sys, balance1, balance2, g, 3,
                            obj->haveorinfo ? &obj->orinfo : nullptr, obj->perm, obj->invperm,
                            &count, handle, callback);
      break;
    default:  // VLR_ORDER_METHOD_GRAPHPAR1
      r = VLR_amf_gp_sorder(obj->sys, balance1, balance2, g, 2, nullptr, obj->perm, obj->invperm,
                            &count, handle, callback);
      break;
  }
  if (r != kOrderOk) {
    // The permutation may be half written: fall back on the natural order.
    for (int32_t k = 0; k < n; ++k)
      obj->perm[k] = obj->invperm[k] = k;
    obj->orinfo = OrderCount{};
    obj->haveorinfo = 0;
    return r == kOrderStopped ? kSfkStopped : kSfkNoSpace;
  }
  for (int32_t k = 0; k < n; ++k)
    obj->invperm[obj->perm[k]] = k;
  obj->orinfo = count;
  obj->haveorinfo = 1;
  obj->ordtime = VLR_sysenv_difftime(obj->sys, -1.0, t0);
  VLR_sfk_freeL(obj);
  obj->state = 2;
  return kSfkOk;
}

int32_t VLR_sfk_useperm(sfk* obj, const int32_t* perm) {
  if (obj->state < 1) return kSfkBadInput;
  const int32_t n = obj->n;
  std::fill(obj->invperm, obj->invperm + n, -1);
  for (int32_t k = 0; k < n; ++k) {
    if (perm[k] < 0 || perm[k] >= n || obj->invperm[perm[k]] >= 0) {
      for (int32_t i = 0; i < n; ++i)
        obj->invperm[obj->perm[i]] = i;
      return kSfkBadInput;
    }
    obj->invperm[perm[k]] = k;
  }
  std::copy(perm, perm + n, obj->perm);
  obj->haveorinfo = 0;
  VLR_sfk_freeL(obj);
  obj->state = 2;
  return kSfkOk;
}

void VLR_sfk_setorinfo(sfk* obj, const OrderCount& info) {
  obj->orinfo = info;
  obj->haveorinfo = 1;
}
OrderCount VLR_sfk_getorinfo(const sfk* obj) {
  return obj->orinfo;
}
const int32_t* VLR_sfk_getp(const sfk* obj) {
  return obj->perm;
}
const int32_t* VLR_sfk_getinvp(const sfk* obj) {
  return obj->invperm;
}
void VLR_sfk_putdtype(sfk* obj, int32_t i, uint16_t flags) {
  obj->dtype[i] = flags;
}
void VLR_sfk_adddtype(sfk* obj, int32_t i, uint16_t flags) {
  obj->dtype[i] |= flags;
}
uint16_t VLR_sfk_getdtype(const sfk* obj, int32_t i) {
  return obj->dtype[i];
}
void VLR_sfk_puttolpiv(sfk* obj, double tolpiv) {
  obj->tolpiv = std::max(tolpiv, 2.220446049250313e-17);
}
void VLR_sfk_putnormrepl(sfk* obj, double value) {
  obj->normrepl = value;
}
double VLR_sfk_getadded(const sfk* obj, int32_t i) {
  return (obj->dtype[i] & kSfkReplaced) ? obj->sdiag[obj->invperm[i]] : 0.0;
}
void VLR_sfk_set_add_diag(sfk* obj, double adddiag) {
  obj->adddiag = adddiag;
}
int32_t VLR_sfk_num_RDEF(const sfk* obj) {
  return obj->nrdef;
}
const double* VLR_sfk_getdiag(const sfk* obj) {
  return obj->diag;
}
double VLR_sfk_getspread(const sfk* obj) {
  return obj->spread;
}
int64_t VLR_sfk_getnnzL(const sfk* obj) {
  return obj->nnzl;
}
double VLR_sfk_getfflops(const sfk* obj) {
  return obj->fflops;
}
double VLR_sfk_getsflops(const sfk* obj) {
  return 4.0 * static_cast<double>(VLR_sfk_getnnzL(obj));
}
int32_t VLR_sfk_getnsuper(const sfk* obj) {
  return obj->nsuper;
}
int32_t VLR_sfk_getndense(const sfk* obj) {
  return obj->nsuper > 0 ? obj->super[obj->nsuper] - obj->super[obj->nsuper - 1] : 0;
}

}  // namespace vlr
