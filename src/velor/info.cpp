// src/velor/info.cpp: information items, the progress callback, the time limit and the summaries
// that need no optimiser.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "velor/privinf.h"
#include "velor/tables.h"
#include "velor/task.h"

namespace vlr {

namespace {

int32_t info_find(const char* const* names, int32_t n, const char* name) {
  if (name == nullptr) return -1;
  for (int32_t k = 0; k < n; ++k) {
    if (std::strcmp(names[k], name) == 0) return k;
  }
  return -1;
}

template <class T>
T* info_alloc(SysEnv* sys, int32_t n) {
  return static_cast<T*>(VLR_sysenv_callocdbg(sys, VLR_HERE, n > 0 ? n : 1, sizeof(T)));
}

}  // namespace

int32_t VLR_makeinfitems(Task* task) {
  SysEnv* sys = task->sys;
  task->dinf = info_alloc<double>(sys, kNumDouInf);
  task->iinf = info_alloc<int32_t>(sys, kNumIntInf);
  task->liinf = info_alloc<int64_t>(sys, kNumLintInf);
  task->pdinf = info_alloc<double>(sys, kNumPrivDouInf);
  task->piinf = info_alloc<int32_t>(sys, kNumPrivIntInf);
  task->pliinf = info_alloc<int64_t>(sys, kNumPrivLintInf);
  if (task->dinf == nullptr || task->iinf == nullptr || task->liinf == nullptr ||
      task->pdinf == nullptr || task->piinf == nullptr || task->pliinf == nullptr) {
    return VLR_RES_ERR_SPACE;
  }
  return VLR_RES_OK;
}

void VLR_deleteinfitems(Task* task) {
  SysEnv* sys = task->sys;
  VLR_sysenv_freedbg(sys, VLR_HERE, task->dinf);
  VLR_sysenv_freedbg(sys, VLR_HERE, task->iinf);
  VLR_sysenv_freedbg(sys, VLR_HERE, task->liinf);
  VLR_sysenv_freedbg(sys, VLR_HERE, task->pdinf);
  VLR_sysenv_freedbg(sys, VLR_HERE, task->piinf);
  VLR_sysenv_freedbg(sys, VLR_HERE, task->pliinf);
  task->dinf = task->pdinf = nullptr;
  task->iinf = task->piinf = nullptr;
  task->liinf = task->pliinf = nullptr;
}

void VLR_resetinfitems(Task* task) {
  // The machine items and the read statistics outlive an optimise.
  const int32_t keep[] = {VLR_IINF_CACHE_SIZE_L1, VLR_IINF_CACHE_SIZE_L2, VLR_IINF_CPU_TYPE,
                          VLR_IINF_RD_NUMCON,     VLR_IINF_RD_NUMCONE,    VLR_IINF_RD_NUMINTVAR,
                          VLR_IINF_RD_NUMQ,       VLR_IINF_RD_NUMVAR,     VLR_IINF_RD_PROTYPE};
  int32_t saved[sizeof keep / sizeof keep[0]];
  for (size_t k = 0; k < sizeof keep / sizeof keep[0]; ++k)
    saved[k] = task->iinf[keep[k]];
  const double rdtime = task->dinf[VLR_DINF_RD_TIME];
  const int64_t anz = task->liinf[VLR_LIINF_RD_NUMANZ], qnz = task->liinf[VLR_LIINF_RD_NUMQNZ];
  std::memset(task->dinf, 0, sizeof(double) * static_cast<size_t>(kNumDouInf));
  std::memset(task->iinf, 0, sizeof(int32_t) * static_cast<size_t>(kNumIntInf));
  std::memset(task->liinf, 0, sizeof(int64_t) * static_cast<size_t>(kNumLintInf));
  std::memset(task->pdinf, 0, sizeof(double) * static_cast<size_t>(kNumPrivDouInf));
  std::memset(task->piinf, 0, sizeof(int32_t) * static_cast<size_t>(kNumPrivIntInf));
  std::memset(task->pliinf, 0, sizeof(int64_t) * static_cast<size_t>(kNumPrivLintInf));
  for (size_t k = 0; k < sizeof keep / sizeof keep[0]; ++k)
    task->iinf[keep[k]] = saved[k];
  task->dinf[VLR_DINF_RD_TIME] = rdtime;
  task->liinf[VLR_LIINF_RD_NUMANZ] = anz;
  task->liinf[VLR_LIINF_RD_NUMQNZ] = qnz;
}

double VLRP_getdouinf(const Task* task, int32_t item) {
  return task->dinf[item];
}
void VLRP_putdouinf(Task* task, int32_t item, double value) {
  VLR_ASSERT(task, item >= 0 && item < kNumDouInf);
  task->dinf[item] = value;
}
int32_t VLRP_getintinf(const Task* task, int32_t item) {
  return task->iinf[item];
}
void VLRP_putintinf(Task* task, int32_t item, int32_t value) {
  VLR_ASSERT(task, item >= 0 && item < kNumIntInf);
  task->iinf[item] = value;
}
int64_t VLRP_getlintinf(const Task* task, int32_t item) {
  return task->liinf[item];
}
void VLRP_putlintinf(Task* task, int32_t item, int64_t value) {
  VLR_ASSERT(task, item >= 0 && item < kNumLintInf);
  task->liinf[item] = value;
}
double VLRP_getprivatedouinf(const Task* task, int32_t item) {
  return task->pdinf[item];
}
void VLRP_putprivatedouinf(Task* task, int32_t item, double value) {
  VLR_ASSERT(task, item >= 0 && item < kNumPrivDouInf);
  task->pdinf[item] = value;
}
int32_t VLRP_getprivateintinf(const Task* task, int32_t item) {
  return task->piinf[item];
}
void VLRP_putprivateintinf(Task* task, int32_t item, int32_t value) {
  VLR_ASSERT(task, item >= 0 && item < kNumPrivIntInf);
  task->piinf[item] = value;
}
int64_t VLRP_getprivatelintinf(const Task* task, int32_t item) {
  return task->pliinf[item];
}
void VLRP_putprivatelintinf(Task* task, int32_t item, int64_t value) {
  VLR_ASSERT(task, item >= 0 && item < kNumPrivLintInf);
  task->pliinf[item] = value;
}

int32_t VLR_putsystemcallbackfunc(Task* task, VLRcallbackfunc func, void* handle) {
  task->system_callback_func = func;
  task->system_callback_handle = handle;
  return VLR_RES_OK;
}

int32_t VLR_checksystemstop(Task* task, int32_t code) {
  if (task->system_callback_func != nullptr &&
      task->system_callback_func(VLR_taskhandle(task), task->system_callback_handle, code) != 0) {
    task->callback_stop = 1;
  }
  return task->callback_stop;
}

int32_t VLR_checkcallbacks(Task* task, int32_t code) {
  VLRtask_t h = VLR_taskhandle(task);
  if (task->callback_func != nullptr && task->callback_func(h, task->callback_handle, code) != 0) {
    task->callback_stop = 1;
  }
  if (task->system_callback_func != nullptr &&
      task->system_callback_func(h, task->system_callback_handle, code) != 0) {
    task->callback_stop = 1;
  }
  return task->callback_stop;
}

int32_t VLR_checkoptimizermaxtime(Task* task) {
  const double limit = task->dparam[VLR_DPAR_OPTIMIZER_MAX_TIME];
  if (limit < 0.0 || task->opt_start < 0.0) return 0;
  const double elapsed = VLR_sysenv_getwctime(task->sys) - task->opt_start;
  task->dinf[VLR_DINF_OPTIMIZER_TIME] = elapsed;
  if (elapsed <= limit) return 0;
  if (task->iinf[VLR_IINF_OPTIMIZE_RESPONSE] != VLR_RES_TRM_MAX_TIME) {
    task->iinf[VLR_IINF_OPTIMIZE_RESPONSE] = VLR_RES_TRM_MAX_TIME;
    VLRP_echotask(task, VLR_STREAM_LOG, "Maximum amount of time %.2f is reached.\n", limit);
  }
  return 5;  // the inner code of a time limit
}

}  // namespace vlr

