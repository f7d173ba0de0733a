// src/cpub/stkbuf.cpp: the stack buffer with its size checks, and the reserve-then-allocate stack.
// SPDX-License-Identifier: Apache-2.0
#include "cpub/stkbuf.h"

#include <algorithm>
#include <cstdint>

namespace vlr {

struct StkBuf {
  SysEnv* sys;
  int32_t maxbuffers;
  size_t size;       // payload the live blocks may add up to
  size_t alignment;  // largest alignment a pop may ask for
  int32_t maxsizechecks;
  int32_t printlevel;
  int32_t useallocator;
  unsigned char* region;  // [regsize]; null in allocator mode
  size_t regsize;         // size + maxbuffers alignment + 1: room for the worst padding
  size_t top;             // region bytes in use, padding included (also kept in allocator mode)
  size_t stkuse;          // payload bytes of the live blocks
  int32_t numbufs;
  void** bufs;    // [maxbuffers + 1] live blocks, oldest first
  void** raws;    // [maxbuffers + 1] allocator mode: the allocation behind bufs[k]
  size_t* sizes;  // [maxbuffers + 1] payload of bufs[k]
  size_t* steps;  // [maxbuffers + 1] region bytes bufs[k] took: padding + size
  int32_t numsizechecks;
  size_t* sizechecks;  // [maxsizechecks + 1] upper bounds on stkuse
  int32_t* checkids;   // [maxsizechecks + 1] the caller's name of each bound
};

struct BufStack {
  SysEnv* sys;
  size_t sum;           // bytes reserved since the last reset, in rounded steps
  size_t maxsum;        // largest sum of the earlier phases
  unsigned char* raw;   // the allocation, 16 bytes over so that base can be aligned
  unsigned char* base;  // 16-byte aligned start of the runs
  size_t size;          // usable bytes at base
  size_t top;           // bytes handed out
};

namespace {

constexpr size_t kBufStackAlign = 16;

unsigned char* align_up(void* p, size_t alignment) {
  const uintptr_t a = reinterpret_cast<uintptr_t>(p);
  return static_cast<unsigned char*>(p) + (alignment - a % alignment) % alignment;
}

// The rounded step of one run: n + 16 - n mod 16, so a multiple of 16 still takes one more step.
size_t bufstack_step(size_t n) {
  return n + kBufStackAlign - n % kBufStackAlign;
}

void stkbuf_free(StkBuf* stk) {
  SysEnv* sys = stk->sys;
  VLR_sysenv_freedbg(sys, VLR_HERE, stk->region);
  VLR_sysenv_freedbg(sys, VLR_HERE, stk->bufs);
  VLR_sysenv_freedbg(sys, VLR_HERE, stk->raws);
  VLR_sysenv_freedbg(sys, VLR_HERE, stk->sizes);
  VLR_sysenv_freedbg(sys, VLR_HERE, stk->steps);
  VLR_sysenv_freedbg(sys, VLR_HERE, stk->sizechecks);
  VLR_sysenv_freedbg(sys, VLR_HERE, stk->checkids);
  VLR_sysenv_freedbg(sys, VLR_HERE, stk);
}

template <class T>
T* alloc_table(SysEnv* sys, int32_t count) {
  return static_cast<T*>(VLR_sysenv_callocdbg(sys, VLR_HERE, count, sizeof(T)));
}

}  // namespace

// ---- Stack buffer ---------------------------------------------------------------------------

int32_t VLR_stkbuf_make(SysEnv* sys, int32_t maxbuffers, size_t size, size_t alignment,
                        int32_t maxsizechecks, int32_t printlevel, int32_t useallocator,
                        StkBuf** stk) {
  *stk = nullptr;
  auto* s = static_cast<StkBuf*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(StkBuf)));
  if (s == nullptr) return kSysNoSpace;
  s->sys = sys;
  s->maxbuffers = std::max(maxbuffers, 0);
  s->size = size;
  s->alignment = std::max<size_t>(alignment, 1);
  s->maxsizechecks = std::max(maxsizechecks, 0);
  s->printlevel = printlevel;
  s->useallocator = useallocator;
  s->regsize = size + static_cast<size_t>(s->maxbuffers) * s->alignment + 1;
  bool ok = true;
  if (!useallocator) {
    s->region = static_cast<unsigned char*>(VLR_sysenv_mallocdbg(sys, VLR_HERE, s->regsize));
    ok = s->region != nullptr;
  }
  const int32_t nb = s->maxbuffers + 1, nc = s->maxsizechecks + 1;
  s->bufs = alloc_table<void*>(sys, nb);
  s->raws = alloc_table<void*>(sys, nb);
  s->sizes = alloc_table<size_t>(sys, nb);
  s->steps = alloc_table<size_t>(sys, nb);
  s->sizechecks = alloc_table<size_t>(sys, nc);
  s->checkids = alloc_table<int32_t>(sys, nc);
  ok = ok && s->bufs && s->raws && s->sizes && s->steps && s->sizechecks && s->checkids;
  if (!ok) {
    stkbuf_free(s);
    return kSysNoSpace;
  }
  *stk = s;
  return kSysOk;
}

