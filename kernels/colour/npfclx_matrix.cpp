// Linear combinations of components: Y-Cr-Cb, grey, and matrices of any coefficients.
#include <cmath>

#include "kernels/colour/lane_products.hpp"
#include "kernels/colour/lane_reals.hpp"
#include "kernels/colour/pixels.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

enum column3 { without_column3, with_column3 };

template <class Coefficient>
QVIM_INLINE Coefficient entry(const void *matrix, int row, int column) {
  return load<Coefficient>(static_cast<const char *>(matrix) + (4 * row + column) * int(sizeof(Coefficient)));
}

// Integer sums modulo 2^32, or modulo 2^16 where the bits above that of a sum of bytes are not wanted.
template <class Sum, int outputs>
struct rows {
  Sum m[outputs][3], constant[outputs];

  QVIM_INLINE explicit rows(const void *matrix, column3 column = without_column3) {
    for (int r = 0; r < outputs; ++r) {
      for (int c = 0; c < 3; ++c) m[r][c] = Sum(entry<int32_t>(matrix, r, c));
      constant[r] = column == with_column3 ? Sum(entry<int32_t>(matrix, r, 3)) : Sum(0);
    }
  }
  QVIM_INLINE int32_t coefficient(int r, int c) const { return std::make_signed_t<Sum>(m[r][c]); }
  QVIM_INLINE Sum sum(int r, const auto &p) const {
    return Sum(m[r][0] * Sum(p.c[0]) + m[r][1] * Sum(p.c[1]) + m[r][2] * Sum(p.c[2]) + constant[r]);
  }
};

template <class T>
using sum_of = std::conditional_t<sizeof(T) == 1, uint16_t, uint32_t>;

template <class T, int rows_used, column3 column>
struct unclamped : rows<sum_of<T>, rows_used> {
  static constexpr int inputs = 3, outputs = rows_used, shift = 8;
  static constexpr results rule = results::cut;
  QVIM_INLINE unclamped(uint32_t, const void *matrix) : rows<sum_of<T>, rows_used>(matrix, column) {}
  QVIM_INLINE pixel<T, outputs> operator()(pixel<T, 3> p) const {
    pixel<T, outputs> q;
    for (int r = 0; r < outputs; ++r) q.c[r] = lane_of<T>(this->sum(r, p) >> shift);
    return q;
  }
};
template <class T>
using matrix34sl8r0 = unclamped<T, 3, with_column3>;
template <class T>
using matrix3sl8r0 = unclamped<T, 1, without_column3>;

// Sums as signed 32-bit numbers, shifted and limited to 0 .. largest. A `largest` of all 32 bits limits
// nothing.
template <class T, int rows_used, int bits>
struct clamped : rows<uint32_t, rows_used> {
  static constexpr int inputs = 3, outputs = rows_used, shift = bits;
  static constexpr results rule = results::limited;
  int32_t smallest, largest;
  QVIM_INLINE clamped(uint32_t maxvalue, const void *matrix, column3 column = without_column3)
      : rows<uint32_t, rows_used>(matrix, column),
        smallest(maxvalue > INT32_MAX ? INT32_MIN : 0),
        largest(maxvalue > INT32_MAX ? INT32_MAX : int32_t(maxvalue)) {}
  QVIM_INLINE pixel<T, outputs> operator()(pixel<T, 3> p) const {
    pixel<T, outputs> q;
    for (int r = 0; r < outputs; ++r) {
      const int32_t v = int32_t(this->sum(r, p)) >> shift, positive = v > smallest ? v : smallest;
      q.c[r] = lane_of<T>(positive < largest ? positive : largest);
    }
    return q;
  }
};

// The same for bytes and sums of moderate size, in 16 bits. A coefficient m is taken as 64 * high + low with
// low from -32 to 31; with H and L the sums of high and low, (64 * H + L) >> 8 is (H + (L >> 6)) >> 2.
template <int rows_used>
struct narrow_clamped {
  static constexpr int inputs = 3, outputs = rows_used;
  int16_t high[rows_used][4], low[rows_used][4], largest;
  bool fits;

