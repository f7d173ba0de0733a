// tests/kfac/kktfac_test.cpp: the normal-equations solver against dense solves: sparse matrices,
// dense columns kept apart, dependent rows, regularisation, bad input and allocation failure.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "failalloc.h"
#include "kfac/kfac.h"

namespace {

struct Mat {  // m x n by columns
  int32_t m = 0, n = 0;
  std::vector<int64_t> beg{0};
  std::vector<int32_t> sub;
  std::vector<double> val;
};

// A random sparse m x n matrix with about per entries a column, every row touched, and ndense
// columns that touch every row; rep makes row m - 1 repeat row 0; the last bare rows are touched
// by the dense columns only.
Mat Random(std::mt19937* rng, int32_t m, int32_t n, int32_t per, int32_t ndense, bool rep,
           int32_t bare = 0) {
  std::uniform_real_distribution<double> u(0.5, 2.0);
  std::uniform_int_distribution<int32_t> row(0, m - 1);
  Mat a;
  a.m = m, a.n = n;
  for (int32_t j = 0; j < n; ++j) {
    std::vector<int32_t> rows;
    if (j < m) rows.push_back(j);
    if (j >= n - ndense) {
      for (int32_t i = 0; i < m; ++i)
        rows.push_back(i);
    } else {
      for (int32_t t = 0; t < per; ++t)
        rows.push_back(row(*rng));
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    if (rep) rows.erase(std::remove(rows.begin(), rows.end(), m - 1), rows.end());
    if (j < n - ndense) {
      rows.erase(std::remove_if(rows.begin(), rows.end(), [&](int32_t i) { return i >= m - bare; }),
                 rows.end());
    }
    std::shuffle(rows.begin(), rows.end(), *rng);  // columns need not be ordered
    for (int32_t i : rows) {
      const double v = (u(*rng) - 1.2) * 3.0;
      a.sub.push_back(i), a.val.push_back(v);
      if (rep && i == 0) a.sub.push_back(m - 1), a.val.push_back(v);
    }
    a.beg.push_back(static_cast<int64_t>(a.sub.size()));
  }
  return a;
}

// A D A' + regu I densely, and a solve by Gaussian elimination with partial pivoting.
std::vector<double> DenseSolve(const Mat& a, const std::vector<double>& d, double regu,
                               std::vector<double> b) {
  const int32_t m = a.m;
  std::vector<double> M(size_t(m) * m, 0.0);
  for (int32_t j = 0; j < a.n; ++j)
    for (int64_t p = a.beg[j]; p < a.beg[j + 1]; ++p)
      for (int64_t q = a.beg[j]; q < a.beg[j + 1]; ++q)
        M[a.sub[p] + size_t(a.sub[q]) * m] += a.val[p] * d[j] * a.val[q];
  for (int32_t i = 0; i < m; ++i)
    M[i + size_t(i) * m] += regu;
  for (int32_t c = 0; c < m; ++c) {
    int32_t p = c;
    for (int32_t r = c + 1; r < m; ++r)
      if (std::fabs(M[r + size_t(c) * m]) > std::fabs(M[p + size_t(c) * m])) p = r;
    for (int32_t k = 0; k < m; ++k)
      std::swap(M[c + size_t(k) * m], M[p + size_t(k) * m]);
    std::swap(b[c], b[p]);
    for (int32_t r = c + 1; r < m; ++r) {
      const double f = M[r + size_t(c) * m] / M[c + size_t(c) * m];
      for (int32_t k = c; k < m; ++k)
        M[r + size_t(k) * m] -= f * M[c + size_t(k) * m];
      b[r] -= f * b[c];
    }
  }
  for (int32_t c = m - 1; c >= 0; --c) {
    for (int32_t k = c + 1; k < m; ++k)
      b[c] -= M[c + size_t(k) * m] * b[k];
    b[c] /= M[c + size_t(c) * m];
  }
  return b;
}

class KktTest : public ::testing::Test {
 protected:
  void SetUp() override { sys_ = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr); }
  void TearDown() override {
    vlr::VLR_kktfac_delete(&kkt_);
    EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), vlr::kSysOk);
  }
  // Sets up, factors with D spread over orders of magnitude and solves; returns the largest
  // relative error against the dense solve.
  double Run(const Mat& a, int32_t densecol, double spread, double regu, uint32_t seed) {
    vlr::VLR_kktfac_delete(&kkt_);
    EXPECT_EQ(vlr::VLR_kktfac_make(sys_, a.m, a.n, 1, &kkt_), vlr::kKktOk);
    vlr::VLR_kktfac_densecol(kkt_, densecol);
    EXPECT_EQ(vlr::VLR_kktfac_autosetup(kkt_, a.beg.data(), a.sub.data(), a.val.data()),
              vlr::kKktOk);
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    std::vector<double> d(a.n), b(a.m);
    for (auto& v : d)
      v = std::pow(10.0, spread * (u(rng) - 0.5));
    for (auto& v : b)
      v = u(rng) - 0.5;
    EXPECT_EQ(vlr::VLR_kktfac_numfac(kkt_, d.data(), regu), vlr::kKktOk);
    std::vector<double> x = b;
    EXPECT_EQ(vlr::VLR_kktfac_solve(kkt_, x.data()), vlr::kKktOk);
    // The backward error always; the forward one too while D is mild enough for the dense
    // solve to be a reference.
    std::vector<double> r = b;
    double mnrm = regu, xnrm = 0.0, bnrm = 0.0;
    for (int32_t i = 0; i < a.m; ++i) {
      r[i] -= regu * x[i];
      xnrm = std::max(xnrm, std::fabs(x[i]));
      bnrm = std::max(bnrm, std::fabs(b[i]));
    }
    for (int32_t j = 0; j < a.n; ++j) {
      double t = 0.0, c = 0.0;
      for (int64_t p = a.beg[j]; p < a.beg[j + 1]; ++p)
        t += a.val[p] * x[a.sub[p]], c += a.val[p] * a.val[p];
      for (int64_t p = a.beg[j]; p < a.beg[j + 1]; ++p)
        r[a.sub[p]] -= a.val[p] * d[j] * t;
      mnrm = std::max(mnrm, c * d[j]);
    }
    double back = 0.0;
    for (int32_t i = 0; i < a.m; ++i)
      back = std::max(back, std::fabs(r[i]));
    back /= mnrm * xnrm + bnrm;
    if (spread > 6.0 || (regu == 0.0 && dependent)) return back;
    const std::vector<double> ref = DenseSolve(a, d, regu, b);
    double err = 0.0, nrm = 0.0;
    for (int32_t i = 0; i < a.m; ++i) {
      err = std::max(err, std::fabs(x[i] - ref[i]));
      nrm = std::max(nrm, std::fabs(ref[i]));
    }
    return std::max(back, err / nrm);
  }
  bool dependent = false;
  vlr::SysEnv* sys_ = nullptr;
  vlr::kktfac* kkt_ = nullptr;
};

