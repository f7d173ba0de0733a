// src/cpub/sprmat.cpp: the editable sparse matrix: element cache and flush, transposes, capacity
// changes and the pool rebuild.
// SPDX-License-Identifier: Apache-2.0
#include "cpub/sprmat.h"

#include <algorithm>
#include <cstring>

namespace vlr {

namespace {

template <class T>
T* sprmat_alloc(SysEnv* sys, int64_t n) {
  if (n <= 0) return nullptr;
  return static_cast<T*>(VLR_sysenv_callocdbg(sys, VLR_HERE, n, sizeof(T)));
}

int32_t sprmat_major(const sprmat* mat) {
  return mat->stomode == 0 ? mat->numrow : mat->numcol;
}
int32_t sprmat_minor(const sprmat* mat) {
  return mat->stomode == 0 ? mat->numcol : mat->numrow;
}

int64_t sprmat_suggestmaxsize(int64_t maxsize, int64_t needed) {
  return std::min(std::max(2 * maxsize, needed) + 1, kSprMaxSize);
}

void sprmat_deletecache(sprmat* mat) {
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, mat->cachehead);
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, mat->cachenext);
  mat->cachehead = nullptr;
  mat->cachenext = nullptr;
  mat->usecache = 0;
  mat->cuse = 0;
}

int64_t sprmat_storedsize(const sprmat* mat) {
  int64_t total = 0;
  const int32_t major = sprmat_major(mat);
  for (int32_t v = 0; v < major; ++v)
    total += mat->ptre[v] - mat->ptrb[v];
  return total;
}

// Copies every vector compactly, in major order, into new arrays of newmax + overhead elements.
// The cache must be empty and deleted.
int32_t sprmat_rebuild(sprmat* mat, int64_t newmax) {
  if (newmax > kSprMaxSize) return kSprNoSpace;
  const int64_t alloc = newmax + mat->overhead;
  int32_t* nsub = sprmat_alloc<int32_t>(mat->sys, alloc);
  double* nval = sprmat_alloc<double>(mat->sys, alloc);
  if (alloc > 0 && (nsub == nullptr || nval == nullptr)) {
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, nsub);
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, nval);
    return kSprNoSpace;
  }
  int64_t pos = 0;
  const int32_t major = sprmat_major(mat);
  for (int32_t v = 0; v < major; ++v) {
    const int64_t len = mat->ptre[v] - mat->ptrb[v];
    if (len > 0) {
      std::memcpy(nsub + pos, mat->sub + mat->ptrb[v], sizeof(int32_t) * static_cast<size_t>(len));
      std::memcpy(nval + pos, mat->val + mat->ptrb[v], sizeof(double) * static_cast<size_t>(len));
    }
    mat->ptrb[v] = pos;
    pos += len;
    mat->ptre[v] = pos;
  }
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, mat->sub);
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, mat->val);
  mat->sub = nsub;
  mat->val = nval;
  mat->maxsize = newmax;
  mat->ause = pos;
  return kSprOk;
}

// Work of a flush: per minor index a state (0 absent, 1 stored, 2 cached) and a dense value,
// and the list of indices met.
struct FlushWork {
  int32_t* list;
  int32_t* state;
  double* dense;
};

// Merges the stored and the cached elements of vector v into work; returns the number of kept
// indices, listed first in work.list with their values in work.dense. Exact zeros are dropped.
int64_t sprmat_mergevec(const sprmat* mat, int32_t v, const FlushWork& w) {
  int64_t n = 0;
  for (int64_t k = mat->ptrb[v]; k < mat->ptre[v]; ++k) {
    const int32_t s = mat->sub[k];
    w.state[s] = 1;
    w.dense[s] = mat->val[k];
    w.list[n++] = s;
  }
  for (int64_t p = mat->cachehead[v]; p != 0; p = mat->cachenext[p]) {
    const int32_t s = mat->sub[p];
    switch (w.state[s]) {
      case 0:
        w.state[s] = 2;
        w.dense[s] = mat->val[p];
        w.list[n++] = s;
        break;
      case 1:
        w.state[s] = 2;
        w.dense[s] = mat->val[p];
        break;
      case 2:  // an older write of an element written again
        break;
      default:
        VLR_sysenv_stopdbg(mat->sys, VLR_HERE, "map[%d]: %d", s, w.state[s]);
    }
  }
  int64_t len = 0;
  for (int64_t t = 0; t < n; ++t) {
    const int32_t s = w.list[t];
    w.state[s] = 0;
    if (w.dense[s] != 0.0) w.list[len++] = s;
  }
  return len;
}

