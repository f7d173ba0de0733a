// src/velor/velorsim.cpp: the simplex road from the task: the problem in the simplex's form,
// parameters, log and progress, the hot start from the basic solution, and the result written
// back as the basic solution with its statuses and information items.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <new>
#include <vector>

#include "netopt/netopt.h"
#include "simplex/simplex.h"
#include "velor/privinf.h"
#include "velor/probdata.h"
#include "velor/task.h"
#include "velor/taskslp.h"

namespace vlr {

namespace {

// Slot of the optimiser: primal 1, dual 2, primal-dual 3, free 0.
// The slot, and so the road, of a choice of optimiser: the primal simplex runs the primal
// phases, the primal-dual its own; the dual simplex and the free choices run the dual phases.
int32_t velorsim_slot(int32_t optimizer) {
  switch (optimizer) {
    case VLR_OPTIMIZER_PRIMAL_SIMPLEX:
      return kSimSlotPrimal;
    case VLR_OPTIMIZER_PRIMAL_DUAL_SIMPLEX:
      return kSimSlotPd;
    default:
      return kSimSlotDual;
  }
}

// Why a run was stopped from outside: by the time limit, or by the user's callback.
enum VelorSimStop : int32_t {
  kVelorSimRunning = 0,
  kVelorSimCallback = 1,
  kVelorSimTimeLimit = 5,  // the inner code of a time limit
};

void velorsim_setparam(const Task* task, SimParam* par) {
  VLR_simplex_initparam(par);
  const int32_t* ip = task->iparam;
  const double* dp = task->dparam;
  par->loglevel = VLR_dolog(task, ip[VLR_IPAR_LOG_SIM]) ? ip[VLR_IPAR_LOG_SIM] : 0;
  par->degen = ip[VLR_IPAR_SIM_DEGEN];
  static constexpr int32_t kScaling[4] = {0, 1, 3, 4};
  par->scaling = kScaling[std::clamp(ip[VLR_IPAR_SIM_SCALING], 0, 3)];
  par->scalemethod = ip[VLR_IPAR_SIM_SCALING_METHOD];
  par->solveform = ip[VLR_IPAR_SIM_SOLVE_FORM];
  par->switchopt = ip[VLR_IPAR_SIM_SWITCH_OPTIMIZER];
  par->hotstart = ip[VLR_IPAR_SIM_HOTSTART];
  par->dualselection = ip[VLR_IPAR_SIM_DUAL_SELECTION];
  par->dualcrash = ip[VLR_IPAR_SIM_DUAL_CRASH];
  par->primalselection = ip[VLR_IPAR_SIM_PRIMAL_SELECTION];
  par->maxsetbacks = ip[VLR_IPAR_SIM_MAX_NUM_SETBACKS];
  par->refactorfreq = ip[VLR_IPAR_SIM_REFACTOR_FREQ];
  par->logfreq = std::max(1, ip[VLR_IPAR_LOG_SIM_FREQ]);
  par->maxiter = ip[VLR_IPAR_SIM_MAX_ITERATIONS];
  par->tolx = dp[VLR_DPAR_BASIS_TOL_X];
  par->tols = dp[VLR_DPAR_BASIS_TOL_S];
  par->tolpiv = dp[VLR_DPAR_SIMPLEX_ABS_TOL_PIV];
  par->lurelpiv = dp[VLR_DPAR_SIM_LU_TOL_REL_PIV];
  par->maxtime = dp[VLR_DPAR_OPTIMIZER_MAX_TIME];
  par->presolve = ip[VLR_IPAR_PRESOLVE_USE];
  VLR_taskprslvuser(task, &par->prslv);
  par->netdetect = ip[VLR_IPAR_SIM_NETWORK_DETECT];
  par->netdetecthot = ip[VLR_IPAR_SIM_NETWORK_DETECT_HOTSTART];
  par->netmethod = ip[VLR_IPAR_SIM_NETWORK_DETECT_METHOD];
  par->netlogfreq = std::max(1, ip[VLR_IPAR_LOG_SIM_NETWORK_FREQ]);
  par->slot = kSimSlotDual;
}

struct VelorSimHandle {
  Task* task;
  int32_t stop;  // a VelorSimStop
  int32_t slot;  // the optimiser that runs: its items and callback codes
};

// The iteration item and the callback codes of a slot's optimiser.
int32_t velorsim_iteritem(int32_t slot) {
  return slot == kSimSlotPrimal
             ? VLR_IINF_SIM_PRIMAL_ITER
             : (slot == kSimSlotPd ? VLR_IINF_SIM_PRIMAL_DUAL_ITER : VLR_IINF_SIM_DUAL_ITER);
}
int32_t velorsim_callbackcode(int32_t slot, int32_t which) {
  static constexpr int32_t kCodes[3][3] = {
      {VLR_CALLBACK_BEGIN_PRIMAL_SIMPLEX, VLR_CALLBACK_UPDATE_PRIMAL_SIMPLEX,
       VLR_CALLBACK_END_PRIMAL_SIMPLEX},
      {VLR_CALLBACK_BEGIN_DUAL_SIMPLEX, VLR_CALLBACK_UPDATE_DUAL_SIMPLEX,
       VLR_CALLBACK_END_DUAL_SIMPLEX},
      {VLR_CALLBACK_BEGIN_PRIMAL_DUAL_SIMPLEX, VLR_CALLBACK_UPDATE_PRIMAL_DUAL_SIMPLEX,
       VLR_CALLBACK_END_PRIMAL_DUAL_SIMPLEX}};
  return kCodes[slot == kSimSlotPrimal ? 0 : (slot == kSimSlotPd ? 2 : 1)][which];
}

void velorsim_log(void* handle, const char* text) {
  auto* h = static_cast<VelorSimHandle*>(handle);
  VLRP_echotask(h->task, VLR_STREAM_LOG, "%s", text);
}

int32_t velorsim_progress(void* handle, int64_t iterations, double pobj, double /*dobj*/) {
  auto* h = static_cast<VelorSimHandle*>(handle);
  Task* task = h->task;
  VLRP_putintinf(task, velorsim_iteritem(h->slot), static_cast<int32_t>(iterations));
  VLRP_putdouinf(task, VLR_DINF_SIM_OBJ, pobj);
  if (VLR_checkoptimizermaxtime(task) != 0) {
    h->stop = kVelorSimTimeLimit;
    return 1;
  }
  if (VLR_checkcallbacks(task, velorsim_callbackcode(h->slot, 1)) != 0) {
    h->stop = kVelorSimCallback;
    return 1;
  }
  return 0;
}

// Between the steps with iterations: only the race's stop is asked, not the user's callback.
int32_t velorsim_stop(void* handle) {
  auto* h = static_cast<VelorSimHandle*>(handle);
  if (VLR_checksystemstop(h->task, VLR_CALLBACK_IM_PRESOLVE) == 0) return 0;
  h->stop = kVelorSimCallback;
  return 1;
}

// The response code of the run's internal response.
int32_t velorsim_response(Task* task, int32_t resp, int32_t stop) {
  switch (resp) {
    case kSimOk:
      return VLR_RES_OK;
    case kSimNoSpace:
      return VLR_RAISE(task, VLR_RES_ERR_SPACE);
    case kSimMaxIter:
      return VLR_RES_TRM_MAX_ITERATIONS;
    case kSimObjRange:
      return VLR_RES_TRM_OBJECTIVE_RANGE;
    case kSimInterrupted:
      return stop == kVelorSimTimeLimit ? VLR_RES_TRM_MAX_TIME : VLR_RES_TRM_USER_CALLBACK;
    case kSimSetbacks:
      return VLR_RES_TRM_MAX_NUM_SETBACKS;
    default:
      return VLR_RES_TRM_NUMERICAL_PROBLEM;
  }
}

// The information items of a run, and the tail of its log.
// The tail's account of where the time went, by operation of the pivoting loops, and how dense
// the vectors of an iteration were on average.
void velorsim_printtiming(Task* task, const SimInfo& info) {
  if (info.denscount == 0) return;
  static constexpr const char* kLabel[kSimOpCount] = {"factor", "btran",  "pivot row", "ratio",
                                                      "ftran",  "update", "price"};
  char line[256];
  int len = 0;
  double sum = 0.0;
  for (int32_t op = 0; op < kSimOpCount; ++op) {
    sum += info.optime[op];
    len += std::snprintf(line + len, sizeof line - static_cast<size_t>(len), "%s %.2f, ",
                         kLabel[op], info.optime[op]);
  }
  std::snprintf(line + len, sizeof line - static_cast<size_t>(len), "other %.2f",
                std::max(info.time - sum, 0.0));
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %s\n", "Time by operation", line);
  const double c = static_cast<double>(info.denscount);
  VLRP_echotask(task, VLR_STREAM_LOG,
                "%-20s: row of the inverse %.4f, pivot row %.4f, column %.4f, update %.4f\n",
                "Mean density", info.densrho / c, info.densrow / c, info.denscol / c,
                info.denstau / c);
}

void velorsim_report(Task* task, const SimInfo& info, double sense, int32_t slot,
                     int32_t loglevel) {
  const int32_t m = task->data->numcon, n = task->data->numvar;
  const bool primal = slot == kSimSlotPrimal;
  const char* name = primal ? "Primal" : (slot == kSimSlotPd ? "Primal-dual" : "Dual");
  const int64_t iters = info.iter[0] + info.iter[1] + info.iter[2] + info.iter[3];
  VLRP_putintinf(task, VLR_IINF_SIM_DUAL_ITER, static_cast<int32_t>(info.iter[kSimSlotDual]));
  VLRP_putintinf(task, VLR_IINF_SIM_PRIMAL_ITER, static_cast<int32_t>(info.iter[kSimSlotPrimal]));
  VLRP_putintinf(task, primal ? VLR_IINF_SIM_PRIMAL_DEG_ITER : VLR_IINF_SIM_DUAL_DEG_ITER,
                 static_cast<int32_t>(info.degiter));
  VLRP_putintinf(task, primal ? VLR_IINF_SIM_PRIMAL_INF_ITER : VLR_IINF_SIM_DUAL_INF_ITER,
                 static_cast<int32_t>(info.infiter));
  VLRP_putintinf(task, primal ? VLR_IINF_SIM_PRIMAL_HOTSTART : VLR_IINF_SIM_DUAL_HOTSTART,
                 info.hotstart);
  VLRP_putintinf(task, primal ? VLR_IINF_SIM_PRIMAL_HOTSTART_LU : VLR_IINF_SIM_DUAL_HOTSTART_LU,
                 info.hotstartlu);
  VLRP_putdouinf(task, VLR_DINF_PRESOLVE_TIME, info.prslvtime);
  VLRP_putdouinf(task, VLR_DINF_PRESOLVE_LINDEP_TIME, info.prslvlindeptime);
  // The size of the problem the simplex solved: presolve's when its basis was kept.
  VLRP_putintinf(task, VLR_IINF_SIM_NUMCON, info.presolved ? info.prslvnumcon : m);
  VLRP_putintinf(task, VLR_IINF_SIM_NUMVAR, info.presolved ? info.prslvnumvar : n);
  VLRP_putdouinf(task, VLR_DINF_SIM_TIME, info.time);
  VLRP_putdouinf(task, primal ? VLR_DINF_SIM_PRIMAL_TIME : VLR_DINF_SIM_DUAL_TIME, info.time);
  if (slot == kSimSlotPd) {
    // The primal-dual counts its iterations, of both loops, in a slot of its own.
    VLRP_putintinf(task, VLR_IINF_SIM_PRIMAL_DUAL_ITER,
                   static_cast<int32_t>(info.iter[kSimSlotPd]));
    VLRP_putintinf(task, VLR_IINF_SIM_PRIMAL_DUAL_DEG_ITER, static_cast<int32_t>(info.degiter));
    VLRP_putintinf(task, VLR_IINF_SIM_PRIMAL_DUAL_INF_ITER, static_cast<int32_t>(info.infiter));
    VLRP_putintinf(task, VLR_IINF_SIM_PRIMAL_DUAL_HOTSTART, info.hotstart);
    VLRP_putintinf(task, VLR_IINF_SIM_PRIMAL_DUAL_HOTSTART_LU, info.hotstartlu);
    VLRP_putdouinf(task, VLR_DINF_SIM_PRIMAL_DUAL_TIME, info.time);
  }
  VLRP_putdouinf(task, VLR_DINF_SIM_OBJ, sense * info.pobj);
  if (info.nettried != 0) {
    VLRP_putintinf(task, VLR_IINF_SIM_NETWORK_PRIMAL_ITER,
                   static_cast<int32_t>(info.iter[kSimSlotNetwork]));
    VLRP_putintinf(task, VLR_IINF_SIM_NETWORK_PRIMAL_DEG_ITER,
                   static_cast<int32_t>(info.netdegiter));
    VLRP_putintinf(task, VLR_IINF_SIM_NETWORK_PRIMAL_INF_ITER,
                   static_cast<int32_t>(info.netinfiter));
    VLRP_putdouinf(task, VLR_DINF_SIM_NETWORK_PRIMAL_TIME, info.nettime);
    VLRP_putdouinf(task, VLR_DINF_SIM_NETWORK_TIME, info.nettime);
  }
  if (loglevel > 0) {
    VLRP_echotask(task, VLR_STREAM_LOG, "%s simplex optimizer terminated.\n", name);
    VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %lld\n", "Iterations",
                  static_cast<long long>(iters));
    VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %lld\n", "Deg. iterations",
                  static_cast<long long>(info.degiter));
    VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %lld\n", "Inf. iterations",
                  static_cast<long long>(info.infiter));
    VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-.12e\n", "Primal obj", sense * info.pobj);
    VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-.12e\n", "Dual obj", sense * info.dobj);
    char text[VLR_MAX_STR_LEN] = "";
    VLR_prostatostr(VLR_taskhandle(task), info.prosta, text);
    VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-s\n", "Problem status", text);
    VLR_solstatostr(VLR_taskhandle(task), info.solsta, text);
    VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-s\n", "Solution status", text);
    VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %d\n", "LU factors", info.numfactor);
    if (info.numfactor > 0) {
      VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %.2f\n", "Mean LU fill",
                    info.fillsum / info.numfactor);
    }
    VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-.4f\n", "Time", info.time);
    velorsim_printtiming(task, info);
  }
}

