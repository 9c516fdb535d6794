// Windows, pixmaps and client-side images of X11 as 8-bit images of blue, green and red.
#include <algorithm>

#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/x11.h>

#include "core/kind.hpp"
#include "core/pixel.hpp"
#include "core/reason.hpp"
#include "display/pixels.hpp"
#include "display/state.hpp"
#include "display/whole_bytes.hpp"

namespace qvim::x11 {

namespace {

constexpr uint32_t chain_word = 0x1001;  // the first image of its chain, and the kind's flag
constexpr uint32_t chain_word_blocks = 0x1002;
constexpr int most_components = 4;  // blue, green, red, pad

// Lies outside the iostate, which block transfers put back as it was.
void latch(qvimage *im, int32_t code) { std::memcpy(im->kind, &code, sizeof code); }
int32_t latched(const qvimage *im) { return load_value<int32_t>(im->kind); }

// A run of pixels of one line.
struct segment {
  int64_t x, y;
  uint32_t count;
  bool down;

  segment part(uint32_t from, uint32_t n) const {
    return {x + (down ? 0 : from), y + (down ? from : 0), n, down};
  }
  // Of its pixels, how many lie before a limit of either coordinate.
  uint32_t before(int64_t x_end, int64_t y_end) const {
    if (x >= x_end || y >= y_end) return 0;
    return uint32_t(std::min<int64_t>(count, down ? y_end - y : x_end - x));
  }
  rectangle area() const {
    return {int16_t(x), int16_t(y), uint16_t(down ? 1 : count), uint16_t(down ? count : 1)};
  }
};

// What is done to the pixels of a segment: `work(image, plain, x, y, down, count, buffer)` for those that can
// be reached, wherever they are.
class transfer {
 public:
  explicit transfer(qvimage *im) : im_(im), s_(state_of<state>(im)) {}

  // Fills `to` with the selected components.
  void read(const segment &line, uint8_t *to) {
    each_image(line, to, false, [&](XImage *image, bool plain, const segment &at, uint8_t *bytes) {
      with_pixels(image, plain, int(at.x), int(at.y), at.down, [&](const auto &pixels) {
        if (s_.true_colour)
          take_apart(pixels, at.count, bytes);
        else
          look_up(pixels, at.count, bytes);
      });
    });
  }

  // Other components of the pixels stay as they are.
  void write(const segment &line, const uint8_t *from) {
    if (!s_.true_colour) return;
    each_image(line, const_cast<uint8_t *>(from), true,
               [&](XImage *image, bool plain, const segment &at, const uint8_t *bytes) {
                 with_pixels(image, plain, int(at.x), int(at.y), at.down,
                             [&](const auto &pixels) { put_together(pixels, at.count, bytes); });
               });
  }

 private:
  void skip() { latch(im_, because(QVERR_X11, {"pixels of the window or image could not be reached"})); }

  template <class Work>
  void each_image(const segment &line, uint8_t *bytes, bool send, const Work &work) {
    const uint32_t reachable = s_.image ? line.before(s_.image->width, s_.image->height)
                                        : line.before(first_beyond_protocol, first_beyond_protocol);
    if (reachable < line.count) skip();
    if (reachable == 0) return;
    if (s_.image) return work(s_.image, s_.plain, line.part(0, reachable), bytes);
    if (fetch(line.part(0, reachable), 1, bytes, send, work) == 1) return;
    if (reachable == 1) return skip();
    for (uint32_t done = 0; done < reachable; done += most_rectangles) {
      const uint32_t count = std::min(reachable - done, most_rectangles);
      if (fetch(line.part(done, count), count, bytes + done * s_.selected, send, work) < count) skip();
    }
  }

  // Fetches a segment in so many equal pieces, one request each, and works on those that came; returns how
  // many did.
  template <class Work>
  uint32_t fetch(const segment &line, uint32_t pieces, uint8_t *bytes, bool send, const Work &work) {
    rectangle areas[most_rectangles] = {};
    fetched images[most_rectangles];
    bool got[most_rectangles];
    const uint32_t count = line.count / pieces;
    for (uint32_t i = 0; i < pieces; i++) areas[i] = line.part(i * count, count).area();
    const target where{s_.display, s_.drawable};
    s_.requests->fetch(where, areas, pieces, images, got);
    uint32_t came = 0;
    for (uint32_t i = 0; i < pieces; i++) {
      if (!got[i]) continue;
      came++;
      work(&images[i].image, true, segment{0, 0, count, line.down},
           bytes + uint64_t(i) * count * s_.selected);
      if (send) s_.requests->send(where, areas[i], images[i]);
      s_.requests->release(images[i]);
    }
    return came;
  }

