// Numbered series of files: the same for every format they can have, and what is a format's own.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <qvimage/qvimage.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"

namespace {

using bytes = std::vector<uint8_t>;
constexpr int width = 13, height = 6, count = 4;
constexpr int32_t dims[2] = {width, height};
using open_fn = decltype(qvimage3_buftiffseq);
using done_fn = decltype(qvimage3_buftiffseqdone);

struct format {
  const char *name;
  open_fn *open;
  done_fn *done;
  int32_t (*write)(qvimage *image, const char *path);
  int32_t type, bits, pixies, hint;
  int tolerance;  // of coded pixels

  friend void PrintTo(const format &f, std::ostream *out) { *out << f.name; }
};
const format formats[] = {
    {"tif", qvimage3_buftiffseq, qvimage3_buftiffseqdone,
     [](qvimage *i, const char *p) {
       return qvimage_tiffwrite(nullptr, i, nullptr, p, nullptr, 0, 0, nullptr, 0, 0, 0);
     },
     QVIM_UINT16, 12, 1, 1, 0},
    {"bmp", qvimage3_bufbmpseq, qvimage3_bufbmpseqdone,
     [](qvimage *i, const char *p) {
       return qvimage_bmpwrite(nullptr, i, nullptr, p, nullptr, 0, nullptr, 0, 0, 0);
     },
     QVIM_UINT8, 8, 3, 3, 0},
    {"jpg", qvimage3_bufjpegseq, qvimage3_bufjpegseqdone,
     [](qvimage *i, const char *p) {
       qvimagefileinfo o{};
       o.jpg_quality = 1000;
       return qvimage_jpegwrite(nullptr, i, p, nullptr, 0, nullptr, &o);
     },
     QVIM_UINT8, 8, 1, 1, 3},
    {"fits", qvimage3_buffitsseq, qvimage3_buffitsseqdone,
     [](qvimage *i, const char *p) { return qvimage_fitswrite(nullptr, i, 0, p, nullptr, 0, nullptr); },
     QVIM_FLOAT32, 0, 1, 1, 0},
    {"pgm", qvimage3_bufpgmseq, qvimage3_bufpgmseqdone,
     [](qvimage *i, const char *p) { return qvimage_pgmwrite(nullptr, i, p, nullptr, 0, 0, nullptr, 0, 0); },
     QVIM_UINT16, 10, 3, 67, 0},
    {"raw", qvimage3_bufbinseq, qvimage3_bufbinseqdone,
     [](qvimage *i, const char *p) { return qvimage_filewrite(nullptr, i, p, nullptr, 0); }, QVIM_UINT32, 31,
     1, 1, 0}};

// A picture that coders can keep: the value grows with place and frame.
double value(const format &f, int z, size_t i) {
  const double ramp = double(i % 97) + 10 * z;
  return f.type == QVIM_FLOAT32 ? ramp / 4 : ramp;
}
void put(const format &f, bytes &pixels, size_t i, double v) {
  const size_t size = size_t(qvimdatasize(uint32_t(f.type)));
  const float real = float(v);
  const uint64_t whole = uint64_t(v);
  std::memcpy(&pixels[i * size], f.type == QVIM_FLOAT32 ? static_cast<const void *>(&real) : &whole, size);
}
double get(const format &f, const bytes &pixels, size_t i) {
  const size_t size = size_t(qvimdatasize(uint32_t(f.type)));
  float real = 0;
  uint64_t whole = 0;
  std::memcpy(f.type == QVIM_FLOAT32 ? static_cast<void *>(&real) : &whole, &pixels[i * size], size);
  return f.type == QVIM_FLOAT32 ? real : double(whole);
}

class Series : public testing::TestWithParam<format> {
 protected:
  void SetUp() override {
    const format &f = GetParam();
    values_ = size_t(width * height * f.pixies);
    buffer_.resize(values_ * size_t(qvimdatasize(uint32_t(f.type))));
    ASSERT_EQ(qvimage_memory(&frame_, buffer_.data(), dims, 0, f.type, f.bits, f.pixies, f.hint, 0), 0);
    pattern_ = folder_ / (std::string("f??.") + f.name);
    for (int z = 0; z < count; z++) write_file(z);
  }
  std::string file(int z) const {
    std::string path = pattern_;
    EXPECT_EQ(pathseq(path.data(), 7 + z, '?'), 1);
    return path;
  }
  void write_file(int z) {
    const format &f = GetParam();
    bytes pixels(buffer_.size());
    for (size_t i = 0; i < values_; i++) put(f, pixels, i, value(f, z, i));
    qvimage image;
    qvimage_memory(&image, pixels.data(), dims, 0, f.type, f.bits, f.pixies, f.hint, 0);
    ASSERT_EQ(f.write(&image, file(z).c_str()), 0) << qvimage_reason();
  }
  void open(bool writeback) {
    ASSERT_EQ(
        GetParam().open(&h_, &image_, &frame_, nullptr, pattern_.c_str(), 0, 7, 7 + count - 1, writeback, 1),
        0)
        << qvimage_reason();
  }
  void close() { ASSERT_EQ(GetParam().done(&h_, &image_), 0); }
  uint32_t command(char letter, int32_t argument = 0, const char *path = nullptr) {
    return image_.aeiou(&image_, uint32_t(letter), argument, 0, const_cast<char *>(path));
  }
  bytes read(uint32_t mode, uint32_t n, int x, int y, int z) {
    bytes pixels(size_t(n) * size_t(image_.f.pixelsize));
    EXPECT_EQ(image_.ioset(&image_, mode, uint32_t(image_.d.pixietype), (1u << image_.d.pixies) - 1), 1);
    pixels.resize(image_.ioread(&image_, 0, pixels.data(), n, x, y, z) * size_t(image_.f.pixelsize));
    return pixels;
  }
  void expect_values(const bytes &pixels, int z, size_t first, size_t n) {
    const format &f = GetParam();
    ASSERT_EQ(pixels.size(), n * size_t(qvimdatasize(uint32_t(f.type))));
    for (size_t i = 0; i < n; i++) ASSERT_NEAR(get(f, pixels, i), value(f, z, first + i), f.tolerance);
  }

