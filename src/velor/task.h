// src/velor/task.h: the env and task records and the frame every exported call goes through.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdarg>
#include <cstdint>
#include <new>

#include "cpub/stream.h"
#include "cpub/sysenv.h"
#include "velor.h"

struct VLRenv_s {};
struct VLRtask_s {};

namespace vlr {

struct ScratchPool;
struct TaskData;    // the problem (velor/probdata.h)
struct SolStore;    // the three solutions (velor/probdata.h)
struct SimSavedLu;  // the simplex's kept factor (simplex/simplex.h)

constexpr int32_t kVersionMajor = 6;
constexpr int32_t kVersionMinor = 0;
constexpr int32_t kVersionBuild = 0;
constexpr int32_t kVersionRevision = 148;

constexpr int32_t kNumWarningCodes = 1000;
constexpr int32_t kLastMsgCap = 1025;

struct Env {
  int32_t initialised;      // 0 from VLR_makeenv, 1 after VLR_initenv
  int32_t keepdlls;         // 1: keep the mixed-integer library open until the env goes
  int32_t garbage_collect;  // 1: VLR_deleteenv with living tasks defers to the last task
  int32_t delete_pending;   // set by VLR_deleteenv while tasks live
  int32_t index_origin;     // first index shown in messages; always 0
  SysEnv* sys;              // made first, deleted last; multi-thread
  char* dbgfile;            // memory debug file prefix; null when not tracking
  int32_t* iparam_dflt;     // [kNumIntParams] defaults a new task copies
  double* dparam_dflt;      // [kNumDouParams]
  char** sparam_dflt;       // [kNumStrParams] owned strings
  void* mutex[4];           // pthread mutexes from the user allocator; 2: task counters, 3: dll
  void* exit_handle;
  VLRexitfunc exit_func;
  void* exception_handle;
  VLRresponsefunc exception_func;
  char* dll_path;
  StreamSet* streams;
  int32_t warning_count[kNumWarningCodes];
  int64_t tasks_made, tasks_removed;
};

struct Task {
  Env* env;  // first word; null marks a dead record
  SysEnv* sys;
  int64_t seq;  // sequence number within the env
  char* name;
  int32_t* iparam;  // [kNumIntParams]
  double* dparam;   // [kNumDouParams]
  char** sparam;    // [kNumStrParams] owned strings
  VLRcallbackfunc callback_func;
  void* callback_handle;
  VLRcallbackfunc system_callback_func;
  void* system_callback_handle;
  VLRresponsefunc response_func;
  void* response_handle;
  StreamSet* streams;
  int32_t warning_count[kNumWarningCodes];
  int32_t last_res;
  char* last_msg;  // [kLastMsgCap]
  int32_t last_msg_len;
  ScratchPool* pool;
  double* dinf;  // public information items
  int32_t* iinf;
  int64_t* liinf;
  double* pdinf;  // private information items
  int32_t* piinf;
  int64_t* pliinf;
  int32_t num_optimize;          // optimise calls so far; the second and later log one level less
  int32_t callback_stop;         // set when a callback asked to stop
  double stat_start, stat_time;  // wall clock of VLR_startstat and the span to VLR_stopstat
  double opt_start;              // wall clock at the start of the running optimise, -1 when idle
  int32_t inuse;                 // 1 while an optimiser runs on the task, 2 while refusing a call
  TaskData* data;                // the problem; null after a failed resize until the next call
  SolStore* sols;                // the solutions; null entries until made
  SimSavedLu* savedlu;           // the simplex's last factor under VLR_IPAR_SIM_SAVE_LU, or null
  // Frees savedlu; set by the simplex road, so that the task itself needs nothing of it.
  void (*savedlufree)(SysEnv* sys, SimSavedLu** saved);
};

// "VELOR version 6.0.0.148" into buf.
void VLR_getvstr(char* buf, size_t size);
// Makes the env's or task's four streams and links the system log lines to its log stream.
int32_t VLR_initstreamsenv(Env* env);
void VLR_destroystreamsenv(Env* env);
int32_t VLR_initstreamstask(Task* task);
void VLR_destroystreamstask(Task* task);
// Env mutexes 0..3; 2 guards the task counters, 3 the load of the mixed-integer library.
int32_t VLR_lockmutexenv(Env* env, int32_t index);
int32_t VLR_unlockmutexenv(Env* env, int32_t index);
// Deletes an env whose deletion was deferred; called by the thread whose VLR_deletetask removed
// its last task (the count and the pending mark are read together under env mutex 2).
void VLR_garcolenv(Env* env);
// Information items: allocation with the task, reset before an optimise.
int32_t VLR_makeinfitems(Task* task);
void VLR_deleteinfitems(Task* task);
void VLR_resetinfitems(Task* task);

inline Env* VLR_envcast(VLRenv_t env) {
  return reinterpret_cast<Env*>(env);
}
inline Task* VLR_taskcast(VLRtask_t task) {
  return reinterpret_cast<Task*>(task);
}
inline VLRenv_t VLR_envhandle(Env* env) {
  return reinterpret_cast<VLRenv_t>(env);
}
inline VLRtask_t VLR_taskhandle(Task* task) {
  return reinterpret_cast<VLRtask_t>(task);
}

// The exception path: format the code's message with the arguments, send it to the streams and
// the response function, and return the code to pass on (0 for a swallowed warning).
int32_t VLR_exceptiontaskdbg(const char* file, int line, const char* func, Task* task, int32_t code,
                             ...);
int32_t VLR_exceptionenvdbg(const char* file, int line, const char* func, Env* env, int32_t code,
                            ...);
int32_t VLR_exceptiontaskva(const char* file, int line, const char* func, Task* task, int32_t code,
                            va_list ap);

int32_t VLR_exceptionenvva(const char* file, int line, const char* func, Env* env, int32_t code,
                           va_list ap);
// The message format of a code ("" for an unknown code); returns 0.
int32_t VLR_getresmes(int32_t code, const char** format);

#define VLR_RAISE(task, code, ...) \
  ::vlr::VLR_exceptiontaskdbg(__FILE__, __LINE__, "", (task), (code)__VA_OPT__(, ) __VA_ARGS__)
#define VLR_RAISEENV(env, code, ...) \
  ::vlr::VLR_exceptionenvdbg(__FILE__, __LINE__, "", (env), (code)__VA_OPT__(, ) __VA_ARGS__)

// Fatal stops: never return.
[[noreturn]] void VLR_stoptask(Task* task, const char* file, int line, const char* format, ...)
    VLR_PRINTF(4, 5);
[[noreturn]] void VLR_stopenv(Env* env, const char* file, int line, const char* format, ...)
    VLR_PRINTF(4, 5);
void VLR_asserttaskdbg(Task* task, const char* file, int line, bool condition);
void VLR_assertenvdbg(Env* env, const char* file, int line, bool condition);
#define VLR_ASSERT(task, cond) ::vlr::VLR_asserttaskdbg((task), VLR_HERE, (cond))

// Index checks that raise on failure: below 0 INDEX_IS_TOO_SMALL, at or above n TOO_LARGE.
int32_t VLR_checkindexdbg(const char* file, int line, Task* task, int64_t index, int64_t n,
                          const char* what);
// Every index of sub[0..num) in [0, n); raises on the first that is not.
int32_t VLR_checkindiciesdbg(const char* file, int line, Task* task, const int32_t* sub,
                             int64_t num, int64_t n, const char* what);
int32_t VLR_int64to32dbg(Task* task, const char* file, int line, int32_t* out, int64_t value);

// Log guards: a line of a subsystem at `level` is written when the smaller of level and
// VLR_IPAR_LOG exceeds the cut, which is VLR_IPAR_LOG_CUT_SECOND_OPT from the second optimise on.
bool VLR_dolog(const Task* task, int32_t level);
int32_t VLR_getlogcut(const Task* task);
int32_t VLR_tominor(int32_t level);  // half a level, for detail lines
int32_t VLR_getlang(const Env* env, int32_t* language);
// Message functions: each checks VLR_IPAR_LOG and its subsystem's level.
void VLR_msg_openfile(Task* task, const char* name);
void VLR_msg_log1(Task* task, int64_t stacksize_kb);
// Opens a file of a task (logging "Open file") or an env with gzip level 9 when compressed; a
// failure raises VLR_RES_ERR_FILE_OPEN (a null name VLR_RES_ERR_INVALID_FILE_NAME) into *res.
SysFile* VLR_fopentask(Task* task, const char* name, int32_t read, int32_t write, int32_t append,
                       int32_t compressed, int32_t* res);
// The same for a file written whole that replaces name only when all of it was written: close
// with VLR_sysenv_fclose on success, VLR_sysenv_fdiscard on failure.
SysFile* VLR_fopentaskreplace(Task* task, const char* name, int32_t compressed, int32_t* res);
SysFile* VLR_fopenenv(Env* env, const char* name, int32_t read, int32_t write, int32_t append,
                      int32_t compressed, int32_t* res);
// The head of an optimiser's log: computer, platform, CPU and the problem's size.
void VLR_loghead(Task* task, int32_t numcon, int32_t numvar, int32_t numintvar);
// Statistics: time a run and append every information item to VLR_SPAR_STAT_FILE_NAME (CSV, or
// XML for a name ending in ".xml").
void VLR_startstat(Task* task);
void VLR_stopstat(Task* task);
int32_t VLR_appendstat(Task* task);

// The inner optimise: data check, reset, the choice of road and the optimiser time.
int32_t VLR_optimizetask(Task* task);
// The same for the network simplex alone (VLR_netoptimize).
int32_t VLR_netoptimizetask(Task* task);
// The simplex road: the task's linear problem through the pivoting optimisers, with the slot of
// the optimiser asked for (velorsim.cpp).
int32_t VLR_simplexoptimizer(Task* task, int32_t optimizer);
// The network road: the task's linear problem, which must be a pure network once some rows are
// multiplied by -1 (VLR_RES_ERR_INV_PROBLEM otherwise), through the network simplex alone.
int32_t VLR_simplexnetoptimizer(Task* task);
// The network part of the task's problem by VLR_IPAR_SIM_NETWORK_DETECT_METHOD: its rows in
// netcon with their signs in scalcon (each [numcon of the task]) and its columns in netvar
// ([numvar of the task]). Nothing is written on failure.
int32_t VLR_simplexnetextract(Task* task, int32_t* numcon, int32_t* numvar, int32_t* netcon,
                              int32_t* netvar, double* scalcon);
// The interior-point road (velorint.cpp): writes VLR_SOL_ITR.
int32_t VLR_intpntoptimizer(Task* task);
// The frame of an optimise: the start time and the callback of code (VLR_RES_TRM_USER_CALLBACK
// when it asks to stop), and at the end the callback, the response item and the idle mark.
int32_t VLR_startoptimizer(Task* task, int32_t code);
void VLR_stopoptimizer(Task* task, int32_t* response, int32_t code);
// The concurrent road (concurrent.cpp): the optimisers of the priority parameters race on copies
// of the task, at most VLR_IPAR_CONCURRENT_NUM_OPTIMIZERS of them; VLR_IPAR_OPTIMIZER reads
// VLR_OPTIMIZER_CONCURRENT again afterwards.
int32_t VLR_simple_optimize_concurrent(Task* task);
// The race of task against the num tasks of taskarray, each with the problem and its own
// optimiser: all joined before the return; the first in table order that settles the problem
// gives task its solutions and information items.
int32_t VLR_optimizeconcurrent_core(Task* task, Task** taskarray, int32_t num);

// Two-way map between VLR_cputype values and the system layer's processor numbers.
int32_t VLR_tocpuid(int32_t cputype);
int32_t VLR_tocputype(int32_t cpuid);
// Output in the stream format language, echoed to the log stream.
int32_t VLR_outfmttask(Task* task, int32_t stream, const char* format, ...);
int32_t VLR_outfmtvatask(Task* task, int32_t stream, const char* format, va_list ap);

// Maps a system-layer code to a response code.
int32_t VLR_sysrestores(int32_t syscode);

// Scratch buffers of the task (a pool by element width). A count of 0 gives null, no error.
int32_t VLR_makebuffers(Task* task);
void VLR_deletebuffers(Task* task);
void VLR_markbuffersfordelete(Task* task);
void* VLR_getbufdbg(const char* file, int line, Task* task, int64_t count, int32_t width,
                    int32_t zeroed, int32_t* res);
void VLR_putbuf(Task* task, int32_t width, int32_t zeroed, void** ptr);

// Parameter access by index for internal readers; the index is trusted.
inline int32_t VLRP_getintparam(const Task* task, int32_t index) {
  return task->iparam[index];
}
inline double VLRP_getdouparam(const Task* task, int32_t index) {
  return task->dparam[index];
}
inline const char* VLRP_getstrparam(const Task* task, int32_t index) {
  return task->sparam[index];
}
int32_t VLRP_validateintparam(const Task* task, int32_t index, int32_t value);
int32_t VLRP_validatedouparam(const Task* task, int32_t index, double value);
int32_t VLR_setdefaults(Task* task);

// Echo to a task's stream: formatted, then the same text on the log stream. The exported
// VLR_echotask and VLR_echoenv take handles.
int32_t VLR_echotaskva(Task* task, int32_t stream, const char* format, va_list ap) VLR_PRINTF(3, 0);
int32_t VLRP_echotask(Task* task, int32_t stream, const char* format, ...) VLR_PRINTF(3, 4);

// Information items, internal access.
double VLRP_getdouinf(const Task* task, int32_t item);
void VLRP_putdouinf(Task* task, int32_t item, double value);
int32_t VLRP_getintinf(const Task* task, int32_t item);
void VLRP_putintinf(Task* task, int32_t item, int32_t value);
int64_t VLRP_getlintinf(const Task* task, int32_t item);
void VLRP_putlintinf(Task* task, int32_t item, int64_t value);
double VLRP_getprivatedouinf(const Task* task, int32_t item);
void VLRP_putprivatedouinf(Task* task, int32_t item, double value);
int32_t VLRP_getprivateintinf(const Task* task, int32_t item);
void VLRP_putprivateintinf(Task* task, int32_t item, int32_t value);
int64_t VLRP_getprivatelintinf(const Task* task, int32_t item);
void VLRP_putprivatelintinf(Task* task, int32_t item, int64_t value);

// Callbacks: the user's function, then the internal one; a non-zero answer sets callback_stop,
// which is returned.
int32_t VLR_checkcallbacks(Task* task, int32_t code);
int32_t VLR_putsystemcallbackfunc(Task* task, VLRcallbackfunc func, void* handle);
// The internal callback alone (the stop of a race), for the steps between the user's callbacks:
// non-zero, and callback_stop set, when it asks for a stop.
int32_t VLR_checksystemstop(Task* task, int32_t code);
// 5 (the inner code of a time limit) once the running optimise is past
// VLR_DPAR_OPTIMIZER_MAX_TIME, else 0.
int32_t VLR_checkoptimizermaxtime(Task* task);

// A call that would change a task while an optimiser runs on it (from a callback, a stream
// function or the response function) is refused: VLR_RES_ERR_TASK_IN_USE, and nothing changes.
// The refusal's own message reaches the user's stream and response functions; a call refused
// again from there returns the code without a second message, so the two cannot recurse.
inline int32_t VLR_checktaskidle(Task* task) {
  if (task->inuse == 0) return VLR_RES_OK;
  if (task->inuse > 1) return VLR_RES_ERR_TASK_IN_USE;
  task->inuse = 2;
  const int32_t r = VLR_RAISE(task, VLR_RES_ERR_TASK_IN_USE);
  task->inuse = 1;
  return r;
}

// Marks a task in use for the life of the scope.
class TaskInUse {
 public:
  explicit TaskInUse(Task* task) : task_(task) { task_->inuse = 1; }
  ~TaskInUse() { task_->inuse = 0; }
  TaskInUse(const TaskInUse&) = delete;
  TaskInUse& operator=(const TaskInUse&) = delete;

 private:
  Task* task_;
};

// Last fence: no C++ exception leaves an exported function.
template <class F>
int32_t api_guard(F&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return VLR_RES_ERR_SPACE;
  } catch (...) {
    return VLR_RES_ERR_INTERNAL;
  }
}

// The same fence for the exported functions that return a pointer or nothing: a stray exception
// gives `fallback`, or nothing.
template <class R, class F>
R api_guardval(R fallback, F&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return fallback;
  }
}
template <class F>
void api_guardvoid(F&& body) noexcept {
  try {
    body();
  } catch (...) {
  }
}

}  // namespace vlr
