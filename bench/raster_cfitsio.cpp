// FITS files by CFITSIO.
#include <fitsio.h>

#include "bench/files.hpp"
#include "bench/raster_peers.hpp"

namespace {

void write(const frames::frame &f, const std::string &path) {
  fitsfile *file = nullptr;
  long size[] = {long(f.width), long(f.height)};
  int status = 0;
  fits_create_file(&file, ("!" + path).c_str(), &status);
  fits_create_img(file, USHORT_IMG, 2, size, &status);
  fits_write_img(file, TUSHORT, 1, LONGLONG(f.width) * f.height, const_cast<uint8_t *>(f.bytes.data()),
                 &status);
  fits_close_file(file, &status);
  must(status == 0, "cfitsio");
}

void read(const frames::frame &f, const std::string &path, uint8_t *pixels) {
  fitsfile *file = nullptr;
  int status = 0, any_null = 0;
  fits_open_file(&file, path.c_str(), READONLY, &status);
  fits_read_img(file, TUSHORT, 1, LONGLONG(f.width) * f.height, nullptr, pixels, &any_null, &status);
  fits_close_file(file, &status);
  must(status == 0, "cfitsio");
}

}  // namespace

const raster_peer cfitsio_fits = {"fits16", "cfitsio", ".fits", write, read};
