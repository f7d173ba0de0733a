// src/cpub/spmat.cpp: the compact sparse vector list of the optimisers: pool, resize, copy,
// transpose, sort, compress and pack, and the per-vector kernels.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstring>

#include "cpub/sprmat.h"

namespace vlr {

// The part of a list that VLR_spmat_compress moved away.
struct SpmatSaved {
  int64_t maxsze;      // pool capacity before
  int32_t nvec, vlen;  // sizes before
  int64_t nsaved;      // saved elements
  int32_t* invvec;     // [nvec] old index of the vector at each new place
  int32_t* invind;     // [vlen] old index of each new index
  int64_t* oldb;       // [nvec] old slot of each vector; kept elements stay at its start
  int64_t* olde;       // [nvec]
  int64_t* keptlen;    // [nvec] work of the restore
  int64_t* savedptr;   // [nvec + 1] saved elements of old vector v: [savedptr[v], savedptr[v+1])
  int32_t* savedsub;   // [nsaved] old indices
  double* savedval;    // [nsaved]
};

namespace {

template <class T>
T* spmat_alloc(SysEnv* sys, int64_t n) {
  if (n <= 0) return nullptr;
  return static_cast<T*>(VLR_sysenv_callocdbg(sys, VLR_HERE, n, sizeof(T)));
}

inline int64_t spmat_b(const spmat* m, int32_t i) {
  return m->ptrb[i] - m->fpos;
}
inline int64_t spmat_e(const spmat* m, int32_t i) {
  return m->ptre[i] - m->fpos;
}

void spmat_checkindex(const spmat* m, int32_t i) {
  if (i < 0 || i >= m->nvec) {
    VLR_sysenv_stopdbg(m->sys, VLR_HERE, "Index error i: %d nvec: %d", i, m->nvec);
  }
}

void spmat_freesaved(SysEnv* sys, SpmatSaved** psaved) {
  SpmatSaved* s = *psaved;
  if (s == nullptr) return;
  VLR_sysenv_freedbg(sys, VLR_HERE, s->invvec);
  VLR_sysenv_freedbg(sys, VLR_HERE, s->invind);
  VLR_sysenv_freedbg(sys, VLR_HERE, s->oldb);
  VLR_sysenv_freedbg(sys, VLR_HERE, s->olde);
  VLR_sysenv_freedbg(sys, VLR_HERE, s->keptlen);
  VLR_sysenv_freedbg(sys, VLR_HERE, s->savedptr);
  VLR_sysenv_freedbg(sys, VLR_HERE, s->savedsub);
  VLR_sysenv_freedbg(sys, VLR_HERE, s->savedval);
  VLR_sysenv_freedbg(sys, VLR_HERE, s);
  *psaved = nullptr;
}

// Rewrites the list in place: vector v goes to place vecperm[v] when below keepvec, keeping the
// elements whose index goes to a place below keepind. Needs a scratch copy of the pointers.
int32_t spmat_squeeze(spmat* m, int32_t keepvec, int32_t keepind, const int32_t* vecperm,
                      const int32_t* indperm) {
  const int32_t nvec = m->nvec;
  int64_t* ob = spmat_alloc<int64_t>(m->sys, nvec);
  int64_t* oe = spmat_alloc<int64_t>(m->sys, nvec);
  if (nvec > 0 && (ob == nullptr || oe == nullptr)) {
    VLR_sysenv_freedbg(m->sys, VLR_HERE, ob);
    VLR_sysenv_freedbg(m->sys, VLR_HERE, oe);
    return 0;
  }
  for (int32_t v = 0; v < nvec; ++v) {
    ob[v] = m->ptrb[v];
    oe[v] = m->ptre[v];
  }
  for (int32_t v = 0; v < nvec; ++v) {
    const int32_t p = vecperm[v];
    if (p < 0 || p >= keepvec) continue;
    // The kept elements stay inside the vector's old slot, so no slot overwrites another.
    int64_t to = ob[v] - m->fpos;
    for (int64_t k = ob[v] - m->fpos; k < oe[v] - m->fpos; ++k) {
      const int32_t s = indperm[m->sub[k]];
      if (s < 0 || s >= keepind) continue;
      m->sub[to] = s;
      m->val[to] = m->val[k];
      ++to;
    }
    oe[v] = to + m->fpos;
  }
  for (int32_t v = 0; v < nvec; ++v) {
    const int32_t p = vecperm[v];
    if (p < 0 || p >= keepvec) continue;
    m->ptrb[p] = ob[v];
    m->ptre[p] = oe[v];
  }
  m->nvec = keepvec;
  m->vlen = keepind;
  VLR_sysenv_freedbg(m->sys, VLR_HERE, ob);
  VLR_sysenv_freedbg(m->sys, VLR_HERE, oe);
  return 1;
}

}  // namespace

spmat* VLR_spmat_make(SysEnv* sys, int32_t maxnvec, int32_t maxvlen) {
  auto* m = static_cast<spmat*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(spmat)));
  if (m == nullptr) return nullptr;
  m->sys = sys;
  m->maxnvec = maxnvec;
  m->maxvlen = maxvlen;
  m->ptrb = spmat_alloc<int64_t>(sys, maxnvec);
  m->ptre = spmat_alloc<int64_t>(sys, maxnvec);
  if (maxnvec > 0 && (m->ptrb == nullptr || m->ptre == nullptr)) {
    VLR_spmat_delete(&m);
    return nullptr;
  }
  return m;
}

