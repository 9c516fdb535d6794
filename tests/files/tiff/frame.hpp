// A small image of numbers, laid into memory in any stored form, and the bytes that a TIFF page of it must
// hold.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include <qvimage/data.h>
#include <qvimage/memory.h>

struct frame {
  int32_t width, height;
  qvimagedata d{};
  std::vector<uint64_t> numbers;  // one a pixie; of floats: their bits
  std::vector<uint8_t> stored;
  qvimage image;

  // flags: QVIM_MSB for significant bits at the top, QVIM_SWAPPED for the reverse byte order, QVIM_DIRTY for
  // unused bits that hold anything.
  frame(int32_t w, int32_t h, int32_t type, int32_t bits, int32_t pixies, int32_t hint, uint32_t flags = 0,
        unsigned seed = 1)
      : width(w), height(h) {
    qviminitdata(&d, type, bits, pixies, hint);
    const int size = qvimdatasize(uint32_t(type));
    std::mt19937_64 random(seed);
    const bool integer = type < 16;
    const int used = integer ? d.i_bitsused : 8 * size, unused = 8 * size - used;
    if (integer && unused && flags & QVIM_MSB) d.i_bitsxsb = QVIM_MSB;
    if (integer && unused && flags & QVIM_DIRTY) d.i_dirtyread = d.i_dirtyrite = QVIM_DIRTY;
    if (integer && size > 1 && flags & QVIM_SWAPPED) d.i_endian = QVIM_SWAPPED;
    numbers.resize(size_t(w) * size_t(h) * size_t(pixies));
    stored.resize(numbers.size() * size_t(size));
    for (size_t i = 0; i < numbers.size(); i++) {
      // Smooth with some noise, so that every codec has runs, differences and repeats to work on.
      const uint64_t mask = used == 64 ? ~0ull : (1ull << used) - 1;
      numbers[i] = ((i / 7 * 5) + (random() % 4 ? 0 : random() % 9)) & mask;
      if (!integer) numbers[i] = float_bits(type, double(random() % 1000) / 999);
      uint64_t container = integer && d.i_bitsxsb == QVIM_MSB ? numbers[i] << unused : numbers[i];
      if (integer && d.i_dirtyread)
        container |= d.i_bitsxsb == QVIM_MSB ? random() & ((1ull << unused) - 1) : random() << used;
      for (int b = 0; b < size; b++)
        stored[i * size_t(size) + size_t(integer && d.i_endian ? size - 1 - b : b)] =
            uint8_t(container >> 8 * b);
    }
    const int32_t dims[] = {w, h};
    qvimage_memdata(&image, stored.data(), stored.size(), dims, 0, &d, nullptr, 0);
  }
  frame(const frame &) = delete;

  static uint64_t float_bits(int32_t type, double value) {
    uint64_t bits = 0;
    const float narrow = float(value);
    if (type == QVIM_FLOAT32)
      std::memcpy(&bits, &narrow, 4);
    else
      std::memcpy(&bits, &value, 8);
    return bits;
  }

  int bits() const { return d.pixietype < 16 ? d.i_bitsused : 8 * qvimdatasize(uint32_t(d.pixietype)); }

  // The numbers of a row as a page has them: without the pad, components exchanged.
  std::vector<uint64_t> row(int32_t y, int samples, bool rgb = false, bool ycc = false) const {
    std::vector<uint64_t> result;
    for (int32_t x = 0; x < width; x++) {
      std::vector<uint64_t> pixel(size_t(d.pixies));
      for (size_t c = 0; c < pixel.size(); c++)
        pixel[c] = numbers[(size_t(y) * size_t(width) + size_t(x)) * pixel.size() + c];
      if (rgb && pixel.size() > 2) std::swap(pixel[0], pixel[2]);
      if (ycc && pixel.size() > 2) std::swap(pixel[1], pixel[2]);
      pixel.resize(size_t(samples));
      result.insert(result.end(), pixel.begin(), pixel.end());
    }
    return result;
  }
};

// A row in the file: whole bytes in the file's order, other depths as one stream of bits, the first bit on
// top.
inline std::vector<uint8_t> packed_row(const std::vector<uint64_t> &values, int bits, bool big_endian) {
  std::vector<uint8_t> packed;
  if (bits % 8 == 0) {
    for (uint64_t v : values)
      for (int b = 0; b < bits; b += 8) packed.push_back(uint8_t(v >> (big_endian ? bits - 8 - b : b)));
    return packed;
  }
  size_t at = 0;
  packed.resize((values.size() * size_t(bits) + 7) / 8);
  for (uint64_t v : values)
    for (int b = bits - 1; b >= 0; b--, at++) packed[at / 8] |= uint8_t((v >> b & 1) << (7 - at % 8));
  return packed;
}

inline std::vector<uint64_t> differences(std::vector<uint64_t> row, int samples, int bits) {
  for (size_t i = row.size(); i-- > size_t(samples);)
    row[i] = (row[i] - row[i - size_t(samples)]) & ((1ull << bits) - 1);
  return row;
}
