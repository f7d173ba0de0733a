// tests/lalib/densefac_test.cpp: the dense update, the panel LDL' and the triangular solves
// against plain loops.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "lalib/lalib.h"

namespace {

std::vector<double> Random(std::mt19937* rng, int64_t count) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<double> v(count);
  for (double& x : v)
    x = u(*rng);
  return v;
}

double Keep(void*, int32_t, double v) {
  return v;
}

// Shapes on both sides of the small case, the cache blocks (96 rows, 256 deep, 512 wide) and
// the tile edges.
TEST(Chdblas3, UpdateEqualsPlainLoopsForAllShapes) {
  std::mt19937 rng(3);
  std::vector<double> work(vlr::VLR_lalib_worksize());
  const int32_t shapes[][3] = {{1, 1, 1},    {7, 3, 5},     {20, 20, 20}, {63, 64, 65},
                               {97, 5, 300}, {200, 130, 9}, {5, 530, 40}, {101, 517, 257}};
  for (const auto& s : shapes) {
    for (int lower = 0; lower < 2; ++lower) {
      for (int scaled = 0; scaled < 2; ++scaled) {
        const int32_t m = s[0], n = s[1], k = s[2], lda = m + 3, ldb = n + 1, ldc = m + 2;
        const auto a = Random(&rng, int64_t{lda} * k);
        const auto b = Random(&rng, int64_t{ldb} * k);
        const auto d = Random(&rng, k);
        auto c = Random(&rng, int64_t{ldc} * n);
        auto ref = c;
        vlr::VLR_chdblas3_oa(m, n, k, a.data(), lda, scaled ? d.data() : nullptr, b.data(), ldb,
                             c.data(), ldc, lower != 0, work.data());
        for (int32_t j = 0; j < n; ++j) {
          for (int32_t i = 0; lower && i < std::min(j, m); ++i)
            ASSERT_EQ(c[i + j * ldc], ref[i + j * ldc]) << "above the diagonal";
          for (int32_t i = lower ? j : 0; i < m; ++i) {
            double sum = ref[i + j * ldc];
            for (int32_t p = 0; p < k; ++p)
              sum -= a[i + p * lda] * b[j + p * ldb] * (scaled ? d[p] : 1.0);
            ASSERT_NEAR(c[i + j * ldc], sum, 1e-12 * (k + 1))
                << m << "x" << n << "x" << k << " at " << i << "," << j;
          }
        }
      }
    }
  }
}

// A = L D L' from a known unit lower L and D of both signs; the panel of its first n columns
// (m rows) gives L and D back. Widths 63, 64 and 65 cross the switch to blocks.
TEST(UpdIdenseL, PanelFactorReproducesKnownFactors) {
  std::mt19937 rng(11);
  std::vector<double> work(vlr::VLR_lalib_worksize());
  const int32_t shapes[][2] = {{1, 1}, {5, 3}, {63, 63}, {64, 64}, {65, 65}, {100, 65}, {230, 150}};
  for (const auto& s : shapes) {
    const int32_t m = s[0], n = s[1], ld = m + 1;
    auto l = Random(&rng, int64_t{m} * m);
    std::vector<double> d(m);
    for (int32_t j = 0; j < m; ++j) {
      d[j] = (j % 3 == 1 ? -1.0 : 1.0) * (1.0 + j % 5);
      l[j + j * m] = 1.0;
      for (int32_t i = 0; i < j; ++i)
        l[i + j * m] = 0.0;
      for (int32_t i = j + 1; i < m; ++i)
        l[i + j * m] *= 0.3;
    }
    std::vector<double> p(int64_t{ld} * n, 7.0);  // 7.0 above the diagonal must stay
    for (int32_t j = 0; j < n; ++j) {
      for (int32_t i = j; i < m; ++i) {
        double sum = 0.0;
        for (int32_t t = 0; t <= j; ++t)
          sum += l[i + t * m] * d[t] * l[j + t * m];
        p[i + j * ld] = sum;
      }
    }
    std::vector<double> dout(n);
    vlr::VLR_upd_idenseL(m, n, p.data(), ld, dout.data(), Keep, nullptr, work.data());
    for (int32_t j = 0; j < n; ++j) {
      ASSERT_NEAR(dout[j], d[j], 1e-9) << m << "x" << n << " col " << j;
      for (int32_t i = 0; i < j; ++i)
        ASSERT_EQ(p[i + j * ld], 7.0);
      for (int32_t i = j; i < m; ++i)
        ASSERT_NEAR(p[i + j * ld], l[i + j * m], 1e-9) << m << "x" << n << " " << i << "," << j;
    }
  }
}

// The pivot function sees the panel's own column numbers in order, and what it returns is D.
TEST(UpdIdenseL, PivotFunctionDecidesDInColumnOrder) {
  struct Seen {
    std::vector<int32_t> cols;
  } seen;
  auto replace = [](void* h, int32_t k, double) -> double {
    static_cast<Seen*>(h)->cols.push_back(k);
    return 2.0;
  };
  const int32_t n = 70;
  std::vector<double> p(int64_t{n} * n, 0.0), d(n), work(vlr::VLR_lalib_worksize());
  vlr::VLR_upd_idenseL(n, n, p.data(), n, d.data(), replace, &seen, work.data());
  ASSERT_EQ(seen.cols.size(), size_t{n});
  for (int32_t j = 0; j < n; ++j) {
    EXPECT_EQ(seen.cols[j], j);
    EXPECT_EQ(d[j], 2.0);
  }
}

TEST(LalibSolve, TriangularSolvesAndProductsInvertTheirProducts) {
  std::mt19937 rng(5);
  const int32_t n = 37, m = 23, ld = 41;
  auto l = Random(&rng, int64_t{ld} * n);
  auto x = Random(&rng, n);
  // b = L x, then L^-1 b is x; c = L' x, then L'^-1 c is x.
  std::vector<double> b(n, 0.0), c(n, 0.0);
  for (int32_t j = 0; j < n; ++j) {
    for (int32_t i = j; i < n; ++i) {
      const double lij = i == j ? 1.0 : l[i + j * ld];
      b[i] += lij * x[j];
      c[j] += lij * x[i];
    }
  }
  vlr::VLR_lalib_lsolve(n, l.data(), ld, b.data());
  vlr::VLR_lalib_ltsolve(n, l.data(), ld, c.data());
  for (int32_t i = 0; i < n; ++i) {
    EXPECT_NEAR(b[i], x[i], 1e-10);
    EXPECT_NEAR(c[i], x[i], 1e-10);
  }
  auto y = Random(&rng, m);
  auto y0 = y, x0 = x;
  vlr::VLR_lalib_gemvsub(m, n, l.data(), ld, x.data(), y.data());
  vlr::VLR_lalib_gemvtsub(m, n, l.data(), ld, y0.data(), x.data());
  for (int32_t i = 0; i < m; ++i) {
    double s = y0[i];
    for (int32_t j = 0; j < n; ++j)
      s -= l[i + j * ld] * x0[j];
    EXPECT_NEAR(y[i], s, 1e-12);
  }
  for (int32_t j = 0; j < n; ++j) {
    double s = x0[j];
    for (int32_t i = 0; i < m; ++i)
      s -= l[i + j * ld] * y0[i];
    EXPECT_NEAR(x[j], s, 1e-12);
  }
}

}  // namespace
