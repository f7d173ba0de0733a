// tests/velor/misuse_test.cpp: the interface under a hostile caller: capacities that lie, sizes
// that overflow, lists with one bad entry, negative counts and calls that fail half-way. A refused
// call gets its code and leaves the task exactly as it was.
// SPDX-License-Identifier: Apache-2.0
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "fixture.h"
#include "taskdump.h"
#include "velor.h"

#if defined(__SANITIZE_ADDRESS__)
// Absurd sizes must come back as null from the allocator, as they do without the sanitizer.
extern "C" __attribute__((visibility("default"), used)) const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
#endif

namespace {

using vlrtest::Dump;
using vlrtest::EnvPtr;
using vlrtest::MakeEnv;
using vlrtest::MakeTask;
using vlrtest::TaskPtr;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// A 3 x 4 problem with 7 non-zeros, bounds, costs and names.
void Load(VLRtask_t task) {
  const int32_t ptrb[] = {0, 2, 3, 5};
  const int32_t ptre[] = {2, 3, 5, 7};
  const int32_t sub[] = {0, 2, 1, 0, 1, 1, 2};
  const double val[] = {1, 2, 3, 4, 5, 6, 7};
  const double c[] = {1, -2, 3, -4};
  const int32_t bkc[] = {VLR_BK_UP, VLR_BK_RA, VLR_BK_FX};
  const double blc[] = {-VLR_INFINITY, -1, 2};
  const double buc[] = {10, 5, 2};
  const int32_t bkx[] = {VLR_BK_LO, VLR_BK_RA, VLR_BK_FR, VLR_BK_UP};
  const double blx[] = {0, -1, -VLR_INFINITY, -VLR_INFINITY};
  const double bux[] = {VLR_INFINITY, 1, VLR_INFINITY, 3};
  ASSERT_EQ(
      VLR_inputdata(task, 3, 4, 3, 4, c, 0.5, ptrb, ptre, sub, val, bkc, blc, buc, bkx, blx, bux),
      VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task, VLR_PI_VAR, 1, "y"), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task, VLR_PI_CON, 2, "r2"), VLR_RES_OK);
}

class Misuse : public ::testing::Test {
 protected:
  void SetUp() override {
    env_ = MakeEnv();
    task_ = MakeTask(env_.get());
    Load(task_.get());
  }
  VLRtask_t task() { return task_.get(); }
  // Runs a call that must be refused with `code` and must leave the task's dump unchanged.
  void Refused(int32_t code, const std::function<int32_t(VLRtask_t)>& call, const char* what) {
    const std::string before = Dump(task());
    EXPECT_EQ(call(task()), code) << what;
    EXPECT_EQ(Dump(task()), before) << what;
  }
  // Every row and column named, so that writers use the names and not generic ones.
  void NameAll() {
    for (int32_t i = 0; i < 3; ++i)
      ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, i, ("r" + std::to_string(i)).c_str()), VLR_RES_OK);
    for (int32_t j = 0; j < 4; ++j)
      ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, j, ("x" + std::to_string(j)).c_str()), VLR_RES_OK);
    ASSERT_EQ(VLR_putobjname(task(), "cost"), VLR_RES_OK);
  }
  EnvPtr env_;
  TaskPtr task_;
};

