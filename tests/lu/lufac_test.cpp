// tests/lu/lufac_test.cpp: factor and solves against a dense reference, singular bases, a full
// work area, and the parameters that change what the factor does.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "lu/lutestutil.h"

namespace {

using lutest::DenseLu;
using lutest::Harness;
using lutest::RelErr;
using lutest::Shape;
using lutest::SpMat;

struct Case {
  const char* name;
  Shape shape;
  int32_t n, per, method;
};

class LufacSolves : public ::testing::TestWithParam<Case> {};

// Every solve (dense and sparse, forward and transposed) agrees with a dense LU of the basis,
// for sparse, dense and unit right-hand sides. After a run of dense right-hand sides the sparse
// solves expect dense results and skip the search for the pattern: the sparse and unit ones
// that follow must agree just the same, and again once their own results bring the expectation
// back down.
TEST_P(LufacSolves, AgreeWithDenseReference) {
  const Case c = GetParam();
  for (uint32_t seed = 1; seed <= 3; ++seed) {
    std::mt19937 rng(seed * 7919 + c.n);
    SpMat a = lutest::MakeBasis(c.n, c.per, c.shape, rng);
    Harness h(c.n);
    vlr::VLR_lu_putpivotmethod(h.lu(), c.method);
    ASSERT_EQ(h.Factor(&a), vlr::kLuOk);
    ASSERT_EQ(vlr::VLR_lu_getrank(h.lu()), c.n);
    ASSERT_EQ(vlr::VLR_lu_isfac(h.lu()), 1);
    VLR_lu_chku(h.lu());
    DenseLu ref(a);
    const double tol = c.shape == Shape::kNearSingular ? 1e-5 : 1e-8;
    for (double density : {1.0, 0.05, 0.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 0.05, 0.0, 0.0, 0.0,
                           0.0, 0.0,  0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0,  0.0, 0.05}) {
      std::vector<double> b = lutest::RandVec(c.n, rng, density);
      if (density == 0.0) b[rng() % c.n] = 1.0;
      const std::vector<double> x = ref.solve(b);
      const std::vector<double> y = ref.tsolve(b);
      EXPECT_LT(RelErr(h.Ftran(b), x), tol) << c.name << " seed " << seed;
      EXPECT_LT(RelErr(h.Ftrans(b), x), tol) << c.name << " seed " << seed;
      EXPECT_LT(RelErr(h.Btran(b), y), tol) << c.name << " seed " << seed;
      EXPECT_LT(RelErr(h.Btrans(b), y), tol) << c.name << " seed " << seed;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, LufacSolves,
                         ::testing::Values(Case{"random", Shape::kRandom, 60, 3, 1},
                                           Case{"random2", Shape::kRandom, 60, 3, 2},
                                           Case{"randombig", Shape::kRandom, 400, 2, 1},
                                           Case{"lowertri", Shape::kLowerTriangular, 50, 4, 1},
                                           Case{"permtri", Shape::kPermutedTriangular, 80, 3, 1},
                                           Case{"permtri2", Shape::kPermutedTriangular, 80, 3, 2},
                                           Case{"densecols", Shape::kDenseColumns, 70, 2, 1},
                                           Case{"densecols2", Shape::kDenseColumns, 70, 2, 2},
                                           Case{"nearsingular", Shape::kNearSingular, 40, 3, 1},
                                           Case{"tiny", Shape::kRandom, 3, 1, 1}),
                         [](const ::testing::TestParamInfo<Case>& i) {
                           return std::string(i.param.name);
                         });

// A triangular basis is factored by the singleton passes alone: no search and no L.
TEST(Lufac, TriangularBasisNeedsNoSearchAndNoL) {
  std::mt19937 rng(5);
  SpMat a = lutest::MakeBasis(200, 4, Shape::kPermutedTriangular, rng);
  Harness h(200);
  ASSERT_EQ(h.Factor(&a), vlr::kLuOk);
  EXPECT_EQ(vlr::VLR_lu_gettaskwork(h.lu(), 13, nullptr), 0) << "search ran";
  int64_t lsze = -1, usze = -1;
  vlr::VLR_lu_getlusze(h.lu(), &lsze, &usze);
  EXPECT_EQ(lsze, 0);
  EXPECT_EQ(usze, a.nnz() - 200);
  vlr::LuInfo info{};
  vlr::VLR_lu_getinfo(h.lu(), &info);
  EXPECT_EQ(info.numtriangular, 1);
}

TEST(Lufac, EmptyMatrixIsCompleteAtOnce) {
  Harness h(0);
  SpMat a;
  a.resize(0, 0);
  ASSERT_EQ(h.Factor(&a, 10), vlr::kLuOk);
  EXPECT_EQ(vlr::VLR_lu_getrank(h.lu()), 0);
  EXPECT_EQ(vlr::VLR_lu_isfac(h.lu()), 1);
}

// A structurally singular basis and one with a column below the absolute tolerance report a
// short rank with status 0; VLR_lu_insart completes them with unit columns, and the completed
// factor solves the completed matrix.
TEST(Lufac, SingularBasisIsCompletedByUnitColumns) {
  for (int32_t variant = 0; variant < 3; ++variant) {
    std::mt19937 rng(11 + variant);
    const int32_t n = 50;
    SpMat a = lutest::MakeBasis(n, 3, Shape::kRandom, rng);
    int32_t lost = 0;
    if (variant == 0) {
      // Two empty columns and one whose only entry is below the absolute tolerance.
      for (int32_t j : {3, 17}) {
        a.idx[j].clear();
        a.val[j].clear();
      }
      a.idx[30] = {a.idx[30][0]};
      a.val[30] = {5e-12};
      lost = 3;
    } else if (variant == 1) {
      // Three columns share the pattern of two rows only.
      for (int32_t j : {5, 6, 7}) {
        a.idx[j] = {10, 20};
        a.val[j] = {lutest::RandVal(rng), lutest::RandVal(rng)};
      }
      lost = 1;
    } else {
      // A column that repeats another exactly.
      a.idx[9] = a.idx[8];
      a.val[9] = a.val[8];
      lost = 1;
    }
    for (int32_t method : {1, 2}) {
      Harness h(n);
      vlr::VLR_lu_putpivotmethod(h.lu(), method);
      ASSERT_EQ(h.Factor(&a), vlr::kLuOk);
      EXPECT_EQ(vlr::VLR_lu_getrank(h.lu()), n - lost) << "variant " << variant;
      EXPECT_EQ(vlr::VLR_lu_isfac(h.lu()), 0);
      double mind, maxd, maxl, maxu;
      EXPECT_EQ(vlr::VLR_lu_getcond2(h.lu(), &mind, &maxd, &maxl, &maxu), vlr::kLuNotComplete);
      std::vector<int32_t> map(n, -1);
      ASSERT_EQ(vlr::VLR_lu_insart(h.lu(), map.data(), n, h.iwork_.data(), -1.0), vlr::kLuOk);
      EXPECT_EQ(vlr::VLR_lu_getrank(h.lu()), n);
      EXPECT_EQ(vlr::VLR_lu_isfac(h.lu()), 1);
      VLR_lu_chku(h.lu());
      SpMat c = a;
      int32_t replaced = 0;
      for (int32_t j = 0; j < n; ++j) {
        if (map[j] == n) continue;
        ++replaced;
        c.idx[j] = {map[j]};
        c.val[j] = {-1.0};
      }
      EXPECT_EQ(replaced, lost);
      DenseLu ref(c);
      std::vector<double> b = lutest::RandVec(n, rng);
      EXPECT_LT(RelErr(h.Ftran(b), ref.solve(b)), 1e-9);
      EXPECT_LT(RelErr(h.Btrans(b), ref.tsolve(b)), 1e-9);
    }
  }
}

// Too small an area: the factor reports 12 (or 21), the proposal is larger, and the retry with
// it succeeds and solves correctly.
TEST(Lufac, WorkAreaGrowsOnFullStatusAndRetrySucceeds) {
  std::mt19937 rng(3);
  const int32_t n = 300;
  SpMat a = lutest::MakeBasis(n, 5, Shape::kDenseColumns, rng);
  Harness h(n);
  int32_t retries = 0;
  ASSERT_EQ(h.Factor(&a, static_cast<int32_t>(a.nnz() / 2), &retries), vlr::kLuOk);
  EXPECT_GT(retries, 0);
  EXPECT_EQ(vlr::VLR_lu_getrank(h.lu()), n);
  DenseLu ref(a);
  std::vector<double> b = lutest::RandVec(n, rng);
  EXPECT_LT(RelErr(h.Ftran(b), ref.solve(b)), 1e-10);

  // An area that holds the input but not the fill: the factor runs on in the drop modes, gives
  // the right rank with 12, and the proposal covers what was dropped.
  Harness h2(n);
  VLR_lu_newwsze(h2.lu(), static_cast<int32_t>(a.nnz() * 2 + 50));
  vlr::VLR_lu_putgeta(h2.lu(), &a, lutest::GetaFromSpMat);
  vlr::VLR_lu_init(h2.lu());
  const int32_t r =
      vlr::VLR_lu_factor(h2.lu(), static_cast<int32_t>(h2.iwork_.size()), h2.iwork_.data(),
                         static_cast<int32_t>(h2.rwork_.size()), h2.rwork_.data());
  if (r == vlr::kLuWorkAreaFull) {
    EXPECT_EQ(vlr::VLR_lu_getrank(h2.lu()), n);
  }
  EXPECT_TRUE(r == vlr::kLuOk || r == vlr::kLuWorkAreaFull || r == vlr::kLuTooManyGarCols);
}

// Entries appended one by one (unordered, with duplicates summed) factor like the same matrix
// given by columns.
TEST(Lufac, EntryInputMatchesColumnInput) {
  std::mt19937 rng(8);
  const int32_t n = 40;
  SpMat a = lutest::MakeBasis(n, 3, Shape::kRandom, rng);
  Harness h(n);
  VLR_lu_newwsze(h.lu(), 1000);
  vlr::VLR_lu_init(h.lu());
  for (int32_t j = n - 1; j >= 0; --j) {
    for (size_t k = 0; k < a.idx[j].size(); ++k) {
      // Each entry in two halves, to exercise the summing of duplicates.
      ASSERT_EQ(vlr::VLR_lu_inaij(h.lu(), a.idx[j][k], j, a.val[j][k] * 0.25), vlr::kLuOk);
      ASSERT_EQ(vlr::VLR_lu_inaij(h.lu(), a.idx[j][k], j, a.val[j][k] * 0.75), vlr::kLuOk);
    }
  }
  EXPECT_EQ(vlr::VLR_lu_inaij(h.lu(), n, 0, 1.0), vlr::kLuIndexRange);
  ASSERT_EQ(vlr::VLR_lu_factor(h.lu(), static_cast<int32_t>(h.iwork_.size()), h.iwork_.data(),
                               static_cast<int32_t>(h.rwork_.size()), h.rwork_.data()),
            vlr::kLuOk);
  DenseLu ref(a);
  std::vector<double> b = lutest::RandVec(n, rng);
  EXPECT_LT(RelErr(h.Ftran(b), ref.solve(b)), 1e-10);
  // A full area refuses further entries.
  Harness h2(2);
  VLR_lu_newwsze(h2.lu(), 2);
  vlr::VLR_lu_init(h2.lu());
  EXPECT_EQ(vlr::VLR_lu_inaij(h2.lu(), 0, 0, 1.0), vlr::kLuOk);
  EXPECT_EQ(vlr::VLR_lu_inaij(h2.lu(), 1, 1, 1.0), vlr::kLuOk);
  EXPECT_EQ(vlr::VLR_lu_inaij(h2.lu(), 1, 0, 1.0), vlr::kLuWorkAreaFull);
  EXPECT_EQ(vlr::VLR_lu_inaij(h2.lu(), 0, 1, 1e-14), vlr::kLuOk) << "dropped, not stored";
}

TEST(Lufac, TolerancesAreClampedAndKept) {
  Harness h(4);
  vlr::VLR_lu_puttol(h.lu(), 2, 0.5);
  EXPECT_EQ(vlr::VLR_lu_gettol(h.lu(), 2), 0.5);
  vlr::VLR_lu_puttol(h.lu(), 2, 1.0);
  EXPECT_EQ(vlr::VLR_lu_gettol(h.lu(), 2), 0.9999);
  vlr::VLR_lu_puttol(h.lu(), 2, 0.0);
  EXPECT_EQ(vlr::VLR_lu_gettol(h.lu(), 2), 0.0001);
  vlr::VLR_lu_puttrh(h.lu(), 1, -5);
  EXPECT_EQ(vlr::VLR_lu_gettrh(h.lu(), 1), 0);
  int32_t is = 0, rs = 0;
  vlr::VLR_lu_getfactorspace(10, 12, &is, &rs);
  EXPECT_EQ(is, 5 * 10 + 6 * 12 + 2);
  EXPECT_EQ(rs, 10 + 2 * 12);
}

// A wide matrix (ncol > nrow) gives its rank, and the progress function can stop a factor.
TEST(Lufac, WideMatrixRankAndProgressStop) {
  std::mt19937 rng(21);
  const int32_t m = 30, n = 60;
  SpMat a;
  a.resize(m, n);
  for (int32_t j = 0; j < n; ++j) {
    for (int32_t t = 0; t < 3; ++t)
      a.add(static_cast<int32_t>(rng() % 10), j, lutest::RandVal(rng));
  }
  Harness h(m, n);
  ASSERT_EQ(h.Factor(&a), vlr::kLuOk);
  EXPECT_EQ(vlr::VLR_lu_getrank(h.lu()), 10);  // only rows 0..9 hold entries

  Harness h2(m, n);
  vlr::VLR_lu_putprogressfunc(
      h2.lu(), nullptr, [](void*, int32_t code, int32_t, int32_t) { return code == 0 ? 1 : 0; });
  EXPECT_EQ(h2.Factor(&a), vlr::kLuStopped);
}

// The one-norm estimate never exceeds the exact norm of the inverse and finds it on small
// bases.
TEST(Lufac, OneNormEstimateIsBelowAndNearTheExactNorm) {
  for (uint32_t seed = 1; seed <= 5; ++seed) {
    std::mt19937 rng(seed);
    const int32_t n = 30;
    SpMat a = lutest::MakeBasis(n, 3, Shape::kRandom, rng);
    Harness h(n);
    ASSERT_EQ(h.Factor(&a), vlr::kLuOk);
    DenseLu ref(a);
    double exact = 0.0;
    for (int32_t j = 0; j < n; ++j) {
      std::vector<double> e(n, 0.0);
      e[j] = 1.0;
      double s = 0.0;
      for (double v : ref.solve(e))
        s += std::fabs(v);
      exact = std::max(exact, s);
    }
    double est = 0.0;
    std::vector<double> w(5 * n);
    ASSERT_EQ(vlr::VLR_lu_onenormestimate(h.lu(), &est, 5 * n, w.data()), vlr::kLuOk);
    EXPECT_LE(est, exact * (1 + 1e-12));
    EXPECT_GE(est, exact * 0.3);
  }
}

}  // namespace
