// How the red, green and blue of a pixel lie in the server's pixel values.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

namespace qvim::x11 {

// One channel: at most the top 8 bits of its mask, brought to bit 0 by `right`; `left` widens it to the width
// of the widest channel.
struct [[gnu::packed]] channel {
  uint8_t mask, right, left;

  uint8_t of_pixel(uint64_t pixel) const { return uint8_t((pixel >> right & mask) << left); }
  uint64_t in_pixel(uint8_t value) const { return uint64_t(value >> left & mask) << right; }
};

// In the order of the view's components.
struct [[gnu::packed]] channels {
  channel blue, green, red;

  // Significant bits of the widest channel; 0 for visuals without masks.
  int bits() const { return std::bit_width(std::max({red.mask, green.mask, blue.mask})); }

  // Blue, green and red are the three low bytes of a pixel, as on most screens.
  bool are_bytes() const {
    const auto is_byte = [](channel c, int right) {
      return c.mask == 255 && c.right == right && c.left == 0;
    };
    return is_byte(blue, 0) && is_byte(green, 8) && is_byte(red, 16);
  }
};

constexpr uint64_t widest_channel = 255;  // components are bytes

inline channel channel_of_mask(uint64_t mask) {
  if (mask == 0) return {};
  int right = std::countr_zero(mask);
  mask >>= right;
  for (; mask > widest_channel; mask >>= 1) right++;
  return {uint8_t(mask), uint8_t(right), 0};
}

inline channels channels_of_masks(uint64_t red, uint64_t green, uint64_t blue) {
  channels result{channel_of_mask(blue), channel_of_mask(green), channel_of_mask(red)};
  const unsigned widest = std::max({result.red.mask, result.green.mask, result.blue.mask});
  // A mask with gaps may pass the widest one without ever being equal to it.
  const auto widen = [&](channel c) {
    for (unsigned mask = c.mask; mask && mask < widest; mask = 2 * mask + 1) c.left++;
    return c;
  };
  return {widen(result.blue), widen(result.green), widen(result.red)};
}

}  // namespace qvim::x11
