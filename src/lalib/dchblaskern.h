// src/lalib/dchblaskern.h: the body of the update C -= A D B', included by dchblas.cpp once per
// instruction set inside a namespace of its own that defines kLanes (doubles per register) and
// VLR_KERN_ATTR (the function attribute that selects the instruction set). Everything here is
// internal to that namespace, so no inline function of one instruction set can stand in for the
// other's at link time.
// SPDX-License-Identifier: Apache-2.0

VLR_KERN_ATTR inline int32_t kmin(int32_t a, int32_t b) {
  return a < b ? a : b;
}
VLR_KERN_ATTR inline int32_t kmax(int32_t a, int32_t b) {
  return a > b ? a : b;
}

typedef double vreg __attribute__((vector_size(kLanes * sizeof(double))));

// The core tile is kMr x kNr of C: two registers down a column, four columns, so eight
// accumulators, which leave room in the sixteen registers for the loads.
constexpr int32_t kVr = 2;  // registers per column of a tile
constexpr int32_t kMr = kVr * kLanes;

// Cache blocks: a packed A block of kMc x kKc (192 KB) stays in L2 while it meets every panel of
// the packed B block (kNc x kKc, 1 MB), which streams from L3.
constexpr int32_t kKc = 256;
constexpr int32_t kMc = 96;
constexpr int32_t kNc = 512;
// Below this many multiply-adds the packing costs more than it saves.
constexpr int64_t kSmall = 8192;

