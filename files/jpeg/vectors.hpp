// Vectors of eight numbers, which every processor level makes of what it has, and the rearrangements that
// transforms of 8 x 8 blocks need.
#pragma once

#include <cstdint>
#include <cstring>

#include "kernels/level.hpp"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace qvim::jpeg {
inline namespace QVIM_LEVEL {

typedef float floats __attribute__((vector_size(32)));
typedef int32_t ints __attribute__((vector_size(32)));
typedef int16_t shorts __attribute__((vector_size(16)));
typedef uint8_t bytes __attribute__((vector_size(16)));
// Two blocks side by side.
typedef int16_t two_shorts __attribute__((vector_size(32)));
typedef uint8_t two_bytes __attribute__((vector_size(32)));

template <class V, class T>
QVIM_INLINE V loaded(const T *from) {
  V v;
  std::memcpy(&v, from, sizeof v);
  return v;
}

// Eight bytes, and zeros above them: by way of a register, since a vector waits for parts of it in memory.
QVIM_INLINE bytes loaded_half(const uint8_t *from) {
  typedef uint64_t words __attribute__((vector_size(16)));
  return reinterpret_cast<bytes>(words{loaded<uint64_t>(from), 0});
}
QVIM_INLINE void store_half(uint8_t *to, bytes v) {
  typedef uint64_t words __attribute__((vector_size(16)));
  const uint64_t low = reinterpret_cast<words>(v)[0];
  std::memcpy(to, &low, sizeof low);
}

QVIM_INLINE floats all(float v) { return floats{v, v, v, v, v, v, v, v}; }

QVIM_INLINE floats to_floats(ints v) { return __builtin_convertvector(v, floats); }
QVIM_INLINE ints truncated(floats v) { return __builtin_convertvector(v, ints); }
QVIM_INLINE ints widened(shorts v) { return __builtin_convertvector(v, ints); }

// The first of a, the first of b, the second of a, ...: of their lower and of their upper halves, or of
// those of each 16 bytes.
QVIM_INLINE bytes low_pairs(bytes a, bytes b) {
  return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}
QVIM_INLINE bytes high_pairs(bytes a, bytes b) {
  return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
}
QVIM_INLINE two_bytes low_pairs(two_bytes a, two_bytes b) {
  return __builtin_shufflevector(a, b, 0, 32, 1, 33, 2, 34, 3, 35, 4, 36, 5, 37, 6, 38, 7, 39, 16, 48, 17, 49,
                                 18, 50, 19, 51, 20, 52, 21, 53, 22, 54, 23, 55);
}
QVIM_INLINE two_bytes high_pairs(two_bytes a, two_bytes b) {
  return __builtin_shufflevector(a, b, 8, 40, 9, 41, 10, 42, 11, 43, 12, 44, 13, 45, 14, 46, 15, 47, 24, 56,
                                 25, 57, 26, 58, 27, 59, 28, 60, 29, 61, 30, 62, 31, 63);
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

// The low byte of each number, of numbers from 0 to 255; the vector's upper half means nothing.
QVIM_INLINE bytes low_bytes(shorts v) {
#ifdef __SSE2__
  const auto numbers = reinterpret_cast<__m128i>(v);
  return reinterpret_cast<bytes>(_mm_packus_epi16(numbers, numbers));
#else
  const auto all_bytes = reinterpret_cast<bytes>(v);
  return __builtin_shufflevector(all_bytes, all_bytes, 0, 2, 4, 6, 8, 10, 12, 14, 0, 2, 4, 6, 8, 10, 12, 14);
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

// Eight lines of bytes become columns, top to bottom, a half of a vector each; the lines' lower or upper
// halves.
template <class V>
QVIM_INLINE void columns(const V (&lines)[8], bool upper, V (&out)[4]) {
  V four[4];  // lines i and i + 4
  for (int i = 0; i < 4; ++i)
    four[i] = upper ? high_pairs(lines[i], lines[i + 4]) : low_pairs(lines[i], lines[i + 4]);
  const V even[2] = {low_pairs(four[0], four[2]), high_pairs(four[0], four[2])},
          odd[2] = {low_pairs(four[1], four[3]), high_pairs(four[1], four[3])};
  for (int i = 0; i < 2; ++i) {
    out[2 * i] = low_pairs(even[i], odd[i]);
    out[2 * i + 1] = high_pairs(even[i], odd[i]);
  }
}

}  // namespace QVIM_LEVEL
}  // namespace qvim::jpeg
