// The open file behind TIFF images.
#include "files/tiff/reader.hpp"

#include <algorithm>
#include <cstring>
#include <limits>

#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/null.hpp"
#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/rows/palette.hpp"
#include "files/rows/row_image.hpp"
#include "files/stream/bufio.hpp"
#include "files/tiff/colour_map.hpp"

namespace qvim::tiff {

namespace {

int32_t hint_of(const page &p) {
  const uint32_t photometric = p.scalar[Photometric];
  switch (p.samples()) {
    case 1: return photometric <= black_is_zero ? QVIM_HINT_GREY : QVIM_HINT_UNKNOWN;
    case 3:
      return photometric == rgb ? QVIM_HINT_RGB : photometric == ycbcr ? QVIM_HINT_YCRCB : QVIM_HINT_UNKNOWN;
    case 4: return photometric == separated ? QVIM_HINT_CMYK : QVIM_HINT_UNKNOWN;
    default: return QVIM_HINT_UNKNOWN;
  }
}

float length_of(const std::array<uint32_t, 2> &resolution) {
  return resolution[0] ? float(double(resolution[1]) / double(resolution[0])) : 0.0f;
}

}  // namespace

qvimagedata describe(const page &p, mapped_as presented) {
  const int32_t bits = p.bits()[0];
  const bool real = p.sample_format()[0] == 3;
  const bool whole = p.sample_format()[0] == 1;
  const int32_t type = real ? qvimfloatsizedata(bits / 8) : whole ? qvimdatabittype(bits) : 0;
  int32_t pixies = int32_t(p.samples()), hint = hint_of(p);
  if (p.present[ColorMap]) {
    pixies = presented == mapped_as::indices ? 1 : 3;
    hint = presented == mapped_as::indices ? QVIM_HINT_INDEX : QVIM_HINT_RGB;
  }
  qvimagedata data;
  qviminitdata(&data, type, real ? 0 : bits, pixies, hint);
  return data;
}

qvimagehints describe_size(const page &p) {
  const uint32_t unit = p.scalar[ResolutionUnit];
  const uint8_t code = unit == 2   ? QVIM_UNIT_INCH
                       : unit == 3 ? QVIM_UNIT_CENTIMETER
                       : unit == 1 ? QVIM_UNIT_RATIO
                                   : QVIM_UNIT_UNKNOWN;
  qvimagehints hints;
  qviminithints(&hints, code, code, QVIM_UNIT_UNKNOWN, length_of(p.resolution[0]), length_of(p.resolution[1]),
                0);
  return hints;
}

reader::~reader() {
  bufio_done(&file);
  identity = 0;
}

int32_t reader::open(const char *path, const char *fopenmode, int64_t bufsize) {
  if (const int32_t code = open_bufio(&file, path, fopenmode ? fopenmode : "rbe", bufsize, 0); code < 0)
    return code;
  return read_header(&file, &format);
}

int32_t reader::read_page(uint64_t offset) {
  return on_page(read_directory(&file, format, offset, &page, &where));
}

int32_t reader::find_page(uint64_t n) {
  const small_blocks blocks(file);
  chain directories(&file, format);
  int32_t code = 1;
  for (uint64_t i = 0; i <= n && code > 0; i++) code = directories.next();
  if (code == 0) code = directories.code();
  if (code < 0) return within({"page ", directories.passed() + 1}, code);
  if (code == 0)
    return because(QVERR_FORMAT, {"there is no page ", n + 1, "; the file has ", directories.passed()});
  number = n;
  code = read_page(directories.directory());
  data = describe(page, presented);
  return code;
}

int32_t reader::list_pages() {
  const small_blocks blocks(file);
  chain directories(&file, format);
  int32_t code;
  while ((code = directories.next()) > 0) {
    if (page_count == std::numeric_limits<int32_t>::max())
      return because(QVERR_FORMAT, {"more than ", page_count, " pages"});
    if (page_count == pages.size() && !pages.resize(std::max(uint64_t{16}, 2 * page_count)))
      return QVERR_MEMORY;
    number = page_count;
    pages[page_count++] = directories.directory();
    if ((code = read_page(directories.directory())) < 0) return code;
  }
  if (code == 0) code = directories.code();
  if (code < 0) return within({"page ", page_count + 1}, code);
  data = describe(page, presented);
  return page_count ? 0 : because(QVERR_FORMAT, {"the file has no pages"});
}

int32_t reader::read_colours(array<uint8_t> *entries) {
  if (!page.present[ColorMap]) return 0;
  return on_page(within({"colour map"}, read_colour_map(&file, format, page, where, entries)));
}

// The place for a page that is not open; null when memory is short.
reader::open_page *reader::least_used() {
  owned<open_page> *place = open_;
  for (owned<open_page> &candidate : open_) {
    if (!candidate) {
      candidate = make_owned<open_page>(&file, &format);
      return candidate.get();
    }
    if (candidate->used < (*place)->used) place = &candidate;
  }
  return place->get();
}

int32_t reader::start_page() {
  open_page *const opened = least_used();
  if (!opened) return QVERR_MEMORY;
  opened->number = no_page;
  if (now_ == opened) now_ = nullptr;
  // Beside a palette image there are indices.
  const bool expands = page.present[ColorMap] && presented == mapped_as::colours;
  int32_t code = expands ? read_colours(&opened->colours) : 0;
  if (code < 0) return code;
  const uint32_t pixel_bytes = uint32_t(qvimdatasize(uint32_t(data.pixietype)) * data.pixies);
  code = opened->rows.start(page, where, pixel_bytes, expands ? opened->colours.data() : nullptr);
  if (code < 0) return on_page(code);
  opened->number = number;
  opened->used = ++selections_;
  now_ = opened;
  return 0;
}

int32_t reader::turn_to(uint64_t n) {
  if (n >= page_count)
    return because(QVERR_FORMAT, {"there is no page ", n + 1, "; the file has ", page_count});
  number = n;
  const small_blocks blocks(file);
  const int32_t code = read_page(pages[n]);
  if (code < 0) number = no_page;
  return code;
}

int32_t reader::select(uint64_t n) {
  const bool is_stack = page_count > 0;
  if (!is_stack) n = number;
  if (now_ && now_->number == n) return 0;
  for (owned<open_page> &candidate : open_)
    if (candidate && candidate->number == n) {
      now_ = candidate.get();
      now_->used = ++selections_;
      return 0;
    }
  if (!is_stack) return start_page();
  if (const int32_t code = turn_to(n); code < 0) return code;
  const qvimagedata here = describe(page, presented);
  if (std::memcmp(&here, &data, sizeof here) != 0)
    return on_page(because(QVERR_FORMAT, {"other pixels than those of the last page"}));
  return start_page();
}

int64_t reader::count_pages() {
  if (page_count) return int64_t(page_count);
  const quiet_reason quiet;  // about a break
  const small_blocks blocks(file);
  chain directories(&file, format);
  int32_t code;
  while ((code = directories.next()) > 0) continue;
  if (directories.code() == QVERR_IO) code = QVERR_IO;
  bufio_errclear(&file);
  return code < 0 ? code : int64_t(directories.passed());
}

namespace {

// How an image is opened, by dimension.
int32_t find(reader &r, qvimage *, uint64_t page) { return r.find_page(page); }
int32_t find(reader &r, qvimage3 *, uint64_t) { return r.list_pages(); }

const char *device(qvimage *) { return "TIFF"; }
const char *device(qvimage3 *) { return "TIFF3"; }

template <class Record>
int32_t open(Record *im, qvimage *palette, tiffhandle **h, const char *path, const char *fopenmode,
             int64_t bufsize, uint64_t page, bool infoonly) {
  if (!im || !h || *h || !path) return QVERR_USAGE;
  auto r = make_owned<reader>(palette ? mapped_as::indices : mapped_as::colours);
  if (!r) return QVERR_MEMORY;
  int32_t code = r->open(path, fopenmode, bufsize);
  if (code == 0) code = find(*r, im, page);
  if (code == 0 && !infoonly && palette) code = r->read_colours(&r->colours);
  if (code == 0 && !infoonly) code = r->start_page();
  if (code == 0 && palette && r->colours.size())
    code = present_palette(palette, r->page.bits()[0], r->colours);
  if (code < 0) return code;
  present(im,
          {device(im), r->page.width(), r->page.height(), uint32_t(r->page_count), r->data,
           describe_size(r->page)},
          *r);
  *h = r.release();
  return 0;
}

// Both images are null images unless opening makes them more.
template <class Record>
int32_t open_or_null(Record *im, qvimage *palette, tiffhandle **h, const char *path, const char *fopenmode,
                     int64_t bufsize, uint64_t page, bool infoonly) {
  qvimage_defnull(palette);
  const int32_t code = open(im, palette, h, path, fopenmode, bufsize, page, infoonly);
  if (code == 0) return 0;
  qvimage_defnull(palette);
  return im ? fail(im, code) : code;
}

template <class Record>
int32_t close(Record *im, qvimage *palette, tiffhandle **h) {
  if (im) fail(im, 0);
  qvimage_defnull(palette);
  return release<reader>(h);
}

}  // namespace

}  // namespace qvim::tiff

extern "C" {

int32_t qvimage_tiffread(qvimage *image, qvimage *palette, tiffhandle **h, const char *path,
                         const char *fopenmode, int64_t bufsize, uint64_t page, uint32_t infoonly) {
  return qvim::public_call().result(
      qvim::tiff::open_or_null(image, palette, h, path, fopenmode, bufsize, page, infoonly != 0));
}

int32_t qvimage3_tiffread(qvimage3 *image, qvimage *palette, tiffhandle **h, const char *path,
                          const char *fopenmode, int64_t bufsize, uint32_t infoonly) {
  return qvim::public_call().result(
      qvim::tiff::open_or_null(image, palette, h, path, fopenmode, bufsize, 0, infoonly != 0));
}

int32_t qvimage_tiffreaddone(qvimage *image, qvimage *palette, tiffhandle **h) {
  return qvim::tiff::close(image, palette, h);
}

int32_t qvimage3_tiffreaddone(qvimage3 *image, qvimage *palette, tiffhandle **h) {
  return qvim::tiff::close(image, palette, h);
}

}  // extern "C"
