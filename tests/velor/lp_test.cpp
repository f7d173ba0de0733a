// tests/velor/lp_test.cpp: the LP format: the grammar's pieces, malformed files with their codes
// and places, the writer's names and sections, and round trips from MPS through LP.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "fixture.h"
#include "taskdump.h"
#include "velor/lpfile.h"

namespace {

using vlrtest::ReadFile;
using vlrtest::WriteFile;

using vlrtest::Collector;
using vlrtest::Dump;
using vlrtest::LastError;
using vlrtest::TmpPath;

// Free MPS with every thing the LP format carries: ranges, all bound kinds, integers, a constant
// objective term, Q in the objective and in a constraint, and names that need quotes in LP.
const char* const kRich =
    "NAME RICH\n"
    "ROWS\n N COST\n L LIM1\n G LIM2\n E MYEQN\n L QC\n G 1R\n N FREE2\n"
    "COLUMNS\n"
    " X1 COST 1 LIM1 1\n X1 LIM2 1\n X1 1R 0.1\n"
    " M1 'MARKER' 'INTORG'\n"
    " X2 COST 2 LIM1 1\n X2 MYEQN -1\n"
    " BIN COST 1\n"
    " M2 'MARKER' 'INTEND'\n"
    " X3 COST -1.25 MYEQN 1\n X3 QC 1\n"
    " 2y COST 3.3333333333333335 1R -7e-5\n"
    " e5 LIM2 1e+3\n"
    " end COST 0 FREE2 1\n"
    " Fr LIM1 -1\n"
    "RHS\n RHS COST 5 LIM1 4\n RHS LIM2 1 MYEQN 7\n RHS QC 10 1R -2\n"
    "RANGES\n RNG LIM1 2.5 MYEQN -2\n"
    "BOUNDS\n UP BND X1 4\n MI BND X2\n UP BND X2 1\n BV BND BIN\n FX BND X3 2.5\n"
    " LO BND 2y -3\n FR BND end\n MI BND Fr\n"
    "QUADOBJ\n X1 X1 2\n X3 X1 0.5\n"
    "QSECTION QC\n X3 X3 1\n 2y X3 -0.75\n"
    "ENDATA\n";

class LpTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env_ = vlrtest::MakeEnv();
    task_ = vlrtest::MakeTask(env_.get());
    VLR_putintparam(task(), VLR_IPAR_LOG, 0);
    ASSERT_EQ(VLR_linkfunctotaskstream(task(), VLR_STREAM_ERR, &err_, Collector::Func), 0);
  }
  VLRtask_t task() { return task_.get(); }
  int32_t ReadText(const std::string& text, const char* name = "t.lp") {
    err_.lines.clear();
    const std::string path = TmpPath(name);
    WriteFile(path, text);
    return VLR_readdata(task(), path.c_str());
  }
  // Writes the task as LP and gives the text.
  std::string WriteLp(int32_t* code = nullptr) {
    const std::string path = TmpPath("w.lp");
    std::remove(path.c_str());
    const int32_t r = VLR_writedata(task(), path.c_str());
    if (code != nullptr) *code = r;
    return r == VLR_RES_OK ? ReadFile(path) : "";
  }
  int32_t NumVar() {
    int32_t n = -1;
    VLR_getnumvar(task(), &n);
    return n;
  }
  std::string VarName(int32_t j) {
    char name[256] = {0};
    VLR_getvarname(task(), j, sizeof name, name);
    return name;
  }
  void ExpectBound(int32_t acc, int32_t i, int32_t bk, double bl, double bu) {
    int32_t k = -1;
    double l = 0, u = 0;
    ASSERT_EQ(VLR_getbound(task(), acc, i, &k, &l, &u), VLR_RES_OK);
    EXPECT_EQ(k, bk) << (acc == VLR_ACC_CON ? "con " : "var ") << i;
    EXPECT_EQ(l, bl) << i;
    EXPECT_EQ(u, bu) << i;
  }
  double Aij(int32_t i, int32_t j) {
    double a = 0;
    EXPECT_EQ(VLR_getaij(task(), i, j, &a), VLR_RES_OK);
    return a;
  }
  double Qobj(int32_t i, int32_t j) {
    double q = 0;
    EXPECT_EQ(VLR_getqobjij(task(), i, j, &q), VLR_RES_OK);
    return q;
  }
  vlrtest::EnvPtr env_;
  vlrtest::TaskPtr task_;
  Collector err_;
};

