// Kernels from and to real values.
#include <limits>

#include "kernels/operations.hpp"
#include "kernels/run.hpp"
#include "kernels/vectors.hpp"

// AVX-512 has all conversions, and compilers use them.
#if QVIM_LANES && !defined(__AVX512F__)
#define QVIM_CONVERTS 1
#else
#define QVIM_CONVERTS 0
#endif

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

// Integer to real. A shift is a multiplication of the real value by a power of two once the bits that it
// drops are gone: exact, so that it rounds like the shifted integer would, and it goes together with 1 / k.
template <class S, class D, bool masked, int direction, bool scaled>
struct to_real {
  S bits;
  D factor;
  QVIM_INLINE to_real(uint32_t shift, uint32_t mask_or_k) {
    shift &= 31;
    const uint32_t left_over = direction < 0 ? ~0u << shift : direction > 0 ? ~0u >> shift : ~0u;
    bits = S(left_over & (masked ? mask_or_k : ~0u));
    const D power = D(uint64_t(1) << shift);
    factor = (direction < 0 ? 1 / power : direction > 0 ? power : 1) * (scaled ? 1 / D(mask_or_k) : 1);
  }
  QVIM_INLINE D operator()(S v) const {
    const S kept = v & bits;
    if constexpr (sizeof(S) < 4)
      return D(int32_t(kept)) * factor;  // signed integers convert faster
    else
      return D(kept) * factor;
  }
};
template <class S, class D, bool scaled>
using real_of_keep = to_real<S, D, false, 0, scaled>;
template <class S, class D, bool scaled>
using real_of_mask = to_real<S, D, true, 0, scaled>;
template <class S, class D, bool scaled>
using real_of_shr = to_real<S, D, false, -1, scaled>;
template <class S, class D, bool scaled>
using real_of_shl = to_real<S, D, false, 1, scaled>;
template <class S, class D, bool scaled>
using real_of_mask_shr = to_real<S, D, true, -1, scaled>;
template <class S, class D, bool scaled>
using real_of_mask_shl = to_real<S, D, true, 1, scaled>;

// A constant that the compiler takes for a variable: it would otherwise turn selections between constants
// into separate paths, and then select the results, which takes far more instructions than to limit the
// values.
template <class T>
QVIM_INLINE T variable(T value) {
  asm("" : "+m"(value));
  return value;
}

// Values below 0 and NaN give 0, values from `limit` on give `largest`, others are multiplied and truncated.
// Written so that every conversion is in range. Where `limit` times `factor` is `largest` precisely, as it
// is for all integers in double precision, the value is limited before it is converted and nothing need be
// selected after.
template <class S, bool precise = sizeof(S) == 8>
QVIM_INLINE uint32_t saturated(S v, S limit, uint32_t largest, S factor) {
  const S positive = v > S(0) ? v : S(0);
  if constexpr (precise) return uint32_t((positive < limit ? positive : limit) * factor);
  const bool inside = positive < limit;
  const auto integer = uint32_t((inside ? positive : S(0)) * factor);
  return inside ? integer : largest;
}

#if QVIM_CONVERTS
// The same for as many values as a vector has numbers of 32 bits. `exact`: `largest` is less than 2^31, and
// `limit` times `factor`; doubles need not ask.
template <class S>
struct reals {
  static constexpr int parts = sizeof(S) / 4;
  vec<S> part[parts];
  QVIM_INLINE explicit reals(const char *from) {
    for (int i = 0; i < parts; ++i) part[i] = load_vector<S>(from + i * vector_bytes);
  }
};
constexpr uint32_t exact_in_float = 1 << 24;

template <bool exact, class S>
QVIM_INLINE vec<uint32_t> saturated(const reals<S> &v, S limit, uint32_t largest, S factor) {
  const vec<S> zero = {}, most = all<S>(limit);
  vec<S> positive[reals<S>::parts], limited[reals<S>::parts];
  for (int i = 0; i < reals<S>::parts; ++i) {
    positive[i] = v.part[i] > zero ? v.part[i] : zero;
    limited[i] = (positive[i] < most ? positive[i] : most) * factor;
  }
  if constexpr (sizeof(S) == 8)
    return whole_parts(limited[0], limited[1]);
  else if constexpr (exact)
    return whole_parts<true>(limited[0]);
  else
    return positive[0] < most ? whole_parts<false>(positive[0] * factor) : all<uint32_t>(largest);
}
#endif

// Clamped to 0 .. mask, compared in the real type.
template <class S, class D>
struct clamp {
  uint32_t largest;
  S limit;
  QVIM_INLINE explicit clamp(uint32_t mask) : largest(mask), limit(S(mask)) {}
  QVIM_INLINE uint32_t operator()(S v) const { return saturated(v, limit, largest, S(1)); }
#if QVIM_CONVERTS
  static constexpr bool has_vectors = true;
  QVIM_INLINE bool is_exact() const { return sizeof(S) == 8 || largest <= exact_in_float; }
  template <bool exact>
  QVIM_INLINE vec<uint32_t> vector(const reals<S> &v) const {
    return saturated<exact>(v, limit, largest, S(1));
  }
#endif
};

