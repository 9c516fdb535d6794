// The chain of directories: header, and the walk from link to link.
#include "files/tiff/chain.hpp"

#include <utility>

#include "files/tiff/wire.hpp"

namespace qvim::tiff {

namespace {

constexpr uint64_t smallest_set = 64;  // slots; a power of two

uint64_t slot_of(uint64_t offset, uint64_t slots) {
  return (offset * 0x9E3779B97F4A7C15u >> 32) & (slots - 1);
}

// Puts an offset (never 0, which marks free slots) into the set; false when it was there already.
bool put(array<uint64_t> &set, uint64_t offset) {
  uint64_t i = slot_of(offset, set.size());
  while (set[i] != 0) {
    if (set[i] == offset) return false;
    i = (i + 1) & (set.size() - 1);
  }
  set[i] = offset;
  return true;
}

bool grow(array<uint64_t> &set) {
  array<uint64_t> larger;
  if (!larger.allocate_zeroed(set.size() ? set.size() * 2 : smallest_set)) return false;
  for (uint64_t offset : set)
    if (offset != 0) put(larger, offset);
  set = std::move(larger);
  return true;
}

}  // namespace

int32_t read_header(bufio *file, format *f) {
  uint8_t bytes[16] = {};
  const auto fetch = [&](uint64_t position, uint64_t count) {
    file->pos = position;
    bufio_io(file, bytes + position, count, 'r');
    return bufio_err(file);
  };
  if (const int32_t code = fetch(0, 8); code < 0) return code;
  if (bytes[0] != bytes[1] || (bytes[0] != 'I' && bytes[0] != 'M')) return -10;
  f->big_endian = bytes[0] == 'M';
  const uint64_t version = from_wire(bytes + 2, 2, is_swapped(*f));
  if (version != 42 && version != 43) return -10;
  f->bigtiff = version == 43;
  if (!f->bigtiff) return 0;
  if (from_wire(bytes + 4, 2, is_swapped(*f)) != 8) return -10;
  return fetch(8, 8);
}

int32_t chain::next() {
  const uint64_t offset = read_at(file_, format_, link_, format_.offset_size());
  if (bufio_err(file_) < 0 || offset == 0) return 0;
  const uint64_t entries = read_at(file_, format_, offset, format_.count_size());
  if (bufio_err(file_) < 0) return 0;

  if (const int32_t code = remember(offset); code <= 0) return code;

  // Directories of a sound file lie in it side by side, so together they are never longer than it. That
  // bounds the walk, and the memory for the set, in any other file.
  uint64_t size;
  const uint64_t ends = uint64_t(format_.count_size() + format_.offset_size());
  if (__builtin_mul_overflow(entries, uint64_t(format_.entry_size()), &size) ||
      __builtin_add_overflow(size, ends, &size) || size > file_->filelen - walked_ ||
      offset > file_->filelen - size) {
    file_->eoferr = 1;
    return 0;
  }
  walked_ += size;
  directory_ = offset;
  link_ = offset + size - uint64_t(format_.offset_size());
  passed_++;
  return 1;
}

// 1, 0 for an offset seen before, -2.
int32_t chain::remember(uint64_t offset) {
  if (2 * (seen_count_ + 1) > seen_.size() && !grow(seen_)) return -2;
  if (!put(seen_, offset)) return 0;
  seen_count_++;
  return 1;
}

}  // namespace qvim::tiff
