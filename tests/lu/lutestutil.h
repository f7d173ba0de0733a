// tests/lu/lutestutil.h: random sparse bases, a dense reference solver and a factor harness.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "cpub/sysenv.h"
#include "lu/lu.h"

namespace lutest {

using vlr::LuFactor;
using vlr::SysEnv;

// Column-wise sparse matrix.
struct SpMat {
  int32_t m = 0, n = 0;
  std::vector<std::vector<int32_t>> idx;
  std::vector<std::vector<double>> val;
  void resize(int32_t rows, int32_t cols) {
    m = rows;
    n = cols;
    idx.assign(cols, {});
    val.assign(cols, {});
  }
  void add(int32_t i, int32_t j, double v) {
    for (size_t k = 0; k < idx[j].size(); ++k) {
      if (idx[j][k] == i) {
        val[j][k] += v;
        return;
      }
    }
    idx[j].push_back(i);
    val[j].push_back(v);
  }
  int64_t nnz() const {
    int64_t s = 0;
    for (const auto& c : idx)
      s += static_cast<int64_t>(c.size());
    return s;
  }
  std::vector<double> dense() const {  // column-major m x n
    std::vector<double> d(static_cast<size_t>(m) * n, 0.0);
    for (int32_t j = 0; j < n; ++j) {
      for (size_t k = 0; k < idx[j].size(); ++k)
        d[static_cast<size_t>(j) * m + idx[j][k]] += val[j][k];
    }
    return d;
  }
  // y = B x (x in column space) and y = B^T x.
  std::vector<double> mul(const std::vector<double>& x) const {
    std::vector<double> y(m, 0.0);
    for (int32_t j = 0; j < n; ++j) {
      for (size_t k = 0; k < idx[j].size(); ++k)
        y[idx[j][k]] += val[j][k] * x[j];
    }
    return y;
  }
  std::vector<double> tmul(const std::vector<double>& x) const {
    std::vector<double> y(n, 0.0);
    for (int32_t j = 0; j < n; ++j) {
      for (size_t k = 0; k < idx[j].size(); ++k)
        y[j] += val[j][k] * x[idx[j][k]];
    }
    return y;
  }
};

enum class Shape { kRandom, kLowerTriangular, kPermutedTriangular, kDenseColumns, kNearSingular };

inline double RandVal(std::mt19937& rng) {
  std::uniform_real_distribution<double> u(0.1, 1.0);
  std::bernoulli_distribution s(0.5);
  return s(rng) ? u(rng) : -u(rng);
}

// A square n x n basis of the given shape with about `per` off-diagonal entries per column.
inline SpMat MakeBasis(int32_t n, int32_t per, Shape shape, std::mt19937& rng) {
  SpMat a;
  a.resize(n, n);
  std::vector<int32_t> rperm(n), cperm(n);
  for (int32_t k = 0; k < n; ++k)
    rperm[k] = cperm[k] = k;
  const bool permute = shape != Shape::kLowerTriangular;
  if (permute) {
    std::shuffle(rperm.begin(), rperm.end(), rng);
    std::shuffle(cperm.begin(), cperm.end(), rng);
  }
  std::uniform_int_distribution<int32_t> row(0, n - 1);
  for (int32_t k = 0; k < n; ++k) {
    const int32_t j = cperm[k];
    a.add(rperm[k], j, RandVal(rng) * 4.0);
    for (int32_t t = 0; t < per; ++t) {
      int32_t i = row(rng);
      if (shape == Shape::kLowerTriangular || shape == Shape::kPermutedTriangular) {
        if (k + 1 >= n) break;
        i = std::uniform_int_distribution<int32_t>(k + 1, n - 1)(rng);
        i = rperm[i];
      }
      a.add(i, j, RandVal(rng));
    }
  }
  if (shape == Shape::kDenseColumns) {
    for (int32_t t = 0; t < 3 && t < n; ++t) {
      for (int32_t i = 0; i < n; ++i)
        a.add(i, cperm[t], RandVal(rng) * 0.5);
    }
  }
  if (shape == Shape::kNearSingular && n >= 3) {
    // Column 0 becomes nearly the sum of columns 1 and 2.
    a.idx[0].clear();
    a.val[0].clear();
    for (int32_t s = 1; s <= 2; ++s) {
      for (size_t k = 0; k < a.idx[s].size(); ++k)
        a.add(a.idx[s][k], 0, a.val[s][k]);
    }
    a.add(row(rng), 0, 1e-6);
  }
  return a;
}

// Dense LU with partial pivoting for reference solves.
struct DenseLu {
  int32_t n = 0;
  std::vector<double> a;  // column-major, factored in place
  std::vector<int32_t> piv;
  explicit DenseLu(const SpMat& b) : n(b.n), a(b.dense()), piv(b.n) {
    for (int32_t k = 0; k < n; ++k) {
      int32_t p = k;
      for (int32_t i = k + 1; i < n; ++i) {
        if (std::fabs(at(i, k)) > std::fabs(at(p, k))) p = i;
      }
      piv[k] = p;
      if (p != k) {
        for (int32_t j = 0; j < n; ++j)
          std::swap(at(k, j), at(p, j));
      }
      const double d = at(k, k);
      if (d == 0.0) continue;
      for (int32_t i = k + 1; i < n; ++i)
        at(i, k) /= d;
      for (int32_t j = k + 1; j < n; ++j) {
        const double f = at(k, j);
        if (f == 0.0) continue;
        for (int32_t i = k + 1; i < n; ++i)
          at(i, j) -= at(i, k) * f;
      }
    }
  }
  double& at(int32_t i, int32_t j) { return a[static_cast<size_t>(j) * n + i]; }
  std::vector<double> solve(std::vector<double> b) {  // B x = b
    for (int32_t k = 0; k < n; ++k)
      std::swap(b[k], b[piv[k]]);
    for (int32_t k = 0; k < n; ++k) {
      for (int32_t i = k + 1; i < n; ++i)
        b[i] -= at(i, k) * b[k];
    }
    for (int32_t k = n - 1; k >= 0; --k) {
      b[k] /= at(k, k);
      for (int32_t i = 0; i < k; ++i)
        b[i] -= at(i, k) * b[k];
    }
    return b;
  }
  std::vector<double> tsolve(std::vector<double> b) {  // B^T x = b
    for (int32_t k = 0; k < n; ++k) {
      for (int32_t i = 0; i < k; ++i)
        b[k] -= at(i, k) * b[i];
      b[k] /= at(k, k);
    }
    for (int32_t k = n - 1; k >= 0; --k) {
      for (int32_t i = k + 1; i < n; ++i)
        b[k] -= at(i, k) * b[i];
    }
    for (int32_t k = n - 1; k >= 0; --k)
      std::swap(b[k], b[piv[k]]);
    return b;
  }
};

inline double RelErr(const std::vector<double>& x, const std::vector<double>& ref) {
  double e = 0.0, s = 1.0;
  for (size_t k = 0; k < ref.size(); ++k) {
    e = std::max(e, std::fabs(x[k] - ref[k]));
    s = std::max(s, std::fabs(ref[k]));
  }
  return e / s;
}

// Backward error of a solve: |B x - b| / (|B| |x| + |b|), in the infinity norm; trans for B^T.
inline double Resid(const SpMat& a, const std::vector<double>& x, const std::vector<double>& b,
                    bool trans) {
  const std::vector<double> bx = trans ? a.tmul(x) : a.mul(x);
  double r = 0.0, nb = 0.0, nx = 0.0, na = 0.0;
  for (size_t k = 0; k < b.size(); ++k) {
    r = std::max(r, std::fabs(bx[k] - b[k]));
    nb = std::max(nb, std::fabs(b[k]));
  }
  for (double v : x)
    nx = std::max(nx, std::fabs(v));
  for (const auto& col : a.val) {
    double s = 0.0;
    for (double v : col)
      s += std::fabs(v);
    na = std::max(na, s);  // one-norm of the columns: the infinity norm of B^T
  }
  return r / (na * nx + nb + 1e-300);
}

inline int32_t GetaFromSpMat(void* handle, int32_t room, int32_t j, int32_t* nz, int32_t* rows,
                             double* values) {
  const auto* a = static_cast<const SpMat*>(handle);
  const auto len = static_cast<int32_t>(a->idx[j].size());
  if (len > room) return 0;
  std::copy(a->idx[j].begin(), a->idx[j].end(), rows);
  std::copy(a->val[j].begin(), a->val[j].end(), values);
  *nz = len;
  return 1;
}

// A factor object with its work and the retry loop a caller runs on a full area.
class Harness {
 public:
  explicit Harness(int32_t n, int32_t ncol = -1, int32_t debug = 10) {
    sys_ = vlr::VLR_sysenv_make(0, debug, nullptr, nullptr, nullptr);
    if (ncol < 0) ncol = n;
    EXPECT_EQ(vlr::VLR_lu_make(sys_, n, ncol, &lu_), vlr::kLuOk);
    int32_t is = 0, rs = 0, is2 = 0, rs2 = 0;
    vlr::VLR_lu_getfactorspace(n, ncol, &is, &rs);
    vlr::VLR_lu_getsolvespace(n, &is2, &rs2);
    iwork_.assign(std::max(is, is2), 0);
    rwork_.assign(std::max({rs, rs2, 5 * n + 1}), 0.0);
    marker_.assign(std::max(n, 1), 0);
  }
  ~Harness() {
    vlr::VLR_lu_delete(&lu_);
    EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), vlr::kSysOk) << "blocks left";
  }
  Harness(const Harness&) = delete;
  Harness& operator=(const Harness&) = delete;

  LuFactor* lu() { return lu_; }
  SysEnv* sys() { return sys_; }

  // Factors through the column function, growing the area on a full-area status.
  int32_t Factor(SpMat* a, int32_t wsze = -1, int32_t* retries = nullptr) {
    if (wsze < 0) wsze = static_cast<int32_t>(std::max<int64_t>(3 * a->nnz(), 3 * a->m + 1));
    if (vlr::VLR_lu_getwsze(lu_) != wsze) {
      EXPECT_EQ(VLR_lu_newwsze(lu_, wsze), vlr::kLuOk);
    }
    vlr::VLR_lu_putgeta(lu_, a, GetaFromSpMat);
    int32_t r = 0;
    for (int32_t t = 0; t < 20; ++t) {
      vlr::VLR_lu_init(lu_);
      r = vlr::VLR_lu_factor(lu_, static_cast<int32_t>(iwork_.size()), iwork_.data(),
                             static_cast<int32_t>(rwork_.size()), rwork_.data());
      if (r != vlr::kLuWorkAreaFull && r != vlr::kLuTooManyGarCols) break;
      if (retries != nullptr) ++*retries;
      int32_t prop = 0;
      vlr::VLR_lu_getwszeproposal(lu_, &prop);
      EXPECT_GT(prop, vlr::VLR_lu_getwsze(lu_));
      EXPECT_EQ(VLR_lu_newwsze(lu_, prop), vlr::kLuOk);
    }
    return r;
  }

  std::vector<double> Ftran(std::vector<double> b) {
    std::vector<double> out(vlr::VLR_lu_getncol(lu_), 0.0);
    EXPECT_EQ(vlr::VLR_lu_ftran(lu_, b.data(), out.data()), vlr::kLuOk);
    return out;
  }
  std::vector<double> Btran(std::vector<double> b) {
    std::vector<double> out(vlr::VLR_lu_getnrow(lu_), 0.0);
    EXPECT_EQ(vlr::VLR_lu_btran(lu_, b.data(), out.data()), vlr::kLuOk);
    return out;
  }
  // Sparse solves from a dense right-hand side; the result is scattered back to dense, and the
  // work arrays are checked clean.
  std::vector<double> Ftrans(const std::vector<double>& b, double tol = 0.0) {
    const int32_t n = vlr::VLR_lu_getnrow(lu_);
    std::vector<double> x(b), out(vlr::VLR_lu_getncol(lu_), 0.0);
    std::vector<int32_t> pat, opat(n + 1);
    for (int32_t i = 0; i < n; ++i) {
      if (x[i] != 0.0) pat.push_back(i);
    }
    pat.resize(n + 1);
    int32_t nz = 0, onz = 0;
    for (int32_t i = 0; i < n; ++i)
      nz += x[i] != 0.0;
    EXPECT_EQ(vlr::VLR_lu_ftrans(lu_, nz, x.data(), pat.data(), &onz, out.data(), opat.data(),
                                 static_cast<int32_t>(iwork_.size()), iwork_.data(),
                                 static_cast<int32_t>(marker_.size()), marker_.data(), tol, tol),
              vlr::kLuOk);
    CheckClean(x);
    CheckPattern(out, opat, onz);
    return out;
  }
  // The entries at sel alone (the others may be computed too, or stay zero).
  std::vector<double> Ftransel(const std::vector<double>& b, std::vector<int32_t> sel) {
    const int32_t n = vlr::VLR_lu_getnrow(lu_);
    std::vector<double> x(b), out(vlr::VLR_lu_getncol(lu_), 0.0);
    std::vector<int32_t> pat, opat(n + 1);
    for (int32_t i = 0; i < n; ++i) {
      if (x[i] != 0.0) pat.push_back(i);
    }
    const auto nz = static_cast<int32_t>(pat.size());
    pat.resize(n + 1);
    int32_t onz = 0;
    EXPECT_EQ(vlr::VLR_lu_ftransel(lu_, nz, x.data(), pat.data(), static_cast<int32_t>(sel.size()),
                                   sel.data(), &onz, out.data(), opat.data(),
                                   static_cast<int32_t>(iwork_.size()), iwork_.data(),
                                   static_cast<int32_t>(marker_.size()), marker_.data(), 0.0, 0.0),
              vlr::kLuOk);
    CheckClean(x);
    CheckPattern(out, opat, onz);
    return out;
  }
  std::vector<double> Btrans(const std::vector<double>& b, double tol = 0.0) {
    const int32_t n = vlr::VLR_lu_getnrow(lu_);
    std::vector<double> x(b), out(n, 0.0);
    std::vector<int32_t> pat, opat(n + 1);
    for (size_t j = 0; j < x.size(); ++j) {
      if (x[j] != 0.0) pat.push_back(static_cast<int32_t>(j));
    }
    const auto nz = static_cast<int32_t>(pat.size());
    pat.resize(x.size() + 1);
    int32_t onz = 0;
    EXPECT_EQ(vlr::VLR_lu_btrans(lu_, nz, x.data(), pat.data(), &onz, out.data(), opat.data(),
                                 marker_.data(), static_cast<int32_t>(iwork_.size()), iwork_.data(),
                                 tol, tol),
              vlr::kLuOk);
    CheckClean(x);
    CheckPattern(out, opat, onz);
    return out;
  }
  // Replaces column jout by the column a (raw, row space); returns the LU status.
  int32_t Update(int32_t jout, const std::vector<int32_t>& idx, const std::vector<double>& val) {
    const int32_t n = vlr::VLR_lu_getnrow(lu_);
    std::vector<double> spike(n, 0.0);
    std::vector<int32_t> pat(n + 1);
    int32_t nz = 0;
    for (size_t k = 0; k < idx.size(); ++k) {
      spike[idx[k]] = val[k];
      pat[nz++] = idx[k];
    }
    const int32_t r = vlr::VLR_lu_supd(lu_, jout, jout, &nz, spike.data(), pat.data(),
                                       static_cast<int32_t>(iwork_.size()), iwork_.data(),
                                       static_cast<int32_t>(marker_.size()), marker_.data(),
                                       static_cast<int32_t>(rwork_.size()), rwork_.data());
    EXPECT_EQ(nz, 0);
    CheckClean(spike);
    return r;
  }
  void CheckClean(const std::vector<double>& x) {
    for (size_t k = 0; k < x.size(); ++k)
      ASSERT_EQ(x[k], 0.0) << "input not consumed at " << k;
    for (size_t k = 0; k < marker_.size(); ++k)
      ASSERT_EQ(marker_[k], 0) << "marker dirty at " << k;
  }
  static void CheckPattern(const std::vector<double>& out, const std::vector<int32_t>& opat,
                           int32_t onz) {
    std::vector<char> seen(out.size(), 0);
    for (int32_t k = 0; k < onz; ++k) {
      ASSERT_EQ(seen[opat[k]], 0) << "index twice in the pattern";
      seen[opat[k]] = 1;
    }
    for (size_t j = 0; j < out.size(); ++j) {
      if (out[j] != 0.0) {
        ASSERT_TRUE(seen[j]) << "non-zero outside the pattern at " << j;
      }
    }
  }

  std::vector<int32_t> iwork_;
  std::vector<double> rwork_;
  std::vector<int32_t> marker_;

 private:
  SysEnv* sys_ = nullptr;
  LuFactor* lu_ = nullptr;
};

inline std::vector<double> RandVec(int32_t n, std::mt19937& rng, double density = 1.0) {
  std::vector<double> b(n, 0.0);
  std::bernoulli_distribution keep(density);
  for (int32_t i = 0; i < n; ++i) {
    if (keep(rng)) b[i] = RandVal(rng);
  }
  return b;
}

}  // namespace lutest
