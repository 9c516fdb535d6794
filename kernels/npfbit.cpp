// Bit packing: a run of pixies to a dense stream of their values, and back.
//
// Pixies become values of the smallest size that holds their bits. Pairs of values that fit into one byte are
// joined, until they do not fit. The values in a 64-bit word are then joined to one field of more than 32
// bits in its low ones. Each field is shifted to where it begins in a byte, and a byte shuffle moves two
// fields together; what is stored too much, the next store overwrites. A stream that begins with the most
// significant bits is the same with the order of the values in a pair or field and of the bytes of a word
// reversed.
#include <algorithm>
#include <bit>

#include "kernels/run.hpp"
#include "kernels/shuffle.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

static_assert(std::endian::native == std::endian::little);

enum : uint32_t { high_bits_first = 1, low_justified = 2 };  // bits of the mode argument

constexpr uint64_t group = 128;  // values: whole vectors of joined pixies, whole bytes of the stream
// Of pixies, taken at a time. If buffers were of whole pages, loads would seem to want what was just stored.
constexpr uint64_t block_bytes = 3584;
constexpr uint64_t spare = 48;  // bytes behind a block's stream that may be touched

constexpr uint64_t low_bits(uint32_t bits) { return bits < 64 ? (uint64_t(1) << bits) - 1 : ~uint64_t(0); }

// The same `lane` bits in each lane of a word.
template <uint32_t lane>
QVIM_INLINE uint64_t in_lanes(uint64_t value) {
  return value * (~uint64_t(0) / low_bits(lane));
}

// Joins neighbouring fields of `bits` bits, which lie in lanes of `lane` bits, until there is one. Where the
// lower bits are first, one of two fields need not be moved, and bytes are reversed in one step.
template <uint32_t lane, bool high_first>
QVIM_INLINE uint64_t join(uint64_t word, uint32_t bits) {
  if constexpr (lane == 64) {
    return word;
  } else if constexpr (lane == 8 && high_first) {
    return join<lane, false>(__builtin_bswap64(word), bits);
  } else {
    const uint64_t field = in_lanes<2 * lane>(low_bits(bits));
    return join<2 * lane, high_first>(high_first ? (word & field) << bits | (word >> lane & field)
                                                 : (word & field) | (word >> (lane - bits) & field << bits),
                                      2 * bits);
  }
}

// The reverse; bits above the one field are ignored.
template <uint32_t lane, bool high_first>
QVIM_INLINE uint64_t split(uint64_t joined, uint32_t bits) {
  if constexpr (lane == 64) {
    return joined;
  } else if constexpr (lane == 8 && high_first) {
    return __builtin_bswap64(split<lane, false>(joined, bits));
  } else {
    const uint64_t word = split<2 * lane, high_first>(joined, 2 * bits);
    const uint64_t field = in_lanes<2 * lane>(low_bits(bits));
    return high_first ? (word >> bits & field) | (word & field) << lane
                      : (word & field) | (word << (lane - bits) & field << lane);
  }
}

// Pairs of bytes. Vectors by name: compilers would do arithmetic of 16 bits with 32.
#ifdef __AVX2__
constexpr int pair_vector_bytes = 32;
#else
constexpr int pair_vector_bytes = 16;
#endif
typedef uint16_t byte_pairs __attribute__((vector_size(pair_vector_bytes)));
typedef uint8_t joined_bytes __attribute__((vector_size(pair_vector_bytes / 2)));

// The bits of values in both bytes of a pair.
QVIM_INLINE uint16_t bits_of_pair(uint32_t bits) { return uint16_t(low_bits(bits) * 0x0101); }

