// Pixels of a rectangle copied from one order to another.
#pragma once

#include <cstdint>

namespace qvim {

// Where the pixels lie on one side: the first of them, and the bytes from each to the next of its line,
// and to that of the next line.
template <class Byte>
struct grid {
  Byte *first;
  int64_t along, across;
};

// Copies `lines` lines of `count` pixels, of so many bytes each.
void copy_rectangle(grid<const uint8_t> from, grid<uint8_t> to, uint32_t count, uint32_t lines,
                    uint32_t bytes);

// Copies a run of pixels between a packed buffer and an image's lines of so many pixels, of which the first
// pixel is at image.first: from (along, across) on, for n pixels. Each whole line goes on in the next.
template <bool to_image, class Byte>
void copy_run(const grid<uint8_t> &image, uint32_t line, uint32_t along, uint32_t across, Byte *buffer,
              uint32_t n, uint32_t bytes) {
  for (uint32_t lines; n; across += lines, along = 0) {
    const uint32_t count = n < line - along ? n : line - along;
    lines = count == line ? n / line : 1;
    const grid<uint8_t> part{image.first + int64_t(along) * image.along + int64_t(across) * image.across,
                             image.along, image.across};
    const grid<Byte> packed{buffer, bytes, int64_t(count) * bytes};
    if constexpr (to_image)
      copy_rectangle({packed.first, packed.along, packed.across}, part, count, lines, bytes);
    else
      copy_rectangle({part.first, part.along, part.across}, packed, count, lines, bytes);
    buffer += uint64_t(count) * lines * bytes;
    n -= count * lines;
  }
}

}  // namespace qvim
