// Writing TIFF files: the functions of the C interface.
#include <algorithm>

#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/tiff.h>

#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/rows/planes.hpp"
#include "files/tiff/writer.hpp"
#include "kernels/words.hpp"

namespace qvim::tiff {

namespace {

// --- in steps

template <class Step>
int32_t take_step(tiffhandle **h, Step step) {
  const public_call call;
  writer *w;
  const int32_t code = behind(h, &w);
  return call.result(code < 0 ? code : step(*w));
}

// Block size of the memory that a band after the first is coded into: a quarter of what is expected of it.
uint64_t band_block(uint64_t file_block, int32_t bands, const uint32_t size[2], const qvimagedata *d,
                    uint32_t compression) {
  constexpr uint64_t smallest = 1024;
  if (!size || !d) return file_block;
  const bool by_arithmetic = compression == arithmetic || compression == arithmetic_differenced;
  const bool small = compression == lzw || compression == lzw_differenced || by_arithmetic;
  const bool packed = is_integer(d->pixietype) && !by_arithmetic;
  const int bits = packed ? d->i_bitsused : 8 * qvimdatasize(uint32_t(d->pixietype));
  const double bytes = double(size[0]) * size[1] * d->pixies * bits / 8 / bands;
  const double block = bytes / (small ? 16 : 4);
  return block < double(smallest) ? smallest : block > double(file_block) ? file_block : uint64_t(block);
}

int32_t open_for_steps(tiffhandle **h, int32_t bands, const uint32_t size[2], const qvimagedata *d,
                       const char *path, const char *fopenmode, int64_t bufsize, int64_t appendpage,
                       const qvimagefileinfo *options) {
  constexpr uint64_t usual_block = 65536;
  if (!h || *h) return because(QVERR_USAGE, {"the handle's place is null or holds a handle"});
  if (bands < 1 || appendpage < 0 || bufsize < 0)
    return because(QVERR_USAGE,
                   {"bands ", bands, ", appendpage ", appendpage, ", bufsize ", bufsize, ": too small"});
  owned<writer> w = make_owned<writer>();
  if (!w) return QVERR_MEMORY;
  const uint64_t block = band_block(bufsize ? uint64_t(bufsize) : usual_block, bands, size, d,
                                    options ? options->compression : 0);
  if (const int32_t code = w->make_bands(uint32_t(bands), block); code < 0) return code;
  const int32_t code =
      w->open(path, fopenmode, bufsize, uint64_t(appendpage), options && options->version == 43,
              appendpage ? output_file::way::update : output_file::way::itself);
  if (code == 0) *h = w.release();
  return code;
}

int32_t release(tiffhandle **h, writer &w) {
  const int32_t code = worst(w.close(), w.band_error());
  owned<writer>{&w};
  *h = nullptr;
  return code;
}

// --- in one call

// A page that was planned.
int32_t write_page(writer &w, const progress &told, qvimage &image, const page_request &r) {
  int32_t code = w.set_up(image, r);
  if (code == 0) code = w.begin();
  if (code == 0) code = w.data(told, image, 0);
  return code == 0 ? w.finish() : code;
}

template <class Record>
int32_t write_file(qvimagecallback callback, Record *image, const char *path, const char *fopenmode,
                   int64_t bufsize, int64_t appendpage, const page_request &r) {
  if (!image || !path) return because(QVERR_USAGE, {image ? "no path is given" : "no image is given"});
  if (appendpage < 0) return because(QVERR_USAGE, {"appendpage ", appendpage, " is below 0"});
  owned<writer> w = make_owned<writer>();
  if (!w) return QVERR_MEMORY;
  int32_t code = w->make_bands(1, 0);
  if (code == 0) code = with_first_plane(*image, [&](const qvimage &first) { return w->plan(first, r); });
  if (code == 0)
    code = w->open(path, fopenmode, bufsize, uint64_t(appendpage), r.options && r.options->version == 43,
                   appendpage  ? output_file::way::update
                   : fopenmode ? output_file::way::itself
                               : output_file::way::beside);
  if (code < 0) return code;
  return w->end(
      for_each_plane(*image, progress(callback), [&](qvimage &page, const progress &told, int32_t z) {
        const int32_t planned = z > 0 ? w->plan(page, r) : 0;
        return planned < 0 ? planned : write_page(*w, told, page, r);
      }));
}

}  // namespace

}  // namespace qvim::tiff

using namespace qvim;
using namespace qvim::tiff;

extern "C" {

int32_t qvimage_tiffwriteopen(tiffhandle **h, int32_t bands, const uint32_t size[2], const qvimagedata *d,
                              const char *path, const char *fopenmode, int64_t bufsize, int64_t appendpage,
                              qvimagefileinfo *options) {
  return public_call().result(
      open_for_steps(h, bands, size, d, path, fopenmode, bufsize, appendpage, options));
}

int32_t qvimage_tiffwritesetup(tiffhandle **h, qvimage *image, qvimage *palette, qvimagefileinfo *options,
                               uint32_t rgborder, uint32_t swapmap, uint32_t yccorder, int32_t) {
  const page_request r{palette, options, rgborder != 0, swapmap != 0, yccorder != 0};
  return take_step(h, [&](writer &w) {
    const int32_t code = image ? w.plan(*image, r) : because(QVERR_USAGE, {"no image is given"});
    return code < 0 ? code : w.set_up(*image, r);
  });
}

int32_t qvimage_tiffwriteifdinit(tiffhandle **h) {
  return take_step(h, [](writer &w) { return w.begin(); });
}

int32_t qvimage_tiffwritedata(tiffhandle **h, qvimagecallback callback, qvimage *image, int32_t number) {
  return take_step(h, [&](writer &w) {
    return image && number >= 0 ? w.data(progress(callback), *image, uint32_t(number)) : int32_t{QVERR_USAGE};
  });
}

int32_t qvimage_tiffwriteifdfini(tiffhandle **h) {
  return take_step(h, [](writer &w) { return w.finish(); });
}

int32_t qvimage_tiffclose(tiffhandle **h) {
  return take_step(h, [](writer &w) { return w.close(); });
}

int32_t qvimage_tifffini(tiffhandle **h, int32_t) {
  return take_step(h, [h](writer &w) { return release(h, w); });
}

int32_t qvimage_tifferror(tiffhandle **h) {
  writer *w;
  const int32_t code = behind(h, &w);
  return code < 0 ? code : w->error();
}

int32_t qvimage_tifffileopened(tiffhandle **h) {
  writer *w;
  const int32_t code = behind(h, &w);
  return code < 0 ? code : w->created();
}

int32_t qvimage_tiffwrite(qvimagecallback callback, qvimage *image, qvimage *palette, const char *path,
                          const char *fopenmode, int64_t bufsize, int64_t appendpage,
                          qvimagefileinfo *options, uint32_t rgborder, uint32_t swapmap, uint32_t yccorder) {
  return public_call().result(write_file(callback, image, path, fopenmode, bufsize, appendpage,
                                         {palette, options, rgborder != 0, swapmap != 0, yccorder != 0}));
}

int32_t qvimage3_tiffwrite(qvimagecallback callback, qvimage3 *image, qvimage *palette, const char *path,
                           const char *fopenmode, int64_t bufsize, int64_t appendpage,
                           qvimagefileinfo *options, uint32_t rgborder, uint32_t swapmap, uint32_t yccorder) {
  return public_call().result(write_file(callback, image, path, fopenmode, bufsize, appendpage,
                                         {palette, options, rgborder != 0, swapmap != 0, yccorder != 0}));
}

}  // extern "C"
