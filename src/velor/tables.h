// src/velor/tables.h: the generated tables of codes, parameters, information items and symbols.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace vlr {

struct Task;

// BEGIN GENERATED ENUM INDEX: written by tools/gentables.py.
// clang-format off
// Positions of the enumerations in kEnums, in the order of their type names.
enum EnumIndex : int32_t {
  kEnumAccmode             = 0,   // VLR_accmode
  kEnumAdopcode            = 1,   // VLR_adopcode
  kEnumAdoptype            = 2,   // VLR_adoptype
  kEnumBasindtype          = 3,   // VLR_basindtype
  kEnumBoundkey            = 4,   // VLR_boundkey
  kEnumBranchdir           = 5,   // VLR_branchdir
  kEnumCallbackcode        = 6,   // VLR_callbackcode
  kEnumCheckconvexitytype  = 7,   // VLR_checkconvexitytype
  kEnumCompresstype        = 8,   // VLR_compresstype
  kEnumConetype            = 9,   // VLR_conetype
  kEnumCputype             = 10,  // VLR_cputype
  kEnumDataformat          = 11,  // VLR_dataformat
  kEnumDinfitem            = 12,  // VLR_dinfitem
  kEnumDparam              = 13,  // VLR_dparam
  kEnumFeasrepairtype      = 14,  // VLR_feasrepairtype
  kEnumIinfitem            = 15,  // VLR_iinfitem
  kEnumInftype             = 16,  // VLR_inftype
  kEnumIomode              = 17,  // VLR_iomode
  kEnumIparam              = 18,  // VLR_iparam
  kEnumLanguage            = 19,  // VLR_language
  kEnumLiinfitem           = 20,  // VLR_liinfitem
  kEnumMark                = 21,  // VLR_mark
  kEnumMiocontsoltype      = 22,  // VLR_miocontsoltype
  kEnumMiomode             = 23,  // VLR_miomode
  kEnumMionodeseltype      = 24,  // VLR_mionodeseltype
  kEnumMpsformat           = 25,  // VLR_mpsformat
  kEnumMsgkey              = 26,  // VLR_msgkey
  kEnumNetworkdetect       = 27,  // VLR_networkdetect
  kEnumObjsense            = 28,  // VLR_objsense
  kEnumOnoffkey            = 29,  // VLR_onoffkey
  kEnumOptimizertype       = 30,  // VLR_optimizertype
  kEnumOrderingtype        = 31,  // VLR_orderingtype
  kEnumParametertype       = 32,  // VLR_parametertype
  kEnumPresolvemode        = 33,  // VLR_presolvemode
  kEnumProblemitem         = 34,  // VLR_problemitem
  kEnumProblemtype         = 35,  // VLR_problemtype
  kEnumProsta              = 36,  // VLR_prosta
  kEnumQreadtype           = 37,  // VLR_qreadtype
  kEnumRescode             = 38,  // VLR_rescode
  kEnumRescodetype         = 39,  // VLR_rescodetype
  kEnumScalingmethod       = 40,  // VLR_scalingmethod
  kEnumScalingtype         = 41,  // VLR_scalingtype
  kEnumSensitivitytype     = 42,  // VLR_sensitivitytype
  kEnumSimdegen            = 43,  // VLR_simdegen
  kEnumSimdupvec           = 44,  // VLR_simdupvec
  kEnumSimhotstart         = 45,  // VLR_simhotstart
  kEnumSimreform           = 46,  // VLR_simreform
  kEnumSimseltype          = 47,  // VLR_simseltype
  kEnumSolitem             = 48,  // VLR_solitem
  kEnumSolsta              = 49,  // VLR_solsta
  kEnumSoltype             = 50,  // VLR_soltype
  kEnumSolveform           = 51,  // VLR_solveform
  kEnumSparam              = 52,  // VLR_sparam
  kEnumStakey              = 53,  // VLR_stakey
  kEnumStartpointtype      = 54,  // VLR_startpointtype
  kEnumStreamtype          = 55,  // VLR_streamtype
  kEnumValue               = 56,  // VLR_value
  kEnumVariabletype        = 57,  // VLR_variabletype
  kEnumXmlwriteroutputtype = 58,  // VLR_xmlwriteroutputtype
};
constexpr int32_t kNumEnumIndex = 59;
// clang-format on
// END GENERATED ENUM INDEX

