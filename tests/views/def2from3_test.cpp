// A 3-D image seen as a plane or as its frames joined.
#include <gtest/gtest.h>

#include "tests/views/geometry_model.hpp"
#include "tests/views/model.hpp"

namespace {

using namespace model;
using qvim::two_d;

struct scene {
  generator g;
  pixels stored;
  qvimage3 source;
  qvimage view;
  frame within;  // the source's window
  frames_presented how;
  request r;

  void set_up(int seed) {
    g.seed(uint64_t(seed));
    stored = random_pixels(g, 3);
    ASSERT_NO_FATAL_FAILURE(build(&source, stored));
    if (chance(g, 60)) {
      ASSERT_NO_FATAL_FAILURE(set_window(&source, random_part(g, stored.dims)));
    }
    within = frame_of(source.wind);
    how = random_presentation(g, within.size);
    ASSERT_EQ(qvimage_def2from3(&view, &source, how.xaxis, how.yaxis, how.plane, how.flags), 0);
    ASSERT_EQ(frame_of(view.imdim), (frame{{0, 0, 0}, size_of(how, within.size)}));
    ASSERT_EQ(frame_of(view.wind), frame_of(view.imdim));
    if (chance(g, 50)) {
      ASSERT_NO_FATAL_FAILURE(set_window(&view, random_part(g, size_of(how, within.size))));
    }
    r = {random_mode(g, 2), uint32_t(stored.d.pixietype) | random_flags(g), random_mask(g, stored.d.pixies)};
  }
  extent size() const { return frame_of(view.wind).size; }
  pos in_source(const pos &at) const {
    return sum(within.nw, place_of(how, within.size, sum(at, frame_of(view.wind).nw)));
  }
};

void reads_what_the_model_says(int seed) {
  scene s;
  ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
  ASSERT_EQ(s.view.ioset(&s.view, s.r.mode, s.r.datatype, s.r.mask), 1);
  const auto expected = [&](const pos &at, int pixie) {
    return as_read(s.stored, s.stored.get(s.in_source(at), pixie), s.r.datatype);
  };
  for (int i = 0; i < 6; i++)
    ASSERT_NO_FATAL_FAILURE(
        check_read<two_d>(&s.view, s.r, random_pos(s.g, s.size()), uint32_t(between(s.g, 1, 300)), expected));
}

void writes_what_the_model_says(int seed) {
  scene s;
  ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
  pixels expected = s.stored;
  ASSERT_EQ(s.view.ioset(&s.view, s.r.mode, s.r.datatype, s.r.mask), 1);
  for (int i = 0; i < 6; i++)
    ASSERT_NO_FATAL_FAILURE(check_write<two_d>(
        &s.view, s.r, random_pos(s.g, s.size()), uint32_t(between(s.g, 1, 300)),
        [&] { return random_given(s.g, s.stored, s.r.datatype); },
        [&](const pos &at, int pixie, uint64_t v) {
          expected.put(s.in_source(at), pixie, as_written(s.stored, v, s.r.datatype));
        }));
  expect_equal(s.stored, expected);
}

void moves_nothing_outside_its_window(int seed) {
  scene s;
  ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
  ASSERT_EQ(s.view.ioset(&s.view, s.r.mode, s.r.datatype, s.r.mask), 1);
  const extent e = s.size();
  uint8_t buffer[256];
  for (const pos &p : {pos{-1, 0}, pos{0, -1}, pos{e[0], 0}, pos{0, e[1]}, pos{INT32_MAX, INT32_MIN}}) {
    EXPECT_EQ(s.view.ioread(&s.view, 0, buffer, 1, p[0], p[1]), 0u);
    EXPECT_EQ(s.view.iorite(&s.view, 0, buffer, 1, p[0], p[1]), 0u);
    EXPECT_EQ(s.view.iolen(&s.view, 1, p[0], p[1]), 0u);
  }
}

void reads_scattered_pixels(int seed) {
  scene s;
  ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
  s.r.mask = uint32_t(ones(s.stored.d.pixies));
  ASSERT_GE(s.view.bxts(&s.view, 0, s.r.datatype, s.r.mask), 0);
  qvxyzcoord list[40];
  for (auto &entry : list) {
    const pos p = random_pos(s.g, s.size());
    entry = {p[0], p[1], between(s.g, -5, 5)};
  }
  const size_t pixel = size_t(s.r.size() * s.stored.d.pixies);
  std::vector<uint8_t> buffer(40 * pixel);
  ASSERT_EQ(s.view.bxta(&s.view, QVIM_LIST, buffer.data(), list, 40, QVIM_OP_READ), 40u);
  for (size_t i = 0; i < 40; i++)
    for (int c = 0; c < s.stored.d.pixies; c++) {
      const pos at{list[i].x, list[i].y, 0};
      ASSERT_NO_FATAL_FAILURE(expect_pixie(&buffer[i * pixel + size_t(c * s.r.size())], s.r,
                                           as_read(s.stored, s.stored.get(s.in_source(at), c), s.r.datatype),
                                           at, c));
    }
}

TEST(Def2From3, ReadsWhatTheModelSays) { for_seeds(300, reads_what_the_model_says); }
TEST(Def2From3, WritesWhatTheModelSaysAndNothingElse) { for_seeds(300, writes_what_the_model_says); }
TEST(Def2From3, MovesNothingOutsideItsWindow) { for_seeds(50, moves_nothing_outside_its_window); }
TEST(Def2From3, ReadsScatteredPixels) { for_seeds(300, reads_scattered_pixels); }

// --- construction and description ----------------------------------------------------------------

struct Def2From3Fixed : testing::Test {
  void SetUp() override {
    const int32_t dims[3] = {4, 3, 2};
    ASSERT_EQ(qvimage3_memory2(&source, bytes, dims, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0,
                               QVIM_UNIT_MILLIMETER, QVIM_UNIT_SECOND, 0.5f, 0.25f, 2.0f),
              0);
    for (int i = 0; i < 24; i++) bytes[i] = uint8_t(i);
  }
  uint8_t bytes[24];
  qvimage3 source;
  qvimage view;
};

TEST_F(Def2From3Fixed, RefusesBadArgumentsWithTheNullImage) {
  const struct { uint32_t xaxis, yaxis; } bad[] = {{0, 0}, {2, 2}, {0, 1}, {3, 0}, {0, 6}, {0x10000, 2}};
  for (const auto &axes : bad) {
    EXPECT_EQ(qvimage_def2from3(&view, &source, axes.xaxis, axes.yaxis, 0, 0), -1);
    EXPECT_STREQ(view.devname, "NULL2");
  }
  EXPECT_EQ(qvimage_def2from3(&view, nullptr, 0, 2, 0, 0), -1);
  EXPECT_STREQ(view.devname, "NULL2");
  EXPECT_EQ(qvimage_def2from3(nullptr, &source, 0, 2, 0, 0), -1);
}

TEST_F(Def2From3Fixed, RefusesJoinedFramesLongerThanAnImage) {
  source.imdim.se = source.wind.se = {3, 4, 0x40000000};
  EXPECT_EQ(qvimage_def2from3(&view, &source, 0, 2, 0, below), -15);
  EXPECT_STREQ(view.devname, "NULL2");
  EXPECT_EQ(qvimage_def2from3(&view, &source, 0, 2, 0, beside), -15);
  source.wind.se.x = 1;
  EXPECT_EQ(qvimage_def2from3(&view, &source, 0, 2, 0, beside), 0);
  EXPECT_EQ(view.imdim.se.x, 0x40000000);
}

TEST_F(Def2From3Fixed, DescribesTheSourceWithoutDepth) {
  ASSERT_EQ(qvimage_def2from3(&view, &source, 0, 2, 1, 0), 0);
  EXPECT_EQ(std::memcmp(view.devname, "QVIM3to2", 8), 0);
  EXPECT_EQ(std::memcmp(&view.d, &source.d, sizeof view.d), 0);
  EXPECT_EQ(view.f.pixelsize, 1);
  EXPECT_EQ(view.h.pixelwidth, 0.5f);
  EXPECT_EQ(view.h.pixelheight, 0.25f);
  EXPECT_EQ(view.h.pixeldepth, 0.0f);
  EXPECT_EQ(view.h.depthunits, 0);
  for (const uint32_t code : {uint32_t('b'), uint32_t('i'), uint32_t('m')})
    EXPECT_EQ(view.aeiou(&view, code, 0, 0, nullptr), source.aeiou(&source, code, 0, 0, nullptr) + 1);
}

TEST_F(Def2From3Fixed, StopsARunAlongJoinedFramesAtEachFrame) {
  uint8_t out[24] = {};
  ASSERT_EQ(qvimage_def2from3(&view, &source, 0, 2, 0, beside), 0);
  ASSERT_EQ(view.ioset(&view, QVIM_WRAP, QVIM_UINT8, 1), 1);
  EXPECT_EQ(view.iolen(&view, 24, 1, 0), 3u);
  EXPECT_EQ(view.ioread(&view, 0, out, 24, 1, 0), 3u);
  ASSERT_EQ(view.ioset(&view, QVIM_YSCAN | QVIM_WRAP, QVIM_UINT8, 1), 1);
  EXPECT_EQ(view.ioread(&view, 0, out, 24, 3, 1), 14u);  // columns 3 and, in the next frame, 4 to 7
  const uint8_t expected[14] = {7, 11, 12, 16, 20, 13, 17, 21, 14, 18, 22, 15, 19, 23};
  EXPECT_EQ(std::memcmp(out, expected, 14), 0);
}

TEST_F(Def2From3Fixed, IsReadOnByViewsOverIt) {
  qvimage over;
  ASSERT_EQ(qvimage_def2from3(&view, &source, 0, 2, 0, beside), 0);
  ASSERT_EQ(qvimage_converter(&over, &view, nullptr, 0, 0, 0, 0), 0);
  ASSERT_EQ(over.ioset(&over, 0, QVIM_UINT16, 1), 1);
  uint16_t out[8] = {};
  ASSERT_EQ(over.ioread(&over, 0, out, 100, 1, 2), 7u);  // across both frames in one call
  const uint16_t expected[7] = {9, 10, 11, 20, 21, 22, 23};
  EXPECT_EQ(std::memcmp(out, expected, sizeof expected), 0);
}

TEST_F(Def2From3Fixed, RefusesOtherScansAndItself) {
  ASSERT_EQ(qvimage_def2from3(&view, &source, 0, 2, 0, 0), 0);
  for (const uint32_t mode : {4u, 6u}) {
    ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), 1);
    EXPECT_EQ(view.ioset(&view, mode, QVIM_UINT8, 1), -11);
    EXPECT_EQ(view.iolen(&view, 1, 0, 0), 0u);  // and what was set up before is gone
  }
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT16, 1), -19);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 2), -21);
  EXPECT_EQ(view.imapset(&view, 0, QVIM_UINT8, 1), -11);
  view.source[0] = -65;
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), -5);
  EXPECT_EQ(view.bxts(&view, 0, QVIM_UINT8, 1), -5);
}

TEST_F(Def2From3Fixed, KeepsToThePlaneThatTheSourceHas) {
  ASSERT_EQ(qvimage_def2from3(&view, &source, 0, 2, 2, 0), 0);
  ASSERT_EQ(view.ioset(&view, QVIM_TRUST, QVIM_UINT8, 1), 1);
  uint8_t out;
  EXPECT_EQ(view.ioread(&view, 0, &out, 1, 0, 0), 0u);
  EXPECT_EQ(view.iolen(&view, 1, 0, 0), 0u);
}

}  // namespace
