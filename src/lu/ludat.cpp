// src/lu/ludat.cpp: the LU record: making, sizes, parameters, read-outs and statistics.
// SPDX-License-Identifier: Apache-2.0
#include "lu/ludat.h"

#include <algorithm>
#include <cmath>

namespace vlr {

namespace {

constexpr const char* kTaskNames[kLuNumTasks] = {"Factor input",
                                                 "Setup init/input",
                                                 "Setup transpose",
                                                 "Setup init. arr.",
                                                 "Setup col trian.",
                                                 "Setup row trian.",
                                                 "Setup col trian. end",
                                                 "Setup U",
                                                 "Setup L",
                                                 "Factor move row",
                                                 "Factor move col",
                                                 "Factor build col",
                                                 "Factor pivot",
                                                 "Factor search",
                                                 "Factor finalize",
                                                 "Update init",
                                                 "Update factors",
                                                 "Update move row",
                                                 "Update move col",
                                                 "Dense L fw",
                                                 "Sparse l fw",
                                                 "Dense l bw",
                                                 "Sparse l bw",
                                                 "Dense U fw",
                                                 "Dense U bw",
                                                 "Sparse U fw",
                                                 "Sparse U bw",
                                                 "Transpose",
                                                 "",
                                                 "Building columns",
                                                 "Factor setup",
                                                 "Finalize L",
                                                 "Factor",
                                                 "Update",
                                                 "Sparse L updates fw",
                                                 "Sparse L updates bw",
                                                 "Sparse sym u fw",
                                                 "Sparse num u fw"};

template <class T>
T* lu_alloc(SysEnv* sys, int64_t n, bool* ok) {
  if (n <= 0) n = 1;
  auto* p = static_cast<T*>(VLR_sysenv_callocdbg(sys, VLR_HERE, n, sizeof(T)));
  if (p == nullptr) *ok = false;
  return p;
}

template <class T>
void lu_free(SysEnv* sys, T*& p) {
  if (p != nullptr) VLR_sysenv_freedbg(sys, VLR_HERE, p);
  p = nullptr;
}

void lu_freearea(LuFactor* lu) {
  lu_free(lu->sys, lu->valr);
  lu_free(lu->sys, lu->subj);
  lu_free(lu->sys, lu->posc);
  lu_free(lu->sys, lu->valc);
  lu_free(lu->sys, lu->subi);
  lu_free(lu->sys, lu->posr);
}

int32_t lu_allocarea(LuFactor* lu, int32_t size) {
  bool ok = true;
  lu->valr = lu_alloc<double>(lu->sys, size, &ok);
  lu->subj = lu_alloc<int32_t>(lu->sys, size, &ok);
  lu->posc = lu_alloc<int32_t>(lu->sys, size, &ok);
  lu->valc = lu_alloc<double>(lu->sys, size, &ok);
  lu->subi = lu_alloc<int32_t>(lu->sys, size, &ok);
  lu->posr = lu_alloc<int32_t>(lu->sys, size, &ok);
  if (!ok) {
    lu_freearea(lu);
    lu->wsze = 0;
    return kLuNoSpace;
  }
  lu->wsze = size;
  return kLuOk;
}

}  // namespace

int32_t VLR_lu_make(SysEnv* sys, int32_t nrow, int32_t ncol, LuFactor** out) {
  *out = nullptr;
  if (nrow < 0 || ncol < nrow) return kLuIndexRange;
  auto* lu = static_cast<LuFactor*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(LuFactor)));
  if (lu == nullptr) return kLuNoSpace;
  lu->sys = sys;
  lu->mrow = nrow;
  lu->mcol = ncol;
  lu->nrow = nrow;
  lu->ncol = ncol;
  lu->mlu = 2 * nrow;
  bool ok = true;
  lu->ufirr = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->uszer = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->uuser = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->ufirc = lu_alloc<int32_t>(sys, ncol, &ok);
  lu->uszec = lu_alloc<int32_t>(sys, ncol, &ok);
  lu->uusec = lu_alloc<int32_t>(sys, ncol, &ok);
  lu->q = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->invq = lu_alloc<int32_t>(sys, ncol, &ok);
  lu->seq = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->iseq = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->uord = lu_alloc<int32_t>(sys, 2 * static_cast<int64_t>(nrow), &ok);
  lu->uordat = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->diag = lu_alloc<double>(sys, nrow, &ok);
  lu->pseq = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->ipseq = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->lfir = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->llen = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->ltfir = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->ltlen = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->lseq = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->ltseq = lu_alloc<int32_t>(sys, nrow, &ok);
  lu->etab = lu_alloc<int32_t>(sys, static_cast<int64_t>(lu->mlu) + 1, &ok);
  lu->etarow = lu_alloc<int32_t>(sys, lu->mlu, &ok);
  lu->rowq = VLR_pq_make2(sys);
  lu->colq = VLR_pq_make2(sys);
  if (!ok || lu->rowq == nullptr || lu->colq == nullptr) {
    VLR_lu_delete(&lu);
    return kLuNoSpace;
  }
  lu->gclimit = 4;
  VLR_lu_putdefaults(lu);
  *out = lu;
  return kLuOk;
}

