// src/velor/task.cpp: the task: made with its own memory and streams, resized, cloned, deleted.
// SPDX-License-Identifier: Apache-2.0
#include "velor/task.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "velor/probdata.h"
#include "velor/tables.h"

namespace vlr {

namespace {

void VLR_exithandlertask(void* handle, const char* file, int line, const char* text, int) {
  VLR_stoptask(static_cast<Task*>(handle), file, line, "%s", text);
}

// Takes env mutex 2 and gives the task its sequence number.
void VLR_appendtask(Task* task) {
  Env* env = task->env;
  VLR_lockmutexenv(env, 2);
  task->seq = env->tasks_made;
  ++env->tasks_made;
  VLR_unlockmutexenv(env, 2);
}

// Counts a task out. True when it was the last task of an env whose deletion waits for it: the
// caller then deletes the env. The decision is taken under the same lock as VLR_deleteenv's, so
// exactly one thread deletes the env, whatever the interleaving.
bool VLR_removetask(Env* env) {
  VLR_lockmutexenv(env, 2);
  ++env->tasks_removed;
  const bool last = env->delete_pending != 0 && env->tasks_removed == env->tasks_made;
  VLR_unlockmutexenv(env, 2);
  return last;
}

int32_t task_makeparams(Task* task) {
  SysEnv* sys = task->sys;
  task->iparam =
      static_cast<int32_t*>(VLR_sysenv_callocdbg(sys, VLR_HERE, kNumIntParams, sizeof(int32_t)));
  task->dparam =
      static_cast<double*>(VLR_sysenv_callocdbg(sys, VLR_HERE, kNumDouParams, sizeof(double)));
  task->sparam =
      static_cast<char**>(VLR_sysenv_callocdbg(sys, VLR_HERE, kNumStrParams, sizeof(char*)));
  if (task->iparam == nullptr || task->dparam == nullptr || task->sparam == nullptr) {
    return VLR_RES_ERR_SPACE;
  }
  // The exception path reads these before VLR_setdefaults runs.
  std::memcpy(task->iparam, task->env->iparam_dflt,
              sizeof(int32_t) * static_cast<size_t>(kNumIntParams));
  return VLR_RES_OK;
}

void task_freeparams(Task* task) {
  SysEnv* sys = task->sys;
  if (task->sparam != nullptr) {
    for (int32_t k = 0; k < kNumStrParams; ++k)
      VLR_sysenv_freedbg(sys, VLR_HERE, task->sparam[k]);
  }
  VLR_sysenv_freedbg(sys, VLR_HERE, task->sparam);
  VLR_sysenv_freedbg(sys, VLR_HERE, task->dparam);
  VLR_sysenv_freedbg(sys, VLR_HERE, task->iparam);
  task->sparam = nullptr;
  task->dparam = nullptr;
  task->iparam = nullptr;
}

// Frees the problem store and its scratch buffers.
void VLR_deletetaskdata(Task* task) {
  VLR_deleteprobdata(task);
  VLR_markbuffersfordelete(task);
}

// Frees a task record in any partial state, then its SysEnv; the leak check's code comes back.
int32_t task_destroy(Task* task) {
  SysEnv* sys = task->sys;
  if (task->savedlu != nullptr) task->savedlufree(sys, &task->savedlu);
  VLR_deletetaskdata(task);
  if (task->streams != nullptr) {
    for (int32_t k = 0; k < kNumStreams; ++k) {
      VLR_stream_flush(task->streams, k);
      VLR_stream_linkfile(task->streams, k, nullptr);
    }
  }
  task_freeparams(task);
  VLR_deletebuffers(task);
  VLR_deleteinfitems(task);
  VLR_sysenv_freedbg(sys, VLR_HERE, task->name);
  VLR_destroystreamstask(task);
  VLR_sysenv_freedbg(sys, VLR_HERE, task->last_msg);
  task->env = nullptr;
  task->sys = nullptr;
  VLR_sysenv_freedbg(sys, VLR_HERE, task);
  return VLR_sysrestores(VLR_sysenv_delete(&sys));
}

int32_t task_resize(Task* task, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone,
                    int64_t maxnumanz, int64_t maxnumqnz) {
  VLR_deletetaskdata(task);
  const int32_t r = VLR_makeprobdata(task, maxnumcon, maxnumvar, maxnumcone, maxnumanz, maxnumqnz);
  if (r != VLR_RES_OK) VLR_deletetaskdata(task);  // the next call on the task makes an empty one
  return r;
}

}  // namespace

}  // namespace vlr

using vlr::Env;
using vlr::Task;

