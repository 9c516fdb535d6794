// The chain of directories: header, and the walk from link to link.
#include "files/tiff/chain.hpp"

#include <utility>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/tiff/directory_read.hpp"

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
  checked_reader in(*file, std::endian::little);
  uint8_t mark[2];
  in.get_bytes(mark, 2);
  if (const int32_t code = in.code(); code < 0) return code;
  if (mark[0] != mark[1] || (mark[0] != 'I' && mark[0] != 'M'))
    return because(QVERR_FORMAT, {"not a TIFF file: it begins with the bytes ", mark[0], " and ", mark[1],
                                  R"(, expected "II" or "MM")"});
  f->big_endian = mark[0] == 'M';
  in.set_order(f->order());
  const uint16_t version = in.get<uint16_t>();
  if (in.code() == 0 && version != 42 && version != 43)
    in.fail({"not a TIFF file: version ", version, ", expected 42 or 43"});
  f->bigtiff = version == 43;
  if (f->bigtiff)
    if (const uint16_t size = in.get<uint16_t>(); in.code() == 0 && size != 8)
      in.fail({"a BigTIFF file with offsets of ", size, " bytes, expected 8"});
  in.seek(uint64_t(f->header_size()));
  return in.code();
}

int32_t chain::next() {
  in_.seek(link_);
  const uint64_t offset = in_.get_unsigned(uint32_t(format_.offset_size()));
  if (in_.code() < 0 || offset == 0) return 0;
  in_.seek(offset);
  const uint64_t entries = in_.get_unsigned(uint32_t(format_.count_size()));
  if (within({"its directory"}, in_.code()) < 0) return 0;

  if (const int32_t code = remember(offset); code <= 0) return code;

  // Directories of a sound file lie in it side by side, so together they are never longer than it. That
  // bounds the walk, and the memory for the set, in any other file.
  uint64_t size;
  if (!fit_directory(in_, format_, offset, entries, &size)) return 0;
  if (!in_.holds_at(walked_, size, 1)) {
    in_.fail({"directories that lie upon each other"});
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
  if (2 * (seen_count_ + 1) > seen_.size() && !grow(seen_)) return QVERR_MEMORY;
  if (!put(seen_, offset)) return 0;
  seen_count_++;
  return 1;
}

}  // namespace qvim::tiff
