// tests/pivot/basord_test.cpp: block-triangular orderings of row and column sets, and the
// second basis factor against the first.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <vector>

#include "pivot/pivot.h"

namespace {

using Entries = std::vector<std::pair<int32_t, int32_t>>;  // (row position, column position)

// A set inside a larger column-wise pattern: the set's rows and columns are scattered among
// rows and columns outside it, which carry entries of their own.
struct Problem {
  int32_t nrowc = 0, csze = 0, norw = 0;
  std::vector<int64_t> beg{0};
  std::vector<int32_t> idx, inew, cols, rowsta;
  Entries ent;
  Problem(int32_t nr, int32_t nc, Entries e, std::mt19937& rng) : nrowc(nr), csze(nc), ent(e) {
    norw = nr + 3;
    std::vector<int32_t> rowof(norw);  // matrix row of each row position; the last 3 are outside
    std::iota(rowof.begin(), rowof.end(), 0);
    std::shuffle(rowof.begin(), rowof.end(), rng);
    inew.assign(norw, nr);
    for (int32_t p = 0; p < nr; ++p)
      inew[rowof[p]] = p;
    std::vector<std::vector<int32_t>> col(nc);
    for (auto [p, c] : e)
      col[c].push_back(rowof[p]);
    for (int32_t c = 0; c < nc; ++c) {
      idx.push_back(rowof[nr + c % 3]);  // a column outside the set, then one entry outside it
      beg.push_back(static_cast<int64_t>(idx.size()));
      cols.push_back(static_cast<int32_t>(beg.size()) - 1);
      idx.insert(idx.end(), col[c].begin(), col[c].end());
      idx.push_back(rowof[nr + 1]);
      beg.push_back(static_cast<int64_t>(idx.size()));
    }
  }
  vlr::BasordSet set() const {
    return {norw,  beg.data(),  idx.data(),
            nrowc, inew.data(), rowsta.empty() ? nullptr : rowsta.data(),
            csze,  cols.data()};
  }
};

struct Result {
  std::vector<int32_t> rowperm, colperm, rbeg, cbeg, rmatch, rblk, cblk;
  int32_t nblk = 0, rank = 0;
};

enum class Form { kUpper, kUpper2, kLower };

Result Order(vlr::SysEnv* sys, const Problem& pb, Form form, std::vector<int32_t> rmatch = {}) {
  Result r;
  r.rowperm.assign(pb.nrowc, -1);
  r.colperm.assign(pb.csze, -1);
  r.rbeg.assign(pb.nrowc + 2, -1);
  r.cbeg.assign(pb.nrowc + 2, -1);
  r.rmatch = rmatch.empty() ? std::vector<int32_t>(pb.nrowc, -7) : rmatch;
  r.rblk.assign(pb.nrowc, -1);
  r.cblk.assign(pb.csze, -1);
  std::vector<int32_t> iwork(7 * pb.nrowc, -5);
  vlr::BasordBlocks blk{r.rowperm.data(), r.colperm.data(), r.rbeg.data(), r.cbeg.data(), 0, 0};
  const vlr::BasordSet set = pb.set();
  const auto isize = static_cast<int32_t>(iwork.size());
  if (form == Form::kLower) {
    vlr::VLR_basord_blklwr(sys, &set, r.rmatch.data(), isize, iwork.data(), &blk);
  } else if (form == Form::kUpper) {
    vlr::VLR_basord_blkupr(sys, &set, r.rmatch.data(), isize, iwork.data(), &blk);
  } else {
    vlr::VLR_basord_blkupr2(sys, &set, r.rmatch.data(), isize, iwork.data(), &blk, r.rblk.data(),
                            r.cblk.data());
  }
  r.nblk = blk.nblk;
  r.rank = blk.rank;
  return r;
}

bool IsPermutation(std::vector<int32_t> v) {
  std::sort(v.begin(), v.end());
  for (size_t k = 0; k < v.size(); ++k)
    if (v[k] != static_cast<int32_t>(k)) return false;
  return true;
}

// The result is a valid ordering: permutations, block bounds, pairs on the square diagonals,
// and every entry of the set on the allowed side of its row's block. Leaves the blocks in rblk
// and cblk.
void ExpectForm(const Problem& pb, Result& r, bool upper) {
  ASSERT_TRUE(IsPermutation(r.rowperm));
  ASSERT_TRUE(IsPermutation(r.colperm));
  ASSERT_EQ(r.rbeg[0], 0);
  ASSERT_EQ(r.cbeg[0], 0);
  ASSERT_EQ(r.rbeg[r.nblk], pb.nrowc);
  ASSERT_EQ(r.cbeg[r.nblk], pb.csze);
  std::vector<int32_t> rblk(pb.nrowc), cblk(pb.csze);
  int32_t pairs = 0;
  for (int32_t b = 0; b < r.nblk; ++b) {
    const int32_t nr = r.rbeg[b + 1] - r.rbeg[b], nc = r.cbeg[b + 1] - r.cbeg[b];
    ASSERT_TRUE(nr == nc || nr == 0 || nc == 0) << "block " << b;
    ASSERT_GT(nr + nc, 0) << "empty block " << b;
    for (int32_t t = 0; t < nr; ++t)
      rblk[r.rowperm[r.rbeg[b] + t]] = b;
    for (int32_t t = 0; t < nc; ++t)
      cblk[r.colperm[r.cbeg[b] + t]] = b;
    for (int32_t t = 0; nr == nc && t < nr; ++t, ++pairs)
      ASSERT_EQ(r.rmatch[r.rowperm[r.rbeg[b] + t]], r.colperm[r.cbeg[b] + t]);
  }
  EXPECT_EQ(pairs, r.rank);
  EXPECT_EQ(std::count_if(r.rmatch.begin(), r.rmatch.end(), [](int32_t c) { return c >= 0; }),
            r.rank);
  for (auto [p, c] : pb.ent) {
    if (upper) {
      EXPECT_LE(rblk[p], cblk[c]) << "entry (" << p << "," << c << ")";
    } else {
      EXPECT_GE(rblk[p], cblk[c]) << "entry (" << p << "," << c << ")";
    }
  }
  r.rblk = rblk;
  r.cblk = cblk;
}

// Random irreducible diagonal blocks (the diagonal, a cycle through the block and a few more
// entries) with random entries above them, or below for the lower form; rows and columns then
// shuffled. part[c] is the block of column position c.
Problem BlockProblem(std::mt19937& rng, bool upper, int32_t nblock, std::vector<int32_t>* part) {
  std::vector<int32_t> start{0};
  for (int32_t b = 0; b < nblock; ++b)
    start.push_back(start.back() + 1 + static_cast<int32_t>(rng() % 6));
  const int32_t n = start.back();
  std::vector<int32_t> bof(n), prow(n), pcol(n);
  for (int32_t b = 0; b < nblock; ++b)
    std::fill(bof.begin() + start[b], bof.begin() + start[b + 1], b);
  std::iota(prow.begin(), prow.end(), 0);
  std::iota(pcol.begin(), pcol.end(), 0);
  std::shuffle(prow.begin(), prow.end(), rng);
  std::shuffle(pcol.begin(), pcol.end(), rng);
  Entries e;
  for (int32_t k = 0; k < n; ++k) {
    const int32_t b = bof[k], size = start[b + 1] - start[b];
    e.emplace_back(prow[k], pcol[k]);
    if (size > 1) e.emplace_back(prow[k], pcol[start[b] + (k - start[b] + 1) % size]);
    for (int32_t l = 0; l < n; ++l) {
      const bool side = upper ? bof[l] > b : bof[l] < b;
      if ((bof[l] == b && l != k && rng() % 4 == 0) || (side && rng() % 8 == 0))
        e.emplace_back(prow[k], pcol[l]);
    }
  }
  std::sort(e.begin(), e.end());
  e.erase(std::unique(e.begin(), e.end()), e.end());
  std::shuffle(e.begin(), e.end(), rng);
  part->assign(n, 0);
  for (int32_t k = 0; k < n; ++k)
    (*part)[pcol[k]] = bof[k];
  return Problem(n, n, e, rng);
}

class Basord : public ::testing::Test {
 protected:
  void SetUp() override { sys_ = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr); }
  void TearDown() override { EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), vlr::kSysOk); }
  vlr::SysEnv* sys_ = nullptr;
};