void sprmat_writevec(const FlushWork& w, int64_t len, int32_t* sub, double* val) {
  for (int64_t t = 0; t < len; ++t) {
    const int32_t s = w.list[t];
    sub[t] = s;
    val[t] = w.dense[s];
    w.dense[s] = 0.0;
  }
}

void sprmat_cleardense(const FlushWork& w, int64_t len) {
  for (int64_t t = 0; t < len; ++t)
    w.dense[w.list[t]] = 0.0;
}

// Second pass of a flush when some vectors found no room: every vector is written compactly in
// major order, into new arrays when the total passes maxsize.
int32_t sprmat_flushrebuild(sprmat* mat, const FlushWork& w) {
  const int32_t major = sprmat_major(mat);
  int64_t total = 0;
  for (int32_t v = 0; v < major; ++v) {
    if (mat->cachehead[v] == 0) {
      total += mat->ptre[v] - mat->ptrb[v];
    } else {
      const int64_t len = sprmat_mergevec(mat, v, w);
      sprmat_cleardense(w, len);
      total += len;
    }
  }
  const bool grow = total > mat->maxsize;
  if (total > kSprMaxSize) return kSprNoSpace;
  const int64_t newmax = grow ? sprmat_suggestmaxsize(mat->maxsize, total) : mat->maxsize;
  const int64_t alloc = grow ? newmax + mat->overhead : total;
  int32_t* nsub = sprmat_alloc<int32_t>(mat->sys, alloc);
  double* nval = sprmat_alloc<double>(mat->sys, alloc);
  if (alloc > 0 && (nsub == nullptr || nval == nullptr)) {
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, nsub);
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, nval);
    return kSprNoSpace;  // the vectors not yet written keep their cache lists
  }
  int64_t pos = 0;
  for (int32_t v = 0; v < major; ++v) {
    int64_t len = 0;
    if (mat->cachehead[v] == 0) {
      len = mat->ptre[v] - mat->ptrb[v];
      if (len > 0) {
        std::memcpy(nsub + pos, mat->sub + mat->ptrb[v],
                    sizeof(int32_t) * static_cast<size_t>(len));
        std::memcpy(nval + pos, mat->val + mat->ptrb[v], sizeof(double) * static_cast<size_t>(len));
      }
    } else {
      len = sprmat_mergevec(mat, v, w);
      sprmat_writevec(w, len, nsub + pos, nval + pos);
      mat->cachehead[v] = 0;
    }
    mat->ptrb[v] = pos;
    pos += len;
    mat->ptre[v] = pos;
  }
  if (grow) {
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, mat->sub);
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, mat->val);
    mat->sub = nsub;
    mat->val = nval;
    mat->maxsize = newmax;
    sprmat_deletecache(mat);  // cachenext is as long as the old pool
  } else {
    if (total > 0) {
      std::memcpy(mat->sub, nsub, sizeof(int32_t) * static_cast<size_t>(total));
      std::memcpy(mat->val, nval, sizeof(double) * static_cast<size_t>(total));
    }
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, nsub);
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, nval);
  }
  mat->ause = total;
  mat->cuse = 0;
  return kSprOk;
}

int32_t sprmat_flushanddelete(sprmat* mat) {
  const int32_t r = VLR_sprmat_flushcache(mat);
  if (r != kSprOk) return r;
  sprmat_deletecache(mat);
  return kSprOk;
}

// Makes sure n more elements fit below the cache: flush when the cache is in the way, then grow
// the pool (or compact it, when holes make up more than half of it).
int32_t sprmat_makeroom(sprmat* mat, int64_t n) {
  if (mat->ause + n >= mat->maxsize - mat->cuse) {
    const int32_t r = VLR_sprmat_flushcache(mat);
    if (r != kSprOk) return r;
  }
  if (mat->ause + n + 1 >= mat->maxsize) {
    int32_t r = sprmat_flushanddelete(mat);
    if (r != kSprOk) return r;
    const int64_t live = sprmat_storedsize(mat);
    if (2 * (live + n + 1) < mat->maxsize) {
      r = sprmat_rebuild(mat, mat->maxsize);
    } else {
      r = sprmat_rebuild(mat, sprmat_suggestmaxsize(mat->maxsize, mat->ause + n + 1));
    }
    if (r != kSprOk) return r;
  }
  return kSprOk;
}

