// What makes values of sums: rounded shifts and quotients.
#pragma once

#include <cstdint>

#include "kernels/divide.hpp"
#include "kernels/pixel/operation.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

// Halves are rounded up: the bit below the last one says so, which cannot overflow.
template <class T>
struct rounded_shift {
  uint32_t shift, below, rounds;
  QVIM_INLINE explicit rounded_shift(const void *operand)
      : shift(word_of(operand, 0) & 31), below(shift ? shift - 1 : 0), rounds(shift > 0) {}
  QVIM_INLINE T operator()(uint32_t sum) const { return T((sum >> shift) + (sum >> below & rounds)); }
};

struct rounded_division {
  divisor by;
  uint32_t d;
  QVIM_INLINE explicit rounded_division(uint32_t divided_by) : by(divided_by), d(divided_by) {}
  QVIM_INLINE uint32_t divide(uint32_t sum) const {
    const uint32_t quotient = by.divide(sum), left_over = sum - quotient * d;
    return quotient + (left_over >= d - d / 2);
  }
};

template <class T>
struct rounded_quotient {
  static constexpr bool chooses = true;
  struct quotient {
    rounded_division by;
    QVIM_INLINE T operator()(uint32_t sum) const { return T(by.divide(sum)); }
  };
  QVIM_INLINE static void with(const void *operand, const auto &body) {
    if (const uint32_t d = word_of(operand, 0))
      body(quotient{rounded_division(d)});
    else
      body(nothing<T>());
  }
};

template <class T>
struct bounded_quotient {
  static constexpr bool chooses = true;
  struct quotient {
    rounded_division by;
    uint32_t most;
    QVIM_INLINE T operator()(uint32_t sum) const {
      const uint32_t mean = by.divide(sum);
      return T(mean < most ? mean : most);
    }
  };
  QVIM_INLINE static void with(const void *operand, const auto &body) {
    if (const uint32_t d = word_of(operand, 0))
      body(quotient{rounded_division(d), value_of<T>(operand, 1)});
    else
      body(nothing<T>());
  }
};

}  // namespace QVIM_LEVEL
}  // namespace qvim
