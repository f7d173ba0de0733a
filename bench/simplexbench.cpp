// bench/simplexbench.cpp: the simplex and interior-point roads on the Netlib problems: per
// problem the status, the
// objective error against the reference, the iterations, the wall time of VLR_optimize and the
// time per iteration, beside the open-source peer clp by the same algorithm when it is on PATH:
// clp with its presolve for the roads with presolve, without for the roads without. With --mcf
// it generates a family of multicommodity-flow problems and prints the slope of log(time) over
// log(non-zeros) for each solver. Prints a table, and with --csv FILE one line per problem and
// solver for bench/perfprofile.py; not a test.
// SPDX-License-Identifier: Apache-2.0
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "mcfgen.h"
#include "velor.h"

namespace {

// Times are summarised by the shifted geometric mean exp(mean(log(t + s))) - s, with the
// customary shift s = 0.01 s, so that problems solved in no time do not dominate.
constexpr double kShift = 0.01;
// The goals of the dual simplex are stated in the shifted geometric mean with a shift of 1 s.
constexpr double kGoalShift = 1.0;
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
                           {"primal-np", VLR_OPTIMIZER_PRIMAL_SIMPLEX, VLR_PRESOLVE_MODE_OFF},
                           {"intpnt", VLR_OPTIMIZER_INTPNT, VLR_PRESOLVE_MODE_FREE},
                           {"pd", VLR_OPTIMIZER_PRIMAL_DUAL_SIMPLEX, VLR_PRESOLVE_MODE_FREE},
                           {"concurrent", VLR_OPTIMIZER_CONCURRENT, VLR_PRESOLVE_MODE_FREE}};

struct Options {
  std::vector<Road> roads;
  std::vector<std::string> inputs;
  int clp = -1;  // -1: when found, 0: never, 1: asked for
  double timeout = -1.0;
  bool log = false;
  std::string csv;  // per-problem results to this file; empty: none
  int mcf = 0;      // levels of the generated multicommodity family; 0: none
  std::string mcfdir = "/tmp";
  bool mcfkeep = false;  // leave the generated files (named mcfN.mps) for a profiler
};

struct Run {
  std::string status;  // short: OPT, PINF, DINF, UNK, TIME, ITER, ERR ...
  bool optimal = false;
  double objerr = -1.0;  // relative; -1 when not comparable
  int64_t iters = 0;
  double seconds = 0;
  double wall = 0;  // wall seconds: the concurrent road's CPU time counts every racer
  bool done = false;
  int32_t prows = -1, pcols = -1;  // size of the problem the simplex solved, after presolve
  double ptime = 0.0;              // presolve's share of the time
};

// clp with its presolve (the peer of the simplex roads with presolve), without, and its barrier
// (the peer of the interior-point road).
enum Peer { kPeerPresolve = 0, kPeerNoPresolve = 1, kPeerBarrier = 2, kPeers = 3 };
constexpr const char* kPeerLabel[kPeers] = {"clp", "clp-np", "clp-bar"};

Peer PeerOf(const Road& r) {
  if (r.optimizer == VLR_OPTIMIZER_INTPNT) return kPeerBarrier;
  return r.presolve == VLR_PRESOLVE_MODE_OFF ? kPeerNoPresolve : kPeerPresolve;
}

struct Row {
  std::string name;
  int32_t rows = 0, cols = 0;
  int64_t nz = 0;
  std::vector<Run> runs;  // one per road
  Run clp[kPeers];
  bool clpbad[kPeers] = {false, false, false};  // clp's objective disagrees with the reference
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
        VLR_IINF_SIM_NETWORK_PRIMAL_ITER, VLR_IINF_SIM_NETWORK_DUAL_ITER, VLR_IINF_INTPNT_ITER}) {
    int32_t v = 0;
    if (VLR_getintinf(task, item, &v) == VLR_RES_OK) sum += v;
  }
  return sum;
}

// CPU seconds of this process. clp reports the CPU time of its solve, so ours is taken the same
// way: on a shared machine wall time would count the waits of one side only. (The simplex runs
// on the caller's thread, so on a quiet machine the two are the same.)
double CpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

double WallSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
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
  const double t0 = CpuSeconds(), w0 = WallSeconds();
  const int32_t r = VLR_optimizetrm(task, &trm);
  out.seconds = CpuSeconds() - t0;
  out.wall = WallSeconds() - w0;
  int32_t prosta = 0, solsta = VLR_SOL_STA_UNKNOWN, def = 0;
  int32_t winner = road.optimizer;  // the concurrent road's solution is its winner's
  if (road.optimizer == VLR_OPTIMIZER_CONCURRENT) {
    VLR_getintinf(task, VLR_IINF_CONCURRENT_FASTEST_OPTIMIZER, &winner);
  }
  const int32_t whichsol = winner == VLR_OPTIMIZER_INTPNT ? VLR_SOL_ITR : VLR_SOL_BAS;
  VLR_solutiondef(task, whichsol, &def);
  if (def != 0) VLR_getsolutionstatus(task, whichsol, &prosta, &solsta);
  out.status = ShortStatus(r, trm, solsta);
  out.iters = Iterations(task);
  out.done = true;
  VLR_getintinf(task, VLR_IINF_SIM_NUMCON, &out.prows);
  VLR_getintinf(task, VLR_IINF_SIM_NUMVAR, &out.pcols);
  VLR_getdouinf(task, VLR_DINF_PRESOLVE_TIME, &out.ptime);
  if (r == VLR_RES_OK && solsta == VLR_SOL_STA_OPTIMAL) {
    out.optimal = true;
    double obj = 0;
    VLR_getprimalobj(task, whichsol, &obj);
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
Run RunClp(const std::string& clp, const char* method, bool presolve, const std::string& file,
           double timeout, bool hasref, double ref, bool* bad) {
  Run out;
  std::string cmd = "'" + clp + "' '" + file + "'";
  if (timeout > 0) cmd += " -sec " + std::to_string(timeout);
  if (!presolve) cmd += " -presolve off";
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
    std::printf(" %6s %8s %7s %8s %6s", r.status.empty() ? "-" : r.status.c_str(), "-", "-", "-",
                "-");
    return;
  }
  char err[32] = "-";
  if (r.objerr >= 0) std::snprintf(err, sizeof err, "%8.1e", r.objerr);
  std::printf(" %6s %8s %7lld %8.3f %6.1f", r.status.c_str(), err, static_cast<long long>(r.iters),
              r.seconds, r.iters > 0 ? 1e6 * r.seconds / static_cast<double>(r.iters) : 0.0);
}

// A peer's run: status, iterations, time and microseconds per iteration.
void PrintPeer(const Run& r, bool bad) {
  std::printf(" | %6s", r.status.empty() ? "-" : r.status.c_str());
  if (!r.done) {
    std::printf(" %7s %8s %6s", "-", "-", "-");
    return;
  }
  std::printf(" %7lld %7.3f%s %6.1f", static_cast<long long>(r.iters), r.seconds, bad ? "*" : " ",
              r.iters > 0 ? 1e6 * r.seconds / static_cast<double>(r.iters) : 0.0);
}

// Ratios of a road's time over its peer's where both ended optimal: the shifted geometric means
// with the table's shift and with the goals' shift of 1 s, and the worst single ratio.
struct Ratio {
  double logsum = 0.0, loggoal = 0.0;
  int count = 0;
  double worst = 0.0;
  std::string worstname;
  void Add(const std::string& name, double ours, double peer) {
    logsum += std::log((ours + kShift) / (peer + kShift));
    loggoal += std::log((ours + kGoalShift) / (peer + kGoalShift));
    ++count;
    const double r = (ours + kShift) / (peer + kShift);
    if (r > worst) worst = r, worstname = name;
  }
};

