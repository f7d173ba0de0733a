// src/velor/velorint.cpp: the interior-point road from the task: its parameters, the log with
// the iteration lines, the time limit and the callbacks, and the interior solution written back
// with its statuses and information items.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <new>

#include "optimize/optimize.h"
#include "velor/privinf.h"
#include "velor/probdata.h"
#include "velor/task.h"
#include "velor/taskslp.h"

namespace vlr {

namespace {

void velorint_setparam(const Task* task, optpar* par) {
  VLR_opt_setdefaults(par);
  const int32_t* ip = task->iparam;
  const double* dp = task->dparam;
  par->loglevel = VLR_dolog(task, ip[VLR_IPAR_LOG_INTPNT]) ? ip[VLR_IPAR_LOG_INTPNT] : 0;
  par->solveform = ip[VLR_IPAR_INTPNT_SOLVE_FORM];
  par->basismode = ip[VLR_IPAR_INTPNT_BASIS];
  par->biloglevel = VLR_dolog(task, ip[VLR_IPAR_LOG_BI]) ? ip[VLR_IPAR_LOG_BI] : 0;
  par->bilogfreq = ip[VLR_IPAR_LOG_BI_FREQ];
  par->bimaxiter = ip[VLR_IPAR_BI_MAX_ITERATIONS];
  const int32_t co = ip[VLR_IPAR_BI_CLEAN_OPTIMIZER];
  par->bicleanopt = co == VLR_OPTIMIZER_PRIMAL_SIMPLEX        ? 1
                    : co == VLR_OPTIMIZER_DUAL_SIMPLEX        ? 2
                    : co == VLR_OPTIMIZER_PRIMAL_DUAL_SIMPLEX ? 3
                                                              : 0;
  par->biignoremaxiter = ip[VLR_IPAR_BI_IGNORE_MAX_ITER];
  par->biignorenumerr = ip[VLR_IPAR_BI_IGNORE_NUM_ERROR];
  par->bitolx = dp[VLR_DPAR_BASIS_TOL_X];
  par->bitols = dp[VLR_DPAR_BASIS_TOL_S];
  par->bireltols = dp[VLR_DPAR_BASIS_REL_TOL_S];
  par->maxiter = ip[VLR_IPAR_INTPNT_MAX_ITERATIONS];
  par->ordermethod = ip[VLR_IPAR_INTPNT_ORDER_METHOD];
  par->offcoltrh = ip[VLR_IPAR_INTPNT_OFF_COL_TRH];
  const int32_t sc = ip[VLR_IPAR_INTPNT_SCALING];
  par->scalemode = sc == VLR_SCALING_FREE || sc == VLR_SCALING_MODERATE ? 1
                   : sc == VLR_SCALING_AGGRESSIVE                       ? 2
                                                                        : 0;
  const int32_t sp = ip[VLR_IPAR_INTPNT_STARTING_POINT];
  par->startpoint = sp >= 0 && sp <= 3 ? sp : 0;
  par->maxnumcor = ip[VLR_IPAR_INTPNT_MAX_NUM_COR];
  par->diffstep = ip[VLR_IPAR_INTPNT_DIFF_STEP];
  par->regularize = ip[VLR_IPAR_INTPNT_REGULARIZATION_USE];
  par->tolrefine1 = par->tolrefine2 = 1e-10;
  par->tolpath = dp[VLR_DPAR_INTPNT_TOL_PATH];
  par->meritbal = dp[VLR_DPAR_INTPNT_NL_MERIT_BAL];
  par->tolrelgap = dp[VLR_DPAR_INTPNT_TOL_REL_GAP];
  par->tolpfeas = dp[VLR_DPAR_INTPNT_TOL_PFEAS];
  par->toldfeas = dp[VLR_DPAR_INTPNT_TOL_DFEAS];
  par->tolmured = dp[VLR_DPAR_INTPNT_TOL_MU_RED];
  par->tolinfeas = dp[VLR_DPAR_INTPNT_TOL_INFEAS];
  par->tolstepsize = dp[VLR_DPAR_INTPNT_TOL_STEP_SIZE];
  par->stepfac = dp[VLR_DPAR_INTPNT_TOL_REL_STEP];
  par->tolpsafe = dp[VLR_DPAR_INTPNT_TOL_PSAFE];
  par->toldsafe = dp[VLR_DPAR_INTPNT_TOL_DSAFE];
  par->presolve = ip[VLR_IPAR_PRESOLVE_USE];
  VLR_taskprslvuser(task, &par->prslv);
}

struct VelorIntHandle {
  Task* task;
  double start;  // clock at the start, for the TIME column only
  int32_t loglevel;
  bool headdone;
};

void velorint_text(void* handle, const char* line) {
  auto* h = static_cast<VelorIntHandle*>(handle);
  if (h->loglevel > 0) VLRP_echotask(h->task, VLR_STREAM_LOG, "%s", line);
}

// One iteration: its log line, its information items, and the two reasons to stop from outside:
// the time limit (inner code 5) and the user's callback (7).
int32_t velorint_iter(void* handle, const HomIter& it) {
  auto* h = static_cast<VelorIntHandle*>(handle);
  Task* task = h->task;
  const double sense =
      task->data->objsense == VLR_OBJECTIVE_SENSE_MAXIMIZE ||
              (task->data->objsense != VLR_OBJECTIVE_SENSE_MINIMIZE &&
               task->iparam[VLR_IPAR_OBJECTIVE_SENSE] == VLR_OBJECTIVE_SENSE_MAXIMIZE)
          ? -1.0
          : 1.0;
  if (h->loglevel > 0) {
    if (!h->headdone) {
      VLRP_echotask(task, VLR_STREAM_LOG, "%-3s %-8s %-8s %-8s %-17s %-17s %-8s %-6s\n", "ITE",
                    "PFEAS", "DFEAS", "GFEAS", "POBJ", "DOBJ", "MU", "TIME");
      h->headdone = true;
    }
    VLRP_echotask(task, VLR_STREAM_LOG,
                  "%-3d %-8.1e %-8.1e %-8.1e %-17.10e %-17.10e %-8.1e %-6.2f\n", it.iter, it.pfeas,
                  it.dfeas, it.gfeas, sense * it.pobj, sense * it.dobj, it.mu,
                  VLR_sysenv_getwctime(task->sys) - h->start);
  }
  VLRP_putintinf(task, VLR_IINF_INTPNT_ITER, it.iter);
  VLRP_putdouinf(task, VLR_DINF_INTPNT_PRIMAL_OBJ, sense * it.pobj);
  VLRP_putdouinf(task, VLR_DINF_INTPNT_DUAL_OBJ, sense * it.dobj);
  VLRP_putdouinf(task, VLR_DINF_INTPNT_PRIMAL_FEAS, it.pfeas);
  VLRP_putdouinf(task, VLR_DINF_INTPNT_DUAL_FEAS, it.dfeas);
  VLRP_putdouinf(task, VLR_DINF_INTPNT_KAP_DIV_TAU, it.kapdivtau);
  if (VLR_checkoptimizermaxtime(task) != 0) return 5;
  if (VLR_checkcallbacks(task, VLR_CALLBACK_INTPNT) != 0) return 7;
  return 0;
}

// Between iterations (presolve, the ordering): only the race's stop is asked.
int32_t velorint_stop(void* handle) {
  return VLR_checksystemstop(static_cast<VelorIntHandle*>(handle)->task, VLR_CALLBACK_IM_ORDER);
}

int32_t velorint_response(Task* task, int32_t resp) {
  switch (resp) {
    case 0:
      return VLR_RES_OK;
    case 1:
    case 2:
    case 3:
      return VLR_RAISE(task, VLR_RES_ERR_SPACE);
    case 4:
      return VLR_RES_TRM_MAX_ITERATIONS;
    case 5:
      return VLR_RES_TRM_MAX_TIME;
    case 6:
      return VLR_RAISE(task, VLR_RES_ERR_SPACE);  // the factor would not fit
    case 7:
    case 33:
      return VLR_RES_TRM_USER_CALLBACK;
    case 8:
      return VLR_RES_TRM_STALL;
    default:
      return VLR_RES_TRM_NUMERICAL_PROBLEM;
  }
}

void velorint_report(Task* task, const slvi& info, double sense, int32_t loglevel, double time) {
  VLRP_putintinf(task, VLR_IINF_INTPNT_ITER, info.iterations);
  VLRP_putintinf(task, VLR_IINF_INTPNT_FACTOR_NUM_OFFCOL, info.ndense);
  VLRP_putintinf(task, VLR_IINF_INTPNT_SOLVE_DUAL, info.isdual);
  VLRP_putlintinf(task, VLR_LIINF_INTPNT_FACTOR_NUM_NZ, info.nnzL);
  VLRP_putdouinf(task, VLR_DINF_INTPNT_FACTOR_NUM_FLOPS, info.fflops);
  VLRP_putdouinf(task, VLR_DINF_INTPNT_ORDER_TIME, info.ordtime);
  VLRP_putdouinf(task, VLR_DINF_INTPNT_TIME, time);
  VLRP_putdouinf(task, VLR_DINF_PRESOLVE_TIME, info.prslvtime);
  VLRP_putdouinf(task, VLR_DINF_PRESOLVE_LINDEP_TIME, info.prslvlindeptime);
  VLRP_putdouinf(task, VLR_DINF_INTPNT_KAP_DIV_TAU, info.kapdivtau);
  if (info.solsta == VLR_SOL_STA_OPTIMAL) {
    // The last point's measures, recomputed on the problem as given.
    VLRP_putdouinf(task, VLR_DINF_INTPNT_PRIMAL_OBJ, sense * info.pobj);
    VLRP_putdouinf(task, VLR_DINF_INTPNT_DUAL_OBJ, sense * info.dobj);
    VLRP_putdouinf(task, VLR_DINF_INTPNT_PRIMAL_FEAS, info.chkpviol);
    VLRP_putdouinf(task, VLR_DINF_INTPNT_DUAL_FEAS, info.chkdviol);
  }
  if (info.biused != 0 || info.biresp != 0 || info.bitime > 0.0) {
    VLRP_putdouinf(task, VLR_DINF_BI_TIME, info.bitime);
    VLRP_putdouinf(task, VLR_DINF_BI_PRIMAL_TIME, info.biprimaltime);
    VLRP_putdouinf(task, VLR_DINF_BI_DUAL_TIME, info.bidualtime);
    VLRP_putdouinf(task, VLR_DINF_BI_CLEAN_TIME, info.bicleantime);
    VLRP_putlintinf(task, VLR_LIINF_BI_PRIMAL_ITER, info.bipriiter);
    VLRP_putlintinf(task, VLR_LIINF_BI_DUAL_ITER, info.biduaiter);
    VLRP_putlintinf(task, VLR_LIINF_BI_CLEAN_PRIMAL_ITER, info.bicleanpriiter);
    VLRP_putlintinf(task, VLR_LIINF_BI_CLEAN_DUAL_ITER, info.bicleanduaiter);
    VLRP_putlintinf(task, VLR_LIINF_BI_CLEAN_PRIMAL_DUAL_ITER, info.bicleanpditer);
  }
  if (loglevel <= 0) return;
  char text[VLR_MAX_STR_LEN] = "";
  VLR_optdef_optresp2str(info.resp, text, sizeof text);
  VLRP_echotask(task, VLR_STREAM_LOG, "Interior-point optimizer terminated.\n");
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %s\n", "Response", text);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %d\n", "Iterations", info.iterations);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %d x %d\n", "Standard form", info.nrow, info.ncol);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %lld\n", "Factor nonzeros",
                static_cast<long long>(info.nnzL));
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %d\n", "Dense columns", info.ndense);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-.12e\n", "Primal obj", sense * info.pobj);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-.12e\n", "Dual obj", sense * info.dobj);
  VLR_prostatostr(VLR_taskhandle(task), info.prosta, text);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-s\n", "Problem status", text);
  VLR_solstatostr(VLR_taskhandle(task), info.solsta, text);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-s\n", "Solution status", text);
  VLRP_echotask(task, VLR_STREAM_LOG, "%-20s: %-.4f\n", "Time", time);
  VLRP_echotask(task, VLR_STREAM_LOG, "Optimizer summary\n");
  VLRP_echotask(task, VLR_STREAM_LOG, "  %-28s: %-.4f\n", "Presolve time", info.prslvtime);
  VLRP_echotask(task, VLR_STREAM_LOG, "  %-28s: %-.4f\n", "Interior-point time", info.ipmtime);
  if (info.biresp != 0 || info.biused != 0) {
    VLRP_echotask(task, VLR_STREAM_LOG, "  %-28s: %-.4f\n", "Basis identification time",
                  info.bitime);
    VLRP_echotask(task, VLR_STREAM_LOG, "    %-26s: %-.4f\n", "Primal", info.biprimaltime);
    VLRP_echotask(task, VLR_STREAM_LOG, "    %-26s: %-.4f\n", "Dual", info.bidualtime);
    VLRP_echotask(task, VLR_STREAM_LOG, "    %-26s: %-.4f\n", "Clean", info.bicleantime);
  }
  VLRP_echotask(task, VLR_STREAM_LOG, "  %-28s: %-.4f\n", "Postsolve time", info.postsolvetime);
  if (info.biused != 0) {
    VLR_solstatostr(VLR_taskhandle(task), info.bassolsta, text);
    VLRP_echotask(task, VLR_STREAM_LOG, "  %-28s: %-s\n", "Basic solution status", text);
    VLRP_echotask(task, VLR_STREAM_LOG, "  %-28s: %-.12e\n", "Basic primal obj",
                  sense * info.baspobj);
  }
}

