// Writing FITS files: frame by frame, or whole images in one call.
#include <qvimage/colour.h>
#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/window.h>

#include "core/dimension.hpp"
#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/fits/card.hpp"
#include "files/fits/write_header.hpp"
#include "files/rows/write_calls.hpp"
#include "files/rows/write_rows.hpp"
#include "files/stream/number_writer.hpp"
#include "files/stream/output_file.hpp"

namespace qvim::fits {

namespace {

struct request {
  const char *path, *fopenmode;
  int64_t bufsize;
  const qvimagefileinfo *options;
  int64_t frames;     // -1: one image, not a sequence
  qvimagehints size;  // of a pixel
};

class writer final : public fitshandle {
 public:
  static constexpr uint32_t kind = writer_mark;

  writer() : fitshandle(writer_mark), output_(file) {}

  // What the file is to be, from an image of its first frame; then the file. In between nothing has been
  // touched.
  [[nodiscard]] int32_t plan(const qvimage &image, const request &r);
  [[nodiscard]] int32_t open(const request &r, output_file::way how);
  [[nodiscard]] int32_t add(const progress &told, qvimage &frame, const char *observed = nullptr);
  // Keeps the file, or, when the code is not 0, leaves nothing of it. The worst code of all.
  [[nodiscard]] int32_t end(int32_t code);

 private:
  int32_t write_frame(const progress &told, qvimage &frame);
  int32_t queue_observation(const char *observed);

  static constexpr uint64_t most_frames = 0x7FFFFFFF;
  static constexpr uint32_t most_queued = 256;

  output_file output_;
  row_encoder encoder_;
  content content_{};
  later_cards later_;
  uint64_t complete_ = 0;  // where the last frame ends
  uint64_t frames_ = 0;    // written
  uint32_t queued_ = 0;    // observations since the queue was flushed
  int32_t worst_ = 0;
};

int32_t writer::plan(const qvimage &image, const request &r) {
  if (bitpix_of(image.d.pixietype) == 0)
    return because(QVERR_DATATYPE, {"FITS files have no 64-bit integers"});
  if (r.frames > int64_t(most_frames)) return because(QVERR_USAGE, {"more than ", most_frames, " frames"});
  if (const int32_t code = judge(image); code < 0) return code;
  content_ = {image.d,
              r.size,
              uint32_t(width_of(image.wind)),
              uint32_t(height_of(image.wind)),
              r.frames,
              r.options ? r.options->fts_layout : 0};
  qvimage rows = image;
  if (content_.is_planar()) rows.d.pixies = 1;
  row_changes changes;
  changes.order = std::endian::big;
  changes.offset = content_.offset();
  const row_form form{content_.width, uint32_t(rows.d.pixies), 8 * uint32_t(image.f.pixiesize), false};
  return encoder_.prepare(rows, form, changes);
}

int32_t writer::open(const request &r, output_file::way how) {
  if (const int32_t code = output_.open(r.path, r.fopenmode, r.bufsize, how); code < 0) return code;
  bufio_ptr2truncate(&file, 0);  // a file opened for update is written anew
  write_header(file, content_, r.options, &later_);
  complete_ = file.pos;
  const int32_t code = bufio_err(&file);
  if (code < 0) output_.drop();
  return code;
}

int32_t writer::write_frame(const progress &told, qvimage &frame) {
  image_rows rows(frame, told);
  const int32_t code = rows.set_up();
  return code == 0 ? write_rows(file, rows, encoder_) : code;
}

int32_t writer::add(const progress &told, qvimage &frame, const char *observed) {
  if (worst_ < 0) return worst_;
  if (!content_.is_sequence() && frames_ > 0)
    return because(QVERR_USAGE, {"the file is one image, not a sequence"});
  file.pos = complete_;
  int32_t code = 0;
  if (frame.d.pixies != content_.data.pixies)
    code = because(QVERR_USAGE, {"the frame is unlike the first one"});
  for (int32_t p = 0; code == 0 && p < (content_.is_planar() ? frame.d.pixies : 1); p++) {
    qvimage component;
    qvimage &shown =
        content_.is_planar() ? component : frame;  // no copy: sources may be named by their places
    if (content_.is_planar()) code = qvimage_colorslice(&component, &frame, 1, 1 << p, 0);
    if (code == 0 && !encoder_.fits(shown))
      code = because(QVERR_USAGE, {"the frame is unlike the first one"});
    if (code == 0) code = write_frame(told, shown);
  }
  if (code == 0 && observed) code = queue_observation(observed);
  if (code == 0) {
    complete_ = file.pos;
    frames_++;
  } else if (bufio_err(&file) == 0) {
    bufio_ptr2truncate(&file, complete_);
  }
  worst_ = worst(worst_, bufio_err(&file));
  return code;
}

int32_t writer::queue_observation(const char *observed) {
  char text[annotation_bytes];
  if (!format_observation(observed, later_.axis, text))
    return because(QVERR_SPACE, {"the observation's text is longer than ", annotation_bytes, " characters"});
  if (later_.observations == 0 || frames_ >= uint64_t(content_.frames)) return 0;
  const uint64_t place = later_.observations + frames_ * card_bytes + annotation_place;
  if (queued_ > most_queued) {
    bufio_queueflush(&file);
    queued_ = 0;
  }
  queued_++;
  if (bufio_queuewrite(&file, place, text, sizeof text) == 0) return 0;
  bufio_queueflush(&file);
  return bufio_queuewrite(&file, place, text, sizeof text);
}

int32_t writer::end(int32_t code) {
  if (code == 0) code = worst_;
  if (code == 0) {
    // First the pixels, then the number that tells of them, then what fills the block up: at no moment is
    // there a frame too many.
    if (content_.is_sequence() && frames_ != uint64_t(content_.frames)) {
      bufio_queueflush(&file);
      bufio_flush(&file);
      correct_header(file, content_, later_, frames_);
      bufio_flush(&file);
    }
    file.pos = complete_;
    number_writer(file, std::endian::big).zeros(block_end(complete_) - complete_);
    return output_.keep();
  }
  output_.drop();
  return code;
}

}  // namespace

}  // namespace qvim::fits

