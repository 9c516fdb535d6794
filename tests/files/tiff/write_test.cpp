// TIFF files as they are written, judged by a parser and by decoders of the test's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <numeric>
#include <thread>

#include <qvimage/tiff.h>

#include "tests/files/tiff/saved.hpp"

namespace {

using testing::ElementsAre;

// --- what stands in a page

struct kind {
  const char *name;
  int32_t type, bits, pixies, hint;
  uint64_t photometric, samples, stored_bits;
  orders exchanged;
};

constexpr kind kinds[] = {
    {"one bit", 1, 1, 1, QVIM_HINT_GREY, 1, 1, 1, {}},
    {"three bits", 1, 3, 1, QVIM_HINT_GREY, 1, 1, 3, {}},
    {"bytes", 1, 8, 1, QVIM_HINT_GREY, 1, 1, 8, {}},
    {"twelve bits", 2, 12, 1, QVIM_HINT_GREY, 1, 1, 12, {}},
    {"sixteen bits", 2, 16, 1, QVIM_HINT_GREY, 1, 1, 16, {}},
    {"few bits in a wide container", 4, 5, 1, QVIM_HINT_GREY, 1, 1, 5, {}},
    {"bytes in a wide container", 2, 8, 1, QVIM_HINT_GREY, 1, 1, 8, {}},
    {"sixteen bits in a wide container", 4, 16, 3, QVIM_HINT_RGB, 2, 3, 16, {}},
    {"bytes in a wide container, with a pad", 4, 8, 4, QVIM_HINT_BGRPAD, 2, 3, 8, {true, false}},
    {"twenty-four bits", 4, 24, 1, QVIM_HINT_GREY, 1, 1, 24, {}},
    {"twenty-nine bits", 4, 29, 1, QVIM_HINT_GREY, 1, 1, 29, {}},
    {"thirty-two bits", 4, 32, 1, QVIM_HINT_GREY, 1, 1, 32, {}},
    {"float", 16, 0, 1, QVIM_HINT_GREY, 1, 1, 32, {}},
    {"double, three", 32, 0, 3, QVIM_HINT_BGR, 2, 3, 64, {true, false}},
    {"complex", 16, 0, 2, QVIM_HINT_COMPLEX, 1, 2, 32, {}},
    {"two components", 1, 8, 2, QVIM_HINT_UNKNOWN, 1, 2, 8, {}},
    {"RGB", 1, 8, 3, QVIM_HINT_RGB, 2, 3, 8, {}},
    {"BGR", 1, 8, 3, QVIM_HINT_BGR, 2, 3, 8, {true, false}},
    {"RGB of 12 bits", 2, 12, 3, QVIM_HINT_RGB, 2, 3, 12, {}},
    {"RGB with a pad", 1, 8, 4, QVIM_HINT_RGBPAD, 2, 3, 8, {}},
    {"BGR with a pad, 16 bits", 2, 16, 4, QVIM_HINT_BGRPAD, 2, 3, 16, {true, false}},
    {"BGR with a pad, 32 bits", 4, 32, 4, QVIM_HINT_BGRPAD, 2, 3, 32, {true, false}},
    {"doubles with a pad", 32, 0, 4, QVIM_HINT_RGBPAD, 2, 3, 64, {}},
    {"luminance and chroma", 1, 8, 3, QVIM_HINT_YCRCB, 6, 3, 8, {false, true}},
    {"luminance and chroma, 10 bits", 2, 10, 3, QVIM_HINT_YCRCB, 6, 3, 10, {false, true}},
    {"four components, second and third exchanged", 2, 16, 4, QVIM_HINT_YCRCBPAD, 1, 4, 16, {false, true}},
    {"CMYK", 1, 8, 4, QVIM_HINT_CMYK, 5, 4, 8, {}},
    {"CMYK, first and third exchanged", 2, 9, 4, QVIM_HINT_CMYK, 5, 4, 9, {true, false}},
    {"three of no colour", 2, 16, 3, QVIM_HINT_UNKNOWN, 1, 3, 16, {}},
};

bool served(const kind &k, uint32_t compression) {
  if (k.type >= 16) return compression == 1;
  return (compression != 32885 && compression != 33397) || k.bits <= 12;
}

// A big-endian file with an empty directory is one line of bytes: what is appended keeps to its order.
const bytes classic = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1, 0, 0, 3, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};
const bytes big = {'M', 'M', 0, 43, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 16,
                   0,   0,   0, 0,  0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};

