// An image's rows into a stream.
#include "files/rows/write_rows.hpp"

#include <algorithm>
#include <cstring>

#include "files/stream/bufio.hpp"
#include "files/stream/number_writer.hpp"

namespace qvim {

uint8_t *place_in_block(bufio &stream, uint64_t bytes) {
  const uint64_t room = stream.bufsize - (stream.pos & (stream.bufsize - 1));
  uint8_t *place;
  return bytes <= room && bufio_ptr2(&stream, bytes, 'w', &place) == bytes ? place : nullptr;
}

namespace {

// All the rows of an image on their way into a stream.
struct rows_writer {
  bufio &stream;
  image_rows &rows;
  row_encoder &encoder;
  const row_sequence &sequence;
  const uint64_t pitch = encoder.bytes() + sequence.padding;
  uint32_t done = 0;

  uint32_t left() const { return rows.height() - done; }

  // So many of the next rows as lie in the stream's block together.
  uint32_t together() const {
    const uint64_t room = stream.bufsize - (stream.pos & (stream.bufsize - 1));
    return encoder.in_place() ? uint32_t(std::min<uint64_t>(left(), room / pitch)) : 0;
  }

  int32_t fetch_together(uint32_t count, uint8_t *place) {
    const uint32_t first = sequence.bottom_up ? left() - count : done;
    for (uint32_t i = 0; i < count; i++) {
      uint8_t *const row = place + (sequence.bottom_up ? count - 1 - i : i) * pitch;
      if (const int32_t code = rows.fetch(row, first + i, done + i); code != 0) return code;
      encoder.encode(row);
      std::memset(row + encoder.bytes(), 0, sequence.padding);
    }
    done += count;
    return 0;
  }

  int32_t write_one() {
    const uint32_t y = sequence.bottom_up ? left() - 1 : done;
    if (const int32_t code = rows.fetch(encoder.row(), y, done); code != 0) return code;
    write_bytes(stream, encoder.encode(), encoder.bytes());
    if (sequence.padding) number_writer(stream, std::endian::little).zeros(sequence.padding);
    done++;
    return 0;
  }

  int32_t write() {
    while (left() > 0) {
      const uint32_t count = together();
      uint8_t *const place = count ? place_in_block(stream, count * pitch) : nullptr;
      if (const int32_t code = place ? fetch_together(count, place) : write_one(); code != 0) return code;
      if (const int32_t code = bufio_err(&stream); code < 0) return code;
    }
    return 0;
  }
};

}  // namespace

int32_t write_rows(bufio &stream, image_rows &rows, row_encoder &encoder, const row_sequence &sequence) {
  return rows_writer{stream, rows, encoder, sequence}.write();
}

}  // namespace qvim
