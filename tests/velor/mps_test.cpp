// tests/velor/mps_test.cpp: the data file dispatch, the MPS reader on good and malformed files,
// the writer's layout and number text, and round trips through plain and gzip files.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "fixture.h"
#include "taskdump.h"
#include "velor/datafile.h"
#include "velor/probdata.h"

namespace {

using vlrtest::ReadFile;
using vlrtest::WriteFile;

using vlrtest::Collector;
using vlrtest::Dump;
using vlrtest::LastError;
using vlrtest::TmpPath;

// One line of the fixed form: code at column 1, names at 4, 14 and 39, numbers at 24 and 49.
std::string F(const char* f0, const char* f1, const char* f2 = "", const char* n3 = "",
              const char* f4 = "", const char* n5 = "") {
  char buf[256];
  std::snprintf(buf, sizeof buf, " %-2s %-8s  %-8s  %12s   %-8s  %12s", f0, f1, f2, n3, f4, n5);
  std::string s = buf;
  s.erase(s.find_last_not_of(' ') + 1);
  return s + "\n";
}

// A CSECTION head as the writer makes it: name at column 14, parameter at 24, type at 39.
std::string Cone(const char* name, const char* type) {
  char buf[128];
  std::snprintf(buf, sizeof buf, "%-14s%-8s  %-12s   %s\n", "CSECTION", name, "0.0", type);
  return buf;
}

const std::string kRowsCols = std::string("NAME          TINY\nROWS\n N  COST\n L  LIM1\n") +
                              " G  LIM2\n E  MYEQN\n N  FREE2\nCOLUMNS\n" +
                              F("", "X1", "COST", "1", "LIM1", "1") + F("", "X1", "LIM2", "1") +
                              F("", "X2", "COST", "2", "LIM1", "1") + F("", "X2", "MYEQN", "-1") +
                              F("", "X3", "COST", "-1", "MYEQN", "1") + F("", "X3", "FREE2", "3");
const std::string kTiny = kRowsCols + "RHS\n" + F("", "RHS", "COST", "5", "LIM1", "4") +
                          F("", "RHS", "LIM2", "1", "MYEQN", "7") + "RANGES\n" +
                          F("", "RNG", "LIM1", "2.5", "LIM2", "3") + F("", "RNG", "MYEQN", "-2") +
                          "BOUNDS\n" + F("UP", "BND", "X1", "4") + F("MI", "BND", "X2") +
                          F("UP", "BND", "X2", "1") + "ENDATA\n";

class MpsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env_ = vlrtest::MakeEnv();
    task_ = vlrtest::MakeTask(env_.get());
    VLR_putintparam(task_.get(), VLR_IPAR_LOG, 0);
    ASSERT_EQ(VLR_linkfunctotaskstream(task_.get(), VLR_STREAM_ERR, &err_, Collector::Func), 0);
  }
  VLRtask_t task() { return task_.get(); }
  int32_t ReadText(const std::string& text, const char* name = "t.mps") {
    err_.lines.clear();
    const std::string path = TmpPath(name);
    WriteFile(path, text);
    return VLR_readdata(task(), path.c_str());
  }
  void ExpectBound(int32_t acc, int32_t i, int32_t bk, double bl, double bu) {
    int32_t k = -1;
    double l = 0, u = 0;
    ASSERT_EQ(VLR_getbound(task(), acc, i, &k, &l, &u), VLR_RES_OK);
    EXPECT_EQ(k, bk) << (acc == VLR_ACC_CON ? "con " : "var ") << i;
    EXPECT_EQ(l, bl) << i;
    EXPECT_EQ(u, bu) << i;
  }
  vlrtest::EnvPtr env_;
  vlrtest::TaskPtr task_;
  Collector err_;
};

TEST_F(MpsTest, TinyFileStoresRowsColumnsRangesBoundsAndDropsFreeRows) {
  ASSERT_EQ(ReadText(kTiny), VLR_RES_OK) << LastError(task());
  int32_t m = 0, n = 0;
  VLR_getnumcon(task(), &m);
  VLR_getnumvar(task(), &n);
  ASSERT_EQ(m, 3);  // both free rows, the objective among them, are gone
  ASSERT_EQ(n, 3);
  ExpectBound(VLR_ACC_CON, 0, VLR_BK_RA, 1.5, 4);  // L row, range 2.5 below the right side
  ExpectBound(VLR_ACC_CON, 1, VLR_BK_RA, 1, 4);    // G row, range 3 above
  ExpectBound(VLR_ACC_CON, 2, VLR_BK_RA, 5, 7);    // E row, negative range below
  ExpectBound(VLR_ACC_VAR, 0, VLR_BK_RA, 0, 4);
  ExpectBound(VLR_ACC_VAR, 1, VLR_BK_UP, -VLR_INFINITY, 1);  // MI keeps no lower side
  ExpectBound(VLR_ACC_VAR, 2, VLR_BK_LO, 0, VLR_INFINITY);
  double c[3], cfix = 0;
  VLR_getcslice(task(), 0, 3, c);
  VLR_getcfix(task(), &cfix);
  EXPECT_EQ(c[0], 1);
  EXPECT_EQ(c[1], 2);
  EXPECT_EQ(c[2], -1);
  EXPECT_EQ(cfix, -5);  // the right side of the objective row
  double a = 0;
  VLR_getaij(task(), 2, 1, &a);
  EXPECT_EQ(a, -1);
  char name[64];
  VLR_getobjname(task(), sizeof name, nullptr, name);
  EXPECT_STREQ(name, "COST");
  VLR_gettaskname(task(), sizeof name, name);
  EXPECT_STREQ(name, "TINY");
  VLR_getconname(task(), 2, sizeof name, name);
  EXPECT_STREQ(name, "MYEQN");
  int32_t ival = 0;
  int64_t lval = 0;
  VLR_getintinf(task(), VLR_IINF_RD_NUMCON, &ival);
  EXPECT_EQ(ival, 3);
  VLR_getlintinf(task(), VLR_LIINF_RD_NUMANZ, &lval);
  EXPECT_EQ(lval, 5);
}

