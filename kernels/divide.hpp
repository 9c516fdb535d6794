// Division by a number known only at run time, without a division for each value: exact for every value, and
// made of operations that the compiler can do on many values at a time.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "kernels/level.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

// A 32-bit number divided by 1 .. 2^32 - 1. T. Granlund, P. L. Montgomery: Division by Invariant Integers
// using Multiplication, 1994, figure 4.1.
class divisor {
 public:
  QVIM_INLINE explicit divisor(uint32_t d) {
    const auto bits = uint32_t(std::bit_width(d - 1));
    multiplier_ = uint32_t((((uint64_t(1) << bits) - d) << 32) / d + 1);
    before_ = bits > 0;
    after_ = bits > 0 ? bits - 1 : 0;
  }
  QVIM_INLINE uint32_t divide(uint32_t v) const {
    const auto high = uint32_t(uint64_t(v) * multiplier_ >> 32);
    return (high + ((v - high) >> before_)) >> after_;
  }

 private:
  uint32_t multiplier_, before_, after_;
};

struct fraction {
  uint64_t numerator, denominator;
};

// The largest fraction up to n / d whose denominator is at most `most`: a search of the Stern-Brocot tree,
// all steps of one direction at once. Numerators fit while `most` times n does.
inline fraction fraction_below(uint64_t n, uint64_t d, uint64_t most) {
  if (d <= most) return {n, d};
  fraction lower{0, 1}, upper{1, 0};
  uint64_t lower_gap = n, upper_gap = d;  // times both denominators, from n / d
  for (;;) {
    uint64_t steps = lower_gap / upper_gap;
    if (upper.denominator) {
      const uint64_t room = (most - lower.denominator) / upper.denominator;
      steps = steps < room ? steps : room;
    }
    lower = {lower.numerator + steps * upper.numerator, lower.denominator + steps * upper.denominator};
    lower_gap -= steps * upper_gap;
    if (lower_gap == 0) return lower;
    steps = (upper_gap - 1) / lower_gap;
    upper = {upper.numerator + steps * lower.numerator, upper.denominator + steps * lower.denominator};
    upper_gap -= steps * lower_gap;
    if (lower.denominator + upper.denominator > most) return lower;
  }
}

// min(v n / d, most) rounded down, for all values v of an unsigned type, n and d being of 32 bits and d not
// 0.
//
// With N the largest v, any factor f with max(floor(v n / d) / v) <= f < min((floor(v n / d) + 1) / v) over
// all v gives the same quotients floor(v f). Both bounds are fractions with denominators up to N, so they are
// more than 1 / (N + 1)^2 apart, and f can have twice the bits of v after the point: the first bound, rounded
// up.
//
// Bytes are worked on in 16 bits: processors multiply those, and can take the high half of products by
// itself.
template <class T>
class ratio {
  static constexpr bool is_narrow = sizeof(T) == 1;

 public:
  using value = std::conditional_t<is_narrow, uint16_t, T>;

  QVIM_INLINE ratio(uint32_t n, uint32_t d, T most) : most_(most) {
    __extension__ using uint128 = unsigned __int128;
    constexpr uint64_t largest = std::numeric_limits<T>::max();
    const fraction f = fraction_below(n, d, largest);
    auto after_point =
        uint64_t(((uint128(f.numerator % f.denominator) << 2 * width) + f.denominator - 1) / f.denominator);
    uint64_t whole = f.numerator / f.denominator;
    if (is_narrow && whole > largest)
      whole = largest, after_point = 0;  // products of 16 bits: `most` for all but 0 still
    whole_ = value(whole);
    high_ = high_again_ = value(is_narrow ? after_point : after_point >> width);
    low_ = value(after_point);
    // The compiler takes the high half of a product by itself only if it does not know of the low half.
    asm("" : "+m"(high_again_));
    const uint64_t first = n ? (uint64_t(most) * d + n - 1) / n : largest + 1;  // that becomes `most`
    last_ = value(first == 0 ? 0 : first > largest ? largest : first - 1);
  }
  QVIM_INLINE value operator()(value v) const {
    if constexpr (is_narrow) return up_to_most(v);
    return v > last_ ? most_ : up_to_most(v);
  }
  // Only for values whose quotient is not above `most`.
  QVIM_INLINE value up_to_most(value v) const {
    if constexpr (sizeof(T) == 4) {
      const uint64_t factor = uint64_t(whole_) << 32 | high_;
      return value((v * factor + (uint64_t(v) * low_ >> 32)) >> 32);
    }
    const auto quotient = value(uint32_t(v) * whole_ + (uint32_t(v) * high_ >> 16));
    if constexpr (is_narrow) return quotient < most_ ? quotient : most_;
    const auto middle = value(uint32_t(v) * high_again_), low = value(uint32_t(v) * low_ >> 16);
    const bool carry = value(middle + low) < low;
    return value(quotient + carry);
  }

 private:
  static constexpr uint32_t width = 8 * sizeof(T);

  // The bits of f before the point, and those after it: of bytes 16 in high_, else as wide as the values.
  value whole_, high_, high_again_, low_;
  value last_, most_;
};

}  // namespace QVIM_LEVEL
}  // namespace qvim
