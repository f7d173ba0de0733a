// app/velor.cpp: the command-line tool: read a problem file or standard input, set parameters,
// optimise, print the summaries and one line for scripts, and write files on request.
// SPDX-License-Identifier: Apache-2.0
#include "velor.h"

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

void PrintStream(void*, const char* text) {
  std::fputs(text, stdout);
}

void Usage(FILE* out) {
  std::fputs(
      "usage: velor [options] FILE\n"
      "Reads a problem file (MPS, free MPS, LP; gzip-compressed when named .gz), optimises it and\n"
      "prints the solution summary. FILE '-' reads standard input (plain or gzip), as MPS unless\n"
      "--format says otherwise.\n"
      "\n"
      "options:\n"
      "  --optimizer NAME  free, free-simplex, dual, primal, primal-dual, intpnt, conic, qcone,\n"
      "                    mixed-int, nonconvex or concurrent (VLR_IPAR_OPTIMIZER)\n"
      "  --time-limit SEC  stop the optimiser after SEC seconds of wall clock\n"
      "                    (VLR_DPAR_OPTIMIZER_MAX_TIME)\n"
      "  --threads N       threads of the interior-point factorisation, 0 for one per core\n"
      "                    (VLR_IPAR_INTPNT_NUM_THREADS); the simplex runs on one thread\n"
      "  --presolve MODE   on, off or free: presolve always, never, or when it pays\n"
      "                    (VLR_IPAR_PRESOLVE_USE; free is the default)\n"
      "  --format FORMAT   read FILE as mps, free-mps or lp, whatever its name\n"
      "  --log FILE        write the log to FILE too (also under -q)\n"
      "  -p NAME=VALUE     set a parameter, e.g. -p VLR_IPAR_OPTIMIZER=VLR_OPTIMIZER_DUAL_SIMPLEX\n"
      "  -p FILE           read a parameter file\n"
      "  --free-mps        read MPS in free form (long names, fields separated by blanks)\n"
      "  -o FILE           write the solution to FILE\n"
      "  -w FILE           write the problem to FILE (.mps, .lp, .mps.gz, ...)\n"
      "  -n                read (and write) only, do not optimise\n"
      "  -q                quiet: no log, only errors and the summaries\n"
      "  --version         print the library's version and build, and stop\n"
      "  -h, --help        this text\n"
      "The named options are applied after every -p, so they win over a parameter file.\n"
      "\n"
      "After an optimise, standard output has one line for scripts:\n"
      "  velor: status STATUS objective VALUE time SECONDS response CODE\n"
      "with STATUS the solution status (OPTIMAL, PRIMAL_INFEASIBLE_CER, DUAL_INFEASIBLE_CER,\n"
      "UNKNOWN, ...), VALUE the primal objective in %.10e form or nan when the status gives no\n"
      "point, SECONDS the optimiser's wall-clock time in %.2f form, and CODE the optimise's\n"
      "response (VLR_RES_OK, VLR_RES_TRM_MAX_TIME, VLR_RES_ERR_INV_OPTIMIZER, ...).\n"
      "\n"
      "exit status:\n"
      "  0  solved to a definite answer (optimal, or proven infeasible or unbounded), or read\n"
      "     and written as asked\n"
      "  1  bad usage or an input error: an option, a parameter, a file that cannot be read\n"
      "  2  stopped by a limit: time, iterations, objective range or a callback\n"
      "  3  no definite answer for another reason: numerical trouble, out of space, internal\n"
      "Every failure is told on standard error, also under -q.\n",
      out);
}

// The exit status of the tool, by the class of what ended the run.
enum ExitStatus { kExitOk = 0, kExitInput = 1, kExitLimit = 2, kExitOther = 3 };

int ExitForCode(int32_t r) {
  if (r == VLR_RES_OK) return kExitOk;
  if (r == VLR_RES_ERR_SPACE || r == VLR_RES_ERR_SPACE_LEAKING || r >= VLR_RES_ERR_INTERNAL) {
    return kExitOther;
  }
  return kExitInput;
}

