// Memory images: runs of pixels.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/memory.hpp"
#include "core/pixel.hpp"
#include "kernels/copy_bytes.hpp"

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

// Pixels of the window beyond a position's line that lie as if they belonged to it: those of all lines up to
// the next plane, where no gap is between lines. Puts the position into the last of these lines.
template <class Dim>
uint64_t joined_lines(record<Dim> *im, const box<Dim> &window, point<Dim> &at, scan s) {
  const auto order = axes_of<Dim>(s);
  const uint64_t line = window.extent(order[0]);
  const uint64_t pixel = state_of<state<Dim>>(im).stride[order[0]],
                 pitch = state_of<state<Dim>>(im).stride[order[1]];
  if (pitch != line * pixel) return 0;
  const uint32_t lines = window.extent(order[1]) - uint32_t(at[order[1]]) - 1;
  at[order[1]] += int32_t(lines);
  return line * lines;
}

// Cuts a run into segments of pixels that lie one after another; returns the pixels of the run.
template <class Dim, class Move>
uint32_t run(record<Dim> *im, uint32_t count, point<Dim> at, Move move) {
  const uint32_t pixels = iolen<Dim>(im, count, at);
  const auto window = box<Dim>::of(&im->wind);
  const auto axis = scan(state_of<state<Dim>>(im).run.axis);
  const auto rest_of_line = [&] { return window.extent(int(axis)) - uint32_t(at[int(axis)]); };
  if (pixels <= rest_of_line()) {  // as most do
    if (pixels) move(address_of<Dim>(im, at), pixels);
    return pixels;
  }
  for (uint32_t left = pixels; left;) {
    uint8_t *const first = address_of<Dim>(im, at);
    uint64_t segment = rest_of_line();
    if (left > segment) segment += joined_lines<Dim>(im, window, at, axis);
    segment = std::min<uint64_t>(left, segment);
    move(first, uint32_t(segment));
    left -= uint32_t(segment);
    if (left) next_line<Dim>(window, at, axis);
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
      copy_bytes(bytes, pixels, segment * pixel);
    else
      copy_bytes(pixels, bytes, segment * pixel);
    bytes += segment * pixel;
  });
}

// Anything else.
template <class Dim, towards Direction>
uint32_t convert(record<Dim> *im, uint32_t, caller<Direction> *buffer, uint32_t count, const point<Dim> &at) {
  const run_form &form = state_of<state<Dim>>(im).run.form;
  auto *bytes = static_cast<caller_byte<Direction> *>(buffer);
  return run<Dim>(im, count, at, [&](uint8_t *pixels, uint32_t segment) {
    if constexpr (Direction == towards::buffer)
      take_pixels(form, pixels, bytes, segment);
    else
      put_pixels(form, pixels, bytes, segment);
    bytes += uint64_t(segment) * form.selected;
  });
}

}  // namespace

template <class Dim>
int32_t ioset(record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
  clear_runs<Dim>(im);
  scan along;
  const bool has_axis = scan_of_mode<Dim>(mode, &along);
  run_form form;
  const uint32_t stride = state_of<state<Dim>>(im).stride[has_axis ? uint32_t(along) : 0];
  if (const int32_t code = choose_form(im->d, im->f, stride, datatype, colourmask, &form); code < 0)
    return code;
  if (!has_axis) return QVERR_UNSUPPORTED;
  state_of<state<Dim>>(im).run = {access_length(im, mode), uint8_t(along), form};
  set_buffer_pixel(im, form.selected);
  run_facts_of(im).in_memory = true;

  using slot = slots<Dim>;
  im->ioread = form.read.steps ? slot::template read<convert<Dim, towards::buffer>>
                               : slot::template read<copy<Dim, towards::buffer>>;
  im->iorite = form.write.steps ? slot::template write<convert<Dim, towards::image>>
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
  const plan p = writing ? st.run.form.write : st.run.form.read;
  const bool packs =
      p.steps == 1 && st.run.form.selected == pixel && p.step[0].kernel == qvimdatapackf16(pixel);
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
