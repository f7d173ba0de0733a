// src/velor/param.cpp: the task's parameters: put and get by index, by name and from text.
// SPDX-License-Identifier: Apache-2.0
#include "velor/param.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "velor/tables.h"
#include "velor/task.h"

namespace vlr {

namespace {

int32_t param_findname(const char* name, int32_t type) {
  if (name == nullptr) return -1;
  if (type == VLR_PAR_INT_TYPE) {
    for (int32_t k = 0; k < kNumIntParams; ++k) {
      if (std::strcmp(kIntParams[k].name, name) == 0) return k;
    }
  } else if (type == VLR_PAR_DOU_TYPE) {
    for (int32_t k = 0; k < kNumDouParams; ++k) {
      if (std::strcmp(kDouParams[k].name, name) == 0) return k;
    }
  } else if (type == VLR_PAR_STR_TYPE) {
    for (int32_t k = 0; k < kNumStrParams; ++k) {
      if (std::strcmp(kStrParams[k].name, name) == 0) return k;
    }
  }
  return -1;
}

int32_t param_count(int32_t type) {
  switch (type) {
    case VLR_PAR_INT_TYPE:
      return kNumIntParams;
    case VLR_PAR_DOU_TYPE:
      return kNumDouParams;
    case VLR_PAR_STR_TYPE:
      return kNumStrParams;
    default:
      return -1;
  }
}

// Copies a string value: one in double quotes loses them, and \" inside stands for a quote.
char* param_unquote(SysEnv* sys, const char* value) {
  if (value == nullptr) value = "";
  if (value[0] != '"') return VLR_sysenv_strdupdbg(sys, VLR_HERE, value);
  const size_t n = std::strlen(value);
  auto* out = static_cast<char*>(VLR_sysenv_callocdbg(sys, VLR_HERE, static_cast<int64_t>(n), 1));
  if (out == nullptr) return nullptr;
  size_t k = 0;
  for (const char* p = value + 1; *p != '\0'; ++p) {
    if (p[0] == '\\' && p[1] == '"') {
      out[k++] = '"';
      ++p;
    } else if (*p == '"') {
      break;
    } else {
      out[k++] = *p;
    }
  }
  out[k] = '\0';
  return out;
}

void param_copyout(const char* value, int64_t maxlen, int64_t* len, char* out) {
  const auto n = static_cast<int64_t>(std::strlen(value));
  if (len != nullptr) *len = n;
  if (out != nullptr && maxlen > 0) std::snprintf(out, static_cast<size_t>(maxlen), "%s", value);
}

}  // namespace

bool VLR_strtointeger(const char* text, int32_t* value) {
  if (text == nullptr) return false;
  while (*text == ' ' || *text == '\t')
    ++text;
  if (*text == '\0') return false;
  errno = 0;
  char* end = nullptr;
  const long long v = std::strtoll(text, &end, 10);
  while (*end == ' ' || *end == '\t' || *end == '\r' || *end == '\n')
    ++end;
  if (errno != 0 || *end != '\0' || v < INT32_MIN || v > INT32_MAX) return false;
  *value = static_cast<int32_t>(v);
  return true;
}

bool VLR_strtoreal(const char* text, double* value) {
  if (text == nullptr) return false;
  while (*text == ' ' || *text == '\t')
    ++text;
  if (*text == '\0') return false;
  char* end = nullptr;
  const double v = std::strtod(text, &end);
  while (*end == ' ' || *end == '\t' || *end == '\r' || *end == '\n')
    ++end;
  if (*end != '\0' || std::isnan(v)) return false;
  *value = v;
  return true;
}

bool VLR_symboltovalue(const char* name, int32_t* value) {
  for (int32_t k = 0; k < kNumSymCons; ++k) {
    if (std::strcmp(kSymCons[k].name, name) == 0) {
      *value = kSymCons[k].value;
      return true;
    }
  }
  return false;
}

int32_t VLRP_validateintparam(const Task*, int32_t index, int32_t value) {
  const IntParInfo& p = kIntParams[index];
  if ((p.kind == kParLower || p.kind == kParRange) && value < p.min) return 0;
  if ((p.kind == kParUpper || p.kind == kParRange) && value > p.max) return 0;
  return 1;
}

int32_t VLRP_validatedouparam(const Task*, int32_t index, double value) {
  const DouParInfo& p = kDouParams[index];
  if ((p.kind == kParLower || p.kind == kParRange) && value < p.min) return 0;
  if ((p.kind == kParUpper || p.kind == kParRange) && value > p.max) return 0;
  return 1;
}

int32_t VLR_setdefaults(Task* task) {
  const Env* env = task->env;
  std::memcpy(task->iparam, env->iparam_dflt, sizeof(int32_t) * static_cast<size_t>(kNumIntParams));
  std::memcpy(task->dparam, env->dparam_dflt, sizeof(double) * static_cast<size_t>(kNumDouParams));
  for (int32_t k = 0; k < kNumStrParams; ++k) {
    char* copy = VLR_sysenv_strdupdbg(task->sys, VLR_HERE, env->sparam_dflt[k]);
    if (copy == nullptr) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
    VLR_sysenv_freedbg(task->sys, VLR_HERE, task->sparam[k]);
    task->sparam[k] = copy;
  }
  return VLR_RES_OK;
}

int32_t VLR_putintparamrec(Task* task, int32_t index, int32_t value) {
  if (index < 0 || index >= kNumIntParams) {
    return VLR_RAISE(task, VLR_RES_ERR_PARAM_INDEX, index, "integer");
  }
  if (task->iparam[index] == value) return VLR_RES_OK;
  const IntParInfo& p = kIntParams[index];
  char text[32];
  std::snprintf(text, sizeof text, "%d", value);
  if ((p.kind == kParLower || p.kind == kParRange) && value < p.min) {
    return VLR_RAISE(task, VLR_RES_ERR_PARAM_IS_TOO_SMALL, text, p.name);
  }
  if ((p.kind == kParUpper || p.kind == kParRange) && value > p.max) {
    return VLR_RAISE(task, VLR_RES_ERR_PARAM_IS_TOO_LARGE, text, p.name);
  }
  task->iparam[index] = value;
  return VLR_RES_OK;
}

int32_t VLR_putdouparamrec(Task* task, int32_t index, double value) {
  if (index < 0 || index >= kNumDouParams) {
    return VLR_RAISE(task, VLR_RES_ERR_PARAM_INDEX, index, "double");
  }
  if (task->dparam[index] == value) return VLR_RES_OK;
  const DouParInfo& p = kDouParams[index];
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  if (std::isnan(value)) return VLR_RAISE(task, VLR_RES_ERR_PARAM_VALUE_STR, text, p.name);
  if ((p.kind == kParLower || p.kind == kParRange) && value < p.min) {
    return VLR_RAISE(task, VLR_RES_ERR_PARAM_IS_TOO_SMALL, text, p.name);
  }
  if ((p.kind == kParUpper || p.kind == kParRange) && value > p.max) {
    return VLR_RAISE(task, VLR_RES_ERR_PARAM_IS_TOO_LARGE, text, p.name);
  }
  task->dparam[index] = value;
  return VLR_RES_OK;
}

int32_t VLR_putstrparamrec(Task* task, int32_t index, const char* value) {
  if (index < 0 || index >= kNumStrParams) {
    return VLR_RAISE(task, VLR_RES_ERR_PARAM_INDEX, index, "string");
  }
  char* copy = param_unquote(task->sys, value);
  if (copy == nullptr) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  VLR_sysenv_freedbg(task->sys, VLR_HERE, task->sparam[index]);
  task->sparam[index] = copy;
  return VLR_RES_OK;
}

int32_t VLR_whichparamrec(const char* name, int32_t* type, int32_t* index) {
  const int32_t order[3] = {VLR_PAR_DOU_TYPE, VLR_PAR_INT_TYPE, VLR_PAR_STR_TYPE};
  for (const int32_t t : order) {
    const int32_t k = param_findname(name, t);
    if (k >= 0) {
      *type = t;
      *index = k;
      return t;
    }
  }
  *type = VLR_PAR_INVALID_TYPE;
  *index = 0;
  return VLR_PAR_INVALID_TYPE;
}

int32_t VLR_putparamrec(Task* task, const char* rawname, const char* value) {
  char name[1025];
  std::snprintf(name, sizeof name, "%s", rawname);
  // The name is trimmed of blanks on both sides.
  char* start = name;
  while (*start == ' ' || *start == '\t')
    ++start;
  size_t n = std::strlen(start);
  while (n > 0 && (start[n - 1] == ' ' || start[n - 1] == '\t'))
    start[--n] = '\0';
  int32_t type = 0, index = 0;
  VLR_whichparamrec(start, &type, &index);
  switch (type) {
    case VLR_PAR_DOU_TYPE: {
      double v = 0;
      if (!VLR_strtoreal(value, &v)) {
        return VLR_RAISE(task, VLR_RES_ERR_PARAM_VALUE_STR, value != nullptr ? value : "", start);
      }
      return VLR_putdouparamrec(task, index, v);
    }
    case VLR_PAR_INT_TYPE: {
      int32_t v = 0;
      if (!VLR_strtointeger(value, &v)) {
        char sym[1025];
        std::snprintf(sym, sizeof sym, "%s", value != nullptr ? value : "");
        char* s = sym;
        while (*s == ' ' || *s == '\t')
          ++s;
        size_t m = std::strlen(s);
        while (m > 0 && (s[m - 1] == ' ' || s[m - 1] == '\t'))
          s[--m] = '\0';
        if (!VLR_symboltovalue(s, &v)) {
          return VLR_RAISE(task, VLR_RES_ERR_PARAM_VALUE_STR, value != nullptr ? value : "", start);
        }
      }
      return VLR_putintparamrec(task, index, v);
    }
    case VLR_PAR_STR_TYPE:
      return VLR_putstrparamrec(task, index, value);
    default:
      return VLR_RAISE(task, VLR_RES_ERR_PARAM_NAME, start);
  }
}

}  // namespace vlr

