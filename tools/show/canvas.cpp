#include "canvas.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace tool::show {

namespace {

// Rows of the characters from the blank to ~, leftmost pixel highest: the public-domain font "fixed", 8x13.
constexpr uint8_t glyphs[][canvas::glyph_height] = {
#include "glyphs.inc"
};
constexpr unsigned char first_glyph = ' ', last_glyph = '~';

}  // namespace

void canvas::set(position p, colour colour) {
  if (p.x < 0 || p.y < 0 || p.x >= size_.width || p.y >= size_.height) return;
  uint8_t *pixel = row(p.y) + 4 * p.x;
  pixel[0] = colour.blue;
  pixel[1] = colour.green;
  pixel[2] = colour.red;
}

void canvas::fill(position at, extent size, colour colour) {
  const int64_t bottom = std::min(at.y + size.height, size_.height);
  const int64_t right = std::min(at.x + size.width, size_.width);
  for (int64_t y = std::max<int64_t>(at.y, 0); y < bottom; y++) {
    for (int64_t x = std::max<int64_t>(at.x, 0); x < right; x++) set({x, y}, colour);
  }
}

void canvas::frame(position at, extent size, colour colour) {
  fill(at, {size.width, 1}, colour);
  fill(at, {1, size.height}, colour);
  fill({at.x, at.y + size.height - 1}, {size.width, 1}, colour);
  fill({at.x + size.width - 1, at.y}, {1, size.height}, colour);
}

void canvas::line(position from, position to, colour colour) {
  const int64_t dx = to.x - from.x, dy = to.y - from.y;
  const int64_t steps = std::max<int64_t>({std::abs(dx), std::abs(dy), 1});
  for (int64_t i = 0; i <= steps; i++) set({from.x + dx * i / steps, from.y + dy * i / steps}, colour);
}

void canvas::text(position at, std::string_view text, colour colour) {
  for (const char letter : text) {
    const auto code = static_cast<unsigned char>(letter);
    const uint8_t *glyph = glyphs[(code < first_glyph || code > last_glyph ? '?' : code) - first_glyph];
    for (int y = 0; y < glyph_height; y++) {
      for (int x = 0; x < glyph_width; x++) {
        if (glyph[y] >> (glyph_width - 1 - x) & 1) set({at.x + x, at.y + y}, colour);
      }
    }
    at.x += glyph_width;
  }
}

void canvas::copy(position at, const canvas &from) {
  const int64_t first = std::max<int64_t>(-at.x, 0);
  const int64_t end = std::min(from.size_.width, size_.width - at.x);
  if (first >= end) return;
  for (int64_t y = std::max<int64_t>(-at.y, 0); y < from.size_.height && at.y + y < size_.height; y++)
    std::memcpy(row(at.y + y) + 4 * (at.x + first), from.row(y) + 4 * first,
                static_cast<size_t>(4 * (end - first)));
}

void canvas::dim(position at, extent size) {
  for (int64_t y = std::max<int64_t>(at.y, 0); y < std::min(at.y + size.height, size_.height); y++) {
    for (int64_t x = std::max<int64_t>(at.x, 0); x < std::min(at.x + size.width, size_.width); x++) {
      for (int i = 0; i < 3; i++) row(y)[4 * x + i] = static_cast<uint8_t>(row(y)[4 * x + i] / 3);
    }
  }
}

}  // namespace tool::show
