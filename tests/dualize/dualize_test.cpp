// tests/dualize/dualize_test.cpp: the dual's size, its optimal basis mapped back to an optimal
// basis of the primal, start keys mapped forward, and the certificates of infeasible and
// unbounded problems, all against a dense reference simplex.
// SPDX-License-Identifier: Apache-2.0
#include "dualize/dualize.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "failalloc.h"
#include "velor.h"

namespace {

using vlr::SimLp;
using vlr::SimSol;

constexpr double kInf = 1e30;
constexpr double kTol = 1e-7;
enum : int32_t { kLo = 0, kUp = 1, kFx = 2, kFr = 3, kRa = 4 };

struct Lp {
  int32_t m = 0, n = 0;
  std::vector<int64_t> abeg{0};
  std::vector<int32_t> aidx, bk;
  std::vector<double> aval, c, bl, bu;
  double cfix = 0.0;
  SimLp view() const {
    return {m,        n,    abeg.data(), aidx.data(), aval.data(),
            c.data(), cfix, bk.data(),   bl.data(),   bu.data()};
  }
};

double Lower(const SimLp& lp, int32_t k) {
  const int32_t key = lp.bk[k];
  return key == kLo || key == kFx || key == kRa ? lp.bl[k] : -kInf;
}
double Upper(const SimLp& lp, int32_t k) {
  const int32_t key = lp.bk[k];
  return key == kUp || key == kFx || key == kRa ? lp.bu[k] : kInf;
}

// Column k of [-I A], dense.
std::vector<double> Column(const SimLp& lp, int32_t k) {
  std::vector<double> a(lp.m, 0.0);
  if (k < lp.m) {
    a[k] = -1.0;
  } else {
    for (int64_t p = lp.abeg[k - lp.m]; p < lp.abeg[k - lp.m + 1]; ++p)
      a[lp.aidx[p]] += lp.aval[p];
  }
  return a;
}

// Inverse by Gauss-Jordan with partial pivoting; false when singular.
bool Invert(std::vector<std::vector<double>> b, std::vector<std::vector<double>>* inv) {
  const size_t m = b.size();
  inv->assign(m, std::vector<double>(m, 0.0));
  for (size_t i = 0; i < m; ++i)
    (*inv)[i][i] = 1.0;
  for (size_t p = 0; p < m; ++p) {
    size_t best = p;
    for (size_t i = p + 1; i < m; ++i)
      if (std::fabs(b[i][p]) > std::fabs(b[best][p])) best = i;
    if (std::fabs(b[best][p]) < 1e-9) return false;
    std::swap(b[p], b[best]);
    std::swap((*inv)[p], (*inv)[best]);
    const double piv = b[p][p];
    for (size_t k = 0; k < m; ++k)
      b[p][k] /= piv, (*inv)[p][k] /= piv;
    for (size_t i = 0; i < m; ++i) {
      const double f = b[i][p];
      if (i == p || f == 0.0) continue;
      for (size_t k = 0; k < m; ++k)
        b[i][k] -= f * b[p][k], (*inv)[i][k] -= f * (*inv)[p][k];
    }
  }
  return true;
}

struct Sol {
  std::vector<int32_t> sk;
  std::vector<double> x, y, d;
  Sol(int32_t m, int32_t n) : sk(m + n, VLR_SK_UNK), x(m + n, 0.0), y(m, 0.0), d(m + n, 0.0) {}
  SimSol view() { return {sk.data(), x.data(), y.data(), d.data()}; }
};

enum class Status { kOptimal, kInfeasible, kUnbounded };

// The reference: a dense bounded-variable primal simplex with Bland's rule, phase one on
// artificials. Its result holds an optimal basic solution, a Farkas vector (y, d) or a ray (x).
class Reference {
 public:
  explicit Reference(const SimLp& lp) : lp_(lp), m_(lp.m), nv_(lp.m + lp.n) {
    for (int32_t k = 0; k < nv_; ++k) {
      col_.push_back(Column(lp, k));
      lo_.push_back(Lower(lp, k)), hi_.push_back(Upper(lp, k));
      v_.push_back(lo_[k] > -kInf ? lo_[k] : hi_[k] < kInf ? hi_[k] : 0.0);
    }
    std::vector<double> r(m_, 0.0);
    for (int32_t k = 0; k < nv_; ++k)
      for (int32_t i = 0; i < m_; ++i)
        r[i] -= col_[k][i] * v_[k];
    for (int32_t i = 0; i < m_; ++i) {  // artificial i: sign(r) e(i), value |r|
      col_.push_back(std::vector<double>(m_, 0.0));
      col_.back()[i] = r[i] >= 0.0 ? 1.0 : -1.0;
      lo_.push_back(0.0), hi_.push_back(kInf), v_.push_back(std::fabs(r[i]));
      basis_.push_back(nv_ + i);
    }
  }

