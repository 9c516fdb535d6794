// Kernels that translate pixies through a table. Where vectors do not hold the table, the loads from it are
// what takes the time.
#include <bit>

#include <qvimage/npfpix.h>

#include "kernels/byte_lookup.hpp"
#include "kernels/operations.hpp"
#include "kernels/run.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

template <class T>
QVIM_INLINE T indexing_bits(uint32_t bits) {
  return bits == 0 || bits >= 8 * sizeof(T) ? all_bits<T> : T((1u << bits) - 1);
}

#if QVIM_LANES
// Most of a run of adjacent bytes; returns how many. The table may end with the largest value that occurs.
[[gnu::noinline]] uint64_t translate_bytes(const char *src, char *dst, uint64_t count, const char *table,
                                           uint8_t indexing) {
  constexpr uint64_t section = 4096;
  alignas(vector_bytes) uint8_t entries[byte_values] = {};
  uint64_t done = 0, known = 0;
  while (count - done >= vector_bytes) {
    const uint64_t left = count - done,
                   part = (left < section ? left : section) / vector_bytes * vector_bytes;
    const uint8_t largest = largest_byte(src + done, part), needed = largest > indexing ? indexing : largest;
    if (known <= needed) {
      std::memcpy(entries + known, table + known, needed + 1 - known);
      known = needed + 1u;
    }
    const byte_lookup looked_up(entries);
    for (const uint64_t end = done + part; done < end; done += vector_bytes)
      store_vector(dst + done, looked_up(load_vector<uint8_t>(src + done) & indexing));
  }
  return done;
}
#endif

template <class T>
QVIM_INLINE void translate(const void *source, void *destination, int64_t srcstride, int64_t dststride,
                           uint64_t count, const void *table, uint32_t bits) {
  const T indexing = indexing_bits<T>(bits);
  const auto entries = static_cast<const char *>(table);
  auto src = static_cast<const char *>(source);
  auto dst = static_cast<char *>(destination);
  const auto entry = [=](T v) __attribute__((always_inline)) {
    return load<T>(entries + uint64_t(v & indexing) * sizeof(T));
  };
  uint64_t i = 0;
  if (srcstride == sizeof(T) && dststride == sizeof(T)) {
#if QVIM_LANES
    constexpr uint64_t many = 256;  // worth a copy of the table
    if constexpr (sizeof(T) == 1)
      if (count >= many) i = translate_bytes(src, dst, count, entries, indexing);
#endif
    // Words of values halve the instructions of narrow ones.
    static_assert(std::endian::native == std::endian::little);
    constexpr uint64_t per_word = 8 / sizeof(T), width = 8 * sizeof(T);
    for (; i + per_word <= count; i += per_word) {
      const auto values = load<uint64_t>(src + i * sizeof(T));
      uint64_t translated = 0;
      for (uint64_t j = 0; j < per_word; ++j)
        translated |= uint64_t(entry(T(values >> j * width))) << j * width;
      store(dst + i * sizeof(T), translated);
    }
  }
  for (; i < count; ++i) store(dst + int64_t(i) * dststride, entry(load<T>(src + int64_t(i) * srcstride)));
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_PIX_TABLE(name, T, bits_used)                                                                  \
  extern "C" void QVIM_KERNEL(name)(void *buffer, uint64_t count, [[maybe_unused]] uint32_t bits, uint32_t, \
                                    const void *table) {                                                    \
    qvim::translate<T>(buffer, buffer, sizeof(T), sizeof(T), count, table, bits_used);                      \
  }
#define QVIM_PIX_TABLE_STRIDED(name, T, bits_used)                                                 \
  extern "C" void QVIM_KERNEL(name)(void *buffer, int64_t stride, uint64_t count,                  \
                                    [[maybe_unused]] uint32_t bits, uint32_t, const void *table) { \
    qvim::translate<T>(buffer, buffer, stride, stride, count, table, bits_used);                   \
  }
#define QVIM_PIX_TABLE_TWO(name, T, from, to, bits_used)                                                   \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, [[maybe_unused]] int64_t srcstride,        \
                                    [[maybe_unused]] int64_t dststride, uint64_t count, const void *table, \
                                    [[maybe_unused]] uint32_t bits) {                                      \
    qvim::translate<T>(src, dst, from, to, count, table, bits_used);                                       \
  }
#include <qvimage/members/npfpix.inc>
