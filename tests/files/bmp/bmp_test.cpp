// BMP and icon files: what images become in them and what files become as images.
#include "tests/files.hpp"
#include "tests/files/pictures.hpp"

namespace {

// A file put together by hand: little-endian numbers of 1, 2 or 4 bytes.
struct builder {
  bytes file;
  builder &put(uint64_t value, int size) {
    for (int i = 0; i < size; i++) file.push_back(i < 8 ? uint8_t(value >> 8 * i) : 0);
    return *this;
  }
  builder &set(size_t at, uint64_t value, int size) {
    for (int i = 0; i < size; i++) file[at + size_t(i)] = uint8_t(value >> 8 * i);
    return *this;
  }
};

size_t row_bytes(int width, int bits) { return size_t(width * bits + 31) / 32 * 4; }

// Headers, a palette of `colours` entries (i, 2i, 3i) or greys, and rows of noise.
bytes bitmap(int width, int height, int bits, uint32_t used = 0, bool greys = false) {
  builder b;
  const size_t colours = bits > 8 ? 0 : used ? used : size_t{1} << bits;
  const size_t data = 54 + 4 * colours, rows = size_t(std::abs(height));
  b.put(0x4D42, 2).put(data + rows * row_bytes(width, bits), 4).put(0, 4).put(data, 4);
  b.put(40, 4)
      .put(uint32_t(width), 4)
      .put(uint32_t(height), 4)
      .put(1, 2)
      .put(uint64_t(bits), 2)
      .put(0, 4)
      .put(0, 4);
  b.put(2000, 4).put(4000, 4).put(used, 4).put(0, 4);
  for (size_t i = 0; i < colours; i++)
    b.put(i, 1).put(greys ? i : 2 * i % 256, 1).put(greys ? i : 3 * i % 256, 1).put(0, 1);
  std::mt19937 random(7);
  while (b.file.size() < data + rows * row_bytes(width, bits)) b.put(random(), 1);
  return b.file;
}

// The stored value of a pixel (index, or bytes blue, green, red, pad), looked up by hand.
bytes stored_pixel(const bytes &file, int width, int height, int bits, int x, int y) {
  const size_t data = file[10] | size_t(file[11]) << 8, rows = size_t(std::abs(height));
  const size_t row = data + (height > 0 ? rows - 1 - size_t(y) : size_t(y)) * row_bytes(width, bits);
  if (bits >= 8)
    return {file.begin() + long(row) + x * bits / 8, file.begin() + long(row) + (x + 1) * bits / 8};
  const int bit = x * bits;
  return {uint8_t(file[row + size_t(bit / 8)] >> (8 - bits - bit % 8) & ((1 << bits) - 1))};
}

class Bmp : public testing::Test {
 protected:
  const temporary_folder folder_;
  const std::string path_ = folder_ / "a.bmp";
};

TEST_F(Bmp, FilesOfEveryDepthAreReadPixelByPixel) {
  for (int bits : {1, 4, 8, 24, 32})
    for (int height : {9, -9})
      for (int presented = 0; presented < 6; presented++) {
        const bool rgb = presented & 1, greys = presented >= 4, wants_palette = presented & 2;
        const bytes file = bitmap(13, height, bits, 0, greys);
        SCOPED_TRACE(testing::Message() << bits << " bits, height " << height << ", " << presented);
        put_file(path_, file);
        qvimage image, palette;
        bmphandle *h = nullptr;
        ASSERT_EQ(qvimage_bmpread(&image, wants_palette ? &palette : nullptr, &h, path_.c_str(), nullptr,
                                  4096, rgb, 0, 0),
                  0)
            << qvimage_reason();
        const bool indexed = bits <= 8, expanded = indexed && !greys && !wants_palette;
        EXPECT_EQ(image.d.pixelhint, bits == 32               ? (rgb ? 36 : 4)
                                     : bits == 24 || expanded ? (rgb ? 67 : 3)
                                     : greys                  ? 1
                                                              : 17);
        EXPECT_EQ(image.d.i_bitsused, indexed && !expanded ? bits : 8);
        EXPECT_FLOAT_EQ(image.h.pixelwidth, 1 / 2000.0f);
        const bytes shown = pixels_of(image);
        const bytes entries = indexed && wants_palette && !greys ? pixels_of(palette) : bytes();
        const size_t size = size_t(image.d.pixies);
        for (int y = 0; y < 9; y++)
          for (int x = 0; x < 13; x++) {
            bytes expected = stored_pixel(file, 13, height, bits, x, y);
            if (expanded) {
              const uint8_t i = expected[0];
              expected = {i, uint8_t(2 * i), uint8_t(3 * i)};
            }
            if (rgb && expected.size() > 2) std::swap(expected[0], expected[2]);
            const auto at = shown.begin() + long((size_t(y) * 13 + size_t(x)) * size);
            ASSERT_EQ(bytes(at, at + long(size)), expected) << x << ", " << y;
          }
        if (!entries.empty()) {
          EXPECT_EQ(palette.imdim.se.x, 1 << bits);
          EXPECT_EQ(entries[rgb ? 5 : 3], rgb ? 1 : 1);
          EXPECT_EQ(entries[rgb ? 3 : 5], 3);
        }
        qvimagefileinfo info;
        ASSERT_EQ(qvimage_bmpreadinfo(h, &info, 0), 0);
        EXPECT_EQ(info.bmp_palettekind, !indexed ? 0u : greys ? 2u : 1u);
        EXPECT_EQ(info.bmp_yppm, 4000);
        ASSERT_EQ(qvimage_bmpreaddone(&image, &palette, &h), 0);
      }
}

TEST_F(Bmp, WhatIsWrittenComesBack) {
  struct row {
    int32_t bits, pixies, hint;
    bool rgb, allow32;
    int file_bits;
  };
  for (const row &r : {row{1, 1, 1, false, false, 1},
                       {4, 1, 1, false, false, 4},
                       {8, 1, 1, false, false, 8},
                       {8, 3, 3, false, false, 24},
                       {8, 3, 67, true, false, 24},
                       {8, 4, 4, false, true, 32},
                       {8, 4, 36, true, true, 32},
                       {8, 4, 4, false, false, 24}})
    for (int width : {5, 9}) {
      SCOPED_TRACE(testing::Message() << r.bits << " x " << r.pixies << ", width " << width);
      const int32_t dims[2] = {width, 7};
      bytes pixels(size_t(width * 7 * r.pixies));
      std::mt19937 random(5);
      for (auto &p : pixels) p = uint8_t(random() & ((1u << r.bits) - 1));
      bytes colours(3 << r.bits);
      for (auto &c : colours) c = uint8_t(random());
      const int32_t palette_dims[2] = {1 << r.bits, 1};
      qvimage image, palette, back, entries;
      qvimage_memory(&image, pixels.data(), dims, 0, QVIM_UINT8, r.bits, r.pixies, r.hint, 0);
      qvimage_memory(&palette, colours.data(), palette_dims, 0, QVIM_UINT8, 0, 3, 3, 0);
      qvimagefileinfo info{};
      info.bmp_xppm = 100;
      ASSERT_EQ(qvimage_bmpwrite(nullptr, &image, r.pixies == 1 ? &palette : nullptr, path_.c_str(), nullptr,
                                 0, &info, r.rgb, 0, r.allow32),
                0)
          << qvimage_reason();
      const bytes file = file_bytes(path_);
      EXPECT_EQ(file[28], r.file_bits);
      EXPECT_EQ(file.size(),
                54 + (r.file_bits <= 8 ? size_t{4} << r.file_bits : 0) + 7 * row_bytes(width, r.file_bits));
      bmphandle *h = nullptr;
      ASSERT_EQ(qvimage_bmpread(&back, &entries, &h, path_.c_str(), nullptr, 0, r.rgb, 0, 0), 0)
          << qvimage_reason();
      const bytes shown = pixels_of(back);
      for (size_t i = 0; i < size_t(width) * 7; i++)
        for (int k = 0; k < std::min(back.d.pixies, r.pixies); k++)
          ASSERT_EQ(shown[i * size_t(back.d.pixies) + size_t(k)], pixels[i * size_t(r.pixies) + size_t(k)]);
      if (r.pixies == 1) {
        EXPECT_EQ(pixels_of(entries), colours);
      }
      ASSERT_EQ(qvimage_bmpreaddone(&back, &entries, &h), 0);
    }
  // A black and white palette of its own, and greys by steps.
  uint8_t pixel = 1;
  const int32_t one[2] = {1, 1};
  for (int bits : {1, 4}) {
    qvimage image;
    qvimage_memory(&image, &pixel, one, 0, QVIM_UINT8, bits, 1, 1, 0);
    ASSERT_EQ(qvimage_bmpwrite(nullptr, &image, nullptr, path_.c_str(), nullptr, 0, nullptr, 0, 0, 0), 0);
    EXPECT_EQ(file_bytes(path_)[58], bits == 1 ? 255 : 16);
  }
}

TEST_F(Bmp, BrokenAndForeignFilesAreRefused) {
  struct row {
    const char *what;
    int bits;
    size_t at;
    uint64_t value;
    int size, code;
  };
  for (const row &r : {row{"signature", 24, 0, 'X', 1, -10},
                       {"file size", 24, 2, 99, 4, -10},
                       {"no file size", 24, 2, 0, 4, 0},
                       {"data offset", 24, 10, 5000, 4, -10},
                       {"header size", 24, 14, 12, 4, -10},
                       {"width 0", 24, 18, 0, 4, -10},
                       {"height 0", 24, 22, 0, 4, -10},
                       {"height without magnitude", 24, 22, 0x80000000, 4, -10},
                       {"huge", 24, 18, 0x7FFFFFFF, 4, -10},
                       {"16 bits", 24, 28, 16, 2, -11},
                       {"RLE", 8, 30, 1, 4, -11},
                       {"257 colours", 8, 46, 257, 4, -10},
                       {"3 colours", 8, 46, 3, 4, 0}}) {
    SCOPED_TRACE(r.what);
    builder b{bitmap(6, 5, r.bits)};
    put_file(path_, b.set(r.at, r.value, r.size).file);
    qvimage image;
    bmphandle *h = nullptr;
    EXPECT_EQ(qvimage_bmpread(&image, nullptr, &h, path_.c_str(), nullptr, 0, 0, 0, 0), r.code)
        << qvimage_reason();
    if (r.code < 0) {
      EXPECT_NE(std::string(qvimage_reason()), "");
    }
    if (h) qvimage_bmpreaddone(&image, nullptr, &h);
  }
}

TEST_F(Bmp, TheFirstImageOfAnIconIsRead) {
  const bytes inner = bitmap(8, 16, 4);  // 8 rows of colours, 8 of the mask, which has fewer bytes
  for (int colours : {16, 0}) {
    builder b;
    b.put(0, 2).put(1, 2).put(2, 2);
    b.put(8, 1)
        .put(8, 1)
        .put(uint64_t(colours), 1)
        .put(0, 1)
        .put(1, 2)
        .put(4, 2)
        .put(inner.size() - 14, 4)
        .put(38, 4);
    b.put(0, 16);
    b.file.insert(b.file.end(), inner.begin() + 14, inner.end());
    put_file(path_, b.file);
    qvimage image, palette;
    bmphandle *h = nullptr;
    ASSERT_EQ(qvimage_bmpread(&image, &palette, &h, path_.c_str(), nullptr, 0, 0, 0, 1), colours ? 0 : -10)
        << qvimage_reason();
    if (!colours) continue;
    EXPECT_EQ(image.imdim.se.y, 8);
    // Its rows lie behind the palette: the lowest first, as they do in a bitmap half as high.
    EXPECT_EQ(pixels_of(image)[56], stored_pixel(inner, 8, 16, 4, 0, 15)[0]);
    qvimagefileinfo info;
    ASSERT_EQ(qvimage_bmpreadinfo(h, &info, 1), 0);
    EXPECT_STREQ(info.type, "ico");
    ASSERT_EQ(qvimage_bmpreaddone(&image, &palette, &h), 0);
  }
}

TEST_F(Bmp, WritersRefuseWhatBitmapsDoNotHold) {
  bytes pixels(64 * 64 * 4);
  const int32_t dims[2] = {64, 64};
  struct row {
    int32_t type, bits, pixies, code;
  };
  qvimage image;
  for (const row &r : {row{1, 5, 1, -11}, {1, 8, 2, -11}, {2, 8, 1, -19}, {2, 16, 3, -19}, {1, 8, 3, 0}}) {
    qvimage_memory(&image, pixels.data(), dims, 0, r.type, r.bits, r.pixies, 0, 0);
    EXPECT_EQ(qvimage_bmpwrite(nullptr, &image, nullptr, path_.c_str(), nullptr, 0, nullptr, 0, 0, 0),
              r.code);
  }
}

}  // namespace
