// LZW encoder of one strip, resumable at any byte of its input and output.
#pragma once

#include "files/lzw.hpp"

namespace qvim::lzw {

class encoder {
 public:
  void reset();
  [[nodiscard]] int32_t run(codecstream &in, codecstream &out);

 private:
  enum class stage { start, strings, done };

  // An open hash table of the strings, each as its code and the pair that it extends by a byte: 20 + 12 bits.
  // At most 3836 of the slots are taken.
  static constexpr uint32_t slot_bits = 13, slots = 1u << slot_bits;
  static uint32_t pair(uint32_t code, uint32_t byte) { return code << 8 | byte; }
  uint32_t find(uint32_t key) const;
  void reset_table();
  void take(uint32_t byte, bit_buffer &buffer);
  void emit(uint32_t code, bit_buffer &buffer) const;
  void finish(bit_buffer &buffer);
  void bulk(codecstream &in, codecstream &out, bit_buffer &buffer);

  uint32_t table_[slots];
  uint32_t next_;     // first free code
  uint32_t width_;    // bits of a code
  uint32_t current_;  // code of the string read so far; `clear` when it is empty
  stage stage_;
};

}  // namespace qvim::lzw
