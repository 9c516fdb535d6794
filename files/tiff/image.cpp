// Images over TIFF files: one page as a 2-D image, all pages as a 3-D image.
#include <algorithm>
#include <cstring>

#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/dimension.hpp"
#include "core/functions.hpp"
#include "core/null.hpp"
#include "core/pixel.hpp"
#include "core/record.hpp"
#include "core/selectors.hpp"
#include "files/tiff/reader.hpp"

namespace qvim::tiff {

namespace {

constexpr uint32_t longest_list = 357913941;  // coordinate triples in 2^32 - 1 bytes

template <class Dim>
struct [[gnu::packed]] state {
  reader *handle;
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

template <class Dim>
constexpr const char *device = Dim::axes == 2 ? "TIFF" : "TIFF3";

// A run of pixels on its way to the caller. A page may be smaller than the image, and has zeros beyond its
// sides: positions that nobody checked are harmless, too.
template <class Dim>
class run {
 public:
  run(const record<Dim> *im, const point<Dim> &at, void *buffer)
      : s_(state_of<const state<Dim>>(im)),
        pixel_bytes_(uint32_t(im->f.pixelsize)),
        window_(box<Dim>::of(&im->wind)),
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
  reader &file() const { return *s_.handle; }
  page_rows &page() const { return s_.handle->rows; }
  uint32_t extent(int axis) const { return window_.extent(axis); }
  // The next pixel's position in the image.
  uint32_t position(int axis) const { return uint32_t(at_[axis]) + uint32_t(window_.nw[axis]); }

  int32_t select_plane(uint32_t ahead = 0) const {
    return file().select(Dim::axes == 3 ? position(Dim::axes - 1) + ahead : 0);
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
      const int32_t code = page().read_rows(position(1), rows, to_, &done);
      *count = done * extent(0);
      pass_lines(done);
      return code;
    }
    const uint32_t n = std::min(most, extent(axes_[0]) - uint32_t(at_[axes_[0]]));
    const int32_t code = s_.axis == scan::x ? row(n) : column(n);
    if (code < 0) return code;
    *count = n;
    pass_lines(1);
    return 0;
  }

  // How many lines from here on are whole rows of the page; 0 when they are to be moved one by one.
  uint32_t whole_rows(uint32_t most) const {
    const uint32_t width = page().width(), height = page().height();
    if (s_.axis != scan::x || s_.gather || extent(0) != width || position(0) != 0 || position(1) >= height)
      return 0;
    const uint32_t rows = std::min({most / width, height - position(1), extent(1) - uint32_t(at_[1])});
    return rows > 1 ? rows : 0;
  }

  // Of n pixels along x, how many lie on the page.
  uint32_t on_page(uint32_t x, uint32_t y, uint32_t n) const {
    return x < page().width() && y < page().height() ? std::min(n, page().width() - x) : 0;
  }

  int32_t row(uint32_t n) {
    const uint32_t x = position(0), y = position(1), inside = on_page(x, y, n);
    std::memset(to_ + uint64_t(inside) * s_.selected, 0, uint64_t(n - inside) * s_.selected);
    if (!s_.gather && inside) return page().read(y, x, inside, to_);
    for (uint32_t done = 0; done < inside;) {
      uint32_t count = inside - done;
      const uint8_t *pixels;
      if (const int32_t code = page().view(y, x + done, &count, &pixels); code < 0) return code;
      s_.gather(pixels + s_.first, to_ + uint64_t(done) * s_.selected, pixel_bytes_, s_.selected, count,
                s_.selected, 0);
      done += count;
    }
    return 0;
  }

