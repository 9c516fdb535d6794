// Writing TIFF files: pages and their strips. Rows are fetched from the image, encoded, compressed and
// appended.
#include <algorithm>
#include <numeric>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/codec/codec.hpp"
#include "files/rows/palette.hpp"
#include "files/rows/write_rows.hpp"
#include "files/tiff/writer.hpp"
#include "kernels/words.hpp"

namespace qvim::tiff {

namespace {

// Appends one strip to a stream, row by row, straight into the stream's block.
class strip_sink {
 public:
  strip_sink(bufio *stream, strip_codec *codec) : stream_(stream), codec_(codec) {}

  [[nodiscard]] int32_t begin() {
    stream_->pos = start_ = stream_->filelen;
    out_ = {};
    return *codec_ ? codec_->reset() : 0;
  }

  [[nodiscard]] int32_t add(const uint8_t *row, uint64_t bytes, bool last) {
    if (*codec_) return compress(row, bytes, last);
    bufio_io(stream_, const_cast<uint8_t *>(row), bytes, 'w');
    return 0;
  }

  // A place in the stream for a whole row, or null where the row would cross the end of a block.
  uint8_t *place_for(uint64_t bytes) { return *codec_ ? nullptr : place_in_block(*stream_, bytes); }

  uint64_t offset() const { return start_; }
  uint64_t size() const { return stream_->pos - start_; }

 private:
  uint64_t room() const { return stream_->bufsize - (stream_->pos & (stream_->bufsize - 1)); }

  int32_t compress(const uint8_t *row, uint64_t bytes, bool last) {
    codecstream in{};
    in.start = in.next = const_cast<uint8_t *>(row);
    in.end = in.next + bytes;
    in.more = !last;
    for (int32_t code = 0;;) {
      uint8_t *place;
      const uint64_t taken = bufio_ptr2(stream_, room(), 'w', &place);
      if (taken == 0) return bufio_err(stream_) < 0 ? bufio_err(stream_) : int32_t{QVERR_IO};
      out_.next = place;
      out_.end = place + taken;
      const uint8_t *const before = in.next;
      if (code != 1) code = codec_->encode(&in, &out_);
      const bool closed = code == 1 && finish_bits(&out_);
      const bool full = out_.next == out_.end, stuck = in.next == before && out_.next == place;
      bufio_ptr2truncate(stream_, stream_->pos - uint64_t(out_.end - out_.next));
      if (code < 0) return code;
      if (closed || (code == 0 && !last && in.next == in.end && !full)) return 0;
      if (stuck && !full) return QVERR_LOGIC;
    }
  }

