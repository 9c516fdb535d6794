// What contexts of readers and writers share: the mark by which they are known.
#pragma once

#include <cstdint>

#include <qvimage/jpeg.h>

// The public type. A reader or a writer derives from it; the mark says which.
struct jpegcontext {
  enum mark : uint32_t { reader_mark = 0x4A504752, writer_mark = 0x4A504757 };

  explicit jpegcontext(mark m) : identity(m) {}
  jpegcontext(const jpegcontext &) = delete;
  jpegcontext &operator=(const jpegcontext &) = delete;

  uint32_t identity;  // first, so that any memory taken for a context can be told from one

 protected:
  ~jpegcontext() { identity = 0; }
};
