// The state of a TIFF file being written.
#pragma once

#include <cstdint>

#include "core/owned.hpp"
#include "files/tiff/handle.hpp"
#include "files/tiff/row_encoder.hpp"
#include "files/tiff/strip_codec.hpp"

namespace qvim::tiff {

// Consecutive rows of a page that are coded by themselves, so that several threads may code one page. The
// first band goes straight to the file, the others into memory until the page is finished.
struct band {
  bufio memory{};
  bufio *stream = nullptr;
  row_encoder encoder;
  strip_codec codec;
  uint32_t first_row = 0, end_row = 0;
  uint64_t first_strip = 0;
  bool complete = false;  // all rows of the current page are written

  ~band() {
    if (stream == &memory) bufio_done(&memory);
  }
};

struct writer : tiffhandle {
  enum class step { opened, set_up, directory };

  writer() : tiffhandle(writer_mark) {}
  ~writer();

  band &band_of(uint32_t i) { return *bands[i]; }
  uint32_t band_count() const { return uint32_t(bands.size()); }
  uint64_t strip_count() const { return page.offsets.size(); }

  array<band *> bands;
  step done = step::opened;
  bool is_open = false;  // the stream
  bool created = false;  // the file
  uint32_t rows_per_strip = 0;
  uint64_t pages = 0;      // written through this handle
  uint64_t link = 0;       // where the offset of the next directory belongs
  uint64_t directory = 0;  // of the page being written
  uint64_t next_link = 0;
  uint64_t complete = 0;  // length of the file up to its last complete page

  // Of the file that pages are appended to, for giving it back as it was.
  bool appends = false;
  uint64_t former_length = 0;
  uint64_t former_link = 0, former_link_value = 0;
};

// Offsets of classic files have 32 bits.
inline bool passes_classic_limit(const format &f, uint64_t length) {
  return !f.bigtiff && length > 0xFFFFFFFF;
}

// Directory of the writer's page: begin writes it with placeholders for the strips, finish fills these in,
// completes the page and at last makes the link to it.
[[nodiscard]] int32_t begin_directory(writer &w);
[[nodiscard]] int32_t finish_directory(writer &w);

// What a page says of an image of that size: 0, or -1 for what no page holds. Nothing of it needs the file.
[[nodiscard]] int32_t set_form(page &p, const qvimagedata &d, int64_t width, int64_t height, bool has_palette,
                               const qvimagefileinfo *options);

// Texts and resolutions of the options, and the time: -2.
[[nodiscard]] int32_t set_texts(page &p, const qvimagefileinfo *options);
void set_resolutions(page &p, const qvimagefileinfo &options);

// Puts a link into a directory chain and brings it to the file.
void put_link(writer &w, uint64_t position, uint64_t value);

// Codes the rows of one band of the image and writes its strips.
[[nodiscard]] int32_t write_band(writer &w, qvimagecallback callback, qvimage *image, uint32_t number);

// The colour map of a page from a palette image; exchanged: first and third component change places.
[[nodiscard]] int32_t set_colours(page &p, qvimage *palette, uint32_t bits, bool exchanged);

// Gives a file that was appended to its former length and link back.
void revert(writer &w);

}  // namespace qvim::tiff
