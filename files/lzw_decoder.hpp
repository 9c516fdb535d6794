// LZW decoder of one strip, resumable at any byte of its input and output.
#pragma once

#include "files/lzw.hpp"

namespace qvim::lzw {

// The table keeps a string as its last one to eight bytes (those after a multiple of eight) and a link to the
// entry that ends with the eight before them. So most strings are one load and one store, long ones one each
// for eight bytes, and nothing depends on output that the caller may have taken away.
class decoder {
 public:
  void reset();
  [[nodiscard]] int32_t run(codecstream &in, codecstream &out);

 private:
  struct string {
    uint64_t tail;   // its last bytes, the first of them lowest
    uint32_t shape;  // length (12 bits), link (12 bits), first byte (8 bits); 0: no such string

    uint32_t length() const { return shape & 0xFFF; }
    uint32_t link() const { return shape >> 12 & 0xFFF; }
    uint32_t first() const { return shape >> 24; }
    uint32_t tail_start() const { return (length() - 1) & ~7u; }
    string with(uint32_t last, uint32_t own_code) const;
  };

  string at(uint32_t code) const { return {tails_[code], shapes_[code]}; }
  void put(uint32_t code, const string &s) {
    tails_[code] = s.tail;
    shapes_[code] = s.shape;
  }
  void reset_table();
  void bulk(codecstream &in, codecstream &out);
  uint8_t *copy(const string &s, uint8_t *to) const;
  [[nodiscard]] bool read_code(codecstream &in, uint32_t &code) const;
  [[nodiscard]] int32_t accept(uint32_t code);
  [[nodiscard]] bool deliver(codecstream &out);

  uint64_t tails_[codes];
  uint32_t shapes_[codes];
  uint32_t next_;      // first free code
  uint32_t width_;     // bits of a code
  uint32_t previous_;  // the string before; `clear` when there is none
  uint32_t pending_;   // its last bytes that still wait for room
  bool begun_;         // the strip's first code was read
  int32_t result_;     // what ended the strip
};

}  // namespace qvim::lzw
