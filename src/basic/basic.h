// src/basic/basic.h: basis identification: from an interior solution of a linear problem in the
// simplex's form to an optimal basic solution: a crash basis from the most interior variables,
// primal pushes of the superbasic variables onto bounds, dual pushes of the reduced costs of
// basic variables to zero, the checks, and a clean-up by the simplex when anything is left.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"
#include "optimize/optimize.h"

namespace vlr {

// The run's parameters (VLR_prf_setdefaults gives the defaults; the interior-point pipeline
// copies the task's over them).
struct PrfParam {
  double objsign = 1.0;     // -1.0 when the problem was dualised
  double tolapiv = 1e-8;    // smallest pivot a ratio test takes
  double tollurpiv = 1e-8;  // relative pivot threshold of the first factor
  double tolrpiv = 0.1;     // raised when a basis cannot be factored
  double tolx = 1e-8;       // primal feasibility
  double tols = 1e-8;       // dual feasibility
  double relpivs = 1e-12;   // relative part of the acceptance test
  double tolclean = 1e-12;
  int32_t loglevel = 1;
  int32_t logfreq = 1;        // pushes between log lines, in thousands
  int64_t maxiter = 10000;    // iterations of the clean-up simplex
  int32_t cleanopt = 0;       // 0 free, 1 primal, 2 dual, 3 primal-dual simplex
  int32_t ignoremaxiter = 0;  // keep the basis of a clean-up stopped by its iteration limit
  int32_t ignorenumerr = 0;   // keep the basis of a clean-up that failed numerically
  int32_t scale = 1;          // power-of-two scaling of rows and columns
};

void VLR_prf_setdefaults(PrfParam* par);

// What a run reports.
struct PrfInfo {
  int32_t resp = 0;  // 0 a basis, 1 space, 4 clean-up iteration limit, 7 stopped, 26 singular
  int32_t prosta = 0, solsta = 0;
  int32_t nsuper = 0;  // superbasic variables after the crash
  int32_t nart = 0;    // slacks the crash put in for rows no column covered
  int32_t ncrash = 0;  // variables of the crash basis taken from the interior solution
  int64_t priiter = 0, primoves = 0;  // primal pushes, and those that exchanged
  int64_t duaiter = 0, duamoves = 0;  // dual pushes, and those that exchanged
  int64_t cleanpriiter = 0, cleanduaiter = 0, cleanpditer = 0;
  int64_t cleanprideg = 0, cleanduadeg = 0;
  int32_t cleaned = 0;  // the simplex ran
  double time = 0.0, crashtime = 0.0, pritime = 0.0, duatime = 0.0, cleantime = 0.0;
  // Bound infeasibilities of the basic solution before the clean-up: count, largest, sum.
  int32_t numbi = 0;
  double maxbi = 0.0, sumbi = 0.0;
  double maxdi = 0.0;  // largest reduced-cost sign error before the clean-up
  double pobj = 0.0, dobj = 0.0;
};

// Text of the log (whole lines) and a stop: stop(handle, 8) at the start and stop(handle, 30)
// at the end; a non-zero result at the start ends the run with response 7. Either may be null.
struct PrfCallbacks {
  void* handle = nullptr;
  void (*text)(void* handle, const char* line) = nullptr;
  int32_t (*stop)(void* handle, int32_t code) = nullptr;
};

// A basic solution of lp from its interior solution itr (keys, values, duals, reduced costs as
// the interior-point road gives them; not changed). bas, sized for lp, receives the keys
// (exactly m basic), the values, the duals and the reduced costs. Returns info->resp; 0 with
// info->solsta optimal when the basis passed its checks.
int32_t VLR_prf_puriflp(SysEnv* sys, const PrfParam& par, const PrfCallbacks& cb, const SimLp& lp,
                        const SimSol& itr, SimSol* bas, PrfInfo* info);

// The summary table of a run through the log callback.
void VLR_prf_prista(const PrfCallbacks& cb, const PrfInfo& info);

}  // namespace vlr
