// tests/cpub/bigmem_test.cpp: the regions of large blocks: blocks that never overlap under a
// random mix of sizes, cleared blocks that are zero even where an old block lay, reuse of what
// was given back, the trim, two threads at once, the regions a parent keeps for its children,
// and the road through the memory manager.
// SPDX-License-Identifier: Apache-2.0
#include "cpub/bigmem.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "cpub/memman.h"
#include "cpub/sysenv.h"
#include "cpub/sysenvrec.h"

namespace {

class BigMemTest : public ::testing::Test {
 protected:
  void SetUp() override {
    bm_ = vlr::VLR_bigmem_make();
    if (bm_ == nullptr) GTEST_SKIP() << "regions are off in this build (a sanitizer sees blocks)";
  }
  void TearDown() override { vlr::VLR_bigmem_delete(&bm_); }
  vlr::BigMem* bm_ = nullptr;
};

struct Held {
  unsigned char* p;
  size_t size;
  unsigned char tag;
};

// Each block is filled with its own tag and checked whole when it is given back: two blocks that
// shared a byte would show it. Every cleared block must be zero, old data under it or not.
TEST_F(BigMemTest, RandomMixNeverOverlapsAndClearedBlocksAreZero) {
  std::vector<Held> held;
  uint64_t rng = 12345;
  auto next = [&rng]() {
    rng = rng * 6364136223846793005ULL + 1442695040888963407ULL;
    return rng >> 33;
  };
  for (int step = 0; step < 3000; ++step) {
    const bool give = !held.empty() && (held.size() > 40 || next() % 3 == 0);
    if (give) {
      const size_t at = next() % held.size();
      const Held h = held[at];
      for (size_t k = 0; k < h.size; k += 97)
        ASSERT_EQ(h.p[k], h.tag) << "block " << at << " byte " << k;
      ASSERT_EQ(h.p[h.size - 1], h.tag);
      ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, h.p));
      held[at] = held.back();
      held.pop_back();
      continue;
    }
    const size_t size = vlr::kBigMemMin + next() % (size_t{3} << 20);
    const bool clear = next() % 2 == 0;
    auto* p = static_cast<unsigned char*>(vlr::VLR_bigmem_alloc(bm_, size, clear));
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
    if (clear) {
      for (size_t k = 0; k < size; k += 61)
        ASSERT_EQ(p[k], 0) << "cleared block, byte " << k;
      ASSERT_EQ(p[size - 1], 0);
    }
    const auto tag = static_cast<unsigned char>(1 + step % 250);
    std::memset(p, tag, size);
    held.push_back({p, size, tag});
  }
  for (const Held& h : held)
    ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, h.p));
  int32_t regions = 0;
  size_t mapped = 0;
  vlr::VLR_bigmem_usage(bm_, &regions, &mapped);
  EXPECT_GE(regions, 1);
  // At most 40 blocks of up to 3 MiB were live at once: the regions stay near that.
  EXPECT_LE(mapped, size_t{256} << 20);
  vlr::VLR_bigmem_trim(bm_);
  vlr::VLR_bigmem_usage(bm_, &regions, &mapped);
  EXPECT_EQ(regions, 0);
}

// A block given back is handed out again in place; freed neighbours merge into room for a block
// as large as both; a block from elsewhere is not taken.
TEST_F(BigMemTest, GivenBackIsReusedAndNeighboursMerge) {
  const size_t size = size_t{1} << 20;
  void* a = vlr::VLR_bigmem_alloc(bm_, size, false);
  void* b = vlr::VLR_bigmem_alloc(bm_, size, false);
  void* c = vlr::VLR_bigmem_alloc(bm_, size, true);
  ASSERT_TRUE(a != nullptr && b != nullptr && c != nullptr);
  ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, b));
  EXPECT_EQ(vlr::VLR_bigmem_alloc(bm_, size, false), b);
  ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, a));
  ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, b));
  void* ab = vlr::VLR_bigmem_alloc(bm_, 2 * size, true);
  EXPECT_EQ(ab, a);
  const auto* z = static_cast<const unsigned char*>(ab);
  for (size_t k = 0; k < 2 * size; k += 4093)
    ASSERT_EQ(z[k], 0);
  int32_t regions = 0;
  size_t mapped = 0;
  vlr::VLR_bigmem_usage(bm_, &regions, &mapped);
  EXPECT_EQ(regions, 1);
  void* other = std::malloc(size);
  EXPECT_FALSE(vlr::VLR_bigmem_free(bm_, other));
  std::free(other);
  // A block larger than a region gets one of its own; freed, it goes when the next new region
  // is mapped or at the trim.
  void* huge = vlr::VLR_bigmem_alloc(bm_, size_t{100} << 20, true);
  ASSERT_NE(huge, nullptr);
  static_cast<unsigned char*>(huge)[(size_t{100} << 20) - 1] = 7;
  ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, huge));
  vlr::VLR_bigmem_trim(bm_);
  vlr::VLR_bigmem_usage(bm_, &regions, &mapped);
  EXPECT_EQ(regions, 1);  // the first still holds c and ab
  ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, ab));
  ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, c));
}

