// The bits of entropy-coded data, most significant first. Zeros after bytes of ones are passed over. Beyond
// the end of the data come zeros, and overrun() tells.
#pragma once

#include <cstdint>
#include <cstring>

#include <qvimage/bufio.h>

#include "files/jpeg/bit_writer.hpp"
#include "kernels/level.hpp"

namespace qvim::jpeg {

class bit_reader {
 public:
  // Where a reader stands, so that another may go on from there.
  struct place {
    uint64_t position;  // in the stream, of the next byte
    uint64_t bits;
    uint32_t count, beyond;
  };

  bit_reader() = default;
  // The data end before `end`. The stream is used by nobody else until the reader is left.
  bit_reader(bufio *stream, uint64_t end, const place &p)
      : bits_(p.bits),
        count_(p.count),
        beyond_(p.beyond),
        stream_(stream),
        end_(end),
        position_(p.position) {}

  place where() const { return {position_ - uint64_t(limit_ - next_), bits_, count_, beyond_}; }

  // Makes at least 32 bits available.
  QVIM_INLINE void fill() {
    if (count_ >= 32) return;
    if (limit_ - next_ >= 8) {
      uint64_t word;
      std::memcpy(&word, next_, sizeof word);
      if (!has_byte_of_ones(word)) {
        bits_ |= big_endian(word) >> count_;  // what goes beyond count_ then will come once more, the same
        next_ += (63 - count_) / 8;
        count_ |= 56;
        return;
      }
    }
    fill_by_bytes();
  }

  // The next bits, at most as many as are available, and at least 1.
  QVIM_INLINE uint32_t peek(uint32_t count) const { return uint32_t(bits_ >> (64 - count)); }
  QVIM_INLINE void skip(uint32_t count) {
    bits_ <<= count;
    count_ -= count;
  }

  // Have bits been taken that are not there?
  bool overrun() const { return count_ < beyond_; }

 private:
  void fill_by_bytes();
  bool load();
  bool take(uint8_t *byte);

  uint64_t bits_ = 0;                // the next one is the highest
  uint32_t count_ = 0, beyond_ = 0;  // how many there are; how many of these lie beyond the end
  const uint8_t *next_ = nullptr, *limit_ = nullptr;  // bytes in the stream's resident block
  bufio *stream_ = nullptr;
  uint64_t end_ = 0, position_ = 0;  // in the stream: of the data's end; of `limit_`
};

}  // namespace qvim::jpeg
