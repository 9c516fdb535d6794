// Views that only move pixels: what they refuse, what they say of themselves, and chains of them.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <numeric>
#include <vector>

#include <qvimage/qvimage.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"

namespace {

using bytes = std::vector<uint8_t>;

// A memory image of numbered pixels.
struct flat {
  explicit flat(int32_t width, int32_t height, uint32_t type = QVIM_UINT8, int32_t pixies = 1)
      : pixels(size_t(width * height * pixies * qvimdatasize(type))) {
    std::iota(pixels.begin(), pixels.end(), uint8_t{0});
    const int32_t dims[2] = {width, height};
    EXPECT_EQ(qvimage_memory(&im, pixels.data(), dims, 0, int32_t(type), 0, pixies, 0, 0), 0);
    qviminithints(&im.h, QVIM_UNIT_MILLIMETER, QVIM_UNIT_SECOND, 0, 0.5f, 0.25f, 0);
  }
  bytes pixels;
  qvimage im;
};
struct deep {
  deep(int32_t width, int32_t height, int32_t depth, uint32_t type = QVIM_UINT8)
      : pixels(size_t(width * height * depth * qvimdatasize(type))) {
    std::iota(pixels.begin(), pixels.end(), uint8_t{0});
    const int32_t dims[3] = {width, height, depth};
    EXPECT_EQ(qvimage3_memory(&im, pixels.data(), dims, 0, int32_t(type), 0, 1, 0, 0), 0);
  }
  bytes pixels;
  qvimage3 im;
};

// The bytes of a whole window, line by line.
bytes read_all(qvimage *im) {
  const uint32_t width = uint32_t(im->wind.se.x - im->wind.nw.x),
                 height = uint32_t(im->wind.se.y - im->wind.nw.y);
  const size_t line = width * size_t(im->f.pixelsize);
  bytes all(line * height, 0xEE);
  EXPECT_EQ(im->ioset(im, 0, uint32_t(im->d.pixietype), uint32_t((uint64_t{1} << im->d.pixies) - 1)), 1);
  for (uint32_t y = 0; y < height; y++)
    for (uint32_t x = 0, n; x < width; x += n) {
      n = im->ioread(im, 0, &all[y * line + x * size_t(im->f.pixelsize)], width - x, int32_t(x), int32_t(y));
      if (n == 0) {
        ADD_FAILURE() << "nothing at " << x << ", " << y;
        return all;
      }
    }
  return all;
}

bool is_null(const qvimage &im) { return std::strcmp(im.devname, "NULL2") == 0; }
bool is_null(const qvimage3 &im) { return std::strcmp(im.devname, "NULL3") == 0; }

// --- refusals ----------------------------------------------------------------------------------------

TEST(GeometryRefuses, NullRecordsAndSources) {
  flat two(4, 3);
  deep three(4, 3, 2);
  EXPECT_EQ(qvimage_decimate(nullptr, &two.im, 0, 1, 1, 0, 0), -1);
  EXPECT_EQ(qvimage_rotate_filt(nullptr, &two.im, 0, 0), -1);
  EXPECT_EQ(qvimage_yodd(nullptr, &two.im, 0, 0), -1);
  EXPECT_EQ(qvimage_stack(nullptr, &three.im), -1);
  EXPECT_EQ(qvimage_def3from2(nullptr, &two.im, 0), -1);
  EXPECT_EQ(qvimage3_def3from3(nullptr, &three.im, 0, 0, 0, 0), -1);
  EXPECT_EQ(qvimage_cachemonitor(nullptr, &two.im, 0, 0), -1);
  qvimage view;
  qvimage3 view3;
  const std::function<int32_t()> without_source[] = {
      [&] { return qvimage_decimate(&view, nullptr, 0, 1, 1, 0, 0); },
      [&] { return qvimage_rotate_filt(&view, nullptr, 0, 0); },
      [&] { return qvimage_yodd(&view, nullptr, 0, 0); },
      [&] { return qvimage_stack(&view, nullptr); },
      [&] { return qvimage_cachemonitor(&view, nullptr, 0, 0); },
      [&] { return qvimage_def3from2(&view3, nullptr, 0); },
      [&] { return qvimage3_def3from3(&view3, nullptr, 0, 0, 0, 0); }};
  for (const auto &make : without_source) {
    std::memset(static_cast<void *>(&view), 0, sizeof view);
    std::memset(static_cast<void *>(&view3), 0, sizeof view3);
    EXPECT_EQ(make(), -1);
    EXPECT_TRUE(is_null(view) || is_null(view3));
  }
}

TEST(GeometryRefuses, ArgumentsAndSourcesThatDoNotFit) {
  flat grey(4, 3), rgb(4, 3, QVIM_UINT8, 3), real(4, 3, QVIM_FLOAT32), line(4, 1);
  deep real3(4, 3, 2, QVIM_FLOAT32), frames(4, 3, 2), many(1, 1, 1, QVIM_UINT16);
  qvimage view;
  const struct {
    uint32_t xperiod, yperiod, xphase, yphase;
  } bad[] = {{0, 1, 0, 0}, {1, 0, 0, 0}, {2, 1, 2, 0}, {1, 3, 0, 3}, {5, 1, 0, 0}, {1, 4, 0, 0}};
  for (const auto &b : bad) {
    EXPECT_EQ(qvimage_decimate(&view, &grey.im, 0, b.xperiod, b.yperiod, b.xphase, b.yphase), -1);
    EXPECT_TRUE(is_null(view));
  }
  const auto refused = [&](int32_t code, int32_t expected) {
    EXPECT_EQ(code, expected);
    EXPECT_TRUE(is_null(view));
  };
  refused(qvimage_decimate(&view, &rgb.im, 0, 1, 1, 0, 0), -1);
  refused(qvimage_decimate(&view, &real.im, 0, 1, 1, 0, 0), -19);
  refused(qvimage_rotate_filt(&view, &real.im, 0, 1), -19);
  refused(qvimage_yodd(&view, &line.im, 0, 1), -1);
  EXPECT_EQ(qvimage_yodd(&view, &line.im, 0, 0), 0);
  refused(qvimage_stack(&view, &real3.im), -19);
  many.im.imdim.se.z = many.im.wind.se.z = 65537;
  EXPECT_EQ(qvimage_stack(&view, &many.im), 0);
  many.im.imdim.se.z = many.im.wind.se.z = 65538;
  refused(qvimage_stack(&view, &many.im), -15);
  frames.im.imdim.se.z = frames.im.wind.se.z = (1 << 24) + 1;
  refused(qvimage_stack(&view, &frames.im), -15);
  frames.im.imdim.se.z = frames.im.wind.se.z = 0;
  qvimage3 view3;
  EXPECT_EQ(qvimage3_def3from3(&view3, &frames.im, 0, 0, 0, 0), -1);
  EXPECT_TRUE(is_null(view3));
}

TEST(GeometryRefuses, SetUpsThatDoNotFit) {
  flat grey(4, 3);
  deep frames(4, 3, 2);
  qvimage view;
  qvimage3 view3;
  ASSERT_EQ(qvimage_rotate_filt(&view, &grey.im, 0, 6), 0);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 2), -21);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 0), -21);
  EXPECT_EQ(view.ioset(&view, QVIM_ZSCAN, QVIM_UINT8, 1), -11);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT16, 1), -19);
  ASSERT_EQ(qvimage_decimate(&view, &grey.im, 0, 2, 1, 0, 0), 0);
  EXPECT_EQ(view.ioset(&view, QVIM_ZSCAN, QVIM_UINT8, 1), -1);
  EXPECT_EQ(view.imapset(&view, 0, QVIM_UINT8, 1), -11);
  ASSERT_EQ(qvimage_cachemonitor(&view, &grey.im, 0, 1), 0);
  EXPECT_EQ(view.imapset(&view, 0, QVIM_UINT8, 1), -11);
  ASSERT_EQ(qvimage_stack(&view, &frames.im), 0);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT16, 1), -19);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), 1);
  EXPECT_EQ(view.iorite(&view, 0, grey.pixels.data(), 1, 0, 0), 0u);
  ASSERT_EQ(qvimage_def3from2(&view3, &grey.im, 0), 0);
  EXPECT_EQ(view3.ioset(&view3, QVIM_ZSCAN, QVIM_UINT8, 1), -11);
}

