// What stands on the screen: pixels of blue, green, red and a pad, with text and lines.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "view.hpp"

namespace tool::show {

struct colour {
  uint8_t blue = 0, green = 0, red = 0;
};

namespace ink {
constexpr colour white = {255, 255, 255}, grey = {128, 128, 128}, red = {64, 64, 255},
                 yellow = {64, 224, 255}, dark = {40, 40, 40};
}

class canvas {
 public:
  static constexpr int glyph_width = 8, glyph_height = 13;

  explicit canvas(extent size, colour filled = {})
      : size_(size), pixels_(static_cast<size_t>(size.width * size.height * 4)) {
    fill({0, 0}, size, filled);
  }

  extent size() const { return size_; }
  uint8_t *row(int64_t y) { return &pixels_[static_cast<size_t>(y * size_.width * 4)]; }
  const uint8_t *row(int64_t y) const { return &pixels_[static_cast<size_t>(y * size_.width * 4)]; }
  colour at(position p) const {
    const uint8_t *pixel = row(p.y) + 4 * p.x;
    return {pixel[0], pixel[1], pixel[2]};
  }

  // Everything is cut at the edges.
  void set(position at, colour colour);
  void fill(position at, extent size, colour colour);
  void frame(position at, extent size, colour colour);
  void line(position from, position to, colour colour);
  void text(position at, std::string_view text, colour colour);  // ASCII; other bytes become ?
  void copy(position at, const canvas &from);
  void dim(position at, extent size);  // a third of the light

 private:
  extent size_;
  std::vector<uint8_t> pixels_;
};

}  // namespace tool::show