void VLR_lu_delete(LuFactor** plu) {
  if (plu == nullptr || *plu == nullptr) return;
  LuFactor* lu = *plu;
  SysEnv* sys = lu->sys;
  lu_freearea(lu);
  for (int32_t** p : {&lu->ufirr, &lu->uszer, &lu->uuser, &lu->ufirc, &lu->uszec, &lu->uusec,
                      &lu->q,     &lu->invq,  &lu->seq,   &lu->iseq,  &lu->uord,  &lu->uordat,
                      &lu->pseq,  &lu->ipseq, &lu->lfir,  &lu->llen,  &lu->ltfir, &lu->ltlen,
                      &lu->lseq,  &lu->ltseq, &lu->etab,  &lu->etarow}) {
    lu_free(sys, *p);
  }
  lu_free(sys, lu->diag);
  VLR_pq_delete(&lu->rowq);
  VLR_pq_delete(&lu->colq);
  VLR_sysenv_freedbg(sys, VLR_HERE, lu);
  *plu = nullptr;
}

void VLR_lu_putdefaults(LuFactor* lu) {
  lu->pivmethod = 1;
  lu->droptol = 1e-13;
  lu->abstol = 1e-8;
  lu->reltol = 0.01;
  lu->tol3 = 1e-6;
  lu->searchlim = 5;
  lu->trh = 0;
  lu->printlevel = 0;
  lu->maxwork = 0;
  lu->dropl0 = 0;
  lu->dropu0 = 0;
  lu->dotiming = 0;
}

int32_t VLR_lu_putnrow(LuFactor* lu, int32_t nrow) {
  if (nrow < 0 || nrow > lu->mrow) return kLuIndexRange;
  lu->nrow = nrow;
  lu->mlu = 2 * nrow;
  lu->state = 0;
  return kLuOk;
}

int32_t VLR_lu_putncol(LuFactor* lu, int32_t ncol) {
  if (ncol < 0 || ncol > lu->mcol) return kLuIndexRange;
  lu->ncol = ncol;
  lu->state = 0;
  return kLuOk;
}

int32_t VLR_lu_getnrow(const LuFactor* lu) {
  return lu->nrow;
}
int32_t VLR_lu_getncol(const LuFactor* lu) {
  return lu->ncol;
}

void VLR_lu_getfactorspace(int32_t nrow, int32_t ncol, int32_t* isize, int32_t* rsize) {
  *isize = 5 * nrow + 6 * ncol + 2;
  *rsize = nrow + 2 * ncol;
}

void VLR_lu_getsolvespace(int32_t nrow, int32_t* isize, int32_t* rsize) {
  *isize = 3 * nrow + 1;
  *rsize = 2 * nrow + 1;
}

int32_t VLR_lu_newwszedbg(const char*, int, LuFactor* lu, int32_t newsize) {
  lu->state = 0;
  if (newsize < 1) newsize = 1;
  if (newsize == lu->wsze && lu->valr != nullptr) return kLuOk;
  lu_freearea(lu);
  lu->wsze = 0;
  lu->wszesave = newsize;
  return lu_allocarea(lu, newsize);
}

int32_t VLR_lu_newasze(LuFactor* lu, int32_t nz, double factor) {
  const double want = factor * std::max(2.0 * nz, 100.0);
  if (lu->wsze >= want && lu->valr != nullptr) return kLuOk;
  if (want > 2147483000.0) return kLuNoSpace;
  return VLR_lu_newwszedbg(VLR_HERE, lu, static_cast<int32_t>(std::ceil(want)));
}

