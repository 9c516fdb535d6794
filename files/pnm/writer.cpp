// Writing anymap files: frame by frame, or whole images in one call.
#include <qvimage/error.h>

#include "core/dimension.hpp"
#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/pnm/header.hpp"
#include "files/rows/write_calls.hpp"
#include "files/rows/write_rows.hpp"
#include "files/stream/bufio.hpp"
#include "files/stream/output_file.hpp"

namespace qvim::pnm {

namespace {

// A mode bit that sources of the image may look at.
constexpr uint32_t low_end = 0x200;

struct request {
  const char *path, *fopenmode;
  int64_t bufsize;
  uint64_t appendframes;
  const qvimagefileinfo *options;
  bool exchanges_rgb, allows_pad;
};

class writer final : public pgmhandle {
 public:
  static constexpr uint32_t kind = writer_mark;

  writer() : pgmhandle(writer_mark), output_(file) {}

  // What the file is to be, from its first frame; then the file. In between nothing has been touched.
  [[nodiscard]] int32_t plan(const qvimage &image, const request &r);
  [[nodiscard]] int32_t open(const request &r, output_file::way new_file);
  [[nodiscard]] int32_t add(const progress &told, qvimage &frame);
  // Keeps the file, or, when the code is not 0, leaves things as they were. The worst code of all.
  [[nodiscard]] int32_t end(int32_t code);
  int32_t error() { return bufio_err(&file); }

 private:
  int32_t find_end(uint64_t frames);

  output_file output_;
  row_encoder encoder_;
  bool appends_ = false;
  uint64_t former_ = 0, complete_ = 0;  // where the last frame ends: when the file was opened, and now
};

int32_t writer::plan(const qvimage &image, const request &r) {
  const qvimagedata &d = image.d;
  const int32_t pixies = d.pixies;
  if (pixies != 1 && pixies != 3 && !(pixies == 4 && r.allows_pad))
    return because(QVERR_USAGE, {"anymap files have 1 or 3 components, not ", pixies});
  if ((d.pixietype != QVIM_UINT8 && d.pixietype != QVIM_UINT16) || d.i_bitsused < 1 || d.i_bitsused > 16)
    return because(QVERR_DATATYPE, {"anymap files have unsigned values of 1 to 16 bits"});
  if (const int32_t code = judge(image); code < 0) return code;
  head.magic = pixies > 1 ? colour : d.i_bitsused == 1 ? bits : grey;
  head.width = uint32_t(width_of(image.wind));
  head.height = uint32_t(height_of(image.wind));
  head.maximum = (1u << d.i_bitsused) - 1;
  head.size = image.h;
  row_changes changes;
  changes.exchanges_rgb = r.exchanges_rgb;
  changes.inverts = head.magic == bits;
  changes.order = std::endian::big;
  return encoder_.prepare(image, head.form(), changes);
}

int32_t writer::open(const request &r, output_file::way new_file) {
  appends_ = r.appendframes > 0;
  int32_t code = output_.open(r.path, r.fopenmode, r.bufsize, appends_ ? output_file::way::update : new_file);
  if (code < 0) return code;
  if (appends_) {
    code = find_end(r.appendframes);
  } else {
    bufio_ptr2truncate(&file, 0);  // a file opened for update is written anew
    write_header(file, head, r.options);
    code = error();
  }
  former_ = complete_ = appends_ ? head.end + r.appendframes * head.frame_bytes() : file.pos;
  if (code < 0) output_.drop();
  return code;
}

int32_t writer::find_end(uint64_t frames) {
  header there;
  texts comments;
  if (const int32_t code = read_header(file, &there, &comments); code < 0) return code;
  if (!there.describes_same(head))
    return because(QVERR_FORMAT, {"the file to append to has frames of another size or kind"});
  head.end = there.end;
  const uint64_t found = there.frames(file.filelen);
  if (found == frames) return 0;
  return because(QVERR_FORMAT, {"the file to append to has ", found, " frames, not ", frames});
}

int32_t writer::add(const progress &told, qvimage &frame) {
  if (!encoder_.fits(frame)) return because(QVERR_USAGE, {"the frame is unlike the first one"});
  if (const int32_t code = error(); code < 0) return code;
  file.pos = complete_;
  image_rows rows(frame, told);
  int32_t code = rows.set_up(low_end);
  if (code == 0) code = write_rows(file, rows, encoder_);
  if (code == 0)
    complete_ = file.pos;
  else if (error() == 0)
    bufio_ptr2truncate(&file, complete_);
  return code;
}

int32_t writer::end(int32_t code) {
  if (code == 0) bufio_flush(&file);  // while it can still be cut off
  code = worst(code, error());
  if (code == 0) return output_.keep();
  if (appends_) {
    file.valid = 0;  // whatever of it came to the file is cut off
    bufio_errclear(&file);
    bufio_ptr2truncate(&file, former_);
  }
  code = worst(code, output_.close());
  output_.drop();
  return code;
}

}  // namespace

}  // namespace qvim::pnm

using namespace qvim;

extern "C" {

int32_t qvimage_pgmwriteinit(qvimagecallback, pgmhandle **h, const char *path, const char *fopenmode,
                             int64_t bufsize, qvimage *image, uint64_t appendframes, qvimagefileinfo *options,
                             uint32_t rgborder, uint32_t allow4) {
  const pnm::request r{path, fopenmode, bufsize, appendframes, options, rgborder != 0, allow4 != 0};
  return open_for_frames<pnm::writer>(h, image, r);
}

int32_t qvimage_pgmwriteadd(pgmhandle **h, qvimagecallback callback, qvimage *frame) {
  return add_frame<pnm::writer>(h, callback, frame);
}

int32_t qvimage_pgmwritedone(pgmhandle **h) { return end_frames<pnm::writer>(h); }

int32_t qvimage_pgmwrite(qvimagecallback callback, qvimage *image, const char *path, const char *fopenmode,
                         int64_t bufsize, uint64_t appendframes, qvimagefileinfo *options, uint32_t rgborder,
                         uint32_t allow4) {
  const pnm::request r{path, fopenmode, bufsize, appendframes, options, rgborder != 0, allow4 != 0};
  return write_file<pnm::writer>(callback, image, r);
}

int32_t qvimage_pgmwriteseq(qvimagecallback callback, qvimage3 *image, const char *path,
                            const char *fopenmode, int64_t bufsize, uint64_t appendframes,
                            qvimagefileinfo *options, uint32_t rgborder, uint32_t allow4) {
  const pnm::request r{path, fopenmode, bufsize, appendframes, options, rgborder != 0, allow4 != 0};
  return write_file<pnm::writer>(callback, image, r);
}

}  // extern "C"
