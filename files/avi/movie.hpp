// An AVI file as its reader finds it: the first stream's format, and where its frames are.
#pragma once

#include <cstdint>

#include "core/owned.hpp"
#include "files/avi/handle.hpp"
#include "files/bmp/dib.hpp"

namespace qvim::avi {

struct frame {
  uint64_t position;  // of its data
  uint32_t bytes;
};

struct film {
  uint32_t handler = 0, rate = 0, scale = 0;
  dib::header format;
  dib::palette palette;
  bool is_jpeg = false;
  array<frame> frames;
  uint64_t count = 0;  // of frames
  array<char> texts[text_count];

  // Reads all but the frames. Frames come from the extended index, or the old one, or, where the writer did
  // not come to writing one, from walking over the movie itself; those that lie beyond the file's end are
  // left out. 0, or: -10: no AVI file, or a broken one. -11: a stream that is not served. -2, -7.
  [[nodiscard]] int32_t read(bufio &file, bool lenient);
};

}  // namespace qvim::avi
