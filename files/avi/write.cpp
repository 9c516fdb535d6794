// Writing AVI files: the functions of the C interface.
#include <qvimage/avi.h>
#include <qvimage/error.h>

#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/avi/writer.hpp"
#include "files/rows/planes.hpp"
#include "files/stream/handle.hpp"

namespace qvim::avi {

namespace {

int32_t open_for_frames(avihandle **h, const qvimage *image, const qvywindow *wind, const request &r) {
  if (!h || *h || !image || !r.path)
    return because(QVERR_USAGE, {"an image, a path and a place for the handle are needed"});
  qvimage described = *image;
  if (wind) described.wind = *wind;
  auto w = make_owned<writer>();
  if (!w) return QVERR_MEMORY;
  int32_t code = w->plan(described, r);
  if (code == 0) code = w->open(r, output_file::way::itself);
  if (code == 0) *h = w.release();
  return code;
}

// A step that fails ends the file, of which nothing stays; one that is stopped does not.
int32_t add_frame(avihandle **h, qvimagecallback callback, qvimage *frame, const qvimagefileinfo *options,
                  bool exchanges_rgb) {
  writer *w;
  if (const int32_t code = behind(h, &w); code < 0) return code;
  if (!frame) return because(QVERR_USAGE, {"no frame"});
  const int32_t code = w->add(progress(callback), *frame, options, exchanges_rgb);
  if (code >= 0) return code;
  const int32_t result = w->end(code);
  return worst(result, release<writer>(h));
}

int32_t close(avihandle **h) {
  writer *w;
  if (const int32_t code = behind(h, &w); code < 0) return code;
  const int32_t code = w->end(0);
  return worst(code, release<writer>(h));
}

int32_t write_file(qvimagecallback callback, qvimage3 *image, const request &r, bool exchanges_rgb) {
  if (!image || !r.path) return because(QVERR_USAGE, {image ? "no path" : "no image"});
  auto w = make_owned<writer>();
  if (!w) return QVERR_MEMORY;
  int32_t code = with_first_plane(*image, [&](const qvimage &first) { return w->plan(first, r); });
  if (code == 0) code = w->open(r, r.fopenmode ? output_file::way::itself : output_file::way::beside);
  if (code < 0) return code;
  return w->end(
      for_each_plane(*image, progress(callback), [&](qvimage &frame, const progress &told, int32_t) {
        return w->add(told, frame, nullptr, exchanges_rgb);
      }));
}

}  // namespace

}  // namespace qvim::avi

using namespace qvim;

extern "C" {

int32_t qvimage_aviwriteinit(qvimagecallback, avihandle **h, const char *path, const char *fopenmode,
                             qvimage *image, int64_t bufsize, const qvywindow *wind, qvimage *palette,
                             qvimagefileinfo *options, uint64_t, uint32_t swapmap, uint32_t frames,
                             uint32_t mode) {
  return public_call().result(avi::open_for_frames(
      h, image, wind, {path, fopenmode, bufsize, palette, options, swapmap != 0, frames, mode}));
}

int32_t qvimage_aviwriteadd(qvimagecallback callback, avihandle **h, const char *, qvimagefileinfo *options,
                            qvimage *frame, uint32_t rgborder) {
  return public_call().result(avi::add_frame(h, callback, frame, options, rgborder != 0));
}

int32_t qvimage_aviwritedone(qvimagecallback, avihandle **h, const char *) {
  return public_call().result(avi::close(h));
}

int32_t qvimage3_aviwrite(qvimagecallback callback, qvimage3 *image, qvimage *palette, const char *path,
                          const char *fopenmode, int64_t bufsize, qvimagefileinfo *options, uint32_t rgborder,
                          uint32_t swapmap, uint32_t mode) {
  const uint32_t frames = image ? uint32_t(image->wind.se.z) - uint32_t(image->wind.nw.z) : 0;
  return public_call().result(avi::write_file(
      callback, image, {path, fopenmode, bufsize, palette, options, swapmap != 0, frames, mode},
      rgborder != 0));
}

}  // extern "C"
