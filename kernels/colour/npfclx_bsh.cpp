// RGB to brightness, saturation and hue, and back: the hexcone model.
#include <bit>

#include "kernels/colour/full_scale.hpp"
#include "kernels/colour/pixels.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

// a or b. Both are at hand: a choice by masks keeps the compiler from moving the work for either into a
// branch, after which it could not do many pixels at a time.
template <class V>
QVIM_INLINE V choose(bool condition, V a, V b) {
  using bits = std::conditional_t<sizeof(V) == 4, uint32_t, uint64_t>;
  const bits mask = -bits(condition);
  return std::bit_cast<V>((std::bit_cast<bits>(a) & mask) | (std::bit_cast<bits>(b) & ~mask));
}

// Red, green and blue by sector of the circle: one is the largest, one the smallest, one between these.
// Black where there is no such hue.
template <class V>
struct rgb {
  V r, g, b;
};
template <class V>
QVIM_INLINE rgb<V> sector(V k, V largest, V smallest, V between, bool visible) {
  const auto one = [&](bool is_largest, bool is_between) __attribute__((always_inline)) {
    return choose(visible, choose(is_largest, largest, choose(is_between, between, smallest)), V(0));
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
  using real = std::conditional_t<sizeof(T) == 1, float, double>;
  static constexpr int fraction_bits = sizeof(T) == 1 ? 8 : 14;  // of a sector of the circle
  real full, half;
  QVIM_INLINE explicit whole(uint32_t maxvalue) : full(real(maxvalue)), half(real(maxvalue / 2)) {}
};

template <class T>
struct whole_to_bsh : whole<T> {
  static constexpr int inputs = 3, outputs = 3;
  using typename whole<T>::real;
  using whole<T>::whole;
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 3> p) const {
    using lane = lane_of<T>;
    const int32_t r = p.c[0], g = p.c[1], b = p.c[2];
    const int32_t gb_largest = g > b ? g : b, gb_smallest = g < b ? g : b;
    const int32_t v = r > gb_largest ? r : gb_largest, difference = v - (r < gb_smallest ? r : gb_smallest);
    const int32_t saturation = int32_t((real(v / 2) + real(difference) * this->full) / real(v ? v : 1));
    const int32_t x = r == v ? g - b : g == v ? 2 * difference + b - r : 4 * difference + r - g;
    const real half_step = real(3 * difference), turned = real(x) * (this->full + 1);
    const int32_t turns = int32_t((turned + (x > 0 ? half_step : -half_step)) /
                                  real(difference ? 6 * difference : 1));  // towards 0
    const int32_t hue = turns < 0 ? turns + int32_t(this->full) + 1 : turns;
    return {lane(v), lane(saturation), lane(T(saturation) ? hue : 0)};
  }
};

template <class T>
struct whole_from_bsh : whole<T> {
  static constexpr int inputs = 3, outputs = 3;
  using typename whole<T>::real;
  using whole<T>::whole;
  // Of a number not below 0: its whole part, and the low bits of that. Added to a number so large that it has
  // no fraction, an integer stands in the lowest bits of the sum.
  static constexpr real large = 0x1p52;
  QVIM_INLINE static real whole_part(real x) {
    if constexpr (sizeof(T) == 1) return real(int32_t(x));
    const real nearest = x + large - large;
    return choose(nearest > x, nearest - 1, nearest);
  }
  QVIM_INLINE static int32_t low_bits(real x) {
    if constexpr (sizeof(T) == 1)
      return int32_t(x);
    else
      return int32_t(std::bit_cast<uint64_t>(whole_part(x) + large) & 0xFFFF);
  }
  // B (1 - S) is rounded as B less the quotient of B S. An integer plus a half, times the reciprocal of full
  // scale, has the whole part of the exact quotient: its error is less than what the half makes.
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 3> p) const {
    using lane = lane_of<T>;
    constexpr int32_t steps = 1 << whole<T>::fraction_bits;
    const int32_t brightness = p.c[0], saturation = p.c[1];
    const real per_full = 1 / this->full, per_step = 1 / (this->full + 1);  // of a circle: exactly
    const real turned = (this->half + real(int32_t(p.c[2])) * (6 * steps)) * per_step;
    const auto h = int32_t(turned < 6 * steps ? turned : real(6 * steps));
    const int32_t k = h >> whole<T>::fraction_bits, f = h & (steps - 1);
    const real most = real(brightness) * real(saturation), part = real(choose(k % 2 != 0, f, steps - f));
    const real in_part = whole_part((part * most + (this->full * (steps / 2) - 1)) * (real(1) / steps));
    const int32_t smallest = brightness - low_bits((most + this->half + real(0.5)) * per_full);
    const int32_t between = brightness - low_bits((in_part + real(0.5)) * per_full);
    // Without saturation, all three are the brightness whatever the hue: k is 6 beyond the circle.
    const bool visible = saturation * (k / 6) == 0;
    const rgb<int32_t> q = sector(k, brightness, smallest, between, visible);
    return {lane(q.r), lane(q.g), lane(q.b)};
  }
};

