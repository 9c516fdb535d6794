// JPEG files: what bands, streams and options make of a picture, what comes back, and what is refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <thread>

#include <qvimage/error.h>
#include <qvimage/jpeg.h>
#include <qvimage/memory.h>
#include <qvimage/types.h>

#include "kernels/versions.hpp"
#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/pictures.hpp"

namespace {

// A smooth picture as one record over memory, which threads may copy.
struct picture : film {
  picture(int w, int h, int n)
      : film(QVIM_UINT8, 8, n, n == 1 ? 1 : 64 + n, w, h, 1), width(w), height(h), pixies(n) {
    const int32_t size[2] = {width, height};
    EXPECT_EQ(qvimage_memdata(&image, pixels.data(), 0, size, 0, &film::image.d, nullptr, 0), 0);
  }
  const int width, height, pixies;
  qvimage image;
};

qvimagefileinfo of_quality(int tenths, uint16_t mode = 0) {
  qvimagefileinfo info{};
  info.jpg_quality = tenths;
  info.jpg_encodemode = mode;
  return info;
}

// Codes bands that begin at these rows, the last one first.
int32_t write_bands(picture &p, const std::string &path, std::vector<uint32_t> first_rows,
                    qvimagefileinfo &info, bool threads = false) {
  jpegcontext *c = nullptr;
  const uint32_t bands = uint32_t(first_rows.size()) + 1;
  int32_t code = qvimage_jpegwrite0(&c, bands, nullptr, &p.image, first_rows.data(), path.c_str(), nullptr, 0,
                                    nullptr, &info);
  if (code < 0) return code;
  first_rows.insert(first_rows.begin(), 0);
  first_rows.push_back(uint32_t(p.height));
  const auto encode = [&](uint32_t band) {
    qvimage record = p.image;
    const int32_t rows[2] = {int32_t(first_rows[band]), int32_t(first_rows[band + 1])};
    EXPECT_EQ(qvimage_jpegwrite1(&c, band, nullptr, &record, rows), 0);
  };
  std::vector<std::thread> running;
  for (uint32_t band = bands; band--;) threads ? void(running.emplace_back(encode, band)) : encode(band);
  for (std::thread &t : running) t.join();
  return qvimage_jpegwrite2(&c, nullptr, &p.image, path.c_str(), nullptr, 0);
}

bytes saved(picture &p, const std::string &path, qvimagefileinfo info = of_quality(900)) {
  EXPECT_EQ(qvimage_jpegwrite(nullptr, &p.image, path.c_str(), nullptr, 0, nullptr, &info), 0);
  return file_bytes(path);
}

// As far as it can be read.
bytes pixels_of(const std::string &path, const picture &p) {
  qvimage im;
  jpegcontext *c = nullptr;
  EXPECT_EQ(qvimage_jpegread(&im, &c, path.c_str(), nullptr, 0, nullptr), 0);
  bytes to(p.pixels.size());
  EXPECT_EQ(im.ioset(&im, QVIM_WRAP, QVIM_UINT8, (1u << p.pixies) - 1), 1);
  im.ioread(&im, 0, to.data(), uint32_t(p.width * p.height), 0, 0);
  EXPECT_EQ(qvimage_jpegreaddone(&im, &c), 0);
  return to;
}

int32_t code_of(const std::string &path) {
  qvimage im;
  jpegcontext *c = nullptr;
  const int32_t code = qvimage_jpegread(&im, &c, path.c_str(), nullptr, 0, nullptr);
  EXPECT_EQ(qvimage_jpegreaddone(&im, &c), code < 0 ? -1 : 0);
  return code;
}

}  // namespace

TEST(Jpeg, AnyBandsGiveTheSameFileThreads) {
  const temporary_folder folder;
  for (const int pixies : {1, 3, 4})
    for (const uint16_t mode : {0, 105})
      for (const auto &[width, height] : {std::pair{61, 77}, {8, 16}, {1, 33}, {200, 40}}) {
        picture p(width, height, pixies);
        qvimagefileinfo info = of_quality(870, mode);
        const bytes one = saved(p, folder / "one.jpg", info);
        for (const std::vector<uint32_t> &rows :
             {std::vector<uint32_t>{8}, {8, 8, 24}, {8, 16, 24, 32}, {32}, {0, 0}})
          for (const bool threads : {false, true}) {
            ASSERT_EQ(write_bands(p, folder / "many.jpg", rows, info, threads), 0)
                << width << " x " << height;
            EXPECT_EQ(file_bytes(folder / "many.jpg"), one)
                << width << " x " << height << ", " << rows.size();
          }
      }
}

