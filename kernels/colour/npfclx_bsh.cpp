// RGB to brightness, saturation and hue, and back: the hexcone model.
#include <bit>

#include "kernels/colour/full_scale.hpp"
#include "kernels/colour/lane_reals.hpp"
#include "kernels/colour/pixels.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

// Conversions are written for a pixel, in numbers, or for as many as a vector has, in vectors of numbers.
template <class N>
struct number_traits {
  using element = N;
};
#if QVIM_LANES
template <>
struct number_traits<vec<float>> {
  using element = float;
};
template <>
struct number_traits<vec<int32_t>> {
  using element = int32_t;
};
#endif
template <class N>
using element_of = typename number_traits<N>::element;

template <class N>
QVIM_INLINE N number(element_of<N> v) {
  return N{} + v;
}
template <class To, class N>
QVIM_INLINE To converted(N v) {
  if constexpr (std::is_arithmetic_v<N>)
    return To(v);
  else
    return __builtin_convertvector(v, To);
}

// a or b. Both are at hand: a choice by masks keeps the compiler from moving the work for either into a
// branch, after which it could not do many pixels at a time.
template <class Condition, class N>
QVIM_INLINE N choose(Condition condition, N a, N b) {
  if constexpr (std::is_arithmetic_v<N>) {
    using bits = std::conditional_t<sizeof(N) == 4, uint32_t, uint64_t>;
    const bits mask = -bits(condition);
    return std::bit_cast<N>((std::bit_cast<bits>(a) & mask) | (std::bit_cast<bits>(b) & ~mask));
  } else {
    return condition ? a : b;
  }
}

// Three components: red, green, blue, or brightness, saturation, hue.
template <class N>
struct three {
  N c[3];
};

// Red, green and blue by sector of the circle: one is the largest, one the smallest, one between these.
// Black where there is no such hue.
template <class N>
QVIM_INLINE three<N> sector(auto k, N largest, N smallest, N between, auto visible) {
  const auto one = [&](auto is_largest, auto is_between) __attribute__((always_inline)) {
    return choose(visible, choose(is_largest, largest, choose(is_between, between, smallest)), N{});
  };
  return {one((k == 0) | (k == 5), (k == 1) | (k == 4)), one((k == 1) | (k == 2), (k == 0) | (k == 3)),
          one((k == 3) | (k == 4), (k == 2) | (k == 5))};
}

// Integer arithmetic, done in floating-point numbers, which hold all values exactly and can be divided many
// at a time: float for bytes, where nothing is larger than 2^24, double for 14 bits. A quotient of integers n
// / d is never rounded up to an integer that it does not reach, because n is less than the numbers'
// precision: its whole part is exact.
template <class T>
struct whole {
  using number_type = int32_t;
  using one_real = std::conditional_t<sizeof(T) == 1, float, double>;
#if QVIM_LANES
  template <class N>
  using real_like = std::conditional_t<std::is_arithmetic_v<N>, one_real, vec<float>>;
#else
  template <class N>
  using real_like = one_real;
#endif
  static constexpr bool in_vectors = sizeof(T) == 1;
  static constexpr int fraction_bits = sizeof(T) == 1 ? 8 : 14;  // of a sector of the circle
  one_real full, half;
  QVIM_INLINE explicit whole(uint32_t maxvalue) : full(one_real(maxvalue)), half(one_real(maxvalue / 2)) {}
};

template <class T>
struct whole_to_bsh : whole<T> {
  using whole<T>::whole;
  template <class N>
  QVIM_INLINE three<N> operator()(three<N> p) const {
    using real = typename whole<T>::template real_like<N>;
    const N r = p.c[0], g = p.c[1], b = p.c[2];
    const N gb_largest = g > b ? g : b, gb_smallest = g < b ? g : b;
    const N v = r > gb_largest ? r : gb_largest, difference = v - (r < gb_smallest ? r : gb_smallest);
    const N divisor = v > 1 ? v : number<N>(1), width = difference > 1 ? difference : number<N>(1);
    const real differences = converted<real>(difference);
    const N saturation =
        converted<N>((converted<real>(v >> 1) + differences * this->full) / converted<real>(divisor));
    const N x = r == v ? g - b : (g == v ? 2 * difference + b - r : 4 * difference + r - g);
    const real half_step = converted<real>(3 * difference), turned = converted<real>(x) * (this->full + 1);
    const N turns = converted<N>((turned + choose(x > 0, half_step, -half_step)) /
                                 converted<real>(6 * width));  // towards 0
    const N hue = turns < 0 ? turns + int32_t(this->full) + 1 : turns;
    constexpr int32_t low_bits = T(-1);
    return {{v, saturation, (saturation & low_bits) != 0 ? hue : number<N>(0)}};
  }
};