TEST(GeometryRefuses, ScanOrdersAfterWhatTheSourceRefuses) {
  flat grey(4, 3);
  deep frames(4, 3, 2);
  qvimage view;
  const struct {
    std::function<int32_t()> make;
    int32_t code;
  } views[] = {{[&] { return qvimage_decimate(&view, &grey.im, 0, 2, 1, 0, 0); }, -1},
               {[&] { return qvimage_rotate_filt(&view, &grey.im, 0, 1); }, -11},
               {[&] { return qvimage_yodd(&view, &grey.im, 0, 0); }, -11},
               {[&] { return qvimage_cachemonitor(&view, &grey.im, 0, 0); }, -11},
               {[&] { return qvimage_def2from3(&view, &frames.im, 4, 0, 0, 0); }, -11},
               {[&] { return qvimage_stack(&view, &frames.im); }, -11}};
  for (const auto &v : views) {
    ASSERT_EQ(v.make(), 0);
    SCOPED_TRACE(std::string(view.devname, 8));
    for (const uint32_t mode : {4u, 6u}) {
      EXPECT_EQ(view.ioset(&view, mode, QVIM_UINT16, 1), -19);
      EXPECT_EQ(view.ioset(&view, mode, QVIM_UINT8, 2), -21);
      EXPECT_EQ(view.ioset(&view, mode, QVIM_UINT8, 1), v.code);
    }
  }
}

