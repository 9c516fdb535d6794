// The largest value of a component, from the count of bits used.
#pragma once

#include <cstdint>

#include "kernels/run.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

// bits: of type uint32_t, or null. A count of 0, of the component's width or of more means all bits.
template <class T>
QVIM_INLINE uint32_t full_scale(const void *bits) {
  constexpr uint32_t width = 8 * sizeof(T);
  const uint32_t used = bits ? load<uint32_t>(static_cast<const char *>(bits)) : 0;
  return 0xFFFFFFFFu >> (32 - (used && used < width ? used : width));
}

}  // namespace QVIM_LEVEL
}  // namespace qvim