constexpr double kInf = VLR_INFINITY;

TEST_F(LpTest, ObjectiveConstraintsBoundsAndIntegersAreStored) {
  ASSERT_EQ(ReadText("\\ a comment line\n"
                     "MAXIMIZE\n profit: 3 x + 2.5e0 y - z \\ trailing comment\n"
                     "Subject   To\n"
                     " c1: x + y <= 4\n"
                     " c2 : - x + 2 y >= -1\n"
                     " c3: z - x = 0\n"
                     " r1:: -2 <= x - y <= 3.5\n"
                     " r2 :: 1 >= y >= -inf\n"
                     " x + z >= -infinity\n"
                     "Bounds\n -infinity <= x <= 10\n 1 <= y <= +infinity\n z free\n"
                     " w = 2\n -5 <= v <= 5\n u <= 7\n"
                     "binary\n b\ngeneral\n v u\n"
                     "End\n"),
            VLR_RES_OK)
      << LastError(task());
  int32_t sense = 0, m = 0;
  VLR_getobjsense(task(), &sense);
  EXPECT_EQ(sense, VLR_OBJECTIVE_SENSE_MAXIMIZE);
  char name[64];
  VLR_getobjname(task(), sizeof name, nullptr, name);
  EXPECT_STREQ(name, "profit");
  // Variables come into being at their first use, in that order.
  ASSERT_EQ(NumVar(), 7);
  const char* order[] = {"x", "y", "z", "w", "v", "u", "b"};
  for (int32_t j = 0; j < 7; ++j)
    EXPECT_EQ(VarName(j), order[j]);
  double c[3];
  VLR_getcslice(task(), 0, 3, c);
  EXPECT_EQ(c[0], 3);
  EXPECT_EQ(c[1], 2.5);
  EXPECT_EQ(c[2], -1);
  VLR_getnumcon(task(), &m);
  ASSERT_EQ(m, 6);
  ExpectBound(VLR_ACC_CON, 0, VLR_BK_UP, -kInf, 4);
  ExpectBound(VLR_ACC_CON, 1, VLR_BK_LO, -1, kInf);
  ExpectBound(VLR_ACC_CON, 2, VLR_BK_FX, 0, 0);
  ExpectBound(VLR_ACC_CON, 3, VLR_BK_RA, -2, 3.5);
  ExpectBound(VLR_ACC_CON, 4, VLR_BK_UP, -kInf, 1);  // a double label with one side only
  ExpectBound(VLR_ACC_CON, 5, VLR_BK_FR, -kInf, kInf);
  VLR_getconname(task(), 1, sizeof name, name);
  EXPECT_STREQ(name, "c2");
  VLR_getconname(task(), 4, sizeof name, name);
  EXPECT_STREQ(name, "r2");
  EXPECT_EQ(Aij(1, 0), -1);
  EXPECT_EQ(Aij(1, 1), 2);
  EXPECT_EQ(Aij(3, 1), -1);
  ExpectBound(VLR_ACC_VAR, 0, VLR_BK_UP, -kInf, 10);
  ExpectBound(VLR_ACC_VAR, 1, VLR_BK_LO, 1, kInf);
  ExpectBound(VLR_ACC_VAR, 2, VLR_BK_FR, -kInf, kInf);
  ExpectBound(VLR_ACC_VAR, 3, VLR_BK_FX, 2, 2);
  ExpectBound(VLR_ACC_VAR, 4, VLR_BK_RA, -5, 5);
  ExpectBound(VLR_ACC_VAR, 5, VLR_BK_RA, 0, 7);  // one side given; the lower 0 stays
  ExpectBound(VLR_ACC_VAR, 6, VLR_BK_RA, 0, 1);
  int32_t type = -1, numint = 0;
  VLR_getvartype(task(), 6, &type);
  EXPECT_EQ(type, VLR_VAR_TYPE_INT);
  VLR_getvartype(task(), 5, &type);
  EXPECT_EQ(type, VLR_VAR_TYPE_INT);
  VLR_getvartype(task(), 0, &type);
  EXPECT_EQ(type, VLR_VAR_TYPE_CONT);
  VLR_getintinf(task(), VLR_IINF_RD_NUMINTVAR, &numint);
  EXPECT_EQ(numint, 3);
}