  Status Solve(Sol* out, double* obj) {
    std::vector<double> cost(nv_ + m_, 0.0), ray;
    std::fill(cost.begin() + nv_, cost.end(), 1.0);
    Iterate(cost, true, &ray);
    double infeas = 0.0;
    for (int32_t p = 0; p < m_; ++p)
      if (basis_[p] >= nv_) infeas += xb_[p];
    if (infeas > 1e-6) {  // the phase-one duals are a Farkas vector
      Duals(cost, out);
      return Status::kInfeasible;
    }
    for (int32_t p = 0; p < m_; ++p) {  // pivot the artificials out of the basis
      if (basis_[p] < nv_) continue;
      for (int32_t k = 0; k < nv_; ++k) {
        if (std::find(basis_.begin(), basis_.end(), k) != basis_.end()) continue;
        if (std::fabs(Ftran(k)[p]) > 1e-9) {
          basis_[p] = k;
          Factor();
          break;
        }
      }
    }
    for (int32_t k = nv_; k < nv_ + m_; ++k)
      hi_[k] = 0.0, v_[k] = 0.0;
    for (int32_t j = 0; j < lp_.n; ++j)
      cost[m_ + j] = lp_.c[j];
    std::fill(cost.begin() + nv_, cost.end(), 0.0);
    if (!Iterate(cost, false, &ray)) {
      out->x.assign(ray.begin(), ray.begin() + nv_);
      return Status::kUnbounded;
    }
    Report(cost, out, obj);
    return Status::kOptimal;
  }

  // Values and duals of the basis given by the keys of *sol; false when it is singular.
  bool Evaluate(Sol* sol, double* obj) {
    basis_.clear();
    std::fill(v_.begin() + nv_, v_.end(), 0.0);
    for (int32_t k = 0; k < nv_; ++k) {
      const int32_t sk = sol->sk[k];
      if (sk == VLR_SK_BAS) basis_.push_back(k);
      v_[k] = sk == VLR_SK_UPR ? hi_[k] : sk == VLR_SK_LOW || sk == VLR_SK_FIX ? lo_[k] : 0.0;
    }
    if (static_cast<int32_t>(basis_.size()) != m_ || !Factor()) return false;
    std::vector<double> cost(nv_, 0.0);
    for (int32_t j = 0; j < lp_.n; ++j)
      cost[m_ + j] = lp_.c[j];
    Report(cost, sol, obj);
    return true;
  }

