// tests/cpub/memman_test.cpp: the memory manager: alignment, tracking, guards, leaks, and the
// task-independent parts of the system environment.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "cpub/sysenv.h"

namespace {

using vlr::SysEnv;

TEST(MemmanTest, BlocksAreAlignedAndZeroedInBothModes) {
  for (int32_t level : {0, 10}) {
    SysEnv* sys = vlr::VLR_sysenv_make(0, level, nullptr, nullptr, nullptr);
    ASSERT_NE(sys, nullptr);
    std::vector<double*> blocks;
    for (int64_t n = 1; n < 200; n += 7) {
      auto* p = static_cast<double*>(vlr::VLR_sysenv_callocdbg(sys, VLR_HERE, n, sizeof(double)));
      ASSERT_NE(p, nullptr);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 8, 0u);
      for (int64_t k = 0; k < n; ++k)
        ASSERT_EQ(p[k], 0.0);
      p[n - 1] = 1.0;  // the last element is the user's
      blocks.push_back(p);
    }
    EXPECT_EQ(vlr::VLR_sysenv_callocdbg(sys, VLR_HERE, 0, 8), nullptr);  // zero request
    for (double* p : blocks)
      vlr::VLR_sysenv_freedbg(sys, VLR_HERE, p);
    vlr::VLR_sysenv_freedbg(sys, VLR_HERE, nullptr);  // null is ignored
    EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysOk) << "level " << level;
    EXPECT_EQ(sys, nullptr);
  }
}

TEST(MemmanTest, TrackedUsageAndLeaks) {
  SysEnv* sys = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
  const int64_t base = vlr::VLR_sysenv_numblocks(sys);  // the SysEnv record itself
  void* a = vlr::VLR_sysenv_mallocdbg(sys, VLR_HERE, 1000);
  void* b = vlr::VLR_sysenv_mallocdbg(sys, VLR_HERE, 24);
  int64_t cur = 0, max = 0;
  vlr::VLR_sysenv_getmemusage(sys, &cur, &max);
  EXPECT_EQ(vlr::VLR_sysenv_numblocks(sys), base + 2);
  vlr::VLR_sysenv_freedbg(sys, VLR_HERE, a);
  int64_t cur2 = 0, max2 = 0;
  vlr::VLR_sysenv_getmemusage(sys, &cur2, &max2);
  EXPECT_EQ(cur - cur2, 1000);
  EXPECT_EQ(max2, max);  // the peak stays
  // realloc keeps the contents up to the smaller size
  std::memcpy(b, "abcdefghijklmnopqrstuvw", 24);
  b = vlr::VLR_sysenv_reallocdbg(sys, VLR_HERE, b, 24, 48);
  ASSERT_NE(b, nullptr);
  EXPECT_STREQ(static_cast<char*>(b), "abcdefghijklmnopqrstuvw");
  vlr::VLR_sysenv_scanmemdbg(sys, VLR_HERE);  // intact blocks pass
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysLeak);  // b was never freed
  const std::string report = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(report.find("**** ALLOCATED  BLOCKS LEFT\n"), std::string::npos);
}

TEST(MemmanTest, StringsAndJoins) {
  SysEnv* sys = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
  char* empty = vlr::VLR_sysenv_strdupdbg(sys, VLR_HERE, nullptr);
  ASSERT_NE(empty, nullptr);
  EXPECT_STREQ(empty, "");
  char* joined = nullptr;
  ASSERT_EQ(vlr::VLR_sysenv_strconcat3(sys, &joined, "a", nullptr, "bc"), vlr::kSysOk);
  EXPECT_STREQ(joined, "abc");
  vlr::VLR_sysenv_freedbg(sys, VLR_HERE, joined);
  vlr::VLR_sysenv_freedbg(sys, VLR_HERE, empty);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysOk);
}

TEST(MemmanTest, MachineFactsAreKept) {
  SysEnv* sys = vlr::VLR_sysenv_make(0, 0, nullptr, nullptr, nullptr);
  vlr::MachInfo m{};
  EXPECT_EQ(vlr::VLR_sysenv_getmachinfo(sys, &m), 1);  // not yet initialised
  vlr::VLR_sysenv_initmachinfo(sys, 10, 4096, 65536);  // given sizes are not detected again
  vlr::VLR_sysenv_init(sys);
  ASSERT_EQ(vlr::VLR_sysenv_getmachinfo(sys, &m), 0);
  EXPECT_EQ(m.cache_l1, 4096);
  EXPECT_EQ(m.cache_l2, 65536);
  const int32_t cores = vlr::VLR_sysenv_getnumcores(sys);
  EXPECT_GE(cores, 1);
  EXPECT_EQ(vlr::VLR_sysenv_getnumcores(sys), cores);
  EXPECT_STREQ(vlr::VLR_sysenv_getplfstr(5), "Linux/64-X86");
  char name[64];
  vlr::VLR_sysenv_getdllname("velor", 6, 0, sizeof name, name);
  EXPECT_STREQ(name, "libvelor64.so.6.0");
  EXPECT_TRUE(vlr::VLR_sysenv_isint32(2147483647LL));
  EXPECT_TRUE(vlr::VLR_sysenv_isint32(-2147483648LL));
  EXPECT_FALSE(vlr::VLR_sysenv_isint32(2147483648LL));
  EXPECT_FALSE(vlr::VLR_sysenv_isint32(-2147483649LL));
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysOk);
}

// Damage is fatal: the process stops with the tracker's message.
TEST(MemmanDeathTest, DoubleFreeStopsWithNotInListMessage) {
  ASSERT_DEATH(
      {
        SysEnv* sys = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
        void* p = vlr::VLR_sysenv_mallocdbg(sys, VLR_HERE, 16);
        vlr::VLR_sysenv_freedbg(sys, VLR_HERE, p);
        vlr::VLR_sysenv_freedbg(sys, VLR_HERE, p);
      },
      "cannot be deallocated because it is not in the allocation list");
}

TEST(MemmanDeathTest, OneByteOverrunStopsWithEndGuardMessage) {
  ASSERT_DEATH(
      {
        SysEnv* sys = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
        auto* p = static_cast<unsigned char*>(vlr::VLR_sysenv_mallocdbg(sys, VLR_HERE, 16));
        p[16] = 0;  // one past the end lands in the guard
        vlr::VLR_sysenv_scanmemdbg(sys, VLR_HERE);
      },
      "Block end guard violation.*pos: 0 expected: 32 got 0");
}

TEST(MemmanDeathTest, ChangedLockedBlockStops) {
  ASSERT_DEATH(
      {
        SysEnv* sys = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
        auto* p = static_cast<char*>(vlr::VLR_sysenv_callocdbg(sys, VLR_HERE, 8, 1));
        vlr::VLR_memman_lockptr(sys, VLR_HERE, p);
        p[3] = 'x';
        vlr::VLR_sysenv_scanmemdbg(sys, VLR_HERE);
      },
      "has been changed");
}

}  // namespace