int32_t sprmat_cacheaij(sprmat* mat, int32_t major, int32_t minor, double value) {
  int32_t r = sprmat_makeroom(mat, 1);
  if (r != kSprOk) return r;
  if (!mat->usecache) {
    mat->cachehead = sprmat_alloc<int64_t>(mat->sys, mat->ptrlen);
    mat->cachenext = sprmat_alloc<int64_t>(mat->sys, mat->maxsize);
    if (mat->cachehead == nullptr || mat->cachenext == nullptr) {
      sprmat_deletecache(mat);
      return kSprNoSpace;
    }
    mat->usecache = 1;
  }
  const int64_t pos = mat->maxsize - mat->cuse - 1;
  mat->sub[pos] = minor;
  mat->val[pos] = value;
  mat->cachenext[pos] = mat->cachehead[major];
  mat->cachehead[major] = pos;
  ++mat->cuse;
  return kSprOk;
}

// Flushes and turns the storage so that rows (rowwise 1) or columns (0) are the major vectors.
int32_t sprmat_orient(sprmat* mat, int32_t rowwise) {
  int32_t r = VLR_sprmat_flushcache(mat);
  if (r != kSprOk) return r;
  if ((rowwise != 0) == (mat->stomode == 0)) return kSprOk;
  return VLR_sprmat_transpose(mat);
}

int32_t sprmat_getvec(sprmat* mat, int32_t rowwise, int32_t i, int32_t* nz, int32_t* sub,
                      double* val) {
  const int32_t r = sprmat_orient(mat, rowwise);
  if (r != kSprOk) return r;
  const int64_t b = mat->ptrb[i];
  const int64_t len = mat->ptre[i] - b;
  if (nz != nullptr) *nz = static_cast<int32_t>(len);
  if (sub != nullptr && len > 0) {
    std::memcpy(sub, mat->sub + b, sizeof(int32_t) * static_cast<size_t>(len));
  }
  if (val != nullptr && len > 0) {
    std::memcpy(val, mat->val + b, sizeof(double) * static_cast<size_t>(len));
  }
  return kSprOk;
}

// Replaces vector i; values come from val[k] or, when val is null, from dense[sub[k]].
int32_t sprmat_putvec(sprmat* mat, int32_t rowwise, int32_t i, int64_t nz, const int32_t* sub,
                      const double* val, const double* dense) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->locked == 0);
  int32_t r = VLR_sprmat_flushcache(mat);
  if (r != kSprOk) return r;
  int64_t len = 0;
  for (int64_t k = 0; k < nz; ++k) {
    if ((val != nullptr ? val[k] : dense[sub[k]]) != 0.0) ++len;
  }
  r = sprmat_makeroom(mat, len);
  if (r == kSprOk) r = sprmat_orient(mat, rowwise);
  if (r != kSprOk) return r;
  if (mat->ptre[i] - mat->ptrb[i] < len) {
    // The old space is abandoned until the next rebuild.
    mat->ptrb[i] = mat->ause;
    mat->ause += len;
  }
  int64_t pos = mat->ptrb[i];
  for (int64_t k = 0; k < nz; ++k) {
    const double x = val != nullptr ? val[k] : dense[sub[k]];
    if (x == 0.0) continue;
    mat->sub[pos] = sub[k];
    mat->val[pos] = x;
    ++pos;
  }
  mat->ptre[i] = pos;
  return kSprOk;
}

int32_t sprmat_deletevecs(sprmat* mat, int32_t rowwise, int32_t num, const int32_t* sub) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->locked == 0);
  if (num <= 0) return kSprOk;
  int32_t r = sprmat_flushanddelete(mat);
  if (r == kSprOk) r = sprmat_orient(mat, rowwise);
  if (r != kSprOk) return r;
  const int32_t major = sprmat_major(mat);
  int32_t first = major;
  // An impossible pair marks a vector to delete.
  for (int32_t k = 0; k < num; ++k) {
    mat->ptrb[sub[k]] = mat->maxsize + 1;
    mat->ptre[sub[k]] = 0;
    first = std::min(first, sub[k]);
  }
  int32_t to = first;
  for (int32_t v = first; v < major; ++v) {
    if (mat->ptrb[v] == mat->maxsize + 1 && mat->ptre[v] == 0) continue;
    mat->ptrb[to] = mat->ptrb[v];
    mat->ptre[to] = mat->ptre[v];
    ++to;
  }
  for (int32_t v = to; v < major; ++v)
    mat->ptrb[v] = mat->ptre[v] = 0;
  if (rowwise) {
    mat->numrow = to;
  } else {
    mat->numcol = to;
  }
  return kSprOk;
}

