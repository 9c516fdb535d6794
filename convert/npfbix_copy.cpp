// Kernels that copy items unchanged. The others gather and scatter strided runs with them, so the strides
// that single components of interleaved pixels have get loops of their own, which the compiler can vectorise.
#include "convert/run.hpp"

namespace qvim {
namespace {

template <uint64_t size>
struct item {
  char bytes[size];
};

template <uint64_t size, int64_t srcstride, int64_t dststride>
QVIM_INLINE void copy_fixed(const char *src, char *dst, uint64_t count) {
  QVIM_INDEPENDENT
  for (int64_t i = 0; i < int64_t(count); ++i) std::memcpy(dst + i * dststride, src + i * srcstride, size);
}

template <uint64_t size>
QVIM_INLINE void copy(const void *source, void *destination, int64_t srcstride, int64_t dststride,
                      uint64_t count) {
  constexpr int64_t n = size;
  auto src = static_cast<const char *>(source);
  auto dst = static_cast<char *>(destination);
  if (srcstride == n && dststride == n) {
    std::memmove(dst, src, size * count);  // the same run is allowed
    return;
  }
  if (dststride == n && srcstride == 2 * n) return copy_fixed<size, 2 * n, n>(src, dst, count);
  if (dststride == n && srcstride == 3 * n) return copy_fixed<size, 3 * n, n>(src, dst, count);
  if (dststride == n && srcstride == 4 * n) return copy_fixed<size, 4 * n, n>(src, dst, count);
  for (int64_t i = 0; i < int64_t(count); ++i)
    store(dst + i * dststride, load<item<size>>(src + i * srcstride));
}

// A size known only here: the sizes that have a kernel are copied by it.
QVIM_INLINE void copy_sized(const void *source, void *destination, int64_t srcstride, int64_t dststride,
                            uint64_t count, uint64_t size) {
  auto src = static_cast<const char *>(source);
  auto dst = static_cast<char *>(destination);
  if (srcstride == int64_t(size) && dststride == int64_t(size)) {
    std::memmove(dst, src, size * count);
    return;
  }
  for (int64_t i = 0; i < int64_t(count); ++i) std::memmove(dst + i * dststride, src + i * srcstride, size);
}

}  // namespace
}  // namespace qvim

#define QVIM_COPY(name, bytes, from, to)                                                                  \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(                                                          \
      const void *src, void *dst, [[maybe_unused]] int64_t srcstride, [[maybe_unused]] int64_t dststride, \
      uint64_t count, uint32_t, uint32_t) {                                                               \
    qvim::copy<bytes>(src, dst, from, to, count);                                                         \
  }
#define QVIM_COPY_SIZED(name, from, to)                                                                \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, [[maybe_unused]] int64_t srcstride,    \
                                    [[maybe_unused]] int64_t dststride, uint64_t count, uint32_t size, \
                                    uint32_t) {                                                        \
    qvim::copy_sized(src, dst, from, to, count, size);                                                 \
  }
#include <qvimage/members/npfbix.inc>