TEST_F(LpTest, KeywordsLabelsAndNamesFollowTheTokenRules) {
  // "subject" before another word is a name; "s.t." and "st" open the constraints; keywords ignore
  // case; a name may hold the name characters; a quoted name may hold anything but a quote.
  ASSERT_EQ(ReadText("min\n subject + x.1 + \"a b:c\" + _k{}|~(!)\ns.t.\n x.1 >= 1\nEND"),
            VLR_RES_OK)
      << LastError(task());
  ASSERT_EQ(NumVar(), 4);
  EXPECT_EQ(VarName(0), "subject");
  EXPECT_EQ(VarName(1), "x.1");
  EXPECT_EQ(VarName(2), "a b:c");
  EXPECT_EQ(VarName(3), "_k{}|~(!)");
  char name[64];
  VLR_getobjname(task(), sizeof name, nullptr, name);
  EXPECT_STREQ(name, "obj");  // no label
  ASSERT_EQ(ReadText("minimum\n o: x\nsubj to\n \"q r\" : x >= 1\nst\n k: x <= 2\nend"),
            VLR_RES_OK);
  VLR_getconname(task(), 0, sizeof name, name);
  EXPECT_STREQ(name, "q r");
  // The "to" test looks at two letters only: "subject tomato" opens the constraints before "mato".
  ASSERT_EQ(ReadText("min x\nsubject tomato >= 1\nend"), VLR_RES_OK) << LastError(task());
  EXPECT_EQ(VarName(1), "mato");
  // "1.5d3" is the number 1.5 and the variable "d3".
  ASSERT_EQ(ReadText("min 1.5d3\nst\n d3 >= 0\nend"), VLR_RES_OK);
  EXPECT_EQ(VarName(0), "d3");
  double c = 0;
  VLR_getcslice(task(), 0, 1, &c);
  EXPECT_EQ(c, 1.5);
  // A variable named twice adds up, and a file may end right after "end".
  ASSERT_EQ(ReadText("min x + 2 x - 0.5 x\nst\n c: x + x >= 1\nend"), VLR_RES_OK);
  VLR_getcslice(task(), 0, 1, &c);
  EXPECT_EQ(c, 2.5);
  EXPECT_EQ(Aij(0, 0), 2);
  // CR LF line ends read like LF.
  ASSERT_EQ(ReadText("min\r\n x\r\nst\r\n c: x >= 1\r\nend\r\n"), VLR_RES_OK);
}

TEST_F(LpTest, QuadraticBlocksHalveProductsOrIndices) {
  ASSERT_EQ(ReadText("min [ x^2 ]/2 + [ 2 x*y - 3 z ^ 25 ] / 2\nst\n c: x >= 0\nend"), VLR_RES_OK)
      << LastError(task());
  EXPECT_EQ(Qobj(0, 0), 1);   // "[ x^2 ]/2" stores 1 for the pair of x
  EXPECT_EQ(Qobj(1, 0), 1);   // "[ 2 x*y ]/2" stores 1, the larger index first
  EXPECT_EQ(Qobj(2, 2), -3);  // only the first digit of the exponent counts
  int32_t nq = 0;
  VLR_getnumqobjnz(task(), &nq);
  EXPECT_EQ(nq, 3);
  // Without "/2" the values stay and the indices are halved: (3, 2) becomes (1, 1).
  ASSERT_EQ(ReadText("min a + b + c + [ d * c ]\nst\n k: a >= 0\nend"), VLR_RES_OK);
  VLR_getnumqobjnz(task(), &nq);
  EXPECT_EQ(nq, 1);
  EXPECT_EQ(Qobj(1, 1), 0.5);
  // A block in a constraint is that constraint's Q.
  ASSERT_EQ(ReadText("min x\nst\n q: x + [ x^2 + 4 x * y ]/2 <= 1\nend"), VLR_RES_OK);
  int32_t qi[4], qj[4];
  double qv[4];
  ASSERT_EQ(VLR_getqconk(task(), 0, 4, &nq, qi, qj, qv), VLR_RES_OK);
  ASSERT_EQ(nq, 2);
  EXPECT_EQ(qi[0] + qi[1], 1);
  EXPECT_EQ(qv[0] + qv[1], 3);
}

