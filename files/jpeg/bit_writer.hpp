// Bits into a stream, most significant first. In the entropy-coded data of a file a byte of all ones is
// followed by a zero, so that no marker appears in them; data that is yet to be appended to other data goes
// without that, since its bytes are not those that will stand in the file.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "files/stream/bufio.hpp"
#include "kernels/level.hpp"

namespace qvim::jpeg {

// Does any byte of this number consist of ones only?
constexpr bool has_byte_of_ones(uint64_t v) {
  constexpr uint64_t low = ~uint64_t{0} / 255, high = low << 7;
  return ((~v - low) & v & high) != 0;
}

inline uint64_t big_endian(uint64_t v) {
  return std::endian::native == std::endian::big ? v : __builtin_bswap64(v);
}

class bit_writer {
 public:
  // Room that one block takes at most: 64 coefficients of at most 32 bits, each byte followed by a zero.
  static constexpr uint32_t block_room = 64 * 4 * 2;

  // The writer while many bits go into it: its numbers stay in the processor until the run ends.
  class run {
   public:
    explicit run(bit_writer &w) : w_(w), bits_(w.bits_), count_(w.count_), to_(w.staged_ + w.filled_) {}
    ~run() {
      w_.bits_ = bits_;
      w_.count_ = count_;
      w_.filled_ = uint32_t(to_ - w_.staged_);
    }
    run(const run &) = delete;
    run &operator=(const run &) = delete;

    // To be called before each block.
    QVIM_INLINE void reserve() {
      if (to_ > w_.staged_ + sizeof w_.staged_ - block_room) to_ = w_.flush(to_);
    }

    // The lowest `count` bits of a number whose other bits are 0; at most 32.
    QVIM_INLINE void put(uint32_t bits, uint32_t count) {
      const uint32_t free = 64 - count_;
      if (count < free) {
        bits_ = bits_ << count | bits;
        count_ += count;
        return;
      }
      const uint32_t left = count - free;
      const uint64_t word = bits_ << free % 64 | uint64_t(bits) >> left;
      bits_ = bits;  // those above the lowest `left` are done with
      count_ = left;
      if (w_.stuffing_ && has_byte_of_ones(word)) {
        to_ = w_.put_bytes(to_, word, 8);
      } else {
        const uint64_t stored = big_endian(word);
        std::memcpy(to_, &stored, sizeof stored);
        to_ += sizeof stored;
      }
    }

   private:
    bit_writer &w_;
    uint64_t bits_;
    uint32_t count_;
    uint8_t *to_;
  };

  void open(bufio *stream, bool stuffing) {
    stream_ = stream;
    stuffing_ = stuffing;
    bits_ = 0;
    count_ = filled_ = 0;
  }
  bufio *stream() const { return stream_; }

  // Everything that another writer, without stuffing, wrote to a store in memory.
  void append(bit_writer &other);

  // Fills the last byte with ones and writes what is staged.
  void finish();

 private:
  uint64_t waiting() const { return count_ ? bits_ & ~uint64_t{0} >> (64 - count_) : 0; }
  uint8_t *put_bytes(uint8_t *to, uint64_t word, int count) const;
  // Writes what is staged before there; bits that fill no word stay. Returns where to go on.
  uint8_t *flush(const uint8_t *to);

  bufio *stream_ = nullptr;
  uint64_t bits_ = 0;    // the lowest count_ of them are still to be written
  uint32_t count_ = 0;   // below 64
  uint32_t filled_ = 0;  // bytes staged
  bool stuffing_ = true;
  uint8_t staged_[4096];
};

}  // namespace qvim::jpeg
