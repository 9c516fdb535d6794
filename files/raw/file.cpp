// Raw files: opened as images, and written from images.
#include <algorithm>

#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/raw.h>

#include "core/dimension.hpp"
#include "core/null.hpp"
#include "core/owned.hpp"
#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/raw/file_image.hpp"
#include "files/rows/image_rows.hpp"
#include "files/rows/write_rows.hpp"
#include "files/stream/bufio.hpp"
#include "files/stream/output_file.hpp"

namespace qvim::raw {

namespace {

constexpr uint32_t usual_block = 65536;

int32_t open(qvimage *image, bufio **h, const char *path, const char *mode, const uint32_t size[2],
             const qvimagedata &d, uint32_t bufsize) {
  if (!image || !h || *h || !path)
    return because(QVERR_USAGE, {"no record, no place for the stream, or no path"});
  array<bufio> stream;
  if (!stream.allocate_zeroed(1)) return QVERR_MEMORY;
  // Before the file is touched.
  if (const int32_t code = present(image, stream.data(), size, &d); code < 0) return code;
  const uint32_t block = bufsize ? bufsize : std::max(usual_block, size[0]);
  open_mode reading_too;
  if (mode[0] == 'w' && reading_too.set(mode, false)) mode = reading_too.text;
  if (const int32_t code = open_bufio(stream.data(), path, mode, block, BUFIO_LOCKED); code < 0) return code;
  *h = stream.release();
  return 0;
}

int32_t write(qvimagecallback callback, qvimage *image, const char *path, const char *mode,
              uint32_t bufsize) {
  if (!image) return because(QVERR_USAGE, {"no image"});
  if (const int32_t code = judge(*image); code < 0) return code;
  row_encoder encoder;
  int32_t code =
      encoder.prepare_verbatim(uint64_t(uint32_t(width_of(image->wind))) * uint32_t(image->f.pixelsize));
  if (code < 0) return code;
  image_rows rows(*image, progress(callback), 0);
  if (code = rows.set_up(); code < 0) return code;
  bufio stream;
  output_file file(stream);
  code = file.open(path, mode, bufsize, mode ? output_file::way::itself : output_file::way::beside);
  if (code < 0) return code;
  code = write_rows(stream, rows, encoder);
  if (code == 0) return file.keep();
  file.drop();
  return code;
}

}  // namespace

}  // namespace qvim::raw

using namespace qvim;

int32_t qvimage_filebufio(qvimage *image, bufio *b, const uint32_t size[2], const qvimagedata *d) {
  const public_call call;
  if (!image) return call.result(because(QVERR_USAGE, {"no record for the image"}));
  const int32_t code = raw::present(image, b, size, d);
  return call.result(code < 0 ? fail(image, code) : 0);
}

int32_t qvimage_file(qvimage *image, bufio **h, const char *path, const char *fopenmode,
                     const uint32_t size[2], uint32_t pixietype, uint32_t bitsused, uint32_t pixies,
                     uint32_t pixelhint, uint32_t bufsize) {
  const public_call call;
  qvimagedata d;
  qviminitdata(&d, int32_t(pixietype), int32_t(bitsused), int32_t(pixies), int32_t(pixelhint));
  const int32_t code = raw::open(image, h, path, fopenmode ? fopenmode : "wb", size, d, bufsize);
  return call.result(code < 0 && image ? fail(image, code) : code);
}

int32_t qvimage_filedone(qvimage *image, bufio **h) {
  if (h && *h) {
    bufio_done(*h);
    qvfree(*h);
    *h = nullptr;
  }
  if (image) qvimage_defnull(image);
  return 0;
}

int32_t qvimage_filewrite(qvimagecallback callback, qvimage *image, const char *path, const char *fopenmode,
                          uint32_t bufsize) {
  return public_call().result(raw::write(callback, image, path, fopenmode, bufsize));
}
