// src/velor/enumstr.cpp: enumeration values to names and back, and the table of all symbolic
// constants.
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstring>

#include "velor.h"
#include "velor/tables.h"
#include "velor/task.h"

namespace vlr {

namespace {

constexpr size_t kStrCap = static_cast<size_t>(VLR_MAX_STR_LEN);

// Texts of the problem types, by number.
constexpr const char* kProbTypeText[] = {
    "LO (linear optimization problem)",
    "QO (quadratic optimization problem)",
    "QCQO (quadratically constrained optimization problem)",
    "GECO (general convex optimization problem)",
    "CONIC (conic optimization problem)",
    "MIXED (mixed nonlinear and conic optimization problem)",
};

constexpr const char* kProStaText[] = {
    "UNKNOWN",
    "PRIMAL_AND_DUAL_FEASIBLE",
    "PRIMAL_FEASIBLE",
    "DUAL_FEASIBLE",
    "PRIMAL_INFEASIBLE",
    "DUAL_INFEASIBLE",
    "PRIMAL_AND_DUAL_INFEASIBLE",
    "ILL_POSED",
    "NEAR_PRIMAL_AND_DUAL_FEASIBLE",
    "NEAR_PRIMAL_FEASIBLE",
    "NEAR_DUAL_FEASIBLE",
    "PRIMAL_INFEASIBLE_OR_UNBOUNDED",
};

// Solution status 7 is not in use and has no text.
constexpr const char* kSolStaText[] = {
    "UNKNOWN",
    "OPTIMAL",
    "PRIMAL_FEASIBLE",
    "DUAL_FEASIBLE",
    "PRIMAL_AND_DUAL_FEASIBLE",
    "PRIMAL_INFEASIBLE_CER",
    "DUAL_INFEASIBLE_CER",
    nullptr,
    "NEAR_OPTIMAL",
    "NEAR_PRIMAL_FEASIBLE",
    "NEAR_DUAL_FEASIBLE",
    "NEAR_PRIMAL_AND_DUAL_FEASIBLE",
    "NEAR_PRIMAL_INFEASIBLE_CER",
    "NEAR_DUAL_INFEASIBLE_CER",
    "INTEGER_OPTIMAL",
    "NEAR_INTEGER_OPTIMAL",
};

// Optimizer names for people; the primal-dual simplex (6) has none of its own.
constexpr const char* kOptimizerText[] = {
    "free",  "interior-point", "conic",         "qcone",     "primal simplex", "dual simplex",
    nullptr, "free simplex",   "mixed integer", "nonconvex", "concurrent",
};

template <size_t N>
const char* enumstr_pick(const char* const (&texts)[N], int32_t value) {
  if (value < 0 || static_cast<size_t>(value) >= N) return nullptr;
  return texts[value];
}

// Copies text into a caller buffer of VLR_MAX_STR_LEN characters, terminating zero included.
void enumstr_copy(char* out, const char* text) {
  std::snprintf(out, kStrCap, "%s", text);
}

// kSymCons is sorted by strcmp; the index of name, or -1.
int32_t enumstr_findsym(const char* name) {
  int32_t lo = 0, hi = kNumSymCons - 1;
  while (lo <= hi) {
    const int32_t mid = lo + (hi - lo) / 2;
    const int c = std::strcmp(kSymCons[mid].name, name);
    if (c == 0) return mid;
    if (c < 0) {
      lo = mid + 1;
    } else {
      hi = mid - 1;
    }
  }
  return -1;
}

// The common first steps of the task-taking conversions: a live task and a non-null output.
int32_t enumstr_begin(VLRtask_t task, const void* out, const char* what, Task** t) {
  const int32_t r = VLR_checktask(task);
  if (r != VLR_RES_OK) return r;
  *t = VLR_taskcast(task);
  if (out == nullptr) return VLR_RAISE(*t, VLR_RES_ERR_NULL_POINTER, what);
  return VLR_RES_OK;
}

}  // namespace

int32_t VLR_enumnametovalue(int32_t index, const char* name, int32_t* value) {
  if (index < 0 || index >= kNumEnums || name == nullptr) return 0;
  const EnumInfo& e = kEnums[index];
  if (std::strncmp(name, "VLR_", 4) != 0) return 0;
  const size_t plen = std::strlen(e.prefix);
  if (std::strncmp(name + 4, e.prefix, plen) != 0) return 0;
  const char* rest = name + 4 + plen;
  for (int32_t k = 0; k < e.count; ++k) {
    if (std::strcmp(rest, e.values[k].name) == 0) {
      if (value != nullptr) *value = e.values[k].value;
      return 1;
    }
  }
  return 0;
}

const char* VLR_enumvaluename(int32_t index, int32_t value) {
  if (index < 0 || index >= kNumEnums) return nullptr;
  const EnumInfo& e = kEnums[index];
  for (int32_t k = 0; k < e.count; ++k) {
    if (e.values[k].value == value) return e.values[k].name;
  }
  return nullptr;
}

}  // namespace vlr

using vlr::Task;

