// TIFF files as they are written, judged by a parser and by decoders of the test's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <numeric>
#include <thread>

#include <qvimage/codec.h>
#include <qvimage/null.h>
#include <qvimage/tiff.h>
#include <qvimage/views.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/frame.hpp"
#include "tests/files/tiff_parse.hpp"

namespace {

using testing::ElementsAre;
using bytes = std::vector<uint8_t>;

// --- decoders

bytes unpackbits(const bytes &in) {
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

bytes unlzw(const bytes &in) {
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
      at += width;
      width = 9;
      at -= width;
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

bytes unarithmetic(const bytes &in, int bits, int width, int samples, int rows) {
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

std::vector<uint64_t> differences(std::vector<uint64_t> row, int samples, int bits) {
  for (size_t i = row.size(); i-- > size_t(samples);)
    row[i] = (row[i] - row[i - size_t(samples)]) & ((1ull << bits) - 1);
  return row;
}

// All rows of a page as they were before compression.
bytes content(const parsed_tiff &file, const parsed_page &page) {
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

bytes expected_content(const frame &f, int samples, uint32_t compression, bool big_endian, orders o = {}) {
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

qvimagefileinfo options_for(uint32_t compression, uint64_t stripsize = 0, uint32_t version = 42) {
  qvimagefileinfo options{};
  options.compression = compression;
  options.stripsize = stripsize;
  options.version = version;
  return options;
}

int32_t save(frame &f, const std::string &path, qvimagefileinfo *options = nullptr, int64_t append = 0,
             orders o = {}, qvimage *palette = nullptr, qvimagecallback callback = nullptr) {
  return qvimage_tiffwrite(callback, &f.image, palette, path.c_str(), nullptr, 0, append, options, o.rgb, 0,
                           o.ycc);
}

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

TEST(TiffWrite, PagesHoldTheirPixelsInEveryFormAndCompression) {
  temporary_folder folder;
  for (const kind &k : kinds)
    for (uint32_t compression : {1u, 5u, 517u, 32773u, 32885u, 33397u})
      for (uint32_t flags : {0u, uint32_t(QVIM_MSB | QVIM_DIRTY), uint32_t(QVIM_SWAPPED | QVIM_DIRTY)}) {
        SCOPED_TRACE(testing::Message() << k.name << ", compression " << compression << ", flags " << flags);
        frame f(61, 23, k.type, k.bits, k.pixies, k.hint, flags);
        const std::string path = folder / "a.tif";
        std::remove(path.c_str());
        qvimagefileinfo options = options_for(compression, 700, flags ? 43 : 42);
        const int32_t code = save(f, path, &options, 0, k.exchanged);
        if (!served(k, compression)) {
          EXPECT_EQ(code, -1);
          EXPECT_FALSE(file_exists(path));
          continue;
        }
        ASSERT_EQ(code, 0);
        const parsed_tiff file(file_bytes(path));
        EXPECT_EQ(file.bigtiff, flags != 0);
        ASSERT_EQ(file.pages.size(), 1u);
        const parsed_page &page = file.pages[0];
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
        EXPECT_EQ(content(file, page), expected_content(f, int(k.samples), compression, false, k.exchanged));
      }
}

TEST(TiffWrite, TagsHaveTheTypesThatTheirValuesNeed) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  frame small(640, 48, 1, 8, 1, QVIM_HINT_GREY), wide(70000, 10, 1, 8, 1, QVIM_HINT_GREY);
  ASSERT_EQ(save(small, path), 0);
  const parsed_tiff narrow_file(file_bytes(path));
  EXPECT_THAT(narrow_file.pages[0].order,
              ElementsAre(254, 256, 257, 258, 259, 262, 273, 277, 278, 279, 284, 306));
  for (const auto &[tag, type] : std::map<int, int>{{254, 4},
                                                    {256, 3},
                                                    {257, 3},
                                                    {258, 3},
                                                    {259, 3},
                                                    {262, 3},
                                                    {273, 4},
                                                    {277, 3},
                                                    {278, 4},
                                                    {279, 4},
                                                    {284, 3},
                                                    {306, 2}})
    EXPECT_EQ(narrow_file.pages[0].tags.at(uint16_t(tag)).type, type) << tag;
  EXPECT_EQ(narrow_file.pages[0].tags.at(306).values.size(), 20u);
  ASSERT_EQ(save(wide, path), 0);
  const parsed_tiff wide_file(file_bytes(path));
  EXPECT_EQ(wide_file.pages[0].tags.at(256).type, 4);
  EXPECT_EQ(wide_file.pages[0].tags.at(257).type, 4);
  EXPECT_EQ(wide_file.pages[0].value(256), 70000u);
}

TEST(TiffWrite, StripsFollowTheSizeAskedFor) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
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
      EXPECT_EQ(content(file, page), expected_content(f, 1, 5, false));
    }
}

TEST(TiffWrite, StringsAndResolutionComeFromTheOptions) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
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

TEST(TiffWrite, APaletteBecomesTheColourMap) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
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
  frame short_palette(15, 1, 1, 8, 3, QVIM_HINT_RGB), grey(16, 1, 1, 8, 1, QVIM_HINT_GREY);
  for (qvimage *bad : {&short_palette.image, &grey.image}) {
    std::remove(path.c_str());
    EXPECT_EQ(save(index, path, nullptr, 0, {}, bad), -1);
    EXPECT_FALSE(file_exists(path));
  }
}

// --- several pages

TEST(TiffWrite, AVolumeBecomesAPageAPlane) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  frame flat(13, 4 * 5, 2, 12, 1, QVIM_HINT_GREY);  // five planes of four lines
  const int32_t dims[] = {13, 4, 5};
  qvimage3 volume;
  ASSERT_EQ(
      qvimage3_memdata(&volume, flat.stored.data(), flat.stored.size(), dims, 0, 0, &flat.d, nullptr, 0), 0);
  qvyzwindow window{{2, 1, 1}, {12, 4, 4}};
  ASSERT_NE(volume.xwind(&volume, &window, 's'), nullptr);
  static std::vector<std::pair<int64_t, int64_t>> steps;
  steps.clear();
  const auto callback = [](int64_t step, int64_t count) -> int32_t {
    return steps.emplace_back(step, count), 0;
  };
  qvimagefileinfo options = options_for(5);
  ASSERT_EQ(qvimage3_tiffwrite(callback, &volume, nullptr, path.c_str(), nullptr, 0, 0, &options, 0, 0, 0),
            0);
  EXPECT_THAT(steps, ElementsAre(std::pair(1, 3), std::pair(2, 3), std::pair(3, 3)));
  const parsed_tiff file(file_bytes(path));
  ASSERT_EQ(file.pages.size(), 3u);
  for (int z = 0; z < 3; z++) {
    bytes expected;
    for (int y = 0; y < 3; y++) {
      auto row = flat.row((z + 1) * 4 + y + 1, 1);
      row = {row.begin() + 2, row.begin() + 12};
      const bytes packed = packed_row(row, 12, false);
      expected.insert(expected.end(), packed.begin(), packed.end());
    }
    EXPECT_EQ(content(file, file.pages[size_t(z)]), expected) << "plane " << z;
  }
}

TEST(TiffWrite, PagesAreAppendedAfterTheOneAskedFor) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
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
    EXPECT_EQ(content(file, file.pages[3]), expected_content(last, 3, 1, false));
    // Nothing of the old file but the last link has changed.
    bytes old(file.bytes.begin(), file.bytes.begin() + long(before.size()));
    std::fill_n(old.begin() + long(file.pages[2].link_position), version == 43 ? 8 : 4, uint8_t(0));
    EXPECT_EQ(old, before);
    EXPECT_EQ(save(last, path, nullptr, 9), -10) << "pages that are not there";
    EXPECT_EQ(file_bytes(path), file.bytes);
  }
}

