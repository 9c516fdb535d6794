// Arrays of unsigned integers that stay in the file: strip tables are read as they are needed, so that
// neither opening a page nor its number of strips costs memory.
#pragma once

#include <algorithm>
#include <cstdint>

#include "files/stream/reader.hpp"
#include "files/tiff/format.hpp"

namespace qvim::tiff {

// Where the values of a tag stand.
struct place {
  field type = field::byte;
  uint64_t count = 0;
  uint64_t position = 0;
};

class file_array {
 public:
  file_array(bufio *file, const format *f) : file_(file), format_(f) {}

  void assign(const place &where) {
    where_ = where;
    item_size_ = field_size(where.type);
    cached_ = 0;
  }
  uint64_t size() const { return where_.count; }

  // Item i of size(). Failures latch in the stream; the item is 0 then.
  uint64_t operator[](uint64_t i) {
    if (i - first_ >= cached_) load(i);
    return unsigned_from_bytes(bytes_ + (i - first_) * uint64_t(item_size_), item_size_, format_->order());
  }

 private:
  // The directory has said that the items lie in the file.
  void load(uint64_t i) {
    cached_ = std::min(where_.count - i, sizeof bytes_ / uint64_t(item_size_));
    first_ = i;
    checked_reader items(*file_, format_->order());
    items.seek(where_.position + i * uint64_t(item_size_));
    items.get_bytes(bytes_, cached_ * uint64_t(item_size_));
    if (items.code() < 0) cached_ = 0;  // what could not be read is asked for again
  }

  bufio *file_;
  const format *format_;
  place where_;
  int item_size_ = 1;
  uint64_t first_ = 0, cached_ = 0;  // the items in bytes_
  uint8_t bytes_[2048];
};

}  // namespace qvim::tiff
