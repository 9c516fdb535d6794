// The checked reader over a bufio: numbers in either byte order out of a range of the stream that nothing
// leaves.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include <qvimage/bufio.h>
#include <qvimage/error.h>

#include "core/byte_order.hpp"
#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/stream/bufio.hpp"

namespace qvim {

// Invariant: begin <= position <= end <= length of the stream; only what keeps it touches these fields. A
// request that leaves the range gives zeros and latches -10: parse on, and ask code() before using what was
// read. Several readers may share a stream: each keeps its own position and sets the stream's.
class checked_reader {
 public:
  checked_reader(bufio &b, std::endian order) : stream_(&b), position_(0), end_(b.filelen), order_(order) {}

  std::endian order() const { return order_; }
  void set_order(std::endian order) { order_ = order; }
  uint64_t position() const { return position_; }
  uint64_t left() const { return end_ - position_; }

  // To a position of the stream, inside this reader's range.
  void seek(uint64_t position) {
    if (position < begin_ || position > end_)
      return fail({"byte ", position, " lies beyond the end at byte ", end_});
    position_ = position;
  }
  void skip(uint64_t count) {
    if (takes(count)) position_ += count;
  }

  // The next bytes as a reader of their own, which this one passes over. One that sticks out of its parent
  // ends with it, and both have failed.
  checked_reader chunk(uint64_t count) {
    checked_reader inside = *this;
    inside.begin_ = position_;
    inside.end_ = position_ + std::min(count, left());
    if (count > left()) inside.fail({count, " bytes at byte ", position_, beyond, end_});
    skip(count);
    return inside;
  }

  template <class T>
  T get() {
    if (!takes(sizeof(T))) return T{};
    uint8_t bytes[sizeof(T)];
    stream_->pos = position_;
    position_ += sizeof(T);
    if (is_resident(*stream_, sizeof(T)))
      return from_bytes<T>(stream_->bufp + (stream_->pos - stream_->bufpos), order_);
    bufio_io(stream_, bytes, sizeof(T), 'r');
    return from_bytes<T>(bytes, order_);
  }

  // An unsigned number whose size, 1, 2, 4 or 8 bytes, is known at run time only.
  uint64_t get_unsigned(uint32_t size) {
    switch (size) {
      case 1: return get<uint8_t>();
      case 2: return get<uint16_t>();
      case 4: return get<uint32_t>();
      case 8: return get<uint64_t>();
    }
    fail({"a number of ", size, " bytes"});
    return 0;
  }

  // Bytes as they stand in the stream; all zeros when it does not hold them all.
  void get_bytes(void *data, uint64_t count) {
    if (!takes(count)) {
      std::memset(data, 0, count);
      return;
    }
    stream_->pos = position_;
    read_bytes(*stream_, data, count);
    position_ += count;
  }

  // Are so many items of that size left? Ask before anything is allocated for them.
  bool holds(uint64_t items, uint64_t size) const {
    uint64_t bytes;
    return !__builtin_mul_overflow(items, size, &bytes) && bytes <= left();
  }

  // Does a range of that many items lie inside this one, wherever it begins?
  bool holds_at(uint64_t position, uint64_t items, uint64_t size) const {
    uint64_t bytes;
    return !__builtin_mul_overflow(items, size, &bytes) && position >= begin_ && position <= end_ &&
           bytes <= end_ - position;
  }

  // For what the bytes mean rather than where they lie. What follows from bytes that could not be read is no
  // failure of its own.
  void fail(words cause) {
    if (bufio_err(stream_) < 0) return;
    code_ = worst(code_, because(QVERR_FORMAT, cause));
  }

  // The worst failure of this reader and its stream, or 0.
  [[nodiscard]] int32_t code() const { return worst(code_, bufio_err(stream_)); }

 private:
  static constexpr char beyond[] = " lie beyond the end at byte ";

  bool takes(uint64_t count) {
    if (count <= left()) return true;
    fail({count, " bytes at byte ", position_, beyond, end_});
    position_ = end_;
    return false;
  }

  bufio *stream_;
  uint64_t begin_ = 0, position_, end_;
  int32_t code_ = 0;
  std::endian order_;
};

}  // namespace qvim
