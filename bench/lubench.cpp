// bench/lubench.cpp: factor and solve times of the basis LU on random and Netlib bases, and the
// cost of hypersparse solves against the row count. Prints tables; not a test.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "cpub/sysenv.h"
#include "lu/lu.h"
#include "mpsmatrix.h"

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point a, Clock::time_point b) {
  return std::chrono::duration<double>(b - a).count();
}

// A square basis given by columns.
struct Basis {
  int32_t m = 0;
  std::vector<std::vector<int32_t>> idx;
  std::vector<std::vector<double>> val;
  int64_t nnz() const {
    int64_t s = 0;
    for (const auto& c : idx)
      s += static_cast<int64_t>(c.size());
    return s;
  }
};

int32_t Geta(void* handle, int32_t room, int32_t j, int32_t* nz, int32_t* rows, double* values) {
  const auto* b = static_cast<const Basis*>(handle);
  const auto len = static_cast<int32_t>(b->idx[j].size());
  if (len > room) return 0;
  std::copy(b->idx[j].begin(), b->idx[j].end(), rows);
  std::copy(b->val[j].begin(), b->val[j].end(), values);
  *nz = len;
  return 1;
}

// Picks structural columns one by one, each for an uncovered row where it has a large entry, in
// order of column count (ascending: a crash; descending: a greedy dense choice); slacks for the
// rows left.
Basis CrashBasis(const bench::MpsMatrix& a, bool densefirst) {
  std::vector<int32_t> order(a.n);
  std::iota(order.begin(), order.end(), 0);
  auto count = [&](int32_t j) { return a.beg[j + 1] - a.beg[j]; };
  std::stable_sort(order.begin(), order.end(), [&](int32_t x, int32_t y) {
    return densefirst ? count(x) > count(y) : count(x) < count(y);
  });
  std::vector<char> covered(a.m, 0);
  Basis b;
  b.m = a.m;
  for (int32_t j : order) {
    if (static_cast<int32_t>(b.idx.size()) == a.m) break;
    double cmax = 0.0;
    for (int64_t k = a.beg[j]; k < a.beg[j + 1]; ++k)
      cmax = std::max(cmax, std::fabs(a.val[k]));
    int32_t best = -1;
    double bv = 0.0;
    for (int64_t k = a.beg[j]; k < a.beg[j + 1]; ++k) {
      if (!covered[a.idx[k]] && std::fabs(a.val[k]) >= 0.1 * cmax && std::fabs(a.val[k]) > bv) {
        best = a.idx[k];
        bv = std::fabs(a.val[k]);
      }
    }
    if (best < 0) continue;
    covered[best] = 1;
    b.idx.emplace_back(a.idx.begin() + a.beg[j], a.idx.begin() + a.beg[j + 1]);
    b.val.emplace_back(a.val.begin() + a.beg[j], a.val.begin() + a.beg[j + 1]);
  }
  for (int32_t i = 0; i < a.m; ++i) {
    if (covered[i]) continue;
    b.idx.push_back({i});
    b.val.push_back({-1.0});
  }
  return b;
}

double RandVal(std::mt19937& rng) {
  std::uniform_real_distribution<double> u(0.1, 1.0);
  return (rng() & 1) != 0 ? u(rng) : -u(rng);
}

// Random sparse basis: a permuted diagonal plus `per` random entries per column, or, when
// sparse, off-diagonal entries in only a fifth of the columns (a basis that stays close to
// triangular, as simplex bases of large problems do).
Basis RandomBasis(int32_t n, int32_t per, bool nearlytriangular, std::mt19937& rng) {
  Basis b;
  b.m = n;
  b.idx.resize(n);
  b.val.resize(n);
  std::vector<int32_t> perm(n);
  std::iota(perm.begin(), perm.end(), 0);
  std::shuffle(perm.begin(), perm.end(), rng);
  for (int32_t j = 0; j < n; ++j) {
    b.idx[j].push_back(perm[j]);
    b.val[j].push_back(4.0 * RandVal(rng));
    if (nearlytriangular && rng() % 5 != 0) continue;
    for (int32_t t = 0; t < per; ++t) {
      const auto i = static_cast<int32_t>(rng() % n);
      if (std::find(b.idx[j].begin(), b.idx[j].end(), i) != b.idx[j].end()) continue;
      b.idx[j].push_back(i);
      b.val[j].push_back(RandVal(rng));
    }
  }
  return b;
}