// A big-endian file with an empty directory is one line of bytes; what follows is written by the library.
TEST(TiffWrite, AppendingKeepsTheFilesByteOrder) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  const bytes classic = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1, 0, 0, 3, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};
  bytes big = {'M', 'M', 0, 43, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 16};
  big.resize(32);  // no entries and no next directory
  for (const bytes &original : {classic, big})
    for (const kind &k : kinds)
      for (uint32_t compression : {1u, 5u, 517u, 33397u}) {
        if (!served(k, compression)) continue;
        SCOPED_TRACE(testing::Message() << k.name << ", compression " << compression);
        put_file(path, original);
        frame f(31, 11, k.type, k.bits, k.pixies, k.hint);
        qvimagefileinfo options = options_for(compression, 300);
        ASSERT_EQ(save(f, path, &options, 1, k.exchanged), 0);
        const parsed_tiff file(file_bytes(path));
        EXPECT_EQ(file.bigtiff, original == big);
        ASSERT_EQ(file.pages.size(), 2u);
        EXPECT_EQ(content(file, file.pages[1]),
                  expected_content(f, int(k.samples), compression, true, k.exchanged));
      }
}

// Files beyond 4 GiB have a hole where other writers' data would be.
TEST(TiffWrite, ClassicFilesEndAtFourGibibytesAndBigOnesDoNot) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
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
TEST(TiffWriteThreads, BandsOfOnePageAreCodedByDifferentThreads) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
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
        EXPECT_EQ(content(file, page), expected_content(f, 1, compression, false));
    }
  tiffhandle *h = nullptr;
  ASSERT_EQ(qvimage_tiffwriteopen(&h, 98, size, &f.d, path.c_str(), nullptr, 0, 0, nullptr), 0);
  EXPECT_EQ(qvimage_tiffwritesetup(&h, &f.image, nullptr, nullptr, 0, 0, 0, 0), -1) << "more bands than rows";
  qvimage_tifffini(&h, 98);
}

