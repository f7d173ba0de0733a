// tests/cpub/sprmat_test.cpp: the sparse stores against dense references: random writes through
// the cache, reads in both orientations, capacity changes, failures that leave the matrix whole.
// SPDX-License-Identifier: Apache-2.0
#include "cpub/sprmat.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <vector>

namespace {

using vlr::spmat;
using vlr::sprmat;

int64_t g_left = -1;  // allocations before a pretend failure; -1: never fail

void* FailingMalloc(void*, size_t size) {
  if (g_left == 0) return nullptr;
  if (g_left > 0) --g_left;
  return std::malloc(size);
}
void PlainFree(void*, void* block) {
  std::free(block);
}

class SprmatTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sys_ = vlr::VLR_sysenv_make(0, 10, nullptr, FailingMalloc, PlainFree);
    ASSERT_NE(sys_, nullptr);
  }
  void TearDown() override {
    g_left = -1;
    EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), vlr::kSysOk);  // nothing leaked
  }
  vlr::SysEnv* sys_ = nullptr;
};

// A dense m x n picture of the matrix, compared with every way of reading it.
struct Dense {
  int32_t m, n;
  std::vector<double> a;
  Dense(int32_t rows, int32_t cols) : m(rows), n(cols), a(size_t(rows) * size_t(cols), 0.0) {}
  double& at(int32_t i, int32_t j) { return a[size_t(i) * size_t(n) + size_t(j)]; }
  int64_t nnz() const {
    return std::count_if(a.begin(), a.end(), [](double x) { return x != 0; });
  }
};

void ExpectEqual(sprmat* mat, Dense& d, bool byrows) {
  int64_t size = -1;
  ASSERT_EQ(vlr::VLR_sprmat_getsize(mat, &size), vlr::kSprOk);
  EXPECT_EQ(size, d.nnz());
  const int32_t nvec = byrows ? d.m : d.n;
  std::vector<int32_t> sub(size_t(std::max(d.m, d.n)));
  std::vector<double> val(sub.size());
  for (int32_t v = 0; v < nvec; ++v) {
    int32_t nz = -1;
    if (byrows) {
      ASSERT_EQ(vlr::VLR_sprmat_getrowi(mat, v, &nz, sub.data(), val.data()), vlr::kSprOk);
    } else {
      ASSERT_EQ(vlr::VLR_sprmat_getcolj(mat, v, &nz, sub.data(), val.data()), vlr::kSprOk);
    }
    std::map<int32_t, double> got;
    for (int32_t k = 0; k < nz; ++k) {
      EXPECT_TRUE(got.emplace(sub[size_t(k)], val[size_t(k)]).second) << "duplicate index";
      EXPECT_NE(val[size_t(k)], 0.0);
    }
    const int32_t len = byrows ? d.n : d.m;
    for (int32_t w = 0; w < len; ++w) {
      const double want = byrows ? d.at(v, w) : d.at(w, v);
      const double have = got.count(w) ? got[w] : 0.0;
      ASSERT_EQ(have, want) << (byrows ? "row " : "col ") << v << " index " << w;
    }
  }
}

TEST_F(SprmatTest, RandomWritesMatchADenseReferenceInBothOrientations) {
  const int32_t m = 37, n = 23;
  sprmat* mat = nullptr;
  ASSERT_EQ(vlr::VLR_sprmat_make(sys_, m, n, &mat), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_appendrows(mat, m), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_appendcols(mat, n), vlr::kSprOk);
  Dense d(m, n);
  std::mt19937 rng(7);
  std::uniform_int_distribution<int32_t> ri(0, m - 1), rj(0, n - 1), rv(-3, 3);
  for (int32_t round = 0; round < 12; ++round) {
    for (int32_t k = 0; k < 150; ++k) {
      const int32_t i = ri(rng), j = rj(rng);
      const double x = rv(rng);  // zeros remove, repeats overwrite
      ASSERT_EQ(vlr::VLR_sprmat_putaij(mat, i, j, x), vlr::kSprOk);
      d.at(i, j) = x;
    }
    vlr::VLR_sprmat_checka(VLR_HERE, mat);
    ExpectEqual(mat, d, round % 2 == 0);
    const int32_t i = ri(rng), j = rj(rng);
    double x = -1;
    ASSERT_EQ(vlr::VLR_sprmat_getaij(mat, i, j, &x), vlr::kSprOk);
    EXPECT_EQ(x, d.at(i, j));
  }
  EXPECT_GE(vlr::VLR_sprmat_getnumtransposes(mat), 10);
  vlr::VLR_sprmat_delete(&mat);
  EXPECT_EQ(mat, nullptr);
}

