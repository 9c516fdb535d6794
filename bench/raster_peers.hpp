// Libraries that write and read uncompressed formats, too. Each is in a file of its own, which is compiled
// where the library is.
#pragma once

#include <string>

#include "bench/frames.hpp"

struct raster_peer {
  const char *what;  // a format of rasters.cpp
  const char *who, *ending;
  void (*write)(const frames::frame &f, const std::string &path);
  void (*read)(const frames::frame &f, const std::string &path, uint8_t *pixels);
};

extern const raster_peer opencv_bmp, cfitsio_fits, libavformat_avi;
