// BMP and icon files: what images become in them and what files become as images.
#include "tests/files.hpp"
#include "tests/files/pictures.hpp"

namespace {

// Little-endian numbers of so many bytes.
void put(bytes &file, int size, std::initializer_list<uint64_t> values) {
  for (const uint64_t value : values)
    for (int i = 0; i < size; i++) file.push_back(uint8_t(value >> 8 * i));
}

size_t row_bytes(int width, int bits) { return size_t(width * bits + 31) / 32 * 4; }

// Headers, a palette of `colours` entries (i, 2i, 3i) or greys, and rows of noise.
bytes bitmap(int width, int height, int bits, uint32_t used = 0, bool greys = false) {
  const size_t colours = bits > 8 ? 0 : used ? used : size_t{1} << bits;
  const size_t data = 54 + 4 * colours, size = data + size_t(std::abs(height)) * row_bytes(width, bits);
  bytes file = {'B', 'M'};
  put(file, 4, {size, 0, data, 40, uint32_t(width), uint32_t(height)});
  put(file, 2, {1, uint64_t(bits)});
  put(file, 4, {0, 0, 2000, 4000, used, 0});
  for (size_t i = 0; i < colours; i++) put(file, 1, {i, greys ? i : 2 * i % 256, greys ? i : 3 * i % 256, 0});
  std::mt19937 random(7);
  while (file.size() < size) put(file, 1, {random()});
  return file;
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
          EXPECT_EQ(entries[rgb ? 5 : 3], 1);
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
    bool allow32;
    int file_bits;
  };
  for (const row &r : {row{1, 1, 1, false, 1},
                       {4, 1, 1, false, 4},
                       {8, 1, 1, false, 8},
                       {8, 3, 3, false, 24},
                       {8, 3, 67, false, 24},
                       {8, 4, 4, true, 32},
                       {8, 4, 36, true, 32},
                       {8, 4, 4, false, 24}})
    for (int width : {5, 9}) {
      SCOPED_TRACE(testing::Message() << r.bits << " x " << r.pixies << ", width " << width);
      const bool rgb = r.hint > 5;
      film f(QVIM_UINT8, r.bits, r.pixies, r.hint, width, 7, 1),
          colours(QVIM_UINT8, 8, 3, 3, 1 << r.bits, 1, 1);
      qvimage image = f.frame(0), palette = colours.frame(0), back, entries;
      qvimagefileinfo info{};
      info.bmp_xppm = 100;
      ASSERT_EQ(qvimage_bmpwrite(nullptr, &image, r.pixies == 1 ? &palette : nullptr, path_.c_str(), nullptr,
                                 0, &info, rgb, 0, r.allow32),
                0)
          << qvimage_reason();
      const bytes file = file_bytes(path_);
      EXPECT_EQ(file[28], r.file_bits);
      EXPECT_EQ(file.size(),
                54 + (r.file_bits <= 8 ? size_t{4} << r.file_bits : 0) + 7 * row_bytes(width, r.file_bits));
      bmphandle *h = nullptr;
      ASSERT_EQ(qvimage_bmpread(&back, &entries, &h, path_.c_str(), nullptr, 0, rgb, 0, 0), 0)
          << qvimage_reason();
      const bytes shown = pixels_of(back);
      for (size_t i = 0; i < size_t(width) * 7; i++)
        for (int k = 0; k < std::min(back.d.pixies, r.pixies); k++)
          ASSERT_EQ(shown[i * size_t(back.d.pixies) + size_t(k)], f.pixels[i * size_t(r.pixies) + size_t(k)]);
      if (r.pixies == 1) {
        EXPECT_EQ(pixels_of(entries), colours.pixels);
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
  // Numbers that are pixels, and a palette whose components change places.
  uint32_t number = 0x04030201;
  for (int bits : {24, 32}) {
    qvimage image;
    qvimage_memory(&image, &number, one, 0, QVIM_UINT32, bits, 1, 1, 0);
    ASSERT_EQ(qvimage_bmpwrite(nullptr, &image, nullptr, path_.c_str(), nullptr, 0, nullptr, 1, 0, 0), 0);
    const bytes file = file_bytes(path_);
    EXPECT_EQ(file[28], bits);
    EXPECT_EQ(bytes(file.begin() + 54, file.end()), (bytes{1, 2, 3, uint8_t(bits == 32 ? 4 : 0)}));
  }
  uint8_t colours[] = {1, 2, 3, 4, 5, 6};
  const int32_t two[2] = {2, 1};
  qvimage image, palette;
  qvimage_memory(&image, &pixel, one, 0, QVIM_UINT8, 1, 1, 17, 0);
  qvimage_memory(&palette, colours, two, 0, QVIM_UINT8, 0, 3, 67, 0);
  ASSERT_EQ(qvimage_bmpwrite(nullptr, &image, &palette, path_.c_str(), nullptr, 0, nullptr, 0, 1, 0), 0);
  const bytes file = file_bytes(path_);
  EXPECT_EQ(bytes(file.begin() + 54, file.begin() + 62), (bytes{3, 2, 1, 0, 6, 5, 4, 0}));
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
    bytes file = bitmap(6, 5, r.bits);
    for (int i = 0; i < r.size; i++) file[r.at + size_t(i)] = uint8_t(r.value >> 8 * i);
    put_file(path_, file);
    qvimage image;
    bmphandle *h = nullptr;
    EXPECT_EQ(qvimage_bmpread(&image, nullptr, &h, path_.c_str(), nullptr, 0, 0, 0, 0), r.code)
        << qvimage_reason();
    if (r.code < 0) {
      EXPECT_NE(std::string(qvimage_reason()), "");
    }
    if (h) qvimage_bmpreaddone(&image, nullptr, &h);
    // Described and opened whatever the compression is.
    const bool compressed = std::string(r.what) == "RLE";
    qvimagefileinfo info;
    EXPECT_EQ(qvimage_bmpinfo(&info, path_.c_str(), nullptr, 0, 0), compressed ? 0 : r.code);
    if (!compressed) continue;
    EXPECT_EQ(info.bmp_compression, 1u);
    EXPECT_EQ(qvimage_bmpread(&image, nullptr, &h, path_.c_str(), nullptr, 0, 0, 1, 0), 0);
    EXPECT_EQ(qvimage_bmpreaddone(&image, nullptr, &h), 0);
  }
}

TEST_F(Bmp, TheFirstImageOfAnIconIsRead) {
  struct row {
    uint8_t told, colours;  // of the directory
    int height;             // of the image; of two pictures, the second one is the mask
    uint32_t more;          // bytes than there are
    int32_t rows;           // or a code
  };
  for (const row &r : {row{8, 16, 16, 0, 8},
                       {8, 16, -16, 0, 8},
                       {8, 2, 8, 0, 8},
                       {0, 16, 512, 0, 256},
                       {8, 8, 16, 1, QVERR_FORMAT},
                       {8, 0, 16, 0, QVERR_FORMAT},
                       {8, 4, 16, 0, QVERR_FORMAT}}) {
    SCOPED_TRACE(testing::Message() << int(r.told) << ' ' << int(r.colours) << ' ' << r.height);
    const bytes inner = bitmap(8, r.height, 4);
    bytes file;
    put(file, 2, {0, 1, 2});
    put(file, 1, {8, r.told, r.colours, 0});
    put(file, 2, {1, 4});
    put(file, 4, {inner.size() - 14 + r.more, 38, 0, 0, 0, 0});
    file.insert(file.end(), inner.begin() + 14, inner.end());
    put_file(path_, file);
    qvimage image, palette;
    bmphandle *h = nullptr;
    ASSERT_EQ(qvimage_bmpread(&image, &palette, &h, path_.c_str(), nullptr, 0, 0, 0, 1), std::min(r.rows, 0))
        << qvimage_reason();
    if (r.rows < 0) continue;
    ASSERT_EQ(image.imdim.se.y, r.rows);
    // Its rows lie behind the palette: mostly the lowest first, as they do in a bitmap half as high.
    const int last = r.height > 0 ? r.height - 1 : r.rows - 1;
    EXPECT_EQ(pixels_of(image)[size_t(8 * (r.rows - 1))], stored_pixel(inner, 8, r.height, 4, 0, last)[0]);
    qvimagefileinfo info;
    ASSERT_EQ(qvimage_bmpreadinfo(h, &info, 1), 0);
    EXPECT_STREQ(info.type, "ico");
    ASSERT_EQ(qvimage_bmpreaddone(&image, &palette, &h), 0);
  }
}

}  // namespace
