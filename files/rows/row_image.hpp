// Read-only images over files, in two and three dimensions: what formats bring is a source of rows.
#pragma once

#include <cstdint>

#include <qvimage/record.h>

#include "files/rows/row_source.hpp"

namespace qvim {

struct row_image {
  const char *device;
  uint32_t width, height;
  uint32_t planes;  // of a 3-D image
  qvimagedata data;
  qvimagehints hints;
};

// Makes an image that reads from the source for as long as that lives. Planes smaller than the image have
// zeros beyond their sides, larger ones are cropped.
void present(qvimage *im, const row_image &form, row_source &source);
void present(qvimage3 *im, const row_image &form, row_source &source);

}  // namespace qvim
