// src/kfac/kfac.h: supernodal LDL' of a symmetric quasi-definite matrix: ordering, symbolic
// analysis, numerical factor with signed pivot rules, and solves.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"
#include "order/order.h"

namespace vlr {

struct sfk;  // defined in kfac/sfkdat.h, private to src/kfac

// Status numbers of the factor object.
enum SfkStatus : int32_t {
  kSfkOk = 0,
  kSfkNoSpace = 1,   // allocation failed; the object is as before the call
  kSfkBadInput = 4,  // index out of range, or a call out of turn
  kSfkStopped = 5,   // the callback asked for a stop
};

// Per pivot flags (dtype), by the matrix's own row numbers.
constexpr uint16_t kSfkNegative = 0x02;   // the pivot must be negative
constexpr uint16_t kSfkPositive = 0x08;   // the pivot must be positive
constexpr uint16_t kSfkReview = 0x10;     // flagged for review by an earlier factor
constexpr uint16_t kSfkAddOne = 0x20;     // 1.0 is added to the pivot before the test
constexpr uint16_t kSfkDenseRow = 0x40;   // a dense column's row
constexpr uint16_t kSfkNormalRow = 0x80;  // a row of the normal-equations part
constexpr uint16_t kSfkReplaced = 0x100;  // the pivot was replaced; kept until a good pivot
// A row of normal equations whose lost pivot takes the value of putnormrepl (see there).
constexpr uint16_t kSfkNormalRepl = 0x200;

// ---- Life cycle and input ------------------------------------------------------------------

// Makes an object of order n; numthreads (0: all cores) is the slice count of the factor, whose
// slices run one after another on the caller's thread. Returns kSfkNoSpace with *obj null.
int32_t VLR_sfk_create(SysEnv* sys, int32_t n, int32_t numthreads, sfk** obj);
// Frees everything (null accepted) and nulls the pointer.
void VLR_sfk_destroy(sfk** obj);
// Copies the pattern of A by columns: column j holds rows beg[j]..beg[j+1]; an entry (i, j)
// stands for (j, i) too, so one triangle or both may be given; repeats add up in the values.
// Drops any earlier ordering and analysis. Returns kSfkBadInput on an index out of range.
int32_t VLR_sfk_inasub(sfk* obj, const int64_t* beg, const int32_t* sub);

// ---- Ordering ------------------------------------------------------------------------------

// Orders by method (a VLR_ORDER_METHOD_ value) into the object's permutation and reports the
// fill (getorinfo). The balance limits go to the partitioner. A previous ordering kept with
// setorinfo seeds the free choice; GRAPHPAR2 without flag leaves the permutation as it is.
// Returns kSfkOk, kSfkNoSpace (counts zeroed) or kSfkStopped.
int32_t VLR_sfk_order(sfk* obj, double balance1, double balance2, int32_t method, int32_t flag,
                      void* handle, OrderCallback callback);
// Takes perm[k], the row eliminated k-th, instead of an ordering (copies).
int32_t VLR_sfk_useperm(sfk* obj, const int32_t* perm);
void VLR_sfk_setorinfo(sfk* obj, const OrderCount& info);
OrderCount VLR_sfk_getorinfo(const sfk* obj);
const int32_t* VLR_sfk_getp(const sfk* obj);     // [n] row eliminated k-th
const int32_t* VLR_sfk_getinvp(const sfk* obj);  // [n] step of row i

// ---- Symbolic and numerical factor -----------------------------------------------------------

// The symbolic step: elimination tree in postorder (the permutation is refined to it), column
// counts, supernodes with relaxed amalgamation, their row lists, the map from A's entries to
// L's, and all numerical work space. Returns kSfkOk or kSfkNoSpace (analysis left undone).
int32_t VLR_sfk_setupL(sfk* obj);
void VLR_sfk_putdtype(sfk* obj, int32_t i, uint16_t flags);
void VLR_sfk_adddtype(sfk* obj, int32_t i, uint16_t flags);
uint16_t VLR_sfk_getdtype(const sfk* obj, int32_t i);
void VLR_sfk_puttolpiv(sfk* obj, double tolpiv);      // raised to 2.220446049250313e-17 at least
void VLR_sfk_set_add_diag(sfk* obj, double adddiag);  // added to the diagonal when positive
// A pivot of a kSfkNormalRepl row at most tolpiv times its diagonal becomes value; getadded then
// gives what was added to row i's pivot (0 if none).
void VLR_sfk_putnormrepl(sfk* obj, double value);
double VLR_sfk_getadded(const sfk* obj, int32_t i);
// Puts the values of A in the order of the pattern given to inasub (borrows for the call).
int32_t VLR_sfk_inaval(sfk* obj, const double* val);
// Factors P A P' = L D L'. Bad pivots are replaced, never fatal: see num_RDEF. With a callback,
// it is asked whether to stop between supernodes, after every two million multiply-adds; a stop
// returns kSfkStopped and leaves the values to be put in again.
int32_t VLR_ch_calfac(sfk* obj, void* handle = nullptr, OrderCallback callback = nullptr);
int32_t VLR_sfk_num_RDEF(const sfk* obj);       // pivots with kSfkReplaced set
const double* VLR_sfk_getdiag(const sfk* obj);  // [n] D in the elimination order
double VLR_sfk_getspread(const sfk* obj);

// x := A^-1 x with the factor (the matrix with its replaced pivots), in the matrix's numbering.
void VLR_sfk_solve(sfk* obj, double* x);

// ---- Sizes ---------------------------------------------------------------------------------

int64_t VLR_sfk_getnnzL(const sfk* obj);   // stored entries of L, diagonal included
double VLR_sfk_getfflops(const sfk* obj);  // factor: sum over columns of their squared length
double VLR_sfk_getsflops(const sfk* obj);  // one solve: 4 nnz(L)
int32_t VLR_sfk_getnsuper(const sfk* obj);
int32_t VLR_sfk_getndense(const sfk* obj);  // width of the trailing supernode

// ---- The interior-point systems: A D A' with dense columns apart ----------------------------

struct kktfac;  // defined in kfac/kktdat.h, private to src/kfac

// Status numbers of the KKT solver.
enum KktStatus : int32_t {
  kKktOk = 0,
  kKktNoSpace = 1,   // allocation failed; the object is as before the call
  kKktBadInput = 4,  // index out of range, sizes that do not match, or a call out of turn
  kKktStopped = 5,   // the callback asked for a stop (ordering or numeric factor)
  kKktTooLarge = 7,  // the factor would not fit in 64-bit counts or in memory
};

// What a solver reports for the log and the information items.
struct KktInfo {
  int64_t nnzL = 0;      // entries of L
  double fflops = 0.0;   // flops of one factor
  double sflops = 0.0;   // flops of one solve
  int32_t ndense = 0;    // columns kept apart in the Schur part
  int32_t nrdef = 0;     // pivots replaced in the last factor
  int32_t nrefine = 0;   // refinement steps of the last solve
  double ordtime = 0.0;  // seconds in the ordering, for the log
};

// Makes a solver of the normal equations of an m x n matrix; factype 1 (a diagonal H or none)
// is the only form of the linear road. kKktOk, or kKktNoSpace with *obj null.
int32_t VLR_kktfac_make(SysEnv* sys, int32_t numrow, int32_t numcol, int32_t factype, kktfac** obj);
void VLR_kktfac_delete(kktfac** obj);                 // null accepted; nulls the pointer
void VLR_kktfac_ordtpe(kktfac* obj, int32_t method);  // a VLR_ORDER_METHOD_ value
// Columns of at least threshold entries may be kept apart; 0: none; negative: the default 40.
void VLR_kktfac_densecol(kktfac* obj, int32_t threshold);
void VLR_kktfac_tolpiv(kktfac* obj, double tolpiv);     // relative pivot limit of a lost row
void VLR_kktfac_tolrefine(kktfac* obj, double tolref);  // target relative residual of a solve
void VLR_kktfac_putcallback(kktfac* obj, void* handle, OrderCallback callback);
// The structure of A (by columns, borrowed: it must stay unchanged until delete; values may
// change between factors): dense columns, the pattern of A A', its ordering and the symbolic
// factor. kKktOk, kKktNoSpace, kKktStopped, kKktTooLarge or kKktBadInput.
int32_t VLR_kktfac_autosetup(kktfac* obj, const int64_t* abeg, const int32_t* asub,
                             const double* aval);
// Factors A D A' + regu I for d [numcol] > 0, with the dense columns in a Schur part. The
// callback of putcallback is asked during the factor too: kKktStopped leaves no factor.
int32_t VLR_kktfac_numfac(kktfac* obj, const double* d, double regu);
// rhs [numrow] := (A D A' + regu I)^-1 rhs, refined against the matrix itself.
int32_t VLR_kktfac_solve(kktfac* obj, double* rhs);
void VLR_kktfac_getinfo(const kktfac* obj, KktInfo* info);

}  // namespace vlr
