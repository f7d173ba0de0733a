// src/velor/concurrent.cpp: the race of optimisers. Each racer is an ordinary task (its own
// SysEnv, streams and information items) holding a copy of the problem, solved on a thread of its
// own; the first to end with a status that settles the problem stops the others through a
// shared flag that every optimiser reads at its callbacks, all threads are joined, and the
// winner's solutions and information items become the main task's.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <new>
#include <thread>
#include <vector>

#include "velor/privinf.h"
#include "velor/probdata.h"
#include "velor/tables.h"
#include "velor/task.h"

namespace vlr {

namespace {

// The optimisers of the race with the parameter of each one's priority, in the order that
// breaks ties between equal priorities. The interior point races on linear problems now that it
// has a road of its own; another racer is one more line here.
struct ConcurrentRacer {
  int32_t priority;  // the VLR_IPAR_CONCURRENT_PRIORITY_* parameter
  int32_t optimizer;
};
constexpr ConcurrentRacer kConcurrentRacers[] = {
    {VLR_IPAR_CONCURRENT_PRIORITY_INTPNT, VLR_OPTIMIZER_INTPNT},
    {VLR_IPAR_CONCURRENT_PRIORITY_PRIMAL_SIMPLEX, VLR_OPTIMIZER_PRIMAL_SIMPLEX},
    {VLR_IPAR_CONCURRENT_PRIORITY_DUAL_SIMPLEX, VLR_OPTIMIZER_DUAL_SIMPLEX},
    {VLR_IPAR_CONCURRENT_PRIORITY_FREE_SIMPLEX, VLR_OPTIMIZER_FREE_SIMPLEX},
};
constexpr int32_t kConcurrentMaxRacers = static_cast<int32_t>(std::size(kConcurrentRacers));

template <class T>
using ConVec = std::vector<T, MemAllocator<T>>;

// What a racer other than the main one writes to its log: kept apart on the racer's own memory,
// so that the racers' lines never mix; the winner's log is copied into the main task's after the
// race. The main racer writes to the main task's streams as it runs, on the calling thread.
struct ConcurrentLog {
  ConVec<char> text;
  bool full = false;  // memory ran out: the rest is dropped
  explicit ConcurrentLog(SysEnv* sys) : text(MemAllocator<char>(sys)) {}
};

void concurrent_logfunc(void* handle, const char* line) {
  auto* log = static_cast<ConcurrentLog*>(handle);
  if (log->full) return;
  try {
    log->text.insert(log->text.end(), line, line + std::strlen(line));
  } catch (const std::bad_alloc&) {
    log->full = true;
  }
}

// One racer: its task, where its result code goes, the shared stop flag, and whether it ended
// with a status that settles the problem.
struct ConcurrentThread {
  Task* task = nullptr;
  int32_t* result = nullptr;
  std::atomic<int32_t>* stop = nullptr;
  int32_t terminal = 0;
  double time = 0.0;  // wall seconds from the start of the race to the end of the run
  double start = 0.0;
};

// The system callback of every racer: non-zero once the flag is set.
int32_t concurrent_term_task(VLRtask_t /*task*/, void* handle, int32_t /*code*/) {
  return static_cast<std::atomic<int32_t>*>(handle)->load(std::memory_order_relaxed) != 0 ? 1 : 0;
}

bool concurrent_terminalsolsta(int32_t solsta) {
  switch (solsta) {
    case VLR_SOL_STA_OPTIMAL:
    case VLR_SOL_STA_PRIM_INFEAS_CER:
    case VLR_SOL_STA_DUAL_INFEAS_CER:
    case VLR_SOL_STA_NEAR_OPTIMAL:
    case VLR_SOL_STA_NEAR_PRIM_INFEAS_CER:
    case VLR_SOL_STA_NEAR_DUAL_INFEAS_CER:
      return true;
    default:
      return false;
  }
}

// The optimisers a racer may run: those of linear problems.
bool concurrent_supported(int32_t optimizer) {
  switch (optimizer) {
    case VLR_OPTIMIZER_FREE:
    case VLR_OPTIMIZER_INTPNT:
    case VLR_OPTIMIZER_PRIMAL_SIMPLEX:
    case VLR_OPTIMIZER_DUAL_SIMPLEX:
    case VLR_OPTIMIZER_PRIMAL_DUAL_SIMPLEX:
    case VLR_OPTIMIZER_FREE_SIMPLEX:
      return true;
    default:
      return false;
  }
}

// Makes the clones of the race and deletes them on every way out.
struct ConcurrentClones {
  VLRtask_t handle[kConcurrentMaxRacers] = {};
  Task* task[kConcurrentMaxRacers] = {};
  int32_t num = 0;
  ConcurrentClones() = default;
  ConcurrentClones(const ConcurrentClones&) = delete;
  ConcurrentClones& operator=(const ConcurrentClones&) = delete;
  ~ConcurrentClones() {
    for (int32_t k = 0; k < num; ++k)
      VLR_deletetask(&handle[k]);
  }
  // A copy of from with the parameters of params (null: from's own).
  int32_t add(Task* from, VLRtask_t params) {
    VLRtask_t c = nullptr;
    int32_t r = VLR_clonetask(VLR_taskhandle(from), &c);
    if (r != VLR_RES_OK) return r;
    handle[num] = c;
    task[num++] = VLR_taskcast(c);
    // The racer runs on a thread of its own, whose C heap would start empty and grow a page at
    // a time; the regions of its large blocks serve its small ones too.
    VLR_sysenv_smallfromregions(task[num - 1]->sys);
    if (params != nullptr) r = VLR_copyparam(c, params);
    return r;
  }
};

// The body of a racer's thread (and of the main racer, on the calling thread).
void VLR_optimization_thread(ConcurrentThread* rec) {
  int32_t r = VLR_RES_OK;
  try {
    r = VLR_optimizetask(rec->task);
  } catch (const std::bad_alloc&) {
    r = VLR_RES_ERR_SPACE;
  } catch (...) {
    r = VLR_RES_ERR_INTERNAL;
  }
  rec->time = VLR_sysenv_getwctime(rec->task->sys) - rec->start;
  // Only the solutions this racer's optimiser writes count: the others may be left from an
  // earlier run.
  const Task* t = rec->task;
  const int32_t opt = t->iparam[VLR_IPAR_OPTIMIZER];
  bool settled = false;
  for (int32_t w : {VLR_SOL_ITR, VLR_SOL_BAS}) {
    const bool writes = w == VLR_SOL_ITR ? opt == VLR_OPTIMIZER_INTPNT || opt == VLR_OPTIMIZER_FREE
                                         : opt != VLR_OPTIMIZER_INTPNT;
    if (writes && VLR_solutiondefrec(t, w) && concurrent_terminalsolsta(t->sols->sol[w].solsta)) {
      settled = true;
    }
  }
  // The first to settle the problem wins: it is the one that raises the flag. A racer that
  // settles it after the flag went up (it finished its last step before it asked) has lost.
  int32_t down = 0;
  if (settled && rec->stop->compare_exchange_strong(down, 1, std::memory_order_acq_rel)) {
    rec->terminal = 1;
  }
  if (r == VLR_RES_TRM_INTERNAL) r = VLR_RES_TRM_USER_CALLBACK;
  // The user's stop and the time limit, which hold for every racer alike, end the race too.
  if (r == VLR_RES_TRM_USER_CALLBACK || r == VLR_RES_TRM_MAX_TIME) {
    rec->stop->store(1, std::memory_order_relaxed);
  }
  *rec->result = r;
}

}  // namespace

int32_t VLR_optimizeconcurrent_core(Task* task, Task** taskarray, int32_t num) {
  const int32_t total = num + 1;
  ConVec<Task*> tasks(MemAllocator<Task*>(task->sys));
  ConVec<int32_t> results(MemAllocator<int32_t>(task->sys));
  ConVec<ConcurrentThread> recs(MemAllocator<ConcurrentThread>(task->sys));
  ConVec<std::thread> threads(MemAllocator<std::thread>(task->sys));
  try {
    tasks.assign(static_cast<size_t>(total), nullptr);
    results.assign(static_cast<size_t>(total), VLR_RES_OK);
    recs.resize(static_cast<size_t>(total));
    threads.resize(static_cast<size_t>(total));
  } catch (const std::bad_alloc&) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  tasks[0] = task;
  for (int32_t k = 0; k < num; ++k)
    tasks[static_cast<size_t>(k + 1)] = taskarray[k];
  // Every racer must be able to run its optimiser on the problem.
  const bool linear = VLRP_getprobtype(task) == VLR_PROBTYPE_LO && task->data->numcone == 0;
  for (Task* t : tasks) {
    const int32_t opt = t->iparam[VLR_IPAR_OPTIMIZER];
    if (task->data->numintvar > 0 || !linear || !concurrent_supported(opt)) {
      char name[VLR_MAX_STR_LEN] = "";
      VLR_optimizertostr(static_cast<VLR_optimizertype>(opt), VLR_MAX_STR_LEN, name);
      return VLR_RAISE(task, VLR_RES_ERR_CONCURRENT_OPTIMIZER, name);
    }
  }
  std::atomic<int32_t> stop{0};
  ConVec<ConcurrentLog> logs(MemAllocator<ConcurrentLog>(task->sys));
  try {
    logs.reserve(static_cast<size_t>(num));
    for (int32_t k = 0; k < num; ++k)
      logs.emplace_back(taskarray[k]->sys);
  } catch (const std::bad_alloc&) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  const double start = VLR_sysenv_getwctime(task->sys);
  for (int32_t k = 0; k < total; ++k) {
    Task* t = tasks[static_cast<size_t>(k)];
    ConcurrentThread& rec = recs[static_cast<size_t>(k)];
    rec.task = t;
    rec.result = &results[static_cast<size_t>(k)];
    rec.stop = &stop;
    rec.start = start;
    VLR_putsystemcallbackfunc(t, concurrent_term_task, &stop);
    if (k > 0) {
      // The time limit counts from the start of the caller's optimise.
      t->opt_start = task->opt_start >= 0.0 ? task->opt_start : start;
      t->callback_stop = 0;
      VLR_linkfunctotaskstream(VLR_taskhandle(t), VLR_STREAM_LOG, &logs[static_cast<size_t>(k - 1)],
                               concurrent_logfunc);
    }
  }
  {
    // The threads are joined on every way out of this block.
    struct Joiner {
      ConVec<std::thread>* threads;
      ~Joiner() {
        for (std::thread& th : *threads)
          if (th.joinable()) th.join();
      }
    } joiner{&threads};
    for (int32_t k = 1; k < total; ++k) {
      try {
        threads[static_cast<size_t>(k)] =
            std::thread(VLR_optimization_thread, &recs[static_cast<size_t>(k)]);
      } catch (...) {
        // A racer that cannot start takes no part.
        results[static_cast<size_t>(k)] = VLR_RES_ERR_INTERNAL;
      }
    }
    VLR_optimization_thread(&recs[0]);
  }
  for (int32_t k = 0; k < total; ++k) {
    Task* t = tasks[static_cast<size_t>(k)];
    VLR_putsystemcallbackfunc(t, nullptr, nullptr);
    // The race's stop is over; a stop the user asked for is in the racer's result.
    t->callback_stop = 0;
    if (k > 0) {
      VLR_unlinkfuncfromtaskstream(VLR_taskhandle(t), VLR_STREAM_LOG);
      t->opt_start = -1.0;
    }
  }
  // The winner: the racer that settled the problem first (at most one raised the flag).
  int32_t win = -1;
  for (int32_t k = 0; k < total && win < 0; ++k)
    if (recs[static_cast<size_t>(k)].terminal != 0) win = k;
  int32_t r = results[0];
  if (win < 0) {
    // Nobody settled it: a time limit that stopped one racer stopped the race.
    for (int32_t k = 0; k < total; ++k)
      if (results[static_cast<size_t>(k)] == VLR_RES_TRM_MAX_TIME) r = VLR_RES_TRM_MAX_TIME;
    return r;
  }
  Task* w = tasks[static_cast<size_t>(win)];
  const int32_t winopt = w->iparam[VLR_IPAR_OPTIMIZER];
  if (win > 0) {
    const int32_t rc = VLR_copysolutions(w, task);
    if (rc != VLR_RES_OK) return rc;
    std::copy(w->iinf, w->iinf + kNumIntInf, task->iinf);
    std::copy(w->dinf, w->dinf + kNumDouInf, task->dinf);
    std::copy(w->liinf, w->liinf + kNumLintInf, task->liinf);
    const ConVec<char>& text = logs[static_cast<size_t>(win - 1)].text;
    for (size_t at = 0; at < text.size();) {
      size_t end = at;
      while (end < text.size() && text[end] != '\n')
        ++end;
      VLRP_echotask(task, VLR_STREAM_LOG, "%.*s\n", static_cast<int>(end - at), text.data() + at);
      at = end + 1;
    }
  }
  // A winner that settled the problem as the flag reached it has its answer all the same.
  r = results[static_cast<size_t>(win)];
  if (r == VLR_RES_TRM_USER_CALLBACK) r = VLR_RES_OK;
  const double wintime = recs[static_cast<size_t>(win)].time;
  VLRP_putintinf(task, VLR_IINF_CONCURRENT_FASTEST_OPTIMIZER, winopt);
  VLRP_putdouinf(task, VLR_DINF_CONCURRENT_TIME, VLR_sysenv_getwctime(task->sys) - start);
  VLRP_putprivatedouinf(task, kPdinfWinningOptimizerTime, wintime);
  VLRP_putintinf(task, VLR_IINF_OPTIMIZE_RESPONSE, r);
  if (VLR_dolog(task, task->iparam[VLR_IPAR_LOG_CONCURRENT])) {
    char name[VLR_MAX_STR_LEN] = "";
    VLR_optimizertostr(static_cast<VLR_optimizertype>(winopt), VLR_MAX_STR_LEN, name);
    VLRP_echotask(task, VLR_STREAM_LOG, "\nConcurrent optimizer summary.\n");
    VLRP_echotask(task, VLR_STREAM_LOG, "Winning optimizer            : %s\n", name);
    VLRP_echotask(task, VLR_STREAM_LOG, "Winning optimizer time       : %.2f\n", wintime);
  }
  return r;
}

int32_t VLR_simple_optimize_concurrent(Task* task) {
  struct Restore {
    Task* task;
    ~Restore() { task->iparam[VLR_IPAR_OPTIMIZER] = VLR_OPTIMIZER_CONCURRENT; }
  } restore{task};
  // The racers by priority: the highest first, ties to the earlier of the table.
  int32_t pri[kConcurrentMaxRacers];
  for (int32_t k = 0; k < kConcurrentMaxRacers; ++k)
    pri[k] = task->iparam[kConcurrentRacers[k].priority];
  int32_t order[kConcurrentMaxRacers];
  for (int32_t& o : order) {
    int32_t best = -1;
    for (int32_t k = 0; k < kConcurrentMaxRacers; ++k)
      if (pri[k] >= 0 && (best < 0 || pri[k] > pri[best])) best = k;
    pri[best] = -1;
    o = kConcurrentRacers[best].optimizer;
  }
  const int32_t racers =
      std::clamp(task->iparam[VLR_IPAR_CONCURRENT_NUM_OPTIMIZERS], 1, kConcurrentMaxRacers);
  ConcurrentClones clones;
  for (int32_t k = 1; k < racers; ++k) {
    const int32_t r = clones.add(task, nullptr);
    if (r != VLR_RES_OK) return r;
    clones.task[k - 1]->iparam[VLR_IPAR_OPTIMIZER] = order[k];
  }
  if (VLR_dolog(task, task->iparam[VLR_IPAR_LOG_CONCURRENT])) {
    VLRP_echotask(task, VLR_STREAM_LOG, "Optimizer  - %-22s: %d\n", "concurrent optimizers",
                  racers);
  }
  task->iparam[VLR_IPAR_OPTIMIZER] = order[0];
  return VLR_optimizeconcurrent_core(task, clones.task, clones.num);
}

}  // namespace vlr

