// Kernels that reverse the order of the pixels of a run.
#include <algorithm>
#include <cstring>

#include <qvimage/npfpix.h>

#include "kernels/run.hpp"
#include "kernels/shuffle.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

// Pixels of the size of a number, which whole vectors are reversed by. The last vector of a run may do pixels
// again that others have done.
template <class Pixel>
struct mirror_numbers {
  static constexpr uint64_t size = sizeof(Pixel);

#if QVIM_LANES
  struct reverse_order {
    alignas(vector_bytes) uint8_t from[vector_bytes];
    constexpr reverse_order() {
      constexpr int reach = int(lanes > 2 ? vector_bytes : lane_bytes), pixel = int(size);
      for (int i = 0; i < int(vector_bytes); ++i)
        from[i] = uint8_t(reach - pixel - i % reach / pixel * pixel + i % pixel);
    }
  };
  QVIM_INLINE static void reverse(const char *src, char *dst) {
    static constexpr reverse_order order;
    store_vector(
        dst, lanes_reversed(shuffled_anywhere(load_vector<uint8_t>(src), load_vector<uint8_t>(order.from))));
  }
  QVIM_INLINE static void reverse_vectors(const char *src, char *dst, int64_t bytes) {
    const char *const last = src;
    src += bytes - vector_bytes;
    // More in a round are faster in memory and in the nearest cache, but not from one cache to the next.
#pragma GCC unroll 1
    for (; src > last; src -= vector_bytes, dst += vector_bytes) reverse(src, dst);
    reverse(last, dst + (src - last));
  }
#endif

  QVIM_INLINE void operator()(const char *src, char *dst, uint64_t count) const {
#if QVIM_LANES
    if (count >= vector_bytes / size) return reverse_vectors(src, dst, int64_t(count * size));
#endif
    const char *end = src + count * size;
    QVIM_INDEPENDENT
    for (uint64_t i = 0; i < count; ++i) store(dst + i * size, load<Pixel>(end - (i + 1) * size));
  }
};

// Other pixels of up to 16 bytes: as many as fit are reversed by one shuffle. What a store writes too much,
// the next overwrites.
struct mirror_shuffled {
  uint64_t size, group, together;  // bytes of a pixel, pixels and bytes of a shuffle
  bytes16 order;

  QVIM_INLINE explicit mirror_shuffled(uint64_t pixel)
      : size(pixel), group(16 / pixel), together(group * pixel) {
    for (uint64_t i = 0; i < 16; ++i)
      order[i] = uint8_t(i < together ? 16 - (i / size + 1) * size + i % size : 0);
  }
  QVIM_INLINE void operator()(const char *src, char *dst, uint64_t count) const {
    const uint64_t bytes = count * size, shuffles = bytes < 16 ? 0 : (bytes - 16) / together + 1;
#pragma GCC unroll 4
    for (uint64_t i = 0; i < shuffles; ++i)
      store(dst + i * together, shuffled(load<bytes16>(src + (bytes - 16 - i * together)), order));
    for (uint64_t i = shuffles * group; i < count; ++i)
      for (uint64_t j = 0; j < size; ++j) dst[i * size + j] = src[(count - 1 - i) * size + j];
  }
};

// The same by shuffles of 64 bytes, where there are some.
constexpr uint64_t widest = 32;
template <int64_t... less>
constexpr byte_order reverse_orders[] = {{less + 1, -(less + 1), less + 1, same_byte}...};
struct mirror_wide {
  uint64_t size;

  QVIM_INLINE static const byte_order &order_for(uint64_t size) {
    const auto choose = [=]<int64_t... less>(std::integer_sequence<int64_t, less...>)->const byte_order & {
      return reverse_orders<less...>[size - 1];
    };
    return choose(std::make_integer_sequence<int64_t, widest>());
  }
  QVIM_INLINE void operator()(const char *src, char *dst, uint64_t count) const {
    if (count) shuffle_run(src + (count - 1) * size, dst, count, order_for(size));
  }
};

