// src/cpub/sysenv.h: the system layer: tracked memory, files with gzip, time, machine facts.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <new>

#define VLR_HERE __FILE__, __LINE__

#if defined(__GNUC__)
#define VLR_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define VLR_PRINTF(fmt, args)
#endif

namespace vlr {

struct SysEnv;
struct MemMan;
struct SysFile;

// System codes of this layer; VLR_sysrestores turns them into response codes.
enum SysCode : int32_t {
  kSysOk = 0,
  kSysNoSpace = 1,
  kSysOpenFailed = 2,
  kSysReadFailed = 3,
  kSysEndOfFile = 4,
  kSysWriteFailed = 5,
  kSysLeak = 7,
  kSysInvalidFileName = 8,
};

using MallocFunc = void* (*)(void* usr, size_t size);
using FreeFunc = void (*)(void* usr, void* block);
// Called on fatal damage with (handle, file, line, text, code); it may not return.
using ExitFunc = void (*)(void* handle, const char* file, int line, const char* text, int code);
// One line of the system log fan-out.
using LogFunc = void (*)(void* handle, const char* text);

// Machine facts; the task copies its env's.
struct MachInfo {
  int32_t platform;  // 5: "Linux/64-X86"
  int32_t numcores;  // -1 until first asked for
  int32_t cpuid;     // 10 generic, 1000.. Intel, 10001.. AMD
  int32_t cache_l1;  // bytes, -1 unknown
  int32_t cache_l2;  // bytes, -1 unknown
  int32_t sse2, sse3;
  char pathsep[4];    // ":"
  char libvar[32];    // "LD_LIBRARY_PATH"
  char libsuffix[8];  // ".so"
};

// ---- Memory -------------------------------------------------------------------------------

// Makes a system environment. Both functions must be given to be used; otherwise the default
// allocator. debug_level 0: bare allocator calls; above 0: every block tracked with guards.
// Returns null when even the record cannot be had.
SysEnv* VLR_sysenv_make(int32_t multithread, int32_t debug_level, void* usr, MallocFunc mfunc,
                        FreeFunc ffunc);
// Makes a system environment with the debug level and allocator of another one, which takes the
// memory regions it gives up and keeps one for the next (a task's from its environment's);
// `like` must outlive it.
SysEnv* VLR_sysenv_makelike(const SysEnv* like, int32_t multithread);
// Deletes *sys (null accepted) and nulls it. Returns kSysLeak when blocks were left.
int32_t VLR_sysenv_delete(SysEnv** sys);

void* VLR_sysenv_callocdbg(SysEnv* sys, const char* file, int line, int64_t count, size_t size);
void* VLR_sysenv_mallocdbg(SysEnv* sys, const char* file, int line, size_t size);
// Resizes a block; the old contents up to the smaller size are kept. Null on failure, with the
// old block still owned by the caller.
void* VLR_sysenv_reallocdbg(SysEnv* sys, const char* file, int line, void* block, size_t oldsize,
                            size_t newsize);
void VLR_sysenv_freedbg(SysEnv* sys, const char* file, int line, void* block);
// Duplicates a string (null gives an empty one); null only when out of space.
char* VLR_sysenv_strdupdbg(SysEnv* sys, const char* file, int line, const char* s);
// Allocates the join of a and b (and c); a null part counts as empty. Returns kSysNoSpace.
int32_t VLR_sysenv_strconcat(SysEnv* sys, char** out, const char* a, const char* b);
int32_t VLR_sysenv_strconcat3(SysEnv* sys, char** out, const char* a, const char* b, const char* c);

void VLR_sysenv_getmemusage(SysEnv* sys, int64_t* cur, int64_t* max);
int32_t VLR_sysenv_getdbgmemlev(const SysEnv* sys);
void VLR_sysenv_putdbglev(SysEnv* sys, int32_t print_level);
int64_t VLR_sysenv_numblocks(const SysEnv* sys);
// Gives the memory of freed large blocks back to the system; the end of a solve calls it.
void VLR_sysenv_trim(SysEnv* sys);
// From now on small blocks come from the regions of large ones too, where there are regions
// (the library's own allocator, untracked); they are kept until sys is deleted. For a short-lived
// sys whose work runs on a new thread, whose own C heap would grow a page at a time.
void VLR_sysenv_smallfromregions(SysEnv* sys);
// Checks every tracked block's guards; fatal on damage.
void VLR_sysenv_scanmemdbg(SysEnv* sys, const char* file, int line);
// Fatal unless ptr is a live tracked block (tracking on).
void VLR_sysenv_checkptrdbg(SysEnv* sys, const char* file, int line, const void* ptr);
void VLR_sysenv_assertdbg(SysEnv* sys, const char* file, int line, bool condition);
void VLR_sysenv_assertspcdbg(SysEnv* sys, const char* file, int line, int64_t demand,
                             int64_t supply);
[[noreturn]] void VLR_sysenv_stopdbg(SysEnv* sys, const char* file, int line, const char* format,
                                     ...) VLR_PRINTF(4, 5);
void VLR_sysenv_putexithandler(SysEnv* sys, void* handle, ExitFunc func);
// Locks a tracked block's contents: a later check stops if they changed.
void VLR_memman_lockptr(SysEnv* sys, const char* file, int line, const void* ptr);
void VLR_memman_unlockptr(SysEnv* sys, const void* ptr);
// Opens the memory debug file and writes its header.
int32_t VLR_sysenv_opendbgfile(SysEnv* sys, const char* path, const char* header);
void VLR_sysenv_echotodbgfile(SysEnv* sys, const char* text);

#define VLR_sysenv_calloc(sys, count, size) ::vlr::VLR_sysenv_callocdbg(sys, VLR_HERE, count, size)
#define VLR_sysenv_free(sys, block) ::vlr::VLR_sysenv_freedbg(sys, VLR_HERE, block)
#define VLR_sysenv_strdup(sys, s) ::vlr::VLR_sysenv_strdupdbg(sys, VLR_HERE, s)

// ---- Log fan-out --------------------------------------------------------------------------

// Puts func in the first free of ten slots; returns 1 when all are taken.
int32_t VLR_sysenv_linkfunctostream(SysEnv* sys, int32_t stream, void* handle, LogFunc func);
int32_t VLR_sysenv_unlinkfuncfromstream(SysEnv* sys, int32_t stream, LogFunc func);
void VLR_sysenv_printf(SysEnv* sys, const char* format, ...) VLR_PRINTF(2, 3);
void VLR_sysenv_vprintf(SysEnv* sys, const char* format, va_list ap) VLR_PRINTF(2, 0);

// ---- Machine ------------------------------------------------------------------------------

void VLR_sysenv_initmachinfo(SysEnv* sys, int32_t cpuid, int32_t cache_l1, int32_t cache_l2);
void VLR_sysenv_init(SysEnv* sys);
void VLR_sysenv_copymachinfo(const SysEnv* from, SysEnv* to);
// Fails (returns 1) while the machine facts are not set.
int32_t VLR_sysenv_getmachinfo(const SysEnv* sys, MachInfo* out);
int32_t VLR_sysenv_getnumcores(SysEnv* sys);
const char* VLR_sysenv_getplfstr(int32_t platform);
void VLR_sysenv_getdllname(const char* name, int32_t major, int32_t minor, size_t size,
                           char* buffer);

// ---- Time ---------------------------------------------------------------------------------

// Process time in seconds. With the timer off (VLR_sysenv_settimer) both clocks read 0.
double VLR_sysenv_gettime(SysEnv* sys);
// Wall-clock seconds since an arbitrary start; monotonic.
double VLR_sysenv_getwctime(SysEnv* sys);
// end - start of process times; a negative end means now.
double VLR_sysenv_difftime(SysEnv* sys, double end, double start);
// end - start of wall-clock times; a negative end means now.
double VLR_sysenv_diffwctime(SysEnv* sys, double end, double start);
void VLR_sysenv_wctimetostr(double t, char* buffer, size_t size);  // "%.2f"
void VLR_sysenv_localtime(char* buffer, size_t size);              // "2012-10-29 13:51:18"
void VLR_sysenv_settimer(SysEnv* sys, int32_t on);

// ---- Conversions --------------------------------------------------------------------------

inline bool VLR_sysenv_isint32(int64_t v) {
  return static_cast<uint64_t>(v) + 2147483648ULL <= 4294967295ULL;
}
int32_t VLR_sysenv_int64to32(SysEnv* sys, int64_t v);  // fatal outside int32
bool VLR_sysenv_overlapping(const void* a, size_t na, const void* b, size_t nb);

// ---- Files --------------------------------------------------------------------------------

// Opens a file for reading, writing or appending (exactly one), through a 16384-byte buffer.
// Writing with compressed set goes through gzip at the given level; reading goes through gzip
// when compressed is set or the file starts with the gzip magic (plain data passes through).
// Returns null and sets *code on failure: kSysInvalidFileName (null or empty path),
// kSysOpenFailed, kSysNoSpace. The record is allocated from sys.
SysFile* VLR_sysenv_fopen(SysEnv* sys, const char* path, int32_t binary, int32_t read,
                          int32_t write, int32_t append, int32_t compressed, int32_t level,
                          int32_t* code);
// Opens a file for writing that is to replace path: the data goes to a new file beside it,
// which VLR_sysenv_fclose renames onto path when all was written, and VLR_sysenv_fdiscard
// removes; either way a failed write leaves path as it was and nothing beside it. A path that
// is a directory, or in a directory that does not exist, gives kSysOpenFailed.
SysFile* VLR_sysenv_fopenreplace(SysEnv* sys, const char* path, int32_t compressed, int32_t level,
                                 int32_t* code);
// Writes what waits, closes and frees *f (null accepted), nulling it. kSysWriteFailed when
// written data was lost (then a replacing file leaves its target as it was).
int32_t VLR_sysenv_fclose(SysEnv* sys, SysFile** f);
// Closes and frees *f, dropping what was written: a replacing file never reaches its target.
void VLR_sysenv_fdiscard(SysEnv* sys, SysFile** f);
int32_t VLR_sysenv_fflush(SysFile* f);   // down to the system (a sync point in a gzip stream)
int32_t VLR_sysenv_frewind(SysFile* f);  // reading starts over; not possible writing gzip
// The writers below return kSysWriteFailed once any write failed, and on a file opened for reading.
int32_t VLR_sysenv_fputc(SysFile* f, int c);
int32_t VLR_sysenv_fputs(SysFile* f, const char* s);
int32_t VLR_sysenv_fputss(SysFile* f, const char* s, size_t n);
int32_t VLR_sysenv_fprintf(SysFile* f, const char* format, ...) VLR_PRINTF(2, 3);
int32_t VLR_sysenv_vfprintf(SysFile* f, const char* format, va_list ap) VLR_PRINTF(2, 0);
int32_t VLR_sysenv_fwrite(SysFile* f, const void* data, size_t n);
// Reads up to n bytes; *got is what came. kSysEndOfFile when nothing was left.
int32_t VLR_sysenv_fread(SysFile* f, void* data, size_t n, size_t* got);
// Reads one line with its newline, terminated, at most size-1 bytes (the rest of a longer line
// comes with the next call); *len (if not null) is its length. kSysEndOfFile when nothing was
// left, kSysReadFailed on a damaged or cut gzip stream.
int32_t VLR_sysenv_fgets(SysFile* f, char* buf, size_t size, size_t* len);
const char* VLR_sysenv_fname(const SysFile* f);

// ---- RAII over the tracker ----------------------------------------------------------------

// Owns one zeroed block of `count` T from `sys`; frees it on every way out of the scope unless
// release() hands it to a record first. A count of 0 still gets a block (of one T), so that only
// a failed allocation reads as null.
template <class T>
class SysBuf {
 public:
  SysBuf(SysEnv* sys, const char* file, int line, int64_t count)
      : sys_(sys),
        file_(file),
        line_(line),
        p_(static_cast<T*>(
            VLR_sysenv_callocdbg(sys, file, line, count == 0 ? 1 : count, sizeof(T)))) {}
  ~SysBuf() {
    if (p_ != nullptr) VLR_sysenv_freedbg(sys_, file_, line_, p_);
  }
  SysBuf(const SysBuf&) = delete;
  SysBuf& operator=(const SysBuf&) = delete;

