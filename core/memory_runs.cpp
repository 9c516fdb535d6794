// Memory images: runs of pixels.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/memory.hpp"
#include "core/pixel.hpp"
#include "core/selectors.hpp"

namespace qvim::memory {
namespace {

// A transfer's direction. The caller's buffer is only read when pixels go to the image.
enum class towards { buffer, image };
template <towards Direction>
using caller = std::conditional_t<Direction == towards::buffer, void, const void>;
template <towards Direction>
using caller_byte = std::conditional_t<Direction == towards::buffer, uint8_t, const uint8_t>;

// The start of the window's next line in scan order.
template <class Dim>
void next_line(const box<Dim> &window, point<Dim> &at, scan s) {
  const auto order = axes_of<Dim>(s);
  at[order[0]] = 0;
  for (int i = 1; i < Dim::axes; i++) {
    if (uint32_t(++at[order[i]]) < window.extent(order[i]) || i == Dim::axes - 1) return;
    at[order[i]] = 0;
  }
}

template <class Dim>
uint32_t iolen(record<Dim> *im, uint32_t count, const point<Dim> &at) {
  const auto length = state_of<state<Dim>>(im).run.length;
  return uint32_t(std::min<uint64_t>(count, call_length_fn(length, &im->wind, at)));
}

// Cuts a run into segments, each within a line of the window; returns the pixels of the run.
template <class Dim, class Move>
uint32_t run(record<Dim> *im, uint32_t count, point<Dim> at, Move move) {
  const uint32_t pixels = iolen<Dim>(im, count, at);
  const auto window = box<Dim>::of(&im->wind);
  const int axis = state_of<state<Dim>>(im).run.axis;
  for (uint32_t left = pixels; left;) {
    const uint32_t segment = std::min(left, window.extent(axis) - uint32_t(at[axis]));
    move(address_of<Dim>(im, at), segment);
    left -= segment;
    if (left) next_line<Dim>(window, at, scan(axis));
  }
  return pixels;
}

// Whole pixels along x, as they are stored.
template <class Dim, towards Direction>
uint32_t copy(record<Dim> *im, uint32_t, caller<Direction> *buffer, uint32_t count, const point<Dim> &at) {
  const uint64_t pixel = uint32_t(im->f.pixelsize);
  auto *bytes = static_cast<caller_byte<Direction> *>(buffer);
  return run<Dim>(im, count, at, [&](uint8_t *pixels, uint32_t segment) {
    if constexpr (Direction == towards::buffer)
      std::memcpy(bytes, pixels, segment * pixel);
    else
      std::memcpy(pixels, bytes, segment * pixel);
    bytes += segment * pixel;
  });
}

// Steps after the first work in place where the first one wrote.
void take_steps(const plan &p, const uint8_t *from, uint8_t *to, int64_t from_stride, int64_t to_stride,
                uint64_t elements) {
  for (int i = 0; i < p.steps; i++) {
    const kernel_step now = p.step[i];
    now.kernel(i ? to : from, to, i ? to_stride : from_stride, to_stride, elements, now.param, now.param);
  }
}

// Anything else.
template <class Dim, towards Direction>
uint32_t convert(record<Dim> *im, uint32_t, caller<Direction> *buffer, uint32_t count, const point<Dim> &at) {
  const run_setup<Dim> &s = state_of<state<Dim>>(im).run;
  const plan &p = Direction == towards::buffer ? s.read : s.write;
  const uint32_t pixie = uint32_t(im->f.pixiesize);
  auto *bytes = static_cast<caller_byte<Direction> *>(buffer);
  return run<Dim>(im, count, at, [&](uint8_t *pixels, uint32_t segment) {
    const uint64_t elements = uint64_t(segment) * p.elements;
    uint8_t *image = pixels + s.first;
    auto *packed = bytes;
    for (int lane = 0; lane < p.lanes; lane++, image += pixie, packed += pixie)
      if constexpr (Direction == towards::buffer)
        take_steps(p, image, packed, p.image_stride, p.buffer_stride, elements);
      else
        take_steps(p, packed, image, p.buffer_stride, p.image_stride, elements);
    bytes += uint64_t(segment) * s.selected;
  });
}

// The kernels for one direction. Pixies are numbers: their bits move while they are in the host's byte order.
plan plan_of(const qvimagedata &d, int32_t pixiesize, bool writing, uint32_t datatype) {
  const adaptation bits = adapt_pixies(d, writing, datatype);
  const bool from_reversed = writing ? is_reversed(d, datatype) : is_reversed(d);
  const bool to_reversed = writing ? is_reversed(d) : is_reversed(d, datatype);
  const kernel_step swap{swapping_kernel(pixiesize), 0};
  plan p{};
  if (bits.change == adapt::none) {
    if (from_reversed != to_reversed) p.step[p.steps++] = swap;
    return p;
  }
  if (from_reversed) p.step[p.steps++] = swap;
  p.step[p.steps++] = {adapting_kernel(pixiesize, bits.change), bits.param};
  if (to_reversed) p.step[p.steps++] = swap;
  return p;
}

// How the kernels of a plan step over image and buffer.
template <class Dim>
void lay_out(plan &p, const record<Dim> *im, const run_setup<Dim> &s) {
  const auto pixie = uint32_t(im->f.pixiesize), pixel = uint32_t(im->f.pixelsize);
  const bool whole_along_x = s.selected == pixel && s.axis == int(scan::x);
  p.lanes = p.elements = 1;
  p.image_stride = state_of<const state<Dim>>(im).stride[s.axis];
  p.buffer_stride = s.selected;
  if (p.steps == 0) {
    // A pixel's selected pixies are one item to be packed.
    if (!whole_along_x) p.step[p.steps++] = {qvimdatapackf16(s.selected), s.selected};
  } else if (whole_along_x) {
    p.elements = uint8_t(pixel / pixie);
    p.image_stride = p.buffer_stride = pixie;
  } else {
    p.lanes = uint8_t(s.selected / pixie);
  }
}

// 8-byte pixies pass as they are, but for their byte order: no kernel moves their bits.
bool serves(const qvimagedata &d, uint32_t datatype) {
  return d.pixietype != QVIM_UINT64 || (adapt_pixies(d, false, datatype).change == adapt::none &&
                                        adapt_pixies(d, true, datatype).change == adapt::none);
}

}  // namespace

template <class Dim>
int32_t ioset(record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
  clear_runs<Dim>(im);
  const qvimagedata d = im->d;
  if (uint32_t(d.pixietype) != (datatype & 0xFF)) return QVERR_DATATYPE;
  int32_t first;
  const int32_t pixies = qvimcolormap(d.pixies, colourmask, &first);
  if (pixies == 0) return QVERR_COLOUR;
  if (!serves(d, datatype)) return QVERR_DATATYPE;
  scan along;
  if (!scan_of_mode<Dim>(mode, &along)) return QVERR_UNSUPPORTED;

  const int32_t pixie = im->f.pixiesize;
  run_setup<Dim> s{};
  s.length = access_length(im, mode);
  s.axis = uint8_t(along);
  s.first = uint32_t(first * pixie);
  s.selected = uint32_t(pixies * pixie);
  s.read = plan_of(d, pixie, false, datatype);
  s.write = plan_of(d, pixie, true, datatype);
  lay_out<Dim>(s.read, im, s);
  lay_out<Dim>(s.write, im, s);
  state_of<state<Dim>>(im).run = s;

  using slot = slots<Dim>;
  im->ioread = s.read.steps ? slot::template read<convert<Dim, towards::buffer>>
                            : slot::template read<copy<Dim, towards::buffer>>;
  im->iorite = s.write.steps ? slot::template write<convert<Dim, towards::image>>
                             : slot::template write<copy<Dim, towards::image>>;
  im->iolen = slot::template length<iolen<Dim>>;
  return 1;
}

template <class Dim>
uint8_t *plain_run(record<Dim> *im, bool writing, const point<Dim> &at, uint32_t *count) {
  using slot = slots<Dim>;
  const bool plain = writing ? im->iorite == slot::template write<copy<Dim, towards::image>>
                             : im->ioread == slot::template read<copy<Dim, towards::buffer>>;
  if (!plain) return nullptr;
  const uint32_t n = iolen<Dim>(im, *count, at);
  if (n == 0) return nullptr;
  *count = std::min(n, box<Dim>::of(&im->wind).extent(0) - uint32_t(at[0]));
  return address_of<Dim>(im, at);
}

template <class Dim>
uint8_t *plain_pixels(record<Dim> *im, bool writing, const point<Dim> &at, const point<Dim> &opposite,
                      int64_t *strides) {
  using slot = slots<Dim>;
  const auto window = box<Dim>::of(&im->wind);
  if (!window.holds(at) || !window.holds(opposite)) return nullptr;
  const bool along_x = writing ? im->iorite == slot::template write<copy<Dim, towards::image>>
                               : im->ioread == slot::template read<copy<Dim, towards::buffer>>;
  const bool converts = writing ? im->iorite == slot::template write<convert<Dim, towards::image>>
                                : im->ioread == slot::template read<convert<Dim, towards::buffer>>;
  if (!along_x && !converts) return nullptr;
  const auto &st = state_of<state<Dim>>(im);
  const uint32_t pixel = uint32_t(im->f.pixelsize);
  const plan p = writing ? st.run.write : st.run.read;
  const bool packs = p.steps == 1 && st.run.selected == pixel && p.step[0].kernel == qvimdatapackf16(pixel);
  if (!along_x && !packs) return nullptr;
  for (int axis = 0; axis < Dim::axes; axis++) strides[axis] = st.stride[axis];
  return address_of<Dim>(im, at);
}

template uint8_t *plain_run<two_d>(qvimage *, bool, const two_d::point &, uint32_t *);
template uint8_t *plain_run<three_d>(qvimage3 *, bool, const three_d::point &, uint32_t *);
template uint8_t *plain_pixels<two_d>(qvimage *, bool, const two_d::point &, const two_d::point &, int64_t *);
template uint8_t *plain_pixels<three_d>(qvimage3 *, bool, const three_d::point &, const three_d::point &,
                                        int64_t *);
template int32_t ioset<two_d>(qvimage *, uint32_t, uint32_t, uint32_t);
template int32_t ioset<three_d>(qvimage3 *, uint32_t, uint32_t, uint32_t);

}  // namespace qvim::memory