// In floating point: brightness and saturation 0 .. 1, hue in degrees.
template <class real>
struct bsh {
  real v, s, hue;
};

template <class real>
QVIM_INLINE bsh<real> real_to_bsh(real r, real g, real b) {
  const real rg_largest = g > r ? g : r, rg_smallest = g < r ? g : r;
  const real v = b > rg_largest ? b : rg_largest, difference = v - (b < rg_smallest ? b : rg_smallest);
  const real s = choose(v == 0, real(0), difference / v);
  const bool red = r == v, green = g == v;
  const real turn = choose(red, g - b, choose(green, b - r, r - g)) / difference;
  const real degrees = 60 * choose(red, turn, turn + choose(green, real(2), real(4)));
  const real hue = choose(degrees < 0, degrees + 360, degrees);
  return {v, s, choose((v == 0) | (s == 0), real(0), hue)};
}

// A hue outside the circle is black unless there is no saturation: then all three are the brightness.
template <class real>
QVIM_INLINE rgb<real> real_from_bsh(bsh<real> from) {
  const real v = from.v, s = from.s;
  const bool visible = ((from.hue >= 0) & (from.hue <= 360)) | (s == 0);
  const real sixths = choose((from.hue >= 0) & (from.hue < 360), from.hue, real(0)) / 60;
  const real k = real(int32_t(sixths)), f = sixths - k;
  const bool odd = int32_t(sixths) % 2 != 0;
  return sector(k, v, v * (1 - s), v * (1 - s * choose(odd, f, 1 - f)), visible);
}

template <class T>
struct plain_to_bsh {
  static constexpr int inputs = 3, outputs = 3;
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 3> p) const {
    const bsh<T> q = real_to_bsh(p.c[0], p.c[1], p.c[2]);
    return {q.v, q.s, q.hue};
  }
};
template <class T>
struct plain_from_bsh {
  static constexpr int inputs = 3, outputs = 3;
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 3> p) const {
    const rgb<T> q = real_from_bsh(bsh<T>{p.c[0], p.c[1], p.c[2]});
    return {q.r, q.g, q.b};
  }
};

// Integers of 15 bits and more, computed in single precision.
template <class T>
struct normalised {
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
  static constexpr int inputs = 3, outputs = 3;
  using normalised<T>::normalised;
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 3> p) const {
    const float scale = this->full;
    const bsh<float> q = real_to_bsh(float(p.c[0]) / scale, float(p.c[1]) / scale, float(p.c[2]) / scale);
    const float hue = q.hue * this->hue_scale;
    return {this->rounded(q.v * scale), this->rounded(q.s * scale),
            this->rounded(choose(hue >= scale + 0.5f, 0.0f, hue))};
  }
};
template <class T>
struct normalised_from_bsh : normalised<T> {
  static constexpr int inputs = 3, outputs = 3;
  using normalised<T>::normalised;
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 3> p) const {
    const bsh<float> from{float(p.c[0]) / this->full, float(p.c[1]) / this->full,
                          float(p.c[2]) / this->hue_scale};
    const rgb<float> q = real_from_bsh(from);
    return {this->rounded(q.r * this->full), this->rounded(q.g * this->full),
            this->rounded(q.b * this->full)};
  }
};

template <class T, order from, order to, class Whole, class Normalised, class Plain>
QVIM_INLINE void convert_hexcone(const void *src, void *dst, uint64_t srcstride, uint64_t dststride,
                                 uint64_t count, const void *bits) {
  if constexpr (std::is_floating_point_v<T>) {
    convert_pixels<T, Plain, from, to>(src, dst, srcstride, dststride, count, Plain());
  } else {
    const uint32_t maxvalue = full_scale<T>(bits);
    if constexpr (sizeof(T) < 4)
      if (maxvalue < 1 << 14)
        return convert_pixels<T, Whole, from, to>(src, dst, srcstride, dststride, count, Whole(maxvalue));
    if constexpr (sizeof(T) > 1)
      convert_pixels<T, Normalised, from, to>(src, dst, srcstride, dststride, count, Normalised(maxvalue));
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