template <class T>
struct whole_from_bsh : whole<T> {
  using typename whole<T>::one_real;
  using whole<T>::whole;
  // Of a number not below 0: its whole part, and the low bits of that. Added to a number so large that it has
  // no fraction, an integer stands in the lowest bits of the sum.
  static constexpr double large = 0x1p52;
  template <class N>
  QVIM_INLINE static auto whole_part(auto x) {
    if constexpr (sizeof(T) == 1) {
      return converted<decltype(x)>(converted<N>(x));
    } else {
      const double nearest = x + large - large;
      return choose(nearest > x, nearest - 1, nearest);
    }
  }
  template <class N>
  QVIM_INLINE static N low_bits(auto x) {
    if constexpr (sizeof(T) == 1)
      return converted<N>(x);
    else
      return N(std::bit_cast<uint64_t>(whole_part<N>(x) + large) & 0xFFFF);
  }
  // B (1 - S) is rounded as B less the quotient of B S. An integer plus a half, times the reciprocal of full
  // scale, has the whole part of the exact quotient: its error is less than what the half makes.
  template <class N>
  QVIM_INLINE three<N> operator()(three<N> p) const {
    using real = typename whole<T>::template real_like<N>;
    constexpr int32_t steps = 1 << whole<T>::fraction_bits;
    const N brightness = p.c[0], saturation = p.c[1];
    const one_real per_full = 1 / this->full, per_step = 1 / (this->full + 1);  // of a circle: exactly
    constexpr one_real circle = 6 * steps, a_half = one_real(0.5);
    const real turned = (this->half + converted<real>(p.c[2]) * circle) * per_step;
    const N h = converted<N>(choose(turned < circle, turned, number<real>(circle)));
    const N k = h >> whole<T>::fraction_bits, f = h & (steps - 1);
    const real most = converted<real>(brightness) * converted<real>(saturation),
               part = converted<real>(choose((k & 1) != 0, f, steps - f));
    const real in_part =
        whole_part<N>((part * most + (this->full * (steps / 2) - 1)) * (one_real(1) / steps));
    const N smallest = brightness - low_bits<N>((most + (this->half + a_half)) * per_full);
    const N between = brightness - low_bits<N>((in_part + a_half) * per_full);
    // Without saturation, all three are the brightness whatever the hue: k is 6 beyond the circle.
    return sector(k, brightness, smallest, between, (saturation == 0) | (k < 6));
  }
};

// In floating point: brightness and saturation 0 .. 1, hue in degrees.
template <class N>
QVIM_INLINE three<N> real_to_bsh(three<N> p) {
  using real = element_of<N>;
  const N r = p.c[0], g = p.c[1], b = p.c[2];
  const N rg_largest = g > r ? g : r, rg_smallest = g < r ? g : r;
  const N v = b > rg_largest ? b : rg_largest, difference = v - (b < rg_smallest ? b : rg_smallest);
  const N s = choose(v == 0, N{}, difference / v);
  const auto red = r == v, green = g == v;
  const N turn = choose(red, g - b, choose(green, b - r, r - g)) / difference;
  const N turned = turn + choose(green, number<N>(real(2)), number<N>(real(4)));
  const N degrees = real(60) * choose(red, turn, turned);
  const N hue = choose(degrees < 0, degrees + real(360), degrees);
  return {{v, s, choose((v == 0) | (s == 0), N{}, hue)}};
}