using vlr::Task;

namespace {

template <class T>
int32_t info_get(VLRtask_t task, int32_t item, T* value, int32_t n, const T* arr, int32_t code,
                 const char* what) {
  const int32_t r = VLR_checktask(task);
  if (r != VLR_RES_OK) return r;
  Task* t = vlr::VLR_taskcast(task);
  if (item < 0 || item >= n) return VLR_RAISE(t, code, item);
  if (value == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, what);
  *value = arr[item];
  return VLR_RES_OK;
}

}  // namespace

int32_t VLR_getdouinf(VLRtask_t task, int32_t whichdinf, double* dvalue) {
  return vlr::api_guard([&]() -> int32_t {
    if (VLR_checktask(task) != VLR_RES_OK) return VLR_checktask(task);
    return info_get(task, whichdinf, dvalue, vlr::kNumDouInf, vlr::VLR_taskcast(task)->dinf,
                    VLR_RES_ERR_INF_DOU_INDEX, "dvalue");
  });
}

int32_t VLR_getintinf(VLRtask_t task, int32_t whichiinf, int32_t* ivalue) {
  return vlr::api_guard([&]() -> int32_t {
    if (VLR_checktask(task) != VLR_RES_OK) return VLR_checktask(task);
    return info_get(task, whichiinf, ivalue, vlr::kNumIntInf, vlr::VLR_taskcast(task)->iinf,
                    VLR_RES_ERR_INF_INT_INDEX, "ivalue");
  });
}