TEST_F(KktTest, SparseSystemsMatchDenseSolves) {
  std::mt19937 rng(1);
  for (int32_t t = 0; t < 6; ++t) {
    const Mat a = Random(&rng, 40 + 13 * t, 90 + 20 * t, 3, 0, false);
    EXPECT_LT(Run(a, 40, 4.0 * t, 0.0, 7 + t), 1e-12) << "case " << t;
    vlr::KktInfo info;
    vlr::VLR_kktfac_getinfo(kkt_, &info);
    EXPECT_EQ(info.ndense, 0);
    EXPECT_GE(info.nnzL, a.m);
  }
}

// Full columns are kept apart and taken back through the Schur part, also when D spreads over
// many orders of magnitude; threshold 0 keeps every column in.
TEST_F(KktTest, DenseColumnsGoToTheSchurPart) {
  std::mt19937 rng(2);
  const Mat a = Random(&rng, 120, 400, 2, 3, false);
  for (double spread : {0.0, 6.0, 12.0}) {
    EXPECT_LT(Run(a, 40, spread, 0.0, 11), 1e-8) << spread;
    vlr::KktInfo info;
    vlr::VLR_kktfac_getinfo(kkt_, &info);
    EXPECT_EQ(info.ndense, 3);
  }
  EXPECT_LT(Run(a, 0, 6.0, 0.0, 12), 1e-8);
  vlr::KktInfo info;
  vlr::VLR_kktfac_getinfo(kkt_, &info);
  EXPECT_EQ(info.ndense, 0);
}