spmat* VLR_spmat_emake(SysEnv* sys, int32_t maxnvec, int32_t maxvlen, int32_t nvec, int32_t vlen,
                       int64_t fpos, int64_t maxsze, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                       double* val) {
  auto* m = static_cast<spmat*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(spmat)));
  if (m == nullptr) return nullptr;
  if (nvec > maxnvec) VLR_sysenv_stopdbg(sys, VLR_HERE, "nvec>a->maxnvec");
  *m = spmat{sys,  maxnvec, maxvlen, nvec, vlen, fpos, maxsze, maxsze,
             fpos, 1,       0,       ptrb, ptre, sub,  val};
  for (int32_t v = 0; v < nvec; ++v)
    m->ffree = std::max(m->ffree, ptre[v]);
  return m;
}

void VLR_spmat_delete(spmat** pm) {
  if (pm == nullptr || *pm == nullptr) return;
  spmat* m = *pm;
  VLR_spmat_freespc(m);
  if (!m->extptr) {
    VLR_sysenv_freedbg(m->sys, VLR_HERE, m->ptrb);
    VLR_sysenv_freedbg(m->sys, VLR_HERE, m->ptre);
  }
  VLR_sysenv_freedbg(m->sys, VLR_HERE, m);
  *pm = nullptr;
}

int32_t VLR_spmat_ialloc(spmat* m, int64_t size) {
  int32_t* sub = spmat_alloc<int32_t>(m->sys, size);
  double* val = spmat_alloc<double>(m->sys, size);
  if (size > 0 && (sub == nullptr || val == nullptr)) {
    VLR_sysenv_freedbg(m->sys, VLR_HERE, sub);
    VLR_sysenv_freedbg(m->sys, VLR_HERE, val);
    return 0;
  }
  VLR_spmat_freespc(m);
  m->sub = sub;
  m->val = val;
  m->owndata = 1;
  m->maxsze = m->maxmaxsze = size;
  VLR_spmat_init(m);
  return 1;
}

void VLR_spmat_freespc(spmat* m) {
  if (m->owndata) {
    VLR_sysenv_freedbg(m->sys, VLR_HERE, m->sub);
    VLR_sysenv_freedbg(m->sys, VLR_HERE, m->val);
  }
  m->sub = nullptr;
  m->val = nullptr;
  m->owndata = 0;
  m->maxsze = m->maxmaxsze = 0;
}

void VLR_spmat_init(spmat* m) {
  m->ffree = m->fpos;
  for (int32_t v = 0; v < m->maxnvec; ++v)
    m->ptrb[v] = m->ptre[v] = m->fpos;
}

void VLR_spmat_ealloc(spmat* m, int64_t maxsze, int32_t* sub, double* val) {
  VLR_spmat_freespc(m);
  m->sub = sub;
  m->val = val;
  m->maxsze = m->maxmaxsze = maxsze;
  m->owndata = 0;
}

