// The encoder's transform in integers of 16 bits, once for each processor level. Two MCUs are computed at
// once, one in each half of a vector.
//
// Samples are doubled: results then need all 16 bits. All products are of 16 bits, rounded: numbers times
// fractions of 2^15.
#include "files/jpeg/forward.hpp"
#include "files/jpeg/transform.hpp"
#include "files/jpeg/vectors.hpp"

namespace qvim::jpeg {

namespace {

typedef uint16_t two_sizes __attribute__((vector_size(32)));

// (v * fraction + 2^14) / 2^15. In this form the compiler finds the instruction for it.
QVIM_INLINE two_shorts product(two_shorts v, int16_t fraction) {
  int16_t a[16];
  std::memcpy(a, &v, sizeof a);
  for (int16_t &n : a) n = int16_t(((int32_t(n) * fraction >> 14) + 1) >> 1);
  return loaded<two_shorts>(a);
}

// Sizes as multiples of their steps. AVX2 shifts all numbers of 16 bits by as many bits: there the upper
// halves of products do the same.
QVIM_INLINE two_sizes quotients(two_sizes v, const steps &s, int row) {
  const auto of = [=](const uint16_t *table) __attribute__((always_inline)) {
    return loaded<two_sizes>(table + 16 * row);
  };
  const two_sizes rounded = v + of(s.halves);
#if defined(__AVX2__) && !defined(__AVX512BW__)
  uint16_t a[16];
  std::memcpy(a, &rounded, sizeof a);
  for (int i = 0; i < 16; ++i) a[i] = uint16_t(uint32_t(a[i]) * s.fractions[16 * row + i] >> 16);
  return loaded<two_sizes>(a) | (v & reinterpret_cast<two_sizes>(of(s.shifts) == 0));
#else
  return rounded >> of(s.shifts);
#endif
}

QVIM_INLINE void forward(two_shorts (&x)[8]) {
  transform_columns(
      x, [](two_shorts v, rotation r) __attribute__((always_inline)) {
        const two_shorts part = product(v, integer_rotations[int(r)]);
        return r == rotation::sum ? v + part : part;
      });
}

QVIM_INLINE two_shorts pairs(two_shorts a, two_shorts b, bool upper) {
  return upper ? __builtin_shufflevector(a, b, 4, 20, 5, 21, 6, 22, 7, 23, 12, 28, 13, 29, 14, 30, 15, 31)
               : __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 8, 24, 9, 25, 10, 26, 11, 27);
}

// Rows of both blocks become columns: three times rows are dealt into each other like cards.
QVIM_INLINE void transpose(two_shorts (&m)[8]) {
  for (int round = 0; round < 3; ++round) {
    two_shorts dealt[8];
    for (int i = 0; i < 8; ++i) dealt[i] = pairs(m[i / 2], m[i / 2 + 4], i % 2);
    for (int i = 0; i < 8; ++i) m[i] = dealt[i];
  }
}

// Coefficients become multiples of their steps, to the nearest, halves away from 0: the DC coefficient by
// division, the others by shifting.
QVIM_INLINE void encode(two_shorts (&x)[8], const steps &s, block &first, block &second) {
  forward(x);
  transpose(x);
  forward(x);
  block *const blocks[2] = {&first, &second};
  for (int i = 0; i < 8; ++i) {
    const two_shorts sign = x[i] >> 15;
    const auto size = reinterpret_cast<two_sizes>((x[i] ^ sign) - sign);
    const two_shorts quantised = (reinterpret_cast<two_shorts>(quotients(size, s, i)) ^ sign) - sign;
    const shorts halves[2] = {__builtin_shufflevector(quantised, quantised, 0, 1, 2, 3, 4, 5, 6, 7),
                              __builtin_shufflevector(quantised, quantised, 8, 9, 10, 11, 12, 13, 14, 15)};
    for (int k = 0; k < 2; ++k) std::memcpy(blocks[k]->at + 8 * i, &halves[k], sizeof halves[k]);
  }
  for (int k = 0; k < 2; ++k) {
    const int32_t sum = x[0][8 * k];
    const int32_t size = (sum < 0 ? -sum : sum) + int32_t(s.dc / 2);
    const int32_t quotient = int32_t(uint32_t(size) / s.dc);
    blocks[k]->at[0] = int16_t(sum < 0 ? -quotient : quotient);
  }
}

// Bytes of a line of either MCU.
QVIM_INLINE two_bytes line_of(bytes a, bytes b) {
  return __builtin_shufflevector(a, b, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19,
                                 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31);
}

QVIM_INLINE void samples(const two_bytes (&lines)[8], bool upper, two_shorts (&out)[8]) {
  two_bytes two[4];
  columns(lines, upper, two);
  for (int i = 0; i < 4; ++i) {  // little-endian: zeros become the upper bytes
    out[2 * i] = reinterpret_cast<two_shorts>(low_pairs(two[i], two_bytes{}));
    out[2 * i + 1] = reinterpret_cast<two_shorts>(high_pairs(two[i], two_bytes{}));
  }
}

// With an odd number of MCUs the last one is computed twice.
void forward_grey(const uint8_t *lines, uint64_t pitch, uint32_t count, const steps *s, block *blocks) {
  for (uint32_t i = 0; i < count; i += 2) {
    const uint32_t other = i + 1 < count;
    const uint8_t *const from = lines + 8 * uint64_t(i);
    two_bytes line[8];
    for (uint32_t k = 0; k < 8; ++k)
      line[k] = line_of(loaded_half(from + k * pitch), loaded_half(from + k * pitch + 8 * other));
    two_shorts x[8];
    samples(line, false, x);
    for (two_shorts &v : x) v = (v - 128) * 2;
    encode(x, *s, blocks[i], blocks[i + other]);
  }
}

void forward_rgb(const uint8_t *lines, uint64_t pitch, uint32_t count, const steps *luminance,
                 const steps *chrominance, block *blocks) {
  const auto f = integer_colours;
  for (uint32_t i = 0; i < count; i += 2) {
    const uint32_t other = i + 1 < count;
    const uint8_t *const from = lines + 24 * uint64_t(i);
    two_bytes line[8], rest[8];
    for (uint32_t k = 0; k < 8; ++k) {
      const uint8_t *const at = from + k * pitch, *const second = at + 24 * other;
      line[k] = line_of(loaded<bytes>(at), loaded<bytes>(second));
      rest[k] = line_of(loaded_half(at + 16), loaded_half(second + 16));
    }
    two_shorts part[3][8];
    samples(line, false, part[0]);
    samples(line, true, part[1]);
    samples(rest, false, part[2]);
    two_shorts y[8], cb[8], cr[8];
    for (int k = 0; k < 8; ++k) {
      const auto sample = [&](int at) __attribute__((always_inline)) { return part[at / 8][at % 8] * 128; };
      const two_shorts r = sample(3 * k), g = sample(3 * k + 1), b = sample(3 * k + 2);
      // 128 times the result; rounded to twice.
      y[k] = (product(r, f[0]) + product(g, f[1]) + product(b, f[2]) - 128 * 128 + 32) >> 6;
      cb[k] = (product(b, f[5]) - product(r, f[3]) - product(g, f[4]) + 32) >> 6;
      cr[k] = (product(r, f[5]) - product(g, f[6]) - product(b, f[7]) + 32) >> 6;
    }
    block *const first = blocks + 3 * i, *const second = first + 3 * other;
    encode(y, *luminance, first[0], second[0]);
    encode(cb, *chrominance, first[1], second[1]);
    encode(cr, *chrominance, first[2], second[2]);
  }
}

}  // namespace

const integer_transforms QVIM_KERNEL(in_integers) = {forward_grey, forward_rgb};

}  // namespace qvim::jpeg
