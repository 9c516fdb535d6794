// TIFF files as this library saves them, and what they hold by decoders of the tests' own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <qvimage/codec.h>
#include <qvimage/tiff.h>

#include "tests/files.hpp"
#include "tests/files/codec/slow_coders.hpp"
#include "tests/files/pictures.hpp"
#include "tests/files/tiff/frame.hpp"
#include "tests/files/tiff/parse.hpp"

// Do the strips of a page hold these rows, coded as the slow coders do?
inline void expect_content(const parsed_tiff &file, const parsed_page &page, const bytes &rows) {
  const int samples = int(page.value(277)), bits = int(page.value(258)), width = int(page.value(256));
  const uint64_t height = page.value(257), row = rows.size() / height, compression = page.value(259);
  uint64_t y = 0;
  for (const bytes &strip : file.strips(page)) {
    const uint64_t count = std::min(height - y, page.value(278));
    const bytes plain(rows.begin() + long(y * row), rows.begin() + long((y + count) * row));
    y += count;
    EXPECT_EQ(strip, compression == 5       ? slow::lzw_encoder().encode(plain)
                     : compression == 32773 ? slow::pack(plain, row)
                     : compression == 32885 ? slow::predict(plain, {bits, width, samples})
                                            : plain);
  }
  EXPECT_EQ(y, height);
}

class TiffWrite : public testing::Test {
 protected:
  const temporary_folder folder;
  const std::string path = folder / "a.tif";
};

struct orders {
  bool rgb = false, ycc = false;
};

inline bytes rows_of(const frame &f, int samples, uint32_t compression, bool big_endian, orders o = {}) {
  bytes all;
  for (int32_t y = 0; y < f.height; y++) {
    auto row = f.row(y, samples, o.rgb, o.ycc);
    int bits = f.bits();
    const bool whole = bits == 8 || bits == 16;
    if ((compression == 517 && whole) || compression == 33397) row = differences(row, samples, bits);
    const bool coder = compression == 32885 || compression == 33397;
    if (coder) bits = bits < 9 ? 8 : 16;
    const bytes packed = packed_row(row, bits, big_endian && !coder);
    all.insert(all.end(), packed.begin(), packed.end());
  }
  return all;
}

inline qvimagefileinfo options_for(uint32_t compression, uint64_t stripsize = 0, uint32_t version = 42) {
  qvimagefileinfo options{};
  options.compression = compression;
  options.stripsize = stripsize;
  options.version = version;
  return options;
}

// One page of an open file, in all its steps.
inline int32_t add_page(tiffhandle **h, frame &f, qvimagefileinfo *options = nullptr, int32_t bands = 1) {
  int32_t code = qvimage_tiffwritesetup(h, &f.image, nullptr, options, 0, 0, 0, 0);
  if (code == 0) code = qvimage_tiffwriteifdinit(h);
  for (int32_t band = 0; band < bands && code == 0; band++)
    code = qvimage_tiffwritedata(h, nullptr, &f.image, band);
  return code == 0 ? qvimage_tiffwriteifdfini(h) : code;
}

inline int32_t save(frame &f, const std::string &path, qvimagefileinfo *options = nullptr, int64_t append = 0,
                    orders o = {}, qvimage *palette = nullptr, qvimagecallback callback = nullptr) {
  return qvimage_tiffwrite(callback, &f.image, palette, path.c_str(), nullptr, 0, append, options, o.rgb, 0,
                           o.ycc);
}
