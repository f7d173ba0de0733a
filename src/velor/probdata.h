// src/velor/probdata.h: the problem store of a task: linear data, names, solutions, quadratic
// terms, cones and integer marks. Private to src/velor.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sprmat.h"
#include "velor/task.h"

namespace vlr {

constexpr double kInfinity = 1e30;  // a missing side of a bound is stored as -1e30 or +1e30

inline bool VLR_isinfinity(double x) {
  return x >= kInfinity;
}
inline bool VLR_bkhaslow(int32_t bk) {
  return bk == VLR_BK_LO || bk == VLR_BK_FX || bk == VLR_BK_RA;
}
inline bool VLR_bkhasupp(int32_t bk) {
  return bk == VLR_BK_UP || bk == VLR_BK_FX || bk == VLR_BK_RA;
}

// Chained hash table over names kept elsewhere (offsets into a pool); items are 0..size-1.
struct HashTbl {
  int32_t size;    // items
  int32_t nheads;  // a power of two
  int32_t* heads;  // [nheads] first item of each chain; size at the end of a chain
  int32_t* next;   // [size] next item of the chain; size at the end
};

// Name lists of one class (variables, constraints or cones).
struct NameList {
  int64_t* off;  // [capacity] position in the task's name pool; 0: no name
  HashTbl* map;  // built on demand; null when dropped
};

struct TaskData {
  int32_t maxnumvar, maxnumcon, maxnumcone;
  int32_t numvar, numcon, numcone;
  int32_t objsense;  // VLR_OBJECTIVE_SENSE_...
  double* c;         // [maxnumvar]
  double cfix;
  double* conaux;  // [maxnumcon] kept in step with the constraints
  sprmat* a;       // maxnumcon x maxnumvar, made on first use
  int64_t maxnumanz;
  int32_t* bkc;  // [maxnumcon]
  double *blc, *buc;
  int32_t* bkx;  // [maxnumvar]
  double *blx, *bux;
  int32_t numexpand;  // capacity changes so far

  // Names: one pool of zero-ended strings; position 0 holds the empty name.
  NameList names[3];  // VLR_PI_VAR, VLR_PI_CON, VLR_PI_CONE
  char* namepool;
  int64_t namepool_size, namepool_use;
  char* objname;

  // Quadratic terms: one pool for the objective and every constraint, lower triangle.
  int64_t maxnumqnz;
  int64_t qfree;  // free elements at the end of the pool
  int32_t *qsubi, *qsubj;
  double* qval;
  int64_t qobjb, qobje;    // range of the objective
  int64_t *qconb, *qcone;  // [maxnumcon] range of each constraint; null until first used

  // Cones: members of cone k are conesub[coneb[k] .. conee[k]).
  int32_t *coneb, *conee, *conetype;  // [maxnumcone]
  double* conepar;                    // [maxnumcone]
  int32_t* conesub;                   // [maxnumvar] member pool, each variable at most once
  int32_t* varcone;                   // [maxnumvar] 0 for none, otherwise cone + 1
  int32_t conefree;                   // free member slots at the end of the pool

  int32_t* vartype;  // [maxnumvar] null until the first integer mark
  int32_t numintvar;
  int32_t *branchpri, *branchdir;  // [maxnumvar] null until first used

