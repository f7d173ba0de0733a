// src/optimize/optimize.h: what every continuous optimiser shares below it: the linear problem
// in the simplex's form with its solution, the tests that decide what a solution proves, and the
// choice of road for an optimise.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"
#include "homo/homo.h"

namespace vlr {

// A linear problem in the form the pivoting optimisers work on:
//
//   minimise   c'x + cfix   subject to   A x - xc = 0,   bl <= (xc, x) <= bu,
//
// with one row variable xc(i) per constraint. Variable k < m is the row variable of row k (its
// column in [-I A] is -e(k)); variable m + j is column j. Bounds and keys are indexed the same
// way, rows first. Keys: VLR_BK_LO 0 (bl only), VLR_BK_UP 1 (bu only), VLR_BK_FX 2, VLR_BK_FR 3,
// VLR_BK_RA 4. A side that the key does not use is ignored (it may hold any value, also inf).
// All arrays are borrowed.
struct SimLp {
  int32_t m = 0;                  // rows
  int32_t n = 0;                  // columns
  const int64_t* abeg = nullptr;  // [n + 1] start of column j in aidx / aval
  const int32_t* aidx = nullptr;  // row indices, no duplicates within a column
  const double* aval = nullptr;   // values
  const double* c = nullptr;      // [n] cost of the columns (row variables cost nothing)
  double cfix = 0.0;              // constant term of the objective
  const int32_t* bk = nullptr;    // [m + n] bound keys
  const double* bl = nullptr;     // [m + n] lower bounds
  const double* bu = nullptr;     // [m + n] upper bounds
};

// A solution of a SimLp, indexed as the variables. The reduced cost of variable k is
// d(k) = cost(k) - col(k)' y, so d(i) = y(i) for a row variable and d(m + j) = c(j) - a(j)' y.
// At an optimal basis: d = 0 on basic variables, d >= 0 at a lower bound, d <= 0 at an upper.
// A certificate of primal infeasibility is held in y and d with cost taken as 0 (so
// d(m + j) = -a(j)' y) and sum over k of bl(k) max(d(k), 0) - bu(k) max(-d(k), 0) > 0.
// A certificate of dual infeasibility (a ray) is held in x: A x - xc = 0 within the recession
// cone of the bounds and c'x < 0.
struct SimSol {
  int32_t* sk = nullptr;  // [m + n] status keys, the task's VLR_SK_* values
  double* x = nullptr;    // [m + n] values: xc, then x
  double* y = nullptr;    // [m] row duals
  double* d = nullptr;    // [m + n] reduced costs
};

// The presolve settings of a run as the task gives them. Both optimiser roads carry them, and
// VLR_prslv_takeuser turns them into presolve's own record, so that a task parameter means the
// same on every road.
struct PrslvUser {
  int32_t lindep = 1;         // the dependency check on equations
  int32_t lindepworklim = 1;  // above 0: the check limits its work
  int32_t eliminator = 1;     // substitutions of free columns and doubleton equations
  int32_t elimtries = -1;     // negative: no limit of eliminator runs
  int32_t elimfill = 1;       // net fill a substitution of the eliminator may add
  double tolx = 1e-8, tols = 1e-8, tolaij = 1e-12;
  double tollindep = 1e-6;  // floor of the dependency check's tolerance
};

// Sides of variable k (rows first) by its key: -inf or +inf where the key has no side.
double VLR_opt_lower(const SimLp& lp, int32_t k);
double VLR_opt_upper(const SimLp& lp, int32_t k);

// Violations of a solution on the problem as given: the largest bound and row violation
// (*pviol), the largest sign error of the reduced costs recomputed from y against the keys
// (*dviol), and both objectives. Fills sol->d. False, with infinite violations, when out of space.
bool VLR_opt_checksolution(SysEnv* sys, const SimLp& lp, SimSol* sol, double* pviol, double* dviol,
                           double* pobj, double* dobj);
// The Farkas test of a primal infeasibility certificate held in sol->y (sets sol->d).
bool VLR_opt_checkfarkas(const SimLp& lp, SimSol* sol);
// The test of a primal ray held in sol.x: a certificate of dual infeasibility. False when out of
// space.
bool VLR_opt_checkray(SysEnv* sys, const SimLp& lp, const SimSol& sol);

// The roads of an optimise.
enum OptRoad : int32_t {
  kOptRoadSimplex = 0,       // the simplex framework, with the slot of the choice
  kOptRoadMixedInteger = 1,  // the mixed-integer library
  kOptRoadConcurrent = 2,    // the race of optimisers
  kOptRoadInvalid = 3,       // no optimiser for this choice and problem: VLR_RES_ERR_INV_OPTIMIZER
  kOptRoadMixedProblem = 4,  // cones with quadratic terms: VLR_RES_ERR_MIXED_PROBLEM
  kOptRoadIntpnt = 5,        // the interior-point pipeline (VLR_opt_ipmslv)
};

// What the choice of road depends on, read once from the task by the optimise entry.
struct OptChoice {
  int32_t optimizer = 0;  // VLR_IPAR_OPTIMIZER
  int32_t probtype = 0;   // VLR_PROBTYPE_*
  int32_t numintvar = 0;
  int32_t numcone = 0;
  int32_t miomode = 0;     // VLR_IPAR_MIO_MODE
  int32_t qoseparate = 0;  // VLR_IPAR_QO_SEPARABLE_REFORMULATION
};

// The road for a choice: a pure function of the record, so that it is decided in one place.
int32_t VLR_opt_chooseroad(const OptChoice& choice);

// ---- The interior-point pipeline ------------------------------------------------------------

// The run's parameters as the pipeline reads them; VLR_opt_setdefaults gives the defaults, the
// optimise entry copies the task's parameters over them.
struct optpar {
  int32_t loglevel = 0;
  int32_t solveform = 0;  // 0 free, 1 primal, 2 dual
  int32_t basismode = 0;
  int32_t maxiter = 200;
  int32_t ordermethod = 0;
  int32_t offcoltrh = 30;
  int32_t scalemode = 1;  // 0 none, 1 moderate, 2 aggressive (the same passes)
  int32_t startpoint = 0;
  int32_t maxnumcor = -1;
  int32_t diffstep = 1, regularize = 0;
  double tolpiv = 1e-12, tolrefine1 = 1e-13, tolrefine2 = 1e-13;
  double tolpath = 1e-8, meritbal = 1e-4;
  double tolrelgap = 1e-8, tolpfeas = 1e-10, toldfeas = 1e-10, tolgfeas = 1e-8, tolmured = 1e-10,
         tolinfeas = 1e-8, tolstepsize = 1e-10;
  double stepfac = 0.9999;
  double tolpsafe = 1.0, toldsafe = 1.0;
  // Presolve.
  int32_t presolve = 1;
  PrslvUser prslv;
  // Basis identification (basismode: the VLR_BI_* value, 0 none).
  int32_t biloglevel = 0, bilogfreq = 1, bicleanopt = 0;
  int32_t biignoremaxiter = 0, biignorenumerr = 0;
  int64_t bimaxiter = 10000;
  double bitolx = 1e-8, bitols = 1e-8, bireltols = 1e-12;
};

void VLR_opt_setdefaults(optpar* par);

// What a run reports (the solver information record).
struct slvi {
  int32_t resp = 0;  // internal response: 0 normal, 1 space, 4 iterations, 5 time, 6 user break,
                     // 7 callback, 8 stalled
  int32_t iterations = 0;
  int32_t prosta = 0, solsta = 0;  // of the problem as given
  double pobj = 0.0, dobj = 0.0, pfeas = 0.0, dfeas = 0.0, kapdivtau = 0.0;
  int32_t nrow = 0, ncol = 0;  // the standard form the optimiser solved
  int32_t isdual = 0;
  int32_t presolved = 0, prslvnumcon = 0, prslvnumvar = 0;
  double prslvtime = 0.0, prslvlindeptime = 0.0;
  int64_t nnzL = 0;
  double fflops = 0.0, ordtime = 0.0;
  int32_t ndense = 0;
  // The check of the answer on the problem as given.
  double chkpviol = 0.0, chkdviol = 0.0;
  // Wall seconds of the stages, for the log and the information items only.
  double ipmtime = 0.0, postsolvetime = 0.0;
  // Basis identification: used (a basis came out), its response, the basic solution's statuses
  // and objectives on the problem as given, and the work of each step.
  int32_t biused = 0, biresp = 0;
  int32_t basprosta = 0, bassolsta = 0;
  double baspobj = 0.0, basdobj = 0.0;
  int32_t bisuper = 0, bicleaned = 0;
  int64_t bipriiter = 0, biduaiter = 0, bicleanpriiter = 0, bicleanduaiter = 0, bicleanpditer = 0;
  double bitime = 0.0, biprimaltime = 0.0, bidualtime = 0.0, bicleantime = 0.0;
};

// The caller's side of a run: text of the log (whole lines) and the iteration logger, whose
// non-zero return stops the run with that internal response.
struct OptIpmCallbacks {
  void* handle = nullptr;
  void (*text)(void* handle, const char* line) = nullptr;
  int32_t (*iter)(void* handle, const HomIter& it) = nullptr;
  // Asked in the steps between iterations (presolve, the ordering); non-zero stops the run as a
  // user break. May be null.
  int32_t (*stop)(void* handle) = nullptr;
};

// The internal responses' texts, with " [%d]" appended, into buf.
void VLR_optdef_optresp2str(int32_t resp, char* buf, size_t size);

// Solves lp (a minimisation) by presolve, the standard form, scaling, the homogeneous optimiser
// and the way back; itr is sized for lp (m + n keys and values, m duals) and receives the
// interior solution or certificate. When bas is given and par.basismode asks for it, basis
// identification runs on the presolved problem and bas (sized as itr) receives the basic
// solution of the problem as given (info->biused). info->resp tells how the run ended.
void VLR_opt_ipmslv(SysEnv* sys, const optpar& par, const SimLp& lp, const OptIpmCallbacks& cb,
                    SimSol* itr, slvi* info, SimSol* bas = nullptr);

}  // namespace vlr
