// Any bytes as a TIFF file: every page as an image and all pages as a stack, read in any order; what arrives
// twice must be the same twice.
#include <random>
#include <vector>

#include <qvimage/tiff.h>

#include "fuzz/look_at.hpp"
#include "fuzz/scratch_file.hpp"

namespace {

constexpr int most_pages = 24;

void look_at_stack(qvimage3 &im, std::mt19937 &random) {
  const int32_t pages = im.imdim.se.z;
  std::vector<uint8_t> run(64 * size_t(im.f.pixelsize));
  for (int i = 0; i < 40; i++) {
    const uint32_t mode = std::vector<uint32_t>{QVIM_XSCAN, QVIM_YSCAN, QVIM_ZSCAN}[random() % 3] |
                          (random() & 1 ? QVIM_WRAP : 0);
    require(im.ioset(&im, mode, uint32_t(im.d.pixietype), 1) == 1);
    const auto below = [&](int32_t n) { return int32_t(random() % uint32_t(n)); };
    const int32_t x = below(im.imdim.se.x), y = below(im.imdim.se.y), z = below(pages);
    require(im.ioread(&im, 0, run.data(), 64, x, y / (1 + below(64)), z) <= 64);
    require(is_expected(int32_t(im.aeiou(&im, 'e', 1, 0, nullptr))));
  }
}

void list(const std::string &path) {
  static qvimagefileinfo infos[most_pages];
  const int64_t n = qvimage_tiffinfoN(infos, most_pages, path.c_str(), nullptr, 0, 0);
  require(n >= 0 || is_expected(int32_t(n)));
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
    require(is_expected(code));
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
    look_at_stack(stack, random);
    require(qvimage3_tiffreaddone(&stack, nullptr, &h) == 0);
  }
  return 0;
}
