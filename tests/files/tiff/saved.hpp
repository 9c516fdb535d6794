// TIFF files as this library saves them, and what they hold by decoders of the tests' own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <qvimage/codec.h>
#include <qvimage/tiff.h>

#include "tests/files/pictures.hpp"
#include "tests/files/tiff/frame.hpp"
#include "tests/files/tiff/parse.hpp"

inline bytes unpackbits(const bytes &in) {
  bytes out;
  for (size_t i = 0; i < in.size();) {
    const int h = int8_t(in[i++]);
    if (h >= 0) {
      out.insert(out.end(), in.begin() + long(i), in.begin() + long(i) + h + 1);
      i += size_t(h) + 1;
    } else if (h != -128) {
      out.insert(out.end(), size_t(1 - h), in.at(i++));
    }
  }
  return out;
}

inline bytes unlzw(const bytes &in) {
  bytes out;
  std::vector<bytes> table;
  bytes previous;
  unsigned width = 9;
  for (size_t at = 0;; at += width) {
    unsigned code = 0;
    if (table.size() >= 258)
      width = table.size() < 511 ? 9 : table.size() < 1023 ? 10 : table.size() < 2047 ? 11 : 12;
    for (unsigned b = 0; b < width; b++) code = code << 1 | (in.at((at + b) / 8) >> (7 - (at + b) % 8) & 1);
    if (code == 257) return out;
    if (code == 256) {
      table.assign(258, {});
      for (int i = 0; i < 256; i++) table[size_t(i)] = {uint8_t(i)};
      previous.clear();
      continue;
    }
    bytes string = code < table.size() ? table[code] : previous;
    if (code >= table.size()) string.push_back(previous.at(0));
    if (!previous.empty()) {
      table.push_back(previous);
      table.back().push_back(string[0]);
    }
    out.insert(out.end(), string.begin(), string.end());
    previous = string;
  }
}

inline bytes unarithmetic(const bytes &in, int bits, int width, int samples, int rows) {
  bytes out(size_t(width) * size_t(samples) * size_t(rows) * (bits < 9 ? 1 : 2));
  ptifprar_params params{bits, width, samples};
  void *state = nullptr;
  EXPECT_EQ(ptifprar_stateinit(&state, &params), 0);
  codecstream from{}, to{};
  from.next = from.start = const_cast<uint8_t *>(in.data());
  from.end = from.next + in.size();
  to.next = out.data();
  to.end = to.next + out.size();
  EXPECT_EQ(ptifprar_decode(state, &from, &to), 0);
  EXPECT_EQ(to.next, to.end);
  ptifprar_statedone(&state);
  return out;
}

inline std::vector<uint64_t> differences(std::vector<uint64_t> row, int samples, int bits) {
  for (size_t i = row.size(); i-- > size_t(samples);)
    row[i] = (row[i] - row[i - size_t(samples)]) & ((1ull << bits) - 1);
  return row;
}

// All rows of a page as they were before compression.
inline bytes content(const parsed_tiff &file, const parsed_page &page) {
  bytes all;
  const int samples = int(page.value(277)), bits = int(page.value(258)), width = int(page.value(256));
  int rows_left = int(page.value(257));
  for (const bytes &strip : file.strips(page)) {
    const int rows = std::min(rows_left, int(page.value(278)));
    rows_left -= rows;
    const uint64_t compression = page.value(259);
    const bytes plain = compression == 5       ? unlzw(strip)
                        : compression == 32773 ? unpackbits(strip)
                        : compression == 32885 ? unarithmetic(strip, bits, width, samples, rows)
                                               : strip;
    all.insert(all.end(), plain.begin(), plain.end());
  }
  EXPECT_EQ(rows_left, 0);
  return all;
}

struct orders {
  bool rgb = false, ycc = false;
};

inline bytes expected_content(const frame &f, int samples, uint32_t compression, bool big_endian,
                              orders o = {}) {
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
