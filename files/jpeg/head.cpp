// Parsing of markers and segments.
#include "files/jpeg/head.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/stream/reader.hpp"

namespace qvim::jpeg {

namespace {

// The next byte of all ones from there on; the length of the data when there is none.
uint64_t find_ones(bufio &stream, uint64_t from) {
  stream.pos = from;
  uint8_t *bytes;
  while (const uint64_t count = bufio_ptr2(&stream, 1, 'r', &bytes)) {
    const void *const found = std::memchr(bytes, 0xFF, count);
    if (found) return stream.pos - count + uint64_t(static_cast<const uint8_t *>(found) - bytes);
  }
  return stream.filelen;
}

const char *name_of_process(uint8_t m) {
  switch (m) {
    case sof1: return "extended";
    case sof2: return "progressive";
    case sof3: return "lossless";
    case sof5:
    case sof5 + 1:
    case sof7: return "hierarchical";
    case dnl: return "with its height after its pixels";
    default: return "arithmetically coded";
  }
}

// Of colours that have one sample where the first component has several.
const char *name_of_subsampling(uint8_t first) {
  switch (first) {
    case 0x22: return "4:2:0 subsampled";
    case 0x21: return "4:2:2 subsampled";
    case 0x12: return "4:4:0 subsampled";
    case 0x41: return "4:1:1 subsampled";
    default: return "subsampled";
  }
}

class parser {
 public:
  parser(bufio &stream, head &h) : stream_(stream), in_(stream, std::endian::big), h_(h) {
    in_.seek(stream.pos);
  }

  int32_t parse() {
    if (in_.get<uint8_t>() != 0xFF || in_.get<uint8_t>() != soi)
      return refuse(QVERR_FORMAT, {"no JPEG file"});
    for (;;) {
      const uint64_t at = find_ones(stream_, in_.position());
      in_.seek(std::min(at + 1, stream_.filelen));
      if (in_.left() == 0) return end_of_file();
      uint8_t m = in_.get<uint8_t>();
      while (m == fill && in_.left()) m = in_.get<uint8_t>();
      if (m == eoi) return check();
      const int32_t code = worst(segment(m), in_.code());
      if (code < 0) return within({"marker at byte ", at}, code);
    }
  }

 private:
  // What could not be read is no broken file.
  int32_t refuse(int32_t code, words cause) const {
    const int32_t failure = bufio_err(&stream_);
    return failure == QVERR_IO || failure == QVERR_MEMORY ? failure : because(code, cause);
  }

  int32_t end_of_file() {
    if (h_.data_begin == 0) return refuse(QVERR_FORMAT, {"the file ends before its pixels"});
    return check();
  }

  int32_t segment(uint8_t m) {
    switch (m) {
      case tem:
      case jpg:
      case exp:
      case jpg0:
      case jpg13:
      case fill: return 0;
      case sof0: return frame(data());
      case dht: return huffman(data());
      case dqt: return quantisation(data());
      case sos: return scan(data());
      case dri: return restart(data());
      case com: return comment(data());
      case app0: return jfif(data());
      case app14: return adobe(data());
      case dhp: return static_cast<void>(data()), 0;
      case dnl: break;
      default:
        if (m >= rst0 && m <= rst7) return 0;
        if (m > app0 && m <= app15) return static_cast<void>(data()), 0;
        if (m < sof0 || m > sof15) return refuse(QVERR_FORMAT, {"marker ", m, " means nothing"});
    }
    return refuse(QVERR_UNSUPPORTED, {name_of_process(m), " JPEG"});
  }

  // The bytes of a segment.
  checked_reader data() {
    const uint16_t length = in_.get<uint16_t>();
    if (length < 2) in_.fail({"a segment of ", length, " bytes"});
    return in_.chunk(length < 2 ? 0 : length - 2u);
  }