TEST_F(BigMemTest, TwoThreadsAtOnceKeepTheirBlocksApart) {
  auto work = [this](unsigned char tag, bool* ok) {
    std::vector<unsigned char*> mine;
    for (int step = 0; step < 400; ++step) {
      const size_t size = vlr::kBigMemMin * (1 + static_cast<size_t>(step % 7));
      auto* p = static_cast<unsigned char*>(vlr::VLR_bigmem_alloc(bm_, size, false));
      if (p == nullptr) {
        *ok = false;
        return;
      }
      std::memset(p, tag, vlr::kBigMemMin);
      mine.push_back(p);
      if (mine.size() > 8) {
        unsigned char* q = mine.front();
        for (size_t k = 0; k < vlr::kBigMemMin; k += 31)
          if (q[k] != tag) *ok = false;
        vlr::VLR_bigmem_free(bm_, q);
        mine.erase(mine.begin());
      }
    }
    for (unsigned char* q : mine)
      vlr::VLR_bigmem_free(bm_, q);
  };
  bool ok1 = true, ok2 = true;
  std::thread t1(work, static_cast<unsigned char>(0x11), &ok1);
  std::thread t2(work, static_cast<unsigned char>(0x22), &ok2);
  t1.join();
  t2.join();
  EXPECT_TRUE(ok1);
  EXPECT_TRUE(ok2);
}

// Small blocks of every size up to the large ones, mixed with large blocks, given back in random
// order: none overlaps another, each is 16-byte aligned, a cleared one is zero even where an
// earlier block of its class lay, and one given back is the next of its class handed out.
TEST_F(BigMemTest, SmallBlocksByClassNeverOverlapAndAreReused) {
  std::vector<Held> held;
  uint64_t rng = 777;
  auto next = [&rng]() {
    rng = rng * 6364136223846793005ULL + 1442695040888963407ULL;
    return rng >> 33;
  };
  for (int step = 0; step < 20000; ++step) {
    const bool give = !held.empty() && (held.size() > 300 || next() % 3 == 0);
    if (give) {
      const size_t at = next() % held.size();
      const Held h = held[at];
      for (size_t k = 0; k < h.size; ++k)
        ASSERT_EQ(h.p[k], h.tag) << "block " << at << " of " << h.size << " byte " << k;
      ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, h.p));
      held[at] = held.back();
      held.pop_back();
      continue;
    }
    const bool large = next() % 50 == 0;
    const size_t size = large             ? vlr::kBigMemMin + next() % (size_t{1} << 18)
                        : next() % 4 == 0 ? 1 + next() % (vlr::kBigMemMin - 1)
                                          : 1 + next() % 200;
    const bool clear = next() % 2 == 0;
    auto* p = static_cast<unsigned char*>(large ? vlr::VLR_bigmem_alloc(bm_, size, clear)
                                                : vlr::VLR_bigmem_allocsmall(bm_, size, clear));
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u);
    if (clear) {
      for (size_t k = 0; k < size; ++k)
        ASSERT_EQ(p[k], 0) << "cleared block of " << size << ", byte " << k;
    }
    const auto tag = static_cast<unsigned char>(1 + step % 250);
    std::memset(p, tag, size);
    held.push_back({p, size, tag});
  }
  for (const Held& h : held)
    ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, h.p));
  // The last given back of a class is the first handed out again; another class has its own.
  void* a = vlr::VLR_bigmem_allocsmall(bm_, 100, false);
  void* b = vlr::VLR_bigmem_allocsmall(bm_, 100, false);
  ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, a));
  ASSERT_TRUE(vlr::VLR_bigmem_free(bm_, b));
  EXPECT_NE(vlr::VLR_bigmem_allocsmall(bm_, 20, false), b);
  EXPECT_EQ(vlr::VLR_bigmem_allocsmall(bm_, 120, false), b);
  EXPECT_EQ(vlr::VLR_bigmem_allocsmall(bm_, 97, true), a);
}