TEST_F(Basord, HiddenBlockStructureIsFoundExactlyInEveryForm) {
  std::mt19937 rng(11);
  for (int32_t trial = 0; trial < 60; ++trial) {
    for (Form form : {Form::kUpper, Form::kUpper2, Form::kLower}) {
      const bool upper = form != Form::kLower;
      std::vector<int32_t> part;
      const int32_t nblock = 1 + trial % 12;
      const Problem pb = BlockProblem(rng, upper, nblock, &part);
      Result r = Order(sys_, pb, form);
      const std::vector<int32_t> rblk = r.rblk, cblk = r.cblk;
      ASSERT_NO_FATAL_FAILURE(ExpectForm(pb, r, upper));
      if (form == Form::kUpper2) {
        EXPECT_EQ(rblk, r.rblk);
        EXPECT_EQ(cblk, r.cblk);
      }
      EXPECT_EQ(r.rank, pb.nrowc);
      ASSERT_EQ(r.nblk, nblock) << "a block was split or two were merged";
      for (int32_t b = 0; b < r.nblk; ++b) {
        for (int32_t t = r.cbeg[b]; t < r.cbeg[b + 1]; ++t)
          EXPECT_EQ(part[r.colperm[t]], part[r.colperm[r.cbeg[b]]]);
      }
    }
  }
}

