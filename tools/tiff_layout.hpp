// How a TIFF page is cut: into strips, which make the file's bytes, and into bands of strips that threads
// code at once, which do not.
#pragma once

#include <cstdint>

#include <qvimage/fileinfo.h>

namespace tool {

struct tiff_layout {
  uint64_t strip;  // bytes, as options of the writer say it; follows from the page and its options alone
  int32_t bands;   // of as many whole strips each
};

// `data` describes the pixels. Threads are of use where pages are coded or, as `computed` says, made.
tiff_layout tiff_layout_of(const qvimagedata &data, int32_t width, int32_t height,
                           const qvimagefileinfo &options, bool computed, unsigned threads);

}  // namespace tool
