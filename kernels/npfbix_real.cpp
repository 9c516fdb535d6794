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
// As many values as a vector has numbers of 32 bits.
template <class S>
struct reals {
  static constexpr int parts = sizeof(S) / 4;
  vec<S> part[parts];
  QVIM_INLINE explicit reals(const char *from) {
    for (int i = 0; i < parts; ++i) part[i] = load_vector<S>(from + i * vector_bytes);
  }
  QVIM_INLINE vec<int32_t> signed_numbers() const {
    if constexpr (parts == 2)
      return signed_parts(part[0], part[1]);
    else
      return signed_parts(part[0]);
  }
};
constexpr uint32_t exact_in_float = 1 << 24;

// What is known of the integers that values become: that they fit the destination, where those below 0 and
// NaN become negative ones; that they are below 2^31; nothing.
enum class known { to_fit, below_half, nothing };

template <known what, class S>
QVIM_INLINE vec<uint32_t> saturated(const reals<S> &v, S limit, uint32_t largest, S factor) {
  const vec<S> zero = {}, most = all<S>(limit);
  reals<S> positive = v, limited = v;
  for (int i = 0; i < reals<S>::parts; ++i) {
    if constexpr (what != known::to_fit) positive.part[i] = v.part[i] > zero ? v.part[i] : zero;
    limited.part[i] = (most < positive.part[i] ? most : positive.part[i]) * factor;
  }
  if constexpr (what != known::nothing)
    return (vec<uint32_t>)limited.signed_numbers();
  else if constexpr (sizeof(S) == 8)
    return whole_parts(limited.part[0], limited.part[1]);
  else
    return positive.part[0] < most ? whole_parts<false>(positive.part[0] * factor) : all<uint32_t>(largest);
}
#endif

// Clamped to 0 .. mask, compared in the real type.
template <class S, class D>
struct clamp {
  static constexpr bool is_limited = true;
  uint32_t largest;
  S limit;
  QVIM_INLINE explicit clamp(uint32_t mask) : largest(mask), limit(S(mask)) {}
  QVIM_INLINE uint32_t operator()(S v) const { return saturated(v, limit, largest, S(1)); }
#if QVIM_CONVERTS
  template <known what>
  QVIM_INLINE vec<uint32_t> vector(const reals<S> &v) const {
    return saturated<what>(v, limit, largest, S(1));
  }
#endif
};

// 0 .. 1 becomes 0 .. k, with k cut to the destination; k = 0 gives 0 for all values.
template <class S, class D>
struct clamp_scale {
  static constexpr bool is_limited = true;
  static constexpr bool precise = sizeof(S) == 8 || sizeof(D) < 4;
  uint32_t largest;
  S limit, factor;
  QVIM_INLINE explicit clamp_scale(uint32_t k)
      : largest(D(k)), limit(largest ? S(1) : S(0)), factor(S(largest)) {}
  QVIM_INLINE uint32_t operator()(S v) const { return saturated<S, precise>(v, limit, largest, factor); }
#if QVIM_CONVERTS
  template <known what>
  QVIM_INLINE vec<uint32_t> vector(const reals<S> &v) const {
    return saturated<what>(v, limit, largest, factor);
  }
#endif
};

// Times k, without a limit but that of 32 bits.
template <class S, class D>
struct scale {
  static constexpr bool is_limited = false;
  S factor, limit = variable(S(0xFFFFFFFFu));
  uint32_t largest = variable(0xFFFFFFFFu);
  QVIM_INLINE explicit scale(uint32_t k) : factor(S(k)) {}
  QVIM_INLINE uint32_t operator()(S v) const { return saturated(v * factor, limit, largest, S(1)); }
#if QVIM_CONVERTS
  QVIM_INLINE bool all_below(S bound, const char *src, int vectors) const {
    vec<S> biggest = {};
    for (int i = 0; i < vectors; ++i) {
      const vec<S> v = load_vector<S>(src + i * vector_bytes) * factor;
      biggest = v > biggest ? v : biggest;
    }
    return !any_set((vec<int32_t>)(biggest >= all<S>(bound)));
  }
  template <known what>
  QVIM_INLINE vec<uint32_t> vector(reals<S> v) const {
    for (auto &part : v.part) part *= factor;
    if constexpr (what == known::nothing) return saturated<what>(v, limit, largest, S(1));
    if constexpr (what == known::below_half) {
      for (auto &part : v.part) part = part > 0 ? part : vec<S>{};
    }
    return (vec<uint32_t>)v.signed_numbers();
  }
#endif
};

