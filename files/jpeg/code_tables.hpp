// What the encoder looks up: codes, and the order of coefficients.
#pragma once

#include <cstdint>

#include "files/jpeg/tables.hpp"

namespace qvim::jpeg {

// The codes of one component: code and length of each symbol in one number, so that one look-up finds both.
struct code_tables {
  uint32_t dc[categories_dc];
  uint32_t ac[symbol_count];  // the highest 16 bits: the code; the lowest: its length

  void set(const uint16_t *dc_code, const uint16_t *dc_size, const uint16_t *ac_code,
           const uint16_t *ac_size);
};

// zigzag_bits[i][bits]: which of the coefficients 8 * i to 8 * i + 7, given by bits, come when in a file, as
// a bit each.
extern const std::array<std::array<uint64_t, 256>, 8> zigzag_bits;

}  // namespace qvim::jpeg