  bufio *stream_;
  strip_codec *codec_;
  uint64_t start_ = 0;
  codecstream out_{};
};

int32_t write_row(image_rows &rows, row_encoder &encoder, strip_sink &sink, uint32_t y, bool last) {
  uint8_t *const place = encoder.in_place() ? sink.place_for(encoder.bytes()) : nullptr;
  uint8_t *const row = place ? place : encoder.row();
  if (const int32_t code = rows.fetch(row, y); code != 0) return code;
  const uint8_t *const encoded = encoder.encode(row);
  return place ? 0 : sink.add(encoded, encoder.bytes(), last);
}

constexpr uint64_t usual_strip = 65536;

}  // namespace

int32_t classic_limit_passed() {
  return because(QVERR_FORMAT, {"classic TIFF files end at 4 GiB, BigTIFF files do not"});
}

int32_t writer::plan(const qvimage &image, const page_request &r) {
  if (step_ == step::directory) return because(QVERR_USAGE, {"a page is begun and not finished"});
  step_ = step::opened;
  page = tiff::page();
  const bool integer = is_integer(image.d.pixietype);
  const bool has_palette = !is_none(r.palette) && image.d.pixies == 1 && integer;
  int32_t code = set_form(page, image, has_palette, r.options);
  if (code == 0) code = set_texts(page, r.options);
  if (code == 0 && r.options) code = set_resolutions(page, *r.options);
  if (code == 0 && has_palette) code = set_colours(page, r.palette, page.bits()[0], r.exchanges_map);
  if (code == 0) step_ = step::planned;
  return code;
}

// Bands of whole strips: the largest strip up to the target's size that divides them all.
int32_t writer::set_strips(uint64_t target) {
  const uint64_t height = page.height(), bands = bands_.count();
  const auto first_row = [&](uint64_t i) { return uint32_t(i * height / bands); };
  uint64_t per_strip =
      std::clamp<uint64_t>((target ? target : usual_strip) / rows_of(page).bytes(), 1, height);
  if (bands > 1) {
    uint64_t common = 0;
    for (uint64_t i = 0; i < bands; i++) common = std::gcd(common, uint64_t(first_row(i + 1) - first_row(i)));
    while (common % per_strip) per_strip--;
  }
  rows_per_strip_ = uint32_t(per_strip);
  bands_.begin_page();
  uint64_t strips = 0;
  for (uint32_t i = 0; i < bands; i++) {
    band &b = bands_[i];
    b.first_row = first_row(i);
    b.end_row = first_row(i + 1);
    b.first_strip = strips;
    b.end_strip = strips += (b.end_row - b.first_row + per_strip - 1) / per_strip;
  }
  page.set(RowsPerStrip, rows_per_strip_);
  if (!page.offsets.allocate_zeroed(strips) || !page.byte_counts.allocate_zeroed(strips)) return QVERR_MEMORY;
  page.hold(StripOffsets, strips);
  page.hold(StripByteCounts, strips);
  return 0;
}

int32_t writer::set_up(const qvimage &image, const page_request &r) {
  if (step_ != step::planned || !output_.is_open())
    return because(QVERR_USAGE, {"a page is set up in a file that is closed"});
  step_ = step::opened;
  if (page.height() < bands_.count())
    return because(QVERR_USAGE, {page.height(), " rows are fewer than ", bands_.count(), " bands"});
  if (const int32_t code = set_strips(r.options ? r.options->stripsize : 0); code < 0) return code;
  model_ = image;
  changes_ = {};
  changes_.exchanges_rgb = r.exchanges_rgb;
  changes_.exchanges_chroma = r.exchanges_chroma;
  changes_.differences = page.differenced();
  // The predictive coder takes samples as the host has them, and stores their low byte first.
  changes_.order = rows_of(page).packed ? format.order() : std::endian::little;
  coder *const first = bands_.take();
  if (!first) return QVERR_MEMORY;
  const int32_t code = prepare(*first);
  bands_.give_back(first);
  if (code == 0) step_ = step::set_up;
  return code;
}

int32_t writer::prepare(coder &c) {
  if (c.page == bands_.page()) return 0;
  const row_form form = rows_of(page);
  if (const int32_t code = c.encoder.prepare(model_, form, changes_); code < 0) return code;
  if (const int32_t code = c.codec.start(page.scalar[Compression], form); code < 0) return code;
  c.page = bands_.page();
  return 0;
}

int32_t writer::data(const progress &told, qvimage &image, uint32_t number) {
  if (step_ != step::directory || number >= bands_.count())
    return because(QVERR_USAGE, {"no page is begun that has a band ", number});
  coder *c = bands_.take();
  if (!c) return QVERR_MEMORY;
  const bool straight = bands_.goes_straight(number);
  int32_t code = prepare(*c);
  if (code == 0 && !c->encoder.fits(image))
    code = because(QVERR_USAGE, {"another image was set up than the one to be written"});
  image_rows rows(image, told);
  if (code == 0) code = rows.set_up();
  if (code == 0) code = code_rows(rows, *c, straight ? file : c->memory, bands_[number]);
  if (straight || code != 0) {
    bands_.give_back(c);
    c = nullptr;
  }
  return code == 0 ? bands_.add(number, c, file, page.offsets) : code;
}

int32_t writer::code_rows(image_rows &rows, coder &c, bufio &stream, const band &b) {
  strip_sink sink(&stream, &c.codec);
  uint64_t strip = b.first_strip;
  for (uint32_t y = b.first_row; y < b.end_row; y++) {
    const uint32_t in_strip = (y - b.first_row) % rows_per_strip_;
    const bool last = in_strip == rows_per_strip_ - 1 || y + 1 == b.end_row;
    if (in_strip == 0)
      if (const int32_t code = sink.begin(); code < 0) return code;
    if (const int32_t code = write_row(rows, c.encoder, sink, y, last); code != 0) return code;
    if (!last) continue;
    page.offsets[strip] = sink.offset();
    page.byte_counts[strip] = sink.size();
    strip++;
    if (const int32_t code = bufio_err(&stream); code < 0) return code;
    if (passes_classic_limit(format, stream.filelen)) return classic_limit_passed();
  }
  return 0;
}

}  // namespace qvim::tiff
