// Pictures and films for tests of files: noise of any type, its planes, and what an image shows.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include <qvimage/qvimage.h>

#include "core/dimension.hpp"

using bytes = std::vector<uint8_t>;

// Frames as a 3-D memory image whose bits are clean. Bytes are smooth but for some noise, so that coders of
// pictures can keep them; all bits of larger numbers are noise.
struct film {
  film(int32_t type, int32_t bits, int32_t pixies, int32_t hint, int32_t width, int32_t height,
       int32_t depth) {
    const int32_t dims[3] = {width, height, depth};
    const size_t size = size_t(qvimdatasize(uint32_t(type)));
    pixels.resize(size_t(width) * size_t(height) * size_t(depth) * size_t(pixies) * size);
    std::mt19937_64 random(unsigned(type * 31 + bits * 7 + pixies));
    for (size_t i = 0; i < pixels.size() / size; i++) {
      const size_t pixel = i / size_t(pixies), x = pixel % size_t(width), y = pixel / size_t(width);
      uint64_t n = type == QVIM_UINT8 && bits != 1 ? 3 * x + 2 * y + 40 * (i % size_t(pixies)) + random() % 4
                                                   : random();
      if (bits) n &= (uint64_t{1} << bits) - 1;
      const float real = float(int32_t(n)) / 1024;
      const double wide = double(int64_t(n)) / 4096;
      std::memcpy(&pixels[i * size],
                  type == QVIM_FLOAT32   ? static_cast<const void *>(&real)
                  : type == QVIM_FLOAT64 ? static_cast<const void *>(&wide)
                                         : &n,
                  size);
    }
    EXPECT_EQ(qvimage3_memory(&image, pixels.data(), dims, 0, type, bits, pixies, hint, 0), 0);
  }
  film(const film &) = delete;
  qvimage frame(int32_t z) {
    qvimage result;
    EXPECT_EQ(qvimage_def2from3(&result, &image, 0, 2, z, 0), 0);
    return result;
  }

  bytes pixels;
  qvimage3 image;
};

template <class Record>
uint32_t pixels_in(const Record &image) {
  uint32_t count = uint32_t(image.imdim.se.x) * uint32_t(image.imdim.se.y);
  if constexpr (requires { image.imdim.se.z; }) count *= uint32_t(image.imdim.se.z);
  return count;
}

// What an image delivers, whole, in its own type at the low end.
template <class Record>
bytes pixels_of(Record &image) {
  const uint32_t count = pixels_in(image);
  bytes result(count * size_t(image.f.pixelsize));
  EXPECT_EQ(
      image.ioset(&image, QVIM_WRAP, uint32_t(image.d.pixietype) | QVIM_LSB, (1u << image.d.pixies) - 1), 1);
  const uint32_t moved = qvim::call_read(&image, 0, result.data(), count, {});
  result.resize(moved * size_t(image.f.pixelsize));
  return result;
}
