// How a TIFF page is cut: into strips, and into bands of strips that threads code at once.
#pragma once

#include <cstdint>

#include <qvimage/fileinfo.h>

namespace tool {

struct tiff_layout {
  int32_t bands;
  uint64_t strip;  // bytes, as options of the writer say it
};

// Follows from the page and its options alone, never from the number of threads, because bands begin with a
// strip of their own. `data` describes the pixels; `computed` as in writer::add.
tiff_layout tiff_layout_of(const qvimagedata &data, int32_t width, int32_t height,
                           const qvimagefileinfo &options, bool computed);

}  // namespace tool
