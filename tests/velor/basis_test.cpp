// tests/velor/basis_test.cpp: the default road's basis through the interface: the basis
// parameter's modes, the iteration limit of the interior point with and without the flag that
// ignores it, an infeasible problem (its certificate, and no basis sought), the information
// items and the log of the stages.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "fixture.h"

namespace {

// A transportation problem with ties (many optimal bases): three sources, four sinks.
void LoadTies(VLRtask_t task, bool infeasible = false) {
  const double supply[3] = {20, 30, infeasible ? 10.0 : 25.0};
  const double demand[4] = {15, 20, 20, 20};
  const double cost[12] = {4, 4, 6, 8, 4, 4, 6, 8, 5, 5, 5, 5};
  int32_t ptrb[12], ptre[12], sub[24];
  double val[24], blx[12], bux[12], blc[7], buc[7];
  int32_t bkx[12], bkc[7];
  for (int32_t j = 0; j < 12; ++j) {
    ptrb[j] = 2 * j;
    ptre[j] = 2 * j + 2;
    sub[2 * j] = j / 4;          // its source
    sub[2 * j + 1] = 3 + j % 4;  // its sink
    val[2 * j] = val[2 * j + 1] = 1.0;
    bkx[j] = VLR_BK_LO;
    blx[j] = 0.0;
    bux[j] = 1e30;
  }
  for (int32_t i = 0; i < 3; ++i) {
    bkc[i] = VLR_BK_UP;
    blc[i] = -1e30;
    buc[i] = supply[i];
  }
  for (int32_t d = 0; d < 4; ++d) {
    bkc[3 + d] = VLR_BK_FX;
    blc[3 + d] = buc[3 + d] = demand[d];
  }
  ASSERT_EQ(VLR_inputdata(task, 7, 12, 7, 12, cost, 0.0, ptrb, ptre, sub, val, bkc, blc, buc, bkx,
                          blx, bux),
            VLR_RES_OK);
}

int32_t Defined(VLRtask_t task, int32_t whichsol) {
  int32_t def = -1;
  EXPECT_EQ(VLR_solutiondef(task, whichsol, &def), VLR_RES_OK);
  return def;
}

int32_t SolSta(VLRtask_t task, int32_t whichsol) {
  int32_t prosta = 0, solsta = -1;
  EXPECT_EQ(VLR_getsolutionstatus(task, whichsol, &prosta, &solsta), VLR_RES_OK);
  return solsta;
}

class BasisTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env_ = vlrtest::MakeEnv();
    task_ = vlrtest::MakeTask(env_.get());
    VLR_putintparam(task_.get(), VLR_IPAR_LOG, 0);
  }
  VLRtask_t t() { return task_.get(); }
  vlrtest::EnvPtr env_;
  vlrtest::TaskPtr task_;
};

// The default: presolve off or on, the basic solution is a vertex (one basic variable a row, the
// others on a bound) at the interior solution's objective, and both stay readable.
TEST_F(BasisTest, TheDefaultRoadEndsInAVertexBesideTheInteriorSolution) {
  ASSERT_NO_FATAL_FAILURE(LoadTies(t()));
  for (int32_t presolve : {VLR_PRESOLVE_MODE_OFF, VLR_PRESOLVE_MODE_ON}) {
    SCOPED_TRACE(presolve);
    ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_PRESOLVE_USE, presolve), VLR_RES_OK);
    ASSERT_EQ(VLR_optimize(t()), VLR_RES_OK);
    ASSERT_EQ(SolSta(t(), VLR_SOL_BAS), VLR_SOL_STA_OPTIMAL);
    ASSERT_EQ(SolSta(t(), VLR_SOL_ITR), VLR_SOL_STA_OPTIMAL);
    double pbas = 0, pitr = 0;
    ASSERT_EQ(VLR_getprimalobj(t(), VLR_SOL_BAS, &pbas), VLR_RES_OK);
    ASSERT_EQ(VLR_getprimalobj(t(), VLR_SOL_ITR, &pitr), VLR_RES_OK);
    EXPECT_NEAR(pbas, 355.0, 1e-7);
    EXPECT_NEAR(pitr, 355.0, 1e-5);
    std::vector<int32_t> skc(7), skx(12);
    std::vector<double> xx(12);
    ASSERT_EQ(
        VLR_getsolution(t(), VLR_SOL_BAS, nullptr, nullptr, skc.data(), skx.data(), nullptr,
                        nullptr, xx.data(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
        VLR_RES_OK);
    int32_t nbas = 0;
    for (int32_t k : skc)
      nbas += k == VLR_SK_BAS;
    for (size_t j = 0; j < 12; ++j) {
      nbas += skx[j] == VLR_SK_BAS;
      if (skx[j] != VLR_SK_BAS) {
        EXPECT_EQ(xx[j], 0.0) << "column " << j;
      }
    }
    EXPECT_EQ(nbas, 7);
    double bitime = -1;
    ASSERT_EQ(VLR_getdouinf(t(), VLR_DINF_BI_TIME, &bitime), VLR_RES_OK);
    EXPECT_GT(bitime, 0.0);
  }
}

