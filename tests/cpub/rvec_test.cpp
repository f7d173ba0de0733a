// tests/cpub/rvec_test.cpp: the vector kernels against plain loops, around the unroll boundaries.
#include "cpub/rvec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace vlr {
namespace {

using Vec = std::vector<double>;
using IVec = std::vector<int32_t>;

constexpr double kScalars[] = {0.0, 1.0, -1.0, 2.5};
constexpr int32_t kMaxLen = 40;  // covers 0, the remainders and several blocks of 8 and 16

class RvecTest : public ::testing::Test {
 protected:
  Vec Random(int32_t m) {
    std::uniform_real_distribution<double> u(-2.0, 2.0);
    Vec v(static_cast<size_t>(m));
    for (double& e : v)
      e = u(rng_);
    return v;
  }
  // nz distinct positions of [0, m) in random order.
  IVec Subset(int32_t nz, int32_t m) {
    IVec all(static_cast<size_t>(m));
    std::iota(all.begin(), all.end(), 0);
    std::shuffle(all.begin(), all.end(), rng_);
    all.resize(static_cast<size_t>(nz));
    return all;
  }
  std::mt19937 rng_{20121029};
};

// Positions outside the list: dense size m leaves 5 untouched entries beyond the nz listed.
int32_t Dense(int32_t nz) {
  return nz + 5;
}

TEST_F(RvecTest, AxpyFormsMatchPlainLoopsForEachScalar) {
  for (int32_t n = 0; n <= kMaxLen; ++n) {
    const int32_t m = Dense(n);
    const IVec sub = Subset(n, m);
    const int32_t first = n / 3, last = n - n / 4;
    for (double a : kScalars) {
      SCOPED_TRACE(::testing::Message() << "n=" << n << " a=" << a);
      const Vec x = Random(m), y0 = Random(m);
      Vec ref = y0, y = y0;
      for (int32_t k = 0; k < n; ++k)
        ref[k] += a * x[k];
      VLR_GENERIC_CPU_rvec_axpy(n, a, x.data(), y.data());
      EXPECT_EQ(y, ref);

      Vec refi = y0, refs = y0, refio = y0, refso = y0;
      for (int32_t k = 0; k < n; ++k) {
        refi[sub[k]] += a * x[k];
        refs[sub[k]] += a * x[sub[k]];
      }
      for (int32_t k = first; k < last; ++k) {
        refio[sub[k]] += a * x[k];
        refso[sub[k]] += a * x[sub[k]];
      }
      Vec yi = y0, ys = y0, yio = y0, yso = y0;
      VLR_GENERIC_CPU_rvec_axpyi(n, sub.data(), a, x.data(), yi.data());
      VLR_GENERIC_CPU_rvec_axpys(n, sub.data(), a, x.data(), ys.data());
      VLR_GENERIC_CPU_rvec_axpyio(first, last, sub.data(), a, x.data(), yio.data());
      VLR_GENERIC_CPU_rvec_axpyso(first, last, sub.data(), a, x.data(), yso.data());
      EXPECT_EQ(yi, refi);
      EXPECT_EQ(ys, refs);
      EXPECT_EQ(yio, refio);
      EXPECT_EQ(yso, refso);

      // The s0 forms also clear x at the listed positions, and only there, whatever a is.
      Vec xc = x, ref0x = x;
      for (int32_t k = 0; k < n; ++k)
        ref0x[sub[k]] = 0.0;
      Vec y0s = y0;
      VLR_GENERIC_CPU_rvec_axpys0(n, sub.data(), a, xc.data(), y0s.data());
      EXPECT_EQ(y0s, refs);
      EXPECT_EQ(xc, ref0x);

      Vec xm = x, ym = y0;
      IVec mark(static_cast<size_t>(m), 1), list = {-7};
      list.resize(static_cast<size_t>(n) + 1);
      int32_t nlist = 1;
      VLR_GENERIC_CPU_rvec_axpys0mc(n, sub.data(), a, xm.data(), ym.data(), mark.data(), 100,
                                    list.data(), &nlist);
      EXPECT_EQ(ym, refs);
      EXPECT_EQ(xm, ref0x);
      ASSERT_EQ(nlist, n + 1);
      EXPECT_EQ(list[0], -7);
      for (int32_t k = 0; k < n; ++k)
        EXPECT_EQ(list[k + 1], sub[k] + 100);
      EXPECT_EQ(std::count(mark.begin(), mark.end(), 0), n);
      for (int32_t k = 0; k < n; ++k)
        EXPECT_EQ(mark[sub[k]], 0);
    }
  }
}

TEST_F(RvecTest, AssignmentsAndCopiesMatchPlainLoops) {
  for (int32_t n = 0; n <= kMaxLen; ++n) {
    const int32_t m = Dense(n);
    const IVec sub = Subset(n, m);
    const int32_t first = n / 4, last = n - n / 3;
    for (double a : kScalars) {
      SCOPED_TRACE(::testing::Message() << "n=" << n << " a=" << a);
      Vec x = Random(m);
      if (n > 0 && a == 0.0) {  // a = 0 must clear without reading x
        x[0] = x[sub[0]] = std::numeric_limits<double>::quiet_NaN();
      }
      const Vec y0 = Random(m);
      Vec ref = y0, refi = y0, refs = y0, refso = y0, refty = y0;
      for (int32_t k = 0; k < n; ++k) {
        ref[k] = a == 0.0 ? 0.0 : a * x[k];
        refi[sub[k]] = a == 0.0 ? 0.0 : a * x[k];
        refs[sub[k]] = a == 0.0 ? 0.0 : a * x[sub[k]];
        refty[k] = a == 0.0 ? 0.0 : a * x[k] * y0[k];
      }
      for (int32_t k = first; k < last; ++k)
        refso[sub[k]] = a == 0.0 ? 0.0 : a * x[sub[k]];
      Vec y = y0, yi = y0, ys = y0, yso = y0, yty = y0;
      VLR_GENERIC_CPU_rvec_axy(n, a, x.data(), y.data());
      VLR_GENERIC_CPU_rvec_axyi(n, sub.data(), a, x.data(), yi.data());
      VLR_GENERIC_CPU_rvec_axys(n, sub.data(), a, x.data(), ys.data());
      VLR_GENERIC_CPU_rvec_axyso(first, last, sub.data(), a, x.data(), yso.data());
      EXPECT_EQ(y, ref);
      EXPECT_EQ(yi, refi);
      EXPECT_EQ(ys, refs);
      EXPECT_EQ(yso, refso);
      VLR_GENERIC_CPU_rvec_axty(n, a, x.data(), yty.data());
      for (int32_t k = 0; k < m; ++k)
        EXPECT_DOUBLE_EQ(yty[k], refty[k]);
    }
    // Copies are the a = 1 and a = -1 cases under their own names.
    const Vec x = Random(m), y0 = Random(m);
    for (double s : {1.0, -1.0}) {
      Vec ref = y0, refs = y0, refso = y0;
      for (int32_t k = 0; k < n; ++k)
        ref[k] = s * x[k];
      for (int32_t k = 0; k < n; ++k)
        refs[sub[k]] = s * x[sub[k]];
      for (int32_t k = first; k < last; ++k)
        refso[sub[k]] = s * x[sub[k]];
      Vec y = y0, ys = y0, yso = y0;
      if (s > 0) {
        VLR_GENERIC_CPU_rvec_copy(n, x.data(), y.data());
        VLR_GENERIC_CPU_rvec_copys(n, sub.data(), x.data(), ys.data());
        VLR_GENERIC_CPU_rvec_copyso(first, last, sub.data(), x.data(), yso.data());
        Vec y64 = y0;
        VLR_GENERIC_CPU_rvec_copy64(n, x.data(), y64.data());
        EXPECT_EQ(y64, ref);
      } else {
        VLR_GENERIC_CPU_rvec_mcopy(n, x.data(), y.data());
        VLR_GENERIC_CPU_rvec_mcopys(n, sub.data(), x.data(), ys.data());
        VLR_GENERIC_CPU_rvec_mcopyso(first, last, sub.data(), x.data(), yso.data());
      }
      EXPECT_EQ(y, ref);
      EXPECT_EQ(ys, refs);
      EXPECT_EQ(yso, refso);
    }
  }
}

TEST_F(RvecTest, ReductionsMatchPlainLoops) {
  const double inf = std::numeric_limits<double>::infinity();
  for (int32_t n = 0; n <= kMaxLen; ++n) {
    SCOPED_TRACE(::testing::Message() << "n=" << n);
    const int32_t m = Dense(n);
    const IVec sub = Subset(n, m);
    const int32_t first = n / 5, last = n - n / 6;
    const Vec x = Random(m), y = Random(m);
    double dot = 0, doti = 0, dotio = 0, dots = 0, dotso = 0, sum = 0, sums = 0, sumos = 0;
    double sumoss = 0, sumosso = 0, nrm1 = 0, nrm1s = 0, nrmi = 0, nrmis = 0;
    double mx = -inf, mn = inf, mxs = -inf, mns = inf, amn = inf;
    int32_t iabs = n > 0 ? 0 : -1;
    for (int32_t k = 0; k < n; ++k) {
      const double v = x[k], vs = x[sub[k]];
      dot += v * y[k];
      doti += v * y[sub[k]];
      dots += vs * y[sub[k]];
      sum += v;
      sums += vs;
      sumos += v * v;
      sumoss += vs * vs;
      nrm1 += std::fabs(v);
      nrm1s += std::fabs(vs);
      nrmi = std::max(nrmi, std::fabs(v));
      nrmis = std::max(nrmis, std::fabs(vs));
      amn = std::min(amn, std::fabs(v));
      mx = std::max(mx, v);
      mn = std::min(mn, v);
      mxs = std::max(mxs, vs);
      mns = std::min(mns, vs);
      if (std::fabs(v) > std::fabs(x[iabs])) iabs = k;
    }
    for (int32_t k = first; k < last; ++k) {
      dotio += x[k] * y[sub[k]];
      dotso += x[sub[k]] * y[sub[k]];
      sumosso += x[sub[k]] * x[sub[k]];
    }
    // Partial sums change the order of additions: agreement to rounding, not bit for bit.
    const double tol = 1e-13 * (1.0 + nrm1 + sumos);
    const int32_t* s = sub.data();
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_dot(n, x.data(), y.data()), dot, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_doti(n, s, x.data(), y.data()), doti, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_dotio(first, last, s, x.data(), y.data()), dotio, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_dots(n, s, x.data(), y.data()), dots, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_dotso(first, last, s, x.data(), y.data()), dotso, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_sum(n, x.data()), sum, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_sums(n, s, x.data()), sums, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_sumos(n, x.data()), sumos, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_sumoss(n, s, x.data()), sumoss, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_sumosso(first, last, s, x.data()), sumosso, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_nrm1(n, x.data()), nrm1, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_nrm1s(n, s, x.data()), nrm1s, tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_nrm2(n, x.data()), std::sqrt(sumos), tol);
    EXPECT_NEAR(VLR_GENERIC_CPU_rvec_nrm2s(n, s, x.data()), std::sqrt(sumoss), tol);
    EXPECT_EQ(VLR_GENERIC_CPU_rvec_nrmi(n, x.data()), nrmi);
    EXPECT_EQ(VLR_GENERIC_CPU_rvec_nrmis(n, s, x.data()), nrmis);
    EXPECT_EQ(VLR_GENERIC_CPU_rvec_absmax(n, x.data()), nrmi);
    EXPECT_EQ(VLR_GENERIC_CPU_rvec_absmin(n, x.data()), amn);
    EXPECT_EQ(VLR_GENERIC_CPU_rvec_max(n, x.data()), mx);
    EXPECT_EQ(VLR_GENERIC_CPU_rvec_min(n, x.data()), mn);
    EXPECT_EQ(VLR_GENERIC_CPU_rvec_maxs(n, s, x.data()), mxs);
    EXPECT_EQ(VLR_GENERIC_CPU_rvec_mins(n, s, x.data()), mns);
    EXPECT_EQ(VLR_GENERIC_CPU_rvec_iabsmax(n, x.data()), iabs);
  }
  const double tie[] = {1.0, -3.0, 3.0, 2.0};  // the first of equal magnitudes wins
  EXPECT_EQ(VLR_GENERIC_CPU_rvec_iabsmax(4, tie), 1);
}

