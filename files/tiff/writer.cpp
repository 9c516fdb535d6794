// Writing TIFF files: the steps.
#include "files/tiff/writer.hpp"

#include <cstdio>
#include <cstring>
#include <numeric>

#include <qvimage/data.h>
#include <qvimage/tiff.h>

#include "core/result.hpp"
#include "files/stream/bufio.hpp"
#include "files/tiff/chain.hpp"

namespace qvim::tiff {

namespace {

constexpr uint64_t usual_strip = 65536;

// --- opening

// Writers go back to patch what they wrote, so a write-only mode is opened readable too. Null for modes in
// which the system writes at the file's end whatever the position.
const char *mode_of(const char *asked, int64_t appendpage) {
  if (!asked) return appendpage ? "r+b" : "w+b";
  if (asked[0] == 'a') return nullptr;
  return asked[0] == 'w' && !std::strchr(asked, '+') ? "w+b" : asked;
}

int32_t begin_file(writer &w) {
  bufio *const file = &w.file;
  bufio_ptr2truncate(file, 0);  // a file opened for update is written anew
  uint8_t header[16] = {'I', 'I', uint8_t(w.format.version()), 0, uint8_t(w.format.bigtiff ? 8 : 0)};
  bufio_io(file, header, uint64_t(w.format.header_size()), 'w');
  w.link = w.format.first_link();
  return bufio_err(file);
}

int32_t find_end(writer &w, uint64_t pages) {
  if (const int32_t code = read_header(&w.file, &w.format); code < 0) return code;
  chain walk(&w.file, w.format);
  for (uint64_t i = 0; i < pages; i++)
    if (const int32_t moved = walk.next(); moved <= 0) return moved < 0 ? moved : -10;
  w.appends = true;
  w.former_length = w.complete = w.file.filelen;
  w.former_link = w.link = walk.link();
  checked_reader in(w.file, w.format.order());
  in.seek(w.link);
  w.former_link_value = in.get_unsigned(uint32_t(w.format.offset_size()));
  return in.code();
}

// Block size, as a power of two, of the memory that a band after the first is coded into: a quarter of what
// is expected of it.
uint64_t band_block(const writer &w, uint32_t bands, const uint32_t size[2], const qvimagedata *d,
                    uint32_t compression) {
  if (!size || !d) return w.file.bufsize;
  const bool by_arithmetic = compression == arithmetic || compression == arithmetic_differenced;
  const bool small = compression == lzw || compression == lzw_differenced || by_arithmetic;
  const bool packed = d->pixietype & 0x0F && !by_arithmetic;
  const int bits = packed ? d->i_bitsused : 8 * qvimdatasize(uint32_t(d->pixietype));
  const double bytes = double(size[0]) * size[1] * d->pixies * bits / 8 / bands;
  const double block = bytes / (small ? 16 : 4);
  return block < 1024 ? 1024 : block > double(w.file.bufsize) ? w.file.bufsize : uint64_t(block);
}

int32_t open_bands(writer &w, uint32_t bands, uint64_t block) {
  if (!w.bands.allocate_zeroed(bands)) return -2;
  for (uint32_t i = 0; i < bands; i++) {
    w.bands[i] = make_owned<band>().release();
    if (!w.bands[i]) return -2;
    if (i == 0) {
      w.bands[i]->stream = &w.file;
      continue;
    }
    const int32_t code =
        bufio_init(&w.bands[i]->memory, nullptr, nullptr, block, BUFIO_MEMORY | BUFIO_NOZERO);
    if (code < 0) return code;
    w.bands[i]->stream = &w.bands[i]->memory;
  }
  return 0;
}

int32_t open_file(writer &w, const char *path, const char *mode, int64_t bufsize, uint64_t appendpage,
                  const qvimagefileinfo *options) {
  if (!mode) return -1;
  if (const int32_t code = open_bufio(&w.file, path, mode, bufsize, BUFIO_NOZERO); code < 0) return code;
  w.is_open = true;
  w.created = mode[0] == 'w';
  w.format.bigtiff = options && options->version == 43;
  return appendpage ? find_end(w, appendpage) : begin_file(w);
}

// --- strips

int32_t set_strips(writer &w, const qvimagefileinfo *options) {
  page &p = w.page;
  const uint64_t row = rows_of(p).bytes();
  const uint64_t target = options && options->stripsize ? options->stripsize : usual_strip;
  uint64_t per_strip = target / row;
  if (per_strip < 1) per_strip = 1;
  if (per_strip > p.height()) per_strip = p.height();

  // Bands of whole strips: the largest strip that divides them all.
  const uint64_t bands = w.band_count();
  auto first_row = [&](uint64_t i) { return uint32_t(i * p.height() / bands); };
  if (bands > 1) {
    uint64_t common = 0;
    for (uint64_t i = 0; i < bands; i++) common = std::gcd(common, uint64_t(first_row(i + 1) - first_row(i)));
    while (common % per_strip) per_strip--;
  }
  w.rows_per_strip = uint32_t(per_strip);
  uint64_t strips = 0;
  for (uint32_t i = 0; i < bands; i++) {
    band &b = w.band_of(i);
    b.first_row = first_row(i);
    b.end_row = first_row(i + 1);
    b.first_strip = strips;
    strips += (b.end_row - b.first_row + per_strip - 1) / per_strip;
  }
  p.set(RowsPerStrip, w.rows_per_strip);
  if (!p.offsets.allocate_zeroed(strips) || !p.byte_counts.allocate_zeroed(strips)) return -2;
  p.hold(StripOffsets, strips);
  p.hold(StripByteCounts, strips);
  return 0;
}

int32_t set_up_bands(writer &w, const qvimage &image, const orders &o) {
  for (band *b : w.bands) {
    b->complete = false;
    if (b->stream == &b->memory) bufio_ptr2truncate(&b->memory, 0);
    if (const int32_t code = b->encoder.prepare(image, w.page, w.format, o); code < 0) return code;
    if (const int32_t code = b->codec.start(w.page.scalar[Compression], rows_of(w.page)); code < 0)
      return code;
  }
  return 0;
}

int32_t set_up(writer &w, qvimage &image, qvimage *palette, const qvimagefileinfo *options, const orders &o,
               bool swapmap) {
  const int64_t width = int64_t(image.wind.se.x) - image.wind.nw.x,
                height = int64_t(image.wind.se.y) - image.wind.nw.y;
  if (height < int64_t(w.band_count())) return -1;
  page &p = w.page = page();
  const bool has_palette = palette && image.d.pixies == 1 && image.d.pixietype & 0x0F;
  int32_t code = set_form(p, image.d, width, height, has_palette, options);
  if (code < 0) return code;
  if (code = set_texts(p, options); code < 0) return code;
  if (options) set_resolutions(p, *options);
  if (has_palette) code = set_colours(p, palette, p.bits()[0], swapmap);
  if (code < 0) return code;
  if (code = set_strips(w, options); code < 0) return code;
  return set_up_bands(w, image, o);
}

}  // namespace

writer::~writer() {
  for (band *b : bands) owned<band>{b};
  if (is_open) bufio_done(&file);
}

int32_t writer_of(tiffhandle **h, writer **result) {
  if (!h || !*h) return -1;
  if ((*h)->identity != tiffhandle::writer_mark) return -64;
  *result = static_cast<writer *>(*h);
  return 0;
}

void revert(writer &w) {
  if (!w.appends || !w.is_open) return;
  // What is on disk stays reachable and whole at every step: the link goes back first, and the file is only
  // shortened once nothing points beyond.
  bufio_errclear(&w.file);
  if (w.link != w.former_link) put_link(w, w.former_link, w.former_link_value);
  if (bufio_err(&w.file) < 0) return;
  w.complete = w.former_length;
  w.done = writer::step::opened;
  bufio_ptr2truncate(&w.file, w.former_length);
}

}  // namespace qvim::tiff

