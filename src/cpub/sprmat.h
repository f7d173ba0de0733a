// src/cpub/sprmat.h: the sparse stores: sprmat, the editable constraint matrix with its element
// cache, and spmat, the compact vector list the optimisers read.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"

namespace vlr {

// ---- sprmat -----------------------------------------------------------------------------------

// Status numbers of the sprmat functions; the task layer turns them into response codes.
// No store of elements holds more than this: twice the size plus an overhead still fits in 64
// bits, and so does the byte count of its values. Larger capacities are refused as no space.
constexpr int64_t kSprMaxSize = INT64_MAX / 32;

enum SprmatCode : int32_t {
  kSprOk = 0,
  kSprRowsFull = 1,       // appending rows past maxnumrow
  kSprColsFull = 2,       // appending columns past maxnumcol
  kSprMaxsizeSmall = 3,   // new maxsize below the number of stored elements
  kSprCapBelowCount = 5,  // a new maxnumrow or maxnumcol below the count
  kSprNoSpace = 6,        // out of memory; the matrix is as it was
  kSprSurplus = 7,        // a slice does not fit the caller's surplus
};

// The matrix stores major vectors (rows when stomode is 0, columns when 1) in one pool; a vector
// occupies [ptrb, ptre) and may have slack after it. Single writes go to a cache that grows down
// from the top of the pool and is merged by a flush.
struct sprmat {
  SysEnv* sys;      // owner of all arrays
  int32_t locked;   // 1 while the arrays are lent out by getacolwise
  int32_t stomode;  // 0 row-wise, 1 column-wise
  int32_t maxnumrow, maxnumcol;
  int32_t numrow, numcol;
  int32_t overhead;    // elements allocated beyond maxsize in sub and val
  int32_t ptrlen;      // length of ptrb, ptre, cachehead: max(maxnumrow, maxnumcol)
  int64_t maxsize;     // pool capacity in elements
  int64_t ause;        // first free pool position; grows upward
  int64_t cuse;        // cached elements in [maxsize - cuse, maxsize); ause <= maxsize - cuse
  int64_t* ptrb;       // [ptrlen] begin of each major vector
  int64_t* ptre;       // [ptrlen] end of each major vector
  int32_t* sub;        // [maxsize + overhead] minor index of each element
  double* val;         // [maxsize + overhead] value of each element
  int32_t usecache;    // 1 when cachehead and cachenext exist
  int64_t* cachehead;  // [ptrlen] newest cached position of each vector; 0: none
  int64_t* cachenext;  // [maxsize] next older cached position of the same vector; 0: end
  int32_t numcacheflushes;
  int32_t numtransposes;
};

// Makes an empty column-wise matrix with the given capacities and no pool. kSprNoSpace on failure
// with *mat null.
int32_t VLR_sprmat_make(SysEnv* sys, int32_t maxnumrow, int32_t maxnumcol, sprmat** mat);
// Frees the matrix (null accepted) and nulls the pointer; cached writes are dropped.
void VLR_sprmat_delete(sprmat** mat);
// Empties every vector; keeps sizes and capacities.
int32_t VLR_sprmat_zero(sprmat* mat);

inline int32_t VLR_sprmat_getnumrow(const sprmat* mat) {
  return mat->numrow;
}
inline int32_t VLR_sprmat_getnumcol(const sprmat* mat) {
  return mat->numcol;
}
inline int64_t VLR_sprmat_getmaxsize(const sprmat* mat) {
  return mat->maxsize;
}
inline int32_t VLR_sprmat_getnumtransposes(const sprmat* mat) {
  return mat->numtransposes;
}
inline int32_t VLR_sprmat_getnumcacheflushes(const sprmat* mat) {
  return mat->numcacheflushes;
}
inline int32_t VLR_sprmat_islocked(const sprmat* mat) {
  return mat->locked;
}

// Number of stored non-zeros, after a flush.
int32_t VLR_sprmat_getsize(sprmat* mat, int64_t* size);
// Non-zeros in rows [firsti, lasti) and columns [firstj, lastj).
int32_t VLR_sprmat_getpiecesize(sprmat* mat, int32_t firsti, int32_t lasti, int32_t firstj,
                                int32_t lastj, int64_t* size);

// Capacities. A new maxnumrow or maxnumcol below the count gives kSprCapBelowCount; a new maxsize
// below the stored size kSprMaxsizeSmall. The pool is rebuilt compactly when maxsize changes.
int32_t VLR_sprmat_putmaxnumrow(sprmat* mat, int32_t maxnumrow);
int32_t VLR_sprmat_putmaxnumcol(sprmat* mat, int32_t maxnumcol);
void VLR_sprmat_putoverhead(sprmat* mat, int32_t overhead);
int32_t VLR_sprmat_putmaxsize(sprmat* mat, int64_t maxsize);

// One element: the write goes to the cache (last write wins; 0 removes); the read flushes.
int32_t VLR_sprmat_putaij(sprmat* mat, int32_t i, int32_t j, double value);
int32_t VLR_sprmat_getaij(sprmat* mat, int32_t i, int32_t j, double* value);

// Length and content of a row or column, turning the storage when it is the other way. sub and
// val need room for the length; either may be null.
int32_t VLR_sprmat_getrownzi(sprmat* mat, int32_t i, int32_t* nz);
int32_t VLR_sprmat_getcolnzj(sprmat* mat, int32_t j, int32_t* nz);
int32_t VLR_sprmat_getrowi(sprmat* mat, int32_t i, int32_t* nz, int32_t* sub, double* val);
int32_t VLR_sprmat_getcolj(sprmat* mat, int32_t j, int32_t* nz, int32_t* sub, double* val);
// Replace a whole row or column with (sub, val) of nz elements; exact zeros are dropped. Indices
// must be distinct and in range (the caller checks).
int32_t VLR_sprmat_putrowi(sprmat* mat, int32_t i, int64_t nz, const int32_t* sub,
                           const double* val);
int32_t VLR_sprmat_putcolj(sprmat* mat, int32_t j, int64_t nz, const int32_t* sub,
                           const double* val);
// The same with the values in a dense array: element k is (sub[k], dense[sub[k]]).
int32_t VLR_sprmat_gatherrowi(sprmat* mat, int32_t i, int64_t nz, const int32_t* sub,
                              const double* dense);
int32_t VLR_sprmat_gathercolj(sprmat* mat, int32_t j, int64_t nz, const int32_t* sub,
                              const double* dense);

// Adds n empty rows or columns: kSprRowsFull or kSprColsFull past the capacity.
int32_t VLR_sprmat_appendrows(sprmat* mat, int32_t n);
int32_t VLR_sprmat_appendcols(sprmat* mat, int32_t n);
// Removes the listed rows or columns (distinct, in range); the others move down in order.
int32_t VLR_sprmat_deleterows(sprmat* mat, int32_t num, const int32_t* sub);
int32_t VLR_sprmat_deletecols(sprmat* mat, int32_t num, const int32_t* sub);

// Lends the column-wise arrays and locks the matrix until VLR_sprmat_puta gives them back. With
// clearause, puta recomputes ause as the largest ptre.
int32_t VLR_sprmat_getacolwise(sprmat* mat, int64_t** ptrb, int64_t** ptre, int32_t** sub,
                               double** val);
void VLR_sprmat_puta(sprmat* mat, int32_t clearause, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                     double* val);

// Copy the vectors [first, last) into caller arrays from position *surplus counted down from
// maxnz: ptrb[k], ptre[k] are positions in sub and val. kSprSurplus when they do not fit.
int32_t VLR_sprmat_getrowslice(sprmat* mat, int32_t first, int32_t last, int64_t maxnz,
                               int64_t* surplus, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                               double* val);
int32_t VLR_sprmat_getcolslice(sprmat* mat, int32_t first, int32_t last, int64_t maxnz,
                               int64_t* surplus, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                               double* val);
int32_t VLR_sprmat_getrowslice32(sprmat* mat, int32_t first, int32_t last, int32_t maxnz,
                                 int32_t* surplus, int32_t* ptrb, int32_t* ptre, int32_t* sub,
                                 double* val);
int32_t VLR_sprmat_getcolslice32(sprmat* mat, int32_t first, int32_t last, int32_t maxnz,
                                 int32_t* surplus, int32_t* ptrb, int32_t* ptre, int32_t* sub,
                                 double* val);
// The same as triplets (subi, subj, val).
int32_t VLR_sprmat_getrowslicetrip(sprmat* mat, int32_t first, int32_t last, int64_t maxnz,
                                   int64_t* surplus, int32_t* subi, int32_t* subj, double* val);
int32_t VLR_sprmat_getcolslicetrip(sprmat* mat, int32_t first, int32_t last, int64_t maxnz,
                                   int64_t* surplus, int32_t* subi, int32_t* subj, double* val);

// Turns the storage (row-wise to column-wise or back); kSprNoSpace leaves it as it was.
int32_t VLR_sprmat_transpose(sprmat* mat);
// Merges the cache into the pool.
int32_t VLR_sprmat_flushcache(sprmat* mat);
// Flush and turn column-wise, ready for VLR_sprmat_permuteandremoverows.
int32_t VLR_sprmat_makereadyforpermute(sprmat* mat);
// Row i becomes row perm[i], or goes when perm[i] < 0; numrow becomes newnumrow.
int32_t VLR_sprmat_permuteandremoverows(sprmat* mat, const int32_t* perm, int32_t newnumrow);

// Debug: stops on any broken invariant, naming the caller's file and line.
void VLR_sprmat_checka(const char* file, int line, sprmat* mat);
void VLR_sprmat_printcolj(sprmat* mat, int32_t j);

// ---- spmat ------------------------------------------------------------------------------------

// A list of nvec sparse vectors of length vlen in one pool; vector i occupies
// [ptrb[i] - fpos, ptre[i] - fpos) of sub and val.
struct spmat {
  SysEnv* sys;
  int32_t maxnvec, maxvlen;  // capacity of vectors, largest minor dimension
  int32_t nvec, vlen;        // number of vectors, minor dimension
  int64_t fpos;              // base subtracted from ptrb, ptre
  int64_t maxsze;            // pool capacity usable now
  int64_t maxmaxsze;         // pool capacity at most
  int64_t ffree;             // first free position (in pointer units, fpos included)
  int32_t extptr;            // ptrb, ptre belong to the caller
  int32_t owndata;           // sub, val belong to this record
  int64_t* ptrb;             // [maxnvec]
  int64_t* ptre;             // [maxnvec]
  int32_t* sub;              // [maxmaxsze]
  double* val;               // [maxmaxsze]
};

// Makes an empty list with its own pointer arrays and no pool; null when out of space.
spmat* VLR_spmat_make(SysEnv* sys, int32_t maxnvec, int32_t maxvlen);
// Makes a list over the caller's arrays (borrows; they must outlive it).
spmat* VLR_spmat_emake(SysEnv* sys, int32_t maxnvec, int32_t maxvlen, int32_t nvec, int32_t vlen,
                       int64_t fpos, int64_t maxsze, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                       double* val);
void VLR_spmat_delete(spmat** mat);
// Allocates a pool of size elements (1), or fails leaving the old (0).
int32_t VLR_spmat_ialloc(spmat* mat, int64_t size);
void VLR_spmat_freespc(spmat* mat);
// Every vector empty and the pool free.
void VLR_spmat_init(spmat* mat);
// Adopts the caller's pool arrays (borrows).
void VLR_spmat_ealloc(spmat* mat, int64_t maxsze, int32_t* sub, double* val);

// Gives vector i the length newlen: in place when it fits its slot, else moved to ffree. 0 when
// the pool cannot hold it (nothing changed), else 1. New positions are not cleared.
int32_t VLR_spmat_vresize(spmat* mat, int32_t i, int64_t newlen);
// A compact copy with extra spare pool elements; null when out of space.
spmat* VLR_spmat_copy(const spmat* mat, int64_t extra);
// The transpose: vectors of at are sorted by the vector index of a. work: vlen 64-bit entries
// (null: allocated). *at null makes a new record; otherwise it must have room. 1 ok, 0 no space.
int32_t VLR_spmat_transpose(const spmat* a, int64_t* work, spmat** at);
// Sorts the indices of every vector ascending (two transposes). 1 ok, 0 no space.
int32_t VLR_spmat_sortvecs(spmat* mat);
// Renumbers vectors by vecperm (new place of each vector) and indices by indperm; vectors whose
// place is at or above keepvec and elements whose index's place is at or above keepind are moved
// to *saved (made here), so that VLR_spmat_uncompress restores the list. 1 ok, 0 no space.
struct SpmatSaved;
int32_t VLR_spmat_compress(spmat* mat, int32_t keepvec, int32_t keepind, const int32_t* vecperm,
                           const int32_t* indperm, SpmatSaved** saved);
// Undoes VLR_spmat_compress and frees *saved; the order inside a vector may differ.
void VLR_spmat_uncompress(spmat* mat, SpmatSaved** saved);
// VLR_spmat_compress that throws the removed part away.
void VLR_spmat_pack(spmat* mat, int32_t keepvec, int32_t keepind, const int32_t* vecperm,
                    const int32_t* indperm);
// Vector i moves to place perm[i] (a permutation of nvec).
int32_t VLR_spmat_permutevec(spmat* mat, const int32_t* perm);

inline int32_t VLR_spmat_getnvec(const spmat* m) {
  return m->nvec;
}
inline int32_t VLR_spmat_getvlen(const spmat* m) {
  return m->vlen;
}
inline int64_t VLR_spmat_getnzi(const spmat* m, int32_t i) {
  return m->ptre[i] - m->ptrb[i];
}
int64_t VLR_spmat_getnz(const spmat* m);

// Vector i as an operand of the vector kernels; y and x are dense of vlen.
void VLR_spmat_aipy(const spmat* m, int32_t i, double a, double* y);  // y += a v_i
double VLR_spmat_doti(const spmat* m, int32_t i, const double* x);
void VLR_spmat_sctri(const spmat* m, int32_t i, double* y);  // y[sub] = v_i
void VLR_spmat_gthri0(spmat* m, int32_t i, double* y);       // v_i = y[sub], y[sub] = 0
void VLR_spmat_scali(spmat* m, int32_t i, double a);
double VLR_spmat_nrm1i(const spmat* m, int32_t i);
double VLR_spmat_nrminfi(const spmat* m, int32_t i);
double VLR_spmat_sqnrm2i(const spmat* m, int32_t i);
double VLR_spmat_nrminfinity(const spmat* m);
// Vectors as columns: trans 0: y = alpha A x + beta y (x of nvec, y of vlen); trans 1:
// y = alpha A' x + beta y (x of vlen, y of nvec).
void VLR_spmat_gemv(const spmat* m, int32_t trans, double alpha, const double* x, double beta,
                    double* y);

// Debug: stops on a broken invariant (pointers, indices, duplicates).
void VLR_spmat_check(const char* file, int line, const spmat* m);
// "%d %d %24.16e" per element; kSysOk or the file code.
int32_t VLR_spmat_writetofile(const spmat* m, const char* path);

}  // namespace vlr
