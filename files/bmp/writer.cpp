// Writing BMP files.
#include <qvimage/bmp.h>
#include <qvimage/error.h>

#include "core/dimension.hpp"
#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/bmp/dib.hpp"
#include "files/rows/image_rows.hpp"
#include "files/rows/write_rows.hpp"
#include "files/stream/output_file.hpp"

namespace qvim::bmp {

namespace {

constexpr uint32_t file_header_bytes = 14, longest_file = 0xFFFFFFFF;

struct request {
  qvimage *palette;
  const char *path, *fopenmode;
  int64_t bufsize;
  const qvimagefileinfo *info;
  bool exchanges_rgb, exchanges_palette, allows_pad;
};

// Bits of a pixel in the file: 0 for images that BMP files do not hold.
uint16_t bits_of(const qvimagedata &d, bool allows_pad) {
  switch (d.pixies) {
    case 1: {
      const int32_t bits = d.i_bitsused;
      return bits == 1 || bits == 4 || bits == 8 || bits == 24 || bits == 32 ? uint16_t(bits) : 0;
    }
    case 3: return 24;
    case 4: return allows_pad ? 32 : 24;
    default: return 0;
  }
}

class writer {
 public:
  writer() : output_(file_) {}

  [[nodiscard]] int32_t write(const progress &told, qvimage &image, const request &r) {
    int32_t code = plan(image, r);
    if (code < 0) return code;
    code = output_.open(r.path, r.fopenmode, r.bufsize,
                        r.fopenmode ? output_file::way::itself : output_file::way::beside);
    if (code < 0) return code;
    bufio_ptr2truncate(&file_, 0);  // a file opened for update is written anew
    write_headers();
    image_rows rows(image, told);
    code = rows.set_up();
    if (code == 0)
      code = write_rows(file_, rows, encoder_, {true, uint32_t(head_.row_bytes() - encoder_.bytes())});
    if (code == 0) return output_.keep();
    output_.drop();
    return code;
  }

 private:
  int32_t plan(const qvimage &image, const request &r);
  void write_headers();
  uint32_t data_begin() const {
    return file_header_bytes + dib::header_bytes + (head_.has_palette() ? dib::entry_bytes << head_.bits : 0);
  }

  bufio file_{};
  output_file output_;
  dib::header head_;
  dib::palette palette_;
  row_encoder encoder_;
};

int32_t writer::plan(const qvimage &image, const request &r) {
  head_.bits = bits_of(image.d, r.allows_pad);
  if (head_.bits == 0) return because(QVERR_UNSUPPORTED, {"BMP files have 1, 4, 8, 24 or 32 bits a pixel"});
  const bool single = image.d.pixies == 1, wide = single && head_.bits > 8;
  if (image.d.pixietype != (wide ? QVIM_UINT32 : QVIM_UINT8))
    return because(QVERR_DATATYPE, {"BMP files have components of 8 bits"});
  if (const int32_t code = judge(image); code < 0) return code;
  head_.width = int32_t(width_of(image.wind));
  head_.height = int32_t(height_of(image.wind));
  if (r.info) head_.xppm = r.info->bmp_xppm, head_.yppm = r.info->bmp_yppm;
  if (head_.picture_bytes() > longest_file - data_begin())
    return because(QVERR_UNSUPPORTED, {"BMP files end at 4 GiB"});
  if (head_.has_palette())
    if (const int32_t code = palette_.take(r.palette, head_.bits, r.exchanges_palette); code < 0) return code;
  const uint32_t samples = single ? 1 : head_.bits / 8u;
  const uint32_t bits = single ? head_.bits : 8;
  row_changes changes;
  changes.exchanges_rgb = r.exchanges_rgb;
  return encoder_.prepare(image, {head_.columns(), samples, bits, single}, changes);
}

void writer::write_headers() {
  number_writer out(file_, std::endian::little);
  out.put('B' | 'M' << 8, 2);
  out.put(data_begin() + head_.picture_bytes(), 4);
  out.put(0, 4);
  out.put(data_begin(), 4);
  head_.write(out);
  if (head_.has_palette()) palette_.write(out, head_.bits);
}

int32_t write_file(qvimagecallback callback, qvimage *image, const request &r) {
  if (!image || !r.path) return because(QVERR_USAGE, {image ? "no path" : "no image"});
  auto w = make_owned<writer>();
  return w ? w->write(progress(callback), *image, r) : int32_t{QVERR_MEMORY};
}

}  // namespace

}  // namespace qvim::bmp

int32_t qvimage_bmpwrite(qvimagecallback callback, qvimage *image, qvimage *palette, const char *path,
                         const char *fopenmode, int64_t bufsize, qvimagefileinfo *info, uint32_t rgborder,
                         uint32_t palswap, uint32_t allow32) {
  return qvim::public_call().result(qvim::bmp::write_file(
      callback, image, {palette, path, fopenmode, bufsize, info, rgborder != 0, palswap != 0, allow32 != 0}));
}