// Where lines or frames lie in another order there are no mappings across them; other reasons come first.
TEST(GeometryRefuses, MappingsInTheOrderOfTheirReasons) {
  flat grey(4, 4);
  deep frames(4, 3, 2);
  qvimage lines;
  qvimage3 renumbered, same;
  ASSERT_EQ(qvimage_yodd(&lines, &grey.im, 0, 1), 0);
  ASSERT_EQ(qvimage3_def3from3(&renumbered, &frames.im, 1, 0, 0, 0), 0);
  ASSERT_EQ(qvimage3_def3from3(&same, &frames.im, 2, 0, 0, 0), 0);
  const uint32_t y = QVIM_YSCAN | QVIM_STEP, z = QVIM_ZSCAN | QVIM_STEP;
  const struct {
    uint32_t mode, type, mask;
    int32_t of_lines, of_renumbered, of_same;
  } cases[] = {{0, QVIM_UINT8, 1, 0x4005, 0x4005, 0x4005}, {y, QVIM_UINT8, 1, -11, 0x4005, 0x4005},
               {z, QVIM_UINT8, 1, -1, -11, 0x4005},        {y, QVIM_UINT16, 1, -19, -19, -19},
               {y, QVIM_UINT8, 2, -21, -21, -21},          {z, QVIM_UINT16, 1, -19, -19, -19},
               {z, QVIM_UINT8, 2, -21, -21, -21},          {y | z, QVIM_UINT8, 1, -1, -1, -1}};
  for (const auto &c : cases) {
    SCOPED_TRACE(std::to_string(c.mode) + " " + std::to_string(c.type) + " " + std::to_string(c.mask));
    qvimagemap map;
    EXPECT_EQ(lines.imapset(&lines, c.mode, c.type, c.mask), c.of_lines);
    EXPECT_EQ(lines.imap(&lines, &map, 0, 0), c.of_lines > 0);
    EXPECT_EQ(renumbered.imapset(&renumbered, c.mode, c.type, c.mask), c.of_renumbered);
    EXPECT_EQ(renumbered.imap(&renumbered, &map, 0, 0, 0), c.of_renumbered > 0);
    EXPECT_EQ(same.imapset(&same, c.mode, c.type, c.mask), c.of_same);
    EXPECT_EQ(same.imap(&same, &map, 0, 0, 0), c.of_same > 0);
  }
}

TEST(GeometryRefuses, ViewsOverThemselves) {
  flat grey(4, 3);
  deep frames(4, 3, 2);
  qvimage view;
  qvimage3 view3;
  const std::function<void()> make[] = {
      [&] { qvimage_decimate(&view, &grey.im, 0, 1, 1, 0, 0); },
      [&] { qvimage_rotate_filt(&view, &grey.im, 1, 0); }, [&] { qvimage_yodd(&view, &grey.im, 0, 0); },
      [&] { qvimage_stack(&view, &frames.im); }, [&] { qvimage_cachemonitor(&view, &grey.im, 0, 0); }};
  for (const auto &m : make) {
    m();
    view.source[0] = -65;
    EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), -5);
    EXPECT_EQ(view.bxts(&view, 0, QVIM_UINT8, 1), -5);
    EXPECT_EQ(view.aeiou(&view, 'e', 0, 1, nullptr), 0u);
  }
  qvimage3_def3from3(&view3, &frames.im, 1, 0, 0, 0);
  view3.source[0] = -65;
  EXPECT_EQ(view3.ioset(&view3, 0, QVIM_UINT8, 1), -5);
}