// Files, their pixels, and what becomes of data that mean any coefficients.
TEST(Jpeg, EveryLevelGivesTheSameBits) {
  const temporary_folder folder;
  const int before = qvim::chosen_level();
  for (const int pixies : {1, 3})
    for (const uint16_t mode : {0, 105})
      for (const int quality : {300, 900, 1000}) {
        picture p(203, 61, pixies);
        const auto results = [&](int level) {
          qvim::choose_level(level);
          bytes file = saved(p, folder / "level.jpg", of_quality(quality, mode));
          const bytes pixels = pixels_of(folder / "level.jpg", p);
          bytes damaged = file;
          for (size_t i = 800; i < damaged.size(); i += 97) damaged[i] &= 0x55;
          put_file(folder / "damaged.jpg", damaged);
          const bytes wild = pixels_of(folder / "damaged.jpg", p);
          return std::vector{file, pixels, wild};
        };
        const auto expected = results(0);
        for (int level = 1; level <= qvim::highest_level(); level++)
          EXPECT_TRUE(results(level) == expected)
              << qvim::level_names[level] << ", quality " << quality << ", mode " << mode;
      }
  qvim::choose_level(before);
}

TEST(Jpeg, WhatFilesSayComesBack) {
  const temporary_folder folder;
  picture p(20, 10, 3);
  qvimagefileinfo info = of_quality(750, 105);
  info.jpg_xdensity = 300;
  info.jpg_ydensity = 150;
  info.jpg_densityunit = 2;
  char first[] = "one", third[] = "EncodeModeless";
  info.jpg_comment[0] = first;
  info.jpg_comment[2] = third;
  saved(p, folder / "i.jpg", info);
  qvimagefileinfo back;
  ASSERT_EQ(qvimage_jpeginfo(&back, (folder / "i.jpg").c_str(), nullptr, 0), 0);
  EXPECT_EQ(back.width, 20u);
  EXPECT_EQ(back.height, 10u);
  EXPECT_EQ(back.pagecount, 1u);
  EXPECT_STREQ(back.type, "jpg");
  EXPECT_EQ(back.data.pixies, 3);
  EXPECT_EQ(back.jpg_quality, 750);
  EXPECT_EQ(back.jpg_encodemode, 105);
  EXPECT_EQ(back.jpg_xdensity, 300);
  EXPECT_EQ(back.jpg_ydensity, 150);
  EXPECT_EQ(back.jpg_densityunit, 2);
  EXPECT_STREQ(back.jpg_comment[0], "one");
  EXPECT_STREQ(back.jpg_comment[1], "EncodeModeless");
  EXPECT_EQ(back.jpg_comment[2], nullptr);
  saved(p, folder / "again.jpg", back);
  EXPECT_EQ(file_bytes(folder / "again.jpg"), file_bytes(folder / "i.jpg"));
  qvimage_jpeginfodone(&back);
  EXPECT_EQ(back.jpg_comment[0], nullptr);
}

// The largest and the smallest quality's tables, what is unknown, and what only seems to be so.
TEST(Jpeg, QualitiesScaleTables) {
  const temporary_folder folder;
  picture p(8, 8, 1);
  const struct {
    int tenths;
    uint8_t known;
    int first, second;  // entries of the luminance table
    int read;
  } cases[] = {{0, 0, 16, 11, 500},   {0, 1, 255, 255, 0},   {9, 0, 255, 255, 9},
               {1000, 0, 1, 1, 1000}, {10, 0, 255, 255, 10}, {250, 0, 32, 22, 250},
               {750, 0, 8, 6, 750},   {5000, 0, 1, 1, 5000}, {-5, 0, 255, 255, -5}};
  for (const auto &c : cases) {
    qvimagefileinfo info = of_quality(c.tenths), back;
    info.jpg_reserved = c.known;
    const bytes file = saved(p, folder / "q.jpg", info);
    const bytes marker = {0xFF, 0xDB, 0, 67, 0};
    const auto at = std::search(file.begin(), file.end(), marker.begin(), marker.end());
    ASSERT_LT(at, file.end());
    EXPECT_EQ(at[5], c.first) << c.tenths;
    EXPECT_EQ(at[6], c.second) << c.tenths;
    ASSERT_EQ(qvimage_jpeginfo(&back, (folder / "q.jpg").c_str(), nullptr, 0), 0);
    EXPECT_EQ(back.jpg_quality, c.read);
    qvimage_jpeginfodone(&back);
  }
}

