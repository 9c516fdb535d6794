// Writing blocks, once for each processor level.
#include "files/jpeg/block_writer.hpp"

#include <bit>

#include "files/jpeg/vectors.hpp"

namespace qvim::jpeg {

namespace {

// Bit k tells whether the k-th coefficient in the order of files differs from 0.
QVIM_INLINE uint64_t non_zero(const block &b) {
  uint64_t bits = 0;
  for (int i = 0; i < 8; i += 2) {
#ifdef __SSE2__
    const auto zero = _mm_setzero_si128();
    const auto first = loaded<__m128i>(b.at + 8 * i), second = loaded<__m128i>(b.at + 8 * i + 8);
    const uint32_t zeros = uint32_t(
        _mm_movemask_epi8(_mm_packs_epi16(_mm_cmpeq_epi16(first, zero), _mm_cmpeq_epi16(second, zero))));
#else
    uint32_t zeros = 0;
    for (int k = 0; k < 16; ++k) zeros |= uint32_t(b.at[8 * i + k] == 0) << k;
#endif
    bits |= zigzag_bits[i][~zeros & 0xFF] | zigzag_bits[i + 1][~zeros >> 8 & 0xFF];
  }
  return bits;
}

// A coefficient follows its code as so many bits; those of negative ones are those of the number below.
struct amount {
  uint32_t category, bits;

  QVIM_INLINE explicit amount(int32_t v) {
    const int32_t sign = v >> 31;
    category = uint32_t(std::bit_width(uint32_t((v ^ sign) - sign)));
    bits = uint32_t(v + sign) & ((1u << category) - 1);
  }
};

// Puts code and bits; false when there is no code.
QVIM_INLINE bool put(bit_writer::run &out, uint32_t code, const amount &a) {
  const uint32_t length = code & 0xFFFF;
  out.put(code >> 16 << a.category | a.bits, length + a.category);
  return length != 0;
}

QVIM_INLINE bool write_block(bit_writer::run &out, const block &b, const code_tables &tables,
                             int32_t &predictor) {
  const amount difference(b.at[0] - predictor);
  predictor = b.at[0];
  if (difference.category >= categories_dc) return false;
  bool coded = put(out, tables.dc[difference.category], difference);
  int before = 0;
  for (uint64_t left = non_zero(b) & ~uint64_t{1}; left; left &= left - 1) {
    const int k = std::countr_zero(left);
    uint32_t run = uint32_t(k - before - 1);
    before = k;
    for (; run > 15; run -= 16) out.put(tables.ac[sixteen_zeros] >> 16, tables.ac[sixteen_zeros] & 0xFFFF);
    const amount a(b.at[zigzag[size_t(k)]]);
    if (a.category > 10) return false;
    coded &= put(out, tables.ac[run << 4 | a.category], a);
  }
  if (before < 63) out.put(tables.ac[end_of_block] >> 16, tables.ac[end_of_block] & 0xFFFF);
  return coded;
}

bool write_blocks(bit_writer &to, const block *blocks, uint32_t count, uint32_t components,
                  const code_tables *const *tables, int32_t *predictors) {
  bit_writer::run out(to);
  bool coded = true;
  for (uint32_t i = 0; i < count; ++i)
    for (uint32_t c = 0; c < components; ++c, ++blocks) {
      out.reserve();
      coded &= write_block(out, *blocks, *tables[c], predictors[c]);
    }
  return coded;
}

}  // namespace

const block_writer QVIM_KERNEL(block_writers) = {write_blocks};

}  // namespace qvim::jpeg
