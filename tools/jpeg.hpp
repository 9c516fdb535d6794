// JPEG files: the entry of the table of formats.
#pragma once

#include "format.hpp"

namespace tool {

extern const file_format jpeg_format;

// Also of motion JPEG.
constexpr option quality_option = {"--quality", "N",
                                   "of JPEG pictures, 1 to 100; else IN's, or 90 where it has none"};
void apply_quality(const arguments &arguments, qvimagefileinfo &info);  // throws usage_error

// jpeg_markers.cpp
std::unique_ptr<page_extras> jpeg_extras(const std::string &path);

}  // namespace tool
