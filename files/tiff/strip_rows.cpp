// The rows of a page as its strips hold them.
#include "files/tiff/strip_rows.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/codec/codec.hpp"
#include "files/rows/samples.hpp"
#include "files/stream/bufio.hpp"

namespace qvim::tiff {

int32_t strip_rows::start(const page &p, const directory &d) {
  in_strip_ = false;
  const row_form form = rows_of(p);
  const uint32_t compression = p.scalar[Compression];
  // Pages of a stack are mostly alike: their codec stays.
  if (compression != compression_ || form.width != form_.width || form.samples != form_.samples ||
      form.bits != form_.bits) {
    compression_ = uncompressed;
    if (const int32_t code = codec_.start(compression, form); code < 0)
      return code == QVERR_USAGE
                 ? because(QVERR_UNSUPPORTED, {"compression ", compression, " of rows of ", form.width,
                                               " pixels of ", form.bits, " bits is not read"})
                 : code;
    compression_ = compression;
    form_ = form;
  }
  row_bytes_ = form.bytes();
  ahead_count_ = 0;
  rows_ahead_ = codec_ && row_bytes_ <= short_row ? uint32_t(room_ahead / row_bytes_) : 0;
  if (rows_ahead_ && ahead_.size() == 0 && !ahead_.allocate(room_ahead)) return QVERR_MEMORY;
  height_ = p.height();
  rows_per_strip_ = p.scalar[RowsPerStrip];
  bits_reversed_ = p.bits_reversed();
  offsets_.assign(d.at[StripOffsets]);
  byte_counts_.assign(d.at[StripByteCounts]);
  return 0;
}

int32_t strip_rows::locate(uint32_t y, uint32_t most, uint64_t *position, uint32_t *count) {
  const uint64_t length = file_->filelen;
  uint64_t strip = y / rows_per_strip_;
  uint32_t row = y % rows_per_strip_;
  uint64_t end = offsets_[strip];
  if (const int32_t code = bufio_err(file_); code < 0) return code;
  if (end > length || row > (length - end) / row_bytes_)
    return because(QVERR_FORMAT, {"lies beyond the file's ", length, " bytes"});
  *position = end += row * row_bytes_;
  uint64_t total = 0;
  while (true) {
    const uint64_t wanted =
        std::min({rows_per_strip_ - row, height_ - y - uint32_t(total), most - uint32_t(total)});
    const uint64_t n = std::min(wanted, (length - end) / row_bytes_);
    total += n;
    end += n * row_bytes_;
    row = 0;
    if (n < wanted || total == most || ++strip == offsets_.size() || offsets_[strip] != end) break;
  }
  *count = std::max(uint32_t(total), 1u);  // of a row that the file cuts off the beginning may be there
  return bufio_err(file_);
}

int32_t strip_rows::at_row(uint32_t y, int32_t code) {
  if (code >= 0) return code;
  const uint64_t strip = y / rows_per_strip_;
  return within({"strip ", strip + 1, " at byte ", offsets_[strip]}, within({"row ", y + uint64_t{1}}, code));
}

int32_t strip_rows::begin_strip(uint32_t strip) {
  in_strip_ = false;
  const uint64_t offset = offsets_[strip];
  const uint64_t length = file_->filelen;
  uint64_t count = byte_counts_.size() ? byte_counts_[strip] : length;
  if (const int32_t code = bufio_err(file_); code < 0) return code;
  if (offset > length) return because(QVERR_FORMAT, {"lies beyond the file's ", length, " bytes"});
  count = std::min(count, length - offset);
  if (compression_ == lzw && count >= 2) {
    uint8_t first[2];
    file_->pos = offset;
    read_bytes(*file_, first, 2);
    if (bits_reversed_) reverse_bit_order(first, 2);
    if (lzw_bits_reversed(first[0], first[1])) return because(QVERR_FORMAT, {lzw_reversed});
  }
  if (const int32_t code = codec_.reset(); code < 0) return code;
  in_ = {};
  fed_ = start_ = offset;
  end_ = offset + count;
  padding_ = 0;
  strip_ = strip;
  next_row_ = 0;
  in_strip_ = true;
  return 0;
}

// The codec takes the file's bytes where they lie in the resident block, or a copy whose bits are reversed.
// Others may have moved the block since the last row, so it is asked for anew each time.
int32_t strip_rows::decode_next(uint32_t count, uint8_t *to) {
  codecstream out{};
  out.next = out.start = to;
  out.end = to + count * row_bytes_;
  int32_t result = 0;
  while (out.next < out.end && result == 0) {
    uint8_t nothing = 0, *bytes = &nothing;
    file_->pos = fed_;
    // The predictive coder looks at bits behind those that it needs: a sound strip has it use up to two bytes
    // that are not there.
    static constexpr uint64_t most_padding = 2;
    const bool pads = fed_ >= end_ && compression_ == arithmetic;
    uint64_t n = fed_ < end_ ? std::min(bufio_ptr2(file_, end_ - fed_, 'r', &bytes), end_ - fed_) : 0;
    uint8_t copy[1024];
    if (bits_reversed_ && n) {
      n = std::min(n, uint64_t{sizeof copy});
      std::memcpy(copy, bytes, n);
      reverse_bit_order(copy, n);
      bytes = copy;
    }
    uint8_t zeros[most_padding] = {};
    if (pads) {
      bytes = zeros;
      n = most_padding - padding_;
    }
    in_.start = in_.next = bytes;
    in_.end = bytes + n;
    in_.more = compression_ == arithmetic || fed_ + n < end_;
    const uint8_t *const before = out.next;
    const int32_t code = codec_.decode(&in_, &out);
    const uint64_t taken = uint64_t(in_.next - bytes);
    (pads ? padding_ : fed_) += taken;
    result = bufio_err(file_);
    if (result < 0 || out.next == out.end) break;
    const bool stuck = taken == 0 && out.next == before;
    if (code == QVERR_MEMORY || code == QVERR_FORMAT)
      result = code;
    else if (code != 0 || stuck)
      result = because(QVERR_FORMAT, {"the strip's data end here, after ", fed_ - start_, " bytes"});
  }
  next_row_ += uint32_t(uint64_t(out.next - to) / row_bytes_);
  return result;
}

// Decodes up to a row of the strip, into any room.
int32_t strip_rows::pass_over(uint32_t row, uint32_t room, uint8_t *to) {
  if (rows_ahead_ && next_row_ < row) {
    ahead_count_ = 0;
    room = rows_ahead_;
    to = ahead_.data();
  }
  int32_t code = 0;
  while (code == 0 && next_row_ < row) code = decode_next(std::min(row - next_row_, room), to);
  return code;
}

// How many rows from this one on were decoded ahead and are delivered.
uint32_t strip_rows::take_ahead(uint32_t strip, uint32_t row, uint32_t most, uint8_t *to) const {
  const uint32_t passed = row - ahead_first_;
  if (strip != ahead_strip_ || row < ahead_first_ || passed >= ahead_count_) return 0;
  const uint32_t count = std::min(most, ahead_count_ - passed);
  std::memcpy(to, ahead_.data() + passed * row_bytes_, count * row_bytes_);
  return count;
}

int32_t strip_rows::decode(uint32_t y, uint32_t most, uint8_t *to, uint32_t *count) {
  const uint32_t strip = y / rows_per_strip_, row = y % rows_per_strip_;
  if ((*count = take_ahead(strip, row, most, to)) > 0) return 0;
  if (!in_strip_ || strip_ != strip || next_row_ > row)
    if (const int32_t code = begin_strip(strip); code < 0) return code;
  int32_t code = pass_over(row, most, to);
  const uint32_t left = std::min(rows_per_strip_ - row, height_ - y), wanted = std::min(most, left);
  const bool is_short = wanted < rows_ahead_;
  if (is_short) ahead_count_ = 0;
  if (code == 0) code = decode_next(wanted, is_short ? ahead_.data() : to);
  if (code < 0) in_strip_ = false;
  if (next_row_ <= row) return code;
  *count = next_row_ - row;
  if (is_short) {
    std::memcpy(to, ahead_.data(), *count * row_bytes_);
    ahead_strip_ = strip;
    ahead_first_ = row;
    ahead_count_ = *count;
    if (code == 0) decode_ahead(std::min(left, rows_ahead_) - wanted);
  }
  return code;
}

// A failure behind the rows that were asked for is met again when its row is.
void strip_rows::decode_ahead(uint32_t rows) {
  const quiet_reason quiet;
  if (rows && decode_next(rows, ahead_.data() + ahead_count_ * row_bytes_) < 0) {
    bufio_errclear(file_);
    in_strip_ = false;
  }
  ahead_count_ = next_row_ - ahead_first_;
}

}  // namespace qvim::tiff
