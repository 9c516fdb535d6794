// Colour interpretations, and the kernels that turn pixels of one into pixels of another.
#pragma once

#include <cstdint>

#include <qvimage/kernel.h>
#include <qvimage/types.h>

namespace qvim {

// A kernel with its coefficients, if it has some.
struct [[gnu::packed]] colour_step {
  npfclx_fn *kernel;
  const void *coefficients;
};

// Both directions between an image and how it is presented.
struct [[gnu::packed]] colour_steps {
  colour_step read, write;
  uint8_t take_bits;  // instead of coefficients the kernels are given the number of bits used
};

// False where there is no way from pixels of that description to that interpretation.
bool choose_colours(const qvimagedata &source, int32_t hint, colour_steps *steps);

// Three components and one without a meaning, which the kernels leave as it is.
constexpr bool is_padded(int32_t hint) { return hint == QVIM_HINT_RGBPAD || hint == QVIM_HINT_BGRPAD; }

}  // namespace qvim
