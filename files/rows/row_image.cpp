// Read-only images over files: runs, queries and construction.
#include "files/rows/row_image.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/kind.hpp"
#include "core/pixel.hpp"
#include "core/reason.hpp"
#include "core/selectors.hpp"

namespace qvim {

namespace {

template <class Dim>
struct [[gnu::packed]] state {
  row_source *source;
  // Written by ioset.
  typename Dim::length_fn *length;
  scan axis;
  uint32_t first, selected;  // bytes of a pixel: before the selected pixies, and theirs
  npfbix_fn *gather;         // takes them out of a run of pixels; null when all pixies are selected
  // In place on what was delivered; null when there is nothing to change.
  npfbix_fn *convert;  // to the caller's justification
  npfbix_fn *swap;     // to the caller's byte order
  uint32_t convert_param;
  qvimbxtstate blocks;  // written by bxts
};

// A run of pixels on its way to the caller. A plane may be smaller than the image, and has zeros beyond
// its sides: positions that nobody checked are harmless, too.
template <class Dim>
class delivery {
 public:
  delivery(const record<Dim> *im, const point<Dim> &at, void *buffer)
      : s_(state_of<const state<Dim>>(im)),
        pixel_bytes_(uint32_t(im->f.pixelsize)),
        window_(box<Dim>::of(&im->wind)),
        image_(box<Dim>::of(&im->imdim)),
        axes_(axes_of<Dim>(s_.axis)),
        at_(at),
        to_(static_cast<uint8_t *>(buffer)) {}

  // Moves n pixels, line by line; returns how many came before a failure.
  uint32_t move(uint32_t n, int32_t *code) {
    uint32_t moved = 0;
    *code = 0;
    while (moved < n && *code == 0) {
      uint32_t count = 0;
      *code = next(n - moved, &count);
      if (count == 0) break;
      moved += count;
      to_ += uint64_t(count) * s_.selected;
    }
    return moved;
  }

 private:
  row_source &source() const { return *s_.source; }
  uint32_t extent(int axis) const { return window_.extent(axis); }
  // The next pixel's position in the image.
  uint32_t position(int axis) const { return uint32_t(at_[axis]) + uint32_t(window_.nw[axis]); }

  int32_t select_plane(uint32_t ahead = 0) const {
    return source().select(Dim::axes == 3 ? position(Dim::axes - 1) + ahead : 0);
  }

  // To the beginning of a line further on.
  void pass_lines(uint32_t lines) {
    const int across = axes_[1];
    at_[axes_[0]] = 0;
    at_[across] = int32_t(uint32_t(at_[across]) + lines);
    if constexpr (Dim::axes == 3) {
      if (uint32_t(at_[across]) < extent(across)) return;
      at_[across] = 0;
      at_[axes_[2]] = int32_t(uint32_t(at_[axes_[2]]) + 1);
    }
  }

  // The rest of a line, or many lines that are whole rows.
  int32_t next(uint32_t most, uint32_t *count) {
    if (s_.axis == scan::x)
      if (const int32_t code = select_plane(); code < 0) return code;
    if (const uint32_t rows = whole_rows(most)) {
      uint32_t done = 0;
      const int32_t code = source().read_rows(position(1), rows, to_, &done);
      *count = done * extent(0);
      pass_lines(done);
      return code;
    }
    const uint32_t n = std::min(most, extent(axes_[0]) - uint32_t(at_[axes_[0]]));
    if (s_.axis != scan::x) {
      const int32_t code = column(n, count);
      pass_lines(1);
      return code;
    }
    if (const int32_t code = row(n); code < 0) return code;
    *count = n;
    pass_lines(1);
    return 0;
  }

  // How many lines from here on are whole rows of the plane; 0 when they are to be moved one by one.
  uint32_t whole_rows(uint32_t most) const {
    const uint32_t width = source().width(), height = source().height();
    if (s_.axis != scan::x || s_.gather || extent(0) != width || position(0) != 0 || position(1) >= height)
      return 0;
    const uint32_t rows = std::min({most / width, height - position(1), extent(1) - uint32_t(at_[1])});
    return rows > 1 ? rows : 0;
  }