TEST(TiffWrite, APageOfWhichABandIsMissingIsNotLinked) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  frame f(40, 50, 1, 8, 1, QVIM_HINT_GREY);
  tiffhandle *h = nullptr;
  ASSERT_EQ(qvimage_tiffwriteopen(&h, 3, nullptr, nullptr, path.c_str(), nullptr, 0, 0, nullptr), 0);
  for (int page = 0; page < 2; page++) {
    ASSERT_EQ(qvimage_tiffwritesetup(&h, &f.image, nullptr, nullptr, 0, 0, 0, page), 0);
    ASSERT_EQ(qvimage_tiffwriteifdinit(&h), 0);
    for (int32_t band : {2, 0}) ASSERT_EQ(qvimage_tiffwritedata(&h, nullptr, &f.image, band), 0);
    EXPECT_EQ(qvimage_tiffwriteifdfini(&h), -1);
    if (page == 0) {
      ASSERT_EQ(qvimage_tiffwritedata(&h, nullptr, &f.image, 1), 0);
      EXPECT_EQ(qvimage_tiffwriteifdfini(&h), 0);
    }
  }
  EXPECT_EQ(qvimage_tifffini(&h, 3), 0);
  EXPECT_EQ(parsed_tiff(file_bytes(path)).pages.size(), 1u);
}

// --- refusals