using vlr::Task;

int32_t VLR_optimizeconcurrent(VLRtask_t task, VLRtask_t* taskarray, int32_t num) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r0 = VLR_checktask(task);
    if (r0 != VLR_RES_OK) return r0;
    Task* t = vlr::VLR_taskcast(task);
    const int32_t busy = vlr::VLR_checktaskidle(t);
    if (busy != VLR_RES_OK) return busy;
    if (num < 0) return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_SMALL, num, "num");
    if (num > 0 && taskarray == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "taskarray");
    if (num > vlr::kConcurrentMaxRacers) {
      return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_LARGE, num, "num");
    }
    for (int32_t k = 0; k < num; ++k) {
      const int32_t rk = VLR_checktask(taskarray[k]);
      if (rk != VLR_RES_OK) return rk;
      if (taskarray[k] == task) return VLR_RAISE(t, VLR_RES_ERR_IDENTICAL_TASKS);
    }
    const vlr::TaskInUse inuse(t);
    int32_t r = vlr::VLR_startoptimizer(t, VLR_CALLBACK_BEGIN_CONCURRENT);
    if (r != VLR_RES_OK) return r;
    // Each task of the array lends the parameters of one racer to a copy of the problem.
    vlr::ConcurrentClones clones;
    for (int32_t k = 0; k < num && r == VLR_RES_OK; ++k)
      r = clones.add(t, taskarray[k]);
    if (r == VLR_RES_OK) r = vlr::VLR_optimizeconcurrent_core(t, clones.task, clones.num);
    vlr::VLR_stopoptimizer(t, &r, VLR_CALLBACK_END_CONCURRENT);
    return r;
  });
}
