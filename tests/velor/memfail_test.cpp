// tests/velor/memfail_test.cpp: every allocation of the life cycle fails in turn; each failure is
// a clean VLR_RES_ERR_SPACE with nothing left behind.
// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <string>
#include <tuple>

#include "fixture.h"
#include "taskdump.h"

namespace {

using vlrtest::CountingFree;
using vlrtest::FailingMalloc;
using vlrtest::g_left;
using vlrtest::g_live;

TEST(MemfailTest, MakeenvFailsCleanlyAtEveryAllocation) {
  for (int64_t k = 0;; ++k) {
    g_left = k;
    VLRenv_t env = nullptr;
    const int32_t r = VLR_makeenv(&env, nullptr, FailingMalloc, CountingFree, vlrtest::DbgFile());
    g_left = -1;
    if (r == VLR_RES_OK) {
      ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
    } else {
      EXPECT_EQ(r, VLR_RES_ERR_SPACE) << "k = " << k;
      EXPECT_EQ(env, nullptr);
    }
    ASSERT_EQ(g_live, 0) << "k = " << k;
    if (r == VLR_RES_OK) break;
  }
}

TEST(MemfailTest, MaketaskFailsCleanlyAtEveryAllocation) {
  for (int64_t k = 0;; ++k) {
    g_left = -1;
    VLRenv_t env = nullptr;
    ASSERT_EQ(VLR_makeenv(&env, nullptr, FailingMalloc, CountingFree, vlrtest::DbgFile()),
              VLR_RES_OK);
    ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
    VLRtask_t task = nullptr;
    g_left = k;
    const int32_t r = VLR_maketask(env, 10, 20, &task);
    g_left = -1;
    if (r == VLR_RES_OK) {
      ASSERT_EQ(VLR_deletetask(&task), VLR_RES_OK);
    } else {
      EXPECT_EQ(r, VLR_RES_ERR_SPACE) << "k = " << k;
      EXPECT_EQ(task, nullptr);
    }
    ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK) << "k = " << k;  // no task counted as living
    ASSERT_EQ(g_live, 0) << "k = " << k;
    if (r == VLR_RES_OK) break;
  }
}

TEST(MemfailTest, RefusedSettersLeaveTheTaskAsItWas) {
  g_left = -1;
  VLRenv_t env = nullptr;
  ASSERT_EQ(VLR_makeenv(&env, nullptr, FailingMalloc, CountingFree, vlrtest::DbgFile()),
            VLR_RES_OK);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  VLRtask_t task = nullptr;
  ASSERT_EQ(VLR_maketask(env, 0, 0, &task), VLR_RES_OK);
  ASSERT_EQ(VLR_putstrparam(task, VLR_SPAR_STAT_KEY, "before"), VLR_RES_OK);
  for (int64_t k = 0;; ++k) {
    g_left = k;
    const int32_t r1 = VLR_putstrparam(task, VLR_SPAR_STAT_KEY, "after");
    const int32_t r2 = VLR_puttaskname(task, "name");
    VLRtask_t clone = nullptr;
    const int32_t r3 = VLR_clonetask(task, &clone);
    g_left = -1;
    char value[32];
    ASSERT_EQ(VLR_getstrparam(task, VLR_SPAR_STAT_KEY, sizeof value, nullptr, value), VLR_RES_OK);
    EXPECT_STREQ(value, r1 == VLR_RES_OK ? "after" : "before");
    EXPECT_TRUE(r2 == VLR_RES_OK || r2 == VLR_RES_ERR_SPACE);
    if (r3 == VLR_RES_OK) {
      ASSERT_EQ(VLR_deletetask(&clone), VLR_RES_OK);
    } else {
      EXPECT_EQ(clone, nullptr);
    }
    ASSERT_EQ(VLR_putstrparam(task, VLR_SPAR_STAT_KEY, "before"), VLR_RES_OK);
    if (r1 == VLR_RES_OK && r2 == VLR_RES_OK && r3 == VLR_RES_OK) break;
  }
  ASSERT_EQ(VLR_deletetask(&task), VLR_RES_OK);
  ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
  EXPECT_EQ(g_live, 0);
}

