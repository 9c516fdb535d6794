// Saves what is shown.
#pragma once

#include <cstdint>
#include <string>

#include "canvas.hpp"

namespace tool::show {

// Writes a TIFF file into the current folder, named after the file and the page; answers the name. Nothing is
// overwritten.
std::string save_beside(const std::string &file, int64_t page, const canvas &what);

// What a canvas would be as a file of a colour image.
void write_tiff(const std::string &path, const canvas &what);

}  // namespace tool::show