using vlr::Task;

// Every exported body below runs the same prologue: check the handle, then the arguments.
#define VLR_TASK_PROLOGUE(task)           \
  const int32_t r_ = VLR_checktask(task); \
  if (r_ != VLR_RES_OK) return r_;        \
  Task* t = vlr::VLR_taskcast(task)
#define VLR_TASK_PUTPROLOGUE(task) \
  VLR_TASK_PROLOGUE(task);         \
  if (const int32_t busy_ = vlr::VLR_checktaskidle(t); busy_ != VLR_RES_OK) return busy_

int32_t VLR_setdefaults(VLRtask_t task) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PUTPROLOGUE(task);
    return vlr::VLR_setdefaults(t);
  });
}

int32_t VLR_putintparam(VLRtask_t task, int32_t param, int32_t parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PUTPROLOGUE(task);
    return vlr::VLR_putintparamrec(t, param, parvalue);
  });
}

int32_t VLR_getintparam(VLRtask_t task, int32_t param, int32_t* parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    if (param < 0 || param >= vlr::kNumIntParams) {
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_INDEX, param, "integer");
    }
    if (parvalue == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "parvalue");
    *parvalue = t->iparam[param];
    return VLR_RES_OK;
  });
}

int32_t VLR_putdouparam(VLRtask_t task, int32_t param, double parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PUTPROLOGUE(task);
    return vlr::VLR_putdouparamrec(t, param, parvalue);
  });
}

