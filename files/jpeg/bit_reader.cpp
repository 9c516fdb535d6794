#include "files/jpeg/bit_reader.hpp"

#include <algorithm>

namespace qvim::jpeg {

// The stream's next block. Where one cannot be read, the data end for this reader: what follows must not take
// its place.
bool bit_reader::load() {
  if (position_ >= end_) return false;
  stream_->pos = position_;
  uint8_t *bytes;
  const uint64_t count = std::min(bufio_ptr2(stream_, 1, 'r', &bytes), end_ - position_);
  if (count == 0) {
    end_ = position_;
    return false;
  }
  next_ = bytes;
  limit_ = bytes + count;
  position_ += count;
  return true;
}

bool bit_reader::take(uint8_t *byte) {
  if (next_ == limit_ && !load()) return false;
  *byte = *next_++;
  return true;
}

void bit_reader::fill_by_bytes() {
  bits_ &= count_ ? ~uint64_t{0} << (64 - count_) : 0;
  while (count_ <= 56) {
    uint8_t byte = 0, zero;
    if (!take(&byte))
      beyond_ += 8;
    else if (byte == 0xFF)
      static_cast<void>(take(&zero));
    bits_ |= uint64_t(byte) << (56 - count_);
    count_ += 8;
  }
}

}  // namespace qvim::jpeg
