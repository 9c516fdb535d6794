// Any bytes as an anymap file, read in any order: what arrives twice must be the same twice.
#include <random>

#include <qvimage/pgm.h>

#include "fuzz/look_at.hpp"
#include "fuzz/scratch_file.hpp"

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
  look_at(im, im.imdim.se.z - 1, random);
  qvimage_pgminfodone(&info);
  require(qvimage3_pgmreaddone(&im, nullptr, &h) == 0);
  return 0;
}
