// What the strip codecs share.
#pragma once

#include <bit>
#include <cstdint>

#include <qvimage/codec.h>

#include "core/byte_order.hpp"

namespace qvim {

inline uint64_t bytes_left(const codecstream &s) { return s.next < s.end ? uint64_t(s.end - s.next) : 0; }

inline void advance(codecstream &s, uint64_t bytes) {
  s.next += bytes;
  s.count += bytes;
}

// Eight bytes at once, the first one in the least (le) or most (be) significant place.
inline uint64_t load_le64(const uint8_t *p) { return from_bytes<uint64_t>(p, std::endian::little); }
inline uint64_t load_be64(const uint8_t *p) { return from_bytes<uint64_t>(p, std::endian::big); }
inline void store_le64(uint8_t *p, uint64_t value) { to_bytes(p, value, std::endian::little); }
inline void store_be64(uint8_t *p, uint64_t value) { to_bytes(p, value, std::endian::big); }

// Bits in the order of the arithmetic coder: the first bit of a byte is its least significant one. While a
// byte fills, its bits stand at the high end of the accumulator's low byte; while one is read, at the low
// end. False when the bit would complete a byte and there is no room for it: nothing has changed then.
inline bool put_bit(codecstream &out, uint32_t bit) {
  if (out.bitcnt == 7) {
    if (out.next >= out.end) return false;
    *out.next = uint8_t(out.bitacc >> 1 | bit << 7);
    advance(out, 1);
    out.bitacc = 0;
    out.bitcnt = 0;
    return true;
  }
  out.bitacc = out.bitacc >> 1 | bit << 7;
  out.bitcnt++;
  return true;
}

// The next bit, or -1 when the input has run out.
inline int32_t get_bit(codecstream &in) {
  if (in.bitcnt == 0) {
    if (in.next >= in.end) return -1;
    in.bitacc = *in.next;
    in.bitcnt = 8;
    advance(in, 1);
  }
  const uint32_t bit = in.bitacc & 1;
  in.bitacc >>= 1;
  in.bitcnt--;
  return int32_t(bit);
}

// Stores the byte that an encoder left incomplete at the end of its strip, filled up with zero bits. False
// when there is no room for it: call again with more.
[[nodiscard]] inline bool finish_bits(codecstream *out) {
  if (out->bitcnt == 0) return true;
  if (out->next >= out->end) return false;
  *out->next = uint8_t(out->bitacc >> (8 - out->bitcnt));
  advance(*out, 1);
  out->bitacc = 0;
  out->bitcnt = 0;
  return true;
}

// Very old writers packed LZW codes least significant bit first. Their strips begin with the code Clear (256,
// 9 bits), so with a zero byte and an odd one; in the order of today that would be the string 0 without a
// Clear before it, which no writer starts a strip with.
inline constexpr char lzw_reversed[] = "LZW codes with their bits in the order of very old writers";
inline bool lzw_bits_reversed(uint8_t first, uint8_t second) { return first == 0 && (second & 1); }

}  // namespace qvim