int32_t VLR_getdouparam(VLRtask_t task, int32_t param, double* parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    if (param < 0 || param >= vlr::kNumDouParams) {
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_INDEX, param, "double");
    }
    if (parvalue == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "parvalue");
    *parvalue = t->dparam[param];
    return VLR_RES_OK;
  });
}

int32_t VLR_putstrparam(VLRtask_t task, int32_t param, const char* parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PUTPROLOGUE(task);
    return vlr::VLR_putstrparamrec(t, param, parvalue);
  });
}

int32_t VLR_getstrparam64(VLRtask_t task, int32_t param, int64_t maxlen, int64_t* len,
                          char* parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    if (param < 0 || param >= vlr::kNumStrParams) {
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_INDEX, param, "string");
    }
    vlr::param_copyout(t->sparam[param], maxlen, len, parvalue);
    return VLR_RES_OK;
  });
}

int32_t VLR_getstrparam(VLRtask_t task, int32_t param, int32_t maxlen, int32_t* len,
                        char* parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    int64_t n = 0;
    const int32_t r = VLR_getstrparam64(task, param, maxlen, &n, parvalue);
    if (r == VLR_RES_OK && len != nullptr) *len = static_cast<int32_t>(n);
    return r;
  });
}

int32_t VLR_getstrparamal(VLRtask_t task, int32_t param, int32_t numaddchr, char** value) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    if (param < 0 || param >= vlr::kNumStrParams) {
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_INDEX, param, "string");
    }
    if (value == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "value");
    const size_t n = std::strlen(t->sparam[param]);
    const int64_t size = static_cast<int64_t>(n) + 1 + (numaddchr > 0 ? numaddchr : 0);
    auto* copy =
        static_cast<char*>(VLR_callocdbgtask(task, static_cast<size_t>(size), 1, VLR_HERE));
    if (copy == nullptr) return VLR_RES_ERR_SPACE;
    std::memcpy(copy, t->sparam[param], n + 1);
    *value = copy;
    return VLR_RES_OK;
  });
}

