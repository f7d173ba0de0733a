// tests/kfac/chfactor_test.cpp: the supernodal LDL' of quasi-definite matrices: the factor
// against the matrix, solves, pivot replacement, the orderings behind it, and allocation failure.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "failalloc.h"
#include "kfac/kfac.h"
#include "kfac/sfkdat.h"
#include "velor.h"

namespace {

// A symmetric matrix by columns; an entry (i, j) stands for (j, i) too. sign[i] is the sign
// its pivot must have (+1, -1, 0 for none).
struct SymMat {
  int32_t n = 0;
  std::vector<int64_t> beg{0};
  std::vector<int32_t> sub;
  std::vector<double> val;
  std::vector<int32_t> sign;
  double at(int32_t i, int32_t j) const {  // by summing: slow, for small checks
    double s = 0.0;
    for (int32_t c : {i, j}) {
      const int32_t r = c == i ? j : i;
      for (int64_t k = beg[c]; k < beg[c + 1]; ++k)
        if (sub[k] == r && (c == j || i != j)) s += val[k];
    }
    return s;
  }
};

// Dense column-major copy of a SymMat.
std::vector<double> Dense(const SymMat& a) {
  std::vector<double> d(size_t(a.n) * a.n, 0.0);
  for (int32_t j = 0; j < a.n; ++j) {
    for (int64_t k = a.beg[j]; k < a.beg[j + 1]; ++k) {
      const int32_t i = a.sub[k];
      d[i + size_t(j) * a.n] += a.val[k];
      if (i != j) d[j + size_t(i) * a.n] += a.val[k];
    }
  }
  return d;
}

// [P B'; B -N] with P and N diagonally dominant over np and nn rows, coupling density rho, and
// ndense rows of B that touch every column of P. Entries go to either triangle at random.
SymMat QuasiDefinite(std::mt19937* rng, int32_t np, int32_t nn, double rho, int32_t ndense) {
  const int32_t n = np + nn;
  std::uniform_real_distribution<double> u(-1.0, 1.0), z(0.0, 1.0);
  std::vector<std::vector<std::pair<int32_t, double>>> cols(n);
  std::vector<double> rowsum(n, 0.0);
  auto put = [&](int32_t i, int32_t j, double v) {
    if (z(*rng) < 0.5) std::swap(i, j);
    cols[j].push_back({i, v});
    rowsum[i] += std::fabs(v);
    rowsum[j] += std::fabs(v);
  };
  for (int32_t j = 0; j < n; ++j)
    for (int32_t i = j + 1; i < n; ++i)
      if (z(*rng) < rho) put(i, j, u(*rng));
  for (int32_t d = 0; d < ndense; ++d) {
    const int32_t r = np + d % std::max(nn, 1);
    for (int32_t j = 0; j < np; ++j)
      put(r, j, u(*rng));
  }
  SymMat a;
  a.n = n;
  for (int32_t j = 0; j < n; ++j) {
    const double dj = (rowsum[j] + 1.0) * (1.0 + z(*rng));
    cols[j].push_back({j, j < np ? dj : -dj});
    for (auto [i, v] : cols[j])
      a.sub.push_back(i), a.val.push_back(v);
    a.beg.push_back(static_cast<int64_t>(a.sub.size()));
    a.sign.push_back(j < np ? 1 : -1);
  }
  return a;
}

class SfkTest : public ::testing::Test {
 protected:
  void SetUp() override { sys_ = vlr::VLR_sysenv_make(0, 0, nullptr, nullptr, nullptr); }
  void TearDown() override {
    vlr::VLR_sfk_destroy(&obj_);
    EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), vlr::kSysOk);
  }
  // Orders, analyses and factors a, with the sign flags of a.sign.
  void Factor(const SymMat& a, int32_t method = VLR_ORDER_METHOD_APPMINLOC2) {
    vlr::VLR_sfk_destroy(&obj_);
    ASSERT_EQ(vlr::VLR_sfk_create(sys_, a.n, 1, &obj_), vlr::kSfkOk);
    ASSERT_EQ(vlr::VLR_sfk_inasub(obj_, a.beg.data(), a.sub.data()), vlr::kSfkOk);
    ASSERT_EQ(vlr::VLR_sfk_order(obj_, 0.25, 0.25, method, 0, nullptr, nullptr), vlr::kSfkOk);
    ASSERT_EQ(vlr::VLR_sfk_setupL(obj_), vlr::kSfkOk);
    for (int32_t i = 0; i < a.n; ++i) {
      const uint16_t t = a.sign[i] > 0 ? 0x88 : a.sign[i] < 0 ? 0x02 : 0;
      vlr::VLR_sfk_putdtype(obj_, i, t);
    }
    ASSERT_EQ(vlr::VLR_sfk_inaval(obj_, a.val.data()), vlr::kSfkOk);
    ASSERT_EQ(vlr::VLR_ch_calfac(obj_), vlr::kSfkOk);
  }
  // max |L D L' - P A P'| / max |A| over the lower triangle, from the supernodes' blocks.
  double FactorError(const SymMat& a) const {
    const int32_t n = a.n;
    std::vector<double> l(size_t(n) * n, 0.0);
    for (int32_t s = 0; s < obj_->nsuper; ++s) {
      const int32_t f = obj_->super[s], k = obj_->super[s + 1] - f;
      const int32_t m = static_cast<int32_t>(obj_->lpi[s + 1] - obj_->lpi[s]);
      for (int32_t j = 0; j < k; ++j)
        for (int32_t i = j; i < m; ++i)
          l[obj_->ls[obj_->lpi[s] + i] + size_t(f + j) * n] =
              obj_->lx[obj_->lpx[s] + int64_t{j} * m + i];
    }
    const std::vector<double> d = Dense(a);
    double amax = 0.0, err = 0.0;
    for (double v : d)
      amax = std::max(amax, std::fabs(v));
    for (int32_t j = 0; j < n; ++j) {
      for (int32_t i = j; i < n; ++i) {
        double s = 0.0;
        for (int32_t t = 0; t <= j; ++t)
          s += l[i + size_t(t) * n] * obj_->diag[t] * l[j + size_t(t) * n];
        const double aij = d[obj_->perm[i] + size_t(obj_->perm[j]) * n];
        err = std::max(err, std::fabs(s - aij));
      }
    }
    return err / std::max(amax, 1e-300);
  }
  // Relative residual of a solve with a random right-hand side.
  double SolveResidual(const SymMat& a, std::mt19937* rng) const {
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> b(a.n), x(a.n), r(a.n);
    for (double& v : b)
      v = u(*rng);
    x = b;
    vlr::VLR_sfk_solve(obj_, x.data());
    r = b;
    double anorm = 0.0, xnorm = 0.0, bnorm = 0.0, rnorm = 0.0;
    for (int32_t j = 0; j < a.n; ++j) {
      for (int64_t k = a.beg[j]; k < a.beg[j + 1]; ++k) {
        const int32_t i = a.sub[k];
        r[i] -= a.val[k] * x[j];
        if (i != j) r[j] -= a.val[k] * x[i];
        anorm = std::max(anorm, std::fabs(a.val[k]));
      }
    }
    for (int32_t i = 0; i < a.n; ++i) {
      xnorm = std::max(xnorm, std::fabs(x[i]));
      bnorm = std::max(bnorm, std::fabs(b[i]));
      rnorm = std::max(rnorm, std::fabs(r[i]));
    }
    return rnorm / (anorm * xnorm + bnorm);
  }
  vlr::SysEnv* sys_ = nullptr;
  vlr::sfk* obj_ = nullptr;
};

