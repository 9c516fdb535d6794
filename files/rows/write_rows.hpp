// An image's rows into a stream, as a file has them.
#pragma once

#include <cstdint>

#include <qvimage/bufio.h>

#include "files/rows/image_rows.hpp"
#include "files/rows/row_encoder.hpp"

namespace qvim {

// A place at the stream's position for so many bytes, which are to be filled in there; null where they would
// cross the end of a block.
uint8_t *place_in_block(bufio &stream, uint64_t bytes);

// How rows follow each other in a file.
struct row_sequence {
  bool bottom_up = false;  // the image's last row comes first
  uint32_t padding = 0;    // zero bytes behind each row
};

// Writes all rows of the image, one behind the other, at the stream's position. Rows whose bytes stay in
// place are fetched many at a time to where they belong in the stream's block, and in the image's order: on
// the way through memory backwards every row would wait for its first bytes. 0; what fetching them answers
// (image_rows); what the stream answers.
[[nodiscard]] int32_t write_rows(bufio &stream, image_rows &rows, row_encoder &encoder,
                                 const row_sequence &sequence = {});

}  // namespace qvim
