// tests/velor/netlib_optimize_test.cpp: every Netlib problem solved by the simplex optimisers
// and the interior-point one, each solution recomputed from the problem's data and held to the
// reference objective; the infeasible set ends in a certificate that passes a Farkas check; a
// changed bound re-solves from the old basis in few iterations; time, callback and iteration limits
// end with their codes. SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "fixture.h"
#include "pivot/pivot.h"

namespace {

namespace fs = std::filesystem;

// Thresholds of the checks below, all relative (see each measure for its scale).
constexpr double kObjTol = 1e-6;     // |obj - ref| <= kObjTol max(1, |ref|)
constexpr double kPrimalTol = 1e-6;  // bound and equality violations
constexpr double kDualTol = 1e-6;    // sign and equation violations of the multipliers
constexpr double kGapTol = 1e-6;     // |primal obj - dual obj| <= kGapTol max(1, |primal obj|)
constexpr double kCertTol = 1e-7;    // a certificate's residual, against its own size
// Above this many non-zeros a problem joins the slow set, which the sanitizer run leaves out.
constexpr int64_t kSlowNonzeros = 20000;

struct Known {
  int64_t nonzeros = -1;
  bool hasref = false;
  double ref = 0;
};

// OPTIMA.csv by name: non-zeros and reference_objective; columns are found by their headers.
std::map<std::string, Known> ReadOptima(const fs::path& csv) {
  std::map<std::string, Known> out;
  std::ifstream in(csv);
  std::string line;
  int nzcol = -1, refcol = -1;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::vector<std::string> f;
    std::stringstream ss(line);
    std::string item;
    while (std::getline(ss, item, ','))
      f.push_back(item);
    if (f.empty()) continue;
    if (f[0] == "name") {
      for (size_t k = 0; k < f.size(); ++k) {
        if (f[k] == "nonzeros") nzcol = int(k);
        if (f[k] == "reference_objective") refcol = int(k);
      }
      continue;
    }
    Known c;
    if (nzcol >= 0 && int(f.size()) > nzcol && !f[size_t(nzcol)].empty()) {
      c.nonzeros = std::stoll(f[size_t(nzcol)]);
    }
    if (refcol >= 0 && int(f.size()) > refcol && !f[size_t(refcol)].empty()) {
      c.hasref = true;
      c.ref = std::stod(f[size_t(refcol)]);
    }
    out[f[0]] = c;
  }
  return out;
}

std::string Stem(const fs::path& p) {
  const std::string s = p.filename().string();
  return s.substr(0, s.size() - 7);  // ".mps.gz"
}

bool InstanceRun() {
  const char* on = std::getenv("VLR_TEST_INSTANCE");
  return on != nullptr && on[0] == '1';
}

