// A traced value as text, by the letters of its field.
#pragma once

#include <cstdint>

#include "log/fields.hpp"
#include "log/text.hpp"

namespace qvim {

// Bytes of a traced call, from the first to the last or the other way round.
struct value {
  const uint8_t *bytes;
  uint64_t size;
  bool reversed = false;

  uint8_t operator[](uint64_t i) const { return bytes[reversed ? size - 1 - i : i]; }
};

// Puts the value. Answers where the hexadecimal digits begin, counted from where the value's text does; 0
// when there are none.
uint64_t put_value(text &out, const field &how, value v);

// Puts what stands below the hexadecimal digits: two columns a byte.
void put_characters(text &out, const field &how, value v);

}  // namespace qvim
