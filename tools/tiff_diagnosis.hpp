// What exactly is wrong with a TIFF page; the library tells only the kind of fault.
#pragma once

#include <cstdint>
#include <string>

namespace tool {

// For a page that could not be opened with this code.
std::string tiff_diagnosis(const std::string &path, int64_t page, int32_t code);

}  // namespace tool
