// Reading blocks, once for each processor level.
#include "files/jpeg/block_reader.hpp"

#include "files/jpeg/vectors.hpp"

namespace qvim::jpeg {

namespace {

// The place of the k-th coefficient of a file in a decoded block.
constexpr std::array<uint8_t, block_size> places = [] {
  std::array<uint8_t, block_size> p{};
  for (uint32_t k = 0; k < block_size; ++k) p[k] = uint8_t(zigzag[k] % 8 * 8 + zigzag[k] / 8);
  return p;
}();

// Takes the code and the coefficient's bits.
QVIM_INLINE int32_t take(bit_reader &in, const huffman_table::entry &e) {
  in.skip(e.length + 1u);
  if (e.size == 0) return e.value;
  const uint32_t bits = in.peek(e.size);
  in.skip(e.size);
  return huffman_table::extended(bits, e.size);
}

QVIM_INLINE bool read_block(bit_reader &in, const component_tables &tables, int32_t &predictor,
                            decoded_block &b, extent &which) {
  in.fill();
  huffman_table::entry e = tables.dc->next(in);
  if (e.advance == huffman_table::no_symbol) return false;
  predictor = int16_t(uint32_t(predictor) + uint32_t(take(in, e)));
  // By vectors: for AVX2 gcc 12 makes `rep stos` of a block, which takes as long to begin as decoding does.
  const ints none{};
  for (uint32_t i = 0; i < block_size; i += 8) std::memcpy(b.at + i, &none, sizeof none);
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

bool read_blocks(bit_reader &stream, uint32_t count, uint32_t components, const component_tables *tables,
                 int32_t *predictors, decoded_block *blocks, extent *extents) {
  bit_reader in = stream;
  bool good = true;
  for (uint32_t i = 0; i < count && good; ++i)
    for (uint32_t c = 0; c < components && good; ++c)
      good = read_block(in, tables[c], predictors[c], *blocks++, *extents++);
  stream = in;
  return good && !in.overrun();
}

}  // namespace

const block_reader QVIM_KERNEL(block_readers) = {read_blocks};

}  // namespace qvim::jpeg
