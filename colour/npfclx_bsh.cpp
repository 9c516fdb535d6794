// RGB to brightness, saturation and hue, and back: the hexcone model.
#include <cmath>

#include "colour/full_scale.hpp"
#include "colour/pixels.hpp"

namespace qvim {
namespace {

// Which of three values a pixel's red, green and blue are, by sector of the circle.
template <class T, class V>
QVIM_INLINE pixel<T, 3> sector(int32_t k, V v, V p, V q, V t) {
  using lane = lane_of<T>;
  const V r = k == 0 || k == 5 ? v : k == 1 ? q : k == 4 ? t : p;
  const V g = k == 1 || k == 2 ? v : k == 0 ? t : k == 3 ? q : p;
  const V b = k == 3 || k == 4 ? v : k == 2 ? t : k == 5 ? q : p;
  return {lane(r), lane(g), lane(b)};
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
  // Saturations above full scale give negative numbers: the low bits of what is rounded down.
  QVIM_INLINE static int32_t low_bits(real quotient) {
    const real down = std::floor(quotient);
    if constexpr (sizeof(T) == 1)
      return int32_t(down);
    else
      return int32_t(down - 65536 * std::floor(down / 65536));
  }
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 3> p) const {
    constexpr int32_t steps = 1 << whole<T>::fraction_bits;
    const int32_t brightness = p.c[0], saturation = p.c[1];
    const real v = real(brightness), s = real(saturation), circle = this->full + 1, unit = this->full * steps;
    const real turned = (this->half + real(int32_t(p.c[2])) * (6 * steps)) / circle;
    const auto h = int32_t(turned < 6 * steps ? turned : real(6 * steps));
    const int32_t k = h >> whole<T>::fraction_bits;
    const real f = real(h & (steps - 1));
    const int32_t white = low_bits((this->half + (this->full - s) * v) / this->full);
    const int32_t falling = low_bits((unit / 2 + (unit - f * s) * v) / unit);
    const int32_t rising = low_bits((unit / 2 + (unit - (steps - f) * s) * v) / unit);
    pixel<T, 3> q = sector<T, int32_t>(k, brightness, white, falling, rising);
    for (auto &c : q.c) c = saturation == 0 ? p.c[0] : k > 5 ? 0 : c;
    return q;
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
  const real s = v == 0 ? 0 : difference / v;
  const bool red = r == v, green = g == v;
  const real turn = (red ? g - b : green ? b - r : r - g) / difference;
  const real degrees = 60 * (red ? turn : turn + (green ? real(2) : real(4)));
  const real hue = degrees < 0 ? degrees + 360 : degrees;
  return {v, s, v == 0 || s == 0 ? 0 : hue};
}

// A hue outside the circle is black unless there is no saturation.
template <class T, class real>
QVIM_INLINE pixel<T, 3> real_from_bsh(bsh<real> from, const auto &stored) {
  const real v = from.v, s = from.s;
  const bool inside = from.hue >= 0 && from.hue <= 360;
  const real sixths = (inside && from.hue < 360 ? from.hue : real(0)) / 60;
  const auto k = int32_t(sixths);
  const real f = sixths - real(k);
  const real p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
  pixel<T, 3> rgb = sector<T, lane_of<T>>(k, stored(v), stored(p), stored(q), stored(t));
  for (auto &c : rgb.c) c = s == 0 ? stored(v) : inside ? c : 0;
  return rgb;
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
    return real_from_bsh<T>(bsh<T>{p.c[0], p.c[1], p.c[2]}, [](T v) { return v; });
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
    const bool fits = positive < 4294967296.0f;
    const uint32_t integer = fits ? uint32_t(positive) : 0xFFFFFFFFu;
    return T(integer < largest ? integer : largest);
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
            this->rounded(hue >= scale + 0.5f ? 0 : hue)};
  }
};
template <class T>
struct normalised_from_bsh : normalised<T> {
  static constexpr int inputs = 3, outputs = 3;
  using normalised<T>::normalised;
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 3> p) const {
    const bsh<float> from{float(p.c[0]) / this->full, float(p.c[1]) / this->full,
                          float(p.c[2]) / this->hue_scale};
    return real_from_bsh<T>(from, [this](float v) { return this->rounded(v * this->full); });
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
}  // namespace qvim

#define QVIM_CLX_BSH(name, T, conversion, o)                                                    \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t srcstride, \
                                                uint64_t dststride, uint64_t count, uint32_t,   \
                                                const void *param) {                            \
    qvim::conversion<T, qvim::order::o>(src, dst, srcstride, dststride, count, param);          \
  }
#include <qvimage/members/npfclx.inc>
