// tests/cpub/stkbuf_test.cpp: the stack buffer's order, space and size checks; the reserve stack.
#include "cpub/stkbuf.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace vlr {
namespace {

class SysEnvTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sys_ = VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
    ASSERT_NE(sys_, nullptr);
  }
  void TearDown() override { EXPECT_EQ(VLR_sysenv_delete(&sys_), 0); }
  SysEnv* sys_ = nullptr;
};

bool Aligned(const void* p, size_t a) {
  return reinterpret_cast<uintptr_t>(p) % a == 0;
}

// ---- Reserve-then-allocate stack ------------------------------------------------------------

using BufStackTest = SysEnvTest;

TEST_F(BufStackTest, ReserveRoundsUpAlwaysByAtLeastOneStep) {
  BufStack* bs = nullptr;
  ASSERT_EQ(VLR_GENERIC_CPU_bufstack_make(sys_, &bs), kSysOk);
  const size_t cases[][2] = {{16, 32}, {0, 16}, {1, 16}, {15, 16}, {17, 32}, {31, 32}, {32, 48}};
  size_t sum = 0;
  for (const auto& c : cases) {
    VLR_GENERIC_CPU_bufstack_reserve_dbg(bs, VLR_HERE, c[0]);
    sum += c[1];
    EXPECT_EQ(VLR_GENERIC_CPU_bufstack_getreserved(bs), sum) << "reserve(" << c[0] << ")";
  }
  // A second, smaller phase leaves the largest sum; a larger one raises it.
  VLR_GENERIC_CPU_bufstack_reset(bs);
  VLR_GENERIC_CPU_bufstack_reserven_dbg(bs, VLR_HERE, 3, sizeof(double));  // 24 bytes: 32
  EXPECT_EQ(VLR_GENERIC_CPU_bufstack_getreserved(bs), sum);
  VLR_GENERIC_CPU_bufstack_reset(bs);
  VLR_GENERIC_CPU_bufstack_reserve_dbg(bs, VLR_HERE, sum);
  EXPECT_EQ(VLR_GENERIC_CPU_bufstack_getreserved(bs), sum + 16);
  VLR_GENERIC_CPU_bufstack_delete(&bs);
  EXPECT_EQ(bs, nullptr);
}

TEST_F(BufStackTest, PopsFollowTheReservedStepsAndPushesGoBack) {
  BufStack* bs = nullptr;
  ASSERT_EQ(VLR_GENERIC_CPU_bufstack_make(sys_, &bs), kSysOk);
  const size_t runs[] = {40, 16, 3, 100};
  for (size_t n : runs)
    VLR_GENERIC_CPU_bufstack_reserve_dbg(bs, VLR_HERE, n);
  ASSERT_EQ(VLR_GENERIC_CPU_bufstack_allocate(bs), kSysOk);
  char* p[4];
  for (int k = 0; k < 4; ++k) {
    p[k] = static_cast<char*>(VLR_GENERIC_CPU_bufstack_pop_dbg(bs, VLR_HERE, runs[k]));
    EXPECT_TRUE(Aligned(p[k], 16));
    std::memset(p[k], 0x5a, runs[k]);  // the whole run is usable; tracking checks the guards
  }
  EXPECT_EQ(p[1] - p[0], 48);
  EXPECT_EQ(p[2] - p[1], 32);
  EXPECT_EQ(p[3] - p[2], 16);
  EXPECT_EQ(VLR_GENERIC_CPU_bufstack_gettop(bs), VLR_GENERIC_CPU_bufstack_getreserved(bs));
  VLR_GENERIC_CPU_bufstack_push_dbg(bs, VLR_HERE, 100);
  VLR_GENERIC_CPU_bufstack_push_dbg(bs, VLR_HERE, 3);
  EXPECT_EQ(VLR_GENERIC_CPU_bufstack_pop_dbg(bs, VLR_HERE, 3), p[2]);
  VLR_GENERIC_CPU_bufstack_pushall_dbg(bs, VLR_HERE);
  EXPECT_EQ(VLR_GENERIC_CPU_bufstack_pop_dbg(bs, VLR_HERE, 0), p[0]);
  EXPECT_DEATH(VLR_GENERIC_CPU_bufstack_pop_dbg(bs, VLR_HERE, 200), "bufstack: pop of 200");
  VLR_GENERIC_CPU_bufstack_pushall_dbg(bs, VLR_HERE);
  // A larger phase after use makes allocate grow the block.
  VLR_GENERIC_CPU_bufstack_reset(bs);
  VLR_GENERIC_CPU_bufstack_reserve_dbg(bs, VLR_HERE, 1000);
  ASSERT_EQ(VLR_GENERIC_CPU_bufstack_allocate(bs), kSysOk);
  std::memset(VLR_GENERIC_CPU_bufstack_pop_dbg(bs, VLR_HERE, 1000), 1, 1000);
  VLR_sysenv_scanmemdbg(sys_, VLR_HERE);
  VLR_GENERIC_CPU_bufstack_delete(&bs);
}

