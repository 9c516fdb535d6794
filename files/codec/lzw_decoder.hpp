// LZW decoder of one strip, resumable at any byte of its input and output.
#pragma once

#include "files/codec/lzw.hpp"

namespace qvim::lzw {

// The table keeps a string as its last one to seven bytes (those after a multiple of seven) in one word.
// Strings of up to seven bytes, most of a picture's, need no more: one load, one store. Longer ones also have
// a record that links to the string that ends with the seven bytes before. Nothing depends on output that the
// caller may have taken away.
class decoder {
 public:
  void reset();
  [[nodiscard]] int32_t run(codecstream &in, codecstream &out);

 private:
  // The bytes, the first one lowest; above them eight times their count; at the top whether the string is
  // longer. 0: no such string.
  using word = uint64_t;
  static constexpr uint32_t piece = 7, tag_place = 8 * piece;
  static constexpr word one_more = word{8} << tag_place, is_long = word{1} << 63;
  static uint32_t tag(word w) { return uint32_t(w >> tag_place); }
  static uint32_t bits_of(word w) { return tag(w) & 0x38; }

  // Length (12 bits), link (12 bits) and first byte (8 bits) of a string.
  struct facts {
    uint32_t packed;
    uint32_t length() const { return packed & 0xFFF; }
    uint32_t link() const { return packed >> 12 & 0xFFF; }
    uint32_t first() const { return packed >> 24; }
  };
  facts facts_of(uint32_t code) const {
    const word w = words_[code];
    return w & is_long ? long_[code] : facts{uint32_t(w & 0xFF) << 24 | bits_of(w) / 8};
  }

  // The next string of the table but for its last byte.
  struct growing {
    word bytes;
    uint32_t place;  // of the last byte
    word with(uint32_t last) const { return bytes + (word{last} << place); }
  };
  growing extension_of(uint32_t code, uint32_t next);

  void reset_table();
  struct cursor {
    const uint8_t *from, *from_end;
    uint8_t *to, *to_end;
    uint64_t bits;   // the next bit highest
    uint32_t count;  // of them
  };
  template <uint32_t Width>
  bool bulk_of_width(cursor &at);
  void bulk(codecstream &in, codecstream &out);
  uint8_t *copy(uint32_t code, uint8_t *to) const;
  [[nodiscard]] bool read_code(codecstream &in, uint32_t &code) const;
  [[nodiscard]] int32_t accept(uint32_t code);
  [[nodiscard]] bool deliver(codecstream &out);

  word words_[codes];
  facts long_[codes + 1];
  uint32_t next_;      // first free code
  uint32_t width_;     // bits of a code
  uint32_t previous_;  // the string before; `clear` when there is none
  uint32_t pending_;   // its last bytes that still wait for room
  bool unfolded_;      // all of it stands in string_
  bool begun_;         // the strip's first code was read
  int32_t result_;     // what ended the strip
  uint8_t string_[codes + piece];
};

}  // namespace qvim::lzw