 private:
  bool Factor() {
    std::vector<std::vector<double>> b(m_, std::vector<double>(m_));
    for (int32_t p = 0; p < m_; ++p)
      for (int32_t i = 0; i < m_; ++i)
        b[i][p] = col_[basis_[p]][i];
    if (!Invert(b, &binv_)) return false;
    std::vector<double> r(m_, 0.0);
    for (int32_t k = 0; k < static_cast<int32_t>(col_.size()); ++k)
      if (std::find(basis_.begin(), basis_.end(), k) == basis_.end())
        for (int32_t i = 0; i < m_; ++i)
          r[i] -= col_[k][i] * v_[k];
    xb_.assign(m_, 0.0);
    for (int32_t p = 0; p < m_; ++p)
      for (int32_t i = 0; i < m_; ++i)
        xb_[p] += binv_[p][i] * r[i];
    return true;
  }
  std::vector<double> Ftran(int32_t k) const {
    std::vector<double> a(m_, 0.0);
    for (int32_t p = 0; p < m_; ++p)
      for (int32_t i = 0; i < m_; ++i)
        a[p] += binv_[p][i] * col_[k][i];
    return a;
  }
  std::vector<double> Btran(const std::vector<double>& cost) const {
    std::vector<double> y(m_, 0.0);
    for (int32_t p = 0; p < m_; ++p)
      for (int32_t i = 0; i < m_; ++i)
        y[i] += binv_[p][i] * cost[basis_[p]];
    return y;
  }
  double Reduced(const std::vector<double>& cost, const std::vector<double>& y, int32_t k) const {
    double d = cost[k];
    for (int32_t i = 0; i < m_; ++i)
      d -= col_[k][i] * y[i];
    return d;
  }
  void Duals(const std::vector<double>& cost, Sol* out) const {
    out->y = Btran(cost);
    for (int32_t k = 0; k < nv_; ++k)
      out->d[k] = Reduced(cost, out->y, k);
  }
  void Report(const std::vector<double>& cost, Sol* out, double* obj) {
    Duals(cost, out);
    out->x.assign(v_.begin(), v_.begin() + nv_);
    for (int32_t k = 0; k < nv_; ++k) {
      const bool fixed = lo_[k] == hi_[k];
      out->sk[k] = fixed && v_[k] == lo_[k] ? VLR_SK_FIX
                   : v_[k] == lo_[k]        ? VLR_SK_LOW
                   : v_[k] == hi_[k]        ? VLR_SK_UPR
                                            : VLR_SK_SUPBAS;
    }
    for (int32_t p = 0; p < m_; ++p)
      out->sk[basis_[p]] = VLR_SK_BAS, out->x[basis_[p]] = xb_[p], out->d[basis_[p]] = 0.0;
    *obj = lp_.cfix;
    for (int32_t j = 0; j < lp_.n; ++j)
      *obj += lp_.c[j] * out->x[m_ + j];
  }
  // Runs to an optimum (true) or an unbounded direction (false, *ray).
  bool Iterate(const std::vector<double>& cost, bool artificials, std::vector<double>* ray) {
    const int32_t nall = static_cast<int32_t>(col_.size());
    for (int32_t iter = 0; iter < 5000; ++iter) {
      Factor();
      const std::vector<double> y = Btran(cost);
      int32_t q = -1;
      double dir = 0.0;
      for (int32_t k = 0; k < nall && q < 0; ++k) {
        if (std::find(basis_.begin(), basis_.end(), k) != basis_.end()) continue;
        if (lo_[k] == hi_[k] || (k >= nv_ && !artificials)) continue;
        const double d = Reduced(cost, y, k);
        if (d < -1e-9 && v_[k] < hi_[k]) q = k, dir = 1.0;
        if (d > 1e-9 && v_[k] > lo_[k]) q = k, dir = -1.0;
      }
      if (q < 0) return true;
      const std::vector<double> alpha = Ftran(q);
      int32_t leave = -1;
      double step = kInf;
      for (int32_t p = 0; p < m_; ++p) {
        const double delta = -dir * alpha[p];
        const int32_t b = basis_[p];
        double t;
        if (delta < -1e-9 && lo_[b] > -kInf) {
          t = (xb_[p] - lo_[b]) / -delta;
        } else if (delta > 1e-9 && hi_[b] < kInf) {
          t = (hi_[b] - xb_[p]) / delta;
        } else {
          continue;
        }
        t = std::max(t, 0.0);
        if (t < step - 1e-12 || (t <= step + 1e-12 && b < basis_[leave])) leave = p, step = t;
      }
      const double range = hi_[q] < kInf && lo_[q] > -kInf ? hi_[q] - lo_[q] : kInf;
      if (leave < 0 && range >= kInf) {
        ray->assign(nall, 0.0);
        (*ray)[q] = dir;
        for (int32_t p = 0; p < m_; ++p)
          (*ray)[basis_[p]] = -dir * alpha[p];
        return false;
      }
      if (range <= step) {
        v_[q] = dir > 0 ? hi_[q] : lo_[q];
        continue;
      }
      const int32_t b = basis_[leave];
      v_[b] = -dir * alpha[leave] < 0 ? lo_[b] : hi_[b];
      v_[q] += dir * step;
      basis_[leave] = q;
    }
    ADD_FAILURE() << "reference simplex did not finish";
    return true;
  }