// The keys of the basic solution in sk (rows, then columns) when the hot start is on and that
// solution holds a basis; 1 then, else 0.
int32_t velorsim_hotkeys(Task* task, int32_t* sk) {
  const int32_t m = task->data->numcon, n = task->data->numvar;
  const SolRec& old = task->sols->sol[VLR_SOL_BAS];
  if (task->iparam[VLR_IPAR_SIM_HOTSTART] == VLR_SIM_HOTSTART_NONE || !old.made || !old.defined)
    return 0;
  const int32_t* skc = VLR_solkeyptr(task, VLR_SOL_BAS, VLR_ACC_CON);
  const int32_t* skx = VLR_solkeyptr(task, VLR_SOL_BAS, VLR_ACC_VAR);
  int32_t nb = 0;
  for (int32_t i = 0; i < m; ++i) {
    sk[i] = skc[i];
    nb += skc[i] == VLR_SK_BAS ? 1 : 0;
  }
  for (int32_t j = 0; j < n; ++j) {
    sk[m + j] = skx[j];
    nb += skx[j] == VLR_SK_BAS ? 1 : 0;
  }
  return nb > 0 ? 1 : 0;
}

int32_t velorsim_run(Task* task, int32_t optimizer) {
  TaskData* data = task->data;
  const int32_t m = data->numcon, n = data->numvar, nt = m + n;
  SysEnv* sys = task->sys;
  const MemAllocator<double> ad(sys);
  const MemAllocator<int32_t> ai(sys);
  TaskSimLp tl(sys);
  const int32_t rl = VLR_tasksimlp(task, &tl);
  if (rl != VLR_RES_OK) return rl;
  const SimLp& lp = tl.lp;
  const double sense = tl.sense;

  TaskVec<int32_t> sk(static_cast<size_t>(std::max(nt, 1)), 0, ai);
  TaskVec<double> x(static_cast<size_t>(std::max(nt, 1)), 0.0, ad);
  TaskVec<double> y(static_cast<size_t>(std::max(m, 1)), 0.0, ad);
  TaskVec<double> d(static_cast<size_t>(std::max(nt, 1)), 0.0, ad);
  SimSol sol;
  sol.sk = sk.data();
  sol.x = x.data();
  sol.y = y.data();
  sol.d = d.data();

  const int32_t starthot = velorsim_hotkeys(task, sk.data());

  SimParam par;
  velorsim_setparam(task, &par);
  par.slot = velorsim_slot(optimizer);
  const bool primal = par.slot == kSimSlotPrimal;
  VelorSimHandle handle{task, kVelorSimRunning, par.slot};
  SimCallbacks cb;
  cb.handle = &handle;
  cb.log = velorsim_log;
  cb.progress = velorsim_progress;
  cb.stop = velorsim_stop;
  par.savelu = task->iparam[VLR_IPAR_SIM_SAVE_LU] == VLR_ON ? 1 : 0;
  if (par.savelu == 0) VLR_simplex_freesavedlu(sys, &task->savedlu);
  cb.savedlu = &task->savedlu;
  task->savedlufree = VLR_simplex_freesavedlu;
  const char* name = primal ? "Primal" : (par.slot == kSimSlotPd ? "Primal-dual" : "Dual");
  if (par.loglevel > 0) {
    VLRP_echotask(task, VLR_STREAM_LOG, "%s simplex optimizer started.\n", name);
  }
  VLR_checkcallbacks(task, velorsim_callbackcode(par.slot, 0));
  SimInfo info;
  VLR_simplex_optimize(sys, par, cb, lp, starthot, &sol, &info);
  VLR_checkcallbacks(task, velorsim_callbackcode(par.slot, 2));

  int32_t r = velorsim_response(task, info.response, handle.stop);
  if (info.response == kSimNoSpace) return r;

  const int32_t rr = VLR_putsimsol(task, VLR_SOL_BAS, lp, sol, info.prosta, info.solsta, sense);
  if (rr != VLR_RES_OK) return rr;
  velorsim_report(task, info, sense, par.slot, par.loglevel);
  return r;
}

