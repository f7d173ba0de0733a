// tests/velor/solfile_test.cpp: solution files read back: round trips of every solution type,
// files cut at every byte, damaged and mismatched files, and allocation failure.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "fixture.h"
#include "taskdump.h"

namespace {

using vlrtest::Dump;
using vlrtest::LastError;
using vlrtest::ReadFile;
using vlrtest::TmpPath;
using vlrtest::WriteFile;

constexpr int32_t kItems[3] = {8, 7, 2};  // solution items of VLR_SOL_ITR, _BAS, _ITG

std::string Netlib(const char* name) {
  return std::string(VLR_DATA_DIR) + "/netlib/" + name + ".mps.gz";
}

// The file from its block of constraints on: the head holds objectives recomputed from the
// values, which may differ in the last of their 17 digits.
std::string Body(const std::string& text) {
  const size_t at = text.find("CONSTRAINTS\n");
  return at == std::string::npos ? text : text.substr(at);
}

// Every item, key and status of solution w of b equals that of a to the 11 digits the file
// prints; y is compared through slc - suc, which is what the file keeps of it.
void ExpectSameSolution(VLRtask_t a, VLRtask_t b, int32_t w) {
  int32_t m = 0, n = 0;
  ASSERT_EQ(VLR_getnumcon(a, &m), VLR_RES_OK);
  ASSERT_EQ(VLR_getnumvar(a, &n), VLR_RES_OK);
  int32_t pa = -1, sa = -1, pb = -2, sb = -2;
  ASSERT_EQ(VLR_getsolutionstatus(a, w, &pa, &sa), VLR_RES_OK);
  ASSERT_EQ(VLR_getsolutionstatus(b, w, &pb, &sb), VLR_RES_OK) << LastError(b);
  EXPECT_EQ(pa, pb);
  EXPECT_EQ(sa, sb);
  for (int32_t acc : {VLR_ACC_CON, VLR_ACC_VAR}) {
    const int32_t cnt = acc == VLR_ACC_CON ? m : n;
    std::vector<int32_t> ka(size_t(cnt) + 1), kb(size_t(cnt) + 1);
    ASSERT_EQ(VLR_getsolutionstatuskeyslice(a, acc, w, 0, cnt, ka.data()), VLR_RES_OK);
    ASSERT_EQ(VLR_getsolutionstatuskeyslice(b, acc, w, 0, cnt, kb.data()), VLR_RES_OK);
    EXPECT_EQ(ka, kb) << "keys of accmode " << acc;
  }
  for (int32_t item = 0; item < kItems[w]; ++item) {
    const bool var = item == VLR_SOL_ITEM_XX || item == VLR_SOL_ITEM_SLX ||
                     item == VLR_SOL_ITEM_SUX || item == VLR_SOL_ITEM_SNX;
    if (item == VLR_SOL_ITEM_SNX) continue;  // not in the file; read as 0
    const int32_t cnt = var ? n : m;
    std::vector<double> va(size_t(cnt) + 1), vb(size_t(cnt) + 1);
    ASSERT_EQ(VLR_getsolutionslice(a, w, item, 0, cnt, va.data()), VLR_RES_OK);
    ASSERT_EQ(VLR_getsolutionslice(b, w, item, 0, cnt, vb.data()), VLR_RES_OK);
    if (item == VLR_SOL_ITEM_Y) {
      std::vector<double> sl(size_t(cnt) + 1), su(size_t(cnt) + 1);
      ASSERT_EQ(VLR_getsolutionslice(a, w, VLR_SOL_ITEM_SLC, 0, cnt, sl.data()), VLR_RES_OK);
      ASSERT_EQ(VLR_getsolutionslice(a, w, VLR_SOL_ITEM_SUC, 0, cnt, su.data()), VLR_RES_OK);
      for (int32_t i = 0; i < cnt; ++i)
        va[size_t(i)] = sl[size_t(i)] - su[size_t(i)];
    }
    for (int32_t k = 0; k < cnt; ++k) {
      const double x = va[size_t(k)], y = vb[size_t(k)];
      EXPECT_LE(std::fabs(x - y), 6e-11 * std::fabs(x) + 1e-300)
          << "item " << item << " [" << k << "] " << x << " vs " << y;
    }
  }
}

class SolfileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env_ = vlrtest::MakeEnv();
    task_ = Quiet(vlrtest::MakeTask(env_.get()));
  }
  static vlrtest::TaskPtr Quiet(vlrtest::TaskPtr t) {
    EXPECT_EQ(VLR_putintparam(t.get(), VLR_IPAR_LOG, 0), VLR_RES_OK);
    return t;
  }
  vlrtest::TaskPtr Fresh() { return Quiet(vlrtest::MakeTask(env_.get())); }
  VLRtask_t task() { return task_.get(); }

  vlrtest::EnvPtr env_;
  vlrtest::TaskPtr task_;
};

