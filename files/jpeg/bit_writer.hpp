// Bits into a stream, most significant first. In the entropy-coded data of a file a byte of all ones is
// followed by a zero, so that no marker appears in them; data that is yet to be appended to other data goes
// without that, since its bytes are not those that will stand in the file.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "files/stream/bufio.hpp"

namespace qvim::jpeg {

// Does any byte of this number consist of ones only?
template <class T>
constexpr bool has_byte_of_ones(T v) {
  constexpr T low = T(~T{0}) / 255, high = low << 7;
  return ((~v - low) & v & high) != 0;
}

template <class T>
inline T big_endian(T v) {
  if constexpr (std::endian::native == std::endian::big) return v;
  if constexpr (sizeof(T) == 4) return __builtin_bswap32(v);
  return T(__builtin_bswap64(v));
}

class bit_writer {
 public:
  // Room that one block takes at most: 64 coefficients of at most 32 bits, each byte followed by a zero.
  static constexpr uint32_t block_room = 64 * 4 * 2;

  void open(bufio *stream, bool stuffing) {
    stream_ = stream;
    stuffing_ = stuffing;
    bits_ = 0;
    count_ = filled_ = 0;
  }
  bufio *stream() const { return stream_; }

  // To be called before each block.
  void reserve() {
    if (filled_ > sizeof staged_ - block_room) flush();
  }

  // The lowest `count` bits of a number whose other bits are 0; at most 32.
  void put(uint32_t bits, uint32_t count) {
    bits_ = bits_ << count | bits;
    count_ += count;
    if (count_ >= 32) put_word(uint32_t(bits_ >> (count_ -= 32)));
  }

  // Everything that another writer, without stuffing, wrote to a store in memory.
  void append(bit_writer &other);

  // Fills the last byte with ones and writes what is staged.
  void finish();

  // Writes what is staged; bits that fill no word stay.
  void flush() {
    write_bytes(*stream_, staged_, filled_);
    filled_ = 0;
  }

 private:
  void put_word(uint32_t word) {
    if (stuffing_ && has_byte_of_ones(word)) return put_bytes(word, 4);
    word = big_endian(word);
    std::memcpy(staged_ + filled_, &word, 4);
    filled_ += 4;
  }
  void put_bytes(uint32_t word, int count);

  bufio *stream_ = nullptr;
  uint64_t bits_ = 0;  // the lowest count_ of them are still to be written
  uint32_t count_ = 0, filled_ = 0;
  bool stuffing_ = true;
  uint8_t staged_[4096];
};

}  // namespace qvim::jpeg