TEST_F(MpsTest, KeepFreeConKeepsEveryFreeRowWithItsEntries) {
  VLR_putintparam(task(), VLR_IPAR_READ_KEEP_FREE_CON, 1);
  ASSERT_EQ(ReadText(kTiny), VLR_RES_OK);
  int32_t m = 0;
  VLR_getnumcon(task(), &m);
  EXPECT_EQ(m, 5);
  ExpectBound(VLR_ACC_CON, 0, VLR_BK_FR, -VLR_INFINITY, VLR_INFINITY);
  double a = 0;
  VLR_getaij(task(), 0, 1, &a);
  EXPECT_EQ(a, 2);  // the objective row keeps its entries
}

TEST_F(MpsTest, DefaultsWithoutRhsOrBoundsAndTheBoundRules) {
  const std::string text =
      "NAME\nROWS\n N  obj\n G  r\nCOLUMNS\n" + F("", "x", "r", "1") + F("", "y", "r", ".5") +
      F("", "z", "r", "-.5") + F("", "w", "r", "1.5D3") + F("", "M", "'MARKER'", "", "'INTORG'") +
      F("", "i", "r", "1") + F("", "M", "'MARKER'", "", "'INTEND'") + F("", "u", "r", "1") +
      "BOUNDS\n" + F("UP", "B", "y", "-1") + F("MI", "B", "z") + F("LI", "B", "w", "2.5") +
      F("UI", "B", "w", "7.5") + F("BV", "B", "u") + "ENDATA\n";
  ASSERT_EQ(ReadText(text), VLR_RES_OK) << LastError(task());
  ExpectBound(VLR_ACC_CON, 0, VLR_BK_LO, 0, VLR_INFINITY);
  ExpectBound(VLR_ACC_VAR, 0, VLR_BK_LO, 0, VLR_INFINITY);
  ExpectBound(VLR_ACC_VAR, 1, VLR_BK_RA, 0, -1);  // a negative upper bound keeps the lower 0
  ExpectBound(VLR_ACC_VAR, 2, VLR_BK_FR, -VLR_INFINITY, VLR_INFINITY);
  ExpectBound(VLR_ACC_VAR, 3, VLR_BK_RA, 3, 7);
  ExpectBound(VLR_ACC_VAR, 4, VLR_BK_RA, 0, 1);  // integer without bounds: [0, 1]
  ExpectBound(VLR_ACC_VAR, 5, VLR_BK_RA, 0, 1);
  double a[4];
  for (int32_t j = 0; j < 4; ++j)
    VLR_getaij(task(), 0, j, &a[j]);
  EXPECT_EQ(a[1], 0.5);
  EXPECT_EQ(a[2], -0.5);
  EXPECT_EQ(a[3], 1500);
  int32_t type = 0, numint = 0;
  VLR_getvartype(task(), 4, &type);
  EXPECT_EQ(type, VLR_VAR_TYPE_INT);
  VLR_getnumintvar(task(), &numint);
  EXPECT_EQ(numint, 3);  // i by marker, w by LI/UI, u by BV
  VLR_putintparam(task(), VLR_IPAR_READ_MPS_KEEP_INT, 0);
  ASSERT_EQ(ReadText(text), VLR_RES_OK);
  VLR_getnumintvar(task(), &numint);
  EXPECT_EQ(numint, 0);
  ExpectBound(VLR_ACC_VAR, 4, VLR_BK_RA, 0, 1);  // the bounds integrality gave stay
}

