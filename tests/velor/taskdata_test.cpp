// tests/velor/taskdata_test.cpp: the task's linear data: bounds and the rule of infinity, size
// warnings, refused calls that leave the task as it was, append and remove, whole-problem loads
// against a dense reference, the problem type, and allocation failures.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <map>
#include <random>

#include "fixture.h"
#include "taskdump.h"

namespace {

using vlrtest::Dump;

class TaskdataTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env_ = vlrtest::MakeEnv();
    task_ = vlrtest::MakeTask(env_.get(), 0, 0);
    VLR_putresponsefunc(task_.get(), &TaskdataTest::Count, this);
  }
  // Counts warnings and errors by code; a warning stays a warning (0 is returned).
  static int32_t Count(void* handle, int32_t code, const char*) {
    ++static_cast<TaskdataTest*>(handle)->seen_[code];
    return code < 1000 ? 0 : code;
  }
  VLRtask_t task() { return task_.get(); }
  vlrtest::EnvPtr env_;
  vlrtest::TaskPtr task_;
  std::map<int32_t, int> seen_;
};

TEST_F(TaskdataTest, BoundsFollowTheRuleOfInfinityAndReadByKey) {
  ASSERT_EQ(VLR_append(task(), VLR_ACC_CON, 2), VLR_RES_OK);
  ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 2), VLR_RES_OK);
  int32_t bk = -1;
  double bl = 1, bu = 1;
  // New items: a constraint is free, a variable fixed at zero.
  ASSERT_EQ(VLR_getbound(task(), VLR_ACC_CON, 0, &bk, &bl, &bu), VLR_RES_OK);
  EXPECT_EQ(bk, VLR_BK_FR);
  EXPECT_EQ(bl, -VLR_INFINITY);
  EXPECT_EQ(bu, VLR_INFINITY);
  ASSERT_EQ(VLR_getbound(task(), VLR_ACC_VAR, 1, &bk, &bl, &bu), VLR_RES_OK);
  EXPECT_EQ(bk, VLR_BK_FX);
  EXPECT_EQ(bl, 0.0);
  EXPECT_EQ(bu, 0.0);
  // A huge finite lower side under BK_LO stays: only a side below -tol counts as missing.
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 0, VLR_BK_LO, 1e20, 0), VLR_RES_OK);
  ASSERT_EQ(VLR_getbound(task(), VLR_ACC_VAR, 0, &bk, &bl, &bu), VLR_RES_OK);
  EXPECT_EQ(bk, VLR_BK_LO);
  EXPECT_EQ(bl, 1e20);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_CON, 1, VLR_BK_RA, -1e17, 5), VLR_RES_OK);
  ASSERT_EQ(VLR_getbound(task(), VLR_ACC_CON, 1, &bk, &bl, &bu), VLR_RES_OK);
  EXPECT_EQ(bk, VLR_BK_UP);
  EXPECT_EQ(bl, -VLR_INFINITY);
  EXPECT_EQ(bu, 5.0);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_CON, 0, VLR_BK_LO, -1e17, 3), VLR_RES_OK);
  ASSERT_EQ(VLR_getbound(task(), VLR_ACC_CON, 0, &bk, nullptr, nullptr), VLR_RES_OK);
  EXPECT_EQ(bk, VLR_BK_FR);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_CON, 0, VLR_BK_FR, 7, 8), VLR_RES_OK);
  ASSERT_EQ(VLR_getbound(task(), VLR_ACC_CON, 0, &bk, &bl, &bu), VLR_RES_OK);
  EXPECT_EQ(bl, -VLR_INFINITY);
  EXPECT_EQ(bu, VLR_INFINITY);
  // Crossed bounds are taken here; the optimiser's entry finds them.
  EXPECT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 1, VLR_BK_RA, 4, 3), VLR_RES_OK);
}

