// Numbered series of files: the same for every format they can have, and what is a format's own.
#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/formats.hpp"

namespace {

constexpr int width = 13, height = 6, count = 4;
constexpr int32_t dims[2] = {width, height};

struct series {
  const formats::format &file;
  decltype(&qvimage3_buftiffseq) open;
  decltype(&qvimage3_buftiffseqdone) done;

  friend void PrintTo(const series &s, std::ostream *out) { *out << s.file.name; }
};

class Series : public testing::TestWithParam<series> {
 protected:
  void SetUp() override {
    ASSERT_EQ(qvimage_memory(&frame_, buffer_.data(), dims, 0, of_.type, of_.bits, of_.pixies, of_.hint, 0),
              0);
    for (int z = 0; z < count; z++) {
      qvimage frame = film_.frame(z);
      qvimage3 alone;
      ASSERT_EQ(qvimage_def3from2(&alone, &frame, 0), 0);
      formats::saving how;
      ASSERT_EQ(GetParam().file.write(&alone, &frame, file(z).c_str(), how), 0) << qvimage_reason();
    }
  }
  std::string file(int z) const {
    std::string path = pattern_;
    EXPECT_EQ(pathseq(path.data(), 7 + z, '?'), 1);
    return path;
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
    bytes pixels(n * pixel_);
    EXPECT_EQ(image_.ioset(&image_, mode, uint32_t(image_.d.pixietype), (1u << image_.d.pixies) - 1), 1);
    pixels.resize(image_.ioread(&image_, 0, pixels.data(), n, x, y, z) * pixel_);
    return pixels;
  }
  // Pixels from a row of the film on.
  auto made(int z, int y) const { return film_.pixels.begin() + long(pixel_) * (z * height + y) * width; }
  void expect_made(const bytes &pixels, int z, int y, int n = width) const {
    ASSERT_EQ(pixels.size(), size_t(n) * pixel_);
    for (size_t i = 0; i < pixels.size(); i++)
      ASSERT_NEAR(pixels[i], made(z, y)[long(i)], GetParam().file.tolerance);
  }

