// Images over rasters without a header.
#pragma once

#include <qvimage/bufio.h>
#include <qvimage/record.h>

namespace qvim::raw {

// Fills the record, or leaves it alone: 0, -1 or -5 as qvimage_filebufio says.
[[nodiscard]] int32_t present(qvimage *im, bufio *stream, const uint32_t size[2], const qvimagedata *d);

}  // namespace qvim::raw