// A hue outside the circle is black unless there is no saturation: then all three are the brightness.
template <class N, class Integer>
QVIM_INLINE three<N> real_from_bsh(three<N> p) {
  using real = element_of<N>;
  const N v = p.c[0], s = p.c[1], hue = p.c[2];
  const auto visible = ((hue >= 0) & (hue <= 360)) | (s == 0);
  const N sixths = choose((hue >= 0) & (hue < 360), hue, N{}) / real(60);
  const Integer sixth = converted<Integer>(sixths);
  const N k = converted<N>(sixth), f = sixths - k;
  const auto odd = [&]() __attribute__((always_inline)) {
    if constexpr (sizeof(real) == sizeof(int32_t))
      return (sixth & 1) != 0;
    else  // gcc 12 makes a branch of a choice of doubles by integers half as wide
      return (k == 1) | (k == 3) | (k == 5);
  }
  ();
  return sector(k, v, v * (real(1) - s), v * (real(1) - s * choose(odd, f, real(1) - f)), visible);
}

template <class T>
struct plain_to_bsh {
  using number_type = T;
  static constexpr bool in_vectors = sizeof(T) == 4;
  template <class N>
  QVIM_INLINE three<N> operator()(three<N> p) const {
    return real_to_bsh(p);
  }
};
template <class T>
struct plain_from_bsh {
  using number_type = T;
  static constexpr bool in_vectors = sizeof(T) == 4;
  template <class N>
  QVIM_INLINE three<N> operator()(three<N> p) const {
#if QVIM_LANES
    using integer = std::conditional_t<std::is_arithmetic_v<N>, int32_t, vec<int32_t>>;
#else
    using integer = int32_t;
#endif
    return real_from_bsh<N, integer>(p);
  }
};

// Integers of 15 bits and more, computed in single precision.
template <class T>
struct normalised {
  using number_type = T;
  static constexpr bool in_vectors = false;
  float full, hue_scale;  // of all 32 bits, full scale is 2^32 in single precision
  uint32_t largest;
  QVIM_INLINE explicit normalised(uint32_t maxvalue)
      : full(float(maxvalue)), hue_scale(float(uint64_t(maxvalue) + 1) / 360), largest(maxvalue) {}
  QVIM_INLINE T rounded(float v) const {
    const float up = v + 0.5f, positive = up > 0 ? up : 0;
    if constexpr (sizeof(T) == 2) {
      return T(int32_t(positive < full ? positive : full));
    } else {  // by halves of the range: processors convert to signed numbers
      const bool high = positive >= 0x1p31f, fits = positive < 0x1p32f;
      const float low = choose(high, positive - 0x1p31f, positive);
      const uint32_t integer = uint32_t(int32_t(choose(fits, low, 0.0f))) + choose(high, 1u << 31, 0u);
      const uint32_t limited = choose(fits, integer, 0xFFFFFFFFu);
      return T(limited < largest ? limited : largest);
    }
  }
};

template <class T>
struct normalised_to_bsh : normalised<T> {
  using normalised<T>::normalised;
  QVIM_INLINE three<T> operator()(three<T> p) const {
    const float scale = this->full;
    const three<float> q =
        real_to_bsh(three<float>{{float(p.c[0]) / scale, float(p.c[1]) / scale, float(p.c[2]) / scale}});
    const float hue = q.c[2] * this->hue_scale;
    return {{this->rounded(q.c[0] * scale), this->rounded(q.c[1] * scale),
             this->rounded(choose(hue >= scale + 0.5f, 0.0f, hue))}};
  }
};
template <class T>
struct normalised_from_bsh : normalised<T> {
  using normalised<T>::normalised;
  QVIM_INLINE three<T> operator()(three<T> p) const {
    const float scale = this->full;
    const three<float> q = real_from_bsh<float, int32_t>(
        {{float(p.c[0]) / scale, float(p.c[1]) / scale, float(p.c[2]) / this->hue_scale}});
    return {{this->rounded(q.c[0] * scale), this->rounded(q.c[1] * scale), this->rounded(q.c[2] * scale)}};
  }
};

// A conversion for the plain loops.
template <class T, class Conversion>
struct of_pixel {
  static constexpr int inputs = 3, outputs = 3;
  Conversion conversion;
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 3> p) const {
    using number = typename Conversion::number_type;
    using lane = lane_of<T>;
    const three<number> q = conversion(three<number>{{number(p.c[0]), number(p.c[1]), number(p.c[2])}});
    return {lane(q.c[0]), lane(q.c[1]), lane(q.c[2])};
  }
};

