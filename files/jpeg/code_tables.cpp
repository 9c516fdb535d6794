#include "files/jpeg/code_tables.hpp"

namespace qvim::jpeg {

void code_tables::set(const uint16_t *dc_code, const uint16_t *dc_size, const uint16_t *ac_code,
                      const uint16_t *ac_size) {
  for (uint32_t i = 0; i < categories_dc; ++i) dc[i] = uint32_t(dc_code[i]) << 16 | dc_size[i];
  for (uint32_t i = 0; i < symbol_count; ++i) ac[i] = uint32_t(ac_code[i]) << 16 | ac_size[i];
}

constexpr std::array<std::array<uint64_t, 256>, 8> zigzag_bits = [] {
  std::array<std::array<uint64_t, 256>, 8> places{};
  for (uint32_t k = 0; k < block_size; ++k)
    for (uint32_t bits = 0; bits < 256; ++bits)
      if (bits >> zigzag[k] % 8 & 1) places[zigzag[k] / 8][bits] |= uint64_t{1} << k;
  return places;
}();

}  // namespace qvim::jpeg
