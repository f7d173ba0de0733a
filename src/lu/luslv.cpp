// src/lu/luslv.cpp: hypersparse solves: a depth-first search gives the reach of the
// right-hand side, and the solve costs what the result needs; past a quarter of the rows the
// search is abandoned for one ordered pass over the factor.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "lu/ludat.h"

namespace vlr {

namespace {

// Outcome of a depth-first search: the reach in topological order at list[first..nrow), and
// (when set aside) the childless nodes at empty[0..nempty).
struct Reach {
  bool abandoned;
  int32_t first;
  int32_t nempty;
};

// Depth-first search from the nodes start(pattern[k]) (nrow: skip) along children(node).
// marker holds the next child to look at plus one. Each node adds its child count to a running
// sum; at limit the search stops and every marker it set is cleared again.
template <class Start, class Count, class Child>
Reach lu_dfs(int32_t nrow, int32_t nz, const int32_t* pattern, Start start, Count count,
             Child child, bool setaside, int64_t limit, int32_t* marker, int32_t* iwork,
             int64_t* work) {
  int32_t* stack = iwork;
  int32_t* list = iwork + nrow;
  int32_t* empty = iwork + 2 * nrow;
  Reach out{false, nrow, 0};
  int64_t sum = 0;
  int32_t top = 0;
  for (int32_t s = 0; s < nz && !out.abandoned; ++s) {
    const int32_t root = start(pattern[s]);
    if (root >= nrow || marker[root] != 0) continue;
    marker[root] = 1;
    if (setaside && count(root) == 0) {
      empty[out.nempty++] = root;
      continue;
    }
    sum += count(root);
    if (sum >= limit) {
      stack[top++] = root;
      out.abandoned = true;
      break;
    }
    stack[top++] = root;
    while (top > 0) {
      const int32_t node = stack[top - 1];
      const int32_t t = marker[node] - 1;
      if (t < count(node)) {
        ++marker[node];
        const int32_t ch = child(node, t);
        if (marker[ch] != 0) continue;
        marker[ch] = 1;
        if (setaside && count(ch) == 0) {
          empty[out.nempty++] = ch;
          continue;
        }
        stack[top++] = ch;
        sum += count(ch);
        if (sum >= limit) {
          out.abandoned = true;
          break;
        }
      } else {
        --top;
        list[--out.first] = node;
      }
    }
  }
  *work += sum + (nrow - out.first) + out.nempty;
  if (out.abandoned) {
    for (int32_t k = 0; k < top; ++k)
      marker[stack[k]] = 0;
    for (int32_t k = out.first; k < nrow; ++k)
      marker[list[k]] = 0;
    for (int32_t k = 0; k < out.nempty; ++k)
      marker[empty[k]] = 0;
  }
  return out;
}

// Above this mean density of its recent results a solve goes straight to the ordered pass: the
// search would be abandoned anyway, after work of up to a quarter of the rows.
constexpr double kDenseSolve = 0.1;

enum SolveKind { kSolveL = 0, kSolveLt = 1, kSolveU = 2, kSolveUt = 3 };

bool lu_predictdense(const LuFactor* lu, int32_t kind) {
  return lu->solvedens[lu->solveslot][kind] > kDenseSolve;
}

// A running mean over the last ten or so results.
void lu_notedensity(LuFactor* lu, int32_t kind, int32_t nz) {
  double& dens = lu->solvedens[lu->solveslot][kind];
  dens = 0.9 * dens + 0.1 * nz / std::max(lu->nrow, 1);
}

void lu_checkwork(const LuFactor* lu, int32_t isize, int32_t msize) {
  if (isize < 3 * lu->nrow || msize < lu->nrow) {
    VLR_sysenv_stopdbg(lu->sys, VLR_HERE, "Space. demand: %d supply: %d", 3 * lu->nrow,
                       std::min(isize, msize));
  }
}

// Row etas in order on a sparse row-space vector; marker is clean on entry and exit.
void lu_etafw(LuFactor* lu, int32_t* nz, double* x, int32_t* pattern, int32_t* marker) {
  if (lu->lupds == 0) return;
  int32_t n = *nz;
  for (int32_t k = 0; k < n; ++k)
    marker[pattern[k]] = 1;
  int64_t work = 0;
  for (int32_t e = 0; e < lu->lupds; ++e) {
    const int32_t beg = lu->etab[e + 1];
    const int32_t end = lu->etab[e];
    int32_t k = beg;
    while (k < end && marker[lu->subj[k]] == 0)
      ++k;
    work += k - beg;
    if (k == end) continue;
    double s = 0.0;
    for (; k < end; ++k) {
      if (marker[lu->subj[k]] != 0) s += lu->valr[k] * x[lu->subj[k]];
    }
    work += end - beg;
    const int32_t t = lu->etarow[e];
    x[t] += s;
    if (marker[t] == 0) {
      marker[t] = 1;
      pattern[n++] = t;
    }
  }
  for (int32_t k = 0; k < n; ++k)
    marker[pattern[k]] = 0;
  *nz = n;
  lu_addwork(lu, kTaskEtaFw, work);
}

// Row etas from the last to the first, transposed.
void lu_etabw(LuFactor* lu, int32_t* nz, double* x, int32_t* pattern, int32_t* marker,
              double tol2) {
  if (lu->lupds == 0) return;
  int32_t n = *nz;
  for (int32_t k = 0; k < n; ++k)
    marker[pattern[k]] = 1;
  int64_t work = 0;
  for (int32_t e = lu->lupds - 1; e >= 0; --e) {
    const int32_t t = lu->etarow[e];
    if (marker[t] == 0 || std::fabs(x[t]) <= tol2) continue;
    const double v = x[t];
    for (int32_t k = lu->etab[e + 1]; k < lu->etab[e]; ++k) {
      const int32_t i = lu->subj[k];
      x[i] += lu->valr[k] * v;
      if (marker[i] == 0) {
        marker[i] = 1;
        pattern[n++] = i;
      }
    }
    work += lu->etab[e] - lu->etab[e + 1];
  }
  for (int32_t k = 0; k < n; ++k)
    marker[pattern[k]] = 0;
  *nz = n;
  lu_addwork(lu, kTaskEtaBw, work);
}

}  // namespace

void VLR_lu_putsolveslot(LuFactor* lu, int32_t slot) {
  lu->solveslot = std::clamp(slot, 0, kLuSolveSlots - 1);
}

void VLR_lu_ultb(LuFactor* lu, int32_t trans, int32_t* nz, double* x, int32_t* pattern,
                 int32_t* marker, int32_t* iwork) {
  const int32_t nrow = lu->nrow;
  if (lu->ltsze == 0 || *nz == 0) return;
  const int64_t limit = nrow / 4;
  int64_t work = 0;
  const int32_t task = trans == 0 ? kTaskSparseLfw : kTaskSparseLbw;
  const int32_t kind = trans == 0 ? kSolveL : kSolveLt;
  const int32_t* cfir = trans == 0 ? lu->lfir : lu->ltfir;
  const int32_t* clen = trans == 0 ? lu->llen : lu->ltlen;
  const int32_t* cidx = trans == 0 ? lu->subi : lu->subj;
  const double* cval = trans == 0 ? lu->valc : lu->valr;
  const Reach reach =
      lu_predictdense(lu, kind)
          ? Reach{true, nrow, 0}
          : lu_dfs(
                nrow, *nz, pattern, [](int32_t i) { return i; }, [&](int32_t i) { return clen[i]; },
                [&](int32_t i, int32_t t) { return cidx[cfir[i] + t]; }, false, limit, marker,
                iwork, &work);
  if (!reach.abandoned) {
    const int32_t* list = iwork + nrow;
    int32_t n = 0;
    for (int32_t p = reach.first; p < nrow; ++p) {
      const int32_t i = list[p];
      marker[i] = 0;
      const double v = x[i];
      if (v == 0.0) continue;
      pattern[n++] = i;
      const int32_t beg = cfir[i];
      const int32_t end = beg + clen[i];
      for (int32_t k = beg; k < end; ++k)
        x[cidx[k]] += cval[k] * v;
      work += end - beg;
    }
    *nz = n;
    lu_notedensity(lu, kind, n);
    lu_addwork(lu, task, work);
    return;
  }
  // Ordered pass: the pivot sequence forward for L, backward for L transposed, over the rows
  // that have entries.
  const int32_t* seq = trans == 0 ? lu->lseq : lu->ltseq;
  const int32_t seqlen = trans == 0 ? lu->lseqlen : lu->ltseqlen;
  for (int32_t s = 0; s < seqlen; ++s) {
    const int32_t i = seq[s];
    const double v = x[i];
    if (v == 0.0) continue;
    const int32_t beg = cfir[i];
    const int32_t end = beg + clen[i];
    for (int32_t k = beg; k < end; ++k)
      x[cidx[k]] += cval[k] * v;
    work += end - beg;
  }
  // The pattern without a branch per row: a dense result is about as often zero as not.
  int32_t n = 0;
  for (int32_t i = 0; i < nrow; ++i) {
    pattern[n] = i;
    n += x[i] != 0.0 ? 1 : 0;
  }
  *nz = n;
  lu_notedensity(lu, kind, n);
  lu_addwork(lu, task, work + 2 * static_cast<int64_t>(nrow));
}

int32_t VLR_lu_ftranl(LuFactor* lu, int32_t* nz, double* x, int32_t* pattern, int32_t* marker,
                      int32_t isize, int32_t* iwork) {
  if (lu->state != 3) return kLuNoFactor;
  lu_checkwork(lu, isize, lu->nrow);
  VLR_lu_ultb(lu, 0, nz, x, pattern, marker, iwork);
  lu_etafw(lu, nz, x, pattern, marker);
  return kLuOk;
}

int32_t VLR_lu_ftranus(LuFactor* lu, int32_t nz, double* x, const int32_t* pattern, int32_t* onz,
                       double* out, int32_t* opattern, int32_t isize, int32_t* iwork, int32_t msize,
                       int32_t* marker, double tol1, double tol2) {
  *onz = 0;
  if (lu->state != 3) return kLuNoFactor;
  lu_checkwork(lu, isize, msize);
  const int32_t nrow = lu->nrow;
  if (nz == 0) return kLuOk;
  int64_t symwork = 0;
  const Reach reach =
      lu_predictdense(lu, kSolveU)
          ? Reach{true, nrow, 0}
          : lu_dfs(
                nrow, nz, pattern, [](int32_t i) { return i; },
                [&](int32_t i) { return lu->uusec[lu->q[i]]; },
                [&](int32_t i, int32_t t) { return lu->subi[lu->ufirc[lu->q[i]] + t]; }, true,
                nrow / 4, marker, iwork, &symwork);
  lu_addwork(lu, kTaskSymUfw, symwork);
  int64_t work = 0;
  int32_t n = 0;
  auto solve = [&](int32_t i, bool subtract) {
    double v = x[i];
    x[i] = 0.0;
    if (std::fabs(v) <= tol1) return;
    v /= lu->diag[i];
    if (std::fabs(v) <= tol2) return;
    const int32_t j = lu->q[i];
    out[j] = v;
    opattern[n++] = j;
    if (!subtract) return;
    const int32_t beg = lu->ufirc[j];
    const int32_t end = beg + lu->uusec[j];
    for (int32_t k = beg; k < end; ++k)
      x[lu->subi[k]] -= lu->valc[k] * v;
    work += end - beg;
  };
  if (!reach.abandoned) {
    const int32_t* list = iwork + nrow;
    const int32_t* empty = iwork + 2 * nrow;
    for (int32_t p = reach.first; p < nrow; ++p) {
      marker[list[p]] = 0;
      solve(list[p], true);
    }
    for (int32_t p = 0; p < reach.nempty; ++p) {
      marker[empty[p]] = 0;
      solve(empty[p], false);
    }
    lu_addwork(lu, kTaskNumUfw, work);
  } else {
    const int32_t nil = nrow;
    const int32_t* ord = lu->uord;
    for (int32_t p = lu->uordlen - 1; p >= 0; --p) {
      const int32_t i = ord[p];
      if (i != nil && x[i] != 0.0) solve(i, true);
    }
    work += nrow;
  }
  *onz = n;
  lu_notedensity(lu, kSolveU, n);
  lu_addwork(lu, kTaskSparseUfw, work + symwork);
  return kLuOk;
}

int32_t VLR_lu_ftrans(LuFactor* lu, int32_t nz, double* x, int32_t* pattern, int32_t* onz,
                      double* out, int32_t* opattern, int32_t isize, int32_t* iwork, int32_t msize,
                      int32_t* marker, double tol1, double tol2) {
  const int32_t r = VLR_lu_ftranl(lu, &nz, x, pattern, marker, isize, iwork);
  if (r != kLuOk) return r;
  return VLR_lu_ftranus(lu, nz, x, pattern, onz, out, opattern, isize, iwork, msize, marker, tol1,
                        tol2);
}

int32_t VLR_lu_ftransel(LuFactor* lu, int32_t nz, double* x, int32_t* pattern, int32_t nsel,
                        const int32_t* sel, int32_t* onz, double* out, int32_t* opattern,
                        int32_t isize, int32_t* iwork, int32_t msize, int32_t* marker, double tol1,
                        double tol2) {
  *onz = 0;
  const int32_t r = VLR_lu_ftranl(lu, &nz, x, pattern, marker, isize, iwork);
  if (r != kLuOk) return r;
  lu_checkwork(lu, isize, msize);
  const int32_t nrow = lu->nrow;
  // The rows the selected ones depend on: row i needs the value of every column of its row
  // file, which its pivot row gives.
  int64_t work = 0;
  const Reach reach = lu_dfs(
      nrow, nsel, sel, [&](int32_t j) { return lu->invq[j]; },
      [&](int32_t i) { return lu->uuser[i]; },
      [&](int32_t i, int32_t t) { return lu->invq[lu->subj[lu->ufirr[i] + t]]; }, true, nrow / 4,
      marker, iwork, &work);
  if (reach.abandoned) {
    lu_addwork(lu, kTaskSymUfw, work);
    return VLR_lu_ftranus(lu, nz, x, pattern, onz, out, opattern, isize, iwork, msize, marker, tol1,
                          tol2);
  }
  int32_t n = 0;
  auto value = [&](int32_t i) {
    double v = x[i];
    const int32_t beg = lu->ufirr[i];
    const int32_t end = beg + lu->uuser[i];
    for (int32_t k = beg; k < end; ++k)
      v -= lu->valr[k] * out[lu->subj[k]];
    work += end - beg;
    const int32_t j = lu->q[i];
    out[j] = v / lu->diag[i];
    opattern[n++] = j;
  };
  // Rows with an empty row file depend on nothing; of the others, the search finished each row
  // after all it depends on, and the list holds them in the reverse of that order.
  const int32_t* list = iwork + nrow;
  const int32_t* empty = iwork + 2 * nrow;
  for (int32_t p = 0; p < reach.nempty; ++p) {
    marker[empty[p]] = 0;
    value(empty[p]);
  }
  for (int32_t p = nrow - 1; p >= reach.first; --p) {
    marker[list[p]] = 0;
    value(list[p]);
  }
  for (int32_t k = 0; k < nz; ++k)
    x[pattern[k]] = 0.0;
  *onz = n;
  lu_addwork(lu, kTaskSparseUfw, work);
  return kLuOk;
}

int32_t VLR_lu_btrans(LuFactor* lu, int32_t nz, double* x, const int32_t* pattern, int32_t* onz,
                      double* out, int32_t* opattern, int32_t* marker, int32_t isize,
                      int32_t* iwork, double tol1, double tol2) {
  *onz = 0;
  if (lu->state != 3) return kLuNoFactor;
  lu_checkwork(lu, isize, lu->nrow);
  const int32_t nrow = lu->nrow;
  if (nz == 0) return kLuOk;
  // The transposed U: from the rows of the pattern's columns through the row file.
  int64_t work = 0;
  const Reach reach =
      lu_predictdense(lu, kSolveUt)
          ? Reach{true, nrow, 0}
          : lu_dfs(
                nrow, nz, pattern, [&](int32_t j) { return lu->invq[j]; },
                [&](int32_t i) { return lu->uuser[i]; },
                [&](int32_t i, int32_t t) { return lu->invq[lu->subj[lu->ufirr[i] + t]]; }, true,
                nrow / 4, marker, iwork, &work);
  int32_t n = 0;
  auto solve = [&](int32_t i, bool subtract) {
    const int32_t j = lu->q[i];
    double v = x[j];
    x[j] = 0.0;
    if (std::fabs(v) <= tol1) return;
    v /= lu->diag[i];
    if (std::fabs(v) <= tol2) return;
    out[i] = v;
    opattern[n++] = i;
    if (!subtract) return;
    const int32_t beg = lu->ufirr[i];
    const int32_t end = beg + lu->uuser[i];
    for (int32_t k = beg; k < end; ++k)
      x[lu->subj[k]] -= lu->valr[k] * v;
    work += end - beg;
  };
  if (!reach.abandoned) {
    const int32_t* list = iwork + nrow;
    const int32_t* empty = iwork + 2 * nrow;
    for (int32_t p = reach.first; p < nrow; ++p) {
      marker[list[p]] = 0;
      solve(list[p], true);
    }
    for (int32_t p = 0; p < reach.nempty; ++p) {
      marker[empty[p]] = 0;
      solve(empty[p], false);
    }
  } else {
    const int32_t nil = nrow;
    const int32_t* ord = lu->uord;
    for (int32_t p = 0; p < lu->uordlen; ++p) {
      const int32_t i = ord[p];
      if (i != nil && x[lu->q[i]] != 0.0) solve(i, true);
    }
    work += nrow;
  }
  // Entries in columns outside the basis (ncol > nrow) are not part of the system.
  for (int32_t k = 0; k < nz; ++k) {
    if (lu->invq[pattern[k]] >= nrow) x[pattern[k]] = 0.0;
  }
  lu_notedensity(lu, kSolveUt, n);
  lu_addwork(lu, kTaskSparseUbw, work);
  lu_etabw(lu, &n, out, opattern, marker, tol2);
  VLR_lu_ultb(lu, 1, &n, out, opattern, marker, iwork);
  *onz = n;
  return kLuOk;
}

}  // namespace vlr
