// tests/failalloc.h: an allocator for VLR_sysenv_make that fails its k-th call once armed, for the
// tests that fail every allocation of a module in turn.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace vlrtest {

// Counts the calls from when failat is set (>= 0); the call numbered failat gets null.
struct FailAlloc {
  int64_t calls = 0, failat = -1;
};
inline void* FailMalloc(void* usr, size_t size) {
  auto* f = static_cast<FailAlloc*>(usr);
  if (f->failat >= 0 && f->calls++ == f->failat) return nullptr;
  return std::malloc(size);
}
inline void FailFree(void*, void* block) {
  std::free(block);
}

}  // namespace vlrtest
