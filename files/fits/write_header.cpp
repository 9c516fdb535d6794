// Writing the header of a FITS file.
#include "files/fits/write_header.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

#include "core/pixel.hpp"
#include "files/fits/card.hpp"
#include "files/stream/bufio.hpp"

namespace qvim::fits {

namespace {

enum class role : uint8_t { x, y, colour, frames };

struct written_axis {
  role is;
  uint64_t length;
};

class header_writer {
 public:
  header_writer(bufio &file, const content &c, later_cards *later) : file_(file), c_(c), later_(*later) {
    lay_out_axes();
  }

  void write(const qvimagefileinfo *options) {
    value({"SIMPLE"}, "T");
    const int32_t bitpix = bitpix_of(c_.data.pixietype);
    char digits[8];
    std::snprintf(digits, sizeof digits, "%d", int(bitpix));
    value({"BITPIX"}, digits);
    value({"NAXIS"}, number_text(count_));
    for (unsigned i = 0; i < count_; i++) axis_length(i + 1, axes_[i]);
    range();
    if (c_.offset()) value({"BZERO"}, number_text(c_.offset()));
    texts(options);
    if (!(c_.flags & no_annotations)) annotations();
    card end;
    end.set_end();
    put(end);
    // Headers are filled up with blanks.
    card blanks;
    while (file_.pos % block_bytes) put(blanks);
  }

  void correct(uint64_t frames) {
    axes_[count_ - 1].length = frames;
    file_.pos = later_.length;
    axis_length(count_, axes_[count_ - 1]);
    if (later_.dimension == 0) return;
    file_.pos = later_.dimension;
    dimension(count_, axes_[count_ - 1]);
  }

 private:
  void lay_out_axes() {
    const auto add = [&](role is, uint64_t length) { axes_[count_++] = {is, length}; };
    const auto pixies = uint64_t(c_.data.pixies);
    const bool colour = pixies > 1 || !(c_.flags & no_colour_axis);
    if (colour && !c_.is_planar()) add(role::colour, pixies);
    add(role::x, c_.width);
    add(role::y, c_.height);
    if (colour && c_.is_planar()) add(role::colour, pixies);
    if (c_.is_sequence()) add(role::frames, uint64_t(c_.frames));
  }

  void put(const card &c) { write_bytes(file_, c.text().data(), card_bytes); }

  bool value(keyword k, std::string_view text) {
    card c;
    if (!c.set_value(k, text)) return false;
    put(c);
    return true;
  }
  void string(keyword k, const char *text) {
    card c;
    if (text && c.set_string(k, text)) put(c);
  }
  void comments(keyword k, const char *text) {
    if (!text) return;
    for (std::string_view left = text;;) {
      std::string_view line = left.substr(0, left.find('\n'));
      left.remove_prefix(line.size());
      do {
        card c;
        c.set_comment(k, line);
        put(c);
      } while (!line.empty());
      if (left.empty()) return;
      left.remove_prefix(1);
    }
  }
  void annotation(keyword k, const char *text) {
    card c;
    if (text && c.set_annotation(k, text)) put(c);
  }

  void axis_length(unsigned number, const written_axis &a) {
    if (a.is == role::frames) later_.length = file_.pos;
    value({"NAXIS?", number}, number_text(a.length));
  }

  void range() {
    const qvimagedata &d = c_.data;
    if (is_integer(d.pixietype)) {
      value({"DATAMIN"}, "0");
      value({"DATAMAX"}, number_text(d.i_bitsused >= 64 ? ~uint64_t{0} : (uint64_t{1} << d.i_bitsused) - 1));
    } else {
      value({"DATAMIN"}, number_text(double(d.r_minvalue), decimals));
      value({"DATAMAX"}, number_text(double(d.r_maxvalue), decimals));
    }
  }

  void texts(const qvimagefileinfo *options) {
    char now[32];
    const time_t seconds = std::time(nullptr);
    tm utc{};
    gmtime_r(&seconds, &utc);
    std::strftime(now, sizeof now, "%Y-%m-%dT%H:%M:%S", &utc);
    const qvimagefileinfo none{};
    const qvimagefileinfo &o = options ? *options : none;
    string({text_keywords[date]}, o.fts_date ? o.fts_date : now);
    for (text t : {date_obs, observer, object, origin}) string({text_keywords[t]}, o.*text_members[t]);
    for (text t : {comment, history}) comments({text_keywords[t]}, o.*text_members[t]);
  }

  void annotations() {
    for (unsigned i = 0; i < count_; i++) {
      annotation({"AXIS?UNT", i + 1}, name_of(axes_[i].is));
      if (axes_[i].is == role::frames) later_.dimension = file_.pos;
      if (!dimension(i + 1, axes_[i]) && axes_[i].is == role::frames) later_.dimension = 0;
    }
    if (!c_.is_sequence()) return;
    later_.axis = count_;
    later_.observations = file_.pos;
    card empty;
    empty.set_annotation({"AXIS?OBS", count_}, "");
    for (int64_t i = 0; i < c_.frames && bufio_err(&file_) == 0; i++) put(empty);
  }

  const char *name_of(role is) const {
    switch (is) {
      case role::x: return qvimunittostring(c_.size.widthunits);
      case role::y: return qvimunittostring(c_.size.heightunits);
      case role::frames: return qvimunittostring(c_.size.depthunits);
      default: return qvimhinttostring(c_.data.pixelhint);
    }
  }

  // The physical size of an axis that has a unit.
  bool dimension(unsigned number, const written_axis &a) {
    const qvimagehints &h = c_.size;
    const int unit = a.is == role::x        ? h.widthunits
                     : a.is == role::y      ? h.heightunits
                     : a.is == role::frames ? h.depthunits
                                            : 0;
    const float pixel = a.is == role::x ? h.pixelwidth : a.is == role::y ? h.pixelheight : h.pixeldepth;
    card c;
    if (unit == 0 ||
        !c.set_dimension({"AXIS?DIM", number}, number_text(double(a.length) * double(pixel), decimals)))
      return false;
    put(c);
    return true;
  }

  static constexpr int decimals = 6;

  bufio &file_;
  const content &c_;
  later_cards &later_;
  written_axis axes_[most_axes]{};
  unsigned count_ = 0;
};

}  // namespace

uint32_t content::offset() const {
  const bool whole = (data.pixietype == QVIM_UINT16 && data.i_bitsused == 16) ||
                     (data.pixietype == QVIM_UINT32 && data.i_bitsused == 32);
  return whole ? uint32_t{1} << (data.i_bitsused - 1) : 0;
}

int32_t bitpix_of(int32_t pixietype) {
  if (pixietype == QVIM_UINT64) return 0;
  const int32_t bits = 8 * size_of_type(pixietype);
  return is_real(pixietype) ? -bits : bits;
}

void write_header(bufio &file, const content &c, const qvimagefileinfo *options, later_cards *later) {
  *later = {};
  file.pos = 0;
  header_writer(file, c, later).write(options);
}

void correct_header(bufio &file, const content &c, const later_cards &later, uint64_t frames) {
  later_cards positions = later;
  header_writer(file, c, &positions).correct(frames);
}

bool format_observation(const char *text, unsigned axis, char (&to)[annotation_bytes]) {
  card c;
  if (!c.set_annotation({"AXIS?OBS", axis ? axis : 1}, text)) return false;
  c.text().substr(annotation_place).copy(to, annotation_bytes);
  return true;
}

}  // namespace qvim::fits
