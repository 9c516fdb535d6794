// Device-independent bitmaps, as BMP and AVI files hold them: a header of 40 bytes, a palette, and rows,
// mostly from the lowest to the highest, each filled up to four bytes. Numbers are little-endian.
#pragma once

#include <cstdint>

#include <qvimage/bufio.h>
#include <qvimage/record.h>

#include "core/owned.hpp"
#include "files/rows/raster.hpp"
#include "files/rows/recoloured_rows.hpp"
#include "files/rows/row_encoder.hpp"
#include "files/rows/row_image.hpp"
#include "files/stream/number_writer.hpp"
#include "files/stream/reader.hpp"

namespace qvim::dib {

inline constexpr uint32_t header_bytes = 40, entry_bytes = 4, most_colours = 256;

struct header {
  int32_t width = 0, height = 0;  // a negative height: the highest row comes first
  uint16_t planes = 1, bits = 0;
  uint32_t compression = 0, image_bytes = 0;
  int32_t xppm = 0, yppm = 0;  // pixels per metre
  uint32_t colours_used = 0;

  // Fails the reader for anything but such a header, whose sides are not 0.
  void read(checked_reader &in);
  void write(number_writer &out) const;

  uint32_t columns() const { return magnitude(width); }
  uint32_t rows() const { return magnitude(height); }
  bool is_bottom_up() const { return height > 0; }
  bool has_palette() const { return bits <= 8; }
  // Entries that a palette in a file has.
  uint32_t palette_entries() const {
    const uint32_t all = 1u << bits;
    return colours_used && colours_used < all ? colours_used : all;
  }
  uint64_t row_bytes() const { return (uint64_t(columns()) * bits + 31) / 32 * 4; }
  uint64_t picture_bytes() const { return row_bytes() * rows(); }
  qvimagehints pixel_size() const;

 private:
  static uint32_t magnitude(int32_t v) { return v < 0 ? 0u - uint32_t(v) : uint32_t(v); }
};

// Three bytes an entry; those that a file does not have are zero.
struct palette {
  uint8_t entries[3 * most_colours] = {};
  bool is_grey_ramp = false;

  // In the file's order, or red, green, blue. Fails the reader at the file's end.
  void read(checked_reader &in, const header &h, bool as_rgb);
  // 2^bits entries in the file's order: those of an image, with first and third exchanged or not, or, without
  // one, a grey ramp. -1 for an image with fewer entries or components; the image's own codes.
  [[nodiscard]] int32_t take(qvimage *image, int bits, bool exchange);
  void write(number_writer &out, int bits) const;
};

// The pixels of a picture, or of many alike, as an image presents them.
class rows {
 public:
  enum class colours : uint8_t { as_stored, exchanged, expanded };

  // Where pictures begin is told by `raster::find` of the stored rows.
  rows(bufio *stream, raster &stored) : stored_(stored), recoloured_(stream, stored) {}

  // palette: of the picture, for indices that are to be expanded.
  void set(colours c, uint32_t pixel_bytes, const palette &p);
  row_source &source() { return recolours_ ? static_cast<row_source &>(recoloured_) : stored_; }

 private:
  raster &stored_;
  recoloured_rows recoloured_;
  bool recolours_ = false;
};

// How the pictures of a header lie in a file, for `raster::set_layout`.
raster::layout layout_of(const header &h);

// What pixels an image over such pictures has, and how they come about: with a palette image its indices,
// without one its colours; grey ramps are grey.
struct presentation {
  qvimagedata data;
  rows::colours colours;
  bool has_palette_image;
};
presentation present_pixels(const header &h, const palette &p, bool as_rgb, bool wants_palette);

// A memory image over the palette's 2^bits entries.
[[nodiscard]] int32_t present_palette(qvimage *image, palette &p, int bits, bool as_rgb);

}  // namespace qvim::dib