TEST(Jpeg, CallersStreamsAreWrittenAndReadWhereTheyStand) {
  picture p(30, 20, 3);
  bufio b;
  ASSERT_EQ(bufio_init(&b, nullptr, nullptr, 9, BUFIO_MEMORY), 0);
  b.pos = 1000;
  qvimagefileinfo info = of_quality(900);
  ASSERT_EQ(qvimage_jpegwrite(nullptr, &p.image, nullptr, nullptr, 0, &b, &info), 0);
  const uint64_t end = b.pos;
  EXPECT_EQ(b.filelen, end);
  bufio_io(&b, const_cast<char *>("more"), 4, 'w');
  b.pos = 1000;
  qvimage im;
  jpegcontext *c = nullptr;
  ASSERT_EQ(qvimage_jpegread(&im, &c, nullptr, nullptr, 0, &b), 0);
  bytes to(p.pixels.size());
  ASSERT_EQ(im.ioset(&im, QVIM_WRAP, QVIM_UINT8, 7), 1);
  EXPECT_EQ(im.ioread(&im, 0, to.data(), 600, 0, 0), 600u);
  qvimagefileinfo said;
  ASSERT_EQ(qvimage_jpegreadinfo(c, &said), 0);
  EXPECT_EQ(said.jpg_quality, 0) << "a stream has no comments of ours";
  EXPECT_EQ(qvimage_jpegreaddone(&im, &c), 0);
  EXPECT_EQ(bufio_err(&b), 0);
  b.pos = end;
  EXPECT_EQ(bufio_getc(&b), 'm') << "the stream stays open";
  bufio_done(&b);
}

namespace {

// Bytes of a segment, after its marker and before its length.
using change = std::function<void(bytes &)>;
change put(bytes marker, size_t at, uint8_t value) {
  return [=](bytes &file) {
    const auto found = std::search(file.begin(), file.end(), marker.begin(), marker.end());
    ASSERT_LT(found, file.end());
    found[long(at)] = value;
  };
}
change insert(bytes segment) {
  return [=](bytes &file) { file.insert(file.begin() + 2, segment.begin(), segment.end()); };
}

}  // namespace

