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

}  // namespace qvim::jpeg