TEST_F(TaskdataTest, ChgboundMovesTheKeyWithTheSides) {
  ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 1), VLR_RES_OK);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 0, VLR_BK_FR, 0, 0), VLR_RES_OK);
  const struct {
    int32_t lower, finite;
    double value;
    int32_t bk;
    double bl, bu;
  } steps[] = {
      {1, 1, 2.0, VLR_BK_LO, 2, VLR_INFINITY},
      {0, 1, 5.0, VLR_BK_RA, 2, 5},
      {1, 1, 5.0, VLR_BK_FX, 5, 5},
      {0, 1, 6.0, VLR_BK_RA, 5, 6},
      {1, 0, 0.0, VLR_BK_UP, -VLR_INFINITY, 6},
      {0, 1, 1e17, VLR_BK_FR, -VLR_INFINITY, VLR_INFINITY},
      {0, 1, -3.0, VLR_BK_UP, -VLR_INFINITY, -3},
      {1, 1, -3.0, VLR_BK_FX, -3, -3},
  };
  for (const auto& s : steps) {
    ASSERT_EQ(VLR_chgbound(task(), VLR_ACC_VAR, 0, s.lower, s.finite, s.value), VLR_RES_OK);
    int32_t bk = -1;
    double bl = 0, bu = 0;
    ASSERT_EQ(VLR_getbound(task(), VLR_ACC_VAR, 0, &bk, &bl, &bu), VLR_RES_OK);
    EXPECT_EQ(bk, s.bk) << s.lower << " " << s.value;
    EXPECT_EQ(bl, s.bl);
    EXPECT_EQ(bu, s.bu);
  }
  EXPECT_EQ(VLR_chgbound(task(), 2, 0, 1, 1, 0.0), VLR_RES_ERR_INVALID_ACCMODE);
}

TEST_F(TaskdataTest, LargeValuesWarnOnceForAFixedConstraintAndTwiceForAFixedVariable) {
  ASSERT_EQ(VLR_append(task(), VLR_ACC_CON, 1), VLR_RES_OK);
  ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 1), VLR_RES_OK);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_CON, 0, VLR_BK_FX, 1e9, 1e9), VLR_RES_OK);
  EXPECT_EQ(seen_[VLR_RES_WRN_LARGE_CON_FX], 1);
  EXPECT_EQ(seen_[VLR_RES_WRN_LARGE_LO_BOUND] + seen_[VLR_RES_WRN_LARGE_UP_BOUND], 0);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 0, VLR_BK_FX, -1e9, -1e9), VLR_RES_OK);
  EXPECT_EQ(seen_[VLR_RES_WRN_LARGE_LO_BOUND], 1);
  EXPECT_EQ(seen_[VLR_RES_WRN_LARGE_UP_BOUND], 1);
  ASSERT_EQ(VLR_putcj(task(), 0, 2e8), VLR_RES_OK);
  EXPECT_EQ(seen_[VLR_RES_WRN_LARGE_CJ], 1);
  ASSERT_EQ(VLR_putaij(task(), 0, 0, 1e11), VLR_RES_OK);
  EXPECT_EQ(seen_[VLR_RES_WRN_LARGE_AIJ], 1);
  const int32_t sub[3] = {0, 0, 0};
  const double val[3] = {1.0, 1e-13, 2.0};  // the repeat is summed, the tiny one warned about
  ASSERT_EQ(VLR_putavec(task(), VLR_ACC_VAR, 0, 3, sub, val), VLR_RES_OK);
  EXPECT_EQ(seen_[VLR_RES_WRN_ZEROS_IN_SPARSE_COL], 1);
  double a = 0;
  ASSERT_EQ(VLR_getaij(task(), 0, 0, &a), VLR_RES_OK);
  EXPECT_EQ(a, 3.0);
}