// ---- Stack buffer ---------------------------------------------------------------------------

class StkBufTest : public SysEnvTest, public ::testing::WithParamInterface<int32_t> {
 protected:
  StkBuf* Make(size_t size, int32_t maxbuffers = 8, size_t alignment = 64) {
    StkBuf* stk = nullptr;
    EXPECT_EQ(VLR_stkbuf_make(sys_, maxbuffers, size, alignment, 4, 0, GetParam(), &stk), kSysOk);
    return stk;
  }
};

TEST_P(StkBufTest, BlocksComeAlignedAndGoBackInReverseOrder) {
  StkBuf* stk = Make(1000);
  const size_t sizes[] = {10, 0, 64, 7, 33};
  const size_t aligns[] = {8, 1, 64, 16, 0};
  void* p[5];
  size_t use = 0;
  for (int k = 0; k < 5; ++k) {
    p[k] = VLR_stkbuf_popdbg(stk, VLR_HERE, sizes[k], aligns[k]);
    ASSERT_NE(p[k], nullptr);
    EXPECT_TRUE(Aligned(p[k], aligns[k] ? aligns[k] : 1));
    std::memset(p[k], k + 1, sizes[k]);
    use += sizes[k];
    EXPECT_EQ(VLR_stkbuf_getstkuse(stk), use);
  }
  for (int k = 0; k < 5; ++k) {  // no block overwrote another
    for (size_t b = 0; b < sizes[k]; ++b)
      ASSERT_EQ(static_cast<char*>(p[k])[b], k + 1);
  }
  EXPECT_DEATH(VLR_stkbuf_pushdbg(stk, VLR_HERE, &p[3]), "buffer error -- expected: ");
  for (int k = 4; k >= 0; --k) {
    VLR_stkbuf_push(stk, &p[k]);
    EXPECT_EQ(p[k], nullptr);
  }
  EXPECT_EQ(VLR_stkbuf_getnumbufs(stk), 0);
  EXPECT_EQ(VLR_stkbuf_getstkuse(stk), 0u);
  EXPECT_DEATH(VLR_stkbuf_pushdbg(stk, VLR_HERE, &p[0]), "numbufs<=0");
  // A typed pointer is given back through the same check.
  auto* d = static_cast<double*>(VLR_stkbuf_pop(stk, 5 * sizeof(double), 16));
  VLR_stkbuf_push(stk, &d);
  EXPECT_EQ(d, nullptr);
  VLR_stkbuf_delete(&stk);
}

