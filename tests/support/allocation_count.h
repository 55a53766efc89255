#pragma once

#include <cstddef>

/// Counts the calls of malloc of this thread in a test program; included by one of its files. The checked
/// build has an allocator of its own, and there is no count there.
#if !defined(__SANITIZE_ADDRESS__)
#define VELORA_COUNTS_ALLOCATIONS

namespace test {
inline thread_local long allocationCount = 0;
}

extern "C" {
void* __libc_malloc(std::size_t size);
void* malloc(std::size_t size) {
  ++test::allocationCount;
  return __libc_malloc(size);
}
}

#endif
