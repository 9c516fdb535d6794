// Writing AVI files: the functions of the C interface.
#include <qvimage/avi.h>
#include <qvimage/error.h>

#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/avi/writer.hpp"
#include "files/rows/write_calls.hpp"

namespace qvim::avi {

namespace {

// A step that fails ends the file, of which nothing stays; one that is stopped does not.
int32_t add_or_end(avihandle **h, qvimagecallback callback, qvimage *frame, const qvimagefileinfo *options,
                   bool exchanges_rgb) {
  writer *w;
  if (const int32_t code = behind(h, &w); code < 0) return code;
  const int32_t code =
      frame ? w->add(progress(callback), *frame, options, exchanges_rgb) : because(QVERR_USAGE, {"no frame"});
  if (code >= 0) return code;
  const int32_t result = w->end(code);
  return worst(result, release<writer>(h));
}

}  // namespace

}  // namespace qvim::avi

using namespace qvim;

extern "C" {

int32_t qvimage_aviwriteinit(qvimagecallback, avihandle **h, const char *path, const char *fopenmode,
                             qvimage *image, int64_t bufsize, const qvywindow *wind, qvimage *palette,
                             qvimagefileinfo *options, uint64_t, uint32_t swapmap, uint32_t frames,
                             uint32_t mode) {
  qvimage described;
  if (image) described = *image;
  if (image && wind) described.wind = *wind;
  const avi::request r{path, fopenmode, bufsize, palette, options, swapmap != 0, frames, mode};
  return open_for_frames<avi::writer>(h, image ? &described : nullptr, r);
}

int32_t qvimage_aviwriteadd(qvimagecallback callback, avihandle **h, const char *, qvimagefileinfo *options,
                            qvimage *frame, uint32_t rgborder) {
  return public_call().result(avi::add_or_end(h, callback, frame, options, rgborder != 0));
}

int32_t qvimage_aviwritedone(qvimagecallback, avihandle **h, const char *) {
  return end_frames<avi::writer>(h);
}

int32_t qvimage3_aviwrite(qvimagecallback callback, qvimage3 *image, qvimage *palette, const char *path,
                          const char *fopenmode, int64_t bufsize, qvimagefileinfo *options, uint32_t rgborder,
                          uint32_t swapmap, uint32_t mode) {
  const uint32_t frames = image ? uint32_t(image->wind.se.z) - uint32_t(image->wind.nw.z) : 0;
  const avi::request r{path, fopenmode, bufsize, palette, options, swapmap != 0, frames, mode};
  return write_file<avi::writer>(callback, image, r, nullptr, rgborder != 0);
}

}  // extern "C"
