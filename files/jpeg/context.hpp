// What contexts of readers and writers share: the mark by which they are known.
#pragma once

#include <cstdint>

#include <qvimage/jpeg.h>

#include "files/stream/handle.hpp"

// The public type. A reader or a writer derives from it; the mark says which.
struct jpegcontext : qvim::marked {
  static constexpr uint32_t reader_mark = 0x4A504752, writer_mark = 0x4A504757;

  using marked::marked;
};