// A null-windowed source accepts every set-up and moves nothing: so do its views.
TEST(GeometryRefuses, PixelsOfSourcesWithoutAWindow) {
  flat grey(4, 3);
  deep frames(4, 3, 2);
  qvimage view;
  const std::function<int32_t()> make[] = {
      [&] { return qvimage_decimate(&view, &grey.im, 0, 2, 1, 0, 0); },
      [&] { return qvimage_rotate_filt(&view, &grey.im, 0, 4); },
      [&] { return qvimage_yodd(&view, &grey.im, 0, 0); },
      [&] { return qvimage_cachemonitor(&view, &grey.im, 0, 0); },
      [&] { return qvimage_converter(&view, &grey.im, nullptr, 0, 0, 0, 0); },
      [&] { return qvimage_Beyer4_filter(&view, &grey.im, 0, 0); },
      [&] { return qvimage_colorslice(&view, &grey.im, 0, 1, 0); },
      [&] { return qvimage_def2from3(&view, &frames.im, 0, 2, 0, 0); },
      [&] { return qvimage_stack(&view, &frames.im); }};
  for (const auto &m : make) {
    ASSERT_NE(grey.im.xwind(&grey.im, nullptr, 's'), nullptr);
    ASSERT_NE(frames.im.xwind(&frames.im, nullptr, 's'), nullptr);
    ASSERT_EQ(m(), 0);
    qvimnullwind(&grey.im);
    qvim3nullwind(&frames.im);
    for (const uint32_t type : {0u, 3u, uint32_t(QVIM_UINT8), uint32_t(QVIM_UINT64)})
      for (const uint32_t mask : {0u, 1u, 15u}) {
        SCOPED_TRACE(std::string(view.devname, 8) + std::to_string(type) + " " + std::to_string(mask));
        view.ioset(&view, 0, type, mask);
        uint8_t out[64] = {};
        EXPECT_EQ(view.ioread(&view, 0, out, 1, 0, 0), 0u);
        EXPECT_EQ(view.iorite(&view, 0, out, 1, 0, 0), 0u);
        EXPECT_EQ(view.iolen(&view, 1, 0, 0), 0u);
      }
  }
}

// --- what they say of themselves ---------------------------------------------------------------------

TEST(GeometryDescribes, ItsPlaceInTheChain) {
  flat grey(4, 3);
  deep frames(4, 3, 2);
  const auto expect = [](auto &view, auto &source, const char *name, uint32_t blocks, uint32_t images,
                         uint32_t flag) {
    EXPECT_EQ(std::strncmp(view.devname, name, 8), 0) << name;
    const auto answer = [](auto &im, uint32_t code) { return im.aeiou(&im, code, 0, 0, nullptr); };
    EXPECT_EQ(answer(view, 'b'), (answer(source, 'b') + blocks) | flag) << name;
    EXPECT_EQ(answer(view, 'i'), (answer(source, 'i') + images) | flag) << name;
    EXPECT_EQ(answer(view, 'm'), (answer(source, 'm') + images) | flag) << name;
    EXPECT_EQ(answer(view, 'I'), 0xFFFFFFFFu) << name;
    EXPECT_EQ(answer(view, 'B'), 357913941u) << name;
    EXPECT_EQ(answer(view, '*' << 8 | 'x'), 0u) << name;
  };
  qvimage view;
  qvimage3 view3;
  ASSERT_EQ(qvimage_decimate(&view, &grey.im, 0, 1, 1, 0, 0), 0);
  expect(view, grey.im, "QVIMDECI", 2, 1, 0x10000);
  ASSERT_EQ(qvimage_rotate_filt(&view, &grey.im, 0, 0), 0);
  expect(view, grey.im, "QVIMROTA", 2, 1, 0x20000);
  ASSERT_EQ(qvimage_yodd(&view, &grey.im, 0, 0), 0);
  expect(view, grey.im, "QVIMYOdd", 1, 1, 0x10000);
  ASSERT_EQ(qvimage_stack(&view, &frames.im), 0);
  expect(view, frames.im, "QVIMSTAK", 2, 1, 0x2000000);
  ASSERT_EQ(qvimage_cachemonitor(&view, &grey.im, 0, 0), 0);
  expect(view, grey.im, "QVIMCAM", 0, 0, 0);
  ASSERT_EQ(qvimage_def3from2(&view3, &grey.im, 0), 0);
  expect(view3, grey.im, "QVIM2to3", 1, 1, 0);
  ASSERT_EQ(qvimage3_def3from3(&view3, &frames.im, 0, 0, 0, 0), 0);
  expect(view3, frames.im, "QVIM3to3", 1, 1, 0);
}

TEST(GeometryDescribes, TransposedPixelSizes) {
  flat grey(4, 3);
  qvimage view;
  ASSERT_EQ(qvimage_rotate_filt(&view, &grey.im, 0, 1), 0);
  EXPECT_EQ(view.imdim.se.x, 3);
  EXPECT_EQ(view.imdim.se.y, 4);
  EXPECT_EQ(view.h.pixelwidth, 0.25f);
  EXPECT_EQ(view.h.pixelheight, 0.5f);
  EXPECT_EQ(view.h.widthunits, QVIM_UNIT_SECOND);
  EXPECT_EQ(view.h.heightunits, QVIM_UNIT_MILLIMETER);
}

