// The strips of a page: rows are fetched from the image, encoded, compressed and appended.
#include <qvimage/data.h>
#include <qvimage/error.h>

#include "files/codec/codec.hpp"
#include "files/tiff/writer.hpp"

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

  // A place in the stream for a whole row as it is, or null where the row would cross the end of a block.
  uint8_t *place_for(uint64_t bytes) {
    if (*codec_ || bytes > room()) return nullptr;
    uint8_t *place;
    return bufio_ptr2(stream_, bytes, 'w', &place) == bytes ? place : nullptr;
  }

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

// A whole row of the image. Some images deliver a row in several pieces; one that stops short would lose
// data.
int32_t fetch_row(qvimage *image, uint8_t *row, uint32_t width, int32_t y) {
  for (uint32_t done = 0; done < width;) {
    const uint32_t moved = image->ioread(image, 0, row + uint64_t(done) * uint32_t(image->f.pixelsize),
                                         width - done, int32_t(done), y);
    if (moved == 0 || moved > width - done) {
      const int32_t latched = int32_t(image->aeiou(image, 'e', 0, 1, nullptr));
      return latched < 0 ? latched : QVERR_IO;
    }
    done += moved;
  }
  return 0;
}

int32_t write_row(band &b, strip_sink &sink, qvimage *image, uint32_t width, uint32_t y, bool last) {
  if (b.encoder.verbatim())
    if (uint8_t *place = sink.place_for(b.encoder.bytes())) return fetch_row(image, place, width, int32_t(y));
  if (const int32_t code = fetch_row(image, b.encoder.row(), width, int32_t(y)); code < 0) return code;
  return sink.add(b.encoder.encode(), b.encoder.bytes(), last);
}

}  // namespace

int32_t write_band(writer &w, qvimagecallback callback, qvimage *image, uint32_t number) {
  band &b = w.band_of(number);
  const page &p = w.page;
  const uint32_t all = (1u << image->d.pixies) - 1;
  const int32_t set = image->ioset(image, 0, uint32_t(image->d.pixietype) | QVIM_LSB, all);
  if (set <= 0) return set < 0 ? set : -1;

  b.complete = false;
  strip_sink sink(b.stream, &b.codec);
  uint64_t strip = b.first_strip;
  for (uint32_t y = b.first_row; y < b.end_row; y++) {
    const uint32_t in_strip = (y - b.first_row) % w.rows_per_strip;
    const bool last = in_strip == w.rows_per_strip - 1 || y + 1 == b.end_row;
    if (callback)
      if (const int32_t stop = callback(int64_t(y) + 1, p.height()); stop != 0) return stop;
    if (in_strip == 0)
      if (const int32_t code = sink.begin(); code < 0) return code;
    if (const int32_t code = write_row(b, sink, image, p.width(), y, last); code < 0) return code;
    if (!last) continue;
    w.page.offsets[strip] = sink.offset();
    w.page.byte_counts[strip] = sink.size();
    strip++;
    if (const int32_t code = bufio_err(b.stream); code < 0) return code;
    if (passes_classic_limit(w.format, b.stream->filelen)) return QVERR_FORMAT;
  }
  b.complete = true;
  return 0;
}

}  // namespace qvim::tiff
