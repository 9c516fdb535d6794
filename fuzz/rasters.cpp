// Any bytes as a FITS, BMP, icon or AVI file, strictly and leniently: described, and pixels of planes read in
// any order.
#include <qvimage/avi.h>
#include <qvimage/bmp.h>
#include <qvimage/fits.h>

#include "fuzz/look_at.hpp"
#include "fuzz/scratch_file.hpp"

namespace {

void look_at_some_planes(qvimage3 &im, std::mt19937 &random) {
  for (const uint32_t plane : {0u, uint32_t(random()) % uint32_t(im.imdim.se.z), uint32_t(im.imdim.se.z) - 1})
    look_at(im, int32_t(plane), random);
}

void read_fits(const char *path, int64_t block, uint32_t lenient, std::mt19937 &random) {
  qvimage3 im;
  fitshandle *h = nullptr;
  const int32_t code = qvimage3_fitsread(&im, nullptr, &h, path, nullptr, block, lenient);
  require(is_expected(code));
  if (code < 0) return;
  qvimagefileinfo info;
  require(qvimage_fitsreadinfo(h, &info, uint32_t(im.imdim.se.z) - 1) == 0);
  qvimage_fitsinfodone(&info);
  look_at_some_planes(im, random);
  require(qvimage3_fitsreaddone(&im, nullptr, &h) == 0);
}

void read_avi(const char *path, int64_t block, uint32_t lenient, std::mt19937 &random) {
  qvimage3 im;
  qvimage palette;
  avihandle *h = nullptr;
  const int32_t code = qvimage3_aviread(&im, lenient ? &palette : nullptr, &h, path, nullptr, block, lenient);
  require(is_expected(code));
  if (code < 0) return;
  qvimagefileinfo info;
  require(qvimage_avireadinfo(h, &info) == 0);
  qvimage_aviinfodone(&info);
  look_at_some_planes(im, random);
  require(qvimage3_avireaddone(&im, &palette, &h) == 0);
}

void read_bmp(const char *path, int64_t block, uint32_t bits, std::mt19937 &random) {
  const bool rgb = bits & 1, any = bits & 2, icon = bits & 4;
  qvimage im, palette;
  bmphandle *h = nullptr;
  const int32_t code =
      qvimage_bmpread(&im, bits & 8 ? &palette : nullptr, &h, path, nullptr, block, rgb, any, icon);
  require(is_expected(code));
  if (code < 0) return;
  if (!any) look_at(im, random);
  require(qvimage_bmpreaddone(&im, &palette, &h) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const scratch_file file;
  file.fill(data, size);
  const std::string path = file.path();
  std::mt19937 random(unsigned(size) * 31 + (size ? data[size / 2] : 0));
  const int64_t block = random() & 1 ? 512 : 0;
  for (const uint32_t lenient : {0u, 1u}) {
    read_fits(path.c_str(), block, lenient, random);
    read_avi(path.c_str(), block, lenient, random);
  }
  for (uint32_t bits = 0; bits < 16; bits += 1 + random() % 4) read_bmp(path.c_str(), block, bits, random);
  return 0;
}