TEST(TiffWrite, BadArgumentsHaveTheirCodesAndLeaveNoFile) {
  temporary_folder folder;
  const std::string path = folder / "a.tif", nowhere = folder / "no/such/folder.tif";
  frame grey(4, 4, 1, 8, 1, QVIM_HINT_GREY), five(4, 4, 1, 8, 5, 0), wide(4, 4, 8, 64, 1, 0);
  frame empty(4, 4, 1, 8, 1, QVIM_HINT_GREY);
  qvywindow none{{2, 2}, {2, 4}};
  ASSERT_NE(empty.image.xwind(&empty.image, &none, 's'), nullptr);
  EXPECT_EQ(qvimage_tiffwrite(nullptr, nullptr, nullptr, path.c_str(), nullptr, 0, 0, nullptr, 0, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffwrite(nullptr, &grey.image, nullptr, nullptr, nullptr, 0, 0, nullptr, 0, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffwrite(nullptr, &grey.image, nullptr, path.c_str(), nullptr, -1, 0, nullptr, 0, 0, 0),
            -1);
  EXPECT_EQ(save(grey, path, nullptr, -1), -1);
  EXPECT_EQ(save(five, path), -1);
  EXPECT_EQ(save(wide, path), -1);
  EXPECT_EQ(save(empty, path), -1);
  qvimagefileinfo jpeg = options_for(7);
  EXPECT_EQ(save(grey, path, &jpeg), -1);
  EXPECT_EQ(save(grey, nowhere), -14);
  EXPECT_EQ(save(grey, path, nullptr, 1), -13);
  EXPECT_TRUE(folder.empty());
  std::ofstream(path) << "not a TIFF file at all";
  EXPECT_EQ(save(grey, path, nullptr, 1), -10);
  EXPECT_TRUE(file_exists(path));
}

TEST(TiffWrite, AnExistingFileIsNotTouchedForAnImageThatCannotBeWritten) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  const bytes before = {1, 2, 3, 4};
  put_file(path, before);
  frame grey(4, 4, 2, 16, 1, QVIM_HINT_GREY), five(4, 4, 1, 8, 5, 0), wide(4, 4, 8, 64, 1, 0),
      real(4, 4, QVIM_FLOAT32, 0, 1, 0);
  qvimage null_image;
  qvimage_defnull(&null_image);
  qvimagefileinfo jpeg = options_for(7), lzw = options_for(5), arithmetic = options_for(32885);
  EXPECT_EQ(save(five, path), -1);
  EXPECT_EQ(save(wide, path), -1);
  EXPECT_EQ(save(grey, path, &jpeg), -1);
  EXPECT_EQ(save(grey, path, &arithmetic), -1);
  EXPECT_EQ(save(real, path, &lzw), -1);
  grey.image.d.i_bitsused = 17;  // of 16
  EXPECT_EQ(save(grey, path), -1);
  EXPECT_EQ(qvimage_tiffwrite(nullptr, &null_image, nullptr, path.c_str(), nullptr, 0, 0, nullptr, 0, 0, 0),
            -1);
  // What such a mode writes goes to the file's end, links too.
  EXPECT_EQ(qvimage_tiffwrite(nullptr, &grey.image, nullptr, path.c_str(), "a+b", 0, 1, nullptr, 0, 0, 0),
            -1);
  EXPECT_EQ(file_bytes(path), before);
}

TEST(TiffWrite, StepsRefuseForeignHandlesAndWrongOrder) {
  frame f(4, 4, 1, 8, 1, QVIM_HINT_GREY);
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  tiffhandle *none = nullptr;
  uint64_t memory[64] = {1, 2, 3};
  tiffhandle *foreign = reinterpret_cast<tiffhandle *>(memory);
  for (auto [h, code] : {std::pair<tiffhandle **, int32_t>{nullptr, -1}, {&none, -1}, {&foreign, -64}}) {
    EXPECT_EQ(qvimage_tiffwritesetup(h, &f.image, nullptr, nullptr, 0, 0, 0, 0), code);
    EXPECT_EQ(qvimage_tiffwriteifdinit(h), code);
    EXPECT_EQ(qvimage_tiffwritedata(h, nullptr, &f.image, 0), code);
    EXPECT_EQ(qvimage_tiffwriteifdfini(h), code);
    EXPECT_EQ(qvimage_tiffclose(h), code);
    EXPECT_EQ(qvimage_tifffini(h, 1), code);
    EXPECT_EQ(qvimage_tifferror(h), code);
    EXPECT_EQ(qvimage_tifffileopened(h), code);
  }
  tiffhandle *h = nullptr;
  ASSERT_EQ(qvimage_tiffwriteopen(&h, 1, nullptr, nullptr, path.c_str(), nullptr, 0, 0, nullptr), 0);
  EXPECT_EQ(qvimage_tifffileopened(&h), 1);
  EXPECT_EQ(qvimage_tiffwriteopen(&h, 1, nullptr, nullptr, path.c_str(), nullptr, 0, 0, nullptr), -1)
      << "set already";
  EXPECT_EQ(qvimage_tiffwriteifdinit(&h), -1);
  EXPECT_EQ(qvimage_tiffwritedata(&h, nullptr, &f.image, 0), -1);
  EXPECT_EQ(qvimage_tiffwriteifdfini(&h), -1);
  ASSERT_EQ(qvimage_tiffwritesetup(&h, &f.image, nullptr, nullptr, 0, 0, 0, 0), 0);
  ASSERT_EQ(qvimage_tiffwriteifdinit(&h), 0);
  frame other(5, 4, 1, 8, 1, QVIM_HINT_GREY);
  EXPECT_EQ(qvimage_tiffwritedata(&h, nullptr, &other.image, 0), -1) << "another size";
  frame shallow(4, 4, 1, 5, 1, QVIM_HINT_GREY);
  EXPECT_EQ(qvimage_tiffwritedata(&h, nullptr, &shallow.image, 0), -1) << "another depth";
  EXPECT_EQ(qvimage_tiffwritedata(&h, nullptr, &f.image, 1), -1) << "no such band";
  EXPECT_EQ(qvimage_tiffclose(&h), 0);
  EXPECT_EQ(qvimage_tifffini(&h, 1), 0);
  EXPECT_EQ(parsed_tiff(file_bytes(path)).pages.size(), 0u) << "the unfinished page is gone";
}

// --- failures

// Runs an operation with every fault in turn until none fires; tells of each run.
template <class Make, class Check>
void with_every_fault(Make make, Check check) {
  for (bool for_ever : {false, true})
    for (int n = 0;; n++) {
      SCOPED_TRACE(testing::Message() << "fault " << n << (for_ever ? " for ever" : ""));
      auto fault = make(n, for_ever);
      if (!check(*fault)) break;
      ASSERT_LT(n, 5000);
    }
}

TEST(TiffWrite, EveryFailureIsReportedAndLeavesNoFile) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  frame f(300, 40, 2, 16, 1, QVIM_HINT_GREY), palette(256, 1, 1, 8, 3, QVIM_HINT_RGB),
      index(50, 50, 1, 8, 1, QVIM_HINT_INDEX);
  const int64_t live = live_allocations(), open = open_files();
  for (uint32_t compression : {1u, 517u, 32773u, 33397u}) {
    frame &source = compression == 33397 ? index : f;
    qvimagefileinfo options = options_for(compression, 3000);
    char text[] = "text";
    options.description = text;
    auto write = [&] {
      std::remove(path.c_str());
      return qvimage_tiffwrite(nullptr, &source.image, &source == &index ? &palette.image : nullptr,
                               path.c_str(), nullptr, 4096, 0, &options, 0, 0, 0);
    };
    auto after = [&](bool fired, int32_t code, int32_t expected) {
      if (!fired) {
        EXPECT_EQ(code, 0);
        return false;
      }
      EXPECT_EQ(code, expected);
      EXPECT_FALSE(file_exists(path));
      EXPECT_EQ(live_allocations(), live);
      EXPECT_EQ(open_files(), open);
      return true;
    };
    with_every_fault([](int n, bool for_ever) { return std::make_unique<fail_allocation>(n, for_ever); },
                     [&](auto &fault) {
                       const int32_t code = write();
                       return after(fault.fired(), code, -2);
                     });
    for (uint32_t calls : {uint32_t(call_write), uint32_t(call_close), uint32_t(call_read)})
      with_every_fault(
          [&](int n, bool for_ever) { return std::make_unique<fail_call>(calls, n, for_ever, ENOSPC); },
          [&](auto &fault) {
            const int32_t code = write();
            return after(fault.fired(), code, -7);
          });
    std::remove(path.c_str());
    ASSERT_EQ(write(), 0);
    const uint64_t size = file_bytes(path).size();
    for (uint64_t room = 0; room < size; room += 1 + size / 50) {
      full_disk disk(room);
      EXPECT_TRUE(after(true, write(), -7)) << room;
    }
  }
}