TEST_F(LpTest, MalformedFilesGiveTheirCodeAndPlaceAndLeaveTheTaskUsable) {
  struct Case {
    const char* text;
    int32_t code;
    const char* place;  // in the message; the first byte of line 1 is column 1, of later ones 2
  } cases[] = {
      {"", VLR_RES_ERR_LP_FILE_FORMAT, "(1:1)"},
      {"st\n x >= 1\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(1:1)"},
      {"min x\nst\n c: x >= 1\n", VLR_RES_ERR_READ_LP_MISSING_END_TAG, "line: 4"},
      {"min x\nst\n c: x + 3 >= 1\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:12)"},
      {"min x\nst\n c: x >= 1e999\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:11)"},
      {"min x\nst\n c: x >= 2e\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:11)"},
      {"min x\nst\n c: x >= +inf\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:11)"},
      {"min x\nst\n c:: -inf >= x <= 1\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:12)"},
      {"min x\nst\n c:: 1 <= x >= 0\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:17)"},
      {"min x\nst\n c: x = inf\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:10)"},
      {"min x\nst\n c: x\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(4:2)"},
      {"min x\nst\n c: x y >= 1\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:8)"},
      {"min [ x ^ 3 ]/2\nst\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(1:11)"},
      {"min [ x ^ 2 ]/3\nst\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(1:15)"},
      {"min [ x y ]/2\nst\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(1:9)"},
      {"min x\nst\n c: \"unclosed >= 1\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:6)"},
      {"min x\nst\n c: \"\" >= 1\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:6)"},
      {"min x\nbounds\n x <= 1 <= 2\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:10)"},
      {"min x\nbounds\n x >= +inf\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:8)"},
      {"min x\nbounds\n 3 x\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:5)"},
      {"min x\ngeneral\n 3\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(3:3)"},
      {"min x\nst\n c: x >= 1\nmax\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(4:2)"},
      {"min x\nst\n c: x >= 1\n\x01\x02\xff\nend", VLR_RES_ERR_LP_FILE_FORMAT, "(4:2)"},
      {"min x\nst\n c: x >= 1\n c: x >= 2\nend", VLR_RES_ERR_DUP_NAME, ""},
  };
  for (const Case& k : cases) {
    int32_t code = 0;
    EXPECT_EQ(ReadText(k.text), k.code) << k.text;
    const std::string msg = LastError(task(), &code);
    EXPECT_NE(msg.find(k.place), std::string::npos) << k.text << "\n" << msg;
    // The error stream names the file too, as file:line:column.
    if (k.code == VLR_RES_ERR_LP_FILE_FORMAT) {
      std::string where = k.place;  // "(l:c)" becomes "t.lp:l:c:"
      where = "t.lp:" + where.substr(1, where.size() - 2) + ":";
      EXPECT_NE(err_.All().find(where), std::string::npos) << k.text << "\n" << err_.All();
    }
    // The task keeps what was read before the error and takes a good file after it.
    ASSERT_EQ(ReadText("min x\nst\n c: x >= 1\nend"), VLR_RES_OK) << k.text;
    EXPECT_EQ(NumVar(), 1);
  }
  // A name far longer than a block of the buffer.
  const std::string huge(100000, 'n');
  ASSERT_EQ(ReadText("min " + huge + "\nst\n c: " + huge + " >= 1\nend"), VLR_RES_OK);
  int64_t len = 0;
  VLR_getnamelen64(task(), VLR_PI_VAR, 0, &len);
  EXPECT_EQ(len, 100000);
}

