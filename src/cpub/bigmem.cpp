// src/cpub/bigmem.cpp: large blocks from regions of huge pages. A region is mapped once, aligned
// to the huge page and advised to use it, and its free extents are kept by address and merged
// with their neighbours: a block given back is handed out again without the page faults of new
// memory, and the arrays of a large model sit on few pages of the translation buffer.
// SPDX-License-Identifier: Apache-2.0
#include "cpub/bigmem.h"

#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace vlr {

namespace {

constexpr size_t kHuge = size_t{2} << 20;        // a huge page
constexpr size_t kRegionMin = size_t{64} << 20;  // the least size of a region
// The most a parent keeps in regions for its children: they hold the pages a child touched,
// which the next child then has without page faults; beyond it regions go back to the system.
constexpr size_t kSpareMax = size_t{256} << 20;
constexpr size_t kGrain = 4096;  // extents are whole small pages
constexpr size_t kHead = 64;     // before each block: its extent's length

// Every block of the regions has a tag in the word before it: large, or small of a class.
constexpr uint64_t kBigTag = 0x6c61726765ULL;      // "large"
constexpr uint64_t kSmallTag = 0x736d616c6c00ULL;  // "small", the class in the low byte
constexpr size_t kSlab = size_t{32} << 10;         // small blocks are cut from slabs
constexpr size_t kSmallHead = 16;                  // before each small block: its tag
// The sizes of the small classes, two to each power of two, all multiples of 16.
constexpr size_t kClassSize[] = {16,  32,   48,   64,   96,   128,  192,  256,  384,   512,
                                 768, 1024, 1536, 2048, 3072, 4096, 6144, 8192, 12288, 16384};
constexpr int32_t kClasses = static_cast<int32_t>(sizeof kClassSize / sizeof kClassSize[0]);
static_assert(kClassSize[kClasses - 1] >= kBigMemMin, "every small block has a class");

struct Extent {
  size_t off, len;
};

struct Region {
  unsigned char* base;
  size_t size;
  size_t live;   // bytes handed out
  size_t fresh;  // from this offset on nothing was ever handed out: the pages are still zero
  Extent* ext;   // the free extents by offset, never two adjacent
  int32_t next, cap;
  Region* link;
};

size_t roundup(size_t v, size_t to) {
  return (v + to - 1) / to * to;
}

// A region of at least size bytes on a huge-page boundary; null when the system refuses.
Region* region_map(size_t size) {
  auto* r = static_cast<Region*>(std::calloc(1, sizeof(Region)));
  if (r == nullptr) return nullptr;
  r->ext = static_cast<Extent*>(std::malloc(8 * sizeof(Extent)));
  const size_t want = size + kHuge;
  void* p = r->ext == nullptr ? MAP_FAILED
                              : mmap(nullptr, want, PROT_READ | PROT_WRITE,
                                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (p == MAP_FAILED) {
    std::free(r->ext);
    std::free(r);
    return nullptr;
  }
  // Cut the mapping down to the aligned part.
  const auto at = reinterpret_cast<uintptr_t>(p);
  const uintptr_t aligned = roundup(at, kHuge);
  if (aligned > at) munmap(p, aligned - at);
  const size_t tail = at + want - (aligned + size);
  if (tail > 0) munmap(reinterpret_cast<void*>(aligned + size), tail);
  r->base = reinterpret_cast<unsigned char*>(aligned);
  r->size = size;
  // Advice only: without huge pages the region is still reused.
  madvise(r->base, size, MADV_HUGEPAGE);
  r->cap = 8;
  r->next = 1;
  r->ext[0] = {0, size};
  return r;
}

void region_unmap(Region* r) {
  munmap(r->base, r->size);
  std::free(r->ext);
  std::free(r);
}

// The extent [off, off + len) back into the free list, merged with its neighbours. False when
// the list cannot grow (the bytes are then lost to this region, never handed out twice).
bool region_put(Region* r, size_t off, size_t len) {
  int32_t at = 0;  // the first extent after off
  int32_t lo = 0, hi = r->next;
  while (lo < hi) {
    const int32_t mid = (lo + hi) / 2;
    if (r->ext[mid].off < off) {
      lo = mid + 1;
    } else {
      hi = mid;
    }
  }
  at = lo;
  const bool before = at > 0 && r->ext[at - 1].off + r->ext[at - 1].len == off;
  const bool after = at < r->next && off + len == r->ext[at].off;
  if (before && after) {
    r->ext[at - 1].len += len + r->ext[at].len;
    std::memmove(r->ext + at, r->ext + at + 1,
                 sizeof(Extent) * static_cast<size_t>(r->next - at - 1));
    --r->next;
    return true;
  }
  if (before) {
    r->ext[at - 1].len += len;
    return true;
  }
  if (after) {
    r->ext[at].off = off;
    r->ext[at].len += len;
    return true;
  }
  if (r->next == r->cap) {
    auto* grown = static_cast<Extent*>(
        std::realloc(r->ext, 2 * sizeof(Extent) * static_cast<size_t>(r->cap)));
    if (grown == nullptr) return false;
    r->ext = grown;
    r->cap *= 2;
  }
  std::memmove(r->ext + at + 1, r->ext + at, sizeof(Extent) * static_cast<size_t>(r->next - at));
  r->ext[at] = {off, len};
  ++r->next;
  return true;
}

// The first extent of r that holds len bytes, cut from its front; the offset, or SIZE_MAX.
size_t region_take(Region* r, size_t len) {
  for (int32_t t = 0; t < r->next; ++t) {
    Extent& e = r->ext[t];
    if (e.len < len) continue;
    const size_t off = e.off;
    e.off += len;
    e.len -= len;
    if (e.len == 0) {
      std::memmove(r->ext + t, r->ext + t + 1,
                   sizeof(Extent) * static_cast<size_t>(r->next - t - 1));
      --r->next;
    }
    r->live += len;
    return off;
  }
  return SIZE_MAX;
}

}  // namespace

struct BigMem {
  pthread_mutex_t mutex;
  Region* head;  // oldest first: blocks fill the old regions before the new
  // A child gives the regions it no longer needs to its parent, which keeps up to kSpareMax
  // bytes of them (`spare`, linked, under the parent's lock) for the next child that needs one.
  BigMem* parent;
  Region* spare;
  size_t sparebytes;
  // Small blocks by class: those given back (linked through their first word), and the rest of
  // the slab being cut.
  void* freed[kClasses];
  unsigned char* cut[kClasses];
  size_t cutleft[kClasses];
  // The address range any region ever covered: a block outside it is not asked about under
  // the lock (most frees are of small blocks).
  std::atomic<uintptr_t> lo, hi;
};

namespace {

// A region bm no longer needs: to its parent's spares while they stay within kSpareMax, else
// back to the system. Its blocks are forgotten; what was ever handed out stays marked as not
// fresh. Under bm's lock, which comes before the parent's.
void releaseregion(BigMem* bm, Region* r) {
  BigMem* parent = bm->parent;
  if (parent != nullptr) {
    r->live = 0;
    r->next = 1;
    r->ext[0] = {0, r->size};
    pthread_mutex_lock(&parent->mutex);
    if (parent->sparebytes + r->size <= kSpareMax) {
      r->link = parent->spare;
      parent->spare = r;
      parent->sparebytes += r->size;
      r = nullptr;
    }
    pthread_mutex_unlock(&parent->mutex);
  }
  if (r != nullptr) region_unmap(r);
}

// The smallest of the parent's spare regions that holds size bytes; null when none does.
Region* takespare(BigMem* bm, size_t size) {
  BigMem* parent = bm->parent;
  if (parent == nullptr) return nullptr;
  pthread_mutex_lock(&parent->mutex);
  Region** best = nullptr;
  for (Region** link = &parent->spare; *link != nullptr; link = &(*link)->link)
    if ((*link)->size >= size && (best == nullptr || (*link)->size < (*best)->size)) best = link;
  Region* r = nullptr;
  if (best != nullptr) {
    r = *best;
    *best = r->link;
    r->link = nullptr;
    parent->sparebytes -= r->size;
  }
  pthread_mutex_unlock(&parent->mutex);
  return r;
}

// Gives up the regions that hold no block; under the lock.
void unmapempty(BigMem* bm) {
  for (Region** link = &bm->head; *link != nullptr;) {
    Region* r = *link;
    if (r->live == 0) {
      *link = r->link;
      releaseregion(bm, r);
    } else {
      link = &r->link;
    }
  }
}

}  // namespace

BigMem* VLR_bigmem_make() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return nullptr;  // a sanitizer must see every block
#else
  auto* bm = static_cast<BigMem*>(std::calloc(1, sizeof(BigMem)));
  if (bm == nullptr) return nullptr;
  if (pthread_mutex_init(&bm->mutex, nullptr) != 0) {
    std::free(bm);
    return nullptr;
  }
  bm->lo.store(UINTPTR_MAX, std::memory_order_relaxed);
  bm->hi.store(0, std::memory_order_relaxed);
  return bm;
#endif
}

