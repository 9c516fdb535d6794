// BMP files: the entry of the table of formats.
#pragma once

#include "format.hpp"

namespace tool {

extern const file_format bmp_format, ico_format;

// Pixels that bitmaps hold, in BMP and AVI files.
bool is_bitmap(const qvimagedata &data);
constexpr char bitmap_types[] = "8-bit samples, or a single one of 1 or 4 bits";

// The resolution as the library writes it into BMP and AVI files.
void set_pixels_a_metre(qvimagefileinfo &info);

}  // namespace tool