TEST_F(MpsTest, VectorsAreChosenByTheFirstLineOrTheParameter) {
  const std::string text = std::string("ROWS\n N  obj\n G  r1\n G  r2\nCOLUMNS\n") +
                           F("", "x", "r1", "1", "r2", "1") + "RHS\n" + F("", "A", "r1", "1") +
                           F("", "B", "r1", "2", "r2", "2") + F("", "A", "r2", "3") + "ENDATA\n";
  Collector wrn;
  VLR_linkfunctotaskstream(task(), VLR_STREAM_WRN, &wrn, Collector::Func);
  ASSERT_EQ(ReadText(text), VLR_RES_OK);
  ExpectBound(VLR_ACC_CON, 0, VLR_BK_LO, 1, VLR_INFINITY);
  ExpectBound(VLR_ACC_CON, 1, VLR_BK_LO, 3, VLR_INFINITY);
  EXPECT_NE(wrn.All().find("split"), std::string::npos) << wrn.All();
  VLR_putstrparam(task(), VLR_SPAR_READ_MPS_RHS_NAME, "B");
  ASSERT_EQ(ReadText(text), VLR_RES_OK);
  ExpectBound(VLR_ACC_CON, 0, VLR_BK_LO, 2, VLR_INFINITY);
  ExpectBound(VLR_ACC_CON, 1, VLR_BK_LO, 2, VLR_INFINITY);
}

TEST_F(MpsTest, ObjsenseObjnameAndFreeFormWithQuotedLongNames) {
  const std::string text =
      "NAME a free problem\nOBJSENSE\n    MAX\nOBJNAME\n    second_objective_row\nROWS\n"
      " N first\n N second_objective_row\n L \"a row with blanks\"\nCOLUMNS\n"
      " a_very_long_column_name second_objective_row 3 \"a row with blanks\" 1\n"
      " m 'MARKER' 'INTORG'\n k \"a row with blanks\" 2\n m 'MARKER' 'INTEND'\n"
      "RHS\n rhs \"a row with blanks\" 10\nBOUNDS\n UP bnd k 4\nENDATA\n";
  ASSERT_EQ(ReadText(text, "t.fmps"), VLR_RES_OK) << LastError(task());
  int32_t sense = 0, m = 0;
  VLR_getobjsense(task(), &sense);
  EXPECT_EQ(sense, VLR_OBJECTIVE_SENSE_MAXIMIZE);
  VLR_getnumcon(task(), &m);
  EXPECT_EQ(m, 1);
  char name[64];
  VLR_getobjname(task(), sizeof name, nullptr, name);
  EXPECT_STREQ(name, "second_objective_row");
  VLR_getconname(task(), 0, sizeof name, name);
  EXPECT_STREQ(name, "a row with blanks");
  VLR_gettaskname(task(), sizeof name, name);
  EXPECT_STREQ(name, "a free problem");
  double c = 0;
  VLR_getcslice(task(), 0, 1, &c);
  EXPECT_EQ(c, 3);
  ExpectBound(VLR_ACC_CON, 0, VLR_BK_UP, -VLR_INFINITY, 10);
  ExpectBound(VLR_ACC_VAR, 1, VLR_BK_RA, 0, 4);
  // The same file in the default fixed form fails, and the message says where.
  ASSERT_NE(ReadText(text, "t.mps"), VLR_RES_OK);
  EXPECT_NE(err_.All().find("The error occured at line("), std::string::npos);
}

TEST_F(MpsTest, QuadraticSectionsAndConesReadInTheLowerTriangle) {
  const std::string text =
      std::string("ROWS\n N  obj\n L  q1\n L  q2\nCOLUMNS\n") + F("", "x", "obj", "1", "q1", "1") +
      F("", "y", "q2", "1") + F("", "z", "q2", "1") + "QUADOBJ\n" + F("", "x", "x", "2") +
      F("", "x", "y", "1", "y", "4") + "QSECTION      q1\n" + F("", "y", "x", "3") +
      F("", "y", "x", "1") + Cone("k1", "QUAD") + F("", "z") + F("", "y") + "ENDATA\n";
  ASSERT_EQ(ReadText(text), VLR_RES_OK) << LastError(task());
  double q = 0;
  VLR_getqobjij(task(), 0, 0, &q);
  EXPECT_EQ(q, 2);
  VLR_getqobjij(task(), 1, 0, &q);
  EXPECT_EQ(q, 5);  // (x, y) by field 2 and by field 4, summed
  int32_t nq = 0, qi[4], qj[4];
  double qv[4];
  ASSERT_EQ(VLR_getqconk(task(), 0, 4, &nq, qi, qj, qv), VLR_RES_OK);
  ASSERT_EQ(nq, 1);  // the same pair twice is summed
  EXPECT_EQ(qi[0], 1);
  EXPECT_EQ(qj[0], 0);
  EXPECT_EQ(qv[0], 4);
  int32_t type = 0, nm = 0, mem[3];
  ASSERT_EQ(VLR_getcone(task(), 0, &type, nullptr, &nm, mem), VLR_RES_OK);
  EXPECT_EQ(type, VLR_CT_QUAD);
  ASSERT_EQ(nm, 2);
  EXPECT_EQ(mem[0], 2);
  int32_t numq = 0;
  VLR_getintinf(task(), VLR_IINF_RD_NUMQ, &numq);
  EXPECT_EQ(numq, 2);
  // The first pass sized every array: nothing grew while the second stored.
  EXPECT_EQ(vlr::VLR_taskcast(task())->data->numexpand, 0);
}