  const SimLp& lp_;
  int32_t m_, nv_;
  std::vector<std::vector<double>> col_, binv_;
  std::vector<double> lo_, hi_, v_, xb_;
  std::vector<int32_t> basis_;
};

Status Solve(const SimLp& lp, Sol* sol, double* obj) {
  return Reference(lp).Solve(sol, obj);
}

std::vector<double> Activity(const SimLp& lp, const std::vector<double>& x) {
  std::vector<double> r(lp.m, 0.0);
  for (int32_t j = 0; j < lp.n; ++j)
    for (int64_t p = lp.abeg[j]; p < lp.abeg[j + 1]; ++p)
      r[lp.aidx[p]] += lp.aval[p] * x[lp.m + j];
  return r;
}

// d(k) = cost(k) - col(k)'y, costs taken as 0 unless withcost.
std::vector<double> Reduced(const SimLp& lp, const std::vector<double>& y, bool withcost) {
  std::vector<double> d(lp.m + lp.n);
  for (int32_t k = 0; k < lp.m + lp.n; ++k) {
    const std::vector<double> a = Column(lp, k);
    d[k] = withcost && k >= lp.m ? lp.c[k - lp.m] : 0.0;
    for (int32_t i = 0; i < lp.m; ++i)
      d[k] -= a[i] * y[i];
  }
  return d;
}

// An optimal basic solution: m basic keys on a nonsingular basis, keys that the bounds allow,
// values on the bounds the keys name, A x = xc, reduced costs of the right signs, and the
// objective.
void ExpectOptimalBasis(const SimLp& lp, const Sol& s, double obj) {
  const int32_t m = lp.m, nv = lp.m + lp.n;
  std::vector<int32_t> basis;
  for (int32_t k = 0; k < nv; ++k)
    if (s.sk[k] == VLR_SK_BAS) basis.push_back(k);
  ASSERT_EQ(static_cast<int32_t>(basis.size()), m);
  std::vector<std::vector<double>> b(m, std::vector<double>(m)), inv;
  for (int32_t p = 0; p < m; ++p) {
    const std::vector<double> a = Column(lp, basis[p]);
    for (int32_t i = 0; i < m; ++i)
      b[i][p] = a[i];
  }
  EXPECT_TRUE(Invert(b, &inv)) << "singular basis";
  const std::vector<double> d = Reduced(lp, s.y, true);
  for (int32_t k = 0; k < nv; ++k) {
    const double lo = Lower(lp, k), hi = Upper(lp, k), x = s.x[k];
    EXPECT_NEAR(s.d[k], d[k], kTol) << "k " << k;
    switch (s.sk[k]) {
      case VLR_SK_BAS:
        EXPECT_GE(x, lo - kTol) << "k " << k;
        EXPECT_LE(x, hi + kTol) << "k " << k;
        EXPECT_NEAR(d[k], 0.0, kTol) << "k " << k;
        break;
      case VLR_SK_LOW:
        EXPECT_EQ(x, lo) << "k " << k;
        EXPECT_GE(d[k], -kTol) << "k " << k;
        break;
      case VLR_SK_UPR:
        EXPECT_EQ(x, hi) << "k " << k;
        EXPECT_LE(d[k], kTol) << "k " << k;
        break;
      case VLR_SK_FIX:
        EXPECT_EQ(lp.bk[k], kFx) << "k " << k;
        EXPECT_EQ(x, lo) << "k " << k;
        break;
      case VLR_SK_SUPBAS:
        EXPECT_EQ(lp.bk[k], kFr) << "k " << k;
        EXPECT_NEAR(d[k], 0.0, kTol) << "k " << k;
        break;
      default:
        ADD_FAILURE() << "key " << s.sk[k] << " at " << k;
    }
  }
  const std::vector<double> act = Activity(lp, s.x);
  double val = lp.cfix;
  for (int32_t i = 0; i < m; ++i)
    EXPECT_NEAR(act[i], s.x[i], kTol) << "row " << i;
  for (int32_t j = 0; j < lp.n; ++j)
    val += lp.c[j] * s.x[m + j];
  EXPECT_NEAR(val, obj, 1e-6);
}

// (y, d) proves the primal infeasible: d = -[-I A]'y and the bound sum is positive.
void ExpectFarkas(const SimLp& lp, const Sol& s) {
  const std::vector<double> d = Reduced(lp, s.y, false);
  double scale = 1.0, sum = 0.0;
  for (double v : s.y)
    scale = std::max(scale, std::fabs(v));
  for (int32_t k = 0; k < lp.m + lp.n; ++k) {
    EXPECT_NEAR(s.d[k], d[k], kTol * scale) << "k " << k;
    const double lo = Lower(lp, k), hi = Upper(lp, k);
    if (d[k] > kTol * scale) {
      ASSERT_GT(lo, -kInf) << "k " << k;
      sum += lo * d[k];
    } else if (d[k] < -kTol * scale) {
      ASSERT_LT(hi, kInf) << "k " << k;
      sum += hi * d[k];
    }
  }
  EXPECT_GT(sum, 1e-6 * scale);
}

// x is a ray of the primal: A x = xc in the recession cone of the bounds with c'x < 0.
void ExpectRay(const SimLp& lp, const Sol& s) {
  double scale = 1.0, cx = 0.0;
  for (double v : s.x)
    scale = std::max(scale, std::fabs(v));
  const std::vector<double> act = Activity(lp, s.x);
  for (int32_t i = 0; i < lp.m; ++i)
    EXPECT_NEAR(act[i], s.x[i], kTol * scale) << "row " << i;
  for (int32_t k = 0; k < lp.m + lp.n; ++k) {
    if (Lower(lp, k) > -kInf) {
      EXPECT_GE(s.x[k], -kTol * scale) << "k " << k;
    }
    if (Upper(lp, k) < kInf) {
      EXPECT_LE(s.x[k], kTol * scale) << "k " << k;
    }
  }
  for (int32_t j = 0; j < lp.n; ++j)
    cx += lp.c[j] * s.x[lp.m + j];
  EXPECT_LT(cx, -1e-6 * scale);
}

// Small random problems: every key on rows and columns, many singleton and empty columns,
// unused bound sides holding junk or infinity.
Lp RandomLp(std::mt19937& rng) {
  auto uni = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  Lp lp;
  lp.m = uni(0, 4), lp.n = uni(0, 6);
  lp.cfix = uni(-2, 2);
  for (int32_t j = 0; j < lp.n; ++j) {
    const int shape = uni(0, 9);  // 0: empty, 1-3: singleton, else about half full
    for (int32_t i = 0; i < lp.m; ++i) {
      const bool in = shape == 0 ? false : shape <= 3 ? i == 0 : uni(0, 1) == 1;
      if (!in) continue;
      lp.aidx.push_back(shape <= 3 ? uni(0, lp.m - 1) : i);
      lp.aval.push_back(uni(0, 1) ? uni(1, 3) : -uni(1, 3));
    }
    lp.abeg.push_back(static_cast<int64_t>(lp.aidx.size()));
    lp.c.push_back(uni(-3, 3));
  }
  for (int32_t k = 0; k < lp.m + lp.n; ++k) {
    const int32_t key = uni(0, 4);
    const double lo = uni(-4, 2), hi = lo + uni(1, 4);
    const double junk = uni(0, 1) ? kInf : 7.0;
    lp.bk.push_back(key);
    lp.bl.push_back(key == kLo || key == kFx || key == kRa ? lo : -junk);
    lp.bu.push_back(key == kUp || key == kRa ? hi : key == kFx ? lo : junk);
  }
  return lp;
}

struct Tally {
  int optimal = 0, infeasible = 0, unbounded = 0, dualstart = 0;
};

// Sizes, dual solve, map back, certificates and the keys mapped both ways for one problem.
void CheckProblem(vlr::SysEnv* sys, const Lp& plp, int32_t keep, Tally* tally) {
  const SimLp lp = plp.view();
  Sol psol(lp.m, lp.n);
  double pobj = 0.0;
  const Status pst = Solve(lp, &psol, &pobj);

  int32_t md = -1, nd = -1, nfree = -1, nfixed = -1;
  int64_t nz = -1;
  vlr::VLR_dualize_getdualsize(lp, keep, 0, &md, &nd, &nz, &nfree, &nfixed);
  vlr::DualizeRec* rec = nullptr;
  SimLp dual;
  ASSERT_EQ(vlr::VLR_dualize_formdual(sys, lp, keep, &rec, &dual), 0);
  EXPECT_EQ(dual.m, md);
  EXPECT_EQ(dual.n, nd);
  EXPECT_EQ(dual.abeg[nd], nz);
  EXPECT_EQ(nfree, std::count(plp.bk.begin() + lp.m, plp.bk.end(), kFr));
  EXPECT_EQ(nfixed, std::count(plp.bk.begin() + lp.m, plp.bk.end(), kFx));
  for (int32_t k = 0; k < nd; ++k)
    for (int64_t p = dual.abeg[k]; p < dual.abeg[k + 1]; ++p) {
      ASSERT_TRUE(dual.aidx[p] >= 0 && dual.aidx[p] < md);
      if (p > dual.abeg[k]) {
        ASSERT_LT(dual.aidx[p - 1], dual.aidx[p]);
      }
    }

  Sol dsol(md, nd), back(lp.m, lp.n);
  double dobj = 0.0;
  const Status dst = Solve(dual, &dsol, &dobj);
  SimSol bv = back.view();
  switch (pst) {
    case Status::kOptimal: {
      ++tally->optimal;
      ExpectOptimalBasis(lp, psol, pobj);
      ASSERT_EQ(dst, Status::kOptimal);
      EXPECT_NEAR(dobj, -pobj, 1e-6);
      ASSERT_EQ(vlr::VLR_dualize_getprimal(rec, lp, vlr::kDualizeBasic, dsol.view(), &bv), 0);
      ExpectOptimalBasis(lp, back, pobj);
      // Back again: the keys of the mapped basis give the dual's optimal keys.
      Sol again(md, nd);
      SimSol av = again.view();
      ASSERT_EQ(vlr::VLR_dualize_getdual(rec, lp, back.view(), &av), 0);
      EXPECT_EQ(again.sk, dsol.sk);
      // The primal's own optimal basis gives a dual start with m' basic keys; with every
      // variable kept it is an optimal basis of the dual.
      Sol start(md, nd);
      SimSol sv = start.view();
      ASSERT_EQ(vlr::VLR_dualize_getdual(rec, lp, psol.view(), &sv), 0);
      EXPECT_EQ(std::count(start.sk.begin(), start.sk.end(), VLR_SK_BAS), md);
      double sobj = 0.0;
      if (keep != 0) {
        ASSERT_TRUE(Reference(dual).Evaluate(&start, &sobj));
        ExpectOptimalBasis(dual, start, -pobj);
        ++tally->dualstart;
      }
      break;
    }
    case Status::kInfeasible:
      ++tally->infeasible;
      ExpectFarkas(lp, psol);
      if (dst == Status::kUnbounded) {
        ASSERT_EQ(vlr::VLR_dualize_getprimal(rec, lp, vlr::kDualizePrimalRay, dsol.view(), &bv), 0);
        ExpectFarkas(lp, back);
      } else {
        EXPECT_EQ(dst, Status::kInfeasible);
      }
      break;
    case Status::kUnbounded:
      ++tally->unbounded;
      ExpectRay(lp, psol);
      ASSERT_EQ(dst, Status::kInfeasible);
      ASSERT_EQ(vlr::VLR_dualize_getprimal(rec, lp, vlr::kDualizeDualRay, dsol.view(), &bv), 0);
      ExpectRay(lp, back);
      break;
  }
  vlr::VLR_dualize_delete(&rec);
  EXPECT_EQ(rec, nullptr);
}

class DualizeTest : public ::testing::TestWithParam<int32_t> {
 protected:
  void SetUp() override { sys_ = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr); }
  void TearDown() override { EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), vlr::kSysOk); }
  vlr::SysEnv* sys_ = nullptr;
};