#if QVIM_LANES
// The same in vectors.
template <class T, order from, order to, class Conversion>
struct in_lanes {
  static constexpr int64_t together = sizeof(T) == 1 ? 4 : 1, pixels = together * vector_bytes / 4;
  Conversion conversion;

  template <class N>
  QVIM_INLINE void put(three<N> p, N (&results)[3]) const {
    const three<N> q = conversion(three<N>{{p.c[place<from>(0)], p.c[place<from>(1)], p.c[place<from>(2)]}});
    for (int c = 0; c < 3; ++c) results[place<to>(c)] = q.c[c];
  }
  QVIM_INLINE void convert(const char *src, char *dst) const requires(std::is_floating_point_v<T>) {
    const auto in = lane_planes<T>::load(src);
    lane_planes<T> out;
    put(three<vec<T>>{{in.c[0], in.c[1], in.c[2]}}, out.c);
    out.store(dst);
  }
  template <int c>
  static constexpr lane_order component{[](int i) { return i % 4 ? 128 : i / 4 * 3 + c; }};
  QVIM_INLINE void convert(const char *src, char *dst) const requires(sizeof(T) == 1) {
    byte_vector in[together], out[together];
    each<together>([&](auto i)
                       __attribute__((always_inline)) { in[i] = load_lanes<12>(src + i * lanes * 12, 12); });
    each<together>([&](auto i) __attribute__((always_inline)) {
      const three<vec<int32_t>> p = {{(vec<int32_t>)ordered<component<0>>(in[i]),
                                      (vec<int32_t>)ordered<component<1>>(in[i]),
                                      (vec<int32_t>)ordered<component<2>>(in[i])}};
      three_sums<T, 3> results;
      put(p, results.c);
      for (auto &c : results.c) c &= T(-1);
      out[i] = results.bytes(all<uint8_t>(255));
    });
    store_twelves(dst, out);
  }
};
#endif

template <class T, order from, order to, class Conversion>
QVIM_INLINE void convert(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, uint64_t count,
                         const Conversion &conversion) {
#if QVIM_LANES
  if constexpr (Conversion::in_vectors) {
    using step = in_lanes<T, from, to, Conversion>;
    return packed_blocks<3 * sizeof(T), 3 * sizeof(T)>(
        src, dst, srcstride, dststride,
        count, [&](const char *s, char *d, uint64_t n) __attribute__((always_inline)) {
          run_steps<T, 3, 3, 3, step::pixels>(step{conversion}, s, d, n);
        });
  }
#endif
  convert_pixels<T, of_pixel<T, Conversion>, from, to>(src, dst, srcstride, dststride, count,
                                                       of_pixel<T, Conversion>{conversion});
}

template <class T, order from, order to, class Whole, class Normalised, class Plain>
QVIM_INLINE void convert_hexcone(const void *src, void *dst, uint64_t srcstride, uint64_t dststride,
                                 uint64_t count, const void *bits) {
  if constexpr (std::is_floating_point_v<T>) {
    convert<T, from, to>(src, dst, srcstride, dststride, count, Plain());
  } else {
    const uint32_t maxvalue = full_scale<T>(bits);
    if constexpr (sizeof(T) < 4)
      if (maxvalue < 1 << 14)
        return convert<T, from, to>(src, dst, srcstride, dststride, count, Whole(maxvalue));
    if constexpr (sizeof(T) > 1)
      convert<T, from, to>(src, dst, srcstride, dststride, count, Normalised(maxvalue));
  }
}

template <class T, order from>
QVIM_INLINE void to_bsh(auto... arguments) {
  convert_hexcone<T, from, order::rgb, whole_to_bsh<T>, normalised_to_bsh<T>, plain_to_bsh<T>>(arguments...);
}
template <class T, order to>
QVIM_INLINE void from_bsh(auto... arguments) {
  convert_hexcone<T, order::rgb, to, whole_from_bsh<T>, normalised_from_bsh<T>, plain_from_bsh<T>>(
      arguments...);
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_CLX_BSH(name, T, conversion, o)                                                            \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, \
                                    uint64_t count, uint32_t, const void *param) {                      \
    qvim::conversion<T, qvim::order::o>(src, dst, srcstride, dststride, count, param);                  \
  }
#include <qvimage/members/npfclx.inc>
