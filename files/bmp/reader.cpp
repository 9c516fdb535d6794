// BMP files, and the first image of icon files, as images.
#include <cstring>

#include <qvimage/bmp.h>
#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/bmp/dib.hpp"
#include "files/rows/information.hpp"
#include "files/rows/read_calls.hpp"
#include "files/stream/bufio.hpp"
#include "files/stream/handle.hpp"

// The public handle type: a reader's.
struct bmphandle : qvim::marked {
  bufio file{};

 protected:
  using marked::marked;
};

namespace qvim::bmp {

namespace {

constexpr uint16_t signature = 0x4D42;  // "BM"
constexpr uint64_t file_header_bytes = 14, icon_header_bytes = 22;

struct request {
  const char *path, *fopenmode;
  int64_t bufsize;
  bool as_rgb, any_compression, icon;
};

struct stored_rows final : raster {
  explicit stored_rows(bufio *file) : raster(file) {}
  using raster::set_layout;
  int32_t find(uint64_t, uint64_t *begin) override {
    *begin = data;
    return 0;
  }
  uint64_t data = 0;  // where the pixels begin
};

struct reader final : bmphandle {
  static constexpr uint32_t kind = 0x424D5052;

  reader() : bmphandle(kind), stored(&this->file), rows(&this->file, stored) {}
  ~reader() { bufio_done(&file); }

  int32_t open(const request &r, bool wants_palette);
  int32_t fill(qvimagefileinfo *info) const;
  int32_t present_on(qvimage *image, qvimage *palette_image);

  stored_rows stored;
  dib::rows rows;
  dib::header head;
  dib::palette palette;
  dib::presentation shown{};
  bool icon = false, as_rgb = false;

 private:
  int32_t read_headers(checked_reader &in);
  void read_file_header(checked_reader &in);
  void read_icon_header(checked_reader &in);

  uint32_t icon_height_ = 0;
};

void reader::read_file_header(checked_reader &in) {
  if (in.get<uint16_t>() != signature) return in.fail({"the file does not begin with BM"});
  const auto length = in.get<uint32_t>();
  if (length != 0 && length != file.filelen)
    return in.fail({"byte 2: the header tells of ", length, " bytes, the file has ", file.filelen});
  in.skip(4);
  stored.data = in.get<uint32_t>();
}

// The directory of images and its first entry; goes to that image's header.
void reader::read_icon_header(checked_reader &in) {
  const auto reserved = in.get<uint16_t>(), type = in.get<uint16_t>(), images = in.get<uint16_t>();
  if (reserved != 0 || type != 1 || images == 0) return in.fail({"not an icon file"});
  in.skip(1);
  const auto height = in.get<uint8_t>(), colours = in.get<uint8_t>();
  if (colours != 2 && colours != 8 && colours != 16) return in.fail({"an icon of ", colours, " colours"});
  in.skip(5);
  const auto bytes = in.get<uint32_t>(), offset = in.get<uint32_t>();
  icon_height_ = height ? height : 256;
  if (uint64_t(offset) + bytes > file.filelen)
    return in.fail({"the icon's image lies beyond the file's end"});
  in.seek(offset);
}

int32_t reader::read_headers(checked_reader &in) {
  if (in.left() < (icon ? icon_header_bytes : file_header_bytes) + dib::header_bytes)
    return because(QVERR_FORMAT, {"shorter than the headers"});
  if (icon)
    read_icon_header(in);
  else
    read_file_header(in);
  if (in.code() < 0) return in.code();
  head.read(in);
  return in.code();
}

int32_t reader::open(const request &r, bool wants_palette) {
  icon = r.icon;
  as_rgb = r.as_rgb;
  if (!r.path) return because(QVERR_USAGE, {"no path"});
  if (const int32_t code = open_bufio(&file, r.path, r.fopenmode ? r.fopenmode : "rb", r.bufsize, 0);
      code < 0)
    return code;
  checked_reader in(file, std::endian::little);
  if (const int32_t code = read_headers(in); code < 0) return code;
  if (head.compression != 0 && !r.any_compression)
    return because(QVERR_UNSUPPORTED, {"compression ", head.compression});
  if (head.bits != 1 && head.bits != 4 && head.bits != 8 && head.bits != 24 && head.bits != 32)
    return because(QVERR_UNSUPPORTED, {head.bits, " bits a pixel"});
  // The rows of an icon's mask, behind the picture's, count as its height.
  if (icon && head.rows() == 2 * icon_height_) head.height /= 2;
  if (head.has_palette()) palette.read(in, head, as_rgb);
  if (in.code() < 0) return in.code();
  if (icon) stored.data = in.position();
  if (head.compression == 0 &&
      (stored.data > file.filelen || head.picture_bytes() > file.filelen - stored.data))
    return because(QVERR_FORMAT, {"byte ", file.filelen, ": the file ends before the ", head.picture_bytes(),
                                  " bytes of pixels that begin at byte ", stored.data});
  shown = dib::present_pixels(head, palette, as_rgb, wants_palette);
  stored.set_layout(dib::layout_of(head));
  rows.set(shown.colours, head.bits / 8u, palette);
  return 0;
}

int32_t reader::present_on(qvimage *image, qvimage *palette_image) {
  if (shown.has_palette_image) {
    if (const int32_t code = dib::present_palette(palette_image, palette, head.bits, as_rgb); code < 0)
      return code;
  }
  present(image, {"QVIMBMP", head.columns(), head.rows(), 1, shown.data, head.pixel_size()}, rows.source());
  return 0;
}

int32_t reader::fill(qvimagefileinfo *info) const {
  const char(&type)[4] = icon ? "ico" : "bmp";
  describe(*info, type, {"", head.columns(), head.rows(), 1, shown.data, head.pixel_size()});
  info->bmp_planes = head.planes;
  info->bmp_bits = head.bits;
  info->bmp_palettekind = !head.has_palette() ? 0 : palette.is_grey_ramp ? 2 : 1;
  info->bmp_compression = head.compression;
  info->bmp_xppm = head.xppm;
  info->bmp_yppm = head.yppm;
  return 0;
}

}  // namespace

}  // namespace qvim::bmp

using namespace qvim;

extern "C" {

int32_t qvimage_bmpread(qvimage *image, qvimage *palette, bmphandle **h, const char *path,
                        const char *fopenmode, int64_t bufsize, uint32_t rgborder, uint32_t anycompression,
                        uint32_t icon) {
  const bmp::request r{path, fopenmode, bufsize, rgborder != 0, anycompression != 0, icon != 0};
  return read_file<bmp::reader>(image, palette, h, r, palette != nullptr);
}

int32_t qvimage_bmpreaddone(qvimage *image, qvimage *palette, bmphandle **h) {
  return end_reading<bmp::reader>(image, palette, h);
}

int32_t qvimage_bmpreadinfo(bmphandle *h, qvimagefileinfo *info, int32_t) {
  return info_of_handle<bmp::reader>(h, info);
}

int32_t qvimage_bmpinfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize,
                        uint32_t icon) {
  const bmp::request r{path, fopenmode, bufsize, false, true, icon != 0};
  return info_of_file<bmp::reader>(info, r, true);
}

void qvimage_bmpinfodone(qvimagefileinfo *) {}

}  // extern "C"
