// tests/velor/fixture.h: env and task handles for tests, deleted with a check that nothing leaks.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "velor.h"

namespace vlrtest {

// VLR_TEST_TRACK=1 makes every env track its blocks (debug file name ""), so the tracker's own
// guard and leak paths run under the same tests.
inline const char* DbgFile() {
  const char* v = std::getenv("VLR_TEST_TRACK");
  return v != nullptr && v[0] == '1' ? "" : nullptr;
}

struct EnvDeleter {
  void operator()(VLRenv_s* env) const {
    VLRenv_t e = env;
    EXPECT_EQ(VLR_deleteenv(&e), VLR_RES_OK);
  }
};
struct TaskDeleter {
  void operator()(VLRtask_s* task) const {
    VLRtask_t t = task;
    EXPECT_EQ(VLR_deletetask(&t), VLR_RES_OK);
  }
};
using EnvPtr = std::unique_ptr<VLRenv_s, EnvDeleter>;
using TaskPtr = std::unique_ptr<VLRtask_s, TaskDeleter>;

inline EnvPtr MakeEnv(const char* dbgfile = DbgFile()) {
  VLRenv_t env = nullptr;
  EXPECT_EQ(VLR_makeenv(&env, nullptr, nullptr, nullptr, dbgfile), VLR_RES_OK);
  EXPECT_EQ(VLR_initenv(env), VLR_RES_OK);
  return EnvPtr(env);
}

inline TaskPtr MakeTask(VLRenv_t env, int32_t maxcon = 0, int32_t maxvar = 0) {
  VLRtask_t task = nullptr;
  EXPECT_EQ(VLR_maketask(env, maxcon, maxvar, &task), VLR_RES_OK);
  return TaskPtr(task);
}

// Collects what a stream delivers, one delivery per element.
struct Collector {
  std::vector<std::string> lines;
  std::string All() const {
    std::string s;
    for (const auto& l : lines)
      s += l;
    return s;
  }
  static void Func(void* handle, const char* text) {
    static_cast<Collector*>(handle)->lines.emplace_back(text);
  }
};

inline std::string LastError(VLRtask_t task, int32_t* code = nullptr) {
  char msg[VLR_MAX_STR_LEN] = {0};
  int32_t c = -1, len = 0;
  EXPECT_EQ(VLR_getlasterror(task, &c, sizeof msg, &len, msg), VLR_RES_OK);
  if (code != nullptr) *code = c;
  return msg;
}

// An allocator for VLR_makeenv that fails when g_left reaches 0 (-1: never) and counts the blocks
// it has handed out and not had back.
inline int64_t g_left = -1;
inline int64_t g_live = 0;
inline void* FailingMalloc(void*, size_t size) {
  if (g_left == 0) return nullptr;
  if (g_left > 0) --g_left;
  ++g_live;
  return std::malloc(size);
}
inline void CountingFree(void*, void* block) {
  --g_live;
  std::free(block);
}

// Whole files as bytes, for tests that write inputs and read outputs.
inline void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}
inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

// A scratch file name of the running test: CTest runs tests in parallel processes, so each test
// gets names of its own.
inline std::string TmpPath(const char* name) {
  const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string prefix;
  if (info != nullptr) prefix = std::string(info->test_suite_name()) + "." + info->name() + ".";
  for (char& ch : prefix) {
    if (ch == '/') ch = '_';  // parameterised test names hold slashes
  }
  return std::string(VLR_TEST_TMP) + "/" + prefix + name;
}

}  // namespace vlrtest
