// Bit packing: a run of pixies to a dense stream of their values, and back.
//
// The values in a 64-bit word of pixies are joined to one field in its low bits, and fields with each other
// until they have more than 32 bits, all of which the compiler does for many words at a time. Then each field
// is shifted to where it begins in a byte, and a byte shuffle moves two fields together; what is stored too
// much, the next store overwrites. A stream that begins with the most significant bits is the same with the
// order of the values in a field and of the bytes of a word reversed.
#include <algorithm>
#include <bit>

#include "kernels/run.hpp"
#include "kernels/shuffle.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

static_assert(std::endian::native == std::endian::little);

enum : uint32_t { high_bits_first = 1, low_justified = 2 };  // bits of the mode argument

constexpr uint64_t group = 64;    // values: whole words of pixies, whole bytes of the stream
constexpr uint64_t block = 1024;  // values taken at a time
constexpr uint64_t spare = 48;    // bytes behind a block's stream that may be touched

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

// Pairs of neighbouring fields to fields of twice the length, and back.
template <bool high_first>
QVIM_INLINE void join_fields(uint64_t *fields, uint64_t pairs, uint32_t length) {
  QVIM_INDEPENDENT
  for (uint64_t i = 0; i < pairs; ++i) {
    const uint64_t first = fields[2 * i], second = fields[2 * i + 1];
    fields[i] = high_first ? first << length | second : second << length | first;
  }
}
template <bool high_first>
QVIM_INLINE void split_fields(const uint64_t *joined, uint64_t *fields, uint64_t pairs, uint32_t length) {
  const uint64_t field = low_bits(length);
  for (uint64_t i = 0; i < pairs; ++i) {
    const uint64_t low = joined[i] & field, high = joined[i] >> length & field;
    fields[2 * i] = high_first ? high : low;
    fields[2 * i + 1] = high_first ? low : high;
  }
}

typedef uint64_t words2 __attribute__((vector_size(16)));
typedef uint64_t words4 __attribute__((vector_size(32)));

// How four fields of 33 to 64 bits lie in the stream, in which every fourth begins with a byte: the byte and
// the bit in it where each begins, and the shuffles that move two at a time there and back.
template <bool high_first>
struct placement {
  uint32_t length, byte[5];
  words4 bit;
  bytes16 to_stream[2], from_stream[2];

  QVIM_INLINE explicit placement(uint32_t field_length) : length(field_length) {
    for (uint32_t i = 0; i < 5; ++i) byte[i] = i * length / 8;
    for (uint32_t i = 0; i < 4; ++i) bit[i] = i * length % 8;
    for (uint32_t pair = 0; pair < 2; ++pair) {
      const uint32_t *at = byte + 2 * pair;
      for (uint32_t i = 0; i < 16; ++i) {
        const uint32_t second = at[0] + i >= at[1], first_byte = at[second] - at[0],
                       size = at[second + 1] - at[second];
        const uint32_t n = i - first_byte;
        to_stream[pair][i] = uint8_t(n < size ? 8 * second + (high_first ? size - 1 - n : n) : 0);
        from_stream[pair][i] = uint8_t((i < 8 ? 0 : at[1] - at[0]) + (high_first ? 7 - i % 8 : i % 8));
      }
    }
  }
};

// Every field must end in the word in which it begins: 62 bits are handled apart. fields[-1] may be read.
template <bool high_first>
QVIM_INLINE void put_fields(const uint64_t *fields, uint64_t count, const placement<high_first> &place,
                            char *to) {
  const uint32_t length = place.length;
  const words4 bit = place.bit, last_bit = (bit + length) % 8, in_before = length - bit;
  const bytes16 order[2] = {place.to_stream[0], place.to_stream[1]};
  const uint64_t second = place.byte[2], four_bytes = place.byte[4];
  const auto put = [&](auto of_whole_bytes) __attribute__((always_inline)) {
    for (uint64_t i = 0; i < count; i += 4, to += four_bytes) {
      const auto from = reinterpret_cast<const char *>(fields + i);
      words2 pairs[2] = {load<words2>(from), load<words2>(from + 16)};
      if constexpr (!of_whole_bytes) {
        // Bits of the field before come first; those behind the last whole byte go on.
        words4 four, before;
        std::memcpy(&four, from, sizeof four);
        std::memcpy(&before, from - 8, sizeof before);
        four = high_first ? (before << length | four) >> last_bit : four << bit | before >> in_before;
        pairs[0] = __builtin_shufflevector(four, four, 0, 1);
        pairs[1] = __builtin_shufflevector(four, four, 2, 3);
      }
      store(to, shuffled((bytes16)pairs[0], order[0]));
      store(to + second, shuffled((bytes16)pairs[1], order[1]));
    }
  };
  if (length % 8)
    put(std::false_type());
  else
    put(std::true_type());
}