// The files of one set, small or slow ones. Without a count in OPTIMA.csv the size is guessed
// from the compressed file at five bytes a non-zero. The instances exist only for the instance
// run (VLR_TEST_INSTANCE=1).
std::vector<std::string> SetFiles(const char* sub, bool slow) {
  std::vector<std::string> files;
  if (!InstanceRun()) return files;
  const fs::path dir = fs::path(VLR_DATA_DIR) / sub;
  std::error_code ec;
  if (!fs::is_directory(dir, ec)) return files;
  const auto known = ReadOptima(dir / "OPTIMA.csv");
  for (const auto& e : fs::directory_iterator(dir, ec)) {
    const std::string name = e.path().filename().string();
    if (name.size() <= 7 || name.substr(name.size() - 7) != ".mps.gz") continue;
    const auto it = known.find(Stem(e.path()));
    int64_t nz = it != known.end() ? it->second.nonzeros : -1;
    if (nz < 0) nz = int64_t(fs::file_size(e.path(), ec) / 5);
    if ((nz > kSlowNonzeros) == slow) files.push_back(e.path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

struct Case {
  std::string path;
  int32_t optimizer;
};

void PrintTo(const Case& c, std::ostream* os) {
  *os << c.path << " optimizer " << c.optimizer;
}

// The simplex optimisers on a set, and the interior-point one on the feasible set.
std::vector<Case> Cases(const char* sub, bool slow) {
  std::vector<Case> out;
  const bool feasible = std::string(sub) == "netlib";
  for (const std::string& f : SetFiles(sub, slow)) {
    for (int32_t opt :
         {VLR_OPTIMIZER_DUAL_SIMPLEX, VLR_OPTIMIZER_FREE_SIMPLEX, VLR_OPTIMIZER_PRIMAL_SIMPLEX})
      out.push_back({f, opt});
    if (feasible) out.push_back({f, VLR_OPTIMIZER_INTPNT});
  }
  return out;
}

// The primal-dual simplex and the concurrent optimiser on a set.
std::vector<Case> MoreCases(const char* sub, bool slow) {
  std::vector<Case> out;
  for (const std::string& f : SetFiles(sub, slow))
    for (int32_t opt : {VLR_OPTIMIZER_PRIMAL_DUAL_SIMPLEX, VLR_OPTIMIZER_CONCURRENT})
      out.push_back({f, opt});
  return out;
}

// The interior-point optimiser on a set. Its certificates of infeasibility are held to the same
// checks as the simplex's.
std::vector<Case> InteriorCases(const char* sub, bool slow) {
  std::vector<Case> out;
  for (const std::string& f : SetFiles(sub, slow))
    out.push_back({f, VLR_OPTIMIZER_INTPNT});
  return out;
}

std::string CaseName(const ::testing::TestParamInfo<Case>& info) {
  const int32_t opt = info.param.optimizer;
  std::string s = Stem(info.param.path) + (opt == VLR_OPTIMIZER_DUAL_SIMPLEX          ? "_dual"
                                           : opt == VLR_OPTIMIZER_PRIMAL_SIMPLEX      ? "_primal"
                                           : opt == VLR_OPTIMIZER_INTPNT              ? "_intpnt"
                                           : opt == VLR_OPTIMIZER_PRIMAL_DUAL_SIMPLEX ? "_pd"
                                           : opt == VLR_OPTIMIZER_CONCURRENT          ? "_conc"
                                                                                      : "_free");
  for (char& ch : s) {
    if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
  }
  return s;
}

// The problem as plain arrays, A by columns.
struct Lp {
  int32_t m = 0, n = 0;
  double sgn = 1;  // +1 minimise, -1 maximise: the sign the multipliers must have
  double cfix = 0;
  std::vector<int32_t> bkc, bkx;
  std::vector<double> blc, buc, blx, bux, c;
  std::vector<int32_t> ptrb, ptre, sub;
  std::vector<double> val;
};

Lp TakeLp(VLRtask_t task) {
  Lp p;
  EXPECT_EQ(VLR_getnumcon(task, &p.m), VLR_RES_OK);
  EXPECT_EQ(VLR_getnumvar(task, &p.n), VLR_RES_OK);
  EXPECT_EQ(VLR_getcfix(task, &p.cfix), VLR_RES_OK);
  int32_t sense = 0;
  EXPECT_EQ(VLR_getobjsense(task, &sense), VLR_RES_OK);
  p.sgn = sense == VLR_OBJECTIVE_SENSE_MAXIMIZE ? -1.0 : 1.0;
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
  int32_t nz = 0;
  EXPECT_EQ(VLR_getaslicenumnz(task, VLR_ACC_VAR, 0, p.n, &nz), VLR_RES_OK);
  p.ptrb.resize(n + 1);
  p.ptre.resize(n + 1);
  p.sub.resize(size_t(nz) + 1);
  p.val.resize(size_t(nz) + 1);
  int32_t surp = nz;
  EXPECT_EQ(VLR_getaslice(task, VLR_ACC_VAR, 0, p.n, nz, &surp, p.ptrb.data(), p.ptre.data(),
                          p.sub.data(), p.val.data()),
            VLR_RES_OK);
  return p;
}

bool HasLow(int32_t bk) {
  return bk == VLR_BK_LO || bk == VLR_BK_FX || bk == VLR_BK_RA;
}
bool HasUpp(int32_t bk) {
  return bk == VLR_BK_UP || bk == VLR_BK_FX || bk == VLR_BK_RA;
}

struct Sol {
  int32_t prosta = -1, solsta = -1;
  std::vector<int32_t> skc, skx;
  std::vector<double> xc, xx, y, slc, suc, slx, sux;
};

// The solution a road writes: the interior one for the interior-point optimiser, else the basic.
// The concurrent optimiser's is that of its winner.
int32_t WhichSol(int32_t optimizer, VLRtask_t task = nullptr) {
  if (optimizer == VLR_OPTIMIZER_CONCURRENT && task != nullptr) {
    EXPECT_EQ(VLR_getintinf(task, VLR_IINF_CONCURRENT_FASTEST_OPTIMIZER, &optimizer), VLR_RES_OK);
  }
  return optimizer == VLR_OPTIMIZER_INTPNT ? VLR_SOL_ITR : VLR_SOL_BAS;
}

Sol TakeSol(VLRtask_t task, const Lp& p, int32_t whichsol = VLR_SOL_BAS) {
  Sol s;
  const auto m = size_t(p.m) + 1, n = size_t(p.n) + 1;
  s.skc.resize(m);
  s.skx.resize(n);
  s.xc.resize(m);
  s.y.resize(m);
  s.slc.resize(m);
  s.suc.resize(m);
  s.xx.resize(n);
  s.slx.resize(n);
  s.sux.resize(n);
  EXPECT_EQ(VLR_getsolution(task, whichsol, &s.prosta, &s.solsta, s.skc.data(), s.skx.data(),
                            nullptr, s.xc.data(), s.xx.data(), s.y.data(), s.slc.data(),
                            s.suc.data(), s.slx.data(), s.sux.data(), nullptr),
            VLR_RES_OK)
      << vlrtest::LastError(task);
  return s;
}

// A'y by columns.
std::vector<double> Aty(const Lp& p, const std::vector<double>& y) {
  std::vector<double> out(size_t(p.n), 0.0);
  for (size_t j = 0; j < size_t(p.n); ++j) {
    for (auto k = size_t(p.ptrb[j]); k < size_t(p.ptre[j]); ++k)
      out[j] += p.val[k] * y[size_t(p.sub[k])];
  }
  return out;
}

// The largest violations of a basic solution, each relative to a scale of its own:
//  pbnd  bound violation of xc and xx, over 1 + |the violated bound|;
//  peq   |xc_i - sum_j a_ij xx_j|, over 1 + max(|xc_i|, max_j |a_ij xx_j|);
//  dsign a multiplier of the wrong sign, or a non-zero one of a missing side, over 1 + max|c|;
//  deq   |c_j - (A'y)_j - slx_j + sux_j| and |y_i - slc_i + suc_i|, over 1 + max|c|;
//  gap   |c'x - (blc'slc - buc'suc + blx'slx - bux'sux)|, over max(1, |c'x + cfix|).
struct Measures {
  double pbnd = 0, peq = 0, dsign = 0, deq = 0, gap = 0, pobj = 0, dobj = 0;
};

double BoundViol(int32_t bk, double bl, double bu, double x) {
  double v = 0;
  if (HasLow(bk)) v = std::max(v, (bl - x) / (1 + std::fabs(bl)));
  if (HasUpp(bk)) v = std::max(v, (x - bu) / (1 + std::fabs(bu)));
  return v;
}

double SignViol(int32_t bk, double sl, double su, double sgn) {
  double v = HasLow(bk) ? std::max(0.0, -sgn * sl) : std::fabs(sl);
  return std::max(v, HasUpp(bk) ? std::max(0.0, -sgn * su) : std::fabs(su));
}

// The largest finite bound of the problem.
double BoundNorm(const Lp& p) {
  double bnorm = 0;
  auto side = [&](int32_t bk, double bl, double bu) {
    if (HasLow(bk) && std::fabs(bl) < 1e30) bnorm = std::max(bnorm, std::fabs(bl));
    if (HasUpp(bk) && std::fabs(bu) < 1e30) bnorm = std::max(bnorm, std::fabs(bu));
  };
  for (size_t i = 0; i < size_t(p.m); ++i)
    side(p.bkc[i], p.blc[i], p.buc[i]);
  for (size_t j = 0; j < size_t(p.n); ++j)
    side(p.bkx[j], p.blx[j], p.bux[j]);
  return bnorm;
}

// dsize raises the scale of the dual measures above 1 + max|c|.
Measures Check(const Lp& p, const Sol& s, double dsize = 0) {
  Measures r;
  const auto m = size_t(p.m), n = size_t(p.n);
  std::vector<double> ax(m, 0.0), axmax(m, 0.0);
  for (size_t j = 0; j < n; ++j) {
    for (auto k = size_t(p.ptrb[j]); k < size_t(p.ptre[j]); ++k) {
      const double t = p.val[k] * s.xx[j];
      ax[size_t(p.sub[k])] += t;
      axmax[size_t(p.sub[k])] = std::max(axmax[size_t(p.sub[k])], std::fabs(t));
    }
  }
  double cmax = 0;
  for (size_t j = 0; j < n; ++j)
    cmax = std::max(cmax, std::fabs(p.c[j]));
  const double dscale = 1 + std::max(cmax, dsize);
  r.pobj = p.cfix;
  r.dobj = p.cfix;
  for (size_t i = 0; i < m; ++i) {
    r.pbnd = std::max(r.pbnd, BoundViol(p.bkc[i], p.blc[i], p.buc[i], s.xc[i]));
    r.peq =
        std::max(r.peq, std::fabs(s.xc[i] - ax[i]) / (1 + std::max(std::fabs(s.xc[i]), axmax[i])));
    r.dsign = std::max(r.dsign, SignViol(p.bkc[i], s.slc[i], s.suc[i], p.sgn) / dscale);
    r.deq = std::max(r.deq, std::fabs(s.y[i] - s.slc[i] + s.suc[i]) / dscale);
    if (HasLow(p.bkc[i])) r.dobj += p.blc[i] * s.slc[i];
    if (HasUpp(p.bkc[i])) r.dobj -= p.buc[i] * s.suc[i];
  }
  const std::vector<double> aty = Aty(p, s.y);
  for (size_t j = 0; j < n; ++j) {
    r.pbnd = std::max(r.pbnd, BoundViol(p.bkx[j], p.blx[j], p.bux[j], s.xx[j]));
    r.dsign = std::max(r.dsign, SignViol(p.bkx[j], s.slx[j], s.sux[j], p.sgn) / dscale);
    r.deq = std::max(r.deq, std::fabs(p.c[j] - aty[j] - s.slx[j] + s.sux[j]) / dscale);
    r.pobj += p.c[j] * s.xx[j];
    if (HasLow(p.bkx[j])) r.dobj += p.blx[j] * s.slx[j];
    if (HasUpp(p.bkx[j])) r.dobj -= p.bux[j] * s.sux[j];
  }
  r.gap = std::fabs(r.pobj - r.dobj) / std::max(1.0, std::fabs(r.pobj));
  return r;
}

// The primal violations of an interior solution, as its termination measures them: absolute,
// over 1 + the largest finite bound of the problem (an interior point meets each equation to a
// tolerance of the data's size, not of each row's own).
double InteriorPrimal(const Lp& p, const Sol& s) {
  double v = 0;
  auto viol = [&](int32_t bk, double bl, double bu, double x) {
    if (HasLow(bk)) v = std::max(v, bl - x);
    if (HasUpp(bk)) v = std::max(v, x - bu);
  };
  std::vector<double> ax(size_t(p.m), 0.0);
  for (size_t j = 0; j < size_t(p.n); ++j) {
    viol(p.bkx[j], p.blx[j], p.bux[j], s.xx[j]);
    for (auto k = size_t(p.ptrb[j]); k < size_t(p.ptre[j]); ++k)
      ax[size_t(p.sub[k])] += p.val[k] * s.xx[j];
  }
  for (size_t i = 0; i < size_t(p.m); ++i) {
    viol(p.bkc[i], p.blc[i], p.buc[i], s.xc[i]);
    v = std::max(v, std::fabs(ax[i] - s.xc[i]));
  }
  return v / (1 + BoundNorm(p));
}

// An interior solution's multipliers are accurate to its tolerances relative to their own size,
// so its dual measures are taken over 1 + max(|c|, |y|): agg has duals of up to 2e5 against
// costs of 100, and the reduced cost of a column is a sum of such duals (postsolve can move one,
// over a row's entry, into the dual of a removed row).
void ExpectOptimal(const Lp& p, const Sol& s, const std::string& what, bool basic = true) {
  double ymax = 0;
  for (double v : s.y)
    ymax = std::max(ymax, std::fabs(v));
  const Measures r = Check(p, s, basic ? 0.0 : ymax);
  if (basic) {
    EXPECT_LE(r.pbnd, kPrimalTol) << what << ": bound violation";
    EXPECT_LE(r.peq, kPrimalTol) << what << ": equation residual";
  } else {
    EXPECT_LE(InteriorPrimal(p, s), kPrimalTol) << what << ": bound or equation violation";
  }
  EXPECT_LE(r.dsign, kDualTol) << what << ": multiplier sign";
  EXPECT_LE(r.deq, kDualTol) << what << ": dual equation residual";
  EXPECT_LE(r.gap, kGapTol) << what << ": primal " << r.pobj << " dual " << r.dobj;
  if (!basic) return;
  int32_t nbas = 0;
  for (size_t i = 0; i < size_t(p.m); ++i)
    nbas += s.skc[i] == VLR_SK_BAS;
  for (size_t j = 0; j < size_t(p.n); ++j)
    nbas += s.skx[j] == VLR_SK_BAS;
  EXPECT_EQ(nbas, p.m) << what << ": a basis has one basic variable a row";
}

// A Farkas check of a primal infeasibility certificate. First the multipliers as given: a missing
// side has none, the others have the sense's sign, y = slc - suc and A'y + slx - sux = 0, all
// against the certificate's own size. Then from y alone: each column needs slx_j - sux_j =
// -(A'y)_j, which a present side pays for at its bound; likewise y_i at the row's bounds. The sum
// so paid is blc'slc - buc'suc + blx'slx - bux'sux at its best, and it must be positive by a
// margin against the sizes of its terms; a side that is needed but missing must be needed only
// within rounding.
void ExpectCertificate(const Lp& p, const Sol& s, const std::string& what) {
  const auto m = size_t(p.m), n = size_t(p.n);
  double size = 0, ymax = 0;
  for (size_t i = 0; i < m; ++i) {
    size = std::max({size, std::fabs(s.slc[i]), std::fabs(s.suc[i])});
    ymax = std::max(ymax, std::fabs(s.y[i]));
  }
  for (size_t j = 0; j < n; ++j)
    size = std::max({size, std::fabs(s.slx[j]), std::fabs(s.sux[j])});
  ASSERT_GT(ymax, 0.0) << what << ": a certificate needs a non-zero y";
  double amax = 0;
  for (size_t k = 0; k < p.val.size(); ++k)
    amax = std::max(amax, std::fabs(p.val[k]));
  double sign = 0, rowres = 0, colres = 0;
  for (size_t i = 0; i < m; ++i) {
    sign = std::max(sign, SignViol(p.bkc[i], s.slc[i], s.suc[i], p.sgn));
    rowres = std::max(rowres, std::fabs(s.y[i] - s.slc[i] + s.suc[i]));
  }
  const std::vector<double> aty = Aty(p, s.y);
  for (size_t j = 0; j < n; ++j) {
    sign = std::max(sign, SignViol(p.bkx[j], s.slx[j], s.sux[j], p.sgn));
    colres = std::max(colres, std::fabs(aty[j] + s.slx[j] - s.sux[j]));
  }
  EXPECT_LE(sign, kCertTol * size) << what << ": multiplier sign";
  EXPECT_LE(rowres, kCertTol * size) << what << ": y = slc - suc";
  EXPECT_LE(colres, kCertTol * size * (1 + amax)) << what << ": A'y + slx - sux = 0";

  double paid = 0, terms = 0, missing = 0;
  auto pay = [&](int32_t bk, double bl, double bu, double d, double scale) {
    // d is what the item's multipliers must come to, in the units of the minimising sense.
    if (d > 0 && HasLow(bk)) {
      paid += bl * d;
      terms += std::fabs(bl * d);
    } else if (d < 0 && HasUpp(bk)) {
      paid += bu * d;
      terms += std::fabs(bu * d);
    } else {
      missing = std::max(missing, std::fabs(d) / scale);
    }
  };
  for (size_t i = 0; i < m; ++i)
    pay(p.bkc[i], p.blc[i], p.buc[i], p.sgn * s.y[i] / ymax, 1.0);
  for (size_t j = 0; j < n; ++j)
    pay(p.bkx[j], p.blx[j], p.bux[j], -p.sgn * aty[j] / ymax, 1 + amax);
  EXPECT_LE(missing, kCertTol) << what << ": needs a bound that is not there";
  EXPECT_GT(paid, 1e-8 * terms) << what << ": the combination of bounds is not positive";
  EXPECT_GT(paid, 1e-12) << what;
}

int64_t Iterations(VLRtask_t task) {
  int64_t sum = 0;
  for (int32_t item :
       {VLR_IINF_SIM_PRIMAL_ITER, VLR_IINF_SIM_DUAL_ITER, VLR_IINF_SIM_PRIMAL_DUAL_ITER,
        VLR_IINF_SIM_NETWORK_PRIMAL_ITER, VLR_IINF_SIM_NETWORK_DUAL_ITER, VLR_IINF_INTPNT_ITER}) {
    int32_t v = 0;
    EXPECT_EQ(VLR_getintinf(task, item, &v), VLR_RES_OK);
    sum += v;
  }
  return sum;
}

vlrtest::TaskPtr ReadTask(VLRenv_t env, const std::string& path, int32_t optimizer) {
  auto task = vlrtest::MakeTask(env);
  VLR_putintparam(task.get(), VLR_IPAR_LOG, 0);
  EXPECT_EQ(VLR_readdata(task.get(), path.c_str()), VLR_RES_OK) << vlrtest::LastError(task.get());
  EXPECT_EQ(VLR_putintparam(task.get(), VLR_IPAR_OPTIMIZER, optimizer), VLR_RES_OK);
  return task;
}

// Runs VLR_optimizetrm and asserts that it returned and did not stop early.
void Optimize(VLRtask_t task) {
  int32_t trm = -1;
  ASSERT_EQ(VLR_optimizetrm(task, &trm), VLR_RES_OK) << vlrtest::LastError(task);
  ASSERT_EQ(trm, VLR_RES_OK);
}

class NetlibOptimize : public ::testing::TestWithParam<Case> {};
class NetlibInfeasible : public ::testing::TestWithParam<Case> {};

TEST_P(NetlibOptimize, OptimalAtTheReferenceWithAFeasibleBasicSolution) {
  const fs::path path(GetParam().path);
  auto env = vlrtest::MakeEnv();
  auto task = ReadTask(env.get(), path.string(), GetParam().optimizer);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  const Lp p = TakeLp(task.get());
  const int32_t whichsol = WhichSol(GetParam().optimizer, task.get());
  const Sol s = TakeSol(task.get(), p, whichsol);
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_EQ(s.prosta, VLR_PRO_STA_PRIM_AND_DUAL_FEAS);
  ExpectOptimal(p, s, path.filename().string(), whichsol == VLR_SOL_BAS);
  const auto known = ReadOptima(path.parent_path() / "OPTIMA.csv");
  const auto it = known.find(Stem(path));
  ASSERT_TRUE(it != known.end() && it->second.hasref) << "no reference for " << Stem(path);
  const double ref = it->second.ref;
  const double obj = Check(p, s).pobj;
  EXPECT_LE(std::fabs(obj - ref), kObjTol * std::max(1.0, std::fabs(ref)))
      << "objective " << obj << " reference " << ref;
  double told = 0;  // the library's objective is the one recomputed here
  ASSERT_EQ(VLR_getprimalobj(task.get(), whichsol, &told), VLR_RES_OK);
  EXPECT_NEAR(told, obj, 1e-9 * std::max(1.0, std::fabs(obj)));
}

TEST_P(NetlibInfeasible, EndsInACertificateThatProvesIt) {
  const fs::path path(GetParam().path);
  if (GetParam().optimizer == VLR_OPTIMIZER_INTPNT && Stem(path) == "cplex2") {
    GTEST_SKIP() << "cplex2 is feasible to 1.4e-9 of its right-hand side: the interior point "
                    "stalls there, and only the simplex's exact certificate (its objective "
                    "6e-5) tells it from a feasible problem";
  }
  auto env = vlrtest::MakeEnv();
  auto task = ReadTask(env.get(), path.string(), GetParam().optimizer);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  const Lp p = TakeLp(task.get());
  const Sol s = TakeSol(task.get(), p, WhichSol(GetParam().optimizer, task.get()));
  ASSERT_EQ(s.solsta, VLR_SOL_STA_PRIM_INFEAS_CER);
  // The interior point may find a ray as well (cplex1): the problem is then infeasible both ways.
  if (s.prosta != VLR_PRO_STA_PRIM_AND_DUAL_INFEAS) {
    EXPECT_EQ(s.prosta, VLR_PRO_STA_PRIM_INFEAS);
  }
  ExpectCertificate(p, s, path.filename().string());
}

INSTANTIATE_TEST_SUITE_P(Opt, NetlibOptimize, ::testing::ValuesIn(Cases("netlib", false)),
                         CaseName);
INSTANTIATE_TEST_SUITE_P(Large, NetlibOptimize, ::testing::ValuesIn(Cases("netlib", true)),
                         CaseName);
INSTANTIATE_TEST_SUITE_P(Opt, NetlibInfeasible, ::testing::ValuesIn(Cases("netlib-infeas", false)),
                         CaseName);
INSTANTIATE_TEST_SUITE_P(Large, NetlibInfeasible, ::testing::ValuesIn(Cases("netlib-infeas", true)),
                         CaseName);
INSTANTIATE_TEST_SUITE_P(OptIpm, NetlibInfeasible,
                         ::testing::ValuesIn(InteriorCases("netlib-infeas", false)), CaseName);
INSTANTIATE_TEST_SUITE_P(LargeIpm, NetlibInfeasible,
                         ::testing::ValuesIn(InteriorCases("netlib-infeas", true)), CaseName);
INSTANTIATE_TEST_SUITE_P(More, NetlibOptimize, ::testing::ValuesIn(MoreCases("netlib", false)),
                         CaseName);
INSTANTIATE_TEST_SUITE_P(More, NetlibInfeasible,
                         ::testing::ValuesIn(MoreCases("netlib-infeas", false)), CaseName);
INSTANTIATE_TEST_SUITE_P(LargeMore, NetlibOptimize, ::testing::ValuesIn(MoreCases("netlib", true)),
                         CaseName);
INSTANTIATE_TEST_SUITE_P(LargeMore, NetlibInfeasible,
                         ::testing::ValuesIn(MoreCases("netlib-infeas", true)), CaseName);
// The larger models, all of them slow.
INSTANTIATE_TEST_SUITE_P(LargeDevMore, NetlibOptimize,
                         ::testing::ValuesIn(MoreCases("lp-dev", true)), CaseName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibOptimize);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibInfeasible);

// The default road (presolve, interior point, basis identification, postsolve) on a set.
std::vector<Case> DefaultCases(const char* sub, bool slow) {
  std::vector<Case> out;
  for (const std::string& f : SetFiles(sub, slow))
    out.push_back({f, VLR_OPTIMIZER_FREE});
  return out;
}

std::string DefaultName(const ::testing::TestParamInfo<Case>& info) {
  std::string s = Stem(info.param.path);
  for (char& ch : s) {
    if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
  }
  return s;
}

// The basis of a solution checked from the problem's data alone: its columns (a row's own
// column is -e(i)) are factored, the non-basic variables put at the bounds their keys name, the
// basic values and the duals recomputed from the factor and held to the solution's, and then to
// the bounds and to the signs their keys ask for.
void ExpectBasisReproduces(const Lp& p, const Sol& s, const std::string& what) {
  const int32_t m = p.m, n = p.n;
  std::vector<int32_t> bas;
  for (int32_t i = 0; i < m; ++i)
    if (s.skc[size_t(i)] == VLR_SK_BAS) bas.push_back(i);
  for (int32_t j = 0; j < n; ++j)
    if (s.skx[size_t(j)] == VLR_SK_BAS) bas.push_back(m + j);
  ASSERT_EQ(int32_t(bas.size()), m) << what << ": basic variables";
  if (m == 0) return;
  std::vector<int64_t> beg(size_t(n) + 1, 0);
  std::vector<int32_t> idx;
  std::vector<double> val;
  for (int32_t j = 0; j < n; ++j) {
    for (int32_t k = p.ptrb[size_t(j)]; k < p.ptre[size_t(j)]; ++k) {
      idx.push_back(p.sub[size_t(k)]);
      val.push_back(p.val[size_t(k)]);
    }
    beg[size_t(j) + 1] = int64_t(idx.size());
  }
  idx.push_back(0);
  val.push_back(0.0);
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 0, nullptr, nullptr, nullptr);
  ASSERT_NE(sys, nullptr);
  vlr::LuFactor* lu = nullptr;
  ASSERT_EQ(vlr::VLR_lu_make(sys, m, m, &lu), vlr::kLuOk);
  vlr::VLR_lu_puttol(lu, vlr::kLuTolRelPiv, 0.5);
  ASSERT_EQ(vlr::VLR_pivlp_factor2(sys, lu, m, n, beg.data(), idx.data(), val.data(), bas.data(), 0,
                                   nullptr, 0, nullptr),
            vlr::kLuOk);
  EXPECT_EQ(vlr::VLR_lu_getrank(lu), m) << what << ": the basis is singular";
  if (vlr::VLR_lu_getrank(lu) == m) {
    // Non-basic values by their keys; B x_B = -N x_N.
    auto nbval = [&](int32_t sk, int32_t bk, double bl, double bu, double x) {
      if (sk == VLR_SK_LOW || (sk == VLR_SK_FIX && HasLow(bk))) return bl;
      if (sk == VLR_SK_UPR) return bu;
      return x;  // a free variable off the basis keeps its value (zero)
    };
    std::vector<double> rhs(size_t(m), 0.0), xb(size_t(m), 0.0);
    double big = 1.0;
    for (int32_t i = 0; i < m; ++i) {
      const auto ii = size_t(i);
      if (s.skc[ii] == VLR_SK_BAS) continue;
      const double v = nbval(s.skc[ii], p.bkc[ii], p.blc[ii], p.buc[ii], s.xc[ii]);
      EXPECT_LE(std::fabs(v - s.xc[ii]), 1e-9 * (1 + std::fabs(v))) << what << ": row " << i;
      rhs[ii] += v;
    }
    for (int32_t j = 0; j < n; ++j) {
      const auto jj = size_t(j);
      if (s.skx[jj] == VLR_SK_BAS) continue;
      const double v = nbval(s.skx[jj], p.bkx[jj], p.blx[jj], p.bux[jj], s.xx[jj]);
      EXPECT_LE(std::fabs(v - s.xx[jj]), 1e-9 * (1 + std::fabs(v))) << what << ": column " << j;
      for (int32_t k = p.ptrb[jj]; k < p.ptre[jj]; ++k)
        rhs[size_t(p.sub[size_t(k)])] -= p.val[size_t(k)] * v;
      big = std::max(big, std::fabs(v));
    }
    vlr::VLR_lu_ftran(lu, rhs.data(), xb.data());
    double xerr = 0, bviol = 0;
    for (int32_t q = 0; q < m; ++q) {
      const int32_t k = bas[size_t(q)];
      const double mine = xb[size_t(q)];
      const double theirs = k < m ? s.xc[size_t(k)] : s.xx[size_t(k - m)];
      xerr = std::max(xerr, std::fabs(mine - theirs) / (1 + std::fabs(mine) + big * 1e-3));
      bviol = std::max(
          bviol, k < m ? BoundViol(p.bkc[size_t(k)], p.blc[size_t(k)], p.buc[size_t(k)], mine)
                       : BoundViol(p.bkx[size_t(k - m)], p.blx[size_t(k - m)], p.bux[size_t(k - m)],
                                   mine));
    }
    EXPECT_LE(xerr, kPrimalTol) << what << ": basic values differ from the factor's";
    EXPECT_LE(bviol, kPrimalTol) << what << ": the factor's basic values leave their bounds";
    // y = B^-T c_B in the minimising sense; the solution's y carries the task's sense.
    std::vector<double> cb(size_t(m), 0.0), y(size_t(m), 0.0);
    double cmax = 0;
    for (int32_t j = 0; j < n; ++j)
      cmax = std::max(cmax, std::fabs(p.c[size_t(j)]));
    for (int32_t q = 0; q < m; ++q) {
      const int32_t k = bas[size_t(q)];
      cb[size_t(q)] = k < m ? 0.0 : p.sgn * p.c[size_t(k - m)];
    }
    vlr::VLR_lu_btran(lu, cb.data(), y.data());
    double yerr = 0, dsign = 0;
    for (int32_t i = 0; i < m; ++i)
      yerr = std::max(yerr, std::fabs(p.sgn * y[size_t(i)] - s.y[size_t(i)]) / (1 + cmax));
    EXPECT_LE(yerr, kDualTol) << what << ": duals differ from the factor's";
    // Reduced costs of the non-basic variables against their keys; complementarity holds by
    // construction (each one sits at the bound its key names, checked above).
    auto sign = [&](int32_t sk, int32_t bk, double d) {
      if (sk == VLR_SK_BAS || sk == VLR_SK_FIX || bk == VLR_BK_FX) return 0.0;
      if (sk == VLR_SK_LOW) return std::max(0.0, -d);
      if (sk == VLR_SK_UPR) return std::max(0.0, d);
      return std::fabs(d);
    };
    for (int32_t i = 0; i < m; ++i)
      dsign = std::max(dsign, sign(s.skc[size_t(i)], p.bkc[size_t(i)], y[size_t(i)]));
    const std::vector<double> aty = Aty(p, y);
    for (int32_t j = 0; j < n; ++j) {
      const double d = p.sgn * p.c[size_t(j)] - aty[size_t(j)];
      dsign = std::max(dsign, sign(s.skx[size_t(j)], p.bkx[size_t(j)], d));
    }
    EXPECT_LE(dsign / (1 + cmax), kDualTol) << what << ": a reduced cost of the wrong sign";
  }
  vlr::VLR_lu_delete(&lu);
  vlr::VLR_sysenv_delete(&sys);
}

class NetlibDefault : public ::testing::TestWithParam<Case> {};

TEST_P(NetlibDefault, EndsInAnOptimalBasisThatTheDataReproduce) {
  const fs::path path(GetParam().path);
  auto env = vlrtest::MakeEnv();
  auto task = ReadTask(env.get(), path.string(), VLR_OPTIMIZER_FREE);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  const Lp p = TakeLp(task.get());
  const Sol s = TakeSol(task.get(), p, VLR_SOL_BAS);
  ASSERT_EQ(s.solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_EQ(s.prosta, VLR_PRO_STA_PRIM_AND_DUAL_FEAS);
  ExpectOptimal(p, s, path.filename().string(), true);
  ExpectBasisReproduces(p, s, path.filename().string());
  const auto known = ReadOptima(path.parent_path() / "OPTIMA.csv");
  const auto it = known.find(Stem(path));
  ASSERT_TRUE(it != known.end() && it->second.hasref) << "no reference for " << Stem(path);
  const double ref = it->second.ref, obj = Check(p, s).pobj;
  EXPECT_LE(std::fabs(obj - ref), kObjTol * std::max(1.0, std::fabs(ref)))
      << "objective " << obj << " reference " << ref;
  // The interior solution stays readable beside the basic one.
  const Sol itr = TakeSol(task.get(), p, VLR_SOL_ITR);
  EXPECT_EQ(itr.solsta, VLR_SOL_STA_OPTIMAL);
}

class NetlibDefaultInfeasible : public ::testing::TestWithParam<Case> {};

// No basis is sought for an infeasible problem: the interior point's certificate is the answer.
// Where the interior point stalls short of one (cplex2, feasible to 1e-9), the run says so, and
// the basis that follows it is given to the simplex, whose certificate is then the answer.
TEST_P(NetlibDefaultInfeasible, EndsInTheInteriorPointsCertificate) {
  const fs::path path(GetParam().path);
  auto env = vlrtest::MakeEnv();
  auto task = ReadTask(env.get(), path.string(), VLR_OPTIMIZER_FREE);
  int32_t trm = -1;
  ASSERT_EQ(VLR_optimizetrm(task.get(), &trm), VLR_RES_OK) << vlrtest::LastError(task.get());
  const Lp p = TakeLp(task.get());
  const Sol s = TakeSol(task.get(), p, VLR_SOL_ITR);
  if (trm == VLR_RES_TRM_STALL) {
    ASSERT_EQ(s.solsta, VLR_SOL_STA_UNKNOWN);
    const Sol b = TakeSol(task.get(), p, VLR_SOL_BAS);
    ASSERT_EQ(b.solsta, VLR_SOL_STA_PRIM_INFEAS_CER);
    ExpectCertificate(p, b, path.filename().string());
    return;
  }
  ASSERT_EQ(trm, VLR_RES_OK);
  ASSERT_EQ(s.solsta, VLR_SOL_STA_PRIM_INFEAS_CER);
  ExpectCertificate(p, s, path.filename().string());
  double bitime = -1;
  ASSERT_EQ(VLR_getdouinf(task.get(), VLR_DINF_BI_TIME, &bitime), VLR_RES_OK);
  EXPECT_EQ(bitime, 0.0) << "no basis identification on a certificate";
}

INSTANTIATE_TEST_SUITE_P(Opt, NetlibDefault, ::testing::ValuesIn(DefaultCases("netlib", false)),
                         DefaultName);
INSTANTIATE_TEST_SUITE_P(Large, NetlibDefault, ::testing::ValuesIn(DefaultCases("netlib", true)),
                         DefaultName);
INSTANTIATE_TEST_SUITE_P(LargeDev, NetlibDefault, ::testing::ValuesIn(DefaultCases("lp-dev", true)),
                         DefaultName);
INSTANTIATE_TEST_SUITE_P(Opt, NetlibDefaultInfeasible,
                         ::testing::ValuesIn(DefaultCases("netlib-infeas", false)), DefaultName);
INSTANTIATE_TEST_SUITE_P(LargeIpm, NetlibDefaultInfeasible,
                         ::testing::ValuesIn(DefaultCases("netlib-infeas", true)), DefaultName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibDefault);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibDefaultInfeasible);

// Named mid-size problems of the feasible set; none without the instance run.
std::vector<std::string> Named(std::initializer_list<const char*> names) {
  std::vector<std::string> out;
  if (!InstanceRun()) return out;
  for (const char* name : names)
    out.push_back((fs::path(VLR_DATA_DIR) / "netlib" / (std::string(name) + ".mps.gz")).string());
  return out;
}

std::string NamedName(const ::testing::TestParamInfo<std::string>& info) {
  std::string s = Stem(info.param);
  for (char& ch : s) {
    if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
  }
  return s;
}

class NetlibResolve : public ::testing::TestWithParam<std::string> {};

// Solve; solve again unchanged, which only reports; cut the upper bound of a basic column below
// its value and solve once more from the kept basis. The change cannot improve the objective.
TEST_P(NetlibResolve, ABoundChangeResolvesFromTheBasisInFewIterations) {
  auto env = vlrtest::MakeEnv();
  auto task = ReadTask(env.get(), GetParam(), VLR_OPTIMIZER_DUAL_SIMPLEX);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  const int64_t first = Iterations(task.get());
  Lp p = TakeLp(task.get());
  const Sol s1 = TakeSol(task.get(), p);
  ASSERT_EQ(s1.solsta, VLR_SOL_STA_OPTIMAL);
  const double obj1 = Check(p, s1).pobj;

  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  EXPECT_EQ(Iterations(task.get()), 0) << "an optimal basis of unchanged data is only reported";
  EXPECT_NEAR(Check(p, TakeSol(task.get(), p)).pobj, obj1, 1e-9 * std::max(1.0, std::fabs(obj1)));

  // The basic column farthest above its lower bound; by 1 when that leaves room, else by half.
  int32_t pick = -1;
  double room = 0;
  for (int32_t j = 0; j < p.n; ++j) {
    const auto jj = size_t(j);
    if (s1.skx[jj] != VLR_SK_BAS) continue;
    const double r = HasLow(p.bkx[jj]) ? s1.xx[jj] - p.blx[jj] : std::fabs(s1.xx[jj]) + 1;
    if (r > room) {
      room = r;
      pick = j;
    }
  }
  ASSERT_GE(pick, 0) << "no basic column off its lower bound";
  const double cut = s1.xx[size_t(pick)] - (room > 2 ? 1.0 : room / 2);
  ASSERT_EQ(VLR_chgbound(task.get(), VLR_ACC_VAR, pick, 0, 1, cut), VLR_RES_OK);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  const int64_t second = Iterations(task.get());
  EXPECT_LE(second, std::max<int64_t>(10, first / 4)) << "first solve took " << first;
  p = TakeLp(task.get());
  const Sol s2 = TakeSol(task.get(), p);
  if (s2.solsta == VLR_SOL_STA_PRIM_INFEAS_CER) {
    ExpectCertificate(p, s2, "after the cut");
    return;
  }
  ASSERT_EQ(s2.solsta, VLR_SOL_STA_OPTIMAL);
  ExpectOptimal(p, s2, "after the cut");
  EXPECT_LE(s2.xx[size_t(pick)], cut + 1e-6 * (1 + std::fabs(cut)));
  EXPECT_GE(p.sgn * Check(p, s2).pobj, p.sgn * obj1 - 1e-9 * std::max(1.0, std::fabs(obj1)));
}

// With the factor kept, a run from the same basis on the same matrix takes it instead of
// factoring (a bound change keeps the matrix); a changed entry makes it useless, and the run
// factors afresh. Each run still ends optimal on its own data.
TEST_P(NetlibResolve, TheKeptFactorServesTheNextRunOnTheSameMatrixOnly) {
  auto env = vlrtest::MakeEnv();
  auto task = ReadTask(env.get(), GetParam(), VLR_OPTIMIZER_DUAL_SIMPLEX);
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_SIM_SAVE_LU, VLR_ON), VLR_RES_OK);
  auto fromkept = [&]() {
    int32_t v = -1;
    EXPECT_EQ(VLR_getintinf(task.get(), VLR_IINF_SIM_DUAL_HOTSTART_LU, &v), VLR_RES_OK);
    return v;
  };
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  EXPECT_EQ(fromkept(), 0);
  Lp p = TakeLp(task.get());
  const Sol s1 = TakeSol(task.get(), p);
  ASSERT_EQ(s1.solsta, VLR_SOL_STA_OPTIMAL);

  int32_t pick = -1;
  for (int32_t j = 0; j < p.n && pick < 0; ++j) {
    const auto jj = size_t(j);
    if (s1.skx[jj] == VLR_SK_BAS && s1.xx[jj] > (HasLow(p.bkx[jj]) ? p.blx[jj] : -1e30) + 1e-3)
      pick = j;
  }
  ASSERT_GE(pick, 0);
  const double cut = s1.xx[size_t(pick)] - 1e-3;
  ASSERT_EQ(VLR_chgbound(task.get(), VLR_ACC_VAR, pick, 0, 1, cut), VLR_RES_OK);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  EXPECT_EQ(fromkept(), 1) << "a bound change keeps the matrix";
  p = TakeLp(task.get());
  Sol s2 = TakeSol(task.get(), p);
  if (s2.solsta != VLR_SOL_STA_PRIM_INFEAS_CER) {
    ASSERT_EQ(s2.solsta, VLR_SOL_STA_OPTIMAL);
    ExpectOptimal(p, s2, "from the kept factor");
  }

  // Scale an entry of a basic column: same pattern, other values.
  int32_t row = -1;
  double aij = 0.0;
  for (int32_t i = 0; i < p.m && row < 0; ++i) {
    ASSERT_EQ(VLR_getaij(task.get(), i, pick, &aij), VLR_RES_OK);
    if (aij != 0.0) row = i;
  }
  ASSERT_GE(row, 0);
  ASSERT_EQ(VLR_putaij(task.get(), row, pick, aij * 1.5), VLR_RES_OK);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  EXPECT_EQ(fromkept(), 0) << "a changed entry calls for a new factor";
  p = TakeLp(task.get());
  s2 = TakeSol(task.get(), p);
  if (s2.solsta == VLR_SOL_STA_PRIM_INFEAS_CER) {
    ExpectCertificate(p, s2, "after the change of an entry");
    return;
  }
  ASSERT_EQ(s2.solsta, VLR_SOL_STA_OPTIMAL);
  ExpectOptimal(p, s2, "after the change of an entry");
}

