// src/velor/rescode.cpp: response codes: their texts, their classes, and the inner return words
// of the optimisers turned into them.
// SPDX-License-Identifier: Apache-2.0
#include <cstddef>
#include <cstdio>

#include "velor.h"
#include "velor/tables.h"
#include "velor/task.h"

namespace vlr {

namespace {

// Copies text into a caller buffer of VLR_MAX_STR_LEN characters, terminating zero included.
void rescode_copy(char* out, const char* text) {
  size_t k = 0;
  for (; k + 1 < static_cast<size_t>(VLR_MAX_STR_LEN) && text[k] != '\0'; ++k)
    out[k] = text[k];
  out[k] = '\0';
}

struct InnerMap {
  int32_t inner;
  int32_t resp;
};

// Inner return words of the simplex and of the optimisation task. Words 6 and 7 are both a
// callback's request to stop, 20 and 21 both a basis the optimiser cannot use.
constexpr InnerMap kInnerMap[] = {
    {0, VLR_RES_OK},
    {1, VLR_RES_ERR_SPACE},
    {4, VLR_RES_TRM_MAX_ITERATIONS},
    {5, VLR_RES_TRM_MAX_TIME},
    {6, VLR_RES_TRM_USER_CALLBACK},
    {7, VLR_RES_TRM_USER_CALLBACK},
    {8, VLR_RES_TRM_STALL},
    {9, VLR_RES_TRM_NUMERICAL_PROBLEM},
    {10, VLR_RES_ERR_FACTOR},
    {11, VLR_RES_ERR_USER_NLO_FUNC},
    {12, VLR_RES_ERR_INTERNAL},
    {15, VLR_RES_TRM_OBJECTIVE_RANGE},
    {16, VLR_RES_ERR_USER_NLO_EVAL_HESSUBI},
    {17, VLR_RES_ERR_USER_NLO_EVAL_HESSUBJ},
    {18, VLR_RES_ERR_INV_PROBLEM},
    {20, VLR_RES_ERR_BASIS},
    {21, VLR_RES_ERR_BASIS},
    {23, VLR_RES_ERR_INTERNAL},
    {24, VLR_RES_ERR_POSTSOLVE},
    {25, VLR_RES_ERR_NONCONVEX},
    {26, VLR_RES_ERR_BASIS_SINGULAR},
    {27, VLR_RES_TRM_MAX_NUM_SETBACKS},
    {29, VLR_RES_ERR_LU_MAX_NUM_TRIES},
    {31, VLR_RES_ERR_UNB_STEP_SIZE},
    {33, VLR_RES_TRM_INTERNAL_STOP},
};

// True when a message format takes no arguments: "%%" is the only conversion allowed.
bool rescode_noargs(const char* format) {
  for (const char* p = format; *p != '\0'; ++p) {
    if (*p != '%') continue;
    if (p[1] != '%') return false;
    ++p;
  }
  return true;
}

}  // namespace

const ResCodeInfo* VLR_findrescode(int32_t code) {
  int32_t lo = 0, hi = kNumResCodes - 1;
  while (lo <= hi) {
    const int32_t mid = lo + (hi - lo) / 2;
    if (kResCodes[mid].code == code) return &kResCodes[mid];
    if (kResCodes[mid].code < code) {
      lo = mid + 1;
    } else {
      hi = mid - 1;
    }
  }
  return nullptr;
}

int32_t VLR_getresmes(int32_t code, const char** format) {
  const ResCodeInfo* info = VLR_findrescode(code);
  if (format != nullptr) *format = info != nullptr ? info->msg : "";
  return VLR_RES_OK;
}

int32_t VLR_oresptomrespdbg(const char* file, int line, const char* function, Task* task,
                            int32_t code) {
  int32_t resp = VLR_RES_ERR_UNKNOWN;
  for (const InnerMap& m : kInnerMap) {
    if (m.inner == code) resp = m.resp;
  }
  // Terminations are not failures and pass without a message.
  if (resp == VLR_RES_OK || resp >= 4000) return resp;
  if (resp == VLR_RES_ERR_INTERNAL) {
    char what[64];
    std::snprintf(what, sizeof what, "inner response %d", code);
    return VLR_exceptiontaskdbg(file, line, function, task, resp, what);
  }
  // Codes whose message wants figures only the raising optimiser knew (the basis counts, the
  // Hessian subscripts) are passed on bare; that optimiser reported them.
  const char* format = "";
  VLR_getresmes(resp, &format);
  if (!rescode_noargs(format)) return resp;
  return VLR_exceptiontaskdbg(file, line, function, task, resp);
}

}  // namespace vlr

using vlr::ResCodeInfo;

int32_t VLR_getcodedesc(VLR_rescode code, char* symname, char* str) {
  return vlr::api_guard([&]() -> int32_t {
    const ResCodeInfo* info = vlr::VLR_findrescode(code);
    if (info == nullptr) return VLR_RES_OK;  // an unknown code leaves both buffers alone
    if (symname != nullptr) vlr::rescode_copy(symname, info->name);
    if (str != nullptr) vlr::rescode_copy(str, info->desc);
    return VLR_RES_OK;
  });
}

int32_t VLR_getcodedisc(VLR_rescode code, char* symname, char* str) {
  return vlr::api_guard([&] { return VLR_getcodedesc(code, symname, str); });
}

int32_t VLR_getresponseclass(VLR_rescode r, VLR_rescodetype* rc) {
  return vlr::api_guard([&]() -> int32_t {
    if (rc == nullptr) return VLR_RES_ERR_NULL_POINTER;
    // The class lies in the number: warnings below 1000, errors below 4000, terminations above.
    if (r == VLR_RES_OK) {
      *rc = VLR_RESPONSE_OK;
    } else if (r < 1000) {
      *rc = VLR_RESPONSE_WRN;
    } else if (r < 4000) {
      *rc = VLR_RESPONSE_ERR;
    } else {
      *rc = VLR_RESPONSE_TRM;
    }
    return VLR_RES_OK;
  });
}