int32_t VLR_spmat_vresize(spmat* m, int32_t i, int64_t newlen) {
  if (i < 0 || i > m->nvec) {
    VLR_sysenv_stopdbg(m->sys, VLR_HERE, "Index error i: %d nvec: %d", i, m->nvec);
  }
  const int64_t len = m->ptre[i] - m->ptrb[i];
  // The slot of a vector reaches to the next vector's begin or to ffree when it is last; a
  // shrink always fits.
  if (newlen <= len) {
    m->ptre[i] = m->ptrb[i] + newlen;
    return 1;
  }
  if (m->ptre[i] == m->ffree && m->ptrb[i] + newlen - m->fpos <= m->maxmaxsze) {
    m->ptre[i] = m->ptrb[i] + newlen;
    m->ffree = m->ptre[i];
    return 1;
  }
  if (m->ffree + newlen - m->fpos > m->maxmaxsze) return 0;
  const int64_t from = spmat_b(m, i);
  const int64_t to = m->ffree - m->fpos;
  if (len > 0) {
    std::memmove(m->sub + to, m->sub + from, sizeof(int32_t) * static_cast<size_t>(len));
    std::memmove(m->val + to, m->val + from, sizeof(double) * static_cast<size_t>(len));
  }
  m->ptrb[i] = m->ffree;
  m->ptre[i] = m->ffree + newlen;
  m->ffree += newlen;
  return 1;
}

int64_t VLR_spmat_getnz(const spmat* m) {
  int64_t nz = 0;
  for (int32_t v = 0; v < m->nvec; ++v)
    nz += m->ptre[v] - m->ptrb[v];
  return nz;
}

spmat* VLR_spmat_copy(const spmat* a, int64_t extra) {
  spmat* c = VLR_spmat_make(a->sys, a->maxnvec, a->maxvlen);
  if (c == nullptr) return nullptr;
  const int64_t nz = VLR_spmat_getnz(a);
  if (!VLR_spmat_ialloc(c, nz + std::max<int64_t>(extra, 0))) {
    VLR_spmat_delete(&c);
    return nullptr;
  }
  c->nvec = a->nvec;
  c->vlen = a->vlen;
  int64_t pos = 0;
  for (int32_t v = 0; v < a->nvec; ++v) {
    const int64_t len = a->ptre[v] - a->ptrb[v];
    if (len > 0) {
      std::memcpy(c->sub + pos, a->sub + spmat_b(a, v), sizeof(int32_t) * static_cast<size_t>(len));
      std::memcpy(c->val + pos, a->val + spmat_b(a, v), sizeof(double) * static_cast<size_t>(len));
    }
    c->ptrb[v] = pos;
    pos += len;
    c->ptre[v] = pos;
  }
  c->ffree = pos;
  return c;
}

int32_t VLR_spmat_transpose(const spmat* a, int64_t* work, spmat** pat) {
  const int64_t nz = VLR_spmat_getnz(a);
  spmat* at = *pat;
  bool made = false;
  if (at == nullptr) {
    at = VLR_spmat_make(a->sys, std::max(a->vlen, 1), std::max(a->nvec, 1));
    if (at == nullptr || !VLR_spmat_ialloc(at, nz)) {
      VLR_spmat_delete(&at);
      return 0;
    }
    made = true;
  }
  if (at->maxnvec < a->vlen || at->maxmaxsze < nz) {
    VLR_sysenv_stopdbg(a->sys, VLR_HERE, "nvec=%d", a->vlen);
  }
  int64_t* count = work != nullptr ? work : spmat_alloc<int64_t>(a->sys, a->vlen);
  if (a->vlen > 0 && count == nullptr) {
    if (made) VLR_spmat_delete(&at);
    return 0;
  }
  std::fill(count, count + a->vlen, 0);
  for (int32_t v = 0; v < a->nvec; ++v) {
    for (int64_t k = spmat_b(a, v); k < spmat_e(a, v); ++k)
      ++count[a->sub[k]];
  }
  at->nvec = a->vlen;
  at->vlen = a->nvec;
  int64_t pos = at->fpos;
  for (int32_t w = 0; w < a->vlen; ++w) {
    at->ptrb[w] = at->ptre[w] = pos;
    pos += count[w];
  }
  at->ffree = pos;
  for (int32_t v = 0; v < a->nvec; ++v) {
    for (int64_t k = spmat_b(a, v); k < spmat_e(a, v); ++k) {
      const int64_t p = at->ptre[a->sub[k]]++ - at->fpos;
      at->sub[p] = v;
      at->val[p] = a->val[k];
    }
  }
  if (work == nullptr) VLR_sysenv_freedbg(a->sys, VLR_HERE, count);
  *pat = at;
  return 1;
}

