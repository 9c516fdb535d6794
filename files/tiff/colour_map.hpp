// Colour maps as palettes: entries of three components in the page's pixie type.
#pragma once

#include <cstdint>

#include "core/owned.hpp"
#include "files/tiff/directory_read.hpp"

namespace qvim::tiff {

// Reads the map of a page that has one: 2^bits entries. -10 for map values of other than 1, 2 or 4 bytes, -7,
// -2.
[[nodiscard]] int32_t read_colour_map(bufio *file, const format &f, const page &p, const directory &d,
                                      array<uint8_t> *entries);

}  // namespace qvim::tiff