VLR_KERN_ATTR inline vreg loadv(const double* p) {
  vreg v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
VLR_KERN_ATTR inline void storev(double* p, vreg v) {
  std::memcpy(p, &v, sizeof v);
}
// *p in every lane. The instruction set may give a load that broadcasts (VLR_KERN_BROADCAST):
// left to itself the compiler loads neighbouring values as one vector and shuffles them apart,
// which keeps the shuffle unit busier than the multiply-adds.
VLR_KERN_ATTR inline vreg broadcastv(const double* p) {
#ifdef VLR_KERN_BROADCAST
  return VLR_KERN_BROADCAST(p);
#else
  vreg v;
  for (int32_t l = 0; l < kLanes; ++l)
    v[l] = *p;
  return v;
#endif
}

// C(0:mr, 0:nr) -= Ap Bp' over kc, with Ap kMr-strided and Bp kNr-strided packed panels;
// only the entries with i - j >= lo are written (lo of a tile off the diagonal: -kNr).
VLR_KERN_ATTR void dchblas_core(int32_t kc, const double* ap, const double* bp, double* c,
                                int32_t ldc, int32_t mr, int32_t nr, int32_t lo) {
  vreg acc[kVr][kNr] = {};
  for (int32_t p = 0; p < kc; ++p) {
    vreg a[kVr];
    for (int32_t r = 0; r < kVr; ++r)
      a[r] = loadv(ap + p * kMr + kLanes * r);
    for (int32_t j = 0; j < kNr; ++j) {
      const vreg b = broadcastv(bp + p * kNr + j);
      for (int32_t r = 0; r < kVr; ++r)
        acc[r][j] += a[r] * b;
    }
  }
  if (mr == kMr && nr == kNr && lo <= -kNr) {
    for (int32_t j = 0; j < kNr; ++j) {
      for (int32_t r = 0; r < kVr; ++r) {
        double* cj = c + static_cast<int64_t>(j) * ldc + kLanes * r;
        storev(cj, loadv(cj) - acc[r][j]);
      }
    }
    return;
  }
  double t[kMr * kNr];
  for (int32_t j = 0; j < kNr; ++j)
    for (int32_t r = 0; r < kVr; ++r)
      storev(t + j * kMr + kLanes * r, acc[r][j]);
  for (int32_t j = 0; j < nr; ++j)
    for (int32_t i = kmax(0, j + lo); i < mr; ++i)
      c[i + static_cast<int64_t>(j) * ldc] -= t[i + j * kMr];
}

// Packs A(0:mc, 0:kc) into kMr-row panels, zero-padded to whole panels.
VLR_KERN_ATTR void dchblas_packa(int32_t mc, int32_t kc, const double* a, int32_t lda, double* ap) {
  for (int32_t i0 = 0; i0 < mc; i0 += kMr) {
    const int32_t mr = kmin(kMr, mc - i0);
    for (int32_t p = 0; p < kc; ++p) {
      const double* ac = a + i0 + static_cast<int64_t>(p) * lda;
      int32_t i = 0;
      for (; i < mr; ++i)
        ap[i] = ac[i];
      for (; i < kMr; ++i)
        ap[i] = 0.0;
      ap += kMr;
    }
  }
}

// Packs B(0:nc, 0:kc) diag(d) into kNr-column panels, zero-padded.
VLR_KERN_ATTR void dchblas_packb(int32_t nc, int32_t kc, const double* b, int32_t ldb,
                                 const double* d, double* bp) {
  for (int32_t j0 = 0; j0 < nc; j0 += kNr) {
    const int32_t nr = kmin(kNr, nc - j0);
    for (int32_t p = 0; p < kc; ++p) {
      const double* bc = b + j0 + static_cast<int64_t>(p) * ldb;
      const double s = d != nullptr ? d[p] : 1.0;
      int32_t j = 0;
      for (; j < nr; ++j)
        bp[j] = bc[j] * s;
      for (; j < kNr; ++j)
        bp[j] = 0.0;
      bp += kNr;
    }
  }
}

// The small case: one scaled column of B at a time, as axpys down the columns of C.
VLR_KERN_ATTR void dchblas_small(int32_t m, int32_t n, int32_t k, const double* a, int32_t lda,
                                 const double* d, const double* b, int32_t ldb, double* c,
                                 int32_t ldc, bool lower) {
  for (int32_t j = 0; j < n; ++j) {
    double* cj = c + static_cast<int64_t>(j) * ldc;
    const int32_t i0 = lower ? kmin(j, m) : 0;
    for (int32_t p = 0; p < k; ++p) {
      const double t = b[j + static_cast<int64_t>(p) * ldb] * (d != nullptr ? d[p] : 1.0);
      if (t == 0.0) continue;
      const double* ap = a + static_cast<int64_t>(p) * lda;
      for (int32_t i = i0; i < m; ++i)
        cj[i] -= ap[i] * t;
    }
  }
}

// The doubles of work the update needs.
constexpr int64_t kWork =
    static_cast<int64_t>(kMc + kMr) * kKc + static_cast<int64_t>(kNc + kNr) * kKc;

VLR_KERN_ATTR void update(int32_t m, int32_t n, int32_t k, const double* a, int32_t lda,
                          const double* d, const double* b, int32_t ldb, double* c, int32_t ldc,
                          bool lower, double* work) {
  if (m <= 0 || n <= 0 || k <= 0) return;
  if (static_cast<int64_t>(m) * n * k <= kSmall) {
    dchblas_small(m, n, k, a, lda, d, b, ldb, c, ldc, lower);
    return;
  }
  double* ap = work;
  double* bp = work + static_cast<int64_t>(kMc + kMr) * kKc;
  for (int32_t jc = 0; jc < n; jc += kNc) {
    const int32_t nc = kmin(kNc, n - jc);
    // Row blocks that end above this column block hold nothing of the lower part.
    const int32_t ic0 = lower ? kmin(m, jc) / kMc * kMc : 0;
    for (int32_t pc = 0; pc < k; pc += kKc) {
      const int32_t kc = kmin(kKc, k - pc);
      dchblas_packb(nc, kc, b + jc + static_cast<int64_t>(pc) * ldb, ldb,
                    d != nullptr ? d + pc : nullptr, bp);
      for (int32_t ic = ic0; ic < m; ic += kMc) {
        const int32_t mc = kmin(kMc, m - ic);
        dchblas_packa(mc, kc, a + ic + static_cast<int64_t>(pc) * lda, lda, ap);
        for (int32_t jr = 0; jr < nc; jr += kNr) {
          const int32_t col = jc + jr;
          for (int32_t ir = 0; ir < mc; ir += kMr) {
            const int32_t row = ic + ir;
            if (lower && row + kMr <= col) continue;  // tile wholly above the diagonal
            dchblas_core(kc, ap + static_cast<int64_t>(ir) * kc, bp + static_cast<int64_t>(jr) * kc,
                         c + row + static_cast<int64_t>(col) * ldc, ldc, kmin(kMr, mc - ir),
                         kmin(kNr, nc - jr), lower ? kmax(col - row, -kNr) : -kNr);
          }
        }
      }
    }
  }
}
