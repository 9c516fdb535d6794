// Views that only move pixels: what chains of views do not ask of them.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <vector>

#include <qvimage/qvimage.h>

#include "core/dimension.hpp"

namespace {

using bytes = std::vector<uint8_t>;

// Memory images of numbered pixels.
struct flat {
  flat(int32_t width, int32_t height) : pixels(size_t(width * height)) {
    std::iota(pixels.begin(), pixels.end(), uint8_t{0});
    const int32_t dims[2] = {width, height};
    EXPECT_EQ(qvimage_memory(&im, pixels.data(), dims, 0, QVIM_UINT8, 0, 1, 0, 0), 0);
    qviminithints(&im.h, QVIM_UNIT_MILLIMETER, QVIM_UNIT_SECOND, 0, 0.5f, 0.25f, 0);
  }
  bytes pixels;
  qvimage im;
};
struct deep {
  deep(int32_t width, int32_t height, int32_t depth, int32_t type = QVIM_UINT8)
      : pixels(size_t(width * height * depth * qvimdatasize(uint32_t(type)))) {
    std::iota(pixels.begin(), pixels.end(), uint8_t{0});
    const int32_t dims[3] = {width, height, depth};
    EXPECT_EQ(qvimage3_memory2(&im, pixels.data(), dims, 0, type, 0, 1, 0, 0, QVIM_UNIT_MILLIMETER,
                               QVIM_UNIT_SECOND, 0.5f, 0.25f, 2.0f),
              0);
  }
  bytes pixels;
  qvimage3 im;
};

// One run of bytes.
template <class Record>
bytes run(Record *im, uint32_t mode, uint32_t count, qvim::point<qvim::dimension_of<Record>> at) {
  bytes pixels(count, 0xEE);
  EXPECT_EQ(im->ioset(im, mode, QVIM_UINT8, 1), 1);
  const uint32_t promised = qvim::call_length(im, count, at);
  pixels.resize(qvim::call_read(im, 0, pixels.data(), count, at));
  EXPECT_EQ(pixels.size(), promised);
  return pixels;
}

TEST(Geometry, AWindowThatDoesNotFitServesNothingUntilOneIsSet) {
  flat grey(4, 3);
  grey.im.wind = {{1, 1}, {9, 2}};
  qvimage view;
  ASSERT_EQ(qvimage_cachemonitor(&view, &grey.im, 1, 0), 0);
  EXPECT_EQ(view.wind.se.x, 0);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), 0);
  ASSERT_EQ(view.xwind(&view, nullptr, 's'), &view);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), 1);
}

// Where lines or frames lie in another order there are no mappings across them; other reasons come first.
TEST(Geometry, RefusesMappingsInTheOrderOfTheirReasons) {
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
  ASSERT_EQ(qvimage_cachemonitor(&lines, &grey.im, 0, 1), 0);  // allows none
  EXPECT_EQ(lines.imapset(&lines, 0, QVIM_UINT8, 1), -11);
}

TEST(Geometry, DescribesTheSourceSeenFromAnotherSide) {
  flat grey(4, 3);
  deep frames(4, 3, 2, QVIM_UINT16);
  qvimage turned, plane, mean;
  ASSERT_EQ(qvimage_rotate_filt(&turned, &grey.im, 0, 1), 0);
  EXPECT_TRUE(turned.h.pixelwidth == 0.25f && turned.h.pixelheight == 0.5f);
  EXPECT_TRUE(turned.h.widthunits == QVIM_UNIT_SECOND && turned.h.heightunits == QVIM_UNIT_MILLIMETER);
  ASSERT_EQ(qvimage_def2from3(&plane, &frames.im, 0, 2, 1, 0), 0);
  EXPECT_EQ(std::memcmp(&plane.d, &frames.im.d, sizeof plane.d), 0);
  EXPECT_EQ(plane.f.pixelsize, 2);
  EXPECT_TRUE(plane.h.pixelwidth == 0.5f && plane.h.pixelheight == 0.25f && plane.h.pixeldepth == 0);
  EXPECT_EQ(plane.h.depthunits, 0);
  // Means are plain numbers.
  frames.im.d.i_bitsused = 12;
  frames.im.d.i_bitsxsb = QVIM_MSB;
  frames.im.d.i_endian = QVIM_SWAPPED;
  frames.im.d.i_dirtyread = frames.im.d.i_dirtyrite = QVIM_DIRTY;
  ASSERT_EQ(qvimage_stack(&mean, &frames.im), 0);
  EXPECT_TRUE(mean.d.i_bitsused == 12 && mean.d.i_bitsxsb == QVIM_LSB);
  EXPECT_EQ(mean.d.i_endian | mean.d.i_dirtyread | mean.d.i_dirtyrite, 0);
}

