// bench/cholbench.cpp: the sparse LDL' on normal-equations matrices A D A' of Netlib and lp-dev
// problems and on generated grids and random problems: ordering time, nnz(L), flops, factor time
// and Gflop/s, beside AMD, METIS and CHOLMOD's supernodal factor when those are installed.
// Usage: vlr_bench_chol [--small] [--no-netlib] [file.mps[.gz] ...]
// SPDX-License-Identifier: Apache-2.0
#include <dirent.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kfac/kfac.h"
#include "mpsmatrix.h"
#include "velor.h"

#if defined(VLR_HAVE_PEERS)
#include <amd.h>
#include <cholmod.h>
#include <metis.h>
#endif

namespace {

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// A symmetric matrix by columns, upper triangle (rows r <= column).
struct Sym {
  std::string name;
  int32_t n = 0;
  std::vector<int64_t> beg{0};
  std::vector<int32_t> sub;
  std::vector<double> val;
};

// A D A' with D a random positive scaling, from a column-wise A.
Sym NormalEquations(const std::string& name, int32_t m, int32_t n, const std::vector<int64_t>& abeg,
                    const std::vector<int32_t>& aidx, const std::vector<double>& aval,
                    uint32_t seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> u(-3.0, 3.0);
  std::vector<double> d(n);
  for (double& x : d)
    x = std::pow(10.0, u(rng));
  // Row-wise copy of A.
  std::vector<int64_t> rbeg(m + 1, 0);
  for (int32_t k : aidx)
    ++rbeg[k + 1];
  for (int32_t i = 0; i < m; ++i)
    rbeg[i + 1] += rbeg[i];
  std::vector<int32_t> rcol(aidx.size());
  std::vector<double> rval(aidx.size());
  std::vector<int64_t> fill(rbeg.begin(), rbeg.end() - 1);
  for (int32_t j = 0; j < n; ++j)
    for (int64_t k = abeg[j]; k < abeg[j + 1]; ++k)
      rcol[fill[aidx[k]]] = j, rval[fill[aidx[k]]++] = aval[k];
  Sym s;
  s.name = name;
  s.n = m;
  std::vector<double> acc(m, 0.0);
  std::vector<int32_t> mark(m, -1), list;
  for (int32_t i = 0; i < m; ++i) {
    list.clear();
    for (int64_t k = rbeg[i]; k < rbeg[i + 1]; ++k) {
      const int32_t j = rcol[k];
      const double f = rval[k] * d[j];
      for (int64_t q = abeg[j]; q < abeg[j + 1]; ++q) {
        const int32_t r = aidx[q];
        if (r > i) continue;
        if (mark[r] != i) mark[r] = i, acc[r] = 0.0, list.push_back(r);
        acc[r] += f * aval[q];
      }
    }
    if (mark[i] != i) mark[i] = i, acc[i] = 0.0, list.push_back(i);
    acc[i] += 1e-8;  // a rank-deficient A still has a positive diagonal
    std::sort(list.begin(), list.end());
    for (int32_t r : list)
      s.sub.push_back(r), s.val.push_back(acc[r]);
    s.beg.push_back(static_cast<int64_t>(s.sub.size()));
  }
  return s;
}

Sym Grid(int32_t nx, int32_t ny, int32_t nz) {
  Sym s;
  s.name = "grid" + std::to_string(nx) + "x" + std::to_string(ny) +
           (nz > 1 ? "x" + std::to_string(nz) : "");
  s.n = nx * ny * nz;
  for (int32_t z = 0; z < nz; ++z)
    for (int32_t y = 0; y < ny; ++y)
      for (int32_t x = 0; x < nx; ++x) {
        const int32_t id = x + nx * (y + ny * z);
        if (z > 0) s.sub.push_back(id - nx * ny), s.val.push_back(-1.0);
        if (y > 0) s.sub.push_back(id - nx), s.val.push_back(-1.0);
        if (x > 0) s.sub.push_back(id - 1), s.val.push_back(-1.0);
        s.sub.push_back(id), s.val.push_back(nz > 1 ? 6.01 : 4.01);
        s.beg.push_back(static_cast<int64_t>(s.sub.size()));
      }
  return s;
}

// A random LP-like A (m x 2m, k entries a column) turned into A D A'.
Sym RandomNormal(int32_t m, int32_t k, uint32_t seed) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int32_t> row(0, m - 1);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  const int32_t n = 2 * m;
  std::vector<int64_t> beg{0};
  std::vector<int32_t> idx;
  std::vector<double> val;
  for (int32_t j = 0; j < n; ++j) {
    std::vector<int32_t> rows{j % m};
    while (static_cast<int32_t>(rows.size()) < k) {
      const int32_t r = row(rng);
      if (std::find(rows.begin(), rows.end(), r) == rows.end()) rows.push_back(r);
    }
    std::sort(rows.begin(), rows.end());
    for (int32_t r : rows)
      idx.push_back(r), val.push_back(u(rng));
    beg.push_back(static_cast<int64_t>(idx.size()));
  }
  return NormalEquations("rand" + std::to_string(m) + "k" + std::to_string(k), m, n, beg, idx, val,
                         seed);
}