struct BadCase {
  const char* what;
  std::string text;
  int32_t code;
  int32_t line;  // 0: not checked
};

std::vector<BadCase> BadCases() {
  const std::string head = "NAME\nROWS\n N  obj\n G  r\nCOLUMNS\n" + F("", "x", "r", "1");
  return {
      {"unknown section", head + "FOO\nENDATA\n", VLR_RES_ERR_MPS_INV_FIELD, 7},
      {"lower case exponent", head + F("", "y", "r", "1.5d3") + "ENDATA\n",
       VLR_RES_ERR_MPS_INV_FIELD, 7},
      {"nan", head + F("", "y", "r", "nan") + "ENDATA\n", VLR_RES_ERR_MPS_INV_FIELD, 7},
      {"inf", head + F("", "y", "r", "-inf") + "ENDATA\n", VLR_RES_ERR_MPS_INV_FIELD, 7},
      {"overflow", head + F("", "y", "r", "1e999") + "ENDATA\n", VLR_RES_ERR_MPS_INV_FIELD, 7},
      {"hexadecimal", head + F("", "y", "r", "0x10") + "ENDATA\n", VLR_RES_ERR_MPS_INV_FIELD, 7},
      {"tab in a fixed name", head + F("", "y\tz", "r", "1") + "ENDATA\n",
       VLR_RES_ERR_MPS_TAB_IN_FIELD2, 7},
      {"text between fields", head + "    y         r         1   junk\nENDATA\n",
       VLR_RES_ERR_MPS_INV_FIELD, 7},
      {"truncated name", head + "    y         \nRHS\n    rhs       q\nENDATA\n",
       VLR_RES_ERR_MPS_UNDEF_CON_NAME, 9},
      {"duplicate row", "ROWS\n N  obj\n G  r\n L  r\nENDATA\n", VLR_RES_ERR_MPS_MUL_CON_NAME, 4},
      {"bad row key", "ROWS\n N  obj\n Q  r\nENDATA\n", VLR_RES_ERR_MPS_INV_CON_KEY, 3},
      {"empty row name", "ROWS\n N  obj\n G\nENDATA\n", VLR_RES_ERR_MPS_NULL_CON_NAME, 3},
      {"no objective", "ROWS\n G  r\nCOLUMNS\nENDATA\n", VLR_RES_ERR_MPS_NO_OBJECTIVE, 3},
      {"rhs before columns", "ROWS\n N  obj\nRHS\nCOLUMNS\nENDATA\n", VLR_RES_ERR_MPS_INV_SEC_ORDER,
       4},
      {"second rhs", head + "RHS\nRHS\nENDATA\n", VLR_RES_ERR_MPS_INV_SEC_ORDER, 8},
      {"quadobj before columns", "ROWS\n N  obj\nQUADOBJ\nENDATA\n", VLR_RES_ERR_MPS_INV_SEC_ORDER,
       3},
      {"missing endata", head, VLR_RES_ERR_END_OF_FILE, 6},
      {"empty file", "", VLR_RES_ERR_END_OF_FILE, 0},
      {"data before a section", " N  obj\nENDATA\n", VLR_RES_ERR_MPS_FILE, 1},
      {"split column", head + F("", "y", "r", "1") + F("", "x", "r", "1") + "ENDATA\n",
       VLR_RES_ERR_MPS_SPLITTED_VAR, 8},
      {"undefined row", head + F("", "y", "s", "1") + "ENDATA\n", VLR_RES_ERR_MPS_UNDEF_CON_NAME,
       7},
      {"bad marker",
       head + F("", "M", "'MARKER'", "", "'INTORG'") + F("", "M", "'MARKER'", "", "'INTFOO'") +
           "ENDATA\n",
       VLR_RES_ERR_MPS_INV_MARKER, 8},
      {"unknown bound column", head + "BOUNDS\n" + F("UP", "B", "nox", "1") + "ENDATA\n",
       VLR_RES_ERR_MPS_UNDEF_VAR_NAME, 8},
      {"bad bound type", head + "BOUNDS\n" + F("XX", "B", "x", "1") + "ENDATA\n",
       VLR_RES_ERR_MPS_INV_BOUND_KEY, 8},
      {"empty rhs row", head + "RHS\n" + F("", "rhs", "", "1") + "ENDATA\n",
       VLR_RES_ERR_MPS_NULL_CON_NAME, 8},
      {"bad sense", "OBJSENSE\n    UP\nENDATA\n", VLR_RES_ERR_MPS_INVALID_OBJSENSE, 2},
      {"bad objective name", "OBJNAME\n    foo\nROWS\n N  obj\nENDATA\n",
       VLR_RES_ERR_MPS_INVALID_OBJ_NAME, 5},
      {"two q sections of a row",
       head + "QSECTION      r\n" + F("", "x", "x", "1") + "QSECTION      r\nENDATA\n",
       VLR_RES_ERR_MPS_MUL_QSEC, 9},
      {"cone type", head + Cone("k", "CUBE") + "ENDATA\n", VLR_RES_ERR_MPS_CONE_TYPE, 7},
      {"cone repeat", head + Cone("k", "QUAD") + F("", "x") + F("", "x") + "ENDATA\n",
       VLR_RES_ERR_MPS_CONE_REPEAT, 9},
      {"cone overlap",
       head + Cone("k", "QUAD") + F("", "x") + Cone("l", "QUAD") + F("", "x") + "ENDATA\n",
       VLR_RES_ERR_MPS_CONE_OVERLAP, 10},
      {"same cone name", head + Cone("k", "QUAD") + F("", "x") + Cone("k", "QUAD") + "ENDATA\n",
       VLR_RES_ERR_MPS_MUL_CSEC, 9},
      {"binary garbage", std::string("\x7f\x01\xff\xfe\x00\x13garbage\n\x80\x81", 17), 0, 1},
      {"huge name", "ROWS\n N  " + std::string(5000, 'a') + "\nENDATA\n", VLR_RES_ERR_MPS_FILE, 2},
  };
}