TEST_F(SfkTest, QuasiDefiniteFactorsReproduceTheMatrixAndSolve) {
  std::mt19937 rng(17);
  struct Case {
    int32_t np, nn;
    double rho;
    int32_t ndense;
  } cases[] = {{30, 0, 0.1, 0},   {0, 25, 0.2, 0},      {60, 40, 0.03, 0}, {120, 50, 0.01, 2},
               {80, 80, 0.05, 1}, {200, 100, 0.005, 3}, {5, 1, 0.5, 1},    {150, 20, 0.3, 0}};
  for (const Case& c : cases) {
    const SymMat a = QuasiDefinite(&rng, c.np, c.nn, c.rho, c.ndense);
    Factor(a);
    EXPECT_LT(FactorError(a), 1e-12) << c.np << "+" << c.nn;
    EXPECT_LT(SolveResidual(a, &rng), 1e-10) << c.np << "+" << c.nn;
    EXPECT_EQ(vlr::VLR_sfk_num_RDEF(obj_), 0);
    for (int32_t k = 0; k < a.n; ++k)  // a quasi-definite matrix's pivots keep their signs
      EXPECT_EQ(obj_->diag[k] > 0.0 ? 1 : -1, a.sign[obj_->perm[k]]);
    // Amalgamation only adds stored zeros to the exact fill of the ordering.
    EXPECT_GE(vlr::VLR_sfk_getnnzL(obj_), vlr::VLR_sfk_getorinfo(obj_).lsize);
  }
}