template <bool high_first>
QVIM_INLINE void get_fields(uint64_t *fields, uint64_t count, const placement<high_first> &place,
                            const char *from) {
  const uint32_t unused = 64 - place.length;
  const words2 bits[2] = {__builtin_shufflevector(place.bit, place.bit, 0, 1),
                          __builtin_shufflevector(place.bit, place.bit, 2, 3)};
  const bytes16 order[2] = {place.from_stream[0], place.from_stream[1]};
  const uint64_t second = place.byte[2], four_bytes = place.byte[4];
  for (uint64_t i = 0; i < count; i += 4, from += four_bytes) {
    const bytes16 both[2] = {load<bytes16>(from), load<bytes16>(from + second)};
    for (uint32_t pair = 0; pair < 2; ++pair) {
      const auto words = (words2)shuffled(both[pair], order[pair]);
      const words2 put = high_first ? (words << bits[pair]) >> unused : words >> bits[pair];
      store(reinterpret_cast<char *>(fields + i + 2 * pair), put);
    }
  }
}

// Fields of 62 bits: two make whole bytes and half of one.
template <bool high_first>
QVIM_INLINE void put_62(const uint64_t *fields, uint64_t count, char *to) {
  for (uint64_t i = 0; i < count; i += 4, to += 31) {
    uint64_t words[4];
    for (int n = 0; n < 3; ++n) {
      const uint64_t first = fields[i + n], second = fields[i + n + 1];
      words[n] = high_first ? first << (2 + 2 * n) | second >> (60 - 2 * n)
                            : first >> 2 * n | second << (62 - 2 * n);
    }
    words[3] = high_first ? fields[i + 3] << 8 : fields[i + 3] >> 6;
    for (int n = 0; n < 4; ++n) store(to + 8 * n, high_first ? __builtin_bswap64(words[n]) : words[n]);
  }
}
template <bool high_first>
QVIM_INLINE void get_62(uint64_t *fields, uint64_t count, const char *from) {
  for (uint64_t i = 0; i < count; i += 4, from += 31) {
    uint64_t words[4];
    for (int n = 0; n < 4; ++n) {
      words[n] = load<uint64_t>(from + 8 * n);
      if (high_first) words[n] = __builtin_bswap64(words[n]);
    }
    fields[i] = high_first ? words[0] >> 2 : words[0];
    for (int n = 1; n < 4; ++n)
      fields[i + n] = high_first ? words[n - 1] << (62 - 2 * n + 2) >> 2 | words[n] >> (2 + 2 * n)
                                 : words[n - 1] >> (64 - 2 * n) | words[n] << 2 * n;
  }
}

template <class Pixie, bool high_first>
QVIM_INLINE void stuff_block(const char *pixies, char *stream, uint64_t words, uint32_t bits, uint32_t shift,
                             const placement<high_first> &place) {
  constexpr uint32_t lane = 8 * sizeof(Pixie);
  const uint64_t value_bits = in_lanes<lane>(low_bits(bits));
  uint64_t space[block * sizeof(Pixie) / 8 + 8], *const fields = space + 4;
  fields[-1] = 0;
  for (uint64_t i = 0; i < words; ++i)
    fields[i] = join<lane, high_first>(load<uint64_t>(pixies + 8 * i) >> shift & value_bits, bits);
  uint32_t length = 64 / lane * bits;
  for (; length <= 32; length *= 2) join_fields<high_first>(fields, words /= 2, length);
  for (; words % 4; ++words) fields[words] = 0;
  if (length == 62)
    put_62<high_first>(fields, words, stream);
  else
    put_fields<high_first>(fields, words, place, stream);
}

template <class Pixie, bool high_first>
QVIM_INLINE void unstuff_block(char *pixies, const char *stream, uint64_t words, uint32_t bits,
                               uint32_t shift, const placement<high_first> &place) {
  constexpr uint32_t lane = 8 * sizeof(Pixie);
  uint64_t buffers[2][block * sizeof(Pixie) / 8 + 4];
  uint64_t *fields = buffers[0], *others = buffers[1];
  uint32_t length = 64 / lane * bits;
  uint64_t joined = words;
  for (; length <= 32; length *= 2) joined /= 2;
  if (length == 62)
    get_62<high_first>(fields, joined, stream);
  else
    get_fields<high_first>(fields, (joined + 3) / 4 * 4, place, stream);
  for (; joined < words; joined *= 2) {
    split_fields<high_first>(fields, others, joined, length /= 2);
    std::swap(fields, others);
  }
  for (uint64_t i = 0; i < words; ++i)
    store(pixies + 8 * i, split<lane, high_first>(fields[i], bits) << shift);
}

