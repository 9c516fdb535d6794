// Blocks of coefficients as Huffman codes.
#pragma once

#include <cstdint>

#include "files/jpeg/bit_writer.hpp"
#include "files/jpeg/code_tables.hpp"
#include "files/jpeg/transform.hpp"
#include "kernels/versions.hpp"

namespace qvim::jpeg {

struct block_writer {
  // Codes blocks, whose MCUs consist of `components` blocks each; tables and predictors are those of the
  // components in turn. False for a coefficient that the codes do not reach.
  bool (*write)(bit_writer &out, const block *blocks, uint32_t count, uint32_t components,
                const code_tables *const *tables, int32_t *predictors);
};
QVIM_VERSIONS(block_writer, block_writers)

}  // namespace qvim::jpeg
