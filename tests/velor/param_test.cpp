// tests/velor/param_test.cpp: parameters by index, name and text, and the parameter file.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "fixture.h"

namespace {

using vlrtest::LastError;
using vlrtest::MakeEnv;
using vlrtest::MakeTask;

class ParamTest : public ::testing::Test {
 protected:
  vlrtest::EnvPtr env_ = MakeEnv();
  vlrtest::TaskPtr task_ = MakeTask(env_.get());
  VLRtask_t t() { return task_.get(); }
  int32_t Int(int32_t p) {
    int32_t v = -12345;
    EXPECT_EQ(VLR_getintparam(t(), p, &v), VLR_RES_OK);
    return v;
  }
  double Dou(int32_t p) {
    double v = -12345;
    EXPECT_EQ(VLR_getdouparam(t(), p, &v), VLR_RES_OK);
    return v;
  }
  std::string Str(int32_t p) {
    char buf[VLR_MAX_STR_LEN];
    int32_t len = 0;
    EXPECT_EQ(VLR_getstrparam(t(), p, sizeof buf, &len, buf), VLR_RES_OK);
    EXPECT_EQ(static_cast<size_t>(len), std::strlen(buf));
    return buf;
  }
};

TEST_F(ParamTest, LimitsAreCheckedOnlyForAChange) {
  EXPECT_EQ(Int(VLR_IPAR_INTPNT_MAX_NUM_COR), -1);
  EXPECT_EQ(VLR_putintparam(t(), VLR_IPAR_INTPNT_MAX_NUM_COR, -2), VLR_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(Int(VLR_IPAR_INTPNT_MAX_NUM_COR), -1);  // unchanged after a refused put
  EXPECT_EQ(VLR_putintparam(t(), VLR_IPAR_INTPNT_MAX_NUM_COR, 3), VLR_RES_OK);
  EXPECT_EQ(VLR_putintparam(t(), VLR_IPAR_INTPNT_MAX_NUM_COR, -1), VLR_RES_OK);
  // An upper-limit-only parameter: the default -1 lies below the stored minimum and is legal.
  EXPECT_EQ(VLR_putintparam(t(), VLR_IPAR_MIO_FEASPUMP_LEVEL, -7), VLR_RES_OK);
  EXPECT_EQ(VLR_putintparam(t(), VLR_IPAR_MIO_FEASPUMP_LEVEL, 4), VLR_RES_ERR_PARAM_IS_TOO_LARGE);
  EXPECT_EQ(LastError(t()),
            "The parameter value 4 is too large for parameter 'VLR_IPAR_MIO_FEASPUMP_LEVEL'.");
  EXPECT_EQ(VLR_putdouparam(t(), VLR_DPAR_DATA_TOL_AIJ, 1e-5), VLR_RES_ERR_PARAM_IS_TOO_LARGE);
  EXPECT_EQ(LastError(t()),
            "The parameter value 1e-05 is too large for parameter 'VLR_DPAR_DATA_TOL_AIJ'.");
  EXPECT_EQ(VLR_putdouparam(t(), VLR_DPAR_DATA_TOL_AIJ, 1e-17), VLR_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(Dou(VLR_DPAR_DATA_TOL_AIJ), 1e-12);
  // A value equal to the present one passes, whatever its limits would say.
  EXPECT_EQ(VLR_putdouparam(t(), VLR_DPAR_OPTIMIZER_MAX_TIME, -1.0), VLR_RES_OK);
}

TEST_F(ParamTest, BadIndicesAndNamesAreRefusedWithTheirCodes) {
  EXPECT_EQ(VLR_putintparam(t(), 100000, 1), VLR_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(LastError(t()),
            "The parameter index 100000 is invalid for a parameter of type integer.");
  EXPECT_EQ(VLR_putdouparam(t(), -1, 1.0), VLR_RES_ERR_PARAM_INDEX);
  int32_t iv = 0;
  EXPECT_EQ(VLR_getintparam(t(), -1, &iv), VLR_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(VLR_getintparam(t(), VLR_IPAR_LOG, nullptr), VLR_RES_ERR_NULL_POINTER);
  EXPECT_EQ(VLR_putnadouparam(t(), "VLR_IPAR_LOG", 1.0), VLR_RES_ERR_PARAM_NAME_DOU);
  EXPECT_EQ(VLR_putnastrparam(t(), "VLR_DPAR_NOPE", ""), VLR_RES_ERR_PARAM_NAME_STR);
  EXPECT_EQ(VLR_putparam(t(), "VLR_IPAR_NOPE", "1"), VLR_RES_ERR_PARAM_NAME);
  EXPECT_EQ(LastError(t()), "The parameter name 'VLR_IPAR_NOPE' is invalid.");
  EXPECT_EQ(VLR_putdouparam(t(), VLR_DPAR_OPTIMIZER_MAX_TIME, std::nan("")),
            VLR_RES_ERR_PARAM_VALUE_STR);
  int32_t count = 0;
  EXPECT_EQ(VLR_getparammax(t(), 7, &count), VLR_RES_ERR_PARAM_TYPE);
  EXPECT_EQ(count, -1);
}

TEST_F(ParamTest, PutByNameAndByText) {
  EXPECT_EQ(VLR_putnaintparam(t(), "VLR_IPAR_LOG", 3), VLR_RES_OK);
  EXPECT_EQ(Int(VLR_IPAR_LOG), 3);
  EXPECT_EQ(VLR_putparam(t(), "  VLR_IPAR_LOG  ", "5"), VLR_RES_OK);
  EXPECT_EQ(Int(VLR_IPAR_LOG), 5);
  // A symbolic value works for any integer parameter: it is a number before the limits see it.
  EXPECT_EQ(VLR_putparam(t(), "VLR_IPAR_OPTIMIZER", "VLR_OPTIMIZER_DUAL_SIMPLEX"), VLR_RES_OK);
  EXPECT_EQ(Int(VLR_IPAR_OPTIMIZER), VLR_OPTIMIZER_DUAL_SIMPLEX);
  EXPECT_EQ(VLR_putparam(t(), "VLR_IPAR_LOG", "VLR_ON"), VLR_RES_OK);
  EXPECT_EQ(Int(VLR_IPAR_LOG), 1);
  EXPECT_EQ(VLR_putparam(t(), "VLR_IPAR_LOG", "VLR_NOT_A_SYMBOL"), VLR_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(VLR_putparam(t(), "VLR_IPAR_LOG", "1.5"), VLR_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(VLR_putparam(t(), "VLR_DPAR_OPTIMIZER_MAX_TIME", " 2.5e1 "), VLR_RES_OK);
  EXPECT_EQ(Dou(VLR_DPAR_OPTIMIZER_MAX_TIME), 25.0);
  EXPECT_EQ(VLR_putparam(t(), "VLR_SPAR_STAT_KEY", "\"a \\\"b\\\" c\" rest"), VLR_RES_OK);
  EXPECT_EQ(Str(VLR_SPAR_STAT_KEY), "a \"b\" c");
  EXPECT_EQ(VLR_putstrparam(t(), VLR_SPAR_STAT_KEY, nullptr), VLR_RES_OK);
  EXPECT_EQ(Str(VLR_SPAR_STAT_KEY), "");
  double dv = 0;
  EXPECT_EQ(VLR_getnadouparam(t(), "VLR_DPAR_OPTIMIZER_MAX_TIME", &dv), VLR_RES_OK);
  EXPECT_EQ(dv, 25.0);
}

TEST_F(ParamTest, NameLookupsAndCounts) {
  int32_t type = -1, index = -1, imax = 0, dmax = 0, smax = 0;
  ASSERT_EQ(VLR_getparammax(t(), VLR_PAR_INT_TYPE, &imax), VLR_RES_OK);
  ASSERT_EQ(VLR_getparammax(t(), VLR_PAR_DOU_TYPE, &dmax), VLR_RES_OK);
  ASSERT_EQ(VLR_getparammax(t(), VLR_PAR_STR_TYPE, &smax), VLR_RES_OK);
  EXPECT_EQ(dmax, 67);
  EXPECT_EQ(smax, 25);
  int32_t num = 0;
  ASSERT_EQ(VLR_getnumparam(t(), VLR_PAR_INT_TYPE, &num), VLR_RES_OK);
  EXPECT_EQ(num, dmax);  // kept as it always was
  ASSERT_EQ(VLR_whichparam(t(), "VLR_SPAR_STAT_KEY", &type, &index), VLR_RES_OK);
  EXPECT_EQ(type, VLR_PAR_STR_TYPE);
  EXPECT_EQ(index, VLR_SPAR_STAT_KEY);
  ASSERT_EQ(VLR_whichparam(t(), "nope", &type, &index), VLR_RES_OK);
  EXPECT_EQ(type, VLR_PAR_INVALID_TYPE);
  ASSERT_EQ(VLR_isintparname(t(), "nope", &index), VLR_RES_OK);
  EXPECT_EQ(index, imax);
  char name[VLR_MAX_STR_LEN];
  // Every name maps back to its index.
  for (int32_t k = 0; k < imax; ++k) {
    ASSERT_EQ(VLR_getparamname(t(), VLR_PAR_INT_TYPE, k, name), VLR_RES_OK);
    ASSERT_EQ(VLR_isintparname(t(), name, &index), VLR_RES_OK);
    EXPECT_EQ(index, k);
  }
  EXPECT_EQ(VLR_getparamname(t(), VLR_PAR_DOU_TYPE, dmax, name), VLR_RES_ERR_PARAM_INDEX);
}

TEST_F(ParamTest, ParameterFileRoundTripsEveryValue) {
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_LOG, 7), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX), VLR_RES_OK);
  ASSERT_EQ(VLR_putdouparam(t(), VLR_DPAR_INTPNT_TOL_PFEAS, 1.2345678901234e-9), VLR_RES_OK);
  ASSERT_EQ(VLR_putstrparam(t(), VLR_SPAR_STAT_NAME, "two words"), VLR_RES_OK);
  const std::string path = vlrtest::TmpPath("paramtest_roundtrip.par");
  ASSERT_EQ(VLR_writeparamfile(t(), path.c_str()), VLR_RES_OK);

  auto other = MakeTask(env_.get());
  ASSERT_EQ(VLR_putstrparam(other.get(), VLR_SPAR_PARAM_READ_FILE_NAME, path.c_str()), VLR_RES_OK);
  ASSERT_EQ(VLR_readparamfile(other.get()), VLR_RES_OK);
  int32_t imax = 0, dmax = 0, smax = 0;
  VLR_getparammax(t(), VLR_PAR_INT_TYPE, &imax);
  VLR_getparammax(t(), VLR_PAR_DOU_TYPE, &dmax);
  VLR_getparammax(t(), VLR_PAR_STR_TYPE, &smax);
  for (int32_t k = 0; k < imax; ++k) {
    int32_t a = 0, b = 1;
    VLR_getintparam(t(), k, &a);
    VLR_getintparam(other.get(), k, &b);
    EXPECT_EQ(a, b) << k;
  }
  for (int32_t k = 0; k < dmax; ++k) {
    double a = 0, b = 1;
    VLR_getdouparam(t(), k, &a);
    VLR_getdouparam(other.get(), k, &b);
    EXPECT_NEAR(a, b, 1e-8 * std::fabs(a)) << k;
  }
  for (int32_t k = 0; k < smax; ++k) {
    char a[VLR_MAX_STR_LEN], b[VLR_MAX_STR_LEN];
    VLR_getstrparam(t(), k, sizeof a, nullptr, a);
    VLR_getstrparam(other.get(), k, sizeof b, nullptr, b);
    if (k == VLR_SPAR_PARAM_READ_FILE_NAME) continue;
    EXPECT_STREQ(a, b) << k;
  }
}

class ParamFileTest : public ParamTest {
 protected:
  int32_t ReadText(const std::string& text, const char* name) {
    const std::string path = vlrtest::TmpPath(name);
    std::ofstream(path) << text;
    EXPECT_EQ(VLR_putstrparam(t(), VLR_SPAR_PARAM_READ_FILE_NAME, path.c_str()), VLR_RES_OK);
    return VLR_readparamfile(t());
  }
};

TEST_F(ParamFileTest, FileWithoutBeginIsReadWholeAndCommentsAreSkipped) {
  EXPECT_EQ(ReadText("% only a comment\n"
                     "\n"
                     "VLR_IPAR_LOG 4 % trailing comment\n"
                     "   VLR_DPAR_OPTIMIZER_MAX_TIME    12.5\n"
                     "VLR_IPAR_OPTIMIZER VLR_OPTIMIZER_PRIMAL_SIMPLEX\n",
                     "paramfile_plain.par"),
            VLR_RES_OK);
  EXPECT_EQ(Int(VLR_IPAR_LOG), 4);
  EXPECT_EQ(Dou(VLR_DPAR_OPTIMIZER_MAX_TIME), 12.5);
  EXPECT_EQ(Int(VLR_IPAR_OPTIMIZER), VLR_OPTIMIZER_PRIMAL_SIMPLEX);
}

TEST_F(ParamFileTest, OnlyTheBeginEndSectionCounts) {
  EXPECT_EQ(ReadText("VLR_IPAR_LOG 2\nBEGIN VELOR\nVLR_IPAR_LOG 3\nEND VELOR\nVLR_IPAR_LOG 9\n",
                     "paramfile_section.par"),
            VLR_RES_OK);
  EXPECT_EQ(Int(VLR_IPAR_LOG), 3);
}

TEST_F(ParamFileTest, ErrorsStopTheReadUnlessIgnored) {
  vlrtest::Collector err;
  VLR_linkfunctotaskstream(t(), VLR_STREAM_ERR, &err, vlrtest::Collector::Func);
  EXPECT_EQ(ReadText("VLR_IPAR_LOG 4\nVLR_IPAR_BOGUS 1\nVLR_IPAR_LOG 6\n", "paramfile_bad.par"),
            VLR_RES_ERR_PARAM_NAME);
  EXPECT_EQ(Int(VLR_IPAR_LOG), 4);
  EXPECT_NE(err.All().find("The error occured in line:\nVLR_IPAR_BOGUS 1\n"), std::string::npos);
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_PARAM_READ_IGN_ERROR, VLR_ON), VLR_RES_OK);
  EXPECT_EQ(ReadText("VLR_IPAR_LOG 4\nVLR_IPAR_BOGUS 1\nVLR_DPAR_OPTIMIZER_MAX_TIME x\n"
                     "VLR_IPAR_LOG 6\n",
                     "paramfile_bad2.par"),
            VLR_RES_OK);
  EXPECT_EQ(Int(VLR_IPAR_LOG), 6);
}

TEST_F(ParamFileTest, MissingFilesWarnOrFail) {
  EXPECT_EQ(VLR_putstrparam(t(), VLR_SPAR_PARAM_READ_FILE_NAME, "/nonexistent/x.par"), VLR_RES_OK);
  vlrtest::Collector wrn;
  VLR_linkfunctotaskstream(t(), VLR_STREAM_WRN, &wrn, vlrtest::Collector::Func);
  EXPECT_EQ(VLR_readparamfile(t()), VLR_RES_OK);  // a warning, swallowed
  EXPECT_NE(wrn.All().find("Could not open the parameter file '/nonexistent/x.par'."),
            std::string::npos);
  EXPECT_EQ(VLR_writeparamfile(t(), "/nonexistent/x.par"), VLR_RES_ERR_FILE_OPEN);
  EXPECT_EQ(VLR_writeparamfile(t(), nullptr), VLR_RES_ERR_INVALID_FILE_NAME);
  EXPECT_EQ(VLR_putstrparam(t(), VLR_SPAR_PARAM_READ_FILE_NAME, ""), VLR_RES_OK);
  EXPECT_EQ(VLR_readparamfile(t()), VLR_RES_OK);  // no name: nothing to read
}

// Strings hard to write: blanks, quotes, the comment sign, a per cent sign, the empty string,
// and the longest value whose line the reader still takes whole. The file says nothing about
// the clock but the time it took.
TEST_F(ParamTest, ParameterFileKeepsOddStringsAndRefusesWhatItCannotReadBack) {
  const std::string longest(1024 - 49 - 1, 'x');
  const char* odd[] = {"two  words ", "say \"hi\"", "50% off", "a % comment sign", "", "\\back"};
  const int32_t params[] = {VLR_SPAR_STAT_NAME,         VLR_SPAR_STAT_KEY,
                            VLR_SPAR_DATA_FILE_NAME,    VLR_SPAR_BAS_SOL_FILE_NAME,
                            VLR_SPAR_ITR_SOL_FILE_NAME, VLR_SPAR_INT_SOL_FILE_NAME};
  for (size_t k = 0; k < 6; ++k)
    ASSERT_EQ(VLR_putstrparam(t(), params[k], odd[k]), VLR_RES_OK);
  ASSERT_EQ(VLR_putstrparam(t(), VLR_SPAR_DEBUG_FILE_NAME, longest.c_str()), VLR_RES_OK);
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_LOG_FILE, 1), VLR_RES_OK);
  vlrtest::Collector log;
  ASSERT_EQ(VLR_linkfunctotaskstream(t(), VLR_STREAM_MSG, &log, vlrtest::Collector::Func),
            VLR_RES_OK);
  const std::string path = vlrtest::TmpPath("paramtest_odd.par");
  ASSERT_EQ(VLR_writeparamfile(t(), path.c_str()), VLR_RES_OK);
  const std::string text = log.All();
  const size_t at = text.find("done writing. Time: ");
  ASSERT_NE(at, std::string::npos);
  const double secs = std::strtod(text.c_str() + at + 20, nullptr);
  EXPECT_GE(secs, 0.0);
  EXPECT_LT(secs, 60.0);
  auto other = MakeTask(env_.get());
  ASSERT_EQ(VLR_putstrparam(other.get(), VLR_SPAR_PARAM_READ_FILE_NAME, path.c_str()), VLR_RES_OK);
  ASSERT_EQ(VLR_readparamfile(other.get()), VLR_RES_OK);
  char got[VLR_MAX_STR_LEN + 1];
  for (size_t k = 0; k < 6; ++k) {
    ASSERT_EQ(VLR_getstrparam(other.get(), params[k], sizeof got, nullptr, got), VLR_RES_OK);
    EXPECT_STREQ(got, odd[k]) << k;
  }
  ASSERT_EQ(VLR_getstrparam(other.get(), VLR_SPAR_DEBUG_FILE_NAME, sizeof got, nullptr, got),
            VLR_RES_OK);
  EXPECT_EQ(std::string(got), longest);
  // One character more and the line would be cut on reading: the write is refused and the file
  // written before stays as it was.
  const std::string before = vlrtest::ReadFile(path);
  ASSERT_EQ(VLR_putstrparam(t(), VLR_SPAR_DEBUG_FILE_NAME, (longest + "y").c_str()), VLR_RES_OK);
  EXPECT_EQ(VLR_writeparamfile(t(), path.c_str()), VLR_RES_ERR_FILE_WRITE);
  EXPECT_EQ(vlrtest::ReadFile(path), before);
}