// Grows ptrb, ptre to n entries, keeping the used ones; the cache must be deleted.
int32_t sprmat_growptr(sprmat* mat, int32_t n) {
  if (n <= mat->ptrlen) return kSprOk;
  int64_t* nb = sprmat_alloc<int64_t>(mat->sys, n);
  int64_t* ne = sprmat_alloc<int64_t>(mat->sys, n);
  if (nb == nullptr || ne == nullptr) {
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, nb);
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, ne);
    return kSprNoSpace;
  }
  const int32_t major = sprmat_major(mat);
  if (major > 0) {
    std::memcpy(nb, mat->ptrb, sizeof(int64_t) * static_cast<size_t>(major));
    std::memcpy(ne, mat->ptre, sizeof(int64_t) * static_cast<size_t>(major));
  }
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, mat->ptrb);
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, mat->ptre);
  mat->ptrb = nb;
  mat->ptre = ne;
  mat->ptrlen = n;
  return kSprOk;
}

template <class P>
int32_t sprmat_getslice(sprmat* mat, int32_t rowwise, int32_t first, int32_t last, P maxnz,
                        P* surplus, P* ptrb, P* ptre, int32_t* sub, double* val) {
  const int32_t r = sprmat_orient(mat, rowwise);
  if (r != kSprOk) return r;
  int64_t total = 0;
  for (int32_t v = first; v < last; ++v)
    total += mat->ptre[v] - mat->ptrb[v];
  if (total > static_cast<int64_t>(*surplus)) return kSprSurplus;
  int64_t pos = static_cast<int64_t>(maxnz - *surplus);
  for (int32_t v = first; v < last; ++v) {
    const int64_t len = mat->ptre[v] - mat->ptrb[v];
    if (ptrb != nullptr) ptrb[v - first] = static_cast<P>(pos);
    if (len > 0) {
      std::memcpy(sub + pos, mat->sub + mat->ptrb[v], sizeof(int32_t) * static_cast<size_t>(len));
      std::memcpy(val + pos, mat->val + mat->ptrb[v], sizeof(double) * static_cast<size_t>(len));
    }
    pos += len;
    if (ptre != nullptr) ptre[v - first] = static_cast<P>(pos);
  }
  *surplus = static_cast<P>(*surplus - static_cast<P>(total));
  return kSprOk;
}

int32_t sprmat_getslicetrip(sprmat* mat, int32_t rowwise, int32_t first, int32_t last,
                            int64_t maxnz, int64_t* surplus, int32_t* subi, int32_t* subj,
                            double* val) {
  const int32_t r = sprmat_orient(mat, rowwise);
  if (r != kSprOk) return r;
  int64_t total = 0;
  for (int32_t v = first; v < last; ++v)
    total += mat->ptre[v] - mat->ptrb[v];
  if (total > *surplus) return kSprSurplus;
  int64_t pos = maxnz - *surplus;
  int32_t* majorsub = rowwise ? subi : subj;
  int32_t* minorsub = rowwise ? subj : subi;
  for (int32_t v = first; v < last; ++v) {
    for (int64_t k = mat->ptrb[v]; k < mat->ptre[v]; ++k) {
      majorsub[pos] = v;
      minorsub[pos] = mat->sub[k];
      val[pos] = mat->val[k];
      ++pos;
    }
  }
  *surplus -= total;
  return kSprOk;
}

}  // namespace

int32_t VLR_sprmat_make(SysEnv* sys, int32_t maxnumrow, int32_t maxnumcol, sprmat** pmat) {
  *pmat = nullptr;
  auto* mat = static_cast<sprmat*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(sprmat)));
  if (mat == nullptr) return kSprNoSpace;
  mat->sys = sys;
  mat->stomode = 1;
  mat->maxnumrow = maxnumrow;
  mat->maxnumcol = maxnumcol;
  mat->ptrlen = std::max(maxnumrow, maxnumcol);
  mat->ptrb = sprmat_alloc<int64_t>(sys, mat->ptrlen);
  mat->ptre = sprmat_alloc<int64_t>(sys, mat->ptrlen);
  if (mat->ptrlen > 0 && (mat->ptrb == nullptr || mat->ptre == nullptr)) {
    VLR_sprmat_delete(&mat);
    return kSprNoSpace;
  }
  *pmat = mat;
  return kSprOk;
}

void VLR_sprmat_delete(sprmat** pmat) {
  if (pmat == nullptr || *pmat == nullptr) return;
  sprmat* mat = *pmat;
  SysEnv* sys = mat->sys;
  sprmat_deletecache(mat);
  VLR_sysenv_freedbg(sys, VLR_HERE, mat->ptrb);
  VLR_sysenv_freedbg(sys, VLR_HERE, mat->ptre);
  VLR_sysenv_freedbg(sys, VLR_HERE, mat->sub);
  VLR_sysenv_freedbg(sys, VLR_HERE, mat->val);
  VLR_sysenv_freedbg(sys, VLR_HERE, mat);
  *pmat = nullptr;
}