// Exact fill and flops of a permutation.
[[maybe_unused]] vlr::OrderCount Count(vlr::SysEnv* sys, const Sym& s, const int32_t* perm) {
  std::vector<int32_t> len(s.n);
  for (int32_t j = 0; j < s.n; ++j)
    len[j] = static_cast<int32_t>(s.beg[j + 1] - s.beg[j]);
  vlr::OrderCount c{};
  vlr::VLR_ordmat_symcount(sys, {s.n, len.data(), s.beg.data(), s.sub.data()}, perm, nullptr,
                           nullptr, &c);
  return c;
}

// Relative residual of one solve.
double Residual(vlr::sfk* obj, const Sym& s) {
  std::vector<double> b(s.n), x(s.n);
  for (int32_t i = 0; i < s.n; ++i)
    b[i] = 1.0 + (i % 7);
  x = b;
  vlr::VLR_sfk_solve(obj, x.data());
  std::vector<double> r = b;
  double an = 0.0, xn = 0.0, bn = 0.0, rn = 0.0;
  for (int32_t j = 0; j < s.n; ++j)
    for (int64_t k = s.beg[j]; k < s.beg[j + 1]; ++k) {
      const int32_t i = s.sub[k];
      r[i] -= s.val[k] * x[j];
      if (i != j) r[j] -= s.val[k] * x[i];
      an = std::max(an, std::fabs(s.val[k]));
    }
  for (int32_t i = 0; i < s.n; ++i)
    xn = std::max(xn, std::fabs(x[i])), bn = std::max(bn, std::fabs(b[i])),
    rn = std::max(rn, std::fabs(r[i]));
  return rn / (an * xn + bn);
}

struct Peers {
  double amdtime = 0, metistime = 0, cmtime = 0;
  int64_t amdl = 0, metisl = 0;
  double cmflops = 0;
};

#if defined(VLR_HAVE_PEERS)
Peers RunPeers(vlr::SysEnv* sys, const Sym& s, const int32_t* ourperm) {
  Peers p;
  // Both triangles for AMD and METIS, without the diagonal.
  std::vector<std::vector<int32_t>> adj(s.n);
  for (int32_t j = 0; j < s.n; ++j)
    for (int64_t k = s.beg[j]; k < s.beg[j + 1]; ++k)
      if (s.sub[k] != j) adj[j].push_back(s.sub[k]), adj[s.sub[k]].push_back(j);
  std::vector<int32_t> ap{0}, ai;
  for (auto& a : adj) {
    std::sort(a.begin(), a.end());
    ai.insert(ai.end(), a.begin(), a.end());
    ap.push_back(static_cast<int32_t>(ai.size()));
  }
  std::vector<int32_t> perm(s.n), iperm(s.n);
  double t = Now();
  amd_order(s.n, ap.data(), ai.data(), perm.data(), nullptr, nullptr);
  p.amdtime = Now() - t;
  p.amdl = Count(sys, s, perm.data()).lsize;
  if (!ai.empty()) {
    idx_t n = s.n;
    std::vector<idx_t> xadj(ap.begin(), ap.end()), adjncy(ai.begin(), ai.end()), mp(s.n), mi(s.n);
    t = Now();
    METIS_NodeND(&n, xadj.data(), adjncy.data(), nullptr, nullptr, mp.data(), mi.data());
    p.metistime = Now() - t;
    for (int32_t i = 0; i < s.n; ++i)
      perm[i] = static_cast<int32_t>(mp[i]);
    p.metisl = Count(sys, s, perm.data()).lsize;
  } else {
    p.metisl = s.n;
  }
  // CHOLMOD's supernodal factor with our permutation, so that both factor the same matrix.
  cholmod_common c;
  cholmod_start(&c);
  c.print = 0;  // its warnings would cut our table
  c.supernodal = CHOLMOD_SUPERNODAL;
  c.nmethods = 1;
  c.method[0].ordering = CHOLMOD_GIVEN;
  c.postorder = 1;
  cholmod_sparse* a = cholmod_allocate_sparse(s.n, s.n, s.sub.size(), 1, 1, 1, CHOLMOD_REAL, &c);
  std::vector<int32_t> cp(s.beg.begin(), s.beg.end());
  std::memcpy(a->p, cp.data(), cp.size() * sizeof(int32_t));
  std::memcpy(a->i, s.sub.data(), s.sub.size() * sizeof(int32_t));
  std::memcpy(a->x, s.val.data(), s.val.size() * sizeof(double));
  std::vector<int32_t> given(ourperm, ourperm + s.n);
  cholmod_factor* l = cholmod_analyze_p(a, given.data(), nullptr, 0, &c);
  t = Now();
  cholmod_factorize(a, l, &c);
  p.cmtime = Now() - t;
  p.cmflops = c.fl;
  cholmod_free_factor(&l, &c);
  cholmod_free_sparse(&a, &c);
  cholmod_finish(&c);
  return p;
}
#endif

