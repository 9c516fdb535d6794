// FITS files as images: a plane a frame.
#include "files/stream/reader.hpp"

#include <cstring>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/fits/card.hpp"
#include "files/fits/header.hpp"
#include "files/rows/information.hpp"
#include "files/rows/raster.hpp"
#include "files/rows/read_calls.hpp"
#include "files/rows/row_image.hpp"
#include "files/stream/bufio.hpp"

namespace qvim::fits {

namespace {

constexpr uint64_t most_frames = 0x7FFFFFFF;

struct reader final : fitshandle, raster {
  reader() : fitshandle(reader_mark), raster(&this->file) {}
  ~reader() { bufio_done(&file); }

  int32_t open(const char *path, const char *fopenmode, int64_t bufsize, bool lenient);
  int32_t find(uint64_t plane, uint64_t *begin) override {
    *begin = head.end + plane * frame_bytes;
    return 0;
  }
  int32_t present_on(qvimage3 *im, const qvimage *) { return present(im, image, *this), 0; }
  int32_t fill(qvimagefileinfo *info, uint64_t frame);

  static constexpr uint32_t kind = reader_mark;
  header head;
  roles roles_of{};
  uint64_t frame_bytes = 0;
  row_image image{};

 private:
  int32_t lay_out(bool lenient);
  int32_t observation(uint64_t frame, array<char> *text);
};

int32_t reader::open(const char *path, const char *fopenmode, int64_t bufsize, bool lenient) {
  if (!path) return because(QVERR_USAGE, {"no path"});
  int32_t code = open_bufio(&file, path, fopenmode ? fopenmode : "rb", bufsize, 0);
  if (code == 0) code = read_header(file, &head);
  if (code == 0) code = assign_roles(head, lenient, &roles_of);
  return code == 0 ? lay_out(lenient) : code;
}

int32_t reader::lay_out(bool lenient) {
  qvimagedata data;
  uint32_t offset;
  if (const int32_t code = describe_pixels(head, roles_of, lenient, &data, &offset); code < 0) return code;
  const auto length = [&](int i) { return i >= 0 && i < int(head.axes) ? head.axis_of[i].length : 1; };
  const auto width = uint32_t(length(roles_of.x)), height = uint32_t(length(roles_of.x + 1));
  const bool planar = roles_of.colour > roles_of.x;
  qvimagefacts facts{};
  qviminitfacts(&facts, &data);
  const row_form form{width, uint32_t(data.pixies), 8 * uint32_t(facts.pixiesize), false};
  const uint64_t plane_row = form.bytes() / (planar ? form.samples : 1), plane = plane_row * height;
  if (__builtin_mul_overflow(plane, uint64_t{planar ? form.samples : 1}, &frame_bytes))
    return because(QVERR_FORMAT, {"frames larger than any file"});
  const uint64_t whole = file.filelen > head.end ? (file.filelen - head.end) / frame_bytes : 0;
  uint64_t frames = std::min(length(roles_of.frames), most_frames);
  if (frames > whole) {
    if (!lenient || whole == 0)
      return because(QVERR_FORMAT, {"the header tells of ", frames, " frames, the file holds ", whole});
    frames = whole;
  }
  set_layout({form, {std::endian::big, false, false, offset}, height, plane_row, false, planar ? plane : 0});
  image = {"QVIMFITS", width, height, uint32_t(frames), data, describe_size(head, roles_of)};
  return 0;
}

// The text of a frame's card among those for observations.
int32_t reader::observation(uint64_t frame, array<char> *text) {
  const uint64_t place = head.observations + frame * card_bytes;
  if (head.observations == 0 || place >= head.end) return 0;
  checked_reader in(file, std::endian::big);
  in.seek(place);
  char bytes[card_bytes], value[card_bytes + 1];
  in.get_bytes(bytes, card_bytes);
  if (const int32_t code = in.code(); code < 0) return code;
  const card_view c(bytes);
  if (c.annotated_axis() != head.observed_axis || c.annotation() != "OBS") return 0;
  const int32_t length = c.get_annotation_string(value);
  if (length <= 0) return 0;
  if (!text->allocate(uint64_t(length) + 1)) return QVERR_MEMORY;
  std::memcpy(text->data(), value, uint64_t(length) + 1);
  return 0;
}

void free_fits_texts(qvimagefileinfo &info) {
  for (auto member : text_members) qvfreep(&(info.*member));
}

int32_t reader::fill(qvimagefileinfo *info, uint64_t frame) {
  if (frame >= image.planes) return because(QVERR_USAGE, {"there is no frame ", frame + 1});
  describe(*info, "fts", image);
  info->page = uint32_t(frame);
  info->fts_layout = roles_of.flags;
  info->fts_bitpix = head.bitpix;
  info->fts_datamin = head.datamin;
  info->fts_datamax = head.datamax;
  info->fts_bzero = head.bzero;
  info->fts_bscale = head.bscale;
  array<char> observed;
  const locked hold(*this);
  int32_t code = observation(frame, &observed);
  for (unsigned i = 0; i < texts && code == 0; i++) {
    const array<char> &text = i == date_obs && observed.size() ? observed : head.text_of[i];
    if (!copy_text(text, &(info->*text_members[i]))) code = QVERR_MEMORY;
  }
  if (code < 0) {
    free_fits_texts(*info);
    clear(*info);
  }
  return code;
}

// The records of frames first, first + 1, ...: how many, or a code with nothing left in them.
int64_t info_of_frames(qvimagefileinfo *infos, int64_t n, const char *path, const char *fopenmode,
                       int64_t bufsize, uint64_t first) {
  if (!infos || n < 1) return because(QVERR_USAGE, {"no record for the information"});
  for (int64_t i = 0; i < n; i++) clear(infos[i]);
  auto r = make_owned<reader>();
  int32_t code = r ? r->open(path, fopenmode, bufsize, true) : int32_t{QVERR_MEMORY};
  if (code < 0) return code;
  if (first >= r->image.planes) return because(QVERR_USAGE, {"there is no frame ", first + 1});
  const int64_t filled = int64_t(std::min(uint64_t(n), r->image.planes - first));
  int64_t done = 0;
  for (; done < filled && code == 0; done++) code = r->fill(&infos[done], first + uint64_t(done));
  if (code == 0) return filled;
  while (done-- > 0) {
    free_fits_texts(infos[done]);
    clear(infos[done]);
  }
  return code;
}

}  // namespace

}  // namespace qvim::fits

