// Views that only move pixels: what they refuse, what they say of themselves, and examples.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <vector>

#include <qvimage/qvimage.h>

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

TEST(GeometryRefuses, WindowsThatDoNotFitUntilOneIsSet) {
  flat grey(4, 3);
  grey.im.wind = {{1, 1}, {9, 2}};
  qvimage view;
  ASSERT_EQ(qvimage_cachemonitor(&view, &grey.im, 1, 0), 0);
  EXPECT_EQ(view.wind.se.x, 0);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), 0);
  ASSERT_EQ(view.xwind(&view, nullptr, 's'), &view);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), 1);
}

TEST(GeometryRefuses, MappingsThatAreForbiddenAndDepthThatIsNotThere) {
  flat grey(4, 3);
  qvimage view;
  qvimage3 view3;
  ASSERT_EQ(qvimage_cachemonitor(&view, &grey.im, 0, 1), 0);
  EXPECT_EQ(view.imapset(&view, 0, QVIM_UINT8, 1), -11);
  ASSERT_EQ(qvimage_def3from2(&view3, &grey.im, 0), 0);
  EXPECT_EQ(view3.ioset(&view3, QVIM_ZSCAN, QVIM_UINT8, 1), -11);
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

// --- what they say of themselves ---------------------------------------------------------------------

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

// Of every run over several lines, with gaps between these and without.
TEST(Geometry, TurnsRunsOverLinesBy180) {
  constexpr int32_t dims[2] = {5, 4};
  constexpr uint32_t width = 5, all = 20, pixel = 3;
  for (const uint32_t pitch : {pixel * width, pixel * width + 2})
    for (uint32_t from = 0; from < all; from++)
      for (uint32_t count = 1; count <= all - from; count++) {
        bytes stored(pitch * 4), run(count * pixel);
        std::iota(stored.begin(), stored.end(), uint8_t{0});
        const auto place = [&](uint32_t n) {
          return (all - 1 - n) / width * pitch + (all - 1 - n) % width * pixel;
        };
        for (uint32_t n = 0; n < count; n++) std::memcpy(&run[n * pixel], &stored[place(from + n)], pixel);
        qvimage im, view;
        ASSERT_EQ(qvimage_memory(&im, stored.data(), dims, pitch, QVIM_UINT8, 0, pixel, 0, 0), 0);
        ASSERT_EQ(qvimage_rotate_filt(&view, &im, 0, 6), 0);
        ASSERT_EQ(view.ioset(&view, QVIM_WRAP, QVIM_UINT8, 7), 1);
        const int32_t x = int32_t(from % width), y = int32_t(from / width);
        bytes got(run.size());
        ASSERT_EQ(view.ioread(&view, 0, got.data(), count, x, y), count);
        EXPECT_EQ(got, run) << pitch << ", " << count << " from " << from;
        bytes expected = stored;
        for (uint32_t i = 0; i < run.size(); i++) run[i] = uint8_t(200 + i);
        for (uint32_t n = 0; n < count; n++) std::memcpy(&expected[place(from + n)], &run[n * pixel], pixel);
        ASSERT_EQ(view.iorite(&view, 0, run.data(), count, x, y), count);
        EXPECT_EQ(stored, expected) << pitch << ", " << count << " from " << from;
      }
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

}  // namespace