// In place, blocks from both ends change places by way of a copy.
QVIM_INLINE void mirror_in_place(char *buffer, uint64_t count, const auto &mirror) {
  constexpr uint64_t block_bytes = 1024;
  char copy[2 * block_bytes];
  const uint64_t block = block_bytes / mirror.size, bytes = block * mirror.size;
  char *first = buffer, *end = buffer + count * mirror.size;
  for (; count > 2 * block; count -= 2 * block) {
    end -= bytes;
    std::memcpy(copy, first, bytes);
    mirror(end, first, block);
    mirror(copy, end, block);
    first += bytes;
  }
  std::memcpy(copy, first, count * mirror.size);
  mirror(copy, first, count);
}

// Pixels of any size.
struct mirror_items {
  uint64_t size;
  QVIM_INLINE void operator()(const char *src, char *dst, uint64_t count) const {
    for (const char *from = src + count * size; count; --count, dst += size) {
      from -= size;
      std::memcpy(dst, from, size);
    }
  }
};

QVIM_INLINE void mirror_in_place(char *first, uint64_t count, const mirror_items &mirror) {
  for (char *last = first + (count - 1) * mirror.size; first < last;
       first += mirror.size, last -= mirror.size)
    std::swap_ranges(first, first + mirror.size, last);
}

// Calls body with what mirrors pixels of a size.
QVIM_INLINE void with_mirror(uint64_t size, const auto &body) {
  switch (size) {
    case 0: return;
    case 1: return body(mirror_numbers<uint8_t>());
    case 2: return body(mirror_numbers<uint16_t>());
    case 4: return body(mirror_numbers<uint32_t>());
    case 8: return body(mirror_numbers<uint64_t>());
    default: break;
  }
  if (size <= widest && QVIM_HAVE_WIDE) return body(mirror_wide{size});
  return size <= 16 ? body(mirror_shuffled(size)) : body(mirror_items{size});
}

QVIM_INLINE void mirror_run(void *buffer, uint64_t count, uint64_t size) {
  if (count == 0) return;
  with_mirror(
      size, [=](const auto &mirror) __attribute__((always_inline)) {
        mirror_in_place(static_cast<char *>(buffer), count, mirror);
      });
}

QVIM_INLINE void mirror_two_runs(const void *src, void *dst, uint64_t count, uint64_t size) {
  if (src == dst) return mirror_run(dst, count, size);
  with_mirror(
      size, [=](const auto &mirror) __attribute__((always_inline)) {
        mirror(static_cast<const char *>(src), static_cast<char *>(dst), count);
      });
}

QVIM_INLINE void mirror_strided(void *buffer, int64_t stride, uint64_t count) {
  if (stride == 1) return mirror_run(buffer, count, 1);
  auto first = static_cast<char *>(buffer);
  for (uint64_t i = 0; i < count / 2; ++i)
    std::swap(first[int64_t(i) * stride], first[int64_t(count - 1 - i) * stride]);
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_PIX_MIRROR(name, size) \
  extern "C" void QVIM_KERNEL(name)(void *buffer, uint64_t count) { qvim::mirror_run(buffer, count, size); }
#define QVIM_PIX_MIRROR_SIZED(name)                                             \
  extern "C" void QVIM_KERNEL(name)(void *buffer, uint64_t count, uint32_t k) { \
    qvim::mirror_run(buffer, count, k);                                         \
  }
#define QVIM_PIX_MIRROR_STRIDED(name)                                               \
  extern "C" void QVIM_KERNEL(name)(void *buffer, int64_t stride, uint64_t count) { \
    qvim::mirror_strided(buffer, stride, count);                                    \
  }
#define QVIM_PIX_MIRROR_TWO(name, size)                                           \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t count) { \
    qvim::mirror_two_runs(src, dst, count, size);                                 \
  }
#define QVIM_PIX_MIRROR_TWO_SIZED(name)                                                       \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t count, uint32_t k) { \
    qvim::mirror_two_runs(src, dst, count, k);                                                \
  }
#include <qvimage/members/npfpix.inc>
