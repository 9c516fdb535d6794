// TIFF files: the entry of the table of formats, and its parts.
#pragma once

#include "format.hpp"

namespace tool {

extern const file_format tiff_format;

// tiff_tags.cpp
std::unique_ptr<page_extras> tiff_extras(const std::string &path);
// The Orientation of the first page of a TIFF file inside another file, as EXIF is; 1 where it says none.
int orientation_in(const std::string &path, uint64_t position);
// tiff_writer.cpp
std::unique_ptr<writer> create_tiff(const std::string &path, const std::string &shown, bool append,
                                    int64_t pages);
bool compression_is_arithmetic(uint32_t compression);

}  // namespace tool
