// Pixel operations that are curves in floating point.
#pragma once

#include <cmath>
#include <cstdint>

#include "kernels/pixel/operation.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

// Truncated; below 0 and NaN: 0, beyond 32 bits: the largest.
QVIM_INLINE uint32_t truncated(double v) {
  const double positive = v > 0 ? v : 0;
  return uint32_t(positive < 4294967295.0 ? positive : 4294967295.0);
}

template <class T>
struct contrast_pivot {
  double low, high, pivot, gain;
  QVIM_INLINE explicit contrast_pivot(const void *operand) {
    const auto from = static_cast<const char *>(operand);
    low = load<double>(from);
    high = load<double>(from + 8);
    pivot = load<double>(from + 16);
    gain = load<double>(from + 24);
  }
  QVIM_INLINE T operator()(T v) const {
    const double raised = std::fma(int32_t(v) - pivot, gain, pivot);
    return T(truncated((raised < low ? low : raised > high ? high : raised) + 0.5));
  }
};

// A power takes far longer than anything else here, so results are kept: of every byte, of 16-bit values the
// last with the same low bits.
template <class T>
struct gamma_curve {
  static constexpr bool is_kept = true;
  double exponent, factor;
  QVIM_INLINE explicit gamma_curve(const void *operand) {
    const double most = word_of(operand, 1);
    exponent = word_of(operand, 0) / 1000.0;
    factor = most / std::pow(most, exponent);
  }
  QVIM_INLINE T operator()(T v) const { return T(truncated(std::pow(double(v), exponent) * factor + 0.5)); }
};

}  // namespace QVIM_LEVEL
}  // namespace qvim
