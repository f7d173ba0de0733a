// tests/velor/taskbuf_test.cpp: the task's scratch buffers: reuse, the zeroed class, and buffers
// that outlive a resize.
// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"
#include "velor/task.h"

namespace {

class TaskbufTest : public ::testing::Test {
 protected:
  vlrtest::EnvPtr env_ = vlrtest::MakeEnv("");  // tracked: a lost buffer shows as a leak
  vlrtest::TaskPtr task_ = vlrtest::MakeTask(env_.get());
  vlr::Task* t() { return vlr::VLR_taskcast(task_.get()); }
  void* Get(int64_t count, int32_t width, int32_t zeroed) {
    int32_t res = -1;
    void* p = vlr::VLR_getbufdbg(VLR_HERE, t(), count, width, zeroed, &res);
    EXPECT_EQ(res, VLR_RES_OK);
    return p;
  }
};

TEST_F(TaskbufTest, ZeroCountGivesNullAndPutAcceptsIt) {
  void* p = Get(0, 8, 0);
  EXPECT_EQ(p, nullptr);
  vlr::VLR_putbuf(t(), 8, 0, &p);
  vlr::VLR_putbuf(t(), 8, 0, nullptr);
}

TEST_F(TaskbufTest, ReturnedBuffersAreReusedBySizeAndClass) {
  void* a = Get(100, 8, 0);
  void* b = Get(10, 8, 0);
  ASSERT_NE(a, nullptr);
  ASSERT_NE(a, b);
  void* a_addr = a;
  void* b_addr = b;
  vlr::VLR_putbuf(t(), 8, 0, &a);
  vlr::VLR_putbuf(t(), 8, 0, &b);
  EXPECT_EQ(a, nullptr);
  EXPECT_EQ(Get(5, 8, 0), b_addr);   // the smallest free buffer that fits
  EXPECT_EQ(Get(50, 8, 0), a_addr);  // the next one that fits
  auto* z = static_cast<double*>(Get(20, 8, 1));
  EXPECT_NE(static_cast<void*>(z), a_addr);  // a zeroed request never gets a plain buffer
  for (int k = 0; k < 20; ++k)
    ASSERT_EQ(z[k], 0.0);
}

TEST_F(TaskbufTest, ResizeWhileOutFreesTheBufferWhenItComesBack) {
  void* a = Get(100, 4, 0);
  void* spare = Get(10, 4, 0);
  vlr::VLR_putbuf(t(), 4, 0, &spare);
  ASSERT_EQ(VLR_resizetask(task_.get(), 5, 5, 0, 0, 0), VLR_RES_OK);
  vlr::VLR_putbuf(t(), 4, 0, &a);  // flagged by the resize: freed, not kept
  int64_t cur = 0, max = 0;
  ASSERT_EQ(VLR_getmemusagetask64(task_.get(), &cur, &max), VLR_RES_OK);
  void* b = Get(100, 4, 0);  // a fresh block: nothing stayed in the pool
  EXPECT_NE(b, nullptr);
  int64_t cur2 = 0;
  ASSERT_EQ(VLR_getmemusagetask64(task_.get(), &cur2, &max), VLR_RES_OK);
  EXPECT_GE(cur2 - cur, 400);
}

}  // namespace
