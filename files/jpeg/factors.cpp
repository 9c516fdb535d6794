// What coefficients are multiplied by: the quantisation and the scales of the transform in one number.
#include "files/jpeg/transform.hpp"

namespace qvim::jpeg {

void set_divisors(const uint16_t *quantisation, factors &of) {
  for (uint32_t i = 0; i < block_size; ++i)
    of.of[i] = float(1 / (quantisation[i] * transform_scale[i / 8] * transform_scale[i % 8] * 8));
}

void set_scales(const uint16_t *quantisation, factors &of) {
  for (uint32_t i = 0; i < block_size; ++i)
    of.of[i % 8 * 8 + i / 8] = float(quantisation[i] * transform_scale[i / 8] * transform_scale[i % 8] / 8);
}

constexpr int16_t fraction(double v) { return int16_t(v * 32768 + 0.5); }

constexpr int16_t integer_rotations[4] = {fraction(0.70710677), fraction(0.38268343), fraction(0.5411961),
                                          fraction(0.306563)};

// Of 4096: 1224 R + 2404 G + 466 B; -690 R - 1357 G + 2048 B; 2048 R - 1714 G - 333 B.
constexpr int16_t integer_colours[8] = {8 * 1224, 8 * 2404, 8 * 466,  8 * 690,
                                        8 * 1357, 8 * 2048, 8 * 1714, 8 * 333};

// The nearest powers of two; both neighbours may be as near: then the smaller one.
void set_steps(const uint16_t *quantisation, steps &of) {
  for (uint32_t i = 0; i < block_size; ++i) {
    const double step = quantisation[i] * transform_scale[i / 8] * transform_scale[i % 8] * 8 * 2;
    uint16_t shift = 0;
    while ((3 << shift) / 2.0 < step) ++shift;
    for (const uint32_t at : {i / 8 * 16 + i % 8, i / 8 * 16 + 8 + i % 8}) {
      of.shifts[at] = shift;
      of.halves[at] = uint16_t(1 << shift >> 1);
      of.fractions[at] = uint16_t(0x10000 >> shift);  // 0 where nothing is shifted
    }
  }
  of.dc = quantisation[0] * 8u * 2u;
}

}  // namespace qvim::jpeg