TEST(TiffWrite, EveryFailureOfAPageInBandsIsReported) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  frame f(300, 40, 2, 16, 1, QVIM_HINT_GREY);
  const int64_t live = live_allocations(), open = open_files();
  for (uint32_t compression : {1u, 5u, 32773u}) {
    qvimagefileinfo options = options_for(compression, 3000);
    const auto write = [&] {
      tiffhandle *h = nullptr;
      int32_t code = qvimage_tiffwriteopen(&h, 3, nullptr, nullptr, path.c_str(), nullptr, 1024, 0, &options);
      if (!h) return code;
      code = qvimage_tiffwritesetup(&h, &f.image, nullptr, &options, 0, 0, 0, 0);
      if (code == 0) code = qvimage_tiffwriteifdinit(&h);
      for (int32_t band = 0; band < 3; band++)
        if (code == 0) code = qvimage_tiffwritedata(&h, nullptr, &f.image, band);
      if (code == 0) code = qvimage_tiffwriteifdfini(&h);
      const int32_t released = qvimage_tifffini(&h, 3);
      return code < 0 ? code : released;
    };
    const auto after = [&](bool fired, int32_t code, int32_t expected) {
      EXPECT_EQ(code, fired ? expected : 0);
      EXPECT_EQ(live_allocations(), live);
      EXPECT_EQ(open_files(), open);
      return fired;
    };
    with_every_fault([](int n, bool for_ever) { return std::make_unique<fail_allocation>(n, for_ever); },
                     [&](auto &fault) {
                       const int32_t code = write();
                       return after(fault.fired(), code, -2);
                     });
    for (uint32_t calls : {uint32_t(call_write), uint32_t(call_close), uint32_t(call_read)})
      with_every_fault([&](int n, bool for_ever) { return std::make_unique<fail_call>(calls, n, for_ever); },
                       [&](auto &fault) {
                         const int32_t code = write();
                         return after(fault.fired(), code, -7);
                       });
  }
}

