// bench/simplexbench.cpp: the simplex roads on the Netlib problems: per problem the status, the
// objective error against the reference, the iterations and the wall time of VLR_optimize, beside
// the time of the open-source peer clp, by the same algorithm, when it is on PATH. Prints a table,
// and with --csv FILE one line per problem and solver for bench/perfprofile.py; not a test.
// SPDX-License-Identifier: Apache-2.0
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "velor.h"

namespace {

using Clock = std::chrono::steady_clock;

// Times are summarised by the shifted geometric mean exp(mean(log(t + s))) - s, with the
// customary shift s = 0.01 s, so that problems solved in no time do not dominate.
constexpr double kShift = 0.01;
// An objective counts as right when |obj - ref| <= kObjTol max(1, |ref|).
constexpr double kObjTol = 1e-6;

struct Road {
  const char* label;
  int32_t optimizer;
  int32_t presolve;  // VLR_IPAR_PRESOLVE_USE
};

// The roads with the default presolve, and the two simplex roads without it ("-np").
constexpr Road kRoads[] = {{"dual", VLR_OPTIMIZER_DUAL_SIMPLEX, VLR_PRESOLVE_MODE_FREE},
                           {"free", VLR_OPTIMIZER_FREE_SIMPLEX, VLR_PRESOLVE_MODE_FREE},
                           {"primal", VLR_OPTIMIZER_PRIMAL_SIMPLEX, VLR_PRESOLVE_MODE_FREE},
                           {"dual-np", VLR_OPTIMIZER_DUAL_SIMPLEX, VLR_PRESOLVE_MODE_OFF},
                           {"primal-np", VLR_OPTIMIZER_PRIMAL_SIMPLEX, VLR_PRESOLVE_MODE_OFF}};

struct Options {
  std::vector<Road> roads;
  std::vector<std::string> inputs;
  int clp = -1;  // -1: when found, 0: never, 1: asked for
  double timeout = -1.0;
  bool log = false;
  std::string csv;  // per-problem results to this file; empty: none
};

struct Run {
  std::string status;  // short: OPT, PINF, DINF, UNK, TIME, ITER, ERR ...
  bool optimal = false;
  double objerr = -1.0;  // relative; -1 when not comparable
  int64_t iters = 0;
  double seconds = 0;
  bool done = false;
  int32_t prows = -1, pcols = -1;  // size of the problem the simplex solved, after presolve
  double ptime = 0.0;              // presolve's share of the time
};

struct Row {
  std::string name;
  int32_t rows = 0, cols = 0;
  std::vector<Run> runs;  // one per road
  Run clp;
  bool clpbad = false;  // clp's objective disagrees with the reference
};

bool EndsWith(const std::string& s, const char* tail) {
  const size_t n = std::strlen(tail);
  return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

bool IsDir(const std::string& p) {
  struct stat st {};
  return stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool IsFile(const std::string& p) {
  struct stat st {};
  return stat(p.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

std::string Dirname(const std::string& p) {
  const size_t s = p.rfind('/');
  return s == std::string::npos ? "." : p.substr(0, s);
}

std::string Stem(const std::string& p) {
  const size_t s = p.rfind('/');
  std::string f = s == std::string::npos ? p : p.substr(s + 1);
  for (const char* ext : {".gz", ".mps", ".lp", ".MPS"}) {
    if (EndsWith(f, ext)) f.resize(f.size() - std::strlen(ext));
  }
  return f;
}

std::vector<std::string> ListDir(const std::string& dir) {
  std::vector<std::string> files;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d)) {
      const std::string f = e->d_name;
      if (EndsWith(f, ".mps.gz") || EndsWith(f, ".mps")) files.push_back(dir + "/" + f);
    }
    closedir(d);
  }
  std::sort(files.begin(), files.end());
  return files;
}

// A name is looked up in the feasible set, then in the infeasible one.
std::string Resolve(const std::string& arg) {
  if (IsFile(arg)) return arg;
  for (const char* sub : {"/netlib/", "/netlib-infeas/"}) {
    const std::string p = std::string(VLR_DATA_DIR) + sub + arg + ".mps.gz";
    if (IsFile(p)) return p;
  }
  return "";
}

// reference_objective of OPTIMA.csv by problem name; the column is found by its header.
std::map<std::string, double> ReadReference(const std::string& csv) {
  std::map<std::string, double> out;
  std::ifstream in(csv);
  std::string line;
  int col = -1;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::vector<std::string> f;
    std::stringstream ss(line);
    std::string item;
    while (std::getline(ss, item, ','))
      f.push_back(item);
    if (!f.empty() && f[0] == "name") {
      for (size_t k = 0; k < f.size(); ++k) {
        if (f[k] == "reference_objective") col = static_cast<int>(k);
      }
      continue;
    }
    if (col >= 0 && static_cast<int>(f.size()) > col && !f[size_t(col)].empty()) {
      out[f[0]] = std::strtod(f[size_t(col)].c_str(), nullptr);
    }
  }
  return out;
}

double RelErr(double obj, double ref) {
  return std::fabs(obj - ref) / std::max(1.0, std::fabs(ref));
}

std::string ShortStatus(int32_t r, int32_t trm, int32_t solsta) {
  if (r != VLR_RES_OK) return "ERR" + std::to_string(r);
  switch (trm) {
    case VLR_RES_OK:
      break;
    case VLR_RES_TRM_MAX_TIME:
      return "TIME";
    case VLR_RES_TRM_MAX_ITERATIONS:
      return "ITER";
    case VLR_RES_TRM_USER_CALLBACK:
      return "USER";
    case VLR_RES_TRM_STALL:
      return "STALL";
    case VLR_RES_TRM_NUMERICAL_PROBLEM:
      return "NUM";
    default:
      return "T" + std::to_string(trm);
  }
  switch (solsta) {
    case VLR_SOL_STA_OPTIMAL:
      return "OPT";
    case VLR_SOL_STA_PRIM_INFEAS_CER:
      return "PINF";
    case VLR_SOL_STA_DUAL_INFEAS_CER:
      return "DINF";
    case VLR_SOL_STA_NEAR_OPTIMAL:
      return "NOPT";
    case VLR_SOL_STA_PRIM_FEAS:
      return "PFEAS";
    case VLR_SOL_STA_DUAL_FEAS:
      return "DFEAS";
    default:
      return "UNK" + std::to_string(solsta);
  }
}

void PrintLog(void*, const char* text) {
  std::fputs(text, stderr);
}

// Every simplex iteration item there is: primal, dual, primal-dual and the network ones.
int64_t Iterations(VLRtask_t task) {
  int64_t sum = 0;
  for (int32_t item :
       {VLR_IINF_SIM_PRIMAL_ITER, VLR_IINF_SIM_DUAL_ITER, VLR_IINF_SIM_PRIMAL_DUAL_ITER,
        VLR_IINF_SIM_NETWORK_PRIMAL_ITER, VLR_IINF_SIM_NETWORK_DUAL_ITER}) {
    int32_t v = 0;
    if (VLR_getintinf(task, item, &v) == VLR_RES_OK) sum += v;
  }
  return sum;
}

// Solves a fresh copy of the read problem, timing VLR_optimize alone.
Run Solve(VLRtask_t base, const Road& road, const Options& opt, bool hasref, double ref) {
  Run out;
  VLRtask_t task = nullptr;
  if (VLR_clonetask(base, &task) != VLR_RES_OK) {
    out.status = "CLONE";
    return out;
  }
  VLR_putintparam(task, VLR_IPAR_LOG, opt.log ? 10 : 0);
  if (opt.log) VLR_linkfunctotaskstream(task, VLR_STREAM_LOG, nullptr, PrintLog);
  VLR_putintparam(task, VLR_IPAR_OPTIMIZER, road.optimizer);
  VLR_putintparam(task, VLR_IPAR_PRESOLVE_USE, road.presolve);
  if (opt.timeout > 0) VLR_putdouparam(task, VLR_DPAR_OPTIMIZER_MAX_TIME, opt.timeout);
  int32_t trm = 0;
  const auto t0 = Clock::now();
  const int32_t r = VLR_optimizetrm(task, &trm);
  out.seconds = std::chrono::duration<double>(Clock::now() - t0).count();
  int32_t prosta = 0, solsta = VLR_SOL_STA_UNKNOWN, def = 0;
  VLR_solutiondef(task, VLR_SOL_BAS, &def);
  if (def != 0) VLR_getsolutionstatus(task, VLR_SOL_BAS, &prosta, &solsta);
  out.status = ShortStatus(r, trm, solsta);
  out.iters = Iterations(task);
  out.done = true;
  VLR_getintinf(task, VLR_IINF_SIM_NUMCON, &out.prows);
  VLR_getintinf(task, VLR_IINF_SIM_NUMVAR, &out.pcols);
  VLR_getdouinf(task, VLR_DINF_PRESOLVE_TIME, &out.ptime);
  if (r == VLR_RES_OK && solsta == VLR_SOL_STA_OPTIMAL) {
    out.optimal = true;
    double obj = 0;
    VLR_getprimalobj(task, VLR_SOL_BAS, &obj);
    if (hasref) out.objerr = RelErr(obj, ref);
  }
  VLR_deletetask(&task);
  return out;
}

std::string FindOnPath(const char* prog) {
  const char* path = std::getenv("PATH");
  if (path == nullptr) return "";
  std::stringstream ss(path);
  std::string dir;
  while (std::getline(ss, dir, ':')) {
    const std::string p = (dir.empty() ? "." : dir) + "/" + prog;
    if (access(p.c_str(), X_OK) == 0) return p;
  }
  return "";
}

// clp reads gzipped MPS itself. Its closing line, e.g.
//   "Optimal objective -464.7531429 - 5 iterations time 0.002, Presolve 0.00"
// gives the status, the objective, the iterations and its own time of the solve, which leaves
// out the read; that time is the one reported.
// method is clp's command for the algorithm: -dualsimplex or -primalsimplex.
Run RunClp(const std::string& clp, const char* method, const std::string& file, double timeout,
           bool hasref, double ref, bool* bad) {
  Run out;
  std::string cmd = "'" + clp + "' '" + file + "'";
  if (timeout > 0) cmd += " -sec " + std::to_string(timeout);
  cmd += std::string(" ") + method + " 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  if (p == nullptr) return out;
  char buf[4096];
  std::string last;
  while (std::fgets(buf, sizeof buf, p) != nullptr) {
    if (std::strstr(buf, " iterations time ") != nullptr) last = buf;
  }
  pclose(p);
  if (last.empty()) {
    out.status = std::string(1, '?');
    return out;
  }
  out.done = true;
  std::stringstream ss(last);
  std::string word, tok;
  ss >> word;
  out.status = word == "Optimal"            ? "OPT"
               : word == "PrimalInfeasible" ? "PINF"
               : word == "DualInfeasible"   ? "DINF"
               : word == "Stopped"          ? "STOP"
                                            : word.substr(0, 5);
  out.optimal = word == "Optimal";
  const size_t o = last.find("objective ");
  const size_t it = last.find(" iterations time ");
  if (o != std::string::npos && out.optimal && hasref) {
    out.objerr = RelErr(std::strtod(last.c_str() + o + 10, nullptr), ref);
    *bad = out.objerr > kObjTol;
  }
  if (it != std::string::npos) {
    size_t b = it;
    while (b > 0 && last[b - 1] != ' ')
      --b;
    out.iters = std::strtoll(last.c_str() + b, nullptr, 10);
    out.seconds = std::strtod(last.c_str() + it + 17, nullptr);
  }
  return out;
}

void PrintRun(const Run& r) {
  if (!r.done) {
    std::printf(" %6s %8s %7s %8s", r.status.empty() ? "-" : r.status.c_str(), "-", "-", "-");
    return;
  }
  char err[32] = "-";
  if (r.objerr >= 0) std::snprintf(err, sizeof err, "%8.1e", r.objerr);
  std::printf(" %6s %8s %7lld %8.3f", r.status.c_str(), err, static_cast<long long>(r.iters),
              r.seconds);
}

// The CSV goes to FILE.part and is renamed to FILE at the end, so that a run that is stopped
// leaves no half file under the name a plot would read.
struct CsvOut {
  FILE* f = nullptr;
  std::string path, part;
  bool Open(const std::string& name) {
    path = name;
    part = name + ".part";
    f = std::fopen(part.c_str(), "w");
    if (f != nullptr) {
      std::fprintf(f, "problem,rows,cols,solver,status,optimal,time,iterations,objerr\n");
    }
    return f != nullptr;
  }
  void Add(const Row& row, const char* solver, const Run& r) {
    if (f == nullptr) return;
    std::fprintf(f, "%s,%d,%d,%s,%s,%d,", row.name.c_str(), row.rows, row.cols, solver,
                 r.status.empty() ? "-" : r.status.c_str(), r.optimal ? 1 : 0);
    if (r.done) {
      std::fprintf(f, "%.6f,%lld,", r.seconds, static_cast<long long>(r.iters));
    } else {
      std::fprintf(f, ",,");
    }
    if (r.objerr >= 0) std::fprintf(f, "%.3e", r.objerr);
    std::fprintf(f, "\n");
  }
  bool Close() {
    if (f == nullptr) return true;
    const bool ok = std::fflush(f) == 0 && !std::ferror(f);
    std::fclose(f);
    f = nullptr;
    if (ok && std::rename(part.c_str(), path.c_str()) == 0) return true;
    std::remove(part.c_str());
    return false;
  }
};

struct Summary {
  int optimal = 0, total = 0, wrong = 0;
  double logsum = 0, sum = 0;
  int timed = 0;
  void Add(const Run& r) {
    ++total;
    if (!r.done) return;
    if (r.optimal) ++optimal;
    if (r.objerr > kObjTol) ++wrong;
    logsum += std::log(r.seconds + kShift);
    sum += r.seconds;
    ++timed;
  }
  double Geo() const { return timed > 0 ? std::exp(logsum / timed) - kShift : 0.0; }
};

int ParseArgs(int argc, char** argv, Options* opt) {
  for (int k = 1; k < argc; ++k) {
    const std::string a = argv[k];
    if (a == "--optimizer" && k + 1 < argc) {
      const std::string v = argv[++k];
      if (v == "all") {
        opt->roads.assign(std::begin(kRoads), std::end(kRoads));
      } else {
        const Road* r = std::find_if(std::begin(kRoads), std::end(kRoads),
                                     [&](const Road& x) { return v == x.label; });
        if (r == std::end(kRoads)) return 1;
        opt->roads.push_back(*r);
      }
    } else if (a == "--clp") {
      opt->clp = 1;
    } else if (a == "--no-clp") {
      opt->clp = 0;
    } else if (a == "--timeout" && k + 1 < argc) {
      opt->timeout = std::strtod(argv[++k], nullptr);
    } else if (a == "--log") {
      opt->log = true;
    } else if (a == "--csv" && k + 1 < argc) {
      opt->csv = argv[++k];
    } else if (!a.empty() && a[0] == '-') {
      return 1;
    } else {
      opt->inputs.push_back(a);
    }
  }
  if (opt->roads.empty()) opt->roads = {kRoads[0], kRoads[3]};  // dual, with and without presolve
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options opt;
  if (ParseArgs(argc, argv, &opt) != 0) {
    std::fprintf(
        stderr,
        "usage: vlr_bench_simplex [--optimizer dual|free|primal|all] [--clp|--no-clp]\n"
        "                         [--timeout SEC] [--log] [--csv FILE] [NAME|FILE|DIR ...]\n"
        "Without names: every problem of %s/netlib. --optimizer may be repeated.\n"
        "--csv FILE: one line per problem and solver: problem, rows, cols, solver,\n"
        "status, optimal (1/0), time (s), iterations, objerr (empty: no reference).\n",
        VLR_DATA_DIR);
    return 2;
  }
  std::vector<std::string> files;
  if (opt.inputs.empty()) opt.inputs.push_back(std::string(VLR_DATA_DIR) + "/netlib");
  for (const std::string& in : opt.inputs) {
    if (IsDir(in)) {
      for (const std::string& f : ListDir(in))
        files.push_back(f);
    } else if (const std::string f = Resolve(in); !f.empty()) {
      files.push_back(f);
    } else {
      std::fprintf(stderr, "vlr_bench_simplex: no problem %s\n", in.c_str());
    }
  }
  const std::string clp = opt.clp != 0 ? FindOnPath("clp") : "";
  if (opt.clp == 1 && clp.empty()) std::fprintf(stderr, "vlr_bench_simplex: clp not on PATH\n");

  VLRenv_t env = nullptr;
  if (VLR_makeenv(&env, nullptr, nullptr, nullptr, nullptr) != VLR_RES_OK ||
      VLR_initenv(env) != VLR_RES_OK) {
    return 1;
  }
  CsvOut csv;
  if (!opt.csv.empty() && !csv.Open(opt.csv)) {
    std::fprintf(stderr, "vlr_bench_simplex: cannot write %s\n", opt.csv.c_str());
    VLR_deleteenv(&env);
    return 1;
  }
  std::printf(
      "# time: wall seconds of VLR_optimize (read excluded); err: |obj - ref| / max(1, "
      "|ref|)\n");
  // clp runs the algorithm of the first road: its primal simplex beside ours.
  const char* method =
      opt.roads[0].optimizer == VLR_OPTIMIZER_PRIMAL_SIMPLEX ? "-primalsimplex" : "-dualsimplex";
  if (!clp.empty()) {
    std::printf(
        "# clp: %s %s, the solve time it reports itself (read excluded); "
        "ratio: (%s + %.2f) / (clp + %.2f) where both are optimal; * clp objective off "
        "the reference\n",
        clp.c_str(), method, opt.roads[0].label, kShift, kShift);
  }
  // The presolve columns belong to the first road with presolve: the rows and columns its simplex
  // solved (the problem as given when presolve removed nothing or its basis was dropped) and the
  // presolve time.
  int32_t prslvroad = -1;
  for (size_t k = 0; k < opt.roads.size() && prslvroad < 0; ++k) {
    if (opt.roads[k].presolve != VLR_PRESOLVE_MODE_OFF) prslvroad = static_cast<int32_t>(k);
  }
  std::printf("%-10s %6s %6s", "problem", "rows", "cols");
  if (prslvroad >= 0) std::printf(" | %6s %6s %6s", "prows", "pcols", "pre-s");
  for (const Road& r : opt.roads)
    std::printf(" | %6.6s %8s %7s %8s", r.label, "err", "iters", "time");
  if (!clp.empty()) std::printf(" | %5s %8s %6s", "clp", "time", "ratio");
  std::printf("\n");

  std::map<std::string, std::map<std::string, double>> refs;  // by directory
  std::vector<Summary> sums(opt.roads.size());
  Summary clpsum;
  std::vector<double> ratiolog(opt.roads.size(), 0.0);  // log((ours + s) / (clp + s)) summed
  std::vector<int> ratios(opt.roads.size(), 0);
  for (const std::string& file : files) {
    const std::string dir = Dirname(file);
    if (refs.find(dir) == refs.end()) refs[dir] = ReadReference(dir + "/OPTIMA.csv");
    Row row;
    row.name = Stem(file);
    const auto ref = refs[dir].find(row.name);
    const bool hasref = ref != refs[dir].end();
    const double refval = hasref ? ref->second : 0.0;
    VLRtask_t base = nullptr;
    if (VLR_maketask(env, 0, 0, &base) != VLR_RES_OK) break;
    VLR_putintparam(base, VLR_IPAR_LOG, 0);
    if (VLR_readdata(base, file.c_str()) != VLR_RES_OK) {
      std::printf("%-10s read failed\n", row.name.c_str());
      VLR_deletetask(&base);
      continue;
    }
    VLR_getnumcon(base, &row.rows);
    VLR_getnumvar(base, &row.cols);
    for (const Road& r : opt.roads)
      row.runs.push_back(Solve(base, r, opt, hasref, refval));
    VLR_deletetask(&base);
    if (!clp.empty()) row.clp = RunClp(clp, method, file, opt.timeout, hasref, refval, &row.clpbad);

    for (size_t k = 0; k < row.runs.size(); ++k)
      csv.Add(row, opt.roads[k].label, row.runs[k]);
    if (!clp.empty()) csv.Add(row, "clp", row.clp);
    std::printf("%-10s %6d %6d", row.name.c_str(), row.rows, row.cols);
    if (prslvroad >= 0) {
      const Run& pr = row.runs[static_cast<size_t>(prslvroad)];
      std::printf(" | %6d %6d %6.3f", pr.prows, pr.pcols, pr.ptime);
    }
    for (size_t k = 0; k < row.runs.size(); ++k) {
      std::printf(" |");
      PrintRun(row.runs[k]);
      sums[k].Add(row.runs[k]);
    }
    if (!clp.empty()) {
      clpsum.Add(row.clp);
      std::printf(" | %5s", row.clp.status.empty() ? "-" : row.clp.status.c_str());
      if (row.clp.done) {
        std::printf(" %7.3f%s", row.clp.seconds, row.clpbad ? "*" : " ");
      } else {
        std::printf(" %8s", "-");
      }
      // Ratios only where both ended optimal: a failure's time says nothing about speed.
      for (size_t k = 0; k < row.runs.size(); ++k) {
        if (!row.runs[k].optimal || !row.clp.optimal) continue;
        const double ratio = (row.runs[k].seconds + kShift) / (row.clp.seconds + kShift);
        if (k == 0) std::printf(" %6.2f", ratio);
        ratiolog[k] += std::log(ratio);
        ++ratios[k];
      }
    }
    std::printf("\n");
    std::fflush(stdout);
  }
  std::printf("\n%-8s %9s %6s %12s %10s\n", "road", "optimal", "wrong", "geomean s", "sum s");
  for (size_t k = 0; k < sums.size(); ++k) {
    std::printf("%-8s %4d/%-4d %6d %12.4f %10.3f\n", opt.roads[k].label, sums[k].optimal,
                sums[k].total, sums[k].wrong, sums[k].Geo(), sums[k].sum);
  }
  if (!clp.empty()) {
    std::printf("%-8s %4d/%-4d %6d %12.4f %10.3f\n", "clp", clpsum.optimal, clpsum.total,
                clpsum.wrong, clpsum.Geo(), clpsum.sum);
    for (size_t k = 0; k < sums.size(); ++k) {
      if (ratios[k] == 0) continue;
      std::printf(
          "geometric mean of (%s + %.2f) / (clp + %.2f) over %d problems both solved: %.3f\n",
          opt.roads[k].label, kShift, kShift, ratios[k], std::exp(ratiolog[k] / ratios[k]));
    }
  }
  std::printf("times: shifted geometric mean exp(mean(log(t + %.2f))) - %.2f\n", kShift, kShift);
  VLR_deleteenv(&env);
  if (!csv.Close()) {
    std::fprintf(stderr, "vlr_bench_simplex: writing %s failed\n", opt.csv.c_str());
    return 1;
  }
  return 0;
}
