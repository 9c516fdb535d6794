// Writing TIFF files: whole images in one call.
#include <cstdio>

#include <qvimage/tiff.h>
#include <qvimage/views.h>

#include "core/dimension.hpp"
#include "core/result.hpp"
#include "files/tiff/writer.hpp"

namespace {

using namespace qvim;
using namespace qvim::tiff;

struct request {
  qvimagecallback callback;
  qvimage *palette;
  qvimagefileinfo *options;
  uint32_t rgborder, swapmap, yccorder;
};

int32_t write_page(tiffhandle **h, qvimagecallback callback, qvimage *image, const request &r, bool further) {
  int32_t code =
      qvimage_tiffwritesetup(h, image, r.palette, r.options, r.rgborder, r.swapmap, r.yccorder, further);
  if (code == 0) code = qvimage_tiffwriteifdinit(h);
  if (code == 0) code = qvimage_tiffwritedata(h, callback, image, 0);
  if (code == 0) code = qvimage_tiffwriteifdfini(h);
  return code;
}

int32_t write_pages(tiffhandle **h, qvimage *image, const request &r) {
  return write_page(h, r.callback, image, r, false);
}

// One page a plane. The callback hears of planes, not of their rows.
int32_t write_pages(tiffhandle **h, qvimage3 *image, const request &r) {
  const int64_t depth = int64_t(image->wind.se.z) - image->wind.nw.z;
  if (depth < 1) return -1;
  for (int64_t z = 0; z < depth; z++) {
    if (r.callback)
      if (const int32_t stop = r.callback(z + 1, depth); stop != 0) return stop;
    qvimage plane;
    int32_t code = qvimage_def2from3(&plane, image, 0, 2, int32_t(z), 0);
    if (code == 0) code = write_page(h, nullptr, &plane, r, z > 0);
    if (code == 0) code = qvimage_tifferror(h);
    if (code != 0) return code;
  }
  return 0;
}

template <class Record>
int32_t write_file(Record *image, const char *path, const char *fopenmode, int64_t bufsize,
                   int64_t appendpage, const request &r) {
  if (!image || !path) return -1;
  // An existing file is not given up for an image that cannot be written.
  page form;
  const auto &window = image->wind;
  int32_t code = set_form(form, image->d, int64_t(window.se.x) - window.nw.x,
                          int64_t(window.se.y) - window.nw.y, false, r.options);
  if (code < 0) return code;
  tiffhandle *h = nullptr;
  code = qvimage_tiffwriteopen(&h, 1, nullptr, nullptr, path, fopenmode, bufsize, appendpage, r.options);
  if (code == 0) code = write_pages(&h, image, r);
  if (!h) return code;
  const bool created = qvimage_tifffileopened(&h) > 0;
  if (code != 0) revert(*static_cast<writer *>(h));
  // The result of a stop stays unless something worse follows.
  const int32_t closed = qvimage_tiffclose(&h);
  code = code == 0 ? closed : worst(code, closed);
  qvimage_tifffini(&h, 1);
  if (code != 0 && created) std::remove(path);
  return code;
}

}  // namespace

extern "C" {

int32_t qvimage_tiffwrite(qvimagecallback callback, qvimage *image, qvimage *palette, const char *path,
                          const char *fopenmode, int64_t bufsize, int64_t appendpage,
                          qvimagefileinfo *options, uint32_t rgborder, uint32_t swapmap, uint32_t yccorder) {
  return write_file(image, path, fopenmode, bufsize, appendpage,
                    {callback, palette, options, rgborder, swapmap, yccorder});
}

int32_t qvimage3_tiffwrite(qvimagecallback callback, qvimage3 *image, qvimage *palette, const char *path,
                           const char *fopenmode, int64_t bufsize, int64_t appendpage,
                           qvimagefileinfo *options, uint32_t rgborder, uint32_t swapmap, uint32_t yccorder) {
  return write_file(image, path, fopenmode, bufsize, appendpage,
                    {callback, palette, options, rgborder, swapmap, yccorder});
}

}  // extern "C"
