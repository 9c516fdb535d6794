// From pixels to quantised coefficients and back: rows of MCUs, each of one block a component.
#pragma once

#include <cstdint>

#include "files/jpeg/tables.hpp"
#include "kernels/versions.hpp"

namespace qvim::jpeg {

// The coefficients of a block: 8 * vertical + horizontal frequency.
struct block {
  int16_t at[block_size];
};
// The same for the decoder: 8 * horizontal + vertical frequency, and as wide as what they are converted to.
struct decoded_block {
  int32_t at[block_size];
};

// One number for each coefficient: what it is multiplied by.
struct factors {
  float of[block_size];
};

// What the encoder multiplies coefficients by, and the decoder. The table is in files' terms, but not in
// their order: 8 * vertical + horizontal.
void set_divisors(const uint16_t *quantisation, factors &of);
void set_scales(const uint16_t *quantisation, factors &of);

// The same for the encoder in integers, which divides by powers of two. Its coefficients are twice as large.
// dc is what the DC coefficient is divided by.
struct steps {
  // Each row twice, for two blocks: how many bits; half a step; the fraction of 2^16 that shifts as far.
  uint16_t shifts[2 * block_size], halves[2 * block_size], fractions[2 * block_size];
  uint32_t dc;
};
void set_steps(const uint16_t *quantisation, steps &of);

// Fractions of 2^15. Of the rotations; of the sum's, what exceeds 1. Of the colours: Y from R, G, B; the
// share of R and G in Cb; half; the share of G and B in Cr. Not in the header, lest the compiler replace
// products by others.
extern const int16_t integer_rotations[4], integer_colours[8];

// How much of a decoded block can differ from 0.
enum class extent : uint8_t { constant, low_frequencies, all };
constexpr uint32_t low_frequency_count = 10;  // in the order of files: frequencies whose sum is at most 3

// MCUs that lie side by side in eight lines of packed pixels, `pitch` bytes from line to line. Grey: a block
// an MCU; RGB: Y, Cb, Cr. The inverse may write up to 8 bytes beyond the pixels of each line. Every processor
// level has a version of its own; all give the same bits.
struct float_transforms {
  void (*forward_grey)(const uint8_t *lines, uint64_t pitch, uint32_t count, const factors *divisors,
                       block *blocks);
  void (*forward_rgb)(const uint8_t *lines, uint64_t pitch, uint32_t count, const factors *luminance,
                      const factors *chrominance, block *blocks);
  void (*inverse_grey)(const decoded_block *blocks, const extent *extents, uint32_t count,
                       const factors *scales, uint8_t *lines, uint64_t pitch);
  void (*inverse_rgb)(const decoded_block *blocks, const extent *extents, uint32_t count,
                      const factors *const scales[3], uint8_t *lines, uint64_t pitch);
};
struct integer_transforms {
  void (*forward_grey)(const uint8_t *lines, uint64_t pitch, uint32_t count, const steps *s, block *blocks);
  void (*forward_rgb)(const uint8_t *lines, uint64_t pitch, uint32_t count, const steps *luminance,
                      const steps *chrominance, block *blocks);
};
QVIM_VERSIONS(float_transforms, in_floats)
QVIM_VERSIONS(integer_transforms, in_integers)

}  // namespace qvim::jpeg