  template <class Wide>
  QVIM_INLINE explicit narrow_clamped(const Wide &wide)
      : largest(int16_t(wide.largest)), fits(wide.smallest == 0 && wide.largest <= INT16_MAX) {
    for (int r = 0; r < outputs; ++r) {
      int64_t most = 1024;  // what (L >> 6) may add, and more
      for (int c = 0; c < 4; ++c) {
        const int64_t m = int32_t(c < 3 ? wide.m[r][c] : wide.constant[r]), h = (m + 32) >> 6;
        high[r][c] = int16_t(h);
        low[r][c] = int16_t(m - 64 * h);
        most += (h < 0 ? -h : h) * (c < 3 ? 255 : 1);
      }
      fits = fits && most <= INT16_MAX;
    }
  }
  QVIM_INLINE pixel<uint8_t, outputs> operator()(pixel<uint8_t, 3> p) const {
    pixel<uint8_t, outputs> q;
    for (int r = 0; r < outputs; ++r) {
      auto h = uint16_t(high[r][3]), l = uint16_t(low[r][3]);
      for (int c = 0; c < 3; ++c) {
        h = uint16_t(h + uint16_t(p.c[c] * uint16_t(high[r][c])));
        l = uint16_t(l + uint16_t(p.c[c] * uint16_t(low[r][c])));
      }
      const auto v = int16_t(int16_t(h + (int16_t(l) >> 6)) >> 2);
      const auto positive = v > 0 ? v : int16_t(0);
      q.c[r] = uint16_t(positive < largest ? positive : largest);
    }
    return q;
  }
};

template <class T>
struct matrix3sl8r1 : clamped<T, 1, 8> {
  QVIM_INLINE matrix3sl8r1(uint32_t, const void *matrix)
      : clamped<T, 1, 8>(sizeof(T) == 1 ? 0xFF : 0xFFFF, matrix) {}
};

// A pixel with a saturated component is white.
template <class T>
struct matrix34sl12r1 : clamped<T, 3, 12> {
  static constexpr results rule = results::limited_or_white;
  uint32_t white;
  QVIM_INLINE matrix34sl12r1(uint32_t maxvalue, const void *matrix)
      : clamped<T, 3, 12>(maxvalue, matrix, with_column3), white(maxvalue) {}
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 3> p) const {
    const bool saturated = (p.c[0] == white) | (p.c[1] == white) | (p.c[2] == white);
    pixel<T, 3> q = clamped<T, 3, 12>::operator()(p);
    for (auto &c : q.c) c = saturated ? lane_of<T>(white) : c;
    return q;
  }
};

// Chroma is stored with half the scale added: added after the matrix on the way there, subtracted before it
// on the way back, which is a constant for each row in both cases.
template <class T>
constexpr int ycrcb_shift = sizeof(T) == 1 ? 8 : 12;

template <class T>
QVIM_INLINE uint32_t half_scale(uint32_t maxvalue) {
  return uint32_t((uint64_t(maxvalue) + 1) / 2);
}

template <class T>
struct to_ycrcb : clamped<T, 3, ycrcb_shift<T>> {
  QVIM_INLINE to_ycrcb(uint32_t maxvalue, const void *matrix)
      : clamped<T, 3, ycrcb_shift<T>>(maxvalue, matrix) {
    constexpr uint32_t rounding = 1u << (ycrcb_shift<T> - 1);
    const uint32_t chroma = (half_scale<T>(maxvalue) << ycrcb_shift<T>)+rounding;
    this->constant[0] = rounding;
    this->constant[1] = this->constant[2] = chroma;
  }
};
template <class T>
struct from_ycrcb : clamped<T, 3, ycrcb_shift<T>> {
  QVIM_INLINE from_ycrcb(uint32_t maxvalue, const void *matrix)
      : clamped<T, 3, ycrcb_shift<T>>(maxvalue, matrix) {
    for (int r = 0; r < 3; ++r)
      this->constant[r] =
          (1u << (ycrcb_shift<T> - 1)) - (this->m[r][1] + this->m[r][2]) * half_scale<T>(maxvalue);
  }
};
template <class T>
struct to_ycrcb8 : to_ycrcb<T> {
  QVIM_INLINE to_ycrcb8(uint32_t, const void *matrix) : to_ycrcb<T>(255, matrix) {}
};
template <class T>
struct from_ycrcb8 : from_ycrcb<T> {
  QVIM_INLINE from_ycrcb8(uint32_t, const void *matrix) : from_ycrcb<T>(255, matrix) {}
};