TEST_F(TiffWrite, PagesHoldTheirPixelsInEveryFormAndCompression) {
  const struct {
    uint32_t flags;
    bytes before;  // in the file
  } forms[] = {{0, {}}, {QVIM_MSB | QVIM_DIRTY, {}}, {QVIM_SWAPPED | QVIM_DIRTY, {}}, {0, classic}, {0, big}};
  for (const kind &k : kinds)
    for (uint32_t compression : {1u, 5u, 517u, 32773u, 32885u, 33397u})
      for (const auto &[flags, before] : forms) {
        SCOPED_TRACE(testing::Message() << k.name << ", compression " << compression << ", flags " << flags
                                        << ", behind " << before.size() << " bytes");
        const bool appended = !before.empty();
        frame f(61, 23, k.type, k.bits, k.pixies, k.hint, flags);
        std::remove(path.c_str());
        if (appended) put_file(path, before);
        qvimagefileinfo options = options_for(compression, 700, flags ? 43 : 42);
        const int32_t code = save(f, path, &options, appended, k.exchanged);
        if (!served(k, compression)) {
          EXPECT_EQ(code, -1);
          EXPECT_EQ(file_exists(path), appended);
          EXPECT_EQ(file_bytes(path), before);
          continue;
        }
        ASSERT_EQ(code, 0);
        const parsed_tiff file(file_bytes(path));
        EXPECT_EQ(file.bigtiff, flags != 0 || before == big);
        ASSERT_EQ(file.pages.size(), appended ? 2u : 1u);
        const parsed_page &page = file.pages.back();
        EXPECT_EQ(page.value(262), k.photometric);
        EXPECT_EQ(page.value(277), k.samples);
        EXPECT_THAT(page.tags.at(258).values, testing::Each(k.stored_bits));
        EXPECT_EQ(page.tags.at(258).values.size(), k.samples);
        EXPECT_EQ(page.tags.count(339), k.type >= 16 ? 1u : 0u);
        const bool coded = compression != 1 && compression != 32773;
        ASSERT_EQ(page.tags.count(317), coded ? 1u : 0u);
        const bool whole = k.stored_bits == 8 || k.stored_bits == 16;
        const bool differenced = compression == 33397 || (compression == 517 && whole);
        if (coded) {
          EXPECT_EQ(page.value(317), differenced ? 2u : 1u);
        }
        ASSERT_EQ(page.tags.count(530), k.photometric == 6 ? 1u : 0u);
        const uint64_t extra = k.photometric < 2 ? k.samples - 1 : 0;
        EXPECT_EQ(page.tags.count(338) ? page.tags.at(338).values.size() : 0, extra);
        if (k.photometric == 6) {
          EXPECT_THAT(page.tags.at(530).values, ElementsAre(1, 1));
        }
        EXPECT_TRUE(std::is_sorted(page.order.begin(), page.order.end()));
        expect_content(file, page, rows_of(f, int(k.samples), compression, appended, k.exchanged));
      }
}

TEST_F(TiffWrite, TagsHaveTheTypesThatTheirValuesNeed) {
  frame small(640, 48, 1, 8, 1, QVIM_HINT_GREY), wide(70000, 10, 1, 8, 1, QVIM_HINT_GREY);
  ASSERT_EQ(save(small, path), 0);
  const parsed_tiff narrow_file(file_bytes(path));
  EXPECT_THAT(narrow_file.pages[0].order,
              ElementsAre(254, 256, 257, 258, 259, 262, 273, 277, 278, 279, 284, 306));
  const int shorts[] = {256, 257, 258, 259, 262, 277, 284}, longs[] = {254, 273, 278, 279};
  for (int tag : shorts) EXPECT_EQ(narrow_file.pages[0].tags.at(uint16_t(tag)).type, 3) << tag;
  for (int tag : longs) EXPECT_EQ(narrow_file.pages[0].tags.at(uint16_t(tag)).type, 4) << tag;
  EXPECT_EQ(narrow_file.pages[0].tags.at(306).type, 2);
  EXPECT_EQ(narrow_file.pages[0].tags.at(306).values.size(), 20u);
  ASSERT_EQ(save(wide, path), 0);
  const parsed_tiff wide_file(file_bytes(path));
  EXPECT_EQ(wide_file.pages[0].tags.at(256).type, 4);
  EXPECT_EQ(wide_file.pages[0].tags.at(257).type, 4);
  EXPECT_EQ(wide_file.pages[0].value(256), 70000u);
}

