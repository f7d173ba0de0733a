// src/lu/lu.h: LU factor of a simplex basis, its solves and its updates.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"

namespace vlr {

struct LuFactor;  // defined in lu/ludat.h, private to src/lu

// Status numbers of the LU functions; never response codes.
enum LuStatus : int32_t {
  kLuOk = 0,
  kLuNoSpace = 9,          // allocation failed
  kLuIworkShort = 10,      // integer work too short
  kLuRworkShort = 11,      // real work too short
  kLuWorkAreaFull = 12,    // the common work area is too small
  kLuUpdateRefused = 13,   // update refused: new diagonal too small or unstable
  kLuUpdateNoRoom = 14,    // update impossible: no eta slot or no room
  kLuNoFactor = 15,        // no factor present
  kLuIndexRange = 16,      // input index out of range
  kLuGrowthBound = 17,     // safe solve hit its growth bound
  kLuEstimateFailed = 18,  // one-norm estimate abandoned after kLuGrowthBound
  kLuStopped = 19,         // stopped by the progress function
  kLuWorkLimit = 20,       // work limit reached
  kLuTooManyGarCols = 21,  // too many garbage collections in this factor
  kLuNotComplete = 22,     // the factor is not complete
  kLuRefactorSoon = 23,    // update done, refactorisation recommended
  kLuNotSquare = 25,       // the matrix is not square
};

// Supplies column j of the matrix: writes at most room entries into rows[] and values[], sets
// *nz, and returns non-zero; 0 means the column does not fit in room.
using LuGetaFunc = int32_t (*)(void* handle, int32_t room, int32_t j, int32_t* nz, int32_t* rows,
                               double* values);
// Progress: code 0 at the start, 2 during the factor with pivots done, 3 at the end. A non-zero
// result stops the factor with kLuStopped.
using LuProgressFunc = int32_t (*)(void* handle, int32_t code, int32_t count, int32_t unused);

// Statistics kept across factors (VLR_lu_getinfo).
struct LuInfo {
  int32_t nzin;                   // input non-zeros of the last factor
  int32_t nzl, nzu;               // L and U non-zeros of the last factor
  double merit, meritsum;         // sum over pivots of (r-1)(c-1): last factor and accumulated
  int32_t numfac, numupd;         // factors and updates so far
  int32_t numtriangular;          // factors solved by the singleton passes alone
  int32_t numgarcol, lastgarcol;  // garbage collections in total and in the last factor
  int32_t sngl, sngu;             // L and U non-zeros placed by the singleton passes
};

// ---- Life cycle and sizes ----------------------------------------------------------------

// Makes a factor object for up to nrow x ncol (ncol >= nrow), borrowing sys for memory and
// printing. No work area yet. On failure returns kLuNoSpace, having deleted what it made.
int32_t VLR_lu_make(SysEnv* sys, int32_t nrow, int32_t ncol, LuFactor** lu);
// Frees the object and its work area; null accepted; nulls the pointer.
void VLR_lu_delete(LuFactor** lu);
// Sets the current dimensions inside the capacities of VLR_lu_make (state becomes 0).
int32_t VLR_lu_putnrow(LuFactor* lu, int32_t nrow);
int32_t VLR_lu_putncol(LuFactor* lu, int32_t ncol);
int32_t VLR_lu_getnrow(const LuFactor* lu);
int32_t VLR_lu_getncol(const LuFactor* lu);
// Integer and real work that VLR_lu_factor needs.
void VLR_lu_getfactorspace(int32_t nrow, int32_t ncol, int32_t* isize, int32_t* rsize);
// Integer and real work that the sparse solves and VLR_lu_supd/supdl need.
void VLR_lu_getsolvespace(int32_t nrow, int32_t* isize, int32_t* rsize);
// Replaces the work area when the size differs; state 0. kLuNoSpace leaves no area.
int32_t VLR_lu_newwszedbg(const char* file, int line, LuFactor* lu, int32_t newsize);
#define VLR_lu_newwsze(lu, n) ::vlr::VLR_lu_newwszedbg(VLR_HERE, lu, n)
// Ensures wsze >= factor * max(2 nz, 100).
int32_t VLR_lu_newasze(LuFactor* lu, int32_t nz, double factor);
int32_t VLR_lu_getwsze(const LuFactor* lu);
// Size to retry with after kLuWorkAreaFull or kLuTooManyGarCols.
void VLR_lu_getwszeproposal(const LuFactor* lu, int32_t* size);
// 1 when the last update ran out of room before the work of the updates asked for a new
// factor: the caller should enlarge wsze.
int32_t VLR_lu_incwsze(const LuFactor* lu);
// Drops the work area keeping its size, and makes it again (state 0 after either).
void VLR_lu_freework(LuFactor* lu);
int32_t VLR_lu_allocwork(LuFactor* lu);

// ---- Parameters --------------------------------------------------------------------------

// Keys of the tolerance and threshold setters, pivot methods and factor states.
enum LuTolKey : int32_t {
  kLuTolDrop = 0,    // entries at or below it are dropped
  kLuTolAbsPiv = 1,  // smallest pivot taken
  kLuTolRelPiv = 2,  // relative threshold of the pivot search
  kLuTolStored = 3,  // kept for the caller, not read by the factor
};
enum LuTrhKey : int32_t {
  kLuTrhUpdates = 1,  // updates before a refactorisation is recommended
};
enum LuPivotMethod : int32_t {
  kLuPivotColumn = 1,        // threshold against the column only
  kLuPivotRowAndColumn = 2,  // threshold against the row and the column
};
enum LuState : int32_t {
  kLuStateNone = 0,      // no input
  kLuStateInput = 1,     // taking input
  kLuStateSetUp = 2,     // set up, rank possibly short
  kLuStateFactored = 3,  // factored
};

void VLR_lu_putdefaults(LuFactor* lu);
// 1: threshold against the column only; 2: against the row and the column. Other values stop.
void VLR_lu_putpivotmethod(LuFactor* lu, int32_t method);
int32_t VLR_lu_getpivotmethod(const LuFactor* lu);
// Key 0 drop tolerance, 1 absolute pivot tolerance, 2 relative pivot tolerance (clamped to
// [0.0001, 0.9999]), 3 a stored value the factor does not read. Other keys stop.
void VLR_lu_puttol(LuFactor* lu, int32_t key, double value);
double VLR_lu_gettol(const LuFactor* lu, int32_t key);  // keys 1, 2, 3
// Key 1: updates before a refactorisation is recommended; 0 selects the work-based rule.
void VLR_lu_puttrh(LuFactor* lu, int32_t key, int32_t value);
int32_t VLR_lu_gettrh(const LuFactor* lu, int32_t key);
void VLR_lu_putprintlevel(LuFactor* lu, int32_t level);
// The purpose of the sparse solves that follow, 0 to kLuSolveSlots - 1 (0 by default). Each
// purpose keeps its own record of how dense its results have been, from which a solve decides
// whether a depth-first search for the result's pattern is worth its cost.
constexpr int32_t kLuSolveSlots = 4;
void VLR_lu_putsolveslot(LuFactor* lu, int32_t slot);
// Work units (not seconds) the pivot search may spend in one factor; 0 for no limit.
void VLR_lu_putmaxworkoftasks(LuFactor* lu, int64_t maxwork);
// Factor for the rank only, storing no L / no U.
void VLR_lu_putdropl(LuFactor* lu, int32_t on);
void VLR_lu_putdropu(LuFactor* lu, int32_t on);
void VLR_lu_putdotiming(LuFactor* lu, int32_t on);
void VLR_lu_putprogressfunc(LuFactor* lu, void* handle, LuProgressFunc fn);
void VLR_lu_putgeta(LuFactor* lu, void* handle, LuGetaFunc fn);

// ---- Input and factor --------------------------------------------------------------------

// Starts taking input: state 1, counters cleared.
int32_t VLR_lu_init(LuFactor* lu);
// Append entries (state 1); entries at or below the drop tolerance are skipped. kLuWorkAreaFull
// when the area is full, kLuIndexRange for a bad index.
int32_t VLR_lu_inaij(LuFactor* lu, int32_t i, int32_t j, double value);
int32_t VLR_lu_inak(LuFactor* lu, int32_t j, int32_t nz, const int32_t* sub, const double* val);
// As inak with sub mapped through map (null: identity); mapped indices at or above limit are
// skipped, and one at or above nrow gives kLuIndexRange.
int32_t VLR_lu_inaj2(LuFactor* lu, int32_t j, int32_t nz, const double* val, const int32_t* sub,
                     int32_t limit, const int32_t* map);
// Factors the input (state 1). Needs the work of VLR_lu_getfactorspace. A short rank returns
// kLuOk with state 2 (see VLR_lu_getrank, VLR_lu_insart); kLuWorkAreaFull or
// kLuTooManyGarCols ask for a larger area; also kLuIworkShort, kLuRworkShort, kLuStopped,
// kLuWorkLimit, kLuIndexRange.
int32_t VLR_lu_factor(LuFactor* lu, int32_t isize, int32_t* iwork, int32_t rsize, double* rwork);
// Completes a rank-deficient factor (state 2): pairs each unpivoted row i, in increasing
// order, with the next unpivoted column j, sets diag[i] = value and map[j] = i (map[j] = ncol
// for the other columns), and finalises (state 3, rank nrow). map has ncol entries.
// Returns kLuOk, kLuIworkShort when isize < nrow, kLuNoFactor outside state 2.
int32_t VLR_lu_insart(LuFactor* lu, int32_t* map, int32_t isize, int32_t* iwork, double value);

// ---- Read-outs ---------------------------------------------------------------------------

int32_t VLR_lu_getrank(const LuFactor* lu);
int32_t VLR_lu_isfac(const LuFactor* lu);  // 1 in state 3
int32_t VLR_lu_getstate(const LuFactor* lu);
void VLR_lu_invfac(LuFactor* lu);  // drops the factor (state 0)
int32_t VLR_lu_getnumupds(const LuFactor* lu);
// Entries of the factor as it stands: of L with the row etas of the updates, and of U without
// its diagonal.
void VLR_lu_getnnz(const LuFactor* lu, int64_t* nl, int64_t* nu);
int32_t VLR_lu_factornow(const LuFactor* lu);  // 1 when the last update recommends a refactor
// Non-zeros of L (with the row etas) and of U (off the diagonal).
void VLR_lu_getlusze(const LuFactor* lu, int64_t* lsze, int64_t* usze);
int32_t VLR_lu_getnnzui(const LuFactor* lu, int32_t i, int32_t* nz);
int32_t VLR_lu_getuii(const LuFactor* lu, int32_t i, int32_t* j, double* diag);
int32_t VLR_lu_getpivotinfo(const LuFactor* lu, int32_t* method, double* u, double* abstol);
void VLR_lu_getinfo(const LuFactor* lu, LuInfo* info);
// Smallest and largest absolute diagonal, largest absolute entry of L and of U.
int32_t VLR_lu_getcond(const LuFactor* lu, double* mind, double* maxd, double* maxl, double* maxu);
int32_t VLR_lu_getcond2(const LuFactor* lu, double* mind, double* maxd, double* maxl,
                        double* maxu);  // kLuNotComplete while the rank is short
// Work units of task t (0..37) in the current factor and in total.
int64_t VLR_lu_gettaskwork(const LuFactor* lu, int32_t t, int64_t* total);
void VLR_lu_resettaskinfo(LuFactor* lu);
void VLR_lu_printstat(const LuFactor* lu);

// ---- Solves (state 3; the factor is not changed) -----------------------------------------

// out = B^-1 x: x in row space (nrow, destroyed), out in column space (ncol).
int32_t VLR_lu_ftran(LuFactor* lu, double* x, double* out);
// out = B^-T x: x in column space (destroyed), out in row space.
int32_t VLR_lu_btran(LuFactor* lu, double* x, double* out);
// As ftran; kLuGrowthBound as soon as |x_i| >= bound |diag_i| before a division.
int32_t VLR_lu_ftransafe(LuFactor* lu, double* x, double* out, double bound);

// Sparse vectors: a dense array zero outside a pattern, its count and pattern. marker has nrow
// zeros on entry and is left zero. Work sizes from VLR_lu_getsolvespace; short work stops.
// L and the row etas in place on the row-space vector (x, *nz, pattern).
int32_t VLR_lu_ftranl(LuFactor* lu, int32_t* nz, double* x, int32_t* pattern, int32_t* marker,
                      int32_t isize, int32_t* iwork);
// The U part: consumes the row-space x (left zero) into out (column space, zero on entry).
// Values at or below tol1 are dropped before the division, at or below tol2 after it.
int32_t VLR_lu_ftranus(LuFactor* lu, int32_t nz, double* x, const int32_t* pattern, int32_t* onz,
                       double* out, int32_t* opattern, int32_t isize, int32_t* iwork, int32_t msize,
                       int32_t* marker, double tol1, double tol2);
// The whole FTRAN: ftranl, then ftranus.
int32_t VLR_lu_ftrans(LuFactor* lu, int32_t nz, double* x, int32_t* pattern, int32_t* onz,
                      double* out, int32_t* opattern, int32_t isize, int32_t* iwork, int32_t msize,
                      int32_t* marker, double tol1, double tol2);
// The entries of B^-1 x at the positions sel[0..nsel) alone: the L part and the updates in
// full, then only the rows of U that the selected ones depend on, found through the row file.
// x is consumed as by VLR_lu_ftrans; out (zero on entry) and opattern take every value the
// solve computed, the selected ones among them. When those rows pass a quarter of all, the whole
// solve is made instead.
int32_t VLR_lu_ftransel(LuFactor* lu, int32_t nz, double* x, int32_t* pattern, int32_t nsel,
                        const int32_t* sel, int32_t* onz, double* out, int32_t* opattern,
                        int32_t isize, int32_t* iwork, int32_t msize, int32_t* marker, double tol1,
                        double tol2);
// The whole BTRAN: consumes the column-space x into out (row space, zero on entry).
int32_t VLR_lu_btrans(LuFactor* lu, int32_t nz, double* x, const int32_t* pattern, int32_t* onz,
                      double* out, int32_t* opattern, int32_t* marker, int32_t isize,
                      int32_t* iwork, double tol1, double tol2);

// ---- Updates -----------------------------------------------------------------------------

// Replaces column jout by jin (a raw column given sparse, row space), through ftranl and then
// VLR_lu_supdl. The spike array is left zero and *nz 0 whatever the outcome.
int32_t VLR_lu_supd(LuFactor* lu, int32_t jout, int32_t jin, int32_t* nz, double* spike,
                    int32_t* pattern, int32_t isize, int32_t* iwork, int32_t msize, int32_t* marker,
                    int32_t rsize, double* rwork);
// As supd with a spike that already went through L and the row etas. kLuUpdateRefused keeps
// the old factor; kLuUpdateNoRoom keeps it at the eta limit and drops it (state 0) when the
// area ran out; kLuRefactorSoon: done, refactor soon.
int32_t VLR_lu_supdl(LuFactor* lu, int32_t jout, int32_t jin, int32_t* nz, double* spike,
                     int32_t* pattern, int32_t isize, int32_t* iwork, int32_t msize,
                     int32_t* marker, int32_t rsize, double* rwork);
void VLR_lu_initupdate(LuFactor* lu);

// Estimate of the one-norm of B^-1 (square only). rwork holds 5 nrow doubles.
int32_t VLR_lu_onenormestimate(LuFactor* lu, double* estimate, int32_t rsize, double* rwork);

// ---- Checks and prints -------------------------------------------------------------------

// Stops the program when an invariant of the row and column files is broken.
void VLR_lu_chkuidbg(const char* file, int line, const LuFactor* lu);
#define VLR_lu_chku(lu) ::vlr::VLR_lu_chkuidbg(VLR_HERE, lu)
void VLR_lu_printu(const LuFactor* lu);
void VLR_lu_printl(const LuFactor* lu);

}  // namespace vlr