INSTANTIATE_TEST_SUITE_P(Opt, NetlibResolve,
                         ::testing::ValuesIn(Named({"afiro", "adlittle", "sc205", "scagr25",
                                                    "ship04l", "stocfor1"})),
                         NamedName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibResolve);

class NetlibHotStart : public ::testing::TestWithParam<std::string> {};

// The primal road from a primal feasible basis: a copy of a basic column with a lower cost is
// added at its lower bound, where the kept basis stays feasible. The cheaper copy enters and
// the re-solve takes few iterations, to an objective no worse than before.
TEST_P(NetlibHotStart, AnAddedColumnResolvesFromTheBasisInFewIterations) {
  auto env = vlrtest::MakeEnv();
  auto task = ReadTask(env.get(), GetParam(), VLR_OPTIMIZER_PRIMAL_SIMPLEX);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  const int64_t first = Iterations(task.get());
  Lp p = TakeLp(task.get());
  const Sol s1 = TakeSol(task.get(), p);
  ASSERT_EQ(s1.solsta, VLR_SOL_STA_OPTIMAL);
  const double obj1 = Check(p, s1).pobj;

  int32_t pick = -1;  // the basic column with the most non-zeros and a lower bound of 0
  int32_t most = 0;
  for (int32_t j = 0; j < p.n; ++j) {
    const auto jj = size_t(j);
    const int32_t len = p.ptre[jj] - p.ptrb[jj];
    if (s1.skx[jj] == VLR_SK_BAS && HasLow(p.bkx[jj]) && p.blx[jj] == 0.0 && len > most) {
      most = len;
      pick = j;
    }
  }
  ASSERT_GE(pick, 0) << "no basic column at a lower bound of 0";
  const auto pj = size_t(pick);
  const double cj = p.c[pj] - p.sgn * 0.1 * (1.0 + std::fabs(p.c[pj]));
  const int32_t ptrb = 0, ptre = most;
  ASSERT_EQ(VLR_appendvars(task.get(), 1, &cj, &ptrb, &ptre, &p.sub[size_t(p.ptrb[pj])],
                           &p.val[size_t(p.ptrb[pj])], &p.bkx[pj], &p.blx[pj], &p.bux[pj]),
            VLR_RES_OK);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  const int64_t second = Iterations(task.get());
  EXPECT_LE(second, std::max<int64_t>(10, first / 4)) << "first solve took " << first;
  int32_t hot = 0;
  ASSERT_EQ(VLR_getintinf(task.get(), VLR_IINF_SIM_PRIMAL_HOTSTART, &hot), VLR_RES_OK);
  EXPECT_EQ(hot, 1);
  p = TakeLp(task.get());
  const Sol s2 = TakeSol(task.get(), p);
  ASSERT_EQ(s2.solsta, VLR_SOL_STA_OPTIMAL);
  ExpectOptimal(p, s2, "after the added column");
  EXPECT_LE(p.sgn * Check(p, s2).pobj, p.sgn * obj1 + 1e-9 * std::max(1.0, std::fabs(obj1)));
}

