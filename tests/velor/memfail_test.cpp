// tests/velor/memfail_test.cpp: every allocation of the life cycle fails in turn; each failure is
// a clean VLR_RES_ERR_SPACE with nothing left behind.
// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>

#include "fixture.h"

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

}  // namespace