// The slice readers fill from maxnumnz - surp on: a surplus above the capacity, a negative one or
// one too small for the slice is refused before anything is written, and nothing outside
// [maxnumnz - surp, maxnumnz) is ever touched.
TEST_F(Misuse, SliceReadersNeverWritePastTheCallersArrays) {
  constexpr int32_t kPad = 16, kCap = 8;
  for (int32_t accmode : {VLR_ACC_VAR, VLR_ACC_CON}) {
    for (int32_t surp : {kCap + 1, kCap + 1000000, -1, 2, std::numeric_limits<int32_t>::max()}) {
      std::vector<int32_t> sub(kCap + 2 * kPad, -7);
      std::vector<double> val(kCap + 2 * kPad, -7.0);
      std::vector<int32_t> ptrb(4 + 2 * kPad, -7), ptre(4 + 2 * kPad, -7);
      int32_t s = surp;
      const int32_t r = VLR_getaslice(task(), accmode, 0, accmode == VLR_ACC_VAR ? 4 : 3, kCap, &s,
                                      ptrb.data() + kPad, ptre.data() + kPad, sub.data() + kPad,
                                      val.data() + kPad);
      EXPECT_NE(r, VLR_RES_OK) << "surp " << surp;
      EXPECT_EQ(s, surp);
      for (int32_t k = 0; k < kCap + 2 * kPad; ++k) {
        ASSERT_EQ(sub[k], -7) << "surp " << surp << " at " << k;
        ASSERT_EQ(val[k], -7.0);
      }
      int64_t s64 = surp;
      std::vector<int64_t> p64(4 + 2 * kPad, -7);
      EXPECT_NE(VLR_getaslice64(task(), accmode, 0, 3, kCap, &s64, p64.data() + kPad,
                                p64.data() + kPad, sub.data() + kPad, val.data() + kPad),
                VLR_RES_OK);
      int32_t st = surp;
      std::vector<int32_t> subj(kCap + 2 * kPad, -7);
      EXPECT_NE(VLR_getaslicetrip(task(), accmode, 0, 3, kCap, &st, sub.data() + kPad,
                                  subj.data() + kPad, val.data() + kPad),
                VLR_RES_OK);
      for (int32_t k = 0; k < kCap + 2 * kPad; ++k) {
        ASSERT_EQ(sub[k], -7) << "surp " << surp << " at " << k;
        ASSERT_EQ(subj[k], -7);
      }
    }
  }
  int32_t s = 3;  // a surplus that the capacity holds but the slice does not fit in
  std::vector<int32_t> sub(8), ptrb(4), ptre(4);
  std::vector<double> val(8);
  EXPECT_EQ(VLR_getaslice(task(), VLR_ACC_VAR, 0, 4, 8, &s, ptrb.data(), ptre.data(), sub.data(),
                          val.data()),
            VLR_RES_ERR_NEGATIVE_SURPLUS);
  s = 8;  // and the exact fit still works
  EXPECT_EQ(VLR_getaslice(task(), VLR_ACC_VAR, 0, 4, 8, &s, ptrb.data(), ptre.data(), sub.data(),
                          val.data()),
            VLR_RES_OK);
  EXPECT_EQ(s, 1);
  EXPECT_EQ(ptre[3], 7);
}

// Sizes that overflow a byte count, or that no machine has, end in a code with the task as it
// was; the task stays usable.
TEST_F(Misuse, AbsurdCapacitiesAreRefusedWithTheTaskUnchanged) {
  constexpr int64_t kHuge = std::numeric_limits<int64_t>::max();
  for (int64_t n : {kHuge, kHuge - 1, kHuge / 8 + 1, kHuge / 12 + 1, int64_t{1} << 61}) {
    Refused(
        VLR_RES_ERR_SPACE, [n](VLRtask_t t) { return VLR_putmaxnumanz64(t, n); }, "anz");
    Refused(
        VLR_RES_ERR_SPACE, [n](VLRtask_t t) { return VLR_putmaxnumqnz64(t, n); }, "qnz");
    Refused(
        VLR_RES_ERR_SPACE, [n](VLRtask_t t) { return VLR_resizetask64(t, 3, 4, 0, n, 0); },
        "resize anz");
    Refused(
        VLR_RES_ERR_SPACE, [n](VLRtask_t t) { return VLR_resizetask64(t, 3, 4, 0, 7, n); },
        "resize qnz");
  }
  // A count past what 32-bit indices hold is refused whatever the memory.
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  Refused(
      VLR_RES_ERR_NUMVARLIM, [](VLRtask_t t) { return VLR_append(t, VLR_ACC_VAR, kMax - 2); },
      "append vars");
  Refused(
      VLR_RES_ERR_NUMCONLIM, [](VLRtask_t t) { return VLR_append(t, VLR_ACC_CON, kMax); },
      "append cons");
  Refused(
      VLR_RES_ERR_NEGATIVE_APPEND, [](VLRtask_t t) { return VLR_append(t, VLR_ACC_CON, -1); },
      "append -1");
  // Still usable: a real change goes through.
  EXPECT_EQ(VLR_putmaxnumanz64(task(), 100), VLR_RES_OK);
  EXPECT_EQ(VLR_putcj(task(), 0, 9.0), VLR_RES_OK);
}