INSTANTIATE_TEST_SUITE_P(Opt, NetlibHotStart,
                         ::testing::ValuesIn(Named({"afiro", "adlittle", "sc205", "scagr25",
                                                    "ship04l", "stocfor1", "25fv47"})),
                         NamedName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibHotStart);

class NetlibUnbounded : public ::testing::TestWithParam<Case> {};

// Maximised, these problems have no bounded optimum. The ray is checked on the task's data:
// A xx = xc, every item moves only the ways its bounds allow, and the objective improves.
TEST_P(NetlibUnbounded, EndsInARayThatProvesIt) {
  auto env = vlrtest::MakeEnv();
  auto task = ReadTask(env.get(), GetParam().path, GetParam().optimizer);
  ASSERT_EQ(VLR_putobjsense(task.get(), VLR_OBJECTIVE_SENSE_MAXIMIZE), VLR_RES_OK);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  const Lp p = TakeLp(task.get());
  const Sol s = TakeSol(task.get(), p, WhichSol(GetParam().optimizer));
  ASSERT_EQ(s.solsta, VLR_SOL_STA_DUAL_INFEAS_CER);
  EXPECT_EQ(s.prosta, VLR_PRO_STA_DUAL_INFEAS);
  const auto m = size_t(p.m), n = size_t(p.n);
  double size = 0, amax = 0, cmax = 0, cx = 0;
  for (size_t i = 0; i < m; ++i)
    size = std::max(size, std::fabs(s.xc[i]));
  for (size_t j = 0; j < n; ++j) {
    size = std::max(size, std::fabs(s.xx[j]));
    cmax = std::max(cmax, std::fabs(p.c[j]));
    cx += p.c[j] * s.xx[j];
  }
  for (size_t k = 0; k < p.val.size(); ++k)
    amax = std::max(amax, std::fabs(p.val[k]));
  ASSERT_GT(size, 0.0);
  std::vector<double> ax(m, 0.0);
  for (size_t j = 0; j < n; ++j) {
    for (auto k = size_t(p.ptrb[j]); k < size_t(p.ptre[j]); ++k)
      ax[size_t(p.sub[k])] += p.val[k] * s.xx[j];
  }
  // A pivoting optimiser's ray is exact to rounding; an interior one meets its equations to the
  // certificate tolerance, measured against the ray and the matrix.
  const bool interior = GetParam().optimizer == VLR_OPTIMIZER_INTPNT;
  const double tol = (interior ? kCertTol * (1 + amax) : 1e-9) * size;
  // How far an item moves the wrong way for its bounds.
  auto against = [&](int32_t bk, double v) {
    return std::max(HasLow(bk) ? -v : 0.0, HasUpp(bk) ? v : 0.0);
  };
  for (size_t i = 0; i < m; ++i) {
    EXPECT_LE(std::fabs(ax[i] - s.xc[i]), tol * (1 + amax)) << "row " << i;
    EXPECT_LE(against(p.bkc[i], s.xc[i]), tol) << "row " << i;
  }
  for (size_t j = 0; j < n; ++j)
    EXPECT_LE(against(p.bkx[j], s.xx[j]), tol) << "column " << j;
  EXPECT_GT(cx, tol * (1 + cmax)) << "the objective must grow along the ray";
}