void VLR_bigmem_setparent(BigMem* bm, BigMem* parent) {
  if (bm != nullptr) bm->parent = parent;
}

void VLR_bigmem_delete(BigMem** pbm) {
  BigMem* bm = *pbm;
  if (bm == nullptr) return;
  Region* r = bm->head;
  while (r != nullptr) {
    Region* link = r->link;
    releaseregion(bm, r);
    r = link;
  }
  for (Region* sp = bm->spare; sp != nullptr;) {
    Region* link = sp->link;
    region_unmap(sp);
    sp = link;
  }
  pthread_mutex_destroy(&bm->mutex);
  std::free(bm);
  *pbm = nullptr;
}

namespace {

// An extent of len bytes from the regions, a new region mapped when none holds it; under the
// lock. Null when the system refuses; *used is how many of its first bytes were handed out
// before (the rest is still zero).
unsigned char* bigmem_take(BigMem* bm, size_t len, size_t* used) {
  Region* r = bm->head;
  size_t off = SIZE_MAX;
  for (; r != nullptr; r = r->link) {
    off = region_take(r, len);
    if (off != SIZE_MAX) break;
  }
  if (r == nullptr) {
    // The empty regions could not hold the block: they go before a new one comes, so that a
    // model whose arrays grow does not keep each size it passed through.
    unmapempty(bm);
    const size_t want = std::max(kRegionMin, roundup(len, kHuge));
    r = takespare(bm, want);
    if (r == nullptr) r = region_map(want);
    if (r == nullptr) return nullptr;
    Region** tail = &bm->head;
    while (*tail != nullptr)
      tail = &(*tail)->link;
    *tail = r;
    const auto b = reinterpret_cast<uintptr_t>(r->base);
    if (b < bm->lo.load(std::memory_order_relaxed)) bm->lo.store(b, std::memory_order_relaxed);
    if (b + r->size > bm->hi.load(std::memory_order_relaxed))
      bm->hi.store(b + r->size, std::memory_order_relaxed);
    off = region_take(r, len);
  }
  *used = r->fresh > off ? std::min(len, r->fresh - off) : 0;
  r->fresh = std::max(r->fresh, off + len);
  return r->base + off;
}

}  // namespace

