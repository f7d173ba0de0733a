// tests/velor/rescode_test.cpp: response codes, their texts and classes, and the conversions of
// enumeration values to names that go through a task.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "velor.h"
#include "velor/tables.h"
#include "velor/task.h"

namespace {

// ---- The code table, without a task -------------------------------------------------------------

TEST(RescodeTable, EveryCodeRoundTripsThroughNameDescriptionAndClass) {
  EXPECT_EQ(vlr::kNumResCodes, 315);
  for (int32_t k = 0; k < vlr::kNumResCodes; ++k) {
    const vlr::ResCodeInfo& c = vlr::kResCodes[k];
    if (k > 0) {
      EXPECT_LT(vlr::kResCodes[k - 1].code, c.code);
    }
    char name[VLR_MAX_STR_LEN] = "", desc[VLR_MAX_STR_LEN] = "";
    ASSERT_EQ(VLR_getcodedesc(c.code, name, desc), VLR_RES_OK);
    EXPECT_STREQ(name, c.name);
    EXPECT_STREQ(desc, c.desc);
    char name2[VLR_MAX_STR_LEN] = "", desc2[VLR_MAX_STR_LEN] = "";
    ASSERT_EQ(VLR_getcodedisc(c.code, name2, desc2), VLR_RES_OK);
    EXPECT_STREQ(name2, name);
    EXPECT_STREQ(desc2, desc);
    int32_t back = -1;
    ASSERT_EQ(VLR_rescodenametovalue(name, &back), 1) << name;
    EXPECT_EQ(back, c.code);
    const char* format = nullptr;
    EXPECT_EQ(vlr::VLR_getresmes(c.code, &format), VLR_RES_OK);
    EXPECT_EQ(format, c.msg);
    EXPECT_EQ(vlr::VLR_findrescode(c.code), &c);
    VLR_rescodetype cls = -1;
    ASSERT_EQ(VLR_getresponseclass(c.code, &cls), VLR_RES_OK);
    const std::string n = name;
    const VLR_rescodetype want = n == "VLR_RES_OK"                 ? VLR_RESPONSE_OK
                                 : n.rfind("VLR_RES_WRN_", 0) == 0 ? VLR_RESPONSE_WRN
                                 : n.rfind("VLR_RES_ERR_", 0) == 0 ? VLR_RESPONSE_ERR
                                                                   : VLR_RESPONSE_TRM;
    EXPECT_EQ(cls, want) << name;  // the class by number agrees with the class in the name
  }
}

TEST(RescodeTable, TextsAreKeptAsUsersKnowThem) {
  struct Text {
    int32_t code;
    const char* desc;
    const char* msg;
  };
  const Text texts[] = {
      {VLR_RES_OK, "No error occurred.", "No error occurred."},
      {VLR_RES_ERR_INT64_TO_INT32_CAST, "An 32 bit integer could not cast to a 64 bit integer.",
       "An 32 bit integer could not cast to a 64 bit integer."},
      {VLR_RES_WRN_CONSTRUCT_INVALID_SOL_ITG,
       "The intial value for one or more  of the integer variables is not feasible.", nullptr},
      {VLR_RES_ERR_API_INTERNAL, "An internal fatal error occurred in an interface function.:w",
       "An internal fatal error occurred in an interface function"},
      {VLR_RES_ERR_API_CB_CONNECT, "Failed to connect a callback object.", ""},
      {VLR_RES_ERR_API_ARRAY_TOO_SMALL, nullptr,
       "The input array '{0}' is too short in call to '{1}'."},
      {VLR_RES_ERR_SOLITEM, "The solution number  solemn does not exists.",
       "%d is not a valid solution item code for solution %d."},
      {VLR_RES_ERR_USER_NLO_EVAL_HESSUBI,
       "The user-defined nonlinear function reported reported an Hessian an invalid subscript.",
       "The user-defined nonlinear function reported the invalid hessubi[%d]: %d.'"},
      {VLR_RES_ERR_INV_QOBJ_SUBI, "Invalid value %d at qosubi.", "Invalid value %d at qosubi[%d]."},
      {VLR_RES_ERR_SPACE, "Out of space.", "Out of space."},
      {VLR_RES_WRN_ZEROS_IN_SPARSE_ROW, nullptr,
       "%lld near zero elements are specified in sparse row '%s'(%d) of matrix '%s'."},
      {VLR_RES_ERR_INVALID_FORMAT_TYPE, nullptr, "%d is an invalid format type.."},
      {VLR_RES_TRM_MIO_NUM_BRANCHES,
       "The mixed-integer optimizer terminated as to the maximum number of branches was reached.",
       nullptr},
  };
  for (const Text& t : texts) {
    const vlr::ResCodeInfo* c = vlr::VLR_findrescode(t.code);
    ASSERT_NE(c, nullptr) << t.code;
    if (t.desc != nullptr) {
      EXPECT_STREQ(c->desc, t.desc) << t.code;
    }
    if (t.msg != nullptr) {
      EXPECT_STREQ(c->msg, t.msg) << t.code;
    }
  }
}

// A message format must be safe to hand to printf with the arguments its raising site passes.
TEST(RescodeTable, MessageFormatsUseOnlyPlainConversions) {
  for (int32_t k = 0; k < vlr::kNumResCodes; ++k) {
    const char* p = vlr::kResCodes[k].msg;
    while ((p = std::strchr(p, '%')) != nullptr) {
      ++p;
      if (*p == '%') {
        ++p;
        continue;
      }
      while (*p != '\0' && std::strchr("-+ #0123456789.", *p) != nullptr)
        ++p;
      if (std::strncmp(p, "ll", 2) == 0) p += 2;
      EXPECT_NE(std::strchr("dsegu", *p), nullptr)
          << vlr::kResCodes[k].name << ": " << vlr::kResCodes[k].msg;
      if (*p != '\0') ++p;
    }
  }
}

TEST(RescodeClass, NumberRangesDecide) {
  struct Case {
    int32_t code;
    VLR_rescodetype cls;
  };
  for (const Case& c :
       {Case{0, VLR_RESPONSE_OK}, Case{1, VLR_RESPONSE_WRN}, Case{999, VLR_RESPONSE_WRN},
        Case{1000, VLR_RESPONSE_ERR}, Case{3999, VLR_RESPONSE_ERR}, Case{4000, VLR_RESPONSE_TRM},
        Case{4031, VLR_RESPONSE_TRM}, Case{100000, VLR_RESPONSE_TRM}}) {
    VLR_rescodetype cls = VLR_RESPONSE_UNK;
    ASSERT_EQ(VLR_getresponseclass(c.code, &cls), VLR_RES_OK);
    EXPECT_EQ(cls, c.cls) << c.code;
  }
  EXPECT_EQ(VLR_getresponseclass(0, nullptr), VLR_RES_ERR_NULL_POINTER);
}

TEST(RescodeDesc, UnknownCodesAndNullBuffersWriteNothing) {
  char name[VLR_MAX_STR_LEN] = "keep", desc[VLR_MAX_STR_LEN] = "keep";
  for (int32_t code : {-1, 1, 999, 4032, 1000000}) {
    EXPECT_EQ(VLR_getcodedesc(code, name, desc), VLR_RES_OK);
    EXPECT_STREQ(name, "keep");
    EXPECT_STREQ(desc, "keep");
  }
  EXPECT_EQ(VLR_getcodedesc(VLR_RES_ERR_SPACE, nullptr, nullptr), VLR_RES_OK);
  EXPECT_EQ(VLR_getcodedesc(VLR_RES_ERR_SPACE, name, nullptr), VLR_RES_OK);
  EXPECT_STREQ(name, "VLR_RES_ERR_SPACE");
  EXPECT_STREQ(desc, "keep");
  const char* format = "x";
  EXPECT_EQ(vlr::VLR_getresmes(12345, &format), VLR_RES_OK);
  EXPECT_STREQ(format, "");
}

// ---- Conversions that go through a task ---------------------------------------------------------

struct Seen {
  int32_t calls = 0;
  int32_t code = 0;
  std::string msg;
};

int32_t Record(void* handle, int32_t code, const char* message) {
  Seen* s = static_cast<Seen*>(handle);
  ++s->calls;
  s->code = code;
  s->msg = message;
  return code;  // keeps warnings as they are
}

class TaskStr : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(VLR_makeenv(&env_, nullptr, nullptr, nullptr, nullptr), VLR_RES_OK);
    ASSERT_EQ(VLR_initenv(env_), VLR_RES_OK);
    ASSERT_EQ(VLR_maketask(env_, 0, 0, &task_), VLR_RES_OK);
    ASSERT_EQ(VLR_putresponsefunc(task_, Record, &seen_), VLR_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(VLR_deletetask(&task_), VLR_RES_OK);
    EXPECT_EQ(VLR_deleteenv(&env_), VLR_RES_OK);
  }
  VLRenv_t env_ = nullptr;
  VLRtask_t task_ = nullptr;
  Seen seen_;
  char str_[VLR_MAX_STR_LEN] = "";
};

