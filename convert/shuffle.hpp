// Byte shuffles: of 16 bytes, which processors of level v3 and v4 have an instruction for, and whole runs by
// shuffles of 64 bytes, where there are some.
#pragma once

#include <cstdint>

#include "convert/clones.hpp"

#if QVIM_HAVE_WIDE
#include <immintrin.h>
#endif

namespace qvim {

typedef uint8_t bytes16 __attribute__((vector_size(16)));

// Byte i of the result is byte order[i] of the value.
QVIM_INLINE bytes16 shuffled(bytes16 value, bytes16 order) {
#if defined(__clang__)
  bytes16 result;
  for (int i = 0; i < 16; ++i) result[i] = value[order[i]];
  return result;
#else
  return __builtin_shuffle(value, order);
#endif
}

// How the bytes of some pixels become the bytes of as many others: byte i of a vector of results is byte
// from[i] of a vector of the source. Of both vectors only the bytes whose bits are set are touched.
struct byte_order {
  alignas(64) uint8_t from[64] = {};
  uint64_t read = 0, written = 0;
  int64_t pixels, src_size, dst_size;  // per vector; bytes of a pixel, of the source negative when backwards
};

// Pixels of `in` components become pixels of `out`. The first `used` are copied, two of them exchanged.
constexpr byte_order component_order(int size, int in, int out, int used, int first = 0, int second = 0) {
  const int pixels = 64 / (size * (in > out ? in : out));
  byte_order order;
  order.pixels = pixels, order.src_size = in * size, order.dst_size = out * size;
  for (int i = 0; i < pixels * out * size; ++i) {
    const int c = i / size % out, s = c == first ? second : c == second ? first : c;
    if (c >= used) continue;
    order.from[i] = uint8_t((i / size / out * in + s) * size + i % size);
    order.read |= 1ull << order.from[i];
    order.written |= 1ull << i;
  }
  return order;
}

// What is done to the bytes of a vector after their shuffle.
struct unchanged {
  QVIM_INLINE auto operator()(auto v) const { return v; }
#if QVIM_HAVE_WIDE
  QVIM_WIDE QVIM_INLINE __m512i wide(__m512i v) const { return v; }
#endif
};

#if QVIM_HAVE_WIDE
template <class Operation>
QVIM_WIDE void shuffle_run_wide(const char *src, char *dst, uint64_t count, const byte_order &order,
                                const Operation &op) {
  const Operation operation = op;  // a copy, which no store can change
  const __m512i from = _mm512_load_si512(order.from);
  const uint64_t read = order.read, written = order.written;
  const int64_t src_size = order.src_size, dst_size = order.dst_size, pixels = order.pixels;
  const auto step = [&](uint64_t in, uint64_t out) __attribute__((target(QVIM_WIDE_TARGET), always_inline)) {
    const __m512i v = _mm512_maskz_loadu_epi8(in, src_size > 0 ? src : src + pixels * src_size);
    _mm512_mask_storeu_epi8(dst, out, operation.wide(_mm512_maskz_permutexvar_epi8(out, from, v)));
  };
  int64_t left = int64_t(count);
  for (; left >= pixels; left -= pixels, src += pixels * src_size, dst += pixels * dst_size)
    step(read, written);
  if (left) {  // the lower addresses of a vector, but the upper ones when read backwards
    const uint64_t bytes = src_size > 0 ? ~(~0ull << left * src_size) : ~0ull << (pixels - left) * -src_size;
    step(read & bytes, written & ~(~0ull << left * dst_size));
  }
}
#endif

// The bytes of a run in another order, if the processor can, and says so. Source and destination may be the
// same when their pixels have one size; a source is read backwards from where it ends.
template <class Operation = unchanged>
QVIM_INLINE bool shuffle_run([[maybe_unused]] const char *src, [[maybe_unused]] char *dst,
                             [[maybe_unused]] uint64_t count, [[maybe_unused]] const byte_order &order,
                             [[maybe_unused]] const Operation &operation = {}) {
#if QVIM_HAVE_WIDE
  if (QVIM_IS_WIDE) return shuffle_run_wide(src, dst, count, order, operation), true;
#endif
  return false;
}

}  // namespace qvim