int32_t VLR_sprmat_zero(sprmat* mat) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->locked == 0);
  sprmat_deletecache(mat);
  for (int32_t v = 0; v < mat->ptrlen; ++v)
    mat->ptrb[v] = mat->ptre[v] = 0;
  mat->ause = 0;
  return kSprOk;
}

int32_t VLR_sprmat_getsize(sprmat* mat, int64_t* size) {
  const int32_t r = VLR_sprmat_flushcache(mat);
  if (r != kSprOk) return r;
  *size = sprmat_storedsize(mat);
  return kSprOk;
}

int32_t VLR_sprmat_getpiecesize(sprmat* mat, int32_t firsti, int32_t lasti, int32_t firstj,
                                int32_t lastj, int64_t* size) {
  const int32_t r = VLR_sprmat_flushcache(mat);
  if (r != kSprOk) return r;
  const bool rows = mat->stomode == 0;
  const int32_t mb = rows ? firsti : firstj, me = rows ? lasti : lastj;
  const int32_t nb = rows ? firstj : firsti, ne = rows ? lastj : lasti;
  int64_t count = 0;
  for (int32_t v = mb; v < me; ++v) {
    for (int64_t k = mat->ptrb[v]; k < mat->ptre[v]; ++k) {
      if (mat->sub[k] >= nb && mat->sub[k] < ne) ++count;
    }
  }
  *size = count;
  return kSprOk;
}

int32_t VLR_sprmat_putmaxnumrow(sprmat* mat, int32_t maxnumrow) {
  if (maxnumrow == mat->maxnumrow) return kSprOk;
  if (maxnumrow < mat->numrow) return kSprCapBelowCount;
  // The pointer arrays serve both orientations, so they follow the larger capacity. They are
  // grown in the present orientation: moving the used entries needs no transpose.
  if (std::max(maxnumrow, mat->maxnumcol) > mat->ptrlen) {
    int32_t r = sprmat_flushanddelete(mat);
    if (r == kSprOk) r = sprmat_growptr(mat, std::max(maxnumrow, mat->maxnumcol));
    if (r != kSprOk) return r;
  }
  mat->maxnumrow = maxnumrow;
  return kSprOk;
}

int32_t VLR_sprmat_putmaxnumcol(sprmat* mat, int32_t maxnumcol) {
  if (maxnumcol == mat->maxnumcol) return kSprOk;
  if (maxnumcol < mat->numcol) return kSprCapBelowCount;
  if (std::max(maxnumcol, mat->maxnumrow) > mat->ptrlen) {
    int32_t r = sprmat_flushanddelete(mat);
    if (r == kSprOk) r = sprmat_growptr(mat, std::max(maxnumcol, mat->maxnumrow));
    if (r != kSprOk) return r;
  }
  mat->maxnumcol = maxnumcol;
  return kSprOk;
}

void VLR_sprmat_putoverhead(sprmat* mat, int32_t overhead) {
  mat->overhead = overhead;
}

int32_t VLR_sprmat_putmaxsize(sprmat* mat, int64_t maxsize) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->locked == 0);
  const int32_t r = sprmat_flushanddelete(mat);
  if (r != kSprOk) return r;
  if (maxsize < sprmat_storedsize(mat)) return kSprMaxsizeSmall;
  if (maxsize == mat->maxsize) return kSprOk;
  return sprmat_rebuild(mat, maxsize);
}

int32_t VLR_sprmat_putaij(sprmat* mat, int32_t i, int32_t j, double value) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->locked == 0);
  if (mat->stomode == 0) return sprmat_cacheaij(mat, i, j, value);
  return sprmat_cacheaij(mat, j, i, value);
}

int32_t VLR_sprmat_getaij(sprmat* mat, int32_t i, int32_t j, double* value) {
  const int32_t r = VLR_sprmat_flushcache(mat);
  if (r != kSprOk) return r;
  const int32_t v = mat->stomode == 0 ? i : j;
  const int32_t s = mat->stomode == 0 ? j : i;
  *value = 0.0;
  for (int64_t k = mat->ptrb[v]; k < mat->ptre[v]; ++k) {
    if (mat->sub[k] == s) {
      *value = mat->val[k];
      break;
    }
  }
  return kSprOk;
}

