// Device-independent bitmaps: header, palette, rows.
#include "files/bmp/dib.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/memory.h>

#include "files/rows/palette.hpp"

namespace qvim::dib {

void header::read(checked_reader &in) {
  if (const auto size = in.get<uint32_t>(); size != header_bytes)
    return in.fail({"a bitmap header of ", size, " bytes, not ", header_bytes});
  width = in.get<int32_t>();
  height = in.get<int32_t>();
  planes = in.get<uint16_t>();
  bits = in.get<uint16_t>();
  compression = in.get<uint32_t>();
  image_bytes = in.get<uint32_t>();
  xppm = in.get<int32_t>();
  yppm = in.get<int32_t>();
  colours_used = in.get<uint32_t>();
  in.skip(4);  // important colours
  if (columns() == 0 || rows() == 0 || columns() > INT32_MAX || rows() > INT32_MAX)
    in.fail({"a picture of ", width, " x ", height, " pixels"});
  if (colours_used > most_colours) in.fail({colours_used, " colours, more than ", most_colours});
}

void header::write(number_writer &out) const {
  for (const uint32_t field : {header_bytes, uint32_t(width), uint32_t(height)}) out.put(field, 4);
  out.put(planes, 2);
  out.put(bits, 2);
  for (const uint32_t field : {compression, image_bytes, uint32_t(xppm), uint32_t(yppm), colours_used, 0u})
    out.put(field, 4);
}

qvimagehints header::pixel_size() const {
  qvimagehints size;
  qviminithints(&size, QVIM_UNIT_METER, QVIM_UNIT_METER, 0, xppm ? 1 / float(xppm) : 0,
                yppm ? 1 / float(yppm) : 0, 0);
  return size;
}

void palette::read(checked_reader &in, const header &h, bool as_rgb) {
  const uint32_t count = h.palette_entries();
  is_grey_ramp = true;
  for (uint32_t i = 0; i < count; i++) {
    uint8_t stored[entry_bytes];
    in.get_bytes(stored, entry_bytes);
    uint8_t *const entry = entries + 3 * i;
    std::copy(stored, stored + 3, entry);
    if (as_rgb) std::swap(entry[0], entry[2]);
    is_grey_ramp &= entry[0] == i && entry[1] == i && entry[2] == i;
  }
}

int32_t palette::take(qvimage *image, int bits, bool exchange) {
  const uint32_t count = 1u << bits;
  if (!is_none(image)) {
    if (const int32_t code = read_entries(image, QVIM_UINT8, entries, count); code < 0) return code;
    for (uint32_t i = 0; exchange && i < count; i++) std::swap(entries[3 * i], entries[3 * i + 2]);
    return 0;
  }
  for (uint32_t i = 0; i < count; i++)
    std::memset(entries + 3 * i, bits == 1 ? int(255 * i) : int(i << (8 - bits)), 3);
  return 0;
}

void palette::write(number_writer &out, int bits) const {
  for (uint32_t i = 0; i < 1u << bits; i++)
    out.put(uint32_t(entries[3 * i]) | uint32_t(entries[3 * i + 1]) << 8 | uint32_t(entries[3 * i + 2]) << 16,
            entry_bytes);
}

void rows::set(colours c, uint32_t pixel_bytes, const palette &p) {
  recolours_ = c != colours::as_stored;
  if (c == colours::expanded) recoloured_.expand(p.entries);
  if (c == colours::exchanged) recoloured_.exchange(pixel_bytes);
}

raster::layout layout_of(const header &h) {
  const uint32_t samples = h.bits > 8 ? h.bits / 8u : 1, bits = h.bits > 8 ? 8 : h.bits;
  raster::layout l{};
  l.form = {h.columns(), samples, bits, bits < 8};
  l.changes.order = std::endian::little;
  l.height = h.rows();
  l.pitch = h.row_bytes();
  l.bottom_up = h.is_bottom_up();
  return l;
}

presentation present_pixels(const header &h, const palette &p, bool as_rgb, bool wants_palette) {
  presentation result{{}, rows::colours::as_stored, false};
  const auto describe = [&](int bits, int pixies, int hint) {
    qviminitdata(&result.data, QVIM_UINT8, bits, pixies, hint);
  };
  if (!h.has_palette()) {
    const bool padded = h.bits == 32;
    describe(
        8, padded ? 4 : 3,
        padded ? (as_rgb ? QVIM_HINT_RGBPAD : QVIM_HINT_BGRPAD) : (as_rgb ? QVIM_HINT_RGB : QVIM_HINT_BGR));
    if (as_rgb) result.colours = rows::colours::exchanged;
  } else if (p.is_grey_ramp) {
    describe(h.bits, 1, QVIM_HINT_GREY);
  } else if (wants_palette) {
    describe(h.bits, 1, QVIM_HINT_INDEX);
    result.has_palette_image = true;
  } else {
    describe(8, 3, as_rgb ? QVIM_HINT_RGB : QVIM_HINT_BGR);
    result.colours = rows::colours::expanded;
  }
  return result;
}

int32_t present_palette(qvimage *image, palette &p, int bits, bool as_rgb) {
  const int32_t size[2] = {1 << bits, 1};
  return qvimage_memory(image, p.entries, size, 0, QVIM_UINT8, 8, 3, as_rgb ? QVIM_HINT_RGB : QVIM_HINT_BGR,
                        0);
}

}  // namespace qvim::dib
