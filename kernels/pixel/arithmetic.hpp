// Pixel operations that are integer arithmetic: sums, thresholds, products that are limited.
#pragma once

#include <cstdint>
#include <type_traits>

#include "kernels/divide.hpp"
#include "kernels/operations.hpp"
#include "kernels/pixel/operation.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

// --- arithmetic

template <class T>
struct neg {
  T maximum;
  QVIM_INLINE explicit neg(const void *operand) : maximum(value_of<T>(operand, 0)) {}
  QVIM_INLINE T operator()(T v) const { return T(maximum - v); }
};

template <class T>
struct add {
  T added;
  QVIM_INLINE explicit add(const void *operand) : added(value_of<T>(operand, 0)) {}
  QVIM_INLINE T operator()(T v) const { return T(v + added); }
};

template <class T>
struct subtract {
  T subtracted;
  QVIM_INLINE explicit subtract(const void *operand) : subtracted(value_of<T>(operand, 0)) {}
  QVIM_INLINE T operator()(T v) const { return T(v - subtracted); }
};

// Sums that do not fit are found by being smaller than what was added to: no wider type is needed.
template <class T>
struct add_bounded {
  T added, most;
  QVIM_INLINE add_bounded(T a, T m) : added(a), most(m) {}
  QVIM_INLINE explicit add_bounded(const void *operand)
      : add_bounded(value_of<T>(operand, 0), value_of<T>(operand, 1)) {}
  QVIM_INLINE T operator()(T v) const {
    const T sum = T(v + added), fitting = sum < v ? all_bits<T> : sum;
    return fitting < most ? fitting : most;
  }
};

// The sum wraps in twice the width.
template <class T>
struct add_saturated {
  static constexpr bool chooses = true;
  using wide = std::conditional_t<sizeof(T) == 1, uint16_t, uint32_t>;

  struct wrapping {
    wide added;
    QVIM_INLINE T operator()(T v) const {
      const auto sum = wide(v + added);
      return T(sum < all_bits<T> ? sum : all_bits<T>);
    }
  };

  QVIM_INLINE static void with(const void *operand, const auto &body) {
    const auto added = value_of<wide>(operand, 0);
    if (added <= all_bits<T>)
      body(add_bounded<T>(T(added), all_bits<T>));
    else
      body(wrapping{added});
  }
};

template <class T>
struct subtract_bounded {
  T subtracted;
  QVIM_INLINE explicit subtract_bounded(T s) : subtracted(s) {}
  QVIM_INLINE explicit subtract_bounded(const void *operand) : subtract_bounded(value_of<T>(operand, 0)) {}
  QVIM_INLINE T operator()(T v) const { return T((v > subtracted ? v : subtracted) - subtracted); }
};

// --- thresholds

template <class T>
struct range {
  T first, last;
  QVIM_INLINE explicit range(const void *operand)
      : first(value_of<T>(operand, 0)), last(value_of<T>(operand, 1)) {}
  QVIM_INLINE bool has(T v) const { return (v >= first) & (v <= last); }
};

template <class T>
struct replace_inside {
  range<T> inside;
  T result;
  QVIM_INLINE explicit replace_inside(const void *operand)
      : inside(operand), result(value_of<T>(operand, 2)) {}
  QVIM_INLINE T operator()(T v) const { return inside.has(v) ? result : v; }
};

template <class T>
struct split_inside {
  range<T> inside;
  T result, otherwise;
  QVIM_INLINE explicit split_inside(const void *operand)
      : inside(operand), result(value_of<T>(operand, 2)), otherwise(value_of<T>(operand, 3)) {}
  QVIM_INLINE T operator()(T v) const { return inside.has(v) ? result : otherwise; }
};

// --- clamped multiplication

// min((v - below) n / d, most) with a product of 32 bits that may wrap.
template <class T>
struct wrapping_ratio {
  subtract_bounded<T> above;
  uint32_t factor, most;
  divisor by;
  QVIM_INLINE T operator()(T v) const {
    const uint32_t quotient = by.divide(uint32_t(above(v)) * factor);
    return T(quotient < most ? quotient : most);
  }
};

// An operation on 16-bit values for bytes: two in a word.
template <class Operation>
struct in_pairs {
  static constexpr bool is_wordwise = true;
  Operation operation;
  QVIM_INLINE uint8_t operator()(uint8_t v) const { return uint8_t(operation(v)); }
  QVIM_INLINE uint16_t word(uint16_t v) const {
    return uint16_t(operation(v & 255) | operation(uint16_t(v >> 8)) << 8);
  }
};

template <class T>
QVIM_INLINE void with_ratio(const auto &operation, const auto &body) {
  if constexpr (sizeof(T) == 1)
    body(in_pairs<std::remove_cvref_t<decltype(operation)>>{operation});
  else
    body(operation);
}

template <class T>
struct multiply_wide {
  static constexpr bool chooses = true;
  QVIM_INLINE static void with(const void *operand, const auto &body) {
    const uint32_t d = word_of(operand, 1);
    if (d)
      with_ratio<T>(ratio<T>(word_of(operand, 0), d, value_of<T>(operand, 2)), body);
    else
      body(nothing<T>());
  }
};

template <class T>
struct multiply {
  static constexpr bool chooses = true;
  QVIM_INLINE static void with(const void *operand, const auto &body) {
    const uint32_t n = word_of(operand, 0), d = word_of(operand, 1);
    if (d == 0 || n <= 0xFFFFFFFF / all_bits<T>)
      multiply_wide<T>::with(operand, body);
    else
      body(wrapping_ratio<T>{subtract_bounded<T>(T(0)), n, value_of<T>(operand, 2), divisor(d)});
  }
};

template <class T>
struct contrast {
  static constexpr bool chooses = true;

  struct stretched {
    using value = typename ratio<T>::value;
    value black, white;
    ratio<T> scaled;
    QVIM_INLINE value operator()(value v) const {
      const value limited = v < white ? v : white;
      return scaled.up_to_most(value((limited > black ? limited : black) - black));
    }
  };

  QVIM_INLINE static void with(const void *operand, const auto &body) {
    const auto black = value_of<T>(operand, 0), white = value_of<T>(operand, 1);
    const uint32_t most = word_of(operand, 2), d = uint32_t(white) - uint32_t(black);
    if (most > all_bits<T> && d)
      body(wrapping_ratio<T>{subtract_bounded<T>(black), most, most, divisor(d)});
    else if (black < white)
      with_ratio<T>(stretched{black, white, ratio<T>(most, d, T(most))}, body);
    else
      body(nothing<T>());  // the product is less than 2^32 - (black - white)
  }
};

}  // namespace QVIM_LEVEL
}  // namespace qvim