int32_t VLR_putnaintparam(VLRtask_t task, const char* paramname, int32_t parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PUTPROLOGUE(task);
    const int32_t k = vlr::param_findname(paramname, VLR_PAR_INT_TYPE);
    if (k < 0)
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_NAME_INT, paramname != nullptr ? paramname : "");
    return vlr::VLR_putintparamrec(t, k, parvalue);
  });
}

int32_t VLR_getnaintparam(VLRtask_t task, const char* paramname, int32_t* parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    const int32_t k = vlr::param_findname(paramname, VLR_PAR_INT_TYPE);
    if (k < 0)
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_NAME_INT, paramname != nullptr ? paramname : "");
    return VLR_getintparam(task, k, parvalue);
  });
}

int32_t VLR_putnadouparam(VLRtask_t task, const char* paramname, double parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PUTPROLOGUE(task);
    const int32_t k = vlr::param_findname(paramname, VLR_PAR_DOU_TYPE);
    if (k < 0)
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_NAME_DOU, paramname != nullptr ? paramname : "");
    return vlr::VLR_putdouparamrec(t, k, parvalue);
  });
}

int32_t VLR_getnadouparam(VLRtask_t task, const char* paramname, double* parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    const int32_t k = vlr::param_findname(paramname, VLR_PAR_DOU_TYPE);
    if (k < 0)
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_NAME_DOU, paramname != nullptr ? paramname : "");
    return VLR_getdouparam(task, k, parvalue);
  });
}

int32_t VLR_putnastrparam(VLRtask_t task, const char* paramname, const char* parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PUTPROLOGUE(task);
    const int32_t k = vlr::param_findname(paramname, VLR_PAR_STR_TYPE);
    if (k < 0)
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_NAME_STR, paramname != nullptr ? paramname : "");
    return VLR_putstrparam(task, k, parvalue);
  });
}

int32_t VLR_getnastrparam(VLRtask_t task, const char* paramname, int32_t maxlen, int32_t* len,
                          char* parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    const int32_t k = vlr::param_findname(paramname, VLR_PAR_STR_TYPE);
    if (k < 0)
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_NAME_STR, paramname != nullptr ? paramname : "");
    return VLR_getstrparam(task, k, maxlen, len, parvalue);
  });
}