TEST_F(SprmatTest, CacheKeepsTheLastWriteAndZeroRemoves) {
  sprmat* mat = nullptr;
  ASSERT_EQ(vlr::VLR_sprmat_make(sys_, 3, 3, &mat), vlr::kSprOk);
  vlr::VLR_sprmat_appendrows(mat, 3);
  vlr::VLR_sprmat_appendcols(mat, 3);
  double x = 0;
  ASSERT_EQ(vlr::VLR_sprmat_putaij(mat, 1, 2, 5.0), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_putaij(mat, 1, 2, 6.0), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_getaij(mat, 1, 2, &x), vlr::kSprOk);
  EXPECT_EQ(x, 6.0);
  ASSERT_EQ(vlr::VLR_sprmat_putaij(mat, 0, 0, 1.0), vlr::kSprOk);
  int64_t size = 0;
  ASSERT_EQ(vlr::VLR_sprmat_getsize(mat, &size), vlr::kSprOk);
  EXPECT_EQ(size, 2);
  ASSERT_EQ(vlr::VLR_sprmat_putaij(mat, 1, 2, 0.0), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_getsize(mat, &size), vlr::kSprOk);
  EXPECT_EQ(size, 1);
  // Writes that were never flushed are dropped by delete, with nothing leaked (TearDown).
  ASSERT_EQ(vlr::VLR_sprmat_putaij(mat, 2, 2, 3.0), vlr::kSprOk);
  vlr::VLR_sprmat_delete(&mat);
}

TEST_F(SprmatTest, AFullCacheFlushesAndThenDoublesThePool) {
  sprmat* mat = nullptr;
  ASSERT_EQ(vlr::VLR_sprmat_make(sys_, 10, 10, &mat), vlr::kSprOk);
  vlr::VLR_sprmat_appendrows(mat, 10);
  vlr::VLR_sprmat_appendcols(mat, 10);
  ASSERT_EQ(vlr::VLR_sprmat_putmaxsize(mat, 10), vlr::kSprOk);
  for (int32_t k = 0; k < 9; ++k)
    ASSERT_EQ(vlr::VLR_sprmat_putaij(mat, k, k, 1.0 + k), vlr::kSprOk);
  EXPECT_EQ(vlr::VLR_sprmat_getnumcacheflushes(mat), 0);
  EXPECT_EQ(mat->cuse, 9);
  ASSERT_EQ(vlr::VLR_sprmat_putaij(mat, 9, 9, 10.0), vlr::kSprOk);
  EXPECT_EQ(vlr::VLR_sprmat_getnumcacheflushes(mat), 1);
  EXPECT_EQ(vlr::VLR_sprmat_getmaxsize(mat), 21);
  double x = 0;
  ASSERT_EQ(vlr::VLR_sprmat_getaij(mat, 9, 9, &x), vlr::kSprOk);
  EXPECT_EQ(x, 10.0);
  vlr::VLR_sprmat_delete(&mat);
}