int32_t VLR_lu_getwsze(const LuFactor* lu) {
  return lu->wsze;
}

void VLR_lu_getwszeproposal(const LuFactor* lu, int32_t* size) {
  int64_t s =
      std::max<int64_t>(5 * static_cast<int64_t>(lu->nrow), 2 * static_cast<int64_t>(lu->wsze)) + 1;
  if (lu->droplforced) s += lu->droppedl;
  if (lu->dropuforced) s += lu->droppedu + lu->droppedu / 4;
  *size = static_cast<int32_t>(std::min<int64_t>(s, 2147483000));
}

int32_t VLR_lu_incwsze(const LuFactor* lu) {
  return lu->incwsze;
}

void VLR_lu_freework(LuFactor* lu) {
  lu->wszesave = lu->wsze;
  lu_freearea(lu);
  lu->wsze = 0;
  lu->state = 0;
}

int32_t VLR_lu_allocwork(LuFactor* lu) {
  lu_freearea(lu);
  lu->state = 0;
  return lu_allocarea(lu, std::max(lu->wszesave, 1));
}

void VLR_lu_putpivotmethod(LuFactor* lu, int32_t method) {
  if (method != 1 && method != 2) {
    VLR_sysenv_stopdbg(lu->sys, VLR_HERE, "Unknown pivot method %d", method);
  }
  lu->pivmethod = method;
}

int32_t VLR_lu_getpivotmethod(const LuFactor* lu) {
  return lu->pivmethod;
}

void VLR_lu_puttol(LuFactor* lu, int32_t key, double value) {
  switch (key) {
    case 0:
      lu->droptol = value;
      break;
    case 1:
      lu->abstol = value;
      break;
    case 2:
      lu->reltol = std::clamp(value, 0.0001, 0.9999);
      break;
    case 3:
      lu->tol3 = value;
      break;
    default:
      VLR_sysenv_stopdbg(lu->sys, VLR_HERE, "Unknown tolerance %d", key);
  }
}

double VLR_lu_gettol(const LuFactor* lu, int32_t key) {
  switch (key) {
    case 1:
      return lu->abstol;
    case 2:
      return lu->reltol;
    case 3:
      return lu->tol3;
    default:
      VLR_sysenv_stopdbg(lu->sys, VLR_HERE, "Unknown tolerance %d", key);
  }
}

void VLR_lu_puttrh(LuFactor* lu, int32_t key, int32_t value) {
  if (key != 1) VLR_sysenv_stopdbg(lu->sys, VLR_HERE, "Unknown treshold");
  lu->trh = std::max(value, 0);
}

int32_t VLR_lu_gettrh(const LuFactor* lu, int32_t key) {
  if (key != 1) VLR_sysenv_stopdbg(lu->sys, VLR_HERE, "Unknown treshold");
  return lu->trh;
}

void VLR_lu_putprintlevel(LuFactor* lu, int32_t level) {
  lu->printlevel = level;
}
void VLR_lu_putmaxworkoftasks(LuFactor* lu, int64_t maxwork) {
  lu->maxwork = maxwork;
}
void VLR_lu_putdropl(LuFactor* lu, int32_t on) {
  lu->dropl0 = on != 0;
}
void VLR_lu_putdropu(LuFactor* lu, int32_t on) {
  lu->dropu0 = on != 0;
}
void VLR_lu_putdotiming(LuFactor* lu, int32_t on) {
  lu->dotiming = on != 0;
}

void VLR_lu_putprogressfunc(LuFactor* lu, void* handle, LuProgressFunc fn) {
  lu->proghandle = handle;
  lu->progfn = fn;
}

void VLR_lu_putgeta(LuFactor* lu, void* handle, LuGetaFunc fn) {
  lu->getahandle = handle;
  lu->getafn = fn;
}

int32_t VLR_lu_getrank(const LuFactor* lu) {
  return lu->stpf + lu->stpb;
}
int32_t VLR_lu_isfac(const LuFactor* lu) {
  return lu->state == 3 ? 1 : 0;
}
int32_t VLR_lu_getstate(const LuFactor* lu) {
  return lu->state;
}
void VLR_lu_invfac(LuFactor* lu) {
  lu->state = 0;
}
int32_t VLR_lu_getnumupds(const LuFactor* lu) {
  return lu->lupds;
}
void VLR_lu_getnnz(const LuFactor* lu, int64_t* nl, int64_t* nu) {
  int64_t u = 0;
  for (int32_t i = 0; i < lu->nrow; ++i)
    u += lu->uuser[i];
  *nl = lu->ltsze + (lu->lend - lu->lbeg);
  *nu = u;
}
int32_t VLR_lu_factornow(const LuFactor* lu) {
  return lu->factornow;
}

