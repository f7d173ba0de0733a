// src/velor/env.cpp: the environment: made, initialised, deleted (at once or with its last task).
// SPDX-License-Identifier: Apache-2.0
#include <pthread.h>

#include <cstring>

#include "velor/tables.h"
#include "velor/task.h"

namespace vlr {

namespace {

// The system layer's fatal path enters the env's.
void VLR_exithandlerenv(void* handle, const char* file, int line, const char* text, int) {
  VLR_stopenv(static_cast<Env*>(handle), file, line, "%s", text);
}

int32_t env_makeparams(Env* env) {
  SysEnv* sys = env->sys;
  env->iparam_dflt =
      static_cast<int32_t*>(VLR_sysenv_callocdbg(sys, VLR_HERE, kNumIntParams, sizeof(int32_t)));
  env->dparam_dflt =
      static_cast<double*>(VLR_sysenv_callocdbg(sys, VLR_HERE, kNumDouParams, sizeof(double)));
  env->sparam_dflt =
      static_cast<char**>(VLR_sysenv_callocdbg(sys, VLR_HERE, kNumStrParams, sizeof(char*)));
  if (env->iparam_dflt == nullptr || env->dparam_dflt == nullptr || env->sparam_dflt == nullptr) {
    return VLR_RES_ERR_SPACE;
  }
  for (int32_t k = 0; k < kNumIntParams; ++k)
    env->iparam_dflt[k] = kIntParams[k].dflt;
  for (int32_t k = 0; k < kNumDouParams; ++k)
    env->dparam_dflt[k] = kDouParams[k].dflt;
  for (int32_t k = 0; k < kNumStrParams; ++k) {
    env->sparam_dflt[k] = VLR_sysenv_strdupdbg(sys, VLR_HERE, kStrParams[k].dflt);
    if (env->sparam_dflt[k] == nullptr) return VLR_RES_ERR_SPACE;
  }
  return VLR_RES_OK;
}

void env_freeparams(Env* env) {
  SysEnv* sys = env->sys;
  if (env->sparam_dflt != nullptr) {
    for (int32_t k = 0; k < kNumStrParams; ++k)
      VLR_sysenv_freedbg(sys, VLR_HERE, env->sparam_dflt[k]);
  }
  VLR_sysenv_freedbg(sys, VLR_HERE, env->sparam_dflt);
  VLR_sysenv_freedbg(sys, VLR_HERE, env->dparam_dflt);
  VLR_sysenv_freedbg(sys, VLR_HERE, env->iparam_dflt);
  env->sparam_dflt = nullptr;
  env->dparam_dflt = nullptr;
  env->iparam_dflt = nullptr;
}

int32_t env_makemutexes(Env* env) {
  for (auto& m : env->mutex) {
    auto* mutex = static_cast<pthread_mutex_t*>(
        VLR_sysenv_callocdbg(env->sys, VLR_HERE, 1, sizeof(pthread_mutex_t)));
    if (mutex == nullptr) return VLR_RES_ERR_SPACE;
    if (pthread_mutex_init(mutex, nullptr) != 0) {
      VLR_sysenv_freedbg(env->sys, VLR_HERE, mutex);
      return VLR_RES_ERR_THREAD_MUTEX_INIT;
    }
    m = mutex;
  }
  return VLR_RES_OK;
}

void env_destroymutexes(Env* env) {
  for (auto& m : env->mutex) {
    if (m == nullptr) continue;
    pthread_mutex_destroy(static_cast<pthread_mutex_t*>(m));
    VLR_sysenv_freedbg(env->sys, VLR_HERE, m);
    m = nullptr;
  }
}

// Frees everything of an env whose tasks are gone; returns the leak check's response code.
int32_t env_destroy(Env* env) {
  SysEnv* sys = env->sys;
  env_freeparams(env);
  VLR_destroystreamsenv(env);
  VLR_sysenv_freedbg(sys, VLR_HERE, env->dbgfile);
  VLR_sysenv_freedbg(sys, VLR_HERE, env->dll_path);
  env_destroymutexes(env);
  VLR_sysenv_freedbg(sys, VLR_HERE, env);
  return VLR_sysrestores(VLR_sysenv_delete(&sys));
}

// CPU type of the interface to the system layer's processor number, and back.
constexpr int32_t kCpuMap[][2] = {{0, 0},     {1, 10},    {2, 1000},  {3, 1001}, {9, 1002},
                                  {4, 10001}, {7, 10002}, {5, 20000}, {6, 5000}, {8, 30000}};

}  // namespace

int32_t VLR_tocpuid(int32_t cputype) {
  for (const auto& m : kCpuMap) {
    if (m[0] == cputype) return m[1];
  }
  return 0;
}

int32_t VLR_tocputype(int32_t cpuid) {
  for (const auto& m : kCpuMap) {
    if (m[1] == cpuid) return m[0];
  }
  return 0;
}

void VLR_getvstr(char* buf, size_t size) {
  std::snprintf(buf, size, "%s version %d.%d.%d.%d", "VELOR", kVersionMajor, kVersionMinor,
                kVersionBuild, kVersionRevision);
}

int32_t VLR_lockmutexenv(Env* env, int32_t index) {
  if (index < 0 || index > 3 || env->mutex[index] == nullptr) return VLR_RES_ERR_THREAD_MUTEX_LOCK;
  return pthread_mutex_lock(static_cast<pthread_mutex_t*>(env->mutex[index])) == 0
             ? VLR_RES_OK
             : VLR_RES_ERR_THREAD_MUTEX_LOCK;
}

int32_t VLR_unlockmutexenv(Env* env, int32_t index) {
  if (index < 0 || index > 3 || env->mutex[index] == nullptr) {
    return VLR_RES_ERR_THREAD_MUTEX_UNLOCK;
  }
  return pthread_mutex_unlock(static_cast<pthread_mutex_t*>(env->mutex[index])) == 0
             ? VLR_RES_OK
             : VLR_RES_ERR_THREAD_MUTEX_UNLOCK;
}

void VLR_garcolenv(Env* env) {
  env_destroy(env);
}

}  // namespace vlr

