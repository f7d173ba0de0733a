// tests/velor/optimize_test.cpp: the optimise entry: callbacks, the response item, the choice of
// road and the termination mapping of VLR_optimizetrm; tiny linear problems with optima known by
// hand, through the simplex roads and the interior-point one.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "fixture.h"
#include "taskdump.h"

namespace {

struct Calls {
  std::vector<int32_t> codes;
  int32_t stop_at = -1;  // the callback code that asks to stop
  static int32_t Func(VLRtask_t, void* handle, int32_t code) {
    auto* self = static_cast<Calls*>(handle);
    self->codes.push_back(code);
    return code == self->stop_at ? 1 : 0;
  }
};

class OptimizeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // max x0 s.t. x0 <= 4 (one row), x0 >= 0
    const double c[1] = {1.0};
    const int32_t aptrb[1] = {0}, aptre[1] = {1}, asub[1] = {0};
    const double aval[1] = {1.0};
    const int32_t bkc[1] = {VLR_BK_UP}, bkx[1] = {VLR_BK_LO};
    const double blc[1] = {-1e30}, buc[1] = {4.0}, blx[1] = {0.0}, bux[1] = {1e30};
    ASSERT_EQ(VLR_inputdata(t(), 1, 1, 1, 1, c, 0.0, aptrb, aptre, asub, aval, bkc, blc, buc, bkx,
                            blx, bux),
              VLR_RES_OK);
  }
  VLRtask_t t() { return task_.get(); }
  vlrtest::EnvPtr env_ = vlrtest::MakeEnv();
  vlrtest::TaskPtr task_ = vlrtest::MakeTask(env_.get());
};

TEST_F(OptimizeTest, SimplexRunsBetweenTheCallbacksAndLeavesTheResponseItem) {
  Calls calls;
  ASSERT_EQ(VLR_putcallbackfunc(t(), Calls::Func, &calls), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX), VLR_RES_OK);
  const int32_t r = VLR_optimize(t());
  EXPECT_EQ(r, VLR_RES_OK);
  ASSERT_GE(calls.codes.size(), 2u);
  EXPECT_EQ(calls.codes.front(), VLR_CALLBACK_BEGIN_OPTIMIZER);
  EXPECT_EQ(calls.codes.back(), VLR_CALLBACK_END_OPTIMIZER);
  int32_t item = 0;
  ASSERT_EQ(VLR_getintinf(t(), VLR_IINF_OPTIMIZE_RESPONSE, &item), VLR_RES_OK);
  EXPECT_EQ(item, r);
  ASSERT_EQ(VLR_getintinf(t(), VLR_IINF_OPT_NUMCON, &item), VLR_RES_OK);
  EXPECT_EQ(item, 1);
  double c0 = 0;  // the data is untouched
  ASSERT_EQ(VLR_getc(t(), &c0), VLR_RES_OK);
  EXPECT_EQ(c0, 1.0);
}

TEST_F(OptimizeTest, IntegerMarksGoToTheMixedIntegerRoadUnlessIgnored) {
  ASSERT_EQ(VLR_putvartype(t(), 0, VLR_VAR_TYPE_INT), VLR_RES_OK);
  EXPECT_EQ(VLR_optimize(t()), VLR_RES_ERR_MIO_NOT_LOADED);
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_MIO_MODE, VLR_MIO_MODE_IGNORED), VLR_RES_OK);
  EXPECT_EQ(VLR_optimize(t()), VLR_RES_OK);  // the continuous road: the simplex for an LP
  int32_t def = 0;
  ASSERT_EQ(VLR_solutiondef(t(), VLR_SOL_BAS, &def), VLR_RES_OK);
  EXPECT_EQ(def, 1);
}

TEST_F(OptimizeTest, StopAtTheStartAndUndefinedSense) {
  Calls calls;
  calls.stop_at = VLR_CALLBACK_BEGIN_OPTIMIZER;
  ASSERT_EQ(VLR_putcallbackfunc(t(), Calls::Func, &calls), VLR_RES_OK);
  int32_t trm = -1;
  EXPECT_EQ(VLR_optimizetrm(t(), &trm), VLR_RES_OK);  // a termination is not a failure
  EXPECT_EQ(trm, VLR_RES_TRM_USER_CALLBACK);
  EXPECT_EQ(calls.codes.size(), 1u);
  ASSERT_EQ(VLR_putcallbackfunc(t(), nullptr, nullptr), VLR_RES_OK);
  ASSERT_EQ(VLR_putobjsense(t(), VLR_OBJECTIVE_SENSE_UNDEFINED), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_OBJECTIVE_SENSE, VLR_OBJECTIVE_SENSE_UNDEFINED),
            VLR_RES_OK);
  EXPECT_EQ(VLR_optimizetrm(t(), &trm), VLR_RES_ERR_UNDEFINED_OBJECTIVE_SENSE);
  EXPECT_EQ(trm, 0);
  EXPECT_EQ(VLR_optimize(nullptr), VLR_RES_ERR_NULL_TASK);
}

// A tiny LP by columns, loaded through VLR_inputdata.
struct Tiny {
  std::vector<double> c;
  double cfix = 0;
  std::vector<std::vector<std::pair<int32_t, double>>> cols;
  std::vector<int32_t> bkc, bkx;
  std::vector<double> blc, buc, blx, bux;
};

constexpr double kInf = 1e30;

void Load(VLRtask_t task, const Tiny& lp) {
  std::vector<int32_t> ptrb, ptre, sub;
  std::vector<double> val;
  for (const auto& col : lp.cols) {
    ptrb.push_back(int32_t(sub.size()));
    for (const auto& [i, a] : col) {
      sub.push_back(i);
      val.push_back(a);
    }
    ptre.push_back(int32_t(sub.size()));
  }
  sub.push_back(0);  // keeps data() non-null for an empty A
  val.push_back(0);
  const auto m = int32_t(lp.bkc.size()), n = int32_t(lp.bkx.size());
  ASSERT_EQ(VLR_inputdata(task, m, n, m, n, lp.c.data(), lp.cfix, ptrb.data(), ptre.data(),
                          sub.data(), val.data(), lp.bkc.data(), lp.blc.data(), lp.buc.data(),
                          lp.bkx.data(), lp.blx.data(), lp.bux.data()),
            VLR_RES_OK)
      << vlrtest::LastError(task);
  VLR_putintparam(task, VLR_IPAR_LOG, 0);
}