  template <class Pixels>
  void take_apart(const Pixels &pixels, uint32_t count, uint8_t *to) const {
    const channels c = s_.layout;
    const uint32_t first = s_.first, selected = s_.selected;
    if constexpr (in_bytes<Pixels>) {
      if (are_whole_bytes(pixels, c, first, selected))
        return copy_whole_bytes(pixels.first, pixel_bytes, to, selected, count);
    }
    for (uint32_t i = 0; i < count; i++, to += selected) {
      const uint64_t pixel = pixels.get(i);
      const uint8_t components[most_components] = {c.blue.of_pixel(pixel), c.green.of_pixel(pixel),
                                                   c.red.of_pixel(pixel)};
      for (uint32_t k = 0; k < selected; k++) to[k] = components[first + k];
    }
  }

  template <class Pixels>
  void put_together(const Pixels &pixels, uint32_t count, const uint8_t *from) const {
    const channels c = s_.layout;
    const uint32_t first = s_.first, selected = s_.selected;
    if constexpr (in_bytes<Pixels>) {
      if (are_whole_bytes(pixels, c, first, selected))
        return copy_whole_bytes(from, selected, pixels.first, pixel_bytes, count);
    }
    const bool all_colours = first == 0 && selected >= 3;
    for (uint32_t i = 0; i < count; i++, from += selected) {
      uint8_t components[most_components];
      if (!all_colours) {
        const uint64_t pixel = pixels.get(i);
        components[0] = c.blue.of_pixel(pixel);
        components[1] = c.green.of_pixel(pixel);
        components[2] = c.red.of_pixel(pixel);
      }
      for (uint32_t k = 0; k < selected; k++) components[first + k] = from[k];
      pixels.put(i, c.blue.in_pixel(components[0]) | c.green.in_pixel(components[1]) |
                        c.red.in_pixel(components[2]));
    }
  }

  // Through the colour map, which is asked anew each time: it may change.
  template <class Pixels>
  void look_up(const Pixels &pixels, uint32_t count, uint8_t *to) {
    struct store final : colour_taker {
      uint8_t *to;
      uint32_t first, selected;
      int shift;
      void operator()(uint32_t i, uint16_t red, uint16_t green, uint16_t blue) const override {
        const uint8_t components[most_components] = {uint8_t(blue >> shift), uint8_t(green >> shift),
                                                     uint8_t(red >> shift)};
        for (uint32_t k = 0; k < selected; k++) to[uint64_t(i) * selected + k] = components[first + k];
      }
    } take;
    take.first = s_.first;
    take.selected = s_.selected;
    take.shift = 16 - im_->d.i_bitsused;
    uint32_t values[most_colours];
    for (uint32_t done = 0; done < count;) {
      const uint32_t n = std::min(count - done, most_colours);
      for (uint32_t i = 0; i < n; i++) values[i] = uint32_t(pixels.get(done + i));
      take.to = to + uint64_t(done) * s_.selected;
      if (!s_.requests->colours(s_.display, s_.map, values, n, take))
        for (uint32_t i = 0; i < n; i++, take.to += s_.selected)
          if (!s_.requests->colours(s_.display, s_.map, values + i, 1, take)) skip();
      done += n;
    }
  }