// One factor object with its work, the retry loop on a full area and the sparse work arrays.
struct Bench {
  vlr::SysEnv* sys = nullptr;
  vlr::LuFactor* lu = nullptr;
  std::vector<int32_t> iwork, marker, pat, opat, map;
  std::vector<double> rwork, x, out;
  int32_t m = 0;
  explicit Bench(int32_t n) : m(n) {
    sys = vlr::VLR_sysenv_make(0, 0, nullptr, nullptr, nullptr);
    vlr::VLR_lu_make(sys, n, n, &lu);
    int32_t is = 0, rs = 0, is2 = 0, rs2 = 0;
    vlr::VLR_lu_getfactorspace(n, n, &is, &rs);
    vlr::VLR_lu_getsolvespace(n, &is2, &rs2);
    iwork.assign(std::max(is, is2), 0);
    rwork.assign(std::max(rs, rs2), 0.0);
    marker.assign(n + 1, 0);
    pat.assign(n + 1, 0);
    opat.assign(n + 1, 0);
    map.assign(n + 1, 0);
    x.assign(n + 1, 0.0);
    out.assign(n + 1, 0.0);
  }
  ~Bench() {
    vlr::VLR_lu_delete(&lu);
    vlr::VLR_sysenv_delete(&sys);
  }
  // Factors, growing the area as a caller does; a short rank is completed with slacks.
  int32_t Factor(Basis* b, int32_t* rank) {
    if (vlr::VLR_lu_getwsze(lu) < 3 * b->nnz()) {
      vlr::VLR_lu_newwszedbg(VLR_HERE, lu,
                             static_cast<int32_t>(std::max<int64_t>(3 * b->nnz(), 3 * m + 1)));
    }
    vlr::VLR_lu_putgeta(lu, b, Geta);
    int32_t r = 0;
    for (int32_t t = 0; t < 30; ++t) {
      vlr::VLR_lu_init(lu);
      r = vlr::VLR_lu_factor(lu, static_cast<int32_t>(iwork.size()), iwork.data(),
                             static_cast<int32_t>(rwork.size()), rwork.data());
      if (r != vlr::kLuWorkAreaFull && r != vlr::kLuTooManyGarCols) break;
      int32_t prop = 0;
      vlr::VLR_lu_getwszeproposal(lu, &prop);
      vlr::VLR_lu_newwszedbg(VLR_HERE, lu, prop);
    }
    *rank = vlr::VLR_lu_getrank(lu);
    if (r == vlr::kLuOk && *rank < m) {
      r = vlr::VLR_lu_insart(lu, map.data(), m, iwork.data(), -1.0);
    }
    return r;
  }
  // Sparse FTRAN of the sparse right-hand side (idx, val); returns the result count.
  int32_t Ftrans(const std::vector<int32_t>& idx, const std::vector<double>& val) {
    int32_t nz = 0;
    for (size_t k = 0; k < idx.size(); ++k) {
      x[idx[k]] = val[k];
      pat[nz++] = idx[k];
    }
    int32_t onz = 0;
    vlr::VLR_lu_ftrans(lu, nz, x.data(), pat.data(), &onz, out.data(), opat.data(),
                       static_cast<int32_t>(iwork.size()), iwork.data(),
                       static_cast<int32_t>(marker.size()), marker.data(), 1e-14, 1e-14);
    for (int32_t k = 0; k < onz; ++k)
      out[opat[k]] = 0.0;
    return onz;
  }
  int32_t Btrans(int32_t j) {
    x[j] = 1.0;
    pat[0] = j;
    int32_t onz = 0;
    vlr::VLR_lu_btrans(lu, 1, x.data(), pat.data(), &onz, out.data(), opat.data(), marker.data(),
                       static_cast<int32_t>(iwork.size()), iwork.data(), 1e-14, 1e-14);
    for (int32_t k = 0; k < onz; ++k)
      out[opat[k]] = 0.0;
    return onz;
  }
  void DenseFtran() {
    std::fill(x.begin(), x.end(), 1.0);
    vlr::VLR_lu_ftran(lu, x.data(), out.data());
  }
  void DenseBtran() {
    std::fill(x.begin(), x.end(), 1.0);
    vlr::VLR_lu_btran(lu, x.data(), out.data());
  }
};