TEST_P(DualizeTest, RandomProblemsSolveThroughTheDual) {
  std::mt19937 rng(20240 + GetParam());
  Tally tally;
  for (int t = 0; t < 4000 && !HasFatalFailure(); ++t) {
    const Lp lp = RandomLp(rng);
    SCOPED_TRACE(testing::Message() << "problem " << t);
    CheckProblem(sys_, lp, GetParam(), &tally);
    if (HasFailure()) break;
  }
  EXPECT_GT(tally.optimal, 500);
  EXPECT_GT(tally.infeasible, 200);
  EXPECT_GT(tally.unbounded, 200);
  if (GetParam() != 0) {
    EXPECT_EQ(tally.dualstart, tally.optimal);
  }
}

INSTANTIATE_TEST_SUITE_P(FoldOrKeep, DualizeTest, ::testing::Values(0, 1));

Lp MakeLp(int32_t m, std::vector<std::vector<std::pair<int32_t, double>>> cols,
          std::vector<double> c, std::vector<int32_t> bk, std::vector<double> bl,
          std::vector<double> bu) {
  Lp lp;
  lp.m = m, lp.n = static_cast<int32_t>(cols.size());
  for (const auto& col : cols) {
    for (auto [i, a] : col)
      lp.aidx.push_back(i), lp.aval.push_back(a);
    lp.abeg.push_back(static_cast<int64_t>(lp.aidx.size()));
  }
  lp.c = c, lp.bk = bk, lp.bl = bl, lp.bu = bu;
  return lp;
}

