// Bytes of a vector replaced by entries of a table of bytes, without a load for each.
#pragma once

#include <cstdint>

#include "kernels/vectors.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

constexpr int byte_values = 256;

#if QVIM_LANES == 4
// Any byte of two vectors goes to any place: of the two halves of the table, bit 7 of the value chooses.
class byte_lookup {
  vec<uint8_t> part[4];

 public:
  QVIM_INLINE explicit byte_lookup(const uint8_t (&entries)[byte_values]) {
    std::memcpy(part, entries, sizeof part);
  }
  QVIM_INLINE vec<uint8_t> operator()(vec<uint8_t> v) const {
    const auto of_two = [=](vec<uint8_t> a, vec<uint8_t> b) __attribute__((always_inline)) {
      return _mm512_permutex2var_epi8((__m512i)a, (__m512i)v, (__m512i)b);
    };
    return (vec<uint8_t>)_mm512_mask_blend_epi8(_mm512_movepi8_mask((__m512i)v), of_two(part[0], part[1]),
                                                of_two(part[2], part[3]));
  }
};
#elif QVIM_LANES == 2
// Sixteen entries at a time, by the low four bits of bytes that are not negative: the value less 16 for each
// sixteen before. Entries are kept as their difference, by exclusive or, to those 16 before, so that the sum
// of all is the last one's.
class byte_lookup {
  static constexpr int sixteen = 16, half = byte_values / 2;
  alignas(vector_bytes) uint8_t differences[byte_values];

  QVIM_INLINE vec<uint8_t> of_half(const uint8_t *from, vec<uint8_t> v) const {
    vec<uint8_t> result{};
    for (int i = 0; i < half; i += sixteen) {
      result ^= shuffled_lanes(in_all_lanes<uint8_t>(from + i), v);
      v = (vec<uint8_t>)_mm256_subs_epi8((__m256i)v, _mm256_set1_epi8(sixteen));
    }
    return result;
  }

 public:
  QVIM_INLINE explicit byte_lookup(const uint8_t (&entries)[byte_values]) {
    for (int i = 0; i < byte_values; ++i)
      differences[i] = i % half < sixteen ? entries[i] : uint8_t(entries[i] ^ entries[i - sixteen]);
  }
  QVIM_INLINE vec<uint8_t> operator()(vec<uint8_t> v) const {
    return of_half(differences, v) ^ of_half(differences + half, v ^ half);
  }
};
#elif QVIM_LANES == 1
// Sixty-four entries at a time: those of larger values are 0.
class byte_lookup {
  static constexpr int at_a_time = 64, parts = byte_values / at_a_time;
  uint8x16x4_t part[parts];

 public:
  QVIM_INLINE explicit byte_lookup(const uint8_t (&entries)[byte_values]) {
    for (int i = 0; i < parts; ++i) part[i] = vld1q_u8_x4(entries + i * at_a_time);
  }
  QVIM_INLINE vec<uint8_t> operator()(vec<uint8_t> v) const {
    vec<uint8_t> result{};
    for (int i = 0; i < parts; ++i, v -= at_a_time)
      result |= (vec<uint8_t>)vqtbl4q_u8(part[i], (uint8x16_t)v);
    return result;
  }
};
#endif

// The largest byte of a run.
QVIM_INLINE uint8_t largest_byte(const char *src, uint64_t count) {
  uint8_t largest = 0;
  for (uint64_t i = 0; i < count; ++i) largest = uint8_t(src[i]) > largest ? uint8_t(src[i]) : largest;
  return largest;
}

}  // namespace QVIM_LEVEL
}  // namespace qvim
