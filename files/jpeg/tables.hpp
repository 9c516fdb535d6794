// Constants of the JPEG standard (ISO/IEC 10918-1): the order of coefficients, the tables of its Annex K, and
// the scales of the transforms that the coder uses.
#pragma once

#include <array>
#include <cstdint>

namespace qvim::jpeg {

constexpr uint32_t block_side = 8, block_size = 64;
constexpr uint32_t highest_side = 65535;  // of an image: 16 bits in the header
constexpr uint32_t most_components = 3;
constexpr uint32_t categories_dc = 12;  // of differences of 8-bit images: 0 to 11 bits
constexpr uint32_t symbol_count = 256;  // of AC symbols: a run of zeros in the high four bits, a category
constexpr uint8_t end_of_block = 0x00, sixteen_zeros = 0xF0;

// zigzag[k] is where the coefficient that comes k-th in a file stands in a block: 8 * vertical + horizontal
// frequency. (Figure A.6)
constexpr std::array<uint8_t, block_size> zigzag = [] {
  std::array<uint8_t, block_size> order{};
  int v = 0, u = 0;
  for (uint8_t &at : order) {
    at = uint8_t(8 * v + u);
    const bool up = (v + u) % 2 == 0;
    int &ahead = up ? u : v, &back = up ? v : u;
    if (ahead == 7) {
      ++back;
    } else {
      ++ahead;
      if (back > 0) --back;
    }
  }
  return order;
}();

// Tables K.1 and K.2: what coefficients are divided by at quality 50, in rows of equal vertical frequency.
extern const uint8_t luminance_quantisation[block_size], chrominance_quantisation[block_size];

// Output k of the one-dimensional transform of Arai, Agui and Nakajima is cosine coefficient k times this
// number: cos(k * pi / 16) * sqrt(2), 1 for k = 0.
constexpr double transform_scale[block_side] = {1.0, 1.387039845, 1.306562965, 1.175875602,
                                                1.0, 0.785694958, 0.5411961,   0.275899379};

// A Huffman code as files state it: how many codes have each length from 1 to 16, and what they stand for, in
// the order of the codes.
struct huffman_description {
  uint8_t counts[16];
  uint8_t values[symbol_count];

  constexpr uint32_t size() const {
    uint32_t sum = 0;
    for (const uint8_t count : counts) sum += count;
    return sum;
  }
};

// Tables K.3 to K.6.
extern const huffman_description luminance_dc, luminance_ac, chrominance_dc, chrominance_ac;

}  // namespace qvim::jpeg
