// A TIFF file being written.
#pragma once

#include <cstdint>

#include "core/owned.hpp"
#include "core/progress.hpp"
#include "files/rows/image_rows.hpp"
#include "files/rows/row_encoder.hpp"
#include "files/stream/output_file.hpp"
#include "files/tiff/bands.hpp"
#include "files/tiff/handle.hpp"

namespace qvim::tiff {

// What a caller says of a page beside its image.
struct page_request {
  qvimage *palette;  // null, or a null image, for none
  const qvimagefileinfo *options;
  bool exchanges_rgb, exchanges_map, exchanges_chroma;
};

// The steps answer 0, -1 out of order or for what they cannot serve, -2, and what the file answers. Each page
// is planned and set up; its directory is begun, its bands are written, and it is finished. The page becomes
// part of the file in the last of these.
class writer : public tiffhandle {
 public:
  static constexpr uint32_t kind = writer_mark;

  writer() : tiffhandle(writer_mark), output_(file) {}

  // Judges what the page is to be and keeps it: everything that needs no file, so that a file need not be
  // opened for what cannot be written.
  [[nodiscard]] int32_t plan(const qvimage &image, const page_request &r);

  // How many bands pages have, coded into memory in blocks of so many bytes.
  [[nodiscard]] int32_t make_bands(uint32_t count, uint64_t block);
  // Opens the file, to be written anew or after its first pages (QVIM_TIFF_END: after all of them).
  [[nodiscard]] int32_t open(const char *path, const char *mode, int64_t bufsize, uint64_t after,
                             bool bigtiff, output_file::way how);

  [[nodiscard]] int32_t set_up(const qvimage &image, const page_request &r);
  [[nodiscard]] int32_t begin();
  // Rows of one band, of an image like the one set up. Bands may be written by different threads at once.
  [[nodiscard]] int32_t data(const progress &told, qvimage &image, uint32_t band);
  [[nodiscard]] int32_t finish();

  // A page that was not finished goes away again.
  [[nodiscard]] int32_t close();
  // The end of a file written in one go: keeps it, or, when the code is not 0, leaves everything as it was.
  // The worst code of all.
  [[nodiscard]] int32_t end(int32_t code);

  bool created() const { return output_.created(); }
  int32_t error() { return bufio_err(&file); }
  int32_t band_error() const { return bands_.error(); }

 private:
  enum class step { closed, opened, planned, set_up, directory };

  uint64_t strip_count() const { return page.offsets.size(); }

  int32_t begin_file();
  int32_t find_end(uint64_t pages);
  int32_t set_strips(uint64_t target);
  int32_t prepare(coder &c);
  int32_t code_rows(image_rows &rows, coder &c, bufio &stream, const band &b);
  void fill_in_strips();
  void put_link(uint64_t position, uint64_t value);
  void drop_page();

  output_file output_;
  bands bands_;
  qvimage model_{};      // the image that the page was set up for
  row_changes changes_;  // what happens to its rows
  step step_ = step::opened;
  uint32_t rows_per_strip_ = 0;
  uint64_t link_ = 0;        // where the offset of the next directory belongs
  uint64_t link_value_ = 0;  // what stands there until then
  uint64_t directory_ = 0;   // of the page being written
  uint64_t next_link_ = 0;
  uint64_t complete_ = 0;  // length of the file up to its last complete page

  // Of the file that pages are appended to, for giving it back as it was.
  bool appends_ = false;
  uint64_t former_length_ = 0, former_link_ = 0, former_link_value_ = 0;
};

// Offsets of classic files have 32 bits.
inline bool passes_classic_limit(const format &f, uint64_t length) {
  return !f.bigtiff && length > 0xFFFFFFFF;
}
[[nodiscard]] int32_t classic_limit_passed();

// What a page says of an image: 0, or -1 for what no page holds.
[[nodiscard]] int32_t set_form(page &p, const qvimage &image, bool has_palette,
                               const qvimagefileinfo *options);

// Texts and resolutions of the options, and the time: -1, -2.
[[nodiscard]] int32_t set_texts(page &p, const qvimagefileinfo *options);
[[nodiscard]] int32_t set_resolutions(page &p, const qvimagefileinfo &options);

// The colour map of a page from a palette image; exchanged: first and third component change places.
[[nodiscard]] int32_t set_colours(page &p, qvimage *palette, uint32_t bits, bool exchanged);

}  // namespace qvim::tiff
