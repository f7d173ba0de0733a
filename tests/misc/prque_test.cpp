// tests/misc/prque_test.cpp: the bucket priority queue against a plain model under random
// operations, its bucket order and its cursor.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "misc/misc.h"

namespace {

class Prque : public ::testing::Test {
 protected:
  void SetUp() override {
    sys_ = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
    pq_ = vlr::VLR_pq_make2(sys_);
    ASSERT_NE(pq_, nullptr);
  }
  void TearDown() override {
    vlr::VLR_pq_delete(&pq_);
    EXPECT_EQ(pq_, nullptr);
    EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), vlr::kSysOk);
  }
  vlr::SysEnv* sys_ = nullptr;
  vlr::PrQue* pq_ = nullptr;
};

TEST_F(Prque, SetupNeedsMaxpPlusThreeNPlusOne) {
  std::vector<int32_t> w(5 + 3 * 10 + 1);
  EXPECT_EQ(vlr::VLR_pq_setup(pq_, 10, 5, static_cast<int32_t>(w.size()) - 1, w.data()), 0);
  EXPECT_EQ(vlr::VLR_pq_setup(pq_, 10, 5, static_cast<int32_t>(w.size()), w.data()), 1);
  EXPECT_EQ(vlr::VLR_pq_tomin(pq_), 0);
  EXPECT_EQ(vlr::VLR_pq_getp(pq_, 3), 6) << "an item not queued has priority maxp+1";
}

// Random puts, removals and steps agree with a plain array; the lowest bucket and the count
// are right after every operation.
TEST_F(Prque, RandomOperationsMatchModel) {
  const int32_t n = 50, maxp = 20;
  std::vector<int32_t> w(maxp + 3 * n + 1);
  ASSERT_EQ(vlr::VLR_pq_setup(pq_, n, maxp, static_cast<int32_t>(w.size()), w.data()), 1);
  std::vector<int32_t> model(n, -1);
  std::mt19937 rng(4);
  for (int32_t step = 0; step < 5000; ++step) {
    const auto e = static_cast<int32_t>(rng() % n);
    switch (rng() % 4) {
      case 0:
        model[e] = static_cast<int32_t>(rng() % (maxp + 1));
        vlr::VLR_pq_putp(pq_, e, model[e]);
        break;
      case 1:
        model[e] = -1;
        vlr::VLR_pq_remove(pq_, e);
        break;
      case 2:
        if (model[e] > 0) {
          --model[e];
          vlr::VLR_pq_decp(pq_, e);
        }
        break;
      default:
        if (model[e] >= 0 && model[e] < maxp) {
          ++model[e];
          vlr::VLR_pq_incp(pq_, e);
        }
    }
    int32_t count = 0, minp = maxp + 1;
    for (int32_t k = 0; k < n; ++k) {
      EXPECT_EQ(vlr::VLR_pq_getp(pq_, k), model[k] < 0 ? maxp + 1 : model[k]);
      if (model[k] >= 0) {
        ++count;
        minp = std::min(minp, model[k]);
      }
    }
    ASSERT_EQ(pq_->count, count);
    ASSERT_EQ(vlr::VLR_pq_getminp(pq_), minp);
  }
  // A walk with tonext visits every item once, in non-decreasing priority.
  int32_t seen = 0, last = -1;
  for (int32_t ok = vlr::VLR_pq_tomin(pq_); ok != 0; ok = vlr::VLR_pq_tonext(pq_)) {
    int32_t e = 0, p = 0;
    ASSERT_EQ(vlr::VLR_pq_get(pq_, &e, &p), 1);
    EXPECT_GE(p, last);
    last = p;
    ++seen;
  }
  EXPECT_EQ(seen, pq_->count);
}

// The newest item of a priority is seen first, and removing the item under the cursor moves
// the cursor on to the next of its bucket.
TEST_F(Prque, NewestFirstAndRemovalUnderCursor) {
  std::vector<int32_t> w(4 + 3 * 6 + 1);
  ASSERT_EQ(vlr::VLR_pq_setup(pq_, 6, 4, static_cast<int32_t>(w.size()), w.data()), 1);
  for (int32_t e : {0, 1, 2})
    vlr::VLR_pq_putp(pq_, e, 2);
  vlr::VLR_pq_putp(pq_, 5, 3);
  ASSERT_EQ(vlr::VLR_pq_top(pq_, 2), 1);
  int32_t e = -1, p = -1;
  ASSERT_EQ(vlr::VLR_pq_get(pq_, &e, &p), 1);
  EXPECT_EQ(e, 2);
  vlr::VLR_pq_remove(pq_, 2);
  ASSERT_EQ(vlr::VLR_pq_get(pq_, &e, &p), 1);
  EXPECT_EQ(e, 1);
  ASSERT_EQ(vlr::VLR_pq_gettonextp(pq_, &e, &p), 1);
  EXPECT_EQ(e, 1);
  ASSERT_EQ(vlr::VLR_pq_get(pq_, &e, &p), 1);
  EXPECT_EQ(e, 0);
  EXPECT_EQ(vlr::VLR_pq_tonextp(pq_), 0) << "end of the bucket is nil";
  EXPECT_EQ(vlr::VLR_pq_top(pq_, 4), 0);
  ASSERT_EQ(vlr::VLR_pq_top(pq_, 2), 1);
  ASSERT_EQ(vlr::VLR_pq_tonext(pq_), 1);
  ASSERT_EQ(vlr::VLR_pq_tonext(pq_), 1);
  ASSERT_EQ(vlr::VLR_pq_get(pq_, &e, &p), 1);
  EXPECT_EQ(e, 5) << "tonext crosses into the next bucket";
  EXPECT_EQ(p, 3);
}

TEST(Misc, SortIdxCarriesValues) {
  for (int32_t n : {0, 5, 31, 32, 200}) {
    std::vector<int32_t> idx(n);
    std::vector<double> val(n);
    std::mt19937 rng(n);
    for (int32_t k = 0; k < n; ++k) {
      idx[k] = static_cast<int32_t>(rng() % 1000);
      val[k] = idx[k] * 0.5;
    }
    vlr::VLR_misc_sortidx(n, idx.data(), val.data());
    for (int32_t k = 0; k < n; ++k) {
      EXPECT_EQ(val[k], idx[k] * 0.5);
      if (k > 0) {
        EXPECT_LE(idx[k - 1], idx[k]);
      }
    }
  }
}

}  // namespace
