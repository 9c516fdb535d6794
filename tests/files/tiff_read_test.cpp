// Reading TIFF files that were built tag by tag: what pixels arrive, what the records say, what is refused.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <thread>

#include <qvimage/alloc.h>
#include <qvimage/codec.h>
#include <qvimage/data.h>
#include <qvimage/memory.h>
#include <qvimage/null.h>
#include <qvimage/tiff.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/tiff_builder.hpp"

namespace {

using namespace tiff_test;

// A file on disk, opened as an image or as a stack.
template <class Record>
class opened {
 public:
  opened(const bytes &file, uint64_t page = 0, bool with_palette = false, bool infoonly = false) {
    put_file(path, file);
    qvimage *wanted = with_palette ? &palette : nullptr;
    if constexpr (std::is_same_v<Record, qvimage>)
      code = qvimage_tiffread(&image, wanted, &handle, path.c_str(), nullptr, 0, page, infoonly);
    else
      code = qvimage3_tiffread(&image, wanted, &handle, path.c_str(), nullptr, 0, infoonly);
  }
  ~opened() { done(); }
  int32_t done() {
    if constexpr (std::is_same_v<Record, qvimage>)
      return qvimage_tiffreaddone(&image, nullptr, &handle);
    else
      return qvimage3_tiffreaddone(&image, nullptr, &handle);
  }
  int32_t error(bool clear = false) { return int32_t(image.aeiou(&image, 'e', clear, 0, nullptr)); }

