// tests/velor/tables_test.cpp: the generated tables of parameters, information items, symbolic
// constants and the name-to-value functions.
// SPDX-License-Identifier: Apache-2.0
#include "velor/tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "velor.h"
#include "velor/privinf.h"

namespace {

using vlr::kEnums;
using vlr::kNumEnums;

// The order of the parameter and item tables: alphabetical with '_' before letters and digits.
bool UnderscoreFirstLess(const std::string& a, const std::string& b) {
  const size_t n = std::min(a.size(), b.size());
  for (size_t k = 0; k < n; ++k) {
    if (a[k] == b[k]) continue;
    if (a[k] == '_') return true;
    if (b[k] == '_') return false;
    return a[k] < b[k];
  }
  return a.size() < b.size();
}

template <class Names>
void ExpectStrictlyOrdered(const Names& name_of, int32_t n, const char* what) {
  for (int32_t k = 1; k < n; ++k) {
    EXPECT_TRUE(UnderscoreFirstLess(name_of(k - 1), name_of(k)))
        << what << ": " << name_of(k - 1) << " before " << name_of(k);
  }
}

const vlr::EnumInfo& EnumNamed(const char* name) {
  for (int32_t e = 0; e < kNumEnums; ++e) {
    if (std::strcmp(kEnums[e].name, name) == 0) return kEnums[e];
  }
  ADD_FAILURE() << "no enumeration " << name;
  return kEnums[0];
}

std::string FullName(const vlr::EnumInfo& e, int32_t k) {
  return std::string("VLR_") + e.prefix + e.values[k].name;
}

// ---- Parameters -------------------------------------------------------------------------------

TEST(ParamTables, CountsAndIndicesFollowTheInterface) {
  EXPECT_EQ(vlr::kNumIntParams, 202);
  EXPECT_EQ(vlr::kNumDouParams, 67);
  EXPECT_EQ(vlr::kNumStrParams, 25);
  // The index of a parameter is its C constant.
  EXPECT_EQ(VLR_IPAR_ALLOC_ADD_QNZ, 0);
  EXPECT_STREQ(vlr::kIntParams[VLR_IPAR_LOG].name, "VLR_IPAR_LOG");
  EXPECT_STREQ(vlr::kIntParams[VLR_IPAR_WRITE_XML_MODE].name, "VLR_IPAR_WRITE_XML_MODE");
  EXPECT_EQ(VLR_IPAR_WRITE_XML_MODE, vlr::kNumIntParams - 1);
  EXPECT_STREQ(vlr::kDouParams[VLR_DPAR_DATA_TOL_BOUND_INF].name, "VLR_DPAR_DATA_TOL_BOUND_INF");
  EXPECT_STREQ(vlr::kStrParams[VLR_SPAR_WRITE_LP_GEN_VAR_NAME].name,
               "VLR_SPAR_WRITE_LP_GEN_VAR_NAME");
  ExpectStrictlyOrdered([](int32_t k) { return std::string(vlr::kIntParams[k].name); },
                        vlr::kNumIntParams, "integer parameters");
  ExpectStrictlyOrdered([](int32_t k) { return std::string(vlr::kDouParams[k].name); },
                        vlr::kNumDouParams, "double parameters");
  ExpectStrictlyOrdered([](int32_t k) { return std::string(vlr::kStrParams[k].name); },
                        vlr::kNumStrParams, "string parameters");
}

TEST(ParamTables, SampledDefaultsAndLimits) {
  const vlr::IntParInfo& log = vlr::kIntParams[VLR_IPAR_LOG];
  EXPECT_EQ(log.dflt, 10);
  EXPECT_EQ(log.kind, vlr::kParLower);
  EXPECT_EQ(log.min, 0);
  const vlr::IntParInfo& opt = vlr::kIntParams[VLR_IPAR_OPTIMIZER];
  EXPECT_EQ(opt.dflt, VLR_OPTIMIZER_FREE);
  EXPECT_EQ(opt.kind, vlr::kParRange);
  EXPECT_EQ(opt.max, VLR_OPTIMIZER_CONCURRENT);
  EXPECT_EQ(opt.valenum, vlr::kEnumOptimizertype);
  const vlr::IntParInfo& cor = vlr::kIntParams[VLR_IPAR_INTPNT_MAX_NUM_COR];
  EXPECT_EQ(cor.kind, vlr::kParLower);
  EXPECT_EQ(cor.min, -1);
  EXPECT_EQ(vlr::kIntParams[VLR_IPAR_SENSITIVITY_OPTIMIZER].dflt, VLR_OPTIMIZER_FREE_SIMPLEX);
  EXPECT_EQ(vlr::kIntParams[VLR_IPAR_WRITE_LP_LINE_WIDTH].min, 40);
  EXPECT_EQ(vlr::kIntParams[VLR_IPAR_SIM_MAX_ITERATIONS].dflt, 10000000);
  EXPECT_EQ(vlr::kIntParams[VLR_IPAR_PRESOLVE_USE].dflt, VLR_PRESOLVE_MODE_FREE);
  EXPECT_EQ(vlr::kIntParams[VLR_IPAR_LOG_MIO_FREQ].kind, vlr::kParFree);
  EXPECT_EQ(vlr::kIntParams[VLR_IPAR_MAX_NUM_WARNINGS].dflt, 10);

  EXPECT_EQ(vlr::kDouParams[VLR_DPAR_DATA_TOL_BOUND_INF].dflt, 1e16);
  const vlr::DouParInfo& aij = vlr::kDouParams[VLR_DPAR_DATA_TOL_AIJ];
  EXPECT_EQ(aij.kind, vlr::kParRange);
  EXPECT_EQ(aij.min, 1e-16);
  EXPECT_EQ(aij.max, 1e-6);
  const vlr::DouParInfo& step = vlr::kDouParams[VLR_DPAR_INTPNT_NL_TOL_REL_STEP];
  EXPECT_EQ(step.dflt, 0.995);
  EXPECT_EQ(step.max, 0.9999999);
  EXPECT_EQ(vlr::kDouParams[VLR_DPAR_LOWER_OBJ_CUT].dflt, -1e30);
  EXPECT_EQ(vlr::kDouParams[VLR_DPAR_UPPER_OBJ_CUT_FINITE_TRH].dflt, 5e29);
  EXPECT_EQ(vlr::kDouParams[VLR_DPAR_BASIS_TOL_S].min, 1e-9);

  EXPECT_STREQ(vlr::kStrParams[VLR_SPAR_FEASREPAIR_NAME_PREFIX].dflt, "VLR-");
  EXPECT_STREQ(vlr::kStrParams[VLR_SPAR_PARAM_COMMENT_SIGN].dflt, "%%");
  EXPECT_STREQ(vlr::kStrParams[VLR_SPAR_DATA_FILE_NAME].dflt, "");
}

bool PassesLimits(int32_t kind, double value, double lo, double hi) {
  switch (kind) {
    case vlr::kParLower:
      return value >= lo;
    case vlr::kParUpper:
      return value <= hi;
    case vlr::kParRange:
      return lo <= value && value <= hi;
    default:
      return true;
  }
}

TEST(ParamTables, EveryDefaultPassesItsOwnLimits) {
  for (int32_t k = 0; k < vlr::kNumIntParams; ++k) {
    const vlr::IntParInfo& p = vlr::kIntParams[k];
    EXPECT_TRUE(p.kind == vlr::kParLower || p.kind == vlr::kParUpper || p.kind == vlr::kParFree ||
                p.kind == vlr::kParRange)
        << p.name;
    EXPECT_LE(p.min, p.max) << p.name;
    EXPECT_TRUE(PassesLimits(p.kind, p.dflt, p.min, p.max)) << p.name;
    // The default of an enumerated parameter is one of its symbols.
    if (p.valenum >= 0) {
      EXPECT_NE(vlr::VLR_enumvaluename(p.valenum, p.dflt), nullptr) << p.name;
    }
  }
  for (int32_t k = 0; k < vlr::kNumDouParams; ++k) {
    const vlr::DouParInfo& p = vlr::kDouParams[k];
    EXPECT_LE(p.min, p.max) << p.name;
    EXPECT_TRUE(PassesLimits(p.kind, p.dflt, p.min, p.max)) << p.name;
  }
  // The one default outside its stored range: kind "upper" checks only the maximum.
  const vlr::IntParInfo& pump = vlr::kIntParams[VLR_IPAR_MIO_FEASPUMP_LEVEL];
  EXPECT_EQ(pump.kind, vlr::kParUpper);
  EXPECT_EQ(pump.dflt, -1);
  EXPECT_EQ(pump.min, 0);
  EXPECT_EQ(pump.max, 3);
  EXPECT_FALSE(PassesLimits(vlr::kParRange, pump.dflt, pump.min, pump.max));
}

TEST(ParamTables, NamesAgreeWithTheirEnumerations) {
  const vlr::EnumInfo& ip = kEnums[vlr::kEnumIparam];
  ASSERT_EQ(ip.count, vlr::kNumIntParams);
  for (int32_t k = 0; k < ip.count; ++k) {
    EXPECT_EQ(FullName(ip, k), vlr::kIntParams[k].name);
    EXPECT_EQ(ip.values[k].value, k);
  }
  const vlr::EnumInfo& dp = kEnums[vlr::kEnumDparam];
  ASSERT_EQ(dp.count, vlr::kNumDouParams);
  for (int32_t k = 0; k < dp.count; ++k)
    EXPECT_EQ(FullName(dp, k), vlr::kDouParams[k].name);
  const vlr::EnumInfo& sp = kEnums[vlr::kEnumSparam];
  ASSERT_EQ(sp.count, vlr::kNumStrParams);
  for (int32_t k = 0; k < sp.count; ++k)
    EXPECT_EQ(FullName(sp, k), vlr::kStrParams[k].name);
}

// ---- Information items and callback codes -------------------------------------------------------

TEST(InfTables, CountsOrderAndEnumerations) {
  struct List {
    const char* const* names;
    int32_t count, expected;
    int32_t enumidx;
  };
  const List lists[] = {
      {vlr::kDouInfNames, vlr::kNumDouInf, 62, vlr::kEnumDinfitem},
      {vlr::kIntInfNames, vlr::kNumIntInf, 98, vlr::kEnumIinfitem},
      {vlr::kLintInfNames, vlr::kNumLintInf, 14, vlr::kEnumLiinfitem},
      {vlr::kCallbackNames, vlr::kNumCallbackCodes, 114, vlr::kEnumCallbackcode},
  };
  for (const List& l : lists) {
    const vlr::EnumInfo& e = kEnums[l.enumidx];
    EXPECT_EQ(l.count, l.expected) << e.name;
    ASSERT_EQ(e.count, l.count) << e.name;
    for (int32_t k = 0; k < l.count; ++k)
      EXPECT_EQ(FullName(e, k), l.names[k]);
    ExpectStrictlyOrdered([&](int32_t k) { return std::string(l.names[k]); }, l.count, e.name);
  }
  EXPECT_STREQ(vlr::kDouInfNames[VLR_DINF_RD_TIME], "VLR_DINF_RD_TIME");
  EXPECT_STREQ(vlr::kIntInfNames[VLR_IINF_CONCURRENT_FASTEST_OPTIMIZER],
               "VLR_IINF_CONCURRENT_FASTEST_OPTIMIZER");
  EXPECT_STREQ(vlr::kCallbackNames[VLR_CALLBACK_WRITE_OPF], "VLR_CALLBACK_WRITE_OPF");
}

TEST(InfTables, PrivateItemsHaveNamesForEveryIndex) {
  EXPECT_LT(vlr::kPiinfCurrentOptimizer, vlr::kNumPrivIntInf);
  EXPECT_LT(vlr::kPdinfWinningOptimizerTime, vlr::kNumPrivDouInf);
  EXPECT_LT(vlr::kPliinfSimNumRefactor, vlr::kNumPrivLintInf);
  EXPECT_STREQ(vlr::kPrivIntInfNames[vlr::kPiinfCurrentOptimizer],
               "VLR_IINF_PRIVATE_CURRENT_OPTIMIZER");
  EXPECT_STREQ(vlr::kPrivDouInfNames[vlr::kPdinfWinningOptimizerTime],
               "VLR_DINF_PRIVATE_WINNING_OPTIMIZER_TIME");
  // Private names stay out of the public vocabulary.
  EXPECT_EQ(VLR_symnamtovalue(vlr::kPrivIntInfNames[0], nullptr), 0);
}

// ---- Symbolic constants -------------------------------------------------------------------------

TEST(SymCons, SortedUniqueAndExactlyTheEnumerationValues) {
  int64_t total = 0;
  for (int32_t e = 0; e < kNumEnums; ++e)
    total += kEnums[e].count;
  // One entry for each value of each enumeration of the interface.
  EXPECT_EQ(vlr::kNumSymCons, total);
  EXPECT_EQ(vlr::kNumSymCons, 1121);
  for (int32_t k = 1; k < vlr::kNumSymCons; ++k) {
    EXPECT_LT(std::strcmp(vlr::kSymCons[k - 1].name, vlr::kSymCons[k].name), 0)
        << vlr::kSymCons[k - 1].name << " / " << vlr::kSymCons[k].name;
  }
  for (int32_t e = 0; e < kNumEnums; ++e) {
    for (int32_t k = 0; k < kEnums[e].count; ++k) {
      char text[VLR_MAX_STR_LEN] = "";
      const std::string name = FullName(kEnums[e], k);
      ASSERT_EQ(VLR_symnamtovalue(name.c_str(), text), 1) << name;
      EXPECT_EQ(std::to_string(kEnums[e].values[k].value), text) << name;
    }
  }
}

TEST(SymCons, SymnamtovalueGivesDecimalTextOrNotFound) {
  char text[VLR_MAX_STR_LEN] = "untouched";
  EXPECT_EQ(VLR_symnamtovalue("VLR_ON", text), 1);
  EXPECT_STREQ(text, "1");
  EXPECT_EQ(VLR_symnamtovalue("VLR_MAX_STR_LEN", text), 1);
  EXPECT_STREQ(text, "1024");
  EXPECT_EQ(VLR_symnamtovalue("VLR_RES_TRM_INTERNAL_STOP", text), 1);
  EXPECT_STREQ(text, "4031");
  EXPECT_EQ(VLR_symnamtovalue("VLR_SOL_STA_NEAR_INTEGER_OPTIMAL", text), 1);
  EXPECT_STREQ(text, "15");
  std::strcpy(text, "untouched");
  for (const char* miss : {"VLR_ONN", "VLR_", "", "vlr_on", "VLR_ON ", "ON", "VLR_BK"}) {
    EXPECT_EQ(VLR_symnamtovalue(miss, text), 0) << miss;
  }
  EXPECT_EQ(VLR_symnamtovalue(nullptr, text), 0);
  EXPECT_STREQ(text, "untouched");
}

// ---- Name to value ------------------------------------------------------------------------------

using NameToValue = int32_t (*)(const char*, int32_t*);
struct EnumFunc {
  const char* name;
  NameToValue func;
};

// Every exported lookup, so that each is bound to its own enumeration.
const EnumFunc kFuncs[] = {
    {"VLR_accmode", VLR_accmodenametovalue},
    {"VLR_adopcode", VLR_adopcodenametovalue},
    {"VLR_adoptype", VLR_adoptypenametovalue},
    {"VLR_basindtype", VLR_basindtypenametovalue},
    {"VLR_boundkey", VLR_boundkeynametovalue},
    {"VLR_branchdir", VLR_branchdirnametovalue},
    {"VLR_callbackcode", VLR_callbackcodenametovalue},
    {"VLR_checkconvexitytype", VLR_checkconvexitytypenametovalue},
    {"VLR_compresstype", VLR_compresstypenametovalue},
    {"VLR_conetype", VLR_conetypenametovalue},
    {"VLR_cputype", VLR_cputypenametovalue},
    {"VLR_dataformat", VLR_dataformatnametovalue},
    {"VLR_dinfitem", VLR_dinfitemnametovalue},
    {"VLR_dparam", VLR_dparamnametovalue},
    {"VLR_feasrepairtype", VLR_feasrepairtypenametovalue},
    {"VLR_iinfitem", VLR_iinfitemnametovalue},
    {"VLR_inftype", VLR_inftypenametovalue},
    {"VLR_iomode", VLR_iomodenametovalue},
    {"VLR_iparam", VLR_iparamnametovalue},
    {"VLR_language", VLR_languagenametovalue},
    {"VLR_liinfitem", VLR_liinfitemnametovalue},
    {"VLR_mark", VLR_marknametovalue},
    {"VLR_miocontsoltype", VLR_miocontsoltypenametovalue},
    {"VLR_miomode", VLR_miomodenametovalue},
    {"VLR_mionodeseltype", VLR_mionodeseltypenametovalue},
    {"VLR_mpsformat", VLR_mpsformatnametovalue},
    {"VLR_msgkey", VLR_msgkeynametovalue},
    {"VLR_networkdetect", VLR_networkdetectnametovalue},
    {"VLR_objsense", VLR_objsensenametovalue},
    {"VLR_onoffkey", VLR_onoffkeynametovalue},
    {"VLR_optimizertype", VLR_optimizertypenametovalue},
    {"VLR_orderingtype", VLR_orderingtypenametovalue},
    {"VLR_parametertype", VLR_parametertypenametovalue},
    {"VLR_presolvemode", VLR_presolvemodenametovalue},
    {"VLR_problemitem", VLR_problemitemnametovalue},
    {"VLR_problemtype", VLR_problemtypenametovalue},
    {"VLR_prosta", VLR_prostanametovalue},
    {"VLR_qreadtype", VLR_qreadtypenametovalue},
    {"VLR_rescode", VLR_rescodenametovalue},
    {"VLR_rescodetype", VLR_rescodetypenametovalue},
    {"VLR_scalingmethod", VLR_scalingmethodnametovalue},
    {"VLR_scalingtype", VLR_scalingtypenametovalue},
    {"VLR_sensitivitytype", VLR_sensitivitytypenametovalue},
    {"VLR_simdegen", VLR_simdegennametovalue},
    {"VLR_simdupvec", VLR_simdupvecnametovalue},
    {"VLR_simhotstart", VLR_simhotstartnametovalue},
    {"VLR_simreform", VLR_simreformnametovalue},
    {"VLR_simseltype", VLR_simseltypenametovalue},
    {"VLR_solitem", VLR_solitemnametovalue},
    {"VLR_solsta", VLR_solstanametovalue},
    {"VLR_soltype", VLR_soltypenametovalue},
    {"VLR_solveform", VLR_solveformnametovalue},
    {"VLR_sparam", VLR_sparamnametovalue},
    {"VLR_stakey", VLR_stakeynametovalue},
    {"VLR_startpointtype", VLR_startpointtypenametovalue},
    {"VLR_streamtype", VLR_streamtypenametovalue},
    {"VLR_value", VLR_valuenametovalue},
    {"VLR_variabletype", VLR_variabletypenametovalue},
    {"VLR_xmlwriteroutputtype", VLR_xmlwriteroutputtypenametovalue},
};

TEST(NameToValue, EveryEnumerationAcceptsEachOfItsNames) {
  ASSERT_EQ(static_cast<int32_t>(std::size(kFuncs)), kNumEnums);
  for (const EnumFunc& f : kFuncs) {
    const vlr::EnumInfo& e = EnumNamed(f.name);
    for (int32_t k = 0; k < e.count; ++k) {
      const std::string name = FullName(e, k);
      int32_t value = -12345;
      ASSERT_EQ(f.func(name.c_str(), &value), 1) << name;
      EXPECT_EQ(value, e.values[k].value) << name;
      EXPECT_EQ(f.func(name.c_str(), nullptr), 1) << name;  // the value may be left out
    }
  }
}

TEST(NameToValue, NearMissesAreRefusedAndLeaveTheValue) {
  for (const EnumFunc& f : kFuncs) {
    const vlr::EnumInfo& e = EnumNamed(f.name);
    const std::string head = std::string("VLR_") + e.prefix;
    const std::string first = FullName(e, 0);
    std::string lower = first;
    for (char& c : lower)
      c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    std::string lastcase = first;
    lastcase.back() = static_cast<char>(std::tolower(static_cast<unsigned char>(lastcase.back())));
    const std::vector<std::string> misses = {
        head,                      // the prefix alone
        lower,                     // lower case
        first + " ",               // trailing blank
        " " + first,               // leading blank
        first.substr(4),           // no "VLR_"
        "VLX_" + first.substr(4),  // wrong library prefix
        first.substr(0, first.size() - 1),
        first + "X",
        "",
    };
    for (const std::string& miss : misses) {
      int32_t value = -12345;
      EXPECT_EQ(f.func(miss.c_str(), &value), 0) << f.name << ": '" << miss << "'";
      EXPECT_EQ(value, -12345);
    }
    if (lastcase != first) {
      EXPECT_EQ(f.func(lastcase.c_str(), nullptr), 0) << lastcase;
    }
    EXPECT_EQ(f.func(nullptr, nullptr), 0) << f.name;
  }
}

TEST(NameToValue, PrefixesKeepNeighbouringEnumerationsApart) {
  int32_t value = -1;
  // A name of another enumeration is refused even where the words look alike.
  EXPECT_EQ(VLR_boundkeynametovalue("VLR_SK_LOW", &value), 0);
  EXPECT_EQ(VLR_stakeynametovalue("VLR_BK_LO", &value), 0);
  EXPECT_EQ(VLR_scalingtypenametovalue("VLR_SCALING_METHOD_FREE", &value), 0);
  EXPECT_EQ(VLR_scalingmethodnametovalue("VLR_SCALING_FREE", &value), 0);
  EXPECT_EQ(VLR_soltypenametovalue("VLR_SOL_STA_OPTIMAL", &value), 0);
  EXPECT_EQ(VLR_iparamnametovalue("VLR_DPAR_BASIS_TOL_S", &value), 0);
  EXPECT_EQ(VLR_onoffkeynametovalue("VLR_BK_LO", &value), 0);
  EXPECT_EQ(value, -1);
  EXPECT_EQ(VLR_solstanametovalue("VLR_SOL_STA_NEAR_OPTIMAL", &value), 1);
  EXPECT_EQ(value, 8);  // after the unused 7
  EXPECT_EQ(VLR_rescodenametovalue("VLR_RES_ERR_API_INTERNAL", &value), 1);
  EXPECT_EQ(value, 3999);
  EXPECT_EQ(VLR_msgkeynametovalue("VLR_MSG_MPS_SELECTED", &value), 1);
  EXPECT_EQ(value, 1100);
}

// ---- Strings without a task ---------------------------------------------------------------------

TEST(EnumStr, OptimizerNamesWithTheGapAtSixAndCutToTheBuffer) {
  const char* expected[] = {"free",           "interior-point", "conic",     "qcone",
                            "primal simplex", "dual simplex",   "unknown",   "free simplex",
                            "mixed integer",  "nonconvex",      "concurrent"};
  char text[VLR_MAX_STR_LEN];
  for (int32_t k = 0; k <= VLR_OPTIMIZER_CONCURRENT; ++k) {
    ASSERT_EQ(VLR_optimizertostr(k, VLR_MAX_STR_LEN, text), VLR_RES_OK);
    EXPECT_STREQ(text, expected[k]);
  }
  ASSERT_EQ(VLR_optimizertostr(-1, VLR_MAX_STR_LEN, text), VLR_RES_OK);
  EXPECT_STREQ(text, "unknown");
  ASSERT_EQ(VLR_optimizertostr(11, VLR_MAX_STR_LEN, text), VLR_RES_OK);
  EXPECT_STREQ(text, "unknown");
  char small[5] = "xxxx";
  ASSERT_EQ(VLR_optimizertostr(VLR_OPTIMIZER_INTPNT, 5, small), VLR_RES_OK);
  EXPECT_STREQ(small, "inte");
  EXPECT_EQ(VLR_optimizertostr(0, 0, small), VLR_RES_ERR_NULL_POINTER);
  EXPECT_EQ(VLR_optimizertostr(0, 10, nullptr), VLR_RES_ERR_NULL_POINTER);
}

TEST(EnumStr, CallbackCodeNames) {
  char text[VLR_MAX_STR_LEN];
  ASSERT_EQ(VLR_callbackcodetostr(VLR_CALLBACK_BEGIN_BI, text), VLR_RES_OK);
  EXPECT_STREQ(text, "VLR_CALLBACK_BEGIN_BI");
  ASSERT_EQ(VLR_callbackcodetostr(VLR_CALLBACK_IM_DUAL_SENSIVITY, text), VLR_RES_OK);
  EXPECT_STREQ(text, "VLR_CALLBACK_IM_DUAL_SENSIVITY");
  ASSERT_EQ(VLR_callbackcodetostr(VLR_CALLBACK_WRITE_OPF, text), VLR_RES_OK);
  EXPECT_STREQ(text, "VLR_CALLBACK_WRITE_OPF");
  EXPECT_EQ(VLR_callbackcodetostr(vlr::kNumCallbackCodes, text), VLR_RES_ERR_INDEX);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(VLR_callbackcodetostr(-1, text), VLR_RES_ERR_INDEX);
}

}  // namespace