using namespace qvim;

extern "C" {

int32_t qvimage3_fitsread(qvimage3 *image, qvimage *second, fitshandle **h, const char *path,
                          const char *fopenmode, int64_t bufsize, uint32_t lenient) {
  return read_file<fits::reader>(image, second, h, path, fopenmode, bufsize, lenient != 0);
}

int32_t qvimage3_fitsreaddone(qvimage3 *image, qvimage *second, fitshandle **h) {
  return end_reading<fits::reader>(image, second, h);
}

int32_t qvimage_fitsreadinfo(fitshandle *h, qvimagefileinfo *info, uint64_t frame) {
  return info_of_handle<fits::reader>(h, info, frame);
}

int32_t qvimage_fitsinfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize,
                         uint64_t frame) {
  const int64_t filled = public_call().result(fits::info_of_frames(info, 1, path, fopenmode, bufsize, frame));
  return filled < 0 ? int32_t(filled) : 0;
}

int64_t qvimage_fitsinfoN(qvimagefileinfo *infos, int64_t n, const char *path, const char *fopenmode,
                          int64_t bufsize, int64_t first) {
  const public_call door;
  if (first < 0) return door.result(int64_t{because(QVERR_USAGE, {"frames count from 0"})});
  return door.result(fits::info_of_frames(infos, n, path, fopenmode, bufsize, uint64_t(first)));
}

void qvimage_fitsinfodone(qvimagefileinfo *info) {
  if (info && has_type(*info, "fts")) fits::free_fits_texts(*info);
}

}  // extern "C"
