// Runs of pixels of an X image, whatever its format: pixel values in and out.
#pragma once

#include <X11/Xlib.h>

#include <bit>
#include <cstdint>
#include <cstring>

namespace qvim::x11 {

// Pixels of whole bytes, where Xlib's own functions would find them: pixel i lies `step` bytes further on.
template <unsigned Bytes, bool Swapped>
struct byte_pixels {
  uint8_t *first;
  int64_t step;

  uint32_t get(uint32_t i) const {
    uint32_t value = 0;
    std::memcpy(&value, first + i * step, Bytes);
    return Swapped ? __builtin_bswap32(value) >> (32 - 8 * Bytes) : value;
  }
  void put(uint32_t i, uint64_t pixel) const {
    const auto value = uint32_t(pixel);
    const uint32_t stored = Swapped ? __builtin_bswap32(value << (32 - 8 * Bytes)) : value;
    std::memcpy(first + i * step, &stored, Bytes);
  }
};
static_assert(std::endian::native == std::endian::little, "the low bytes of a value come first");

// Any others, by the image's own functions.
struct function_pixels {
  XImage *image;
  int x, y;
  bool down;

  uint64_t get(uint32_t i) const {
    return image->f.get_pixel(image, x + (down ? 0 : int(i)), y + (down ? int(i) : 0));
  }
  void put(uint32_t i, uint64_t pixel) const {
    image->f.put_pixel(image, x + (down ? 0 : int(i)), y + (down ? int(i) : 0), pixel);
  }
};

// Calls `work` with the pixels of the image from (x, y) on, to the right or down. `plain`: the image's
// functions are Xlib's own.
template <class Work>
void with_pixels(XImage *image, bool plain, int x, int y, bool down, const Work &work) {
  const int bytes = image->bits_per_pixel / 8;
  if (!plain || image->format != ZPixmap || image->bits_per_pixel % 8 != 0 || bytes < 1 || bytes > 4)
    return work(function_pixels{image, x, y, down});
  uint8_t *const first =
      reinterpret_cast<uint8_t *>(image->data) + int64_t(y) * image->bytes_per_line + x * bytes;
  const int64_t step = down ? image->bytes_per_line : bytes;
  const auto with = [&]<unsigned Bytes>() {
    if (image->byte_order == LSBFirst)
      work(byte_pixels<Bytes, false>{first, step});
    else
      work(byte_pixels<Bytes, true>{first, step});
  };
  switch (bytes) {
    case 1: return with.template operator()<1>();
    case 2: return with.template operator()<2>();
    case 3: return with.template operator()<3>();
    default: return with.template operator()<4>();
  }
}

}  // namespace qvim::x11
