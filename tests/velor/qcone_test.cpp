// tests/velor/qcone_test.cpp: quadratic terms, cones, integer marks and branching data, and the
// clone of a task that holds all of them.
// SPDX-License-Identifier: Apache-2.0
#include <vector>

#include "fixture.h"
#include "taskdump.h"

namespace {

class QconeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env_ = vlrtest::MakeEnv();
    task_ = vlrtest::MakeTask(env_.get(), 0, 0);
    vlrtest::LoadSmallLp(task());
  }
  VLRtask_t task() { return task_.get(); }
  int32_t Type() {
    int32_t t = -1;
    EXPECT_EQ(VLR_getprobtype(task(), &t), VLR_RES_OK);
    return t;
  }
  double Q(int32_t i, int32_t j) {
    double q = -1;
    EXPECT_EQ(VLR_getqobjij(task(), i, j, &q), VLR_RES_OK);
    return q;
  }
  vlrtest::EnvPtr env_;
  vlrtest::TaskPtr task_;
};

TEST_F(QconeTest, ObjectiveQKeepsTheLowerTriangleAndSumsRepeats) {
  const int32_t qi[4] = {0, 2, 2, 3}, qj[4] = {0, 1, 1, 3};
  const double qv[4] = {2, 1, 0.5, 1e-17};  // the tiny one is dropped
  ASSERT_EQ(VLR_putqobj(task(), 4, qi, qj, qv), VLR_RES_OK);
  EXPECT_EQ(Type(), VLR_PROBTYPE_QO);
  int32_t nz = 0;
  ASSERT_EQ(VLR_getnumqobjnz(task(), &nz), VLR_RES_OK);
  EXPECT_EQ(nz, 2);
  EXPECT_EQ(Q(2, 1), 1.5);
  EXPECT_EQ(Q(1, 2), 1.5);  // either way round
  const int32_t up_i[1] = {1}, up_j[1] = {2};
  EXPECT_EQ(VLR_putqobj(task(), 1, up_i, up_j, qv), VLR_RES_ERR_QOBJ_UPPER_TRIANGLE);
  EXPECT_EQ(VLR_putqobj(task(), 1, up_j, up_i, qv), VLR_RES_OK);  // (2, 1) is fine
  ASSERT_EQ(VLR_putqobj(task(), 4, qi, qj, qv), VLR_RES_OK);
  // Element by element: overwrite, add (growing the pool), remove.
  ASSERT_EQ(VLR_putqobjij(task(), 1, 2, 4.0), VLR_RES_OK);
  EXPECT_EQ(Q(2, 1), 4.0);
  for (int32_t j = 0; j < 4; ++j)
    ASSERT_EQ(VLR_putqobjij(task(), 3, j, 1.0 + j), VLR_RES_OK);
  EXPECT_EQ(Q(3, 3), 4.0);
  ASSERT_EQ(VLR_putqobjij(task(), 2, 1, 0.0), VLR_RES_OK);
  EXPECT_EQ(Q(2, 1), 0.0);
  ASSERT_EQ(VLR_getnumqobjnz(task(), &nz), VLR_RES_OK);
  EXPECT_EQ(nz, 5);
  EXPECT_EQ(VLR_putqobjij(task(), 4, 0, 1.0), VLR_RES_ERR_INDEX_IS_TOO_LARGE);
  // Count 0 makes the problem linear again.
  ASSERT_EQ(VLR_putqobj(task(), 0, nullptr, nullptr, nullptr), VLR_RES_OK);
  EXPECT_EQ(Type(), VLR_PROBTYPE_LO);
}