void VLR_lu_getlusze(const LuFactor* lu, int64_t* lsze, int64_t* usze) {
  *lsze = 0;
  *usze = 0;
  if (lu->state != 3) return;
  *lsze = lu->wsze - lu->lbeg;
  for (int32_t i = 0; i < lu->nrow; ++i)
    *usze += lu->uuser[i];
}

int32_t VLR_lu_getnnzui(const LuFactor* lu, int32_t i, int32_t* nz) {
  if (lu->state != 3) return kLuNoFactor;
  if (i < 0 || i >= lu->nrow) return kLuIndexRange;
  *nz = lu->uuser[i];
  return kLuOk;
}

int32_t VLR_lu_getuii(const LuFactor* lu, int32_t i, int32_t* j, double* d) {
  if (lu->state != 3) return kLuNoFactor;
  if (i < 0 || i >= lu->nrow) return kLuIndexRange;
  *j = lu->q[i];
  *d = lu->diag[i];
  return kLuOk;
}

int32_t VLR_lu_getpivotinfo(const LuFactor* lu, int32_t* method, double* u, double* abstol) {
  if (lu->state != 3) return kLuNoFactor;
  *method = lu->facmethod;
  *u = lu->facreltol;
  *abstol = lu->facabstol;
  return kLuOk;
}

void VLR_lu_getinfo(const LuFactor* lu, LuInfo* info) {
  *info = lu->info;
}

int32_t VLR_lu_getcond(const LuFactor* lu, double* mind, double* maxd, double* maxl, double* maxu) {
  *mind = 0.0;
  *maxd = 0.0;
  *maxl = 0.0;
  *maxu = 0.0;
  if (lu->state != 2 && lu->state != 3) return kLuNoFactor;
  bool first = true;
  for (int32_t i = 0; i < lu->nrow; ++i) {
    if (lu->q[i] >= lu->ncol) continue;
    const double d = std::fabs(lu->diag[i]);
    *mind = first ? d : std::min(*mind, d);
    *maxd = std::max(*maxd, d);
    first = false;
    for (int32_t k = lu->ufirr[i]; k < lu->ufirr[i] + lu->uuser[i]; ++k) {
      *maxu = std::max(*maxu, std::fabs(lu->valr[k]));
    }
  }
  if (lu->state == 3) {
    for (int32_t k = lu->lend; k < lu->wsze; ++k)
      *maxl = std::max(*maxl, std::fabs(lu->valc[k]));
  } else if (!lu->dropl) {
    for (int32_t k = lu->lbeg; k < lu->wsze; ++k)
      *maxl = std::max(*maxl, std::fabs(lu->valr[k]));
  }
  return kLuOk;
}

int32_t VLR_lu_getcond2(const LuFactor* lu, double* mind, double* maxd, double* maxl,
                        double* maxu) {
  const int32_t r = VLR_lu_getcond(lu, mind, maxd, maxl, maxu);
  if (r != kLuOk) return r;
  return VLR_lu_getrank(lu) < lu->nrow ? kLuNotComplete : kLuOk;
}

int64_t VLR_lu_gettaskwork(const LuFactor* lu, int32_t t, int64_t* total) {
  if (t < 0 || t >= kLuNumTasks) return 0;
  if (total != nullptr) *total = lu->wtot[t];
  return lu->wcur[t];
}

void VLR_lu_resettaskinfo(LuFactor* lu) {
  std::fill(lu->wcur, lu->wcur + kLuNumTasks, 0);
  std::fill(lu->tcur, lu->tcur + kLuNumTasks, 0.0);
}

void VLR_lu_printstat(const LuFactor* lu) {
  VLR_sysenv_printf(lu->sys, "LU work statistics\n");
  for (int32_t t = 0; t < kLuNumTasks; ++t) {
    VLR_sysenv_printf(lu->sys, "%-20s  %-8d  %-12.4e  %-12.4f\n", kTaskNames[t],
                      static_cast<int32_t>(std::min<int64_t>(lu->ncall[t], 2147483647)),
                      static_cast<double>(lu->wtot[t]), lu->ttot[t]);
  }
}