  int32_t frame(checked_reader in) {
    if (h_.components) return refuse(QVERR_FORMAT, {"a second frame"});
    h_.precision = in.get<uint8_t>();
    h_.height = in.get<uint16_t>();
    h_.width = in.get<uint16_t>();
    h_.components = in.get<uint8_t>();
    if (h_.components > std::size(h_.part)) return refuse(QVERR_FORMAT, {h_.components, " components"});
    if (h_.components == 0) return refuse(QVERR_UNSUPPORTED, {"no components"});
    for (uint32_t i = 0; i < h_.components; i++) {
      component &c = h_.part[i];
      c.id = in.get<uint8_t>();
      c.sampling = in.get<uint8_t>();
      c.quantisation = in.get<uint8_t>();
    }
    return in.code();
  }

  int32_t huffman(checked_reader in) {
    while (in.left() && in.code() == 0) {
      const uint8_t which = in.get<uint8_t>();
      const uint32_t slot = which & 15;
      if (which >> 4 > 1 || slot >= table_slots)
        return refuse(QVERR_FORMAT, {"Huffman table of slot ", slot});
      huffman_description &s = (which >> 4 ? h_.ac : h_.dc)[slot];
      in.get_bytes(s.counts, sizeof s.counts);
      if (s.size() > symbol_count) return refuse(QVERR_FORMAT, {"Huffman table with ", s.size(), " codes"});
      std::memset(s.values, 0, sizeof s.values);
      in.get_bytes(s.values, s.size());
    }
    return in.code();
  }

  int32_t quantisation(checked_reader in) {
    while (in.left() && in.code() == 0) {
      const uint8_t which = in.get<uint8_t>();
      const uint32_t slot = which & 15;
      if (which >> 4 > 1 || slot >= quantisation_slots)
        return refuse(QVERR_FORMAT, {"quantisation table of slot ", slot});
      for (const uint8_t at : zigzag)
        h_.quantisation[slot][at] = which >> 4 ? in.get<uint16_t>() : in.get<uint8_t>();
      h_.has_quantisation[slot] = true;
    }
    return in.code();
  }

  int32_t restart(checked_reader in) {
    const uint16_t interval = in.get<uint16_t>();
    return interval ? refuse(QVERR_UNSUPPORTED, {"restart intervals of ", interval, " MCUs"}) : in.code();
  }

  int32_t scan(checked_reader in) {
    const uint32_t components = in.get<uint8_t>();
    if (components == 0 || components > std::size(h_.part))
      return refuse(QVERR_FORMAT, {"a scan of ", components, " components"});
    if (h_.components == 0) return refuse(QVERR_FORMAT, {"pixels before the frame"});
    if (components != h_.components) return refuse(QVERR_UNSUPPORTED, {"components in scans of their own"});
    if (h_.data_begin) return refuse(QVERR_FORMAT, {"a second scan"});
    for (uint32_t i = 0; i < components; i++) {
      component &c = h_.part[i];
      const uint8_t id = in.get<uint8_t>(), tables = in.get<uint8_t>();
      if (id != c.id)
        return refuse(QVERR_FORMAT, {"a scan of component ", id, ", which is not the next one"});
      c.dc = tables >> 4;
      c.ac = tables & 15;
    }
    if (in.code() < 0) return in.code();
    h_.data_begin = in_.position();
    find_end();
    return 0;
  }

  // Data end at the first marker, or with the file.
  void find_end() {
    uint64_t at = h_.data_begin;
    for (;; at += 2) {
      at = find_ones(stream_, at);
      h_.data_end = std::min(at, stream_.filelen);
      stream_.pos = at + 1;
      const int32_t next = at < stream_.filelen ? bufio_getc(&stream_) : -1;
      if (next != 0) break;
    }
    in_.seek(h_.data_end);
  }

  int32_t jfif(checked_reader in) {
    char name[5];
    if (!in.holds(14, 1)) return 0;
    in.get_bytes(name, sizeof name);
    if (std::memcmp(name, "JFIF", sizeof name) != 0) return 0;
    in.skip(2);
    h_.pixels.unit = in.get<uint8_t>();
    h_.pixels.x = in.get<uint16_t>();
    h_.pixels.y = in.get<uint16_t>();
    return 0;
  }

