// The rows of a page as its strips hold them: uncompressed bytes anywhere in the file, or a strip decoded in
// sequence.
#pragma once

#include <cstdint>

#include "files/tiff/directory_read.hpp"
#include "files/tiff/strip_codec.hpp"

namespace qvim::tiff {

class strip_rows {
 public:
  strip_rows(bufio *file, const format *f) : file_(file), offsets_(file, f), byte_counts_(file, f) {}

  // Turns to a page: 0, -2, or -11 for rows that the page's codec does not serve.
  [[nodiscard]] int32_t start(const page &p, const directory &d);

  // Must the bits of uncompressed bytes be reversed by whoever reads them?
  bool bits_reversed() const { return bits_reversed_; }
  bool compressed() const { return bool(codec_); }
  uint64_t row_bytes() const { return row_bytes_; }
  uint32_t height() const { return height_; }

  // Uncompressed pages: where row y stands in the file, and how many rows (up to `most`) follow each other
  // there from row y on. -10 when the file ends before them, -7.
  [[nodiscard]] int32_t locate(uint32_t y, uint32_t most, uint64_t *position, uint32_t *count);

  // Compressed pages: decodes row y and those after it in its strip, `most` at most, one behind the other.
  // The next rows of a strip go on from there, and so do those that have been decoded ahead; any other starts
  // again at the strip's beginning. *count says how many rows came, before a failure too: -10 for a broken or
  // short strip, -7, -2.
  [[nodiscard]] int32_t decode(uint32_t y, uint32_t most, uint8_t *to, uint32_t *count);

  // Names strip and row in the reason for a failure.
  int32_t at_row(uint32_t y, int32_t code);

 private:
  int32_t begin_strip(uint32_t strip);
  int32_t pass_over(uint32_t row, uint32_t room, uint8_t *to);
  int32_t decode_next(uint32_t count, uint8_t *to);
  void decode_ahead(uint32_t rows);
  uint32_t take_ahead(uint32_t strip, uint32_t row, uint32_t most, uint8_t *to) const;

  bufio *file_;
  file_array offsets_, byte_counts_;
  strip_codec codec_;
  uint32_t compression_ = uncompressed;
  row_form form_{};
  uint64_t row_bytes_ = 0;
  uint32_t height_ = 0, rows_per_strip_ = 1;
  bool bits_reversed_ = false;

  bool in_strip_ = false;                   // the codec is at the row below
  uint32_t strip_ = 0, next_row_ = 0;       // the row within the strip
  uint64_t start_ = 0, fed_ = 0, end_ = 0;  // in the file: the strip, the next byte for the codec, its end
  uint64_t padding_ = 0;                    // bytes that the codec took behind the end
  codecstream in_{};

  // Short rows are decoded many at once into a place of their own: a call of the codec costs more than they
  // do.
  static constexpr uint64_t short_row = 1024, room_ahead = 16384;
  array<uint8_t> ahead_;
  uint32_t rows_ahead_ = 0;  // that fit there; 0: none are decoded ahead
  uint32_t ahead_strip_ = 0, ahead_first_ = 0, ahead_count_ = 0;
};

}  // namespace qvim::tiff