TEST_F(LpTest, CompressedFilesReadAndADamagedStreamIsAReadError) {
  const std::string text = "min x\nst\n c: x >= 1\nend\n";
  const std::string gz = TmpPath("t.lp.gz");
  gzFile f = gzopen(gz.c_str(), "wb9");
  ASSERT_NE(f, nullptr);
  gzwrite(f, text.data(), unsigned(text.size()));
  gzclose(f);
  ASSERT_EQ(VLR_readdata(task(), gz.c_str()), VLR_RES_OK) << LastError(task());
  const std::string packed = ReadFile(gz);
  WriteFile(gz, packed.substr(0, packed.size() / 2));
  EXPECT_EQ(VLR_readdata(task(), gz.c_str()), VLR_RES_ERR_FILE_READ);
  // A plain file named ".gz" reads as it is.
  WriteFile(gz, text);
  EXPECT_EQ(VLR_readdata(task(), gz.c_str()), VLR_RES_OK) << LastError(task());
}

TEST_F(LpTest, WriterQuotesOrRefusesNamesAndChecksTheProblem) {
  int32_t r = 0;
  EXPECT_EQ(WriteLp(&r), "");
  EXPECT_EQ(r, VLR_RES_ERR_LP_EMPTY);  // nothing to write
  vlrtest::LoadSmallLp(task());
  for (int32_t j = 0; j < 4; ++j) {
    const char* names[] = {"x", "2x", "end", "e1"};
    ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, j, names[j]), VLR_RES_OK);
  }
  for (int32_t i = 0; i < 3; ++i) {
    const char* names[] = {"c 1", "c2", "Subject"};
    ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, i, names[i]), VLR_RES_OK);
  }
  const std::string text = WriteLp(&r);
  ASSERT_EQ(r, VLR_RES_OK) << LastError(task());
  EXPECT_EQ(text.rfind("\\ Created by VELOR version", 0), 0u);
  EXPECT_NE(text.find("\"2x\""), std::string::npos);
  EXPECT_NE(text.find("\"end\""), std::string::npos);
  EXPECT_NE(text.find("\"e1\""), std::string::npos);
  EXPECT_NE(text.find(" \"c 1\": "), std::string::npos);
  EXPECT_NE(text.find(" \"Subject\": "), std::string::npos);
  EXPECT_NE(text.find(" + 2.00000000e+00 CFIX"), std::string::npos);  // the small problem's 2
  EXPECT_NE(text.find(" 1 <= CFIX <= 1\n"), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 4), "end\n");
  // Strict, a refused name is an error; quoting cannot hold a double quote.
  VLR_putintparam(task(), VLR_IPAR_WRITE_LP_STRICT_FORMAT, VLR_ON);
  WriteLp(&r);
  EXPECT_EQ(r, VLR_RES_ERR_LP_INVALID_VAR_NAME);
  VLR_putintparam(task(), VLR_IPAR_WRITE_LP_STRICT_FORMAT, VLR_OFF);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, 0, "a\"b"), VLR_RES_OK);
  WriteLp(&r);
  EXPECT_EQ(r, VLR_RES_ERR_LP_INVALID_CON_NAME);
  // Generic names are written unchecked.
  VLR_putintparam(task(), VLR_IPAR_WRITE_GENERIC_NAMES, VLR_ON);
  const std::string generic = WriteLp(&r);
  ASSERT_EQ(r, VLR_RES_OK);
  EXPECT_NE(generic.find(" c1: "), std::string::npos);
  EXPECT_EQ(generic.find("\""), std::string::npos);
  // A variable named CFIX makes the constant go, with a warning.
  VLR_putintparam(task(), VLR_IPAR_WRITE_GENERIC_NAMES, VLR_OFF);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, 0, "c1"), VLR_RES_OK);
  ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, 0, "CFIX"), VLR_RES_OK);
  Collector wrn;
  ASSERT_EQ(VLR_linkfunctotaskstream(task(), VLR_STREAM_WRN, &wrn, Collector::Func), 0);
  const std::string dropped = WriteLp(&r);
  ASSERT_EQ(r, VLR_RES_OK);
  EXPECT_EQ(dropped.find("<= CFIX <="), std::string::npos);
  EXPECT_NE(wrn.All().find(std::to_string(VLR_RES_WRN_WRITE_DISCARDED_CFIX)), std::string::npos);
  // Cones are refused unless incompatible items may be left out.
  const int32_t members[2] = {1, 2};
  ASSERT_EQ(VLR_appendcone(task(), VLR_CT_QUAD, 0.0, 2, members), VLR_RES_OK);
  WriteLp(&r);
  EXPECT_EQ(r, VLR_RES_ERR_LP_WRITE_CONIC_PROBLEM);
  VLR_putintparam(task(), VLR_IPAR_LP_WRITE_IGNORE_INCOMPATIBLE_ITEMS, VLR_ON);
  WriteLp(&r);
  EXPECT_EQ(r, VLR_RES_OK);
}