int ExitForTermination(int32_t trm) {
  switch (trm) {
    case VLR_RES_OK:
      return kExitOk;
    case VLR_RES_TRM_MAX_ITERATIONS:
    case VLR_RES_TRM_MAX_TIME:
    case VLR_RES_TRM_OBJECTIVE_RANGE:
    case VLR_RES_TRM_USER_CALLBACK:
      return kExitLimit;
    default:
      return kExitOther;
  }
}

// Warnings the library raises are kept, so that the tool can treat the ones that defeat what
// was asked (a parameter file that cannot be opened) as the failures they are to its user.
struct Warnings {
  int32_t last = VLR_RES_OK;
  std::string text;
  static int32_t Func(void* handle, int32_t code, const char* msg) {
    auto* self = static_cast<Warnings*>(handle);
    if (code > VLR_RES_OK && code < 1000) {
      self->last = code;
      self->text = msg != nullptr ? msg : "";
      return VLR_RES_OK;  // a warning stays a warning for the library
    }
    return code;
  }
};

// A value an option names, and the parameter value it stands for.
struct Choice {
  const char* name;
  int32_t value;
};

constexpr Choice kOptimizers[] = {
    {"free", VLR_OPTIMIZER_FREE},
    {"free-simplex", VLR_OPTIMIZER_FREE_SIMPLEX},
    {"dual", VLR_OPTIMIZER_DUAL_SIMPLEX},
    {"primal", VLR_OPTIMIZER_PRIMAL_SIMPLEX},
    {"primal-dual", VLR_OPTIMIZER_PRIMAL_DUAL_SIMPLEX},
    {"intpnt", VLR_OPTIMIZER_INTPNT},
    {"conic", VLR_OPTIMIZER_CONIC},
    {"qcone", VLR_OPTIMIZER_QCONE},
    {"mixed-int", VLR_OPTIMIZER_MIXED_INT},
    {"nonconvex", VLR_OPTIMIZER_NONCONVEX},
    {"concurrent", VLR_OPTIMIZER_CONCURRENT},
};
constexpr Choice kPresolveModes[] = {
    {"on", VLR_PRESOLVE_MODE_ON},
    {"off", VLR_PRESOLVE_MODE_OFF},
    {"free", VLR_PRESOLVE_MODE_FREE},
};
constexpr Choice kFormats[] = {
    {"mps", VLR_DATA_FORMAT_MPS},
    {"free-mps", VLR_DATA_FORMAT_FREE_MPS},
    {"lp", VLR_DATA_FORMAT_LP},
};

struct Options {
  std::vector<std::string> params;  // "NAME=VALUE" or a parameter file name
  std::string file, solfile, writefile, logfile;
  bool freemps = false, optimize = true, quiet = false;
  int32_t optimizer = -1;  // -1: not given, as each of the four below
  int32_t presolve = -1;
  int32_t format = -1;
  int32_t threads = -1;
  double timelimit = -1.0;
};

// Looks text up in a table of choices; on a miss says which names there are.
template <size_t N>
bool ParseChoice(const char* option, const char* text, const Choice (&table)[N], int32_t* value) {
  for (const Choice& c : table) {
    if (std::strcmp(c.name, text) == 0) {
      *value = c.value;
      return true;
    }
  }
  std::string names;
  for (const Choice& c : table)
    names += std::string(names.empty() ? "" : ", ") + c.name;
  std::fprintf(stderr, "velor: %s '%s' is not one of %s\n", option, text, names.c_str());
  return false;
}

// A whole decimal number of seconds, finite and at least 0.
bool ParseSeconds(const char* option, const char* text, double* value) {
  char* end = nullptr;
  const double v = std::strtod(text, &end);
  if (end == text || *end != '\0' || !std::isfinite(v) || v < 0.0) {
    std::fprintf(stderr, "velor: %s needs a number of seconds at least 0, not '%s'\n", option,
                 text);
    return false;
  }
  *value = v;
  return true;
}

