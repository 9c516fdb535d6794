#include "tiff_layout.hpp"

#include <algorithm>

#include "words.hpp"

namespace tool {

namespace {

constexpr uint64_t usual_strip = 65536;              // bytes, the library's default
constexpr int most_bands = 64, good_many_bands = 8;  // enough for most machines; for small ones
// All bands but the first are coded into memory: pages of more bytes than this are one band.
constexpr uint64_t most_in_memory = uint64_t{1} << 29;

uint64_t row_bytes(const qvimagedata &data, int32_t width) {
  const bool padded = data.pixies == 4 && is_rgb(data.pixelhint);
  const auto samples = static_cast<uint64_t>(padded ? 3 : data.pixies);
  return (static_cast<uint64_t>(width) * samples * static_cast<uint64_t>(bits_of(data)) + 7) / 8;
}

uint64_t largest_divisor(uint64_t of, uint64_t most) {
  uint64_t divisor = std::min(of, most);
  while (of % divisor != 0) divisor--;
  return divisor;
}

struct cut {
  int bands;
  uint64_t rows;  // of a strip
};

// As many bands of whole strips as there can be, with strips of `least` to `most` rows.
cut most_even_bands(uint64_t height, uint64_t least, uint64_t most) {
  for (int bands = most_bands; bands > 1; bands--) {
    const auto n = static_cast<uint64_t>(bands);
    if (height % n != 0) continue;
    const uint64_t rows = largest_divisor(height / n, most);
    if (rows >= least) return {bands, rows};
  }
  return {1, most};
}

}  // namespace

tiff_layout tiff_layout_of(const qvimagedata &data, int32_t width, int32_t height,
                           const qvimagefileinfo &options, bool computed) {
  const bool coded = options.compression > 1;
  const uint64_t row = row_bytes(data, width), rows = static_cast<uint64_t>(height);
  const tiff_layout one = {1, options.stripsize};
  if ((!coded && !computed) || row == 0 || row * rows > most_in_memory) return one;

  const uint64_t asked = options.stripsize == 0 ? usual_strip : options.stripsize;
  const uint64_t strip = std::clamp<uint64_t>(asked / row, 1, rows);
  cut best = most_even_bands(rows, strip, strip);
  // Where the strip asked for does not divide the page well, one of half its size may; the strips of uncoded
  // pages stay as they are.
  if (coded && best.bands < good_many_bands) {
    const cut smaller = most_even_bands(rows, (strip + 1) / 2, strip);
    if (smaller.bands > best.bands) best = smaller;
  }
  if (best.bands == 1) return one;
  return {best.bands, best.rows * row};
}

}  // namespace tool