// What the fields of `bits`-bit values have when they are joined.
QVIM_INLINE uint32_t joined_length(uint32_t length) {
  while (length <= 32) length *= 2;
  return length;
}

// The last block, and one that is followed by too few bytes of the stream, pass through buffers.
template <class Pixie, bool high_first>
QVIM_INLINE void stuff(const char *pixies, char *stream, uint64_t count, uint32_t bits, uint32_t shift) {
  char padded[block * sizeof(Pixie)], packed[block * sizeof(Pixie) + spare];
  const placement<high_first> place(joined_length(8 / sizeof(Pixie) * bits));
  for (uint64_t bytes = (count * bits + 7) / 8; count;) {
    const uint64_t part = std::min(count, block), groups = (part + group - 1) / group;
    const uint64_t part_bytes = (part * bits + 7) / 8, pixie_bytes = part * sizeof(Pixie);
    const bool whole = part % group == 0, inside = bytes >= part_bytes + spare;
    if (!whole) {
      std::memcpy(padded, pixies, pixie_bytes);
      std::memset(padded + pixie_bytes, 0, groups * group * sizeof(Pixie) - pixie_bytes);
    }
    stuff_block<Pixie, high_first>(whole ? pixies : padded, inside ? stream : packed,
                                   groups * 8 * sizeof(Pixie), bits, shift, place);
    if (!inside) std::memcpy(stream, packed, part_bytes);
    pixies += pixie_bytes;
    stream += part_bytes;
    bytes -= part_bytes;
    count -= part;
  }
}

template <class Pixie, bool high_first>
QVIM_INLINE void unstuff(char *pixies, const char *stream, uint64_t count, uint32_t bits, uint32_t shift) {
  char padded[block * sizeof(Pixie)], packed[block * sizeof(Pixie) + spare];
  const placement<high_first> place(joined_length(8 / sizeof(Pixie) * bits));
  for (uint64_t bytes = (count * bits + 7) / 8; count;) {
    const uint64_t part = std::min(count, block), groups = (part + group - 1) / group;
    const uint64_t part_bytes = (part * bits + 7) / 8, pixie_bytes = part * sizeof(Pixie);
    const bool whole = part % group == 0, inside = bytes >= part_bytes + spare;
    if (!inside) {
      std::memcpy(packed, stream, part_bytes);
      std::memset(packed + part_bytes, 0, groups * 8 * bits + spare - part_bytes);
    }
    unstuff_block<Pixie, high_first>(whole ? pixies : padded, inside ? stream : packed,
                                     groups * 8 * sizeof(Pixie), bits, shift, place);
    if (!whole) std::memcpy(pixies, padded, pixie_bytes);
    pixies += pixie_bytes;
    stream += part_bytes;
    bytes -= part_bytes;
    count -= part;
  }
}

template <class Pixie>
QVIM_INLINE void stuff_any(const char *pixies, char *stream, uint64_t count, uint32_t bits, uint32_t mode) {
  constexpr uint32_t width = 8 * sizeof(Pixie);
  if (count == 0 || bits == 0 || bits > width) return;
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
  if (count == 0 || bits == 0 || bits > width) return;
  if (bits == width) return void(std::memmove(pixies, stream, count * sizeof(Pixie)));
  const uint32_t shift = mode & low_justified ? 0 : width - bits;
  if (mode & high_bits_first)
    unstuff<Pixie, true>(pixies, stream, count, bits, shift);
  else
    unstuff<Pixie, false>(pixies, stream, count, bits, shift);
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_STUFF(name, Pixie)                                                                         \
  extern "C" void QVIM_KERNEL(name)(const void *pixies, void *stream, uint64_t count, uint32_t bits,    \
                                    uint32_t mode) {                                                    \
    qvim::stuff_any<Pixie>(static_cast<const char *>(pixies), static_cast<char *>(stream), count, bits, \
                           mode);                                                                       \
  }
#define QVIM_UNSTUFF(name, Pixie)                                                                         \
  extern "C" void QVIM_KERNEL(name)(void *pixies, const void *stream, uint64_t count, uint32_t bits,      \
                                    uint32_t mode) {                                                      \
    qvim::unstuff_any<Pixie>(static_cast<char *>(pixies), static_cast<const char *>(stream), count, bits, \
                             mode);                                                                       \
  }
#include <qvimage/members/npfbix.inc>
