// An image's rows into a stream, as a file has them.
#pragma once

#include <cstdint>

#include <qvimage/bufio.h>

#include "files/rows/image_rows.hpp"
#include "files/rows/row_encoder.hpp"

namespace qvim {

// A place at the stream's position for so many bytes, which are to be filled in there; null where they would cross the
// end of a block.
uint8_t *place_in_block(bufio &stream, uint64_t bytes);

// Writes the image's rows from its first to its last, one behind the other, at the stream's position. 0; what fetching
// them answers (image_rows); what the stream answers.
[[nodiscard]] int32_t write_rows(bufio &stream, image_rows &rows, row_encoder &encoder);

}  // namespace qvim