int32_t VLR_spmat_sortvecs(spmat* m) {
  spmat* t = nullptr;
  if (!VLR_spmat_transpose(m, nullptr, &t)) return 0;
  // Transposing back writes each vector in ascending index order, into m's own slots.
  int64_t* count = spmat_alloc<int64_t>(m->sys, m->nvec);
  if (m->nvec > 0 && count == nullptr) {
    VLR_spmat_delete(&t);
    return 0;
  }
  int64_t* cur = count;
  for (int32_t v = 0; v < m->nvec; ++v)
    cur[v] = spmat_b(m, v);
  for (int32_t w = 0; w < t->nvec; ++w) {
    for (int64_t k = spmat_b(t, w); k < spmat_e(t, w); ++k) {
      const int64_t p = cur[t->sub[k]]++;
      m->sub[p] = w;
      m->val[p] = t->val[k];
    }
  }
  VLR_sysenv_freedbg(m->sys, VLR_HERE, count);
  VLR_spmat_delete(&t);
  return 1;
}

int32_t VLR_spmat_compress(spmat* m, int32_t keepvec, int32_t keepind, const int32_t* vecperm,
                           const int32_t* indperm, SpmatSaved** psaved) {
  *psaved = nullptr;
  SysEnv* sys = m->sys;
  int64_t nsaved = 0;
  for (int32_t v = 0; v < m->nvec; ++v) {
    const bool keep = vecperm[v] >= 0 && vecperm[v] < keepvec;
    for (int64_t k = spmat_b(m, v); k < spmat_e(m, v); ++k) {
      if (!keep || indperm[m->sub[k]] < 0 || indperm[m->sub[k]] >= keepind) ++nsaved;
    }
  }
  auto* s = static_cast<SpmatSaved*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(SpmatSaved)));
  if (s == nullptr) return 0;
  s->maxsze = m->maxsze;
  s->nvec = m->nvec;
  s->vlen = m->vlen;
  s->nsaved = nsaved;
  s->invvec = spmat_alloc<int32_t>(sys, m->nvec);
  s->invind = spmat_alloc<int32_t>(sys, m->vlen);
  s->oldb = spmat_alloc<int64_t>(sys, m->nvec);
  s->olde = spmat_alloc<int64_t>(sys, m->nvec);
  s->keptlen = spmat_alloc<int64_t>(sys, m->nvec);
  s->savedptr = spmat_alloc<int64_t>(sys, int64_t{m->nvec} + 1);
  s->savedsub = spmat_alloc<int32_t>(sys, nsaved);
  s->savedval = spmat_alloc<double>(sys, nsaved);
  if ((m->nvec > 0 && (s->invvec == nullptr || s->oldb == nullptr || s->olde == nullptr ||
                       s->keptlen == nullptr)) ||
      (m->vlen > 0 && s->invind == nullptr) || s->savedptr == nullptr ||
      (nsaved > 0 && (s->savedsub == nullptr || s->savedval == nullptr))) {
    spmat_freesaved(sys, &s);
    return 0;
  }
  for (int32_t v = 0; v < m->nvec; ++v)
    s->invvec[v] = -1;
  for (int32_t w = 0; w < m->vlen; ++w)
    s->invind[w] = -1;
  int64_t pos = 0;
  for (int32_t v = 0; v < m->nvec; ++v) {
    s->savedptr[v] = pos;
    s->oldb[v] = m->ptrb[v];
    s->olde[v] = m->ptre[v];
    const bool keep = vecperm[v] >= 0 && vecperm[v] < keepvec;
    if (keep) s->invvec[vecperm[v]] = v;
    for (int64_t k = spmat_b(m, v); k < spmat_e(m, v); ++k) {
      const int32_t p = indperm[m->sub[k]];
      if (keep && p >= 0 && p < keepind) continue;
      s->savedsub[pos] = m->sub[k];
      s->savedval[pos] = m->val[k];
      ++pos;
    }
  }
  s->savedptr[m->nvec] = pos;
  for (int32_t w = 0; w < m->vlen; ++w) {
    if (indperm[w] >= 0 && indperm[w] < keepind) s->invind[indperm[w]] = w;
  }
  if (!spmat_squeeze(m, keepvec, keepind, vecperm, indperm)) {
    spmat_freesaved(sys, &s);
    return 0;
  }
  *psaved = s;
  return 1;
}

