// tests/velor/solution_test.cpp: the solution store: status falls as bounds, objective and
// matrix change under a solution, the put and get family, objectives and violation measures
// recomputed here from the data.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <vector>

#include "fixture.h"
#include "taskdump.h"

namespace {

// The small LP with a feasible vertex, x = (0, 0, 15, 25/3), stored as its basic solution.
class SolutionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env_ = vlrtest::MakeEnv();
    task_ = vlrtest::MakeTask(env_.get(), 0, 0);
    vlrtest::LoadSmallLp(task());
  }
  VLRtask_t task() { return task_.get(); }
  // A feasible point put as the basic solution with the given statuses.
  void PutBasic(int32_t prosta, int32_t solsta) {
    const int32_t skc[3] = {VLR_SK_FIX, VLR_SK_BAS, VLR_SK_UPR};
    const int32_t skx[4] = {VLR_SK_LOW, VLR_SK_LOW, VLR_SK_BAS, VLR_SK_BAS};
    const double xx[4] = {0, 0, 15, 25.0 / 3};
    const double xc[3] = {30, 15 + 25.0 / 3 * 2 + 0, 25};
    const double y[3] = {-2.5, 0, -1.0 / 3};
    ASSERT_EQ(VLR_putsolution(task(), VLR_SOL_BAS, skc, skx, nullptr, xc, xx, y, nullptr, nullptr,
                              nullptr, nullptr, nullptr),
              VLR_RES_OK);
    ASSERT_EQ(VLR_putprosta(task(), VLR_SOL_BAS, prosta), VLR_RES_OK);
    ASSERT_EQ(VLR_putsolsta(task(), VLR_SOL_BAS, solsta), VLR_RES_OK);
  }
  void ExpectStatus(int32_t prosta, int32_t solsta, int line) {
    int32_t p = -1, s = -1;
    ASSERT_EQ(VLR_getsolutionstatus(task(), VLR_SOL_BAS, &p, &s), VLR_RES_OK);
    EXPECT_EQ(p, prosta) << "line " << line;
    EXPECT_EQ(s, solsta) << "line " << line;
  }
  vlrtest::EnvPtr env_;
  vlrtest::TaskPtr task_;
};

TEST_F(SolutionTest, ABoundThatCutsOffTheSolutionCostsPrimalFeasibility) {
  PutBasic(VLR_PRO_STA_PRIM_AND_DUAL_FEAS, VLR_SOL_STA_OPTIMAL);
  // Widening and tightening that the point still satisfies keep the status.
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 2, VLR_BK_FR, 0, 0), VLR_RES_OK);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 2, VLR_BK_RA, 10, 20), VLR_RES_OK);
  ExpectStatus(VLR_PRO_STA_PRIM_AND_DUAL_FEAS, VLR_SOL_STA_OPTIMAL, __LINE__);
  // Within the basis tolerance (1e-6) is not a cut.
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 2, VLR_BK_RA, 15 + 5e-7, 20), VLR_RES_OK);
  ExpectStatus(VLR_PRO_STA_PRIM_AND_DUAL_FEAS, VLR_SOL_STA_OPTIMAL, __LINE__);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 2, VLR_BK_LO, 16, 0), VLR_RES_OK);
  ExpectStatus(VLR_PRO_STA_DUAL_FEAS, VLR_SOL_STA_DUAL_FEAS, __LINE__);
  // A change of c then costs the dual side too.
  ASSERT_EQ(VLR_putcj(task(), 0, 4.0), VLR_RES_OK);
  ExpectStatus(VLR_PRO_STA_UNKNOWN, VLR_SOL_STA_UNKNOWN, __LINE__);
}