// Every list call checks its whole list before it applies any of it: one bad entry at the end
// leaves the task as it was.
TEST_F(Misuse, ListCallsApplyAllOrNothing) {
  const int32_t sub[] = {0, 1, 9};
  const int32_t ok[] = {0, 1, 2};
  const int32_t subbad[] = {0, 1, -1};
  const double val[] = {1.5, 2.5, 3.5};
  const double valnan[] = {1.5, 2.5, kNaN};
  const int32_t bk[] = {VLR_BK_FX, VLR_BK_FX, 99};
  const int32_t bkok[] = {VLR_BK_FX, VLR_BK_LO, VLR_BK_RA};
  const int32_t types[] = {VLR_VAR_TYPE_INT, VLR_VAR_TYPE_INT, 7};
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_LARGE,
      [&](VLRtask_t t) { return VLR_putaijlist(t, 3, sub, sub, val); }, "aij index");
  Refused(
      VLR_RES_ERR_NAN_IN_AIJ, [&](VLRtask_t t) { return VLR_putaijlist(t, 3, ok, ok, valnan); },
      "aij nan");
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_LARGE, [&](VLRtask_t t) { return VLR_putclist(t, 3, sub, val); },
      "c index");
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_SMALL, [&](VLRtask_t t) { return VLR_putclist(t, 3, subbad, val); },
      "c negative index");
  Refused(
      VLR_RES_ERR_NAN_IN_C, [&](VLRtask_t t) { return VLR_putclist(t, 2, sub, valnan + 1); },
      "c nan");
  Refused(
      VLR_RES_ERR_INV_BKX,
      [&](VLRtask_t t) { return VLR_putboundlist(t, VLR_ACC_VAR, 3, ok, bk, val, val); },
      "bound key");
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_LARGE,
      [&](VLRtask_t t) { return VLR_putboundlist(t, VLR_ACC_CON, 3, sub, bkok, val, val); },
      "bound index");
  Refused(
      VLR_RES_ERR_NAN_IN_BLX,
      [&](VLRtask_t t) {
        const int32_t s[] = {0, 1, 2};
        return VLR_putboundlist(t, VLR_ACC_VAR, 3, s, bkok, valnan, val);
      },
      "bound nan");
  Refused(
      VLR_RES_ERR_NAN_IN_BUC,
      [&](VLRtask_t t) {
        const int32_t ra[] = {VLR_BK_RA, VLR_BK_RA, VLR_BK_RA};
        return VLR_putboundslice(t, VLR_ACC_CON, 0, 3, ra, val, valnan);
      },
      "bound slice nan");
  Refused(
      VLR_RES_ERR_INV_VAR_TYPE,
      [&](VLRtask_t t) {
        const int32_t s[] = {0, 1, 2};
        return VLR_putvartypelist(t, 3, s, types);
      },
      "var type");
  // A list of rows where the last row holds a bad column index.
  const int32_t rows[] = {0, 1};
  const int32_t ptrb[] = {0, 2};
  const int32_t ptre[] = {2, 4};
  const int32_t asub[] = {0, 1, 2, 17};
  const double aval[] = {1, 2, 3, 4};
  Refused(
      VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE,
      [&](VLRtask_t t) { return VLR_putaveclist(t, VLR_ACC_CON, 2, rows, ptrb, ptre, asub, aval); },
      "aveclist");
  const double avalnan[] = {1, 2, 3, kNaN};
  const int32_t asubok[] = {0, 1, 2, 3};
  Refused(
      VLR_RES_ERR_NAN_IN_AIJ,
      [&](VLRtask_t t) {
        return VLR_putaveclist(t, VLR_ACC_CON, 2, rows, ptrb, ptre, asubok, avalnan);
      },
      "aveclist nan");
  const int32_t qi[] = {0, 1, 5}, qj[] = {0, 0, 0};
  Refused(
      VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE,
      [&](VLRtask_t t) { return VLR_putqobj(t, 3, qi, qj, val); }, "qobj");
  const int32_t mem[] = {0, 1, 0};
  Refused(
      VLR_RES_ERR_CONE_REP_VAR,
      [&](VLRtask_t t) { return VLR_appendcone(t, VLR_CT_QUAD, 0.0, 3, mem); }, "cone");
}