TEST_F(RvecTest, SetClearGatherScatterAndScaleTouchOnlyTheirPositions) {
  for (int32_t n = 0; n <= kMaxLen; ++n) {
    SCOPED_TRACE(::testing::Message() << "n=" << n);
    const int32_t m = Dense(n);
    const IVec sub = Subset(n, m);
    const Vec x0 = Random(m), y0 = Random(m);
    Vec fill = x0, fills = x0, zero = x0, zerou = x0, zeros = x0, zerosm = x0;
    Vec rf = x0, rfs = x0, rz = x0, rzs = x0;
    for (int32_t k = 0; k < n; ++k) {
      rf[k] = 4.0;
      rfs[sub[k]] = 4.0;
      rz[k] = 0.0;
      rzs[sub[k]] = 0.0;
    }
    VLR_GENERIC_CPU_rvec_fill(n, 4.0, fill.data());
    VLR_GENERIC_CPU_rvec_fills(n, sub.data(), 4.0, fills.data());
    VLR_GENERIC_CPU_rvec_zero(n, zero.data());
    VLR_GENERIC_CPU_rvec_zerou(n, zerou.data());
    VLR_GENERIC_CPU_rvec_zeros(n, sub.data(), zeros.data());
    IVec mark(static_cast<size_t>(m), 1);
    VLR_GENERIC_CPU_rvec_zerosm(n, sub.data(), zerosm.data(), mark.data());
    EXPECT_EQ(fill, rf);
    EXPECT_EQ(fills, rfs);
    EXPECT_EQ(zero, rz);
    EXPECT_EQ(zerou, rz);
    EXPECT_EQ(zeros, rzs);
    EXPECT_EQ(zerosm, rzs);
    EXPECT_EQ(std::count(mark.begin(), mark.end(), 0), n);
    EXPECT_TRUE(VLR_GENERIC_CPU_rvec_zerochk(n, zero.data()));
    if (n > 0) {
      zero[n - 1] = 1e-300;  // the last position sits in the remainder loop or the last block
      EXPECT_FALSE(VLR_GENERIC_CPU_rvec_zerochk(n, zero.data()));
    }

    Vec packed(static_cast<size_t>(n)), dense = y0, rdense = y0, gz = y0;
    VLR_GENERIC_CPU_rvec_gthr(n, sub.data(), y0.data(), packed.data());
    for (int32_t k = 0; k < n; ++k)
      EXPECT_EQ(packed[k], y0[sub[k]]);
    Vec packed2(static_cast<size_t>(n));
    VLR_GENERIC_CPU_rvec_gthrz(n, sub.data(), gz.data(), packed2.data());
    EXPECT_EQ(packed2, packed);
    EXPECT_EQ(gz, [&] {
      Vec r = y0;
      for (int32_t k = 0; k < n; ++k)
        r[sub[k]] = 0.0;
      return r;
    }());
    for (int32_t k = 0; k < n; ++k)
      rdense[sub[k]] = x0[k];
    VLR_GENERIC_CPU_rvec_sctr(n, sub.data(), x0.data(), dense.data());
    EXPECT_EQ(dense, rdense);

    for (double a : kScalars) {
      Vec sc = x0, scs = x0, rsc = x0, rscs = x0;
      for (int32_t k = 0; k < n; ++k)
        rsc[k] = a * x0[k];
      for (int32_t k = 0; k < n; ++k)
        rscs[sub[k]] = a * x0[sub[k]];
      VLR_GENERIC_CPU_rvec_scal(n, a, sc.data());
      VLR_GENERIC_CPU_rvec_scals(n, sub.data(), a, scs.data());
      EXPECT_EQ(sc, rsc) << "a=" << a;
      EXPECT_EQ(scs, rscs) << "a=" << a;
    }

    Vec sx = x0, sy = y0, px = x0, work(static_cast<size_t>(m));
    VLR_GENERIC_CPU_rvec_swap(n, sx.data(), sy.data());
    for (int32_t k = 0; k < m; ++k) {
      EXPECT_EQ(sx[k], k < n ? y0[k] : x0[k]);
      EXPECT_EQ(sy[k], k < n ? x0[k] : y0[k]);
    }
    const IVec perm = Subset(n, n);
    VLR_GENERIC_CPU_rvec_permute(n, perm.data(), px.data(), work.data());
    for (int32_t k = 0; k < n; ++k)
      EXPECT_EQ(px[k], x0[perm[k]]);
  }
}

