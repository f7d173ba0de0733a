// src/prslv/prslv.h: presolve of a linear problem in the simplex's form, with an undo stack that
// brings a solution and a basis of the reduced problem back to the problem as given.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"
#include "optimize/optimize.h"

namespace vlr {

struct prslv;  // the presolve object (prslv/prslvdat.h, private to src/prslv)

// Return codes of the presolve functions; never response codes.
enum PrslvCode : int32_t {
  kPrslvOk = 0,
  kPrslvNoSpace = 1,  // an allocation failed; nothing is half applied
  kPrslvOrder = 2,    // a call out of order: postsolve runs once after a reduce
  kPrslvStopped = 3,  // the caller's stop was asked between two groups of reductions
};

// The parameter record; VLR_prslv_initparam gives the defaults.
struct PrslvParam {
  int32_t loglevel = 0;          // above 1 the settings are printed
  int32_t timinglevel = 1;       // 2 and up: time per reduction group
  int32_t use = 1;               // above 0 reductions run; 0 only the storage and the final copy
  int32_t relax = 1;             // redundant row sides may be dropped
  int32_t lindep = 1;            // linear dependency check on equations
  int32_t eliminatortries = -1;  // 0 off, negative unlimited, else a limit of eliminator runs
  int32_t printbase = 0;         // added to row and column indices in log lines
  double tolx = 1e-6;            // primal tolerance: bounds, activities, infeasibility
  double tols = 1e-6;            // dual tolerance: reduced-cost tests of dominated columns
  double tolaij = 1e-12;         // absolute zero of matrix entries
  double tollindepfloor = 1e-6;
  double tollindep = 1e-8;
  double tolrel1 = 0.01, tolrel2 = 0.01, tolrel3 = 0.01;
  double relzero = 1e-12;  // relative zero of updates
  double limit1 = 4.0, limit2 = 1e8;
  int32_t lindepworklim = 0;
  double elimspacefactor = 0.2;
  int32_t elimfill = 1;  // entries a substitution may add to the matrix beyond those it removes
  // A column singleton of an equation becomes the row's slack (the row turns ranged). Off by
  // default: it removes columns, but the dual simplex can take far more iterations on the
  // ranged rows it leaves (three times as many on one Netlib problem).
  int32_t slackcols = 0;
  int32_t keepprimal = 0, keepdual = 0, updateprimal = 0, updatedual = 0;
  int32_t statuscopy = 0;
  // Text of the log, made of whole lines; may be null.
  void* loghandle = nullptr;
  void (*log)(void* handle, const char* text) = nullptr;
  // Asked before each group of reductions (each a pass over the problem); a non-zero answer ends
  // the reduce with kPrslvStopped. May be null.
  void* stophandle = nullptr;
  int32_t (*stop)(void* handle) = nullptr;
};

// Presolve's record from the settings a run carries (the rest keep their defaults).
void VLR_prslv_takeuser(const PrslvUser& user, PrslvParam* param);

// The statistics record. prosta is VLR_PRO_STA_UNKNOWN while the reduced problem still has to
// be solved; VLR_PRO_STA_PRIM_INFEAS or VLR_PRO_STA_DUAL_INFEAS when a reduction proved it (the
// caller then solves the problem as given for its certificate); solved is 1 when presolve
// removed everything and the solution follows from postsolve alone.
struct PrslvStat {
  int32_t prosta = 0;
  int32_t solved = 0;
  int32_t finished = 0;                            // 0 when the run stopped for want of space
  int32_t numcon[2] = {0, 0}, numvar[2] = {0, 0};  // before and after
  int64_t numanz[2] = {0, 0};
  int32_t rowbykey[2][5] = {}, colbykey[2][5] = {};  // counts by VLR_BK_* key, before and after
  int32_t numfreecon = 0, numemptycon = 0, numconsin = 0, numforcing = 0, numrelaxlo = 0,
          numrelaxup = 0, numfixedvar = 0, numemptyvar = 0, numdominated = 0, numeliminated = 0,
          numdoubleton = 0, numdupcon = 0, numdupvar = 0, numlindep = 0, numslackcol = 0,
          numpasses = 0;
  int64_t numrecords = 0;
  double time = 0.0;
  // Wall-clock time of each group of reductions, for the log only: nothing in presolve reads
  // the clock to decide.
  double timeinit = 0.0, timecheck = 0.0, timedupcon = 0.0, timedupvar = 0.0, timelindep = 0.0,
         timefinal = 0.0;
};

void VLR_prslv_initparam(PrslvParam* param);

// Makes a presolve object over a copy of lp (the caller keeps lp, which must stay as it is until
// VLR_prslv_delete: postsolve reads it). kPrslvOk, or kPrslvNoSpace with *p null.
int32_t VLR_prslv_make(SysEnv* sys, const SimLp& lp, prslv** p);
// Frees the object; null accepted; nulls the pointer.
void VLR_prslv_delete(prslv** p);

// Runs the reductions on the object's problem, pushing an undo record before each change. Fills
// stat. kPrslvOk (also when a reduction proved infeasibility: see stat.prosta), or kPrslvNoSpace,
// after which the object may only be deleted.
int32_t VLR_prslv_reduce(const PrslvParam& param, prslv* p, PrslvStat* stat);

// The reduced problem: a SimLp whose arrays the object owns (valid until VLR_prslv_delete).
// Empty (m = n = 0) when presolve removed everything.
void VLR_prslv_getreduced(const prslv* p, SimLp* reduced);

// Values and duals of the problem as given from a solution of the reduced one (status keys,
// values, duals and reduced costs; a problem that presolve removed entirely takes an empty
// one). sol is sized for the problem as given: its keys, x (rows first), y and d are filled;
// row activities and reduced costs are recomputed from the data. The walk brings the object's
// own problem back as it goes, so it runs once (a second call gives kPrslvOrder) unless the
// reduced problem was kept for more walks by VLR_prslv_keepreduced.
int32_t VLR_prslv_postsolve(const PrslvParam& param, prslv* p, const SimSol& reducedsol,
                            SimSol* sol);
// Keeps what the walk of postsolve changes, after VLR_prslv_reduce and before the first
// postsolve, so that each later postsolve (of an interior solution and of a basis, say) starts
// from the reduced problem again. kPrslvOk, or kPrslvNoSpace with nothing kept.
int32_t VLR_prslv_keepreduced(prslv* p);
// Status keys of the problem as given, from the reduced problem's basis: m basic keys when the
// reduced basis has m' of its own. Run after VLR_prslv_postsolve on the same sol.
int32_t VLR_prslv_postsolvebasis(const PrslvParam& param, prslv* p, const SimSol& reducedsol,
                                 SimSol* sol);
// Drops the undo stack and the reduced problem; the caller's problem was never changed.
void VLR_prslv_unreduce(const PrslvParam& param, prslv* p);

// Writes the summary table of stat through the parameter's log.
void VLR_prslv_problemsummary(const PrslvParam& param, const PrslvStat& stat);

}  // namespace vlr
