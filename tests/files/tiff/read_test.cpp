// Reading TIFF files that were built tag by tag: what pixels arrive, whichever way they are asked for.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include <qvimage/memory.h>

#include "files/rows/columns.hpp"
#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/tiff/opened.hpp"

namespace {

using namespace tiff_test;

TEST(TiffPixels, EveryDepthOrderAndCompressionArrivesAsItWasWritten) {
  const auto expect_read = [](const page_spec &p, const compressor &compress) {
    for (const bool big_endian : {false, true})
      for (const bool bigtiff : {false, true}) {
        SCOPED_TRACE(testing::Message()
                     << (big_endian ? "MM " : "II ") << bigtiff << ", compression " << p.compression
                     << p.differenced << ", " << p.bits << " x " << p.samples);
        opened_page o(builder(big_endian, bigtiff).page(p, compress).file());
        ASSERT_EQ(o.code, 0);
        EXPECT_EQ(o.image.d.pixietype, !p.is_float    ? qvimdatabittype(int32_t(p.bits))
                                       : p.bits == 32 ? QVIM_FLOAT32
                                                      : QVIM_FLOAT64);
        EXPECT_EQ(o.image.d.pixies, int32_t(p.samples));
        EXPECT_TRUE(p.is_float || o.image.d.i_bitsused == int32_t(p.bits));
        ASSERT_EQ(read_all(o.image), samples_of(p));
        EXPECT_EQ(o.error(), 0);
      }
  };
  for (const coding &c : {uncompressed, packed, by_lzw, by_differences}) {
    page_spec p{.compression = c.compression, .differenced = c.differenced};
    for (p.samples = 1; p.samples <= 4; p.samples++)
      for (const uint32_t bits : {1u, 2u, 3u, 4u, 7u, 8u, 9u, 12u, 16u, 17u, 24u, 31u, 32u, 64u}) {
        p.bits = bits;
        if (!c.differenced || bits == 8 || bits == 16) expect_read(p, c.compress);
      }
    p.is_float = true;
    p.samples = 2;
    for (const uint32_t bits : {32u, 64u}) {
      p.bits = bits;
      if (!c.differenced) expect_read(p, c.compress);
    }
  }
  for (const bool differenced : {false, true})
    for (const uint32_t bits : {1u, 5u, 8u, 9u, 12u})
      expect_read({.bits = bits, .samples = 3, .compression = 32885, .differenced = differenced}, predictive);
  const page_spec deep{.bits = 16, .compression = 32885};
  EXPECT_EQ(opened_page(builder().page(deep).file()).code, -11);
  EXPECT_EQ(opened_page(builder().page(deep).file(), 0, false, true).code, 0);  // the codec is not asked
}

TEST(TiffPixels, StripsMayHaveAnyNumberOfRows) {
  for (const coding &c : {uncompressed, by_lzw, packed})
    for (const uint32_t rows : {1u, 2u, 3u, 4u, 5u, 6u, 1000u, 0xFFFFFFFFu}) {
      SCOPED_TRACE(rows);
      const page_spec p{.compression = c.compression, .rows_per_strip = rows};
      expect_samples(builder().page(p, c.compress), p);
    }
  page_spec p{.rows_per_strip = 5};
  p.without = {278, 279};  // one strip; its byte count says nothing that is needed
  expect_samples(builder().page(p), p);
}

TEST(TiffPixels, TagsMayHaveAnyUnsignedIntegerType) {
  for (const bool bigtiff : {false, true})
    for (const uint16_t type : {1, 3, 4, 13, 16, 18}) {
      page_spec p{.rows_per_strip = 5};
      for (const auto &[id, value] : std::map<uint16_t, uint64_t>{
               {256, 7}, {257, 5}, {258, 8}, {259, 1}, {262, 1}, {277, 1}, {278, 5}, {284, 1}, {339, 1}})
        p.tags[id] = {type, {value}};
      const size_t strip = bigtiff ? 16 : 8;  // behind the header
      p.tags[273] = {type, {strip}};
      p.tags[279] = {type, {35}};
      builder b(true, bigtiff);
      for (uint32_t y = 0; y < 5; y++) b.append_bytes(b.encode_row(p, y));
      SCOPED_TRACE(type);
      expect_samples(b.page(p), p);
    }
}

TEST(TiffPixels, BitsOfBytesMayStandInTheOppositeOrder) {
  const compressor stored = [](const page_spec &, const bytes &rows, size_t) { return rows; };
  const struct {
    uint32_t compression;
    compressor compress;
  } codecs[] = {{1, stored}, {5, lzw}, {32773, pack_bits}};
  for (const auto &c : codecs)
    for (const uint32_t bits : {1u, 4u, 8u, 12u, 16u, 32u}) {
      page_spec p{.width = 1500, .bits = bits, .compression = c.compression, .tags = {{266, {3, {2}}}}};
      const compressor reversed = [&](const page_spec &spec, const bytes &rows, size_t row_bytes) {
        bytes strip = c.compress(spec, rows, row_bytes);
        for (uint8_t &byte : strip) {
          uint8_t opposite = 0;
          for (int i = 0; i < 8; i++) opposite |= uint8_t((byte >> i & 1) << (7 - i));
          byte = opposite;
        }
        return strip;
      };
      opened_page o(builder().page(p, reversed).file());
      ASSERT_EQ(o.code, 0);
      EXPECT_EQ(read_all(o.image), samples_of(p)) << c.compression << ", " << bits;
      EXPECT_EQ(read_run(o.image, 0, 0, 0, 1, 3, 3), read_run(o.image, QVIM_YSCAN, 0, 0, 1, 3, 3));
    }
}

TEST(TiffPixels, WhiteIsZeroIsInvertedForIntegersOfOneSampleOnly) {
  for (const page_spec &p :
       {page_spec{.bits = 32, .photometric = 0, .is_float = true}, page_spec{.samples = 2, .photometric = 0}})
    expect_samples(builder().page(p), p);
}

TEST(TiffPixels, ColoursAreNamedAndChromaComesInCrCbOrder) {
  const struct {
    uint32_t samples, photometric;
    int32_t hint;
  } cases[] = {{1, 0, QVIM_HINT_GREY}, {1, 1, QVIM_HINT_GREY},  {2, 1, 0}, {3, 1, 0},
               {3, 2, QVIM_HINT_RGB},  {3, 6, QVIM_HINT_YCRCB}, {4, 2, 0}, {4, 5, QVIM_HINT_CMYK}};
  for (const auto &c : cases)
    for (const uint32_t bits : {1u, 4u, 6u, 8u, 12u, 16u, 24u, 32u, 64u}) {
      page_spec p{.bits = bits, .samples = c.samples, .photometric = c.photometric};
      p.tags[530] = {3, {1, 1}};
      opened_page o(builder(true).page(p).file());
      ASSERT_EQ(o.code, 0);
      EXPECT_EQ(o.image.d.pixelhint, c.hint);
      auto expected = samples_of(p);
      if (c.photometric == 0)
        for (uint64_t &v : expected) v = (~uint64_t{0} >> (64 - bits)) - v;
      if (c.photometric == 6)
        for (size_t i = 0; i < expected.size(); i += 3) std::swap(expected[i + 1], expected[i + 2]);
      EXPECT_EQ(read_all(o.image), expected);
    }
}

TEST(TiffPalette, IndicesBesideThePaletteOrExpandedToColours) {
  const auto value = [](uint32_t c, uint32_t i) { return (i * 40503 + c * 12289 + 34567) & 0xFFFF; };
  for (const uint32_t bits : {1u, 4u, 8u, 12u, 16u}) {
    page_spec p{.bits = bits, .photometric = 3};
    p.tags[320] = colour_map(3, bits, value);
    const bytes file = builder(true).page(p).file();
    opened_page both(file, 0, true), expanded(file);
    ASSERT_EQ(both.code, 0);
    EXPECT_EQ(both.image.d.pixelhint, QVIM_HINT_INDEX);
    EXPECT_EQ(read_all(both.image), samples_of(p));
    EXPECT_EQ(both.palette.imdim.se.x, 1 << bits);
    EXPECT_EQ(both.palette.imdim.se.y, 1);
    EXPECT_EQ(both.palette.d.i_bitsused, int32_t(bits));
    EXPECT_EQ(both.palette.d.pixelhint, QVIM_HINT_RGB);
    std::vector<uint64_t> entries;
    for (uint32_t i = 0; i < 1u << bits; i++)
      for (uint32_t c = 0; c < 3; c++) entries.push_back(value(c, i) >> (16 - bits));
    EXPECT_EQ(read_all(both.palette), entries);

    ASSERT_EQ(expanded.code, 0);
    EXPECT_EQ(expanded.image.d.pixelhint, QVIM_HINT_RGB);
    EXPECT_EQ(expanded.image.d.pixies, 3);
    std::vector<uint64_t> pixels;
    for (const uint64_t i : samples_of(p)) pixels.insert(pixels.end(), &entries[3 * i], &entries[3 * i] + 3);
    EXPECT_EQ(read_all(expanded.image), pixels);
  }
}

TEST(TiffPalette, MapValuesOfOtherSizesAndOldMapsOfSmallValues) {
  const struct {
    uint16_t type;
    uint64_t stored, expected;
  } cases[] = {{1, 0xA7, 0xA7}, {3, 0xA7C3, 0xA7}, {4, 0xA7C31234, 0xA7}, {3, 0xA7, 0xA7}, {4, 0xA7, 0xA7}};
  for (const auto &c : cases) {
    page_spec p;
    p.tags[320] = colour_map(c.type, 8, [&](uint32_t, uint32_t i) { return i == 3 ? c.stored : 0; });
    p.stored = [](uint32_t, uint32_t, uint32_t) { return 3; };
    opened_page o(builder().page(p).file());
    ASSERT_EQ(o.code, 0);
    EXPECT_EQ(read_all(o.image), std::vector<uint64_t>(7 * 5 * 3, c.expected)) << c.type << " " << c.stored;
  }
}

TEST(TiffPalette, OfAStackStaysWhilePlanesAreRead) {
  page_spec p{.bits = 4, .photometric = 3};
  builder b;
  for (uint32_t page = 0; page < 3; page++) {
    p.seed = page;
    p.tags[320] = colour_map(3, 4, [&](uint32_t c, uint32_t i) { return (i + c + page) % 16 << 12; });
    b.page(p);
  }
  opened_stack o(b.file(), 0, true);
  ASSERT_EQ(o.code, 0);
  const auto entries = read_all(o.palette);
  EXPECT_EQ(entries[0], 2u);  // the last page's
  for (const int32_t z : {0, 2, 1}) EXPECT_EQ(read_run(o.image, 0, 0, 0, 7, 0, 0, z).size(), 7u);
  EXPECT_EQ(read_all(o.palette), entries);
}

TEST(TiffAccess, RowsInAnyOrderAreTheSame) {
  const coding codings[] = {by_lzw, packed, {32885, false, predictive}, by_differences};
  const page_spec shapes[] = {{.rows_per_strip = 3},
                              {.width = 1, .height = 9000, .rows_per_strip = 9000},
                              {.width = 40, .height = 700, .rows_per_strip = 300},
                              {.width = 1500, .height = 20, .rows_per_strip = 7}};
  std::mt19937 random(1);
  for (const coding &c : codings)
    for (page_spec p : shapes) {
      p.compression = c.compression;
      p.differenced = c.differenced;
      opened_page o(builder().page(p, c.compress).file());
      const auto all = samples_of(p);
      const auto expect_rows = [&](uint32_t y, uint32_t rows) {
        rows = std::min(rows, p.height - y);
        EXPECT_EQ(read_run(o.image, QVIM_WRAP, 0, 0, rows * p.width, 0, int32_t(y)),
                  std::vector<uint64_t>(all.begin() + y * p.width, all.begin() + (y + rows) * p.width))
            << p.width << " x " << p.height << ", " << c.compression << ", row " << y;
      };
      for (uint32_t y = std::min(p.height, 5u); y-- > 0;) expect_rows(y, 1);
      for (int i = 0; i < 40; i++) expect_rows(uint32_t(random() % p.height), uint32_t(1 + random() % 100));
      expect_rows(p.height - 1, 1);
      for (uint32_t y = 0; y < std::min(p.height, 400u); y++) expect_rows(y, 1);
    }
}

TEST(TiffAccess, ColumnsOfPagesThatAreNotKeptWhole) {
  constexpr uint32_t different = 50;  // rows, again and again
  page_spec p{.width = 8200, .height = 8210, .compression = 32773, .rows_per_strip = 1};
  p.stored = [](uint32_t x, uint32_t y, uint32_t) { return x / 3 % 31 == 0 ? x + y : x / 100 + y * 7; };
  builder b;
  std::vector<uint64_t> at, sizes;
  for (uint32_t y = 0; y < different; y++) {
    const bytes strip = pack_bits(p, b.encode_row(p, y), p.width);
    at.push_back(b.file().size());
    sizes.push_back(strip.size());
    b.append_bytes(strip);
  }
  p.tags[273] = p.tags[279] = {4, {}};
  for (uint32_t y = 0; y < p.height; y++) {
    p.tags[273].values.push_back(at[y % different]);
    p.tags[279].values.push_back(sizes[y % different]);
  }
  opened_page o(b.page(p).file());
  ASSERT_EQ(o.code, 0);
  ASSERT_GT(uint64_t{p.width} * p.height, qvim::columns::most_bytes);
  {
    const fail_allocation fault(0, true);
    EXPECT_EQ(read_run(o.image, QVIM_YSCAN, 0, 0, 1, 8199, 8209)[0], p.sample(8199, 8209 % different, 0));
  }
  for (const uint32_t x : {8199u, 3u, 8200u - 12}) {
    std::vector<uint64_t> column;
    for (uint32_t y = 100; y < p.height; y++) column.push_back(p.sample(x, y % different, 0));
    EXPECT_EQ(read_run(o.image, QVIM_YSCAN, 0, 0, p.height - 100, int32_t(x), 100), column) << x;
  }
}

TEST(TiffAccess, RunsFromPlaneToPlaneOfMorePagesThanStayOpen) {
  builder b;
  std::vector<page_spec> pages;
  for (uint32_t z = 0; z < 20; z++) {
    pages.push_back({.width = z == 7 ? 3000u : 5000u, .height = 3, .compression = 5, .seed = z});
    b.page(pages.back(), lzw);
  }
  opened_stack o(b.file());
  ASSERT_EQ(o.code, 0);
  for (const int32_t y : {2, 0, 2})
    for (const int32_t x : {0, 4095, 4096, 4999, 2999}) {
      std::vector<uint64_t> run;
      for (const page_spec &p : pages)
        run.push_back(uint32_t(x) < p.width ? p.sample(uint32_t(x), uint32_t(y), 0) : 0);
      EXPECT_EQ(read_run(o.image, QVIM_ZSCAN, 0, 0, 20, x, y, 0), run) << x << ", " << y;
      const auto at = int32_t(x % 20);
      EXPECT_EQ(read_run(o.image, QVIM_ZSCAN, 0, 0, 1, x, y, at)[0], run[size_t(at)]);
    }
}

}  // namespace