// Runs f repeatedly for at least 0.05 s (and at least once); returns seconds per call.
template <class F>
double TimeIt(F f, int32_t maxreps = 1000) {
  const auto t0 = Clock::now();
  int32_t reps = 0;
  do {
    f();
    ++reps;
  } while (Seconds(t0, Clock::now()) < 0.05 && reps < maxreps);
  return Seconds(t0, Clock::now()) / reps;
}

// One line of the table: factor time, fill, and sparse against dense solves.
void Measure(const std::string& name, Basis* b, const bench::MpsMatrix* a, std::mt19937& rng) {
  Bench bn(b->m);
  int32_t rank = 0;
  int32_t status = 0;
  const double tf = TimeIt([&] { status = bn.Factor(b, &rank); }, 50);
  if (status != vlr::kLuOk) {
    std::printf("%-14s %8d  factor status %d\n", name.c_str(), b->m, status);
    return;
  }
  int64_t lsze = 0, usze = 0;
  vlr::VLR_lu_getlusze(bn.lu, &lsze, &usze);
  const double fill = static_cast<double>(lsze + usze + b->m) / static_cast<double>(b->nnz());
  // Sparse right-hand sides: columns of the constraint matrix (a simplex's entering columns),
  // or random basis columns for the random bases; unit vectors for BTRAN.
  std::vector<std::vector<int32_t>> ridx;
  std::vector<std::vector<double>> rval;
  for (int32_t s = 0; s < 50; ++s) {
    if (a != nullptr && a->n > 0) {
      const auto j = static_cast<int32_t>(rng() % a->n);
      ridx.emplace_back(a->idx.begin() + a->beg[j], a->idx.begin() + a->beg[j + 1]);
      rval.emplace_back(a->val.begin() + a->beg[j], a->val.begin() + a->beg[j + 1]);
    } else {
      const auto j = static_cast<int32_t>(rng() % b->m);
      ridx.push_back(b->idx[j]);
      rval.push_back(b->val[j]);
    }
  }
  int64_t fnz = 0, bnz = 0;
  size_t s = 0;
  const double tfs = TimeIt([&] {
    fnz += bn.Ftrans(ridx[s % ridx.size()], rval[s % ridx.size()]);
    ++s;
  });
  const double fres = static_cast<double>(fnz) / static_cast<double>(s);
  s = 0;
  const double tbs = TimeIt([&] {
    bnz += bn.Btrans(static_cast<int32_t>(rng() % b->m));
    ++s;
  });
  const double bres = static_cast<double>(bnz) / static_cast<double>(s);
  const double tfd = TimeIt([&] { bn.DenseFtran(); });
  const double tbd = TimeIt([&] { bn.DenseBtran(); });
  std::printf("%-14s %8d %9lld %6d %10.3f %6.2f %10.1f %8.1f %10.1f %10.1f %8.1f %10.1f\n",
              name.c_str(), b->m, static_cast<long long>(b->nnz()), b->m - rank, tf * 1e3, fill,
              tfs * 1e6, fres, tfd * 1e6, tbs * 1e6, bres, tbd * 1e6);
}

