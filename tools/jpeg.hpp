// JPEG files: the entry of the table of formats.
#pragma once

#include "format.hpp"

namespace tool {

extern const file_format jpeg_format;

// jpeg_markers.cpp
std::unique_ptr<page_extras> jpeg_extras(const std::string &path);

}  // namespace tool
