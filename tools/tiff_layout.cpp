#include "tiff_layout.hpp"

#include <unistd.h>

#include <algorithm>

#include "words.hpp"

namespace tool {

namespace {

constexpr uint64_t usual_strip = 65536;  // bytes, the library's default
constexpr uint64_t most_ways = 64;       // of dealing out strips that a strip's size is chosen for
constexpr uint64_t most_bands = 4096;

uint64_t row_bytes(const qvimagedata &data, int32_t width) {
  const bool padded = data.pixies == 4 && is_rgb(data.pixelhint);
  const auto samples = static_cast<uint64_t>(padded ? 3 : data.pixies);
  return (static_cast<uint64_t>(width) * samples * static_cast<uint64_t>(bits_of(data)) + 7) / 8;
}

// Bands that are coded before their turn wait in memory: at most a quarter of the machine's.
uint64_t most_in_memory() {
  return static_cast<uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<uint64_t>(sysconf(_SC_PAGESIZE)) / 4;
}

// In how many ways strips can be dealt out evenly.
uint64_t ways(uint64_t strips) {
  uint64_t ways = 0;
  for (uint64_t bands = 1; bands <= most_ways; bands++) ways += strips % bands == 0;
  return ways;
}

// Rows of a strip: those asked for, or down to half of them where the page divides better.
uint64_t strip_rows(uint64_t height, uint64_t asked) {
  if (asked == height) return asked;
  uint64_t best = asked, most = height % asked == 0 ? ways(height / asked) : 0;
  for (uint64_t rows = asked; rows > 0 && rows >= asked / 2; rows--) {
    if (height % rows != 0 || ways(height / rows) <= most) continue;
    most = ways(height / rows);
    best = rows;
  }
  return best;
}

// As many bands as can be, of some size, so that threads that take them in turn end together; of small pages
// as many as deal out evenly.
int32_t bands_for(uint64_t strips, uint64_t bytes, uint64_t threads) {
  constexpr uint64_t least_bytes = 1 << 20;
  uint64_t best = 1;
  double least = 1;  // the part of the page that one thread has to do
  for (uint64_t bands = 2; bands <= std::min(strips, most_bands); bands++) {
    if (strips % bands != 0) continue;
    const uint64_t share = (bands + threads - 1) / threads;
    const double part = static_cast<double>(share) / static_cast<double>(bands);
    if (bytes / bands < least_bytes && part > 0.95 * least) continue;
    least = part;
    best = bands;
  }
  return static_cast<int32_t>(best);
}

}  // namespace

tiff_layout tiff_layout_of(const qvimagedata &data, int32_t width, int32_t height,
                           const qvimagefileinfo &options, bool computed, unsigned threads) {
  const bool coded = options.compression > 1;
  const uint64_t row = row_bytes(data, width), rows = static_cast<uint64_t>(height);
  if (row == 0) return {options.stripsize, 1};
  const uint64_t asked = options.stripsize == 0 ? usual_strip : options.stripsize;
  const uint64_t fitting = std::clamp<uint64_t>(asked / row, 1, rows);
  // Strips of uncoded pages that are only copied stay as they are.
  const bool may_divide = coded || computed;
  const uint64_t in_strip = may_divide ? strip_rows(rows, fitting) : fitting;
  const bool divides = rows % in_strip == 0 && row * rows <= most_in_memory();
  return {may_divide && in_strip < rows ? in_strip * row : options.stripsize,
          may_divide && divides && threads > 1 ? bands_for(rows / in_strip, row * rows, threads) : 1};
}

}  // namespace tool