// VLR_BI_NEVER: the interior solution alone, no basic one.
TEST_F(BasisTest, NeverGivesNoBasis) {
  ASSERT_NO_FATAL_FAILURE(LoadTies(t()));
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_INTPNT_BASIS, VLR_BI_NEVER), VLR_RES_OK);
  ASSERT_EQ(VLR_optimize(t()), VLR_RES_OK);
  EXPECT_EQ(Defined(t(), VLR_SOL_BAS), 0);
  EXPECT_EQ(SolSta(t(), VLR_SOL_ITR), VLR_SOL_STA_OPTIMAL);
  // The interior-point choice honours the parameter the same way.
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_INTPNT), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_INTPNT_BASIS, VLR_BI_ALWAYS), VLR_RES_OK);
  ASSERT_EQ(VLR_optimize(t()), VLR_RES_OK);
  EXPECT_EQ(SolSta(t(), VLR_SOL_BAS), VLR_SOL_STA_OPTIMAL);
}

// The interior point stopped by its iteration limit: with VLR_BI_NO_ERROR a basis comes only
// when the flag says to ignore the limit; with VLR_BI_ALWAYS it always comes. Either way it is a
// basis (one basic variable a row) and the response is the limit's.
TEST_F(BasisTest, AnIterationLimitGivesABasisOnlyWhenAskedTo) {
  ASSERT_NO_FATAL_FAILURE(LoadTies(t()));
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_PRESOLVE_USE, VLR_PRESOLVE_MODE_OFF), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_INTPNT_MAX_ITERATIONS, 1), VLR_RES_OK);
  struct Case {
    int32_t mode, ignore;
    bool basis;
  };
  for (const Case& c : {Case{VLR_BI_NO_ERROR, VLR_OFF, false}, Case{VLR_BI_NO_ERROR, VLR_ON, true},
                        Case{VLR_BI_ALWAYS, VLR_OFF, true}}) {
    SCOPED_TRACE(std::to_string(c.mode) + " " + std::to_string(c.ignore));
    ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_INTPNT_BASIS, c.mode), VLR_RES_OK);
    ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_BI_IGNORE_MAX_ITER, c.ignore), VLR_RES_OK);
    int32_t trm = 0;
    ASSERT_EQ(VLR_optimizetrm(t(), &trm), VLR_RES_OK);
    EXPECT_EQ(trm, VLR_RES_TRM_MAX_ITERATIONS);
    EXPECT_EQ(Defined(t(), VLR_SOL_BAS), c.basis ? 1 : 0);
    if (!c.basis) continue;
    std::vector<int32_t> skc(7), skx(12);
    ASSERT_EQ(
        VLR_getsolution(t(), VLR_SOL_BAS, nullptr, nullptr, skc.data(), skx.data(), nullptr,
                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
        VLR_RES_OK);
    int32_t nbas = 0;
    for (int32_t k : skc)
      nbas += k == VLR_SK_BAS;
    for (int32_t k : skx)
      nbas += k == VLR_SK_BAS;
    EXPECT_EQ(nbas, 7);
    // From a point that far from optimal the clean-up does the work, and it ends optimal.
    EXPECT_EQ(SolSta(t(), VLR_SOL_BAS), VLR_SOL_STA_OPTIMAL);
  }
}

// An infeasible problem on the default road: the interior point's certificate, no basis, no
// time spent on one.
TEST_F(BasisTest, AnInfeasibleProblemEndsInTheCertificateWithoutABasis) {
  ASSERT_NO_FATAL_FAILURE(LoadTies(t(), true));
  ASSERT_EQ(VLR_optimize(t()), VLR_RES_OK);
  EXPECT_EQ(SolSta(t(), VLR_SOL_ITR), VLR_SOL_STA_PRIM_INFEAS_CER);
  EXPECT_EQ(Defined(t(), VLR_SOL_BAS), 0);
  double bitime = -1;
  ASSERT_EQ(VLR_getdouinf(t(), VLR_DINF_BI_TIME, &bitime), VLR_RES_OK);
  EXPECT_EQ(bitime, 0.0);
}

// The log names each stage with its time.
TEST_F(BasisTest, TheLogShowsEachStageWithItsTime) {
  ASSERT_NO_FATAL_FAILURE(LoadTies(t()));
  std::string log;
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_LOG, 10), VLR_RES_OK);
  ASSERT_EQ(
      VLR_linkfunctotaskstream(t(), VLR_STREAM_LOG, &log,
                               [](void* h, const char* s) { *static_cast<std::string*>(h) += s; }),
      VLR_RES_OK);
  ASSERT_EQ(VLR_optimize(t()), VLR_RES_OK);
  for (const char* line :
       {"Interior-point optimizer started", "Basis identification started",
        "Basis identification terminated", "  Presolve time", "  Interior-point time",
        "  Basis identification time", "  Postsolve time"}) {
    EXPECT_NE(log.find(line), std::string::npos) << line;
  }
}

}  // namespace