TEST(GeometryDescribes, MeansAsPlainNumbers) {
  deep frames(4, 3, 2, QVIM_UINT16);
  frames.im.d.i_bitsused = 12;
  frames.im.d.i_bitsxsb = QVIM_MSB;
  frames.im.d.i_endian = QVIM_SWAPPED;
  frames.im.d.i_dirtyread = frames.im.d.i_dirtyrite = QVIM_DIRTY;
  qvimage view;
  ASSERT_EQ(qvimage_stack(&view, &frames.im), 0);
  EXPECT_EQ(view.d.i_bitsused, 12);
  EXPECT_EQ(view.d.i_bitsxsb, QVIM_LSB);
  EXPECT_EQ(view.d.i_endian | view.d.i_dirtyread | view.d.i_dirtyrite, 0);
}

// --- examples ----------------------------------------------------------------------------------------

TEST(Geometry, ShowsWhatTheExamplesSay) {
  flat grey(6, 3);
  qvimage view, over;
  ASSERT_EQ(qvimage_decimate(&view, &grey.im, 0, 3, 2, 2, 1), 0);
  EXPECT_EQ(read_all(&view), (bytes{8, 11}));
  ASSERT_EQ(qvimage_rotate_filt(&view, &grey.im, 0, 5), 0);  // clockwise
  EXPECT_EQ(read_all(&view), (bytes{12, 6, 0, 13, 7, 1, 14, 8, 2, 15, 9, 3, 16, 10, 4, 17, 11, 5}));
  ASSERT_EQ(qvimage_rotate_filt(&view, &grey.im, 0, 3), 0);  // counter-clockwise
  EXPECT_EQ(read_all(&view), (bytes{5, 11, 17, 4, 10, 16, 3, 9, 15, 2, 8, 14, 1, 7, 13, 0, 6, 12}));
  ASSERT_EQ(qvimage_yodd(&view, &grey.im, 0, 1), 0);
  ASSERT_EQ(qvimage_decimate(&over, &view, 0, 6, 1, 0, 0), 0);
  EXPECT_EQ(read_all(&over), (bytes{6, 6, 6}));

  deep frames(1, 1, 5);
  qvimage3 renumbered;
  for (const int32_t offset : {2, -3, 7, INT32_MAX}) {
    ASSERT_EQ(qvimage3_def3from3(&renumbered, &frames.im, offset, 0, 0, 0), 0);
    ASSERT_EQ(qvimage_def2from3(&view, &renumbered, QVIM_ZSCAN, QVIM_XSCAN, 0, 0), 0);
    EXPECT_EQ(read_all(&view), (bytes{2, 3, 4, 0, 1}));
  }
  ASSERT_EQ(qvimage_stack(&view, &frames.im), 0);
  EXPECT_EQ(read_all(&view), (bytes{2}));
}

TEST(Geometry, OddLinesOfAnOddHeightRepeatTheLastOne) {
  flat grey(1, 5);
  qvimage view;
  ASSERT_EQ(qvimage_yodd(&view, &grey.im, 0, 1), 0);
  EXPECT_EQ(read_all(&view), (bytes{1, 1, 3, 3, 3}));
}

TEST(Geometry, KeepsToTheFrameOfA2DImage) {
  flat grey(4, 3);
  qvimage3 view;
  ASSERT_EQ(qvimage_def3from2(&view, &grey.im, 0), 0);
  EXPECT_EQ(view.imdim.se.z, 1);
  ASSERT_EQ(view.ioset(&view, QVIM_TRUST, QVIM_UINT8, 1), 1);
  uint8_t out[4] = {};
  EXPECT_EQ(view.ioread(&view, 0, out, 4, 0, 0, 1), 0u);
  EXPECT_EQ(view.ioread(&view, 0, out, 4, 0, 1, 0), 4u);
  EXPECT_EQ(out[0], 4);
}

TEST(Geometry, DeliversOnlyWhatTheSourcesWindowHolds) {
  deep frames(6, 4, 2);
  qvyzwindow part = {{1, 1, 0}, {4, 3, 2}};
  ASSERT_EQ(frames.im.xwind(&frames.im, &part, 's'), &frames.im);
  qvimage view;
  ASSERT_EQ(qvimage_stack(&view, &frames.im), 0);
  ASSERT_EQ(view.xwind(&view, nullptr, 's'), &view);  // 6 x 4
  ASSERT_EQ(view.ioset(&view, QVIM_WRAP, QVIM_UINT8, 1), 1);
  uint8_t out[24];
  EXPECT_EQ(view.ioread(&view, 0, out, 24, 0, 0), 3u);
  EXPECT_EQ(out[0], 7 + 24 / 2);
  EXPECT_EQ(view.ioread(&view, 0, out, 24, 3, 0), 0u);
  EXPECT_EQ(view.ioread(&view, 0, out, 24, 0, 2), 0u);
}

