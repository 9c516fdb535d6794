#include "files/jpeg/pixel_rows.hpp"

#include <algorithm>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "core/result.hpp"

namespace qvim::jpeg {

int32_t pixel_rows::start(bufio *stream, const head &h) {
  stream_ = stream;
  end_ = h.data_end;
  components_ = h.components;
  mcus_ = (h.width + 7) / block_side;
  groups_ = (h.height + 7) / block_side;
  // The transform of eight pixels may write some bytes beyond.
  pitch_ = uint64_t(mcus_) * block_side * components_ + 16;
  if (!begins_.allocate(groups_ + 1u) || !lines_.allocate_zeroed(block_side * pitch_) ||
      !tables_.allocate(2 * table_slots))
    return QVERR_MEMORY;
  begins_[0] = {{h.data_begin, 0, 0, 0}, {}};
  for (uint32_t slot = 0; slot < quantisation_slots; slot++)
    if (h.has_quantisation[slot]) set_scales(h.quantisation[slot], scales_[slot]);
  for (uint32_t i = 0; i < components_; i++) {
    const component &c = h.part[i];
    huffman_table &dc = tables_[2u * c.dc], &ac = tables_[2u * c.ac + 1];
    int32_t code = dc.set(huffman_table::kind::dc, h.dc[c.dc]);
    if (code == 0) code = ac.set(huffman_table::kind::ac, h.ac[c.ac]);
    if (code < 0) return code;
    of_[i] = {&dc, &ac};
    scale_of_[i] = &scales_[c.quantisation];
  }
  return 0;
}

void pixel_rows::to_lines(uint32_t first, uint32_t count) {
  uint8_t *const to = lines_.data() + uint64_t(first) * block_side * components_;
  if (components_ == 1)
    in_use(in_floats).inverse_grey(blocks_, extents_, count, scale_of_[0], to, pitch_);
  else
    in_use(in_floats).inverse_rgb(blocks_, extents_, count, scale_of_, to, pitch_);
}

// Decodes a group whose beginning is known, and remembers that of the next one; lines only where wanted.
int32_t pixel_rows::decode(uint32_t group, bool wanted) {
  start_of_group at = begins_[group];
  bit_reader in(stream_, end_, at.at);
  int32_t predictors[most_components];
  std::copy_n(at.predictors, most_components, predictors);
  if (wanted) held_ = none;
  for (uint32_t mcu = 0; mcu < mcus_; mcu += mcus_at_once) {
    const uint32_t count = std::min(mcus_at_once, mcus_ - mcu);
    const bool good = in_use(block_readers).read(in, count, components_, of_, predictors, blocks_, extents_);
    // Bits that could not be read may be the next group's, which begins where these blocks end.
    if (const int32_t code = bufio_err(stream_); code == QVERR_IO || code == QVERR_MEMORY) return code;
    if (!good)
      return because(QVERR_FORMAT, {"rows from ", group * block_side + 1, " on: broken or missing data"});
    if (wanted) to_lines(mcu, count);
  }
  if (wanted) held_ = group;
  if (group != known_) return 0;
  known_ = group + 1;
  at.at = in.where();
  std::copy_n(predictors, most_components, at.predictors);
  begins_[known_] = at;
  return 0;
}

int32_t pixel_rows::row(uint32_t y, const uint8_t **pixels) {
  const uint32_t group = y / block_side;
  if (group != held_) {
    while (known_ < group)
      if (const int32_t code = decode(known_, false); code < 0) return code;
    if (const int32_t code = decode(group, true); code < 0) return code;
  }
  *pixels = lines_.data() + y % block_side * pitch_;
  return 0;
}

}  // namespace qvim::jpeg