// Rows that only the dense columns touch lose their pivots in the sparse part; they are taken
// back through the Schur part, whose matrix is then indefinite and needs row exchanges.
TEST_F(KktTest, RowsOfDenseColumnsOnlyAreTakenBack) {
  std::mt19937 rng(5);
  const Mat a = Random(&rng, 400, 1500, 2, 8, false, 6);
  for (double spread : {0.0, 4.0, 8.0}) {
    EXPECT_LT(Run(a, 40, spread, 0.0, 13), 1e-8) << spread;
    vlr::KktInfo info;
    vlr::VLR_kktfac_getinfo(kkt_, &info);
    EXPECT_EQ(info.ndense, 8);
    EXPECT_GE(info.nrdef, 6);
    EXPECT_LE(info.nrefine, 2) << "the correction is exact up to rounding";
  }
}

// A repeated row makes A D A' singular: with regularisation the solve still matches, and the
// lost pivot is reported.
TEST_F(KktTest, DependentRowsAndRegularisation) {
  std::mt19937 rng(3);
  const Mat a = Random(&rng, 60, 150, 3, 0, true);
  dependent = true;
  EXPECT_LT(Run(a, 40, 2.0, 1e-6, 21), 1e-8);
  // Without regularisation the lost row is left out; the rest still solves, as the right-hand
  // side is consistent only by chance, so only finiteness and the report are asked for.
  EXPECT_TRUE(std::isfinite(Run(a, 40, 2.0, 0.0, 21)));
  vlr::KktInfo info;
  vlr::VLR_kktfac_getinfo(kkt_, &info);
  EXPECT_GE(info.nrdef, 1);
  const Mat b = Random(&rng, 60, 150, 3, 2, true);
  EXPECT_LT(Run(b, 40, 2.0, 1e-6, 22), 1e-8);
}

// A race stops a factor part way through the callback: the factor then reports the stop, a solve
// is refused, and the next factor without a stop is whole again. Asks come at stretches of work,
// so a large factor asks several times and a stop at any of them ends it there.
TEST_F(KktTest, AStopWithinTheFactorLeavesNoFactorAndTheNextOneIsWhole) {
  // The edges of a square grid and a column of its own for each node: A A' is the grid's
  // Laplacian plus I, whose factor has many supernodes.
  constexpr int32_t kSide = 90;
  Mat a;
  a.m = kSide * kSide;
  auto column = [&a](std::initializer_list<std::pair<int32_t, double>> entries) {
    for (const auto& [i, v] : entries)
      a.sub.push_back(i), a.val.push_back(v);
    a.beg.push_back(static_cast<int64_t>(a.sub.size()));
  };
  for (int32_t r = 0; r < kSide; ++r) {
    for (int32_t c = 0; c < kSide; ++c) {
      const int32_t v = r * kSide + c;
      column({{v, 1.0}});
      if (c + 1 < kSide) column({{v, 1.0}, {v + 1, -1.0}});
      if (r + 1 < kSide) column({{v, 1.0}, {v + kSide, -1.0}});
    }
  }
  a.n = static_cast<int32_t>(a.beg.size()) - 1;
  ASSERT_LT(Run(a, 40, 7.0, 0.0, 31), 1e-10);  // the spread leaves the dense check out
  struct Asks {
    int32_t calls = 0, stopat = -1;
    static int32_t Func(int32_t, void* h, double) {
      auto* self = static_cast<Asks*>(h);
      return self->calls++ == self->stopat ? 1 : 0;
    }
  };
  std::vector<double> d(a.n, 1.0), x(a.m, 1.0);
  Asks count;
  vlr::VLR_kktfac_putcallback(kkt_, &count, Asks::Func);
  ASSERT_EQ(vlr::VLR_kktfac_numfac(kkt_, d.data(), 0.0), vlr::kKktOk);
  ASSERT_GE(count.calls, 2) << "a factor of this size asks more than once";
  for (const int32_t at : {0, count.calls - 1}) {
    Asks stop;
    stop.stopat = at;
    vlr::VLR_kktfac_putcallback(kkt_, &stop, Asks::Func);
    EXPECT_EQ(vlr::VLR_kktfac_numfac(kkt_, d.data(), 0.0), vlr::kKktStopped) << "stop at " << at;
    EXPECT_EQ(stop.calls, at + 1);
    EXPECT_EQ(vlr::VLR_kktfac_solve(kkt_, x.data()), vlr::kKktBadInput);
  }
  vlr::VLR_kktfac_putcallback(kkt_, nullptr, nullptr);
  ASSERT_EQ(vlr::VLR_kktfac_numfac(kkt_, d.data(), 0.0), vlr::kKktOk);
  std::vector<double> y(a.m, 1.0);
  ASSERT_EQ(vlr::VLR_kktfac_solve(kkt_, y.data()), vlr::kKktOk);
  // A D A' y = 1 with D = I.
  std::vector<double> r(a.m, 1.0);
  for (int32_t j = 0; j < a.n; ++j) {
    double t = 0.0;
    for (int64_t p = a.beg[j]; p < a.beg[j + 1]; ++p)
      t += a.val[p] * y[a.sub[p]];
    for (int64_t p = a.beg[j]; p < a.beg[j + 1]; ++p)
      r[a.sub[p]] -= a.val[p] * t;
  }
  double res = 0.0;
  for (const double v : r)
    res = std::max(res, std::fabs(v));
  EXPECT_LT(res, 1e-8);
}