// --- notes of accesses -------------------------------------------------------------------------------

struct Monitor : testing::Test {
  void SetUp() override { ASSERT_EQ(qvimage_cachemonitor(&view, &grey.im, 0, 0), 0); }
  uint32_t notes() { return view.aeiou(&view, 'c' << 8 | 'm', 0, 0, nullptr); }
  flat grey{4, 3};
  qvimage view;
  uint8_t pixel = 0;
};

TEST_F(Monitor, NotesRuns) {
  EXPECT_EQ(notes(), 0u);
  ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), 1);
  EXPECT_EQ(view.ioread(&view, 0, &pixel, 1, 4, 0), 0u);
  EXPECT_EQ(notes(), 0u);
  EXPECT_EQ(view.ioread(&view, 0, &pixel, 1, 3, 0), 1u);
  EXPECT_EQ(notes(), 0x8000u);
  EXPECT_EQ(view.iorite(&view, 0, &pixel, 1, 3, 0), 1u);
  EXPECT_EQ(notes(), 0xC000u);
  ASSERT_EQ(view.xwind(&view, nullptr, 's'), &view);
  EXPECT_EQ(notes(), 0xC000u);
}

TEST_F(Monitor, NotesBlockTransfersThatPassThroughOtherViews) {
  qvimage over;
  ASSERT_EQ(qvimage_decimate(&over, &view, 0, 2, 1, 0, 0), 0);
  for (const auto &[op, expected] : {std::pair{uint32_t{QVIM_OP_READ}, 0x8000u}, {QVIM_OP_WRITE, 0xC000u}}) {
    qvxyzcoord entry = {1, 1, 0};
    ASSERT_GE(over.bxts(&over, 0, QVIM_UINT8, 1), 0);
    EXPECT_EQ(over.bxta(&over, QVIM_LIST, &pixel, &entry, 1, op), 1u);
    EXPECT_EQ(notes(), expected);
  }
}

TEST_F(Monitor, NotesBlockTransfersOfItsOwn) {
  for (const auto &[op, expected] : {std::pair{uint32_t{QVIM_OP_WRITE}, 0x4000u}, {QVIM_OP_READ, 0xC000u}}) {
    qvxyzcoord entry = {1, 1, 0};
    ASSERT_GE(view.bxts(&view, 0, QVIM_UINT8, 1), 0);
    EXPECT_EQ(view.bxta(&view, QVIM_LIST, &pixel, &entry, 1, op), 1u);
    EXPECT_EQ(notes(), expected);
  }
}

TEST_F(Monitor, NotesMappings) {
  qvimagemap map;
  for (const auto &[announced, expected] : {std::pair{0x4000u, 0x4000u}, {0u, 0xC000u}}) {
    ASSERT_GT(view.imapset(&view, announced, QVIM_UINT8, 1), 0);
    EXPECT_EQ(view.imap(&view, &map, 0, 3), 0);
    EXPECT_EQ(view.imap(&view, &map, 0, 2), 1);
    EXPECT_EQ(notes(), expected);
  }
}

// --- chains ------------------------------------------------------------------------------------------

TEST(GeometryChains, WorkWhereverTheirRecordsAreCopied) {
  flat grey(6, 4);
  auto records = std::make_unique<qvimage[]>(4);
  const auto below = reinterpret_cast<qvimage *>(intptr_t{-64});  // the next record
  records[3] = grey.im;
  ASSERT_EQ(qvimage_yodd(&records[2], below, 0, 0), 0);
  ASSERT_EQ(qvimage_cachemonitor(&records[1], below, 0, 0), 0);
  ASSERT_EQ(qvimage_rotate_filt(&records[0], below, 0, 5), 0);
  const bytes expected{12, 12, 0, 0, 13, 13, 1, 1, 14, 14, 2, 2, 15, 15, 3, 3, 16, 16, 4, 4, 17, 17, 5, 5};
  EXPECT_EQ(read_all(&records[0]), expected);
  auto copied = std::make_unique<qvimage[]>(4);
  std::memcpy(static_cast<void *>(copied.get()), records.get(), 4 * sizeof(qvimage));
  std::memset(static_cast<void *>(records.get()), 0xA5, 4 * sizeof(qvimage));
  records.reset();
  uint8_t first;  // what was set up before still is
  ASSERT_EQ(copied[0].ioread(&copied[0], 0, &first, 1, 1, 1), 1u);
  EXPECT_EQ(first, 13);
  EXPECT_EQ(read_all(&copied[0]), expected);
}