TEST(Geometry, KeepsToTheFramesThatThereAre) {
  flat grey(4, 3);
  deep volume(4, 3, 2), frames(1, 1, 5);
  qvimage plane;
  qvimage3 view;
  ASSERT_EQ(qvimage_def3from2(&view, &grey.im, 0), 0);
  EXPECT_EQ(view.imdim.se.z, 1);
  EXPECT_EQ(view.ioset(&view, QVIM_ZSCAN, QVIM_UINT8, 1), -11);
  EXPECT_EQ(run(&view, QVIM_TRUST, 4, {0, 0, 1}), bytes());
  EXPECT_EQ(run(&view, QVIM_TRUST, 4, {0, 1, 0}), (bytes{4, 5, 6, 7}));
  ASSERT_EQ(qvimage_def2from3(&plane, &volume.im, 0, 2, 2, 0), 0);
  EXPECT_EQ(run(&plane, QVIM_TRUST, 1, {0, 0}), bytes());
  for (const int32_t offset : {2, -3, 7, INT32_MAX}) {
    ASSERT_EQ(qvimage3_def3from3(&view, &frames.im, offset, 0, 0, 0), 0);
    EXPECT_EQ(run(&view, QVIM_WRAP, 1, {0, 0, 1}), bytes{3}) << offset;
  }
}

TEST(Geometry, StopsARunAlongJoinedFramesAtEachFrame) {
  deep frames(4, 3, 2);
  constexpr uint8_t beside = 0x40;
  qvimage view;
  ASSERT_EQ(qvimage_def2from3(&view, &frames.im, 0, 2, 0, beside), 0);
  EXPECT_EQ(run(&view, QVIM_WRAP, 24, {1, 0}), (bytes{1, 2, 3}));
  EXPECT_EQ(run(&view, QVIM_YSCAN | QVIM_WRAP, 24, {3, 1}),  // columns 3 and, in the next frame, 4 to 7
            (bytes{7, 11, 12, 16, 20, 13, 17, 21, 14, 18, 22, 15, 19, 23}));
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

TEST(CacheMonitor, NotesAccesses) {
  constexpr uint32_t read = 0x8000, written = 0x4000;
  flat grey(4, 3);
  qvimage view, over;
  uint8_t pixel = 0;
  const auto begin = [&] {
    ASSERT_EQ(qvimage_cachemonitor(&view, &grey.im, 0, 0), 0);
    ASSERT_EQ(qvimage_decimate(&over, &view, 0, 2, 1, 0, 0), 0);
  };
  const auto notes = [&] { return view.aeiou(&view, 'c' << 8 | 'm', 0, 0, nullptr); };
  begin();
  EXPECT_EQ(notes(), 0u);
  ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), 1);
  EXPECT_EQ(view.ioread(&view, 0, &pixel, 1, 4, 0), 0u);
  EXPECT_EQ(notes(), 0u);
  EXPECT_EQ(view.ioread(&view, 0, &pixel, 1, 3, 0), 1u);
  EXPECT_EQ(notes(), read);
  EXPECT_EQ(view.iorite(&view, 0, &pixel, 1, 3, 0), 1u);
  EXPECT_EQ(notes(), read | written);
  ASSERT_EQ(view.xwind(&view, nullptr, 's'), &view);
  EXPECT_EQ(notes(), read | written);
  for (const auto &[op, expected] : {std::pair{uint32_t{QVIM_OP_READ}, read}, {QVIM_OP_WRITE, written}})
    for (qvimage *through : {&view, &over}) {  // lists of another view are runs here, read first
      begin();
      qvxyzcoord entry = {1, 1, 0};
      ASSERT_GE(through->bxts(through, 0, QVIM_UINT8, 1), 0);
      EXPECT_EQ(through->bxta(through, QVIM_LIST, &pixel, &entry, 1, op), 1u);
      EXPECT_EQ(notes(), expected) << op;
    }
  for (const auto &[announced, expected] : {std::pair{written, written}, {0u, read | written}}) {
    begin();
    qvimagemap map;
    ASSERT_GT(view.imapset(&view, announced, QVIM_UINT8, 1), 0);
    EXPECT_EQ(view.imap(&view, &map, 0, 3), 0);
    EXPECT_EQ(notes(), 0u);
    EXPECT_EQ(view.imap(&view, &map, 0, 2), 1);
    EXPECT_EQ(notes(), expected);
  }
}

}  // namespace