template <class T>
struct matrix31sl8r0 {
  static constexpr int inputs = 1, outputs = 3;
  sum_of<T> gain[3];
  QVIM_INLINE matrix31sl8r0(uint32_t, const void *matrix) {
    for (int c = 0; c < 3; ++c) gain[c] = sum_of<T>(entry<int32_t>(matrix, 0, c));
  }
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 1> p) const {
    pixel<T, 3> q;
    for (int c = 0; c < 3; ++c) q.c[c] = lane_of<T>(sum_of<T>(gain[c] * sum_of<T>(p.c[0])) >> 8);
    return q;
  }
};

// In floating point: sums are fused multiply-adds, 32-bit integers are computed in double precision.
template <class T>
using real_of = std::conditional_t<sizeof(T) == 8 || std::is_integral_v<T>, double, float>;

enum limits { unlimited, limited };

// Results as they are stored. Integers are always limited to what 32 bits hold; NaN becomes 0.
template <class T, limits limit>
struct real_result {
  real_of<T> largest;
  QVIM_INLINE explicit real_result(uint32_t maxvalue)
      : largest(std::is_floating_point_v<T> ? real_of<T>(1)
                                            : real_of<T>(limit == limited ? maxvalue : 0xFFFFFFFFu)) {}
  QVIM_INLINE T operator()(real_of<T> v) const {
    if constexpr (std::is_integral_v<T>) {
      const auto positive = v > 0 ? v : 0;
      return T(positive < largest ? positive : largest);
    } else if constexpr (limit == limited) {
      const auto positive = v < 0 ? 0 : v;
      return positive > largest ? largest : positive;
    } else {
      return v;
    }
  }
};

template <class T, int rows_used, column3 column, limits limit>
struct real_matrix {
  static constexpr int inputs = 3, outputs = rows_used;
  static constexpr bool added = column == with_column3, limits = limit == limited;
  using real = real_of<T>;
  real m[rows_used][4];
  real_result<T, limit> result;
  QVIM_INLINE real_matrix(uint32_t maxvalue, const void *matrix) : result(maxvalue) {
    for (int r = 0; r < outputs; ++r)
      for (int c = 0; c < (added ? 4 : 3); ++c) m[r][c] = real(entry<double>(matrix, r, c));
  }
  QVIM_INLINE pixel<T, outputs> operator()(pixel<T, 3> p) const {
    pixel<T, outputs> q;
    for (int r = 0; r < outputs; ++r) {
      real sum = m[r][0] * real(p.c[0]);
      if constexpr (added) sum = std::fma(m[r][0], real(p.c[0]), m[r][3]);
      sum = std::fma(m[r][1], real(p.c[1]), sum);
      q.c[r] = result(std::fma(m[r][2], real(p.c[2]), sum));
    }
    return q;
  }
};
template <class T>
using matrix34r0 = real_matrix<T, 3, with_column3, unlimited>;
template <class T>
using matrix34r1 = real_matrix<T, 3, with_column3, limited>;
template <class T>
using matrix3r0 = real_matrix<T, 1, without_column3, unlimited>;
template <class T>
using matrix3r1 = real_matrix<T, 1, without_column3, limited>;

