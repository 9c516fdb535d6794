// The chain of directories: header, and the walk from link to link.
#pragma once

#include <cstdint>

#include <qvimage/bufio.h>

#include "core/owned.hpp"
#include "files/stream/reader.hpp"
#include "files/tiff/format.hpp"

namespace qvim::tiff {

// Reads the header into *f: 0, or -10 for anything but a TIFF or BigTIFF header, or the stream's latched
// error.
[[nodiscard]] int32_t read_header(bufio *file, format *f);

// A walk along the chain. next() moves to the next directory: 1, 0 at the chain's end, -2 for memory. The
// walk ends quietly at an offset seen before, and at a directory that sticks out of the file: whoever needs
// the whole chain asks code().
class chain {
 public:
  chain(bufio *file, const format &f) : in_(*file, f.order()), format_(f), link_(f.first_link()) {}
  [[nodiscard]] int32_t next();

  [[nodiscard]] int32_t code() const { return in_.code(); }  // 0, -10, -7
  uint64_t directory() const { return directory_; }          // offset of the directory moved to
  uint64_t link() const { return link_; }                    // where the offset of the one after it stands
  uint64_t passed() const { return passed_; }                // directories moved to so far

 private:
  [[nodiscard]] int32_t remember(uint64_t offset);

  checked_reader in_;
  format format_;
  uint64_t link_;
  uint64_t directory_ = 0;
  uint64_t passed_ = 0;
  array<uint64_t> seen_;  // open-addressing set of offsets
  uint64_t seen_count_ = 0;
  uint64_t walked_ = 0;  // bytes of the directories so far
};

}  // namespace qvim::tiff