TEST_F(ParamTest, PrintparamListsEveryParameter) {
  vlrtest::Collector msg;
  VLR_linkfunctotaskstream(t(), VLR_STREAM_MSG, &msg, vlrtest::Collector::Func);
  ASSERT_EQ(VLR_printparam(t()), VLR_RES_OK);
  const std::string text = msg.All();
  EXPECT_EQ(text.rfind("Integer parameters\n0   VLR_IPAR_ALLOC_ADD_QNZ", 0), 0u);
  EXPECT_NE(text.find("\nDouble parameters\n"), std::string::npos);
  EXPECT_NE(text.find("\nString parameters\n"), std::string::npos);
  char line[128];
  std::snprintf(line, sizeof line, "%-48s: %s\n", "VLR_SPAR_WRITE_LP_GEN_VAR_NAME", "XVLRGEN");
  EXPECT_NE(text.find(line), std::string::npos);
}

TEST_F(ParamTest, CloneCopiesParametersAndName) {
  ASSERT_EQ(VLR_putintparam(t(), VLR_IPAR_LOG, 2), VLR_RES_OK);
  ASSERT_EQ(VLR_putstrparam(t(), VLR_SPAR_STAT_KEY, "k"), VLR_RES_OK);
  ASSERT_EQ(VLR_puttaskname(t(), "orig"), VLR_RES_OK);
  VLRtask_t clone = nullptr;
  ASSERT_EQ(VLR_clonetask(t(), &clone), VLR_RES_OK);
  vlrtest::TaskPtr owned(clone);
  int32_t v = 0;
  ASSERT_EQ(VLR_getintparam(clone, VLR_IPAR_LOG, &v), VLR_RES_OK);
  EXPECT_EQ(v, 2);
  char name[16];
  ASSERT_EQ(VLR_gettaskname(clone, sizeof name, name), VLR_RES_OK);
  EXPECT_STREQ(name, "orig");
  VLRtask_t same = t();
  EXPECT_EQ(VLR_clonetask(t(), &same), VLR_RES_ERR_IDENTICAL_TASKS);
}

}  // namespace
