// Kernels that copy items unchanged. The others gather and scatter strided runs with them, so the strides
// that single components of interleaved pixels have get loops of their own, which the compiler vectorises.
#include <bit>
#include <type_traits>

#include "kernels/run.hpp"
#include "kernels/shuffle.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

template <uint64_t size>
using unsigned_of = std::conditional_t<
    size == 1, uint8_t,
    std::conditional_t<size == 2, uint16_t, std::conditional_t<size == 4, uint32_t, uint64_t>>>;

// One item, by at most two loads and stores.
template <uint64_t size>
QVIM_INLINE void copy_item(const char *src, char *dst) {
  using head = unsigned_of<std::bit_floor(size)>;
  const auto first = load<head>(src);
  if constexpr (sizeof(head) == size) {
    store(dst, first);
  } else {
    using tail = unsigned_of<std::bit_ceil(size - sizeof(head))>;
    const auto last = load<tail>(src + size - sizeof(tail));
    store(dst, first);
    store(dst + size - sizeof(tail), last);
  }
}

template <uint64_t size>
QVIM_INLINE void copy_strided(const char *src, char *dst, int64_t srcstride, int64_t dststride,
                              uint64_t count) {
  for (int64_t i = 0; i < int64_t(count); ++i) copy_item<size>(src + i * srcstride, dst + i * dststride);
}

// Of pixels of `from` elements, the first `used` become pixels of `to` elements; what is between stays as it
// is.
template <class Element, int from, int to, int used = 1>
QVIM_INLINE void copy_elements(const char *src, char *dst, uint64_t count) {
  constexpr int64_t size = sizeof(Element);
  static constexpr byte_order order(used * size, from * size, to * size, same_byte);
  constexpr bool compiles_well = (to == 1 && size > 1) || (to == 3 && size == 4 && !QVIM_HAVE_WIDE);
  constexpr gaps between = used == 3 && to == 4 ? gaps::pads : gaps::others;
  if (!compiles_well && shuffle_run(src, dst, count, order, between)) return;
  QVIM_INDEPENDENT
  for (int64_t i = 0; i < int64_t(count); ++i)
    for (int64_t c = 0; c < used; ++c)
      store(dst + (i * to + c) * size, load<Element>(src + (i * from + c) * size));
}

// Strides that occur with interleaved components; says whether this was one.
template <uint64_t size>
QVIM_INLINE bool copy_components(const char *src, char *dst, int64_t srcstride, int64_t dststride,
                                 uint64_t count) {
  constexpr int64_t n = size;
  if constexpr (std::has_single_bit(size)) {
    using element = unsigned_of<size>;
    if (dststride == n) {
      if (srcstride == 2 * n) return copy_elements<element, 2, 1>(src, dst, count), true;
      if (srcstride == 3 * n) return copy_elements<element, 3, 1>(src, dst, count), true;
      if (srcstride == 4 * n) return copy_elements<element, 4, 1>(src, dst, count), true;
      if (srcstride == -n) return copy_elements<element, -1, 1>(src, dst, count), true;
    } else if (srcstride == n) {
      if (dststride == 2 * n) return copy_elements<element, 1, 2>(src, dst, count), true;
      if (dststride == 3 * n) return copy_elements<element, 1, 3>(src, dst, count), true;
      if (dststride == 4 * n) return copy_elements<element, 1, 4>(src, dst, count), true;
    }
  } else if constexpr (size % 3 == 0) {
    using element = unsigned_of<size / 3>;
    constexpr int64_t padded = n / 3 * 4;
    if (srcstride == padded && dststride == n) return copy_elements<element, 4, 3, 3>(src, dst, count), true;
    if (srcstride == n && dststride == padded) return copy_elements<element, 3, 4, 3>(src, dst, count), true;
  }
  return shuffle_strided(src, dst, srcstride, dststride, count, size, same_byte);
}

template <uint64_t size>
QVIM_INLINE void copy(const void *source, void *destination, int64_t srcstride, int64_t dststride,
                      uint64_t count) {
  auto src = static_cast<const char *>(source);
  auto dst = static_cast<char *>(destination);
  if (count == 0) return;  // there may be no memory at all
  if (srcstride == int64_t(size) && dststride == int64_t(size))
    std::memmove(dst, src, size * count);  // the same run is allowed
  else if (count < 32 || !copy_components<size>(src, dst, srcstride, dststride, count))
    copy_strided<size>(src, dst, srcstride, dststride, count);
}

// A size known only here: the sizes that have a kernel are copied by it.
QVIM_INLINE void copy_sized(const void *source, void *destination, int64_t srcstride, int64_t dststride,
                            uint64_t count, uint64_t size) {
  auto src = static_cast<const char *>(source);
  auto dst = static_cast<char *>(destination);
  if (count == 0) return;
  if (srcstride == int64_t(size) && dststride == int64_t(size)) {
    std::memmove(dst, src, size * count);
    return;
  }
  switch (size) {
    case 1: return copy<1>(src, dst, srcstride, dststride, count);
    case 2: return copy<2>(src, dst, srcstride, dststride, count);
    case 3: return copy<3>(src, dst, srcstride, dststride, count);
    case 4: return copy<4>(src, dst, srcstride, dststride, count);
    case 6: return copy<6>(src, dst, srcstride, dststride, count);
    case 8: return copy<8>(src, dst, srcstride, dststride, count);
    case 12: return copy<12>(src, dst, srcstride, dststride, count);
    default:
      if (shuffle_strided(src, dst, srcstride, dststride, count, int64_t(size), same_byte)) return;
      for (int64_t i = 0; i < int64_t(count); ++i)
        std::memmove(dst + i * dststride, src + i * srcstride, size);
  }
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_COPY(name, bytes, from, to)                                                            \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, [[maybe_unused]] int64_t srcstride, \
                                    [[maybe_unused]] int64_t dststride, uint64_t count, uint32_t,   \
                                    uint32_t) {                                                     \
    qvim::copy<bytes>(src, dst, from, to, count);                                                   \
  }
#define QVIM_COPY_SIZED(name, from, to)                                                                \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, [[maybe_unused]] int64_t srcstride,    \
                                    [[maybe_unused]] int64_t dststride, uint64_t count, uint32_t size, \
                                    uint32_t) {                                                        \
    qvim::copy_sized(src, dst, from, to, count, size);                                                 \
  }
#include <qvimage/members/npfbix.inc>
