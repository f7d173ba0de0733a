// src/cpub/memman.cpp: the memory manager: bare allocator calls, or every block tracked with
// guards. SPDX-License-Identifier: Apache-2.0
#include "cpub/memman.h"

#include <pthread.h>

#include <cinttypes>
#include <cstdlib>
#include <cstring>

#include "cpub/bigmem.h"

namespace vlr {

namespace {

constexpr size_t kDefaultPad = 24;
constexpr int kGuard = 8;  // guard bytes on each side of a tracked block
constexpr unsigned char kSeed = ' ';

// The block inside a buffer of the C allocator: aligned to 16 bytes, with the buffer's pointer
// kept in the word before it.
void* defaultblock(void* raw) {
  auto* buf = static_cast<unsigned char*>(raw);
  if (buf == nullptr) return nullptr;
  const uintptr_t off = kDefaultPad - (reinterpret_cast<uintptr_t>(buf) + 8) % 16;
  unsigned char* block = buf + off;
  std::memcpy(block - sizeof(void*), &buf, sizeof(void*));
  return block;
}

// With defaultcalloc the one place that calls the C allocator for blocks: the library comes here.
void* defaultmalloc(void*, size_t size) {
  if (size == 0 || size > SIZE_MAX - kDefaultPad) return nullptr;
  return defaultblock(std::malloc(size + kDefaultPad));
}

// The same block cleared: for a large block the C allocator maps fresh pages that are zero
// already, so a work area that is mostly never touched costs neither a pass nor page faults.
void* defaultcalloc(size_t size) {
  if (size == 0 || size > SIZE_MAX - kDefaultPad) return nullptr;
  return defaultblock(std::calloc(size + kDefaultPad, 1));
}

void defaultfree(void*, void* block) {
  if (block == nullptr) return;
  void* buf = nullptr;
  std::memcpy(&buf, static_cast<unsigned char*>(block) - sizeof(void*), sizeof(void*));
  std::free(buf);
}

// A 128-bit content digest (two FNV-1a passes with different bases) for locked blocks.
void memman_digest(const unsigned char* p, uint64_t n, uint8_t out[16]) {
  uint64_t h1 = 1469598103934665603ULL, h2 = 1099511628211ULL * 7919ULL;
  for (uint64_t k = 0; k < n; ++k) {
    h1 = (h1 ^ p[k]) * 1099511628211ULL;
    h2 = (h2 ^ p[k]) * 1099511628211ULL + k;
  }
  std::memcpy(out, &h1, 8);
  std::memcpy(out + 8, &h2, 8);
}

void memman_lock(MemMan* mm) {
  if (mm->locked) pthread_mutex_lock(static_cast<pthread_mutex_t*>(mm->mutex));
}

void memman_unlock(MemMan* mm) {
  if (mm->locked) pthread_mutex_unlock(static_cast<pthread_mutex_t*>(mm->mutex));
}

void memman_trace(MemMan* mm, int level, const char* format, ...) VLR_PRINTF(3, 4);
void memman_trace(MemMan* mm, int level, const char* format, ...) {
  if (mm->tracker.print_level < level || mm->dbg_file == nullptr) return;
  va_list ap;
  va_start(ap, format);
  std::vfprintf(mm->dbg_file, format, ap);
  va_end(ap);
}

// Writes a report line to the debug file, or to standard error when there is none.
void memman_report(MemMan* mm, const char* format, ...) VLR_PRINTF(2, 3);
void memman_report(MemMan* mm, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  std::vfprintf(mm->dbg_file != nullptr ? mm->dbg_file : stderr, format, ap);
  va_end(ap);
}

[[noreturn]] void memman_exit(MemMan* mm, const char* file, int line, const char* text) {
  memman_report(mm, "Fatal error in file '%s(%d)'\n", file != nullptr ? file : "(NULL)", line);
  memman_report(mm, "Message(%s): %s\n", mm->name, text);
  if (mm->dbg_file != nullptr) {
    std::fclose(mm->dbg_file);
    mm->dbg_file = nullptr;
  }
  if (mm->exit_func != nullptr) mm->exit_func(mm->exit_handle, file, line, text, -99);
  std::exit(-99);
}

void memman_checkblock(MemMan* mm, const MemNode* node, const char* file, int line) {
  char text[512];
  const unsigned char* raw = node->raw;
  for (int k = 0; k < kGuard; ++k) {
    const unsigned expected = static_cast<unsigned>(node->seed[0] + k) & 0xffu;
    if (raw[k] != expected) {
      std::snprintf(text, sizeof text,
                    "*** Block begin guard violation. #%llu at %p. pos: %u expected: %u got %u",
                    static_cast<unsigned long long>(node->number), static_cast<const void*>(raw),
                    static_cast<unsigned>(k), expected, static_cast<unsigned>(raw[k]));
      memman_exit(mm, file, line, text);
    }
  }
  const unsigned char* tail = raw + kGuard + node->size;
  for (int k = 0; k < kGuard; ++k) {
    const unsigned expected = static_cast<unsigned>(node->seed[1] + k) & 0xffu;
    if (tail[k] != expected) {
      std::snprintf(text, sizeof text,
                    "*** Block end guard violation. #%llu at %p. pos: %u expected: %u got %u",
                    static_cast<unsigned long long>(node->number), static_cast<const void*>(raw),
                    static_cast<unsigned>(k), expected, static_cast<unsigned>(tail[k]));
      memman_exit(mm, file, line, text);
    }
  }
  if (node->locked) {
    uint8_t now[16];
    memman_digest(raw + kGuard, node->size, now);
    if (std::memcmp(now, node->digest, 16) != 0) {
      char sz[32];
      VLR_sizettostr(node->size, sz, sizeof sz);
      std::snprintf(text, sizeof text,
                    "Locked #%-6llu at %p of size %s has been changed at '%s' %u. Digest info.: "
                    "%d(%d!=%d) \n",
                    static_cast<unsigned long long>(node->number), static_cast<const void*>(raw),
                    sz, file != nullptr ? file : "", static_cast<unsigned>(line), 16,
                    static_cast<int>(now[0]), static_cast<int>(node->digest[0]));
      memman_exit(mm, file, line, text);
    }
  }
}

MemNode* memman_findnode(MemMan* mm, const void* block) {
  for (MemNode* node = mm->tracker.head; node != nullptr; node = node->next) {
    if (node->raw + kGuard == block) return node;
  }
  return nullptr;
}

}  // namespace

void VLR_sizettostr(uint64_t size, char* buf, size_t bufsize) {
  if (size < 1024ULL * 10) {
    std::snprintf(buf, bufsize, "%" PRIu64 " B", size);
  } else if (size < 1024ULL * 1024 * 10) {
    std::snprintf(buf, bufsize, "%.1f kB", static_cast<double>(size) / 1024.0);
  } else if (size < 1024ULL * 1024 * 1024 * 10) {
    std::snprintf(buf, bufsize, "%.1f MB", static_cast<double>(size) / (1024.0 * 1024.0));
  } else {
    std::snprintf(buf, bufsize, "%.1f GB", static_cast<double>(size) / (1024.0 * 1024.0 * 1024.0));
  }
}

MemMan* VLR_memman_make(int32_t multithread, int32_t debug_level, void* usr, MallocFunc mfunc,
                        FreeFunc ffunc) {
  if (mfunc == nullptr || ffunc == nullptr) {
    mfunc = defaultmalloc;
    ffunc = defaultfree;
    usr = nullptr;
  }
  auto* mm = static_cast<MemMan*>(mfunc(usr, sizeof(MemMan)));
  if (mm == nullptr) return nullptr;
  std::memset(static_cast<void*>(mm), 0, sizeof(MemMan));
  std::memcpy(mm->head_guard, "begin", 6);
  std::memcpy(mm->end_guard, "end", 4);
  mm->usr_ptr = usr;
  mm->malloc_func = mfunc;
  mm->free_func = ffunc;
  mm->debug_level = debug_level;
  mm->tracker.next_number = 1;
  if (multithread) {
    auto* mutex = static_cast<pthread_mutex_t*>(mfunc(usr, sizeof(pthread_mutex_t)));
    if (mutex == nullptr || pthread_mutex_init(mutex, nullptr) != 0) {
      if (mutex != nullptr) ffunc(usr, mutex);
      ffunc(usr, mm);
      return nullptr;
    }
    mm->mutex = mutex;
    mm->locked = 1;
  }
  // Large blocks of the library's own allocator come from regions of huge pages; a caller's
  // allocator and the tracked mode see every block themselves.
  if (debug_level == 0 && mfunc == defaultmalloc) mm->big = VLR_bigmem_make();
  return mm;
}

int64_t VLR_memman_delete(MemMan** pmm) {
  MemMan* mm = *pmm;
  if (mm == nullptr) return 0;
  int64_t left = 0;
  if (mm->debug_level > 0) {
    memman_trace(mm, 0, "Deleting mem manager. Scanning memory\n");
    VLR_memman_scanmem(mm, VLR_HERE);
    memman_trace(mm, 0, "Checking leaks\n");
    for (MemNode* node = mm->tracker.head; node != nullptr; node = node->next)
      ++left;
    if (left > 0) {
      memman_report(mm, "**** ALLOCATED  BLOCKS LEFT\n");
      for (MemNode* node = mm->tracker.head; node != nullptr; node = node->next) {
        memman_report(mm, "#%-llu at %p is allocated\n",
                      static_cast<unsigned long long>(node->number),
                      static_cast<void*>(node->raw + kGuard));
        if (node->file != nullptr) memman_report(mm, "  from %s(%d)\n", node->file, node->line);
      }
    }
    memman_trace(mm, 0, "Done checking leaks\n");
    // The leaked blocks are reported; give them back so the process stays clean.
    MemNode* node = mm->tracker.head;
    while (node != nullptr) {
      MemNode* next = node->next;
      mm->free_func(mm->usr_ptr, node->raw);
      mm->free_func(mm->usr_ptr, node);
      node = next;
    }
  }
  VLR_bigmem_delete(&mm->big);
  if (mm->dbg_file != nullptr) std::fclose(mm->dbg_file);
  if (mm->mutex != nullptr) {
    pthread_mutex_destroy(static_cast<pthread_mutex_t*>(mm->mutex));
    mm->free_func(mm->usr_ptr, mm->mutex);
  }
  FreeFunc ffunc = mm->free_func;
  void* usr = mm->usr_ptr;
  ffunc(usr, mm);
  *pmm = nullptr;
  return left;
}

void* VLR_memman_alloc(const char* file, int line, MemMan* mm, uint64_t count, uint64_t size,
                       bool clear) {
  if (mm == nullptr) {
    std::fprintf(stderr, "memman_alloc: mman==NULL file: %s line: %d\n", file, line);
    std::exit(-1);
  }
  if (size != 0 && count > UINT64_MAX / size) return nullptr;
  const uint64_t n = count * size;
  if (n > SIZE_MAX - 64) return nullptr;
  if (mm->debug_level == 0) {
    if (n == 0) return nullptr;
    if (mm->big != nullptr && n >= kBigMemMin) {
      void* p = VLR_bigmem_alloc(mm->big, static_cast<size_t>(n), clear);
      if (p != nullptr) return p;
    } else if (mm->big != nullptr && mm->small != 0) {
      void* p = VLR_bigmem_allocsmall(mm->big, static_cast<size_t>(n), clear);
      if (p != nullptr) return p;
    }
    if (clear && mm->malloc_func == defaultmalloc) return defaultcalloc(static_cast<size_t>(n));
    void* p = mm->malloc_func(mm->usr_ptr, static_cast<size_t>(n));
    if (p != nullptr && clear) std::memset(p, 0, static_cast<size_t>(n));
    return p;
  }
  if (n == 0) {
    memman_trace(mm, 5, "Allocted (%s)   a zero block in file '%s(%d)'.\n", mm->name, file, line);
    return nullptr;
  }
  memman_lock(mm);
  auto* node = static_cast<MemNode*>(mm->malloc_func(mm->usr_ptr, sizeof(MemNode)));
  auto* raw = node == nullptr ? nullptr
                              : static_cast<unsigned char*>(mm->malloc_func(
                                    mm->usr_ptr, static_cast<size_t>(n) + 2 * kGuard));
  if (raw == nullptr) {
    memman_trace(mm, 1,
                 "Out of space while trying to allocate a block of size %llu in file "
                 "'%s(%llu)'\n",
                 static_cast<unsigned long long>(n), file, static_cast<unsigned long long>(line));
    if (node != nullptr) mm->free_func(mm->usr_ptr, node);
    memman_unlock(mm);
    return nullptr;
  }
  std::memset(static_cast<void*>(node), 0, sizeof(MemNode));
  if (mm->tracker.print_level >= 5) {
    char sz[32];
    VLR_sizettostr(n, sz, sizeof sz);
    memman_trace(mm, 5, "Allocated(%s)   # %-6u at %-10p of size %-s (%-s) in file '%s(%d)'.\n",
                 mm->name, static_cast<unsigned>(mm->tracker.next_number),
                 static_cast<void*>(raw + kGuard), sz, sz, file, line);
  }
  node->number = mm->tracker.next_number++;
  node->size = n;
  node->raw = raw;
  node->seed[0] = kSeed;
  node->seed[1] = kSeed;
  node->file = file;
  node->line = line;
  for (int k = 0; k < kGuard; ++k) {
    raw[k] = static_cast<unsigned char>(kSeed + k);
    raw[kGuard + n + static_cast<uint64_t>(k)] = static_cast<unsigned char>(kSeed + k);
  }
  node->next = mm->tracker.head;
  if (node->next != nullptr) node->next->prev = node;
  mm->tracker.head = node;
  mm->cur_usage += static_cast<int64_t>(n);
  if (mm->cur_usage > mm->max_usage) mm->max_usage = mm->cur_usage;
  memman_unlock(mm);
  if (clear) std::memset(raw + kGuard, 0, static_cast<size_t>(n));
  return raw + kGuard;
}

void VLR_memman_free(const char* file, int line, MemMan* mm, void* block) {
  if (block == nullptr) return;
  if (mm->debug_level == 0) {
    if (mm->big == nullptr || !VLR_bigmem_free(mm->big, block)) mm->free_func(mm->usr_ptr, block);
    return;
  }
  memman_lock(mm);
  MemNode* node = memman_findnode(mm, block);
  if (node == nullptr) {
    memman_unlock(mm);
    char text[160];
    std::snprintf(text, sizeof text,
                  "Block %p cannot be deallocated because it is not in the allocation list.\n",
                  block);
    memman_exit(mm, file, line, text);
  }
  memman_checkblock(mm, node, file, line);
  if (node->prev != nullptr) node->prev->next = node->next;
  if (node->next != nullptr) node->next->prev = node->prev;
  if (mm->tracker.head == node) mm->tracker.head = node->next;
  mm->cur_usage -= static_cast<int64_t>(node->size);
  memman_unlock(mm);
  mm->free_func(mm->usr_ptr, node->raw);
  mm->free_func(mm->usr_ptr, node);
}

uint64_t VLR_memman_blocksize(MemMan* mm, const void* block) {
  if (mm->debug_level == 0 || block == nullptr) return 0;
  memman_lock(mm);
  const MemNode* node = memman_findnode(mm, block);
  memman_unlock(mm);
  return node == nullptr ? 0 : node->size;
}

void VLR_memman_scanmem(MemMan* mm, const char* file, int line) {
  memman_trace(mm, 1, "Scanning memory at '%s'(%d)\n", file, line);
  if (std::memcmp(mm->head_guard, "begin", 6) != 0 || std::memcmp(mm->end_guard, "end", 4) != 0) {
    memman_exit(mm, file, line, "memory manager record damaged");
  }
  if (mm->debug_level == 0) return;
  memman_lock(mm);
  int64_t nblocks = 0;
  for (MemNode* node = mm->tracker.head; node != nullptr; node = node->next) {
    memman_checkblock(mm, node, file, line);
    ++nblocks;
  }
  memman_unlock(mm);
  if (mm->tracker.print_level >= 1 && mm->dbg_file != nullptr) {
    char nb[32], cur[32], max[32];
    std::snprintf(nb, sizeof nb, "%lld", static_cast<long long>(nblocks));
    VLR_sizettostr(static_cast<uint64_t>(mm->cur_usage), cur, sizeof cur);
    VLR_sizettostr(static_cast<uint64_t>(mm->max_usage), max, sizeof max);
    memman_trace(mm, 1, "Space usage. Number of blocks: %s  Current usage: %s Maximum usage: %s\n",
                 nb, cur, max);
  }
}

int64_t VLR_memman_numblocks(MemMan* mm) {
  int64_t n = 0;
  memman_lock(mm);
  for (MemNode* node = mm->tracker.head; node != nullptr; node = node->next)
    ++n;
  memman_unlock(mm);
  return n;
}

bool VLR_memman_isblock(MemMan* mm, const void* block) {
  memman_lock(mm);
  const bool found = memman_findnode(mm, block) != nullptr;
  memman_unlock(mm);
  return found;
}

void VLR_memman_lockptr(MemMan* mm, const void* block, bool lock) {
  if (mm->debug_level == 0) return;
  memman_lock(mm);
  MemNode* node = memman_findnode(mm, block);
  if (node != nullptr) {
    node->locked = lock ? 1 : 0;
    if (lock) memman_digest(node->raw + kGuard, node->size, node->digest);
  }
  memman_unlock(mm);
}

void VLR_memman_setparent(MemMan* mm, MemMan* parent) {
  if (mm->big != nullptr && parent->big != nullptr) VLR_bigmem_setparent(mm->big, parent->big);
}

void VLR_memman_trim(MemMan* mm) {
  VLR_bigmem_trim(mm->big);
}

[[noreturn]] void VLR_memman_exit(MemMan* mm, const char* file, int line, const char* text) {
  memman_exit(mm, file, line, text);
}

}  // namespace vlr