// Every check with its code; the dump of the task is the same before and after the call.
TEST_F(TaskdataTest, RefusedCallsLeaveTheTaskAsItWas) {
  vlrtest::LoadSmallLp(task());
  ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 0, "x"), VLR_RES_OK);
  ASSERT_EQ(VLR_appendcone(task(), VLR_CT_QUAD, 0.0, 2, std::vector<int32_t>{2, 3}.data()),
            VLR_RES_OK);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const int32_t dup[2] = {1, 1}, bad[2] = {0, 7}, col[1] = {0};
  const double two[2] = {1, 2};
  const int32_t aptrb[1] = {0}, aptre[1] = {2}, back[1] = {1};
  const int32_t bk1[1] = {VLR_BK_FR};
  const double z1[1] = {0};
  const struct {
    const char* what;
    int32_t code;
    std::function<int32_t()> call;
  } cases[] = {
      {"bound index", VLR_RES_ERR_INDEX_IS_TOO_LARGE,
       [&] { return VLR_putbound(task(), VLR_ACC_CON, 3, VLR_BK_FR, 0, 0); }},
      {"bound index", VLR_RES_ERR_INDEX_IS_TOO_SMALL,
       [&] { return VLR_putbound(task(), VLR_ACC_VAR, -1, VLR_BK_FR, 0, 0); }},
      {"bound key", VLR_RES_ERR_INV_BKC,
       [&] { return VLR_putbound(task(), VLR_ACC_CON, 0, 9, 0, 0); }},
      {"bound key", VLR_RES_ERR_INV_BKX,
       [&] { return VLR_putbound(task(), VLR_ACC_VAR, 0, -1, 0, 0); }},
      {"crossed fixed", VLR_RES_ERR_FIXED_BOUND_VALUES,
       [&] { return VLR_putbound(task(), VLR_ACC_VAR, 0, VLR_BK_FX, 1, 2); }},
      {"accmode", VLR_RES_ERR_INVALID_ACCMODE,
       [&] { return VLR_putbound(task(), 5, 0, VLR_BK_FR, 0, 0); }},
      {"huge c", VLR_RES_ERR_HUGE_C, [&] { return VLR_putcj(task(), 0, 1e17); }},
      {"c index", VLR_RES_ERR_INDEX_IS_TOO_LARGE, [&] { return VLR_putcj(task(), 4, 1); }},
      {"clist checks all first", VLR_RES_ERR_INDEX_IS_TOO_LARGE,
       [&] { return VLR_putclist(task(), 2, bad, two); }},
      {"NaN aij", VLR_RES_ERR_NAN_IN_AIJ, [&] { return VLR_putaij(task(), 0, 0, nan); }},
      {"huge aij", VLR_RES_ERR_HUGE_AIJ, [&] { return VLR_putaij(task(), 0, 0, 1e21); }},
      {"aij index", VLR_RES_ERR_INDEX_IS_TOO_LARGE, [&] { return VLR_putaij(task(), 0, 4, 1); }},
      {"avec index", VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE,
       [&] { return VLR_putavec(task(), VLR_ACC_CON, 0, 2, bad, two); }},
      {"avec NaN", VLR_RES_ERR_NAN_IN_AIJ,
       [&] { return VLR_putavec(task(), VLR_ACC_VAR, 0, 1, col, &nan); }},
      {"objsense", VLR_RES_ERR_INVALID_OBJECTIVE_SENSE, [&] { return VLR_putobjsense(task(), 3); }},
      {"maxnumcon", VLR_RES_ERR_MAXNUMCON, [&] { return VLR_putmaxnumcon(task(), 2); }},
      {"maxnumvar", VLR_RES_ERR_MAXNUMVAR, [&] { return VLR_putmaxnumvar(task(), 3); }},
      {"maxnumanz", VLR_RES_ERR_TOO_SMALL_MAXNUMANZ, [&] { return VLR_putmaxnumanz(task(), 3); }},
      {"append", VLR_RES_ERR_NEGATIVE_APPEND, [&] { return VLR_append(task(), VLR_ACC_VAR, -1); }},
      {"remove index", VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE,
       [&] { return VLR_remove(task(), VLR_ACC_CON, 2, bad); }},
      {"remove cone member", VLR_RES_ERR_REMOVE_CONE_VARIABLE,
       [&] { return VLR_remove(task(), VLR_ACC_VAR, 1, std::vector<int32_t>{3}.data()); }},
      {"inputdata repeated row", VLR_RES_ERR_MUL_A_ELEMENT,
       [&] {
         return VLR_inputdata(task(), 2, 1, 2, 1, nullptr, 0, aptrb, aptre, dup, two, bk1, z1, z1,
                              bk1, z1, z1);
       }},
      {"inputdata aptre", VLR_RES_ERR_INV_APTRE,
       [&] {
         return VLR_inputdata(task(), 2, 1, 2, 1, nullptr, 0, back, aptrb, dup, two, bk1, z1, z1,
                              bk1, z1, z1);
       }},
      {"inputdata row index", VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE,
       [&] {
         return VLR_inputdata(task(), 2, 1, 2, 1, nullptr, 0, aptrb, aptre, bad, two, bk1, z1, z1,
                              bk1, z1, z1);
       }},
      {"blank name", VLR_RES_ERR_BLANK_NAME,
       [&] { return VLR_putname(task(), VLR_PI_CON, 0, "  "); }},
      {"duplicate name", VLR_RES_ERR_DUP_NAME,
       [&] { return VLR_putname(task(), VLR_PI_VAR, 1, "x"); }},
      {"null name", VLR_RES_ERR_NAME_IS_NULL,
       [&] { return VLR_putname(task(), VLR_PI_VAR, 1, nullptr); }},
      {"cone overlap", VLR_RES_ERR_CONE_OVERLAP,
       [&] {
         return VLR_appendcone(task(), VLR_CT_QUAD, 0, 2, std::vector<int32_t>{0, 3}.data());
       }},
      {"upper triangle Q", VLR_RES_ERR_QOBJ_UPPER_TRIANGLE,
       [&] {
         return VLR_putqobj(task(), 1, std::vector<int32_t>{0}.data(),
                            std::vector<int32_t>{1}.data(), two);
       }},
  };
  for (const auto& c : cases) {
    const std::string before = Dump(task());
    EXPECT_EQ(c.call(), c.code) << c.what;
    EXPECT_EQ(Dump(task()), before) << c.what;
    int32_t last = 0;
    vlrtest::LastError(task(), &last);
    EXPECT_EQ(last, c.code) << c.what;
  }
}

