// Information records of TIFF files.
#include <algorithm>
#include <cstring>

#include <qvimage/alloc.h>
#include <qvimage/error.h>
#include <qvimage/tiff.h>

#include "core/reason.hpp"
#include "files/rows/budget.hpp"
#include "files/rows/information.hpp"
#include "files/tiff/reader.hpp"

namespace qvim::tiff {

namespace {

char **text_of(qvimagefileinfo &info, tag t) {
  switch (t) {
    case DateTime: return &info.datetime;
    case Software: return &info.software;
    case ImageDescription: return &info.description;
    default: return &info.copyright;
  }
}

// Texts and strip tables come out of one budget: directories of a sound file share none of them, so only a
// file made for it gets a listing past this.
int32_t read_texts(reader &r, budget &limit, qvimagefileinfo *info) {
  checked_reader in(r.file, r.format.order());
  for (const tag t : {DateTime, Software, ImageDescription, Copyright}) {
    if (!r.page.present[t]) continue;
    const place &at = r.where.at[t];
    char *const text = limit.take(at.count) ? static_cast<char *>(qvmalloc(at.count + 1)) : nullptr;
    if (!text) return because(QVERR_MEMORY, {tags[t].name, " of ", at.count, " bytes"});
    *text_of(*info, t) = text;
    in.seek(at.position);
    in.get_bytes(text, at.count);
    text[at.count] = 0;
  }
  return in.code();
}

// The largest strip; all ones for the only one.
int32_t read_strip_size(reader &r, budget &limit, uint64_t *size) {
  *size = ~uint64_t{0};
  if (r.page.count[StripOffsets] == 1) return 0;
  *size = 0;
  const place &at = r.where.at[StripByteCounts];
  if (!limit.take(at.count)) return because(QVERR_MEMORY, {"strip tables that pages share"});
  file_array counts(&r.file, &r.format);
  counts.assign(at);
  for (uint64_t i = 0; i < at.count; i++) *size = std::max(*size, counts[i]);
  return bufio_err(&r.file);
}

void describe_page(const reader &r, qvimagefileinfo *info) {
  const page &p = r.page;
  qvim::describe(*info, r.format.bigtiff ? "btf" : "tif",
                 {nullptr, p.width(), p.height(), 0, describe(p, r.presented), describe_size(p)});
  std::copy(p.resolution[0].begin(), p.resolution[0].end(), info->xres);
  std::copy(p.resolution[1].begin(), p.resolution[1].end(), info->yres);
  if (p.present[ResolutionUnit]) info->resunit = p.scalar[ResolutionUnit];
  info->compression = p.compression_asked();
  for (uint32_t i = 0; i < std::min(p.samples(), 4u); i++) {
    info->bits[i] = p.bits()[i];
    info->sampleformat[i] = p.sample_format()[i];
  }
  info->palette = p.present[ColorMap];
  info->page = uint32_t(r.number);
  info->version = r.format.version();
}

// Everything but the page count, from the page that the reader stands at.
int32_t fill(reader &r, budget &limit, qvimagefileinfo *info) {
  describe_page(r, info);
  int32_t code = read_strip_size(r, limit, &info->stripsize);
  if (code == 0) code = read_texts(r, limit, info);
  if (code < 0) {
    qvimage_tiffinfodone(info);
    clear(*info);
  }
  return code;
}

// A page that is refused for what its directory says: as far as it can be described. Nothing is to be freed.
void fill_refused(const reader &r, uint64_t pages, qvimagefileinfo *info) {
  describe_page(r, info);
  info->data.pixies = int32_t(r.page.samples());  // more than any description has, perhaps
  set_page_count(*info, pages);
}

int32_t fill_counted(reader &r, int64_t pages, qvimagefileinfo *info) {
  if (pages < 0) return int32_t(pages);
  budget limit(r.file.filelen);
  const int32_t code = r.on_page(fill(r, limit, info));
  if (code == 0) set_page_count(*info, uint64_t(pages));
  return code;
}

// Records of the pages from `first` on; *filled of them are complete whatever the result.
int32_t fill_all(reader &r, qvimagefileinfo *infos, uint64_t n, uint64_t first, uint64_t *filled) {
  const small_blocks blocks(r.file);
  chain directories(&r.file, r.format);
  budget limit(r.file.filelen);
  int32_t code;
  while ((code = directories.next()) > 0) {
    const uint64_t number = directories.passed() - 1;
    if (number < first || *filled == n) continue;
    r.number = number;
    code = read_directory(&r.file, r.format, directories.directory(), &r.page, &r.where);
    if (code == 0) code = fill(r, limit, &infos[*filled]);
    if (code < 0) return r.on_page(code);
    ++*filled;
  }
  if (code == 0 && directories.code() == QVERR_IO) code = QVERR_IO;
  for (uint64_t i = 0; i < *filled; i++) set_page_count(infos[i], directories.passed());
  return code;
}

int32_t read_info(tiffhandle *h, qvimagefileinfo *info, uint64_t page) {
  reader *r;
  if (const int32_t code = qvim::behind(h, &r); code < 0) return code;
  if (!info) return QVERR_USAGE;
  clear(*info);
  qvim::locked hold(*r);
  if (r->page_count && (page != r->number || page == reader::no_page))
    if (const int32_t code = r->turn_to(page); code < 0) return code;
  return fill_counted(*r, r->count_pages(), info);
}

int32_t info_of_page(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize,
                     uint64_t page) {
  if (!info || !path) return QVERR_USAGE;
  clear(*info);
  auto r = qvim::make_owned<reader>(mapped_as::colours);
  if (!r) return QVERR_MEMORY;
  if (const int32_t code = r->open(path, fopenmode, bufsize); code < 0) return code;
  // First, since the reason of the page is the last word.
  const int64_t pages = r->count_pages();
  if (pages < 0) return int32_t(pages);
  const int32_t code = r->find_page(page);
  if (code == 0) return fill_counted(*r, pages, info);
  if (r->where.complete) fill_refused(*r, uint64_t(pages), info);
  return code;
}

int64_t info_of_pages(qvimagefileinfo *infos, int64_t n, const char *path, const char *fopenmode,
                      int64_t bufsize, int64_t first) {
  if (!infos || n < 0 || first < 0 || !path) return QVERR_USAGE;
  auto r = qvim::make_owned<reader>(mapped_as::colours);
  if (!r) return QVERR_MEMORY;
  int32_t code = r->open(path, fopenmode, bufsize);
  uint64_t filled = 0;
  if (code == 0) code = fill_all(*r, infos, uint64_t(n), uint64_t(first), &filled);
  if (code == 0) return int64_t(filled);
  for (uint64_t i = 0; i < filled; i++) qvimage_tiffinfodone(&infos[i]);
  return code;
}

}  // namespace

}  // namespace qvim::tiff

using namespace qvim::tiff;

extern "C" {

int32_t qvimage_tiffreadinfo(tiffhandle *h, qvimagefileinfo *info, uint64_t page) {
  return qvim::public_call().result(read_info(h, info, page));
}

int32_t qvimage_tiffinfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize,
                         uint64_t page) {
  return qvim::public_call().result(info_of_page(info, path, fopenmode, bufsize, page));
}

int64_t qvimage_tiffinfoN(qvimagefileinfo *infos, int64_t n, const char *path, const char *fopenmode,
                          int64_t bufsize, int64_t first) {
  return qvim::public_call().result(info_of_pages(infos, n, path, fopenmode, bufsize, first));
}

void qvimage_tiffinfodone(qvimagefileinfo *info) {
  if (info && (qvim::has_type(*info, "tif") || qvim::has_type(*info, "btf"))) qvim::free_texts(*info);
}

}  // extern "C"