  // The colour transform that the file's writer took: 0 means components as they are.
  int32_t adobe(checked_reader in) {
    char name[5];
    if (!in.holds(12, 1)) return 0;
    in.get_bytes(name, sizeof name);
    in.skip(6);
    is_rgb_ = std::memcmp(name, "Adobe", sizeof name) == 0 && in.get<uint8_t>() == 0;
    return 0;
  }

  int32_t comment(checked_reader in) {
    const uint64_t length = in.left();
    array<char> text;
    if (!text.allocate(length + 1)) return QVERR_MEMORY;
    in.get_bytes(text.data(), length);
    text[length] = 0;
    if (const char *const quality = after(text, quality_comment)) {
      h_.has_quality = true;
      h_.quality = number(quality, text.end());
    } else if (const char *const mode = after(text, mode_comment)) {
      h_.mode = uint16_t(number(mode, text.end()));
    } else {
      for (array<char> &place : h_.comments)
        if (place.size() == 0) return place = std::move(text), 0;
    }
    return 0;
  }

  static const char *after(const array<char> &text, const char *beginning) {
    const size_t n = std::strlen(beginning);
    return std::strncmp(text.data(), beginning, n) == 0 ? text.data() + n : nullptr;
  }
  static int32_t number(const char *from, const char *end) {
    int32_t value = 0;
    std::from_chars(from, end, value);
    return value;
  }

  int32_t check() const {
    if (h_.width == 0 || h_.height == 0)
      return refuse(QVERR_UNSUPPORTED, {h_.width, " x ", h_.height, " pixels"});
    if (h_.data_begin == 0) return refuse(QVERR_FORMAT, {"no pixels"});
    if (h_.precision != 8) return refuse(QVERR_UNSUPPORTED, {"samples of ", h_.precision, " bits"});
    if (const int32_t code = check_sampling(); code < 0) return code;
    if (h_.components != 1 && h_.components != 3)
      return refuse(QVERR_UNSUPPORTED, {h_.components, " components"});
    if (is_rgb_ && h_.components == 3)
      return refuse(QVERR_UNSUPPORTED, {"components are red, green, blue instead of YCbCr"});
    return check_tables();
  }

  int32_t check_sampling() const {
    const uint8_t first = h_.part[0].sampling;
    bool all_as_first = true, rest_plain = true;
    for (uint32_t i = 1; i < h_.components; i++) {
      all_as_first &= h_.part[i].sampling == first;
      rest_plain &= h_.part[i].sampling == no_subsampling;
    }
    if (all_as_first && first == no_subsampling) return 0;
    // Nothing is subsampled then: blocks only stand in another order.
    if (all_as_first)
      return refuse(QVERR_UNSUPPORTED,
                    {"sampling factors ", first >> 4, " x ", first & 15, " of every component"});
    return refuse(QVERR_UNSUPPORTED, {rest_plain ? name_of_subsampling(first) : "subsampled"});
  }

  int32_t check_tables() const {
    for (uint32_t i = 0; i < h_.components; i++) {
      const component &c = h_.part[i];
      if (c.quantisation >= quantisation_slots || !h_.has_quantisation[c.quantisation])
        return refuse(QVERR_FORMAT, {"no quantisation table ", c.quantisation});
      if (c.dc >= table_slots || c.ac >= table_slots || h_.dc[c.dc].size() == 0 || h_.ac[c.ac].size() == 0)
        return refuse(QVERR_FORMAT, {"no Huffman tables ", c.dc, ", ", c.ac});
    }
    return 0;
  }

  bufio &stream_;
  checked_reader in_;
  head &h_;
  bool is_rgb_ = false;
};

}  // namespace

int32_t head::read(bufio &stream) {
  std::memset(dc, 0, sizeof dc);
  std::memset(ac, 0, sizeof ac);
  // Frames of motion JPEG come without Huffman tables and mean these.
  dc[0] = luminance_dc;
  dc[1] = chrominance_dc;
  ac[0] = luminance_ac;
  ac[1] = chrominance_ac;
  const int32_t code = parser(stream, *this).parse();
  const int32_t failure = bufio_err(&stream);
  return failure == QVERR_IO || failure == QVERR_MEMORY ? failure : code;
}

}  // namespace qvim::jpeg
