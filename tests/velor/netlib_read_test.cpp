// tests/velor/netlib_read_test.cpp: every Netlib file reads with the published counts, and
// writes back as MPS, plain and gzip, and as LP, to the same problem.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "fixture.h"
#include "velor/probdata.h"

namespace {

namespace fs = std::filesystem;

struct Counts {
  int32_t rows = -1, cols = -1;
  int64_t nonzeros = -1;
};

// OPTIMA.csv counts constraint rows (the free objective row left out), columns and the
// non-zeros of A without the objective; an empty field is unknown.
std::map<std::string, Counts> ReadOptima(const fs::path& csv) {
  std::map<std::string, Counts> out;
  std::ifstream in(csv);
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#' || line.rfind("name,", 0) == 0) continue;
    std::vector<std::string> f;
    std::stringstream ss(line);
    std::string item;
    while (std::getline(ss, item, ','))
      f.push_back(item);
    if (f.size() < 4) continue;
    Counts c;
    if (!f[1].empty()) c.rows = std::stoi(f[1]);
    if (!f[2].empty()) c.cols = std::stoi(f[2]);
    if (!f[3].empty()) c.nonzeros = std::stoll(f[3]);
    out[f[0]] = c;
  }
  return out;
}

// The instances exist only for the instance run (VLR_TEST_INSTANCE=1).
std::vector<std::string> DataFiles() {
  std::vector<std::string> files;
  const char* on = std::getenv("VLR_TEST_INSTANCE");
  if (on == nullptr || on[0] != '1') return files;
  for (const char* sub : {"/netlib", "/netlib-infeas"}) {
    const fs::path dir = fs::path(VLR_DATA_DIR).concat(sub);
    std::error_code ec;
    if (!fs::is_directory(dir, ec)) continue;
    for (const auto& e : fs::directory_iterator(dir, ec)) {
      const std::string name = e.path().filename().string();
      if (name.size() > 7 && name.substr(name.size() - 7) == ".mps.gz") files.push_back(e.path());
    }
  }
  std::sort(files.begin(), files.end());
  if (files.empty()) files.push_back("");  // no data: one instance that skips
  return files;
}

// The problem as plain data, for comparing a task with its written and read-back copy.
struct Problem {
  int32_t m = 0, n = 0;
  double cfix = 0;
  std::vector<int32_t> bkc, bkx;
  std::vector<double> blc, buc, blx, bux, c;
  std::vector<std::string> conname, varname;
  std::vector<std::vector<std::pair<int32_t, double>>> cols;
};

Problem Take(VLRtask_t task) {
  Problem p;
  EXPECT_EQ(VLR_getnumcon(task, &p.m), VLR_RES_OK);
  EXPECT_EQ(VLR_getnumvar(task, &p.n), VLR_RES_OK);
  EXPECT_EQ(VLR_getcfix(task, &p.cfix), VLR_RES_OK);
  const auto m = size_t(p.m), n = size_t(p.n);
  p.bkc.resize(m + 1);
  p.blc.resize(m + 1);
  p.buc.resize(m + 1);
  p.bkx.resize(n + 1);
  p.blx.resize(n + 1);
  p.bux.resize(n + 1);
  p.c.resize(n + 1);
  EXPECT_EQ(VLR_getboundslice(task, VLR_ACC_CON, 0, p.m, p.bkc.data(), p.blc.data(), p.buc.data()),
            VLR_RES_OK);
  EXPECT_EQ(VLR_getboundslice(task, VLR_ACC_VAR, 0, p.n, p.bkx.data(), p.blx.data(), p.bux.data()),
            VLR_RES_OK);
  EXPECT_EQ(VLR_getcslice(task, 0, p.n, p.c.data()), VLR_RES_OK);
  char name[1024];
  for (int32_t i = 0; i < p.m; ++i) {
    EXPECT_EQ(VLR_getconname(task, i, sizeof name, name), VLR_RES_OK);
    p.conname.emplace_back(name);
  }
  std::vector<int32_t> sub(m + 1);
  std::vector<double> val(m + 1);
  for (int32_t j = 0; j < p.n; ++j) {
    EXPECT_EQ(VLR_getvarname(task, j, sizeof name, name), VLR_RES_OK);
    p.varname.emplace_back(name);
    int32_t nz = 0;
    EXPECT_EQ(VLR_getavec(task, VLR_ACC_VAR, j, &nz, sub.data(), val.data()), VLR_RES_OK);
    std::vector<std::pair<int32_t, double>> col;
    for (int32_t k = 0; k < nz; ++k)
      col.emplace_back(sub[size_t(k)], val[size_t(k)]);
    std::sort(col.begin(), col.end());
    p.cols.push_back(std::move(col));
  }
  return p;
}

