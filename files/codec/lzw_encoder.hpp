// LZW encoder of one strip, resumable at any byte of its input and output.
#pragma once

#include "files/codec/lzw.hpp"

namespace qvim::lzw {

class encoder {
 public:
  // The seed is the caller's secret: where it scatters strings cannot be foreseen by whoever makes the
  // pixels. The code is the same with any.
  void reset(uint64_t seed);
  [[nodiscard]] int32_t run(codecstream &in, codecstream &out);

 private:
  enum class stage { start, strings, end, done };

  // A string is a shorter one, by its code, and one byte more.
  static uint32_t pair(uint32_t code, uint32_t byte) { return code << 8 | byte; }
  template <bool scattered>
  uint32_t slot_of(uint32_t code, uint32_t byte) const;
  template <bool scattered>
  uint32_t find(uint32_t code, uint32_t byte, int64_t &allowed) const;
  void scatter();
  void reset_table();
  void take(uint32_t byte, bit_buffer &buffer);
  void emit(uint32_t code, bit_buffer &buffer) const;
  void emit_last(bit_buffer &buffer);
  template <bool scattered>
  void bulk(codecstream &in, codecstream &out, bit_buffer &buffer);

  // Open hash table with linear probing, eight slots for a string: each probe that hits another string is a
  // branch that the processor did not foresee, and costs more than the larger table does.
  static constexpr uint32_t slots = 1u << 15;
  uint16_t spread_[256];   // of a byte: where its strings go when they are scattered
  uint16_t table_[slots];  // codes; 0: free
  uint32_t pairs_[codes];  // their strings
  int64_t allowed_;        // strings that may still be in the way of others
  uint64_t seed_;
  bool scattered_;
  uint32_t next_;     // first free code
  uint32_t width_;    // bits of a code
  uint32_t current_;  // code of the string read so far; `clear` when it is empty
  stage stage_;
};

}  // namespace qvim::lzw