TEST(TiffWrite, AFailedAppendLeavesTheFileAsItWas) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  frame first(10, 10, 1, 8, 1, QVIM_HINT_GREY), flat(200, 90, 2, 16, 1, QVIM_HINT_GREY);
  const int32_t dims[] = {200, 30, 3};
  qvimage3 volume;
  ASSERT_EQ(
      qvimage3_memdata(&volume, flat.stored.data(), flat.stored.size(), dims, 0, 0, &flat.d, nullptr, 0), 0);
  ASSERT_EQ(save(first, path), 0);
  ASSERT_EQ(save(first, path, nullptr, 1), 0);
  const bytes before = file_bytes(path);
  const int64_t live = live_allocations();
  qvimagefileinfo options = options_for(5);
  auto append = [&] {
    return qvimage3_tiffwrite(nullptr, &volume, nullptr, path.c_str(), nullptr, 4096, 1, &options, 0, 0, 0);
  };
  auto check = [&](auto &fault, int32_t code, int32_t expected, bool whole_file) {
    if (!fault.fired()) {
      EXPECT_EQ(code, 0);
      EXPECT_EQ(parsed_tiff(file_bytes(path)).pages.size(), 4u);
      std::ofstream(path, std::ios::binary)
          .write(reinterpret_cast<const char *>(before.data()), long(before.size()));
      return false;
    }
    EXPECT_EQ(code, expected);
    EXPECT_EQ(live_allocations(), live);
    const bytes now = file_bytes(path);
    if (whole_file)
      EXPECT_EQ(now, before);
    else  // a disk that takes nothing more: what was there still reads
      EXPECT_GE(parsed_tiff(now).pages.size(), 1u);
    if (now != before)
      std::ofstream(path, std::ios::binary)
          .write(reinterpret_cast<const char *>(before.data()), long(before.size()));
    return true;
  };
  for (bool for_ever : {false, true}) {
    for (int n = 0;; n++) {
      SCOPED_TRACE(testing::Message() << "allocation " << n << (for_ever ? " for ever" : ""));
      fail_allocation fault(n, for_ever);
      const int32_t code = append();
      if (!check(fault, code, -2, true)) break;
    }
    for (int n = 0;; n++) {
      SCOPED_TRACE(testing::Message() << "write " << n << (for_ever ? " for ever" : ""));
      fail_call fault(call_write, n, for_ever, ENOSPC);
      const int32_t code = append();
      if (!check(fault, code, -7, !for_ever)) break;
    }
  }
}

TEST(TiffWrite, TheCallbackStopsAtAnyRow) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  frame f(20, 12, 1, 8, 1, QVIM_HINT_GREY);
  static int64_t stop_at, last;
  const auto callback = [](int64_t step, int64_t steps) -> int32_t {
    EXPECT_EQ(steps, 12);
    EXPECT_EQ(step, last + 1);
    last = step;
    return step == stop_at ? (step % 2 ? -4 : 17) : 0;
  };
  for (stop_at = 1; stop_at <= 13; stop_at++) {
    last = 0;
    const int32_t code = save(f, path, nullptr, 0, {}, nullptr, callback);
    EXPECT_EQ(code, stop_at > 12 ? 0 : stop_at % 2 ? -4 : 17);
    EXPECT_EQ(file_exists(path), stop_at > 12);
  }
  EXPECT_EQ(last, 12);
}

}  // namespace
