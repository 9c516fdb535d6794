#include "files/jpeg/huffman_table.hpp"

#include <algorithm>

#include <qvimage/error.h>

#include "core/reason.hpp"

namespace qvim::jpeg {

// What a symbol means, without the bits that follow it.
huffman_table::entry huffman_table::entry_of(uint8_t symbol, uint32_t length) const {
  entry e{0, 1, uint8_t((length - 1) & 15), uint8_t(symbol & 15)};
  if (kind_ == kind::dc) return e;
  e.advance = uint8_t((symbol >> 4) + 1);
  if (e.size == 0 && symbol != sixteen_zeros)
    e.advance = symbol == end_of_block ? end_of_block_advance : no_symbol;
  return e;
}

huffman_table::entry huffman_table::longer(uint32_t bits) const {
  for (uint32_t length = look_up_bits + 1; length <= 16; ++length)
    if (bits < end_[length])
      return entry_of(values_[uint32_t(int32_t(bits >> (16 - length)) + offset_[length]) & 255], length);
  return {0, no_symbol, 0, 0};
}

int32_t huffman_table::set(kind k, const huffman_description &description) {
  kind_ = k;
  is_set_ = false;
  std::copy_n(description.values, symbol_count, values_);
  std::fill_n(fast_, 1 << look_up_bits, entry{0, 0, 0, 0});
  uint32_t code = 0, at = 0;
  for (uint32_t length = 1; length <= 16; ++length, code <<= 1) {
    offset_[length] = int32_t(at) - int32_t(code);
    for (uint32_t i = 0; i < description.counts[length - 1]; ++i, ++at, ++code) {
      if (code >> length || at >= symbol_count)
        return because(QVERR_FORMAT, {"Huffman table with too many codes"});
      const uint8_t symbol = values_[at];
      if (k == kind::dc && symbol > 15)
        return because(QVERR_FORMAT, {"DC Huffman table with a value of ", symbol});
      if (length > look_up_bits) continue;
      const uint32_t spare = look_up_bits - length;
      for (uint32_t rest = 0; rest < 1u << spare; ++rest) {
        entry e = entry_of(symbol, length);
        if (e.size && e.size <= spare) {
          e.value = int16_t(extended(rest >> (spare - e.size), e.size));
          e.length = uint8_t((length + e.size - 1) & 15);
          e.size = 0;
        }
        fast_[code << spare | rest] = e;
      }
    }
    end_[length] = code << (16 - length);
  }
  is_set_ = true;
  return 0;
}

}  // namespace qvim::jpeg