  void* nlhandle;
  VLRnlgetspfunc nlgetsp;
  VLRnlgetvafunc nlgetva;
};

// One solution: keys skc[m], skx[n] (and skn[k] for the interior one), then the items.
struct SolRec {
  int32_t made;  // the arrays exist (they may be empty for an empty task)
  int32_t prosta, solsta, defined;
  int32_t m, n, k;  // capacities the arrays were made for
  int32_t* keys;
  double* data;
};

struct SolStore {
  SolRec sol[3];  // VLR_SOL_ITR, VLR_SOL_BAS, VLR_SOL_ITG
};

// ---- Task data (taskdata.cpp) ---------------------------------------------------------------

// Makes the store with the capacities; on failure deletes what it made.
int32_t VLR_makeprobdata(Task* task, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone,
                         int64_t maxnumanz, int64_t maxnumqnz);
// Frees the store in any partial state.
void VLR_deleteprobdata(Task* task);
// Remakes an empty store for a task that lost its own in a failed resize; 0 or the space code.
int32_t VLR_ensuredata(Task* task);
// Turns a sprmat status into a response code raised on the task.
int32_t VLR_convertsprmatrespdbg(const char* file, int line, Task* task, int32_t code);
#define VLR_SPRRES(task, code) ::vlr::VLR_convertsprmatrespdbg(__FILE__, __LINE__, (task), (code))
int32_t VLR_makea(Task* task);
int32_t VLRP_putmaxnumcon(Task* task, int32_t n);
int32_t VLRP_putmaxnumvar(Task* task, int32_t n);
int32_t VLRP_putmaxnumanz(Task* task, int64_t n);
int32_t VLR_core_append(Task* task, int32_t accmode, int32_t num, int32_t* first);
int32_t VLRP_remove(Task* task, int32_t accmode, int32_t num, const int32_t* sub);
int32_t VLR_removeall(Task* task, int32_t accmode);
int32_t VLRP_getprobtype(const Task* task);
// "Expanding %s from %lld to %lld." when it grew; counts every change.
void VLR_logexpand(Task* task, const char* what, int64_t from, int64_t to);

// Allocates n elements of width bytes each from the task, zeroed; null for n = 0 or no space.
void* VLR_taskalloc(Task* task, int64_t n, size_t width);
void VLR_taskfree(Task* task, void* p);
// Moves an array to a new capacity, keeping count entries: *p is replaced only on success.
int32_t VLR_regrow(Task* task, void** p, int64_t count, int64_t newcap, size_t width);

// ---- Bounds and objective (bound.cpp) ---------------------------------------------------------

// Checks one bound (class, key, index, NaN on a used side, fixed values, size warnings) and
// returns the code; VLRP_putbound checks, then stores. VLRP_checkboundvalue checks only the key
// and the numbers, for items that do not exist yet.
int32_t VLRP_checkboundvalue(Task* task, int32_t accmode, int32_t i, int32_t bk, double bl,
                             double bu);
int32_t VLRP_checkbound(Task* task, int32_t accmode, int32_t i, int32_t bk, double bl, double bu);
int32_t VLRP_putbound(Task* task, int32_t accmode, int32_t i, int32_t bk, double bl, double bu);
int32_t VLRP_putcj(Task* task, int32_t j, double cj);
int32_t VLRP_putcfix(Task* task, double cfix);
// Bound as read by the key: a missing side reads as -1e30 or +1e30.
void VLRP_getbound(const Task* task, int32_t accmode, int32_t i, int32_t* bk, double* bl,
                   double* bu);

// ---- Constraint matrix (amat.cpp) -------------------------------------------------------------

int32_t VLRP_putaij(Task* task, int32_t i, int32_t j, double aij);
// The checks of VLRP_putaij and VLRP_putavec alone, so that a list is checked before any of it
// is written.
int32_t VLRP_checkaij(Task* task, int32_t i, int32_t j, double aij);
int32_t VLRP_checkavec(Task* task, int32_t accmode, int32_t i, int64_t nz, const int32_t* sub,
                       const double* val);
int32_t VLRP_putavec(Task* task, int32_t accmode, int32_t i, int64_t nz, const int32_t* sub,
                     const double* val);

// ---- Names (names.cpp) ------------------------------------------------------------------------

HashTbl* VLR_htbl_make(SysEnv* sys, int32_t size, int32_t load);
void VLR_htbl_delete(SysEnv* sys, HashTbl** tbl);
// Links item i under its name; 0 when the name is there already, else 1.
int32_t VLR_htbl_assign(HashTbl* tbl, const int64_t* off, const char* pool, int32_t i);
void VLR_htbl_unassign(HashTbl* tbl, const int64_t* off, const char* pool, int32_t i);
// Item with the name, or -1.
int32_t VLR_htbl_find(const HashTbl* tbl, const int64_t* off, const char* pool, const char* name);
uint64_t VLR_strhash(const char* s);

int32_t VLRP_putname(Task* task, int32_t whichitem, int32_t i, const char* name);
// The name of an item, or its generic name ("x12", "c3", "k0") written into buf[32].
const char* VLR_getnamex(const Task* task, int32_t whichitem, int32_t i, char* buf);
int32_t VLR_makenamemap(Task* task, int32_t whichitem);
void VLR_deletenamemap(Task* task, int32_t whichitem);
void VLR_swapname(Task* task, int32_t whichitem, int32_t i, int32_t j);
int32_t VLR_getnameindexrec(Task* task, int32_t whichitem, const char* name, int32_t* index);
// Grows the name pool to take `bytes` more name bytes without a later move; a reader that counted
// its names calls it once. 0 or the space code.
int32_t VLR_reservenames(Task* task, int64_t bytes);
// Keeps the item's name offsets in step with a capacity change.
int32_t VLR_resizenames(Task* task, int32_t whichitem, int32_t count, int32_t newcap);

// Before an optimiser runs: a bound side of infinite value raises VLR_RES_ERR_INFINITE_BOUND; a
// lower bound above the upper one writes a certificate of infeasibility as the basic solution
// and sets *decided (bound.cpp).
int32_t VLR_checkcrossedbounds(Task* task, int32_t* decided);

// ---- Solutions (solution.cpp, solinf.cpp) -----------------------------------------------------

int32_t VLR_makesolution(Task* task, int32_t whichsol);
void VLR_deletesolutions(Task* task);
int32_t VLR_resizesolution(Task* task, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone);
int32_t VLR_solutiondefrec(const Task* task, int32_t whichsol);
// Makes the solutions of c those of s, a task with the same problem: each defined one copied
// with its statuses, the others left undefined (taskclone.cpp).
int32_t VLR_copysolutions(Task* s, Task* c);
void VLR_makestatusunknown(Task* task);
void VLR_updsolstafterbndchg(Task* task, int32_t accmode, int32_t i, int32_t oldbk, double oldbl,
                             double oldbu);
void VLR_updsolstaftercchg(Task* task, int32_t j);
void VLR_updsolstafterachg(Task* task, int32_t j);
void VLR_updsolstafterappend(Task* task, int32_t accmode, int32_t i);
// Moves solution entries as items are removed: item i goes to place perm[i], or goes if < 0.
void VLR_solpermute(Task* task, int32_t accmode, const int32_t* perm, int32_t count);
void VLR_soldowngrade(SolRec* s, bool primal, bool dual);
// Pointers into a solution, by item; null for an item the type lacks.
double* VLR_solitemptr(const Task* task, int32_t whichsol, int32_t item);
int32_t* VLR_solkeyptr(const Task* task, int32_t whichsol, int32_t accmode);
int32_t VLR_checkwhichsol(Task* task, int32_t whichsol);
int32_t VLR_checksolitem(Task* task, int32_t whichsol, int32_t solitem);
double VLR_gettau(int32_t solsta);

// Violation measures of a linear problem: largest bound, constraint and equation violations.
struct SolInf {
  double primalobj, maxpbi, maxpcni, maxpeqi, maxinti;
  double dualobj, maxdbi, maxdcni, maxdeqi;
};
int32_t VLR_opt_chksol(Task* task, int32_t whichsol, SolInf* inf);

// ---- Quadratic terms, cones and integers (qobj.cpp, cone.cpp) ---------------------------------

int32_t VLR_chgqnz(Task* task, int32_t relative, int64_t n);
int64_t VLR_qused(const TaskData* d);
int32_t VLRP_putqobj(Task* task, int64_t nz, const int32_t* subi, const int32_t* subj,
                     const double* val);
int32_t VLRP_putqconk(Task* task, int32_t k, int64_t nz, const int32_t* subi, const int32_t* subj,
                      const double* val);
int32_t VLRP_putmaxnumcone(Task* task, int32_t n);
int32_t VLRP_appendcone(Task* task, int32_t type, double par, int32_t nummem,
                        const int32_t* submem);
int32_t VLRP_checkvartype(Task* task, int32_t j, int32_t type);
int32_t VLRP_putvartype(Task* task, int32_t j, int32_t type);
int32_t VLRP_putvarbranchorder(Task* task, int32_t j, int32_t pri, int32_t dir);

}  // namespace vlr

// The start of every exported body that takes a task: a bad handle returns its code at once. A
// task whose store was lost in a failed resize gets an empty one first.
#define VLR_PROLOGUE(task)                                            \
  const int32_t r_ = VLR_checktask(task);                             \
  if (r_ != VLR_RES_OK) return r_;                                    \
  ::vlr::Task* const t = ::vlr::VLR_taskcast(task);                   \
  if (t->data == nullptr && ::vlr::VLR_ensuredata(t) != VLR_RES_OK) { \
    return VLR_RAISE(t, VLR_RES_ERR_SPACE);                           \
  }                                                                   \
  ::vlr::TaskData* const d = t->data;                                 \
  (void)d

// The start of every exported body that changes a task: the prologue, then the refusal while an
// optimiser runs on it.
#define VLR_PUTPROLOGUE(task) \
  VLR_PROLOGUE(task);         \
  if (const int32_t busy_ = ::vlr::VLR_checktaskidle(t); busy_ != VLR_RES_OK) return busy_