TEST(GeometryChains, AllocateNothingInTransfers) {
  deep frames(300, 20, 3);
  qvimage3 circular;
  qvimage beside, turned, thinned, mean;
  ASSERT_EQ(qvimage3_def3from3(&circular, &frames.im, 1, 0, 0, 0), 0);
  ASSERT_EQ(qvimage_def2from3(&beside, &circular, 0, 2, 0, 0x40), 0);
  ASSERT_EQ(qvimage_rotate_filt(&turned, &beside, 0, 7), 0);
  ASSERT_EQ(qvimage_decimate(&thinned, &turned, 0, 3, 2, 1, 1), 0);
  ASSERT_EQ(qvimage_stack(&mean, &circular), 0);
  const uint64_t before = allocation_count();
  uint8_t line[20];
  for (qvimage *im : {&thinned, &mean}) {
    ASSERT_EQ(im->ioset(im, 0, QVIM_UINT8, 1), 1);
    EXPECT_GT(im->ioread(im, 0, line, sizeof line, 0, 1), 0u);
  }
  EXPECT_EQ(allocation_count(), before);
}

TEST(GeometryChains, ThinLinesThatTheSourceServesInParts) {
  deep frames(3, 1, 3);
  qvimage beside, thinned;
  ASSERT_EQ(qvimage_def2from3(&beside, &frames.im, 0, 2, 0, 0x40), 0);
  ASSERT_EQ(qvimage_decimate(&thinned, &beside, 0, 3, 1, 0, 0), 0);
  EXPECT_EQ(read_all(&thinned), (bytes{0, 3, 6}));
  ASSERT_EQ(qvimage_decimate(&thinned, &beside, 0, 2, 1, 1, 0), 0);
  EXPECT_EQ(read_all(&thinned), (bytes{1, 3, 5, 7}));
}

TEST(GeometryChains, ReachMirroredRunsAcrossJoinedFrames) {
  deep frames(3, 1, 3);
  qvimage beside, mirrored;
  ASSERT_EQ(qvimage_def2from3(&beside, &frames.im, 0, 2, 0, 0x40), 0);
  ASSERT_EQ(qvimage_rotate_filt(&mirrored, &beside, 0, 4), 0);
  EXPECT_EQ(read_all(&mirrored), (bytes{8, 7, 6, 5, 4, 3, 2, 1, 0}));
  const uint8_t values[9] = {20, 21, 22, 23, 24, 25, 26, 27, 28};
  EXPECT_EQ(mirrored.iorite(&mirrored, 0, values, 9, 0, 0), 9u);
  EXPECT_EQ(frames.pixels, (bytes{28, 27, 26, 25, 24, 23, 22, 21, 20}));
}

TEST(GeometryChains, ThinPixelsOfTheTypeThatTheSourceConvertsTo) {
  flat source(9, 1);
  qvimage converted, thinned;
  ASSERT_EQ(qvimage_converter(&converted, &source.im, nullptr, 0, 0, 0, 0), 0);
  ASSERT_EQ(qvimage_decimate(&thinned, &converted, 0, 3, 1, 2, 0), 0);
  ASSERT_EQ(thinned.ioset(&thinned, 0, QVIM_FLOAT32, 1), 1);
  float values[3];
  ASSERT_EQ(thinned.ioread(&thinned, 0, values, 3, 0, 0), 3u);
  for (int x = 0; x < 3; x++) EXPECT_EQ(values[x], float(3 * x + 2));
  ASSERT_EQ(thinned.ioset(&thinned, 0, QVIM_FLOAT64, 1), 1);
  double twice[3];
  ASSERT_EQ(thinned.ioread(&thinned, 0, twice, 3, 0, 0), 3u);
  for (int x = 0; x < 3; x++) EXPECT_EQ(twice[x], 3 * x + 2);
}

// Frames joined pause a run, and a window that became smaller ends one: a promise knows both.
TEST(GeometryChains, PromiseWhatTheyMove) {
  deep frames(4, 2, 3);
  qvimage beside, other;
  const std::function<int32_t()> views[] = {
      [&] { return qvimage_converter(&other, &beside, nullptr, 0, 0, 4, 0); },
      [&] { return qvimage_rotate_filt(&other, &beside, 0, 4); },
      [&] { return qvimage_decimate(&other, &beside, 0, 2, 1, 1, 0); },
      [&] { return qvimage_Beyer4_filter(&other, &beside, 0, 1); }};
  for (size_t i = 0; i < std::size(views); i++)
    for (const int32_t end : {12, 7}) {
      ASSERT_EQ(qvimage_def2from3(&beside, &frames.im, 0, 2, 0, 0x40), 0);
      ASSERT_EQ(views[i](), 0);
      qvywindow left = {{0, 0}, {end, 2}};
      ASSERT_EQ(beside.xwind(&beside, &left, 's'), &beside);
      const uint32_t all = uint32_t(other.wind.se.x), mask = (1u << other.d.pixies) - 1;
      ASSERT_EQ(other.ioset(&other, 0, QVIM_UINT8 | QVIM_LSB, mask), 1);
      for (uint32_t x = 0; x < all; x++) {
        uint8_t out[48];
        const uint32_t promised = other.iolen(&other, all - x, int32_t(x), 1);
        EXPECT_EQ(other.ioread(&other, 0, out, all - x, int32_t(x), 1), promised) << i << " at " << x;
        if (end == 12) {
          EXPECT_EQ(promised, all - x) << i;
        }
      }
    }
}

