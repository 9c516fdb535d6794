// Byte shuffles, which processors of level v3 and v4 have an instruction for.
#pragma once

#include <cstdint>

#include "convert/clones.hpp"

namespace qvim {

typedef uint8_t bytes16 __attribute__((vector_size(16)));

// Byte i of the result is byte order[i] of the value.
QVIM_INLINE bytes16 shuffled(bytes16 value, bytes16 order) {
#if defined(__clang__)
  bytes16 result;
  for (int i = 0; i < 16; ++i) result[i] = value[order[i]];
  return result;
#else
  return __builtin_shuffle(value, order);
#endif
}

}  // namespace qvim
