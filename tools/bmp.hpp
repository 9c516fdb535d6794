// BMP files: the entry of the table of formats.
#pragma once

#include "format.hpp"

namespace tool {

extern const file_format bmp_format;

// The resolution as the library writes it into BMP and AVI files.
void set_pixels_a_metre(qvimagefileinfo &info);

}  // namespace tool
