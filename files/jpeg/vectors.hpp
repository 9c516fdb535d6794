// Vectors of eight numbers, which every processor level makes of what it has, and the rearrangements that
// transforms of 8 x 8 blocks need.
#pragma once

#include <cstdint>
#include <cstring>

#include "kernels/clones.hpp"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace qvim::jpeg {

typedef float floats __attribute__((vector_size(32)));
typedef int32_t ints __attribute__((vector_size(32)));
typedef int16_t shorts __attribute__((vector_size(16)));
typedef uint8_t bytes __attribute__((vector_size(16)));

template <class V, class T>
QVIM_INLINE V loaded(const T *from) {
  V v;
  std::memcpy(&v, from, sizeof v);
  return v;
}

QVIM_INLINE floats all(float v) { return floats{v, v, v, v, v, v, v, v}; }

QVIM_INLINE floats to_floats(ints v) { return __builtin_convertvector(v, floats); }
QVIM_INLINE ints truncated(floats v) { return __builtin_convertvector(v, ints); }
QVIM_INLINE ints widened(shorts v) { return __builtin_convertvector(v, ints); }

// The first of a, the first of b, the second of a, ...: of their lower and of their upper halves.
QVIM_INLINE bytes low_pairs(bytes a, bytes b) {
  return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}
QVIM_INLINE bytes high_pairs(bytes a, bytes b) {
  return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
}

// Saturated to 16 bits.
QVIM_INLINE shorts narrowed(ints v) {
#ifdef __SSE2__
  __m128i half[2];
  std::memcpy(half, &v, sizeof half);
  return reinterpret_cast<shorts>(_mm_packs_epi32(half[0], half[1]));
#else
  const ints lowest = ints{} - 32768, highest = ints{} + 32767;
  v = v < lowest ? lowest : v;
  v = v > highest ? highest : v;
  return __builtin_convertvector(v, shorts);
#endif
}

// Rows become columns.
QVIM_INLINE void transpose(floats (&m)[8]) {
  floats pairs[8], quads[8];
  for (int i = 0; i < 8; i += 2) {
    pairs[i] = __builtin_shufflevector(m[i], m[i + 1], 0, 8, 1, 9, 4, 12, 5, 13);
    pairs[i + 1] = __builtin_shufflevector(m[i], m[i + 1], 2, 10, 3, 11, 6, 14, 7, 15);
  }
  for (int i = 0; i < 8; i += 4)
    for (int k = 0; k < 2; ++k) {
      const floats a = pairs[i + k], b = pairs[i + 2 + k];
      quads[i + 2 * k] = __builtin_shufflevector(a, b, 0, 1, 8, 9, 4, 5, 12, 13);
      quads[i + 2 * k + 1] = __builtin_shufflevector(a, b, 2, 3, 10, 11, 6, 7, 14, 15);
    }
  for (int i = 0; i < 4; ++i) {
    m[i] = __builtin_shufflevector(quads[i], quads[i + 4], 0, 1, 2, 3, 8, 9, 10, 11);
    m[i + 4] = __builtin_shufflevector(quads[i], quads[i + 4], 4, 5, 6, 7, 12, 13, 14, 15);
  }
}

// Eight lines of eight bytes become eight vectors of a byte from each line, top to bottom; of lines that
// `half` reads from either half of a vector.
template <int half>
QVIM_INLINE void columns(const bytes (&lines)[8], ints (&out)[8]) {
  const auto pairs = [](bytes a, bytes b) __attribute__((always_inline)) {
    return half ? high_pairs(a, b) : low_pairs(a, b);
  };
  bytes four[4];  // lines i and i + 4
  for (int i = 0; i < 4; ++i) four[i] = pairs(lines[i], lines[i + 4]);
  const bytes even[2] = {low_pairs(four[0], four[2]), high_pairs(four[0], four[2])},
              odd[2] = {low_pairs(four[1], four[3]), high_pairs(four[1], four[3])};
  for (int i = 0; i < 2; ++i) {
    const bytes two[2] = {low_pairs(even[i], odd[i]), high_pairs(even[i], odd[i])};
    for (int k = 0; k < 2; ++k) {  // little-endian: zeros become the upper bytes
      out[4 * i + 2 * k] = widened(reinterpret_cast<shorts>(low_pairs(two[k], bytes{})));
      out[4 * i + 2 * k + 1] = widened(reinterpret_cast<shorts>(high_pairs(two[k], bytes{})));
    }
  }
}

}  // namespace qvim::jpeg