TEST_F(MpsTest, MalformedFilesGiveTheirCodeAndLineAndLeaveTheTaskUsable) {
  ASSERT_EQ(ReadText(kTiny), VLR_RES_OK);
  const std::string good = Dump(task());
  for (const BadCase& c : BadCases()) {
    SCOPED_TRACE(c.what);
    const int32_t r = ReadText(c.text);
    if (c.code != 0) {
      EXPECT_EQ(r, c.code) << LastError(task());
    } else {
      EXPECT_GE(r, 1000);
    }
    if (c.line > 0) {
      const std::string at = "The error occured at line(" + std::to_string(c.line) + "):";
      EXPECT_NE(err_.All().find(at), std::string::npos) << err_.All();
    }
    int32_t m = -1;
    EXPECT_EQ(VLR_getnumcon(task(), &m), VLR_RES_OK);
    // An OBJNAME section sets the parameter, which outlives the read.
    VLR_putstrparam(task(), VLR_SPAR_READ_MPS_OBJ_NAME, "");
    ASSERT_EQ(ReadText(kTiny), VLR_RES_OK);
    EXPECT_EQ(Dump(task()), good);
  }
}

TEST_F(MpsTest, LineEndsWidthsAndFormsOfTheSplitter) {
  std::string crlf;
  for (char ch : kTiny) {
    if (ch == '\n') crlf += '\r';
    crlf += ch;
  }
  ASSERT_EQ(ReadText(kTiny), VLR_RES_OK);
  const std::string lf = Dump(task());
  ASSERT_EQ(ReadText(crlf), VLR_RES_OK) << LastError(task());
  EXPECT_EQ(Dump(task()), lf);
  // A line longer than the width is refused with its line number.
  VLR_putintparam(task(), VLR_IPAR_READ_MPS_WIDTH, 40);
  EXPECT_EQ(ReadText(kTiny), VLR_RES_ERR_MPS_FILE);
  EXPECT_NE(err_.All().find("line(9)"), std::string::npos) << err_.All();
  VLR_putintparam(task(), VLR_IPAR_READ_MPS_WIDTH, 1024);
  // A number that runs past its columns reads in the relaxed form, not in the strict one.
  const std::string longnum = std::string("ROWS\n N  obj\n G  r\nCOLUMNS\n") +
                              "    x         r         1.00000000000001\nENDATA\n";
  ASSERT_EQ(ReadText(longnum), VLR_RES_OK);
  VLR_putintparam(task(), VLR_IPAR_READ_MPS_FORMAT, VLR_MPS_FORMAT_STRICT);
  EXPECT_EQ(ReadText(longnum), VLR_RES_ERR_MPS_INV_FIELD);
  // Free form: too many tokens.
  VLR_putintparam(task(), VLR_IPAR_READ_MPS_FORMAT, VLR_MPS_FORMAT_FREE);
  EXPECT_EQ(ReadText("ROWS\n N obj\nCOLUMNS\n x obj 1 obj 2 3 4\nENDATA\n"), VLR_RES_ERR_MPS_FILE);
}

TEST_F(MpsTest, GzipFilesTruncatedStreamsAndPlainFilesNamedGz) {
  const std::string gz = TmpPath("tiny.mps.gz");
  ASSERT_EQ(ReadText(kTiny), VLR_RES_OK);
  const std::string plain = Dump(task());
  gzFile g = gzopen(gz.c_str(), "wb9");
  ASSERT_NE(g, nullptr);
  gzwrite(g, kTiny.data(), static_cast<unsigned>(kTiny.size()));
  gzclose(g);
  ASSERT_EQ(VLR_readdata(task(), gz.c_str()), VLR_RES_OK);
  EXPECT_EQ(Dump(task()), plain);
  const std::string bytes = ReadFile(gz);
  WriteFile(TmpPath("cut.mps.gz"), bytes.substr(0, bytes.size() / 2));
  EXPECT_NE(VLR_readdata(task(), TmpPath("cut.mps.gz").c_str()), VLR_RES_OK);
  ASSERT_EQ(ReadText(kTiny, "plain.mps.gz"), VLR_RES_OK);
  EXPECT_EQ(Dump(task()), plain);
}