// A whole decimal count from 0 to the largest 32-bit value.
bool ParseCount(const char* option, const char* text, int32_t* value) {
  char* end = nullptr;
  const long long v = std::strtoll(text, &end, 10);
  if (end == text || *end != '\0' || v < 0 || v > INT32_MAX) {
    std::fprintf(stderr, "velor: %s needs a whole number at least 0, not '%s'\n", option, text);
    return false;
  }
  *value = static_cast<int32_t>(v);
  return true;
}

// The options that take a value, and whether a is one of them.
bool TakesValue(const std::string& a) {
  for (const char* o : {"-p", "-o", "-w", "--optimizer", "--time-limit", "--threads", "--log",
                        "--presolve", "--format"}) {
    if (a == o) return true;
  }
  return false;
}

// Takes one option with its value (argv[k + 1] when it has one). Returns false after a message.
bool ParseValued(const std::string& a, const char* v, Options* opt) {
  if (a == "-p") {
    opt->params.emplace_back(v);
  } else if (a == "-o") {
    opt->solfile = v;
  } else if (a == "-w") {
    opt->writefile = v;
  } else if (a == "--log") {
    opt->logfile = v;
  } else if (a == "--optimizer") {
    return ParseChoice("--optimizer", v, kOptimizers, &opt->optimizer);
  } else if (a == "--presolve") {
    return ParseChoice("--presolve", v, kPresolveModes, &opt->presolve);
  } else if (a == "--format") {
    return ParseChoice("--format", v, kFormats, &opt->format);
  } else if (a == "--threads") {
    return ParseCount("--threads", v, &opt->threads);
  } else if (a == "--time-limit") {
    return ParseSeconds("--time-limit", v, &opt->timelimit);
  }
  return true;
}

// Returns 0 on success, 1 to stop with the usage, 2 after --help, 3 after --version.
int ParseArgs(int argc, char** argv, Options* opt) {
  for (int k = 1; k < argc; ++k) {
    const std::string a = argv[k];
    if (TakesValue(a)) {
      if (k + 1 >= argc) {
        std::fprintf(stderr, "velor: %s needs an argument\n", a.c_str());
        return 1;
      }
      if (!ParseValued(a, argv[++k], opt)) return 1;
    } else if (a == "--free-mps") {
      opt->freemps = true;
    } else if (a == "-n") {
      opt->optimize = false;
    } else if (a == "-q") {
      opt->quiet = true;
    } else if (a == "-h" || a == "--help") {
      return 2;
    } else if (a == "--version") {
      return 3;
    } else if (a.size() > 1 && a[0] == '-') {
      std::fprintf(stderr, "velor: unknown option %s\n", a.c_str());
      return 1;
    } else if (opt->file.empty()) {
      opt->file = a;
    } else {
      std::fprintf(stderr, "velor: one problem file only (%s and %s)\n", opt->file.c_str(),
                   a.c_str());
      return 1;
    }
  }
  if (opt->file.empty()) {
    std::fprintf(stderr, "velor: no problem file given\n");
    return 1;
  }
  return 0;
}

void PrintVersion() {
  char version[VLR_MAX_STR_LEN] = {0};
  char state[VLR_MAX_STR_LEN] = {0}, date[VLR_MAX_STR_LEN] = {0}, tool[VLR_MAX_STR_LEN] = {0};
  VLR_getversionstring(sizeof version, version);
  VLR_getbuildinfo(state, date, tool);
  std::printf("velor %s (%s build of %s, %s)\n", version, state, date, tool);
}

// The solution the road left: basic, else interior, else integer; -1 when there is none.
int32_t DefinedSolution(VLRtask_t task) {
  for (int32_t w : {VLR_SOL_BAS, VLR_SOL_ITR, VLR_SOL_ITG}) {
    int32_t def = 0;
    if (VLR_solutiondef(task, w, &def) == VLR_RES_OK && def != 0) return w;
  }
  return -1;
}

// Optimal, or proven infeasible or unbounded, in the solution the road left.
bool DefiniteAnswer(VLRtask_t task) {
  const int32_t w = DefinedSolution(task);
  if (w < 0) return false;
  int32_t prosta = 0, solsta = 0;
  VLR_getsolutionstatus(task, w, &prosta, &solsta);
  return solsta == VLR_SOL_STA_OPTIMAL || solsta == VLR_SOL_STA_INTEGER_OPTIMAL ||
         solsta == VLR_SOL_STA_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_DUAL_INFEAS_CER;
}