TEST_F(TiffWrite, StripsFollowTheSizeAskedFor) {
  frame f(100, 50, 2, 16, 1, QVIM_HINT_GREY);  // rows of 200 bytes
  struct {
    uint64_t size, rows, strips;
  } cases[] = {{0, 50, 1},   {~0ull, 50, 1}, {1, 1, 50},   {399, 1, 50},
               {400, 2, 25}, {1400, 7, 8},   {5000, 25, 2}};
  for (uint32_t version : {42u, 43u})
    for (const auto &c : cases) {
      SCOPED_TRACE(testing::Message() << c.size << " bytes, version " << version);
      qvimagefileinfo options = options_for(5, c.size, version);
      ASSERT_EQ(save(f, path, &options), 0);
      const parsed_tiff file(file_bytes(path));
      const parsed_page &page = file.pages[0];
      EXPECT_EQ(page.value(278), c.rows);
      for (uint16_t tag : {uint16_t(273), uint16_t(279)}) {
        EXPECT_EQ(page.tags.at(tag).values.size(), c.strips);
        EXPECT_EQ(page.tags.at(tag).type, 4);
        EXPECT_EQ(page.tags.at(tag).is_inline, c.strips <= (version == 43 ? 2u : 1u));
      }
      expect_content(file, page, rows_of(f, 1, 5, false));
    }
}

TEST_F(TiffWrite, StringsAndResolutionComeFromTheOptions) {
  frame f(8, 8, 1, 8, 1, QVIM_HINT_GREY);
  qvimagefileinfo options = options_for(1);
  char three[] = "abc", four[] = "abcd", one[] = "x", time[] = "2001:02:03 04:05:06";
  options.description = three;
  options.software = four;
  options.copyright = one;
  options.datetime = time;
  options.xres[0] = 7200, options.xres[1] = 25;
  options.resunit = 3;
  ASSERT_EQ(save(f, path, &options), 0);
  const parsed_tiff file(file_bytes(path));
  const auto &tags = file.pages[0].tags;
  EXPECT_EQ(tags.at(270).text(), std::string("abc\0", 4));
  EXPECT_EQ(tags.at(305).text(), std::string("abcd\0\0", 6));
  EXPECT_EQ(tags.at(33432).text(), std::string("x\0", 2));
  EXPECT_EQ(tags.at(306).text(), std::string("2001:02:03 04:05:06\0", 20));
  EXPECT_THAT(tags.at(282).values, ElementsAre(7200, 25));
  EXPECT_EQ(tags.count(283), 0u);
  EXPECT_EQ(tags.at(296).values.at(0), 3u);
}

TEST_F(TiffWrite, APaletteBecomesTheColourMap) {
  frame index(9, 5, 1, 4, 1, QVIM_HINT_INDEX);
  struct {
    int32_t type, bits, pixies;
  } palettes[] = {{1, 8, 3}, {2, 16, 3}, {2, 12, 3}, {1, 8, 4}, {4, 32, 3}};
  for (const auto &c : palettes)
    for (bool swapped : {false, true}) {
      SCOPED_TRACE(testing::Message() << "palette of type " << c.type << ", " << c.bits << " bits");
      frame palette(16, 1, c.type, c.bits, c.pixies, QVIM_HINT_RGB);
      ASSERT_EQ(qvimage_tiffwrite(nullptr, &index.image, &palette.image, path.c_str(), nullptr, 0, 0, nullptr,
                                  0, swapped, 0),
                0);
      const parsed_tiff file(file_bytes(path));
      const parsed_page &page = file.pages[0];
      EXPECT_EQ(page.value(262), 3u);
      const auto &map = page.tags.at(320);
      EXPECT_EQ(map.type, 3);
      ASSERT_EQ(map.values.size(), 48u);
      for (size_t i = 0; i < 16; i++)
        for (size_t component = 0; component < 3; component++) {
          const uint64_t number =
              palette.numbers[i * size_t(c.pixies) + (swapped ? 2 - component : component)];
          // The number on the scale of 16 bits; what lies below the palette's own bits repeats them.
          const uint64_t scaled = c.bits >= 16  ? number >> (c.bits - 16)
                                  : c.bits == 8 ? number * 257
                                                : number << (16 - c.bits) | number >> (2 * c.bits - 16);
          EXPECT_EQ(map.values[component * 16 + i], scaled);
        }
    }
  for (int32_t type : {QVIM_FLOAT32, QVIM_FLOAT64}) {  // fractions of full scale
    frame real(16, 1, type, 0, 3, QVIM_HINT_RGB);
    for (size_t i = 0; i < 48; i++) {
      const double value = double(i) / 47;
      const uint64_t bits = frame::float_bits(type, value);
      std::memcpy(&real.stored[i * real.stored.size() / 48], &bits, real.stored.size() / 48);
    }
    ASSERT_EQ(save(index, path, nullptr, 0, {}, &real.image), 0);
    const auto map = parsed_tiff(file_bytes(path)).pages[0].tags.at(320).values;
    for (size_t i = 0; i < 48; i++) EXPECT_NEAR(double(map[i % 3 * 16 + i / 3]), double(i) / 47 * 65535, 1.0);
  }
}