struct VelorNetHandle {
  Task* task;
  int32_t stop;  // a VelorSimStop
};

void velornet_log(void* handle, const char* text) {
  VLRP_echotask(static_cast<VelorNetHandle*>(handle)->task, VLR_STREAM_LOG, "%s", text);
}

int32_t velornet_progress(void* handle, int64_t iterations, double obj) {
  auto* h = static_cast<VelorNetHandle*>(handle);
  Task* task = h->task;
  VLRP_putintinf(task, VLR_IINF_SIM_NETWORK_PRIMAL_ITER, static_cast<int32_t>(iterations));
  VLRP_putdouinf(task, VLR_DINF_SIM_OBJ, obj);
  if (VLR_checkoptimizermaxtime(task) != 0) {
    h->stop = kVelorSimTimeLimit;
    return 1;
  }
  if (VLR_checkcallbacks(task, VLR_CALLBACK_UPDATE_NETWORK_PRIMAL_SIMPLEX) != 0) {
    h->stop = kVelorSimCallback;
    return 1;
  }
  return 0;
}

void velornet_report(Task* task, const NetInfo& info, double sense, int32_t loglevel) {
  VLRP_putintinf(task, VLR_IINF_SIM_NETWORK_PRIMAL_ITER, static_cast<int32_t>(info.iter));
  VLRP_putintinf(task, VLR_IINF_SIM_NETWORK_PRIMAL_DEG_ITER, static_cast<int32_t>(info.degiter));
  VLRP_putintinf(task, VLR_IINF_SIM_NETWORK_PRIMAL_INF_ITER, static_cast<int32_t>(info.infiter));
  VLRP_putintinf(task, VLR_IINF_SIM_NUMCON, task->data->numcon);
  VLRP_putintinf(task, VLR_IINF_SIM_NUMVAR, task->data->numvar);
  VLRP_putdouinf(task, VLR_DINF_SIM_NETWORK_PRIMAL_TIME, info.time);
  VLRP_putdouinf(task, VLR_DINF_SIM_NETWORK_TIME, info.time);
  VLRP_putdouinf(task, VLR_DINF_SIM_TIME, info.time);
  VLRP_putdouinf(task, VLR_DINF_SIM_OBJ, sense * info.pobj);
  if (loglevel <= 0) return;
  VLRP_echotask(task, VLR_STREAM_LOG, "Network primal simplex optimizer terminated.\n");
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %lld\n", "Iterations",
                static_cast<long long>(info.iter));
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %lld\n", "Deg. iterations",
                static_cast<long long>(info.degiter));
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %lld\n", "Inf. iterations",
                static_cast<long long>(info.infiter));
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-.12e\n", "Primal obj", sense * info.pobj);
  char text[VLR_MAX_STR_LEN] = "";
  VLR_prostatostr(VLR_taskhandle(task), info.prosta, text);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-s\n", "Problem status", text);
  VLR_solstatostr(VLR_taskhandle(task), info.solsta, text);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-s\n", "Solution status", text);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-.4f\n", "Time", info.time);
}

