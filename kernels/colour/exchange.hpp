// Exchange of two components of every pixel, with or without a conversion of each component.
#pragma once

#include "kernels/colour/pixels.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

// Where byte i of a pixel with exchanged components of type T lies in the source. Where bytes can be
// shuffled, that is all there is to it.
template <class T, int first, int second>
constexpr int64_t exchanged_byte(int64_t i) {
  constexpr int64_t width = sizeof(T);
  const int64_t c = i / width;
  return (c == first ? second : c == second ? first : c) * width + i % width;
}
template <class T, int components, int first, int second>
constexpr byte_order exchanged{components * sizeof(T), components * sizeof(T), components * sizeof(T),
                               exchanged_byte<T, first, second>};

// No lane holds a pixel of doubles: each is moved alone.
template <class T>
constexpr bool moved_alone = sizeof(T) == 8;

template <class T, int components, int first, int second, class Operation>
QVIM_INLINE void exchange_alone(const char *src, char *dst, int64_t srcstride, int64_t dststride,
                                uint64_t count, const Operation &operation) {
  for (int64_t i = 0; i < int64_t(count); ++i) {
    T p[components];
    for (int c = 0; c < components; ++c)
      p[c] =
          operation(load<T>(src + i * srcstride + exchanged_byte<T, first, second>(c * int64_t(sizeof(T)))));
    for (int c = 0; c < components; ++c) store(dst + i * dststride + c * int64_t(sizeof(T)), p[c]);
    asm volatile("");  // vector code would be slower
  }
}

// Elsewhere packed pixels are done without moving anything within a vector: every byte of a result is the
// one at the same place, the one so many bytes further on or the one so many bytes before, chosen by masks
// whose pattern repeats in a chunk.
constexpr uint64_t chunk_size = 192;  // whole pixels of 3 or 4 components of any size, whole vectors

struct byte_choice {
  alignas(64) uint8_t after[chunk_size], same[chunk_size], before[chunk_size];
};
template <uint64_t size, int components, int first, int second>
constexpr byte_choice make_byte_choice() {
  byte_choice choice{};
  for (uint64_t i = 0; i < chunk_size; ++i) {
    const int c = int(i / size % components);
    (c == first ? choice.after : c == second ? choice.before : choice.same)[i] = 0xFF;
  }
  return choice;
}
template <uint64_t size, int components, int first, int second>
constexpr byte_choice bytes_chosen = make_byte_choice<size, components, first, second>();

// A chunk, all of which is read before any of it is written. Bytes at both sides of the source's are read,
// too, and not used.
template <class T, int components, int first, int second, class Operation>
QVIM_INLINE void exchange_chunk(const char *src, char *dst, const Operation &operation) {
  constexpr auto &choice = bytes_chosen<sizeof(T), components, first, second>;
  constexpr int64_t distance = (second - first) * int64_t(sizeof(T));
  alignas(64) char exchanged[chunk_size];
  QVIM_INDEPENDENT
  for (int64_t i = 0; i < int64_t(chunk_size); ++i)
    exchanged[i] = char((src[i + distance] & choice.after[i]) | (src[i] & choice.same[i]) |
                        (src[i - distance] & choice.before[i]));
  if constexpr (std::is_same_v<Operation, unchanged>) {
    std::memcpy(dst, exchanged, chunk_size);
  } else {
    run_dense<T, T>(exchanged, dst, chunk_size / sizeof(T), operation);
  }
}

// Packed pixels; source and destination may be the same.
template <class T, int components, int first, int second, class Operation = unchanged>
QVIM_INLINE void exchange_packed(const char *src, char *dst, uint64_t count,
                                 const Operation &operation = {}) {
  constexpr uint64_t size = components * sizeof(T), per_chunk = chunk_size / size;
  if (shuffle_run(src, dst, count, exchanged<T, components, first, second>, gaps::others, operation)) return;
  if constexpr (moved_alone<T> && std::is_same_v<Operation, unchanged>)
    return exchange_alone<T, components, first, second>(src, dst, size, size, count, operation);
  const auto apart = [&](uint64_t pixels) __attribute__((always_inline)) {  // where nothing else can be read
    alignas(64) char copy[3 * chunk_size] = {};
    std::memcpy(copy + chunk_size, src, pixels * size);
    exchange_chunk<T, components, first, second>(copy + chunk_size, copy + chunk_size, operation);
    std::memcpy(dst, copy + chunk_size, pixels * size);
    count -= pixels;
    src += pixels * size;
    dst += pixels * size;
  };
  if (count > 2 * per_chunk) {
    apart(per_chunk);
    for (; count > per_chunk; count -= per_chunk, src += chunk_size, dst += chunk_size)
      exchange_chunk<T, components, first, second>(src, dst, operation);
  }
  while (count) apart(count < per_chunk ? count : per_chunk);
}

// Pixels of three components at any strides, in blocks with room at both sides.
template <class T, int first, int second, class Operation>
QVIM_INLINE void exchange_strided(const char *src, char *dst, int64_t srcstride, int64_t dststride,
                                  uint64_t count, const Operation &operation) {
  constexpr uint64_t size = 3 * sizeof(T), block = buffer_size / size;
  static_assert(buffer_size % chunk_size == 0 && buffer_size % size == 0);
  alignas(64) char buffer[chunk_size + buffer_size + chunk_size];
  char *const pixels = buffer + chunk_size;
  std::memset(buffer, 0, chunk_size);
  while (count) {
    const uint64_t part = count < block ? count : block;
    move_pixels<size>(src, pixels, srcstride, size, part);
    std::memset(pixels + part * size, 0, chunk_size);
    for (uint64_t i = 0; i < part * size; i += chunk_size)
      exchange_chunk<T, 3, first, second>(pixels + i, pixels + i, operation);
    move_pixels<size>(pixels, dst, size, dststride, part);
    count -= part;
    if (!count) return;
    src += int64_t(part) * srcstride;
    dst += int64_t(part) * dststride;
  }
}

template <class T, int first, int second, class Operation = unchanged>
QVIM_INLINE void exchange(const void *source, void *destination, uint64_t srcstride, uint64_t dststride,
                          uint64_t count, const Operation &operation = {}) {
  constexpr uint64_t packed = 3 * sizeof(T);
  auto src = static_cast<const char *>(source);
  auto dst = static_cast<char *>(destination);
  if (shuffle_pixels<T, exchanged_byte<T, first, second>>(src, dst, int64_t(srcstride), int64_t(dststride),
                                                          count, operation))
    return;
  if (srcstride == packed && dststride == packed)
    exchange_packed<T, 3, first, second>(src, dst, count, operation);
  else if constexpr (moved_alone<T>)
    exchange_alone<T, 3, first, second>(src, dst, int64_t(srcstride), int64_t(dststride), count, operation);
  else if (dststride % sizeof(T) != 0 ||  // the operation is done to whole components of a vector
           !shuffle_strided(src, dst, int64_t(srcstride), int64_t(dststride), count, packed,
                            exchanged_byte<T, first, second>, operation))
    exchange_strided<T, first, second>(src, dst, int64_t(srcstride), int64_t(dststride), count, operation);
}

}  // namespace QVIM_LEVEL
}  // namespace qvim
