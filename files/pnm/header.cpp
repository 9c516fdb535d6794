// The header of a portable anymap file.
#include "files/pnm/header.hpp"

#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/stream/reader.hpp"
#include "files/stream/text_writer.hpp"

namespace qvim::pnm {

namespace {

constexpr uint32_t longest_side = 0x7FFFFFFF, highest_maximum = 0xFFFF;

// The sides of a pixel, as comments name them behind "## " and "# ".
struct side {
  std::string_view name;
  float qvimagehints::*length;
  uint8_t qvimagehints::*unit;
};
constexpr side sides[] = {{"# PixelWidth=", &qvimagehints::pixelwidth, &qvimagehints::widthunits},
                          {"# PixelHeight=", &qvimagehints::pixelheight, &qvimagehints::heightunits},
                          {"# PixelDepth=", &qvimagehints::pixeldepth, &qvimagehints::depthunits}};

bool is_line_end(uint8_t c) { return c == '\n' || c == '\r'; }
bool is_space(uint8_t c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_digit(uint8_t c) { return c >= '0' && c <= '9'; }

class parser {
 public:
  parser(checked_reader &in, header *h, texts *comments) : in_(in), h_(*h), texts_(*comments) {}

  int32_t parse() {
    const uint8_t first = in_.get<uint8_t>();
    h_.magic = char(in_.get<uint8_t>());
    if (first != 'P' || h_.magic < bits || h_.magic > colour) return refuse("neither P4 nor P5 nor P6");
    if (!is_space(in_.get<uint8_t>())) return refuse("no space behind the first two letters");
    int32_t code = number(longest_side, "width", &h_.width);
    if (code == 0) code = number(longest_side, "height", &h_.height);
    if (code == 0 && h_.magic != bits) code = number(highest_maximum, "maximum value", &h_.maximum);
    if (code < 0) return code;
    if (!is_space(in_.get<uint8_t>())) return refuse("no space before the pixels");
    h_.end = in_.position();
    return h_.frame_bytes() ? in_.code() : refuse("frames larger than any file");
  }

 private:
  int32_t refuse(const char *why) {
    if (in_.code() == QVERR_IO) return QVERR_IO;
    return because(QVERR_FORMAT, {"header, byte ", in_.position(), ": ", why});
  }

  int32_t number(uint32_t highest, const char *name, uint32_t *result) {
    uint8_t c;
    while (is_space(c = in_.get<uint8_t>()) || c == '#')
      if (c == '#')
        if (const int32_t code = comment(); code < 0) return code;
    uint64_t value = 0;
    if (!is_digit(c)) return refuse("a number is missing");
    for (; is_digit(c) && value <= highest; c = in_.get<uint8_t>()) value = 10 * value + (c - '0');
    if (value == 0 || value > highest) return because(QVERR_FORMAT, {name, " is not from 1 to ", highest});
    in_.seek(in_.position() - 1);
    *result = uint32_t(value);
    return in_.code();
  }

  // The rest of a line, from its first character on.
  int32_t comment() {
    uint8_t c;
    do c = in_.get<uint8_t>();
    while (is_space(c) && !is_line_end(c));
    const uint64_t begin = in_.position() - 1;
    while (!is_line_end(c) && in_.left() > 0) c = in_.get<uint8_t>();
    if (const int32_t code = in_.code(); code < 0) return code;
    const uint64_t end = in_.position(), length = end - begin - is_line_end(c);
    array<char> text;
    if (!text.allocate(length + 1)) return QVERR_MEMORY;
    in_.seek(begin);
    in_.get_bytes(text.data(), length);
    text[length] = 0;
    in_.seek(end);
    keep({text.data(), length}, text);
    return in_.code();
  }

  void keep(std::string_view line, array<char> &text) {
    for (const side &s : sides)
      if (line.starts_with(s.name) && set_size(s, line.substr(s.name.size()))) return;
    for (array<char> &place : texts_)
      if (!place.size()) {
        place = std::move(text);
        return;
      }
  }

  bool set_size(const side &s, std::string_view value) {
    double length;
    const auto [rest, error] =
        std::from_chars(value.data(), value.data() + value.size(), length, std::chars_format::fixed);
    // Writers in other locales put a comma: half a number is none.
    if (error != std::errc() || !std::isfinite(float(length)) || *rest == ',') return false;
    h_.size.*s.length = float(length);
    h_.size.*s.unit = uint8_t(std::max(qvimstringtounit(rest), 0));  // the text ends with the line
    return true;
  }

  checked_reader &in_;
  header &h_;
  texts &texts_;
};

// A comment for each line of the text.
void put_comment(text_writer &out, std::string_view text) {
  do {
    const size_t end = std::min(text.find_first_of("\r\n"), text.size());
    out.put("# ").put(text.substr(0, end)).put("\n");
    const bool both = text.substr(end, 2) == "\r\n";
    text.remove_prefix(std::min(end + 1 + both, text.size()));
  } while (!text.empty());
}

void put_size(text_writer &out, const side &s, const qvimagehints &size) {
  const char *const unit = qvimunittostring(size.*s.unit);
  if (size.*s.unit == 0 || !unit || !std::isfinite(size.*s.length)) return;
  out.put("#").put(s.name).put(double(size.*s.length), 6).put(unit).put("\n");
}

}  // namespace

int32_t read_header(bufio &file, header *h, texts *comments) {
  const small_blocks blocks(file);
  checked_reader in(file, std::endian::big);
  return parser(in, h, comments).parse();
}

void write_header(bufio &file, const header &h, const qvimagefileinfo *options) {
  text_writer out(file);
  out.put("P").put({&h.magic, 1}).put("\n");
  for (auto member : text_members)
    if (options && options->*member) put_comment(out, options->*member);
  for (const side &s : sides) put_size(out, s, h.size);
  out.put(h.width).put(" ").put(h.height).put("\n");
  if (h.magic != bits) out.put(h.maximum).put("\n");
}

}  // namespace qvim::pnm
