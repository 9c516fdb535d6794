// The loops of the colour kernels: runs of interleaved pixels pass in blocks through buffers in which equal
// components are adjacent, so that a conversion is written for one pixel and the compiler does many at a
// time.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include <qvimage/kernel.h>

#include "kernels/run.hpp"
#include "kernels/shuffle.hpp"

extern "C" npfbix_fn QVIM_KERNEL(npfbix_z3toz3_n), QVIM_KERNEL(npfbix_z6toz6_n),
    QVIM_KERNEL(npfbix_z12toz12_n);

namespace qvim {
inline namespace QVIM_LEVEL {

constexpr uint64_t buffer_size = 6144;  // bytes of pixels gathered at a time

// What a component is while it is computed with. Bytes are taken apart two pixels at a time, as 16-bit words:
// shuffles of words are much faster than those of bytes, and sums of bytes need the room anyway.
template <class T>
using lane_of = std::conditional_t<sizeof(T) == 1, uint16_t, T>;

// How many pixels are taken apart at a time: so many that the loops' beginnings do not count, so few that all
// stays in the cache nearest to the processor.
template <class T>
constexpr uint64_t block_pixels = 2048 / sizeof(lane_of<T>);

// Of a result only the low bits of the component's width count.
template <class T, int n>
struct pixel {
  lane_of<T> c[n];
};

// The components of a block of pixels, in whatever order split() gives them; join() knows it.
template <class T, int n>
struct planes {
  alignas(64) lane_of<T> c[n][block_pixels<T>];
};

// Copies whole pixels from run to run; runs overlap only when they are the same.
template <uint64_t size>
QVIM_INLINE void move_pixels(const char *src, char *dst, int64_t srcstride, int64_t dststride,
                             uint64_t count) {
  if constexpr (size == 1 || size == 2 || size == 4 || size == 8) {
    move_items<size>(src, dst, srcstride, dststride, count);
  } else if constexpr (size == 3) {
    QVIM_KERNEL(npfbix_z3toz3_n)(src, dst, srcstride, dststride, count, 0, 0);
  } else if constexpr (size == 6) {
    QVIM_KERNEL(npfbix_z6toz6_n)(src, dst, srcstride, dststride, count, 0, 0);
  } else if constexpr (size == 12) {
    QVIM_KERNEL(npfbix_z12toz12_n)(src, dst, srcstride, dststride, count, 0, 0);
  } else if (srcstride == int64_t(size) && dststride == int64_t(size)) {
    if (count) std::memmove(dst, src, size * count);
  } else if (!shuffle_strided(src, dst, srcstride, dststride, count, size, same_byte)) {
    struct item {
      char bytes[size];
    };
    for (int64_t i = 0; i < int64_t(count); ++i) store(dst + i * dststride, load<item>(src + i * srcstride));
  }
}

// Packed pixels to planes.
template <class T, int n>
QVIM_INLINE void split(const char *src, planes<T, n> &to, uint64_t count) {
  if constexpr (sizeof(T) == 1) {  // every other pixel, then those between them, then the odd one at the end
    const uint64_t pairs = count / 2;
    QVIM_INDEPENDENT
    for (uint64_t i = 0; i < pairs; ++i)
      for (uint64_t k = 0; k < n; ++k) {
        const auto word = load<uint16_t>(src + (i * n + k) * 2);
        to.c[2 * k % n][2 * k / n * pairs + i] = word & 0xFF;
        to.c[(2 * k + 1) % n][(2 * k + 1) / n * pairs + i] = uint16_t(word >> 8);
      }
    if (count % 2)
      for (uint64_t c = 0; c < n; ++c) to.c[c][count - 1] = uint8_t(src[(count - 1) * n + c]);
  } else {
    QVIM_INDEPENDENT
    for (uint64_t i = 0; i < count; ++i)
      for (uint64_t c = 0; c < n; ++c) to.c[c][i] = load<T>(src + (i * n + c) * sizeof(T));
  }
}

// The reverse.
template <class T, int n>
QVIM_INLINE void join(const planes<T, n> &from, char *dst, uint64_t count) {
  if constexpr (sizeof(T) == 1) {
    const uint64_t pairs = count / 2;
    QVIM_INDEPENDENT
    for (uint64_t i = 0; i < pairs; ++i)
      for (uint64_t k = 0; k < n; ++k) {
        const uint16_t low = from.c[2 * k % n][2 * k / n * pairs + i] & 0xFF,
                       high = from.c[(2 * k + 1) % n][(2 * k + 1) / n * pairs + i];
        store(dst + (i * n + k) * 2, uint16_t(low | high << 8));
      }
    if (count % 2)
      for (uint64_t c = 0; c < n; ++c) dst[(count - 1) * n + c] = char(from.c[c][count - 1]);
  } else {
    QVIM_INDEPENDENT
    for (uint64_t i = 0; i < count; ++i)
      for (uint64_t c = 0; c < n; ++c) store(dst + (i * n + c) * sizeof(T), from.c[c][i]);
  }
}

// Calls dense(src, dst, count) for packed pixels: for the whole run when it is packed, otherwise block by
// block through a buffer. A block is read before any of it is written, so source and destination may be the
// same.
template <uint64_t size_in, uint64_t size_out>
QVIM_INLINE void packed_blocks(const void *source, void *destination, uint64_t srcstride, uint64_t dststride,
                               uint64_t count, const auto &dense) {
  auto src = static_cast<const char *>(source);
  auto dst = static_cast<char *>(destination);
  const bool src_packed = srcstride == size_in, dst_packed = dststride == size_out;
  constexpr uint64_t block = buffer_size / (size_in > size_out ? size_in : size_out);
  alignas(64) char pixels[block * size_in];
  alignas(64) char results[block * size_out];
  while (count) {
    const uint64_t part = (src_packed && dst_packed) || count < block ? count : block;
    if (!src_packed) move_pixels<size_in>(src, pixels, int64_t(srcstride), size_in, part);
    dense(src_packed ? src : pixels, dst_packed ? dst : results, part);
    if (!dst_packed) move_pixels<size_out>(results, dst, size_out, int64_t(dststride), part);
    count -= part;
    if (!count) return;
    src += part * srcstride;
    dst += part * dststride;
  }
}

// In which order the conversion's R, G and B are stored.
enum class order { rgb, bgr };

template <order o>
QVIM_INLINE constexpr int place(int c) {
  return o == order::bgr && c < 3 ? 2 - c : c;
}

// How many pixels a first block has, so that the next ones begin at a cache line: vectors of 64 bytes that
// lie across two lines come much more slowly from memory. Larger components showed no difference.
template <class T, uint64_t size>
QVIM_INLINE uint64_t first_block(const char *first, uint64_t count) {
  if (sizeof(T) > 1 || count <= block_pixels<T>) return block_pixels<T>;
  constexpr uint64_t power = size & -size, inverse = size == power ? 1 : 43;  // of 3, modulo 64
  static_assert(size == power || size == 3 * power);
  const auto address = reinterpret_cast<uintptr_t>(first);
  const uint64_t before_line = address % power ? 0 : -(address / power) * inverse % (64 / power);
  return before_line ? before_line : block_pixels<T>;
}

// Applies a conversion, pixel<T, inputs> to pixel<T, outputs>, to every pixel of a run.
template <class T, class Conversion, order from = order::rgb, order to = order::rgb>
QVIM_INLINE void convert_pixels(const void *source, void *destination, uint64_t srcstride, uint64_t dststride,
                                uint64_t run, const Conversion &conversion) {
  constexpr int inputs = Conversion::inputs, outputs = Conversion::outputs;
  constexpr uint64_t size_in = inputs * sizeof(T), size_out = outputs * sizeof(T);
  planes<T, inputs> in;
  planes<T, outputs> out;
  packed_blocks<size_in, size_out>(
      source, destination, srcstride, dststride,
      run, [&](const char *src, char *dst, uint64_t count) __attribute__((always_inline)) {
        uint64_t part = first_block<T, size_in>(src, count);
        for (uint64_t done = 0; done < count; done += part, part = block_pixels<T>) {
          if (part > count - done) part = count - done;
          split(src + done * size_in, in, part);
          QVIM_INDEPENDENT
          for (uint64_t i = 0; i < part; ++i) {
            pixel<T, inputs> p;
            for (int c = 0; c < inputs; ++c) p.c[c] = in.c[place<from>(c)][i];
            const pixel<T, outputs> q = conversion(p);
            for (int c = 0; c < outputs; ++c) out.c[place<to>(c)][i] = q.c[c];
          }
          join(out, dst + done * size_out, part);
        }
      });
}

}  // namespace QVIM_LEVEL
}  // namespace qvim
