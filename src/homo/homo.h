// src/homo/homo.h: the homogeneous and self-dual interior-point optimiser of linear problems in
// standard form.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"

namespace vlr {

// The standard form: minimise c'x + cfix subject to A x = b, x >= 0, and x(j) <= ub(j - nlo)
// for the last nup columns j >= nlo = ncol - nup. All arrays are borrowed for the run.
struct HomLp {
  int32_t nrow = 0, ncol = 0, nup = 0;
  const int64_t* abeg = nullptr;  // [ncol + 1] A by columns
  const int32_t* asub = nullptr;
  const double* aval = nullptr;
  const double* b = nullptr;   // [nrow]
  const double* c = nullptr;   // [ncol]
  const double* ub = nullptr;  // [nup]
  double cfix = 0.0;
  double objscale = 1.0;  // the objective's scale: the relative gap is measured against it
};

// The run's parameters (VLR_hs_setdefaults; the pipeline copies its own over them).
struct HomParam {
  int32_t maxiter = 200;
  double stepfac = 0.9999;
  double tolpfeas = 1e-8, toldfeas = 1e-8, tolgfeas = 1e-8;
  double tolrelgap = 1e-8;
  double tolinfeas = 1e-8;
  double tolstepsize = 1e-10;
  double tolpath = 1e-8;
  double meritbal = 1e-4, tolmured = 1e-10;
  double gammafloor = 0.1, gammaneigh = 0.25;
  double psafe = 1.0, dsafe = 1.0;
  double startgam = 2.0;
  int32_t maxnumcor = -1;  // negative: chosen by the cost of a solve against a factor
  double scalefix = 0.1;
  int32_t diffstep = 1;
  int32_t regularize = 1;
  int32_t startpoint = 0;  // 1 guess: computed from the data; others the constant start
  int32_t wantbasis = 0;
  int32_t ordermethod = 0;  // VLR_ORDER_METHOD_ value of the factor's ordering
  int32_t offcoltrh = 40;   // dense column threshold; 0 none
  double tolrefine = 1e-10;
  int32_t loglevel = 0;
};

// The state of an iteration as the logger sees it, in the caller's objective sense and scale.
struct HomIter {
  int32_t iter;
  double pfeas, dfeas, gfeas;  // residuals over tau, relative to the data
  double pobj, dobj;
  double mu;
  double kapdivtau;
};

// The caller's side: text lines, and a logger called at each iteration whose non-zero return
// stops the run with that internal response (5 time, 6 user break, 7 callback).
struct HomCallbacks {
  void* handle = nullptr;
  void (*text)(void* handle, const char* line) = nullptr;
  int32_t (*iter)(void* handle, const HomIter& it) = nullptr;
  // Asked during the ordering of the normal equations; non-zero stops the run (response 7).
  int32_t (*stop)(void* handle) = nullptr;
};

// The result. Values are those of the problem given: for an optimal or unknown status x/tau
// and the duals over tau; a certificate of primal infeasibility in y, s, su with b'y - ub'su =
// 1; a certificate of dual infeasibility (a ray) in x with c'x = -1.
struct HomSol {
  double* x = nullptr;   // [ncol]
  double* s = nullptr;   // [ncol] dual slack of x >= 0
  double* su = nullptr;  // [nup] dual slack of the upper bound
  double* y = nullptr;   // [nrow]
};

struct HomInfo {
  int32_t resp = 0;  // internal response: 0 normal, 1 space, 4 iterations, 5-7 stopped, 8 stalled
  int32_t started = 0;  // the iterations ran: the solution holds a point
  int32_t iter = 0;
  int32_t prosta = 0, solsta = 0;  // VLR_PRO_STA_*, VLR_SOL_STA_*
  double pobj = 0.0, dobj = 0.0, pfeas = 0.0, dfeas = 0.0, mu = 0.0, kapdivtau = 0.0;
  int64_t nnzL = 0;
  double fflops = 0.0, ordtime = 0.0;
  int32_t ndense = 0, maxnumcor = 0, regulevel = 0;
};

void VLR_hs_setdefaults(HomParam* par);

// Solves lp. The factor's ordering and symbolic step run first (info.resp 1 out of space, 6 too
// large, 7 stopped). The log's lines go through cb.text.
void VLR_hs_optlp(SysEnv* sys, const HomParam& par, const HomLp& lp, const HomCallbacks& cb,
                  HomSol* sol, HomInfo* info);

}  // namespace vlr