class NetlibRepeat : public ::testing::TestWithParam<Case> {};

// Runs repeat exactly: the same problem solved twice from scratch takes the same iterations to
// the same basis and the same values, bit for bit.
TEST_P(NetlibRepeat, TwoRunsGiveTheSameBasisAndValues) {
  auto env = vlrtest::MakeEnv();
  std::vector<Sol> sols;
  std::vector<int64_t> iters;
  for (int run = 0; run < 2; ++run) {
    auto task = ReadTask(env.get(), GetParam().path, GetParam().optimizer);
    ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
    iters.push_back(Iterations(task.get()));
    sols.push_back(TakeSol(task.get(), TakeLp(task.get()), WhichSol(GetParam().optimizer)));
  }
  EXPECT_EQ(iters[0], iters[1]);
  EXPECT_EQ(sols[0].skx, sols[1].skx);
  EXPECT_EQ(sols[0].skc, sols[1].skc);
  EXPECT_EQ(sols[0].xx, sols[1].xx);
  EXPECT_EQ(sols[0].y, sols[1].y);
}

std::vector<Case> RepeatCases() {
  std::vector<Case> out;
  for (const std::string& f : Named({"degen2", "25fv47", "fit1p"})) {
    for (int32_t opt :
         {VLR_OPTIMIZER_PRIMAL_SIMPLEX, VLR_OPTIMIZER_DUAL_SIMPLEX, VLR_OPTIMIZER_INTPNT})
      out.push_back({f, opt});
  }
  return out;
}