TEST_F(SprmatTest, CapacitiesAndTheirRefusals) {
  sprmat* mat = nullptr;
  ASSERT_EQ(vlr::VLR_sprmat_make(sys_, 0, 0, &mat), vlr::kSprOk);
  int64_t size = -1;
  ASSERT_EQ(vlr::VLR_sprmat_getsize(mat, &size), vlr::kSprOk);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(vlr::VLR_sprmat_appendrows(mat, 1), vlr::kSprRowsFull);
  EXPECT_EQ(vlr::VLR_sprmat_appendcols(mat, 1), vlr::kSprColsFull);
  ASSERT_EQ(vlr::VLR_sprmat_putmaxnumrow(mat, 4), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_putmaxnumcol(mat, 6), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_appendrows(mat, 4), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_appendcols(mat, 6), vlr::kSprOk);
  EXPECT_EQ(vlr::VLR_sprmat_putmaxnumrow(mat, 3), vlr::kSprCapBelowCount);
  for (int32_t j = 0; j < 6; ++j)
    ASSERT_EQ(vlr::VLR_sprmat_putaij(mat, j % 4, j, 1.0), vlr::kSprOk);
  const int64_t maxsize = vlr::VLR_sprmat_getmaxsize(mat);
  EXPECT_EQ(vlr::VLR_sprmat_putmaxsize(mat, maxsize), vlr::kSprOk);
  EXPECT_EQ(vlr::VLR_sprmat_getmaxsize(mat), maxsize);
  EXPECT_EQ(vlr::VLR_sprmat_putmaxsize(mat, 5), vlr::kSprMaxsizeSmall);
  // Growing the row capacity past both keeps the content.
  ASSERT_EQ(vlr::VLR_sprmat_putmaxnumrow(mat, 50), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_appendrows(mat, 40), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_putaij(mat, 43, 5, 2.0), vlr::kSprOk);
  Dense d(44, 6);
  for (int32_t j = 0; j < 6; ++j)
    d.at(j % 4, j) = 1.0;
  d.at(43, 5) = 2.0;
  ExpectEqual(mat, d, false);
  ExpectEqual(mat, d, true);
  vlr::VLR_sprmat_delete(&mat);
}

TEST_F(SprmatTest, VectorsAreReplacedAppendedDeletedAndPermuted) {
  sprmat* mat = nullptr;
  ASSERT_EQ(vlr::VLR_sprmat_make(sys_, 5, 4, &mat), vlr::kSprOk);
  vlr::VLR_sprmat_appendrows(mat, 5);
  vlr::VLR_sprmat_appendcols(mat, 4);
  Dense d(5, 4);
  for (int32_t j = 0; j < 4; ++j) {
    const int32_t sub[3] = {0, 2, 4};
    const double val[3] = {1.0 + j, 0.0, 3.0 + j};  // the zero is dropped
    ASSERT_EQ(vlr::VLR_sprmat_putcolj(mat, j, 3, sub, val), vlr::kSprOk);
    d.at(0, j) = 1.0 + j;
    d.at(4, j) = 3.0 + j;
  }
  {
    const int32_t sub[2] = {3, 1};
    const double dense[4] = {0.0, 7.0, 0.0, 8.0};
    const int32_t before = vlr::VLR_sprmat_getnumtransposes(mat);
    ASSERT_EQ(vlr::VLR_sprmat_gatherrowi(mat, 4, 2, sub, dense), vlr::kSprOk);
    EXPECT_EQ(vlr::VLR_sprmat_getnumtransposes(mat), before + 1);
    for (int32_t j = 0; j < 4; ++j)
      d.at(4, j) = dense[j];
  }
  ExpectEqual(mat, d, true);
  const int32_t delcols[1] = {1};
  ASSERT_EQ(vlr::VLR_sprmat_deletecols(mat, 1, delcols), vlr::kSprOk);
  EXPECT_EQ(vlr::VLR_sprmat_getnumcol(mat), 3);
  Dense d2(5, 3);
  for (int32_t i = 0; i < 5; ++i) {
    d2.at(i, 0) = d.at(i, 0);
    d2.at(i, 1) = d.at(i, 2);
    d2.at(i, 2) = d.at(i, 3);
  }
  ExpectEqual(mat, d2, false);
  // Rows 0..4 go to 2, gone, 0, gone, 1.
  const int32_t perm[5] = {2, -1, 0, -1, 1};
  ASSERT_EQ(vlr::VLR_sprmat_makereadyforpermute(mat), vlr::kSprOk);
  ASSERT_EQ(vlr::VLR_sprmat_permuteandremoverows(mat, perm, 3), vlr::kSprOk);
  Dense d3(3, 3);
  for (int32_t j = 0; j < 3; ++j) {
    d3.at(2, j) = d2.at(0, j);
    d3.at(0, j) = d2.at(2, j);
    d3.at(1, j) = d2.at(4, j);
  }
  ExpectEqual(mat, d3, true);
  const int32_t delrows[2] = {0, 2};
  ASSERT_EQ(vlr::VLR_sprmat_deleterows(mat, 2, delrows), vlr::kSprOk);
  Dense d4(1, 3);
  for (int32_t j = 0; j < 3; ++j)
    d4.at(0, j) = d3.at(1, j);
  ExpectEqual(mat, d4, false);
  vlr::VLR_sprmat_checka(VLR_HERE, mat);
  vlr::VLR_sprmat_delete(&mat);
}