template <class T>
struct matrix31r0 {
  static constexpr int inputs = 1, outputs = 3;
  static constexpr bool added = false, limits = false;
  real_of<T> gain[3];
  real_result<T, unlimited> result;
  QVIM_INLINE matrix31r0(uint32_t maxvalue, const void *matrix) : result(maxvalue) {
    for (int c = 0; c < 3; ++c) gain[c] = real_of<T>(entry<double>(matrix, 0, c));
  }
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 1> p) const {
    pixel<T, 3> q;
    for (int c = 0; c < 3; ++c) q.c[c] = result(gain[c] * real_of<T>(p.c[0]));
    return q;
  }
};

#if QVIM_LANES
// A conversion in the form that is computed by lanes, its rows and columns in the order of the
// components in memory.
template <class T, order from, order to, class Conversion>
QVIM_INLINE auto lane_form(const Conversion &c) {
  constexpr int inputs = Conversion::inputs, outputs = Conversion::outputs;
  if constexpr (sizeof(T) > 2) {
    lane_real_products<T, inputs, outputs, Conversion::added, Conversion::limits, from> form;
    form.largest = c.result.largest;
    for (int r = 0; r < outputs; ++r)
      if constexpr (inputs == 1)
        form.m[r][0] = c.gain[r];
      else
        for (int k = 0; k < (Conversion::added ? 4 : 3); ++k) form.m[r][k] = c.m[place<to>(r)][k];
    return form;
  } else if constexpr (inputs == 1) {
    return gains<T>(c.gain);
  } else {
    dot_products<T, Conversion::outputs, Conversion::shift, Conversion::rule> form;
    if constexpr (Conversion::rule != results::cut) form.limit(c.smallest, c.largest);
    for (int r = 0; r < Conversion::outputs; ++r) {
      const int of = place<to>(r);
      form.set_row(r, c.coefficient(of, place<from>(0)), c.coefficient(of, place<from>(1)),
                   c.coefficient(of, place<from>(2)), c.constant[of]);
    }
    return form;
  }
}
#endif

template <class T, class Conversion, order from, order to>
QVIM_INLINE void multiply(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, uint64_t count,
                          const Conversion &conversion) {
  [[maybe_unused]] constexpr int inputs = Conversion::inputs, outputs = Conversion::outputs;
#if QVIM_LANES
  constexpr uint64_t in = inputs * sizeof(T), out = outputs * sizeof(T);
  const auto form = lane_form<T, from, to>(conversion);
  if constexpr (sizeof(T) > 2) {
    return packed_blocks<in, out>(src, dst, srcstride, dststride, count, form);
  } else {
    if (form.takes(srcstride, dststride))
      return form(static_cast<const char *>(src), static_cast<char *>(dst), srcstride, dststride, count);
    if (form.fits)
      return packed_blocks<in, out>(
          src, dst, srcstride, dststride,
          count, [&](const char *s, char *d, uint64_t n) __attribute__((always_inline)) {
            form(s, d, in, out, n);
          });
  }
#endif
  if constexpr (sizeof(T) == 1 && std::is_base_of_v<clamped<T, outputs, 8>, Conversion>) {
    const narrow_clamped<outputs> narrow(conversion);
    if (narrow.fits)
      return convert_pixels<T, narrow_clamped<outputs>, from, to>(src, dst, srcstride, dststride, count,
                                                                  narrow);
  }
  convert_pixels<T, Conversion, from, to>(src, dst, srcstride, dststride, count, conversion);
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_CLX_MATRIX(name, T, conversion, from, to)                                                  \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, \
                                    uint64_t count, uint32_t maxvalue, const void *param) {             \
    if (count)                                                                                          \
      qvim::multiply<T, qvim::conversion<T>, qvim::order::from, qvim::order::to>(                       \
          src, dst, srcstride, dststride, count, qvim::conversion<T>(maxvalue, param));                 \
  }
#include <qvimage/members/npfclx.inc>
