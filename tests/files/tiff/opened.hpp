// TIFF files of the builder opened by the library, and their pixels as numbers.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/tiff.h>

#include "fuzz/scratch_file.hpp"
#include "tests/files/tiff/builder.hpp"

namespace tiff_test {

// A file in memory with a path.
struct memory_file : scratch_file {
  explicit memory_file(const bytes &content) { fill(content); }
};

// A file opened as an image or as a stack.
template <class Record>
class opened {
 public:
  opened(const bytes &content, uint64_t page = 0, bool with_palette = false, bool infoonly = false)
      : file(content), path(file.path()) {
    qvimage *wanted = with_palette ? &palette : nullptr;
    if constexpr (std::is_same_v<Record, qvimage>)
      code = qvimage_tiffread(&image, wanted, &handle, path.c_str(), nullptr, 0, page, infoonly);
    else
      code = qvimage3_tiffread(&image, wanted, &handle, path.c_str(), nullptr, 0, infoonly);
  }
  ~opened() { done(); }
  int32_t done() {
    if constexpr (std::is_same_v<Record, qvimage>)
      return qvimage_tiffreaddone(&image, nullptr, &handle);
    else
      return qvimage3_tiffreaddone(&image, nullptr, &handle);
  }
  int32_t error(bool clear = false) { return int32_t(image.aeiou(&image, 'e', clear, 0, nullptr)); }

  const memory_file file;
  const std::string path;
  Record image{};
  qvimage palette{};
  tiffhandle *handle = nullptr;
  int32_t code;
};
using opened_page = opened<qvimage>;
using opened_stack = opened<qvimage3>;

inline uint64_t number(const uint8_t *at, int size) {
  uint64_t v = 0;
  std::memcpy(&v, at, size_t(size));  // little-endian hosts
  return v;
}

// Pixies as numbers, from a run of n pixels.
template <class Record, class... At>
std::vector<uint64_t> read_run(Record &im, uint32_t mode, uint32_t flags, uint32_t mask, uint32_t n,
                               At... at) {
  const uint32_t all = (1u << im.d.pixies) - 1;
  mask = mask ? mask : all;
  if (im.ioset(&im, mode, uint32_t(im.d.pixietype) | flags, mask) != 1) return {};
  const size_t size = size_t(im.f.pixiesize), pixies = size_t(__builtin_popcount(mask));
  std::vector<uint8_t> buffer(size * pixies * n);
  const uint32_t moved = im.ioread(&im, 0, buffer.data(), n, at...);
  std::vector<uint64_t> result;
  for (size_t i = 0; i < moved * pixies; i++) result.push_back(number(&buffer[i * size], int(size)));
  return result;
}

inline std::vector<uint64_t> read_all(qvimage &im) {
  return read_run(im, QVIM_WRAP, 0, 0, uint32_t(im.imdim.se.x) * uint32_t(im.imdim.se.y), 0, 0);
}

inline std::vector<uint64_t> samples_of(const page_spec &p) {
  std::vector<uint64_t> result;
  for (uint32_t y = 0; y < p.height; y++)
    for (uint32_t x = 0; x < p.width; x++)
      for (uint32_t s = 0; s < p.samples; s++) result.push_back(p.sample(x, y, s));
  return result;
}

// A file's page is read, and its pixels are those that the page was made of.
inline void expect_samples(const builder &file, const page_spec &p) {
  opened_page o(file.file());
  ASSERT_EQ(o.code, 0) << qvimage_reason();
  EXPECT_EQ(read_all(o.image), samples_of(p));
}

inline bytes predictive(const page_spec &p, const bytes &rows, size_t) {
  return slow::predict(rows, {int32_t(p.bits), int32_t(p.width), int32_t(p.samples)});
}

struct coding {
  uint32_t compression;
  bool differenced;
  compressor compress;
};
inline const coding uncompressed{1, false, nullptr}, packed{32773, false, pack_bits}, by_lzw{5, false, lzw},
    by_differences{5, true, lzw};

// A map whose value (component, entry) is given.
inline tag_values colour_map(uint16_t type, uint32_t bits,
                             const std::function<uint64_t(uint32_t, uint32_t)> &value) {
  tag_values map{type, {}};
  for (uint32_t c = 0; c < 3; c++)
    for (uint32_t i = 0; i < 1u << bits; i++) map.values.push_back(value(c, i));
  return map;
}

inline tag_values text(const char *s) {
  tag_values t{2, {}};
  for (const char *c = s; *c; c++) t.values.push_back(uint8_t(*c));
  t.values.push_back(0);
  return t;
}

// A page with all texts and a resolution.
inline page_spec described_page() {
  page_spec p{.bits = 16, .samples = 3, .photometric = 2, .compression = 5, .differenced = true};
  p.tags[270] = text("a leaf");
  p.tags[305] = text("builder");
  p.tags[306] = text("2020:01:02 03:04:05");
  p.tags[33432] = text("nobody");
  p.tags[282] = {5, {300 | uint64_t{2} << 32}};
  p.tags[283] = {5, {100 | uint64_t{1} << 32}};
  p.tags[296] = {3, {3}};
  return p;
}

}  // namespace tiff_test
