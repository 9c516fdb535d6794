// The header of a portable anymap file, and what follows from it.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include <qvimage/bufio.h>
#include <qvimage/fileinfo.h>
#include <qvimage/pgm.h>

#include "core/owned.hpp"
#include "files/rows/row_form.hpp"
#include "files/stream/handle.hpp"

namespace qvim::pnm {

enum magic : char { bits = '4', grey = '5', colour = '6' };

struct header {
  char magic = 0;
  uint32_t width = 0, height = 0, maximum = 1;
  qvimagehints size{};  // of a pixel
  uint64_t end = 0;     // where the first frame begins

  // Samples take one byte or two; bits are packed.
  row_form form() const {
    return {width, magic == colour ? 3u : 1u, uint32_t(std::bit_width(maximum)), magic == bits};
  }
  // Where nothing else follows from it, a header says the same as another.
  bool describes_same(const header &h) const {
    return magic == h.magic && width == h.width && height == h.height && maximum == h.maximum;
  }
  // Whole frames of a file so long.
  uint64_t frames(uint64_t length) const { return (length - end) / frame_bytes(); }
  // 0 for frames that no file holds.
  uint64_t frame_bytes() const {
    uint64_t bytes;
    return __builtin_mul_overflow(form().bytes(), uint64_t{height}, &bytes) ? 0 : bytes;
  }
};

using texts = std::array<array<char>, 4>;  // in the order of text_members

inline constexpr char *qvimagefileinfo::*text_members[] = {
    &qvimagefileinfo::datetime, &qvimagefileinfo::software, &qvimagefileinfo::description,
    &qvimagefileinfo::copyright};

// Reads the header; comments that are no sizes go to the texts, in order. 0, -2, -7, or -10 for anything else
// than a header.
[[nodiscard]] int32_t read_header(bufio &file, header *h, texts *comments);

// Writes it to a stream's beginning; options may be null. Failures latch in the stream.
void write_header(bufio &file, const header &h, const qvimagefileinfo *options);

}  // namespace qvim::pnm

// The public handle type. A reader or a writer derives from it; the mark says which.
struct pgmhandle : qvim::marked {
  static constexpr uint32_t reader_mark = 0x50474D52, writer_mark = 0x50474D57;

  using marked::marked;

  bufio file{};
  qvim::pnm::header head;
};
