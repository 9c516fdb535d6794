// What the strip codecs share.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include <qvimage/codec.h>

namespace qvim {

inline uint64_t bytes_left(const codecstream &s) { return s.next < s.end ? uint64_t(s.end - s.next) : 0; }

inline void advance(codecstream &s, uint64_t bytes) {
  s.next += bytes;
  s.count += bytes;
}

// Eight bytes at once, the first one in the least (le) or most (be) significant place.
inline uint64_t load_le64(const uint8_t *p) {
  uint64_t value;
  std::memcpy(&value, p, sizeof value);
  if constexpr (std::endian::native == std::endian::big) value = __builtin_bswap64(value);
  return value;
}
inline uint64_t load_be64(const uint8_t *p) { return __builtin_bswap64(load_le64(p)); }
inline void store_le64(uint8_t *p, uint64_t value) {
  if constexpr (std::endian::native == std::endian::big) value = __builtin_bswap64(value);
  std::memcpy(p, &value, sizeof value);
}
inline void store_be64(uint8_t *p, uint64_t value) { store_le64(p, __builtin_bswap64(value)); }

// Very old writers packed LZW codes least significant bit first. Their strips begin with the code Clear (256,
// 9 bits), so with a zero byte and an odd one; in the order of today that would be the string 0 without a
// Clear before it, which no writer starts a strip with.
inline bool lzw_bits_reversed(uint8_t first, uint8_t second) { return first == 0 && (second & 1); }

}  // namespace qvim
