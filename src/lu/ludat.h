// src/lu/ludat.h: the LU factor record and the helpers its files share; private to src/lu.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "lu/lu.h"
#include "misc/misc.h"

namespace vlr {

// Work accounting: one slot per task of the factor, solves and updates.
enum LuTask : int32_t {
  kTaskInput = 0,
  kTaskSetupInit = 1,
  kTaskSetupTranspose = 2,
  kTaskSetupArrays = 3,
  kTaskColTriang = 4,
  kTaskRowTriang = 5,
  kTaskColTriangEnd = 6,
  kTaskSetupU = 7,
  kTaskSetupL = 8,
  kTaskMoveRow = 9,
  kTaskMoveCol = 10,
  kTaskBuildCol = 11,
  kTaskPivot = 12,
  kTaskSearch = 13,
  kTaskFinalize = 14,
  kTaskUpdInit = 15,
  kTaskUpdFactors = 16,
  kTaskUpdMoveRow = 17,
  kTaskUpdMoveCol = 18,
  kTaskDenseLfw = 19,
  kTaskSparseLfw = 20,
  kTaskDenseLbw = 21,
  kTaskSparseLbw = 22,
  kTaskDenseUfw = 23,
  kTaskDenseUbw = 24,
  kTaskSparseUfw = 25,
  kTaskSparseUbw = 26,
  kTaskTranspose = 27,
  kTaskQuickSingletons = 28,
  kTaskBuildColumns = 29,
  kTaskFactorSetup = 30,
  kTaskFinalizeL = 31,
  kTaskFactor = 32,
  kTaskUpdate = 33,
  kTaskEtaFw = 34,
  kTaskEtaBw = 35,
  kTaskSymUfw = 36,
  kTaskNumUfw = 37,
  kLuNumTasks = 38,
};

constexpr int32_t kLuNumLogs = 33;       // free-list heads, one per log-size
constexpr int32_t kLuRingSize = 50;      // updates remembered by the refactorisation rule
constexpr double kLuUpdateTiny = 1e-14;  // below this an eta element or a growth test fails

struct LuFactor {
  SysEnv* sys;         // borrowed: memory, printing, fatal stops
  int32_t mrow, mcol;  // capacities given to VLR_lu_make
  int32_t nrow, ncol;  // current size, ncol >= nrow
  int32_t state;       // 0 none, 1 taking input, 2 set up / rank-deficient, 3 factored
  int32_t stpf, stpb;  // pivots placed at the front / back; rank = stpf + stpb
  int32_t wsze;        // entries in each of the six work-area arrays
  int32_t wszesave;    // size kept across VLR_lu_freework

  // The common work area: six parallel arrays of wsze entries.
  double* valr;   // row file of U: values; at the high end the transposed L and the row etas
  int32_t* subj;  // row file: column indices (L rows: pivot rows; etas: row indices)
  int32_t* posc;  // per row-file entry its place in the column file, -1 if it has none
  double* valc;   // column file of U (values in state 3 only); L columns at the high end
  int32_t* subi;  // column file: row indices; L columns: row indices
  int32_t* posr;  // per column-file entry its place in the row file
  int32_t uendr;  // first free place behind the row file
  int32_t uendc;  // first free place behind the column file
  int32_t lbeg;   // first entry of the L and row-eta region, growing down from wsze
  int32_t lend;   // top of the row-eta region (= lbeg when the factor was finalised)
  int32_t nzin;   // entries taken by the input functions (state 1)

  int32_t* ufirr;             // [mrow] start of row i in the row file
  int32_t* uszer;             // [mrow] slot size of row i
  int32_t* uuser;             // [mrow] used length of row i
  int32_t* ufirc;             // [mcol] start of column j in the column file
  int32_t* uszec;             // [mcol] slot size of column j
  int32_t* uusec;             // [mcol] used length of column j
  int32_t rfree[kLuNumLogs];  // free slots of the row file by log-size, chained through posc
  int32_t cfree[kLuNumLogs];  // free slots of the column file by log-size, through posr

  int32_t* q;          // [mrow] pivot column of row i; ncol while unpivoted
  int32_t* invq;       // [mcol] pivot row of column j; nrow while unpivoted
  int32_t* seq;        // [mrow] factoring: row at sequence position; factored: next row in U order
  int32_t* iseq;       // [mrow] factoring: position of row; factored: previous row in U order
  int32_t head, tail;  // factored: first and last row of the U order; nrow as nil
  // The same order as an array, for solves that walk all of it without chasing links: the rows
  // in U order with holes (nrow) where a row moved to the end; uordat[i] is the place of row i.
  // Room for 2 mrow places; full, it is closed up.
  int32_t* uord;
  int32_t* uordat;
  int32_t uordlen;
  double* diag;    // [mrow] pivot value of row i
  int32_t* pseq;   // [mrow] pivot sequence kept for the L solves
  int32_t* ipseq;  // [mrow] its inverse
  int32_t* lfir;   // [mrow] start of the L column of pivot row i
  int32_t* llen;   // [mrow] its length
  int32_t* ltfir;  // [mrow] start of L row i (transposed L)
  int32_t* ltlen;  // [mrow] its length
  int64_t ltsze;   // entries of the transposed L
  // The pivot rows with an L column, in pivot order, and the rows with an L row, in reverse
  // pivot order: the ordered passes of the L solves walk these alone (most L columns of a
  // sparse basis are empty).
  int32_t* lseq;
  int32_t* ltseq;
  int32_t lseqlen, ltseqlen;