TEST_F(RvecTest, CleansDropsSmallEntriesAndKeepsTheOrderOfTheRest) {
  for (int32_t n = 0; n <= kMaxLen; ++n) {
    SCOPED_TRACE(::testing::Message() << "n=" << n);
    const int32_t m = Dense(n);
    IVec sub = Subset(n, m);
    Vec x = Random(m);
    // Every third listed entry is small, one sits exactly at the tolerance (dropped too).
    for (int32_t k = 0; k < n; k += 3)
      x[sub[k]] = k % 2 ? 1e-12 : -1e-10;
    if (n > 1) x[sub[1]] = 1e-9;
    IVec mark(static_cast<size_t>(m), 1), keep;
    for (int32_t k = 0; k < n; ++k) {
      if (std::fabs(x[sub[k]]) > 1e-9) keep.push_back(sub[k]);
    }
    const Vec x0 = x;
    const IVec listed = sub;
    int32_t nz = n;
    VLR_GENERIC_CPU_rvec_cleans(&nz, sub.data(), 1e-9, x.data(), mark.data());
    ASSERT_EQ(nz, static_cast<int32_t>(keep.size()));
    EXPECT_TRUE(std::equal(keep.begin(), keep.end(), sub.begin()));
    for (int32_t j = 0; j < m; ++j) {
      const bool dropped =
          std::find(listed.begin(), listed.end(), j) != listed.end() && std::fabs(x0[j]) <= 1e-9;
      EXPECT_EQ(x[j], dropped ? 0.0 : x0[j]);
      EXPECT_EQ(mark[j], dropped ? 0 : 1);
    }
  }
}