int32_t VLR_sprmat_getrownzi(sprmat* mat, int32_t i, int32_t* nz) {
  return sprmat_getvec(mat, 1, i, nz, nullptr, nullptr);
}
int32_t VLR_sprmat_getcolnzj(sprmat* mat, int32_t j, int32_t* nz) {
  return sprmat_getvec(mat, 0, j, nz, nullptr, nullptr);
}
int32_t VLR_sprmat_getrowi(sprmat* mat, int32_t i, int32_t* nz, int32_t* sub, double* val) {
  return sprmat_getvec(mat, 1, i, nz, sub, val);
}
int32_t VLR_sprmat_getcolj(sprmat* mat, int32_t j, int32_t* nz, int32_t* sub, double* val) {
  return sprmat_getvec(mat, 0, j, nz, sub, val);
}

int32_t VLR_sprmat_putrowi(sprmat* mat, int32_t i, int64_t nz, const int32_t* sub,
                           const double* val) {
  return sprmat_putvec(mat, 1, i, nz, sub, val, nullptr);
}
int32_t VLR_sprmat_putcolj(sprmat* mat, int32_t j, int64_t nz, const int32_t* sub,
                           const double* val) {
  return sprmat_putvec(mat, 0, j, nz, sub, val, nullptr);
}

// A whole vector replaces the old one, so even with the cache on it is written in place: the
// cache cannot express the removal of elements not listed.
int32_t VLR_sprmat_gatherrowi(sprmat* mat, int32_t i, int64_t nz, const int32_t* sub,
                              const double* dense) {
  return sprmat_putvec(mat, 1, i, nz, sub, nullptr, dense);
}
int32_t VLR_sprmat_gathercolj(sprmat* mat, int32_t j, int64_t nz, const int32_t* sub,
                              const double* dense) {
  return sprmat_putvec(mat, 0, j, nz, sub, nullptr, dense);
}

int32_t VLR_sprmat_appendrows(sprmat* mat, int32_t n) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->locked == 0);
  const int32_t r = sprmat_flushanddelete(mat);
  if (r != kSprOk) return r;
  if (static_cast<int64_t>(mat->numrow) + n > mat->maxnumrow) return kSprRowsFull;
  if (mat->stomode == 0) {
    for (int32_t v = mat->numrow; v < mat->numrow + n; ++v)
      mat->ptrb[v] = mat->ptre[v] = 0;
  }
  mat->numrow += n;
  return kSprOk;
}

int32_t VLR_sprmat_appendcols(sprmat* mat, int32_t n) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->locked == 0);
  const int32_t r = sprmat_flushanddelete(mat);
  if (r != kSprOk) return r;
  if (static_cast<int64_t>(mat->numcol) + n > mat->maxnumcol) return kSprColsFull;
  if (mat->stomode == 1) {
    for (int32_t v = mat->numcol; v < mat->numcol + n; ++v)
      mat->ptrb[v] = mat->ptre[v] = 0;
  }
  mat->numcol += n;
  return kSprOk;
}

int32_t VLR_sprmat_deleterows(sprmat* mat, int32_t num, const int32_t* sub) {
  return sprmat_deletevecs(mat, 1, num, sub);
}
int32_t VLR_sprmat_deletecols(sprmat* mat, int32_t num, const int32_t* sub) {
  return sprmat_deletevecs(mat, 0, num, sub);
}

int32_t VLR_sprmat_getacolwise(sprmat* mat, int64_t** ptrb, int64_t** ptre, int32_t** sub,
                               double** val) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->locked == 0);
  int32_t r = sprmat_flushanddelete(mat);
  if (r == kSprOk) r = sprmat_orient(mat, 0);
  if (r != kSprOk) return r;
  *ptrb = mat->ptrb;
  *ptre = mat->ptre;
  *sub = mat->sub;
  *val = mat->val;
  mat->locked = 1;
  return kSprOk;
}

void VLR_sprmat_puta(sprmat* mat, int32_t clearause, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                     double* val) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE,
                       mat->locked == 1 && ptrb == mat->ptrb && ptre == mat->ptre &&
                           sub == mat->sub && val == mat->val);
  mat->locked = 0;
  if (clearause) {
    int64_t top = 0;
    for (int32_t v = 0; v < mat->numcol; ++v)
      top = std::max(top, mat->ptre[v]);
    mat->ause = top;
  }
}

