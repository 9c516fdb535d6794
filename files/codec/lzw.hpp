// The LZW code of TIFF strips: what its two directions have in common.
#pragma once

#include "files/codec/codec.hpp"

namespace qvim::lzw {

constexpr uint32_t clear = 256, end_of_information = 257, first_free = 258;
constexpr uint32_t min_width = 9, max_width = 12;
constexpr uint32_t codes = 1u << max_width;

// Bits of a byte or code begun. Between calls they live in the stream record: the low `bitcnt` bits of
// `bitacc`, the oldest one highest. A record with an impossible count does no harm.
struct bit_buffer {
  explicit bit_buffer(const codecstream &s)
      : count(uint32_t(s.bitcnt) & 31), bits(s.bitacc & ((uint64_t{1} << count) - 1)) {}
  void keep(codecstream &s) const {
    s.bitacc = uint32_t(bits & ((uint64_t{1} << count) - 1));
    s.bitcnt = int32_t(count);
  }

  uint32_t count;
  uint64_t bits;
};

}  // namespace qvim::lzw
