// Images over JPEG files, and what their information records say.
#include <cstring>

#include <qvimage/data.h>

#include "core/reason.hpp"
#include "files/jpeg/context.hpp"
#include "files/jpeg/pixel_rows.hpp"
#include "files/rows/information.hpp"
#include "files/rows/read_calls.hpp"
#include "files/rows/row_image.hpp"
#include "files/rows/row_source.hpp"
#include "files/stream/bufio.hpp"
#include "files/stream/critical.hpp"

namespace qvim::jpeg {

namespace {

constexpr char type[4] = "jpg";

struct reader final : jpegcontext, row_source {
  explicit reader(bufio *callers = nullptr)
      : jpegcontext(reader_mark), row_source(callers ? callers : &file), stream(callers ? callers : &file) {}
  ~reader() { bufio_done(&file); }  // nothing when it was never opened

  static constexpr uint32_t kind = reader_mark;

  [[nodiscard]] int32_t open(const char *path, const char *fopenmode, int64_t bufsize) {
    if (stream == &file) {
      if (!path) return because(QVERR_USAGE, {"no path"});
      const int32_t code = open_bufio(&file, path, fopenmode ? fopenmode : "rbe", bufsize, BUFIO_LOCKED);
      if (code < 0) return code;
    }
    const critical section(*stream);
    const int32_t code = said.read(*stream);
    return code < 0 ? code : rows.start(stream, said);
  }

  [[nodiscard]] int32_t select(uint64_t) override { return 0; }
  uint32_t width() const override { return said.width; }
  uint32_t height() const override { return said.height; }
  [[nodiscard]] int32_t read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) override {
    const uint8_t *pixels;
    const int32_t code = view(y, x, &n, &pixels);
    if (code == 0) std::memcpy(to, pixels, uint64_t(n) * said.components);
    return code;
  }
  [[nodiscard]] int32_t read_rows(uint32_t y, uint32_t count, uint8_t *to, uint32_t *done) override {
    for (*done = 0; *done < count; ++*done, to += uint64_t(said.width) * said.components)
      if (const int32_t code = read(y + *done, 0, said.width, to); code < 0) return code;
    return 0;
  }
  [[nodiscard]] int32_t view(uint32_t y, uint32_t x, uint32_t *, const uint8_t **pixels) override {
    const critical section(*stream);
    const int32_t code = rows.row(y, pixels);
    if (code == 0) *pixels += uint64_t(x) * said.components;
    return code;
  }

  int32_t fill(qvimagefileinfo *info) const;

  bufio file{};
  bufio *const stream;
  head said;
  pixel_rows rows;
};

row_image picture_of(const head &h) {
  row_image image{"JPEG", h.width, h.height, 1, {}, {}};
  qviminitdata(&image.data, QVIM_UINT8, 8, int32_t(h.components),
               h.components == 1 ? QVIM_HINT_GREY : QVIM_HINT_RGB);
  return image;
}

int32_t open(qvimage *view, jpegcontext **c, const char *path, const char *fopenmode, int64_t bufsize,
             bufio *stream) {
  if (!view || !c || *c) return QVERR_USAGE;
  auto r = make_owned<reader>(stream);
  const int32_t code = r ? r->open(path, fopenmode, bufsize) : int32_t{QVERR_MEMORY};
  if (code < 0) return code;
  present(view, picture_of(r->said), *r);
  *c = r.release();
  return 0;
}

void free_comments(qvimagefileinfo &info) {
  for (char *&text : info.jpg_comment) qvfreep(&text);
}

int32_t reader::fill(qvimagefileinfo *info) const {
  describe(*info, type, picture_of(said));
  info->jpg_quality = said.quality;
  info->jpg_reserved = said.has_quality;
  info->jpg_xdensity = said.pixels.x;
  info->jpg_ydensity = said.pixels.y;
  info->jpg_densityunit = said.pixels.unit;
  info->jpg_encodemode = said.mode;
  return copy_texts(*info, said.comments, [&](size_t i) { return &info->jpg_comment[i]; });
}

}  // namespace

}  // namespace qvim::jpeg

using namespace qvim;

extern "C" {

int32_t qvimage_jpegread(qvimage *view, jpegcontext **c, const char *path, const char *fopenmode,
                         int64_t bufsize, bufio *stream) {
  const public_call door;
  const int32_t code = jpeg::open(view, c, path, fopenmode, bufsize, stream);
  if (code < 0) qvimage_defnull(view);
  return door.result(code);
}

int32_t qvimage_jpegreaddone(qvimage *view, jpegcontext **c) {
  return end_reading<jpeg::reader>(view, nullptr, c);
}

int32_t qvimage_jpegreadinfo(jpegcontext *c, qvimagefileinfo *info) {
  return info_of_handle<jpeg::reader>(c, info);
}

int32_t qvimage_jpeginfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize) {
  return info_of_file<jpeg::reader>(info, path, fopenmode, bufsize);
}

void qvimage_jpeginfodone(qvimagefileinfo *info) {
  if (info && has_type(*info, jpeg::type)) jpeg::free_comments(*info);
}

}  // extern "C"
