// A page's pixels as its image presents them, row by row or in parts of rows.
#pragma once

#include <cstdint>

#include <qvimage/kernel.h>

#include "core/owned.hpp"
#include "files/rows/row_steps.hpp"
#include "files/tiff/directory_read.hpp"
#include "files/tiff/strip_rows.hpp"

namespace qvim::tiff {

class page_rows {
 public:
  page_rows(bufio *file, const format *f) : file_(file), format_(f), strips_(file, f) {}

  // Turns to a page whose pixels have so many bytes; colour maps are expanded when their entries are given.
  // 0; -2 for memory and for rows too long for any; -10 for rows longer than the file can hold; -11.
  [[nodiscard]] int32_t start(const page &p, const directory &d, uint32_t pixel_bytes,
                              const uint8_t *colours);

  uint32_t width() const { return width_; }
  uint32_t height() const { return height_; }
  // Can any part of a row be had by itself?
  bool plain() const { return plain_; }

  // Pixels of the page, from (x, y) on: n of them along the row; so many whole rows. They must lie inside the
  // page. 0, or -10, -7, -2.
  [[nodiscard]] int32_t read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to);
  // *done says how many rows came before a failure.
  [[nodiscard]] int32_t read_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done);
  // Where pixels stand until the next call: *n is lowered to how many can be had at once.
  [[nodiscard]] int32_t view(uint32_t y, uint32_t x, uint32_t *n, const uint8_t **pixels);

 private:
  int32_t allocate_rows(const page &p);
  int32_t read_plain(uint32_t y, uint32_t x, uint32_t n, uint8_t *to);
  int32_t read_stored_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done);
  int32_t fetch_rows(uint32_t y, uint32_t most, uint8_t *to, uint32_t *count);
  void finish_rows(uint8_t *samples, uint32_t rows) const;
  int32_t make_row(uint32_t y, uint8_t *to);

  bufio *file_;
  const format *format_;
  strip_rows strips_;
  row_steps steps_;
  npfclx_fn *recolour_ = nullptr;
  const uint8_t *colours_ = nullptr;
  uint32_t width_ = 0, height_ = 0;
  uint64_t pixel_bytes_ = 0;
  // Pixels are the file's bytes, but for steps in place: any part of a row can be read by itself.
  bool plain_ = false;

  array<uint8_t> raw_;      // a row as it is stored, where samples differ from it
  array<uint8_t> samples_;  // a row of samples, where pixels differ from them
  array<uint8_t> pixels_;   // a row of pixels, for parts of it
  uint64_t cached_ = 0;     // 1 + the row in pixels_
  uint8_t part_[2048];      // parts of plain rows
};

}  // namespace qvim::tiff