TEST_F(SolutionTest, StatusTablesForBoundObjectiveAndMatrixChanges) {
  struct Row {
    int32_t prosta, solsta;    // before
    int32_t bprosta, bsolsta;  // after a cutting bound
    int32_t cprosta, csolsta;  // after a change of c
    int32_t aprosta, asolsta;  // after a change of A
  };
  const Row rows[] = {
      {VLR_PRO_STA_PRIM_AND_DUAL_FEAS, VLR_SOL_STA_OPTIMAL, VLR_PRO_STA_DUAL_FEAS,
       VLR_SOL_STA_DUAL_FEAS, VLR_PRO_STA_PRIM_FEAS, VLR_SOL_STA_PRIM_FEAS, VLR_PRO_STA_UNKNOWN,
       VLR_SOL_STA_UNKNOWN},
      {VLR_PRO_STA_NEAR_PRIM_AND_DUAL_FEAS, VLR_SOL_STA_NEAR_OPTIMAL, VLR_PRO_STA_NEAR_DUAL_FEAS,
       VLR_SOL_STA_NEAR_DUAL_FEAS, VLR_PRO_STA_NEAR_PRIM_FEAS, VLR_SOL_STA_NEAR_PRIM_FEAS,
       VLR_PRO_STA_UNKNOWN, VLR_SOL_STA_UNKNOWN},
      {VLR_PRO_STA_PRIM_AND_DUAL_INFEAS, VLR_SOL_STA_UNKNOWN, VLR_PRO_STA_PRIM_INFEAS,
       VLR_SOL_STA_UNKNOWN, VLR_PRO_STA_DUAL_INFEAS, VLR_SOL_STA_UNKNOWN, VLR_PRO_STA_UNKNOWN,
       VLR_SOL_STA_UNKNOWN},
      {VLR_PRO_STA_PRIM_INFEAS, VLR_SOL_STA_PRIM_INFEAS_CER, VLR_PRO_STA_PRIM_INFEAS,
       VLR_SOL_STA_PRIM_INFEAS_CER, VLR_PRO_STA_UNKNOWN, VLR_SOL_STA_UNKNOWN, VLR_PRO_STA_UNKNOWN,
       VLR_SOL_STA_UNKNOWN},
      {VLR_PRO_STA_DUAL_INFEAS, VLR_SOL_STA_DUAL_INFEAS_CER, VLR_PRO_STA_UNKNOWN,
       VLR_SOL_STA_UNKNOWN, VLR_PRO_STA_DUAL_INFEAS, VLR_SOL_STA_DUAL_INFEAS_CER,
       VLR_PRO_STA_UNKNOWN, VLR_SOL_STA_UNKNOWN},
      {VLR_PRO_STA_PRIM_FEAS, VLR_SOL_STA_PRIM_FEAS, VLR_PRO_STA_UNKNOWN, VLR_SOL_STA_UNKNOWN,
       VLR_PRO_STA_PRIM_FEAS, VLR_SOL_STA_PRIM_FEAS, VLR_PRO_STA_UNKNOWN, VLR_SOL_STA_UNKNOWN},
      {VLR_PRO_STA_ILL_POSED, VLR_SOL_STA_PRIM_AND_DUAL_FEAS, VLR_PRO_STA_UNKNOWN,
       VLR_SOL_STA_DUAL_FEAS, VLR_PRO_STA_UNKNOWN, VLR_SOL_STA_PRIM_FEAS, VLR_PRO_STA_UNKNOWN,
       VLR_SOL_STA_UNKNOWN},
  };
  for (const Row& r : rows) {
    PutBasic(r.prosta, r.solsta);
    ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 0, VLR_BK_LO, 1, 0), VLR_RES_OK);  // x0 = 0 cut
    ExpectStatus(r.bprosta, r.bsolsta, __LINE__);
    ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 0, VLR_BK_LO, 0, 0), VLR_RES_OK);
    PutBasic(r.prosta, r.solsta);
    ASSERT_EQ(VLR_putcj(task(), 0, 3.0), VLR_RES_OK);  // the present value: no change
    ExpectStatus(r.prosta, r.solsta, __LINE__);
    ASSERT_EQ(VLR_putcj(task(), 0, 3.5), VLR_RES_OK);
    ExpectStatus(r.cprosta, r.csolsta, __LINE__);
    ASSERT_EQ(VLR_putcj(task(), 0, 3.0), VLR_RES_OK);
    PutBasic(r.prosta, r.solsta);
    ASSERT_EQ(VLR_putaij(task(), 2, 0, 1.0), VLR_RES_OK);
    ExpectStatus(r.aprosta, r.asolsta, __LINE__);
    ASSERT_EQ(VLR_putaij(task(), 2, 0, 0.0), VLR_RES_OK);
  }
}