TEST_F(TaskdataTest, AppendGrowsTheCapacityAndRemoveMovesTheRestDown) {
  for (int32_t k = 0; k < 5; ++k)
    ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 1), VLR_RES_OK);
  int32_t maxvar = 0;
  ASSERT_EQ(VLR_getmaxnumvar(task(), &maxvar), VLR_RES_OK);
  EXPECT_GE(maxvar, 5);
  EXPECT_LE(maxvar, 8);  // doubling, not one at a time
  ASSERT_EQ(VLR_append(task(), VLR_ACC_CON, 4), VLR_RES_OK);
  for (int32_t j = 0; j < 5; ++j) {
    ASSERT_EQ(VLR_putcj(task(), j, 10.0 + j), VLR_RES_OK);
    ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, j, VLR_BK_RA, -j, j), VLR_RES_OK);
    for (int32_t i = 0; i < 4; ++i)
      ASSERT_EQ(VLR_putaij(task(), i, j, 1.0 + 10 * i + j), VLR_RES_OK);
  }
  for (int32_t i = 0; i < 4; ++i)
    ASSERT_EQ(VLR_putbound(task(), VLR_ACC_CON, i, VLR_BK_UP, 0, 100.0 + i), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, 3, "last"), VLR_RES_OK);
  const int32_t gonecon[2] = {2, 0}, gonevar[2] = {1, 3};
  ASSERT_EQ(VLR_remove(task(), VLR_ACC_CON, 2, gonecon), VLR_RES_OK);
  ASSERT_EQ(VLR_remove(task(), VLR_ACC_VAR, 2, gonevar), VLR_RES_OK);
  int32_t m = 0, n = 0;
  ASSERT_EQ(VLR_getnumcon(task(), &m), VLR_RES_OK);
  ASSERT_EQ(VLR_getnumvar(task(), &n), VLR_RES_OK);
  ASSERT_EQ(m, 2);
  ASSERT_EQ(n, 3);
  const int32_t oldcon[2] = {1, 3}, oldvar[3] = {0, 2, 4};
  for (int32_t i = 0; i < m; ++i) {
    double bu = 0;
    ASSERT_EQ(VLR_getbound(task(), VLR_ACC_CON, i, nullptr, nullptr, &bu), VLR_RES_OK);
    EXPECT_EQ(bu, 100.0 + oldcon[i]);
    for (int32_t j = 0; j < n; ++j) {
      double a = 0;
      ASSERT_EQ(VLR_getaij(task(), i, j, &a), VLR_RES_OK);
      EXPECT_EQ(a, 1.0 + 10 * oldcon[i] + oldvar[j]);
    }
  }
  for (int32_t j = 0; j < n; ++j) {
    double c = 0, bl = 0;
    ASSERT_EQ(VLR_getcslice(task(), j, j + 1, &c), VLR_RES_OK);
    ASSERT_EQ(VLR_getbound(task(), VLR_ACC_VAR, j, nullptr, &bl, nullptr), VLR_RES_OK);
    EXPECT_EQ(c, 10.0 + oldvar[j]);
    EXPECT_EQ(bl, -oldvar[j]);
  }
  int32_t asgn = 0, index = -1;
  ASSERT_EQ(VLR_getnameindex(task(), VLR_PI_CON, "last", &asgn, &index), VLR_RES_OK);
  EXPECT_EQ(asgn, 1);
  EXPECT_EQ(index, 1);
}

