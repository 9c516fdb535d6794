// Portable anymap files as images: a plane a frame.
#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/pnm/header.hpp"
#include "files/rows/information.hpp"
#include "files/rows/raster.hpp"
#include "files/rows/read_calls.hpp"
#include "files/rows/row_image.hpp"
#include "files/stream/bufio.hpp"

namespace qvim::pnm {

namespace {

constexpr uint64_t most_frames = 0x7FFFFFFF;

struct reader final : pgmhandle, raster {
  reader() : pgmhandle(reader_mark), raster(&this->file) {}
  ~reader() { bufio_done(&file); }

  int32_t open(const char *path, const char *fopenmode, int64_t bufsize);
  int32_t find(uint64_t plane, uint64_t *begin) override {
    *begin = head.end + plane * head.frame_bytes();
    return 0;
  }
  int32_t present_on(qvimage3 *im, const qvimage *) { return present(im, image, *this), 0; }
  int32_t fill(qvimagefileinfo *info) const;

  static constexpr uint32_t kind = reader_mark;
  texts comments;
  row_image image{};
};

int32_t reader::open(const char *path, const char *fopenmode, int64_t bufsize) {
  if (!path) return because(QVERR_USAGE, {"no path"});
  int32_t code = open_bufio(&file, path, fopenmode ? fopenmode : "rbe", bufsize, 0);
  if (code == 0) code = read_header(file, &head, &comments);
  if (code < 0) return code;
  const uint64_t frames = head.frames(file.filelen);
  if (frames == 0)
    return because(QVERR_FORMAT,
                   {"byte ", file.filelen, ": the frame that begins at byte ", head.end, " ends after ",
                    file.filelen - head.end, " of ", head.frame_bytes(), " bytes"});
  if (frames > most_frames) return because(QVERR_FORMAT, {"more than ", most_frames, " frames"});
  const row_form form = head.form();
  set_layout({form, {std::endian::big, false, head.magic == bits}, head.height, form.bytes(), false});
  image = {"QVIMPGM", head.width, head.height, uint32_t(frames), {}, head.size};
  qviminitdata(&image.data, form.container() == 1 ? QVIM_UINT8 : QVIM_UINT16, int32_t(form.bits),
               int32_t(form.samples), head.magic == colour ? QVIM_HINT_RGB : QVIM_HINT_GREY);
  return 0;
}

int32_t reader::fill(qvimagefileinfo *info) const {
  describe(*info, "pgm", image);
  info->pgm_magic = uint32_t(head.magic);
  info->pgm_maxvalue = head.maximum;
  return copy_texts(*info, comments, [&](size_t i) { return &(info->*text_members[i]); });
}

}  // namespace

}  // namespace qvim::pnm

using namespace qvim;

extern "C" {

int32_t qvimage3_pgmread(qvimage3 *image, qvimage *second, pgmhandle **h, const char *path,
                         const char *fopenmode, int64_t bufsize, uint32_t) {
  return read_file<pnm::reader>(image, second, h, path, fopenmode, bufsize);
}

int32_t qvimage3_pgmreaddone(qvimage3 *image, qvimage *second, pgmhandle **h) {
  return end_reading<pnm::reader>(image, second, h);
}

int32_t qvimage_pgmreadinfo(pgmhandle *h, qvimagefileinfo *info) {
  return info_of_handle<pnm::reader>(h, info);
}

int32_t qvimage_pgminfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize) {
  return info_of_file<pnm::reader>(info, path, fopenmode, bufsize);
}

void qvimage_pgminfodone(qvimagefileinfo *info) {
  if (info && has_type(*info, "pgm")) free_texts(*info);
}

}  // extern "C"
