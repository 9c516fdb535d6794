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

// A walk along the chain. next() moves to the next directory: 1, 0 at the chain's end, -2 for memory. The
// walk ends quietly at an offset seen before, and with the stream's -10 latched at a directory that sticks
// out of the file: whoever needs the whole chain asks bufio_err.
class chain {
 public:
  chain(bufio *file, const format &f) : file_(file), format_(f), link_(f.first_link()) {}
  [[nodiscard]] int32_t next();

  uint64_t directory() const { return directory_; }  // offset of the directory moved to
  uint64_t link() const { return link_; }            // where the offset of the one after it stands
  uint64_t passed() const { return passed_; }        // directories moved to so far

 private:
  [[nodiscard]] int32_t remember(uint64_t offset);

  bufio *file_;
  format format_;
  uint64_t link_;
  uint64_t directory_ = 0;
  uint64_t passed_ = 0;
  array<uint64_t> seen_;  // open-addressing set of offsets
  uint64_t seen_count_ = 0;
  uint64_t walked_ = 0;  // bytes of the directories so far
};

// Directories are small and may lie far apart: while it lives, the file is read in small blocks.
// Pointers into the resident block end with it.
class small_blocks {
 public:
  explicit small_blocks(bufio &file) : file_(file), size_(file.bufsize), shift_(file.bufshift) {
    if (size_ > small) set(small, small_shift);
  }
  ~small_blocks() {
    if (file_.bufsize != size_) set(size_, shift_);
  }
  small_blocks(const small_blocks &) = delete;
  small_blocks &operator=(const small_blocks &) = delete;

 private:
  static constexpr uint64_t small_shift = 12, small = uint64_t{1} << small_shift;

  void set(uint64_t size, uint64_t shift) {
    bufio_flush(&file_);  // whatever the block holds is not lost with it
    file_.bufsize = size;
    file_.bufshift = shift;
    file_.valid = 0;
  }

  bufio &file_;
  const uint64_t size_, shift_;
};

}  // namespace qvim::tiff