void VLR_stkbuf_delete(StkBuf** stk) {
  StkBuf* s = *stk;
  if (s == nullptr) return;
  if (s->numbufs > 0) VLR_sysenv_stopdbg(s->sys, VLR_HERE, "Buffers left");
  stkbuf_free(s);
  *stk = nullptr;
}

void* VLR_stkbuf_popdbg(StkBuf* stk, const char* file, int line, size_t size, size_t alignment) {
  SysEnv* sys = stk->sys;
  alignment = std::max<size_t>(alignment, 1);
  if (alignment > stk->alignment) VLR_sysenv_stopdbg(sys, file, line, "Incorrect alignment");
  if (stk->numbufs >= stk->maxbuffers) {
    VLR_sysenv_stopdbg(sys, file, line, "Too many buffers in stack buffer %d", stk->maxbuffers);
  }
  // The payload budget is the size given to make; the region's slack is there for padding only,
  // so a block never fits in one mode and fails in the other.
  const size_t budget = stk->size - stk->stkuse;
  if (size > budget || stk->regsize - stk->top < size + alignment) {
    VLR_sysenv_stopdbg(sys, file, line, "Out of space in stack buffer %d %d",
                       static_cast<int>(size), static_cast<int>(budget));
  }
  for (int32_t k = 0; k < stk->numsizechecks; ++k) {
    if (stk->stkuse + size > stk->sizechecks[k]) {
      VLR_sysenv_stopdbg(
          sys, file, line,
          "Failed size check. numsizechecks: %d k: %d Checking id: %d stackuse: "
          "%lu sizechecks: %lu size: %lu",
          stk->numsizechecks, k, stk->checkids[k], static_cast<unsigned long>(stk->stkuse),
          static_cast<unsigned long>(stk->sizechecks[k]), static_cast<unsigned long>(size));
    }
  }
  void* raw = nullptr;
  unsigned char* p;
  size_t pad;
  if (stk->useallocator) {
    raw = VLR_sysenv_mallocdbg(sys, file, line, size + alignment);
    if (raw == nullptr) return nullptr;
    p = align_up(raw, alignment);
    // Account as if the block sat in the region, so both modes fail at the same point.
    pad = (alignment - stk->top % alignment) % alignment;
  } else {
    p = align_up(stk->region + stk->top, alignment);
    pad = static_cast<size_t>(p - (stk->region + stk->top));
  }
  const int32_t b = stk->numbufs++;
  stk->bufs[b] = p;
  stk->raws[b] = raw;
  stk->sizes[b] = size;
  stk->steps[b] = pad + size;
  stk->top += pad + size;
  stk->stkuse += size;
  if (stk->printlevel > 5) {
    VLR_sysenv_printf(sys, "stkbuf:pop:%s(%d): %lu %p stkuse: %lu\n", file, line,
                      static_cast<unsigned long>(size), static_cast<void*>(p),
                      static_cast<unsigned long>(stk->stkuse));
  }
  return p;
}