void VLR_lu_movetotail(LuFactor* lu, int32_t i) {
  const int32_t nil = lu->nrow;
  if (lu->tail == i) return;
  int32_t* next = lu->seq;
  int32_t* prev = lu->iseq;
  if (prev[i] != nil) {
    next[prev[i]] = next[i];
  } else {
    lu->head = next[i];
  }
  prev[next[i]] = prev[i];
  prev[i] = lu->tail;
  next[i] = nil;
  next[lu->tail] = i;
  lu->tail = i;
  // In the array: a hole where it was, and the row at the end; close the holes when full.
  lu->uord[lu->uordat[i]] = nil;
  if (lu->uordlen == 2 * lu->mrow) {
    int32_t at = 0;
    for (int32_t p = 0; p < lu->uordlen; ++p) {
      const int32_t r = lu->uord[p];
      if (r == nil) continue;
      lu->uord[at] = r;
      lu->uordat[r] = at++;
    }
    lu->uordlen = at;
  }
  lu->uord[lu->uordlen] = i;
  lu->uordat[i] = lu->uordlen++;
}

void VLR_lu_chkuidbg(const char* file, int line, const LuFactor* lu) {
  SysEnv* sys = lu->sys;
  if (lu->uendr > lu->lbeg)
    VLR_sysenv_stopdbg(sys, file, line, "uendr>lbeg %d %d", lu->uendr, lu->lbeg);
  if (lu->uendc > lu->lbeg) {
    VLR_sysenv_stopdbg(sys, file, line, "lu->uendc>lu->lbeg(%d>%d)", lu->uendc, lu->lbeg);
  }
  if (lu->lupds > lu->mlu) VLR_sysenv_stopdbg(sys, file, line, "lu->lupds>lu->mlu");
  for (int32_t i = 0; i < lu->nrow; ++i) {
    const int32_t j = lu->q[i];
    if (j < lu->ncol && lu->invq[j] != i) {
      VLR_sysenv_stopdbg(sys, file, line, "invq error. i: %d q: %d invq[q]: %d", i, j, lu->invq[j]);
    }
    if (lu->uuser[i] > lu->uszer[i]) VLR_sysenv_stopdbg(sys, file, line, "row %d overflows", i);
    for (int32_t k = lu->ufirr[i]; k < lu->ufirr[i] + lu->uuser[i]; ++k) {
      const int32_t kc = lu->posc[k];
      if (kc >= 0 && (lu->posr[kc] != k || lu->subi[kc] != i)) {
        VLR_sysenv_stopdbg(sys, file, line, "row %d entry %d: column link broken", i, k);
      }
    }
  }
  for (int32_t j = 0; j < lu->ncol; ++j) {
    if (lu->uusec[j] > lu->uszec[j]) VLR_sysenv_stopdbg(sys, file, line, "column %d overflows", j);
    for (int32_t k = lu->ufirc[j]; k < lu->ufirc[j] + lu->uusec[j]; ++k) {
      const int32_t kr = lu->posr[k];
      if (lu->posc[kr] != k || lu->subj[kr] != j) {
        VLR_sysenv_stopdbg(sys, file, line, "column %d entry %d: row link broken", j, k);
      }
    }
  }
}

void VLR_lu_printu(const LuFactor* lu) {
  for (int32_t i = 0; i < lu->nrow; ++i) {
    VLR_sysenv_printf(lu->sys, "row %d (q %d, diag %e):", i, lu->q[i], lu->diag[i]);
    for (int32_t k = lu->ufirr[i]; k < lu->ufirr[i] + lu->uuser[i]; ++k) {
      VLR_sysenv_printf(lu->sys, " %e[%d]", lu->valr[k], lu->subj[k]);
    }
    VLR_sysenv_printf(lu->sys, "\n");
  }
}

void VLR_lu_printl(const LuFactor* lu) {
  if (lu->state != 3) return;
  for (int32_t i = 0; i < lu->nrow; ++i) {
    VLR_sysenv_printf(lu->sys, "L column %d:", i);
    for (int32_t k = lu->lfir[i]; k < lu->lfir[i] + lu->llen[i]; ++k) {
      VLR_sysenv_printf(lu->sys, " %e[%d]", lu->valc[k], lu->subi[k]);
    }
    VLR_sysenv_printf(lu->sys, "\n");
  }
}

}  // namespace vlr