void VLR_spmat_uncompress(spmat* m, SpmatSaved** psaved) {
  SpmatSaved* s = *psaved;
  if (s == nullptr) return;
  // The kept elements of a vector sit at the start of its old slot, and the saved ones fill the
  // rest of it again: no pool space is needed.
  for (int32_t v = 0; v < s->nvec; ++v)
    s->keptlen[v] = 0;
  for (int32_t p = 0; p < m->nvec; ++p) {
    const int32_t v = s->invvec[p];
    for (int64_t k = spmat_b(m, p); k < spmat_e(m, p); ++k)
      m->sub[k] = s->invind[m->sub[k]];
    s->keptlen[v] = m->ptre[p] - m->ptrb[p];
  }
  m->nvec = s->nvec;
  m->vlen = s->vlen;
  for (int32_t v = 0; v < s->nvec; ++v) {
    const int64_t nsv = s->savedptr[v + 1] - s->savedptr[v];
    const int64_t at = s->oldb[v] - m->fpos + s->keptlen[v];
    if (nsv > 0) {
      std::memcpy(m->sub + at, s->savedsub + s->savedptr[v],
                  sizeof(int32_t) * static_cast<size_t>(nsv));
      std::memcpy(m->val + at, s->savedval + s->savedptr[v],
                  sizeof(double) * static_cast<size_t>(nsv));
    }
    m->ptrb[v] = s->oldb[v];
    m->ptre[v] = s->olde[v];
  }
  spmat_freesaved(m->sys, psaved);
}

void VLR_spmat_pack(spmat* m, int32_t keepvec, int32_t keepind, const int32_t* vecperm,
                    const int32_t* indperm) {
  if (!spmat_squeeze(m, keepvec, keepind, vecperm, indperm)) {
    VLR_sysenv_stopdbg(m->sys, VLR_HERE, "pack: no space for %d pointers", m->nvec);
  }
}

int32_t VLR_spmat_permutevec(spmat* m, const int32_t* perm) {
  int64_t* ob = spmat_alloc<int64_t>(m->sys, m->nvec);
  int64_t* oe = spmat_alloc<int64_t>(m->sys, m->nvec);
  if (m->nvec > 0 && (ob == nullptr || oe == nullptr)) {
    VLR_sysenv_freedbg(m->sys, VLR_HERE, ob);
    VLR_sysenv_freedbg(m->sys, VLR_HERE, oe);
    return 0;
  }
  for (int32_t v = 0; v < m->nvec; ++v) {
    ob[perm[v]] = m->ptrb[v];
    oe[perm[v]] = m->ptre[v];
  }
  for (int32_t v = 0; v < m->nvec; ++v) {
    m->ptrb[v] = ob[v];
    m->ptre[v] = oe[v];
  }
  VLR_sysenv_freedbg(m->sys, VLR_HERE, ob);
  VLR_sysenv_freedbg(m->sys, VLR_HERE, oe);
  return 1;
}

void VLR_spmat_aipy(const spmat* m, int32_t i, double a, double* y) {
  spmat_checkindex(m, i);
  if (a == 0.0) return;
  for (int64_t k = spmat_b(m, i); k < spmat_e(m, i); ++k)
    y[m->sub[k]] += a * m->val[k];
}

double VLR_spmat_doti(const spmat* m, int32_t i, const double* x) {
  spmat_checkindex(m, i);
  double s = 0.0;
  for (int64_t k = spmat_b(m, i); k < spmat_e(m, i); ++k)
    s += m->val[k] * x[m->sub[k]];
  return s;
}

void VLR_spmat_sctri(const spmat* m, int32_t i, double* y) {
  spmat_checkindex(m, i);
  for (int64_t k = spmat_b(m, i); k < spmat_e(m, i); ++k)
    y[m->sub[k]] = m->val[k];
}

void VLR_spmat_gthri0(spmat* m, int32_t i, double* y) {
  spmat_checkindex(m, i);
  for (int64_t k = spmat_b(m, i); k < spmat_e(m, i); ++k) {
    m->val[k] = y[m->sub[k]];
    y[m->sub[k]] = 0.0;
  }
}

