// An image over a file that any bytes may be: read in any order, what arrives twice must be the same twice.
#pragma once

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include <qvimage/record.h>
#include <qvimage/types.h>
#include <qvimage/views.h>

#include "fuzz/input.hpp"

inline bool is_expected(int32_t code) { return code == 0 || code == -10 || code == -11 || code == -2; }

// A run, cut to what came before damage, of which the image keeps the reason.
inline std::vector<uint8_t> read_run(qvimage3 &im, uint32_t mode, uint32_t n, int32_t x, int32_t y) {
  require(im.ioset(&im, mode, uint32_t(im.d.pixietype), (1u << im.d.pixies) - 1) == 1);
  std::vector<uint8_t> run(n * size_t(im.f.pixelsize));
  const uint32_t moved = im.ioread(&im, 0, run.data(), n, x, y, 0);
  const int32_t latched = int32_t(im.aeiou(&im, 'e', 1, 1, nullptr));
  require(moved <= n && (moved == n) == (latched == 0) && is_expected(latched));
  run.resize(moved * size_t(im.f.pixelsize));
  return run;
}

// The top of a plane, at most so many pixels of it, then parts of that.
inline void look_at(qvimage3 &im, int32_t plane, std::mt19937 &random) {
  constexpr uint32_t most_pixels = 1 << 14;
  const auto extent = im.imdim.se;
  require(extent.x > 0 && extent.y > 0 && extent.z > plane);
  const uint32_t width = uint32_t(extent.x), height = uint32_t(extent.y);
  const uint32_t wide = std::min(width, most_pixels), high = std::clamp(most_pixels / wide, 1u, height);
  qvyzwindow w{{0, 0, plane}, {int32_t(wide), int32_t(high), plane + 1}};
  require(im.xwind(&im, &w, 's') != nullptr);
  const size_t pixel = size_t(im.f.pixelsize);
  const std::vector<uint8_t> all = read_run(im, QVIM_WRAP, wide * high, 0, 0);
  const size_t have = all.size() / pixel;
  for (int i = 0; i < 12; i++) {
    const bool down = random() & 1;
    const uint32_t x = random() % wide, y = random() % high, n = 1 + random() % (down ? high - y : wide - x);
    const std::vector<uint8_t> run = read_run(im, down ? QVIM_YSCAN : 0, n, int32_t(x), int32_t(y));
    require(run.size() == n * pixel || have < wide * high);
    for (uint32_t k = 0; k < run.size() / pixel; k++) {
      const size_t at = down ? (y + k) * wide + x : y * wide + x + k;
      require(at >= have || std::memcmp(&run[k * pixel], &all[at * pixel], pixel) == 0);
    }
  }
}

inline void look_at(qvimage &im, std::mt19937 &random) {
  qvimage3 plane;
  require(qvimage_def3from2(&plane, &im, 1) == 0);
  look_at(plane, 0, random);
}
