// Kernels that translate pixies through a table. No vector instructions: the loads from the table are what
// takes the time.
#include <bit>

#include <qvimage/npfpix.h>

#include "kernels/operations.hpp"
#include "kernels/run.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

template <class T>
QVIM_INLINE T indexing_bits(uint32_t bits) {
  return bits == 0 || bits >= 8 * sizeof(T) ? all_bits<T> : T((1u << bits) - 1);
}

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
