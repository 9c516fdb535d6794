// Kernels that reverse the order of the pixels of a run.
#include <algorithm>
#include <cstring>

#include <qvimage/npfpix.h>

#include "convert/run.hpp"

namespace qvim {
namespace {

// Adjacent pixels of `size` bytes into a run that is somewhere else.
template <uint64_t size>
struct pixel {
  char bytes[size];
};
template <>
struct pixel<1> {
  uint8_t value;
};
template <>
struct pixel<2> {
  uint16_t value;
};
template <>
struct pixel<4> {
  uint32_t value;
};

template <uint64_t size>
QVIM_INLINE void mirror(const char *src, char *dst, uint64_t count) {
  const char *end = src + count * size;
  QVIM_INDEPENDENT
  for (uint64_t i = 0; i < count; ++i) store(dst + i * size, load<pixel<size>>(end - (i + 1) * size));
}

// In place, blocks from both ends change places by way of a copy.
template <uint64_t size>
QVIM_INLINE void mirror_in_place(char *buffer, uint64_t count) {
  constexpr uint64_t block = 1024 / size;
  char copy[2 * block * size];
  char *first = buffer, *end = buffer + count * size;
  for (; count > 2 * block; count -= 2 * block) {
    end -= block * size;
    std::memcpy(copy, first, block * size);
    mirror<size>(end, first, block);
    mirror<size>(copy, end, block);
    first += block * size;
  }
  std::memcpy(copy, first, count * size);
  mirror<size>(copy, first, count);
}

template <uint64_t size>
QVIM_INLINE void mirror_any(const void *src, void *dst, uint64_t count) {
  if (src == dst)
    mirror_in_place<size>(static_cast<char *>(dst), count);
  else
    mirror<size>(static_cast<const char *>(src), static_cast<char *>(dst), count);
}

// Sizes known only here.
QVIM_INLINE void mirror_sized(const void *source, void *destination, uint64_t count, uint64_t size) {
  if (size == 0 || count == 0) return;
  auto src = static_cast<const char *>(source) + (count - 1) * size;
  auto dst = static_cast<char *>(destination);
  if (source == destination)
    for (char *last = dst + (count - 1) * size; dst < last; dst += size, last -= size)
      std::swap_ranges(dst, dst + size, last);
  else
    for (uint64_t i = 0; i < count; ++i) std::memcpy(dst + i * size, src - i * size, size);
}

QVIM_INLINE void mirror_any_size(const void *src, void *dst, uint64_t count, uint32_t size) {
  switch (size) {
    case 1: return mirror_any<1>(src, dst, count);
    case 2: return mirror_any<2>(src, dst, count);
    case 3: return mirror_any<3>(src, dst, count);
    case 4: return mirror_any<4>(src, dst, count);
    case 6: return mirror_any<6>(src, dst, count);
    case 8: return mirror_any<8>(src, dst, count);
    default: return mirror_sized(src, dst, count, size);
  }
}

QVIM_INLINE void mirror_strided(char *buffer, int64_t stride, uint64_t count) {
  if (stride == 1) return mirror_in_place<1>(buffer, count);
  for (uint64_t i = 0; i < count / 2; ++i)
    std::swap(buffer[int64_t(i) * stride], buffer[int64_t(count - 1 - i) * stride]);
}

}  // namespace
}  // namespace qvim

#define QVIM_PIX_MIRROR(name, size)                                             \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(void *buffer, uint64_t count) { \
    qvim::mirror_in_place<size>(static_cast<char *>(buffer), count);            \
  }
#define QVIM_PIX_MIRROR_SIZED(name)                                                         \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(void *buffer, uint64_t count, uint32_t k) { \
    qvim::mirror_any_size(buffer, buffer, count, k);                                        \
  }
#define QVIM_PIX_MIRROR_STRIDED(name)                                                           \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(void *buffer, int64_t stride, uint64_t count) { \
    qvim::mirror_strided(static_cast<char *>(buffer), stride, count);                           \
  }
#define QVIM_PIX_MIRROR_TWO(name, size)                                                       \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t count) { \
    qvim::mirror_any<size>(src, dst, count);                                                  \
  }
#define QVIM_PIX_MIRROR_TWO_SIZED(name)                                                                   \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t count, uint32_t k) { \
    qvim::mirror_any_size(src, dst, count, k);                                                            \
  }
#include <qvimage/members/npfpix.inc>
