// The paths of bufio that format code takes once a byte or a row, inline; the rest is in bufio.cpp.
//
// Whatever the flags, the resident block's bytes below `filelen` are always defined, and a write beyond
// `filelen` first fills the gap with zeros: what a file holds never depends on what memory held before.
#pragma once

#include <cstdint>
#include <cstring>

#include <qvimage/bufio.h>

#include "kernels/copy_bytes.hpp"

namespace qvim {

// Are these bytes at `pos` in the resident block?
inline bool is_resident(const bufio &b, uint64_t count) {
  const uint64_t offset = b.pos - b.bufpos;  // huge when pos lies before the block
  return b.valid && offset < b.bufsize && count <= b.bufsize - offset;
}

inline void check_limit(bufio &b) {
  if ((b.modeflags & BUFIO_LIMIT32) && b.filelen >> 32) b.ioerr = 1;
}

inline void read_bytes(bufio &b, void *data, uint64_t count) {
  if (is_resident(b, count) && b.pos < b.filelen && count <= b.filelen - b.pos) {
    copy_bytes(data, b.bufp + (b.pos - b.bufpos), count);
    b.pos += count;
    check_limit(b);
  } else {
    bufio_io(&b, data, count, 'r');
  }
}

inline void write_bytes(bufio &b, const void *data, uint64_t count) {
  if (is_resident(b, count) && b.pos <= b.filelen) {
    copy_bytes(b.bufp + (b.pos - b.bufpos), data, count);
    b.dirty = 1;
    b.pos += count;
    if (b.pos > b.filelen) b.filelen = b.pos;
    check_limit(b);
  } else {
    bufio_io(&b, const_cast<void *>(data), count, 'w');
  }
}

// The same as read_bytes, for bytes between whose places others lie that are not wanted: they come straight
// from the file, where a block would be loaded for each.
void read_past_block(bufio &b, uint8_t *data, uint64_t count);

// Latches -10 for a read of bytes that the stream does not have.
void fail_beyond_end(bufio &b, uint64_t position, uint64_t count);

// bufio_init for the block size that the formats' functions take: in bytes, 0 for the default of 64 KiB,
// rounded up to a power of two and cut to 1 GiB; negative: -1.
[[nodiscard]] int32_t open_bufio(bufio *b, const char *path, const char *fopenmode, int64_t bufsize,
                                 uint32_t flags);

// The same in two steps, for files that are opened elsewhere: first what may fail is had (-1, -2; bufio_done
// gives it back), then the record takes over a stream whose file has so many bytes.
[[nodiscard]] int32_t reserve_bufio(bufio *b, int64_t bufsize, uint32_t flags);
void attach(bufio &b, FILE *fp, uint64_t length);

// For bytes that come to the end of a file past its stream: it takes them as there, and has nothing of its
// block to write any more. Returns where they begin.
uint64_t extend(bufio &file, uint64_t count);

// Writes all that a memory stream holds there, past the file's stream; any thread may. -14, latched in the
// memory stream.
[[nodiscard]] int32_t write_out_at(bufio &memory, const bufio &file, uint64_t position);

// Removes a file that was created or truncated a moment ago and of which no more can be learned than that its
// name is no link's, FIFO's or device's.
void remove_regular(const char *path);

// -14 when a file was to be created, else -13, because of errno.
[[nodiscard]] int32_t cannot_open(bool creates);

// Headers and directories are small and may lie far apart: while it lives, the file is read in small blocks.
// Pointers into the resident block end with it.
class small_blocks {
 public:
  explicit small_blocks(bufio &file, bool wanted = true)
      : file_(file), size_(file.bufsize), shift_(file.bufshift) {
    if (wanted && size_ > small) set(small, small_shift);
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

}  // namespace qvim
