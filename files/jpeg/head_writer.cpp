// The segments before the entropy-coded data.
#include <algorithm>
#include <charconv>
#include <cstring>

#include "files/jpeg/writer.hpp"
#include "files/stream/bufio.hpp"

namespace qvim::jpeg {

namespace {

// A marker and the bytes of its segment.
class segment {
 public:
  segment(bufio *stream, marker m, uint32_t length) : stream_(stream) {
    byte(0xFF);
    byte(m);
    word(length + 2);  // it counts itself
  }
  void byte(uint32_t v) { bufio_putc(stream_, uint8_t(v)); }
  void word(uint32_t v) {
    byte(v >> 8);
    byte(v & 0xFF);
  }
  void bytes(const void *data, uint64_t count) { write_bytes(*stream_, data, count); }

 private:
  bufio *stream_;
};

void put_marker(bufio *stream, marker m) {
  bufio_putc(stream, 0xFF);
  bufio_putc(stream, m);
}

void put_jfif(bufio *stream, const qvimagefileinfo *options) {
  density d;
  if (options) {
    d.unit = options->jpg_densityunit;
    if (options->jpg_xdensity) d.x = options->jpg_xdensity;  // 0 is no density
    if (options->jpg_ydensity) d.y = options->jpg_ydensity;
  }
  segment s(stream, app0, 14);
  s.bytes("JFIF", 5);
  s.word(0x0102);  // version
  s.byte(d.unit);
  s.word(d.x);
  s.word(d.y);
  s.word(0);  // no thumbnail
}

void put_comment(bufio *stream, const char *text) {
  const uint32_t length = uint32_t(std::min(std::strlen(text), size_t{longest_segment - 2}));
  segment(stream, com, length).bytes(text, length);
}

void put_comment(bufio *stream, const char *name, int32_t value) {
  char text[40];
  const size_t n = std::strlen(name);
  std::memcpy(text, name, n);
  *std::to_chars(text + n, text + sizeof text - 1, value).ptr = 0;
  put_comment(stream, text);
}

void put_quantisation(bufio *stream, uint8_t slot, const uint16_t *table) {
  segment s(stream, dqt, 1 + block_size);
  s.byte(slot);
  for (const uint8_t at : zigzag) s.byte(table[at]);
}

void put_huffman(bufio *stream, uint8_t which, const huffman_description &table) {
  segment s(stream, dht, 17 + table.size());
  s.byte(which);
  s.bytes(table.counts, sizeof table.counts);
  s.bytes(table.values, table.size());
}

}  // namespace

void writer::put_head(const qvimagefileinfo *options) {
  put_marker(out, soi);
  put_jfif(out, options);
  if (options) {
    for (const char *text : options->jpg_comment)
      if (text) put_comment(out, text);
    if (out == &file) {
      put_comment(out, quality_comment, quality_of(options));
      put_comment(out, mode_comment, options->jpg_encodemode);
    }
  }
  const bool coloured = components == 3;
  put_quantisation(out, 0, quantisation[0]);
  if (coloured) put_quantisation(out, 1, quantisation[1]);

  segment frame(out, sof0, 6 + 3 * components);
  frame.byte(8);
  frame.word(height);
  frame.word(width);
  frame.byte(components);
  for (uint32_t i = 0; i < components; i++) {
    frame.byte(i + 1);
    frame.byte(no_subsampling);
    frame.byte(slot_of(i));
  }

  put_huffman(out, 0x00, luminance_dc);
  put_huffman(out, 0x10, luminance_ac);
  if (coloured) {
    put_huffman(out, 0x01, chrominance_dc);
    put_huffman(out, 0x11, chrominance_ac);
  }

  segment scan(out, sos, 4 + 2 * components);
  scan.byte(components);
  for (uint32_t i = 0; i < components; i++) {
    scan.byte(i + 1);
    scan.byte(0x11 * slot_of(i));
  }
  scan.byte(0);   // all coefficients
  scan.byte(63);  // of each block
  scan.byte(0);   // in all their bits
}

void writer::put_end() { put_marker(out, eoi); }

}  // namespace qvim::jpeg
