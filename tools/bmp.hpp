// BMP files: the entry of the table of formats.
#pragma once

#include "format.hpp"

namespace tool {

extern const file_format bmp_format, ico_format;

// Pixels that bitmaps hold, in BMP and AVI files.
bool is_bitmap(const qvimagedata &data);
constexpr holdings bitmaps_in(const char *files) {
  return {.files = files,
          .type = is_bitmap,
          .types = "8-bit samples, or a single one of 1 or 4 bits",
          .way = "--bits 8",
          .palettes = true,
          .grey_or_rgb = true};
}

// The resolution as the library writes it into BMP and AVI files.
void set_pixels_a_metre(qvimagefileinfo &info);

}  // namespace tool
