// Reading the header of a FITS file.
#include "files/fits/header.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/fits/card.hpp"
#include "files/stream/reader.hpp"

namespace qvim::fits {

namespace {

constexpr uint64_t longest_side = 0x7FFFFFFF;
constexpr uint64_t longest_text = 1 << 20;  // of joined comments

// Adds a line to a text that may have some already.
bool join(array<char> &text, std::string_view line) {
  const uint64_t old = text.size() ? text.size() - 1 : 0, begin = old ? old + 1 : 0;
  if (begin + line.size() >= longest_text) return true;  // the rest is passed over
  if (!text.resize(begin + line.size() + 1)) return false;
  if (old) text[old] = '\n';
  std::copy(line.begin(), line.end(), &text[begin]);
  text[begin + line.size()] = 0;
  return true;
}

class parser {
 public:
  parser(bufio &file, header *h) : in_(file, std::endian::big), h_(*h) {}

  int32_t parse() {
    if (in_.left() < block_bytes) return because(QVERR_FORMAT, {"shorter than a FITS block"});
    int32_t code = mandatory();
    for (bool ended = false; code == 0 && !ended;) {
      if (!next()) return refuse("END is missing");
      const card_view c(text_);
      if (c.keyword() == "END" && !c.has_value())
        ended = true;
      else
        code = optional(c);
    }
    if (code < 0) return code;
    h_.end = block_end(in_.position());
    return in_.code();
  }

 private:
  bool next() {
    at_ = in_.position();
    in_.get_bytes(text_, card_bytes);
    return in_.code() == 0;
  }
  int32_t refuse(const char *why) {
    if (in_.code() == QVERR_IO) return QVERR_IO;
    return because(QVERR_FORMAT, {"header card ", at_ / card_bytes + 1, ": ", why});
  }
  bool starts(std::string_view keyword_field) {
    return next() && std::string_view(text_, 9) == keyword_field;
  }

  // The cards that every header begins with.
  int32_t mandatory() {
    if (!starts("SIMPLE  =") || card_view(text_).value() != "T") return refuse("SIMPLE = T is missing");
    double bitpix;
    if (!starts("BITPIX  =") || !card_view(text_).get_real(&bitpix) || bitpix != std::trunc(bitpix) ||
        std::fabs(bitpix) > 64)
      return refuse("BITPIX is missing");
    h_.bitpix = int32_t(bitpix);
    uint64_t axes;
    if (!starts("NAXIS   =") || !card_view(text_).get_unsigned(&axes)) return refuse("NAXIS is missing");
    h_.axes = unsigned(std::min<uint64_t>(axes, most_axes + 1));  // more are not told apart
    for (unsigned i = 0; i < std::min(h_.axes, most_axes); i++) {
      char expected[] = "NAXIS1  =";
      expected[5] = char('1' + i);
      uint64_t length;
      if (!starts(expected) || !card_view(text_).get_unsigned(&length) || length < 1)
        return refuse("an axis's length is missing, or none");
      h_.axis_of[i].length = length;
    }
    return 0;
  }

  int32_t optional(const card_view &c) {
    if (const unsigned number = c.annotated_axis()) return number <= h_.axes ? annotation(c, number) : 0;
    struct number {
      std::string_view keyword;
      double header::*value;
      bool header::*present;
    };
    static constexpr number numbers[] = {{"DATAMIN", &header::datamin, &header::has_datamin},
                                         {"DATAMAX", &header::datamax, &header::has_datamax},
                                         {"BZERO", &header::bzero, nullptr},
                                         {"BSCALE", &header::bscale, nullptr}};
    const std::string_view key = c.keyword();
    for (const number &n : numbers)
      if (key == n.keyword && c.has_value() && !c.value().empty()) {
        if (!c.get_real(&(h_.*n.value))) return refuse("a number is none");
        if (n.present) h_.*n.present = true;
        return 0;
      }
    for (unsigned i = 0; i < texts; i++)
      if (key == text_keywords[i]) return keep_text(c, i);
    return 0;
  }

  int32_t keep_text(const card_view &c, unsigned which) {
    char value[card_bytes + 1];
    const bool joins = which == comment || which == history;
    const int32_t length = joins ? c.get_comment(value) : c.get_string(value);
    if (length < 0 || (!joins && h_.text_of[which].size()))
      return 0;  // no string, or not the first of its name
    return join(h_.text_of[which], {value, size_t(length)}) ? 0 : int32_t{QVERR_MEMORY};
  }

  int32_t annotation(const card_view &c, unsigned number) {
    if (number > most_axes) return 0;
    axis &a = h_.axis_of[number - 1];
    char name[card_bytes + 1];
    if (c.annotation() == "UNT" && c.get_annotation_string(name) > 0) {
      a.unit = uint8_t(std::max(qvimstringtounit(name), 0));
      a.hint = std::max(qvimstringtohint(name), 0);
    } else if (c.annotation() == "DIM") {
      if (!c.get_dimension(&a.extent)) return refuse("an axis's dimension is none");
    } else if (c.annotation() == "OBS" && h_.observations == 0) {
      h_.observations = at_;
      h_.observed_axis = number;
    }
    return 0;
  }

