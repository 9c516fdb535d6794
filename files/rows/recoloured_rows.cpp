// Rows of 8-bit samples as other colours.
#include "files/rows/recoloured_rows.hpp"

#include <algorithm>

#include <qvimage/npfclx.h>

namespace qvim {

void recoloured_rows::expand(const uint8_t *entries) {
  entries_ = entries;
  stored_bytes_ = 1;
  pixel_bytes_ = 3;
}

void recoloured_rows::exchange(uint32_t pixel_bytes) {
  entries_ = nullptr;
  stored_bytes_ = pixel_bytes_ = pixel_bytes;
}

void recoloured_rows::recolour(const uint8_t *stored, uint8_t *to, uint32_t n) const {
  if (entries_)
    npfclx1_BGRLut3toBGRx(stored, to, 1, pixel_bytes_, n, 0, entries_);
  else if (pixel_bytes_ == 3 && stored == to)
    npfclx1_RGB3toBGR3_1i(to, to, 3, 3, n, 0, nullptr);
  else
    npfclx1_RGBxtoBGRx_2n(stored, to, pixel_bytes_, pixel_bytes_, n, 0, nullptr);
}

int32_t recoloured_rows::read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) {
  if (!entries_) {
    const int32_t code = stored_.read(y, x, n, to);
    if (code == 0) recolour(to, to, n);
    return code;
  }
  while (n > 0) {
    uint32_t count = n;
    const uint8_t *indices;
    if (const int32_t code = stored_.view(y, x, &count, &indices); code < 0) return code;
    recolour(indices, to, count);
    to += count * pixel_bytes_;
    x += count;
    n -= count;
  }
  return 0;
}

int32_t recoloured_rows::read_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done) {
  int32_t code = 0;
  for (*done = 0; *done < rows && code == 0; *done += code == 0)
    code = read(y + *done, 0, width(), to + uint64_t(*done) * width() * pixel_bytes_);
  return code;
}

int32_t recoloured_rows::view(uint32_t y, uint32_t x, uint32_t *n, const uint8_t **pixels) {
  *n = std::min(*n, part_bytes / pixel_bytes_);
  const uint8_t *stored;
  if (const int32_t code = stored_.view(y, x, n, &stored); code < 0) return code;
  if (!entries_) std::copy(stored, stored + *n * stored_bytes_, part_);
  recolour(entries_ ? stored : part_, part_, *n);
  *pixels = part_;
  return 0;
}

}  // namespace qvim
