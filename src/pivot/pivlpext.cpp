// src/pivot/pivlpext.cpp: factor a basis given as a list; repair a short rank with slacks;
// extend a partial list of basic variables to a full basis.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "pivot/pivot.h"

namespace vlr {

namespace {

// Puts the columns of bas into a factor in state 1.
int32_t pivlp_input(LuFactor* lu, const PivMat* a, const int32_t* bas, SysEnv* sys) {
  const int32_t m = a->m;
  for (int32_t p = 0; p < m; ++p) {
    const int32_t k = bas[p];
    if (k < 0) VLR_sysenv_stopdbg(sys, VLR_HERE, "An index error occured");
    int32_t r = kLuOk;
    if (k < m) {
      r = VLR_lu_inaij(lu, k, p, -1.0);
    } else if (k < m + a->n) {
      const int32_t j = k - m;
      const auto nz = static_cast<int32_t>(a->beg[j + 1] - a->beg[j]);
      r = VLR_lu_inaj2(lu, p, nz, a->val + a->beg[j], a->idx + a->beg[j], m, nullptr);
    }
    if (r != kLuOk) return r;
  }
  return kLuOk;
}

// Factors bas, doubling the work area while the factor asks for more room. sys, which may be
// null, takes the stop on a negative index.
int32_t pivlp_factor(SysEnv* sys, LuFactor* lu, const PivMat* a, const int32_t* bas, int32_t isize,
                     int32_t* iwork, int32_t rsize, double* rwork) {
  const int32_t m = a->m;
  int32_t r = VLR_lu_putnrow(lu, m);
  if (r == kLuOk) r = VLR_lu_putncol(lu, m);
  if (r != kLuOk) return r;
  int64_t nz = m;
  for (int32_t p = 0; p < m; ++p) {
    if (bas[p] >= m && bas[p] < m + a->n) nz += a->beg[bas[p] - m + 1] - a->beg[bas[p] - m];
  }
  int64_t wsze = std::max<int64_t>({3 * nz, 3 * static_cast<int64_t>(m) + 1, VLR_lu_getwsze(lu)});
  for (int32_t tries = 0; tries < 30; ++tries) {
    if (VLR_lu_getwsze(lu) < wsze || VLR_lu_getstate(lu) == kLuStateNone) {
      r = VLR_lu_newwszedbg(VLR_HERE, lu,
                            static_cast<int32_t>(std::min<int64_t>(wsze, 2147483000)));
      if (r != kLuOk) return r;
    }
    VLR_lu_init(lu);
    r = pivlp_input(lu, a, bas, sys);
    if (r == kLuOk) r = VLR_lu_factor(lu, isize, iwork, rsize, rwork);
    if (r != kLuWorkAreaFull && r != kLuTooManyGarCols) return r;
    wsze = 2 * static_cast<int64_t>(VLR_lu_getwsze(lu));
  }
  return r;
}

}  // namespace

int32_t VLR_pivlp_factor1(LuFactor* lu, const PivMat* a, const int32_t* bas, int32_t isize,
                          int32_t* iwork, int32_t rsize, double* rwork) {
  return pivlp_factor(nullptr, lu, a, bas, isize, iwork, rsize, rwork);
}

int32_t VLR_pivlp_factor2(SysEnv* sys, LuFactor* lu, int32_t m, int32_t n, const int64_t* beg,
                          const int32_t* idx, const double* val, const int32_t* bas, int32_t isize,
                          int32_t* iwork, int32_t rsize, double* rwork) {
  const PivMat a{.m = m, .n = n, .beg = beg, .idx = idx, .val = val};
  int32_t needi = 0, needr = 0;
  VLR_lu_getfactorspace(m, m, &needi, &needr);
  if (isize >= needi && rsize >= needr) {
    return pivlp_factor(sys, lu, &a, bas, isize, iwork, rsize, rwork);
  }
  // The caller's work is too short: this call takes its own.
  SysBuf<int32_t> ibuf(sys, VLR_HERE, needi);
  SysBuf<double> rbuf(sys, VLR_HERE, needr);
  if (!ibuf || !rbuf) return kLuNoSpace;
  return pivlp_factor(sys, lu, &a, bas, needi, ibuf.get(), needr, rbuf.get());
}

int32_t VLR_pivlp_insart(LuFactor* lu, int32_t m, int32_t* bas, int32_t* map, int32_t isize,
                         int32_t* iwork, int32_t* nart) {
  *nart = 0;
  if (VLR_lu_getrank(lu) == m && VLR_lu_isfac(lu)) return kLuOk;
  // The slack of row i is the column -e(i): -1.0 makes each artificial that row's slack.
  const int32_t r = VLR_lu_insart(lu, map, isize, iwork, -1.0);
  if (r != kLuOk) return r;
  for (int32_t p = 0; p < m; ++p) {
    if (map[p] >= m) continue;
    bas[p] = map[p];
    ++*nart;
  }
  return kLuOk;
}

int32_t VLR_pivlp_extendbasis(LuFactor* lu, const PivMat* a, int32_t nbas, const int32_t* list,
                              int32_t* bas, int32_t isize, int32_t* iwork, int32_t rsize,
                              double* rwork) {
  const int32_t m = a->m;
  const int32_t empty = m + a->n;  // an index beyond the matrix: an empty column
  for (int32_t p = 0; p < m; ++p)
    bas[p] = p < nbas ? list[p] : empty;
  int32_t r = VLR_pivlp_factor1(lu, a, bas, isize, iwork, rsize, rwork);
  if (r != kLuOk) return r;
  if (isize < 2 * m) return kLuIworkShort;
  int32_t nart = 0;
  return VLR_pivlp_insart(lu, m, bas, iwork, isize - m, iwork + m, &nart);
}

}  // namespace vlr
