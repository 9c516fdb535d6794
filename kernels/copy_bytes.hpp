// Long copies to any address. glibc makes them by the processor's string instruction from a size of 2, 4 or 8
// KiB on, by the width of its vectors; where their destination is not aligned, that takes up to three times
// as long as vectors do on AMD's Zen. So such copies are made in pieces below the smallest of these sizes.
#pragma once

#include <cstdint>
#include <cstring>

namespace qvim {

inline constexpr uint64_t string_copy_from = 2048;

void copy_in_pieces(void *to, const void *from, uint64_t count);

inline void copy_bytes(void *to, const void *from, uint64_t count) {
  if (count >= string_copy_from && reinterpret_cast<uintptr_t>(to) % 64 != 0)
    copy_in_pieces(to, from, count);
  else
    std::memcpy(to, from, count);
}

}  // namespace qvim