TEST_F(RvecTest, StepLengthIsTheLargestThatKeepsXNonnegative) {
  std::uniform_real_distribution<double> u(0.0, 3.0);
  for (int32_t n = 0; n <= kMaxLen; ++n) {
    SCOPED_TRACE(::testing::Message() << "n=" << n);
    const int32_t m = Dense(n);
    const IVec sub = Subset(n, m);
    Vec x(static_cast<size_t>(m)), z(static_cast<size_t>(m));
    for (double& e : x)
      e = u(rng_);
    for (double& e : z)
      e = u(rng_);
    if (n > 2) x[sub[2]] = 0.0;  // a zero with a falling direction blocks at 0
    const Vec dx = Random(m), dz = Random(m);
    for (double a : {1.0, 0.25}) {
      double tx = a, tz = a, txs = a, tzs = a;
      for (int32_t k = 0; k < n; ++k) {
        if (dx[k] < 0) tx = std::min(tx, x[k] / -dx[k]);
        if (dz[k] < 0) tz = std::min(tz, z[k] / -dz[k]);
        if (dx[sub[k]] < 0) txs = std::min(txs, x[sub[k]] / -dx[sub[k]]);
        if (dz[sub[k]] < 0) tzs = std::min(tzs, z[sub[k]] / -dz[sub[k]]);
      }
      const double t = VLR_GENERIC_CPU_rvec_psteplen(n, nullptr, a, x.data(), dx.data());
      EXPECT_DOUBLE_EQ(t, tx);
      for (int32_t k = 0; k < n; ++k)
        EXPECT_GE(x[k] + t * dx[k], -1e-14);
      EXPECT_DOUBLE_EQ(VLR_GENERIC_CPU_rvec_psteplen(n, sub.data(), a, x.data(), dx.data()), txs);
      double ax = a, az = a;
      VLR_GENERIC_CPU_rvec_psteplen2(n, nullptr, x.data(), dx.data(), z.data(), dz.data(), &ax,
                                     &az);
      EXPECT_DOUBLE_EQ(ax, tx);
      EXPECT_DOUBLE_EQ(az, tz);
      ax = az = a;
      VLR_GENERIC_CPU_rvec_psteplen2(n, sub.data(), x.data(), dx.data(), z.data(), dz.data(), &ax,
                                     &az);
      EXPECT_DOUBLE_EQ(ax, txs);
      EXPECT_DOUBLE_EQ(az, tzs);
    }
  }
}

