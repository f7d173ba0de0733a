// src/kfac/kktfack1.cpp: the normal equations A D A' of the interior-point optimisers: dense
// columns set apart, the pattern and its ordering, the values through a fixed map, the factor
// with lost pivots taken back, and solves refined against the matrix itself.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "kfac/kktdat.h"
#include "kfac/sfkdat.h"
#include "velor.h"

namespace vlr {

namespace {

template <class T>
void kkt_free(SysEnv* sys, T*& p) {
  if (p != nullptr) VLR_sysenv_free(sys, p);
  p = nullptr;
}

// Frees the set-up (everything made by autosetup).
void kkt_freesetup(kktfac* obj) {
  SysEnv* sys = obj->sys;
  VLR_sfk_destroy(&obj->fac);
  VLR_sc_destroy(obj);
  kkt_free(sys, obj->csub);
  kkt_free(sys, obj->cidx);
  kkt_free(sys, obj->cval);
  kkt_free(sys, obj->rbeg);
  kkt_free(sys, obj->rcol);
  kkt_free(sys, obj->rpos);
  kkt_free(sys, obj->dcol);
  kkt_free(sys, obj->mbeg);
  kkt_free(sys, obj->msub);
  kkt_free(sys, obj->mval);
  obj->ndense = 0;
  obj->state = 0;
}

// Columns to keep apart: long against the average column over the rows that are not dense
// themselves, at least the threshold long; when there are many, only the longest.
int32_t kkt_finddense(kktfac* obj, int32_t* dcol, int32_t* rowcnt) {
  const int32_t m = obj->numrow, n = obj->numcol, thr = obj->densecol;
  if (thr == 0 || m == 0) return 0;
  std::fill(rowcnt, rowcnt + m, 0);
  const int64_t nnz = obj->abeg[n] - obj->abeg[0];
  for (int64_t p = obj->abeg[0]; p < obj->abeg[n]; ++p)
    ++rowcnt[obj->asub[p]];
  // A row is kept when its count is at most max(100, 10 nnz / m) or at most a tenth of the rows;
  // the others count as empty, so that a dense row does not make every column look long.
  const double rowlim = std::max(100.0, 10.0 * static_cast<double>(nnz) / m);
  int64_t kept = 0;
  for (int32_t i = 0; i < m; ++i) {
    const bool keep = rowcnt[i] <= rowlim || rowcnt[i] <= 0.1 * m;
    rowcnt[i] = keep ? 1 : 0;
  }
  for (int64_t p = obj->abeg[0]; p < obj->abeg[n]; ++p)
    kept += rowcnt[obj->asub[p]];
  const double avg = static_cast<double>(kept) / (n + 1.0);
  int32_t k = 0;
  double sumlen = 0.0;
  for (int32_t j = 0; j < n; ++j) {
    int32_t c = 0;
    for (int64_t p = obj->abeg[j]; p < obj->abeg[j + 1]; ++p)
      c += rowcnt[obj->asub[p]];
    if (c >= thr && c > 3.0 * avg && c > 10.0 * avg) {
      dcol[k++] = j;
      sumlen += c;
    }
  }
  if (k > 50) {
    // Many candidates: only the ones far beyond the average stay.
    const double factor = k <= 100 ? 20.0 : k <= 1000 ? 50.0 : 100.0;
    int32_t kk = 0;
    for (int32_t t = 0; t < k; ++t) {
      const int32_t j = dcol[t];
      int32_t c = 0;
      for (int64_t p = obj->abeg[j]; p < obj->abeg[j + 1]; ++p)
        c += rowcnt[obj->asub[p]];
      if (c >= factor * avg) dcol[kk++] = j;
    }
    k = kk;
  }
  (void)sumlen;
  // Z holds m doubles per dense column: at most 2^24 doubles in all, and 1000 columns.
  const int32_t kcap = static_cast<int32_t>(std::min<int64_t>(1000, (int64_t{1} << 24) / m));
  if (k > kcap) {
    std::sort(dcol, dcol + k, [&](int32_t a, int32_t b) {
      const int64_t la = obj->abeg[a + 1] - obj->abeg[a], lb = obj->abeg[b + 1] - obj->abeg[b];
      return la != lb ? la > lb : a < b;
    });
    k = kcap;
    std::sort(dcol, dcol + k);
  }
  return k;
}

// The ordered copy of A's columns, the row-wise view of the sparse ones, and the pattern of the
// lower triangle of A_s A_s' with the diagonal first in each column. mark is [m] work.
int32_t kkt_pattern(kktfac* obj, int32_t* mark) {
  SysEnv* sys = obj->sys;
  const int32_t m = obj->numrow, n = obj->numcol;
  const int64_t nnz = obj->abeg[n] - obj->abeg[0];
  SysBuf<int32_t> csub(sys, VLR_HERE, std::max<int64_t>(nnz, 1));
  SysBuf<int64_t> cidx(sys, VLR_HERE, std::max<int64_t>(nnz, 1));
  SysBuf<int64_t> rbeg(sys, VLR_HERE, int64_t{m} + 1);
  if (!csub || !cidx || !rbeg) return kKktNoSpace;
  SysBuf<double> cval(sys, VLR_HERE, std::max<int64_t>(nnz, 1));
  if (!cval) return kKktNoSpace;
  for (int32_t j = 0; j < n; ++j) {
    const int64_t b = obj->abeg[j], e = obj->abeg[j + 1];
    for (int64_t p = b; p < e; ++p)
      cidx[p - obj->abeg[0]] = p;
    std::sort(cidx.get() + (b - obj->abeg[0]), cidx.get() + (e - obj->abeg[0]),
              [&](int64_t x, int64_t y) { return obj->asub[x] < obj->asub[y]; });
    for (int64_t p = b; p < e; ++p) {
      csub[p - obj->abeg[0]] = obj->asub[cidx[p - obj->abeg[0]]];
      cval[p - obj->abeg[0]] = obj->aval[cidx[p - obj->abeg[0]]];
    }
  }
  int64_t nsp = 0;
  for (int32_t j = 0; j < n; ++j) {
    if (obj->dmark[j]) continue;
    for (int64_t p = obj->abeg[j]; p < obj->abeg[j + 1]; ++p)
      ++rbeg[csub[p - obj->abeg[0]] + 1];
    nsp += obj->abeg[j + 1] - obj->abeg[j];
  }
  for (int32_t i = 0; i < m; ++i)
    rbeg[i + 1] += rbeg[i];
  SysBuf<int32_t> rcol(sys, VLR_HERE, std::max<int64_t>(nsp, 1));
  SysBuf<int64_t> rpos(sys, VLR_HERE, std::max<int64_t>(nsp, 1));
  SysBuf<int64_t> fill(sys, VLR_HERE, int64_t{m} + 1);
  if (!rcol || !rpos || !fill) return kKktNoSpace;
  std::copy(rbeg.get(), rbeg.get() + m, fill.get());
  for (int32_t j = 0; j < n; ++j) {
    if (obj->dmark[j]) continue;
    for (int64_t p = obj->abeg[j] - obj->abeg[0]; p < obj->abeg[j + 1] - obj->abeg[0]; ++p) {
      const int64_t at = fill[csub[p]]++;
      rcol[at] = j;
      rpos[at] = p;
    }
  }
  // Count, then fill, the lower pattern column by column through the row-wise view.
  SysBuf<int64_t> mbeg(sys, VLR_HERE, int64_t{m} + 1);
  if (!mbeg) return kKktNoSpace;
  std::fill(mark, mark + m, -1);
  for (int pass = 0; pass < 2; ++pass) {
    int32_t* msub = pass == 0 ? nullptr : obj->msub;
    int64_t cnt = 0;
    for (int32_t i = 0; i < m; ++i) {
      if (pass == 0) mbeg[i] = cnt;
      if (msub != nullptr) msub[cnt] = i;
      ++cnt;
      mark[i] = 2 * i + pass;
      for (int64_t q = rbeg[i]; q < rbeg[i + 1]; ++q) {
        const int32_t j = rcol[q];
        const int64_t end = obj->abeg[j + 1] - obj->abeg[0];
        for (int64_t p = rpos[q]; p < end; ++p) {
          const int32_t r = csub[p];
          if (mark[r] == 2 * i + pass) continue;
          mark[r] = 2 * i + pass;
          if (msub != nullptr) msub[cnt] = r;
          ++cnt;
        }
      }
    }
    if (pass == 0) {
      mbeg[m] = cnt;
      if (cnt > (int64_t{1} << 40)) return kKktTooLarge;
      obj->msub = static_cast<int32_t*>(VLR_sysenv_calloc(sys, std::max<int64_t>(cnt, 1), 4));
      obj->mval = static_cast<double*>(VLR_sysenv_calloc(sys, std::max<int64_t>(cnt, 1), 8));
      if (obj->msub == nullptr || obj->mval == nullptr) return kKktNoSpace;
      std::fill(mark, mark + m, -1);
    }
  }
  obj->csub = csub.release();
  obj->cidx = cidx.release();
  obj->cval = cval.release();
  obj->rbeg = rbeg.release();
  obj->rcol = rcol.release();
  obj->rpos = rpos.release();
  obj->mbeg = mbeg.release();
  return kKktOk;
}

// Orders and analyses the pattern in place; reports the factor's size.
int32_t kkt_symbolic(kktfac* obj) {
  const int32_t m = obj->numrow;
  VLR_sfk_destroy(&obj->fac);
  int32_t r = VLR_sfk_create(obj->sys, m, 1, &obj->fac);
  if (r != kSfkOk) return kKktNoSpace;
  r = VLR_sfk_inasub(obj->fac, obj->mbeg, obj->msub);
  if (r != kSfkOk) return r == kSfkNoSpace ? kKktNoSpace : kKktBadInput;
  for (int32_t i = 0; i < m; ++i)
    VLR_sfk_putdtype(obj->fac, i, kSfkPositive | kSfkNormalRow | kSfkNormalRepl);
  VLR_sfk_puttolpiv(obj->fac, obj->tolpiv);
  r = VLR_sfk_order(obj->fac, 0.25, 0.25, obj->ordtpe, 1, obj->cbhandle, obj->callback);
  if (r != kSfkOk) return r == kSfkStopped ? kKktStopped : kKktNoSpace;
  obj->ordtime += obj->fac->ordtime;
  const OrderCount oc = VLR_sfk_getorinfo(obj->fac);
  // The factor's values and the kernels' work must fit: beyond 2^31 entries of L it is too
  // large for this machine's purposes.
  if (oc.lsize > (int64_t{1} << 31)) return kKktTooLarge;
  r = VLR_sfk_setupL(obj->fac);
  if (r != kSfkOk) return kKktNoSpace;
  return kKktOk;
}

void kkt_freepattern(kktfac* obj) {
  SysEnv* sys = obj->sys;
  kkt_free(sys, obj->csub);
  kkt_free(sys, obj->cidx);
  kkt_free(sys, obj->cval);
  kkt_free(sys, obj->rbeg);
  kkt_free(sys, obj->rcol);
  kkt_free(sys, obj->rpos);
  kkt_free(sys, obj->mbeg);
  kkt_free(sys, obj->msub);
  kkt_free(sys, obj->mval);
}

// res := rhs0 - (A D A' + regu I) x, over all columns; returns its infinity norm.
// res -= a_j d_j a_j' x for column j.
void kkt_subcolumn(const kktfac* obj, int32_t j, const double* x, double* res) {
  double t = 0.0;
  for (int64_t p = obj->abeg[j]; p < obj->abeg[j + 1]; ++p)
    t += obj->aval[p] * x[obj->asub[p]];
  t *= obj->d[j];
  if (t == 0.0) return;
  for (int64_t p = obj->abeg[j]; p < obj->abeg[j + 1]; ++p)
    res[obj->asub[p]] -= obj->aval[p] * t;
}

double kkt_residual(kktfac* obj, const double* x) {
  const int32_t m = obj->numrow, n = obj->numcol;
  double* res = obj->res;
  if (obj->resbym) {
    // mval = S (A_s D A_s' + regu I) S with S = diag(scale): y = S^-1 x, z = mval y, and the
    // product is S^-1 z; then the dense columns apart. y lives in work, zero again afterwards.
    const double* sc = obj->scale;
    double* y = obj->work;
    for (int32_t i = 0; i < m; ++i) {
      y[i] = x[i] / sc[i];
      res[i] = 0.0;
    }
    for (int32_t i = 0; i < m; ++i) {
      const int64_t e0 = obj->mbeg[i];  // the diagonal comes first
      const double yi = y[i];
      double acc = obj->mval[e0] * yi;
      for (int64_t e = e0 + 1; e < obj->mbeg[i + 1]; ++e) {
        const int32_t r = obj->msub[e];
        res[r] += obj->mval[e] * yi;
        acc += obj->mval[e] * y[r];
      }
      res[i] += acc;
    }
    for (int32_t i = 0; i < m; ++i) {
      res[i] = obj->rhs0[i] - res[i] / sc[i];
      y[i] = 0.0;
    }
    for (int32_t t = 0; t < obj->ndense; ++t)
      kkt_subcolumn(obj, obj->dcol[t], x, res);
  } else {
    for (int32_t i = 0; i < m; ++i)
      res[i] = obj->rhs0[i] - obj->regu * x[i];
    for (int32_t j = 0; j < n; ++j)
      kkt_subcolumn(obj, j, x, res);
  }
  double r = 0.0;
  for (int32_t i = 0; i < m; ++i)
    r = std::max(r, std::fabs(res[i]));
  return r;
}

// x := (F + U W U')^-1 x with the factor and the Schur part, in the task's numbering.
void kkt_apply(kktfac* obj, double* x) {
  const int32_t m = obj->numrow;
  for (int32_t i = 0; i < m; ++i)
    x[i] *= obj->scale[i];
  VLR_sfk_solve(obj->fac, x);
  VLR_sc_solve(obj, x);
  for (int32_t i = 0; i < m; ++i)
    x[i] *= obj->scale[i];
}

}  // namespace

int32_t VLR_kktfac_make(SysEnv* sys, int32_t numrow, int32_t numcol, int32_t factype,
                        kktfac** obj) {
  *obj = nullptr;
  if (numrow < 0 || numcol < 0 || factype != 1) return kKktBadInput;
  SysBuf<kktfac> rec(sys, VLR_HERE, 1);
  SysBuf<double> dbl(sys, VLR_HERE, 6 * int64_t{numrow} + numcol + 1);
  SysBuf<int32_t> dmark(sys, VLR_HERE, int64_t{numcol} + 1);
  if (!rec || !dbl || !dmark) return kKktNoSpace;
  kktfac* k = rec.get();
  k->sys = sys;
  k->numrow = numrow;
  k->numcol = numcol;
  k->factype = factype;
  k->ordtpe = VLR_ORDER_METHOD_FREE;
  k->densecol = 40;
  k->tolpiv = 1e-13;
  k->tolrefine = 1e-10;
  k->scale = dbl.release();
  k->d = k->scale + numrow;
  k->work = k->d + numcol;
  k->res = k->work + numrow;
  k->cor = k->res + numrow;
  k->rhs0 = k->cor + numrow;
  k->dmark = dmark.release();
  *obj = rec.release();
  return kKktOk;
}

void VLR_kktfac_delete(kktfac** obj) {
  if (obj == nullptr || *obj == nullptr) return;
  kktfac* k = *obj;
  kkt_freesetup(k);
  SysEnv* sys = k->sys;
  kkt_free(sys, k->scale);
  kkt_free(sys, k->dmark);
  VLR_sysenv_free(sys, k);
  *obj = nullptr;
}

void VLR_kktfac_ordtpe(kktfac* obj, int32_t method) {
  obj->ordtpe = method;
}
void VLR_kktfac_densecol(kktfac* obj, int32_t threshold) {
  obj->densecol = threshold < 0 ? 40 : threshold;
}
void VLR_kktfac_tolpiv(kktfac* obj, double tolpiv) {
  obj->tolpiv = tolpiv;
}
void VLR_kktfac_tolrefine(kktfac* obj, double tolref) {
  obj->tolrefine = tolref;
}
void VLR_kktfac_putcallback(kktfac* obj, void* handle, OrderCallback callback) {
  obj->cbhandle = handle;
  obj->callback = callback;
}

int32_t VLR_kktfac_autosetup(kktfac* obj, const int64_t* abeg, const int32_t* asub,
                             const double* aval) {
  const int32_t m = obj->numrow, n = obj->numcol;
  for (int32_t j = 0; j < n; ++j) {
    if (abeg[j + 1] < abeg[j]) return kKktBadInput;
    for (int64_t p = abeg[j]; p < abeg[j + 1]; ++p)
      if (asub[p] < 0 || asub[p] >= m) return kKktBadInput;
  }
  kkt_freesetup(obj);
  obj->ordtime = 0.0;
  obj->abeg = abeg;
  obj->asub = asub;
  obj->aval = aval;
  SysBuf<int32_t> iw(obj->sys, VLR_HERE, int64_t{m} + n + 1);
  if (!iw) return kKktNoSpace;
  int32_t* dcol = iw.get() + m;
  const int32_t k = kkt_finddense(obj, dcol, iw.get());
  std::fill(obj->dmark, obj->dmark + n, 0);
  for (int32_t t = 0; t < k; ++t)
    obj->dmark[dcol[t]] = 1;
  int32_t r = kkt_pattern(obj, iw.get());
  if (r == kKktOk) r = kkt_symbolic(obj);
  if (r == kKktOk && k > 0) {
    // Keeping them apart costs k solves per factor and a dense k x k part; it does not pay when
    // the factor with them in is not much larger. Count that one when its pattern is cheap.
    const int64_t lsep = VLR_sfk_getnnzL(obj->fac);
    double extra = 0.0;
    for (int32_t t = 0; t < k; ++t) {
      const double c = static_cast<double>(abeg[dcol[t] + 1] - abeg[dcol[t]]);
      extra += c * c / 2.0;
    }
    const double usep =
        static_cast<double>(lsep) + static_cast<double>(k) * m + static_cast<double>(k) * k / 2.0;
    if (extra < 4.0 * static_cast<double>(lsep) + 1e6) {
      kkt_freepattern(obj);
      std::fill(obj->dmark, obj->dmark + n, 0);
      r = kkt_pattern(obj, iw.get());
      if (r == kKktOk) r = kkt_symbolic(obj);
      const int64_t lin = r == kKktOk ? VLR_sfk_getnnzL(obj->fac) : 0;
      if (r == kKktOk && static_cast<double>(lin) > 1.5 * usep) {
        kkt_freepattern(obj);
        for (int32_t t = 0; t < k; ++t)
          obj->dmark[dcol[t]] = 1;
        r = kkt_pattern(obj, iw.get());
        if (r == kKktOk) r = kkt_symbolic(obj);
      } else if (r == kKktOk) {
        obj->ndense = 0;
      }
    }
  }
  int32_t nd = 0;
  for (int32_t j = 0; j < n; ++j)
    nd += obj->dmark[j];
  if (r == kKktOk && nd > 0) {
    obj->dcol = static_cast<int32_t*>(VLR_sysenv_calloc(obj->sys, nd, sizeof(int32_t)));
    if (obj->dcol == nullptr) r = kKktNoSpace;
  }
  if (r == kKktOk) {
    obj->ndense = 0;
    for (int32_t j = 0; j < n; ++j)
      if (obj->dmark[j]) obj->dcol[obj->ndense++] = j;
    // Room for the dense columns and for rows that only they cover: at least 50, as many as fit
    // in 2^22 doubles of Z, and never more than the rows.
    const int32_t lost = std::min(m, std::max(50, (1 << 22) / std::max(m, 1)));
    r = VLR_sc_create(obj, nd > 0 ? nd + lost : 0);
  }
  if (r != kKktOk) {
    kkt_freesetup(obj);
    return r;
  }
  VLR_sfk_putnormrepl(obj->fac, obj->ndense > 0 ? 1.0 : 1e128);
  // A refinement's residual goes the cheaper road: the kept lower triangle of the sparse
  // columns' part and the dense columns apart when those hold fewer entries than A.
  int64_t nnzd = 0;
  for (int32_t t = 0; t < obj->ndense; ++t)
    nnzd += abeg[obj->dcol[t] + 1] - abeg[obj->dcol[t]];
  obj->resbym = obj->mbeg[m] + nnzd < abeg[n] - abeg[0];
  obj->info = KktInfo{};
  obj->info.nnzL = VLR_sfk_getnnzL(obj->fac);
  obj->info.fflops = VLR_sfk_getfflops(obj->fac);
  obj->info.sflops = VLR_sfk_getsflops(obj->fac);
  obj->info.ndense = obj->ndense;
  obj->info.ordtime = obj->ordtime;
  obj->state = 1;
  return kKktOk;
}

int32_t VLR_kktfac_numfac(kktfac* obj, const double* d, double regu) {
  if (obj->state < 1) return kKktBadInput;
  const int32_t m = obj->numrow, n = obj->numcol;
  const int64_t a0 = obj->abeg[0];
  std::copy(d, d + n, obj->d);
  obj->regu = regu;
  // The values in the ordered copy (they may have changed since the last factor).
  const int64_t nnz = obj->abeg[n] - a0;
  for (int64_t p = 0; p < nnz; ++p)
    obj->cval[p] = obj->aval[obj->cidx[p]];
  // The diagonal of the whole matrix gives the symmetric scaling, so that the pivot test is
  // relative to each row's own size.
  double* sc = obj->scale;
  std::fill(sc, sc + m, regu);
  for (int32_t j = 0; j < n; ++j)
    for (int64_t p = obj->abeg[j]; p < obj->abeg[j + 1]; ++p)
      sc[obj->asub[p]] += obj->aval[p] * obj->aval[p] * d[j];
  for (int32_t i = 0; i < m; ++i)
    sc[i] = sc[i] > 0.0 ? 1.0 / std::sqrt(sc[i]) : 1.0;
  // Column i of the lower triangle: each sparse column j with an entry in row i adds
  // a(i,j) d(j) a(r,j) to rows r >= i, scattered in work and gathered through the pattern.
  double* w = obj->work;
  for (int32_t i = 0; i < m; ++i) {
    for (int64_t q = obj->rbeg[i]; q < obj->rbeg[i + 1]; ++q) {
      const int32_t j = obj->rcol[q];
      const int64_t p0 = obj->rpos[q];
      const double f = obj->cval[p0] * d[j];
      const int64_t end = obj->abeg[j + 1] - a0;
      const int32_t* csub = obj->csub;
      const double* cval = obj->cval;
      for (int64_t p = p0; p < end; ++p)
        w[csub[p]] += f * cval[p];
    }
    w[i] += regu;
    const double si = sc[i];
    for (int64_t e = obj->mbeg[i]; e < obj->mbeg[i + 1]; ++e) {
      const int32_t r = obj->msub[e];
      obj->mval[e] = w[r] * si * sc[r];
      w[r] = 0.0;
    }
  }
  VLR_sfk_inaval(obj->fac, obj->mval);
  // The caller's callback may stop the factor part way (a race that another optimiser won):
  // the factor is then unusable until the next numfac.
  if (VLR_ch_calfac(obj->fac, obj->cbhandle, obj->callback) == kSfkStopped) {
    obj->state = 1;
    return kKktStopped;
  }
  VLR_sc_calschur(obj);
  obj->info.nrdef = VLR_sfk_num_RDEF(obj->fac);
  obj->state = 2;
  return kKktOk;
}

int32_t VLR_kktfac_solve(kktfac* obj, double* rhs) {
  if (obj->state < 2) return kKktBadInput;
  const int32_t m = obj->numrow;
  std::copy(rhs, rhs + m, obj->rhs0);
  double rn = 0.0;
  for (int32_t i = 0; i < m; ++i)
    rn = std::max(rn, std::fabs(rhs[i]));
  kkt_apply(obj, rhs);
  obj->info.nrefine = 0;
  if (rn == 0.0) return kKktOk;
  // Refine while the residual falls by a useful factor; a step that does not help is undone.
  // With a Schur part or lost pivots the first solve can be far off, so more steps are allowed.
  const int32_t maxstep = obj->sc.k > 0 || obj->info.nrdef > 0 ? 10 : 3;
  double res = kkt_residual(obj, rhs);
  for (int32_t step = 0; step < maxstep && res > obj->tolrefine * rn; ++step) {
    std::copy(obj->res, obj->res + m, obj->cor);
    kkt_apply(obj, obj->cor);
    for (int32_t i = 0; i < m; ++i)
      rhs[i] += obj->cor[i];
    const double nres = kkt_residual(obj, rhs);
    ++obj->info.nrefine;
    if (!(nres < res)) {
      for (int32_t i = 0; i < m; ++i)
        rhs[i] -= obj->cor[i];
      break;
    }
    const bool slow = nres > 0.5 * res;
    res = nres;
    if (slow) break;
  }
  return kKktOk;
}

void VLR_kktfac_getinfo(const kktfac* obj, KktInfo* info) {
  *info = obj->info;
}

}  // namespace vlr
