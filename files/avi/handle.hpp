// What readers and writers of AVI files share: the public handle type, whose mark says which of them it is.
#pragma once

#include <cstdint>

#include <qvimage/avi.h>
#include <qvimage/bufio.h>
#include <qvimage/fileinfo.h>

#include "files/avi/riff.hpp"
#include "files/stream/handle.hpp"

struct avihandle : qvim::marked {
  static constexpr uint32_t reader_mark = 0x41564952, writer_mark = 0x41564957;

  using marked::marked;

  bufio file{};
};

namespace qvim::avi {

// The texts of a file, each in a chunk of its own, in the order of their writing.
struct text_chunk {
  uint32_t code;
  char *qvimagefileinfo::*member;
};
inline constexpr text_chunk text_chunks[] = {{fourcc("ISFT"), &qvimagefileinfo::software},
                                             {fourcc("ICMT"), &qvimagefileinfo::description},
                                             {fourcc("ICOP"), &qvimagefileinfo::copyright},
                                             {fourcc("ICRD"), &qvimagefileinfo::datetime}};
inline constexpr unsigned text_count = 4;

}  // namespace qvim::avi
