// tests/velor/info_test.cpp: information items by index and name, and the progress callback.
// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"

namespace {

using vlrtest::LastError;

TEST(InfoTest, ItemsByNameAndIndexAgree) {
  auto env = vlrtest::MakeEnv();
  auto task = vlrtest::MakeTask(env.get());
  VLRtask_t t = task.get();
  const int32_t types[3] = {VLR_INF_DOU_TYPE, VLR_INF_INT_TYPE, VLR_INF_LINT_TYPE};
  for (const int32_t type : types) {
    int32_t n = 0;
    ASSERT_EQ(VLR_getinfmax(t, type, &n), VLR_RES_OK);
    ASSERT_GT(n, 0);
    for (int32_t k = 0; k < n; ++k) {
      char name[VLR_MAX_STR_LEN];
      ASSERT_EQ(VLR_getinfname(t, type, k, name), VLR_RES_OK);
      int32_t index = -1;
      ASSERT_EQ(VLR_getinfindex(t, type, name, &index), VLR_RES_OK);
      EXPECT_EQ(index, k) << name;
    }
  }
  int32_t cpu = -1, l1 = 0;
  EXPECT_EQ(VLR_getintinf(t, VLR_IINF_CPU_TYPE, &cpu), VLR_RES_OK);
  EXPECT_EQ(cpu, VLR_CPU_GENERIC);
  EXPECT_EQ(VLR_getnaintinf(t, "VLR_IINF_CACHE_SIZE_L1", &l1), VLR_RES_OK);
  EXPECT_GT(l1, 0);
}

TEST(InfoTest, BadItemsGetTypedErrors) {
  auto env = vlrtest::MakeEnv();
  auto task = vlrtest::MakeTask(env.get());
  VLRtask_t t = task.get();
  int32_t index = 0;
  EXPECT_EQ(VLR_getinfindex(t, VLR_INF_DOU_TYPE, "VLR_IINF_CPU_TYPE", &index),
            VLR_RES_ERR_INF_DOU_NAME);
  EXPECT_EQ(VLR_getinfindex(t, VLR_INF_INT_TYPE, "nope", &index), VLR_RES_ERR_INF_INT_NAME);
  EXPECT_EQ(VLR_getinfindex(t, VLR_INF_LINT_TYPE, "nope", &index), VLR_RES_ERR_INF_LINT_NAME);
  EXPECT_EQ(VLR_getinfindex(t, 3, "nope", &index), VLR_RES_ERR_INF_TYPE);
  double d = 0;
  EXPECT_EQ(VLR_getdouinf(t, -1, &d), VLR_RES_ERR_INF_DOU_INDEX);
  EXPECT_EQ(LastError(t), "The double information index -1 is out of range.");
  int64_t l = 0;
  EXPECT_EQ(VLR_getlintinf(t, 1000, &l), VLR_RES_ERR_INF_LINT_INDEX);
  double rd = 0;
  EXPECT_EQ(VLR_getnadouinf(t, "VLR_DINF_RD_TIME", &rd), VLR_RES_OK);
}

int32_t CountingCallback(VLRtask_t, void* handle, int32_t) {
  ++*static_cast<int*>(handle);
  return 0;
}

TEST(InfoTest, CallbackRegistrationReadsBack) {
  auto env = vlrtest::MakeEnv();
  auto task = vlrtest::MakeTask(env.get());
  int calls = 0;
  ASSERT_EQ(VLR_putcallbackfunc(task.get(), CountingCallback, &calls), VLR_RES_OK);
  VLRcallbackfunc f = nullptr;
  void* h = nullptr;
  ASSERT_EQ(VLR_getcallbackfunc(task.get(), &f, &h), VLR_RES_OK);
  EXPECT_EQ(f, &CountingCallback);
  EXPECT_EQ(h, &calls);
  vlrtest::Collector msg;
  VLR_linkfunctotaskstream(task.get(), VLR_STREAM_MSG, &msg, vlrtest::Collector::Func);
  ASSERT_EQ(VLR_readsummary(task.get(), VLR_STREAM_MSG), VLR_RES_OK);
  EXPECT_NE(msg.All().find("Read - number of constraints: 0"), std::string::npos);
  ASSERT_EQ(VLR_optimizersummary(task.get(), VLR_STREAM_MSG), VLR_RES_OK);
}

}  // namespace

namespace {

// min x0 + 2 x1  s.t.  x0 + x1 >= 1,  x >= 0: optimal at x = (1, 0), y = 1.
TEST(InfoTest, SolutionSummaryShowsStatusesObjectivesAndViolations) {
  auto env = vlrtest::MakeEnv();
  auto task = vlrtest::MakeTask(env.get());
  VLRtask_t t = task.get();
  const double c[2] = {1.0, 2.0};
  const int32_t aptrb[2] = {0, 1}, aptre[2] = {1, 2}, asub[2] = {0, 0};
  const double aval[2] = {1.0, 1.0};
  const int32_t bkc[1] = {VLR_BK_LO}, bkx[2] = {VLR_BK_LO, VLR_BK_LO};
  const double blc[1] = {1.0}, buc[1] = {1e30}, blx[2] = {0, 0}, bux[2] = {1e30, 1e30};
  ASSERT_EQ(
      VLR_inputdata(t, 1, 2, 1, 2, c, 0.0, aptrb, aptre, asub, aval, bkc, blc, buc, bkx, blx, bux),
      VLR_RES_OK);
  const int32_t skc[1] = {VLR_SK_LOW}, skx[2] = {VLR_SK_BAS, VLR_SK_LOW};
  const double xc[1] = {1.0}, xx[2] = {1.0, 0.0}, y[1] = {1.0}, slc[1] = {1.0}, suc[1] = {0.0};
  const double slx[2] = {0.0, 1.0}, sux[2] = {0.0, 0.0};
  ASSERT_EQ(
      VLR_putsolution(t, VLR_SOL_BAS, skc, skx, nullptr, xc, xx, y, slc, suc, slx, sux, nullptr),
      VLR_RES_OK);
  ASSERT_EQ(VLR_putprosta(t, VLR_SOL_BAS, VLR_PRO_STA_PRIM_AND_DUAL_FEAS), VLR_RES_OK);
  ASSERT_EQ(VLR_putsolsta(t, VLR_SOL_BAS, VLR_SOL_STA_OPTIMAL), VLR_RES_OK);
  vlrtest::Collector msg;
  VLR_linkfunctotaskstream(t, VLR_STREAM_MSG, &msg, vlrtest::Collector::Func);
  ASSERT_EQ(VLR_solutionsummary(t, VLR_STREAM_MSG), VLR_RES_OK);
  const std::string text = msg.All();
  EXPECT_NE(text.find("\nSolution summary\n  Basic solution\n"), std::string::npos);
  EXPECT_EQ(text.find("Interior-point solution"), std::string::npos);  // not defined
  EXPECT_NE(text.find("    Problem status  : PRIMAL_AND_DUAL_FEASIBLE\n"), std::string::npos);
  EXPECT_NE(text.find("    Solution status : OPTIMAL\n"), std::string::npos);
  EXPECT_NE(text.find("    Primal - objective: 1.0000000000e+00"), std::string::npos);
  EXPECT_NE(text.find("    Dual   - objective: 1.0000000000e+00"), std::string::npos);
  EXPECT_EQ(text.find("cone inf."), std::string::npos);  // the basic form has no cone column
  EXPECT_EQ(VLR_solutionsummary(t, 9), VLR_RES_ERR_INVALID_STREAM);
}

}  // namespace