// --- several pages

TEST_F(TiffWrite, PagesAreAppendedAfterTheOneAskedFor) {
  for (uint32_t version : {42u, 43u}) {
    qvimagefileinfo options = options_for(32773, 0, version);
    std::remove(path.c_str());
    for (int page = 0; page < 3; page++) {
      frame f(10 + page, 3, 1, 8, 1, QVIM_HINT_GREY);
      ASSERT_EQ(save(f, path, &options, page), 0);
    }
    const bytes before = file_bytes(path);
    frame last(77, 9, 1, 8, 3, QVIM_HINT_RGB);
    ASSERT_EQ(save(last, path, nullptr, 3), 0);
    const parsed_tiff file(file_bytes(path));
    EXPECT_EQ(file.bigtiff, version == 43);
    ASSERT_EQ(file.pages.size(), 4u);
    for (size_t page = 0; page < 3; page++) EXPECT_EQ(file.pages[page].value(256), 10 + page);
    EXPECT_EQ(file.number(file.pages[2].link_position, version == 43 ? 8 : 4), file.pages[3].position);
    EXPECT_EQ(file.pages[3].position % 2, 0u);
    expect_content(file, file.pages[3], rows_of(last, 3, 1, false));
    // Nothing of the old file but the last link has changed.
    bytes old(file.bytes.begin(), file.bytes.begin() + long(before.size()));
    std::fill_n(old.begin() + long(file.pages[2].link_position), version == 43 ? 8 : 4, uint8_t(0));
    EXPECT_EQ(old, before);
    EXPECT_EQ(save(last, path, nullptr, 9), -10) << "pages that are not there";
    EXPECT_EQ(file_bytes(path), file.bytes);
  }
}

// Files beyond 4 GiB have a hole where other writers' data would be.
TEST_F(TiffWrite, ClassicFilesEndAtFourGibibytesAndBigOnesDoNot) {
  frame f(100, 60, 1, 8, 1, QVIM_HINT_GREY);
  const struct {
    uint32_t version;
    uint64_t length;
    int32_t code;
  } cases[] = {{42, 0xFFFFFFFF - 6000 - 400, 0},
               {42, 0xFFFFFFFF - 6000 - 100, -10},
               {42, 0xFFFFFFF0, -10},
               {42, 0x140000000, -10},
               {43, 0xFFFFFFF0, 0},
               {43, 0x140000000, 0}};
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "version " << c.version << ", " << c.length << " bytes");
    qvimagefileinfo options = options_for(1, 3000, c.version);
    std::remove(path.c_str());
    ASSERT_EQ(save(f, path, &options), 0);
    ASSERT_EQ(truncate(path.c_str(), off_t(c.length)), 0);
    EXPECT_EQ(save(f, path, &options, 1), c.code);
    qvimage image;
    tiffhandle *h = nullptr;
    const int32_t found = qvimage_tiffread(&image, nullptr, &h, path.c_str(), nullptr, 0, 1, 0);
    EXPECT_EQ(found, c.code);
    if (c.code < 0) {
      EXPECT_EQ(std::filesystem::file_size(path), c.length);
      continue;
    }
    bytes pixels(6000);
    ASSERT_EQ(found, 0);
    ASSERT_EQ(image.ioset(&image, QVIM_WRAP, QVIM_UINT8, 1), 1);
    EXPECT_EQ(image.ioread(&image, 0, pixels.data(), 6000, 0, 0), 6000u);
    EXPECT_EQ(pixels, f.stored);
    EXPECT_EQ(qvimage_tiffreaddone(&image, nullptr, &h), 0);
  }
}

