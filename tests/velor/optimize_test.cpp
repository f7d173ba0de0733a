// tests/velor/optimize_test.cpp: the optimise entry: callbacks, the response item, the roads that
// are not in the library yet, and the termination mapping of VLR_optimizetrm.
// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"

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

TEST_F(OptimizeTest, RoadsNotBuiltEndInTheirCodesWithCallbacksAndTheResponseItem) {
  Calls calls;
  ASSERT_EQ(VLR_putcallbackfunc(t(), Calls::Func, &calls), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX), VLR_RES_OK);
  const int32_t r = VLR_optimize(t());
  EXPECT_EQ(r, VLR_RES_ERR_INV_OPTIMIZER);
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
  EXPECT_EQ(VLR_optimize(t()), VLR_RES_ERR_INV_OPTIMIZER);  // the continuous road
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

}  // namespace
