// Vectors of this version's processor level: types with the compiler's own arithmetic, and the few steps
// that compilers do not find by themselves, each by its processors' name for it.
//
// A vector is made of lanes of 16 bytes; bytes are shuffled within a lane. Levels without such shuffles have
// no vectors here (QVIM_LANES is 0) and take the plain loops.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "kernels/level.hpp"

#if QVIM_HAVE_WIDE
#define QVIM_LANES 4
#elif defined(__AVX2__)
#define QVIM_LANES 2
#elif defined(__ARM_NEON) && defined(__aarch64__)
#define QVIM_LANES 1
#else
#define QVIM_LANES 0
#endif

#if QVIM_LANES > 1
#include <immintrin.h>
#elif QVIM_LANES == 1
#include <arm_neon.h>
#endif

namespace qvim {
inline namespace QVIM_LEVEL {

constexpr int64_t lane_bytes = 16;

#if QVIM_LANES
constexpr int64_t lanes = QVIM_LANES, vector_bytes = lanes * lane_bytes;

template <class T, int64_t bytes = vector_bytes>
struct vector_type {
  typedef T type __attribute__((vector_size(bytes)));
};
template <class T>
using vec = typename vector_type<T>::type;
template <class T>
using lane = typename vector_type<T, lane_bytes>::type;

template <class T>
QVIM_INLINE vec<T> all(T value) {
  return vec<T>{} + value;
}
template <class T>
QVIM_INLINE vec<T> load_vector(const void *from) {
  vec<T> v;
  std::memcpy(&v, from, sizeof v);
  return v;
}
template <class V>
QVIM_INLINE void store_vector(void *to, const V &v) {
  std::memcpy(to, &v, sizeof v);
}

// Bytes of a where those of the mask are 255, of b where they are 0.
QVIM_INLINE vec<uint8_t> chosen(vec<uint8_t> mask, vec<uint8_t> a, vec<uint8_t> b) {
#if QVIM_LANES == 2
  return (vec<uint8_t>)_mm256_blendv_epi8((__m256i)b, (__m256i)a, (__m256i)mask);
#else
  return (a & mask) | (b & ~mask);
#endif
}

// Calls body(0) ... body(n - 1) with numbers that are constants: what a loop leaves in memory stays in
// registers.
template <int64_t n>
QVIM_INLINE void each(const auto &body) {
  const auto call = [&]<int64_t... i>(std::integer_sequence<int64_t, i...>) __attribute__((always_inline)) {
    (body(std::integral_constant<int64_t, i>()), ...);
  };
  call(std::make_integer_sequence<int64_t, n>());
}

// The end of a run in a buffer, with room behind it for what whole vectors touch: the last bytes of the run,
// so many that they are copied by vectors, or all bytes of a shorter one.
template <int64_t least, int64_t room_behind>
class run_end {
  static constexpr int64_t vectors = (least + vector_bytes - 1) / vector_bytes, most = vectors * vector_bytes;
  char bytes[most + room_behind];

  QVIM_INLINE static void copy(char *to, const char *from) {
    each<vectors>([=](auto i) __attribute__((always_inline)) {
      store_vector(to + i * vector_bytes, load_vector<uint8_t>(from + i * vector_bytes));
    });
  }

 public:
  // So many bytes before the run's end.
  QVIM_INLINE char *last(int64_t count) { return bytes + most - count; }
  QVIM_INLINE void load(const char *end, int64_t run_bytes) {
    if (run_bytes >= most)
      copy(bytes, end - most);
    else
      std::memcpy(last(run_bytes), end - run_bytes, size_t(run_bytes));
  }
  QVIM_INLINE void store(char *end, int64_t run_bytes) {
    if (run_bytes >= most)
      copy(end - most, bytes);
    else
      std::memcpy(end - run_bytes, last(run_bytes), size_t(run_bytes));
  }
};

#if QVIM_LANES == 1
template <class T>
QVIM_INLINE vec<T> in_all_lanes(const void *from) {
  return load_vector<T>(from);
}
// Lanes that begin `step` bytes after each other, which touch so many bytes.
template <int64_t>
constexpr int64_t lanes_span(int64_t) {
  return lane_bytes;
}
template <int64_t>
QVIM_INLINE vec<uint8_t> load_lanes(const char *from, int64_t) {
  return load_vector<uint8_t>(from);
}
template <int64_t>
QVIM_INLINE void store_lanes(char *to, int64_t, vec<uint8_t> v) {
  store_vector(to, v);
}
// Three lanes follow each other in memory: those of a vector are three apart.
QVIM_INLINE void load_three(const char *from, vec<uint8_t> (&v)[3]) {
  for (int i = 0; i < 3; ++i) v[i] = load_vector<uint8_t>(from + i * lane_bytes);
}
QVIM_INLINE void store_three(char *to, const vec<uint8_t> (&v)[3]) {
  for (int i = 0; i < 3; ++i) store_vector(to + i * lane_bytes, v[i]);
}
QVIM_INLINE void store_twelves(char *to, const vec<uint8_t> (&v)[4]) {
  const auto words = [&](int i) { return (vec<uint32_t>)v[i]; };
  for (int i = 0; i < 3; ++i) store_vector(to + 12 * i, words(i));
  std::memcpy(to + 36, &v[3], 12);
}

QVIM_INLINE vec<float> fused(vec<float> a, vec<float> b,
                             vec<float> c) {  // a b + c
  return (vec<float>)vfmaq_f32((float32x4_t)c, (float32x4_t)a, (float32x4_t)b);
}
QVIM_INLINE vec<double> fused(vec<double> a, vec<double> b, vec<double> c) {
  return (vec<double>)vfmaq_f64((float64x2_t)c, (float64x2_t)a, (float64x2_t)b);
}
// Lanes of 24 bytes: 16 and the first 8.
QVIM_INLINE void store_three_halves(char *to, vec<uint8_t> low, vec<uint8_t> high) {
  store_vector(to, low);
  std::memcpy(to + lane_bytes, &high, 8);
}

// Byte i of a lane is byte order[i] of the lane, or 0 where that is 128 or more.
QVIM_INLINE vec<uint8_t> shuffled_lanes(vec<uint8_t> v, vec<uint8_t> order) {
  return (vec<uint8_t>)vqtbl1q_u8((uint8x16_t)v, (uint8x16_t)order);
}
QVIM_INLINE vec<uint16_t> high_products(vec<uint16_t> a,
                                        vec<uint16_t> b) {  // their upper halves
  const uint16x8_t x = (uint16x8_t)a, y = (uint16x8_t)b;
  const uint32x4_t low = vmull_u16(vget_low_u16(x), vget_low_u16(y)), high = vmull_high_u16(x, y);
  return (vec<uint16_t>)vuzp2q_u16(vreinterpretq_u16_u32(low), vreinterpretq_u16_u32(high));
}
// Products of signed words, added in pairs to something else.
QVIM_INLINE vec<int32_t> pair_sums(vec<int32_t> added, vec<int16_t> a, vec<int16_t> b) {
  const int16x8_t x = (int16x8_t)a, y = (int16x8_t)b;
  const int32x4_t sums = vpaddq_s32(vmull_s16(vget_low_s16(x), vget_low_s16(y)), vmull_high_s16(x, y));
  return (vec<int32_t>)((vec<uint32_t>)added + (vec<uint32_t>)sums);
}
// The whole part of numbers from 0 to below 2^32, or to below 2^31.
template <bool below_half>
QVIM_INLINE vec<uint32_t> whole_parts(vec<float> v) {
  return (vec<uint32_t>)vcvtq_u32_f32((float32x4_t)v);
}
QVIM_INLINE vec<uint32_t> whole_parts(vec<double> a, vec<double> b) {
  return (vec<uint32_t>)vuzp1q_u32(vreinterpretq_u32_u64(vcvtq_u64_f64((float64x2_t)a)),
                                   vreinterpretq_u32_u64(vcvtq_u64_f64((float64x2_t)b)));
}
// The whole parts as signed numbers: of NaN and of what is too large for them, any that has the value's sign.
QVIM_INLINE vec<int32_t> signed_parts(vec<float> v) { return (vec<int32_t>)vcvtq_s32_f32((float32x4_t)v); }
QVIM_INLINE vec<int32_t> signed_parts(vec<double> a, vec<double> b) {
  const auto low = vqmovn_s64(vcvtq_s64_f64((float64x2_t)a));
  return (vec<int32_t>)vqmovn_high_s64(low, vcvtq_s64_f64((float64x2_t)b));
}
// Numbers limited to half their width: in each lane those of a, then those of b.
QVIM_INLINE vec<int16_t> narrowed(vec<int32_t> a, vec<int32_t> b) {
  return (vec<int16_t>)vqmovn_high_s32(vqmovn_s32((int32x4_t)a), (int32x4_t)b);
}
QVIM_INLINE vec<uint16_t> narrowed_unsigned(vec<int32_t> a, vec<int32_t> b) {
  return (vec<uint16_t>)vqmovun_high_s32(vqmovun_s32((int32x4_t)a), (int32x4_t)b);
}
QVIM_INLINE vec<uint8_t> narrowed_unsigned(vec<int16_t> a, vec<int16_t> b) {
  return (vec<uint8_t>)vqmovun_high_s16(vqmovun_s16((int16x8_t)a), (int16x8_t)b);
}

// Items of 4 or 8 bytes: the first of each lane, then the second ones, and so on.
template <class Item>
QVIM_INLINE vec<uint8_t> in_order(vec<uint8_t> v) {
  return v;
}
// Is a bit set anywhere?
QVIM_INLINE bool any_set(vec<int32_t> v) { return vmaxvq_u32((uint32x4_t)v) != 0; }

#elif QVIM_LANES == 2
template <class T>
QVIM_INLINE vec<T> in_all_lanes(const void *from) {
  return (vec<T>)_mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i *>(from)));
}
// `known` is the step where the compiler knows it: 12 and 16 bytes are most frequent.
template <int64_t known>
constexpr int64_t lanes_span(int64_t step) {
  return known == 12 ? vector_bytes : lane_bytes + step;
}
template <int64_t known>
QVIM_INLINE vec<uint8_t> load_lanes(const char *from, int64_t step) {
  if constexpr (known == 16) return load_vector<uint8_t>(from);
  if constexpr (known == 12) {
    const __m256i whole = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(from));
    return (vec<uint8_t>)_mm256_permutevar8x32_epi32(whole, _mm256_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6));
  }
  const auto at = [=](int64_t i) { return reinterpret_cast<const __m128i *>(from + i * step); };
  const __m256i first = _mm256_castsi128_si256(_mm_loadu_si128(at(0)));
  return (vec<uint8_t>)_mm256_inserti128_si256(first, _mm_loadu_si128(at(1)), 1);
}
template <int64_t known>
QVIM_INLINE void store_lanes(char *to, int64_t step, vec<uint8_t> v) {
  if constexpr (known == 16) return store_vector(to, v);
  const auto at = [=](int64_t i) { return reinterpret_cast<__m128i *>(to + i * step); };
  _mm_storeu_si128(at(0), _mm256_castsi256_si128((__m256i)v));
  _mm_storeu_si128(at(1), _mm256_extracti128_si256((__m256i)v, 1));
}
QVIM_INLINE void load_three(const char *from, vec<uint8_t> (&v)[3]) {
  const auto at = reinterpret_cast<const __m256i *>(from);
  __m256i a = _mm256_loadu_si256(at), b = _mm256_loadu_si256(at + 1), c = _mm256_loadu_si256(at + 2);
  asm("" : "+x"(a), "+x"(b), "+x"(c));  // loaded once, not at every use
  v[0] = (vec<uint8_t>)_mm256_blend_epi32(a, b, 0xF0);
  v[1] = (vec<uint8_t>)_mm256_permute2x128_si256(a, c, 0x21);
  v[2] = (vec<uint8_t>)_mm256_blend_epi32(b, c, 0xF0);
}
QVIM_INLINE void store_three(char *to, const vec<uint8_t> (&v)[3]) {
  const auto at = reinterpret_cast<__m256i *>(to);
  const auto a = (__m256i)v[0], b = (__m256i)v[1], c = (__m256i)v[2];
  _mm256_storeu_si256(at, _mm256_inserti128_si256(a, _mm256_castsi256_si128(b), 1));
  _mm256_storeu_si256(at + 1, _mm256_blend_epi32(c, a, 0xF0));
  _mm256_storeu_si256(at + 2, _mm256_permute2x128_si256(b, c, 0x31));
}
// The first 12 bytes of each lane of four vectors, which make three.
QVIM_INLINE void store_twelves(char *to, const vec<uint8_t> (&v)[4]) {
  const auto moved = [](vec<uint8_t> from, auto... place) __attribute__((always_inline)) {
    return _mm256_permutevar8x32_epi32((__m256i)from, _mm256_setr_epi32(place...));
  };
  const __m256i a = moved(v[0], 0, 1, 2, 4, 5, 6, 0, 0), b = moved(v[1], 2, 4, 5, 6, 0, 0, 0, 1),
                c = moved(v[2], 5, 6, 0, 0, 0, 1, 2, 4), d = moved(v[3], 0, 0, 0, 1, 2, 4, 5, 6);
  const auto out = reinterpret_cast<__m256i *>(to);
  _mm256_storeu_si256(out, _mm256_blend_epi32(a, b, 0xC0));
  _mm256_storeu_si256(out + 1, _mm256_blend_epi32(b, c, 0xF0));
  _mm256_storeu_si256(out + 2, _mm256_blend_epi32(c, d, 0xFC));
}
QVIM_INLINE vec<float> fused(vec<float> a, vec<float> b, vec<float> c) { return _mm256_fmadd_ps(a, b, c); }
QVIM_INLINE vec<double> fused(vec<double> a, vec<double> b, vec<double> c) {
  return _mm256_fmadd_pd(a, b, c);
}
QVIM_INLINE void store_three_halves(char *to, vec<uint8_t> low, vec<uint8_t> high) {
  const auto at = [=](int64_t i) { return reinterpret_cast<__m128i *>(to + i); };
  _mm_storeu_si128(at(0), _mm256_castsi256_si128((__m256i)low));
  _mm_storel_epi64(at(16), _mm256_castsi256_si128((__m256i)high));
  _mm_storeu_si128(at(24), _mm256_extracti128_si256((__m256i)low, 1));
  _mm_storel_epi64(at(40), _mm256_extracti128_si256((__m256i)high, 1));
}
QVIM_INLINE vec<uint8_t> shuffled_lanes(vec<uint8_t> v, vec<uint8_t> order) {
  return (vec<uint8_t>)_mm256_shuffle_epi8((__m256i)v, (__m256i)order);
}
QVIM_INLINE vec<uint16_t> high_products(vec<uint16_t> a, vec<uint16_t> b) {
  return (vec<uint16_t>)_mm256_mulhi_epu16((__m256i)a, (__m256i)b);
}
QVIM_INLINE vec<int32_t> pair_sums(vec<int32_t> added, vec<int16_t> a, vec<int16_t> b) {
  return (vec<int32_t>)((vec<uint32_t>)added + (vec<uint32_t>)_mm256_madd_epi16((__m256i)a, (__m256i)b));
}
// Products of unsigned bytes and signed ones, added in fours, whose sums fit: in each lane those of a, then
// those of b. Nor may the sum of the first two be too large, or that of the last two.
QVIM_INLINE vec<int16_t> four_sums(vec<uint8_t> weights, vec<uint8_t> a, vec<uint8_t> b) {
  const auto pairs = [=](auto v) __attribute__((always_inline)) {
    return _mm256_maddubs_epi16((__m256i)weights, (__m256i)v);
  };
  return (vec<int16_t>)_mm256_hadd_epi16(pairs(a), pairs(b));
}
template <class Item>
QVIM_INLINE vec<uint8_t> in_order(vec<uint8_t> v) {
  if constexpr (sizeof(Item) == 8) return (vec<uint8_t>)_mm256_permute4x64_epi64((__m256i)v, 0xD8);
  return (vec<uint8_t>)_mm256_permutevar8x32_epi32((__m256i)v, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}
QVIM_INLINE bool any_set(vec<int32_t> v) { return !_mm256_testz_si256((__m256i)v, (__m256i)v); }
QVIM_INLINE vec<int16_t> narrowed(vec<int32_t> a, vec<int32_t> b) {
  return (vec<int16_t>)_mm256_packs_epi32((__m256i)a, (__m256i)b);
}
QVIM_INLINE vec<uint16_t> narrowed_unsigned(vec<int32_t> a, vec<int32_t> b) {
  return (vec<uint16_t>)_mm256_packus_epi32((__m256i)a, (__m256i)b);
}
QVIM_INLINE vec<uint8_t> narrowed_unsigned(vec<int16_t> a, vec<int16_t> b) {
  return (vec<uint8_t>)_mm256_packus_epi16((__m256i)a, (__m256i)b);
}
// Processors convert to signed numbers: what does not fit has only the highest bit then.
template <bool below_half>
QVIM_INLINE vec<uint32_t> whole_parts(vec<float> v) {
  const __m256i whole = _mm256_cvttps_epi32(v);
  if constexpr (below_half) return (vec<uint32_t>)whole;
  const __m256i less = _mm256_cvttps_epi32(_mm256_sub_ps(v, _mm256_set1_ps(0x1p31f)));
  return (vec<uint32_t>)_mm256_or_si256(whole, _mm256_and_si256(less, _mm256_srai_epi32(whole, 31)));
}
// Added to 2^52, a whole number stands in the lowest bits.
QVIM_INLINE vec<uint32_t> whole_parts(vec<double> a, vec<double> b) {
  const auto bits = [](__m256d v) __attribute__((always_inline)) {
    v = _mm256_round_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    return _mm256_castpd_ps(_mm256_add_pd(v, _mm256_set1_pd(0x1p52)));
  };
  const __m256i low = _mm256_castps_si256(_mm256_shuffle_ps(bits(a), bits(b), 0x88));
  return (vec<uint32_t>)_mm256_permute4x64_epi64(low, 0xD8);
}
// Both are the lowest number for NaN and what does not fit.
QVIM_INLINE vec<int32_t> signed_parts(vec<float> v) { return (vec<int32_t>)_mm256_cvttps_epi32(v); }
QVIM_INLINE vec<int32_t> signed_parts(vec<double> a, vec<double> b) {
  const __m256i low = _mm256_castsi128_si256(_mm256_cvttpd_epi32(a));
  return (vec<int32_t>)_mm256_inserti128_si256(low, _mm256_cvttpd_epi32(b), 1);
}
#else
template <class T>
QVIM_INLINE vec<T> in_all_lanes(const void *from) {
  return (vec<T>)_mm512_maskz_broadcast_i32x4(0xFFFF, _mm_loadu_si128(static_cast<const __m128i *>(from)));
}
template <int64_t known>
constexpr int64_t lanes_span(int64_t step) {
  return known == 12 ? vector_bytes : lane_bytes + 3 * step;
}
template <int64_t known>
QVIM_INLINE vec<uint8_t> load_lanes(const char *from, int64_t step) {
  if constexpr (known == 16) return load_vector<uint8_t>(from);
  if constexpr (known == 12) {
    const auto v = load_vector<uint32_t>(from);
    return (vec<uint8_t>)__builtin_shufflevector(v, v, 0, 1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 9, 10, 11, 12);
  }
  const auto two = [=](int64_t i) __attribute__((always_inline)) {
    lane<uint64_t> first, second;
    std::memcpy(&first, from + i * step, lane_bytes);
    std::memcpy(&second, from + (i + 1) * step, lane_bytes);
    return __builtin_shufflevector(first, second, 0, 1, 2, 3);
  };
  return (vec<uint8_t>)__builtin_shufflevector(two(0), two(2), 0, 1, 2, 3, 4, 5, 6, 7);
}
template <int64_t known>
QVIM_INLINE void store_lanes(char *to, int64_t step, vec<uint8_t> v) {
  if constexpr (known == 16) return store_vector(to, v);
  each<lanes>([&](auto i) __attribute__((always_inline)) {
    std::memcpy(to + i * step, reinterpret_cast<const char *>(&v) + i * lane_bytes, lane_bytes);
  });
}
// Items of 4 or 8 bytes of two vectors, numbered through.
template <class Item>
QVIM_INLINE vec<uint8_t> picked(vec<uint8_t> a, vec<uint8_t> b, auto... items) {
#ifdef __clang__
  const vec<Item> of[2] = {(vec<Item>)a, (vec<Item>)b};
  constexpr int count = sizeof...(items);
  return (vec<uint8_t>)vec<Item>{of[items / count][items % count]...};
#else
  return (vec<uint8_t>)__builtin_shuffle((vec<Item>)a, (vec<Item>)b, vec<Item>{Item(items)...});
#endif
}
QVIM_INLINE void store_three(char *to, const vec<uint8_t> (&v)[3]) {
  const auto of = [](auto x, auto y, auto... i) __attribute__((always_inline)) {
    return picked<uint64_t>(x, y, i...);
  };
  const auto &a = v[0], &b = v[1], &c = v[2];
  store_vector(to, of(of(a, b, 0, 1, 8, 9, 0, 0, 2, 3), c, 0, 1, 2, 3, 8, 9, 6, 7));
  store_vector(to + vector_bytes, of(of(b, c, 2, 3, 10, 11, 0, 0, 4, 5), a, 0, 1, 2, 3, 12, 13, 6, 7));
  store_vector(to + 2 * vector_bytes, of(of(c, a, 4, 5, 14, 15, 0, 0, 6, 7), b, 0, 1, 2, 3, 14, 15, 6, 7));
}
QVIM_INLINE void store_twelves(char *to, const vec<uint8_t> (&v)[4]) {
  const auto of = [](auto x, auto y, auto... i) __attribute__((always_inline)) {
    return picked<uint32_t>(x, y, i...);
  };
  store_vector(to, of(v[0], v[1], 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20));
  store_vector(to + vector_bytes, of(v[1], v[2], 5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25));
  store_vector(to + 2 * vector_bytes,
               of(v[2], v[3], 10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25, 26, 28, 29, 30));
}
QVIM_INLINE vec<float> fused(vec<float> a, vec<float> b, vec<float> c) { return _mm512_fmadd_ps(a, b, c); }
QVIM_INLINE vec<double> fused(vec<double> a, vec<double> b, vec<double> c) {
  return _mm512_fmadd_pd(a, b, c);
}
QVIM_INLINE vec<uint8_t> shuffled_lanes(vec<uint8_t> v, vec<uint8_t> order) {
  return (vec<uint8_t>)_mm512_shuffle_epi8((__m512i)v, (__m512i)order);
}
QVIM_INLINE vec<uint8_t> shuffled_anywhere(vec<uint8_t> v, vec<uint8_t> order) {
  return (vec<uint8_t>)_mm512_maskz_permutexvar_epi8(~_mm512_movepi8_mask((__m512i)order), (__m512i)order,
                                                     (__m512i)v);
}
QVIM_INLINE vec<uint16_t> high_products(vec<uint16_t> a, vec<uint16_t> b) {
  return (vec<uint16_t>)_mm512_mulhi_epu16((__m512i)a, (__m512i)b);
}
QVIM_INLINE vec<int32_t> pair_sums(vec<int32_t> added, vec<int16_t> a, vec<int16_t> b) {
  return (vec<int32_t>)_mm512_dpwssd_epi32((__m512i)added, (__m512i)a, (__m512i)b);
}
QVIM_INLINE vec<int16_t> narrowed(vec<int32_t> a, vec<int32_t> b) {
  return (vec<int16_t>)_mm512_packs_epi32((__m512i)a, (__m512i)b);
}
QVIM_INLINE vec<uint16_t> narrowed_unsigned(vec<int32_t> a, vec<int32_t> b) {
  return (vec<uint16_t>)_mm512_packus_epi32((__m512i)a, (__m512i)b);
}
QVIM_INLINE vec<uint8_t> narrowed_unsigned(vec<int16_t> a, vec<int16_t> b) {
  return (vec<uint8_t>)_mm512_packus_epi16((__m512i)a, (__m512i)b);
}
QVIM_INLINE vec<int16_t> four_sums(vec<uint8_t> weights, vec<uint8_t> a, vec<uint8_t> b) {
  const auto sums = [=](auto v) __attribute__((always_inline)) {
    return (vec<int32_t>)_mm512_dpbusd_epi32(__m512i(), (__m512i)weights, (__m512i)v);
  };
  return narrowed(sums(a), sums(b));
}
template <class Item>
QVIM_INLINE vec<uint8_t> in_order(vec<uint8_t> v) {
  if constexpr (sizeof(Item) == 8) return picked<uint64_t>(v, v, 0, 2, 4, 6, 1, 3, 5, 7);
  return picked<uint32_t>(v, v, 0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
}
// Words of two vectors, numbered through; 0 where the highest bit of the number is set.
QVIM_INLINE vec<uint16_t> words_of_two(vec<uint16_t> a, vec<uint16_t> b, vec<uint16_t> order) {
  return (vec<uint16_t>)_mm512_maskz_permutex2var_epi16(~_mm512_movepi16_mask((__m512i)order), (__m512i)a,
                                                        (__m512i)order, (__m512i)b);
}
#endif
#if QVIM_LANES < 4
// The low bits of numbers, which may be negative if they are known to `fit`: these become 0.
template <bool fit>
QVIM_INLINE vec<uint16_t> narrowed_words(vec<uint32_t> a, vec<uint32_t> b) {
  const auto low = [](auto v) __attribute__((always_inline)) { return (vec<int32_t>)(fit ? v : v & 0xFFFF); };
  return (vec<uint16_t>)in_order<uint64_t>((vec<uint8_t>)narrowed_unsigned(low(a), low(b)));
}
template <bool fit>
QVIM_INLINE vec<uint8_t> narrowed_bytes(vec<uint32_t> a, vec<uint32_t> b, vec<uint32_t> c, vec<uint32_t> d) {
  const auto low = [](auto v) __attribute__((always_inline)) { return (vec<int32_t>)(fit ? v : v & 0xFF); };
  return in_order<uint32_t>(narrowed_unsigned(narrowed(low(a), low(b)), narrowed(low(c), low(d))));
}
#endif
// Numbers of 64 bits below 2^52 as doubles, and the whole parts of such doubles. AVX2 has no instructions for
// that: with the exponent of 2^52 before it, a number is as much as that more.
#if QVIM_LANES == 2
QVIM_INLINE vec<double> as_doubles(vec<uint64_t> v) {
  return (vec<double>)(v | 0x4330'0000'0000'0000) - 0x1p52;
}
QVIM_INLINE vec<uint64_t> as_numbers(vec<double> v) {
  const auto whole = (vec<double>)_mm256_round_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
  return (vec<uint64_t>)(whole + 0x1p52) & 0x000F'FFFF'FFFF'FFFF;
}
#else
QVIM_INLINE vec<double> as_doubles(vec<uint64_t> v) { return __builtin_convertvector(v, vec<double>); }
QVIM_INLINE vec<uint64_t> as_numbers(vec<double> v) { return __builtin_convertvector(v, vec<uint64_t>); }
#endif
// Lanes in the reverse order, where bytes cannot be shuffled across them.
QVIM_INLINE vec<uint8_t> lanes_reversed(vec<uint8_t> v) {
#if QVIM_LANES == 2
  return (vec<uint8_t>)__builtin_shufflevector((vec<uint64_t>)v, (vec<uint64_t>)v, 2, 3, 0, 1);
#else
  return v;
#endif
}
#if QVIM_LANES < 4
QVIM_INLINE vec<uint8_t> shuffled_anywhere(vec<uint8_t> v, vec<uint8_t> order) {
  return shuffled_lanes(v, order);
}
#endif
#endif

}  // namespace QVIM_LEVEL
}  // namespace qvim