  int32_t mlu;      // row-eta slots, 2 mrow
  int32_t* etab;    // [mlu+1] eta k lives in [etab[k+1], etab[k]) of subj/valr
  int32_t* etarow;  // [mlu] target row of eta k
  int32_t lupds;    // etas in use

  PrQue* rowq;  // rows by count while factoring
  PrQue* colq;  // columns by count while factoring

  // Tolerances and switches.
  int32_t pivmethod;  // 1 column threshold, 2 row and column threshold
  double droptol;     // entries at or below it are not stored
  double abstol;      // no pivot smaller in absolute value
  double reltol;      // threshold u
  double tol3;        // stored only
  int32_t searchlim;  // rows plus columns looked at once a candidate exists
  int32_t trh;        // updates before a refactorisation; 0 the work-based rule
  int32_t gclimit;    // garbage collections allowed in one factor (doubles on overrun)
  int32_t printlevel;
  int64_t maxwork;                   // work units for the pivot search; 0 unlimited
  int32_t dropl0, dropu0;            // start values of the drop modes
  int32_t dropl, dropu;              // running drop modes
  int32_t droplforced, dropuforced;  // switched on by a full area during this factor
  int64_t droppedl, droppedu;        // non-zeros not stored because of the drop modes
  int32_t dotiming;
  int32_t facmethod;  // pivot method, u and tolerance in force when finalised
  double facreltol, facabstol;

  // Progress and input.
  void* proghandle;
  LuProgressFunc progfn;
  void* getahandle;
  LuGetaFunc getafn;

  // Running state of a factor: work arrays cut from the caller's work.
  double* cmax;    // [ncol] column maxima, -1.0 unknown
  double* rmax;    // [nrow] row maxima (method 2), -1.0 unknown
  double* dwork;   // [ncol] the pivot row scattered
  int32_t* cmark;  // [ncol] 1: column of the pivot row; i+2: hit by row i
  int32_t* clist;  // [ncol] columns of the pivot row
  int32_t* rlist;  // [nrow] rows of the pivot column
  int32_t ngc;     // garbage collections in this factor
  int32_t nrowresize, ncolresize;
  int64_t nextprint;  // work mark of the next progress line

  // Work accounting (units, not seconds) and statistics.
  int64_t ncall[kLuNumTasks];
  int64_t wcur[kLuNumTasks];
  int64_t wtot[kLuNumTasks];
  double tcur[kLuNumTasks];
  double ttot[kLuNumTasks];
  LuInfo info;

  // Mean density of the recent results of each sparse solve (L forward, L transposed, U
  // forward, U transposed), kept apart for each of the caller's purposes (solveslot, set by
  // VLR_lu_putsolveslot): a kind whose results have been dense skips the depth-first search.
  double solvedens[kLuSolveSlots][4];
  int32_t solveslot;

  // Update state and the refactorisation rule.
  int32_t factornow;  // the last update recommends a refactorisation
  int32_t incwsze;    // the last update ran out of room before the work asked for a factor
  int64_t rulef;      // work of the factor itself
  int64_t ruleb;      // update count with the lowest average cost so far
  int64_t rulet;      // total cost at that count
  int64_t ring[kLuRingSize];
};

// ---- lusto.cpp ---------------------------------------------------------------------------
// Slot size for s entries: the smallest power of two not below s, capped; log -1 for 0.
int32_t VLR_lu_computesize(int32_t s, int32_t cap, int32_t* lg);
void VLR_lu_resetufre(int32_t* heads, int32_t empty);
int32_t VLR_lu_resizerow(LuFactor* lu, int32_t i, int32_t size);
int32_t VLR_lu_resizecol(LuFactor* lu, int32_t j, int32_t size);
int32_t VLR_lu_garcol(LuFactor* lu);
int32_t VLR_lu_buildcoldbg(const char* file, int line, LuFactor* lu);
// A full area while factoring: first drop L, then drop U, then plain collections.
int32_t VLR_lu_handlewfull(LuFactor* lu);
// Row-file entry k leaves row i (the last entry fills the hole).
void VLR_lu_delrowentry(LuFactor* lu, int32_t i, int32_t k);
// Column-file entry k leaves column j.
void VLR_lu_delcolentry(LuFactor* lu, int32_t j, int32_t k);

// ---- lupiv.cpp ---------------------------------------------------------------------------
// Finds a pivot; *r = nrow means none. *f is 1 for the front, 0 for the back.
void VLR_lu_choosepiv(LuFactor* lu, int32_t* r, int32_t* c, int32_t* f);
int32_t VLR_lu_dopivot(LuFactor* lu, int32_t r, int32_t c, int32_t f);

// ---- lufac.cpp ---------------------------------------------------------------------------
int32_t VLR_lu_finalizefactor(LuFactor* lu);

// ---- luslv.cpp ---------------------------------------------------------------------------
// L (trans 0) or L transposed (trans 1) in place on a sparse row-space vector.
void VLR_lu_ultb(LuFactor* lu, int32_t trans, int32_t* nz, double* x, int32_t* pattern,
                 int32_t* marker, int32_t* iwork);

// ---- ludat.cpp ---------------------------------------------------------------------------
inline void lu_addwork(LuFactor* lu, int32_t task, int64_t w) {
  lu->wcur[task] += w;
  lu->wtot[task] += w;
}
inline void lu_addcall(LuFactor* lu, int32_t task) {
  ++lu->ncall[task];
}
// Moves row i to the tail of the U order (factored state).
void VLR_lu_movetotail(LuFactor* lu, int32_t i);

}  // namespace vlr
