// tests/homo/homo_test.cpp: the homogeneous optimiser on standard forms: optima with upper bounds,
// certificates of both infeasibilities normalised as promised, and the stops of its logger and its
// iteration limit.
// SPDX-License-Identifier: Apache-2.0
#include "homo/homo.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "velor.h"

namespace {

// A standard form by columns, with its own arrays.
struct Std {
  int32_t m = 0, n = 0, nup = 0;
  std::vector<int64_t> beg{0};
  std::vector<int32_t> sub;
  std::vector<double> val, b, c, ub;
  void Col(std::initializer_list<std::pair<int32_t, double>> entries, double cost) {
    for (auto [i, a] : entries)
      sub.push_back(i), val.push_back(a);
    beg.push_back(static_cast<int64_t>(sub.size()));
    c.push_back(cost);
    ++n;
  }
  vlr::HomLp Lp() const {
    vlr::HomLp lp;
    lp.nrow = m, lp.ncol = n, lp.nup = nup;
    lp.abeg = beg.data(), lp.asub = sub.data(), lp.aval = val.data();
    lp.b = b.data(), lp.c = c.data(), lp.ub = ub.data();
    return lp;
  }
};

struct Out {
  std::vector<double> x, s, su, y;
  vlr::HomInfo info;
};

int32_t StopAt(void* handle, const vlr::HomIter& it) {
  return it.iter >= *static_cast<int32_t*>(handle) ? 7 : 0;
}

Out Solve(const Std& p, int32_t stopat = -1, int32_t maxiter = 200, int32_t start = 0) {
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
  Out o;
  o.x.assign(size_t(p.n) + 1, 0.0), o.s.assign(size_t(p.n) + 1, 0.0);
  o.su.assign(size_t(p.nup) + 1, 0.0), o.y.assign(size_t(p.m) + 1, 0.0);
  vlr::HomParam par;
  vlr::VLR_hs_setdefaults(&par);
  par.maxiter = maxiter;
  par.startpoint = start;
  vlr::HomCallbacks cb;
  if (stopat >= 0) cb.handle = &stopat, cb.iter = StopAt;
  vlr::HomSol sol{o.x.data(), o.s.data(), o.su.data(), o.y.data()};
  vlr::VLR_hs_optlp(sys, par, p.Lp(), cb, &sol, &o.info);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysOk);  // nothing left behind
  return o;
}

// min -x0 - 2 x1 over x0 + x1 + x2 = 4, x0 - x1 + x3 = 1, x1 <= 3 (the last column with an upper
// bound is x1, so it goes last): x1 = 3, x0 = 1, cost -7.
Std Small() {
  Std p;
  p.m = 2;
  p.b = {4, 1};
  p.Col({{0, 1}, {1, 1}}, -1);   // x0
  p.Col({{0, 1}}, 0);            // x2, slack of row 0
  p.Col({{1, 1}}, 0);            // x3, slack of row 1
  p.Col({{0, 1}, {1, -1}}, -2);  // x1 <= 3
  p.nup = 1;
  p.ub = {3};
  return p;
}

// Each start (constant, computed from the data) reaches the same optimum and certificates.
constexpr int32_t kStarts[] = {VLR_STARTING_POINT_FREE, VLR_STARTING_POINT_GUESS,
                               VLR_STARTING_POINT_CONSTANT};

