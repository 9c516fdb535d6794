// Vectors of components for the loops with vectors of 64 bytes: runs are taken by vectors, and their ends are
// cut off by masks, so that nothing outside a run is read or written.
#pragma once

#include <array>

#include "kernels/colour/pixels.hpp"

#if QVIM_HAVE_WIDE
#include <immintrin.h>

// GCC's own headers leave the unused operand of some instructions undefined: where the loops call them,
// QVIM_WIDE_BEGIN and QVIM_WIDE_END are around.
#ifdef __clang__
#define QVIM_WIDE_BEGIN
#define QVIM_WIDE_END
#else
#define QVIM_WIDE_BEGIN                                                                      \
  _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wmaybe-uninitialized\"") \
      _Pragma("GCC diagnostic ignored \"-Wuninitialized\"")
#define QVIM_WIDE_END _Pragma("GCC diagnostic pop")
#endif

QVIM_WIDE_BEGIN
namespace qvim {
inline namespace QVIM_LEVEL {
namespace wide {

using vector = __m512i;

template <class T>
constexpr int lanes = 64 / sizeof(T);

// The number of a lane, or whatever else is constant in each, as wide as a lane.
template <class T>
using lane_number = std::conditional_t<
    sizeof(T) == 1, uint8_t,
    std::conditional_t<sizeof(T) == 2, uint16_t, std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>>;

template <class T, class Function>
constexpr std::array<lane_number<T>, lanes<T>> each_lane(Function f) {
  std::array<lane_number<T>, lanes<T>> result{};
  for (int i = 0; i < lanes<T>; ++i) result[size_t(i)] = lane_number<T>(f(i));
  return result;
}
template <class T>
QVIM_INLINE vector constant(const std::array<T, lanes<T>> &from) {
  return _mm512_loadu_si512(from.data());
}

// The first `count` lanes of a vector; all of them when there are not so many.
QVIM_INLINE uint64_t first_lanes(int count) {
  return count >= 64 ? ~uint64_t(0) : count > 0 ? ~(~uint64_t(0) << count) : 0;
}

template <class T>
QVIM_INLINE vector load(const char *from, uint64_t mask) {
  if constexpr (sizeof(T) == 1) return _mm512_maskz_loadu_epi8(mask, from);
  if constexpr (sizeof(T) == 2) return _mm512_maskz_loadu_epi16(uint32_t(mask), from);
  if constexpr (sizeof(T) == 4) return _mm512_maskz_loadu_epi32(uint16_t(mask), from);
  if constexpr (sizeof(T) == 8) return _mm512_maskz_loadu_epi64(uint8_t(mask), from);
}
template <class T>
QVIM_INLINE void store(char *to, uint64_t mask, vector v) {
  if constexpr (sizeof(T) == 1) _mm512_mask_storeu_epi8(to, mask, v);
  if constexpr (sizeof(T) == 2) _mm512_mask_storeu_epi16(to, uint32_t(mask), v);
  if constexpr (sizeof(T) == 4) _mm512_mask_storeu_epi32(to, uint16_t(mask), v);
  if constexpr (sizeof(T) == 8) _mm512_mask_storeu_epi64(to, uint8_t(mask), v);
}
template <class T>
QVIM_INLINE vector choose(uint64_t mask, vector otherwise, vector v) {
  if constexpr (sizeof(T) == 1) return _mm512_mask_blend_epi8(mask, otherwise, v);
  if constexpr (sizeof(T) == 2) return _mm512_mask_blend_epi16(uint32_t(mask), otherwise, v);
  if constexpr (sizeof(T) == 4) return _mm512_mask_blend_epi32(uint16_t(mask), otherwise, v);
  if constexpr (sizeof(T) == 8) return _mm512_mask_blend_epi64(uint8_t(mask), otherwise, v);
}
template <class T>
QVIM_INLINE vector pick(vector a, vector lane) {
  if constexpr (sizeof(T) == 1) return _mm512_permutexvar_epi8(lane, a);
  if constexpr (sizeof(T) == 2) return _mm512_permutexvar_epi16(lane, a);
  if constexpr (sizeof(T) == 4) return _mm512_permutexvar_epi32(lane, a);
  if constexpr (sizeof(T) == 8) return _mm512_permutexvar_epi64(lane, a);
}
// Lanes of two vectors, numbered through.
template <class T>
QVIM_INLINE vector pick(vector a, vector b, vector lane) {
  if constexpr (sizeof(T) == 1) return _mm512_permutex2var_epi8(a, lane, b);
  if constexpr (sizeof(T) == 2) return _mm512_permutex2var_epi16(a, lane, b);
  if constexpr (sizeof(T) == 4) return _mm512_permutex2var_epi32(a, lane, b);
  if constexpr (sizeof(T) == 8) return _mm512_permutex2var_epi64(a, lane, b);
}

// Three vectors from three: which of their lanes, numbered through, becomes lane i of vector k.
constexpr int split(int, int k, int i) { return 3 * i + k; }  // interleaved components to planes
constexpr int join(int n, int k, int i) { return (k * n + i) % 3 * n + (k * n + i) / 3; }

template <class T, int (*from)(int, int, int), int k>
QVIM_INLINE vector rearranged(const vector (&v)[3]) {
  constexpr int n = lanes<T>;
  static constexpr auto order = each_lane<T>([](int i) { return from(n, k, i); });
  static constexpr uint64_t from_third = [] {
    uint64_t mask = 0;
    for (int i = 0; i < n; ++i) mask |= uint64_t(from(n, k, i) >= 2 * n) << i;
    return mask;
  }();
  const vector lane = constant<lane_number<T>>(order);  // pick() takes a third vector's numbers modulo n
  return choose<T>(from_third, pick<T>(v[0], v[1], lane), pick<T>(v[2], lane));
}
template <class T, int (*from)(int, int, int)>
QVIM_INLINE void rearrange(vector (&v)[3]) {
  const vector r[3] = {rearranged<T, from, 0>(v), rearranged<T, from, 1>(v), rearranged<T, from, 2>(v)};
  for (int k = 0; k < 3; ++k) v[k] = r[k];
}

// Some vectors of a run of which `count` components are left.
template <class T, int n>
QVIM_INLINE void load(const char *src, int count, vector (&v)[n]) {
  for (int k = 0; k < n; ++k) {
    v[k] = load<T>(src + 64 * k, first_lanes(count - k * lanes<T>));
    asm("" : "+v"(v[k]));  // loaded once, not at every use: most loads cross a cache line
  }
}
template <class T, int n>
QVIM_INLINE void store(char *dst, int count, const vector (&v)[n]) {
  for (int k = 0; k < n; ++k) store<T>(dst + 64 * k, first_lanes(count - k * lanes<T>), v[k]);
}

// Parts of a run of packed pixels. Masks that leave out bytes make loads and stores several times slower
// where the memory is not in a cache: convert<part::whole> does without them, for which it may read up to
// pixels_ahead more pixels of the run.
enum class part { whole, last };

template <class Step>
QVIM_INLINE void run(const Step &step, const char *src, char *dst, uint64_t count) {
  constexpr int pixels = Step::pixels;
  for (; count >= pixels + Step::pixels_ahead; count -= pixels) {
    step.template convert<part::whole>(src, dst, pixels);
    src += pixels * Step::size_in;
    dst += pixels * Step::size_out;
  }
  while (count) {
    const int rest = count < pixels ? int(count) : pixels;
    step.template convert<part::last>(src, dst, rest);
    count -= uint64_t(rest);
    src += rest * Step::size_in;
    dst += rest * Step::size_out;
  }
}

}  // namespace wide
}  // namespace QVIM_LEVEL
}  // namespace qvim
QVIM_WIDE_END
#endif