  qvimage *const im_;
  const state s_;
};

// Cuts a run into segments, a line each, and moves them: `move(segment, buffer)`.
template <class Move>
uint32_t move_lines(qvimage *im, void *buffer, uint32_t count, point<two_d> at, const Move &move) {
  const state s = state_of<state>(im);
  const uint32_t n = uint32_t(std::min(call_length_fn(s.length, &im->wind, at), uint64_t(count)));
  if (!buffer) return 0;
  const auto window = box<two_d>::of(&im->wind);
  const int along = int(s.axis), across = 1 - along;
  auto *bytes = static_cast<uint8_t *>(buffer);
  for (uint32_t done = 0; done < n;) {
    const uint32_t length = std::min(n - done, window.extent(along) - uint32_t(at[along]));
    move(segment{int64_t(window.nw[0]) + at[0], int64_t(window.nw[1]) + at[1], length, s.axis == scan::y},
         bytes);
    bytes += uint64_t(length) * s.selected;
    done += length;
    at[along] = 0;
    at[across]++;
  }
  return n;
}

uint32_t read(qvimage *im, uint32_t, void *buffer, uint32_t count, const point<two_d> &at) {
  const transfer_call call;
  transfer pixels(im);
  return move_lines(im, buffer, count, at, [&](const segment &line, uint8_t *to) { pixels.read(line, to); });
}

uint32_t write(qvimage *im, uint32_t, const void *buffer, uint32_t count, const point<two_d> &at) {
  const transfer_call call;
  transfer pixels(im);
  return move_lines(im, const_cast<void *>(buffer), count, at,
                    [&](const segment &line, const uint8_t *from) { pixels.write(line, from); });
}

uint32_t length(qvimage *im, uint32_t count, const point<two_d> &at) {
  return uint32_t(std::min(call_length_fn(state_of<state>(im).length, &im->wind, at), uint64_t(count)));
}

int32_t ioset(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
  clear_runs<two_d>(im);
  if (int32_t(type_word(datatype).type()) != im->d.pixietype) return QVERR_DATATYPE;
  int32_t first;
  const int32_t selected = qvimcolormap(im->d.pixies, colourmask, &first);
  if (selected == 0) return QVERR_COLOUR;
  scan axis;
  if (!scan_of_mode<two_d>(mode, &axis)) return QVERR_UNSUPPORTED;
  auto &s = state_of<state>(im);
  s.length = access_length(im, mode);
  s.axis = axis;
  s.first = uint8_t(first);
  s.selected = uint8_t(selected);
  set_buffer_pixel(im, s.selected);
  im->ioread = slots<two_d>::read<read>;
  im->iorite = slots<two_d>::write<write>;
  im->iolen = slots<two_d>::length<length>;
  return 1;
}

struct kind : kind_blocks<two_d, state> {
  static constexpr auto ioset = x11::ioset;
  static constexpr auto imapset = nops<two_d>::imapset;  // pixels are not stored as components
};

uint32_t aeiou(qvimage *im, uint32_t code, int32_t clear, int32_t, void *) {
  if (code == 'b') return chain_word_blocks;
  if (code != 'e') return kind_answer<two_d>(im, code, chain_word);
  const int32_t word = latched(im);
  if (clear) latch(im, 0);
  return uint32_t(word);
}

// Does the image bring Xlib's own functions, so that its pixels lie where they would look for them?
bool has_own_functions(const XImage *image) {
  XImage same = *image;
  return xlib()->XInitImage(&same) && same.f.get_pixel == image->f.get_pixel &&
         same.f.put_pixel == image->f.put_pixel;
}

int32_t check(const uint32_t dims[2], const Display *display, const XImage *image, Drawable drawable,
              const Visual *visual) {
  if (!dims) return because(QVERR_USAGE, {"no dimensions"});
  for (int axis = 0; axis < 2; axis++)
    if (dims[axis] == 0 || dims[axis] > uint32_t(INT32_MAX))
      return because(QVERR_LOGIC, {axis ? "height " : "width ", dims[axis]});
  if (!display || !visual) return because(QVERR_USAGE, {display ? "no visual" : "no display"});
  if (!image && !drawable) return because(QVERR_USAGE, {"neither a client-side image nor a drawable"});
  if (image && (!image->data || !image->f.get_pixel || !image->f.put_pixel))
    return because(QVERR_USAGE, {"the client-side image has no data"});
  return xlib() ? 0 : because(QVERR_NOTINSTALLED, {"libX11.so.6 is not in the process"});
}

}  // namespace

}  // namespace qvim::x11

using namespace qvim;

int32_t qvimage_X11(qvimage *view, const uint32_t dims[2], void *display, void *image, unsigned long drawable,
                    void *visual, unsigned long colormap, int32_t hint) {
  const public_call call;
  if (!view) return call.result(because(QVERR_USAGE, {"no record for the view"}));
  auto *const client_side = static_cast<XImage *>(image);
  const auto *const format = static_cast<Visual *>(visual);
  if (const int32_t code = x11::check(dims, static_cast<Display *>(display), client_side, drawable, format);
      code < 0)
    return call.result(fail(view, code));
  std::memset(static_cast<void *>(view), 0, sizeof *view);
  set_device_name(view, "QVIMX11");
  view->imdim.se = {int32_t(dims[0]), int32_t(dims[1])};
  const x11::channels layout =
      x11::channels_of_masks(format->red_mask, format->green_mask, format->blue_mask);
  const bool padded = hint == QVIM_HINT_BGRPAD;
  qviminitdata(&view->d, QVIM_UINT8, layout.bits(), padded ? 4 : 3,
               padded ? QVIM_HINT_BGRPAD : QVIM_HINT_BGR);
  qviminitfacts(&view->f, &view->d);
  x11::state s{};
  s.display = static_cast<Display *>(display);
  s.image = client_side;
  s.drawable = drawable;
  s.map = colormap;
  s.requests = x11::xcb_server() ? x11::xcb_server() : x11::xlib_server();
  s.layout = layout;
  s.true_colour = format->c_class == TrueColor;
  s.plain = client_side && x11::has_own_functions(client_side);
  state_of<x11::state>(view) = s;
  view->aeiou = x11::aeiou;
  view->xwind = kind_xwind<two_d, x11::kind>;
  view->xwind(view, nullptr, 's');
  return call.result(0);
}