// VLR_inputdata checks everything before it throws the old problem away.
TEST_F(Misuse, InputdataRefusesBeforeItWipes) {
  const int32_t ptrb[] = {0, 1};
  const int32_t ptre[] = {1, 2};
  const int32_t sub[] = {0, 5};  // row 5 does not exist
  const double val[] = {1, 2};
  const double c[] = {1, 1};
  const int32_t bk[] = {VLR_BK_LO, VLR_BK_LO};
  const double bl[] = {0, 0}, bu[] = {1, 1};
  const double blnan[] = {0, kNaN};
  Refused(
      VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE,
      [&](VLRtask_t t) {
        return VLR_inputdata(t, 2, 2, 2, 2, c, 0, ptrb, ptre, sub, val, bk, bl, bu, bk, bl, bu);
      },
      "row index");
  const int32_t sub0[] = {0, 1};
  Refused(
      VLR_RES_ERR_NAN_IN_BLX,
      [&](VLRtask_t t) {
        return VLR_inputdata(t, 2, 2, 2, 2, c, 0, ptrb, ptre, sub0, val, bk, bl, bu, bk, blnan, bu);
      },
      "nan bound");
  Refused(
      VLR_RES_ERR_NAN_IN_DOUBLE_DATA,
      [&](VLRtask_t t) {
        return VLR_inputdata(t, 2, 2, 2, 2, c, kNaN, ptrb, ptre, sub0, val, bk, bl, bu, bk, bl, bu);
      },
      "nan cfix");
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_SMALL,
      [&](VLRtask_t t) {
        return VLR_inputdata(t, 2, 2, -2, 2, c, 0, ptrb, ptre, sub0, val, bk, bl, bu, bk, bl, bu);
      },
      "negative numcon");
  const int32_t bkbad[] = {VLR_BK_LO, 9};
  Refused(
      VLR_RES_ERR_INV_BKC,
      [&](VLRtask_t t) {
        return VLR_inputdata(t, 2, 2, 2, 2, c, 0, ptrb, ptre, sub0, val, bkbad, bl, bu, bk, bl, bu);
      },
      "bound key");
}

