// Blocks of bytes, the choice of a copy kernel, and kernels that do nothing.
#include <algorithm>
#include <cstring>

#include <qvimage/npfbix.h>
#include <qvimage/npfpix.h>

#include "kernels/run.hpp"

extern "C" npfbix_fn *npfbix_ztoz_n_func(uint32_t itemsize) {
  switch (itemsize) {
    case 1: return npfbix_z1toz1_n;
    case 2: return npfbix_z2toz2_n;
    case 3: return npfbix_z3toz3_n;
    case 4: return npfbix_z4toz4_n;
    case 5: return npfbix_z5toz5_n;
    case 6: return npfbix_z6toz6_n;
    case 7: return npfbix_z7toz7_n;
    case 8: return npfbix_z8toz8_n;
    case 10: return npfbix_z10toz10_n;
    case 12: return npfbix_z12toz12_n;
    default: return nullptr;
  }
}

#define QVIM_NOTHING(name, form) \
  extern "C" void name QVIM_NOTHING_ARGUMENTS_##form {}
#define QVIM_NOTHING_ARGUMENTS_npfbix_fn \
  (const void *, void *, int64_t, int64_t, uint64_t, uint32_t, uint32_t)
#define QVIM_NOTHING_ARGUMENTS_npfbixn_fn (void *, int64_t, uint64_t, uint32_t)
#include <qvimage/members/npfbix.inc>
#define QVIM_PIX_NOTHING(name, form) \
  extern "C" void name(const void *, uint32_t *, uint64_t) {}
#include <qvimage/members/npfpix.inc>

extern "C" void npfbyte_pack(void *dst, const void *src, uint64_t itemsize, uint64_t count, int64_t dststride,
                             int64_t srcstride) {
  if (itemsize > 12) {
    auto to = static_cast<char *>(dst);
    auto from = static_cast<const char *>(src);
    for (int64_t i = 0; i < int64_t(count); ++i)
      std::memmove(to + i * dststride, from + i * srcstride, itemsize);
  } else {
    npfbix_zntozn_n(src, dst, srcstride, dststride, count, uint32_t(itemsize), 0);
  }
}

extern "C" void npfbyte_repl(void *dst, const void *pattern, uint64_t patternsize, uint64_t count) {
  const uint64_t size = patternsize * count;
  if (size == 0) return;
  auto to = static_cast<char *>(dst);
  if (patternsize == 1) return void(std::memset(to, *static_cast<const char *>(pattern), size));
  std::memmove(to, pattern, patternsize);
  // What is there is copied behind itself; pieces stay small enough to be read from the cache.
  constexpr uint64_t largest = 16384;
  for (uint64_t done = patternsize; done < size;) {
    const uint64_t whole = std::max(patternsize, largest / patternsize * patternsize);
    const uint64_t part = std::min({done, whole, size - done});
    std::memcpy(to + done, to, part);
    done += part;
  }
}

extern "C" void npfbyte_transpose(void *buffer, uint64_t rowsize, uint64_t rows, void *scratch) {
  if (rows < 2 || rowsize == 0) return;
  auto first = static_cast<char *>(buffer), last = first + (rows - 1) * rowsize;
  for (; first < last; first += rowsize, last -= rowsize) {
    std::memcpy(scratch, first, rowsize);
    std::memcpy(first, last, rowsize);
    std::memcpy(last, scratch, rowsize);
  }
}

extern "C" void npfbyte_exchange(void *a, void *b, uint64_t length, uint64_t count, int64_t stridea,
                                 int64_t strideb) {
  auto at_a = static_cast<char *>(a), at_b = static_cast<char *>(b);
  for (int64_t i = 0; i < int64_t(count); ++i)
    std::swap_ranges(at_a + i * stridea, at_a + i * stridea + length, at_b + i * strideb);
}

extern "C" uint64_t npfbit8_count(const void *buffer, uint64_t bytes) {
  // Sums in the bytes of a word hold 31 words of at most 8 bits a byte.
  constexpr uint64_t ones = 0x0101010101010101u, words_at_a_time = 31;
  auto from = static_cast<const char *>(buffer);
  uint64_t total = 0, words = bytes / 8;
  for (uint64_t part; words; words -= part, from += 8 * part) {
    part = std::min(words, words_at_a_time);
    uint64_t sums = 0;
    for (uint64_t i = 0; i < part; ++i) {
      uint64_t v = qvim::load<uint64_t>(from + 8 * i);
      v -= v >> 1 & 0x55 * ones;
      v = (v & 0x33 * ones) + (v >> 2 & 0x33 * ones);
      sums += (v + (v >> 4)) & 0x0F * ones;
    }
    constexpr uint64_t pairs = 0x00FF00FF00FF00FFu;
    total += ((sums & pairs) + (sums >> 8 & pairs)) * 0x0001000100010001u >> 48;
  }
  for (uint64_t i = 0; i < bytes % 8; ++i) total += __builtin_popcount(uint8_t(from[i]));
  return total;
}