TEST(Homo, OptimumWithAnUpperBoundAndItsDuals) {
  const Std p = Small();
  for (int32_t start : kStarts) {
    SCOPED_TRACE(start);
    const Out o = Solve(p, -1, 200, start);
    ASSERT_EQ(o.info.resp, 0);
    ASSERT_EQ(o.info.solsta, VLR_SOL_STA_OPTIMAL);
    EXPECT_EQ(o.info.prosta, VLR_PRO_STA_PRIM_AND_DUAL_FEAS);
    EXPECT_NEAR(o.info.pobj, -7.0, 1e-7);
    EXPECT_NEAR(o.info.dobj, -7.0, 1e-7);
    EXPECT_NEAR(o.x[0], 1.0, 1e-7);
    EXPECT_NEAR(o.x[3], 3.0, 1e-7);
    // The dual equations A'y + s - su = c and the gap, recomputed.
    for (int32_t j = 0; j < p.n; ++j) {
      double r = p.c[size_t(j)] - o.s[size_t(j)] + (j == 3 ? o.su[0] : 0.0);
      for (int64_t k = p.beg[size_t(j)]; k < p.beg[size_t(j) + 1]; ++k)
        r -= p.val[size_t(k)] * o.y[size_t(p.sub[size_t(k)])];
      EXPECT_NEAR(r, 0.0, 1e-7) << j;
      EXPECT_GE(o.s[size_t(j)], 0.0);
    }
    EXPECT_NEAR(p.b[0] * o.y[0] + p.b[1] * o.y[1] - 3 * o.su[0], -7.0, 1e-7);
    EXPECT_GT(o.info.iter, 2);
    EXPECT_LT(o.info.iter, 30);
  }
}

// x0 + x1 = 5 with x1 <= 1 and x0 <= 2 (both upper-bounded): infeasible. The certificate has
// b'y - u'su = 1 and A'y + s - su = 0 with s, su >= 0.
TEST(Homo, PrimalInfeasibilityGivesANormalisedFarkasVector) {
  Std p;
  p.m = 1;
  p.b = {5};
  p.Col({{0, 1}}, 1);
  p.Col({{0, 1}}, 1);
  p.nup = 2;
  p.ub = {2, 1};
  for (int32_t start : kStarts) {
    SCOPED_TRACE(start);
    const Out o = Solve(p, -1, 200, start);
    ASSERT_EQ(o.info.solsta, VLR_SOL_STA_PRIM_INFEAS_CER);
    EXPECT_EQ(o.info.prosta, VLR_PRO_STA_PRIM_INFEAS);
    EXPECT_NEAR(5 * o.y[0] - 2 * o.su[0] - o.su[1], 1.0, 1e-9);
    for (size_t j = 0; j < 2; ++j) {
      EXPECT_NEAR(o.y[0] + o.s[j] - o.su[j], 0.0, 1e-6) << j;
      EXPECT_GE(o.su[j], 0.0);
    }
  }
}

// min -x0 over x0 - x1 = 1: the ray (1, 1) with c'x = -1.
TEST(Homo, DualInfeasibilityGivesANormalisedRay) {
  Std p;
  p.m = 1;
  p.b = {1};
  p.Col({{0, 1}}, -1);
  p.Col({{0, -1}}, 0);
  for (int32_t start : kStarts) {
    SCOPED_TRACE(start);
    const Out o = Solve(p, -1, 200, start);
    ASSERT_EQ(o.info.solsta, VLR_SOL_STA_DUAL_INFEAS_CER);
    EXPECT_EQ(o.info.prosta, VLR_PRO_STA_DUAL_INFEAS);
    EXPECT_NEAR(-o.x[0], -1.0, 1e-9);
    EXPECT_NEAR(o.x[0] - o.x[1], 0.0, 1e-6);
  }
}

// The logger's stop and the iteration limit end the run with their responses and an unknown
// status; the runs repeat exactly.
TEST(Homo, StopsAndRepeats) {
  const Std p = Small();
  const Out stop = Solve(p, 2);
  EXPECT_EQ(stop.info.resp, 7);
  EXPECT_EQ(stop.info.iter, 2);
  EXPECT_EQ(stop.info.solsta, VLR_SOL_STA_UNKNOWN);
  const Out lim = Solve(p, -1, 1);
  EXPECT_EQ(lim.info.resp, 4);
  EXPECT_EQ(lim.info.solsta, VLR_SOL_STA_UNKNOWN);
  const Out a = Solve(p), b = Solve(p);
  EXPECT_EQ(a.x, b.x);
  EXPECT_EQ(a.y, b.y);
  EXPECT_EQ(a.info.iter, b.info.iter);
}

}  // namespace
