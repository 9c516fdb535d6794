// Byte shuffles: of 16 bytes, which processors of level v3 and v4 have an instruction for, and whole runs by
// shuffles of 64 bytes, where there are some.
#pragma once

#include <cstdint>

#include "kernels/clones.hpp"

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

// Some items as bytes of vectors of 64: byte i of a vector of results is byte from[i] of one of the source.
// Of both, only the bytes whose bits are set are touched.
struct byte_order {
  alignas(64) uint8_t from[64] = {};
  uint64_t read = 0, written = 0;
  int64_t items, srcstride, dststride;

  // Items of `size` bytes. The destination's stride must be at least that, the source's, too, but may be
  // negative; neither may be more than 64. Byte i of an item's result is byte source(i) of the item.
  constexpr byte_order(int64_t size, int64_t from_stride, int64_t to_stride, auto source)
      : srcstride(from_stride), dststride(to_stride) {
    const bool backwards = srcstride < 0;
    const int64_t distance = backwards ? -srcstride : srcstride;
    // The last item of a vector needs no room for what follows it.
    items = 1 + (64 - size) / (distance > dststride ? distance : dststride);
    for (int64_t item = 0; item < items; ++item)
      for (int64_t i = 0; i < size; ++i) {
        const int64_t at = (backwards ? items - 1 - item : item) * distance + source(i);
        from[item * dststride + i] = uint8_t(at);
        read |= 1ull << at;
        written |= 1ull << (item * dststride + i);
      }
  }

  // Bytes of the first so many items, of the source and of the destination.
  QVIM_INLINE uint64_t read_of(int64_t some) const {
    return read & (srcstride > 0 ? ~(~0ull << some * srcstride) : ~0ull << (items - some) * -srcstride);
  }
  QVIM_INLINE uint64_t written_of(int64_t some) const { return written & ~(~0ull << some * dststride); }
};

constexpr int64_t same_byte(int64_t i) { return i; }

// What is done to the bytes of a vector after their shuffle.
struct unchanged {
  QVIM_INLINE auto operator()(auto v) const { return v; }
#if QVIM_HAVE_WIDE
  QVIM_WIDE QVIM_INLINE __m512i wide(__m512i v) const { return v; }
#endif
};

// Are runs done by shuffles of 64 bytes here?
QVIM_INLINE bool shuffles_runs() {
#if QVIM_HAVE_WIDE
  return QVIM_IS_WIDE;
#else
  return false;
#endif
}

// Masked vectors that lie across cache lines hold up a processor that waits for memory. Lines asked for some
// rounds ahead let frames in memory pass at twice the speed.
constexpr int64_t lines_ahead = 1024;
QVIM_INLINE void expect_lines(const char *src, const char *dst, bool backwards) {
  __builtin_prefetch(src + (backwards ? -lines_ahead : lines_ahead), 0);
  __builtin_prefetch(dst + lines_ahead, 1);
}

#if QVIM_HAVE_WIDE
template <class Operation>
QVIM_WIDE void shuffle_run_wide(const char *src, char *dst, uint64_t count, const byte_order &order,
                                const Operation &op) {
  const Operation operation = op;  // a copy, which no store can change
  const __m512i from = _mm512_load_si512(order.from);
  const uint64_t read = order.read, written = order.written;
  const int64_t items = order.items, srcstep = items * order.srcstride, dststep = items * order.dststride;
  if (srcstep < 0) src += srcstep - order.srcstride;  // the lowest address of a vector
  const auto step = [&](uint64_t in, uint64_t out) __attribute__((target(QVIM_WIDE_TARGET), always_inline)) {
    expect_lines(src, dst, srcstep < 0);
    const __m512i v = _mm512_maskz_loadu_epi8(in, src);
    _mm512_mask_storeu_epi8(dst, out, operation.wide(_mm512_maskz_permutexvar_epi8(out, from, v)));
  };
  int64_t left = int64_t(count);
  for (; left >= items; left -= items, src += srcstep, dst += dststep) step(read, written);
  if (left) step(order.read_of(left), order.written_of(left));
}
#endif

// A run of items in the order of their bytes, if the processor can; says so. Source and destination may be
// the same when their strides are equal.
template <class Operation = unchanged>
QVIM_INLINE bool shuffle_run([[maybe_unused]] const char *src, [[maybe_unused]] char *dst,
                             [[maybe_unused]] uint64_t count, [[maybe_unused]] const byte_order &order,
                             [[maybe_unused]] const Operation &operation = {}) {
#if QVIM_HAVE_WIDE
  if (shuffles_runs()) return shuffle_run_wide(src, dst, count, order, operation), true;
#endif
  return false;
}

// The same for strides known only here, when the run is worth an order of its own.
template <class Operation = unchanged>
QVIM_INLINE bool shuffle_strided(const char *src, char *dst, int64_t srcstride, int64_t dststride,
                                 uint64_t count, int64_t size, const auto &source,
                                 const Operation &operation = {}) {
  constexpr uint64_t many = 128;
  constexpr auto close = [](int64_t stride) { return stride >= -32 && stride <= 32; };
  if (!shuffles_runs() || count < many || !close(srcstride) || !close(dststride)) return false;
  if ((srcstride < 0 ? -srcstride : srcstride) < size || dststride < size) return false;
  return shuffle_run(src, dst, count, byte_order(size, srcstride, dststride, source), operation);
}

}  // namespace qvim