// One response code: number, symbolic name, description and message format.
struct ResCodeInfo {
  int32_t code;
  const char* name;  // "VLR_RES_ERR_SPACE"
  const char* desc;  // short description for users of the interface
  const char* msg;   // printf format filled by the raising site; "" when it takes nothing
};
extern const ResCodeInfo kResCodes[];  // sorted by code
extern const int32_t kNumResCodes;
// The entry of a code, or null for an unknown code (binary search).
const ResCodeInfo* VLR_findrescode(int32_t code);

// Limit kinds of a parameter, numbered as bound keys.
enum ParKind : int32_t { kParLower = 0, kParUpper = 1, kParFree = 3, kParRange = 4 };

struct IntParInfo {
  const char* name;  // "VLR_IPAR_LOG"
  int32_t kind;      // ParKind
  int32_t dflt, min, max;
  int32_t valenum;  // index into kEnums of the value's enumeration, -1 for none
};
struct DouParInfo {
  const char* name;
  int32_t kind;
  double dflt, min, max;
};
struct StrParInfo {
  const char* name;
  const char* dflt;  // "" for empty
};
extern const IntParInfo kIntParams[];  // in index order (alphabetical)
extern const DouParInfo kDouParams[];
extern const StrParInfo kStrParams[];
extern const int32_t kNumIntParams, kNumDouParams, kNumStrParams;

// An enumeration of the interface: its value names without "VLR_" and the prefix.
struct EnumValue {
  const char* name;  // the name after "VLR_" and the prefix: "ON", "FREE", "LO"
  int32_t value;
};
struct EnumInfo {
  const char* name;    // "VLR_onoffkey"
  const char* prefix;  // the common prefix after "VLR_", e.g. "OPTIMIZER_"; "" for none
  const EnumValue* values;
  int32_t count;
};
extern const EnumInfo kEnums[];
extern const int32_t kNumEnums;

// Information items: full names in index order ("VLR_DINF_BI_TIME"); the private ones read
// "VLR_DINF_PRIVATE_" + name (IINF_, LIINF_), as the statistics file shows them.
extern const char* const kDouInfNames[];
extern const char* const kIntInfNames[];
extern const char* const kLintInfNames[];
extern const int32_t kNumDouInf, kNumIntInf, kNumLintInf;
extern const char* const kPrivDouInfNames[];
extern const char* const kPrivIntInfNames[];
extern const char* const kPrivLintInfNames[];
extern const int32_t kNumPrivDouInf, kNumPrivIntInf, kNumPrivLintInf;

// Callback codes in index order.
extern const char* const kCallbackNames[];
extern const int32_t kNumCallbackCodes;

// Every symbolic constant with its value.
struct SymCon {
  const char* name;
  int32_t value;
};
extern const SymCon kSymCons[];  // sorted by strcmp of the names, no name twice
extern const int32_t kNumSymCons;

// Turns an inner return word of the simplex or the optimisation task into a response code.
// Errors whose message needs no arguments, and VLR_RES_ERR_INTERNAL, are raised on the task's
// exception path with the caller's location; other codes are returned bare.
int32_t VLR_oresptomrespdbg(const char* file, int line, const char* function, Task* task,
                            int32_t code);
#define VLR_oresptomresp(task, code) \
  ::vlr::VLR_oresptomrespdbg(__FILE__, __LINE__, "", (task), (code))

// Value of a symbolic name of enumeration kEnums[index]: the name must be "VLR_" + the prefix +
// one of the value names. Returns 1 and sets *value (when not null) if found, otherwise 0.
int32_t VLR_enumnametovalue(int32_t index, const char* name, int32_t* value);
// The value name (without "VLR_" and the prefix) of a value of kEnums[index], or null.
const char* VLR_enumvaluename(int32_t index, int32_t value);

}  // namespace vlr