TEST(DataFileExt, RightmostKnownExtensionAndFileNames) {
  const struct {
    const char* name;
    int32_t row;
  } cases[] = {
      {"model.mps.gz", 1}, {"x.Mps.GZ", 1}, {"model.lp.old", 2}, {"x.fmps", 5}, {"x", 6},
      {"dir.lp/x", 6},     {"x.opf", 3},    {"x.mpsx", 6},       {"", 6},       {"a.xml.lp", 2}};
  for (const auto& c : cases) {
    int32_t row = -1;
    vlr::VLR_lastfileext(0, vlr::kReadExtTable, c.name, &row);
    EXPECT_EQ(row, c.row) << c.name;
  }
  int32_t row = -1;
  vlr::VLR_lastfileext(1, vlr::kReadExtTable, "x.MPS", &row);
  EXPECT_EQ(row, 6);
  vlr::VLR_lastfileext(0, vlr::kCompressExtTable, "x.Mps.GZ", &row);
  EXPECT_EQ(row, 0);
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 0, nullptr, nullptr, nullptr);
  char* out = nullptr;
  ASSERT_EQ(vlr::VLR_replacefileext(sys, "a/b.c/model.mps", "sol", &out), vlr::kSysOk);
  EXPECT_STREQ(out, "a/b.c/model.sol");
  vlr::VLR_sysenv_freedbg(sys, VLR_HERE, out);
  ASSERT_EQ(vlr::VLR_replacefileext(sys, "a.b/model", "sol", &out), vlr::kSysOk);
  EXPECT_STREQ(out, "a.b/model.sol");
  vlr::VLR_sysenv_freedbg(sys, VLR_HERE, out);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysOk);
}

TEST(MpsNumber, WriterTextAndReaderText) {
  char buf[64];
  const struct {
    double x;
    const char* text;
  } out[] = {{0, "0"},     {1000, "1.e+03"}, {0.5, "0.5"},
             {50, "50"},   {0.1, "1.e-01"},  {-2.5e-7, "-2.5e-07"},
             {100, "100"}, {12.25, "12.25"}, {-1e30, "-1.e+30"}};
  for (const auto& c : out) {
    vlr::VLR_realtostr(c.x, 8, buf, sizeof buf);
    EXPECT_STREQ(buf, c.text) << c.x;
  }
  double v = 0;
  const struct {
    const char* text;
    double value;
  } in[] = {{"1.5D3", 1500}, {".5", 0.5},     {"-.5", -0.5}, {"+.25", 0.25},
            {"1.", 1},       {"1 000", 1000}, {"1e-999", 0}};
  for (const auto& c : in) {
    ASSERT_TRUE(vlr::VLR_rm_strtonum(c.text, &v)) << c.text;
    EXPECT_EQ(v, c.value) << c.text;
  }
  for (const char* bad : {"1.5d3", "nan", "inf", "1e999", "0x1p3", "", "+", "1e", "--1", "1.2.3"})
    EXPECT_FALSE(vlr::VLR_rm_strtonum(bad, &v)) << bad;
}

TEST_F(MpsTest, WriterLayoutIsExact) {
  ASSERT_EQ(ReadText(kTiny), VLR_RES_OK);
  VLR_putvartype(task(), 2, VLR_VAR_TYPE_INT);
  VLR_putcfix(task(), 5);
  const std::string path = TmpPath("layout.mps");
  ASSERT_EQ(VLR_writedata(task(), path.c_str()), VLR_RES_OK) << LastError(task());
  const std::string expect =
      "NAME           TINY\n"
      "* Written by VELOR version 6.0.0.148\n"
      "OBJSENSE\n    MIN\n"
      "ROWS\n N  COST\n G  LIM1    \n G  LIM2    \n G  MYEQN   \n"
      "COLUMNS\n"
      "    X1        COST      1\n    X1        LIM1      1\n    X1        LIM2      1\n"
      "    X2        COST      2\n    X2        LIM1      1\n    X2        MYEQN     -1\n"
      "    X3        COST      -1\n    X3        MYEQN     1\n"
      "RHS\n    rhs       COST      -5\n    rhs       LIM1      1.5\n    rhs       LIM2      1\n"
      "    rhs       MYEQN     5\n"
      "RANGES\n    ran       LIM1      2.5\n    ran       LIM2      3\n    ran       MYEQN     2\n"
      "BOUNDS\n UP bound     X1        4\n MI bound     X2      \n UP bound     X2        1\n"
      " LI bound     X3        0\n"
      "ENDATA\n";
  EXPECT_EQ(ReadFile(path), expect);
  // The constant written as -5 on the objective row reads back as 5.
  ASSERT_EQ(VLR_readdata(task(), path.c_str()), VLR_RES_OK);
  double cfix = 0;
  VLR_getcfix(task(), &cfix);
  EXPECT_EQ(cfix, 5);
}