TEST(RvecSlices, CutSlicesAreAlignedDisjointAndTooLongStops) {
  SysEnv* sys = VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
  ASSERT_NE(sys, nullptr);
  const size_t sizes[] = {3, 1, 0, 8, 5};
  size_t total = 0;
  for (size_t s : sizes)
    total += s + VLR_GENERIC_CPU_rvec_numaligned();
  auto* block = static_cast<double*>(VLR_sysenv_callocdbg(sys, VLR_HERE, int64_t(total) + 1, 8));
  // Start one double in, so the first slice needs padding whatever the allocator gives.
  std::span<double> work(block + 1, total);
  size_t use = 0;
  double* end = work.data();
  for (size_t s : sizes) {
    std::span<double> slice = VLR_GENERIC_CPU_rvec_cutaligned(sys, work, &use, s);
    EXPECT_EQ(slice.size(), s);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(slice.data()) % 16, 0u);
    EXPECT_GE(slice.data(), end);  // after the previous slice
    end = slice.data() + s;
    EXPECT_EQ(static_cast<size_t>(end - work.data()), use);
  }
  size_t puse = 0;
  double* p = VLR_GENERIC_CPU_rvec_cutaligned(sys, work.data(), work.size(), &puse, 4);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u);
  EXPECT_DEATH(VLR_GENERIC_CPU_rvec_cutaligned(sys, work, &use, total),
               "use\\[0\\]\\+add\\+slicesize>size");
  VLR_sysenv_freedbg(sys, VLR_HERE, block);
  EXPECT_EQ(VLR_sysenv_delete(&sys), 0);
}

