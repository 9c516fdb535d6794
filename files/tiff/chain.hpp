// The chain of directories: header, and the walk from link to link.
#pragma once

#include <cstdint>

#include <qvimage/bufio.h>

#include "core/owned.hpp"
#include "files/tiff/format.hpp"

namespace qvim::tiff {

// Reads the header into *f: 0, or -10 for anything but a TIFF or BigTIFF header, or the stream's latched
// error.
[[nodiscard]] int32_t read_header(bufio *file, format *f);

// A walk along the chain. next() moves to the next directory: 1, 0 at the chain's end (also at a link that
// does not lie beyond its directory, at an offset seen before, and at a latched error), -2 for memory.
class chain {
 public:
  chain(bufio *file, const format &f) : file_(file), format_(f), link_(f.first_link()) {}
  [[nodiscard]] int32_t next();

  uint64_t directory() const { return directory_; }  // offset of the directory moved to
  uint64_t link() const { return link_; }            // where the offset of the one after it stands
  uint64_t passed() const { return passed_; }        // directories moved to so far

 private:
  bool seen_before(uint64_t offset, int32_t *code);

  bufio *file_;
  format format_;
  uint64_t link_;
  uint64_t directory_ = 0;
  uint64_t passed_ = 0;
  array<uint64_t> seen_;  // open-addressing set of offsets
  uint64_t seen_count_ = 0;
};

}  // namespace qvim::tiff
