// app/velor.cpp: the command-line tool: read a problem file, set parameters, optimise, print the
// summaries and write files on request.
// SPDX-License-Identifier: Apache-2.0
#include "velor.h"

#include <cstdio>
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
      "prints the solution summary.\n"
      "\n"
      "options:\n"
      "  -p NAME=VALUE   set a parameter, e.g. -p VLR_IPAR_OPTIMIZER=VLR_OPTIMIZER_DUAL_SIMPLEX\n"
      "  -p FILE         read a parameter file\n"
      "  --free-mps      read MPS in free form (long names, fields separated by blanks)\n"
      "  -o FILE         write the solution to FILE\n"
      "  -w FILE         write the problem to FILE (.mps, .lp, .mps.gz, ...)\n"
      "  -n              read (and write) only, do not optimise\n"
      "  -q              quiet: no log, only errors and the summaries\n"
      "  -h, --help      this text\n"
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

struct Options {
  std::vector<std::string> params;  // "NAME=VALUE" or a parameter file name
  std::string file, solfile, writefile;
  bool freemps = false, optimize = true, quiet = false;
};

// Returns 0 on success, 1 to stop with the usage, 2 after --help.
int ParseArgs(int argc, char** argv, Options* opt) {
  for (int k = 1; k < argc; ++k) {
    const std::string a = argv[k];
    const bool takes = a == "-p" || a == "-o" || a == "-w";
    if (takes && k + 1 >= argc) {
      std::fprintf(stderr, "velor: %s needs an argument\n", a.c_str());
      return 1;
    }
    if (a == "-p") {
      opt->params.emplace_back(argv[++k]);
    } else if (a == "-o") {
      opt->solfile = argv[++k];
    } else if (a == "-w") {
      opt->writefile = argv[++k];
    } else if (a == "--free-mps") {
      opt->freemps = true;
    } else if (a == "-n") {
      opt->optimize = false;
    } else if (a == "-q") {
      opt->quiet = true;
    } else if (a == "-h" || a == "--help") {
      return 2;
    } else if (!a.empty() && a[0] == '-') {
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

// Optimal, or proven infeasible or unbounded, in the solution the road left.
bool DefiniteAnswer(VLRtask_t task) {
  for (int32_t w : {VLR_SOL_BAS, VLR_SOL_ITR, VLR_SOL_ITG}) {
    int32_t def = 0, prosta = 0, solsta = 0;
    if (VLR_solutiondef(task, w, &def) != VLR_RES_OK || def == 0) continue;
    VLR_getsolutionstatus(task, w, &prosta, &solsta);
    return solsta == VLR_SOL_STA_OPTIMAL || solsta == VLR_SOL_STA_INTEGER_OPTIMAL ||
           solsta == VLR_SOL_STA_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_DUAL_INFEAS_CER;
  }
  return false;
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
  return VLR_RES_OK;
}

// Reads the file; a failed read of a file taken for fixed MPS says how to read it as free MPS.
int32_t ReadProblem(VLRtask_t task, const Options& opt) {
  const int32_t r = VLR_readdata(task, opt.file.c_str());
  if (r == VLR_RES_OK) return r;
  std::fprintf(stderr, "velor: cannot read %s: %s\n", opt.file.c_str(), LastError(task).c_str());
  int32_t format = 0, mpsformat = 0;
  VLR_getintparam(task, VLR_IPAR_READ_DATA_FORMAT, &format);
  VLR_getintparam(task, VLR_IPAR_READ_MPS_FORMAT, &mpsformat);
  const bool lp = opt.file.find(".lp") != std::string::npos;
  if (!lp && mpsformat != VLR_MPS_FORMAT_FREE && format != VLR_DATA_FORMAT_FREE_MPS) {
    std::fprintf(stderr,
                 "velor: the file may be in free MPS form (long names, fields not in fixed "
                 "columns); read it so with: velor --free-mps %s\n",
                 opt.file.c_str());
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
  // Every message, warning and error reaches the log stream too; -q keeps the errors and the
  // summaries (message stream) only.
  if (opt.quiet) {
    VLR_linkfunctotaskstream(task, VLR_STREAM_ERR, nullptr, PrintStream);
    VLR_linkfunctotaskstream(task, VLR_STREAM_MSG, nullptr, PrintStream);
  } else {
    VLR_linkfunctotaskstream(task, VLR_STREAM_LOG, nullptr, PrintStream);
  }
  if (opt.freemps) r = VLR_putintparam(task, VLR_IPAR_READ_MPS_FORMAT, VLR_MPS_FORMAT_FREE);
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
  if (r == VLR_RES_OK && opt.optimize) {
    int32_t trm = 0;
    r = VLR_optimizetrm(task, &trm);
    status = ExitForCode(r);
    if (r != VLR_RES_OK) {
      std::fprintf(stderr, "velor: optimise failed: %s\n", LastError(task).c_str());
    } else {
      if (trm != VLR_RES_OK) {
        char name[VLR_MAX_STR_LEN], desc[VLR_MAX_STR_LEN];
        VLR_getcodedesc(trm, name, desc);
        std::printf("Terminated: %s: %s\n", name, desc);
        std::fprintf(stderr, "velor: stopped: %s: %s\n", name, desc);
      }
      VLR_optimizersummary(task, VLR_STREAM_MSG);
      VLR_solutionsummary(task, VLR_STREAM_MSG);
      status = ExitForTermination(trm);
      if (status == kExitOk && !DefiniteAnswer(task)) {
        std::fprintf(stderr, "velor: no definite answer: the solution status is not known\n");
        status = kExitOther;
      }
    }
  }
  if (r == VLR_RES_OK && !opt.solfile.empty()) {
    // The basic solution when the road left one, else the interior or the integer one.
    int32_t whichsol = VLR_SOL_BAS;
    for (int32_t w : {VLR_SOL_BAS, VLR_SOL_ITR, VLR_SOL_ITG}) {
      int32_t def = 0;
      if (VLR_solutiondef(task, w, &def) == VLR_RES_OK && def != 0) {
        whichsol = w;
        break;
      }
    }
    r = VLR_writesolution(task, whichsol, opt.solfile.c_str());
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
  if (parsed != 0) {
    Usage(parsed == 2 ? stdout : stderr);
    return parsed == 2 ? kExitOk : kExitInput;
  }
  return Run(opt);
}