TEST_F(SprmatTest, SlicesFillFromTheSurplusAndLendingLocks) {
  sprmat* mat = nullptr;
  ASSERT_EQ(vlr::VLR_sprmat_make(sys_, 3, 3, &mat), vlr::kSprOk);
  vlr::VLR_sprmat_appendrows(mat, 3);
  vlr::VLR_sprmat_appendcols(mat, 3);
  for (int32_t i = 0; i < 3; ++i)
    for (int32_t j = 0; j <= i; ++j)
      vlr::VLR_sprmat_putaij(mat, i, j, 10.0 * i + j + 1);
  int64_t ptrb[3], ptre[3], surplus = 10;
  int32_t sub[10];
  double val[10];
  ASSERT_EQ(vlr::VLR_sprmat_getrowslice(mat, 1, 3, 10, &surplus, ptrb, ptre, sub, val),
            vlr::kSprOk);
  EXPECT_EQ(surplus, 5);
  EXPECT_EQ(ptrb[0], 0);
  EXPECT_EQ(ptre[1], 5);
  EXPECT_EQ(vlr::VLR_sprmat_getrowslice(mat, 0, 3, 10, &surplus, ptrb, ptre, sub, val),
            vlr::kSprSurplus);
  int32_t si[6], sj[6];
  surplus = 6;
  ASSERT_EQ(vlr::VLR_sprmat_getcolslicetrip(mat, 0, 3, 6, &surplus, si, sj, val), vlr::kSprOk);
  for (int32_t k = 0; k < 6; ++k)
    EXPECT_EQ(val[k], 10.0 * si[k] + sj[k] + 1);
  int64_t *pb, *pe;
  int32_t* ps;
  double* pv;
  ASSERT_EQ(vlr::VLR_sprmat_getacolwise(mat, &pb, &pe, &ps, &pv), vlr::kSprOk);
  EXPECT_EQ(vlr::VLR_sprmat_islocked(mat), 1);
  EXPECT_EQ(mat->stomode, 1);
  pv[pb[0]] *= 2;  // the borrower may change values in place
  vlr::VLR_sprmat_puta(mat, 1, pb, pe, ps, pv);
  EXPECT_EQ(vlr::VLR_sprmat_islocked(mat), 0);
  int64_t piece = 0;
  ASSERT_EQ(vlr::VLR_sprmat_getpiecesize(mat, 1, 3, 0, 1, &piece), vlr::kSprOk);
  EXPECT_EQ(piece, 2);
  vlr::VLR_sprmat_delete(&mat);
}

// Each allocation inside a transpose, a rebuild or a flush fails in turn: the call reports
// kSprNoSpace and the matrix reads as before.
TEST_F(SprmatTest, FailedAllocationsLeaveTheContentWhole) {
  const int32_t m = 9, n = 7;
  for (int64_t k = 0;; ++k) {
    g_left = -1;
    sprmat* mat = nullptr;
    ASSERT_EQ(vlr::VLR_sprmat_make(sys_, m, n, &mat), vlr::kSprOk);
    vlr::VLR_sprmat_appendrows(mat, m);
    vlr::VLR_sprmat_appendcols(mat, n);
    Dense d(m, n);
    std::mt19937 rng(3);
    int32_t failures = 0;
    g_left = k;
    for (int32_t t = 0; t < 200; ++t) {
      const int32_t i = int32_t(rng() % m), j = int32_t(rng() % n);
      const double x = double(rng() % 5);
      const int32_t r = vlr::VLR_sprmat_putaij(mat, i, j, x);
      if (r == vlr::kSprOk) {
        d.at(i, j) = x;
      } else {
        EXPECT_EQ(r, vlr::kSprNoSpace);
        ++failures;
      }
      if (t % 50 == 49) {
        int32_t nz = 0;
        const int32_t r2 = vlr::VLR_sprmat_getrownzi(mat, 0, &nz);
        failures += r2 != vlr::kSprOk;
      }
    }
    g_left = -1;
    ExpectEqual(mat, d, k % 2 == 0);
    vlr::VLR_sprmat_checka(VLR_HERE, mat);
    vlr::VLR_sprmat_delete(&mat);
    if (failures == 0) break;
  }
}