using vlr::Env;

int32_t VLR_makeenv(VLRenv_t* penv, void* usrptr, VLRmallocfunc usrmalloc, VLRfreefunc usrfree,
                    const char* dbgfile) {
  return vlr::api_guard([&]() -> int32_t {
    if (penv == nullptr) return VLR_RES_ERR_NULL_POINTER;
    *penv = nullptr;
    vlr::SysEnv* sys =
        vlr::VLR_sysenv_make(1, dbgfile != nullptr ? 10 : 0, usrptr, usrmalloc, usrfree);
    if (sys == nullptr) return VLR_RES_ERR_SPACE;
    auto* env = static_cast<Env*>(vlr::VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(Env)));
    if (env == nullptr) {
      vlr::VLR_sysenv_delete(&sys);
      return VLR_RES_ERR_SPACE;
    }
    env->sys = sys;
    env->keepdlls = 1;
    vlr::VLR_sysenv_putexithandler(sys, env, vlr::VLR_exithandlerenv);
    int32_t r = vlr::VLR_initstreamsenv(env);
    if (r == VLR_RES_OK && dbgfile != nullptr) {
      env->dbgfile = vlr::VLR_sysenv_strdupdbg(sys, VLR_HERE, dbgfile);
      if (env->dbgfile == nullptr) r = VLR_RES_ERR_SPACE;
      if (r == VLR_RES_OK && dbgfile[0] != '\0') {
        char path[2048];
        std::snprintf(path, sizeof path, "%s.env.txt", dbgfile);
        vlr::VLR_sysenv_opendbgfile(sys, path, "VELOR memory debugging.");
      }
    }
    if (r == VLR_RES_OK) r = vlr::env_makemutexes(env);
    if (r == VLR_RES_OK) r = vlr::env_makeparams(env);
    if (r != VLR_RES_OK) {
      vlr::env_destroy(env);
      return r;
    }
    *penv = vlr::VLR_envhandle(env);
    return VLR_RES_OK;
  });
}

