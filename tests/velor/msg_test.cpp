// tests/velor/msg_test.cpp: log guards, the open-file message and the statistics file.
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <fstream>
#include <sstream>

#include "fixture.h"
#include "velor/task.h"

namespace {

using vlrtest::ReadFile;

TEST(MsgTest, SecondOptimizeLogsOneLevelLess) {
  auto env = vlrtest::MakeEnv();
  auto task = vlrtest::MakeTask(env.get());
  vlr::Task* t = vlr::VLR_taskcast(task.get());
  t->num_optimize = 1;
  EXPECT_TRUE(vlr::VLR_dolog(t, 1));
  t->num_optimize = 2;  // the cut is VLR_IPAR_LOG_CUT_SECOND_OPT, 1 by default
  EXPECT_FALSE(vlr::VLR_dolog(t, 1));
  EXPECT_TRUE(vlr::VLR_dolog(t, 2));
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_LOG, 1), VLR_RES_OK);
  EXPECT_FALSE(vlr::VLR_dolog(t, 4));  // the master level caps every subsystem
  EXPECT_EQ(vlr::VLR_tominor(5), 2);
}

TEST(MsgTest, OpeningAFileIsLoggedAndAFailureRaised) {
  auto env = vlrtest::MakeEnv();
  auto task = vlrtest::MakeTask(env.get());
  vlrtest::Collector log;
  VLR_linkfunctotaskstream(task.get(), VLR_STREAM_LOG, &log, vlrtest::Collector::Func);
  const std::string path = vlrtest::TmpPath("msgtest.par");
  ASSERT_EQ(VLR_writeparamfile(task.get(), path.c_str()), VLR_RES_OK);
  EXPECT_NE(log.All().find("Open file '" + path + "'\n"), std::string::npos);
  vlr::Task* t = vlr::VLR_taskcast(task.get());
  int32_t res = 0;
  EXPECT_EQ(vlr::VLR_fopentask(t, nullptr, 1, 0, 0, 0, &res), nullptr);
  EXPECT_EQ(res, VLR_RES_ERR_INVALID_FILE_NAME);
}

TEST(MsgTest, StatisticsAppendOneRecordPerCall) {
  auto env = vlrtest::MakeEnv();
  auto task = vlrtest::MakeTask(env.get());
  vlr::Task* t = vlr::VLR_taskcast(task.get());
  const std::string csv = vlrtest::TmpPath("msgtest_stat.csv");
  std::remove(csv.c_str());
  ASSERT_EQ(VLR_putstrparam(task.get(), VLR_SPAR_STAT_FILE_NAME, csv.c_str()), VLR_RES_OK);
  ASSERT_EQ(VLR_putstrparam(task.get(), VLR_SPAR_STAT_NAME, "afiro"), VLR_RES_OK);
  ASSERT_EQ(VLR_putstrparam(task.get(), VLR_SPAR_STAT_KEY, "k1"), VLR_RES_OK);
  vlr::VLRP_putintinf(t, VLR_IINF_SIM_PRIMAL_ITER, 17);
  ASSERT_EQ(vlr::VLR_appendstat(t), VLR_RES_OK);
  ASSERT_EQ(vlr::VLR_appendstat(t), VLR_RES_OK);
  const std::string text = ReadFile(csv);
  EXPECT_NE(text.find("afiro,k1,VLR_IINF_SIM_PRIMAL_ITER,17\n"), std::string::npos);
  EXPECT_NE(text.find("afiro,k1,VLR_DINF_PRIVATE_WINNING_OPTIMIZER_TIME,"), std::string::npos);
  EXPECT_NE(text.find("afiro,k1,VLR_DINF_BI_TIME,0.0000000000000000e+00"), std::string::npos);
  EXPECT_NE(text.find("VLR_IINF_SIM_PRIMAL_ITER,17\n", text.find("VLR_IINF_SIM_PRIMAL_ITER") + 1),
            std::string::npos);  // two records
  const std::string xml = vlrtest::TmpPath("msgtest_stat.xml");
  std::remove(xml.c_str());
  ASSERT_EQ(VLR_putstrparam(task.get(), VLR_SPAR_STAT_FILE_NAME, xml.c_str()), VLR_RES_OK);
  ASSERT_EQ(vlr::VLR_appendstat(t), VLR_RES_OK);
  const std::string x = ReadFile(xml);
  EXPECT_EQ(x.rfind("  <record name=\"afiro\" key=\"k1\">\n", 0), 0u);
  EXPECT_NE(x.find("    <field name=\"VLR_IINF_SIM_PRIMAL_ITER\"> 17 </field>\n"),
            std::string::npos);
}

}  // namespace
