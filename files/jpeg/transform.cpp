// The transforms in floating point, once for each processor level. Eight columns are computed at once, each
// number of a column in a vector of its own.
#include "files/jpeg/transform.hpp"

#include "files/jpeg/forward.hpp"
#include "files/jpeg/vectors.hpp"
#include "kernels/shuffle.hpp"

namespace qvim::jpeg {

namespace {

QVIM_INLINE void forward(floats (&x)[8]) {
  transform_columns(
      x, [](floats v, rotation r) __attribute__((always_inline)) { return v * rotations[int(r)]; });
}

// The samples of lines, as columns.
QVIM_INLINE void samples(const bytes (&lines)[8], bool upper, floats (&out)[8]) {
  bytes two[4];
  columns(lines, upper, two);
  for (int i = 0; i < 4; ++i) {  // little-endian: zeros become the upper bytes
    out[2 * i] = to_floats(widened(reinterpret_cast<shorts>(low_pairs(two[i], bytes{}))));
    out[2 * i + 1] = to_floats(widened(reinterpret_cast<shorts>(high_pairs(two[i], bytes{}))));
  }
}

// With `few`, only the first four numbers of each column can differ from 0.
template <bool few>
QVIM_INLINE void inverse(floats (&x)[8]) {
  const floats zero{};
  const floats x4 = few ? zero : x[4], x5 = few ? zero : x[5], x6 = few ? zero : x[6], x7 = few ? zero : x[7];
  const floats a0 = x[0] + x4, a1 = x[0] - x4, a3 = x[2] + x6, a2 = (x[2] - x6) * 1.4142135f - a3;
  const floats b0 = a0 + a3, b3 = a0 - a3, b1 = a1 + a2, b2 = a1 - a2;

  const floats c3 = x5 + x[3], c0 = x5 - x[3], c1 = x[1] + x7, c2 = x[1] - x7;
  const floats d7 = c1 + c3, e1 = (c1 - c3) * 1.4142135f;
  const floats e5 = (c0 + c2) * 1.847759f;
  const floats e0 = c2 * 1.0823922f - e5, e2 = e5 - c0 * 2.613126f;
  const floats d6 = e2 - d7, d5 = e1 - d6, d4 = e0 + d5;
  x[0] = b0 + d7;
  x[7] = b0 - d7;
  x[1] = b1 + d6;
  x[6] = b1 - d6;
  x[2] = b2 + d5;
  x[5] = b2 - d5;
  x[4] = b3 + d4;
  x[3] = b3 - d4;
}

// Columns of samples, an eighth of a block each, to the quantised coefficients: rounded to the nearest,
// halves upwards.
QVIM_INLINE void encode(floats (&x)[8], const factors &divisors, block &out) {
  forward(x);
  transpose(x);
  forward(x);
  for (int i = 0; i < 8; ++i) {
    const floats scaled = x[i] * loaded<floats>(divisors.of + 8 * i) + 16384.5f;
    const shorts quantised = narrowed(truncated(scaled) - 16384);
    std::memcpy(out.at + 8 * i, &quantised, sizeof quantised);
  }
}

template <bool few>
QVIM_INLINE void decode(const decoded_block &in, const factors &scales, floats (&x)[8]) {
  for (int i = 0; i < (few ? 4 : 8); ++i)
    x[i] = to_floats(loaded<ints>(in.at + 8 * i)) * loaded<floats>(scales.of + 8 * i);
  inverse<few>(x);
  transpose(x);
  inverse<few>(x);
}

QVIM_INLINE void decode(const decoded_block &in, extent which, const factors &scales, floats (&x)[8]) {
  if (which == extent::all) return decode<false>(in, scales, x);
  if (which == extent::low_frequencies) return decode<true>(in, scales, x);
  const floats sample = all(float(in.at[0]) * scales.of[0]);
  for (floats &row : x) row = sample;
}

// A sample as a byte: limited, then truncated.
QVIM_INLINE ints to_bytes(floats v) {
  const floats highest = all(255), lowest{};
  v = v < highest ? v : highest;
  v = v > lowest ? v : lowest;
  return truncated(v);
}

void forward_grey(const uint8_t *lines, uint64_t pitch, uint32_t count, const factors *divisors,
                  block *blocks) {
  for (; count; --count, lines += 8, ++blocks) {
    bytes line[8];
    for (int i = 0; i < 8; ++i) line[i] = loaded_half(lines + uint64_t(i) * pitch);
    floats x[8];
    samples(line, false, x);
    for (int i = 0; i < 8; ++i) x[i] = x[i] - 128.0f;
    encode(x, *divisors, *blocks);
  }
}

void forward_rgb(const uint8_t *lines, uint64_t pitch, uint32_t count, const factors *luminance,
                 const factors *chrominance, block *blocks) {
  for (; count; --count, lines += 24, blocks += 3) {
    bytes line[8], rest[8];
    for (int i = 0; i < 8; ++i) {
      line[i] = loaded<bytes>(lines + uint64_t(i) * pitch);
      rest[i] = loaded_half(lines + uint64_t(i) * pitch + 16);
    }
    floats part[3][8];  // a byte of the line after the other
    samples(line, false, part[0]);
    samples(line, true, part[1]);
    samples(rest, false, part[2]);
    floats y[8], cb[8], cr[8];
    for (int i = 0; i < 8; ++i) {
      const int at = 3 * i;
      const floats r = part[at / 8][at % 8], g = part[(at + 1) / 8][(at + 1) % 8],
                   b = part[(at + 2) / 8][(at + 2) % 8];
      y[i] = r * 0.299f + g * 0.587f + b * 0.114f - 128.0f;
      cb[i] = r * -0.1687f - g * 0.3313f + b * 0.5f;
      cr[i] = r * 0.5f - g * 0.4187f - b * 0.0813f;
    }
    encode(y, *luminance, blocks[0]);
    encode(cb, *chrominance, blocks[1]);
    encode(cr, *chrominance, blocks[2]);
  }
}

void inverse_grey(const decoded_block *blocks, const extent *extents, uint32_t count, const factors *scales,
                  uint8_t *lines, uint64_t pitch) {
  for (; count; --count, ++blocks, ++extents, lines += 8) {
    floats x[8];
    decode(*blocks, *extents, *scales, x);
    for (int i = 0; i < 8; ++i) {
      const shorts row = narrowed(to_bytes(x[i] + 128.0f));
      store_half(lines + uint64_t(i) * pitch, low_bytes(row));
    }
  }
}

void inverse_rgb(const decoded_block *blocks, const extent *extents, uint32_t count,
                 const factors *const scales[3], uint8_t *lines, uint64_t pitch) {
  constexpr bytes first_three{0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15};
  for (; count; --count, blocks += 3, extents += 3, lines += 24) {
    floats y[8], cb[8], cr[8];
    decode(blocks[0], extents[0], *scales[0], y);
    decode(blocks[1], extents[1], *scales[1], cb);
    decode(blocks[2], extents[2], *scales[2], cr);
    for (int i = 0; i < 8; ++i) {
      const floats light = y[i] + 128.0f;
      const ints r = to_bytes(light + cr[i] * 1.402f),
                 g = to_bytes(light - cb[i] * 0.34414f - cr[i] * 0.71414f),
                 b = to_bytes(light + cb[i] * 1.772f);
      const ints pixels = r | g << 8 | b << 16;
      bytes half[2];
      std::memcpy(half, &pixels, sizeof half);
      for (int k = 0; k < 2; ++k) {  // the second vector overlaps the first one's last four bytes
        const bytes packed = shuffled(half[k], first_three);
        std::memcpy(lines + uint64_t(i) * pitch + 12 * k, &packed, sizeof packed);
      }
    }
  }
}

}  // namespace

const float_transforms QVIM_KERNEL(in_floats) = {forward_grey, forward_rgb, inverse_grey, inverse_rgb};

}  // namespace qvim::jpeg