TEST_F(QconeTest, ConstraintQSharesThePoolWithTheObjective) {
  const int32_t k[3] = {2, 0, 2}, qi[3] = {1, 3, 1}, qj[3] = {0, 3, 1};
  const double qv[3] = {1, 2, 3};
  ASSERT_EQ(VLR_putqcon(task(), 3, k, qi, qj, qv), VLR_RES_OK);
  EXPECT_EQ(Type(), VLR_PROBTYPE_QCQO);
  int32_t nz = 0;
  ASSERT_EQ(VLR_getnumqconknz(task(), 2, &nz), VLR_RES_OK);
  EXPECT_EQ(nz, 2);
  const int32_t oi[2] = {0, 1}, oj[2] = {0, 0};
  const double ov[2] = {5, 6};
  ASSERT_EQ(VLR_putqobj(task(), 2, oi, oj, ov), VLR_RES_OK);
  // Replacing constraint 0 with a longer list moves it; the others keep their terms.
  const int32_t ci[3] = {0, 1, 2}, cj[3] = {0, 1, 2};
  ASSERT_EQ(VLR_putqconk(task(), 0, 3, ci, cj, qv), VLR_RES_OK);
  int32_t si[4], sj[4];
  double sv[4];
  ASSERT_EQ(VLR_getqconk(task(), 2, 4, &nz, si, sj, sv), VLR_RES_OK);
  ASSERT_EQ(nz, 2);
  EXPECT_EQ(sv[0] + sv[1], 4.0);
  ASSERT_EQ(VLR_getqobj(task(), 4, &nz, si, sj, sv), VLR_RES_OK);
  EXPECT_EQ(nz, 2);
  int64_t maxq = 0;
  ASSERT_EQ(VLR_getmaxnumqnz64(task(), &maxq), VLR_RES_OK);
  EXPECT_EQ(VLR_putmaxnumqnz(task(), 3), VLR_RES_ERR_MAXNUMQNZ);
  ASSERT_EQ(VLR_putmaxnumqnz(task(), 7), VLR_RES_OK);  // compacts: exactly the 7 in use fit
  ASSERT_EQ(VLR_getqconk(task(), 0, 4, &nz, si, sj, sv), VLR_RES_OK);
  EXPECT_EQ(nz, 3);
  const int32_t badk[1] = {3};
  EXPECT_EQ(VLR_putqcon(task(), 1, badk, qi, qj, qv), VLR_RES_ERR_INV_QCON_SUBK);
  const int32_t upi[1] = {0}, upj[1] = {1};
  EXPECT_EQ(VLR_putqconk(task(), 1, 1, upi, upj, qv), VLR_RES_ERR_QCON_UPPER_TRIANGLE);
  const int32_t big[1] = {4};
  EXPECT_EQ(VLR_putqconk(task(), 1, 1, big, upi, qv), VLR_RES_ERR_QCON_SUBI_TOO_LARGE);
  // Removing a variable drops its terms and renumbers the others.
  const int32_t gone[1] = {0};
  ASSERT_EQ(VLR_remove(task(), VLR_ACC_VAR, 1, gone), VLR_RES_OK);
  ASSERT_EQ(VLR_getnumqobjnz(task(), &nz), VLR_RES_OK);
  EXPECT_EQ(nz, 0);
  ASSERT_EQ(VLR_getqconk(task(), 2, 4, &nz, si, sj, sv), VLR_RES_OK);
  ASSERT_EQ(nz, 1);
  EXPECT_EQ(si[0], 0);
  EXPECT_EQ(sv[0], 3.0);
}

TEST_F(QconeTest, ConesCheckTheirMembers) {
  const int32_t one[1] = {0}, two[2] = {1, 2}, rep[2] = {3, 3}, over[2] = {3, 2};
  EXPECT_EQ(VLR_appendcone(task(), VLR_CT_RQUAD, 0, 1, one), VLR_RES_ERR_CONE_SIZE);
  EXPECT_EQ(VLR_appendcone(task(), 5, 0, 1, one), VLR_RES_ERR_CONE_TYPE);
  ASSERT_EQ(VLR_appendcone(task(), VLR_CT_QUAD, 0, 1, one), VLR_RES_OK);
  ASSERT_EQ(VLR_appendcone(task(), VLR_CT_RQUAD, 0.5, 2, two), VLR_RES_OK);
  EXPECT_EQ(Type(), VLR_PROBTYPE_CONIC);
  EXPECT_EQ(VLR_appendcone(task(), VLR_CT_QUAD, 0, 2, rep), VLR_RES_ERR_CONE_REP_VAR);
  EXPECT_EQ(VLR_appendcone(task(), VLR_CT_QUAD, 0, 2, over), VLR_RES_ERR_CONE_OVERLAP);
  int32_t k = 0;
  ASSERT_EQ(VLR_getnumcone(task(), &k), VLR_RES_OK);
  EXPECT_EQ(k, 2);
  EXPECT_EQ(VLR_remove(task(), VLR_ACC_VAR, 1, &two[1]), VLR_RES_ERR_REMOVE_CONE_VARIABLE);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_CONE, 1, "rot"), VLR_RES_OK);
  // Removing cone 0 frees x0 and moves cone 1, with its name, down.
  ASSERT_EQ(VLR_removecone(task(), 0), VLR_RES_OK);
  char name[16];
  ASSERT_EQ(VLR_getname(task(), VLR_PI_CONE, 0, sizeof name, nullptr, name), VLR_RES_OK);
  EXPECT_STREQ(name, "rot");
  const int32_t again[2] = {0, 3};
  ASSERT_EQ(VLR_appendcone(task(), VLR_CT_QUAD, 0, 2, again), VLR_RES_OK);
  EXPECT_EQ(VLR_appendcone(task(), VLR_CT_QUAD, 0, 1, &two[0]), VLR_RES_ERR_CONE_OVERLAP);
  int32_t type = 0, nm = 0, mem[4];
  double par = 0;
  ASSERT_EQ(VLR_getcone(task(), 0, &type, &par, &nm, mem), VLR_RES_OK);
  EXPECT_EQ(type, VLR_CT_RQUAD);
  EXPECT_EQ(par, 0.5);
  EXPECT_EQ(nm, 2);
  // A cone replaced by a longer list; x1 and x2 then belong to it with x3 moved out of cone 1.
  ASSERT_EQ(VLR_removecone(task(), 1), VLR_RES_OK);
  const int32_t three[3] = {1, 2, 3};
  ASSERT_EQ(VLR_putcone(task(), 0, VLR_CT_QUAD, 0, 3, three), VLR_RES_OK);
  ASSERT_EQ(VLR_getnumconemem(task(), 0, &nm), VLR_RES_OK);
  EXPECT_EQ(nm, 3);
  ASSERT_EQ(VLR_putqobjij(task(), 0, 0, 1.0), VLR_RES_OK);
  EXPECT_EQ(Type(), VLR_PROBTYPE_MIXED);
}