TEST_F(MpsTest, UnnamedItemsAreWrittenWithGenericNames) {
  ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 2), VLR_RES_OK);
  ASSERT_EQ(VLR_append(task(), VLR_ACC_CON, 1), VLR_RES_OK);
  ASSERT_EQ(VLR_putaij(task(), 0, 1, 3), VLR_RES_OK);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_CON, 0, VLR_BK_UP, 0, 4), VLR_RES_OK);
  Collector wrn;
  VLR_linkfunctotaskstream(task(), VLR_STREAM_WRN, &wrn, Collector::Func);
  const std::string path = TmpPath("generic.mps");
  ASSERT_EQ(VLR_writedata(task(), path.c_str()), VLR_RES_OK);
  EXPECT_NE(wrn.All().find("generic names"), std::string::npos) << wrn.All();
  const std::string text = ReadFile(path);
  EXPECT_EQ(text.rfind("NAME\n", 0), 0u);  // no task name: the NAME line alone
  EXPECT_NE(text.find("    x2        c1        3"), std::string::npos) << text;
  EXPECT_NE(text.find(" N  obj"), std::string::npos) << text;
}

TEST_F(MpsTest, CompressionByNameOrParameterAndFormatsWithoutReader) {
  ASSERT_EQ(ReadText(kTiny), VLR_RES_OK);
  const std::string base = TmpPath("comp.mps");
  std::remove((base + ".gz").c_str());
  VLR_putintparam(task(), VLR_IPAR_WRITE_DATA_COMPRESSED, 1);
  ASSERT_EQ(VLR_writedata(task(), base.c_str()), VLR_RES_OK);
  const std::string bytes = ReadFile(base + ".gz");
  ASSERT_GE(bytes.size(), 2u);
  EXPECT_EQ(static_cast<unsigned char>(bytes[0]), 0x1f);  // the gzip magic
  VLR_putintparam(task(), VLR_IPAR_WRITE_DATA_COMPRESSED, 0);
  const std::string named = TmpPath("named.MPS.GZ");
  ASSERT_EQ(VLR_writedata(task(), named.c_str()), VLR_RES_OK);
  EXPECT_EQ(static_cast<unsigned char>(ReadFile(named)[0]), 0x1f);
  const std::string tiny = Dump(task());
  ASSERT_EQ(VLR_readdata(task(), named.c_str()), VLR_RES_OK);
  EXPECT_EQ(Dump(task()), tiny);
  // An XML file can be written by name but never read; a ".lp" name goes to the LP reader.
  EXPECT_EQ(ReadText(kTiny, "t.xml"), VLR_RES_ERR_READ_FORMAT);
  EXPECT_EQ(ReadText(kTiny, "t.lp"), VLR_RES_ERR_LP_FILE_FORMAT);
  EXPECT_EQ(VLR_readdata(task(), TmpPath("does-not-exist.mps").c_str()), VLR_RES_ERR_FILE_OPEN);
  EXPECT_EQ(VLR_writedata(task(), ""), VLR_RES_ERR_FILE_OPEN);
  // Without an extension a file is MPS both ways.
  ASSERT_EQ(ReadText(kTiny), VLR_RES_OK);
  ASSERT_EQ(VLR_writedata(task(), TmpPath("noext").c_str()), VLR_RES_OK);
  ASSERT_EQ(VLR_readdata(task(), TmpPath("noext").c_str()), VLR_RES_OK);
  EXPECT_EQ(Dump(task()), tiny);
}

TEST_F(MpsTest, RoundTripKeepsIntegersQuadraticTermsAndCones) {
  vlrtest::LoadSmallLp(task());
  const char* vars[] = {"a", "b", "c", "d"};
  for (int32_t j = 0; j < 4; ++j)
    ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, j, vars[j]), VLR_RES_OK);
  for (int32_t i = 0; i < 3; ++i)
    ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, i, ("row" + std::to_string(i)).c_str()), VLR_RES_OK);
  ASSERT_EQ(VLR_putobjname(task(), "cost"), VLR_RES_OK);
  ASSERT_EQ(VLR_putobjsense(task(), VLR_OBJECTIVE_SENSE_MAXIMIZE), VLR_RES_OK);
  ASSERT_EQ(VLR_putvartype(task(), 1, VLR_VAR_TYPE_INT), VLR_RES_OK);
  ASSERT_EQ(VLR_putbound(task(), VLR_ACC_VAR, 3, VLR_BK_FR, 0, 0), VLR_RES_OK);
  const int32_t qi[3] = {0, 1, 2}, qj[3] = {0, 0, 2};
  const double qv[3] = {2, -1, 0.25};
  ASSERT_EQ(VLR_putqobj(task(), 3, qi, qj, qv), VLR_RES_OK);
  ASSERT_EQ(VLR_putqconk(task(), 2, 2, qi, qj, qv), VLR_RES_OK);
  const int32_t mem[2] = {3, 0};
  ASSERT_EQ(VLR_appendcone(task(), VLR_CT_QUAD, 0.0, 2, mem), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_CONE, 0, "k0"), VLR_RES_OK);
  const std::string before = Dump(task());
  for (const char* name : {"rt.mps", "rt.mps.gz"}) {
    const std::string path = TmpPath(name);
    ASSERT_EQ(VLR_writedata(task(), path.c_str()), VLR_RES_OK) << LastError(task());
    auto back = vlrtest::MakeTask(env_.get());
    VLR_putintparam(back.get(), VLR_IPAR_LOG, 0);
    ASSERT_EQ(VLR_readdata(back.get(), path.c_str()), VLR_RES_OK) << LastError(back.get());
    EXPECT_EQ(Dump(back.get()), before) << name;
  }
}