struct Result {
  int32_t r = -1, trm = -1, prosta = -1, solsta = -1;
  double obj = 0;
  std::vector<double> xc, xx, y, slc, suc, slx, sux;
};

// A road without presolve is asked for as the optimizer plus kNoPresolve; the interior point on
// the explicit dual as the optimizer plus kDualForm.
constexpr int32_t kNoPresolve = 100;
constexpr int32_t kDualForm = 200;

Result Solve(VLRtask_t task, int32_t optimizer) {
  Result out;
  const bool dualform = optimizer >= kDualForm;
  if (dualform) optimizer -= kDualForm;
  EXPECT_EQ(
      VLR_putintparam(task, VLR_IPAR_INTPNT_SOLVE_FORM, dualform ? VLR_SOLVE_DUAL : VLR_SOLVE_FREE),
      VLR_RES_OK);
  const bool nopresolve = optimizer >= kNoPresolve;
  if (nopresolve) optimizer -= kNoPresolve;
  EXPECT_EQ(VLR_putintparam(task, VLR_IPAR_PRESOLVE_USE,
                            nopresolve ? VLR_PRESOLVE_MODE_OFF : VLR_PRESOLVE_MODE_ON),
            VLR_RES_OK);
  EXPECT_EQ(VLR_putintparam(task, VLR_IPAR_OPTIMIZER, optimizer), VLR_RES_OK);
  const int32_t whichsol = optimizer == VLR_OPTIMIZER_INTPNT ? VLR_SOL_ITR : VLR_SOL_BAS;
  out.r = VLR_optimizetrm(task, &out.trm);
  int32_t m = 0, n = 0, def = 0;
  VLR_getnumcon(task, &m);
  VLR_getnumvar(task, &n);
  VLR_solutiondef(task, whichsol, &def);
  if (out.r != VLR_RES_OK || def == 0) return out;
  for (auto* v : {&out.xc, &out.y, &out.slc, &out.suc})
    v->resize(size_t(m) + 1);
  for (auto* v : {&out.xx, &out.slx, &out.sux})
    v->resize(size_t(n) + 1);
  EXPECT_EQ(VLR_getsolution(task, whichsol, &out.prosta, &out.solsta, nullptr, nullptr, nullptr,
                            out.xc.data(), out.xx.data(), out.y.data(), out.slc.data(),
                            out.suc.data(), out.slx.data(), out.sux.data(), nullptr),
            VLR_RES_OK);
  VLR_getprimalobj(task, whichsol, &out.obj);
  return out;
}

void ExpectValues(const std::vector<double>& got, const std::vector<double>& want,
                  const char* what) {
  for (size_t k = 0; k < want.size(); ++k)
    EXPECT_NEAR(got[k], want[k], 1e-9) << what << "[" << k << "]";
}

constexpr int32_t kSimplexRoads[] = {VLR_OPTIMIZER_DUAL_SIMPLEX, VLR_OPTIMIZER_FREE_SIMPLEX,
                                     VLR_OPTIMIZER_PRIMAL_SIMPLEX};

int32_t IntInf(VLRtask_t task, int32_t item) {
  int32_t v = -1;
  EXPECT_EQ(VLR_getintinf(task, item, &v), VLR_RES_OK);
  return v;
}

class LpSolve : public ::testing::TestWithParam<int32_t> {
 protected:
  VLRtask_t t() { return task_.get(); }
  vlrtest::EnvPtr env_ = vlrtest::MakeEnv();
  vlrtest::TaskPtr task_ = vlrtest::MakeTask(env_.get());
};

