// Kernels from and to real values.
#include <limits>

#include "convert/operations.hpp"
#include "convert/run.hpp"

namespace qvim {
namespace {

// Integer to real: mask and shift in 32 bits, convert, and in the scaled kernels multiply by the reciprocal
// of k. What fits a signed integer converts faster.
template <class S, class D, template <class, class> class Operation, bool scaled>
struct to_real {
  static constexpr bool stays_small =
      sizeof(S) < 4 && !std::is_base_of_v<mask_shl<S, uint32_t>, Operation<S, uint32_t>>;
  Operation<S, uint32_t> operation;
  D factor;
  QVIM_INLINE to_real(uint32_t shift, uint32_t mask_or_k)
      : operation(shift, mask_or_k), factor(scaled ? D(1) / D(mask_or_k) : D(1)) {}
  QVIM_INLINE D operator()(S v) const {
    const uint32_t integer = operation(v);
    const D real = stays_small ? D(int32_t(integer)) : D(integer);
    return scaled ? real * factor : real;
  }
};

// Truncation of 0 <= v < 2^32, on all levels with the instructions for signed integers.
template <class S>
QVIM_INLINE uint32_t truncated(S v) {
  constexpr S half = 2147483648.0;
  const bool high = v >= half;
  return uint32_t(int32_t(v - (high ? half : S(0)))) ^ (high ? 0x80000000u : 0u);
}

// Values below 0 and NaN give 0, values from `limit` on give `largest`.
template <class S>
QVIM_INLINE uint32_t saturated(S v, S limit, uint32_t largest) {
  const S inside = v < limit ? v : S(0);
  const uint32_t integer = truncated(inside > S(0) ? inside : S(0));
  return v >= limit ? largest : integer;
}

template <class S>
constexpr S two_to_32 = 4294967296.0;

// Clamped to 0 .. mask, compared in the real type.
template <class S, class D>
struct clamp {
  uint32_t largest;
  S limit;
  QVIM_INLINE explicit clamp(uint32_t mask) : largest(mask), limit(S(mask)) {}
  QVIM_INLINE uint32_t operator()(S v) const { return saturated(v, limit, largest); }
};

// 0 .. 1 becomes 0 .. k, with k cut to the destination; k = 0 gives 0 for all values.
template <class S, class D>
struct clamp_scale {
  uint32_t k;
  S limit, factor;
  QVIM_INLINE explicit clamp_scale(uint32_t mask) : k(D(mask)), limit(k ? S(1) : S(0)), factor(S(k)) {}
  QVIM_INLINE uint32_t operator()(S v) const {
    const S inside = v < limit ? v : S(0);
    const uint32_t integer = truncated((inside > S(0) ? inside : S(0)) * factor);
    return v >= limit ? k : integer;
  }
};

// Times k, without a limit but that of 32 bits.
template <class S, class D>
struct scale {
  S factor;
  QVIM_INLINE explicit scale(uint32_t k) : factor(S(k)) {}
  QVIM_INLINE uint32_t operator()(S v) const { return saturated(v * factor, two_to_32<S>, 0xFFFFFFFFu); }
};

struct unshifted {
  QVIM_INLINE explicit unshifted(uint32_t) {}
  QVIM_INLINE uint32_t operator()(uint32_t v) const { return v; }
};
struct right {
  uint32_t shift;
  QVIM_INLINE explicit right(uint32_t s) : shift(s & 31) {}
  QVIM_INLINE uint32_t operator()(uint32_t v) const { return v >> shift; }
};
struct left {
  uint32_t shift;
  QVIM_INLINE explicit left(uint32_t s) : shift(s & 31) {}
  QVIM_INLINE uint32_t operator()(uint32_t v) const { return v << shift; }
};

template <class D, class Integer, class Shift>
struct from_real {
  Integer integer;
  Shift shift;
  QVIM_INLINE D operator()(auto v) const { return D(shift(integer(v))); }
};

// Doubles beyond the range of floats become the largest floats; NaN stays NaN.
template <class S, class D>
struct change_precision {
  QVIM_INLINE D operator()(S v) const {
    if constexpr (sizeof(D) < sizeof(S)) {
      constexpr S largest = std::numeric_limits<D>::max();
      v = largest < v ? largest : v;
      v = -largest > v ? -largest : v;
    }
    return D(v);
  }
};

constexpr bool plain = false, scaled = true;

}  // namespace
}  // namespace qvim

#define QVIM_CONVERSION(name, S, D, ...)                                                \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(                                        \
      const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count, \
      [[maybe_unused]] uint32_t shift, [[maybe_unused]] uint32_t mask) {                \
    qvim::run<S, D>(src, dst, srcstride, dststride, count, qvim::__VA_ARGS__);          \
  }
#define QVIM_TO_REAL(name, S, D, operation, scaling) \
  QVIM_CONVERSION(name, S, D, to_real<S, D, qvim::operation, qvim::scaling>(shift, mask))
#define QVIM_FROM_REAL(name, S, D, integer, shifted) \
  QVIM_CONVERSION(                                   \
      name, S, D,                                    \
      from_real<D, qvim::integer<S, D>, qvim::shifted>{qvim::integer<S, D>(mask), qvim::shifted(shift)})
#define QVIM_REAL(name, S, D) QVIM_CONVERSION(name, S, D, change_precision<S, D>())
#include <qvimage/members/npfbix.inc>
