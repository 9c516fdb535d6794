// A directory becomes the values of a page.
#pragma once

#include <array>
#include <cstdint>

#include "files/tiff/file_array.hpp"
#include "files/tiff/page.hpp"

namespace qvim::tiff {

// What a directory holds besides the values in the page: where its arrays and texts stand in the file.
struct directory {
  std::array<place, tag_count> at;
  bool subsampled = false;  // chroma samples stand for more than one pixel
  bool tiled = false;
  bool complete = false;  // all entries were read: a page that is refused then can be described
};

// Does a directory of so many entries lie in the file? The reader has failed if not; *size: its bytes.
[[nodiscard]] bool fit_directory(checked_reader &in, const format &f, uint64_t offset, uint64_t entries,
                                 uint64_t *size);

// Reads and checks the directory at an offset: 0, -10 for a directory that is broken or contradicts itself,
// -11 for pages that are sound but not served, -7. Nothing is allocated.
[[nodiscard]] int32_t read_directory(bufio *file, const format &f, uint64_t offset, page *p, directory *d);

}  // namespace qvim::tiff