void Run(vlr::SysEnv* sys, const Sym& s) {
  vlr::sfk* obj = nullptr;
  vlr::VLR_sfk_create(sys, s.n, 1, &obj);
  vlr::VLR_sfk_inasub(obj, s.beg.data(), s.sub.data());
  double t = Now();
  if (vlr::VLR_sfk_order(obj, 0.25, 0.25, VLR_ORDER_METHOD_FREE, 0, nullptr, nullptr) != 0) {
    std::printf("%-14s ordering failed\n", s.name.c_str());
    vlr::VLR_sfk_destroy(&obj);
    return;
  }
  const double tord = Now() - t;
  const vlr::OrderCount oc = vlr::VLR_sfk_getorinfo(obj);
  t = Now();
  vlr::VLR_sfk_setupL(obj);
  const double tsym = Now() - t;
  for (int32_t i = 0; i < s.n; ++i)
    vlr::VLR_sfk_putdtype(obj, i, 0x88);
  vlr::VLR_sfk_inaval(obj, s.val.data());
  t = Now();
  vlr::VLR_ch_calfac(obj);
  const double tfac = Now() - t;
  const double res = Residual(obj, s);
  const double flops = oc.flops;  // sum of squared column counts, the same figure for both
  std::printf("%-14s %8d %10lld %9.3f %11lld %9.2e %8.3f %8.3f %6.2f %8.1e %4d", s.name.c_str(),
              s.n, static_cast<long long>(s.beg[s.n]), tord, static_cast<long long>(oc.lsize),
              flops, tsym, tfac, flops / std::max(tfac, 1e-9) * 1e-9, res,
              vlr::VLR_sfk_num_RDEF(obj));
#if defined(VLR_HAVE_PEERS)
  const Peers p = RunPeers(sys, s, vlr::VLR_sfk_getp(obj));
  const double best = static_cast<double>(std::min(p.amdl, p.metisl));
  std::printf(" | %11lld %8.3f %11lld %8.3f %6.3f | %8.3f %6.2f %5.2fx",
              static_cast<long long>(p.amdl), p.amdtime, static_cast<long long>(p.metisl),
              p.metistime, oc.lsize / best, p.cmtime, flops / std::max(p.cmtime, 1e-9) * 1e-9,
              p.cmtime / std::max(tfac, 1e-9));
#endif
  std::printf("\n");
  std::fflush(stdout);
  vlr::VLR_sfk_destroy(&obj);
}

void RunMps(vlr::SysEnv* sys, const std::string& path, const std::string& name) {
  bench::MpsMatrix a;
  if (!bench::ReadMpsMatrix(path, &a) || a.m == 0) return;
  Run(sys, NormalEquations(name, a.m, a.n, a.beg, a.idx, a.val, 12345));
}

std::vector<std::string> List(const std::string& dir) {
  std::vector<std::string> names;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d))
      if (std::strstr(e->d_name, ".mps") != nullptr) names.push_back(e->d_name);
    closedir(d);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

int main(int argc, char** argv) {
  bool small = false, netlib = true;
  std::vector<std::string> files;
  for (int k = 1; k < argc; ++k) {
    if (std::strcmp(argv[k], "--small") == 0) {
      small = true;
    } else if (std::strcmp(argv[k], "--no-netlib") == 0) {
      netlib = false;
    } else {
      files.push_back(argv[k]);
    }
  }
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 0, nullptr, nullptr, nullptr);
  std::printf("%-14s %8s %10s %9s %11s %9s %8s %8s %6s %8s %4s", "matrix", "n", "nnz(A)", "order s",
              "nnz(L)", "flops", "symb s", "fact s", "Gf/s", "resid", "rdef");
#if defined(VLR_HAVE_PEERS)
  std::printf(" | %11s %8s %11s %8s %6s | %8s %6s %6s", "AMD nnz(L)", "AMD s", "METIS nnz(L)",
              "METIS s", "/best", "CM fac s", "CM Gf/s", "speed");
#endif
  std::printf("\n");
  for (const std::string& f : files)
    RunMps(sys, f, f.substr(f.find_last_of('/') + 1));
  if (files.empty()) {
    const std::string data = VLR_DATA_DIR;
    if (netlib) {
      for (const std::string& f : List(data + "/netlib"))
        RunMps(sys, data + "/netlib/" + f, f.substr(0, f.find('.')));
    }
    for (const std::string& f : List(data + "/lp-dev"))
      RunMps(sys, data + "/lp-dev/" + f, f.substr(0, f.find('.')));
    Run(sys, Grid(100, 100, 1));
    Run(sys, Grid(20, 20, 20));
    Run(sys, RandomNormal(2000, 4, 1));
    if (!small) {  // up to about 10^7 entries in L
      Run(sys, Grid(300, 300, 1));
      Run(sys, Grid(700, 700, 1));
      Run(sys, Grid(30, 30, 30));
      Run(sys, Grid(36, 36, 36));
      Run(sys, RandomNormal(6000, 5, 2));
    }
  }
  vlr::VLR_sysenv_delete(&sys);
  return 0;
}