  // Of n pixels along x, how many lie in the plane.
  uint32_t in_plane(uint32_t x, uint32_t y, uint32_t n) const {
    return x < source().width() && y < source().height() ? std::min(n, source().width() - x) : 0;
  }

  int32_t row(uint32_t n) {
    const uint32_t x = position(0), y = position(1), inside = in_plane(x, y, n);
    std::memset(to_ + uint64_t(inside) * s_.selected, 0, uint64_t(n - inside) * s_.selected);
    if (!s_.gather && inside) return source().read(y, x, inside, to_);
    for (uint32_t done = 0; done < inside;) {
      uint32_t count = inside - done;
      const uint8_t *pixels;
      if (const int32_t code = source().view(y, x + done, &count, &pixels); code < 0) return code;
      s_.gather(pixels + s_.first, to_ + uint64_t(done) * s_.selected, pixel_bytes_, s_.selected, count,
                s_.selected, 0);
      done += count;
    }
    return 0;
  }

  // Pixels along y or z. *done says how many came before a failure.
  int32_t column(uint32_t n, uint32_t *done) {
    const bool down = s_.axis == scan::y;
    if (down)
      if (const int32_t code = select_plane(); code < 0) return code;
    const bool kept = turns_to_columns(down, n);
    for (; *done < n; ++*done) {
      const uint8_t *pixel = nullptr;  // beyond the plane
      if (const int32_t code = kept ? kept_pixel(down, *done, &pixel) : lone_pixel(down, *done, &pixel);
          code < 0)
        return code;
      uint8_t *const to = to_ + uint64_t(*done) * s_.selected;
      if (pixel)
        std::memcpy(to, pixel + s_.first, s_.selected);
      else
        std::memset(to, 0, s_.selected);
    }
    return 0;
  }

  // Are the pixels of this run and of those beside it to be kept? Not for a few that can be had by
  // themselves.
  bool turns_to_columns(bool down, uint32_t n) {
    constexpr uint32_t few = 16;
    if (n < few && (down ? source().finds_pixels() : n == 1)) return false;
    const int along = down ? 1 : Dim::axes - 1;
    const uint32_t fixed = !down ? position(1) : Dim::axes == 3 ? position(Dim::axes - 1) : 0;
    const uint32_t from = position(along), lines = image_.extent(along);
    if (from >= lines || n > lines - from) return false;
    return source().kept_columns().turn_to({down, fixed, lines, image_.extent(0), pixel_bytes_}, position(0));
  }

  int32_t kept_pixel(bool down, uint32_t ahead, const uint8_t **pixel) {
    columns &kept = source().kept_columns();
    const uint32_t line = position(down ? 1 : Dim::axes - 1) + ahead, first = kept.first();
    if (!kept.holds(line)) {
      if (!down)
        if (const int32_t code = select_plane(ahead); code < 0) return code;
      const uint32_t y = down ? line : position(1), inside = in_plane(first, y, kept.width());
      uint8_t *const piece = kept.piece(line);
      if (inside)
        if (const int32_t code = source().read(y, first, inside, piece); code < 0) return code;
      std::memset(piece + uint64_t(inside) * pixel_bytes_, 0, uint64_t(kept.width() - inside) * pixel_bytes_);
      kept.hold(line);
    }
    *pixel = kept.piece(line) + uint64_t(position(0) - first) * pixel_bytes_;
    return 0;
  }

  int32_t lone_pixel(bool down, uint32_t ahead, const uint8_t **pixel) {
    if (!down)
      if (const int32_t code = select_plane(ahead); code < 0) return code;
    const uint32_t x = position(0), y = position(1) + (down ? ahead : 0);
    uint32_t count = in_plane(x, y, 1);
    return count ? source().view(y, x, &count, pixel) : 0;
  }