TEST_F(LpTest, LinesBreakByTermsAndWidth) {
  ASSERT_EQ(VLR_append(task(), VLR_ACC_VAR, 30), VLR_RES_OK);
  ASSERT_EQ(VLR_append(task(), VLR_ACC_CON, 1), VLR_RES_OK);
  for (int32_t j = 0; j < 30; ++j) {
    ASSERT_EQ(VLR_putname(task(), VLR_PI_VAR, j, ("v" + std::to_string(j)).c_str()), VLR_RES_OK);
    ASSERT_EQ(VLR_putcj(task(), j, 1.5), VLR_RES_OK);
    ASSERT_EQ(VLR_putaij(task(), 0, j, -1.0), VLR_RES_OK);
  }
  ASSERT_EQ(VLR_putname(task(), VLR_PI_CON, 0, "row"), VLR_RES_OK);
  VLR_putintparam(task(), VLR_IPAR_WRITE_LP_TERMS_PER_LINE, 4);
  int32_t r = 0;
  std::string text = WriteLp(&r);
  ASSERT_EQ(r, VLR_RES_OK);
  std::istringstream in(text);
  size_t longest = 0;
  int lines = 0;
  for (std::string line; std::getline(in, line); ++lines)
    longest = std::max(longest, line.size());
  EXPECT_LE(longest, 80u);  // the default width
  EXPECT_GE(lines, 16);     // 30 terms twice, at most 4 a line
  ASSERT_EQ(ReadText(text), VLR_RES_OK);
  EXPECT_EQ(NumVar(), 30);
}

TEST_F(LpTest, MpsRoundTripsThroughLpPlainAndCompressed) {
  ASSERT_EQ(ReadText(kRich, "rich.fmps"), VLR_RES_OK) << LastError(task());
  const std::string before = Dump(task());
  double cfix = 0;
  VLR_getcfix(task(), &cfix);
  ASSERT_EQ(cfix, -5);
  ASSERT_EQ(VLR_putintparam(task(), VLR_IPAR_WRITE_PRECISION, 17), VLR_RES_OK);
  for (const char* name : {"rich.lp", "rich.lp.gz"}) {
    const std::string path = TmpPath(name);
    ASSERT_EQ(VLR_writedata(task(), path.c_str()), VLR_RES_OK) << LastError(task());
    auto back = vlrtest::MakeTask(env_.get());
    VLR_putintparam(back.get(), VLR_IPAR_LOG, 0);
    ASSERT_EQ(VLR_readdata(back.get(), path.c_str()), VLR_RES_OK) << LastError(back.get()) << "\n"
                                                                  << ReadFile(path);
    EXPECT_EQ(Dump(back.get()), before) << ReadFile(path);
  }
}

}  // namespace
