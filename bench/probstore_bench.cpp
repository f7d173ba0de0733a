// bench/probstore_bench.cpp: the cost of building a large constraint matrix element by element in
// random order and reading it back by columns, against one whole load. Prints times; not a test.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "velor.h"

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point a, Clock::time_point b) {
  return std::chrono::duration<double>(b - a).count();
}

bool Check(int32_t r, const char* what) {
  if (r != VLR_RES_OK) std::printf("%s failed: %d\n", what, r);
  return r == VLR_RES_OK;
}

// Sums every column of A: the read the optimisers do, and a check that nothing was lost.
bool ReadByColumns(VLRtask_t task, int32_t n, int32_t m, double* sum, int64_t* count) {
  std::vector<int32_t> sub(static_cast<size_t>(m));
  std::vector<double> val(static_cast<size_t>(m));
  *sum = 0;
  *count = 0;
  for (int32_t j = 0; j < n; ++j) {
    int32_t nz = 0;
    if (!Check(VLR_getavec(task, VLR_ACC_VAR, j, &nz, sub.data(), val.data()), "getavec")) {
      return false;
    }
    for (int32_t k = 0; k < nz; ++k)
      *sum += val[static_cast<size_t>(k)];
    *count += nz;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const int64_t nnz = argc > 1 ? std::atoll(argv[1]) : 1000000;
  const int32_t m = static_cast<int32_t>(std::max<int64_t>(nnz / 10, 1));
  const int32_t n = m;
  // Distinct random positions: ten per column on average, in random order.
  std::mt19937_64 rng(12345);
  std::vector<int64_t> pos;
  pos.reserve(static_cast<size_t>(nnz) + static_cast<size_t>(nnz) / 8);
  while (static_cast<int64_t>(pos.size()) < nnz) {
    for (int64_t k = static_cast<int64_t>(pos.size()); k < nnz; ++k)
      pos.push_back(static_cast<int64_t>(rng() % (static_cast<uint64_t>(m) * uint64_t(n))));
    std::sort(pos.begin(), pos.end());
    pos.erase(std::unique(pos.begin(), pos.end()), pos.end());
  }
  std::vector<int32_t> aptrb(static_cast<size_t>(n)), aptre(static_cast<size_t>(n));
  std::vector<int32_t> asub(pos.size());
  std::vector<double> aval(pos.size());
  double want = 0;
  {
    // pos is sorted by j * m + i: column-wise already.
    size_t k = 0;
    for (int32_t j = 0; j < n; ++j) {
      aptrb[static_cast<size_t>(j)] = static_cast<int32_t>(k);
      while (k < pos.size() && pos[k] / m == j) {
        asub[k] = static_cast<int32_t>(pos[k] % m);
        aval[k] = 1.0 + static_cast<double>(k % 7);
        want += aval[k];
        ++k;
      }
      aptre[static_cast<size_t>(j)] = static_cast<int32_t>(k);
    }
  }
  std::vector<size_t> order(pos.size());
  for (size_t k = 0; k < order.size(); ++k)
    order[k] = k;
  std::shuffle(order.begin(), order.end(), rng);
  std::vector<int32_t> col(pos.size());
  for (int32_t j = 0; j < n; ++j) {
    for (int32_t k = aptrb[static_cast<size_t>(j)]; k < aptre[static_cast<size_t>(j)]; ++k)
      col[static_cast<size_t>(k)] = j;
  }

  VLRenv_t env = nullptr;
  VLRtask_t task = nullptr;
  if (!Check(VLR_makeenv(&env, nullptr, nullptr, nullptr, nullptr), "makeenv") ||
      !Check(VLR_initenv(env), "initenv") || !Check(VLR_maketask(env, m, n, &task), "maketask") ||
      !Check(VLR_append(task, VLR_ACC_CON, m), "append") ||
      !Check(VLR_append(task, VLR_ACC_VAR, n), "append")) {
    return 1;
  }
  std::printf("problem store: %d x %d, %zu non-zeros\n", m, n, pos.size());
  const auto t0 = Clock::now();
  for (const size_t k : order) {
    if (VLR_putaij(task, asub[k], col[k], aval[k]) != VLR_RES_OK) return Check(1, "putaij"), 1;
  }
  const auto t1 = Clock::now();
  double sum = 0;
  int64_t count = 0;
  if (!ReadByColumns(task, n, m, &sum, &count)) return 1;
  const auto t2 = Clock::now();
  std::printf("  %-34s %8.3f s\n", "putaij in random order", Seconds(t0, t1));
  std::printf("  %-34s %8.3f s\n", "first read by columns (flush)", Seconds(t1, t2));
  std::printf("  %-34s %8.3f s   (%lld read, sum %s)\n", "putaij + column read", Seconds(t0, t2),
              static_cast<long long>(count), sum == want ? "ok" : "WRONG");

  std::vector<int32_t> bkc(static_cast<size_t>(m), VLR_BK_FR),
      bkx(static_cast<size_t>(n), VLR_BK_LO);
  std::vector<double> zc(static_cast<size_t>(m), 0.0), zx(static_cast<size_t>(n), 0.0);
  const auto t3 = Clock::now();
  if (!Check(VLR_inputdata(task, m, n, m, n, nullptr, 0.0, aptrb.data(), aptre.data(), asub.data(),
                           aval.data(), bkc.data(), zc.data(), zc.data(), bkx.data(), zx.data(),
                           zx.data()),
             "inputdata")) {
    return 1;
  }
  const auto t4 = Clock::now();
  if (!ReadByColumns(task, n, m, &sum, &count)) return 1;
  const auto t5 = Clock::now();
  std::printf("  %-34s %8.3f s\n", "inputdata", Seconds(t3, t4));
  std::printf("  %-34s %8.3f s   (%lld read, sum %s)\n", "read by columns", Seconds(t4, t5),
              static_cast<long long>(count), sum == want ? "ok" : "WRONG");
  VLR_deletetask(&task);
  VLR_deleteenv(&env);
  return 0;
}
