// src/velor/optimize.cpp: the door to every optimiser: reset, choose a road by problem type and
// parameters, run it, and leave statuses, times and the response in the task.
// SPDX-License-Identifier: Apache-2.0
#include "optimize/optimize.h"

#include "velor/privinf.h"
#include "velor/probdata.h"
#include "velor/task.h"

namespace vlr {

namespace {

// The task's sense when it is defined, otherwise the parameter's.
int32_t VLR_getoptobjsense(const Task* task) {
  const int32_t sense = task->data != nullptr ? task->data->objsense : 0;
  if (sense == VLR_OBJECTIVE_SENSE_MINIMIZE || sense == VLR_OBJECTIVE_SENSE_MAXIMIZE) return sense;
  return task->iparam[VLR_IPAR_OBJECTIVE_SENSE];
}

int32_t VLR_inittaskbeforeoptimize(Task* task) {
  const int32_t sense = VLR_getoptobjsense(task);
  if (sense != VLR_OBJECTIVE_SENSE_MINIMIZE && sense != VLR_OBJECTIVE_SENSE_MAXIMIZE) {
    return VLR_RAISE(task, VLR_RES_ERR_UNDEFINED_OBJECTIVE_SENSE);
  }
  VLR_resetinfitems(task);
  task->callback_stop = 0;
  VLRP_putintinf(task, VLR_IINF_OPT_NUMCON, task->data->numcon);
  VLRP_putintinf(task, VLR_IINF_OPT_NUMVAR, task->data->numvar);
  return VLR_RES_OK;
}

// The mixed-integer road: the run-time library is not present in this build.
int32_t VLR_globaloptimizer(Task* task) {
  VLR_RAISE(task, VLR_RES_WRN_NO_GLOBAL_OPTIMIZER, "not loaded");
  return VLR_RAISE(task, VLR_RES_ERR_MIO_NOT_LOADED);
}

}  // namespace

int32_t VLR_startoptimizer(Task* task, int32_t code) {
  task->opt_start = VLR_sysenv_getwctime(task->sys);
  ++task->num_optimize;
  task->callback_stop = 0;  // a stop asked for in an earlier run does not carry over
  return VLR_checkcallbacks(task, code) != 0 ? VLR_RES_TRM_USER_CALLBACK : VLR_RES_OK;
}

void VLR_stopoptimizer(Task* task, int32_t* response, int32_t code) {
  const int32_t stop = VLR_checkcallbacks(task, code);
  if (*response == VLR_RES_OK && stop != 0) *response = VLR_RES_TRM_USER_CALLBACK;
  VLRP_putintinf(task, VLR_IINF_OPTIMIZE_RESPONSE, *response);
  task->opt_start = -1.0;
  VLR_sysenv_trim(task->sys);  // the solve's work areas go back to the system
}

int32_t VLR_optimizetask(Task* task) {
  const double start = VLR_sysenv_getwctime(task->sys);
  int32_t r = VLR_RES_OK;
  if (task->iparam[VLR_IPAR_DATA_CHECK] != 0) r = VLR_checkdata(VLR_taskhandle(task));
  if (r == VLR_RES_OK && task->data == nullptr) r = VLR_RAISE(task, VLR_RES_ERR_INTERNAL, "data");
  int32_t decided = 0;  // bounds that no point meets settle the problem before any road
  if (r == VLR_RES_OK) r = VLR_checkcrossedbounds(task, &decided);
  if (r == VLR_RES_OK && decided) {
    VLRP_putdouinf(task, VLR_DINF_OPTIMIZER_TIME, VLR_sysenv_getwctime(task->sys) - start);
    return r;
  }
  if (r == VLR_RES_OK) {
    VLR_markbuffersfordelete(task);
    r = VLR_inittaskbeforeoptimize(task);
  }
  if (r == VLR_RES_OK) {
    // The choice is read here, once, and handed down.
    OptChoice choice;
    choice.optimizer = task->iparam[VLR_IPAR_OPTIMIZER];
    choice.probtype = VLRP_getprobtype(task);
    choice.numintvar = task->data->numintvar;
    choice.numcone = task->data->numcone;
    choice.miomode = task->iparam[VLR_IPAR_MIO_MODE];
    choice.qoseparate = task->iparam[VLR_IPAR_QO_SEPARABLE_REFORMULATION];
    switch (VLR_opt_chooseroad(choice)) {
      case kOptRoadSimplex:
        r = VLR_simplexoptimizer(task, choice.optimizer);
        break;
      case kOptRoadIntpnt:
        r = VLR_intpntoptimizer(task);
        break;
      case kOptRoadMixedInteger:
        r = VLR_globaloptimizer(task);
        break;
      case kOptRoadConcurrent:
        r = VLR_checkcallbacks(task, VLR_CALLBACK_BEGIN_CONCURRENT) != 0
                ? VLR_RES_TRM_USER_CALLBACK
                : VLR_simple_optimize_concurrent(task);
        VLR_checkcallbacks(task, VLR_CALLBACK_END_CONCURRENT);
        break;
      case kOptRoadMixedProblem:
        r = VLR_RAISE(task, VLR_RES_ERR_MIXED_PROBLEM);
        break;
      default:
        VLRP_putprivateintinf(task, kPiinfCurrentOptimizer, choice.optimizer);
        r = VLR_RAISE(task, VLR_RES_ERR_INV_OPTIMIZER, choice.optimizer);
        break;
    }
  }
  // The time is stored also on failure.
  VLRP_putdouinf(task, VLR_DINF_OPTIMIZER_TIME, VLR_sysenv_getwctime(task->sys) - start);
  return r;
}

int32_t VLR_netoptimizetask(Task* task) {
  const double start = VLR_sysenv_getwctime(task->sys);
  int32_t r = VLR_RES_OK;
  if (task->iparam[VLR_IPAR_DATA_CHECK] != 0) r = VLR_checkdata(VLR_taskhandle(task));
  if (r == VLR_RES_OK && task->data == nullptr) r = VLR_RAISE(task, VLR_RES_ERR_INTERNAL, "data");
  int32_t decided = 0;
  if (r == VLR_RES_OK) r = VLR_checkcrossedbounds(task, &decided);
  if (r == VLR_RES_OK && !decided) {
    VLR_markbuffersfordelete(task);
    r = VLR_inittaskbeforeoptimize(task);
    if (r == VLR_RES_OK) {
      VLR_checkcallbacks(task, VLR_CALLBACK_BEGIN_NETWORK_SIMPLEX);
      r = VLR_simplexnetoptimizer(task);
      VLR_checkcallbacks(task, VLR_CALLBACK_END_NETWORK_SIMPLEX);
    }
  }
  VLRP_putdouinf(task, VLR_DINF_OPTIMIZER_TIME, VLR_sysenv_getwctime(task->sys) - start);
  return r;
}

}  // namespace vlr