// One supernode of width 63 goes by columns, 64 and 65 in blocks; a diagonal matrix is n
// supernodes of one column; an empty matrix is nothing.
TEST_F(SfkTest, DenseDiagonalAndEmptyEdges) {
  std::mt19937 rng(2);
  for (int32_t n : {63, 64, 65, 130}) {
    const SymMat a = QuasiDefinite(&rng, n - n / 3, n / 3, 1.0, 0);
    Factor(a);
    EXPECT_EQ(vlr::VLR_sfk_getnsuper(obj_), 1);
    EXPECT_EQ(vlr::VLR_sfk_getndense(obj_), n);
    EXPECT_LT(FactorError(a), 1e-12) << n;
    EXPECT_LT(SolveResidual(a, &rng), 1e-10) << n;
  }
  const SymMat diag = QuasiDefinite(&rng, 7, 3, 0.0, 0);
  Factor(diag);
  EXPECT_EQ(vlr::VLR_sfk_getnnzL(obj_), 10);
  EXPECT_EQ(vlr::VLR_sfk_getorinfo(obj_).lsize, 100);  // no edges: the natural order
  EXPECT_LT(SolveResidual(diag, &rng), 1e-14);
  Factor(SymMat{});
  EXPECT_EQ(vlr::VLR_sfk_getnnzL(obj_), 0);
}

// A larger sparse matrix, where supernodes meet many descendants and the kernel's packed path.
TEST_F(SfkTest, GridWithDenseRowFactorsToRoundOff) {
  std::mt19937 rng(8);
  SymMat a;
  const int32_t nx = 18, n = nx * nx + 1;
  a.n = n;
  for (int32_t j = 0; j < n; ++j) {
    a.sub.push_back(j), a.val.push_back(j < n - 1 ? 4.5 : 2.0 * n);
    if (j < n - 1) {
      if ((j + 1) % nx != 0) a.sub.push_back(j + 1), a.val.push_back(-1.0);
      if (j + nx < n - 1) a.sub.push_back(j + nx), a.val.push_back(-1.0);
      a.sub.push_back(n - 1), a.val.push_back(0.25);  // the dense row
    }
    a.beg.push_back(static_cast<int64_t>(a.sub.size()));
    a.sign.push_back(1);
  }
  Factor(a);
  EXPECT_LT(FactorError(a), 1e-12);
  EXPECT_LT(SolveResidual(a, &rng), 1e-10);
  EXPECT_EQ(obj_->perm[n - 1], n - 1);  // the dense row goes last
}