  explicit operator bool() const { return p_ != nullptr; }
  T* get() const { return p_; }
  T& operator[](int64_t k) const { return p_[k]; }
  T* release() {  // ownership passes to the caller's record
    T* p = p_;
    p_ = nullptr;
    return p;
  }

 private:
  SysEnv* sys_;
  const char* file_;  // allocation site, reported again by the tracker on free
  int line_;
  T* p_;
};

// Standard allocator over a SysEnv, so that containers draw from the tracked memory. The
// only throw in the library: the standard requires bad_alloc here. Modules that use containers
// catch it at their edge.
template <class T>
struct MemAllocator {
  using value_type = T;
  SysEnv* sys;
  explicit MemAllocator(SysEnv* s) noexcept : sys(s) {}
  template <class U>
  MemAllocator(const MemAllocator<U>& o) noexcept : sys(o.sys) {}
  T* allocate(size_t n) {
    // Not cleared: a container constructs every element it hands out.
    if (n > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
    void* p = VLR_sysenv_mallocdbg(sys, VLR_HERE, n * sizeof(T));
    if (p == nullptr) throw std::bad_alloc();
    return static_cast<T*>(p);
  }
  void deallocate(T* p, size_t) noexcept { VLR_sysenv_freedbg(sys, VLR_HERE, p); }
  template <class U>
  bool operator==(const MemAllocator<U>& o) const noexcept {
    return sys == o.sys;
  }
};

}  // namespace vlr