// Negative lengths and counts are refused, never taken as "nothing" or as a huge unsigned count.
TEST_F(Misuse, NegativeCountsAreRefused) {
  const int32_t sub[] = {0};
  const double val[] = {1};
  const int32_t bk[] = {VLR_BK_FR};
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_SMALL,
      [&](VLRtask_t t) { return VLR_putaijlist(t, -1, sub, sub, val); }, "aijlist");
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_SMALL, [&](VLRtask_t t) { return VLR_putclist(t, -3, sub, val); },
      "clist");
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_SMALL,
      [&](VLRtask_t t) { return VLR_putboundlist(t, VLR_ACC_VAR, -1, sub, bk, val, val); },
      "boundlist");
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_SMALL,
      [&](VLRtask_t t) { return VLR_putvartypelist(t, -1, sub, sub); }, "vartypelist");
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_SMALL,
      [&](VLRtask_t t) { return VLR_putavec(t, VLR_ACC_VAR, 0, -1, sub, val); }, "avec");
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_SMALL,
      [&](VLRtask_t t) { return VLR_putaveclist(t, VLR_ACC_VAR, -1, sub, sub, sub, sub, val); },
      "aveclist");
  Refused(
      VLR_RES_ERR_INDEX_IS_TOO_SMALL,
      [&](VLRtask_t t) { return VLR_putqobj(t, -1, sub, sub, val); }, "qobj");
  Refused(
      VLR_RES_ERR_CONE_SIZE,
      [&](VLRtask_t t) { return VLR_appendcone(t, VLR_CT_QUAD, 0.0, -2, sub); }, "cone");
  Refused(
      VLR_RES_ERR_IN_ARGUMENT,
      [&](VLRtask_t t) { return VLR_appendvars(t, -1, val, sub, sub, sub, val, bk, val, val); },
      "appendvars");
  Refused(
      VLR_RES_ERR_IN_ARGUMENT,
      [&](VLRtask_t t) { return VLR_appendcons(t, -1, sub, sub, sub, val, bk, val, val); },
      "appendcons");
}

// NaN and infinity are refused where they enter: costs, the constant, bounds, A and Q.
TEST_F(Misuse, NanAndInfinityAreRefusedWhereTheyEnter) {
  Refused(
      VLR_RES_ERR_NAN_IN_DOUBLE_DATA, [](VLRtask_t t) { return VLR_putcfix(t, kNaN); }, "cfix nan");
  Refused(
      VLR_RES_ERR_NAN_IN_DOUBLE_DATA, [](VLRtask_t t) { return VLR_putcfix(t, kInf); }, "cfix inf");
  Refused(
      VLR_RES_ERR_HUGE_C, [](VLRtask_t t) { return VLR_putcj(t, 0, -kInf); }, "cj inf");
  Refused(
      VLR_RES_ERR_NAN_IN_C, [](VLRtask_t t) { return VLR_putcj(t, 0, kNaN); }, "cj");
  Refused(
      VLR_RES_ERR_NAN_IN_BLX,
      [](VLRtask_t t) { return VLR_putbound(t, VLR_ACC_VAR, 0, VLR_BK_RA, kNaN, 1); }, "blx");
  Refused(
      VLR_RES_ERR_NAN_IN_BUC,
      [](VLRtask_t t) { return VLR_putbound(t, VLR_ACC_CON, 0, VLR_BK_UP, 0, kNaN); }, "buc");
  Refused(
      VLR_RES_ERR_NAN_IN_BLX,
      [](VLRtask_t t) { return VLR_chgbound(t, VLR_ACC_VAR, 0, 1, 1, kNaN); }, "chgbound");
  Refused(
      VLR_RES_ERR_NAN_IN_AIJ, [](VLRtask_t t) { return VLR_putaij(t, 0, 0, kNaN); }, "aij");
  Refused(
      VLR_RES_ERR_INV_QOBJ_VAL, [](VLRtask_t t) { return VLR_putqobjij(t, 0, 0, kNaN); }, "qobjij");
}

// Output buffers given a capacity of 0 or less are never written, and a capacity of 1 gets only
// the terminating zero: the capacity is the caller's promise, never exceeded.
TEST_F(Misuse, TextOutputsNeverPassTheirCapacity) {
  ASSERT_EQ(VLR_puttaskname(task(), "a task with a long enough name"), VLR_RES_OK);
  ASSERT_EQ(VLR_putstrparam(task(), VLR_SPAR_STAT_KEY, "some parameter value"), VLR_RES_OK);
  VLR_putcj(task(), 99, 0.0);  // leaves a last error with a message
  for (int32_t cap : {-5, 0, 1, 3}) {
    std::vector<char> buf(64, '#');
    char* out = buf.data() + 16;
    int32_t len = 0, code = 0;
    VLR_gettaskname(task(), cap, out);
    VLR_getname(task(), VLR_PI_VAR, 1, cap, &len, out);
    VLR_getobjname(task(), cap, &len, out);
    VLR_getstrparam(task(), VLR_SPAR_STAT_KEY, cap, &len, out);
    VLR_getlasterror(task(), &code, cap, &len, out);
    VLR_getversionstring(cap, out);
    const int32_t written = cap > 0 ? cap : 0;
    for (int32_t k = 0; k < 64; ++k) {
      if (k >= 16 && k < 16 + written) continue;
      ASSERT_EQ(buf[k], '#') << "capacity " << cap << " byte " << k - 16;
    }
    if (cap >= 1) {
      EXPECT_NE(std::memchr(out, '\0', static_cast<size_t>(cap)), nullptr) << cap;
    }
  }
}