// The line a script greps for after an optimise; its form is told in --help and the README.
void PrintSummaryLine(VLRtask_t task, int32_t response) {
  const int32_t w = DefinedSolution(task);
  int32_t prosta = 0, solsta = VLR_SOL_STA_UNKNOWN;
  if (w >= 0) VLR_getsolutionstatus(task, w, &prosta, &solsta);
  char status[VLR_MAX_STR_LEN] = {0};
  VLR_solstatostr(task, solsta, status);
  // A certificate is a direction, not a point: its objective means nothing to the caller.
  const bool certificate =
      solsta == VLR_SOL_STA_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_DUAL_INFEAS_CER ||
      solsta == VLR_SOL_STA_NEAR_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_NEAR_DUAL_INFEAS_CER;
  char objective[64] = "nan";
  double obj = 0.0;
  if (w >= 0 && !certificate && VLR_getprimalobj(task, w, &obj) == VLR_RES_OK) {
    std::snprintf(objective, sizeof objective, "%.10e", obj);
  }
  double time = 0.0;
  VLR_getdouinf(task, VLR_DINF_OPTIMIZER_TIME, &time);
  char code[VLR_MAX_STR_LEN] = {0};
  VLR_getcodedesc(response, code, nullptr);
  VLR_echotask(task, VLR_STREAM_MSG, "velor: status %s objective %s time %.2f response %s\n",
               status, objective, time, code);
}

std::string LastError(VLRtask_t task) {
  char msg[VLR_MAX_STR_LEN] = {0};
  int32_t code = 0;
  VLR_getlasterror(task, &code, sizeof msg, nullptr, msg);
  char name[VLR_MAX_STR_LEN] = {0};
  VLR_getcodedesc(code, name, nullptr);
  return std::string(name) + ": " + msg;
}

int32_t ApplyParams(VLRtask_t task, const Options& opt, Warnings* warnings) {
  for (const std::string& p : opt.params) {
    const size_t eq = p.find('=');
    int32_t r = VLR_RES_OK;
    if (eq == std::string::npos) {
      r = VLR_putstrparam(task, VLR_SPAR_PARAM_READ_FILE_NAME, p.c_str());
      warnings->last = VLR_RES_OK;
      if (r == VLR_RES_OK) r = VLR_readparamfile(task);
      if (r == VLR_RES_OK && warnings->last == VLR_RES_WRN_OPEN_PARAM_FILE) {
        std::fprintf(stderr, "velor: parameter file %s: %s\n", p.c_str(), warnings->text.c_str());
        return VLR_RES_WRN_OPEN_PARAM_FILE;
      }
    } else {
      r = VLR_putparam(task, p.substr(0, eq).c_str(), p.substr(eq + 1).c_str());
    }
    if (r != VLR_RES_OK) {
      std::fprintf(stderr, "velor: parameter %s: %s\n", p.c_str(), LastError(task).c_str());
      return r;
    }
  }
  // The named options after the -p settings: the more specific choice wins.
  int32_t r = VLR_RES_OK;
  if (opt.optimizer >= 0) r = VLR_putintparam(task, VLR_IPAR_OPTIMIZER, opt.optimizer);
  if (r == VLR_RES_OK && opt.presolve >= 0) {
    r = VLR_putintparam(task, VLR_IPAR_PRESOLVE_USE, opt.presolve);
  }
  if (r == VLR_RES_OK && opt.format >= 0) {
    r = VLR_putintparam(task, VLR_IPAR_READ_DATA_FORMAT, opt.format);
  }
  if (r == VLR_RES_OK && opt.threads >= 0) {
    r = VLR_putintparam(task, VLR_IPAR_INTPNT_NUM_THREADS, opt.threads);
  }
  if (r == VLR_RES_OK && opt.timelimit >= 0.0) {
    r = VLR_putdouparam(task, VLR_DPAR_OPTIMIZER_MAX_TIME, opt.timelimit);
  }
  if (r != VLR_RES_OK) std::fprintf(stderr, "velor: %s\n", LastError(task).c_str());
  return r;
}