int32_t VLR_getnastrparamal(VLRtask_t task, const char* paramname, int32_t numaddchr,
                            char** value) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    const int32_t k = vlr::param_findname(paramname, VLR_PAR_STR_TYPE);
    if (k < 0)
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_NAME_STR, paramname != nullptr ? paramname : "");
    return VLR_getstrparamal(task, k, numaddchr, value);
  });
}

int32_t VLR_putparam(VLRtask_t task, const char* parname, const char* parvalue) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PUTPROLOGUE(task);
    if (parname == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "parname");
    return vlr::VLR_putparamrec(t, parname, parvalue);
  });
}

namespace {

int32_t param_isparname(VLRtask_t task, const char* parname, int32_t* param, int32_t type) {
  VLR_TASK_PROLOGUE(task);
  if (param == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "param");
  const int32_t k = vlr::param_findname(parname, type);
  *param = k >= 0 ? k : vlr::param_count(type);
  return VLR_RES_OK;
}

}  // namespace

int32_t VLR_isintparname(VLRtask_t task, const char* parname, int32_t* param) {
  return vlr::api_guard(
      [&]() -> int32_t { return param_isparname(task, parname, param, VLR_PAR_INT_TYPE); });
}

int32_t VLR_isdouparname(VLRtask_t task, const char* parname, int32_t* param) {
  return vlr::api_guard(
      [&]() -> int32_t { return param_isparname(task, parname, param, VLR_PAR_DOU_TYPE); });
}

int32_t VLR_isstrparname(VLRtask_t task, const char* parname, int32_t* param) {
  return vlr::api_guard(
      [&]() -> int32_t { return param_isparname(task, parname, param, VLR_PAR_STR_TYPE); });
}

int32_t VLR_whichparam(VLRtask_t task, const char* parname, int32_t* partype, int32_t* param) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    if (partype == nullptr || param == nullptr) {
      return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, partype == nullptr ? "partype" : "param");
    }
    vlr::VLR_whichparamrec(parname, partype, param);
    return VLR_RES_OK;
  });
}

int32_t VLR_getparamname(VLRtask_t task, int32_t partype, int32_t param, char* parname) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    const int32_t n = vlr::param_count(partype);
    if (n < 0) return VLR_RAISE(t, VLR_RES_ERR_PARAM_TYPE, partype);
    if (param < 0 || param >= n) {
      const char* what = partype == VLR_PAR_INT_TYPE   ? "integer"
                         : partype == VLR_PAR_DOU_TYPE ? "double"
                                                       : "string";
      return VLR_RAISE(t, VLR_RES_ERR_PARAM_INDEX, param, what);
    }
    if (parname == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "parname");
    const char* name = partype == VLR_PAR_INT_TYPE   ? vlr::kIntParams[param].name
                       : partype == VLR_PAR_DOU_TYPE ? vlr::kDouParams[param].name
                                                     : vlr::kStrParams[param].name;
    std::snprintf(parname, VLR_MAX_STR_LEN, "%s", name);
    return VLR_RES_OK;
  });
}

int32_t VLR_getparammax(VLRtask_t task, int32_t partype, int32_t* parammax) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    if (parammax == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "parammax");
    *parammax = vlr::param_count(partype);
    if (*parammax < 0) return VLR_RAISE(t, VLR_RES_ERR_PARAM_TYPE, partype);
    return VLR_RES_OK;
  });
}

int32_t VLR_getnumparam(VLRtask_t task, int32_t partype, int32_t* numparam) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_getparammax(task, partype, numparam);
    // Kept as it has always been: the integer type answers with the double count.
    if (r == VLR_RES_OK && partype == VLR_PAR_INT_TYPE) *numparam = vlr::kNumDouParams;
    return r;
  });
}