// Written with 17 digits every number reads back to the same double, except a range's upper
// end, which is read as lower end plus width and may differ in the last bit.
void ExpectSame(const Problem& a, const Problem& b, const std::string& what) {
  ASSERT_EQ(a.m, b.m) << what;
  ASSERT_EQ(a.n, b.n) << what;
  EXPECT_EQ(a.cfix, b.cfix) << what;
  EXPECT_EQ(a.bkc, b.bkc) << what;
  EXPECT_EQ(a.bkx, b.bkx) << what;
  EXPECT_EQ(a.blc, b.blc) << what;
  EXPECT_EQ(a.blx, b.blx) << what;
  EXPECT_EQ(a.bux, b.bux) << what;
  EXPECT_EQ(a.c, b.c) << what;
  EXPECT_EQ(a.conname, b.conname) << what;
  EXPECT_EQ(a.varname, b.varname) << what;
  for (size_t i = 0; i < size_t(a.m); ++i) {
    const double tol = 1e-15 * std::max(1.0, std::fabs(a.buc[i]));
    EXPECT_NEAR(a.buc[i], b.buc[i], tol) << what << " row " << i;
  }
  for (size_t j = 0; j < size_t(a.n); ++j)
    ASSERT_EQ(a.cols[j], b.cols[j]) << what << " column " << j;
}

class NetlibRead : public ::testing::TestWithParam<std::string> {};

TEST_P(NetlibRead, ReadsWithCountsAndRoundTripsThroughMpsAndLp) {
  const std::string path = GetParam();
  if (path.empty()) GTEST_SKIP() << "no data in " << VLR_DATA_DIR;
  const fs::path p(path);
  std::string stem = p.filename().string();
  stem = stem.substr(0, stem.size() - 7);
  auto env = vlrtest::MakeEnv();
  auto task = vlrtest::MakeTask(env.get());
  VLR_putintparam(task.get(), VLR_IPAR_LOG, 0);
  ASSERT_EQ(VLR_readdata(task.get(), path.c_str()), VLR_RES_OK) << vlrtest::LastError(task.get());
  const auto optima = ReadOptima(p.parent_path() / "OPTIMA.csv");
  const auto it = optima.find(stem);
  int32_t rdcon = 0, rdvar = 0;
  int64_t rdanz = 0;
  ASSERT_EQ(VLR_getintinf(task.get(), VLR_IINF_RD_NUMCON, &rdcon), VLR_RES_OK);
  ASSERT_EQ(VLR_getintinf(task.get(), VLR_IINF_RD_NUMVAR, &rdvar), VLR_RES_OK);
  ASSERT_EQ(VLR_getlintinf(task.get(), VLR_LIINF_RD_NUMANZ, &rdanz), VLR_RES_OK);
  if (it != optima.end() && it->second.rows >= 0) {
    EXPECT_EQ(rdcon, it->second.rows);
    EXPECT_EQ(rdvar, it->second.cols);
    EXPECT_EQ(rdanz, it->second.nonzeros);
  }
  // Two passes: the arrays were sized once, and nothing grew while the second pass stored.
  EXPECT_EQ(vlr::VLR_taskcast(task.get())->data->numexpand, 0);
  const Problem orig = Take(task.get());
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_WRITE_PRECISION, 17), VLR_RES_OK);
  // Some files have blanks in names ("DEDO3 1R", "       1"): written as they are, in their
  // columns, they read back in the fixed form; the quoting rule would refuse them. LP quotes them.
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_WRITE_MPS_QUOTED_NAMES, 0), VLR_RES_OK);
  for (const char* ext : {".mps", ".mps.gz", ".lp"}) {
    const std::string out = vlrtest::TmpPath(("netlib_" + stem + ext).c_str());
    ASSERT_EQ(VLR_writedata(task.get(), out.c_str()), VLR_RES_OK) << vlrtest::LastError(task.get());
    auto back = vlrtest::MakeTask(env.get());
    VLR_putintparam(back.get(), VLR_IPAR_LOG, 0);
    ASSERT_EQ(VLR_readdata(back.get(), out.c_str()), VLR_RES_OK) << vlrtest::LastError(back.get());
    ExpectSame(orig, Take(back.get()), out);
    std::remove(out.c_str());
  }
}

std::string InstanceName(const ::testing::TestParamInfo<std::string>& info) {
  if (info.param.empty()) return "none";
  const fs::path p(info.param);
  std::string s = p.parent_path().filename().string() + "_" + p.filename().string();
  s = s.substr(0, s.size() - 7);
  for (char& ch : s) {
    if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
  }
  return s;
}

INSTANTIATE_TEST_SUITE_P(Data, NetlibRead, ::testing::ValuesIn(DataFiles()), InstanceName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibRead);

}  // namespace
