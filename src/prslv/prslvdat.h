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
  kPrslvElimination = 8,      // free column of an equation substituted into its other rows:
                              // [i j nq q1.. nr (r how1..)..] [a cj b c1.. (arj old1..)..]
  kPrslvVarFixLo = 11,        // column fixed at its lower bound: [j] [v]
  kPrslvVarFixUp = 12,        // column fixed at its upper bound: [j] [v]
  kPrslvDupVar = 16,          // column k merged into its multiple j: [k j] [lambda lj uj lk uk]
  kPrslvVarFixZero = 17,      // free empty column fixed at 0: [j] [v]
  kPrslvSlackCol = 26,        // column singleton of an equation turned into the row's range:
                              // [i j nq q1..] [a cj b c1..]
  kPrslvDupCon = 18,          // row r, a multiple of row i, gave i its bounds: [r i flags]
                              // [lambda li ui]
  kPrslvConPiv = 24,          // doubleton equation: x_k substituted by x_j:
                              // [i k j flags cnt s1.. how1..] [aik aij b cj cl cu old1..]
  kPrslvStoreConBnd = 20,     // row bounds at entry (kept by the object itself)
  kPrslvStoreCcAndCx = 21,    // objective at entry (kept by the object itself)
  kPrslvInitialVarFix = 30,   // fixed column removed in the initial pass: [j] [v]
  kPrslvInitialConSin = 31,   // row singleton of the initial pass: as kPrslvConSin
  kPrslvInitialFreeCon = 32,  // free row removed in the initial pass: [i]
};

// Flags of a singleton-row record: which side of the column came from the row.
constexpr int32_t kPrslvSinLower = 1;
constexpr int32_t kPrslvSinUpper = 2;

// How a substitution left the entry (s, j) of a row s of the substituted column, for its undo.
enum PrslvEntryChange : int32_t {
  kPrslvEntryAdded = 0,      // absent before, appended
  kPrslvEntryUpdated = 1,    // present, value changed
  kPrslvEntryCancelled = 2,  // present, became zero and was removed
  kPrslvEntryKept = 3,       // absent, and the change was zero
};

// One view of A (by columns or by rows): each line in a slot of its own in one pool. A slot never
// shrinks, so an entry removed can always come back; a line that outgrows its slot moves to the
// end of the pool. A living line may keep entries of removed lines of the other view; a removed
// line is never changed again, so it keeps the entries it had when it went.
struct PrslvLines {
  int32_t num = 0;
  int64_t* beg = nullptr;  // [num]
  int32_t* len = nullptr;  // [num]
  int32_t* cap = nullptr;  // [num]
  int32_t* idx = nullptr;  // [capacity]
  double* val = nullptr;
  int64_t used = 0, capacity = 0;
};

inline int64_t VLR_prslv_lineend(const PrslvLines& l, int32_t q) {
  return l.beg[q] + l.len[q];
}

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
  PrslvLines col;  // A by columns
  PrslvLines row;  // A by rows
  double* rl;      // [numcon] row bounds, shifted by removed columns
  double* ru;
  double* cl;  // [numvar] column bounds, tightened by singleton rows
  double* cu;
  double* xfix;        // [numvar] value of a removed column
  double* c;           // [numvar] costs, changed by substitutions
  double cfix;         // constant of the objective, with the removed columns' share
  int8_t* rowalive;    // [numcon] 1 while the row is in the problem
  int8_t* colalive;    // [numvar]
  int32_t* connz;      // [numcon] entries of living columns
  int32_t* varnz;      // [numvar] entries of living rows
  int32_t* list;       // [numcon] work list of rows
  int8_t* inlist;      // [numcon]
  int64_t* rowmark;    // [numcon] scratch of one reduction, -1 between reductions
  int32_t postsolved;  // the walk of postsolve has brought the problem back
  // What the walk changes, kept for further walks (VLR_prslv_keepreduced): the lines, the costs
  // and the alive marks of the reduced problem.
  int32_t kept;
  PrslvLines keepcol, keeprow;
  double* keepc;
  int8_t* keeprowalive;
  int8_t* keepcolalive;

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

// Lines (prslvmat.cpp). Room is made before a reduction pushes its record, so that the changes
// that follow cannot fail.
bool VLR_prslv_makelines(SysEnv* sys, PrslvLines* l, int32_t num, const int32_t* len);
void VLR_prslv_freelines(SysEnv* sys, PrslvLines* l);
// A copy of lines, and the copy put back into lines of the same shape (false when they differ).
bool VLR_prslv_copylines(SysEnv* sys, const PrslvLines& from, PrslvLines* to);
bool VLR_prslv_restorelines(const PrslvLines& from, PrslvLines* to);
// Frees what VLR_prslv_keepreduced kept.
void VLR_prslv_dropkept(prslv* p);
// Room for `extra` more entries in line q; false when out of space (nothing changed but slots).
bool VLR_prslv_makeroom(SysEnv* sys, PrslvLines* l, int32_t q, int32_t extra);
int64_t VLR_prslv_findentry(const PrslvLines& l, int32_t q, int32_t other);
void VLR_prslv_appendentry(PrslvLines* l, int32_t q, int32_t other, double v);
void VLR_prslv_removeentry(PrslvLines* l, int32_t q, int64_t at);

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

// Dependency check on equations (prslvlin.cpp): an equation that is a combination of others
// goes when its right-hand side agrees; the problem is infeasible when it clearly does not.
int32_t VLR_prslv_chklinblkcon(const PrslvParam& param, prslv* p, PrslvStat* stat,
                               int32_t* changed);

// Duplicates (prslvdup.cpp): rows that are multiples of another row, columns that are multiples
// of another column with the cost in the same ratio.
int32_t VLR_prslv_checkdupcon(const PrslvParam& param, prslv* p, PrslvStat* stat, int32_t* changed);
int32_t VLR_prslv_checkdupvar(const PrslvParam& param, prslv* p, PrslvStat* stat, int32_t* changed);

}  // namespace vlr
