// tests/simplex/detectnet_test.cpp: network detection: what is and is not a pure network, and
// that every part the heuristic returns passes the arc test in its rows.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "simplex/simplex.h"
#include "velor.h"

namespace vlr {
namespace {

struct DetLp {
  int32_t m = 0;
  std::vector<int64_t> abeg{0};
  std::vector<int32_t> aidx, bk;
  std::vector<double> aval, c, bl, bu;
  explicit DetLp(std::vector<int32_t> rowkeys) : m(static_cast<int32_t>(rowkeys.size())) {
    bk = rowkeys;
    bl.assign(rowkeys.size(), 0.0);
    bu.assign(rowkeys.size(), 0.0);
  }
  void Col(std::vector<std::pair<int32_t, double>> e, int32_t key = VLR_BK_LO) {
    for (auto [i, v] : e)
      aidx.push_back(i), aval.push_back(v);
    abeg.push_back(static_cast<int64_t>(aidx.size()));
    c.push_back(0.0);
    bk.push_back(key);
    bl.push_back(0.0);
    bu.push_back(0.0);
  }
  SimLp Lp() const {
    SimLp lp;
    lp.m = m;
    lp.n = static_cast<int32_t>(c.size());
    lp.abeg = abeg.data();
    lp.aidx = aidx.data();
    lp.aval = aval.data();
    lp.c = c.data();
    lp.bk = bk.data();
    lp.bl = bl.data();
    lp.bu = bu.data();
    return lp;
  }
};

// Every column marked in colin has, in the rows with a sign, one entry of +-1 or a +1 and a -1
// after the signs are applied.
bool PassesArcTest(const SimLp& lp, const std::vector<int32_t>& sign,
                   const std::vector<uint8_t>& colin) {
  for (int32_t j = 0; j < lp.n; ++j) {
    if (colin[size_t(j)] == 0) continue;
    int32_t plus = 0, minus = 0;
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p) {
      const int32_t s = sign[size_t(lp.aidx[p])];
      if (s == 0) continue;
      const double v = s * lp.aval[p];
      if (std::fabs(std::fabs(v) - 1.0) > 1e-12) return false;
      (v > 0 ? plus : minus)++;
    }
    if (plus > 1 || minus > 1) return false;
  }
  return true;
}

class DetectnetTest : public ::testing::Test {
 protected:
  void SetUp() override { sys_ = VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr); }
  void TearDown() override { EXPECT_EQ(VLR_sysenv_delete(&sys_), 0); }
  int32_t Pure(const DetLp& d) {
    sign_.assign(size_t(d.m) + 1, 7);
    colin_.assign(d.c.size() + 1, 7);
    return detectnet_pure(sys_, d.Lp(), sign_.data(), colin_.data(), &numcon_, &numvar_);
  }
  SysEnv* sys_ = nullptr;
  std::vector<int32_t> sign_;
  std::vector<uint8_t> colin_;
  int32_t numcon_ = -1, numvar_ = -1;
};

TEST_F(DetectnetTest, RowsTakeTheSignsThatMakeColumnsArcs) {
  // A path 0 - 1 - 2 where the second column has the same sign twice, a column with one entry,
  // a fixed column with any entries, and a free row with any coefficients.
  DetLp d({VLR_BK_FX, VLR_BK_FX, VLR_BK_LO, VLR_BK_FR});
  d.Col({{0, 1.0}, {1, -1.0}, {3, 2.5}});
  d.Col({{1, -1.0}, {2, -1.0}, {3, -7.0}});
  d.Col({{2, 1.0 + 1e-13}});
  d.Col({{0, 3.0}, {1, 4.0}, {2, 5.0}}, VLR_BK_FX);
  ASSERT_EQ(Pure(d), 1);
  EXPECT_EQ(numcon_, 3);
  EXPECT_EQ(numvar_, 3);
  EXPECT_EQ(sign_[3], 0);
  EXPECT_EQ(colin_[3], 0);
  EXPECT_EQ(sign_[0], 1);  // the first row of the first column takes its entry's sign
  EXPECT_TRUE(PassesArcTest(d.Lp(), sign_, colin_));
}

TEST_F(DetectnetTest, ShapeAndSignClashesAreNoNetwork) {
  {
    DetLp d({VLR_BK_FX, VLR_BK_FX, VLR_BK_FX});
    d.Col({{0, 1.0}, {1, -1.0}, {2, 1.0}});  // three entries in rows that count
    EXPECT_EQ(Pure(d), 0);
    EXPECT_EQ(sign_[0], 0);
  }
  {
    DetLp d({VLR_BK_FX, VLR_BK_FX});
    d.Col({{0, 1.0 + 1e-11}, {1, -1.0}});  // not 1 within 1e-12
    EXPECT_EQ(Pure(d), 0);
  }
  {
    // An odd cycle of same-sign pairs: no choice of signs turns all three into arcs.
    DetLp d({VLR_BK_FX, VLR_BK_FX, VLR_BK_FX});
    d.Col({{0, 1.0}, {1, 1.0}});
    d.Col({{1, 1.0}, {2, 1.0}});
    d.Col({{0, 1.0}, {2, 1.0}});
    EXPECT_EQ(Pure(d), 0);
    for (int32_t i = 0; i < 3; ++i)
      EXPECT_EQ(sign_[size_t(i)], 0);
  }
}

TEST_F(DetectnetTest, OnlySlacksOrOnlyFreeRowsAreANetwork) {
  DetLp a({VLR_BK_UP, VLR_BK_FX});
  EXPECT_EQ(Pure(a), 1);
  EXPECT_EQ(numvar_, 0);
  DetLp b({VLR_BK_FR});
  b.Col({{0, 3.0}});
  EXPECT_EQ(Pure(b), 1);
  EXPECT_EQ(numcon_, 0);
  EXPECT_EQ(numvar_, 1);
}

TEST_F(DetectnetTest, ThePartFoundPassesTheArcTestByEveryMethod) {
  // A ring of 8 nodes with arcs both ways, an odd cycle of same-sign pairs on rows 0..2, a side
  // row over many columns with other coefficients, and a row of entries 2.
  DetLp d(std::vector<int32_t>(10, VLR_BK_FX));
  for (int32_t v = 0; v < 8; ++v) {
    d.Col({{v, 1.0}, {(v + 1) % 8, -1.0}, {8, 1.0 + v % 3}});
    d.Col({{(v + 1) % 8, 1.0}, {v, -1.0}});
  }
  d.Col({{0, 1.0}, {2, 1.0}});
  d.Col({{9, 2.0}, {3, 1.0}});
  const SimLp lp = d.Lp();
  for (int32_t method :
       {VLR_NETWORK_DETECT_FREE, VLR_NETWORK_DETECT_SIMPLE, VLR_NETWORK_DETECT_ADVANCED}) {
    std::vector<int32_t> sign(10);
    std::vector<uint8_t> colin(size_t(lp.n));
    int32_t nc = 0, nv = 0, flag = 0;
    ASSERT_EQ(VLR_simplex_detectnet(sys_, lp, method, sign.data(), colin.data(), &nc, &nv, &flag),
              kSimOk);
    EXPECT_EQ(flag, 2) << method;
    EXPECT_TRUE(PassesArcTest(lp, sign, colin)) << method;
    EXPECT_EQ(sign[8], 0) << method;  // the side row stays out
    EXPECT_GE(nc, 7) << method;
    EXPECT_GE(nv, 8) << method;
  }
}

}  // namespace
}  // namespace vlr