TEST_F(SolutionTest, PutAndGetFamily) {
  int32_t def = -1;
  ASSERT_EQ(VLR_solutiondef(task(), VLR_SOL_BAS, &def), VLR_RES_OK);
  EXPECT_EQ(def, 0);
  double v[4];
  EXPECT_EQ(VLR_getsolutionslice(task(), VLR_SOL_BAS, VLR_SOL_ITEM_XX, 0, 4, v),
            VLR_RES_ERR_UNDEF_SOLUTION);
  EXPECT_EQ(VLR_solutiondef(task(), 3, &def), VLR_RES_ERR_WHICHSOL);
  // Too few basic keys warn, with the counts in the message.
  int32_t skc[3] = {VLR_SK_BAS, VLR_SK_LOW, VLR_SK_LOW}, skx[4] = {0, 0, 0, 0};
  std::string warned;
  VLR_putresponsefunc(
      task(),
      [](void* h, int32_t code, const char* msg) -> int32_t {
        if (code == VLR_RES_WRN_TOO_FEW_BASIS_VARS) *static_cast<std::string*>(h) = msg;
        return 0;
      },
      &warned);
  ASSERT_EQ(VLR_putsolution(task(), VLR_SOL_BAS, skc, skx, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr),
            VLR_RES_OK);
  EXPECT_NE(warned.find("1 number of basis variables are specified but 3"), std::string::npos);
  skc[1] = 99;
  EXPECT_EQ(VLR_putsolution(task(), VLR_SOL_BAS, skc, skx, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr),
            VLR_RES_ERR_INV_SKC);
  ASSERT_EQ(VLR_putsolutioni(task(), VLR_ACC_VAR, 2, VLR_SOL_BAS, VLR_SK_BAS, 15, 0.5, 0.25, 9),
            VLR_RES_OK);
  int32_t sk = 0;
  double x = 0, sl = 0, su = 0, sn = -1;
  ASSERT_EQ(VLR_getsolutioni(task(), VLR_ACC_VAR, 2, VLR_SOL_BAS, &sk, &x, &sl, &su, &sn),
            VLR_RES_OK);
  EXPECT_EQ(sk, VLR_SK_BAS);
  EXPECT_EQ(x, 15.0);
  EXPECT_EQ(sl, 0.5);
  EXPECT_EQ(sn, 0.0);  // the basic solution has no cone duals
  double rc = 0;
  ASSERT_EQ(VLR_getreducedcosts(task(), VLR_SOL_BAS, 2, 3, &rc), VLR_RES_OK);
  EXPECT_EQ(rc, 0.25);
  ASSERT_EQ(VLR_putsolutionyi(task(), 1, VLR_SOL_BAS, -7), VLR_RES_OK);
  ASSERT_EQ(VLR_getsolutionslice(task(), VLR_SOL_BAS, VLR_SOL_ITEM_Y, 1, 2, v), VLR_RES_OK);
  EXPECT_EQ(v[0], -7.0);
  EXPECT_EQ(VLR_getsolutionslice(task(), VLR_SOL_BAS, VLR_SOL_ITEM_SNX, 0, 1, v),
            VLR_RES_ERR_SOLITEM);
  EXPECT_EQ(VLR_getsolutionslice(task(), VLR_SOL_BAS, VLR_SOL_ITEM_XX, 2, 5, v),
            VLR_RES_ERR_INDEX_IS_TOO_LARGE);
  // The integer solution has no duals.
  const double xx[4] = {1, 2, 3, 4};
  ASSERT_EQ(VLR_putsolution(task(), VLR_SOL_ITG, nullptr, nullptr, nullptr, nullptr, xx, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr),
            VLR_RES_OK);
  EXPECT_EQ(VLR_getsolutionslice(task(), VLR_SOL_ITG, VLR_SOL_ITEM_Y, 0, 3, v),
            VLR_RES_ERR_SOLITEM);
  // Undefined keeps the arrays; defined again they read as before.
  ASSERT_EQ(VLR_undefsolution(task(), VLR_SOL_ITG), VLR_RES_OK);
  ASSERT_EQ(VLR_solutiondef(task(), VLR_SOL_ITG, &def), VLR_RES_OK);
  EXPECT_EQ(def, 0);
  ASSERT_EQ(VLR_makesolutionstatusunknown(task(), VLR_SOL_ITG), VLR_RES_OK);
  ASSERT_EQ(VLR_getsolutionslice(task(), VLR_SOL_ITG, VLR_SOL_ITEM_XX, 0, 4, v), VLR_RES_OK);
  EXPECT_EQ(v[3], 0.0);
  ASSERT_EQ(VLR_deletesolution(task(), VLR_SOL_ITG), VLR_RES_OK);
  ASSERT_EQ(VLR_solutiondef(task(), VLR_SOL_ITG, &def), VLR_RES_OK);
  EXPECT_EQ(def, 0);
}

