// A page's pixels as its image presents them.
#include "files/tiff/page_rows.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/error.h>
#include <qvimage/npfclx.h>

#include "core/reason.hpp"
#include "files/rows/budget.hpp"
#include "files/rows/samples.hpp"
#include "files/stream/bufio.hpp"

namespace qvim::tiff {

namespace {

// The most bytes that a byte of a strip can stand for. LZW: a code of 12 bits, a string of 4096 - 258 + 1 at
// the end of a table that grew by one byte a code, so the average is far below; 1363 is the exact best. The
// predictive coder: 16384 is the highest total of its frequencies, so a sample costs at least log2(16384 /
// 16383) bits.
uint64_t best_ratio(uint32_t compression) {
  switch (compression) {
    case packbits: return 64;
    case lzw: return 1363;
    case arithmetic: return 90853;
    default: return 1;
  }
}

row_steps steps_of(const page &p, const format &f) {
  const row_form form = rows_of(p);
  const bool inverted = p.scalar[Photometric] == white_is_zero && p.sample_format()[0] == 1 &&
                        form.samples == 1 && !p.present[ColorMap];
  // The predictive coder stores two-byte samples low byte first in files of either order.
  return {form, {form.packed ? f.order() : std::endian::little, p.differenced(), inverted}};
}

npfclx_fn *expansion(int sample_bytes) {
  return sample_bytes == 1 ? npfclx1_BGRLut3toBGRx : npfclx2_BGRLut3toBGRx;
}

bool grow(array<uint8_t> &buffer, uint64_t bytes) { return buffer.size() >= bytes || buffer.allocate(bytes); }

}  // namespace

int32_t page_rows::start(const page &p, const directory &d, uint32_t pixel_bytes, const uint8_t *colours) {
  cached_ = 0;
  width_ = p.width();
  height_ = p.height();
  pixel_bytes_ = pixel_bytes;
  steps_ = steps_of(p, *format_);
  colours_ = colours;
  recolour_ = colours                                              ? expansion(steps_.sample_bytes())
              : p.scalar[Photometric] == ycbcr && p.samples() == 3 ? chroma_exchange(steps_.sample_bytes())
                                                                   : nullptr;
  plain_ = p.scalar[Compression] == uncompressed && !steps_.unpacks() && !recolour_;
  if (const int32_t code = allocate_rows(p); code < 0) return code;
  return strips_.start(p, d);
}

// A row is held against what the file can hold before anything is allocated for it, and all its forms
// together against a limit that only extreme compression passes.
int32_t page_rows::allocate_rows(const page &p) {
  const uint64_t length = file_->filelen, row_bytes = rows_of(p).bytes();
  if (row_bytes / best_ratio(p.scalar[Compression]) > length)
    return because(QVERR_FORMAT,
                   {"rows of ", row_bytes, " bytes, more than the file's ", length, " bytes can hold"});
  if (plain_) return 0;
  const uint64_t pixels = width_ * pixel_bytes_;
  const uint64_t raw = steps_.unpacks() || recolour_ ? row_bytes : 0;
  const uint64_t samples =
      steps_.unpacks() && recolour_ ? steps_.values() * uint64_t(steps_.sample_bytes()) : 0;
  if (pixels + raw + samples > read_budget(length))
    return because(QVERR_MEMORY, {"rows of ", row_bytes, " bytes, too many for a file of ", length});
  return grow(pixels_, pixels) && grow(raw_, raw) && grow(samples_, samples) ? 0 : QVERR_MEMORY;
}

int32_t page_rows::read_plain(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) {
  uint64_t position;
  uint32_t rows;
  if (const int32_t code = strips_.locate(y, 1, &position, &rows); code < 0) return strips_.at_row(y, code);
  file_->pos = position + x * pixel_bytes_;
  read_bytes(*file_, to, n * pixel_bytes_);
  if (strips_.bits_reversed()) reverse_bit_order(to, n * pixel_bytes_);
  if (steps_.finishes()) steps_.finish(to, n * pixel_bytes_ / uint64_t(steps_.sample_bytes()));
  return strips_.at_row(y, bufio_err(file_));
}

// Rows as they are stored, one behind the other: some or all of those asked for.
int32_t page_rows::fetch_rows(uint32_t y, uint32_t most, uint8_t *to, uint32_t *count) {
  if (strips_.compressed()) {
    const int32_t code = strips_.decode(y, most, to, count);
    return strips_.at_row(y + *count, code);
  }
  *count = 0;
  uint64_t position;
  uint32_t rows;
  if (const int32_t code = strips_.locate(y, most, &position, &rows); code < 0)
    return strips_.at_row(y, code);
  file_->pos = position;
  read_bytes(*file_, to, rows * strips_.row_bytes());
  if (strips_.bits_reversed()) reverse_bit_order(to, rows * strips_.row_bytes());
  const int32_t code = strips_.at_row(y, bufio_err(file_));
  if (code == 0) *count = rows;
  return code;
}

// Differences run along a row; everything else is done to any number of samples alike.
void page_rows::finish_rows(uint8_t *samples, uint32_t rows) const {
  if (!steps_.finishes()) return;
  for (uint32_t i = 0; i < rows; i++) steps_.finish(samples + i * strips_.row_bytes(), steps_.values());
}

// Rows whose samples take the room of their bytes come many at once, in portions that stay in the cache while
// something has still to be done to them.
int32_t page_rows::read_stored_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done) {
  const uint64_t row_bytes = strips_.row_bytes();
  const uint32_t portion =
      steps_.finishes() ? uint32_t(std::max(uint64_t{1}, (uint64_t{1} << 18) / row_bytes)) : rows;
  while (*done < rows) {
    uint8_t *const at = to + *done * row_bytes;
    uint32_t n;
    const int32_t code = fetch_rows(y + *done, std::min(rows - *done, portion), at, &n);
    finish_rows(at, n);
    *done += n;
    if (code < 0) return code;
  }
  return 0;
}