TEST_F(KktTest, BadInputAndCallsOutOfTurn) {
  EXPECT_EQ(vlr::VLR_kktfac_make(sys_, 2, 2, 2, &kkt_), vlr::kKktBadInput);
  EXPECT_EQ(kkt_, nullptr);
  ASSERT_EQ(vlr::VLR_kktfac_make(sys_, 2, 2, 1, &kkt_), vlr::kKktOk);
  const double d[] = {1.0, 1.0};
  double x[] = {1.0, 1.0};
  EXPECT_EQ(vlr::VLR_kktfac_numfac(kkt_, d, 0.0), vlr::kKktBadInput);
  EXPECT_EQ(vlr::VLR_kktfac_solve(kkt_, x), vlr::kKktBadInput);
  const int64_t beg[] = {0, 1, 2};
  const int32_t bad[] = {0, 2};
  const double val[] = {1.0, 2.0};
  EXPECT_EQ(vlr::VLR_kktfac_autosetup(kkt_, beg, bad, val), vlr::kKktBadInput);
  const int32_t ok[] = {0, 1};
  ASSERT_EQ(vlr::VLR_kktfac_autosetup(kkt_, beg, ok, val), vlr::kKktOk);
  ASSERT_EQ(vlr::VLR_kktfac_numfac(kkt_, d, 0.0), vlr::kKktOk);
  ASSERT_EQ(vlr::VLR_kktfac_solve(kkt_, x), vlr::kKktOk);
  EXPECT_NEAR(x[0], 1.0, 1e-14);
  EXPECT_NEAR(x[1], 0.25, 1e-14);
}

using vlrtest::FailAlloc;
using vlrtest::FailFree;
using vlrtest::FailMalloc;

// Each allocation of make and setup fails in turn: no space, nothing left behind, and a setup
// retried on the same object succeeds.
TEST(KktMemfail, EveryFailedAllocationIsNoSpaceWithNothingLeft) {
  FailAlloc fa;
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 10, &fa, FailMalloc, FailFree);
  ASSERT_NE(sys, nullptr);
  std::mt19937 rng(4);
  const Mat a = Random(&rng, 50, 120, 3, 2, false);
  const std::vector<double> d(a.n, 1.0);
  const int64_t base = vlr::VLR_sysenv_numblocks(sys);
  int64_t k = 0;
  for (;; ++k) {
    fa.calls = 0, fa.failat = k;
    vlr::kktfac* obj = nullptr;
    int32_t r = vlr::VLR_kktfac_make(sys, a.m, a.n, 1, &obj);
    int32_t failed = r;
    if (r == vlr::kKktOk) {
      r = vlr::VLR_kktfac_autosetup(obj, a.beg.data(), a.sub.data(), a.val.data());
      failed = r;
      fa.failat = -1;
      if (r != vlr::kKktOk) {
        EXPECT_EQ(vlr::VLR_kktfac_numfac(obj, d.data(), 0.0), vlr::kKktBadInput);
        EXPECT_EQ(vlr::VLR_kktfac_autosetup(obj, a.beg.data(), a.sub.data(), a.val.data()),
                  vlr::kKktOk);
      }
      EXPECT_EQ(vlr::VLR_kktfac_numfac(obj, d.data(), 0.0), vlr::kKktOk);
    } else {
      EXPECT_EQ(obj, nullptr);
    }
    fa.failat = -1;
    vlr::VLR_kktfac_delete(&obj);
    EXPECT_EQ(vlr::VLR_sysenv_numblocks(sys), base) << "k = " << k;
    if (failed == vlr::kKktOk) break;
    EXPECT_EQ(failed, vlr::kKktNoSpace) << "k = " << k;
  }
  EXPECT_GT(k, 10);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysOk);
}

}  // namespace