void* VLR_bigmem_alloc(BigMem* bm, size_t size, bool clear) {
  if (size > SIZE_MAX / 2) return nullptr;
  const size_t len = roundup(size + kHead, kGrain);
  size_t used = 0;
  pthread_mutex_lock(&bm->mutex);
  unsigned char* at = bigmem_take(bm, len, &used);
  pthread_mutex_unlock(&bm->mutex);
  if (at == nullptr) return nullptr;
  unsigned char* block = at + kHead;
  std::memcpy(at, &len, sizeof(len));
  std::memcpy(block - sizeof(kBigTag), &kBigTag, sizeof(kBigTag));
  // Only the part that was handed out before can hold old data.
  if (clear && used > kHead) std::memset(block, 0, std::min(size, used - kHead));
  return block;
}

void* VLR_bigmem_allocsmall(BigMem* bm, size_t size, bool clear) {
  int32_t c = 0;
  while (c < kClasses && kClassSize[c] < size)
    ++c;
  if (c == kClasses) return VLR_bigmem_alloc(bm, size, clear);
  const size_t slot = kSmallHead + kClassSize[c];
  unsigned char* block = nullptr;
  pthread_mutex_lock(&bm->mutex);
  if (bm->freed[c] != nullptr) {
    block = static_cast<unsigned char*>(bm->freed[c]);
    std::memcpy(&bm->freed[c], block, sizeof(void*));
  } else {
    if (bm->cutleft[c] < slot) {
      // A slab of at least four blocks: the small blocks of a run then sit on few pages.
      const size_t len = std::max(kSlab, roundup(4 * slot, kGrain));
      size_t used = 0;
      bm->cut[c] = bigmem_take(bm, len, &used);
      bm->cutleft[c] = bm->cut[c] == nullptr ? 0 : len;
    }
    if (bm->cutleft[c] >= slot) {
      block = bm->cut[c] + kSmallHead;
      bm->cut[c] += slot;
      bm->cutleft[c] -= slot;
    }
  }
  pthread_mutex_unlock(&bm->mutex);
  if (block == nullptr) return nullptr;
  const uint64_t tag = kSmallTag | static_cast<uint64_t>(c);
  std::memcpy(block - sizeof(tag), &tag, sizeof(tag));
  if (clear) std::memset(block, 0, size);
  return block;
}