INSTANTIATE_TEST_SUITE_P(Opt, NetlibRepeat, ::testing::ValuesIn(RepeatCases()), CaseName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibRepeat);

std::vector<Case> UnboundedCases() {
  std::vector<Case> out;
  for (const std::string& f : Named({"adlittle", "blend", "israel", "scagr7", "stocfor1"})) {
    for (int32_t opt : {VLR_OPTIMIZER_PRIMAL_SIMPLEX, VLR_OPTIMIZER_DUAL_SIMPLEX})
      out.push_back({f, opt});
  }
  return out;
}

std::vector<Case> InteriorUnboundedCases() {
  std::vector<Case> out;
  for (const std::string& f : Named({"adlittle", "blend", "israel", "scagr7", "stocfor1"}))
    out.push_back({f, VLR_OPTIMIZER_INTPNT});
  return out;
}

INSTANTIATE_TEST_SUITE_P(Opt, NetlibUnbounded, ::testing::ValuesIn(UnboundedCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(OptIpm, NetlibUnbounded, ::testing::ValuesIn(InteriorUnboundedCases()),
                         CaseName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibUnbounded);

// The limits run on one larger problem each: the time limit on dfl001, which takes far longer
// than 0.01 s; the callback and the iteration limit on ship04l, which takes hundreds of
// iterations.
class NetlibLimits : public ::testing::TestWithParam<std::string> {};

fs::path Sibling(const std::string& dir, const char* name) {
  return fs::path(dir) / (std::string(name) + ".mps.gz");
}

TEST_P(NetlibLimits, TimeLimitEndsInMaxTime) {
  auto env = vlrtest::MakeEnv();
  auto task =
      ReadTask(env.get(), Sibling(GetParam(), "dfl001").string(), VLR_OPTIMIZER_DUAL_SIMPLEX);
  ASSERT_EQ(VLR_putdouparam(task.get(), VLR_DPAR_OPTIMIZER_MAX_TIME, 0.01), VLR_RES_OK);
  int32_t trm = -1;
  ASSERT_EQ(VLR_optimizetrm(task.get(), &trm), VLR_RES_OK) << vlrtest::LastError(task.get());
  EXPECT_EQ(trm, VLR_RES_TRM_MAX_TIME);
  double t = 0;
  ASSERT_EQ(VLR_getdouinf(task.get(), VLR_DINF_OPTIMIZER_TIME, &t), VLR_RES_OK);
  EXPECT_LT(t, 10.0) << "the limit is looked at while the optimiser runs, not only at its end";
  int32_t solsta = -1;
  VLR_getsolutionstatus(task.get(), VLR_SOL_BAS, nullptr, &solsta);
  EXPECT_NE(solsta, VLR_SOL_STA_OPTIMAL);
}

struct StopAfter {
  int32_t calls = 0, stop_at = 0;
  static int32_t Func(VLRtask_t, void* handle, int32_t) {
    auto* self = static_cast<StopAfter*>(handle);
    return ++self->calls >= self->stop_at ? 1 : 0;
  }
};

TEST_P(NetlibLimits, CallbackAndIterationLimitStopEarly) {
  const std::string ship = Sibling(GetParam(), "ship04l").string();
  auto env = vlrtest::MakeEnv();
  auto full = ReadTask(env.get(), ship, VLR_OPTIMIZER_DUAL_SIMPLEX);
  ASSERT_NO_FATAL_FAILURE(Optimize(full.get()));
  const int64_t all = Iterations(full.get());
  ASSERT_GT(all, 20);

  // The callback runs at every log interval; set to one iteration, a stop at the fifth call comes
  // long before the end.
  auto cb = ReadTask(env.get(), ship, VLR_OPTIMIZER_DUAL_SIMPLEX);
  ASSERT_EQ(VLR_putintparam(cb.get(), VLR_IPAR_LOG_SIM_FREQ, 1), VLR_RES_OK);
  StopAfter stop{0, 5};
  ASSERT_EQ(VLR_putcallbackfunc(cb.get(), StopAfter::Func, &stop), VLR_RES_OK);
  int32_t trm = -1;
  ASSERT_EQ(VLR_optimizetrm(cb.get(), &trm), VLR_RES_OK) << vlrtest::LastError(cb.get());
  EXPECT_EQ(trm, VLR_RES_TRM_USER_CALLBACK);
  EXPECT_LT(Iterations(cb.get()), all);

  auto it = ReadTask(env.get(), ship, VLR_OPTIMIZER_DUAL_SIMPLEX);
  ASSERT_EQ(VLR_putintparam(it.get(), VLR_IPAR_SIM_MAX_ITERATIONS, 10), VLR_RES_OK);
  trm = -1;
  ASSERT_EQ(VLR_optimizetrm(it.get(), &trm), VLR_RES_OK) << vlrtest::LastError(it.get());
  EXPECT_EQ(trm, VLR_RES_TRM_MAX_ITERATIONS);
  EXPECT_LE(Iterations(it.get()), 10);
  int32_t solsta = -1;
  VLR_getsolutionstatus(it.get(), VLR_SOL_BAS, nullptr, &solsta);
  EXPECT_NE(solsta, VLR_SOL_STA_OPTIMAL);
}

// The interior-point road under the same limits: a time limit on dfl001 and a callback stop on
// ship04l end with their codes and leave a readable interior solution of unknown status.
TEST_P(NetlibLimits, InteriorPointStopsLeaveAnUnknownSolution) {
  auto env = vlrtest::MakeEnv();
  auto tl = ReadTask(env.get(), Sibling(GetParam(), "dfl001").string(), VLR_OPTIMIZER_INTPNT);
  ASSERT_EQ(VLR_putdouparam(tl.get(), VLR_DPAR_OPTIMIZER_MAX_TIME, 0.01), VLR_RES_OK);
  int32_t trm = -1;
  ASSERT_EQ(VLR_optimizetrm(tl.get(), &trm), VLR_RES_OK) << vlrtest::LastError(tl.get());
  EXPECT_EQ(trm, VLR_RES_TRM_MAX_TIME);
  const Lp p = TakeLp(tl.get());
  const Sol s = TakeSol(tl.get(), p, VLR_SOL_ITR);
  EXPECT_EQ(s.solsta, VLR_SOL_STA_UNKNOWN);
  EXPECT_EQ(s.prosta, VLR_PRO_STA_UNKNOWN);

  const std::string ship = Sibling(GetParam(), "ship04l").string();
  auto cb = ReadTask(env.get(), ship, VLR_OPTIMIZER_INTPNT);
  StopAfter stop{0, 3};
  ASSERT_EQ(VLR_putcallbackfunc(cb.get(), StopAfter::Func, &stop), VLR_RES_OK);
  trm = -1;
  ASSERT_EQ(VLR_optimizetrm(cb.get(), &trm), VLR_RES_OK) << vlrtest::LastError(cb.get());
  EXPECT_EQ(trm, VLR_RES_TRM_USER_CALLBACK);
  int32_t iter = -1;
  ASSERT_EQ(VLR_getintinf(cb.get(), VLR_IINF_INTPNT_ITER, &iter), VLR_RES_OK);
  EXPECT_LE(iter, 3);
  const Lp q = TakeLp(cb.get());
  const Sol t = TakeSol(cb.get(), q, VLR_SOL_ITR);
  EXPECT_EQ(t.solsta, VLR_SOL_STA_UNKNOWN);

  auto it = ReadTask(env.get(), ship, VLR_OPTIMIZER_INTPNT);
  ASSERT_EQ(VLR_putintparam(it.get(), VLR_IPAR_INTPNT_MAX_ITERATIONS, 4), VLR_RES_OK);
  trm = -1;
  ASSERT_EQ(VLR_optimizetrm(it.get(), &trm), VLR_RES_OK) << vlrtest::LastError(it.get());
  EXPECT_EQ(trm, VLR_RES_TRM_MAX_ITERATIONS);
  ASSERT_EQ(VLR_getintinf(it.get(), VLR_IINF_INTPNT_ITER, &iter), VLR_RES_OK);
  EXPECT_EQ(iter, 4);
}

std::vector<std::string> NetlibDir() {
  if (!InstanceRun()) return {};
  return {(fs::path(VLR_DATA_DIR) / "netlib").string()};
}

INSTANTIATE_TEST_SUITE_P(Opt, NetlibLimits, ::testing::ValuesIn(NetlibDir()),
                         [](const ::testing::TestParamInfo<std::string>&) { return "netlib"; });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibLimits);

// The bases of the qap problems, which are degenerate through and through. On qap12 the pivot rows
// offer small pivots that are mostly rounding; taken, they leave bases that the next factor finds
// singular and patches with slacks, which throws the dual simplex back. It must end optimal
// without a slack put in.
class NetlibRegular : public ::testing::TestWithParam<std::string> {};

TEST_P(NetlibRegular, TheDualSimplexKeepsItsBasesRegularOnQap12) {
  auto env = vlrtest::MakeEnv();
  auto task =
      ReadTask(env.get(), Sibling(GetParam(), "qap12").string(), VLR_OPTIMIZER_DUAL_SIMPLEX);
  std::string log;
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_LOG, 10), VLR_RES_OK);
  ASSERT_EQ(
      VLR_linkfunctotaskstream(task.get(), VLR_STREAM_LOG, &log,
                               [](void* h, const char* s) { *static_cast<std::string*>(h) += s; }),
      VLR_RES_OK);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  int32_t solsta = -1;
  VLR_getsolutionstatus(task.get(), VLR_SOL_BAS, nullptr, &solsta);
  EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
  EXPECT_EQ(log.find("artificials into the basis"), std::string::npos);
}