// Pairs of values, which have at most four bits, to values of twice the bits, and back.
template <bool high_first>
QVIM_INLINE void join_pairs(const char *from, char *to, uint64_t pairs, uint32_t bits, uint32_t shift) {
  const uint16_t first = bits, second = 8 - bits;
  for (uint64_t i = 0; i < pairs; i += sizeof(joined_bytes)) {
    const byte_pairs v = load<byte_pairs>(from + 2 * i) >> uint16_t(shift) & bits_of_pair(bits);
    const byte_pairs joined = high_first ? v << first | v >> 8 : v | v >> second;
    store(to + i, __builtin_convertvector(joined, joined_bytes));
  }
}
template <bool high_first>
QVIM_INLINE void split_pairs(const char *from, char *to, uint64_t pairs, uint32_t bits, uint32_t shift) {
  const uint16_t first = bits, second = 8 - bits;
  for (uint64_t i = 0; i < pairs; i += sizeof(joined_bytes)) {
    const byte_pairs v = __builtin_convertvector(load<joined_bytes>(from + i), byte_pairs);
    const byte_pairs apart = high_first ? v >> first | v << 8 : v | v << second;
    store(to + 2 * i, (apart & bits_of_pair(bits)) << uint16_t(shift));
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

template <class Value, bool high_first>
QVIM_INLINE void put_block(const char *values, char *stream, uint64_t words, uint32_t bits, uint32_t shift,
                           const placement<high_first> &place) {
  constexpr uint32_t lane = 8 * sizeof(Value);
  const uint64_t value_bits = in_lanes<lane>(low_bits(bits));
  uint64_t space[block_bytes / 8 + 4], *const fields = space + 4;
  fields[-1] = 0;
  for (uint64_t i = 0; i < words; ++i)
    fields[i] = join<lane, high_first>(load<uint64_t>(values + 8 * i) >> shift & value_bits, bits);
  if (place.length == 62)
    put_62<high_first>(fields, words, stream);
  else
    put_fields<high_first>(fields, words, place, stream);
}

template <class Value, bool high_first>
QVIM_INLINE void get_block(char *values, const char *stream, uint64_t words, uint32_t bits, uint32_t shift,
                           const placement<high_first> &place) {
  constexpr uint32_t lane = 8 * sizeof(Value);
  uint64_t fields[block_bytes / 8];
  if (place.length == 62)
    get_62<high_first>(fields, words, stream);
  else
    get_fields<high_first>(fields, words, place, stream);
  for (uint64_t i = 0; i < words; ++i)
    store(values + 8 * i, split<lane, high_first>(fields[i], bits) << shift);
}

// Values of 8 or 16 bits that fill their bytes: the stream itself, but for the order of two bytes.
template <class Value, bool high_first>
QVIM_INLINE void copy_whole(const char *from, char *to, uint64_t count) {
  if constexpr (sizeof(Value) == 2 && high_first) {
    QVIM_INDEPENDENT
    for (uint64_t i = 0; i < 2 * count; i += 2) store(to + i, __builtin_bswap16(load<uint16_t>(from + i)));
  } else {
    std::memcpy(to, from, count * sizeof(Value));
  }
}

// How values of `bits` bits are packed: pairs of bytes are joined so many times, and have so many bits then.
template <class Value, bool high_first>
struct packing {
  static constexpr uint32_t width = 8 * sizeof(Value);
  uint32_t bits, rounds;
  placement<high_first> place;

  QVIM_INLINE explicit packing(uint32_t value_bits)
      : bits(value_bits),
        rounds(sizeof(Value) > 1 || bits > 4 ? 0
               : bits > 2                    ? 1
               : bits == 2                   ? 2
                                             : 3),
        place(8 / sizeof(Value) * (bits << rounds)) {}

  // Whole groups of values; in the stream, `spare` bytes may be touched behind them.
  QVIM_INLINE void put(const char *values, char *stream, uint64_t count, uint32_t shift) const {
    if (bits == width) return copy_whole<Value, high_first>(values, stream, count);
    char space[block_bytes / 2];
    uint32_t joined = bits;
    for (uint32_t round = 0; round < rounds; ++round, joined *= 2, shift = 0) {
      char *const to = 2 * joined == width ? stream : space;
      join_pairs<high_first>(values, to, count /= 2, joined, shift);
      values = to;
    }
    if (joined < width)
      put_block<Value, high_first>(values, stream, count * sizeof(Value) / 8, joined, shift, place);
  }

  QVIM_INLINE void get(char *values, const char *stream, uint64_t count, uint32_t shift) const {
    if (bits == width) return copy_whole<Value, high_first>(stream, values, count);
    char buffers[2][block_bytes / 2];
    uint32_t joined = bits << rounds, round = rounds;
    const auto place_of_round = [&] { return round ? buffers[round % 2] : values; };
    const auto shift_of_round = [&] { return round ? 0 : shift; };
    count >>= rounds;
    const char *from = stream;
    if (joined < width) {
      char *const to = place_of_round();
      get_block<Value, high_first>(to, stream, count * sizeof(Value) / 8, joined, shift_of_round(), place);
      from = to;
    }
    while (round) {
      --round;
      char *const to = place_of_round();
      split_pairs<high_first>(from, to, count, joined /= 2, shift_of_round());
      from = to;
      count *= 2;
    }
  }
};

// Pixies to values of some bits, which may be smaller, and back.
template <class Pixie, class Value>
QVIM_INLINE void take_values(const char *pixies, char *values, uint64_t count, uint32_t bits,
                             uint32_t shift) {
  const auto value = [=](auto v) __attribute__((always_inline)) {
    return v >> Pixie(shift) & Pixie(low_bits(bits));
  };
  uint64_t i = 0;
  if constexpr (sizeof(Pixie) == 2 && sizeof(Value) == 1) {
    for (; count - i >= sizeof(joined_bytes); i += sizeof(joined_bytes))
      store(values + i, __builtin_convertvector(value(load<byte_pairs>(pixies + 2 * i)), joined_bytes));
  }
  for (; i < count; ++i)
    store(values + i * sizeof(Value), Value(value(load<Pixie>(pixies + i * sizeof(Pixie)))));
}
template <class Pixie, class Value>
QVIM_INLINE void give_values(const char *values, char *pixies, uint64_t count, uint32_t shift) {
  uint64_t i = 0;
  if constexpr (sizeof(Pixie) == 2 && sizeof(Value) == 1) {
    for (; count - i >= sizeof(joined_bytes); i += sizeof(joined_bytes))
      store(pixies + 2 * i, __builtin_convertvector(load<joined_bytes>(values + i), byte_pairs)
                                << uint16_t(shift));
  }
  for (; i < count; ++i)
    store(pixies + i * sizeof(Pixie), Pixie(Pixie(load<Value>(values + i * sizeof(Value))) << shift));
}

// Values of another size, the last block, and one that is followed by too few bytes of the stream, pass
// through buffers.
template <class Pixie, class Value, bool high_first>
QVIM_INLINE void stuff(const char *pixies, char *stream, uint64_t count, uint32_t bits, uint32_t shift) {
  char values[block_bytes], packed[block_bytes + spare];
  const packing<Value, high_first> packing(bits);
  for (uint64_t bytes = (count * bits + 7) / 8; count;) {
    const uint64_t part = std::min(count, block_bytes / sizeof(Pixie)), part_bytes = (part * bits + 7) / 8;
    const uint64_t whole = (part + group - 1) / group * group;
    const bool inside = bytes >= part_bytes + spare;
    const bool direct = sizeof(Pixie) == sizeof(Value) && part == whole;
    if (!direct) {
      take_values<Pixie, Value>(pixies, values, part, bits, shift);
      std::memset(values + part * sizeof(Value), 0, (whole - part) * sizeof(Value));
    }
    packing.put(direct ? pixies : values, inside ? stream : packed, whole, direct ? shift : 0);
    if (!inside) std::memcpy(stream, packed, part_bytes);
    pixies += part * sizeof(Pixie);
    stream += part_bytes;
    bytes -= part_bytes;
    count -= part;
  }
}

template <class Pixie, class Value, bool high_first>
QVIM_INLINE void unstuff(char *pixies, const char *stream, uint64_t count, uint32_t bits, uint32_t shift) {
  char values[block_bytes], packed[block_bytes + spare];
  const packing<Value, high_first> packing(bits);
  for (uint64_t bytes = (count * bits + 7) / 8; count;) {
    const uint64_t part = std::min(count, block_bytes / sizeof(Pixie)), part_bytes = (part * bits + 7) / 8;
    const uint64_t whole = (part + group - 1) / group * group;
    const bool inside = bytes >= part_bytes + spare;
    const bool direct = sizeof(Pixie) == sizeof(Value) && part == whole;
    if (!inside) {
      std::memcpy(packed, stream, part_bytes);
      std::memset(packed + part_bytes, 0, whole * bits / 8 + spare - part_bytes);
    }
    packing.get(direct ? pixies : values, inside ? stream : packed, whole, direct ? shift : 0);
    if (!direct) give_values<Pixie, Value>(values, pixies, part, shift);
    pixies += part * sizeof(Pixie);
    stream += part_bytes;
    bytes -= part_bytes;
    count -= part;
  }
}

// Calls body<Value, high_first>(shift) for values of the bits in pixies.
template <class Pixie>
QVIM_INLINE void choose_packing(uint32_t bits, uint32_t mode, const auto &body) {
  const uint32_t shift = mode & low_justified ? 0 : 8 * sizeof(Pixie) - bits;
  const auto choose = [&]<class Value>() __attribute__((always_inline)) {
    if (mode & high_bits_first)
      body.template operator()<Value, true>(shift);
    else
      body.template operator()<Value, false>(shift);
  };
  if (bits <= 8) return choose.template operator()<uint8_t>();
  if constexpr (sizeof(Pixie) > 1) {
    if (bits <= 16) return choose.template operator()<uint16_t>();
  }
  if constexpr (sizeof(Pixie) > 2) choose.template operator()<uint32_t>();
}

template <class Pixie>
QVIM_INLINE void stuff_any(const char *pixies, char *stream, uint64_t count, uint32_t bits, uint32_t mode) {
  constexpr uint32_t width = 8 * sizeof(Pixie);
  if (count == 0 || bits == 0 || bits > width) return;
  if (bits == width) return void(std::memmove(stream, pixies, count * sizeof(Pixie)));
  choose_packing<Pixie>(bits, mode, [=]<class Value, bool high_first>(uint32_t shift) {
    stuff<Pixie, Value, high_first>(pixies, stream, count, bits, shift);
  });
}

template <class Pixie>
QVIM_INLINE void unstuff_any(char *pixies, const char *stream, uint64_t count, uint32_t bits, uint32_t mode) {
  constexpr uint32_t width = 8 * sizeof(Pixie);
  if (count == 0 || bits == 0 || bits > width) return;
  if (bits == width) return void(std::memmove(pixies, stream, count * sizeof(Pixie)));
  choose_packing<Pixie>(bits, mode, [=]<class Value, bool high_first>(uint32_t shift) {
    unstuff<Pixie, Value, high_first>(pixies, stream, count, bits, shift);
  });
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