void PrintHeader() {
  std::printf("%-14s %8s %9s %6s %10s %6s %10s %8s %10s %10s %8s %10s\n", "basis", "rows", "nnz(B)",
              "art", "factor ms", "fill", "ftran sp", "res nz", "ftran dns", "btran sp", "res nz",
              "btran dns");
}

// Hypersparse solves: a unit right-hand side on nearly triangular bases of growing size.
void HypersparseScaling(std::mt19937& rng) {
  std::printf(
      "\nHypersparse solves, unit right-hand side, nearly triangular basis (times in us)\n");
  std::printf("%10s %10s %10s %10s %12s %10s %10s %12s %12s\n", "rows", "nnz(B)", "factor ms",
              "ftran sp", "res nz", "us/res nz", "btran sp", "res nz", "ftran dense");
  for (int32_t n : {10000, 100000, 1000000}) {
    Basis b = RandomBasis(n, 4, true, rng);
    Bench bn(n);
    int32_t rank = 0;
    const auto t0 = Clock::now();
    const int32_t st = bn.Factor(&b, &rank);
    const double tf = Seconds(t0, Clock::now());
    if (st != vlr::kLuOk) {
      std::printf("%10d factor status %d\n", n, st);
      continue;
    }
    int64_t fnz = 0, bnz = 0, cnt = 0;
    const double tfs = TimeIt(
        [&] {
          const std::vector<int32_t> idx{static_cast<int32_t>(rng() % n)};
          fnz += bn.Ftrans(idx, {1.0});
          ++cnt;
        },
        200000);
    const double fres = static_cast<double>(fnz) / static_cast<double>(cnt);
    cnt = 0;
    const double tbs = TimeIt(
        [&] {
          bnz += bn.Btrans(static_cast<int32_t>(rng() % n));
          ++cnt;
        },
        200000);
    const double bres = static_cast<double>(bnz) / static_cast<double>(cnt);
    const double tfd = TimeIt([&] { bn.DenseFtran(); }, 100);
    std::printf("%10d %10lld %10.2f %10.2f %12.1f %10.3f %10.2f %12.1f %12.1f\n", n,
                static_cast<long long>(b.nnz()), tf * 1e3, tfs * 1e6, fres, tfs * 1e6 / fres,
                tbs * 1e6, bres, tfd * 1e6);
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::mt19937 rng(12345);
  const std::string dir = argc > 1 ? argv[1] : VLR_DATA_DIR "/netlib";
  std::printf(
      "LU benchmark. fill = (nnz L + nnz U + rows) / nnz B; art = slacks put in for a short "
      "rank;\nsolve times in us per call: sparse right-hand sides (a matrix column for "
      "FTRAN, a unit vector for BTRAN)\nagainst the dense solve of an all-ones vector; "
      "res nz = average non-zeros of the result.\n\n");
  PrintHeader();
  for (int32_t n : {1000, 5000}) {
    Basis b = RandomBasis(n, 3, false, rng);
    Measure("random" + std::to_string(n), &b, nullptr, rng);
  }
  {
    Basis b = RandomBasis(20000, 2, true, rng);
    Measure("neartri20000", &b, nullptr, rng);
  }
  const char* names[] = {"afiro",   "adlittle", "sc205",    "share2b",  "scsd8", "stocfor2",
                         "25fv47",  "bnl2",     "degen3",   "pilot87",  "fit2p", "dfl001",
                         "80bau3b", "greenbea", "maros-r7", "stocfor3", "qap15"};
  for (const char* name : names) {
    bench::MpsMatrix a;
    if (!bench::ReadMpsMatrix(dir + "/" + name + ".mps.gz", &a)) {
      std::printf("%-14s (not found)\n", name);
      continue;
    }
    Basis crash = CrashBasis(a, false);
    Measure(std::string(name) + ":crash", &crash, &a, rng);
    Basis greedy = CrashBasis(a, true);
    Measure(std::string(name) + ":dense", &greedy, &a, rng);
  }
  HypersparseScaling(rng);
  return 0;
}