int32_t velornet_run(Task* task) {
  const int32_t m = task->data->numcon, n = task->data->numvar, nt = m + n;
  SysEnv* sys = task->sys;
  TaskSimLp vlp(sys);
  const int32_t rl = VLR_tasksimlp(task, &vlp);
  if (rl != VLR_RES_OK) return rl;
  const SimLp& lp = vlp.lp;
  TaskVec<int32_t> sign(static_cast<size_t>(std::max(m, 1)), 0, MemAllocator<int32_t>(sys));
  TaskVec<uint8_t> colin(static_cast<size_t>(std::max(n, 1)), 0, MemAllocator<uint8_t>(sys));
  int32_t numcon = 0, numvar = 0;
  VLR_checkcallbacks(task, VLR_CALLBACK_BEGIN_SIMPLEX_NETWORK_DETECT);
  const int32_t pure = detectnet_pure(sys, lp, sign.data(), colin.data(), &numcon, &numvar);
  VLR_checkcallbacks(task, VLR_CALLBACK_END_SIMPLEX_NETWORK_DETECT);
  SimParam spar;
  velorsim_setparam(task, &spar);
  if (pure != 1) {
    if (spar.loglevel > 0) {
      VLRP_echotask(task, VLR_STREAM_LOG, "The problem is not a pure network.\n");
    }
    return VLR_RAISE(task, VLR_RES_ERR_INV_PROBLEM);
  }
  NetParam par;
  par.loglevel = spar.loglevel;
  par.logfreq = spar.netlogfreq;
  par.maxiter = spar.maxiter;
  par.tolx = spar.tolx;
  par.tols = spar.tols;
  VelorNetHandle handle{task, kVelorSimRunning};
  NetCallbacks cb;
  cb.handle = &handle;
  cb.log = velornet_log;
  cb.progress = velornet_progress;
  const auto snt = static_cast<size_t>(std::max(nt, 1));
  TaskVec<int32_t> sk(snt, 0, MemAllocator<int32_t>(sys));
  TaskVec<double> x(snt, 0.0, MemAllocator<double>(sys));
  TaskVec<double> y(static_cast<size_t>(std::max(m, 1)), 0.0, MemAllocator<double>(sys));
  TaskVec<double> d(snt, 0.0, MemAllocator<double>(sys));
  SimSol sol{sk.data(), x.data(), y.data(), d.data()};
  par.hotstart = velorsim_hotkeys(task, sk.data());
  if (par.loglevel > 0) {
    VLRP_echotask(task, VLR_STREAM_LOG, "Network primal simplex optimizer started.\n");
    if (par.hotstart != 0) VLRP_echotask(task, VLR_STREAM_LOG, "Hot start from the basis.\n");
  }
  VLR_checkcallbacks(task, VLR_CALLBACK_BEGIN_NETWORK_PRIMAL_SIMPLEX);
  NetInfo info;
  VLR_net_optimize(sys, par, cb, lp, sign.data(), colin.data(), &sol, &info);
  VLR_checkcallbacks(task, VLR_CALLBACK_END_NETWORK_PRIMAL_SIMPLEX);
  if (info.response == kNetNoSpace) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  const int32_t r = velorsim_response(task, info.response, handle.stop);
  SimInfo sinfo;
  sinfo.prosta = info.prosta;
  sinfo.solsta = info.solsta;
  const int32_t rr =
      VLR_putsimsol(task, VLR_SOL_BAS, lp, sol, sinfo.prosta, sinfo.solsta, vlp.sense);
  if (rr != VLR_RES_OK) return rr;
  velornet_report(task, info, vlp.sense, par.loglevel);
  return r;
}

}  // namespace