void VLR_stkbuf_pushdbg(StkBuf* stk, const char* file, int line, void** ptr) {
  SysEnv* sys = stk->sys;
  if (stk->numbufs <= 0) VLR_sysenv_stopdbg(sys, file, line, "numbufs<=0");
  const int32_t b = stk->numbufs - 1;
  if (stk->bufs[b] != *ptr) {
    VLR_sysenv_stopdbg(sys, file, line, "buffer error -- expected: %p input: %p", stk->bufs[b],
                       *ptr);
  }
  stk->numbufs = b;
  stk->top -= stk->steps[b];
  stk->stkuse -= stk->sizes[b];
  if (stk->raws[b] != nullptr) VLR_sysenv_freedbg(sys, file, line, stk->raws[b]);
  stk->bufs[b] = stk->raws[b] = nullptr;
  if (stk->printlevel > 5) {
    VLR_sysenv_printf(sys, "stkbuf:push:%s(%d): %lu %p stkuse: %lu\n", file, line,
                      static_cast<unsigned long>(stk->sizes[b]), *ptr,
                      static_cast<unsigned long>(stk->stkuse));
  }
  *ptr = nullptr;
}

void VLR_stkbuf_pushsizecheckdbg(StkBuf* stk, const char* file, int line, size_t size, int32_t id) {
  if (stk->numsizechecks >= stk->maxsizechecks) {
    VLR_sysenv_stopdbg(stk->sys, file, line, "Too many size checks in stack buffer %d",
                       stk->maxsizechecks);
  }
  stk->sizechecks[stk->numsizechecks] = stk->stkuse + size;
  stk->checkids[stk->numsizechecks] = id;
  ++stk->numsizechecks;
}

void VLR_stkbuf_popsizecheckdbg(StkBuf* stk, const char* file, int line) {
  if (stk->numsizechecks <= 0) VLR_sysenv_stopdbg(stk->sys, file, line, "numsizechecks<=0");
  --stk->numsizechecks;
}

size_t VLR_stkbuf_getstkuse(const StkBuf* stk) {
  return stk->stkuse;
}

int32_t VLR_stkbuf_getnumbufs(const StkBuf* stk) {
  return stk->numbufs;
}

void VLR_stkbuf_print(const StkBuf* stk) {
  SysEnv* sys = stk->sys;
  VLR_sysenv_printf(sys, "stkbuf: numbufs: %d stkuse: %lu top: %lu size: %lu allocator: %d\n",
                    stk->numbufs, static_cast<unsigned long>(stk->stkuse),
                    static_cast<unsigned long>(stk->top), static_cast<unsigned long>(stk->size),
                    stk->useallocator);
  for (int32_t b = 0; b < stk->numbufs; ++b) {
    VLR_sysenv_printf(sys, "  #%d %p size: %lu step: %lu\n", b, stk->bufs[b],
                      static_cast<unsigned long>(stk->sizes[b]),
                      static_cast<unsigned long>(stk->steps[b]));
  }
  for (int32_t k = 0; k < stk->numsizechecks; ++k) {
    VLR_sysenv_printf(sys, "  check id %d: stkuse <= %lu\n", stk->checkids[k],
                      static_cast<unsigned long>(stk->sizechecks[k]));
  }
}

// ---- Reserve-then-allocate stack ------------------------------------------------------------

int32_t VLR_GENERIC_CPU_bufstack_make(SysEnv* sys, BufStack** bs) {
  *bs = static_cast<BufStack*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(BufStack)));
  if (*bs == nullptr) return kSysNoSpace;
  (*bs)->sys = sys;
  return kSysOk;
}

