// Indices replaced by palette entries.
#include "kernels/byte_lookup.hpp"
#include "kernels/colour/pixels.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

// Of an entry only the three components are read: the palette may end there.
template <class T, int components>
QVIM_INLINE void look_up_each(const char *src, char *dst, uint64_t srcstride, uint64_t dststride,
                              uint64_t count, const char *palette) {
  for (; count; --count, src += srcstride, dst += dststride) {
    // Four times a 32-bit index is formed in 32 bits.
    const T index = load<T>(src);
    const uint64_t at = components == 4 ? uint64_t(uint32_t(index) * 4u) : uint64_t(index) * 3;
    std::memcpy(dst, palette + at * sizeof(T), 3 * sizeof(T));
  }
}

// The entries of a palette of bytes, by component, up to the largest that is known to occur; the rest is not
// there.
struct byte_palette {
  alignas(64) uint8_t component[3][byte_values];
  uint32_t known = 0;

  template <int components>
  QVIM_INLINE void extend(const char *src, uint64_t count, const char *palette) {
    const uint8_t largest = largest_byte(src, count);
    for (; known <= largest; ++known)
      for (uint32_t c = 0; c < 3; ++c) component[c][known] = uint8_t(palette[known * components + c]);
  }
};

#if QVIM_HAVE_WIDE
// Where byte i of a vector of pixels lies in the first two planes or in the third, and in which.
struct joining {
  alignas(64) uint8_t first_two[64], third[64];
  uint64_t is_third = 0;

  explicit joining(int k) {
    for (int i = 0; i < 64; ++i) {
      const int c = (64 * k + i) % 3, p = (64 * k + i) / 3;
      first_two[i] = uint8_t(c < 2 ? 64 * c + p : 0);
      third[i] = uint8_t(p);
      is_third |= uint64_t(c == 2) << i;
    }
  }
};

// Processors that shuffle the bytes of two vectors of 64 by any others look up 64 pixels at a time. The
// planes are joined by two more shuffles for each vector of pixels.
[[gnu::noinline]] void look_up_64(const byte_palette &palette, const char *src, char *dst, uint64_t count) {
  const byte_lookup component[3] = {byte_lookup(palette.component[0]), byte_lookup(palette.component[1]),
                                    byte_lookup(palette.component[2])};
  const joining joinings[3] = {joining(0), joining(1), joining(2)};
  for (uint64_t i = 0; i < count; i += 64) {
    const auto index = load_vector<uint8_t>(src + i);
    __m512i plane[3];
    for (int c = 0; c < 3; ++c) plane[c] = (__m512i)component[c](index);
    for (int k = 0; k < 3; ++k) {
      const joining &from = joinings[k];
      const __m512i first_two =
          _mm512_permutex2var_epi8(plane[0], _mm512_load_si512(from.first_two), plane[1]);
      const __m512i pixels =
          _mm512_mask_permutexvar_epi8(first_two, from.is_third, _mm512_load_si512(from.third), plane[2]);
      _mm512_storeu_si512(dst + 3 * i + 64 * k, pixels);
    }
  }
}
#endif

// Adjacent bytes in and out. Entries are joined to words, so that they take one load each, and pixels are
// stored two at a time, with two bytes too many that the next ones overwrite. Returns how many pixels are
// done.
template <int components>
QVIM_INLINE uint64_t look_up_bytes(const char *src, char *dst, uint64_t count, const char *table) {
  constexpr uint64_t section = 4096, together = 64;
  byte_palette palette;
  [[maybe_unused]] uint32_t entries[256], joined = 0;
  uint64_t done = 0;
  while (count - done > together) {
    const uint64_t left = count - done - 1, part = (left < section ? left : section) / together * together;
    palette.extend<components>(src + done, part, table);
#if QVIM_HAVE_WIDE
    look_up_64(palette, src + done, dst + 3 * done, part);
    done += part;
#else
    for (; joined < palette.known; ++joined)
      entries[joined] = palette.component[0][joined] | uint32_t(palette.component[1][joined]) << 8 |
                        uint32_t(palette.component[2][joined]) << 16;
    for (const uint64_t end = done + part; done < end; done += 2) {
      const uint64_t first = entries[uint8_t(src[done])], second = entries[uint8_t(src[done + 1])];
      store(dst + 3 * done, first | second << 24);
    }
#endif
  }
  return done;
}

template <class T, int components>
QVIM_INLINE void look_up(const void *source, void *destination, uint64_t srcstride, uint64_t dststride,
                         uint64_t count, const void *palette) {
  constexpr uint64_t many = 256;  // worth a table
  auto src = static_cast<const char *>(source);
  auto dst = static_cast<char *>(destination);
  auto table = static_cast<const char *>(palette);
  if constexpr (sizeof(T) == 1)
    if (count >= many && srcstride == 1 && dststride == 3) {
      const uint64_t done = look_up_bytes<components>(src, dst, count, table);
      src += done, dst += 3 * done, count -= done;
    }
  look_up_each<T, components>(src, dst, srcstride, dststride, count, table);
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_CLX_PALETTE(name, T, components)                                                           \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, \
                                    uint64_t count, uint32_t, const void *param) {                      \
    qvim::look_up<T, components>(src, dst, srcstride, dststride, count, param);                         \
  }
#include <qvimage/members/npfclx.inc>
