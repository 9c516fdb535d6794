// Rows out of any image, for those who write files of it.
#pragma once

#include <cstdint>

#include <qvimage/record.h>

#include "core/dimension.hpp"
#include "core/progress.hpp"

namespace qvim {

// Before a file is opened: -1 for an image that says of itself what no pixels can have, or without rows.
[[nodiscard]] int32_t judge(const qvimage &image);

class image_rows {
 public:
  // Rows of the image's window, told to the callback one by one, counted from `first`.
  image_rows(qvimage &image, const progress &told, uint32_t first = 1)
      : image_(image),
        told_(told),
        first_(first),
        pixel_bytes_(uint32_t(image.f.pixelsize)),
        width_(uint32_t(width_of(image.wind))),
        height_(uint32_t(height_of(image.wind))) {}

  uint32_t height() const { return height_; }

  // Sets up the image's runs in that mode: all pixies or the first so many, in its own type, significant bits
  // at the low end. 0, or the image's code; -1 for images that have no runs.
  [[nodiscard]] int32_t set_up(uint32_t mode = 0) { return set_up(mode, image_.d.pixies); }
  [[nodiscard]] int32_t set_up(uint32_t mode, int32_t pixies);

  // Tells of a row and reads it whole: row y, the first being 0, as one after `before` others. `row` has room
  // for the pixels set up. 0; the callback's answer when that is not 0; the code that the image keeps of why
  // it stopped short, or -7.
  [[nodiscard]] int32_t fetch(uint8_t *row, uint32_t y, uint32_t before);
  [[nodiscard]] int32_t fetch(uint8_t *row, uint32_t y) { return fetch(row, y, y); }

 private:
  qvimage &image_;
  const progress told_;
  const uint32_t first_;
  uint32_t pixel_bytes_;
  const uint32_t width_, height_;
};

}  // namespace qvim
