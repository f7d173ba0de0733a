// src/velor/taskbuf.cpp: the task's scratch buffers, pooled by element width so that work
// arrays are reused instead of allocated in loops.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "velor/task.h"

namespace vlr {

namespace {

constexpr int32_t kNumWidths = 9;  // element widths 0 to 8 bytes

struct BufNode {
  int64_t capacity;              // elements
  int32_t delete_when_returned;  // set when the task was resized while the buffer was out
  int32_t zeroed;                // 1: handed out zeroed and must come back zeroed
  void* data;
  BufNode* next;
};

}  // namespace

struct ScratchPool {
  BufNode* free_list[kNumWidths];  // sorted by capacity, ascending
  BufNode* used_list[kNumWidths];
};

namespace {

void pool_freenode(SysEnv* sys, BufNode* node) {
  VLR_sysenv_freedbg(sys, VLR_HERE, node->data);
  VLR_sysenv_freedbg(sys, VLR_HERE, node);
}

void pool_insertfree(ScratchPool* pool, int32_t width, BufNode* node) {
  BufNode** at = &pool->free_list[width];
  while (*at != nullptr && (*at)->capacity < node->capacity)
    at = &(*at)->next;
  node->next = *at;
  *at = node;
}

void pool_freelist(SysEnv* sys, BufNode** list) {
  while (*list != nullptr) {
    BufNode* next = (*list)->next;
    pool_freenode(sys, *list);
    *list = next;
  }
}

}  // namespace

int32_t VLR_makebuffers(Task* task) {
  task->pool =
      static_cast<ScratchPool*>(VLR_sysenv_callocdbg(task->sys, VLR_HERE, 1, sizeof(ScratchPool)));
  return task->pool != nullptr ? VLR_RES_OK : VLR_RES_ERR_SPACE;
}

void VLR_deletebuffers(Task* task) {
  if (task->pool == nullptr) return;
  for (int32_t w = 0; w < kNumWidths; ++w) {
    pool_freelist(task->sys, &task->pool->free_list[w]);
    pool_freelist(task->sys, &task->pool->used_list[w]);
  }
  VLR_sysenv_freedbg(task->sys, VLR_HERE, task->pool);
  task->pool = nullptr;
}

void VLR_markbuffersfordelete(Task* task) {
  if (task->pool == nullptr) return;
  for (int32_t w = 0; w < kNumWidths; ++w) {
    pool_freelist(task->sys, &task->pool->free_list[w]);
    for (BufNode* node = task->pool->used_list[w]; node != nullptr; node = node->next) {
      node->delete_when_returned = 1;
    }
  }
}

void* VLR_getbufdbg(const char* file, int line, Task* task, int64_t count, int32_t width,
                    int32_t zeroed, int32_t* res) {
  if (res != nullptr) *res = VLR_RES_OK;
  if (count <= 0) return nullptr;
  VLR_asserttaskdbg(task, file, line, width >= 1 && width < kNumWidths);
  ScratchPool* pool = task->pool;
  BufNode** at = &pool->free_list[width];
  while (*at != nullptr && ((*at)->capacity < count || (*at)->zeroed != (zeroed != 0))) {
    at = &(*at)->next;
  }
  BufNode* node = *at;
  if (node != nullptr) {
    *at = node->next;
  } else {
    node = static_cast<BufNode*>(VLR_sysenv_callocdbg(task->sys, file, line, 1, sizeof(BufNode)));
    void* data = node == nullptr ? nullptr
                                 : VLR_sysenv_callocdbg(task->sys, file, line, count,
                                                        static_cast<size_t>(width));
    if (data == nullptr) {
      VLR_sysenv_freedbg(task->sys, VLR_HERE, node);
      const int32_t r = VLR_exceptiontaskdbg(file, line, "", task, VLR_RES_ERR_SPACE);
      if (res != nullptr) *res = r;
      return nullptr;
    }
    node->capacity = count;
    node->zeroed = zeroed != 0;
    node->data = data;
  }
  node->next = pool->used_list[width];
  pool->used_list[width] = node;
  return node->data;
}

void VLR_putbuf(Task* task, int32_t width, int32_t zeroed, void** ptr) {
  if (ptr == nullptr || *ptr == nullptr) return;
  ScratchPool* pool = task->pool;
  VLR_ASSERT(task, width >= 1 && width < kNumWidths);
  BufNode** at = &pool->used_list[width];
  while (*at != nullptr && (*at)->data != *ptr)
    at = &(*at)->next;
  BufNode* node = *at;
  VLR_ASSERT(task, node != nullptr);
  VLR_ASSERT(task, node->zeroed == (zeroed != 0));
  *at = node->next;
  *ptr = nullptr;
  if (node->delete_when_returned) {
    pool_freenode(task->sys, node);
  } else {
    pool_insertfree(pool, width, node);
  }
}

}  // namespace vlr