// The same random matrix, element by element in random order and through VLR_inputdata, reads
// back alike by rows, by columns, by slices and by pieces.
TEST_F(TaskdataTest, ElementWritesAndInputdataAgreeWithADenseReference) {
  const int32_t m = 30, n = 25;
  std::mt19937 rng(17);
  std::vector<double> dense(size_t(m) * n, 0.0);
  std::vector<int32_t> aptrb(n), aptre(n), asub;
  std::vector<double> aval;
  for (int32_t j = 0; j < n; ++j) {
    aptrb[size_t(j)] = int32_t(asub.size());
    for (int32_t i = 0; i < m; ++i) {
      if (rng() % 4 != 0) continue;
      const double x = 1.0 + double(rng() % 100);
      dense[size_t(i) * n + size_t(j)] = x;
      asub.push_back(i);
      aval.push_back(x);
    }
    aptre[size_t(j)] = int32_t(asub.size());
  }
  std::vector<int32_t> bkc(m, VLR_BK_FR), bkx(n, VLR_BK_LO);
  std::vector<double> zc(m, 0.0), zx(n, 0.0), c(n, 1.0);
  vlrtest::TaskPtr other = vlrtest::MakeTask(env_.get(), 0, 0);
  ASSERT_EQ(VLR_inputdata(other.get(), m, n, m, n, c.data(), 0, aptrb.data(), aptre.data(),
                          asub.data(), aval.data(), bkc.data(), zc.data(), zc.data(), bkx.data(),
                          zx.data(), zx.data()),
            VLR_RES_OK);
  ASSERT_EQ(VLR_append(task(), VLR_ACC_CON, m), VLR_RES_OK);
  ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, n), VLR_RES_OK);
  std::vector<std::pair<int32_t, int32_t>> order;
  for (int32_t i = 0; i < m; ++i)
    for (int32_t j = 0; j < n; ++j)
      order.emplace_back(i, j);
  std::shuffle(order.begin(), order.end(), rng);
  for (const auto& [i, j] : order) {
    if (rng() % 3 == 0) {
      ASSERT_EQ(VLR_putaij(task(), i, j, 55.0), VLR_RES_OK);  // overwritten below
    }
  }
  std::shuffle(order.begin(), order.end(), rng);
  for (const auto& [i, j] : order)
    ASSERT_EQ(VLR_putaij(task(), i, j, dense[size_t(i) * n + size_t(j)]), VLR_RES_OK);
  ASSERT_EQ(VLR_putclist(task(), n,
                         std::vector<int32_t>([&] {
                           std::vector<int32_t> v(n);
                           for (int32_t j = 0; j < n; ++j)
                             v[size_t(j)] = j;
                           return v;
                         }())
                             .data(),
                         c.data()),
            VLR_RES_OK);
  ASSERT_EQ(VLR_putboundslice(task(), VLR_ACC_VAR, 0, n, bkx.data(), zx.data(), zx.data()),
            VLR_RES_OK);
  EXPECT_EQ(Dump(task()), Dump(other.get()));
  for (VLRtask_t t : {task(), other.get()}) {
    int32_t numanz = 0;
    ASSERT_EQ(VLR_getnumanz(t, &numanz), VLR_RES_OK);
    EXPECT_EQ(numanz, int32_t(asub.size()));
    std::vector<int32_t> sub(asub.size()), ptrb(m), ptre(m), si(asub.size()), sj(asub.size());
    std::vector<double> val(asub.size());
    int32_t surp = int32_t(asub.size());
    ASSERT_EQ(VLR_getaslice(t, VLR_ACC_CON, 0, m, surp, &surp, ptrb.data(), ptre.data(), sub.data(),
                            val.data()),
              VLR_RES_OK);
    EXPECT_EQ(surp, 0);
    for (int32_t i = 0; i < m; ++i)
      for (int32_t p = ptrb[size_t(i)]; p < ptre[size_t(i)]; ++p)
        EXPECT_EQ(val[size_t(p)], dense[size_t(i) * n + size_t(sub[size_t(p)])]);
    surp = int32_t(asub.size());
    ASSERT_EQ(
        VLR_getaslicetrip(t, VLR_ACC_VAR, 0, n, surp, &surp, si.data(), sj.data(), val.data()),
        VLR_RES_OK);
    for (size_t p = 0; p < asub.size(); ++p)
      EXPECT_EQ(val[p], dense[size_t(si[p]) * n + size_t(sj[p])]);
    int32_t piece = 0, want = 0;
    ASSERT_EQ(VLR_getapiecenumnz(t, 3, 17, 5, 20, &piece), VLR_RES_OK);
    for (int32_t i = 3; i < 17; ++i)
      for (int32_t j = 5; j < 20; ++j)
        want += dense[size_t(i) * n + size_t(j)] != 0;
    EXPECT_EQ(piece, want);
    int32_t surp2 = 3;
    EXPECT_EQ(VLR_getaslice(t, VLR_ACC_CON, 0, m, 3, &surp2, ptrb.data(), ptre.data(), sub.data(),
                            val.data()),
              VLR_RES_ERR_NEGATIVE_SURPLUS);
  }
}

