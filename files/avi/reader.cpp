// AVI files as images: a plane a frame.
#include <cstring>

#include <qvimage/colour.h>
#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/jpeg.h>
#include <qvimage/views.h>

#include "core/reason.hpp"
#include "files/avi/movie.hpp"
#include "files/rows/information.hpp"
#include "files/rows/read_calls.hpp"
#include "files/stream/bufio.hpp"

namespace qvim::avi {

namespace {

constexpr uint64_t most_frames = 0x7FFFFFFF;

// The frames of plain bitmaps.
struct plain_rows final : raster {
  plain_rows(bufio *file, const film &f) : raster(file), film_(f) {}
  using raster::set_layout;
  int32_t find(uint64_t plane, uint64_t *begin) override {
    const frame &f = film_.frames[plane];
    *begin = f.position;
    if (f.bytes >= film_.format.picture_bytes()) return 0;
    return because(QVERR_FORMAT,
                   {"frame ", plane + 1, " has ", f.bytes, " bytes, not ", film_.format.picture_bytes()});
  }

 private:
  const film &film_;
};

// The frames of motion JPEG: one at a time is open.
class jpeg_rows final : public row_source {
 public:
  jpeg_rows(bufio *file, const film &f) : row_source(file), file_(*file), film_(f) {}
  ~jpeg_rows() { close(); }

  void set_pixels(const qvimagedata &d) { data_ = d; }
  int32_t select(uint64_t plane) override;
  uint32_t width() const override { return film_.format.columns(); }
  uint32_t height() const override { return film_.format.rows(); }
  int32_t read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) override;
  int32_t read_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done) override;
  int32_t view(uint32_t y, uint32_t x, uint32_t *n, const uint8_t **pixels) override;

 private:
  static constexpr uint64_t none = ~uint64_t{0};
  static constexpr uint32_t part_bytes = 2048;

  void close();
  int32_t show();

  bufio &file_;
  const film &film_;
  qvimagedata data_{};
  uint64_t open_ = none;
  jpegcontext *context_ = nullptr;
  qvimage picture_{}, recoloured_{};
  qvimage *top_ = nullptr;
  uint8_t part_[part_bytes];
};

void jpeg_rows::close() {
  if (context_) static_cast<void>(qvimage_jpegreaddone(&picture_, &context_));
  open_ = none;
}

int32_t jpeg_rows::select(uint64_t plane) {
  if (open_ == plane) return 0;
  close();
  bufio_tareset(&file_, film_.frames[plane].position);
  int32_t code = qvimage_jpegread(&picture_, &context_, nullptr, nullptr, 0, &file_);
  bufio_tareclr(&file_);
  if (code == 0) code = show();
  if (code == 0) open_ = plane;
  return within({"frame ", plane + 1}, code);
}

// In the colours of the film, whatever the frame's are.
int32_t jpeg_rows::show() {
  if (picture_.imdim.se.x != int32_t(width()) || picture_.imdim.se.y != int32_t(height()))
    return because(QVERR_FORMAT, {picture_.imdim.se.x, " x ", picture_.imdim.se.y, " pixels in a film of ",
                                  width(), " x ", height()});
  top_ = &picture_;
  if (picture_.d.pixelhint != data_.pixelhint) {
    if (const int32_t code = qvimage_colorconverter(&recoloured_, &picture_, data_.pixelhint, 0); code < 0)
      return code;
    top_ = &recoloured_;
  }
  const int32_t set = top_->ioset(top_, 0, QVIM_UINT8, (1u << data_.pixies) - 1);
  return set > 0 ? 0 : set < 0 ? set : int32_t{QVERR_FORMAT};
}

int32_t jpeg_rows::read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) {
  for (uint32_t done = 0; done < n;) {
    const uint32_t moved = top_->ioread(top_, 0, to + uint64_t(done) * uint32_t(data_.pixies), n - done,
                                        int32_t(x + done), int32_t(y));
    if (moved == 0) {
      const int32_t latched = int32_t(picture_.aeiou(&picture_, 'e', 1, 0, nullptr));
      return latched < 0 ? latched : int32_t{QVERR_FORMAT};
    }
    done += moved;
  }
  return 0;
}

