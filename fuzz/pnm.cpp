// Any bytes as an anymap file, read in any order: what arrives twice must be the same twice.
#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include <qvimage/pgm.h>

#include "fuzz/input.hpp"
#include "fuzz/scratch_file.hpp"

namespace {

constexpr uint32_t most_pixels = 1 << 14;  // of a file that are looked at

std::vector<uint8_t> read_run(qvimage3 &im, uint32_t mode, uint32_t n, int32_t x, int32_t y, int32_t z) {
  require(im.ioset(&im, mode, uint32_t(im.d.pixietype), (1u << im.d.pixies) - 1) == 1);
  std::vector<uint8_t> run(n * size_t(im.f.pixelsize));
  require(im.ioread(&im, 0, run.data(), n, x, y, z) == n);
  require(im.aeiou(&im, 'e', 1, 0, nullptr) == 0);
  return run;
}

void look_at(qvimage3 &im, std::mt19937 &random) {
  const auto extent = im.imdim.se;
  const uint32_t width = uint32_t(extent.x), height = uint32_t(extent.y);
  require(width > 0 && height > 0 && extent.z > 0);
  const uint32_t wide = std::min(width, most_pixels), high = std::clamp(most_pixels / wide, 1u, height);
  qvyzwindow w{{0, 0, extent.z - 1}, {int32_t(wide), int32_t(high), extent.z}};
  require(im.xwind(&im, &w, 's') != nullptr);
  const size_t pixel = size_t(im.f.pixelsize);
  const std::vector<uint8_t> all = read_run(im, QVIM_WRAP, wide * high, 0, 0, 0);
  for (int i = 0; i < 12; i++) {
    const bool down = random() & 1;
    const uint32_t x = random() % wide, y = random() % high, n = 1 + random() % (down ? high - y : wide - x);
    const std::vector<uint8_t> run = read_run(im, down ? QVIM_YSCAN : 0, n, int32_t(x), int32_t(y), 0);
    for (uint32_t k = 0; k < n; k++)
      require(std::memcmp(&run[k * pixel], &all[(down ? (y + k) * wide + x : y * wide + x + k) * pixel],
                          pixel) == 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const scratch_file file;
  file.fill(data, size);
  const std::string path = file.path();
  std::mt19937 random(unsigned(size) * 31 + (size ? data[size / 2] : 0));
  qvimage3 im;
  pgmhandle *h = nullptr;
  const int32_t code = qvimage3_pgmread(&im, nullptr, &h, path.c_str(), nullptr, random() & 1 ? 512 : 0, 0);
  require(code == 0 || code == -10);
  if (code < 0) return 0;
  qvimagefileinfo info;
  require(qvimage_pgmreadinfo(h, &info) == 0);
  look_at(im, random);
  qvimage_pgminfodone(&info);
  require(qvimage3_pgmreaddone(&im, nullptr, &h) == 0);
  return 0;
}
