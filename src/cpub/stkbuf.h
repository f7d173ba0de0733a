// src/cpub/stkbuf.h: scratch stacks, so that inner loops of the optimisers never reach the
// allocator. SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "cpub/sysenv.h"

namespace vlr {

struct StkBuf;
struct BufStack;

// ---- Stack buffer ---------------------------------------------------------------------------
// Blocks are taken ("pop") and given back ("push") in last-in, first-out order from one region.
// Damage to that order, the alignment or the space is fatal.

// Makes a stack buffer whose live blocks may add up to size bytes, at most maxbuffers at once,
// each aligned to at most alignment (a power of two). maxsizechecks bounds the nesting of size
// checks; printlevel above 5 traces every pop and push to the system log. With useallocator each
// block is an allocation of its own (the tracker then sees overruns), with the same accounting.
// Returns kSysOk or kSysNoSpace, and then has made nothing.
int32_t VLR_stkbuf_make(SysEnv* sys, int32_t maxbuffers, size_t size, size_t alignment,
                        int32_t maxsizechecks, int32_t printlevel, int32_t useallocator,
                        StkBuf** stk);
// Deletes *stk (null accepted) and nulls it. Stops when blocks are still taken.
void VLR_stkbuf_delete(StkBuf** stk);

// Takes a block of size bytes aligned to alignment (0 means 1). Stops when the live blocks would
// pass the size given to make, or the alignment passes the maker's. Null only when the block's
// own allocation fails in allocator mode.
void* VLR_stkbuf_popdbg(StkBuf* stk, const char* file, int line, size_t size, size_t alignment);
// Gives back *ptr, which must be the last block taken, and nulls it.
void VLR_stkbuf_pushdbg(StkBuf* stk, const char* file, int line, void** ptr);
template <class T>
void VLR_stkbuf_pushdbg(StkBuf* stk, const char* file, int line, T** ptr) {
  void* p = *ptr;
  VLR_stkbuf_pushdbg(stk, file, line, &p);
  *ptr = nullptr;
}

// Promises that the blocks taken from now on, until the matching popsizecheck, add at most size
// bytes: every later pop is checked against stack use + size. id names the promise in the stop.
void VLR_stkbuf_pushsizecheckdbg(StkBuf* stk, const char* file, int line, size_t size, int32_t id);
void VLR_stkbuf_popsizecheckdbg(StkBuf* stk, const char* file, int line);

size_t VLR_stkbuf_getstkuse(const StkBuf* stk);  // bytes of the live blocks, padding excluded
int32_t VLR_stkbuf_getnumbufs(const StkBuf* stk);
// Prints the live blocks and the size checks to the system log.
void VLR_stkbuf_print(const StkBuf* stk);

#define VLR_stkbuf_pop(stk, size, alignment) \
  ::vlr::VLR_stkbuf_popdbg(stk, VLR_HERE, size, alignment)
#define VLR_stkbuf_push(stk, ptr) ::vlr::VLR_stkbuf_pushdbg(stk, VLR_HERE, ptr)

// ---- Reserve-then-allocate stack ------------------------------------------------------------
// Phase one adds up what each part of a computation will need; one 16-byte aligned block of the
// largest sum is then allocated and handed out in runs of the same rounded sizes.

// Returns kSysOk or kSysNoSpace (nothing made).
int32_t VLR_GENERIC_CPU_bufstack_make(SysEnv* sys, BufStack** bs);
// Adds n + 16 - n mod 16 bytes to the current sum: always at least one alignment step.
void VLR_GENERIC_CPU_bufstack_reserve_dbg(BufStack* bs, const char* file, int line, size_t n);
// Reserves count elements of size bytes each as one run.
void VLR_GENERIC_CPU_bufstack_reserven_dbg(BufStack* bs, const char* file, int line, size_t count,
                                           size_t size);
// Starts a new sum; the largest sum seen so far is kept.
void VLR_GENERIC_CPU_bufstack_reset(BufStack* bs);
// Makes the block for the largest sum; a block already large enough is kept. Stops when runs are
// still out. Returns kSysOk or kSysNoSpace.
int32_t VLR_GENERIC_CPU_bufstack_allocate(BufStack* bs);
// Hands out the next run of n bytes (16-byte aligned); stops past the end of the block.
void* VLR_GENERIC_CPU_bufstack_pop_dbg(BufStack* bs, const char* file, int line, size_t n);
// Gives back the last run, which was popped with the same n.
void VLR_GENERIC_CPU_bufstack_push_dbg(BufStack* bs, const char* file, int line, size_t n);
void VLR_GENERIC_CPU_bufstack_pushall_dbg(BufStack* bs, const char* file, int line);
size_t VLR_GENERIC_CPU_bufstack_getreserved(const BufStack* bs);  // largest sum, bytes
size_t VLR_GENERIC_CPU_bufstack_gettop(const BufStack* bs);       // bytes handed out
// Deletes *bs (null accepted) and nulls it.
void VLR_GENERIC_CPU_bufstack_delete(BufStack** bs);

}  // namespace vlr