TEST(RvecCheck, NanStopsWithItsPosition) {
  SysEnv* sys = VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
  ASSERT_NE(sys, nullptr);
  const double x[] = {1.0, 2.0, std::numeric_limits<double>::quiet_NaN()};
  VLR_GENERIC_CPU_rvec_checkdbg(sys, VLR_HERE, 2, x);  // the NaN lies beyond n
  EXPECT_DEATH(VLR_GENERIC_CPU_rvec_checkdbg(sys, "here.cpp", 7, 3, x),
               "here.cpp\\(7\\): n=3 x\\[2\\]=");
  EXPECT_EQ(VLR_sysenv_delete(&sys), 0);
}

TEST(IvecTest, IntegerKernelsMatchPlainLoops) {
  for (int32_t n = 0; n <= kMaxLen; ++n) {
    SCOPED_TRACE(::testing::Message() << "n=" << n);
    uint32_t seed = 7u + static_cast<uint32_t>(n), seed2 = seed;
    IVec p(static_cast<size_t>(n)), q(static_cast<size_t>(n));
    VLR_ivec_rand(n, &seed, p.data());
    VLR_ivec_rand(n, &seed2, q.data());
    EXPECT_EQ(p, q);  // the seed alone decides
    IVec sorted = p;
    std::sort(sorted.begin(), sorted.end());
    for (int32_t k = 0; k < n; ++k)
      ASSERT_EQ(sorted[k], k);  // a permutation

    IVec x = p, count(static_cast<size_t>(n) + 1, 0);
    for (int32_t k = 0; k < n; k += 2)
      x[k] = x[k] / 2;  // duplicates for the counting sort
    IVec rs = x;
    std::sort(rs.begin(), rs.end());
    IVec fs = x, ss = x;
    VLR_ivec_fsort(n, fs.data(), n + 1, count.data());
    VLR_ivec_sort(n, ss.data());
    EXPECT_EQ(fs, rs);
    EXPECT_EQ(ss, rs);
    EXPECT_TRUE(VLR_ivec_zerochk(n + 1, count.data()));  // the counts are left clean

    int64_t sum = 0;
    for (int32_t v : x)
      sum += v;
    EXPECT_EQ(VLR_ivec_sum(n, x.data()), sum);
    EXPECT_EQ(VLR_ivec_count(n, 0, x.data()), std::count(x.begin(), x.end(), 0));
    EXPECT_EQ(VLR_ivec_max(n, x.data()), n ? *std::max_element(x.begin(), x.end()) : INT32_MIN);
    EXPECT_EQ(VLR_ivec_min(n, x.data()), n ? *std::min_element(x.begin(), x.end()) : INT32_MAX);
    EXPECT_EQ(VLR_ivec_ipos(n, n - 1, p.data()),
              n ? std::find(p.begin(), p.end(), n - 1) - p.begin() : -1);

    IVec r = p;
    VLR_ivec_rotateright(n, r.data());
    if (n > 0) {
      EXPECT_EQ(r[0], p[n - 1]);
    }
    for (int32_t k = 1; k < n; ++k)
      EXPECT_EQ(r[k], p[k - 1]);

    IVec inc = p, incs = p, work(static_cast<size_t>(n)), perm = p;
    VLR_ivec_inc(n, 3, inc.data());
    for (int32_t k = 0; k < n; ++k)
      EXPECT_EQ(inc[k], p[k] + 3);
    const IVec half(p.begin(), p.begin() + n / 2);
    VLR_ivec_incs(n / 2, half.data(), -2, incs.data());
    for (int32_t k = 0; k < n; ++k) {
      const bool in = std::find(half.begin(), half.end(), k) != half.end();
      EXPECT_EQ(incs[k], p[k] - (in ? 2 : 0));
    }
    VLR_ivec_permute(n, q.data(), perm.data(), work.data());
    for (int32_t k = 0; k < n; ++k)
      EXPECT_EQ(perm[k], p[q[k]]);
  }
  int32_t overlap[] = {1, 2, 3, 4, 5};
  VLR_ivec_copysafe(4, overlap, overlap + 1);
  EXPECT_EQ(std::vector<int32_t>(overlap, overlap + 5), (std::vector<int32_t>{1, 1, 2, 3, 4}));
}

