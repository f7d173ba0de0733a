// tests/velor/names_test.cpp: names of items: generic names, lookups through the map and
// without it, refusals, short buffers, and names that follow removed and resized items.
// SPDX-License-Identifier: Apache-2.0
#include <string>

#include "fixture.h"
#include "taskdump.h"

namespace {

class NamesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env_ = vlrtest::MakeEnv();
    task_ = vlrtest::MakeTask(env_.get(), 0, 0);
    ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 20), VLR_RES_OK);
    ASSERT_EQ(VLR_append(task(), VLR_ACC_CON, 5), VLR_RES_OK);
  }
  VLRtask_t task() { return task_.get(); }
  std::string Name(int32_t whichitem, int32_t i) {
    char buf[64];
    EXPECT_EQ(VLR_getname(task(), whichitem, i, sizeof buf, nullptr, buf), VLR_RES_OK);
    return buf;
  }
  int32_t Find(int32_t whichitem, const char* name) {
    int32_t asgn = -1, index = -1;
    EXPECT_EQ(VLR_getnameindex(task(), whichitem, name, &asgn, &index), VLR_RES_OK);
    return asgn ? index : -1;
  }
  vlrtest::EnvPtr env_;
  vlrtest::TaskPtr task_;
};

TEST_F(NamesTest, UnnamedItemsReadAsGenericNames) {
  EXPECT_EQ(Name(VLR_PI_VAR, 12), "x12");
  EXPECT_EQ(Name(VLR_PI_CON, 3), "c3");
  ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 12, "flow"), VLR_RES_OK);
  EXPECT_EQ(Name(VLR_PI_VAR, 12), "flow");
  char buf[8];
  ASSERT_EQ(VLR_getvarname(task(), 12, sizeof buf, buf), VLR_RES_OK);
  EXPECT_STREQ(buf, "flow");
  int64_t len = 0;
  ASSERT_EQ(VLR_getnamelen64(task(), VLR_PI_CON, 4, &len), VLR_RES_OK);
  EXPECT_EQ(len, 2);
  int32_t maxlen = 0;
  ASSERT_EQ(VLR_getmaxnamelen(task(), &maxlen), VLR_RES_OK);
  EXPECT_EQ(maxlen, 4);  // "flow"; the longest generic name is "x19"
  ASSERT_EQ(VLR_putobjname(task(), "cost"), VLR_RES_OK);
  int32_t olen = 0;
  ASSERT_EQ(VLR_getobjname(task(), sizeof buf, &olen, buf), VLR_RES_OK);
  EXPECT_STREQ(buf, "cost");
  EXPECT_EQ(olen, 4);
}

TEST_F(NamesTest, AShortBufferCutsTheNameAndSaysSo) {
  ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, 1, "balance_north"), VLR_RES_OK);
  char buf[6] = "?????";
  int32_t len = 0;
  EXPECT_EQ(VLR_getname(task(), VLR_PI_CON, 1, sizeof buf, &len, buf), VLR_RES_ERR_NAME_MAX_LEN);
  EXPECT_STREQ(buf, "balan");
  EXPECT_EQ(len, 13);
}

TEST_F(NamesTest, LookupsFindNamesAndRefuseBadOnes) {
  ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 3, "a"), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 7, "b"), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, 0, "a"), VLR_RES_OK);  // another class: allowed
  EXPECT_EQ(Find(VLR_PI_VAR, "a"), 3);
  EXPECT_EQ(Find(VLR_PI_VAR, "b"), 7);
  EXPECT_EQ(Find(VLR_PI_CON, "a"), 0);
  EXPECT_EQ(Find(VLR_PI_VAR, "c"), -1);
  EXPECT_EQ(VLR_putname(task(), VLR_PI_VAR, 8, "a"), VLR_RES_ERR_DUP_NAME);
  EXPECT_EQ(VLR_putname(task(), VLR_PI_VAR, 8, " \t "), VLR_RES_ERR_BLANK_NAME);
  EXPECT_EQ(VLR_putname(task(), VLR_PI_VAR, 20, "z"), VLR_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(VLR_putname(task(), 3, 0, "z"), VLR_RES_ERR_PRO_ITEM);
  int32_t asgn = 0, index = 0;
  EXPECT_EQ(VLR_getnameindex(task(), VLR_PI_VAR, "", &asgn, &index), VLR_RES_ERR_BLANK_NAME);
  // Renaming frees the old name for another item.
  ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 3, "a2"), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 8, "a"), VLR_RES_OK);
  EXPECT_EQ(Find(VLR_PI_VAR, "a"), 8);
  EXPECT_EQ(Find(VLR_PI_VAR, "a2"), 3);
  // A name put again on its own item is no duplicate.
  EXPECT_EQ(VLR_putname(task(), VLR_PI_VAR, 8, "a"), VLR_RES_OK);
}

TEST_F(NamesTest, NamesFollowRemovalAndSurviveCapacityChanges) {
  for (int32_t j = 0; j < 20; ++j)
    ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, j, ("v" + std::to_string(j)).c_str()), VLR_RES_OK);
  const int32_t gone[3] = {0, 5, 6};
  ASSERT_EQ(VLR_remove(task(), VLR_ACC_VAR, 3, gone), VLR_RES_OK);
  EXPECT_EQ(Name(VLR_PI_VAR, 0), "v1");
  EXPECT_EQ(Name(VLR_PI_VAR, 4), "v7");
  EXPECT_EQ(Find(VLR_PI_VAR, "v7"), 4);
  EXPECT_EQ(Find(VLR_PI_VAR, "v5"), -1);
  ASSERT_EQ(VLR_putmaxnumvar(task(), 200), VLR_RES_OK);  // drops the map
  EXPECT_EQ(Find(VLR_PI_VAR, "v19"), 16);                // and the lookup builds it again
  ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 100), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 116, "late"), VLR_RES_OK);
  EXPECT_EQ(VLR_putname(task(), VLR_PI_VAR, 115, "v19"), VLR_RES_ERR_DUP_NAME);
  EXPECT_EQ(Find(VLR_PI_VAR, "late"), 116);
  EXPECT_EQ(Name(VLR_PI_VAR, 115), "x115");
}

}  // namespace