// ---- spmat ------------------------------------------------------------------------------------

// A random list with vectors as columns of an vlen x nvec dense matrix.
spmat* RandomSpmat(vlr::SysEnv* sys, int32_t nvec, int32_t vlen, Dense& d, uint32_t seed) {
  spmat* a = vlr::VLR_spmat_make(sys, nvec, vlen);
  EXPECT_NE(a, nullptr);
  EXPECT_EQ(vlr::VLR_spmat_ialloc(a, int64_t(nvec) * vlen + 5), 1);
  a->nvec = nvec;
  a->vlen = vlen;
  std::mt19937 rng(seed);
  int64_t pos = 0;
  for (int32_t v = 0; v < nvec; ++v) {
    a->ptrb[v] = pos;
    for (int32_t w = vlen - 1; w >= 0; --w) {  // descending, so that sorting has work to do
      if (rng() % 3 != 0) continue;
      const double x = 1.0 + double(rng() % 9);
      a->sub[pos] = w;
      a->val[pos] = x;
      d.at(w, v) = x;
      ++pos;
    }
    a->ptre[v] = pos;
  }
  a->ffree = pos;
  return a;
}

TEST_F(SprmatTest, SpmatTransposeSortAndProductsMatchDense) {
  const int32_t nvec = 8, vlen = 11;
  Dense d(vlen, nvec);
  spmat* a = RandomSpmat(sys_, nvec, vlen, d, 11);
  vlr::VLR_spmat_check(VLR_HERE, a);
  spmat* at = nullptr;
  ASSERT_EQ(vlr::VLR_spmat_transpose(a, nullptr, &at), 1);
  ASSERT_EQ(at->nvec, vlen);
  for (int32_t w = 0; w < vlen; ++w) {
    std::vector<double> row(nvec, 0.0);
    vlr::VLR_spmat_sctri(at, w, row.data());
    for (int32_t v = 0; v < nvec; ++v)
      EXPECT_EQ(row[size_t(v)], d.at(w, v));
    for (int64_t k = at->ptrb[w] + 1; k < at->ptre[w]; ++k)
      EXPECT_LT(at->sub[k - 1], at->sub[k]);
  }
  ASSERT_EQ(vlr::VLR_spmat_sortvecs(a), 1);
  for (int32_t v = 0; v < nvec; ++v)
    for (int64_t k = a->ptrb[v] + 1; k < a->ptre[v]; ++k)
      EXPECT_LT(a->sub[k - 1], a->sub[k]);
  std::vector<double> x(nvec), y(vlen, 1.0), yt(nvec, 2.0), xt(vlen);
  for (int32_t v = 0; v < nvec; ++v)
    x[size_t(v)] = v - 3.0;
  for (int32_t w = 0; w < vlen; ++w)
    xt[size_t(w)] = 0.5 * w;
  vlr::VLR_spmat_gemv(a, 0, 2.0, x.data(), 3.0, y.data());
  vlr::VLR_spmat_gemv(a, 1, -1.0, xt.data(), 0.0, yt.data());
  for (int32_t w = 0; w < vlen; ++w) {
    double s = 3.0;
    for (int32_t v = 0; v < nvec; ++v)
      s += 2.0 * d.at(w, v) * x[size_t(v)];
    EXPECT_DOUBLE_EQ(y[size_t(w)], s);
  }
  double maxabs = 0;
  for (int32_t v = 0; v < nvec; ++v) {
    double s = 0, n1 = 0, n2 = 0;
    for (int32_t w = 0; w < vlen; ++w) {
      s -= d.at(w, v) * xt[size_t(w)];
      n1 += d.at(w, v);
      n2 += d.at(w, v) * d.at(w, v);
      maxabs = std::max(maxabs, d.at(w, v));
    }
    EXPECT_DOUBLE_EQ(yt[size_t(v)], s);
    EXPECT_DOUBLE_EQ(vlr::VLR_spmat_nrm1i(a, v), n1);
    EXPECT_DOUBLE_EQ(vlr::VLR_spmat_sqnrm2i(a, v), n2);
  }
  EXPECT_EQ(vlr::VLR_spmat_nrminfinity(a), maxabs);
  vlr::VLR_spmat_delete(&at);
  vlr::VLR_spmat_delete(&a);
}

