// src/simplex/simplex.h: the pivoting optimisers: their parameter and information records and
// the one entry that solves a linear problem in the simplex's form from scratch or from a basis.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"
#include "dualize/dualize.h"

namespace vlr {

// Slots of the four-way fields and of the iteration counts.
enum SimSlot : int32_t {
  kSimSlotNetwork = 0,
  kSimSlotPrimal = 1,
  kSimSlotDual = 2,
  kSimSlotPd = 3
};

// Degeneracy modes, scaling modes and solve forms of the parameter record (the task's
// VLR_SIM_DEGEN_*, VLR_SIM_SCALE_* mapped, VLR_SOLVE_* numbering).
enum SimDegen : int32_t {
  kSimDegenNone = 0,
  kSimDegenFree = 1,
  kSimDegenAggressive = 2,
  kSimDegenModerate = 3,
  kSimDegenMinimum = 4,
};
enum SimScaleMode : int32_t {
  kSimScaleFree = 0,
  kSimScaleNone = 1,
  kSimScaleModerate = 3,
  kSimScaleAggressive = 4,
};
enum SimSolveForm : int32_t {
  kSimFormFree = 0,
  kSimFormPrimal = 1,
  kSimFormDual = 2,
};

// Internal responses of the optimisers; the glue turns them into response codes.
enum SimResponse : int32_t {
  kSimOk = 0,
  kSimNoSpace = 1,
  kSimMaxIter = 4,
  kSimObjRange = 5,
  kSimInterrupted = 7,
  kSimLuFault = 23,
  kSimSingular = 26,
  kSimSetbacks = 27,
  kSimLuSpace = 30,
  kSimNumTrouble = 31,
};

// The run's parameters, in the optimisers' own terms (VLR_simplex_initparam gives the defaults;
// the glue copies the task's parameters over them).
struct SimParam {
  int32_t loglevel = 1;
  int32_t degen = 1;          // 0 none, 1 free, 2 aggressive, 3 moderate, 4 minimum
  int32_t scaling = 0;        // 0 free, 1 none, 3 moderate, 4 aggressive
  int32_t scalemethod = 0;    // 0 power-of-two geometric, 1 equilibration only
  int32_t solveform = 0;      // 0 free, 1 primal, 2 dual
  int32_t switchopt = 0;      // exchange the primal and dual slot when dualising
  int32_t hotstart = 1;       // 0 ignore a given basis; otherwise use it
  int32_t dualselection = 0;  // selection number of the dual pricing
  int32_t dualcrash = 0;      // percent of the rows a crash of the dual start may claim; 0 none
  int32_t savelu = 0;         // keep the last factor in SimCallbacks::savedlu
  // The start basis is expected to be optimal (a postsolved or identified basis): it is first
  // checked on the data as given after one factor, and reported when it passes.
  int32_t confirm = 0;
  // Primal pricing: 0 free, 1 full, 2 approximate steepest edge, 3 devex, 4 steepest edge,
  // 5 partial (the task's VLR_SIM_SELECTION_* numbering).
  int32_t primalselection = 0;
  int32_t maxsetbacks = 200;
  int32_t refactorfreq = 0;  // 0: the LU's work rule decides
  int32_t logfreq = 1000;    // iterations between log lines
  // The dual's cold start: the distance of the artificial bounds that, with the implied ones,
  // spare it the first phase; 0 sets neither and runs the first phase instead. On Netlib 1e5, 1e6
  // and 1e8 (on the scaled problem) all save 3% of the iterations in geometric mean; three problems
  // end with a bound of 1e6 active and go on with the first phase.
  double artbound = 1e6;
  int64_t maxiter = 10000000;
  double tolx = 1e-6;      // primal feasibility
  double tols = 1e-6;      // dual feasibility
  double tolpiv = 1e-7;    // smallest pivot taken in a ratio test
  double lurelpiv = 0.01;  // relative pivot tolerance of the LU
  double maxtime = -1.0;   // seconds; negative: none (the glue checks it in progress)
  int32_t lowercut = 0, uppercut = 0;
  double lowercutval = 0.0, uppercutval = 0.0;
  int32_t slot = kSimSlotDual;  // which optimiser runs
  // Presolve: 0 off, 1 on, 2 when the iteration limit is above 50. Never with a hot start.
  int32_t presolve = 0;
  PrslvUser prslv;
  // The network start: the network simplex runs first on the network part when it holds at least
  // netdetect percent of the rows (netdetecthot with a start basis); 101 is off.
  int32_t netdetect = 101;
  int32_t netdetecthot = 100;
  int32_t netmethod = 0;    // VLR_NETWORK_DETECT_*: how the part is looked for
  int32_t netlogfreq = 50;  // iterations between the network's log lines
};

// The factor of a run's last basis, kept for the next run (VLR_IPAR_SIM_SAVE_LU): a run that
// starts from the same basic variables on the same working matrix takes it in place of a new
// factor. Owned by the caller, freed by VLR_simplex_freesavedlu.
struct SimSavedLu;
void VLR_simplex_freesavedlu(SysEnv* sys, SimSavedLu** saved);

// Progress and text of a run, and the kept factor. Any may be null.
struct SimCallbacks {
  void* handle = nullptr;
  // Prints text made of whole lines.
  void (*log)(void* handle, const char* text) = nullptr;
  // Called at a regular count of iterations; a non-zero result stops the run (response 7).
  int32_t (*progress)(void* handle, int64_t iterations, double pobj, double dobj) = nullptr;
  // Asked between the steps that have no iterations of their own (presolve); a non-zero result
  // stops the run as progress does. May be null.
  int32_t (*stop)(void* handle) = nullptr;
  // Where the factor of the last basis is kept when SimParam::savelu is set; each run may take
  // what it finds there and leaves its own.
  SimSavedLu** savedlu = nullptr;
};

// What a run reports.
// The operations of a pivoting loop whose time the log tail reports.
enum SimOp : int32_t {
  kSimOpFactor = 0,  // factors of the basis
  kSimOpBtran,       // rows of the inverse
  kSimOpRow,         // pivot rows formed from them
  kSimOpRatio,       // ratio tests
  kSimOpFtran,       // columns of the inverse, and the solves of the weights and the swaps
  kSimOpUpdate,      // updates of values, duals, weights and the factor
  kSimOpPrice,       // choices of the leaving (dual) or entering (primal) variable
  kSimOpCount
};

struct SimInfo {
  int32_t response = kSimOk;
  double starttime = 0.0;  // wall clock when the run began, for the TIME column of the log
  int32_t prosta = 0;      // VLR_PRO_STA_*
  int32_t solsta = 0;      // VLR_SOL_STA_*
  int64_t iter[4] = {0, 0, 0, 0};
  int64_t degiter = 0;  // iterations with a zero step
  int64_t infiter = 0;  // iterations of the first phase
  int32_t numfactor = 0;
  double fillsum = 0.0;       // sum over the factors of (entries of L and U + m) / entries of B
  int32_t numartificial = 0;  // slacks put in for a short rank
  int32_t numcrashed = 0;     // columns the crash of the start put in place of slacks
  int32_t numsetbacks = 0;
  int32_t dualized = 0;
  int32_t perturbed = 0;
  int32_t cleaned = 0;     // a clean-up run on the unscaled, unperturbed problem was needed
  int32_t hotstart = 0;    // the run started from the given status keys
  int32_t hotstartlu = 0;  // ... and from the factor kept by the previous run
  int32_t presolved = 0;   // presolve ran and its reduced problem was solved
  int32_t prslvnumcon = 0, prslvnumvar = 0;  // size of the reduced problem
  int64_t prslvnumanz = 0;
  double prslvlindeptime = 0.0;
  double prslvtime = 0.0;
  double pobj = 0.0, dobj = 0.0;
  double time = 0.0;  // seconds of the whole call
  // Wall seconds per operation; they only feed the log, never a decision of the run.
  double optime[kSimOpCount] = {};
  // Sums over the iterations of the densities (non-zeros over size) of the row of the inverse,
  // the pivot row, the column and the column of the steepest-edge update (the inverse times the
  // row of the inverse), and the count of iterations summed.
  double densrho = 0.0, densrow = 0.0, denscol = 0.0, denstau = 0.0;
  int64_t denscount = 0;
  // The network start (iterations in iter[kSimSlotNetwork]).
  int32_t nettried = 0;  // the network part was looked for in this run
  int32_t netflag = 0;   // 1 the whole problem is a network, 2 a part
  int32_t netnumcon = 0, netnumvar = 0;
  int64_t netdegiter = 0, netinfiter = 0;
  double nettime = 0.0;
};

// Adds the wall seconds since t0 (from VLR_sysenv_getwctime) to operation op.
void VLR_simplex_inctimeofopr(SysEnv* sys, SimInfo* info, int32_t op, double t0);
// Adds what a sub-run (of the dual, of the reduced problem) spent per operation to info.
void VLR_simplex_addtiming(SimInfo* info, const SimInfo& sub);

void VLR_simplex_initparam(SimParam* par);
void VLR_simplex_initinfo(SimInfo* info);

// Solves lp. sol's arrays (sized for lp) receive the status keys, values, duals and reduced
// costs; on entry sol.sk holds a start basis when starthot is non-zero (VLR_SK_* keys with
// exactly m basic ones is best; other counts are repaired). On an infeasible problem sol holds
// the certificate the solution status names. Returns info->response.
int32_t VLR_simplex_optimize(SysEnv* sys, const SimParam& par, const SimCallbacks& cb,
                             const SimLp& lp, int32_t starthot, SimSol* sol, SimInfo* info);

// A maximum transversal of the ncol columns cols (at most m) of the m-row pattern (beg, idx):
// rmatch[i] the place in cols of the column matched to row i, -1 for none. Returns the
// structural rank. May throw std::bad_alloc (usimplex.cpp).
int32_t VLR_simplex_maxtransversal(SysEnv* sys, int32_t m, const int64_t* beg, const int32_t* idx,
                                   int32_t ncol, const int32_t* cols, int32_t* rmatch);

// 1 when every column that is not fixed has, in the rows that are not free, one entry of +-1 or
// two that differ in sign once each row is multiplied by sign[i] (+1 or -1; 0 for free rows);
// colin[j] = 1 marks those columns, and the counts of rows and columns in the network are given.
// 0 with all signs 0 otherwise. May throw std::bad_alloc.
int32_t detectnet_pure(SysEnv* sys, const SimLp& lp, int32_t* sign, uint8_t* colin, int32_t* numcon,
                       int32_t* numvar);
// The network of lp: the whole (flag 1) or, by the VLR_NETWORK_DETECT_* method, a large part
// (flag 2): rows with sign[i] != 0 and columns with colin[j] = 1, each such column passing the
// test above in those rows; flag 0 when none was found. Returns kSimOk or kSimNoSpace.
int32_t VLR_simplex_detectnet(SysEnv* sys, const SimLp& lp, int32_t method, int32_t* sign,
                              uint8_t* colin, int32_t* numcon, int32_t* numvar, int32_t* flag);
// The network start of the pivoting optimisers: unless it was tried already or is off by the
// threshold, the network part is solved by the network simplex and its basis put in sol->sk.
// True when sol->sk holds that basis; info->response tells a failure or a stop.
bool VLR_simplex_netoptimize(SysEnv* sys, const SimParam& par, const SimCallbacks& cb,
                             const SimLp& lp, int32_t starthot, SimSol* sol, SimInfo* info);

}  // namespace vlr