TEST_F(Basord, TriangularInputGivesSingletonBlocksAndKeepsAnOrderAlreadyTriangular) {
  std::mt19937 rng(7);
  for (bool upper : {true, false}) {
    for (bool shuffled : {true, false}) {
      const int32_t n = 40;
      std::vector<int32_t> prow(n), pcol(n);
      std::iota(prow.begin(), prow.end(), 0);
      std::iota(pcol.begin(), pcol.end(), 0);
      if (shuffled) std::shuffle(prow.begin(), prow.end(), rng);
      if (shuffled) std::shuffle(pcol.begin(), pcol.end(), rng);
      Entries e;
      for (int32_t i = 0; i < n; ++i) {
        for (int32_t j = 0; j < n; ++j)
          if (i == j || ((upper ? j > i : j < i) && rng() % 3 == 0))
            e.emplace_back(prow[i], pcol[j]);
      }
      std::shuffle(e.begin(), e.end(), rng);
      const Problem pb(n, n, e, rng);
      Result r = Order(sys_, pb, upper ? Form::kUpper : Form::kLower);
      ASSERT_NO_FATAL_FAILURE(ExpectForm(pb, r, upper));
      EXPECT_EQ(r.nblk, n);
      if (!shuffled) {
        EXPECT_EQ(r.rowperm, prow);
        EXPECT_EQ(r.colperm, pcol);
      }
    }
  }
}

// A chain of 200000 pairs, and one cycle through all of them: the searches must not recurse.
TEST_F(Basord, LongChainAndLongCycleNeedNoDeepStack) {
  const int32_t n = 200000;
  std::mt19937 rng(1);
  Entries chain, cycle;
  for (int32_t k = 0; k < n; ++k) {
    chain.emplace_back(k, k);
    cycle.emplace_back(k, k);
    if (k > 0) chain.emplace_back(k, k - 1);
    cycle.emplace_back(k, (k + 1) % n);
  }
  const Problem pchain(n, n, chain, rng), pcycle(n, n, cycle, rng);
  for (Form form : {Form::kUpper, Form::kLower}) {
    Result r = Order(sys_, pchain, form);
    ASSERT_NO_FATAL_FAILURE(ExpectForm(pchain, r, form == Form::kUpper));
    EXPECT_EQ(r.nblk, n);
  }
  Result r = Order(sys_, pcycle, Form::kUpper);
  EXPECT_EQ(r.nblk, 1);
  EXPECT_EQ(r.rank, n);
}