// Names in a directory of its own, to see that nothing is left beside a file.
std::vector<std::string> Listing(const std::string& dir) {
  std::vector<std::string> names;
  if (DIR* d = opendir(dir.c_str())) {
    while (const dirent* e = readdir(d)) {
      if (e->d_name[0] != '.') names.emplace_back(e->d_name);
    }
    closedir(d);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// A write that is refused (a name the format cannot hold, a solution that is not there, a path
// that is a directory or lies in none) leaves the file at the path as it was, and nothing
// beside it; a good write replaces it whole.
TEST_F(Misuse, RefusedWritesLeaveTheOldFileAndNothingBesideIt) {
  const std::string dir = vlrtest::TmpPath("writes");
  ASSERT_EQ(std::system(("rm -rf '" + dir + "' && mkdir -p '" + dir + "'").c_str()), 0);
  NameAll();
  size_t count = 0;
  for (const char* file : {"p.mps", "p.lp", "p.mps.gz", "p.sol", "p.par"}) {
    const std::string path = dir + "/" + file;
    vlrtest::WriteFile(path, "old contents\n");
    const std::string name = file;
    auto write = [&](VLRtask_t t) {
      if (name == "p.sol") return VLR_writesolution(t, VLR_SOL_BAS, path.c_str());
      if (name == "p.par") return VLR_writeparamfile(t, path.c_str());
      return VLR_writedata(t, path.c_str());
    };
    // The refusal: a tab in a name, no basic solution, a string parameter too long to read.
    ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 0, "tab\there"), VLR_RES_OK);
    const std::string huge(2000, 'z');
    ASSERT_EQ(VLR_putstrparam(task(), VLR_SPAR_STAT_KEY, huge.c_str()), VLR_RES_OK);
    EXPECT_NE(write(task()), VLR_RES_OK) << file;
    EXPECT_EQ(vlrtest::ReadFile(path), "old contents\n") << file;
    EXPECT_EQ(Listing(dir).size(), ++count) << file;  // no new file beside the old ones
    ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 0, "x0"), VLR_RES_OK);
    ASSERT_EQ(VLR_putstrparam(task(), VLR_SPAR_STAT_KEY, ""), VLR_RES_OK);
  }
  // Nothing but the five old files.
  EXPECT_EQ(Listing(dir),
            (std::vector<std::string>{"p.lp", "p.mps", "p.mps.gz", "p.par", "p.sol"}));
  // Good writes replace the old contents.
  ASSERT_EQ(VLR_writedata(task(), (dir + "/p.mps").c_str()), VLR_RES_OK);
  EXPECT_NE(vlrtest::ReadFile(dir + "/p.mps"), "old contents\n");
  EXPECT_EQ(Listing(dir).size(), 5u);
  // A directory as the path, and a path in no directory.
  EXPECT_EQ(VLR_writedata(task(), dir.c_str()), VLR_RES_ERR_FILE_OPEN);
  EXPECT_EQ(VLR_writedata(task(), (dir + "/none/p.mps").c_str()), VLR_RES_ERR_FILE_OPEN);
  EXPECT_EQ(Listing(dir).size(), 5u);
}

