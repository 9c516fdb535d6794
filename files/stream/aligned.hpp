// Block buffers begin at a page: the kernel copies whole pages faster, and codecs may use any vector width.
#pragma once

#include <cstdint>

namespace qvim {

inline constexpr uint64_t page_bytes = 4096;

// The first page boundary at or after the address; an allocation for it needs page_bytes more.
inline uint8_t *page_aligned(void *p) {
  return static_cast<uint8_t *>(p) + (-reinterpret_cast<uintptr_t>(p) & (page_bytes - 1));
}

}  // namespace qvim