// 0 .. 1 becomes 0 .. k, with k cut to the destination; k = 0 gives 0 for all values.
template <class S, class D>
struct clamp_scale {
  static constexpr bool precise = sizeof(S) == 8 || sizeof(D) < 4;
  uint32_t k;
  S limit, factor;
  QVIM_INLINE explicit clamp_scale(uint32_t mask) : k(D(mask)), limit(k ? S(1) : S(0)), factor(S(k)) {}
  QVIM_INLINE uint32_t operator()(S v) const { return saturated<S, precise>(v, limit, k, factor); }
#if QVIM_CONVERTS
  static constexpr bool has_vectors = true;
  QVIM_INLINE bool is_exact() const { return precise || k <= exact_in_float; }
  template <bool exact>
  QVIM_INLINE vec<uint32_t> vector(const reals<S> &v) const {
    return saturated<exact>(v, limit, k, factor);
  }
#endif
};

// Times k, without a limit but that of 32 bits.
template <class S, class D>
struct scale {
  S factor, limit = variable(S(0xFFFFFFFFu));
  uint32_t largest = variable(0xFFFFFFFFu);
  QVIM_INLINE explicit scale(uint32_t k) : factor(S(k)) {}
  QVIM_INLINE uint32_t operator()(S v) const { return saturated(v * factor, limit, largest, S(1)); }
#if QVIM_CONVERTS
  static constexpr bool has_vectors = sizeof(S) == 8;  // not faster for floats
  QVIM_INLINE bool is_exact() const { return true; }
  template <bool>
  QVIM_INLINE vec<uint32_t> vector(reals<S> v) const {
    for (auto &part : v.part) part *= factor;
    return saturated<true>(v, limit, largest, S(1));
  }
#endif
};

struct unshifted {
  QVIM_INLINE explicit unshifted(uint32_t) {}
  QVIM_INLINE auto operator()(auto v) const { return v; }
};
struct right {
  uint32_t shift;
  QVIM_INLINE explicit right(uint32_t s) : shift(s & 31) {}
  QVIM_INLINE auto operator()(auto v) const { return v >> shift; }
};
struct left {
  uint32_t shift;
  QVIM_INLINE explicit left(uint32_t s) : shift(s & 31) {}
  QVIM_INLINE auto operator()(auto v) const { return v << shift; }
};

template <class S, class D, class Integer, class Shift>
struct from_real {
  Integer integer;
  Shift shift;
  QVIM_INLINE D operator()(S v) const { return D(shift(integer(v))); }

#if QVIM_CONVERTS
  // As many values of a run as make whole vectors of results; returns how many.
  QVIM_INLINE uint64_t vectors(const char *src, char *dst, uint64_t count) const
      requires(Integer::has_vectors) {
    return integer.is_exact() ? all_vectors<true>(src, dst, count) : all_vectors<false>(src, dst, count);
  }

 private:
  template <bool exact>
  QVIM_INLINE uint64_t all_vectors(const char *src, char *dst, uint64_t count) const {
    constexpr uint64_t values = vector_bytes / sizeof(D);
    const from_real operation = *this;
    uint64_t done = 0;
    for (; count - done >= values; done += values, src += values * sizeof(S), dst += values * sizeof(D)) {
      const auto word = [&](int i) __attribute__((always_inline)) {
        return operation.shift(operation.integer.template vector<exact>(
            reals<S>(src + i * (vector_bytes / 4) * int(sizeof(S)))));
      };
      if constexpr (sizeof(D) == 1)
        store_vector(dst, low_bytes(word(0), word(1), word(2), word(3)));
      else if constexpr (sizeof(D) == 2)
        store_vector(dst, low_words(word(0), word(1)));
      else
        store_vector(dst, word(0));
    }
    return done;
  }
#endif
};

// Doubles beyond the range of floats become the largest floats; NaN stays NaN.
template <class S, class D>
struct change_precision {
  S largest = variable(S(std::numeric_limits<D>::max()));
  QVIM_INLINE D operator()(S v) const {
    if constexpr (sizeof(D) < sizeof(S)) {
      v = largest < v ? largest : v;
      v = -largest > v ? -largest : v;
    }
    return D(v);
  }
};

constexpr bool plain = false, scaled = true;

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_CONVERSION(name, S, D, ...)                                                              \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, int64_t srcstride, int64_t dststride, \
                                    uint64_t count, [[maybe_unused]] uint32_t shift,                  \
                                    [[maybe_unused]] uint32_t mask) {                                 \
    qvim::run<S, D>(src, dst, srcstride, dststride, count, qvim::__VA_ARGS__);                        \
  }
#define QVIM_TO_REAL(name, S, D, operation, scaling) \
  QVIM_CONVERSION(name, S, D, real_of_##operation<S, D, qvim::scaling>(shift, mask))
#define QVIM_FROM_REAL(name, S, D, integer, shifted) \
  QVIM_CONVERSION(                                   \
      name, S, D,                                    \
      from_real<S, D, qvim::integer<S, D>, qvim::shifted>{qvim::integer<S, D>(mask), qvim::shifted(shift)})
#define QVIM_REAL(name, S, D) QVIM_CONVERSION(name, S, D, change_precision<S, D>())
#include <qvimage/members/npfbix.inc>