TEST_F(SprmatTest, SpmatResizeCopyCompressAndRestore) {
  const int32_t nvec = 6, vlen = 9;
  Dense d(vlen, nvec);
  spmat* a = RandomSpmat(sys_, nvec, vlen, d, 5);
  // A shrink stays in place, and so does growth of the vector that ends the pool; any other
  // growth moves the vector to the free end, and growth past the pool changes nothing.
  const int64_t b2 = a->ptrb[2], len2 = a->ptre[2] - a->ptrb[2];
  ASSERT_GT(len2, 0);
  ASSERT_EQ(vlr::VLR_spmat_vresize(a, 2, len2 - 1), 1);
  EXPECT_EQ(a->ptrb[2], b2);
  const int64_t blast = a->ptrb[nvec - 1], lenlast = a->ptre[nvec - 1] - blast;
  ASSERT_EQ(vlr::VLR_spmat_vresize(a, nvec - 1, lenlast + 2), 1);
  EXPECT_EQ(a->ptrb[nvec - 1], blast);
  ASSERT_EQ(vlr::VLR_spmat_vresize(a, nvec - 1, lenlast), 1);
  EXPECT_EQ(vlr::VLR_spmat_vresize(a, 2, a->maxmaxsze), 0);
  EXPECT_EQ(a->ptrb[2], b2);
  ASSERT_EQ(vlr::VLR_spmat_vresize(a, 2, len2), 1);
  EXPECT_EQ(a->ptrb[2], a->ffree - len2);
  EXPECT_EQ(a->sub[a->ptrb[2]], a->sub[b2]);
  a->ptre[2] = a->ptrb[2] + len2 - 1;  // the last position was never written: drop it
  for (int32_t w = 0; w < vlen; ++w)
    d.at(w, 2) = 0.0;
  for (int64_t k = a->ptrb[2]; k < a->ptre[2]; ++k)
    d.at(a->sub[k], 2) = a->val[k];
  spmat* c = vlr::VLR_spmat_copy(a, 3);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(vlr::VLR_spmat_getnz(c), vlr::VLR_spmat_getnz(a));
  EXPECT_EQ(c->maxmaxsze, vlr::VLR_spmat_getnz(a) + 3);
  // Keep vectors 4, 1, 3 (in that order) and the indices 8, 0..3 renumbered.
  const int32_t vecperm[nvec] = {-1, 1, 5, 2, 0, 4};
  const int32_t indperm[vlen] = {1, 2, 3, 4, 6, 7, 8, 5, 0};
  vlr::SpmatSaved* saved = nullptr;
  ASSERT_EQ(vlr::VLR_spmat_compress(c, 3, 5, vecperm, indperm, &saved), 1);
  EXPECT_EQ(c->nvec, 3);
  EXPECT_EQ(c->vlen, 5);
  vlr::VLR_spmat_check(VLR_HERE, c);
  for (int32_t v = 0; v < nvec; ++v) {
    if (vecperm[v] < 0 || vecperm[v] >= 3) continue;
    std::vector<double> col(5, 0.0);
    vlr::VLR_spmat_sctri(c, vecperm[v], col.data());
    for (int32_t w = 0; w < vlen; ++w) {
      if (indperm[w] < 5) {
        EXPECT_EQ(col[size_t(indperm[w])], d.at(w, v));
      }
    }
  }
  vlr::VLR_spmat_uncompress(c, &saved);
  EXPECT_EQ(saved, nullptr);
  vlr::VLR_spmat_check(VLR_HERE, c);
  for (int32_t v = 0; v < nvec; ++v) {
    std::vector<double> col(vlen, 0.0);
    vlr::VLR_spmat_sctri(c, v, col.data());
    for (int32_t w = 0; w < vlen; ++w)
      EXPECT_EQ(col[size_t(w)], d.at(w, v)) << v << " " << w;
  }
  vlr::VLR_spmat_pack(c, 3, 5, vecperm, indperm);
  EXPECT_EQ(c->nvec, 3);
  vlr::VLR_spmat_delete(&c);
  vlr::VLR_spmat_delete(&a);
}

}  // namespace