// Structural rank by plain augmenting paths, as a reference.
int32_t ReferenceRank(const Problem& pb) {
  std::vector<std::vector<int32_t>> rows(pb.csze);
  for (auto [p, c] : pb.ent)
    rows[c].push_back(p);
  std::vector<int32_t> owner(pb.nrowc, -1), seen;
  std::function<bool(int32_t)> augment = [&](int32_t c) {
    for (int32_t p : rows[c]) {
      if (seen[p]) continue;
      seen[p] = 1;
      if (owner[p] < 0 || augment(owner[p])) return owner[p] = c, true;
    }
    return false;
  };
  int32_t rank = 0;
  for (int32_t c = 0; c < pb.csze; ++c) {
    seen.assign(pb.nrowc, 0);
    rank += augment(c) ? 1 : 0;
  }
  return rank;
}

TEST_F(Basord, SingularAndRectangularSetsGetMaximumMatchingAndValidForm) {
  std::mt19937 rng(23);
  for (int32_t trial = 0; trial < 200; ++trial) {
    const int32_t nr = 1 + static_cast<int32_t>(rng() % 15);
    const int32_t nc = 1 + static_cast<int32_t>(rng() % nr);
    Entries e;
    for (int32_t p = 0; p < nr; ++p) {
      for (int32_t c = 0; c < nc; ++c)
        if (rng() % 6 == 0) e.emplace_back(p, c);
    }
    const Problem pb(nr, nc, e, rng);
    for (Form form : {Form::kUpper, Form::kLower}) {
      Result r = Order(sys_, pb, form);
      ASSERT_NO_FATAL_FAILURE(ExpectForm(pb, r, form == Form::kUpper));
      EXPECT_EQ(r.rank, ReferenceRank(pb)) << "trial " << trial;
    }
  }
}

TEST_F(Basord, RowStatusesFixPairsAndKeepPlacedRowsUnpaired) {
  std::mt19937 rng(5);
  std::vector<int32_t> part;
  Problem pb = BlockProblem(rng, true, 8, &part);
  const Result found = Order(sys_, pb, Form::kUpper);
  // The pairs found, handed back as the caller's: the same blocks come out.
  pb.rowsta.assign(pb.nrowc, 1);
  Result fixed = Order(sys_, pb, Form::kUpper, found.rmatch);
  EXPECT_EQ(fixed.colperm, found.colperm);
  EXPECT_EQ(fixed.nblk, found.nblk);
  // Rows already placed stay out of the pairs and go in the rows-only block at the top.
  pb.rowsta.assign(pb.nrowc, 0);
  pb.rowsta[0] = pb.rowsta[3] = 2;
  Result placed = Order(sys_, pb, Form::kUpper);
  ASSERT_NO_FATAL_FAILURE(ExpectForm(pb, placed, true));
  EXPECT_EQ(placed.rmatch[0], -1);
  EXPECT_EQ(placed.rmatch[3], -1);
  EXPECT_EQ(placed.rank, pb.nrowc - 2);
  EXPECT_EQ(placed.rblk[0], 0);
  EXPECT_EQ(placed.rbeg[1] - placed.rbeg[0], 2);
  EXPECT_EQ(placed.cbeg[1] - placed.cbeg[0], 0);

  // Row 0 fixed to column 0 leaves column 1 without a row, though a perfect matching exists.
  std::mt19937 rng2(0);
  Problem small(2, 2, {{0, 0}, {0, 1}, {1, 0}}, rng2);
  small.rowsta = {1, 0};
  Result r = Order(sys_, small, Form::kLower, {0, -1});
  ASSERT_NO_FATAL_FAILURE(ExpectForm(small, r, false));
  EXPECT_EQ(r.rank, 1);
  EXPECT_EQ(r.rmatch, (std::vector<int32_t>{0, -1}));
  small.rowsta.clear();
  EXPECT_EQ(Order(sys_, small, Form::kLower).rank, 2);
}