// The optimiser's basic solution of Netlib problems (plain and gzip files, with and without
// names) and a certificate of infeasibility come back into a fresh task of the same problem to
// the printed digits, and writing it again gives the same lines.
TEST_F(SolfileTest, OptimizedSolutionsAndCertificatesComeBack) {
  struct Case {
    const char* file;
    const char* sol;
  };
  for (const Case& c : {Case{"afiro", "afiro.sol"}, Case{"adlittle", "adlittle.sol.gz"},
                        Case{"", "small.sol"}, Case{"infeasible", "inf.sol"}}) {
    SCOPED_TRACE(c.sol);
    auto load = [&](VLRtask_t t) {
      // The simplex, whose basic solution holds the certificate too.
      ASSERT_EQ(VLR_putintparam(t, VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_FREE_SIMPLEX), VLR_RES_OK);
      if (c.file[0] == '\0' || std::string(c.file) == "infeasible") {
        vlrtest::LoadSmallLp(t);
        ASSERT_EQ(VLR_putobjsense(t, VLR_OBJECTIVE_SENSE_MAXIMIZE), VLR_RES_OK);
        // x0 <= 30 and 3 x0 + ... = 30 with c1 >= 15 pushed to c1 >= 1000: no point.
        if (c.file[0] != '\0') {
          ASSERT_EQ(VLR_putbound(t, VLR_ACC_CON, 1, VLR_BK_LO, 1000, 0), VLR_RES_OK);
        }
      } else {
        ASSERT_EQ(VLR_readdata(t, Netlib(c.file).c_str()), VLR_RES_OK);
      }
    };
    auto orig = Fresh();
    load(orig.get());
    ASSERT_EQ(VLR_optimize(orig.get()), VLR_RES_OK);
    int32_t solsta = -1;
    ASSERT_EQ(VLR_getsolutionstatus(orig.get(), VLR_SOL_BAS, nullptr, &solsta), VLR_RES_OK);
    EXPECT_EQ(solsta, c.file == std::string("infeasible") ? VLR_SOL_STA_PRIM_INFEAS_CER
                                                          : VLR_SOL_STA_OPTIMAL);
    const std::string path = TmpPath(c.sol), plain = TmpPath("plain.sol"),
                      again = TmpPath("again.sol");
    ASSERT_EQ(VLR_writesolution(orig.get(), VLR_SOL_BAS, path.c_str()), VLR_RES_OK);
    ASSERT_EQ(VLR_writesolution(orig.get(), VLR_SOL_BAS, plain.c_str()), VLR_RES_OK);
    auto back = Fresh();
    load(back.get());
    ASSERT_EQ(VLR_readsolution(back.get(), VLR_SOL_BAS, path.c_str()), VLR_RES_OK)
        << LastError(back.get());
    ExpectSameSolution(orig.get(), back.get(), VLR_SOL_BAS);
    ASSERT_EQ(VLR_writesolution(back.get(), VLR_SOL_BAS, again.c_str()), VLR_RES_OK);
    EXPECT_EQ(Body(ReadFile(again)), Body(ReadFile(plain)));
  }
}

