// Huffman codes as blocks of coefficients.
#pragma once

#include <cstdint>

#include "files/jpeg/huffman_table.hpp"
#include "files/jpeg/transform.hpp"
#include "kernels/versions.hpp"

namespace qvim::jpeg {

struct component_tables {
  const huffman_table *dc, *ac;
};

struct block_reader {
  // Decodes MCUs of `components` blocks each. False when codes are none, or the data end.
  bool (*read)(bit_reader &in, uint32_t count, uint32_t components, const component_tables *tables,
               int32_t *predictors, decoded_block *blocks, extent *extents);
};
QVIM_VERSIONS(block_reader, block_readers)

}  // namespace qvim::jpeg