int32_t VLR_checktask(VLRtask_t task) {
  return vlr::api_guard([&]() -> int32_t {
    if (task == nullptr) return VLR_RES_ERR_NULL_TASK;
    if (vlr::VLR_taskcast(task)->env == nullptr) return VLR_RES_ERR_INVALID_TASK;
    return VLR_RES_OK;
  });
}

int32_t VLR_maketask(VLRenv_t henv, int32_t maxnumcon, int32_t maxnumvar, VLRtask_t* ptask) {
  return vlr::api_guard([&]() -> int32_t {
    if (ptask != nullptr) *ptask = nullptr;  // a failed make leaves no stale handle behind
    const int32_t r0 = VLR_checkenv(henv);
    if (r0 != VLR_RES_OK) return r0;
    Env* env = vlr::VLR_envcast(henv);
    if (ptask == nullptr) return VLR_RAISEENV(env, VLR_RES_ERR_NULL_POINTER, "task");
    if (maxnumcon < 0)
      return VLR_RAISEENV(env, VLR_RES_ERR_INDEX_IS_TOO_SMALL, maxnumcon, "maxnumcon");
    if (maxnumvar < 0)
      return VLR_RAISEENV(env, VLR_RES_ERR_INDEX_IS_TOO_SMALL, maxnumvar, "maxnumvar");
    vlr::SysEnv* sys = vlr::VLR_sysenv_makelike(env->sys, 0);
    if (sys == nullptr) return VLR_RES_ERR_SPACE;
    vlr::VLR_sysenv_copymachinfo(env->sys, sys);
    vlr::VLR_sysenv_init(sys);
    auto* task = static_cast<Task*>(vlr::VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(Task)));
    if (task == nullptr) {
      vlr::VLR_sysenv_delete(&sys);
      return VLR_RES_ERR_SPACE;
    }
    task->env = env;
    task->sys = sys;
    task->opt_start = -1.0;
    vlr::VLR_appendtask(task);
    int32_t r = vlr::VLR_makebuffers(task);
    if (r == VLR_RES_OK && env->dbgfile != nullptr && env->dbgfile[0] != '\0') {
      char path[2048];
      std::snprintf(path, sizeof path, "%s.%lld.task.txt", env->dbgfile,
                    static_cast<long long>(task->seq));
      vlr::VLR_sysenv_opendbgfile(sys, path, "VELOR memory debugging.");
    }
    if (r == VLR_RES_OK) {
      task->last_msg =
          static_cast<char*>(vlr::VLR_sysenv_callocdbg(sys, VLR_HERE, vlr::kLastMsgCap, 1));
      if (task->last_msg == nullptr) r = VLR_RES_ERR_SPACE;
    }
    if (r == VLR_RES_OK) r = vlr::task_makeparams(task);
    if (r == VLR_RES_OK) r = vlr::VLR_initstreamstask(task);
    if (r == VLR_RES_OK) r = vlr::VLR_makeinfitems(task);
    if (r == VLR_RES_OK) r = vlr::task_resize(task, maxnumcon, maxnumvar, 0, 0, 0);
    if (r == VLR_RES_OK) r = vlr::VLR_setdefaults(task);
    if (r != VLR_RES_OK) {
      vlr::task_destroy(task);
      if (vlr::VLR_removetask(env)) vlr::VLR_garcolenv(env);
      return r;
    }
    vlr::VLR_sysenv_putexithandler(sys, task, vlr::VLR_exithandlertask);
    vlr::MachInfo mach{};
    vlr::VLR_sysenv_getmachinfo(sys, &mach);
    vlr::VLRP_putintinf(task, VLR_IINF_CACHE_SIZE_L1, mach.cache_l1);
    vlr::VLRP_putintinf(task, VLR_IINF_CACHE_SIZE_L2, mach.cache_l2);
    vlr::VLRP_putintinf(task, VLR_IINF_CPU_TYPE, vlr::VLR_tocputype(mach.cpuid));
    *ptask = vlr::VLR_taskhandle(task);
    return VLR_RES_OK;
  });
}

int32_t VLR_makeemptytask(VLRenv_t env, VLRtask_t* task) {
  return VLR_maketask(env, 0, 0, task);
}

int32_t VLR_deletetask(VLRtask_t* ptask) {
  return vlr::api_guard([&]() -> int32_t {
    if (ptask == nullptr || *ptask == nullptr) return VLR_RES_OK;
    const int32_t r0 = VLR_checktask(*ptask);
    if (r0 != VLR_RES_OK) return r0;
    Task* task = vlr::VLR_taskcast(*ptask);
    const int32_t busy = vlr::VLR_checktaskidle(task);
    if (busy != VLR_RES_OK) return busy;
    Env* env = task->env;
    const int32_t r = vlr::task_destroy(task);
    *ptask = nullptr;
    if (vlr::VLR_removetask(env)) vlr::VLR_garcolenv(env);
    return r;
  });
}