void VLR_GENERIC_CPU_bufstack_reserve_dbg(BufStack* bs, const char* file, int line, size_t n) {
  const size_t step = bufstack_step(n);
  if (step < n || bs->sum + step < bs->sum) {
    VLR_sysenv_stopdbg(bs->sys, file, line, "bufstack: reserve of %lu bytes overflows",
                       static_cast<unsigned long>(n));
  }
  bs->sum += step;
}

void VLR_GENERIC_CPU_bufstack_reserven_dbg(BufStack* bs, const char* file, int line, size_t count,
                                           size_t size) {
  if (size != 0 && count > SIZE_MAX / size) {
    VLR_sysenv_stopdbg(bs->sys, file, line, "bufstack: reserve of %lu x %lu bytes overflows",
                       static_cast<unsigned long>(count), static_cast<unsigned long>(size));
  }
  VLR_GENERIC_CPU_bufstack_reserve_dbg(bs, file, line, count * size);
}

void VLR_GENERIC_CPU_bufstack_reset(BufStack* bs) {
  bs->maxsum = std::max(bs->maxsum, bs->sum);
  bs->sum = 0;
}

int32_t VLR_GENERIC_CPU_bufstack_allocate(BufStack* bs) {
  const size_t need = std::max(bs->maxsum, bs->sum);
  if (bs->raw != nullptr && bs->size >= need) return kSysOk;
  if (bs->top != 0) {
    VLR_sysenv_stopdbg(bs->sys, VLR_HERE, "bufstack: allocate with %lu bytes handed out",
                       static_cast<unsigned long>(bs->top));
  }
  VLR_sysenv_freedbg(bs->sys, VLR_HERE, bs->raw);
  bs->raw = bs->base = nullptr;
  bs->size = 0;
  // The allocator's own alignment is not relied on: a tracked block sits 8 bytes into its
  // allocation.
  bs->raw =
      static_cast<unsigned char*>(VLR_sysenv_mallocdbg(bs->sys, VLR_HERE, need + kBufStackAlign));
  if (bs->raw == nullptr) return kSysNoSpace;
  bs->base = align_up(bs->raw, kBufStackAlign);
  bs->size = need;
  return kSysOk;
}

void* VLR_GENERIC_CPU_bufstack_pop_dbg(BufStack* bs, const char* file, int line, size_t n) {
  const size_t step = bufstack_step(n);
  if (bs->base == nullptr || step > bs->size - bs->top) {
    VLR_sysenv_stopdbg(bs->sys, file, line,
                       "bufstack: pop of %lu bytes at %lu beyond the block of %lu",
                       static_cast<unsigned long>(n), static_cast<unsigned long>(bs->top),
                       static_cast<unsigned long>(bs->size));
  }
  void* p = bs->base + bs->top;
  bs->top += step;
  return p;
}

void VLR_GENERIC_CPU_bufstack_push_dbg(BufStack* bs, const char* file, int line, size_t n) {
  const size_t step = bufstack_step(n);
  if (step > bs->top) {
    VLR_sysenv_stopdbg(bs->sys, file, line, "bufstack: push of %lu bytes with %lu handed out",
                       static_cast<unsigned long>(n), static_cast<unsigned long>(bs->top));
  }
  bs->top -= step;
}

void VLR_GENERIC_CPU_bufstack_pushall_dbg(BufStack* bs, const char*, int) {
  bs->top = 0;
}

size_t VLR_GENERIC_CPU_bufstack_getreserved(const BufStack* bs) {
  return std::max(bs->maxsum, bs->sum);
}

size_t VLR_GENERIC_CPU_bufstack_gettop(const BufStack* bs) {
  return bs->top;
}

void VLR_GENERIC_CPU_bufstack_delete(BufStack** bs) {
  BufStack* b = *bs;
  if (b == nullptr) return;
  VLR_sysenv_freedbg(b->sys, VLR_HERE, b->raw);
  VLR_sysenv_freedbg(b->sys, VLR_HERE, b);
  *bs = nullptr;
}

}  // namespace vlr