int32_t VLR_bktostr(VLRtask_t task, VLR_boundkey bk, char* str) {
  return vlr::api_guard([&]() -> int32_t {
    Task* t = nullptr;
    const int32_t r = vlr::enumstr_begin(task, str, "str", &t);
    if (r != VLR_RES_OK) return r;
    const char* name = vlr::VLR_enumvaluename(vlr::kEnumBoundkey, bk);
    vlr::enumstr_copy(str, name != nullptr ? name : "");
    return VLR_RES_OK;
  });
}

int32_t VLR_sktostr(VLRtask_t task, VLR_stakey sk, char* str) {
  return vlr::api_guard([&]() -> int32_t {
    Task* t = nullptr;
    const int32_t r = vlr::enumstr_begin(task, str, "str", &t);
    if (r != VLR_RES_OK) return r;
    const char* name = vlr::VLR_enumvaluename(vlr::kEnumStakey, sk);
    vlr::enumstr_copy(str, name != nullptr ? name : "");
    if (name == nullptr) return VLR_RAISE(t, VLR_RES_ERR_INV_SK, sk);
    return VLR_RES_OK;
  });
}

int32_t VLR_strtosk(VLRtask_t task, const char* str, VLR_stakey* sk) {
  return vlr::api_guard([&]() -> int32_t {
    Task* t = nullptr;
    int32_t r = vlr::enumstr_begin(task, sk, "sk", &t);
    if (r != VLR_RES_OK) return r;
    if (str == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "str");
    const vlr::EnumInfo& e = vlr::kEnums[vlr::kEnumStakey];
    for (int32_t k = 0; k < e.count; ++k) {
      if (std::strcmp(str, e.values[k].name) == 0) {
        *sk = e.values[k].value;
        return VLR_RES_OK;
      }
    }
    return VLR_RES_ERR_INV_SK_STR;  // bare: the caller decides whether it is worth a message
  });
}

int32_t VLR_conetypetostr(VLRtask_t task, VLR_conetype conetype, char* str) {
  return vlr::api_guard([&]() -> int32_t {
    Task* t = nullptr;
    const int32_t r = vlr::enumstr_begin(task, str, "str", &t);
    if (r != VLR_RES_OK) return r;
    const char* name = vlr::VLR_enumvaluename(vlr::kEnumConetype, conetype);
    if (name == nullptr) {
      vlr::enumstr_copy(str, "");
      return VLR_RAISE(t, VLR_RES_ERR_INV_CONE_TYPE, conetype);
    }
    std::snprintf(str, vlr::kStrCap, "VLR_%s%s", vlr::kEnums[vlr::kEnumConetype].prefix, name);
    return VLR_RES_OK;
  });
}

int32_t VLR_strtoconetype(VLRtask_t task, const char* str, VLR_conetype* conetype) {
  return vlr::api_guard([&]() -> int32_t {
    Task* t = nullptr;
    const int32_t r = vlr::enumstr_begin(task, conetype, "conetype", &t);
    if (r != VLR_RES_OK) return r;
    if (str == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "str");
    if (vlr::VLR_enumnametovalue(vlr::kEnumConetype, str, conetype)) return VLR_RES_OK;
    // The message of this code reports a number; a string that names no type has none.
    return VLR_RAISE(t, VLR_RES_ERR_CONE_TYPE_STR, -1);
  });
}

int32_t VLR_probtypetostr(VLRtask_t task, VLR_problemtype probtype, char* str) {
  return vlr::api_guard([&]() -> int32_t {
    Task* t = nullptr;
    const int32_t r = vlr::enumstr_begin(task, str, "str", &t);
    if (r != VLR_RES_OK) return r;
    const char* text = vlr::enumstr_pick(vlr::kProbTypeText, probtype);
    vlr::enumstr_copy(str, text != nullptr ? text : "INVALID");
    return VLR_RES_OK;
  });
}

