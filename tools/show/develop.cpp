#include "develop.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include <qvimage/memory.h>
#include <qvimage/views.h>

#include "../failure.hpp"

namespace tool::show {

namespace {

constexpr int pixel_bytes = 4;
constexpr colour no_number = {255, 0, 255};

// Rows that cannot be read, and those that have not been: a pattern that no picture has.
colour absent(raster::row_state state, int64_t x, int64_t y) {
  if (state == raster::missing) return ink::dark;
  return (x / 4 + y / 4) % 2 ? colour{0, 0, 160} : colour{0, 0, 80};
}

class developer {
 public:
  developer(const picture &picture, const development &how)
      : how_(how), values_(how.other ? picture.beside : picture.values), beside_(picture.beside) {
    levels_ = how.levels;
    if (how.difference > 0) levels_ = {0, (how.levels.white - how.levels.black) / how.difference};
    for (int i = 0; i < 256; i++) {
      const int grey = how.inverted ? 255 - i : i;
      const auto byte = static_cast<uint8_t>(grey);
      colours_[static_cast<size_t>(i)] = how.false_colours ? false_colour(grey) : colour{byte, byte, byte};
    }
  }

  canvas developed() const {
    canvas result({values_.columns, values_.rows});
    for (int64_t y = 0; y < values_.rows; y++) {
      const auto state = values_.states[static_cast<size_t>(y)];
      const bool there = state == raster::rough || state == raster::exact;
      for (int64_t x = 0; x < values_.columns; x++)
        result.set({x, y}, there ? colour_at(x, y) : absent(state, x, y));
    }
    return result;
  }

 private:
  int grey(int64_t x, int64_t y, int channel) const {
    const int64_t at = x * values_.channels + channel;
    if (how_.difference == 0) return levels_.of(values_.row(y)[at]);
    return levels_.of(std::abs(values_.row(y)[at] - beside_.row(y)[at]));
  }

  colour colour_at(int64_t x, int64_t y) const {
    if (values_.channels == 1) {
      const int value = grey(x, y, 0);
      return value < 0 ? no_number : colours_[static_cast<size_t>(value)];
    }
    const int blue = grey(x, y, 0), green = grey(x, y, 1), red = grey(x, y, 2);
    if (blue < 0 || green < 0 || red < 0) return no_number;
    const int flip = how_.inverted ? 255 : 0;
    return {static_cast<uint8_t>(blue ^ flip), static_cast<uint8_t>(green ^ flip),
            static_cast<uint8_t>(red ^ flip)};
  }

  const development how_;
  const raster &values_, &beside_;
  levels levels_;
  std::array<colour, 256> colours_;
};

uint32_t flags_of(const orientation &turned) {
  constexpr uint32_t transposed = 1, mirrored_y = 2, mirrored_x = 4;
  return (turned.transposed ? transposed : 0) | (turned.mirrored_x ? mirrored_x : 0) |
         (turned.mirrored_y ? mirrored_y : 0);
}

// The library's view turns what was developed in the page's own order.
canvas turned(canvas from, const orientation &how) {
  if (how == orientation{}) return from;
  canvas to(how.of(from.size()));
  alignas(8) qvimage source, view;
  const int32_t size[2] = {static_cast<int32_t>(from.size().width), static_cast<int32_t>(from.size().height)};
  check(qvimage_memory(&source, from.row(0), size, 0, QVIM_UINT8, 0, pixel_bytes, QVIM_HINT_BGRPAD, 0),
        "memory", "");
  check(qvimage_rotate_filt(&view, &source, 0, flags_of(how)), "memory", "");
  view.ioset(&view, 0, QVIM_UINT8, (1 << pixel_bytes) - 1);
  for (int64_t y = 0; y < to.size().height; y++)
    view.ioread(&view, 0, to.row(y), static_cast<uint32_t>(to.size().width), 0, static_cast<int32_t>(y));
  return to;
}

}  // namespace

colour false_colour(int grey) {
  const auto part = [&](int from) { return static_cast<uint8_t>(std::clamp(3 * grey - from, 0, 255)); };
  return {part(2 * 255), part(255), part(0)};
}

canvas develop(const picture &picture, const development &how) {
  if (picture.values.columns == 0 || picture.values.rows == 0) return canvas({});
  return turned(developer(picture, how).developed(), picture.wanted.turned);
}

}  // namespace tool::show