int32_t jpeg_rows::read_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done) {
  int32_t code = 0;
  for (*done = 0; *done < rows && code == 0; *done += code == 0)
    code = read(y + *done, 0, width(), to + uint64_t(*done) * width() * uint32_t(data_.pixies));
  return code;
}

int32_t jpeg_rows::view(uint32_t y, uint32_t x, uint32_t *n, const uint8_t **pixels) {
  *n = std::min(*n, part_bytes / uint32_t(data_.pixies));
  *pixels = part_;
  return read(y, x, *n, part_);
}

struct reader final : avihandle {
  static constexpr uint32_t kind = reader_mark;

  reader() : avihandle(reader_mark), plain(&file, movie), bitmaps(&file, plain), jpegs(&file, movie) {}
  ~reader() { bufio_done(&file); }

  int32_t open(const char *path, const char *fopenmode, int64_t bufsize, bool lenient, bool wants_palette);
  int32_t present_on(qvimage3 *im, qvimage *palette);
  int32_t fill(qvimagefileinfo *info) const;
  row_source &source() { return movie.is_jpeg ? static_cast<row_source &>(jpegs) : bitmaps.source(); }

  film movie;
  plain_rows plain;
  dib::rows bitmaps;
  jpeg_rows jpegs;
  dib::presentation shown{};
  row_image image{};
};

int32_t reader::open(const char *path, const char *fopenmode, int64_t bufsize, bool lenient,
                     bool wants_palette) {
  if (!path) return because(QVERR_USAGE, {"no path"});
  int32_t code = open_bufio(&file, path, fopenmode ? fopenmode : "rb", bufsize, BUFIO_LOCKED);
  if (code == 0) code = movie.read(file, lenient);
  if (code < 0) return code;
  const dib::header &h = movie.format;
  if (movie.is_jpeg) {
    const bool grey = h.bits == 8;
    qviminitdata(&shown.data, QVIM_UINT8, 8, grey ? 1 : 3, grey ? QVIM_HINT_GREY : QVIM_HINT_RGB);
    jpegs.set_pixels(shown.data);
  } else {
    shown = dib::present_pixels(h, movie.palette, false, wants_palette);
    plain.set_layout(dib::layout_of(h));
    bitmaps.set(shown.colours, h.bits / 8u, movie.palette);
  }
  const uint64_t frames = std::min(movie.count, most_frames);
  image = {"QVIMAVI", h.columns(), h.rows(), uint32_t(frames), shown.data, h.pixel_size()};
  return 0;
}

int32_t reader::present_on(qvimage3 *im, qvimage *palette) {
  if (shown.has_palette_image)
    if (const int32_t code = dib::present_palette(palette, movie.palette, movie.format.bits, false); code < 0)
      return code;
  present(im, image, source());
  return 0;
}

int32_t reader::fill(qvimagefileinfo *info) const {
  describe(*info, "avi", image);
  info->bmp_xppm = movie.format.xppm;
  info->bmp_yppm = movie.format.yppm;
  info->avi_ratenum = movie.rate;
  info->avi_rateden = movie.scale;
  info->avi_bits = movie.format.bits;
  info->avi_compression = movie.format.compression;
  std::memcpy(info->avi_handler, &movie.handler, sizeof info->avi_handler);
  return copy_texts(*info, movie.texts, [&](size_t i) { return &(info->*text_chunks[i].member); });
}

}  // namespace

}  // namespace qvim::avi

using namespace qvim;

extern "C" {

int32_t qvimage3_aviread(qvimage3 *image, qvimage *palette, avihandle **h, const char *path,
                         const char *fopenmode, int64_t bufsize, uint32_t lenient) {
  return read_file<avi::reader>(image, palette, h, path, fopenmode, bufsize, lenient != 0,
                                palette != nullptr);
}

int32_t qvimage3_avireaddone(qvimage3 *image, qvimage *palette, avihandle **h) {
  return end_reading<avi::reader>(image, palette, h);
}

int32_t qvimage_avireadinfo(avihandle *h, qvimagefileinfo *info) {
  return info_of_handle<avi::reader>(h, info);
}

int32_t qvimage_aviinfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize) {
  return info_of_file<avi::reader>(info, path, fopenmode, bufsize, true, true);
}

void qvimage_aviinfodone(qvimagefileinfo *info) {
  if (info && has_type(*info, "avi")) free_texts(*info);
}

}  // extern "C"