  const formats::pixels of_ = GetParam().file.of;
  film film_{of_.type, of_.bits, of_.pixies, of_.hint, width, height, count};
  const size_t pixel_ = film_.pixels.size() / (width * height * count);
  bytes buffer_ = bytes(pixel_ * width * height);
  const temporary_folder folder_;
  const std::string pattern_ = folder_ / (std::string("f??.") + GetParam().file.name);
  qvimage frame_;
  qvimage3 image_;
  seqhandle *h_ = nullptr;
};
INSTANTIATE_TEST_SUITE_P(, Series,
                         testing::Values(series{formats::tiff, qvimage3_buftiffseq, qvimage3_buftiffseqdone},
                                         series{formats::bmp, qvimage3_bufbmpseq, qvimage3_bufbmpseqdone},
                                         series{formats::jpeg, qvimage3_bufjpegseq, qvimage3_bufjpegseqdone},
                                         series{formats::fits, qvimage3_buffitsseq, qvimage3_buffitsseqdone},
                                         series{formats::pnm, qvimage3_bufpgmseq, qvimage3_bufpgmseqdone},
                                         series{formats::raw, qvimage3_bufbinseq, qvimage3_bufbinseqdone}),
                         [](const auto &s) { return std::string(s.param.file.name); });

TEST_P(Series, PlanesAreTheFiles) {
  open(false);
  EXPECT_EQ(image_.imdim.se.z, count);
  const bytes all = read(QVIM_WRAP, width * height * count, 0, 0, 0);
  expect_made(all, 0, 0, width * height * count);
  const bytes along_z = read(QVIM_ZSCAN, count, 0, 2, 0), again = read(0, width, 0, 3, 1);
  expect_made(again, 1, 3);
  for (int z = 0; z < count; z++)
    expect_made(bytes(along_z.begin() + long(pixel_) * z, along_z.begin() + long(pixel_) * (z + 1)), z, 2, 1);
  close();
}

TEST_P(Series, ChangesAreSavedOnlyWhereThatIsAsked) {
  for (const bool writeback : {false, true}) {
    open(writeback);
    ASSERT_EQ(image_.ioset(&image_, QVIM_WRAP, uint32_t(of_.type), (1u << of_.pixies) - 1), 1);
    ASSERT_EQ(image_.iorite(&image_, 0, &*made(3, 0), width * height, 0, 0, 1), uint32_t(width * height));
    expect_made(read(0, width, 0, 3, 1), 3, 3);
    expect_made(read(0, width, 0, 0, 2), 2, 0);
    EXPECT_EQ(command('e'), 0u) << qvimage_reason();
    close();
    open(false);
    expect_made(read(0, width, 0, 3, 1), writeback ? 3 : 1, 3);
    close();
  }
  // 'f' saves at once; 'r' puts another file into a place.
  open(true);
  ASSERT_EQ(image_.ioset(&image_, 0, uint32_t(of_.type), 1), 1);
  ASSERT_EQ(image_.iorite(&image_, 0, &*made(2, 0), 1, 0, 0, 0), 1u);
  const bytes before = file_bytes(file(0));
  EXPECT_EQ(command('f'), 0u);
  EXPECT_NE(file_bytes(file(0)), before);
  EXPECT_EQ(command('r', 0, file(3).c_str()), 0u);
  EXPECT_FALSE(file_exists(file(3)));
  expect_made(read(0, width, 0, 1, 0), 3, 1);
  EXPECT_EQ(int32_t(command('r', 3, file(0).c_str())), QVERR_USAGE);  // that place is empty
  close();
}

TEST_P(Series, AMissingFileIsMissedAtItsPlaneOnly) {
  open(true);
  std::filesystem::remove(file(1));
  expect_made(read(0, width, 0, 0, 0), 0, 0);
  EXPECT_TRUE(read(0, width, 0, 0, 1).empty());
  EXPECT_EQ(int32_t(command('e', 1)), QVERR_NOTFOUND);
  EXPECT_EQ(command('e'), 0u);
  EXPECT_EQ(int32_t(command('p', 1)), QVERR_NOTFOUND);
  EXPECT_EQ(command('p', 2), 0u);
  expect_made(read(0, width, 0, 0, 0), 0, 0);
  close();
  // Of files with the same name none is written over another.
  ASSERT_EQ(GetParam().open(&h_, &image_, &frame_, nullptr, pattern_.c_str(), 0, 98, 107, 1, 0), 0);
  const bytes kept = file_bytes(file(0));
  ASSERT_EQ(image_.ioset(&image_, 0, uint32_t(of_.type), (1u << of_.pixies) - 1), 1);
  ASSERT_EQ(image_.iorite(&image_, 0, &*made(2, 0), 1, 0, 0, 9), 1u)
      << qvimage_reason();  // 107 has the file of 7
  EXPECT_EQ(int32_t(command('f')), QVERR_NOFILE);
  EXPECT_EQ(file_bytes(file(0)), kept);
  close();
}

TEST_P(Series, FaultsAreReportedAndLeaveFramesAndFilesWhole) {
  const bytes none = buffer_;
  const auto load = [&] {
    seqhandle *h = nullptr;
    qvimage3 image;
    int32_t code = GetParam().open(&h, &image, &frame_, nullptr, pattern_.c_str(), 0, 7, 10, 1, 0);
    if (code == 0) code = int32_t(image.aeiou(&image, 'p', 0, 0, nullptr));
    if (h) {
      EXPECT_EQ(GetParam().done(&h, &image), 0);
    }
    return code;
  };
  const auto loaded = [&](const faulted &run) {
    EXPECT_EQ(buffer_ == none, run.fired);
    buffer_ = none;
  };
  expect_faults_reported(load, QVERR_IO, call_read, loaded);
  expect_faults_reported(load, QVERR_NOTFOUND, call_open | call_stat, loaded);

  open(true);
  const std::string spare = folder_ / "spare";
  expect_made(read(0, width, 0, 0, 0), 0, 0);
  bytes before = file_bytes(file(0));
  int changes = 0;
  const auto save = [&] {
    EXPECT_EQ(image_.ioset(&image_, 0, uint32_t(of_.type), (1u << of_.pixies) - 1), 1);
    EXPECT_EQ(image_.iorite(&image_, 0, &*made(changes++ % count, 0), width, 0, 0, 0), uint32_t(width));
    return int32_t(command('f'));
  };
  const auto saved = [&](const faulted &run) {
    if (!run.fired) before = file_bytes(file(0));
    EXPECT_EQ(file_bytes(file(0)), before);
    EXPECT_EQ(folder_.files(), size_t(count));
  };
  const uint32_t transfers = call_read | call_write | call_truncate | call_close | call_sync;
  expect_faults_reported(save, QVERR_IO, transfers, saved);
  expect_faults_reported(save, QVERR_NOTCREATED, call_rename | call_stat, saved);
  const auto replace = [&] { return int32_t(command('r', 1, spare.c_str())); };
  const auto replaced = [&](const faulted &run) {
    EXPECT_EQ(file_exists(spare), run.fired);
    EXPECT_TRUE(file_exists(file(1)));
    put_file(spare, before);
  };
  put_file(spare, before);
  expect_faults_reported(replace, QVERR_USAGE, call_rename, replaced);
  close();
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

  // A frame buffer that takes no pixels.
  const temporary_folder folder;
  const std::string path = folder / "1.bmp";
  ASSERT_EQ(qvimage_bmpwrite(nullptr, &frame, nullptr, path.c_str(), nullptr, 0, nullptr, 0, 0, 0), 0);
  qvimage fixed;
  bmphandle *file = nullptr;
  ASSERT_EQ(qvimage_bmpread(&fixed, nullptr, &file, path.c_str(), nullptr, 0, 0, 0, 0), 0);
  ASSERT_EQ(qvimage3_bufbmpseq(&h, &image, &fixed, nullptr, (folder / "?.bmp").c_str(), 0, 1, 2, 0, 0), 0);
  EXPECT_EQ(int32_t(image.aeiou(&image, 'p', 0, 0, nullptr)), QVERR_IO);
  EXPECT_EQ(image.ioset(&image, 0, QVIM_UINT8, 1), 1);
  EXPECT_EQ(image.ioread(&image, 0, pixels.data(), 1, 0, 0, 0), 0u);
  EXPECT_EQ(int32_t(image.aeiou(&image, 'e', 1, 0, nullptr)), QVERR_IO);
  EXPECT_EQ(qvimage3_bufbmpseqdone(&h, &image), 0);
  EXPECT_EQ(qvimage_bmpreaddone(&fixed, nullptr, &file), 0);
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