  const temporary_folder folder_;
  std::string pattern_;
  size_t values_ = 0;
  bytes buffer_;
  qvimage frame_;
  qvimage3 image_;
  seqhandle *h_ = nullptr;
};
INSTANTIATE_TEST_SUITE_P(, Series, testing::ValuesIn(formats),
                         [](const auto &f) { return std::string(f.param.name); });

TEST_P(Series, PlanesAreTheFiles) {
  const format &f = GetParam();
  open(false);
  EXPECT_EQ(image_.imdim.se.z, count);
  const bytes all = read(QVIM_WRAP, width * height * count, 0, 0, 0);
  const size_t plane = buffer_.size();
  ASSERT_EQ(all.size(), plane * count) << qvimage_reason();
  for (int z : {2, 0, 3, 1})
    expect_values(bytes(all.begin() + long(plane) * z, all.begin() + long(plane) * (z + 1)), z, 0, values_);
  const bytes along_z = read(QVIM_ZSCAN, count, 3, 2, 0), down = read(QVIM_YSCAN, height, 5, 0, 1);
  for (int z = 0; z < count; z++)
    EXPECT_NEAR(get(f, along_z, size_t(z * f.pixies)), value(f, z, size_t((2 * width + 3) * f.pixies)),
                f.tolerance);
  for (int y = 0; y < height; y++)
    EXPECT_NEAR(get(f, down, size_t(y * f.pixies)), value(f, 1, size_t((y * width + 5) * f.pixies)),
                f.tolerance);
  close();
}

TEST_P(Series, ChangesAreSavedOnlyWhereThatIsAsked) {
  const format &f = GetParam();
  for (const bool writeback : {false, true}) {
    open(writeback);
    bytes row(size_t(width) * size_t(image_.f.pixelsize));
    for (size_t i = 0; i < size_t(width * f.pixies); i++) put(f, row, i, 40);
    ASSERT_EQ(image_.ioset(&image_, 0, uint32_t(f.type), (1u << f.pixies) - 1), 1);
    for (int y = 0; y < height; y++)
      ASSERT_EQ(image_.iorite(&image_, 0, row.data(), width, 0, y, 1), uint32_t(width));
    EXPECT_EQ(read(0, width, 0, 3, 1), row);
    expect_values(read(0, width, 0, 0, 2), 2, 0, size_t(width * f.pixies));
    EXPECT_EQ(command('e'), 0u) << qvimage_reason();
    close();
    open(false);
    const bytes again = read(0, width, 0, 3, 1);
    EXPECT_NEAR(get(f, again, 4), writeback ? 40 : value(f, 1, size_t(3 * width * f.pixies) + 4),
                f.tolerance);
    close();
  }
  // 'f' saves at once; 'r' puts another file into a place.
  open(true);
  bytes pixel(size_t(image_.f.pixelsize));
  put(f, pixel, 0, 41);
  ASSERT_EQ(image_.ioset(&image_, 0, uint32_t(f.type), 1), 1);
  ASSERT_EQ(image_.iorite(&image_, 0, pixel.data(), 1, 0, 0, 0), 1u);
  const bytes before = file_bytes(file(0));
  EXPECT_EQ(command('f'), 0u);
  EXPECT_NE(file_bytes(file(0)), before);
  EXPECT_EQ(command('r', 0, file(3).c_str()), 0u);
  EXPECT_FALSE(file_exists(file(3)));
  expect_values(read(0, width, 0, 1, 0), 3, size_t(width * f.pixies), size_t(width * f.pixies));
  EXPECT_EQ(int32_t(command('r', 3, file(0).c_str())), QVERR_USAGE);  // that place is empty
  close();
}

TEST_P(Series, AMissingFileIsMissedAtItsPlaneOnly) {
  open(true);
  std::filesystem::remove(file(1));
  expect_values(read(0, width, 0, 0, 0), 0, 0, size_t(width * GetParam().pixies));
  EXPECT_TRUE(read(0, width, 0, 0, 1).empty());
  EXPECT_EQ(int32_t(command('e', 1)), QVERR_NOTFOUND);
  EXPECT_EQ(command('e'), 0u);
  EXPECT_EQ(int32_t(command('p', 1)), QVERR_NOTFOUND);
  EXPECT_EQ(command('p', 2), 0u);
  expect_values(read(0, width, 0, 0, 0), 0, 0, size_t(width * GetParam().pixies));
  close();
  // Of files with the same name none is written over another.
  ASSERT_EQ(GetParam().open(&h_, &image_, &frame_, nullptr, pattern_.c_str(), 0, 98, 107, 1, 0), 0);
  const bytes kept = file_bytes(file(0));
  bytes pixel(size_t(image_.f.pixelsize));
  ASSERT_EQ(image_.ioset(&image_, 0, uint32_t(GetParam().type), (1u << GetParam().pixies) - 1), 1);
  ASSERT_EQ(image_.iorite(&image_, 0, pixel.data(), 1, 0, 0, 9), 1u)
      << qvimage_reason();  // 107 has the file of 7
  EXPECT_EQ(int32_t(command('f')), QVERR_NOFILE);
  EXPECT_EQ(file_bytes(file(0)), kept);
  close();
}

TEST_P(Series, FaultsAreReportedAndLeaveFilesWhole) {
  expect_faults_reported(
      [&] {
        seqhandle *h = nullptr;
        qvimage3 image;
        int32_t code = GetParam().open(&h, &image, &frame_, nullptr, pattern_.c_str(), 0, 7, 10, 1, 0);
        if (code == 0) code = int32_t(image.aeiou(&image, 'p', 0, 0, nullptr));
        if (h) {
          EXPECT_EQ(GetParam().done(&h, &image), 0);
        }
        return code;
      },
      QVERR_IO, call_read);
}

TEST(SeriesOf, WhatTheyAreGivenIsJudged) {
  bytes pixels(width * height);
  qvimage frame;
  qvimage_memory(&frame, pixels.data(), dims, 0, QVIM_UINT8, 0, 1, 1, 0);
  seqhandle *h = nullptr;
  qvimage3 image;
  EXPECT_EQ(qvimage3_bufbmpseq(&h, &image, nullptr, nullptr, "f?", 0, 1, 2, 0, 0), QVERR_USAGE);
  EXPECT_EQ(qvimage3_bufbmpseq(&h, &image, &frame, nullptr, nullptr, 0, 1, 2, 0, 0), QVERR_USAGE);
  EXPECT_EQ(qvimage3_bufbmpseq(&h, &image, &frame, nullptr, "f?", 0, 2, 1, 0, 0), QVERR_USAGE);
  EXPECT_STREQ(image.devname, "NULL3");
  ASSERT_EQ(qvimage3_bufbmpseq(&h, &image, &frame, nullptr, "f?", 0, 1, 2, 0, 0), 0);
  qvimage3 other;
  EXPECT_EQ(qvimage3_buftiffseq(&h, &other, &frame, nullptr, "f?", 0, 1, 2, 0, 0), QVERR_HANDLE);
  EXPECT_EQ(qvimage3_buftiffseqdone(&h, nullptr), QVERR_HANDLE);
  ASSERT_EQ(qvimage3_bufbmpseq(&h, &image, &frame, nullptr, "a much longer pattern ???", 0, 1, 900, 0, 0), 0);
  EXPECT_EQ(image.imdim.se.z, 900);
  EXPECT_EQ(qvimage3_bufbmplutseq(&other, &image, &frame), QVERR_USAGE);
  EXPECT_EQ(qvimage3_bufbmpseqdone(&h, &image), 0);
  EXPECT_EQ(qvimage3_bufbmpseqdone(&h, &image), QVERR_USAGE);
}

TEST(SeriesOf, TiffFilesKeepTheirCompressionTextsAndMaps) {
  const temporary_folder folder;
  const std::string path = folder / "t1.tif", pattern = folder / "t?.tif";
  bytes pixels(width * height), colours(16 * 3), shown(16 * 3);
  for (size_t i = 0; i < colours.size(); i++) colours[i] = uint8_t(i * 16 % 256);
  const int32_t map_dims[2] = {16, 1};
  qvimage frame, map, lut;
  qvimage_memory(&frame, pixels.data(), dims, 0, QVIM_UINT8, 4, 1, QVIM_HINT_INDEX, 0);
  qvimage_memory(&map, colours.data(), map_dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0);
  qvimage_memory(&lut, shown.data(), map_dims, 0, QVIM_UINT8, 4, 3, QVIM_HINT_RGB, 0);
  qvimagefileinfo options{};
  char date[] = "2001:02:03 04:05:06";
  options.compression = 5;
  options.datetime = date;
  ASSERT_EQ(qvimage_tiffwrite(nullptr, &frame, &map, path.c_str(), nullptr, 0, 0, &options, 0, 0, 0), 0);
  seqhandle *h = nullptr;
  qvimage3 image, luts;
  ASSERT_EQ(qvimage3_buftiffseq(&h, &image, &frame, &lut, pattern.c_str(), 0, 1, 1, 1, 1), 0);
  ASSERT_EQ(qvimage3_buftifflutseq(&luts, &image, &lut), 0);
  ASSERT_EQ(luts.ioset(&luts, 0, QVIM_UINT8, 7), 1);
  bytes entries(16 * 3);
  ASSERT_EQ(luts.ioread(&luts, 0, entries.data(), 16, 0, 0, 0), 16u) << qvimage_reason();
  for (size_t i = 0; i < entries.size(); i++) EXPECT_EQ(entries[i], colours[i] >> 4);
  ASSERT_EQ(image.ioset(&image, 0, QVIM_UINT8, 1), 1);
  const uint8_t nine = 9;
  ASSERT_EQ(image.iorite(&image, 0, &nine, 1, 2, 2, 0), 1u);
  EXPECT_EQ(image.aeiou(&image, 'f', 0, 0, nullptr), 0u) << qvimage_reason();
  ASSERT_EQ(qvimage3_buftiffseqdone(&h, &image), 0);
  qvimagefileinfo info;
  ASSERT_EQ(qvimage_tiffinfo(&info, path.c_str(), nullptr, 0, 0), 0);
  EXPECT_EQ(info.compression, 5u);
  EXPECT_STREQ(info.datetime, date);
  EXPECT_EQ(info.palette, 1u);
  qvimage_tiffinfodone(&info);
}

TEST(SeriesOf, OtherPixelsThanTheFramesAreConverted) {
  const temporary_folder folder;
  const std::string path = folder / "c1.tif", pattern = folder / "c?.tif";
  std::vector<uint16_t> deep(width * height * 3);
  for (size_t i = 0; i < deep.size(); i++) deep[i] = uint16_t(i * 17 % 4096);
  qvimage file, frame;
  qvimage_memory(&file, deep.data(), dims, 0, QVIM_UINT16, 12, 3, QVIM_HINT_RGB, 0);
  ASSERT_EQ(qvimage_tiffwrite(nullptr, &file, nullptr, path.c_str(), nullptr, 0, 0, nullptr, 0, 0, 0), 0);
  bytes pixels(width * height * 3);
  qvimage_memory(&frame, pixels.data(), dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_BGR, 0);
  seqhandle *h = nullptr;
  qvimage3 image;
  ASSERT_EQ(qvimage3_buftiffseq(&h, &image, &frame, nullptr, pattern.c_str(), 0, 1, 1, 0, 0), 0);
  EXPECT_EQ(image.aeiou(&image, 'p', 0, 0, nullptr), 0u) << qvimage_reason();
  for (size_t i = 0; i < deep.size(); i += 3)
    for (size_t k = 0; k < 3; k++) ASSERT_EQ(pixels[i + k], deep[i + 2 - k] >> 4);
  ASSERT_EQ(qvimage3_buftiffseqdone(&h, &image), 0);
}

}  // namespace
