// Rows that stand in a file sample by sample.
#include "files/rows/raster.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/npfbix.h>

#include "files/stream/bufio.hpp"

namespace qvim {

namespace {

constexpr uint64_t cached_bytes = 1 << 18;  // what stays in a processor's cache from one step to the next

}  // namespace

void raster::set_layout(const layout &l) {
  layout_ = l;
  steps_ = row_steps(l.form, l.changes);
  pixel_bytes_ = l.form.samples * uint64_t(steps_.sample_bytes());
  stored_bytes_ = steps_.unpacks() ? uint64_t(l.form.samples) * l.form.bits : 8 * pixel_bytes_;
}

// Whole samples, side by side.
int32_t raster::read_samples(uint64_t position, uint64_t count, uint8_t *to) {
  const uint64_t bytes = count * uint64_t(steps_.sample_bytes());
  file_->pos = position;
  if (layout_.component_pitch)
    read_past_block(*file_, to, bytes);
  else
    read_bytes(*file_, to, bytes);
  if (steps_.finishes()) steps_.finish(to, count);
  return bufio_err(file_);
}

// Samples of few bits, from a byte of theirs on.
int32_t raster::unpack(uint64_t position, uint64_t count, uint8_t *to) {
  const uint64_t bits = layout_.form.bits, most = part_bytes / bits * 8;
  for (uint64_t n; count > 0;
       count -= n, position += n * bits / 8, to += n * uint64_t(steps_.sample_bytes())) {
    n = std::min(count, most);
    file_->pos = position;
    read_bytes(*file_, packed_, (n * bits + 7) / 8);
    steps_.unpack(packed_, to, n);
    if (steps_.finishes()) steps_.finish(to, n);
  }
  return bufio_err(file_);
}

// Whole samples of pictures of their own, put side by side.
int32_t raster::gather(uint64_t position, uint32_t n, uint8_t *to) {
  const auto size = uint64_t(steps_.sample_bytes());
  int32_t code = 0;
  for (uint32_t count; n > 0 && code == 0; n -= count, position += count * size, to += count * pixel_bytes_) {
    count = uint32_t(std::min<uint64_t>(n, part_bytes / size));
    for (uint32_t s = 0; s < layout_.form.samples && code == 0; s++) {
      code = read_samples(position + s * layout_.component_pitch, count, packed_);
      npfbix_zntozn_n(packed_, to + s * size, int64_t(size), int64_t(pixel_bytes_), count, uint32_t(size), 0);
    }
  }
  return code;
}

int32_t raster::read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) {
  const uint64_t samples = layout_.form.samples;
  if (layout_.component_pitch) return gather(position(y) + x * uint64_t(steps_.sample_bytes()), n, to);
  if (!steps_.unpacks()) return read_samples(position(y) + x * pixel_bytes_, n * samples, to);
  while (x % 8 && n > 0) {  // up to a pixel that begins with a byte
    uint32_t count = std::min(n, 8 - x % 8);
    const uint8_t *pixels;
    if (const int32_t code = view(y, x, &count, &pixels); code < 0) return code;
    std::memcpy(to, pixels, count * pixel_bytes_);
    to += count * pixel_bytes_;
    x += count;
    n -= count;
  }
  return n ? unpack(position(y) + x / 8 * stored_bytes_, n * samples, to) : 0;
}

int32_t raster::read_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done) {
  const uint64_t row_bytes = layout_.form.width * pixel_bytes_;
  // Rows without gaps are read many at once.
  const bool at_once =
      !steps_.unpacks() && !layout_.component_pitch && layout_.pitch == row_bytes && !layout_.bottom_up;
  const uint64_t portion = !at_once            ? 1
                           : steps_.finishes() ? std::max(cached_bytes / row_bytes, uint64_t{1})
                                               : rows;
  int32_t code = 0;
  for (*done = 0; *done < rows && code == 0;) {
    const uint32_t n = uint32_t(std::min(portion, uint64_t{rows - *done}));
    uint8_t *const at = to + *done * row_bytes;
    code = at_once ? read_samples(position(y + *done), n * layout_.form.values(), at)
                   : read(y + *done, 0, layout_.form.width, at);
    if (code == 0) *done += n;
  }
  return code;
}

int32_t raster::view(uint32_t y, uint32_t x, uint32_t *n, const uint8_t **pixels) {
  const uint32_t most = uint32_t(part_bytes / pixel_bytes_);
  const uint32_t before = steps_.unpacks() ? x % 8 : 0;  // on the way to a pixel that begins with a byte
  *n = std::min(*n, most - before);
  *pixels = part_ + before * pixel_bytes_;
  if (before == 0) return read(y, x, *n, part_);
  return unpack(position(y) + x / 8 * stored_bytes_, uint64_t(before + *n) * layout_.form.samples, part_);
}

}  // namespace qvim
