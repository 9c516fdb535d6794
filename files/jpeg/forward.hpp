// The scaled transform of Y. Arai, T. Agui and M. Nakajima, "A fast DCT-SQ scheme for images" (1988): 29
// additions and 5 multiplications for eight numbers, with the scales of its results left to the
// quantisation.
#pragma once

#include "kernels/level.hpp"

namespace qvim::jpeg {
inline namespace QVIM_LEVEL {

// What is multiplied by: cos(pi / 4), sin(pi / 8), cos(pi / 8) less and plus sin(pi / 8).
enum class rotation { quarter, eighth, difference, sum };
constexpr float rotations[] = {0.70710677f, 0.38268343f, 0.5411961f, 1.306563f};

// Transforms columns, each number of a column in a vector of its own; times multiplies by a rotation.
template <class V, class Times>
QVIM_INLINE void transform_columns(V (&x)[8], const Times &times) {
  const V a0 = x[0] + x[7], a1 = x[1] + x[6], a2 = x[2] + x[5], a3 = x[3] + x[4];
  const V s0 = x[3] - x[4], s1 = x[2] - x[5], s2 = x[1] - x[6], s3 = x[0] - x[7];

  const V b0 = a0 + a3, b1 = a1 + a2, b2 = a1 - a2, b3 = a0 - a3;
  const V c1 = times(b2 + b3, rotation::quarter);
  x[0] = b0 + b1;
  x[4] = b0 - b1;
  x[2] = b3 + c1;
  x[6] = b3 - c1;

  const V d0 = s0 + s1, d1 = s1 + s2, d2 = s2 + s3;
  const V e5 = times(d0 - d2, rotation::eighth);
  const V e2 = times(d0, rotation::difference) + e5, e4 = times(d2, rotation::sum) + e5,
          e3 = times(d1, rotation::quarter);
  const V f1 = s3 + e3, f3 = s3 - e3;
  x[5] = f3 + e2;
  x[3] = f3 - e2;
  x[1] = f1 + e4;
  x[7] = f1 - e4;
}

}  // namespace QVIM_LEVEL
}  // namespace qvim::jpeg