// A copy of standard input in a file of its own, removed when the copy goes out of scope; the
// readers take file names only.
class StdinCopy {
 public:
  StdinCopy() = default;
  ~StdinCopy() {
    if (!path_.empty()) std::remove(path_.c_str());
  }
  StdinCopy(const StdinCopy&) = delete;
  StdinCopy& operator=(const StdinCopy&) = delete;

  // Copies all of standard input; gzip data gets a name ending in ".gz" so that it is read
  // through gzip. Returns false after a message.
  bool Make() {
    unsigned char head[4096];
    const size_t n = std::fread(head, 1, sizeof head, stdin);
    const bool gz = n >= 2 && head[0] == 0x1f && head[1] == 0x8b;
    const char* dir = std::getenv("TMPDIR");
    std::string name = std::string(dir != nullptr && dir[0] != '\0' ? dir : "/tmp") +
                       "/velor-stdin-XXXXXX" + (gz ? ".gz" : "");
    const int fd = mkstemps(name.data(), gz ? 3 : 0);
    if (fd < 0) {
      std::fprintf(stderr, "velor: cannot make a file for standard input in %s: %s\n", name.c_str(),
                   std::strerror(errno));
      return false;
    }
    path_ = name;
    FILE* out = fdopen(fd, "wb");
    bool ok = out != nullptr && std::fwrite(head, 1, n, out) == n;
    unsigned char buf[65536];
    for (size_t m = 0; ok && (m = std::fread(buf, 1, sizeof buf, stdin)) > 0;) {
      ok = std::fwrite(buf, 1, m, out) == m;
    }
    ok = ok && !std::ferror(stdin);
    if (out != nullptr && std::fclose(out) != 0) ok = false;
    if (out == nullptr) close(fd);
    if (!ok) std::fprintf(stderr, "velor: cannot copy standard input to %s\n", path_.c_str());
    return ok;
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// Reads the file; a failed read of a file taken for fixed MPS says how to read it as free MPS.
int32_t ReadProblem(VLRtask_t task, const Options& opt) {
  const bool fromstdin = opt.file == "-";
  const std::string shown = fromstdin ? "standard input" : opt.file;
  StdinCopy copy;
  if (fromstdin && !copy.Make()) return VLR_RES_ERR_FILE_OPEN;
  const int32_t r = VLR_readdata(task, fromstdin ? copy.path().c_str() : opt.file.c_str());
  if (r == VLR_RES_OK) return r;
  std::fprintf(stderr, "velor: cannot read %s: %s\n", shown.c_str(), LastError(task).c_str());
  int32_t format = 0, mpsformat = 0;
  VLR_getintparam(task, VLR_IPAR_READ_DATA_FORMAT, &format);
  VLR_getintparam(task, VLR_IPAR_READ_MPS_FORMAT, &mpsformat);
  const bool mpserror = r >= VLR_RES_ERR_MPS_FILE && r < VLR_RES_ERR_LP_INCOMPATIBLE;
  if (mpserror && mpsformat != VLR_MPS_FORMAT_FREE && format != VLR_DATA_FORMAT_FREE_MPS) {
    std::fprintf(stderr,
                 "velor: the file may be in free MPS form (long names, fields not in fixed "
                 "columns); read it so with: velor %s %s\n",
                 fromstdin ? "--format free-mps" : "--free-mps", opt.file.c_str());
  }
  return r;
}

// Optimises and reports; returns the exit status and leaves the response in *r.
int Optimize(VLRtask_t task, int32_t* r) {
  int32_t trm = 0;
  *r = VLR_optimizetrm(task, &trm);
  if (*r != VLR_RES_OK) {
    std::fprintf(stderr, "velor: optimise failed: %s\n", LastError(task).c_str());
    PrintSummaryLine(task, *r);
    return ExitForCode(*r);
  }
  if (trm != VLR_RES_OK) {
    char name[VLR_MAX_STR_LEN], desc[VLR_MAX_STR_LEN];
    VLR_getcodedesc(trm, name, desc);
    std::printf("Terminated: %s: %s\n", name, desc);
    std::fprintf(stderr, "velor: stopped: %s: %s\n", name, desc);
  }
  VLR_optimizersummary(task, VLR_STREAM_MSG);
  VLR_solutionsummary(task, VLR_STREAM_MSG);
  PrintSummaryLine(task, trm);
  int status = ExitForTermination(trm);
  if (status == kExitOk && !DefiniteAnswer(task)) {
    std::fprintf(stderr, "velor: no definite answer: the solution status is not known\n");
    status = kExitOther;
  }
  return status;
}

// Links the streams: every message, warning and error reaches the log stream too; -q keeps the
// errors and the summaries (message stream) only on standard output. The log file gets all.
int32_t LinkStreams(VLRtask_t task, const Options& opt) {
  if (opt.quiet) {
    VLR_linkfunctotaskstream(task, VLR_STREAM_ERR, nullptr, PrintStream);
    VLR_linkfunctotaskstream(task, VLR_STREAM_MSG, nullptr, PrintStream);
  } else {
    VLR_linkfunctotaskstream(task, VLR_STREAM_LOG, nullptr, PrintStream);
  }
  if (opt.logfile.empty()) return VLR_RES_OK;
  const int32_t r = VLR_linkfiletotaskstream(task, VLR_STREAM_LOG, opt.logfile.c_str(), 0);
  if (r != VLR_RES_OK) {
    std::fprintf(stderr, "velor: cannot write the log to %s: %s\n", opt.logfile.c_str(),
                 LastError(task).c_str());
  }
  return r;
}

int Run(const Options& opt) {
  VLRenv_t env = nullptr;
  VLRtask_t task = nullptr;
  int32_t r = VLR_makeenv(&env, nullptr, nullptr, nullptr, nullptr);
  if (r == VLR_RES_OK) r = VLR_initenv(env);
  if (r == VLR_RES_OK) r = VLR_maketask(env, 0, 0, &task);
  if (r != VLR_RES_OK) {
    std::fprintf(stderr, "velor: cannot make a task (%d)\n", r);
    VLR_deleteenv(&env);
    return kExitOther;
  }
  Warnings warnings;
  VLR_putresponsefunc(task, Warnings::Func, &warnings);
  r = LinkStreams(task, opt);
  if (r == VLR_RES_OK && opt.freemps) {
    r = VLR_putintparam(task, VLR_IPAR_READ_MPS_FORMAT, VLR_MPS_FORMAT_FREE);
  }
  if (r == VLR_RES_OK) r = ApplyParams(task, opt, &warnings);
  if (r == VLR_RES_OK) r = ReadProblem(task, opt);
  if (r == VLR_RES_OK) VLR_readsummary(task, VLR_STREAM_MSG);
  if (r == VLR_RES_OK && !opt.writefile.empty()) {
    r = VLR_writedata(task, opt.writefile.c_str());
    if (r != VLR_RES_OK) {
      std::fprintf(stderr, "velor: cannot write %s: %s\n", opt.writefile.c_str(),
                   LastError(task).c_str());
    }
  }
  int status = ExitForCode(r);
  if (r == VLR_RES_OK && opt.optimize) status = Optimize(task, &r);
  if (r == VLR_RES_OK && !opt.solfile.empty()) {
    const int32_t w = DefinedSolution(task);
    r = VLR_writesolution(task, w >= 0 ? w : VLR_SOL_BAS, opt.solfile.c_str());
    if (r != VLR_RES_OK) {
      std::fprintf(stderr, "velor: cannot write %s: %s\n", opt.solfile.c_str(),
                   LastError(task).c_str());
      status = ExitForCode(r);
    }
  }
  std::fflush(stdout);
  VLR_deletetask(&task);
  VLR_deleteenv(&env);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  Options opt;
  const int parsed = ParseArgs(argc, argv, &opt);
  if (parsed == 3) {
    PrintVersion();
    return kExitOk;
  }
  if (parsed != 0) {
    Usage(parsed == 2 ? stdout : stderr);
    return parsed == 2 ? kExitOk : kExitInput;
  }
  return Run(opt);
}