TEST_F(QconeTest, IntegerMarksAndBranchingData) {
  int32_t type = -1, n = -1;
  ASSERT_EQ(VLR_getvartype(task(), 2, &type), VLR_RES_OK);
  EXPECT_EQ(type, VLR_VAR_TYPE_CONT);
  const int32_t subj[3] = {0, 2, 0},
                types[3] = {VLR_VAR_TYPE_CONT, VLR_VAR_TYPE_INT, VLR_VAR_TYPE_INT};
  // Read backwards: x0 ends continuous.
  ASSERT_EQ(VLR_putvartypelist(task(), 3, subj, types), VLR_RES_OK);
  int32_t got[3];
  ASSERT_EQ(VLR_getvartypelist(task(), 3, subj, got), VLR_RES_OK);
  EXPECT_EQ(got[0], VLR_VAR_TYPE_CONT);
  EXPECT_EQ(got[1], VLR_VAR_TYPE_INT);
  ASSERT_EQ(VLR_getnumintvar(task(), &n), VLR_RES_OK);
  EXPECT_EQ(n, 1);
  EXPECT_EQ(VLR_putvartype(task(), 1, 7), VLR_RES_ERR_INV_VAR_TYPE);
  ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 3), VLR_RES_OK);
  ASSERT_EQ(VLR_getvartype(task(), 6, &type), VLR_RES_OK);
  EXPECT_EQ(type, VLR_VAR_TYPE_CONT);
  ASSERT_EQ(VLR_remove(task(), VLR_ACC_VAR, 1, &subj[1]), VLR_RES_OK);
  ASSERT_EQ(VLR_getnumintvar(task(), &n), VLR_RES_OK);
  EXPECT_EQ(n, 0);
  EXPECT_EQ(VLR_putvarbranchorder(task(), 1, -1, 0), VLR_RES_ERR_INVALID_BRANCH_PRIORITY);
  EXPECT_EQ(VLR_putvarbranchorder(task(), 1, 3, 3), VLR_RES_ERR_INVALID_BRANCH_DIRECTION);
  ASSERT_EQ(VLR_putvarbranchorder(task(), 1, 3, VLR_BRANCH_DIR_DOWN), VLR_RES_OK);
  int32_t pri = 0, dir = 0;
  ASSERT_EQ(VLR_getvarbranchpri(task(), 1, &pri), VLR_RES_OK);
  ASSERT_EQ(VLR_getvarbranchdir(task(), 1, &dir), VLR_RES_OK);
  EXPECT_EQ(pri, 3);
  EXPECT_EQ(dir, VLR_BRANCH_DIR_DOWN);
  ASSERT_EQ(VLR_getvarbranchorder(task(), 0, &pri, &dir), VLR_RES_OK);
  EXPECT_EQ(pri, 0);
}