int32_t VLR_simplexoptimizer(Task* task, int32_t optimizer) {
  const int32_t sel =
      optimizer >= VLR_OPTIMIZER_PRIMAL_SIMPLEX && optimizer <= VLR_OPTIMIZER_FREE_SIMPLEX
          ? optimizer
          : VLR_OPTIMIZER_FREE_SIMPLEX;
  if (VLRP_getprobtype(task) != VLR_PROBTYPE_LO) {
    return VLR_RAISE(task, VLR_RES_ERR_INV_OPTIMIZER, sel);
  }
  VLRP_putprivateintinf(task, kPiinfCurrentOptimizer, sel);
  try {
    return velorsim_run(task, sel);
  } catch (const std::bad_alloc&) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
}

int32_t VLR_simplexnetoptimizer(Task* task) {
  if (VLRP_getprobtype(task) != VLR_PROBTYPE_LO) return VLR_RAISE(task, VLR_RES_ERR_INV_PROBLEM);
  VLRP_putprivateintinf(task, kPiinfCurrentOptimizer, VLR_OPTIMIZER_FREE_SIMPLEX);
  try {
    return velornet_run(task);
  } catch (const std::bad_alloc&) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
}

int32_t VLR_simplexnetextract(Task* task, int32_t* numcon, int32_t* numvar, int32_t* netcon,
                              int32_t* netvar, double* scalcon) {
  try {
    SysEnv* sys = task->sys;
    const int32_t m = task->data->numcon, n = task->data->numvar;
    TaskSimLp vlp(sys);
    const int32_t rl = VLR_tasksimlp(task, &vlp);
    if (rl != VLR_RES_OK) return rl;
    TaskVec<int32_t> sign(static_cast<size_t>(std::max(m, 1)), 0, MemAllocator<int32_t>(sys));
    TaskVec<uint8_t> colin(static_cast<size_t>(std::max(n, 1)), 0, MemAllocator<uint8_t>(sys));
    int32_t nc = 0, nv = 0, flag = 0;
    if (VLR_simplex_detectnet(sys, vlp.lp, task->iparam[VLR_IPAR_SIM_NETWORK_DETECT_METHOD],
                              sign.data(), colin.data(), &nc, &nv, &flag) != kSimOk) {
      return VLR_RAISE(task, VLR_RES_ERR_SPACE);
    }
    // Nothing is written before the search has succeeded.
    int32_t k = 0;
    for (int32_t i = 0; i < m; ++i) {
      const int32_t s = sign[static_cast<size_t>(i)];
      if (s == 0) continue;
      netcon[k] = i;
      scalcon[k++] = s;
    }
    k = 0;
    for (int32_t j = 0; j < n; ++j)
      if (colin[static_cast<size_t>(j)] != 0) netvar[k++] = j;
    *numcon = nc;
    *numvar = nv;
    return VLR_RES_OK;
  } catch (const std::bad_alloc&) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
}

}  // namespace vlr