int32_t VLR_prostatostr(VLRtask_t task, VLR_prosta prosta, char* str) {
  return vlr::api_guard([&]() -> int32_t {
    Task* t = nullptr;
    const int32_t r = vlr::enumstr_begin(task, str, "str", &t);
    if (r != VLR_RES_OK) return r;
    const char* text = vlr::enumstr_pick(vlr::kProStaText, prosta);
    if (text != nullptr) {
      vlr::enumstr_copy(str, text);
    } else {
      std::snprintf(str, vlr::kStrCap, "INVALID CODE(%d)", prosta);
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_solstatostr(VLRtask_t task, VLR_solsta solsta, char* str) {
  return vlr::api_guard([&]() -> int32_t {
    Task* t = nullptr;
    const int32_t r = vlr::enumstr_begin(task, str, "str", &t);
    if (r != VLR_RES_OK) return r;
    const char* text = vlr::enumstr_pick(vlr::kSolStaText, solsta);
    if (text != nullptr) {
      vlr::enumstr_copy(str, text);
    } else {
      std::snprintf(str, vlr::kStrCap, "INVALID code(%d)", solsta);
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_optimizertostr(VLR_optimizertype optimizer, int32_t size, char* str) {
  return vlr::api_guard([&]() -> int32_t {
    if (str == nullptr || size <= 0) return VLR_RES_ERR_NULL_POINTER;
    const char* text = vlr::enumstr_pick(vlr::kOptimizerText, optimizer);
    std::snprintf(str, static_cast<size_t>(size), "%s", text != nullptr ? text : "unknown");
    return VLR_RES_OK;
  });
}

int32_t VLR_callbackcodetostr(VLR_callbackcode code, char* str) {
  return vlr::api_guard([&]() -> int32_t {
    if (str == nullptr) return VLR_RES_ERR_NULL_POINTER;
    if (code < 0 || code >= vlr::kNumCallbackCodes) {
      str[0] = '\0';
      return VLR_RES_ERR_INDEX;
    }
    vlr::enumstr_copy(str, vlr::kCallbackNames[code]);
    return VLR_RES_OK;
  });
}

int32_t VLR_iparvaltostr(VLRtask_t task, VLR_iparam param, int32_t value, char* parname,
                         char* valpre, char* valname) {
  return vlr::api_guard([&]() -> int32_t {
    Task* t = nullptr;
    const int32_t r = vlr::enumstr_begin(task, parname, "parname", &t);
    if (r != VLR_RES_OK) return r;
    if (valpre == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "valpre");
    if (valname == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "valname");
    if (param < 0 || param >= vlr::kNumIntParams) {
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_INDEX, param, "integer");
    }
    const vlr::IntParInfo& p = vlr::kIntParams[param];
    vlr::enumstr_copy(parname, p.name);
    const char* name = vlr::VLR_enumvaluename(p.valenum, value);
    if (name != nullptr) {
      std::snprintf(valpre, vlr::kStrCap, "VLR_%s", vlr::kEnums[p.valenum].prefix);
      vlr::enumstr_copy(valname, name);
    } else {
      // Without a symbol the prefix is empty, so that prefix and name still join to the value.
      valpre[0] = '\0';
      std::snprintf(valname, vlr::kStrCap, "%d", value);
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_getsymbcondim(VLRenv_t env, int32_t* num, int32_t* maxlen) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checkenv(env);
    if (r != VLR_RES_OK) return r;
    size_t longest = 0;
    for (int32_t k = 0; k < vlr::kNumSymCons; ++k) {
      const size_t len = std::strlen(vlr::kSymCons[k].name);
      if (len > longest) longest = len;
    }
    if (num != nullptr) *num = vlr::kNumSymCons;
    if (maxlen != nullptr) *maxlen = static_cast<int32_t>(longest);
    return VLR_RES_OK;
  });
}

int32_t VLR_getsymbcon(VLRtask_t task, int32_t i, int32_t sizevalue, char* name, int32_t* value) {
  return vlr::api_guard([&]() -> int32_t {
    Task* t = nullptr;
    int32_t r = vlr::enumstr_begin(task, name, "name", &t);
    if (r != VLR_RES_OK) return r;
    if (value == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "value");
    r = vlr::VLR_checkindexdbg(VLR_HERE, t, i, vlr::kNumSymCons, "i");
    if (r != VLR_RES_OK) return r;
    const vlr::SymCon& s = vlr::kSymCons[i];
    *value = s.value;
    const size_t len = std::strlen(s.name);
    if (sizevalue > 0) std::snprintf(name, static_cast<size_t>(sizevalue), "%s", s.name);
    if (sizevalue <= 0 || len >= static_cast<size_t>(sizevalue)) {
      return VLR_RAISE(t, VLR_RES_WRN_NAME_MAX_LEN, static_cast<int32_t>(len), sizevalue);
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_symnamtovalue(const char* name, char* value) {
  return vlr::api_guard([&]() -> int32_t {
    if (name == nullptr) return 0;
    const int32_t k = vlr::enumstr_findsym(name);
    if (k < 0) return 0;
    if (value != nullptr) std::snprintf(value, vlr::kStrCap, "%d", vlr::kSymCons[k].value);
    return 1;
  });
}

int32_t VLR_iparvaltosymnam(VLRenv_t env, VLR_iparam whichparam, int32_t whichvalue,
                            char* symbolicname) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checkenv(env);
    if (r != VLR_RES_OK) return r;
    vlr::Env* e = vlr::VLR_envcast(env);
    if (symbolicname == nullptr) {
      return VLR_RAISEENV(e, VLR_RES_ERR_NULL_POINTER, "symbolicname");
    }
    if (whichparam < 0 || whichparam >= vlr::kNumIntParams) {
      return VLR_RAISEENV(e, VLR_RES_ERR_PARAM_INDEX, whichparam, "integer");
    }
    const int32_t venum = vlr::kIntParams[whichparam].valenum;
    const char* name = vlr::VLR_enumvaluename(venum, whichvalue);
    if (name == nullptr) {
      symbolicname[0] = '\0';
    } else {
      std::snprintf(symbolicname, vlr::kStrCap, "VLR_%s%s", vlr::kEnums[venum].prefix, name);
    }
    return VLR_RES_OK;
  });
}
