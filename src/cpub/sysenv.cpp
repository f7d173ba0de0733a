// src/cpub/sysenv.cpp: the system environment: its memory, exit hook, log fan-out and machine
// facts. SPDX-License-Identifier: Apache-2.0
#include "cpub/sysenv.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "cpub/memman.h"
#include "cpub/sysenvrec.h"

namespace vlr {

namespace {

constexpr int32_t kPlatformLinux = 5;

const char* const kPlatforms[] = {
    "AIX/RS6K32",       "AIX/RS6K64",     "HPUX/PARISC32",  "HPUX/PARISC64",  "Linux/32-X86",
    "Linux/64-X86",     "Linux/64-IA64",  "MacOSX/32-X86",  "MacOSX/64-X86",  "Solaris/32-SPARC",
    "Solaris/64-SPARC", "Solaris/32-X86", "Solaris/64-X86", "Windows/32-X86", "Windows/64-X86",
};

}  // namespace

SysEnv* VLR_sysenv_make(int32_t multithread, int32_t debug_level, void* usr, MallocFunc mfunc,
                        FreeFunc ffunc) {
  MemMan* mm = VLR_memman_make(multithread, debug_level, usr, mfunc, ffunc);
  if (mm == nullptr) return nullptr;
  auto* sys = static_cast<SysEnv*>(VLR_memman_alloc(VLR_HERE, mm, 1, sizeof(SysEnv), true));
  if (sys == nullptr) {
    VLR_memman_delete(&mm);
    return nullptr;
  }
  sys->multithread = multithread;
  sys->memman = mm;
  sys->timer_on = 1;
  sys->mach.platform = kPlatformLinux;
  sys->mach.numcores = -1;
  sys->mach.cpuid = 10;
  sys->mach.cache_l1 = -1;
  sys->mach.cache_l2 = -1;
  return sys;
}

SysEnv* VLR_sysenv_makelike(const SysEnv* like, int32_t multithread) {
  MemMan* mm = like->memman;
  SysEnv* sys =
      VLR_sysenv_make(multithread, mm->debug_level, mm->usr_ptr, mm->malloc_func, mm->free_func);
  if (sys != nullptr) VLR_memman_setparent(sys->memman, mm);
  return sys;
}

int32_t VLR_sysenv_delete(SysEnv** psys) {
  SysEnv* sys = *psys;
  if (sys == nullptr) return kSysOk;
  MemMan* mm = sys->memman;
  VLR_memman_free(VLR_HERE, mm, sys);
  *psys = nullptr;
  return VLR_memman_delete(&mm) > 0 ? kSysLeak : kSysOk;
}

void* VLR_sysenv_callocdbg(SysEnv* sys, const char* file, int line, int64_t count, size_t size) {
  if (count < 0) return nullptr;
  return VLR_memman_alloc(file, line, sys->memman, static_cast<uint64_t>(count), size, true);
}

void* VLR_sysenv_mallocdbg(SysEnv* sys, const char* file, int line, size_t size) {
  return VLR_memman_alloc(file, line, sys->memman, 1, size, false);
}

void* VLR_sysenv_reallocdbg(SysEnv* sys, const char* file, int line, void* block, size_t oldsize,
                            size_t newsize) {
  void* fresh = VLR_memman_alloc(file, line, sys->memman, 1, newsize, false);
  if (fresh == nullptr) return nullptr;
  if (block != nullptr) {
    std::memcpy(fresh, block, oldsize < newsize ? oldsize : newsize);
    VLR_memman_free(file, line, sys->memman, block);
  }
  return fresh;
}

void VLR_sysenv_freedbg(SysEnv* sys, const char* file, int line, void* block) {
  if (block == nullptr) return;
  if (block == sys)
    VLR_sysenv_stopdbg(sys, file, line, "Freeing sysenv sys: %p buffer: %p", block, block);
  VLR_memman_free(file, line, sys->memman, block);
}

char* VLR_sysenv_strdupdbg(SysEnv* sys, const char* file, int line, const char* s) {
  if (s == nullptr) s = "";
  const size_t n = std::strlen(s) + 1;
  auto* out = static_cast<char*>(VLR_memman_alloc(file, line, sys->memman, 1, n, false));
  if (out != nullptr) std::memcpy(out, s, n);
  return out;
}

int32_t VLR_sysenv_strconcat3(SysEnv* sys, char** out, const char* a, const char* b,
                              const char* c) {
  const char* parts[3] = {a != nullptr ? a : "", b != nullptr ? b : "", c != nullptr ? c : ""};
  size_t lens[3], total = 1;
  for (int k = 0; k < 3; ++k) {
    lens[k] = std::strlen(parts[k]);
    total += lens[k];
  }
  auto* s = static_cast<char*>(VLR_memman_alloc(VLR_HERE, sys->memman, 1, total, false));
  *out = s;
  if (s == nullptr) return kSysNoSpace;
  for (int k = 0; k < 3; ++k) {
    std::memcpy(s, parts[k], lens[k]);
    s += lens[k];
  }
  *s = '\0';
  return kSysOk;
}

int32_t VLR_sysenv_strconcat(SysEnv* sys, char** out, const char* a, const char* b) {
  return VLR_sysenv_strconcat3(sys, out, a, b, nullptr);
}

void VLR_sysenv_getmemusage(SysEnv* sys, int64_t* cur, int64_t* max) {
  if (cur != nullptr) *cur = sys->memman->cur_usage;
  if (max != nullptr) *max = sys->memman->max_usage;
}

int32_t VLR_sysenv_getdbgmemlev(const SysEnv* sys) {
  return sys->memman->debug_level;
}

void VLR_sysenv_putdbglev(SysEnv* sys, int32_t print_level) {
  sys->memman->tracker.print_level = print_level;
}

void VLR_sysenv_trim(SysEnv* sys) {
  VLR_memman_trim(sys->memman);
}

void VLR_sysenv_smallfromregions(SysEnv* sys) {
  sys->memman->small = 1;
}

int64_t VLR_sysenv_numblocks(const SysEnv* sys) {
  return VLR_memman_numblocks(sys->memman);
}

void VLR_sysenv_scanmemdbg(SysEnv* sys, const char* file, int line) {
  VLR_memman_scanmem(sys->memman, file, line);
}

void VLR_sysenv_checkptrdbg(SysEnv* sys, const char* file, int line, const void* ptr) {
  if (sys->memman->debug_level == 0) return;
  if (!VLR_memman_isblock(sys->memman, ptr)) {
    VLR_sysenv_stopdbg(sys, file, line, "Pointer %p is not an allocated block", ptr);
  }
}

void VLR_sysenv_assertdbg(SysEnv* sys, const char* file, int line, bool condition) {
  if (!condition) VLR_sysenv_stopdbg(sys, file, line, "Assertion failed at %s(%d).", file, line);
}

void VLR_sysenv_assertspcdbg(SysEnv* sys, const char* file, int line, int64_t demand,
                             int64_t supply) {
  if (supply < demand) {
    VLR_sysenv_stopdbg(sys, file, line, "Space. demand: %d supply: %d. %s(%d)\n",
                       static_cast<int>(demand), static_cast<int>(supply), file, line);
  }
}

void VLR_sysenv_stopdbg(SysEnv* sys, const char* file, int line, const char* format, ...) {
  char text[2048];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(text, sizeof text, format, ap);
  va_end(ap);
  if (sys != nullptr && sys->exit_hook.func != nullptr) {
    sys->exit_hook.func(sys->exit_hook.handle, file, line, text, -1);
  }
  FILE* out = sys == nullptr ? stdout : stderr;
  std::fprintf(out, "\n\nFatal error");
  std::fprintf(out, "\nFile : %s", file != nullptr ? file : "(NULL)");
  std::fprintf(out, "\nLine : %d", line);
  std::fprintf(out, "\nMsg. : %s\n", text);
  std::fflush(out);
  std::exit(-1);
}

void VLR_sysenv_putexithandler(SysEnv* sys, void* handle, ExitFunc func) {
  sys->exit_hook.handle = handle;
  sys->exit_hook.func = func;
  sys->memman->exit_handle = handle;
  sys->memman->exit_func = func;
}

void VLR_memman_lockptr(SysEnv* sys, const char*, int, const void* ptr) {
  VLR_memman_lockptr(sys->memman, ptr, true);
}

void VLR_memman_unlockptr(SysEnv* sys, const void* ptr) {
  VLR_memman_lockptr(sys->memman, ptr, false);
}

int32_t VLR_sysenv_opendbgfile(SysEnv* sys, const char* path, const char* header) {
  MemMan* mm = sys->memman;
  if (mm->dbg_file != nullptr) std::fclose(mm->dbg_file);
  std::snprintf(mm->dbg_path, sizeof mm->dbg_path, "%s", path);
  mm->dbg_file = std::fopen(path, "wt");
  if (mm->dbg_file == nullptr) return kSysOpenFailed;
  char now[64];
  VLR_sysenv_localtime(now, sizeof now);
  std::fprintf(mm->dbg_file, "Header: %s\n", header);
  std::fprintf(mm->dbg_file, "\nFile opened: %s\n", now);
  std::fflush(mm->dbg_file);
  return kSysOk;
}

void VLR_sysenv_echotodbgfile(SysEnv* sys, const char* text) {
  FILE* f = sys->memman->dbg_file;
  if (f == nullptr) return;
  std::fputs(text, f);
  std::fflush(f);
}

int32_t VLR_sysenv_linkfunctostream(SysEnv* sys, int32_t, void* handle, LogFunc func) {
  for (auto& hook : sys->log_hooks) {
    if (hook.func == nullptr) {
      hook.handle = handle;
      hook.func = func;
      return 0;
    }
  }
  return 1;
}

int32_t VLR_sysenv_unlinkfuncfromstream(SysEnv* sys, int32_t, LogFunc func) {
  for (auto& hook : sys->log_hooks) {
    if (hook.func == func) {
      hook.func = nullptr;
      hook.handle = nullptr;
    }
  }
  return 0;
}

void VLR_sysenv_vprintf(SysEnv* sys, const char* format, va_list ap) {
  char text[1048];
  std::vsnprintf(text, sizeof text, format, ap);
  for (auto& hook : sys->log_hooks) {
    if (hook.func != nullptr) hook.func(hook.handle, text);
  }
}

void VLR_sysenv_printf(SysEnv* sys, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  VLR_sysenv_vprintf(sys, format, ap);
  va_end(ap);
}

void VLR_sysenv_initmachinfo(SysEnv* sys, int32_t cpuid, int32_t cache_l1, int32_t cache_l2) {
  MachInfo& m = sys->mach;
  m.platform = kPlatformLinux;
  m.cpuid = cpuid;
  m.cache_l1 = cache_l1;
  m.cache_l2 = cache_l2;
  std::snprintf(m.pathsep, sizeof m.pathsep, ":");
  std::snprintf(m.libvar, sizeof m.libvar, "LD_LIBRARY_PATH");
  std::snprintf(m.libsuffix, sizeof m.libsuffix, ".so");
#if defined(__SSE2__)
  m.sse2 = 1;
#endif
#if defined(__SSE3__)
  m.sse3 = 1;
#endif
  if (cpuid == 10 && cache_l1 > 0 && cache_l2 > 0) return;
  // Only the cache sizes and the core count matter to the rest of the library; the processor is
  // reported as generic.
  if (m.cpuid == 0) m.cpuid = 10;
  if (m.cache_l1 < 0) {
    const long v = sysconf(_SC_LEVEL1_DCACHE_SIZE);
    m.cache_l1 = v > 0 ? static_cast<int32_t>(v) : 32768;
  }
  if (m.cache_l2 < 0) {
    const long v = sysconf(_SC_LEVEL2_CACHE_SIZE);
    m.cache_l2 = v > 0 ? static_cast<int32_t>(v) : 1048576;
  }
}

void VLR_sysenv_init(SysEnv* sys) {
  if (!sys->initialised) {
    VLR_sysenv_initmachinfo(sys, sys->mach.cpuid, sys->mach.cache_l1, sys->mach.cache_l2);
  }
  sys->initialised = 1;
}

void VLR_sysenv_copymachinfo(const SysEnv* from, SysEnv* to) {
  to->mach = from->mach;
}

int32_t VLR_sysenv_getmachinfo(const SysEnv* sys, MachInfo* out) {
  if (!sys->initialised) return 1;
  *out = sys->mach;
  return 0;
}

int32_t VLR_sysenv_getnumcores(SysEnv* sys) {
  if (sys->mach.numcores < 0) {
    const long v = sysconf(_SC_NPROCESSORS_ONLN);
    sys->mach.numcores = v > 0 ? static_cast<int32_t>(v) : 1;
  }
  return sys->mach.numcores;
}

const char* VLR_sysenv_getplfstr(int32_t platform) {
  const int32_t n = static_cast<int32_t>(sizeof kPlatforms / sizeof kPlatforms[0]);
  return platform >= 0 && platform < n ? kPlatforms[platform] : "generic";
}

void VLR_sysenv_getdllname(const char* name, int32_t major, int32_t minor, size_t size,
                           char* buffer) {
  std::snprintf(buffer, size, "lib%s64%s.%d.%d", name, ".so", major, minor);
}

int32_t VLR_sysenv_int64to32(SysEnv* sys, int64_t v) {
  if (!VLR_sysenv_isint32(v)) {
    VLR_sysenv_stopdbg(sys, VLR_HERE, "integer64 to integer32 conversion");
  }
  return static_cast<int32_t>(v);
}

bool VLR_sysenv_overlapping(const void* a, size_t na, const void* b, size_t nb) {
  const auto pa = reinterpret_cast<uintptr_t>(a), pb = reinterpret_cast<uintptr_t>(b);
  return pa < pb + nb && pb < pa + na;
}

}  // namespace vlr
