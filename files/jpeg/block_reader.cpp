#include "files/jpeg/block_reader.hpp"

#include <algorithm>

#include <qvimage/error.h>

#include "core/reason.hpp"

namespace qvim::jpeg {

namespace {

// The place of the k-th coefficient of a file in a decoded block.
constexpr std::array<uint8_t, block_size> places = [] {
  std::array<uint8_t, block_size> p{};
  for (uint32_t k = 0; k < block_size; ++k) p[k] = uint8_t(zigzag[k] % 8 * 8 + zigzag[k] / 8);
  return p;
}();

// The coefficient that so many bits say: those with a leading 0 are negative.
constexpr int32_t extended(uint32_t bits, uint32_t size) {
  const int32_t below = int32_t(bits >> (size - 1)) - 1;  // all ones for negative ones
  return int32_t(bits) + (below & (1 - (1 << size)));
}

}  // namespace

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

namespace {

// Takes the code and the coefficient's bits.
QVIM_INLINE int32_t take(bit_reader &in, const huffman_table::entry &e) {
  in.skip(e.length + 1u);
  if (e.size == 0) return e.value;
  const uint32_t bits = in.peek(e.size);
  in.skip(e.size);
  return extended(bits, e.size);
}

QVIM_INLINE bool read_block(bit_reader &in, const component_tables &tables, int32_t &predictor,
                            decoded_block &b, extent &which) {
  in.fill();
  huffman_table::entry e = tables.dc->next(in);
  if (e.advance == huffman_table::no_symbol) return false;
  predictor = int16_t(uint32_t(predictor) + uint32_t(take(in, e)));
  b = decoded_block{};
  b.at[0] = predictor;
  uint32_t k = 0, last = 0;
  while (k < block_size - 1) {
    in.fill();
    e = tables.ac->next(in);
    const int32_t value = take(in, e);
    k += e.advance;
    if (k >= block_size) {
      if (e.advance != huffman_table::end_of_block_advance) return false;
      break;
    }
    b.at[places[k]] = value;
    last = k;
  }
  which = last == 0 ? extent::constant : last < low_frequency_count ? extent::low_frequencies : extent::all;
  return true;
}

QVIM_CLONES bool read_all(bit_reader &stream, uint32_t count, uint32_t components,
                          const component_tables *tables, int32_t *predictors, decoded_block *blocks,
                          extent *extents) {
  bit_reader in = stream;
  bool good = true;
  for (uint32_t i = 0; i < count && good; ++i)
    for (uint32_t c = 0; c < components && good; ++c)
      good = read_block(in, tables[c], predictors[c], *blocks++, *extents++);
  stream = in;
  return good && !in.overrun();
}

}  // namespace

bool read_blocks(bit_reader &in, uint32_t count, uint32_t components, const component_tables *tables,
                 int32_t *predictors, decoded_block *blocks, extent *extents) {
  return read_all(in, count, components, tables, predictors, blocks, extents);
}

}  // namespace qvim::jpeg
