// Pixel operations on bits.
#pragma once

#include <cstdint>

#include "kernels/operations.hpp"
#include "kernels/pixel/operation.hpp"
#include "kernels/shuffle.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

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

}  // namespace QVIM_LEVEL
}  // namespace qvim