// Mirrored, the run's last pixels come first in the source.
TEST(GeometryChains, WriteNoPixelThatTheyDoNotReport) {
  flat source(8, 1);
  qvimage monitored, mirrored;
  ASSERT_EQ(qvimage_cachemonitor(&monitored, &source.im, 0, 0), 0);
  ASSERT_EQ(qvimage_rotate_filt(&mirrored, &monitored, 0, 4), 0);
  qvywindow left = {{2, 0}, {5, 1}};
  ASSERT_EQ(source.im.xwind(&source.im, &left, 's'), &source.im);
  ASSERT_EQ(mirrored.ioset(&mirrored, 0, QVIM_UINT8, 1), 1);
  const bytes before = source.pixels, given = {50, 51, 52, 53, 54, 55, 56, 57};
  EXPECT_EQ(mirrored.iorite(&mirrored, 0, given.data(), 8, 0, 0), 0u);
  EXPECT_EQ(source.pixels, before);
  EXPECT_EQ(mirrored.iolen(&mirrored, 8, 5, 0), 3u);
  EXPECT_EQ(mirrored.iorite(&mirrored, 0, given.data(), 8, 5, 0), 3u);
  EXPECT_EQ(source.pixels, (bytes{0, 1, 52, 51, 50, 5, 6, 7}));
}

TEST(GeometryChains, LeavePixelsBetweenAsTheyAreUnderAConversion) {
  flat grey(8, 2, QVIM_UINT16);
  const bytes before = grey.pixels;
  qvimage high, thinned;
  qvimagedata d = grey.im.d;
  ASSERT_EQ(qviminitdata(&d, QVIM_UINT8, 8, 1, 1), 1);
  ASSERT_EQ(qvimage_converter(&high, &grey.im, &d, 0, 0, 0, 0), 0);
  ASSERT_EQ(qvimage_decimate(&thinned, &high, 0, 4, 1, 1, 0), 0);
  ASSERT_EQ(thinned.ioset(&thinned, 0, QVIM_UINT8, 1), 1);
  const uint8_t values[2] = {0x77, 0x78};
  EXPECT_EQ(thinned.iorite(&thinned, 0, values, 2, 0, 1), 2u);
  for (size_t i = 0; i < 16; i++)
    if (i != 9 && i != 13) {
      EXPECT_EQ(std::memcmp(&grey.pixels[2 * i], &before[2 * i], 2), 0) << i;
    }
  EXPECT_NE(grey.pixels, before);
}

TEST(GeometryChains, StandOnFiles) {
  temporary_folder folder;
  const std::string path = folder / "frames.tif";
  deep frames(5, 3, 2);
  ASSERT_EQ(qvimage3_tiffwrite(nullptr, &frames.im, nullptr, path.c_str(), nullptr, 0, 0, nullptr, 0, 0, 0),
            0);
  qvimage3 file;
  tiffhandle *handle = nullptr;
  ASSERT_EQ(qvimage3_tiffread(&file, nullptr, &handle, path.c_str(), nullptr, 0, 0), 0);
  qvimage below, turned, mean, thinned;
  ASSERT_EQ(qvimage_def2from3(&below, &file, 0, 2, 0, 0x80), 0);
  ASSERT_EQ(qvimage_rotate_filt(&turned, &below, 0, 6), 0);
  bytes backwards = frames.pixels;
  std::reverse(backwards.begin(), backwards.end());
  EXPECT_EQ(read_all(&turned), backwards);
  ASSERT_EQ(qvimage_decimate(&thinned, &turned, 0, 2, 3, 1, 2), 0);
  EXPECT_EQ(read_all(&thinned), (bytes{18, 16, 3, 1}));
  ASSERT_EQ(qvimage_stack(&mean, &file), 0);
  EXPECT_EQ(read_all(&mean), (bytes{8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22}));
  EXPECT_EQ(qvimage3_tiffreaddone(&file, nullptr, &handle), 0);
}

}  // namespace
