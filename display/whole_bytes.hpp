// Runs of pixels of four bytes, blue, green, red and one that is always 0, as on most screens: the fast case.
#pragma once

#include <type_traits>

#include <qvimage/npfclx.h>
#include <qvimage/npfpix.h>

#include "display/channels.hpp"
#include "display/pixels.hpp"

namespace qvim::x11 {

constexpr uint32_t pixel_bytes = 4, colour_bytes = 3;

template <class Pixels>
constexpr bool in_bytes = std::is_same_v<Pixels, byte_pixels<pixel_bytes, false>>;

// Pixels lie side by side, and all colours are asked for.
inline bool are_whole_bytes(const byte_pixels<pixel_bytes, false> &pixels, const channels &layout,
                            uint32_t first, uint32_t selected) {
  return pixels.step == pixel_bytes && layout.are_bytes() && first == 0 && selected >= colour_bytes;
}

inline void clear_pads(uint8_t *pixels, uint32_t count) {
  constexpr uint32_t colours = 0xFFFFFF;
  npfpix4_and(pixels, count, 0, 0, &colours);
}

// With the fourth byte 0, in pieces that are still in the cache when that is done.
inline void copy_whole_bytes(const uint8_t *from, uint32_t from_step, uint8_t *to, uint32_t to_step,
                             uint32_t count) {
  constexpr uint32_t piece = 1024;
  for (uint32_t done = 0; done < count; done += piece) {
    const uint32_t n = std::min(count - done, piece);
    const uint8_t *const source = from + uint64_t{done} * from_step;
    uint8_t *const place = to + uint64_t{done} * to_step;
    npfclx1_RGBxtoRGBx_2n(source, place, from_step, to_step, n, 0, nullptr);
    if (to_step == pixel_bytes) clear_pads(place, n);
  }
}

}  // namespace qvim::x11
