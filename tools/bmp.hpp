// BMP files: the entry of the table of formats.
#pragma once

#include "format.hpp"

namespace tool {

extern const file_format bmp_format;

}  // namespace tool