TEST_F(DualizeTest, SizesOfRowlessAndSingletonProblems) {
  // No rows: a dual row for every column that is not fixed, a slack for the ranged one.
  const Lp norows = MakeLp(0, {{}, {}, {}, {}, {}}, {1, -1, 2, 0, 1}, {kLo, kUp, kFx, kFr, kRa},
                           {0, -kInf, 1, -kInf, -1}, {kInf, 3, 1, kInf, 2});
  int32_t md, nd, nfree, nfixed;
  int64_t nz;
  vlr::VLR_dualize_getdualsize(norows.view(), 0, 0, &md, &nd, &nz, &nfree, &nfixed);
  EXPECT_EQ(md, 4);
  EXPECT_EQ(nd, 1);
  EXPECT_EQ(nz, 1);
  EXPECT_EQ(nfree, 1);
  EXPECT_EQ(nfixed, 1);
  vlr::VLR_dualize_getdualsize(norows.view(), 1, 0, &md, &nd, &nz, &nfree, &nfixed);
  EXPECT_EQ(md, 5);
  // A singleton column of key LO in a row of key LO folds into the bound of the row's dual
  // variable when its entry is negative (it bounds y from below, as the row does) and keeps a
  // dual row when it is positive.
  for (double a : {-2.0, 2.0}) {
    const Lp lp =
        MakeLp(1, {{{0, a}}, {{0, 1.0}}}, {3, 1}, {kLo, kLo, kLo}, {1, 0, 0}, {kInf, kInf, kInf});
    vlr::VLR_dualize_getdualsize(lp.view(), 0, 0, &md, &nd, &nz, &nfree, &nfixed);
    EXPECT_EQ(md, a < 0 ? 1 : 2);
    EXPECT_EQ(nd, 1);
    Tally tally;
    CheckProblem(sys_, lp, 0, &tally);
  }
}