int32_t velorint_run(Task* task) {
  SysEnv* sys = task->sys;
  TaskSimLp tl(sys);
  const int32_t rl = VLR_tasksimlp(task, &tl);
  if (rl != VLR_RES_OK) return rl;
  const SimLp& lp = tl.lp;
  const int32_t nt = lp.m + lp.n;
  TaskVec<int32_t> sk(static_cast<size_t>(std::max(nt, 1)), 0, MemAllocator<int32_t>(sys));
  TaskVec<double> x(static_cast<size_t>(std::max(nt, 1)), 0.0, MemAllocator<double>(sys));
  TaskVec<double> y(static_cast<size_t>(std::max(lp.m, 1)), 0.0, MemAllocator<double>(sys));
  TaskVec<double> d(static_cast<size_t>(std::max(nt, 1)), 0.0, MemAllocator<double>(sys));
  SimSol sol;
  sol.sk = sk.data();
  sol.x = x.data();
  sol.y = y.data();
  sol.d = d.data();
  // The solution records are made before the run, so that a failure to make them leaves the
  // task as it was.
  const int32_t rm = VLR_makesolution(task, VLR_SOL_ITR);
  if (rm != VLR_RES_OK) return rm;
  const bool wantbasis = task->iparam[VLR_IPAR_INTPNT_BASIS] != VLR_BI_NEVER;
  const size_t bnt = wantbasis ? static_cast<size_t>(std::max(nt, 1)) : 1;
  TaskVec<int32_t> bsk(bnt, 0, MemAllocator<int32_t>(sys));
  TaskVec<double> bx(bnt, 0.0, MemAllocator<double>(sys));
  TaskVec<double> by(wantbasis ? static_cast<size_t>(std::max(lp.m, 1)) : 1, 0.0,
                     MemAllocator<double>(sys));
  TaskVec<double> bd(bnt, 0.0, MemAllocator<double>(sys));
  SimSol bsol{bsk.data(), bx.data(), by.data(), bd.data()};
  if (wantbasis) {
    const int32_t rb = VLR_makesolution(task, VLR_SOL_BAS);
    if (rb != VLR_RES_OK) return rb;
  }

  optpar par;
  velorint_setparam(task, &par);
  const double start = VLR_sysenv_getwctime(sys);
  VelorIntHandle handle{task, start, par.loglevel, false};
  OptIpmCallbacks cb;
  cb.handle = &handle;
  cb.text = velorint_text;
  cb.iter = velorint_iter;
  cb.stop = velorint_stop;
  if (par.loglevel > 0) {
    VLRP_echotask(task, VLR_STREAM_LOG, "Interior-point optimizer started.\n");
  }
  VLR_checkcallbacks(task, VLR_CALLBACK_BEGIN_INTPNT);
  slvi info;
  VLR_opt_ipmslv(sys, par, lp, cb, &sol, &info, wantbasis ? &bsol : nullptr);
  VLR_checkcallbacks(task, VLR_CALLBACK_END_INTPNT);
  const double time = VLR_sysenv_getwctime(sys) - start;
  if (info.resp == 1 || info.resp == 6) return velorint_response(task, info.resp);
  // A stop during basis identification leaves the interior solution as it is, and no basis.
  const int32_t r = velorint_response(task, info.resp == 0 && info.biresp == 7 ? 7 : info.resp);
  const int32_t rr = VLR_putsimsol(task, VLR_SOL_ITR, lp, sol, info.prosta, info.solsta, tl.sense);
  if (rr != VLR_RES_OK) return rr;
  if (wantbasis && info.biused != 0) {
    const int32_t rb =
        VLR_putsimsol(task, VLR_SOL_BAS, lp, bsol, info.basprosta, info.bassolsta, tl.sense);
    if (rb != VLR_RES_OK) return rb;
  } else if (wantbasis) {
    // No basis came out (none is sought beside a certificate): no basic solution is defined,
    // so that the interior one is the answer.
    task->sols->sol[VLR_SOL_BAS].defined = 0;
  }
  velorint_report(task, info, tl.sense, par.loglevel, time);
  return r;
}

}  // namespace

int32_t VLR_intpntoptimizer(Task* task) {
  if (VLRP_getprobtype(task) != VLR_PROBTYPE_LO) {
    return VLR_RAISE(task, VLR_RES_ERR_INV_OPTIMIZER, VLR_OPTIMIZER_INTPNT);
  }
  VLRP_putprivateintinf(task, kPiinfCurrentOptimizer, VLR_OPTIMIZER_INTPNT);
  VLRP_putintinf(task, VLR_IINF_INTPNT_NUM_THREADS, 1);
  try {
    return velorint_run(task);
  } catch (const std::bad_alloc&) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
}

}  // namespace vlr