TEST_F(TaskdataTest, AppendVarsAndConsLoadItemByItem) {
  const int32_t bkc[2] = {VLR_BK_LO, VLR_BK_UP};
  const double blc[2] = {1, 0}, buc[2] = {0, 4};
  const int32_t rb[2] = {0, 0}, re[2] = {0, 0};
  ASSERT_EQ(VLR_appendcons(task(), 2, rb, re, nullptr, nullptr, bkc, blc, buc), VLR_RES_OK);
  const int32_t cb[2] = {0, 2}, ce[2] = {2, 3}, asub[3] = {0, 1, 1};
  const double aval[3] = {1, 2, 3}, cval[2] = {7, 8};
  const int32_t bkx[2] = {VLR_BK_LO, VLR_BK_LO};
  const double blx[2] = {0, 0}, bux[2] = {0, 0};
  ASSERT_EQ(VLR_appendvars(task(), 2, cval, cb, ce, asub, aval, bkx, blx, bux), VLR_RES_OK);
  double a = 0, c = 0;
  ASSERT_EQ(VLR_getaij(task(), 1, 1, &a), VLR_RES_OK);
  EXPECT_EQ(a, 3.0);
  ASSERT_EQ(VLR_getcslice(task(), 1, 2, &c), VLR_RES_OK);
  EXPECT_EQ(c, 8.0);
  EXPECT_EQ(VLR_appendvars(task(), -1, cval, cb, ce, asub, aval, bkx, blx, bux),
            VLR_RES_ERR_IN_ARGUMENT);
  // A bad second item keeps the first.
  const int32_t badbk[2] = {VLR_BK_LO, 17};
  EXPECT_EQ(VLR_appendvars(task(), 2, cval, cb, ce, asub, aval, badbk, blx, bux),
            VLR_RES_ERR_INV_BKX);
  int32_t n = 0;
  ASSERT_EQ(VLR_getnumvar(task(), &n), VLR_RES_OK);
  EXPECT_EQ(n, 4);
}

TEST_F(TaskdataTest, ProblemTypeAndNanCheck) {
  vlrtest::LoadSmallLp(task());
  int32_t type = -1;
  ASSERT_EQ(VLR_getprobtype(task(), &type), VLR_RES_OK);
  EXPECT_EQ(type, VLR_PROBTYPE_LO);
  EXPECT_EQ(VLR_checkdata(task()), VLR_RES_OK);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // NaN is refused where it enters, with the item's name; a NaN on a missing side is never read.
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_CON, 2, VLR_BK_UP, nan, 25), VLR_RES_OK);
  EXPECT_EQ(VLR_checkdata(task()), VLR_RES_OK);
  EXPECT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 1, VLR_BK_RA, 0, nan), VLR_RES_ERR_NAN_IN_BUX);
  EXPECT_EQ(VLR_checkdata(task()), VLR_RES_OK);
  EXPECT_EQ(VLR_putcj(task(), 2, nan), VLR_RES_ERR_NAN_IN_C);
  EXPECT_NE(vlrtest::LastError(task()).find("'x2' (2)"), std::string::npos);
}

// ---- Allocation failures ------------------------------------------------------------------------

using vlrtest::CountingFree;
using vlrtest::FailingMalloc;
using vlrtest::g_left;
using vlrtest::g_live;