int32_t VLR_resizetask64(VLRtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone,
                         int64_t maxnumanz, int64_t maxnumqnz) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    const int32_t busy = vlr::VLR_checktaskidle(t);
    if (busy != VLR_RES_OK) return busy;
    const struct {
      int64_t value;
      const char* name;
    } args[] = {{maxnumcon, "maxnumcon"},
                {maxnumvar, "maxnumvar"},
                {maxnumcone, "maxnumcone"},
                {maxnumanz, "maxnumanz"},
                {maxnumqnz, "maxnumqnz"}};
    for (const auto& a : args) {
      if (a.value < 0) {
        return VLR_RAISE(t, VLR_RES_ERR_INDEX_IS_TOO_SMALL, static_cast<int>(a.value), a.name);
      }
    }
    // A capacity no store can hold is refused before the old problem goes.
    if (maxnumanz > vlr::kSprMaxSize || maxnumqnz > vlr::kSprMaxSize) {
      return VLR_RAISE(t, VLR_RES_ERR_SPACE);
    }
    return vlr::task_resize(t, maxnumcon, maxnumvar, maxnumcone, maxnumanz, maxnumqnz);
  });
}

int32_t VLR_resizetask(VLRtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone,
                       int32_t maxnumanz, int32_t maxnumqnz) {
  return VLR_resizetask64(task, maxnumcon, maxnumvar, maxnumcone, maxnumanz, maxnumqnz);
}

int32_t VLR_getenv(VLRtask_t task, VLRenv_t* env) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (env == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "env");
    *env = vlr::VLR_envhandle(t->env);
    return VLR_RES_OK;
  });
}

int32_t VLR_puttaskname(VLRtask_t task, const char* taskname) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    const int32_t busy = vlr::VLR_checktaskidle(t);
    if (busy != VLR_RES_OK) return busy;
    char* copy = vlr::VLR_sysenv_strdupdbg(t->sys, VLR_HERE, taskname);
    if (copy == nullptr) return VLR_RAISE(t, VLR_RES_ERR_SPACE);
    vlr::VLR_sysenv_freedbg(t->sys, VLR_HERE, t->name);
    t->name = copy;
    return VLR_RES_OK;
  });
}

int32_t VLR_gettaskname(VLRtask_t task, int32_t sizetaskname, char* taskname) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (taskname == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "taskname");
    const char* name = t->name != nullptr ? t->name : "";
    const auto len = static_cast<int32_t>(std::strlen(name));
    if (sizetaskname > 0) std::snprintf(taskname, static_cast<size_t>(sizetaskname), "%s", name);
    if (len >= sizetaskname) return VLR_RAISE(t, VLR_RES_WRN_NAME_MAX_LEN, len, sizetaskname);
    return VLR_RES_OK;
  });
}

void* VLR_callocenv(VLRenv_t env, size_t number, size_t size) {
  return VLR_callocdbgenv(env, number, size, VLR_HERE);
}

void* VLR_callocdbgenv(VLRenv_t env, size_t number, size_t size, const char* file, int32_t line) {
  return vlr::api_guardval<void*>(nullptr, [&]() -> void* {
    if (env == nullptr) return nullptr;
    return vlr::VLR_sysenv_callocdbg(vlr::VLR_envcast(env)->sys, file, line,
                                     static_cast<int64_t>(number), size);
  });
}

void VLR_freeenv(VLRenv_t env, void* buffer) {
  VLR_freedbgenv(env, buffer, VLR_HERE);
}

void VLR_freedbgenv(VLRenv_t env, void* buffer, const char* file, int32_t line) {
  vlr::api_guardvoid([&] {
    if (env == nullptr) {
      // A programming error: there is nothing to free the block with.
      std::printf("VLR_free\n");
      std::exit(0);
    }
    vlr::VLR_sysenv_freedbg(vlr::VLR_envcast(env)->sys, file, line, buffer);
  });
}

char* VLR_strdupenv(VLRenv_t env, const char* str) {
  return VLR_strdupdbgenv(env, str, VLR_HERE);
}

