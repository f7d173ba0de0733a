// tests/pivot/pivlpext_test.cpp: factoring a basis list, repairing it with slacks, extending a
// partial list to a full basis.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "pivot/pivot.h"

namespace {

// A small LP matrix: m rows, n columns with three entries each; columns 0 and 1 are equal.
struct Lp {
  int32_t m = 30, n = 60;
  std::vector<int64_t> beg{0};
  std::vector<int32_t> idx;
  std::vector<double> val;
  vlr::PivMat mat() const { return {m, n, beg.data(), idx.data(), val.data()}; }
  Lp() {
    std::mt19937 rng(5);
    for (int32_t j = 0; j < n; ++j) {
      if (j == 1) {
        for (int64_t k = beg[0]; k < beg[1]; ++k) {
          idx.push_back(idx[k]);
          val.push_back(val[k]);
        }
      } else {
        std::vector<int32_t> rows;
        while (rows.size() < 3) {
          const auto i = static_cast<int32_t>(rng() % m);
          if (std::find(rows.begin(), rows.end(), i) == rows.end()) rows.push_back(i);
        }
        for (int32_t i : rows) {
          idx.push_back(i);
          val.push_back(1.0 + static_cast<double>(rng() % 7));
        }
      }
      beg.push_back(static_cast<int64_t>(idx.size()));
    }
  }
};

class Pivlp : public ::testing::Test {
 protected:
  void SetUp() override {
    sys_ = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
    ASSERT_EQ(vlr::VLR_lu_make(sys_, lp_.m, lp_.m, &lu_), vlr::kLuOk);
    int32_t is = 0, rs = 0;
    vlr::VLR_lu_getfactorspace(lp_.m, lp_.m, &is, &rs);
    iwork_.assign(is + 2 * lp_.m, 0);
    rwork_.assign(rs, 0.0);
  }
  void TearDown() override {
    vlr::VLR_lu_delete(&lu_);
    EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), vlr::kSysOk);
  }
  // B x for the basis list, to check a factor by a solve.
  std::vector<double> Mul(const std::vector<int32_t>& bas, const std::vector<double>& x) {
    std::vector<double> y(lp_.m, 0.0);
    for (int32_t p = 0; p < lp_.m; ++p) {
      if (bas[p] < lp_.m) {
        y[bas[p]] -= x[p];
        continue;
      }
      const int32_t j = bas[p] - lp_.m;
      for (int64_t k = lp_.beg[j]; k < lp_.beg[j + 1]; ++k)
        y[lp_.idx[k]] += lp_.val[k] * x[p];
    }
    return y;
  }
  void ExpectSolves(const std::vector<int32_t>& bas) {
    std::vector<double> b(lp_.m), x(lp_.m);
    for (int32_t i = 0; i < lp_.m; ++i)
      b[i] = 1.0 + i;
    std::vector<double> rhs = b;
    ASSERT_EQ(vlr::VLR_lu_ftran(lu_, rhs.data(), x.data()), vlr::kLuOk);
    const std::vector<double> y = Mul(bas, x);
    for (int32_t i = 0; i < lp_.m; ++i)
      EXPECT_NEAR(y[i], b[i], 1e-9);
  }
  Lp lp_;
  vlr::SysEnv* sys_ = nullptr;
  vlr::LuFactor* lu_ = nullptr;
  std::vector<int32_t> iwork_;
  std::vector<double> rwork_;
};

TEST_F(Pivlp, SingularListIsRepairedWithSlacks) {
  const vlr::PivMat a = lp_.mat();
  std::vector<int32_t> bas(lp_.m);
  for (int32_t p = 0; p < lp_.m; ++p)
    bas[p] = lp_.m + p;  // columns 0..m-1, two of them equal
  ASSERT_EQ(
      vlr::VLR_pivlp_factor1(lu_, &a, bas.data(), static_cast<int32_t>(iwork_.size()),
                             iwork_.data(), static_cast<int32_t>(rwork_.size()), rwork_.data()),
      vlr::kLuOk);
  EXPECT_LT(vlr::VLR_lu_getrank(lu_), lp_.m);
  std::vector<int32_t> map(lp_.m);
  int32_t nart = 0;
  ASSERT_EQ(vlr::VLR_pivlp_insart(lu_, lp_.m, bas.data(), map.data(), lp_.m, iwork_.data(), &nart),
            vlr::kLuOk);
  EXPECT_GE(nart, 1);
  EXPECT_EQ(vlr::VLR_lu_getrank(lu_), lp_.m);
  ExpectSolves(bas);
}

TEST_F(Pivlp, PartialListIsExtendedToFullBasis) {
  const vlr::PivMat a = lp_.mat();
  std::vector<int32_t> list{lp_.m + 0, lp_.m + 1, lp_.m + 5, lp_.m + 7, 3};
  std::vector<int32_t> bas(lp_.m);
  ASSERT_EQ(
      vlr::VLR_pivlp_extendbasis(lu_, &a, static_cast<int32_t>(list.size()), list.data(),
                                 bas.data(), static_cast<int32_t>(iwork_.size()), iwork_.data(),
                                 static_cast<int32_t>(rwork_.size()), rwork_.data()),
      vlr::kLuOk);
  EXPECT_EQ(vlr::VLR_lu_getrank(lu_), lp_.m);
  EXPECT_EQ(bas[2], lp_.m + 5);
  EXPECT_EQ(bas[3], lp_.m + 7);
  EXPECT_TRUE(bas[0] == lp_.m || bas[1] == lp_.m + 1) << "one of the equal columns stays";
  EXPECT_FALSE(bas[0] == lp_.m && bas[1] == lp_.m + 1) << "not both";
  ExpectSolves(bas);
}

}  // namespace