struct unshifted {
  static constexpr bool keeps_sign = true;
  QVIM_INLINE explicit unshifted(uint32_t) {}
  QVIM_INLINE auto operator()(auto v) const { return v; }
  QVIM_INLINE uint64_t back(uint64_t v) const { return v; }
};
struct right {
  static constexpr bool keeps_sign = true;
  uint32_t shift;
  QVIM_INLINE explicit right(uint32_t s) : shift(s & 31) {}
  QVIM_INLINE auto operator()(auto v) const { return v >> shift; }
  QVIM_INLINE uint64_t back(uint64_t v) const { return v << shift; }
};
struct left {
  static constexpr bool keeps_sign = false;
  uint32_t shift;
  QVIM_INLINE explicit left(uint32_t s) : shift(s & 31) {}
  QVIM_INLINE auto operator()(auto v) const { return v << shift; }
  QVIM_INLINE uint64_t back(uint64_t v) const { return v >> shift; }
};

template <class S, class D, class Integer, class Shift>
struct from_real {
  Integer integer;
  Shift shift;
  QVIM_INLINE D operator()(S v) const { return D(shift(integer(v))); }

#if QVIM_CONVERTS
  // As many values of a run as make whole vectors of results; returns how many.
  QVIM_INLINE uint64_t vectors(const char *src, char *dst, uint64_t count) const {
    const auto all = [&]<known what>() __attribute__((always_inline)) {
      return each_vector(
          src, dst, count, [op = *this](const char *from, char *to) __attribute__((always_inline)) {
            op.template convert<what>(from, to);
          });
    };
    if constexpr (!Integer::is_limited)
      return unlimited_vectors(src, dst, count);
    else if (integer.largest > exact_in_float)
      return all.template operator()<known::nothing>();
    else if (integer.largest < fitting())
      return all.template operator()<when_fitting>();
    else
      return all.template operator()<known::below_half>();
  }

 private:
  // So many make one of results.
  static constexpr int source_vectors = sizeof(S) / sizeof(D);

  QVIM_INLINE static uint64_t each_vector(const char *src, char *dst, uint64_t count, const auto &convert) {
    constexpr uint64_t values = vector_bytes / sizeof(D);
    uint64_t done = 0;
    for (; count - done >= values; done += values) convert(src + done * sizeof(S), dst + done * sizeof(D));
    return done;
  }
  // Results fit when the integers are below this.
  QVIM_INLINE uint64_t fitting() const {
    const uint64_t bound = shift.back(uint64_t(1) << 8 * sizeof(D)), half = 1u << 31;
    return bound < half ? bound : half;
  }
  static constexpr known when_fitting = sizeof(D) < 4 ? known::to_fit : known::below_half;
  QVIM_INLINE uint64_t unlimited_vectors(const char *src, char *dst, uint64_t count) const {
    const S bound = S(fitting());
    return each_vector(
        src, dst, count, [ op = *this, bound ](const char *from, char *to) __attribute__((always_inline)) {
          if (op.integer.all_below(bound, from, source_vectors)) [[likely]]
            op.template convert<when_fitting>(from, to);
          else
            op.template convert<known::nothing>(from, to);
        });
  }
  template <known what>
  QVIM_INLINE void convert(const char *src, char *dst) const {
    const auto word = [ =, this ](int i) __attribute__((always_inline)) {
      const reals<S> v(src + i * reals<S>::parts * vector_bytes);
      const auto whole = (vec<int32_t>)integer.template vector<what>(v);
      if constexpr (what != known::to_fit) return shift((vec<uint32_t>)whole);
      return (vec<uint32_t>)shift(Shift::keeps_sign ? whole : whole > 0 ? whole : whole & 0);
    };
    constexpr bool fits = what == known::to_fit;
    if constexpr (sizeof(D) == 1)
      store_vector(dst, narrowed_bytes<fits>(word(0), word(1), word(2), word(3)));
    else if constexpr (sizeof(D) == 2)
      store_vector(dst, narrowed_words<fits>(word(0), word(1)));
    else
      store_vector(dst, word(0));
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