// Zero and tiny pivots are replaced with the sign their block asks for and flagged; a good
// pivot clears earlier flags.
TEST_F(SfkTest, BadPivotsAreReplacedWithTheirBlocksSign) {
  SymMat a;
  a.n = 6;
  // 0: positive, zero. 1: negative, zero. 2: positive, 1e-20. 3, 4: positive, [1 1; 1 1] makes
  // the second pivot zero after the update. 5: positive and good, flagged from before.
  a.sub = {0, 1, 2, 3, 4, 4, 5};
  a.val = {0.0, 0.0, 1e-20, 1.0, 1.0, 1.0, 3.0};
  a.beg = {0, 1, 2, 3, 5, 6, 7};
  a.sign = {1, -1, 1, 1, 1, 1};
  ASSERT_EQ(vlr::VLR_sfk_create(sys_, a.n, 1, &obj_), vlr::kSfkOk);
  ASSERT_EQ(vlr::VLR_sfk_inasub(obj_, a.beg.data(), a.sub.data()), vlr::kSfkOk);
  const int32_t natural[] = {0, 1, 2, 3, 4, 5};
  ASSERT_EQ(vlr::VLR_sfk_useperm(obj_, natural), vlr::kSfkOk);
  ASSERT_EQ(vlr::VLR_sfk_setupL(obj_), vlr::kSfkOk);
  for (int32_t i = 0; i < a.n; ++i)
    vlr::VLR_sfk_putdtype(obj_, i, a.sign[i] > 0 ? 0x88 : 0x02);
  vlr::VLR_sfk_adddtype(obj_, 5, 0x110);
  ASSERT_EQ(vlr::VLR_sfk_inaval(obj_, a.val.data()), vlr::kSfkOk);
  ASSERT_EQ(vlr::VLR_ch_calfac(obj_), vlr::kSfkOk);
  const double* d = vlr::VLR_sfk_getdiag(obj_);
  const int32_t p[] = {obj_->invperm[0], obj_->invperm[1], obj_->invperm[2], obj_->invperm[4]};
  EXPECT_GT(d[p[0]], 0.0);
  EXPECT_LT(d[p[1]], 0.0);
  EXPECT_GT(d[p[2]], 0.0);
  EXPECT_GT(d[p[3]], 0.0);
  for (int32_t i : {0, 1, 2, 4})
    EXPECT_EQ(vlr::VLR_sfk_getdtype(obj_, i) & 0x100, 0x100) << i;
  EXPECT_EQ(vlr::VLR_sfk_getdtype(obj_, 3) & 0x100, 0);
  EXPECT_EQ(vlr::VLR_sfk_getdtype(obj_, 5), 0x88);  // a good pivot clears 0x110
  EXPECT_EQ(vlr::VLR_sfk_num_RDEF(obj_), 4);
  EXPECT_DOUBLE_EQ(d[obj_->invperm[5]], 3.0);
}

TEST_F(SfkTest, EveryOrderMethodGivesAPermutationAndItsFill) {
  std::mt19937 rng(23);
  const SymMat a = QuasiDefinite(&rng, 150, 60, 0.02, 1);
  std::vector<int32_t> iwork(a.n);
  for (int32_t method = 0; method <= 5; ++method) {
    Factor(a, method);
    ASSERT_EQ(vlr::VLR_perm_check(a.n, vlr::VLR_sfk_getp(obj_), iwork.data()), 1) << method;
    for (int32_t k = 0; k < a.n; ++k)
      ASSERT_EQ(vlr::VLR_sfk_getinvp(obj_)[vlr::VLR_sfk_getp(obj_)[k]], k);
    EXPECT_LT(FactorError(a), 1e-12) << method;
    const vlr::OrderCount c = vlr::VLR_sfk_getorinfo(obj_);
    if (method == VLR_ORDER_METHOD_NONE) {
      EXPECT_EQ(c.lsize, 100);
      EXPECT_EQ(c.flops, 100.0);
    } else if (method != VLR_ORDER_METHOD_GRAPHPAR2) {
      // The analysis refined the order to a postorder, which keeps the fill.
      std::vector<int32_t> len(a.n);
      for (int32_t j = 0; j < a.n; ++j)
        len[j] = static_cast<int32_t>(a.beg[j + 1] - a.beg[j]);
      vlr::OrderCount sym{};
      ASSERT_EQ(vlr::VLR_ordmat_symcount(sys_, {a.n, len.data(), a.beg.data(), a.sub.data()},
                                         vlr::VLR_sfk_getp(obj_), nullptr, nullptr, &sym),
                0);
      EXPECT_EQ(c.lsize, sym.lsize) << method;
      EXPECT_EQ(c.flops, sym.flops) << method;
    }
  }
  // GRAPHPAR2 without its flag leaves the permutation in place.
  std::vector<int32_t> rev(a.n);
  for (int32_t k = 0; k < a.n; ++k)
    rev[k] = a.n - 1 - k;
  ASSERT_EQ(vlr::VLR_sfk_useperm(obj_, rev.data()), vlr::kSfkOk);
  ASSERT_EQ(vlr::VLR_sfk_order(obj_, 0.25, 0.25, VLR_ORDER_METHOD_GRAPHPAR2, 0, nullptr, nullptr),
            vlr::kSfkOk);
  EXPECT_EQ(vlr::VLR_sfk_getp(obj_)[0], a.n - 1);
}

