// Huffman codes as decoders need them.
#pragma once

#include <cstdint>

#include "files/jpeg/bit_reader.hpp"
#include "files/jpeg/tables.hpp"

namespace qvim::jpeg {

// A code for decoding. Most codes are found, together with the bits that follow them, by one look-up of the
// next bits; longer ones by their length.
class huffman_table {
 public:
  enum class kind : uint8_t { dc, ac };
  static constexpr uint32_t look_up_bits = 11;

  // What the next bits say: 0 where they are longer than a look-up.
  struct entry {
    int16_t value;                 // the coefficient, when its bits are part of the look-up
    uint8_t advance;               // how many coefficients further it stands
    uint8_t length : 4, size : 4;  // bits of the look-up less one; bits of the coefficient that follow these
  };
  static constexpr uint8_t end_of_block_advance = 64, no_symbol = 127;

  // The coefficient that so many bits say: those with a leading 0 are negative.
  QVIM_INLINE static constexpr int32_t extended(uint32_t bits, uint32_t size) {
    const int32_t below = int32_t(bits >> (size - 1)) - 1;  // all ones for negative ones
    return int32_t(bits) + (below & (1 - (1 << size)));
  }

  // -10 when there are more codes than bits can tell apart, or values that the kind has not.
  [[nodiscard]] int32_t set(kind k, const huffman_description &description);
  bool is_set() const { return is_set_; }

  QVIM_INLINE entry next(const bit_reader &in) const {
    const entry e = fast_[in.peek(look_up_bits)];
    return e.advance ? e : longer(in.peek(16));
  }

 private:
  entry entry_of(uint8_t symbol, uint32_t length) const;
  entry longer(uint32_t bits) const;

  entry fast_[1 << look_up_bits];
  // By length: the first number of 16 bits that is no code of up to that length, and what to add to a code to
  // get the place of its value.
  uint32_t end_[17];
  int32_t offset_[17];
  uint8_t values_[symbol_count];
  kind kind_;
  bool is_set_ = false;
};

}  // namespace qvim::jpeg
