// Any bytes as a JPEG file: described, and its rows read in turn, then in any order; what arrives twice must
// be the same twice, and the same through a stream in memory.
#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include <qvimage/jpeg.h>
#include <qvimage/types.h>

#include "fuzz/look_at.hpp"
#include "fuzz/scratch_file.hpp"

namespace {

constexpr uint32_t most_pixels = 1 << 18;  // that are looked at

uint32_t set_up(qvimage &im, uint32_t high) {
  qvywindow w{{0, 0}, {im.imdim.se.x, int32_t(high)}};
  require(im.xwind(&im, &w, 's') != nullptr);
  require(im.ioset(&im, QVIM_WRAP, QVIM_UINT8, im.d.pixies == 1 ? 1 : 7) == 1);
  return uint32_t(im.imdim.se.x) * high;
}

// The top rows; what comes before damage.
std::vector<uint8_t> top_of(qvimage &im, uint32_t high) {
  const uint32_t wanted = set_up(im, high), pixel = uint32_t(im.d.pixies);
  std::vector<uint8_t> all(size_t(wanted) * pixel);
  const uint32_t have = im.ioread(&im, 0, all.data(), wanted, 0, 0);
  const int32_t code = int32_t(im.aeiou(&im, 'e', 1, 0, nullptr));
  require(have == wanted ? code == 0 : code == -10);
  all.resize(size_t(have) * pixel);
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const scratch_file file;
  file.fill(data, size);
  const std::string path = file.path();
  qvimagefileinfo info;
  const int32_t described = qvimage_jpeginfo(&info, path.c_str(), nullptr, 0);
  require(is_expected(described));
  if (described == 0) qvimage_jpeginfodone(&info);

  bufio stream;
  require(bufio_init(&stream, nullptr, nullptr, 10, BUFIO_MEMORY) == 0);
  if (size) bufio_io(&stream, const_cast<uint8_t *>(data), size, 'w');
  stream.pos = 0;
  qvimage im, other;
  jpegcontext *c = nullptr, *d = nullptr;
  const int32_t code = qvimage_jpegread(&im, &c, path.c_str(), nullptr, 512, nullptr);
  require(code == described);
  require(qvimage_jpegread(&other, &d, nullptr, nullptr, 0, &stream) == code);
  if (code == 0) {
    const uint32_t width = uint32_t(im.imdim.se.x), pixel = uint32_t(im.d.pixies);
    const uint32_t high = std::clamp(most_pixels / width, 1u, uint32_t(im.imdim.se.y));
    std::minstd_rand random(unsigned(size) * 31 + data[size / 2]);
    set_up(other, high);
    std::vector<uint8_t> run(width * pixel);
    other.ioread(&other, 0, run.data(), width, 0, int32_t(random() % high));  // begins somewhere
    other.aeiou(&other, 'e', 1, 0, nullptr);
    const std::vector<uint8_t> all = top_of(im, high);
    require(top_of(other, high) == all);
    for (int i = 0; i < 8; i++) {
      const uint32_t x = random() % width, y = random() % high, n = 1 + random() % (width - x);
      const size_t at = (size_t(y) * width + x) * pixel;
      const uint32_t moved = im.ioread(&im, 0, run.data(), n, int32_t(x), int32_t(y));
      require(moved == (at < all.size() ? n : 0));
      require(moved == 0 || std::memcmp(run.data(), &all[at], n * pixel) == 0);
    }
    require(qvimage_jpegreaddone(&im, &c) == 0 && qvimage_jpegreaddone(&other, &d) == 0);
  }
  bufio_done(&stream);
  return 0;
}
