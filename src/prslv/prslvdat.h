// src/prslv/prslvdat.h: the presolve object: the problem in presolve form, its row-wise copy,
// the activity bounds, and the undo stack of typed records. Private to src/prslv.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "prslv/prslv.h"
#include "velor.h"

namespace vlr {

// Record kinds of the undo stack, with the numbers the log and the statistics use.
enum PrslvKind : int32_t {
  kPrslvConRelaxFree = 1,     // row removed as free: [i]
  kPrslvConRelaxUp = 2,       // row's upper side dropped: [i] [bu]
  kPrslvConRelaxLo = 3,       // row's lower side dropped: [i] [bl]
  kPrslvConSin = 4,           // row singleton moved to its column: [i j flags] [a cl cu]
  kPrslvConForce = 5,         // forcing row: [i side k j1..jk] [v1..vk]
  kPrslvVarFix = 6,           // fixed column removed: [j] [v]
  kPrslvElimination = 8,      // free column singleton of an equation substituted: [i j] [a cj]
  kPrslvVarFixLo = 11,        // column fixed at its lower bound: [j] [v]
  kPrslvVarFixUp = 12,        // column fixed at its upper bound: [j] [v]
  kPrslvVarFixZero = 17,      // free empty column fixed at 0: [j] [v]
  kPrslvStoreConBnd = 20,     // row bounds at entry (kept by the object itself)
  kPrslvStoreCcAndCx = 21,    // objective at entry (kept by the object itself)
  kPrslvInitialVarFix = 30,   // fixed column removed in the initial pass: [j] [v]
  kPrslvInitialConSin = 31,   // row singleton of the initial pass: as kPrslvConSin
  kPrslvInitialFreeCon = 32,  // free row removed in the initial pass: [i]
};

// Flags of a singleton-row record: which side of the column came from the row.
constexpr int32_t kPrslvSinLower = 1;
constexpr int32_t kPrslvSinUpper = 2;

struct prslv {
  SysEnv* sys;
  const SimLp* lp;  // the problem as given; borrowed (must outlive)

  // Undo stack. A record is a kind, integers and doubles; the store holds, for each record,
  // the integers then the doubles, and recbeg the byte offset of each record.
  int32_t stackready;  // 1 outside a push, 0 between begin and end
  int64_t intcapacity, doublecapacity;
  int64_t curints, curdoubles;  // sizes of the record being pushed
  int32_t* intstage;            // [intcapacity]
  double* doublestage;          // [doublecapacity]
  int64_t numrecords, kindcapacity;
  int32_t* kinds;     // [kindcapacity] kind of each record
  int64_t* recbeg;    // [kindcapacity + 1] byte offset of each record in store
  int64_t* recsizes;  // [2 kindcapacity] integers and doubles of each record
  char* store;
  int64_t storesize, storecapacity;
  int64_t poprecord;  // next record to pop (counts down)

  // The problem in presolve form: l <= A x <= u on rows, l <= x <= u on columns, bounds with
  // infinite values where the key has no side.
  int32_t numcon, numvar;
  const int64_t* colbeg;  // [numvar + 1] the caller's A by columns (lp's arrays)
  const int32_t* colidx;
  const double* colval;
  int64_t* rowbeg;  // [numcon + 1] A by rows, made once
  int32_t* rowidx;
  double* rowval;
  double* rl;  // [numcon] row bounds, shifted by removed columns
  double* ru;
  double* cl;  // [numvar] column bounds, tightened by singleton rows
  double* cu;
  double* xfix;      // [numvar] value of a removed column
  double* c;         // [numvar] costs, changed by substitutions
  double cfix;       // constant of the objective, with the removed columns' share
  int8_t* rowalive;  // [numcon] 1 while the row is in the problem
  int8_t* colalive;  // [numvar]
  int32_t* connz;    // [numcon] entries of living columns
  int32_t* varnz;    // [numvar] entries of living rows
  int32_t* list;     // [numcon] work list of rows
  int8_t* inlist;    // [numcon]

  // The reduced problem, made by the final pass.
  int32_t redm, redn;
  int32_t* rowmap;  // [numcon] index in the reduced problem, -1 when removed
  int32_t* colmap;  // [numvar]
  int64_t* redbeg;  // [redn + 1]
  int32_t* redidx;
  double* redval;
  double* redc;    // [redn]
  int32_t* redbk;  // [redm + redn]
  double* redbl;
  double* redbu;
};

// Stack (prslvstk.cpp).
int32_t VLR_prslv_beginpushstk(prslv* p, int32_t kind, int64_t numint, int64_t numdouble,
                               int32_t** intstage, double** doublestage);
void VLR_prslv_endpushstk(prslv* p);
void VLR_prslv_initpopstk(prslv* p);
// 0 when the stack is empty, else 1 with the record's kind, sizes and staged data.
int32_t VLR_prslv_popstk(prslv* p, int32_t* kind, const int32_t** ints, int64_t* numint,
                         const double** doubles, int64_t* numdouble);
// Record r (0 at the bottom) in place, without popping.
void VLR_prslv_getrecord(const prslv* p, int64_t r, int32_t* kind, const int32_t** ints,
                         const double** doubles);
void VLR_prslv_emptystk(prslv* p);
int64_t VLR_prslv_getnumred(const prslv* p);

// Reductions (prslvred.cpp). Each returns kPrslvOk or kPrslvNoSpace, and sets stat->prosta when
// it proves the problem infeasible or unbounded.
int32_t VLR_prslv_init(const PrslvParam& param, prslv* p, PrslvStat* stat);
int32_t VLR_prslv_checkproblem(const PrslvParam& param, prslv* p, PrslvStat* stat,
                               int32_t* changed);

}  // namespace vlr