// A child's regions go to its parent when the child ends or trims, and serve the next child:
// the same addresses come back, and a cleared block is zero over what the last child wrote.
TEST(BigMemParent, AChildsRegionsServeTheNextChild) {
  vlr::BigMem* parent = vlr::VLR_bigmem_make();
  if (parent == nullptr) GTEST_SKIP() << "regions are off in this build (a sanitizer sees blocks)";
  auto child = [parent] {
    vlr::BigMem* c = vlr::VLR_bigmem_make();
    vlr::VLR_bigmem_setparent(c, parent);
    return c;
  };
  const size_t mb = size_t{1} << 20;
  vlr::BigMem* a = child();
  auto* p = static_cast<unsigned char*>(vlr::VLR_bigmem_alloc(a, 40 * mb, false));
  auto* q = static_cast<unsigned char*>(vlr::VLR_bigmem_alloc(a, 40 * mb, false));
  ASSERT_TRUE(p != nullptr && q != nullptr);
  std::memset(p, 0xab, 40 * mb);
  std::memset(q, 0xcd, 40 * mb);
  vlr::VLR_bigmem_delete(&a);  // both regions, blocks and all, go to the parent

  vlr::BigMem* b = child();
  auto* p2 = static_cast<unsigned char*>(vlr::VLR_bigmem_alloc(b, 40 * mb, true));
  auto* q2 = static_cast<unsigned char*>(vlr::VLR_bigmem_alloc(b, 40 * mb, true));
  ASSERT_TRUE(p2 != nullptr && q2 != nullptr);
  EXPECT_TRUE((p2 == p && q2 == q) || (p2 == q && q2 == p));
  for (size_t k = 0; k < 40 * mb; k += 4093)
    ASSERT_TRUE(p2[k] == 0 && q2[k] == 0) << k;
  int32_t regions = 0;
  size_t mapped = 0;
  vlr::VLR_bigmem_usage(b, &regions, &mapped);
  EXPECT_EQ(regions, 2);
  // Given back and trimmed while the child lives: the region is the parent's again.
  ASSERT_TRUE(vlr::VLR_bigmem_free(b, q2));
  vlr::VLR_bigmem_trim(b);
  vlr::VLR_bigmem_usage(b, &regions, &mapped);
  EXPECT_EQ(regions, 1);
  vlr::BigMem* c = child();
  EXPECT_EQ(vlr::VLR_bigmem_alloc(c, 40 * mb, false), q2);
  vlr::VLR_bigmem_delete(&c);
  vlr::VLR_bigmem_delete(&b);
  vlr::VLR_bigmem_delete(&parent);
}

// Through the system layer: large and small blocks side by side, cleared ones zero after reuse,
// and nothing left after the trim.
TEST(BigMemSysEnv, LargeAndSmallBlocksThroughTheSystemLayer) {
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(1, 0, nullptr, nullptr, nullptr);
  ASSERT_NE(sys, nullptr);
  const size_t big = size_t{1} << 20;
  for (int round = 0; round < 3; ++round) {
    auto* p = static_cast<double*>(VLR_sysenv_calloc(sys, big / sizeof(double), sizeof(double)));
    auto* q = static_cast<int*>(vlr::VLR_sysenv_mallocdbg(sys, VLR_HERE, 100 * sizeof(int)));
    ASSERT_TRUE(p != nullptr && q != nullptr);
    for (size_t k = 0; k < big / sizeof(double); k += 1000)
      ASSERT_EQ(p[k], 0.0);
    p[0] = p[big / sizeof(double) - 1] = 1.0;
    q[99] = 1;
    VLR_sysenv_free(sys, p);
    VLR_sysenv_free(sys, q);
  }
  vlr::VLR_sysenv_trim(sys);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), 0);
}

// A system layer asked for small blocks from the regions maps a region for its first small
// block, gives its blocks back through the ordinary free, and reports no leak at its end.
TEST(BigMemSysEnv, SmallBlocksFromTheRegionsWhenAsked) {
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(1, 0, nullptr, nullptr, nullptr);
  ASSERT_NE(sys, nullptr);
  if (sys->memman->big == nullptr) {
    vlr::VLR_sysenv_delete(&sys);
    GTEST_SKIP() << "regions are off in this build (a sanitizer sees blocks)";
  }
  int32_t regions = 0;
  size_t mapped = 0;
  void* before = vlr::VLR_sysenv_mallocdbg(sys, VLR_HERE, 64);
  vlr::VLR_bigmem_usage(sys->memman->big, &regions, &mapped);
  EXPECT_EQ(regions, 0) << "a small block comes from the C allocator unless asked";
  vlr::VLR_sysenv_smallfromregions(sys);
  std::vector<int*> blocks;
  for (int k = 0; k < 1000; ++k) {
    auto* q = static_cast<int*>(VLR_sysenv_calloc(sys, 1 + k % 300, sizeof(int)));
    ASSERT_NE(q, nullptr);
    for (int t = 0; t < 1 + k % 300; ++t)
      ASSERT_EQ(q[t], 0);
    q[k % 300] = k;
    blocks.push_back(q);
  }
  vlr::VLR_bigmem_usage(sys->memman->big, &regions, &mapped);
  EXPECT_EQ(regions, 1);
  for (int* q : blocks)
    VLR_sysenv_free(sys, q);
  VLR_sysenv_free(sys, before);  // from the C allocator, given back there
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), 0);
}

}  // namespace