using namespace qvim;

namespace {

template <class Record>
qvimagehints size_of_pixels(const Record *image) {
  return image ? image->h : qvimagehints{};
}

}  // namespace

extern "C" {

int32_t qvimage_fitswriteinit(fitshandle **h, const qvywindow *wind, const qvyzwindow *wind3, qvimage *image,
                              const char *path, const char *fopenmode, int64_t bufsize, int64_t frames,
                              qvimagefileinfo *options) {
  if (!wind == !wind3) return public_call().result(because(QVERR_USAGE, {"one window is needed, not two"}));
  qvimage described;
  if (image) described = *image;
  if (image && wind) described.wind = *wind;
  if (image && wind3) qvimwind3to2(wind3, &described.wind);
  const fits::request r{path, fopenmode, bufsize, options, frames, size_of_pixels(image)};
  return open_for_frames<fits::writer>(h, image ? &described : nullptr, r);
}

int32_t qvimage_fitswriteadd(fitshandle **h, qvimagecallback callback, qvimage *frame, qvimagefileinfo *fr) {
  return add_frame<fits::writer>(h, callback, frame, fr ? fr->fts_date_obs : nullptr);
}

int32_t qvimage_fitswritedone(fitshandle **h) { return end_frames<fits::writer>(h); }

int32_t qvimage_fitswrite(qvimagecallback callback, qvimage *image, uint64_t, const char *path,
                          const char *fopenmode, int64_t bufsize, qvimagefileinfo *options) {
  const fits::request r{path, fopenmode, bufsize, options, -1, size_of_pixels(image)};
  return write_file<fits::writer>(callback, image, r);
}

int32_t qvimage3_fitswriteseq(qvimagecallback callback, qvimage3 *image, uint64_t, const char *path,
                              const char *fopenmode, int64_t bufsize, qvimagefileinfo *options) {
  const int64_t frames = image ? int64_t(image->wind.se.z) - image->wind.nw.z : 0;
  const fits::request r{path, fopenmode, bufsize, options, frames, size_of_pixels(image)};
  return write_file<fits::writer>(callback, image, r);
}

}  // extern "C"
