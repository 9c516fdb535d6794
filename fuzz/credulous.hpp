// A source that says anything of its pixels and its size, and serves whatever it is asked for.
#pragma once

#include <bit>
#include <cstring>

#include <qvimage/qvimage.h>

#include "core/dimension.hpp"
#include "core/null.hpp"
#include "fuzz/input.hpp"

inline uint32_t bytes_asked_for(uint32_t datatype, uint32_t mask) {
  return uint32_t(qvimdatasize(datatype) * std::popcount(mask));
}

// A kind that believes its callers. It notes the bytes of a pixel, and touches all that it is given.
template <class Dim>
struct credulous {
  using image = qvim::record<Dim>;
  using position = qvim::point<Dim>;

  static int32_t ioset(image *im, uint32_t, uint32_t datatype, uint32_t mask) {
    return note(im, 0, datatype, mask);
  }
  static int32_t bxts(image *im, uint32_t, uint32_t datatype, uint32_t mask) {
    return note(im, 4, datatype, mask);
  }
  static int32_t note(image *im, int place, uint32_t datatype, uint32_t mask) {
    const uint32_t pixel = bytes_asked_for(datatype, mask);
    std::memcpy(im->iostate + place, &pixel, sizeof pixel);
    return 1;
  }
  static uint64_t noted(const image *im, int place) {
    uint32_t pixel;
    std::memcpy(&pixel, im->iostate + place, sizeof pixel);
    return pixel;
  }
  static uint32_t read(image *im, uint32_t, void *buffer, uint32_t count, const position &) {
    std::memset(buffer, 0x5A, count * noted(im, 0));
    return count;
  }
  static uint32_t write(image *im, uint32_t, const void *buffer, uint32_t count, const position &) {
    const auto *bytes = static_cast<const volatile uint8_t *>(buffer);
    for (uint64_t i = 0; i < count * noted(im, 0); i++) (void)bytes[i];
    return count;
  }
  static uint32_t length(image *, uint32_t count, const position &) { return count; }
  static uint32_t bxta(image *im, uint32_t, void *buffer, qvxyzcoord *, uint32_t count, uint32_t) {
    std::memset(buffer, 0x5A, count * noted(im, 4));
    return count;
  }
  static uint32_t aeiou(image *, uint32_t, int32_t, int32_t, void *) { return 0; }
  static void *xwind(image *im, typename Dim::window *window, int32_t letter) {
    if (letter == 's' && window) im->wind = *window;
    return im;
  }

  static void build(image *im, fuzz_input &from) {
    qvim::fail(im, 0);
    describe(im->d, from);
    qviminitfacts(&im->f, &im->d);
    im->imdim = any_window(from);
    im->wind = from.up_to(3) ? im->imdim : any_window(from);
    im->ioset = ioset;
    im->bxts = bxts;
    im->ioread = qvim::slots<Dim>::template read<read>;
    im->iorite = qvim::slots<Dim>::template write<write>;
    im->iolen = qvim::slots<Dim>::template length<length>;
    im->bxta = bxta;
    im->aeiou = aeiou;
    im->xwind = xwind;
  }
  // Mostly with something wrong somewhere.
  static void describe(qvimagedata &d, fuzz_input &from) {
    d = {};
    d.pixietype = from.one_of<int32_t>({1, 2, 4, 8, 16, 32, 0, 3, 0x101, -1});
    d.pixies = from.one_of<int32_t>({1, 3, 4, 0, 2, 5, 31, 32, 33, -1, 0x40000000, INT32_MAX, INT32_MIN});
    d.pixelhint = from.one_of<int32_t>({1, 3, 67, 36, 19, 35, 99, 68, 0, 17, -1, 255});
    d.i_bitsused = from.one_of<int32_t>({8, 16, 12, 1, 0, 7, 31, 32, 33, 64, -1, INT32_MAX, INT32_MIN});
    d.i_bitsxsb = int32_t(from.up_to(4) << 8);
    d.i_dirtyread = uint16_t(from.up_to(1) << 10);
    d.i_dirtyrite = uint16_t(from.up_to(1) << 10);
    d.i_endian = uint16_t(from.up_to(1) << 11);
  }
  static typename Dim::window any_window(fuzz_input &from) {
    static const int32_t ends[] = {7, 16, 300, 1, 0, 2000, -1, INT32_MAX, INT32_MIN};
    qvim::box<Dim> b{};
    for (int axis = 0; axis < Dim::axes; axis++) {
      b.se[axis] = ends[from.up_to(8)];
      if (from.up_to(7) == 0) b.nw[axis] = ends[from.up_to(8)];
    }
    return std::bit_cast<typename Dim::window>(b);
  }
};