int32_t VLR_sprmat_getrowslice(sprmat* mat, int32_t first, int32_t last, int64_t maxnz,
                               int64_t* surplus, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                               double* val) {
  return sprmat_getslice<int64_t>(mat, 1, first, last, maxnz, surplus, ptrb, ptre, sub, val);
}
int32_t VLR_sprmat_getcolslice(sprmat* mat, int32_t first, int32_t last, int64_t maxnz,
                               int64_t* surplus, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                               double* val) {
  return sprmat_getslice<int64_t>(mat, 0, first, last, maxnz, surplus, ptrb, ptre, sub, val);
}
int32_t VLR_sprmat_getrowslice32(sprmat* mat, int32_t first, int32_t last, int32_t maxnz,
                                 int32_t* surplus, int32_t* ptrb, int32_t* ptre, int32_t* sub,
                                 double* val) {
  return sprmat_getslice<int32_t>(mat, 1, first, last, maxnz, surplus, ptrb, ptre, sub, val);
}
int32_t VLR_sprmat_getcolslice32(sprmat* mat, int32_t first, int32_t last, int32_t maxnz,
                                 int32_t* surplus, int32_t* ptrb, int32_t* ptre, int32_t* sub,
                                 double* val) {
  return sprmat_getslice<int32_t>(mat, 0, first, last, maxnz, surplus, ptrb, ptre, sub, val);
}
int32_t VLR_sprmat_getrowslicetrip(sprmat* mat, int32_t first, int32_t last, int64_t maxnz,
                                   int64_t* surplus, int32_t* subi, int32_t* subj, double* val) {
  return sprmat_getslicetrip(mat, 1, first, last, maxnz, surplus, subi, subj, val);
}
int32_t VLR_sprmat_getcolslicetrip(sprmat* mat, int32_t first, int32_t last, int64_t maxnz,
                                   int64_t* surplus, int32_t* subi, int32_t* subj, double* val) {
  return sprmat_getslicetrip(mat, 0, first, last, maxnz, surplus, subi, subj, val);
}

int32_t VLR_sprmat_transpose(sprmat* mat) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->locked == 0);
  const int32_t r = sprmat_flushanddelete(mat);
  if (r != kSprOk) return r;
  ++mat->numtransposes;
  const int32_t major = sprmat_major(mat);
  const int32_t minor = sprmat_minor(mat);
  const int64_t total = sprmat_storedsize(mat);
  int64_t* start = sprmat_alloc<int64_t>(mat->sys, minor);
  int64_t* fill = sprmat_alloc<int64_t>(mat->sys, minor);
  int32_t* tsub = sprmat_alloc<int32_t>(mat->sys, total);
  double* tval = sprmat_alloc<double>(mat->sys, total);
  if ((minor > 0 && (start == nullptr || fill == nullptr)) ||
      (total > 0 && (tsub == nullptr || tval == nullptr))) {
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, start);
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, fill);
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, tsub);
    VLR_sysenv_freedbg(mat->sys, VLR_HERE, tval);
    --mat->numtransposes;
    return kSprNoSpace;
  }
  for (int32_t v = 0; v < major; ++v) {
    for (int64_t k = mat->ptrb[v]; k < mat->ptre[v]; ++k)
      ++fill[mat->sub[k]];
  }
  int64_t pos = 0;
  for (int32_t w = 0; w < minor; ++w) {
    start[w] = pos;
    pos += fill[w];
    fill[w] = start[w];
  }
  // Walking the old vectors in order leaves each new vector sorted by old major index.
  for (int32_t v = 0; v < major; ++v) {
    for (int64_t k = mat->ptrb[v]; k < mat->ptre[v]; ++k) {
      const int64_t p = fill[mat->sub[k]]++;
      tsub[p] = v;
      tval[p] = mat->val[k];
    }
  }
  if (total > 0) {
    std::memcpy(mat->sub, tsub, sizeof(int32_t) * static_cast<size_t>(total));
    std::memcpy(mat->val, tval, sizeof(double) * static_cast<size_t>(total));
  }
  for (int32_t w = 0; w < minor; ++w) {
    mat->ptrb[w] = start[w];
    mat->ptre[w] = fill[w];
  }
  mat->ause = total;
  mat->stomode = 1 - mat->stomode;
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, start);
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, fill);
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, tsub);
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, tval);
  return kSprOk;
}

