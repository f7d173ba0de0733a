// tests/lu/luupd_test.cpp: column replacements on a factored basis: accuracy over hundreds of
// updates, refusals that keep the old factor, the eta limit and the refactorisation rule.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>

#include "lu/lutestutil.h"

namespace {

using lutest::DenseLu;
using lutest::Harness;
using lutest::RelErr;
using lutest::Shape;
using lutest::SpMat;

// A random sparse entering column with a few entries.
void RandomColumn(int32_t n, int32_t nz, std::mt19937& rng, std::vector<int32_t>* idx,
                  std::vector<double>* val) {
  idx->clear();
  val->clear();
  std::vector<char> used(n, 0);
  for (int32_t t = 0; t < nz; ++t) {
    const auto i = static_cast<int32_t>(rng() % n);
    if (used[i]) continue;
    used[i] = 1;
    idx->push_back(i);
    val->push_back(lutest::RandVal(rng));
  }
}

// Chooses the leaving position the way a stable ratio test would: among the positions where the
// transformed entering column is at least half its largest entry, at random.
int32_t ChooseLeaving(Harness* h, int32_t n, const std::vector<int32_t>& idx,
                      const std::vector<double>& val, std::mt19937& rng) {
  std::vector<double> b(n, 0.0);
  for (size_t k = 0; k < idx.size(); ++k)
    b[idx[k]] = val[k];
  const std::vector<double> alpha = h->Ftran(b);
  double amax = 0.0;
  for (double v : alpha)
    amax = std::max(amax, std::fabs(v));
  std::vector<int32_t> cand;
  for (int32_t j = 0; j < n; ++j) {
    if (std::fabs(alpha[j]) >= 0.5 * amax) cand.push_back(j);
  }
  return cand[rng() % cand.size()];
}

// Hundreds of replacements, each checked by the dense and the sparse solves of both kinds; a
// dense reference of the current basis every few updates, residuals in between.
TEST(Luupd, HundredsOfReplacementsStayAccurate) {
  for (int32_t method : {1, 2}) {
    std::mt19937 rng(101 + method);
    const int32_t n = 120;
    SpMat b = lutest::MakeBasis(n, 3, Shape::kRandom, rng);
    Harness h(n);
    vlr::VLR_lu_putpivotmethod(h.lu(), method);
    vlr::VLR_lu_puttrh(h.lu(), 1, 100000);  // never ask for a refactorisation
    ASSERT_EQ(h.Factor(&b, 40 * static_cast<int32_t>(b.nnz())), vlr::kLuOk);
    int32_t done = 0;
    std::vector<int32_t> idx;
    std::vector<double> val;
    for (int32_t it = 0; it < 400 && done < 2 * n; ++it) {
      RandomColumn(n, 1 + static_cast<int32_t>(rng() % 6), rng, &idx, &val);
      const int32_t jout = ChooseLeaving(&h, n, idx, val, rng);
      const int32_t r = h.Update(jout, idx, val);
      ASSERT_TRUE(r == vlr::kLuOk || r == vlr::kLuUpdateRefused)
          << "status " << r << " after " << done;
      if (r != vlr::kLuOk) continue;
      ++done;
      b.idx[jout] = idx;
      b.val[jout] = val;
      ASSERT_EQ(vlr::VLR_lu_getnumupds(h.lu()), done);
      std::vector<double> rhs = lutest::RandVec(n, rng, done % 2 == 0 ? 1.0 : 0.03);
      if (done % 20 == 0 || done == 2 * n) {
        VLR_lu_chku(h.lu());
        DenseLu ref(b);
        const std::vector<double> x = ref.solve(rhs), y = ref.tsolve(rhs);
        EXPECT_LT(RelErr(h.Ftran(rhs), x), 1e-9) << "update " << done;
        EXPECT_LT(RelErr(h.Ftrans(rhs), x), 1e-9) << "update " << done;
        EXPECT_LT(RelErr(h.Btran(rhs), y), 1e-9) << "update " << done;
        EXPECT_LT(RelErr(h.Btrans(rhs), y), 1e-9) << "update " << done;
        // The solve for a few entries (and, past a quarter of the rows, the whole solve).
        std::vector<int32_t> sel;
        for (int32_t j = 0; j < n; ++j)
          if (rng() % (done % 40 == 0 ? 2 : 25) == 0) sel.push_back(j);
        const std::vector<double> part = h.Ftransel(rhs, sel);
        std::vector<double> mine(n, 0.0), theirs(n, 0.0);
        for (int32_t j : sel) {
          mine[j] = part[j];
          theirs[j] = x[j];
        }
        EXPECT_LT(RelErr(mine, theirs), 1e-9) << "update " << done;
      } else {
        // Backward errors of B x = rhs and B^T y = rhs.
        const std::vector<double> x = h.Ftrans(rhs), y = h.Btrans(rhs);
        EXPECT_LT(lutest::Resid(b, x, rhs, false), 1e-9) << "update " << done;
        EXPECT_LT(lutest::Resid(b, y, rhs, true), 1e-9) << "update " << done;
      }
    }
    EXPECT_EQ(done, 2 * n) << "too many refusals";
    // After mlu = 2 nrow updates the next one is impossible and leaves the factor as it was.
    RandomColumn(n, 3, rng, &idx, &val);
    idx.push_back(n - 1);
    val.push_back(100.0);
    const int32_t jout = ChooseLeaving(&h, n, idx, val, rng);
    EXPECT_EQ(h.Update(jout, idx, val), vlr::kLuUpdateNoRoom);
    EXPECT_EQ(vlr::VLR_lu_isfac(h.lu()), 1);
    DenseLu ref(b);
    std::vector<double> rhs = lutest::RandVec(n, rng);
    EXPECT_LT(RelErr(h.Ftran(rhs), ref.solve(rhs)), 1e-9);
  }
}

// On a sparse triangular basis the solve for a few entries of B^-1 b touches few rows of U, and
// agrees with the whole solve there, before and after replacements.
TEST(Luupd, SelectedEntriesAgreeWithTheWholeSolve) {
  std::mt19937 rng(7);
  const int32_t n = 400;
  SpMat b = lutest::MakeBasis(n, 1, Shape::kPermutedTriangular, rng);
  Harness h(n);
  vlr::VLR_lu_puttrh(h.lu(), 1, 100000);
  ASSERT_EQ(h.Factor(&b, 40 * static_cast<int32_t>(b.nnz())), vlr::kLuOk);
  int32_t small = 0;
  std::vector<int32_t> idx;
  std::vector<double> val;
  for (int32_t it = 0; it < 60; ++it) {
    if (it % 2 == 1) {
      RandomColumn(n, 2, rng, &idx, &val);
      const int32_t jout = ChooseLeaving(&h, n, idx, val, rng);
      if (h.Update(jout, idx, val) != vlr::kLuOk) continue;
      b.idx[jout] = idx;
      b.val[jout] = val;
    }
    const std::vector<double> rhs = lutest::RandVec(n, rng, 0.01);
    std::vector<int32_t> sel;
    for (int32_t t = 0; t < 4; ++t)
      sel.push_back(static_cast<int32_t>(rng() % n));
    std::sort(sel.begin(), sel.end());
    sel.erase(std::unique(sel.begin(), sel.end()), sel.end());
    const std::vector<double> part = h.Ftransel(rhs, sel), full = h.Ftrans(rhs);
    int32_t computed = 0;
    for (double v : part)
      computed += v != 0.0 ? 1 : 0;
    small += computed < n / 4 ? 1 : 0;
    for (int32_t j : sel)
      EXPECT_NEAR(part[j], full[j], 1e-12 * (1.0 + std::fabs(full[j]))) << "solve " << it;
  }
  EXPECT_GT(small, 30);  // the selected rows, not the whole solve, in most of them
}

// A spike that makes the basis singular is refused and the factor still solves the old basis.
TEST(Luupd, SingularReplacementIsRefusedAndFactorKept) {
  std::mt19937 rng(9);
  const int32_t n = 40;
  SpMat b = lutest::MakeBasis(n, 3, Shape::kRandom, rng);
  Harness h(n);
  ASSERT_EQ(h.Factor(&b), vlr::kLuOk);
  // Column 5 replaced by a copy of column 6: exactly singular.
  EXPECT_EQ(h.Update(5, b.idx[6], b.val[6]), vlr::kLuUpdateRefused);
  // A column that differs from column 6 by 1e-9 at row of column 5's pivot: |d| at the
  // tolerance level is refused as well.
  EXPECT_EQ(vlr::VLR_lu_getnumupds(h.lu()), 0);
  DenseLu ref(b);
  std::vector<double> rhs = lutest::RandVec(n, rng);
  EXPECT_LT(RelErr(h.Ftran(rhs), ref.solve(rhs)), 1e-10);
  EXPECT_LT(RelErr(h.Btrans(rhs), ref.tsolve(rhs)), 1e-10);
}

// A fixed update limit of 1 recommends a refactorisation after every update; the work-based
// rule never recommends one before the tenth, and does so in the end on a basis whose updates
// grow dearer.
TEST(Luupd, RefactorisationRecommendations) {
  std::mt19937 rng(77);
  const int32_t n = 200;
  SpMat b = lutest::MakeBasis(n, 2, Shape::kRandom, rng);
  std::vector<int32_t> idx;
  std::vector<double> val;
  {
    Harness h(n);
    vlr::VLR_lu_puttrh(h.lu(), 1, 1);
    ASSERT_EQ(h.Factor(&b), vlr::kLuOk);
    int32_t r = vlr::kLuUpdateRefused;
    while (r == vlr::kLuUpdateRefused) {
      RandomColumn(n, 4, rng, &idx, &val);
      r = h.Update(ChooseLeaving(&h, n, idx, val, rng), idx, val);
    }
    EXPECT_EQ(r, vlr::kLuRefactorSoon);
    EXPECT_EQ(vlr::VLR_lu_factornow(h.lu()), 1);
  }
  Harness h(n);
  ASSERT_EQ(h.Factor(&b, 4 * n * n), vlr::kLuOk);
  int32_t first = -1;
  for (int32_t it = 0; it < 2 * n && first < 0; ++it) {
    // Dense entering columns make each update and solve dearer than the last.
    RandomColumn(n, n / 2, rng, &idx, &val);
    const int32_t jout = ChooseLeaving(&h, n, idx, val, rng);
    const int32_t r = h.Update(jout, idx, val);
    if (r == vlr::kLuRefactorSoon) first = vlr::VLR_lu_getnumupds(h.lu());
    ASSERT_NE(r, vlr::kLuUpdateNoRoom);
  }
  EXPECT_GE(first, 10);
}

// The stress case for the sanitizer and tracked-memory builds: a tight area, many updates with
// garbage collections on the way, and a refactorisation with a larger area when one fails.
TEST(Luupd, UpdateStressWithTightAreaKeepsMemorySound) {
  std::mt19937 rng(2024);
  const int32_t n = 150;
  SpMat b = lutest::MakeBasis(n, 3, Shape::kDenseColumns, rng);
  Harness h(n);
  ASSERT_EQ(h.Factor(&b), vlr::kLuOk);
  std::vector<int32_t> idx;
  std::vector<double> val;
  int32_t refactors = 0;
  for (int32_t it = 0; it < 600; ++it) {
    RandomColumn(n, 2 + static_cast<int32_t>(rng() % 8), rng, &idx, &val);
    const int32_t jout = ChooseLeaving(&h, n, idx, val, rng);
    const int32_t r = h.Update(jout, idx, val);
    if (r == vlr::kLuUpdateRefused) continue;
    if (r == vlr::kLuOk || r == vlr::kLuRefactorSoon) {
      b.idx[jout] = idx;
      b.val[jout] = val;
    }
    if (r != vlr::kLuOk) {
      ++refactors;
      int32_t wsze = vlr::VLR_lu_getwsze(h.lu());
      if (vlr::VLR_lu_incwsze(h.lu())) wsze += std::max(wsze, 5 * n);
      ASSERT_EQ(h.Factor(&b, wsze), vlr::kLuOk);
    }
    if (it % 50 == 0) {
      VLR_lu_chku(h.lu());
      vlr::VLR_sysenv_scanmemdbg(h.sys(), VLR_HERE);
      std::vector<double> rhs = lutest::RandVec(n, rng);
      EXPECT_LT(lutest::Resid(b, h.Ftran(rhs), rhs, false), 1e-10);
    }
  }
  EXPECT_GT(refactors, 0);
  DenseLu ref(b);
  std::vector<double> rhs = lutest::RandVec(n, rng);
  EXPECT_LT(RelErr(h.Ftrans(rhs), ref.solve(rhs)), 1e-9);
  EXPECT_LT(RelErr(h.Btrans(rhs), ref.tsolve(rhs)), 1e-9);
}

}  // namespace