TEST(Jpeg, WhatIsNotServedIsRefused) {
  const temporary_folder folder;
  picture p(20, 20, 3);
  const bytes good = saved(p, folder / "good.jpg"), frame = {0xFF, 0xC0}, scan = {0xFF, 0xDA},
              tables = {0xFF, 0xC4, 0, 31, 1};
  const struct {
    const char *what;
    change make;
    int32_t code;
  } cases[] = {{"no start", put({0xFF, 0xD8}, 1, 0xD9), -10},
               {"progressive", put(frame, 1, 0xC2), -11},
               {"arithmetic", put(frame, 1, 0xC9), -11},
               {"12 bits", put(frame, 4, 12), -11},
               {"no height", put(frame, 6, 0), -11},
               {"five components", put(frame, 9, 5), -10},
               {"no components", put(frame, 9, 0), -11},
               {"nothing before the end", insert({0xFF, 0xD9}), -11},
               {"subsampled", put(frame, 11, 0x22), -11},
               {"no such quantisation table", put(frame, 12, 1), 0},
               {"third quantisation table used", put(frame, 12, 2), -10},
               {"third quantisation table", put({0xFF, 0xDB, 0, 67, 1}, 4, 2), -10},
               {"Huffman table of slot 4", put(tables, 4, 4), -10},
               {"tables of slot 3 unset", put(scan, 6, 0x33), -10},
               {"too many codes of one bit", put(tables, 5, 3), -10},
               {"a scan of one component", put(scan, 4, 1), -11},
               {"components exchanged", put(scan, 5, 2), -10},
               {"restart intervals", insert({0xFF, 0xDD, 0, 4, 0, 9}), -11},
               {"no restart intervals", insert({0xFF, 0xDD, 0, 4, 0, 0}), 0},
               {"fill bytes and lone markers", insert({0, 7, 0xFF, 0xFF, 0xD3, 0xFF, 0x01}), 0},
               {"an unknown marker", insert({0xFF, 0x50}), -10},
               {"a segment beyond the end", insert({0xFF, 0xE7, 0xFF, 0xFF}), -10},
               {"a segment shorter than its length", insert({0xFF, 0xE7, 0, 1}), -10},
               {"components as red, green, blue",
                insert({0xFF, 0xEE, 0, 14, 'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 0}), -11}};
  for (const auto &c : cases) {
    bytes file = good;
    c.make(file);
    file.resize(std::max<size_t>(file.size(), good.size()));
    put_file(folder / "bad.jpg", file);
    EXPECT_EQ(code_of(folder / "bad.jpg"), c.code) << c.what;
    EXPECT_EQ(*qvimage_reason() != 0, c.code < 0) << c.what;
  }
  EXPECT_EQ(code_of(folder / "none.jpg"), -13);
  const struct {
    uint8_t factors[3];
    const char *reason;
  } samplings[] = {{{0x22, 0x11, 0x11}, "4:2:0 subsampled"},
                   {{0x12, 0x11, 0x11}, "4:4:0 subsampled"},
                   {{0x21, 0x11, 0x21}, "subsampled"},
                   {{0x12, 0x12, 0x12}, "sampling factors 1 x 2 of every component"}};
  for (const auto &s : samplings) {
    bytes file = good;
    for (size_t i = 0; i < 3; i++) put(frame, 11 + 3 * i, s.factors[i])(file);
    put_file(folder / "bad.jpg", file);
    EXPECT_EQ(code_of(folder / "bad.jpg"), -11);
    EXPECT_STREQ(qvimage_reason(), s.reason);
  }
}

TEST(Jpeg, WhatCannotBeWrittenIsRefused) {
  const temporary_folder folder;
  const std::string path = folder / "w.jpg";
  picture p(24, 24, 3), two(24, 24, 2), long_one(65536, 1, 1);
  jpegcontext *c = nullptr, *set = reinterpret_cast<jpegcontext *>(&p);
  const uint32_t rows[2] = {8, 12}, falling[2] = {16, 8};
  const int32_t size[2] = {4, 4};
  const auto begin = [&](jpegcontext **to, uint32_t bands, qvimage *image, const uint32_t *first,
                         const char *name) {
    return qvimage_jpegwrite0(to, bands, nullptr, image, first, name, nullptr, 0, nullptr, nullptr);
  };
  EXPECT_EQ(begin(nullptr, 1, &p.image, nullptr, path.c_str()), -1);
  EXPECT_EQ(begin(&set, 1, &p.image, nullptr, path.c_str()), -1);
  EXPECT_EQ(begin(&c, 0, &p.image, nullptr, path.c_str()), -1);
  EXPECT_EQ(begin(&c, 246385, &p.image, rows, path.c_str()), -1);
  EXPECT_EQ(begin(&c, 3, &p.image, rows, path.c_str()), -1) << "not a multiple of 8";
  EXPECT_EQ(begin(&c, 3, &p.image, falling, path.c_str()), -1);
  EXPECT_EQ(begin(&c, 1, &long_one.image, nullptr, path.c_str()), -1);
  EXPECT_EQ(begin(&c, 1, &two.image, nullptr, path.c_str()), -19);
  EXPECT_EQ(qvimage_jpegwrite1(&c, 0, nullptr, &p.image, size), -1);
  EXPECT_TRUE(folder.empty());

  // A band that is not there, rows out of turn, another image, and a file without all its rows.
  const int32_t all[2] = {0, 24}, some[2] = {0, 8}, later[2] = {16, 24};
  ASSERT_EQ(begin(&c, 1, &p.image, nullptr, path.c_str()), 0);
  EXPECT_EQ(qvimage_jpegreadinfo(c, nullptr), -64);
  EXPECT_EQ(qvimage_jpegwrite1(&c, 1, nullptr, &p.image, all), -1);
  EXPECT_EQ(qvimage_jpegwrite1(&c, 0, nullptr, &p.image, some), 0);
  EXPECT_EQ(qvimage_jpegwrite2(&c, nullptr, &p.image, path.c_str(), nullptr, 0), -1) << "rows are missing";
  EXPECT_TRUE(folder.empty());
  ASSERT_EQ(begin(&c, 1, &p.image, nullptr, path.c_str()), 0);
  EXPECT_EQ(qvimage_jpegwrite1(&c, 0, nullptr, &p.image, later), -1);
  EXPECT_EQ(qvimage_jpegwrite1(&c, 0, nullptr, &two.image, some), -19);
  EXPECT_EQ(qvimage_jpegwrite2(&c, nullptr, &p.image, path.c_str(), nullptr, 0), -19)
      << "the worst result of a band";
  EXPECT_TRUE(folder.empty());

  // What a callback answers ends the band, and the file.
  ASSERT_EQ(begin(&c, 1, &p.image, nullptr, path.c_str()), 0);
  const auto callback = [](int64_t row, int64_t) { return row == 16 ? 7 : 0; };
  EXPECT_EQ(qvimage_jpegwrite1(&c, 0, callback, &p.image, all), 7);
  EXPECT_EQ(qvimage_jpegwrite2(&c, nullptr, &p.image, path.c_str(), nullptr, 0), 7);
  EXPECT_TRUE(folder.empty());
}

TEST(Jpeg, FaultsInBandsAreReportedAndLeaveNothing) {
  const temporary_folder folder;
  picture p(90, 70, 3);
  qvimagefileinfo info = of_quality(950);
  const auto write = [&] { return write_bands(p, folder / "new.jpg", {16, 48}, info); };
  const auto check = [&](const faulted &run) {
    EXPECT_EQ(file_exists(folder / "new.jpg"), !run.fired);
    std::filesystem::remove(folder / "new.jpg");
  };
  expect_faults_reported(write, -7, call_read | call_write | call_close | call_truncate, check);
  expect_faults_reported(write, -14, call_open | call_stat, check);
}