TEST_F(SolutionTest, SolutionsFollowAppendRemoveAndCapacity) {
  PutBasic(VLR_PRO_STA_PRIM_AND_DUAL_FEAS, VLR_SOL_STA_OPTIMAL);
  ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 30), VLR_RES_OK);  // grows every array
  ASSERT_EQ(VLR_append(task(), VLR_ACC_CON, 10), VLR_RES_OK);
  ExpectStatus(VLR_PRO_STA_PRIM_AND_DUAL_FEAS, VLR_SOL_STA_OPTIMAL, __LINE__);
  double x[34];
  ASSERT_EQ(VLR_getsolutionslice(task(), VLR_SOL_BAS, VLR_SOL_ITEM_XX, 0, 34, x), VLR_RES_OK);
  EXPECT_EQ(x[3], 25.0 / 3);
  EXPECT_EQ(x[33], 0.0);
  int32_t sk = -1;
  ASSERT_EQ(VLR_getsolutionstatuskeyslice(task(), VLR_ACC_VAR, VLR_SOL_BAS, 20, 21, &sk),
            VLR_RES_OK);
  EXPECT_EQ(sk, VLR_SK_UNK);
  const int32_t gone[2] = {0, 2};
  ASSERT_EQ(VLR_remove(task(), VLR_ACC_VAR, 2, gone), VLR_RES_OK);
  ASSERT_EQ(VLR_getsolutionslice(task(), VLR_SOL_BAS, VLR_SOL_ITEM_XX, 0, 2, x), VLR_RES_OK);
  EXPECT_EQ(x[0], 0.0);
  EXPECT_EQ(x[1], 25.0 / 3);
  ASSERT_EQ(VLR_getsolutionstatuskeyslice(task(), VLR_ACC_VAR, VLR_SOL_BAS, 1, 2, &sk), VLR_RES_OK);
  EXPECT_EQ(sk, VLR_SK_BAS);
}

