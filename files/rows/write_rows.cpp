// An image's rows into a stream.
#include "files/rows/write_rows.hpp"

#include "files/stream/bufio.hpp"

namespace qvim {

uint8_t *place_in_block(bufio &stream, uint64_t bytes) {
  const uint64_t room = stream.bufsize - (stream.pos & (stream.bufsize - 1));
  uint8_t *place;
  return bytes <= room && bufio_ptr2(&stream, bytes, 'w', &place) == bytes ? place : nullptr;
}

int32_t write_rows(bufio &stream, image_rows &rows, row_encoder &encoder) {
  const uint64_t bytes = encoder.bytes();
  for (uint32_t y = 0; y < rows.height(); y++) {
    uint8_t *const place = encoder.verbatim() ? place_in_block(stream, bytes) : nullptr;
    if (const int32_t code = rows.fetch(place ? place : encoder.row(), y); code != 0) return code;
    if (!place) write_bytes(stream, encoder.encode(), bytes);
    if (const int32_t code = bufio_err(&stream); code < 0) return code;
  }
  return 0;
}

}  // namespace qvim