TEST_F(MpsTest, SolutionFileListsStatusesAndEveryItem) {
  vlrtest::LoadSmallLp(task());
  const std::string path = TmpPath("small.sol");
  EXPECT_EQ(VLR_writesolution(task(), VLR_SOL_BAS, path.c_str()), VLR_RES_ERR_UNDEF_SOLUTION);
  const int32_t skc[3] = {VLR_SK_FIX, VLR_SK_BAS, VLR_SK_UPR};
  const int32_t skx[4] = {VLR_SK_LOW, VLR_SK_UPR, VLR_SK_BAS, VLR_SK_BAS};
  const double xc[3] = {30, 20, 25}, xx[4] = {0, 10, 3, 4}, y[3] = {-2.5, 0, 0.5};
  ASSERT_EQ(VLR_putsolution(task(), VLR_SOL_BAS, skc, skx, nullptr, xc, xx, y, nullptr, nullptr,
                            nullptr, nullptr, nullptr),
            VLR_RES_OK);
  ASSERT_EQ(VLR_putsolsta(task(), VLR_SOL_BAS, VLR_SOL_STA_OPTIMAL), VLR_RES_OK);
  ASSERT_EQ(VLR_writesolution(task(), VLR_SOL_BAS, path.c_str()), VLR_RES_OK) << LastError(task());
  const std::string text = ReadFile(path);
  EXPECT_NE(text.find("SOLUTION STATUS     : OPTIMAL"), std::string::npos) << text;
  EXPECT_NE(text.find("PRIMAL OBJECTIVE    :"), std::string::npos) << text;
  EXPECT_NE(text.find("CONSTRAINTS\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\n2          c2                   UPR 2.5000000000e+01   NONE"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("\n1          x1                   UPR 1.0000000000e+01   0.0000000000e+00"),
            std::string::npos)
      << text;
  EXPECT_EQ(VLR_writesolution(task(), 7, path.c_str()), VLR_RES_ERR_WHICHSOL);
}

// Reading and writing with the k-th allocation failing: a clean space error each time, a task
// that can still be deleted, and no block left behind.
TEST(MpsMemfail, ReadAndWriteFailCleanlyAtEveryAllocation) {
  const std::string path = TmpPath("memfail.mps"), out = TmpPath("memfail_out.mps");
  WriteFile(path, kTiny);
  for (int32_t write = 0; write <= 1; ++write) {
    for (int64_t k = 0;; ++k) {
      vlrtest::g_left = -1;
      VLRenv_t env = nullptr;
      ASSERT_EQ(VLR_makeenv(&env, nullptr, vlrtest::FailingMalloc, vlrtest::CountingFree,
                            vlrtest::DbgFile()),
                VLR_RES_OK);
      ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
      VLRtask_t task = nullptr;
      ASSERT_EQ(VLR_maketask(env, 0, 0, &task), VLR_RES_OK);
      VLR_putintparam(task, VLR_IPAR_LOG, 0);
      if (write) {
        ASSERT_EQ(VLR_readdata(task, path.c_str()), VLR_RES_OK);
      }
      vlrtest::g_left = k;
      const int32_t r = write ? VLR_writedata(task, out.c_str()) : VLR_readdata(task, path.c_str());
      vlrtest::g_left = -1;
      // The file record's own allocation failing is reported by the open as a failed open.
      if (r != VLR_RES_OK) {
        EXPECT_TRUE(r == VLR_RES_ERR_SPACE || r == VLR_RES_ERR_FILE_OPEN) << r << " k = " << k;
      }
      int32_t m = -1;
      EXPECT_EQ(VLR_getnumcon(task, &m), VLR_RES_OK);
      ASSERT_EQ(VLR_deletetask(&task), VLR_RES_OK) << "k = " << k;
      ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
      ASSERT_EQ(vlrtest::g_live, 0) << "k = " << k;
      if (r == VLR_RES_OK) break;
    }
  }
}

}  // namespace