char* VLR_strdupdbgenv(VLRenv_t env, const char* str, const char* file, int32_t line) {
  return vlr::api_guardval<char*>(nullptr, [&]() -> char* {
    if (env == nullptr) {
      std::printf("VLR_strdup\n");
      std::exit(0);
    }
    if (str == nullptr) return nullptr;
    return vlr::VLR_sysenv_strdupdbg(vlr::VLR_envcast(env)->sys, file, line, str);
  });
}

void* VLR_calloctask(VLRtask_t task, size_t number, size_t size) {
  return VLR_callocdbgtask(task, number, size, VLR_HERE);
}

void* VLR_callocdbgtask(VLRtask_t task, size_t number, size_t size, const char* file,
                        int32_t line) {
  return vlr::api_guardval<void*>(nullptr, [&]() -> void* {
    if (VLR_checktask(task) != VLR_RES_OK) return nullptr;
    Task* t = vlr::VLR_taskcast(task);
    void* p = vlr::VLR_sysenv_callocdbg(t->sys, file, line, static_cast<int64_t>(number), size);
    if (p == nullptr && number > 0 && size > 0) {
      vlr::VLR_exceptiontaskdbg(file, line, "", t, VLR_RES_ERR_SPACE);
    }
    return p;
  });
}

void VLR_freetask(VLRtask_t task, void* buffer) {
  VLR_freedbgtask(task, buffer, VLR_HERE);
}

void VLR_freedbgtask(VLRtask_t task, void* buffer, const char* file, int32_t line) {
  vlr::api_guardvoid([&] {
    if (VLR_checktask(task) != VLR_RES_OK) return;
    vlr::VLR_sysenv_freedbg(vlr::VLR_taskcast(task)->sys, file, line, buffer);
  });
}

char* VLR_strduptask(VLRtask_t task, const char* str) {
  return VLR_strdupdbgtask(task, str, VLR_HERE);
}

char* VLR_strdupdbgtask(VLRtask_t task, const char* str, const char* file, int32_t line) {
  return vlr::api_guardval<char*>(nullptr, [&]() -> char* {
    if (VLR_checktask(task) != VLR_RES_OK || str == nullptr) return nullptr;
    return vlr::VLR_sysenv_strdupdbg(vlr::VLR_taskcast(task)->sys, file, line, str);
  });
}

int32_t VLR_checkmemenv(VLRenv_t env, const char* file, int32_t line) {
  return vlr::api_guard([&]() -> int32_t {
    if (env == nullptr) return VLR_RES_ERR_NULL_ENV;
    vlr::VLR_sysenv_scanmemdbg(vlr::VLR_envcast(env)->sys, file, line);
    return VLR_RES_OK;
  });
}

int32_t VLR_checkmemtask(VLRtask_t task, const char* file, int32_t line) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    vlr::VLR_sysenv_scanmemdbg(vlr::VLR_taskcast(task)->sys, file, line);
    return VLR_RES_OK;
  });
}

int32_t VLR_getmemusagetask64(VLRtask_t task, int64_t* meminuse, int64_t* maxmemuse) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (vlr::VLR_sysenv_getdbgmemlev(t->sys) == 0) {
      if (meminuse != nullptr) *meminuse = 0;
      if (maxmemuse != nullptr) *maxmemuse = 0;
      return VLR_RAISE(t, VLR_RES_ERR_SPACE_NO_INFO);
    }
    vlr::VLR_sysenv_getmemusage(t->sys, meminuse, maxmemuse);
    return VLR_RES_OK;
  });
}

int32_t VLR_getmemusagetask(VLRtask_t task, int32_t* meminuse, int32_t* maxmemuse) {
  return vlr::api_guard([&]() -> int32_t {
    int64_t cur = 0, max = 0;
    const int32_t r = VLR_getmemusagetask64(task, &cur, &max);
    if (r != VLR_RES_OK && r != VLR_RES_ERR_SPACE_NO_INFO) return r;
    Task* t = vlr::VLR_taskcast(task);
    int32_t r2 = VLR_RES_OK;
    if (meminuse != nullptr) r2 = vlr::VLR_int64to32dbg(t, VLR_HERE, meminuse, cur);
    if (r2 == VLR_RES_OK && maxmemuse != nullptr)
      r2 = vlr::VLR_int64to32dbg(t, VLR_HERE, maxmemuse, max);
    return r != VLR_RES_OK ? r : r2;
  });
}

int32_t VLR_getintpntnumthreads(VLRtask_t task, int32_t* numthreads) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (numthreads == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "numthreads");
    const int32_t n = t->iparam[VLR_IPAR_INTPNT_NUM_THREADS];
    *numthreads = n != 0 ? n : vlr::VLR_sysenv_getnumcores(t->sys);
    return VLR_RES_OK;
  });
}
