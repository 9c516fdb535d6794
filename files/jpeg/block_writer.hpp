// Blocks of coefficients as Huffman codes.
#pragma once

#include <cstdint>

#include "files/jpeg/bit_writer.hpp"
#include "files/jpeg/transform.hpp"

namespace qvim::jpeg {

// The codes of one component: code and length of each symbol in one number, so that one look-up finds both.
struct code_tables {
  uint32_t dc[categories_dc];
  uint32_t ac[symbol_count];  // the highest 16 bits: the code; the lowest: its length

  void set(const uint16_t *dc_code, const uint16_t *dc_size, const uint16_t *ac_code,
           const uint16_t *ac_size);
};

// Codes blocks, whose MCUs consist of `components` blocks each; tables and predictors are those of the
// components in turn. 0, or -63 for a coefficient that the codes do not reach.
[[nodiscard]] int32_t write_blocks(bit_writer &out, const block *blocks, uint32_t count, uint32_t components,
                                   const code_tables *const *tables, int32_t *predictors);

}  // namespace qvim::jpeg
