// Writing JPEG files: the exported functions.
#include <algorithm>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/jpeg/writer.hpp"
#include "files/stream/handle.hpp"

namespace qvim::jpeg {

namespace {

struct target {
  const char *path, *fopenmode;
  int64_t bufsize;
  bufio *memory;
  output_file::way how;
};

int32_t begin(jpegcontext **c, uint32_t bands, const qvimage *image, const uint32_t *bandrows,
              const target &to, const qvimagefileinfo *info) {
  if (!c || *c || bands == 0 || !image) return QVERR_USAGE;
  auto w = make_owned<writer>();
  if (!w) return QVERR_MEMORY;
  int32_t code = w->set_form(*image, info);
  if (code == 0 && (bands > most_bands || !(to.path || to.memory))) code = QVERR_USAGE;
  if (code == 0) code = w->make_bands(bands, bandrows);
  if (code == 0 && !to.memory) code = w->open(to.path, to.fopenmode, to.bufsize, to.how);
  if (code < 0) return code;
  if (to.memory) w->open(to.memory);
  w->put_head(info);
  if ((code = bufio_err(w->out)) < 0) {
    w->output.drop();
    return code;
  }
  *c = w.release();
  return 0;
}

int32_t encode(jpegcontext **c, uint32_t band, const progress &told, qvimage *image, const int32_t *rows) {
  writer *w;
  if (const int32_t code = behind(c, &w); code < 0) return code;
  if (!image || !rows || band >= w->bands.size()) return QVERR_USAGE;
  const int32_t height = int32_t(w->height);
  const uint32_t first = uint32_t(std::clamp(rows[0], 0, height)),
                 end = uint32_t(std::clamp(rows[1], 0, height));
  const int32_t code = w->encode(band, told, *image, first, end);
  if (int32_t &kept = w->bands[band]->result; kept == 0 || code < kept) kept = code;
  return code;
}

int32_t end(jpegcontext **c, int32_t error) {
  writer *w;
  if (const int32_t code = behind(c, &w); code < 0) return code;
  const owned<writer> released(w);
  *c = nullptr;
  return w->finish(error);
}

int32_t write(qvimage *image, const target &to, const qvimagefileinfo *info, const progress &told) {
  if (!image) return QVERR_USAGE;
  jpegcontext *c = nullptr;
  if (const int32_t code = begin(&c, 1, image, nullptr, to, info); code < 0) return code;
  const int32_t all[2] = {0, highest_side};
  return end(&c, encode(&c, 0, told, image, all));
}

}  // namespace

int32_t write_picture(qvimage &image, bufio *stream, const qvimagefileinfo *options, const progress &told) {
  return write(&image, {nullptr, nullptr, 0, stream, output_file::way::itself}, options, told);
}

}  // namespace qvim::jpeg

using qvim::public_call;

extern "C" {

int32_t qvimage_jpegwrite(void *, qvimage *image, const char *path, const char *fopenmode, int64_t bufsize,
                          bufio *memory, qvimagefileinfo *info) {
  const auto how = fopenmode ? qvim::output_file::way::itself : qvim::output_file::way::beside;
  return public_call().result(
      qvim::jpeg::write(image, {path, fopenmode, bufsize, memory, how}, info, qvim::progress(nullptr)));
}

int32_t qvimage_jpegwrite0(jpegcontext **c, uint32_t bands, void *, qvimage *image, const uint32_t *bandrows,
                           const char *path, const char *fopenmode, int64_t bufsize, bufio *memory,
                           qvimagefileinfo *info) {
  return public_call().result(qvim::jpeg::begin(
      c, bands, image, bandrows, {path, fopenmode, bufsize, memory, qvim::output_file::way::itself}, info));
}

int32_t qvimage_jpegwrite1(jpegcontext **c, uint32_t band, qvimagecallback callback, qvimage *image,
                           const int32_t rows[2]) {
  return public_call().result(qvim::jpeg::encode(c, band, qvim::progress(callback), image, rows));
}

int32_t qvimage_jpegwrite2(jpegcontext **c, void *, qvimage *, const char *, const char *, int32_t error) {
  return public_call().result(qvim::jpeg::end(c, error));
}

}  // extern "C"