int32_t VLR_checkenv(VLRenv_t env) {
  return vlr::api_guard([&]() -> int32_t {
    if (env == nullptr) return VLR_RES_ERR_NULL_ENV;
    if (!vlr::VLR_envcast(env)->initialised) return VLR_RES_ERR_NO_INIT_ENV;
    return VLR_RES_OK;
  });
}

int32_t VLR_initenv(VLRenv_t henv) {
  return vlr::api_guard([&]() -> int32_t {
    if (henv == nullptr) return VLR_RES_ERR_NULL_ENV;
    Env* env = vlr::VLR_envcast(henv);
    if (env->initialised) return VLR_RES_OK;
    int32_t* d = env->iparam_dflt;
    vlr::VLR_sysenv_initmachinfo(env->sys, vlr::VLR_tocpuid(d[VLR_IPAR_CPU_TYPE]),
                                 d[VLR_IPAR_CACHE_SIZE_L1], d[VLR_IPAR_CACHE_SIZE_L2]);
    vlr::VLR_sysenv_init(env->sys);
    vlr::MachInfo mach{};
    vlr::VLR_sysenv_getmachinfo(env->sys, &mach);
    d[VLR_IPAR_CPU_TYPE] = vlr::VLR_tocputype(mach.cpuid);
    d[VLR_IPAR_CACHE_SIZE_L1] = mach.cache_l1;
    d[VLR_IPAR_CACHE_SIZE_L2] = mach.cache_l2;
    env->initialised = 1;
    return VLR_RES_OK;
  });
}

int32_t VLR_deleteenv(VLRenv_t* penv) {
  return vlr::api_guard([&]() -> int32_t {
    if (penv == nullptr || *penv == nullptr) return VLR_RES_OK;
    Env* env = vlr::VLR_envcast(*penv);
    vlr::VLR_lockmutexenv(env, 2);
    const bool alive = env->tasks_removed < env->tasks_made;
    if (alive) {
      vlr::VLR_sysenv_echotodbgfile(env->sys,
                                    "*** ERROR *** Living tasks when deleting the environment\n");
      if (!env->garbage_collect) {
        vlr::VLR_unlockmutexenv(env, 2);
        return VLR_RES_ERR_LIVING_TASKS;
      }
      env->delete_pending = 1;
    }
    vlr::VLR_unlockmutexenv(env, 2);
    if (alive) return VLR_RES_OK;  // the last task deletes the env; the handle stays usable
    *penv = nullptr;
    return vlr::env_destroy(env);
  });
}

int32_t VLR_enablegarcolenv(VLRenv_t env) {
  return vlr::api_guard([&]() -> int32_t {
    if (env == nullptr) return VLR_RES_ERR_NULL_ENV;
    vlr::VLR_envcast(env)->garbage_collect = 1;
    return VLR_RES_OK;
  });
}

int32_t VLR_putkeepdlls(VLRenv_t env, int32_t keepdlls) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checkenv(env);
    if (r != VLR_RES_OK) return r;
    vlr::VLR_envcast(env)->keepdlls = keepdlls != 0 ? 1 : 0;
    return VLR_RES_OK;
  });
}

int32_t VLR_putdllpath(VLRenv_t henv, const char* dllpath) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checkenv(henv);
    if (r != VLR_RES_OK) return r;
    Env* env = vlr::VLR_envcast(henv);
    char* copy = vlr::VLR_sysenv_strdupdbg(env->sys, VLR_HERE, dllpath);
    if (copy == nullptr) return VLR_RAISEENV(env, VLR_RES_ERR_SPACE);
    vlr::VLR_sysenv_freedbg(env->sys, VLR_HERE, env->dll_path);
    env->dll_path = copy;
    return VLR_RES_OK;
  });
}