TEST_F(DualizeTest, FoldedSingletonsWithTiedBoundsMapToOneBasicMember) {
  // Three singletons bound y(0) from below at 1 (two of them) and at 0 (the row): the optimum
  // puts y(0) on 1, and exactly one of the tied columns turns basic.
  const Lp lp = MakeLp(1, {{{0, -1.0}}, {{0, -2.0}}, {{0, 1.0}}}, {-1, -2, 1}, {kLo, kLo, kLo, kLo},
                       {2, 0, 0, 0}, {kInf, kInf, kInf, kInf});
  Tally tally;
  CheckProblem(sys_, lp, 0, &tally);
  EXPECT_EQ(tally.optimal, 1);
}

using vlrtest::FailAlloc;
using vlrtest::FailFree;
using vlrtest::FailMalloc;

TEST(DualizeMemfail, EveryFailedAllocationLeavesNothing) {
  FailAlloc fa;
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 10, &fa, FailMalloc, FailFree);
  ASSERT_NE(sys, nullptr);
  std::mt19937 rng(7);
  Lp lp;
  while (lp.m < 3 || lp.n < 4)
    lp = RandomLp(rng);
  const int64_t base = vlr::VLR_sysenv_numblocks(sys);  // the environment's own
  int64_t k = 0;
  for (;; ++k) {
    fa.calls = 0, fa.failat = k;
    vlr::DualizeRec* rec = nullptr;
    SimLp dual;
    const int32_t rc = vlr::VLR_dualize_formdual(sys, lp.view(), 0, &rec, &dual);
    fa.failat = -1;
    if (rc == 0) {
      vlr::VLR_dualize_delete(&rec);
      break;
    }
    EXPECT_EQ(rc, 1);
    EXPECT_EQ(rec, nullptr);
    EXPECT_EQ(vlr::VLR_sysenv_numblocks(sys), base);
  }
  EXPECT_GT(k, 10);
  EXPECT_EQ(vlr::VLR_sysenv_numblocks(sys), base);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysOk);
}

}  // namespace
