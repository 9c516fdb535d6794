// What the integer kernels do to a value of type S to make one of type D: an optional mask, an optional shift
// of at least 32 bits, the low bytes stored. Every operation takes the kernels' shift and mask arguments.
// idle() says that no value would change (asked of the operations that work in place, where S is D).
#pragma once

#include <cstdint>
#include <type_traits>

#include "kernels/level.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

template <class T>
constexpr T all_bits = T(~T(0));

// A narrow value repeated through a word.
template <class T>
QVIM_INLINE constexpr uint32_t repeated(T value) {
  return uint32_t(value) * (0xFFFFFFFFu / all_bits<T>);
}

template <class S, class D>
struct keep {
  QVIM_INLINE keep(uint32_t, uint32_t) {}
  QVIM_INLINE D operator()(S v) const { return D(v); }
};

template <class S, class D>
struct mask {
  S bits;
  QVIM_INLINE mask(uint32_t, uint32_t m) : bits(S(m)) {}
  QVIM_INLINE bool idle() const { return bits == all_bits<S>; }
  QVIM_INLINE D operator()(S v) const { return D(v & bits); }
};

// Shifts have no vector instruction for bytes, and 16-bit ones are not used by the compiler when the count is
// variable. Narrow values of equal width are therefore shifted several in a word, the others by
// multiplication.
template <class S, class D>
struct mask_shr {
  static constexpr bool is_wordwise = sizeof(S) == sizeof(D) && sizeof(S) < 4;
  static constexpr bool multiplies = sizeof(S) == 1 && sizeof(D) == 2;
  S bits;
  uint32_t shift, before, after;
  uint16_t factor;

  QVIM_INLINE mask_shr(uint32_t s, uint32_t m)
      : bits(S(m)),
        shift(s & 31),
        before(repeated(bits)),
        after(repeated(S(uint32_t(all_bits<S>) >> shift))),
        factor(uint16_t(256u >> shift)) {}
  QVIM_INLINE bool idle() const { return shift == 0 && bits == all_bits<S>; }
  QVIM_INLINE D operator()(S v) const {
    if constexpr (multiplies)
      return D(uint16_t(uint32_t(v & bits) * factor) >> 8);
    else
      return D(uint32_t(v & bits) >> shift);
  }
  QVIM_INLINE uint32_t word(uint32_t v) const { return ((v & before) >> shift) & after; }
};

template <class S, class D>
struct mask_shl {
  static constexpr bool is_wordwise = sizeof(S) == 1 && sizeof(D) == 1;
  static constexpr bool multiplies = sizeof(D) == 2;
  static constexpr bool to_high_byte = sizeof(S) == 2 && sizeof(D) == 1;
  S bits;
  uint32_t shift, before, after;
  uint16_t factor;

  QVIM_INLINE mask_shl(uint32_t s, uint32_t m)
      : bits(S(m)),
        shift(s & 31),
        before(repeated(bits)),
        after(repeated(S(uint32_t(all_bits<S>) << shift))),
        factor(uint16_t((to_high_byte ? 256u : 1u) << shift)) {}
  QVIM_INLINE bool idle() const { return shift == 0 && bits == all_bits<S>; }
  QVIM_INLINE D operator()(S v) const {
    if constexpr (multiplies)
      return D(uint32_t(v & bits) * factor);
    else if constexpr (to_high_byte)
      return D(uint16_t(uint32_t(v & bits) * factor) >> 8);
    else
      return D(uint32_t(v & bits) << shift);
  }
  QVIM_INLINE uint32_t word(uint32_t v) const { return ((v & before) << shift) & after; }
};

template <class S, class D>
struct shr : mask_shr<S, D> {
  QVIM_INLINE shr(uint32_t s, uint32_t) : mask_shr<S, D>(s, ~0u) {}
};

template <class S, class D>
struct shl : mask_shl<S, D> {
  QVIM_INLINE shl(uint32_t s, uint32_t) : mask_shl<S, D>(s, ~0u) {}
};

template <class S, class D, int shift>
struct fixed_shift {
  QVIM_INLINE fixed_shift(uint32_t, uint32_t) {}
  QVIM_INLINE D operator()(S v) const {
    return shift < 0 ? D(uint32_t(v) << -shift) : D(uint32_t(v) >> shift);
  }
};
template <class S, class D>
using shr_8 = fixed_shift<S, D, 8>;
template <class S, class D>
using shr_16 = fixed_shift<S, D, 16>;
template <class S, class D>
using shr_24 = fixed_shift<S, D, 24>;
template <class S, class D>
using shl_8 = fixed_shift<S, D, -8>;
template <class S, class D>
using shl_16 = fixed_shift<S, D, -16>;
template <class S, class D>
using shl_24 = fixed_shift<S, D, -24>;

// Arithmetic: the value counts as signed. In words, a negative value's sign less its shifted sign is what
// comes in at the top.
template <class S, class D>
struct sar {
  static constexpr bool is_wordwise = sizeof(S) == sizeof(D) && sizeof(S) < 4;
  uint32_t shift, after;
  QVIM_INLINE sar(uint32_t s, uint32_t)
      : shift((s & 31) < 8 * sizeof(S) ? s & 31 : 8 * sizeof(S) - 1),
        after(repeated(S(uint32_t(all_bits<S>) >> shift))) {}
  QVIM_INLINE bool idle() const { return shift == 0; }
  QVIM_INLINE D operator()(S v) const { return D(int32_t(std::make_signed_t<S>(v)) >> shift); }
  QVIM_INLINE uint32_t word(uint32_t v) const {
    const uint32_t sign = v & repeated(S(all_bits<S> ^ (all_bits<S> >> 1)));
    return (v >> shift & after) | (sign - (sign >> shift)) << 1;
  }
};

template <class S, class D>
struct swap_bytes {
  QVIM_INLINE swap_bytes(uint32_t, uint32_t) {}
  QVIM_INLINE bool idle() const { return false; }
  QVIM_INLINE D operator()(S v) const {
    static_assert(sizeof(S) == sizeof(D));
    if constexpr (sizeof(S) == 2)
      return D(__builtin_bswap16(v));
    else
      return D(__builtin_bswap32(v));
  }
};

}  // namespace QVIM_LEVEL
}  // namespace qvim
