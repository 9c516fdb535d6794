// Colour maps of TIFF pages at full depth. The library's palette images have the depth of the indices, so
// that a page of 4-bit indices would lose all but 16 levels of its colours.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <qvimage/record.h>

namespace tool {

// The colour map of a page as a palette image over memory of its own.
class deep_palette {
 public:
  deep_palette(const std::string &path, int64_t page);
  deep_palette(const deep_palette &) = delete;
  deep_palette &operator=(const deep_palette &) = delete;
  int32_t colours() const { return static_cast<int32_t>(entries_.size() / 3); }  // 0: no map of 16-bit values
  const qvimage &image() const { return image_; }

 private:
  alignas(8) qvimage image_;
  std::vector<uint16_t> entries_;  // three of each colour
};

}  // namespace tool