TEST_F(SfkTest, BadInputIsRefused) {
  ASSERT_EQ(vlr::VLR_sfk_create(sys_, 3, 1, &obj_), vlr::kSfkOk);
  const int64_t beg[] = {0, 1, 2, 3};
  const int32_t sub[] = {0, 3, 2};
  EXPECT_EQ(vlr::VLR_sfk_inasub(obj_, beg, sub), vlr::kSfkBadInput);
  EXPECT_EQ(vlr::VLR_sfk_setupL(obj_), vlr::kSfkBadInput);
  const int32_t ok[] = {0, 1, 2};
  ASSERT_EQ(vlr::VLR_sfk_inasub(obj_, beg, ok), vlr::kSfkOk);
  const int32_t twice[] = {0, 0, 2};
  EXPECT_EQ(vlr::VLR_sfk_useperm(obj_, twice), vlr::kSfkBadInput);
  EXPECT_EQ(vlr::VLR_ch_calfac(obj_), vlr::kSfkBadInput);
}

using vlrtest::FailAlloc;
using vlrtest::FailFree;
using vlrtest::FailMalloc;

// Every allocation of create, pattern, ordering, analysis and factor fails once in turn: the
// step reports no space, a retry of that step succeeds, and nothing is left after destroy.
TEST(SfkMemfail, EveryFailedAllocationIsNoSpaceWithNothingLeft) {
  FailAlloc fa;
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 10, &fa, FailMalloc, FailFree);
  ASSERT_NE(sys, nullptr);
  std::mt19937 rng(5);
  const SymMat a = QuasiDefinite(&rng, 90, 40, 0.04, 1);
  const int64_t base = vlr::VLR_sysenv_numblocks(sys);
  int64_t k = 0;
  for (;; ++k) {
    fa.calls = 0, fa.failat = k;
    vlr::sfk* obj = nullptr;
    int32_t r = vlr::VLR_sfk_create(sys, a.n, 1, &obj);
    int32_t failed = r;
    auto step = [&](auto call) {
      if (r != vlr::kSfkOk) return;
      r = call();
      if (r == vlr::kSfkOk) return;
      failed = r;
      fa.failat = -1;  // the retry must pass
      r = call();
      EXPECT_EQ(r, vlr::kSfkOk);
    };
    if (r != vlr::kSfkOk) {
      EXPECT_EQ(obj, nullptr);
    }
    step([&] { return vlr::VLR_sfk_inasub(obj, a.beg.data(), a.sub.data()); });
    step([&] { return vlr::VLR_sfk_order(obj, 0.25, 0.25, 0, 0, nullptr, nullptr); });
    step([&] { return vlr::VLR_sfk_setupL(obj); });
    step([&] { return vlr::VLR_sfk_inaval(obj, a.val.data()); });
    step([&] { return vlr::VLR_ch_calfac(obj); });
    fa.failat = -1;
    vlr::VLR_sfk_destroy(&obj);
    EXPECT_EQ(vlr::VLR_sysenv_numblocks(sys), base) << "k = " << k;
    if (failed == vlr::kSfkOk) break;
    EXPECT_EQ(failed, vlr::kSfkNoSpace) << "k = " << k;
  }
  EXPECT_GT(k, 15);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysOk);
}

}  // namespace