// 3x + 2y over x + y <= 4, x + 3y <= 6, 0 <= x <= 3.5, y >= 0.
// Maximum 11.5 at (3.5, 0.5): row 0 and x's upper bound hold, 3,2 = 2 (1,1) + 1 (1,0); in the
// maximising sign the multipliers are y = (2, 0), suc = (-2, 0), sux = (-1, 0).
// Minimum 0 at (0, 0): every multiplier on the lower bounds, slx = (3, 2).
TEST_P(LpSolve, MaximiseAndMinimiseWithTheUsersObjectiveKept) {
  Tiny lp;
  lp.c = {3, 2};
  lp.cols = {{{0, 1}, {1, 1}}, {{0, 1}, {1, 3}}};
  lp.bkc = {VLR_BK_UP, VLR_BK_UP};
  lp.blc = {-kInf, -kInf};
  lp.buc = {4, 6};
  lp.bkx = {VLR_BK_RA, VLR_BK_LO};
  lp.blx = {0, 0};
  lp.bux = {3.5, kInf};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  ASSERT_EQ(VLR_putobjsense(t(), VLR_OBJECTIVE_SENSE_MAXIMIZE), VLR_RES_OK);
  Result s = Solve(t(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.obj, 11.5, 1e-9);
  ExpectValues(s.xx, {3.5, 0.5}, "xx");
  ExpectValues(s.xc, {4, 5}, "xc");
  ExpectValues(s.y, {2, 0}, "y");
  ExpectValues(s.suc, {-2, 0}, "suc");
  ExpectValues(s.sux, {-1, 0}, "sux");
  double dobj = 0;
  ASSERT_EQ(VLR_getdualobj(t(), VLR_SOL_BAS, &dobj), VLR_RES_OK);
  EXPECT_NEAR(dobj, 11.5, 1e-9);
  double c[2] = {0, 0};  // the sign flip for maximising is undone
  ASSERT_EQ(VLR_getc(t(), c), VLR_RES_OK);
  EXPECT_EQ(c[0], 3.0);
  EXPECT_EQ(c[1], 2.0);

  ASSERT_EQ(VLR_putobjsense(t(), VLR_OBJECTIVE_SENSE_MINIMIZE), VLR_RES_OK);
  s = Solve(t(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.obj, 0.0, 1e-9);
  ExpectValues(s.xx, {0, 0}, "xx");
  ExpectValues(s.slx, {3, 2}, "slx");
}

// Every key on rows and columns:
//   min x0 + x1 - x2 + x4
//   r0 free   x0 + x1 + x2 + x3 + x4
//   r1 >= 2   x1 + x2
//   r2 <= 6   x2 + x3
//   r3 = 1    x0 - x4
//   r4 in [0, 10]  x1 - x4
//   x0 free, x1 >= 1, x2 <= 5, x3 = 2, x4 in [-1, 3].
// With x0 = 1 + x4 the cost is 1 + 2 x4 + x1 - x2: x4 = -1, x1 = 1, x2 = min(5, 6 - x3) = 4, so
// x = (0, 1, 4, 2, -1), cost -4, unique. Multipliers: x0 free gives y3 = 1; x2 gives y2 = -1
// (suc2 = 1); x1 gives slx1 = 1; x4 gives slx4 = 1 + y3 = 2; x3 nets slx3 - sux3 = 1.
TEST_P(LpSolve, EveryBoundKeyOnRowsAndColumns) {
  Tiny lp;
  lp.c = {1, 1, -1, 0, 1};
  lp.cols = {{{0, 1}, {3, 1}},
             {{0, 1}, {1, 1}, {4, 1}},
             {{0, 1}, {1, 1}, {2, 1}},
             {{0, 1}, {2, 1}},
             {{0, 1}, {3, -1}, {4, -1}}};
  lp.bkc = {VLR_BK_FR, VLR_BK_LO, VLR_BK_UP, VLR_BK_FX, VLR_BK_RA};
  lp.blc = {-kInf, 2, -kInf, 1, 0};
  lp.buc = {kInf, kInf, 6, 1, 10};
  lp.bkx = {VLR_BK_FR, VLR_BK_LO, VLR_BK_UP, VLR_BK_FX, VLR_BK_RA};
  lp.blx = {-kInf, 1, -kInf, 2, -1};
  lp.bux = {kInf, kInf, 5, 2, 3};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  const Result s = Solve(t(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_EQ(s.prosta, VLR_PRO_STA_PRIM_AND_DUAL_FEAS);
  EXPECT_NEAR(s.obj, -4.0, 1e-9);
  ExpectValues(s.xx, {0, 1, 4, 2, -1}, "xx");
  ExpectValues(s.xc, {6, 5, 6, 1, 2}, "xc");
  ExpectValues(s.y, {0, 0, -1, 1, 0}, "y");
  ExpectValues(s.slx, {0, 1, 0}, "slx");
  EXPECT_NEAR(s.slx[4], 2.0, 1e-9);
  EXPECT_NEAR(s.slx[3] - s.sux[3], 1.0, 1e-9);
  EXPECT_NEAR(s.suc[2], 1.0, 1e-9);
  EXPECT_NEAR(s.slc[3] - s.suc[3], 1.0, 1e-9);
}

// Free columns only: min x0 + 2 x1 over x0 + x1 >= 1, -1 <= x0 - x1 <= 1. With s = x0 + x1 and
// d = x0 - x1 the cost is 1.5 s - 0.5 d: s = 1, d = 1, x = (1, 0), cost 1; y = (1.5, -0.5).
TEST_P(LpSolve, FreeColumnsAreBasic) {
  Tiny lp;
  lp.c = {1, 2};
  lp.cols = {{{0, 1}, {1, 1}}, {{0, 1}, {1, -1}}};
  lp.bkc = {VLR_BK_LO, VLR_BK_RA};
  lp.blc = {1, -1};
  lp.buc = {kInf, 1};
  lp.bkx = {VLR_BK_FR, VLR_BK_FR};
  lp.blx = {-kInf, -kInf};
  lp.bux = {kInf, kInf};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  const Result s = Solve(t(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.obj, 1.0, 1e-9);
  ExpectValues(s.xx, {1, 0}, "xx");
  ExpectValues(s.y, {1.5, -0.5}, "y");
  ExpectValues(s.slc, {1.5, 0}, "slc");
  ExpectValues(s.suc, {0, 0.5}, "suc");
  int32_t sk[2] = {-1, -1};
  ASSERT_EQ(VLR_getsolutionstatuskeyslice(t(), VLR_ACC_VAR, VLR_SOL_BAS, 0, 2, sk), VLR_RES_OK);
  EXPECT_EQ(sk[0], VLR_SK_BAS);
  EXPECT_EQ(sk[1], VLR_SK_BAS);
}

// No rows: each column goes to the bound its cost favours. min x0 - x1 with x0 in [2, 5],
// x1 <= 4 and x2 free at no cost: x = (2, 4, .), cost 2 - 4 + cfix 0.5 = -1.5. Then a cost on a
// column without the bound it needs makes the problem unbounded.
TEST_P(LpSolve, NoRowsIsSolvedByInspection) {
  Tiny lp;
  lp.c = {1, -1, 0};
  lp.cfix = 0.5;
  lp.cols = {{}, {}, {}};
  lp.bkx = {VLR_BK_RA, VLR_BK_UP, VLR_BK_FR};
  lp.blx = {2, -kInf, -kInf};
  lp.bux = {5, 4, kInf};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  Result s = Solve(t(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.obj, -1.5, 1e-12);
  ExpectValues(s.xx, {2, 4}, "xx");
  ExpectValues(s.slx, {1, 0, 0}, "slx");
  ExpectValues(s.sux, {0, 1, 0}, "sux");

  ASSERT_EQ(VLR_putcj(t(), 2, -1.0), VLR_RES_OK);  // x2 free: nothing stops it
  s = Solve(t(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  EXPECT_EQ(s.solsta, VLR_SOL_STA_DUAL_INFEAS_CER);
}

// Nothing at all: optimal at once, the objective is the constant.
TEST_P(LpSolve, EmptyProblemIsOptimalAtItsConstant) {
  ASSERT_EQ(VLR_putcfix(t(), 3.5), VLR_RES_OK);
  const Result s = Solve(t(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_EQ(s.obj, 3.5);
}

// x0 + x1 >= 3 with 0 <= x0, x1 <= 1. The certificate is y = 1 with sux = (1, 1): 3 - 1 - 1 > 0.
// Any positive multiple proves it, so the test checks the ratios and the Farkas conditions.
TEST_P(LpSolve, InfeasibleEndsInACertificate) {
  Tiny lp;
  lp.c = {1, 1};
  lp.cols = {{{0, 1}}, {{0, 1}}};
  lp.bkc = {VLR_BK_LO};
  lp.blc = {3};
  lp.buc = {kInf};
  lp.bkx = {VLR_BK_RA, VLR_BK_RA};
  lp.blx = {0, 0};
  lp.bux = {1, 1};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  const Result s = Solve(t(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_PRIM_INFEAS_CER);
  EXPECT_EQ(s.prosta, VLR_PRO_STA_PRIM_INFEAS);
  const double y = s.y[0];
  ASSERT_GT(y, 0.0);
  EXPECT_NEAR(s.slc[0], y, 1e-9 * y);
  EXPECT_NEAR(s.suc[0], 0.0, 1e-9 * y);
  for (size_t j = 0; j < 2; ++j) {
    EXPECT_NEAR(s.sux[j], y, 1e-9 * y);  // A'y + slx - sux = 0
    EXPECT_NEAR(s.slx[j], 0.0, 1e-9 * y);
  }
  double dobj = 0;  // the certificate's side: 3 slc - sux0 - sux1 = y > 0
  ASSERT_EQ(VLR_getdualobj(t(), VLR_SOL_BAS, &dobj), VLR_RES_OK);
  EXPECT_NEAR(dobj, y, 1e-9 * y);
}

// min -x0 over x0 - x1 <= 1, x >= 0: along (1, 1) the cost falls without end. Never "optimal";
// a certificate, when given, is a ray d >= 0 with d0 - d1 <= 0 and -d0 < 0.
TEST_P(LpSolve, UnboundedIsNeverOptimal) {
  Tiny lp;
  lp.c = {-1, 0};
  lp.cols = {{{0, 1}}, {{0, -1}}};
  lp.bkc = {VLR_BK_UP};
  lp.blc = {-kInf};
  lp.buc = {1};
  lp.bkx = {VLR_BK_LO, VLR_BK_LO};
  lp.blx = {0, 0};
  lp.bux = {kInf, kInf};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  const Result s = Solve(t(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  EXPECT_NE(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_EQ(s.solsta, VLR_SOL_STA_DUAL_INFEAS_CER);
  if (s.solsta == VLR_SOL_STA_DUAL_INFEAS_CER) {
    const double size = std::max(std::fabs(s.xx[0]), std::fabs(s.xx[1]));
    ASSERT_GT(size, 0.0);
    EXPECT_GE(s.xx[0], -1e-9 * size);
    EXPECT_GE(s.xx[1], -1e-9 * size);
    EXPECT_LE(s.xx[0] - s.xx[1], 1e-9 * size);
    EXPECT_LT(-s.xx[0], -1e-9 * size);
  }
}

// Bounds that no point meets. A lower bound above the upper one, on a column or a row, ends as
// proven primal infeasible with a certificate whose bound side is positive; a side whose value is
// infinite on the wrong side (a column bounded below by +inf, a row above by -inf) is refused
// with its code. Never a normal return with an unknown status.
TEST_P(LpSolve, ImpossibleBoundsEndInACertificateOrACode) {
  const double inf = std::numeric_limits<double>::infinity();
  for (int shape = 0; shape < 5; ++shape) {
    Tiny lp;
    lp.c = {1, -1};
    lp.cols = {{{0, 1}}, {{0, 1}, {1, 2}}};
    lp.bkc = {VLR_BK_UP, VLR_BK_RA};
    lp.blc = {-kInf, -10};
    lp.buc = {5, 10};
    lp.bkx = {VLR_BK_RA, VLR_BK_RA};
    lp.blx = {0, 0};
    lp.bux = {3, 3};
    if (shape == 0) lp.blx[1] = 4;   // 4 <= x1 <= 3
    if (shape == 1) lp.blc[1] = 12;  // 12 <= x0 + 2 x1 <= 10
    if (shape == 2) {
      lp.bkx[0] = VLR_BK_LO;
      lp.blx[0] = inf;
    }
    if (shape == 3) lp.buc[0] = -inf;
    if (shape == 4) lp.blx[0] = 2e16;  // beyond the infinity tolerance, on the wrong side
    auto env = vlrtest::MakeEnv();
    auto task = vlrtest::MakeTask(env.get());
    ASSERT_NO_FATAL_FAILURE(Load(task.get(), lp));
    const Result s = Solve(task.get(), GetParam());
    if (shape >= 2) {
      EXPECT_EQ(s.r, VLR_RES_ERR_INFINITE_BOUND) << "shape " << shape;
      continue;
    }
    ASSERT_EQ(s.r, VLR_RES_OK) << "shape " << shape << ": " << vlrtest::LastError(task.get());
    ASSERT_EQ(s.solsta, VLR_SOL_STA_PRIM_INFEAS_CER) << "shape " << shape;
    EXPECT_EQ(s.prosta, VLR_PRO_STA_PRIM_INFEAS) << "shape " << shape;
    // The Farkas conditions, recomputed: A'y + slx - sux = 0, and the bound side is positive.
    const double aty0 = s.y[0], aty1 = s.y[0] + 2 * s.y[1];
    EXPECT_NEAR(aty0 + s.slx[0] - s.sux[0], 0.0, 1e-12);
    EXPECT_NEAR(aty1 + s.slx[1] - s.sux[1], 0.0, 1e-12);
    for (size_t i = 0; i < 2; ++i)
      EXPECT_NEAR(s.slc[i] - s.suc[i], s.y[i], 1e-12);
    const double side = lp.blc[1] * s.slc[1] - lp.buc[0] * s.suc[0] - lp.buc[1] * s.suc[1] +
                        lp.blx[0] * s.slx[0] + lp.blx[1] * s.slx[1] - lp.bux[0] * s.sux[0] -
                        lp.bux[1] * s.sux[1];
    EXPECT_GT(side, 0.0) << "shape " << shape;
    EXPECT_EQ(s.slc[0], 0.0);  // row 0 has no lower side
  }
}

// Every column fixed, an empty row, an empty column with a cost, a free row and a ranged one:
// presolve takes everything away and the answer comes from postsolve, confirmed on the problem
// as given. max 2 x0 - x1 + x2 + 3 x3 with x0 = 1, x1 = 2, x2 = -1 fixed, and x3 in [0, 4] alone
// in no row: 2 - 2 - 1 + 12 = 11.
TEST_P(LpSolve, AllFixedAndEmptyItemsArePresolvedAway) {
  Tiny lp;
  lp.c = {2, -1, 1, 3};
  lp.cols = {{{0, 1}, {2, 1}}, {{0, 1}, {2, -1}}, {{2, 2}}, {}};
  lp.bkc = {VLR_BK_RA, VLR_BK_UP, VLR_BK_FR};
  lp.blc = {0, -kInf, -kInf};
  lp.buc = {5, 1, kInf};
  lp.bkx = {VLR_BK_FX, VLR_BK_FX, VLR_BK_FX, VLR_BK_RA};
  lp.blx = {1, 2, -1, 0};
  lp.bux = {1, 2, -1, 4};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  ASSERT_EQ(VLR_putobjsense(t(), VLR_OBJECTIVE_SENSE_MAXIMIZE), VLR_RES_OK);
  const Result s = Solve(t(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.obj, 11.0, 1e-9);
  ExpectValues(s.xx, {1, 2, -1, 4}, "xx");
  ExpectValues(s.xc, {3, 0, -3}, "xc");
  // No row binds: every row dual is zero, and each column's multiplier is its whole cost, on
  // the upper side in the maximising sign (as x0 at its upper bound in the test above).
  ExpectValues(s.y, {0, 0, 0}, "y");
  ExpectValues(s.sux, {-2, 0, -1, -3}, "sux");
}

// Each road with presolve on (it solves or shrinks most of these problems) and off.
constexpr int32_t kSimplexRoadsNoPresolve[] = {VLR_OPTIMIZER_DUAL_SIMPLEX + kNoPresolve,
                                               VLR_OPTIMIZER_FREE_SIMPLEX + kNoPresolve,
                                               VLR_OPTIMIZER_PRIMAL_SIMPLEX + kNoPresolve};
std::string RoadName(const ::testing::TestParamInfo<int32_t>& road) {
  const int32_t opt = road.param % kNoPresolve;
  const std::string name = opt == VLR_OPTIMIZER_DUAL_SIMPLEX     ? "dual"
                           : opt == VLR_OPTIMIZER_PRIMAL_SIMPLEX ? "primal"
                                                                 : "free";
  return road.param >= kNoPresolve ? name + "_nopresolve" : name;
}
INSTANTIATE_TEST_SUITE_P(Simplex, LpSolve, ::testing::ValuesIn(kSimplexRoads), RoadName);
INSTANTIATE_TEST_SUITE_P(SimplexNoPresolve, LpSolve, ::testing::ValuesIn(kSimplexRoadsNoPresolve),
                         RoadName);

// The interior-point road on tiny problems, with presolve and without: optima to the accuracy
// of its tolerances, certificates that prove what they claim, and the edge shapes (no rows, free
// columns only, an empty column, bounds of very different sizes).
class IpmSolve : public LpSolve {
 protected:
  Result Run() { return Solve(t(), GetParam()); }
};

TEST_P(IpmSolve, EveryBoundKeyAndBothSenses) {
  Tiny lp;
  lp.c = {1, 1, -1, 0, 1};
  lp.cols = {{{0, 1}, {3, 1}},
             {{0, 1}, {1, 1}, {4, 1}},
             {{0, 1}, {1, 1}, {2, 1}},
             {{0, 1}, {2, 1}},
             {{0, 1}, {3, -1}, {4, -1}}};
  lp.bkc = {VLR_BK_FR, VLR_BK_LO, VLR_BK_UP, VLR_BK_FX, VLR_BK_RA};
  lp.blc = {-kInf, 2, -kInf, 1, 0};
  lp.buc = {kInf, kInf, 6, 1, 10};
  lp.bkx = {VLR_BK_FR, VLR_BK_LO, VLR_BK_UP, VLR_BK_FX, VLR_BK_RA};
  lp.blx = {-kInf, 1, -kInf, 2, -1};
  lp.bux = {kInf, kInf, 5, 2, 3};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  Result s = Run();
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_EQ(s.prosta, VLR_PRO_STA_PRIM_AND_DUAL_FEAS);
  EXPECT_NEAR(s.obj, -4.0, 1e-7);
  const double want[] = {0, 1, 4, 2, -1};
  for (size_t j = 0; j < 5; ++j)
    EXPECT_NEAR(s.xx[j], want[j], 1e-6) << j;
  EXPECT_NEAR(s.y[2], -1.0, 1e-6);
  EXPECT_NEAR(s.y[3], 1.0, 1e-6);
  // The road's items: its iterations, the factor's size and the last objectives.
  int32_t iter = -1;
  ASSERT_EQ(VLR_getintinf(t(), VLR_IINF_INTPNT_ITER, &iter), VLR_RES_OK);
  EXPECT_GT(iter, 0);
  int64_t nnzl = -1;
  ASSERT_EQ(VLR_getlintinf(t(), VLR_LIINF_INTPNT_FACTOR_NUM_NZ, &nnzl), VLR_RES_OK);
  EXPECT_GT(nnzl, 0);
  double pobj = 0, dobj = 0;
  ASSERT_EQ(VLR_getdouinf(t(), VLR_DINF_INTPNT_PRIMAL_OBJ, &pobj), VLR_RES_OK);
  ASSERT_EQ(VLR_getdouinf(t(), VLR_DINF_INTPNT_DUAL_OBJ, &dobj), VLR_RES_OK);
  EXPECT_NEAR(pobj, -4.0, 1e-6);
  EXPECT_NEAR(dobj, -4.0, 1e-6);
  if (GetParam() == VLR_OPTIMIZER_INTPNT + kDualForm + kNoPresolve) {
    EXPECT_EQ(IntInf(t(), VLR_IINF_INTPNT_SOLVE_DUAL), 1);
  }
  // Maximised: x4 = 3, x1 = 10 + x4 = 13 (row 4), x2 = 2 - x1 = -11 (row 1), x0 = 1 + x4 = 4;
  // the cost is 4 + 13 + 11 + 3 = 31.
  ASSERT_EQ(VLR_putobjsense(t(), VLR_OBJECTIVE_SENSE_MAXIMIZE), VLR_RES_OK);
  s = Run();
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.obj, 31.0, 1e-7);
  const double wmax[] = {4, 13, -11, 2, 3};
  for (size_t j = 0; j < 5; ++j)
    EXPECT_NEAR(s.xx[j], wmax[j], 1e-6) << j;
  double c[5];
  ASSERT_EQ(VLR_getc(t(), c), VLR_RES_OK);
  EXPECT_EQ(c[2], -1.0);  // the user's objective is kept
}

TEST_P(IpmSolve, NoRowsEmptyProblemAndFreeColumns) {
  Tiny lp;
  lp.c = {1, -1, 0};
  lp.cfix = 0.5;
  lp.cols = {{}, {}, {}};
  lp.bkx = {VLR_BK_RA, VLR_BK_UP, VLR_BK_FR};
  lp.blx = {2, -kInf, -kInf};
  lp.bux = {5, 4, kInf};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  Result s = Run();
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.obj, -1.5, 1e-7);
  ASSERT_EQ(VLR_putcj(t(), 2, -1.0), VLR_RES_OK);  // x2 free: nothing stops it
  s = Run();
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  EXPECT_EQ(s.solsta, VLR_SOL_STA_DUAL_INFEAS_CER);

  auto empty = vlrtest::MakeTask(env_.get());
  VLR_putintparam(empty.get(), VLR_IPAR_LOG, 0);
  ASSERT_EQ(VLR_putcfix(empty.get(), 3.5), VLR_RES_OK);
  s = Solve(empty.get(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(empty.get());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.obj, 3.5, 1e-12);

  // Free columns only, and an empty one with a cost and a lower bound: min x0 + 2 x1 + x2 over
  // x0 + x1 >= 1, -1 <= x0 - x1 <= 1, x2 >= 0 in no row: x = (1, 0, 0), cost 1, y = (1.5, -0.5).
  Tiny fr;
  fr.c = {1, 2, 1};
  fr.cols = {{{0, 1}, {1, 1}}, {{0, 1}, {1, -1}}, {}};
  fr.bkc = {VLR_BK_LO, VLR_BK_RA};
  fr.blc = {1, -1};
  fr.buc = {kInf, 1};
  fr.bkx = {VLR_BK_FR, VLR_BK_FR, VLR_BK_LO};
  fr.blx = {-kInf, -kInf, 0};
  fr.bux = {kInf, kInf, kInf};
  auto task = vlrtest::MakeTask(env_.get());
  ASSERT_NO_FATAL_FAILURE(Load(task.get(), fr));
  s = Solve(task.get(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(task.get());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.obj, 1.0, 1e-7);
  EXPECT_NEAR(s.xx[0], 1.0, 1e-6);
  EXPECT_NEAR(s.xx[1], 0.0, 1e-6);
  EXPECT_NEAR(s.y[0], 1.5, 1e-6);
  EXPECT_NEAR(s.y[1], -0.5, 1e-6);
}

// Bounds from 1e-3 to 1e12 in one problem: min -x0 - 1e-3 x2 over x0 - x1 = 0, x2 + x1 <= 1e12,
// x1 <= 1e12 - 5, x2 <= 1e-3. The optimum x0 = x1 = 1e12 - 5 (x2 = 1e-3 fits beside it) holds
// to the relative accuracy of the tolerances.
TEST_P(IpmSolve, BoundsOfVeryDifferentSizes) {
  Tiny lp;
  lp.c = {-1, 0, -1e-3};
  lp.cols = {{{0, 1}}, {{0, -1}, {1, 1}}, {{1, 1}}};
  lp.bkc = {VLR_BK_FX, VLR_BK_UP};
  lp.blc = {0, -kInf};
  lp.buc = {0, 1e12};
  lp.bkx = {VLR_BK_LO, VLR_BK_RA, VLR_BK_RA};
  lp.blx = {0, 0, 0};
  lp.bux = {kInf, 1e12 - 5, 1e-3};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  const Result s = Run();
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.obj, -(1e12 - 5) - 1e-6, 1e-7 * 1e12);
  EXPECT_NEAR(s.xx[0], 1e12 - 5, 1e-7 * 1e12);
}

// x0 + x1 >= 3 with 0 <= x <= 1: a certificate y > 0 with sux = y on both columns; and
// min -x0 over x0 - x1 <= 1: a ray along (1, 1).
TEST_P(IpmSolve, InfeasibleAndUnboundedEndInCertificates) {
  Tiny lp;
  lp.c = {1, 1};
  lp.cols = {{{0, 1}}, {{0, 1}}};
  lp.bkc = {VLR_BK_LO};
  lp.blc = {3};
  lp.buc = {kInf};
  lp.bkx = {VLR_BK_RA, VLR_BK_RA};
  lp.blx = {0, 0};
  lp.bux = {1, 1};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  Result s = Run();
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_PRIM_INFEAS_CER);
  EXPECT_EQ(s.prosta, VLR_PRO_STA_PRIM_INFEAS);
  const double y = s.y[0];
  ASSERT_GT(y, 0.0);
  for (size_t j = 0; j < 2; ++j)
    EXPECT_NEAR(s.sux[j] - s.slx[j], y, 1e-7 * y);  // A'y + slx - sux = 0
  EXPECT_GT(3 * s.slc[0] - s.sux[0] - s.sux[1], 0.5 * y);

  Tiny ub;
  ub.c = {-1, 0};
  ub.cols = {{{0, 1}}, {{0, -1}}};
  ub.bkc = {VLR_BK_UP};
  ub.blc = {-kInf};
  ub.buc = {1};
  ub.bkx = {VLR_BK_LO, VLR_BK_LO};
  ub.blx = {0, 0};
  ub.bux = {kInf, kInf};
  auto task = vlrtest::MakeTask(env_.get());
  ASSERT_NO_FATAL_FAILURE(Load(task.get(), ub));
  s = Solve(task.get(), GetParam());
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(task.get());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_DUAL_INFEAS_CER);
  const double size = std::max(std::fabs(s.xx[0]), std::fabs(s.xx[1]));
  ASSERT_GT(size, 0.0);
  EXPECT_GE(s.xx[0], -1e-7 * size);
  EXPECT_GE(s.xx[1], -1e-7 * size);
  EXPECT_LE(s.xx[0] - s.xx[1], 1e-7 * size);
  EXPECT_GT(s.xx[0], 0.5 * size);
}

// The explicit dual solves every one of these shapes as well: free, fixed and ranged columns,
// singleton columns folded into the bounds of their rows' duals, free and ranged rows, and its
// ray and certificate read back as the problem's certificate and ray.
constexpr int32_t kIpmRoads[] = {VLR_OPTIMIZER_INTPNT, VLR_OPTIMIZER_INTPNT + kNoPresolve,
                                 VLR_OPTIMIZER_INTPNT + kDualForm,
                                 VLR_OPTIMIZER_INTPNT + kDualForm + kNoPresolve};
INSTANTIATE_TEST_SUITE_P(Intpnt, IpmSolve, ::testing::ValuesIn(kIpmRoads),
                         [](const ::testing::TestParamInfo<int32_t>& road) {
                           const int32_t p = road.param % kDualForm;
                           return std::string(road.param >= kDualForm ? "dual_" : "") +
                                  (p >= kNoPresolve ? "nopresolve" : "presolve");
                         });

// The primal road. Without an objective the first phase decides: it ends at the first
// feasible point, and every one of its iterations is a first-phase one. x0 + x1 = 4 and
// x0 - x1 >= 1 with 0 <= x <= 3 are infeasible at the slack basis.
TEST_F(OptimizeTest, PrimalWithoutObjectiveEndsAfterTheFirstPhase) {
  Tiny lp;
  lp.c = {0, 0};
  lp.cols = {{{0, 1}, {1, 1}}, {{0, 1}, {1, -1}}};
  lp.bkc = {VLR_BK_FX, VLR_BK_LO};
  lp.blc = {4, 1};
  lp.buc = {4, kInf};
  lp.bkx = {VLR_BK_RA, VLR_BK_RA};
  lp.blx = {0, 0};
  lp.bux = {3, 3};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  // Presolve would solve this one alone: the phase is the primal simplex's.
  const Result s = Solve(t(), VLR_OPTIMIZER_PRIMAL_SIMPLEX + kNoPresolve);
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_NEAR(s.xx[0] + s.xx[1], 4.0, 1e-9);
  EXPECT_GE(s.xx[0] - s.xx[1], 1.0 - 1e-9);
  const int32_t iters = IntInf(t(), VLR_IINF_SIM_PRIMAL_ITER);
  EXPECT_GT(iters, 0);
  EXPECT_EQ(IntInf(t(), VLR_IINF_SIM_PRIMAL_INF_ITER), iters);
  EXPECT_EQ(IntInf(t(), VLR_IINF_SIM_DUAL_ITER), 0);
}

// A boxed column whose range is shorter than any ratio only swaps its bound: max x0 + x1 over
// x0 + x1 <= 10 with x0 in [0, 1], x1 in [0, 2], started from both columns at their lower
// bounds, ends with both at their upper bounds and the row slack still basic.
TEST_F(OptimizeTest, PrimalSwapsAShortRangeWithoutABasisChange) {
  Tiny lp;
  lp.c = {-1, -1};
  lp.cols = {{{0, 1}}, {{0, 1}}};
  lp.bkc = {VLR_BK_UP};
  lp.blc = {-kInf};
  lp.buc = {10};
  lp.bkx = {VLR_BK_RA, VLR_BK_RA};
  lp.blx = {0, 0};
  lp.bux = {1, 2};
  ASSERT_NO_FATAL_FAILURE(Load(t(), lp));
  const int32_t startc = VLR_SK_BAS, startx[2] = {VLR_SK_LOW, VLR_SK_LOW};
  const double zero[2] = {0, 0};
  ASSERT_EQ(VLR_putsolution(t(), VLR_SOL_BAS, &startc, startx, nullptr, zero, zero, zero, zero,
                            zero, zero, zero, zero),
            VLR_RES_OK)
      << vlrtest::LastError(t());
  const Result s = Solve(t(), VLR_OPTIMIZER_PRIMAL_SIMPLEX);
  ASSERT_EQ(s.r, VLR_RES_OK) << vlrtest::LastError(t());
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_EQ(s.xx[0], 1.0);
  EXPECT_EQ(s.xx[1], 2.0);
  int32_t skc = -1, skx[2] = {-1, -1};
  ASSERT_EQ(VLR_getsolution(t(), VLR_SOL_BAS, nullptr, nullptr, &skc, skx, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            VLR_RES_OK);
  EXPECT_EQ(skc, VLR_SK_BAS);
  EXPECT_EQ(IntInf(t(), VLR_IINF_SIM_PRIMAL_ITER), 2);
}

// min x0 over x0 <= 4, x0 >= 0 (the fixture's problem): 0 at x0 = 0.
TEST_F(OptimizeTest, FreeChoiceOnAnLpTakesTheSimplexRoad) {
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_FREE), VLR_RES_OK);
  ASSERT_EQ(VLR_optimize(t()), VLR_RES_OK) << vlrtest::LastError(t());
  int32_t solsta = -1;
  ASSERT_EQ(VLR_getsolutionstatus(t(), VLR_SOL_BAS, nullptr, &solsta), VLR_RES_OK);
  EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
  double x = -1;
  ASSERT_EQ(VLR_getsolutionslice(t(), VLR_SOL_BAS, VLR_SOL_ITEM_XX, 0, 1, &x), VLR_RES_OK);
  EXPECT_EQ(x, 0.0);
}

// The roads that may not be there end in a response code; nothing claims to be optimal unless
// the run did solve it, the data stay as they were and the response item records the code.
TEST_F(OptimizeTest, OtherRoadsReturnTheirCodesCleanly) {
  for (int32_t opt : {VLR_OPTIMIZER_INTPNT, VLR_OPTIMIZER_CONIC, VLR_OPTIMIZER_CONCURRENT}) {
    ASSERT_EQ(VLR_deletesolution(t(), VLR_SOL_BAS), VLR_RES_OK);
    ASSERT_EQ(VLR_deletesolution(t(), VLR_SOL_ITR), VLR_RES_OK);
    ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_OPTIMIZER, opt), VLR_RES_OK);
    const int32_t r = VLR_optimize(t());
    EXPECT_TRUE(r == VLR_RES_OK || r == VLR_RES_ERR_INV_OPTIMIZER) << opt << ": " << r;
    int32_t item = -1;
    ASSERT_EQ(VLR_getintinf(t(), VLR_IINF_OPTIMIZE_RESPONSE, &item), VLR_RES_OK);
    EXPECT_EQ(item, r);
    for (int32_t whichsol : {VLR_SOL_ITR, VLR_SOL_BAS}) {
      int32_t def = 0, solsta = -1;
      ASSERT_EQ(VLR_solutiondef(t(), whichsol, &def), VLR_RES_OK);
      if (def == 0) continue;
      ASSERT_EQ(VLR_getsolutionstatus(t(), whichsol, nullptr, &solsta), VLR_RES_OK);
      EXPECT_TRUE(r == VLR_RES_OK || solsta != VLR_SOL_STA_OPTIMAL) << opt;
      if (r == VLR_RES_OK && solsta == VLR_SOL_STA_OPTIMAL) {
        double obj = -1;
        ASSERT_EQ(VLR_getprimalobj(t(), whichsol, &obj), VLR_RES_OK);
        EXPECT_NEAR(obj, 0.0, 1e-8) << opt;
      }
    }
    double c0 = 0;
    ASSERT_EQ(VLR_getc(t(), &c0), VLR_RES_OK);
    EXPECT_EQ(c0, 1.0);
  }
}

TEST_F(OptimizeTest, QuadraticObjectiveRefusesThePrimalSimplex) {
  const int32_t qi[1] = {0}, qj[1] = {0};
  const double qv[1] = {2.0};
  ASSERT_EQ(VLR_putqobj(t(), 1, qi, qj, qv), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_PRIMAL_SIMPLEX), VLR_RES_OK);
  EXPECT_EQ(VLR_optimize(t()), VLR_RES_ERR_INV_OPTIMIZER);
  int32_t def = 1;
  ASSERT_EQ(VLR_solutiondef(t(), VLR_SOL_BAS, &def), VLR_RES_OK);
  EXPECT_EQ(def, 0);
}

// A user function called while the optimiser runs (the progress callback, a stream function)
// tries every kind of change on the task it is called from. Each is refused with its own code and
// changes nothing; reads still work; the answer is the optimum of the problem as given.
struct Meddler {
  std::vector<int32_t> codes;
  int32_t reads = 0;
  bool busy = false;  // no meddling from the messages the meddling itself raises
  void Meddle(VLRtask_t task) {
    if (busy) return;
    busy = true;
    const int32_t sub[1] = {0}, bk[1] = {VLR_BK_FX};
    const double one[1] = {1.0};
    int32_t n = 0;
    if (VLR_getnumvar(task, &n) == VLR_RES_OK && n == 1) ++reads;
    int32_t nz = 0, j = -1;
    double a = 0;  // a read by rows turns the store of A while the optimiser runs
    if (VLR_getavec(task, VLR_ACC_CON, 0, &nz, &j, &a) == VLR_RES_OK && nz == 1 && a == 1.0)
      ++reads;
    codes.push_back(VLR_putbound(task, VLR_ACC_CON, 0, VLR_BK_FX, 1, 1));
    codes.push_back(VLR_putcj(task, 0, -5.0));
    codes.push_back(VLR_appendcons(task, 1, sub, sub, sub, one, bk, one, one));
    codes.push_back(VLR_putintparam(task, VLR_IPAR_SIM_MAX_ITERATIONS, 0));
    codes.push_back(VLR_readdata(task, "nothing-here.mps"));
    codes.push_back(VLR_resizetask(task, 0, 0, 0, 0, 0));
    codes.push_back(VLR_optimize(task));
    VLRtask_t self = task;
    codes.push_back(VLR_deletetask(&self));
    busy = false;
  }
  static int32_t Callback(VLRtask_t task, void* handle, int32_t) {
    static_cast<Meddler*>(handle)->Meddle(task);
    return 0;
  }
};

struct StreamMeddler {
  VLRtask_t task;
  Meddler m;
  static void Func(void* handle, const char*) {
    auto* self = static_cast<StreamMeddler*>(handle);
    self->m.Meddle(self->task);
  }
};

TEST_F(OptimizeTest, CallbacksCannotChangeTheTaskTheyAreCalledFrom) {
  const std::string before = vlrtest::Dump(t());
  for (int how = 0; how < 2; ++how) {
    Meddler m;
    StreamMeddler sm{t(), {}};
    if (how == 0) {
      ASSERT_EQ(VLR_putcallbackfunc(t(), Meddler::Callback, &m), VLR_RES_OK);
    } else {
      ASSERT_EQ(VLR_linkfunctotaskstream(t(), VLR_STREAM_LOG, &sm, StreamMeddler::Func),
                VLR_RES_OK);
    }
    int32_t trm = 0;
    ASSERT_EQ(VLR_optimizetrm(t(), &trm), VLR_RES_OK);
    ASSERT_EQ(VLR_putcallbackfunc(t(), nullptr, nullptr), VLR_RES_OK);
    ASSERT_EQ(VLR_linkfunctotaskstream(t(), VLR_STREAM_LOG, nullptr, nullptr), VLR_RES_OK);
    const Meddler& got = how == 0 ? m : sm.m;
    ASSERT_FALSE(got.codes.empty()) << "how " << how;
    for (int32_t code : got.codes)
      EXPECT_EQ(code, VLR_RES_ERR_TASK_IN_USE) << "how " << how;
    EXPECT_GT(got.reads, 0);
    int32_t prosta = -1, solsta = -1;
    ASSERT_EQ(VLR_getsolutionstatus(t(), VLR_SOL_BAS, &prosta, &solsta), VLR_RES_OK);
    EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
    double x = 0;
    ASSERT_EQ(VLR_getsolutionslice(t(), VLR_SOL_BAS, VLR_SOL_ITEM_XX, 0, 1, &x), VLR_RES_OK);
    EXPECT_EQ(x, 0.0);  // min x0 s.t. x0 <= 4, x0 >= 0
    ASSERT_EQ(VLR_deletesolution(t(), VLR_SOL_BAS), VLR_RES_OK);
    ASSERT_EQ(VLR_deletesolution(t(), VLR_SOL_ITR), VLR_RES_OK);  // the default road's
    EXPECT_EQ(vlrtest::Dump(t()), before) << "how " << how;
  }
  // Once the optimiser has returned, changes go through again.
  EXPECT_EQ(VLR_putcj(t(), 0, -1.0), VLR_RES_OK);
}

}  // namespace
