// FITS files: the entry of the table of formats.
#pragma once

#include "format.hpp"

namespace tool {

extern const file_format fits_format;

}  // namespace tool