int32_t NoStructure(void*, int32_t*, int32_t*, int32_t, int32_t*, int32_t*, int32_t*, int32_t,
                    int32_t, const int32_t*, int64_t, int64_t*, int32_t*, int32_t*) {
  return 0;
}

TEST_F(QconeTest, ACloneHoldsEverythingTheSourceHolds) {
  ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 3), VLR_RES_OK);
  const int32_t mem[3] = {4, 5, 6};
  ASSERT_EQ(VLR_appendcone(task(), VLR_CT_RQUAD, 1.5, 3, mem), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_CONE, 0, "k"), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 1, "y"), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, 2, "cap"), VLR_RES_OK);
  ASSERT_EQ(VLR_putobjname(task(), "obj"), VLR_RES_OK);
  ASSERT_EQ(VLR_puttaskname(task(), "source"), VLR_RES_OK);
  ASSERT_EQ(VLR_putqobjij(task(), 1, 0, 2.0), VLR_RES_OK);
  const int32_t qk[1] = {1}, qi[1] = {2}, qj[1] = {2};
  const double qv[1] = {-1};
  ASSERT_EQ(VLR_putqcon(task(), 1, qk, qi, qj, qv), VLR_RES_OK);
  ASSERT_EQ(VLR_putvartype(task(), 3, VLR_VAR_TYPE_INT), VLR_RES_OK);
  ASSERT_EQ(VLR_putvarbranchorder(task(), 3, 7, VLR_BRANCH_DIR_UP), VLR_RES_OK);
  ASSERT_EQ(VLR_putobjsense(task(), VLR_OBJECTIVE_SENSE_MAXIMIZE), VLR_RES_OK);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 5, VLR_BK_LO, -1e17, 0), VLR_RES_OK);  // -> FR
  ASSERT_EQ(VLR_putintparam(task(), VLR_IPAR_LOG, 3), VLR_RES_OK);
  ASSERT_EQ(VLR_makesolutionstatusunknown(task(), VLR_SOL_ITR), VLR_RES_OK);
  ASSERT_EQ(VLR_putsolutioni(task(), VLR_ACC_VAR, 2, VLR_SOL_ITR, VLR_SK_SUPBAS, 1, 2, 3, 4),
            VLR_RES_OK);
  ASSERT_EQ(VLR_putsolsta(task(), VLR_SOL_ITR, VLR_SOL_STA_NEAR_OPTIMAL), VLR_RES_OK);
  VLRtask_t clone = nullptr;
  ASSERT_EQ(VLR_clonetask(task(), &clone), VLR_RES_OK);
  vlrtest::TaskPtr owned(clone);
  EXPECT_EQ(vlrtest::Dump(clone), vlrtest::Dump(task()));
  int32_t log = 0, type = -1;
  ASSERT_EQ(VLR_getintparam(clone, VLR_IPAR_LOG, &log), VLR_RES_OK);
  EXPECT_EQ(log, 3);
  ASSERT_EQ(VLR_getprobtype(clone, &type), VLR_RES_OK);
  EXPECT_EQ(type, VLR_PROBTYPE_MIXED);
  char name[16];
  ASSERT_EQ(VLR_gettaskname(clone, sizeof name, name), VLR_RES_OK);
  EXPECT_STREQ(name, "source");
  int32_t asgn = 0, index = -1;
  ASSERT_EQ(VLR_getnameindex(clone, VLR_PI_CON, "cap", &asgn, &index), VLR_RES_OK);
  EXPECT_EQ(index, 2);
  // The copy is deep: changing the clone leaves the source alone.
  const std::string source = vlrtest::Dump(task());
  ASSERT_EQ(VLR_putaij(clone, 0, 0, 99.0), VLR_RES_OK);
  ASSERT_EQ(VLR_removecone(clone, 0), VLR_RES_OK);
  EXPECT_EQ(vlrtest::Dump(task()), source);
  VLRtask_t same = task();
  EXPECT_EQ(VLR_clonetask(task(), &same), VLR_RES_ERR_IDENTICAL_TASKS);
  ASSERT_EQ(VLR_putnlfunc(task(), nullptr, NoStructure, nullptr), VLR_RES_OK);
  ASSERT_EQ(VLR_getprobtype(task(), &type), VLR_RES_OK);
  EXPECT_EQ(type, VLR_PROBTYPE_MIXED);
  VLRtask_t none = nullptr;
  EXPECT_EQ(VLR_clonetask(task(), &none), VLR_RES_ERR_CANNOT_CLONE_NL);
  EXPECT_EQ(none, nullptr);
}

}  // namespace