int32_t VLR_getlintinf(VLRtask_t task, int32_t whichliinf, int64_t* ivalue) {
  return vlr::api_guard([&]() -> int32_t {
    if (VLR_checktask(task) != VLR_RES_OK) return VLR_checktask(task);
    return info_get(task, whichliinf, ivalue, vlr::kNumLintInf, vlr::VLR_taskcast(task)->liinf,
                    VLR_RES_ERR_INF_LINT_INDEX, "ivalue");
  });
}

int32_t VLR_getinfindex(VLRtask_t task, int32_t inftype, const char* infname, int32_t* infindex) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (infindex == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "infindex");
    const char* name = infname != nullptr ? infname : "";
    int32_t k = -1;
    switch (inftype) {
      case VLR_INF_DOU_TYPE:
        k = vlr::info_find(vlr::kDouInfNames, vlr::kNumDouInf, name);
        if (k < 0) return VLR_RAISE(t, VLR_RES_ERR_INF_DOU_NAME, name);
        break;
      case VLR_INF_INT_TYPE:
        k = vlr::info_find(vlr::kIntInfNames, vlr::kNumIntInf, name);
        if (k < 0) return VLR_RAISE(t, VLR_RES_ERR_INF_INT_NAME, name);
        break;
      case VLR_INF_LINT_TYPE:
        k = vlr::info_find(vlr::kLintInfNames, vlr::kNumLintInf, name);
        if (k < 0) return VLR_RAISE(t, VLR_RES_ERR_INF_LINT_NAME, name);
        break;
      default:
        return VLR_RAISE(t, VLR_RES_ERR_INF_TYPE, inftype);
    }
    *infindex = k;
    return VLR_RES_OK;
  });
}

int32_t VLR_getnadouinf(VLRtask_t task, const char* infitemname, double* dvalue) {
  return vlr::api_guard([&]() -> int32_t {
    int32_t k = 0;
    const int32_t r = VLR_getinfindex(task, VLR_INF_DOU_TYPE, infitemname, &k);
    return r != VLR_RES_OK ? r : VLR_getdouinf(task, k, dvalue);
  });
}

int32_t VLR_getnaintinf(VLRtask_t task, const char* infitemname, int32_t* ivalue) {
  return vlr::api_guard([&]() -> int32_t {
    int32_t k = 0;
    const int32_t r = VLR_getinfindex(task, VLR_INF_INT_TYPE, infitemname, &k);
    return r != VLR_RES_OK ? r : VLR_getintinf(task, k, ivalue);
  });
}

int32_t VLR_getinfname(VLRtask_t task, int32_t inftype, int32_t whichinf, char* infname) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    const char* const* names = nullptr;
    int32_t n = 0, code = 0;
    switch (inftype) {
      case VLR_INF_DOU_TYPE:
        names = vlr::kDouInfNames, n = vlr::kNumDouInf, code = VLR_RES_ERR_INF_DOU_INDEX;
        break;
      case VLR_INF_INT_TYPE:
        names = vlr::kIntInfNames, n = vlr::kNumIntInf, code = VLR_RES_ERR_INF_INT_INDEX;
        break;
      case VLR_INF_LINT_TYPE:
        names = vlr::kLintInfNames, n = vlr::kNumLintInf, code = VLR_RES_ERR_INF_LINT_INDEX;
        break;
      default:
        return VLR_RAISE(t, VLR_RES_ERR_INF_TYPE, inftype);
    }
    if (whichinf < 0 || whichinf >= n) return VLR_RAISE(t, code, whichinf);
    if (infname == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "infname");
    std::snprintf(infname, VLR_MAX_STR_LEN, "%s", names[whichinf]);
    return VLR_RES_OK;
  });
}

int32_t VLR_getinfmax(VLRtask_t task, int32_t inftype, int32_t* infmax) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (infmax == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "infmax");
    switch (inftype) {
      case VLR_INF_DOU_TYPE:
        *infmax = vlr::kNumDouInf;
        return VLR_RES_OK;
      case VLR_INF_INT_TYPE:
        *infmax = vlr::kNumIntInf;
        return VLR_RES_OK;
      case VLR_INF_LINT_TYPE:
        *infmax = vlr::kNumLintInf;
        return VLR_RES_OK;
      default:
        return VLR_RAISE(t, VLR_RES_ERR_INF_TYPE, inftype);
    }
  });
}

int32_t VLR_putcallbackfunc(VLRtask_t task, VLRcallbackfunc func, void* handle) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    t->callback_func = func;
    t->callback_handle = handle;
    return VLR_RES_OK;
  });
}