int32_t VLR_putcpudefaults(VLRenv_t henv, int32_t cputype, int32_t sizel1, int32_t sizel2) {
  return vlr::api_guard([&]() -> int32_t {
    if (henv == nullptr) return VLR_RES_ERR_NULL_ENV;
    Env* env = vlr::VLR_envcast(henv);
    if (cputype != 0) env->iparam_dflt[VLR_IPAR_CPU_TYPE] = cputype;
    if (sizel1 >= 0) env->iparam_dflt[VLR_IPAR_CACHE_SIZE_L1] = sizel1;
    if (sizel2 >= 0) env->iparam_dflt[VLR_IPAR_CACHE_SIZE_L2] = sizel2;
    return VLR_RES_OK;
  });
}

int32_t VLR_getversion(int32_t* major, int32_t* minor, int32_t* build, int32_t* revision) {
  return vlr::api_guard([&]() -> int32_t {
    if (major != nullptr) *major = vlr::kVersionMajor;
    if (minor != nullptr) *minor = vlr::kVersionMinor;
    if (build != nullptr) *build = vlr::kVersionBuild;
    if (revision != nullptr) *revision = vlr::kVersionRevision;
    return VLR_RES_OK;
  });
}

int32_t VLR_getversionstring(int32_t size, char* buffer) {
  return vlr::api_guard([&]() -> int32_t {
    if (buffer == nullptr) return VLR_RES_ERR_NULL_POINTER;
    if (size > 0) {
      std::snprintf(buffer, static_cast<size_t>(size), "%d.%d.%d.%d", vlr::kVersionMajor,
                    vlr::kVersionMinor, vlr::kVersionBuild, vlr::kVersionRevision);
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_checkversion(VLRenv_t henv, int32_t major, int32_t minor, int32_t build,
                         int32_t revision) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checkenv(henv);
    if (r != VLR_RES_OK) return r;
    const int32_t have[4] = {vlr::kVersionMajor, vlr::kVersionMinor, vlr::kVersionBuild,
                             vlr::kVersionRevision};
    const int32_t want[4] = {major, minor, build, revision};
    for (int k = 0; k < 4; ++k) {
      if (have[k] == want[k]) continue;
      const int32_t code = have[k] < want[k] ? VLR_RES_ERR_OLDER_DLL : VLR_RES_ERR_NEWER_DLL;
      return VLR_RAISEENV(vlr::VLR_envcast(henv), code, have[0], have[1], have[2], have[3], want[0],
                          want[1], want[2], want[3]);
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_getbuildinfo(char* buildstate, char* builddate, char* buildtool) {
  return vlr::api_guard([&]() -> int32_t {
    if (buildstate != nullptr) std::snprintf(buildstate, VLR_MAX_STR_LEN, "%s", "release");
    if (builddate != nullptr) {
      // __DATE__ is "Mmm dd yyyy"; give it as "yyyy-mm-dd hh:mm:ss".
      static const char months[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
      const char* d = __DATE__;
      char mon[4] = {d[0], d[1], d[2], '\0'};
      const char* at = std::strstr(months, mon);
      const int m = at != nullptr ? static_cast<int>(at - months) / 3 + 1 : 0;
      const int day = (d[4] == ' ' ? 0 : d[4] - '0') * 10 + (d[5] - '0');
      std::snprintf(builddate, VLR_MAX_STR_LEN, "%.4s-%02d-%02d %s", d + 7, m, day, __TIME__);
    }
    if (buildtool != nullptr) {
      std::snprintf(buildtool, VLR_MAX_STR_LEN, "g++ %d.%d, C++%ld", __GNUC__, __GNUC_MINOR__,
                    __cplusplus / 100 % 100);
    }
    return VLR_RES_OK;
  });
}
