// Linear combinations in floating point by vectors: packed pixels are split, computed and joined without
// passing through memory. The operations are those of the generic loops, one by one.
#pragma once

#include "kernels/colour/wide.hpp"

#if QVIM_HAVE_WIDE
QVIM_WIDE_BEGIN
namespace qvim {
inline namespace QVIM_LEVEL {
namespace wide {

// Vectors of what is computed with.
template <class Real>
struct reals;

template <>
struct reals<float> {
  using type = __m512;
  QVIM_INLINE static type all(float v) { return _mm512_set1_ps(v); }
  QVIM_INLINE static type product(type a, type b) { return _mm512_mul_ps(a, b); }
  QVIM_INLINE static type fma(type a, type b, type c) { return _mm512_fmadd_ps(a, b, c); }
  // The second one when they are equal or one is NaN.
  QVIM_INLINE static type larger(type a, type b) { return _mm512_max_ps(a, b); }
  QVIM_INLINE static type smaller(type a, type b) { return _mm512_min_ps(a, b); }
};
template <>
struct reals<double> {
  using type = __m512d;
  QVIM_INLINE static type all(double v) { return _mm512_set1_pd(v); }
  QVIM_INLINE static type product(type a, type b) { return _mm512_mul_pd(a, b); }
  QVIM_INLINE static type fma(type a, type b, type c) { return _mm512_fmadd_pd(a, b, c); }
  QVIM_INLINE static type larger(type a, type b) { return _mm512_max_pd(a, b); }
  QVIM_INLINE static type smaller(type a, type b) { return _mm512_min_pd(a, b); }
};

// Stored components as such vectors, of which 32-bit integers fill two, and back.
template <class T>
struct stored;

template <>
struct stored<uint32_t> {
  using real = double;
  static constexpr int parts = 2;
  QVIM_INLINE static __m512d part(vector v, int i) {
    return _mm512_cvtepu32_pd(i ? _mm512_extracti64x4_epi64(v, 1) : _mm512_castsi512_si256(v));
  }
  QVIM_INLINE static vector whole(const __m512d (&v)[2]) {
    return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvttpd_epu32(v[0])), _mm512_cvttpd_epu32(v[1]),
                              1);
  }
};

// Rows of coefficients: rows in the order in which their results are stored, coefficients in the order of the
// sum, to which `from` refers.
template <class T, int inputs, int outputs, bool with_constant, bool with_limits, order from>
struct real_products {
  using real = typename stored<T>::real;
  static constexpr bool fits = true;
  real m[outputs][4] = {}, largest;
  [[gnu::noinline]] void operator()(const char *src, char *dst, uint64_t count) const {
    run(step(*this), src, dst, count);
  }

 private:
  // The same in vectors.
  struct step {
    static constexpr int pixels = lanes<T>, pixels_ahead = 0, size_in = inputs * sizeof(T),
                         size_out = outputs * sizeof(T);
    using real = reals<typename stored<T>::real>;
    using type = typename real::type;
    type m[outputs][4], zero, largest;

    QVIM_INLINE explicit step(const real_products &p) : zero(real::all(0)), largest(real::all(p.largest)) {
      for (int r = 0; r < outputs; ++r)
        for (int c = 0; c < 4; ++c) m[r][c] = real::all(p.m[r][c]);
    }
    QVIM_INLINE type result(type v) const {
      if constexpr (std::is_integral_v<T>) return real::smaller(real::larger(v, zero), largest);  // NaN: 0
      if constexpr (with_limits) return real::smaller(largest, real::larger(zero, v));            // NaN stays
      return v;
    }
    QVIM_INLINE vector row(int r, const vector (&plane)[inputs]) const {
      type part[stored<T>::parts];
      for (int i = 0; i < stored<T>::parts; ++i) {
        const type first = stored<T>::part(plane[qvim::place<from>(0)], i);
        type sum = with_constant ? real::fma(m[r][0], first, m[r][3]) : real::product(m[r][0], first);
        for (int c = 1; c < inputs; ++c)
          sum = real::fma(m[r][c], stored<T>::part(plane[qvim::place<from>(c)], i), sum);
        part[i] = result(sum);
      }
      return stored<T>::whole(part);
    }
    template <part>
    QVIM_INLINE void convert(const char *src, char *dst, int count) const {
      vector in[inputs], out[outputs];
      load<T>(src, inputs * count, in);
      if constexpr (inputs == 3) rearrange<T, split>(in);
      for (int r = 0; r < outputs; ++r) out[r] = row(r, in);
      if constexpr (outputs == 3) rearrange<T, join>(out);
      store<T>(dst, outputs * count, out);
    }
  };
};

}  // namespace wide
}  // namespace QVIM_LEVEL
}  // namespace qvim
QVIM_WIDE_END
#endif