TEST_F(Basord, BadInputStops) {
  std::mt19937 rng(2);
  const Problem pb(3, 3, {{0, 0}, {1, 1}, {2, 2}, {2, 0}}, rng);
  vlr::BasordSet set = pb.set();
  std::vector<int32_t> rmatch(4), iwork(28), perm(4), bounds(6);
  vlr::BasordBlocks blk{perm.data(), perm.data(), bounds.data(), bounds.data(), 0, 0};
  EXPECT_DEATH(vlr::VLR_basord_blkupr(sys_, &set, rmatch.data(), 20, iwork.data(), &blk),
               "Work space");
  set.nrowc = 2;  // three columns over two rows
  EXPECT_DEATH(vlr::VLR_basord_blkupr(sys_, &set, rmatch.data(), 28, iwork.data(), &blk),
               "norwc<csze");
  set = pb.set();
  std::vector<int32_t> inew = pb.inew;
  inew[pb.idx[pb.beg[pb.cols[1]]]] = 4;  // the row of entry (1, 1) beyond the set
  set.inew = inew.data();
  EXPECT_DEATH(vlr::VLR_basord_blklwr(sys_, &set, rmatch.data(), 28, iwork.data(), &blk),
               "inew\\[i\\]=4  nrowc=3\ninew\\[i\\]>nrowc");
}

// ---- factor2 against factor1 ------------------------------------------------------------

TEST_F(Basord, Factor2MatchesFactor1AndTakesItsOwnWorkWhenShort) {
  const int32_t m = 25, n = 40;
  std::mt19937 rng(9);
  std::vector<int64_t> beg{0};
  std::vector<int32_t> idx;
  std::vector<double> val;
  for (int32_t j = 0; j < n; ++j) {
    for (int32_t i = 0; i < m; ++i) {
      if (rng() % 3 != 0) continue;
      idx.push_back(i);
      val.push_back(1.0 + static_cast<double>(rng() % 9));
    }
    beg.push_back(static_cast<int64_t>(idx.size()));
  }
  const vlr::PivMat a{m, n, beg.data(), idx.data(), val.data()};
  vlr::LuFactor *lu1 = nullptr, *lu2 = nullptr;
  ASSERT_EQ(vlr::VLR_lu_make(sys_, m, m, &lu1), vlr::kLuOk);
  ASSERT_EQ(vlr::VLR_lu_make(sys_, m, m, &lu2), vlr::kLuOk);
  int32_t is = 0, rs = 0;
  vlr::VLR_lu_getfactorspace(m, m, &is, &rs);
  std::vector<int32_t> iwork(is);
  std::vector<double> rwork(rs);
  int32_t factored = 0;
  for (int32_t trial = 0; trial < 20; ++trial) {
    // Distinct variables, mostly slacks, or now and then repeats and an empty column.
    std::vector<int32_t> bas(m + n + 2);
    std::iota(bas.begin(), bas.end(), 0);
    std::shuffle(bas.begin(), bas.begin() + m + 2 * (trial % 8), rng);
    bas.resize(m);
    if (trial % 5 == 4) bas[3] = bas[7] = m + n + 1;
    ASSERT_EQ(vlr::VLR_pivlp_factor1(lu1, &a, bas.data(), is, iwork.data(), rs, rwork.data()),
              vlr::kLuOk);
    const bool own = trial % 2 == 1;
    ASSERT_EQ(vlr::VLR_pivlp_factor2(sys_, lu2, m, n, beg.data(), idx.data(), val.data(),
                                     bas.data(), own ? 0 : is, own ? nullptr : iwork.data(),
                                     own ? 0 : rs, own ? nullptr : rwork.data()),
              vlr::kLuOk);
    ASSERT_EQ(vlr::VLR_lu_getrank(lu1), vlr::VLR_lu_getrank(lu2));
    ASSERT_EQ(vlr::VLR_lu_isfac(lu1), vlr::VLR_lu_isfac(lu2));
    if (!vlr::VLR_lu_isfac(lu1)) continue;
    ++factored;
    std::vector<double> b1(m), b2(m), x1(m), x2(m);
    for (int32_t i = 0; i < m; ++i)
      b1[i] = b2[i] = 1.0 + i;
    ASSERT_EQ(vlr::VLR_lu_ftran(lu1, b1.data(), x1.data()), vlr::kLuOk);
    ASSERT_EQ(vlr::VLR_lu_ftran(lu2, b2.data(), x2.data()), vlr::kLuOk);
    EXPECT_EQ(x1, x2);
  }
  EXPECT_GE(factored, 8);
  EXPECT_LE(factored, 17);
  vlr::VLR_lu_delete(&lu1);
  vlr::VLR_lu_delete(&lu2);
}

}  // namespace