using vlr::Task;

int32_t VLR_optimize(VLRtask_t task) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r0 = VLR_checktask(task);
    if (r0 != VLR_RES_OK) return r0;
    Task* t = vlr::VLR_taskcast(task);
    const int32_t busy = vlr::VLR_checktaskidle(t);
    if (busy != VLR_RES_OK) return busy;
    const vlr::TaskInUse inuse(t);  // callbacks may call in; they must not change the task
    int32_t r = vlr::VLR_startoptimizer(t, VLR_CALLBACK_BEGIN_OPTIMIZER);
    if (r != VLR_RES_OK) return r;
    r = vlr::VLR_optimizetask(t);
    vlr::VLR_stopoptimizer(t, &r, VLR_CALLBACK_END_OPTIMIZER);
    return r;
  });
}

int32_t VLR_optimizetrm(VLRtask_t task, int32_t* trmcode) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_optimize(task);
    int32_t cls = VLR_RESPONSE_UNK;
    VLR_getresponseclass(r, &cls);
    if (cls == VLR_RESPONSE_TRM) {
      if (trmcode != nullptr) *trmcode = r;
      return VLR_RES_OK;
    }
    if (trmcode != nullptr) *trmcode = VLR_RES_OK;
    return r;
  });
}

int32_t VLR_netoptimize(VLRtask_t task) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r0 = VLR_checktask(task);
    if (r0 != VLR_RES_OK) return r0;
    Task* t = vlr::VLR_taskcast(task);
    const int32_t busy = vlr::VLR_checktaskidle(t);
    if (busy != VLR_RES_OK) return busy;
    const vlr::TaskInUse inuse(t);
    int32_t r = vlr::VLR_startoptimizer(t, VLR_CALLBACK_BEGIN_OPTIMIZER);
    if (r != VLR_RES_OK) return r;
    r = vlr::VLR_netoptimizetask(t);
    vlr::VLR_stopoptimizer(t, &r, VLR_CALLBACK_END_OPTIMIZER);
    return r;
  });
}

int32_t VLR_netextraction(VLRtask_t task, int32_t* numcon, int32_t* numvar, int32_t* netcon,
                          int32_t* netvar, double* scalcon) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r0 = VLR_checktask(task);
    if (r0 != VLR_RES_OK) return r0;
    Task* t = vlr::VLR_taskcast(task);
    if (numcon == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "numcon");
    if (numvar == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "numvar");
    if (netcon == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "netcon");
    if (netvar == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "netvar");
    if (scalcon == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "scalcon");
    if (t->data == nullptr) return VLR_RAISE(t, VLR_RES_ERR_INTERNAL, "data");
    if (vlr::VLRP_getprobtype(t) != VLR_PROBTYPE_LO) return VLR_RAISE(t, VLR_RES_ERR_INV_PROBLEM);
    return vlr::VLR_simplexnetextract(t, numcon, numvar, netcon, netvar, scalcon);
  });
}
