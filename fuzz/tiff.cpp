// Any bytes as a TIFF file: every page as an image and all pages as a stack, read in any order; what arrives
// twice must be the same twice.
#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include <qvimage/data.h>
#include <qvimage/null.h>
#include <qvimage/tiff.h>

#include "fuzz/input.hpp"
#include "fuzz/scratch_file.hpp"

namespace {

constexpr uint32_t most_pixels = 1 << 14;  // of a page that are looked at
constexpr int most_pages = 24;

uint32_t all_pixies(const qvimagedata &d) { return (1u << d.pixies) - 1; }

int32_t error(qvimage &im) { return int32_t(im.aeiou(&im, 'e', 1, 0, nullptr)); }

// The top rows of a page, then pieces of them in any order and direction.
void look_at(qvimage &im, std::mt19937 &random) {
  const uint32_t width = uint32_t(im.imdim.se.x), height = uint32_t(im.imdim.se.y);
  const size_t pixel = size_t(im.f.pixelsize);
  require(width > 0 && height > 0 && pixel > 0);
  const uint32_t wide = std::min(width, most_pixels), high = std::clamp(most_pixels / wide, 1u, height);
  qvywindow w{{0, 0}, {int32_t(wide), int32_t(high)}};
  require(im.xwind(&im, &w, 's') != nullptr);
  require(im.ioset(&im, QVIM_WRAP, uint32_t(im.d.pixietype), all_pixies(im.d)) == 1);
  std::vector<uint8_t> all(wide * high * pixel);
  const uint32_t have = im.ioread(&im, 0, all.data(), wide * high, 0, 0);
  const int32_t code = error(im);
  require(code < 0 ? have < wide * high : have == wide * high);
  require(code == 0 || code == -10 || code == -2);

  for (int i = 0; i < 12; i++) {
    const bool down = random() & 1;
    const uint32_t x = random() % wide, y = random() % high;
    const uint32_t n = 1 + random() % (down ? high - y : wide - x);
    require(im.ioset(&im, down ? QVIM_YSCAN : 0, uint32_t(im.d.pixietype), all_pixies(im.d)) == 1);
    std::vector<uint8_t> run(n * pixel);
    const uint32_t moved = im.ioread(&im, 0, run.data(), n, int32_t(x), int32_t(y));
    require(moved <= n && (moved == n) == (error(im) == 0));
    for (uint32_t k = 0; k < moved; k++) {
      const size_t at = down ? (y + k) * wide + x : y * wide + x + k;
      if (at < have) require(std::memcmp(&run[k * pixel], &all[at * pixel], pixel) == 0);
    }
  }
}

void look_at(qvimage3 &im, std::mt19937 &random) {
  const int32_t pages = im.imdim.se.z;
  std::vector<uint8_t> run(64 * size_t(im.f.pixelsize));
  for (int i = 0; i < 40; i++) {
    const uint32_t mode = std::vector<uint32_t>{QVIM_XSCAN, QVIM_YSCAN, QVIM_ZSCAN}[random() % 3] |
                          (random() & 1 ? QVIM_WRAP : 0);
    require(im.ioset(&im, mode, uint32_t(im.d.pixietype), 1) == 1);
    const auto below = [&](int32_t n) { return int32_t(random() % uint32_t(n)); };
    const int32_t x = below(im.imdim.se.x), y = below(im.imdim.se.y), z = below(pages);
    require(im.ioread(&im, 0, run.data(), 64, x, y / (1 + below(64)), z) <= 64);
    const int32_t code = int32_t(im.aeiou(&im, 'e', 1, 0, nullptr));
    require(code == 0 || code == -10 || code == -11 || code == -2);
  }
}

void list(const std::string &path) {
  static qvimagefileinfo infos[most_pages];
  const int64_t n = qvimage_tiffinfoN(infos, most_pages, path.c_str(), nullptr, 0, 0);
  require(n >= 0 || n == -10 || n == -11 || n == -2);
  for (int64_t i = 0; i < n; i++) qvimage_tiffinfodone(&infos[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const scratch_file file;
  file.fill(data, size);
  const std::string path = file.path();
  std::mt19937 random(unsigned(size) * 31 + (size ? data[size / 2] : 0));
  list(path);
  for (int page = 0; page < most_pages; page++) {
    qvimage im, palette;
    tiffhandle *h = nullptr;
    const int32_t code = qvimage_tiffread(&im, random() & 1 ? &palette : nullptr, &h, path.c_str(), nullptr,
                                          random() & 1 ? 512 : 0, uint64_t(page), 0);
    require(code == 0 || code == -10 || code == -11 || code == -2);
    if (code == 0) {
      look_at(im, random);
      qvimagefileinfo info;
      if (qvimage_tiffreadinfo(h, &info, uint64_t(page)) == 0) qvimage_tiffinfodone(&info);
      require(qvimage_tiffreaddone(&im, nullptr, &h) == 0);
    } else if (page > 2) {
      break;
    }
  }
  qvimage3 stack;
  tiffhandle *h = nullptr;
  if (qvimage3_tiffread(&stack, nullptr, &h, path.c_str(), nullptr, 0, 0) == 0) {
    look_at(stack, random);
    require(qvimage3_tiffreaddone(&stack, nullptr, &h) == 0);
  }
  return 0;
}