  const state<Dim> s_;
  const uint32_t pixel_bytes_;
  const box<Dim> window_, image_;
  const std::array<int, Dim::axes> axes_;  // the scanned one first
  point<Dim> at_;                          // of the next line, in the window
  uint8_t *to_;
};

template <class Dim>
uint32_t read(record<Dim> *im, uint32_t, void *buffer, uint32_t count, const point<Dim> &at) {
  const state<Dim> s = state_of<state<Dim>>(im);
  const uint32_t n = uint32_t(std::min(call_length_fn(s.length, &im->wind, at), uint64_t(count)));
  if (n == 0 || !buffer) return 0;
  const int64_t step = im->f.pixiesize;
  const transfer_call transfer;
  locked hold(*s.source);
  int32_t code;
  const uint32_t moved = delivery<Dim>(im, at, buffer).move(n, &code);
  if (code < 0) s.source->latch(code);
  const uint64_t pixies = uint64_t(moved) * (s.selected / uint32_t(step));
  if (s.convert) s.convert(buffer, buffer, step, step, pixies, s.convert_param, s.convert_param);
  if (s.swap) s.swap(buffer, buffer, step, step, pixies, 0, 0);
  return moved;
}

template <class Dim>
uint32_t length(record<Dim> *im, uint32_t count, const point<Dim> &at) {
  const auto fn = state_of<state<Dim>>(im).length;
  return uint32_t(std::min(call_length_fn(fn, &im->wind, at), uint64_t(count)));
}

template <class Dim>
int32_t ioset(record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
  clear_runs<Dim>(im);
  if (im->d.pixietype != int32_t(type_word(datatype).type())) return QVERR_DATATYPE;
  int32_t first;
  const int32_t pixies = qvimcolormap(im->d.pixies, colourmask, &first);
  if (pixies == 0) return QVERR_COLOUR;
  scan axis;
  if (!scan_of_mode<Dim>(mode, &axis)) return QVERR_UNSUPPORTED;

  const adaptation change = adapt_pixies(im->d, false, datatype);
  auto &s = state_of<state<Dim>>(im);
  s.length = access_length(im, mode);
  s.axis = axis;
  s.first = uint32_t(first * im->f.pixiesize);
  s.selected = uint32_t(pixies * im->f.pixiesize);
  s.gather = pixies == im->d.pixies ? nullptr : qvimdatapackf16(s.selected);
  s.convert = change.change == adapt::none ? nullptr : adapting_kernel(im->f.pixiesize, change.change);
  s.convert_param = change.param;
  s.swap = is_reversed(im->d, datatype) ? swapping_kernel(im->f.pixiesize) : nullptr;
  if (axis != scan::x) {
    locked hold(*s.source);
    s.source->kept_columns().reserve(
        uint32_t(im->imdim.se.x),
        uint32_t(box<Dim>::of(&im->imdim).extent(axis == scan::y ? 1 : Dim::axes - 1)),
        uint32_t(im->f.pixelsize));
  }
  set_buffer_pixel(im, s.selected);
  im->ioread = slots<Dim>::template read<read<Dim>>;
  im->iolen = slots<Dim>::template length<length<Dim>>;
  return 1;
}

template <class Dim>
uint32_t aeiou(record<Dim> *im, uint32_t code, int32_t clear, int32_t, void *) {
  if (code != 'e') return kind_answer<Dim>(im, code, 1);
  row_source &source = *state_of<state<Dim>>(im).source;
  locked hold(source);
  return uint32_t(source.latched(clear != 0));
}

template <class Dim>
struct kind : kind_blocks<Dim, state<Dim>> {
  static constexpr auto ioset = qvim::ioset<Dim>;
  static constexpr auto imapset = nops<Dim>::imapset;  // decoded pixels stand nowhere
};

template <class Dim>
void make(record<Dim> *im, const row_image &form, row_source &source) {
  std::memset(static_cast<void *>(im), 0, sizeof *im);
  set_device_name(im, form.device);
  im->imdim.se.x = int32_t(form.width);
  im->imdim.se.y = int32_t(form.height);
  if constexpr (Dim::axes == 3) im->imdim.se.z = int32_t(form.planes);
  im->d = form.data;
  qviminitfacts(&im->f, &im->d);
  im->h = form.hints;
  state_of<state<Dim>>(im).source = &source;
  im->aeiou = aeiou<Dim>;
  im->xwind = kind_xwind<Dim, kind<Dim>>;
  im->xwind(im, nullptr, 's');
}

}  // namespace

void present(qvimage *im, const row_image &form, row_source &source) { make<two_d>(im, form, source); }
void present(qvimage3 *im, const row_image &form, row_source &source) { make<three_d>(im, form, source); }

}  // namespace qvim