void VLR_spmat_scali(spmat* m, int32_t i, double a) {
  spmat_checkindex(m, i);
  for (int64_t k = spmat_b(m, i); k < spmat_e(m, i); ++k)
    m->val[k] *= a;
}

double VLR_spmat_nrm1i(const spmat* m, int32_t i) {
  spmat_checkindex(m, i);
  double s = 0.0;
  for (int64_t k = spmat_b(m, i); k < spmat_e(m, i); ++k)
    s += std::fabs(m->val[k]);
  return s;
}

double VLR_spmat_nrminfi(const spmat* m, int32_t i) {
  spmat_checkindex(m, i);
  double s = 0.0;
  for (int64_t k = spmat_b(m, i); k < spmat_e(m, i); ++k)
    s = std::max(s, std::fabs(m->val[k]));
  return s;
}

double VLR_spmat_sqnrm2i(const spmat* m, int32_t i) {
  spmat_checkindex(m, i);
  double s = 0.0;
  for (int64_t k = spmat_b(m, i); k < spmat_e(m, i); ++k)
    s += m->val[k] * m->val[k];
  return s;
}

double VLR_spmat_nrminfinity(const spmat* m) {
  double s = 0.0;
  for (int32_t v = 0; v < m->nvec; ++v)
    s = std::max(s, VLR_spmat_nrminfi(m, v));
  return s;
}

void VLR_spmat_gemv(const spmat* m, int32_t trans, double alpha, const double* x, double beta,
                    double* y) {
  const int32_t ny = trans ? m->nvec : m->vlen;
  for (int32_t k = 0; k < ny; ++k)
    y[k] = beta == 0.0 ? 0.0 : beta * y[k];
  if (alpha == 0.0) return;
  for (int32_t v = 0; v < m->nvec; ++v) {
    if (trans) {
      y[v] += alpha * VLR_spmat_doti(m, v, x);
    } else if (x[v] != 0.0) {
      VLR_spmat_aipy(m, v, alpha * x[v], y);
    }
  }
}

void VLR_spmat_check(const char* file, int line, const spmat* m) {
  if (m->nvec > m->maxnvec) VLR_sysenv_stopdbg(m->sys, file, line, "nvec>a->maxnvec");
  if (m->ffree - m->fpos > m->maxmaxsze) {
    VLR_sysenv_stopdbg(m->sys, file, line, "a->ffree>a->maxsze");
  }
  int32_t* mark = spmat_alloc<int32_t>(m->sys, m->vlen);
  for (int32_t v = 0; v < m->nvec; ++v) {
    if (m->ptrb[v] < m->fpos) VLR_sysenv_stopdbg(m->sys, file, line, "ptrb[i]<fpos");
    if (m->ptrb[v] > m->ptre[v]) VLR_sysenv_stopdbg(m->sys, file, line, "ptrb[i]>ptre[i]");
    for (int64_t k = spmat_b(m, v); k < spmat_e(m, v); ++k) {
      const int32_t s = m->sub[k];
      if (s < 0 || s >= m->vlen) {
        VLR_sysenv_stopdbg(m->sys, file, line, "index error(sub[t]>=vlen)");
      }
      if (mark != nullptr && mark[s] == v + 1) {
        VLR_sysenv_stopdbg(m->sys, file, line, "duplicate elememt in %d at %d ptr: %lld %lld", v, s,
                           static_cast<long long>(m->ptrb[v]), static_cast<long long>(m->ptre[v]));
      }
      if (mark != nullptr) mark[s] = v + 1;
    }
  }
  VLR_sysenv_freedbg(m->sys, VLR_HERE, mark);
}

int32_t VLR_spmat_writetofile(const spmat* m, const char* path) {
  int32_t code = kSysOk;
  SysFile* f = VLR_sysenv_fopen(m->sys, path, 0, 0, 1, 0, 0, 0, &code);
  if (f == nullptr) return code;
  for (int32_t v = 0; v < m->nvec; ++v) {
    for (int64_t k = spmat_b(m, v); k < spmat_e(m, v); ++k)
      VLR_sysenv_fprintf(f, "%d %d %24.16e\n", v, m->sub[k], m->val[k]);
  }
  return VLR_sysenv_fclose(m->sys, &f);
}

}  // namespace vlr