// On qap15 a path of basis identification ended in a basis that its own factor and its clean-up
// on the presolved problem found optimal, but that had 1,855 primal infeasibilities on the problem
// as given: the clean-up there ran for minutes. The default road must end with a short clean-up.
TEST_P(NetlibRegular, TheDefaultRoadOnQap15NeedsLittleCleanUp) {
  auto env = vlrtest::MakeEnv();
  auto task = ReadTask(env.get(), Sibling(GetParam(), "qap15").string(), VLR_OPTIMIZER_FREE);
  ASSERT_NO_FATAL_FAILURE(Optimize(task.get()));
  int32_t solsta = -1;
  VLR_getsolutionstatus(task.get(), VLR_SOL_BAS, nullptr, &solsta);
  EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL);
  int64_t pri = 0, dua = 0;
  ASSERT_EQ(VLR_getlintinf(task.get(), VLR_LIINF_BI_CLEAN_PRIMAL_ITER, &pri), VLR_RES_OK);
  ASSERT_EQ(VLR_getlintinf(task.get(), VLR_LIINF_BI_CLEAN_DUAL_ITER, &dua), VLR_RES_OK);
  EXPECT_LE(pri + dua, 200) << "clean-up iterations after basis identification";
}

INSTANTIATE_TEST_SUITE_P(Large, NetlibRegular, ::testing::ValuesIn(NetlibDir()),
                         [](const ::testing::TestParamInfo<std::string>&) { return "netlib"; });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibRegular);

}  // namespace
