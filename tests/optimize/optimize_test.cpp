// tests/optimize/optimize_test.cpp: the choice of road, and the tests of what a solution proves,
// on problems small enough to know by hand.
// SPDX-License-Identifier: Apache-2.0
#include "optimize/optimize.h"

#include <gtest/gtest.h>

#include <vector>

#include "velor.h"

namespace {

using vlr::OptChoice;

OptChoice Choice(int32_t optimizer, int32_t probtype) {
  OptChoice c;
  c.optimizer = optimizer;
  c.probtype = probtype;
  return c;
}

TEST(OptRoad, EveryChoiceGoesWhereTheTableSays) {
  for (int32_t opt :
       {VLR_OPTIMIZER_PRIMAL_SIMPLEX, VLR_OPTIMIZER_DUAL_SIMPLEX, VLR_OPTIMIZER_FREE_SIMPLEX}) {
    EXPECT_EQ(vlr::VLR_opt_chooseroad(Choice(opt, VLR_PROBTYPE_LO)), vlr::kOptRoadSimplex) << opt;
  }
  // The free choice of a linear problem takes the interior point, which ends in a basis.
  EXPECT_EQ(vlr::VLR_opt_chooseroad(Choice(VLR_OPTIMIZER_FREE, VLR_PROBTYPE_LO)),
            vlr::kOptRoadIntpnt);
  // The simplex takes linear problems only; the free choice of a conic one has no road yet.
  EXPECT_EQ(vlr::VLR_opt_chooseroad(Choice(VLR_OPTIMIZER_DUAL_SIMPLEX, VLR_PROBTYPE_QO)),
            vlr::kOptRoadInvalid);
  OptChoice cone = Choice(VLR_OPTIMIZER_FREE, VLR_PROBTYPE_LO);
  cone.numcone = 1;
  EXPECT_EQ(vlr::VLR_opt_chooseroad(cone), vlr::kOptRoadInvalid);
  // The interior-point choice takes its road for linear problems only.
  EXPECT_EQ(vlr::VLR_opt_chooseroad(Choice(VLR_OPTIMIZER_INTPNT, VLR_PROBTYPE_LO)),
            vlr::kOptRoadIntpnt);
  EXPECT_EQ(vlr::VLR_opt_chooseroad(Choice(VLR_OPTIMIZER_INTPNT, VLR_PROBTYPE_QO)),
            vlr::kOptRoadInvalid);
  OptChoice conelp = Choice(VLR_OPTIMIZER_INTPNT, VLR_PROBTYPE_LO);
  conelp.numcone = 1;
  EXPECT_EQ(vlr::VLR_opt_chooseroad(conelp), vlr::kOptRoadInvalid);
  EXPECT_EQ(vlr::VLR_opt_chooseroad(Choice(VLR_OPTIMIZER_FREE, VLR_PROBTYPE_MIXED)),
            vlr::kOptRoadMixedProblem);
  EXPECT_EQ(vlr::VLR_opt_chooseroad(Choice(VLR_OPTIMIZER_CONCURRENT, VLR_PROBTYPE_LO)),
            vlr::kOptRoadConcurrent);
  // Integers go to the mixed-integer library unless its mode says to ignore them.
  OptChoice ints = Choice(VLR_OPTIMIZER_FREE, VLR_PROBTYPE_LO);
  ints.numintvar = 2;
  ints.miomode = 1;
  EXPECT_EQ(vlr::VLR_opt_chooseroad(ints), vlr::kOptRoadMixedInteger);
  ints.miomode = 0;
  EXPECT_EQ(vlr::VLR_opt_chooseroad(ints), vlr::kOptRoadIntpnt);
  OptChoice sep = Choice(VLR_OPTIMIZER_FREE, VLR_PROBTYPE_QO);
  sep.qoseparate = 1;
  EXPECT_EQ(vlr::VLR_opt_chooseroad(sep), vlr::kOptRoadInvalid);
}

// x0 + x1 >= 3 (row 0) with 0 <= x <= 1, cost (1, 1): infeasible; y = 1 proves it, y = -1 not.
// Dropping x1's upper bound, (0, 1) is a ray of cost c = (1, -1).
TEST(OptCheck, FarkasVectorsRaysAndOptimaAreJudgedFromTheData) {
  const int64_t beg[] = {0, 1, 2};
  const int32_t idx[] = {0, 0};
  const double val[] = {1, 1};
  double c[] = {1, 1};
  int32_t bk[] = {VLR_BK_LO, VLR_BK_RA, VLR_BK_RA};
  double bl[] = {3, 0, 0}, bu[] = {1e30, 1, 1};
  vlr::SimLp lp;
  lp.m = 1;
  lp.n = 2;
  lp.abeg = beg;
  lp.aidx = idx;
  lp.aval = val;
  lp.c = c;
  lp.bk = bk;
  lp.bl = bl;
  lp.bu = bu;
  std::vector<int32_t> sk(3, VLR_SK_BAS);
  std::vector<double> x(3, 0.0), y(1, 1.0), d(3, 0.0);
  vlr::SimSol sol{sk.data(), x.data(), y.data(), d.data()};
  EXPECT_TRUE(vlr::VLR_opt_checkfarkas(lp, &sol));
  y[0] = -1.0;
  EXPECT_FALSE(vlr::VLR_opt_checkfarkas(lp, &sol));
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
  // A ray: x1 free upwards, costs (1, -1): the direction (xc, x) = (1, 0, 1).
  bk[2] = VLR_BK_LO;
  c[1] = -1;
  x = {1, 0, 1};
  EXPECT_TRUE(vlr::VLR_opt_checkray(sys, lp, sol));
  x = {1, 1, 0};  // leaves x0's recession cone (x0 is boxed)
  EXPECT_FALSE(vlr::VLR_opt_checkray(sys, lp, sol));
  // An optimum: row 0 lowered to 1, costs (1, 2): x = (1, 0), the row at its bound, y = 1.
  bl[0] = 1;
  bk[2] = VLR_BK_RA;
  c[1] = 2;
  x = {1, 1, 0};
  y = {1};
  sk = {VLR_SK_LOW, VLR_SK_BAS, VLR_SK_LOW};
  double pv = 0, dv = 0, po = 0, dob = 0;
  ASSERT_TRUE(vlr::VLR_opt_checksolution(sys, lp, &sol, &pv, &dv, &po, &dob));
  EXPECT_EQ(pv, 0.0);
  EXPECT_EQ(dv, 0.0);
  EXPECT_EQ(po, 1.0);
  EXPECT_EQ(dob, 1.0);
  sk = {VLR_SK_BAS, VLR_SK_LOW, VLR_SK_BAS};  // keys that do not fit the duals
  ASSERT_TRUE(vlr::VLR_opt_checksolution(sys, lp, &sol, &pv, &dv, &po, &dob));
  EXPECT_GT(dv, 0.5);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), 0);
}

}  // namespace