TEST_P(StkBufTest, TheFullSizeFitsWithWorstPaddingAndOneByteMoreStops) {
  StkBuf* stk = Make(100, 4, 64);
  void* p[4];
  const size_t sizes[] = {1, 33, 65, 1};  // 100 bytes, each start forced to pad
  for (int k = 0; k < 4; ++k)
    p[k] = VLR_stkbuf_popdbg(stk, VLR_HERE, sizes[k], 64);
  for (int k = 3; k >= 0; --k)
    VLR_stkbuf_pushdbg(stk, VLR_HERE, &p[k]);
  EXPECT_DEATH(VLR_stkbuf_popdbg(stk, VLR_HERE, 101, 64), "Out of space in stack buffer");
  EXPECT_DEATH(VLR_stkbuf_popdbg(stk, VLR_HERE, 8, 128), "Incorrect alignment");
  VLR_stkbuf_delete(&stk);
}

TEST_P(StkBufTest, SizeChecksBoundTheBlocksTakenWhileTheyLive) {
  StkBuf* stk = Make(1000);
  void* a = VLR_stkbuf_popdbg(stk, VLR_HERE, 50, 8);
  VLR_stkbuf_pushsizecheckdbg(stk, VLR_HERE, 100, 11);  // at most 100 more: stack use 150
  void* b = VLR_stkbuf_popdbg(stk, VLR_HERE, 60, 8);
  VLR_stkbuf_pushsizecheckdbg(stk, VLR_HERE, 500, 12);  // looser, but the outer one still holds
  EXPECT_DEATH(VLR_stkbuf_popdbg(stk, VLR_HERE, 41, 8),
               "Failed size check. numsizechecks: 2 k: 0 Checking id: 11 stackuse: 110 "
               "sizechecks: 150 size: 41");
  void* c = VLR_stkbuf_popdbg(stk, VLR_HERE, 40, 8);  // exactly at the bound
  VLR_stkbuf_pushdbg(stk, VLR_HERE, &c);
  VLR_stkbuf_popsizecheckdbg(stk, VLR_HERE);
  VLR_stkbuf_popsizecheckdbg(stk, VLR_HERE);
  c = VLR_stkbuf_popdbg(stk, VLR_HERE, 500, 8);  // no bound left
  EXPECT_DEATH(VLR_stkbuf_popsizecheckdbg(stk, VLR_HERE), "numsizechecks<=0");
  EXPECT_DEATH(VLR_stkbuf_delete(&stk), "Buffers left");
  VLR_stkbuf_pushdbg(stk, VLR_HERE, &c);
  VLR_stkbuf_pushdbg(stk, VLR_HERE, &b);
  VLR_stkbuf_pushdbg(stk, VLR_HERE, &a);
  VLR_stkbuf_delete(&stk);
}

std::string g_log;
void Collect(void*, const char* text) {
  g_log += text;
}

TEST_P(StkBufTest, HighPrintLevelTracesPopsAndPushes) {
  StkBuf* stk = nullptr;
  ASSERT_EQ(VLR_stkbuf_make(sys_, 2, 64, 16, 0, 6, GetParam(), &stk), kSysOk);
  g_log.clear();
  ASSERT_EQ(VLR_sysenv_linkfunctostream(sys_, 0, nullptr, Collect), 0);
  void* p = VLR_stkbuf_popdbg(stk, "caller.cpp", 12, 24, 16);
  VLR_stkbuf_pushdbg(stk, "caller.cpp", 13, &p);
  VLR_sysenv_unlinkfuncfromstream(sys_, 0, Collect);
  EXPECT_NE(g_log.find("stkbuf:pop:caller.cpp(12): 24 "), std::string::npos) << g_log;
  EXPECT_NE(g_log.find("stkbuf:push:caller.cpp(13): 24 "), std::string::npos) << g_log;
  VLR_stkbuf_delete(&stk);
}

INSTANTIATE_TEST_SUITE_P(RegionAndAllocator, StkBufTest, ::testing::Values(0, 1),
                         [](const auto& tp) { return tp.param ? "Allocator" : "Region"; });

}  // namespace
}  // namespace vlr
