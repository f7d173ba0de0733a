// src/cpub/memman.h: the memory manager behind a SysEnv; private to the system layer.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdio>

#include "cpub/sysenv.h"

namespace vlr {

// One tracked block: the node lives apart from the block it describes.
struct MemNode {
  uint64_t number;     // allocation sequence number, from 1
  int32_t locked;      // 1: contents must match digest at every check
  uint8_t digest[16];  // content digest taken at lock time
  uint64_t size;       // user bytes
  unsigned char* raw;  // guard(8) + user data(size) + guard(8)
  uint8_t seed[2];     // guard seeds, begin and end; guard byte k holds seed + k
  MemNode* prev;       // newer block; null at the head
  MemNode* next;       // older block
  const char* file;    // allocation site
  int line;
};

struct MemTracker {
  int32_t print_level;   // trace lines at or below this level go to the debug file
  uint64_t next_number;  // number of the next block
  MemNode* head;         // newest first
};

struct BigMem;

struct MemMan {
  char head_guard[8];  // "begin"
  char name[24];       // shown in trace lines; empty here
  int32_t locked;      // 1: mutex guards the list and the counters
  void* mutex;         // from the user allocator, untracked
  void* usr_ptr;
  MallocFunc malloc_func;
  FreeFunc free_func;
  void* exit_handle;
  ExitFunc exit_func;
  MemTracker tracker;
  int64_t max_usage, cur_usage;  // bytes, tracked mode only
  int32_t debug_level;           // 0: no tracking
  BigMem* big;                   // large blocks of the default allocator; null: none
  int32_t small;                 // 1: small blocks from the regions too
  char dbg_path[2048];
  FILE* dbg_file;
  char end_guard[4];  // "end"
};

MemMan* VLR_memman_make(int32_t multithread, int32_t debug_level, void* usr, MallocFunc mfunc,
                        FreeFunc ffunc);
// Scans, reports and frees the blocks left; returns their number.
int64_t VLR_memman_delete(MemMan** mm);
void* VLR_memman_alloc(const char* file, int line, MemMan* mm, uint64_t count, uint64_t size,
                       bool clear);
void VLR_memman_free(const char* file, int line, MemMan* mm, void* block);
uint64_t VLR_memman_blocksize(MemMan* mm, const void* block);  // 0 when untracked or unknown
void VLR_memman_scanmem(MemMan* mm, const char* file, int line);
int64_t VLR_memman_numblocks(MemMan* mm);
bool VLR_memman_isblock(MemMan* mm, const void* block);
void VLR_memman_lockptr(MemMan* mm, const void* block, bool lock);
// The regions of large blocks that mm gives up go to parent's, which keeps one for the next
// manager made like it; parent must outlive mm.
void VLR_memman_setparent(MemMan* mm, MemMan* parent);
// Gives the memory of the large blocks that were freed back: to the parent, which keeps one
// region, and to the system.
void VLR_memman_trim(MemMan* mm);
[[noreturn]] void VLR_memman_exit(MemMan* mm, const char* file, int line, const char* text);
void VLR_sizettostr(uint64_t size, char* buf, size_t bufsize);

}  // namespace vlr