bool VLR_bigmem_free(BigMem* bm, void* block) {
  const auto at = reinterpret_cast<uintptr_t>(block);
  if (at < bm->lo.load(std::memory_order_relaxed) || at >= bm->hi.load(std::memory_order_relaxed))
    return false;
  pthread_mutex_lock(&bm->mutex);
  Region* r = bm->head;
  while (r != nullptr && !(static_cast<unsigned char*>(block) >= r->base &&
                           static_cast<unsigned char*>(block) < r->base + r->size)) {
    r = r->link;
  }
  if (r == nullptr) {
    pthread_mutex_unlock(&bm->mutex);
    return false;
  }
  uint64_t tag = 0;
  std::memcpy(&tag, static_cast<unsigned char*>(block) - sizeof(tag), sizeof(tag));
  if ((tag & ~uint64_t{0xff}) == kSmallTag) {
    // A small block goes on its class's list; its slab stays.
    const auto c = static_cast<size_t>(tag & 0xff);
    std::memcpy(block, &bm->freed[c], sizeof(void*));
    bm->freed[c] = block;
    pthread_mutex_unlock(&bm->mutex);
    return true;
  }
  const size_t off = static_cast<size_t>(static_cast<unsigned char*>(block) - r->base) - kHead;
  size_t len = 0;
  std::memcpy(&len, r->base + off, sizeof(len));
  region_put(r, off, len);
  r->live -= len;
  pthread_mutex_unlock(&bm->mutex);
  return true;
}

void VLR_bigmem_trim(BigMem* bm) {
  if (bm == nullptr) return;
  pthread_mutex_lock(&bm->mutex);
  unmapempty(bm);
  pthread_mutex_unlock(&bm->mutex);
}

void VLR_bigmem_usage(BigMem* bm, int32_t* regions, size_t* mapped) {
  *regions = 0;
  *mapped = 0;
  if (bm == nullptr) return;
  pthread_mutex_lock(&bm->mutex);
  for (Region* r = bm->head; r != nullptr; r = r->link) {
    ++*regions;
    *mapped += r->size;
  }
  pthread_mutex_unlock(&bm->mutex);
}

}  // namespace vlr
