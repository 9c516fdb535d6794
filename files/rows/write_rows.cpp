// An image's rows into a stream.
#include "files/rows/write_rows.hpp"

#include "files/stream/bufio.hpp"
#include "files/stream/number_writer.hpp"

namespace qvim {

uint8_t *place_in_block(bufio &stream, uint64_t bytes) {
  const uint64_t room = stream.bufsize - (stream.pos & (stream.bufsize - 1));
  uint8_t *place;
  return bytes <= room && bufio_ptr2(&stream, bytes, 'w', &place) == bytes ? place : nullptr;
}

int32_t write_rows(bufio &stream, image_rows &rows, row_encoder &encoder, const row_sequence &sequence) {
  const uint64_t bytes = encoder.bytes();
  const uint32_t height = rows.height();
  for (uint32_t i = 0; i < height; i++) {
    const uint32_t y = sequence.bottom_up ? height - 1 - i : i;
    uint8_t *const place = encoder.verbatim() ? place_in_block(stream, bytes) : nullptr;
    if (const int32_t code = rows.fetch(place ? place : encoder.row(), y, i); code != 0) return code;
    if (!place) write_bytes(stream, encoder.encode(), bytes);
    if (sequence.padding) number_writer(stream, std::endian::little).zeros(sequence.padding);
    if (const int32_t code = bufio_err(&stream); code < 0) return code;
  }
  return 0;
}

}  // namespace qvim