// The interior and integer solutions too, put through the interface with values that need all
// printed digits, and every status key; the integer file has no duals and needs none.
TEST_F(SolfileTest, InteriorAndIntegerSolutionsComeBack) {
  vlrtest::LoadSmallLp(task());
  const int32_t skc[3] = {VLR_SK_FIX, VLR_SK_SUPBAS, VLR_SK_INF};
  const int32_t skx[4] = {VLR_SK_LOW, VLR_SK_UPR, VLR_SK_UNK, VLR_SK_BAS};
  const double xc[3] = {30, -1.2345678901e-7, 25}, xx[4] = {0, 10, 3.14159265358979, 4e300};
  const double slc[3] = {1.0 / 3, 0, 7e-12}, suc[3] = {0, 2.5, -0.0};
  const double slx[4] = {1e-300, 0, 0, 0}, sux[4] = {0, 9.99999999999, 0, 0};
  for (int32_t w : {VLR_SOL_ITR, VLR_SOL_ITG}) {
    SCOPED_TRACE(w);
    ASSERT_EQ(
        VLR_putsolution(task(), w, skc, skx, nullptr, xc, xx, nullptr, slc, suc, slx, sux, nullptr),
        VLR_RES_OK);
    ASSERT_EQ(VLR_putprosta(task(), w, VLR_PRO_STA_PRIM_FEAS), VLR_RES_OK);
    ASSERT_EQ(VLR_putsolsta(task(), w, VLR_SOL_STA_NEAR_PRIM_FEAS), VLR_RES_OK);
    const std::string path = TmpPath(w == VLR_SOL_ITR ? "itr.sol" : "itg.sol");
    ASSERT_EQ(VLR_writesolution(task(), w, path.c_str()), VLR_RES_OK);
    auto back = Fresh();
    vlrtest::LoadSmallLp(back.get());
    ASSERT_EQ(VLR_readsolution(back.get(), w, path.c_str()), VLR_RES_OK) << LastError(back.get());
    ExpectSameSolution(task(), back.get(), w);
  }
  // A file of the integer solution has no duals to give the basic one.
  const std::string itg = TmpPath("itg.sol");
  EXPECT_EQ(VLR_readsolution(task(), VLR_SOL_BAS, itg.c_str()), VLR_RES_ERR_FILE_READ);
  // The name by parameter when none is given.
  ASSERT_EQ(VLR_putstrparam(task(), VLR_SPAR_INT_SOL_FILE_NAME, itg.c_str()), VLR_RES_OK);
  EXPECT_EQ(VLR_readsolution(task(), VLR_SOL_ITG, nullptr), VLR_RES_OK) << LastError(task());
  EXPECT_EQ(VLR_readsolution(task(), VLR_SOL_BAS, ""), VLR_RES_ERR_INVALID_SOL_FILE_NAME);
  EXPECT_EQ(VLR_readsolution(task(), 3, itg.c_str()), VLR_RES_ERR_WHICHSOL);
}

class SolfileBadTest : public SolfileTest {
 protected:
  void SetUp() override {
    SolfileTest::SetUp();
    vlrtest::LoadSmallLp(task());
    ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, 0, "fixed row"), VLR_RES_OK);  // a blank inside
    ASSERT_EQ(VLR_optimize(task()), VLR_RES_OK);
    good_ = TmpPath("good.sol");
    ASSERT_EQ(VLR_writesolution(task(), VLR_SOL_BAS, good_.c_str()), VLR_RES_OK);
    text_ = ReadFile(good_);
    // The solution in place is another: a refused read must leave this one.
    const int32_t skc[3] = {VLR_SK_UNK, VLR_SK_BAS, VLR_SK_BAS};
    const int32_t skx[4] = {VLR_SK_LOW, VLR_SK_LOW, VLR_SK_UPR, VLR_SK_LOW};
    const double xx[4] = {1, 2, 3, 4};
    ASSERT_LT(VLR_putsolution(task(), VLR_SOL_BAS, skc, skx, nullptr, nullptr, xx, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr),
              1000);
    before_ = Dump(task());
  }
  // Reads text as a solution file: the code, with the task unchanged unless the code is 0.
  int32_t Read(const std::string& text) {
    const std::string path = TmpPath("bad.sol");
    WriteFile(path, text);
    const int32_t r = VLR_readsolution(task(), VLR_SOL_BAS, path.c_str());
    if (r != VLR_RES_OK) {
      EXPECT_EQ(Dump(task()), before_) << text;
    }
    return r;
  }
  // The good text with the first `from` replaced by `to`.
  std::string Edit(const std::string& from, const std::string& to) {
    std::string s = text_;
    const size_t at = s.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? s : s.replace(at, from.size(), to);
  }

  std::string good_, text_, before_;
};