TEST(IvecTest, FlagsCompressAndClearOnlyTheListedOnes) {
  for (int32_t n = 0; n <= kMaxLen; ++n) {
    std::vector<uint8_t> f(static_cast<size_t>(n));
    IVec set;
    for (int32_t k = 0; k < n; ++k) {
      f[k] = (k * 7) % 3 == 0;
      if (f[k]) set.push_back(k);
    }
    IVec sub(static_cast<size_t>(n));
    ASSERT_EQ(VLR_bvec_compress(n, f.data(), sub.data()), static_cast<int32_t>(set.size()));
    EXPECT_TRUE(std::equal(set.begin(), set.end(), sub.begin()));
    VLR_bvec_zerof(static_cast<int32_t>(set.size()), set.data(), f.data());
    EXPECT_EQ(std::count(f.begin(), f.end(), 0), n);
  }
}

TEST(IvecTest, TrackedVectorsComeZeroedAndLeaveNoLeak) {
  SysEnv* sys = VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
  ASSERT_NE(sys, nullptr);
  int64_t* a = VLR_ivec64_allocdbg(sys, VLR_HERE, 37);
  int16_t* s = VLR_svec_allocdbg(sys, VLR_HERE, 37);
  ASSERT_NE(a, nullptr);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(VLR_ivec64_max(37, a), 0);
  for (int64_t k = 0; k < 37; ++k)
    a[k] = k * 1000000000LL;
  EXPECT_EQ(VLR_ivec64_sum(37, a), 666000000000LL);
  EXPECT_EQ(VLR_ivec64_max(37, a), 36000000000LL);
  VLR_svec_fill(37, int16_t{-3}, s);
  EXPECT_EQ(s[36], -3);
  VLR_ivec64_freedbg(sys, VLR_HERE, &a);
  VLR_svec_freedbg(sys, VLR_HERE, &s);
  EXPECT_EQ(a, nullptr);
  EXPECT_EQ(VLR_sysenv_delete(&sys), 0);
}

}  // namespace
}  // namespace vlr
