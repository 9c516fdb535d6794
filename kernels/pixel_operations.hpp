// The operations of the pixel kernels, each on one value of type T, constructed from the kernel's operand
// block. Operations that take other ways for some operands have a member with() instead: it passes an
// operation to a loop.
#pragma once

#include <cmath>
#include <cstdint>

#include "kernels/divide.hpp"
#include "kernels/operations.hpp"
#include "kernels/run.hpp"
#include "kernels/shuffle.hpp"

namespace qvim::inline QVIM_LEVEL {

// Word i of an operand block, and what a kernel for values of type T sees of it.
QVIM_INLINE uint32_t word_of(const void *operand, int i) {
  return load<uint32_t>(static_cast<const char *>(operand) + 4 * i);
}
template <class T>
QVIM_INLINE T value_of(const void *operand, int i) {
  return T(word_of(operand, i));
}

template <class Operation>
concept choosing = Operation::chooses;

// Calls body(operation), once.
template <class Operation>
QVIM_INLINE void with_operation(const void *operand, const auto &body) {
  if constexpr (choosing<Operation>)
    Operation::with(operand, body);
  else
    body(Operation(operand));
}

// --- bits

template <class T>
struct bit_and {
  T bits;
  QVIM_INLINE explicit bit_and(const void *operand) : bits(value_of<T>(operand, 0)) {}
  QVIM_INLINE T operator()(T v) const { return v & bits; }
};

template <class T>
struct bit_or {
  T bits;
  QVIM_INLINE explicit bit_or(const void *operand) : bits(value_of<T>(operand, 0)) {}
  QVIM_INLINE T operator()(T v) const { return v | bits; }
};

template <class T>
struct bit_xor {
  T bits;
  QVIM_INLINE explicit bit_xor(const void *operand) : bits(value_of<T>(operand, 0)) {}
  QVIM_INLINE T operator()(T v) const { return v ^ bits; }
};

template <class T>
struct invert {
  QVIM_INLINE explicit invert(const void *) {}
  QVIM_INLINE T operator()(T v) const { return T(~v); }
};

template <class T>
struct test_bits {
  T result, bits;
  QVIM_INLINE explicit test_bits(const void *operand)
      : result(value_of<T>(operand, 0)), bits(value_of<T>(operand, 1)) {}
  QVIM_INLINE T operator()(T v) const { return v & bits ? result : T(0); }
};

template <class T>
struct fill {
  T value;
  QVIM_INLINE explicit fill(const void *operand) : value(value_of<T>(operand, 0)) {}
  QVIM_INLINE T operator()(T) const { return value; }
};

template <class T>
struct shift_left : shl<T, T> {
  QVIM_INLINE explicit shift_left(const void *operand) : shl<T, T>(word_of(operand, 0), 0) {}
};

template <class T>
struct shift_right : shr<T, T> {
  QVIM_INLINE explicit shift_right(const void *operand) : shr<T, T>(word_of(operand, 0), 0) {}
};

template <class T>
struct halve : shr<T, T> {
  QVIM_INLINE explicit halve(const void *) : shr<T, T>(1, 0) {}
};

// The ordinary rotation, of all bits of a value.
template <class T>
struct rotation {
  static constexpr bool is_wordwise = true;
  static constexpr uint32_t width = 8 * sizeof(T);
  uint32_t left, right, from_left, from_right;  // shifts, and the bits that each shift provides

  QVIM_INLINE explicit rotation(uint32_t steps)
      : left(steps % width),
        right((width - left) % width),
        from_left(repeated(T(all_bits<T> << left))),
        from_right(~from_left) {}
  QVIM_INLINE T operator()(T v) const { return T(word(v)); }
  QVIM_INLINE uint32_t word(uint32_t v) const { return (v << left & from_left) | (v >> right & from_right); }
};

// Rotation of the low bits of a value alone, step by step: bits above them move along, to the left out of the
// value, to the right into its rotating part.
template <class T, bool to_left>
struct partial_rotation {
  static constexpr uint32_t width = 8 * sizeof(T);
  uint32_t steps, bits;

  // Once all higher bits are gone, whole turns change nothing.
  QVIM_INLINE partial_rotation(uint32_t s, uint32_t b)
      : steps(s < width   ? s
              : inside(b) ? width + (s - width) % b
                          : width),
        bits(b) {}
  QVIM_INLINE T operator()(T v) const {
    for (uint32_t i = 0; i < steps; ++i) v = step(v);
    return v;
  }

