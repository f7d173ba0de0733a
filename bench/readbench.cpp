// bench/readbench.cpp: read time and peak memory of every Netlib file and of a generated MPS file
// of about a million non-zeros, beside the time zcat takes to unpack the same file. Prints a
// table; not a test.
// SPDX-License-Identifier: Apache-2.0
#include <dirent.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "velor.h"

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point a, Clock::time_point b) {
  return std::chrono::duration<double>(b - a).count();
}

struct ReadResult {
  int32_t res = -1;
  double seconds = 0;
  int64_t peak = 0;  // bytes, from the tracked memory manager
  int32_t numcon = 0, numvar = 0;
  int64_t numanz = 0;
};

// Reads the file in a task of its own; the memory figures need a tracked env.
ReadResult ReadOne(VLRenv_t env, const std::string& path) {
  ReadResult out;
  VLRtask_t task = nullptr;
  if (VLR_maketask(env, 0, 0, &task) != VLR_RES_OK) return out;
  VLR_putintparam(task, VLR_IPAR_LOG, 0);
  const auto t0 = Clock::now();
  out.res = VLR_readdata(task, path.c_str());
  out.seconds = Seconds(t0, Clock::now());
  int64_t cur = 0;
  VLR_getmemusagetask64(task, &cur, &out.peak);
  VLR_getintinf(task, VLR_IINF_RD_NUMCON, &out.numcon);
  VLR_getintinf(task, VLR_IINF_RD_NUMVAR, &out.numvar);
  VLR_getlintinf(task, VLR_LIINF_RD_NUMANZ, &out.numanz);
  VLR_deletetask(&task);
  return out;
}

double ZcatSeconds(const std::string& path) {
  const std::string cmd = "zcat '" + path + "' > /dev/null";
  const auto t0 = Clock::now();
  const int r = std::system(cmd.c_str());
  return r == 0 ? Seconds(t0, Clock::now()) : -1.0;
}

// A random sparse LP with `nnz` non-zeros in fixed MPS form, gzip-compressed.
void WriteGenerated(const std::string& path, int32_t m, int32_t n, int64_t nnz) {
  gzFile f = gzopen(path.c_str(), "wb6");
  if (f == nullptr) return;
  std::mt19937_64 rng(7);
  std::uniform_int_distribution<int32_t> row(0, m - 1);
  std::uniform_real_distribution<double> val(-10.0, 10.0);
  gzprintf(f, "NAME          GENERATED\nROWS\n N  COST\n");
  for (int32_t i = 0; i < m; ++i)
    gzprintf(f, " L  R%07d\n", i);
  gzprintf(f, "COLUMNS\n");
  const int64_t per = nnz / n;
  std::vector<int32_t> rows;
  for (int32_t j = 0; j < n; ++j) {
    rows.clear();
    for (int64_t k = 0; k < per; ++k)
      rows.push_back(row(rng));
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    gzprintf(f, "    C%07d  COST      %12.6f\n", j, val(rng));
    for (int32_t i : rows)
      gzprintf(f, "    C%07d  R%07d  %12.6f\n", j, i, val(rng));
  }
  gzprintf(f, "RHS\n");
  for (int32_t i = 0; i < m; ++i)
    gzprintf(f, "    RHS       R%07d  %12.6f\n", i, 100.0);
  gzprintf(f, "BOUNDS\n");
  for (int32_t j = 0; j < n; ++j)
    gzprintf(f, " UP BND       C%07d  %12.6f\n", j, 50.0);
  gzprintf(f, "ENDATA\n");
  gzclose(f);
}

void PrintRow(const std::string& name, const ReadResult& r, double zcat) {
  std::printf("%-16s %4d %8d %8d %10lld %9.4f %9.4f %7.2f %9.1f\n", name.c_str(), r.res, r.numcon,
              r.numvar, static_cast<long long>(r.numanz), r.seconds, zcat,
              zcat > 0 ? r.seconds / zcat : 0.0, static_cast<double>(r.peak) / 1024.0);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string dir = argc > 1 ? argv[1] : std::string(VLR_DATA_DIR) + "/netlib";
  VLRenv_t env = nullptr;
  if (VLR_makeenv(&env, nullptr, nullptr, nullptr, "") != VLR_RES_OK || VLR_initenv(env) != 0) {
    return 1;
  }
  std::vector<std::string> files;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d)) {
      const std::string f = e->d_name;
      if (f.size() > 7 && f.compare(f.size() - 7, 7, ".mps.gz") == 0) files.push_back(f);
    }
    closedir(d);
  }
  std::sort(files.begin(), files.end());
  std::printf("%-16s %4s %8s %8s %10s %9s %9s %7s %9s\n", "file", "res", "rows", "cols", "nnz",
              "read s", "zcat s", "ratio", "peak KiB");
  double total = 0, totalzcat = 0;
  for (const std::string& f : files) {
    const std::string path = dir + "/" + f;
    const ReadResult r = ReadOne(env, path);
    const double z = ZcatSeconds(path);
    total += r.seconds;
    totalzcat += z > 0 ? z : 0;
    PrintRow(f.substr(0, f.size() - 7), r, z);
  }
  std::printf("%-16s %4s %8s %8s %10s %9.4f %9.4f\n", "netlib total", "", "", "", "", total,
              totalzcat);
  // Linear scaling: the same generator at a quarter, a half and the whole million.
  for (const int64_t nnz : {250000LL, 500000LL, 1000000LL}) {
    const std::string path = "/tmp/vlr_readbench_" + std::to_string(nnz) + ".mps.gz";
    const int32_t n = static_cast<int32_t>(nnz / 10);
    WriteGenerated(path, n / 2, n, nnz);
    const ReadResult r = ReadOne(env, path);
    PrintRow("gen-" + std::to_string(nnz), r, ZcatSeconds(path));
    std::remove(path.c_str());
  }
  VLR_deleteenv(&env);
  return 0;
}