// Objectives and violations, recomputed in the test from the problem and the stored values.
TEST_F(SolutionTest, ObjectivesAndViolationsMatchAHandComputation) {
  const double xx[4] = {1, 2, 3, 4};  // A x = (3+2+6, 2+2+9+4, 4+12) = (11, 17, 16)
  const double xc[3] = {11, 17, 20};  // row 2 off by 4
  const double y[3] = {1, -1, 0.5};
  const double slc[3] = {2, 0, 0}, suc[3] = {1, 0, 0.5};
  const double slx[4] = {0, 0, 0, 0}, sux[4] = {0, -1, 0, 0};
  ASSERT_EQ(VLR_putsolution(task(), VLR_SOL_ITR, nullptr, nullptr, nullptr, xc, xx, y, slc, suc,
                            slx, sux, nullptr),
            VLR_RES_OK);
  double pobj = 0, dobj = 0, maxpbi = -1, maxpeqi = -1, maxdbi = -1, maxdeqi = -1;
  ASSERT_EQ(VLR_getsolutioninf(task(), VLR_SOL_ITR, nullptr, nullptr, &pobj, &maxpbi, nullptr,
                               &maxpeqi, nullptr, &dobj, &maxdbi, nullptr, &maxdeqi),
            VLR_RES_OK);
  EXPECT_DOUBLE_EQ(pobj, 3 * 1 + 1 * 2 + 5 * 3 + 1 * 4 + 2.0);
  // Dual objective: cfix + blc.slc - buc.suc + blx.slx - bux.sux (only present sides).
  EXPECT_DOUBLE_EQ(dobj, 2.0 + 30 * 2 - 30 * 1 - 25 * 0.5 - 10 * -1);
  EXPECT_DOUBLE_EQ(maxpeqi, 4.0);
  EXPECT_DOUBLE_EQ(maxpbi, 19.0);  // xc[0] = 11 against the fixed 30
  // Multipliers: sux[1] = -1 has the wrong sign; slc[1] and suc[0] are fine by side presence.
  EXPECT_DOUBLE_EQ(maxdbi, 1.0);
  // Dual equations: y - slc + suc per row, c - A'y - slx + sux per column.
  double want = 0;
  const double aty[4] = {3 * 1 + 2 * -1, 1 * 1 + 1 * -1 + 2 * 0.5, 2 * 1 + 3 * -1,
                         1 * -1 + 3 * 0.5};
  const double c[4] = {3, 1, 5, 1};
  for (int32_t j = 0; j < 4; ++j)
    want = std::max(want, std::fabs(c[j] - aty[j] - slx[j] + sux[j]));
  for (int32_t i = 0; i < 3; ++i)
    want = std::max(want, std::fabs(y[i] - slc[i] + suc[i]));
  EXPECT_DOUBLE_EQ(maxdeqi, want);
  const int32_t rows[2] = {2, 0};
  double peqi[2] = {-1, -1}, pbi[2] = {-1, -1};
  ASSERT_EQ(VLR_getpeqi(task(), VLR_SOL_ITR, rows, 2, peqi, 0), VLR_RES_OK);
  EXPECT_EQ(peqi[0], 4.0);
  EXPECT_EQ(peqi[1], 0.0);
  ASSERT_EQ(VLR_putsolutioni(task(), VLR_ACC_VAR, 1, VLR_SOL_ITR, VLR_SK_UNK, 12, 0, -1, 0),
            VLR_RES_OK);
  const int32_t cols[1] = {1};
  ASSERT_EQ(VLR_getpbi(task(), VLR_SOL_ITR, VLR_ACC_VAR, cols, 1, pbi, 0), VLR_RES_OK);
  EXPECT_EQ(pbi[0], 2.0);  // x1 = 12 above its upper bound 10
  // A certificate leaves cfix out of the primal objective.
  ASSERT_EQ(VLR_putsolsta(task(), VLR_SOL_ITR, VLR_SOL_STA_DUAL_INFEAS_CER), VLR_RES_OK);
  ASSERT_EQ(VLR_getprimalobj(task(), VLR_SOL_ITR, &pobj), VLR_RES_OK);
  EXPECT_DOUBLE_EQ(pobj, 3 * 1 + 1 * 12 + 5 * 3 + 1 * 4);
  EXPECT_EQ(VLR_getdualobj(task(), VLR_SOL_ITG, &dobj), VLR_RES_ERR_NO_DUAL_FOR_ITG_SOL);
  EXPECT_EQ(dobj, VLR_INFINITY);
  EXPECT_EQ(VLR_getprimalobj(task(), VLR_SOL_BAS, &pobj), VLR_RES_ERR_UNDEF_SOLUTION);
  EXPECT_EQ(pobj, -VLR_INFINITY);
  ASSERT_EQ(VLR_updatesolutioninfo(task(), VLR_SOL_ITR), VLR_RES_OK);
  double inf = 0;
  ASSERT_EQ(VLR_getdouinf(task(), VLR_DINF_SOL_ITR_MAX_PEQI, &inf), VLR_RES_OK);
  EXPECT_EQ(inf, 16.0);  // with x1 = 12: A x = (21, 27, 36) against xc = (11, 17, 20)
}

}  // namespace