// Names that fields and lines cannot hold as they are: in every writer and mode the name is
// either refused with the writer's code, or the file reads back as the same model.
TEST_F(Misuse, NamesEitherReadBackOrAreRefused) {
  NameAll();
  const char* names[] = {"two words", "tab\there", "new\nline", "\"quoted\"",
                         "a\"b c",    "a b",       "plain",     "trail "};
  struct Mode {
    const char* file;
    int32_t quoted;   // VLR_IPAR_WRITE_MPS_QUOTED_NAMES / _LP_
    int32_t freemps;  // read back in the free form; else in the reader's default
  };
  const Mode modes[] = {{"m.mps", 1, 1}, {"m.mps", 0, 0}, {"m.lp", 1, 0}, {"m.lp", 0, 0}};
  for (const char* name : names) {
    for (const Mode& mode : modes) {
      ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 1, name), VLR_RES_OK);
      VLR_putintparam(task(), VLR_IPAR_WRITE_MPS_QUOTED_NAMES, mode.quoted);
      VLR_putintparam(task(), VLR_IPAR_WRITE_LP_QUOTED_NAMES, mode.quoted);
      const std::string path = vlrtest::TmpPath(mode.file);
      const int32_t r = VLR_writedata(task(), path.c_str());
      const std::string what = std::string(mode.file) + " quoted " + std::to_string(mode.quoted) +
                               " name [" + name + "]";
      if (r != VLR_RES_OK) {
        EXPECT_TRUE(r == VLR_RES_ERR_WRITE_MPS_INVALID_NAME || r == VLR_RES_ERR_LP_INVALID_VAR_NAME)
            << what << " code " << r;
        continue;
      }
      auto back = MakeTask(env_.get());
      if (mode.freemps) {
        VLR_putintparam(back.get(), VLR_IPAR_READ_MPS_FORMAT, VLR_MPS_FORMAT_FREE);
      }
      ASSERT_EQ(VLR_readdata(back.get(), path.c_str()), VLR_RES_OK) << what;
      char got[64] = {0};
      ASSERT_EQ(VLR_getname(back.get(), VLR_PI_VAR, 1, sizeof got, nullptr, got), VLR_RES_OK);
      EXPECT_STREQ(got, name) << what;
      int32_t m = 0, n = 0;
      VLR_getnumcon(back.get(), &m);
      VLR_getnumvar(back.get(), &n);
      EXPECT_EQ(m, 3) << what;
      EXPECT_EQ(n, 4) << what;
    }
  }
}

// Every make... call that fails leaves its output null, also when the failure is the handle.
TEST(MisuseMake, FailedMakesLeaveNullOutputs) {
  VLRtask_t task = reinterpret_cast<VLRtask_t>(0x1);
  EXPECT_EQ(VLR_maketask(nullptr, 0, 0, &task), VLR_RES_ERR_NULL_ENV);
  EXPECT_EQ(task, nullptr);
  task = reinterpret_cast<VLRtask_t>(0x1);
  EXPECT_EQ(VLR_makeemptytask(nullptr, &task), VLR_RES_ERR_NULL_ENV);
  EXPECT_EQ(task, nullptr);
  VLRenv_t env = nullptr;
  ASSERT_EQ(VLR_makeenv(&env, nullptr, nullptr, nullptr, nullptr), VLR_RES_OK);
  task = reinterpret_cast<VLRtask_t>(0x1);
  EXPECT_EQ(VLR_maketask(env, 0, 0, &task), VLR_RES_ERR_NO_INIT_ENV);
  EXPECT_EQ(task, nullptr);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  task = reinterpret_cast<VLRtask_t>(0x1);
  EXPECT_EQ(VLR_maketask(env, -1, 0, &task), VLR_RES_ERR_INDEX_IS_TOO_SMALL);
  EXPECT_EQ(task, nullptr);
  VLRtask_t clone = reinterpret_cast<VLRtask_t>(0x1);
  EXPECT_EQ(VLR_clonetask(nullptr, &clone), VLR_RES_ERR_NULL_TASK);
  EXPECT_EQ(clone, nullptr);
  ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
}

}  // namespace
