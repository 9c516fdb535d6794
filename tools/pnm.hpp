// Portable anymaps (PBM, PGM, PPM): the entry of the table of formats.
#pragma once

#include "format.hpp"

namespace tool {

extern const file_format pnm_format;

}  // namespace tool