int32_t VLR_getcallbackfunc(VLRtask_t task, VLRcallbackfunc* func, void** handle) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (func != nullptr) *func = t->callback_func;
    if (handle != nullptr) *handle = t->callback_handle;
    return VLR_RES_OK;
  });
}

int32_t VLR_readsummary(VLRtask_t task, int32_t whichstream) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (whichstream < 0 || whichstream >= vlr::kNumStreams) {
      return VLR_RAISE(t, VLR_RES_ERR_INVALID_STREAM, whichstream);
    }
    const int32_t sense = t->iparam[VLR_IPAR_OBJECTIVE_SENSE];
    const char* sensename = sense == VLR_OBJECTIVE_SENSE_MINIMIZE   ? "min"
                            : sense == VLR_OBJECTIVE_SENSE_MAXIMIZE ? "max"
                                                                    : "undefined";
    char probtype[VLR_MAX_STR_LEN];
    VLR_probtypetostr(task, t->iinf[VLR_IINF_RD_PROTYPE], probtype);
    const int32_t s = whichstream;
    vlr::VLRP_echotask(t, s, "Read - objective sense      : ");
    vlr::VLRP_echotask(t, s, "%-12s  ", sensename);
    vlr::VLRP_echotask(t, s, "problem type         : %s\n", probtype);
    vlr::VLRP_echotask(t, s, "Read - number of constraints: %-12d  number of variables  : %-12d\n",
                       t->iinf[VLR_IINF_RD_NUMCON], t->iinf[VLR_IINF_RD_NUMVAR]);
    vlr::VLRP_echotask(t, s, "Read - number of int. var.  : %-12d  number of nz Qs      : %-12d\n",
                       t->iinf[VLR_IINF_RD_NUMINTVAR], t->iinf[VLR_IINF_RD_NUMQ]);
    vlr::VLRP_echotask(t, s,
                       "Read - number of A nonzeros : %-12lld  number of Q nonzeros : %-12lld\n",
                       static_cast<long long>(t->liinf[VLR_LIINF_RD_NUMANZ]),
                       static_cast<long long>(t->liinf[VLR_LIINF_RD_NUMQNZ]));
    vlr::VLRP_echotask(t, s, "Read - time                 : %-8.1f\n\n", t->dinf[VLR_DINF_RD_TIME]);
    return VLR_RES_OK;
  });
}

int32_t VLR_optimizersummary(VLRtask_t task, int32_t whichstream) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (whichstream < 0 || whichstream >= vlr::kNumStreams) {
      return VLR_RAISE(t, VLR_RES_ERR_INVALID_STREAM, whichstream);
    }
    const int32_t s = whichstream;
    const double* d = t->dinf;
    const int32_t* i = t->iinf;
    vlr::VLRP_echotask(t, s, "\nOptimizer summary\n");
    vlr::VLRP_echotask(t, s, "  Optimizer                 -                        time: %-6.2f\n",
                       d[VLR_DINF_OPTIMIZER_TIME]);
    vlr::VLRP_echotask(t, s, "    Interior-point          - iterations : %-6d    time: %-6.2f\n",
                       i[VLR_IINF_INTPNT_ITER], d[VLR_DINF_INTPNT_TIME]);
    vlr::VLRP_echotask(t, s, "      Basis identification  -                        time: %-6.2f\n",
                       d[VLR_DINF_BI_TIME]);
    vlr::VLRP_echotask(t, s, "    Simplex                 -                        time: %-6.2f\n",
                       d[VLR_DINF_SIM_TIME]);
    vlr::VLRP_echotask(t, s, "      Primal simplex        - iterations : %-6d    time: %-6.2f\n",
                       i[VLR_IINF_SIM_PRIMAL_ITER], d[VLR_DINF_SIM_PRIMAL_TIME]);
    vlr::VLRP_echotask(t, s, "      Dual simplex          - iterations : %-6d    time: %-6.2f\n",
                       i[VLR_IINF_SIM_DUAL_ITER], d[VLR_DINF_SIM_DUAL_TIME]);
    vlr::VLRP_echotask(t, s, "      Primal-dual simplex   - iterations : %-6d    time: %-6.2f\n",
                       i[VLR_IINF_SIM_PRIMAL_DUAL_ITER], d[VLR_DINF_SIM_PRIMAL_DUAL_TIME]);
    vlr::VLRP_echotask(t, s, "    Mixed integer           - relaxations: %-6d    time: %-6.2f\n",
                       i[VLR_IINF_MIO_NUM_RELAX], d[VLR_DINF_MIO_TIME]);
    vlr::VLRP_echotask(t, s, "\n");
    return VLR_RES_OK;
  });
}