  checked_reader in_;
  header &h_;
  char text_[card_bytes];
  uint64_t at_ = 0;  // of the card
};

// Whole numbers of `bits` bits, stored less BZERO.
int32_t describe_integers(const header &h, int bits, bool lenient, int *used, uint32_t *offset) {
  const double highest = std::ldexp(1.0, bits - 1);
  const bool scaled = h.bscale != 1 || h.bzero < 0 || h.bzero > highest || h.bzero != std::trunc(h.bzero);
  const bool ranged =
      (h.has_datamin && h.datamin != 0) || (h.has_datamax && h.datamax != std::trunc(h.datamax));
  if (!lenient && scaled)
    return because(QVERR_UNSUPPORTED, {"values are scaled by BSCALE or shifted by BZERO"});
  if (!lenient && ranged)
    return because(QVERR_UNSUPPORTED, {"DATAMIN and DATAMAX are no range of unsigned integers"});
  *offset = scaled ? 0 : uint32_t(h.bzero);
  *used = bits;
  if (h.has_datamax && !ranged)
    while (*used > 1 && h.datamax < std::ldexp(1.0, *used - 1)) --*used;
  return 0;
}

}  // namespace

int32_t read_header(bufio &file, header *h) {
  const small_blocks blocks(file);
  return parser(file, h).parse();
}

int32_t assign_roles(const header &h, bool lenient, roles *r) {
  if (h.axes > most_axes) return because(QVERR_UNSUPPORTED, {"more than ", most_axes, " axes"});
  if (h.axes < 2 && !(lenient && h.axes == 1))
    return because(QVERR_UNSUPPORTED, {h.axes, " axes are no image"});
  const auto names_hint = [&](unsigned i) { return h.axis_of[i].hint > 0; };
  *r = {0, -1, -1, interleaved | no_colour_axis};
  if (h.axes > 2) {
    if (names_hint(0))
      *r = {1, 0, h.axes == 4 ? 3 : -1, interleaved};
    else if (!names_hint(2))
      *r = {0, -1, 2, interleaved | no_colour_axis};
    else
      *r = {0, 2, h.axes == 4 ? 3 : -1, 0};
  }
  if (h.axes == 4 && r->frames == 2 && h.axis_of[3].length != 1)
    return because(QVERR_UNSUPPORTED, {"the fourth axis has no meaning"});
  const auto length = [&](int i) { return i < 0 ? 1 : h.axis_of[i].length; };
  const uint64_t height = r->x + 1 < int(h.axes) ? length(r->x + 1) : 1;
  if (length(r->x) > longest_side || height > longest_side)
    return because(QVERR_FORMAT, {"a side is longer than ", longest_side});
  if (length(r->colour) > 4) return because(QVERR_UNSUPPORTED, {"more than 4 components"});
  return 0;
}

int32_t describe_pixels(const header &h, const roles &r, bool lenient, qvimagedata *d, uint32_t *offset) {
  const int32_t pixies = r.colour < 0 ? 1 : int32_t(h.axis_of[r.colour].length);
  int32_t hint = r.colour < 0 ? QVIM_HINT_GREY : h.axis_of[r.colour].hint;
  if (hint == 0 && pixies == 1) hint = QVIM_HINT_GREY;
  int type, used = 0;
  *offset = 0;
  switch (h.bitpix) {
    case 8: type = QVIM_UINT8; break;
    case 16: type = QVIM_UINT16; break;
    case 32: type = QVIM_UINT32; break;
    case -32: type = QVIM_FLOAT32; break;
    default: return because(QVERR_FORMAT, {"pixels of BITPIX ", h.bitpix});
  }
  if (type != QVIM_FLOAT32) {
    if (const int32_t code = describe_integers(h, h.bitpix, lenient, &used, offset); code < 0) return code;
  } else if (!lenient && (h.bscale != 1 || h.bzero != 0)) {
    return because(QVERR_UNSUPPORTED, {"values are scaled by BSCALE or shifted by BZERO"});
  }
  qviminitdata(d, type, used, pixies, hint);
  if (type == QVIM_FLOAT32) {
    if (h.has_datamin) d->r_minvalue = float(h.datamin);
    if (h.has_datamax) d->r_maxvalue = float(h.datamax);
  }
  return 0;
}

qvimagehints describe_size(const header &h, const roles &r) {
  qvimagehints size{};
  const auto take = [&](int i, float *length, uint8_t *unit) {
    if (i < 0 || i >= int(h.axes) || h.axis_of[i].unit == 0) return;
    *length = float(h.axis_of[i].extent / double(h.axis_of[i].length));
    *unit = h.axis_of[i].unit;
  };
  take(r.x, &size.pixelwidth, &size.widthunits);
  take(r.x + 1, &size.pixelheight, &size.heightunits);
  take(r.frames, &size.pixeldepth, &size.depthunits);
  return size;
}

}  // namespace qvim::fits