using namespace qvim;
using namespace qvim::tiff;

extern "C" {

int32_t qvimage_tiffwriteopen(tiffhandle **h, int32_t bands, const uint32_t size[2], const qvimagedata *d,
                              const char *path, const char *fopenmode, int64_t bufsize, int64_t appendpage,
                              qvimagefileinfo *options) {
  if (!h || *h || bands < 1 || appendpage < 0) return -1;
  owned<writer> w = make_owned<writer>();
  if (!w) return -2;
  int32_t code = open_file(*w, path, mode_of(fopenmode, appendpage), bufsize, uint64_t(appendpage), options);
  if (code == 0) {
    const uint32_t compression = options ? options->compression : 0;
    code = open_bands(*w, uint32_t(bands), band_block(*w, uint32_t(bands), size, d, compression));
  }
  if (code == 0) {
    *h = w.release();
    return 0;
  }
  const bool created = w->created;
  owned<writer>{w.release()};  // closed before it is removed
  if (created) std::remove(path);
  return code;
}

int32_t qvimage_tiffwritesetup(tiffhandle **h, qvimage *image, qvimage *palette, qvimagefileinfo *options,
                               uint32_t rgborder, uint32_t swapmap, uint32_t yccorder, int32_t) {
  writer *w;
  if (const int32_t code = writer_of(h, &w); code < 0) return code;
  if (!image || !w->is_open || w->done == writer::step::directory) return -1;
  const int32_t code = set_up(*w, *image, palette, options, {rgborder != 0, yccorder != 0}, swapmap != 0);
  w->done = code < 0 ? writer::step::opened : writer::step::set_up;
  return code;
}

int32_t qvimage_tiffwriteifdinit(tiffhandle **h) {
  writer *w;
  if (const int32_t code = writer_of(h, &w); code < 0) return code;
  if (w->done != writer::step::set_up) return -1;
  w->done = writer::step::directory;
  return begin_directory(*w);
}

int32_t qvimage_tiffwritedata(tiffhandle **h, qvimagecallback callback, qvimage *image, int32_t number) {
  writer *w;
  if (const int32_t code = writer_of(h, &w); code < 0) return code;
  if (!image || w->done != writer::step::directory || number < 0 || uint32_t(number) >= w->band_count())
    return -1;
  if (!w->band_of(uint32_t(number)).encoder.fits(*image)) return -1;
  return write_band(*w, callback, image, uint32_t(number));
}

int32_t qvimage_tiffwriteifdfini(tiffhandle **h) {
  writer *w;
  if (const int32_t code = writer_of(h, &w); code < 0) return code;
  if (w->done != writer::step::directory) return -1;
  const int32_t code = finish_directory(*w);
  if (code >= 0) w->done = writer::step::opened;
  return code;
}

int32_t qvimage_tiffclose(tiffhandle **h) {
  writer *w;
  if (const int32_t code = writer_of(h, &w); code < 0) return code;
  if (!w->is_open) return bufio_err(&w->file);
  // A page that was begun and not finished goes away again.
  if (w->done == writer::step::directory) bufio_ptr2truncate(&w->file, w->complete);
  bufio_done(&w->file);
  w->is_open = false;
  return bufio_err(&w->file);
}

int32_t qvimage_tifffini(tiffhandle **h, int32_t) {
  writer *w;
  if (const int32_t code = writer_of(h, &w); code < 0) return code;
  int32_t code = qvimage_tiffclose(h);
  for (band *b : w->bands)
    if (b) code = worst(code, b->stream == &b->memory ? bufio_err(&b->memory) : 0);
  owned<writer>{w};
  *h = nullptr;
  return code;
}

int32_t qvimage_tifferror(tiffhandle **h) {
  writer *w;
  if (const int32_t code = writer_of(h, &w); code < 0) return code;
  return bufio_err(&w->file);
}

int32_t qvimage_tifffileopened(tiffhandle **h) {
  writer *w;
  if (const int32_t code = writer_of(h, &w); code < 0) return code;
  return w->created;
}

}  // extern "C"