// Least-squares slope of log(time) over log(non-zeros) for the points where the solver ended
// optimal: the exponent of the time's growth with the size of the model.
struct Growth {
  double sx = 0, sy = 0, sxx = 0, sxy = 0;
  int count = 0;
  void Add(int64_t nz, const Run& r) {
    if (!r.optimal || nz <= 0) return;
    const double x = std::log(static_cast<double>(nz)), y = std::log(std::max(r.seconds, 1e-4));
    sx += x, sy += y, sxx += x * x, sxy += x * y;
    ++count;
  }
  double Slope() const {
    const double den = count * sxx - sx * sx;
    return count >= 2 && den > 0 ? (count * sxy - sx * sy) / den : 0.0;
  }
};

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
      std::fprintf(f, "problem,rows,cols,solver,status,optimal,time,iterations,objerr,wall\n");
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
    if (r.done) std::fprintf(f, ",%.6f", r.wall);
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
  double logsum = 0, sum = 0, logwall = 0, sumwall = 0;
  int timed = 0;
  void Add(const Run& r) {
    ++total;
    if (!r.done) return;
    if (r.optimal) ++optimal;
    if (r.objerr > kObjTol) ++wrong;
    logsum += std::log(r.seconds + kShift);
    sum += r.seconds;
    logwall += std::log(r.wall + kShift);
    sumwall += r.wall;
    ++timed;
  }
  double Geo() const { return timed > 0 ? std::exp(logsum / timed) - kShift : 0.0; }
  double GeoWall() const { return timed > 0 ? std::exp(logwall / timed) - kShift : 0.0; }
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
    } else if (a == "--mcf" && k + 1 < argc) {
      opt->mcf = std::min(std::max(std::atoi(argv[++k]), 0), kMcfLevels);
    } else if (a == "--mcf-keep") {
      opt->mcfkeep = true;
    } else if (a == "--mcf-dir" && k + 1 < argc) {
      opt->mcfdir = argv[++k];
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
        "usage: vlr_bench_simplex [--optimizer dual|free|primal|intpnt|pd|concurrent|all] "
        "[--clp|--no-clp]\n"
        "                         [--timeout SEC] [--log] [--csv FILE] [--mcf LEVELS]\n"
        "                         [--mcf-dir DIR] [--mcf-keep] [NAME|FILE|DIR ...]\n"
        "Without names (and without --mcf): every problem of %s/netlib.\n"
        "--optimizer may be repeated. --mcf LEVELS: also the first LEVELS (1 to %d) of a\n"
        "family of multicommodity-flow problems, written to DIR (default /tmp) and removed\n"
        "unless --mcf-keep is given.\n"
        "--csv FILE: one line per problem and solver: problem, rows, cols, solver,\n"
        "status, optimal (1/0), time (s), iterations, objerr (empty: no reference), wall (s).\n",
        VLR_DATA_DIR, kMcfLevels);
    return 2;
  }
  std::vector<std::string> files;
  if (opt.inputs.empty() && opt.mcf == 0)
    opt.inputs.push_back(std::string(VLR_DATA_DIR) + "/netlib");
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
  // The peers the roads call for.
  bool peer[kPeers] = {false, false, false};
  for (const Road& r : opt.roads)
    peer[PeerOf(r)] = !clp.empty();

  VLRenv_t env = nullptr;
  if (VLR_makeenv(&env, nullptr, nullptr, nullptr, nullptr) != VLR_RES_OK ||
      VLR_initenv(env) != VLR_RES_OK) {
    return 1;
  }
  std::vector<std::string> generated;
  std::map<std::string, std::string> mcfname;  // by path
  for (int level = 1; level <= opt.mcf; ++level) {
    const std::string path = opt.mcfdir + "/vlr_mcf" + std::to_string(level) +
                             (opt.mcfkeep ? std::string() : "_" + std::to_string(getpid())) +
                             ".mps";
    std::string name;
    if (McfWrite(env, level, path, &name) != VLR_RES_OK) {
      std::fprintf(stderr, "vlr_bench_simplex: cannot write %s\n", path.c_str());
      continue;
    }
    generated.push_back(path);
    files.push_back(path);
    mcfname[path] = name;
  }
  CsvOut csv;
  if (!opt.csv.empty() && !csv.Open(opt.csv)) {
    std::fprintf(stderr, "vlr_bench_simplex: cannot write %s\n", opt.csv.c_str());
    VLR_deleteenv(&env);
    return 1;
  }
  std::printf(
      "# time: CPU seconds of VLR_optimize (read excluded); us/it: microseconds per iteration;"
      " err: |obj - ref| / max(1, |ref|)\n");
  // clp runs the simplex of the first simplex road: its primal simplex beside ours; its barrier
  // (with its crossover, as clp FILE -barrier runs) beside the interior-point road.
  const char* method = "-dualsimplex";
  for (const Road& r : opt.roads) {
    if (r.optimizer == VLR_OPTIMIZER_INTPNT) continue;
    if (r.optimizer == VLR_OPTIMIZER_PRIMAL_SIMPLEX) method = "-primalsimplex";
    break;
  }
  if (!clp.empty()) {
    std::printf(
        "# clp: %s %s (clp-np: -presolve off; clp-bar: -barrier), the solve time it reports itself "
        "(read excluded);"
        " ratio: (road + %.2f) / (its clp + %.2f) where both are optimal; * clp objective off the"
        " reference\n",
        clp.c_str(), method, kShift, kShift);
  }
  // The presolve columns belong to the first road with presolve: the rows and columns its simplex
  // solved (the problem as given when presolve removed nothing or its basis was dropped) and the
  // presolve time.
  int32_t prslvroad = -1;
  for (size_t k = 0; k < opt.roads.size() && prslvroad < 0; ++k) {
    if (opt.roads[k].presolve != VLR_PRESOLVE_MODE_OFF) prslvroad = static_cast<int32_t>(k);
  }
  std::printf("%-10s %6s %6s %7s", "problem", "rows", "cols", "nz");
  if (prslvroad >= 0) std::printf(" | %6s %6s %6s", "prows", "pcols", "pre-s");
  for (const Road& r : opt.roads)
    std::printf(" | %6.6s %8s %7s %8s %6s", r.label, "err", "iters", "time", "us/it");
  for (int p = 0; p < kPeers; ++p) {
    if (peer[p]) std::printf(" | %6s %7s %8s %6s", kPeerLabel[p], "iters", "time", "us/it");
  }
  if (!clp.empty()) {
    for (const Road& r : opt.roads)
      std::printf(" %7.7s", r.label);
  }
  std::printf("\n");

  std::map<std::string, std::map<std::string, double>> refs;  // by directory
  std::vector<Summary> sums(opt.roads.size());
  Summary peersum[kPeers];
  std::vector<Ratio> ratios(opt.roads.size());
  // The race against the fastest single road of the same run, problem by problem, in wall time.
  Ratio race;
  std::vector<Growth> growth(opt.roads.size());
  Growth peergrowth[kPeers];
  for (const std::string& file : files) {
    const std::string dir = Dirname(file);
    if (refs.find(dir) == refs.end()) refs[dir] = ReadReference(dir + "/OPTIMA.csv");
    Row row;
    row.name = Stem(file);
    const bool mcf = std::find(generated.begin(), generated.end(), file) != generated.end();
    if (mcf) row.name = mcfname[file];
    const auto ref = refs[dir].find(row.name);
    const bool hasref = !mcf && ref != refs[dir].end();
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
    VLR_getnumanz64(base, &row.nz);
    // Ours and the peers alternate problem by problem, so that a slow spell of the shared
    // machine falls on both.
    for (const Road& r : opt.roads)
      row.runs.push_back(Solve(base, r, opt, hasref, refval));
    VLR_deletetask(&base);
    for (int p = 0; p < kPeers; ++p) {
      if (peer[p]) {
        row.clp[p] = RunClp(clp, p == kPeerBarrier ? "-barrier" : method, p != kPeerNoPresolve,
                            file, opt.timeout, hasref, refval, &row.clpbad[p]);
      }
    }

    for (size_t k = 0; k < row.runs.size(); ++k)
      csv.Add(row, opt.roads[k].label, row.runs[k]);
    for (int p = 0; p < kPeers; ++p) {
      if (peer[p]) csv.Add(row, kPeerLabel[p], row.clp[p]);
    }
    std::printf("%-10s %6d %6d %7lld", row.name.c_str(), row.rows, row.cols,
                static_cast<long long>(row.nz));
    if (prslvroad >= 0) {
      const Run& pr = row.runs[static_cast<size_t>(prslvroad)];
      std::printf(" | %6d %6d %6.3f", pr.prows, pr.pcols, pr.ptime);
    }
    for (size_t k = 0; k < row.runs.size(); ++k) {
      std::printf(" |");
      PrintRun(row.runs[k]);
      sums[k].Add(row.runs[k]);
      if (mcf) growth[k].Add(row.nz, row.runs[k]);
    }
    for (int p = 0; p < kPeers; ++p) {
      if (!peer[p]) continue;
      PrintPeer(row.clp[p], row.clpbad[p]);
      peersum[p].Add(row.clp[p]);
      if (mcf) peergrowth[p].Add(row.nz, row.clp[p]);
    }
    // Ratios only where both ended optimal: a failure's time says nothing about speed.
    for (size_t k = 0; k < row.runs.size() && !clp.empty(); ++k) {
      const Run& c = row.clp[PeerOf(opt.roads[k])];
      if (!row.runs[k].optimal || !c.optimal) {
        std::printf(" %7s", "-");
        continue;
      }
      std::printf(" %7.2f", (row.runs[k].seconds + kShift) / (c.seconds + kShift));
      ratios[k].Add(row.name, row.runs[k].seconds, c.seconds);
    }
    std::printf("\n");
    std::fflush(stdout);
    double best = -1.0, racewall = -1.0;
    for (size_t k = 0; k < row.runs.size(); ++k) {
      const Run& r = row.runs[k];
      if (!r.optimal) continue;
      if (opt.roads[k].optimizer == VLR_OPTIMIZER_CONCURRENT) {
        racewall = r.wall;
      } else if (best < 0.0 || r.wall < best) {
        best = r.wall;
      }
    }
    if (racewall >= 0.0 && best >= 0.0) race.Add(row.name, racewall, best);
  }
  for (const std::string& f : generated) {
    if (!opt.mcfkeep) std::remove(f.c_str());
  }

  std::printf("\n%-8s %9s %6s %12s %10s %12s %10s\n", "solver", "optimal", "wrong", "geomean s",
              "sum s", "geomean wall", "sum wall");
  for (size_t k = 0; k < sums.size(); ++k) {
    std::printf("%-8s %4d/%-4d %6d %12.4f %10.3f %12.4f %10.3f\n", opt.roads[k].label,
                sums[k].optimal, sums[k].total, sums[k].wrong, sums[k].Geo(), sums[k].sum,
                sums[k].GeoWall(), sums[k].sumwall);
  }
  for (int p = 0; p < kPeers; ++p) {
    if (!peer[p]) continue;
    std::printf("%-8s %4d/%-4d %6d %12.4f %10.3f\n", kPeerLabel[p], peersum[p].optimal,
                peersum[p].total, peersum[p].wrong, peersum[p].Geo(), peersum[p].sum);
  }
  for (size_t k = 0; k < ratios.size(); ++k) {
    const Ratio& q = ratios[k];
    if (q.count == 0) continue;
    std::printf(
        "%s over %s, %d problems both solved: shifted geometric mean of the ratio %.3f (shift "
        "%.2f s), %.3f (shift %.0f s); worst %.2f (%s)\n",
        opt.roads[k].label, kPeerLabel[PeerOf(opt.roads[k])], q.count, std::exp(q.logsum / q.count),
        kShift, std::exp(q.loggoal / q.count), kGoalShift, q.worst, q.worstname.c_str());
  }
  if (race.count > 0) {
    std::printf(
        "concurrent over the fastest other road of each problem, wall time, %d problems: shifted "
        "geometric mean of the ratio %.3f (shift %.2f s), %.3f (shift %.0f s); worst %.2f (%s)\n",
        race.count, std::exp(race.logsum / race.count), kShift, std::exp(race.loggoal / race.count),
        kGoalShift, race.worst, race.worstname.c_str());
  }
  if (opt.mcf > 0) {
    std::printf("growth over the multicommodity family: slope of log(time) over log(nz):");
    for (size_t k = 0; k < growth.size(); ++k) {
      if (growth[k].count >= 2) std::printf(" %s %.2f", opt.roads[k].label, growth[k].Slope());
    }
    for (int p = 0; p < kPeers; ++p) {
      if (peer[p] && peergrowth[p].count >= 2)
        std::printf(" %s %.2f", kPeerLabel[p], peergrowth[p].Slope());
    }
    std::printf("\n");
  }
  std::printf("times: shifted geometric mean exp(mean(log(t + %.2f))) - %.2f\n", kShift, kShift);
  VLR_deleteenv(&env);
  if (!csv.Close()) {
    std::fprintf(stderr, "vlr_bench_simplex: writing %s failed\n", opt.csv.c_str());
    return 1;
  }
  return 0;
}
