// Copies of 2 to 4 KiB to any address, and of many KiB.
#include "kernels/copy_bytes.hpp"

namespace qvim {

void copy_in_pieces(void *to, const void *from, uint64_t count) {
  uint64_t piece = string_copy_from - 64;  // still whole cache lines
  asm("" : "+r"(piece));  // for a size that it knows the compiler would use the string instruction itself
  auto *t = static_cast<uint8_t *>(to);
  auto *f = static_cast<const uint8_t *>(from);
  for (; count > piece; count -= piece, t += piece, f += piece) std::memcpy(t, f, piece);
  asm("" : "+r"(count));
  std::memcpy(t, f, count);
}

// The destination's first line is begun apart, so that each piece begins with one.
void copy_long(void *to, const void *from, uint64_t count) {
  constexpr uint64_t line = 64;
  auto *t = static_cast<uint8_t *>(to);
  auto *f = static_cast<const uint8_t *>(from);
  for (uint64_t n = -reinterpret_cast<uintptr_t>(t) % line; count;
       n = count < long_piece ? count : long_piece) {
    std::memcpy(t, f, n);
    t += n;
    f += n;
    count -= n;
  }
}

}  // namespace qvim