TEST(TaskdataMemfail, InputdataAndAppendsFailCleanly) {
  g_left = -1;
  VLRenv_t env = nullptr;
  ASSERT_EQ(VLR_makeenv(&env, nullptr, FailingMalloc, CountingFree, vlrtest::DbgFile()),
            VLR_RES_OK);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  VLRtask_t task = nullptr;
  ASSERT_EQ(VLR_maketask(env, 0, 0, &task), VLR_RES_OK);
  vlrtest::LoadSmallLp(task);
  const std::string loaded = vlrtest::Dump(task);
  int64_t k = 0;
  for (;; ++k) {
    // Appends and an element write: refused on space with the task unchanged.
    const std::string before = vlrtest::Dump(task);
    g_left = k;
    const int32_t r1 = VLR_append(task, VLR_ACC_CON, 3);
    g_left = -1;
    const std::string after1 = vlrtest::Dump(task);
    g_left = k;
    const int32_t r2 = r1 == VLR_RES_OK ? VLR_putaij(task, 5, 3, 2.5) : r1;
    g_left = -1;
    if (r1 != VLR_RES_OK) {
      EXPECT_EQ(r1, VLR_RES_ERR_SPACE) << k;
      EXPECT_EQ(after1, before) << k;
    } else if (r2 != VLR_RES_OK) {
      EXPECT_EQ(r2, VLR_RES_ERR_SPACE) << k;
      EXPECT_EQ(vlrtest::Dump(task), after1) << k;
    }
    // A whole load: done or refused on space, and a later load always works.
    g_left = k;
    const int32_t r3 = vlrtest::LoadSmallLpCode(task);
    g_left = -1;
    EXPECT_TRUE(r3 == VLR_RES_OK || r3 == VLR_RES_ERR_SPACE) << k;
    ASSERT_EQ(vlrtest::LoadSmallLpCode(task), VLR_RES_OK) << k;
    EXPECT_EQ(vlrtest::Dump(task), loaded) << k;
    if (r1 == VLR_RES_OK && r2 == VLR_RES_OK && r3 == VLR_RES_OK) break;
  }
  EXPECT_GT(k, 10);  // the loop did meet failures
  ASSERT_EQ(VLR_deletetask(&task), VLR_RES_OK);
  ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
  EXPECT_EQ(g_live, 0);
}

TEST(TaskdataMemfail, CloneOfAFullTaskFailsCleanly) {
  g_left = -1;
  VLRenv_t env = nullptr;
  ASSERT_EQ(VLR_makeenv(&env, nullptr, FailingMalloc, CountingFree, vlrtest::DbgFile()),
            VLR_RES_OK);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  VLRtask_t task = nullptr;
  ASSERT_EQ(VLR_maketask(env, 0, 0, &task), VLR_RES_OK);
  vlrtest::LoadSmallLp(task);
  const int32_t mem[2] = {2, 3}, qi[1] = {1}, qj[1] = {0};
  const double qv[1] = {1};
  ASSERT_EQ(VLR_appendcone(task, VLR_CT_QUAD, 0, 2, mem), VLR_RES_OK);
  ASSERT_EQ(VLR_putqobj(task, 1, qi, qj, qv), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task, VLR_PI_VAR, 1, "y"), VLR_RES_OK);
  ASSERT_EQ(VLR_putvartype(task, 0, VLR_VAR_TYPE_INT), VLR_RES_OK);
  ASSERT_EQ(VLR_makesolutionstatusunknown(task, VLR_SOL_BAS), VLR_RES_OK);
  const std::string source = vlrtest::Dump(task);
  int64_t k = 0;
  for (;; ++k) {
    VLRtask_t clone = nullptr;
    g_left = k;
    const int32_t r = VLR_clonetask(task, &clone);
    g_left = -1;
    EXPECT_EQ(vlrtest::Dump(task), source) << k;
    if (r == VLR_RES_OK) {
      EXPECT_EQ(vlrtest::Dump(clone), source);
      ASSERT_EQ(VLR_deletetask(&clone), VLR_RES_OK);
      break;
    }
    EXPECT_EQ(r, VLR_RES_ERR_SPACE) << k;
    EXPECT_EQ(clone, nullptr) << k;
  }
  EXPECT_GT(k, 20);
  ASSERT_EQ(VLR_deletetask(&task), VLR_RES_OK);
  ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
  EXPECT_EQ(g_live, 0);
}

}  // namespace
