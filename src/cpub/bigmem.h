// src/cpub/bigmem.h: large blocks of the memory manager, served from regions of huge pages and
// reused within them; private to the system layer.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace vlr {

// A block at least this large comes from the regions; a smaller one from the C allocator, unless
// its owner asks for small blocks too (VLR_bigmem_allocsmall).
constexpr size_t kBigMemMin = size_t{16} << 10;

struct BigMem;

// Null when the regions cannot be had (the caller then uses the C allocator for every block).
// Under a sanitizer the regions are off, so that it sees every block.
BigMem* VLR_bigmem_make();
// From now on the regions bm gives up go to parent, which keeps one for the next BigMem of the
// same parent that needs a region (a task's from its environment's): a process that makes task
// after task reuses the pages the last one touched. The parent must outlive bm.
void VLR_bigmem_setparent(BigMem* bm, BigMem* parent);
// Gives up every region, with whatever blocks are left in them.
void VLR_bigmem_delete(BigMem** pbm);
// A block of size bytes, 64-byte aligned, cleared when asked; null when out of memory.
void* VLR_bigmem_alloc(BigMem* bm, size_t size, bool clear);
// A block below kBigMemMin bytes, 16-byte aligned, cleared when asked; null when out of memory.
// Small blocks are cut by size class from slabs of the regions and reused through a free list
// per class; the slabs stay until the regions are deleted, so this is for owners that do not
// live long (a racer's task, on a thread whose own C heap would grow a page at a time).
void* VLR_bigmem_allocsmall(BigMem* bm, size_t size, bool clear);
// Gives a block back, large or small; false when the block is not one of the regions'.
bool VLR_bigmem_free(BigMem* bm, void* block);
// Gives up the regions that hold no block.
void VLR_bigmem_trim(BigMem* bm);
// Regions mapped and bytes mapped in them.
void VLR_bigmem_usage(BigMem* bm, int32_t* regions, size_t* mapped);

}  // namespace vlr