// --- bands

// Name: picked up by the thread sanitizer's run.
class TiffWriteThreads : public TiffWrite {};
TEST_F(TiffWriteThreads, BandsOfOnePageAreCodedByDifferentThreads) {
  frame f(123, 97, 2, 12, 1, QVIM_HINT_GREY);
  const uint32_t size[] = {123, 97};
  for (uint32_t compression : {1u, 5u, 32773u, 33397u})
    for (int32_t bands : {1, 2, 3, 7, 97}) {
      SCOPED_TRACE(testing::Message() << bands << " bands, compression " << compression);
      qvimagefileinfo options = options_for(compression, 2000);
      tiffhandle *h = nullptr;
      ASSERT_EQ(qvimage_tiffwriteopen(&h, bands, size, &f.d, path.c_str(), nullptr, 1024, 0, &options), 0);
      for (int page = 0; page < 2; page++) {
        ASSERT_EQ(qvimage_tiffwritesetup(&h, &f.image, nullptr, &options, 0, 0, 0, page > 0), 0);
        ASSERT_EQ(qvimage_tiffwriteifdinit(&h), 0);
        std::vector<std::thread> threads;
        std::vector<int32_t> codes(size_t(bands), -99);
        std::vector<qvimage> images(size_t(bands), f.image);
        for (int32_t band = 0; band < bands; band++)
          threads.emplace_back([&, band] {
            codes[size_t(band)] = qvimage_tiffwritedata(&h, nullptr, &images[size_t(band)], band);
          });
        for (auto &t : threads) t.join();
        EXPECT_THAT(codes, testing::Each(0));
        ASSERT_EQ(qvimage_tiffwriteifdfini(&h), 0);
      }
      EXPECT_EQ(qvimage_tiffclose(&h), 0);
      EXPECT_EQ(qvimage_tifffini(&h, bands), 0);
      EXPECT_EQ(h, nullptr);
      const parsed_tiff file(file_bytes(path));
      ASSERT_EQ(file.pages.size(), 2u);
      for (const parsed_page &page : file.pages)
        expect_content(file, page, rows_of(f, 1, compression, false));
    }
  tiffhandle *h = nullptr;
  ASSERT_EQ(qvimage_tiffwriteopen(&h, 98, size, &f.d, path.c_str(), nullptr, 0, 0, nullptr), 0);
  EXPECT_EQ(qvimage_tiffwritesetup(&h, &f.image, nullptr, nullptr, 0, 0, 0, 0), -1) << "more bands than rows";
  qvimage_tifffini(&h, 98);
}

TEST_F(TiffWrite, APageOfWhichABandIsMissingIsNotLinked) {
  frame f(40, 50, 1, 8, 1, QVIM_HINT_GREY);
  tiffhandle *h = nullptr;
  ASSERT_EQ(qvimage_tiffwriteopen(&h, 3, nullptr, nullptr, path.c_str(), nullptr, 0, 0, nullptr), 0);
  for (int page = 0; page < 2; page++) {
    ASSERT_EQ(qvimage_tiffwritesetup(&h, &f.image, nullptr, nullptr, 0, 0, 0, page), 0);
    ASSERT_EQ(qvimage_tiffwriteifdinit(&h), 0);
    for (int32_t band : {2, 0, 2, 0}) ASSERT_EQ(qvimage_tiffwritedata(&h, nullptr, &f.image, band), 0);
    EXPECT_EQ(qvimage_tiffwriteifdfini(&h), -1);
    if (page == 0) {
      for (int32_t band : {1, 1, 0})
        ASSERT_EQ(qvimage_tiffwritedata(&h, nullptr, &f.image, band), 0) << "also once more";
      EXPECT_EQ(qvimage_tiffwriteifdfini(&h), 0);
    }
  }
  EXPECT_EQ(qvimage_tifffini(&h, 3), 0);
  const parsed_tiff file(file_bytes(path));
  ASSERT_EQ(file.pages.size(), 1u);
  expect_content(file, file.pages[0], rows_of(f, 1, 1, false));
}

}  // namespace