// Cut at every byte, the file is refused until every item line is whole.
TEST_F(SolfileBadTest, FileCutAnywhereBeforeItsLastLineIsRefused) {
  const size_t whole = text_.rfind("\n\n") + 1;  // end of the last variable line
  for (size_t cut = 0; cut < whole; ++cut) {
    const int32_t r = Read(text_.substr(0, cut));
    ASSERT_TRUE(r == VLR_RES_ERR_END_OF_FILE || r == VLR_RES_ERR_FILE_READ ||
                r == VLR_RES_ERR_SOL_FILE_INVALID_NUMBER || r == VLR_RES_ERR_INV_SK_STR ||
                r == VLR_RES_ERR_INVALID_NAME_IN_SOL_FILE)
        << "cut " << cut << " gave " << r;
  }
  EXPECT_EQ(Read(text_.substr(0, whole)), VLR_RES_OK);
}

TEST_F(SolfileBadTest, DamagedOrMismatchedFilesGetTheirCodes) {
  const size_t x1 = text_.find("\n1          x1");
  const size_t x1end = text_.find('\n', x1 + 1);
  const std::string x1line = text_.substr(x1, x1end - x1);
  struct Case {
    std::string text;
    int32_t code;
  };
  const Case cases[] = {
      {"", VLR_RES_ERR_END_OF_FILE},
      {Edit("PRIMAL_AND_DUAL_FEASIBLE", "FEASIBLE"), VLR_RES_ERR_FILE_READ},
      {Edit("SOLUTION STATUS     : OPTIMAL\n", ""), VLR_RES_ERR_FILE_READ},
      {Edit("OBJECTIVE NAME", "OBJECTIVE"), VLR_RES_ERR_FILE_READ},
      {Edit("PRIMAL OBJECTIVE    : ", "PRIMAL OBJECTIVE    : 1x"),
       VLR_RES_ERR_SOL_FILE_INVALID_NUMBER},
      {Edit("VARIABLES", "VARIABLE"), VLR_RES_ERR_FILE_READ},
      {Edit("\nCONSTRAINTS\nINDEX", "\nCONSTRAINTS\nINDEKS"), VLR_RES_ERR_FILE_READ},
      // numbers: junk, NaN, infinity, hexadecimal, a missing field
      {Edit("0.0000000000e+00", "0.0000000000e+00x"), VLR_RES_ERR_SOL_FILE_INVALID_NUMBER},
      {Edit(x1line, x1line + " x"), VLR_RES_ERR_INVALID_NAME_IN_SOL_FILE},  // a field too many
      {Edit("1.0000000000e+01", "nan"), VLR_RES_ERR_SOL_FILE_INVALID_NUMBER},
      {Edit("1.0000000000e+01", "-inf"), VLR_RES_ERR_SOL_FILE_INVALID_NUMBER},
      {Edit("1.0000000000e+01", "1e999"), VLR_RES_ERR_SOL_FILE_INVALID_NUMBER},
      {Edit("1.0000000000e+01", "0x1p3"), VLR_RES_ERR_SOL_FILE_INVALID_NUMBER},
      {Edit(" NONE ", " none "), VLR_RES_ERR_SOL_FILE_INVALID_NUMBER},
      {Edit(x1line, x1line.substr(0, x1line.rfind(" 0.0"))), VLR_RES_ERR_FILE_READ},
      // the problem: names, order, counts, keys
      {Edit(" x1 ", " x9 "), VLR_RES_ERR_INVALID_NAME_IN_SOL_FILE},
      {Edit("fixed row", "fixed"), VLR_RES_ERR_INVALID_NAME_IN_SOL_FILE},
      {Edit("\n1          x1", "\n2          x1"), VLR_RES_ERR_FILE_READ},
      {Edit(x1line, ""), VLR_RES_ERR_FILE_READ},
      {Edit(x1line, x1line + x1line), VLR_RES_ERR_FILE_READ},
      {Edit(x1line + "\n", x1line + "\n\n"), VLR_RES_ERR_FILE_READ},
      {text_.substr(0, text_.rfind("\n\n") + 1) + "4 x4 BAS 0 NONE NONE 0 0\n",
       VLR_RES_ERR_FILE_READ},
      {text_ + "4 x4 BAS 0 NONE NONE 0 0\n", VLR_RES_ERR_FILE_READ},
      {Edit(" LOW ", " LO  "), VLR_RES_ERR_INV_SK_STR},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Read(c.text), c.code) << LastError(task());
  }
  // Extra blanks and a missing final blank line are fine.
  EXPECT_EQ(Read(Edit("\n1          x1", "\n 1   x1  ") + "\n\n"), VLR_RES_OK);
  const std::string gz = TmpPath("good.sol.gz");
  ASSERT_EQ(VLR_writesolution(task(), VLR_SOL_BAS, gz.c_str()), VLR_RES_OK);
  const std::string packed = ReadFile(gz);
  before_ = Dump(task());
  EXPECT_EQ(Read(packed.substr(0, packed.size() - 12)), VLR_RES_ERR_FILE_READ);
  EXPECT_EQ(VLR_readsolution(task(), VLR_SOL_BAS, TmpPath("none.sol").c_str()),
            VLR_RES_ERR_FILE_OPEN);
  EXPECT_EQ(Dump(task()), before_);
}

