// Bit packing: a run of pixies to a dense stream of their values, and back.
//
// The values in a 64-bit word of pixies are first joined to one field in its low bits, which the compiler
// does for many words at a time. The fields then follow each other in the stream: each is stored as a whole
// word at the byte where it begins, and the next store overwrites what was too much. A stream that begins
// with the most significant bits is the same with the order of the values in a field and of the bytes of a
// word reversed.
#include <algorithm>
#include <bit>

#include "convert/run.hpp"

namespace qvim {
namespace {

static_assert(std::endian::native == std::endian::little);

__extension__ using uint128 = unsigned __int128;

enum : uint32_t { high_bits_first = 1, low_justified = 2 };  // bits of the mode argument

constexpr uint64_t group = 8;    // values: `bits` whole bytes of the stream
constexpr uint64_t block = 256;  // values taken at a time
constexpr uint64_t spare = 16;   // bytes behind a block's stream that may be touched

constexpr uint64_t low_bits(uint32_t bits) { return bits < 64 ? (uint64_t(1) << bits) - 1 : ~uint64_t(0); }

// The same `lane` bits in each lane of a word.
template <uint32_t lane>
QVIM_INLINE uint64_t in_lanes(uint64_t value) {
  return value * (~uint64_t(0) / low_bits(lane));
}

// Joins neighbouring fields of `bits` bits, which lie in lanes of `lane` bits, until there is one.
template <uint32_t lane, bool high_first>
QVIM_INLINE uint64_t join(uint64_t word, uint32_t bits) {
  if constexpr (lane == 64) {
    return word;
  } else {
    const uint64_t lanes = in_lanes<2 * lane>(low_bits(lane));
    const uint64_t first = word & lanes, second = word >> lane & lanes;
    return join<2 * lane, high_first>(high_first ? first << bits | second : second << bits | first, 2 * bits);
  }
}

// The reverse; bits above the one field are ignored.
template <uint32_t lane, bool high_first>
QVIM_INLINE uint64_t split(uint64_t field, uint32_t bits) {
  if constexpr (lane == 64) {
    return field;
  } else {
    const uint64_t word = split<2 * lane, high_first>(field, 2 * bits);
    const uint64_t lanes = in_lanes<2 * lane>(low_bits(bits));
    const uint64_t low = word & lanes, high = word >> bits & lanes;
    return high_first ? high | low << lane : low | high << lane;
  }
}

QVIM_INLINE uint64_t bytes_reversed(uint64_t v) { return __builtin_bswap64(v); }
QVIM_INLINE uint128 bytes_reversed(uint128 v) {
  return uint128(__builtin_bswap64(uint64_t(v))) << 64 | __builtin_bswap64(uint64_t(v >> 64));
}

// Two fields of 64-bit words as one chunk and back.
template <bool high_first>
QVIM_INLINE uint128 paired(const uint64_t *fields, uint32_t length) {
  return high_first ? uint128(fields[0]) << length | fields[1] : uint128(fields[1]) << length | fields[0];
}
template <bool high_first>
QVIM_INLINE void unpair(uint128 chunk, uint64_t *fields, uint32_t length) {
  fields[high_first] = uint64_t(chunk);
  fields[!high_first] = uint64_t(chunk >> length);
}

// Chunks of `length` bits, a multiple of 4: they begin at whole bytes, or every other one at half a byte.
template <class T, bool high_first>
QVIM_INLINE void put_chunks(uint64_t count, uint32_t length, char *to, const auto &chunk) {
  constexpr uint32_t width = 8 * sizeof(T);
  const auto put = [](char *at, T v) __attribute__((always_inline)) {
    store(at, high_first ? bytes_reversed(v) : v);
  };
  const uint32_t unused = width - length;
  if (length % 8 == 0) {
    for (uint64_t i = 0; i < count; ++i)
      put(to + i * (length / 8), high_first ? chunk(i) << unused : chunk(i));
    return;
  }
  for (uint64_t i = 0; i < count; i += 2, to += length / 4) {
    const T first = chunk(i), second = chunk(i + 1);
    put(to, high_first ? first << unused : first);
    put(to + length / 8,
        high_first ? first << (width - 4) | second << (unused - 4) : second << 4 | first >> (length - 4));
  }
}

// Bits above `length` may remain in a chunk of a stream that begins with the least significant bits.
template <class T, bool high_first>
QVIM_INLINE void get_chunks(uint64_t count, uint32_t length, const char *from, const auto &take) {
  const uint32_t unused = 8 * sizeof(T) - length;
  for (uint64_t i = 0; i < count; ++i) {
    const uint64_t at = i * length;
    const T word = load<T>(from + at / 8);
    take(i, high_first ? (bytes_reversed(word) << at % 8) >> unused : word >> at % 8);
  }
}

// One field a word, or for odd lengths of two values two words a chunk: lengths that are multiples of 4 bits.
template <bool high_first>
QVIM_INLINE void put_fields(const uint64_t *fields, uint64_t count, uint32_t length, char *to) {
  if (length % 4 == 0)
    put_chunks<uint64_t, high_first>(
        count, length, to, [=](uint64_t i) __attribute__((always_inline)) { return fields[i]; });
  else
    put_chunks<uint128, high_first>(
        count / 2, 2 * length, to, [=](uint64_t i) __attribute__((always_inline)) {
          return paired<high_first>(fields + 2 * i, length);
        });
}

template <bool high_first>
QVIM_INLINE void get_fields(uint64_t *fields, uint64_t count, uint32_t length, const char *from) {
  if (length % 4 == 0)
    get_chunks<uint64_t, high_first>(
        count, length,
        from, [=](uint64_t i, uint64_t chunk) __attribute__((always_inline)) { fields[i] = chunk; });
  else
    get_chunks<uint128, high_first>(
        count / 2, 2 * length, from, [=](uint64_t i, uint128 chunk) __attribute__((always_inline)) {
          unpair<high_first>(chunk, fields + 2 * i, length);
        });
}

template <class Pixie, bool high_first>
QVIM_INLINE void stuff(const char *pixies, char *stream, uint64_t count, uint32_t bits, uint32_t shift) {
  constexpr uint32_t lane = 8 * sizeof(Pixie), per_word = 64 / lane;
  const uint64_t value_bits = in_lanes<lane>(low_bits(bits));
  uint64_t fields[block / per_word];
  char padded[block * sizeof(Pixie)], packed[block * sizeof(Pixie) + spare];
  for (uint64_t bytes = (count * bits + 7) / 8; count;) {
    const uint64_t part = std::min(count, block), words = (part + group - 1) / group * (group / per_word);
    const uint64_t part_bytes = (part * bits + 7) / 8;
    const bool inside = bytes >= part_bytes + spare;
    const char *from = pixies;
    if (part % group) {
      std::memset(padded, 0, sizeof padded);
      from = static_cast<char *>(std::memcpy(padded, pixies, part * sizeof(Pixie)));
    }
    for (uint64_t i = 0; i < words; ++i)
      fields[i] = join<lane, high_first>(load<uint64_t>(from + 8 * i) >> shift & value_bits, bits);
    put_fields<high_first>(fields, words, per_word * bits, inside ? stream : packed);
    if (!inside) std::memcpy(stream, packed, part_bytes);
    pixies += part * sizeof(Pixie);
    stream += part_bytes;
    bytes -= part_bytes;
    count -= part;
  }
}

template <class Pixie, bool high_first>
QVIM_INLINE void unstuff(char *pixies, const char *stream, uint64_t count, uint32_t bits, uint32_t shift) {
  constexpr uint32_t lane = 8 * sizeof(Pixie), per_word = 64 / lane;
  uint64_t fields[block / per_word];
  char packed[block * sizeof(Pixie) + spare] = {};
  for (uint64_t bytes = (count * bits + 7) / 8; count;) {
    const uint64_t part = std::min(count, block), words = (part + group - 1) / group * (group / per_word);
    const uint64_t part_bytes = (part * bits + 7) / 8;
    const bool inside = bytes >= part_bytes + spare;
    const char *from = inside ? stream : static_cast<char *>(std::memcpy(packed, stream, part_bytes));
    get_fields<high_first>(fields, words, per_word * bits, from);
    if (part % group) {
      uint64_t last[block / per_word];
      for (uint64_t i = 0; i < words; ++i) last[i] = split<lane, high_first>(fields[i], bits) << shift;
      std::memcpy(pixies, last, part * sizeof(Pixie));
    } else {
      for (uint64_t i = 0; i < words; ++i)
        store(pixies + 8 * i, split<lane, high_first>(fields[i], bits) << shift);
    }
    pixies += part * sizeof(Pixie);
    stream += part_bytes;
    bytes -= part_bytes;
    count -= part;
  }
}

template <class Pixie>
QVIM_INLINE void stuff_any(const char *pixies, char *stream, uint64_t count, uint32_t bits, uint32_t mode) {
  constexpr uint32_t width = 8 * sizeof(Pixie);
  if (bits == 0 || bits > width) return;
  if (bits == width) return void(std::memmove(stream, pixies, count * sizeof(Pixie)));
  const uint32_t shift = mode & low_justified ? 0 : width - bits;
  if (mode & high_bits_first)
    stuff<Pixie, true>(pixies, stream, count, bits, shift);
  else
    stuff<Pixie, false>(pixies, stream, count, bits, shift);
}

template <class Pixie>
QVIM_INLINE void unstuff_any(char *pixies, const char *stream, uint64_t count, uint32_t bits, uint32_t mode) {
  constexpr uint32_t width = 8 * sizeof(Pixie);
  if (bits == 0 || bits > width) return;
  if (bits == width) return void(std::memmove(pixies, stream, count * sizeof(Pixie)));
  const uint32_t shift = mode & low_justified ? 0 : width - bits;
  if (mode & high_bits_first)
    unstuff<Pixie, true>(pixies, stream, count, bits, shift);
  else
    unstuff<Pixie, false>(pixies, stream, count, bits, shift);
}

}  // namespace
}  // namespace qvim

#define QVIM_STUFF(name, Pixie)                                                                         \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(const void *pixies, void *stream, uint64_t count,       \
                                                uint32_t bits, uint32_t mode) {                         \
    qvim::stuff_any<Pixie>(static_cast<const char *>(pixies), static_cast<char *>(stream), count, bits, \
                           mode);                                                                       \
  }
#define QVIM_UNSTUFF(name, Pixie)                                                                         \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(void *pixies, const void *stream, uint64_t count,         \
                                                uint32_t bits, uint32_t mode) {                           \
    qvim::unstuff_any<Pixie>(static_cast<char *>(pixies), static_cast<const char *>(stream), count, bits, \
                             mode);                                                                       \
  }
#include <qvimage/members/npfbix.inc>