int32_t VLR_copyparam(VLRtask_t desttask, VLRtask_t srctask) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r0 = VLR_checktask(desttask);
    if (r0 != VLR_RES_OK) return r0;
    const int32_t r1 = VLR_checktask(srctask);
    if (r1 != VLR_RES_OK) return r1;
    const int32_t r2 = vlr::VLR_checktaskidle(vlr::VLR_taskcast(desttask));
    if (r2 != VLR_RES_OK) return r2;
    Task* src = vlr::VLR_taskcast(srctask);
    for (int32_t k = 0; k < vlr::kNumIntParams; ++k) {
      const int32_t r = VLR_putintparam(desttask, k, src->iparam[k]);
      if (r != VLR_RES_OK) return r;
    }
    for (int32_t k = 0; k < vlr::kNumDouParams; ++k) {
      const int32_t r = VLR_putdouparam(desttask, k, src->dparam[k]);
      if (r != VLR_RES_OK) return r;
    }
    for (int32_t k = 0; k < vlr::kNumStrParams; ++k) {
      // A stored value never has quotes to lose: copy it as it stands.
      Task* dst = vlr::VLR_taskcast(desttask);
      char* copy = vlr::VLR_sysenv_strdupdbg(dst->sys, VLR_HERE, src->sparam[k]);
      if (copy == nullptr) return VLR_RAISE(dst, VLR_RES_ERR_SPACE);
      vlr::VLR_sysenv_freedbg(dst->sys, VLR_HERE, dst->sparam[k]);
      dst->sparam[k] = copy;
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_printparam(VLRtask_t task) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_TASK_PROLOGUE(task);
    const int32_t msg = VLR_STREAM_MSG;
    vlr::VLRP_echotask(t, msg, "Integer parameters\n");
    for (int32_t k = 0; k < vlr::kNumIntParams; ++k) {
      const vlr::IntParInfo& p = vlr::kIntParams[k];
      vlr::VLRP_echotask(t, msg, "%-3d %-48s: %-18d", k, p.name, t->iparam[k]);
      if (p.kind == vlr::kParLower || p.kind == vlr::kParRange) {
        vlr::VLRP_echotask(t, msg, "   %-18d", p.min);
      } else {
        vlr::VLRP_echotask(t, msg, "   %-18s", "NONE");
      }
      if (p.kind == vlr::kParUpper || p.kind == vlr::kParRange) {
        vlr::VLRP_echotask(t, msg, "   %-18d", p.max);
      } else {
        vlr::VLRP_echotask(t, msg, "   %-18s", "NONE");
      }
      vlr::VLRP_echotask(t, msg, "\n");
    }
    vlr::VLRP_echotask(t, msg, "\nDouble parameters\n");
    for (int32_t k = 0; k < vlr::kNumDouParams; ++k) {
      const vlr::DouParInfo& p = vlr::kDouParams[k];
      vlr::VLRP_echotask(t, msg, "%-3d %-48s: %-18.8e", k, p.name, t->dparam[k]);
      if (p.kind == vlr::kParLower || p.kind == vlr::kParRange) {
        vlr::VLRP_echotask(t, msg, "   %-18.8e", p.min);
      } else {
        vlr::VLRP_echotask(t, msg, "   %-18s", "NONE");
      }
      if (p.kind == vlr::kParUpper || p.kind == vlr::kParRange) {
        vlr::VLRP_echotask(t, msg, "   %-18.8e", p.max);
      } else {
        vlr::VLRP_echotask(t, msg, "   %-18s", "NONE");
      }
      vlr::VLRP_echotask(t, msg, "\n");
    }
    vlr::VLRP_echotask(t, msg, "\nString parameters\n");
    for (int32_t k = 0; k < vlr::kNumStrParams; ++k) {
      vlr::VLRP_echotask(t, msg, "%-3d %-48s: %-s\n", k, vlr::kStrParams[k].name, t->sparam[k]);
    }
    return VLR_RES_OK;
  });
}