// With the k-th allocation failing, for every k until the read needs no more: a space error,
// the solution as it was, and nothing left behind.
TEST(SolfileMemfail, EachFailureIsCleanAndLeavesTheSolution) {
  const std::string path = TmpPath("memfail.sol");
  vlrtest::g_left = -1;
  VLRenv_t env = nullptr;
  ASSERT_EQ(
      VLR_makeenv(&env, nullptr, vlrtest::FailingMalloc, vlrtest::CountingFree, vlrtest::DbgFile()),
      VLR_RES_OK);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  VLRtask_t task = nullptr;
  ASSERT_EQ(VLR_maketask(env, 0, 0, &task), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(task, VLR_IPAR_LOG, 0), VLR_RES_OK);
  vlrtest::LoadSmallLp(task);
  ASSERT_EQ(VLR_optimize(task), VLR_RES_OK);
  ASSERT_EQ(VLR_writesolution(task, VLR_SOL_BAS, path.c_str()), VLR_RES_OK);
  int64_t failures = 0;
  for (int32_t w : {VLR_SOL_BAS, VLR_SOL_ITR}) {  // the interior solution is made by the read
    const std::string solved = Dump(task);
    for (int64_t k = 0;; ++k) {
      vlrtest::g_left = k;
      const int32_t r = VLR_readsolution(task, w, path.c_str());
      vlrtest::g_left = -1;
      if (r == VLR_RES_OK) break;
      ++failures;
      ASSERT_EQ(r, VLR_RES_ERR_SPACE) << "k = " << k;
      ASSERT_EQ(Dump(task), solved) << "k = " << k;
    }
  }
  EXPECT_GT(failures, 3);
  RecordProperty("failures", static_cast<int>(failures));
  ASSERT_EQ(VLR_deletetask(&task), VLR_RES_OK);
  ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
  EXPECT_EQ(vlrtest::g_live, 0);
}

}  // namespace
