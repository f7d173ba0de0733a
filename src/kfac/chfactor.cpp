// src/kfac/chfactor.cpp: the numerical factor: values in, left-looking supernodal LDL' with the
// pivot rules of a quasi-definite matrix, and the solves.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "kfac/sfkdat.h"
#include "lalib/lalib.h"

namespace vlr {

namespace {

constexpr double kEps = 2.220446049250313e-16;
// Multiply-adds of the panels and updates between two asks of the stop callback (about a
// millisecond).
constexpr int64_t kStopWork = int64_t{1} << 21;

// The pivot step of column col (elimination order) with the updated value v: accepts it, or
// replaces it by a value of the sign the row's flags ask for and flags the row.
double sch_fincolk(sfk* obj, int32_t col, double v) {
  uint16_t& dt = obj->dtype[obj->perm[col]];
  const double s = obj->sdiag[col], x = v - s, t = obj->tolpiveff, p = obj->spread;
  const double av = std::fabs(v), a = std::max(std::fabs(s), av);
  const double lo = std::min(std::max(t, a * kEps), 0.0001);
  const double tsp = t * std::sqrt(std::fabs(p));
  const bool pos = (dt & kSfkPositive) != 0, neg = (dt & kSfkNegative) != 0;
  if (dt & kSfkNormalRepl) {
    // A row of normal equations: positive definite in exact arithmetic, so a pivot lost to
    // cancellation against its own diagonal (or an empty row) means a dependent row. It is
    // replaced by the caller's value, and sdiag keeps the amount added, which the caller may
    // take back through a low-rank correction.
    if (v > t * s && v > 0.0) {
      dt &= static_cast<uint16_t>(~(kSfkReview | kSfkReplaced));
      return v;
    }
    ++obj->nrdef;
    const double r = obj->normrepl;
    obj->sdiag[col] = r - v;
    dt |= kSfkReplaced;
    return r;
  }
  bool bad = av < lo;
  if (!bad && pos) {
    bad = (av < 1e-6 && av < std::max(x, 1.0) * std::min(lo, 2.220446049250313e-14)) ||
          v < -std::max(100.0, tsp) || (v < 0.0 && -v < tsp);
  } else if (!bad && neg) {
    bad = x == 0.0 && v > -tsp;
  }
  if (!bad) {
    dt &= static_cast<uint16_t>(~(kSfkReview | kSfkReplaced));
    return v;
  }
  ++obj->nrdef;
  const bool signfails = (pos && v < -tsp) || (neg && v > tsp);
  if (av < 1e10 && signfails) {
    // Keep the sign the block asks for.
    v = neg ? -std::max(std::fabs(x), 1.0) - av : av + std::max(1e-10 * x, 1e-8);
    dt = static_cast<uint16_t>((dt & ~(kSfkReview | kSfkReplaced)) | kSfkReplaced);
    return v;
  }
  if (pos) {
    if (v < -100.0) {
      v *= 10.0;
    } else {
      const double floor = std::max(1e-10 * x, lo > 1e-8 ? 1e-8 : lo);
      v = av + std::max(std::min(std::fabs(10.0 * v), 1.0), floor);
    }
  } else if (neg) {
    if (v <= -1.0) {
      v = av >= t ? -1.0 : -1e-10;
    } else {
      v = -av + std::min(-1.0, 1e-10 * x);
    }
  } else {
    v = av < t ? std::max(x, 1.0) * 1e-10 : 1.0;
  }
  dt |= kSfkReplaced;
  return v;
}

// The panel kernel's view of the pivot step: its column k is col0 + k of the factor.
struct PivotCtx {
  sfk* obj;
  int32_t col0;
};
double sfk_pivot(void* handle, int32_t k, double v) {
  auto* c = static_cast<PivotCtx*>(handle);
  return sch_fincolk(c->obj, c->col0 + k, v);
}

// Adds the update of descendant d to supernode s: rows p1.. of d against the rows p1..p2 that
// fall in s, formed in cbuf by the kernel and scattered through relpos.
void upd_cssn(sfk* obj, int32_t d, int32_t p1, int32_t p2, double* ls, int32_t f, int32_t ms) {
  const int32_t* rd = obj->ls + obj->lpi[d];
  const int32_t md = static_cast<int32_t>(obj->lpi[d + 1] - obj->lpi[d]);
  const int32_t kd = obj->super[d + 1] - obj->super[d];
  const double* ld = obj->lx + obj->lpx[d];
  const int32_t nr1 = p2 - p1, nr2 = md - p1;
  double* c = obj->cbuf;
  for (int32_t j = 0; j < nr1; ++j)
    std::fill(c + int64_t{j} * nr2 + j, c + int64_t{j + 1} * nr2, 0.0);
  VLR_chdblas3_oa(nr2, nr1, kd, ld + p1, md, obj->diag + obj->super[d], ld + p1, md, c, nr2, true,
                  obj->work);
  const int32_t* rel = obj->relpos;
  for (int32_t j = 0; j < nr1; ++j) {
    double* lsj = ls + int64_t{rd[p1 + j] - f} * ms;
    const double* cj = c + int64_t{j} * nr2;
    for (int32_t i = j; i < nr2; ++i)
      lsj[rel[rd[p1 + i]]] += cj[i];
  }
}

// Puts d in the list of the supernode that holds its row at position p, if any.
void sfk_link(sfk* obj, int32_t d, int32_t p) {
  obj->dnext[d] = p;
  if (p >= obj->lpi[d + 1] - obj->lpi[d]) return;
  const int32_t t = obj->snode[obj->ls[obj->lpi[d] + p]];
  obj->next[d] = obj->head[t];
  obj->head[t] = d;
}

}  // namespace

int32_t VLR_sfk_inaval(sfk* obj, const double* val) {
  if (obj->state < 3) return kSfkBadInput;
  const int64_t nnz = obj->abeg[obj->n];
  std::fill(obj->lx, obj->lx + obj->lpx[obj->nsuper], 0.0);
  for (int64_t e = 0; e < nnz; ++e)
    obj->lx[obj->amap[e]] += val[e];
  obj->state = 4;
  return kSfkOk;
}

int32_t VLR_ch_calfac(sfk* obj, void* handle, OrderCallback callback) {
  if (obj->state < 4) return kSfkBadInput;
  if (obj->state == 5) return kSfkBadInput;  // the values were factored already
  const int32_t n = obj->n, ns = obj->nsuper;
  // The diagonal as the pivot rules see it before any update.
  double amax = 0.0, asum = 0.0;
  for (int32_t s = 0; s < ns; ++s) {
    const int32_t f = obj->super[s], m = static_cast<int32_t>(obj->lpi[s + 1] - obj->lpi[s]);
    for (int32_t j = f; j < obj->super[s + 1]; ++j) {
      double& ajj = obj->lx[obj->lpx[s] + int64_t{j - f} * m + (j - f)];
      if (obj->adddiag > 0.0) ajj += obj->adddiag;
      if (obj->dtype[obj->perm[j]] & kSfkAddOne) ajj += 1.0;
      obj->sdiag[j] = ajj;
      amax = std::max(amax, std::fabs(ajj));
      asum += std::fabs(ajj);
    }
  }
  obj->tolpiveff = std::max(obj->tolpiv, kEps / 10.0);
  obj->sqrttolpiv = std::sqrt(obj->tolpiveff);
  obj->spread = asum > 0.0 ? std::max(1.0, (amax * n / asum) * (amax * n / asum)) : 1.0;
  obj->nrdef = 0;
  std::fill(obj->head, obj->head + ns, -1);
  // Left-looking over the supernodes: each takes the updates of the descendants that wait for
  // it, is factored as one dense panel, and then waits for its own first target. The slices of
  // numthreads would be independent subtrees; here they are one sequence.
  PivotCtx ctx{obj, 0};
  int64_t work = 0;  // since the last ask of the callback
  for (int32_t s = 0; s < ns; ++s) {
    const int32_t f = obj->super[s], l = obj->super[s + 1];
    const int32_t ms = static_cast<int32_t>(obj->lpi[s + 1] - obj->lpi[s]);
    if (callback != nullptr && work >= kStopWork) {
      work = 0;
      if (callback(0, handle, static_cast<double>(s) / ns) != 0) {
        obj->state = 3;  // the values are part factored: they must be put in again
        return kSfkStopped;
      }
    }
    work += int64_t{ms} * (l - f) * (l - f);
    const int32_t* rs = obj->ls + obj->lpi[s];
    double* ls = obj->lx + obj->lpx[s];
    for (int32_t p = 0; p < ms; ++p)
      obj->relpos[rs[p]] = p;
    for (int32_t d = obj->head[s]; d >= 0;) {
      const int32_t dn = obj->next[d];
      const int32_t* rd = obj->ls + obj->lpi[d];
      const int32_t md = static_cast<int32_t>(obj->lpi[d + 1] - obj->lpi[d]);
      const int32_t p1 = obj->dnext[d];
      int32_t p2 = p1;
      while (p2 < md && rd[p2] < l)
        ++p2;
      upd_cssn(obj, d, p1, p2, ls, f, ms);
      work += int64_t{md - p1} * (p2 - p1) * (obj->super[d + 1] - obj->super[d]);
      sfk_link(obj, d, p2);
      d = dn;
    }
    ctx.col0 = f;
    VLR_upd_idenseL(ms, l - f, ls, ms, obj->diag + f, sfk_pivot, &ctx, obj->work);
    sfk_link(obj, s, l - f);
  }
  obj->state = 5;
  return kSfkOk;
}

void VLR_sfk_solve(sfk* obj, double* x) {
  const int32_t n = obj->n, ns = obj->nsuper;
  double* y = obj->xbuf;
  // The dense kernels' work is free between factors: it holds the rows below a block.
  double* t = obj->work;
  const int64_t tmax = VLR_lalib_worksize();
  for (int32_t k = 0; k < n; ++k)
    y[k] = x[obj->perm[k]];
  for (int32_t s = 0; s < ns; ++s) {
    const int32_t f = obj->super[s], k = obj->super[s + 1] - f;
    const int32_t m = static_cast<int32_t>(obj->lpi[s + 1] - obj->lpi[s]);
    const double* l = obj->lx + obj->lpx[s];
    const int32_t* rs = obj->ls + obj->lpi[s];
    VLR_lalib_lsolve(k, l, m, y + f);
    const int32_t r = m - k;
    if (r <= tmax) {
      // The rows below the block as one dense product, scattered once.
      std::fill(t, t + r, 0.0);
      VLR_lalib_gemvsub(r, k, l + k, m, y + f, t);
      for (int32_t i = 0; i < r; ++i)
        y[rs[k + i]] += t[i];
      continue;
    }
    for (int32_t j = 0; j < k; ++j) {
      const double yj = y[f + j];
      if (yj == 0.0) continue;
      const double* lj = l + int64_t{j} * m;
      for (int32_t i = k; i < m; ++i)
        y[rs[i]] -= lj[i] * yj;
    }
  }
  for (int32_t k = 0; k < n; ++k)
    y[k] /= obj->diag[k];
  for (int32_t s = ns - 1; s >= 0; --s) {
    const int32_t f = obj->super[s], k = obj->super[s + 1] - f;
    const int32_t m = static_cast<int32_t>(obj->lpi[s + 1] - obj->lpi[s]);
    const double* l = obj->lx + obj->lpx[s];
    const int32_t* rs = obj->ls + obj->lpi[s];
    const int32_t r = m - k;
    if (r <= tmax) {
      // The rows below the block gathered once, then dense products.
      for (int32_t i = 0; i < r; ++i)
        t[i] = y[rs[k + i]];
      VLR_lalib_gemvtsub(r, k, l + k, m, t, y + f);
    } else {
      for (int32_t j = 0; j < k; ++j) {
        const double* lj = l + int64_t{j} * m;
        double sum = 0.0;
        for (int32_t i = k; i < m; ++i)
          sum += lj[i] * y[rs[i]];
        y[f + j] -= sum;
      }
    }
    VLR_lalib_ltsolve(k, l, m, y + f);
  }
  for (int32_t k = 0; k < n; ++k)
    x[obj->perm[k]] = y[k];
}

}  // namespace vlr
