// What TIFF handles of readers and writers share: the mark by which they are known, and the open file.
#pragma once

#include <cstdint>

#include <qvimage/bufio.h>
#include <qvimage/tiff.h>

#include "files/stream/handle.hpp"
#include "files/tiff/format.hpp"
#include "files/tiff/page.hpp"

// The public handle type. A reader or a writer derives from it; the mark says which.
struct tiffhandle : qvim::marked {
  static constexpr uint32_t reader_mark = 0x54494652, writer_mark = 0x54494657;

  using marked::marked;

  qvim::tiff::format format;
  bufio file{};
  qvim::tiff::page page;  // the page being written, or the one that was read last
};