// Each step works in its own place only where the next one cannot work in the same.
int32_t page_rows::make_row(uint32_t y, uint8_t *to) {
  uint8_t *const raw = steps_.unpacks() || recolour_ ? raw_.data() : to;
  uint8_t *const samples = !recolour_ ? to : steps_.unpacks() ? samples_.data() : raw;
  uint32_t count;
  if (const int32_t code = fetch_rows(y, 1, raw, &count); code < 0) return code;
  if (steps_.unpacks()) steps_.unpack(raw, samples);
  if (steps_.finishes()) steps_.finish(samples, steps_.values());
  if (recolour_) {
    const uint64_t stride = colours_ ? uint64_t(steps_.sample_bytes()) : pixel_bytes_;
    recolour_(samples, to, stride, pixel_bytes_, width_, 0, colours_);
  }
  return 0;
}

int32_t page_rows::read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) {
  if (plain_) return read_plain(y, x, n, to);
  if (n == width_ && cached_ != y + uint64_t{1}) return make_row(y, to);
  const uint8_t *pixels;
  if (const int32_t code = view(y, x, &n, &pixels); code < 0) return code;
  std::memcpy(to, pixels, n * pixel_bytes_);
  return 0;
}

int32_t page_rows::read_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done) {
  *done = 0;
  if (!steps_.unpacks() && !recolour_) return read_stored_rows(y, rows, to, done);
  for (; *done < rows; ++*done)
    if (const int32_t code = make_row(y + *done, to + *done * width_ * pixel_bytes_); code < 0) return code;
  return 0;
}

int32_t page_rows::view(uint32_t y, uint32_t x, uint32_t *n, const uint8_t **pixels) {
  if (plain_) {
    *n = std::min(*n, uint32_t(sizeof part_ / pixel_bytes_));
    *pixels = part_;
    return read_plain(y, x, *n, part_);
  }
  if (cached_ != y + uint64_t{1}) {
    cached_ = 0;
    if (const int32_t code = make_row(y, pixels_.data()); code < 0) return code;
    cached_ = y + uint64_t{1};
  }
  *pixels = pixels_.data() + x * pixel_bytes_;
  return 0;
}

}  // namespace qvim::tiff