int32_t VLR_sprmat_flushcache(sprmat* mat) {
  if (mat->cuse == 0) return kSprOk;
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->locked == 0);
  ++mat->numcacheflushes;
  const int32_t minor = sprmat_minor(mat);
  FlushWork w{sprmat_alloc<int32_t>(mat->sys, minor), sprmat_alloc<int32_t>(mat->sys, minor),
              sprmat_alloc<double>(mat->sys, minor)};
  int32_t r = kSprOk;
  if (w.list == nullptr || w.state == nullptr || w.dense == nullptr) {
    r = kSprNoSpace;
  } else {
    bool pending = false;
    const int32_t major = sprmat_major(mat);
    for (int32_t v = 0; v < major; ++v) {
      if (mat->cachehead[v] == 0) continue;
      const int64_t len = sprmat_mergevec(mat, v, w);
      if (mat->ptrb[v] + len <= mat->ptre[v]) {
        sprmat_writevec(w, len, mat->sub + mat->ptrb[v], mat->val + mat->ptrb[v]);
      } else if (mat->ause + len < mat->maxsize - mat->cuse) {
        mat->ptrb[v] = mat->ause;
        mat->ause += len;
        sprmat_writevec(w, len, mat->sub + mat->ptrb[v], mat->val + mat->ptrb[v]);
      } else {
        sprmat_cleardense(w, len);  // no room: the head stays, the rebuild takes it
        pending = true;
        continue;
      }
      mat->ptre[v] = mat->ptrb[v] + len;
      mat->cachehead[v] = 0;
    }
    if (pending) {
      r = sprmat_flushrebuild(mat, w);
    } else {
      mat->cuse = 0;
    }
  }
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, w.list);
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, w.state);
  VLR_sysenv_freedbg(mat->sys, VLR_HERE, w.dense);
  return r;
}

int32_t VLR_sprmat_makereadyforpermute(sprmat* mat) {
  const int32_t r = sprmat_flushanddelete(mat);
  if (r != kSprOk) return r;
  return sprmat_orient(mat, 0);
}

int32_t VLR_sprmat_permuteandremoverows(sprmat* mat, const int32_t* perm, int32_t newnumrow) {
  VLR_sysenv_assertdbg(mat->sys, VLR_HERE, mat->stomode == 1 && mat->cuse == 0);
  for (int32_t j = 0; j < mat->numcol; ++j) {
    int64_t to = mat->ptrb[j];
    for (int64_t k = mat->ptrb[j]; k < mat->ptre[j]; ++k) {
      const int32_t i = perm[mat->sub[k]];
      if (i < 0) continue;
      mat->sub[to] = i;
      mat->val[to] = mat->val[k];
      ++to;
    }
    mat->ptre[j] = to;
  }
  mat->numrow = newnumrow;
  return kSprOk;
}

void VLR_sprmat_checka(const char* file, int line, sprmat* mat) {
  SysEnv* sys = mat->sys;
  VLR_sysenv_printf(sys, "%s(%d): # checka # stomode: %d numrow: %d numcol: %d\n", file, line,
                    mat->stomode, mat->numrow, mat->numcol);
  if (mat->stomode != 0 && mat->stomode != 1) {
    VLR_sysenv_stopdbg(sys, file, line, "stomode: %d", mat->stomode);
  }
  if (mat->ause > mat->maxsize - mat->cuse || mat->cuse < 0) {
    VLR_sysenv_stopdbg(sys, file, line, "maxsize: %lld ause: %lld cuse: %lld",
                       static_cast<long long>(mat->maxsize), static_cast<long long>(mat->ause),
                       static_cast<long long>(mat->cuse));
  }
  const int32_t major = sprmat_major(mat);
  const int32_t minor = sprmat_minor(mat);
  int32_t* mark = sprmat_alloc<int32_t>(sys, minor);
  for (int32_t v = 0; v < major; ++v) {
    if (mat->ptrb[v] > mat->ptre[v] || mat->ptrb[v] < 0 || mat->ptre[v] > mat->ause) {
      VLR_sysenv_stopdbg(sys, file, line, "vector %d: ptrb %lld ptre %lld", v,
                         static_cast<long long>(mat->ptrb[v]),
                         static_cast<long long>(mat->ptre[v]));
    }
    for (int64_t k = mat->ptrb[v]; k < mat->ptre[v]; ++k) {
      const int32_t s = mat->sub[k];
      if (s < 0 || s >= minor) VLR_sysenv_stopdbg(sys, file, line, "vector %d: index %d", v, s);
      if (mark != nullptr && mark[s] == v + 1) {
        VLR_sysenv_stopdbg(sys, file, line, "vector %d: index %d twice", v, s);
      }
      if (mark != nullptr) mark[s] = v + 1;
    }
  }
  VLR_sysenv_freedbg(sys, VLR_HERE, mark);
}

void VLR_sprmat_printcolj(sprmat* mat, int32_t j) {
  if (sprmat_orient(mat, 0) != kSprOk) return;
  VLR_sysenv_printf(mat->sys, "column %d:", j);
  for (int64_t k = mat->ptrb[j]; k < mat->ptre[j]; ++k)
    VLR_sysenv_printf(mat->sys, " %d:%g", mat->sub[k], mat->val[k]);
  VLR_sysenv_printf(mat->sys, "\n");
}

}  // namespace vlr