// VLR_optimize on small Netlib problems, on both simplex roads and the interior-point one, with the
// k-th allocation of the run failing, for every k until the run needs no more: each failure is
// VLR_RES_ERR_SPACE, the problem is as it was, nothing leaks, and the same task then solves to the
// optimum.
class OptimizeMemfail : public ::testing::TestWithParam<std::tuple<const char*, int32_t>> {};

TEST_P(OptimizeMemfail, EveryFailureIsCleanAndTheTaskSolvesAfterwards) {
  const auto [name, optimizer] = GetParam();
  const int32_t whichsol = optimizer == VLR_OPTIMIZER_INTPNT ? VLR_SOL_ITR : VLR_SOL_BAS;
  const std::string path = std::string(VLR_DATA_DIR) + "/netlib/" + name + ".mps.gz";
  if (vlrtest::ReadFile(path).empty()) GTEST_SKIP() << "no data at " << path;
  g_left = -1;
  VLRenv_t env = nullptr;
  ASSERT_EQ(VLR_makeenv(&env, nullptr, FailingMalloc, CountingFree, vlrtest::DbgFile()),
            VLR_RES_OK);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  VLRtask_t task = nullptr;
  ASSERT_EQ(VLR_maketask(env, 0, 0, &task), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(task, VLR_IPAR_LOG, 0), VLR_RES_OK);
  ASSERT_EQ(VLR_readdata(task, path.c_str()), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(task, VLR_IPAR_OPTIMIZER, optimizer), VLR_RES_OK);
  const std::string before = vlrtest::Dump(task);
  int64_t failures = 0;
  for (int64_t k = 0;; k += 1 + k / 64) {  // every step at first, then a thinning sample
    g_left = k;
    const int32_t r = VLR_optimize(task);
    g_left = -1;
    if (r == VLR_RES_OK) break;
    ++failures;
    ASSERT_EQ(r, VLR_RES_ERR_SPACE) << name << " k = " << k;
    ASSERT_EQ(VLR_deletesolution(task, whichsol), VLR_RES_OK);
    ASSERT_EQ(vlrtest::Dump(task), before) << name << " k = " << k;
  }
  EXPECT_GT(failures, 10);
  RecordProperty("failures", static_cast<int>(failures));
  ASSERT_EQ(VLR_deletesolution(task, whichsol), VLR_RES_OK);
  ASSERT_EQ(VLR_optimize(task), VLR_RES_OK);
  int32_t prosta = -1, solsta = -1;
  ASSERT_EQ(VLR_getsolutionstatus(task, whichsol, &prosta, &solsta), VLR_RES_OK);
  EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL) << name;
  ASSERT_EQ(VLR_deletetask(&task), VLR_RES_OK);
  ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
  EXPECT_EQ(g_live, 0) << name;
}

INSTANTIATE_TEST_SUITE_P(
    Netlib, OptimizeMemfail,
    ::testing::Combine(::testing::Values("afiro", "sc50b", "adlittle", "blend"),
                       ::testing::Values(VLR_OPTIMIZER_DUAL_SIMPLEX, VLR_OPTIMIZER_PRIMAL_SIMPLEX,
                                         VLR_OPTIMIZER_INTPNT)),
    [](const auto& p) {
      const int32_t opt = std::get<1>(p.param);
      return std::string(std::get<0>(p.param)) + (opt == VLR_OPTIMIZER_DUAL_SIMPLEX ? "_dual"
                                                  : opt == VLR_OPTIMIZER_PRIMAL_SIMPLEX
                                                      ? "_primal"
                                                      : "_intpnt");
    });

}  // namespace