  // Pixels along y or z, one at a time.
  int32_t column(uint32_t n) {
    const bool down = s_.axis == scan::y;
    for (uint32_t i = 0; i < n; i++) {
      if (!down || i == 0)
        if (const int32_t code = select_plane(down ? 0 : i); code < 0) return code;
      const uint32_t x = position(0), y = position(1) + (down ? i : 0);
      uint8_t *const to = to_ + uint64_t(i) * s_.selected;
      uint32_t count = on_page(x, y, 1);
      const uint8_t *pixel;
      if (count == 0) {
        std::memset(to, 0, s_.selected);
        continue;
      }
      if (const int32_t code = page().view(y, x, &count, &pixel); code < 0) return code;
      std::memcpy(to, pixel + s_.first, s_.selected);
    }
    return 0;
  }

  const state<Dim> s_;
  const uint32_t pixel_bytes_;
  const box<Dim> window_;
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
  locked hold(*s.handle);
  int32_t code;
  const uint32_t moved = run<Dim>(im, at, buffer).move(n, &code);
  if (code < 0) s.handle->latch(code);
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
  if (im->d.pixietype != int32_t(datatype & 0xFF)) return QVERR_DATATYPE;
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
  im->ioread = slots<Dim>::template read<read<Dim>>;
  im->iolen = slots<Dim>::template length<length<Dim>>;
  return 1;
}

template <class Dim>
uint32_t bxta(record<Dim> *im, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op) {
  return functions<Dim>::bxta(&state_of<state<Dim>>(im).blocks, im, mode, buffer, list, count, op);
}
template <class Dim>
uint32_t bxtp(record<Dim> *im, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op) {
  return functions<Dim>::bxtp(&state_of<state<Dim>>(im).blocks, im, mode, buffer, list, count, op);
}
template <class Dim>
int32_t bxtw(record<Dim> *im, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op) {
  return functions<Dim>::bxtw(&state_of<state<Dim>>(im).blocks, im, mode, buffer, list, count, op);
}

template <class Dim>
int32_t bxts(record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
  clear_blocks<Dim>(im);
  const int32_t code = functions<Dim>::bxts(&state_of<state<Dim>>(im).blocks, im, mode, datatype, colourmask);
  if (code < 0) return code;
  im->bxta = bxta<Dim>;
  im->bxtp = bxtp<Dim>;
  im->bxtw = bxtw<Dim>;
  return code;
}

template <class Dim>
uint32_t aeiou(record<Dim> *im, uint32_t code, int32_t clear, int32_t, void *) {
  switch (code) {
    case 'I': return 0xFFFFFFFFu / uint32_t(std::max(im->f.pixelsize, 1));
    case 'B': return longest_list;
    case 'i':
    case 'm':
    case 'b': return 1;  // the only image of its chain
    case 'e': {
      reader &r = *state_of<state<Dim>>(im).handle;
      locked hold(r);
      const int32_t latched = r.latched;
      if (clear) r.latched = 0;
      return uint32_t(latched);
    }
    default: return 0;
  }
}

template <class Dim>
void *xwind(record<Dim> *im, typename Dim::window *window, int32_t letter) {
  if (functions<Dim>::xwind(im, &window, letter) == 1) {
    clear_transfers<Dim>(im);
    im->ioset = ioset<Dim>;
    im->bxts = bxts<Dim>;
    im->imapset = nops<Dim>::imapset;  // decoded pixels stand nowhere
  }
  return window;
}

template <class Dim>
void make(record<Dim> *im, reader &r) {
  std::memset(static_cast<void *>(im), 0, sizeof *im);
  set_device_name(im, device<Dim>);
  im->imdim.se.x = int32_t(r.page.width());
  im->imdim.se.y = int32_t(r.page.height());
  if constexpr (Dim::axes == 3) im->imdim.se.z = int32_t(r.page_count);
  im->d = r.data;
  qviminitfacts(&im->f, &im->d);
  im->h = describe_size(r.page);
  state_of<state<Dim>>(im).handle = &r;
  im->aeiou = aeiou<Dim>;
  im->xwind = xwind<Dim>;
  im->xwind(im, nullptr, 's');
}

}  // namespace

void present(qvimage *im, reader &r) { make<two_d>(im, r); }
void present(qvimage3 *im, reader &r) { make<three_d>(im, r); }

}  // namespace qvim::tiff