TEST_F(TaskStr, BoundAndStatusKeyNames) {
  const char* bk[] = {"LO", "UP", "FX", "FR", "RA"};
  for (int32_t k = 0; k < 5; ++k) {
    ASSERT_EQ(VLR_bktostr(task_, k, str_), VLR_RES_OK);
    EXPECT_STREQ(str_, bk[k]);
  }
  ASSERT_EQ(VLR_bktostr(task_, 5, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "");
  const char* sk[] = {"UNK", "BAS", "SUPBAS", "LOW", "UPR", "FIX", "INF"};
  for (int32_t k = 0; k < 7; ++k) {
    ASSERT_EQ(VLR_sktostr(task_, k, str_), VLR_RES_OK);
    EXPECT_STREQ(str_, sk[k]);
    VLR_stakey back = -1;
    ASSERT_EQ(VLR_strtosk(task_, str_, &back), VLR_RES_OK);
    EXPECT_EQ(back, k);
  }
  EXPECT_EQ(seen_.calls, 0);
  EXPECT_EQ(VLR_sktostr(task_, 7, str_), VLR_RES_ERR_INV_SK);
  EXPECT_EQ(seen_.msg, "'7' is an invalid status key code.");
  VLR_stakey sk_out = 99;
  seen_ = Seen{};
  for (const char* bad : {"bas", "BS", "", "VLR_SK_BAS", "BAS "}) {
    EXPECT_EQ(VLR_strtosk(task_, bad, &sk_out), VLR_RES_ERR_INV_SK_STR) << bad;
  }
  EXPECT_EQ(seen_.calls, 0);  // the reverse answers with the bare code
  EXPECT_EQ(sk_out, 99);
  EXPECT_EQ(VLR_bktostr(task_, 0, nullptr), VLR_RES_ERR_NULL_POINTER);
  EXPECT_NE(VLR_bktostr(nullptr, 0, str_), VLR_RES_OK);
}

TEST_F(TaskStr, ConeTypeNamesBothWays) {
  ASSERT_EQ(VLR_conetypetostr(task_, VLR_CT_QUAD, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "VLR_CT_QUAD");
  ASSERT_EQ(VLR_conetypetostr(task_, VLR_CT_RQUAD, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "VLR_CT_RQUAD");
  VLR_conetype ct = -1;
  ASSERT_EQ(VLR_strtoconetype(task_, "VLR_CT_RQUAD", &ct), VLR_RES_OK);
  EXPECT_EQ(ct, VLR_CT_RQUAD);
  EXPECT_EQ(VLR_conetypetostr(task_, 2, str_), VLR_RES_ERR_INV_CONE_TYPE);
  EXPECT_EQ(seen_.msg, "'2' is an invalid cone type code.");
  EXPECT_EQ(VLR_strtoconetype(task_, "VLR_CT_CUBE", &ct), VLR_RES_ERR_CONE_TYPE_STR);
  EXPECT_EQ(seen_.code, VLR_RES_ERR_CONE_TYPE_STR);
  EXPECT_EQ(ct, VLR_CT_RQUAD);
}

TEST_F(TaskStr, StatusAndProblemTypeTexts) {
  ASSERT_EQ(VLR_prostatostr(task_, VLR_PRO_STA_PRIM_AND_DUAL_FEAS, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "PRIMAL_AND_DUAL_FEASIBLE");
  ASSERT_EQ(VLR_prostatostr(task_, VLR_PRO_STA_PRIM_INFEAS_OR_UNBOUNDED, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "PRIMAL_INFEASIBLE_OR_UNBOUNDED");
  ASSERT_EQ(VLR_prostatostr(task_, 12, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "INVALID CODE(12)");
  ASSERT_EQ(VLR_solstatostr(task_, VLR_SOL_STA_DUAL_INFEAS_CER, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "DUAL_INFEASIBLE_CER");
  ASSERT_EQ(VLR_solstatostr(task_, 7, str_), VLR_RES_OK);  // the unused number
  EXPECT_STREQ(str_, "INVALID code(7)");
  ASSERT_EQ(VLR_solstatostr(task_, VLR_SOL_STA_NEAR_OPTIMAL, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "NEAR_OPTIMAL");
  ASSERT_EQ(VLR_solstatostr(task_, VLR_SOL_STA_NEAR_INTEGER_OPTIMAL, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "NEAR_INTEGER_OPTIMAL");
  ASSERT_EQ(VLR_solstatostr(task_, -3, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "INVALID code(-3)");
  ASSERT_EQ(VLR_probtypetostr(task_, VLR_PROBTYPE_QCQO, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "QCQO (quadratically constrained optimization problem)");
  ASSERT_EQ(VLR_probtypetostr(task_, VLR_PROBTYPE_MIXED, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "MIXED (mixed nonlinear and conic optimization problem)");
  ASSERT_EQ(VLR_probtypetostr(task_, 6, str_), VLR_RES_OK);
  EXPECT_STREQ(str_, "INVALID");
}

TEST_F(TaskStr, IntegerParameterValuesAsSymbols) {
  char name[VLR_MAX_STR_LEN], pre[VLR_MAX_STR_LEN], val[VLR_MAX_STR_LEN];
  ASSERT_EQ(
      VLR_iparvaltostr(task_, VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_PRIMAL_SIMPLEX, name, pre, val),
      VLR_RES_OK);
  EXPECT_STREQ(name, "VLR_IPAR_OPTIMIZER");
  EXPECT_STREQ(pre, "VLR_OPTIMIZER_");
  EXPECT_STREQ(val, "PRIMAL_SIMPLEX");
  ASSERT_EQ(VLR_iparvaltostr(task_, VLR_IPAR_DATA_CHECK, VLR_ON, name, pre, val), VLR_RES_OK);
  EXPECT_EQ(std::string(pre) + val, "VLR_ON");  // the empty prefix of the on/off keys
  ASSERT_EQ(VLR_iparvaltostr(task_, VLR_IPAR_LOG, 10, name, pre, val), VLR_RES_OK);
  EXPECT_STREQ(pre, "");
  EXPECT_STREQ(val, "10");
  ASSERT_EQ(VLR_iparvaltostr(task_, VLR_IPAR_DATA_CHECK, 7, name, pre, val), VLR_RES_OK);
  EXPECT_EQ(std::string(pre) + val, "7");
  EXPECT_EQ(VLR_iparvaltostr(task_, vlr::kNumIntParams, 0, name, pre, val),
            VLR_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(seen_.msg, "The parameter index 202 is invalid for a parameter of type integer.");

  ASSERT_EQ(VLR_iparvaltosymnam(env_, VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_CONCURRENT, name),
            VLR_RES_OK);
  EXPECT_STREQ(name, "VLR_OPTIMIZER_CONCURRENT");
  ASSERT_EQ(VLR_iparvaltosymnam(env_, VLR_IPAR_WRITE_XML_MODE, 1, name), VLR_RES_OK);
  EXPECT_STREQ(name, "VLR_WRITE_XML_MODE_COL");
  ASSERT_EQ(VLR_iparvaltosymnam(env_, VLR_IPAR_ANA_SOL_BASIS, VLR_OFF, name), VLR_RES_OK);
  EXPECT_STREQ(name, "VLR_OFF");
  ASSERT_EQ(VLR_iparvaltosymnam(env_, VLR_IPAR_LOG, 1, name), VLR_RES_OK);
  EXPECT_STREQ(name, "");
  ASSERT_EQ(VLR_iparvaltosymnam(env_, VLR_IPAR_OPTIMIZER, 11, name), VLR_RES_OK);
  EXPECT_STREQ(name, "");
  EXPECT_EQ(VLR_iparvaltosymnam(env_, -1, 0, name), VLR_RES_ERR_PARAM_INDEX);
}

TEST_F(TaskStr, SymbolTableReadOneByOne) {
  int32_t num = 0, maxlen = 0;
  ASSERT_EQ(VLR_getsymbcondim(env_, &num, &maxlen), VLR_RES_OK);
  EXPECT_EQ(num, vlr::kNumSymCons);
  size_t longest = 0;
  for (int32_t i = 0; i < num; ++i) {
    int32_t value = -1;
    ASSERT_EQ(VLR_getsymbcon(task_, i, VLR_MAX_STR_LEN, str_, &value), VLR_RES_OK);
    EXPECT_STREQ(str_, vlr::kSymCons[i].name);
    EXPECT_EQ(value, vlr::kSymCons[i].value);
    longest = std::max(longest, std::strlen(str_));
  }
  EXPECT_EQ(static_cast<size_t>(maxlen), longest);
  EXPECT_EQ(seen_.calls, 0);
  int32_t value = 0;
  EXPECT_EQ(VLR_getsymbcon(task_, num, VLR_MAX_STR_LEN, str_, &value),
            VLR_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(VLR_getsymbcon(task_, -1, VLR_MAX_STR_LEN, str_, &value),
            VLR_RES_ERR_INDEX_IS_TOO_SMALL);
  // A short buffer gets the cut name and a warning with both lengths.
  char small[4];
  const size_t len0 = std::strlen(vlr::kSymCons[0].name);
  EXPECT_EQ(VLR_getsymbcon(task_, 0, 4, small, &value), VLR_RES_WRN_NAME_MAX_LEN);
  EXPECT_EQ(std::string(small), std::string(vlr::kSymCons[0].name, 3));
  EXPECT_EQ(value, vlr::kSymCons[0].value);
  EXPECT_EQ(seen_.msg, "A name of length " + std::to_string(len0) +
                           " is longer than the buffer of length 4 that is supposed to hold it.");
  EXPECT_NE(VLR_getsymbcondim(nullptr, &num, &maxlen), VLR_RES_OK);
}

TEST_F(TaskStr, InnerReturnWordsBecomeResponseCodes) {
  struct Case {
    int32_t inner, resp;
    bool message;  // raised on the exception path
  };
  const Case cases[] = {
      {0, VLR_RES_OK, false},
      {1, VLR_RES_ERR_SPACE, true},
      {2, VLR_RES_ERR_UNKNOWN, true},
      {4, VLR_RES_TRM_MAX_ITERATIONS, false},
      {5, VLR_RES_TRM_MAX_TIME, false},
      {6, VLR_RES_TRM_USER_CALLBACK, false},
      {7, VLR_RES_TRM_USER_CALLBACK, false},
      {8, VLR_RES_TRM_STALL, false},
      {9, VLR_RES_TRM_NUMERICAL_PROBLEM, false},
      {10, VLR_RES_ERR_FACTOR, true},
      {11, VLR_RES_ERR_USER_NLO_FUNC, true},
      {12, VLR_RES_ERR_INTERNAL, true},
      {15, VLR_RES_TRM_OBJECTIVE_RANGE, false},
      {16, VLR_RES_ERR_USER_NLO_EVAL_HESSUBI, false},
      {17, VLR_RES_ERR_USER_NLO_EVAL_HESSUBJ, false},
      {18, VLR_RES_ERR_INV_PROBLEM, true},
      {20, VLR_RES_ERR_BASIS, false},
      {21, VLR_RES_ERR_BASIS, false},
      {23, VLR_RES_ERR_INTERNAL, true},
      {24, VLR_RES_ERR_POSTSOLVE, true},
      {25, VLR_RES_ERR_NONCONVEX, true},
      {26, VLR_RES_ERR_BASIS_SINGULAR, true},
      {27, VLR_RES_TRM_MAX_NUM_SETBACKS, false},
      {29, VLR_RES_ERR_LU_MAX_NUM_TRIES, true},
      {31, VLR_RES_ERR_UNB_STEP_SIZE, true},
      {33, VLR_RES_TRM_INTERNAL_STOP, false},
      {35, VLR_RES_ERR_UNKNOWN, true},
  };
  vlr::Task* t = vlr::VLR_taskcast(task_);
  for (const Case& c : cases) {
    seen_ = Seen{};
    EXPECT_EQ(vlr::VLR_oresptomrespdbg(__FILE__, __LINE__, "", t, c.inner), c.resp) << c.inner;
    EXPECT_EQ(seen_.calls, c.message ? 1 : 0) << c.inner;
    if (c.message) {
      EXPECT_EQ(seen_.code, c.resp) << c.inner;
    }
  }
  seen_ = Seen{};
  vlr::VLR_oresptomrespdbg(__FILE__, __LINE__, "", t, 12);
  EXPECT_EQ(seen_.msg, "An internal error occurred 'inner response 12'.");
}

}  // namespace
