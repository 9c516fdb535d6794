// A 3-D image seen as a plane or as its frames joined.
#include <gtest/gtest.h>

#include "tests/views/geometry_model.hpp"

namespace {

using namespace model;

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
  EXPECT_EQ(std::memcmp(&view.d, &source.d, sizeof view.d), 0);
  EXPECT_EQ(view.f.pixelsize, 1);
  EXPECT_EQ(view.h.pixelwidth, 0.5f);
  EXPECT_EQ(view.h.pixelheight, 0.25f);
  EXPECT_EQ(view.h.pixeldepth, 0.0f);
  EXPECT_EQ(view.h.depthunits, 0);
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

TEST_F(Def2From3Fixed, KeepsToThePlaneThatTheSourceHas) {
  ASSERT_EQ(qvimage_def2from3(&view, &source, 0, 2, 2, 0), 0);
  ASSERT_EQ(view.ioset(&view, QVIM_TRUST, QVIM_UINT8, 1), 1);
  uint8_t out;
  EXPECT_EQ(view.ioread(&view, 0, &out, 1, 0, 0), 0u);
  EXPECT_EQ(view.iolen(&view, 1, 0, 0), 0u);
}

}  // namespace