 private:
  QVIM_INLINE static bool inside(uint32_t b) { return b > 0 && b < width; }
  QVIM_INLINE T step(T v) const {
    const uint32_t top = inside(bits) ? bits - 1 : 0, kept = inside(bits);
    return to_left ? T(T(v << 1) | (T(v >> top) & kept)) : T(T(v >> 1) | T((v & kept) << top));
  }
};

template <class T>
struct rotate_left {
  static constexpr bool chooses = true;
  QVIM_INLINE static void with(const void *operand, const auto &body) {
    const uint32_t steps = word_of(operand, 0), bits = word_of(operand, 1);
    if (bits == 8 * sizeof(T))
      body(rotation<T>(steps));
    else
      body(partial_rotation<T, true>(steps, bits));
  }
};

template <class T>
struct rotate_right {
  static constexpr bool chooses = true;
  QVIM_INLINE static void with(const void *operand, const auto &body) {
    const uint32_t steps = word_of(operand, 0), bits = word_of(operand, 1);
    if (bits == 8 * sizeof(T))
      body(rotation<T>(-steps));
    else
      body(partial_rotation<T, false>(steps, bits));
  }
};

// Each lane of a word shifted to the right by a fixed distance.
template <class T, uint32_t shift>
QVIM_INLINE uint32_t lanes_shifted(uint32_t v) {
  return v >> shift & repeated(T(all_bits<T> >> shift));
}

template <class T>
struct to_gray {
  static constexpr bool is_wordwise = true;
  QVIM_INLINE explicit to_gray(const void *) {}
  QVIM_INLINE T operator()(T v) const { return T(v ^ v >> 1); }
  QVIM_INLINE uint32_t word(uint32_t v) const { return v ^ lanes_shifted<T, 1>(v); }
};

template <class T>
struct from_gray {
  static constexpr bool is_wordwise = true;
  QVIM_INLINE explicit from_gray(const void *) {}
  QVIM_INLINE T operator()(T v) const { return T(word(v)); }
  QVIM_INLINE uint32_t word(uint32_t v) const {
    v ^= lanes_shifted<T, 1>(v);
    v ^= lanes_shifted<T, 2>(v);
    v ^= lanes_shifted<T, 4>(v);
    if constexpr (sizeof(T) >= 2) v ^= lanes_shifted<T, 8>(v);
    if constexpr (sizeof(T) == 4) v ^= lanes_shifted<T, 16>(v);
    return v;
  }
};

// An operation may have an order of its values' bytes and do the rest with vectors of them.
template <class Operation>
concept shuffling = requires {
  Operation::order;
};

// The low bits in reverse order: all of them reversed, then shifted to where they belong. Counts above the
// width move them up, out of the value.
template <class T>
struct reverse_bits {
  static constexpr byte_order order{sizeof(T), sizeof(T), sizeof(T),
                                    [](int64_t i) { return int64_t(sizeof(T)) - 1 - i; }};
  static constexpr bool is_wordwise = true;
  static constexpr uint32_t width = 8 * sizeof(T);
  uint32_t up, down, after;

  QVIM_INLINE explicit reverse_bits(const void *operand) {
    const uint32_t count = word_of(operand, 0);
    up = count > width && count < 2 * width ? count - width : 0;
    down = count < width && count > 0 ? width - count : 0;
    after = count == 0 || count >= 2 * width ? 0 : repeated(T(T(all_bits<T> << up) >> down));
  }
  QVIM_INLINE T operator()(T v) const { return T(word(v)); }
  QVIM_INLINE uint32_t word(uint32_t v) const {
    v = (v >> 1 & 0x55555555) | (v & 0x55555555) << 1;
    v = (v >> 2 & 0x33333333) | (v & 0x33333333) << 2;
    v = (v >> 4 & 0x0F0F0F0F) | (v & 0x0F0F0F0F) << 4;
    if constexpr (sizeof(T) == 2) v = (v >> 8 & 0x00FF00FF) | (v & 0x00FF00FF) << 8;
    if constexpr (sizeof(T) == 4) v = __builtin_bswap32(v);
    return v << up >> down & after;
  }
#if QVIM_LANES
  // Of the bytes of a vector, after their shuffle.
  QVIM_INLINE vec<uint8_t> bytes(vec<uint8_t> v) const {
#if QVIM_HAVE_WIDE
    const __m512i mirrored = _mm512_set1_epi64(0x8040201008040201);  // of a byte's bits
    const auto w = (vec<uint32_t>)_mm512_gf2p8affine_epi64_epi8((__m512i)v, mirrored, 0);
#else
    static constexpr uint8_t reversed[16] = {0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15};
    const auto halves = in_all_lanes<uint8_t>(reversed);
    const auto w = (vec<uint32_t>)(shuffled_lanes(halves, v & 15) << 4 | shuffled_lanes(halves, v >> 4));
#endif
    return (vec<uint8_t>)(w << up >> down & after);
  }
#endif
};

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

template <class T>
struct nothing {
  QVIM_INLINE T operator()(T) const { return 0; }
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

// --- curves in floating point

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

// --- sums to values

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

}  // namespace qvim::inline QVIM_LEVEL
