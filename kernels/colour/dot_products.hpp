// Integer linear combinations on processors that multiply and add pairs of words in one step and take the
// bytes of a vector in any order: there pixels need not be taken apart. The results are those of the generic
// loops.
#pragma once

#include "kernels/colour/lane_products.hpp"
#include "kernels/colour/wide.hpp"

#if QVIM_HAVE_WIDE
QVIM_WIDE_BEGIN
namespace qvim {
inline namespace QVIM_LEVEL {
namespace wide {

template <class T>
QVIM_INLINE vector all(T v) {
  if constexpr (sizeof(T) == 1) return _mm512_set1_epi8(char(v));
  return _mm512_set1_epi16(short(v));
}
template <class T>
QVIM_INLINE vector smaller(vector a, vector b) {
  if constexpr (sizeof(T) == 1) return _mm512_min_epu8(a, b);
  return _mm512_min_epu16(a, b);
}
template <class T>
QVIM_INLINE uint64_t equal(vector a, vector b) {
  if constexpr (sizeof(T) == 1) return _mm512_cmpeq_epi8_mask(a, b);
  return _mm512_cmpeq_epi16_mask(a, b);
}

// 16 pixels of three components, packed: 48 bytes or 96.
template <class T>
struct pixels16 {
  static constexpr int vectors = sizeof(T);
  vector v[vectors];

  static constexpr int ahead = 6;  // so many more make whole vectors

  template <part which>
  QVIM_INLINE static pixels16 load(const char *src, int count) {
    pixels16 pixels;
    wide::load<T>(src, which == part::whole ? vectors * lanes<T> : 3 * count, pixels.v);
    return pixels;
  }
  template <part which>
  QVIM_INLINE void store(char *dst, int count) const {
    if constexpr (which == part::last) return wide::store<T>(dst, 3 * count, v);
    if constexpr (vectors == 2) _mm512_storeu_si512(dst, v[0]);
    char *const rest = dst + 64 * (vectors - 1);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(rest), _mm512_castsi512_si256(v[vectors - 1]));
    if constexpr (vectors == 1)
      _mm_storeu_si128(reinterpret_cast<__m128i *>(rest + 32), _mm512_extracti32x4_epi32(v[0], 2));
  }
  // Pixels with a component equal to that of `colour` become it.
  QVIM_INLINE void replace_where_equal(const pixels16 &in, vector colour) {
    constexpr uint64_t first_components = 0x249249249249;
    uint64_t equal_ones = 0;
    for (int i = 0; i < vectors; ++i) equal_ones |= equal<T>(in.v[i], colour) << i * lanes<T>;
    equal_ones = ((equal_ones | equal_ones >> 1 | equal_ones >> 2) & first_components) * 7;
    for (int i = 0; i < vectors; ++i) v[i] = choose<T>(equal_ones >> i * lanes<T>, v[i], colour);
  }
};

// 32-bit sums limited to bytes: of each 128 bits four numbers from a, from b, from c, from d, then from the
// next 128 bits. Limited to words: so from a and b.
template <class T>
QVIM_INLINE vector narrowed(vector a, vector b, vector c, vector d) {
  if constexpr (sizeof(T) == 1)
    return _mm512_packus_epi16(_mm512_packs_epi32(a, b), _mm512_packs_epi32(c, d));
  return _mm512_packus_epi32(a, b);
}

// The coefficients of a conversion, components in the order in which they are stored.
template <class T, int outputs, int shift, results rule>
struct dot_products {
  // Two words each: the coefficients of the first two components, that of the third and 0.
  int32_t first_two[outputs], third[outputs], constants[outputs];
  T largest = T(-1);
  bool fits = true;  // coefficients are words, and the limit is a component

  // Components of 16 bits become signed ones by subtracting 2^15, which the constants make up for.
  void set_row(int r, int32_t m0, int32_t m1, int32_t m2, uint32_t added) {
    fits = fits && m0 == int16_t(m0) && m1 == int16_t(m1) && m2 == int16_t(m2);
    first_two[r] = int32_t(uint16_t(m0) | uint32_t(m1) << 16);
    third[r] = uint16_t(m2);
    constants[r] = int32_t(added + (sizeof(T) == 2 ? (uint32_t(m0) + uint32_t(m1) + uint32_t(m2)) << 15 : 0));
  }
  void limit(int32_t smallest, int32_t most) {
    fits = fits && smallest == 0 && most <= T(-1);
    largest = T(most);
  }
  [[gnu::noinline]] void operator()(const char *src, char *dst, uint64_t count) const {
    run(step(*this), src, dst, count);
  }
  // Greys of pixels with a pad, by weights that bytes hold and whose sum makes no byte of a mean too large.
  bool has_small_weights() const {
    const int32_t m0 = first_two[0] & 0xFFFF, m1 = first_two[0] >> 16, m2 = third[0];
    return m1 >= 0 && m0 <= 255 && m1 <= 255 && m2 <= 255 && m0 + m1 + m2 <= 256 && constants[0] == 0 &&
           largest == T(-1);
  }
  [[gnu::noinline]] void weigh_padded(const char *src, char *dst, uint64_t count) const
      requires(outputs == 1 && sizeof(T) == 1) {
    const int32_t m0 = first_two[0] & 0xFFFF, m1 = first_two[0] >> 16, m2 = third[0];
    run(weighing{_mm512_set1_epi32(m0 | m1 << 8 | m2 << 16), _mm512_set1_epi32((m0 + m1 + m2) * 128)}, src,
        dst, count);
  }

 private:
  // Products of unsigned and signed bytes, added in fours: bytes of pixels are less by 128 for that.
  struct weighing {
    static constexpr int pixels = 64, pixels_ahead = 1, size_in = 4, size_out = 1;
    vector weights, added;
    template <part which>
    QVIM_INLINE void convert(const char *src, char *dst, int count) const {
      vector sum[4];
      each<4>([&](auto i) __attribute__((always_inline)) {
        const uint64_t mask = which == part::whole ? ~uint64_t(0) : first_lanes(4 * count - 1 - 64 * int(i));
        const vector v = _mm512_xor_si512(load<T>(src + 64 * i, mask), all<T>(T(0x80)));
        sum[i] = _mm512_srli_epi32(_mm512_dpbusd_epi32(added, weights, v), 8);
      });
      store<T>(dst, first_lanes(count), in_order(narrowed<T>(sum[0], sum[1], sum[2], sum[3])));
    }
  };
  // What narrowed() has made of the sums of four vectors, or of two, in the order of the pixels.
  QVIM_INLINE static vector in_order(vector v) {
    static constexpr auto order =
        each_lane<T>([](int i) { return i % 16 / 4 * (lanes<T> / 4) + i / 16 * 4 + i % 4; });
    return pick<T>(v, constant<T>(order));
  }

  // The same in vectors.
  struct step {
    static constexpr int pixels = outputs == 3 ? 16 : lanes<T>, pixels_ahead = pixels16<T>::ahead,
                         size_in = 3 * sizeof(T), size_out = outputs * sizeof(T);
    vector first_two[outputs], third[outputs], constants[outputs], most;

    QVIM_INLINE explicit step(const dot_products &p) : most(all<T>(p.largest)) {
      for (int r = 0; r < outputs; ++r) {
        first_two[r] = _mm512_set1_epi32(p.first_two[r]);
        third[r] = _mm512_set1_epi32(p.third[r]);
        constants[r] = _mm512_set1_epi32(p.constants[r]);
      }
    }
    // One pixel each 32 bits.
    QVIM_INLINE void sums(const pixels16<T> &p, vector (&sum)[outputs]) const {
      constexpr int words = sizeof(T) == 1 ? 4 : 2;  // lanes for two words
      static constexpr auto pairs = each_lane<T>([](int i) { return i / words * 3 + i % words * 2 / words; });
      static constexpr auto thirds = each_lane<T>([](int i) { return i / words * 3 + 2; });
      vector pair[2] = {constant<T>(pairs), constant<T>(thirds)};
      for (vector &v : pair)
        if constexpr (sizeof(T) == 1)
          v = _mm512_maskz_permutexvar_epi8(0x5555555555555555, v, p.v[0]);
        else
          v = _mm512_xor_si512(pick<T>(p.v[0], p.v[1], v), all<T>(0x8000));
      for (int r = 0; r < outputs; ++r) {
        sum[r] = _mm512_dpwssd_epi32(constants[r], pair[0], first_two[r]);
        sum[r] = _mm512_srai_epi32(_mm512_dpwssd_epi32(sum[r], pair[1], third[r]), shift);
        if (rule == results::cut) sum[r] = _mm512_and_si512(sum[r], _mm512_set1_epi32(T(-1)));
      }
    }

    template <part which>
    QVIM_INLINE void convert(const char *src, char *dst, int count) const requires(outputs == 3) {
      static constexpr auto place = [](int i) {  // of component i after narrowed()
        const int p = i / 3, c = i % 3;
        if (sizeof(T) == 1) return p / 4 * 16 + c * 4 + p % 4;
        return c / 2 * 32 + p / 4 * 8 + c % 2 * 4 + p % 4;
      };
      static constexpr auto low = each_lane<T>(place);
      const auto in = pixels16<T>::template load<which>(src, count);
      vector sum[3];
      sums(in, sum);
      const vector a = smaller<T>(narrowed<T>(sum[0], sum[1], sum[2], sum[2]), most);
      pixels16<T> out;
      if constexpr (sizeof(T) == 1) {
        out.v[0] = pick<T>(a, constant<T>(low));
      } else {
        static constexpr auto high = each_lane<T>([](int i) { return place((i + lanes<T>) % 48); });
        const vector b = smaller<T>(narrowed<T>(sum[2], sum[2], sum[2], sum[2]), most);
        out.v[0] = pick<T>(a, b, constant<T>(low));
        out.v[1] = pick<T>(a, b, constant<T>(high));
      }
      if (rule == results::limited_or_white) out.replace_where_equal(in, most);
      out.template store<which>(dst, count);
    }

    template <part which>
    QVIM_INLINE void convert(const char *src, char *dst, int count) const requires(outputs == 1) {
      vector sum[4][1];
      for (int i = 0; i < lanes<T> / 16; ++i)
        sums(pixels16<T>::template load<which>(src + i * 16 * size_in, count - 16 * i), sum[i]);
      const vector grey = narrowed<T>(sum[0][0], sum[1][0], sum[2][0], sum[3][0]);
      store<T>(dst, first_lanes(count), in_order(smaller<T>(grey, most)));
    }
  };
};

}  // namespace wide
}  // namespace QVIM_LEVEL
}  // namespace qvim
QVIM_WIDE_END
#endif