  temporary_folder folder;
  const std::string path = folder / "t.tif";
  Record image{};
  qvimage palette{};
  tiffhandle *handle = nullptr;
  int32_t code;
};
using opened_page = opened<qvimage>;
using opened_stack = opened<qvimage3>;

uint64_t number(const uint8_t *at, int size) {
  uint64_t v = 0;
  std::memcpy(&v, at, size_t(size));  // little-endian hosts
  return v;
}

// Pixies as numbers, from a run of n pixels.
template <class Record, class... At>
std::vector<uint64_t> read_run(Record &im, uint32_t mode, uint32_t flags, uint32_t mask, uint32_t n,
                               At... at) {
  const uint32_t all = (1u << im.d.pixies) - 1;
  mask = mask ? mask : all;
  if (im.ioset(&im, mode, uint32_t(im.d.pixietype) | flags, mask) != 1) return {};
  const size_t size = size_t(im.f.pixiesize), pixies = size_t(__builtin_popcount(mask));
  std::vector<uint8_t> buffer(size * pixies * n);
  const uint32_t moved = im.ioread(&im, 0, buffer.data(), n, at...);
  std::vector<uint64_t> result;
  for (size_t i = 0; i < moved * pixies; i++) result.push_back(number(&buffer[i * size], int(size)));
  return result;
}

std::vector<uint64_t> read_all(qvimage &im) {
  return read_run(im, QVIM_WRAP, 0, 0, uint32_t(im.imdim.se.x) * uint32_t(im.imdim.se.y), 0, 0);
}

std::vector<uint64_t> samples_of(const page_spec &p) {
  std::vector<uint64_t> result;
  for (uint32_t y = 0; y < p.height; y++)
    for (uint32_t x = 0; x < p.width; x++)
      for (uint32_t s = 0; s < p.samples; s++) result.push_back(p.sample(x, y, s));
  return result;
}

bytes predictive(const page_spec &p, const bytes &rows, size_t) {
  void *state = nullptr;
  const ptifprar_params params{int32_t(p.bits), int32_t(p.width), int32_t(p.samples)};
  EXPECT_EQ(ptifprar_stateinit(&state, &params), 0);
  bytes in = rows, result(rows.size() * 4 + 64);
  codecstream from{}, to{};
  from.start = from.next = in.data();
  from.end = in.data() + in.size();
  to.next = result.data();
  to.end = result.data() + result.size();
  EXPECT_EQ(ptifprar_encode(state, &from, &to), 1);
  result.resize(size_t(to.next - result.data()));
  if (to.bitcnt) result.push_back(uint8_t(to.bitacc));
  ptifprar_statedone(&state);
  return result;
}

struct coding {
  uint32_t compression;
  bool differenced;
  compressor compress;
};
const coding uncompressed{1, false, nullptr}, packed{32773, false, pack_bits}, by_lzw{5, false, lzw},
    by_differences{5, true, lzw};

// --- pixels ----------------------------------------------------------------------------------------------

TEST(TiffPixels, EveryDepthOrderAndCompressionArrivesAsItWasWritten) {
  for (const bool big_endian : {false, true})
    for (const bool bigtiff : {false, true})
      for (const coding &c : {uncompressed, packed, by_lzw, by_differences})
        for (const uint32_t bits : {1u, 2u, 3u, 4u, 7u, 8u, 9u, 12u, 16u, 17u, 24u, 31u, 32u, 64u})
          for (const uint32_t samples : {1u, 2u, 3u, 4u}) {
            if (c.differenced && bits != 8 && bits != 16) continue;
            SCOPED_TRACE(testing::Message()
                         << "MM " << big_endian << " big " << bigtiff << " compression " << c.compression
                         << c.differenced << " bits " << bits << " x " << samples);
            page_spec p;
            p.bits = bits;
            p.samples = samples;
            p.compression = c.compression;
            p.differenced = c.differenced;
            opened_page o(builder(big_endian, bigtiff).page(p, c.compress).file());
            ASSERT_EQ(o.code, 0);
            EXPECT_EQ(o.image.d.pixietype, qvimdatabittype(int32_t(bits)));
            EXPECT_EQ(o.image.d.i_bitsused, int32_t(bits));
            EXPECT_EQ(o.image.d.pixies, int32_t(samples));
            ASSERT_EQ(read_all(o.image), samples_of(p));
            EXPECT_EQ(o.error(), 0);
          }
}

TEST(TiffPixels, FloatsArriveBitForBit) {
  for (const bool big_endian : {false, true})
    for (const coding &c : {uncompressed, packed, by_lzw})
      for (const uint32_t bits : {32u, 64u}) {
        page_spec p;
        p.bits = bits;
        p.samples = 2;
        p.is_float = true;
        p.compression = c.compression;
        opened_page o(builder(big_endian).page(p, c.compress).file());
        ASSERT_EQ(o.code, 0);
        EXPECT_EQ(o.image.d.pixietype, bits == 32 ? QVIM_FLOAT32 : QVIM_FLOAT64);
        EXPECT_EQ(read_all(o.image), samples_of(p));
      }
}

TEST(TiffPixels, PredictiveCodingOfAnyDepthUpToTwelveBits) {
  for (const bool differenced : {false, true})
    for (const bool big_endian : {false, true})
      for (const uint32_t bits : {1u, 5u, 8u, 9u, 12u}) {
        page_spec p;
        p.bits = bits;
        p.samples = 3;
        p.compression = 32885;
        p.differenced = differenced;
        opened_page o(builder(big_endian).page(p, predictive).file());
        ASSERT_EQ(o.code, 0) << bits;
        EXPECT_EQ(read_all(o.image), samples_of(p)) << bits;
      }
  page_spec p;
  p.bits = 16;
  p.compression = 32885;
  EXPECT_EQ(opened_page(builder().page(p).file()).code, -11);
  EXPECT_EQ(opened_page(builder().page(p).file(), 0, false, true).code, 0);  // the codec is not asked
}

TEST(TiffPixels, StripsMayHaveAnyNumberOfRows) {
  for (const coding &c : {uncompressed, by_lzw, packed})
    for (const uint32_t rows : {1u, 2u, 3u, 4u, 5u, 6u, 1000u, 0xFFFFFFFFu}) {
      page_spec p;
      p.compression = c.compression;
      p.rows_per_strip = rows;
      opened_page o(builder().page(p, c.compress).file());
      ASSERT_EQ(o.code, 0) << rows;
      EXPECT_EQ(read_all(o.image), samples_of(p)) << rows;
    }
  page_spec p;
  p.rows_per_strip = 5;
  p.without = {278, 279};  // one strip; its byte count says nothing that is needed
  opened_page o(builder().page(p).file());
  ASSERT_EQ(o.code, 0);
  EXPECT_EQ(read_all(o.image), samples_of(p));
}

TEST(TiffPixels, WhiteIsZeroIsInvertedForIntegersOfOneSample) {
  for (const uint32_t bits : {1u, 4u, 8u, 12u, 16u, 24u, 32u, 64u}) {
    page_spec p;
    p.bits = bits;
    p.photometric = 0;
    opened_page o(builder().page(p).file());
    ASSERT_EQ(o.code, 0);
    EXPECT_EQ(o.image.d.pixelhint, QVIM_HINT_GREY);
    auto expected = samples_of(p);
    for (uint64_t &v : expected) v = (~uint64_t{0} >> (64 - bits)) - v;
    EXPECT_EQ(read_all(o.image), expected) << bits;
  }
  page_spec real, pairs;
  real.bits = 32;
  real.is_float = true;
  pairs.samples = 2;
  for (page_spec *p : {&real, &pairs}) {
    p->photometric = 0;
    opened_page o(builder().page(*p).file());
    EXPECT_EQ(read_all(o.image), samples_of(*p));
  }
}

TEST(TiffPixels, ColoursAreNamedAndChromaComesInCrCbOrder) {
  const struct {
    uint32_t samples, photometric;
    int32_t hint;
  } cases[] = {{1, 0, QVIM_HINT_GREY}, {1, 1, QVIM_HINT_GREY},  {2, 1, 0}, {3, 1, 0},
               {3, 2, QVIM_HINT_RGB},  {3, 6, QVIM_HINT_YCRCB}, {4, 2, 0}, {4, 5, QVIM_HINT_CMYK}};
  for (const auto &c : cases)
    for (const uint32_t bits : {6u, 8u, 16u, 32u, 64u}) {
      page_spec p;
      p.bits = bits;
      p.samples = c.samples;
      p.photometric = c.photometric;
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

// --- palettes ----------------------------------------------------------------------------------------------

// A map whose value (component, entry) is given.
tag_values colour_map(uint16_t type, uint32_t bits,
                      const std::function<uint64_t(uint32_t, uint32_t)> &value) {
  tag_values map{type, {}};
  for (uint32_t c = 0; c < 3; c++)
    for (uint32_t i = 0; i < 1u << bits; i++) map.values.push_back(value(c, i));
  return map;
}

TEST(TiffPalette, IndicesBesideThePaletteOrExpandedToColours) {
  const auto value = [](uint32_t c, uint32_t i) { return (i * 40503 + c * 12289 + 34567) & 0xFFFF; };
  for (const uint32_t bits : {1u, 4u, 8u, 12u, 16u}) {
    page_spec p;
    p.bits = bits;
    p.photometric = 3;
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

// --- access
// --------------------------------------------------------------------------------------------------

// Every way of asking gives the pixels of the whole page.
void check_access(qvimage &im, const std::vector<uint64_t> &all, unsigned seed) {
  std::mt19937 random(seed);
  const int32_t width = im.imdim.se.x, height = im.imdim.se.y;
  const auto any = [&](int32_t below) { return int32_t(random() % uint32_t(below)); };
  for (int i = 0; i < 300; i++) {
    qvywindow w{{any(width), any(height)}, {}};
    w.se = {w.nw.x + 1 + any(width - w.nw.x), w.nw.y + 1 + any(height - w.nw.y)};
    if (i % 4 == 0) w = {{0, 0}, {width, height}};
    ASSERT_TRUE(im.xwind(&im, &w, 's'));
    const int32_t wide = w.se.x - w.nw.x, high = w.se.y - w.nw.y;
    const uint32_t mode = (random() & 1 ? QVIM_YSCAN : 0) | (random() & 1 ? QVIM_WRAP : 0);
    const int first = any(im.d.pixies), count = 1 + any(im.d.pixies - first);
    const uint32_t mask = random() & 1 ? 0 : ((1u << count) - 1) << first;
    const int32_t x = any(wide), y = any(high);
    const uint32_t n = 1 + random() % uint32_t(wide * high + 3);
    std::vector<uint64_t> expected;
    int32_t at_x = x, at_y = y;
    for (uint32_t k = 0; k < n && at_x < wide && at_y < high; k++) {
      for (int s = 0; s < im.d.pixies; s++)
        if (!mask || mask >> s & 1)
          expected.push_back(all[size_t(((w.nw.y + at_y) * width + w.nw.x + at_x) * im.d.pixies + s)]);
      int32_t &along = mode & QVIM_YSCAN ? at_y : at_x, &across = mode & QVIM_YSCAN ? at_x : at_y;
      if (++along == (mode & QVIM_YSCAN ? high : wide)) {
        if (!(mode & QVIM_WRAP)) break;
        along = 0;
        across++;
      }
    }
    ASSERT_EQ(read_run(im, mode, 0, mask, n, x, y), expected) << "round " << i;
    EXPECT_EQ(im.iolen(&im, n, x, y),
              expected.size() / size_t(mask ? __builtin_popcount(mask) : im.d.pixies));
  }
}

TEST(TiffAccess, WindowsScansWrapsAndMasksGiveThePixelsOfThePage) {
  unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  for (const coding &c : {uncompressed, packed, by_lzw, by_differences})
    for (const uint32_t bits : {4u, 8u, 16u})
      for (const uint32_t samples : {1u, 3u}) {
        if (c.differenced && bits == 4) continue;
        page_spec p;
        p.bits = bits;
        p.samples = samples;
        p.photometric = samples == 3 ? 6 : 1;
        p.compression = c.compression;
        p.differenced = c.differenced;
        p.width = 11;
        p.height = 9;
        opened_page o(builder(true).page(p, c.compress).file());
        ASSERT_EQ(o.code, 0);
        check_access(o.image, read_all(o.image), seed++);
      }
}

TEST(TiffAccess, RowsFromTheBottomUpAreTheSame) {
  page_spec p;
  p.compression = 5;
  p.rows_per_strip = 3;
  opened_page o(builder().page(p, lzw).file());
  const auto all = samples_of(p);
  for (int32_t y = 4; y >= 0; y--)
    EXPECT_EQ(read_run(o.image, 0, 0, 0, 7, 0, y),
              std::vector<uint64_t>(all.begin() + 7 * y, all.begin() + 7 * (y + 1)));
}

TEST(TiffAccess, PixiesComeInTheJustificationAndByteOrderAskedFor) {
  page_spec p;
  p.bits = 12;
  opened_page o(builder().page(p).file());
  const auto all = samples_of(p);
  const auto with = [&](uint32_t flags) { return read_run(o.image, QVIM_WRAP, flags, 0, 35, 0, 0); };
  const auto changed = [&](auto change) {
    auto result = all;
    for (uint64_t &v : result) v = change(v);
    return result;
  };
  EXPECT_EQ(with(QVIM_LSB), all);
  EXPECT_EQ(with(QVIM_DIRTY), all);
  EXPECT_EQ(with(QVIM_MSB), changed([](uint64_t v) { return v << 4; }));
  EXPECT_EQ(with(QVIM_SWAPPED), changed([](uint64_t v) { return __builtin_bswap16(uint16_t(v)); }));
  EXPECT_EQ(with(QVIM_MSB | QVIM_SWAPPED),
            changed([](uint64_t v) { return __builtin_bswap16(uint16_t(v << 4)); }));
}

TEST(TiffAccess, SetUpsAreRefusedWithTheirCodes) {
  page_spec p;
  p.samples = 3;
  opened_page o(builder().page(p).file());
  qvimage &im = o.image;
  EXPECT_EQ(im.ioset(&im, 0, QVIM_UINT8, 7), 1);
  EXPECT_EQ(im.ioset(&im, 0, QVIM_UINT16, 7), -19);
  uint8_t pixel[3];
  EXPECT_EQ(im.ioread(&im, 0, pixel, 1, 0, 0), 0u);
  EXPECT_EQ(im.ioset(&im, 0, QVIM_UINT8, 5), -21);
  EXPECT_EQ(im.ioset(&im, QVIM_ZSCAN, QVIM_UINT8, 7), -11);
  EXPECT_EQ(im.ioset(&im, QVIM_YSCAN | QVIM_ZSCAN, QVIM_UINT8, 7), -11);
  EXPECT_EQ(im.imapset(&im, 0, QVIM_UINT8, 7), -11);
  EXPECT_EQ(im.ioset(&im, 0, QVIM_UINT8, 7), 1);
  EXPECT_EQ(im.iorite(&im, 0, pixel, 1, 0, 0), 0u);
  EXPECT_EQ(im.aeiou(&im, 'I', 0, 0, nullptr), 1431655765u);
  EXPECT_EQ(im.aeiou(&im, 'B', 0, 0, nullptr), 357913941u);
  EXPECT_EQ(im.aeiou(&im, 'i', 0, 0, nullptr) & 0xFF, 1u);
  qvywindow outside{{0, 0}, {8, 5}};
  EXPECT_EQ(im.xwind(&im, &outside, 's'), nullptr);
  EXPECT_EQ(im.ioset(&im, 0, QVIM_UINT8, 7), 0);
}

TEST(TiffAccess, BlockTransfersReadScatteredPixels) {
  page_spec p;
  p.compression = 5;
  p.bits = 16;
  opened_page o(builder().page(p, lzw).file());
  qvimage &im = o.image;
  qvxyzcoord list[] = {{6, 4, 0}, {0, 0, 0}, {3, 2, 0}, {3, 2, 0}};
  uint16_t values[4] = {};
  ASSERT_GE(im.bxts(&im, 0, QVIM_UINT16, 1), 0);
  EXPECT_EQ(im.bxta(&im, QVIM_LIST, values, list, 4, QVIM_OP_READ), 4u);
  for (int i = 0; i < 4; i++) EXPECT_EQ(values[i], p.sample(uint32_t(list[i].x), uint32_t(list[i].y), 0));
}

TEST(TiffAccess, ThreadsShareAnImage) {
  page_spec p;
  p.width = 101;
  p.height = 64;
  p.compression = 5;
  p.rows_per_strip = 10;
  opened_page o(builder().page(p, lzw).file());
  const auto all = samples_of(p);
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 4; t++)
    threads.emplace_back([&, t] {
      qvimage mine = o.image;
      std::mt19937 random(t);
      for (int i = 0; i < 200; i++) {
        const size_t y = random() % p.height;
        EXPECT_EQ(
            read_run(mine, 0, 0, 0, p.width, 0, int32_t(y)),
            std::vector<uint64_t>(all.begin() + long(y * p.width), all.begin() + long((y + 1) * p.width)));
      }
    });
  for (auto &t : threads) t.join();
}

// --- pages and stacks
// ----------------------------------------------------------------------------------------

TEST(TiffPages, AreFoundByNumberAndStackedAsPlanes) {
  for (const bool bigtiff : {false, true}) {
    builder b(false, bigtiff);
    std::vector<page_spec> pages(5);
    for (size_t i = 0; i < pages.size(); i++) {
      pages[i].seed = 10 + i;
      pages[i].compression = i % 2 ? 5 : 1;
      pages[i].rows_per_strip = uint32_t(1 + i);
      b.page(pages[i], i % 2 ? lzw : compressor());
    }
    for (size_t i = 0; i < pages.size(); i++) {
      opened_page o(b.file(), i);
      EXPECT_EQ(read_all(o.image), samples_of(pages[i]));
    }
    EXPECT_EQ(opened_page(b.file(), 5).code, -10);
    EXPECT_EQ(opened_page(b.file(), ~uint64_t{0}).code, -10);

    opened_stack o(b.file());
    ASSERT_EQ(o.code, 0);
    EXPECT_EQ(o.image.imdim.se.z, 5);
    std::mt19937 random(5);
    for (int i = 0; i < 200; i++) {
      const uint32_t x = random() % 7, y = random() % 5, z = random() % 5;
      EXPECT_EQ(read_run(o.image, 0, 0, 0, 1, int32_t(x), int32_t(y), int32_t(z)),
                std::vector<uint64_t>{pages[z].sample(x, y, 0)});
    }
    // Along z and on over x, then y; and whole planes along x.
    std::vector<uint64_t> deep, flat;
    for (uint32_t y = 0; y < 5; y++)
      for (uint32_t x = 0; x < 7; x++)
        for (uint32_t z = 0; z < 5; z++) deep.push_back(pages[z].sample(x, y, 0));
    for (const page_spec &p : pages)
      for (const uint64_t v : samples_of(p)) flat.push_back(v);
    EXPECT_EQ(read_run(o.image, QVIM_ZSCAN | QVIM_WRAP, 0, 0, 1000, 0, 0, 0), deep);
    EXPECT_EQ(read_run(o.image, QVIM_WRAP, 0, 0, 1000, 0, 0, 0), flat);
    EXPECT_EQ(read_run(o.image, QVIM_ZSCAN, 0, 0, 1000, 2, 1, 1).size(), 4u);
    EXPECT_EQ(read_run(o.image, QVIM_YSCAN | QVIM_ZSCAN, 0, 0, 1, 0, 0, 0).size(), 0u);
  }
}

TEST(TiffPages, PagesOfAStackMayDifferInSizeOnly) {
  page_spec last, larger, smaller, deeper, coloured;
  larger.width = 9;
  larger.height = 8;
  smaller.width = 4;
  smaller.height = 3;
  deeper.bits = 16;
  coloured.samples = 3;
  builder b;
  b.page(larger).page(smaller).page(deeper).page(coloured).page(last);
  opened_stack o(b.file());
  ASSERT_EQ(o.code, 0);
  const auto plane = [&](int32_t z) {
    qvyzwindow w{{0, 0, z}, {7, 5, z + 1}};
    o.image.xwind(&o.image, &w, 's');
    return read_run(o.image, QVIM_WRAP, 0, 0, 35, 0, 0, 0);
  };
  std::vector<uint64_t> cropped, clipped;
  for (uint32_t y = 0; y < 5; y++)
    for (uint32_t x = 0; x < 7; x++) {
      cropped.push_back(larger.sample(x, y, 0));
      clipped.push_back(x < 4 && y < 3 ? smaller.sample(x, y, 0) : 0);
    }
  EXPECT_EQ(plane(0), cropped);
  EXPECT_EQ(plane(1), clipped);
  EXPECT_EQ(plane(4), samples_of(last));
  EXPECT_EQ(o.error(), 0);
  for (const int32_t z : {2, 3}) {
    EXPECT_TRUE(plane(z).empty());
    EXPECT_EQ(o.error(), -10);
    EXPECT_EQ(o.error(true), -10);
    EXPECT_EQ(o.error(), 0);
  }
  EXPECT_EQ(plane(4), samples_of(last));
}

TEST(TiffPages, ChainsThatLoopEndAndMayRunBackwards) {
  page_spec p;
  builder loop;
  loop.page(p).page(p).page(p);
  loop.link_to(loop.directories[1]);
  opened_stack o(loop.file());
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.image.imdim.se.z, 3);
  qvimagefileinfo info;
  EXPECT_EQ(qvimage_tiffreadinfo(o.handle, &info, 1), 0);
  EXPECT_EQ(info.pagecount, 3u);
  EXPECT_EQ(info.page, 1u);
  qvimage_tiffinfodone(&info);
  EXPECT_EQ(opened_page(loop.file(), 3).code, -10);

  // The second directory stands before the first one.
  builder two;
  two.page(p).page(p);
  bytes file = two.file();
  for (int i = 0; i < 4; i++) {
    file[4 + size_t(i)] = uint8_t(two.directories[1] >> 8 * i);
    file[file.size() - 4 + size_t(i)] = uint8_t(two.directories[0] >> 8 * i);
    file[two.directories[0] + 2 + 9 * 12 + size_t(i)] = 0;
  }
  opened_stack backwards(file);
  (void)backwards;
}

// --- information
// ---------------------------------------------------------------------------------------------

tag_values text(const char *s) {
  tag_values t{2, {}};
  for (const char *c = s; *c; c++) t.values.push_back(uint8_t(*c));
  t.values.push_back(0);
  return t;
}

page_spec described_page() {
  page_spec p;
  p.bits = 16;
  p.samples = 3;
  p.photometric = 2;
  p.compression = 5;
  p.differenced = true;
  p.tags[270] = text("a leaf");
  p.tags[305] = text("builder");
  p.tags[306] = text("2020:01:02 03:04:05");
  p.tags[33432] = text("nobody");
  p.tags[282] = {5, {300 | uint64_t{2} << 32}};
  p.tags[283] = {5, {100 | uint64_t{1} << 32}};
  p.tags[296] = {3, {3}};
  return p;
}

TEST(TiffInfo, SaysWhatTheDirectorySays) {
  for (const bool bigtiff : {false, true}) {
    const page_spec p = described_page();
    opened_page o(builder(true, bigtiff).page(p, lzw).page(p, lzw).file(), 1);
    ASSERT_EQ(o.code, 0);
    EXPECT_FLOAT_EQ(o.image.h.pixelwidth, 2.0f / 300);
    EXPECT_FLOAT_EQ(o.image.h.pixelheight, 0.01f);
    EXPECT_EQ(o.image.h.widthunits, QVIM_UNIT_CENTIMETER);
    qvimagefileinfo i;
    ASSERT_EQ(qvimage_tiffreadinfo(o.handle, &i, 1), 0);
    EXPECT_EQ(i.width, 7u);
    EXPECT_EQ(i.wind.se.y, 5);
    EXPECT_EQ(i.pagecount, 2u);
    EXPECT_EQ(i.pagecount2, 2u);
    EXPECT_EQ(i.page, 1u);
    EXPECT_EQ(std::memcmp(&i.data, &o.image.d, sizeof i.data), 0);
    EXPECT_EQ(std::memcmp(&i.hints, &o.image.h, sizeof i.hints), 0);
    EXPECT_STREQ(i.type, bigtiff ? "btf" : "tif");
    EXPECT_EQ(i.version, bigtiff ? 43u : 42u);
    EXPECT_EQ(i.xres[0], 300u);
    EXPECT_EQ(i.xres[1], 2u);
    EXPECT_EQ(i.yres[0], 100u);
    EXPECT_EQ(i.resunit, 3u);
    EXPECT_EQ(i.compression, 517u);
    EXPECT_EQ(i.bits[2], 16u);
    EXPECT_EQ(i.bits[3], 0u);
    EXPECT_EQ(i.sampleformat[0], 1u);
    EXPECT_EQ(i.palette, 0u);
    EXPECT_GT(i.stripsize, 60u);
    EXPECT_LT(i.stripsize, 200u);
    EXPECT_STREQ(i.description, "a leaf");
    EXPECT_STREQ(i.software, "builder");
    EXPECT_STREQ(i.datetime, "2020:01:02 03:04:05");
    EXPECT_STREQ(i.copyright, "nobody");
    qvimage_tiffinfodone(&i);
    EXPECT_EQ(i.description, nullptr);
  }
  page_spec one;
  one.rows_per_strip = 9;
  temporary_folder folder;
  put_file(folder / "t", builder().page(one).file());
  qvimagefileinfo i;
  ASSERT_EQ(qvimage_tiffinfo(&i, (folder / "t").c_str(), nullptr, 0, 0), 0);
  EXPECT_EQ(i.stripsize, ~uint64_t{0});
  EXPECT_EQ(i.resunit, 0u);
  EXPECT_EQ(i.description, nullptr);
  std::memcpy(i.type, "bmp", 4);
  char kept[] = "not ours";
  i.description = kept;
  qvimage_tiffinfodone(&i);  // the record of another format
  EXPECT_EQ(i.description, kept);
}

TEST(TiffInfo, ManyPagesAtOnce) {
  builder b;
  for (uint32_t i = 0; i < 40; i++) {
    page_spec p = described_page();
    p.width = i + 1;
    b.page(p, lzw);
  }
  temporary_folder folder;
  const std::string path = folder / "t";
  put_file(path, b.file());
  const int64_t before = live_allocations();
  qvimagefileinfo infos[50];
  EXPECT_EQ(qvimage_tiffinfoN(infos, 50, path.c_str(), nullptr, 0, 0), 40);
  EXPECT_EQ(infos[39].width, 40u);
  for (int i = 0; i < 40; i++) qvimage_tiffinfodone(&infos[i]);
  EXPECT_EQ(qvimage_tiffinfoN(infos, 5, path.c_str(), nullptr, 4096, 10), 5);
  for (int i = 0; i < 5; i++) {
    EXPECT_EQ(infos[i].page, uint32_t(10 + i));
    EXPECT_EQ(infos[i].width, uint32_t(11 + i));
    EXPECT_EQ(infos[i].pagecount, 40u);
    EXPECT_STREQ(infos[i].description, "a leaf");
    qvimage_tiffinfodone(&infos[i]);
  }
  EXPECT_EQ(qvimage_tiffinfoN(infos, 5, path.c_str(), nullptr, 0, 40), 0);
  EXPECT_EQ(qvimage_tiffinfoN(infos, 0, path.c_str(), nullptr, 0, 0), 0);
  EXPECT_EQ(qvimage_tiffinfoN(nullptr, 5, path.c_str(), nullptr, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffinfoN(infos, -1, path.c_str(), nullptr, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffinfoN(infos, 5, path.c_str(), nullptr, -1, 0), -1);
  page_spec unserved;
  unserved.compression = 7;
  put_file(path, b.page(unserved).file());
  EXPECT_EQ(qvimage_tiffinfoN(infos, 50, path.c_str(), nullptr, 0, 0), -11);
  EXPECT_EQ(live_allocations(), before);
}

// --- refusals
// ------------------------------------------------------------------------------------------------

TEST(TiffRefused, BrokenAndUnservedDirectories) {
  const struct {
    const char *what;
    int32_t code;
    std::function<void(page_spec &)> change;
  } cases[] = {
      {"no width", -10, [](page_spec &p) { p.without = {256}; }},
      {"no height", -10, [](page_spec &p) { p.without = {257}; }},
      {"no offsets, as in tiled files", -10,
       [](page_spec &p) {
         p.without = {273, 279};
       }},
      {"no samples", -10,
       [](page_spec &p) {
         p.tags[277] = {3, {0}};
       }},
      {"no bits", -10,
       [](page_spec &p) {
         p.tags[258] = {3, {0}};
       }},
      {"type 19", -10,
       [](page_spec &p) {
         p.tags[65000] = {19, {0}};
       }},
      {"type 0", -10,
       [](page_spec &p) {
         p.tags[65000] = {0, {0}};
       }},
      {"type 15", -10,
       [](page_spec &p) {
         p.tags[65000] = {15, {0}};
       }},
      {"unknown tag beyond the file", -10,
       [](page_spec &p) {
         p.tags[65000] = {4, {0}, 100000};
       }},
      {"scalar of two values", -10,
       [](page_spec &p) {
         p.tags[259] = {3, {1, 1}};
       }},
      {"scalar of a signed type", -10,
       [](page_spec &p) {
         p.tags[259] = {8, {1}};
       }},
      {"width of a float", -10,
       [](page_spec &p) {
         p.tags[256] = {11, {7}};
       }},
      {"width beyond 31 bits", -11,
       [](page_spec &p) {
         p.tags[256] = {4, {0x80000000}};
       }},
      {"height beyond 32 bits", -11,
       [](page_spec &p) {
         p.tags[257] = {16, {uint64_t{1} << 32}};
       }},
      {"rows per strip beyond 32 bits", -10,
       [](page_spec &p) {
         p.tags[278] = {16, {uint64_t{1} << 32}};
       }},
      {"no rows per strip", -10,
       [](page_spec &p) {
         p.tags[278] = {3, {0}};
       }},
      {"resolution of another type", -10,
       [](page_spec &p) {
         p.tags[282] = {4, {72}};
       }},
      {"two resolutions", -10,
       [](page_spec &p) {
         p.tags[283] = {5, {72, 72}};
       }},
      {"text of another type", -10,
       [](page_spec &p) {
         p.tags[270] = {1, {'a', 0}};
       }},
      {"bits for two samples of one", -10,
       [](page_spec &p) {
         p.tags[258] = {3, {8, 8}};
       }},
      {"bits beyond 16 bits", -10,
       [](page_spec &p) {
         p.tags[258] = {4, {65536}};
       }},
      {"formats for two samples of one", -10,
       [](page_spec &p) {
         p.tags[339] = {3, {1, 1}};
       }},
      {"more counts than offsets", -10,
       [](page_spec &p) {
         p.tags[279] = {4, {1, 1, 1, 1}};
       }},
      {"more strips than rows ask for", -10,
       [](page_spec &p) {
         p.tags[278] = {3, {3}};
       }},
      {"offsets of a signed type", -10,
       [](page_spec &p) {
         p.tags[273] = {9, {8, 8, 8}};
       }},
      {"separate planes", -10,
       [](page_spec &p) {
         p.samples = 3, p.tags[284] = {3, {2}};
       }},
      {"planes of kind 3", -10,
       [](page_spec &p) {
         p.tags[284] = {3, {3}};
       }},
      {"map of other size", -10,
       [](page_spec &p) {
         p.tags[320] = {3, std::vector<uint64_t>(3)};
       }},
      {"map of three samples", -10,
       [](page_spec &p) {
         p.samples = 3, p.tags[320] = {3, std::vector<uint64_t>(768)};
       }},
      {"map of LONG8", -10,
       [](page_spec &p) {
         p.tags[320] = {16, std::vector<uint64_t>(768, 1)};
       }},
      {"JPEG", -11, [](page_spec &p) { p.compression = 7; }},
      {"Deflate", -11, [](page_spec &p) { p.compression = 8; }},
      {"fax", -11, [](page_spec &p) { p.compression = 4; }},
      {"floating predictor", -11,
       [](page_spec &p) {
         p.compression = 5, p.tags[317] = {3, {3}};
       }},
      {"differences of 4 bits", -11,
       [](page_spec &p) {
         p.compression = 5, p.bits = 4, p.tags[317] = {3, {2}};
       }},
      {"five samples", -11, [](page_spec &p) { p.samples = 5; }},
      {"unequal bits", -11,
       [](page_spec &p) {
         p.samples = 2, p.tags[258] = {3, {8, 4}};
       }},
      {"signed samples", -11,
       [](page_spec &p) {
         p.tags[339] = {3, {2}};
       }},
      {"half floats", -11, [](page_spec &p) { p.bits = 16, p.is_float = true; }},
      {"mixed formats", -11,
       [](page_spec &p) {
         p.bits = 32, p.samples = 2, p.tags[339] = {3, {1, 3}};
       }},
      {"mapped floats", -11,
       [](page_spec &p) {
         p.is_float = true, p.bits = 8, p.tags[320] = {3, std::vector<uint64_t>(768)};
       }},
      {"128 bits", -11,
       [](page_spec &p) {
         p.tags[258] = {3, {128}};
       }},
      {"subsampled chroma", -11,
       [](page_spec &p) {
         p.samples = 3, p.photometric = 6, p.tags[530] = {3, {2, 2}};
       }},
  };
  for (const auto &c : cases)
    for (const bool big_endian : {false, true}) {
      page_spec p;
      c.change(p);
      opened_page o(builder(big_endian).page(p).file());
      EXPECT_EQ(o.code, c.code) << c.what;
      EXPECT_EQ(std::memcmp(o.image.devname, "NULL2", 6), 0) << c.what;
      EXPECT_EQ(o.handle, nullptr);
    }
}

TEST(TiffRefused, BrokenHeadersAndFiles) {
  page_spec p;
  const bytes good = builder().page(p).file(), big = builder(false, true).page(p).file();
  const auto with = [](bytes file, size_t at, uint8_t value) {
    file[at] = value;
    return file;
  };
  for (const bytes &file :
       {with(good, 0, 'M'), with(good, 1, 'J'), with(good, 2, 44), with(good, 3, 1), with(good, 7, 1),
        with(big, 4, 4), with(big, 5, 1), with(big, 15, 1), bytes{}, bytes{'I'},
        bytes(good.begin(), good.begin() + 8), bytes(big.begin(), big.begin() + 12), builder().file()})
    EXPECT_EQ(opened_page(file).code, -10);
  // Cut anywhere, the directory (at the end) is never complete.
  for (size_t n = 0; n < good.size(); n++)
    EXPECT_EQ(opened_page(bytes(good.begin(), good.begin() + long(n))).code, -10) << n;
}

TEST(TiffRefused, BadArguments) {
  page_spec p;
  temporary_folder folder;
  const std::string path = folder / "t.tif";
  put_file(path, builder().page(p).file());
  qvimage im;
  qvimage3 im3;
  tiffhandle *h = nullptr, *none = nullptr;
  EXPECT_EQ(qvimage_tiffread(nullptr, nullptr, &h, path.c_str(), nullptr, 0, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffread(&im, nullptr, nullptr, path.c_str(), nullptr, 0, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffread(&im, nullptr, &h, nullptr, nullptr, 0, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffread(&im, nullptr, &h, path.c_str(), nullptr, -5, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffread(&im, nullptr, &h, (folder / "none").c_str(), nullptr, 0, 0, 0), -13);
  EXPECT_EQ(qvimage3_tiffread(&im3, nullptr, &h, (folder / "none").c_str(), nullptr, 0, 0), -13);
  EXPECT_EQ(std::memcmp(im3.devname, "NULL3", 6), 0);
  ASSERT_EQ(qvimage_tiffread(&im, nullptr, &h, path.c_str(), nullptr, 0, 0, 0), 0);
  qvimage second;
  EXPECT_EQ(qvimage_tiffread(&second, nullptr, &h, path.c_str(), nullptr, 0, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffreadinfo(h, nullptr, 0), -1);
  EXPECT_EQ(qvimage_tiffreadinfo(nullptr, nullptr, 0), -1);
  EXPECT_EQ(qvimage_tiffreaddone(&im, nullptr, &none), -1);
  uint64_t other[64] = {};
  auto *wrong = reinterpret_cast<tiffhandle *>(other);
  EXPECT_EQ(qvimage_tiffreaddone(nullptr, nullptr, &wrong), -64);
  EXPECT_EQ(qvimage3_tiffreaddone(nullptr, nullptr, &wrong), -64);
  EXPECT_EQ(qvimage_tiffreaddone(&im, nullptr, &h), 0);
  EXPECT_EQ(h, nullptr);
  EXPECT_EQ(std::memcmp(im.devname, "NULL2", 6), 0);
}

// --- hostile and failing files
// --------------------------------------------------------------------------------

TEST(TiffHostile, RowsThatTheFileCannotHoldAreNotAllocated) {
  const auto page = [](uint32_t width, uint32_t compression, uint32_t bits) {
    page_spec p;
    p.bits = bits;
    p.rows_per_strip = 5;
    p.compression = compression;
    p.tags = {{256, {4, {width}}}, {273, {4, {8}}}, {279, {4, {8}}}};
    bytes file = builder().page(p).file();
    file.resize(300);
    return file;
  };
  EXPECT_EQ(opened_page(page(0x7FFFFFFF, 1, 8)).code, -10);
  EXPECT_EQ(opened_page(page(0x7FFFFFFF, 5, 64)).code, -10);
  EXPECT_EQ(opened_page(page(1000000, 32773, 8)).code, -10);
  EXPECT_EQ(opened_page(page(0x7FFFFFFF, 32773, 32)).code, -10);
  EXPECT_EQ(opened_page(page(17 << 20, 32885, 8)).code, -2);
}

TEST(TiffHostile, WhatIsThereOfATruncatedFileArrives) {
  for (const coding &c : {uncompressed, by_lzw, packed}) {
    page_spec p;
    p.compression = c.compression;
    p.rows_per_strip = 1;
    builder whole;
    whole.page(p, c.compress);
    p.tags[273] = {4, {8, 15, 22, 100000, 100000}};
    p.tags[279] = {4, {7, 7, 7, 7, 7}};
    if (c.compression != 1) continue;
    p.stored = [](uint32_t x, uint32_t y, uint32_t) { return 16 * y + x; };
    builder b;
    b.page(p);
    bytes file = b.file();
    opened_page o(file);
    ASSERT_EQ(o.code, 0);
    EXPECT_EQ(read_run(o.image, QVIM_WRAP, 0, 0, 35, 0, 0).size(), 21u);
    EXPECT_EQ(o.error(true), -10);
    EXPECT_EQ(read_run(o.image, 0, 0, 0, 7, 0, 3).size(), 0u);
    EXPECT_EQ(o.error(true), -10);
    EXPECT_EQ(read_run(o.image, 0, 0, 0, 7, 0, 1).size(), 7u);
    EXPECT_EQ(o.error(), 0);
  }
}

TEST(TiffHostile, BrokenStripsLatchAndTheOthersStillRead) {
  const auto broken = [](const compressor &compress, const bytes &instead) -> compressor {
    return [=](const page_spec &p, const bytes &rows, size_t row_bytes) {
      return rows[0] == p.sample(0, 2, 0) ? instead : compress(p, rows, row_bytes);
    };
  };
  const struct {
    uint32_t compression;
    compressor compress;
  } cases[] = {{5, broken(lzw, {})},
               {5, broken(lzw, {0x80, 0x7F, 0xFF, 0xFF})},  // a code beyond the table
               {5, broken(lzw, {0x80, 0x40, 0x40})},        // an end without rows
               {5, broken(lzw, {0x00, 0x01, 0x02, 0x04})},  // bits in the order of old
               {32773, broken(pack_bits, {})},
               {32773, broken(pack_bits, {0x7F, 1, 2})}};
  for (const auto &c : cases) {
    page_spec p;
    p.compression = c.compression;
    opened_page o(builder().page(p, c.compress).file());
    ASSERT_EQ(o.code, 0);
    const auto all = samples_of(p);
    EXPECT_EQ(read_run(o.image, QVIM_WRAP, 0, 0, 35, 0, 0),
              std::vector<uint64_t>(all.begin(), all.begin() + 14));
    EXPECT_EQ(o.error(true), -10);
    EXPECT_EQ(read_run(o.image, 0, 0, 0, 7, 0, 4), std::vector<uint64_t>(all.begin() + 28, all.end()));
    EXPECT_EQ(o.error(), 0);
  }
}

TEST(TiffHostile, TextsThatAllPagesShareAreNotCopiedWithoutEnd) {
  builder b;
  for (int i = 0; i < 400; i++)
    b.directory({{256, {3, {1}}},
                 {257, {3, {1}}},
                 {258, {3, {8}}},
                 {270, {2, {8, 0, 0, 0, 0}, 0}},
                 {273, {4, {8}}},
                 {279, {4, {1}}}});
  bytes file = b.file();
  file.resize(200000, 'x');
  for (const uint64_t at : b.directories) {  // every description: the whole file
    uint8_t *entry = &file[at + 2 + 3 * 12];
    const uint32_t count = uint32_t(file.size()) - 8, offset = 8;
    std::memcpy(entry + 4, &count, 4);
    std::memcpy(entry + 8, &offset, 4);
  }
  temporary_folder folder;
  put_file(folder / "t", file);
  std::vector<qvimagefileinfo> infos(400);
  const int64_t before = live_allocations();
  EXPECT_EQ(qvimage_tiffinfoN(infos.data(), 400, (folder / "t").c_str(), nullptr, 0, 0), -2);
  EXPECT_EQ(live_allocations(), before);
  EXPECT_EQ(qvimage_tiffinfoN(infos.data(), 10, (folder / "t").c_str(), nullptr, 0, 0), 10);
  for (int i = 0; i < 10; i++) qvimage_tiffinfodone(&infos[size_t(i)]);
}

TEST(TiffHostile, AFourGigabyteFileOpensAtOnce) {
  temporary_folder folder;
  const std::string path = folder / "t";
  page_spec p;
  p.width = p.height = 65536;
  p.rows_per_strip = 1;
  tag_values offsets{16, {}};
  for (uint64_t y = 0; y < p.height; y++) offsets.values.push_back((uint64_t{1} << 22) + y * 65536);
  p.tags[273] = offsets;
  put_file(path, builder(false, true).page(p).file());
  const int fd = open(path.c_str(), O_WRONLY);
  ASSERT_GE(fd, 0);
  const uint8_t mark = 77;
  ASSERT_EQ(pwrite(fd, &mark, 1, off_t((uint64_t{1} << 22) + 60000ull * 65536 + 12345)), 1);
  ASSERT_EQ(ftruncate(fd, off_t((uint64_t{1} << 22) + (uint64_t{1} << 32))), 0);
  close(fd);
  qvimage im;
  tiffhandle *h = nullptr;
  const uint64_t before = allocation_count();
  ASSERT_EQ(qvimage_tiffread(&im, nullptr, &h, path.c_str(), nullptr, 0, 0, 0), 0);
  EXPECT_LE(allocation_count() - before, 4u);  // handle, block, the walk's first set
  EXPECT_EQ(read_run(im, 0, 0, 0, 2, 12345, 60000), (std::vector<uint64_t>{77, 0}));
  EXPECT_EQ(qvimage_tiffreaddone(&im, nullptr, &h), 0);
}

TEST(TiffFaults, EveryFailedAllocationIsReportedAndNothingIsLost) {
  page_spec p = described_page();
  p.differenced = false;
  p.bits = 4;
  p.samples = 1;
  p.tags[320] = colour_map(3, 4, [](uint32_t, uint32_t i) { return i << 12; });
  temporary_folder folder;
  const std::string path = folder / "t";
  put_file(path, builder().page(p, lzw).page(p, lzw).file());
  const std::function<int32_t()> operations[] = {
      [&] {
        qvimage im, palette;
        tiffhandle *h = nullptr;
        const int32_t code = qvimage_tiffread(&im, &palette, &h, path.c_str(), nullptr, 0, 1, 0);
        if (code == 0) qvimage_tiffreaddone(&im, &palette, &h);
        return code;
      },
      [&] {
        qvimage3 im;
        tiffhandle *h = nullptr;
        const int32_t code = qvimage3_tiffread(&im, nullptr, &h, path.c_str(), nullptr, 0, 0);
        if (code == 0) qvimage3_tiffreaddone(&im, nullptr, &h);
        return code;
      },
      [&] {
        qvimagefileinfo infos[2];
        const int64_t n = qvimage_tiffinfoN(infos, 2, path.c_str(), nullptr, 0, 0);
        for (int64_t i = 0; i < n; i++) qvimage_tiffinfodone(&infos[i]);
        return int32_t(n < 0 ? n : 0);
      }};
  const int64_t before = live_allocations(), files = open_files();
  for (const auto &operation : operations)
    for (const bool for_ever : {false, true})
      for (int n = 0;; n++) {
        int32_t code;
        bool fired;
        {
          fail_allocation fault(n, for_ever);
          code = operation();
          fired = fault.fired();
        }
        EXPECT_EQ(live_allocations(), before);
        EXPECT_EQ(open_files(), files);
        if (!fired) {
          EXPECT_EQ(code, 0);
          break;
        }
        EXPECT_EQ(code, -2) << n;
      }
}

TEST(TiffFaults, EveryFailedReadIsReported) {
  page_spec p;
  p.width = 3000;
  p.height = 40;
  p.compression = 5;
  p.rows_per_strip = 3;
  temporary_folder folder;
  const std::string path = folder / "t";
  put_file(path, builder().page(p, lzw).page(p, lzw).file());
  const auto all = samples_of(p);
  int fired_times = 0;
  for (const uint32_t calls : {uint32_t(call_open), uint32_t(call_read), uint32_t(call_stat)})
    for (int n = 0;; n++) {
      qvimage3 im;
      tiffhandle *h = nullptr;
      int32_t code, latched = 0;
      std::vector<uint64_t> pixels;
      bool fired;
      {
        fail_call fault(calls, n);
        code = qvimage3_tiffread(&im, nullptr, &h, path.c_str(), nullptr, 4096, 0);
        if (code == 0) {
          pixels = read_run(im, QVIM_WRAP, 0, 0, 3000 * 40, 0, 0, 1);
          latched = int32_t(im.aeiou(&im, 'e', 1, 0, nullptr));
        }
        fired = fault.fired();
      }
      if (code == 0) {
        EXPECT_EQ(latched, fired ? -7 : 0);
        EXPECT_EQ(pixels, std::vector<uint64_t>(all.begin(), all.begin() + long(pixels.size())));
        EXPECT_EQ(read_run(im, QVIM_WRAP, 0, 0, 3000 * 40, 0, 0, 1), all);  // it was a passing fault
        EXPECT_EQ(qvimage3_tiffreaddone(&im, nullptr, &h), 0);
      }
      if (!fired) break;
      fired_times++;
      if (code != 0) {
        EXPECT_EQ(code, calls == call_read ? -7 : -13);
      }
    }
  EXPECT_GT(fired_times, 20);
}

}  // namespace
